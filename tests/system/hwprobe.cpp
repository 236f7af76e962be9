// Runs the real library inside a sandboxed unit and prints what it saw as one JSON document:
//   hwprobe discover   construct a helper, discover, query everything, destroy it, then read the quick serial
//   hwprobe quick      only the quick serial, with no helper in existence
#include <qorhwinfo/hwinfohelper.h>

#include <QCoreApplication>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>

#include <cstdio>

namespace {

typedef hmi::HwInfoHelper Helper;

// Every message with its level, {"level": "debug"|"critical"|..., "text": ...}.
QJsonArray messages;

void recordMessage(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    static const char *const levels[] = { "debug", "warning", "critical", "fatal", "info" };
    messages.append(QJsonObject { { QStringLiteral("level"), QLatin1String(levels[type]) },
                                  { QStringLiteral("text"), text } });
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

void addStores(const Helper &helper, QJsonObject &report)
{
    QJsonObject stores;
    for (auto it = helper.eeproms().constBegin(); it != helper.eeproms().constEnd(); ++it) {
        stores.insert(
            it.key(),
            QJsonObject { { QStringLiteral("label"), it->name },
                          { QStringLiteral("status"), statusName(it->status) },
                          { QStringLiteral("record"), QJsonObject::fromVariantMap(it->descriptor) } });
    }
    report.insert(QStringLiteral("stores"), stores);
}

// Qt 5 seeds QHash per process, so the order of serials with equal votes is known only in this process:
// a vote table built the same way, in the same vote order, walks them in the order discovery met them.
void addCandidates(const Helper &helper, QJsonObject &report)
{
    QJsonArray candidates;
    for (const QString &serial : helper.probableSerials())
        candidates.append(nullableText(serial));
    report.insert(QStringLiteral("candidates"), candidates);
    QHash<QString, int> votes;
    for (const char *key : { "bf", "cb", "com", "file" }) {
        const QVariantMap record = helper.eeproms().value(QLatin1String(key)).descriptor;
        if (record.contains(QStringLiteral("unit")))
            ++votes[record.value(QStringLiteral("unit")).toString()];
    }
    QJsonArray order;
    for (auto it = votes.constBegin(); it != votes.constEnd(); ++it)
        order.append(nullableText(it.key()));
    report.insert(QStringLiteral("voteTableOrder"), order);
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

// The helper owns its stores' devices through QObject parenthood and nothing else may keep them alive.
void destroyAndCountDevices(Helper *helper, QJsonObject &report)
{
    QList<QPointer<QIODevice> > devices;
    int owned = 0;
    for (const Helper::EEPROM &store : helper->eeproms()) {
        devices.append(store.ioDev);
        owned += store.ioDev->parent() == helper ? 1 : 0;
    }
    delete helper;
    int alive = 0;
    for (const QPointer<QIODevice> &device : devices)
        alive += device ? 1 : 0;
    report.insert(QStringLiteral("devicesOwnedByHelper"), owned);
    report.insert(QStringLiteral("devicesAliveAfterDestruction"), alive);
}

QJsonObject probeDiscovery()
{
    Helper *helper = new Helper;
    helper->discover();
    QJsonObject report { { QStringLiteral("unitStatus"), statusName(helper->status()) },
                         { QStringLiteral("globalStatus"), statusName(helper->globalStatus()) },
                         { QStringLiteral("mac"), nullableText(helper->mac()) },
                         { QStringLiteral("comSerial"), nullableText(helper->comSerial()) },
                         { QStringLiteral("fpgaUid"), nullableText(helper->fpgaUid()) },
                         { QStringLiteral("cbSerial"), qint64(helper->cbSerial()) },
                         { QStringLiteral("bfSerial"), qint64(helper->bfSerial()) } };
    addStores(*helper, report);
    addCandidates(*helper, report);
    addUnitSerial(*helper, report);
    destroyAndCountDevices(helper, report);
    report.insert(QStringLiteral("messages"), messages);
    messages = QJsonArray();
    return report;
}

QJsonObject probeQuickSerial()
{
    const QString serial = Helper::quickNonValidatedSerial();
    const QJsonObject report { { QStringLiteral("quick"), nullableText(serial) },
                               { QStringLiteral("messages"), messages } };
    messages = QJsonArray();
    return report;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QString mode = QCoreApplication::arguments().value(1);
    qInstallMessageHandler(recordMessage);

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
