// The real library, at the unit's real paths, on simulated units: discovery, hardware facts, the quick
// serial and what is left on disk afterwards.
#include "filesnapshot.h"
#include "probereport.h"
#include "sandbox.h"
#include "systemtestpaths.h"

#include <QJsonArray>
#include <QtTest>

#include <sys/stat.h>

using ProbeReport::messageLines;
using ProbeReport::sorted;
using ProbeReport::storeStatuses;
using ProbeReport::textList;

namespace {

const char cachePath[] = "/var/local/qorhwinfo/serial.cache";
const QString referenceSerial = QStringLiteral("I123456");

QString loadFailure(const QString &what)
{
    return QStringLiteral("debug: void hmi::HwInfoHelper::discover() \"%1\" ").arg(what);
}

const QString noCacheFile = loadFailure(
    QStringLiteral("Serials File: could not open io device for reading: No such file or directory"));

QString cacheNotWritable(const QString &error)
{
    return QStringLiteral("critical: Error opening \"Serials File\" eeprom ioDev: \"%1\" ").arg(error);
}

// The probe's report on the built unit; an empty one when it could not run.
QJsonObject probe(const Sandbox &sandbox, const QString &mode)
{
    const SandboxResult result = sandbox.run(QStringLiteral(QOR_SYSTEMTEST_PROBE), QStringList { mode });
    QString error;
    const QJsonObject report = result.json(&error);
    if (result.exitCode != 0 || !error.isEmpty())
        qWarning("hwprobe %s: %s %s", qPrintable(mode), qPrintable(result.describe()), qPrintable(error));
    return report;
}

} // namespace

/** Runs the probe inside the sandbox and checks the report and the files it leaves. */
class SystemDiscoveryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void discovery_data();
    void discovery();
    void fpgaUid_data();
    void fpgaUid();
    void quickSerial_data();
    void quickSerial();
};

void SystemDiscoveryTest::initTestCase()
{
    // Children inherit it: the cache file's mode then tells whether the library narrowed it to 003.
    ::umask(022);
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_PROBE)).isExecutable(), QOR_SYSTEMTEST_PROBE);
}

void SystemDiscoveryTest::discovery_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("statuses"); // bf cb com file ut
    QTest::addColumn<QStringList>("candidates"); // empty for a tie, whose order is that of the vote table
    QTest::addColumn<QString>("unitSerial");
    QTest::addColumn<bool>("cacheCreated");
    QTest::addColumn<QStringList>("messages");

    const QString allOk = QStringLiteral("OK OK OK OK OK");
    const QStringList twoSerials { QStringLiteral("I111111"), QStringLiteral("I222222") };

    QTest::newRow("healthy, first run") << healthyUnitWith() << allOk << QStringList { referenceSerial }
                                        << referenceSerial << true << QStringList { noCacheFile };
    QTest::newRow("all blank or missing")
        << healthyUnitWith(
               { "store com blank-ff", "store cb blank-ff", "store bf blank-00", "store ut blank-ff" })
        << "ERROR ERROR OK OK ERROR" << QStringList() << QString() << false
        << QStringList { loadFailure(QStringLiteral("Beamformer Board: is blank")),
                         loadFailure(QStringLiteral("Carrier Board: is blank")),
                         loadFailure(QStringLiteral("COM Module: is blank")),
                         loadFailure(QStringLiteral("Mono-Element Board: is blank")), noCacheFile };
    QTest::newRow("two votes against one")
        << healthyUnitWith(
               { storeRecord("com", "I222222"), storeRecord("cb", "I111111"), storeRecord("bf", "I111111") })
        << allOk << twoSerials << QString() << false << QStringList { noCacheFile };
    QTest::newRow("a tie") << healthyUnitWith(
        { "store com blank-ff", storeRecord("cb", "I222222"), storeRecord("bf", "I111111") })
                           << allOk << QStringList() << QString() << false
                           << QStringList { loadFailure(QStringLiteral("COM Module: is blank")),
                                            noCacheFile };
    QTest::newRow("all four agree") << healthyUnitWith({ storeRecord("file", referenceSerial) }) << allOk
                                    << QStringList { referenceSerial } << referenceSerial << false
                                    << QStringList();
    QTest::newRow("cache directory missing")
        << healthyUnitWith({ "cache_dir missing" }) << allOk << QStringList { referenceSerial }
        << referenceSerial << false
        << QStringList { cacheNotWritable(QStringLiteral("No such file or directory")), noCacheFile };
    QTest::newRow("cache directory read-only")
        << healthyUnitWith({ "cache_dir readonly" }) << allOk << QStringList { referenceSerial }
        << referenceSerial << false
        << QStringList { cacheNotWritable(QStringLiteral("Read-only file system")), noCacheFile };
}

