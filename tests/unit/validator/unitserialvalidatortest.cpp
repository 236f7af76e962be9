#include <qorhwinfo/unitserialvalidator.h>

#include "qtestcompat.h"

#include <QLineEdit>
#include <QtTest/QTest>
#include <QtTest/QTestEventList>

#if QT_VERSION < 0x050000
// Qt 5 registers the enumeration itself.
Q_DECLARE_METATYPE(QValidator::State)
#endif

/**
 * Checks the validator on its own, call by call, and in a line edit driven by key presses the way a
 * person fills in a unit serial.
 */
class UnitSerialValidatorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void validate_data();
    void validate();
    void isAQValidatorThatKeepsFixup();
    void typing_data();
    void typing();
    void negativeCursorLandsAtEnd_data();
    void negativeCursorLandsAtEnd();
};

void UnitSerialValidatorTest::validate_data()
{
    QTest::addColumn<QString>("textIn");
    QTest::addColumn<int>("cursorIn");
    QTest::addColumn<QString>("textOut");
    QTest::addColumn<int>("cursorOut");
    QTest::addColumn<QValidator::State>("result");

    const QValidator::State ok = QValidator::Acceptable;
    const QValidator::State bad = QValidator::Invalid;
    QTest::newRow("emptied field fills with zeros") << "" << 0 << "I000000" << 7 << ok;
    QTest::newRow("lone I, cursor behind") << "I" << 1 << "I000000" << 7 << ok;
    QTest::newRow("lone I, cursor in front") << "I" << 0 << "I000000" << 6 << ok;
    QTest::newRow("digits without I") << "12" << 2 << "I000012" << 7 << ok;
    QTest::newRow("cursor keeps distance from end") << "12" << 0 << "I000012" << 5 << ok;
    QTest::newRow("six digits without I") << "123456" << 6 << "I123456" << 7 << ok;
    QTest::newRow("canonical text assigned again") << "I000012" << 7 << "I000012" << 7 << ok;
    QTest::newRow("digit typed at the end shifts in") << "I0000123" << 8 << "I000123" << 7 << ok;
    QTest::newRow("cursor stays between 3 and 2") << "I0000132" << 7 << "I000132" << 6 << ok;
    QTest::newRow("deleted leading zero comes back") << "I00012" << 3 << "I000012" << 4 << ok;
    QTest::newRow("I put back") << "000012" << 0 << "I000012" << 1 << ok;
    QTest::newRow("all zeros") << "I000000" << 7 << "I000000" << 7 << ok;
    QTest::newRow("many leading zeros") << "000000000123" << 12 << "I000123" << 7 << ok;
    QTest::newRow("negative cursor, long text") << "000000000123" << 0 << "I000123" << -5 << ok;
    QTest::newRow("negative cursor, one too many") << "00000001" << 0 << "I000001" << -1 << ok;
    QTest::newRow("zeros behind the number stay") << "I1200" << 5 << "I001200" << 7 << ok;
    QTest::newRow("seven digits") << "1234567" << 7 << "1234567" << 0 << bad;
    QTest::newRow("I and seven digits") << "I1234567" << 8 << "I1234567" << 0 << bad;
    QTest::newRow("five behind the I") << "I5000000" << 2 << "I5000000" << 6 << bad;
    QTest::newRow("letters") << "abc" << 3 << "abc" << 0 << bad;
    QTest::newRow("trailing blank") << "I12 " << 4 << "I12 " << 0 << bad;
    QTest::newRow("lowercase i") << "i123456" << 7 << "i123456" << 0 << bad;
    QTest::newRow("two leading I") << "II123" << 5 << "II123" << 0 << bad;
    QTest::newRow("I not first") << "0I123" << 5 << "0I123" << 0 << bad;
    QTest::newRow("digits outside ASCII")
        << QString::fromUtf8("I\u0661\u0662") << 3 << QString::fromUtf8("I\u0661\u0662") << 0 << bad;
}

void UnitSerialValidatorTest::validate()
{
    QFETCH(QString, textIn);
    QFETCH(int, cursorIn);

    const UnitSerialValidator validator(nullptr);
    QString text = textIn;
    int cursor = cursorIn;
    const QValidator::State result = validator.validate(text, cursor);

    QTEST(result, "result");
    QTEST(text, "textOut");
    QTEST(cursor, "cursorOut");
}

