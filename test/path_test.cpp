// Paths, name patterns, the directory scan, temporary names, the document root
// lock and the odds and ends. The patterns are checked against vectors from a
// recursive Python transcription of the rule (test/data/gen_path.py) and,
// differentially, against the same recursion written here with a step cap.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <tuple>

#include "oom.h"
#include "path.h"
#include "tag_fixture.h"
#include "vectors.h"

namespace {

namespace fs = std::filesystem;

std::string orNull(const char *s) {
    return s == nullptr ? "(null)" : std::string(s);
}

size_t openFds() {
    size_t n = 0;
    for ([[maybe_unused]] const auto &e : fs::directory_iterator("/proc/self/fd")) ++n;
    return n;
}

// A fresh directory under /tmp, removed with everything in it.
struct TempDir {
    std::string path;
    TempDir() {
        char tmpl[] = "/tmp/zelbase_path_XXXXXX";
        EXPECT_NE(mkdtemp(tmpl), nullptr);
        path = tmpl;
    }
    ~TempDir() { fs::remove_all(path); }
    void touch(const std::string &name) const { std::ofstream(path + "/" + name) << "x"; }
};

// The rule as it reads, recursively; -1 when it needs more than `budget` steps.
int recursiveMatch(const char *n, const char *p, long &budget) {
    auto fold = [](unsigned char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; };
    for (;; ++n, ++p) {
        if (--budget < 0) return -1;
        const auto pc = static_cast<unsigned char>(*p), nc = static_cast<unsigned char>(*n);
        if (pc == '*') {
            if (p[1] == '\0') return 1;
            for (const char *i = n; *i != '\0'; ++i) {
                if (fold(static_cast<unsigned char>(*i)) != fold(static_cast<unsigned char>(p[1])))
                    continue;
                const int r = recursiveMatch(i + 1, p + 2, budget);
                if (r != 0) return r;
            }
            return 0;
        }
        if (pc == '\0') return nc == '\0';
        if (nc == '\0') return 0;
        const bool ok = pc == '?'   ? true
                        : pc == '#' ? (nc >= '0' && nc <= '9') || (nc >= 'A' && nc <= 'F')
                                    : fold(pc) == fold(nc);
        if (!ok) return 0;
    }
}

// ---- Split.

using PathSplit = TaggedTest;

TEST_F(PathSplit, AtTheLastSlash) {
    // Both outs, then each alone: "dir|file".
    auto split = [&](const char *path, int which) {
        char *dir = reinterpret_cast<char *>(1), *file = reinterpret_cast<char *>(1);
        EXPECT_EQ(b_pathSplit(path, which & 1 ? &dir : nullptr, which & 2 ? &file : nullptr, sub),
                  sOKAY);
        const std::string out =
            (which & 1 ? orNull(dir) : "") + "|" + (which & 2 ? orNull(file) : "");
        if (which & 1) b_tag_subFreeCanBeNull(sub, dir);
        if (which & 2) b_tag_subFreeCanBeNull(sub, file);
        return out;
    };
    struct {
        const char *path, *dir, *file;
    } const cases[] = {
        {"a/b", "a/", "b"},     {"b", nullptr, "b"},     {"a/", "a/", nullptr},
        {"", nullptr, ""},      {"/", "/", nullptr},     {"/x", "/", "x"},
        {"a/b/c", "a/b/", "c"}, {"a//", "a//", nullptr}, {"./.", "./", "."},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(split(c.path, 3), orNull(c.dir) + "|" + orNull(c.file)) << c.path;
        EXPECT_EQ(split(c.path, 1), orNull(c.dir) + "|") << c.path;
        EXPECT_EQ(split(c.path, 2), "|" + orNull(c.file)) << c.path;
    }
    char *dir = nullptr;
    EXPECT_EQ(b_pathSplit(nullptr, &dir, nullptr, sub), eINVNULLARG);
}

TEST(PathNormalize, OneTrailingSlash) {
    struct {
        const char *in, *out;
    } const cases[] = {{"a/", "a"}, {"a//", "a/"}, {"/", ""},
                       {"", ""},    {"a", "a"},    {"/a/b/", "/a/b"}};
    for (const auto &c : cases) {
        char buf[16];
        std::strcpy(buf, c.in);
        EXPECT_EQ(normalize_path(buf), buf);
        EXPECT_STREQ(buf, c.out) << c.in;
    }
    EXPECT_EQ(normalize_path(nullptr), nullptr);
}

// ---- Fullpath.

class PathFull : public TaggedTest {
  protected:
    std::string full(const char *p) {
        char *r = b_fullpath(p, sub);
        EXPECT_NE(r, nullptr) << orNull(p);
        std::string s = orNull(r);
        b_tag_subFreeCanBeNull(sub, r);
        return s;
    }
};

TEST_F(PathFull, JoinsWithoutResolving) {
    const std::string cwd = fs::current_path().string();
    for (const char *here : {static_cast<const char *>(nullptr), "", ".", "./"})
        EXPECT_EQ(full(here), cwd) << orNull(here);
    // An absolute path loses one trailing slash; a relative one keeps it.
    // clang-format off
    const std::pair<const char *, std::string> cases[] = {
        {"/", ""}, {"//", "/"}, {"/a/b/", "/a/b"}, {"/a/./../b", "/a/./../b"}, {"x", cwd + "/x"},
        {"a/../b/", cwd + "/a/../b/"}, {"..", cwd + "/.."}};
    // clang-format on
    for (const auto &[in, want] : cases) EXPECT_EQ(full(in), want) << in;
}

TEST_F(PathFull, FromTheRoot) {
    const fs::path saved = fs::current_path();
    ASSERT_EQ(chdir("/"), 0);
    const std::string x = full("x"), here = full(".");
    fs::current_path(saved);
    EXPECT_EQ(x, "/x");  // the directory's own "/" is removed before joining
    EXPECT_EQ(here, "/");
}

// ---- Match.

// What the vectors and the recursion below leave out: null arguments (a
// null pattern takes every name) and letters past ASCII, which do not fold.
TEST(PathMatch, EdgeCases) {
    EXPECT_TRUE(b_pathMatch("anything", nullptr));
    EXPECT_FALSE(b_pathMatch(nullptr, "*"));
    EXPECT_TRUE(b_pathMatch("\xC4rger", "\xC4RGER"));
    EXPECT_FALSE(b_pathMatch("\xE4rger", "\xC4rger"));
}

TEST(PathMatch, OracleVectors) {
    const auto rows = vectors_read("good-path-match.txt", '\t', false);  // '#' is a name
    for (const VectorRow &row : rows) {
        const std::string &name = row[0], &pattern = row[1];
        EXPECT_EQ(b_pathMatch(name.c_str(), pattern.c_str()), row[2] == "1")
            << "name \"" << name << "\" pattern \"" << pattern << "\"";
    }
    EXPECT_GT(rows.size(), 1000u);
}

TEST(PathMatch, SameAsTheRecursion) {
    std::mt19937 rng(17);
    const std::string nameChars = "aAbB09F.*?#", patChars = "aAbB09F.****??##";
    int compared = 0;
    for (int i = 0; i < 200000; ++i) {
        std::string name, pattern;
        for (size_t k = rng() % 12; k > 0; --k) name += nameChars[rng() % nameChars.size()];
        for (size_t k = rng() % 10; k > 0; --k) pattern += patChars[rng() % patChars.size()];
        long budget = 100000;
        const int want = recursiveMatch(name.c_str(), pattern.c_str(), budget);
        if (want < 0) continue;
        ++compared;
        ASSERT_EQ(b_pathMatch(name.c_str(), pattern.c_str()), want == 1)
            << "name \"" << name << "\" pattern \"" << pattern << "\"";
    }
    EXPECT_GT(compared, 190000);
}

TEST(PathMatch, PathologicalPatternEnds) {
    // The recursion would try about 200^8 ways; the last-star search a few thousand.
    const std::string name(200, 'a');
    EXPECT_FALSE(b_pathMatch(name.c_str(), "*a*a*a*a*a*a*a*a*b"));
    EXPECT_TRUE(b_pathMatch((name + "b").c_str(), "*a*a*a*a*a*a*a*a*b"));
}

// ---- Scan.

TEST(PathScan, ListsTheMatchingNames) {
    TempDir d;
    for (const char *f : {"DB01.TXT", "db02.dat", "db0a.txt", "other", "DBFF.x"}) d.touch(f);
    auto scan = [&](const char *pattern) {
        std::set<std::string> got;
        B_DIR_T dir;
        EXPECT_EQ(b_pathOpen(&dir, d.path.c_str(), pattern), sOKAY);
        const char *name = nullptr;
        while (b_pathNext(&dir, &name) == sOKAY && name != nullptr) got.insert(name);
        EXPECT_EQ(name, nullptr);
        b_pathClose(&dir);
        return got;
    };
    EXPECT_EQ(scan("db##.*"), (std::set<std::string>{"DB01.TXT", "db02.dat", "DBFF.x"}));
    EXPECT_EQ(scan(nullptr),
              (std::set<std::string>{"DB01.TXT", "db02.dat", "db0a.txt", "other", "DBFF.x"}));
    EXPECT_EQ(scan("none*"), std::set<std::string>{});
}

TEST(PathScan, MissingDirectoryOrFile) {
    TempDir d;
    d.touch("f");
    const size_t fds = openFds();
    B_DIR_T dir{};
    dir.pattern = "untouched";
    EXPECT_EQ(b_pathOpen(&dir, (d.path + "/missing").c_str(), "*"), eFILENOENTRY);
    EXPECT_LT(b_pathOpen(&dir, (d.path + "/f").c_str(), "*"), 0);
    EXPECT_STREQ(dir.pattern, "untouched");
    EXPECT_EQ(b_pathOpen(nullptr, d.path.c_str(), "*"), eINVNULLARG);
    EXPECT_EQ(b_pathOpen(&dir, nullptr, "*"), eINVNULLARG);
    EXPECT_EQ(openFds(), fds);
}

// ---- Temporary names.

using PathTmpName = TaggedTest;

TEST_F(PathTmpName, FormatAndCounter) {
    // directory "/" base "_" address "_" ten-digit pid "_" counter (3+ digits) "." extension
    const std::regex form(R"(^(.*)/([^/]*)_(0x[0-9a-f]+)_(\d{10})_(\d{3,})\.([^.]*)$)");
    uint32_t counter = 7;
    char *name = nullptr;
    ASSERT_EQ(b_fileCreateTmpName(&counter, "sort", "dat", "/var/tmp", sub, &name), sOKAY);
    std::cmatch m;
    ASSERT_TRUE(std::regex_match(name, m, form)) << name;
    char addr[32];
    std::snprintf(addr, sizeof addr, "%p", static_cast<void *>(&counter));
    EXPECT_EQ(m[1], "/var/tmp");
    EXPECT_EQ(m[2], "sort");
    EXPECT_EQ(m[3], addr);
    EXPECT_EQ(std::stoul(m[4]), static_cast<unsigned long>(getpid()));
    EXPECT_EQ(m[5], "007");  // the old counter
    EXPECT_EQ(m[6], "dat");
    EXPECT_EQ(counter, 8u);
    b_tag_subFree(sub, name);

    // Without directory the name starts at the root; the defaults fill in.
    counter = 1234;
    ASSERT_EQ(b_fileCreateTmpName(&counter, nullptr, nullptr, nullptr, sub, &name), sOKAY);
    ASSERT_TRUE(std::regex_match(name, m, form)) << name;
    EXPECT_EQ(name[0], '/');
    EXPECT_EQ(m[1], "");
    EXPECT_EQ(m[2], "temp");
    EXPECT_EQ(m[5], "1234");
    EXPECT_EQ(m[6], "tmp");
    b_tag_subFree(sub, name);

    EXPECT_EQ(b_fileCreateTmpName(nullptr, nullptr, nullptr, nullptr, sub, &name), eINVNULLARG);
    EXPECT_EQ(b_fileCreateTmpName(&counter, nullptr, nullptr, nullptr, sub, nullptr), eINVNULLARG);
}

// ---- Document root.

TEST(PathDocroot, LockTwiceInOneProcess) {
    TempDir d;
    const size_t fds = openFds();
    B_DOCROOT_T first{}, second{};
    ASSERT_EQ(b_docrootLock(&first, d.path.c_str(), "gsv.lck"), sOKAY);
    EXPECT_EQ(first.locked, ZEL_TRUE);
    EXPECT_TRUE(fs::is_regular_file(d.path + "/gsv.lck"));
    // The locks belong to an open file, so a second open conflicts here too.
    second.f = 12345;
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(b_docrootLock(&second, d.path.c_str(), "gsv.lck"), eGSV_DOCROOTUSED);
    EXPECT_EQ(second.f, 12345);
    EXPECT_EQ(openFds(), fds + 1);  // a failed lock leaves nothing open
    b_docrootUnlock(&first);
    EXPECT_EQ(openFds(), fds);
    b_docrootUnlock(&first);  // a closed record is left alone
    ASSERT_EQ(b_docrootLock(&second, d.path.c_str(), "gsv.lck"), sOKAY);
    b_docrootUnlock(&second);
    b_docrootUnlock(nullptr);
}

TEST(PathDocroot, FailuresMapAndLeaveNothingOpen) {
    TempDir d;
    d.touch("file");
    const size_t fds = openFds();
    B_DOCROOT_T dr{};
    const std::string longMarker(4096, 'm');
    struct {
        std::string path;
        const char *marker;
        ZEL_RETCODE rc;
    } const cases[] = {
        {d.path + "/missing", "m", eGSV_DOCROOTNOTFOUND},
        {d.path + "/file", "m", eGSV_DOCROOTINVALID},   // a regular file
        {d.path, "no/such/dir", eGSV_DOCROOTNOTFOUND},  // the marker cannot be made
        {d.path, longMarker.c_str(), eSTRTOOLONG},
    };
    for (const auto &c : cases) EXPECT_EQ(b_docrootLock(&dr, c.path.c_str(), c.marker), c.rc);
    EXPECT_EQ(b_docrootLock(nullptr, d.path.c_str(), "m"), eINVNULLARG);
    EXPECT_EQ(b_docrootLock(&dr, nullptr, "m"), eINVNULLARG);
    EXPECT_EQ(b_docrootLock(&dr, d.path.c_str(), nullptr), eINVNULLARG);
    EXPECT_EQ(openFds(), fds);
}

// ---- Odds and ends.

using PathInitDocroot = TaggedTest;

TEST_F(PathInitDocroot, PairsJoinedBySemicolons) {
    char *s = nullptr;
    ASSERT_EQ(b_getGSVInitDocroot("/srv/a", sub, &s), sOKAY);
    EXPECT_STREQ(s, "docroot=/srv/a");
    ASSERT_EQ(b_getGSVInitDocroot("/srv/b", sub, &s), sOKAY);
    EXPECT_STREQ(s, "docroot=/srv/a;docroot=/srv/b");
    char *before = s;
    ASSERT_EQ(b_getGSVInitDocroot(nullptr, sub, &s), sOKAY);
    EXPECT_EQ(s, before);
    b_tag_subFree(sub, s);
    // An empty string takes no separator.
    s = nullptr;
    ASSERT_EQ(b_tag_subCopyString(sub, "", &s), sOKAY);
    ASSERT_EQ(b_getGSVInitDocroot("x", sub, &s), sOKAY);
    EXPECT_STREQ(s, "docroot=x");
    b_tag_subFree(sub, s);
    EXPECT_EQ(b_getGSVInitDocroot("x", sub, nullptr), eINVNULLARG);
}

TEST(PathCompare, FoldsBySign) {
    // clang-format off
    for (auto [i, want] : {std::pair{-7, ZEL_LT}, {INT32_MIN, ZEL_LT}, {0, ZEL_EQ}, {1, ZEL_GT},
                           {INT32_MAX, ZEL_GT}})
        // clang-format on
        EXPECT_EQ(b_intToZelCompare(i), want) << i;
}

class PathCatalog : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(b_tag_subCreate(master, &other), sOKAY);
        otherStart = fixture_subBytes(other);
    }
    void TearDown() override {
        EXPECT_EQ(fixture_subBytes(other), otherStart);
        b_tag_subDestroy(other);
        TaggedTest::TearDown();
    }
    B_TAG_SUB other = nullptr;
    int64_t otherStart = 0;
};

