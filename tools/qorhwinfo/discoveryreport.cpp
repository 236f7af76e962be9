#include "discoveryreport.h"

#include "exitcode.h"
#include "jsonvalue.h"
#include "reporttext.h"
#include "serialform.h"
#include "terminaltext.h"

#include <QMetaEnum>
#include <QTextStream>

namespace {

const int headingWidth = 17;
const int factWidth = 26;
const int keyWidth = 6;
const int labelWidth = 21;
const int recordKeyWidth = 10;

QString votersText(const DiscoveryReport &report, const DiscoveryReport::Candidate &candidate)
{
    QStringList labels;
    for (const QString &key : candidate.voters)
        labels.append(TerminalText::escaped(report.labelOf(key)));
    return ReportText::votes(candidate.voters.size()) + QLatin1String(": ")
        + labels.join(QLatin1String(", "));
}

void printUnitSerial(QTextStream &out, const DiscoveryReport &report)
{
    out << ReportText::padded(QLatin1String("Unit serial"), headingWidth);
    if (report.hasUnitSerial()) {
        const DiscoveryReport::Candidate &adopted = report.candidates.first();
        out << SerialForm::display(report.unitSerial) << "  (" << votersText(report, adopted) << ")"
            << (SerialForm::isWellFormed(adopted.serial) ? "" : "  MALFORMED") << '\n';
        return;
    }
    if (!report.hasCandidates()) {
        out << "none: no store holds an identity record\n";
        return;
    }
    out << "none: the stores name " << report.candidates.size() << " different serials"
        << (report.candidates.first().tied ? ", tied" : "") << '\n';
    out << "  Candidates, most votes first, tied ones by serial:\n";
    for (const DiscoveryReport::Candidate &candidate : report.candidates) {
        out << "    " << SerialForm::display(candidate.serial).leftJustified(10, QLatin1Char(' ')) << "  "
            << votersText(report, candidate) << (candidate.tied ? "  (tied)" : "")
            << (SerialForm::isWellFormed(candidate.serial) ? "" : "  MALFORMED") << '\n';
    }
}

void printStores(QTextStream &out, const DiscoveryReport &report, bool withRecords)
{
    const QString indent(2 + keyWidth + 2, QLatin1Char(' '));
    out << "Identity stores\n";
    for (const DiscoveryReport::Store &store : report.stores) {
        out << "  " << ReportText::padded(store.key, keyWidth) << ReportText::padded(store.label, labelWidth)
            << DiscoveryReport::statusText(store.status) << '\n';
        if (!store.problem.isEmpty())
            out << indent << TerminalText::escaped(store.problem) << '\n';
        if (!withRecords)
            continue;
        if (store.record.isEmpty())
            out << indent << "(no record)\n";
        for (QVariantMap::const_iterator it = store.record.constBegin(); it != store.record.constEnd(); ++it)
            out << indent << ReportText::padded(it.key(), recordKeyWidth) << ' '
                << ReportText::value(it.value()) << '\n';
    }
}

void printCache(QTextStream &out, const DiscoveryReport &report)
{
    out << ReportText::padded(QLatin1String("Serials cache"), headingWidth);
    switch (report.cache) {
    case hmi::Discovery::CacheWritten:
        out << "written by this run\n";
        return;
    case hmi::Discovery::CacheNotOpened:
    case hmi::Discovery::CacheNotSought:
    case hmi::Discovery::CacheWriteFailed:
        out << "could not be written: " << TerminalText::escaped(report.cacheError) << '\n';
        return;
    case hmi::Discovery::CacheUnchanged:
        break;
    }
    if (!report.hasUnitSerial())
        out << "not written: no unit serial was adopted\n";
    else
        out << "unchanged: it already held a record\n";
}

void printHardware(QTextStream &out, const DiscoveryReport &report)
{
    out << "Hardware\n";
    out << "  " << ReportText::padded(QLatin1String("MAC address"), factWidth) << ReportText::fact(report.mac)
        << '\n';
    out << "  " << ReportText::padded(QLatin1String("COM module serial"), factWidth)
        << ReportText::fact(report.comSerial) << '\n';
    out << "  " << ReportText::padded(QLatin1String("FPGA id"), factWidth) << ReportText::fact(report.fpgaUid)
        << '\n';
    out << "  " << ReportText::padded(QLatin1String("Carrier board serial"), factWidth)
        << ReportText::boardSerial(report.cbSerial) << '\n';
    out << "  " << ReportText::padded(QLatin1String("Beamformer board serial"), factWidth)
        << ReportText::boardSerial(report.bfSerial) << '\n';
}

QStringList warnings(const DiscoveryReport &report)
{
    QStringList advice;
    if (report.unfinishedRepair.exists())
        advice.append(RepairJournal::warningText(report.unfinishedRepair));
    if (report.unitStatus != hmi::HwInfoHelper::OK) {
        advice.append(
            QLatin1String("Unit status ERROR: an application's unitSerial() throws, because the serials "
                          "cache file could not be written. Free or repair its file system, then "
                          "discover again."));
    } else if (report.cache == hmi::Discovery::CacheNotOpened
               || report.cache == hmi::Discovery::CacheNotSought) {
        advice.append(
            QLatin1String("The serials cache file could not be written, so applications' quick reads "
                          "find no serial: \"qorhwinfo check\" says why."));
    }
    const QStringList malformed = report.malformedStores();
    if (!malformed.isEmpty()) {
        QStringList labels;
        for (const QString &key : malformed)
            labels.append(report.labelOf(key));
        advice.append(
            QString::fromLatin1("MALFORMED unit serial (not \"I\" and six digits) in: %1. \"qorhwinfo "
                                "check\" says how to repair it.")
                .arg(labels.join(QLatin1String(", "))));
    }
    if (report.candidates.size() > 1)
        advice.append(
            QLatin1String("The stores disagree: \"qorhwinfo check\" explains and says how to resolve it."));
    if (report.hasStoreErrors())
        advice.append(QLatin1String("A store is in ERROR: \"qorhwinfo check\" says what is wrong with it."));
    for (const IdentityCheck::Mismatch &mismatch : report.mismatches)
        advice.append(QLatin1String("Other hardware: ") + mismatch.sentence);
    return advice;
}

QString cacheOutcomeText(hmi::Discovery::CacheWrite outcome)
{
    switch (outcome) {
    case hmi::Discovery::CacheWritten:
        return QLatin1String("written");
    case hmi::Discovery::CacheNotOpened:
    case hmi::Discovery::CacheNotSought:
    case hmi::Discovery::CacheWriteFailed:
        return QLatin1String("writeFailed");
    case hmi::Discovery::CacheUnchanged:
        break;
    }
    return QLatin1String("unchanged");
}

} // namespace

