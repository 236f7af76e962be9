// The sandbox script and the simulated units that qorsimunit builds for it.

#include "sandboxrun.h"

#include <qorutils/romstorage.h>

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QByteArray frameOf(const QVariantMap &record)
{
    return ROMStorage(QVariant(record)).frame();
}

QVariantMap unitRecord(const QString &unit)
{
    QVariantMap record;
    record.insert(QStringLiteral("unit"), unit);
    record.insert(QStringLiteral("cb"), uint(1234567));
    return record;
}

QByteArray comFactoryArea()
{
    QByteArray bytes(256, 0);
    for (int i = 0; i < bytes.size(); ++i)
        bytes[i] = char(i);
    return bytes;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

} // namespace

class SandboxTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commands_data();
    void commands();
    void rootIsKeptAndReused();
    void bindRwDirectoryIsWritable();
    void images_data();
    void images();
    void corruptFrameDiffersInOnePayloadByte();
    void unitFileErrors_data();
    void unitFileErrors();

private:
    /** Builds @p unitText into a fresh root under m_dir and returns the root, or an empty string. */
    QString buildUnit(const QString &unitText, QByteArray *errors = nullptr);

    QTemporaryDir m_dir;
    int m_units = 0;
};

QString SandboxTest::buildUnit(const QString &unitText, QByteArray *errors)
{
    const QString name = QString::number(++m_units);
    QFile unit(m_dir.filePath(name + QStringLiteral(".unit")));
    if (!unit.open(QIODevice::WriteOnly) || unit.write(unitText.toUtf8()) < 0)
        return QString();
    unit.close();
    const QString root = m_dir.filePath(name);
    QProcess process;
    process.start(QStringLiteral(QORSIMUNIT_PATH), { QStringLiteral("build"), unit.fileName(), root });
    process.waitForFinished(-1);
    if (errors)
        *errors = process.readAllStandardError();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0 ? root : QString();
}

void SandboxTest::commands_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("script");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("output");

    QTest::newRow("exit status passed on") << ""
                                           << "exit 7" << 7 << "";
    QTest::newRow("attributes at their paths")
        << "mac 02:fc:00:00:00:09\nboard_serial \"X 1\""
        << "cat /sys/class/net/eth0/address /sys/devices/virtual/dmi/id/board_serial" << 0
        << "02:fc:00:00:00:09\nX 1\n";
    QTest::newRow("missing attribute") << "mac missing"
                                       << "test -e /sys/class/net/eth0/address" << 1 << "";
    QTest::newRow("host /tmp hidden") << ""
                                      << "ls -A /tmp" << 0 << "";
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
    QTest::newRow("no FPGA device") << "fpga none"
                                    << "test -e /dev/uio0 || test -e /sys/class/uio" << 1 << "";
    QTest::newRow("carrier memory size") << "store cb blank-00 size=100"
                                         << "wc -c < /dev/qorpic0" << 0 << "100\n";
    QTest::newRow("no carrier memory") << "store cb missing"
                                       << "test -e /dev/qorpic0" << 1 << "";
    QTest::newRow("minimal /dev") << ""
                                  << "echo x > /dev/null && test -c /dev/zero && echo ok" << 0 << "ok\n";
    QTest::newRow("unit file error") << "fpga maybe"
                                     << "true" << 125 << "";
}

void SandboxTest::commands()
{
    QFETCH(QString, unit);
    QFETCH(QString, script);
    QFETCH(int, exitCode);
    QFETCH(QString, output);

    const SandboxRun run(unit, { QStringLiteral("/bin/sh"), QStringLiteral("-c"), script });
    QVERIFY2(run.exitCode() == exitCode, run.errors().constData());
    QCOMPARE(QString::fromUtf8(run.output()), output);
}

