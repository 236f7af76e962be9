// PicIODevice at its real path, on simulated carrier board memories inside the sandbox.

#include "probemain.h"
#include "sandboxrun.h"

#include <qorutils/piciodevice.h>

#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

namespace {

QStringList warnings;

void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type == QtWarningMsg)
        warnings << message;
}

QString openResult(PicIODevice &device, QIODevice::OpenMode mode)
{
    if (!device.open(mode))
        return QStringLiteral("open failed: ") + device.errorString();
    return QStringLiteral("size %1").arg(device.size());
}

QString openOnly()
{
    PicIODevice device;
    return openResult(device, QIODevice::ReadOnly | QIODevice::Unbuffered);
}

/** Writes the way a store saves its record, then reads it back the way a store loads it. */
QString roundTrip()
{
    PicIODevice device;
    if (!device.open(QIODevice::WriteOnly))
        return QStringLiteral("open for writing failed: ") + device.errorString();
    const bool sought = device.seek(100);
    const qint64 written = device.write("record");
    device.close();
    const QString opened = openResult(device, QIODevice::ReadOnly | QIODevice::Unbuffered);
    device.seek(100);
    const QByteArray read = device.read(6);
    return QStringLiteral("seek %1 wrote %2, %3, read %4")
        .arg(sought)
        .arg(written)
        .arg(opened, QString::fromLatin1(read));
}

QString seekBeyondEnd()
{
    PicIODevice device;
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const bool toEnd = device.seek(device.size());
    const QByteArray atEnd = device.read(4);
    const bool beyond = device.seek(device.size() + 1);
    return QStringLiteral("to end %1 (read %2 bytes), beyond %3: %4 at %5")
        .arg(toEnd)
        .arg(atEnd.size())
        .arg(beyond)
        .arg(device.errorString())
        .arg(device.pos());
}

QString writePastEnd()
{
    PicIODevice device;
    device.open(QIODevice::WriteOnly);
    device.seek(device.size() - 2);
    const qint64 written = device.write("abcd", 4);
    return QStringLiteral("wrote %1: %2").arg(written).arg(device.errorString());
}

QString openTwice()
{
    qInstallMessageHandler(collectWarnings);
    PicIODevice device;
    device.open(QIODevice::ReadOnly);
    const bool again = device.open(QIODevice::WriteOnly);
    return QStringLiteral("again %1, mode %2, warnings %3")
        .arg(again)
        .arg(int(device.openMode()))
        .arg(warnings.join(QLatin1Char('|')));
}

int runProbe(const QString &name)
{
    QString report;
    if (name == QLatin1String("open"))
        report = openOnly();
    else if (name == QLatin1String("roundtrip"))
        report = roundTrip();
    else if (name == QLatin1String("seek-beyond"))
        report = seekBeyondEnd();
    else if (name == QLatin1String("write-past-end"))
        report = writePastEnd();
    else if (name == QLatin1String("open-twice"))
        report = openTwice();
    else
        report = QStringLiteral("unknown probe ") + name;
    QTextStream(stdout) << report << '\n';
    return 0;
}

} // namespace

class PicIODeviceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void probes_data();
    void probes();
    void writeKeepsTheRestOfTheMemory();
    void closedDevice();
};

void PicIODeviceTest::probes_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("probe");
    QTest::addColumn<QString>("report");

    QTest::newRow("size of the memory") << ""
                                        << "open"
                                        << "size 2048";
    QTest::newRow("short memory") << "store cb blank-ff size=16"
                                  << "open"
                                  << "size 16";
    QTest::newRow("empty memory") << "store cb empty"
                                  << "open"
                                  << "size 0";
    QTest::newRow("no device node") << "store cb missing"
                                    << "open"
                                    << "open failed: No such file or directory";
    QTest::newRow("directory in its place") << "store cb unreadable"
                                            << "open"
                                            << "open failed: Is a directory";
    QTest::newRow("round trip") << ""
                                << "roundtrip"
                                << "seek 1 wrote 6, size 2048, read record";
    QTest::newRow("seek beyond the end") << "store cb blank-ff size=16"
                                         << "seek-beyond"
                                         << "to end 1 (read 0 bytes), beyond 0: Position 17 lies outside the "
                                            "carrier board memory (16 bytes) at 16";
    QTest::newRow("write past the end") << "store cb blank-ff size=16"
                                        << "write-past-end"
                                        << "wrote 2: No space left on device";
    QTest::newRow("open twice") << ""
                                << "open-twice"
                                << "again 0, mode 33, warnings PicIODevice::open: device already open";
}

void PicIODeviceTest::probes()
{
    QFETCH(QString, unit);
    QFETCH(QString, probe);
    QFETCH(QString, report);

    const SandboxRun run = SandboxRun::probe(unit, probe);
    QVERIFY2(run.exitCode() == 0, run.errors().constData());
    QCOMPARE(run.outputLine(), report);
}

void PicIODeviceTest::writeKeepsTheRestOfTheMemory()
{
    QTemporaryDir dir;
    const QString root = dir.filePath(QStringLiteral("unit"));
    const SandboxRun run
        = SandboxRun::probe(QString(), QStringLiteral("roundtrip"), { QStringLiteral("--root"), root });
    QVERIFY2(run.exitCode() == 0, run.errors().constData());

    QFile memory(root + QStringLiteral("/dev/qorpic0"));
    QVERIFY(memory.open(QIODevice::ReadOnly));
    QByteArray expected(2048, char(0xff));
    expected.replace(100, 6, "record");
    QCOMPARE(memory.readAll(), expected);
}

void PicIODeviceTest::closedDevice()
{
    PicIODevice device;
    QCOMPARE(device.size(), Q_INT64_C(0));
    QVERIFY(!device.isSequential());
    QVERIFY(!device.seek(0));
    QVERIFY(!device.errorString().isEmpty());
}

QOR_TEST_MAIN_WITH_PROBE(PicIODeviceTest, runProbe)

#include "piciodevicetest.moc"
