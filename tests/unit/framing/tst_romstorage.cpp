#include "countingdevice.h"

#include <qorutils/romstorage.h>

#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
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
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    return readFrom(buffer);
}

bool isCorrupted(const Reading &r)
{
    return !r.valid && !r.blank && !r.empty && !r.payload.isValid();
}

/** Frames a payload by hand, following the documented layout rather than the library. */
QByteArray frameAround(const QByteArray &payload, char version = 1, char flags = 0)
{
    QByteArray frame("QROM");
    frame.append(version);
    frame.append(flags);
    frame.append(char(payload.size() & 0xff));
    frame.append(char(payload.size() >> 8));
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(frame.constData()), 8);
    crc = crc32(crc, reinterpret_cast<const Bytef *>(payload.constData()), uInt(payload.size()));
    for (int i = 0; i < 4; ++i)
        frame.append(char((crc >> (8 * i)) & 0xff));
    return frame + payload;
}

QVariantMap referenceRecord()
{
    QVariantMap record;
    record.insert(QStringLiteral("unit"), QStringLiteral("I123456"));
    record.insert(QStringLiteral("cb"), 1234567u);
    record.insert(QStringLiteral("bf"), 7654321u);
    record.insert(QStringLiteral("fpgaUid"), QStringLiteral("0a5f"));
    record.insert(QStringLiteral("com"), QStringLiteral("ABC123456789"));
    record.insert(QStringLiteral("mac"), QStringLiteral("02:fc:00:00:00:01"));
    return record;
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
    for (int i = 1; i < levels; ++i) {
        QVariantMap outer;
        outer.insert(QStringLiteral("k"), value);
        value = outer;
    }
    return value;
}

QByteArray nestedMapsHex(int levels)
{
    QByteArray hex;
    for (int i = 1; i < levels; ++i)
        hex += "0a01 016b ";
    return hex + "0a00";
}

QString expectedThrow(const QVariant &value)
{
    try {
        ROMStorage(value).frame();
    } catch (const QString &message) {
        return message;
    }
    return QString();
}

} // namespace

class TestROMStorage : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void nullAndEmptyStringsStayApart();
    void encoding_data();
    void encoding();
    void referenceRecordFrame();
    void everyTruncationIsRejected();
    void everyBitFlipIsRejected();
    void blankMemory_data();
    void blankMemory();
    void emptyFile();
    void closedDeviceIsEmptyAndQuiet();
    void hostileFrame_data();
    void hostileFrame();
    void unencodable_data();
    void unencodable();
    void largestPayload();
    void readingStopsAtTheFrame_data();
    void readingStopsAtTheFrame();
    void shortReadsAreCompleted();
    void frameTooLargeWritesNothing();
    void refusedWrite_data();
    void refusedWrite();
    void saveAtPosition();
    void saveToFileAndReadBack();
    void fullDiskIsReported();
};

void TestROMStorage::roundTrip_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("invalid") << QVariant();
    QTest::newRow("null string") << QVariant(QString());
    QTest::newRow("empty string") << QVariant(QStringLiteral(""));
    QTest::newRow("latin") << QVariant(QStringLiteral("I000123"));
    QTest::newRow("non-ascii") << QVariant(QString::fromUtf8("Ger\xc3\xa4t \xe6\x97\xa5\xe6\x9c\xac"));
    QTest::newRow("surrogate pair") << QVariant(QString::fromUtf8("\xf0\x9f\x98\x80"));
    QTest::newRow("byte order mark kept") << QVariant(QString::fromUtf8("\xef\xbb\xbf"
                                                                        "A"));
    QTest::newRow("nul character") << QVariant(QString(QChar(0)));
    QTest::newRow("uint 0") << QVariant(0u);
    QTest::newRow("uint max") << QVariant(UINT_MAX);
    QTest::newRow("int min") << QVariant(INT_MIN);
    QTest::newRow("int -1") << QVariant(-1);
    QTest::newRow("int max") << QVariant(INT_MAX);
    QTest::newRow("ulonglong max") << QVariant(Q_UINT64_C(0xffffffffffffffff));
    QTest::newRow("longlong min") << QVariant(qlonglong(LLONG_MIN));
    QTest::newRow("longlong max") << QVariant(qlonglong(LLONG_MAX));
    QTest::newRow("false") << QVariant(false);
    QTest::newRow("true") << QVariant(true);
    QTest::newRow("empty bytes") << QVariant(QByteArray());
    QTest::newRow("binary bytes") << QVariant(QByteArray("\x00\xff\x80", 3));
    QTest::newRow("empty map") << QVariant(QVariantMap());
    QTest::newRow("reference record") << QVariant(referenceRecord());
    QVariantMap mixed = referenceRecord();
    mixed.insert(QString(), QVariant());
    mixed.insert(QStringLiteral("nested"), QVariant(referenceRecord()));
    mixed.insert(QString::fromUtf8("\xef\xbc\x81"), true);
    mixed.insert(QString::fromUtf8("\xf0\x9f\x98\x80"), qlonglong(-5));
    QTest::newRow("mixed map") << QVariant(mixed);
    QTest::newRow("maps 8 deep") << nestedMaps(8);
}

