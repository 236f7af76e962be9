#ifndef QORHWINFO_TOOL_JSONREPORT_H
#define QORHWINFO_TOOL_JSONREPORT_H

#include "discoveryreport.h"

#include <jansson.h>

/**
 * A DiscoveryReport as one JSON document for scripts. Texts the unit did not give, such as a missing
 * unit serial or FPGA UID, are JSON null; statuses are their names ("OK", "ERROR"); stores are keyed by
 * their store key and always carry their record.
 */
class JsonReport
{
public:
    explicit JsonReport(const DiscoveryReport &report);

    /** A new document; the caller owns it. */
    json_t *document() const;

    static QString cacheOutcomeText(DiscoveryReport::CacheOutcome outcome);

private:
    json_t *stores() const;
    json_t *hardware() const;

    const DiscoveryReport &m_report;
};

#endif
