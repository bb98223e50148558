// Tests of the platform layer: memory, locks, events, threads, files,
// directories, the console's UTF-16 channel, strings, mathematics, collation.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "psp.h"

// Under AddressSanitizer an impossible allocation must come back as a null
// pointer (and so eNOMEMORY), not end the test program.
extern "C" __attribute__((used)) const char *__asan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

TEST(PspMemory, AlignedBlocksStartOnAPage) {
    void *p = nullptr;
    ASSERT_EQ(psp_memAlignAlloc(634880, &p), sOKAY);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 4096, 0u);
    std::memset(p, 0xab, 634880);
    psp_memAlignFree(p, 634880);

    ASSERT_EQ(psp_memAlloc(634880, &p), sOKAY);
    std::memset(p, 0xab, 634880);
    psp_memFree(p, 634880);
}

TEST(PspMemory, ImpossibleSizeFailsAndLeavesOut) {
    void *p = &p;
    EXPECT_EQ(psp_memAlloc(SIZE_MAX - 4096, &p), eNOMEMORY);
    EXPECT_EQ(psp_memAlignAlloc(SIZE_MAX - 4096, &p), eNOMEMORY);
    EXPECT_EQ(p, &p);
}

// ---- Files and directories, in a scratch directory removed afterwards.

class PspFiles : public ::testing::Test {
  protected:
    void SetUp() override {
        char tmpl[] = "/tmp/psp_test_XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir_ = tmpl;
    }
    void TearDown() override {
        std::string cmd = "rm -rf '" + dir_ + "'";
        ASSERT_EQ(system(cmd.c_str()), 0);
    }
    std::string path(const char *name) const { return dir_ + "/" + name; }
    std::string dir_;
};

TEST_F(PspFiles, OpenModesAnswerByExistence) {
    std::string f = path("f");
    PSP_FILE_T fd = 12345, fd2;
    EXPECT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_READ, &fd), eFILENOENTRY);
    EXPECT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_UPDATE_EXISTING, &fd), eFILENOENTRY);
    EXPECT_EQ(fd, 12345);  // untouched on failure
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_WRITE_NEW, &fd), sOKAY);
    EXPECT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_WRITE_NEW, &fd2), eFILEEXIST);
    EXPECT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_UPDATE_NEW, &fd2), eFILEEXIST);
    EXPECT_EQ(psp_fileClose(fd), sOKAY);

    std::string under = f + "/x";  // a path through a plain file
    EXPECT_EQ(psp_fileOpen(under.c_str(), PSP_FILE_UPDATE, &fd2), eFILENOENTRY);
    EXPECT_EQ(psp_fileOpen(dir_.c_str(), PSP_FILE_READ, &fd2), eFILEISDIR);
    EXPECT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_OPEN_MODE(3), &fd2), eOPENMODE);
    EXPECT_EQ(psp_fileOpen(nullptr, PSP_FILE_READ, &fd2), eINVNULLARG);

    if (geteuid() != 0) {  // root passes every permission check
        ASSERT_EQ(chmod(f.c_str(), 0400), 0);
        EXPECT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_UPDATE_EXISTING, &fd2), eFILEACCESS);
    }
}

