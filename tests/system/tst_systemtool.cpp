// The qorhwinfo tool as a field-service person and a script use it, on simulated units in the sandbox.
#include "sandbox.h"
#include "systemtestpaths.h"

#include <QJsonArray>
#include <QStandardPaths>
#include <QtTest>

#include <sys/stat.h>

namespace {

const QString tool = QStringLiteral(QOR_SYSTEMTEST_TOOL);

QStringList sortedLines(const QByteArray &text)
{
    QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.sort();
    return lines;
}

QJsonObject candidate(const char *serial, const QStringList &stores)
{
    return QJsonObject { { QStringLiteral("serial"), QLatin1String(serial) },
                         { QStringLiteral("votes"), stores.size() },
                         { QStringLiteral("stores"), QJsonArray::fromStringList(stores) } };
}

} // namespace

/** Runs qorhwinfo inside the sandbox and checks its exit status and what it prints. */
class SystemToolTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void quick_data();
    void quick();
    void discover_data();
    void discover();
    void json_data();
    void json();
    void usageErrors_data();
    void usageErrors();
    void progressBarOnATerminal();
};

void SystemToolTest::initTestCase()
{
    ::umask(022);
    QVERIFY2(QFileInfo(tool).isExecutable(), QOR_SYSTEMTEST_TOOL);
}

void SystemToolTest::quick_data()
{
    QTest::addColumn<QString>("cache");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("out");

    QTest::newRow("good record") << storeRecord("file", "I004217") << 0 << QByteArray("I004217\n");
    QTest::newRow("no cache file") << "store file missing" << 1 << QByteArray();
}

void SystemToolTest::quick()
{
    QFETCH(QString, cache);
    QFETCH(int, exitCode);

    Sandbox sandbox;
    QCOMPARE(sandbox.build(healthyUnitWith({ cache })).exitCode, 0);
    const SandboxResult result = sandbox.run(tool, QStringList { QStringLiteral("quick") });

    QCOMPARE(result.exitCode, exitCode);
    QTEST(result.out, "out");
    QCOMPARE(result.err.isEmpty(), exitCode == 0);
}

void SystemToolTest::discover_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("lines"); // on stdout, in this order
    QTest::addColumn<QStringList>("log"); // stderr, in any order

    const QStringList discover { QStringLiteral("discover") };
    const QString loadFailure = QStringLiteral("void hmi::HwInfoHelper::discover() \"%1\" ");

    const QString noCacheFile = loadFailure.arg(
        QStringLiteral("Serials File: could not open io device for reading: No such file or directory"));

    QTest::newRow("healthy, with records") << healthyUnitWith() << QStringList { "discover", "-v" } << 0
                                           << QStringList { "Unit serial      I123456  (3 votes: Beamformer "
                                                            "Board, Carrier Board, COM Module)",
                                                            "          mac        \"02:fc:00:00:00:01\"\n",
                                                            "          unit       \"I123456\"\n",
                                                            "  file  Serials File         OK",
                                                            "          serial     42\n",
                                                            "Serials cache    written by this run",
                                                            "  FPGA UID                  0a5f",
                                                            "  Carrier board serial      1234567",
                                                            "  Unit and all stores       OK" }
                                           << QStringList { noCacheFile };
    QTest::newRow("all four agree")
        << healthyUnitWith({ storeRecord("file", "I123456") }) << discover << 0
        << QStringList { "Unit serial      I123456  (4 votes: Beamformer Board, Carrier "
                         "Board, COM Module, Serials File)",
                         "Serials cache    unchanged: it already held a record" }
        << QStringList();
    QTest::newRow("disagreeing stores")
        << healthyUnitWith(
               { storeRecord("com", "I222222"), storeRecord("cb", "I111111"), storeRecord("bf", "I111111") })
        << discover << 1
        << QStringList { "Unit serial      none: the stores name 2 different serials",
                         "    I111111     2 votes: Beamformer Board, Carrier Board",
                         "    I222222     1 vote: COM Module",
                         "Serials cache    not written: no unit serial was adopted" }
        << QStringList();
    QTest::newRow("blank, debug messages with --verbose")
        << healthyUnitWith(
               { "store com blank-ff", "store cb blank-ff", "store bf blank-00", "store ut blank-ff" })
        << QStringList { "discover", "--verbose" } << 1
        << QStringList { "Unit serial      none: no store holds an identity record",
                         "  cb    Carrier Board        ERROR", "          Carrier Board: is blank",
                         "  Unit                      OK", "  Unit and all stores       ERROR" }
        << QStringList { loadFailure.arg("Beamformer Board: is blank"),
                         loadFailure.arg("COM Module: is blank"), loadFailure.arg("Carrier Board: is blank"),
                         loadFailure.arg("Mono-Element Board: is blank"), noCacheFile };
    QTest::newRow("read-only cache directory")
        << healthyUnitWith({ "cache_dir readonly" }) << discover << 0
        << QStringList { "Unit serial      I123456",
                         "          Error opening \"Serials File\" eeprom ioDev: \"Read-only file system\"",
                         "Serials cache    could not be written" }
        << QStringList { "Error opening \"Serials File\" eeprom ioDev: \"Read-only file system\" " };
    QTest::newRow("no FPGA") << healthyUnitWith({ "fpga none" }) << discover << 0
                             << QStringList { "  FPGA UID                  not available" } << QStringList();
}

