#include "hwinfohelper.h"

#include "cachefilecreationmask_p.h"
#include "debugmessage.h"
#include "hwinfohelper_p.h"

#include <QtCore/QHash>

namespace hmi {

namespace {

typedef QHash<QString, int> VoteTable;

// A board descriptor may carry its own entries ("serial", ...) without any identity record; only a map
// that names a unit serial takes part in the vote.
bool holdsRecord(const QVariantMap &descriptor)
{
    return descriptor.contains(QLatin1String("unit"));
}

void castVote(VoteTable &votes, const QString &serial)
{
    ++votes[serial];
}

QList<QString> candidatesByVotes(VoteTable votes)
{
    QList<QString> candidates;
    while (!votes.isEmpty()) {
        QString best;
        int bestCount = 0;
        for (VoteTable::const_iterator it = votes.constBegin(); it != votes.constEnd(); ++it) {
            if (it.value() > bestCount) {
                best = it.key();
                bestCount = it.value();
            }
        }
        votes.remove(best);
        candidates.append(best);
    }
    return candidates;
}

// Writes the current record into the empty cache store.
void writeCache(HwInfoHelper::EEPROM &cache, const HwInfoHelper::Serials &serials,
                HwInfoHelper::StatusFlags &unitStatus)
{
    serials.writeTo(cache.descriptor);
    try {
        const CacheFileCreationMask mask;
        cache.save();
    } catch (QString &message) {
        DebugMessage(QtDebugMsg) << "error while saving .serial file:" << message;
        unitStatus |= HwInfoHelper::ERROR;
        cache.status |= HwInfoHelper::ERROR;
    }
}

} // namespace

void HwInfoHelper::discover()
{
    d->serials.unit = QString();
    d->serials.cb = 0;
    d->serials.bf = 0;
    d->status = OK;
    d->probableSerials.clear();

    const int storeCount = d->eeproms.size();
    Q_EMIT progressStepCountChanged(storeCount + 2);

    int step = 0;
    for (QHash<QString, EEPROM>::iterator it = d->eeproms.begin(); it != d->eeproms.end(); ++it, ++step) {
        EEPROM &store = it.value();
        store.status = OK;
        Q_EMIT progressCurStepChanged(step);
        try {
            store.load();
        } catch (QString &message) {
            DebugMessage(QtDebugMsg) << "void hmi::HwInfoHelper::discover()" << message;
            store.status |= ERROR;
        }
    }
    Q_EMIT progressCurStepChanged(storeCount);

    VoteTable votes;

    const DeviceDescriptor beamformer = d->eeproms.value(QLatin1String("bf")).descriptor;
    d->serials.bf = beamformer.serial();
    if (holdsRecord(beamformer))
        castVote(votes, Serials(beamformer).unit);

    const DeviceDescriptor carrier = d->eeproms.value(QLatin1String("cb")).descriptor;
    d->serials.cb = carrier.serial();
    if (holdsRecord(carrier))
        castVote(votes, Serials(carrier).unit);

    // A blank COM memory or a missing cache file is normal on a new unit, not an error.
    const char *const quietStores[] = { "com", "file" };
    for (int i = 0; i < 2; ++i) {
        EEPROM &store = d->eeproms[QLatin1String(quietStores[i])];
        if (store.descriptor.isEmpty())
            store.status = OK;
        else if (holdsRecord(store.descriptor))
            castVote(votes, Serials(store.descriptor).unit);
    }

    d->probableSerials = candidatesByVotes(votes);

    if (d->probableSerials.size() == 1) {
        d->serials.unit = d->probableSerials.first();
        EEPROM &cache = d->eeproms[QLatin1String("file")];
        if (cache.descriptor.isEmpty())
            writeCache(cache, d->serials, d->status);
    }

    Q_EMIT progressCurStepChanged(storeCount + 1);
}

} // namespace hmi