void SystemDiscoveryTest::discovery()
{
    QFETCH(QString, unit);
    QFETCH(QString, statuses);
    QFETCH(QStringList, candidates);
    QFETCH(QString, unitSerial);
    QFETCH(bool, cacheCreated);
    QFETCH(QStringList, messages);

    Sandbox sandbox;
    QCOMPARE(sandbox.build(unit).exitCode, 0);
    const FileSnapshot before = FileSnapshot::take(sandbox.root());
    const QJsonObject report = probe(sandbox, QStringLiteral("discover"));
    const FileSnapshot after = FileSnapshot::take(sandbox.root());

    QCOMPARE(storeStatuses(report), statuses);
    QCOMPARE(report.value(QStringLiteral("unitStatus")).toString(), QStringLiteral("OK"));
    QCOMPARE(report.value(QStringLiteral("globalStatus")).toString(),
             QLatin1String(statuses.contains(QLatin1String("ERROR")) ? "ERROR" : "OK"));
    const QStringList found = textList(report.value(QStringLiteral("candidates")));
    QCOMPARE(found,
             candidates.isEmpty() && found.size() == 2 ? textList(report.value("voteTableOrder"))
                                                       : candidates);
    QCOMPARE(report.value(QStringLiteral("unitSerial")).toString(), unitSerial);
    QCOMPARE(report.value(QStringLiteral("unitSerial")).isNull(), unitSerial.isNull());
    // A board that cannot be read reports the serial 0.
    QCOMPARE(report.value(QStringLiteral("bfSerial")).toInt(),
             statuses.startsWith(QLatin1String("OK")) ? 7654321 : 0);
    QCOMPARE(report.value(QStringLiteral("cbSerial")).toInt(),
             statuses.section(' ', 1, 1) == "OK" ? 1234567 : 0);
    QCOMPARE(report.value(QStringLiteral("mac")).toString(), QStringLiteral("02:fc:00:00:00:01"));
    QCOMPARE(report.value(QStringLiteral("comSerial")).toString(), QStringLiteral("ABC123456789"));
    QCOMPARE(report.value(QStringLiteral("fpgaUid")).toString(), QStringLiteral("0a5f"));
    QCOMPARE(messageLines(report), sorted(messages));
    QCOMPARE(report.value(QStringLiteral("devicesOwnedByHelper")).toInt(), 5);
    QCOMPARE(report.value(QStringLiteral("devicesAliveAfterDestruction")).toInt(), 0);

    // The board images stay as they were; only a cache file may appear, rw-rw-r-- under the umask 022.
    QCOMPARE(before.differences(after),
             cacheCreated ? QStringList { QLatin1String(cachePath) } : QStringList());
    if (!cacheCreated)
        return;
    QCOMPARE(QString::number(after.entry(cachePath).mode, 8), QStringLiteral("664"));
    QCOMPARE(report.value("quickAfterwards").toObject().value("quick").toString(), unitSerial);

    // A second run finds the record that the first one wrote, counts its vote once and writes nothing.
    const QJsonObject second = probe(sandbox, QStringLiteral("discover"));
    QCOMPARE(after.differences(FileSnapshot::take(sandbox.root())), QStringList());
    QCOMPARE(textList(second.value(QStringLiteral("candidates"))), candidates);
    QCOMPARE(storeStatuses(second), statuses);
    messages.removeAll(noCacheFile);
    QCOMPARE(messageLines(second), sorted(messages));
    QCOMPARE(second.value("stores").toObject().value("file").toObject().value("record").toObject(),
             (QJsonObject { { "unit", referenceSerial },
                            { "cb", 1234567 },
                            { "bf", 7654321 },
                            { "fpgaUid", "0a5f" },
                            { "com", "ABC123456789" },
                            { "mac", "02:fc:00:00:00:01" } }));
}

void SystemDiscoveryTest::fpgaUid_data()
{
    QTest::addColumn<QString>("fpga");
    QTest::addColumn<QString>("fpgaUid");

    QTest::newRow("no UIO device") << "none" << QString();
    QTest::newRow("UIO device without maps") << "nomaps" << QString();
    QTest::newRow("0x00000000") << "0x00000000"
                                << "0000";
    QTest::newRow("0xFFFFFFFF") << "0xffffffff"
                                << "ffff";
    QTest::newRow("0x000100AB") << "0x000100ab"
                                << "00ab";
}

void SystemDiscoveryTest::fpgaUid()
{
    QFETCH(QString, fpga);
    QFETCH(QString, fpgaUid);

    Sandbox sandbox;
    QCOMPARE(
        sandbox.build(healthyUnitWith({ "fpga " + fpga, storeRecord("file", referenceSerial) })).exitCode, 0);
    const QJsonObject report = probe(sandbox, QStringLiteral("discover"));

    QCOMPARE(report.value(QStringLiteral("fpgaUid")).toString(), fpgaUid);
    QCOMPARE(report.value(QStringLiteral("fpgaUid")).isNull(), fpgaUid.isNull());
    // Every store holds the record, so anything logged would come from reading the FPGA.
    QCOMPARE(messageLines(report), QStringList());
    QCOMPARE(report.value(QStringLiteral("globalStatus")).toString(), QStringLiteral("OK"));
}

void SystemDiscoveryTest::quickSerial_data()
{
    QTest::addColumn<QString>("cache");
    QTest::addColumn<QString>("serial");

    QTest::newRow("no cache file") << "store file missing" << QString();
    QTest::newRow("empty cache file") << "store file empty" << QString();
    QTest::newRow("damaged frame") << "store file corrupt unit=I004217" << QString();
    QTest::newRow("good record") << storeRecord("file", "I004217") << "I004217";
    QTest::newRow("record without unit") << "store file record cb=u32:1234567" << QString();
    QTest::newRow("unit that is no serial") << storeRecord("file", "12") << "12";
}

void SystemDiscoveryTest::quickSerial()
{
    QFETCH(QString, cache);
    QFETCH(QString, serial);

    Sandbox sandbox;
    QCOMPARE(sandbox.build(healthyUnitWith({ cache })).exitCode, 0);
    const FileSnapshot before = FileSnapshot::take(sandbox.root());
    const QJsonObject report = probe(sandbox, QStringLiteral("quick"));

    QCOMPARE(report.value(QStringLiteral("quick")).toString(), serial);
    QCOMPARE(report.value(QStringLiteral("quick")).isNull(), serial.isNull());
    QCOMPARE(messageLines(report), QStringList());
    QCOMPARE(before.differences(FileSnapshot::take(sandbox.root())), QStringList());
}

QTEST_GUILESS_MAIN(SystemDiscoveryTest)

#include "tst_systemdiscovery.moc"
