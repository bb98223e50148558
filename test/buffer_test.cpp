// Byte buffer: growth steps in each mode, the refusals of static buffers,
// borrowed views, copying, reading back, and allocation failures.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "buffer.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

using BufferGrowth = TaggedTest;
using BufferCopy = TaggedTest;
using BufferInput = TaggedTest;
using BufferBorrowed = TaggedTest;

std::string held(const B_BUFFER_T &b) {
    return std::string(b.data.str, b.len);
}

// "code len/size pos: bytes held" after an operation.
std::string state(ZEL_RETCODE rc, const B_BUFFER_T &b) {
    return std::to_string(rc) + " " + std::to_string(b.len) + "/" + std::to_string(b.size) + " " +
           std::to_string(b.pos) + ": " + held(b);
}

TEST_F(BufferGrowth, EmitByteGrowsSixteenAtATime) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    EXPECT_EQ(b.size, 0u);
    // Capacity follows len + 16 each time len reaches it: 16, 32, 48.
    for (int i = 0; i < 40; ++i) {
        ASSERT_EQ(b_bufferEmitByte(&b, 0x100 + 'a' + i % 26), sOKAY);  // low byte only
        EXPECT_EQ(b.size, (static_cast<size_t>(i) / 16 + 1) * 16);
    }
    EXPECT_EQ(b.len, 40u);
    EXPECT_EQ(b.data.bin[27], 'b');
    b_bufferTerm(&b);
    EXPECT_EQ(b.subTag, nullptr);
    EXPECT_EQ(b.data.ptr, nullptr);
}

TEST_F(BufferGrowth, BulkPadAndAllocateGrowToTheExactSum) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    uint8_t *p = nullptr;
    // Capacity 5 is "not above" 5 + 3, so it becomes exactly 8; an
    // allocation resizes to len + size every time, down from 100 too.
    EXPECT_EQ(state(b_bufferEmitBytesBulk(&b, "hello", 5), b), "0 5/5 0: hello");
    EXPECT_EQ(state(b_bufferEmitBytesBulk(&b, "abc", 3), b), "0 8/8 0: helloabc");
    EXPECT_EQ(state(b_bufferIncreaseSize(&b, 100), b), "0 8/100 0: helloabc");
    EXPECT_EQ(state(b_bufferIncreaseSize(&b, 10), b), "0 8/100 0: helloabc");  // never shrinks
    EXPECT_EQ(state(b_bufferEmitString(&b, "!?"), b), "0 10/100 0: helloabc!?");
    EXPECT_EQ(state(b_bufferAllocateBuffer(&b, 2, &p), b).substr(0, 10), "0 12/12 0:");
    std::memcpy(p, "gh", 2);
    EXPECT_EQ(state(b_bufferPad(&b, 16), b), "0 16/16 0: helloabc!?gh" + std::string(4, '\0'));
    EXPECT_EQ(state(b_bufferPad(&b, 16), b).substr(0, 10), "0 16/16 0:");  // on a multiple
    b_bufferReset(&b);
    EXPECT_EQ(state(sOKAY, b), "0 0/16 0: ");  // memory kept
    b_bufferTerm(&b);
}

TEST(BufferStatic, RefusesToGrowWithTruncated) {
    uint8_t mem[4] = {};
    B_BUFFER_T b;
    b_bufferInitStatic(&b, mem, sizeof mem, 1);
    for (char c : {'x', 'y', 'z'}) EXPECT_EQ(b_bufferEmitByte(&b, c), sOKAY);
    EXPECT_EQ(state(b_bufferEmitByte(&b, 'w'), b),
              std::to_string(eTRUNCATED) + " 4/4 0: " + std::string(1, '\0') + "xyz");
    EXPECT_EQ(b_bufferIncreaseSize(&b, 5), eTRUNCATED);
    EXPECT_EQ(b_bufferIncreaseSize(&b, 4), sOKAY);
    // Bulk resizes even on an exact fit, which a static buffer refuses.
    b_bufferInitStatic(&b, mem, sizeof mem, 0);
    EXPECT_EQ(b_bufferEmitBytesBulk(&b, "abc", 3), sOKAY);
    b_bufferInitStatic(&b, mem, sizeof mem, 0);
    EXPECT_EQ(b_bufferEmitBytesBulk(&b, "abcd", 4), eTRUNCATED);
    EXPECT_EQ(b.len, 0u);
    uint8_t *p = nullptr;
    EXPECT_EQ(b_bufferAllocateBuffer(&b, 1, &p), eTRUNCATED);
    EXPECT_EQ(p, nullptr);
    b_bufferInitStatic(&b, mem, sizeof mem, 3);
    EXPECT_EQ(b_bufferPad(&b, 4), sOKAY);
    EXPECT_EQ(b_bufferPad(&b, 8), eTRUNCATED);
    b_bufferTerm(&b);  // frees nothing: the memory is the caller's
    b_bufferInitStatic(&b, mem, 0, 0);
    EXPECT_EQ(b_bufferEmitByte(&b, 'x'), eTRUNCATED);  // capacity 0 refuses the first byte
}

