// The text-aware file: the byte order mark, UTF-16 read and written against
// Python's codecs and a model of the kept quirks (good-file-utf16*.txt from
// gen_file.py), the window in read, write and append modes, the sticky
// failure code, lines of any length, and the standard streams.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>
#include <string>
#include <vector>

#include "file.h"
#include "file_fixture.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_sub.h"
#include "vectors.h"

namespace {

class FileTest : public TaggedTest {
  protected:
    // Writes `bytes` to a scratch file and opens it for reading.
    void OpenWith(const Bytes &bytes) {
        fixture_writeFile(path, bytes);
        ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_READ), sOKAY);
    }
    Bytes ReadAllGetc() {
        Bytes out;
        for (int32_t c; (c = b_fileGetc(&f)) >= 0;) out.push_back(char(c));
        return out;
    }
    void TearDown() override {
        b_fileClose(&f);
        TaggedTest::TearDown();
    }
    ScratchDir dir;
    std::string path = dir.path("f");
    B_FILE_T f{};
};

TEST_F(FileTest, ByteOrderMarkIsRecordedAndStaysInTheStream) {
    struct Case {
        Bytes bytes;
        B_FILE_MODE mode;
        uint32_t bom_off;
        uint8_t swap;
    };
    // clang-format off
    const Case cases[] = {
        {"", B_FILE_MODE_UTF8, 0, 0},
        {"A", B_FILE_MODE_UTF8, 0, 0},  // one and two bytes read back whole
        {"\xEF", B_FILE_MODE_UTF8, 0, 0}, {"\xEF\xBB", B_FILE_MODE_UTF8, 0, 0},
        {"\xFF", B_FILE_MODE_UTF8, 0, 0}, {"\xFE\xFE", B_FILE_MODE_UTF8, 0, 0},
        {"\xEF\xBB\xBF", B_FILE_MODE_UTF8, 3, 0}, {"\xEF\xBB\xBFxyz", B_FILE_MODE_UTF8, 3, 0},
        {"\xFF\xFE", B_FILE_MODE_UTF16, 2, 0}, {"\xFE\xFF", B_FILE_MODE_UTF16, 2, 1},
    };
    // clang-format on
    for (const Case &c : cases) {
        OpenWith(c.bytes);
        EXPECT_EQ(f.fmode, c.mode) << fixture_toHex(c.bytes);
        EXPECT_EQ(f.bom_off, c.bom_off);
        EXPECT_EQ(f.swap, c.swap);
        EXPECT_EQ(f.fileCache.size, c.bytes.size());
        // The mark is part of what a reader sees: EF BB BF in UTF-8 either way.
        const Bytes want = c.mode == B_FILE_MODE_UTF16 ? Bytes("\xEF\xBB\xBF") : c.bytes;
        EXPECT_EQ(ReadAllGetc(), want) << fixture_toHex(c.bytes);
        EXPECT_EQ(b_fgetState(&f), sOKAY);
        b_fileClose(&f);
    }
}

TEST_F(FileTest, Utf16ReadsAsCodecsAndTheModel) {
    for (const auto &row : vectors_read("good-file-utf16.txt", '\t')) {
        OpenWith(fixture_fromHex(row[1]));
        EXPECT_EQ(f.swap, row[0] == "be" ? 1 : 0);
        EXPECT_EQ(fixture_toHex(ReadAllGetc()), row[2] == "-" ? "" : row[2]) << row[1];
        b_fileClose(&f);
        // Line by line the same bytes arrive.
        OpenWith(fixture_fromHex(row[1]));
        char *buf = nullptr;
        size_t len = 0;
        Bytes lines;
        while (b_fileGetLine(&f, &buf, &len, sub) != nullptr) lines += buf;
        EXPECT_EQ(b_fgetState(&f), sOKAY);
        b_tag_subFreeCanBeNull(sub, buf);
        const Bytes want = fixture_fromHex(row[2]);
        if (want.find('\0') == Bytes::npos) {
            EXPECT_EQ(lines, want);
        }
        b_fileClose(&f);
    }
}

TEST_F(FileTest, Utf16WritesHostOrderUnitsWithoutMark) {
    for (const auto &row : vectors_read("good-file-utf16w.txt", '\t')) {
        ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_WRITE), sOKAY);
        f.fmode = B_FILE_MODE_UTF16;
        const Bytes utf8 = fixture_fromHex(row[0]);
        for (char ch : utf8) ASSERT_EQ(b_filePutc(&f, uint8_t(ch)), 1);
        EXPECT_EQ(b_fileSync(&f), sOKAY);
        b_fileClose(&f);
        EXPECT_EQ(fixture_toHex(fixture_readFile(path)), row[1] == "-" ? "" : row[1]);
    }
}

