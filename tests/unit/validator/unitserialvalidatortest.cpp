#include <qorhwinfo/unitserialvalidator.h>

#include <QtGui/QClipboard>
#include <QtTest/QTest>
#include <QtTest/QTestEventList>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>

#include <QPointer>

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
    void refusedTextKeepsItsCursorDistance();
    void metaObjectAddsNothingToQValidator();
    void metaCastAnswers();
    void fixupChangesNothing();
    void parentOwnsValidator();

    void typing_data();
    void typing();
    void textFromOutside_data();
    void textFromOutside();
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
    QTest::newRow("zeros behind the number stay") << "I1200" << 5 << "I001200" << 7 << ok;
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

void UnitSerialValidatorTest::refusedTextKeepsItsCursorDistance()
{
    const UnitSerialValidator validator(nullptr);
    QString text = QStringLiteral("I1234567");
    for (int cursor = 0; cursor <= text.length(); ++cursor) {
        int pos = cursor;
        QCOMPARE(validator.validate(text, pos), QValidator::Invalid);
        QCOMPARE(pos, text.length() - cursor);
    }
}

void UnitSerialValidatorTest::metaObjectAddsNothingToQValidator()
{
    const QMetaObject &own = UnitSerialValidator::staticMetaObject;
    const QMetaObject &base = QValidator::staticMetaObject;

    QCOMPARE(own.className(), "UnitSerialValidator");
    QCOMPARE(own.superClass(), &base);
    QCOMPARE(own.methodOffset(), base.methodCount());
    QCOMPARE(own.methodCount(), base.methodCount());
    QCOMPARE(own.propertyCount(), base.propertyCount());
    QCOMPARE(own.enumeratorCount(), base.enumeratorCount());
    QCOMPARE(own.classInfoCount(), base.classInfoCount());
    QCOMPARE(own.constructorCount(), 0);

    const UnitSerialValidator validator(nullptr);
    QCOMPARE(validator.metaObject(), &own);
}

void UnitSerialValidatorTest::metaCastAnswers()
{
    UnitSerialValidator validator(nullptr);
    QValidator *asBase = &validator;

    QCOMPARE(validator.qt_metacast("UnitSerialValidator"), static_cast<void *>(&validator));
    QCOMPARE(validator.qt_metacast(nullptr), static_cast<void *>(nullptr));
    QCOMPARE(validator.qt_metacast("QValidator"), static_cast<void *>(asBase));
    QCOMPARE(validator.qt_metacast("QObject"), static_cast<void *>(static_cast<QObject *>(&validator)));
    QCOMPARE(validator.qt_metacast("QIntValidator"), static_cast<void *>(nullptr));
    QCOMPARE(qobject_cast<UnitSerialValidator *>(asBase), &validator);
    QVERIFY(validator.inherits("QValidator"));
}

void UnitSerialValidatorTest::fixupChangesNothing()
{
    const UnitSerialValidator validator(nullptr);
    for (const char *sample : { "", "12", "I1234567", "i12 x" }) {
        QString text = QString::fromLatin1(sample);
        validator.fixup(text);
        QCOMPARE(text, QString::fromLatin1(sample));
    }
}

