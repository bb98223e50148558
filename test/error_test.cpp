// The error object and the lookups: recording, the handler protocol, owned
// texts given back, out of memory while saving, and every lookup's answer for
// known and unknown codes.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "error.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace {

// ---- Lookups.

TEST(ErrorLookup, EveryRowRoundTrips) {
    for (int i = 0; i < no_zel_errors; ++i) {
        const ZEL_ERRDEFN &e = zel_errors[i];
        EXPECT_EQ(zelErrorLookup(e.code), &e) << e.name;
        const char *msg = nullptr;
        const char *name = nullptr;
        ASSERT_EQ(zelErrorCodeDef(e.code, &msg, &name), sOKAY) << e.name;
        EXPECT_EQ(msg, e.descr);
        ZEL_RETCODE back = eFAIL;
        ASSERT_EQ(zelErrorCodeByName(name, &back), sOKAY) << name;
        EXPECT_EQ(back, e.code);
        std::string lower = name;
        for (char &c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        back = eFAIL;
        ASSERT_EQ(zelErrorCodeByName(lower.c_str(), &back), sOKAY) << lower;
        EXPECT_EQ(back, e.code);
        EXPECT_EQ(zelErrorString(e.code), e.descr);
        EXPECT_EQ(zelErrorSqlstate(e.code), e.sqlstate);
        const char *state = "x";
        const char *descr = nullptr;
        ASSERT_EQ(zelErrorDetails(e.code, &state, &descr), sOKAY);
        EXPECT_EQ(state, e.sqlstate);
        EXPECT_EQ(descr, e.descr);
    }
}

// The linear-then-binary search agrees with a plain map over every code from
// beyond the lowest group to beyond the highest.
TEST(ErrorLookup, AgreesWithAMapOverTheWholeRange) {
    std::map<int32_t, const ZEL_ERRDEFN *> model;
    for (int i = 0; i < no_zel_errors; ++i) model[zel_errors[i].code] = &zel_errors[i];
    for (int32_t code = -31000; code <= 30000; ++code) {
        auto it = model.find(code);
        ASSERT_EQ(zelErrorLookup(static_cast<ZEL_RETCODE>(code)),
                  it == model.end() ? nullptr : it->second)
            << code;
    }
}

TEST(ErrorLookup, UnknownCodesGetEachLookupsOwnAnswer) {
    const int32_t unknown[] = {1,      -2,     9999,   10044,  28999,   29001,     -10112,
                               -10999, -14563, -15175, -30004, -424242, INT32_MIN, INT32_MAX};
    for (int32_t c : unknown) {
        const ZEL_RETCODE code = static_cast<ZEL_RETCODE>(c);
        EXPECT_EQ(zelErrorLookup(code), nullptr) << c;
        EXPECT_STREQ(zelErrorString(code), "<unknown error>") << c;
        EXPECT_STREQ(zelErrorSqlstate(code), "RX000") << c;
        const char *msg = "untouched";
        const char *name = "untouched";
        EXPECT_EQ(zelErrorCodeDef(code, &msg, &name), eSYS_BADERRCODE);
        EXPECT_STREQ(msg, "untouched");
        EXPECT_STREQ(name, "untouched");
        EXPECT_EQ(zelErrorDetails(code, &msg, &name), eNOTFOUND);
        EXPECT_STREQ(msg, "untouched");
    }
    ZEL_RETCODE rc = eFAIL;
    EXPECT_EQ(zelErrorCodeByName("eNOSUCHCODE", &rc), eSYS_BADERRCODE);
    EXPECT_EQ(zelErrorCodeByName("", &rc), eSYS_BADERRCODE);
    EXPECT_EQ(rc, eFAIL);
    EXPECT_EQ(zelErrorCodeByName(nullptr, &rc), eINVNULLARG);
    EXPECT_EQ(zelErrorCodeByName("EnOmEmOrY", nullptr), sOKAY);
}

TEST(ErrorLookup, FixedAnswers) {
    EXPECT_STREQ(zelErrorString(sOKAY), "Normal, successful return");
    EXPECT_EQ(zelErrorSqlstate(sEOF), nullptr);  // a row without one, not "RX000"
    EXPECT_EQ(zelErrorCodeDef(sOKAY, nullptr, nullptr), sOKAY);
}

// Only statuses, "ok" and "fail" find their group: error groups run downward.
TEST(ErrorLookup, GroupTestIsLiteral) {
    auto group = [](ZEL_RETCODE c) {
        const ZEL_ERRGROUP *g = zelErrorGroup(c);
        return std::string(g == nullptr ? "<null>" : g->name);
    };
    std::string got;
    for (ZEL_RETCODE c : {sQA_MOKA_SUCCESS_WITH_INFO, sNOTFOUND, sBASE_DONE, sOKAY, eFAIL,
                          eNOMEMORY, eSQL_SYSTEM, eEMBED_CONTENT_MISMATCH})
        got += group(c) + ";";
    EXPECT_EQ(got, "status moka;status;status;ok;fail;<null>;<null>;<null>;");
}

TEST(ErrorLookup, GroupRangeByNameInAnyCase) {
    ZEL_RETCODE first = sOKAY, last = sOKAY;
    ASSERT_EQ(zelErrorGroupRange("SQL", &first, &last), sOKAY);
    EXPECT_EQ(first, eSQL_SQLERROR);
    EXPECT_EQ(last, eSQL_SYSTEM);
    ASSERT_EQ(zelErrorGroupRange("Q/A", &first, nullptr), sOKAY);
    EXPECT_EQ(first, eQA_ILLEGAL_GSV_COMBINATION);
    ASSERT_EQ(zelErrorGroupRange("status moka", nullptr, &last), sOKAY);
    EXPECT_EQ(last, sQA_MOKA_SUCCESS_WITH_INFO);
    first = last = sOKAY;
    EXPECT_EQ(zelErrorGroupRange("sqlx", &first, &last), sNOTFOUND);
    EXPECT_EQ(first, sOKAY);
    EXPECT_EQ(zelErrorGroupRange(nullptr, &first, &last), eINVNULLARG);
}

// ---- The object.

// A user handler answer that is no code: hand back the code received.
constexpr ZEL_RETCODE kEcho = static_cast<ZEL_RETCODE>(1);

// What the handlers saw, for the protocol tests.
struct Trace {
    std::vector<ZEL_RETCODE> sys, user;
    int cleanups = 0;
    ZEL_RETCODE sys_answer = sOKAY;
    ZEL_RETCODE user_answer = kEcho;
    ZEL_RETCODE nested = sOKAY;  // what a nested report returned
    bool nest = false;           // the system handler reports again
    bool term_inside = false;    // the user handler tries zelErrorTerm
    ZEL_RETCODE term_rc = sOKAY;
};

ZEL_RETCODE TraceSys(ZEL_ERR_PTR err, ZEL_RETCODE code, void *data) {
    Trace *t = static_cast<Trace *>(data);
    t->sys.push_back(code);
    if (t->nest) t->nested = zelErrorEx(err, eDIVBY0, "inner", "in.sql", 9, 9, "h.cpp", 1);
    return t->sys_answer;
}

ZEL_RETCODE TraceUser(ZEL_ERR_PTR err, ZEL_RETCODE code, void *data) {
    Trace *t = static_cast<Trace *>(data);
    t->user.push_back(code);
    if (t->term_inside) t->term_rc = zelErrorTerm(err);
    return t->user_answer == kEcho ? code : t->user_answer;
}

void TraceCleanup(void *data) {
    ++static_cast<Trace *>(data)->cleanups;
}

// The recorded facts: "status calls info file:line errfile:errline:errcolumn".
std::string facts(const ZEL_ERR &e) {
    auto t = [](const char *p) { return std::string(p == nullptr ? "-" : p); };
    return std::to_string(e.status) + " " + std::to_string(e.callcount) + " " + t(e.info) + " " +
           t(e.file) + ":" + std::to_string(e.line) + " " + t(e.errfile) + ":" +
           std::to_string(e.errline) + ":" + std::to_string(e.errcolumn);
}

std::string facts4(int a, int b, int c, int d) {
    return std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(c) + " " +
           std::to_string(d);
}

class ErrorObject : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        zelErrorInit(&err_, sub);
    }
    void TearDown() override {
        // errfile and sqlstate are the sub tag owner's to free.
        b_tag_subFreeCanBeNull(sub, err_.errfile);
        b_tag_subFreeCanBeNull(sub, err_.sqlstate);
        EXPECT_EQ(zelErrorTerm(&err_), sOKAY);
        TaggedTest::TearDown();
    }
    ZEL_RETCODE report(ZEL_RETCODE code) {
        return zelErrorEx(&err_, code, nullptr, nullptr, 0, 0, nullptr, 0);
    }
    void Wire(Trace &t) {
        err_.syshandler = TraceSys;
        err_.sysdata = &t;
        zelErrorSetUserHandler(&err_, TraceUser, &t);
        zelErrorSetCleanup(&err_, TraceCleanup, &t);
    }
    ZEL_ERR err_{};
};

