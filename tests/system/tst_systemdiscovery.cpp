// The real library, at the unit's real paths, on simulated units: discovery, hardware facts, the quick
// serial and what is left on disk afterwards.
#include "filesnapshot.h"
#include "sandbox.h"
#include "systemtestpaths.h"

#include <QJsonArray>
#include <QtTest>

#include <sys/stat.h>

namespace {

const char cachePath[] = "/var/local/qorhwinfo/serial.cache";
const mode_t outerUmask = 022;
const int storeCount = 5;

enum CacheExpectation { CacheUntouched, CacheCreated, CacheRewritten };

QString loadFailure(const QString &what)
{
    return QStringLiteral("debug: void hmi::HwInfoHelper::discover() \"%1\" ").arg(what);
}

QString noCacheFile()
{
    return loadFailure(
        QStringLiteral("Serials File: could not open io device for reading: No such file or directory"));
}

QString cacheNotWritable(const QString &error)
{
    return QStringLiteral("critical: Error opening \"Serials File\" eeprom ioDev: \"%1\" ").arg(error);
}

QStringList messageLines(const QJsonArray &messages)
{
    QStringList lines;
    for (const QJsonValue &message : messages) {
        const QJsonObject object = message.toObject();
        lines.append(object.value(QStringLiteral("level")).toString() + QStringLiteral(": ")
                     + object.value(QStringLiteral("text")).toString());
    }
    lines.sort();
    return lines;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QStringList textList(const QJsonValue &value)
{
    QStringList texts;
    for (const QJsonValue &item : value.toArray())
        texts.append(item.toString());
    return texts;
}

QJsonArray expectedSignals()
{
    QJsonArray expected { QJsonArray { QStringLiteral("progressStepCountChanged"), storeCount + 2 } };
    for (int step = 0; step <= storeCount + 1; ++step)
        expected.append(QJsonArray { QStringLiteral("progressCurStepChanged"), step });
    return expected;
}

QString storeStatuses(const QJsonObject &report)
{
    const QJsonObject stores = report.value(QStringLiteral("stores")).toObject();
    QStringList statuses;
    for (const char *key : { "bf", "cb", "com", "file", "ut" }) {
        statuses.append(
            stores.value(QLatin1String(key)).toObject().value(QStringLiteral("status")).toString());
    }
    return statuses.join(QLatin1Char(' '));
}

QJsonObject healthyRecord(const QString &unit)
{
    return QJsonObject { { QStringLiteral("unit"), unit },
                         { QStringLiteral("cb"), 1234567 },
                         { QStringLiteral("bf"), 7654321 },
                         { QStringLiteral("fpgaUid"), QStringLiteral("0a5f") },
                         { QStringLiteral("com"), QStringLiteral("ABC123456789") },
                         { QStringLiteral("mac"), QStringLiteral("02:fc:00:00:00:01") } };
}

} // namespace

Q_DECLARE_METATYPE(CacheExpectation)

/** Runs the probe inside the sandbox and checks the report and the files it leaves. */
class SystemDiscoveryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void discovery_data();
    void discovery();
    void secondDiscoveryWritesNothing();
    void fpgaUid_data();
    void fpgaUid();
    void quickSerial_data();
    void quickSerial();

private:
    bool buildUnit(Sandbox &sandbox, const QString &unitName);
    bool probe(const Sandbox &sandbox, const QString &mode, QJsonObject *report);
    void checkCommonDiscoveryFacts(const QJsonObject &report);
    void checkCache(const FileSnapshot &before, const FileSnapshot &after, CacheExpectation expectation);
};

void SystemDiscoveryTest::initTestCase()
{
    // Children inherit it: the cache file's mode then tells whether the library narrowed it to 003.
    ::umask(outerUmask);
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_SANDBOX)).isExecutable(), QOR_SYSTEMTEST_SANDBOX);
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_PROBE)).isExecutable(), QOR_SYSTEMTEST_PROBE);
}

bool SystemDiscoveryTest::buildUnit(Sandbox &sandbox, const QString &unitName)
{
    const SandboxResult built = sandbox.build(unitName);
    if (built.finished && built.exitCode == 0)
        return true;
    qWarning("building %s: %s", qPrintable(unitName), qPrintable(built.describe()));
    return false;
}

