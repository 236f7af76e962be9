#ifndef QORHWINFO_TOOL_DISCOVERYREPORT_H
#define QORHWINFO_TOOL_DISCOVERYREPORT_H

#include "votecount.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/**
 * What one discovery found, as plain values that a printer can lay out in any order: the unit serial or
 * the candidates, each store with its status and record, what became of the serials cache file and why
 * it could not be written, the hardware facts, the overall status, the malformed serials, and the exit
 * status that says what an application would see.
 */
class DiscoveryReport
{
public:
    typedef hmi::HwInfoHelper::StatusFlags Status;

    struct Store
    {
        QString key;
        QString label;
        Status status;
        QVariantMap record;
        /** Log texts about this store, stripped of the caller's name, e.g. "Carrier Board: is blank". */
        QStringList notes;
    };

    /** Most votes first; tied candidates by serial, so that every run prints the same. */
    typedef VoteCount::Candidate Candidate;

    enum CacheOutcome { CacheUnchanged, CacheWritten, CacheWriteFailed };

    DiscoveryReport();

    /** Exactly one candidate: discovery took it as the unit serial. */
    bool hasUnitSerial() const { return candidates.size() == 1; }
    /** Whether any store held an identity record at all. */
    bool hasCandidates() const { return !candidates.isEmpty(); }
    const Store *store(const QString &key) const;
    QString labelOf(const QString &key) const;
    /** The keys of the stores whose record names a serial that is not "I" and six digits. */
    QStringList malformedStores() const;
    /** UnitError when unitSerial() throws, Malformed, NoUnitSerial, or Success. */
    int exitCode() const;

    /** "OK", "ERROR", or the flags' number when the status enumeration has no name for them. */
    static QString statusText(Status status);

    QString unitSerial;
    QList<Candidate> candidates;
    QList<Store> stores;
    CacheOutcome cache;
    /** Why the cache file could not be written, e.g. "... No space left on device". */
    QString cacheError;

    QString mac;
    QString comSerial;
    QString fpgaUid;
    uint cbSerial;
    uint bfSerial;

    Status unitStatus;
    Status globalStatus;
};

#endif
