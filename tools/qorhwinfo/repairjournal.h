#ifndef QORHWINFO_TOOL_REPAIRJOURNAL_H
#define QORHWINFO_TOOL_REPAIRJOURNAL_H

#include <QString>
#include <QStringList>

/**
 * The note a repair leaves before its first store write and removes after its last read-back: while it
 * exists, a repair did not finish (the tool was killed, the power failed), and every command that reads the
 * unit says so, with the backup set that puts the unit back as it was.
 */
class RepairJournal
{
public:
    struct Entry
    {
        QString command; ///< the command line of the repair
        QString backup; ///< the backup set of the images it replaces
        QString time; ///< when it began, UTC
        QStringList stores; ///< the keys of the stores it was going to write

        bool exists() const { return !command.isNull(); }
    };

    /** The journal left by a repair that did not finish; an empty entry when there is none. */
    static Entry read(QString *error = nullptr);
    /** Writes the journal, synced, before the first store write. */
    static bool begin(const Entry &entry, QString *error);
    /** Removes it after the last read-back. */
    static bool finish(QString *error);
    static QString path();
    /** What a technician needs to know about an unfinished repair: what it was and how to undo it. */
    static QString warningText(const Entry &entry);
};

#endif