bool SystemDiscoveryTest::probe(const Sandbox &sandbox, const QString &mode, QJsonObject *report)
{
    const SandboxResult result = sandbox.run(QStringLiteral(QOR_SYSTEMTEST_PROBE), QStringList { mode });
    if (!result.finished || result.exitCode != 0) {
        qWarning("hwprobe %s: %s", qPrintable(mode), qPrintable(result.describe()));
        return false;
    }
    QString error;
    *report = result.json(&error);
    if (!error.isEmpty()) {
        qWarning("hwprobe %s printed no report: %s", qPrintable(mode), qPrintable(error));
        return false;
    }
    return true;
}

void SystemDiscoveryTest::checkCommonDiscoveryFacts(const QJsonObject &report)
{
    QCOMPARE(report.value(QStringLiteral("signals")).toArray(), expectedSignals());
    QCOMPARE(report.value(QStringLiteral("umaskBefore")).toInt(), int(outerUmask));
    QCOMPARE(report.value(QStringLiteral("umaskAfter")).toInt(), int(outerUmask));
    QCOMPARE(report.value(QStringLiteral("devices")).toInt(), storeCount);
    QCOMPARE(report.value(QStringLiteral("devicesOwnedByHelper")).toInt(), storeCount);
    QCOMPARE(report.value(QStringLiteral("helperChildDevices")).toInt(), storeCount);
    QCOMPARE(report.value(QStringLiteral("devicesAliveAfterDestruction")).toInt(), 0);
}

void SystemDiscoveryTest::checkCache(const FileSnapshot &before, const FileSnapshot &after,
                                     CacheExpectation expectation)
{
    const QString cache = QLatin1String(cachePath);
    QStringList changed = before.differences(after);
    const bool cacheChanged = changed.removeAll(cache) > 0;
    QVERIFY2(changed.isEmpty(), qPrintable(QStringLiteral("touched: ") + changed.join(QStringLiteral(", "))));

    switch (expectation) {
    case CacheUntouched:
        QVERIFY(!cacheChanged);
        break;
    case CacheCreated:
        QVERIFY(!before.contains(cache));
        QVERIFY(after.contains(cache));
        QCOMPARE(QString::number(after.entry(cache).mode, 8), QStringLiteral("664"));
        break;
    case CacheRewritten:
        QVERIFY(before.contains(cache));
        QVERIFY(cacheChanged);
        QCOMPARE(after.entry(cache).mode, before.entry(cache).mode);
        break;
    }
}

void SystemDiscoveryTest::discovery_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("statuses"); // bf cb com file ut
    QTest::addColumn<QString>("globalStatus");
    QTest::addColumn<QStringList>("candidates");
    QTest::addColumn<bool>("candidateOrderKnown");
    QTest::addColumn<QString>("unitSerial");
    QTest::addColumn<uint>("cbSerial");
    QTest::addColumn<uint>("bfSerial");
    QTest::addColumn<CacheExpectation>("cache");
    QTest::addColumn<QStringList>("messages");

    const QStringList oneSerial { QStringLiteral("I123456") };
    const QString adopted = QStringLiteral("I123456");
    const QString allOk = QStringLiteral("OK OK OK OK OK");
    const QString ok = QStringLiteral("OK");
    const QString error = QStringLiteral("ERROR");

    QTest::newRow("healthy, first run")
        << "healthy" << allOk << ok << oneSerial << true << adopted << 1234567u << 7654321u << CacheCreated
        << QStringList { noCacheFile() };
    QTest::newRow("all blank or missing")
        << "blank"
        << "ERROR ERROR OK OK ERROR" << error << QStringList() << true << QString() << 0u << 0u
        << CacheUntouched
        << QStringList { loadFailure(QStringLiteral("Beamformer Board: is blank")),
                         loadFailure(QStringLiteral("Carrier Board: is blank")),
                         loadFailure(QStringLiteral("COM Module: is blank")),
                         loadFailure(QStringLiteral("Mono-Element Board: is blank")), noCacheFile() };
    QTest::newRow("two votes against one")
        << "disagree" << allOk << ok << QStringList { QStringLiteral("I111111"), QStringLiteral("I222222") }
        << true << QString() << 1234567u << 7654321u << CacheUntouched << QStringList { noCacheFile() };
    QTest::newRow("a tie") << "tie" << allOk << ok
                           << QStringList { QStringLiteral("I111111"), QStringLiteral("I222222") } << false
                           << QString() << 1234567u << 7654321u << CacheUntouched
                           << QStringList { loadFailure(QStringLiteral("COM Module: is blank")),
                                            noCacheFile() };
    QTest::newRow("all four agree") << "agree" << allOk << ok << oneSerial << true << adopted << 1234567u
                                    << 7654321u << CacheUntouched << QStringList();
    QTest::newRow("cache directory missing")
        << "cachedir-missing" << allOk << ok << oneSerial << true << adopted << 1234567u << 7654321u
        << CacheUntouched
        << QStringList { cacheNotWritable(QStringLiteral("No such file or directory")), noCacheFile() };
    QTest::newRow("cache directory read-only")
        << "cachedir-readonly" << allOk << ok << oneSerial << true << adopted << 1234567u << 7654321u
        << CacheUntouched
        << QStringList { cacheNotWritable(QStringLiteral("Read-only file system")), noCacheFile() };
    QTest::newRow("mono-element board unreadable")
        << "ut-unreadable"
        << "OK OK OK OK ERROR" << error << oneSerial << true << adopted << 1234567u << 7654321u
        << CacheCreated
        << QStringList { loadFailure(QStringLiteral(
                             "Mono-Element Board: could not open io device for reading: file to "
                             "open is a directory")),
                         noCacheFile() };
    QTest::newRow("only the cache names the serial")
        << "cache-only"
        << "ERROR ERROR OK OK OK" << error << oneSerial << true << adopted << 0u << 0u << CacheUntouched
        << QStringList { loadFailure(QStringLiteral("Beamformer Board: is blank")),
                         loadFailure(QStringLiteral("Carrier Board: is blank")),
                         loadFailure(QStringLiteral("COM Module: is blank")) };
    QTest::newRow("damaged cache is rewritten")
        << "cache-damaged" << allOk << ok << oneSerial << true << adopted << 1234567u << 7654321u
        << CacheRewritten << QStringList { loadFailure(QStringLiteral("Serials File: corrupted")) };
}

