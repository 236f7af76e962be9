#include "storeinspection.h"

#include "exitcode.h"
#include "jsonvalue.h"
#include "reporttext.h"
#include "serialform.h"
#include "terminaltext.h"
#include "unitsurvey.h"

#include <qorutils/frameheader.h>
#include <qorutils/romstorage.h>

#include <QBuffer>
#include <QTextStream>

namespace {

const int unlimitedRoom = 0x7fffffff;
const int bytesPerLine = 16;
const int crcOffset = 8;

QString field(const char *name)
{
    return QString::fromLatin1("  %1").arg(QLatin1String(name), -12);
}

QString hexNumber(quint32 value)
{
    return QString::fromLatin1("0x%1").arg(value, 8, 16, QLatin1Char('0'));
}

// The payload of a frame whose only fault is its CRC: decoded as if the CRC were right.
QVariantMap unverifiedRecord(const QByteArray &bytes)
{
    const FrameHeader header(bytes);
    if (!header.isComplete() || !header.isFormat(ROMStorage::FormatVersion)
        || bytes.size() < FrameHeader::Size + header.payloadLength())
        return QVariantMap();
    QByteArray patched = bytes;
    const quint32 crc = header.computedCrc(bytes);
    for (int i = 0; i < 4; ++i)
        patched[crcOffset + i] = char((crc >> (8 * i)) & 0xff);
    QBuffer buffer(&patched);
    buffer.open(QIODevice::ReadOnly);
    try {
        const ROMStorage storage(buffer);
        return storage.isValid() ? storage.payload().toMap() : QVariantMap();
    } catch (...) {
        return QVariantMap();
    }
}

QString corruptionReason(const StoreInspection &inspection)
{
    const QByteArray &bytes = inspection.bytes;
    if (!inspection.deviceError.isEmpty())
        return QString::fromLatin1("the read failed after %1 bytes").arg(bytes.size());
    const FrameHeader header(bytes);
    if (!header.isComplete())
        return QString::fromLatin1("only %1 of the %2 header bytes could be read")
            .arg(bytes.size())
            .arg(int(FrameHeader::Size));
    if (!header.isFormat(ROMStorage::FormatVersion))
        return QLatin1String("no frame header here (magic, version or flags wrong)");
    const int payload = bytes.size() - FrameHeader::Size;
    if (payload < header.payloadLength())
        return QString::fromLatin1("the frame is cut short: %1 of %2 payload bytes")
            .arg(payload)
            .arg(header.payloadLength());
    if (header.computedCrc(bytes) != header.storedCrc())
        return QLatin1String("CRC mismatch: the header or the payload was changed or not completely written");
    return QLatin1String("the payload does not decode");
}

QString verdictText(const StoreInspection &inspection)
{
    switch (inspection.content) {
    case hmi::StoreLoad::Record:
    case hmi::StoreLoad::NoRecord:
        return QLatin1String("valid");
    case hmi::StoreLoad::Blank:
        return QLatin1String("blank");
    case hmi::StoreLoad::Empty:
        return QLatin1String("empty");
    case hmi::StoreLoad::Corrupted:
        return QLatin1String("corrupted: ") + corruptionReason(inspection);
    case hmi::StoreLoad::Missing:
        return QLatin1String("missing");
    case hmi::StoreLoad::OpenFailed:
        return QLatin1String("cannot be opened");
    case hmi::StoreLoad::SeekFailed:
        break;
    }
    return QLatin1String("cannot seek to the record");
}

bool isUnusable(const StoreInspection &inspection)
{
    return inspection.content == hmi::StoreLoad::OpenFailed
        || inspection.content == hmi::StoreLoad::SeekFailed || inspection.content == hmi::StoreLoad::Missing
        || !inspection.deviceError.isEmpty();
}

// A missing cache file is a unit that was never discovered, not a store that cannot be used.
int exitCodeOf(const StoreInspection &inspection)
{
    if (inspection.key == hmi::SerialVote::cacheStoreKey() && inspection.content == hmi::StoreLoad::Missing)
        return Success;
    if (isUnusable(inspection))
        return StoreUnusable;
    if (hmi::StoreLoad::holdsRecord(inspection.record)
        && !SerialForm::isWellFormed(inspection.record.value(QLatin1String("unit")).toString()))
        return Malformed;
    const bool valid
        = inspection.content == hmi::StoreLoad::Record || inspection.content == hmi::StoreLoad::NoRecord;
    return valid && inspection.mismatches.isEmpty() ? Success : Problem;
}

void printHex(QTextStream &out, const QByteArray &bytes, int offset)
{
    for (int line = 0; line < bytes.size(); line += bytesPerLine) {
        QString hexPart;
        QString textPart;
        for (int i = line; i < line + bytesPerLine; ++i) {
            if (i < bytes.size()) {
                const uchar c = uchar(bytes.at(i));
                hexPart += QString::fromLatin1("%1 ").arg(c, 2, 16, QLatin1Char('0'));
                textPart += (c >= 0x20 && c < 0x7f) ? QLatin1Char(char(c)) : QLatin1Char('.');
            } else {
                hexPart += QLatin1String("   ");
            }
        }
        out << "    " << QString::fromLatin1("%1").arg(offset + line, 6, 16, QLatin1Char('0')) << "  "
            << hexPart << " |" << textPart << "|\n";
    }
}

} // namespace

