// Tests of the platform layer: memory, locks, events, threads, files,
// directories, strings, mathematics and collation.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <thread>

#include "psp.h"

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

}  // namespace
