#include "reporttext.h"

#include "jsonvalue.h"
#include "terminaltext.h"

#include <cstdlib>

namespace ReportText {

QString padded(const QString &text, int width)
{
    return TerminalText::escaped(text).leftJustified(width, QLatin1Char(' '));
}

QString value(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QString:
        return QLatin1Char('"') + TerminalText::escaped(value.toString()) + QLatin1Char('"');
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return value.toString();
    default:
        break;
    }
    if (!value.isValid())
        return QLatin1String("(no value)");
    json_t *json = Json::value(value);
    char *text = json_dumps(json, JSON_COMPACT | JSON_ENCODE_ANY);
    json_decref(json);
    const QString result = QString::fromUtf8(text);
    std::free(text);
    return TerminalText::escaped(result);
}

QString votes(int votes)
{
    return votes == 1 ? QString::fromLatin1("1 vote") : QString::fromLatin1("%1 votes").arg(votes);
}

QString fact(const QString &fact)
{
    if (fact.isNull())
        return QLatin1String("not available");
    if (fact.isEmpty())
        return QLatin1String("(empty)");
    return TerminalText::escaped(fact);
}

QString boardSerial(uint serial)
{
    return serial == 0 ? QLatin1String("0 (not known)") : QString::number(serial);
}

} // namespace ReportText
