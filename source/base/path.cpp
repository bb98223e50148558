/*
 * path.cpp - paths, name patterns, temporary names and the document root.
 *
 * The one idea is in the pattern test. Its rule is recursive: a "*" takes the
 * next pattern character literally, and at each place that character stands
 * in the name the rest is tried. Such a search can take exponential time
 * ("*a*a*a*a*b" against a run of "a"), so b_pathMatch keeps only the last
 * star: a later star can absorb any text that an earlier one would have
 * taken, so once a later star is reached the earlier ones need no second try,
 * and on a mismatch only the last star moves on to the next place of its
 * character. Same answers, at most length x length steps.
 *
 * The temporary name, "%s%c%s_%p_%010lu_%03u.%s":
 *
 * FIELD    FORMAT   MEANING
 * 1        %s       the directory, or ""
 * 2        %c       "/" (so a name without directory starts at the root)
 * 3        %s       the base name, or "temp"
 * 4        %p       the counter's address: two counters give two names
 * 5        %010lu   the process number
 * 6        %03u     the counter before it was raised
 * 7        %s       the extension, or "tmp"
 */
#include "path.h"

#include <array>
#include <cstring>

#include "format.h"
#include "psp.h"
#include "tag_sub.h"

namespace {

// ASCII letters folded to lower case; every other byte stands for itself.
constexpr std::array<unsigned char, 256> kPathFold = [] {
    std::array<unsigned char, 256> t{};
    for (int c = 0; c < 256; ++c)
        t[c] = static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    return t;
}();
static_assert(kPathFold['Q'] == 'q' && kPathFold['q'] == 'q' && kPathFold[0xC4] == 0xC4);

// "#" accepts digits and capital hex letters only.
constexpr std::array<bool, 256> kPathHex = [] {
    std::array<bool, 256> t{};
    for (int c = '0'; c <= '9'; ++c) t[c] = true;
    for (int c = 'A'; c <= 'F'; ++c) t[c] = true;
    return t;
}();
static_assert(kPathHex['F'] && !kPathHex['f'] && !kPathHex['G']);

// Does the pattern character `p` (no star) accept the name character `n` (not 0)?
inline bool path_accepts(unsigned char p, unsigned char n) {
    if (p == '?') return true;
    if (p == '#') return kPathHex[n];
    return kPathFold[p] == kPathFold[n];
}

// Failures of the document root's three steps, as the server reports them.
struct PathDocrootCode {
    ZEL_RETCODE from;
    ZEL_RETCODE to;
};
constexpr PathDocrootCode kPathDocrootCodes[] = {
    {eFILEACCESS, eGSV_DOCROOTUSED},
    {eFILENOENTRY, eGSV_DOCROOTNOTFOUND},
    {eFILEEXIST, eGSV_DOCROOTINVALID},
};

ZEL_RETCODE path_docrootCode(ZEL_RETCODE rc) {
    for (const PathDocrootCode &c : kPathDocrootCodes) {
        if (c.from == rc) return c.to;
    }
    return rc;
}

// The marker's name is built here; a longer one is refused.
constexpr size_t kPathMarkerMax = 4096;

}  // namespace

