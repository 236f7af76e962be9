#ifndef QORUTILS_RECORDCODEC_P_H
#define QORUTILS_RECORDCODEC_P_H

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

/**
 * The payload of a framed record: one value in deterministic CBOR (RFC 8949), written and read through
 * libcbor. docs/record-format.md describes the profile, so that a factory tool in any language with a
 * CBOR library writes the same bytes.
 *
 * Decoding is strict: a payload is accepted only when it is exactly the encoding that appendTo() gives for
 * the value read, so every accepted payload re-encodes to the same bytes.
 */
class RecordCodec
{
public:
    enum {
        MaxEncodedSize = 65535, ///< what the frame's 16-bit length field can announce
        MaxDepth = 8 ///< maps and lists nested in each other, the outermost one included
    };

    /**
     * Appends the encoding of @p value to @p out.
     * @throws QString when @p value holds a type outside the profile, nests too deep or is too large;
     *   @p out may then hold a partial encoding.
     */
    static void appendTo(QByteArray *out, const QVariant &value);

    /** True when the @p size bytes at @p data hold exactly one value in the profile, stored in @p value. */
    static bool decode(const char *data, int size, QVariant *value);
};

#endif
