// Tests of the platform layer's threads, mutexes and events: state shared
// between threads, so CI runs them under ThreadSanitizer too.
#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>

#include "psp.h"

namespace {

TEST(PspMutex, GuardsACounterAcrossThreads) {
    PSP_THREAD_MUTEX_T m;
    ASSERT_EQ(psp_threadMutexInit(&m), sOKAY);
    int64_t counter = 0;
    auto work = [&] {
        for (int i = 0; i < 100000; ++i) {
            psp_threadMutexEnter(&m);
            ++counter;
            psp_threadMutexExit(&m);
        }
    };
    std::thread a(work), b(work);
    a.join();
    b.join();
    EXPECT_EQ(counter, 200000);
    psp_threadMutexTerm(&m);
}

// ---- Events and threads.

int64_t msSince(std::chrono::steady_clock::time_point t0) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 t0)
        .count();
}

TEST(PspEvent, ArmedWaitTimesOutAndResumeFromAnotherThreadEndsIt) {
    PSP_THREAD_EVENT_T ev;
    ASSERT_EQ(psp_threadEventInit(&ev), sOKAY);
    psp_threadEventStart(&ev);
    EXPECT_EQ(psp_threadEventWait(&ev, 0), sTIMEOUT);
    auto t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(psp_threadEventWait(&ev, 60), sTIMEOUT);
    EXPECT_GE(msSince(t0), 60);
    std::thread t([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        psp_threadEventResume(&ev);
    });
    t0 = std::chrono::steady_clock::now();
    EXPECT_EQ(psp_threadEventWait(&ev, PSP_WAIT_FOREVER), sOKAY);
    EXPECT_GE(msSince(t0), 25);
    t.join();

    // A resume before the wait is not lost; Start arms again.
    EXPECT_EQ(psp_threadEventWait(&ev, 10000), sOKAY);
    psp_threadEventStart(&ev);
    EXPECT_EQ(psp_threadEventWait(&ev, 1), sTIMEOUT);
    psp_threadEventTerm(&ev);
}

TEST(PspEvent, WaitUnderItsOwnMutexIsADeadlock) {
    PSP_THREAD_EVENT_T ev;
    ASSERT_EQ(psp_threadEventInit(&ev), sOKAY);
    psp_threadEventStart(&ev);
    pthread_mutex_lock(&ev.m);
    EXPECT_EQ(psp_threadEventWait(&ev, PSP_WAIT_FOREVER), ePSP_DEADLOCK);
    pthread_mutex_unlock(&ev.m);
    psp_threadEventTerm(&ev);
}

struct ThreadProbe {
    char name[32];
    std::atomic<int> ran{0};
};

ZEL_RETCODE probeThread(void *arg) {
    auto *probe = static_cast<ThreadProbe *>(arg);
    pthread_getname_np(pthread_self(), probe->name, sizeof probe->name);
    probe->ran = 1;
    return eINVLITERAL;
}

TEST(PspThread, JoinHandsBackTheResultAndNameIsCut) {
    ThreadProbe probe{};
    psp_thread_t th;
    ASSERT_EQ(psp_threadBegin(&th, probeThread, 1, &probe, 0, "a name of more than fifteen"),
              sOKAY);
    ASSERT_EQ(psp_threadJoin(&th), sOKAY);
    EXPECT_EQ(th.rc, eINVLITERAL);
    EXPECT_EQ(probe.ran, 1);
    EXPECT_STREQ(probe.name, "a name of more ");  // 15 bytes

    ASSERT_EQ(psp_threadBegin(&th, probeThread, 0, &probe, 0, nullptr), sOKAY);
    ASSERT_EQ(psp_threadJoin(&th), sOKAY);
    EXPECT_EQ(psp_threadBegin(&th, nullptr, 0, nullptr, 0, "x"), eINVNULLARG);
}

}  // namespace
