#include "hwinfohelper_p.h"
#include "messagelog.h"
#include "scripteddevice.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QtTest/QtTest>

#include <stdexcept>
#include <sys/stat.h>

using hmi::HwInfoHelper;
using hmi::HwInfoHelperPrivate;
using Serials = HwInfoHelper::Serials;

// discover() on a real helper whose stores sit on scripted in-memory devices: votes, candidates, the
// cache write and its file-creation mask, failures, and the progress signals.
class TestDiscovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void scenario_data();
    void scenario();
    void failuresLoggedInStoreOrder_data();
    void failuresLoggedInStoreOrder();
    void cacheWrittenUnderMask();
    void secondDiscoveryCountsCacheOnce();
    void saveFailureMarksUnitError();
    void unwritableCacheIsNoError();
    void otherExceptionFromLoadLeaves();
    void otherExceptionFromSaveLeaves();
    void progress();

private:
    mode_t m_originalMask;
};

namespace {

// A mask that differs from the cache file's 003 and from the usual defaults.
const mode_t testMask = 027;
const mode_t cacheMask = 003;

const QString fpgaUid = QStringLiteral("0a5f");
const QString comSerial = QStringLiteral("COM-0042");
const QString mac = QStringLiteral("00:11:22:33:44:55");

const QByteArray blank(64, '\xff');
const QByteArray emptyFile("");
// A null content stands for a file that does not exist yet: reading it fails, writing creates it.
const QByteArray missing;

const HwInfoHelper::StatusFlags ok(HwInfoHelper::OK);
const HwInfoHelper::StatusFlags error(HwInfoHelper::ERROR);

QByteArray frameOf(const QVariantMap &map)
{
    return ROMStorage(QVariant(map)).frame();
}

// A board memory: the board's own descriptor and, once the unit has a serial, an identity record.
QByteArray board(uint serial, const QString &unit = QString())
{
    QVariantMap map;
    if (!unit.isNull())
        Serials(unit, 1u, 2u, QStringLiteral("ffff"), QStringLiteral("old com"), QStringLiteral("old mac"))
            .writeTo(map);
    map.insert(QStringLiteral("serial"), serial);
    return frameOf(map);
}

QByteArray record(const QString &unit)
{
    QVariantMap map;
    Serials(unit, 3u, 4u, QStringLiteral("0001"), QStringLiteral("old com"), QStringLiteral("old mac"))
        .writeTo(map);
    return frameOf(map);
}

QByteArray corrupted()
{
    QByteArray frame = record(QStringLiteral("I123456"));
    frame[frame.size() - 1] = char(frame.at(frame.size() - 1) ^ 0x5a);
    return frame;
}

QVariantMap cacheRecord(const QString &unit, uint cb, uint bf)
{
    QVariantMap map;
    Serials(unit, cb, bf, fpgaUid, comSerial, mac).writeTo(map);
    return map;
}

// Serials with one vote each come out in the order of a vote table built the same way.
QStringList equalVoteOrder(const QStringList &voted)
{
    QHash<QString, int> votes;
    for (const QString &serial : voted)
        ++votes[serial];
    return votes.keys();
}

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

QByteArray discoverMessage(const QString &text)
{
    return "void hmi::HwInfoHelper::discover() \"" + text.toUtf8() + "\" ";
}

QList<int> steps(const QSignalSpy &spy)
{
    QList<int> values;
    for (const QList<QVariant> &arguments : spy)
        values.append(arguments.first().toInt());
    return values;
}

QList<int> stepsUpTo(int last)
{
    QList<int> values;
    for (int step = 0; step <= last; ++step)
        values.append(step);
    return values;
}

// A real helper whose stores are moved onto scripted devices with the given contents (blank where none
// is given) and whose hardware facts are set to known values.
class Unit
{
public:
    explicit Unit(const QHash<QString, QByteArray> &contents)
        : d(HwInfoHelperPrivate::get(&helper))
        , order(helper.eeproms().keys())
    {
        for (const QString &key : order) {
            HwInfoHelper::EEPROM &store = d->eeproms[key];
            const QByteArray content = contents.value(key, blank);
            // Whatever precedes the record (the COM module's first 256 bytes) is not the store's.
            const QByteArray image = content.isNull() ? content : QByteArray(store.offset, '\x5a') + content;
            ScriptedDevice *device = new ScriptedDevice(
                image, content.isNull() ? ScriptedDevice::ReadOpenFails : ScriptedDevice::NoFault, &helper);
            store.ioDev = device;
            devices.insert(key, device);
        }
        d->serials.fpgaUid = fpgaUid;
        d->serials.com = comSerial;
        d->serials.mac = mac;
    }

