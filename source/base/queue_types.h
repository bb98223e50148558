/*
 * queue_types.h - the records of the message queue and the thread pool. All
 * storage is the caller's: a message is a record that begins with a
 * B_QUEMSG, a job one that begins with a B_THRPOOL_JOB, and the pool's thread
 * records are an array that the caller hands over.
 */
#ifndef QUEUE_TYPES_H
#define QUEUE_TYPES_H

#include <stdint.h>

#include "psptypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* The link at the front of every message. */
typedef struct B_QUEMSG_S {
    struct B_QUEMSG_S *next;
} B_QUEMSG;

typedef enum B_QUEUE_STATUS_E { B_QUEUE_OPEN = 0, B_QUEUE_CLOSED = 1 } B_QUEUE_STATUS;

/* The fields stay plain int32_t so that C callers can embed the record;
 * those read without a lock (`count`, `status`, `resuming`) go through the
 * compiler's atomic builtins. */
typedef struct B_QUEUE_S {
    B_QUEMSG *head; /* oldest first */
    B_QUEMSG *tail;
    PSP_THREAD_EVENT_T entryEvent; /* wakes the reader */
    PSP_THREAD_MUTEX_T mtMutex;    /* one reader at a time in b_queueRead */
    PSP_THREAD_MUTEX_T exclMutex;  /* guards the list, `status` changes and `armed` */
    int32_t count;                 /* messages in the list */
    int32_t status;                /* a B_QUEUE_STATUS */
    int32_t armed;                 /* a reader has armed entryEvent and waits */
    int32_t resuming;              /* writers between exclMutex and their resume */
} B_QUEUE;

typedef struct B_THRPOOL_S B_THRPOOL;

/* One worker of a pool: an entry of the caller's array. */
typedef struct B_THRPOOL_THREAD_S {
    B_THRPOOL *thrPool;
    psp_thread_t thread;
} B_THRPOOL_THREAD;

struct B_THRPOOL_JOB_S;
/* Runs a job on a worker; the result lands in the job's `rc`. */
typedef ZEL_RETCODE (*B_THRPOOL_FCN)(struct B_THRPOOL_JOB_S *job);

/* The link at the front of every job. */
typedef struct B_THRPOOL_JOB_S {
    B_QUEMSG queMsg;
    B_THRPOOL_FCN fcn;
    ZEL_RETCODE rc; /* written by the worker after `fcn` returns */
} B_THRPOOL_JOB;

struct B_THRPOOL_S {
    uint32_t numThreads; /* started workers, packed at the front of `threads` */
    uint32_t maxThreads;
    B_QUEUE queue;
    B_THRPOOL_THREAD *threads;
};

ZEL_EXTERN_C_END

#endif /* QUEUE_TYPES_H */