TEST_F(PspFiles, ReadWriteSeekAndSize) {
    std::string f = path("data");
    PSP_FILE_T fd;
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_UPDATE, &fd), sOKAY);
    ASSERT_EQ(psp_fileWrite(fd, "hello world", 11), sOKAY);
    PSP_FILE_OFFSET len = 0, pos = 99;
    ASSERT_EQ(psp_fileLength(fd, &len), sOKAY);
    EXPECT_EQ(len, 11u);

    ASSERT_EQ(psp_fileSeek(fd, 0, 0, &pos), sOKAY);
    char buf[64] = {};
    uint32_t got = 0;
    ASSERT_EQ(psp_fileRead(fd, buf, sizeof buf, &got), sOKAY);  // short count at the end
    EXPECT_EQ(got, 11u);
    EXPECT_EQ(std::string(buf, got), "hello world");
    ASSERT_EQ(psp_fileRead(fd, buf, sizeof buf, &got), sOKAY);
    EXPECT_EQ(got, 0u);

    // Positioned transfers leave the position where it was.
    ASSERT_EQ(psp_fileSeek(fd, 2, 0, nullptr), sOKAY);
    ASSERT_EQ(psp_fileSeekRead(fd, 6, buf, 10, &got), sOKAY);
    EXPECT_EQ(std::string(buf, got), "world");
    ASSERT_EQ(psp_fileSeekWrite(fd, 100, "tail", 4), sOKAY);
    ASSERT_EQ(psp_fileSeek(fd, 0, 1, &pos), sOKAY);
    EXPECT_EQ(pos, 2u);
    ASSERT_EQ(psp_fileLength(fd, &len), sOKAY);
    EXPECT_EQ(len, 104u);

    // From the end the offset is a signed distance; before the start is refused.
    ASSERT_EQ(psp_fileSeek(fd, PSP_FILE_OFFSET(-4), 2, &pos), sOKAY);
    EXPECT_EQ(pos, 100u);
    EXPECT_EQ(psp_fileSeek(fd, PSP_FILE_OFFSET(-200), 2, &pos), eRANGE);
    EXPECT_EQ(psp_fileSeek(fd, 0, 3, &pos), eINVARG);
    EXPECT_EQ(pos, 100u);

    ASSERT_EQ(psp_fileSetSize(fd, 3), sOKAY);
    ASSERT_EQ(psp_fileLength(fd, &len), sOKAY);
    EXPECT_EQ(len, 3u);
    ASSERT_EQ(psp_fileSetSize(fd, 5000), sOKAY);
    ASSERT_EQ(psp_fileSeekRead(fd, 4990, buf, 20, &got), sOKAY);
    EXPECT_EQ(got, 10u);
    EXPECT_EQ(std::string(buf, got), std::string(10, '\0'));
    EXPECT_EQ(psp_fileSync(fd), sOKAY);

    ZEL_BOOL_T tty = ZEL_TRUE;
    EXPECT_EQ(psp_fileIsATTY(fd, &tty), sOKAY);
    EXPECT_EQ(tty, ZEL_FALSE);
    EXPECT_EQ(psp_fileSetEcho(fd, ZEL_FALSE), sOKAY);  // nothing to switch
    EXPECT_EQ(psp_fileClose(fd), sOKAY);
    EXPECT_EQ(psp_fileIsATTY(fd, &tty), eINVHANDLE);

    // Append goes to the end; a read-only file refuses writes.
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_APPEND, &fd), sOKAY);
    ASSERT_EQ(psp_fileWrite(fd, "!", 1), sOKAY);
    ASSERT_EQ(psp_fileLength(fd, &len), sOKAY);
    EXPECT_EQ(len, 5001u);
    EXPECT_EQ(psp_fileClose(fd), sOKAY);
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_READ, &fd), sOKAY);
    EXPECT_LT(psp_fileWrite(fd, "x", 1), 0);
    EXPECT_EQ(psp_fileClose(fd), sOKAY);

    EXPECT_EQ(psp_fileRemove(f.c_str()), sOKAY);
    EXPECT_EQ(psp_fileRemove(f.c_str()), eFILENOENTRY);
}

TEST_F(PspFiles, LockExcludesAnotherOpenOfTheSameFile) {
    std::string f = path("lock");
    PSP_FILE_T a, b, ro;
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_UPDATE, &a), sOKAY);
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_UPDATE, &b), sOKAY);
    ASSERT_EQ(psp_fileLock(a), sOKAY);
    EXPECT_EQ(psp_fileLock(b), eFILEACCESS);  // same process, other open file
    EXPECT_EQ(psp_fileLock(a), sOKAY);        // the holder may lock again
    EXPECT_EQ(psp_fileUnlock(a), sOKAY);
    EXPECT_EQ(psp_fileLock(b), sOKAY);
    EXPECT_EQ(psp_fileLock(a), eFILEACCESS);
    EXPECT_EQ(psp_fileClose(b), sOKAY);  // the last close drops the lock
    EXPECT_EQ(psp_fileLock(a), sOKAY);
    ASSERT_EQ(psp_fileOpen(f.c_str(), PSP_FILE_READ, &ro), sOKAY);
    EXPECT_EQ(psp_fileLock(ro), eINVHANDLE);  // an exclusive lock needs write access
    EXPECT_EQ(psp_fileClose(ro), sOKAY);
    EXPECT_EQ(psp_fileLock(a), sOKAY);  // closing another descriptor kept it
    EXPECT_EQ(psp_fileClose(a), sOKAY);
}

