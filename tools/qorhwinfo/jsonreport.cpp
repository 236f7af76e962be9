#include "jsonreport.h"

#include <QJsonArray>

namespace {

QJsonValue nullableText(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

} // namespace

JsonReport::JsonReport(const DiscoveryReport &report)
    : m_report(report)
{ }

QJsonDocument JsonReport::document() const
{
    QJsonObject root;
    root.insert(QStringLiteral("unitSerial"),
                m_report.hasUnitSerial() ? QJsonValue(m_report.unitSerial) : QJsonValue(QJsonValue::Null));
    root.insert(QStringLiteral("candidates"), candidates());
    root.insert(QStringLiteral("stores"), stores());
    root.insert(QStringLiteral("serialsCache"), cacheOutcomeText(m_report.cache));
    root.insert(QStringLiteral("hardware"), hardware());
    root.insert(QStringLiteral("unitStatus"), DiscoveryReport::statusText(m_report.unitStatus));
    root.insert(QStringLiteral("globalStatus"), DiscoveryReport::statusText(m_report.globalStatus));
    return QJsonDocument(root);
}

QString JsonReport::cacheOutcomeText(DiscoveryReport::CacheOutcome outcome)
{
    switch (outcome) {
    case DiscoveryReport::CacheWritten:
        return QStringLiteral("written");
    case DiscoveryReport::CacheWriteFailed:
        return QStringLiteral("writeFailed");
    case DiscoveryReport::CacheUnchanged:
        break;
    }
    return QStringLiteral("unchanged");
}

QJsonValue JsonReport::candidates() const
{
    QJsonArray candidates;
    for (const DiscoveryReport::Candidate &candidate : m_report.candidates) {
        QJsonObject entry;
        entry.insert(QStringLiteral("serial"), candidate.serial);
        entry.insert(QStringLiteral("votes"), candidate.voters.size());
        entry.insert(QStringLiteral("stores"), QJsonArray::fromStringList(candidate.voters));
        candidates.append(entry);
    }
    return candidates;
}

QJsonObject JsonReport::stores() const
{
    QJsonObject stores;
    for (const DiscoveryReport::Store &store : m_report.stores) {
        QJsonObject entry;
        entry.insert(QStringLiteral("label"), store.label);
        entry.insert(QStringLiteral("status"), DiscoveryReport::statusText(store.status));
        entry.insert(QStringLiteral("record"), QJsonObject::fromVariantMap(store.record));
        entry.insert(QStringLiteral("notes"), QJsonArray::fromStringList(store.notes));
        stores.insert(store.key, entry);
    }
    return stores;
}

QJsonObject JsonReport::hardware() const
{
    QJsonObject hardware;
    hardware.insert(QStringLiteral("mac"), nullableText(m_report.mac));
    hardware.insert(QStringLiteral("comSerial"), nullableText(m_report.comSerial));
    hardware.insert(QStringLiteral("fpgaUid"), nullableText(m_report.fpgaUid));
    hardware.insert(QStringLiteral("cbSerial"), qint64(m_report.cbSerial));
    hardware.insert(QStringLiteral("bfSerial"), qint64(m_report.bfSerial));
    return hardware;
}
