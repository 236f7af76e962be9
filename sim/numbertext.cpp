#include "numbertext.h"
#include "qtcompat.h"

#include "parseerror.h"

#include <QLocale>

#include <cctype>
#include <limits>

namespace {

bool readUnsigned(const QString &text, quint64 *value)
{
    bool ok = false;
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const QString digits = isHex ? text.mid(2) : text;
    // toULongLong() would also take blanks and signs, which have no place in a unit file.
    for (const QChar c : digits) {
        if (c.unicode() > 0x7f || !(isHex ? isxdigit(c.toLatin1()) : isdigit(c.toLatin1())))
            return false;
    }
    if (!digits.isEmpty())
        *value = digits.toULongLong(&ok, isHex ? 16 : 10);
    return ok;
}

ParseError outOfRange(const QString &text, int lineNumber)
{
    return ParseError(lineNumber, QStringLiteral("\"%1\" is not a number in the allowed range").arg(text));
}

} // namespace

quint64 NumberText::toUnsigned(const QString &text, quint64 max, int lineNumber)
{
    quint64 value = 0;
    if (!readUnsigned(text, &value) || value > max)
        throw outOfRange(text, lineNumber);
    return value;
}

qint64 NumberText::toSigned(const QString &text, qint64 min, qint64 max, int lineNumber)
{
    const bool negative = text.startsWith(QLatin1Char('-'));
    quint64 magnitude = 0;
    if (!readUnsigned(negative ? text.mid(1) : text, &magnitude))
        throw outOfRange(text, lineNumber);
    if (negative) {
        if (magnitude > quint64(-(min + 1)) + 1)
            throw outOfRange(text, lineNumber);
        return magnitude == 0 ? 0 : -qint64(magnitude - 1) - 1;
    }
    if (magnitude > quint64(max))
        throw outOfRange(text, lineNumber);
    return qint64(magnitude);
}

double NumberText::toDouble(const QString &text, int lineNumber)
{
    if (text == QLatin1String("nan"))
        return std::numeric_limits<double>::quiet_NaN();
    if (text == QLatin1String("inf") || text == QLatin1String("-inf"))
        return text.startsWith(QLatin1Char('-')) ? -std::numeric_limits<double>::infinity()
                                                 : std::numeric_limits<double>::infinity();
    bool ok = false;
    const double value = text.trimmed() == text ? QLocale::c().toDouble(text, &ok) : 0;
    if (!ok || qAbs(value) == std::numeric_limits<double>::infinity())
        throw ParseError(lineNumber, QStringLiteral("\"%1\" is not a decimal number").arg(text));
    return value;
}

bool NumberText::toBytes(const QString &text, QByteArray *bytes)
{
    QString digits = text;
    digits.remove(QLatin1Char(' '));
    if (digits.size() % 2 != 0)
        return false;
    for (const QChar c : digits) {
        if (c.unicode() > 0x7f || !isxdigit(c.toLatin1()))
            return false;
    }
    *bytes = QByteArray::fromHex(digits.toLatin1());
    return true;
}
