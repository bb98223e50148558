// LZMA coder: the stored bytes of every stream the Python model wrote (the
// model's published mode is checked against liblzma by lzma_model_check),
// the decoder on forged, cut and offset streams, round trips over generated
// objects and random mixes, one context reused, refusals, and every
// allocating call under the out-of-memory helper.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "buffer.h"
#include "file_fixture.h"
#include "lzma.h"
#include "lzma_corpus.h"
#include "oom.h"
#include "sha256.h"
#include "tag_fixture.h"
#include "tag_sub.h"
#include "vectors.h"

namespace {

using lzma_corpus::Bytes;

Bytes from_hex(const std::string &hex) {
    const std::string s = vectors_unhex(hex);
    return Bytes(s.begin(), s.end());
}

std::string to_hex(const Bytes &b) {
    return fixture_toHex(std::string(b.begin(), b.end()));
}

// The input a vector names; its SHA-256 is checked where the line gives one.
Bytes vector_input(const std::string &spec) {
    const size_t eq = spec.find('=');
    const std::string kind = spec.substr(0, eq);
    const auto f = vectors_split(spec.substr(eq + 1), '/');
    if (kind == "hex") return from_hex(spec.substr(eq + 1));
    Bytes data;
    if (kind == "gen") {
        data = lzma_corpus::object(lzma_corpus::family_index(f[0]), std::stoull(f[1]),
                                   std::stoull(f[2]));
    } else if (kind == "random") {
        data = lzma_corpus::random_bytes(std::stoull(f[0]), std::stoull(f[1]));
    } else {  // window=<size>: a random block and its first 64 bytes again
        const size_t cut = std::stoull(f[0]) - 64;
        data = lzma_corpus::random_bytes(11, 16385);
        data.resize(cut);
        data.insert(data.end(), data.begin(), data.begin() + 64);
    }
    EXPECT_EQ(sha256_hex(data), f.back()) << "generator differs from the model's: " << spec;
    return data;
}

std::string digest_of(const Bytes &out, const std::string &want) {
    if (want.rfind("hex=", 0) == 0) return "hex=" + to_hex(out);
    return "sha256=" + sha256_hex(out) + "/" + std::to_string(out.size());
}

// A context on the fixture's tag, allocated from it as a user would.
class LzmaTest : public TaggedTest {
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
    Bytes compress(const Bytes &in, B_LZMA_T *ctx = nullptr) {
        B_BUFFER_T src, dst;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
        b_bufferInit(&dst, sub);
        EXPECT_EQ(b_lzmaCompress(ctx != nullptr ? ctx : z, &src, &dst), sOKAY);
        Bytes out(dst.data.bin, dst.data.bin + dst.len);
        b_bufferTerm(&dst);
        return out;
    }
    // The code and what dst holds (len as it stands after the call).
    ZEL_RETCODE decompress(const Bytes &in, Bytes *out, size_t pos = 0) {
        B_BUFFER_T src, dst;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
        src.pos = pos;
        b_bufferInit(&dst, sub);
        const ZEL_RETCODE rc = b_lzmaDecompress(z, &src, &dst);
        EXPECT_EQ(src.pos, pos) << "the source was moved";
        out->assign(dst.data.bin, dst.data.bin + dst.len);
        b_bufferTerm(&dst);
        return rc;
    }
    B_LZMA_T *z = nullptr;
};

std::vector<LZMA_PACKET> trace(B_LZMA_T *z, B_TAG_SUB sub, const Bytes &in) {
    std::vector<LZMA_PACKET> packets;
    B_BUFFER_T src, dst;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
    b_bufferInit(&dst, sub);
    auto add = [](void *ctx, const LZMA_PACKET *p) {
        static_cast<std::vector<LZMA_PACKET> *>(ctx)->push_back(*p);
    };
    EXPECT_EQ(b_lzmaTrace(z, &src, &dst, add, &packets), sOKAY);
    b_bufferTerm(&dst);
    return packets;
}

// Each line of lzma_vectors.txt (see lzma_model.py): name, input, output.
// Inputs are compressed to the model's bytes and back; "decode-" lines are
// forged streams, decoded as the model says.
TEST_F(LzmaTest, StreamsAreTheModels) {
    int stored = 0, forged = 0;
    for (const VectorRow &v : vectors_read("lzma_vectors.txt", '\t')) {
        ASSERT_EQ(v.size(), 3u);
        const std::string &name = v[0], &input = v[1], &output = v[2];
        Bytes out, back;
        if (name.rfind("decode-", 0) == 0) {
            const ZEL_RETCODE rc = decompress(from_hex(input.substr(4)), &out);
            const bool two = output.rfind("status2=", 0) == 0;
            EXPECT_EQ(rc, output == "corrupt" ? eDBCORRUPTED
                          : two               ? static_cast<ZEL_RETCODE>(2)
                                              : sOKAY)
                << name;
            if (output != "corrupt") {
                EXPECT_EQ(to_hex(out), output.substr(two ? 8 : 3)) << name;
            }
            forged++;
            continue;
        }
        const Bytes in = vector_input(input);
        out = compress(in);
        EXPECT_EQ(digest_of(out, output), output) << name;
        EXPECT_EQ(decompress(out, &back), sOKAY) << name;
        EXPECT_TRUE(back == in) << name;
        stored++;
    }
    EXPECT_GE(stored, 18);
    EXPECT_EQ(forged, 7);
}

// Empty input: the size 0 (one varint byte), then the coder's flush: five
// shifts of low = 0 each send the held-back cache byte 0.
TEST_F(LzmaTest, EmptyIsTheSizeAndFiveFlushBytes) {
    EXPECT_EQ(to_hex(compress({})), "000000000000");
}

TEST_F(LzmaTest, BadLengthsAreRefused) {
    Bytes too_big = {0xE8, 0xF7, 0xDF, 0xBF, 0x80, 0, 0, 0, 0, 0};  // 0x100000000
    const struct {
        Bytes in;
        ZEL_RETCODE rc;
    } cases[] = {
        {{}, eEOD}, {{0xFB, 0, 0, 0, 0, 0}, eINVVARINT}, {{0x80}, eEOD}, {too_big, eDBCORRUPTED}};
    for (const auto &c : cases) {
        B_BUFFER_T src, dst;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(c.in.data()), c.in.size(), c.in.size());
        b_bufferInit(&dst, sub);
        dst.len = 0;
        EXPECT_EQ(b_lzmaDecompress(z, &src, &dst), c.rc) << to_hex(c.in);
        EXPECT_EQ(dst.len, 0u);
        b_bufferTerm(&dst);
    }
}

