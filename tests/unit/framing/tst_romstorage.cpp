#include "fakedevice.h"
#include "messagelog.h"

#include <qorutils/frameheader.h>
#include <qorutils/romstorage.h>

#include <QtCore/QFile>
#include <QtTest/QtTest>

#include <zlib.h>

#include <climits>

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
QByteArray frameAround(const QByteArray &payload, char version = 1, char flags = 0)
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
    return QVariantMap { { QStringLiteral("unit"), QStringLiteral("I123456") },
                         { QStringLiteral("cb"), 1234567u },
                         { QStringLiteral("bf"), 7654321u },
                         { QStringLiteral("fpgaUid"), QStringLiteral("0a5f") },
                         { QStringLiteral("com"), QStringLiteral("ABC123456789") },
                         { QStringLiteral("mac"), QStringLiteral("02:fc:00:00:00:01") } };
}

// The worked example of docs/record-format.md.
const char referenceFrameHex[] = "51524f4d 01 00 5600 2c811408" // header
                                 "0a 06" // map of six entries
                                 "026266 03 b197d303" // "bf": uint 7654321
                                 "026362 03 87ad4b" // "cb": uint 1234567
                                 "03636f6d 02 0c 414243313233343536373839" // "com"
                                 "0766706761556964 02 04 30613566" // "fpgaUid"
                                 "036d6163 02 11 30323a66633a30303a30303a30303a3031" // "mac"
                                 "04756e6974 02 07 49313233343536"; // "unit"

QVariant nestedMaps(int levels)
{
    QVariant value = QVariantMap();
    for (int i = 1; i < levels; ++i)
        value = QVariantMap { { QStringLiteral("k"), value } };
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
    void hostileFrame_data();
    void hostileFrame();
    void readingStopsAtTheFrame_data();
    void readingStopsAtTheFrame();
    void writeFailures_data();
    void writeFailures();
    void fullDiskIsReported();
};

void TestROMStorage::roundTrip_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("invalid") << QVariant();
    QTest::newRow("null string") << QVariant(QString());
    QTest::newRow("empty string") << QVariant(QStringLiteral(""));
    QTest::newRow("BOM, non-ASCII, surrogate pair, NUL")
        << QVariant(QString::fromUtf8("\xef\xbb\xbfGer\xc3\xa4t \xe6\x97\xa5 \xf0\x9f\x98\x80") + QChar(0));
    QTest::newRow("uint max") << QVariant(UINT_MAX);
    QTest::newRow("int min") << QVariant(INT_MIN);
    QTest::newRow("int max") << QVariant(INT_MAX);
    QTest::newRow("ulonglong max") << QVariant(Q_UINT64_C(0xffffffffffffffff));
    QTest::newRow("longlong min") << QVariant(qlonglong(LLONG_MIN));
    QTest::newRow("false") << QVariant(false);
    QTest::newRow("true") << QVariant(true);
    QTest::newRow("binary bytes") << QVariant(QByteArray("\x00\xff\x80", 3));
    QTest::newRow("empty map") << QVariant(QVariantMap());
    QVariantMap mixed = referenceRecord();
    mixed.insert(QString(), QVariant());
    mixed.insert(QStringLiteral("nested"), QVariant(referenceRecord()));
    mixed.insert(QString::fromUtf8("\xf0\x9f\x98\x80"), qlonglong(-5));
    QTest::newRow("mixed map") << QVariant(mixed);
    QTest::newRow("maps 8 deep") << nestedMaps(8);
    // Tag, three-byte length and the bytes make exactly the 65535 bytes a frame can announce.
    QTest::newRow("largest payload") << QVariant(QByteArray(65531, 'x'));
}

void TestROMStorage::roundTrip()
{
    QFETCH(QVariant, value);

    const QByteArray frame = ROMStorage(value).frame();
    const Reading reading = readBytes(frame);

    QVERIFY(reading.valid && !reading.blank && !reading.empty);
    QCOMPARE(reading.payload.userType(), value.userType());
    QCOMPARE(reading.payload, value);
    // Types and null strings deep inside maps show in the encoding, so equal frames mean an exact copy.
    QCOMPARE(ROMStorage(reading.payload).frame(), frame);
}

