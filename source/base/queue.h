/*
 * queue.h - an intrusive first-in first-out queue between threads. Writers
 * never wait for a reader; readers go one at a time and may sleep until a
 * message arrives, the queue is closed or their timeout runs out. Nothing is
 * allocated: messages are the caller's records, each beginning with a
 * B_QUEMSG, and stay the caller's while queued.
 *
 * Lock order: mtMutex (readers only), then exclMutex.
 */
#ifndef QUEUE_H
#define QUEUE_H

#include "queue_types.h"

ZEL_EXTERN_C_BEGIN

/* Makes the event and both mutexes of an empty open queue. ePSP_FAILURE when
 * one cannot be made; what was made is undone. */
ZEL_NODISCARD ZEL_RETCODE b_queueInit(B_QUEUE *queue);
/* Ends the event and the mutexes. Messages still queued are not visited; no
 * thread may be inside another b_queue call. */
void b_queueTerm(B_QUEUE *queue);
/* Appends `msg` (its link is overwritten) and wakes a sleeping reader. A
 * closed queue still takes messages. Always sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_queueWrite(B_QUEUE *queue, B_QUEMSG *msg);
/* Takes the oldest message into *pMsg. Waits up to `timeout` milliseconds
 * for one (PSP_WAIT_FOREVER: without end; 0: not at all) while other readers
 * wait behind this one. A closed queue is drained first.
 * sOKAY with *pMsg; sBASE_QUEUE_CLOSED once the queue is closed and empty;
 * sBASE_QUEUE_EMPTY for timeout 0 on an empty open queue; sTIMEOUT when the
 * time ran out; ePSP_DEADLOCK when the wait cannot be done. *pMsg is written
 * only with sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_queueRead(B_QUEUE *queue, B_QUEMSG **pMsg, uint32_t timeout);
/* Marks the queue closed and wakes a sleeping reader. Writes go on being
 * taken; readers drain what is queued, then get sBASE_QUEUE_CLOSED. */
void b_queueClose(B_QUEUE *queue);
/* The messages queued, read without a lock: a snapshot. */
int32_t b_queueCount(const B_QUEUE *queue);

ZEL_EXTERN_C_END

#endif /* QUEUE_H */
