// Dates and timestamps against the standard library: day number to calendar
// fields and back (peer: C++20 <chrono> year_month_day from sys_days and
// back), and timestamp text out and in (peer: gmtime_r + strftime, strptime +
// sys_days). The same 4096 random instants of years 1970-2100 feed both.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "datetime.h"

namespace {

namespace chr = std::chrono;

constexpr size_t kCount = 4096;
constexpr uint32_t kFirst = 719163;  // 1970-01-01
constexpr uint32_t kLast = 767010;   // 2100-12-31

struct Data {
    std::vector<ZEL_PACKED_TIMESTAMP_T> ts;
    std::vector<ZEL_DATE_T> fields;
    std::vector<chr::year_month_day> ymd;
    std::vector<std::string> text;  // "YYYY-MM-DD HH:MM:SS"
    Data() {
        std::mt19937 rng(7);
        std::uniform_int_distribution<uint32_t> day(kFirst, kLast), sec(0, 86399);
        for (size_t i = 0; i < kCount; i++) {
            ZEL_PACKED_TIMESTAMP_T t{day(rng), sec(rng) * 10000u};
            ts.push_back(t);
            ZEL_DATE_T f;
            (void)zel_dateUnpack(t.date, &f);
            fields.push_back(f);
            ymd.push_back(chr::year_month_day{chr::sys_days{chr::days{t.date - kFirst}}});
            char buf[64];
            (void)zel_timestampToString(t, ZEL_YYYYMMDD, '-', ZEL_HHMMSS, buf, sizeof buf, nullptr);
            text.push_back(buf);
            // Both sides must agree, or the comparison means nothing.
            const auto &y = ymd.back();
            const time_t secs = static_cast<time_t>(t.date - kFirst) * 86400 + t.time / 10000;
            struct tm tmv;
            gmtime_r(&secs, &tmv);
            char peer[64];
            strftime(peer, sizeof peer, "%Y-%m-%d %H:%M:%S", &tmv);
            if (static_cast<int>(y.year()) != f.year ||
                static_cast<unsigned>(y.month()) != f.month ||
                static_cast<unsigned>(y.day()) != f.day || text.back() != peer) {
                std::abort();
            }
        }
    }
};

const Data &data() {
    static const Data d;
    return d;
}

void BM_DayToFields_Zel(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    for (auto _ : state) {
        ZEL_DATE_T f;
        (void)zel_dateUnpack(d.ts[i++ & (kCount - 1)].date, &f);
        benchmark::DoNotOptimize(f);
    }
}
BENCHMARK(BM_DayToFields_Zel);

void BM_DayToFields_Chrono(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    for (auto _ : state) {
        chr::year_month_day ymd{chr::sys_days{chr::days{d.ts[i++ & (kCount - 1)].date - kFirst}}};
        benchmark::DoNotOptimize(ymd);
    }
}
BENCHMARK(BM_DayToFields_Chrono);

void BM_FieldsToDay_Zel(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    for (auto _ : state) {
        ZEL_PACKED_DATE_T n;
        (void)zel_datePack(&d.fields[i++ & (kCount - 1)], &n);
        benchmark::DoNotOptimize(n);
    }
}
BENCHMARK(BM_FieldsToDay_Zel);

void BM_FieldsToDay_Chrono(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    for (auto _ : state) {
        const auto &ymd = d.ymd[i++ & (kCount - 1)];
        // Like the packer, refuse fields out of range before converting.
        uint32_t n =
            ymd.ok() ? static_cast<uint32_t>(chr::sys_days{ymd}.time_since_epoch().count() + kFirst)
                     : 0;
        benchmark::DoNotOptimize(n);
    }
}
BENCHMARK(BM_FieldsToDay_Chrono);

void BM_TimestampToText_Zel(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    char buf[64];
    for (auto _ : state) {
        size_t n;
        (void)zel_timestampToString(d.ts[i++ & (kCount - 1)], ZEL_YYYYMMDD, '-', ZEL_HHMMSS, buf,
                                    sizeof buf, &n);
        benchmark::DoNotOptimize(buf);
    }
}
BENCHMARK(BM_TimestampToText_Zel);

void BM_TimestampToText_Strftime(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    char buf[64];
    for (auto _ : state) {
        const ZEL_PACKED_TIMESTAMP_T &t = d.ts[i++ & (kCount - 1)];
        const time_t secs = static_cast<time_t>(t.date - kFirst) * 86400 + t.time / 10000;
        struct tm tmv;
        gmtime_r(&secs, &tmv);
        benchmark::DoNotOptimize(strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tmv));
    }
}
BENCHMARK(BM_TimestampToText_Strftime);

void BM_TextToTimestamp_Zel(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    for (auto _ : state) {
        ZEL_PACKED_TIMESTAMP_T t;
        (void)zel_timestampFromString(d.text[i++ & (kCount - 1)].c_str(), ZEL_YYYYMMDD, &t);
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(BM_TextToTimestamp_Zel);

void BM_TextToTimestamp_Strptime(benchmark::State &state) {
    const auto &d = data();
    size_t i = 0;
    for (auto _ : state) {
        struct tm tmv;
        std::memset(&tmv, 0, sizeof tmv);
        strptime(d.text[i++ & (kCount - 1)].c_str(), "%Y-%m-%d %H:%M:%S", &tmv);
        // To the same packed pair: day number and time units.
        const chr::year_month_day ymd{chr::year{tmv.tm_year + 1900},
                                      chr::month{static_cast<unsigned>(tmv.tm_mon + 1)},
                                      chr::day{static_cast<unsigned>(tmv.tm_mday)}};
        ZEL_PACKED_TIMESTAMP_T t{
            static_cast<uint32_t>(chr::sys_days{ymd}.time_since_epoch().count() + kFirst),
            static_cast<uint32_t>((tmv.tm_hour * 3600 + tmv.tm_min * 60 + tmv.tm_sec) * 10000)};
        benchmark::DoNotOptimize(t);
    }
}
BENCHMARK(BM_TextToTimestamp_Strptime);

}  // namespace

BENCHMARK_MAIN();
