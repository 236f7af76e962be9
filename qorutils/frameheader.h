#ifndef QORUTILS_FRAMEHEADER_H
#define QORUTILS_FRAMEHEADER_H

#include <qorutils/qorutils_export.h>

#include <QtCore/QByteArray>

/**
 * The fixed 12-byte header in front of every record frame (docs/record-format.md): magic "QROM", format
 * version, flags, payload length and a CRC-32 over the header and the payload.
 *
 * ROMStorage reads and writes frames through it; diagnostic tools use it to show what a memory holds,
 * whether or not it makes a valid frame.
 */
class QORUTILS_EXPORT FrameHeader
{
public:
    enum {
        Size = 12, ///< magic (4), version (1), flags (1), payload length (2), CRC-32 (4)
        MaxPayloadLength = 65535 ///< the largest payload that the 16-bit length field can announce
    };

    /** Takes the fields from the first Size bytes of @p frame; isComplete() is false when it holds fewer. */
    explicit FrameHeader(const QByteArray &frame);

    /** The header of a frame in format @p version around @p payload, which must fit MaxPayloadLength. */
    static QByteArray build(int version, const QByteArray &payload);

    /** Whether there were Size bytes to read the fields from; the fields are 0 or empty otherwise. */
    bool isComplete() const;
    /** The four magic bytes, "QROM" in a frame. */
    QByteArray magic() const;
    /** The format version byte; 1 in the frames that ROMStorage writes. */
    int version() const;
    /** The flags byte; 0 in the frames that ROMStorage writes. */
    int flags() const;
    /** The number of payload bytes that the header announces, 0 to MaxPayloadLength. */
    int payloadLength() const;
    /** The CRC-32 that the header carries; compare it with computedCrc(). */
    quint32 storedCrc() const;
    /** Magic, version and flags are those of a frame in format @p version. */
    bool isFormat(int version) const;

    /**
     * The CRC-32 that the header of @p frame should carry: over its first 8 bytes and the payloadLength()
     * bytes that follow the header, or over as many of them as @p frame holds.
     */
    quint32 computedCrc(const QByteArray &frame) const;

private:
    QByteArray m_bytes;
};

#endif
