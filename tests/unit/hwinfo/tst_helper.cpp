#include "hwinfohelper_p.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/piciodevice.h>

#include "qtestcompat.h"

using hmi::HwInfoHelper;
using hmi::HwInfoHelperPrivate;

Q_DECLARE_METATYPE(HwInfoHelper::StatusFlags)

// The helper object without discovery: its table of the unit's five stores, its state after construction,
// and the queries on statuses and serials over states set up directly in its private data.
class TestHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void storeTable_data();
    void storeTable();
    void storeDevicesBelongToTheParent();
    void constructedState();
    void statusByName_data();
    void statusByName();
    void queries_data();
    void queries();
    void statusMetaEnum();
};

namespace {

const HwInfoHelper::StatusFlags ok(HwInfoHelper::OK);
const HwInfoHelper::StatusFlags error(HwInfoHelper::ERROR);

} // namespace

void TestHelper::storeTable_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("path"); // empty for the carrier board's memory behind its PIC
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("maxSize");

    const QString eeprom = QStringLiteral("/sys/bus/i2c/devices/%1/eeprom");
    QTest::newRow("com") << QStringLiteral("COM Module") << eeprom.arg("0-0050") << 256 << 384;
    QTest::newRow("cb") << QStringLiteral("Carrier Board") << QString() << 0 << 2147483647;
    QTest::newRow("bf") << QStringLiteral("Beamformer Board") << eeprom.arg("0-0051") << 0 << 2147483647;
    QTest::newRow("ut") << QStringLiteral("Mono-Element Board") << eeprom.arg("0-0055") << 0 << 2147483647;
    QTest::newRow("file") << QStringLiteral("Serials File")
                          << QStringLiteral("/var/local/qorhwinfo/serial.cache") << 0 << 2147483647;
}

void TestHelper::storeTable()
{
    QFETCH(QString, path);
    QObject parent;

    const QHash<QString, HwInfoHelper::EEPROM> table = HwInfoHelper::eepromsInit(&parent);
    const HwInfoHelper::EEPROM store = table.value(QString::fromLatin1(QTest::currentDataTag()));

    QCOMPARE(table.size(), 5);
    QTEST(store.name, "label");
    QTEST(store.offset, "offset");
    QTEST(store.maxSize, "maxSize");
    QCOMPARE(store.status, ok);
    QVERIFY(store.descriptor.isEmpty());
    const QFile *file = qobject_cast<QFile *>(store.ioDev);
    QCOMPARE(file ? file->fileName() : QString(), path);
    QCOMPARE(qobject_cast<PicIODevice *>(store.ioDev) != nullptr, path.isEmpty());
}

void TestHelper::storeDevicesBelongToTheParent()
{
    QList<QPointer<QIODevice> > devices;
    {
        QObject parent;
        for (int call = 0; call < 2; ++call) {
            for (const HwInfoHelper::EEPROM &store : HwInfoHelper::eepromsInit(&parent)) {
                QCOMPARE(store.ioDev->parent(), &parent);
                QVERIFY(!store.ioDev->isOpen());
                devices.append(store.ioDev);
            }
        }
        QCOMPARE(parent.children().size(), 10);
    }

    for (const QPointer<QIODevice> &device : devices)
        QVERIFY(device.isNull());
}

void TestHelper::constructedState()
{
    HwInfoHelper helper;

    QCOMPARE(helper.cbSerial(), 0u);
    QCOMPARE(helper.bfSerial(), 0u);
    QCOMPARE(helper.status(), ok);
    QCOMPARE(helper.globalStatus(), ok);
    QVERIFY(helper.probableSerials().isEmpty());
    QVERIFY(helper.unitSerial().isNull());
    QCOMPARE(helper.eeproms().size(), 5);
}

void TestHelper::statusByName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<HwInfoHelper::StatusFlags>("status");

    for (const char *key : { "com", "cb", "bf", "ut", "file" })
        QTest::newRow(key) << key << ok;
    QTest::newRow("label") << "COM Module" << error;
    QTest::newRow("other case") << "Com" << error;
    QTest::newRow("empty") << "" << error;
    QTest::newRow("null") << QString() << error;
    QTest::newRow("unknown") << "eth0" << error;
}

void TestHelper::statusByName()
{
    QFETCH(QString, name);
    const HwInfoHelper helper;

    QTEST(helper.status(name), "status");
    QCOMPARE(helper.eeproms().size(), 5);
}

void TestHelper::queries_data()
{
    QTest::addColumn<HwInfoHelper::StatusFlags>("unitStatus");
    QTest::addColumn<QString>("failedStore");

    QTest::newRow("a store in ERROR shows only globally") << ok << "ut";
    QTest::newRow("unit-level ERROR makes unitSerial() throw") << error << "";
}

void TestHelper::queries()
{
    QFETCH(HwInfoHelper::StatusFlags, unitStatus);
    QFETCH(QString, failedStore);
    HwInfoHelper helper;
    HwInfoHelperPrivate *d = HwInfoHelperPrivate::get(&helper);
    d->status = unitStatus;
    if (!failedStore.isEmpty())
        d->eeproms[failedStore].status = HwInfoHelper::ERROR;
    d->probableSerials = { QStringLiteral("I004217") };
    d->serials.unit = QStringLiteral("I004217");

    QCOMPARE(helper.status(), unitStatus);
    QCOMPARE(helper.globalStatus(), error);
    try {
        QCOMPARE(helper.unitSerial(), QStringLiteral("I004217"));
        QCOMPARE(unitStatus, ok);
    } catch (const HwInfoHelper::StatusFlags &thrown) {
        QCOMPARE(thrown, error);
        QCOMPARE(unitStatus, error);
    }
}

void TestHelper::statusMetaEnum()
{
    const QMetaEnum meta = HwInfoHelper::statusMetaEnum();

    QCOMPARE(meta.name(), "StatusFlag");
    QVERIFY(!meta.isFlag());
    QCOMPARE(meta.keyCount(), 2);
    QCOMPARE(meta.keyToValue("ERROR"), 8);
    QCOMPARE(meta.valueToKey(0), "OK");
}

QTEST_GUILESS_MAIN(TestHelper)

#include "tst_helper.moc"
