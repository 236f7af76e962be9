#include "inspectcommand.h"

#include "commandline.h"
#include "exitcode.h"
#include "jsonvalue.h"
#include "serialform.h"
#include "textreport.h"
#include "unitsurvey.h"

#include <qorutils/frameheader.h>

#include <QFile>
#include <QObject>
#include <QTextStream>

#include <algorithm>

namespace {

const int unlimitedRoom = 0x7fffffff;
const int bytesPerLine = 16;

QString field(const char *name)
{
    return QString::fromLatin1("  %1").arg(QLatin1String(name), -12);
}

QString hexNumber(quint32 value)
{
    return QString::fromLatin1("0x%1").arg(value, 8, 16, QLatin1Char('0'));
}

QString magicText(const QByteArray &magic)
{
    QString text;
    for (char c : magic)
        text += (c >= 0x20 && c < 0x7f) ? QString(QLatin1Char(c))
                                        : QString::fromLatin1("\\x%1").arg(uchar(c), 2, 16, QLatin1Char('0'));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

} // namespace

int InspectCommand::run(const CommandLine &options)
{
    QObject deviceOwner;
    const QHash<QString, hmi::HwInfoHelper::EEPROM> table = hmi::HwInfoHelper::eepromsInit(&deviceOwner);
    QStringList keys = options.arguments();
    if (keys.isEmpty()) {
        keys = table.keys();
        std::sort(keys.begin(), keys.end());
    }
    QList<StoreInspection> stores;
    int code = Success;
    for (const QString &key : keys) {
        const hmi::HwInfoHelper::EEPROM store = table.value(key);
        stores.append(StoreInspection(key, store, UnitSurvey::devicePathOf(store.ioDev)));
        code = qMax(code, exitCodeOf(stores.last()));
    }

    if (options.json()) {
        json_t *root = Json::document();
        json_t *entries = json_object();
        for (const StoreInspection &store : stores)
            Json::set(entries, store.key().toLatin1().constData(), json(store, options.hex()));
        Json::set(root, "stores", entries);
        Json::print(root);
        return code;
    }
    QTextStream out(stdout);
    for (int i = 0; i < stores.size(); ++i) {
        if (i > 0)
            out << '\n';
        printText(out, stores.at(i), options.hex());
    }
    return code;
}

// A missing cache file is a unit that was never discovered, not a store that cannot be used.
int InspectCommand::exitCodeOf(const StoreInspection &store)
{
    const bool missingCache = store.key() == QLatin1String("file")
        && store.verdict() == StoreInspection::OpenFailed && !QFile::exists(store.devicePath());
    if (missingCache)
        return Success;
    if (store.isUnusable())
        return StoreUnusable;
    const QVariantMap record = store.record();
    if (record.contains(QLatin1String("unit"))
        && !SerialForm::isWellFormed(record.value(QLatin1String("unit")).toString()))
        return Malformed;
    return store.verdict() == StoreInspection::Valid ? Success : Problem;
}

void InspectCommand::printText(QTextStream &out, const StoreInspection &store, bool hex)
{
    out << store.key() << "  " << store.label() << '\n';
    out << field("device") << store.devicePath() << '\n';
    out << field("offset") << store.offset() << '\n';
    out << field("room")
        << (store.room() == unlimitedRoom ? QString::fromLatin1("to the end of the device")
                                          : QString::fromLatin1("%1 bytes").arg(store.room()))
        << '\n';
    const QByteArray bytes = store.bytes();
    if (!bytes.isEmpty())
        out << field("read") << bytes.size() << " bytes\n";
    const FrameHeader header(bytes);
    if (header.isComplete()) {
        out << field("header") << "magic " << magicText(header.magic()) << ", version " << header.version()
            << ", flags " << header.flags() << ", payload " << header.payloadLength() << " bytes\n";
        const quint32 computed = header.computedCrc(bytes);
        out << field("CRC") << "stored " << hexNumber(header.storedCrc()) << ", computed "
            << hexNumber(computed) << (computed == header.storedCrc() ? " (match)" : " (MISMATCH)") << '\n';
    }
    out << field("verdict") << StoreInspection::verdictText(store.verdict());
    if (!store.reason().isEmpty())
        out << ": " << store.reason();
    out << '\n';
    if (!store.deviceError().isEmpty())
        out << field("error") << store.deviceError() << '\n';
    if (store.verdict() == StoreInspection::Valid) {
        const QVariantMap record = store.record();
        out << (record.isEmpty() ? field("record") + QLatin1String("(empty map)")
                                 : QString::fromLatin1("  record"))
            << '\n';
        for (QVariantMap::const_iterator it = record.constBegin(); it != record.constEnd(); ++it) {
            out << "    " << it.key().leftJustified(10, QLatin1Char(' ')) << ' '
                << TextReport::valueText(it.value());
            if (it.key() == QLatin1String("unit") && !SerialForm::isWellFormed(it.value().toString()))
                out << "  MALFORMED: not \"I\" and six digits";
            out << '\n';
        }
    }
    if (hex && !bytes.isEmpty()) {
        out << "  frame\n";
        printHex(out, bytes, store.offset());
    }
}

void InspectCommand::printHex(QTextStream &out, const QByteArray &bytes, int offset)
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

json_t *InspectCommand::json(const StoreInspection &store, bool hex)
{
    json_t *entry = json_object();
    Json::set(entry, "label", Json::text(store.label()));
    Json::set(entry, "device", Json::text(store.devicePath()));
    Json::set(entry, "offset", Json::number(store.offset()));
    Json::set(entry, "room", store.room() == unlimitedRoom ? json_null() : Json::number(store.room()));
    Json::set(entry, "bytesRead", Json::number(store.bytes().size()));
    const FrameHeader header(store.bytes());
    if (header.isComplete()) {
        json_t *fields = json_object();
        Json::set(fields, "magic", Json::text(QString::fromLatin1(header.magic().toHex())));
        Json::set(fields, "version", Json::number(header.version()));
        Json::set(fields, "flags", Json::number(header.flags()));
        Json::set(fields, "payloadLength", Json::number(header.payloadLength()));
        Json::set(fields, "storedCrc", Json::text(hexNumber(header.storedCrc())));
        Json::set(fields, "computedCrc", Json::text(hexNumber(header.computedCrc(store.bytes()))));
        Json::set(entry, "header", fields);
    } else {
        Json::set(entry, "header", json_null());
    }
    Json::set(entry, "verdict", Json::text(StoreInspection::verdictText(store.verdict())));
    Json::set(entry, "reason", store.reason().isEmpty() ? json_null() : Json::text(store.reason()));
    Json::set(entry, "error", store.deviceError().isEmpty() ? json_null() : Json::text(store.deviceError()));
    Json::set(entry, "record",
              store.verdict() == StoreInspection::Valid ? Json::record(store.record()) : json_null());
    if (hex)
        Json::set(entry, "frame", Json::text(QString::fromLatin1(store.bytes().toHex())));
    return entry;
}
