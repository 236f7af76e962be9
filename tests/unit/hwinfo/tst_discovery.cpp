#include "fakedevice.h"
#include "hwinfohelper_p.h"
#include "intsignalcallback.h"
#include "messagelog.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include "qtestcompat.h"

#include <sys/stat.h>

using hmi::HwInfoHelper;
using hmi::HwInfoHelperPrivate;
using Serials = HwInfoHelper::Serials;

// discover() on a real helper whose stores sit on in-memory devices: votes, candidates, the cache write
// and its file-creation mask, a second discovery after it, failures, and the progress signals.
class TestDiscovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void scenario_data();
    void scenario();
    void saveFailureMarksUnitError();
    void progress();

private:
    mode_t m_originalMask;
};

namespace {

// A mask that differs from the cache file's 003 and from the usual defaults.
const mode_t testMask = 027;
const mode_t cacheMask = 003;

const QString adoptedSerial = QStringLiteral("I123456");
const QString fpgaUid = QStringLiteral("0a5f");
const QString comSerial = QStringLiteral("COM-0042");
const QString mac = QStringLiteral("00:11:22:33:44:55");

const QByteArray blank(64, '\xff');
// A null content stands for a file that does not exist yet: reading it fails, writing creates it.
const QByteArray missing;

const HwInfoHelper::StatusFlags ok(HwInfoHelper::OK);
const HwInfoHelper::StatusFlags error(HwInfoHelper::ERROR);

QByteArray frameOf(const QVariantMap &map)
{
    return ROMStorage(QVariant(map)).frame();
}

// A memory that holds an identity record naming @p unit, unless that is null, and a board's own
// descriptor entry "serial", unless @p boardSerial is 0.
QByteArray memory(const QString &unit, uint boardSerial = 0)
{
    QVariantMap map;
    if (!unit.isNull())
        Serials(unit, 3u, 4u, QStringLiteral("0001"), QStringLiteral("old com"), QStringLiteral("old mac"))
            .writeTo(map);
    if (boardSerial != 0)
        map.insert(QStringLiteral("serial"), boardSerial);
    return frameOf(map);
}

// The boards of the unit under test have the serials 4711 ("bf"), 815 ("cb") and 77 ("ut").
QByteArray bfMemory(const QString &unit = QString())
{
    return memory(unit, 4711u);
}

QByteArray cbMemory(const QString &unit = QString())
{
    return memory(unit, 815u);
}

QByteArray corrupted()
{
    QByteArray frame = memory(adoptedSerial);
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

// What discover() logs for a store labelled @p label whose content does not load; nothing for one that does.
QByteArray loadFailure(const QString &label, const QByteArray &content)
{
    QString reason;
    if (content.isNull())
        reason = QStringLiteral(": could not open io device for reading: no such file");
    else if (content == blank)
        reason = QStringLiteral(": is blank");
    else if (content == corrupted())
        reason = QStringLiteral(": corrupted");
    else
        return QByteArray();
    return "void hmi::HwInfoHelper::discover() \"" + (label + reason).toUtf8() + "\" ";
}

QList<int> steps(const QSignalSpy &spy)
{
    QList<int> values;
    for (const QList<QVariant> &arguments : spy)
        values.append(arguments.first().toInt());
    return values;
}

const QList<int> allSteps { 0, 1, 2, 3, 4, 5, 6 };

// A real helper whose stores are moved onto fake devices with the given contents (blank where none is
// given) and whose hardware facts are set to known values.
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
            FakeDevice *device
                = new FakeDevice(image, content.isNull() ? FakeDevice::ReadOpenFails : FakeDevice::NoFault);
            device->setParent(&helper);
            store.ioDev = device;
            devices.insert(key, device);
        }
        d->serials.fpgaUid = fpgaUid;
        d->serials.com = comSerial;
        d->serials.mac = mac;
    }

    FakeDevice *device(const char *key) const { return devices.value(QString::fromLatin1(key)); }

    HwInfoHelper helper;
    HwInfoHelperPrivate *const d;
    // The helper's own store order, which is that of its QHash and so changes from process to process.
    const QStringList order;
    QHash<QString, FakeDevice *> devices;
};

