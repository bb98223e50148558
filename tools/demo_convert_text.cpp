// The text parser section of `zelbase demo`: what the number syntax check
// makes of a few texts, SQL date literals in their several spellings, and
// escape clauses rewritten into plain SQL.
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

#include "convert_text.h"
#include "error.h"
#include "zelbase_cmds.h"

int zb_demo_convert_text(FILE *out);

namespace {

const char *zb_demotxt_status(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

// The text in quotes, so that a trailing blank shows.
std::string zb_demotxt_quoted(const char *text) {
    return std::string("\"") + text + "\"";
}

void zb_demotxt_numbers(FILE *out) {
    std::fprintf(out, "  number syntax (sign, integer digits, fraction digits, exponent):\n");
    for (const char *text : {" -12.345E+07", "+.5", "1e+", "12 ", "1x1e400", "1e400"}) {
        int32_t sign = 0, mag = 0, scale = 0, expt = 0;
        const ZEL_RETCODE rc = convert_parseNumber(text, &sign, &mag, &scale, &expt);
        if (rc == sOKAY) {
            std::fprintf(out, "    %-16s -> %+d, %d, %d, %d\n", zb_demotxt_quoted(text).c_str(),
                         sign, mag, scale, expt);
        } else {
            std::fprintf(out, "    %-16s -> %s\n", zb_demotxt_quoted(text).c_str(),
                         zb_demotxt_status(rc));
        }
    }
}

void zb_demotxt_int32(FILE *out) {
    std::fprintf(out, "  text to int32:\n");
    for (const char *text : {"42", "12.7", "-12.7", "1.5e3", "3000000000", "42 "}) {
        int32_t v = 0;
        CNVCB cb{};
        cb.pvSrc = text;
        cb.tSrcLen = std::strlen(text) + 1;
        cb.pvDst = &v;
        cb.tDstLen = sizeof v;
        const ZEL_RETCODE rc = cnv_stringToInt32(&cb);
        if (rc >= 0) {
            std::fprintf(out, "    %-14s -> %d (%s)\n", zb_demotxt_quoted(text).c_str(), v,
                         zb_demotxt_status(rc));
        } else {
            std::fprintf(out, "    %-14s -> %s\n", zb_demotxt_quoted(text).c_str(),
                         zb_demotxt_status(rc));
        }
    }
}

bool zb_demotxt_dates(FILE *out) {
    std::fprintf(out, "  date literals (day numbers from 1 January of year 1):\n");
    uint32_t first = 0;
    for (const char *text :
         {"2021-03-04", "'2021-3-4'", "date '2021-03-04'", "@'2021-03-04'", "03/04/2021"}) {
        uint32_t day = 0;
        CNVCB cb{};
        cb.pvSrc = text;
        cb.tSrcLen = std::strlen(text) + 1;
        cb.pvDst = &day;
        cb.tDstLen = sizeof day;
        const bool us = text[2] == '/';
        cb.date_format = us ? ZEL_MMDDYYYY : ZEL_YYYYMMDD;
        cb.date_sep = us ? '/' : '-';
        const ZEL_RETCODE rc = cnv_stringToDate(&cb);
        if (rc != sOKAY) return false;
        if (first == 0) first = day;
        std::fprintf(out, "    %-20s -> %u%s\n", text, day, us ? "  (month/day/year)" : "");
        if (day != first) return false;
    }
    return true;
}

void zb_demotxt_escapes(FILE *out) {
    std::fprintf(out, "  escape clauses:\n");
    for (const char *text :
         {"select * from t where d = {d '2021-01-02'}", "select {fn now()}", "{call proc(1, 'x')}",
          "like 'a!%' {escape '!'}", "select --(*vendor(acme),product(db) fn now() *)-- from t",
          "select '{d x}' from t", "select {x}"}) {
        char buf[128];
        size_t len = 0;
        const ZEL_RETCODE rc = b_convertEscapesToSQL(text, buf, sizeof buf, &len);
        std::fprintf(out, "    %s\n      -> ", text);
        if (rc == sOKAY) {
            std::fprintf(out, "\"%s\"\n", buf);
        } else {
            std::fprintf(out, "%s\n", zb_demotxt_status(rc));
        }
    }
}

}  // namespace

int zb_demo_convert_text(FILE *out) {
    zb_demotxt_numbers(out);
    zb_demotxt_int32(out);
    if (!zb_demotxt_dates(out)) return 1;
    zb_demotxt_escapes(out);
    return 0;
}
