// UnitSerialValidator::validate() on arbitrary text and cursor, against a model written from the rules for
// a typed unit serial: one optional leading "I", then leading zeros, then at most six digits are accepted
// and rewritten to "I" and six digits with the cursor kept at its distance from the end; anything else is
// refused with the text untouched.
//
// Input: byte 0 chooses how the rest becomes text (bit 0: UTF-16 code units, else Latin-1), bytes 1-2 the
// cursor, the rest the text. The cursor stays within eight places of the text, as a widget's cursor does
// and a little beyond: an int at its limits would make "distance from the end" overflow, which no widget
// can ask for.
#include "fuzzcheck.h"

#include <qorhwinfo/unitserialvalidator.h>

namespace {

const int cursorSlack = 8;

QString textFrom(const QByteArray &bytes, bool utf16)
{
    if (!utf16)
        return QString::fromLatin1(bytes);
    QString text;
    for (int i = 0; i + 1 < bytes.size(); i += 2)
        text.append(QChar(ushort(uchar(bytes.at(i)) | (uchar(bytes.at(i + 1)) << 8))));
    return text;
}

int cursorFrom(const QByteArray &bytes, int textLength)
{
    const int raw = uchar(bytes.at(0)) | (uchar(bytes.at(1)) << 8);
    return raw % (textLength + 1 + 2 * cursorSlack) - cursorSlack;
}

/** The six digits a text stands for, or a null string when it is no unit serial in the making. */
QString expectedDigits(const QString &text)
{
    int i = text.startsWith(QLatin1Char('I')) ? 1 : 0;
    while (i < text.size() && text.at(i) == QLatin1Char('0'))
        ++i;
    const QString number = text.mid(i);
    if (number.size() > 6)
        return QString();
    for (const QChar c : number) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return QString();
    }
    return QStringLiteral("000000").append(number).right(6);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input = FuzzCheck::bytes(data, size);
    if (input.size() < 3)
        return 0;
    const QString text = textFrom(input.mid(3), input.at(0) & 1);
    const int cursor = cursorFrom(input.mid(1, 2), text.size());
    const int distanceFromEnd = text.size() - cursor;

    const UnitSerialValidator validator(nullptr);
    QString edited = text;
    int pos = cursor;
    const QValidator::State state = validator.validate(edited, pos);

    const QString digits = expectedDigits(text);
    if (digits.isNull()) {
        FuzzCheck::expect(state == QValidator::Invalid, "a text that is no serial is not refused", input);
        FuzzCheck::expect(edited == text, "a refused text was changed", input);
        FuzzCheck::expect(pos == distanceFromEnd, "a refusal does not report the distance from the end",
                          input);
        return 0;
    }
    FuzzCheck::expect(state == QValidator::Acceptable, "a serial in the making is not accepted", input);
    FuzzCheck::expect(edited == QLatin1String("I") + digits, "an accepted text is not the canonical serial",
                      input);
    FuzzCheck::expect(pos == 7 - distanceFromEnd, "the cursor does not keep its distance from the end",
                      input);
    return 0;
}
