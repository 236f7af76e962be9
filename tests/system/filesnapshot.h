#ifndef QORHWINFO_SYSTEMTEST_FILESNAPSHOT_H
#define QORHWINFO_SYSTEMTEST_FILESNAPSHOT_H

#include <QByteArray>
#include <QMap>
#include <QStringList>

/**
 * Every file under a directory with its bytes and permission bits, to tell afterwards exactly which
 * files a run created, removed or changed.
 */
class FileSnapshot
{
public:
    struct Entry
    {
        QByteArray bytes;
        uint mode = 0;
        bool isDir = false;

        bool operator==(const Entry &other) const
        {
            return bytes == other.bytes && mode == other.mode && isDir == other.isDir;
        }
    };

    static FileSnapshot take(const QString &root);

    /** Paths, relative to the root, whose entry differs between the two snapshots or exists in one only. */
    QStringList differences(const FileSnapshot &later) const;

    bool contains(const QString &path) const { return m_entries.contains(path); }
    Entry entry(const QString &path) const { return m_entries.value(path); }

private:
    QMap<QString, Entry> m_entries;
};

#endif
