#include <qorutils/exception.h>

#include <QtTest/QtTest>

class TestException : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void whatIsUtf8();
    void copiesKeepTheMessage();
};

void TestException::whatIsUtf8()
{
    const hmi::Exception error(QString::fromUtf8("Ger\xc3\xa4t \xe6\x97\xa5"));

    QCOMPARE(QByteArray(error.what()), QByteArray("Ger\xc3\xa4t \xe6\x97\xa5"));
}

void TestException::copiesKeepTheMessage()
{
    hmi::Exception copy(QStringLiteral("first"));
    {
        const hmi::Exception original(QString::fromUtf8("uio0: \xc3\xa9"));
        copy = original;
    }

    QCOMPARE(copy.message(), QString::fromUtf8("uio0: \xc3\xa9"));
    QCOMPARE(QByteArray(copy.what()), QByteArray("uio0: \xc3\xa9"));
}

QTEST_GUILESS_MAIN(TestException)

#include "tst_exception.moc"
