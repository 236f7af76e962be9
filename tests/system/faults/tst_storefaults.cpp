// Every failure of an identity store and of the cache directory that a real unit can show, put in at the
// real paths of a simulated unit: the statuses, messages, candidates and unit serial that discovery
// reports, what the cache file holds afterwards, and that no board memory was written.
#include "filesnapshot.h"
#include "probereport.h"
#include "sandbox.h"
#include "systemtestpaths.h"

#include <qorutils/romstorage.h>

#include <QBuffer>
#include <QJsonArray>
#include <QtTest>

using ProbeReport::messageLines;
using ProbeReport::sorted;
using ProbeReport::storeStatuses;
using ProbeReport::textList;

namespace {

const char cachePath[] = "/var/local/qorhwinfo/serial.cache";
const char serial[] = "I123456";

enum CacheOutcome {
    CacheWritten, ///< the cache file afterwards holds a good record naming the adopted serial
    CacheUntouched ///< the cache file, or its absence, is as the unit was built
};

QString label(const QString &key)
{
    static const QHash<QString, QString> labels {
        { QStringLiteral("com"), QStringLiteral("COM Module") },
        { QStringLiteral("cb"), QStringLiteral("Carrier Board") },
        { QStringLiteral("bf"), QStringLiteral("Beamformer Board") },
        { QStringLiteral("ut"), QStringLiteral("Mono-Element Board") },
        { QStringLiteral("file"), QStringLiteral("Serials File") }
    };
    return labels.value(key);
}

QString loadFailure(const QString &what)
{
    return QStringLiteral("debug: void hmi::HwInfoHelper::discover() \"%1\" ").arg(what);
}

QString cannotOpen(const QString &key, const QString &error)
{
    return loadFailure(label(key) + QStringLiteral(": could not open io device for reading: ") + error);
}

QString noCacheFile()
{
    return cannotOpen(QStringLiteral("file"), QStringLiteral("No such file or directory"));
}

QString cacheNotOpened(const QString &error)
{
    return QStringLiteral("critical: Error opening \"Serials File\" eeprom ioDev: \"%1\" ").arg(error);
}

QString saveFailure(const QString &what)
{
    return QStringLiteral("debug: error while saving .serial file: \"%1\" ").arg(what);
}

/** The statuses of "bf cb com file ut" with the one of @p key replaced. */
QString statusesWith(const QString &key, const QString &status)
{
    QStringList statuses { "OK", "OK", "OK", "OK", "OK" };
    statuses[QStringList { "bf", "cb", "com", "file", "ut" }.indexOf(key)] = status;
    return statuses.join(QLatin1Char(' '));
}

/** The unit serial of the record in @p bytes, or why there is none. */
QString recordUnit(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    const ROMStorage storage(buffer);
    if (!storage.isValid())
        return QStringLiteral("(no good record)");
    return storage.payload().toMap().value(QStringLiteral("unit")).toString();
}

} // namespace

Q_DECLARE_METATYPE(CacheOutcome)

class StoreFaultsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void fault_data();
    void fault();

private:
    void addBoardFaults(const QString &key, const QString &failedStatus, const QString &openError);
    void addCacheFileFaults();
    void addShortMemories();
    void addCacheDirectoryFaults();
};

void StoreFaultsTest::initTestCase()
{
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_SANDBOX)).isExecutable(), QOR_SYSTEMTEST_SANDBOX);
    QVERIFY2(QFileInfo(QStringLiteral(QOR_SYSTEMTEST_PROBE)).isExecutable(), QOR_SYSTEMTEST_PROBE);
}

void StoreFaultsTest::fault_data()
{
    QTest::addColumn<QStringList>("faults");
    QTest::addColumn<QString>("statuses"); // bf cb com file ut
    QTest::addColumn<QString>("unitStatus");
    QTest::addColumn<QString>("unitSerial"); // null when unitSerial() throws
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<CacheOutcome>("cache");
    QTest::addColumn<QString>("quickAfterwards");

    // The COM module's and the cache file's stores report a failed load as OK: a new unit has neither.
    addBoardFaults(QStringLiteral("com"), QStringLiteral("OK"),
                   QStringLiteral("file to open is a directory"));
    addBoardFaults(QStringLiteral("cb"), QStringLiteral("ERROR"), QStringLiteral("Is a directory"));
    addBoardFaults(QStringLiteral("bf"), QStringLiteral("ERROR"),
                   QStringLiteral("file to open is a directory"));
    addBoardFaults(QStringLiteral("ut"), QStringLiteral("ERROR"),
                   QStringLiteral("file to open is a directory"));
    addCacheFileFaults();
    addShortMemories();
    addCacheDirectoryFaults();
}