DiscoveryReport::DiscoveryReport()
    : cache(hmi::Discovery::CacheUnchanged)
    , cbSerial(0)
    , bfSerial(0)
{ }

const DiscoveryReport::Store *DiscoveryReport::store(const QString &key) const
{
    for (const Store &candidate : stores) {
        if (candidate.key == key)
            return &candidate;
    }
    return nullptr;
}

QString DiscoveryReport::labelOf(const QString &key) const
{
    const Store *found = store(key);
    return found ? found->label : key;
}

QString DiscoveryReport::statusText(Status status)
{
    const QMetaEnum meta = hmi::HwInfoHelper::statusMetaEnum();
    const int value = int(status);
    if (const char *key = meta.valueToKey(value))
        return QString::fromLatin1(key);
    const QByteArray keys = meta.valueToKeys(value);
    return keys.isEmpty() ? QString::number(value) : QString::fromLatin1(keys);
}

QStringList DiscoveryReport::malformedStores() const
{
    QStringList keys;
    for (const Store &candidate : stores) {
        if (hmi::StoreLoad::holdsRecord(candidate.record)
            && !SerialForm::isWellFormed(candidate.record.value(QLatin1String("unit")).toString()))
            keys.append(candidate.key);
    }
    return keys;
}

bool DiscoveryReport::hasStoreErrors() const
{
    for (const Store &candidate : stores) {
        if (candidate.status != hmi::HwInfoHelper::OK)
            return true;
    }
    return false;
}

