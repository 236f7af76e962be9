#ifndef QORUTILS_RECORDCODEC_P_H
#define QORUTILS_RECORDCODEC_P_H

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

/**
 * The payload encoding of a framed record (docs/record-format.md): a closed set of value types,
 * decoded strictly so that every accepted payload re-encodes to the same bytes.
 *
 * A factory tool in another language writes these bytes too, so the tag numbers below are fixed forever.
 */
class RecordCodec
{
public:
    enum Tag {
        InvalidTag = 0x00,
        NullStringTag = 0x01,
        StringTag = 0x02, ///< varint byte count, then UTF-8
        UInt32Tag = 0x03, ///< varint
        Int32Tag = 0x04, ///< zigzag varint
        UInt64Tag = 0x05, ///< varint
        Int64Tag = 0x06, ///< zigzag varint
        FalseTag = 0x07,
        TrueTag = 0x08,
        ByteArrayTag = 0x09, ///< varint byte count, then the bytes
        MapTag = 0x0A ///< varint entry count, then per entry a key (as a string body) and a value
    };

    enum {
        MaxEncodedSize = 65535, ///< what the frame's 16-bit length field can announce
        MaxMapDepth = 8
    };

    /** @throws QString when @p value holds a type outside the format, nests too deep or is too large. */
    static QByteArray encode(const QVariant &value);
    /**
     * Appends the encoding of @p value to @p out, so that a frame is built in one buffer.
     * @throws QString as encode() does; @p out may then hold a partial encoding.
     */
    static void appendTo(QByteArray *out, const QVariant &value);

    /** True when @p bytes hold exactly one well-formed value, which is stored in @p value. */
    static bool decode(const QByteArray &bytes, QVariant *value);
    static bool decode(const char *data, int size, QVariant *value);
};

#endif
