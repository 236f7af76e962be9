#ifndef QORHWINFO_TOOL_LOGFILTER_H
#define QORHWINFO_TOOL_LOGFILTER_H

#include <QStringList>
#include <QtGlobal>

class ProgressBar;

/**
 * Takes over Qt's message handler while it lives. Every message is kept for the report; on stderr the
 * library's debug messages appear only when asked for, while warnings and worse always do. A progress bar
 * on the same terminal is lifted out of the way for each message shown.
 */
class LogFilter
{
public:
    explicit LogFilter(bool showDebugMessages);
    ~LogFilter();

    void setProgressBar(ProgressBar *bar) { m_progressBar = bar; }
    QStringList messages() const { return m_messages; }

    /** Where Qt's message handler hands each message, whichever Qt calls it. */
    static void deliver(QtMsgType type, const QString &text);

private:
    Q_DISABLE_COPY(LogFilter)

    void record(QtMsgType type, const QString &text);
    void show(const QString &text);

    static LogFilter *s_current;

    bool m_showDebugMessages;
    ProgressBar *m_progressBar;
    QStringList m_messages;
};

#endif
