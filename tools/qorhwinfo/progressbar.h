#ifndef QORHWINFO_TOOL_PROGRESSBAR_H
#define QORHWINFO_TOOL_PROGRESSBAR_H

#include <QObject>
#include <QStringList>

#include <cstdio>

/**
 * A one-line progress bar on a terminal, redrawn in place. It is driven by a step count and the current
 * step, as a long operation announces them, and can name each step.
 */
class ProgressBar : public QObject
{
    Q_OBJECT
public:
    explicit ProgressBar(std::FILE *terminal, QObject *parent = nullptr);
    ~ProgressBar() override;

    /** Whether @p stream is a terminal; a bar on a pipe or in a file would only be noise. */
    static bool isTerminal(std::FILE *stream);

    /** The text shown beside each step, by step number; steps without one show none. */
    void setStepTexts(const QStringList &texts) { m_stepTexts = texts; }

    /** Clears the line so that other output can take it. */
    void hide();
    /** Draws the bar again after hide(). */
    void redraw();

public Q_SLOTS:
    void setStepCount(int stepCount);
    void setCurrentStep(int step);

private:
    QString line() const;
    void write(const QByteArray &bytes);

    std::FILE *m_terminal;
    QStringList m_stepTexts;
    int m_stepCount;
    int m_currentStep;
    bool m_shown;
};

#endif
