#include "recordcodec_p.h"

#include "utf8text_p.h"

#include <QtCore/QString>
#include <QtCore/QVariantList>
#include <QtCore/QVariantMap>

#include <cbor/encoding.h>
#include <cbor/streaming.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

QString payloadTooLarge()
{
    return QString(QLatin1String("record payload exceeds %1 bytes")).arg(int(RecordCodec::MaxEncodedSize));
}

enum FloatWidth { HalfWidth, SingleWidth, DoubleWidth };

const double smallestNormalHalf = 1.0 / 16384; // 2^-14

/** Whether the float @p f is exactly a half too: 11 significant bits, or a multiple of 2^-24 below 2^-14. */
bool fitsHalf(float f)
{
    if (f == 0)
        return true;
    int exponent;
    const double significand = std::frexp(double(f), &exponent); // |f| = |significand| * 2^exponent
    if (exponent > 16)
        return false; // above 65504, the largest half
    const double units = exponent > -14 ? std::ldexp(significand, 11) : std::ldexp(double(f), 24);
    return units == std::floor(units);
}

/** The shortest of the three floating-point forms that keeps the value of @p d. */
FloatWidth shortestWidth(double d)
{
    // NaN has one form in the profile, the half 7E00; the infinities are halves as well.
    if (d != d || std::fabs(d) == std::numeric_limits<double>::infinity())
        return HalfWidth;
    if (std::fabs(d) > FLT_MAX)
        return DoubleWidth;
    const float f = float(d);
    if (double(f) != d)
        return DoubleWidth;
    return fitsHalf(f) ? HalfWidth : SingleWidth;
}

/** Appends encoded values to a buffer, refusing to let the encoding outgrow what a frame can announce. */
class PayloadWriter
{
public:
    explicit PayloadWriter(QByteArray *out)
        : m_out(out)
        , m_start(out->size())
    { }

    void appendValue(const QVariant &value, int depth);

private:
    struct MapEntry
    {
        QByteArray key;
        const QVariant *value;
    };

    static bool encodedKeyLess(const MapEntry &a, const MapEntry &b);

    void append(const char *data, int size);
    void appendHead(size_t used);
    void appendSigned(qint64 n);
    void appendDouble(double d);
    void appendSubnormalHalf(double d);
    void appendText(const QByteArray &utf8);
    void appendString(const QString &s);
    void appendBytes(const QByteArray &bytes);
    void appendList(const QVariantList &list, int depth);
    void appendMap(const QVariantMap &map, int depth);
    void enterContainer(int depth);

    QByteArray *const m_out;
    const int m_start;
    unsigned char m_head[9]; ///< what libcbor writes an item's head into: an initial byte and up to 8 more
};

void PayloadWriter::append(const char *data, int size)
{
    const int used = m_out->size() - m_start;
    if (size > RecordCodec::MaxEncodedSize - used)
        throw payloadTooLarge();
    m_out->append(data, size);
}

void PayloadWriter::appendHead(size_t used)
{
    append(reinterpret_cast<const char *>(m_head), int(used));
}

void PayloadWriter::appendSigned(qint64 n)
{
    if (n >= 0)
        appendHead(cbor_encode_uint(quint64(n), m_head, sizeof(m_head)));
    else
        appendHead(cbor_encode_negint(quint64(-(n + 1)), m_head, sizeof(m_head))); // -1 - argument
}

void PayloadWriter::appendDouble(double d)
{
    switch (shortestWidth(d)) {
    case HalfWidth:
        if (d != 0 && std::fabs(d) < smallestNormalHalf)
            appendSubnormalHalf(d);
        else
            appendHead(cbor_encode_half(float(d), m_head, sizeof(m_head)));
        break;
    case SingleWidth:
        appendHead(cbor_encode_single(float(d), m_head, sizeof(m_head)));
        break;
    case DoubleWidth:
        appendHead(cbor_encode_double(d, m_head, sizeof(m_head)));
        break;
    }
}

/**
 * libcbor 0.8, the one in Debian 12, keeps only the leading bit of a subnormal half's significand, so
 * these are written here: initial byte F9, then the sign and the value in units of 2^-24, big-endian.
 */
