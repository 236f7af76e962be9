#ifndef QORHWINFO_TOOL_BACKUPSET_H
#define QORHWINFO_TOOL_BACKUPSET_H

#include <qorhwinfo/hwinfohelper.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

class UnitSurvey;

/**
 * Raw images of stores in a directory of their own, with a manifest ("manifest.json") that names the unit
 * they were taken from (its serial, MAC address, COM serial and FPGA id), when, by which command, and per
 * store its device, offset, size and SHA-1. Whole-unit backups and the backup that every write makes of
 * what it replaces are both such sets. SHA-1, because every Qt the tool builds with has it.
 *
 * A backup set may come from anywhere (a USB stick), so loading one validates everything before anything
 * is used: only the five stores, each at most once and exactly where this unit keeps it, images of our own
 * names that are regular files within the store's room, nothing followed through a link. Saving never
 * changes a file that exists: a set is a new directory (mode 0700) of new files (mode 0600), all synced
 * before a store is written. The sets under a backup root are bounded: see prune().
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
        /** The image's size as the manifest gives it. */
        qint64 size = 0;
        QByteArray bytes;
        QByteArray sha1;
        /** Why the image could not be taken. */
        QString error;
    };

    /** The unit a set was taken from. */
    struct Identity
    {
        QString serial;
        QString mac;
        QString comSerial;
        QString fpgaUid;
    };

    /** Where this unit keeps a store, which a set's image of it must name. */
    struct Place
    {
        QString key;
        QString device;
        int offset = 0;
        qint64 room = 0;
    };

    /** A set under a backup root, for "backup list". */
    struct Listing
    {
        QString directory;
        QString unit;
        QString time;
        QString command;
        QString error;
    };

    /** The sets a root keeps: the newest this many, and no more than maxRootSize() bytes of them. */
    static int maxSets();
    static qint64 maxRootSize();

    /** Reads the images of the stores @p keys from the unit, with its identity and @p commandLine. */
    static BackupSet capture(const UnitSurvey &survey, const QStringList &keys, const QString &commandLine);
    /** Where this unit keeps each of its stores. */
    static QList<Place> placesOf(const UnitSurvey &survey);
    /** Where a store table keeps each store, in the order of their keys; reads nothing. */
    static QList<Place> placesOf(const QHash<QString, hmi::HwInfoHelper::EEPROM> &table);

    /** Saves the set as the new directory @p directory, whose parent must exist; fails if it exists. */
    bool saveNew(const QString &directory, QString *error) const;
    /**
     * Saves the set as a new numbered directory under @p root, which is made (mode 0700) when its parent
     * exists, then prunes the root; @p saved is the new set's directory.
     */
    bool saveInto(const QString &root, QString *saved, QString *error,
                  const QString &protectedSet = QString()) const;

    /** Loads and validates the set in @p directory against @p places; on any fault, @p error says why. */
    static BackupSet load(const QString &directory, const QList<Place> &places, QString *error);
    /** Validates @p manifest and takes its entries (without their images) into @p set. */
    static bool parseManifest(const QByteArray &manifest, const QList<Place> &places, BackupSet *set,
                              QString *error);
    /** The sets under @p root, oldest first. */
    static QList<Listing> list(const QString &root);
    /**
     * Removes the oldest sets under @p root beyond maxSets() or maxRootSize(), never the newest one nor
     * @p protectedSet, and only sets whose every entry is one the tool writes.
     */
    static void prune(const QString &root, const QString &protectedSet);

    QList<Image> images() const { return m_images; }
    Identity identity() const { return m_identity; }
    bool isComplete() const;

    static QByteArray checksum(const QByteArray &bytes);

private:
    bool writeInto(int directory, const QString &path, QString *error) const;

    QList<Image> m_images;
    Identity m_identity;
    QString m_time;
    QString m_command;
};

#endif
