#ifndef QORSIMUNIT_RECORDFIELDS_H
#define QORSIMUNIT_RECORDFIELDS_H

#include "linetokenizer.h"

#include <QVariantMap>

/**
 * Turns "name=value" words into a record map. A value is a string unless it carries a type prefix:
 * u32:, i32:, u64:, i64: (decimal, or hexadecimal after 0x), f64: (a double: decimal, nan, inf, -inf),
 * bool:true|false, hex:<bytes>, str:<text> (a string that would otherwise read as typed), or is the word
 * null (a null string). "name[]=value" words append their values to a list under name.
 */
class RecordFields
{
public:
    /** @throws ParseError, naming @p lineNumber, on a malformed field or a repeated name. */
    static QVariantMap parse(const QList<Token> &fields, int lineNumber);
    /** @throws ParseError on a malformed value. */
    static QVariant parseValue(const Token &value, int lineNumber);
    /** The record of a healthy unit, I123456, which a "corrupt" store damages when given no other. */
    static QVariantMap reference();
};

#endif