void SandboxTest::rootIsKeptAndReused()
{
    const QString root = m_dir.filePath(QStringLiteral("kept"));
    const QStringList options = { QStringLiteral("--root"), root };
    const SandboxRun first(QStringLiteral("mac 02:fc:00:00:00:01"),
                           { QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                             QStringLiteral("echo first > /var/local/qorhwinfo/serial.cache") },
                           options);
    QVERIFY2(first.exitCode() == 0, first.errors().constData());
    QCOMPARE(readFile(root + QStringLiteral("/var/local/qorhwinfo/serial.cache")), QByteArray("first\n"));

    // A different unit file does not rebuild a root that holds a unit already.
    const SandboxRun second(QStringLiteral("mac 02:fc:00:00:00:02"),
                            { QStringLiteral("/bin/cat"), QStringLiteral("/var/local/qorhwinfo/serial.cache"),
                              QStringLiteral("/sys/class/net/eth0/address") },
                            options);
    QVERIFY2(second.exitCode() == 0, second.errors().constData());
    QCOMPARE(second.output(), QByteArray("first\n02:fc:00:00:00:01\n"));
}

void SandboxTest::bindRwDirectoryIsWritable()
{
    const QString results = m_dir.filePath(QStringLiteral("results"));
    QVERIFY(QDir().mkpath(results));
    const SandboxRun run(QString(),
                         { QStringLiteral("/bin/sh"), QStringLiteral("-c"),
                           QStringLiteral("echo done > %1/result").arg(results) },
                         { QStringLiteral("--bind-rw"), results });
    QVERIFY2(run.exitCode() == 0, run.errors().constData());
    QCOMPARE(readFile(results + QStringLiteral("/result")), QByteArray("done\n"));
}

void SandboxTest::images_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("content");

    const QByteArray erasedCom = comFactoryArea() + QByteArray(768, char(0xff));
    const QByteArray frame = frameOf(unitRecord(QStringLiteral("I000001")));
    const QString record = QStringLiteral("record unit=I000001 cb=u32:1234567");
    QByteArray register0(4096, 0);
    register0.replace(0x1d8, 4, QByteArray::fromHex("ab000100"));

    QTest::newRow("erased COM memory") << ""
                                       << "sys/bus/i2c/devices/0-0050/eeprom" << erasedCom;
    QTest::newRow("erased carrier memory") << ""
                                           << "dev/qorpic0" << QByteArray(2048, char(0xff));
    QTest::newRow("erased mono-element memory")
        << ""
        << "sys/bus/i2c/devices/0-0055/eeprom" << QByteArray(4096, char(0xff));
    QTest::newRow("zeroed beamformer memory") << "store bf blank-00"
                                              << "sys/bus/i2c/devices/0-0051/eeprom" << QByteArray(4096, 0);
    QTest::newRow("COM record after the factory area")
        << "store com " + record << "sys/bus/i2c/devices/0-0050/eeprom"
        << QByteArray(erasedCom).replace(256, frame.size(), frame);
    QTest::newRow("short COM memory") << "store com blank-ff size=200"
                                      << "sys/bus/i2c/devices/0-0050/eeprom" << comFactoryArea().left(200);
    QTest::newRow("cache file is just the frame")
        << "store file " + record << "var/local/qorhwinfo/serial.cache" << frame;
    QTest::newRow("truncated cache file") << "store file " + record + " size=10"
                                          << "var/local/qorhwinfo/serial.cache" << frame.left(10);
    QTest::newRow("raw bytes") << "store cb raw 00 01 0203"
                               << "dev/qorpic0"
                               << QByteArray::fromHex("00010203") + QByteArray(2044, char(0xff));
    QTest::newRow("empty memory") << "store ut empty"
                                  << "sys/bus/i2c/devices/0-0055/eeprom" << QByteArray();
    QTest::newRow("no cache file by default")
        << ""
        << "var/local/qorhwinfo/serial.cache" << QByteArray("<unreadable>");
    QTest::newRow("unreadable store") << "store bf unreadable"
                                      << "sys/bus/i2c/devices/0-0051/eeprom" << QByteArray("<unreadable>");
    QTest::newRow("FPGA register little-endian") << "fpga 0x000100ab"
                                                 << "dev/uio0" << register0;
    QTest::newRow("FPGA map size") << "fpga 0x0"
                                   << "sys/class/uio/uio0/maps/map0/size" << QByteArray("0x00001000\n");
    QTest::newRow("typed record values")
        << "store file record n=null s=str:u32:1 b=bool:true h=hex:0aff i=i32:-5 q=u64:0xffffffffffffffff"
        << "var/local/qorhwinfo/serial.cache"
        << frameOf({ { QStringLiteral("n"), QVariant(QString()) },
                     { QStringLiteral("s"), QStringLiteral("u32:1") },
                     { QStringLiteral("b"), true },
                     { QStringLiteral("h"), QByteArray("\x0a\xff") },
                     { QStringLiteral("i"), -5 },
                     { QStringLiteral("q"), ~Q_UINT64_C(0) } });
}

