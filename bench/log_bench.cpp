// The log: a call that its category filters out, and a line written to the
// log file with its UTC stamp against what one writes with glibc instead
// (clock_gettime, gmtime_r, strftime and fprintf of the same line). Both go
// to /dev/null, so the figures are formatting and stamping, not the disk.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>

#include "log.h"

namespace {

void BM_LogFiltered(benchmark::State &state) {
    B_LOG_T log;
    if (b_logInit(&log, B_LOG_LEVEL_ALL, B_LOG_LEVEL_ALL, nullptr, ZEL_FALSE) != sOKAY)
        state.SkipWithError("init");
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_NONE, "row %d done", i++));
    }
    b_logTerm(&log);
}
BENCHMARK(BM_LogFiltered);

void BM_LogLine_Log(benchmark::State &state) {
    B_LOG_T log;
    if (b_logInit(&log, B_LOG_LEVEL_NONE, B_LOG_LEVEL_ALL, "/dev/null", ZEL_FALSE) != sOKAY)
        state.SkipWithError("init");
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_DDL, "row %d done", i++));
    }
    b_logTerm(&log);
}
BENCHMARK(BM_LogLine_Log);

void BM_LogLine_Glibc(benchmark::State &state) {
    FILE *f = std::fopen("/dev/null", "ab");
    int i = 0;
    for (auto _ : state) {
        timespec ts;
        clock_gettime(CLOCK_REALTIME, &ts);
        struct tm tm;
        gmtime_r(&ts.tv_sec, &tm);
        char stamp[32];
        std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &tm);
        benchmark::DoNotOptimize(
            std::fprintf(f, "[%s.%04ld] row %d done\n", stamp, ts.tv_nsec / 100000, i++));
    }
    std::fclose(f);
}
BENCHMARK(BM_LogLine_Glibc);

}  // namespace

BENCHMARK_MAIN();