StoreInspection StoreInspection::read(const QString &key, const hmi::HwInfoHelper::EEPROM &store,
                                      const IdentityCheck::Hardware &hardware)
{
    StoreInspection inspection;
    inspection.key = key;
    inspection.store = store;
    inspection.devicePath = UnitSurvey::devicePathOf(store.ioDev);
    try {
        const hmi::StoreLoad load(store);
        inspection.content = load.content();
        inspection.deviceError = load.deviceError();
        inspection.bytes = load.bytes();
        inspection.record = load.map();
    } catch (const QString &thrown) {
        inspection.content = hmi::StoreLoad::Corrupted;
        inspection.deviceError = thrown;
    }
    if (inspection.content == hmi::StoreLoad::Corrupted && inspection.deviceError.isEmpty()) {
        inspection.record = unverifiedRecord(inspection.bytes);
        inspection.unverified = !inspection.record.isEmpty();
    }
    inspection.mismatches = IdentityCheck::compare(key, inspection.record, hardware);
    return inspection;
}

int StoreInspection::exitCode() const
{
    const StoreInspection &inspection = *this;
    return exitCodeOf(inspection);
}

void StoreInspection::printText(QTextStream &out, bool hex) const
{
    const StoreInspection &inspection = *this;
    out << inspection.key << "  " << store.name << '\n';
    out << field("device") << inspection.devicePath << '\n';
    out << field("offset") << store.offset << '\n';
    out << field("room")
        << (store.maxSize == unlimitedRoom ? QString::fromLatin1("to the end of the device")
                                           : QString::fromLatin1("%1 bytes").arg(store.maxSize))
        << '\n';
    if (!bytes.isEmpty())
        out << field("read") << bytes.size() << " bytes\n";
    const FrameHeader header(bytes);
    if (header.isComplete()) {
        out << field("header") << "magic \"" << TerminalText::escaped(QString::fromLatin1(header.magic()))
            << "\", version " << header.version() << ", flags " << header.flags() << ", payload "
            << header.payloadLength() << " bytes\n";
        const quint32 computed = header.computedCrc(bytes);
        out << field("CRC") << "stored " << hexNumber(header.storedCrc()) << ", computed "
            << hexNumber(computed) << (computed == header.storedCrc() ? " (match)" : " (MISMATCH)") << '\n';
    }
    out << field("verdict") << verdictText(inspection) << '\n';
    if (!inspection.deviceError.isEmpty())
        out << field("error") << TerminalText::escaped(inspection.deviceError) << '\n';
    if (inspection.unverified)
        out << "  record, UNVERIFIED: decoded from the damaged frame, nothing vouches for it\n";
    else if (inspection.content == hmi::StoreLoad::Record || inspection.content == hmi::StoreLoad::NoRecord)
        out << (record.isEmpty() ? field("record") + QLatin1String("(empty map)")
                                 : QString::fromLatin1("  record"))
            << '\n';
    for (QVariantMap::const_iterator it = record.constBegin(); it != record.constEnd(); ++it) {
        out << "    " << ReportText::padded(it.key(), 10) << ' ' << ReportText::value(it.value());
        if (it.key() == QLatin1String("unit") && !SerialForm::isWellFormed(it.value().toString()))
            out << "  MALFORMED: not \"I\" and six digits";
        out << '\n';
    }
    for (const IdentityCheck::Mismatch &mismatch : inspection.mismatches)
        out << "  OTHER HARDWARE: " << TerminalText::escaped(mismatch.sentence) << '\n';
    if (hex && !bytes.isEmpty()) {
        out << "  frame\n";
        printHex(out, bytes, store.offset);
    }
}

json_t *StoreInspection::json(bool hex) const
{
    const StoreInspection &inspection = *this;
    json_t *entry = json_object();
    Json::set(entry, "label", Json::text(store.name));
    Json::set(entry, "device", Json::text(inspection.devicePath));
    Json::set(entry, "offset", Json::number(store.offset));
    Json::set(entry, "room", store.maxSize == unlimitedRoom ? json_null() : Json::number(store.maxSize));
    Json::set(entry, "bytesRead", Json::number(inspection.bytes.size()));
    const FrameHeader header(inspection.bytes);
    if (header.isComplete()) {
        json_t *fields = json_object();
        Json::set(fields, "magic", Json::text(QString::fromLatin1(header.magic().toHex())));
        Json::set(fields, "version", Json::number(header.version()));
        Json::set(fields, "flags", Json::number(header.flags()));
        Json::set(fields, "payloadLength", Json::number(header.payloadLength()));
        Json::set(fields, "storedCrc", Json::text(hexNumber(header.storedCrc())));
        Json::set(fields, "computedCrc", Json::text(hexNumber(header.computedCrc(inspection.bytes))));
        Json::set(entry, "header", fields);
    } else {
        Json::set(entry, "header", json_null());
    }
    Json::set(entry, "verdict", Json::text(verdictText(inspection)));
    Json::set(entry, "error",
              inspection.deviceError.isEmpty() ? json_null() : Json::text(inspection.deviceError));
    const bool valid
        = inspection.content == hmi::StoreLoad::Record || inspection.content == hmi::StoreLoad::NoRecord;
    Json::set(entry, "record", valid ? Json::record(inspection.record) : json_null());
    Json::set(entry, "unverifiedRecord",
              inspection.unverified ? Json::record(inspection.record) : json_null());
    Json::set(entry, "otherHardware", Json::mismatches(inspection.mismatches));
    if (hex)
        Json::set(entry, "frame", Json::text(QString::fromLatin1(inspection.bytes.toHex())));
    return entry;
}
