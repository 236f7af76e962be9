#ifndef QORBENCH_BENCHMARKRUN_H
#define QORBENCH_BENCHMARKRUN_H

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

// Runs the benchmark programs and the measuring tools (callgrind, strace, Google Benchmark) on a simulated
// unit in a sandbox, and takes their figures from what they print. Any command that fails, or prints what
// it should not, ends the run with a std::runtime_error naming it.
class BenchmarkRun
{
public:
    /** Bytes and read calls per store of one discovery, as the kernel saw them. */
    struct StoreReads
    {
        qint64 total = 0;
        int calls = 0;
        qint64 i2c = 0; // from the three EEPROMs
        bool met = true; // each store read in its frame's bytes exactly, in at most two calls
        QString details;
    };

    /** The programs are those beside this one; @p workDir is a new, empty directory. */
    BenchmarkRun(const QString &unitFile, const QString &workDir);

    /** Builds the unit and lets a first discovery write its cache file, which must name @p serial. */
    void prepareUnit(const QString &serial);

    /** qorbench_storeio's figures: figure, value and target, one row each. */
    QList<QStringList> storeLoadRows();

    /** User-space instructions of one whole run of @p command inside the unit. */
    qint64 instructions(const QStringList &command);
    /** Instructions of one call of an operation once it has run: (I(1 + calls) - I(1)) / calls. */
    qint64 steadyInstructions(const QString &operation, int calls, const QString &expected);
    /** Instructions of the first call in a process, where Qt and the loader still do one-time work. */
    qint64 firstCallInstructions(const QString &operation);

    /** Google Benchmark's median wall time per benchmark name (without "BM_"), in whole nanoseconds. */
    QHash<QString, double> wallTimeMedians();

    StoreReads storeReads(const QString &operation);
    /** "N (call, call, ...)": the system calls that one operation makes on the cache file. */
    QString cacheSystemCalls(const QString &operation);
    /** "N in total; most: call N, ...": the system calls of one run of the tool, start-up included. */
    QString toolSystemCalls(const QString &command);

    /** The type of the file system that holds the unit's files. */
    QString rootFileSystem();

    /** The path of a program built beside this one. */
    QString program(const QString &name) const;

private:
    QByteArray run(const QString &program, const QStringList &arguments, bool mustSucceed = true);
    QByteArray inUnit(const QStringList &command, bool mustSucceed = true);
    QByteArray outFile(const QString &name) const;

    QString m_bin;
    QString m_unitFile;
    QString m_root;
    QString m_out;
    QByteArray m_lastStdout;
};

#endif
