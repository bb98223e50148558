/*
 * uuid.h - creating, printing and parsing ZEL_UUID_T (see zeluuidtypes.h).
 * The text is 8-4-4-4-12 small hexadecimal digits, 36 characters, or 38 in
 * braces.
 */
#ifndef UUID_H
#define UUID_H

#include <stddef.h>

#include "stream_types.h"
#include "zeltypes.h"
#include "zeluuidtypes.h"

ZEL_EXTERN_C_BEGIN

/* Characters of the text, without and with braces, not counting a terminator. */
#define ZEL_UUID_TEXT_LEN 36
#define ZEL_UUID_TEXT_LEN_BRACES 38

/* A fresh random UUID of version 4 and the RFC 4122 variant, from two calls of
 * psp_envSeed. eINVNULLARG for a null `uuid`. */
ZEL_NODISCARD ZEL_RETCODE zel_uuidCreate(ZEL_UUID_T *uuid);
/* The text through `fcn`, in braces when `braces` is set; the first failure
 * of `fcn`. */
ZEL_NODISCARD ZEL_RETCODE b_uuidFormat(const ZEL_UUID_T *uuid, ZEL_BOOL_T braces,
                                       ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx);
/* The text and its terminator into `str` of `len` bytes. sTRUNCATE (nothing
 * written) when `len` is below zel_uuidStrLen; eINVNULLARG for a null pointer. */
ZEL_NODISCARD ZEL_RETCODE zel_uuidToString(const ZEL_UUID_T *uuid, char *str, size_t len,
                                           ZEL_BOOL_T braces);
/* The size the text needs with its terminator: 37, or 39 with braces; the
 * all-ones size_t for a null `uuid`. */
size_t zel_uuidStrLen(const ZEL_UUID_T *uuid, ZEL_BOOL_T braces);
/* Parses the text. Blanks and tabs are skipped anywhere; digits of either
 * case; one pair of braces, the "{" anywhere and the "}" after it; exactly four
 * "-" between groups of 8, 4, 4, 4 and 12 digits. Any other text gives
 * ePSP_INVUUID and leaves *uuid untouched. */
ZEL_NODISCARD ZEL_RETCODE zel_uuidFromString(const char *str, ZEL_UUID_T *uuid);

ZEL_EXTERN_C_END

#endif /* UUID_H */
