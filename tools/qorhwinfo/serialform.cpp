#include "serialform.h"

#include "terminaltext.h"

#include <qorhwinfo/unitserialvalidator.h>

namespace SerialForm {

// The validator's rules are the definition: a serial is well-formed when the validator takes it as it
// stands, without rewriting it into the canonical form.
bool isWellFormed(const QString &serial)
{
    static const UnitSerialValidator validator(0);
    QString text = serial;
    int cursor = text.size();
    return validator.validate(text, cursor) == QValidator::Acceptable && text == serial;
}

QString display(const QString &serial)
{
    if (isWellFormed(serial))
        return serial;
    return QLatin1Char('"') + TerminalText::escaped(serial) + QLatin1Char('"');
}

} // namespace SerialForm
