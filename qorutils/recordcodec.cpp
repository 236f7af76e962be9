#include "recordcodec_p.h"

#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <cstring>

namespace {

const quint64 MaxUInt32 = 0xffffffffu;
const quint64 MaxUInt64 = ~quint64(0);

// Zigzag keeps small negative numbers short: 0, -1, 1, -2, ... become 0, 1, 2, 3, ...
quint64 zigzag(qint64 n)
{
    return n < 0 ? ~(quint64(n) << 1) : quint64(n) << 1;
}

qint64 unzigzag(quint64 u)
{
    const qint64 half = qint64(u >> 1);
    return (u & 1) ? ~half : half;
}

bool isHighSurrogate(uint u)
{
    return (u & 0xfc00) == 0xd800;
}

bool isLowSurrogate(uint u)
{
    return (u & 0xfc00) == 0xdc00;
}

bool isContinuation(uchar b)
{
    return (b & 0xc0) == 0x80;
}

/** The UTF-8 size of @p s, or -1 when it holds an unpaired surrogate, which UTF-8 cannot carry. */
int utf8Size(const QString &s)
{
    const QChar *p = s.unicode();
    const int n = s.size();
    int size = 0;
    for (int i = 0; i < n; ++i) {
        const uint u = p[i].unicode();
        if (u < 0x80) {
            size += 1;
        } else if (u < 0x800) {
            size += 2;
        } else if (isHighSurrogate(u)) {
            if (i + 1 == n || !isLowSurrogate(p[i + 1].unicode()))
                return -1;
            ++i;
            size += 4;
        } else if (isLowSurrogate(u)) {
            return -1;
        } else {
            size += 3;
        }
    }
    return size;
}

/** Writes @p s, already checked by utf8Size(), as UTF-8 at @p out. */
void writeUtf8(const QString &s, char *out)
{
    const QChar *p = s.unicode();
    const int n = s.size();
    for (int i = 0; i < n; ++i) {
        uint u = p[i].unicode();
        if (isHighSurrogate(u)) {
            u = 0x10000 + ((u - 0xd800) << 10) + (p[++i].unicode() - 0xdc00);
            *out++ = char(0xf0 | (u >> 18));
            *out++ = char(0x80 | ((u >> 12) & 0x3f));
            *out++ = char(0x80 | ((u >> 6) & 0x3f));
            *out++ = char(0x80 | (u & 0x3f));
        } else if (u >= 0x800) {
            *out++ = char(0xe0 | (u >> 12));
            *out++ = char(0x80 | ((u >> 6) & 0x3f));
            *out++ = char(0x80 | (u & 0x3f));
        } else if (u >= 0x80) {
            *out++ = char(0xc0 | (u >> 6));
            *out++ = char(0x80 | (u & 0x3f));
        } else {
            *out++ = char(u);
        }
    }
}

QString payloadTooLarge()
{
    return QString(QLatin1String("record payload exceeds %1 bytes")).arg(int(RecordCodec::MaxEncodedSize));
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
    char *grow(qint64 size);
    void appendTag(RecordCodec::Tag tag);
    void appendVarint(quint64 n);
    void appendString(const QString &s);
    void appendBytes(const QByteArray &bytes);
    void appendMap(const QVariantMap &map, int depth);

    QByteArray *const m_out;
    const int m_start;
};

char *PayloadWriter::grow(qint64 size)
{
    const int used = m_out->size() - m_start;
    if (size > RecordCodec::MaxEncodedSize - used)
        throw payloadTooLarge();
    const int oldSize = m_out->size();
    m_out->resize(oldSize + int(size));
    return m_out->data() + oldSize;
}

void PayloadWriter::appendTag(RecordCodec::Tag tag)
{
    *grow(1) = char(tag);
}

void PayloadWriter::appendVarint(quint64 n)
{
    char bytes[10];
    int size = 0;
    do {
        uchar b = n & 0x7f;
        n >>= 7;
        if (n)
            b |= 0x80;
        bytes[size++] = char(b);
    } while (n);
    memcpy(grow(size), bytes, size_t(size));
}

void PayloadWriter::appendString(const QString &s)
{
    // Every UTF-16 unit takes at least one byte: this bounds utf8Size() well within an int.
    if (s.size() > RecordCodec::MaxEncodedSize)
        throw payloadTooLarge();
    const int size = utf8Size(s);
    if (size < 0)
        throw QString(QLatin1String("record string holds an unpaired surrogate"));
    appendVarint(quint64(size));
    writeUtf8(s, grow(size));
}

void PayloadWriter::appendBytes(const QByteArray &bytes)
{
    appendVarint(quint64(bytes.size()));
    memcpy(grow(bytes.size()), bytes.constData(), size_t(bytes.size()));
}

void PayloadWriter::appendMap(const QVariantMap &map, int depth)
{
    if (depth >= RecordCodec::MaxMapDepth)
        throw QString(QLatin1String("record maps nest deeper than %1 levels"))
            .arg(int(RecordCodec::MaxMapDepth));
    appendTag(RecordCodec::MapTag);
    appendVarint(quint64(map.size()));
    // QMap iterates in QString order, which is the strictly increasing key order the reader demands.
    for (QVariantMap::const_iterator it = map.constBegin(); it != map.constEnd(); ++it) {
        appendString(it.key());
        appendValue(it.value(), depth + 1);
    }
}

void PayloadWriter::appendValue(const QVariant &value, int depth)
{
    if (!value.isValid()) {
        appendTag(RecordCodec::InvalidTag);
        return;
    }
    switch (value.userType()) {
    case QMetaType::QString: {
        const QString s = value.toString();
        if (s.isNull()) {
            appendTag(RecordCodec::NullStringTag);
        } else {
            appendTag(RecordCodec::StringTag);
            appendString(s);
        }
        break;
    }
    case QMetaType::UInt:
        appendTag(RecordCodec::UInt32Tag);
        appendVarint(value.toUInt());
        break;
    case QMetaType::Int:
        appendTag(RecordCodec::Int32Tag);
        appendVarint(zigzag(value.toInt()));
        break;
    case QMetaType::ULongLong:
        appendTag(RecordCodec::UInt64Tag);
        appendVarint(value.toULongLong());
        break;
    case QMetaType::LongLong:
        appendTag(RecordCodec::Int64Tag);
        appendVarint(zigzag(value.toLongLong()));
        break;
    case QMetaType::Bool:
        appendTag(value.toBool() ? RecordCodec::TrueTag : RecordCodec::FalseTag);
        break;
    case QMetaType::QByteArray:
        appendTag(RecordCodec::ByteArrayTag);
        appendBytes(value.toByteArray());
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
 * Reads encoded values from a byte range. Each read either succeeds with the one canonical encoding of
 * a value or fails, and never trusts a count or length further than the bytes that remain.
 */
class PayloadReader
{
public:
    PayloadReader(const char *data, int size)
        : m_pos(reinterpret_cast<const uchar *>(data))
        , m_end(m_pos + size)
    { }

    bool readValue(QVariant *value, int depth);
    bool atEnd() const { return m_pos == m_end; }

private:
    quint64 remaining() const { return quint64(m_end - m_pos); }
    bool readVarint(quint64 max, quint64 *n);
    bool readLength(quint64 *size);
    bool readString(QString *s);
    bool readUtf8(int size, QString *s);
    bool readBytes(QByteArray *bytes);
    bool readMap(QVariantMap *map, int depth);

    const uchar *m_pos;
    const uchar *const m_end;
};

bool PayloadReader::readVarint(quint64 max, quint64 *n)
{
    quint64 result = 0;
    for (int shift = 0; m_pos != m_end; shift += 7) {
        const uchar b = *m_pos++;
        // The tenth byte can only carry the top bit of 64.
        if (shift == 63 && b > 1)
            return false;
        result |= quint64(b & 0x7f) << shift;
        if (!(b & 0x80)) {
            // A trailing zero group is a longer spelling of a shorter varint.
            const bool minimal = b != 0 || shift == 0;
            *n = result;
            return minimal && result <= max;
        }
    }
    return false;
}

/** A byte count, which must not reach beyond the bytes that follow it. */
bool PayloadReader::readLength(quint64 *size)
{
    return readVarint(MaxUInt32, size) && *size <= remaining();
}

bool PayloadReader::readString(QString *s)
{
    quint64 size;
    if (!readLength(&size))
        return false;
    return readUtf8(int(size), s);
}

bool PayloadReader::readUtf8(int size, QString *s)
{
    if (size == 0) {
        *s = QString::fromLatin1("", 0); // empty but not null: the null string has its own tag
        return true;
    }

    const uchar *p = m_pos;
    const uchar *const end = m_pos + size;
    // Never more UTF-16 units than UTF-8 bytes. Sized exactly, without the headroom that resize() adds.
    QString result(size, Qt::Uninitialized);
    QChar *out = result.data();
    while (p != end) {
        const uchar lead = *p++;
        if (lead < 0x80) {
            *out++ = QChar(ushort(lead));
            continue;
        }
        int continuations;
        uint u;
        uint smallest;
        if (lead >= 0xc2 && lead <= 0xdf) {
            continuations = 1;
            u = lead & 0x1f;
            smallest = 0x80;
        } else if (lead >= 0xe0 && lead <= 0xef) {
            continuations = 2;
            u = lead & 0x0f;
            smallest = 0x800;
        } else if (lead >= 0xf0 && lead <= 0xf4) {
            continuations = 3;
            u = lead & 0x07;
            smallest = 0x10000;
        } else {
            return false; // a stray continuation byte, an overlong two-byte lead or beyond U+10FFFF
        }
        if (end - p < continuations)
            return false;
        for (int i = 0; i < continuations; ++i) {
            if (!isContinuation(*p))
                return false;
            u = (u << 6) | (*p++ & 0x3f);
        }
        if (u < smallest || u > 0x10ffff || (u >= 0xd800 && u <= 0xdfff))
            return false;
        if (u >= 0x10000) {
            u -= 0x10000;
            *out++ = QChar(ushort(0xd800 + (u >> 10)));
            *out++ = QChar(ushort(0xdc00 + (u & 0x3ff)));
        } else {
            *out++ = QChar(ushort(u));
        }
    }
    const int units = int(out - result.constData());
    if (units != size)
        result.resize(units);
    m_pos = end;
    s->swap(result);
    return true;
}

bool PayloadReader::readBytes(QByteArray *bytes)
{
    quint64 size;
    if (!readLength(&size))
        return false;
    *bytes = QByteArray(reinterpret_cast<const char *>(m_pos), int(size));
    m_pos += size;
    return true;
}

bool PayloadReader::readMap(QVariantMap *map, int depth)
{
    if (depth >= RecordCodec::MaxMapDepth)
        return false;
    // An entry takes at least two bytes: a key length and a value tag.
    quint64 count;
    if (!readVarint(MaxUInt32, &count) || count > remaining() / 2)
        return false;
    QString previousKey;
    for (quint64 i = 0; i < count; ++i) {
        QString key;
        if (!readString(&key))
            return false;
        // Strictly increasing keys leave one spelling per map and no duplicates.
        if (i > 0 && !(previousKey < key))
            return false;
        QVariant entry;
        if (!readValue(&entry, depth + 1))
            return false;
        map->insert(key, entry);
        previousKey = key;
    }
    return true;
}

bool PayloadReader::readValue(QVariant *value, int depth)
{
    if (atEnd())
        return false;
    quint64 n;
    switch (*m_pos++) {
    case RecordCodec::InvalidTag:
        *value = QVariant();
        return true;
    case RecordCodec::NullStringTag:
        *value = QVariant(QString());
        return true;
    case RecordCodec::StringTag: {
        QString s;
        if (!readString(&s))
            return false;
        *value = QVariant(s);
        return true;
    }
    case RecordCodec::UInt32Tag:
        if (!readVarint(MaxUInt32, &n))
            return false;
        *value = QVariant(uint(n));
        return true;
    case RecordCodec::Int32Tag:
        if (!readVarint(MaxUInt32, &n))
            return false;
        *value = QVariant(int(unzigzag(n)));
        return true;
    case RecordCodec::UInt64Tag:
        if (!readVarint(MaxUInt64, &n))
            return false;
        *value = QVariant(qulonglong(n));
        return true;
    case RecordCodec::Int64Tag:
        if (!readVarint(MaxUInt64, &n))
            return false;
        *value = QVariant(qlonglong(unzigzag(n)));
        return true;
    case RecordCodec::FalseTag:
        *value = QVariant(false);
        return true;
    case RecordCodec::TrueTag:
        *value = QVariant(true);
        return true;
    case RecordCodec::ByteArrayTag: {
        QByteArray bytes;
        if (!readBytes(&bytes))
            return false;
        *value = QVariant(bytes);
        return true;
    }
    case RecordCodec::MapTag: {
        QVariantMap map;
        if (!readMap(&map, depth))
            return false;
        *value = QVariant(map);
        return true;
    }
    default:
        return false;
    }
}

} // namespace

QByteArray RecordCodec::encode(const QVariant &value)
{
    QByteArray out;
    appendTo(&out, value);
    return out;
}

void RecordCodec::appendTo(QByteArray *out, const QVariant &value)
{
    PayloadWriter(out).appendValue(value, 0);
}

bool RecordCodec::decode(const QByteArray &bytes, QVariant *value)
{
    return decode(bytes.constData(), bytes.size(), value);
}

bool RecordCodec::decode(const char *data, int size, QVariant *value)
{
    PayloadReader reader(data, size);
    QVariant result;
    if (!reader.readValue(&result, 0) || !reader.atEnd())
        return false;
    *value = result;
    return true;
}
