#include "hostileframes.h"

#include "rawframe.h"

#include <cstring>
#include <limits>

namespace {

typedef HostileFrames::Entry Entry;

const char *const majorNames[] = { "uint", "negint", "bytes", "text", "list", "map" };
const int headSizes[] = { 1, 2, 3, 5, 9 };

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

Entry entry(const QString &name, const QByteArray &payload, HostileFrames::Outcome outcome)
{
    return Entry { name, RawFrame::around(payload), outcome };
}

Entry rejected(const QString &name, const QByteArray &payload)
{
    return entry(name, payload, HostileFrames::Rejected);
}

Entry loaded(const QString &name, const QByteArray &payload)
{
    return entry(name, payload, HostileFrames::Loaded);
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
    const quint64 arguments[] = { 0,
                                  23,
                                  24,
                                  255,
                                  256,
                                  65535,
                                  65536,
                                  0xffffffffu,
                                  Q_UINT64_C(0x100000000),
                                  Q_UINT64_C(0x7fffffffffffffff),
                                  Q_UINT64_C(0x8000000000000000),
                                  ~quint64(0) };
    for (int major = 0; major <= 5; ++major) {
        for (size_t a = 0; a < sizeof(arguments) / sizeof(arguments[0]); ++a) {
            const quint64 argument = arguments[a];
            if (major >= 2 && argument > 256)
                break;
            const bool belowInt64 = major == 1 && argument > Q_UINT64_C(0x7fffffffffffffff);
            for (size_t s = 0; s < sizeof(headSizes) / sizeof(headSizes[0]); ++s) {
                const int size = headSizes[s];
                if (size < shortestHeadSize(argument))
                    continue;
                const QString name = QString::fromLatin1("%1-%2-head-%3")
                                         .arg(QLatin1String(majorNames[major]))
                                         .arg(argument)
                                         .arg(size);
                const bool shortest = size == shortestHeadSize(argument) && !belowInt64;
                entries << entry(name,
                                 head(major, argument, size) + contents(major, major >= 2 ? argument : 0),
                                 shortest ? HostileFrames::Loaded : HostileFrames::Rejected);
            }
        }
    }
}

// Each float in its shortest width loads, in a wider one it is refused; NaN has one spelling.
void addFloatSpellings(QList<Entry> &entries)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const struct
    {
        const char *name;
        double value;
        int halfBits; ///< -1 when no half holds the value
    } floats[] = { { "zero", 0.0, 0x0000 },
                   { "minus-zero", -0.0, 0x8000 },
                   { "one-and-a-half", 1.5, 0x3e00 },
                   { "largest-half", 65504, 0x7bff },
                   { "smallest-half", 5.9604644775390625e-08, 0x0001 },
                   { "subnormal-half", -1.7881393432617188e-07, 0x8003 },
                   { "infinity", infinity, 0x7c00 },
                   { "minus-infinity", -infinity, 0xfc00 },
                   { "single", 100000.0, -1 },
                   { "smallest-single", 1.4012984643248171e-45, -1 },
                   { "double", 0.1, -1 } };
    for (size_t i = 0; i < sizeof(floats) / sizeof(floats[0]); ++i) {
        const double value = floats[i].value;
        QList<QByteArray> widths;
        if (floats[i].halfBits >= 0)
            widths << RawFrame::fromHex("f9") + bigEndianBits(quint16(floats[i].halfBits));
        if (double(float(value)) == value)
            widths << RawFrame::fromHex("fa") + bigEndianBits(float(value));
        widths << RawFrame::fromHex("fb") + bigEndianBits(value);
        for (int w = 0; w < widths.size(); ++w)
            entries << entry(QString::fromLatin1("float-%1-%2-bytes")
                                 .arg(QLatin1String(floats[i].name))
                                 .arg(widths.at(w).size() - 1),
                             widths.at(w), w == 0 ? HostileFrames::Loaded : HostileFrames::Rejected);
    }
    entries << loaded(QLatin1String("nan"), RawFrame::fromHex("f97e00"));
    const char *const otherNaNs[] = { "f97e01", "f9fe00", "f97c01", "fa7fc00000", "fb7ff8000000000000" };
    for (size_t i = 0; i < sizeof(otherNaNs) / sizeof(otherNaNs[0]); ++i)
        entries << rejected(hexName("nan-", RawFrame::fromHex(otherNaNs[i])),
                            RawFrame::fromHex(otherNaNs[i]));
}

void addCountsBeyondThePayload(QList<Entry> &entries)
{
    const quint64 announced[] = { 2, 65536, 0xffffffffu, ~quint64(0) };
    for (int major = 2; major <= 5; ++major) {
        for (size_t i = 0; i < sizeof(announced) / sizeof(announced[0]); ++i)
            entries << rejected(QString::fromLatin1("%1-announcing-%2")
                                    .arg(QLatin1String(majorNames[major]))
                                    .arg(announced[i]),
                                item(major, announced[i]) + contents(major, 1));
    }
    entries << Entry { QLatin1String("length-field-max-short-memory"),
                       RawFrame::announcing(0xffff, item(5, 0)), HostileFrames::Rejected }
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
    const char *const illFormed[]
        = { "ff", "c0af", "c080", "e080af", "eda080", "f4908080", "80", "e697", "e9", "f888808080" };
    for (size_t i = 0; i < sizeof(illFormed) / sizeof(illFormed[0]); ++i) {
        const QByteArray bad = text(RawFrame::fromHex(illFormed[i]));
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
    const char *const nonText[] = { "00", "20", "41 61", "f6", "f7", "f4", "f93e00", "80", "a0" };
    for (size_t i = 0; i < sizeof(nonText) / sizeof(nonText[0]); ++i) {
        const QByteArray key = RawFrame::fromHex(nonText[i]);
        entries << rejected(hexName("key-", key), item(5, 1) + key + item(0, 0));
    }
}

void addTrailingBytes(QList<Entry> &entries)
{
    entries << rejected(QLatin1String("trailing-bytes-in-payload"), RawFrame::fromHex("f5 f5"))
            << rejected(QLatin1String("trailing-zero-after-map"), RawFrame::fromHex("a0 00"))
            << Entry { QLatin1String("trailing-bytes-after-frame"),
                       RawFrame::around(unitRecord(text("I123456"))) + QByteArray("not a frame"),
                       HostileFrames::Loaded };
}

void addHeaders(QList<Entry> &entries)
{
    QByteArray lowerMagic = RawFrame::around(item(5, 0));
    lowerMagic[0] = 'q';
    entries << Entry { QLatin1String("header-version-1"), RawFrame::around(item(5, 0), 1),
                       HostileFrames::Rejected }
            << Entry { QLatin1String("header-version-3"), RawFrame::around(item(5, 0), 3),
                       HostileFrames::Rejected }
            << Entry { QLatin1String("header-flags-set"), RawFrame::around(item(5, 0), 2, 1),
                       HostileFrames::Rejected }
            << Entry { QLatin1String("header-magic-lowercase"), lowerMagic, HostileFrames::Rejected };
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