    ScriptedDevice *device(const char *key) const { return devices.value(QString::fromLatin1(key)); }

    HwInfoHelper helper;
    HwInfoHelperPrivate *const d;
    // The helper's own store order, which is that of its QHash and so changes from process to process.
    const QStringList order;
    QHash<QString, ScriptedDevice *> devices;
};

QHash<QString, QByteArray> healthyUnit()
{
    return { { QStringLiteral("bf"), board(4711u, QStringLiteral("I123456")) },
             { QStringLiteral("cb"), board(815u, QStringLiteral("I123456")) },
             { QStringLiteral("com"), record(QStringLiteral("I123456")) },
             { QStringLiteral("ut"), board(77u) },
             { QStringLiteral("file"), missing } };
}

int writeOpens(const ScriptedDevice *device)
{
    int count = 0;
    for (QIODevice::OpenMode mode : device->openModes())
        count += (mode & QIODevice::WriteOnly) ? 1 : 0;
    return count;
}

} // namespace

void TestDiscovery::initTestCase()
{
    m_originalMask = ::umask(testMask);
}

void TestDiscovery::cleanupTestCase()
{
    ::umask(m_originalMask);
}

void TestDiscovery::scenario_data()
{
    QTest::addColumn<QByteArray>("bf");
    QTest::addColumn<QByteArray>("cb");
    QTest::addColumn<QByteArray>("com");
    QTest::addColumn<QByteArray>("ut");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QStringList>("candidates");
    QTest::addColumn<QString>("adopted");
    QTest::addColumn<uint>("bfSerial");
    QTest::addColumn<uint>("cbSerial");
    QTest::addColumn<QStringList>("errors");
    QTest::addColumn<bool>("written");
    QTest::addColumn<int>("failures");

    const QString serial = QStringLiteral("I123456");
    const QString one = QStringLiteral("I111111");
    const QString two = QStringLiteral("I222222");
    const QStringList boards { QStringLiteral("bf"), QStringLiteral("cb") };

    QTest::newRow("all blank, cache missing")
        << blank << blank << blank << blank << missing << QStringList() << QString() << 0u << 0u
        << (boards + QStringList { "ut" }) << false << 5;
    QTest::newRow("all blank, cache empty")
        << blank << blank << blank << blank << emptyFile << QStringList() << QString() << 0u << 0u
        << (boards + QStringList { "ut" }) << false << 5;
    QTest::newRow("healthy unit, cache missing")
        << board(4711u, serial) << board(815u, serial) << record(serial) << board(77u) << missing
        << QStringList { serial } << serial << 4711u << 815u << QStringList() << true << 1;
    QTest::newRow("healthy unit, cache empty")
        << board(4711u, serial) << board(815u, serial) << record(serial) << board(77u) << emptyFile
        << QStringList { serial } << serial << 4711u << 815u << QStringList() << true << 1;
    QTest::newRow("mono-element board unreadable")
        << board(4711u, serial) << board(815u, serial) << record(serial) << blank << missing
        << QStringList { serial } << serial << 4711u << 815u << QStringList { "ut" } << true << 2;
    QTest::newRow("carrier board corrupted")
        << board(4711u, serial) << corrupted() << record(serial) << board(77u) << missing
        << QStringList { serial } << serial << 4711u << 0u << QStringList { "cb" } << true << 2;
    QTest::newRow("boards name one serial, COM another")
        << board(4711u, one) << board(815u, one) << record(two) << board(77u) << missing
        << QStringList { one, two } << QString() << 4711u << 815u << QStringList() << false << 1;
    QTest::newRow("one vote each") << board(4711u, one) << board(815u, two) << blank << board(77u) << missing
                                   << equalVoteOrder({ one, two }) << QString() << 4711u << 815u
                                   << QStringList() << false << 2;
    QTest::newRow("cache disagrees with boards")
        << board(4711u, one) << board(815u, one) << blank << board(77u) << record(two)
        << QStringList { one, two } << QString() << 4711u << 815u << QStringList() << false << 1;
    QTest::newRow("all four agree") << board(4711u, serial) << board(815u, serial) << record(serial)
                                    << board(77u) << record(serial) << QStringList { serial } << serial
                                    << 4711u << 815u << QStringList() << false << 0;
    QTest::newRow("cache alone names the serial")
        << blank << blank << blank << board(77u) << record(serial) << QStringList { serial } << serial << 0u
        << 0u << boards << false << 3;
    QTest::newRow("board descriptors without record")
        << board(4711u) << board(815u) << record(serial) << board(77u) << missing << QStringList { serial }
        << serial << 4711u << 815u << QStringList() << true << 1;
    QTest::newRow("COM map without record")
        << board(4711u, serial) << blank << board(5u) << board(77u) << missing << QStringList { serial }
        << serial << 4711u << 0u << QStringList { "cb" } << true << 2;
    QTest::newRow("serial of any form votes")
        << blank << blank << record(QStringLiteral("12")) << board(77u) << missing
        << QStringList { QStringLiteral("12") } << QStringLiteral("12") << 0u << 0u << boards << true << 3;
}