void TestROMStorage::roundTrip()
{
    QFETCH(QVariant, value);

    const QByteArray frame = ROMStorage(value).frame();
    const Reading reading = readBytes(frame);

    QVERIFY(reading.valid);
    QVERIFY(!reading.blank && !reading.empty);
    QCOMPARE(reading.payload.userType(), value.userType());
    QCOMPARE(reading.payload, value);
    // Types and null strings deep inside maps show in the encoding, so equal frames mean an exact copy.
    QCOMPARE(ROMStorage(reading.payload).frame(), frame);
}

void TestROMStorage::nullAndEmptyStringsStayApart()
{
    QVariantMap record;
    record.insert(QStringLiteral("null"), QString());
    record.insert(QStringLiteral("empty"), QStringLiteral(""));

    const QVariantMap back = readBytes(ROMStorage(record).frame()).payload.toMap();

    QCOMPARE(back.value(QStringLiteral("null")).userType(), int(QMetaType::QString));
    QVERIFY(back.value(QStringLiteral("null")).toString().isNull());
    QCOMPARE(back.value(QStringLiteral("empty")).userType(), int(QMetaType::QString));
    QVERIFY(!back.value(QStringLiteral("empty")).toString().isNull());
    QVERIFY(back.value(QStringLiteral("empty")).toString().isEmpty());
}

void TestROMStorage::encoding_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("payloadHex");

    QTest::newRow("invalid") << QVariant() << QByteArray("00");
    QTest::newRow("null string") << QVariant(QString()) << QByteArray("01");
    QTest::newRow("empty string") << QVariant(QStringLiteral("")) << QByteArray("02 00");
    QTest::newRow("two-byte character")
        << QVariant(QString::fromUtf8("\xc3\xa9")) << QByteArray("02 02 c3a9");
    QTest::newRow("four-byte character")
        << QVariant(QString::fromUtf8("\xf0\x9f\x98\x80")) << QByteArray("02 04 f09f9880");
    QTest::newRow("uint 127") << QVariant(127u) << QByteArray("03 7f");
    QTest::newRow("uint 128") << QVariant(128u) << QByteArray("03 8001");
    QTest::newRow("uint 300") << QVariant(300u) << QByteArray("03 ac02");
    QTest::newRow("uint max") << QVariant(UINT_MAX) << QByteArray("03 ffffffff0f");
    QTest::newRow("int 0") << QVariant(0) << QByteArray("04 00");
    QTest::newRow("int -1") << QVariant(-1) << QByteArray("04 01");
    QTest::newRow("int 1") << QVariant(1) << QByteArray("04 02");
    QTest::newRow("int max") << QVariant(INT_MAX) << QByteArray("04 feffffff0f");
    QTest::newRow("int min") << QVariant(INT_MIN) << QByteArray("04 ffffffff0f");
    QTest::newRow("ulonglong max") << QVariant(Q_UINT64_C(0xffffffffffffffff))
                                   << QByteArray("05 ffffffffffffffffff01");
    QTest::newRow("longlong -2") << QVariant(qlonglong(-2)) << QByteArray("06 03");
    QTest::newRow("longlong min") << QVariant(qlonglong(LLONG_MIN)) << QByteArray("06 ffffffffffffffffff01");
    QTest::newRow("false") << QVariant(false) << QByteArray("07");
    QTest::newRow("true") << QVariant(true) << QByteArray("08");
    QTest::newRow("bytes") << QVariant(QByteArray("\x00\xff", 2)) << QByteArray("09 02 00ff");
    QTest::newRow("empty map") << QVariant(QVariantMap()) << QByteArray("0a 00");
    QVariantMap twoKeys;
    twoKeys.insert(QStringLiteral("b"), true);
    twoKeys.insert(QStringLiteral("a"), false);
    QTest::newRow("keys sorted") << QVariant(twoKeys) << QByteArray("0a 02 0161 07 0162 08");
    // UTF-16 order puts U+1F600 (D83D DE00) before U+FF01, although its UTF-8 bytes sort after.
    QVariantMap utf16Order;
    utf16Order.insert(QString::fromUtf8("\xef\xbc\x81"), true);
    utf16Order.insert(QString::fromUtf8("\xf0\x9f\x98\x80"), false);
    QTest::newRow("keys in UTF-16 order")
        << QVariant(utf16Order) << QByteArray("0a 02 04f09f9880 07 03efbc81 08");
}

