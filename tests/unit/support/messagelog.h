#ifndef QORHWINFO_TESTS_MESSAGELOG_H
#define QORHWINFO_TESTS_MESSAGELOG_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QtGlobal>

/**
 * Catches every message that goes through Qt's message handler while it lives, so that tests can compare
 * log texts byte for byte and make sure nothing else was logged.
 */
class MessageLog
{
public:
    MessageLog();
    ~MessageLog();

    /** The texts of the messages of @p type, in the order they came, as UTF-8 bytes. */
    QList<QByteArray> texts(QtMsgType type) const;
    int count() const { return m_entries.size(); }

private:
    Q_DISABLE_COPY(MessageLog)
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text);

    static MessageLog *s_active;
    MessageLog *m_outer;
    QtMessageHandler m_previous;
    QList<QPair<QtMsgType, QByteArray>> m_entries;
};

#endif
