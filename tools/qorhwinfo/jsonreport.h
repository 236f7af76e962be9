#ifndef QORHWINFO_TOOL_JSONREPORT_H
#define QORHWINFO_TOOL_JSONREPORT_H

#include "discoveryreport.h"

#include <QJsonDocument>
#include <QJsonObject>

/**
 * A DiscoveryReport as one JSON document for scripts. Texts the unit did not give, such as a missing
 * unit serial or FPGA UID, are JSON null; statuses are their names ("OK", "ERROR"); stores are keyed by
 * their store key and always carry their record.
 */
class JsonReport
{
public:
    explicit JsonReport(const DiscoveryReport &report);

    QJsonDocument document() const;

    static QString cacheOutcomeText(DiscoveryReport::CacheOutcome outcome);

private:
    QJsonValue candidates() const;
    QJsonObject stores() const;
    QJsonObject hardware() const;

    const DiscoveryReport &m_report;
};

#endif
