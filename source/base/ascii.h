/*
 * ascii.h - character classes and case mapping of plain ASCII, the same in
 * every locale. Anything outside the ASCII ranges is in no class and is left
 * as it is by the case mapping.
 */
#ifndef ASCII_H
#define ASCII_H

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* True for every c below 33: controls, the blank and negative values. */
ZEL_BOOL_T b_isspace(int c);
/* '0' to '9'. */
ZEL_BOOL_T b_isdigit(int c);
/* '0' to '9', 'a' to 'f', 'A' to 'F'. */
ZEL_BOOL_T b_isxdigit(int c);
/* Digits and letters. */
ZEL_BOOL_T b_isalnum(int c);
/* 'a' to 'z', 'A' to 'Z'. */
ZEL_BOOL_T b_isalpha(int c);
ZEL_BOOL_T b_islower(int c);
ZEL_BOOL_T b_isupper(int c);
/* c plus 32 for 'A' to 'Z', c minus 32 for 'a' to 'z'; all else unchanged. */
int b_tolower(int c);
int b_toupper(int c);

ZEL_EXTERN_C_END

#endif /* ASCII_H */
