#include "hostileframes.h"

#include "rawframe.h"

#include <cstring>
#include <limits>

namespace {

typedef HostileFrames::Entry Entry;

const char *const majorNames[] = { "uint", "negint", "bytes", "text", "list", "map" };
const quint64 maxInt64 = Q_UINT64_C(0x7fffffffffffffff);

int shortestHeadSize(quint64 argument)
{
    return argument < 24          ? 1
        : argument <= 0xff        ? 2
        : argument <= 0xffff      ? 3
        : argument <= 0xffffffffu ? 5
                                  : 9;
}

/** A CBOR item head of major type @p major with @p argument written in @p size bytes, big-endian. */
QByteArray head(int major, quint64 argument, int size)
{
    const int additional = size == 1 ? int(argument) : size == 2 ? 24 : size == 3 ? 25 : size == 5 ? 26 : 27;
    QByteArray bytes(1, char((major << 5) | additional));
    for (int shift = 8 * (size - 2); shift >= 0; shift -= 8)
        bytes.append(char(argument >> shift));
    return bytes;
}

QByteArray item(int major, quint64 argument)
{
    return head(major, argument, shortestHeadSize(argument));
}

QByteArray text(const QByteArray &utf8)
{
    return item(3, quint64(utf8.size())) + utf8;
}

QByteArray unitRecord(const QByteArray &value)
{
    return item(5, 1) + text("unit") + value;
}

/** What a head of major type 2 to 5 announcing @p n is followed by: bytes, items or entries in order. */
QByteArray contents(int major, quint64 n)
{
    QByteArray bytes;
    for (quint64 i = 0; i < n; ++i) {
        if (major == 5)
            bytes += text(QByteArray::number(int(i) + 0x100, 16).right(2)); // "00" to "ff"
        bytes += major <= 3 ? 'a' : '\0';
    }
    return bytes;
}

template<typename T> QByteArray bigEndianBits(T value)
{
    quint64 bits = 0;
    memcpy(&bits, &value, sizeof(value)); // little-endian host: the low bytes
    QByteArray bytes;
    for (int shift = 8 * int(sizeof(value)) - 8; shift >= 0; shift -= 8)
        bytes.append(char(bits >> shift));
    return bytes;
}

Entry entry(const QString &name, const QByteArray &payload, bool loads)
{
    return Entry { name, RawFrame::around(payload), loads ? HostileFrames::Loaded : HostileFrames::Rejected };
}

Entry rejected(const QString &name, const QByteArray &payload)
{
    return entry(name, payload, false);
}

Entry loaded(const QString &name, const QByteArray &payload)
{
    return entry(name, payload, true);
}

Entry rejectedFrame(const char *name, const QByteArray &frame)
{
    return Entry { QLatin1String(name), frame, HostileFrames::Rejected };
}

QString hexName(const char *prefix, const QByteArray &bytes)
{
    return QLatin1String(prefix) + QString::fromLatin1(bytes.toHex());
}

// Tags, indefinite lengths, reserved heads, break, and simple values other than false, true, null and
// undefined, each completed as it would be in a well-formed item.
void addHeadsOutsideTheProfile(QList<Entry> &entries)
{
    for (int initial = 0; initial <= 0xff; ++initial) {
        const int major = initial >> 5;
        const int additional = initial & 0x1f;
        const bool inProfile = major == 7 ? additional >= 20 && additional <= 27 && additional != 24
                                          : major != 6 && additional <= 27;
        if (inProfile)
            continue;
        QByteArray payload(1, char(initial));
        payload += QByteArray(additional >= 24 && additional <= 27 ? 1 << (additional - 24) : 0, ' ');
        if (major == 6)
            payload += '\0';
        else if (additional == 31 && major >= 2 && major <= 5)
            payload += RawFrame::fromHex(major == 5 ? "6161 00 ff" : major == 4 ? "00 ff" : "41 61 ff");
        const QString name = hexName("head-", payload.left(1));
        entries << rejected(name, payload) << rejected(name + QLatin1String("-as-unit"), unitRecord(payload));
    }
}

// Each integer, length and count in its shortest head loads; in any longer head it is refused.
void addHeadSpellings(QList<Entry> &entries)
{
    const QList<quint64> arguments { 0,        23,           24,
                                     255,      256,          65535,
                                     65536,    0xffffffffu,  Q_UINT64_C(0x100000000),
                                     maxInt64, maxInt64 + 1, ~quint64(0) };
    for (int major = 0; major <= 5; ++major) {
        for (const quint64 argument : arguments) {
            if (major >= 2 && argument > 256)
                break;
            for (const int size : { 1, 2, 3, 5, 9 }) {
                if (size < shortestHeadSize(argument))
                    continue;
                const QString name
                    = QString::fromLatin1("%1-%2-head-%3").arg(QLatin1String(majorNames[major]));
                const bool loads = size == shortestHeadSize(argument) && !(major == 1 && argument > maxInt64);
                entries << entry(name.arg(argument).arg(size),
                                 head(major, argument, size) + contents(major, major >= 2 ? argument : 0),
                                 loads);
            }
        }
    }
}

// Each float in its shortest encoding loads, in a wider one it is refused; NaN has one spelling.
void addFloatSpellings(QList<Entry> &entries)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const QList<QPair<const char *, double> > shortest { { "f90000", 0.0 },
                                                         { "f98000", -0.0 },
                                                         { "f93e00", 1.5 },
                                                         { "f97bff", 65504 },
                                                         { "f90001", 5.9604644775390625e-08 },
                                                         { "f98003", -1.7881393432617188e-07 },
                                                         { "f97c00", infinity },
                                                         { "f9fc00", -infinity },
                                                         { "fa47c35000", 100000.0 },
                                                         { "fa00000001", 1.4012984643248171e-45 },
                                                         { "fb3fb999999999999a", 0.1 } };
    for (const auto &f : shortest) {
        const QByteArray encoded = RawFrame::fromHex(f.first);
        entries << loaded(hexName("float-", encoded), encoded);
        if (encoded.size() == 3)
            entries << rejected(hexName("float-as-single-", encoded),
                                '\xfa' + bigEndianBits(float(f.second)));
        if (encoded.size() <= 5)
            entries << rejected(hexName("float-as-double-", encoded), '\xfb' + bigEndianBits(f.second));
    }
    entries << loaded(QLatin1String("nan"), RawFrame::fromHex("f97e00"));
    for (const char *nan : { "f97e01", "f9fe00", "f97c01", "fa7fc00000", "fb7ff8000000000000" })
        entries << rejected(hexName("nan-", RawFrame::fromHex(nan)), RawFrame::fromHex(nan));
}

