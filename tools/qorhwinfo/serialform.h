#ifndef QORHWINFO_TOOL_SERIALFORM_H
#define QORHWINFO_TOOL_SERIALFORM_H

#include <QString>

/**
 * The form of a unit serial: the letter "I" followed by exactly six digits. The library counts any
 * serial in its vote, as it must; the tool is where a person learns that a store names no real serial.
 */
namespace SerialForm {

bool isWellFormed(const QString &serial);
/** The serial as the tool shows it: well-formed ones plain, anything else quoted and escaped. */
QString display(const QString &serial);

} // namespace SerialForm

#endif
