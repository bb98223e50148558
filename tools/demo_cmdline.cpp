// Demo section on the command-line processor: a tool's table with a row of
// every kind, then lines run through it: a cluster whose option takes the
// next element, the "=" form, the shared options into the status, two user
// errors, the version report and the usage the processor lays out. Errors go
// to standard error; here it is pointed at standard output for the length of
// the section, so that they show in place.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "zelbase_cmds.h"

int zb_demo_cmdline(FILE *out);

int zb_demo_cmdline(FILE *out) {
    std::fprintf(out, "the table: short, long, argument (kind:name), shown in the usage\n");
    for (const ZEL_CMDLINE_OPT *o = zb_cmdline_sample; o->optShort != nullptr; ++o) {
        std::fprintf(out, "  %-5s %-10s %-10s %s\n", o->optShort[0] != '\0' ? o->optShort : "\"\"",
                     o->optLong != nullptr ? o->optLong : "-", o->arg != nullptr ? o->arg : "-",
                     o->desc != nullptr ? o->desc : "(hidden)");
    }
    struct Line {
        std::vector<std::string> words;
        ZEL_RETCODE expected;
        const char *note;
    };
    const Line lines[] = {
        {{"-an", "5", "--separator=;", "in.db", "out.db", "x.db", "y.db"},
         sOKAY,
         "a cluster: -a, then -n taking the next element; two positionals used up, one "
         "repeated"},
        {{"-na", "-5", "in.db"}, sOKAY, "kept: -n takes the next element whatever it looks like"},
        {{"--key", "aes128:secret", "-q", "--docroot=/srv/db", "in.db"},
         sOKAY,
         "the shared options go to the status and not to the walk"},
        {{"--count=1x", "in.db"}, eBASE_COMMAND, "a value of the wrong kind"},
        {{"-a"}, eBASE_COMMAND, "a mandatory positional missing"},
        {{"--version"}, sCMD_VERSION, "the version report"},
        {{"--help"}, sCMD_USAGE, "the usage, laid out by the processor"},
    };
    std::fflush(out);
    std::fflush(stderr);
    const int saved = dup(2);
    if (saved < 0 || dup2(fileno(out), 2) < 0) return 1;
    int failures = 0;
    for (const Line &l : lines) {
        std::vector<std::string> words = l.words;
        words.insert(words.begin(), "demo");
        std::vector<char *> argv;
        std::string shown = "$";
        for (std::string &w : words) {
            argv.push_back(w.data());
            shown += " " + w;
        }
        std::fprintf(out, "\n%s\n  (%s)\n", shown.c_str(), l.note);
        if (zb_cmdline_show(out, int(argv.size()), argv.data(), nullptr) != l.expected) {
            std::fprintf(out, "!! not the expected result\n");
            ++failures;
        }
    }
    std::fflush(out);
    dup2(saved, 2);
    close(saved);
    return failures == 0 ? 0 : 1;
}