TEST_F(PspFiles, DirectoriesCreateListRemove) {
    std::string d = path("sub");
    EXPECT_EQ(psp_fileIsDir(d.c_str()), eFILENOENTRY);
    EXPECT_EQ(psp_fileDirCreate(d.c_str()), sOKAY);
    EXPECT_EQ(psp_fileDirCreate(d.c_str()), eFILEEXIST);
    EXPECT_EQ(psp_fileIsDir(d.c_str()), sOKAY);
    std::string missing = path("no/such");
    EXPECT_EQ(psp_fileDirCreate(missing.c_str()), eFILENOENTRY);

    for (const char *n : {"/a", "/b.txt"}) {
        PSP_FILE_T fd;
        ASSERT_EQ(psp_fileOpen((d + n).c_str(), PSP_FILE_WRITE, &fd), sOKAY);
        ASSERT_EQ(psp_fileClose(fd), sOKAY);
    }
    EXPECT_EQ(psp_fileIsDir((d + "/a").c_str()), eFILEEXIST);  // a file stands there

    PSP_FILE_DIR_T scan;
    ASSERT_EQ(psp_fileDirOpen(&scan, d.c_str()), sOKAY);
    std::set<std::string> names;
    const char *name = nullptr;
    for (;;) {
        ASSERT_EQ(psp_fileDirNext(&scan, &name), sOKAY);
        if (name == nullptr) break;
        names.insert(name);
    }
    psp_fileDirClose(&scan);
    EXPECT_EQ(names, (std::set<std::string>{"a", "b.txt"}));
    EXPECT_EQ(psp_fileDirOpen(&scan, missing.c_str()), eFILENOENTRY);

    EXPECT_LT(psp_fileDirRemove(d.c_str()), 0);  // not empty
    EXPECT_EQ(psp_fileRemove((d + "/a").c_str()), sOKAY);
    EXPECT_EQ(psp_fileRemove((d + "/b.txt").c_str()), sOKAY);
    EXPECT_EQ(psp_fileDirRemove(d.c_str()), sOKAY);
    EXPECT_EQ(psp_fileIsDir(d.c_str()), eFILENOENTRY);

    PSP_FILE_CURR_DIR_T cd;
    const char *cwd = nullptr;
    ASSERT_EQ(psp_fileCurrDir(&cd, &cwd), sOKAY);
    char expect[4096];
    ASSERT_NE(getcwd(expect, sizeof expect), nullptr);
    EXPECT_STREQ(cwd, expect);
}

TEST(PspConsole, TerminalOpensAsConsole) {
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        GTEST_SKIP() << "no pseudo-terminal here";
    }
    PSP_FILE_T fd;
    ASSERT_EQ(psp_fileOpen(ptsname(master), PSP_FILE_UPDATE_EXISTING, &fd), sFILE_CONSOLE);
    PSP_FILE_OFFSET len = 7;
    EXPECT_EQ(psp_fileLength(fd, &len), sFILE_CONSOLE);
    ZEL_BOOL_T tty = ZEL_FALSE;
    EXPECT_EQ(psp_fileIsATTY(fd, &tty), sOKAY);
    EXPECT_EQ(tty, ZEL_TRUE);
    EXPECT_EQ(psp_fileSetEcho(fd, ZEL_FALSE), sOKAY);
    EXPECT_EQ(psp_fileSetEcho(fd, ZEL_TRUE), sOKAY);
    EXPECT_EQ(psp_fileClose(fd), sOKAY);
    close(master);
}

