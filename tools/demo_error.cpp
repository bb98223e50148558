// The error object section of `zelbase demo`: a failure recorded through a
// ZEL_ERR whose owner has a system handler, whose application ignores it with
// a user handler, and whose cleanup rolls back; then the stored facts.
#include <cstdio>

#include "error.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_error(FILE *out);

namespace {

struct DemoState {
    FILE *out;
    int pending_rows;  // what the cleanup has to roll back
    int cleanups;
};

const char *zb_demo_errorName(ZEL_RETCODE code) {
    const char *name = "?";
    (void)zelErrorCodeDef(code, nullptr, &name);
    return name;
}

// The owning layer's handler: it sees every report first and could change the
// code; here it only logs.
ZEL_RETCODE zb_demo_errorSys(ZEL_ERR_PTR err, ZEL_RETCODE code, void *data) {
    auto *st = static_cast<DemoState *>(data);
    std::fprintf(st->out, "  system handler: %s (%s), call %llu\n", zb_demo_errorName(code),
                 zelErrorString(code), static_cast<unsigned long long>(err->callcount));
    return sOKAY;
}

// The application's handler: it decides to carry on.
ZEL_RETCODE zb_demo_errorUser(ZEL_ERR_PTR, ZEL_RETCODE code, void *data) {
    auto *st = static_cast<DemoState *>(data);
    std::fprintf(st->out, "  user handler:   ignoring %s\n", zb_demo_errorName(code));
    return sOKAY;
}

void zb_demo_errorCleanup(void *data) {
    auto *st = static_cast<DemoState *>(data);
    std::fprintf(st->out, "  cleanup:        rolled back %d pending row(s)\n", st->pending_rows);
    st->pending_rows = 0;
    ++st->cleanups;
}

}  // namespace

int zb_demo_error(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    int64_t start = 0, now = 0, peak = 0;
    b_tag_subMemUsage(sub, &start, &peak, nullptr);

    DemoState st{out, 3, 0};
    ZEL_ERR err;
    zelErrorInit(&err, sub);
    err.syshandler = zb_demo_errorSys;  // the owner writes its handler directly
    err.sysdata = &st;
    zelErrorSetUserHandler(&err, zb_demo_errorUser, &st);
    zelErrorSetCleanup(&err, zb_demo_errorCleanup, &st);

    int bad = 0;
    std::fprintf(out, "A row loader meets a bad width at orders.json line 12, column 5:\n");
    const ZEL_RETCODE rc = zelErrorEx(&err, eINVARG, "width 0 for column price", "orders.json", 12,
                                      5, "demo_error.cpp", __LINE__);
    std::fprintf(out, "zelErrorEx returned %s: the caller carries on\n", zb_demo_errorName(rc));
    bad += rc != sIGNORE || st.cleanups != 1;

    const char *msg = nullptr, *info = nullptr, *name = nullptr, *subsys = nullptr, *file = nullptr,
               *errfile = nullptr;
    int32_t line = 0, errline = 0, errcol = 0;
    const ZEL_RETCODE status =
        zelErrorInfoEx(&err, &msg, &info, &name, nullptr, &subsys, &file, &line);
    zelErrorFileAndPosition(&err, &errfile, &errline, &errcol);
    std::fprintf(out, "Stored: status %s (%d) \"%s\", SQLSTATE %s\n", name,
                 static_cast<int>(status), msg,
                 zelErrorSqlstate(status) != nullptr ? zelErrorSqlstate(status) : "none");
    std::fprintf(out, "        info \"%s\", input %s:%d:%d, reported at %s:%d\n",
                 info != nullptr ? info : "", errfile, static_cast<int>(errline),
                 static_cast<int>(errcol), file, static_cast<int>(line));
    bad += status != eINVARG;

    std::fprintf(out, "A status is no failure: sNOTFOUND reaches only the system handler:\n");
    const ZEL_RETCODE rc2 = zelErrorEx(&err, sNOTFOUND, nullptr, nullptr, 0, 0, nullptr, 0);
    std::fprintf(out, "zelErrorEx returned %s, cleanups so far %d\n", zb_demo_errorName(rc2),
                 st.cleanups);
    bad += rc2 != sNOTFOUND || st.cleanups != 1;

    // The object leaves errfile to the sub tag's owner.
    b_tag_subFreeCanBeNull(sub, err.errfile);
    b_tag_subFreeCanBeNull(sub, err.sqlstate);
    bad += zelErrorTerm(&err) != sOKAY;
    b_tag_subMemUsage(sub, &now, &peak, nullptr);
    std::fprintf(out, "After zelErrorTerm: %lld bytes in use on the sub tag (peak %lld)\n",
                 static_cast<long long>(now - start), static_cast<long long>(peak));
    bad += now != start;

    return bad == 0 ? 0 : 1;
}