void addCountsBeyondThePayload(QList<Entry> &entries)
{
    for (int major = 2; major <= 5; ++major) {
        const QString name = QString::fromLatin1("%1-announcing-%2").arg(QLatin1String(majorNames[major]));
        for (const quint64 announced : { quint64(2), quint64(65536), quint64(0xffffffffu), ~quint64(0) })
            entries << rejected(name.arg(announced), item(major, announced) + contents(major, 1));
    }
    entries << rejectedFrame("length-field-max-short-memory", RawFrame::announcing(0xffff, item(5, 0)))
            << rejected(QLatin1String("length-field-zero"), QByteArray());
    const QByteArray full = item(5, 1) + text("unit") + head(2, 65526, 3);
    entries << loaded(QLatin1String("length-field-max-full-payload"), full + QByteArray(65526, 'x'));
}

/** Maps, lists or both by turns, nested @p levels deep. */
QByteArray nested(int levels, int kind)
{
    QByteArray bytes;
    for (int level = 1; level < levels; ++level)
        bytes += kind == 0 || (kind == 2 && level % 2) ? item(5, 1) + text("k") : item(4, 1);
    return bytes + item(kind == 1 ? 4 : 5, 0);
}

void addNesting(QList<Entry> &entries)
{
    const char *const kinds[] = { "maps", "lists", "maps-and-lists" };
    for (int kind = 0; kind < 3; ++kind) {
        const QString name = QString::fromLatin1("nesting-%1-%2").arg(QLatin1String(kinds[kind]));
        entries << loaded(name.arg(8), nested(8, kind)) << rejected(name.arg(9), nested(9, kind))
                << rejected(name.arg(10000), nested(10000, kind));
    }
}

