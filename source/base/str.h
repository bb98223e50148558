/*
 * str.h - B_STR_T, a growing text on a sub tag. Appends keep no terminator;
 * b_strString adds one, uncounted, when the text is wanted. Capacity grows in
 * steps of 256 bytes. One thread at a time.
 */
#ifndef STR_H
#define STR_H

#include <stddef.h>

#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct B_STR_S {
    B_TAG_SUB subTag;
    char *buffer; /* owned; null until something is stored */
    size_t size;  /* capacity */
    size_t pos;   /* length, not counting a terminator */
} B_STR_T;

void b_strInit(B_STR_T *str, B_TAG_SUB subTag);
/* Frees the text and zeroes the record. */
void b_strTerm(B_STR_T *str);
/* Length 0; the memory stays. */
void b_strReset(B_STR_T *str);
/* Appends the bytes of `input` up to its terminator (null appends nothing).
 * The tag's code when it cannot grow; the text then stands as it was. */
ZEL_NODISCARD ZEL_RETCODE b_strAppend(B_STR_T *str, const char *input);
/* The length, without a terminator. */
size_t b_strSize(const B_STR_T *str);
/* Null if nothing was ever stored (or no room for the terminator could be
 * had); else the text, terminated at its length. Owned by the string. */
const char *b_strString(B_STR_T *str);
/* The byte at `offset`, 0 at or beyond the length. */
char b_strChar(const B_STR_T *str, size_t offset);

ZEL_EXTERN_C_END

#endif /* STR_H */