TEST_F(FileTest, Utf16WriteRefusesWhatIsNoUtf8) {
    ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_WRITE), sOKAY);
    f.fmode = B_FILE_MODE_UTF16;
    for (int b = 0x80; b <= 0xC1; b++) EXPECT_EQ(b_filePutc(&f, b), 0) << b;
    for (int b = 0xF5; b <= 0xFF; b++) EXPECT_EQ(b_filePutc(&f, b), 0) << b;
    EXPECT_EQ(b_filePutc(&f, 0xC3), 1);
    EXPECT_EQ(b_filePutc(&f, 'A'), 0);  // no continuation: the character is dropped
    EXPECT_EQ(b_filePuts(&f, "\xC3\xA9"), 2);
    EXPECT_EQ(b_filePuts(&f, "x\x80y"), -1);
    EXPECT_EQ(b_filePrintf(&f, "%s", "\xF0\x9F\x98\x80"), 4);
    EXPECT_EQ(b_filePutc(&f, 0xE2), 1);
    EXPECT_EQ(b_filePutc(&f, 0x82), 1);
    EXPECT_EQ(b_fileSync(&f), eEOF);  // a character left unfinished
    b_fileClose(&f);
    // é, x, then U+1F600 as a pair, high half first.
    EXPECT_EQ(fixture_toHex(fixture_readFile(path)), "e90078003dd800de");
}

TEST_F(FileTest, PushbackHoldsTwentyValues) {
    OpenWith("ab");
    for (int i = 0; i < B_FILE_PUSHBACK; i++) EXPECT_EQ(b_fileUngetc(100 + i, &f), 100 + i);
    EXPECT_EQ(b_fileUngetc(7, &f), -1);
    for (int i = B_FILE_PUSHBACK - 1; i >= 0; i--) EXPECT_EQ(b_fileGetc(&f), 100 + i);
    EXPECT_EQ(b_fileGetc(&f), 'a');
    EXPECT_EQ(b_fileUngetc('z', &f), 'z');
    EXPECT_EQ(ReadAllGetc(), "zb");
    EXPECT_EQ(b_fileGetc(&f), -1);
}

TEST_F(FileTest, GetsStopsAtLineFeedOrRoom) {
    OpenWith("one\ntwo three\n\nlast");
    char s[8];
    EXPECT_EQ(b_fileGets(nullptr, 8, &f), nullptr);
    EXPECT_EQ(b_fileGets(s, 0, &f), nullptr);
    EXPECT_EQ(b_fileGets(s, 1, &f), s);
    EXPECT_STREQ(s, "");
    const char *want[] = {"one\n", "two thr", "ee\n", "\n", "last"};
    for (const char *w : want) {
        ASSERT_EQ(b_fileGets(s, sizeof s, &f), s);
        EXPECT_STREQ(s, w);
    }
    EXPECT_EQ(b_fileGets(s, sizeof s, &f), nullptr);
}

TEST_F(FileTest, GetLineGivesLinesOfAnyLength) {
    // Lengths around the first buffer, its growth step, the window and the
    // page-run limit of the tag (626688 bytes), past which growth moves the
    // line to a fresh buffer.
    std::mt19937 rng(7);
    std::vector<Bytes> lines;
    Bytes all;
    for (size_t n : {0, 1, 98, 99, 100, 111, 112, 113, 4095, 4096, 4097, 700000}) {
        Bytes l;
        for (size_t i = 0; i < n; i++) l.push_back(char('a' + rng() % 26));
        lines.push_back(l + "\n");
    }
    lines.push_back("no line feed at the end");
    for (const Bytes &l : lines) all += l;
    OpenWith(all);
    char *buf = nullptr;
    size_t len = 0;
    for (const Bytes &l : lines) {
        ASSERT_EQ(b_fileGetLine(&f, &buf, &len, sub), buf);
        EXPECT_EQ(Bytes(buf), l);
        EXPECT_GT(len, l.size());
    }
    EXPECT_EQ(b_fileGetLine(&f, &buf, &len, sub), nullptr);
    EXPECT_EQ(b_fgetState(&f), sOKAY);
    b_tag_subFree(sub, buf);
}