TEST(PspConsole, UnitsBecomeUtf8AndBack) {
    int p[2];
    ASSERT_EQ(pipe(p), 0);
    // "aé€😀", a lone low surrogate and an odd last byte: U+1F600 is the pair
    // D83D DE00; the lone surrogate becomes U+FFFD (EF BF BD).
    const uint16_t units[] = {0x0061, 0x00E9, 0x20AC, 0xD83D, 0xDE00, 0xDC00};
    unsigned char in[sizeof units + 1];
    std::memcpy(in, units, sizeof units);
    in[sizeof units] = 0x41;
    ASSERT_EQ(psp_fileConsoleWrite(p[1], in, sizeof in), sOKAY);
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBD";
    char raw[64];
    ASSERT_EQ(read(p[0], raw, sizeof raw), ssize_t(utf8.size()));
    EXPECT_EQ(std::string(raw, utf8.size()), utf8);

    // Back: a bad byte (0xFF) gives U+FFFD.
    const std::string back = "a\xC3\xA9\xF0\x9F\x98\x80\xFF";
    ASSERT_EQ(write(p[1], back.data(), back.size()), ssize_t(back.size()));
    uint16_t out[16];
    uint32_t got = 0;
    ASSERT_EQ(psp_fileConsoleRead(p[0], out, sizeof out, &got), sOKAY);
    ASSERT_EQ(got, 10u);
    const uint16_t expect[] = {0x0061, 0x00E9, 0xD83D, 0xDE00, 0xFFFD};
    EXPECT_EQ(std::memcmp(out, expect, sizeof expect), 0);
    EXPECT_EQ(psp_fileConsoleRead(p[0], out, 6, &got), eINVARG);

    // A read that cuts a sequence in two takes the rest of it: 8 bytes wanted
    // read one byte, then the two that finish "€".
    ASSERT_EQ(write(p[1], "\xE2\x82\xAC", 3), 3);
    ASSERT_EQ(psp_fileConsoleRead(p[0], out, 8, &got), sOKAY);
    ASSERT_EQ(got, 2u);
    EXPECT_EQ(out[0], 0x20AC);
    close(p[1]);
    ASSERT_EQ(psp_fileConsoleRead(p[0], out, sizeof out, &got), sOKAY);
    EXPECT_EQ(got, 0u);
    close(p[0]);
}

// ---- Strings.

TEST(PspStrings, CopyAlwaysTerminates) {
    char buf[8];
    std::memset(buf, 'x', sizeof buf);
    EXPECT_STREQ(psp_strncpyZ(buf, "hello", 4), "hel");
    EXPECT_STREQ(psp_strncpyZ(buf, "hello", 6), "hello");
    EXPECT_STREQ(psp_strncpyZ(buf, "hello", 1), "");
    buf[0] = 'q';
    psp_strncpyZ(buf, "hello", 0);
    EXPECT_EQ(buf[0], 'q');
    EXPECT_STREQ(psp_strncpyZ(buf, nullptr, sizeof buf), "");
}

TEST(PspStrings, CaseAndTokens) {
    EXPECT_EQ(psp_strcasecmp("Select", "sELECT"), 0);
    EXPECT_LT(psp_strcasecmp("abc", "ABD"), 0);
    EXPECT_GT(psp_strcasecmp("abc", "AB"), 0);
    EXPECT_NE(psp_strcasecmp("\xE4", "\xC4"), 0);  // only ASCII folds
    // Ordered as lower case, as the C library folds: '_' (0x5F) lies between
    // the upper- and lower-case letters, so the fold decides these.
    EXPECT_LT(psp_strcasecmp("CHARACTER", "CHARACTER_LENGTH"), 0);
    EXPECT_LT(psp_strcasecmp("VAR_POP", "VARCHAR"), 0);
    EXPECT_LT(psp_strcasecmp("ROW_NUMBER", "ROWS"), 0);
    EXPECT_LT(psp_strcasecmp("db_name", "DBUSERID"), 0);
    char up[] = "key_1=\xE4";
    EXPECT_STREQ(psp_strupr(up), "KEY_1=\xE4");

    // Two splits interleaved: each keeps its state in its own context.
    char a[] = ",one,,two;three", b[] = "x y";
    char *ca = nullptr, *cb = nullptr;
    EXPECT_STREQ(psp_strtok(a, ",;", &ca), "one");
    EXPECT_STREQ(psp_strtok(b, " ", &cb), "x");
    EXPECT_STREQ(psp_strtok(nullptr, ",;", &ca), "two");
    EXPECT_STREQ(psp_strtok(nullptr, " ", &cb), "y");
    EXPECT_STREQ(psp_strtok(nullptr, ",;", &ca), "three");
    EXPECT_EQ(psp_strtok(nullptr, ",;", &ca), nullptr);
    EXPECT_EQ(psp_strtok(nullptr, " ", &cb), nullptr);
    EXPECT_EQ(psp_strtok(nullptr, " ", &cb), nullptr);
}