void StoreFaultsTest::addBoardFaults(const QString &key, const QString &failedStatus,
                                     const QString &openError)
{
    const QString name = label(key);
    const QList<QPair<QString, QString> > faults {
        { QStringLiteral("unreadable"),
          name + QStringLiteral(": could not open io device for reading: ") + openError },
        { QStringLiteral("missing"),
          name + QStringLiteral(": could not open io device for reading: No such file or directory") },
        { QStringLiteral("blank-ff"), name + QStringLiteral(": is blank") },
        { QStringLiteral("blank-00"), name + QStringLiteral(": is blank") },
        { QStringLiteral("empty"), name + QStringLiteral(": empty file") },
        { QStringLiteral("corrupt"), name + QStringLiteral(": corrupted") },
    };
    for (const auto &fault : faults) {
        QTest::addRow("%s %s", qPrintable(key), qPrintable(fault.first))
            << QStringList { QStringLiteral("store %1 %2").arg(key, fault.first) }
            << statusesWith(key, failedStatus) << "OK" << serial
            << QStringList { loadFailure(fault.second), noCacheFile() } << CacheWritten << serial;
    }
}

void StoreFaultsTest::addCacheFileFaults()
{
    QTest::newRow("file unreadable")
        << QStringList { QStringLiteral("store file unreadable") } << statusesWith("file", "OK") << "OK"
        << serial
        << QStringList { cannotOpen(QStringLiteral("file"), QStringLiteral("file to open is a directory")),
                         cacheNotOpened(QStringLiteral("Is a directory")) }
        << CacheUntouched << QString();
    const QList<QPair<QString, QString> > faults {
        { QStringLiteral("blank-ff"), QStringLiteral("Serials File: is blank") },
        { QStringLiteral("blank-00"), QStringLiteral("Serials File: is blank") },
        { QStringLiteral("empty"), QStringLiteral("Serials File: empty file") },
        { QStringLiteral("corrupt"), QStringLiteral("Serials File: corrupted") },
        { QStringLiteral("record unit=I123456 size=20"), QStringLiteral("Serials File: corrupted") },
    };
    for (const auto &fault : faults) {
        QTest::addRow("file %s", qPrintable(fault.first))
            << QStringList { QStringLiteral("store file ") + fault.first } << statusesWith("file", "OK")
            << "OK" << serial << QStringList { loadFailure(fault.second) } << CacheWritten << serial;
    }
}

// A file may be sought beyond its end, on Linux as on the sysfs attribute of a real EEPROM: the seek
// succeeds and the read finds nothing. The carrier board's record starts at 0, so its memory cannot end
// before it.
void StoreFaultsTest::addShortMemories()
{
    const QString comOk = statusesWith("com", "OK");
    QTest::newRow("com memory ends before the record offset")
        << QStringList { QStringLiteral("store com blank-ff size=200") } << comOk << "OK" << serial
        << QStringList { loadFailure(QStringLiteral("COM Module: empty file")), noCacheFile() }
        << CacheWritten << serial;
    QTest::newRow("com memory ends at the record offset")
        << QStringList { QStringLiteral("store com blank-ff size=256") } << comOk << "OK" << serial
        << QStringList { loadFailure(QStringLiteral("COM Module: empty file")), noCacheFile() }
        << CacheWritten << serial;
    QTest::newRow("com memory ends inside the record header")
        << QStringList { QStringLiteral("store com record unit=I123456 size=262") } << comOk << "OK" << serial
        << QStringList { loadFailure(QStringLiteral("COM Module: corrupted")), noCacheFile() } << CacheWritten
        << serial;
    QTest::newRow("carrier board memory ends inside the record")
        << QStringList { QStringLiteral("store cb record unit=I123456 serial=u32:1234567 size=20") }
        << statusesWith("cb", "ERROR") << "OK" << serial
        << QStringList { loadFailure(QStringLiteral("Carrier Board: corrupted")), noCacheFile() }
        << CacheWritten << serial;
}

