#include "hwinfohelper_p.h"
#include "messagelog.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/sysfsfile.h>

#include <QtTest/QtTest>

using hmi::HwInfoHelper;
using hmi::HwInfoHelperPrivate;

Q_DECLARE_METATYPE(HwInfoHelper::StatusFlags)

// The helper object without discovery: construction, hardware facts, meta-object, and the queries on
// statuses and serials over states set up directly in its private data.
class TestHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructedState();
    void hardwareFacts();
    void statusByName_data();
    void statusByName();
    void storeErrorShowsOnlyGlobally();
    void unitSerialThrowsUnitStatus();
    void probableSerialsIsACopy();
    void statusMetaEnum();
    void metaObject();
    void destructionDeletesDevices();
};

namespace {

const HwInfoHelper::StatusFlags ok(HwInfoHelper::OK);
const HwInfoHelper::StatusFlags error(HwInfoHelper::ERROR);

} // namespace

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
    for (const HwInfoHelper::EEPROM &store : helper.eeproms()) {
        QCOMPARE(store.status, ok);
        QVERIFY(store.descriptor.isEmpty());
        QCOMPARE(store.ioDev->parent(), &helper);
        QVERIFY(!store.ioDev->isOpen());
    }
    QCOMPARE(&helper.eeproms(), &HwInfoHelperPrivate::get(&helper)->eeproms);
}

void TestHelper::hardwareFacts()
{
    MessageLog log;
    const HwInfoHelper helper;

    QCOMPARE(helper.mac(), hmi::SysFsFile(QStringLiteral("/sys/class/net/eth0/address")).toString());
    QCOMPARE(helper.comSerial(),
             hmi::SysFsFile(QStringLiteral("/sys/devices/virtual/dmi/id/board_serial")).toString());
    QCOMPARE(log.count(), 0);
    if (QFileInfo::exists(QStringLiteral("/dev/uio0")))
        QSKIP("this machine has a UIO device 0; its FPGA UID belongs to the system tests");
    QVERIFY(helper.fpgaUid().isNull());
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
    QFETCH(HwInfoHelper::StatusFlags, status);
    const HwInfoHelper helper;

    QCOMPARE(helper.status(name), status);
    QCOMPARE(helper.eeproms().size(), 5);
}

void TestHelper::storeErrorShowsOnlyGlobally()
{
    HwInfoHelper helper;
    HwInfoHelperPrivate *d = HwInfoHelperPrivate::get(&helper);
    d->eeproms[QStringLiteral("ut")].status = HwInfoHelper::ERROR;
    d->probableSerials = { QStringLiteral("I004217") };
    d->serials.unit = QStringLiteral("I004217");

    QCOMPARE(helper.status(), ok);
    QCOMPARE(helper.status(QStringLiteral("ut")), error);
    QCOMPARE(helper.globalStatus(), error);
    QCOMPARE(helper.unitSerial(), QStringLiteral("I004217"));
}

void TestHelper::unitSerialThrowsUnitStatus()
{
    HwInfoHelper helper;
    HwInfoHelperPrivate *d = HwInfoHelperPrivate::get(&helper);
    d->status = HwInfoHelper::ERROR;
    d->probableSerials = { QStringLiteral("I004217") };
    d->serials.unit = QStringLiteral("I004217");

    try {
        helper.unitSerial();
        QFAIL("unitSerial() returned with the unit-level status ERROR");
    } catch (const HwInfoHelper::StatusFlags &thrown) {
        QCOMPARE(thrown, error);
    }
    QCOMPARE(helper.globalStatus(), error);
    QCOMPARE(helper.probableSerials(), QList<QString> { QStringLiteral("I004217") });
}

void TestHelper::probableSerialsIsACopy()
{
    HwInfoHelper helper;
    HwInfoHelperPrivate *d = HwInfoHelperPrivate::get(&helper);
    d->probableSerials = { QStringLiteral("I111111"), QStringLiteral("I222222") };

    const QList<QString> taken = helper.probableSerials();
    d->probableSerials.clear();
    d->probableSerials.append(QStringLiteral("I333333"));

    QCOMPARE(taken, QList<QString>({ QStringLiteral("I111111"), QStringLiteral("I222222") }));
}

void TestHelper::statusMetaEnum()
{
    const QMetaEnum meta = HwInfoHelper::statusMetaEnum();

    QVERIFY(meta.isValid());
    QCOMPARE(meta.name(), "StatusFlag");
    QVERIFY(!meta.isFlag());
    QCOMPARE(meta.keyCount(), 2);
    QCOMPARE(meta.keyToValue("ERROR"), 8);
    QCOMPARE(meta.keyToValue("OK"), 0);
    QCOMPARE(meta.valueToKey(0), "OK");
    QCOMPARE(meta.valueToKey(8), "ERROR");
}

void TestHelper::metaObject()
{
    const QMetaObject &meta = HwInfoHelper::staticMetaObject;

    QCOMPARE(meta.className(), "hmi::HwInfoHelper");
    QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 2);
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 0);
    const QMetaMethod count = meta.method(meta.indexOfSignal("progressStepCountChanged(int)"));
    const QMetaMethod step = meta.method(meta.indexOfSignal("progressCurStepChanged(int)"));
    QCOMPARE(count.methodType(), QMetaMethod::Signal);
    QCOMPARE(count.parameterNames(), QList<QByteArray> { "stepCount" });
    QCOMPARE(step.methodType(), QMetaMethod::Signal);
    QCOMPARE(step.parameterNames(), QList<QByteArray> { "curStep" });
    QVERIFY(count.methodIndex() < step.methodIndex());
}

void TestHelper::destructionDeletesDevices()
{
    HwInfoHelper *helper = new HwInfoHelper;
    QList<QPointer<QIODevice>> devices;
    for (const HwInfoHelper::EEPROM &store : helper->eeproms())
        devices.append(store.ioDev);

    delete helper;

    QCOMPARE(devices.size(), 5);
    for (const QPointer<QIODevice> &device : devices)
        QVERIFY(device.isNull());
}

QTEST_GUILESS_MAIN(TestHelper)

#include "tst_helper.moc"
