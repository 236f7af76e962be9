#include "unitserialvalidator.h"

#include <QtCore/QString>
// Qt 6 keeps QRegExp in its Core5Compat module, whose headers are not under QtCore/.
#include <QRegExp>

namespace {

QString withoutMatches(const QString &text, const QRegExp &pattern)
{
#if QT_VERSION >= 0x060000
    return pattern.replaceIn(text, QString());
#else
    QString result = text;
    result.replace(pattern, QString());
    return result;
#endif
}

} // namespace

UnitSerialValidator::UnitSerialValidator(QObject *parent)
    : QValidator(parent)
{ }

UnitSerialValidator::~UnitSerialValidator() { }

QValidator::State UnitSerialValidator::validate(QString &input, int &pos) const
{
    // Built once and in this order; they outlive every validator object.
    static const QRegExp digits(QLatin1String("[0-9]*"), Qt::CaseSensitive, QRegExp::RegExp);
    static const QRegExp leadingZeros(QLatin1String("^[0]*"), Qt::CaseSensitive, QRegExp::RegExp);
    static const QRegExp leadingI(QLatin1String("^I"), Qt::CaseSensitive, QRegExp::RegExp);
    static const QString sixZeros(QLatin1String("000000"));

    // The cursor is kept as its distance from the end, so that it stays beside the same digit when the
    // text is padded or shortened; a refused text reports that distance too.
    const int distanceFromEnd = input.length() - pos;
    pos = distanceFromEnd;

    const QString number = withoutMatches(withoutMatches(input, leadingI), leadingZeros);

    if (!digits.exactMatch(number) || number.length() > 6) {
        return Invalid;
    }

    QString padded = sixZeros;
    padded.append(number);
    input = QLatin1String("I") + padded.right(6);
    // Not clamped: a cursor that stood far in front of the significant digits comes out negative, which
    // the widget reads as the end of the text.
    pos = input.length() - distanceFromEnd;
    return Acceptable;
}
