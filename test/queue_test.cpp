// Tests of the message queue on one thread: order, counts, the codes of an
// empty, timed-out and closed queue. The tests with several threads are in
// queue_threads_test.cpp.
#include <gtest/gtest.h>

#include <chrono>

#include "queue.h"

namespace {

struct Msg {
    B_QUEMSG link;
    int id;
};

class Queue : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(b_queueInit(&q), sOKAY);
        for (int i = 0; i < 8; ++i) msgs[i].id = i;
    }
    void TearDown() override { b_queueTerm(&q); }
    // The id of the message read, or -1 with the code in *rc.
    int read(uint32_t timeout, ZEL_RETCODE *rc) {
        B_QUEMSG *m = &sentinel;
        *rc = b_queueRead(&q, &m, timeout);
        if (*rc != sOKAY) {
            EXPECT_EQ(m, &sentinel) << "out argument written on " << *rc;
            return -1;
        }
        EXPECT_EQ(m->next, nullptr);
        return reinterpret_cast<Msg *>(m)->id;
    }
    B_QUEUE q;
    Msg msgs[8];
    B_QUEMSG sentinel{};
};

int64_t msSince(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 t0)
        .count();
}

TEST_F(Queue, ReadsInWriteOrderAndCounts) {
    ZEL_RETCODE rc;
    EXPECT_EQ(b_queueCount(&q), 0);
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(b_queueWrite(&q, &msgs[i].link), sOKAY);
        EXPECT_EQ(b_queueCount(&q), i + 1);
    }
    for (int i = 0; i < 3; ++i) EXPECT_EQ(read(0, &rc), i);
    // Interleaved: the list empties and refills through its tail.
    ASSERT_EQ(b_queueWrite(&q, &msgs[5].link), sOKAY);
    EXPECT_EQ(b_queueCount(&q), 3);
    EXPECT_EQ(read(PSP_WAIT_FOREVER, &rc), 3);
    EXPECT_EQ(read(10, &rc), 4);
    EXPECT_EQ(read(0, &rc), 5);
    EXPECT_EQ(b_queueCount(&q), 0);
    // A message read can be written again.
    ASSERT_EQ(b_queueWrite(&q, &msgs[0].link), sOKAY);
    EXPECT_EQ(read(0, &rc), 0);
    // Empty and open: timeout 0 answers at once.
    auto t0 = std::chrono::steady_clock::now();
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(read(0, &rc), -1);
    EXPECT_EQ(rc, sBASE_QUEUE_EMPTY);
    EXPECT_LT(msSince(t0), 1000);
}

TEST_F(Queue, TimedReadOnEmptyQueueTimesOut) {
    ZEL_RETCODE rc;
    for (int round = 0; round < 2; ++round) {
        auto t0 = std::chrono::steady_clock::now();
        EXPECT_EQ(read(50, &rc), -1);
        EXPECT_EQ(rc, sTIMEOUT);
        EXPECT_GE(msSince(t0), 50);
        EXPECT_LT(msSince(t0), 5000);
        // The timed-out reader left the event armed: the next write resumes
        // it for nobody, and a later timed read still waits its full time.
        ASSERT_EQ(b_queueWrite(&q, &msgs[round].link), sOKAY);
        EXPECT_EQ(read(0, &rc), round);
    }
}

TEST_F(Queue, ClosedQueueTakesWritesDrainsThenReportsClosed) {
    ZEL_RETCODE rc;
    for (int i = 0; i < 3; ++i) ASSERT_EQ(b_queueWrite(&q, &msgs[i].link), sOKAY);
    b_queueClose(&q);
    EXPECT_EQ(q.status, B_QUEUE_CLOSED);
    ASSERT_EQ(b_queueWrite(&q, &msgs[3].link), sOKAY);
    EXPECT_EQ(b_queueCount(&q), 4);
    EXPECT_EQ(read(0, &rc), 0);
    EXPECT_EQ(read(50, &rc), 1);
    EXPECT_EQ(read(PSP_WAIT_FOREVER, &rc), 2);
    EXPECT_EQ(read(0, &rc), 3);
    // Closed and empty, whatever the timeout, and again on the next call;
    // closing twice changes nothing.
    const uint32_t timeouts[] = {0, 50, PSP_WAIT_FOREVER};
    for (uint32_t t : timeouts) {
        EXPECT_EQ(read(t, &rc), -1);
        EXPECT_EQ(rc, sBASE_QUEUE_CLOSED);
    }
    b_queueClose(&q);
    EXPECT_EQ(read(PSP_WAIT_FOREVER, &rc), -1);
    EXPECT_EQ(rc, sBASE_QUEUE_CLOSED);
    EXPECT_EQ(b_queueCount(&q), 0);
}

}  // namespace
