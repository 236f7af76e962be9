#include "discoveryreport.h"

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