void StoreFaultsTest::addCacheDirectoryFaults()
{
    const QString allOk = QStringLiteral("OK OK OK OK OK");
    QTest::newRow("cache directory missing")
        << QStringList { QStringLiteral("cache_dir missing") } << allOk << "OK" << serial
        << QStringList { noCacheFile(), cacheNotOpened(QStringLiteral("No such file or directory")) }
        << CacheUntouched << QString();
    QTest::newRow("cache directory read-only")
        << QStringList { QStringLiteral("cache_dir readonly") } << allOk << "OK" << serial
        << QStringList { noCacheFile(), cacheNotOpened(QStringLiteral("Read-only file system")) }
        << CacheUntouched << QString();
    QTest::newRow("damaged cache in a read-only directory")
        << QStringList { QStringLiteral("cache_dir readonly"), QStringLiteral("store file corrupt") } << allOk
        << "OK" << serial
        << QStringList { loadFailure(QStringLiteral("Serials File: corrupted")),
                         cacheNotOpened(QStringLiteral("Read-only file system")) }
        << CacheUntouched << QString();
    // Creating the file works on a full file system; writing the record into it does not.
    QTest::newRow("cache directory on a full file system")
        << QStringList { QStringLiteral("cache_dir full") } << statusesWith("file", "ERROR") << "ERROR"
        << QString()
        << QStringList { noCacheFile(),
                         saveFailure(QStringLiteral("could not write record to %1: No space left on device")
                                         .arg(QLatin1String(cachePath))) }
        << CacheUntouched << QString();
    // Rewriting a damaged cache file first truncates it, which frees the block the new record needs.
    QTest::newRow("damaged cache on a full file system")
        << QStringList { QStringLiteral("cache_dir full"), QStringLiteral("store file corrupt") } << allOk
        << "OK" << serial << QStringList { loadFailure(QStringLiteral("Serials File: corrupted")) }
        << CacheUntouched << serial;
    QTest::newRow("good cache on a full file system")
        << QStringList { QStringLiteral("cache_dir full"), QStringLiteral("store file record unit=I123456") }
        << allOk << "OK" << serial << QStringList() << CacheUntouched << serial;
}

void StoreFaultsTest::fault()
{
    QFETCH(QStringList, faults);
    QFETCH(QString, statuses);
    QFETCH(QString, unitStatus);
    QFETCH(QString, unitSerial);
    QFETCH(QStringList, messages);
    QFETCH(CacheOutcome, cache);
    QFETCH(QString, quickAfterwards);

    Sandbox sandbox;
    const SandboxResult built = sandbox.build(healthyUnitWith(faults));
    QVERIFY2(built.finished && built.exitCode == 0, qPrintable(built.describe()));
    const FileSnapshot before = FileSnapshot::take(sandbox.root());
    const SandboxResult result
        = sandbox.run(QStringLiteral(QOR_SYSTEMTEST_PROBE), { QStringLiteral("discover") });
    const FileSnapshot after = FileSnapshot::take(sandbox.root());
    QVERIFY2(result.finished && result.exitCode == 0, qPrintable(result.describe()));
    QString error;
    const QJsonObject report = result.json(&error);
    QVERIFY2(error.isEmpty(), qPrintable(error));

    QCOMPARE(storeStatuses(report), statuses);
    QCOMPARE(report.value(QStringLiteral("unitStatus")).toString(), unitStatus);
    QCOMPARE(textList(report.value(QStringLiteral("candidates"))), QStringList { serial });
    QCOMPARE(report.value(QStringLiteral("unitSerial")).toString(), unitSerial);
    QCOMPARE(report.value(QStringLiteral("unitSerialThrew")).isNull(), !unitSerial.isNull());
    QCOMPARE(messageLines(report), sorted(messages));
    const QJsonValue quick
        = report.value(QStringLiteral("quickAfterwards")).toObject().value(QStringLiteral("quick"));
    QCOMPARE(quick.toString(), quickAfterwards);
    QCOMPARE(quick.isNull(), quickAfterwards.isNull());

    const QString cacheFile = QLatin1String(cachePath);
    QStringList changed = before.differences(after);
    const bool cacheChanged = changed.removeAll(cacheFile) > 0;
    QVERIFY2(changed.isEmpty(),
             qPrintable(QStringLiteral("written besides the cache: ") + changed.join(", ")));
    if (cache == CacheWritten) {
        QVERIFY(cacheChanged);
        QCOMPARE(recordUnit(after.entry(cacheFile).bytes), QString::fromLatin1(serial));
    } else {
        QVERIFY(!cacheChanged);
    }
}

QTEST_GUILESS_MAIN(StoreFaultsTest)

#include "tst_storefaults.moc"
