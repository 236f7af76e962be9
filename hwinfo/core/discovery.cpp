#include "discovery.h"

#include "cachefilecreationmask.h"
#include "debugmessage.h"
#include "storeload.h"
#include "storesave.h"

namespace hmi {

Discovery::Observer::~Observer() { }

void Discovery::Observer::stepCountChanged(int) { }

void Discovery::Observer::stepReached(int) { }

void Discovery::Observer::storeLoaded(const QString &, const StoreLoad &) { }

void Discovery::Observer::cacheWritten(CacheWrite, const QString &) { }

Discovery::Discovery(QHash<QString, HwInfoHelper::EEPROM> &stores, HwInfoHelper::Serials &serials,
                     HwInfoHelper::StatusFlags &status, QList<QString> &probableSerials)
    : m_stores(stores)
    , m_serials(serials)
    , m_status(status)
    , m_probableSerials(probableSerials)
{ }

void Discovery::run(Observer *observer)
{
    Observer silent;
    if (!observer)
        observer = &silent;

    m_serials.unit = QString();
    m_serials.cb = 0;
    m_serials.bf = 0;
    m_status = HwInfoHelper::OK;
    m_probableSerials.clear();
    m_vote = SerialVote();

    const int storeCount = m_stores.size();
    observer->stepCountChanged(storeCount + 2);
    loadStores(observer);
    observer->stepReached(storeCount);

    castVotes();
    m_probableSerials = m_vote.probableSerials();

    CacheWrite cache = CacheUnchanged;
    QString cacheError;
    if (m_probableSerials.size() == 1) {
        m_serials.unit = m_probableSerials.first();
        if (m_stores[SerialVote::cacheStoreKey()].descriptor.isEmpty())
            cache = writeCache(&cacheError);
    }
    observer->cacheWritten(cache, cacheError);
    observer->stepReached(storeCount + 1);
}

void Discovery::loadStores(Observer *observer)
{
    int step = 0;
    for (QHash<QString, HwInfoHelper::EEPROM>::iterator it = m_stores.begin(); it != m_stores.end();
         ++it, ++step) {
        HwInfoHelper::EEPROM &store = it.value();
        store.status = HwInfoHelper::OK;
        observer->stepReached(step);
        store.descriptor = DeviceDescriptor();
        const StoreLoad load(store);
        if (load.succeeded())
            store.descriptor = load.map();
        observer->storeLoaded(it.key(), load);
        if (!load.succeeded()) {
            DebugMessage(QtDebugMsg) << "void hmi::HwInfoHelper::discover()"
                                     << load.failureMessage(store.name);
            store.status |= HwInfoHelper::ERROR;
        }
    }
}

void Discovery::castVotes()
{
    castVoteOf("bf", &m_serials.bf);
    castVoteOf("cb", &m_serials.cb);
    castVoteOf("com", 0);
    castVoteOf("file", 0);
}

// A board's descriptor gives its serial whether or not it holds a record. A blank COM memory or a missing
// cache file is normal on a new unit, not an error.
void Discovery::castVoteOf(const char *key, uint *boardSerial)
{
    const QString storeKey = QLatin1String(key);
    DeviceDescriptor descriptor;
    if (boardSerial) {
        descriptor = m_stores.value(storeKey).descriptor;
        *boardSerial = descriptor.serial();
    } else {
        HwInfoHelper::EEPROM &store = m_stores[storeKey];
        descriptor = store.descriptor;
        if (descriptor.isEmpty())
            store.status = HwInfoHelper::OK;
    }
    if (StoreLoad::holdsRecord(descriptor))
        m_vote.cast(storeKey, HwInfoHelper::Serials(descriptor).unit);
}

Discovery::CacheWrite Discovery::writeCache(QString *error)
{
    HwInfoHelper::EEPROM &cache = m_stores[SerialVote::cacheStoreKey()];
    m_serials.writeTo(cache.descriptor);
    try {
        const CacheFileCreationMask mask;
        const StoreSave save(cache);
        save.logFailure(cache.name);
        *error = save.deviceError();
        switch (save.outcome()) {
        case StoreSave::Written:
            return CacheWritten;
        case StoreSave::OpenFailed:
            return CacheNotOpened;
        case StoreSave::SeekFailed:
            break;
        }
        return CacheNotSought;
    } catch (QString &message) {
        DebugMessage(QtDebugMsg) << "error while saving .serial file:" << message;
        m_status |= HwInfoHelper::ERROR;
        cache.status |= HwInfoHelper::ERROR;
        *error = message;
        return CacheWriteFailed;
    }
}

} // namespace hmi