TEST_F(FileTest, GetLineOutOfMemoryKeepsTheCodeAndLeaksNothing) {
    // Lines that need the first buffer and two growths; a failure is kept as
    // the file's code and a buffer made by the failing call is freed.
    const Bytes lines = "short\n" + Bytes(150, 'm') + "\n" + Bytes(5000, 'l') + "\n";
    fixture_writeFile(path, lines);
    const int faults = oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        EXPECT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_READ), sOKAY);
        char *buf = nullptr;
        size_t len = 0;
        Bytes got;
        while (b_fileGetLine(&f, &buf, &len, sub) != nullptr) got += buf;
        const ZEL_RETCODE rc = b_fgetState(&f);
        if (rc == sOKAY) {
            EXPECT_EQ(got, lines);
        }
        EXPECT_EQ(buf == nullptr, len == 0);
        b_tag_subFreeCanBeNull(sub, buf);
        b_fileClose(&f);
        return rc;
    });
    EXPECT_GE(faults, 3);
}

TEST_F(FileTest, WindowReadsInSequenceAndSeeksInsideIt) {
    Bytes all;
    for (int i = 0; i < 10000; i++) all.push_back(char(i * 7));
    OpenWith(all);
    Bytes got(10000, '\0');
    size_t n = 0;
    for (size_t at = 0; at < all.size(); at += 999) {
        ASSERT_EQ(b_fileRead(&f, &got[at], std::min<size_t>(999, all.size() - at), &n), sOKAY);
    }
    EXPECT_EQ(got, all);
    // The window holds 8192..9999: a seek inside it is exact.
    B_FILE_OFFSET pos = 0;
    EXPECT_EQ(b_fileSeek(&f, 9000, B_FILE_SEEK_SET, &pos), sOKAY);
    EXPECT_EQ(pos, 9000u);
    EXPECT_EQ(b_fileGetc(&f), uint8_t(all[9000]));
    EXPECT_EQ(b_fileSeek(&f, B_FILE_OFFSET(-11), B_FILE_SEEK_CUR, &pos), sOKAY);
    EXPECT_EQ(b_fileGetc(&f), uint8_t(all[8990]));
    EXPECT_EQ(b_fileSeek(&f, B_FILE_OFFSET(-1), B_FILE_SEEK_END, &pos), sOKAY);
    EXPECT_EQ(pos, 9999u);
    EXPECT_EQ(b_fileGetc(&f), uint8_t(all[9999]));
    EXPECT_EQ(b_fileSeek(&f, 0, B_FILE_SEEK_T(3), &pos), ePSP_FAILURE);
    EXPECT_EQ(b_fileRead(&f, &got[0], 10, &n), sOKAY);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(b_fileReadExact(&f, &got[0], 1), eEOF);
}

TEST_F(FileTest, SeekBeyondTheWindowIsServedFromThePlatformPosition) {
    // Kept: only the logical position moves. After the window 4096..8191 was
    // filled the platform stands at 8192, and a seek to 0 reads from there.
    Bytes all;
    for (int i = 0; i < 12000; i++) all.push_back(char(i / 4096 + 'A'));
    OpenWith(all);
    char buf[5000];
    ASSERT_EQ(b_fileReadExact(&f, buf, sizeof buf), sOKAY);
    EXPECT_EQ(b_fileGetc(&f), 'B');
    ASSERT_EQ(b_fileSeek(&f, 0, B_FILE_SEEK_SET, nullptr), sOKAY);  // below the window
    EXPECT_EQ(b_fileGetc(&f), 'C');
}

TEST_F(FileTest, WritesGoOutInOrder) {
    ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_WRITE), sOKAY);
    Bytes want;
    for (int i = 0; i < 2000; i++) {
        EXPECT_EQ(b_filePrintf(&f, "line %d\n", i), int32_t(std::to_string(i).size() + 6));
        want += "line " + std::to_string(i) + "\n";
    }
    EXPECT_EQ(b_filePuts(&f, "puts"), 4);
    EXPECT_EQ(b_filePutc(&f, '!'), 1);
    EXPECT_EQ(b_fileWrite(&f, "\0raw", 4), sOKAY);
    want += Bytes("puts!\0raw", 9);
    const Bytes big(4096, 'x');
    EXPECT_EQ(b_filePrintf(&f, "%s", big.c_str()), -1);  // over 4095 bytes: nothing
    EXPECT_EQ(b_filePrintf(&f, "%s", big.c_str() + 1), 4095);
    want += big.substr(1);
    EXPECT_EQ(b_fileFlush(&f), sOKAY);
    EXPECT_EQ(fixture_readFile(path), want);
    EXPECT_EQ(b_fileGetc(&f), -1);  // a write mode never reads
    EXPECT_EQ(b_fgetState(&f), sOKAY);
    b_fileClose(&f);
    EXPECT_EQ(fixture_readFile(path), want);
    EXPECT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_WRITE_NEW), eFILEEXIST);
    EXPECT_FALSE(b_fileIsopen(&f));
    EXPECT_EQ(b_fileOpen(&f, dir.path("none").c_str(), B_FILE_FLAGS_READ), eFILENOENTRY);
    EXPECT_EQ(f.fileType, B_FILE_TYPE_CLOSED);
}