void TestDiscovery::scenario()
{
    QFETCH(QByteArray, bf);
    QFETCH(QByteArray, cb);
    QFETCH(QByteArray, com);
    QFETCH(QByteArray, ut);
    QFETCH(QByteArray, file);
    QFETCH(QStringList, candidates);
    QFETCH(QString, adopted);
    QFETCH(uint, bfSerial);
    QFETCH(uint, cbSerial);
    QFETCH(QStringList, errors);
    QFETCH(bool, written);
    QFETCH(int, failures);
    Unit unit({ { QStringLiteral("bf"), bf },
                { QStringLiteral("cb"), cb },
                { QStringLiteral("com"), com },
                { QStringLiteral("ut"), ut },
                { QStringLiteral("file"), file } });
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(QStringList(unit.helper.probableSerials()), candidates);
    QCOMPARE(unit.helper.unitSerial(), adopted);
    QCOMPARE(unit.helper.unitSerial().isNull(), adopted.isNull());
    QCOMPARE(unit.helper.bfSerial(), bfSerial);
    QCOMPARE(unit.helper.cbSerial(), cbSerial);
    for (const QString &key : unit.order)
        QCOMPARE(unit.helper.status(key), errors.contains(key) ? error : ok);
    QCOMPARE(unit.helper.status(), ok);
    QCOMPARE(unit.helper.globalStatus(), errors.isEmpty() ? ok : error);
    QCOMPARE(log.texts(QtDebugMsg).size(), failures);
    QCOMPARE(log.count(), failures);
    for (const QString &key : unit.order) {
        QVERIFY(!unit.devices.value(key)->isOpen());
        if (key != QLatin1String("file"))
            QVERIFY(!unit.devices.value(key)->wasOpenedForWriting());
    }
    ScriptedDevice *cache = unit.device("file");
    QCOMPARE(cache->wasOpenedForWriting(), written);
    if (written) {
        const QVariantMap expected = cacheRecord(adopted, cbSerial, bfSerial);
        QCOMPARE(QVariantMap(unit.d->eeproms.value(QStringLiteral("file")).descriptor), expected);
        QCOMPARE(
            unit.d->eeproms.value(QStringLiteral("file")).descriptor.value(QStringLiteral("cb")).userType(),
            int(QMetaType::UInt));
        QCOMPARE(cache->data(), frameOf(expected));
    } else {
        QCOMPARE(cache->data(), file);
    }
}

void TestDiscovery::failuresLoggedInStoreOrder_data()
{
    QTest::addColumn<QByteArray>("cache");
    QTest::addColumn<QString>("cacheFailure");

    QTest::newRow("cache empty") << emptyFile << "Serials File: empty file";
    QTest::newRow("cache missing") << missing
                                   << "Serials File: could not open io device for reading: no such file";
}

void TestDiscovery::failuresLoggedInStoreOrder()
{
    QFETCH(QByteArray, cache);
    QFETCH(QString, cacheFailure);
    Unit unit({ { QStringLiteral("file"), cache } });
    QList<QByteArray> expected;
    for (const QString &key : unit.order)
        expected.append(discoverMessage(
            key == QLatin1String("file") ? cacheFailure : label(key) + QStringLiteral(": is blank")));
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(log.texts(QtDebugMsg), expected);
    QCOMPARE(log.count(), 5);
    QVERIFY(
        log.texts(QtDebugMsg).contains("void hmi::HwInfoHelper::discover() \"Carrier Board: is blank\" "));
}

