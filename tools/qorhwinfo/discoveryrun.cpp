#include "discoveryrun.h"

#include "logfilter.h"
#include "progressbar.h"

#include <algorithm>

namespace {

const char cacheStoreKey[] = "file";
const char recordUnitKey[] = "unit";
// The stores whose records vote on the unit serial, in the order they are counted.
const char *const votingStoreKeys[] = { "bf", "cb", "com", "file" };

// The library logs a store that failed to load as «void hmi::HwInfoHelper::discover() "<what>" »; the
// report wants only <what>.
QString noteText(const QString &message)
{
    static const QString prefix = QLatin1String("void hmi::HwInfoHelper::discover() \"");
    const QString trimmed = message.trimmed();
    if (trimmed.startsWith(prefix) && trimmed.endsWith(QLatin1Char('"')))
        return trimmed.mid(prefix.size(), trimmed.size() - prefix.size() - 1);
    return trimmed;
}

} // namespace

DiscoveryRun::DiscoveryRun(hmi::HwInfoHelper &helper, const LogFilter &log, ProgressBar *progressBar)
    : m_helper(helper)
    , m_log(log)
    , m_progressBar(progressBar)
    , m_stepCount(0)
    , m_recordsTaken(false)
    , m_firstMessage(0)
    , m_firstSaveMessage(0)
{ }

DiscoveryReport DiscoveryRun::run()
{
    m_firstMessage = m_log.messages().size();
    m_firstSaveMessage = m_firstMessage;
    m_recordsTaken = false;
    m_loadedRecords.clear();

    connect(&m_helper, SIGNAL(progressStepCountChanged(int)), this, SLOT(noteStepCount(int)));
    connect(&m_helper, SIGNAL(progressCurStepChanged(int)), this, SLOT(noteStep(int)));
    if (m_progressBar) {
        m_progressBar->setStepTexts(progressTexts());
        connect(&m_helper, SIGNAL(progressStepCountChanged(int)), m_progressBar, SLOT(setStepCount(int)));
        connect(&m_helper, SIGNAL(progressCurStepChanged(int)), m_progressBar, SLOT(setCurrentStep(int)));
    }

    m_helper.discover();

    m_helper.disconnect(this);
    if (m_progressBar) {
        m_helper.disconnect(m_progressBar);
        m_progressBar->hide();
    }
    if (!m_recordsTaken)
        takeLoadedRecords();

    DiscoveryReport report;
    report.cacheError = cacheError();
    report.stores = stores(report.cacheError);
    report.candidates = candidates();
    report.unitSerial = adoptedSerial();
    report.cache = cacheOutcome(report);
    report.mac = m_helper.mac();
    report.comSerial = m_helper.comSerial();
    report.fpgaUid = m_helper.fpgaUid();
    report.cbSerial = m_helper.cbSerial();
    report.bfSerial = m_helper.bfSerial();
    report.unitStatus = m_helper.status();
    report.globalStatus = m_helper.globalStatus();
    return report;
}

void DiscoveryRun::noteStepCount(int stepCount)
{
    m_stepCount = stepCount;
}

// The step after the last load comes before the vote and the cache write.
void DiscoveryRun::noteStep(int step)
{
    if (step == m_stepCount - 2 && !m_recordsTaken)
        takeLoadedRecords();
}

// discover() walks the same hash that eeproms() returns, so its order is the order of the load steps.
QStringList DiscoveryRun::storeKeysInLoadOrder() const
{
    return m_helper.eeproms().keys();
}

QStringList DiscoveryRun::progressTexts() const
{
    QStringList texts;
    const QHash<QString, hmi::HwInfoHelper::EEPROM> &eeproms = m_helper.eeproms();
    for (const QString &key : storeKeysInLoadOrder())
        texts.append(QString::fromLatin1("Reading %1").arg(eeproms.value(key).name));
    texts.append(QLatin1String("Voting on the unit serial"));
    texts.append(QLatin1String("Done"));
    return texts;
}

