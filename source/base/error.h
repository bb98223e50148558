/*
 * error.h - the error object ZEL_ERR and the lookups over the return code
 * tables. A handle of the row layer or above embeds a ZEL_ERR; a failure is
 * recorded through zelErrorEx, which stores the code, its text and positions,
 * then runs the owner's system handler, for an error the application's user
 * handler and the cleanup. Lower layers only return codes. A ZEL_ERR serves one
 * thread at a time; its owned texts all come from its `subTag`.
 */
#ifndef ERROR_H
#define ERROR_H

#include <stdint.h>

#include "rettables.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef struct ZEL_ERR_S ZEL_ERR;
typedef ZEL_ERR *ZEL_ERR_PTR;

/* Gets the object, the code and its data pointer; returns the code to go on
 * with (a system handler's sOKAY leaves the code as it was). */
typedef ZEL_RETCODE (*ZEL_ERRHANDLER)(ZEL_ERR_PTR err, ZEL_RETCODE retcode, void *data);
/* Runs after every recorded error, handled or not. */
typedef void (*ZEL_ERRCLEANUP)(void *data);

struct ZEL_ERR_S {
    ZEL_RETCODE status; /* the last code, after the system handler */
    uint64_t callcount; /* zelErrorEx calls that were not refused */
    char *info;         /* extra text for the message; may be empty */
    char *fcnid;        /* function at fault, where a layer above sets one */
    char *file;         /* source position of the report */
    int32_t line;
    char *errfile; /* position in the user's input */
    int32_t errline;
    int32_t errcolumn;
    char *sqlstate;            /* overrides the table's SQLSTATE when set */
    ZEL_ERRHANDLER syshandler; /* written directly by the owning layer */
    void *sysdata;
    ZEL_ERRHANDLER userhandler;
    void *userdata;
    ZEL_ERRCLEANUP cleanup;
    void *cleanupdata;
    ZEL_BOOL_T erractive; /* set while handlers run; refuses re-entry */
    B_TAG_SUB subTag;     /* allocator of every owned text above */
};

/* A copy of an error's facts for a caller to keep; `next` chains them. */
typedef struct ERR_STAT_S {
    ZEL_RETCODE code;
    int64_t rowno;
    int32_t colno;
    char *srcfile;
    int32_t srcline;
    int32_t srccol;
    char *info;
    char *fcnId;
    struct ERR_STAT_S *next;
} ERR_STAT;

/* ---- the error object ---- */

/* Zeroes the whole object and stores `subTag`. */
void zelErrorInit(ZEL_ERR_PTR err, B_TAG_SUB subTag);
/* eSYS_ERRACTIVE while a handler runs (nothing changes). Otherwise frees
 * `info`, `fcnid` and `file`, zeroes the object and returns sOKAY. `errfile`
 * and `sqlstate` are NOT freed: they are left to the sub tag's owner.
 * eINVNULLARG for a null `err`. */
ZEL_NODISCARD ZEL_RETCODE zelErrorTerm(ZEL_ERR_PTR err);
void zelErrorSetCleanup(ZEL_ERR_PTR err, ZEL_ERRCLEANUP cleanupfcn, void *cleanupdata);
/* Calls `cleanup` with `cleanupdata` if one is set. */
void zelErrorRunCleanup(ZEL_ERR_PTR err);
void zelErrorSetUserHandler(ZEL_ERR_PTR err, ZEL_ERRHANDLER errorfcn, void *errordata);
void zelErrorSetUserHandlerData(ZEL_ERR_PTR err, void *errordata);
/* The last recorded code. */
ZEL_RETCODE zelErrorStat(const ZEL_ERR *err);

/* Records a report. Null `err` or a handler already running: returns
 * `retcode` and records nothing. Otherwise counts the call, saves the input
 * position, `errinfo` (null empties the text) and, unless `filenm` is null,
 * the source position; a failed save (eNOMEMORY) replaces `retcode`. The
 * system handler may then replace the code, which goes to `status`. For a
 * negative code the user handler runs (a different answer becomes the result,
 * sOKAY becoming sIGNORE) and then the cleanup. Returns the result. */
ZEL_NODISCARD ZEL_RETCODE zelErrorEx(ZEL_ERR_PTR err, ZEL_RETCODE retcode, const char *errinfo,
                                     const char *errfile, int32_t errline, int32_t errcolumn,
                                     const char *filenm, int32_t lineno);
/* Sets `status` without handlers, zeroes `errline` and `errcolumn` and empties
 * `info`; `errfile`, `file` and `line` stay. */
