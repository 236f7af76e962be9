#ifndef QORHWINFO_TOOL_REPORTTEXT_H
#define QORHWINFO_TOOL_REPORTTEXT_H

#include <QString>
#include <QVariant>

/**
 * The pieces of text that several reports share, every one escaped for the terminal: a record's values,
 * padded columns, vote counts and hardware facts.
 */
namespace ReportText {

/** @p text escaped and padded with blanks to @p width characters. */
QString padded(const QString &text, int width);
/** A record value: strings quoted, numbers as such, maps and lists as compact JSON; escaped. */
QString value(const QVariant &value);
/** "1 vote", "3 votes". */
QString votes(int votes);
/** A hardware fact: "not available" when it could not be read, "(empty)" when empty; escaped. */
QString fact(const QString &fact);
/** A board serial; 0 stands for one that is not known. */
QString boardSerial(uint serial);

} // namespace ReportText

#endif