TEST(PspStrings, SignedIntegersAreStrict) {
    int64_t v = 0;
    ASSERT_EQ(psp_stratoi64("9223372036854775807", &v), sOKAY);
    EXPECT_EQ(v, INT64_MAX);
    ASSERT_EQ(psp_stratoi64("-9223372036854775808", &v), sOKAY);
    EXPECT_EQ(v, INT64_MIN);
    ASSERT_EQ(psp_stratoi64(" +0042\t", &v), sOKAY);
    EXPECT_EQ(v, 42);
    v = 7;
    EXPECT_EQ(psp_stratoi64("9223372036854775808", &v), eRANGE);
    EXPECT_EQ(psp_stratoi64("-9223372036854775809", &v), eRANGE);
    EXPECT_EQ(psp_stratoi64("123456789012345678901234567890", &v), eRANGE);
    for (const char *bad : {"", " ", "-", "+", "12a", "0x10", "1 2", "--1", "+-1", "1.0",
                            "99999999999999999999999x"}) {
        EXPECT_EQ(psp_stratoi64(bad, &v), eINVLITERAL) << bad;
    }
    EXPECT_EQ(psp_stratoi64(nullptr, &v), eINVNULLARG);
    EXPECT_EQ(v, 7);  // untouched by every failure
}

TEST(PspStrings, UnsignedIntegersAreStrict) {
    uint64_t v = 0;
    ASSERT_EQ(psp_stratoui64("18446744073709551615", &v), sOKAY);
    EXPECT_EQ(v, UINT64_MAX);
    ASSERT_EQ(psp_stratoui64("-0", &v), sOKAY);
    EXPECT_EQ(v, 0u);
    v = 7;
    EXPECT_EQ(psp_stratoui64("18446744073709551616", &v), eRANGE);
    EXPECT_EQ(psp_stratoui64("-1", &v), eRANGE);
    EXPECT_EQ(psp_stratoui64("1e3", &v), eINVLITERAL);
    EXPECT_EQ(v, 7u);
}

TEST(PspStrings, FloatingConversionIsCorrectlyRounded) {
    double d = 0;
    ASSERT_EQ(psp_strToDouble("0.1", &d, 1, 1, 0), sOKAY);
    EXPECT_EQ(d, 0.1);
    ASSERT_EQ(psp_strToDouble(" -2.5E3 ", &d, 1, 1, 0), sOKAY);
    EXPECT_EQ(d, -2500.0);
    ASSERT_EQ(psp_strToDouble("-1e-400", &d, 0, 0, 0), sOKAY);  // underflow
    EXPECT_EQ(d, 0.0);
    EXPECT_TRUE(std::signbit(d));
    d = 3;
    EXPECT_EQ(psp_strToDouble("1e400", &d, 0, 0, 0), eRANGE);
    EXPECT_EQ(psp_strToDouble("1.5x", &d, 0, 0, 0), eINVLITERAL);
    EXPECT_EQ(psp_strToDouble("", &d, 0, 0, 0), eINVLITERAL);
    EXPECT_EQ(psp_strToDouble("+-1", &d, 0, 0, 0), eINVLITERAL);
    EXPECT_EQ(d, 3.0);

    // Just above the midpoint 1 + 2^-24 of two floats: rounding straight to
    // float gives 1 + 2^-23; going through a double would land on the
    // midpoint and then round to even, 1.0.
    float f = 0;
    ASSERT_EQ(psp_strToFloat("1.00000005960464477539062501", &f, 0, 0, 0), sOKAY);
    EXPECT_EQ(f, 1.0f + 0x1p-23f);
    ASSERT_EQ(psp_strToFloat("0.1", &f, 0, 0, 0), sOKAY);
    EXPECT_EQ(f, 0.1f);
    EXPECT_EQ(psp_strToFloat("1e39", &f, 0, 0, 0), eRANGE);

    EXPECT_EQ(psp_stratof("2.5abc"), 2.5);
    EXPECT_EQ(psp_stratof("abc"), 0.0);
    EXPECT_TRUE(std::isinf(psp_stratof("1e999")));
}

