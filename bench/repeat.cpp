// Runs one operation a given number of times and nothing else, for instruction counting under
// callgrind: the difference between two runs with different counts is the cost of the extra calls,
// free of process start-up and of one-time initialisation.
//
//   qorbench_repeat quick|posix|posix-check|posix-decode|discover|discover-nocache|construct COUNT
//
// Prints the last call's result, so that a run on the wrong unit is noticed.

#include "benchoperations.h"

#include <qorhwinfo/hwinfohelper.h>

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

namespace {

QString discoverRepeatedly(int count, bool withoutCache)
{
    hmi::HwInfoHelper helper;
    for (int i = 0; i < count; ++i) {
        if (withoutCache)
            BenchOperations::removeCache();
        helper.discover();
    }
    return count > 0 ? helper.unitSerial() : QString();
}

QString constructRepeatedly(int count)
{
    QString fpgaUid;
    for (int i = 0; i < count; ++i)
        fpgaUid = hmi::HwInfoHelper().fpgaUid();
    return fpgaUid;
}

template<typename Operation> QString callRepeatedly(int count, Operation operation)
{
    QString result;
    for (int i = 0; i < count; ++i)
        result = operation();
    return result;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    BenchOperations::silenceLog();
    const QStringList args = app.arguments();
    bool countOk = false;
    const int count = args.size() == 3 ? args.at(2).toInt(&countOk) : 0;
    if (!countOk || count < 0) {
        std::fprintf(stderr,
                     "usage: qorbench_repeat "
                     "quick|posix|posix-check|posix-decode|discover|discover-nocache|construct COUNT\n");
        return 2;
    }

    const QString mode = args.at(1);
    QString result;
    if (mode == QLatin1String("quick"))
        result = callRepeatedly(count, BenchOperations::librarySerial);
    else if (mode == QLatin1String("posix"))
        result = callRepeatedly(count, [] { return QString::number(BenchOperations::posixRead()); });
    else if (mode == QLatin1String("posix-check"))
        result = callRepeatedly(count, [] { return QString::number(BenchOperations::posixReadChecked()); });
    else if (mode == QLatin1String("posix-decode"))
        result = callRepeatedly(count, BenchOperations::posixReadDecoded);
    else if (mode == QLatin1String("discover"))
        result = discoverRepeatedly(count, false);
    else if (mode == QLatin1String("discover-nocache"))
        result = discoverRepeatedly(count, true);
    else if (mode == QLatin1String("construct"))
        result = constructRepeatedly(count);
    else {
        std::fprintf(stderr, "qorbench_repeat: unknown operation %s\n", qPrintable(mode));
        return 2;
    }

    QTextStream(stdout) << result << '\n';
    return 0;
}
