// `zelbase error`: looks a return code up by number or name, or lists the
// table, so that a code in a log or a script can be read without the sources.
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "error.h"
#include "zelbase_cmds.h"

int zb_cmd_error(int argc, char **argv);

namespace {

// What the command does, with the names of the groups.
std::string zb_error_description() {
    std::string d =
        "Looks a return code up by number or name and prints its name, code, group,\n"
        "SQLSTATE and message; with --list, the table, or the rows of one group.\n"
        "A negative number is written with a leading blank (' -10000'): an element\n"
        "that starts with '-' is an option.\n\nGroups:";
    size_t col = 7;
    for (int32_t i = 0; i < no_zel_errgroups; ++i) {
        const std::string g = std::string(" \"") + zel_errgroups[i].name + "\"";
        if (col + g.size() > 78) {
            d += "\n       ";
            col = 7;
        }
        d += g;
        col += g.size();
    }
    return d;
}

// The group a code is numbered in (both directions of range, unlike the
// library's literal zelErrorGroup, which finds no error group).
const char *zb_error_groupOf(ZEL_RETCODE code) {
    for (int32_t i = 0; i < no_zel_errgroups; ++i) {
        const ZEL_ERRGROUP &g = zel_errgroups[i];
        const ZEL_RETCODE lo = g.firstcode < g.lastcode ? g.firstcode : g.lastcode;
        const ZEL_RETCODE hi = g.firstcode < g.lastcode ? g.lastcode : g.firstcode;
        if (lo <= code && code <= hi) return g.name;
    }
    return "(none)";
}

// A whole decimal integer in 32 bits, or false.
bool zb_error_parseCode(const char *text, ZEL_RETCODE *code) {
    char *end = nullptr;
    errno = 0;
    const long long v = std::strtoll(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || v < INT32_MIN || v > INT32_MAX) return false;
    *code = static_cast<ZEL_RETCODE>(v);
    return true;
}

void zb_error_printRow(const ZEL_ERRDEFN &e) {
    std::printf("%-30s %7d  %-5s  %s\n", e.name, static_cast<int>(e.code),
                e.sqlstate != nullptr ? e.sqlstate : "-", e.descr);
}

int zb_error_list(const char *group) {
    ZEL_RETCODE first = sOKAY, last = sOKAY;
    if (group != nullptr) {
        const ZEL_RETCODE rc = zelErrorGroupRange(group, &first, &last);
        if (rc != sOKAY) return zb_usageError("No group '%s' ('--help' lists them)", group);
    }
    const char *current = nullptr;
    for (int32_t i = 0; i < no_zel_errors; ++i) {
        const ZEL_ERRDEFN &e = zel_errors[i];
        const char *g = zb_error_groupOf(e.code);
        if (group != nullptr && std::strcmp(g, zb_error_groupOf(first)) != 0) continue;
        if (g != current) {
            std::printf("%s\"%s\"\n", current == nullptr ? "" : "\n", g);
            current = g;
        }
        zb_error_printRow(e);
    }
    return 0;
}

// Prints the library's answer to a lookup that failed: the code it returned
// and that code's own message.
int zb_error_refused(const char *arg, const char *what, ZEL_RETCODE rc) {
    const char *name = "?";
    (void)zelErrorCodeDef(rc, nullptr, &name);
    std::printf("%s: %s\n%s %d: %s\n", arg, what, name, static_cast<int>(rc), zelErrorString(rc));
    return 1;
}

int zb_error_show(const char *arg) {
    ZEL_RETCODE code = sOKAY;
    const bool numeric = zb_error_parseCode(arg, &code);
    if (!numeric) {
        const ZEL_RETCODE rc = zelErrorCodeByName(arg, &code);
        if (rc != sOKAY) return zb_error_refused(arg, "no code of that name", rc);
    }
    const char *msg = nullptr;
    const char *name = nullptr;
    const ZEL_RETCODE rc = zelErrorCodeDef(code, &msg, &name);
    if (rc != sOKAY) return zb_error_refused(arg, zelErrorString(code), rc);
    const char *state = zelErrorSqlstate(code);
    std::printf("name:     %s\n", name);
    std::printf("code:     %d\n", static_cast<int>(code));
    std::printf("group:    %s\n", zb_error_groupOf(code));
    std::printf("sqlstate: %s\n", state != nullptr ? state : "(none)");
    std::printf("message:  %s\n", msg);
    return 0;
}

}  // namespace

int zb_cmd_error(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"l", "list", nullptr, "List the table, or the rows of GROUP"},
        {"C", nullptr, "?:CODE|NAME|GROUP", "A code by number or name; with --list, a group"},
        {nullptr, nullptr, nullptr, nullptr}};
    const std::string description = zb_error_description();
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv, description.c_str(), opts); code != kZbGoOn)
        return code;
    bool list = false;
    const char *what = nullptr;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "list") == 0)
            list = true;
        else
            what = arg;
    }
    if (list) return zb_error_list(what);
    if (what == nullptr || what[0] == '\0')
        return zb_usageError("Missing argument 'CODE|NAME' ('--help' for more information)");
    return zb_error_show(what);
}