QHash<QString, QByteArray> healthyUnit()
{
    return mapOf<QHash<QString, QByteArray> >({ { QStringLiteral("bf"), bfMemory(adoptedSerial) },
                                                { QStringLiteral("cb"), cbMemory(adoptedSerial) },
                                                { QStringLiteral("com"), memory(adoptedSerial) },
                                                { QStringLiteral("ut"), memory(QString(), 77u) },
                                                { QStringLiteral("file"), missing } });
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
    QTest::addColumn<QStringList>("errors"); // stores whose status is ERROR
    QTest::addColumn<bool>("written");

    const QString serial = adoptedSerial;
    const QString one = QStringLiteral("I111111");
    const QString two = QStringLiteral("I222222");
    const QString twelve = QStringLiteral("12");
    const QStringList boards { QStringLiteral("bf"), QStringLiteral("cb") };
    const QByteArray utBoard = memory(QString(), 77u);

    QTest::newRow("healthy unit") << bfMemory(serial) << cbMemory(serial) << memory(serial) << utBoard
                                  << missing << QStringList { serial } << serial << QStringList() << true;
    QTest::newRow("mono-element board unreadable")
        << bfMemory(serial) << cbMemory(serial) << memory(serial) << blank << missing
        << QStringList { serial } << serial << QStringList { "ut" } << true;
    QTest::newRow("carrier board corrupted")
        << bfMemory(serial) << corrupted() << memory(serial) << utBoard << missing << QStringList { serial }
        << serial << QStringList { "cb" } << true;
    QTest::newRow("one vote each") << bfMemory(one) << cbMemory(two) << blank << utBoard << missing
                                   << equalVoteOrder({ one, two }) << QString() << QStringList() << false;
    QTest::newRow("cache alone names the serial") << blank << blank << blank << utBoard << memory(serial)
                                                  << QStringList { serial } << serial << boards << false;
    QTest::newRow("board descriptors without record")
        << bfMemory() << cbMemory() << memory(serial) << utBoard << missing << QStringList { serial }
        << serial << QStringList() << true;
    QTest::newRow("COM map without record")
        << bfMemory(serial) << blank << memory(QString(), 5u) << utBoard << missing << QStringList { serial }
        << serial << QStringList { "cb" } << true;
    QTest::newRow("serial of any form votes") << blank << blank << memory(twelve) << utBoard << missing
                                              << QStringList { twelve } << twelve << boards << true;
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
    QFETCH(QStringList, errors);
    QFETCH(bool, written);
    const QHash<QString, QByteArray> contents
        = mapOf<QHash<QString, QByteArray> >({ { QStringLiteral("bf"), bf },
                                               { QStringLiteral("cb"), cb },
                                               { QStringLiteral("com"), com },
                                               { QStringLiteral("ut"), ut },
                                               { QStringLiteral("file"), file } });
    Unit unit(contents);
    QList<QByteArray> expectedLog;
    for (const QString &key : unit.order) {
        const QByteArray failure = loadFailure(unit.helper.eeproms().value(key).name, contents.value(key));
        if (!failure.isEmpty())
            expectedLog.append(failure);
    }
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(QStringList(unit.helper.probableSerials()), candidates);
    QCOMPARE(unit.helper.unitSerial(), adopted);
    QCOMPARE(unit.helper.unitSerial().isNull(), adopted.isNull());
    // A board that was not read has the serial 0.
    QCOMPARE(unit.helper.bfSerial(), errors.contains(QStringLiteral("bf")) ? 0u : 4711u);
    QCOMPARE(unit.helper.cbSerial(), errors.contains(QStringLiteral("cb")) ? 0u : 815u);
    for (const QString &key : unit.order)
        QCOMPARE(unit.helper.status(key), errors.contains(key) ? error : ok);
    QCOMPARE(unit.helper.status(), ok);
    QCOMPARE(unit.helper.globalStatus(), errors.isEmpty() ? ok : error);
    QCOMPARE(log.texts(QtDebugMsg), expectedLog);
    QCOMPARE(log.count(), expectedLog.size());
    for (const QString &key : unit.order) {
        const FakeDevice *device = unit.devices.value(key);
        QVERIFY(!device->isOpen());
        QCOMPARE(device->writeOpens(), key == QLatin1String("file") && written ? 1 : 0);
        for (const FakeDevice::Open &open : device->opens())
            QCOMPARE(open.mask, open.mode & QIODevice::WriteOnly ? cacheMask : testMask);
    }
    QCOMPARE(FakeDevice::creationMask(), testMask);
    const QByteArray cache
        = written ? frameOf(cacheRecord(adopted, unit.helper.cbSerial(), unit.helper.bfSerial())) : file;
    QCOMPARE(unit.device("file")->content(), cache);

    // A second discovery finds the record it wrote, counts its vote once and writes nothing.
    unit.device("file")->faults = FakeDevice::NoFault;
    unit.helper.discover();
    QCOMPARE(QStringList(unit.helper.probableSerials()), candidates);
    QCOMPARE(unit.helper.status(QStringLiteral("file")), ok);
    QCOMPARE(unit.device("file")->writeOpens(), written ? 1 : 0);
    QCOMPARE(unit.device("file")->content(), cache);
}

