#ifndef QORUTILS_ROMSTORAGE_H
#define QORUTILS_ROMSTORAGE_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QIODevice;
class ROMStoragePrivate;

/**
 * One framed record in a board memory or file: a small checked header followed by a QVariant payload
 * in deterministic CBOR (RFC 8949), which any language reads and writes (docs/record-format.md).
 *
 * Reading constructs a ROMStorage from a device positioned at the frame; it reads the header and then
 * exactly the payload length that the header announces, so a slow i2c memory is never read further
 * than the record. The verdicts isValid(), looksBlank() and isEmpty() say what was found.
 *
 * Writing constructs a ROMStorage from a payload and calls saveTo(). Failures are thrown as QString.
 * A read that the device fails is reported through errorString() and gives neither isValid(),
 * looksBlank() nor isEmpty().
 */
class QORUTILS_EXPORT ROMStorage
{
public:
    enum {
        HeaderSize
        = 12, ///< magic (4), version (1), flags (1), payload length (2), CRC-32 (4); see FrameHeader
        MaxPayloadSize = 65535, ///< the largest payload the 16-bit length field can announce
        FormatVersion = 2 ///< since the payload is CBOR; a frame of version 1 reads as corrupted
    };

    /** Reads one frame from @p dev, starting at its current position. */
    explicit ROMStorage(QIODevice &dev);
    /** A frame around @p payload, ready to be written. */
    explicit ROMStorage(const QVariant &payload);
    ~ROMStorage();

    /**
     * A complete frame was read: magic, version, flags and CRC are right and the payload decodes
     * completely. Whatever was read and is neither valid, blank nor empty is corrupted.
     */
    bool isValid() const;
    /** All header bytes could be read and are all 0xFF or all 0x00: an erased or never-written memory. */
    bool looksBlank() const;
    /** Not a single byte could be read (an empty file, or a device not open for reading). */
    bool isEmpty() const;

    /**
     * The device's error string when a read failed before the frame was complete, as when an i2c chip
     * stops answering (ETIMEDOUT). What was read is then neither blank nor empty but corrupted: a memory
     * that cannot be read is no empty memory. Empty when every read succeeded or reached the end of the data.
     */
    QString errorString() const;
    /**
     * The bytes taken from the device: the header and as much of the announced payload as was read, never
     * more than HeaderSize + MaxPayloadSize. For diagnosis; empty for a frame built from a payload.
     */
    QByteArray bytesRead() const;

    /**
     * The payload of a valid frame, or the payload given to the constructor that builds a frame;
     * an invalid QVariant otherwise.
     */
    QVariant payload() const;

    /**
     * The whole frame as it would be written.
     * @throws QString when the payload holds a type outside the format (the message names it), nests
     * maps and lists more than 8 deep or is too large.
     */
    QByteArray frame() const;

    /**
     * Writes the frame at the device's current position. Writes nothing and throws a QString when the
     * frame needs more than @p maxSize bytes; throws a QString with the device's error string when the
     * device takes fewer bytes than asked. A QFile is flushed and synced to its storage before returning.
     * @return the number of bytes written
     */
    int saveTo(QIODevice &dev, int maxSize) const;

private:
    ROMStorage(const ROMStorage &);
    ROMStorage &operator=(const ROMStorage &);

    ROMStoragePrivate *const d;
};

#endif
