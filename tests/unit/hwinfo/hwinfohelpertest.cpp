#include "fakedevice.h"
#include "hwinfohelper_p.h"
#include "intsignalcallback.h"
#include "messagelog.h"

#include <qorutils/piciodevice.h>
#include <qorutils/romstorage.h>

#include "qtestcompat.h"

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

    /** What loading the store @p key logs; empty when it loads. */
    QString failure(const QString &key) const
    {
        const QString what = memories[key];
        return what == "blank"    ? ": is blank"
            : what == "empty"     ? ": empty file"
            : what == "corrupted" ? ": corrupted"
            : what == "unseekable"
            ? QString(": could not seek io device to specified offset(%1): device closed")
                  .arg(d->eeproms[key].offset)
            : faultsOf(what) & FakeDevice::ReadOpenFails
            ? ": could not open io device for reading: no such file"
            : QString();
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
    void discovery_data();
    void discovery();

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
        stores << QString("%1 %2 %3 %4 %5").arg(it.key(), it->name, device).arg(it->offset).arg(it->maxSize);
        QVERIFY(helper.status(it.key()) == ok && it->descriptor.isEmpty() && it->ioDev->parent() == &helper
                && !it->ioDev->isOpen());
    }
    stores.sort();
    const QString eeprom = "/sys/bus/i2c/devices/0-00%1/eeprom";
    QCOMPARE(
        stores,
        QStringList({ "bf Beamformer Board " + eeprom.arg(51) + " 0 2147483647",
                      "cb Carrier Board PIC 0 2147483647", "com COM Module " + eeprom.arg(50) + " 256 384",
                      "file Serials File /var/local/qorhwinfo/serial.cache 0 2147483647",
                      "ut Mono-Element Board " + eeprom.arg(55) + " 0 2147483647" }));
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

void TestHwInfo::discovery_data()
{
    QTest::addColumn<QString>("memories"); // as Unit takes them
    QTest::addColumn<QString>("candidates");
    QTest::addColumn<QString>("adopted");
    QTest::addColumn<QString>("errors"); // the stores, and "unit" for the unit level, whose status is ERROR
    QTest::addColumn<QByteArray>("saveLog"); // what writing the cache file logs, or what leaves discover()

    const QString healthy = "bf=I123456 cb=I123456 com=I123456";
    const QString serial = "I123456";
    // One vote each: the order of a vote table built the same way, as "bf" votes before "cb".
    const QHash<QString, int> tie = mapOf<QHash<QString, int> >({ { "I111111", 1 }, { "I222222", 1 } });
    dataRow("healthy unit", healthy, serial, serial, "", QByteArray());
    dataRow("nothing anywhere", "ut=blank", "", "", "bf cb ut", QByteArray());
    dataRow("mono-element board blank", healthy + " ut=blank", serial, serial, "ut", QByteArray());
    dataRow("carrier board corrupted", "bf=I123456 cb=corrupted com=I123456", serial, serial, "cb",
            QByteArray());
    dataRow("two votes against one", "bf=I111111 cb=I111111 com=I222222", "I111111 I222222", "", "",
            QByteArray());
    dataRow("one vote each", "bf=I111111 cb=I222222", QStringList(tie.keys()).join(" "), "", "",
            QByteArray());
    dataRow("four votes", healthy + " file=I123456", serial, serial, "", QByteArray());
    dataRow("cache alone", "file=I123456", serial, serial, "bf cb", QByteArray());
    dataRow("boards without record", "bf=board cb=board com=I123456", serial, serial, "", QByteArray());
    dataRow("COM module without record", "bf=I123456 com=board", serial, serial, "cb", QByteArray());
    dataRow("serial of any form", "com=12", "12", "12", "bf cb", QByteArray());
    dataRow("memories that cannot be sought, hold nothing or no map",
            "com=unseekable ut=empty bf=text cb=I123456", serial, serial, "ut", QByteArray());
    dataRow(
        "cache full", healthy + " file=full", serial, serial, "file unit",
        QByteArray(
            "error while saving .serial file: \"could not write record: no room left on the test device\" "));
    dataRow("cache cannot be sought", healthy + " file=unseekable", serial, serial, "",
            QByteArray("Error seeking \"Serials File\" eeprom ioDev: \"seek refused\" "));
    dataRow("carrier board throws", "bf=I123456 cb=throws com=I123456", "", "", "",
            QByteArray("std::exception: memory read failed"));
    dataRow("cache throws", healthy + " file=throwing", "", "", "",
            QByteArray("std::exception: memory write failed"));
    dataRow("cache cannot be created", healthy + " file=unwritable", serial, serial, "",
            QByteArray("Error opening \"Serials File\" eeprom ioDev: \"no such file\" "));
}

