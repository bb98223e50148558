/*
 * utf8.h - UTF-8 decoding, counting and copying with two error behaviours,
 * and the encoder of one code point. The decoder refuses bytes 0xF8 to 0xFF,
 * stray continuation bytes, broken and unfinished sequences, surrogates,
 * U+FFFE, U+FFFF and values above U+10FFFF. Overlong forms are refused when
 * breaking and passed on as decoded when continuing.
 */
#ifndef UTF8_H
#define UTF8_H

#include <stddef.h>
#include <stdint.h>

#include "stream_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef enum PSP_UTF8_ERROR_BEHAVIOR_E {
    PSP_UTF8_ERROR_BREAK = 0,   /* stop with eINVUNICODE */
    PSP_UTF8_ERROR_CONTINUE = 1 /* deliver '?' (63) for the bad sequence and go on */
} PSP_UTF8_ERROR_BEHAVIOR;

/* The state of b_countUTF8bytes: characters still to count, bytes so far. */
typedef struct PSP_UTF8_COUNT_BYTES_S {
    size_t chars;
    size_t bytes;
} PSP_UTF8_COUNT_BYTES;

/* The state of b_copyUTF8Chars. */
typedef struct PSP_UTF8_COPY_INFO_S {
    char *dest;  /* next byte to write; null when only counting */
    size_t size; /* room left */
    size_t num_chars;
    ZEL_BOOL_T done; /* a character did not fit; the rest are ignored */
} PSP_UTF8_COPY_INFO;

/* The replacement delivered for a bad sequence when continuing. */
#define PSP_UTF8_REPLACEMENT 63u

/* The byte count of code point `val`, 1 to 4, or 0 for 0x110000 and above.
 * With a non-null `bytes` (room for 4) the encoded form is written there.
 * Surrogates are encoded like any other value. */
uint32_t b_utf8_codes(uint32_t val, uint8_t *bytes);
/* The byte count of `ch`. If it is above `size` nothing is written; otherwise
 * the character is written and the rest of `buffer` up to `size` is zeroed. */
size_t b_uchar_to_utf8(uint32_t ch, char *buffer, size_t size);
/* Decodes `size` bytes, calling fcn(ctx, code point) for each character. Any
 * result of fcn other than sOKAY or sNEEDDATA ends the run: sNOTFOUND means
 * "enough" and gives sOKAY, the others are returned. eINVUNICODE for a bad
 * sequence when breaking. */
ZEL_NODISCARD ZEL_RETCODE b_processBuff(const char *src, size_t size, ZEL_OUTPUT_FCN fcn,
                                        B_OUTPUT_CTX ctx, PSP_UTF8_ERROR_BEHAVIOR errorBehavior);
/* The number of characters; 0 if decoding failed. */
size_t b_countUTF8chars(const char *src, size_t size, PSP_UTF8_ERROR_BEHAVIOR errorBehavior);
/* The bytes that the first `chars` characters take in UTF-8 (all of them if
 * there are fewer); a '?' counts as one byte. All-ones on failure. */
size_t b_countUTF8bytes(const char *src, size_t size, size_t chars,
                        PSP_UTF8_ERROR_BEHAVIOR errorBehavior);
/* Copies whole characters, re-encoded, into `dst` of `dst_size` bytes and
 * returns the bytes copied; the first character that does not fit ends the
 * copy. `chars_copied`, if not null, gets the count. A null `dst` only counts,
 * within `dst_size` all the same. All-ones on failure; `dst` may then hold a
 * part and `chars_copied` is untouched. */
size_t b_copyUTF8Chars(char *dst, size_t dst_size, const char *src, size_t src_size,
                       size_t *chars_copied, PSP_UTF8_ERROR_BEHAVIOR errorBehavior);

ZEL_EXTERN_C_END

#endif /* UTF8_H */
