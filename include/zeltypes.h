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

/* Evaluates an expression that assigns a ZEL_RETCODE and returns it from the
 * enclosing function when it is a failure: ZEL_CHECK(rc = f(...)). */
#define ZEL_CHECK(expr)          \
    do {                         \
        if ((expr) < 0) return rc; \
    } while (0)

/* As ZEL_CHECK, but jumps to a label so that the caller can release what it
 * took on the way: ZEL_CHECK_GOTO(rc = f(...), cleanup). */
#define ZEL_CHECK_GOTO(expr, label) \
    do {                            \
        if ((expr) < 0) goto label; \
    } while (0)

typedef enum ZEL_BOOL_E { ZEL_FALSE = 0, ZEL_TRUE = 1 } ZEL_BOOL_T;

/* Comparison callbacks return exactly one of these three values. */
typedef enum ZEL_COMPARE_E { ZEL_LT = -1, ZEL_EQ = 0, ZEL_GT = 1 } ZEL_COMPARE;

typedef enum ZEL_DIRECTION_E { ZEL_REVERSE = -1, ZEL_FORWARD = 1 } ZEL_DIRECTION;

/* Identifier of a stored object within a drawer; 0 means none. */
typedef uint64_t ZEL_SLOT;

#endif /* ZELTYPES_H */
