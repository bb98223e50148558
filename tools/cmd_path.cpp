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

#include "error.h"
#include "path.h"
#include "zelbase_cmds.h"

int zb_cmd_path(int argc, char **argv);
int zb_cmd_docroot(int argc, char **argv);

namespace {

int zb_path_usage() {
    std::fprintf(stderr,
                 "usage: zelbase path split PATH...\n"
                 "       zelbase path full [PATH...]\n"
                 "       zelbase path match PATTERN NAME...\n"
                 "       zelbase path scan DIR PATTERN\n"
                 "       zelbase path tmpname [--dir D] [--base B] [--ext E] [--count N]\n");
    return 2;
}

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

int zb_path_split(int argc, char **argv, B_TAG_SUB sub) {
    if (argc == 0) return zb_path_usage();
    for (int i = 0; i < argc; ++i) {
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

int zb_path_full(int argc, char **argv, B_TAG_SUB sub) {
    for (int i = 0; i < (argc == 0 ? 1 : argc); ++i) {
        const char *in = argc == 0 ? nullptr : argv[i];
        char *full = b_fullpath(in, sub);
        if (full == nullptr) return zb_path_fail("path full", eNOMEMORY);
        std::printf("%-30s -> %s\n", zb_path_show(in).c_str(), zb_path_show(full).c_str());
        b_tag_subFree(sub, full);
    }
    return 0;
}

int zb_path_match(int argc, char **argv) {
    if (argc < 2) return zb_path_usage();
    int misses = 0;
    for (int i = 1; i < argc; ++i) {
        const bool hit = b_pathMatch(argv[i], argv[0]) == ZEL_TRUE;
        misses += hit ? 0 : 1;
        std::printf("%-5s %s\n", hit ? "yes" : "no", argv[i]);
    }
    return misses == 0 ? 0 : 1;
}

int zb_path_scan(int argc, char **argv) {
    if (argc != 2) return zb_path_usage();
    B_DIR_T dir;
    ZEL_RETCODE rc = b_pathOpen(&dir, argv[0], argv[1]);
    if (rc != sOKAY) return zb_path_fail("path scan", rc);
    const char *name = nullptr;
    while ((rc = b_pathNext(&dir, &name)) == sOKAY && name != nullptr) std::printf("%s\n", name);
    b_pathClose(&dir);
    return rc == sOKAY ? 0 : zb_path_fail("path scan", rc);
}

int zb_path_tmpname(int argc, char **argv, B_TAG_SUB sub) {
    const char *dir = nullptr, *base = nullptr, *ext = nullptr;
    long count = 1;
    for (int i = 0; i < argc; i += 2) {
        if (i + 1 >= argc) return zb_path_usage();
        const std::string opt = argv[i];
        if (opt == "--dir") {
            dir = argv[i + 1];
        } else if (opt == "--base") {
            base = argv[i + 1];
        } else if (opt == "--ext") {
            ext = argv[i + 1];
        } else if (opt == "--count") {
            count = std::strtol(argv[i + 1], nullptr, 10);
            if (count < 1 || count > 1000) return zb_path_usage();
        } else {
            return zb_path_usage();
        }
    }
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
    if (argc < 1) return zb_path_usage();
    const ZbTags tags;
    if (!tags.ok()) return 1;
    const std::string what = argv[0];
    if (what == "split") return zb_path_split(argc - 1, argv + 1, tags.sub);
    if (what == "full") return zb_path_full(argc - 1, argv + 1, tags.sub);
    if (what == "match") return zb_path_match(argc - 1, argv + 1);
    if (what == "scan") return zb_path_scan(argc - 1, argv + 1);
    if (what == "tmpname") return zb_path_tmpname(argc - 1, argv + 1, tags.sub);
    return zb_path_usage();
}

int zb_cmd_docroot(int argc, char **argv) {
    const char *marker = "docroot.lck";
    double hold = 0;
    if (argc < 2 || std::strcmp(argv[0], "lock") != 0 || argc % 2 != 0) {
        std::fprintf(stderr, "usage: zelbase docroot lock DIR [--marker M] [--hold SECONDS]\n");
        return 2;
    }
    for (int i = 2; i < argc; i += 2) {
        if (std::strcmp(argv[i], "--marker") == 0) {
            marker = argv[i + 1];
        } else if (std::strcmp(argv[i], "--hold") == 0) {
            hold = std::strtod(argv[i + 1], nullptr);
        } else {
            std::fprintf(stderr, "zelbase docroot: unknown option %s\n", argv[i]);
            return 2;
        }
    }
    B_DOCROOT_T root;
    const ZEL_RETCODE rc = b_docrootLock(&root, argv[1], marker);
    if (rc != sOKAY) return zb_path_fail("docroot", rc);
    std::printf("%s/%s: %s", argv[1], marker,
                root.locked ? "locked" : "open, not locked (the file system cannot lock)");
    if (hold > 0) std::printf(", holding for %g s", hold);
    std::printf("\n");
    std::fflush(stdout);
    if (hold > 0) std::this_thread::sleep_for(std::chrono::duration<double>(hold));
    b_docrootUnlock(&root);
    return 0;
}
