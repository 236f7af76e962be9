#include "performancereport.h"

#include "benchmarkrun.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QProcess>

#include <sched.h>
#include <sys/utsname.h>

#include <cstdio>

namespace {

const QString serial = QStringLiteral("I123456");
// Extra calls per instruction count; the first call of each run is left out of the difference.
const int lightCalls = 200;
const int heavyCalls = 20;
const QString callgrind = QStringLiteral("qorsandbox --root U -- valgrind --tool=callgrind qorbench_repeat");

// As printf's "%.Nf" rounds, which the figures have always been written with.
QString formatted(int decimals, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return QString::fromLatin1(text);
}

QString verdict(bool met)
{
    return met ? QStringLiteral("met") : QStringLiteral("MISSED");
}

QString perCall(const QString &operation, int calls)
{
    return QStringLiteral("%1 %2 1 / %3").arg(callgrind, operation).arg(calls + 1);
}

QString microseconds(double nanoseconds)
{
    return formatted(nanoseconds < 10000 ? 2 : 0, nanoseconds / 1000);
}

void progress(const char *what)
{
    std::fprintf(stderr, "qorbench_report: %s\n", what);
}

// The first line that a command prints, or what it printed to stderr when that is all.
QString firstLineOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    process.waitForFinished(-1);
    return QString::fromUtf8(process.readAllStandardOutput()).section(QLatin1Char('\n'), 0, 0);
}

QString cpuModel()
{
    QFile cpuinfo(QStringLiteral("/proc/cpuinfo"));
    if (!cpuinfo.open(QIODevice::ReadOnly))
        return QString();
    for (const QByteArray &line : cpuinfo.readAll().split('\n')) {
        if (line.startsWith("model name"))
            return QString::fromUtf8(line.mid(line.indexOf(':') + 1)).trimmed();
    }
    return QString();
}

int availableCpus()
{
    cpu_set_t set;
    return sched_getaffinity(0, sizeof set, &set) == 0 ? CPU_COUNT(&set) : 1;
}

} // namespace

PerformanceReport::PerformanceReport(BenchmarkRun &run)
    : m_run(run)
{ }

QString PerformanceReport::thousands(qint64 value)
{
    QString digits = QString::number(value);
    for (int at = digits.size() - 3; at > (value < 0 ? 1 : 0); at -= 3)
        digits.insert(at, QLatin1Char(','));
    return digits;
}

QString PerformanceReport::ratio(double a, double b)
{
    return formatted(1, a / b);
}

void PerformanceReport::addRow(const QString &figure, const QString &value, const QString &target,
                               const QString &command)
{
    // Figures derived from others name them in parentheses instead of a command.
    const QString shown
        = command.startsWith(QLatin1Char('(')) ? command : QLatin1Char('`') + command + QLatin1Char('`');
    m_rows << QStringLiteral("| %1 | %2 | %3 | %4 |").arg(figure, value, target, shown);
}

void PerformanceReport::measure()
{
    progress("store loads");
    for (const QStringList &row : m_run.storeLoadRows())
        addRow(row.at(0), row.at(1), row.at(2), QStringLiteral("qorbench_storeio"));
    m_run.prepareUnit(serial);
    m_rootFileSystem = m_run.rootFileSystem();
    progress("instruction counts (callgrind)");
    measureInstructions();
    progress("wall time (Google Benchmark)");
    measureWallTimes();
    progress("bytes and system calls (strace)");
    measureSystemCalls();
}

