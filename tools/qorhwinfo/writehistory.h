#ifndef QORHWINFO_TOOL_WRITEHISTORY_H
#define QORHWINFO_TOOL_WRITEHISTORY_H

#include <QList>
#include <QString>

/**
 * Every write the tool made to the unit, newest last, kept beside the serials cache: when, by whom, the
 * command line, and per store the old and new serial and image checksum. Bounded: the oldest entries go
 * when it would grow past maxSize().
 */
class WriteHistory
{
public:
    struct Change
    {
        QString store;
        QString fromSerial;
        QString toSerial;
        QString fromSha1;
        QString toSha1;
    };

    struct Entry
    {
        QString time; ///< UTC, ISO 8601
        QString user;
        QString command;
        QString result; ///< "done", "failed" or "interrupted"
        QString backup;
        QList<Change> changes;
    };

    /** Appends @p entry, dropping the oldest entries beyond the bound, and syncs. */
    static bool append(const Entry &entry, QString *error);
    static QList<Entry> read(QString *error);
    /** The bound of the history file in bytes. */
    static qint64 maxSize();
    /** The name of the account that runs the tool. */
    static QString currentUser();
};

#endif
