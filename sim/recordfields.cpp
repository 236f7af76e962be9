#include "recordfields.h"
#include "qtcompat.h"

#include "numbertext.h"
#include "parseerror.h"

#include <QtCore/QStringList>

namespace {

QVariant parseBool(const QString &text, int lineNumber)
{
    if (text == QLatin1String("true"))
        return QVariant(true);
    if (text == QLatin1String("false"))
        return QVariant(false);
    throw ParseError(lineNumber, QStringLiteral("\"%1\" is not a boolean (true or false)").arg(text));
}

QVariant parseHexBytes(const QString &text, int lineNumber)
{
    QByteArray bytes;
    if (!NumberText::toBytes(text, &bytes))
        throw ParseError(lineNumber,
                         QStringLiteral("\"%1\" is not a sequence of hexadecimal bytes").arg(text));
    return QVariant(bytes);
}

} // namespace

QVariant RecordFields::parseValue(const Token &value, int lineNumber)
{
    const QString &text = value.text;
    if (!value.quoted && text == QLatin1String("null"))
        return QVariant(QString());
    const int colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return QVariant(text);
    const QString type = text.left(colon);
    const QString rest = text.mid(colon + 1);
    if (type == QLatin1String("str"))
        return QVariant(rest);
    if (type == QLatin1String("u32"))
        return QVariant(uint(NumberText::toUnsigned(rest, 0xffffffffULL, lineNumber)));
    if (type == QLatin1String("u64"))
        return QVariant(qulonglong(NumberText::toUnsigned(rest, ~0ULL, lineNumber)));
    if (type == QLatin1String("i32"))
        return QVariant(int(NumberText::toSigned(rest, -2147483647LL - 1, 2147483647LL, lineNumber)));
    if (type == QLatin1String("i64"))
        return QVariant(qlonglong(NumberText::toSigned(rest, LLONG_MIN, LLONG_MAX, lineNumber)));
    if (type == QLatin1String("bool"))
        return parseBool(rest, lineNumber);
    if (type == QLatin1String("hex"))
        return parseHexBytes(rest, lineNumber);
    if (type == QLatin1String("f64"))
        return QVariant(NumberText::toDouble(rest, lineNumber));
    return QVariant(text);
}

QVariantMap RecordFields::parse(const QList<Token> &fields, int lineNumber)
{
    QVariantMap record;
    QStringList lists;
    for (const Token &field : fields) {
        const int equals = field.text.indexOf(QLatin1Char('='));
        if (equals <= 0)
            throw ParseError(lineNumber, QStringLiteral("\"%1\" is not a name=value field").arg(field.text));
        QString name = field.text.left(equals);
        // name[]=value appends to the list under name, which the first such field starts.
        const bool listItem = name.endsWith(QLatin1String("[]")) && name.size() > 2;
        if (listItem)
            name.chop(2);
        if (record.contains(name) && !(listItem && lists.contains(name)))
            throw ParseError(lineNumber, QStringLiteral("field \"%1\" given twice").arg(name));
        Token value = field;
        // Qt 4 gives a null string for the end of a text, and a value written as "" is an empty one.
        value.text = field.text.mid(equals + 1);
        if (value.text.isNull())
            value.text = QLatin1String("");
        if (!listItem) {
            record.insert(name, parseValue(value, lineNumber));
            continue;
        }
        QVariantList list = record.value(name).toList();
        list.append(parseValue(value, lineNumber));
        record.insert(name, list);
        if (!lists.contains(name))
            lists.append(name);
    }
    return record;
}

QVariantMap RecordFields::reference()
{
    QVariantMap record;
    record.insert(QStringLiteral("unit"), QStringLiteral("I123456"));
    record.insert(QStringLiteral("cb"), uint(1234567));
    record.insert(QStringLiteral("bf"), uint(7654321));
    record.insert(QStringLiteral("fpgaUid"), QStringLiteral("0a5f"));
    record.insert(QStringLiteral("com"), QStringLiteral("ABC123456789"));
    record.insert(QStringLiteral("mac"), QStringLiteral("02:fc:00:00:00:01"));
    return record;
}