void TestDiscovery::cacheWrittenUnderMask()
{
    Unit unit(healthyUnit());
    ScriptedDevice *cache = unit.device("file");
    mode_t maskWhileLoading = 0;
    cache->setOpenObserver([&maskWhileLoading](QIODevice::OpenMode mode) {
        if (!(mode & QIODevice::WriteOnly))
            maskWhileLoading = ScriptedDevice::currentCreationMask();
    });

    unit.helper.discover();

    QCOMPARE(writeOpens(cache), 1);
    QCOMPARE(cache->openModes().last(), QIODevice::OpenMode(QIODevice::WriteOnly));
    QCOMPARE(cache->maskAtWriteOpen(), cacheMask);
    QCOMPARE(cache->maskAtWrite(), cacheMask);
    QCOMPARE(maskWhileLoading, testMask);
    QCOMPARE(ScriptedDevice::currentCreationMask(), testMask);
    QCOMPARE(unit.helper.globalStatus(), ok);
}

void TestDiscovery::secondDiscoveryCountsCacheOnce()
{
    Unit unit(healthyUnit());
    ScriptedDevice *cache = unit.device("file");
    unit.helper.discover();
    QCOMPARE(writeOpens(cache), 1);
    const QByteArray written = cache->data();
    cache->setFaults(ScriptedDevice::NoFault);
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(unit.helper.probableSerials(), QList<QString> { QStringLiteral("I123456") });
    QCOMPARE(unit.helper.unitSerial(), QStringLiteral("I123456"));
    QCOMPARE(unit.helper.bfSerial(), 4711u);
    QCOMPARE(unit.helper.cbSerial(), 815u);
    QCOMPARE(writeOpens(cache), 1);
    QCOMPARE(cache->data(), written);
    QCOMPARE(unit.helper.globalStatus(), ok);
    QCOMPARE(log.count(), 0);
}

void TestDiscovery::saveFailureMarksUnitError()
{
    Unit unit(healthyUnit());
    ScriptedDevice *cache = unit.device("file");
    cache->setFaults(ScriptedDevice::ReadOpenFails | ScriptedDevice::WriteFails);
    const QVariantMap expectedRecord = cacheRecord(QStringLiteral("I123456"), 815u, 4711u);
    QString saveFailure;
    {
        ScriptedDevice probe(QByteArray(), ScriptedDevice::WriteFails);
        QVERIFY(probe.open(QIODevice::WriteOnly));
        try {
            ROMStorage(QVariant(expectedRecord)).saveTo(probe, 0x7fffffff);
        } catch (const QString &message) {
            saveFailure = message;
        }
    }
    QVERIFY(!saveFailure.isEmpty());
    QSignalSpy stepSpy(&unit.helper, &HwInfoHelper::progressCurStepChanged);
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(log.texts(QtDebugMsg).last(),
             "error while saving .serial file: \"" + saveFailure.toUtf8() + "\" ");
    QCOMPARE(log.count(), 2);
    QCOMPARE(unit.helper.status(), error);
    QCOMPARE(unit.helper.status(QStringLiteral("file")), error);
    QCOMPARE(unit.helper.globalStatus(), error);
    QVERIFY_EXCEPTION_THROWN(unit.helper.unitSerial(), HwInfoHelper::StatusFlags);
    QCOMPARE(unit.d->serials.unit, QStringLiteral("I123456"));
    QCOMPARE(unit.helper.probableSerials(), QList<QString> { QStringLiteral("I123456") });
    QCOMPARE(QVariantMap(unit.d->eeproms.value(QStringLiteral("file")).descriptor), expectedRecord);
    QCOMPARE(steps(stepSpy), stepsUpTo(6));
    QCOMPARE(cache->maskAtWrite(), cacheMask);
    QCOMPARE(ScriptedDevice::currentCreationMask(), testMask);
    QVERIFY(!cache->isOpen());
}

void TestDiscovery::unwritableCacheIsNoError()
{
    Unit unit(healthyUnit());
    unit.device("file")->setFaults(ScriptedDevice::SeekFails);
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(log.texts(QtCriticalMsg),
             QList<QByteArray> { "Error seeking \"Serials File\" eeprom ioDev: \"seek refused\" " });
    QCOMPARE(unit.helper.globalStatus(), ok);
    QCOMPARE(unit.helper.unitSerial(), QStringLiteral("I123456"));
    QCOMPARE(ScriptedDevice::currentCreationMask(), testMask);
}