TEST_F(PathCatalog, SetFreesTheFormerTextOnItsOwnTag) {
    CAT_INFO ci{};
    ASSERT_EQ(b_catalogSet(&ci, "{\"database\":{}}", other), sOKAY);
    EXPECT_EQ(ci.type, catTypeSet);
    EXPECT_STREQ(ci.val.str, "{\"database\":{}}");
    EXPECT_EQ(ci.subTag, other);
    // The new text comes from `sub`; the old one goes back to `other`.
    ASSERT_EQ(b_catalogSet(&ci, "{}", sub), sOKAY);
    EXPECT_EQ(fixture_subBytes(other), otherStart);
    EXPECT_EQ(ci.subTag, sub);
    EXPECT_STREQ(ci.val.str, "{}");
    ASSERT_EQ(b_catalogSet(&ci, nullptr, other), sOKAY);
    EXPECT_EQ(ci.type, catTypeNone);
    EXPECT_EQ(ci.val.str, nullptr);
    EXPECT_EQ(ci.subTag, nullptr);
    EXPECT_EQ(b_catalogSet(nullptr, "x", sub), eINVNULLARG);
}

TEST_F(PathCatalog, SetFromFileFreesNothingAndKeepsNoTag) {
    CAT_INFO ci{};
    ASSERT_EQ(b_catalogSet(&ci, "text", other), sOKAY);
    char *text = ci.val.str;
    ASSERT_EQ(b_catalogSetFromFile(&ci, "/db/cat.json", sub), sOKAY);
    EXPECT_EQ(ci.type, catTypeSetFromFile);
    EXPECT_STREQ(ci.val.str, "/db/cat.json");
    EXPECT_EQ(ci.subTag, other);                     // not recorded
    EXPECT_GT(fixture_subBytes(other), otherStart);  // the text was not freed
    b_tag_subFree(other, text);
    char *name = ci.val.str;
    ASSERT_EQ(b_catalogSetFromFile(&ci, nullptr, sub), sOKAY);
    EXPECT_EQ(ci.type, catTypeNone);
    EXPECT_EQ(ci.val.str, nullptr);
    b_tag_subFree(sub, name);  // nor the name: the caller frees it
    // A catalogue set after a file name leaves the name alone too.
    ASSERT_EQ(b_catalogSetFromFile(&ci, "f", sub), sOKAY);
    name = ci.val.str;
    ASSERT_EQ(b_catalogSet(&ci, "t", other), sOKAY);
    b_tag_subFree(sub, name);
    ASSERT_EQ(b_catalogSet(&ci, nullptr, nullptr), sOKAY);
    EXPECT_EQ(b_catalogSetFromFile(nullptr, "x", sub), eINVNULLARG);
}

