// Counts what one identity-store load reads from its device and what that costs on an i2c bus, next to
// the alternatives of reading a whole memory or storing the record as a QDataStream.
//
// Prints one tab-separated line per figure: what was measured, the value, and the target with a verdict.

#include "countingdevice.h"
#include "referencerecord.h"

#include <qorhwinfo/hwinfohelper.h>
#include <qorutils/romstorage.h>

#include <QBuffer>
#include <QDataStream>
#include <QTextStream>

namespace {

// Time per byte read from an i2c EEPROM on the instrument, in microseconds.
const double usPerByteAt100kHz = 90.0;
const double usPerByteAt400kHz = 23.0;

struct LoadCase
{
    QString what;
    QByteArray image;
    int offset;
    qint64 expectedBytes;
};

struct LoadCount
{
    qint64 bytes;
    int calls;
    QString outcome;
};

QTextStream &out()
{
    static QTextStream stream(stdout);
    return stream;
}

void printFigure(const QString &figure, const QString &value, const QString &target)
{
    out() << figure << '\t' << value << '\t' << target << '\n';
}

QString milliseconds(double us)
{
    const double ms = us / 1000.0;
    return QString::number(ms, 'f', ms < 10 ? 2 : 1) + QStringLiteral(" ms");
}

QString busTime(qint64 bytes)
{
    return QStringLiteral("%1 @100 kHz, %2 @400 kHz")
        .arg(milliseconds(bytes * usPerByteAt100kHz), milliseconds(bytes * usPerByteAt400kHz));
}

LoadCount countLoad(const LoadCase &c)
{
    QBuffer memory;
    memory.setData(c.image);
    CountingDevice device(&memory);
    hmi::HwInfoHelper::EEPROM store(QStringLiteral("Bench"), &device, c.offset, 0x7fffffff);
    LoadCount count;
    try {
        store.load();
        count.outcome = QStringLiteral("loaded");
    } catch (const QString &message) {
        count.outcome = message;
    }
    count.bytes = device.bytesRead();
    count.calls = device.readCalls();
    return count;
}

QByteArray dataStreamEncoding(const QVariantMap &record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    // The instrument's applications run on Qt 4.8, so that is the stream version they would write.
    stream.setVersion(QDataStream::Qt_4_8);
    stream << QVariant(record);
    return bytes;
}

} // namespace

int main()
{
    const QByteArray frame = ReferenceRecord::frame();
    const int header = ROMStorage::HeaderSize;
    const int payload = frame.size() - header;

    printFigure(QStringLiteral("Frame of the reference record"),
                QStringLiteral("%1 B (%2 header + %3 payload)").arg(frame.size()).arg(header).arg(payload),
                QStringLiteral("-"));

    const LoadCase cases[] = {
        { QStringLiteral("reference record, 4 KiB memory"), ReferenceRecord::memoryImage(frame, 0, 4096), 0,
          frame.size() },
        { QStringLiteral("reference record at offset 256 of 1 KiB (COM layout)"),
          ReferenceRecord::memoryImage(frame, 256, 1024), 256, frame.size() },
        { QStringLiteral("blank memory (4 KiB of 0xFF)"), QByteArray(4096, '\xff'), 0, header },
        { QStringLiteral("empty file"), QByteArray(), 0, 0 },
    };

    bool allMet = true;
    qint64 referenceLoadBytes = 0;
    for (const LoadCase &c : cases) {
        const LoadCount count = countLoad(c);
        const bool met = count.bytes == c.expectedBytes && count.calls <= 2;
        allMet = allMet && met;
        if (referenceLoadBytes == 0)
            referenceLoadBytes = count.bytes;
        printFigure(QStringLiteral("Store load, %1: bytes read / read calls").arg(c.what),
                    QStringLiteral("%1 B / %2 (%3)").arg(count.bytes).arg(count.calls).arg(count.outcome),
                    QStringLiteral("%1 B, at most 2 calls: %2")
                        .arg(c.expectedBytes)
                        .arg(met ? QStringLiteral("met") : QStringLiteral("MISSED")));
        printFigure(QStringLiteral("Store load, %1: i2c time").arg(c.what), busTime(count.bytes),
                    QStringLiteral("-"));
    }

    for (const int size : { 256, 4096, 32768 }) {
        printFigure(QStringLiteral("Whole %1 B memory read instead: i2c time").arg(size),
                    QStringLiteral("%1 (%2x the record load)")
                        .arg(busTime(size))
                        .arg(double(size) / referenceLoadBytes, 0, 'f', 1),
                    QStringLiteral("-"));
    }

    const QByteArray stream = dataStreamEncoding(ReferenceRecord::map());
    printFigure(QStringLiteral("QDataStream << QVariant(map) of the same record (comparison only)"),
                QStringLiteral("%1 B (%2x the %3 B payload); %4")
                    .arg(stream.size())
                    .arg(double(stream.size()) / payload, 0, 'f', 1)
                    .arg(payload)
                    .arg(busTime(stream.size())),
                QStringLiteral("-"));

    out().flush();
    return allMet ? 0 : 1;
}
