#include "messagelog.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QtTest/QtTest>

// The quick read of the cache file needs the real path, which only the system tests may populate; here
// it can only be checked on a machine that has no cache file.
class TestQuickSerial : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nullWithoutCacheFile();
};

void TestQuickSerial::nullWithoutCacheFile()
{
    if (QFileInfo::exists(QStringLiteral("/var/local/qorhwinfo/serial.cache")))
        QSKIP("this machine has a serials cache file");
    MessageLog log;

    const QString serial = hmi::HwInfoHelper::quickNonValidatedSerial();

    QVERIFY(serial.isNull());
    QCOMPARE(log.count(), 0);
}

QTEST_GUILESS_MAIN(TestQuickSerial)

#include "tst_quickserial.moc"
