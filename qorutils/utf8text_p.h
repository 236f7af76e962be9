#ifndef QORUTILS_UTF8TEXT_P_H
#define QORUTILS_UTF8TEXT_P_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

/**
 * Strict UTF-8 for the text of records, the same under every Qt the library is built with. Qt's own
 * conversions would change text on the way: all of them drop a leading byte order mark when decoding,
 * and Qt 4's turn noncharacters such as U+FFFF into '?' and drop unpaired surrogates.
 */
class Utf8Text
{
public:
    /**
     * The UTF-8 form of @p text in @p utf8; false, leaving @p utf8 alone, when @p text holds an unpaired
     * surrogate, which UTF-8 cannot carry.
     */
    static bool encode(const QString &text, QByteArray *utf8);
    /**
     * The text of @p size bytes of well-formed UTF-8 at @p data: no overlong forms, encoded surrogates,
     * values above U+10FFFF, stray or missing continuation bytes. False, leaving @p text alone, otherwise.
     * An empty input gives an empty, not a null, string.
     */
    static bool decode(const char *data, int size, QString *text);
};

#endif