void SandboxTest::images()
{
    QFETCH(QString, unit);
    QFETCH(QString, path);
    QFETCH(QByteArray, content);

    QByteArray errors;
    const QString root = buildUnit(unit, &errors);
    QVERIFY2(!root.isEmpty(), errors.constData());
    QCOMPARE(readFile(root + QLatin1Char('/') + path), content);
}

void SandboxTest::corruptFrameDiffersInOnePayloadByte()
{
    const QString root = buildUnit(QStringLiteral("store file corrupt unit=I000001 cb=u32:1234567"));
    QVERIFY(!root.isEmpty());
    const QByteArray corrupt = readFile(root + QStringLiteral("/var/local/qorhwinfo/serial.cache"));
    const QByteArray frame = frameOf(unitRecord(QStringLiteral("I000001")));
    QCOMPARE(corrupt.size(), frame.size());
    QCOMPARE(corrupt.left(ROMStorage::HeaderSize), frame.left(ROMStorage::HeaderSize));
    int differences = 0;
    for (int i = 0; i < frame.size(); ++i)
        differences += corrupt.at(i) != frame.at(i);
    QCOMPARE(differences, 1);
}

void SandboxTest::unitFileErrors_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("message");

    QTest::newRow("unknown directive") << "# comment\nbogus 1"
                                       << ":2: unknown directive \"bogus\"";
    QTest::newRow("directive twice") << "mac a\nmac b"
                                     << ":2: \"mac\" given twice";
    QTest::newRow("store twice") << "store cb empty\nstore cb missing"
                                 << ":2: store \"cb\" given twice";
    QTest::newRow("unknown store") << "store xx empty"
                                   << ":1: unknown store \"xx\"";
    QTest::newRow("value out of range") << "store cb record cb=u32:4294967296"
                                        << ":1: \"4294967296\" is not a number in the allowed range";
    QTest::newRow("sign refused") << "fpga +1"
                                  << ":1: \"+1\" is not a number in the allowed range";
    QTest::newRow("unterminated quote") << "mac \"02:fc"
                                        << ":1: unterminated quote";
    QTest::newRow("odd hex digits") << "store cb raw 0a0"
                                    << ":1: raw takes hexadecimal bytes";
    QTest::newRow("size on a missing store") << "store cb missing size=10"
                                             << ":1: size= does not apply to \"missing\"";
    QTest::newRow("absurd size") << "store cb blank-ff size=99999999999"
                                 << ":1: \"99999999999\" is not a number in the allowed range";
    QTest::newRow("cache file without directory") << "cache_dir missing\nstore file empty"
                                                  << ":2: the cache file needs a cache directory";
}

void SandboxTest::unitFileErrors()
{
    QFETCH(QString, unit);
    QFETCH(QString, message);

    QByteArray errors;
    QVERIFY(buildUnit(unit, &errors).isEmpty());
    QVERIFY2(errors.contains(message.toUtf8()), errors.constData());
}

QTEST_GUILESS_MAIN(SandboxTest)

#include "sandboxtest.moc"
