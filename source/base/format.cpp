/*
 * format.cpp - formatted output. There is no format engine here: every
 * function measures or writes with the standard vsnprintf on a copy of its
 * arguments, and differs only in where the bytes go and how a text that does
 * not fit is reported.
 */
#include "format.h"

#include <cstdio>
#include <cstring>

#include "tag_ref_internal.h"

namespace {

// The length of the formatted text, negative when vsnprintf fails.
int b_formatMeasure(const char *fmt, va_list args) {
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    return n;
}

// The formatted text in fresh memory of the sub or stack tag.
ZEL_RETCODE b_makeStrOn(zel::detail::TagRef tag, char **res, const char *fmt, va_list args) {
    int n = b_formatMeasure(fmt, args);
    if (n < 0) return eNOMEMORY;
    char *text = nullptr;
    ZEL_CHECK(tag.alloc(static_cast<size_t>(n) + 1, &text));
    b_vsnprintf(text, static_cast<size_t>(n) + 1, fmt, args);
    *res = text;
    return sOKAY;
}

}  // namespace

extern "C" {

int b_vsnprintf(char *str, size_t size, const char *fmt, va_list args) {
    va_list copy;
    va_copy(copy, args);
    int n = std::vsnprintf(str, size, fmt, copy);
    va_end(copy);
    return n;
}

int b_snprintf(char *str, size_t size, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    int n = b_vsnprintf(str, size, fmt, args);
    va_end(args);
    return n;
}

int b_sprintf(char *str, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    int n = b_vsnprintf(str, B_SPRINTF_LIMIT, fmt, args);
    va_end(args);
    return n;
}

ZEL_RETCODE b_vsnprintfEx(size_t *len, char *str, size_t size, const char *fmt, va_list args) {
    int n = b_vsnprintf(str, size, fmt, args);
    if (size != 0 && (n < 0 || static_cast<size_t>(n) >= size)) return eRANGE;
    if (n >= 0) *len = static_cast<size_t>(n);
    return sOKAY;
}

ZEL_RETCODE b_vfnprintf(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, const char *fmt, va_list args) {
    char area[B_FNPRINTF_AREA];
    int n = b_vsnprintf(area, sizeof area, fmt, args);
    if (n < 0 || n > B_FNPRINTF_AREA - 1) return eRANGE;
    ZEL_RETCODE rc = sOKAY;
    for (int i = 0; i < n; ++i) ZEL_CHECK(rc = fcn(ctx, static_cast<uint8_t>(area[i])));
    return sOKAY;
}

ZEL_RETCODE b_fnprintf(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    ZEL_RETCODE rc = b_vfnprintf(fcn, ctx, fmt, args);
    va_end(args);
    return rc;
}

ZEL_RETCODE b_outputString(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, const char *str) {
    ZEL_RETCODE rc = sOKAY;
    for (const char *s = str; *s != '\0'; ++s) ZEL_CHECK(rc = fcn(ctx, static_cast<uint8_t>(*s)));
    return sOKAY;
}

ZEL_RETCODE b_makeStrV(B_TAG_SUB subTag, char **res, const char *fmt, va_list args) {
    return b_makeStrOn(subTag, res, fmt, args);
}

ZEL_RETCODE b_makeStr(B_TAG_SUB subTag, char **res, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    ZEL_RETCODE rc = b_makeStrV(subTag, res, fmt, args);
    va_end(args);
    return rc;
}

ZEL_RETCODE b_makeStrStackV(B_TAG_STACK stackTag, char **res, const char *fmt, va_list args) {
    return b_makeStrOn(stackTag, res, fmt, args);
}

ZEL_RETCODE b_makeStrStack(B_TAG_STACK stackTag, char **res, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    ZEL_RETCODE rc = b_makeStrStackV(stackTag, res, fmt, args);
    va_end(args);
    return rc;
}

ZEL_RETCODE b_appendStrV(B_TAG_SUB subTag, char **res, const char *str, const char *fmt,
                         va_list args) {
    uint32_t oldLen = str != nullptr ? static_cast<uint32_t>(std::strlen(str)) : 0;
    int n = b_formatMeasure(fmt, args);
    if (n < 0) return eNOMEMORY;
    uint32_t newLen = static_cast<uint32_t>(n);
    uint32_t total = oldLen + newLen + 1;
    char *text = nullptr;
    // Deliberately sOKAY whatever the resize says: callers treat appending as
    // infallible. A failed resize leaves *res as it was and writes nothing.
    if (b_tag_subAllocOrReallocInBounds(subTag, *res, total, &text) < 0) return sOKAY;
    *res = text;
    b_vsnprintf(text + oldLen, newLen + 1, fmt, args);
    return sOKAY;
}

ZEL_RETCODE b_appendStr(B_TAG_SUB subTag, char **res, const char *str, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    ZEL_RETCODE rc = b_appendStrV(subTag, res, str, fmt, args);
    va_end(args);
    return rc;
}

}  // extern "C"
