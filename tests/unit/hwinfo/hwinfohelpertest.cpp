#include "fakedevice.h"
#include "hwinfohelper_p.h"
#include "intsignalcallback.h"
#include "messagelog.h"
#include "serialvote.h"

#include <qorutils/piciodevice.h>
#include <qorutils/romstorage.h>

#include "qtestcompat.h"

#include <algorithm>

#include <sys/stat.h>

using hmi::HwInfoHelper;
using Serials = HwInfoHelper::Serials;

Q_DECLARE_METATYPE(Serials)

namespace {

const HwInfoHelper::StatusFlags ok(HwInfoHelper::OK);
const HwInfoHelper::StatusFlags error(HwInfoHelper::ERROR);

const mode_t testMask = 027; // unlike the cache file's 003 and the usual defaults
const Serials fullRecord("I004217", 815u, 4711u, "0a5f", "COM-0042", "00:11:22:33:44:55");

// QCOMPARE takes a null and an empty QString, and QVariants of different types, as equal; records do not.
QString describe(const QVariant &value)
{
    return QString("%1:%2").arg(value.typeName(), value.toString().isNull() ? "(null)" : value.toString());
}

QStringList describe(const QVariantMap &map)
{
    QStringList entries;
    for (auto it = map.constBegin(); it != map.constEnd(); ++it)
        entries << it.key() + '=' + describe(it.value());
    return entries;
}

QVariantMap recordMap(const Serials &record, QVariantMap map = QVariantMap())
{
    record.writeTo(map);
    return map;
}

/** The values that a signal with one int argument carried, separated by blanks. */
QString steps(const QSignalSpy &spy)
{
    QStringList values;
    for (const QList<QVariant> &arguments : spy)
        values << arguments.first().toString();
    return values.join(" ");
}

// A store's memory from a word: "blank", "empty", "corrupted", "text" (a record that is no map), "board" (the
// board's own entries without a record) or the unit serial that its record names beside the board's entries.
QByteArray memory(const QString &key, const QString &what)
{
    QVariantMap map = recordMap(Serials(what, 3u, 4u, "0001", "old com", "old mac"));
    if (what == "board")
        map.clear();
    if (key != "file")
        map.insert("serial", key == "bf" ? 4711u : key == "cb" ? 815u : key == "ut" ? 77u : 5u);
    const QByteArray frame = ROMStorage(what == "text" ? QVariant(what) : QVariant(map)).frame();
    return what == "blank"    ? QByteArray(64, '\xff')
        : what == "empty"     ? QByteArray("")
        : what == "corrupted" ? frame.left(50)
                              : frame;
}

// A device that refuses: "unseekable", "throws" reading; "missing" cannot be read but created, "full" takes
// no write either, "unwritable" cannot be created, "throwing" throws when written.
FakeDevice::Faults faultsOf(const QString &what)
{
    const bool unreadable = what == "missing" || what == "full" || what == "unwritable" || what == "throwing";
    return FakeDevice::Faults(
        (unreadable ? FakeDevice::ReadOpenFails : 0) | (what == "full" ? FakeDevice::WriteFails : 0)
        | (what == "unwritable" ? FakeDevice::WriteOpenFails : 0)
        | (what == "unseekable" ? FakeDevice::SeekFails : 0) | (what == "throws" ? FakeDevice::ReadThrows : 0)
        | (what == "throwing" ? FakeDevice::WriteThrows : 0));
}

// A real helper whose stores sit on fake devices with the memories of a description "key=word ...", and
// whose hardware facts are known values.
class Unit
{
public:
    explicit Unit(const QString &description)
        : d(hmi::HwInfoHelperPrivate::get(&helper))
        , order(helper.eeproms().keys())
    {
        for (const QString &entry :
             ("bf=blank cb=blank com=blank ut=board file=missing " + description).split(' '))
            memories.insert(entry.section('=', 0, 0), entry.section('=', 1));
        for (const QString &key : order) {
            const FakeDevice::Faults faults = faultsOf(memories[key]);
            // Whatever precedes the record (the COM module's first 256 bytes) is not the store's.
            HwInfoHelper::EEPROM &store = d->eeproms[key];
            const QByteArray content = QByteArray(store.offset, 'x') + memory(key, memories[key]);
            store.ioDev = devices[key]
                = new FakeDevice(faults & FakeDevice::ReadOpenFails ? QByteArray() : content, faults);
            devices[key]->setParent(&helper);
        }
        d->serials = Serials(QString(), 0, 0, "0a5f", "COM-0042", "00:11:22:33:44:55");
    }

