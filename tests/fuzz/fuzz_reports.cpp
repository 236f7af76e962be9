// Arbitrary records through every text report of the tool: whatever a board's memory holds, nothing but the
// tool's own line ends reaches a terminal (no C0 or C1 control character, no DEL), and the JSON documents
// stay valid.
#include "fuzzcheck.h"
#include "hostileframes.h"

#include "discoveryreport.h"
#include "identitycheck.h"
#include "reporttext.h"
#include "storeinspection.h"

#include <qorutils/romstorage.h>

#include <QtCore/QBuffer>
#include <QtCore/QTextStream>

#include <cstdio>
#include <cstdlib>

namespace {

// What a terminal would take as a control: C0 but the line end, DEL, and C1 in UTF-8 (0xC2 0x80..0x9F).
bool holdsControls(const QByteArray &text)
{
    for (int i = 0; i < text.size(); ++i) {
        const uchar c = uchar(text.at(i));
        if ((c < 0x20 && c != '\n') || c == 0x7f)
            return true;
        if (c == 0xc2 && i + 1 < text.size() && uchar(text.at(i + 1)) >= 0x80
            && uchar(text.at(i + 1)) <= 0x9f)
            return true;
    }
    return false;
}

// Text straight from the input, as Latin-1 and as UTF-8, so that every code point below 256 and whatever
// UTF-8 decodes to both occur.
QVariantMap mapOfText(const QByteArray &input)
{
    const QList<QByteArray> parts = input.split('\0');
    QVariantMap map;
    for (int i = 0; i + 1 < parts.size(); i += 2)
        map.insert(QString::fromLatin1(parts.at(i)), QString::fromUtf8(parts.at(i + 1)));
    map.insert(QLatin1String("unit"), QString::fromLatin1(input.left(16)));
    map.insert(QLatin1String("com"), QString::fromUtf8(input.mid(16, 16)));
    return map;
}

QVariantMap decodedMap(const QByteArray &frame)
{
    QBuffer device;
    device.setData(frame);
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const ROMStorage read(device);
    return read.isValid() ? read.payload().toMap() : QVariantMap();
}

DiscoveryReport reportOf(const QVariantMap &record)
{
    DiscoveryReport report;
    const char *const keys[] = { "bf", "cb", "com", "file", "ut" };
    for (const char *key : keys) {
        DiscoveryReport::Store store;
        store.key = QLatin1String(key);
        store.label = record.value(QLatin1String("com")).toString();
        store.record = record;
        store.problem = record.value(QLatin1String("unit")).toString();
        report.stores.append(store);
    }
    hmi::SerialVote vote;
    vote.cast(QLatin1String("bf"), record.value(QLatin1String("unit")).toString());
    vote.cast(QLatin1String("cb"), record.value(QLatin1String("mac")).toString());
    report.candidates = vote.candidates();
    report.unitSerial = record.value(QLatin1String("unit")).toString();
    report.cacheError = record.value(QLatin1String("fpgaUid")).toString();
    report.mac = record.value(QLatin1String("mac")).toString();
    report.comSerial = record.value(QLatin1String("com")).toString();
    report.fpgaUid = record.value(QLatin1String("fpgaUid")).toString();
    IdentityCheck::Hardware hardware;
    hardware.mac = QLatin1String("02:fc:00:00:00:01");
    hardware.comSerial = QLatin1String("ABC123456789");
    hardware.fpgaUid = QLatin1String("0a5f");
    report.mismatches = IdentityCheck::compare(QLatin1String("com"), record, hardware);
    report.unfinishedRepair.command = record.value(QLatin1String("unit")).toString();
    return report;
}

void check(const QVariantMap &record, const QByteArray &frame, const QByteArray &input)
{
    QString text;
    {
        QTextStream out(&text);
        reportOf(record).printText(out, true);

        QBuffer device;
        device.setData(frame);
        StoreInspection inspection = StoreInspection::read(
            QLatin1String("bf"),
            hmi::HwInfoHelper::EEPROM(QLatin1String("Beamformer Board"), &device, 0, 0x7fffffff),
            IdentityCheck::Hardware());
        inspection.printText(out, true);
        inspection.record = record;
        inspection.unverified = true;
        inspection.printText(out, false);
        for (QVariantMap::const_iterator it = record.constBegin(); it != record.constEnd(); ++it)
            out << ReportText::padded(it.key(), 10) << ReportText::value(it.value()) << '\n';
    }
    for (const QByteArray &line : text.toUtf8().split('\n')) {
        if (holdsControls(line))
            std::fprintf(stderr, "line: %s\n", line.toHex().constData());
    }
    expect(!holdsControls(text.toUtf8()), "a control character reaches the terminal", input);

    json_t *document = reportOf(record).json();
    char *dumped = json_dumps(document, JSON_COMPACT);
    json_decref(document);
    expect(dumped != nullptr, "a report that is no JSON", input);
    std::free(dumped);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input = QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
    const QByteArray frame = HostileFrames::frame(input);
    check(mapOfText(input), frame, input);
    check(decodedMap(frame), frame, input);
    return 0;
}
