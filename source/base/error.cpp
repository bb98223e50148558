// error - the error object ZEL_ERR and the lookups over the return code tables.
//
// A handle keeps its last failure in an embedded ZEL_ERR: the code, an extra
// text, the source position of the report and the position in the user's
// input, all texts owned by the object's sub tag. zelErrorEx records a report
// and then hands the code to the owner's system handler and, for an error, to
// the application's user handler and the cleanup. The one idea that keeps this
// safe is `erractive`: while handlers run, every further report on the same
// object is refused and returned unchanged, so a handler that itself fails
// cannot recurse.
#include "error.h"

#include <cstring>
#include <functional>

#include "psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace {

constexpr const char *kUnknownError = "<unknown error>";
constexpr const char *kUnknownSqlstate = "RX000";

bool zelErrorIsEmpty(const char *text) {
    return text == nullptr || text[0] == '\0';
}

// Whether `p` points into the `size` bytes at `base` (a caller handing back
// the object's own text).
bool zelErrorPointsInto(const char *p, const char *base, size_t size) {
    return base != nullptr && std::less_equal<const char *>()(base, p) &&
           std::less<const char *>()(p, base + size);
}

// A copy of `src` replaces the text at `*slot`, reusing or resizing its
// buffer. On failure the old text stands.
ZEL_RETCODE zelErrorStoreText(B_TAG_SUB subTag, char **slot, const char *src) {
    const size_t len = std::strlen(src) + 1;
    char *cur = *slot;
    if (cur != nullptr && zelErrorPointsInto(src, cur, std::strlen(cur) + 1)) {
        std::memmove(cur, src, len);  // a tail of the current text: shrink in place
        return sOKAY;
    }
    char *buf = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocOrReallocInBounds(subTag, cur, len, &buf));
    std::memcpy(buf, src, len);
    *slot = buf;
    return sOKAY;
}

// Shared body of zelGetErrorStat and zelGetErrorStatStack: `copy` duplicates a
// text on the caller's tag, `drop` gives a copy back.
template <typename CopyFcn, typename DropFcn>
ZEL_RETCODE zelErrorFillStat(const ZEL_ERR *err, ERR_STAT *pES, CopyFcn copy, DropFcn drop) {
    if (err == nullptr || pES == nullptr) return eINVNULLARG;
    char *info = nullptr;
    char *fcnid = nullptr;
    ZEL_RETCODE rc = sOKAY;
    if (!zelErrorIsEmpty(err->info)) ZEL_CHECK(rc = copy(err->info, &info));
    if (!zelErrorIsEmpty(err->fcnid) && (rc = copy(err->fcnid, &fcnid)) < 0) {
        if (info != nullptr) drop(info);
        return rc;
    }
    pES->code = err->status;
    pES->rowno = err->errline;
    pES->colno = err->errcolumn;
    pES->info = info;
    pES->fcnId = fcnid;
    return sOKAY;
}

}  // namespace

