/*
 * rettables.h - the constant tables of return codes: `zel_errors`, one row per
 * ZEL_RETCODE with its name, SQLSTATE and message, and `zel_errgroups`, the
 * numbering blocks the codes live in. Read-only and freely shared between
 * threads. The lookups over them are in error.h.
 */
#ifndef RETTABLES_H
#define RETTABLES_H

#include <stdint.h>

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* One numbering block. For the error groups `firstcode` is the code nearest
 * 0 and so numerically greater than `lastcode`. */
typedef struct ZEL_ERRGROUP_S {
    const char *name;
    ZEL_RETCODE firstcode;
    ZEL_RETCODE lastcode;
} ZEL_ERRGROUP;

/* One return code: `name` is the enumerator's text, `sqlstate` five
 * characters or null where the code has none, `descr` the message. */
typedef struct ZEL_ERRDEFN_S {
    const char *name;
    ZEL_RETCODE code;
    const char *sqlstate;
    const char *descr;
} ZEL_ERRDEFN;

/* The groups in table order: "status moka", "status", "ok", "fail", then the
 * error groups from "general" (-10000) down to "embed" (-30000). */
extern const ZEL_ERRGROUP zel_errgroups[ZEL_RETCODE_GROUP_COUNT];
extern const int32_t no_zel_errgroups;

/* The rows: 29000, the statuses 10000 upward, sOKAY, eFAIL, then all other
 * errors from -10000 downward, each group without gaps. */
extern const ZEL_ERRDEFN zel_errors[ZEL_RETCODE_COUNT];
extern const int32_t no_zel_errors;

ZEL_EXTERN_C_END

#endif /* RETTABLES_H */
