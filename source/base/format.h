/*
 * format.h - formatted text: thin wrappers over the standard vsnprintf (its
 * conversions and flags, its argument rules), into caller memory, into tag
 * memory, or byte by byte through an output function.
 */
#ifndef FORMAT_H
#define FORMAT_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#include "stream_types.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* Lets the compiler check the arguments against the format. */
#define ZEL_PRINTF_FMT(fmt_index, first_arg) __attribute__((format(printf, fmt_index, first_arg)))

/* The largest text b_sprintf writes, terminator included. */
#define B_SPRINTF_LIMIT 65536
/* The local area of b_vfnprintf: its results have at most 4095 bytes. */
#define B_FNPRINTF_AREA 4096

/* vsnprintf on a copy of `args` (the caller may use them again); its result. */
int b_vsnprintf(char *str, size_t size, const char *fmt, va_list args);
int b_snprintf(char *str, size_t size, const char *fmt, ...) ZEL_PRINTF_FMT(3, 4);
/* As b_snprintf with a limit of B_SPRINTF_LIMIT bytes. */
int b_sprintf(char *str, const char *fmt, ...) ZEL_PRINTF_FMT(2, 3);
/* With `size` not 0: eRANGE when the text does not fit with its terminator
 * (or vsnprintf fails), else the length goes to *len. With `size` 0 it only
 * measures and reports no error. */
ZEL_NODISCARD ZEL_RETCODE b_vsnprintfEx(size_t *len, char *str, size_t size, const char *fmt,
                                        va_list args);
/* Formats into a local area, then calls `fcn` once per byte. eRANGE (nothing
 * emitted) for a text over 4095 bytes or a failure of vsnprintf; else the
 * first failure of `fcn`, or sOKAY. */
ZEL_NODISCARD ZEL_RETCODE b_vfnprintf(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, const char *fmt,
                                      va_list args);
ZEL_NODISCARD ZEL_RETCODE b_fnprintf(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, const char *fmt, ...)
    ZEL_PRINTF_FMT(3, 4);
/* Calls `fcn` for each byte of `str` up to its terminator; the first failure. */
ZEL_NODISCARD ZEL_RETCODE b_outputString(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, const char *str);
/* A fresh text from the sub tag, exactly its length + 1 bytes, in *res (written
 * only on success; the caller frees it on the tag). eNOMEMORY when vsnprintf
 * fails, else the tag's code. */
ZEL_NODISCARD ZEL_RETCODE b_makeStrV(B_TAG_SUB subTag, char **res, const char *fmt, va_list args);
ZEL_NODISCARD ZEL_RETCODE b_makeStr(B_TAG_SUB subTag, char **res, const char *fmt, ...)
    ZEL_PRINTF_FMT(3, 4);
/* The same from a stack tag. */
ZEL_NODISCARD ZEL_RETCODE b_makeStrStackV(B_TAG_STACK stackTag, char **res, const char *fmt,
                                          va_list args);
ZEL_NODISCARD ZEL_RETCODE b_makeStrStack(B_TAG_STACK stackTag, char **res, const char *fmt, ...)
    ZEL_PRINTF_FMT(3, 4);
/* Appends formatted text to the text in *res, allocated on `subTag` (or null).
 * `str` is the existing text whose length counts (null: length 0), normally
 * *res itself. *res is resized to old + added length + 1 and the added part is
 * written at the old length. eNOMEMORY when vsnprintf fails; otherwise sOKAY,
 * even when the resize failed (then *res stands and nothing is written).
 * Lengths are 32-bit. */
ZEL_NODISCARD ZEL_RETCODE b_appendStrV(B_TAG_SUB subTag, char **res, const char *str,
                                       const char *fmt, va_list args);
ZEL_NODISCARD ZEL_RETCODE b_appendStr(B_TAG_SUB subTag, char **res, const char *str,
                                      const char *fmt, ...) ZEL_PRINTF_FMT(4, 5);

ZEL_EXTERN_C_END

#endif /* FORMAT_H */
