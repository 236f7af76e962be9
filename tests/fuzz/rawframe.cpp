#include "rawframe.h"

#include <zlib.h>

namespace {

QByteArray header(quint16 length, char version, char flags)
{
    QByteArray bytes("QROM");
    bytes.append(version);
    bytes.append(flags);
    bytes.append(char(length & 0xff));
    bytes.append(char(length >> 8));
    return bytes;
}

void appendCrc(QByteArray *frame, const QByteArray &payload)
{
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(frame->constData()), uInt(frame->size()));
    crc = crc32(crc, reinterpret_cast<const Bytef *>(payload.constData()), uInt(payload.size()));
    for (int i = 0; i < 4; ++i)
        frame->append(char((crc >> (8 * i)) & 0xff));
}

} // namespace

QByteArray RawFrame::around(const QByteArray &payload, char version, char flags)
{
    const QByteArray body = payload.left(MaxPayloadSize);
    QByteArray frame = header(quint16(body.size()), version, flags);
    appendCrc(&frame, body);
    return frame + body;
}

QByteArray RawFrame::announcing(quint16 announcedLength, const QByteArray &payload)
{
    QByteArray frame = header(announcedLength, Version, 0);
    appendCrc(&frame, payload);
    return frame + payload;
}

QByteArray RawFrame::fromHex(const char *hex)
{
    return QByteArray::fromHex(QByteArray(hex).replace(' ', QByteArray()));
}
