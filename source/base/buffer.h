/*
 * buffer.h - B_BUFFER_T, the byte buffer under every packed stream. Three
 * modes: growing (subTag set, data owned, size its capacity), static (subTag
 * null, the caller's memory of `size` bytes; it never grows) and borrowed
 * (size 0, data not null: a read-only view of `len` bytes). Writes go at
 * `len`, reads come from `pos`. One thread at a time.
 */
#ifndef BUFFER_H
#define BUFFER_H

#include <stddef.h>
#include <stdint.h>

#include "stream_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_BUFFER_S {
    union B_BUFFER_DATA_U {
        uint8_t *bin;
        char *str;
        wchar_t *wstr;
        void *ptr;
    } data;
    size_t size;      /* capacity; 0 marks data as borrowed */
    size_t len;       /* bytes held; writes go here */
    size_t pos;       /* read position */
    B_TAG_SUB subTag; /* null: the buffer can never grow */
} B_BUFFER_T;

/* Growing and empty; no memory is taken until the first write. */
void b_bufferInit(B_BUFFER_T *buffer, B_TAG_SUB subTag);
/* Static over the caller's `size` bytes at `data`, `len` of them already held. */
void b_bufferInitStatic(B_BUFFER_T *buffer, void *data, size_t size, size_t len);
/* Frees any owned bytes, then makes the buffer a borrowed view of `len` bytes
 * at `data` with pos 0. The subTag stays. */
void b_bufferSetStatic(B_BUFFER_T *buffer, const void *data, size_t len);
/* Frees owned bytes and zeroes the record, subTag included. */
void b_bufferTerm(B_BUFFER_T *buffer);
/* pos and len 0; the memory stays. */
void b_bufferReset(B_BUFFER_T *buffer);
size_t b_bufferLength(const B_BUFFER_T *buffer);

/* Growth in every function below: eTRUNCATED when subTag is null (the buffer
 * keeps what it holds), the tag's code when it cannot allocate (the record is
 * unchanged). A borrowed view is dropped, not copied, when it has to grow. */

/* Capacity becomes exactly `size` if it is less; never shrinks. */
ZEL_NODISCARD ZEL_RETCODE b_bufferIncreaseSize(B_BUFFER_T *buffer, size_t size);
/* Zero-fills from len to the next multiple of `pad_size` (0 or 1: nothing). */
ZEL_NODISCARD ZEL_RETCODE b_bufferPad(B_BUFFER_T *buffer, size_t pad_size);
/* Takes the unread part of src (pos to len) and leaves src as it is. A borrowed
 * src makes dst a borrowed view of that part; otherwise the bytes are appended. */
ZEL_NODISCARD ZEL_RETCODE b_bufferCopy(B_BUFFER_T *dst, const B_BUFFER_T *src);
/* As b_bufferCopy, with at most `amount` bytes. */
ZEL_NODISCARD ZEL_RETCODE b_bufferCopyPartial(B_BUFFER_T *dst, const B_BUFFER_T *src,
                                              size_t amount);
/* ZEL_OUTPUT_FCN on a B_BUFFER_T context: append the low byte of `byte`. A
 * full buffer grows by 16 bytes. */
ZEL_NODISCARD ZEL_RETCODE b_bufferEmitByte(B_OUTPUT_CTX ctx, uint32_t byte);
ZEL_NODISCARD ZEL_RETCODE b_bufferEmitChar(B_OUTPUT_CTX ctx, uint32_t ch);
/* Appends the bytes of `string` up to its terminator; the first failure. */
ZEL_NODISCARD ZEL_RETCODE b_bufferEmitString(B_BUFFER_T *buffer, const char *string);
/* B_BULK_OUTPUT_FCN on a B_BUFFER_T context. Grows to exactly len + size
 * whenever the capacity is not above that sum (so a static buffer refuses a
 * run that would fill it exactly). */
ZEL_NODISCARD ZEL_RETCODE b_bufferEmitBytesBulk(B_OUTPUT_CTX ctx, const void *bytes, size_t size);
/* Reserves `size` bytes at len for the caller to fill, raises len at once and
 * stores their address in *(void **)pBuffer. Resizes to exactly len + size on
 * every call, so a static buffer always answers eTRUNCATED. */
ZEL_NODISCARD ZEL_RETCODE b_bufferAllocateBuffer(B_BUFFER_T *buffer, size_t size, void *pBuffer);
/* ZEL_INPUT_FCN on a B_BUFFER_T context: the byte at pos; eEOD at len. */
ZEL_NODISCARD ZEL_RETCODE b_bufferInputByte(B_INPUT_CTX ctx, uint32_t *pbyte);
/* B_BULK_INPUT_FCN on a B_BUFFER_T context. A request within len is served
 * whole; otherwise the count is len less the capacity field (0 for the
 * buffers its caller reads, never more than what is left). A count below
 * the request gives eEOD after the copy. `pBytesRead` may be null. */
ZEL_NODISCARD ZEL_RETCODE b_bufferInputBytesBulk(B_INPUT_CTX ctx, size_t bytesRequested, void *data,
                                                 size_t *pBytesRead);
/* Sets pos; eEOD beyond len. */
ZEL_NODISCARD ZEL_RETCODE b_bufferSeek(B_BUFFER_T *buffer, size_t newPos);

ZEL_EXTERN_C_END

#endif /* BUFFER_H */
