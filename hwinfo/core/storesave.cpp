#include "storesave.h"

#include "debugmessage.h"

#include "closeonunwind.h"

#include <qorutils/romstorage.h>

#include <QtCore/QIODevice>

namespace hmi {

StoreSave::StoreSave(const HwInfoHelper::EEPROM &store)
    : m_outcome(OpenFailed)
{
    QIODevice *device = store.ioDev;
    if (!device->open(QIODevice::WriteOnly)) {
        m_deviceError = device->errorString();
        return;
    }
    if (!device->seek(store.offset)) {
        m_deviceError = device->errorString();
        m_outcome = SeekFailed;
        device->close();
        return;
    }

    CloseOnUnwind closing(device);
    ROMStorage(QVariant(static_cast<const QVariantMap &>(store.descriptor))).saveTo(*device, store.maxSize);
    closing.closeNow();
    m_outcome = Written;
}

void StoreSave::logFailure(const QString &label) const
{
    switch (m_outcome) {
    case Written:
        break;
    case OpenFailed:
        DebugMessage(QtCriticalMsg) << "Error opening" << label << "eeprom ioDev:" << m_deviceError;
        break;
    case SeekFailed:
        DebugMessage(QtCriticalMsg) << "Error seeking" << label << "eeprom ioDev:" << m_deviceError;
        break;
    }
}

} // namespace hmi
