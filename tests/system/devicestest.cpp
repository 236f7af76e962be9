// The device classes of libqorutils at their real paths on simulated units: the test runs itself inside the
// sandbox with "--probe NAME", which prints a one-line report of what the device did; hmi::SysFsFile on
// plain files.
#include "sandbox.h"

#include <qorutils/exception.h>
#include <qorutils/piciodevice.h>
#include <qorutils/sysfsfile.h>
#include <qorutils/uiodevice.h>

#include "messagelog.h"
#include "qtestcompat.h"

#include <QTemporaryFile>
#include <QTextStream>

#include <cerrno>
#include <unistd.h>

namespace {

/** How many of this process's mappings and open descriptors refer to @p path. */
QString references(const QString &path)
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    maps.open(QIODevice::ReadOnly);
    int open = 0;
    for (const QFileInfo &fd : QDir(QStringLiteral("/proc/self/fd"))
                                   .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
        open += fd.symLinkTarget() == path ? 1 : 0;
    return QStringLiteral("mapped %1 open %2").arg(maps.readAll().count(path.toUtf8())).arg(open);
}

// A service may run with its standard input closed, so that a device gets descriptor 0, and errno may
// hold a value that an earlier call left there: neither may change what a device does.
void likeAService(int staleErrno)
{
    ::close(0);
    errno = staleErrno;
}

// What discovery leaves out of the carrier board's memory: writing it, seeking in it, and its end.
QString probePic()
{
    likeAService(EINTR);
    PicIODevice device;
    QStringList report;
    if (device.open(QIODevice::WriteOnly)) {
        report << QStringLiteral("size %1, seek 4 %2").arg(device.size()).arg(device.seek(4));
        report << QStringLiteral("wrote %1").arg(device.write("record"));
        device.seek(device.size() > 0 ? device.size() - 2 : 1 << 20);
        report << QStringLiteral("wrote %1 near the end").arg(device.write("abcd", 4));
        const qint64 atEnd = device.seek(device.size()) ? device.write("x", 1) : -2;
        report << QStringLiteral("%1 at the end: %2").arg(atEnd).arg(device.errorString());
        device.close();
    } else {
        report << QStringLiteral("not opened: %1").arg(device.errorString());
    }
    if (device.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        char data[6];
        device.seek(4);
        errno = EINTR;
        const qint64 got = device.read(data, sizeof(data));
        report << QStringLiteral("read %1 \"%2\"")
                      .arg(got)
                      .arg(QString::fromLatin1(QByteArray(data, qMax(0, int(got))).toHex()));
        report
            << QStringLiteral("beyond %1: %2").arg(device.seek(device.size() + 1)).arg(device.errorString());
        MessageLog log;
        const bool again = device.open(QIODevice::ReadOnly);
        report << QStringLiteral("opened again %1 (%2)")
                      .arg(again)
                      .arg(QString::fromUtf8(log.texts(QtWarningMsg).value(0)));
        device.close();
    }
    return report.join(QStringLiteral("; ")) + QStringLiteral("; ") + references(PicIODevice::devicePath());
}

// What discovery's one read leaves out: writing through a mapping, and the lifetime of mappings.
QString probeUio()
{
    likeAService(EACCES);
    const QString path = QStringLiteral("/dev/uio0");
    QString report;
    QList<hmi::UioDevice::Map> maps;
    try {
        {
            hmi::UioDevice device(0);
            maps = device.maps();
            const char *seen = static_cast<const char *>(maps.value(0).mmap(hmi::UioDevice::ReadOnly));
            char *base = static_cast<char *>(maps.value(0).mmap(hmi::UioDevice::ReadWrite));
            *reinterpret_cast<volatile quint32 *>(base + 0x1d8) = 0xdeadbeef;
            report = QStringLiteral("%1 map, register %2, ")
                         .arg(maps.size())
                         .arg(*reinterpret_cast<const volatile quint32 *>(seen + 0x1d8), 0, 16)
                + references(path);
        }
        report += QStringLiteral(", then ") + references(path);
        maps.value(0).mmap(hmi::UioDevice::ReadOnly);
    } catch (const hmi::Exception &e) {
        report += QStringLiteral(", then ") + e.message();
    }
    return report;
}

} // namespace

class TestDevices : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void probes_data();
    void probes();
    void closedDevices();
    void sysFsAttribute_data();
    void sysFsAttribute();
};