// A forged length of 4 GiB - 1 over 40 coder bytes reserves what 40 bytes can
// decode to, not 4 GiB, and yields what they hold.
TEST_F(LzmaTest, ForgedLengthReservesWhatTheStreamCanFill) {
    Bytes in = {0xE8, 0xF7, 0xDF, 0xBF, 0x7F};  // 0xFFFFFFFF
    in.resize(45, 0);
    B_BUFFER_T src, dst;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
    b_bufferInit(&dst, sub);
    EXPECT_EQ(b_lzmaDecompress(z, &src, &dst), sOKAY);
    EXPECT_GT(dst.len, 0u);
    EXPECT_LE(dst.size, 12600u * 40 + 24576 + 512);
    b_bufferTerm(&dst);
}

TEST_F(LzmaTest, CutStreamsGiveAPrefix) {
    for (const Bytes &in : {Bytes(vector_input("hex=68656c6c6f20776f726c642c2068656c6c6f21")),
                            lzma_corpus::object(2, 3, 700)}) {
        const Bytes whole = compress(in);
        for (size_t cut = in.size() < 128 ? 1 : 2; cut < whole.size(); cut++) {  // past the size
            Bytes out;
            ASSERT_EQ(decompress(Bytes(whole.begin(), whole.begin() + cut), &out), sOKAY);
            EXPECT_TRUE(std::equal(out.begin(), out.end(), in.begin())) << cut;
            EXPECT_LT(out.size(), in.size());
        }
    }
}

