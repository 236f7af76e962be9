#ifndef QORHWINFO_TOOL_DISCOVERYREPORT_H
#define QORHWINFO_TOOL_DISCOVERYREPORT_H

#include "identitycheck.h"
#include "repairjournal.h"

#include <discovery.h>
#include <serialvote.h>
#include <storeload.h>

#include <qorhwinfo/hwinfohelper.h>

#include <QList>
#include <QString>
#include <QVariantMap>

#include <jansson.h>

class QTextStream;

/**
 * What one discovery found, as plain values that a printer can lay out in any order: the unit serial or
 * the candidates, each store with its status and record, what became of the serials cache file, the
 * hardware facts and how the records compare with them, the overall status, and the exit status.
 */
class DiscoveryReport
{
public:
    typedef hmi::HwInfoHelper::StatusFlags Status;
    typedef hmi::SerialVote::Candidate Candidate;

    struct Store
    {
        QString key;
        QString label;
        Status status;
        QVariantMap record;
        /** Why the store holds no record, in a technician's words; empty when it was read. */
        QString problem;
    };

    DiscoveryReport();

    /** Exactly one candidate: discovery took it as the unit serial. */
    bool hasUnitSerial() const { return candidates.size() == 1; }
    bool hasCandidates() const { return !candidates.isEmpty(); }
    const Store *store(const QString &key) const;
    QString labelOf(const QString &key) const;
    /** The keys of the stores whose record names a serial that is not "I" and six digits. */
    QStringList malformedStores() const;
    /** Whether a store's status is ERROR. */
    bool hasStoreErrors() const;
    /** Malformed, UnitError where unitSerial() throws, Problem for anything else wrong, or Success. */
    int exitCode() const;

    /** The report for people, every text from the stores escaped; @p verbose adds each store's record. */
    void printText(QTextStream &out, bool verbose) const;
    /** The report for scripts, one JSON document; the caller owns it. */
    json_t *json() const;

    /** "OK", "ERROR", or the flags' number when the status enumeration has no name for them. */
    static QString statusText(Status status);

    QString unitSerial;
    QList<Candidate> candidates;
    QList<Store> stores;
    hmi::Discovery::CacheWrite cache;
    /** Why the cache file could not be written. */
    QString cacheError;
    QList<IdentityCheck::Mismatch> mismatches;
    RepairJournal::Entry unfinishedRepair;

    QString mac;
    QString comSerial;
    QString fpgaUid;
    uint cbSerial;
    uint bfSerial;

    Status unitStatus;
    Status globalStatus;
};

#endif
