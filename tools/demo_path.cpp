// The paths section of `zelbase demo`: splitting and completing paths, the
// name patterns of a directory scan, a temporary name taken apart field by
// field, the bit order of b_bit_write as bytes, and a document root locked
// twice in one process.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "error.h"
#include "path.h"
#include "zelbase_cmds.h"

int zb_demo_path(FILE *out);

namespace {

const char *zb_demoPathShow(const char *s, std::string &buf) {
    buf = s == nullptr ? "null" : "\"" + std::string(s) + "\"";
    return buf.c_str();
}

int zb_demoPathSplit(FILE *out, B_TAG_SUB sub) {
    std::fprintf(out, "b_pathSplit at the last \"/\", b_fullpath (nothing resolved):\n");
    std::string a, b, c;
    for (const char *p : {"a/b", "b", "a/", "/var/db/x.dat"}) {
        char *dir = nullptr, *file = nullptr;
        if (b_pathSplit(p, &dir, &file, sub) != sOKAY) return 1;
        std::fprintf(out, "  %-16s dir %-10s file %s\n", zb_demoPathShow(p, a),
                     zb_demoPathShow(dir, b), zb_demoPathShow(file, c));
        b_tag_subFreeCanBeNull(sub, dir);
        b_tag_subFreeCanBeNull(sub, file);
    }
    for (const char *p : {"/", "/srv/db/", "data/../x/"}) {
        char *full = b_fullpath(p, sub);
        if (full == nullptr) return 1;
        std::fprintf(out, "  full %-12s -> %s%s\n", zb_demoPathShow(p, a), zb_demoPathShow(full, b),
                     p[0] == '/' ? "" : "  (joined to the current directory)");
        b_tag_subFree(sub, full);
    }
    return 0;
}

void zb_demoPathMatch(FILE *out) {
    std::fprintf(out,
                 "patterns: * any run, ? one character, # 0-9 or A-F, case ignored;\n"
                 "the character right after * is literal:\n");
    struct {
        const char *pattern, *name;
    } const cases[] = {{"db##.*", "DB01.TXT"}, {"db##.*", "db0a.txt"}, {"*.tmp", "X.TMP"},
                       {"*?", "what?"},        {"*?", "what"},         {"**", "a*"}};
    for (const auto &c : cases)
        std::fprintf(out, "  %-8s %-10s %s\n", c.pattern, c.name,
                     b_pathMatch(c.name, c.pattern) ? "matches" : "no");
}

int zb_demoPathTmpName(FILE *out, B_TAG_SUB sub) {
    uint32_t counter = 41;
    char *name = nullptr;
    if (b_fileCreateTmpName(&counter, "sort", nullptr, "/var/tmp", sub, &name) != sOKAY) return 1;
    std::fprintf(out, "a temporary name, \"%%s%%c%%s_%%p_%%010lu_%%03u.%%s\":\n  %s\n", name);
    char addr[32], pid[32];
    std::snprintf(addr, sizeof addr, "%p", static_cast<void *>(&counter));
    std::snprintf(pid, sizeof pid, "%010lu", static_cast<unsigned long>(getpid()));
    const char *const fields[][3] = {
        {"%s", "/var/tmp", "directory (\"\" puts the name at the root)"},
        {"%c", "/", "separator"},
        {"%s", "sort", "base name, \"temp\" by default"},
        {"%p", addr, "the counter's address: two counters, two names"},
        {"%010lu", pid, "process number"},
        {"%03u", "041", "the counter before it was raised (now 42)"},
        {"%s", "tmp", "extension, \"tmp\" by default"},
    };
    std::fprintf(out, "  %-8s %-16s %s\n", "FORMAT", "VALUE", "MEANING");
    for (const auto &f : fields) std::fprintf(out, "  %-8s %-16s %s\n", f[0], f[1], f[2]);
    b_tag_subFree(sub, name);
    return counter == 42 ? 0 : 1;
}

void zb_demoPathBits(FILE *out) {
    uint8_t bytes[2] = {0, 0};
    for (uint16_t pos : {0, 7, 8}) b_bit_write(bytes, pos, ZEL_TRUE);
    std::fprintf(out, "b_bit_write of bits 0, 7 and 8 (bit 0 is the top bit of byte 0):\n");
    std::fprintf(out, "  OFFSET  BYTE  MEANING\n");
    std::fprintf(out, "  0       %02X    bit 0 (0x80) and bit 7 (0x01)\n", bytes[0]);
    std::fprintf(out, "  1       %02X    bit 8 (0x80)\n", bytes[1]);
}

int zb_demoPathDocroot(FILE *out) {
    char tmpl[] = "/tmp/zelbase_demo_XXXXXX";
    if (mkdtemp(tmpl) == nullptr) return 1;
    const std::string marker = std::string(tmpl) + "/docroot.lck";
    B_DOCROOT_T first, second;
    int failed = 1;
    if (b_docrootLock(&first, tmpl, "docroot.lck") == sOKAY) {
        std::fprintf(out, "document root %s: %s\n", tmpl,
                     first.locked ? "locked" : "open (no locks on this file system)");
        const ZEL_RETCODE rc = b_docrootLock(&second, tmpl, "docroot.lck");
        const char *name = "?";
        if (zelErrorCodeDef(rc, nullptr, &name) != sOKAY) name = "?";
        std::fprintf(out, "  locked again by this process: %s\n", name);
        failed = rc == eGSV_DOCROOTUSED || !first.locked ? 0 : 1;
        if (rc == sOKAY) b_docrootUnlock(&second);
        b_docrootUnlock(&first);
    }
    const ZEL_RETCODE rc = b_docrootLock(&first, "/no/such/dir", "docroot.lck");
    const char *name = "?";
    if (zelErrorCodeDef(rc, nullptr, &name) != sOKAY) name = "?";
    std::fprintf(out, "  a missing directory: %s\n", name);
    std::remove(marker.c_str());
    rmdir(tmpl);
    return failed;
}

}  // namespace

int zb_demo_path(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    if (zb_demoPathSplit(out, tags.sub) != 0) return 1;
    zb_demoPathMatch(out);
    if (zb_demoPathTmpName(out, tags.sub) != 0) return 1;
    zb_demoPathBits(out);
    return zb_demoPathDocroot(out);
}
