// hmi::SysFsFile on ordinary files standing in for sysfs attributes.

#include <qorutils/sysfsfile.h>

#include <QTemporaryDir>
#include <QtTest>

class SysFsFileTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void toString_data();
    void toString();
    void missingAttributeReadsEmpty();
    void writeOnlyAttributeReadsEmpty();
    void readsFromTheStartEachTime();

private:
    QString writeAttribute(const QByteArray &content);

    QTemporaryDir m_dir;
    int m_files = 0;
};

void SysFsFileTest::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

QString SysFsFileTest::writeAttribute(const QByteArray &content)
{
    const QString path = m_dir.filePath(QString::number(++m_files));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        return QString();
    return path;
}

void SysFsFileTest::toString_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");

    QTest::newRow("one line end dropped") << QByteArray("02:fc:00:00:00:01\n") << "02:fc:00:00:00:01";
    QTest::newRow("only one of two line ends") << QByteArray("ABC\n\n") << "ABC\n";
    QTest::newRow("no line end") << QByteArray("ABC") << "ABC";
    QTest::newRow("blanks kept") << QByteArray(" ABC \n") << " ABC ";
    QTest::newRow("carriage return kept") << QByteArray("ABC\r\n") << "ABC\r";
    QTest::newRow("just a line end") << QByteArray("\n") << "";
    QTest::newRow("empty attribute") << QByteArray() << "";
    QTest::newRow("UTF-8") << QByteArray("Gr\xc3\xbc\xc3\x9f\n") << QString::fromUtf8("Gr\xc3\xbc\xc3\x9f");
    QTest::newRow("bounded to one page") << QByteArray(4096, 'x') + "tail\n"
                                         << QString(4096, QLatin1Char('x'));
}

void SysFsFileTest::toString()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, text);

    hmi::SysFsFile attribute(writeAttribute(content));
    QVERIFY(attribute.isOpen());
    QCOMPARE(attribute.toString(), text);
}

void SysFsFileTest::missingAttributeReadsEmpty()
{
    hmi::SysFsFile attribute(m_dir.filePath(QStringLiteral("absent")));
    QVERIFY(!attribute.isOpen());
    QVERIFY(attribute.toString().isEmpty());
}

void SysFsFileTest::writeOnlyAttributeReadsEmpty()
{
    hmi::SysFsFile attribute(writeAttribute("value\n"), QIODevice::WriteOnly);
    QVERIFY(attribute.isOpen());
    QVERIFY(attribute.toString().isEmpty());
}

void SysFsFileTest::readsFromTheStartEachTime()
{
    hmi::SysFsFile attribute(writeAttribute("0x00001000\n"));
    QCOMPARE(attribute.read(2), QByteArray("0x"));
    QCOMPARE(attribute.toString(), QStringLiteral("0x00001000"));
    QCOMPARE(attribute.toString(), QStringLiteral("0x00001000"));
}

QTEST_GUILESS_MAIN(SysFsFileTest)

#include "sysfsfiletest.moc"
