#include "progressbar.h"

#include <unistd.h>

namespace {
const int barWidth = 28;
const char clearLine[] = "\r\033[K";
} // namespace

ProgressBar::ProgressBar(std::FILE *terminal, QObject *parent)
    : QObject(parent)
    , m_terminal(terminal)
    , m_stepCount(0)
    , m_currentStep(-1)
    , m_shown(false)
{ }

ProgressBar::~ProgressBar()
{
    hide();
}

bool ProgressBar::isTerminal(std::FILE *stream)
{
    return ::isatty(::fileno(stream)) == 1;
}

void ProgressBar::setStepCount(int stepCount)
{
    m_stepCount = qMax(stepCount, 0);
    m_currentStep = -1;
    redraw();
}

void ProgressBar::setCurrentStep(int step)
{
    m_currentStep = step;
    redraw();
}

void ProgressBar::hide()
{
    if (!m_shown)
        return;
    write(clearLine);
    m_shown = false;
}

void ProgressBar::redraw()
{
    if (m_stepCount <= 0)
        return;
    write(clearLine + line().toLocal8Bit());
    m_shown = true;
}

// Step k of a count of n is drawn as k + 1 of n done: the last step is announced when the work is over.
QString ProgressBar::line() const
{
    const int done = qBound(0, m_currentStep + 1, m_stepCount);
    const int filled = done * barWidth / m_stepCount;
    QString text = QLatin1Char('[') + QString(filled, QLatin1Char('#'))
        + QString(barWidth - filled, QLatin1Char('.'))
        + QString::fromLatin1("] %1/%2").arg(done).arg(m_stepCount);
    if (m_currentStep >= 0 && m_currentStep < m_stepTexts.size())
        text += QLatin1Char(' ') + m_stepTexts.at(m_currentStep);
    return text;
}

void ProgressBar::write(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), m_terminal);
    std::fflush(m_terminal);
}
