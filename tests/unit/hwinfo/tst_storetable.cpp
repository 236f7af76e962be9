#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/piciodevice.h>

#include <QtTest/QtTest>

using hmi::HwInfoHelper;

// The table of the unit's five stores: where each lives, and that building it touches no device.
class TestStoreTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void holdsFiveStores();
    void store_data();
    void store();
    void unknownKeyYieldsErrorStore_data();
    void unknownKeyYieldsErrorStore();
    void devicesBelongToParent();
    void callsAreIndependent();
};

void TestStoreTable::holdsFiveStores()
{
    QObject parent;
    const QHash<QString, HwInfoHelper::EEPROM> table = HwInfoHelper::eepromsInit(&parent);

    QStringList keys = table.keys();
    keys.sort();
    QCOMPARE(keys,
             QStringList({ QStringLiteral("bf"), QStringLiteral("cb"), QStringLiteral("com"),
                           QStringLiteral("file"), QStringLiteral("ut") }));
}

void TestStoreTable::store_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("offset");
    QTest::addColumn<int>("maxSize");

    // An empty path stands for the carrier board's memory behind its PIC.
    QTest::newRow("com") << "com"
                         << "COM Module"
                         << "/sys/bus/i2c/devices/0-0050/eeprom" << 256 << 384;
    QTest::newRow("cb") << "cb"
                        << "Carrier Board" << QString() << 0 << 2147483647;
    QTest::newRow("bf") << "bf"
                        << "Beamformer Board"
                        << "/sys/bus/i2c/devices/0-0051/eeprom" << 0 << 2147483647;
    QTest::newRow("ut") << "ut"
                        << "Mono-Element Board"
                        << "/sys/bus/i2c/devices/0-0055/eeprom" << 0 << 2147483647;
    QTest::newRow("file") << "file"
                          << "Serials File"
                          << "/var/local/qorhwinfo/serial.cache" << 0 << 2147483647;
}

void TestStoreTable::store()
{
    QFETCH(QString, key);
    QFETCH(QString, label);
    QFETCH(QString, path);
    QFETCH(int, offset);
    QFETCH(int, maxSize);
    QObject parent;

    const HwInfoHelper::EEPROM store = HwInfoHelper::eepromsInit(&parent).value(key);

    QCOMPARE(store.name, label);
    QCOMPARE(store.offset, offset);
    QCOMPARE(store.maxSize, maxSize);
    QCOMPARE(store.status, HwInfoHelper::StatusFlags(HwInfoHelper::OK));
    QVERIFY(store.descriptor.isEmpty());
    QVERIFY(store.ioDev);
    QVERIFY(!store.ioDev->isOpen());
    QCOMPARE(store.ioDev->parent(), &parent);
    if (path.isEmpty()) {
        QVERIFY(qobject_cast<PicIODevice *>(store.ioDev));
    } else {
        QFile *file = qobject_cast<QFile *>(store.ioDev);
        QVERIFY(file);
        QCOMPARE(file->fileName(), path);
    }
}

void TestStoreTable::unknownKeyYieldsErrorStore_data()
{
    QTest::addColumn<QString>("key");

    QTest::newRow("label") << "COM Module";
    QTest::newRow("other case") << "COM";
    QTest::newRow("empty") << "";
    QTest::newRow("unknown") << "pic";
}

void TestStoreTable::unknownKeyYieldsErrorStore()
{
    QFETCH(QString, key);
    QObject parent;

    const HwInfoHelper::EEPROM store = HwInfoHelper::eepromsInit(&parent).value(key);

    QCOMPARE(store.status, HwInfoHelper::StatusFlags(HwInfoHelper::ERROR));
}

void TestStoreTable::devicesBelongToParent()
{
    QList<QPointer<QIODevice>> devices;
    {
        QObject parent;
        for (const HwInfoHelper::EEPROM &store : HwInfoHelper::eepromsInit(&parent))
            devices.append(store.ioDev);
        QCOMPARE(parent.children().size(), 5);
    }

    QCOMPARE(devices.size(), 5);
    for (const QPointer<QIODevice> &device : devices)
        QVERIFY(device.isNull());
}

void TestStoreTable::callsAreIndependent()
{
    QObject parent;
    QSet<QIODevice *> devices;

    for (const HwInfoHelper::EEPROM &store : HwInfoHelper::eepromsInit(&parent))
        devices.insert(store.ioDev);
    for (const HwInfoHelper::EEPROM &store : HwInfoHelper::eepromsInit(&parent))
        devices.insert(store.ioDev);

    QCOMPARE(devices.size(), 10);
    QCOMPARE(parent.children().size(), 10);
}

QTEST_GUILESS_MAIN(TestStoreTable)

#include "tst_storetable.moc"