void SystemDiscoveryTest::discovery()
{
    QFETCH(QString, unit);
    QFETCH(QString, statuses);
    QFETCH(QString, globalStatus);
    QFETCH(QStringList, candidates);
    QFETCH(bool, candidateOrderKnown);
    QFETCH(QString, unitSerial);
    QFETCH(uint, cbSerial);
    QFETCH(uint, bfSerial);
    QFETCH(CacheExpectation, cache);
    QFETCH(QStringList, messages);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, unit));
    const FileSnapshot before = FileSnapshot::take(sandbox.root());
    QJsonObject report;
    QVERIFY(probe(sandbox, QStringLiteral("discover"), &report));
    const FileSnapshot after = FileSnapshot::take(sandbox.root());

    QCOMPARE(storeStatuses(report), statuses);
    QCOMPARE(report.value(QStringLiteral("unitStatus")).toString(), QStringLiteral("OK"));
    QCOMPARE(report.value(QStringLiteral("globalStatus")).toString(), globalStatus);
    const QStringList found = textList(report.value(QStringLiteral("candidates")));
    QCOMPARE(sorted(found), sorted(candidates));
    if (candidateOrderKnown)
        QCOMPARE(found, candidates);
    else
        QCOMPARE(found, textList(report.value(QStringLiteral("voteTableOrder"))));
    QCOMPARE(report.value(QStringLiteral("unitSerial")).isNull(), unitSerial.isNull());
    QCOMPARE(report.value(QStringLiteral("unitSerial")).toString(), unitSerial);
    QVERIFY(report.value(QStringLiteral("unitSerialThrew")).isNull());
    QCOMPARE(report.value(QStringLiteral("cbSerial")).toDouble(), double(cbSerial));
    QCOMPARE(report.value(QStringLiteral("bfSerial")).toDouble(), double(bfSerial));
    QCOMPARE(report.value(QStringLiteral("mac")).toString(), QStringLiteral("02:fc:00:00:00:01"));
    QCOMPARE(report.value(QStringLiteral("comSerial")).toString(), QStringLiteral("ABC123456789"));
    QCOMPARE(report.value(QStringLiteral("fpgaUid")).toString(), QStringLiteral("0a5f"));
    QCOMPARE(messageLines(report.value(QStringLiteral("messages")).toArray()), sorted(messages));
    checkCommonDiscoveryFacts(report);
    checkCache(before, after, cache);

    if (cache != CacheUntouched) {
        const QJsonObject quick = report.value(QStringLiteral("quickAfterwards")).toObject();
        QCOMPARE(quick.value(QStringLiteral("quick")).toString(), unitSerial);
    }
}