void TestDevices::probes_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("mapSize"); // the text of the UIO map's "size" attribute, when not as built
    QTest::addColumn<QString>("report");

    // clang-format off
    QTest::newRow("pic") << "store cb blank-ff size=16" << QString()
        << "size 16, seek 4 1; wrote 6; wrote 2 near the end; -1 at the end: No space left on device; "
           "read 6 \"7265636f7264\"; beyond 0: Position 17 lies outside the carrier board memory (16 bytes); "
           "opened again 0 (PicIODevice::open: device already open); mapped 0 open 0";
    QTest::newRow("pic, an empty file") << "store cb empty" << QString()
        << "size 0, seek 4 0; wrote -1; wrote -1 near the end; -1 at the end: No space left on device; "
           "read 0 \"\"; beyond 0: Position 1 lies outside the carrier board memory (0 bytes); opened again 0 (PicIODevice::open: device already open); "
           "mapped 0 open 0";
    // Character devices whose lseek(SEEK_END) answers 0 and whose fstat size is 0, like many drivers: the
    // driver shows where the memory ends.
    QTest::newRow("pic without a size, endless") << "store cb device /dev/zero" << QString()
        << "size 0, seek 4 1; wrote 6; wrote 4 near the end; 1 at the end: Unknown error; "
           "read 6 \"000000000000\"; beyond 1: Unknown error; opened again 0 (PicIODevice::open: device already open); mapped 0 open 0";
    QTest::newRow("pic without a size, at its end") << "store cb device /dev/null" << QString()
        << "size 0, seek 4 1; wrote 6; wrote 4 near the end; 1 at the end: Unknown error; "
           "read 0 \"\"; beyond 1: Unknown error; opened again 0 (PicIODevice::open: device already open); mapped 0 open 0";
    QTest::newRow("pic without a size, full") << "store cb device /dev/full" << QString()
        << "size 0, seek 4 1; wrote -1; wrote -1 near the end; -1 at the end: No space left on device; "
           "read 6 \"000000000000\"; beyond 1: Unknown error; opened again 0 (PicIODevice::open: device already open); mapped 0 open 0";
    // A driver that fails every read and write (FUSE's node, with no file system mounted).
    QTest::newRow("pic failing every transfer") << "store cb device /dev/fuse" << QString()
        << "size 0, seek 4 1; wrote -1; wrote -1 near the end; -1 at the end: Operation not permitted; "
           "read -1 \"\"; beyond 1: Operation not permitted; opened again 0 (PicIODevice::open: device already open); mapped 0 open 0";
    QTest::newRow("uio") << "fpga 0x12340a5f" << "0x1000\n"
        << "1 map, register deadbeef, mapped 2 open 1, then mapped 0 open 0, then Cannot map UIO map 0: its "
           "device is closed";
    QTest::newRow("uio, a map of no size") << "fpga 0x12340a5f" << "0x00000000\n"
        << ", then Cannot map map 0 of /dev/uio0: it has no usable size";
    // clang-format on
}

void TestDevices::probes()
{
    QFETCH(QString, unit);
    QFETCH(QString, mapSize);
    const QString probe = QString::fromLatin1(QTest::currentDataTag()).left(3);
    const QString hostNode = unit.section(QLatin1String("device "), 1);
    if (!hostNode.isEmpty() && !QFile::exists(hostNode))
        QOR_SKIP("this host has no such device node");

    Sandbox sandbox;
    const SandboxResult built = sandbox.build(unit);
    QVERIFY2(built.exitCode == 0, qPrintable(built.describe()));
    QFile size(sandbox.root() + QLatin1String("/sys/class/uio/uio0/maps/map0/size"));
    QVERIFY(mapSize.isEmpty() || (size.open(QIODevice::WriteOnly) && size.write(mapSize.toLatin1()) > 0));
    size.close();
    const SandboxResult run = sandbox.run(QCoreApplication::applicationFilePath(),
                                          QStringList() << QStringLiteral("--probe") << probe, 30);

    QVERIFY2(run.exitCode == 0, qPrintable(run.describe()));
    QTEST(QString::fromUtf8(run.out).trimmed(), "report");
}

void TestDevices::closedDevices()
{
    PicIODevice pic;
    QCOMPARE(pic.size(), Q_INT64_C(0));
    QVERIFY(!pic.isSequential());
    QVERIFY(!pic.seek(0));
    QCOMPARE(pic.errorString(), QStringLiteral("The carrier board memory is not open"));
    const QString notAppending
        = QStringLiteral("The carrier board memory opens for reading and/or writing, not appending");
    QVERIFY(!pic.open(QIODevice::Append | QIODevice::WriteOnly));
    QCOMPARE(pic.errorString(), notAppending);
    QVERIFY(!pic.open(QIODevice::NotOpen));
    QCOMPARE(pic.errorString(), notAppending);
    if (!QFile::exists(PicIODevice::devicePath())) {
        QVERIFY(!pic.open(QIODevice::ReadOnly));
        QCOMPARE(pic.errorString(), QStringLiteral("No such file or directory"));
    }
    QVERIFY(hmi::UioDevice::Map().index() == -1 && hmi::UioDevice::Map().size() == 0);
    QCOMPARE(thrownBy([] { hmi::UioDevice::Map().mmap(hmi::UioDevice::ReadOnly); }),
             QString("std::exception: Cannot map UIO map -1: its device is closed"));
}

void TestDevices::sysFsAttribute_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");

    QTest::newRow("one line end dropped") << QByteArray("02:fc:00:00:00:01\n") << "02:fc:00:00:00:01";
    QTest::newRow("only one of two line ends") << QByteArray("ABC\n\n") << "ABC\n";
    QTest::newRow("blanks and carriage return kept") << QByteArray(" ABC \r\n") << " ABC \r";
    QTest::newRow("UTF-8") << QByteArray("Gr\xc3\xbc\xc3\x9f") << QString::fromUtf8("Gr\xc3\xbc\xc3\x9f");
    QTest::newRow("empty attribute") << QByteArray("") << "";
    QTest::newRow("missing attribute") << QByteArray() << QString();
    QTest::newRow("bounded to one page") << QByteArray(4096, 'x') + "tail\n"
                                         << QString(4096, QLatin1Char('x'));
}

void TestDevices::sysFsAttribute()
{
    QFETCH(QByteArray, content);
    QTemporaryFile file;
    QVERIFY(file.open() && file.write(content) == content.size() && file.flush());

    hmi::SysFsFile attribute(file.fileName() + QLatin1String(content.isNull() ? ".missing" : ""));

    QCOMPARE(attribute.isOpen(), !content.isNull());
    QTEST(attribute.toString(), "text");
    QCOMPARE(attribute.toString().isNull(), content.isNull());
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--probe") == 0) {
        QTextStream(stdout) << (qstrcmp(argv[2], "pic") == 0 ? probePic() : probeUio()) << '\n';
        return 0;
    }
    TestDevices test;
    return QTest::qExec(&test, argc, argv);
}

#include "devicestest.moc"
