#ifndef QORHWINFO_TOOL_LOGFILTER_H
#define QORHWINFO_TOOL_LOGFILTER_H

#include <QStringList>
#include <QtGlobal>

class ProgressBar;

/**
 * Takes over Qt's message handler while it lives: the library's log appears on stderr, escaped, only when
 * asked for, since every report says in its own words what the library logged. A progress bar on the same
 * terminal is lifted out of the way for each message shown.
 */
class LogFilter
{
public:
    explicit LogFilter(bool showMessages);
    ~LogFilter();

    void setProgressBar(ProgressBar *bar) { m_progressBar = bar; }

    /** Where Qt's message handler hands each message, whichever Qt calls it. */
    static void deliver(QtMsgType type, const QString &text);

private:
    Q_DISABLE_COPY(LogFilter)

    void show(const QString &text);

    static LogFilter *s_current;

    bool m_showMessages;
    ProgressBar *m_progressBar;
};

#endif
