// Stored-object wrapping: the bytes of the header, body and padding for each
// method and item format, the threshold, unwrapping with and without a
// cipher (and of a borrowed buffer, whose caller's bytes stay), every error
// path with dst's pos at 0, 1 MiB both ways, and both functions under the
// out-of-memory helper.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "buffer.h"
#include "dbobj.h"
#include "lzma.h"
#include "lzma_corpus.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

using lzma_corpus::Bytes;

std::string hex(const uint8_t *p, size_t n) {
    std::string s;
    char two[3];
    for (size_t i = 0; i < n; i++) {
        std::snprintf(two, sizeof two, "%02x", p[i]);
        s += two;
    }
    return s;
}

// XOR with one key byte: its own inverse, so it also enciphers.
ZEL_RETCODE xorFcn(void *data, uint8_t *bytes, size_t length) {
    for (size_t i = 0; i < length; i++) bytes[i] ^= *static_cast<uint8_t *>(data);
    return sOKAY;
}

ZEL_RETCODE refuseFcn(void *, uint8_t *, size_t) {
    return eBADREAD;
}

class DbobjTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(b_tag_subAlloc(sub, sizeof(B_LZMA_T), &z), sOKAY);
        ASSERT_EQ(b_lzmaInit(z, sub), sOKAY);
    }
    void TearDown() override {
        b_lzmaTerm(z);
        b_tag_subFree(sub, z);
        TaggedTest::TearDown();
    }
    // The stored object of `in`, or an empty list after a failure.
    Bytes wrap(const Bytes &in, ZEL_COMPRESS_METHOD method, uint32_t threshold,
               ZEL_ITEM_FORMAT format = ZEL_ITEM_FORMAT_COMPACT) {
        B_BUFFER_T src, dst;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
        b_bufferInit(&dst, sub);
        Bytes out;
        if (dbobj_compress(z, method, threshold, format, &src, &dst) == sOKAY)
            out.assign(dst.data.bin, dst.data.bin + dst.len);
        b_bufferTerm(&dst);
        return out;
    }
    // Unwraps `stored`, borrowed by a buffer of the tag, into a dst holding
    // old bytes, whose pos must end at 0; `check` sees dst before it is given
    // back.
    template <class Check>
    ZEL_RETCODE unwrap(Bytes &stored, ZEL_ENCRYPT_C cipher, ZEL_ITEM_FORMAT *fmt,
                       B_LZMA_T *compressor, Check &&check) {
        B_BUFFER_T buf, dst;
        b_bufferInit(&buf, sub);
        b_bufferSetStatic(&buf, stored.data(), stored.size());
        b_bufferInit(&dst, sub);
        ZEL_RETCODE rc = b_bufferEmitString(&dst, "old bytes");  // fails only under faults
        if (rc == sOKAY) {
            rc = dbobj_convert_in(&dst, &buf, cipher, fmt, compressor);
            EXPECT_EQ(dst.pos, 0u);
            check(dst, buf);
        }
        b_bufferTerm(&dst);
        b_bufferTerm(&buf);
        return rc;
    }
    B_LZMA_T *z = nullptr;
};

// Header 0x11 (plain 1 | compact 16), the byte, 14 zeros to 16. An empty
// object at threshold 0 is compressed: 0x12, the LZMA stream of nothing (size
// 0 and five flush bytes), 9 zeros. Expanded objects take 0x21 and 0x22.
TEST_F(DbobjTest, StoredBytes) {
    EXPECT_EQ(hex(wrap({0}, ZEL_COMPRESS_LZMA, 2).data(), 16), "11" + std::string(30, '0'));
    const Bytes empty = wrap({}, ZEL_COMPRESS_LZMA, 0);
    EXPECT_EQ(hex(empty.data(), empty.size()), "12" + std::string(30, '0'));
    EXPECT_EQ(wrap({7}, ZEL_COMPRESS_NONE, 0, ZEL_ITEM_FORMAT_EXPANDED)[0], OBJ_EXPANDED_NONE);
    EXPECT_EQ(wrap({7}, ZEL_COMPRESS_LZMA, 1, ZEL_ITEM_FORMAT_EXPANDED)[0], OBJ_EXPANDED_LZMA);
    // The LZMA body is the coder's stream: "aaaaaaaaaa" is 0a 00 30 eb 7c 00 00.
    const Bytes run = wrap(Bytes(10, 'a'), ZEL_COMPRESS_LZMA, 10);
    EXPECT_EQ(hex(run.data(), run.size()), "120a0030eb7c0000" + std::string(16, '0'));
}

