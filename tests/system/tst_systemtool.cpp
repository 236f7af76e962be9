// The qorhwinfo tool as a field-service person and a script use it, on simulated units in the sandbox.
#include "filesnapshot.h"
#include "sandbox.h"
#include "systemtestpaths.h"

#include <QJsonArray>
#include <QStandardPaths>
#include <QtTest>

#include <sys/stat.h>

namespace {

const char cachePath[] = "/var/local/qorhwinfo/serial.cache";

QString tool()
{
    return QStringLiteral(QOR_SYSTEMTEST_TOOL);
}

QStringList sortedLines(const QByteArray &text)
{
    QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.sort();
    return lines;
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
    void jsonCarriesTheLibrarysView_data();
    void jsonCarriesTheLibrarysView();
    void jsonCandidates_data();
    void jsonCandidates();
    void debugMessagesOnlyWhenVerbose();
    void verboseShowsRecords();
    void usageErrors_data();
    void usageErrors();
    void progressBarOnATerminal();

private:
    bool buildUnit(Sandbox &sandbox, const QString &unitName);
    bool runJson(const Sandbox &sandbox, const QString &program, const QStringList &arguments,
                 QJsonObject *document, int *exitCode = nullptr);
};

void SystemToolTest::initTestCase()
{
    ::umask(022);
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_SANDBOX)).isExecutable(), QOR_SYSTEMTEST_SANDBOX);
    QVERIFY2(QFileInfo(tool()).isExecutable(), QOR_SYSTEMTEST_TOOL);
}

bool SystemToolTest::buildUnit(Sandbox &sandbox, const QString &unitName)
{
    const SandboxResult built = sandbox.build(unitName);
    if (built.finished && built.exitCode == 0)
        return true;
    qWarning("building %s: %s", qPrintable(unitName), qPrintable(built.describe()));
    return false;
}

bool SystemToolTest::runJson(const Sandbox &sandbox, const QString &program, const QStringList &arguments,
                             QJsonObject *document, int *exitCode)
{
    const SandboxResult result = sandbox.run(program, arguments);
    if (!result.finished) {
        qWarning("%s: %s", qPrintable(program), qPrintable(result.describe()));
        return false;
    }
    if (exitCode)
        *exitCode = result.exitCode;
    QString error;
    *document = result.json(&error);
    if (!error.isEmpty()) {
        qWarning("%s printed no JSON object (%s): %s", qPrintable(program), qPrintable(error),
                 result.out.constData());
        return false;
    }
    return true;
}

void SystemToolTest::quick_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("out");

    QTest::newRow("good record") << "quick-good" << 0 << QByteArray("I004217\n");
    QTest::newRow("unit that is no serial") << "quick-notserial" << 0 << QByteArray("12\n");
    QTest::newRow("no cache file") << "quick-missing" << 1 << QByteArray();
    QTest::newRow("damaged frame") << "quick-damaged" << 1 << QByteArray();
    QTest::newRow("record without unit") << "quick-nounit" << 1 << QByteArray();
}

void SystemToolTest::quick()
{
    QFETCH(QString, unit);
    QFETCH(int, exitCode);
    QFETCH(QByteArray, out);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, unit));
    const SandboxResult result = sandbox.run(tool(), QStringList { QStringLiteral("quick") });
    QVERIFY2(result.finished, qPrintable(result.describe()));
    QCOMPARE(result.exitCode, exitCode);
    QCOMPARE(result.out, out);
    QCOMPARE(result.err.isEmpty(), exitCode == 0);
}

void SystemToolTest::discover_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("lines"); // must appear in this order

    QTest::newRow("healthy")
        << "healthy" << 0
        << QStringList {
               "Unit serial      I123456  (3 votes: Beamformer Board, Carrier Board, COM Module)",
               "  file  Serials File         OK",
               "Serials cache    written by this run",
               "  FPGA UID                  0a5f",
               "  Carrier board serial      1234567",
               "  Unit and all stores       OK",
           };
    QTest::newRow("all four agree")
        << "agree" << 0
        << QStringList { "Unit serial      I123456  (4 votes: Beamformer Board, Carrier Board, COM Module, "
                         "Serials File)",
                         "Serials cache    unchanged: it already held a record" };
    QTest::newRow("disagreeing stores") << "disagree" << 1
                                        << QStringList {
                                               "Unit serial      none: the stores name 2 different serials",
                                               "    I111111     2 votes: Beamformer Board, Carrier Board",
                                               "    I222222     1 vote: COM Module",
                                               "Serials cache    not written: no unit serial was adopted",
                                           };
    QTest::newRow("blank") << "blank" << 1
                           << QStringList {
                                  "Unit serial      none: no store holds an identity record",
                                  "  cb    Carrier Board        ERROR",
                                  "          Carrier Board: is blank",
                                  "  Unit                      OK",
                                  "  Unit and all stores       ERROR",
                              };
    QTest::newRow("read-only cache directory")
        << "cachedir-readonly" << 0
        << QStringList { "Unit serial      I123456",
                         "          Error opening \"Serials File\" eeprom ioDev: \"Read-only file system\"",
                         "Serials cache    could not be written" };
    QTest::newRow("no FPGA") << "fpga-none" << 0
                             << QStringList { "  FPGA UID                  not available" };
}

