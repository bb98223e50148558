// The log: the line format in the file and on standard error (descriptor 2
// captured with dup2), filtering by level and category, headers, chunks, the
// name tables, and the final message of a tool.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <regex>
#include <string>
#include <tuple>

#include "error.h"
#include "file.h"
#include "file_fixture.h"
#include "log.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

// "[YYYY-MM-DD HH:MM:SS.FFFF] " at the start of each line of the log file.
const std::string kStamp = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{4}\] )";

class LogTest : public TaggedTest {
  protected:
    void Init(B_LOG_LEVEL stderrLevel, B_LOG_LEVEL fileLevel, bool withFile = true) {
        ASSERT_EQ(
            b_logInit(&log, stderrLevel, fileLevel, withFile ? path.c_str() : nullptr, ZEL_FALSE),
            sOKAY);
        open = true;
    }
    // Ends the log (which flushes it) and returns what reached the file.
    Bytes Term() {
        if (open) b_logTerm(&log);
        open = false;
        return fixture_readFile(path);
    }
    void TearDown() override {
        Term();
        TaggedTest::TearDown();
    }
    ScratchDir dir;
    std::string path = dir.path("log");
    B_LOG_T log{};
    bool open = false;
};

TEST_F(LogTest, LinesCarryTheStampInTheFileOnly) {
    FdCapture err(2);
    Init(B_LOG_LEVEL_INFO, B_LOG_LEVEL_ALL);
    const time_t before = time(nullptr);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_DDL, "value %d", 42), 1);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_MESG, B_LOG_CATEGORY_DDL, "%s", "file only"), 1);
    EXPECT_EQ(fixture_readFile(path), "");  // kept: not flushed per message
    const Bytes file = Term();
    EXPECT_EQ(err.Text(), "value 42\n");
    EXPECT_TRUE(std::regex_match(file, std::regex(kStamp + "value 42\n" + kStamp + "file only\n")))
        << file;
    // The stamp is UTC and now.
    struct tm tm {};
    ASSERT_NE(strptime(file.c_str() + 1, "%Y-%m-%d %H:%M:%S", &tm), nullptr);
    EXPECT_LE(std::abs(double(timegm(&tm) - before)), 5.0);
}

TEST_F(LogTest, FilterByCategoryAndLevel) {
    FdCapture err(2);
    Init(B_LOG_LEVEL_INFO, B_LOG_LEVEL_WARNING);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_NONE, "never"), 0);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_MESG, B_LOG_CATEGORY_DDL, "nowhere"), 0);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_DDL, "stderr"), 1);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_WARNING, B_LOG_CATEGORY_ALL, "both"), 1);
    b_logCategoryDisable(&log, B_LOG_CATEGORY_DDL);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_DDL, "disabled"), 0);
    b_logSetStderrLevel(&log, B_LOG_LEVEL_NONE);
    b_logSetFileLevel(&log, B_LOG_LEVEL_NONE);
    EXPECT_EQ(b_logGetStderrLevel(&log), B_LOG_LEVEL_NONE);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL, "muted"), 0);
    const Bytes file = Term();
    EXPECT_EQ(err.Text(), "stderr\nboth\n");
    EXPECT_TRUE(std::regex_match(file, std::regex(kStamp + "both\n"))) << file;
}

TEST_F(LogTest, WithoutAFileOnlyStandardErrorCounts) {
    FdCapture err(2);
    Init(B_LOG_LEVEL_NONE, B_LOG_LEVEL_ALL, false);
    EXPECT_FALSE(b_fileIsopen(&log.file_log));
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL, "x"), 0);
    b_logSetStderrLevel(&log, B_LOG_LEVEL_ERROR);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL, "y"), 1);
    EXPECT_EQ(b_logFlush(&log), sOKAY);
    EXPECT_EQ(err.Text(), "y\n");
}

TEST_F(LogTest, HeadersBeforeTheText) {
    FdCapture err(2);
    Init(B_LOG_LEVEL_ALL, B_LOG_LEVEL_ALL);
    EXPECT_EQ(b_logMessageWithHeader(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_DDL, "syntax", "a.sql",
                                     3, 14, "unexpected %s", "word"),
              1);
    EXPECT_EQ(b_logMessageWithHeader(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_DDL, nullptr, "a.sql",
                                     3, 14, "no prefix"),
              1);
    EXPECT_EQ(b_logMessageWithHeader(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_DDL, "note", nullptr,
                                     0, 0, "no file"),
              1);
    EXPECT_EQ(b_logMessageWithHeader(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_DDL, nullptr, nullptr,
                                     0, 0, "neither"),
              1);
    EXPECT_EQ(b_logMessageWithHeader(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_NONE, "p", "f", 1, 1,
                                     "filtered"),
              0);
    const char *lines =
        "a.sql:3:14: syntax: unexpected word\na.sql:3:14: no prefix\nnote: no file\n*** neither\n";
    const Bytes file = Term();
    EXPECT_EQ(err.Text(), lines);
    EXPECT_TRUE(std::regex_match(file, std::regex(kStamp + "a.sql:3:14: syntax: unexpected word\n" +
                                                  kStamp + "a.sql:3:14: no prefix\n" + kStamp +
                                                  "note: no file\n" + kStamp + R"(\*\*\* neither
)"))) << file;
}

TEST_F(LogTest, LongTextsAreNotCutAt4095Bytes) {
    FdCapture err(2);
    Init(B_LOG_LEVEL_ALL, B_LOG_LEVEL_NONE);
    const Bytes mid(5000, 'm'), big(70000, 'b');
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_ALL, "%s", mid.c_str()), 1);
    EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_ALL, "%s", big.c_str()), 1);
    Term();
    EXPECT_EQ(err.Text(), mid + "\n" + big.substr(0, 65535) + "\n");
}