// One byte under the threshold stays plain; at it, it is compressed. Every
// stored size is a multiple of 16.
TEST_F(DbobjTest, ThresholdAndPadding) {
    for (size_t n : {0, 1, 14, 15, 16, 31, 100, 4095}) {
        const Bytes in = lzma_corpus::object(3, n, n);
        const Bytes under = wrap(in, ZEL_COMPRESS_LZMA, static_cast<uint32_t>(n + 1));
        const Bytes at = wrap(in, ZEL_COMPRESS_LZMA, static_cast<uint32_t>(n));
        EXPECT_EQ(under[0], OBJ_COMPACT_NONE) << n;
        EXPECT_EQ(at[0], OBJ_COMPACT_LZMA) << n;
        EXPECT_EQ(at.size() % 16, 0u);
        EXPECT_EQ(under.size(), (n + 1 + 15) / 16 * 16);
        EXPECT_TRUE(std::equal(in.begin(), in.end(), under.begin() + 1));
    }
}

// Both methods and formats come back; a plain object keeps its padding, and
// from a borrowed buffer dst is a view of the same bytes.
TEST_F(DbobjTest, UnwrapsWhatItWrapped) {
    const Bytes in = lzma_corpus::object(0, 4, 1000);
    for (ZEL_COMPRESS_METHOD m : {ZEL_COMPRESS_NONE, ZEL_COMPRESS_LZMA}) {
        for (ZEL_ITEM_FORMAT f : {ZEL_ITEM_FORMAT_COMPACT, ZEL_ITEM_FORMAT_EXPANDED}) {
            Bytes stored = wrap(in, m, 0, f);
            ZEL_ITEM_FORMAT got = ZEL_ITEM_FORMAT_COMPACT;
            const bool plain = m == ZEL_COMPRESS_NONE;
            EXPECT_EQ(unwrap(stored, nullptr, &got, z,
                             [&](const B_BUFFER_T &dst, const B_BUFFER_T &) {
                                 EXPECT_EQ(dst.len, plain ? stored.size() - 1 : in.size());
                                 EXPECT_TRUE(std::equal(in.begin(), in.end(), dst.data.bin));
                                 EXPECT_TRUE(!plain || dst.data.bin == stored.data() + 1);
                             }),
                      sOKAY);
            EXPECT_EQ(got, f);
        }
    }
    // An empty buffer: nothing read, the format untouched.
    Bytes none;
    auto fmt = static_cast<ZEL_ITEM_FORMAT>(99);
    EXPECT_EQ(unwrap(none, nullptr, &fmt, nullptr, [](auto &, auto &) {}), sOKAY);
    EXPECT_EQ(fmt, 99);
}

// A cipher deciphers the whole buffer, header included. A borrowed buffer
// gets memory of its own first: the caller's bytes stay enciphered. Past the
// page runs too.
TEST_F(DbobjTest, DeciphersBeforeReading) {
    uint8_t key = 0x5C;
    const ZEL_ENCRYPT_T xorCipher = {&key, xorFcn};
    for (size_t size : {777, 1 << 20}) {
        const Bytes in = lzma_corpus::object(1, 8, size);
        for (ZEL_COMPRESS_METHOD m : {ZEL_COMPRESS_NONE, ZEL_COMPRESS_LZMA}) {
            Bytes stored = wrap(in, m, 0);
            ASSERT_EQ(xorFcn(&key, stored.data(), stored.size()), sOKAY);
            const Bytes enciphered = stored;
            ZEL_ITEM_FORMAT fmt = ZEL_ITEM_FORMAT_EXPANDED;
            EXPECT_EQ(unwrap(stored, &xorCipher, &fmt, z,
                             [&](const B_BUFFER_T &dst, const B_BUFFER_T &buf) {
                                 ASSERT_GE(dst.len, in.size());
                                 EXPECT_TRUE(std::equal(in.begin(), in.end(), dst.data.bin));
                                 EXPECT_NE(buf.size, 0u);
                             }),
                      sOKAY);
            EXPECT_EQ(fmt, ZEL_ITEM_FORMAT_COMPACT);
            EXPECT_TRUE(stored == enciphered) << "the caller's bytes were written";
        }
    }
}

