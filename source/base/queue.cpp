/*
 * queue.cpp - the intrusive message queue between threads.
 *
 * The one idea: a reader that finds nothing arms the event while it still
 * holds the list's lock (exclMutex), and every write and the close change
 * the list or the status, and look whether a reader is armed, under that same
 * lock. So between the reader's last look and its sleep nothing can slip by
 * unseen: whatever comes after the look finds the event armed and resumes
 * it. The reader keeps mtMutex over the whole wait, so the event has a single
 * waiter, and writers, which take only exclMutex, never wait for a sleeper.
 *
 * `armed` lets a writer skip the resume when no reader sleeps, the common
 * case of a busy queue; a stale mark left by a timed-out reader costs one
 * needless resume, and a wake that finds nothing goes back to waiting. A
 * writer resumes after letting go of exclMutex, so that the reader it wakes
 * does not run into the held lock and sleep again; `resuming` counts such
 * resumes in flight, and b_queueTerm waits for them.
 */
#include "queue.h"

#include "psp.h"

namespace {

// `count` and `status` are read without a lock (b_queueCount, callers
// polling): their stores are atomic so that such a read sees a whole value.
inline void b_queueStore(int32_t *field, int32_t value) {
    __atomic_store_n(field, value, __ATOMIC_RELAXED);
}

// Test builds give up the processor between a reader's last look at the
// queue and its arming of the event, which widens the window in which a
// close or a write could be lost if either were not done under exclMutex.
inline void b_queueTestYield() {
#ifndef NDEBUG
    psp_threadYield();
#endif
}

// Lets go of both locks of a reader and hands back `rc`.
inline ZEL_RETCODE b_queueLeave(B_QUEUE *queue, ZEL_RETCODE rc) {
    psp_threadMutexExit(&queue->exclMutex);
    psp_threadMutexExit(&queue->mtMutex);
    return rc;
}

// Under both locks with a message queued: unlinks the oldest.
ZEL_RETCODE b_queueFetch(B_QUEUE *queue, B_QUEMSG **pMsg) {
    B_QUEMSG *msg = queue->head;
    queue->head = msg->next;
    if (queue->head == nullptr) queue->tail = nullptr;
    b_queueStore(&queue->count, queue->count - 1);
    (void)b_queueLeave(queue, sOKAY);
    msg->next = nullptr;
    *pMsg = msg;
    return sOKAY;
}

constexpr uint64_t kNanosPerMilli = 1000000;

}  // namespace

ZEL_RETCODE b_queueInit(B_QUEUE *queue) {
    if (psp_threadEventInit(&queue->entryEvent) != sOKAY) return ePSP_FAILURE;
    if (psp_threadMutexInit(&queue->mtMutex) != sOKAY) {
        psp_threadEventTerm(&queue->entryEvent);
        return ePSP_FAILURE;
    }
    if (psp_threadMutexInit(&queue->exclMutex) != sOKAY) {
        psp_threadMutexTerm(&queue->mtMutex);
        psp_threadEventTerm(&queue->entryEvent);
        return ePSP_FAILURE;
    }
    queue->head = nullptr;
    queue->tail = nullptr;
    queue->count = 0;
    queue->status = B_QUEUE_OPEN;
    queue->armed = 0;
    queue->resuming = 0;
    return sOKAY;
}

void b_queueTerm(B_QUEUE *queue) {
    // A writer may still be inside the resume of a reader that has gone on.
    while (__atomic_load_n(&queue->resuming, __ATOMIC_ACQUIRE) != 0) psp_threadYield();
    psp_threadMutexTerm(&queue->exclMutex);
    psp_threadMutexTerm(&queue->mtMutex);
    psp_threadEventTerm(&queue->entryEvent);
}

ZEL_RETCODE b_queueWrite(B_QUEUE *queue, B_QUEMSG *msg) {
    msg->next = nullptr;
    psp_threadMutexEnter(&queue->exclMutex);
    if (queue->tail != nullptr) {
        queue->tail->next = msg;
    } else {
        queue->head = msg;
    }
    queue->tail = msg;
    b_queueStore(&queue->count, queue->count + 1);
    const bool wake = queue->armed != 0;
    if (wake) {
        queue->armed = 0;
        __atomic_fetch_add(&queue->resuming, 1, __ATOMIC_RELAXED);
    }
    psp_threadMutexExit(&queue->exclMutex);
    if (wake) {
        psp_threadEventResume(&queue->entryEvent);
        __atomic_fetch_sub(&queue->resuming, 1, __ATOMIC_RELEASE);
    }
    return sOKAY;
}

ZEL_RETCODE b_queueRead(B_QUEUE *queue, B_QUEMSG **pMsg, uint32_t timeout) {
    psp_threadMutexEnter(&queue->mtMutex);
    psp_threadMutexEnter(&queue->exclMutex);
    if (queue->head != nullptr) return b_queueFetch(queue, pMsg);
    if (queue->status == B_QUEUE_CLOSED) return b_queueLeave(queue, sBASE_QUEUE_CLOSED);
    if (timeout == 0) return b_queueLeave(queue, sBASE_QUEUE_EMPTY);

    const bool timed = timeout != PSP_WAIT_FOREVER;
    const uint64_t start = timed ? psp_timeMeasureNanoSecs() : 0;
    uint32_t wait = timeout;
    for (;;) {
        b_queueTestYield();
        psp_threadEventStart(&queue->entryEvent);
        queue->armed = 1;
        psp_threadMutexExit(&queue->exclMutex);

        const ZEL_RETCODE rc = psp_threadEventWait(&queue->entryEvent, wait);
        if (rc != sOKAY) {
            psp_threadMutexExit(&queue->mtMutex);
            return rc;
        }

        psp_threadMutexEnter(&queue->exclMutex);
        if (queue->head != nullptr) return b_queueFetch(queue, pMsg);
        if (queue->status == B_QUEUE_CLOSED) return b_queueLeave(queue, sBASE_QUEUE_CLOSED);
        // Woken with nothing to read (a stale resume): wait again, a timed
        // read only for what is left of its time.
        if (timed) {
            const uint64_t spent = (psp_timeMeasureNanoSecs() - start) / kNanosPerMilli;
            if (spent >= timeout) return b_queueLeave(queue, sTIMEOUT);
            wait = timeout - uint32_t(spent);
        }
    }
}

void b_queueClose(B_QUEUE *queue) {
    // Under exclMutex: a reader between its last look and its arming would
    // otherwise clear this resume and sleep for ever.
    psp_threadMutexEnter(&queue->exclMutex);
    b_queueStore(&queue->status, B_QUEUE_CLOSED);
    if (queue->armed != 0) {
        queue->armed = 0;
        psp_threadEventResume(&queue->entryEvent);
    }
    psp_threadMutexExit(&queue->exclMutex);
}

int32_t b_queueCount(const B_QUEUE *queue) {
    return __atomic_load_n(&queue->count, __ATOMIC_RELAXED);
}
