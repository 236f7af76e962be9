#include "hostileframes.h"

#include "rawframe.h"

namespace {

typedef HostileFrames::Entry Entry;

QByteArray varint(quint64 n)
{
    QByteArray bytes;
    do {
        uchar b = n & 0x7f;
        n >>= 7;
        if (n)
            b |= 0x80;
        bytes.append(char(b));
    } while (n);
    return bytes;
}

QByteArray text(const QByteArray &utf8)
{
    return varint(quint64(utf8.size())) + utf8;
}

QByteArray stringValue(const QByteArray &utf8)
{
    return QByteArray(1, '\x02') + text(utf8);
}

QByteArray mapOf(int count, const QByteArray &entries)
{
    return QByteArray(1, '\x0a') + varint(quint64(count)) + entries;
}

QByteArray nestedMaps(int levels)
{
    QByteArray bytes;
    for (int i = 1; i < levels; ++i)
        bytes += RawFrame::fromHex("0a01 016b");
    return bytes + RawFrame::fromHex("0a00");
}

/** A one-entry record map whose "unit" entry is @p value, already encoded. */
QByteArray unitRecord(const QByteArray &value)
{
    return mapOf(1, text("unit") + value);
}

/** A map whose byte-array "unit" entry fills the payload to the last byte the length field can announce. */
QByteArray fullPayload()
{
    const QByteArray head = RawFrame::fromHex("0a01 04756e6974 09");
    const int room = RawFrame::MaxPayloadSize - head.size() - 3;
    return head + varint(quint64(room)) + QByteArray(room, 'x');
}

/** As many distinct, sorted two-character keys as printable ASCII allows, each with an invalid value. */
QByteArray manyKeys()
{
    QByteArray entries;
    int count = 0;
    for (char first = '!'; first <= '~'; ++first) {
        for (char second = '!'; second <= '~'; ++second, ++count) {
            entries += text(QByteArray(1, first) + second);
            entries += '\0';
        }
    }
    return mapOf(count, entries);
}

Entry rejected(const char *name, const QByteArray &frame)
{
    return Entry { QString::fromLatin1(name), frame, HostileFrames::Rejected };
}

Entry rejectedPayload(const char *name, const char *hex)
{
    return rejected(name, RawFrame::around(RawFrame::fromHex(hex)));
}

Entry loaded(const char *name, const QByteArray &frame)
{
    return Entry { QString::fromLatin1(name), frame, HostileFrames::Loaded };
}

void addLengthFields(QList<Entry> &entries)
{
    entries << rejected("length-field-max-short-memory",
                        RawFrame::announcing(0xffff, RawFrame::fromHex("0a00")))
            << loaded("length-field-max-full-payload", RawFrame::around(fullPayload()))
            << rejected("length-field-zero", RawFrame::around(QByteArray()))
            << rejectedPayload("string-length-uint32-max", "02 ffffffff0f 61")
            << rejectedPayload("string-length-beyond-uint32", "02 ffffffffffffffffff01 61")
            << rejectedPayload("bytes-length-beyond-payload", "09 ffff03 00")
            << rejectedPayload("map-count-uint32-max", "0a ffffffff0f")
            << rejectedPayload("map-count-beyond-entries", "0a 05 0161 07");
}

void addNesting(QList<Entry> &entries)
{
    entries << loaded("nesting-8-levels", RawFrame::around(nestedMaps(8)))
            << rejected("nesting-9-levels", RawFrame::around(nestedMaps(9)))
            << rejected("nesting-10000-levels", RawFrame::around(nestedMaps(10000)));
}

void addUnknownTags(QList<Entry> &entries)
{
    entries << rejectedPayload("unknown-tag-0b", "0b") << rejectedPayload("unknown-tag-ff", "ff")
            << rejectedPayload("unknown-tag-in-map", "0a01 0161 ff")
            << rejectedPayload("unknown-tag-as-unit", "0a01 04756e6974 0c");
}

void addBadText(QList<Entry> &entries)
{
    entries << rejectedPayload("utf8-invalid-byte", "02 01 ff")
            << rejectedPayload("utf8-overlong", "02 02 c0af")
            << rejectedPayload("utf8-overlong-nul", "02 02 c080")
            << rejectedPayload("utf8-encoded-surrogate", "02 03 eda080")
            << rejectedPayload("utf8-beyond-u10ffff", "02 04 f4908080")
            << rejectedPayload("utf8-stray-continuation", "02 01 80")
            << rejectedPayload("utf8-truncated-sequence", "02 02 e697")
            << rejectedPayload("utf8-latin1-in-key", "0a01 01e9 07")
            << rejected("utf8-latin1-unit", RawFrame::around(unitRecord(stringValue("I12345\xe9"))));
}

void addRepeatedKeys(QList<Entry> &entries)
{
    entries << rejectedPayload("keys-repeated", "0a02 0161 07 0161 08")
            << rejected(
                   "unit-repeated",
                   RawFrame::around(mapOf(
                       2, text("unit") + stringValue("I111111") + text("unit") + stringValue("I222222"))))
            << rejectedPayload("keys-unsorted", "0a02 0162 07 0161 08");
}

void addVarints(QList<Entry> &entries)
{
    entries << rejectedPayload("varint-non-minimal", "03 8000")
            << rejectedPayload("varint-non-minimal-length", "02 8100 61")
            << rejectedPayload("varint-non-minimal-map-count", "0a 8000")
            << rejectedPayload("varint-eleven-bytes", "05 8080808080808080808000")
            << rejectedPayload("varint-uint32-out-of-range", "03 8080808010")
            << rejectedPayload("varint-uint64-overflow", "05 ffffffffffffffffff02")
            << rejectedPayload("varint-truncated", "03 80");
}

void addTrailingBytes(QList<Entry> &entries)
{
    entries << rejectedPayload("trailing-bytes-in-payload", "07 07")
            << rejectedPayload("trailing-zero-after-map", "0a00 00")
            << loaded("trailing-bytes-after-frame",
                      RawFrame::around(unitRecord(stringValue("I123456"))) + QByteArray("not a frame"));
}

void addHeaders(QList<Entry> &entries)
{
    QByteArray lowerMagic = RawFrame::around(RawFrame::fromHex("0a00"));
    lowerMagic[0] = 'q';
    entries << rejected("header-version-2", RawFrame::around(RawFrame::fromHex("0a00"), 2))
            << rejected("header-flags-set", RawFrame::around(RawFrame::fromHex("0a00"), 1, 1))
            << rejected("header-magic-lowercase", lowerMagic);
}

void addOddRecords(QList<Entry> &entries)
{
    entries << loaded("many-keys", RawFrame::around(manyKeys()))
            << loaded("unit-huge-string", RawFrame::around(unitRecord(stringValue(QByteArray(65000, 'I')))))
            << loaded("unit-uint32", RawFrame::around(unitRecord(RawFrame::fromHex("03 c0c407"))))
            << loaded("unit-null-string", RawFrame::around(unitRecord(RawFrame::fromHex("01"))))
            << loaded("unit-nul-characters", RawFrame::around(unitRecord(stringValue(QByteArray(7, '\0')))))
            << loaded("empty-map", RawFrame::around(RawFrame::fromHex("0a00")));
}

} // namespace

QList<HostileFrames::Entry> HostileFrames::all()
{
    QList<Entry> entries;
    addLengthFields(entries);
    addNesting(entries);
    addUnknownTags(entries);
    addBadText(entries);
    addRepeatedKeys(entries);
    addVarints(entries);
    addTrailingBytes(entries);
    addHeaders(entries);
    addOddRecords(entries);
    return entries;
}