void SystemToolTest::discover()
{
    QFETCH(QString, unit);
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, lines);
    QFETCH(QStringList, log);
    log.sort();

    Sandbox sandbox;
    QCOMPARE(sandbox.build(unit).exitCode, 0);
    const SandboxResult result = sandbox.run(tool, arguments);

    QTEST(result.exitCode, "exitCode");
    const QString out = QString::fromUtf8(result.out);
    int from = 0;
    for (const QString &line : lines) {
        const int at = out.indexOf(line, from);
        QVERIFY2(at >= 0,
                 qPrintable(QStringLiteral("missing, or out of order: \"%1\" in\n%2").arg(line, out)));
        from = at + line.size();
    }
    QCOMPARE(sortedLines(result.err), log);
}

void SystemToolTest::json_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QJsonArray>("candidates");
    QTest::addColumn<QString>("serialsCache");
    QTest::addColumn<QString>("statuses"); // bf cb com file ut

    QTest::newRow("healthy") << healthyUnitWith()
                             << QJsonArray { candidate("I123456", { "bf", "cb", "com" }) } << "written"
                             << "OK OK OK OK OK";
    QTest::newRow("two against one") << healthyUnitWith(
        { storeRecord("com", "I222222"), storeRecord("cb", "I111111"), storeRecord("bf", "I111111") })
                                     << QJsonArray { candidate("I111111", { "bf", "cb" }),
                                                     candidate("I222222", { "com" }) }
                                     << "unchanged"
                                     << "OK OK OK OK OK";
    QTest::newRow("cache only") << healthyUnitWith(
        { "store com blank-ff", "store cb blank-ff", "store bf blank-ff", storeRecord("file", "I123456") })
                                << QJsonArray { candidate("I123456", { "file" }) } << "unchanged"
                                << "ERROR ERROR OK OK OK";
    QTest::newRow("cache not writable")
        << healthyUnitWith({ "cache_dir missing" })
        << QJsonArray { candidate("I123456", { "bf", "cb", "com" }) } << "writeFailed"
        << "OK OK OK OK OK";
}

void SystemToolTest::json()
{
    QFETCH(QString, unit);
    QFETCH(QJsonArray, candidates);
    QFETCH(QString, statuses);

    Sandbox sandbox;
    QCOMPARE(sandbox.build(unit).exitCode, 0);
    const SandboxResult result = sandbox.run(tool, { QStringLiteral("discover"), QStringLiteral("--json") });
    QString error;
    const QJsonObject report = result.json(&error);
    QVERIFY2(error.isEmpty(), qPrintable(error));

    const bool adopted = candidates.size() == 1;
    QCOMPARE(result.exitCode, adopted ? 0 : 1);
    QCOMPARE(report.value(QStringLiteral("candidates")).toArray(), candidates);
    QTEST(report.value(QStringLiteral("serialsCache")).toString(), "serialsCache");
    QCOMPARE(report.value(QStringLiteral("unitSerial")),
             adopted ? candidates.first().toObject().value(QStringLiteral("serial")) : QJsonValue());
    QStringList found;
    for (const char *key : { "bf", "cb", "com", "file", "ut" })
        found.append(report.value("stores").toObject().value(key).toObject().value("status").toString());
    QCOMPARE(found.join(' '), statuses);
    const bool boardsRead = statuses.startsWith(QLatin1String("OK"));
    QCOMPARE(report.value(QStringLiteral("hardware")).toObject(),
             (QJsonObject { { "mac", "02:fc:00:00:00:01" },
                            { "comSerial", "ABC123456789" },
                            { "fpgaUid", "0a5f" },
                            { "cbSerial", boardsRead ? 1234567 : 0 },
                            { "bfSerial", boardsRead ? 7654321 : 0 } }));
}

void SystemToolTest::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("no command") << QStringList();
    QTest::newRow("unknown option") << QStringList { "discover", "--bogus" };
    QTest::newRow("quick with an option") << QStringList { "quick", "--json" };
}

void SystemToolTest::usageErrors()
{
    QFETCH(QStringList, arguments);

    Sandbox sandbox;
    QCOMPARE(sandbox.build(healthyUnitWith()).exitCode, 0);
    const SandboxResult result = sandbox.run(tool, arguments);

    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.out, QByteArray());
    QVERIFY2(result.err.contains("Try \"qorhwinfo --help\"."), result.err.constData());
    // A discovery would have written the cache file of this unit.
    QVERIFY(!QFileInfo::exists(sandbox.hostPath(QStringLiteral("/var/local/qorhwinfo/serial.cache"))));
}

// On a pipe the tests above already see no bar; script(1) gives the tool a terminal.
void SystemToolTest::progressBarOnATerminal()
{
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty())
        QSKIP("script(1) is not installed");

    Sandbox sandbox;
    QCOMPARE(sandbox.build(healthyUnitWith()).exitCode, 0);
    QProcess process;
    const QString command = QStringLiteral("%1 --root %2 -- %3 discover")
                                .arg(QStringLiteral(QOR_SYSTEMTEST_SANDBOX), sandbox.root(), tool);
    process.start(script, QStringList { QStringLiteral("-qec"), command, QStringLiteral("/dev/null") });
    QVERIFY(process.waitForFinished(120 * 1000));
    QCOMPARE(process.exitCode(), 0);
    const QByteArray screen = process.readAllStandardOutput();
    QVERIFY2(screen.contains("\r\033[K[############################] 7/7 Done"), screen.constData());
    QVERIFY2(screen.contains("\r\033[KUnit serial"), screen.constData());
}

QTEST_GUILESS_MAIN(SystemToolTest)

#include "tst_systemtool.moc"
