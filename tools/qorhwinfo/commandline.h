#ifndef QORHWINFO_TOOL_COMMANDLINE_H
#define QORHWINFO_TOOL_COMMANDLINE_H

#include <QString>
#include <QStringList>

/**
 * What the person at the terminal asked for: "qorhwinfo [global options] COMMAND [options] [args]".
 * Options may stand before or after the command; each command accepts only its own. Anything that
 * cannot be made sense of is a usage error with a text that says what was wrong.
 *
 * Parsed with getopt_long, so that the tool builds with every Qt the instrument may run.
 */
class CommandLine
{
public:
    enum Command {
        NoCommand,
        VersionRequest,
        Quick,
        Discover,
        Inspect,
        Check,
        Cache,
        Provision,
        Resolve,
        Backup,
        Restore
    };

    CommandLine(int argc, char **argv);

    bool isValid() const { return m_error.isEmpty(); }
    QString errorText() const { return m_error; }

    Command command() const { return m_command; }
    /** The words after the command: store keys, a serial, a directory, "clear" or "write". */
    QStringList arguments() const { return m_arguments; }
    bool helpRequested() const { return m_help; }

    bool json() const { return m_json; }
    bool verbose() const { return m_verbose; }
    bool yes() const { return m_yes; }
    bool hex() const { return m_hex; }
    bool force() const { return m_force; }
    QString unit() const { return m_unit; }
    bool hasBoardSerial() const { return m_hasBoardSerial; }
    uint boardSerial() const { return m_boardSerial; }
    /** Where writing commands keep the images they replace; a default when not given. */
    QString backupRoot() const { return m_backupRoot; }

    /** The help of the command asked about, or of the whole tool; it ends with the exit codes. */
    QString helpText() const;
    static QString versionText();

private:
    enum Option {
        HelpOption,
        JsonOption,
        VerboseOption,
        YesOption,
        HexOption,
        ForceOption,
        UnitOption,
        SerialOption,
        BackupDirOption,
        VersionOption,
        OptionCount
    };

    void parse(int argc, char **argv);
    bool takeOption(int option, const char *value);
    void checkCommand();
    void checkArguments();
    static QString optionName(int option);

    Command m_command;
    QString m_commandName;
    QStringList m_arguments;
    bool m_given[OptionCount];
    bool m_help;
    bool m_json;
    bool m_verbose;
    bool m_yes;
    bool m_hex;
    bool m_force;
    QString m_unit;
    bool m_hasBoardSerial;
    uint m_boardSerial;
    QString m_backupRoot;
    QString m_error;
};

#endif