    /** The cache file's record after a discovery that adopted @p adopted and read the boards' serials. */
    static QByteArray cacheFrame(const QString &adopted, uint cb, uint bf)
    {
        return ROMStorage(recordMap(Serials(adopted, cb, bf, "0a5f", "COM-0042", "00:11:22:33:44:55")))
            .frame();
    }

    /** Every store closed, read unbuffered, the cache written under the mask 003 and nothing else under it.
     */
    void verifyOpens() const
    {
        QCOMPARE(FakeDevice::creationMask(), testMask);
        for (const QString &key : order) {
            QVERIFY(!devices[key]->isOpen());
            for (const auto &open : devices[key]->opens) {
                QCOMPARE(open.second, open.first & QIODevice::WriteOnly ? mode_t(003) : testMask);
                QVERIFY(open.first == QIODevice::WriteOnly
                        || open.first == (QIODevice::ReadOnly | QIODevice::Unbuffered));
            }
        }
    }

    HwInfoHelper helper;
    hmi::HwInfoHelperPrivate *const d;
    const QStringList order; // the helper's own, that of its QHash, which changes from process to process
    QHash<QString, QString> memories;
    QHash<QString, FakeDevice *> devices;
};

} // namespace

// The library's core on in-memory devices: the record's map form, the store table, the queries, discover()
// with the stores' loads, the cache's save and mask, their failures and messages, and the progress signals.
class TestHwInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_originalMask = ::umask(testMask); }
    void cleanupTestCase() { ::umask(m_originalMask); }
    void record_data();
    void record();
    void construction();
    void store_data();
    void store();
    void discovery_data();
    void discovery();
    void discoveryLog_data();
    void discoveryLog();
    void discoveryThrows_data();
    void discoveryThrows();
    void rediscovery_data();
    void rediscovery();

private:
    mode_t m_originalMask = 0;
};

// What the reader makes of a map, and what the writer leaves in it besides the six entries of a default
// record, which it writes as UInt 0 and null strings whatever the map held under their keys.
const char defaultEntries[]
    = "bf=uint:0 cb=uint:0 com=QString:(null) fpgaUid=QString:(null) mac=QString:(null) unit=QString:(null)";

void TestHwInfo::record_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<Serials>("read");
    QTest::addColumn<QString>("kept");

    dataRow("empty map", QVariantMap(), Serials(), "");
    dataRow("record with a board entry", recordMap(fullRecord, variantMap({ { "serial", 99u } })), fullRecord,
            "serial=uint:99");
    dataRow("keys differing in case, numbers in text and text in numbers",
            variantMap({ { "UNIT", "I1" }, { "cb", "1234" }, { "bf", "12ab" }, { "com", 42u } }),
            Serials(QString(), 1234u, 0u, QString(), "42", QString()), "UNIT=QString:I1");
}

void TestHwInfo::record()
{
    QFETCH(QVariantMap, map);
    QFETCH(Serials, read);
    QFETCH(QString, kept);

    QCOMPARE(describe(recordMap(Serials(map))), describe(recordMap(read)));
    Serials().writeTo(map);
    QStringList expected = (kept + " " + defaultEntries).split(' ', QOR_SKIP_EMPTY_PARTS);
    expected.sort();
    QCOMPARE(describe(map), expected);
}