TEST_F(LogTest, ChunksMakeOneLineAndPercentStandsForItself) {
    FdCapture err(2);
    Init(B_LOG_LEVEL_ALL, B_LOG_LEVEL_NONE);
    LOG_CHUNK chunk;
    b_logChunkInit(&chunk, sub);
    EXPECT_EQ(b_logChunkWrite(&log, &chunk, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL), 0);  // empty
    ASSERT_EQ(b_logChunkAdd(&chunk, "columns: %s", "a"), sOKAY);
    for (int i = 0; i < 300; i++) ASSERT_EQ(b_logChunkAdd(&chunk, ", c%d", i), sOKAY);
    ASSERT_EQ(b_logChunkAdd(&chunk, "%s", "; 100%% done, %d %s kept"), sOKAY);
    EXPECT_EQ(chunk.len, std::strlen(chunk.buf));
    Bytes want = "columns: a";
    for (int i = 0; i < 300; i++) want += ", c" + std::to_string(i);
    want += "; 100% done, %d %s kept\n";
    EXPECT_EQ(b_logChunkWrite(&log, &chunk, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL), 1);
    EXPECT_EQ(chunk.buf, nullptr);
    EXPECT_EQ(chunk.len, 0u);
    ASSERT_EQ(b_logChunkAdd(&chunk, "in a chunk"), sOKAY);
    EXPECT_EQ(b_logChunkWriteWithHeader(&log, &chunk, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL, "p",
                                        "f.json", 2, 5),
              1);
    want += "f.json:2:5: p: in a chunk\n";
    ASSERT_EQ(b_logChunkAdd(&chunk, "dropped"), sOKAY);
    b_logChunkTerm(&chunk);
    EXPECT_EQ(chunk.subTag, nullptr);
    Term();
    EXPECT_EQ(err.Text(), want);
}

TEST_F(LogTest, ChunkAddOutOfMemoryKeepsTheChunk) {
    // Growth from nothing, by steps, and past the page runs of the tag.
    const Bytes big(700000, 'x');
    const int faults = oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        LOG_CHUNK chunk;
        b_logChunkInit(&chunk, sub);
        ZEL_RETCODE rc = sOKAY;
        for (const char *piece : {"first", "-second", "-third"}) {
            const char *before = chunk.buf;
            const size_t len = chunk.len;
            if ((rc = b_logChunkAdd(&chunk, "%s", piece)) != sOKAY) {
                EXPECT_EQ(chunk.buf, before);
                EXPECT_EQ(chunk.len, len);
                break;
            }
        }
        if (rc == sOKAY) rc = b_logChunkAdd(&chunk, "%s", big.c_str());
        if (rc == sOKAY) {
            EXPECT_EQ(Bytes(chunk.buf), "first-second-third" + big);
            EXPECT_EQ(chunk.len, 18 + big.size());
        }
        b_logChunkTerm(&chunk);
        return rc;
    });
    EXPECT_GE(faults, 4);
}

TEST(LogNames, LevelsAndCategoriesByName) {
    // {category (or level), name, code, the value after the call}
    const std::tuple<bool, const char *, ZEL_RETCODE, int> cases[] = {
        {false, "all", sOKAY, B_LOG_LEVEL_ALL},
        {false, "ERROR", sOKAY, B_LOG_LEVEL_ERROR},
        {false, "Info", sOKAY, B_LOG_LEVEL_INFO},
        {false, "mesg", sOKAY, B_LOG_LEVEL_MESG},
        {false, "wArNiNg", sOKAY, B_LOG_LEVEL_WARNING},
        {false, "none", eNOTFOUND, B_LOG_LEVEL_INFO},
        {false, "", eNOTFOUND, B_LOG_LEVEL_INFO},
        {false, "warnings", eNOTFOUND, B_LOG_LEVEL_INFO},
        {false, nullptr, eNOTFOUND, B_LOG_LEVEL_INFO},
        {true, "none", sOKAY, B_LOG_CATEGORY_NONE},
        {true, "DDL", sOKAY, B_LOG_CATEGORY_DDL},
        {true, "All", sOKAY, B_LOG_CATEGORY_ALL},
        {true, "dml", eNOTFOUND, B_LOG_CATEGORY_DDL},
        {true, nullptr, eNOTFOUND, B_LOG_CATEGORY_DDL}};
    for (auto [category, name, rc, value] : cases) {
        B_LOG_LEVEL l = B_LOG_LEVEL_INFO;
        B_LOG_CATEGORY c = B_LOG_CATEGORY_DDL;
        EXPECT_EQ(category ? b_logGetCategoryFromString(name, &c) : b_logGetLevel(name, &l), rc)
            << (name ? name : "null");
        EXPECT_EQ(category ? int(c) : int(l), value) << (name ? name : "null");
    }
}

