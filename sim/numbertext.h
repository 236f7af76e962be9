#ifndef QORSIMUNIT_NUMBERTEXT_H
#define QORSIMUNIT_NUMBERTEXT_H

#include <QByteArray>
#include <QString>

/**
 * Strict number reading for unit files: integers decimal, or hexadecimal after "0x"; no leading '+', no
 * octal surprises from leading zeros, and a range check instead of silent wrapping.
 */
class NumberText
{
public:
    /** @throws ParseError when @p text is not a number in 0..@p max. */
    static quint64 toUnsigned(const QString &text, quint64 max, int lineNumber);
    /** @throws ParseError when @p text is not a number in @p min..@p max. */
    static qint64 toSigned(const QString &text, qint64 min, qint64 max, int lineNumber);
    /**
     * A double in C-locale decimal notation (1.5, -0.25, 6e-3), or nan, inf, -inf.
     * @throws ParseError on anything else, blanks included, and on a number beyond the range of a double.
     */
    static double toDouble(const QString &text, int lineNumber);
    /** Hexadecimal bytes, blanks allowed between bytes; false on odd digit counts or other characters. */
    static bool toBytes(const QString &text, QByteArray *bytes);
};

#endif
