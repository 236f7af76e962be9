#include "fakedevice.h"
#include "hostileframes.h"

#include <qorutils/frameheader.h>
#include <qorutils/romstorage.h>

#include "qtestcompat.h"
#include <QtCore/QFile>

#include <climits>
#include <cmath>
#include <limits>

namespace {

// The worked example of docs/record-format.md: header, then the map with shorter keys first.
const char referenceFrameHex[]
    = "51524f4d 02 00 5200 9ea8c9f3 a6 626266 1a0074cbb1 626362 1a0012d687 63636f6d "
      "6c414243313233343536373839 636d6163 7130323a66633a30303a30303a30303a3031 "
      "64756e6974 6749313233343536 6766706761556964 6430613566";

/** Maps and lists by turns, the outermost a map, nested @p levels deep. */
QVariant nested(int levels)
{
    QVariant value = QVariantMap();
    for (int i = 1; i < levels; ++i)
        value = i % 2 ? QVariant(QVariantList { value }) : QVariant(variantMap({ { "k", value } }));
    return value;
}

/** The type of a value, or of each item of a list. */
QString typesOf(const QVariant &value)
{
    QStringList types;
    for (const QVariant &item :
         value.userType() == QMetaType::QVariantList ? value.toList() : QVariantList { value })
        types << (item.isValid() ? item.typeName() : "invalid");
    return types.join(" ");
}

} // namespace

// The record frame: exact encoding, strict decoding, the verdicts, and how the device is read and written.
class TestROMStorage : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void codec_data();
    void codec();
    void referenceFrame();
    void reading_data();
    void reading();
};

// A value, its payload and the types read back (an integer comes back in the narrowest type, a string list
// as a list), or the message with which writing refuses it.
void TestROMStorage::codec_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("payloadHex"); // empty: not stated
    QTest::addColumn<QString>("outcome");
    const double halfUnit = std::ldexp(1.0, -24);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const ushort text[] = { 0xfeff, 0x80,   0xe4,   0x7ff,  0x800,  0x65e5, 0xffff, 0xd800,
                            0xdc00, 0xd83d, 0xde00, 0xd83d, 0xde01, 0xdbff, 0xdfff, 0 };
    // Shorter keys first, then by UTF-8 bytes: U+FF01 before U+1F600 (D83D DE00), which UTF-16 sorts first.
    QVariantMap keys = variantMap({ { "aa", 1u }, { "b", 2u } });
    keys.insert(QString::fromUtf8("\xef\xbc\x81"), true);
    keys.insert(QString::fromUtf8("\xf0\x9f\x98\x80"), false);

    dataRow("one-byte items",
            QVariant(QVariantList() << false << true << QVariant() << QString() << QString("") << 0u << -1),
            QByteArray("87 f4 f5 f7 f6 60 00 20"), "bool bool invalid QString QString uint int");
    dataRow(
        "text", QVariant(QString(reinterpret_cast<const QChar *>(text), 16)),
        QByteArray("7823 efbbbf c280 c3a4 dfbf e0a080 e697a5 efbfbf f0908080 f09f9880 f09f9881 f48fbfbf 00"),
        "QString");
    dataRow(
        "integers",
        QVariant(QVariantList() << 0u << 23u << 24u << 255u << 256u << 65535u << 65536u << UINT_MAX
                                << Q_UINT64_C(0x100000000) << Q_UINT64_C(0xffffffffffffffff) << INT_MAX
                                << Q_UINT64_C(7) << -1 << -24 << -25 << -256 << -257 << INT_MIN
                                << qlonglong(INT_MIN) - 1 << qlonglong(LLONG_MIN) << qlonglong(-5) << 0),
        QByteArray(
            "96 00 17 1818 18ff 190100 19ffff 1a00010000 1affffffff 1b0000000100000000 1bffffffffffffffff "
            "1a7fffffff 07 20 37 3818 38ff 390100 3a7fffffff 3a80000000 3b7fffffffffffffff 24 00"),
        "uint uint uint uint uint uint uint uint qulonglong qulonglong uint uint int int int int int int "
        "qlonglong qlonglong int uint");
    dataRow("floats",
            QVariant(QVariantList() << 1.5 << -0.0 << 65504.0 << halfUnit << -3 * halfUnit
                                    << std::numeric_limits<double>::infinity() << nan << 65520.0 << 100000.0
                                    << std::ldexp(1.0, -15) + std::ldexp(1.0, -25) << 0.1
                                    << std::numeric_limits<double>::denorm_min()),
            QByteArray("8c f93e00 f98000 f97bff f90001 f98003 f97c00 f97e00 fa477ff000 fa47c35000 fa38002000 "
                       "fb3fb999999999999a fb0000000000000001"),
            QString("double ").repeated(12).trimmed());
    dataRow("bytes, string list, maps",
            QVariant(QVariantList { QByteArray("\x00\xff", 2), QStringList { "a", QString() }, QVariantMap(),
                                    keys }),
            QByteArray("84 4200ff 826161f6 a0 a4 6162 02 626161 01 63efbc81 f5 64f09f9880 f4"),
            "QByteArray QVariantList QVariantMap QVariantMap");
    dataRow("map of one two-byte entry", QVariant(variantMap({ { "", 1u } })), QByteArray("a1 60 01"),
            "QVariantMap");
    dataRow("maps and lists 8 deep", nested(8), QByteArray(), "QVariantMap");
    dataRow("largest payload", QVariant(QByteArray(65532, 'x')), QByteArray(), "QByteArray");
    dataRow("payload too large", QVariant(QByteArray(65533, 'x')), QByteArray(),
            "record payload exceeds 65535 bytes");
    dataRow("maps and lists 9 deep", nested(9), QByteArray(),
            "record maps and lists nest deeper than 8 levels");
    dataRow("date", QVariant(QDate(2026, 1, 2)), QByteArray(), "a record cannot hold a value of type QDate");
    dataRow("float in a map in a list", QVariant(QVariantList { variantMap({ { "x", QVariant(2.5f) } }) }),
            QByteArray(), "a record cannot hold a value of type float");
    dataRow("lone low surrogate", QVariant(QString(QChar(0xdc00))), QByteArray(),
            "record string holds an unpaired surrogate");
    dataRow("high surrogate before a letter", QVariant(variantMap({ { QString(QChar(0xd800)) + 'x', 1u } })),
            QByteArray(), "record key holds an unpaired surrogate");
}

