#include "commands.h"
#include "exitcode.h"
#include "options.h"
#include "terminaltext.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace {

typedef int (*Command)(const Options &);

Command commandOf(Options::Command command)
{
    switch (command) {
    case Options::Quick:
        return Commands::quick;
    case Options::Discover:
        return Commands::discover;
    case Options::Inspect:
        return Commands::inspect;
    case Options::Check:
        return Commands::check;
    case Options::Cache:
        return Commands::cache;
    case Options::Provision:
        return Commands::provision;
    case Options::Resolve:
        return Commands::resolve;
    case Options::Backup:
        return Commands::backup;
    case Options::Restore:
        return Commands::restore;
    case Options::History:
        return Commands::history;
    case Options::NoCommand:
    case Options::Version:
        break;
    }
    return nullptr;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QLatin1String("qorhwinfo"));
    QCoreApplication::setApplicationVersion(QLatin1String(QORHWINFO_VERSION));

    Options options;
    QString error;
    if (!Options::parse(argc, argv, &options, &error)) {
        std::fprintf(stderr, "qorhwinfo: %s\nTry \"qorhwinfo --help\".\n",
                     TerminalText::escaped(error).toLocal8Bit().constData());
        return Usage;
    }
    if (options.help) {
        QTextStream(stdout) << Options::helpText(options.command);
        return Success;
    }
    if (options.command == Options::Version) {
        QTextStream(stdout) << Options::versionText();
        return Success;
    }
    return commandOf(options.command)(options);
}