void TestROMStorage::encoding()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, payloadHex);

    const QByteArray payload = QByteArray::fromHex(payloadHex);
    QCOMPARE(ROMStorage(value).frame(), frameAround(payload));
}

void TestROMStorage::referenceRecordFrame()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();

    QCOMPARE(frame.toHex(), QByteArray::fromHex(referenceFrameHex).toHex());
    QVERIFY(frame.size() <= 112);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QCOMPARE(ROMStorage(referenceRecord()).saveTo(buffer, 112), frame.size());
    QCOMPARE(buffer.data(), frame);
}

void TestROMStorage::everyTruncationIsRejected()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();

    for (int length = 0; length < frame.size(); ++length) {
        const Reading reading = readBytes(frame.left(length));
        QVERIFY2(!reading.valid && !reading.blank, qPrintable(QString::number(length)));
        QCOMPARE(reading.empty, length == 0);
        QVERIFY(!reading.payload.isValid());
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

void TestROMStorage::blankMemory_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("blank");

    QTest::newRow("erased header only") << QByteArray(12, '\xff') << true;
    QTest::newRow("erased eeprom") << QByteArray(384, '\xff') << true;
    QTest::newRow("zeroed header only") << QByteArray(12, '\0') << true;
    QTest::newRow("zeroed eeprom") << QByteArray(384, '\0') << true;
    QTest::newRow("erased but short") << QByteArray(11, '\xff') << false;
    QTest::newRow("mixed fill") << QByteArray(6, '\xff') + QByteArray(6, '\0') << false;
    QTest::newRow("one byte written") << QByteArray(11, '\xff') + QByteArray(1, 'Q') << false;
}

void TestROMStorage::blankMemory()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, blank);

    const Reading reading = readBytes(content);

    QCOMPARE(reading.blank, blank);
    QVERIFY(!reading.valid && !reading.empty);
}

void TestROMStorage::emptyFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFile file(dir.filePath(QStringLiteral("serial.cache")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));

    const Reading reading = readFrom(file);

    QVERIFY(reading.empty);
    QVERIFY(!reading.valid && !reading.blank);
}

namespace {
QStringList capturedMessages;

void captureMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    capturedMessages.append(message);
}
} // namespace

void TestROMStorage::closedDeviceIsEmptyAndQuiet()
{
    QBuffer buffer;
    buffer.setData(ROMStorage(referenceRecord()).frame());
    capturedMessages.clear();
    const QtMessageHandler previous = qInstallMessageHandler(captureMessage);

    const Reading reading = readFrom(buffer);

    qInstallMessageHandler(previous);
    QVERIFY(reading.empty);
    QCOMPARE(capturedMessages, QStringList());
}