void UnitSerialValidatorTest::isAQValidatorThatKeepsFixup()
{
    UnitSerialValidator validator(nullptr);
    QString refused = QStringLiteral("i12 x");
    validator.fixup(refused);

    QCOMPARE(validator.metaObject()->className(), "UnitSerialValidator");
    QCOMPARE(validator.metaObject()->superClass(), &QValidator::staticMetaObject);
    QCOMPARE(qobject_cast<UnitSerialValidator *>(static_cast<QValidator *>(&validator)), &validator);
    QCOMPARE(refused, QStringLiteral("i12 x"));
}

// The field starts empty and is filled by typing `start`, so every row begins from a text the validator
// has already seen; `keys` is what the person does next.
void UnitSerialValidatorTest::typing_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QTestEventList>("keys");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("cursor");

    const QString twelve = QStringLiteral("12");
    const QString sixDigits = QStringLiteral("123456");
    // Home, then the cursor moved right `steps` times, then `typed`.
    const auto atPosition = [](int steps, const QString &typed) {
        QTestEventList keys;
        keys.addKeyClick(Qt::Key_Home);
        for (int i = 0; i < steps; ++i)
            keys.addKeyClick(Qt::Key_Right);
        keys.addKeyClicks(typed);
        return keys;
    };

    QTestEventList whole;
    whole.addKeyClicks(QStringLiteral("I000123"));
    QTest::newRow("typing a whole serial") << QString() << whole << "I000123" << 7;
    QTest::newRow("digit at the end shifts in")
        << twelve << atPosition(7, QStringLiteral("3")) << "I000123" << 7;
    QTestEventList backspace;
    backspace.addKeyClick(Qt::Key_End);
    backspace.addKeyClick(Qt::Key_Backspace);
    QTest::newRow("backspace shifts out") << twelve << backspace << "I000001" << 7;
    QTestEventList deleteI;
    deleteI.addKeyClick(Qt::Key_Home);
    deleteI.addKeyClick(Qt::Key_Delete);
    QTest::newRow("deleting the I puts it back") << twelve << deleteI << "I000012" << 1;
    QTest::newRow("5 behind the I is refused")
        << twelve << atPosition(1, QStringLiteral("5")) << "I000012" << 1;
    QTest::newRow("5 one place further absorbs a zero")
        << twelve << atPosition(2, QStringLiteral("5")) << "I500012" << 2;
    QTest::newRow("letter and blank are refused")
        << twelve << atPosition(7, QStringLiteral("a ")) << "I000012" << 7;
    QTest::newRow("full: digits at the end refused")
        << sixDigits << atPosition(7, QStringLiteral("70")) << "I123456" << 7;
    QTest::newRow("full: digits inside refused")
        << sixDigits << atPosition(3, QStringLiteral("90")) << "I123456" << 3;
    QTest::newRow("full: leading zero vanishes")
        << sixDigits << atPosition(1, QStringLiteral("00")) << "I123456" << 1;
}

void UnitSerialValidatorTest::typing()
{
    QFETCH(QString, start);
    QFETCH(QTestEventList, keys);

    QLineEdit edit;
    edit.setValidator(new UnitSerialValidator(&edit));
    QTest::keyClicks(&edit, start);
    keys.simulate(&edit);

    QTEST(edit.text(), "text");
    QTEST(edit.cursorPosition(), "cursor");
    QVERIFY(edit.hasAcceptableInput());
}

// A text set by the program is kept even when it is refused. Deleting its first character leaves the
// cursor far in front of the end, the validator answers with a cursor before the start of the text, and the
// person sees the cursor at the end.
void UnitSerialValidatorTest::negativeCursorLandsAtEnd_data()
{
    QTest::addColumn<QString>("programText");
    QTest::addColumn<QString>("text");

    QTest::newRow("many zeros") << "x000000000123"
                                << "I000123";
    QTest::newRow("one zero too many") << "x00000001"
                                       << "I000001";
}

void UnitSerialValidatorTest::negativeCursorLandsAtEnd()
{
    QFETCH(QString, programText);

    QLineEdit edit;
    edit.setValidator(new UnitSerialValidator(&edit));
    edit.setText(programText);
    QCOMPARE(edit.text(), programText);
    QTest::keyClick(&edit, Qt::Key_Home);
    QTest::keyClick(&edit, Qt::Key_Delete);

    QTEST(edit.text(), "text");
    QCOMPARE(edit.cursorPosition(), edit.text().length());
    QVERIFY(edit.hasAcceptableInput());
}

QTEST_MAIN(UnitSerialValidatorTest)

#include "unitserialvalidatortest.moc"
