#ifndef QORBENCH_PERFORMANCEREPORT_H
#define QORBENCH_PERFORMANCEREPORT_H

#include <QtCore/QString>
#include <QtCore/QStringList>

class BenchmarkRun;

// The "Performance" section of bench/PERFORMANCE.md: measures every figure through a BenchmarkRun and
// writes them as a Markdown table with the conditions of the run and what the figures mean.
class PerformanceReport
{
public:
    explicit PerformanceReport(BenchmarkRun &run);

    /** Takes every measurement; progress goes to standard error. */
    void measure();
    /** The Markdown section. */
    QString markdown() const;

    static QString thousands(qint64 value);
    static QString ratio(double a, double b);

private:
    void addRow(const QString &figure, const QString &value, const QString &target, const QString &command);
    void measureInstructions();
    void measureWallTimes();
    void measureSystemCalls();
    QString conditions() const;

    BenchmarkRun &m_run;
    QStringList m_rows;
    qint64 m_posix = 0;
    qint64 m_checked = 0;
    qint64 m_decoded = 0;
    qint64 m_quick = 0;
    qint64 m_present = 0;
    qint64 m_absent = 0;
    QString m_rootFileSystem;
};

#endif