TEST_F(BufferBorrowed, SetStaticFreesOwnedBytesOnceAndGrowingDropsTheView) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    ASSERT_EQ(b_bufferEmitString(&b, "owned"), sOKAY);
    b_bufferSetStatic(&b, "view", 4);  // frees the owned bytes
    EXPECT_EQ(fixture_subBytes(sub), start);
    EXPECT_EQ(b.size, 0u);
    EXPECT_EQ(b.subTag, sub);
    b_bufferSetStatic(&b, "other", 5);  // size 0: nothing to free
    EXPECT_EQ(held(b), "other");
    // Growing drops the view without copying it.
    const char text[] = "abcdef";
    b_bufferSetStatic(&b, text, 6);
    // len stands at 6 and the capacity is 6 + 16; the view is never written.
    EXPECT_EQ(state(b_bufferEmitByte(&b, 'g'), b).substr(0, 10), "0 7/22 0: ");
    EXPECT_NE(b.data.ptr, static_cast<const void *>(text));
    EXPECT_EQ(b.data.bin[6], 'g');
    EXPECT_STREQ(text, "abcdef");
    b_bufferTerm(&b);
    B_BUFFER_T s;  // borrowed with no tag cannot grow at all
    b_bufferInitStatic(&s, const_cast<char *>(text), 0, 6);
    EXPECT_EQ(b_bufferEmitByte(&s, 'g'), eTRUNCATED);
}

TEST_F(BufferCopy, BorrowedSourceGivesAViewAndOwnedIsAppended) {
    const char text[] = "0123456789";
    B_BUFFER_T src, dst;
    b_bufferInitStatic(&src, const_cast<char *>(text), 0, 10);
    src.pos = 4;
    b_bufferInit(&dst, sub);
    EXPECT_EQ(state(b_bufferCopy(&dst, &src), dst), "0 6/0 0: 456789");
    EXPECT_EQ(dst.data.str, text + 4);
    EXPECT_EQ(src.pos, 4u);  // source left as it is
    EXPECT_EQ(state(b_bufferCopyPartial(&dst, &src, 3), dst), "0 3/0 0: 456");
    src.pos = src.len;
    EXPECT_EQ(state(b_bufferCopy(&dst, &src), dst), "0 0/0 0: ");  // a view of 0 bytes
    b_bufferTerm(&dst);

    b_bufferInit(&src, sub);
    b_bufferInit(&dst, sub);
    ASSERT_EQ(b_bufferEmitString(&src, "0123456789"), sOKAY);
    ASSERT_EQ(b_bufferEmitString(&dst, "ab"), sOKAY);
    src.pos = 7;
    ASSERT_EQ(b_bufferCopy(&dst, &src), sOKAY);
    ASSERT_EQ(b_bufferCopyPartial(&dst, &src, 1), sOKAY);
    EXPECT_EQ(held(dst), "ab7897");
    b_bufferTerm(&src);
    b_bufferTerm(&dst);
}

TEST_F(BufferInput, BytesSeekAndBulkShortReads) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    ASSERT_EQ(b_bufferEmitString(&b, "xyz"), sOKAY);
    std::string bytes;
    uint32_t c = 0;
    for (size_t seek : {0, 2, 3}) {
        ASSERT_EQ(b_bufferSeek(&b, seek), sOKAY);
        c = '-';
        const ZEL_RETCODE rc = b_bufferInputByte(&b, &c);
        bytes += std::to_string(rc) + char(c);
    }
    EXPECT_EQ(bytes, "0x0z" + std::to_string(eEOD) + "-");
    EXPECT_EQ(b_bufferSeek(&b, 4), eEOD);
    EXPECT_EQ(b.pos, 3u);
    b_bufferTerm(&b);
    // Bulk: a buffer sized to its length, as the stream readers see it.
    b_bufferInit(&b, sub);
    ASSERT_EQ(b_bufferEmitBytesBulk(&b, "abcdef", 6), sOKAY);
    ASSERT_EQ(b.size, b.len);
    char out[8] = {};
    size_t got = 99;
    ASSERT_EQ(b_bufferInputBytesBulk(&b, 4, out, &got), sOKAY);
    EXPECT_EQ(std::string(out, got), "abcd");
    EXPECT_EQ(b_bufferInputBytesBulk(&b, 3, out, &got), eEOD);  // len - size = 0
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(b.pos, 4u);
    ASSERT_EQ(b_bufferInputBytesBulk(&b, 2, out, nullptr), sOKAY);
    EXPECT_EQ(std::string(out, 2), "ef");
    // Over-capacity (growing) buffer: the count is held at 0, never past len.
    ASSERT_EQ(b_bufferIncreaseSize(&b, 64), sOKAY);
    b.pos = 0;
    EXPECT_EQ(b_bufferInputBytesBulk(&b, 7, out, &got), eEOD);
    EXPECT_EQ(got, 0u);
    b_bufferTerm(&b);
}