void TestDiscovery::saveFailureMarksUnitError()
{
    Unit unit(healthyUnit());
    FakeDevice *cache = unit.device("file");
    cache->writeRoom = 0;
    QSignalSpy stepSpy(&unit.helper, SIGNAL(progressCurStepChanged(int)));
    MessageLog log;

    unit.helper.discover();

    QCOMPARE(log.texts(QtDebugMsg).value(1),
             QByteArray("error while saving .serial file: \"could not write record: "
                        "no room left on the test device\" "));
    QCOMPARE(log.count(), 2);
    QCOMPARE(unit.helper.status(), error);
    QCOMPARE(unit.helper.status(QStringLiteral("file")), error);
    QVERIFY_EXCEPTION_THROWN(unit.helper.unitSerial(), HwInfoHelper::StatusFlags);
    QCOMPARE(unit.d->serials.unit, adoptedSerial);
    QCOMPARE(unit.helper.probableSerials(), QList<QString>() << adoptedSerial);
    QCOMPARE(QVariantMap(unit.d->eeproms.value(QStringLiteral("file")).descriptor),
             cacheRecord(adoptedSerial, 815u, 4711u));
    QCOMPARE(steps(stepSpy), allSteps);
    QCOMPARE(cache->opens().last().mask, cacheMask);
    QCOMPARE(FakeDevice::creationMask(), testMask);
    QVERIFY(!cache->isOpen());
}

void TestDiscovery::progress()
{
    QHash<QString, QByteArray> contents = healthyUnit();
    contents.insert(QStringLiteral("cb"), blank);
    Unit unit(contents);
    // A first discovery leaves serials, candidates and a store in ERROR behind, for the second to reset.
    unit.helper.discover();
    unit.device("file")->faults = FakeDevice::NoFault;
    QCOMPARE(unit.helper.bfSerial(), 4711u);
    QHash<QString, int> opensBefore;
    for (const QString &key : unit.order)
        opensBefore.insert(key, unit.devices.value(key)->opens().size());

    HwInfoHelper &helper = unit.helper;
    int stepsSeen = 0;
    bool resetSeen = false;
    QStringList problems;
    IntSignalCallback onStepCount(&helper, SIGNAL(progressStepCountChanged(int)), [&](int) {
        resetSeen = stepsSeen == 0 && helper.unitSerial().isNull() && helper.probableSerials().isEmpty()
            && helper.bfSerial() == 0 && helper.cbSerial() == 0 && helper.status() == ok;
    });
    // Each store's step comes after the loads of the stores before it and before its own, with its status OK.
    IntSignalCallback onStep(&helper, SIGNAL(progressCurStepChanged(int)), [&](int step) {
        ++stepsSeen;
        for (int k = 0; k < unit.order.size(); ++k) {
            const QString &key = unit.order.at(k);
            const int loads = unit.devices.value(key)->opens().size() - opensBefore.value(key);
            if (loads != (k < step ? 1 : 0))
                problems.append(
                    QStringLiteral("at step %1 %2 was loaded %3 times").arg(step).arg(key).arg(loads));
        }
        if (step < unit.order.size() && helper.status(unit.order.at(step)) != ok)
            problems.append(QStringLiteral("at step %1 the store's status is not OK").arg(step));
    });
    QSignalSpy countSpy(&helper, SIGNAL(progressStepCountChanged(int)));
    QSignalSpy stepSpy(&helper, SIGNAL(progressCurStepChanged(int)));

    helper.discover();

    QCOMPARE(countSpy.size(), 1);
    QCOMPARE(countSpy.first().first().toInt(), 7);
    QCOMPARE(steps(stepSpy), allSteps);
    QVERIFY(resetSeen);
    QCOMPARE(problems, QStringList());
}

QTEST_GUILESS_MAIN(TestDiscovery)

#include "tst_discovery.moc"
