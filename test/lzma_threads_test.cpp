// Four threads, each with its own sub tag and LZMA context on one master,
// compress and decompress the same objects: every thread gets the bytes one
// thread alone gets. The contexts share nothing; the master's mutex is the
// only lock, so this runs under ThreadSanitizer in CI.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "buffer.h"
#include "lzma.h"
#include "lzma_corpus.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

using lzma_corpus::Bytes;

// Compresses and decompresses every object with a fresh context on `sub`;
// the packed bytes, or an empty list after a failure or a wrong round trip.
std::vector<Bytes> packAll(B_TAG_SUB sub, const std::vector<Bytes> &objects) {
    B_LZMA_T *z = nullptr;
    if (b_tag_subAlloc(sub, sizeof *z, &z) != sOKAY) return {};
    std::vector<Bytes> packed;
    bool ok = b_lzmaInit(z, sub) == sOKAY;
    for (const Bytes &o : objects) {
        if (!ok) break;
        B_BUFFER_T src, dst, back;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(o.data()), o.size(), o.size());
        b_bufferInit(&dst, sub);
        b_bufferInit(&back, sub);
        ok = b_lzmaCompress(z, &src, &dst) == sOKAY && b_lzmaDecompress(z, &dst, &back) == sOKAY &&
             back.len == o.size() && std::equal(o.begin(), o.end(), back.data.bin);
        if (ok) packed.emplace_back(dst.data.bin, dst.data.bin + dst.len);
        b_bufferTerm(&dst);
        b_bufferTerm(&back);
    }
    b_lzmaTerm(z);
    b_tag_subFree(sub, z);
    return ok ? packed : std::vector<Bytes>{};
}

TEST(LzmaThreads, FourContextsOnOneMaster) {
    std::vector<Bytes> objects;
    for (int i = 0; i < 20; i++)
        objects.push_back(lzma_corpus::object(i % 5, 40 + i, 3000 + 97 * i));
    B_TAG_MASTER master = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    B_TAG_SUB sub = nullptr;
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    const std::vector<Bytes> alone = packAll(sub, objects);
    ASSERT_EQ(alone.size(), objects.size());
    std::vector<std::vector<Bytes>> results(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; t++) {
        threads.emplace_back([master, t, &objects, &results] {
            B_TAG_SUB own = nullptr;
            if (b_tag_subCreate(master, &own) != sOKAY) return;
            for (int round = 0; round < 3; round++) results[t] = packAll(own, objects);
            b_tag_subDestroy(own);
        });
    }
    for (std::thread &th : threads) th.join();
    for (int t = 0; t < 4; t++) EXPECT_TRUE(results[t] == alone) << "thread " << t;
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

}  // namespace