void PayloadWriter::appendSubnormalHalf(double d)
{
    const uint bits = (d < 0 ? 0x8000u : 0u) | uint(std::ldexp(std::fabs(d), 24));
    const char bytes[] = { char(0xf9), char(bits >> 8), char(bits & 0xff) };
    append(bytes, int(sizeof(bytes)));
}

void PayloadWriter::appendText(const QByteArray &utf8)
{
    appendHead(cbor_encode_string_start(size_t(utf8.size()), m_head, sizeof(m_head)));
    append(utf8.constData(), utf8.size());
}

void PayloadWriter::appendString(const QString &s)
{
    if (s.isNull()) {
        appendHead(cbor_encode_null(m_head, sizeof(m_head)));
        return;
    }
    // Every UTF-16 unit takes at least one byte: no conversion of a string that could never fit.
    if (s.size() > RecordCodec::MaxEncodedSize)
        throw payloadTooLarge();
    QByteArray utf8;
    if (!Utf8Text::encode(s, &utf8))
        throw QString(QLatin1String("record string holds an unpaired surrogate"));
    appendText(utf8);
}

void PayloadWriter::appendBytes(const QByteArray &bytes)
{
    appendHead(cbor_encode_bytestring_start(size_t(bytes.size()), m_head, sizeof(m_head)));
    append(bytes.constData(), bytes.size());
}

void PayloadWriter::enterContainer(int depth)
{
    if (depth >= RecordCodec::MaxDepth)
        throw QString(QLatin1String("record maps and lists nest deeper than %1 levels"))
            .arg(int(RecordCodec::MaxDepth));
}

void PayloadWriter::appendList(const QVariantList &list, int depth)
{
    enterContainer(depth);
    appendHead(cbor_encode_array_start(size_t(list.size()), m_head, sizeof(m_head)));
    for (QVariantList::const_iterator it = list.constBegin(); it != list.constEnd(); ++it)
        appendValue(*it, depth + 1);
}

// Deterministic CBOR orders keys by their encoded bytes. A text key's head grows with its length, so
// that is: shorter keys first, keys of one length by their UTF-8 bytes.
bool PayloadWriter::encodedKeyLess(const MapEntry &a, const MapEntry &b)
{
    if (a.key.size() != b.key.size())
        return a.key.size() < b.key.size();
    return memcmp(a.key.constData(), b.key.constData(), size_t(a.key.size())) < 0;
}

void PayloadWriter::appendMap(const QVariantMap &map, int depth)
{
    enterContainer(depth);
    std::vector<MapEntry> entries;
    entries.reserve(size_t(map.size()));
    for (QVariantMap::const_iterator it = map.constBegin(); it != map.constEnd(); ++it) {
        MapEntry entry;
        if (!Utf8Text::encode(it.key(), &entry.key))
            throw QString(QLatin1String("record key holds an unpaired surrogate"));
        entry.value = &it.value();
        entries.push_back(entry);
    }
    std::sort(entries.begin(), entries.end(), encodedKeyLess);

    appendHead(cbor_encode_map_start(entries.size(), m_head, sizeof(m_head)));
    for (std::vector<MapEntry>::const_iterator it = entries.begin(); it != entries.end(); ++it) {
        appendText(it->key);
        appendValue(*it->value, depth + 1);
    }
}

void PayloadWriter::appendValue(const QVariant &value, int depth)
{
    if (!value.isValid()) {
        appendHead(cbor_encode_undef(m_head, sizeof(m_head)));
        return;
    }
    switch (value.userType()) {
    case QMetaType::QString:
        appendString(value.toString());
        break;
    case QMetaType::Bool:
        appendHead(cbor_encode_bool(value.toBool(), m_head, sizeof(m_head)));
        break;
    case QMetaType::Int:
    case QMetaType::LongLong:
        appendSigned(value.toLongLong());
        break;
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        appendHead(cbor_encode_uint(value.toULongLong(), m_head, sizeof(m_head)));
        break;
    case QMetaType::Double:
        appendDouble(value.toDouble());
        break;
    case QMetaType::QByteArray:
        appendBytes(value.toByteArray());
        break;
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        appendList(value.toList(), depth);
        break;
    case QMetaType::QVariantMap:
        appendMap(value.toMap(), depth);
        break;
    default:
        throw QString(QLatin1String("a record cannot hold a value of type %1"))
            .arg(QLatin1String(value.typeName()));
    }
}