void SystemDiscoveryTest::secondDiscoveryWritesNothing()
{
    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, QStringLiteral("healthy")));
    QJsonObject first;
    QVERIFY(probe(sandbox, QStringLiteral("discover"), &first));
    QVERIFY(QFileInfo::exists(sandbox.hostPath(QLatin1String(cachePath))));
    const FileSnapshot afterFirst = FileSnapshot::take(sandbox.root());

    QJsonObject second;
    QVERIFY(probe(sandbox, QStringLiteral("discover"), &second));
    QCOMPARE(afterFirst.differences(FileSnapshot::take(sandbox.root())), QStringList());

    // The cache file now votes too, and is read back with exactly what the first run wrote.
    QCOMPARE(textList(second.value(QStringLiteral("candidates"))), QStringList { QStringLiteral("I123456") });
    QCOMPARE(second.value(QStringLiteral("unitSerial")).toString(), QStringLiteral("I123456"));
    QCOMPARE(storeStatuses(second), QStringLiteral("OK OK OK OK OK"));
    const QJsonObject cacheStore
        = second.value(QStringLiteral("stores")).toObject().value(QStringLiteral("file")).toObject();
    QCOMPARE(cacheStore.value(QStringLiteral("record")).toObject(), healthyRecord(QStringLiteral("I123456")));
    QCOMPARE(second.value(QStringLiteral("messages")).toArray(), QJsonArray());
    checkCommonDiscoveryFacts(second);
}

void SystemDiscoveryTest::fpgaUid_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("fpgaUid");

    QTest::newRow("no UIO device") << "fpga-none" << QString();
    QTest::newRow("UIO device without maps") << "fpga-nomaps" << QString();
    QTest::newRow("0x00000000") << "fpga-zero"
                                << "0000";
    QTest::newRow("0xFFFFFFFF") << "fpga-ones"
                                << "ffff";
    QTest::newRow("0x000100AB") << "fpga-100ab"
                                << "00ab";
}

void SystemDiscoveryTest::fpgaUid()
{
    QFETCH(QString, unit);
    QFETCH(QString, fpgaUid);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, unit));
    QJsonObject report;
    QVERIFY(probe(sandbox, QStringLiteral("discover"), &report));

    QCOMPARE(report.value(QStringLiteral("fpgaUid")).isNull(), fpgaUid.isNull());
    QCOMPARE(report.value(QStringLiteral("fpgaUid")).toString(), fpgaUid);
    // Every store holds the record, so anything logged would come from reading the FPGA.
    QCOMPARE(report.value(QStringLiteral("messages")).toArray(), QJsonArray());
    QCOMPARE(report.value(QStringLiteral("unitStatus")).toString(), QStringLiteral("OK"));
    QCOMPARE(report.value(QStringLiteral("globalStatus")).toString(), QStringLiteral("OK"));
}

void SystemDiscoveryTest::quickSerial_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("serial");

    QTest::newRow("no cache file") << "quick-missing" << QString();
    QTest::newRow("empty cache file") << "quick-empty" << QString();
    QTest::newRow("damaged frame") << "quick-damaged" << QString();
    QTest::newRow("good record") << "quick-good"
                                 << "I004217";
    QTest::newRow("record without unit") << "quick-nounit" << QString();
    QTest::newRow("unit that is no serial") << "quick-notserial"
                                            << "12";
}

void SystemDiscoveryTest::quickSerial()
{
    QFETCH(QString, unit);
    QFETCH(QString, serial);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, unit));
    const FileSnapshot before = FileSnapshot::take(sandbox.root());
    QJsonObject report;
    QVERIFY(probe(sandbox, QStringLiteral("quick"), &report));

    QCOMPARE(report.value(QStringLiteral("quick")).isNull(), serial.isNull());
    QCOMPARE(report.value(QStringLiteral("quick")).toString(), serial);
    QCOMPARE(report.value(QStringLiteral("messages")).toArray(), QJsonArray());
    QCOMPARE(before.differences(FileSnapshot::take(sandbox.root())), QStringList());
}

QTEST_GUILESS_MAIN(SystemDiscoveryTest)

#include "tst_systemdiscovery.moc"
