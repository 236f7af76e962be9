#include "messagelog.h"
#include "scripteddevice.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QtTest/QtTest>

using hmi::HwInfoHelper;
using EEPROM = HwInfoHelper::EEPROM;

// One identity store over in-memory devices and real files: what load() throws, what save() logs, and
// the state of the device and of the record map after each.
class TestEeprom : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void constructors();
    void loadFailures_data();
    void loadFailures();
    void loadFailsToOpenFile();
    void loadsNonMapPayloadAsEmptyMap();
    void copyLoadsIntoItsOwnMap();
    void saveFailureLogged_data();
    void saveFailureLogged();
    void saveAndLoadAtOffset();
    void saveRoundTrip_data();
    void saveRoundTrip();
    void saveHandsRoomToFraming();
    void savePassesFramingFailureAndCloses();

private:
    QTemporaryDir m_dir;
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

QByteArray corrupted()
{
    QByteArray frame = frameOf(record(QStringLiteral("I004217")));
    frame[frame.size() - 1] = char(frame.at(frame.size() - 1) ^ 0x5a);
    return frame;
}

// Where a case runs: on an in-memory device or on a real file.
enum Medium { Memory, File };

} // namespace

Q_DECLARE_METATYPE(Medium)
Q_DECLARE_METATYPE(ScriptedDevice::Faults)

void TestEeprom::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TestEeprom::constructors()
{
    const EEPROM fallback;
    QCOMPARE(fallback.status, HwInfoHelper::StatusFlags(HwInfoHelper::ERROR));
    QVERIFY(fallback.name.isNull());
    QVERIFY(fallback.descriptor.isEmpty());

    ScriptedDevice device;
    const EEPROM store(label, &device, 256, 384);
    QCOMPARE(store.name, label);
    QCOMPARE(store.ioDev, &device);
    QCOMPARE(store.offset, 256);
    QCOMPARE(store.maxSize, 384);
    QCOMPARE(store.status, HwInfoHelper::StatusFlags(HwInfoHelper::OK));
    QVERIFY(store.descriptor.isEmpty());
}

void TestEeprom::loadFailures_data()
{
    QTest::addColumn<Medium>("medium");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<ScriptedDevice::Faults>("faults");
    QTest::addColumn<QString>("message");

    const QByteArray erased(64, '\xff');
    const QByteArray zeroed(64, '\0');
    const ScriptedDevice::Faults none = ScriptedDevice::NoFault;
    QTest::newRow("memory: erased") << Memory << erased << none << label + QStringLiteral(": is blank");
    QTest::newRow("memory: zeroed") << Memory << zeroed << none << label + QStringLiteral(": is blank");
    QTest::newRow("memory: nothing") << Memory << QByteArray() << none
                                     << label + QStringLiteral(": empty file");
    QTest::newRow("memory: damaged frame")
        << Memory << corrupted() << none << label + QStringLiteral(": corrupted");
    QTest::newRow("memory: not a frame") << Memory << QByteArray("just some text in a memory") << none
                                         << label + QStringLiteral(": corrupted");
    // The error string is the one the device has after the close.
    QTest::newRow("memory: seek refused")
        << Memory << frameOf(record(QStringLiteral("I004217")))
        << ScriptedDevice::Faults(ScriptedDevice::SeekFails)
        << label + QStringLiteral(": could not seek io device to specified offset(-7): device closed");
    QTest::newRow("file: erased") << File << erased << none << label + QStringLiteral(": is blank");
    QTest::newRow("file: empty") << File << QByteArray() << none << label + QStringLiteral(": empty file");
    QTest::newRow("file: damaged frame")
        << File << corrupted() << none << label + QStringLiteral(": corrupted");
}

