#ifndef QORHWINFO_TOOL_DISCOVERYRUN_H
#define QORHWINFO_TOOL_DISCOVERYRUN_H

#include "discoveryreport.h"

#include <QHash>
#include <QObject>
#include <QVariantMap>

class LogFilter;
class ProgressBar;

/**
 * Runs one discovery on a helper and turns what it left into a DiscoveryReport.
 *
 * It watches the progress signals to see the stores between loading and voting: that is what tells which
 * stores named which candidate and whether the serials cache file was written by this run, since the
 * cache store holds the written record afterwards.
 */
class DiscoveryRun : public QObject
{
    Q_OBJECT
public:
    /** @p progressBar may be null. */
    DiscoveryRun(hmi::HwInfoHelper &helper, const LogFilter &log, ProgressBar *progressBar);

    DiscoveryReport run();

private Q_SLOTS:
    void noteStepCount(int stepCount);
    void noteStep(int step);

private:
    QStringList storeKeysInLoadOrder() const;
    QStringList progressTexts() const;
    void takeLoadedRecords();

    QList<DiscoveryReport::Store> stores(const QString &cacheError) const;
    QStringList notesAbout(const QString &label) const;
    QList<DiscoveryReport::Candidate> candidates() const;
    QString cacheError() const;
    QString adoptedSerial() const;
    DiscoveryReport::CacheOutcome cacheOutcome(const DiscoveryReport &report) const;

    hmi::HwInfoHelper &m_helper;
    const LogFilter &m_log;
    ProgressBar *m_progressBar;
    int m_stepCount;
    bool m_recordsTaken;
    QHash<QString, QVariantMap> m_loadedRecords;
    int m_firstMessage;
    int m_firstSaveMessage;
};

#endif
