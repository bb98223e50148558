// Tests of the message queue and the thread pool with several threads; run
// under ThreadSanitizer in CI. A lost wake would hang a reader for ever, so
// each wait for another thread has a deadline after which the test fails and
// frees the reader with a rescue message instead of hanging.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "queue.h"
#include "thrpool.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Msg {
    B_QUEMSG link;
    uint32_t writer;
    uint32_t seq;
};

// Writers each queue `perWriter` messages numbered 0, 1, ...; the readers
// take them all. Every message arrives once, and each writer's in its order.
void writeAndReadAll(int writers, int readers, uint32_t perWriter) {
    B_QUEUE q;
    ASSERT_EQ(b_queueInit(&q), sOKAY);
    std::vector<Msg> msgs(size_t(writers) * perWriter);
    std::vector<std::atomic<uint8_t>> seen(msgs.size());
    std::atomic<bool> ordered{true};
    std::atomic<uint64_t> total{0};
    std::vector<std::thread> threads;
    for (int r = 0; r < readers; ++r) {
        threads.emplace_back([&] {
            std::vector<int64_t> last(size_t(writers), -1);
            for (;;) {
                B_QUEMSG *m = nullptr;
                const ZEL_RETCODE rc = b_queueRead(&q, &m, PSP_WAIT_FOREVER);
                if (rc == sBASE_QUEUE_CLOSED) break;
                ASSERT_EQ(rc, sOKAY);
                const Msg *msg = reinterpret_cast<Msg *>(m);
                // With one reader the order per writer is exact; with two, a
                // reader still sees each writer's messages in order.
                if (int64_t(msg->seq) <= last[msg->writer]) ordered = false;
                last[msg->writer] = msg->seq;
                seen[size_t(msg->writer) * perWriter + msg->seq].fetch_add(1);
                total.fetch_add(1);
            }
        });
    }
    std::vector<std::thread> writing;
    for (int w = 0; w < writers; ++w) {
        writing.emplace_back([&, w] {
            for (uint32_t i = 0; i < perWriter; ++i) {
                Msg &m = msgs[size_t(w) * perWriter + i];
                m.writer = uint32_t(w);
                m.seq = i;
                ASSERT_EQ(b_queueWrite(&q, &m.link), sOKAY);
            }
        });
    }
    for (std::thread &t : writing) t.join();
    b_queueClose(&q);
    for (std::thread &t : threads) t.join();
    EXPECT_EQ(total.load(), msgs.size());
    EXPECT_TRUE(ordered.load());
    size_t once = 0;
    for (const auto &s : seen) once += s.load() == 1;
    EXPECT_EQ(once, msgs.size());
    EXPECT_EQ(b_queueCount(&q), 0);
    b_queueTerm(&q);
}

TEST(QueueThreads, FourWritersOneReaderEveryMessageOnce) {
    writeAndReadAll(4, 1, 100000);
}

TEST(QueueThreads, TwoWritersTwoReadersEveryMessageOnce) {
    writeAndReadAll(2, 2, 50000);
}

// Waits until `flag` reaches `want`; false after the deadline.
bool waitFor(const std::atomic<int> &flag, int want, std::chrono::milliseconds limit) {
    const auto until = Clock::now() + limit;
    while (flag.load() != want) {
        if (Clock::now() > until) return false;
        std::this_thread::yield();
    }
    return true;
}

// A reader waiting without end is released by a close that lands before its
// look, between its look and its arming (test builds yield there), or during
// its sleep; it must come back with sBASE_QUEUE_CLOSED every time.
TEST(QueueThreads, CloseReleasesReaderWaitingForever) {
    constexpr int kRounds = 10000;
    B_QUEUE q;
    std::atomic<int> go{0}, done{0};
    std::atomic<ZEL_RETCODE> got{sOKAY};
    std::thread reader([&] {
        for (int round = 1;; ++round) {
            while (go.load() != round && go.load() >= 0) std::this_thread::yield();
            if (go.load() < 0) return;
            B_QUEMSG *m = nullptr;
            got = b_queueRead(&q, &m, PSP_WAIT_FOREVER);
            done = round;
        }
    });
    int closedCount = 0, round = 1;
    B_QUEMSG rescue{};
    for (; round <= kRounds; ++round) {
        ASSERT_EQ(b_queueInit(&q), sOKAY);
        go = round;
        // Spread the close over the reader's way into its wait.
        for (int i = 0; i < round % 4; ++i) std::this_thread::yield();
        if (round % 16 == 0) std::this_thread::sleep_for(std::chrono::microseconds(200));
        b_queueClose(&q);
        const bool released = waitFor(done, round, std::chrono::seconds(5));
        if (!released) {
            ASSERT_EQ(b_queueWrite(&q, &rescue), sOKAY);
            ASSERT_TRUE(waitFor(done, round, std::chrono::seconds(5)));
        }
        closedCount += got.load() == sBASE_QUEUE_CLOSED;
        b_queueTerm(&q);
        if (!released) break;
    }
    go = -1;
    reader.join();
    EXPECT_EQ(round, kRounds + 1) << "a reader slept through the close";
    EXPECT_EQ(closedCount, kRounds);
}

