#ifndef QORHWINFO_UNITSERIALVALIDATOR_H
#define QORHWINFO_UNITSERIALVALIDATOR_H

#include <qorhwinfo/qorhwinfo_export.h>

#include <QtGui/QValidator>

/**
 * Input validator for fields in which a person types a unit serial ("I" and six digits, such as I000123).
 *
 * \headerfile unitserialvalidator.h <qorhwinfo/unitserialvalidator.h>
 *
 * The field behaves like a right-aligned six-digit number behind a fixed "I": leading zeros are absorbed,
 * an accepted text is rewritten at once to its canonical form, and the cursor keeps its distance from the
 * end of the text. More than six significant digits, or anything but digits behind one leading "I", is
 * refused. Attach it to a QLineEdit (or any widget that takes a QValidator) with setValidator(); the
 * library itself never creates one. It keeps no state of its own; it is used on its widget's thread.
 */
class QORHWINFO_EXPORT UnitSerialValidator : public QValidator
{
    Q_OBJECT

public:
    /** A validator owned by @p parent through QObject (or by the caller when @p parent is null). */
    explicit UnitSerialValidator(QObject *parent);
    ~UnitSerialValidator() QORHWINFO_OVERRIDE;

    /**
     * Checks @p input, the field's whole text, and rewrites an accepted one.
     *
     * The text is read as one optional leading "I" (upper case) followed by digits; leading zeros are
     * dropped. With at most six digits left it is Acceptable: @p input becomes "I" and those digits
     * padded to six ("12" gives I000012, the empty text I000000), and @p pos keeps its distance from the
     * end of the text, which may leave it negative when the cursor stood far in front (a widget reads that
     * as the end). Anything else is Invalid: @p input is unchanged and @p pos is set to the cursor's
     * distance from the end. Intermediate is never returned. Throws nothing.
     */
    State validate(QString &input, int &pos) const QORHWINFO_OVERRIDE;

private:
    Q_DISABLE_COPY(UnitSerialValidator)
};

#endif