extern "C" {

// ---- Lookups.

// Linear over the leading non-negative rows (remembering a match), then a
// binary search over the errors, whose codes fall as the index rises.
const ZEL_ERRDEFN *zelErrorLookup(ZEL_RETCODE retcode) {
    const ZEL_ERRDEFN *found = nullptr;
    int32_t low = 0;
    for (; low < no_zel_errors && zel_errors[low].code >= 0; ++low)
        if (zel_errors[low].code == retcode) found = &zel_errors[low];
    if (found != nullptr || low >= no_zel_errors) return found;
    int32_t high = no_zel_errors - 1;
    while (low <= high) {
        const int32_t middle = (low + high) / 2;
        if (zel_errors[middle].code == retcode) return &zel_errors[middle];
        if (retcode <= zel_errors[middle].code)
            low = middle + 1;
        else
            high = middle - 1;
    }
    return nullptr;
}

const ZEL_ERRGROUP *zelErrorGroup(ZEL_RETCODE retcode) {
    // Deliberately literal: error groups have firstcode > lastcode, so only
    // statuses, "ok" and "fail" match; callers rely on errors giving null.
    for (int32_t i = 0; i < no_zel_errgroups; ++i)
        if (zel_errgroups[i].firstcode <= retcode && retcode <= zel_errgroups[i].lastcode)
            return &zel_errgroups[i];
    return nullptr;
}

ZEL_RETCODE zelErrorCodeDef(ZEL_RETCODE retcode, const char **perrMsg, const char **perrName) {
    const ZEL_ERRDEFN *row = zelErrorLookup(retcode);
    if (row == nullptr) return eSYS_BADERRCODE;
    if (perrMsg != nullptr) *perrMsg = row->descr;
    if (perrName != nullptr) *perrName = row->name;
    return sOKAY;
}

const char *zelErrorString(ZEL_RETCODE retcode) {
    const ZEL_ERRDEFN *row = zelErrorLookup(retcode);
    return row != nullptr ? row->descr : kUnknownError;
}

ZEL_RETCODE zelErrorCodeByName(const char *name, ZEL_RETCODE *pRetCode) {
    if (name == nullptr) return eINVNULLARG;
    for (int32_t i = 0; i < no_zel_errors; ++i) {
        if (psp_strcasecmp(zel_errors[i].name, name) == 0) {
            if (pRetCode != nullptr) *pRetCode = zel_errors[i].code;
            return sOKAY;
        }
    }
    return eSYS_BADERRCODE;
}

ZEL_RETCODE zelErrorDetails(ZEL_RETCODE retcode, const char **sqlState, const char **errDescr) {
    const ZEL_ERRDEFN *row = zelErrorLookup(retcode);
    if (row == nullptr) return eNOTFOUND;
    if (sqlState != nullptr) *sqlState = row->sqlstate;
    if (errDescr != nullptr) *errDescr = row->descr;
    return sOKAY;
}

const char *zelErrorSqlstate(ZEL_RETCODE retcode) {
    const ZEL_ERRDEFN *row = zelErrorLookup(retcode);
    return row != nullptr ? row->sqlstate : kUnknownSqlstate;
}

ZEL_RETCODE zelErrorGroupRange(const char *grname, ZEL_RETCODE *pFirst, ZEL_RETCODE *pLast) {
    if (grname == nullptr) return eINVNULLARG;
    for (int32_t i = 0; i < no_zel_errgroups; ++i) {
        if (psp_strcasecmp(zel_errgroups[i].name, grname) == 0) {
            if (pFirst != nullptr) *pFirst = zel_errgroups[i].firstcode;
            if (pLast != nullptr) *pLast = zel_errgroups[i].lastcode;
            return sOKAY;
        }
    }
    return sNOTFOUND;
}

// ---- The object.

void zelErrorInit(ZEL_ERR_PTR err, B_TAG_SUB subTag) {
    if (err == nullptr) return;
    std::memset(err, 0, sizeof *err);
    err->subTag = subTag;
}

ZEL_RETCODE zelErrorTerm(ZEL_ERR_PTR err) {
    if (err == nullptr) return eINVNULLARG;
    if (err->erractive) return eSYS_ERRACTIVE;
    b_tag_subFreeCanBeNull(err->subTag, err->info);
    b_tag_subFreeCanBeNull(err->subTag, err->fcnid);
    b_tag_subFreeCanBeNull(err->subTag, err->file);
    // Deliberately not freed: errfile and sqlstate have always been left to
    // the sub tag's owner, and callers free them themselves.
    std::memset(err, 0, sizeof *err);
    return sOKAY;
}

void zelErrorSetCleanup(ZEL_ERR_PTR err, ZEL_ERRCLEANUP cleanupfcn, void *cleanupdata) {
    if (err == nullptr) return;
    err->cleanup = cleanupfcn;
    err->cleanupdata = cleanupdata;
}

void zelErrorRunCleanup(ZEL_ERR_PTR err) {
    if (err != nullptr && err->cleanup != nullptr) err->cleanup(err->cleanupdata);
}

void zelErrorSetUserHandler(ZEL_ERR_PTR err, ZEL_ERRHANDLER errorfcn, void *errordata) {
    if (err == nullptr) return;
    err->userhandler = errorfcn;
    err->userdata = errordata;
}

void zelErrorSetUserHandlerData(ZEL_ERR_PTR err, void *errordata) {
    if (err != nullptr) err->userdata = errordata;
}

ZEL_RETCODE zelErrorStat(const ZEL_ERR *err) {
    return err != nullptr ? err->status : eINVNULLARG;
}

ZEL_RETCODE zelErrorEx(ZEL_ERR_PTR err, ZEL_RETCODE retcode, const char *errinfo,
                       const char *errfile, int32_t errline, int32_t errcolumn, const char *filenm,
                       int32_t lineno) {
    // A report from inside a handler of this object is refused untouched.
    if (err == nullptr || err->erractive) return retcode;
    ++err->callcount;

    // The saving stops at the first failure, whose code takes over.
    ZEL_RETCODE code = retcode;
    ZEL_RETCODE rc;
    if ((rc = zelSaveSourceFileInfo(err, errfile, errline, errcolumn)) < 0 ||
        (rc = zelSaveErrorInfo(err, errinfo)) < 0 ||
        (rc = zelSaveFileAndLine(err, filenm, lineno)) < 0)
        code = rc;

    err->erractive = ZEL_TRUE;
    if (err->syshandler != nullptr) {
        const ZEL_RETCODE sysrc = err->syshandler(err, code, err->sysdata);
        if (sysrc != sOKAY) code = sysrc;
    }
    err->status = code;

    ZEL_RETCODE result = code;
    if (code < 0) {
        if (err->userhandler != nullptr) {
            const ZEL_RETCODE userrc = err->userhandler(err, code, err->userdata);
            if (userrc != code) result = userrc == sOKAY ? sIGNORE : userrc;
        }
        zelErrorRunCleanup(err);
    }
    err->erractive = ZEL_FALSE;
    return result;
}

void zelErrorSetStatus(ZEL_ERR_PTR err, ZEL_RETCODE retcode) {
    if (err == nullptr) return;
    err->status = retcode;
    err->errline = 0;
    err->errcolumn = 0;
    if (err->info != nullptr) err->info[0] = '\0';
}

ZEL_RETCODE zelSaveErrorInfo(ZEL_ERR_PTR err, const char *errinfo) {
    if (err == nullptr) return eINVNULLARG;
    if (errinfo == nullptr) {
        if (err->info != nullptr) err->info[0] = '\0';
        return sOKAY;
    }
    return zelErrorStoreText(err->subTag, &err->info, errinfo);
}

ZEL_RETCODE zelSaveSourceFileInfo(ZEL_ERR_PTR err, const char *srcFileName, int32_t srcLineNum,
                                  int32_t srcColNum) {
    if (err == nullptr) return eINVNULLARG;
    err->errline = srcLineNum;
    err->errcolumn = srcColNum;
    if (zelErrorIsEmpty(srcFileName)) return sOKAY;
    return zelErrorStoreText(err->subTag, &err->errfile, srcFileName);
}

ZEL_RETCODE zelSaveFileAndLine(ZEL_ERR_PTR err, const char *filenm, int32_t lineno) {
    if (err == nullptr) return eINVNULLARG;
    if (filenm == nullptr) return sOKAY;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zelErrorStoreText(err->subTag, &err->file, filenm));
    err->line = lineno;
    return sOKAY;
}

