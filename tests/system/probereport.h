#ifndef QORHWINFO_TESTS_PROBEREPORT_H
#define QORHWINFO_TESTS_PROBEREPORT_H

#include <QJsonObject>
#include <QStringList>

// Reading the JSON reports that the probes print from inside the sandbox.
namespace ProbeReport {

QStringList sorted(QStringList list);
QStringList textList(const QJsonValue &value);
/** "level: text" of every logged message, sorted: the stores' order, and so the messages', varies by process.
 */
QStringList messageLines(const QJsonObject &report);
/** The statuses of "bf", "cb", "com", "file" and "ut", in that order. */
QString storeStatuses(const QJsonObject &report);

} // namespace ProbeReport

#endif