int DiscoveryReport::exitCode() const
{
    if (!malformedStores().isEmpty())
        return Malformed;
    if (unitStatus != hmi::HwInfoHelper::OK)
        return UnitError;
    const bool wrong = !hasUnitSerial() || hasStoreErrors() || !mismatches.isEmpty()
        || unfinishedRepair.exists() || cache == hmi::Discovery::CacheNotOpened
        || cache == hmi::Discovery::CacheNotSought;
    return wrong ? Problem : Success;
}

void DiscoveryReport::printText(QTextStream &out, bool verbose) const
{
    const DiscoveryReport &report = *this;
    printUnitSerial(out, report);
    out << '\n';
    printStores(out, report, verbose);
    out << '\n';
    printCache(out, report);
    out << '\n';
    printHardware(out, report);
    out << '\n';
    out << "Status\n";
    out << "  " << ReportText::padded(QLatin1String("Unit"), factWidth)
        << DiscoveryReport::statusText(report.unitStatus) << '\n';
    out << "  " << ReportText::padded(QLatin1String("Unit with its stores"), factWidth)
        << DiscoveryReport::statusText(report.globalStatus) << '\n';
    const QStringList advice = warnings(report);
    if (!advice.isEmpty()) {
        out << "\nWarnings\n";
        for (const QString &text : advice)
            out << "  " << TerminalText::escaped(text) << '\n';
    }
}

json_t *DiscoveryReport::json() const
{
    const DiscoveryReport &report = *this;
    json_t *root = Json::document();
    Json::set(root, "unitSerial", report.hasUnitSerial() ? Json::text(report.unitSerial) : json_null());
    Json::set(root, "candidates", Json::candidates(report.candidates));
    json_t *storeObjects = json_object();
    for (const DiscoveryReport::Store &store : report.stores) {
        json_t *entry = json_object();
        Json::set(entry, "label", Json::text(store.label));
        Json::set(entry, "status", Json::text(DiscoveryReport::statusText(store.status)));
        Json::set(entry, "record", Json::record(store.record));
        Json::set(entry, "problem", store.problem.isEmpty() ? json_null() : Json::text(store.problem));
        Json::set(storeObjects, store.key, entry);
    }
    Json::set(root, "stores", storeObjects);
    Json::set(root, "serialsCache", Json::text(cacheOutcomeText(report.cache)));
    Json::set(root, "serialsCacheError",
              report.cacheError.isEmpty() ? json_null() : Json::text(report.cacheError));
    Json::set(root, "malformedStores", Json::texts(report.malformedStores()));
    Json::set(root, "otherHardware", Json::mismatches(report.mismatches));
    Json::set(root, "unfinishedRepair", Json::unfinishedRepair(report.unfinishedRepair));
    json_t *hardware = json_object();
    Json::set(hardware, "mac", Json::text(report.mac));
    Json::set(hardware, "comSerial", Json::text(report.comSerial));
    Json::set(hardware, "fpgaUid", Json::text(report.fpgaUid));
    Json::set(hardware, "cbSerial", Json::number(report.cbSerial));
    Json::set(hardware, "bfSerial", Json::number(report.bfSerial));
    Json::set(root, "hardware", hardware);
    Json::set(root, "unitStatus", Json::text(DiscoveryReport::statusText(report.unitStatus)));
    Json::set(root, "globalStatus", Json::text(DiscoveryReport::statusText(report.globalStatus)));
    Json::set(root, "exitCode", Json::number(report.exitCode()));
    return root;
}