void TestROMStorage::codec()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, payloadHex);
    QByteArray frame;
    const QString refusal = thrownBy([&] { frame = ROMStorage(value).frame(); });
    if (!refusal.isEmpty()) {
        QTEST(refusal, "outcome");
        return;
    }
    if (!payloadHex.isEmpty())
        QCOMPARE(frame.toHex(), HostileFrames::frame(QByteArray::fromHex(payloadHex)).toHex());
    FakeDevice device(frame + QByteArray(16, '\xff'));
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const ROMStorage read(device);

    QVERIFY(read.isValid());
    QTEST(typesOf(read.payload()), "outcome");
    // Null strings, the bits of doubles and all but the integers' types show in the encoding, so equal frames
    // mean an exact copy (and a NaN equals itself).
    QCOMPARE(ROMStorage(read.payload()).frame(), frame);
}

void TestROMStorage::referenceFrame()
{
    const QByteArray frame = QByteArray::fromHex(referenceFrameHex);
    FakeDevice device(frame.left(4) + frame);
    device.open(QIODevice::ReadWrite | QIODevice::Unbuffered);
    device.seek(4);
    const ROMStorage read(device);
    const QVariantMap record = read.payload().toMap();
    QVERIFY(read.isValid() && record.value("unit") == "I123456" && record.value("bf") == 7654321u);

    device.seek(4);
    QCOMPARE(ROMStorage(record).saveTo(device, frame.size()), frame.size());
    QCOMPARE(device.data(), frame.left(4) + frame);
    // A frame that needs more room than it has is not written; a full disk shows when the file is flushed;
    // a character device, like a sysfs attribute, has nothing to sync (fsync() answers EINVAL).
    QFile full("/dev/full"), null("/dev/null");
    QVERIFY(full.open(QIODevice::WriteOnly) && null.open(QIODevice::WriteOnly));
    QCOMPARE(thrownBy([&] { ROMStorage(record).saveTo(device, frame.size() - 1); }),
             QString("record needs 94 bytes but only 93 fit"));
    QCOMPARE(thrownBy([&] { ROMStorage(record).saveTo(device, -1); }),
             QString("record needs 94 bytes but only 0 fit"));
    QCOMPARE(thrownBy([&] { ROMStorage(record).saveTo(full, frame.size()); }),
             QString("could not write record to /dev/full: No space left on device"));
    QCOMPARE(ROMStorage(record).saveTo(null, frame.size()), frame.size());
    QCOMPARE(device.data(), frame.left(4) + frame);
    const FrameHeader header(frame);
    QVERIFY(header.isComplete() && header.isFormat(ROMStorage::FormatVersion) && header.magic() == "QROM");
    QCOMPARE(header.payloadLength(), frame.size() - FrameHeader::Size);
    QCOMPARE(header.storedCrc(), 0xf3c9a89eu);
    QCOMPARE(header.computedCrc(frame), header.storedCrc());
    const FrameHeader cut(frame.left(11));
    QVERIFY(!cut.isComplete() && !cut.isFormat(2) && cut.magic().isEmpty());
    QCOMPARE(
        cut.version() + cut.flags() + cut.payloadLength() + int(cut.storedCrc() + cut.computedCrc(frame)), 0);
    FakeDevice closed(frame);
    QVERIFY(ROMStorage(closed).isEmpty());
}

