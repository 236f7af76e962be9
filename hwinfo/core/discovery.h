#ifndef QORHWINFO_CORE_DISCOVERY_H
#define QORHWINFO_CORE_DISCOVERY_H

#include "serialvote.h"

#include <qorhwinfo/hwinfohelper.h>

namespace hmi {

class StoreLoad;

/**
 * The discovery that HwInfoHelper::discover() runs, on state that the caller owns: it loads every store,
 * votes on the unit serial, adopts a single candidate and writes the serials cache file when it held no
 * record. An observer sees each step as values (what each store held, how the cache write ended), so the
 * tool reports what the library did without reading its log.
 */
class Discovery
{
public:
    /** How the cache write of one discovery ended. */
    enum CacheWrite {
        CacheUnchanged, ///< no serial was adopted, or the cache already held a record
        CacheWritten, ///< the record was written
        CacheNotOpened, ///< the file could not be created or opened; the library logs it and goes on
        CacheNotSought, ///< the file could not be sought; the library logs it and goes on
        CacheWriteFailed ///< the write failed; the unit-level status is ERROR and unitSerial() throws
    };

    /** Receives the steps of a discovery from inside run(), on the caller's thread. */
    class Observer
    {
    public:
        virtual ~Observer();
        virtual void stepCountChanged(int stepCount);
        virtual void stepReached(int step);
        virtual void storeLoaded(const QString &key, const StoreLoad &load);
        /** @p error is the device's or the write's error; empty when written or unchanged. */
        virtual void cacheWritten(CacheWrite outcome, const QString &error);
    };

    /** Works on the store table, current record, unit-level status and candidates of its caller. */
    Discovery(QHash<QString, HwInfoHelper::EEPROM> &stores, HwInfoHelper::Serials &serials,
              HwInfoHelper::StatusFlags &status, QList<QString> &probableSerials);

    /** Runs one discovery; @p observer may be null. */
    void run(Observer *observer);

    /** The vote of the last run. */
    const SerialVote &vote() const { return m_vote; }

private:
    void loadStores(Observer *observer);
    void castVotes();
    void castVoteOf(const char *key, uint *boardSerial);
    CacheWrite writeCache(QString *error);

    QHash<QString, HwInfoHelper::EEPROM> &m_stores;
    HwInfoHelper::Serials &m_serials;
    HwInfoHelper::StatusFlags &m_status;
    QList<QString> &m_probableSerials;
    SerialVote m_vote;
};

} // namespace hmi

#endif