// The trace hands out the chooser's packets (the stored-bytes vectors hold
// its choices): a literal, then a long repeat of rep0 = 0 (distance 1) over
// the rest; 600 bytes of one value, no packet over 273.
TEST_F(LzmaTest, TraceGivesThePackets) {
    auto p = trace(z, sub, Bytes(10, 'a'));
    ASSERT_EQ(p.size(), 2u);
    EXPECT_EQ(p[0].type, LZMA_LIT_PACKET);
    EXPECT_EQ(p[1].type, LZMA_LONGREP_PACKET);
    EXPECT_EQ(p[1].pos, 0u);
    EXPECT_EQ(p[1].len, 9u);
    p = trace(z, sub, Bytes(600, 'z'));
    for (const auto &q : p) EXPECT_LE(q.len, 273u);
    EXPECT_EQ(p[1].len, 273u);
}

// Objects of every family and size, mixes of them and noise: each comes back,
// and one context gives the bytes of a fresh one (nothing leaks between).
TEST_F(LzmaTest, RoundTripsAndContextReuse) {
    std::mt19937_64 rng(20260523);
    B_LZMA_T *fresh = nullptr;
    ASSERT_EQ(b_tag_subAlloc(sub, sizeof(B_LZMA_T), &fresh), sOKAY);
    for (int i = 0; i < 120; i++) {
        Bytes in;
        const int parts = 1 + static_cast<int>(rng() % 3);
        for (int k = 0; k < parts; k++) {
            const size_t size = rng() % 3 == 0 ? rng() % 40 : rng() % 9000;
            const Bytes piece = rng() % 5 == 0 ? lzma_corpus::random_bytes(rng(), size)
                                               : lzma_corpus::object(static_cast<int>(rng() % 5),
                                                                     rng() % 1000, size);
            in.insert(in.end(), piece.begin(), piece.end());
        }
        const Bytes out = compress(in);
        Bytes back;
        ASSERT_EQ(decompress(out, &back), sOKAY) << i;
        ASSERT_TRUE(back == in) << i;
        if (i % 10 == 0) {
            ASSERT_EQ(b_lzmaInit(fresh, sub), sOKAY);
            EXPECT_TRUE(compress(in, fresh) == out) << i;
            b_lzmaTerm(fresh);
        }
    }
    b_tag_subFree(sub, fresh);
}

// Past the page runs (626,688 bytes) both ways, also into buffers that hold
// bytes already and so must move to fresh memory as they grow; the stream
// is decoded from its position in the source.
TEST_F(LzmaTest, OneMebibyteBothWays) {
    for (const Bytes &in :
         {lzma_corpus::object(3, 5, 1 << 20), lzma_corpus::random_bytes(5, 1 << 20)}) {
        B_BUFFER_T src, packed, back;
        b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
        b_bufferInit(&packed, sub);
        ASSERT_EQ(b_bufferEmitString(&packed, "head"), sOKAY);
        ASSERT_EQ(b_lzmaCompress(z, &src, &packed), sOKAY);
        packed.pos = 4;
        b_bufferInit(&back, sub);
        ASSERT_EQ(b_bufferIncreaseSize(&back, 600000), sOKAY);
        ASSERT_EQ(b_lzmaDecompress(z, &packed, &back), sOKAY);
        EXPECT_TRUE(back.len == in.size() && std::equal(in.begin(), in.end(), back.data.bin));
        b_bufferTerm(&packed);
        b_bufferTerm(&back);
    }
}

