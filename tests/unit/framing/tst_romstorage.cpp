#include "fakedevice.h"
#include "messagelog.h"

#include <qorutils/frameheader.h>
#include <qorutils/romstorage.h>

#include "qtestcompat.h"
#include <QtCore/QFile>

#include <zlib.h>

#include <climits>
#include <cmath>
#include <limits>

namespace {

struct Reading
{
    bool valid;
    bool blank;
    bool empty;
    QVariant payload;
};

Reading readFrom(QIODevice &dev)
{
    const ROMStorage storage(dev);
    return Reading { storage.isValid(), storage.looksBlank(), storage.isEmpty(), storage.payload() };
}

Reading readBytes(const QByteArray &bytes)
{
    FakeDevice device(bytes);
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    return readFrom(device);
}

bool isCorrupted(const Reading &r)
{
    return !r.valid && !r.blank && !r.empty && !r.payload.isValid();
}

/** Frames a payload by hand, following the documented layout rather than the library. */
QByteArray frameAround(const QByteArray &payload, char version = 2, char flags = 0)
{
    QByteArray frame("QROM");
    frame.append(version).append(flags);
    frame.append(char(payload.size() & 0xff)).append(char(payload.size() >> 8));
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(frame.constData()), 8);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(payload.constData()), uInt(payload.size()));
    for (int i = 0; i < 4; ++i)
        frame.append(char((crc >> (8 * i)) & 0xff));
    return frame + payload;
}

QVariantMap referenceRecord()
{
    return variantMap({ { QStringLiteral("unit"), QStringLiteral("I123456") },
                        { QStringLiteral("cb"), 1234567u },
                        { QStringLiteral("bf"), 7654321u },
                        { QStringLiteral("fpgaUid"), QStringLiteral("0a5f") },
                        { QStringLiteral("com"), QStringLiteral("ABC123456789") },
                        { QStringLiteral("mac"), QStringLiteral("02:fc:00:00:00:01") } });
}

// The worked example of docs/record-format.md.
const char referenceFrameHex[] = "51524f4d 02 00 5200 9ea8c9f3" // header
                                 "a6" // map of six entries, shorter keys first
                                 "626266 1a0074cbb1" // "bf": unsigned 7654321
                                 "626362 1a0012d687" // "cb": unsigned 1234567
                                 "63636f6d 6c414243313233343536373839" // "com"
                                 "636d6163 7130323a66633a30303a30303a30303a3031" // "mac"
                                 "64756e6974 6749313233343536" // "unit"
                                 "6766706761556964 6430613566"; // "fpgaUid"

/** Maps and lists by turns, the outermost a map, nested @p levels deep. */
QVariant nested(int levels)
{
    QVariant value = QVariantMap();
    for (int i = 1; i < levels; ++i)
        value = i % 2 ? QVariant(QVariantList { value })
                      : QVariant(variantMap({ { QStringLiteral("k"), value } }));
    return value;
}

} // namespace

// The record frame: exact encoding, strict decoding, the verdicts, and how the device is read and written.
class TestROMStorage : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void encoding_data();
    void encoding();
    void referenceRecordFitsItsBudget();
    void everyTruncationIsRejected();
    void everyBitFlipIsRejected();
    void verdicts_data();
    void verdicts();
    void readingStopsAtTheFrame_data();
    void readingStopsAtTheFrame();
    void writeFailures_data();
    void writeFailures();
    void fullDiskIsReported();
};

