#ifndef QORHWINFO_TOOL_TEXTREPORT_H
#define QORHWINFO_TOOL_TEXTREPORT_H

#include "discoveryreport.h"

class QTextStream;

/**
 * Lays a DiscoveryReport out for a person at a terminal: the unit serial first, or why there is none,
 * then the stores, the serials cache file, the hardware and the overall status. Texts read from the
 * unit are shown exactly; strings in records stand between double quotes so that blanks can be seen.
 */
class TextReport
{
public:
    explicit TextReport(const DiscoveryReport &report);

    /** With @p withRecords each store's record follows its status line. */
    void print(QTextStream &out, bool withRecords) const;

    /** A record value as it is shown: strings quoted, numbers plain, anything else in JSON notation. */
    static QString valueText(const QVariant &value);

private:
    void printUnitSerial(QTextStream &out) const;
    void printCandidates(QTextStream &out) const;
    void printStores(QTextStream &out, bool withRecords) const;
    void printRecord(QTextStream &out, const QVariantMap &record) const;
    void printCache(QTextStream &out) const;
    void printHardware(QTextStream &out) const;
    void printStatus(QTextStream &out) const;
    void printAdvice(QTextStream &out) const;

    QString votersText(const DiscoveryReport::Candidate &candidate) const;
    static QString factText(const QString &fact);
    static QString boardSerialText(uint serial);

    const DiscoveryReport &m_report;
};

#endif
