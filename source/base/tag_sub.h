/*
 * tag_sub.h - the sub tag: the allocator of one owner on a master tag. Small
 * blocks (up to 2032 bytes) come from pages cut into 16 size classes, larger
 * ones up to 626688 bytes are page runs of the master, and anything larger is
 * a huge buffer straight from the platform. No lock: one thread at a time.
 * `pBuf` arguments are the address of the caller's pointer variable; they are
 * written only on success. Whoever allocates frees: destroy is no bulk release.
 */
#ifndef TAG_SUB_H
#define TAG_SUB_H

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

ZEL_NODISCARD ZEL_RETCODE b_tag_subCreate(B_TAG_MASTER tag_master, B_TAG_SUB *pTag_sub);
void b_tag_subDestroy(B_TAG_SUB tag_sub);
ZEL_NODISCARD ZEL_RETCODE b_tag_subAlloc(B_TAG_SUB tag_sub, size_t size, void *pBuf);
/* Zeroes the whole class or run; huge buffers are not cleared. */
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocClear(B_TAG_SUB tag_sub, size_t size, void *pBuf);
/* `size` bytes all zeroed, whatever the route (b_tag_subAllocClear leaves a
 * huge buffer as the platform gave it). */
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocZero(B_TAG_SUB tag_sub, size_t size, void *pBuf);
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocCopy(B_TAG_SUB tag_sub, const void *src, size_t size,
                                             void *pBuf);
ZEL_NODISCARD ZEL_RETCODE b_tag_subCopyString(B_TAG_SUB tag_sub, const char *src, void *pBuf);
/* `size` 0 stores null and returns sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocOrSetNull(B_TAG_SUB tag_sub, size_t size, void *pBuf);
/* eREALLOCMEMORY for a huge buffer, or a page-route buffer asked to become
 * huge; the old buffer then stands. */
ZEL_NODISCARD ZEL_RETCODE b_tag_subRealloc(B_TAG_SUB tag_sub, void *old_buf, size_t new_size,
                                           void *pBuf);
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocOrRealloc(B_TAG_SUB tag_sub, void *old_buf, size_t size,
                                                  void *pBuf);
/* As b_tag_subAllocOrRealloc, but a small buffer asked to become huge copies
 * only its own bytes: for callers that overwrite or clear everything past
 * what they had (text grown and written, arrays grown and cleared). */
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocOrReallocInBounds(B_TAG_SUB tag_sub, void *old_buf,
                                                          size_t size, void *pBuf);
/* Growth that the tag's routes never refuse: as b_tag_subAllocOrRealloc, but
 * where the tag answers eREALLOCMEMORY (a huge buffer, or a page run asked to
 * pass B_TAG_SUB_PAGES_MAX) a fresh buffer is allocated, the first `old_len`
 * bytes (at most new_size) copied and the old one freed. On failure the old
 * buffer stands. */
ZEL_NODISCARD ZEL_RETCODE b_tag_subReallocAny(B_TAG_SUB tag_sub, void *old_buf, size_t old_len,
                                              size_t new_size, void *pBuf);
/* As realloc, then zero bytes old_size to new_size when growing. */
ZEL_NODISCARD ZEL_RETCODE b_tag_subReallocClear(B_TAG_SUB tag_sub, void *old_buf, size_t old_size,
                                                size_t new_size, void *pBuf);
ZEL_NODISCARD ZEL_RETCODE b_tag_subAllocOrReallocClear(B_TAG_SUB tag_sub, void *old_buf,
                                                       size_t old_size, size_t new_size,
                                                       void *pBuf);
ZEL_NODISCARD ZEL_RETCODE b_tag_subReallocCopyString(B_TAG_SUB tag_sub, void *old_str,
                                                     const char *src, void *pBuf);
/* `buf` must not be null. */
void b_tag_subFree(B_TAG_SUB tag_sub, void *buf);
void b_tag_subFreeCanBeNull(B_TAG_SUB tag_sub, void *buf);
/* How many elements an allocation of that many will really hold. */
size_t b_tag_subElements(B_TAG_SUB tag_sub, size_t size_of_one_element, size_t number_of_elements);
/* Current and peak bytes; `report` null or an array of B_TAG_SUB_REPORT_ROWS. */
void b_tag_subMemUsage(B_TAG_SUB tag_sub, int64_t *pCurrent, int64_t *pMaximum,
                       B_TAG_SUB_REPORT_T *report);

ZEL_EXTERN_C_END

#endif /* TAG_SUB_H */
