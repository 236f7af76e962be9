#include "probereport.h"

#include <QJsonArray>

namespace ProbeReport {

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QStringList textList(const QJsonValue &value)
{
    QStringList texts;
    for (const QJsonValue &item : value.toArray())
        texts.append(item.toString());
    return texts;
}

QStringList messageLines(const QJsonObject &report)
{
    QStringList lines;
    for (const QJsonValue &message : report.value(QStringLiteral("messages")).toArray()) {
        const QJsonObject object = message.toObject();
        lines.append(object.value(QStringLiteral("level")).toString() + QStringLiteral(": ")
                     + object.value(QStringLiteral("text")).toString());
    }
    return sorted(lines);
}

QString storeStatuses(const QJsonObject &report)
{
    const QJsonObject stores = report.value(QStringLiteral("stores")).toObject();
    QStringList statuses;
    for (const char *key : { "bf", "cb", "com", "file", "ut" })
        statuses.append(
            stores.value(QLatin1String(key)).toObject().value(QStringLiteral("status")).toString());
    return statuses.join(QLatin1Char(' '));
}

} // namespace ProbeReport