void TestROMStorage::hostileFrame_data()
{
    QTest::addColumn<QByteArray>("frame");

    const auto payload = [](const char *hex) { return frameAround(QByteArray::fromHex(hex)); };

    QTest::newRow("empty payload") << payload("");
    QTest::newRow("non-minimal varint") << payload("03 8000");
    QTest::newRow("non-minimal length") << payload("02 8100 61");
    QTest::newRow("uint32 out of range") << payload("03 8080808010");
    QTest::newRow("int32 out of range") << payload("04 8080808010");
    QTest::newRow("uint64 overflow") << payload("05 ffffffffffffffffff02");
    QTest::newRow("varint of eleven bytes") << payload("05 8080808080808080808000");
    QTest::newRow("truncated varint") << payload("03 80");
    QTest::newRow("duplicate keys") << payload("0a 02 0161 07 0161 08");
    QTest::newRow("unsorted keys") << payload("0a 02 0162 07 0161 08");
    QTest::newRow("keys in UTF-8 order") << payload("0a 02 03efbc81 08 04f09f9880 07");
    QTest::newRow("overlong two bytes") << payload("02 02 c0af");
    QTest::newRow("overlong three bytes") << payload("02 03 e080af");
    QTest::newRow("overlong four bytes") << payload("02 04 f08080af");
    QTest::newRow("encoded surrogate") << payload("02 03 eda080");
    QTest::newRow("beyond U+10FFFF") << payload("02 04 f4908080");
    QTest::newRow("stray continuation") << payload("02 01 80");
    QTest::newRow("truncated sequence") << payload("02 02 e697");
    QTest::newRow("invalid byte") << payload("02 01 ff");
    QTest::newRow("bad UTF-8 in key") << payload("0a 01 01c0 07");
    QTest::newRow("unknown tag") << payload("0b");
    QTest::newRow("unknown tag in map") << payload("0a 01 0161 ff");
    QTest::newRow("trailing bytes") << payload("07 07");
    QTest::newRow("trailing zero") << payload("0a00 00");
    QTest::newRow("maps 9 deep") << payload(nestedMapsHex(9).constData());
    QTest::newRow("string beyond payload") << payload("02 05 6162");
    QTest::newRow("string one byte beyond payload") << payload("02 03 6162");
    QTest::newRow("bytes one byte beyond payload") << payload("09 03 6162");
    QTest::newRow("map count beyond payload") << payload("0a 02 0161 07");
    QTest::newRow("bytes beyond payload") << payload("09 ffff03 00");
    QTest::newRow("huge map count") << payload("0a ffffffff0f");
    QTest::newRow("missing map value") << payload("0a 01 0161");
    QTest::newRow("unknown version") << frameAround(QByteArray::fromHex("07"), 2);
    QTest::newRow("flags set") << frameAround(QByteArray::fromHex("07"), 1, 1);
    QByteArray badMagic = frameAround(QByteArray::fromHex("07"));
    badMagic[3] = 'N';
    QTest::newRow("bad magic") << badMagic;
}

void TestROMStorage::hostileFrame()
{
    QFETCH(QByteArray, frame);

    QVERIFY(isCorrupted(readBytes(frame)));
}

void TestROMStorage::unencodable_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("message");

    QTest::newRow("double") << QVariant(1.5) << QStringLiteral("double");
    QTest::newRow("date") << QVariant(QDateTime::currentDateTime()) << QStringLiteral("QDateTime");
    QTest::newRow("list") << QVariant(QVariantList()) << QStringLiteral("QVariantList");
    QTest::newRow("string list") << QVariant(QStringList()) << QStringLiteral("QStringList");
    QTest::newRow("hash") << QVariant(QVariantHash()) << QStringLiteral("QVariantHash");
    QVariantMap inner;
    inner.insert(QStringLiteral("x"), 2.5);
    QVariantMap outer;
    outer.insert(QStringLiteral("inner"), inner);
    QTest::newRow("double inside a map") << QVariant(outer) << QStringLiteral("double");
    QTest::newRow("maps 9 deep") << nestedMaps(9) << QStringLiteral("8 levels");
    QTest::newRow("unpaired surrogate") << QVariant(QString(QChar(0xd800))) << QStringLiteral("surrogate");
    QTest::newRow("bytes too large") << QVariant(QByteArray(65532, 'x')) << QStringLiteral("65535");
    QTest::newRow("string too large")
        << QVariant(QString(70000, QLatin1Char('x'))) << QStringLiteral("65535");
}

void TestROMStorage::unencodable()
{
    QFETCH(QVariant, value);
    QFETCH(QString, message);

    const QString thrown = expectedThrow(value);
    QVERIFY2(thrown.contains(message), qPrintable(thrown));

    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QVERIFY_EXCEPTION_THROWN(ROMStorage(value).saveTo(buffer, INT_MAX), QString);
    QCOMPARE(buffer.size(), qint64(0));
}

void TestROMStorage::largestPayload()
{
    // Tag, three-byte length and the bytes make exactly the 65535 bytes a frame can announce.
    const QVariant value(QByteArray(65531, 'x'));
    const QByteArray frame = ROMStorage(value).frame();

    QCOMPARE(frame.size(), ROMStorage::HeaderSize + ROMStorage::MaxPayloadSize);
    QCOMPARE(readBytes(frame).payload, value);
}