// A helper right after construction: its table of stores, its state and the queries on it.
void TestHwInfo::construction()
{
    HwInfoHelper helper;

    QStringList stores;
    for (auto it = helper.eeproms().constBegin(); it != helper.eeproms().constEnd(); ++it) {
        const QFile *file = qobject_cast<QFile *>(it->ioDev);
        const QString device = file ? file->fileName() : qobject_cast<PicIODevice *>(it->ioDev) ? "PIC" : "?";
        stores << QString("%1 %2 %3 %4 %5 %6")
                      .arg(it.key(), it->name, device)
                      .arg(it->offset)
                      .arg(it->maxSize)
                      .arg(hmi::SerialVote::isVoting(it.key()) ? "votes" : "-");
        QVERIFY(helper.status(it.key()) == ok && it->descriptor.isEmpty() && it->ioDev->parent() == &helper
                && !it->ioDev->isOpen());
    }
    stores.sort();
    const QString eeprom = "/sys/bus/i2c/devices/0-00%1/eeprom";
    QCOMPARE(stores,
             QStringList({ "bf Beamformer Board " + eeprom.arg(51) + " 0 2147483647 votes",
                           "cb Carrier Board PIC 0 2147483647 votes",
                           "com COM Module " + eeprom.arg(50) + " 256 384 votes",
                           "file Serials File /var/local/qorhwinfo/serial.cache 0 2147483647 votes",
                           "ut Mono-Element Board " + eeprom.arg(55) + " 0 2147483647 -" }));
    const HwInfoHelper::EEPROM unset;
    QVERIFY(!unset.ioDev && unset.offset == 0 && unset.maxSize == 0 && unset.status == error);
    QCOMPARE(helper.cbSerial() + helper.bfSerial(), 0u);
    QCOMPARE(helper.globalStatus(), ok);
    QVERIFY(helper.probableSerials().isEmpty() && helper.unitSerial().isNull());
    for (const char *name : { "COM Module", "Com", "", "eth0" })
        QCOMPARE(helper.status(name), error);
    const QMetaEnum meta = HwInfoHelper::statusMetaEnum();
    QVERIFY(QByteArray(meta.name()) == "StatusFlag" && !meta.isFlag() && meta.keyCount() == 2);
    QVERIFY(meta.keyToValue("ERROR") == 8 && QByteArray(meta.valueToKey(0)) == "OK");

    // A unit-level ERROR shows globally and makes unitSerial() throw (the flags), whatever the candidates.
    hmi::HwInfoHelperPrivate::get(&helper)->status = error;
    hmi::HwInfoHelperPrivate::get(&helper)->probableSerials.append("I004217");
    QCOMPARE(helper.globalStatus(), error);
    QCOMPARE(thrownBy([&] { helper.unitSerial(); }), QString("something else"));
}

// A store's own load() and save() on the carrier board's memory: what load() throws, what save() logs.
void TestHwInfo::store_data()
{
    QTest::addColumn<QString>("memory"); // as Unit takes it
    QTest::addColumn<QString>("thrown");
    QTest::addColumn<QByteArray>("critical");

    dataRow("a record", "I123456", "", QByteArray());
    dataRow("blank", "blank", "Carrier Board: is blank", QByteArray());
    dataRow("cannot be opened", "unwritable",
            "Carrier Board: could not open io device for reading: no such file",
            QByteArray("Error opening \"Carrier Board\" eeprom ioDev: \"no such file\" "));
    dataRow("cannot be sought", "unseekable",
            "Carrier Board: could not seek io device to specified offset(0): device closed",
            QByteArray("Error seeking \"Carrier Board\" eeprom ioDev: \"seek refused\" "));
}