TEST_F(FileTest, AppendToAFileOverAWindowKeepsWriting) {
    // A write-only descriptor is never read: lines go on after 4 KiB.
    const Bytes old(5000, 'o');
    fixture_writeFile(path, old);
    ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_APPEND), sOKAY);
    EXPECT_EQ(f.fileCache.size, 5000u);
    Bytes want = old;
    for (int i = 0; i < 1000; i++) {
        ASSERT_EQ(b_filePrintf(&f, "appended %04d\n", i), 14) << i;
        want += "appended " + Bytes(4 - std::to_string(i).size(), '0') + std::to_string(i) + "\n";
    }
    b_fileClose(&f);
    EXPECT_EQ(fixture_readFile(path), want);
}

TEST_F(FileTest, FirstFailureSticks) {
    OpenWith("readonly");
    EXPECT_EQ(b_fileGetc(&f), 'r');
    EXPECT_EQ(b_fileWrite(&f, "x", 1), sOKAY);  // gathered in the window
    const ZEL_RETCODE rc = b_fileFlush(&f);     // the descriptor is read-only
    ASSERT_LT(rc, 0);
    EXPECT_EQ(b_fgetState(&f), rc);
    EXPECT_EQ(b_fileGetc(&f), -1);
    size_t n = 1;
    char c;
    EXPECT_EQ(b_fileRead(&f, &c, 1, &n), rc);
    EXPECT_EQ(n, 0u);
    EXPECT_EQ(b_fileWrite(&f, "x", 1), rc);
    EXPECT_EQ(b_filePuts(&f, "x"), -1);
    EXPECT_EQ(b_filePrintf(&f, "x"), -1);
    B_FILE_OFFSET pos = 77;
    EXPECT_EQ(b_fileSeek(&f, 3, B_FILE_SEEK_SET, &pos), rc);
    EXPECT_EQ(f.fileCache.off, 3u);  // the move is made all the same
    EXPECT_EQ(pos, 77u);
    EXPECT_EQ(b_fileSync(&f), rc);
    b_fileClose(&f);  // the failed flush is dropped
    EXPECT_EQ(b_fgetState(&f), sOKAY);
}

TEST_F(FileTest, StandardInputPipeReads) {
    // A pipe has length 0; it is read all the same.
    StdinPipe in("first\nsecond");
    ASSERT_EQ(b_fileOpenStdin(&f), sOKAY);
    EXPECT_TRUE(b_fileIsStdin(&f));
    EXPECT_EQ(f.fileCache.size, 0u);
    char *buf = nullptr;
    size_t len = 0;
    ASSERT_NE(b_fileGetLine(&f, &buf, &len, sub), nullptr);
    EXPECT_STREQ(buf, "first\n");
    ASSERT_NE(b_fileGetLine(&f, &buf, &len, sub), nullptr);
    EXPECT_STREQ(buf, "second");
    EXPECT_EQ(b_fileGetLine(&f, &buf, &len, sub), nullptr);
    b_tag_subFree(sub, buf);
    b_fileClose(&f);
    EXPECT_NE(fcntl(0, F_GETFD), -1);
}

TEST_F(FileTest, StandardStreamsStayOpenAfterClose) {
    for (int fd : {1, 2}) {
        FdCapture cap(fd);
        ASSERT_EQ(fd == 1 ? b_fileOpenStdout(&f) : b_fileOpenStderr(&f), sOKAY);
        EXPECT_EQ(f.fileType, fd == 1 ? B_FILE_TYPE_STDOUT : B_FILE_TYPE_STDERR);
        EXPECT_EQ(f.fmode, B_FILE_MODE_UTF8);
        ZEL_BOOL_T tty = ZEL_TRUE;
        EXPECT_EQ(b_fileIsATTY(&f, &tty), sOKAY);
        EXPECT_FALSE(tty);
        EXPECT_EQ(b_fileSetEcho(&f, ZEL_TRUE), sOKAY);
        EXPECT_EQ(b_filePrintf(&f, "to %d\n", fd), 5);
        EXPECT_EQ(b_fileGetc(&f), -1);
        b_fileClose(&f);
        EXPECT_NE(fcntl(fd, F_GETFD), -1);
        EXPECT_EQ(cap.Text(), "to " + std::to_string(fd) + "\n");
    }
}

}  // namespace
