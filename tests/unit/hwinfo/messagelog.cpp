#include "messagelog.h"

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

QList<MessageLog::Entry> MessageLog::entries() const
{
    return m_entries;
}

QList<QByteArray> MessageLog::texts(QtMsgType type) const
{
    QList<QByteArray> result;
    for (const Entry &entry : m_entries) {
        if (entry.type == type)
            result.append(entry.text.toUtf8());
    }
    return result;
}

int MessageLog::count() const
{
    return m_entries.size();
}

void MessageLog::handle(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    s_active->m_entries.append(Entry { type, text });
}
