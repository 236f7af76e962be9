#include "commands.h"

#include "discoveryreport.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "logfilter.h"
#include "options.h"
#include "progressbar.h"
#include "reporttext.h"
#include "serialform.h"
#include "terminaltext.h"
#include "unitsurvey.h"

#include <algorithm>

#include <discovery.h>

#include <QScopedPointer>
#include <QTextStream>

namespace {

/** Takes what discovery did from inside the run, as values, and moves the progress bar. */
class ReportingObserver : public hmi::Discovery::Observer
{
public:
    ReportingObserver(const QHash<QString, hmi::HwInfoHelper::EEPROM> &table, ProgressBar *bar)
        : m_table(table)
        , m_bar(bar)
    { }

    void stepCountChanged(int stepCount) override
    {
        if (m_bar)
            m_bar->setStepCount(stepCount);
    }
    void stepReached(int step) override
    {
        if (m_bar)
            m_bar->setCurrentStep(step);
    }
    void storeLoaded(const QString &key, const hmi::StoreLoad &load) override
    {
        // A board's own descriptor without a record is what the mono-element board holds, and a cache file
        // that was never written is a new unit's: neither is worth a line.
        const bool normal = load.content() == hmi::StoreLoad::NoRecord
            || (key == hmi::SerialVote::cacheStoreKey() && load.content() == hmi::StoreLoad::Missing);
        if (normal)
            return;
        UnitSurvey::Store store;
        store.label = m_table.value(key).name;
        store.content = load.content();
        store.deviceError = load.deviceError();
        problems.insert(key, store.problemText());
    }
    void cacheWritten(hmi::Discovery::CacheWrite outcome, const QString &error) override
    {
        cache = outcome;
        cacheError = error;
    }

    QHash<QString, QString> problems;
    hmi::Discovery::CacheWrite cache = hmi::Discovery::CacheUnchanged;
    QString cacheError;

private:
    const QHash<QString, hmi::HwInfoHelper::EEPROM> &m_table;
    ProgressBar *m_bar;
};

QStringList progressTexts(const QHash<QString, hmi::HwInfoHelper::EEPROM> &table)
{
    QStringList texts;
    for (QHash<QString, hmi::HwInfoHelper::EEPROM>::const_iterator it = table.constBegin();
         it != table.constEnd(); ++it)
        texts.append(QString::fromLatin1("Reading %1").arg(it->name));
    texts.append(QLatin1String("Voting on the unit serial"));
    texts.append(QLatin1String("Done"));
    return texts;
}

// The same discovery that an application's helper runs, on a store table of its own.
DiscoveryReport runDiscovery(ProgressBar *bar)
{
    const hmi::HwInfoHelper facts;
    QObject deviceOwner;
    QHash<QString, hmi::HwInfoHelper::EEPROM> table = hmi::HwInfoHelper::eepromsInit(&deviceOwner);
    hmi::HwInfoHelper::Serials serials(QString(), 0, 0, facts.fpgaUid(), facts.comSerial(), facts.mac());
    hmi::HwInfoHelper::StatusFlags status;
    QList<QString> probable;
    if (bar)
        bar->setStepTexts(progressTexts(table));
    ReportingObserver observer(table, bar);
    hmi::Discovery discovery(table, serials, status, probable);
    discovery.run(&observer);

    DiscoveryReport report;
    QStringList keys = table.keys();
    std::sort(keys.begin(), keys.end());
    IdentityCheck::Hardware hardware;
    hardware.mac = serials.mac;
    hardware.comSerial = serials.com;
    hardware.fpgaUid = serials.fpgaUid;
    hardware.cbSerial = serials.cb;
    hardware.bfSerial = serials.bf;
    report.globalStatus = status;
    for (const QString &key : keys) {
        const hmi::HwInfoHelper::EEPROM &eeprom = table[key];
        DiscoveryReport::Store store;
        store.key = key;
        store.label = eeprom.name;
        store.status = eeprom.status;
        store.record = eeprom.descriptor;
        store.problem = observer.problems.value(key);
        report.stores.append(store);
        report.globalStatus |= eeprom.status;
        if (hmi::StoreLoad::holdsRecord(store.record))
            report.mismatches += IdentityCheck::compare(key, store.record, hardware);
    }
    report.candidates = discovery.vote().candidates();
    report.unitSerial = serials.unit;
    report.cache = observer.cache;
    report.cacheError = observer.cacheError;
    report.unfinishedRepair = RepairJournal::read();
    report.mac = serials.mac;
    report.comSerial = serials.com;
    report.fpgaUid = serials.fpgaUid;
    report.cbSerial = serials.cb;
    report.bfSerial = serials.bf;
    report.unitStatus = status;
    return report;
}

} // namespace

int Commands::discover(const Options &options)
{
    LogFilter log(options.verbose);
    QScopedPointer<ProgressBar> progressBar;
    if (ProgressBar::isTerminal(stderr)) {
        progressBar.reset(new ProgressBar(stderr));
        log.setProgressBar(progressBar.data());
    }
    const DiscoveryReport report = runDiscovery(progressBar.data());
    log.setProgressBar(nullptr);
    progressBar.reset();

    if (options.json) {
        Json::print(report.json());
    } else {
        QTextStream out(stdout);
        report.printText(out, options.verbose);
    }
    return report.exitCode();
}
