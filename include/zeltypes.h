/*
 * zeltypes.h - the small shared vocabulary of zelbase: booleans, comparison
 * results, walking directions and the linkage and result-checking macros that
 * every public header uses. Compiles as C11 and as C++20.
 */
#ifndef ZELTYPES_H
#define ZELTYPES_H

#include <stddef.h>
#include <stdint.h>

#include "zelretcodetypes.h"

#ifdef __cplusplus
#define ZEL_EXTERN_C_BEGIN extern "C" {
#define ZEL_EXTERN_C_END }
/* Marks a fallible function: its ZEL_RETCODE must be looked at. */
#define ZEL_NODISCARD [[nodiscard]]
#else
#define ZEL_EXTERN_C_BEGIN
#define ZEL_EXTERN_C_END
#define ZEL_NODISCARD __attribute__((warn_unused_result))
#endif

/* Evaluates a ZEL_RETCODE expression once and returns that very value from the
 * enclosing function when it is a failure: ZEL_CHECK(rc = f(...)), or
 * ZEL_CHECK(f(...)). Whatever variable the expression assigns, the value
 * returned is the one tested. */
#define ZEL_CHECK(expr)                                        \
    do {                                                       \
        const ZEL_RETCODE zel_check_rc_ = (ZEL_RETCODE)(expr); \
        if (zel_check_rc_ < 0) return zel_check_rc_;           \
    } while (0)

/* Stores the code of `expr` in `rc` and jumps to `label` when it is a
 * failure, so that the caller can release what it took on the way and return
 * rc: ZEL_CHECK_GOTO(rc, f(...), cleanup). */
#define ZEL_CHECK_GOTO(rc, expr, label) \
    do {                                \
        (rc) = (expr);                  \
        if ((rc) < 0) goto label;       \
    } while (0)

typedef enum ZEL_BOOL_E { ZEL_FALSE = 0, ZEL_TRUE = 1 } ZEL_BOOL_T;

/* Comparison callbacks return exactly one of these three values. */
typedef enum ZEL_COMPARE_E { ZEL_LT = -1, ZEL_EQ = 0, ZEL_GT = 1 } ZEL_COMPARE;

typedef enum ZEL_DIRECTION_E { ZEL_REVERSE = -1, ZEL_FORWARD = 1 } ZEL_DIRECTION;

/* Identifier of a stored object within a drawer; 0 means none. */
typedef uint64_t ZEL_SLOT;

#endif /* ZELTYPES_H */
