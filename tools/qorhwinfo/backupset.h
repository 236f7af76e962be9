#ifndef QORHWINFO_TOOL_BACKUPSET_H
#define QORHWINFO_TOOL_BACKUPSET_H

#include <QByteArray>
#include <QList>
#include <QString>

class UnitSurvey;

/**
 * Raw images of stores in a directory, with a manifest ("manifest.json") that names each store's
 * device, offset, size and SHA-1, so that restore can tell an image that was damaged in the meantime
 * and a store that is no longer where it was. Whole-unit backups and the backup that every write makes
 * of what it replaces are both such sets. SHA-1, because every Qt the tool builds with has it.
 */
class BackupSet
{
public:
    struct Image
    {
        QString key;
        QString label;
        QString device;
        int offset = 0;
        /** A cache file that did not exist: restoring it removes the file. */
        bool present = true;
        QByteArray bytes;
        /** The checksum that the manifest names; matches bytes once loaded and verified. */
        QByteArray sha1;
        /** Why the image could not be taken or loaded. */
        QString error;
    };

    /** Reads the images of the stores @p keys from the unit. Images that could not be read carry an error. */
    static BackupSet capture(const UnitSurvey &survey, const QStringList &keys);
    /** Loads the set in @p directory; each image's bytes are checked against the manifest. */
    static BackupSet load(const QString &directory, QString *error);
    /** The first of ROOT/1, ROOT/2, ... that does not exist yet. */
    static QString nextDirectory(const QString &root);

    /** Writes the images that could be read and the manifest into @p directory, creating it. */
    bool save(const QString &directory, QString *error) const;

    QList<Image> images() const { return m_images; }
    bool isComplete() const;

    static QByteArray checksum(const QByteArray &bytes);

private:
    QList<Image> m_images;
};

#endif
