#include "logfilter.h"

#include "progressbar.h"
#include "terminaltext.h"

#include <cstdio>

LogFilter *LogFilter::s_current = nullptr;

namespace {

// The one place that knows how the handler is installed: Qt 4 hands it a C string, Qt 5 and 6 a QString
// with a context.
#if QT_VERSION >= 0x050000
QtMessageHandler previousHandler = nullptr;

void handleMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    LogFilter::deliver(type, text);
}

void installHandler()
{
    previousHandler = qInstallMessageHandler(handleMessage);
}

void restoreHandler()
{
    qInstallMessageHandler(previousHandler);
}
#else
QtMsgHandler previousHandler = nullptr;

void handleMessage(QtMsgType type, const char *text)
{
    LogFilter::deliver(type, QString::fromLocal8Bit(text));
}

void installHandler()
{
    previousHandler = qInstallMsgHandler(handleMessage);
}

void restoreHandler()
{
    qInstallMsgHandler(previousHandler);
}
#endif

} // namespace

LogFilter::LogFilter(bool showMessages)
    : m_showMessages(showMessages)
    , m_progressBar(nullptr)
{
    Q_ASSERT(!s_current);
    s_current = this;
    installHandler();
}

LogFilter::~LogFilter()
{
    restoreHandler();
    s_current = nullptr;
}

void LogFilter::deliver(QtMsgType, const QString &text)
{
    if (s_current && s_current->m_showMessages)
        s_current->show(text);
}

void LogFilter::show(const QString &text)
{
    if (m_progressBar)
        m_progressBar->hide();
    std::fprintf(stderr, "library log: %s\n", TerminalText::escaped(text).toLocal8Bit().constData());
    std::fflush(stderr);
    if (m_progressBar)
        m_progressBar->redraw();
}
