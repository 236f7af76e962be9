#include "benchmarkrun.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QProcessEnvironment>
#include <QtCore/QRegularExpression>

#include <cstdio>
#include <stdexcept>

namespace {

const char *const storeOrder[] = { "com", "cb", "bf", "ut", "file" };

QString storeOfPath(const QByteArray &path)
{
    if (path == "/sys/bus/i2c/devices/0-0050/eeprom")
        return QStringLiteral("com");
    if (path == "/dev/qorpic0")
        return QStringLiteral("cb");
    if (path == "/sys/bus/i2c/devices/0-0051/eeprom")
        return QStringLiteral("bf");
    if (path == "/sys/bus/i2c/devices/0-0055/eeprom")
        return QStringLiteral("ut");
    if (path == "/var/local/qorhwinfo/serial.cache")
        return QStringLiteral("file");
    return QString();
}

// strace -xx writes every byte as \xNN.
QByteArray unhex(const QString &text)
{
    QByteArray bytes;
    const QStringList parts = text.split(QStringLiteral("\\x"), Qt::SkipEmptyParts);
    for (const QString &part : parts)
        bytes.append(char(part.toInt(nullptr, 16)));
    return bytes;
}

[[noreturn]] void fail(const QString &what)
{
    throw std::runtime_error(what.toStdString());
}

} // namespace

BenchmarkRun::BenchmarkRun(const QString &unitFile, const QString &workDir)
    : m_bin(QCoreApplication::applicationDirPath())
    , m_unitFile(unitFile)
    , m_root(workDir + QStringLiteral("/unit"))
    , m_out(workDir + QStringLiteral("/out"))
{
    if (!QDir().mkpath(m_out))
        fail(QStringLiteral("cannot create %1").arg(m_out));
}

QString BenchmarkRun::program(const QString &name) const
{
    return m_bin + QLatin1Char('/') + name;
}

