// The library and the qorhwinfo tool at the unit's real paths, on simulated units in the sandbox: each row
// builds a unit, runs a few command lines on it one after the other, and checks their exit statuses, what
// they print and which of the unit's files they changed.
#include "sandbox.h"
#include "systemtestpaths.h"

#include "qtestcompat.h"

#include <sys/stat.h>

namespace {

const char cache[] = "/var/local/qorhwinfo/serial.cache";
const char noCacheFile[]
    = "library log: void hmi::HwInfoHelper::discover() \"Serials File: could not open io device for "
      "reading: No such file or directory\" \n";
const char noCachedSerial[]
    = "qorhwinfo: no unit serial is cached: the serials cache file is missing, damaged "
      "or names none. Run \"qorhwinfo discover\" to establish it.\n";

QString failed(const char *what)
{
    return QStringLiteral("library log: void hmi::HwInfoHelper::discover() \"%1\" \n")
        .arg(QLatin1String(what));
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
        "  FPGA id                   0a5f\n"
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
        "\"bf\": {\n\"status\": \"ERROR\"\n\"problem\": \"the Beamformer Board is blank (erased or never "
        "written)\"\n"
        "\"cb\": {\n\"status\": \"ERROR\"\n\"problem\": \"the Carrier Board cannot be opened: Is a "
        "directory\"\n"
        "\"com\": {\n\"status\": \"OK\"\n\"file\": {\n\"status\": \"OK\"\n\"ut\": {\n\"status\": \"ERROR\"\n"
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
        "  FPGA id                   not available",
        failed("COM Module: empty file") + failed("Carrier Board: corrupted")
            + failed("Beamformer Board: corrupted")
            + failed("Mono-Element Board: could not open io device for reading: file to open is a directory")
            + failed("Serials File: empty file"));
    // The FPGA's register is only read: a device that opens for reading only gives its id.
    row("the FPGA's device readable only", healthyWith("fpga 0x12340a5f readonly"), "discover --json", "0",
        "\"fpgaUid\": \"0a5f\"", "", cache);
    row("a tie, sorted and marked", unitFile("tie.unit"), "discover\ndiscover --json", "1 1",
        "none: the stores name 2 different serials, tied\n"
        "    I111111     2 votes: Carrier Board, Serials File  (tied)\n"
        "    I222222     2 votes: Beamformer Board, COM Module  (tied)\n"
        "\"serial\": \"I111111\"\n\"tied\": true\n\"serial\": \"I222222\"\n\"tied\": true");
    // The cache's directory is the system's: no command creates it, and each says what is missing.
    row("cache directory missing", healthyWith("cache_dir missing"),
        "discover -v\ncache write --yes\ncheck\nsh test -e /var/local/qorhwinfo && echo created || echo "
        "absent",
        "1 6 1 0",
        "Serials cache    could not be written: No such file or directory\n"
        "the directory /var/local/qorhwinfo is missing\n=absent",
        "library log: Error opening \"Serials File\" eeprom ioDev: \"No such file or directory\" \n"
            + QString(noCacheFile)
            + "qorhwinfo: cache write failed: cannot read the Serials File to back it up: the directory "
              "/var/local/qorhwinfo is missing; the system provides it: run \"systemd-tmpfiles --create\" or "
              "reinstall the package; nothing was written");
    row("damaged cache in a read-only directory", healthyWith("cache_dir readonly\nstore file corrupt"),
        "discover -v\nquick\ncheck", "1 1 1",
        "Unit serial      I123456  (3 votes\ncannot be written (a read-only",
        failed("Serials File: corrupted")
            + "library log: Error opening \"Serials File\" eeprom ioDev: \"Read-only file system\" \n"
            + noCachedSerial);
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
        noCacheFile + QStringLiteral("library log: error while saving .serial file: \"") + noSpace + "\" ");
    row("damaged cache on a full disk", healthyWith("cache_dir full\nstore file corrupt"),
        "sh qorhwinfo discover && qorhwinfo quick", "0", "Serials cache    written by this run\n=I123456");
    row("empty serial adopted, cached, voting again", emptySerial, "discover\ndiscover\ncheck", "4 4 4",
        "Unit serial      \"\"  (4 votes\nMALFORMED\n\"qorhwinfo check\" says how to repair it\n"
        "  cb    Carrier Board        record         \"\"  MALFORMED\n"
        "No command can repair it here: no store names a well-formed serial",
        "", cache);
    // A cache file that the other process is rewriting reads as no record, never as another serial.
    // clang-format off
    row("two processes discovering at once", healthy,
        "sh for i in $(seq 40); do rm -f /var/local/qorhwinfo/serial.cache; "
            "qorhwinfo discover >/dev/null || echo failed; done & "
        "for i in $(seq 40); do qorhwinfo discover >/dev/null; qorhwinfo quick 2>/dev/null; "
            "done | sort -u; wait\n"
        "quick",
        "0 0", "=I123456\n=I123456", "", cache);
    // clang-format on
    row("progress bar on a terminal", healthy, "sh script -qec 'qorhwinfo discover' /dev/null", "0",
        "\r\033[K[############################] 7/7 Done\n\r\033[KUnit serial", "", cache);

    // The quick read takes the cache file alone and checks nothing.
    row("quick: record without unit", healthyWith("store file record cb=u32:1234567"), "quick", "1", "",
        noCachedSerial);
    row("quick: the cache alone", disagree, "quick --json", "0",
        "\"version\": \"" QORHWINFO_VERSION "\"\n\"unitSerial\": \"I111111\"\n\"unfinishedRepair\": null");
    row("quick: no serial, unchecked", healthyWith("store file record unit=12"), "quick", "4", "=\"12\"",
        "qorhwinfo: the cached unit serial is malformed (not \"I\" and six digits): \"qorhwinfo check\" "
        "shows "
        "where it comes from.");

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
            "qorhwinfo check --json | grep '\"unit\": '; i=$((i + 1)); "
            "done | grep -cvE '\"unit\": (\"I(123456|654321)\"|null)')\"",
        "0", "=others: 0", "", "/dev/qorpic0 /var/local/qorhwinfo/new /var/local/qorhwinfo/old");
    // clang-format on

    // The field-service commands, each followed by what a technician runs next.
    row("cache write, then clear", healthy, "cache write --yes\nquick\ncache clear --yes\nquick", "0 0 0 1",
        "=I123456", noCachedSerial);
    row("cache write refuses a disagreement", disagree, "cache write --yes", "1", "",
        "qorhwinfo: cache write: refused: the board stores disagree: \"qorhwinfo check\" says how to resolve "
        "it, "
        "which rewrites the cache file too");
    row("check, disagreeing", disagree, "check --json", "1",
        "\"unitSerial\": null\n\"state\": \"corrupted\"\n\"problem\": \"the stores disagree\n"
        "\"fix\": \"qorhwinfo resolve I111111\"");
    row("inspect, valid frames", healthy, "inspect com cb --hex", "0",
        "com  COM Module\n  offset      256\n  room        384 bytes\n"
        "  header      magic \"QROM\", version 2, flags 0, payload 82 bytes\n (match)\n  verdict     valid\n"
        "    unit       \"I123456\"\n    000100  51 52 4f 4d\ncb  Carrier Board\n  device      /dev/qorpic0\n"
        "    serial     1234567");
    // A frame whose CRC fails still shows what it says, so that a board serial can be recovered.
    row("inspect, damaged", unitFile("damaged.unit"), "inspect", "5",
        "  verdict     corrupted: no frame header here\n  verdict     cannot be opened\n"
        "  error       Is a directory\n (MISMATCH)\ncorrupted: CRC mismatch");
    row("inspect, a frame whose CRC fails", healthy,
        "sh off=$(grep -obUa ABC123456789 /dev/qorpic0 | cut -d: -f1); "
        "printf Z | dd of=/dev/qorpic0 bs=1 seek=$off conv=notrunc 2>/dev/null\ninspect cb\ninspect cb "
        "--json",
        "0 1 1",
        " (MISMATCH)\n  record, UNVERIFIED: decoded from the damaged frame, nothing vouches for it\n"
        "    com        \"ZBC123456789\"\n    serial     1234567\n\"record\": null\n\"unverifiedRecord\": {\n"
        "\"serial\": 1234567",
        "", "/dev/qorpic0");
    row("a record naming other hardware", healthyWith("board_serial ZZZ000000099"),
        "check\ncheck --json\ndiscover\ninspect com", "1 1 1 1",
        "the COM module's record names the COM serial ABC123456789; this unit's COM module is ZZZ000000099\n"
        "Fix: qorhwinfo provision com --unit I123456\n"
        "\"field\": \"com\"\n\"recorded\": \"ABC123456789\"\n\"actual\": \"ZZZ000000099\"\n"
        "Other hardware: the COM module's record names the COM serial\n"
        "OTHER HARDWARE: the COM module's record names the COM serial ABC123456789",
        "", cache);
    row("resolve a disagreement", disagree, "resolve I111111\nresolve I111111 --yes\ndiscover", "7 0 1",
        "Unit serial      I111111  (3 votes",
        "qorhwinfo: resolve I111111: refused: not confirmed: the standard input is no terminal; give --yes "
        "to "
        "write",
        "/dev/qorpic0");
    // A typo must not turn a healthy unit into another one.
    row("resolve takes only a candidate, and only for a disagreement", healthy,
        "resolve I123465 --yes\nresolve I123456 --yes\nresolve I123465 --force --dry-run", "7 7 0",
        "Plan: resolve I123465\n  bf    Beamformer Board     record of I123456 -> record of I123465\n"
        "Dry run: nothing was written.",
        "qorhwinfo: resolve I123465: refused: no store names I123465 (the stores name: I123456); give "
        "--force if "
        "the unit's label says I123465\n"
        "qorhwinfo: resolve I123456: refused: the stores already agree on I123456: there is nothing to "
        "resolve");
    row("resolve an empty serial", emptySerial,
        "resolve I000005 --yes\nresolve I000005 --force --yes --json\ndiscover", "7 0 0",
        "Unit serial      I000005  (4 votes",
        "qorhwinfo: resolve I000005: refused: no store names I000005 (the stores name: \"\"); give --force "
        "if the unit's label says I000005",
        "/dev/qorpic0 /sys/bus/i2c/devices/0-0050/eeprom /sys/bus/i2c/devices/0-0051/eeprom "
        "/var/local/qorhwinfo/serial.cache");
    row("malformed serials refused", disagree, "resolve 123456 --yes\nprovision com --unit I1234567 --yes",
        "4 4", "",
        "qorhwinfo: resolve 123456: refused: \"123456\" is no unit serial: a unit serial is \"I\" and six "
        "digits, "
        "e.g. I123456\n"
        "qorhwinfo: provision com: refused: \"I1234567\" is no unit serial: a unit serial is \"I\" and six "
        "digits, e.g. I123456");
    row("a dry run writes nothing, not even a backup", disagree,
        "resolve I111111 --dry-run\nbackup --dry-run\nsh test -e /var/local/qorhwinfo/backup || echo no "
        "backup",
        "0 5 0",
        "Plan: resolve I111111\n  cb    Carrier Board        record of I222222 -> record of I111111\n"
        "        /dev/qorpic0 at 0\nDry run: nothing was written.\nPlan: a backup in "
        "/var/local/qorhwinfo/backup\n"
        "  cb    Carrier Board        to save, 2048 bytes at 0 of /dev/qorpic0\nDry run: nothing was "
        "written.\n=no backup");
    // Nothing is written before the backup and the journal are on disk.
    row("resolve on a full disk", healthyWith("cache_dir full"),
        "resolve I222222 --force --yes\nresolve I222222 --force --yes --backup-dir %ROOT%/bk\ncheck", "6 6 0",
        "Unit serial      I123456  (3 votes",
        "qorhwinfo: resolve I222222 failed: cannot save the backup: could not write "
        "/var/local/qorhwinfo/backup/1/"
        "bf.img: No space left on device (choose another place with --backup-dir); nothing was written\n"
        "qorhwinfo: resolve I222222 failed: cannot write the repair journal: cannot write "
        "/var/local/qorhwinfo/repair.journal: No space left on device; nothing was written");
    // Held signals stop a repair between two stores; the journal names it until it is finished or undone.
    // clang-format off
    row("an interrupted repair, found and undone", unitFile("tie.unit"),
        "sh python3 -c \"import os, signal; signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGINT]); "
            "os.kill(os.getpid(), signal.SIGINT); os.execvp('qorhwinfo', ['qorhwinfo', 'resolve', 'I111111', "
            "'--yes'])\"\n"
        "check --json\ncheck\nrestore /var/local/qorhwinfo/backup/1 --yes\ncheck --json",
        "6 1 1 0 1",
        "  bf    Beamformer Board     record of I222222 -> record of I111111, read back and verified\n"
        "  com   COM Module           record of I222222 -> record of I111111: not written\n"
        "\"unfinishedRepair\": {\n\"command\": \"qorhwinfo resolve I111111 --yes\"\n"
        "\"backup\": \"/var/local/qorhwinfo/backup/1\"\n"
        "Fix: qorhwinfo resolve I111111 --yes\n"
        "\"unfinishedRepair\": null",
        "qorhwinfo: resolve I111111: stopped by SIGINT after 1 of 2 writes\nThe repair did not finish: run "
        "\"qorhwinfo resolve I111111 --yes\" again to finish it, or \"qorhwinfo restore "
        "/var/local/qorhwinfo/backup/1\" to put the unit back as it was.");
    // clang-format on
    row("provision a replaced board", healthyWith("store bf blank-ff"),
        "provision bf --unit I123456 --serial 77 --yes\ninspect bf", "0 0",
        "  bf    Beamformer Board     blank -> record of I123456, board serial 77\n"
        "    bf         77\n    serial     77\n    unit       \"I123456\"",
        "", "/sys/bus/i2c/devices/0-0051/eeprom");
    row("provision: another unit's record needs --force", healthy,
        "provision cb --unit I654321 --yes\nprovision cb --unit I654321 --force --yes\ncheck", "7 0 1",
        "  cb    Carrier Board        record         I654321",
        "qorhwinfo: provision cb: refused: the Carrier Board holds the record of I123456, another unit: give "
        "--force to overwrite it",
        "/dev/qorpic0");
    row("provision shows a board serial's change and refuses 0", healthy,
        "provision bf --unit I123456 --serial 0\nprovision bf --unit I123456 --serial 77 --dry-run", "2 0",
        "  bf    Beamformer Board     record of I123456, board serial 7654321 -> record of I123456, board "
        "serial "
        "77",
        "qorhwinfo: The board serial must be a number from 1 to 4294967295, not 0 (0 stands for a serial "
        "that is "
        "not known).\nTry \"qorhwinfo --help\".");
    row("history of the writes", healthy,
        "provision cb --unit I654321 --force --yes\nhistory\nhistory --json", "0 0 0",
        "qorhwinfo provision cb --unit I654321 --force --yes  (done)\n"
        "  cb    I123456 -> I654321  SHA-1\n\"result\": \"done\"\n\"fromSerial\": \"I123456\"",
        "", "/dev/qorpic0");
    row("backup, damage, restore", healthy,
        "backup %ROOT%/bk\nprovision cb --unit I654321 --force --yes\nrestore %ROOT%/bk --yes\ncheck",
        "0 0 0 0", "No problem found.");
    row("backup never changes an existing backup", healthy,
        "backup %ROOT%/bk\nbackup %ROOT%/bk\nsh qorhwinfo backup /nonexistent/dir | grep -c saved", "0 7 1",
        "=0",
        "qorhwinfo: %ROOT%/bk exists already: a backup never changes an existing file; give a new directory, "
        "or none for a new set in /var/local/qorhwinfo/backup\n"
        "qorhwinfo: backup failed: could not create the directory /nonexistent/dir: No such file or "
        "directory");
    row("backup list", healthy, "backup\nbackup\nbackup list", "0 0 0",
        "/var/local/qorhwinfo/backup/1\n  unit     I123456\n  command  qorhwinfo backup\n"
        "/var/local/qorhwinfo/backup/2");
    row("restore refuses another unit's backup", healthy,
        "backup %ROOT%/bk\nsh sed -i 's/02:fc:00:00:00:01/02:fc:00:00:00:09/' %ROOT%/bk/manifest.json\n"
        "provision cb --unit I654321 --force --yes\nrestore %ROOT%/bk --yes\nrestore %ROOT%/bk --yes --force",
        "0 0 0 7 0", "",
        "qorhwinfo: restore: refused: the backup was taken from other hardware: it names the MAC address "
        "02:fc:00:00:00:09 (this unit: 02:fc:00:00:00:01); give --force to write it all the same",
        "");
    row("restore refuses a damaged image", healthy,
        "backup %ROOT%/bk\nsh echo x >> %ROOT%/bk/cb.img\nrestore %ROOT%/bk --yes --json", "0 0 5",
        "\"result\": \"refused\"\ncannot be used: cb.img holds more than 2048 bytes");
    // A board's memory may hold any bytes: a record that would clear the screen, forge a report and leave a
    // title sequence open reaches the terminal escaped, and JSON exactly.
    // clang-format off
    row("hostile text in a record",
        healthyWith("store bf record unit=\"\x1b[2J\x1b[HUnit serial      I123456\xc2\x9b\x1b]0;\" "
                    "com=\"ABC\xe2\x80\xae\x7f\" serial=u32:7654321"),
        "sh { qorhwinfo discover -v; qorhwinfo check; qorhwinfo inspect; qorhwinfo history; } 2>&1 | tr -d '\\n' "
            "| LC_ALL=C grep -c '[[:cntrl:]]'; true\n"
        "discover\ndiscover --json",
        "0 4 4",
        "=0\n\\x1b[2J\\x1b[HUnit serial      I123456\\x9b\\x1b]0;\n"
        "\"unit\": \"\\u001B[2J\\u001B[HUnit serial      I123456",
        "");
    // clang-format on
    row("metrics for the fleet's monitoring", disagree,
        "check --metrics %ROOT%/qorhwinfo.prom\nsh promtool check metrics < %ROOT%/qorhwinfo.prom && grep "
        "-E 'disagree |candidates |repair_unfinished ' %ROOT%/qorhwinfo.prom",
        "1 0", "=qorhwinfo_candidates 2\n=qorhwinfo_stores_disagree 1\n=qorhwinfo_repair_unfinished 0", "",
        "/qorhwinfo.prom");
    // Attacks: what an unprivileged account could plant (were the cache directory its to write; it is
    // root's) and what a backup from a USB stick may hold, then the step a technician runs as root. Every
    // file outside the stores stays as it was, no step hangs, and the exit status says why.
    // clang-format off
    const QString edit = QStringLiteral("sh python3 -c \"import json, sys; m = json.load(open(sys.argv[1])); %1; "
                                        "json.dump(m, open(sys.argv[1], 'w'))\" %ROOT%/b/manifest.json");
    row("attack: a link planted where the cache's new file used to be written", healthy,
        "sh echo precious > %ROOT%/victim; ln -s %ROOT%/victim /var/local/qorhwinfo/serial.cache.new\n"
        "cache write --yes\nsh cat %ROOT%/victim; qorhwinfo quick",
        "0 0 0", "=precious\n=I123456", "",
        "/var/local/qorhwinfo/serial.cache /var/local/qorhwinfo/serial.cache.new /victim");
    row("attack: a link in place of the backup directory", healthy,
        "sh mkdir %ROOT%/elsewhere; ln -s %ROOT%/elsewhere /var/local/qorhwinfo/backup\n"
        "provision cb --unit I654321 --force --yes\nsh ls -A %ROOT%/elsewhere | wc -l",
        "0 6 0", "=0",
        "qorhwinfo: provision cb failed: cannot save the backup: /var/local/qorhwinfo/backup is a link or no "
        "directory: the tool keeps no backup there (choose another place with --backup-dir); nothing was written",
        "");
    row("attack: the cache linked to a root-only file", healthy,
        "sh echo secret > %ROOT%/shadow; chmod 600 %ROOT%/shadow; "
            "ln -s %ROOT%/shadow /var/local/qorhwinfo/serial.cache\n"
        "backup\nsh test -e /var/local/qorhwinfo/backup/1/file.img && echo copied || echo not copied; rm "
        "/var/local/qorhwinfo/serial.cache",
        "0 5 0", "  file  Serials File         NOT SAVED: cannot open /var/local/qorhwinfo/serial.cache: Too "
        "many levels of symbolic links\n=not copied", "",
        "/shadow");
    row("attack: a sparse cache file of 4 GiB", healthy,
        "sh truncate -s 4294967360 /var/local/qorhwinfo/serial.cache\nbackup\ncache write --yes\n"
        "sh rm /var/local/qorhwinfo/serial.cache",
        "0 5 6 0", "NOT SAVED: /var/local/qorhwinfo/serial.cache is no regular file of at most 131072 bytes",
        "qorhwinfo: cache write failed: cannot read the Serials File to back it up: "
        "/var/local/qorhwinfo/serial.cache is no regular file of at most 131072 bytes; nothing was written");
    row("attack: a FIFO as the cache file", healthy,
        "sh mkfifo /var/local/qorhwinfo/serial.cache\nbackup\ncache clear --yes\n"
        "sh rm /var/local/qorhwinfo/serial.cache",
        "0 5 6 0", "NOT SAVED: /var/local/qorhwinfo/serial.cache is no regular file",
        "qorhwinfo: cache clear failed: cannot read the Serials File to back it up: "
        "/var/local/qorhwinfo/serial.cache is no regular file of at most 131072 bytes; nothing was written");
    row("attack: hostile backups from a USB stick", healthy,
        "backup %ROOT%/good\n"
        "sh cp -r %ROOT%/good %ROOT%/b\n" + edit.arg("m['stores'][1]['present'] = False") + "\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b\n" + edit.arg("m['stores'][0]['key'] = 'eeprom'")
            + "\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b; head -c 4096 /dev/zero > %ROOT%/b/com.img\n"
            + edit.arg("m['stores'][2]['size'] = 4096") + "\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b\n" + edit.arg("m['stores'][2]['image'] = '/dev/zero'")
            + "\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b\n" + edit.arg("m['stores'][2]['image'] = '../good/com.img'")
            + "\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b; ln -sf /dev/zero %ROOT%/b/com.img\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b; rm %ROOT%/b/com.img; mkfifo %ROOT%/b/com.img\n"
            "restore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b; rm %ROOT%/b/manifest.json; mkfifo %ROOT%/b/manifest.json\n"
            "restore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b; cp -r %ROOT%/good %ROOT%/b\n" + edit.arg("m['stores'][0]['offset'] = 256") + "\nrestore %ROOT%/b --yes\n"
        "sh rm -r %ROOT%/b %ROOT%/good",
        "0 0 0 5 0 0 5 0 0 5 0 0 5 0 0 5 0 5 0 5 0 5 0 0 5 0", "", QStringLiteral(
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: the manifest's entry for cb says the store "
            "was absent: only the cache file may be; nothing was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: the manifest names a store that this unit "
            "does not have; nothing was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: the manifest's entry for com gives no size "
            "within the store's 384 bytes of room; nothing was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: the manifest's entry for com names an "
            "image other than com.img; nothing was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: the manifest's entry for com names an "
            "image other than com.img; nothing was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: cannot read com.img: Too many levels of "
            "symbolic links; nothing was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: com.img is no regular file; nothing was "
            "written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: manifest.json is no regular file; nothing "
            "was written\n"
        "qorhwinfo: restore: refused: the backup %ROOT%/b cannot be used: the manifest's entry for bf does not name "
            "/sys/bus/i2c/devices/0-0051/eeprom at 0, where this unit keeps that store; nothing was written"));
    // clang-format on
    // Backups and the history live on the cache's file system, whose filling makes unitSerial() throw.
    row("a thousand repairs stay within their bounds", healthy,
        "sh for i in $(seq 500); do qorhwinfo cache write --yes >/dev/null; qorhwinfo cache clear --yes "
        ">/dev/null; done; ls /var/local/qorhwinfo/backup | wc -l; du -sb /var/local/qorhwinfo | "
        "awk '{ print ($1 <= 1048576 + 262144 + 65536 ? \"within\" : \"beyond\") }'",
        "0", "=20\n=within");
    // Nothing runs on a usage error: no discovery, so no cache file either.
    row("usage errors", healthy,
        "\ndiscover --bogus\ninspect cb eeprom\nprovision cb --unit I123456 --serial x\nquick --unit I1",
        "2 2 2 2 2", "",
        "qorhwinfo: No command given.\nqorhwinfo: Unknown option: --bogus.\n"
        "qorhwinfo: Unknown store: eeprom. Stores are com cb bf ut file.\n"
        "qorhwinfo: The board serial must be a number from 1 to 4294967295, not x (0 stands for a serial "
        "that is "
        "not known).\nqorhwinfo: The command quick takes no option --unit.\n"
        "Try \"qorhwinfo --help\".\nTry \"qorhwinfo --help\".\n"
        "Try \"qorhwinfo --help\".\nTry \"qorhwinfo --help\".\nTry \"qorhwinfo --help\".");
    row("each command's help lists its own options", healthy,
        "sh qorhwinfo quick --help | grep -c -- --unit; qorhwinfo provision --help | grep -c -- --unit", "0",
        "=0\n=2");

    // What each reading command answers on each example unit: an application's view of it.
    row("exit statuses: reference", healthy, "discover\ncheck\ninspect\nquick", "0 0 0 0", "", "", cache);
    row("exit statuses: cached", unitFile("cached.unit"), "discover\ncheck\ninspect\nquick", "0 0 0 0", "");
    row("exit statuses: disagree", disagree, "discover\ncheck\ninspect\nquick", "1 1 5 0", "");
    row("exit statuses: tie", unitFile("tie.unit"), "discover\ncheck\ninspect\nquick", "1 1 0 0", "");
    row("exit statuses: blank", unitFile("blank.unit"), "discover\ncheck\ninspect\nquick", "1 1 1 1", "",
        noCachedSerial);
    row("exit statuses: damaged", unitFile("damaged.unit"), "discover\ncheck\ninspect\nquick", "1 1 5 1", "",
        noCachedSerial);
    row("exit statuses: empty serial", emptySerial, "discover\ncheck\ninspect\nquick", "4 4 4 1", "",
        noCachedSerial, cache);

    // Every repair that check suggests works as printed, answered at a terminal as a technician would.
    // clang-format off
    const QString fixAll = QStringLiteral(
        "sh for round in 1 2 3; do qorhwinfo check --json | python3 -c 'import json, sys; "
            "[print(f[\"fix\"]) for f in json.load(sys.stdin)[\"findings\"] if f[\"fix\"]]' | "
        "while read -r fix; do echo y | script -qec \"$fix\" /dev/null >/dev/null; echo \"$fix: $?\"; done; done");
    // clang-format on
    row("check's repairs: disagree", disagree, fixAll, "0",
        "=qorhwinfo resolve I111111: 0\n=qorhwinfo provision bf --unit I111111: 0", "",
        "/dev/qorpic0 /sys/bus/i2c/devices/0-0051/eeprom");
    row("check's repairs: other hardware", healthyWith("board_serial ZZZ000000099"), fixAll, "0",
        "=qorhwinfo provision com --unit I123456: 0", "",
        "/dev/qorpic0 /sys/bus/i2c/devices/0-0050/eeprom /sys/bus/i2c/devices/0-0051/eeprom");
    row("check's repairs: a replaced board", healthyWith("store bf blank-ff\nstore file corrupt"), fixAll,
        "0", "=qorhwinfo provision bf --unit I123456: 0\n=qorhwinfo cache write: 0", "",
        "/sys/bus/i2c/devices/0-0051/eeprom /var/local/qorhwinfo/serial.cache");
    row("check's repairs: a cached empty serial", emptySerial, "discover\n" + fixAll, "4 0",
        "=qorhwinfo cache clear: 0");
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
            && !path.startsWith("/var/local/qorhwinfo/backup/")
            && path != QLatin1String("/var/local/qorhwinfo/history"))
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

#include "systemtest.moc"