void TestROMStorage::encoding_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("payloadHex");

    QTest::newRow("invalid") << QVariant() << QByteArray("00");
    QTest::newRow("null string") << QVariant(QString()) << QByteArray("01");
    QTest::newRow("empty string") << QVariant(QStringLiteral("")) << QByteArray("02 00");
    QTest::newRow("int -1") << QVariant(-1) << QByteArray("04 01");
    QTest::newRow("longlong -2") << QVariant(qlonglong(-2)) << QByteArray("06 03");
    QTest::newRow("false") << QVariant(false) << QByteArray("07");
    QTest::newRow("bytes") << QVariant(QByteArray("\x00\xff", 2)) << QByteArray("09 02 00ff");
    // UTF-16 order puts U+1F600 (D83D DE00) before U+FF01, although its UTF-8 bytes sort after.
    QTest::newRow("keys in UTF-16 order") << QVariant(QVariantMap {
        { QString::fromUtf8("\xef\xbc\x81"), true }, { QString::fromUtf8("\xf0\x9f\x98\x80"), false } })
                                          << QByteArray("0a 02 04f09f9880 07 03efbc81 08");
}

void TestROMStorage::encoding()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, payloadHex);

    QCOMPARE(ROMStorage(value).frame(), frameAround(QByteArray::fromHex(payloadHex)));
}

void TestROMStorage::referenceRecordFitsItsBudget()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();

    QCOMPARE(frame.toHex(), QByteArray::fromHex(referenceFrameHex).toHex());
    QVERIFY(frame.size() <= 112);
    const FrameHeader header(frame);
    QVERIFY(header.isComplete() && header.isFormat(ROMStorage::FormatVersion));
    QCOMPARE(header.magic(), QByteArray("QROM"));
    QCOMPARE(header.payloadLength(), frame.size() - FrameHeader::Size);
    QCOMPARE(header.storedCrc(), 0x0814812cu);
    QCOMPARE(header.computedCrc(frame), header.storedCrc());
    QVERIFY(!FrameHeader(frame.left(11)).isComplete());
    FakeDevice device;
    device.open(QIODevice::WriteOnly);
    QCOMPARE(ROMStorage(referenceRecord()).saveTo(device, 112), frame.size());
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

void TestROMStorage::hostileFrame_data()
{
    QTest::addColumn<QByteArray>("frame");

    // Most hostile payloads are in the table of hostile frames that the fault tests share with the fuzzers;
    // these are the limits right at a boundary.
    const auto payload = [](const char *hex) { return frameAround(QByteArray::fromHex(hex)); };
    QTest::newRow("int32 out of range") << payload("04 8080808010");
    QTest::newRow("overlong three bytes") << payload("02 03 e080af");
    QTest::newRow("overlong four bytes") << payload("02 04 f08080af");
    QTest::newRow("keys in UTF-8 order") << payload("0a 02 03efbc81 08 04f09f9880 07");
    QTest::newRow("string one byte beyond payload") << payload("02 03 6162");
    QTest::newRow("bytes one byte beyond payload") << payload("09 03 6162");
}

void TestROMStorage::hostileFrame()
{
    QFETCH(QByteArray, frame);

    QVERIFY(isCorrupted(readBytes(frame)));
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
    QTest::newRow("double") << QVariant(1.5) << INT_MAX << qint64(-1) << QStringLiteral("double") << true;
    QTest::newRow("list") << QVariant(QVariantList()) << INT_MAX << qint64(-1)
                          << QStringLiteral("QVariantList") << true;
    QTest::newRow("double inside a map") << QVariant(QVariantMap { { QStringLiteral("x"), 2.5 } }) << INT_MAX
                                         << qint64(-1) << QStringLiteral("double") << true;
    QTest::newRow("maps 9 deep") << nestedMaps(9) << INT_MAX << qint64(-1) << QStringLiteral("8 levels")
                                 << true;
    QTest::newRow("unpaired surrogate")
        << QVariant(QString(QChar(0xd800))) << INT_MAX << qint64(-1) << QStringLiteral("surrogate") << true;
    QTest::newRow("bytes too large") << QVariant(QByteArray(65532, 'x')) << INT_MAX << qint64(-1)
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
        QSKIP("/dev/full is not available");

    try {
        ROMStorage(referenceRecord()).saveTo(full, INT_MAX);
        QFAIL("no exception");
    } catch (const QString &message) {
        QVERIFY2(message.contains(full.errorString()), qPrintable(message));
    }
}

QTEST_GUILESS_MAIN(TestROMStorage)

#include "tst_romstorage.moc"