void TestROMStorage::roundTrip_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>(
        "readBack"); // an integer comes back in the narrowest type, a list as QVariantList

    const auto same = [](const char *name, const QVariant &value) { QTest::newRow(name) << value << value; };
    same("invalid", QVariant());
    same("null string", QVariant(QString()));
    same("empty string", QVariant(QStringLiteral("")));
    same("BOM, non-ASCII, surrogate pair, noncharacter, NUL",
         QVariant(QString::fromUtf8("\xef\xbb\xbfGer\xc3\xa4t \xe6\x97\xa5 \xf0\x9f\x98\x80 \xef\xbf\xbf")
                  + QChar(0)));
    same("uint max", QVariant(UINT_MAX));
    same("int min", QVariant(INT_MIN));
    QTest::newRow("int max") << QVariant(INT_MAX) << QVariant(uint(INT_MAX));
    same("ulonglong max", QVariant(Q_UINT64_C(0xffffffffffffffff)));
    QTest::newRow("ulonglong small") << QVariant(Q_UINT64_C(7)) << QVariant(7u);
    same("longlong min", QVariant(qlonglong(LLONG_MIN)));
    same("longlong below int", QVariant(qlonglong(INT_MIN) - 1));
    QTest::newRow("longlong -5") << QVariant(qlonglong(-5)) << QVariant(-5);
    same("false", QVariant(false));
    same("true", QVariant(true));
    same("binary bytes", QVariant(QByteArray("\x00\xff\x80", 3)));
    same("minus zero", QVariant(-0.0));
    same("double", QVariant(1.0 / 3));
    same("smallest double", QVariant(std::numeric_limits<double>::denorm_min()));
    QTest::newRow("string list") << QVariant(QStringList { QStringLiteral("a"), QString() })
                                 << QVariant(QVariantList { QStringLiteral("a"), QString() });
    same("empty map", QVariant(QVariantMap()));
    QVariantMap mixed = referenceRecord();
    mixed.insert(QString(), QVariant());
    mixed.insert(QStringLiteral("nested"), QVariant(referenceRecord()));
    mixed.insert(QString::fromUtf8("\xf0\x9f\x98\x80"), -5);
    mixed.insert(QStringLiteral("calibration"),
                 QVariantList { 1.5, -0.25, 1e-3, QVariantList(), QVariantMap() });
    same("mixed map", QVariant(mixed));
    same("maps and lists 8 deep", nested(8));
    // Byte string head (three bytes) and the bytes make exactly the 65535 bytes a frame can announce.
    same("largest payload", QVariant(QByteArray(65532, 'x')));
}

void TestROMStorage::roundTrip()
{
    QFETCH(QVariant, value);
    QFETCH(QVariant, readBack);

    const QByteArray frame = ROMStorage(value).frame();
    const Reading reading = readBytes(frame);

    QVERIFY(reading.valid && !reading.blank && !reading.empty);
    QCOMPARE(reading.payload.userType(), readBack.userType());
    QCOMPARE(reading.payload, readBack);
    // Types, null strings and the bits of doubles show in the encoding, so equal frames mean an exact copy.
    QCOMPARE(ROMStorage(reading.payload).frame(), frame);
}

void TestROMStorage::encoding_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("payloadHex");

    const double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("invalid") << QVariant() << QByteArray("f7");
    QTest::newRow("null string") << QVariant(QString()) << QByteArray("f6");
    QTest::newRow("empty string") << QVariant(QStringLiteral("")) << QByteArray("60");
    QTest::newRow("int 23, 24") << QVariant(QVariantList { 23, 24u }) << QByteArray("82 17 1818");
    QTest::newRow("int -24, -25") << QVariant(QVariantList { -24, -25 }) << QByteArray("82 37 3818");
    QTest::newRow("uint 65536") << QVariant(65536u) << QByteArray("1a 00010000");
    QTest::newRow("ulonglong 2^32") << QVariant(Q_UINT64_C(0x100000000)) << QByteArray("1b 0000000100000000");
    QTest::newRow("longlong min") << QVariant(qlonglong(LLONG_MIN)) << QByteArray("3b 7fffffffffffffff");
    QTest::newRow("false, true") << QVariant(QVariantList { false, true }) << QByteArray("82 f4 f5");
    QTest::newRow("bytes") << QVariant(QByteArray("\x00\xff", 2)) << QByteArray("42 00ff");
    QTest::newRow("half") << QVariant(1.5) << QByteArray("f9 3e00");
    QTest::newRow("minus zero") << QVariant(-0.0) << QByteArray("f9 8000");
    QTest::newRow("largest half") << QVariant(65504.0) << QByteArray("f9 7bff");
    QTest::newRow("subnormal half") << QVariant(-3 * std::ldexp(1.0, -24)) << QByteArray("f9 8003");
    QTest::newRow("infinity") << QVariant(infinity) << QByteArray("f9 7c00");
    QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN()) << QByteArray("f9 7e00");
    QTest::newRow("single") << QVariant(65520.0) << QByteArray("fa 477ff000");
    QTest::newRow("double") << QVariant(0.1) << QByteArray("fb 3fb999999999999a");
    QTest::newRow("string list") << QVariant(QStringList { QStringLiteral("a"), QString() })
                                 << QByteArray("82 6161 f6");
    // Shorter keys first, then by UTF-8 bytes: U+FF01 before U+1F600 (D83D DE00), which UTF-16 sorts first.
    QTest::newRow("key order") << QVariant(variantMap({ { QString::fromUtf8("\xef\xbc\x81"), true },
                                                        { QString::fromUtf8("\xf0\x9f\x98\x80"), false },
                                                        { QStringLiteral("aa"), 1 },
                                                        { QStringLiteral("b"), 2 } }))
                               << QByteArray("a4 6162 02 626161 01 63efbc81 f5 64f09f9880 f4");
}

