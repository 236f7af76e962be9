// Measures what store loads, the quick cached serial and discovery cost on a simulated unit, and prints the
// figures as the Markdown "Performance" section.
//
//   qorbench_report UNITFILE [--output FILE]
//
// Needs valgrind, strace and bwrap; the programs it measures are those built beside it.

#include "benchmarkrun.h"
#include "performancereport.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <stdexcept>

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments().mid(1);
    const bool toFile = arguments.size() == 3 && arguments.at(1) == QLatin1String("--output");
    if (arguments.size() != 1 && !toFile) {
        std::fprintf(stderr, "usage: qorbench_report UNITFILE [--output FILE]\n");
        return 2;
    }
    QTemporaryDir work(QDir::tempPath() + QStringLiteral("/qorbench.XXXXXX"));
    try {
        if (!work.isValid())
            throw std::runtime_error("cannot create a temporary directory");
        BenchmarkRun run(arguments.first(), work.path());
        PerformanceReport report(run);
        report.measure();
        const QByteArray section = report.markdown().toUtf8();
        std::fwrite(section.constData(), 1, size_t(section.size()), stdout);
        QFile output(toFile ? arguments.at(2) : QString());
        if (toFile
            && (!output.open(QIODevice::WriteOnly | QIODevice::Truncate)
                || output.write(section) != section.size()))
            throw std::runtime_error(("cannot write " + arguments.at(2)).toStdString());
    } catch (const std::exception &error) {
        std::fprintf(stderr, "qorbench_report: %s\n", error.what());
        return 1;
    }
    return 0;
}