// Every failure, with dst's pos back at 0.
TEST_F(DbobjTest, Failures) {
    B_BUFFER_T src, dst;
    uint8_t one = 1;
    b_bufferInitStatic(&src, &one, 1, 1);
    b_bufferInit(&dst, sub);
    EXPECT_EQ(dbobj_compress(nullptr, ZEL_COMPRESS_LZMA, 0, ZEL_ITEM_FORMAT_COMPACT, &src, &dst),
              eNOTIMPLEMENTED);
    EXPECT_EQ(dst.len, 1u);  // the header stands
    b_bufferReset(&dst);
    EXPECT_EQ(dbobj_compress(z, static_cast<ZEL_COMPRESS_METHOD>(3), 0, ZEL_ITEM_FORMAT_COMPACT,
                             &src, &dst),
              eSYS_ERROR);
    EXPECT_EQ(dbobj_compress(z, ZEL_COMPRESS_NONE, 0, ZEL_ITEM_FORMAT_COMPACT, nullptr, &dst),
              eINVNULLARG);
    b_bufferTerm(&dst);

    uint8_t key = 1;
    const ZEL_ENCRYPT_T refusing = {&key, refuseFcn};
    const ZEL_ENCRYPT_T noFcn = {&key, nullptr};
    const Bytes lzmaObj = wrap({1, 2, 3}, ZEL_COMPRESS_LZMA, 0);
    const struct {
        Bytes stored;
        ZEL_ENCRYPT_C cipher;
        bool compressor;
        ZEL_RETCODE rc;
    } cases[] = {
        {{0x13, 0}, nullptr, true, eSYS_ERROR},                   // method 3
        {{0x10, 0}, nullptr, true, eSYS_ERROR},                   // method 0
        {{0xFB}, nullptr, true, eINVVARINT},                      // no varint starts so
        {{0x80}, nullptr, true, eEOD},                            // a 2-byte varint cut
        {{0xE8, 0xF7, 0xDF, 0xBF, 0x80}, nullptr, true, eRANGE},  // 2^32
        {lzmaObj, nullptr, false, eNOTIMPLEMENTED},
        {{0x12, 0xE8, 0xF7, 0xDF, 0xBF, 0x80, 0, 0, 0, 0, 0}, nullptr, true, eDBCORRUPTED},
        {{0x11, 0}, &refusing, true, eBADREAD},
        {{0x11, 0}, &noFcn, true, eINVNULLARG},
        // A stream holding a short repeat stops the decoder with 2, passed on.
        {{0x12, 0x05, 0x00, 0x30, 0xdf, 0xfc, 0x00, 0x00}, nullptr, true, ZEL_RETCODE(2)},
    };
    for (const auto &c : cases) {
        Bytes stored = c.stored;
        auto fmt = static_cast<ZEL_ITEM_FORMAT>(99);
        std::string got;
        EXPECT_EQ(unwrap(stored, c.cipher, &fmt, c.compressor ? z : nullptr,
                         [&](const B_BUFFER_T &d, auto &) { got = hex(d.data.bin, d.len); }),
                  c.rc)
            << hex(stored.data(), stored.size());
        EXPECT_TRUE(c.rc == 2 ? got == "61" : fmt == 99) << got;  // "a" came before the repeat
    }
}

TEST_F(DbobjTest, OutOfMemory) {
    const Bytes in = lzma_corpus::object(4, 3, 3000);
    B_BUFFER_T src;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
    uint8_t key = 3;
    const ZEL_ENCRYPT_T xorCipher = {&key, xorFcn};
    for (ZEL_COMPRESS_METHOD m : {ZEL_COMPRESS_NONE, ZEL_COMPRESS_LZMA}) {
        const Bytes want = wrap(in, m, 0);
        EXPECT_GT(oom_check(master, {sub},
                            [&] {
                                B_BUFFER_T dst;
                                b_bufferInit(&dst, sub);
                                const ZEL_RETCODE rc =
                                    dbobj_compress(z, m, 0, ZEL_ITEM_FORMAT_COMPACT, &src, &dst);
                                EXPECT_TRUE(rc != sOKAY ||
                                            Bytes(dst.data.bin, dst.data.bin + dst.len) == want);
                                b_bufferTerm(&dst);
                                return rc;
                            }),
                  0);
        Bytes enciphered = want;
        ASSERT_EQ(xorFcn(&key, enciphered.data(), enciphered.size()), sOKAY);
        EXPECT_GT(oom_check(master, {sub},
                            [&] {
                                ZEL_ITEM_FORMAT fmt = ZEL_ITEM_FORMAT_EXPANDED;
                                bool same = false;
                                const ZEL_RETCODE rc =
                                    unwrap(enciphered, &xorCipher, &fmt, z, [&](auto &dst, auto &) {
                                        same = dst.len >= in.size() &&
                                               std::equal(in.begin(), in.end(), dst.data.bin);
                                    });
                                EXPECT_EQ(fmt, rc == sOKAY ? ZEL_ITEM_FORMAT_COMPACT
                                                           : ZEL_ITEM_FORMAT_EXPANDED);
                                EXPECT_TRUE(rc != sOKAY || same);
                                return rc;
                            }),
                  0);
    }
}

}  // namespace
