// `zelbase cmdline ARGS...` runs the command-line processor over ARGS with a
// sample table that has a row of every kind and all the shared options, and
// prints what init returned, each item of the walk and the status, so that
// the rules (clusters, an option's argument taken from the next element, the
// "=" form, positionals used up or repeated) can be tried by hand.
// `zelbase cmdline --help` shows the usage the processor lays out for it.
#include <cstdio>
#include <string>

#include "error.h"
#include "zelbase_cmds.h"

int zb_cmd_cmdline(int argc, char **argv);

const ZEL_CMDLINE_OPT zb_cmdline_sample[] = {
    {"a", "all", nullptr, "Take every row (no argument)"},
    {"v", nullptr, nullptr, "Verbose (a short option only)"},
    {"n", "count", "i:N", "Number of rows (an integer: an optional '-', then digits)"},
    {"s", "separator", "s:TEXT", "Field separator (any text)"},
    {"c", "quote", "c:CHAR", "Quote character (exactly one byte)"},
    {"", "level", "i:LEVEL", "Level (a long option only)"},
    {"x", "embed", nullptr, "The embedder's hidden option, never shown"},
    {"S", nullptr, "#:SOURCE", "Source (exactly one)"},
    {"T", nullptr, "?:TARGET", "Target (at most one)"},
    {"M", nullptr, "*:MORE", "More names (any number)"},
    {nullptr, nullptr, nullptr, nullptr},
};

namespace {

std::string zb_cmdline_text(const char *s) {
    return s == nullptr ? "null" : "\"" + std::string(s) + "\"";
}

}  // namespace

ZEL_RETCODE zb_cmdline_show(FILE *out, int argc, char **argv, const char *banner) {
    static const ZEL_CMD_DEFAULTS all{0, 0};
    ZEL_CMDLINE cmd;
    ZEL_CMDLINE_STATUS status;
    std::fflush(out);
    std::fflush(stderr);
    const ZEL_RETCODE rc = zel_cmdlineInitEx(
        &cmd, banner, argc, argv,
        "Parses its arguments against this table, which has a row of every kind, and\n"
        "prints what init returned, each item of the walk and the status.",
        zb_cmdline_sample, &all, &status);
    const char *name = "?";
    (void)zelErrorCodeDef(rc, nullptr, &name);
    std::fprintf(out, "init     %s\n", name);
    if (rc != sOKAY) return rc;
    const char *arg = nullptr;
    for (const char *item; (item = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;)
        std::fprintf(out, "item     %-10s %s\n", item,
                     arg != nullptr ? zb_cmdline_text(arg).c_str() : "(no argument)");
    std::fprintf(out, "status   quiet %s, key %s, docroot %s\n", status.quiet ? "yes" : "no",
                 zb_cmdline_text(status.enc_key).c_str(), zb_cmdline_text(status.docroot).c_str());
    return rc;
}

int zb_cmd_cmdline(int argc, char **argv) {
    return zb_exitCode(zb_cmdline_show(stdout, argc, argv, nullptr), argv[0]);
}
