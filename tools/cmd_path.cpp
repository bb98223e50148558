// `zelbase path` exposes the path helpers: split a path at its last "/",
// complete it to an absolute one, test names against a pattern, scan a
// directory, make temporary names. `zelbase docroot lock DIR` takes the lock
// of a document root and holds it for a while, so that a second shell can
// see the directory in use.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "error.h"
#include "path.h"
#include "zelbase_cmds.h"

int zb_cmd_path(int argc, char **argv);
int zb_cmd_docroot(int argc, char **argv);

namespace {

int zb_path_fail(const char *what, ZEL_RETCODE rc) {
    const char *name = nullptr;
    const char *msg = nullptr;
    if (zelErrorCodeDef(rc, &msg, &name) != sOKAY) name = msg = "?";
    std::fprintf(stderr, "zelbase %s: %s (%d): %s\n", what, name, static_cast<int>(rc), msg);
    return 1;
}

std::string zb_path_show(const char *s) {
    return s == nullptr ? "null" : "\"" + std::string(s) + "\"";
}

using Words = std::vector<const char *>;

int zb_path_split(const Words &argv, B_TAG_SUB sub) {
    const size_t argc = argv.size();
    if (argc == 0) return zb_usageError("split takes one PATH or more");
    for (size_t i = 0; i < argc; ++i) {
        char *dir = nullptr, *file = nullptr;
        const ZEL_RETCODE rc = b_pathSplit(argv[i], &dir, &file, sub);
        if (rc != sOKAY) return zb_path_fail("path split", rc);
        std::printf("%-30s dir %-20s file %s\n", zb_path_show(argv[i]).c_str(),
                    zb_path_show(dir).c_str(), zb_path_show(file).c_str());
        b_tag_subFreeCanBeNull(sub, dir);
        b_tag_subFreeCanBeNull(sub, file);
    }
    return 0;
}

int zb_path_full(const Words &argv, B_TAG_SUB sub) {
    const size_t argc = argv.size();
    for (size_t i = 0; i < (argc == 0 ? 1 : argc); ++i) {
        const char *in = argc == 0 ? nullptr : argv[i];
        char *full = b_fullpath(in, sub);
        if (full == nullptr) return zb_path_fail("path full", eNOMEMORY);
        std::printf("%-30s -> %s\n", zb_path_show(in).c_str(), zb_path_show(full).c_str());
        b_tag_subFree(sub, full);
    }
    return 0;
}

int zb_path_match(const Words &argv) {
    const size_t argc = argv.size();
    if (argc < 2) return zb_usageError("match takes a PATTERN and one NAME or more");
    int misses = 0;
    for (size_t i = 1; i < argc; ++i) {
        const bool hit = b_pathMatch(argv[i], argv[0]) == ZEL_TRUE;
        misses += hit ? 0 : 1;
        std::printf("%-5s %s\n", hit ? "yes" : "no", argv[i]);
    }
    return misses == 0 ? 0 : 1;
}

int zb_path_scan(const Words &argv) {
    if (argv.size() != 2) return zb_usageError("scan takes a DIR and a PATTERN");
    B_DIR_T dir;
    ZEL_RETCODE rc = b_pathOpen(&dir, argv[0], argv[1]);
    if (rc != sOKAY) return zb_path_fail("path scan", rc);
    const char *name = nullptr;
    while ((rc = b_pathNext(&dir, &name)) == sOKAY && name != nullptr) std::printf("%s\n", name);
    b_pathClose(&dir);
    return rc == sOKAY ? 0 : zb_path_fail("path scan", rc);
}

struct ZbTmpname {
    const char *dir = nullptr, *base = nullptr, *ext = nullptr;
    long count = 1;
};

int zb_path_tmpname(const Words &argv, const ZbTmpname &t, B_TAG_SUB sub) {
    if (!argv.empty()) return zb_usageError("tmpname takes options only");
    const char *dir = t.dir, *base = t.base, *ext = t.ext;
    const long count = t.count;
    uint32_t counter = 0;
    for (long k = 0; k < count; ++k) {
        char *name = nullptr;
        const ZEL_RETCODE rc = b_fileCreateTmpName(&counter, base, ext, dir, sub, &name);
        if (rc != sOKAY) return zb_path_fail("path tmpname", rc);
        std::printf("%s\n", name);
        b_tag_subFree(sub, name);
    }
    return 0;
}

}  // namespace

