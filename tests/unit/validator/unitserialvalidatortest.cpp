#include <qorhwinfo/unitserialvalidator.h>

#include "qtestcompat.h"

#include <QLineEdit>
#include <QtTest/QTestEventList>

// The validator on its own, and in a line edit driven by key presses the way a person fills in a serial.
class UnitSerialValidatorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void validate_data();
    void validate();
    void typing_data();
    void typing();
};

void UnitSerialValidatorTest::validate_data()
{
    QTest::addColumn<QString>("textIn");
    QTest::addColumn<int>("cursorIn");
    QTest::addColumn<QString>("textOut");
    QTest::addColumn<int>("cursorOut");
    QTest::addColumn<int>("result");
    const int ok = QValidator::Acceptable;
    const int bad = QValidator::Invalid;

    dataRow("emptied field fills with zeros", "", 0, "I000000", 7, ok);
    dataRow("lone I, cursor behind", "I", 1, "I000000", 7, ok);
    dataRow("lone I, cursor in front", "I", 0, "I000000", 6, ok);
    dataRow("digits without I", "12", 2, "I000012", 7, ok);
    dataRow("cursor keeps distance from end", "12", 0, "I000012", 5, ok);
    dataRow("six digits without I", "123456", 6, "I123456", 7, ok);
    dataRow("canonical text assigned again", "I000012", 7, "I000012", 7, ok);
    dataRow("digit typed at the end shifts in", "I0000123", 8, "I000123", 7, ok);
    dataRow("cursor stays between 3 and 2", "I0000132", 7, "I000132", 6, ok);
    dataRow("deleted leading zero comes back", "I00012", 3, "I000012", 4, ok);
    dataRow("I put back", "000012", 0, "I000012", 1, ok);
    dataRow("all zeros", "I000000", 7, "I000000", 7, ok);
    dataRow("many leading zeros", "000000000123", 12, "I000123", 7, ok);
    dataRow("negative cursor, long text", "000000000123", 0, "I000123", -5, ok);
    dataRow("negative cursor, one too many", "00000001", 0, "I000001", -1, ok);
    dataRow("zeros behind the number stay", "I1200", 5, "I001200", 7, ok);
    dataRow("seven digits", "1234567", 7, "1234567", 0, bad);
    dataRow("I and seven digits", "I1234567", 8, "I1234567", 0, bad);
    dataRow("five behind the I", "I5000000", 2, "I5000000", 6, bad);
    dataRow("letters", "abc", 3, "abc", 0, bad);
    dataRow("trailing blank", "I12 ", 4, "I12 ", 0, bad);
    dataRow("lowercase i", "i123456", 7, "i123456", 0, bad);
    dataRow("two leading I", "II123", 5, "II123", 0, bad);
    dataRow("I not first", "0I123", 5, "0I123", 0, bad);
    dataRow("digits outside ASCII", QString::fromUtf8("I\u0661\u0662"), 3, QString::fromUtf8("I\u0661\u0662"),
            0, bad);
}

void UnitSerialValidatorTest::validate()
{
    QFETCH(QString, textIn);
    QFETCH(int, cursorIn);

    QTEST(int(UnitSerialValidator(nullptr).validate(textIn, cursorIn)), "result");
    QTEST(textIn, "textOut");
    QTEST(cursorIn, "cursorOut");
}

// The field holds a text set by the program (which a validator does not check); a person presses Home,
// moves right a number of times and types keys, "<" standing for a backspace and ">" for a delete.
void UnitSerialValidatorTest::typing_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<int>("right");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("cursor");

    dataRow("typing a whole serial", "", 0, "I000123", "I000123", 7);
    dataRow("digit at the end shifts in", "I000012", 7, "3", "I000123", 7);
    dataRow("backspace shifts out", "I000012", 7, "<", "I000001", 7);
    dataRow("deleting the I puts it back", "I000012", 0, ">", "I000012", 1);
    dataRow("5 behind the I is refused", "I000012", 1, "5", "I000012", 1);
    dataRow("5 one place further absorbs a zero", "I000012", 2, "5", "I500012", 2);
    dataRow("letter and blank are refused", "I000012", 7, "a ", "I000012", 7);
    dataRow("full: digits at the end refused", "I123456", 7, "70", "I123456", 7);
    dataRow("full: digits inside refused", "I123456", 3, "90", "I123456", 3);
    dataRow("full: leading zero vanishes", "I123456", 1, "00", "I123456", 1);
    // The validator answers with a cursor before the start of the text; the person sees it at the end.
    dataRow("negative cursor, many zeros", "x000000000123", 0, ">", "I000123", 7);
    dataRow("negative cursor, one zero too many", "x00000001", 0, ">", "I000001", 7);
}

void UnitSerialValidatorTest::typing()
{
    QFETCH(QString, start);
    QFETCH(int, right);
    QFETCH(QString, keys);
    QLineEdit edit;
    edit.setValidator(new UnitSerialValidator(&edit));
    edit.setText(start);
    QTestEventList events;
    events.addKeyClick(Qt::Key_Home);
    for (int i = 0; i < right; ++i)
        events.addKeyClick(Qt::Key_Right);
    for (const QChar key : keys) {
        if (key == '<' || key == '>')
            events.addKeyClick(key == '<' ? Qt::Key_Backspace : Qt::Key_Delete);
        else
            events.addKeyClicks(key);
    }

    events.simulate(&edit);

    QTEST(edit.text(), "text");
    QTEST(edit.cursorPosition(), "cursor");
    QVERIFY(edit.hasAcceptableInput());
}

QTEST_MAIN(UnitSerialValidatorTest)

#include "unitserialvalidatortest.moc"
