#ifndef QORHWINFO_TOOL_OPTIONS_H
#define QORHWINFO_TOOL_OPTIONS_H

#include <QString>
#include <QStringList>

/**
 * What the person at the terminal asked for: "qorhwinfo COMMAND [options] [arguments]", options before or
 * after the command. A plain value: parsed once, then read by the command that runs.
 */
struct Options
{
    enum Command {
        NoCommand,
        Version,
        Quick,
        Discover,
        Inspect,
        Check,
        Cache,
        Provision,
        Resolve,
        Backup,
        Restore,
        History
    };

    Command command = NoCommand;
    /** The words after the command: store keys, a serial, a directory, "clear", "write" or "list". */
    QStringList arguments;
    bool help = false;
    bool json = false;
    bool verbose = false;
    bool yes = false;
    bool hex = false;
    bool force = false;
    bool dryRun = false;
    QString unit;
    bool hasBoardSerial = false;
    uint boardSerial = 0;
    /** Where writing commands keep the images they replace. */
    QString backupRoot;
    /** check: where to write the metrics for the monitoring; empty for none. */
    QString metricsFile;
    /** The whole command line, for backups and the history. */
    QString commandLine;

    /** Parses @p argv; on a usage error returns false with a sentence in @p error. */
    static bool parse(int argc, char **argv, Options *options, QString *error);
    /** The help of @p command (its own options only), or of the whole tool for NoCommand. */
    static QString helpText(Command command);
    static QString versionText();
    /** The default place of the backups, beside the serials cache file. */
    static QString defaultBackupRoot();
};

#endif
