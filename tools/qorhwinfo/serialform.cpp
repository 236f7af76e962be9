#include "serialform.h"

#include <QRegExp>

namespace SerialForm {

bool isWellFormed(const QString &serial)
{
    static const QRegExp form(QLatin1String("I[0-9]{6}"));
    return form.exactMatch(serial);
}

QString display(const QString &serial)
{
    if (serial.isNull())
        return QLatin1String("(null)");
    if (isWellFormed(serial))
        return serial;
    return QLatin1Char('"') + serial + QLatin1Char('"');
}

} // namespace SerialForm
