#include "commandline.h"
#include "discoveryrun.h"
#include "jsonreport.h"
#include "logfilter.h"
#include "progressbar.h"
#include "textreport.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QCoreApplication>
#include <QScopedPointer>
#include <QTextStream>

#include <cstdio>
#include <exception>

namespace {

enum ExitStatus { UnitSerialFound = 0, NoUnitSerial = 1, UsageError = 2 };

void printError(const QString &text)
{
    std::fprintf(stderr, "qorhwinfo: %s\n", text.toLocal8Bit().constData());
}

int runQuick()
{
    const QString serial = hmi::HwInfoHelper::quickNonValidatedSerial();
    if (serial.isEmpty()) {
        printError(QStringLiteral("no unit serial is cached: the serials cache file is missing, damaged or "
                                  "names none. Run \"qorhwinfo discover\" to establish it."));
        return NoUnitSerial;
    }
    QTextStream(stdout) << serial << '\n';
    return UnitSerialFound;
}

DiscoveryReport discover(const LogFilter &log, ProgressBar *progressBar)
{
    hmi::HwInfoHelper helper;
    DiscoveryRun run(helper, log, progressBar);
    return run.run();
}

int runDiscover(bool verbose, bool json)
{
    LogFilter log(verbose);
    QScopedPointer<ProgressBar> progressBar;
    if (ProgressBar::isTerminal(stderr)) {
        progressBar.reset(new ProgressBar(stderr));
        log.setProgressBar(progressBar.data());
    }

    DiscoveryReport report;
    try {
        report = discover(log, progressBar.data());
    } catch (const std::exception &error) {
        progressBar.reset();
        log.setProgressBar(nullptr);
        printError(QStringLiteral("discovery failed: %1").arg(QString::fromUtf8(error.what())));
        return NoUnitSerial;
    }
    log.setProgressBar(nullptr);
    progressBar.reset();

    QTextStream out(stdout);
    if (json)
        out << JsonReport(report).document().toJson(QJsonDocument::Indented);
    else
        TextReport(report).print(out, verbose);
    out.flush();
    return report.hasUnitSerial() ? UnitSerialFound : NoUnitSerial;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("qorhwinfo"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QORHWINFO_VERSION));

    const CommandLine commandLine(QCoreApplication::arguments());
    if (!commandLine.isValid()) {
        printError(commandLine.errorText());
        std::fprintf(stderr, "Try \"qorhwinfo --help\".\n");
        return UsageError;
    }

    switch (commandLine.command()) {
    case CommandLine::HelpRequest:
        QTextStream(stdout) << commandLine.helpText();
        return UnitSerialFound;
    case CommandLine::VersionRequest:
        QTextStream(stdout) << commandLine.versionText();
        return UnitSerialFound;
    case CommandLine::QuickCommand:
        return runQuick();
    case CommandLine::DiscoverCommand:
        return runDiscover(commandLine.verbose(), commandLine.json());
    case CommandLine::NoCommand:
        break;
    }
    return UsageError;
}
