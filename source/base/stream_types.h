/*
 * stream_types.h - the byte-stream callbacks: the one way a producer hands
 * bytes to a consumer (and a consumer pulls them from a source). A routine
 * written against these targets a file, a buffer or a counter without change.
 * The contexts are untyped pointers owned by the caller.
 */
#ifndef STREAM_TYPES_H
#define STREAM_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef void *B_OUTPUT_CTX;
typedef void *B_INPUT_CTX;

/* Emits one byte or character, passed in the low bits of `ch`. */
typedef ZEL_RETCODE (*ZEL_OUTPUT_FCN)(B_OUTPUT_CTX ctx, uint32_t ch);
/* Emits a run of `size` bytes. */
typedef ZEL_RETCODE (*B_BULK_OUTPUT_FCN)(B_OUTPUT_CTX ctx, const void *bytes, size_t size);
/* Delivers the next byte, zero-extended, or a failure such as eEOD at the end. */
typedef ZEL_RETCODE (*ZEL_INPUT_FCN)(B_INPUT_CTX ctx, uint32_t *pCh);
/* Delivers up to `bytesRequested` bytes into `data`; `pBytesRead` may be null. */
typedef ZEL_RETCODE (*B_BULK_INPUT_FCN)(B_INPUT_CTX ctx, size_t bytesRequested, void *data,
                                        size_t *pBytesRead);

ZEL_EXTERN_C_END

#endif /* STREAM_TYPES_H */