/**
 * Builds the value of a payload from the items that libcbor's streaming decoder reports, one item per
 * call. libcbor only reads the bytes it is given and allocates nothing; what is allocated here is bounded
 * by the payload: a string or byte string only arrives whole, and a count that the remaining bytes cannot
 * hold is refused before anything is reserved for it.
 */
class PayloadReader
{
public:
    PayloadReader(const char *data, int size)
        : m_pos(reinterpret_cast<const unsigned char *>(data))
        , m_end(m_pos + size)
        , m_depth(0)
        , m_opened(false)
        , m_failed(false)
        , m_done(false)
    { }

    /** True when the bytes hold exactly one value made of the profile's items. */
    bool read(QVariant *value);

private:
    struct Container
    {
        bool isMap;
        quint64 count; ///< entries of a map, items of a list, as announced
        quint64 itemsLeft; ///< keys and values of a map count one each
        QVariantList list;
        QVariantMap map;
        QString key;
    };

    static cbor_callbacks callbacks();
    static PayloadReader *reader(void *context) { return static_cast<PayloadReader *>(context); }
    template<typename T> static void onUnsigned(void *context, T n) { reader(context)->takeUnsigned(n); }
    template<typename T> static void onNegative(void *context, T n) { reader(context)->takeNegative(n); }
    template<typename T> static void onFloat(void *context, T d)
    {
        reader(context)->deliver(QVariant(double(d)));
    }
    static void onBytes(void *context, cbor_data data, size_t size);
    static void onText(void *context, cbor_data data, size_t size);
    static void onArray(void *context, size_t count) { reader(context)->open(false, count); }
    static void onMap(void *context, size_t count) { reader(context)->open(true, count); }
    static void onUndefined(void *context) { reader(context)->deliver(QVariant()); }
    static void onNull(void *context) { reader(context)->deliver(QVariant(QString())); }
    static void onBool(void *context, bool b) { reader(context)->deliver(QVariant(b)); }
    static void onTag(void *context, uint64_t) { reader(context)->m_failed = true; }
    /** Indefinite lengths and their break. */
    static void onIndefinite(void *context) { reader(context)->m_failed = true; }

    void takeUnsigned(quint64 n);
    void takeNegative(quint64 n);
    void open(bool isMap, quint64 count);
    bool admitContents();
    void deliver(const QVariant &value);
    void deliverText(const QString &text);
    void closeFinished();

    const unsigned char *m_pos;
    const unsigned char *const m_end;
    Container m_stack[RecordCodec::MaxDepth];
    int m_depth;
    bool m_opened;
    bool m_failed;
    bool m_done;
    QVariant m_result;
};

cbor_callbacks PayloadReader::callbacks()
{
    cbor_callbacks c = cbor_empty_callbacks;
    c.uint8 = &onUnsigned<uint8_t>;
    c.uint16 = &onUnsigned<uint16_t>;
    c.uint32 = &onUnsigned<uint32_t>;
    c.uint64 = &onUnsigned<uint64_t>;
    c.negint8 = &onNegative<uint8_t>;
    c.negint16 = &onNegative<uint16_t>;
    c.negint32 = &onNegative<uint32_t>;
    c.negint64 = &onNegative<uint64_t>;
    c.byte_string = &onBytes;
    c.byte_string_start = &onIndefinite;
    c.string = &onText;
    c.string_start = &onIndefinite;
    c.array_start = &onArray;
    c.indef_array_start = &onIndefinite;
    c.map_start = &onMap;
    c.indef_map_start = &onIndefinite;
    c.tag = &onTag;
    c.float2 = &onFloat<float>;
    c.float4 = &onFloat<float>;
    c.float8 = &onFloat<double>;
    c.undefined = &onUndefined;
    c.null = &onNull;
    c.boolean = &onBool;
    c.indef_break = &onIndefinite;
    return c;
}

void PayloadReader::onBytes(void *context, cbor_data data, size_t size)
{
    reader(context)->deliver(QVariant(QByteArray(reinterpret_cast<const char *>(data), int(size))));
}