// What reading finds, the error a failing device leaves, and that reading stops at the frame's end.
void TestROMStorage::reading_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("readChunk"); // 0: no limit
    QTest::addColumn<int>("readRoom"); // -1: no limit
    QTest::addColumn<QString>("verdict");
    QTest::addColumn<int>("consumed"); // -1: not checked
    const QByteArray frame = QByteArray::fromHex(referenceFrameHex);

    dataRow("valid frame", frame + QByteArray(300, '\xff'), 0, -1, "valid", frame.size());
    dataRow("one byte per read", frame + QByteArray(16, '\0'), 1, -1, "valid", frame.size());
    dataRow("nothing", QByteArray(), 0, -1, "empty", 0);
    dataRow("erased", QByteArray(384, '\xff'), 0, -1, "blank", 12);
    dataRow("zeroed header only", QByteArray(12, '\0'), 0, -1, "blank", 12);
    dataRow("erased but short", QByteArray(11, '\xff'), 0, -1, "corrupted", 11);
    dataRow("erased but for the first byte", QByteArray(1, '\0') + QByteArray(383, '\xff'), 0, -1,
            "corrupted", 12);
    dataRow("mixed fill", QByteArray(6, '\xff') + QByteArray(6, '\0'), 0, -1, "corrupted", 12);
    dataRow("unknown version", HostileFrames::frame("\xa0", QByteArray("QROM\x09\x00", 6)), 0, -1,
            "corrupted", 12);
    // A chip that stops answering is no empty or erased memory, whatever it delivered before.
    dataRow("chip dead from the start", frame, 0, 0, "Connection timed out", 0);
    dataRow("erased chip dies in the header", QByteArray(384, '\xff'), 0, 5, "Connection timed out", 5);
    dataRow("chip dies in the payload", frame, 0, 20, "Connection timed out", 20);
    for (int length = 1; length < frame.size(); ++length)
        dataRow(QString("cut to %1 bytes").arg(length), frame.left(length), 0, -1, "corrupted", length);
    for (int bit = 0; bit < frame.size() * 8; ++bit) {
        QByteArray damaged = frame;
        damaged[bit / 8] = char(damaged.at(bit / 8) ^ (1 << (bit % 8)));
        dataRow(QString("bit %1 flipped").arg(bit), damaged, 0, -1, "corrupted", -1);
    }
    for (const auto &hostile : HostileFrames::all())
        dataRow(hostile.first, hostile.second, 0, -1, "corrupted", -1);
}

void TestROMStorage::reading()
{
    QFETCH(QByteArray, content);
    QFETCH(int, readChunk);
    QFETCH(int, readRoom);
    QFETCH(int, consumed);
    FakeDevice device(content);
    device.readChunk = readChunk;
    device.readRoom = readRoom;
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);

    const ROMStorage read(device);

    QTEST(read.isValid()                     ? "valid"
              : read.looksBlank()            ? "blank"
              : read.isEmpty()               ? "empty"
              : read.errorString().isEmpty() ? "corrupted"
                                             : read.errorString(),
          "verdict");
    QCOMPARE(read.payload().isValid(), read.isValid());
    QCOMPARE(read.bytesRead(), content.left(int(device.pos())));
    QVERIFY(consumed < 0 || device.pos() == consumed);
    QVERIFY(!read.isValid() || ROMStorage(read.payload()).frame() == read.bytesRead());
}

QTEST_GUILESS_MAIN(TestROMStorage)

#include "romstoragetest.moc"
