#include "hwinfohelper.h"

namespace hmi {

namespace {
const char unitKey[] = "unit";
const char cbKey[] = "cb";
const char bfKey[] = "bf";
const char fpgaUidKey[] = "fpgaUid";
const char comKey[] = "com";
const char macKey[] = "mac";
} // namespace

HwInfoHelper::Serials::Serials()
    : cb(0)
    , bf(0)
{ }

HwInfoHelper::Serials::Serials(const QString &unitSerial, uint cbSerial, uint bfSerial,
                               const QString &fpgaUidText, const QString &comSerial,
                               const QString &macAddress)
    : unit(unitSerial)
    , cb(cbSerial)
    , bf(bfSerial)
    , fpgaUid(fpgaUidText)
    , com(comSerial)
    , mac(macAddress)
{ }

HwInfoHelper::Serials::Serials(const QVariantMap &map)
    : unit(map.value(QLatin1String(unitKey)).toString())
    , cb(map.value(QLatin1String(cbKey)).toUInt())
    , bf(map.value(QLatin1String(bfKey)).toUInt())
    , fpgaUid(map.value(QLatin1String(fpgaUidKey)).toString())
    , com(map.value(QLatin1String(comKey)).toString())
    , mac(map.value(QLatin1String(macKey)).toString())
{ }

void HwInfoHelper::Serials::writeTo(QVariantMap &map) const
{
    map.insert(QLatin1String(unitKey), QVariant(unit));
    map.insert(QLatin1String(cbKey), QVariant(cb));
    map.insert(QLatin1String(bfKey), QVariant(bf));
    map.insert(QLatin1String(fpgaUidKey), QVariant(fpgaUid));
    map.insert(QLatin1String(comKey), QVariant(com));
    map.insert(QLatin1String(macKey), QVariant(mac));
}

} // namespace hmi
