#include "frameheader.h"

#include <zlib.h>

#include <cstring>

namespace {

const char Magic[] = { 'Q', 'R', 'O', 'M' };
enum Field { MagicOffset = 0, VersionOffset = 4, FlagsOffset = 5, LengthOffset = 6, CrcOffset = 8 };

quint32 readLe(const QByteArray &bytes, int offset, int size)
{
    quint32 n = 0;
    for (int i = size - 1; i >= 0; --i)
        n = (n << 8) | uchar(bytes.at(offset + i));
    return n;
}

void writeLe(char *p, quint32 n, int size)
{
    for (int i = 0; i < size; ++i)
        p[i] = char((n >> (8 * i)) & 0xff);
}

// The check covers the header up to the CRC itself, so a damaged length or flag is caught too.
quint32 crcOver(const char *header, const char *payload, int payloadSize)
{
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(header), CrcOffset);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(payload), uInt(payloadSize));
    return quint32(crc);
}

} // namespace

FrameHeader::FrameHeader(const QByteArray &frame)
    : m_bytes(frame.left(Size))
{ }

QByteArray FrameHeader::build(int version, const QByteArray &payload)
{
    QByteArray header(Size, '\0');
    char *p = header.data();
    memcpy(p + MagicOffset, Magic, sizeof(Magic));
    p[VersionOffset] = char(version);
    p[FlagsOffset] = 0;
    writeLe(p + LengthOffset, quint32(payload.size()), 2);
    writeLe(p + CrcOffset, crcOver(p, payload.constData(), payload.size()), 4);
    return header;
}

bool FrameHeader::isComplete() const
{
    return m_bytes.size() == Size;
}

QByteArray FrameHeader::magic() const
{
    return isComplete() ? m_bytes.left(int(sizeof(Magic))) : QByteArray();
}

int FrameHeader::version() const
{
    return isComplete() ? uchar(m_bytes.at(VersionOffset)) : 0;
}

int FrameHeader::flags() const
{
    return isComplete() ? uchar(m_bytes.at(FlagsOffset)) : 0;
}

int FrameHeader::payloadLength() const
{
    return isComplete() ? int(readLe(m_bytes, LengthOffset, 2)) : 0;
}

quint32 FrameHeader::storedCrc() const
{
    return isComplete() ? readLe(m_bytes, CrcOffset, 4) : 0;
}

bool FrameHeader::isFormat(int formatVersion) const
{
    return isComplete() && memcmp(m_bytes.constData() + MagicOffset, Magic, sizeof(Magic)) == 0
        && version() == formatVersion && flags() == 0;
}

quint32 FrameHeader::computedCrc(const QByteArray &frame) const
{
    if (!isComplete())
        return 0;
    const int available = qMax(0, frame.size() - int(Size));
    return crcOver(m_bytes.constData(), frame.constData() + Size, qMin(payloadLength(), available));
}
