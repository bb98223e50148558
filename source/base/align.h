/*
 * align.h - alignment of offsets in row, key and sort buffers by the kind of
 * value placed there, and rounding of buffer sizes to 8 bytes.
 */
#ifndef ALIGN_H
#define ALIGN_H

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Ordered by width: the widest alignment of a set of items is the largest
 * enumerator among them. */
typedef enum B_ALIGN_TYPE_E {
    B_ALN_CHAR = 0,
    B_ALN_INT16 = 1,
    B_ALN_WCHAR = 2,
    B_ALN_INT32 = 3,
    B_ALN_FLOAT = 4,
    B_ALN_INT64 = 5,
    B_ALN_DOUBLE = 6
} B_ALIGN_TYPE;

#define B_ALN_COUNT 7

/* The boundary in bytes of each B_ALIGN_TYPE: 1, 2, 4, 4, 4, 8, 8. */
extern const uint32_t alignData[B_ALN_COUNT];

/* `offset` rounded up to the boundary of `type` (an aligned offset is
 * returned as it is). `type` must be a B_ALIGN_TYPE. */
uint32_t b_align(uint32_t offset, B_ALIGN_TYPE type);
/* `size` rounded up to a multiple of 8. */
size_t b_alignBufferSize(size_t size);

ZEL_EXTERN_C_END

#endif /* ALIGN_H */
