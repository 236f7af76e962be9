#include "filesnapshot.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSet>

#include <sys/stat.h>

FileSnapshot FileSnapshot::take(const QString &root)
{
    FileSnapshot snapshot;
    const QDir base(root);
    QDirIterator it(root, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        struct stat info;
        if (::lstat(QFile::encodeName(path).constData(), &info) != 0)
            continue;
        Entry entry;
        entry.mode = info.st_mode & 07777;
        entry.isDir = S_ISDIR(info.st_mode);
        if (S_ISREG(info.st_mode)) {
            QFile file(path);
            if (file.open(QIODevice::ReadOnly))
                entry.bytes = file.readAll();
        }
        snapshot.m_entries.insert(QLatin1Char('/') + base.relativeFilePath(path), entry);
    }
    return snapshot;
}

QStringList FileSnapshot::differences(const FileSnapshot &later) const
{
    QStringList paths;
    QSet<QString> all;
    for (auto it = m_entries.constBegin(); it != m_entries.constEnd(); ++it)
        all.insert(it.key());
    for (auto it = later.m_entries.constBegin(); it != later.m_entries.constEnd(); ++it)
        all.insert(it.key());
    for (const QString &path : all) {
        if (m_entries.contains(path) != later.m_entries.contains(path)
            || !(m_entries.value(path) == later.m_entries.value(path)))
            paths.append(path);
    }
    paths.sort();
    return paths;
}
