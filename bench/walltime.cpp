// Wall time per call of the quick read, its POSIX baselines, helper construction and discovery, on the
// simulated unit that the sandbox mounts at the real paths. The stores are plain files there, so these
// times hold the library's own work and system calls, not the i2c bus (see qorbench_storeio for that).

#include "benchoperations.h"

#include <qorhwinfo/hwinfohelper.h>

#include <benchmark/benchmark.h>

namespace {

const QString referenceSerial = QStringLiteral("I123456");

void BM_QuickNonValidatedSerial(benchmark::State &state)
{
    if (!BenchOperations::ensureCacheWritten())
        state.SkipWithError("no serials cache file");
    for (auto _ : state) {
        const QString serial = BenchOperations::librarySerial();
        if (serial != referenceSerial)
            state.SkipWithError("unexpected serial");
        benchmark::DoNotOptimize(serial);
    }
}
BENCHMARK(BM_QuickNonValidatedSerial);

void BM_PosixRead(benchmark::State &state)
{
    if (!BenchOperations::ensureCacheWritten())
        state.SkipWithError("no serials cache file");
    for (auto _ : state) {
        const int size = BenchOperations::posixRead();
        if (size <= 0)
            state.SkipWithError("cache file not read");
        benchmark::DoNotOptimize(size);
    }
}
BENCHMARK(BM_PosixRead);

void BM_PosixReadChecked(benchmark::State &state)
{
    if (!BenchOperations::ensureCacheWritten())
        state.SkipWithError("no serials cache file");
    for (auto _ : state) {
        const int size = BenchOperations::posixReadChecked();
        if (size <= 0)
            state.SkipWithError("cache file rejected");
        benchmark::DoNotOptimize(size);
    }
}
BENCHMARK(BM_PosixReadChecked);

void BM_PosixReadDecoded(benchmark::State &state)
{
    if (!BenchOperations::ensureCacheWritten())
        state.SkipWithError("no serials cache file");
    for (auto _ : state) {
        const QString serial = BenchOperations::posixReadDecoded();
        if (serial != referenceSerial)
            state.SkipWithError("unexpected serial");
        benchmark::DoNotOptimize(serial);
    }
}
BENCHMARK(BM_PosixReadDecoded);

void BM_HelperConstruction(benchmark::State &state)
{
    for (auto _ : state) {
        hmi::HwInfoHelper helper;
        benchmark::DoNotOptimize(&helper);
    }
}
BENCHMARK(BM_HelperConstruction);

void BM_DiscoverCachePresent(benchmark::State &state)
{
    if (!BenchOperations::ensureCacheWritten())
        state.SkipWithError("no serials cache file");
    hmi::HwInfoHelper helper;
    for (auto _ : state) {
        helper.discover();
        if (helper.unitSerial() != referenceSerial)
            state.SkipWithError("unexpected serial");
    }
}
BENCHMARK(BM_DiscoverCachePresent);

// Each call writes and syncs the cache file, so its time depends on the file system under the sandbox.
void BM_DiscoverCacheAbsent(benchmark::State &state)
{
    hmi::HwInfoHelper helper;
    for (auto _ : state) {
        state.PauseTiming();
        BenchOperations::removeCache();
        state.ResumeTiming();
        helper.discover();
        if (helper.unitSerial() != referenceSerial)
            state.SkipWithError("unexpected serial");
    }
}
BENCHMARK(BM_DiscoverCacheAbsent);

} // namespace

int main(int argc, char *argv[])
{
    BenchOperations::silenceLog();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
