// What `zelbase demo` shows of the message queue and the thread pool: three
// messages written, the queue closed, a fourth still taken, all four drained
// in order and then the closed report; a pool of two workers summing 100 jobs.
#include <cinttypes>

#include "error.h"
#include "queue.h"
#include "thrpool.h"
#include "zelbase_cmds.h"

int zb_demo_queue(FILE *out);

namespace {

struct ZbDemoMsg {
    B_QUEMSG link;
    const char *text;
};

struct ZbDemoJob {
    B_THRPOOL_JOB job;
    uint64_t number;
    uint64_t square;
};

ZEL_RETCODE zb_demo_queue_square(B_THRPOOL_JOB *j) {
    auto *job = reinterpret_cast<ZbDemoJob *>(j);
    job->square = job->number * job->number;
    return sOKAY;
}

const char *zb_demo_queue_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

}  // namespace

int zb_demo_queue(FILE *out) {
    B_QUEUE q;
    if (b_queueInit(&q) != sOKAY) return 1;
    ZbDemoMsg msgs[] = {{{}, "insert"}, {{}, "update"}, {{}, "delete"}, {{}, "commit"}};
    for (int i = 0; i < 3; ++i) (void)b_queueWrite(&q, &msgs[i].link);
    std::fprintf(out, "queue: 3 messages written, count %" PRId32 "\n", b_queueCount(&q));
    B_QUEMSG *m = nullptr;
    b_queueClose(&q);
    (void)b_queueWrite(&q, &msgs[3].link);
    std::fprintf(out, "closed; a fourth is still taken, count %" PRId32 "\n", b_queueCount(&q));
    std::fprintf(out, "drained with timeout 0:");
    ZEL_RETCODE rc;
    while ((rc = b_queueRead(&q, &m, 0)) == sOKAY)
        std::fprintf(out, " %s", reinterpret_cast<ZbDemoMsg *>(m)->text);
    std::fprintf(out, "\n  then %s\n", zb_demo_queue_code(rc));
    b_queueTerm(&q);

    B_QUEUE open;
    if (b_queueInit(&open) != sOKAY) return 1;
    std::fprintf(out, "an empty open queue: timeout 0 gives %s, 20 ms gives %s\n",
                 zb_demo_queue_code(b_queueRead(&open, &m, 0)),
                 zb_demo_queue_code(b_queueRead(&open, &m, 20)));
    b_queueTerm(&open);

    B_THRPOOL pool;
    B_THRPOOL_THREAD threads[2];
    if (b_thrpoolInit(&pool, 2, threads) != sOKAY) return 1;
    ZbDemoJob jobs[100];
    for (uint64_t i = 0; i < 100; ++i) {
        jobs[i].number = i + 1;
        if (b_thrpoolAddJob(&pool, zb_demo_queue_square, &jobs[i].job) != sOKAY) return 1;
    }
    b_thrpoolTerm(&pool);
    uint64_t sum = 0;
    int okay = 0;
    for (const ZbDemoJob &j : jobs) {
        ZEL_RETCODE jrc = eFAIL;
        (void)b_thrpoolJobResult(&j.job, &jrc);
        okay += jrc == sOKAY;
        sum += j.square;
    }
    std::fprintf(out,
                 "pool of %" PRIu32
                 " workers: 100 jobs square 1..100, %d returned sOKAY,\n"
                 "  sum %" PRIu64 " (100*101*201/6 = 338350)\n",
                 pool.numThreads, okay, sum);
    return sum == 338350 && okay == 100 ? 0 : 1;
}
