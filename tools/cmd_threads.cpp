// `zelbase threads [--threads N] [--jobs M] [--work-us U] [--close-early]`
// runs M jobs on a pool of N workers, each job spinning for U microseconds
// and squaring its number, and prints how many jobs each worker ran, the
// wall time and the results. --close-early closes the pool's queue after half
// the jobs are written: the rest are still taken and every job runs.
#include <atomic>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "error.h"
#include "queue.h"
#include "thrpool.h"
#include "zelbase_cmds.h"

int zb_cmd_threads(int argc, char **argv);

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kMaxThreads = 256;

struct ZbThreadsJob {
    B_THRPOOL_JOB job;
    uint64_t number;
    uint32_t workUs;
    uint64_t square;
    uint32_t worker;
    std::atomic<uint32_t> *nextWorker;
};

// Workers are numbered in the order in which they run their first job.
thread_local uint32_t tl_worker = UINT32_MAX;

ZEL_RETCODE zb_threads_job(B_THRPOOL_JOB *j) {
    auto *job = reinterpret_cast<ZbThreadsJob *>(j);
    if (tl_worker == UINT32_MAX) tl_worker = job->nextWorker->fetch_add(1);
    job->worker = tl_worker;
    const auto until = Clock::now() + std::chrono::microseconds(job->workUs);
    while (job->workUs != 0 && Clock::now() < until) {
    }
    job->square = job->number * job->number;
    return sOKAY;
}

bool zb_threads_number(const char *text, uint64_t max, uint64_t *value) {
    if (text == nullptr || text[0] < '0' || text[0] > '9') return false;
    char *end = nullptr;
    const unsigned long long v = std::strtoull(text, &end, 10);
    if (*end != '\0' || v > max) return false;
    *value = v;
    return true;
}

const char *zb_threads_codeName(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

}  // namespace

int zb_cmd_threads(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"t", "threads", "i:N", "Workers of the pool (default 2, at most 256)"},
        {"j", "jobs", "i:M", "Jobs (default 1000, at most 100000000)"},
        {"w", "work-us", "i:U", "Microseconds of work per job (default 10, at most 1000000)"},
        {"c", "close-early", nullptr,
         "Close the queue after half the jobs: the rest are still taken and run"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Runs M jobs on a pool of N workers, each job spinning for U "
                              "microseconds and\nsquaring its number, and prints how many jobs "
                              "each worker ran, the wall time\nand the results.",
                              opts);
        code != kZbGoOn)
        return code;
    uint64_t threads = 2, jobs = 1000, workUs = 10;
    bool closeEarly = false;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        bool ok = true;
        if (opt == "close-early")
            closeEarly = true;
        else if (opt == "threads")
            ok = zb_threads_number(arg, kMaxThreads, &threads);
        else if (opt == "jobs")
            ok = zb_threads_number(arg, 100000000, &jobs);
        else
            ok = zb_threads_number(arg, 1000000, &workUs);
        if (!ok) return zb_usageError("Out of range for --%s: %s", name, arg);
    }

    std::atomic<uint32_t> nextWorker{0};
    std::vector<ZbThreadsJob> records(jobs);
    std::vector<B_THRPOOL_THREAD> threadRecords(threads);
    B_THRPOOL pool;
    const auto t0 = Clock::now();
    if (b_thrpoolInit(&pool, uint32_t(threads), threadRecords.data()) != sOKAY) {
        std::fprintf(stderr, "zelbase threads: the pool's queue could not be made\n");
        return 1;
    }
    std::printf("pool: %" PRIu32 " of %" PRIu32 " workers started; %" PRIu64 " jobs of %" PRIu64
                " us work\n",
                pool.numThreads, pool.maxThreads, jobs, workUs);
    if (pool.numThreads == 0 && jobs != 0)
        std::printf("  a pool without workers: the jobs stay queued and are never run\n");
    for (uint64_t i = 0; i < jobs; ++i) {
        if (closeEarly && i == jobs / 2) {
            b_queueClose(&pool.queue);
            std::printf("queue closed after %" PRIu64 " jobs; the rest are still taken\n", i);
        }
        ZbThreadsJob &r = records[i];
        r.number = i + 1;
        r.workUs = uint32_t(workUs);
        r.square = 0;
        r.worker = UINT32_MAX;
        r.nextWorker = &nextWorker;
        r.job.rc = eFAIL;
        if (b_thrpoolAddJob(&pool, zb_threads_job, &r.job) != sOKAY) return 1;
    }
    b_thrpoolTerm(&pool);
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - t0).count();

    std::vector<uint64_t> perWorker(threads + 1, 0);
    uint64_t okay = 0, other = 0, sum = 0;
    for (const ZbThreadsJob &r : records) {
        ZEL_RETCODE rc = eFAIL;
        (void)b_thrpoolJobResult(&r.job, &rc);
        if (rc == sOKAY) {
            ++okay;
            ++perWorker[r.worker < threads ? r.worker : threads];
        } else {
            ++other;
        }
        sum += r.square;
    }
    // 1^2 + ... + M^2; both sides wrap alike modulo 2^64 for large M.
    const unsigned __int128 m = jobs;
    const uint64_t expected = uint64_t(m * (m + 1) * (2 * m + 1) / 6);
    for (uint64_t w = 0; w < threads; ++w)
        std::printf("worker %-3" PRIu64 " ran %" PRIu64 " jobs\n", w, perWorker[w]);
    std::printf("wall time: %.3f ms (start, queue, drain and join)\n", ms);
    std::printf("results: %" PRIu64 " %s, %" PRIu64 " not run; sum of squares %" PRIu64
                " (expected %" PRIu64 ")\n",
                okay, zb_threads_codeName(sOKAY), other, sum, pool.numThreads ? expected : 0);
    return (pool.numThreads == 0 || okay == jobs) ? 0 : 1;
}