void TestDiscovery::otherExceptionFromLoadLeaves()
{
    Unit unit(healthyUnit());
    unit.device("ut")->setFaults(ScriptedDevice::ThrowsOnReadOpen);
    QSignalSpy stepSpy(&unit.helper, &HwInfoHelper::progressCurStepChanged);

    QVERIFY_EXCEPTION_THROWN(unit.helper.discover(), std::runtime_error);

    QCOMPARE(steps(stepSpy), stepsUpTo(unit.order.indexOf(QStringLiteral("ut"))));
    QVERIFY(!unit.device("file")->wasOpenedForWriting());
    QCOMPARE(ScriptedDevice::currentCreationMask(), testMask);
}

void TestDiscovery::otherExceptionFromSaveLeaves()
{
    Unit unit(healthyUnit());
    ScriptedDevice *cache = unit.device("file");
    cache->setFaults(ScriptedDevice::ReadOpenFails | ScriptedDevice::ThrowsOnWriteOpen);
    QSignalSpy stepSpy(&unit.helper, &HwInfoHelper::progressCurStepChanged);

    QVERIFY_EXCEPTION_THROWN(unit.helper.discover(), std::runtime_error);

    QCOMPARE(cache->maskAtWriteOpen(), cacheMask);
    QCOMPARE(ScriptedDevice::currentCreationMask(), testMask);
    QCOMPARE(steps(stepSpy), stepsUpTo(5));
    QCOMPARE(unit.d->serials.unit, QStringLiteral("I123456"));
}

void TestDiscovery::progress()
{
    QHash<QString, QByteArray> contents = healthyUnit();
    contents.insert(QStringLiteral("cb"), blank);
    Unit unit(contents);
    unit.helper.discover();
    unit.device("file")->setFaults(ScriptedDevice::NoFault);
    QCOMPARE(unit.helper.status(QStringLiteral("cb")), error);
    QCOMPARE(unit.helper.bfSerial(), 4711u);

    QStringList events;
    int lastStep = -1;
    bool resetSeen = false;
    QHash<QString, int> stepAtLoad;
    QHash<QString, HwInfoHelper::StatusFlags> statusAtStep;
    HwInfoHelper &helper = unit.helper;
    connect(&helper, &HwInfoHelper::progressStepCountChanged, this, [&](int stepCount) {
        events.append(QStringLiteral("count %1").arg(stepCount));
        resetSeen = helper.unitSerial().isNull() && helper.probableSerials().isEmpty()
            && helper.bfSerial() == 0 && helper.cbSerial() == 0 && helper.status() == ok;
    });
    connect(&helper, &HwInfoHelper::progressCurStepChanged, this, [&](int curStep) {
        events.append(QStringLiteral("step %1").arg(curStep));
        lastStep = curStep;
        if (curStep < unit.order.size())
            statusAtStep.insert(unit.order.at(curStep), helper.status(unit.order.at(curStep)));
    });
    for (const QString &key : unit.order) {
        unit.devices.value(key)->setOpenObserver([&stepAtLoad, &lastStep, key](QIODevice::OpenMode mode) {
            if (!(mode & QIODevice::WriteOnly))
                stepAtLoad.insert(key, lastStep);
        });
    }
    QSignalSpy countSpy(&helper, &HwInfoHelper::progressStepCountChanged);
    QSignalSpy stepSpy(&helper, &HwInfoHelper::progressCurStepChanged);

    helper.discover();

    QCOMPARE(countSpy.size(), 1);
    QCOMPARE(countSpy.first().first().toInt(), 7);
    QCOMPARE(steps(stepSpy), stepsUpTo(6));
    QCOMPARE(events.first(), QStringLiteral("count 7"));
    QCOMPARE(events.size(), 8);
    QVERIFY(resetSeen);
    for (int step = 0; step < unit.order.size(); ++step) {
        const QString &key = unit.order.at(step);
        QCOMPARE(stepAtLoad.value(key, -1), step);
        QCOMPARE(statusAtStep.value(key, error), ok);
    }
}

QTEST_GUILESS_MAIN(TestDiscovery)

#include "tst_discovery.moc"
