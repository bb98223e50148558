// A log shared between threads. The log takes no lock of its own, so the
// threads that write serialise under their caller's lock, and every line
// must come out whole; filtered calls only read the thresholds and may run
// side by side without a lock.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "file_fixture.h"
#include "log.h"

namespace {

constexpr int kThreads = 4;
constexpr int kLines = 500;

TEST(LogThreads, LinesStayWholeUnderTheCallersLock) {
    ScratchDir dir;
    const std::string path = dir.path("log");
    B_LOG_T log;
    ASSERT_EQ(b_logInit(&log, B_LOG_LEVEL_NONE, B_LOG_LEVEL_ALL, path.c_str(), ZEL_TRUE), sOKAY);
    std::mutex lock;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([&log, &lock, t] {
            for (int i = 0; i < kLines; i++) {
                // Filtered calls need no lock.
                EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_NONE, "no"), 0);
                std::lock_guard<std::mutex> hold(lock);
                EXPECT_EQ(b_logMessageWithHeader(&log, B_LOG_LEVEL_INFO, B_LOG_CATEGORY_DDL,
                                                 "thread", "t.c", t, i, "line %d of %d", i, t),
                          1);
            }
        });
    }
    for (std::thread &th : threads) th.join();
    b_logTerm(&log);
    std::istringstream in(fixture_readFile(path));
    std::map<int, int> next;
    int lines = 0;
    for (std::string line; std::getline(in, line); lines++) {
        int t = -1, i = -1, i2 = -1, t2 = -1;
        const size_t at = line.find("] ");
        ASSERT_NE(at, std::string::npos) << line;
        ASSERT_EQ(std::sscanf(line.c_str() + at + 2, "t.c:%d:%d: thread: line %d of %d", &t, &i,
                              &i2, &t2),
                  4)
            << line;
        EXPECT_EQ(t, t2);
        EXPECT_EQ(i, i2);
        EXPECT_EQ(i, next[t]++) << "lines of one thread in order";
    }
    EXPECT_EQ(lines, kThreads * kLines);
}

TEST(LogThreads, SeparateLogsNeedNoLock) {
    ScratchDir dir;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; t++) {
        threads.emplace_back([&dir, t] {
            const std::string path = dir.path("log" + std::to_string(t));
            B_LOG_T log;
            ASSERT_EQ(b_logInit(&log, B_LOG_LEVEL_NONE, B_LOG_LEVEL_ALL, path.c_str(), ZEL_FALSE),
                      sOKAY);
            for (int i = 0; i < kLines; i++)
                EXPECT_EQ(b_logMessage(&log, B_LOG_LEVEL_ERROR, B_LOG_CATEGORY_ALL, "%d", i), 1);
            b_logTerm(&log);
            const Bytes text = fixture_readFile(path);
            EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), kLines);
        });
    }
    for (std::thread &th : threads) th.join();
}

}  // namespace
