#include "checkcommand.h"
#include "commandline.h"
#include "discoveryrun.h"
#include "exitcode.h"
#include "inspectcommand.h"
#include "jsonreport.h"
#include "jsonvalue.h"
#include "logfilter.h"
#include "progressbar.h"
#include "repaircommands.h"
#include "serialform.h"
#include "textreport.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QCoreApplication>
#include <QScopedPointer>
#include <QTextStream>

#include <cstdio>
#include <exception>

namespace {

void printError(const QString &text)
{
    std::fprintf(stderr, "qorhwinfo: %s\n", text.toLocal8Bit().constData());
}

int runQuick(bool json)
{
    const QString serial = hmi::HwInfoHelper::quickNonValidatedSerial();
    const bool wellFormed = SerialForm::isWellFormed(serial);
    const int code = serial.isNull() ? Problem : wellFormed ? Success : Malformed;
    if (json) {
        json_t *root = Json::document();
        Json::set(root, "unitSerial", Json::text(serial));
        Json::set(root, "wellFormed", Json::boolean(wellFormed));
        Json::print(root);
    } else if (!serial.isNull()) {
        QTextStream(stdout) << SerialForm::display(serial) << '\n';
    }
    if (code == Problem) {
        printError(QLatin1String("no unit serial is cached: the serials cache file is missing, damaged or "
                                 "names none. Run \"qorhwinfo discover\" to establish it."));
    } else if (code == Malformed) {
        printError(
            QLatin1String("the cached unit serial is malformed (not \"I\" and six digits): \"qorhwinfo "
                          "check\" shows where it comes from, \"qorhwinfo resolve SERIAL\" repairs it."));
    }
    return code;
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
        printError(QString::fromLatin1("discovery failed: %1").arg(QString::fromUtf8(error.what())));
        return UnitError;
    }
    log.setProgressBar(nullptr);
    progressBar.reset();

    if (json) {
        Json::print(JsonReport(report).document());
    } else {
        QTextStream out(stdout);
        TextReport(report).print(out, verbose);
    }
    return report.exitCode();
}

int runCommand(const CommandLine &commandLine)
{
    switch (commandLine.command()) {
    case CommandLine::Quick:
        return runQuick(commandLine.json());
    case CommandLine::Discover:
        return runDiscover(commandLine.verbose(), commandLine.json());
    case CommandLine::Inspect:
        return InspectCommand::run(commandLine);
    case CommandLine::Check:
        return CheckCommand::run(commandLine);
    case CommandLine::Cache:
        return RepairCommands::cache(commandLine);
    case CommandLine::Provision:
        return RepairCommands::provision(commandLine);
    case CommandLine::Resolve:
        return RepairCommands::resolve(commandLine);
    case CommandLine::Backup:
        return RepairCommands::backup(commandLine);
    case CommandLine::Restore:
        return RepairCommands::restore(commandLine);
    case CommandLine::VersionRequest:
        QTextStream(stdout) << CommandLine::versionText();
        return Success;
    case CommandLine::NoCommand:
        break;
    }
    return Usage;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QLatin1String("qorhwinfo"));
    QCoreApplication::setApplicationVersion(QLatin1String(QORHWINFO_VERSION));

    const CommandLine commandLine(argc, argv);
    if (!commandLine.isValid()) {
        printError(commandLine.errorText());
        std::fprintf(stderr, "Try \"qorhwinfo --help\".\n");
        return Usage;
    }
    if (commandLine.helpRequested()) {
        QTextStream(stdout) << commandLine.helpText();
        return Success;
    }
    return runCommand(commandLine);
}
