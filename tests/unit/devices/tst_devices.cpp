// The device classes of libqorutils: PicIODevice and hmi::UioDevice at their real paths on simulated
// units (the test runs itself inside the sandbox with "--probe NAME", which prints a one-line report; the
// carrier board's memory is a file or a character device without a size), and hmi::SysFsFile on plain
// files.

#include "sandbox.h"

#include <qorutils/exception.h>
#include <qorutils/piciodevice.h>
#include <qorutils/sysfsfile.h>
#include <qorutils/uiodevice.h>

#include "qtestcompat.h"
#include <QTemporaryDir>
#include <QTextStream>
#include <QtEndian>

namespace {

const int registerOffset = 0x1d8;

// What the library's own reads leave out: writing the carrier board's memory, and its bounds.
QString probePic()
{
    PicIODevice device;
    if (!device.open(QIODevice::WriteOnly))
        return QStringLiteral("open for writing failed: ") + device.errorString();
    const bool sought = device.seek(4);
    const qint64 written = device.write("record");
    device.close();
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    device.seek(4);
    const QByteArray read = device.read(6);
    const bool toEnd = device.seek(device.size());
    const QByteArray atEnd = device.read(4);
    const bool beyond = device.seek(device.size() + 1);
    QString report
        = QStringLiteral("seek %1 wrote %2, read %3 of %4; to end %5 (read %6), beyond %7: %8 at %9")
              .arg(sought)
              .arg(written)
              .arg(QString::fromLatin1(read))
              .arg(device.size())
              .arg(toEnd)
              .arg(atEnd.size())
              .arg(beyond)
              .arg(device.errorString())
              .arg(device.pos());
    device.close();
    device.open(QIODevice::WriteOnly);
    device.seek(device.size() - 2);
    const qint64 pastEnd = device.write("abcd", 4);
    return report + QStringLiteral("; wrote %1 at the end: %2").arg(pastEnd).arg(device.errorString());
}

// A driver that cannot tell the memory's size: seeks are not refused up front, reads and writes go to it.
QString probeUnsizedPic()
{
    PicIODevice device;
    device.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    const bool sought = device.seek(1 << 20);
    const QByteArray read = device.read(6);
    QString report = QStringLiteral("size %1, seek to 1 MiB %2, read \"%3\" at %4")
                         .arg(device.size())
                         .arg(sought)
                         .arg(QString::fromLatin1(read.toHex()))
                         .arg(device.pos());
    device.close();
    device.open(QIODevice::WriteOnly);
    const qint64 written = device.write("record");
    return report
        + QStringLiteral("; wrote %1%2").arg(written).arg(written < 0 ? ": " + device.errorString() : "");
}

/** How many of this process's mappings and open descriptors refer to /dev/uio0. */
QString uioReferences()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    maps.open(QIODevice::ReadOnly);
    int open = 0;
    for (const QFileInfo &fd : QDir(QStringLiteral("/proc/self/fd"))
                                   .entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
        open += fd.symLinkTarget() == QLatin1String("/dev/uio0") ? 1 : 0;
    return QStringLiteral("mapped %1 open %2").arg(maps.readAll().count("/dev/uio0")).arg(open);
}

// What the library's one read leaves out: writing through a mapping, and the lifetime of mappings.
QString probeUio()
{
    QString report;
    QList<hmi::UioDevice::Map> maps;
    {
        hmi::UioDevice device(0);
        maps = device.maps();
        maps.value(0).mmap(hmi::UioDevice::ReadOnly);
        char *base = static_cast<char *>(maps.value(0).mmap(hmi::UioDevice::ReadWrite));
        *reinterpret_cast<volatile quint32 *>(base + registerOffset) = 0xdeadbeef;
        report = uioReferences();
    }
    report += QStringLiteral(", then ") + uioReferences();
    try {
        maps.value(0).mmap(hmi::UioDevice::ReadOnly);
    } catch (const hmi::Exception &e) {
        report += QStringLiteral(", then ") + e.message();
    }
    return report;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
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
    QTest::addColumn<QString>("device");
    QTest::addColumn<QString>("report");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QByteArray>("content");

    QByteArray uio(4096, 0);
    const quint32 registerValue = 0xdeadbeef;
    for (int i = 0; i < 4; ++i)
        uio[registerOffset + i] = char((registerValue >> (8 * i)) & 0xff);
    QTest::newRow("pic") << QStringLiteral("store cb blank-ff size=16") << QString()
                         << QStringLiteral(
                                "seek 1 wrote 6, read record of 16; to end 1 (read 0), beyond 0: "
                                "Position 17 lies outside the carrier board memory (16 bytes) at 16; "
                                "wrote 2 at the end: No space left on device")
                         << QStringLiteral("/dev/qorpic0")
                         << QByteArray("\xff\xff\xff\xffrecord\xff\xff\xff\xff"
                                       "ab");
    QTest::newRow("uio") << QStringLiteral("fpga 0x12340a5f") << QString()
                         << QStringLiteral(
                                "mapped 2 open 1, then mapped 0 open 0, then Cannot map UIO map 0: "
                                "its device is closed")
                         << QStringLiteral("/dev/uio0") << uio;
    // Character devices whose lseek(SEEK_END) answers 0 and whose fstat size is 0, like many drivers.
    const QString unsized = QStringLiteral("store cb blank-ff");
    QTest::newRow("unsized pic: reads") << unsized << QStringLiteral("/dev/zero")
                                        << QStringLiteral("size 0, seek to 1 MiB 1, read \"000000000000\" at "
                                                          "1048582; wrote 6")
                                        << QStringLiteral("/dev/qorpic0") << QByteArray();
    QTest::newRow("unsized pic: at its end")
        << unsized << QStringLiteral("/dev/null")
        << QStringLiteral("size 0, seek to 1 MiB 1, read \"\" at 1048576; "
                          "wrote 6")
        << QStringLiteral("/dev/qorpic0") << QByteArray();
    QTest::newRow("unsized pic: full") << unsized << QStringLiteral("/dev/full")
                                       << QStringLiteral("size 0, seek to 1 MiB 1, read \"000000000000\" at "
                                                         "1048582; wrote -1: No space left on device")
                                       << QStringLiteral("/dev/qorpic0") << QByteArray();
}

void TestDevices::probes()
{
    QFETCH(QString, unit);
    QFETCH(QString, device);
    QFETCH(QString, path);
    QFETCH(QByteArray, content);

    Sandbox sandbox;
    const SandboxResult built = sandbox.build(unit);
    QVERIFY2(built.exitCode == 0, qPrintable(built.describe()));
    QVERIFY(device.isEmpty() || sandbox.putDevice(path, device));
    const SandboxResult run
        = sandbox.run(QCoreApplication::applicationFilePath(),
                      { QStringLiteral("--probe"), QString::fromLatin1(QTest::currentDataTag()) });

    QVERIFY2(run.exitCode == 0, qPrintable(run.describe()));
    QTEST(QString::fromUtf8(run.out).trimmed(), "report");
    if (!content.isNull())
        QCOMPARE(readFile(sandbox.hostPath(path)), content);
}

void TestDevices::closedDevices()
{
    PicIODevice pic;
    QCOMPARE(pic.size(), Q_INT64_C(0));
    QVERIFY(!pic.isSequential());
    QVERIFY(!pic.seek(0));
    QVERIFY(!pic.errorString().isEmpty());
    QVERIFY_EXCEPTION_THROWN(hmi::UioDevice::Map().mmap(hmi::UioDevice::ReadOnly), hmi::Exception);
}

void TestDevices::sysFsAttribute_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");

