#include "unitsurvey.h"

#include <qorutils/devicedescriptor.h>
#include <qorutils/piciodevice.h>

#include <QFile>

#include <algorithm>
#include <sys/stat.h>

namespace {

// A FIFO or a socket in place of a store's file would block the library's open for good: the tool, which
// a technician waits for, does not open one.
bool wouldBlock(QIODevice *device)
{
    const QFile *file = qobject_cast<const QFile *>(device);
    struct stat info;
    return file && ::stat(QFile::encodeName(file->fileName()).constData(), &info) == 0
        && (S_ISFIFO(info.st_mode) || S_ISSOCK(info.st_mode));
}

UnitSurvey::Store readStore(const QString &key, const hmi::HwInfoHelper::EEPROM &eeprom)
{
    UnitSurvey::Store store;
    store.key = key;
    store.label = eeprom.name;
    if (wouldBlock(eeprom.ioDev)) {
        store.deviceError = QLatin1String("a FIFO or socket stands in its place; not opened");
        return store;
    }
    try {
        const hmi::StoreLoad load(eeprom);
        store.content = load.content();
        store.map = load.map();
        store.deviceError = load.deviceError();
    } catch (const QString &thrown) {
        store.content = hmi::StoreLoad::Corrupted;
        store.deviceError = thrown;
    }
    return store;
}

} // namespace

bool UnitSurvey::Store::unreadable() const
{
    return content == hmi::StoreLoad::Missing || content == hmi::StoreLoad::OpenFailed
        || content == hmi::StoreLoad::SeekFailed || !deviceError.isEmpty();
}

QString UnitSurvey::Store::unit() const
{
    return holdsRecord() ? map.value(QLatin1String("unit")).toString() : QString();
}

QString UnitSurvey::Store::stateText() const
{
    switch (content) {
    case hmi::StoreLoad::Record:
        return QLatin1String("record");
    case hmi::StoreLoad::NoRecord:
        return QLatin1String("no record");
    case hmi::StoreLoad::Blank:
        return QLatin1String("blank");
    case hmi::StoreLoad::Empty:
        return QLatin1String("empty");
    case hmi::StoreLoad::Corrupted:
        return deviceError.isEmpty() ? QLatin1String("corrupted") : QLatin1String("read fails");
    case hmi::StoreLoad::Missing:
        return QLatin1String("missing");
    case hmi::StoreLoad::OpenFailed:
    case hmi::StoreLoad::SeekFailed:
        break;
    }
    return QLatin1String("cannot be read");
}

QString UnitSurvey::Store::problemText() const
{
    switch (content) {
    case hmi::StoreLoad::Record:
        return QString();
    case hmi::StoreLoad::NoRecord:
        return QString::fromLatin1("the %1 holds no identity record").arg(label);
    case hmi::StoreLoad::Blank:
        return QString::fromLatin1("the %1 is blank (erased or never written)").arg(label);
    case hmi::StoreLoad::Empty:
        return QString::fromLatin1("the %1 holds nothing").arg(label);
    case hmi::StoreLoad::Corrupted:
        if (!deviceError.isEmpty())
            return QString::fromLatin1("the %1 stopped answering while it was read: %2")
                .arg(label, deviceError);
        return QString::fromLatin1("the %1 holds a damaged record").arg(label);
    case hmi::StoreLoad::Missing:
        return QString::fromLatin1("the %1 does not exist").arg(label);
    case hmi::StoreLoad::OpenFailed:
        return QString::fromLatin1("the %1 cannot be opened: %2").arg(label, deviceError);
    case hmi::StoreLoad::SeekFailed:
        break;
    }
    return QString::fromLatin1("the %1 cannot be read at its record's place: %2").arg(label, deviceError);
}

UnitSurvey::UnitSurvey(bool cacheVotes)
    : m_table(hmi::HwInfoHelper::eepromsInit(&m_deviceOwner))
{
    {
        const hmi::HwInfoHelper facts;
        m_mac = facts.mac();
        m_comSerial = facts.comSerial();
        m_fpgaUid = facts.fpgaUid();
    }
    QStringList keys = m_table.keys();
    std::sort(keys.begin(), keys.end());
    for (const QString &key : keys)
        m_stores.append(readStore(key, m_table.value(key)));
    for (const QString &key : hmi::SerialVote::votingStoreKeys()) {
        const Store voter = store(key);
        if (voter.holdsRecord() && (cacheVotes || key != hmi::SerialVote::cacheStoreKey()))
            m_vote.cast(key, voter.unit());
    }
}

UnitSurvey::~UnitSurvey() { }

UnitSurvey::Store UnitSurvey::store(const QString &key) const
{
    for (const Store &store : m_stores) {
        if (store.key == key)
            return store;
    }
    return Store();
}

QString UnitSurvey::devicePathOf(QIODevice *device)
{
    if (QFile *file = qobject_cast<QFile *>(device))
        return file->fileName();
    if (qobject_cast<PicIODevice *>(device))
        return PicIODevice::devicePath();
    return QString();
}

uint UnitSurvey::boardSerial(const QString &key) const
{
    return hmi::DeviceDescriptor(store(key).map).serial();
}

hmi::HwInfoHelper::Serials UnitSurvey::record(const QString &unit, const QVariantMap &existing) const
{
    const hmi::HwInfoHelper::Serials old(existing);
    hmi::HwInfoHelper::Serials serials(unit, boardSerial(QLatin1String("cb")),
                                       boardSerial(QLatin1String("bf")), m_fpgaUid, m_comSerial, m_mac);
    if (serials.cb == 0)
        serials.cb = old.cb;
    if (serials.bf == 0)
        serials.bf = old.bf;
    if (serials.fpgaUid.isNull() && existing.contains(QLatin1String("fpgaUid")))
        serials.fpgaUid = old.fpgaUid;
    if (serials.com.isNull() && existing.contains(QLatin1String("com")))
        serials.com = old.com;
    if (serials.mac.isNull() && existing.contains(QLatin1String("mac")))
        serials.mac = old.mac;
    return serials;
}