extern "C" {

ZEL_RETCODE b_pathSplit(const char *path, char **dir, char **file, B_TAG_SUB subTag) {
    if (path == nullptr) return eINVNULLARG;
    const char *slash = std::strrchr(path, '/');
    const char *rest = slash == nullptr ? path : slash + 1;
    char *f = nullptr;
    char *d = nullptr;
    if (file != nullptr && (slash == nullptr || *rest != '\0'))
        ZEL_CHECK(b_tag_subCopyString(subTag, rest, &f));
    if (dir != nullptr && slash != nullptr) {
        const ZEL_RETCODE rc =
            b_tag_subAllocCopy(subTag, path, static_cast<size_t>(slash - path) + 2, &d);
        if (rc < 0) {
            b_tag_subFreeCanBeNull(subTag, f);
            return rc;
        }
        d[slash - path + 1] = '\0';
    }
    if (file != nullptr) *file = f;
    if (dir != nullptr) *dir = d;
    return sOKAY;
}

char *normalize_path(char *path) {
    if (path == nullptr) return nullptr;
    const size_t len = std::strlen(path);
    if (len > 0 && path[len - 1] == '/') path[len - 1] = '\0';
    return path;
}

char *b_fullpath(const char *userpath, B_TAG_SUB subTag) {
    PSP_FILE_CURR_DIR_T cd;
    const char *cwd = nullptr;
    char *res = nullptr;
    const bool here = userpath == nullptr || userpath[0] == '\0' ||
                      std::strcmp(userpath, ".") == 0 || std::strcmp(userpath, "./") == 0;
    if (!here && userpath[0] == '/') {
        if (b_tag_subCopyString(subTag, userpath, &res) < 0) return nullptr;
        return normalize_path(res);
    }
    // A relative path is joined to the directory as given: its own trailing
    // "/" stays, so no normalised copy of it is needed.
    if (psp_fileCurrDir(&cd, &cwd) != sOKAY) return nullptr;
    if (here) return b_tag_subCopyString(subTag, cwd, &res) < 0 ? nullptr : res;
    size_t cwd_len = std::strlen(cwd);
    if (cwd_len > 0 && cwd[cwd_len - 1] == '/') --cwd_len;
    if (b_makeStr(subTag, &res, "%.*s%c%s", static_cast<int>(cwd_len), cwd, '/', userpath) < 0)
        return nullptr;
    return res;
}

ZEL_BOOL_T b_pathMatch(const char *name, const char *pattern) {
    if (name == nullptr) return ZEL_FALSE;
    if (pattern == nullptr) return ZEL_TRUE;
    const auto *n = reinterpret_cast<const unsigned char *>(name);
    const auto *p = reinterpret_cast<const unsigned char *>(pattern);
    const unsigned char *star_lit = nullptr;   // the literal after the last star
    const unsigned char *star_from = nullptr;  // where its next place is looked for
    for (;;) {
        if (*p == '*') {
            if (p[1] == '\0') return ZEL_TRUE;
            star_lit = p + 1;
            star_from = n;
        } else if (*p == '\0' && *n == '\0') {
            return ZEL_TRUE;
        } else if (*p != '\0' && *n != '\0' && path_accepts(*p, *n)) {
            ++p;
            ++n;
            continue;
        } else if (star_lit == nullptr) {
            return ZEL_FALSE;
        }
        // The last star's literal at its next place; the rest goes on behind it.
        const unsigned char want = kPathFold[*star_lit];
        while (*star_from != '\0' && kPathFold[*star_from] != want) ++star_from;
        if (*star_from == '\0') return ZEL_FALSE;
        n = ++star_from;
        p = star_lit + 1;
    }
}

ZEL_RETCODE b_pathOpen(B_DIR_T *dir, const char *path, const char *pattern) {
    if (dir == nullptr || path == nullptr) return eINVNULLARG;
    PSP_FILE_DIR_T d;
    ZEL_CHECK(psp_fileDirOpen(&d, path));
    dir->dir = d;
    dir->pattern = pattern;
    return sOKAY;
}

ZEL_RETCODE b_pathNext(B_DIR_T *dir, const char **pName) {
    if (dir == nullptr || pName == nullptr) return eINVNULLARG;
    const char *name = nullptr;
    do {
        ZEL_CHECK(psp_fileDirNext(&dir->dir, &name));
    } while (name != nullptr && !b_pathMatch(name, dir->pattern));
    *pName = name;
    return sOKAY;
}

void b_pathClose(B_DIR_T *dir) {
    if (dir != nullptr) psp_fileDirClose(&dir->dir);
}

ZEL_RETCODE b_fileCreateTmpName(uint32_t *puFileNo, const char *pszBaseName, const char *pszExt,
                                const char *pszTmpDir, B_TAG_SUB subTag, char **ppTmp) {
    if (puFileNo == nullptr || ppTmp == nullptr) return eINVNULLARG;
    const uint32_t old = (*puFileNo)++;
    // Deliberate: without a directory the name starts at the root ("/temp_...").
    return b_makeStr(subTag, ppTmp, "%s%c%s_%p_%010lu_%03u.%s",
                     pszTmpDir != nullptr ? pszTmpDir : "", '/',
                     pszBaseName != nullptr ? pszBaseName : "temp", static_cast<void *>(puFileNo),
                     static_cast<unsigned long>(psp_envProcesID()), static_cast<unsigned>(old),
                     pszExt != nullptr ? pszExt : "tmp");
}

ZEL_RETCODE b_docrootLock(B_DOCROOT_T *doc_root, const char *path, const char *marker) {
    if (doc_root == nullptr || path == nullptr || marker == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc = psp_fileIsDir(path);
    if (rc < 0) return path_docrootCode(rc);
    char name[kPathMarkerMax];
    const int len = b_snprintf(name, sizeof name, "%s%c%s", path, '/', marker);
    if (len < 0 || static_cast<size_t>(len) >= sizeof name) return eSTRTOOLONG;
    PSP_FILE_T f = PSP_FILE_INVALID;
    rc = psp_fileOpen(name, PSP_FILE_UPDATE, &f);
    if (rc < 0) return path_docrootCode(rc);
    ZEL_BOOL_T locked = ZEL_TRUE;
    rc = psp_fileLock(f);
    if (rc == eNOTIMPLEMENTED) {
        locked = ZEL_FALSE;  // the file system cannot lock: in use unprotected
    } else if (rc < 0) {
        psp_fileClose(f);  // nothing stays open: every try would leak one otherwise
        return path_docrootCode(rc);
    }
    doc_root->f = f;
    doc_root->locked = locked;
    return sOKAY;
}

void b_docrootUnlock(B_DOCROOT_T *droot) {
    if (droot == nullptr || droot->f == PSP_FILE_INVALID) return;
    if (droot->locked) psp_fileUnlock(droot->f);
    psp_fileClose(droot->f);
    droot->f = PSP_FILE_INVALID;
    droot->locked = ZEL_FALSE;
}

ZEL_RETCODE b_getGSVInitDocroot(const char *docroot, B_TAG_SUB subTag, char **initStr) {
    if (initStr == nullptr) return eINVNULLARG;
    if (docroot == nullptr) return sOKAY;
    const char *sep = *initStr != nullptr && **initStr != '\0' ? ";" : "";
    // Kept: sOKAY even when the string could not grow, as appending always is.
    return b_appendStr(subTag, initStr, *initStr, "%sdocroot=%s", sep, docroot);
}

ZEL_COMPARE b_intToZelCompare(int cmp) {
    return cmp > 0 ? ZEL_GT : cmp < 0 ? ZEL_LT : ZEL_EQ;
}

ZEL_RETCODE b_catalogSet(CAT_INFO *cip, const char *catalog, B_TAG_SUB subTag) {
    if (cip == nullptr) return eINVNULLARG;
    char *copy = nullptr;
    if (catalog != nullptr) ZEL_CHECK(b_tag_subCopyString(subTag, catalog, &copy));
    // The former text goes only once its successor stands.
    if (cip->type == catTypeSet) b_tag_subFreeCanBeNull(cip->subTag, cip->val.str);
    cip->type = catalog != nullptr ? catTypeSet : catTypeNone;
    cip->val.str = copy;
    cip->subTag = catalog != nullptr ? subTag : nullptr;
    return sOKAY;
}

ZEL_RETCODE b_catalogSetFromFile(CAT_INFO *cip, const char *catFile, B_TAG_SUB subTag) {
    if (cip == nullptr) return eINVNULLARG;
    char *copy = nullptr;
    if (catFile != nullptr) ZEL_CHECK(b_tag_subCopyString(subTag, catFile, &copy));
    // Deliberate: what was held is not freed and the tag is not recorded; the
    // caller owns the name and whatever the record held before.
    cip->type = catFile != nullptr ? catTypeSetFromFile : catTypeNone;
    cip->val.str = copy;
    return sOKAY;
}

ZEL_BOOL_T b_bit_read(const uint8_t *bitmap, uint16_t bitpos) {
    return (bitmap[bitpos >> 3] & (0x80u >> (bitpos & 7))) != 0 ? ZEL_TRUE : ZEL_FALSE;
}

void b_bit_write(uint8_t *bitmap, uint16_t bitpos, ZEL_BOOL_T value) {
    const auto mask = static_cast<uint8_t>(0x80u >> (bitpos & 7));
    if (value) {
        bitmap[bitpos >> 3] |= mask;
    } else {
        bitmap[bitpos >> 3] &= static_cast<uint8_t>(~mask);
    }
}

B_TAG_SUB gsvGetSubTag(const void *gsv) {
    return gsv != nullptr ? static_cast<const B_GSV_TAGS_T *>(gsv)->subTag : nullptr;
}

B_TAG_MASTER gsvGetMasterTag(const void *gsv) {
    return gsv != nullptr ? static_cast<const B_GSV_TAGS_T *>(gsv)->masterTag : nullptr;
}

}  // extern "C"
