// Tests of the thread pool that start no worker: the null term, a pool
// without threads and the result copy. Pools with workers are tested in
// queue_threads_test.cpp.
#include <gtest/gtest.h>

#include "queue.h"
#include "thrpool.h"

namespace {

ZEL_RETCODE failJob(B_THRPOOL_JOB *) {
    return eFAIL;
}

TEST(ThreadPool, WithoutThreadsJobsWaitAndAreNeverRun) {
    b_thrpoolTerm(nullptr);  // ignored
    B_THRPOOL pool;
    ASSERT_EQ(b_thrpoolInit(&pool, 0, nullptr), sOKAY);
    EXPECT_EQ(pool.numThreads, 0u);
    EXPECT_EQ(pool.maxThreads, 0u);
    B_THRPOOL_JOB jobs[3];
    for (B_THRPOOL_JOB &j : jobs) {
        j.rc = sNOTFOUND;
        ASSERT_EQ(b_thrpoolAddJob(&pool, failJob, &j), sOKAY);
        EXPECT_EQ(j.fcn, failJob);
    }
    EXPECT_EQ(b_queueCount(&pool.queue), 3);
    b_thrpoolTerm(&pool);
    for (const B_THRPOOL_JOB &j : jobs) EXPECT_EQ(j.rc, sNOTFOUND);
}

TEST(ThreadPool, JobResultCopiesTheCode) {
    B_THRPOOL_JOB job{};
    const ZEL_RETCODE codes[] = {sOKAY, sTIMEOUT, eNOMEMORY};
    for (ZEL_RETCODE c : codes) {
        job.rc = c;
        ZEL_RETCODE got = eFAIL;
        EXPECT_EQ(b_thrpoolJobResult(&job, &got), sOKAY);
        EXPECT_EQ(got, c);
    }
}

}  // namespace
