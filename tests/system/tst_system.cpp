// The library and the qorhwinfo tool at the unit's real paths, on simulated units in the sandbox: each row
// builds a unit, runs a few command lines on it one after the other, and checks their exit statuses, what
// they print and which of the unit's files they changed.
#include "sandbox.h"
#include "systemtestpaths.h"

#include "qtestcompat.h"

#include <sys/stat.h>

namespace {

const char cache[] = "/var/local/qorhwinfo/serial.cache";
const char noCacheFile[] = "void hmi::HwInfoHelper::discover() \"Serials File: could not open io device for "
                           "reading: No such file or directory\" \n";
const char noCachedSerial[]
    = "qorhwinfo: no unit serial is cached: the serials cache file is missing, damaged "
      "or names none. Run \"qorhwinfo discover\" to establish it.\n";

QString failed(const char *what)
{
    return QStringLiteral("void hmi::HwInfoHelper::discover() \"%1\" \n").arg(QLatin1String(what));
}

QString unitFile(const char *name)
{
    QFile file(QStringLiteral(QOR_SYSTEMTEST_UNITS "/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/**
 * The healthy unit of examples/units/reference.unit, whose serial is I123456, and no cache file. Each line of
 * @p changes replaces the line of the same directive (for "store", of the same store) or is added.
 */
QString healthyWith(const char *changes = "")
{
    QStringList lines = unitFile("reference.unit").split(QLatin1Char('\n'));
    for (const QString &change : QString::fromUtf8(changes).split(QLatin1Char('\n'), QOR_SKIP_EMPTY_PARTS)) {
        const QString directive
            = change.section(QLatin1Char(' '), 0, change.startsWith(QLatin1String("store ")) ? 1 : 0);
        int at = 0;
        while (at < lines.size() && !lines.at(at).startsWith(directive + QLatin1Char(' ')))
            ++at;
        if (at == lines.size())
            lines.append(change);
        else
            lines[at] = change;
    }
    return lines.join(QStringLiteral("\n"));
}

QStringList sortedLines(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'), QOR_SKIP_EMPTY_PARTS);
    lines.sort();
    return lines;
}

/**
 * A row: the unit; its steps, one a line, each a command line of qorhwinfo or, after "sh ", a shell script
 * (both find qorhwinfo on the PATH); their exit statuses; texts, one a line, that the steps' stdout holds
 * in this order ("=" in front: as a whole line); every line of their stderr, in any order; the unit's
 * files that differ afterwards. %ROOT% stands for the unit's directory on the host.
 */
void row(const char *name, const QString &unit, const QString &steps, const QString &exits,
         const QString &out, const QString &err = QString(), const QString &changed = QString())
{
    QTest::newRow(name) << unit << steps << exits << out << err << changed;
}

} // namespace

class SystemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void run_data();
    void run();
};

void SystemTest::initTestCase()
{
    // Children inherit it: the cache file's mode then tells whether discovery narrowed it to 003.
    ::umask(022);
}

void SystemTest::run_data()
{
    QTest::addColumn<QString>("unit");
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("exits");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    QTest::addColumn<QString>("changed");
    const QString healthy = healthyWith();
    const QString disagree = unitFile("disagree.unit");
    const QString emptySerial = unitFile("emptyserial.unit");

    // Discovery at the real paths: what it reads, logs and writes.
    row("first discovery writes the cache, the second finds four votes", healthy,
        "discover -v\ndiscover -v\nquick", "0 0 0",
        "Unit serial      I123456  (3 votes: Beamformer Board, Carrier Board, COM Module)\n"
        "Serials cache    written by this run\n"
        "  FPGA UID                  0a5f\n"
        "  Carrier board serial      1234567\n"
        "  Beamformer board serial   7654321\n"
        "Unit serial      I123456  (4 votes: Beamformer Board, Carrier Board, COM Module, Serials File)\n"
        "Serials cache    unchanged: it already held a record\n"
        "=I123456",
        noCacheFile, cache);
    row("every store failing its own way",
        healthyWith(
            "mac missing\nboard_serial missing\nfpga 0xffffffff\nstore com missing\nstore cb unreadable\n"
            "store bf blank-00\nstore ut empty\nstore file corrupt"),
        "discover -v --json", "1",
        "\"unitSerial\": null\n\"candidates\": []\n"
        "\"bf\": {\n\"status\": \"ERROR\"\n\"cb\": {\n\"status\": \"ERROR\"\n\"com\": {\n\"status\": \"OK\"\n"
        "\"file\": {\n\"status\": \"OK\"\n\"ut\": {\n\"status\": \"ERROR\"\n"
        "\"serialsCache\": \"unchanged\"\n\"mac\": null\n\"comSerial\": null\n\"fpgaUid\": \"ffff\"\n"
        "\"cbSerial\": 0\n\"unitStatus\": \"OK\"\n\"globalStatus\": \"ERROR\"",
        failed("COM Module: could not open io device for reading: No such file or directory")
            + failed("Carrier Board: could not open io device for reading: Is a directory")
            + failed("Beamformer Board: is blank") + failed("Mono-Element Board: empty file")
            + failed("Serials File: corrupted"));
    // A file may be sought beyond its end, as a real EEPROM's sysfs attribute: the read there finds nothing.
    row("the other failures, and memories that end early",
        healthyWith("fpga nomaps\nstore com blank-ff size=200\nstore cb record unit=I123456 size=20\n"
                    "store bf corrupt\nstore ut unreadable\nstore file empty"),
        "discover -v", "1",
        "Unit serial      none: no store holds an identity record\n"
        "  com   COM Module           OK\n"
        "  FPGA UID                  not available",
        failed("COM Module: empty file") + failed("Carrier Board: corrupted")
            + failed("Beamformer Board: corrupted")
            + failed("Mono-Element Board: could not open io device for reading: file to open is a directory")
            + failed("Serials File: empty file"));
    row("a tie, sorted and marked", unitFile("tie.unit"), "discover\ndiscover --json", "1 1",
        "none: the stores name 2 different serials, tied\n"
        "    I111111     2 votes: Carrier Board, Serials File  (tied)\n"
        "    I222222     2 votes: Beamformer Board, COM Module  (tied)\n"
        "\"serial\": \"I111111\"\n\"tied\": true\n\"serial\": \"I222222\"\n\"tied\": true");
    row("cache directory missing", healthyWith("cache_dir missing"), "discover -v", "0",
        "Serials cache    could not be written",
        "Error opening \"Serials File\" eeprom ioDev: \"No such file or directory\" \n"
            + QString(noCacheFile));
    row("damaged cache in a read-only directory", healthyWith("cache_dir readonly\nstore file corrupt"),
        "discover -v\nquick", "0 1", "Unit serial      I123456  (3 votes",
        failed("Serials File: corrupted")
            + "Error opening \"Serials File\" eeprom ioDev: \"Read-only file system\" \n" + noCachedSerial);
    // Creating a file works on a full file system, writing its record does not. Rewriting a damaged cache
    // first truncates it, which frees the block the new record needs. Each run has a full disk of its own.
    const QString noSpace = QStringLiteral(
        "could not write record to /var/local/qorhwinfo/serial.cache: No space left on device");
    row("full disk: unitSerial() throws", healthyWith("cache_dir full"), "discover -v\ndiscover --json",
        "3 3",
        "  file  Serials File         ERROR\n"
        "Serials cache    could not be written: "
            + noSpace + "\n  Unit                      ERROR\n"
            + "unitSerial() throws\n\"serialsCacheError\": \"" + noSpace + "\"\n\"exitCode\": 3",
        noCacheFile + QStringLiteral("error while saving .serial file: \"") + noSpace + "\" ");
    row("damaged cache on a full disk", healthyWith("cache_dir full\nstore file corrupt"),
        "sh qorhwinfo discover && qorhwinfo quick", "0", "Serials cache    written by this run\n=I123456");
    row("empty serial adopted, cached, voting again", emptySerial, "discover\ndiscover\ncheck", "4 4 4",
        "Unit serial      (null)  (4 votes\nMALFORMED\nqorhwinfo resolve SERIAL\n"
        "  cb    Carrier Board        record     \"\"  MALFORMED",
        "", cache);
    // A cache file that the other process is rewriting reads as no record, never as another serial.
    // clang-format off
    row("two processes discovering at once", healthy,
        "sh for i in $(seq 40); do rm -f /var/local/qorhwinfo/serial.cache; "
            "qorhwinfo discover >/dev/null || echo failed; done & "
        "for i in $(seq 40); do qorhwinfo discover >/dev/null || echo failed; qorhwinfo quick 2>/dev/null; "
            "done | sort -u; wait\n"
        "quick",
        "0 0", "=I123456\n=I123456", "", cache);
    // clang-format on
    row("progress bar on a terminal", healthy, "sh script -qec 'qorhwinfo discover' /dev/null", "0",
        "\r\033[K[############################] 7/7 Done\n\r\033[KUnit serial", "", cache);

    // The quick read takes the cache file alone and checks nothing.
    row("quick: no cache file", healthy, "quick", "1", "", noCachedSerial);
    row("quick: record without unit", healthyWith("store file record cb=u32:1234567"), "quick", "1", "",
        noCachedSerial);
    row("quick: the cache alone", disagree, "quick --json", "0",
        "\"version\": \"" QORHWINFO_VERSION "\"\n\"unitSerial\": \"I111111\"");
    row("quick: no serial, unchecked", healthyWith("store file record unit=12"), "quick", "4", "=\"12\"",
        "qorhwinfo: the cached unit serial is malformed (not \"I\" and six digits): "
        "\"qorhwinfo check\" shows where it comes from, \"qorhwinfo resolve SERIAL\" repairs it.");

    // A write cut short at any byte leaves the old record, the new one or none, never another: the cache
    // file as discovery writes it in place over a damaged one (cut there, or followed by zeros or the rest
    // of the damaged record), and a board record that the tool rewrites in place (cut anywhere up to its
    // last changed byte).
    // clang-format off
    row("power cut during the cache write", healthyWith("store file corrupt unit=I999999"),
        "sh cd /var/local/qorhwinfo; cp serial.cache old; qorhwinfo discover >/dev/null; cp serial.cache good; "
        "n=$(stat -c %s good); i=0; echo \"others: $(while [ $i -lt $n ]; do "
            "for rest in /dev/null /dev/zero old; do "
                "{ head -c $i good; tail -c +$((i + 1)) $rest; } | head -c $n >serial.cache; "
                "qorhwinfo quick 2>/dev/null; qorhwinfo discover >/dev/null; "
                "cmp -s good serial.cache || echo not repaired; "
            "done; i=$((i + 1)); done | grep -cv '^I123456$')\"",
        "0", "=others: 0", "",
        "/var/local/qorhwinfo/serial.cache /var/local/qorhwinfo/good /var/local/qorhwinfo/old");
    row("power cut during a board record's rewrite", healthy,
        "sh cd /var/local/qorhwinfo; cp /dev/qorpic0 old; "
        "qorhwinfo provision cb --unit I654321 --force --yes >/dev/null; cp /dev/qorpic0 new; "
        "n=$(cmp -l old new | awk '{n = $1} END {print n}'); i=0; echo \"others: $(while [ $i -le $n ]; do "
            "{ head -c $i new; tail -c +$((i + 1)) old; } >/dev/qorpic0; "
            "qorhwinfo inspect cb --json | grep '\"unit\"' || echo none; i=$((i + 1)); "
            "done | grep -cvE '\"unit\": \"I(123456|654321)\"|^none$')\"",
        "0", "=others: 0", "", "/dev/qorpic0 /var/local/qorhwinfo/new /var/local/qorhwinfo/old");
    // clang-format on

    // The field-service commands, each followed by what a technician runs next.
    row("cache write, then clear", healthy, "cache write --yes\nquick\ncache clear --yes\nquick", "0 0 0 1",
        "=I123456", noCachedSerial);
    row("cache write refuses a disagreement", disagree, "cache write --yes", "1", "",
        "qorhwinfo: cache write: refused: the board stores disagree: \"qorhwinfo resolve SERIAL\" rewrites "
        "them "
        "and the cache file");
    row("check and inspect write nothing", healthy, "check\ninspect\nquick", "0 0 1",
        "Unit serial      I123456  (3 votes: bf, cb, com)\nNo problem found.", noCachedSerial);
    row("check, disagreeing", disagree, "check --json", "1",
        "\"unitSerial\": null\n\"state\": \"corrupted\"\n\"problem\": \"the stores disagree\n"
        "\"fix\": \"qorhwinfo resolve I111111");
    row("inspect, valid frames", healthy, "inspect com cb --hex", "0",
        "com  COM Module\n  offset      256\n  room        384 bytes\n"
        "  header      magic \"QROM\", version 2, flags 0, payload 82 bytes\n (match)\n  verdict     valid\n"
        "    unit       \"I123456\"\n    000100  51 52 4f 4d\ncb  Carrier Board\n  device      /dev/qorpic0\n"
        "    serial     1234567");
    row("inspect, damaged", unitFile("damaged.unit"), "inspect", "5",
        "  verdict     corrupted: no frame header here\n  verdict     cannot be opened\n"
        "  error       Is a directory\n (MISMATCH)\ncorrupted: CRC mismatch");
    row("resolve a disagreement", disagree, "resolve I111111\nresolve I111111 --yes\ndiscover", "7 0 0",
        "Unit serial      I111111  (3 votes",
        "qorhwinfo: resolve: refused: not confirmed: the standard input is no terminal; give --yes to write",
        "/dev/qorpic0");
    row("resolve an empty serial", emptySerial, "resolve I000005 --yes --json\ndiscover", "0 0",
        "Unit serial      I000005  (4 votes", "",
        "/dev/qorpic0 /sys/bus/i2c/devices/0-0050/eeprom /sys/bus/i2c/devices/0-0051/eeprom "
        "/var/local/qorhwinfo/serial.cache");
    row("malformed serials refused", disagree, "resolve 123456 --yes\nprovision com --unit I1234567 --yes",
        "4 4", "",
        "qorhwinfo: resolve: refused: \"123456\" is no unit serial: a unit serial is \"I\" and six digits, "
        "e.g. I123456\n"
        "qorhwinfo: provision com: refused: \"I1234567\" is no unit serial: a unit serial is \"I\" and six "
        "digits, e.g. I123456");
    row("resolve: backups on a full disk", healthyWith("cache_dir full"),
        "resolve I222222 --yes\nresolve I222222 --yes --backup-dir %ROOT%/bk\ncheck", "6 6 0",
        "Unit serial      I222222  (3 votes",
        "qorhwinfo: resolve failed: cannot save the backup: could not write /var/local/qorhwinfo/backup/1/"
        "bf.img: No space left on device (choose another place with --backup-dir); nothing was written\n"
        "qorhwinfo: resolve failed: could not sync /var/local/qorhwinfo/serial.cache.new: No space left on "
        "device\n"
        "The old images are in %ROOT%/bk/1: \"qorhwinfo restore %ROOT%/bk/1\" puts them back.\n"
        "The store holds the old record, the new one, or a frame that reads as corrupted; never another "
        "identity.",
        "/dev/qorpic0 /sys/bus/i2c/devices/0-0050/eeprom /sys/bus/i2c/devices/0-0051/eeprom");
    row("provision a replaced board", healthyWith("store bf blank-ff"),
        "provision bf --unit I123456 --serial 77 --yes\ninspect bf", "0 0",
        "    bf         77\n    serial     77\n    unit       \"I123456\"", "",
        "/sys/bus/i2c/devices/0-0051/eeprom");
    row("provision: another unit's record needs --force", healthy,
        "provision cb --unit I654321 --yes\nprovision cb --unit I654321 --force --yes\ncheck", "7 0 1",
        "  cb    Carrier Board        record     I654321",
        "qorhwinfo: provision cb: refused: the Carrier Board holds the record of I123456, another unit: give "
        "--force to overwrite it",
        "/dev/qorpic0");
    row("backup, damage, restore", healthy,
        "backup %ROOT%/bk\nprovision cb --unit I654321 --force --yes\nrestore %ROOT%/bk --yes\ncheck",
        "0 0 0 0", "No problem found.");
    row("restore refuses a damaged image", healthy,
        "backup %ROOT%/bk\nsh echo x >> %ROOT%/bk/cb.img\nrestore %ROOT%/bk --yes --json", "0 0 6",
        "\"result\": \"refused\"\ndoes not match its checksum");
    // Nothing runs on a usage error: no discovery, so no cache file either.
    row("usage errors", healthy,
        "\ndiscover --bogus\ninspect cb eeprom\nprovision cb --unit I123456 --serial x", "2 2 2 2", "",
        "qorhwinfo: No command given.\nqorhwinfo: Unknown option: --bogus.\n"
        "qorhwinfo: Unknown store: eeprom. Stores are com cb bf ut file.\n"
        "qorhwinfo: The board serial must be a number from 0 to 4294967295, not x.\n"
        "Try \"qorhwinfo --help\".\nTry \"qorhwinfo --help\".\n"
        "Try \"qorhwinfo --help\".\nTry \"qorhwinfo --help\".");
}

void SystemTest::run()
{
    QFETCH(QString, unit);
    QFETCH(QString, steps);
    QFETCH(QString, exits);
    QFETCH(QString, out);
    QFETCH(QString, err);
    QFETCH(QString, changed);

    Sandbox sandbox;
    const SandboxResult built = sandbox.build(unit);
    QVERIFY2(built.exitCode == 0, qPrintable(built.describe()));
    const QMap<QString, QByteArray> before = sandbox.files();
    QString printed;
    QString logged;
    const QStringList commands
        = steps.replace(QLatin1String("%ROOT%"), sandbox.root()).split(QLatin1Char('\n'));
    for (int i = 0; i < commands.size(); ++i) {
        const QString step = commands.at(i);
        const SandboxResult result = step.startsWith(QLatin1String("sh "))
            ? sandbox.run(QStringLiteral("/bin/sh"), QStringList() << QStringLiteral("-c") << step.mid(3),
                          300)
            : sandbox.run(QStringLiteral("qorhwinfo"), step.split(QLatin1Char(' '), QOR_SKIP_EMPTY_PARTS),
                          30);
        QVERIFY2(QString::number(result.exitCode) == exits.section(QLatin1Char(' '), i, i),
                 qPrintable(step + QLatin1String(": ") + result.describe()));
        printed += QString::fromUtf8(result.out);
        logged += QString::fromUtf8(result.err);
    }

    const QString text = QLatin1Char('\n') + printed;
    int from = 0;
    for (const QString &expected : out.split(QLatin1Char('\n'), QOR_SKIP_EMPTY_PARTS)) {
        const QString wanted = expected.startsWith(QLatin1Char('='))
            ? QLatin1Char('\n') + expected.mid(1) + QLatin1Char('\n')
            : expected;
        const int at = text.indexOf(wanted, from);
        QVERIFY2(
            at >= 0,
            qPrintable(QStringLiteral("missing, or out of order: \"%1\" in\n%2").arg(expected, printed)));
        from = at + wanted.size() - 1;
    }
    QVERIFY2(sortedLines(logged) == sortedLines(err.replace(QLatin1String("%ROOT%"), sandbox.root())),
             qPrintable(QStringLiteral("stderr:\n") + logged));

    // The tool's backups are its own business; the unit's files are checked here.
    const QMap<QString, QByteArray> after = sandbox.files();
    QStringList differing;
    for (const QString &path : before.keys() + after.keys()) {
        if (before.value(path) != after.value(path) && !differing.contains(path) && !path.startsWith("/bk/")
            && !path.startsWith("/var/local/qorhwinfo/backup/"))
            differing.append(path);
    }
    differing.sort();
    QStringList expected = changed.split(QLatin1Char(' '), QOR_SKIP_EMPTY_PARTS);
    expected.sort();
    QVERIFY2(differing == expected,
             qPrintable(QStringLiteral("changed: ") + differing.join(QStringLiteral(" "))));
    // Whoever created the cache file, it is rw-rw-r-- as discovery creates it.
    if (!before.contains(cache) && after.contains(cache))
        QVERIFY2(after.value(cache).startsWith("664 "), after.value(cache).left(4).constData());
}

QTEST_GUILESS_MAIN(SystemTest)

#include "tst_system.moc"