TEST_F(ErrorObject, RecordsTheFactsOfAReport) {
    EXPECT_EQ(zelErrorEx(&err_, eINVARG, "bad width", "load.json", 3, 7, "row.cpp", 42), eINVARG);
    EXPECT_EQ(zelErrorStat(&err_), eINVARG);
    EXPECT_EQ(facts(err_), std::to_string(eINVARG) + " 1 bad width row.cpp:42 load.json:3:7");
    const char *msg, *info, *name, *fcn = "x", *subsys = "x", *file;
    int32_t line = 0;
    ASSERT_EQ(zelErrorInfoEx(&err_, &msg, &info, &name, &fcn, &subsys, &file, &line), eINVARG);
    EXPECT_STREQ(msg, zelErrorString(eINVARG));
    EXPECT_STREQ(info, "bad width");
    EXPECT_STREQ(name, "eINVARG");
    EXPECT_EQ(fcn, nullptr);
    EXPECT_EQ(subsys, nullptr);  // the literal group test finds no error group
    EXPECT_STREQ(file, "row.cpp");
    EXPECT_EQ(line, 42);
    const char *errfile;
    int32_t errline, errcol;
    zelErrorFileAndPosition(&err_, &errfile, &errline, &errcol);
    EXPECT_EQ(std::string(errfile) + std::to_string(errline) + std::to_string(errcol),
              "load.json37");
    zelErrorFileAndPosition(&err_, nullptr, nullptr, nullptr);
    // A later report without texts keeps the names, empties info.
    EXPECT_EQ(report(eNOMEMORY), eNOMEMORY);
    EXPECT_EQ(facts(err_), std::to_string(eNOMEMORY) + " 2  row.cpp:42 load.json:0:0");
    ASSERT_EQ(zelErrorInfoEx(&err_, nullptr, &info, nullptr, nullptr, &subsys, &file, &line),
              eNOMEMORY);
    EXPECT_EQ(info, nullptr);
}