int zb_cmd_path(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"d", "dir", "s:D", "tmpname: the directory (default: the temporary directory)"},
        {"b", "base", "s:B", "tmpname: the start of the name"},
        {"e", "ext", "s:E", "tmpname: the extension"},
        {"n", "count", "i:N", "tmpname: how many names, 1 to 1000 (default: 1)"},
        {"A", nullptr, "#:ACTION", "split, full, match, scan or tmpname"},
        {"W", nullptr, "*:ARGS", "The action's paths, pattern and names"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The path helpers:\n"
                              "  zelbase path split PATH...          directory and file of each "
                              "path\n"
                              "  zelbase path full [PATH...]         each path made absolute\n"
                              "  zelbase path match PATTERN NAME...  which names the pattern "
                              "matches\n"
                              "  zelbase path scan DIR PATTERN       the names in a directory "
                              "that match\n"
                              "  zelbase path tmpname [--dir D] [--base B] [--ext E] [--count "
                              "N]",
                              opts);
        code != kZbGoOn)
        return code;
    ZbTmpname t;
    bool tmpOptions = false;
    const char *what = nullptr;
    Words words;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        tmpOptions = tmpOptions || (opt != "A" && opt != "W");
        if (opt == "dir") {
            t.dir = arg;
        } else if (opt == "base") {
            t.base = arg;
        } else if (opt == "ext") {
            t.ext = arg;
        } else if (opt == "count") {
            t.count = std::strtol(arg, nullptr, 10);
            if (t.count < 1 || t.count > 1000) return zb_usageError("A count is 1 to 1000");
        } else if (opt == "A") {
            what = arg;
        } else {
            words.push_back(arg);
        }
    }
    const ZbTags tags;
    if (!tags.ok()) return 1;
    const std::string action = what;
    if (action == "tmpname") return zb_path_tmpname(words, t, tags.sub);
    if (tmpOptions) return zb_usageError("The options are for tmpname only");
    if (action == "split") return zb_path_split(words, tags.sub);
    if (action == "full") return zb_path_full(words, tags.sub);
    if (action == "match") return zb_path_match(words);
    if (action == "scan") return zb_path_scan(words);
    return zb_usageError("Unknown action '%s' ('--help' for more information)", what);
}

int zb_cmd_docroot(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"m", "marker", "s:M", "The name of the lock file (default: docroot.lck)"},
        {"H", "hold", "s:SECONDS", "How long to hold the lock (default: 0)"},
        {"A", nullptr, "#:lock", "The action"},
        {"D", nullptr, "#:DIR", "The document root"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Takes the lock of a document root and holds it for a while, so "
                              "that a second\nshell can see the directory in use.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *marker = "docroot.lck";
    const char *dirArg = nullptr;
    double hold = 0;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        if (opt == "marker") {
            marker = arg;
        } else if (opt == "hold") {
            char *end = nullptr;
            hold = std::strtod(arg, &end);
            if (*end != '\0' || !(hold >= 0))
                return zb_usageError("Not a number of seconds: '%s'", arg);
        } else if (opt == "A") {
            if (std::strcmp(arg, "lock") != 0)
                return zb_usageError("Unknown action '%s': lock", arg);
        } else {
            dirArg = arg;
        }
    }
    B_DOCROOT_T root;
    const ZEL_RETCODE rc = b_docrootLock(&root, dirArg, marker);
    if (rc != sOKAY) return zb_path_fail("docroot", rc);
    std::printf("%s/%s: %s", dirArg, marker,
                root.locked ? "locked" : "open, not locked (the file system cannot lock)");
    if (hold > 0) std::printf(", holding for %g s", hold);
    std::printf("\n");
    std::fflush(stdout);
    if (hold > 0) std::this_thread::sleep_for(std::chrono::duration<double>(hold));
    b_docrootUnlock(&root);
    return 0;
}