void TestROMStorage::encoding()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, payloadHex);
    const QByteArray frame = frameAround(QByteArray::fromHex(payloadHex));

    QCOMPARE(ROMStorage(value).frame(), frame);
    const Reading reading = readBytes(frame);
    QVERIFY(reading.valid);
    QCOMPARE(ROMStorage(reading.payload).frame(), frame);
}

void TestROMStorage::referenceRecordFitsItsBudget()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();

    QCOMPARE(frame.toHex(), QByteArray::fromHex(referenceFrameHex).toHex());
    QVERIFY(frame.size() <= 98);
    const FrameHeader header(frame);
    QVERIFY(header.isComplete() && header.isFormat(ROMStorage::FormatVersion));
    QCOMPARE(header.magic(), QByteArray("QROM"));
    QCOMPARE(header.payloadLength(), frame.size() - FrameHeader::Size);
    QCOMPARE(header.storedCrc(), 0xf3c9a89eu);
    QCOMPARE(header.computedCrc(frame), header.storedCrc());
    QVERIFY(!FrameHeader(frame.left(11)).isComplete());
    FakeDevice device;
    device.open(QIODevice::WriteOnly);
    QCOMPARE(ROMStorage(referenceRecord()).saveTo(device, 98), frame.size());
    QCOMPARE(device.content(), frame);
}

void TestROMStorage::everyTruncationIsRejected()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();

    for (int length = 0; length < frame.size(); ++length) {
        const Reading reading = readBytes(frame.left(length));
        QVERIFY2(!reading.valid && !reading.blank && !reading.payload.isValid(),
                 qPrintable(QString::number(length)));
        QCOMPARE(reading.empty, length == 0);
    }
}

void TestROMStorage::everyBitFlipIsRejected()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();

    for (int bit = 0; bit < frame.size() * 8; ++bit) {
        QByteArray damaged = frame;
        damaged[bit / 8] = char(damaged.at(bit / 8) ^ (1 << (bit % 8)));
        QVERIFY2(isCorrupted(readBytes(damaged)), qPrintable(QStringLiteral("bit %1").arg(bit)));
    }
}

void TestROMStorage::verdicts_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("open");
    QTest::addColumn<qint64>("readRoom");
    QTest::addColumn<bool>("blank");
    QTest::addColumn<bool>("empty");
    QTest::addColumn<QString>("error");

    const QByteArray frame = ROMStorage(referenceRecord()).frame();
    const QString none;
    const QString timeout = QStringLiteral("Connection timed out");
    QTest::newRow("nothing") << QByteArray("") << true << qint64(-1) << false << true << none;
    QTest::newRow("device not open") << frame << false << qint64(-1) << false << true << none;
    QTest::newRow("erased header only")
        << QByteArray(12, '\xff') << true << qint64(-1) << true << false << none;
    QTest::newRow("zeroed eeprom") << QByteArray(384, '\0') << true << qint64(-1) << true << false << none;
    QTest::newRow("erased but short")
        << QByteArray(11, '\xff') << true << qint64(-1) << false << false << none;
    QTest::newRow("mixed fill") << QByteArray(6, '\xff') + QByteArray(6, '\0') << true << qint64(-1) << false
                                << false << none;
    QTest::newRow("one byte written")
        << QByteArray(11, '\xff') + 'Q' << true << qint64(-1) << false << false << none;
    QTest::newRow("chip dead from the start") << frame << true << qint64(0) << false << false << timeout;
    QTest::newRow("chip dies in the header") << frame << true << qint64(5) << false << false << timeout;
    QTest::newRow("erased chip dies in the header")
        << QByteArray(384, '\xff') << true << qint64(5) << false << false << timeout;
    QTest::newRow("chip dies in the payload") << frame << true << qint64(20) << false << false << timeout;
}

void TestROMStorage::verdicts()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, open);
    QFETCH(qint64, readRoom);
    FakeDevice device(content);
    device.readRoom = readRoom;
    if (open)
        device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    MessageLog log;

    const ROMStorage storage(device);

    QVERIFY(!storage.isValid());
    QTEST(storage.looksBlank(), "blank");
    QTEST(storage.isEmpty(), "empty");
    QTEST(storage.errorString(), "error");
    QCOMPARE(storage.bytesRead(), content.left(int(device.bytesDelivered())));
    QCOMPARE(log.count(), 0);
}

