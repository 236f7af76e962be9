#include "logfilter.h"

#include "progressbar.h"

#include <cstdio>

LogFilter *LogFilter::s_current = nullptr;

LogFilter::LogFilter(bool showDebugMessages)
    : m_showDebugMessages(showDebugMessages)
    , m_progressBar(nullptr)
    , m_previousHandler(nullptr)
{
    Q_ASSERT(!s_current);
    s_current = this;
    m_previousHandler = qInstallMessageHandler(handleMessage);
}

LogFilter::~LogFilter()
{
    qInstallMessageHandler(m_previousHandler);
    s_current = nullptr;
}

void LogFilter::handleMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (s_current)
        s_current->record(type, text);
}

void LogFilter::record(QtMsgType type, const QString &text)
{
    m_messages.append(text);
    const bool chatter = type == QtDebugMsg || type == QtInfoMsg;
    if (!chatter || m_showDebugMessages)
        show(text);
}

void LogFilter::show(const QString &text)
{
    if (m_progressBar)
        m_progressBar->hide();
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    std::fflush(stderr);
    if (m_progressBar)
        m_progressBar->redraw();
}
