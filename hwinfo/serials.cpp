#include "hwinfohelper.h"

namespace hmi {

namespace {
// Made once when the library is loaded: reading or writing a record looks up all six keys, and a key
// converted from Latin-1 at each lookup would cost an allocation every time.
const QString unitKey = QLatin1String("unit");
const QString cbKey = QLatin1String("cb");
const QString bfKey = QLatin1String("bf");
const QString fpgaUidKey = QLatin1String("fpgaUid");
const QString comKey = QLatin1String("com");
const QString macKey = QLatin1String("mac");
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
    : unit(map.value(unitKey).toString())
    , cb(map.value(cbKey).toUInt())
    , bf(map.value(bfKey).toUInt())
    , fpgaUid(map.value(fpgaUidKey).toString())
    , com(map.value(comKey).toString())
    , mac(map.value(macKey).toString())
{ }

void HwInfoHelper::Serials::writeTo(QVariantMap &map) const
{
    map.insert(unitKey, QVariant(unit));
    map.insert(cbKey, QVariant(cb));
    map.insert(bfKey, QVariant(bf));
    map.insert(fpgaUidKey, QVariant(fpgaUid));
    map.insert(comKey, QVariant(com));
    map.insert(macKey, QVariant(mac));
}

} // namespace hmi
