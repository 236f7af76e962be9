#ifndef QORUTILS_RECORDCODEC_P_H
#define QORUTILS_RECORDCODEC_P_H

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

/**
 * The payload encoding of a framed record (docs/record-format.md): a closed set of value types,
 * decoded strictly so that every accepted payload re-encodes to the same bytes.
 */
class RecordCodec
{
public:
    /** @throws QString when @p value holds a type outside the format. */
    static QByteArray encode(const QVariant &value);
    /** True when @p bytes hold exactly one well-formed value, which is stored in @p value. */
    static bool decode(const QByteArray &bytes, QVariant *value);
};

#endif
