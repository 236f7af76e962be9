// UnitSerialValidator::validate() against a model: an optional leading "I", zeros and at most six digits are
// rewritten to "I" and six digits, the cursor keeping its distance from the end; other text is refused as it
// is, the cursor set to that distance. Byte 0: UTF-16 (bit 0) or Latin-1 text; bytes 1-2: the cursor, which
// stays within eight places of the text as a widget's does.
#include "fuzzcheck.h"

#include <qorhwinfo/unitserialvalidator.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    if (size < 3)
        return 0;
    const QByteArray input(reinterpret_cast<const char *>(data), int(size));
    QString text = QString::fromLatin1(input.mid(3));
    if (input.at(0) & 1) {
        text.clear();
        for (int i = 4; i < input.size(); i += 2)
            text += QChar(ushort(uchar(input.at(i - 1)) | (uchar(input.at(i)) << 8)));
    }
    const int cursor = (uchar(input.at(1)) | (uchar(input.at(2)) << 8)) % (text.size() + 17) - 8;
    const int distanceFromEnd = text.size() - cursor;

    QString edited = text;
    int pos = cursor;
    const QValidator::State state = UnitSerialValidator(0).validate(edited, pos);

    int start = text.startsWith(QLatin1Char('I')) ? 1 : 0;
    while (start < text.size() && text.at(start) == QLatin1Char('0'))
        ++start;
    bool accepted = text.size() - start <= 6;
    for (int i = start; i < text.size(); ++i)
        accepted = accepted && text.at(i) >= QLatin1Char('0') && text.at(i) <= QLatin1Char('9');
    const QString canonical
        = QLatin1Char('I') + QString::fromLatin1("000000").append(text.mid(start)).right(6);
    expect(state == (accepted ? QValidator::Acceptable : QValidator::Invalid), "wrong verdict", input);
    expect(edited == (accepted ? canonical : text), "wrong text", input);
    expect(pos == (accepted ? 7 - distanceFromEnd : distanceFromEnd), "wrong cursor", input);
    return 0;
}
