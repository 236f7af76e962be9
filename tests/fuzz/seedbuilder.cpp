// Writes the fuzz targets' seed corpora, so that no binary input needs to live in the repository:
//   seedbuilder OUTDIR   ->  OUTDIR/frame/, OUTDIR/store/, OUTDIR/unitserial/
// Seeds are valid frames of every value type, the reference record, a board descriptor, blank and empty
// memories, and the named hostile frames.
#include "hostileframes.h"

#include <qorutils/romstorage.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QVariantMap>

#include <climits>
#include <cstdio>
#include <limits>

namespace {

const int comRecordRoom = 384;

struct Seed
{
    QString name;
    QByteArray bytes;
};

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

QVariantMap boardDescriptor()
{
    QVariantMap descriptor = referenceRecord();
    descriptor.insert(QStringLiteral("serial"), 1234567u);
    descriptor.insert(QStringLiteral("calibration"), QVariantList { 1.5, -0.25, 0.1, 100000.0 });
    descriptor.insert(QStringLiteral("temperature"), 23.5);
    return descriptor;
}

QList<Seed> valueFrames()
{
    QVariantMap nested;
    nested.insert(QStringLiteral("inner"), QVariant(QVariantMap()));
    nested.insert(QStringLiteral("text"), QString::fromUtf8("Ger\xc3\xa4t \xf0\x9f\x98\x80"));

    const QList<QPair<QString, QVariant> > values {
        { QStringLiteral("invalid"), QVariant() },
        { QStringLiteral("null-string"), QVariant(QString()) },
        { QStringLiteral("empty-string"), QVariant(QStringLiteral("")) },
        { QStringLiteral("string"), QVariant(QStringLiteral("I000123")) },
        { QStringLiteral("uint32"), QVariant(UINT_MAX) },
        { QStringLiteral("int32"), QVariant(INT_MIN) },
        { QStringLiteral("uint64"), QVariant(Q_UINT64_C(0xffffffffffffffff)) },
        { QStringLiteral("int64"), QVariant(qlonglong(-2)) },
        { QStringLiteral("false"), QVariant(false) },
        { QStringLiteral("true"), QVariant(true) },
        { QStringLiteral("bytes"), QVariant(QByteArray("\x00\xff\x80", 3)) },
        { QStringLiteral("half"), QVariant(-1.5) },
        { QStringLiteral("single"), QVariant(65520.0) },
        { QStringLiteral("double"), QVariant(0.1) },
        { QStringLiteral("nan"), QVariant(std::numeric_limits<double>::quiet_NaN()) },
        { QStringLiteral("list"), QVariant(QVariantList { 1u, QString(), QVariantList { -1 } }) },
        { QStringLiteral("empty-map"), QVariant(QVariantMap()) },
        { QStringLiteral("nested-map"), QVariant(nested) },
        { QStringLiteral("reference-record"), QVariant(referenceRecord()) },
        { QStringLiteral("board-descriptor"), QVariant(boardDescriptor()) },
    };
    QList<Seed> seeds;
    for (const auto &value : values)
        seeds.append(Seed { QStringLiteral("valid-") + value.first, ROMStorage(value.second).frame() });
    return seeds;
}

QList<Seed> hostileFrames()
{
    QList<Seed> seeds;
    for (const HostileFrames::Entry &entry : HostileFrames::all())
        seeds.append(Seed { QStringLiteral("hostile-") + entry.name, entry.bytes });
    return seeds;
}

QList<Seed> blankMemories()
{
    return { Seed { QStringLiteral("blank-ff"), QByteArray(comRecordRoom, '\xff') },
             Seed { QStringLiteral("blank-00"), QByteArray(comRecordRoom, '\0') },
             Seed { QStringLiteral("empty"), QByteArray() } };
}

/** The frame target seals what it gets as a payload, so bare payloads reach the decoder directly. */
QList<Seed> barePayloads(const QList<Seed> &frames)
{
    QList<Seed> seeds;
    for (const Seed &frame : frames) {
        if (frame.bytes.size() > ROMStorage::HeaderSize)
            seeds.append(
                Seed { QStringLiteral("payload-") + frame.name, frame.bytes.mid(ROMStorage::HeaderSize) });
    }
    return seeds;
}

QList<Seed> frameSeeds()
{
    const QList<Seed> frames = valueFrames() + hostileFrames();
    return frames + blankMemories() + barePayloads(frames);
}

QByteArray factoryData(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char(i);
    return bytes;
}

/** A store input: the record's offset as the first byte, then the memory, erased behind the frame. */
Seed memory(const QString &name, int offset, const QByteArray &content)
{
    QByteArray bytes(1, char(offset));
    bytes += factoryData(offset) + content;
    if (content.size() < comRecordRoom)
        bytes += QByteArray(comRecordRoom - content.size(), '\xff');
    return Seed { name, bytes };
}

QList<Seed> storeSeeds()
{
    const QByteArray reference = ROMStorage(QVariant(referenceRecord())).frame();
    QList<Seed> seeds;
    for (const Seed &frame : valueFrames() + hostileFrames())
        seeds.append(Seed { frame.name, QByteArray(1, '\0') + frame.bytes });
    seeds << memory(QStringLiteral("record-at-16"), 16, reference)
          << memory(QStringLiteral("board-descriptor-at-100"), 100,
                    ROMStorage(QVariant(boardDescriptor())).frame())
          << memory(QStringLiteral("record-cut-in-half"), 0, reference.left(reference.size() / 2))
          << memory(QStringLiteral("blank-ff"), 0, QByteArray())
          << Seed { QStringLiteral("blank-00"), QByteArray(comRecordRoom + 1, '\0') }
          << Seed { QStringLiteral("empty-memory"), QByteArray(1, '\0') }
          << Seed { QStringLiteral("no-input"), QByteArray() }
          << Seed { QStringLiteral("memory-ends-at-offset"), QByteArray(1, '\x10') + factoryData(16) }
          << Seed { QStringLiteral("memory-shorter-than-offset"), QByteArray(1, '\xff') + factoryData(16) };
    return seeds;
}

/** A validator input: text mode, the cursor as the fuzz target decodes it, the text. */
Seed typed(const QString &name, const QString &text, int cursor, bool utf16 = false)
{
    const int raw = cursor + 8;
    QByteArray bytes;
    bytes.append(char(utf16 ? 1 : 0));
    bytes.append(char(raw & 0xff));
    bytes.append(char(raw >> 8));
    if (utf16) {
        for (const QChar c : text) {
            bytes.append(char(c.unicode() & 0xff));
            bytes.append(char(c.unicode() >> 8));
        }
    } else {
        bytes += text.toLatin1();
    }
    return Seed { name, bytes };
}

QList<Seed> unitSerialSeeds()
{
    return {
        typed(QStringLiteral("empty"), QString(), 0),
        typed(QStringLiteral("letter-only"), QStringLiteral("I"), 1),
        typed(QStringLiteral("canonical"), QStringLiteral("I000012"), 7),
        typed(QStringLiteral("digit-typed-at-end"), QStringLiteral("I0000123"), 8),
        typed(QStringLiteral("cursor-inside"), QStringLiteral("I0000132"), 7),
        typed(QStringLiteral("digits-only"), QStringLiteral("123456"), 6),
        typed(QStringLiteral("many-leading-zeros"), QStringLiteral("000000000123"), 0),
        typed(QStringLiteral("seven-digits"), QStringLiteral("I1234567"), 8),
        typed(QStringLiteral("letters"), QStringLiteral("abc"), 3),
        typed(QStringLiteral("trailing-blank"), QStringLiteral("I12 "), 4),
        typed(QStringLiteral("lowercase-letter"), QStringLiteral("i123456"), 7),
        typed(QStringLiteral("two-letters"), QStringLiteral("II123"), 5),
        typed(QStringLiteral("letter-after-zero"), QStringLiteral("0I123"), 5),
        typed(QStringLiteral("fullwidth-digits"), QString::fromUtf8("I\xef\xbc\x91\xef\xbc\x92"), 3, true),
        typed(QStringLiteral("arabic-indic-digits"), QString::fromUtf8("\xd9\xa1\xd9\xa2"), 2, true),
        typed(QStringLiteral("unpaired-surrogate"), QString(QChar(0xd800)) + QStringLiteral("12"), 1, true)
    };
}

bool writeSeeds(const QDir &root, const QString &target, const QList<Seed> &seeds)
{
    if (!root.mkpath(target))
        return false;
    const QDir dir(root.filePath(target));
    for (const Seed &seed : seeds) {
        QFile file(dir.filePath(seed.name));
        if (!file.open(QIODevice::WriteOnly) || file.write(seed.bytes) != seed.bytes.size()) {
            std::fprintf(stderr, "seedbuilder: cannot write %s\n", qPrintable(file.fileName()));
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        std::fprintf(stderr, "usage: seedbuilder OUTDIR\n");
        return 2;
    }
    const QDir root(arguments.at(1));
    const bool written = writeSeeds(root, QStringLiteral("frame"), frameSeeds())
        && writeSeeds(root, QStringLiteral("store"), storeSeeds())
        && writeSeeds(root, QStringLiteral("unitserial"), unitSerialSeeds());
    return written ? 0 : 1;
}
