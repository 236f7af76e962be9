#include "messagelog.h"

#include <QtCore/QString>

MessageLog *MessageLog::s_active = nullptr;

MessageLog::MessageLog()
    : m_outer(s_active)
    , m_previous(qInstallMessageHandler(&MessageLog::handle))
{
    s_active = this;
}

MessageLog::~MessageLog()
{
    s_active = m_outer;
    qInstallMessageHandler(m_previous);
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

void MessageLog::handle(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    s_active->m_entries.append(qMakePair(type, text.toUtf8()));
}
