/*
 * tag_master_psp.h - the master tag: owner of large blocks of 4096-byte pages,
 * taken from the platform or carved from a caller's buffer, dealt out as runs
 * of pages. The only allocator shared between threads; one mutex guards it.
 */
#ifndef TAG_MASTER_PSP_H
#define TAG_MASTER_PSP_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* `buf` null and `buf_size` 0 for platform memory, else seeded with the
 * caller's buffer (never the platform afterwards). eNOMEMORY for a seed that
 * leaves less than two pages after alignment; the platform's code otherwise. */
ZEL_NODISCARD ZEL_RETCODE b_tag_masterCreate(void *buf, size_t buf_size, B_TAG_MASTER *pTag_master);
/* Ends the mutex and, unless seeded, releases all large blocks. */
void b_tag_masterDestroy(B_TAG_MASTER tag_master);
/* A run of `size` pages; `clear` ZEL_TRUE zeroes it. eNOMEMORY when it cannot
 * fit in one large block or a seed is used up. */
ZEL_NODISCARD ZEL_RETCODE b_tag_masterAllocPages(B_TAG_MASTER tag_master, uint16_t size,
                                                 ZEL_BOOL_T clear, void **pBlock);
/* Frees the run starting at `block`; *pPage_increment gets minus its pages. */
void b_tag_masterFreePages(B_TAG_MASTER tag_master, void *block, int16_t *pPage_increment);
/* Test and debug builds: arms a fault, so that the `n`th allocation from now
 * through this master (any sub tag or stack tag on it, or a page request; a
 * create counts too) fails with eNOMEMORY and changes nothing; n 1 is the next
 * one and 0 disarms. Arming again starts a fresh count and clears the fired
 * mark. eNOTIMPLEMENTED in release builds, where nothing is counted. */
ZEL_NODISCARD ZEL_RETCODE b_tag_masterFailAllocation(B_TAG_MASTER tag_master, uint64_t n);
/* ZEL_TRUE once the armed fault has fired. */
ZEL_BOOL_T b_tag_masterFailureGiven(B_TAG_MASTER tag_master);
/* Current and peak pages, in bytes; read without the mutex. */
void b_tag_masterMemUsage(B_TAG_MASTER tag_master, int64_t *pCurrent, int64_t *pMaximum);

ZEL_EXTERN_C_END

#endif /* TAG_MASTER_PSP_H */
