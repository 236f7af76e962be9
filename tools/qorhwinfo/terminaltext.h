#ifndef QORHWINFO_TOOL_TERMINALTEXT_H
#define QORHWINFO_TOOL_TERMINALTEXT_H

#include <QString>

/**
 * Text that came from a store, a device or a file, made safe to show on a terminal or in a text report:
 * a board's memory may hold any bytes, and an escape sequence in a record must not clear a technician's
 * screen or forge the report around it. C0 and C1 control characters, DEL, line and paragraph separators,
 * formatting characters (such as the bidirectional overrides), surrogates without a partner, private-use
 * and unassigned code points are written as \xNN or \u{...}, and a backslash as \\, so that the
 * escaped text is unambiguous and can never break a column or a line.
 */
namespace TerminalText {

QString escaped(const QString &text);
/**
 * Prints "qorhwinfo: " and @p text on stderr, each of its lines escaped: the tool's own message may span
 * lines, the text it quotes may not.
 */
void printError(const QString &text);

} // namespace TerminalText

#endif
