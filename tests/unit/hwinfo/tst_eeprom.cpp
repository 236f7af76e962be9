#include "fakedevice.h"
#include "messagelog.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include "qtestcompat.h"

#include <climits>

using hmi::HwInfoHelper;
using EEPROM = HwInfoHelper::EEPROM;

Q_DECLARE_METATYPE(FakeDevice::Faults)

// One identity store over an in-memory device: what load() throws, what save() logs or lets through, and
// the state of the device and of the record map after each.
class TestEeprom : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void loadFailures_data();
    void loadFailures();
    void loadReplacesTheMap_data();
    void loadReplacesTheMap();
    void saveAtOffsetAndLoadBack();
    void saveFailures_data();
    void saveFailures();
};

namespace {

const QString label = QStringLiteral("Serials File");

QVariantMap record(const QString &unit)
{
    QVariantMap map;
    HwInfoHelper::Serials(unit, 815u, 4711u, QStringLiteral("0a5f"), QStringLiteral("COM-1"),
                          QStringLiteral("00:11:22:33:44:55"))
        .writeTo(map);
    return map;
}

QByteArray frameOf(const QVariant &payload)
{
    return ROMStorage(payload).frame();
}

} // namespace

void TestEeprom::loadFailures_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<FakeDevice::Faults>("faults");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QString>("message");

    QByteArray damaged = frameOf(record(QStringLiteral("I004217")));
    damaged[damaged.size() - 1] = char(damaged.at(damaged.size() - 1) ^ 0x5a);
    const FakeDevice::Faults none = FakeDevice::NoFault;

    QTest::newRow("erased") << QByteArray(64, '\xff') << none << 0 << label + QStringLiteral(": is blank");
    QTest::newRow("nothing") << QByteArray() << none << 0 << label + QStringLiteral(": empty file");
    QTest::newRow("damaged frame") << damaged << none << 0 << label + QStringLiteral(": corrupted");
    QTest::newRow("open refused") << damaged << FakeDevice::Faults(FakeDevice::ReadOpenFails) << 0
                                  << QStringLiteral(
                                         "Serials File: could not open io device for reading: no such file");
    // The error string is the one the device has after the close; the offset is printed as it is.
    QTest::newRow("seek refused")
        << damaged << FakeDevice::Faults(FakeDevice::SeekFails) << -7
        << QStringLiteral("Serials File: could not seek io device to specified offset(-7): device closed");
}

void TestEeprom::loadFailures()
{
    QFETCH(QByteArray, content);
    QFETCH(FakeDevice::Faults, faults);
    QFETCH(int, offset);
    FakeDevice device(content, faults);
    EEPROM store(label, &device, offset, INT_MAX);
    store.descriptor = record(QStringLiteral("I111111"));
    store.status = HwInfoHelper::ERROR;
    MessageLog log;

    try {
        store.load();
        QFAIL("load() returned normally");
    } catch (const QString &thrown) {
        QTEST(thrown, "message");
    }

    QVERIFY(store.descriptor.isEmpty());
    QVERIFY(!device.isOpen());
    QCOMPARE(store.status, HwInfoHelper::StatusFlags(HwInfoHelper::ERROR));
    QCOMPARE(log.count(), 0);
    QCOMPARE(device.opens().first().mode, QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void TestEeprom::loadReplacesTheMap_data()
{
    QTest::addColumn<QVariant>("payload");
    QTest::addColumn<QVariantMap>("descriptor");

    QVariantMap board = record(QStringLiteral("I004217"));
    board.insert(QStringLiteral("serial"), 4711u);
    QTest::newRow("record with board entries") << QVariant(board) << board;
    QTest::newRow("payload that is no map") << QVariant(QStringLiteral("I004217")) << QVariantMap();
}

void TestEeprom::loadReplacesTheMap()
{
    QFETCH(QVariant, payload);
    FakeDevice device(frameOf(payload));
    EEPROM store(label, &device, 0, INT_MAX);
    store.descriptor = record(QStringLiteral("I111111"));
    store.descriptor.insert(QStringLiteral("vendor"), QStringLiteral("gone after the load"));
    MessageLog log;

    store.load();

    QTEST(QVariantMap(store.descriptor), "descriptor");
    QVERIFY(!device.isOpen());
    QCOMPARE(store.status, HwInfoHelper::StatusFlags(HwInfoHelper::OK));
    QCOMPARE(log.count(), 0);
}

void TestEeprom::saveAtOffsetAndLoadBack()
{
    const QByteArray head(256, '\x42');
    FakeDevice device(head + QByteArray(384, '\xff'));
    EEPROM store(QStringLiteral("COM Module"), &device, 256, 384);
    QVariantMap written = record(QStringLiteral("I004217"));
    written.insert(QStringLiteral("serial"), 4711u);
    store.descriptor = written;
    const QByteArray frame = frameOf(QVariant(written));
    MessageLog log;

    store.save();

    QCOMPARE(device.opens().last().mode, QIODevice::OpenMode(QIODevice::WriteOnly));
    QCOMPARE(device.content().left(256), head);
    QCOMPARE(device.content().mid(256, frame.size()), frame);
    QVERIFY(!device.isOpen());
    store.descriptor.clear();
    store.load();
    QCOMPARE(QVariantMap(store.descriptor), written);
    QCOMPARE(log.count(), 0);
}

// An open or seek failure is logged; a failure of the framing or of the write itself passes through.
void TestEeprom::saveFailures_data()
{
    QTest::addColumn<FakeDevice::Faults>("faults");
    QTest::addColumn<int>("maxSize");
    QTest::addColumn<qint64>("writeRoom");
    QTest::addColumn<QByteArray>("logged"); // empty when save() throws

    const FakeDevice::Faults none = FakeDevice::NoFault;
    QTest::newRow("open refused") << FakeDevice::Faults(FakeDevice::WriteOpenFails) << INT_MAX << qint64(-1)
                                  << QByteArray(
                                         "Error opening \"Serials File\" eeprom ioDev: \"no such file\" ");
    // The error string is taken before the close, which would replace it with "device closed".
    QTest::newRow("seek refused") << FakeDevice::Faults(FakeDevice::SeekFails) << INT_MAX << qint64(-1)
                                  << QByteArray(
                                         "Error seeking \"Serials File\" eeprom ioDev: \"seek refused\" ");
    QTest::newRow("no room for the frame")
        << none << int(ROMStorage::HeaderSize) << qint64(-1) << QByteArray();
    QTest::newRow("device refuses the write") << none << INT_MAX << qint64(0) << QByteArray();
}

void TestEeprom::saveFailures()
{
    QFETCH(FakeDevice::Faults, faults);
    QFETCH(int, maxSize);
    QFETCH(qint64, writeRoom);
    QFETCH(QByteArray, logged);
    const QByteArray before = frameOf(record(QStringLiteral("I111111")));
    FakeDevice device(before, faults);
    device.writeRoom = writeRoom;
    EEPROM store(label, &device, 0, maxSize);
    store.descriptor = record(QStringLiteral("I004217"));
    MessageLog log;

    bool thrown = false;
    try {
        store.save();
    } catch (const QString &) {
        thrown = true;
    }

    QCOMPARE(thrown, logged.isEmpty());
    QCOMPARE(log.texts(QtCriticalMsg), logged.isEmpty() ? QList<QByteArray>() : QList<QByteArray> { logged });
    QCOMPARE(log.count(), logged.isEmpty() ? 0 : 1);
    QCOMPARE(device.content(), before);
    QVERIFY(!device.isOpen());
}

QTEST_GUILESS_MAIN(TestEeprom)

#include "tst_eeprom.moc"
