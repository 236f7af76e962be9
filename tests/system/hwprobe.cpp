// Runs the real library inside a sandboxed unit and prints what it saw as one JSON document:
//   hwprobe discover   construct a helper, discover, query everything, destroy it, then read the quick serial
//   hwprobe quick      only the quick serial, with no helper in existence
#include "proberecorder.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QCoreApplication>
#include <QIODevice>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QScopedPointer>

#include <cstdio>
#include <sys/stat.h>

namespace {

typedef hmi::HwInfoHelper Helper;

mode_t currentUmask()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mask;
}

QJsonValue nullableText(const QString &text)
{
    return text.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QString statusName(Helper::StatusFlags status)
{
    const char *key = Helper::statusMetaEnum().valueToKey(int(status));
    return key ? QString::fromLatin1(key) : QString::number(int(status));
}

QJsonObject storesOf(const Helper &helper)
{
    QJsonObject stores;
    const QHash<QString, Helper::EEPROM> &eeproms = helper.eeproms();
    for (auto it = eeproms.constBegin(); it != eeproms.constEnd(); ++it) {
        stores.insert(
            it.key(),
            QJsonObject { { QStringLiteral("label"), it->name },
                          { QStringLiteral("status"), statusName(it->status) },
                          { QStringLiteral("record"), QJsonObject::fromVariantMap(it->descriptor) } });
    }
    return stores;
}

QJsonArray candidatesOf(const Helper &helper)
{
    QJsonArray candidates;
    for (const QString &serial : helper.probableSerials())
        candidates.append(nullableText(serial));
    return candidates;
}

// Qt 5 seeds QHash per process, so the order of serials with equal votes is known only in this process:
// a vote table built the same way, in the same vote order, walks them in the order discovery met them.
QJsonArray voteTableOrderOf(const Helper &helper)
{
    QHash<QString, int> votes;
    for (const char *key : { "bf", "cb", "com", "file" }) {
        const QVariantMap record = helper.eeproms().value(QLatin1String(key)).descriptor;
        if (record.contains(QStringLiteral("unit")))
            ++votes[record.value(QStringLiteral("unit")).toString()];
    }
    QJsonArray order;
    for (auto it = votes.constBegin(); it != votes.constEnd(); ++it)
        order.append(nullableText(it.key()));
    return order;
}

void addUnitSerial(const Helper &helper, QJsonObject &report)
{
    try {
        report.insert(QStringLiteral("unitSerial"), nullableText(helper.unitSerial()));
        report.insert(QStringLiteral("unitSerialThrew"), QJsonValue::Null);
    } catch (const Helper::StatusFlags &flags) {
        report.insert(QStringLiteral("unitSerial"), QJsonValue::Null);
        report.insert(QStringLiteral("unitSerialThrew"), int(flags));
    }
}

void addHardwareFacts(const Helper &helper, QJsonObject &report)
{
    report.insert(QStringLiteral("mac"), nullableText(helper.mac()));
    report.insert(QStringLiteral("comSerial"), nullableText(helper.comSerial()));
    report.insert(QStringLiteral("fpgaUid"), nullableText(helper.fpgaUid()));
    report.insert(QStringLiteral("cbSerial"), qint64(helper.cbSerial()));
    report.insert(QStringLiteral("bfSerial"), qint64(helper.bfSerial()));
}

QList<QPointer<QIODevice>> devicesOf(const Helper &helper)
{
    QList<QPointer<QIODevice>> devices;
    for (const Helper::EEPROM &store : helper.eeproms())
        devices.append(QPointer<QIODevice>(store.ioDev));
    return devices;
}

// The helper owns its stores' devices through QObject parenthood and nothing else may keep them alive.
void destroyAndCountDevices(QScopedPointer<Helper> &helper, QJsonObject &report)
{
    const QList<QPointer<QIODevice>> devices = devicesOf(*helper);
    int children = 0;
    for (const QPointer<QIODevice> &device : devices)
        children += (device && device->parent() == helper.data()) ? 1 : 0;
    report.insert(QStringLiteral("devices"), devices.size());
    report.insert(QStringLiteral("devicesOwnedByHelper"), children);
    report.insert(QStringLiteral("helperChildDevices"), helper->findChildren<QIODevice *>().size());

    helper.reset();
    int alive = 0;
    for (const QPointer<QIODevice> &device : devices)
        alive += device ? 1 : 0;
    report.insert(QStringLiteral("devicesAliveAfterDestruction"), alive);
}

QJsonObject probeDiscovery()
{
    QJsonObject report;
    report.insert(QStringLiteral("umaskBefore"), int(currentUmask()));

    QJsonArray discoveryMessages;
    {
        ProbeRecorder recorder;
        QScopedPointer<Helper> helper(new Helper);
        QObject::connect(helper.data(), &Helper::progressStepCountChanged, &recorder,
                         &ProbeRecorder::recordStepCount);
        QObject::connect(helper.data(), &Helper::progressCurStepChanged, &recorder,
                         &ProbeRecorder::recordCurrentStep);
        helper->discover();

        report.insert(QStringLiteral("umaskAfter"), int(currentUmask()));
        report.insert(QStringLiteral("stores"), storesOf(*helper));
        report.insert(QStringLiteral("unitStatus"), statusName(helper->status()));
        report.insert(QStringLiteral("globalStatus"), statusName(helper->globalStatus()));
        report.insert(QStringLiteral("candidates"), candidatesOf(*helper));
        report.insert(QStringLiteral("voteTableOrder"), voteTableOrderOf(*helper));
        addUnitSerial(*helper, report);
        addHardwareFacts(*helper, report);
        destroyAndCountDevices(helper, report);
        report.insert(QStringLiteral("signals"), recorder.signalLog());
        discoveryMessages = recorder.messages();
    }
    report.insert(QStringLiteral("messages"), discoveryMessages);
    return report;
}

QJsonObject probeQuickSerial()
{
    ProbeRecorder recorder;
    QJsonObject report;
    report.insert(QStringLiteral("quick"), nullableText(Helper::quickNonValidatedSerial()));
    report.insert(QStringLiteral("messages"), recorder.messages());
    return report;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString mode = arguments.value(1);

    QJsonObject report;
    if (mode == QLatin1String("discover")) {
        report = probeDiscovery();
        report.insert(QStringLiteral("quickAfterwards"), probeQuickSerial());
    } else if (mode == QLatin1String("quick")) {
        report = probeQuickSerial();
    } else {
        std::fprintf(stderr, "usage: hwprobe discover|quick\n");
        return 2;
    }
    const QByteArray json = QJsonDocument(report).toJson(QJsonDocument::Indented);
    std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
    return 0;
}