void PayloadReader::onText(void *context, cbor_data data, size_t size)
{
    QString text;
    if (Utf8Text::decode(reinterpret_cast<const char *>(data), int(size), &text))
        reader(context)->deliverText(text);
    else
        reader(context)->m_failed = true;
}

// An integer comes back as the narrowest of UInt, Int, ULongLong and LongLong that holds it.
void PayloadReader::takeUnsigned(quint64 n)
{
    deliver(n <= quint64(UINT_MAX) ? QVariant(uint(n)) : QVariant(qulonglong(n)));
}

void PayloadReader::takeNegative(quint64 n)
{
    if (n > quint64(std::numeric_limits<qint64>::max())) {
        m_failed = true; // below -2^63
        return;
    }
    const qint64 value = -1 - qint64(n);
    deliver(value >= INT_MIN ? QVariant(int(value)) : QVariant(qlonglong(value)));
}

void PayloadReader::open(bool isMap, quint64 count)
{
    if (m_depth == RecordCodec::MaxDepth) {
        m_failed = true;
        return;
    }
    Container &c = m_stack[m_depth++];
    c.isMap = isMap;
    c.count = count;
    c.itemsLeft = 0;
    m_opened = true;
}

/** A list item takes at least one byte, a map entry two: a count beyond the bytes left is refused. */
bool PayloadReader::admitContents()
{
    Container &c = m_stack[m_depth - 1];
    const quint64 bytesLeft = quint64(m_end - m_pos);
    if (c.isMap ? c.count > bytesLeft / 2 : c.count > bytesLeft)
        return false;
    c.itemsLeft = c.isMap ? 2 * c.count : c.count;
    if (!c.isMap)
        c.list.reserve(int(c.count));
    return true;
}

void PayloadReader::deliver(const QVariant &value)
{
    if (m_depth == 0) {
        m_result = value;
        m_done = true;
        return;
    }
    Container &c = m_stack[m_depth - 1];
    if (c.isMap) {
        if (c.itemsLeft % 2 == 0) {
            m_failed = true; // a key that is no text
            return;
        }
        c.map.insert(c.key, value);
    } else {
        c.list.append(value);
    }
    --c.itemsLeft;
}

void PayloadReader::deliverText(const QString &text)
{
    if (m_depth > 0) {
        Container &c = m_stack[m_depth - 1];
        if (c.isMap && c.itemsLeft % 2 == 0) {
            c.key = text;
            --c.itemsLeft;
            return;
        }
    }
    deliver(QVariant(text));
}

void PayloadReader::closeFinished()
{
    while (m_depth > 0 && m_stack[m_depth - 1].itemsLeft == 0) {
        Container &c = m_stack[--m_depth];
        const QVariant value = c.isMap ? QVariant(c.map) : QVariant(c.list);
        c.map = QVariantMap();
        c.list = QVariantList();
        deliver(value);
    }
}

bool PayloadReader::read(QVariant *value)
{
    static const cbor_callbacks decoderCallbacks = callbacks();
    while (!m_done) {
        m_opened = false;
        const cbor_decoder_result result
            = cbor_stream_decode(m_pos, size_t(m_end - m_pos), &decoderCallbacks, this);
        if (result.status != CBOR_DECODER_FINISHED || m_failed)
            return false;
        m_pos += result.read;
        if (m_opened && !admitContents())
            return false;
        closeFinished();
        if (m_failed)
            return false;
    }
    if (m_pos != m_end)
        return false;
    *value = m_result;
    return true;
}

} // namespace

void RecordCodec::appendTo(QByteArray *out, const QVariant &value)
{
    PayloadWriter(out).appendValue(value, 0);
}

bool RecordCodec::decode(const char *data, int size, QVariant *value)
{
    QVariant result;
    if (size <= 0 || !PayloadReader(data, size).read(&result))
        return false;
    // Each value has one spelling: shortest heads and floats, keys in order and each once, NaN only as
    // F9 7E00. Writing the value again and comparing checks all of that at once.
    QByteArray again;
    again.reserve(size);
    try {
        appendTo(&again, result);
    } catch (const QString &) {
        return false;
    }
    if (again.size() != size || memcmp(again.constData(), data, size_t(size)) != 0)
        return false;
    *value = result;
    return true;
}