void TestROMStorage::readingStopsAtTheFrame_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<qint64>("readChunk");
    QTest::addColumn<bool>("valid");
    QTest::addColumn<qint64>("consumed");
    QTest::addColumn<int>("maxReadCalls");

    const QByteArray frame = ROMStorage(referenceRecord()).frame();
    const qint64 size = frame.size();
    QByteArray unknownVersion = frame;
    unknownVersion[4] = 9;
    QByteArray damagedCrc = frame;
    damagedCrc[8] = char(damagedCrc.at(8) ^ 1);

    QTest::newRow("valid frame") << frame + QByteArray(300, '\xff') << qint64(0) << true << size << 2;
    QTest::newRow("short reads completed") << frame + QByteArray(16, '\0') << qint64(5) << true << size << 99;
    QTest::newRow("blank") << QByteArray(384, '\xff') << qint64(0) << false << qint64(12) << 1;
    QTest::newRow("unknown version") << unknownVersion << qint64(0) << false << qint64(12) << 1;
    QTest::newRow("damaged crc") << damagedCrc << qint64(0) << false << size << 2;
}

void TestROMStorage::readingStopsAtTheFrame()
{
    QFETCH(QByteArray, content);
    QFETCH(qint64, readChunk);
    QFETCH(qint64, consumed);
    QFETCH(int, maxReadCalls);

    FakeDevice device(content);
    device.readChunk = readChunk;
    QVERIFY(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    const ROMStorage storage(device);

    QTEST(storage.isValid(), "valid");
    QCOMPARE(device.bytesDelivered(), consumed);
    QCOMPARE(storage.bytesRead(), content.left(int(consumed)));
    QCOMPARE(device.pos(), consumed);
    QVERIFY2(device.readCalls() <= maxReadCalls, qPrintable(QString::number(device.readCalls())));
}

void TestROMStorage::writeFailures_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("maxSize");
    QTest::addColumn<qint64>("writeRoom");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("writesNothing");

    const QVariant record = referenceRecord();
    const int needed = ROMStorage(record).frame().size();
    QTest::newRow("frame too large")
        << record << needed - 1 << qint64(-1)
        << QStringLiteral("record needs %1 bytes but only %2 fit").arg(needed).arg(needed - 1) << true;
    QTest::newRow("device takes part")
        << record << INT_MAX << qint64(10) << QStringLiteral("the test device took only part") << false;
    QTest::newRow("device takes nothing")
        << record << INT_MAX << qint64(0) << QStringLiteral("no room left on the test device") << true;
    QTest::newRow("date") << QVariant(QDate(2026, 1, 2)) << INT_MAX << qint64(-1)
                          << QStringLiteral("a record cannot hold a value of type QDate") << true;
    QTest::newRow("float inside a list")
        << QVariant(QVariantList { variantMap({ { QStringLiteral("x"), QVariant(2.5f) } }) }) << INT_MAX
        << qint64(-1) << QStringLiteral("type float") << true;
    QTest::newRow("maps and lists 9 deep")
        << nested(9) << INT_MAX << qint64(-1) << QStringLiteral("8 levels") << true;
    QTest::newRow("unpaired surrogate")
        << QVariant(QString(QChar(0xd800))) << INT_MAX << qint64(-1) << QStringLiteral("surrogate") << true;
    QTest::newRow("bytes too large") << QVariant(QByteArray(65533, 'x')) << INT_MAX << qint64(-1)
                                     << QStringLiteral("65535") << true;
}

void TestROMStorage::writeFailures()
{
    QFETCH(QVariant, value);
    QFETCH(int, maxSize);
    QFETCH(qint64, writeRoom);
    QFETCH(QString, message);
    QFETCH(bool, writesNothing);
    const QByteArray before(200, '\xff');
    FakeDevice device(before);
    device.writeRoom = writeRoom;
    QVERIFY(device.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    QVERIFY(device.seek(10));

    try {
        ROMStorage(value).saveTo(device, maxSize);
        QFAIL("no exception");
    } catch (const QString &thrown) {
        QVERIFY2(thrown.contains(message), qPrintable(thrown));
    }
    if (writesNothing) {
        QCOMPARE(device.content(), before);
        QCOMPARE(device.pos(), qint64(10));
    }
}

void TestROMStorage::fullDiskIsReported()
{
    // Qt takes the write into its buffer; the full disk only shows when the buffer is flushed.
    QFile full(QStringLiteral("/dev/full"));
    if (!full.open(QIODevice::WriteOnly))
        QOR_SKIP("/dev/full is not available");

    try {
        ROMStorage(referenceRecord()).saveTo(full, INT_MAX);
        QFAIL("no exception");
    } catch (const QString &message) {
        QVERIFY2(message.contains(full.errorString()), qPrintable(message));
    }
}

QTEST_GUILESS_MAIN(TestROMStorage)

#include "tst_romstorage.moc"