void DiscoveryRun::takeLoadedRecords()
{
    const QHash<QString, hmi::HwInfoHelper::EEPROM> &eeproms = m_helper.eeproms();
    for (QHash<QString, hmi::HwInfoHelper::EEPROM>::const_iterator it = eeproms.constBegin();
         it != eeproms.constEnd(); ++it)
        m_loadedRecords.insert(it.key(), it->descriptor);
    m_firstSaveMessage = m_log.messages().size();
    m_recordsTaken = true;
}

QList<DiscoveryReport::Store> DiscoveryRun::stores(const QString &cacheError) const
{
    QList<DiscoveryReport::Store> stores;
    const QHash<QString, hmi::HwInfoHelper::EEPROM> &eeproms = m_helper.eeproms();
    QStringList keys = eeproms.keys();
    std::sort(keys.begin(), keys.end());
    for (const QString &key : keys) {
        const hmi::HwInfoHelper::EEPROM &eeprom = eeproms[key];
        DiscoveryReport::Store store;
        store.key = key;
        store.label = eeprom.name;
        store.status = eeprom.status;
        store.record = eeprom.descriptor;
        store.notes = notesAbout(eeprom.name);
        if (key == QLatin1String(cacheStoreKey) && !cacheError.isEmpty())
            store.notes.append(QLatin1String("could not be written: ") + cacheError);
        stores.append(store);
    }
    return stores;
}

// Every message the library logs about a store quotes the store's label.
QStringList DiscoveryRun::notesAbout(const QString &label) const
{
    QStringList notes;
    const QStringList messages = m_log.messages().mid(m_firstMessage);
    const QString quotedLabel = QLatin1Char('"') + label;
    for (const QString &message : messages) {
        if (!label.isEmpty() && message.contains(quotedLabel))
            notes.append(noteText(message));
    }
    return notes;
}

// The library's candidates, with the stores that named each, in an order that does not change between runs.
QList<DiscoveryReport::Candidate> DiscoveryRun::candidates() const
{
    const QList<QString> probable = m_helper.probableSerials();
    VoteCount votes;
    for (const char *key : votingStoreKeys) {
        const QVariantMap record = m_loadedRecords.value(QLatin1String(key));
        const QString serial = record.value(QLatin1String(recordUnitKey)).toString();
        if (record.contains(QLatin1String(recordUnitKey)) && probable.contains(serial))
            votes.cast(QLatin1String(key), serial);
    }
    return votes.candidates();
}

// The library says why the cache write failed only in its log: «error while saving .serial file: "<why>" ».
QString DiscoveryRun::cacheError() const
{
    static const QString prefix = QLatin1String("error while saving .serial file: \"");
    const QStringList messages = m_log.messages().mid(m_firstSaveMessage);
    for (const QString &message : messages) {
        const QString trimmed = message.trimmed();
        if (trimmed.startsWith(prefix) && trimmed.endsWith(QLatin1Char('"')))
            return trimmed.mid(prefix.size(), trimmed.size() - prefix.size() - 1);
    }
    return QString();
}

// unitSerial() refuses to answer when the cache write failed, yet the serial was adopted all the same.
QString DiscoveryRun::adoptedSerial() const
{
    try {
        return m_helper.unitSerial();
    } catch (const hmi::HwInfoHelper::StatusFlags &) {
        const QList<QString> candidates = m_helper.probableSerials();
        return candidates.size() == 1 ? candidates.first() : QString();
    }
}

DiscoveryReport::CacheOutcome DiscoveryRun::cacheOutcome(const DiscoveryReport &report) const
{
    const QString cacheKey = QLatin1String(cacheStoreKey);
    const bool cacheHeldRecord = !m_loadedRecords.value(cacheKey).isEmpty();
    if (!report.hasUnitSerial() || cacheHeldRecord)
        return DiscoveryReport::CacheUnchanged;

    const DiscoveryReport::Store *cache = report.store(cacheKey);
    const bool saveComplained = m_log.messages().size() > m_firstSaveMessage;
    if (saveComplained || (cache && cache->status != hmi::HwInfoHelper::OK))
        return DiscoveryReport::CacheWriteFailed;
    return DiscoveryReport::CacheWritten;
}
