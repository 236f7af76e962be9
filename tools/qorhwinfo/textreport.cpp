#include "textreport.h"

#include "jsonvalue.h"
#include "serialform.h"

#include <QTextStream>

#include <cstdlib>

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
    return votes == 1 ? QString::fromLatin1("1 vote") : QString::fromLatin1("%1 votes").arg(votes);
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
    printAdvice(out);
    out.flush();
}

QString TextReport::valueText(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QString:
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return value.toString();
    default:
        break;
    }
    if (!value.isValid())
        return QLatin1String("(no value)");
    json_t *json = Json::value(value);
    char *text = json_dumps(json, JSON_COMPACT | JSON_ENCODE_ANY);
    json_decref(json);
    const QString result = QString::fromUtf8(text);
    std::free(text);
    return result;
}

void TextReport::printUnitSerial(QTextStream &out) const
{
    out << padded(QLatin1String("Unit serial"), headingWidth);
    if (m_report.hasUnitSerial()) {
        const DiscoveryReport::Candidate &adopted = m_report.candidates.first();
        out << SerialForm::display(m_report.unitSerial) << "  (" << votersText(adopted) << ")"
            << (adopted.wellFormed ? "" : "  MALFORMED") << '\n';
        return;
    }
    if (!m_report.hasCandidates()) {
        out << "none: no store holds an identity record\n";
        return;
    }
    out << "none: the stores name " << m_report.candidates.size() << " different serials"
        << (m_report.candidates.first().tied ? ", tied" : "") << '\n';
    printCandidates(out);
}

void TextReport::printCandidates(QTextStream &out) const
{
    out << "  Candidates, most votes first, tied ones by serial:\n";
    for (const DiscoveryReport::Candidate &candidate : m_report.candidates) {
        out << "    " << padded(SerialForm::display(candidate.serial), 10) << "  " << votersText(candidate)
            << (candidate.tied ? "  (tied)" : "") << (candidate.wellFormed ? "" : "  MALFORMED") << '\n';
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
    for (QVariantMap::const_iterator it = record.constBegin(); it != record.constEnd(); ++it)
        out << indent << padded(it.key(), recordKeyWidth) << ' ' << valueText(it.value()) << '\n';
}

void TextReport::printCache(QTextStream &out) const
{
    out << padded(QLatin1String("Serials cache"), headingWidth);
    switch (m_report.cache) {
    case DiscoveryReport::CacheWritten:
        out << "written by this run\n";
        return;
    case DiscoveryReport::CacheWriteFailed:
        if (m_report.cacheError.isEmpty())
            out << "could not be written (see Serials File above)\n";
        else
            out << "could not be written: " << m_report.cacheError << '\n';
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
    out << "  " << padded(QLatin1String("MAC address"), factWidth) << factText(m_report.mac) << '\n';
    out << "  " << padded(QLatin1String("COM module serial"), factWidth) << factText(m_report.comSerial)
        << '\n';
    out << "  " << padded(QLatin1String("FPGA UID"), factWidth) << factText(m_report.fpgaUid) << '\n';
    out << "  " << padded(QLatin1String("Carrier board serial"), factWidth)
        << boardSerialText(m_report.cbSerial) << '\n';
    out << "  " << padded(QLatin1String("Beamformer board serial"), factWidth)
        << boardSerialText(m_report.bfSerial) << '\n';
}

void TextReport::printStatus(QTextStream &out) const
{
    out << "Status\n";
    out << "  " << padded(QLatin1String("Unit"), factWidth)
        << DiscoveryReport::statusText(m_report.unitStatus) << '\n';
    out << "  " << padded(QLatin1String("Unit and all stores"), factWidth)
        << DiscoveryReport::statusText(m_report.globalStatus) << '\n';
}

QString TextReport::votersText(const DiscoveryReport::Candidate &candidate) const
{
    QStringList labels;
    for (const QString &key : candidate.voters)
        labels.append(m_report.labelOf(key));
    const QString votes = votesText(candidate.voters.size());
    return labels.isEmpty() ? votes : votes + QLatin1String(": ") + labels.join(QLatin1String(", "));
}

QString TextReport::factText(const QString &fact)
{
    if (fact.isNull())
        return QLatin1String("not available");
    if (fact.isEmpty())
        return QLatin1String("(empty)");
    return fact;
}

// A board that could not be read reports the serial 0.
QString TextReport::boardSerialText(uint serial)
{
    return serial == 0 ? QLatin1String("0 (not known)") : QString::number(serial);
}

// Says what is wrong in words a technician acts on, with the command that repairs it.
void TextReport::printAdvice(QTextStream &out) const
{
    QStringList advice;
    if (m_report.unitStatus != hmi::HwInfoHelper::OK) {
        advice.append(QLatin1String(
            "Unit status ERROR: an application's unitSerial() throws, because the serials cache "
            "file could not be written. Free or repair its file system, then discover again."));
    }
    const QStringList malformed = m_report.malformedStores();
    if (!malformed.isEmpty()) {
        QStringList labels;
        for (const QString &key : malformed)
            labels.append(m_report.labelOf(key));
        advice.append(QString::fromLatin1(
                          "MALFORMED unit serial (not \"I\" and six digits) in: %1. \"qorhwinfo resolve "
                          "SERIAL\", with the unit's real serial, rewrites the stores and the cache file.")
                          .arg(labels.join(QLatin1String(", "))));
    }
    if (m_report.candidates.size() > 1) {
        advice.append(
            QLatin1String("The stores disagree: \"qorhwinfo check\" and \"qorhwinfo inspect\" explain, "
                          "\"qorhwinfo resolve SERIAL\" rewrites the stores that name another serial."));
    }
    if (advice.isEmpty())
        return;
    out << "\nWarnings\n";
    for (const QString &text : advice)
        out << "  " << text << '\n';
}
