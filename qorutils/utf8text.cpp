#include "utf8text_p.h"

namespace {

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

/** The UTF-8 size of @p text, or -1 when it holds an unpaired surrogate. */
int utf8Size(const QString &text)
{
    const QChar *p = text.unicode();
    const int n = text.size();
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

/** Writes @p text, already checked by utf8Size(), as UTF-8 at @p out. */
void writeUtf8(const QString &text, char *out)
{
    const QChar *p = text.unicode();
    const int n = text.size();
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

/**
 * Reads the sequence that begins with @p lead, whose continuation bytes start at @p p, into @p u.
 * @return the number of continuation bytes taken, or -1 for an ill-formed sequence
 */
int readSequence(uchar lead, const uchar *p, const uchar *end, uint *u)
{
    int continuations;
    uint smallest;
    if (lead >= 0xc2 && lead <= 0xdf) {
        continuations = 1;
        *u = lead & 0x1f;
        smallest = 0x80;
    } else if (lead >= 0xe0 && lead <= 0xef) {
        continuations = 2;
        *u = lead & 0x0f;
        smallest = 0x800;
    } else if (lead >= 0xf0 && lead <= 0xf4) {
        continuations = 3;
        *u = lead & 0x07;
        smallest = 0x10000;
    } else {
        return -1; // a stray continuation byte, an overlong two-byte lead or beyond U+10FFFF
    }
    if (end - p < continuations)
        return -1;
    for (int i = 0; i < continuations; ++i) {
        if (!isContinuation(p[i]))
            return -1;
        *u = (*u << 6) | (p[i] & 0x3f);
    }
    if (*u < smallest || *u > 0x10ffff || (*u >= 0xd800 && *u <= 0xdfff))
        return -1;
    return continuations;
}

} // namespace

bool Utf8Text::encode(const QString &text, QByteArray *utf8)
{
    const int size = utf8Size(text);
    if (size < 0)
        return false;
    QByteArray bytes(size, Qt::Uninitialized);
    writeUtf8(text, bytes.data());
    utf8->swap(bytes);
    return true;
}

bool Utf8Text::decode(const char *data, int size, QString *text)
{
    if (size == 0) {
        *text = QString::fromLatin1("", 0);
        return true;
    }
    const uchar *p = reinterpret_cast<const uchar *>(data);
    const uchar *const end = p + size;
    // Never more UTF-16 units than UTF-8 bytes. Sized exactly, without the headroom that resize() adds.
    QString result(size, Qt::Uninitialized);
    QChar *out = result.data();
    while (p != end) {
        const uchar lead = *p++;
        if (lead < 0x80) {
            *out++ = QChar(ushort(lead));
            continue;
        }
        uint u;
        const int continuations = readSequence(lead, p, end, &u);
        if (continuations < 0)
            return false;
        p += continuations;
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
    text->swap(result);
    return true;
}
