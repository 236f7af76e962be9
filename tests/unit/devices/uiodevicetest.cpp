// hmi::UioDevice at its real paths, on simulated units inside the sandbox.

#include "probemain.h"
#include "sandboxrun.h"

#include <qorutils/exception.h>
#include <qorutils/uiodevice.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtEndian>
#include <QtTest>

namespace {

const int registerOffset = 0x1d8;

/** How many of this process's mappings and open descriptors refer to /dev/uio0. */
QString uioReferences()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    maps.open(QIODevice::ReadOnly);
    const int mapped = maps.readAll().count("/dev/uio0");
    int open = 0;
    const QDir fds(QStringLiteral("/proc/self/fd"));
    for (const QFileInfo &fd : fds.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)) {
        if (fd.symLinkTarget() == QLatin1String("/dev/uio0"))
            ++open;
    }
    return QStringLiteral("mapped %1 open %2").arg(mapped).arg(open);
}

QString describeMaps()
{
    hmi::UioDevice device(0);
    QStringList words(QStringLiteral("maps"));
    for (const hmi::UioDevice::Map &map : device.maps())
        words << QStringLiteral("%1:0x%2").arg(map.index()).arg(map.size(), 0, 16);
    return words.join(QLatin1Char(' '));
}

QString readRegister(hmi::UioDevice::AccessType access)
{
    hmi::UioDevice device(0);
    const void *base = device.maps().value(0).mmap(access);
    const quint32 value
        = *reinterpret_cast<const volatile quint32 *>(static_cast<const char *>(base) + registerOffset);
    return QStringLiteral("register 0x%1").arg(value, 8, 16, QLatin1Char('0'));
}

QString writeRegister()
{
    hmi::UioDevice device(0);
    void *base = device.maps().value(0).mmap(hmi::UioDevice::ReadWrite);
    *reinterpret_cast<volatile quint32 *>(static_cast<char *>(base) + registerOffset) = 0xdeadbeef;
    return QStringLiteral("written");
}

QString mapAfterDestruction()
{
    QList<hmi::UioDevice::Map> maps;
    {
        hmi::UioDevice device(0);
        maps = device.maps();
    }
    maps.value(0).mmap(hmi::UioDevice::ReadOnly);
    return QStringLiteral("mapped");
}

QString releaseOnDestruction()
{
    QString during;
    {
        hmi::UioDevice device(0);
        device.maps().value(0).mmap(hmi::UioDevice::ReadOnly);
        device.maps().value(0).mmap(hmi::UioDevice::ReadWrite);
        during = uioReferences();
    }
    return during + QStringLiteral(", then ") + uioReferences();
}

int runProbe(const QString &name)
{
    QString report;
    try {
        if (name == QLatin1String("maps"))
            report = describeMaps();
        else if (name == QLatin1String("read"))
            report = readRegister(hmi::UioDevice::ReadOnly);
        else if (name == QLatin1String("read-rw"))
            report = readRegister(hmi::UioDevice::ReadWrite);
        else if (name == QLatin1String("write"))
            report = writeRegister();
        else if (name == QLatin1String("after-destruction"))
            report = mapAfterDestruction();
        else if (name == QLatin1String("release"))
            report = releaseOnDestruction();
        else
            report = QStringLiteral("unknown probe ") + name;
    } catch (const hmi::Exception &e) {
        report = QStringLiteral("exception: ") + e.message();
    }
    QTextStream(stdout) << report << '\n';
    return 0;
}

} // namespace

class UioDeviceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void probes_data();
    void probes();
    void writesReachTheDevice();
    void defaultMapCannotBeMapped();
};

void UioDeviceTest::probes_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("probe");
    QTest::addColumn<QString>("report");

    const QString noDevice
        = QStringLiteral("exception: Cannot open the UIO device /dev/uio0: No such file or directory");
    QTest::newRow("no device: construction throws") << "fpga none"
                                                    << "maps" << noDevice;
    QTest::newRow("no maps directory: empty list") << "fpga nomaps"
                                                   << "maps"
                                                   << "maps";
    QTest::newRow("map0 listed with its size") << "fpga 0x1"
                                               << "maps"
                                               << "maps 0:0x1000";
    QTest::newRow("register read-only") << "fpga 0x12340a5f"
                                        << "read"
                                        << "register 0x12340a5f";
    QTest::newRow("register read-write") << "fpga 0x000100ab"
                                         << "read-rw"
                                         << "register 0x000100ab";
    QTest::newRow("all ones") << "fpga 0xffffffff"
                              << "read"
                              << "register 0xffffffff";
    QTest::newRow("map kept after device destroyed")
        << "fpga 0x1"
        << "after-destruction"
        << "exception: Cannot map UIO map 0: its device is closed";
    QTest::newRow("destructor unmaps and closes") << "fpga 0x1"
                                                  << "release"
                                                  << "mapped 2 open 1, then mapped 0 open 0";
}

void UioDeviceTest::probes()
{
    QFETCH(QString, unit);
    QFETCH(QString, probe);
    QFETCH(QString, report);

    const SandboxRun run = SandboxRun::probe(unit, probe);
    QVERIFY2(run.exitCode() == 0, run.errors().constData());
    QCOMPARE(run.outputLine(), report);
}

void UioDeviceTest::writesReachTheDevice()
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("unit"));
    const SandboxRun run = SandboxRun::probe(QStringLiteral("fpga 0x12340a5f"), QStringLiteral("write"),
                                             { QStringLiteral("--root"), root });
    QCOMPARE(run.outputLine(), QStringLiteral("written"));

    QFile device(root + QStringLiteral("/dev/uio0"));
    QVERIFY(device.open(QIODevice::ReadOnly));
    const QByteArray bytes = device.readAll();
    QCOMPARE(bytes.size(), 4096);
    QCOMPARE(qFromLittleEndian<quint32>(reinterpret_cast<const uchar *>(bytes.constData()) + registerOffset),
             0xdeadbeefU);
}

void UioDeviceTest::defaultMapCannotBeMapped()
{
    QVERIFY_EXCEPTION_THROWN(hmi::UioDevice::Map().mmap(hmi::UioDevice::ReadOnly), hmi::Exception);
}

QOR_TEST_MAIN_WITH_PROBE(UioDeviceTest, runProbe)

#include "uiodevicetest.moc"