const char *zelErrorGetSqlstate(const ZEL_ERR *err) {
    return err != nullptr ? err->sqlstate : nullptr;
}

void zelErrorSetSqlstate(ZEL_ERR_PTR err, const char *sqlstate) {
    if (err == nullptr) return;
    if (sqlstate == nullptr) {
        b_tag_subFreeCanBeNull(err->subTag, err->sqlstate);
        err->sqlstate = nullptr;
        return;
    }
    // A failed copy is ignored on purpose: the old SQLSTATE stands.
    (void)zelErrorStoreText(err->subTag, &err->sqlstate, sqlstate);
}

void zelErrorFileAndPosition(const ZEL_ERR *err, const char **perrFile, int32_t *pLine,
                             int32_t *pColumn) {
    if (err == nullptr) return;
    if (perrFile != nullptr) *perrFile = err->errfile;
    if (pLine != nullptr) *pLine = err->errline;
    if (pColumn != nullptr) *pColumn = err->errcolumn;
}

ZEL_RETCODE zelErrorInfoEx(const ZEL_ERR *err, const char **perrMsg, const char **perrInfo,
                           const char **perrName, const char **ppFcnID, const char **ppSubsys,
                           const char **ppFilenm, int32_t *pLineno) {
    if (err == nullptr) return eINVNULLARG;
    const ZEL_ERRDEFN *row = zelErrorLookup(err->status);
    if (row == nullptr) return eSYS_BADERRCODE;
    if (perrMsg != nullptr) *perrMsg = row->descr;
    if (perrInfo != nullptr) *perrInfo = zelErrorIsEmpty(err->info) ? nullptr : err->info;
    if (perrName != nullptr) *perrName = row->name;
    if (ppFcnID != nullptr) *ppFcnID = err->fcnid;
    if (ppSubsys != nullptr) {
        const ZEL_ERRGROUP *group = zelErrorGroup(err->status);
        *ppSubsys = group != nullptr ? group->name : nullptr;
    }
    if (ppFilenm != nullptr) *ppFilenm = err->file;
    if (pLineno != nullptr) *pLineno = err->line;
    return err->status;
}

ZEL_RETCODE zelGetErrorStat(const ZEL_ERR *err, B_TAG_SUB subTag, ERR_STAT *pES) {
    return zelErrorFillStat(
        err, pES,
        [subTag](const char *src, char **out) { return b_tag_subCopyString(subTag, src, out); },
        [subTag](char *buf) { b_tag_subFree(subTag, buf); });
}

ZEL_RETCODE zelGetErrorStatStack(const ZEL_ERR *err, B_TAG_STACK stackTag, ERR_STAT *pES) {
    return zelErrorFillStat(
        err, pES,
        [stackTag](const char *src, char **out) {
            return b_tag_stackCopyString(stackTag, src, out);
        },
        // Dropping the first copy rolls the stack back past the second as well.
        [stackTag](char *buf) { b_tag_stackFree(stackTag, buf); });
}

}  // extern "C"