TEST_F(ErrorObject, InfoOfAnUnknownStatusWritesNothing) {
    zelErrorSetStatus(&err_, static_cast<ZEL_RETCODE>(77));
    const char *msg = "untouched";
    EXPECT_EQ(zelErrorInfoEx(&err_, &msg, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              eSYS_BADERRCODE);
    EXPECT_STREQ(msg, "untouched");
    zelErrorSetStatus(&err_, sNOTFOUND);
    const char *subsys = nullptr;
    EXPECT_EQ(zelErrorInfoEx(&err_, nullptr, nullptr, nullptr, nullptr, &subsys, nullptr, nullptr),
              sNOTFOUND);
    EXPECT_STREQ(subsys, "status");
}

TEST_F(ErrorObject, ReportOrTermFromInsideAHandlerIsRefused) {
    Trace t;
    t.nest = t.term_inside = true;
    Wire(t);
    EXPECT_EQ(zelErrorEx(&err_, eINVARG, "outer", nullptr, 0, 0, nullptr, 0), eINVARG);
    EXPECT_EQ(t.nested, eDIVBY0);  // returned as given
    EXPECT_EQ(t.term_rc, eSYS_ERRACTIVE);
    EXPECT_EQ(facts(err_), std::to_string(eINVARG) + " 1 outer -:0 -:0:0");
    EXPECT_EQ(t.sys.size(), 1u);
    EXPECT_EQ(err_.erractive, ZEL_FALSE);
    EXPECT_EQ(err_.subTag, sub);
    EXPECT_EQ(zelErrorEx(nullptr, eINVARG, nullptr, nullptr, 0, 0, nullptr, 0), eINVARG);
}

// The system handler decides the sign (sOKAY leaves the code); a status
// skips the user handler and the cleanup; the user handler's sOKAY ignores
// (sIGNORE), the same code lets the failure stand, another code replaces the
// result only. "result status code-the-user-saw cleanups".
TEST_F(ErrorObject, HandlerProtocol) {
    Trace t;
    Wire(t);
    const struct {
        ZEL_RETCODE code, sys, user;
        std::string want;
    } cases[] = {
        {sNOTFOUND, sOKAY, kEcho, facts4(sNOTFOUND, sNOTFOUND, 0, 0)},
        {eEOF, sNODATA, kEcho, facts4(sNODATA, sNODATA, 0, 0)},
        {sEOF, eFILEIO, eFILEIO, facts4(eFILEIO, eFILEIO, eFILEIO, 1)},
        {eRANGE, sOKAY, eFILEIO, facts4(eFILEIO, eRANGE, eRANGE, 1)},
        {eCHECK, sOKAY, sOKAY, facts4(sIGNORE, eCHECK, eCHECK, 1)},
        {eCHECK, sOKAY, eCHECK, facts4(eCHECK, eCHECK, eCHECK, 1)},
        {eCHECK, sOKAY, eDBCORRUPTED, facts4(eDBCORRUPTED, eCHECK, eCHECK, 1)},
    };
    for (const auto &c : cases) {
        t = Trace{};
        t.sys_answer = c.sys;
        t.user_answer = c.user;
        const ZEL_RETCODE rc = report(c.code);
        EXPECT_EQ(facts4(rc, err_.status, t.user.empty() ? 0 : t.user.back(), t.cleanups), c.want)
            << c.code;
        EXPECT_EQ(t.sys, std::vector<ZEL_RETCODE>{c.code});
    }
}

TEST_F(ErrorObject, CleanupRunsForEveryNegativeCode) {
    Trace t;
    Wire(t);
    t.user_answer = sOKAY;
    int negatives = 0;
    for (int i = 0; i < no_zel_errors; ++i) {
        const ZEL_RETCODE code = zel_errors[i].code;
        const ZEL_RETCODE rc = zelErrorEx(&err_, code, "x", nullptr, 0, 0, nullptr, 0);
        if (code < 0) {
            ++negatives;
            EXPECT_EQ(rc, sIGNORE) << zel_errors[i].name;
        } else {
            EXPECT_EQ(rc, code);
        }
        EXPECT_EQ(t.cleanups, negatives) << zel_errors[i].name;
    }
    EXPECT_EQ(negatives, 576);
    // Without a user handler the cleanup still runs.
    zelErrorSetUserHandler(&err_, nullptr, nullptr);
    EXPECT_EQ(report(eFAIL), eFAIL);
    EXPECT_EQ(t.cleanups, negatives + 1);
}

TEST_F(ErrorObject, SetStatusBlanksInputPositionAndText) {
    ASSERT_EQ(zelErrorEx(&err_, eSYNTAX, "near FROM", "q.sql", 4, 12, "lex.cpp", 99), eSYNTAX);
    char *const buf = err_.info;
    zelErrorSetStatus(&err_, sOKAY);
    EXPECT_EQ(facts(err_), "0 1  lex.cpp:99 q.sql:0:0");
    EXPECT_EQ(err_.info, buf);
}

TEST_F(ErrorObject, SavingTexts) {
    ASSERT_EQ(zelSaveErrorInfo(&err_, "short"), sOKAY);
    const std::string longer(3000, 'L');  // page route: the buffer moves
    ASSERT_EQ(zelSaveErrorInfo(&err_, longer.c_str()), sOKAY);
    EXPECT_EQ(err_.info, longer);
    char *const buf = err_.info;
    ASSERT_EQ(zelSaveErrorInfo(&err_, nullptr), sOKAY);
    EXPECT_EQ(err_.info, buf);
    EXPECT_STREQ(err_.info, "");
    ASSERT_EQ(zelSaveErrorInfo(&err_, "own text"), sOKAY);
    ASSERT_EQ(zelSaveErrorInfo(&err_, err_.info + 4), sOKAY);  // a tail of itself
    EXPECT_STREQ(err_.info, "text");

    ASSERT_EQ(zelSaveSourceFileInfo(&err_, "a.sql", 1, 2), sOKAY);
    ASSERT_EQ(zelSaveSourceFileInfo(&err_, nullptr, 3, 4), sOKAY);
    ASSERT_EQ(zelSaveSourceFileInfo(&err_, "", 5, 6), sOKAY);
    ASSERT_EQ(zelSaveFileAndLine(&err_, "x.cpp", 10), sOKAY);
    ASSERT_EQ(zelSaveFileAndLine(&err_, nullptr, 20), sOKAY);
    EXPECT_EQ(facts(err_), "0 0 text x.cpp:10 a.sql:5:6");
    ASSERT_EQ(zelSaveSourceFileInfo(&err_, "b-longer-name.sql", 7, 8), sOKAY);
    EXPECT_STREQ(err_.errfile, "b-longer-name.sql");
}

TEST_F(ErrorObject, TermKeepsInputFileAndSqlstateForTheOwner) {
    ASSERT_EQ(zelErrorEx(&err_, eFAIL, "i", "input.json", 1, 1, "f.cpp", 1), eFAIL);
    EXPECT_EQ(zelErrorGetSqlstate(&err_), nullptr);
    zelErrorSetSqlstate(&err_, "45000");
    zelErrorSetSqlstate(&err_, "22000");
    EXPECT_STREQ(zelErrorGetSqlstate(&err_), "22000");
    char *errfile = err_.errfile;
    char *sqlstate = err_.sqlstate;
    ASSERT_EQ(zelErrorTerm(&err_), sOKAY);
    EXPECT_EQ(err_.info, nullptr);
    EXPECT_EQ(err_.subTag, nullptr);
    int64_t now = 0;
    b_tag_subMemUsage(sub, &now, nullptr, nullptr);
    EXPECT_GT(now, start);  // the two texts are still out
    b_tag_subFree(sub, errfile);
    b_tag_subFree(sub, sqlstate);
    zelErrorInit(&err_, sub);
    EXPECT_EQ(zelErrorTerm(nullptr), eINVNULLARG);
}

// A stat record: "code row:col info fcnId".
std::string stat(const ERR_STAT &es) {
    return std::to_string(es.code) + " " + std::to_string(es.rowno) + ":" +
           std::to_string(es.colno) + " " + (es.info ? es.info : "-") + " " +
           (es.fcnId ? es.fcnId : "-");
}

TEST_F(ErrorObject, StatCopies) {
    ASSERT_EQ(zelErrorEx(&err_, eRANGE, "column 3", "rows.csv", 17, 3, "imp.cpp", 5), eRANGE);
    ASSERT_EQ(b_tag_subCopyString(sub, "row_unpack", &err_.fcnid), sOKAY);
    ERR_STAT es{};
    char sentinel[] = "keep";
    es.srcfile = sentinel;
    es.srcline = 11;
    EXPECT_EQ(zelGetErrorStat(&err_, sub, nullptr), eINVNULLARG);
    ASSERT_EQ(zelGetErrorStat(&err_, sub, &es), sOKAY);
    EXPECT_EQ(stat(es), std::to_string(eRANGE) + " 17:3 column 3 row_unpack");
    EXPECT_NE(es.info, err_.info);
    EXPECT_EQ(es.srcfile, sentinel);  // not written
    EXPECT_EQ(es.srcline, 11);
    b_tag_subFree(sub, es.info);
    b_tag_subFree(sub, es.fcnId);
    zelErrorSetStatus(&err_, sNOTFOUND);  // empty info copies as null
    ASSERT_EQ(zelGetErrorStat(&err_, sub, &es), sOKAY);
    EXPECT_EQ(es.info, nullptr);
    b_tag_subFree(sub, es.fcnId);
    // On a stack tag: one block, info and fcnId together.
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    ASSERT_EQ(zelErrorEx(&err_, eSYNTAX, "unexpected ','", nullptr, 2, 9, nullptr, 0), eSYNTAX);
    ASSERT_EQ(zelGetErrorStatStack(&err_, stack, &es), sOKAY);
    EXPECT_EQ(stat(es), std::to_string(eSYNTAX) + " 2:9 unexpected ',' row_unpack");
    b_tag_stackFree(stack, es.info);
    int64_t now = -1, peak = 0;
    b_tag_stackMemUsage(stack, &now, &peak);
    EXPECT_EQ(now, 0);
    EXPECT_EQ(zelGetErrorStatStack(&err_, stack, nullptr), eINVNULLARG);
    b_tag_stackDestroy(stack);
}

// ---- Out of memory.

// The owned texts of an error object, "-" for none.
std::vector<std::string> texts(const ZEL_ERR &e) {
    std::vector<std::string> out;
    for (const char *t : {e.info, e.errfile, e.file, e.sqlstate}) out.push_back(t ? t : "-");
    return out;
}

// Each saving function, the report and the stat copies, with allocation 1, 2,
// 3, ... failing. A failed save answers eNOMEMORY and keeps the older text; a
// report hands the handlers eNOMEMORY in place of its code; a stat copy
// leaves the record untouched; nothing leaks.
TEST_F(ErrorObject, SavingUnderFailingAllocations) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 8192, 8192, &stack), sOKAY);
    const std::string big(3500, 'B');  // a page of its own
    const char *const bigs = big.c_str();
    const std::function<ZEL_RETCODE(ZEL_ERR *)> steps[] = {
        [](ZEL_ERR *e) { return zelSaveErrorInfo(e, "old"); },
        [](ZEL_ERR *e) { return zelSaveSourceFileInfo(e, "old.sql", 1, 1); },
        [](ZEL_ERR *e) { return zelSaveFileAndLine(e, "old.cpp", 1); },
        [&](ZEL_ERR *e) { return zelSaveErrorInfo(e, bigs); },
        [&](ZEL_ERR *e) { return zelSaveSourceFileInfo(e, bigs, 2, 2); },
        [&](ZEL_ERR *e) { return zelSaveFileAndLine(e, bigs, 2); },
        [&](ZEL_ERR *e) { return zelErrorEx(e, eBADCAT, "report", "in.sql", 3, 3, "r.cpp", 3); },
    };
    const int faults =
        oom_check(master, {sub},
                  [&] {
                      ZEL_ERR e;
                      zelErrorInit(&e, sub);
                      Trace t;
                      zelErrorSetUserHandler(&e, TraceUser, &t);
                      ZEL_RETCODE rc = sOKAY;
                      for (size_t i = 0; i < std::size(steps) && rc == sOKAY; ++i) {
                          const std::vector<std::string> before = texts(e);
                          rc = steps[i](&e);
                          if (rc == eBADCAT) {
                              rc = sOKAY;  // the report's own code
                          } else if (rc != sOKAY && i + 1 < std::size(steps)) {
                              EXPECT_EQ(texts(e), before);
                          } else if (rc != sOKAY) {
                              EXPECT_EQ(e.status, eNOMEMORY);
                              EXPECT_EQ(t.user.back(), eNOMEMORY);  // the handlers see the new code
                              const std::vector<std::string> now = texts(e);
                              const char *const saved[] = {"report", "in.sql", "r.cpp"};
                              for (int k = 0; k < 3; ++k)  // each text old or new, whole
                                  EXPECT_TRUE(now[k] == before[k] || now[k] == saved[k]);
                          }
                      }
                      zelErrorSetSqlstate(&e, "45000");  // a failed copy is ignored
                      if (rc == sOKAY) rc = b_tag_subCopyString(sub, "fcn", &e.fcnid);
                      if (rc == sOKAY) {
                          ERR_STAT es{}, keep{};
                          es.code = keep.code = sIGNORE;
                          rc = zelGetErrorStat(&e, sub, &es);
                          if (rc == sOKAY) {
                              EXPECT_STREQ(es.info, "report");
                              EXPECT_STREQ(es.fcnId, "fcn");
                              b_tag_subFree(sub, es.fcnId);
                              b_tag_subFree(sub, es.info);
                              es = keep;
                              rc = zelGetErrorStatStack(&e, stack, &es);
                              if (rc == sOKAY) b_tag_stackFree(stack, es.info);  // and fcnId
                          }
                          if (rc != sOKAY) {
                              EXPECT_EQ(std::memcmp(&es, &keep, sizeof es), 0);
                          }
                      }
                      b_tag_subFreeCanBeNull(sub, e.errfile);  // the owner's to free
                      b_tag_subFreeCanBeNull(sub, e.sqlstate);
                      EXPECT_EQ(zelErrorTerm(&e), sOKAY);
                      return rc;
                  },
                  {}, {stack});
    EXPECT_GE(faults, 10);
    b_tag_stackDestroy(stack);
}

}  // namespace