void PerformanceReport::measureInstructions()
{
    m_quick = m_run.steadyInstructions(QStringLiteral("quick"), lightCalls, serial);
    m_posix = m_run.steadyInstructions(QStringLiteral("posix"), lightCalls, QStringLiteral("94"));
    m_checked = m_run.steadyInstructions(QStringLiteral("posix-check"), lightCalls, QStringLiteral("82"));
    m_decoded = m_run.steadyInstructions(QStringLiteral("posix-decode"), lightCalls, serial);
    const qint64 quickFirst = m_run.firstCallInstructions(QStringLiteral("quick"));
    const qint64 posixFirst = m_run.firstCallInstructions(QStringLiteral("posix"));
    const qint64 construct
        = m_run.steadyInstructions(QStringLiteral("construct"), heavyCalls, QStringLiteral("0a5f"));
    m_present = m_run.steadyInstructions(QStringLiteral("discover"), heavyCalls, serial);
    m_absent = m_run.steadyInstructions(QStringLiteral("discover-nocache"), heavyCalls, serial);
    const qint64 processQuick
        = m_run.instructions({ m_run.program(QStringLiteral("qorhwinfo")), QStringLiteral("quick") });

    addRow(QStringLiteral("quickNonValidatedSerial(): instructions per call"), thousands(m_quick),
           QStringLiteral("-"), perCall(QStringLiteral("quick"), lightCalls));
    addRow(QStringLiteral("POSIX open/read/close of the same file: instructions per call"),
           thousands(m_posix), QStringLiteral("-"), perCall(QStringLiteral("posix"), lightCalls));
    addRow(QStringLiteral("POSIX read + frame check (header, CRC-32): instructions per call"),
           QStringLiteral("%1 (%2x the POSIX read)").arg(thousands(m_checked), ratio(m_checked, m_posix)),
           QStringLiteral("-"), perCall(QStringLiteral("posix-check"), lightCalls));
    addRow(QStringLiteral("POSIX read + frame check + payload decode: instructions per call"),
           QStringLiteral("%1 (%2x the POSIX read)").arg(thousands(m_decoded), ratio(m_decoded, m_posix)),
           QStringLiteral("-"), perCall(QStringLiteral("posix-decode"), lightCalls));
    addRow(QStringLiteral("quickNonValidatedSerial() / POSIX read"),
           ratio(m_quick, m_posix) + QLatin1Char('x'),
           QStringLiteral("at most 2x: ") + verdict(m_quick <= 2 * m_posix),
           QStringLiteral("(quick and posix counts above)"));
    addRow(QStringLiteral("quickNonValidatedSerial() / POSIX read + decode"),
           ratio(m_quick, m_decoded) + QLatin1Char('x'),
           QStringLiteral("at most 2x: ") + verdict(m_quick <= 2 * m_decoded),
           QStringLiteral("(quick and posix-decode counts above)"));
    addRow(QStringLiteral("First call in a process: quickNonValidatedSerial() / POSIX read"),
           QStringLiteral("%1 / %2 instructions").arg(thousands(quickFirst), thousands(posixFirst)),
           QStringLiteral("-"), callgrind + QStringLiteral(" quick 0 / 1, posix 0 / 1"));
    addRow(QStringLiteral("Whole `qorhwinfo quick` process, start-up included"),
           QStringLiteral("%1 instructions; the first quick read is %2% of them")
               .arg(thousands(processQuick), ratio(quickFirst * 100.0, processQuick)),
           QStringLiteral("-"),
           QStringLiteral("qorsandbox --root U -- valgrind --tool=callgrind qorhwinfo quick"));
    addRow(QStringLiteral("HwInfoHelper construction: instructions per call"), thousands(construct),
           QStringLiteral("-"), perCall(QStringLiteral("construct"), heavyCalls));
    addRow(QStringLiteral("discover(), cache present: instructions per call"), thousands(m_present),
           QStringLiteral("-"), perCall(QStringLiteral("discover"), heavyCalls));
    addRow(QStringLiteral("discover(), cache absent (written each call): instructions per call"),
           thousands(m_absent), QStringLiteral("-"), perCall(QStringLiteral("discover-nocache"), heavyCalls));
}

void PerformanceReport::measureWallTimes()
{
    const QHash<QString, double> ns = m_run.wallTimeMedians();
    const double quick = ns.value(QStringLiteral("QuickNonValidatedSerial"));
    const double posix = ns.value(QStringLiteral("PosixRead"));
    const double decoded = ns.value(QStringLiteral("PosixReadDecoded"));
    const QString command
        = QStringLiteral("qorsandbox --root U -- qorbench_walltime --benchmark_repetitions=5");
    addRow(QStringLiteral("Wall time per call: quickNonValidatedSerial() / POSIX read / + check / + decode"),
           QStringLiteral("%1 / %2 / %3 / %4 µs (quick read: %5x the POSIX read, %6x read + decode)")
               .arg(microseconds(quick), microseconds(posix),
                    microseconds(ns.value(QStringLiteral("PosixReadChecked"))), microseconds(decoded),
                    ratio(quick, posix), ratio(quick, decoded)),
           QStringLiteral("-"), command);
    addRow(QStringLiteral("Wall time per call: HwInfoHelper construction"),
           microseconds(ns.value(QStringLiteral("HelperConstruction"))) + QStringLiteral(" µs"),
           QStringLiteral("-"), command);
    addRow(QStringLiteral("Wall time per call: discover(), cache present / absent"),
           QStringLiteral("%1 / %2 µs")
               .arg(microseconds(ns.value(QStringLiteral("DiscoverCachePresent"))),
                    microseconds(ns.value(QStringLiteral("DiscoverCacheAbsent")))),
           QStringLiteral("-"), command);
}