void zelErrorSetStatus(ZEL_ERR_PTR err, ZEL_RETCODE retcode);
/* A copy of `errinfo` replaces `info`, the buffer resized in place where it
 * can be; null empties the text and keeps the buffer. eNOMEMORY leaves the
 * old text. */
ZEL_NODISCARD ZEL_RETCODE zelSaveErrorInfo(ZEL_ERR_PTR err, const char *errinfo);
/* Line and column are always stored; a null or empty name keeps `errfile`,
 * otherwise a copy replaces it. eNOMEMORY leaves the old name. */
ZEL_NODISCARD ZEL_RETCODE zelSaveSourceFileInfo(ZEL_ERR_PTR err, const char *srcFileName,
                                                int32_t srcLineNum, int32_t srcColNum);
/* Null `filenm` changes nothing, `line` included; otherwise a copy replaces
 * `file` and `line` is stored. eNOMEMORY changes nothing. */
ZEL_NODISCARD ZEL_RETCODE zelSaveFileAndLine(ZEL_ERR_PTR err, const char *filenm, int32_t lineno);
/* The object's own SQLSTATE, or null. */
const char *zelErrorGetSqlstate(const ZEL_ERR *err);
/* A copy of `sqlstate` replaces the object's; null frees it. A failed copy is
 * ignored and the old value stands. */
void zelErrorSetSqlstate(ZEL_ERR_PTR err, const char *sqlstate);
/* `errfile`, `errline`, `errcolumn`; each out may be null. */
void zelErrorFileAndPosition(const ZEL_ERR *err, const char **perrFile, int32_t *pLine,
                             int32_t *pColumn);
/* The facts of the current `status`, each out optional: message, `info` (null
 * when empty), name, `fcnid`, group name (see zelErrorGroup), `file`, `line`.
 * Returns `status`, or eSYS_BADERRCODE with no out written when `status` is
 * not in the table. */
ZEL_RETCODE zelErrorInfoEx(const ZEL_ERR *err, const char **perrMsg, const char **perrInfo,
                           const char **perrName, const char **ppFcnID, const char **ppSubsys,
                           const char **ppFilenm, int32_t *pLineno);
/* Fills `code` from `status`, `rowno` from `errline`, `colno` from
 * `errcolumn`; `info` and `fcnId` get copies on `subTag` where the object has
 * non-empty texts, null otherwise. No other field is written. eINVNULLARG for
 * a null `pES`; a failed copy is returned with `*pES` untouched. The caller
 * frees the copies. */
ZEL_NODISCARD ZEL_RETCODE zelGetErrorStat(const ZEL_ERR *err, B_TAG_SUB subTag, ERR_STAT *pES);
/* As zelGetErrorStat, the copies taken from `stackTag`. */
ZEL_NODISCARD ZEL_RETCODE zelGetErrorStatStack(const ZEL_ERR *err, B_TAG_STACK stackTag,
                                               ERR_STAT *pES);

/* ---- lookups over the tables ---- */

/* The row of `retcode`, or null. */
const ZEL_ERRDEFN *zelErrorLookup(ZEL_RETCODE retcode);
/* The first group whose firstcode <= retcode <= lastcode, or null. Only
 * statuses, sOKAY and eFAIL find one: ordinary errors give null. */
const ZEL_ERRGROUP *zelErrorGroup(ZEL_RETCODE retcode);
/* Message and name of `retcode`, outs may be null; eSYS_BADERRCODE for an
 * unknown code. */
ZEL_NODISCARD ZEL_RETCODE zelErrorCodeDef(ZEL_RETCODE retcode, const char **perrMsg,
                                          const char **perrName);
/* The message, or "<unknown error>". */
const char *zelErrorString(ZEL_RETCODE retcode);
/* The code of a name in any letter case; `pRetCode` may be null.
 * eSYS_BADERRCODE if there is none. */
ZEL_NODISCARD ZEL_RETCODE zelErrorCodeByName(const char *name, ZEL_RETCODE *pRetCode);
/* SQLSTATE (null where the row has none) and message, outs may be null;
 * eNOTFOUND for an unknown code. */
ZEL_NODISCARD ZEL_RETCODE zelErrorDetails(ZEL_RETCODE retcode, const char **sqlState,
                                          const char **errDescr);
/* The row's SQLSTATE, which may be null; "RX000" for an unknown code. */
const char *zelErrorSqlstate(ZEL_RETCODE retcode);
/* The range of a group named in any letter case; outs may be null.
 * sNOTFOUND if there is none. */
ZEL_NODISCARD ZEL_RETCODE zelErrorGroupRange(const char *grname, ZEL_RETCODE *pFirst,
                                             ZEL_RETCODE *pLast);

ZEL_EXTERN_C_END

#endif /* ERROR_H */