void TestROMStorage::readingStopsAtTheFrame_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<qint64>("consumed");
    QTest::addColumn<int>("maxReadCalls");

    const QByteArray frame = ROMStorage(referenceRecord()).frame();
    QTest::newRow("valid frame") << frame + QByteArray(300, '\xff') << qint64(frame.size()) << 2;
    QTest::newRow("blank") << QByteArray(384, '\xff') << qint64(12) << 1;
    QByteArray unknownVersion = frame;
    unknownVersion[4] = 9;
    QTest::newRow("unknown version") << unknownVersion << qint64(12) << 1;
    QByteArray damagedCrc = frame;
    damagedCrc[8] = char(damagedCrc.at(8) ^ 1);
    QTest::newRow("damaged crc") << damagedCrc << qint64(frame.size()) << 2;
}

void TestROMStorage::readingStopsAtTheFrame()
{
    QFETCH(QByteArray, content);
    QFETCH(qint64, consumed);
    QFETCH(int, maxReadCalls);

    CountingDevice device(content);
    QVERIFY(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    const ROMStorage storage(device);

    QCOMPARE(device.bytesDelivered(), consumed);
    QCOMPARE(device.pos(), consumed);
    QVERIFY2(device.readCalls() <= maxReadCalls, qPrintable(QString::number(device.readCalls())));
}

void TestROMStorage::shortReadsAreCompleted()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();
    CountingDevice device(frame + QByteArray(16, '\0'));
    device.setReadChunk(5);
    QVERIFY(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered));

    const Reading reading = readFrom(device);

    QVERIFY(reading.valid);
    QCOMPARE(reading.payload, QVariant(referenceRecord()));
    QCOMPARE(device.bytesDelivered(), qint64(frame.size()));
}

void TestROMStorage::frameTooLargeWritesNothing()
{
    const ROMStorage storage(referenceRecord());
    const int needed = storage.frame().size();
    const QByteArray before(200, '\xff');
    QBuffer buffer;
    buffer.setData(before);
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    QVERIFY(buffer.seek(10));

    try {
        storage.saveTo(buffer, needed - 1);
        QFAIL("no exception");
    } catch (const QString &message) {
        QCOMPARE(message,
                 QStringLiteral("record needs %1 bytes but only %2 fit").arg(needed).arg(needed - 1));
    }
    QCOMPARE(buffer.data(), before);
    QCOMPARE(buffer.pos(), qint64(10));
}

void TestROMStorage::refusedWrite_data()
{
    QTest::addColumn<qint64>("room");
    QTest::addColumn<QString>("error");

    QTest::newRow("takes part") << qint64(10) << QStringLiteral("the test device took only part");
    QTest::newRow("takes nothing") << qint64(0) << QStringLiteral("no room left on the test device");
}

void TestROMStorage::refusedWrite()
{
    QFETCH(qint64, room);
    QFETCH(QString, error);

    CountingDevice device(QByteArray(200, '\xff'));
    device.setWriteRoom(room);
    QVERIFY(device.open(QIODevice::ReadWrite | QIODevice::Unbuffered));

    try {
        ROMStorage(referenceRecord()).saveTo(device, INT_MAX);
        QFAIL("no exception");
    } catch (const QString &message) {
        QVERIFY2(message.contains(error), qPrintable(message));
    }
}

void TestROMStorage::saveAtPosition()
{
    const QByteArray frame = ROMStorage(referenceRecord()).frame();
    const QByteArray before(384, '\xff');
    QBuffer buffer;
    buffer.setData(before);
    QVERIFY(buffer.open(QIODevice::ReadWrite));
    QVERIFY(buffer.seek(256));

    QCOMPARE(ROMStorage(referenceRecord()).saveTo(buffer, 128), frame.size());

    QCOMPARE(buffer.data().left(256), before.left(256));
    QCOMPARE(buffer.data().mid(256, frame.size()), frame);
    QCOMPARE(buffer.data().mid(256 + frame.size()), before.mid(256 + frame.size()));
    QVERIFY(buffer.seek(256));
    QCOMPARE(readFrom(buffer).payload, QVariant(referenceRecord()));
}

void TestROMStorage::saveToFileAndReadBack()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QFile file(dir.filePath(QStringLiteral("serial.cache")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    const int written = ROMStorage(referenceRecord()).saveTo(file, INT_MAX);
    file.close();

    QCOMPARE(file.size(), qint64(written));
    QVERIFY(file.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    const Reading reading = readFrom(file);
    QVERIFY(reading.valid);
    QCOMPARE(reading.payload, QVariant(referenceRecord()));
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
