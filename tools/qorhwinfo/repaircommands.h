#ifndef QORHWINFO_TOOL_REPAIRCOMMANDS_H
#define QORHWINFO_TOOL_REPAIRCOMMANDS_H

#include <QString>
#include <QVariantMap>

class CommandLine;
class UnitSurvey;

/**
 * The commands that write the stores, as a factory, a board replacement or a disagreement needs them:
 * "cache clear|write", "provision", "resolve", "backup" and "restore". Each decides what to write from
 * a survey of the unit and leaves the writing itself to a WritePlan.
 */
class RepairCommands
{
public:
    static int cache(const CommandLine &options);
    static int provision(const CommandLine &options);
    static int resolve(const CommandLine &options);
    static int backup(const CommandLine &options);
    static int restore(const CommandLine &options);

private:
    /** A store's content in a word or two: "record of I123456", "blank", "missing". */
    static QString contentText(const UnitSurvey &survey, const QString &key);
    static QString recordText(const QString &unit);
    static int malformedSerial(const CommandLine &options, const QString &command, const QString &serial);
};

#endif
