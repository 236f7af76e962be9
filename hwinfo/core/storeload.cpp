#include "storeload.h"

#include "closeonunwind.h"

#include <qorutils/romstorage.h>

#include <QtCore/QFile>
#include <QtCore/QIODevice>

namespace hmi {

namespace {

const char unitKey[] = "unit";

// A cache file that was never written is a normal state of a new unit, unlike a device that refuses.
bool isMissingFile(QIODevice *device)
{
    const QFile *file = qobject_cast<const QFile *>(device);
    return file && !file->exists();
}

} // namespace

StoreLoad::StoreLoad(const HwInfoHelper::EEPROM &store)
    : m_content(OpenFailed)
    , m_offset(store.offset)
{
    read(store);
}

void StoreLoad::read(const HwInfoHelper::EEPROM &store)
{
    QIODevice *device = store.ioDev;
    if (!device->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        m_deviceError = device->errorString();
        m_content = isMissingFile(device) ? Missing : OpenFailed;
        return;
    }
    if (!device->seek(store.offset)) {
        device->close();
        m_deviceError = device->errorString();
        m_content = SeekFailed;
        return;
    }

    CloseOnUnwind closing(device);
    const ROMStorage storage(*device);
    closing.closeNow();

    m_bytes = storage.bytesRead();
    m_deviceError = storage.errorString();
    if (storage.isValid()) {
        m_map = storage.payload().toMap();
        m_content = holdsRecord(m_map) ? Record : NoRecord;
    } else if (storage.looksBlank()) {
        m_content = Blank;
    } else if (storage.isEmpty()) {
        m_content = Empty;
    } else {
        m_content = Corrupted;
    }
}

QString StoreLoad::unitSerial() const
{
    return holdsRecord() ? m_map.value(QLatin1String(unitKey)).toString() : QString();
}

QString StoreLoad::failureMessage(const QString &label) const
{
    switch (m_content) {
    case Record:
    case NoRecord:
        break;
    case Missing:
    case OpenFailed:
        return QString(QLatin1String("%1: could not open io device for reading: %2"))
            .arg(label)
            .arg(m_deviceError);
    case SeekFailed:
        return QString(QLatin1String("%1: could not seek io device to specified offset(%2): %3"))
            .arg(label)
            .arg(m_offset)
            .arg(m_deviceError);
    case Blank:
        return label + QLatin1String(": is blank");
    case Empty:
        return label + QLatin1String(": empty file");
    case Corrupted:
        return label + QLatin1String(": corrupted");
    }
    return QString();
}

bool StoreLoad::holdsRecord(const QVariantMap &map)
{
    return map.contains(QLatin1String(unitKey));
}

} // namespace hmi
