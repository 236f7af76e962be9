#include "storeinspection.h"

#include <qorutils/frameheader.h>
#include <qorutils/romstorage.h>

#include <QIODevice>

StoreInspection::StoreInspection(const QString &key, const hmi::HwInfoHelper::EEPROM &store,
                                 const QString &devicePath)
    : m_key(key)
    , m_label(store.name)
    , m_devicePath(devicePath)
    , m_offset(store.offset)
    , m_room(store.maxSize)
    , m_verdict(OpenFailed)
{
    read(store.ioDev);
}

void StoreInspection::read(QIODevice *device)
{
    if (!device->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        m_deviceError = device->errorString();
        return;
    }
    if (!device->seek(m_offset)) {
        m_deviceError = device->errorString();
        device->close();
        m_verdict = SeekFailed;
        return;
    }
    const ROMStorage storage(*device);
    device->close();
    m_bytes = storage.bytesRead();
    m_deviceError = storage.errorString();
    if (storage.isValid()) {
        m_verdict = Valid;
        m_record = storage.payload().toMap();
    } else if (storage.looksBlank()) {
        m_verdict = Blank;
    } else if (storage.isEmpty()) {
        m_verdict = Empty;
    } else {
        m_verdict = Corrupted;
        m_reason = corruptionReason();
    }
}

QString StoreInspection::corruptionReason() const
{
    if (!m_deviceError.isEmpty())
        return QString::fromLatin1("the read failed after %1 bytes").arg(m_bytes.size());
    const FrameHeader header(m_bytes);
    if (!header.isComplete())
        return QString::fromLatin1("only %1 of the %2 header bytes could be read")
            .arg(m_bytes.size())
            .arg(int(FrameHeader::Size));
    if (!header.isFormat(ROMStorage::FormatVersion))
        return QLatin1String("no frame header here (magic, version or flags wrong)");
    const int payload = m_bytes.size() - FrameHeader::Size;
    if (payload < header.payloadLength())
        return QString::fromLatin1("the frame is cut short: %1 of %2 payload bytes")
            .arg(payload)
            .arg(header.payloadLength());
    if (header.computedCrc(m_bytes) != header.storedCrc())
        return QLatin1String("CRC mismatch: the header or the payload was changed or not completely written");
    return QLatin1String("the payload does not decode");
}

bool StoreInspection::isUnusable() const
{
    return m_verdict == OpenFailed || m_verdict == SeekFailed || !m_deviceError.isEmpty();
}

QString StoreInspection::verdictText(Verdict verdict)
{
    switch (verdict) {
    case Valid:
        return QLatin1String("valid");
    case Blank:
        return QLatin1String("blank");
    case Empty:
        return QLatin1String("empty");
    case Corrupted:
        return QLatin1String("corrupted");
    case OpenFailed:
        return QLatin1String("cannot be opened");
    case SeekFailed:
        break;
    }
    return QLatin1String("cannot seek to the record");
}
