/*
 * thrpool.cpp - a fixed pool of workers over one message queue.
 *
 * The queue is the whole protocol: a job is a message, the workers read
 * without a timeout, and closing the queue is the order to stop. Because a
 * closed queue is drained before it reports closed, b_thrpoolTerm runs every
 * job still queued before the joins return.
 */
#include "thrpool.h"

#include "psp.h"
#include "queue.h"

namespace {

ZEL_RETCODE b_thrpoolWorker(void *arg) {
    B_QUEUE *queue = &static_cast<B_THRPOOL_THREAD *>(arg)->thrPool->queue;
    for (;;) {
        B_QUEMSG *msg = nullptr;
        // Anything but a message ends the worker: closed, or a wait that
        // cannot be done.
        if (b_queueRead(queue, &msg, PSP_WAIT_FOREVER) != sOKAY || msg == nullptr) break;
        // B_THRPOOL_JOB begins with its B_QUEMSG.
        auto *job = reinterpret_cast<B_THRPOOL_JOB *>(msg);
        const ZEL_RETCODE rc = job->fcn(job);
        job->rc = rc;
    }
    return sOKAY;
}

}  // namespace

ZEL_RETCODE b_thrpoolInit(B_THRPOOL *thrPool, uint32_t maxThreads, B_THRPOOL_THREAD *threads) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_queueInit(&thrPool->queue));
    thrPool->numThreads = 0;
    thrPool->maxThreads = maxThreads;
    thrPool->threads = threads;
    // Exactly maxThreads attempts; each goes to the first free entry, so the
    // started workers stay packed at the front of the caller's array.
    for (uint32_t attempt = 0; attempt < maxThreads; ++attempt) {
        B_THRPOOL_THREAD *entry = &threads[thrPool->numThreads];
        entry->thrPool = thrPool;
        if (psp_threadBegin(&entry->thread, b_thrpoolWorker, 0, entry, 0, "thread pool") == sOKAY)
            ++thrPool->numThreads;
    }
    return sOKAY;
}

void b_thrpoolTerm(B_THRPOOL *thrPool) {
    if (thrPool == nullptr) return;
    b_queueClose(&thrPool->queue);
    for (uint32_t i = 0; i < thrPool->numThreads; ++i)
        (void)psp_threadJoin(&thrPool->threads[i].thread);
    b_queueTerm(&thrPool->queue);
}

ZEL_RETCODE b_thrpoolAddJob(B_THRPOOL *thrPool, B_THRPOOL_FCN fcn, B_THRPOOL_JOB *job) {
    job->fcn = fcn;
    return b_queueWrite(&thrPool->queue, &job->queMsg);
}

ZEL_RETCODE b_thrpoolJobResult(const B_THRPOOL_JOB *job, ZEL_RETCODE *prc) {
    *prc = job->rc;
    return sOKAY;
}
