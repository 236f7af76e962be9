#include "hwinfohelper.h"

#include "storeload.h"
#include "storesave.h"

namespace hmi {

HwInfoHelper::EEPROM::EEPROM()
    : ioDev(0)
    , offset(0)
    , maxSize(0)
    , status(ERROR)
{ }

HwInfoHelper::EEPROM::EEPROM(const QString &label, QIODevice *device, int recordOffset, int room)
    : name(label)
    , ioDev(device)
    , offset(recordOffset)
    , maxSize(room)
    , status(OK)
{ }

void HwInfoHelper::EEPROM::load()
{
    descriptor = DeviceDescriptor();
    const StoreLoad loaded(*this);
    if (!loaded.succeeded())
        throw loaded.failureMessage(name);
    descriptor = loaded.map();
}

void HwInfoHelper::EEPROM::save() const
{
    StoreSave(*this).logFailure(name);
}

} // namespace hmi
