#ifndef QORHWINFO_TOOLS_JSONVARIANT_H
#define QORHWINFO_TOOLS_JSONVARIANT_H

#include <QtCore/QByteArray>
#include <QtCore/QVariant>

/**
 * JSON documents to and from QVariant trees, through jansson: Qt 4 has no JSON classes, and the tools and
 * tests that read and write JSON build against every Qt major.
 *
 * Objects are QVariantMaps, arrays QVariantLists, numbers qlonglong or double, null an invalid QVariant.
 * A null QString is written as null, a QByteArray as its hexadecimal digits.
 */
class JsonVariant
{
public:
    /** The document for @p value, indented by two spaces and ending in a newline unless @p compact. */
    static QByteArray toJson(const QVariant &value, bool compact = false);
    /** The value of the document in @p json; invalid, with @p error saying why, when it is no JSON. */
    static QVariant fromJson(const QByteArray &json, QString *error = 0);
};

#endif