void TestEeprom::loadFailures()
{
    QFETCH(Medium, medium);
    QFETCH(QByteArray, content);
    QFETCH(ScriptedDevice::Faults, faults);
    QFETCH(QString, message);

    ScriptedDevice memory(content, faults);
    QFile file(m_dir.filePath(
        QString::fromLatin1(QTest::currentDataTag()).replace(QLatin1Char(':'), QLatin1Char('_'))));
    if (medium == File) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), qint64(content.size()));
        file.close();
    }
    QIODevice *device = medium == File ? static_cast<QIODevice *>(&file) : &memory;
    // The offset only matters where the seek is refused, and a negative one shows that it is printed as is.
    EEPROM store(label, device, faults & ScriptedDevice::SeekFails ? -7 : 0, 0x7fffffff);
    store.descriptor = record(QStringLiteral("I111111"));
    store.status = HwInfoHelper::ERROR;
    MessageLog log;

    try {
        store.load();
        QFAIL("load() returned normally");
    } catch (const QString &thrown) {
        QCOMPARE(thrown, message);
    }

    QVERIFY(store.descriptor.isEmpty());
    QVERIFY(!device->isOpen());
    QCOMPARE(store.status, HwInfoHelper::StatusFlags(HwInfoHelper::ERROR));
    QCOMPARE(log.count(), 0);
    if (medium == Memory)
        QCOMPARE(memory.openModes().first(), QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void TestEeprom::loadFailsToOpenFile()
{
    QFile missing(m_dir.filePath(QStringLiteral("no/such/serial.cache")));
    EEPROM store(label, &missing, 0, 0x7fffffff);
    store.descriptor = record(QStringLiteral("I111111"));
    MessageLog log;

    QString thrown;
    try {
        store.load();
    } catch (const QString &message) {
        thrown = message;
    }

    QVERIFY(!missing.errorString().isEmpty());
    QCOMPARE(thrown,
             label + QStringLiteral(": could not open io device for reading: ") + missing.errorString());
    QVERIFY(store.descriptor.isEmpty());
    QVERIFY(!missing.isOpen());
    QVERIFY(!missing.exists());
    QCOMPARE(log.count(), 0);
}

void TestEeprom::loadsNonMapPayloadAsEmptyMap()
{
    ScriptedDevice device(frameOf(QVariant(QStringLiteral("I004217"))));
    EEPROM store(label, &device, 0, 0x7fffffff);
    store.descriptor = record(QStringLiteral("I111111"));

    store.load();

    QVERIFY(store.descriptor.isEmpty());
    QVERIFY(!device.isOpen());
}

void TestEeprom::copyLoadsIntoItsOwnMap()
{
    ScriptedDevice device(frameOf(record(QStringLiteral("I004217"))));
    EEPROM store(label, &device, 0, 0x7fffffff);
    store.descriptor = record(QStringLiteral("I111111"));
    EEPROM copy = store;

    copy.load();

    QCOMPARE(copy.ioDev, store.ioDev);
    QCOMPARE(store.descriptor.value(QStringLiteral("unit")).toString(), QStringLiteral("I111111"));
    QCOMPARE(copy.descriptor.value(QStringLiteral("unit")).toString(), QStringLiteral("I004217"));
}

void TestEeprom::saveFailureLogged_data()
{
    QTest::addColumn<bool>("missingFile");
    QTest::addColumn<QByteArray>("logged");

    // The error string is taken before the close, which would replace it with "device closed".
    QTest::newRow("seek refused") << false
                                  << QByteArray(
                                         "Error seeking \"Serials File\" eeprom ioDev: \"seek refused\" ");
    // The file's own error string follows, between quotes and with the trailing space.
    QTest::newRow("file cannot be created")
        << true << QByteArray("Error opening \"Serials File\" eeprom ioDev: ");
}

void TestEeprom::saveFailureLogged()
{
    QFETCH(bool, missingFile);
    QFETCH(QByteArray, logged);
    const QByteArray before = frameOf(record(QStringLiteral("I111111")));
    ScriptedDevice memory(before, ScriptedDevice::SeekFails);
    QFile file(m_dir.filePath(QStringLiteral("no/such/dir/serial.cache")));
    QIODevice *device = missingFile ? static_cast<QIODevice *>(&file) : &memory;
    EEPROM store(label, device, 0, 0x7fffffff);
    store.descriptor = record(QStringLiteral("I004217"));
    MessageLog log;

    store.save();

    if (missingFile) {
        QVERIFY(!file.errorString().isEmpty());
        logged += '"' + file.errorString().toUtf8() + "\" ";
        QVERIFY(!file.exists());
    } else {
        QCOMPARE(memory.data(), before);
        QCOMPARE(memory.openModes(), QList<QIODevice::OpenMode> { QIODevice::WriteOnly });
    }
    QCOMPARE(log.count(), 1);
    QCOMPARE(log.entries().first().type, QtCriticalMsg);
    QCOMPARE(log.texts(QtCriticalMsg).first(), logged);
    QVERIFY(!device->isOpen());
    QCOMPARE(store.descriptor.value(QStringLiteral("unit")).toString(), QStringLiteral("I004217"));
}

void TestEeprom::saveAndLoadAtOffset()
{
    const QByteArray head(256, '\x42');
    ScriptedDevice device(head + QByteArray(384, '\xff'));
    EEPROM store(QStringLiteral("COM Module"), &device, 256, 384);
    store.descriptor = record(QStringLiteral("I004217"));
    const QByteArray frame = frameOf(QVariant(QVariantMap(store.descriptor)));

    store.save();

    QCOMPARE(device.data().left(256), head);
    QCOMPARE(device.data().mid(256, frame.size()), frame);
    QVERIFY(!device.isOpen());
    const QVariantMap written = store.descriptor;
    store.descriptor.clear();
    store.load();
    QCOMPARE(QVariantMap(store.descriptor), written);
}

void TestEeprom::saveRoundTrip_data()
{
    QTest::addColumn<Medium>("medium");

    QTest::newRow("memory") << Memory;
    QTest::newRow("file") << File;
}

void TestEeprom::saveRoundTrip()
{
    QFETCH(Medium, medium);
    ScriptedDevice memory;
    QFile file(m_dir.filePath(QStringLiteral("roundtrip.cache")));
    QIODevice *device = medium == File ? static_cast<QIODevice *>(&file) : &memory;
    EEPROM store(label, device, 0, 0x7fffffff);
    QVariantMap written = record(QStringLiteral("I004217"));
    written.insert(QStringLiteral("serial"), 4711u);
    store.descriptor = written;
    if (medium == File) {
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(1000, '\x42'));
        file.close();
    }
    MessageLog log;

    store.save();
    QVERIFY(!device->isOpen());
    if (medium == File)
        QCOMPARE(file.size(), qint64(frameOf(QVariant(written)).size()));
    store.descriptor = record(QStringLiteral("I111111"));
    store.descriptor.insert(QStringLiteral("vendor"), QStringLiteral("gone after the load"));
    store.load();

    QCOMPARE(QVariantMap(store.descriptor), written);
    QCOMPARE(store.descriptor.serial(), 4711u);
    QVERIFY(!device->isOpen());
    QCOMPARE(log.count(), 0);
    if (medium == Memory)
        QCOMPARE(memory.openModes().first(), QIODevice::OpenMode(QIODevice::WriteOnly));
}

void TestEeprom::saveHandsRoomToFraming()
{
    const QByteArray before(64, '\xff');
    ScriptedDevice device(before);
    EEPROM store(QStringLiteral("COM Module"), &device, 0, ROMStorage::HeaderSize);
    store.descriptor = record(QStringLiteral("I004217"));

    QVERIFY_EXCEPTION_THROWN(store.save(), QString);

    QCOMPARE(device.data(), before);
    QVERIFY(!device.isOpen());
}

void TestEeprom::savePassesFramingFailureAndCloses()
{
    ScriptedDevice device(QByteArray(), ScriptedDevice::WriteFails);
    EEPROM store(label, &device, 0, 0x7fffffff);
    store.descriptor = record(QStringLiteral("I004217"));
    MessageLog log;

    QVERIFY_EXCEPTION_THROWN(store.save(), QString);

    QVERIFY(!device.isOpen());
    QCOMPARE(log.count(), 0);
}

QTEST_GUILESS_MAIN(TestEeprom)

#include "tst_eeprom.moc"
