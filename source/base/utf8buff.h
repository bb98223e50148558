/*
 * utf8buff.h - ZEL_OUTPUT_BUFF, a byte output that counts what it is offered.
 * It stores while there is room (one byte held back for the terminator) and
 * keeps counting after that, so a caller can format once with a null buffer
 * and read the exact size, terminator included, from needed_elems.
 */
#ifndef UTF8BUFF_H
#define UTF8BUFF_H

#include <stddef.h>
#include <stdint.h>

#include "stream_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct ZEL_OUTPUT_BUFF_S {
    char *buff;        /* destination, null when only measuring */
    size_t size;       /* bytes it can take, one kept back for the terminator */
    size_t used_elems; /* bytes stored */
    size_t used_chars;
    size_t needed_elems; /* bytes offered */
    size_t needed_chars;
    ZEL_BOOL_T done; /* the destination is full */
} ZEL_OUTPUT_BUFF;

/* Zeroes the record; with `buff` and a non-zero `size` the capacity is
 * size - 1, otherwise 0. */
void b_utf8BuffInit(ZEL_OUTPUT_BUFF *info, char *buff, size_t size);
/* ZEL_OUTPUT_FCN on a ZEL_OUTPUT_BUFF context: offers the low byte of `uchar`.
 * Always sOKAY. */
ZEL_RETCODE b_emitCharAsUtf8(B_OUTPUT_CTX ctx, uint32_t uchar);
/* With a buffer, gives back the held byte and clears done; then offers the
 * terminating 0, which is therefore always stored. */
void b_utf8BuffTerm(ZEL_OUTPUT_BUFF *info);

ZEL_EXTERN_C_END

#endif /* UTF8BUFF_H */
