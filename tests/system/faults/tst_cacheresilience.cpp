// The cache file under interrupted and concurrent writes, at the real paths of a simulated unit: a write
// cut short at any length never yields a wrong serial and is repaired by the next discovery; two processes
// discovering at once leave a good cache file. Discovery never writes a board memory. The tool's own writes,
// a cache file replaced by rename and a board record rewritten in place, cut at any length, leave the old
// record, the new one or a corrupted one, never another.
#include "faultspaths.h"
#include "filesnapshot.h"
#include "sandbox.h"
#include "systemtestpaths.h"

#include <QJsonArray>
#include <QtTest>

namespace {

const char cachePath[] = "/var/local/qorhwinfo/serial.cache";
const char serial[] = "I123456";
const int raceRounds = 200;

} // namespace

class CacheResilienceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void powerCutDuringCacheWrite_data();
    void powerCutDuringCacheWrite();
    void concurrentDiscoveries();

private:
    QJsonObject runProbe(const QStringList &arguments, QStringList *changedFiles);
    QJsonObject m_powerCut;
};

void CacheResilienceTest::initTestCase()
{
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_SANDBOX)).isExecutable(), QOR_SYSTEMTEST_SANDBOX);
    QVERIFY2(QFileInfo(QStringLiteral(QOR_FAULTS_PROBE)).isExecutable(), QOR_FAULTS_PROBE);
}

/** Runs the fault probe on a fresh healthy unit; @p changedFiles: what changed on the unit's disk. */
QJsonObject CacheResilienceTest::runProbe(const QStringList &arguments, QStringList *changedFiles)
{
    Sandbox sandbox;
    const SandboxResult built = sandbox.build(healthyUnitWith());
    if (!built.finished || built.exitCode != 0) {
        qWarning("cannot build the unit: %s", qPrintable(built.describe()));
        return QJsonObject();
    }
    const FileSnapshot before = FileSnapshot::take(sandbox.root());
    const SandboxResult result = sandbox.run(QStringLiteral(QOR_FAULTS_PROBE), arguments);
    *changedFiles = before.differences(FileSnapshot::take(sandbox.root()));
    if (!result.finished || result.exitCode != 0) {
        qWarning("faultprobe %s: %s", qPrintable(arguments.join(' ')), qPrintable(result.describe()));
        return QJsonObject();
    }
    return result.json();
}

void CacheResilienceTest::powerCutDuringCacheWrite_data()
{
    QTest::addColumn<QString>("cut");
    QTest::addColumn<QString>("oldUnit"); // what the written store named before; empty for nothing
    QTest::addColumn<QString>("newUnit");

    QTest::newRow("file truncated at the cut") << "truncated" << QString() << serial;
    QTest::newRow("rest of the file reads as zeros") << "zeroFilled" << QString() << serial;
    QTest::newRow("rest of the file is the damaged record it replaced")
        << "overOldRecord" << QString() << serial;
    QTest::newRow("tool: new cache file cut before its rename") << "cacheReplaced" << QString() << serial;
    QTest::newRow("tool: carrier board record rewritten in place")
        << "carrierRewritten" << serial << "I654321";
}

void CacheResilienceTest::powerCutDuringCacheWrite()
{
    QFETCH(QString, cut);
    QFETCH(QString, oldUnit);
    QFETCH(QString, newUnit);
    if (m_powerCut.isEmpty()) {
        QStringList changed;
        m_powerCut = runProbe({ QStringLiteral("powercut") }, &changed);
        QVERIFY(!m_powerCut.isEmpty());
        QCOMPARE(changed, QStringList { QLatin1String(cachePath) });
        QCOMPARE(m_powerCut.value(QStringLiteral("serial")).toString(), QString::fromLatin1(serial));
        QVERIFY(m_powerCut.value(QStringLiteral("frameSize")).toInt() > 12);
    }
    const QJsonArray results = m_powerCut.value(cut).toArray();
    const int frameSize = results.size() - 1;
    QVERIFY(frameSize > 12);
    // A board rewritten to another serial disagrees with the other boards once complete: no serial then.
    const bool boardWrite = !oldUnit.isEmpty();
    for (const QJsonValue &value : results) {
        const QJsonObject result = value.toObject();
        const int length = result.value(QStringLiteral("length")).toInt();
        const QByteArray where = "cut after " + QByteArray::number(length) + " bytes";
        QVERIFY2(result.value(QStringLiteral("written")).toBool(), where);
        const QString storeUnit = result.value(QStringLiteral("storeUnit")).toString();
        // Once every byte that differs is written, the memory holds the whole new frame: old, new or none.
        if (length < frameSize)
            QVERIFY2(storeUnit.isNull() || storeUnit == oldUnit || storeUnit == newUnit,
                     where + " gives " + storeUnit.toUtf8());
        else
            QVERIFY2(storeUnit == newUnit, where);
        const QString unitSerial = result.value(QStringLiteral("unitSerial")).toString();
        const QString cacheUnit = result.value(QStringLiteral("cacheUnit")).toString();
        QVERIFY2(unitSerial == QLatin1String(serial) || (boardWrite && unitSerial.isNull()), where);
        QVERIFY2(cacheUnit == QLatin1String(serial) || (boardWrite && cacheUnit.isNull()),
                 where + ": the next discovery left no good cache");
        QVERIFY2(result.value(QStringLiteral("boardsUnchanged")).toBool(), where);
    }
}

void CacheResilienceTest::concurrentDiscoveries()
{
    QStringList changed;
    const QJsonObject report = runProbe({ QStringLiteral("race"), QString::number(raceRounds) }, &changed);
    QVERIFY(!report.isEmpty());

    const QJsonArray children = report.value(QStringLiteral("children")).toArray();
    QCOMPARE(children.size(), 2);
    for (const QJsonValue &value : children) {
        const QJsonObject child = value.toObject();
        QVERIFY2(child.value(QStringLiteral("exitedNormally")).toBool(),
                 qPrintable(child.value(QStringLiteral("stderr")).toString()));
        QCOMPARE(child.value(QStringLiteral("rounds")).toInt(), raceRounds);
        QCOMPARE(child.value(QStringLiteral("unitSerials")).toArray(), QJsonArray { serial });
        QCOMPARE(child.value(QStringLiteral("unitErrors")).toInt(), 0);
        // A cache file that the other process is rewriting reads as no record, never as another serial.
        for (const QJsonValue &answer : child.value(QStringLiteral("quickAnswers")).toArray())
            QVERIFY2(answer.isNull() || answer.toString() == QLatin1String(serial),
                     qPrintable(answer.toString()));
    }
    QCOMPARE(report.value(QStringLiteral("cacheUnit")).toString(), QString::fromLatin1(serial));
    QVERIFY(report.value(QStringLiteral("boardsUnchanged")).toBool());
    QCOMPARE(changed, QStringList { QLatin1String(cachePath) });
}

QTEST_GUILESS_MAIN(CacheResilienceTest)

#include "tst_cacheresilience.moc"