QByteArray BenchmarkRun::outFile(const QString &name) const
{
    QFile file(m_out + QLatin1Char('/') + name);
    if (!file.open(QIODevice::ReadOnly))
        fail(QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
    return file.readAll();
}

QByteArray BenchmarkRun::run(const QString &programPath, const QStringList &arguments, bool mustSucceed)
{
    QProcess process;
    // A fixed hash seed gives the store table the same iteration order in every run, so counts repeat.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0"));
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(programPath, arguments);
    if (!process.waitForFinished(-1) || process.exitStatus() != QProcess::NormalExit
        || (mustSucceed && process.exitCode() != 0))
        fail(QStringLiteral("%1 %2 failed").arg(programPath, arguments.join(QLatin1Char(' '))));
    return process.readAllStandardOutput();
}

QByteArray BenchmarkRun::inUnit(const QStringList &command, bool mustSucceed)
{
    return run(program(QStringLiteral("qorsandbox")),
               QStringList({ QStringLiteral("--root"), m_root, QStringLiteral("--bind-rw"), m_out,
                             QStringLiteral("--") })
                   + command,
               mustSucceed);
}

void BenchmarkRun::prepareUnit(const QString &serial)
{
    const QByteArray got
        = run(program(QStringLiteral("qorsandbox")),
              { QStringLiteral("--root"), m_root, m_unitFile, QStringLiteral("--"),
                program(QStringLiteral("qorbench_repeat")), QStringLiteral("discover"), QStringLiteral("1") })
              .trimmed();
    if (got != serial.toUtf8())
        fail(QStringLiteral("discovery on %1 gave '%2', not %3")
                 .arg(m_unitFile, QString::fromUtf8(got), serial));
}

QList<QStringList> BenchmarkRun::storeLoadRows()
{
    QList<QStringList> rows;
    const QList<QByteArray> lines
        = run(program(QStringLiteral("qorbench_storeio")), QStringList()).split('\n');
    for (const QByteArray &line : lines) {
        const QStringList fields = QString::fromUtf8(line).split(QLatin1Char('\t'));
        if (fields.size() == 3)
            rows << fields;
    }
    return rows;
}

qint64 BenchmarkRun::instructions(const QStringList &command)
{
    const QString log = m_out + QStringLiteral("/callgrind.log");
    m_lastStdout = inUnit(
        QStringList({ QStringLiteral("valgrind"), QStringLiteral("--tool=callgrind"),
                      QStringLiteral("--callgrind-out-file=/dev/null"), QStringLiteral("--log-file=") + log })
        + command);
    const QRegularExpressionMatch collected = QRegularExpression(QStringLiteral("Collected : *([0-9]+)"))
                                                  .match(QString::fromUtf8(outFile("callgrind.log")));
    if (!collected.hasMatch())
        fail(QStringLiteral("callgrind counted nothing for %1").arg(command.join(QLatin1Char(' '))));
    return collected.captured(1).toLongLong();
}

qint64 BenchmarkRun::steadyInstructions(const QString &operation, int calls, const QString &expected)
{
    const QString repeat = program(QStringLiteral("qorbench_repeat"));
    const qint64 once = instructions({ repeat, operation, QStringLiteral("1") });
    const qint64 more = instructions({ repeat, operation, QString::number(calls + 1) });
    const QString got = QString::fromUtf8(m_lastStdout).remove(QRegularExpression(QStringLiteral("\n+$")));
    if (got != expected)
        fail(QStringLiteral("%1 gave '%2', not %3").arg(operation, got, expected));
    return (more - once) / calls;
}

qint64 BenchmarkRun::firstCallInstructions(const QString &operation)
{
    const QString repeat = program(QStringLiteral("qorbench_repeat"));
    const qint64 none = instructions({ repeat, operation, QStringLiteral("0") });
    return instructions({ repeat, operation, QStringLiteral("1") }) - none;
}

QHash<QString, double> BenchmarkRun::wallTimeMedians()
{
    const QByteArray csv
        = inUnit({ program(QStringLiteral("qorbench_walltime")), QStringLiteral("--benchmark_repetitions=5"),
                   QStringLiteral("--benchmark_report_aggregates_only=true"),
                   QStringLiteral("--benchmark_min_time=0.2"), QStringLiteral("--benchmark_format=csv") });
    QHash<QString, double> medians;
    const QRegularExpression median(QStringLiteral("^\"BM_(.*)_median\"$"));
    for (const QByteArray &line : csv.split('\n')) {
        const QStringList fields = QString::fromUtf8(line).split(QLatin1Char(','));
        const QRegularExpressionMatch name = median.match(fields.first());
        if (name.hasMatch() && fields.size() > 2) {
            char rounded[64];
            std::snprintf(rounded, sizeof rounded, "%.0f", fields.at(2).toDouble());
            medians.insert(name.captured(1), QByteArray(rounded).toDouble());
        }
    }
    return medians;
}

BenchmarkRun::StoreReads BenchmarkRun::storeReads(const QString &operation)
{
    inUnit({ QStringLiteral("strace"), QStringLiteral("-f"), QStringLiteral("-y"), QStringLiteral("-xx"),
             QStringLiteral("-e"), QStringLiteral("trace=read,pread64"), QStringLiteral("-o"),
             m_out + QStringLiteral("/reads.txt"), program(QStringLiteral("qorbench_repeat")), operation,
             QStringLiteral("1") });
    // Lines look like: PID read(FD<\x2f\x64...>, "\x51\x52...", SIZE) = GOT, paths and data all in hex.
    const QRegularExpression call(QStringLiteral("(read|pread64)\\([0-9]+<([^>]*)>"));
    const QRegularExpression data(QStringLiteral("\"((\\\\x[0-9a-f][0-9a-f])+)\""));
    QHash<QString, qint64> bytes;
    QHash<QString, int> calls;
    QHash<QString, int> announced;
    StoreReads reads;
    for (const QByteArray &line : outFile(QStringLiteral("reads.txt")).split('\n')) {
        const QString text = QString::fromUtf8(line);
        const QRegularExpressionMatch read = call.match(text);
        const QString store = read.hasMatch() ? storeOfPath(unhex(read.captured(2))) : QString();
        bool isNumber = false;
        const qint64 got = text.section(QLatin1Char(' '), -1).toLongLong(&isNumber);
        if (store.isEmpty() || !isNumber)
            continue;
        const QRegularExpressionMatch header = data.match(text);
        if (!calls.contains(store) && got >= 12 && header.hasMatch()) {
            const QByteArray first = unhex(header.captured(1));
            announced[store] = 12 + uchar(first.at(6)) + 256 * uchar(first.at(7));
        }
        bytes[store] += got;
        ++calls[store];
        reads.total += got;
        ++reads.calls;
        if (store != QLatin1String("cb") && store != QLatin1String("file"))
            reads.i2c += got;
    }
    QStringList details;
    for (const char *key : storeOrder) {
        const QString store = QLatin1String(key);
        if (!calls.contains(store))
            continue;
        reads.met = reads.met && calls[store] <= 2 && bytes[store] == announced.value(store);
        details << QStringLiteral("%1 %2 B in %3 (frame %4 B)")
                       .arg(store)
                       .arg(bytes[store])
                       .arg(calls[store])
                       .arg(announced.value(store));
    }
    reads.details = details.join(QStringLiteral("; "));
    return reads;
}

QString BenchmarkRun::cacheSystemCalls(const QString &operation)
{
    inUnit({ QStringLiteral("strace"), QStringLiteral("-f"), QStringLiteral("-y"), QStringLiteral("-o"),
             m_out + QStringLiteral("/cache.txt"), program(QStringLiteral("qorbench_repeat")), operation,
             QStringLiteral("1") });
    QStringList names;
    for (const QByteArray &line : outFile(QStringLiteral("cache.txt")).split('\n')) {
        if (line.contains("serial.cache"))
            names << QString::fromUtf8(line)
                         .simplified()
                         .section(QLatin1Char(' '), 1, 1)
                         .section(QLatin1Char('('), 0, 0);
    }
    return QStringLiteral("%1 (%2)").arg(names.size()).arg(names.join(QStringLiteral(", ")));
}

QString BenchmarkRun::toolSystemCalls(const QString &command)
{
    inUnit({ QStringLiteral("strace"), QStringLiteral("-c"), QStringLiteral("-f"), QStringLiteral("-o"),
             m_out + QStringLiteral("/strace-c.txt"), program(QStringLiteral("qorhwinfo")), command },
           false);
    // Rows: % time, seconds, usecs/call, calls, [errors,] syscall; the last row is the total.
    QString total;
    QList<QPair<QString, qint64> > calls;
    const QRegularExpression number(QStringLiteral("^[0-9.]+$"));
    for (const QByteArray &line : outFile(QStringLiteral("strace-c.txt")).split('\n')) {
        const QStringList fields = QString::fromUtf8(line).simplified().split(QLatin1Char(' '));
        if (fields.size() < 5 || !number.match(fields.first()).hasMatch())
            continue;
        if (fields.last() == QLatin1String("total"))
            total = fields.at(3);
        else
            calls << qMakePair(fields.last(), fields.at(3).toLongLong());
    }
    // Most first; among equals, the order that exchanging the larger forward leaves.
    for (int i = 0; i < calls.size(); ++i) {
        for (int j = i + 1; j < calls.size(); ++j) {
            if (calls.at(j).second > calls.at(i).second)
                calls.swapItemsAt(i, j);
        }
    }
    QStringList most;
    for (int i = 0; i < 5 && i < calls.size(); ++i)
        most << QStringLiteral("%1 %2").arg(calls.at(i).first).arg(calls.at(i).second);
    return QStringLiteral("%1 in total; most: %2").arg(total, most.join(QStringLiteral(", ")));
}

QString BenchmarkRun::rootFileSystem()
{
    const QList<QByteArray> lines = run(QStringLiteral("df"), { QStringLiteral("-PT"), m_root }).split('\n');
    return lines.size() > 1 ? QString::fromUtf8(lines.at(1)).simplified().section(QLatin1Char(' '), 1, 1)
                            : QString();
}