TEST(PathBits, TopBitFirst) {
    uint8_t bytes[3] = {0x01, 0x80, 0x00};
    // The low bit of byte 0 is bit 7, the top bit of byte 1 is bit 8.
    for (auto [pos, set] : {std::pair{7, true}, {8, true}, {0, false}, {9, false}})
        EXPECT_EQ(b_bit_read(bytes, static_cast<uint16_t>(pos)) == ZEL_TRUE, set) << pos;
    b_bit_write(bytes, 0, ZEL_TRUE);
    b_bit_write(bytes, 23, ZEL_TRUE);
    b_bit_write(bytes, 8, ZEL_FALSE);
    EXPECT_EQ(bytes[0] << 16 | bytes[1] << 8 | bytes[2], 0x810001);
    // Against a model over the whole uint16 range of positions.
    static uint8_t map[8192];
    std::set<uint16_t> model;
    std::mt19937 rng(3);
    for (int i = 0; i < 100000; ++i) {
        const auto pos = static_cast<uint16_t>(rng());
        const bool v = rng() & 1;
        b_bit_write(map, pos, v ? ZEL_TRUE : ZEL_FALSE);
        v ? (void)model.insert(pos) : (void)model.erase(pos);
        const auto probe = static_cast<uint16_t>(rng());
        ASSERT_EQ(b_bit_read(map, probe) == ZEL_TRUE, model.count(probe) == 1);
    }
    EXPECT_EQ(b_bit_read(map, 65535), model.count(65535) == 1);
}

