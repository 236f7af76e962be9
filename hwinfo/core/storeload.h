#ifndef QORHWINFO_CORE_STORELOAD_H
#define QORHWINFO_CORE_STORELOAD_H

#include <qorhwinfo/hwinfohelper.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

namespace hmi {

/**
 * One read of an identity store, exactly as the store's load() reads it, with what it found kept as
 * values: whether the store holds a record, or why not, and the device's own error. The library's load()
 * and discovery take their verdicts from here, and so does the tool, which therefore never has to read a
 * verdict back out of a message's text.
 */
class StoreLoad
{
public:
    enum Content {
        Record, ///< a valid frame whose map names a unit serial
        NoRecord, ///< a valid frame whose map names none (a board's own descriptor alone, or an empty map)
        Blank, ///< erased or never written
        Empty, ///< nothing to read
        Corrupted, ///< anything else that was read; deviceError() says when the device failed the read
        Missing, ///< the store's file does not exist
        OpenFailed, ///< the device could not be opened for reading
        SeekFailed ///< the device could not be sought to the record's offset
    };

    /**
     * Opens the store's device read-only and unbuffered, seeks to its offset, reads one frame and closes
     * the device. Exceptions of the framing pass through, with the device closed.
     */
    explicit StoreLoad(const HwInfoHelper::EEPROM &store);

    Content content() const { return m_content; }
    /** The frame was read and is valid, whether or not its map holds a record. */
    bool succeeded() const { return m_content == Record || m_content == NoRecord; }
    bool holdsRecord() const { return m_content == Record; }
    /** The payload map of a valid frame; empty otherwise. */
    QVariantMap map() const { return m_map; }
    /** The record's unit serial; a null QString when the store holds no record. */
    QString unitSerial() const;
    /** The device's error when opening, seeking or reading failed; empty otherwise. */
    QString deviceError() const { return m_deviceError; }
    /** The bytes taken from the device: the frame's header and as much of its payload as was read. */
    QByteArray bytes() const { return m_bytes; }

    /** The text that load() throws for this failure, beginning with @p label; empty after a success. */
    QString failureMessage(const QString &label) const;

    /** Whether a store's map carries an identity record, and so votes: it names a unit serial. */
    static bool holdsRecord(const QVariantMap &map);

private:
    void read(const HwInfoHelper::EEPROM &store);

    Content m_content;
    QVariantMap m_map;
    QString m_deviceError;
    QByteArray m_bytes;
    int m_offset;
};

} // namespace hmi

#endif
