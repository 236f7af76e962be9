#include "hostileframes.h"

#include <zlib.h>

namespace {

int shortestHeadSize(quint64 n)
{
    return n < 24 ? 1 : n <= 0xff ? 2 : n <= 0xffff ? 3 : n <= 0xffffffffu ? 5 : 9;
}

// A CBOR head of major type @p major, argument @p n in @p size bytes (0: the fewest), then the @p count
// bytes, items or entries under sorted keys that a byte string, text, list or map announcing them holds.
QByteArray item(int major, quint64 n, int size = 0, quint64 count = 0)
{
    static const int additional[] = { 0, 0, 24, 25, 0, 26, 0, 0, 0, 27 };
    size = size ? size : shortestHeadSize(n);
    QByteArray bytes(1, char((major << 5) | (size == 1 ? int(n) : additional[size])));
    for (int shift = 8 * (size - 2); shift >= 0; shift -= 8)
        bytes += char(n >> shift);
    for (quint64 i = 0; i < count; ++i)
        bytes += (major == 5 ? "\x62" + QByteArray::number(int(i) + 0x100, 16).right(2) : "")
            + (major <= 3 ? "a" : "");
    return major >= 4 ? bytes + QByteArray(int(count), '\0') : bytes;
}

} // namespace

QByteArray HostileFrames::frame(const QByteArray &payload, const QByteArray &start)
{
    const QByteArray body = payload.left(65535);
    QByteArray bytes = start + char(body.size() & 0xff) + char(body.size() >> 8);
    uLong crc = crc32(crc32(0L, Z_NULL, 0), reinterpret_cast<const Bytef *>(bytes.constData()), 8);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(body.constData()), uInt(body.size()));
    for (int i = 0; i < 4; ++i)
        bytes += char(crc >> (8 * i));
    return bytes + body;
}

QList<QPair<QString, QByteArray> > HostileFrames::all()
{
    QList<QPair<QString, QByteArray> > frames;
    const auto add = [&frames](const QString &name, const QByteArray &payload) {
        frames.append(qMakePair(name, frame(payload)));
    };
    // Tags, indefinite lengths with their chunks and break, reserved heads, the break byte, and simple values
    // other than false, true, null and undefined, each completed as in a well-formed item.
    for (int initial = 0; initial <= 0xff; ++initial) {
        const int major = initial >> 5;
        const int additional = initial & 0x1f;
        if (major == 7 ? additional >= 20 && additional <= 27 && additional != 24
                       : major != 6 && additional < 28)
            continue;
        QByteArray payload(1, char(initial));
        payload += QByteArray(additional >= 24 && additional <= 27 ? 1 << (additional - 24) : 0, ' ');
        if (major == 6 || (additional == 31 && major >= 2 && major <= 5))
            payload
                += QByteArray::fromHex(major == 6 ? "00" : "616100ff"); // a number; an item or chunk, break
        add("head-" + payload.left(1).toHex(), payload);
    }
    // Each integer, length and count at the edges of the head sizes in every head longer than its shortest,
    // and a negative integer below -2^63 in any head.
    const quint64 maxInt64 = ~quint64(0) >> 1;
    const QList<quint64> edges = QList<quint64>()
        << 0 << 23 << 24 << 255 << 256 << 65535 << 65536 << 0xffffffffu << Q_UINT64_C(0x100000000) << maxInt64
        << maxInt64 + 1 << ~quint64(0);
    for (int major = 0; major <= 5; ++major) {
        for (const quint64 n : edges) {
            for (const int size : { 1, 2, 3, 5, 9 }) {
                if (size > shortestHeadSize(n) ? major < 2 || n <= 256
                                               : size == shortestHeadSize(n) && major == 1 && n > maxInt64)
                    add(QString("major-%1-argument-%2-in-%3-bytes").arg(major).arg(n).arg(size),
                        item(major, n, size, major >= 2 ? n : 0));
            }
        }
    }
    // Counts beyond the payload, nesting beyond 8 levels.
    for (int major = 2; major <= 5; ++major) {
        for (const quint64 n : { quint64(2), quint64(65536), quint64(0xffffffffu), ~quint64(0) })
            add(QString("major-%1-announcing-%2").arg(major).arg(n), item(major, n, 0, 1));
    }
    for (const int levels : { 9, 10000 }) {
        add(QString("lists-%1-deep").arg(levels), QByteArray(levels - 1, '\x81') + '\x80');
        add(QString("maps-%1-deep").arg(levels), QByteArray("\xa1\x61k").repeated(levels - 1) + '\xa0');
    }
    // Ill-formed UTF-8 (invalid bytes, overlong forms also of NUL, encoded surrogates, beyond U+10FFFF, stray
    // continuations, truncated sequences, Latin-1, five-byte forms) as text and as a key.
    for (const QString &bad :
         QString("ff c0af c080 e080af eda080 f4908080 80 e697 e9 f888808080").split(' ')) {
        const QByteArray text = item(3, quint64(bad.size() / 2)) + QByteArray::fromHex(bad.toLatin1());
        add("utf8-" + bad, text);
        add("utf8-key-" + bad, '\xa1' + text + '\0');
    }
    // Halves as singles and doubles, a single as a double, other NaNs; keys repeated, unsorted, sorted
    // bytewise instead of shorter first, in UTF-16 order, or not text; trailing bytes; no payload.
    for (const QString &hex :
         QString("fa3fc00000|fb3ff8000000000000|fa80000000|fb8000000000000000|fa33800000|"
                 "fb3e70000000000000|fb40f86a0000000000|f97e01|f9fe00|f97c01|fa7fc00000|"
                 "fb7ff8000000000000|a2 6161 f4 6161 f5|"
                 "a2 6162 f4 6161 f5|a2 626161 f4 6162 f5|a2 64f09f9880 f4 63efbc81 f5|"
                 "a1 00 00|a1 20 00|a1 4161 00|a1 f6 00|a1 f7 00|a1 f4 00|a1 f93e00 00|"
                 "a1 80 00|a1 a0 00|f5 f5|a0 00|")
             .split('|'))
        add("payload-" + QString(hex).remove(' '), QByteArray::fromHex(hex.toLatin1()));
    // Other versions, flags or magic, and a length beyond the memory.
    for (const char *start : { "QROM\x01", "QROM\x03", "qROM\x02", "QROM\x02\x01" })
        frames.append(qMakePair(QString("header-" + QByteArray(start, 6).toHex()),
                                frame("\xa0", QByteArray(start, 6))));
    QByteArray longer = frame("\xa0");
    longer[6] = longer[7] = '\xff';
    frames.append(qMakePair(QString("header-length-ffff"), longer));
    return frames;
}