void TestHwInfo::store()
{
    QFETCH(QString, memory);
    QFETCH(QString, thrown);
    QFETCH(QByteArray, critical);
    Unit unit("cb=" + memory);
    HwInfoHelper::EEPROM &store = unit.d->eeproms["cb"];
    MessageLog log;

    QCOMPARE(thrownBy([&] { store.load(); }), thrown);
    QCOMPARE(hmi::DeviceDescriptor(store.descriptor).serial(), thrown.isEmpty() ? 815u : 0u);
    const QByteArray before = unit.devices["cb"]->data();
    store.descriptor = recordMap(fullRecord);
    store.save();

    QCOMPARE(log.texts(QtCriticalMsg),
             critical.isEmpty() ? QList<QByteArray>() : QList<QByteArray> { critical });
    QCOMPARE(unit.devices["cb"]->data(),
             critical.isEmpty() ? ROMStorage(recordMap(fullRecord)).frame() : before);
    QVERIFY(!unit.devices["cb"]->isOpen());
}

// Unit takes the memories; "errors" are the stores whose status is ERROR and "unit" for the unit level.
void TestHwInfo::discovery_data()
{
    QTest::addColumn<QString>("memories");
    QTest::addColumn<QStringList>("candidates");
    QTest::addColumn<QString>("adopted");
    QTest::addColumn<uint>("bf");
    QTest::addColumn<uint>("cb");
    QTest::addColumn<QString>("errors");

    const QString healthy = "bf=I123456 cb=I123456 com=I123456";
    const QStringList serial("I123456");
    dataRow("healthy unit", healthy, serial, "I123456", 4711u, 815u, "");
    dataRow("nothing anywhere", "ut=blank", QStringList(), "", 0u, 0u, "bf cb ut");
    dataRow("mono-element board blank", healthy + " ut=blank", serial, "I123456", 4711u, 815u, "ut");
    dataRow("carrier board corrupted", "bf=I123456 cb=corrupted com=I123456", serial, "I123456", 4711u, 0u,
            "cb");
    dataRow("two votes against one", "bf=I111111 cb=I111111 com=I222222",
            QStringList({ "I111111", "I222222" }), "", 4711u, 815u, "");
    dataRow("four votes", healthy + " file=I123456", serial, "I123456", 4711u, 815u, "");
    dataRow("cache alone", "file=I123456", serial, "I123456", 0u, 0u, "bf cb");
    dataRow("boards without record", "bf=board cb=board com=I123456", serial, "I123456", 4711u, 815u, "");
    dataRow("COM module without record", "bf=I123456 com=board", serial, "I123456", 4711u, 0u, "cb");
    dataRow("serial of any form", "com=12", QStringList("12"), "12", 0u, 0u, "bf cb");
    dataRow("memories that cannot be sought, hold nothing or no map",
            "com=unseekable ut=empty bf=text cb=I123456", serial, "I123456", 0u, 815u, "ut");
    dataRow("cache full", healthy + " file=full", serial, "I123456", 4711u, 815u, "file unit");
    dataRow("cache cannot be sought", healthy + " file=unseekable", serial, "I123456", 4711u, 815u, "");
    dataRow("cache cannot be created", healthy + " file=unwritable", serial, "I123456", 4711u, 815u, "");
}

void TestHwInfo::discovery()
{
    QFETCH(QString, memories);
    QFETCH(QStringList, candidates);
    QFETCH(QString, adopted);
    QFETCH(uint, bf);
    QFETCH(uint, cb);
    QFETCH(QString, errors);
    Unit unit(memories);
    QSignalSpy stepSpy(&unit.helper, SIGNAL(progressCurStepChanged(int)));

    unit.helper.discover();

    unit.verifyOpens();
    QCOMPARE(steps(stepSpy), QString("0 1 2 3 4 5 6"));
    QCOMPARE(QStringList(unit.helper.probableSerials()), candidates);
    QCOMPARE(describe(unit.d->serials.unit), describe(adopted.isEmpty() ? QString() : adopted));
    QCOMPARE(unit.helper.bfSerial(), bf);
    QCOMPARE(unit.helper.cbSerial(), cb);
    QStringList failed;
    for (const QString &key : QStringList({ "bf", "cb", "com", "ut", "file", "unit" })) {
        if ((key == "unit" ? unit.helper.status() : unit.helper.status(key)) == error)
            failed << key;
    }
    QCOMPARE(failed.join(" "), errors);
    QCOMPARE(unit.helper.globalStatus(), errors.isEmpty() ? ok : error);
    QCOMPARE(thrownBy([&] { unit.helper.unitSerial(); }),
             QString(errors.contains("unit") ? "something else" : ""));
}