// ---- Out of memory.

using PathMemory = TaggedTest;

TEST_F(PathMemory, SplitFreesTheFileWhenTheDirFails) {
    const int runs = oom_check(master, {sub}, [&] {
        char *dir = reinterpret_cast<char *>(1), *file = reinterpret_cast<char *>(1);
        const ZEL_RETCODE rc = b_pathSplit("some/dir/name", &dir, &file, sub);
        if (rc == sOKAY) {
            EXPECT_STREQ(dir, "some/dir/");
            EXPECT_STREQ(file, "name");
            b_tag_subFree(sub, dir);
            b_tag_subFree(sub, file);
        } else {
            EXPECT_EQ(dir, reinterpret_cast<char *>(1));
            EXPECT_EQ(file, reinterpret_cast<char *>(1));
        }
        return rc;
    });
    EXPECT_EQ(runs, 2);
}

// A full path and a temporary name: the text, or (a temporary name) the out
// argument untouched.
TEST_F(PathMemory, FullPathAndTmpName) {
    uint32_t counter = 0;
    const std::string cwd = fs::current_path().string();
    for (const char *in : {"rel/x/", "/abs/", static_cast<const char *>(nullptr)}) {
        const std::string want = in == nullptr ? "/d/b_" : in[0] == '/' ? "/abs" : cwd + "/rel/x/";
        EXPECT_GT(oom_check(master, {sub},
                            [&] {
                                char *r = reinterpret_cast<char *>(1);
                                ZEL_RETCODE rc = sOKAY;
                                if (in == nullptr) {
                                    rc = b_fileCreateTmpName(&counter, "b", "e", "/d", sub, &r);
                                } else if ((r = b_fullpath(in, sub)) == nullptr) {
                                    return eNOMEMORY;
                                }
                                if (rc != sOKAY) {
                                    EXPECT_EQ(r, reinterpret_cast<char *>(1));
                                    return rc;
                                }
                                EXPECT_EQ(std::string(r).substr(0, want.size()), want);
                                b_tag_subFree(sub, r);
                                return rc;
                            }),
                  0)
            << (in ? in : "tmpname");
    }
}

