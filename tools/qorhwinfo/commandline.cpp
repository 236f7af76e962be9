#include "commandline.h"

#include <QCoreApplication>

CommandLine::CommandLine(const QStringList &arguments)
    : m_verboseOption(QStringList() << QStringLiteral("v") << QStringLiteral("verbose"),
                      QStringLiteral("discover: also show each store's record and the library's log."))
    , m_jsonOption(QStringLiteral("json"), QStringLiteral("discover: print one JSON document for scripts."))
    , m_versionOption(QStringLiteral("version"), QStringLiteral("Displays version information."))
    , m_command(NoCommand)
    , m_verbose(false)
    , m_json(false)
{
    m_parser.setApplicationDescription(QStringLiteral(
        "Tells who this unit is: its serial number and the identities of its hardware.\n"
        "\n"
        "Commands:\n"
        "  quick     Print the unit serial kept in the serials cache file, unchecked.\n"
        "  discover  Read every identity store, vote on the unit serial and show the result."));
    m_parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("quick or discover"),
                                   QStringLiteral("<command>"));
    m_parser.addOption(m_verboseOption);
    m_parser.addOption(m_jsonOption);
    m_parser.addHelpOption();
    // -v means verbose here, so the version has only its long name.
    m_parser.addOption(m_versionOption);
    parse(arguments);
}

QString CommandLine::helpText() const
{
    return m_parser.helpText();
}

QString CommandLine::versionText() const
{
    return QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion()
        + QLatin1Char('\n');
}

void CommandLine::parse(const QStringList &arguments)
{
    if (!m_parser.parse(arguments)) {
        m_error = m_parser.errorText();
        return;
    }
    if (m_parser.isSet(QStringLiteral("help")) || m_parser.isSet(QStringLiteral("help-all"))) {
        m_command = HelpRequest;
        return;
    }
    if (m_parser.isSet(m_versionOption)) {
        m_command = VersionRequest;
        return;
    }

    const QStringList positional = m_parser.positionalArguments();
    if (positional.isEmpty()) {
        m_error = QStringLiteral("No command given: use quick or discover.");
        return;
    }
    m_command = commandNamed(positional.first());
    if (m_command == NoCommand) {
        m_error = QStringLiteral("Unknown command: %1. Use quick or discover.").arg(positional.first());
        return;
    }
    if (positional.size() > 1) {
        m_error = QStringLiteral("Unexpected argument: %1.").arg(positional.at(1));
        return;
    }
    m_verbose = m_parser.isSet(m_verboseOption);
    m_json = m_parser.isSet(m_jsonOption);
    checkOptionsFit();
}

CommandLine::Command CommandLine::commandNamed(const QString &name) const
{
    if (name == QLatin1String("quick"))
        return QuickCommand;
    if (name == QLatin1String("discover"))
        return DiscoverCommand;
    return NoCommand;
}

void CommandLine::checkOptionsFit()
{
    if (m_command == QuickCommand && (m_verbose || m_json))
        m_error = QStringLiteral("The command quick takes no options.");
}