void PerformanceReport::measureSystemCalls()
{
    const QString strace
        = QStringLiteral("qorsandbox --root U -- strace -f -y -xx -e trace=read,pread64 qorbench_repeat");
    for (const QString &state : { QStringLiteral("discover"), QStringLiteral("discover-nocache") }) {
        const BenchmarkRun::StoreReads reads = m_run.storeReads(state);
        addRow(QStringLiteral("discover(), cache %1: bytes read from the stores")
                   .arg(state == QLatin1String("discover") ? QStringLiteral("present")
                                                           : QStringLiteral("absent")),
               QStringLiteral(
                   "%1 B in %2 read calls (%3); the three i2c EEPROMs: %4 B = %5 ms @100 kHz, %6 ms @400 kHz")
                   .arg(reads.total)
                   .arg(reads.calls)
                   .arg(reads.details)
                   .arg(reads.i2c)
                   .arg(formatted(1, reads.i2c * 0.09), formatted(1, reads.i2c * 0.023)),
               QStringLiteral("each store: its frame exactly, at most 2 calls: ") + verdict(reads.met),
               QStringLiteral("%1 %2 1").arg(strace, state));
    }
    addRow(QStringLiteral("System calls on the cache file: quickNonValidatedSerial() / POSIX read"),
           QStringLiteral("%1 / %2").arg(m_run.cacheSystemCalls(QStringLiteral("quick")),
                                         m_run.cacheSystemCalls(QStringLiteral("posix"))),
           QStringLiteral("-"),
           QStringLiteral("qorsandbox --root U -- strace -f -y qorbench_repeat quick 1, posix 1"));
    addRow(QStringLiteral("System calls of `qorhwinfo quick`"),
           m_run.toolSystemCalls(QStringLiteral("quick")), QStringLiteral("-"),
           QStringLiteral("qorsandbox --root U -- strace -c -f qorhwinfo quick"));
    addRow(QStringLiteral("System calls of `qorhwinfo discover` (cache present)"),
           m_run.toolSystemCalls(QStringLiteral("discover")), QStringLiteral("-"),
           QStringLiteral("qorsandbox --root U -- strace -c -f qorhwinfo discover"));
}

QString PerformanceReport::conditions() const
{
    struct utsname system;
    const QString kernel = uname(&system) == 0 ? QString::fromUtf8(system.release) : QString();
    return QStringLiteral(
               "Measured by `scripts/bench` on %1: %2 CPUs, \"%3\", Linux %4, Qt %5, %6, release build "
               "(build/bench). U is the reference unit (examples/units/reference.unit) built by "
               "qorsandbox; every library call runs there on the real paths.")
        .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd")))
        .arg(availableCpus())
        .arg(cpuModel(), kernel, QString::fromLatin1(qVersion()),
             firstLineOf(QStringLiteral(QORBENCH_COMPILER), { QStringLiteral("--version") }));
}

QString PerformanceReport::markdown() const
{
    QString text = QStringLiteral("## Performance\n\n") + conditions() + QStringLiteral("\n\n");
    text += QStringLiteral(
                "- Instruction counts are user-space instructions under callgrind (%1): the difference "
                "between a run with one call and a run with N more, divided by N (\"quick 1 / 201\" is "
                "those two runs), so process start-up and one-time initialisation drop out. They repeat "
                "exactly on a busy machine; the kernel's side of system calls is not in them. The "
                "library's log messages are built but not printed.\n")
                .arg(firstLineOf(QStringLiteral("valgrind"), { QStringLiteral("--version") }));
    text += QStringLiteral(
        "- Wall times are medians of 5 Google Benchmark repetitions. The sandbox's stores are plain "
        "files, so they hold the library's own work and system calls, not the bus: i2c time is "
        "computed from the bytes read at 90 µs per byte (100 kHz) and 23 µs per byte (400 kHz).\n\n");
    text += QStringLiteral("| Figure | Value | Target | Command (in build/bench/bin) |\n|---|---|---|---|\n");
    text += m_rows.join(QLatin1Char('\n')) + QLatin1Char('\n');
    text += QStringLiteral(
                "\nThe quick read against a raw read: the raw POSIX read (%1 instructions) checks nothing. "
                "The quick read must answer null for a damaged file, and the frame's CRC-32 check alone "
                "brings a POSIX reader to %2 instructions, %3x the raw read, so no reader that rejects a "
                "damaged cache file meets the 2x target. Decoding the payload into the record map adds %4 "
                "more. What is left of the quick read, %5 instructions, is QFile (object, open with its "
                "status queries, seek, two reads through QIODevice, close), the identity store's "
                "bookkeeping, freeing the map and the record reader; getting below that would mean "
                "bypassing QFile, the store and the map, which are what the quick read is defined to use. "
                "Compared with a POSIX reader that does the same checks and decoding it takes %6x.\n\n")
                .arg(thousands(m_posix), thousands(m_checked), ratio(m_checked, m_posix),
                     thousands(m_decoded - m_checked), thousands(m_quick - m_decoded),
                     ratio(m_quick, m_decoded));
    const QString fileSystem = QStringLiteral("it depends on the file system under the sandbox root, here %1")
                                   .arg(m_rootFileSystem);
    if (m_absent >= m_present) {
        text += QStringLiteral(
                    "A discovery that finds no cache file encodes and writes the record, %1 instructions "
                    "more than one that finds it, and syncs the file to storage, which is where most of "
                    "its extra wall time goes (%2).\n")
                    .arg(thousands(m_absent - m_present), fileSystem);
    } else {
        text += QStringLiteral(
                    "A discovery that finds no cache file encodes and writes the record, and still takes "
                    "%1 instructions fewer than one that finds it, which reads and decodes a fifth store "
                    "instead. It syncs the file to storage, which is where its extra wall time goes (%2).\n")
                    .arg(thousands(m_present - m_absent), fileSystem);
    }
    return text;
}
