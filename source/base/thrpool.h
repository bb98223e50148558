/*
 * thrpool.h - a fixed pool of worker threads that run jobs from a message
 * queue. The caller owns every record: the pool, the array of thread records
 * and the jobs, each beginning with a B_THRPOOL_JOB.
 *
 * Lifetime of a job: a job record must stay alive, and its `rc` may be read,
 * only after b_thrpoolTerm; the worker writes `rc` after the job's function
 * has returned, at a moment no other thread can observe. A job whose owner
 * needs its outcome earlier stores its own result in its record before it
 * signals the owner (an event, a counter), and the owner reads that.
 */
#ifndef THRPOOL_H
#define THRPOOL_H

#include "queue_types.h"

ZEL_EXTERN_C_BEGIN

/* Makes the pool's queue and tries `maxThreads` times to start a worker on
 * the entries of `threads` (an array of `maxThreads` records). Started workers
 * are packed at the front and counted in `numThreads`; a failed start is not
 * reported. `maxThreads` 0 makes a pool without workers, whose jobs wait in
 * the queue and are never run. sOKAY; ePSP_FAILURE when the queue cannot be
 * made (no worker is started then). */
ZEL_NODISCARD ZEL_RETCODE b_thrpoolInit(B_THRPOOL *thrPool, uint32_t maxThreads,
                                        B_THRPOOL_THREAD *threads);
/* Closes the queue, lets the workers run every job still queued, joins them
 * and ends the queue. Null is ignored. */
void b_thrpoolTerm(B_THRPOOL *thrPool);
/* Stores `fcn` in `job` and queues it for the next free worker. sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_thrpoolAddJob(B_THRPOOL *thrPool, B_THRPOOL_FCN fcn,
                                          B_THRPOOL_JOB *job);
/* Copies the job's result into *prc; always sOKAY. It does not wait: read it
 * after b_thrpoolTerm (see the lifetime note above). */
ZEL_NODISCARD ZEL_RETCODE b_thrpoolJobResult(const B_THRPOOL_JOB *job, ZEL_RETCODE *prc);

ZEL_EXTERN_C_END

#endif /* THRPOOL_H */