void addText(QList<Entry> &entries)
{
    // Invalid bytes, overlong forms (also of NUL), encoded surrogates, beyond U+10FFFF, stray
    // continuations, truncated sequences, Latin-1, five-byte forms.
    for (const char *illFormed :
         { "ff", "c0af", "c080", "e080af", "eda080", "f4908080", "80", "e697", "e9", "f888808080" }) {
        const QByteArray bad = text(RawFrame::fromHex(illFormed));
        entries << rejected(hexName("utf8-", bad.mid(1)), bad)
                << rejected(hexName("utf8-as-key-", bad.mid(1)), item(5, 1) + bad + item(0, 0))
                << rejected(hexName("utf8-as-unit-", bad.mid(1)), unitRecord(bad));
    }
    // A byte order mark and noncharacters are text like any other.
    entries << loaded(QLatin1String("text-byte-order-mark"),
                      unitRecord(text(RawFrame::fromHex("efbbbf 49 efbbbf"))))
            << loaded(QLatin1String("text-noncharacters"),
                      unitRecord(text(RawFrame::fromHex("efbfbf efb790 f48fbfbf"))));
}

void addKeys(QList<Entry> &entries)
{
    entries << rejected(QLatin1String("keys-repeated"), RawFrame::fromHex("a2 6161 f4 6161 f5"))
            << rejected(QLatin1String("unit-repeated"),
                        item(5, 2) + text("unit") + text("I111111") + text("unit") + text("I222222"))
            << rejected(QLatin1String("keys-unsorted"), RawFrame::fromHex("a2 6162 f4 6161 f5"))
            << rejected(QLatin1String("keys-bytewise-not-shorter-first"),
                        RawFrame::fromHex("a2 626161 f4 6162 f5"))
            << rejected(QLatin1String("keys-in-utf16-order"),
                        RawFrame::fromHex("a2 64f09f9880 f4 63efbc81 f5"));
    for (const char *nonText : { "00", "20", "41 61", "f6", "f7", "f4", "f93e00", "80", "a0" })
        entries << rejected(hexName("key-", RawFrame::fromHex(nonText)),
                            item(5, 1) + RawFrame::fromHex(nonText) + '\0');
}

void addTrailingBytes(QList<Entry> &entries)
{
    entries << rejected(QLatin1String("trailing-bytes-in-payload"), RawFrame::fromHex("f5 f5"))
            << rejected(QLatin1String("trailing-zero-after-map"), RawFrame::fromHex("a0 00"))
            << Entry { QLatin1String("trailing-bytes-after-frame"),
                       RawFrame::around(unitRecord(text("I123456"))) + "not a frame", HostileFrames::Loaded };
}

void addHeaders(QList<Entry> &entries)
{
    QByteArray lowerMagic = RawFrame::around(item(5, 0));
    lowerMagic[0] = 'q';
    entries << rejectedFrame("header-version-1", RawFrame::around(item(5, 0), 1))
            << rejectedFrame("header-version-3", RawFrame::around(item(5, 0), 3))
            << rejectedFrame("header-flags-set", RawFrame::around(item(5, 0), 2, 1))
            << rejectedFrame("header-magic-lowercase", lowerMagic);
}

/** As many distinct two-character keys as printable ASCII allows, in order, each with an undefined value. */
QByteArray manyKeys()
{
    QByteArray entries;
    int count = 0;
    for (char first = '!'; first <= '~'; ++first) {
        for (char second = '!'; second <= '~'; ++second, ++count)
            entries += text(QByteArray(1, first) + second) + '\xf7';
    }
    return item(5, quint64(count)) + entries;
}

void addOddRecords(QList<Entry> &entries)
{
    entries << loaded(QLatin1String("many-keys"), manyKeys())
            << loaded(QLatin1String("unit-huge-string"), unitRecord(text(QByteArray(65000, 'I'))))
            << loaded(QLatin1String("unit-uint32"), unitRecord(item(0, 123456)))
            << loaded(QLatin1String("unit-null-string"), unitRecord(RawFrame::fromHex("f6")))
            << loaded(QLatin1String("unit-nul-characters"), unitRecord(text(QByteArray(7, '\0'))))
            << loaded(QLatin1String("unit-list"), unitRecord(RawFrame::fromHex("82 f93e00 6149")))
            << loaded(QLatin1String("empty-map"), item(5, 0));
}

} // namespace

QList<HostileFrames::Entry> HostileFrames::all()
{
    QList<Entry> entries;
    addHeadsOutsideTheProfile(entries);
    addHeadSpellings(entries);
    addFloatSpellings(entries);
    addCountsBeyondThePayload(entries);
    addNesting(entries);
    addText(entries);
    addKeys(entries);
    addTrailingBytes(entries);
    addHeaders(entries);
    addOddRecords(entries);
    return entries;
}