void UnitSerialValidatorTest::parentOwnsValidator()
{
    auto *parent = new QObject;
    QPointer<UnitSerialValidator> validator = new UnitSerialValidator(parent);
    QCOMPARE(validator->parent(), parent);
    delete parent;
    QVERIFY(validator.isNull());
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

    QTestEventList none;
    QTest::newRow("typing 12 pads it") << twelve << none << "I000012" << 7;

    QTestEventList whole;
    whole.addKeyClicks(QStringLiteral("I000123"));
    QTest::newRow("typing a whole serial") << QString() << whole << "I000123" << 7;

    QTestEventList three;
    three.addKeyClick(Qt::Key_End);
    three.addKeyClicks(QStringLiteral("3"));
    QTest::newRow("digit at the end shifts in") << twelve << three << "I000123" << 7;

    QTestEventList backspace;
    backspace.addKeyClick(Qt::Key_End);
    backspace.addKeyClick(Qt::Key_Backspace);
    QTest::newRow("backspace shifts out") << twelve << backspace << "I000001" << 7;

    QTestEventList deleteI;
    deleteI.addKeyClick(Qt::Key_Home);
    deleteI.addKeyClick(Qt::Key_Delete);
    QTest::newRow("deleting the I puts it back") << twelve << deleteI << "I000012" << 1;

    QTestEventList backspaceI;
    backspaceI.addKeyClick(Qt::Key_Home);
    backspaceI.addKeyClick(Qt::Key_Right);
    backspaceI.addKeyClick(Qt::Key_Backspace);
    QTest::newRow("backspace over the I puts it back") << twelve << backspaceI << "I000012" << 1;

    QTestEventList zeroGone;
    zeroGone.addKeyClick(Qt::Key_Home);
    for (int i = 0; i < 4; ++i) {
        zeroGone.addKeyClick(Qt::Key_Right);
    }
    zeroGone.addKeyClick(Qt::Key_Backspace);
    QTest::newRow("deleted leading zero comes back") << twelve << zeroGone << "I000012" << 4;

    QTestEventList fiveBehindI;
    fiveBehindI.addKeyClick(Qt::Key_Home);
    fiveBehindI.addKeyClick(Qt::Key_Right);
    fiveBehindI.addKeyClicks(QStringLiteral("5"));
    QTest::newRow("5 behind the I is refused") << twelve << fiveBehindI << "I000012" << 1;

    QTestEventList fiveFurther;
    fiveFurther.addKeyClick(Qt::Key_Home);
    fiveFurther.addKeyClick(Qt::Key_Right);
    fiveFurther.addKeyClick(Qt::Key_Right);
    fiveFurther.addKeyClicks(QStringLiteral("5"));
    QTest::newRow("5 one place further absorbs a zero") << twelve << fiveFurther << "I500012" << 2;

    QTestEventList letter;
    letter.addKeyClicks(QStringLiteral("a "));
    QTest::newRow("letter and blank are refused") << twelve << letter << "I000012" << 7;

    QTestEventList lowercase;
    lowercase.addKeyClicks(QStringLiteral("i"));
    QTest::newRow("lowercase i into empty field") << QString() << lowercase << "" << 0;

    QTestEventList replaceAll;
    replaceAll.addKeyClick(Qt::Key_A, Qt::ControlModifier);
    replaceAll.addKeyClicks(QStringLiteral("7"));
    QTest::newRow("typing over a selected serial") << twelve << replaceAll << "I000007" << 7;

    QTestEventList seventhAtEnd;
    seventhAtEnd.addKeyClick(Qt::Key_End);
    seventhAtEnd.addKeyClicks(QStringLiteral("70"));
    QTest::newRow("full: digits at the end refused") << sixDigits << seventhAtEnd << "I123456" << 7;

    QTestEventList seventhInside;
    seventhInside.addKeyClick(Qt::Key_Home);
    for (int i = 0; i < 3; ++i) {
        seventhInside.addKeyClick(Qt::Key_Right);
    }
    seventhInside.addKeyClicks(QStringLiteral("90"));
    QTest::newRow("full: digits inside refused") << sixDigits << seventhInside << "I123456" << 3;

    QTestEventList leadingZero;
    leadingZero.addKeyClick(Qt::Key_Home);
    leadingZero.addKeyClick(Qt::Key_Right);
    leadingZero.addKeyClicks(QStringLiteral("00"));
    QTest::newRow("full: leading zero vanishes") << sixDigits << leadingZero << "I123456" << 1;

    QTestEventList zeroBeforeI;
    zeroBeforeI.addKeyClick(Qt::Key_Home);
    zeroBeforeI.addKeyClicks(QStringLiteral("0"));
    QTest::newRow("full: zero before the I refused") << sixDigits << zeroBeforeI << "I123456" << 0;
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

enum Delivery { SetByProgram, Inserted, Pasted };
Q_DECLARE_METATYPE(Delivery)

// However a whole text reaches the field, the validator sees the cursor behind it.
void UnitSerialValidatorTest::textFromOutside_data()
{
    QTest::addColumn<Delivery>("delivery");
    QTest::addColumn<QString>("given");
    QTest::addColumn<QString>("text");

    const QString longText = QStringLiteral("000000000123");
    QTest::newRow("set by the program") << SetByProgram << longText << "I000123";
    QTest::newRow("inserted") << Inserted << longText << "I000123";
    QTest::newRow("pasted") << Pasted << longText << "I000123";
    QTest::newRow("set, digits only") << SetByProgram << "12"
                                      << "I000012";
    QTest::newRow("pasted, one too many") << Pasted << "00000001"
                                          << "I000001";
}

void UnitSerialValidatorTest::textFromOutside()
{
    QFETCH(Delivery, delivery);
    QFETCH(QString, given);

    QLineEdit edit;
    edit.setValidator(new UnitSerialValidator(&edit));
    switch (delivery) {
    case SetByProgram:
        edit.setText(given);
        break;
    case Inserted:
        edit.insert(given);
        break;
    case Pasted:
        QApplication::clipboard()->setText(given);
        QTest::keyClick(&edit, Qt::Key_V, Qt::ControlModifier);
        break;
    }

    QTEST(edit.text(), "text");
    QCOMPARE(edit.cursorPosition(), 7);
    QVERIFY(edit.hasAcceptableInput());
}

// A text set by the program is kept even when it is refused; the person then edits it far in front of
// the end, the validator answers with a cursor before the start of the text, and the field shows the
// cursor at the end instead.
void UnitSerialValidatorTest::negativeCursorLandsAtEnd_data()
{
    QTest::addColumn<QString>("programText");
    QTest::addColumn<QTestEventList>("keys");
    QTest::addColumn<QString>("text");

    QTestEventList deleteFirst;
    deleteFirst.addKeyClick(Qt::Key_Home);
    deleteFirst.addKeyClick(Qt::Key_Delete);
    QTest::newRow("stray letter deleted") << "x000000000123" << deleteFirst << "I000123";
    QTest::newRow("one zero too many") << "x00000001" << deleteFirst << "I000001";

    QTestEventList typeOverFirst;
    typeOverFirst.addKeyClick(Qt::Key_Home);
    typeOverFirst.addKeyClick(Qt::Key_Right, Qt::ShiftModifier);
    typeOverFirst.addKeyClicks(QStringLiteral("0"));
    QTest::newRow("zero typed over a stray letter") << "x000000000123" << typeOverFirst << "I000123";
}

void UnitSerialValidatorTest::negativeCursorLandsAtEnd()
{
    QFETCH(QString, programText);
    QFETCH(QTestEventList, keys);

    QLineEdit edit;
    edit.setValidator(new UnitSerialValidator(&edit));
    edit.setText(programText);
    QCOMPARE(edit.text(), programText);
    QVERIFY(!edit.hasAcceptableInput());

    keys.simulate(&edit);

    QTEST(edit.text(), "text");
    QCOMPARE(edit.cursorPosition(), edit.text().length());
    QVERIFY(edit.hasAcceptableInput());
}

QTEST_MAIN(UnitSerialValidatorTest)

#include "unitserialvalidatortest.moc"