// Every way of growing, with allocation 1, 2, 3, ... failing: eNOMEMORY and
// the record as it was, or the bytes appended.
TEST_F(BufferGrowth, EveryGrowthUnderFailingAllocations) {
    const std::string big(5000, 'q');
    B_BUFFER_T owned;
    b_bufferInit(&owned, sub);
    ASSERT_EQ(b_bufferEmitString(&owned, big.c_str()), sOKAY);
    void *p = nullptr;
    const std::pair<std::function<ZEL_RETCODE(B_BUFFER_T *)>, std::string> ops[] = {
        {[&](B_BUFFER_T *b) { return b_bufferEmitByte(b, 'q'); }, "q"},
        {[&](B_BUFFER_T *b) { return b_bufferEmitChar(b, 'q'); }, "q"},
        {[&](B_BUFFER_T *b) { return b_bufferEmitString(b, big.c_str()); }, big},
        {[&](B_BUFFER_T *b) { return b_bufferEmitBytesBulk(b, big.data(), big.size()); }, big},
        {[&](B_BUFFER_T *b) { return b_bufferCopy(b, &owned); }, big},
        {[&](B_BUFFER_T *b) { return b_bufferCopyPartial(b, &owned, 4000); }, big.substr(0, 4000)},
        {[&](B_BUFFER_T *b) { return b_bufferPad(b, 5000); }, std::string(4997, '\0')},
        {[&](B_BUFFER_T *b) { return b_bufferIncreaseSize(b, 5000); }, ""},
        {[&](B_BUFFER_T *b) {
             const ZEL_RETCODE rc = b_bufferAllocateBuffer(b, 5000, &p);
             if (rc == sOKAY) std::memset(p, 'q', 5000);
             return rc;
         },
         big},
    };
    for (const auto &[op, added] : ops) {
        auto run = [&, op = op, added = added] {
            B_BUFFER_T b;
            b_bufferInit(&b, sub);
            ZEL_RETCODE rc = b_bufferEmitBytesBulk(&b, "abc", 3);
            if (rc == sOKAY) {
                const B_BUFFER_T before = b;
                rc = op(&b);
                if (rc == sOKAY) {
                    EXPECT_EQ(held(b), "abc" + added);
                } else if (added == big && b.len != before.len) {
                    // A text goes a byte at a time: what came before stays.
                    EXPECT_EQ(held(b), "abc" + big.substr(0, b.len - 3));
                } else {
                    EXPECT_EQ(std::memcmp(&b, &before, sizeof b), 0);
                }
            }
            b_bufferTerm(&b);
            return rc;
        };
        EXPECT_GE(oom_check(master, {sub}, run), 2);
    }
    b_bufferTerm(&owned);
}

// Past the largest page run (626,688 bytes) the tag refuses to resize, and the
// buffer moves its bytes to a fresh buffer instead: 4 MiB a byte at a time and
// in runs.
TEST_F(BufferGrowth, PassesThePageRunsByteByByteAndInBulk) {
    constexpr size_t kSize = size_t{4} << 20;
    B_BUFFER_T one, bulk;
    b_bufferInit(&one, sub);
    b_bufferInit(&bulk, sub);
    uint8_t run[4096];
    for (size_t i = 0; i < kSize; i++) {
        ASSERT_EQ(b_bufferEmitByte(&one, static_cast<uint8_t>(i * 7)), sOKAY) << i;
        run[i % sizeof run] = static_cast<uint8_t>(i * 7);
        if (i % sizeof run == sizeof run - 1) {
            ASSERT_EQ(b_bufferEmitBytesBulk(&bulk, run, sizeof run), sOKAY) << i;
        }
    }
    ASSERT_EQ(one.len, kSize);
    ASSERT_EQ(bulk.len, kSize);
    EXPECT_EQ(std::memcmp(one.data.bin, bulk.data.bin, kSize), 0);
    for (size_t i = 0; i < kSize; i += 4093) EXPECT_EQ(one.data.bin[i], uint8_t(i * 7)) << i;
    b_bufferTerm(&one);
    b_bufferTerm(&bulk);
}

}  // namespace
