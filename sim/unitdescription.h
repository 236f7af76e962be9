#ifndef QORSIMUNIT_UNITDESCRIPTION_H
#define QORSIMUNIT_UNITDESCRIPTION_H

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariantMap>

/** The content of one identity store's device or file, as a unit file describes it. */
struct StoreImage
{
    enum Kind { Record, BlankFF, Blank00, Empty, Missing, Corrupt, Raw, Unreadable, Device };

    Kind kind = BlankFF;
    QVariantMap record; ///< Record and Corrupt
    QByteArray raw; ///< Raw
    QString device; ///< Device: a device node of the host, e.g. /dev/zero
    qint64 size = -1; ///< the image size; -1 for the store's default
    int line = 0; ///< where the unit file said so, for later complaints
};

/** A sysfs text attribute, absent or holding a text (written with a line end). */
struct TextAttribute
{
    bool present = false;
    QString text;
};

/** What the unit has in place of the FPGA's UIO device. */
struct FpgaSpec
{
    enum Kind { None, NoMaps, Register };

    Kind kind = None;
    quint32 value = 0;
    /** /dev/uio0 can be opened for reading only, as by an account that may read it but not write it. */
    bool readOnly = false;
};

/** Everything a simulated unit consists of; defaults describe a unit whose memories are all erased. */
struct UnitDescription
{
    enum CacheDir { CachePresent, CacheMissing, CacheReadOnly, CacheFull };

    TextAttribute mac;
    TextAttribute boardSerial;
    FpgaSpec fpga;
    QMap<QString, StoreImage> stores; ///< only the stores the file mentions
    CacheDir cacheDir = CachePresent;
};

#endif
