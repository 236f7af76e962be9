#include <qorutils/devicedescriptor.h>
#include <qorutils/exception.h>

#include "qtestcompat.h"

// The small value classes of libqorutils: a board descriptor's serial and the device-access exception.
class TestValueClasses : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void descriptorSerial_data();
    void descriptorSerial();
    void exceptionCopyKeepsUtf8Message();
};

void TestValueClasses::descriptorSerial_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<uint>("serial");

    const QString key = QStringLiteral("serial");
    QTest::newRow("absent") << QVariantMap() << 0u;
    QTest::newRow("uint") << variantMap({ { key, 7654321u } }) << 7654321u;
    QTest::newRow("numeric text") << variantMap({ { key, QStringLiteral("1234") } }) << 1234u;
    QTest::newRow("text that is no number") << variantMap({ { key, QStringLiteral("12ab") } }) << 0u;
    QTest::newRow("other keys only") << variantMap({ { QStringLiteral("cb"), 5u } }) << 0u;
}

void TestValueClasses::descriptorSerial()
{
    QFETCH(QVariantMap, map);

    QTEST(hmi::DeviceDescriptor(map).serial(), "serial");
}

void TestValueClasses::exceptionCopyKeepsUtf8Message()
{
    hmi::Exception copy(QStringLiteral("first"));
    {
        const hmi::Exception original(QString::fromUtf8("uio0: Ger\xc3\xa4t \xe6\x97\xa5"));
        copy = original;
    }

    QCOMPARE(copy.message(), QString::fromUtf8("uio0: Ger\xc3\xa4t \xe6\x97\xa5"));
    QCOMPARE(QByteArray(copy.what()), QByteArray("uio0: Ger\xc3\xa4t \xe6\x97\xa5"));
}

QTEST_GUILESS_MAIN(TestValueClasses)

#include "tst_valueclasses.moc"