void SystemToolTest::discover()
{
    QFETCH(QString, unit);
    QFETCH(int, exitCode);
    QFETCH(QStringList, lines);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, unit));
    const SandboxResult result = sandbox.run(tool(), QStringList { QStringLiteral("discover") });
    QVERIFY2(result.finished, qPrintable(result.describe()));
    QCOMPARE(result.exitCode, exitCode);

    const QString out = QString::fromUtf8(result.out);
    int from = 0;
    for (const QString &line : lines) {
        const int at = out.indexOf(line, from);
        QVERIFY2(at >= 0,
                 qPrintable(QStringLiteral("missing, or out of order: \"%1\" in\n%2").arg(line, out)));
        from = at + line.size();
    }
}

void SystemToolTest::jsonCarriesTheLibrarysView_data()
{
    QTest::addColumn<QString>("unit");

    for (const char *unit :
         { "healthy", "blank", "disagree", "cache-only", "cachedir-readonly", "fpga-nomaps" })
        QTest::newRow(unit) << QString::fromLatin1(unit);
}

// The probe and the tool run on two copies of the same unit; the tool must report what the library says.
void SystemToolTest::jsonCarriesTheLibrarysView()
{
    QFETCH(QString, unit);

    Sandbox probeSandbox;
    Sandbox toolSandbox;
    QVERIFY(buildUnit(probeSandbox, unit));
    QVERIFY(buildUnit(toolSandbox, unit));
    QJsonObject library;
    QVERIFY(runJson(probeSandbox, QStringLiteral(QOR_SYSTEMTEST_PROBE),
                    QStringList { QStringLiteral("discover") }, &library));
    QJsonObject report;
    int exitCode = -1;
    QVERIFY(runJson(toolSandbox, tool(), QStringList { QStringLiteral("discover"), QStringLiteral("--json") },
                    &report, &exitCode));

    const QJsonObject libraryStores = library.value(QStringLiteral("stores")).toObject();
    const QJsonObject reportStores = report.value(QStringLiteral("stores")).toObject();
    QCOMPARE(reportStores.keys(), libraryStores.keys());
    for (const QString &key : libraryStores.keys()) {
        const QJsonObject expected = libraryStores.value(key).toObject();
        const QJsonObject actual = reportStores.value(key).toObject();
        QCOMPARE(actual.value(QStringLiteral("status")), expected.value(QStringLiteral("status")));
        QCOMPARE(actual.value(QStringLiteral("label")), expected.value(QStringLiteral("label")));
        QCOMPARE(actual.value(QStringLiteral("record")), expected.value(QStringLiteral("record")));
    }
    QCOMPARE(report.value(QStringLiteral("unitStatus")), library.value(QStringLiteral("unitStatus")));
    QCOMPARE(report.value(QStringLiteral("globalStatus")), library.value(QStringLiteral("globalStatus")));
    QCOMPARE(report.value(QStringLiteral("unitSerial")), library.value(QStringLiteral("unitSerial")));
    QCOMPARE(exitCode, library.value(QStringLiteral("unitSerial")).isNull() ? 1 : 0);

    QStringList candidates;
    for (const QJsonValue &candidate : report.value(QStringLiteral("candidates")).toArray())
        candidates.append(candidate.toObject().value(QStringLiteral("serial")).toString());
    QStringList libraryCandidates;
    for (const QJsonValue &candidate : library.value(QStringLiteral("candidates")).toArray())
        libraryCandidates.append(candidate.toString());
    QCOMPARE(candidates, libraryCandidates);

    const QJsonObject hardware = report.value(QStringLiteral("hardware")).toObject();
    for (const char *fact : { "mac", "comSerial", "fpgaUid", "cbSerial", "bfSerial" })
        QCOMPARE(hardware.value(QLatin1String(fact)), library.value(QLatin1String(fact)));
}

void SystemToolTest::jsonCandidates_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QJsonArray>("candidates");
    QTest::addColumn<QString>("serialsCache");

    auto candidate = [](const char *serial, const QStringList &stores) {
        return QJsonObject { { QStringLiteral("serial"), QLatin1String(serial) },
                             { QStringLiteral("votes"), stores.size() },
                             { QStringLiteral("stores"), QJsonArray::fromStringList(stores) } };
    };
    QTest::newRow("healthy") << "healthy" << QJsonArray { candidate("I123456", { "bf", "cb", "com" }) }
                             << "written";
    QTest::newRow("all four agree") << "agree"
                                    << QJsonArray { candidate("I123456", { "bf", "cb", "com", "file" }) }
                                    << "unchanged";
    QTest::newRow("two against one") << "disagree"
                                     << QJsonArray { candidate("I111111", { "bf", "cb" }),
                                                     candidate("I222222", { "com" }) }
                                     << "unchanged";
    QTest::newRow("cache only") << "cache-only" << QJsonArray { candidate("I123456", { "file" }) }
                                << "unchanged";
    QTest::newRow("cache not writable")
        << "cachedir-missing" << QJsonArray { candidate("I123456", { "bf", "cb", "com" }) } << "writeFailed";
    QTest::newRow("no record") << "blank" << QJsonArray() << "unchanged";
}