// What a discovery logs: each store that does not load, as its name and reason, then what saving the cache
// file logs (critical when the file cannot be opened or sought); and how often the cache is opened to write.
void TestHwInfo::discoveryLog_data()
{
    QTest::addColumn<QString>("memories");
    QTest::addColumn<QStringList>("loads");
    QTest::addColumn<QByteArray>("save");
    QTest::addColumn<QByteArray>("critical");
    QTest::addColumn<QByteArray>("cache"); // its bytes afterwards, when they are written

    const QString healthy = "bf=I123456 cb=I123456 com=I123456";
    const QString noCache = "Serials File: could not open io device for reading: no such file";
    const QByteArray written = Unit::cacheFrame("I123456", 815u, 4711u);
    dataRow("healthy unit", healthy, QStringList({ noCache }), QByteArray(), QByteArray(), written);
    dataRow("nothing anywhere", "ut=blank",
            QStringList({ "Beamformer Board: is blank", "COM Module: is blank", "Carrier Board: is blank",
                          "Mono-Element Board: is blank", noCache }),
            QByteArray(), QByteArray(), QByteArray());
    dataRow("carrier board corrupted", "bf=I123456 cb=corrupted com=I123456",
            QStringList({ "Carrier Board: corrupted", noCache }), QByteArray(), QByteArray(),
            Unit::cacheFrame("I123456", 0u, 4711u));
    dataRow("two votes against one", "bf=I111111 cb=I111111 com=I222222", QStringList({ noCache }),
            QByteArray(), QByteArray(), QByteArray());
    dataRow("four votes", healthy + " file=I123456", QStringList(), QByteArray(), QByteArray(), QByteArray());
    dataRow("memories that cannot be sought, hold nothing or no map",
            "com=unseekable ut=empty bf=text cb=I123456",
            QStringList({ "COM Module: could not seek io device to specified offset(256): device closed",
                          "Mono-Element Board: empty file", noCache }),
            QByteArray(), QByteArray(), Unit::cacheFrame("I123456", 815u, 0u));
    dataRow("cache full", healthy + " file=full", QStringList({ noCache }),
            QByteArray("error while saving .serial file: \"could not write record: no room left on the test "
                       "device\" "),
            QByteArray(), QByteArray());
    dataRow("cache cannot be sought", healthy + " file=unseekable",
            QStringList({ "Serials File: could not seek io device to specified offset(0): device closed" }),
            QByteArray(), QByteArray("Error seeking \"Serials File\" eeprom ioDev: \"seek refused\" "),
            QByteArray());
    dataRow("cache cannot be created", healthy + " file=unwritable", QStringList({ noCache }), QByteArray(),
            QByteArray("Error opening \"Serials File\" eeprom ioDev: \"no such file\" "), QByteArray());
}

void TestHwInfo::discoveryLog()
{
    QFETCH(QString, memories);
    QFETCH(QStringList, loads);
    QFETCH(QByteArray, save);
    QFETCH(QByteArray, critical);
    QFETCH(QByteArray, cache);
    Unit unit(memories);
    MessageLog log;

    unit.helper.discover();

    QList<QByteArray> debugLog = log.texts(QtDebugMsg);
    QCOMPARE(save.isEmpty() ? QByteArray() : debugLog.takeLast(), save);
    std::sort(debugLog.begin(), debugLog.end());
    QList<QByteArray> expected;
    for (const QString &load : loads)
        expected << "void hmi::HwInfoHelper::discover() \"" + load.toUtf8() + "\" ";
    QCOMPARE(debugLog, expected);
    QCOMPARE(log.texts(QtCriticalMsg),
             critical.isEmpty() ? QList<QByteArray>() : QList<QByteArray> { critical });
    QCOMPARE(log.entries.size(), loads.size() + int(!save.isEmpty()) + int(!critical.isEmpty()));
    if (!cache.isEmpty())
        QCOMPARE(unit.devices["file"]->data(), cache);
}

