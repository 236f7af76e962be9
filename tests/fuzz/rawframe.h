#ifndef QORHWINFO_FUZZ_RAWFRAME_H
#define QORHWINFO_FUZZ_RAWFRAME_H

#include <QtCore/QByteArray>

/**
 * Frames built byte by byte from the documented layout instead of through the library, so that a test or
 * a fuzz target can put any payload, any header field and a right check value together, and reach the
 * payload decoder with content that the library itself would never write.
 */
class RawFrame
{
public:
    enum { HeaderSize = 12, MaxPayloadSize = 65535, Version = 2 };

    /** A frame around @p payload (at most MaxPayloadSize bytes) whose length and CRC fields fit it. */
    static QByteArray around(const QByteArray &payload, char version = Version, char flags = 0);
    /**
     * A header announcing @p announcedLength payload bytes, followed by @p payload, with the CRC taken
     * over what follows the header: a length field that promises more than the memory holds.
     */
    static QByteArray announcing(quint16 announcedLength, const QByteArray &payload);
    /** @p hex with blanks allowed between the bytes, for payloads written out by hand. */
    static QByteArray fromHex(const char *hex);
};

#endif