// ---- Mathematics, collation, time and seeds.

TEST(PspMath, KindsAndSigns) {
    PSP_MATH_SIGN sign = PSP_MATH_SIGN_POSITIVE;
    EXPECT_TRUE(psp_mathDoubleIsNan(&sign, -NAN));
    EXPECT_EQ(sign, PSP_MATH_SIGN_NEGATIVE);
    EXPECT_TRUE(psp_mathDoubleIsInf(&sign, INFINITY));
    EXPECT_EQ(sign, PSP_MATH_SIGN_POSITIVE);
    EXPECT_TRUE(psp_mathFloatIsInf(&sign, -INFINITY));
    EXPECT_EQ(sign, PSP_MATH_SIGN_NEGATIVE);
    EXPECT_TRUE(psp_mathFloatIsNan(nullptr, NAN));
    EXPECT_FALSE(psp_mathDoubleIsNan(&sign, 1.0));
    EXPECT_EQ(sign, PSP_MATH_SIGN_NEGATIVE);  // untouched when not of the kind
    EXPECT_FALSE(psp_mathDoubleIsInf(nullptr, 1e308));
    EXPECT_TRUE(psp_mathDoubleIsFinite(-0.0));
    EXPECT_FALSE(psp_mathDoubleIsFinite(NAN));
    EXPECT_EQ(psp_mathDoubleFloor(-1.5), -2.0);
    EXPECT_EQ(psp_mathFloatCeil(-1.5f), -1.0f);
}

TEST(PspCollate, CIsBytewiseAndUnknownIsRefused) {
    psp_collate_t c, posix, other;
    ASSERT_EQ(psp_collateInit(&c, "C"), sOKAY);
    EXPECT_LT(psp_collateStrcmp(c.locale, "B", "a"), 0);
    EXPECT_GT(psp_collateStrcmp(c.locale, "\xC3\xA9", "z"), 0);
    EXPECT_EQ(psp_collateStrcmp(c.locale, "same", "same"), 0);
    ASSERT_EQ(psp_collateInit(&posix, "POSIX"), sOKAY);
    EXPECT_NE(psp_collateCompare(&c, &posix), 0);
    EXPECT_NE(psp_collateCompare(&c, nullptr), 0);
    other.locale = &other;
    EXPECT_EQ(psp_collateInit(&other, "no_such_locale.xyz"), eINVLOCALE);
    errno = ENOMEM;  // a stale code of an earlier call changes nothing
    EXPECT_EQ(psp_collateInit(&other, "no_such_locale.xyz"), eINVLOCALE);
    EXPECT_EQ(psp_collateInit(&other, ""), eINVLOCALE);
    EXPECT_EQ(other.locale, &other);
    psp_collateTerm(&posix);
    psp_collateTerm(&c);
}

TEST(PspEnv, ClocksAndSeeds) {
    uint64_t utc = psp_timeUTCNanoSecs();
    uint64_t now = uint64_t(time(nullptr)) * 1000000000ull;
    EXPECT_LT(utc > now ? utc - now : now - utc, 2000000000ull);
    uint64_t m1 = psp_timeMeasureNanoSecs(), m2 = psp_timeMeasureNanoSecs();
    EXPECT_LE(m1, m2);
    EXPECT_EQ(psp_envProcesID(), uint64_t(getpid()));

    // Seeds are distinct and their bits balanced (1000 x 64 bits: the count of
    // ones lies far inside 32000 +- 1000, about 8 standard deviations).
    std::set<uint64_t> seen;
    uint64_t seed = 0;
    int ones = 0;
    for (int i = 0; i < 1000; ++i) {
        seed = psp_envSeed(seed);
        seen.insert(seed);
        ones += __builtin_popcountll(seed);
    }
    EXPECT_EQ(seen.size(), 1000u);
    EXPECT_NEAR(ones, 32000, 1000);
}

}  // namespace