TEST_F(PathMemory, CatalogSetKeepsTheOldText) {
    CAT_INFO ci{};
    ASSERT_EQ(b_catalogSet(&ci, "old", sub), sOKAY);
    auto set = [&] {
        const ZEL_RETCODE rc = b_catalogSet(&ci, "a new catalogue text", sub);
        if (rc == sOKAY) {
            EXPECT_STREQ(ci.val.str, "a new catalogue text");
        } else {
            EXPECT_STREQ(ci.val.str, "old");
            EXPECT_EQ(ci.type, catTypeSet);
        }
        return rc;
    };
    // The successful run leaves the new text held, so no tag is watched here:
    // it is freed below and TearDown checks the balance.
    EXPECT_GT(oom_check(master, {}, set), 0);
    ASSERT_EQ(b_catalogSet(&ci, nullptr, nullptr), sOKAY);
}

TEST_F(PathMemory, InitDocrootGrowthFailureIsNoFailure) {
    char *init = nullptr;
    auto append = [&] {
        const ZEL_RETCODE rc = b_getGSVInitDocroot("/srv", sub, &init);
        if (init != nullptr) {  // null after a failed growth: the string stands
            EXPECT_STREQ(init, "docroot=/srv");
            b_tag_subFree(sub, init);
            init = nullptr;
        }
        return rc;
    };
    EXPECT_GT(oom_check(master, {sub}, append), 0);
}

}  // namespace
