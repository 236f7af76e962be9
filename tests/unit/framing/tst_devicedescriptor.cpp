#include <qorutils/devicedescriptor.h>

#include <QtTest/QtTest>

class TestDeviceDescriptor : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void serial_data();
    void serial();
};

void TestDeviceDescriptor::serial_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<uint>("serial");

    const QString key = QStringLiteral("serial");
    QTest::newRow("absent") << QVariantMap() << 0u;
    QTest::newRow("uint") << QVariantMap { { key, 7654321u } } << 7654321u;
    QTest::newRow("numeric text") << QVariantMap { { key, QStringLiteral("1234") } } << 1234u;
    QTest::newRow("text that is no number") << QVariantMap { { key, QStringLiteral("12ab") } } << 0u;
    QTest::newRow("other keys only") << QVariantMap { { QStringLiteral("cb"), 5u } } << 0u;
}

void TestDeviceDescriptor::serial()
{
    QFETCH(QVariantMap, map);
    QFETCH(uint, serial);

    QCOMPARE(hmi::DeviceDescriptor(map).serial(), serial);
}

QTEST_GUILESS_MAIN(TestDeviceDescriptor)

#include "tst_devicedescriptor.moc"
