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

QJsonObject candidate(const char *serial, const QStringList &stores, bool tied = false)
{
    return QJsonObject { { QStringLiteral("serial"), QLatin1String(serial) },
                         { QStringLiteral("votes"), stores.size() },
                         { QStringLiteral("stores"), QJsonArray::fromStringList(stores) },
                         { QStringLiteral("tied"), tied },
                         { QStringLiteral("wellFormed"), true } };
}

// The sandbox of a row: the unit's root stands for %ROOT% in its command lines.
QStringList stepArguments(const QString &step, const Sandbox &sandbox)
{
    const QString line = QString(step).replace(QLatin1String("%ROOT%"), sandbox.root());
    if (line.startsWith(QLatin1String("sh ")))
        return QStringList() << QLatin1String("/bin/sh") << QLatin1String("-c") << line.mid(3);
    return QStringList() << tool << line.split(QLatin1Char(' '));
}

QString unitFile(const char *name)
{
    QFile file(QLatin1String(QOR_SYSTEMTEST_UNITS) + QLatin1Char('/') + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
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
    void commands_data();
    void commands();
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
    QTest::newRow("tie, by serial") << healthyUnitWith(
        { storeRecord("com", "I222222"), storeRecord("cb", "I111111"), storeRecord("bf", "I222222"),
          storeRecord("file", "I111111") })
                                    << QJsonArray { candidate("I111111", { "cb", "file" }, true),
                                                    candidate("I222222", { "bf", "com" }, true) }
                                    << "unchanged"
                                    << "OK OK OK OK OK";
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
    QCOMPARE(report.value(QStringLiteral("version")).toString(), QStringLiteral(QORHWINFO_VERSION));
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

void SystemToolTest::commands_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QStringList>("steps"); // command lines run one after the other on the unit
    QTest::addColumn<QList<int> >("exitCodes"); // of each step
    QTest::addColumn<QStringList>("lines"); // on the last step's stdout, in this order

    const QString full = healthyUnitWith(QStringList() << "cache_dir full");
    const QString noSpace
        = "could not write record to /var/local/qorhwinfo/serial.cache: No space left on device";
    const QString disagree = unitFile("disagree.unit");
    const QString reference = unitFile("reference.unit");
    const QString cached = unitFile("cached.unit");
    const QString empty = unitFile("emptyserial.unit");
    const QString tie = unitFile("tie.unit");

    // What an application would see, and what the technician needs to know beside it.
    QTest::newRow("full disk: unitSerial() throws")
        << full << (QStringList() << "discover") << (QList<int>() << 3)
        << (QStringList() << "  file  Serials File         ERROR"
                          << "could not be written: " + noSpace
                          << "Serials cache    could not be written: " + noSpace << "unitSerial() throws");
    QTest::newRow("full disk, JSON") << full << (QStringList() << "discover --json") << (QList<int>() << 3)
                                     << (QStringList()
                                         << "\"notes\": ["
                                         << "could not be written: " + noSpace
                                         << "\"serialsCacheError\": \"" + noSpace << "\"exitCode\": 3");
    QTest::newRow("empty serial adopted, cached, voting again")
        << empty
        << (QStringList() << "discover"
                          << "discover")
        << (QList<int>() << 4 << 4)
        << (QStringList() << "Unit serial      (null)  (4 votes"
                          << "MALFORMED"
                          << "qorhwinfo resolve SERIAL");
    QTest::newRow("empty serial, check")
        << empty << (QStringList() << "check") << (QList<int>() << 4)
        << (QStringList() << "  cb    Carrier Board        record     \"\"  MALFORMED"
                          << "MALFORMED: Beamformer Board names"
                          << "Fix: qorhwinfo resolve SERIAL");
    QTest::newRow("empty serial cached")
        << healthyUnitWith(QStringList() << storeRecord("file", "\"\"")) << (QStringList() << "quick")
        << (QList<int>() << 4) << (QStringList() << "\"\"\n");
    QTest::newRow("tie, by serial") << tie << (QStringList() << "discover") << (QList<int>() << 1)
                                    << (QStringList()
                                        << "none: the stores name 2 different serials, tied"
                                        << "    I111111     2 votes: Carrier Board, Serials File  (tied)"
                                        << "    I222222     2 votes: Beamformer Board, COM Module  (tied)");
    QTest::newRow("quick, JSON") << cached << (QStringList() << "quick --json") << (QList<int>() << 0)
                                 << (QStringList() << "\"version\": \"" QORHWINFO_VERSION "\""
                                                   << "\"unitSerial\": \"I004217\"");

    // check and inspect read, and write nothing: the quick read still finds no cache file afterwards.
    QTest::newRow("check, healthy") << reference
                                    << (QStringList() << "check"
                                                      << "check")
                                    << (QList<int>() << 0 << 0)
                                    << (QStringList() << "Unit serial      I123456  (3 votes: bf, cb, com)"
                                                      << "No problem found.");
    QTest::newRow("check writes nothing") << reference
                                          << (QStringList() << "check"
                                                            << "inspect"
                                                            << "quick")
                                          << (QList<int>() << 0 << 0 << 1) << QStringList();
    QTest::newRow("check, disagreeing")
        << disagree << (QStringList() << "check --json") << (QList<int>() << 1)
        << (QStringList() << "\"unitSerial\": null"
                          << "\"state\": \"corrupted\""
                          << "\"problem\": \"the stores disagree"
                          << "\"fix\": \"qorhwinfo resolve I111111");
    QTest::newRow("inspect, valid frames")
        << reference << (QStringList() << "inspect com cb --hex") << (QList<int>() << 0)
        << (QStringList() << "com  COM Module"
                          << "  offset      256"
                          << "  room        384 bytes"
                          << "  header      magic \"QROM\", version 2, flags 0, payload 82 bytes"
                          << " (match)"
                          << "  verdict     valid"
                          << "    unit       \"I123456\""
                          << "    000100  51 52 4f 4d"
                          << "cb  Carrier Board"
                          << "  device      /dev/qorpic0"
                          << "    serial     1234567");
    QTest::newRow("inspect, damaged")
        << unitFile("damaged.unit") << (QStringList() << "inspect") << (QList<int>() << 5)
        << (QStringList() << "  verdict     corrupted: no frame header here"
                          << "  verdict     cannot be opened"
                          << "  error       Is a directory"
                          << " (MISMATCH)"
                          << "corrupted: CRC mismatch");
    QTest::newRow("inspect, malformed serial")
        << empty << (QStringList() << "inspect cb --json") << (QList<int>() << 4)
        << (QStringList() << "\"verdict\": \"valid\""
                          << "\"unit\": \"\"");

    // The repairs, each followed by what a technician runs next.
    QTest::newRow("resolve a disagreement")
        << disagree
        << (QStringList() << "resolve I111111"
                          << "resolve I111111 --yes"
                          << "discover")
        << (QList<int>() << 7 << 0 << 0) << (QStringList() << "Unit serial      I111111  (3 votes");
    QTest::newRow("resolve an empty serial")
        << empty
        << (QStringList() << "discover"
                          << "resolve I000005 --yes --json"
                          << "discover")
        << (QList<int>() << 4 << 0 << 0) << (QStringList() << "Unit serial      I000005  (4 votes");
    QTest::newRow("resolve: malformed serial")
        << disagree << (QStringList() << "resolve 123456 --yes") << (QList<int>() << 4) << QStringList();
    QTest::newRow("resolve: backup on a full disk")
        << full
        << (QStringList() << "resolve I222222 --yes"
                          << "resolve I222222 --yes --backup-dir %ROOT%/bk"
                          << "check")
        << (QList<int>() << 6 << 6 << 0) << (QStringList() << "Unit serial      I222222  (3 votes");
    QTest::newRow("provision a replaced board")
        << healthyUnitWith(QStringList() << "store bf blank-ff")
        << (QStringList() << "provision bf --unit I123456 --serial 77 --yes"
                          << "inspect bf")
        << (QList<int>() << 0 << 0)
        << (QStringList() << "    bf         77"
                          << "    serial     77"
                          << "    unit       \"I123456\"");
    QTest::newRow("provision: another unit's record")
        << reference
        << (QStringList() << "provision cb --unit I654321 --yes"
                          << "provision cb --unit I654321 --force --yes"
                          << "check")
        << (QList<int>() << 7 << 0 << 1)
        << (QStringList() << "  cb    Carrier Board        record     I654321");
    QTest::newRow("provision: malformed serial")
        << reference << (QStringList() << "provision com --unit I1234567 --yes") << (QList<int>() << 4)
        << QStringList();
    QTest::newRow("cache write, then clear") << reference
                                             << (QStringList() << "cache write --yes"
                                                               << "quick"
                                                               << "cache clear --yes"
                                                               << "quick")
                                             << (QList<int>() << 0 << 0 << 0 << 1) << QStringList();
    QTest::newRow("cache write refuses a disagreement")
        << disagree << (QStringList() << "cache write --yes") << (QList<int>() << 1) << QStringList();
    QTest::newRow("backup, damage, restore")
        << reference
        << (QStringList() << "backup %ROOT%/bk"
                          << "provision cb --unit I654321 --force --yes"
                          << "restore %ROOT%/bk --yes"
                          << "check")
        << (QList<int>() << 0 << 0 << 0 << 0) << (QStringList() << "No problem found.");
    QTest::newRow("restore refuses a damaged image") << reference
                                                     << (QStringList() << "backup %ROOT%/bk"
                                                                       << "sh echo x >> %ROOT%/bk/cb.img"
                                                                       << "restore %ROOT%/bk --yes --json")
                                                     << (QList<int>() << 0 << 0 << 6)
                                                     << (QStringList() << "\"result\": \"refused\""
                                                                       << "does not match its checksum");
}

void SystemToolTest::commands()
{
    QFETCH(QString, unit);
    QFETCH(QStringList, steps);
    QFETCH(QList<int>, exitCodes);
    QFETCH(QStringList, lines);

    Sandbox sandbox;
    QCOMPARE(sandbox.build(unit).exitCode, 0);
    const QByteArray cachePath = QFile::encodeName(sandbox.hostPath("/var/local/qorhwinfo/serial.cache"));
    struct stat cache;
    const bool cacheBuilt = ::stat(cachePath.constData(), &cache) == 0;
    SandboxResult result;
    for (int i = 0; i < steps.size(); ++i) {
        const QStringList arguments = stepArguments(steps.at(i), sandbox);
        result = sandbox.run(arguments.first(), arguments.mid(1));
        QVERIFY2(result.exitCode == exitCodes.at(i),
                 qPrintable(steps.at(i) + ": " + result.describe() + "\n" + result.out));
    }
    const QString out = QString::fromUtf8(result.out);
    int from = 0;
    for (const QString &line : lines) {
        const int at = out.indexOf(line, from);
        QVERIFY2(at >= 0, qPrintable(QString("missing, or out of order: \"%1\" in\n%2").arg(line, out)));
        from = at + line.size();
    }
    // Whoever wrote the cache file, it is rw-rw-r-- as discovery creates it.
    if (!cacheBuilt && ::stat(cachePath.constData(), &cache) == 0)
        QCOMPARE(int(cache.st_mode & 0777), 0664);
}

void SystemToolTest::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("no command") << QStringList();
    QTest::newRow("unknown option") << QStringList { "discover", "--bogus" };
    QTest::newRow("quick with an option") << QStringList { "quick", "--hex" };
    QTest::newRow("unknown store") << (QStringList() << "inspect"
                                                     << "cb"
                                                     << "eeprom");
    QTest::newRow("the cache is no board") << (QStringList() << "provision"
                                                             << "file"
                                                             << "--unit"
                                                             << "I123456");
    QTest::newRow("provision without a serial") << (QStringList() << "provision"
                                                                  << "cb");
    QTest::newRow("board serial of the COM module") << (QStringList() << "provision"
                                                                      << "com"
                                                                      << "--unit"
                                                                      << "I123456"
                                                                      << "--serial"
                                                                      << "5");
    QTest::newRow("board serial not a number") << (QStringList() << "provision"
                                                                 << "cb"
                                                                 << "--unit"
                                                                 << "I123456"
                                                                 << "--serial"
                                                                 << "x");
    QTest::newRow("resolve without a serial") << (QStringList() << "resolve");
    QTest::newRow("unknown cache command") << (QStringList() << "cache"
                                                             << "purge");
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