// A timed reader and a writer racing its timeout: the message is either read
// now or left for the next read, never lost.
TEST(QueueThreads, WriteRacingATimeoutIsNotLost) {
    B_QUEUE q;
    ASSERT_EQ(b_queueInit(&q), sOKAY);
    constexpr int kRounds = 200;
    std::vector<B_QUEMSG> msgs(kRounds);
    int read = 0, timeouts = 0;
    for (int round = 0; round < kRounds; ++round) {
        std::thread w([&] {
            std::this_thread::sleep_for(std::chrono::microseconds(900 + 10 * (round % 20)));
            ASSERT_EQ(b_queueWrite(&q, &msgs[size_t(round)]), sOKAY);
        });
        B_QUEMSG *m = nullptr;
        const ZEL_RETCODE rc = b_queueRead(&q, &m, 1);
        if (rc == sOKAY) {
            ++read;
        } else {
            ASSERT_EQ(rc, sTIMEOUT);
            ++timeouts;
        }
        w.join();
        if (rc == sTIMEOUT) {
            ASSERT_EQ(b_queueRead(&q, &m, 0), sOKAY);
            EXPECT_EQ(m, &msgs[size_t(round)]);
        }
    }
    EXPECT_EQ(read + timeouts, kRounds);
    EXPECT_EQ(b_queueCount(&q), 0);
    b_queueTerm(&q);
}

// A reply queue ended as soon as its one message is read, while the writer
// may still be inside its resume of the reader: term waits for the writer.
TEST(QueueThreads, TermRightAfterTheReadWaitsForTheWriter) {
    for (int round = 0; round < 2000; ++round) {
        B_QUEUE q;
        ASSERT_EQ(b_queueInit(&q), sOKAY);
        B_QUEMSG reply{};
        std::thread writer([&] {
            for (int i = 0; i < round % 3; ++i) std::this_thread::yield();
            ASSERT_EQ(b_queueWrite(&q, &reply), sOKAY);
        });
        B_QUEMSG *m = nullptr;
        ASSERT_EQ(b_queueRead(&q, &m, PSP_WAIT_FOREVER), sOKAY);
        EXPECT_EQ(m, &reply);
        b_queueTerm(&q);
        writer.join();
    }
}

struct SumJob {
    B_THRPOOL_JOB job;
    uint64_t in;
    uint64_t out;
};

ZEL_RETCODE squareJob(B_THRPOOL_JOB *j) {
    auto *s = reinterpret_cast<SumJob *>(j);
    s->out = s->in * s->in;
    // Any code comes back through rc, statuses and failures alike.
    return s->in % 3 == 0 ? sOKAY : (s->in % 3 == 1 ? sTIMEOUT : eFAIL);
}

TEST(ThreadPoolThreads, TwoThreadsRunTenThousandJobs) {
    B_THRPOOL pool;
    B_THRPOOL_THREAD threads[2];
    ASSERT_EQ(b_thrpoolInit(&pool, 2, threads), sOKAY);
    ASSERT_EQ(pool.numThreads, 2u);
    std::vector<SumJob> jobs(10000);
    for (size_t i = 0; i < jobs.size(); ++i) {
        jobs[i].in = i;
        jobs[i].job.rc = eNOMEMORY;
        ASSERT_EQ(b_thrpoolAddJob(&pool, squareJob, &jobs[i].job), sOKAY);
    }
    b_thrpoolTerm(&pool);
    for (size_t i = 0; i < jobs.size(); ++i) {
        ZEL_RETCODE rc = eNOMEMORY;
        ASSERT_EQ(b_thrpoolJobResult(&jobs[i].job, &rc), sOKAY);
        ASSERT_EQ(rc, i % 3 == 0 ? sOKAY : (i % 3 == 1 ? sTIMEOUT : eFAIL)) << i;
        ASSERT_EQ(jobs[i].out, uint64_t(i) * i);
    }
    for (const B_THRPOOL_THREAD &t : threads) {
        EXPECT_EQ(t.thrPool, &pool);
        EXPECT_EQ(t.thread.rc, sOKAY);
    }
}

struct GateJob {
    B_THRPOOL_JOB job;
    std::atomic<int> *started;
    const int32_t *status;
    std::atomic<int> *ran;
};

// The first job holds the only worker until the queue is closed, so every
// other job is still queued when b_thrpoolTerm begins.
ZEL_RETCODE gateJob(B_THRPOOL_JOB *j) {
    auto *g = reinterpret_cast<GateJob *>(j);
    g->started->store(1);
    while (__atomic_load_n(g->status, __ATOMIC_RELAXED) != B_QUEUE_CLOSED)
        std::this_thread::yield();
    g->ran->fetch_add(1);
    return sOKAY;
}

ZEL_RETCODE countJob(B_THRPOOL_JOB *j) {
    reinterpret_cast<GateJob *>(j)->ran->fetch_add(1);
    return sDUPLICATE;
}

TEST(ThreadPoolThreads, TermRunsJobsStillQueued) {
    B_THRPOOL pool;
    B_THRPOOL_THREAD threads[1];
    ASSERT_EQ(b_thrpoolInit(&pool, 1, threads), sOKAY);
    std::atomic<int> started{0}, ran{0};
    std::vector<GateJob> jobs(100);
    for (GateJob &g : jobs) g = GateJob{{}, &started, &pool.queue.status, &ran};
    ASSERT_EQ(b_thrpoolAddJob(&pool, gateJob, &jobs[0].job), sOKAY);
    ASSERT_TRUE(waitFor(started, 1, std::chrono::seconds(10)));
    for (size_t i = 1; i < jobs.size(); ++i)
        ASSERT_EQ(b_thrpoolAddJob(&pool, countJob, &jobs[i].job), sOKAY);
    EXPECT_EQ(b_queueCount(&pool.queue), 99);
    b_thrpoolTerm(&pool);
    EXPECT_EQ(ran.load(), 100);
    for (size_t i = 1; i < jobs.size(); ++i) EXPECT_EQ(jobs[i].job.rc, sDUPLICATE);
}

}  // namespace
