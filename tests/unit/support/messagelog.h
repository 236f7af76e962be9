#ifndef QORHWINFO_TESTS_MESSAGELOG_H
#define QORHWINFO_TESTS_MESSAGELOG_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QPair>
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

    /**
     * The texts of the messages of @p type, in the order they came: the bytes that Qt 4 hands a message
     * handler, and the UTF-8 of the text that Qt 5 and 6 hand it.
     */
    QList<QByteArray> texts(QtMsgType type) const;
    int count() const { return m_entries.size(); }

    /** What the installed message handler calls. */
    static void record(QtMsgType type, const QByteArray &text);

private:
    Q_DISABLE_COPY(MessageLog)

    static MessageLog *s_active;
    MessageLog *m_outer;
#if QT_VERSION < 0x050000
    QtMsgHandler m_previous;
#else
    QtMessageHandler m_previous;
#endif
    QList<QPair<QtMsgType, QByteArray> > m_entries;
};

#endif
