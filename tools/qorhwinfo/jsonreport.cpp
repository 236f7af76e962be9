#include "jsonreport.h"

#include "jsonvalue.h"

JsonReport::JsonReport(const DiscoveryReport &report)
    : m_report(report)
{ }

json_t *JsonReport::document() const
{
    json_t *root = Json::document();
    Json::set(root, "unitSerial", m_report.hasUnitSerial() ? Json::text(m_report.unitSerial) : json_null());
    Json::set(root, "candidates", Json::candidates(m_report.candidates));
    Json::set(root, "stores", stores());
    Json::set(root, "serialsCache", Json::text(cacheOutcomeText(m_report.cache)));
    Json::set(root, "serialsCacheError",
              m_report.cacheError.isEmpty() ? json_null() : Json::text(m_report.cacheError));
    Json::set(root, "malformedStores", Json::texts(m_report.malformedStores()));
    Json::set(root, "hardware", hardware());
    Json::set(root, "unitStatus", Json::text(DiscoveryReport::statusText(m_report.unitStatus)));
    Json::set(root, "globalStatus", Json::text(DiscoveryReport::statusText(m_report.globalStatus)));
    Json::set(root, "exitCode", Json::number(m_report.exitCode()));
    return root;
}

QString JsonReport::cacheOutcomeText(DiscoveryReport::CacheOutcome outcome)
{
    switch (outcome) {
    case DiscoveryReport::CacheWritten:
        return QLatin1String("written");
    case DiscoveryReport::CacheWriteFailed:
        return QLatin1String("writeFailed");
    case DiscoveryReport::CacheUnchanged:
        break;
    }
    return QLatin1String("unchanged");
}

json_t *JsonReport::stores() const
{
    json_t *stores = json_object();
    for (const DiscoveryReport::Store &store : m_report.stores) {
        json_t *entry = json_object();
        Json::set(entry, "label", Json::text(store.label));
        Json::set(entry, "status", Json::text(DiscoveryReport::statusText(store.status)));
        Json::set(entry, "record", Json::record(store.record));
        Json::set(entry, "notes", Json::texts(store.notes));
        Json::set(stores, store.key.toLatin1().constData(), entry);
    }
    return stores;
}

json_t *JsonReport::hardware() const
{
    json_t *hardware = json_object();
    Json::set(hardware, "mac", Json::text(m_report.mac));
    Json::set(hardware, "comSerial", Json::text(m_report.comSerial));
    Json::set(hardware, "fpgaUid", Json::text(m_report.fpgaUid));
    Json::set(hardware, "cbSerial", Json::number(m_report.cbSerial));
    Json::set(hardware, "bfSerial", Json::number(m_report.bfSerial));
    return hardware;
}
