#ifndef QORHWINFO_TOOL_COMMANDLINE_H
#define QORHWINFO_TOOL_COMMANDLINE_H

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

/**
 * What the person at the terminal asked for: one command and its options. Anything it cannot make sense
 * of is a usage error with a text that says what was wrong.
 */
class CommandLine
{
public:
    enum Command { NoCommand, QuickCommand, DiscoverCommand, HelpRequest, VersionRequest };

    explicit CommandLine(const QStringList &arguments);

    bool isValid() const { return m_error.isEmpty(); }
    QString errorText() const { return m_error; }

    Command command() const { return m_command; }
    bool verbose() const { return m_verbose; }
    bool json() const { return m_json; }

    QString helpText() const;
    QString versionText() const;

private:
    void parse(const QStringList &arguments);
    Command commandNamed(const QString &name) const;
    void checkOptionsFit();

    QCommandLineParser m_parser;
    QCommandLineOption m_verboseOption;
    QCommandLineOption m_jsonOption;
    QCommandLineOption m_versionOption;
    Command m_command;
    bool m_verbose;
    bool m_json;
    QString m_error;
};

#endif
