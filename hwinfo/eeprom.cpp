#include "hwinfohelper.h"

#include "debugmessage.h"

#include <qorutils/romstorage.h>

#include <QtCore/QIODevice>

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

    if (!ioDev->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        throw QString(QLatin1String("%1: could not open io device for reading: %2"))
            .arg(name)
            .arg(ioDev->errorString());
    }
    if (!ioDev->seek(offset)) {
        ioDev->close();
        throw QString(QLatin1String("%1: could not seek io device to specified offset(%2): %3"))
            .arg(name)
            .arg(offset)
            .arg(ioDev->errorString());
    }

    const ROMStorage storage(*ioDev);
    ioDev->close();

    if (storage.isValid()) {
        descriptor = storage.payload().toMap();
        return;
    }
    if (storage.looksBlank())
        throw QString(name + QLatin1String(": is blank"));
    if (storage.isEmpty())
        throw QString(name + QLatin1String(": empty file"));
    throw QString(name + QLatin1String(": corrupted"));
}

void HwInfoHelper::EEPROM::save() const
{
    if (!ioDev->open(QIODevice::WriteOnly)) {
        (DebugMessage() << "Error opening" << name << "eeprom ioDev:" << ioDev->errorString()).critical();
        return;
    }
    if (!ioDev->seek(offset)) {
        (DebugMessage() << "Error seeking" << name << "eeprom ioDev:" << ioDev->errorString()).critical();
        ioDev->close();
        return;
    }

    // A failed write leaves the device closed too, so that the next open() of the same device works.
    try {
        ROMStorage(QVariant(static_cast<const QVariantMap &>(descriptor))).saveTo(*ioDev, maxSize);
    } catch (...) {
        ioDev->close();
        throw;
    }
    ioDev->close();
}

} // namespace hmi
