/*
 * coder_types.h - the two stream records through which every pack and unpack
 * function writes and reads: a byte sink or source as a pair of callbacks
 * (one byte at a time, and an optional bulk run), the caller's context and
 * the tag for allocations made on the stream's behalf. Neither record owns
 * its context; a stream has no header, length or end mark of its own.
 */
#ifndef CODER_TYPES_H
#define CODER_TYPES_H

#include "stream_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_ENCODER_S {
    ZEL_OUTPUT_FCN fcn;         /* one byte */
    B_BULK_OUTPUT_FCN bulk_fcn; /* a run of bytes; may be null */
    B_OUTPUT_CTX ctx;           /* the caller's sink, often a B_BUFFER_T */
    B_TAG_SUB subTag;
} B_ENCODER_T;

typedef struct B_DECODER_S {
    ZEL_INPUT_FCN fcn;         /* one byte */
    B_BULK_INPUT_FCN bulk_fcn; /* a run of bytes; may be null */
    B_INPUT_CTX ctx;           /* the caller's source, often a B_BUFFER_T */
    B_TAG_SUB subTag;
} B_DECODER_T;

ZEL_EXTERN_C_END

#endif /* CODER_TYPES_H */