void SystemToolTest::jsonCandidates()
{
    QFETCH(QString, unit);
    QFETCH(QJsonArray, candidates);
    QFETCH(QString, serialsCache);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, unit));
    QJsonObject report;
    QVERIFY(runJson(sandbox, tool(), QStringList { QStringLiteral("discover"), QStringLiteral("--json") },
                    &report));
    QCOMPARE(report.value(QStringLiteral("candidates")).toArray(), candidates);
    QCOMPARE(report.value(QStringLiteral("serialsCache")).toString(), serialsCache);
}

void SystemToolTest::debugMessagesOnlyWhenVerbose()
{
    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, QStringLiteral("blank")));

    const SandboxResult quiet = sandbox.run(tool(), QStringList { QStringLiteral("discover") });
    QVERIFY2(quiet.finished, qPrintable(quiet.describe()));
    QCOMPARE(quiet.err, QByteArray());

    const SandboxResult verbose
        = sandbox.run(tool(), QStringList { QStringLiteral("discover"), QStringLiteral("--verbose") });
    QVERIFY2(verbose.finished, qPrintable(verbose.describe()));
    const QString prefix = QStringLiteral("void hmi::HwInfoHelper::discover() \"%1\" ");
    QStringList expected {
        prefix.arg(QStringLiteral("Beamformer Board: is blank")),
        prefix.arg(QStringLiteral("Carrier Board: is blank")),
        prefix.arg(QStringLiteral("COM Module: is blank")),
        prefix.arg(QStringLiteral("Mono-Element Board: is blank")),
        prefix.arg(QStringLiteral(
            "Serials File: could not open io device for reading: No such file or directory"))
    };
    expected.sort();
    QCOMPARE(sortedLines(verbose.err), expected);
    QCOMPARE(verbose.out.count('\n'), quiet.out.count('\n') + 5); // each store's "(no record)"
}

void SystemToolTest::verboseShowsRecords()
{
    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, QStringLiteral("healthy")));
    const SandboxResult result
        = sandbox.run(tool(), QStringList { QStringLiteral("discover"), QStringLiteral("-v") });
    QVERIFY2(result.finished && result.exitCode == 0, qPrintable(result.describe()));
    const QString out = QString::fromUtf8(result.out);
    QVERIFY2(out.contains(QStringLiteral("          unit       \"I123456\"\n")), qPrintable(out));
    QVERIFY2(out.contains(QStringLiteral("          serial     42\n")), qPrintable(out));
    QVERIFY2(out.contains(QStringLiteral("          mac        \"02:fc:00:00:00:01\"\n")), qPrintable(out));
}

void SystemToolTest::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("no command") << QStringList();
    QTest::newRow("unknown command") << QStringList { "frob" };
    QTest::newRow("unknown option") << QStringList { "discover", "--bogus" };
    QTest::newRow("two commands") << QStringList { "discover", "quick" };
    QTest::newRow("quick with an option") << QStringList { "quick", "--json" };
}

void SystemToolTest::usageErrors()
{
    QFETCH(QStringList, arguments);

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, QStringLiteral("healthy")));
    const SandboxResult result = sandbox.run(tool(), arguments);
    QVERIFY2(result.finished, qPrintable(result.describe()));
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.out, QByteArray());
    QVERIFY2(result.err.contains("Try \"qorhwinfo --help\"."), result.err.constData());
    // A discovery would have written the cache file of this unit.
    QVERIFY(!QFileInfo::exists(sandbox.hostPath(QLatin1String(cachePath))));
}

// On a pipe the tests above already see no bar; script(1) gives the tool a terminal.
void SystemToolTest::progressBarOnATerminal()
{
    const QString script = QStandardPaths::findExecutable(QStringLiteral("script"));
    if (script.isEmpty())
        QSKIP("script(1) is not installed");

    Sandbox sandbox;
    QVERIFY(buildUnit(sandbox, QStringLiteral("healthy")));
    QProcess process;
    const QString command = QStringLiteral("%1 --root %2 -- %3 discover")
                                .arg(QStringLiteral(QOR_SYSTEMTEST_SANDBOX), sandbox.root(), tool());
    process.start(script, QStringList { QStringLiteral("-qec"), command, QStringLiteral("/dev/null") });
    QVERIFY(process.waitForFinished(120 * 1000));
    QCOMPARE(process.exitCode(), 0);
    const QByteArray screen = process.readAllStandardOutput();
    QVERIFY2(screen.contains("\r\033[K[############################] 7/7 Done"), screen.constData());
    QVERIFY2(screen.contains("\r\033[KUnit serial"), screen.constData());
}

QTEST_GUILESS_MAIN(SystemToolTest)

#include "tst_systemtool.moc"
