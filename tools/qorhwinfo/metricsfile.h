#ifndef QORHWINFO_TOOL_METRICSFILE_H
#define QORHWINFO_TOOL_METRICSFILE_H

#include <QList>
#include <QString>

/**
 * The result of a check in the Prometheus text format, for node_exporter's textfile collector, so that the
 * monitoring of a fleet finds the units whose stores disagree. The file is replaced in one step: the
 * collector never reads half of it.
 */
namespace MetricsFile {

struct Store
{
    QString key;
    QString verdict;
    bool holdsRecord = false;
    bool error = false;
};

struct Unit
{
    QString serial; ///< the serial the voting stores agree on; null when they do not
    QString mac;
    QString comSerial;
    QString fpgaUid;
    uint cbSerial = 0;
    uint bfSerial = 0;
    QList<Store> stores;
    int candidates = 0;
    int otherHardware = 0;
    int problems = 0;
    bool unfinishedRepair = false;
};

/** The metrics of @p unit, checked at @p unixTime. */
QByteArray text(const Unit &unit, qint64 unixTime);
/** Writes them to @p path through a new file in the same directory that replaces it. */
bool write(const QString &path, const Unit &unit, QString *error);

} // namespace MetricsFile

#endif
