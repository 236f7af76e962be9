#include "unitsurvey.h"

#include <qorutils/piciodevice.h>

#include <QFile>

#include <algorithm>

namespace {

const char unitKey[] = "unit";

// The library says why a load failed only in its message: "<label>: is blank", "<label>: could not open
// io device for reading: <device error>", and so on.
UnitSurvey::State stateOf(const QString &failure)
{
    if (failure.endsWith(QLatin1String(": is blank")))
        return UnitSurvey::Blank;
    if (failure.endsWith(QLatin1String(": empty file")))
        return UnitSurvey::Empty;
    if (failure.endsWith(QLatin1String(": corrupted")))
        return UnitSurvey::Corrupted;
    if (failure.contains(QLatin1String("could not open"))
        && failure.endsWith(QLatin1String("No such file or directory")))
        return UnitSurvey::Missing;
    return UnitSurvey::Unreadable;
}

} // namespace

QString UnitSurvey::Store::unit() const
{
    return map.value(QLatin1String(unitKey)).toString();
}

UnitSurvey::UnitSurvey(bool cacheVotes)
{
    QHash<QString, Eeprom> table = m_helper.eeproms();
    QStringList keys = table.keys();
    std::sort(keys.begin(), keys.end());
    for (const QString &key : keys) {
        Eeprom eeprom = table.value(key);
        Store store;
        store.key = key;
        store.label = eeprom.name;
        try {
            eeprom.load();
            store.map = eeprom.descriptor;
            store.state = store.map.contains(QLatin1String(unitKey)) ? HoldsRecord : NoRecord;
        } catch (const QString &failure) {
            store.failure = failure;
            store.state = stateOf(failure);
        }
        m_stores.append(store);
    }
    // The order discovery counts in.
    for (const char *key : { "bf", "cb", "com", "file" }) {
        const Store voter = store(QLatin1String(key));
        if (voter.holdsRecord() && (cacheVotes || voter.key != QLatin1String("file")))
            m_votes.cast(voter.key, voter.unit());
    }
}

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

hmi::HwInfoHelper::Serials UnitSurvey::record(const QString &unit) const
{
    const hmi::DeviceDescriptor carrier = store(QLatin1String("cb")).map;
    const hmi::DeviceDescriptor beamformer = store(QLatin1String("bf")).map;
    return hmi::HwInfoHelper::Serials(unit, carrier.serial(), beamformer.serial(), m_helper.fpgaUid(),
                                      m_helper.comSerial(), m_helper.mac());
}

bool UnitSurvey::isVoting(const QString &key)
{
    return key != QLatin1String("ut");
}

QString UnitSurvey::stateText(State state)
{
    switch (state) {
    case HoldsRecord:
        return QLatin1String("record");
    case NoRecord:
        return QLatin1String("no record");
    case Blank:
        return QLatin1String("blank");
    case Empty:
        return QLatin1String("empty");
    case Corrupted:
        return QLatin1String("corrupted");
    case Missing:
        return QLatin1String("missing");
    case Unreadable:
        break;
    }
    return QLatin1String("unreadable");
}