    QTest::newRow("one line end dropped") << QByteArray("02:fc:00:00:00:01\n") << "02:fc:00:00:00:01";
    QTest::newRow("only one of two line ends") << QByteArray("ABC\n\n") << "ABC\n";
    QTest::newRow("no line end") << QByteArray("ABC") << "ABC";
    QTest::newRow("blanks and carriage return kept") << QByteArray(" ABC \r\n") << " ABC \r";
    QTest::newRow("UTF-8") << QByteArray("Gr\xc3\xbc\xc3\x9f\n") << QString::fromUtf8("Gr\xc3\xbc\xc3\x9f");
    QTest::newRow("empty attribute") << QByteArray("") << "";
    QTest::newRow("missing attribute") << QByteArray() << "";
    QTest::newRow("bounded to one page") << QByteArray(4096, 'x') + "tail\n"
                                         << QString(4096, QLatin1Char('x'));
}

void TestDevices::sysFsAttribute()
{
    QFETCH(QByteArray, content);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("attribute"));
    if (!content.isNull()) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }

    hmi::SysFsFile attribute(path);

    QCOMPARE(attribute.isOpen(), !content.isNull());
    QTEST(attribute.toString(), "text");
}

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--probe") == 0) {
        const QByteArray probe = argv[2];
        QTextStream(stdout) << (probe == "pic"       ? probePic()
                                    : probe == "uio" ? probeUio()
                                                     : probeUnsizedPic())
                            << '\n';
        return 0;
    }
    TestDevices test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_devices.moc"
