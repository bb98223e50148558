/*
 * base64.h - a streaming base64 coder over output functions. Encoding takes
 * bytes and emits characters of the standard alphabet; decoding takes
 * characters and emits bytes. Two deliberate departures from the usual coder
 * (kept for compatibility with stored text):
 *  - after a number of bytes divisible by 3 (and not 0) the encoder drops the
 *    last 6 bits: the text is one character short and has no "=";
 *  - the decoder gives out the third byte of a group only when the next
 *    character arrives, so a text that ends on a full group without "=" loses
 *    its last byte.
 * Encoded text is followed by a 0 character, as a terminator.
 */
#ifndef BASE64_H
#define BASE64_H

#include <stddef.h>
#include <stdint.h>

#include "buffer.h"
#include "stream_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_BASE64_S {
    uint16_t bits;    /* bits held */
    uint32_t numbits; /* how many */
    ZEL_BOOL_T done;  /* a "=" was seen */
    size_t pos;       /* characters decoded */
    ZEL_OUTPUT_FCN fcn;
    B_OUTPUT_CTX ctx;
} B_BASE64;

/* Clears the record and sets the output. */
void b_base64EncodeStart(B_BASE64 *b64, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* Adds a byte; emits the characters it completes. The first failure of fcn. */
ZEL_NODISCARD ZEL_RETCODE b_base64EncodeByte(B_BASE64 *b64, uint8_t byte);
/* As b_base64EncodeByte for each of `size` bytes (null only with size 0),
 * stopping at the first failure of fcn, which it returns; else sOKAY. Into a
 * B_BUFFER_T through b_bufferEmitChar or b_bufferEmitByte whole groups go
 * straight to its memory while it has room. */
ZEL_NODISCARD ZEL_RETCODE b_base64EncodeBytes(B_BASE64 *b64, const void *bytes, size_t size);
/* Emits what 2 or 4 held bits give, with "=" padding, then a 0 character. */
ZEL_NODISCARD ZEL_RETCODE b_base64EncodeEnd(B_BASE64 *b64);
/* The whole input, terminator included, appended to `buff` through
 * b_bufferEmitChar. eINVNULLARG for a null `buff` (or null input with a size). */
ZEL_NODISCARD ZEL_RETCODE b_base64EncodeToBuffer(const void *input, size_t size, B_BUFFER_T *buff);

/* Clears the record and sets the output. */
void b_base64DecodeStart(B_BASE64 *b64, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* Adds a character. eRANGE for one outside the alphabet, for anything after a
 * "=", and for a "=" in the first two places of a group; else the first
 * failure of fcn. */
ZEL_NODISCARD ZEL_RETCODE b_base64DecodeChar(B_BASE64 *b64, uint32_t ch);
/* As b_base64DecodeChar for each of `size` characters (null only with size
 * 0), stopping at the first failure, which it returns; else sOKAY (statuses
 * of fcn are not passed on). Fast into a B_BUFFER_T as b_base64EncodeBytes. */
ZEL_NODISCARD ZEL_RETCODE b_base64DecodeChars(B_BASE64 *b64, const char *text, size_t size);
/* eRANGE unless a whole number of groups of 4 characters was taken. */
ZEL_NODISCARD ZEL_RETCODE b_base64DecodeEnd(B_BASE64 *b64);
/* Decodes characters from `infcn` until it fails: eEOD ends the text (then as
 * b_base64DecodeEnd), any other failure is returned. */
ZEL_NODISCARD ZEL_RETCODE b_base64DecodeFcn(ZEL_INPUT_FCN infcn, B_INPUT_CTX inctx,
                                            ZEL_OUTPUT_FCN outfcn, B_OUTPUT_CTX outctx);

ZEL_EXTERN_C_END

#endif /* BASE64_H */