TEST_F(LzmaTest, Refusals) {
    uint8_t byte = 0;
    B_BUFFER_T huge, dst;
    b_bufferInitStatic(&huge, &byte, 1, 1);
    huge.len = size_t{1} << 32;  // only the length is looked at
    b_bufferInit(&dst, sub);
    EXPECT_EQ(b_lzmaCompress(z, &huge, &dst), eRANGE);
    EXPECT_EQ(b_lzmaDecompress(z, &huge, &dst), eRANGE);
    EXPECT_EQ(b_lzmaCompress(nullptr, &huge, &dst), eINVNULLARG);
    EXPECT_EQ(b_lzmaDecompress(z, nullptr, &dst), eINVNULLARG);
    EXPECT_EQ(b_lzmaInit(nullptr, sub), eINVNULLARG);
    B_LZMA_T *cleared = nullptr;
    ASSERT_EQ(b_tag_subAllocClear(sub, sizeof(B_LZMA_T), &cleared), sOKAY);
    EXPECT_EQ(b_lzmaCompress(cleared, &huge, &dst), eINVFCNSEQ);
    b_lzmaTerm(cleared);  // a cleared context is left alone
    b_tag_subFree(sub, cleared);
    // A static destination too small: eTRUNCATED and its len as it was.
    const Bytes in = lzma_corpus::random_bytes(1, 300);
    uint8_t room[64] = {1, 2, 3};
    B_BUFFER_T src, small;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
    b_bufferInitStatic(&small, room, sizeof room, 3);
    EXPECT_EQ(b_lzmaCompress(z, &src, &small), eTRUNCATED);
    EXPECT_EQ(small.len, 3u);
    const Bytes packed = compress(in);
    b_bufferInitStatic(&src, const_cast<uint8_t *>(packed.data()), packed.size(), packed.size());
    small.len = 3;
    EXPECT_EQ(b_lzmaDecompress(z, &src, &small), eTRUNCATED);
    EXPECT_EQ(small.len, 3u);
    b_bufferTerm(&dst);
}

TEST_F(LzmaTest, OutOfMemory) {
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            B_LZMA_T *ctx = nullptr;
                            ZEL_RETCODE rc = b_tag_subAlloc(sub, sizeof(B_LZMA_T), &ctx);
                            if (rc != sOKAY) return rc;
                            rc = b_lzmaInit(ctx, sub);
                            if (rc == sOKAY) {
                                EXPECT_NE(ctx->probs.lit, nullptr);
                                b_lzmaTerm(ctx);
                            } else {
                                EXPECT_EQ(ctx->probs.lit, nullptr)
                                    << "a failed init leaves the context cleared";
                            }
                            b_tag_subFree(sub, ctx);
                            return rc;
                        }),
              0);
    const Bytes in = lzma_corpus::object(0, 2, 5000);
    const Bytes packed = compress(in);
    B_BUFFER_T src;
    b_bufferInitStatic(&src, const_cast<uint8_t *>(in.data()), in.size(), in.size());
    EXPECT_GT(
        oom_check(master, {sub},
                  [&] {
                      B_BUFFER_T dst;
                      b_bufferInit(&dst, sub);
                      ZEL_RETCODE rc = b_bufferEmitString(&dst, "ab");
                      if (rc == sOKAY) rc = b_lzmaCompress(z, &src, &dst);
                      if (rc == sOKAY) {
                          EXPECT_TRUE(Bytes(dst.data.bin + 2, dst.data.bin + dst.len) == packed);
                      } else {
                          EXPECT_EQ(dst.len, dst.data.ptr == nullptr ? 0u : 2u);
                      }
                      b_bufferTerm(&dst);
                      return rc;
                  }),
        0);
    B_BUFFER_T psrc;
    b_bufferInitStatic(&psrc, const_cast<uint8_t *>(packed.data()), packed.size(), packed.size());
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            B_BUFFER_T dst;
                            b_bufferInit(&dst, sub);
                            const ZEL_RETCODE rc = b_lzmaDecompress(z, &psrc, &dst);
                            if (rc == sOKAY) {
                                EXPECT_TRUE(Bytes(dst.data.bin, dst.data.bin + dst.len) == in);
                            } else {
                                EXPECT_EQ(dst.len, 0u);
                            }
                            b_bufferTerm(&dst);
                            return rc;
                        }),
              0);
}

}  // namespace
