#include "messagelog.h"

#include <QtCore/QString>

MessageLog *MessageLog::s_active = nullptr;

namespace {

#if QT_VERSION < 0x050000
void handle(QtMsgType type, const char *text)
{
    MessageLog::record(type, QByteArray(text));
}
#define qorInstallHandler qInstallMsgHandler
#else
void handle(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    MessageLog::record(type, text.toUtf8());
}
#define qorInstallHandler qInstallMessageHandler
#endif

} // namespace

MessageLog::MessageLog()
    : m_outer(s_active)
    , m_previous(qorInstallHandler(&handle))
{
    s_active = this;
}

MessageLog::~MessageLog()
{
    s_active = m_outer;
    qorInstallHandler(m_previous);
}

QList<QByteArray> MessageLog::texts(QtMsgType type) const
{
    QList<QByteArray> result;
    for (const auto &entry : m_entries) {
        if (entry.first == type)
            result.append(entry.second);
    }
    return result;
}

void MessageLog::record(QtMsgType type, const QByteArray &text)
{
    s_active->m_entries.append(qMakePair(type, text));
}
