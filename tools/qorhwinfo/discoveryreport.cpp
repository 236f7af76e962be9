#include "discoveryreport.h"

#include "exitcode.h"
#include "serialform.h"

#include <QMetaEnum>

DiscoveryReport::DiscoveryReport()
    : cache(CacheUnchanged)
    , cbSerial(0)
    , bfSerial(0)
{ }

const DiscoveryReport::Store *DiscoveryReport::store(const QString &key) const
{
    for (const Store &candidate : stores) {
        if (candidate.key == key)
            return &candidate;
    }
    return nullptr;
}

QString DiscoveryReport::labelOf(const QString &key) const
{
    const Store *found = store(key);
    return found ? found->label : key;
}

QString DiscoveryReport::statusText(Status status)
{
    const QMetaEnum meta = hmi::HwInfoHelper::statusMetaEnum();
    const int value = int(status);
    if (const char *key = meta.valueToKey(value))
        return QString::fromLatin1(key);
    const QByteArray keys = meta.valueToKeys(value);
    return keys.isEmpty() ? QString::number(value) : QString::fromLatin1(keys);
}

QStringList DiscoveryReport::malformedStores() const
{
    QStringList keys;
    for (const Store &candidate : stores) {
        const QVariant unit = candidate.record.value(QLatin1String("unit"));
        if (candidate.record.contains(QLatin1String("unit")) && !SerialForm::isWellFormed(unit.toString()))
            keys.append(candidate.key);
    }
    return keys;
}

int DiscoveryReport::exitCode() const
{
    if (!malformedStores().isEmpty())
        return Malformed;
    if (unitStatus != hmi::HwInfoHelper::OK)
        return UnitError;
    return hasUnitSerial() ? Success : Problem;
}
