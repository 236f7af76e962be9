#include "hwinfohelper.h"

#include "debugmessage.h"

#include <qorutils/romstorage.h>

#include <QtCore/QIODevice>

namespace hmi {

namespace {

// Closes the device when reading or writing the frame throws: left open, it could not be opened by the next
// load or save, and a store with a good record would fail every later discovery of the same helper.
class CloseOnUnwind
{
public:
    explicit CloseOnUnwind(QIODevice *device)
        : m_device(device)
    { }
    ~CloseOnUnwind()
    {
        if (m_device)
            m_device->close();
    }

    void closeNow()
    {
        m_device->close();
        m_device = 0;
    }

private:
    QIODevice *m_device;
};

} // namespace

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

    CloseOnUnwind closing(ioDev);
    const ROMStorage storage(*ioDev);
    closing.closeNow();

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
        DebugMessage(QtCriticalMsg) << "Error opening" << name << "eeprom ioDev:" << ioDev->errorString();
        return;
    }
    if (!ioDev->seek(offset)) {
        DebugMessage(QtCriticalMsg) << "Error seeking" << name << "eeprom ioDev:" << ioDev->errorString();
        ioDev->close();
        return;
    }

    CloseOnUnwind closing(ioDev);
    ROMStorage(QVariant(static_cast<const QVariantMap &>(descriptor))).saveTo(*ioDev, maxSize);
    closing.closeNow();
}

} // namespace hmi