// A store's device that throws ends discovery at once, after the steps of the stores before it.
void TestHwInfo::discoveryThrows_data()
{
    QTest::addColumn<QString>("memories");
    QTest::addColumn<QString>("thrower"); // the store whose step is the last one signalled; none: the save's
    QTest::addColumn<QString>("thrown");

    dataRow("carrier board throws reading", "bf=I123456 cb=throws com=I123456", "cb",
            "std::exception: memory read failed");
    dataRow("cache throws writing", "bf=I123456 cb=I123456 com=I123456 file=throwing", "",
            "std::exception: memory write failed");
}

void TestHwInfo::discoveryThrows()
{
    QFETCH(QString, memories);
    QFETCH(QString, thrower);
    QFETCH(QString, thrown);
    Unit unit(memories);
    QSignalSpy stepSpy(&unit.helper, SIGNAL(progressCurStepChanged(int)));

    QCOMPARE(thrownBy([&] { unit.helper.discover(); }), thrown);

    unit.verifyOpens();
    // The helper's own store order, that of its QHash, changes from process to process.
    const int lastStep = thrower.isEmpty() ? 5 : unit.order.indexOf(thrower);
    QCOMPARE(steps(stepSpy), QString("0 1 2 3 4 5 6").left(2 * lastStep + 1));
}

// A second discovery resets what the first left behind, reads the cache that the first wrote and counts its
// vote once; each store's step comes before its load, with the status OK. "writes" counts the cache's opens
// for writing in both.
void TestHwInfo::rediscovery_data()
{
    QTest::addColumn<QString>("memories");
    QTest::addColumn<QStringList>("candidates");
    QTest::addColumn<int>("writes");

    dataRow("cache written by the first", "bf=I123456 cb=I123456 com=I123456", QStringList("I123456"), 1);
    dataRow("cache present", "bf=I123456 file=I123456", QStringList("I123456"), 0);
    dataRow("cache full both times", "bf=I123456 cb=I123456 com=I123456 file=full", QStringList("I123456"),
            2);
    dataRow("no serial", "bf=I111111 cb=I111111 com=I222222", QStringList({ "I111111", "I222222" }), 0);
}

void TestHwInfo::rediscovery()
{
    QFETCH(QString, memories);
    QFETCH(QStringList, candidates);
    QFETCH(int, writes);
    Unit unit(memories);
    unit.helper.discover();
    FakeDevice *cache = unit.devices["file"];
    cache->faults &= ~FakeDevice::Faults(FakeDevice::ReadOpenFails);
    hmi::HwInfoHelperPrivate *d = unit.d;
    QStringList problems;
    IntSignalCallback onStepCount(&unit.helper, SIGNAL(progressStepCountChanged(int)), [&](int) {
        if (!d->serials.unit.isNull() || !d->probableSerials.isEmpty() || d->serials.bf || d->serials.cb
            || d->status)
            problems << "not reset";
    });
    IntSignalCallback onStep(&unit.helper, SIGNAL(progressCurStepChanged(int)), [&](int step) {
        if (step < unit.order.size() && unit.helper.status(unit.order.at(step)) != ok)
            problems << QString("at step %1 the store's status is not OK").arg(step);
    });
    QSignalSpy stepCount(&unit.helper, SIGNAL(progressStepCountChanged(int)));

    unit.helper.discover();

    QCOMPARE(steps(stepCount), QString("7"));
    QCOMPARE(problems, QStringList());
    QCOMPARE(QStringList(unit.helper.probableSerials()), candidates);
    QCOMPARE(cache->opensWith(QIODevice::WriteOnly), writes);
}

QTEST_GUILESS_MAIN(TestHwInfo)

#include "hwinfohelpertest.moc"
