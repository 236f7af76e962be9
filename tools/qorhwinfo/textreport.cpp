#include "textreport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QTextStream>

namespace {

const int headingWidth = 17;
const int factWidth = 26;
const int storeKeyWidth = 6;
const int storeLabelWidth = 21;
const int recordKeyWidth = 10;

QString padded(const QString &text, int width)
{
    return text.leftJustified(width, QLatin1Char(' '));
}

QString votesText(int votes)
{
    return votes == 1 ? QStringLiteral("1 vote") : QStringLiteral("%1 votes").arg(votes);
}

} // namespace

TextReport::TextReport(const DiscoveryReport &report)
    : m_report(report)
{ }

void TextReport::print(QTextStream &out, bool withRecords) const
{
    printUnitSerial(out);
    out << '\n';
    printStores(out, withRecords);
    out << '\n';
    printCache(out);
    out << '\n';
    printHardware(out);
    out << '\n';
    printStatus(out);
    out.flush();
}

QString TextReport::valueText(const QVariant &value)
{
    switch (int(value.type())) {
    case QVariant::String:
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    case QVariant::Bool:
    case QVariant::Int:
    case QVariant::UInt:
    case QVariant::LongLong:
    case QVariant::ULongLong:
    case QVariant::Double:
        return value.toString();
    case QVariant::Invalid:
        return QStringLiteral("(no value)");
    default:
        break;
    }
    const QJsonValue json = QJsonValue::fromVariant(value);
    if (json.isArray())
        return QString::fromUtf8(QJsonDocument(json.toArray()).toJson(QJsonDocument::Compact));
    if (json.isObject())
        return QString::fromUtf8(QJsonDocument(json.toObject()).toJson(QJsonDocument::Compact));
    return QStringLiteral("(%1 value)").arg(QString::fromLatin1(value.typeName()));
}

void TextReport::printUnitSerial(QTextStream &out) const
{
    out << padded(QStringLiteral("Unit serial"), headingWidth);
    if (m_report.hasUnitSerial()) {
        const DiscoveryReport::Candidate &adopted = m_report.candidates.first();
        out << m_report.unitSerial << "  (" << votersText(adopted) << ")\n";
        return;
    }
    if (!m_report.hasCandidates()) {
        out << "none: no store holds an identity record\n";
        return;
    }
    out << "none: the stores name " << m_report.candidates.size() << " different serials\n";
    printCandidates(out);
}

void TextReport::printCandidates(QTextStream &out) const
{
    out << "  Candidates, most votes first:\n";
    for (const DiscoveryReport::Candidate &candidate : m_report.candidates) {
        out << "    " << padded(candidate.serial.isEmpty() ? QStringLiteral("\"\"") : candidate.serial, 10)
            << "  " << votersText(candidate) << '\n';
    }
}

void TextReport::printStores(QTextStream &out, bool withRecords) const
{
    out << "Identity stores\n";
    for (const DiscoveryReport::Store &store : m_report.stores) {
        out << "  " << padded(store.key, storeKeyWidth) << padded(store.label, storeLabelWidth)
            << DiscoveryReport::statusText(store.status) << '\n';
        for (const QString &note : store.notes)
            out << QString(2 + storeKeyWidth + 2, QLatin1Char(' ')) << note << '\n';
        if (withRecords)
            printRecord(out, store.record);
    }
}

void TextReport::printRecord(QTextStream &out, const QVariantMap &record) const
{
    const QString indent(2 + storeKeyWidth + 2, QLatin1Char(' '));
    if (record.isEmpty()) {
        out << indent << "(no record)\n";
        return;
    }
    for (auto it = record.constBegin(); it != record.constEnd(); ++it)
        out << indent << padded(it.key(), recordKeyWidth) << ' ' << valueText(it.value()) << '\n';
}

void TextReport::printCache(QTextStream &out) const
{
    out << padded(QStringLiteral("Serials cache"), headingWidth);
    switch (m_report.cache) {
    case DiscoveryReport::CacheWritten:
        out << "written by this run\n";
        return;
    case DiscoveryReport::CacheWriteFailed:
        out << "could not be written (see Serials File above)\n";
        return;
    case DiscoveryReport::CacheUnchanged:
        break;
    }
    if (!m_report.hasUnitSerial())
        out << "not written: no unit serial was adopted\n";
    else
        out << "unchanged: it already held a record\n";
}

void TextReport::printHardware(QTextStream &out) const
{
    out << "Hardware\n";
    out << "  " << padded(QStringLiteral("MAC address"), factWidth) << factText(m_report.mac) << '\n';
    out << "  " << padded(QStringLiteral("COM module serial"), factWidth) << factText(m_report.comSerial)
        << '\n';
    out << "  " << padded(QStringLiteral("FPGA UID"), factWidth) << factText(m_report.fpgaUid) << '\n';
    out << "  " << padded(QStringLiteral("Carrier board serial"), factWidth)
        << boardSerialText(m_report.cbSerial) << '\n';
    out << "  " << padded(QStringLiteral("Beamformer board serial"), factWidth)
        << boardSerialText(m_report.bfSerial) << '\n';
}

void TextReport::printStatus(QTextStream &out) const
{
    out << "Status\n";
    out << "  " << padded(QStringLiteral("Unit"), factWidth)
        << DiscoveryReport::statusText(m_report.unitStatus) << '\n';
    out << "  " << padded(QStringLiteral("Unit and all stores"), factWidth)
        << DiscoveryReport::statusText(m_report.globalStatus) << '\n';
}

QString TextReport::votersText(const DiscoveryReport::Candidate &candidate) const
{
    QStringList labels;
    for (const QString &key : candidate.voters)
        labels.append(m_report.labelOf(key));
    const QString votes = votesText(candidate.voters.size());
    return labels.isEmpty() ? votes : votes + QStringLiteral(": ") + labels.join(QStringLiteral(", "));
}

QString TextReport::factText(const QString &fact)
{
    if (fact.isNull())
        return QStringLiteral("not available");
    if (fact.isEmpty())
        return QStringLiteral("(empty)");
    return fact;
}

// A board that could not be read reports the serial 0.
QString TextReport::boardSerialText(uint serial)
{
    return serial == 0 ? QStringLiteral("0 (not known)") : QString::number(serial);
}
