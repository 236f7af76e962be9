// What the system and device tests rely on when they run programs on a simulated unit: the command's exit
// status, the unit's files at the paths the library reads, the cache directory's variants, a kept root.

#include "sandbox.h"

#include "qtestcompat.h"

class TestSandbox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commands_data();
    void commands();
    void unitFileErrorIsASetupFailure();
    void rootIsKeptAndReused();
};

void TestSandbox::commands_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("output");

    QTest::newRow("exit status passed on") << ""
                                           << "exit 7" << 7 << "";
    QTest::newRow("unit at the library's paths")
        << "mac 02:fc:00:00:00:09\nboard_serial \"X 1\"\nfpga 0x1"
        << "cat /sys/class/net/eth0/address /sys/devices/virtual/dmi/id/board_serial && cd "
           "/sys/bus/i2c/devices"
           " && test -f 0-0050/eeprom -a -f 0-0051/eeprom -a -f 0-0055/eeprom -a -e /dev/qorpic0 -a -e "
           "/dev/uio0"
           " -a -f /sys/class/uio/uio0/maps/map0/size && echo ok"
        << 0 << "02:fc:00:00:00:09\nX 1\nok\n";
    QTest::newRow("no FPGA device") << "fpga none"
                                    << "test -e /dev/uio0 || test -e /sys/class/uio" << 1 << "";
    QTest::newRow("host read-only") << ""
                                    << "touch /etc/qorsandbox-probe 2>/dev/null" << 1 << "";
    QTest::newRow("cache directory writable")
        << "cache_dir present"
        << "echo x > /var/local/qorhwinfo/serial.cache && echo ok" << 0 << "ok\n";
    QTest::newRow("cache directory read-only")
        << "cache_dir readonly"
        << "touch /var/local/qorhwinfo/serial.cache 2>/dev/null" << 1 << "";
    QTest::newRow("cache directory missing") << "cache_dir missing"
                                             << "ls -A /var/local" << 0 << "";
}

void TestSandbox::commands()
{
    QFETCH(QString, unit);
    QFETCH(QString, script);

    Sandbox sandbox;
    const SandboxResult built = sandbox.build(unit);
    QVERIFY2(built.finished && built.exitCode == 0, qPrintable(built.describe()));
    const SandboxResult run = sandbox.run(QStringLiteral("/bin/sh"), { QStringLiteral("-c"), script });

    QVERIFY2(run.finished, qPrintable(run.describe()));
    QTEST(run.exitCode, "exitCode");
    QTEST(QString::fromUtf8(run.out), "output");
}

void TestSandbox::unitFileErrorIsASetupFailure()
{
    Sandbox sandbox;
    QCOMPARE(sandbox.build(QStringLiteral("fpga maybe")).exitCode, Sandbox::SetupFailed);
}

void TestSandbox::rootIsKeptAndReused()
{
    Sandbox sandbox;
    QCOMPARE(sandbox.build(QStringLiteral("mac 02:fc:00:00:00:01")).exitCode, 0);
    const SandboxResult first = sandbox.run(
        QStringLiteral("/bin/sh"),
        { QStringLiteral("-c"), QStringLiteral("echo first > /var/local/qorhwinfo/serial.cache") });
    QVERIFY2(first.exitCode == 0, qPrintable(first.describe()));

    // A second build does not replace a unit that is built already.
    QCOMPARE(sandbox.build(QStringLiteral("mac 02:fc:00:00:00:02")).exitCode, 0);
    const SandboxResult second = sandbox.run(QStringLiteral("/bin/cat"),
                                             { QStringLiteral("/var/local/qorhwinfo/serial.cache"),
                                               QStringLiteral("/sys/class/net/eth0/address") });
    QCOMPARE(second.out, QByteArray("first\n02:fc:00:00:00:01\n"));
}

QTEST_GUILESS_MAIN(TestSandbox)

#include "tst_sandbox.moc"