void TestHwInfo::discovery()
{
    QFETCH(QString, memories);
    QFETCH(QString, candidates);
    QFETCH(QString, adopted);
    QFETCH(QString, errors);
    QFETCH(QByteArray, saveLog);
    Unit unit(memories);
    hmi::HwInfoHelperPrivate *d = unit.d;
    const QStringList failed = errors.split(' ', QOR_SKIP_EMPTY_PARTS);
    const bool written = !adopted.isEmpty() && !unit.failure("file").isEmpty();
    const bool critical = saveLog.startsWith("Error");
    QList<QByteArray> debugLog;
    for (const QString &key : unit.order) {
        if (!unit.failure(key).isEmpty())
            debugLog << "void hmi::HwInfoHelper::discover() \""
                    + (d->eeproms[key].name + unit.failure(key)).toUtf8() + "\" ";
    }
    if (!saveLog.isEmpty() && !critical)
        debugLog << saveLog;
    // A board that was not read, or whose record is no map, has the serial 0.
    const uint bf = unit.failure("bf").isEmpty() && unit.memories["bf"] != "text" ? 4711u : 0u;
    const uint cb = unit.failure("cb").isEmpty() && unit.memories["cb"] != "text" ? 815u : 0u;
    const QVariantMap cacheRecord
        = recordMap(Serials(adopted, cb, bf, "0a5f", "COM-0042", "00:11:22:33:44:55"));
    MessageLog log;
    QSignalSpy firstSteps(&unit.helper, SIGNAL(progressCurStepChanged(int)));

    const QString thrown = thrownBy([&] { unit.helper.discover(); });

    QCOMPARE(FakeDevice::creationMask(), testMask);
    for (const QString &key : unit.order) {
        QVERIFY(!unit.devices[key]->isOpen());
        for (const auto &open : unit.devices[key]->opens) {
            QCOMPARE(open.second, open.first & QIODevice::WriteOnly ? mode_t(003) : testMask);
            QVERIFY(open.first == QIODevice::WriteOnly
                    || open.first == (QIODevice::ReadOnly | QIODevice::Unbuffered));
        }
    }
    if (saveLog.startsWith("std::exception")) { // leaves discover() at once
        QCOMPARE(thrown.toUtf8(), saveLog);
        const QString thrower = unit.memories.key("throws");
        QCOMPARE(steps(firstSteps),
                 QString("0 1 2 3 4 5 6").left(thrower.isEmpty() ? 11 : 2 * unit.order.indexOf(thrower) + 1));
        return;
    }
    QCOMPARE(thrown, QString());
    QCOMPARE(steps(firstSteps), QString("0 1 2 3 4 5 6"));
    QCOMPARE(QStringList(unit.helper.probableSerials()).join(" "), candidates);
    QCOMPARE(describe(d->serials.unit), describe(adopted.isEmpty() ? QString() : adopted));
    QCOMPARE(unit.helper.bfSerial(), bf);
    QCOMPARE(unit.helper.cbSerial(), cb);
    for (const QString &key : unit.order) {
        QCOMPARE(unit.helper.status(key), failed.contains(key) ? error : ok);
        QCOMPARE(unit.devices[key]->opensWith(QIODevice::WriteOnly), int(key == "file" && written));
    }
    QCOMPARE(unit.helper.status(), failed.contains("unit") ? error : ok);
    QCOMPARE(unit.helper.globalStatus(), failed.isEmpty() ? ok : error);
    QCOMPARE(thrownBy([&] { unit.helper.unitSerial(); }),
             QString(failed.contains("unit") ? "something else" : ""));
    QCOMPARE(log.texts(QtDebugMsg), debugLog);
    QCOMPARE(log.texts(QtCriticalMsg), critical ? QList<QByteArray> { saveLog } : QList<QByteArray>());
    QCOMPARE(log.entries.size(), debugLog.size() + int(critical));
    FakeDevice *cache = unit.devices["file"];
    if (written)
        QCOMPARE(QVariantMap(d->eeproms["file"].descriptor), cacheRecord);
    if (written && saveLog.isEmpty())
        QCOMPARE(cache->data(), ROMStorage(cacheRecord).frame());

    // A second discovery resets what the first left behind, reads the cache that it wrote, counts its vote
    // once and writes nothing; each store's step comes before its load, with the status OK.
    cache->faults &= ~FakeDevice::Faults(FakeDevice::ReadOpenFails);
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
    QCOMPARE(QStringList(unit.helper.probableSerials()).join(" "), candidates);
    QCOMPARE(cache->opensWith(QIODevice::WriteOnly), written ? 1 + int(!saveLog.isEmpty()) : 0);
    if (written && saveLog.isEmpty())
        QCOMPARE(QVariantMap(d->eeproms["file"].descriptor), cacheRecord);
}

QTEST_GUILESS_MAIN(TestHwInfo)

#include "hwinfohelpertest.moc"