TEST_F(LogTest, SettersByNameAndTheNarrowingEnable) {
    Init(B_LOG_LEVEL_NONE, B_LOG_LEVEL_NONE);
    EXPECT_EQ(b_logSetFileLevelString(&log, "Warning"), sOKAY);
    EXPECT_EQ(b_logGetFileLevel(&log), B_LOG_LEVEL_WARNING);
    EXPECT_EQ(b_logSetStderrLevelString(&log, "none"), eNOTFOUND);
    EXPECT_EQ(b_logSetStderrLevelString(&log, "mesg"), sOKAY);
    EXPECT_EQ(b_logGetStderrLevel(&log), B_LOG_LEVEL_MESG);
    EXPECT_EQ(b_logGetCategory(&log), B_LOG_CATEGORY_ALL);
    // Deliberate: the first enable of an all-categories log narrows it.
    b_logCategoryEnable(&log, B_LOG_CATEGORY(4));
    EXPECT_EQ(b_logGetCategory(&log), 4);
    EXPECT_EQ(b_logCategoryEnableString(&log, "ddl"), sOKAY);
    EXPECT_EQ(b_logGetCategory(&log), 5);
    EXPECT_EQ(b_logCategoryDisableString(&log, "DDL"), sOKAY);
    EXPECT_EQ(b_logCategoryDisableString(&log, "dml"), eNOTFOUND);
    EXPECT_EQ(b_logGetCategory(&log), 4);
    // Once the mask is no longer all, an enable adds: no narrowing.
    b_logSetCategory(&log, B_LOG_CATEGORY_ALL);
    b_logCategoryDisable(&log, B_LOG_CATEGORY_DDL);
    b_logCategoryEnable(&log, B_LOG_CATEGORY_DDL);
    EXPECT_EQ(b_logGetCategory(&log), B_LOG_CATEGORY_ALL);
}

TEST_F(LogTest, InitOpensAppendsAndNeverStoresUseMutex) {
    const Bytes old(5000, 'o');
    fixture_writeFile(path, old + "\n");
    ASSERT_EQ(b_logInit(&log, B_LOG_LEVEL_NONE, B_LOG_LEVEL_ALL, path.c_str(), ZEL_TRUE), sOKAY);
    open = true;
    EXPECT_EQ(log.use_mutex, ZEL_FALSE);  // kept: the lock is never taken
    for (int i = 0; i < 500; i++)
        EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL, "%03d", i), 1);
    const Bytes file = Term();
    ASSERT_EQ(file.substr(0, 5001), old + "\n");
    EXPECT_EQ(std::count(file.begin(), file.end(), '\n'), 501);
    EXPECT_TRUE(std::regex_search(file, std::regex(kStamp + "499\n$")));
    B_LOG_T bad;
    EXPECT_EQ(
        b_logInit(&bad, B_LOG_LEVEL_ALL, B_LOG_LEVEL_ALL, dir.path("no/such").c_str(), ZEL_TRUE),
        eFILENOENTRY);
}

TEST(LogFinalToolMessage, ReportsNameAndMessageOnStandardError) {
    const char *msg = nullptr;
    const char *name = nullptr;
    ASSERT_EQ(zelErrorCodeDef(eNOMEMORY, &msg, &name), sOKAY);
    const char *badMsg = nullptr;
    const char *badName = nullptr;
    ASSERT_EQ(zelErrorCodeDef(eSYS_BADERRCODE, &badMsg, &badName), sOKAY);
    FdCapture err(2);
    b_logFinalToolMessage(sOKAY, "/usr/bin/quiet");
    b_logFinalToolMessage(eNOMEMORY, "/usr/local/bin/zeltool");
    b_logFinalToolMessage(ZEL_RETCODE(-123456), "plain");
    EXPECT_EQ(err.Text(), std::string("zeltool: error: ") + name + ": " + msg +
                              "\nplain: error: " + badName + ": " + badMsg + "\n");
}

}  // namespace
