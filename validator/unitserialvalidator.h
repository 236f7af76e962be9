#ifndef QORHWINFO_UNITSERIALVALIDATOR_H
#define QORHWINFO_UNITSERIALVALIDATOR_H

#include <qorhwinfo/qorhwinfo_export.h>

#include <QtGui/QValidator>

/**
 * Input validator for fields in which a person types a unit serial ("I" and six digits).
 *
 * The field behaves like a right-aligned six-digit number behind a fixed "I": leading zeros are absorbed,
 * an accepted text is rewritten at once to its canonical form, and the cursor keeps its distance from the
 * end of the text. More than six significant digits, or anything but digits behind one leading "I", is
 * refused.
 */
class QORHWINFO_EXPORT UnitSerialValidator : public QValidator
{
    Q_OBJECT

public:
    explicit UnitSerialValidator(QObject *parent);
    ~UnitSerialValidator() QORHWINFO_OVERRIDE;

    State validate(QString &input, int &pos) const QORHWINFO_OVERRIDE;

private:
    Q_DISABLE_COPY(UnitSerialValidator)
};

#endif
