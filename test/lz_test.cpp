// LZ coder: the streams the Python model wrote (lzw_model.py, checked by
// lzw_model_check), the shape of a stream across six widenings and a flush,
// chunks split anywhere, damaged streams, the receiver's failures, refusals,
// and the allocating calls under the out-of-memory helper.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "lz.h"
#include "oom.h"
#include "sha256.h"
#include "tag_fixture.h"
#include "vectors.h"

namespace {

using Bytes = std::string;

// The inputs of lzw_model.py's gen_input, byte for byte.
Bytes gen_input(const std::string &spec) {
    const std::string family = spec.substr(0, spec.find('=')),
                      args = spec.substr(spec.find('=') + 1);
    if (family == "hex") return vectors_unhex(args);
    uint64_t state = std::stoull(args);
    const size_t size = std::stoull(args.substr(args.find('/') + 1));
    if (family == "run") return Bytes(size, static_cast<char>(state));
    auto next = [&state] { return state = state * 6364136223846793005u + 1442695040888963407u; };
    static const char *const words[32] = {
        "the",   "of",   "and",  "to",    "in",    "is",     "that", "for",
        "it",    "as",   "with", "was",   "on",    "be",     "by",   "at",
        "this",  "from", "or",   "which", "table", "index",  "row",  "column",
        "value", "page", "key",  "node",  "store", "commit", "read", "write"};
    Bytes out;
    for (int n = 1; out.size() < size; ++n) {
        if (family == "random")
            out += static_cast<char>(next() >> 56);
        else
            out += std::string(words[next() >> 59]) + (n % 12 ? " " : "\n");
    }
    return out.substr(0, size);
}

// The codes of a stream and their widths, as a decoder reads them.
std::vector<std::pair<uint32_t, uint32_t>> codes_of(const Bytes &stream) {
    std::vector<std::pair<uint32_t, uint32_t>> codes;
    uint32_t width = B_LZ_MIN_BITS, acc = 0, have = 0;
    for (unsigned char c : stream) {
        acc = (acc << 8 | c) & 0xFFFFFF;
        for (have += 8; have >= width; width = codes.back().first == B_LZ_FLUSH_CODE ? 9 : width) {
            codes.emplace_back((acc >> (have -= width)) & ((1u << width) - 1), width);
            width += codes.back().first == B_LZ_BUMP_CODE;
        }
    }
    return codes;
}

// Codes at the widths a decoder reads them (a 256 widens up to 15 bits, a
// 257 goes back to 9), most significant bit first: forged streams.
Bytes pack(const std::vector<uint32_t> &codes) {
    Bytes out;
    uint64_t acc = 0;
    uint32_t have = 0, width = B_LZ_MIN_BITS;
    for (uint32_t c : codes) {
        for (acc = acc << width | c, have += width; have >= 8; acc &= (1u << have) - 1)
            out += static_cast<char>(acc >> (have -= 8));
        if (c == B_LZ_BUMP_CODE && width < B_LZ_MAX_BITS) width++;
        if (c == B_LZ_FLUSH_CODE) width = B_LZ_MIN_BITS;
    }
    return have ? out + static_cast<char>(acc << (8 - have)) : out;
}

// 65, 300 (entry 258; string_code 300), 259 (entry 259 = 300 + a byte), 65
// until next_code is 299, 259 (entry 299), 65 (entry 300 = 259 + 'A'): now
// 300 -> 259 -> 300 -> ... never reaches a byte.
Bytes loop_stream() {
    std::vector<uint32_t> codes = {65, 300, 259};
    codes.insert(codes.end(), 39, 65);
    for (uint32_t c : {259, 65, 300}) codes.push_back(c);
    return pack(codes);
}

// A receiver that keeps the bytes and fails at byte `fail_at` (from 1), or at
// LZBEGIN / LZEND when asked.
struct Sink {
    Bytes bytes;
    int ends = 0;
    size_t fail_at = 0;
    bool fail_begin = false, fail_end = false;
    static ZEL_RETCODE put(void *user, LZOPERATION op, uint8_t byte) {
        auto *s = static_cast<Sink *>(user);
        if (op != LZBYTE)
            return (op == LZEND && ++s->ends && s->fail_end) || (op == LZBEGIN && s->fail_begin)
                       ? eFAIL
                       : sOKAY;
        if (s->bytes.size() + 1 == s->fail_at) return eFILEIO;
        s->bytes += static_cast<char>(byte);
        return sOKAY;
    }
};

class LzTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        // Cleared: a test that never starts a stream still terms it.
        ASSERT_EQ(b_tag_subAllocClear(sub, sizeof *ctx, &ctx), sOKAY);
    }
    void TearDown() override {
        b_lzTerm(ctx);
        b_tag_subFree(sub, ctx);
        TaggedTest::TearDown();
    }
    // One stream through the chunk calls, cut at the (rising) offsets `cuts`.
    ZEL_RETCODE chunked(bool compress, const Bytes &in, std::vector<size_t> cuts, Bytes *out) {
        Sink sink;
        ZEL_RETCODE rc = b_lzInit(ctx, &sink, Sink::put, sub);
        cuts.push_back(in.size());
        for (size_t i = 0, at = 0; rc == sOKAY && i < cuts.size(); at = cuts[i++]) {
            rc = (compress ? b_lzCompressChunk : b_lzDecompressChunk)(ctx, in.data() + at,
                                                                      uint32_t(cuts[i] - at));
        }
        rc = rc == sOKAY ? b_lzFinish(ctx) : rc;
        *out = sink.bytes;
        return rc;
    }
    ZEL_RETCODE wrap(bool compress, const Bytes &in, Bytes *out) {
        void *buf = nullptr;
        uint32_t len = 7;
        const ZEL_RETCODE rc = (compress ? b_lzCompress : b_lzDecompress)(
            in.data(), uint32_t(in.size()), sub, &buf, &len);
        if (rc == sOKAY) out->assign(static_cast<const char *>(buf), len);
        EXPECT_EQ(buf == nullptr, rc != sOKAY || len == 0);
        b_tag_subFreeCanBeNull(sub, buf);
        return rc;
    }
    Bytes packed(const Bytes &in) {
        Bytes out;
        EXPECT_EQ(wrap(true, in, &out), sOKAY);
        return out;
    }
    B_LZ_T *ctx = nullptr;
};

// Among them, worked by hand: "A" is 0x41 in 9 bits then 7 zero bits, 20 80;
// "aaaa" is 'a' 258 'a' (001100001 100000010 001100001), 30 c0 8c 20, whose
// 258 meets the decoder at next_code; "" is no bytes at all.
TEST_F(LzTest, StreamsAreTheModels) {
    const auto rows = vectors_read("lzw_vectors.txt", '\t');
    ASSERT_EQ(rows.size(), 9u);
    for (const auto &row : rows) {
        const Bytes in = gen_input(row[1]), out = packed(in);
        const auto *p = reinterpret_cast<const uint8_t *>(out.data());
        if (row[2].rfind("hex=", 0) == 0) {
            EXPECT_TRUE(out == vectors_unhex(row[2].substr(4))) << row[0];
        } else {
            EXPECT_EQ("sha256=" + sha256_hex(p, out.size()) + "/" + std::to_string(out.size()),
                      row[2])
                << row[0];
        }
        Bytes back;
        EXPECT_EQ(wrap(false, out, &back), sOKAY);
        EXPECT_TRUE(back == in) << row[0];
    }
}

// Random bytes make new strings fast: widths 9 to 15 are announced by six 256
// codes, each at the width before it; the 32510th new string (next_code
// 32768) is followed by 257 at 15 bits, then codes of 9 bits. The input cut
// before the byte that makes that string has no flush.
TEST_F(LzTest, WidensSixTimesThenFlushesAtFifteenBits) {
    const Bytes in = gen_input("random=1/120000"), stream = packed(in);
    const auto codes = codes_of(stream);
    size_t flush = 0, strings = 0, bits = 0;
    std::vector<uint32_t> bumps;
    for (; codes.at(flush).first != B_LZ_FLUSH_CODE; bits += codes[flush++].second) {
        if (codes[flush].first == B_LZ_BUMP_CODE)
            bumps.push_back(codes[flush].second);
        else
            ++strings;
    }
    EXPECT_EQ(bumps, (std::vector<uint32_t>{9, 10, 11, 12, 13, 14}));
    EXPECT_EQ(codes[flush].second, 15u);
    EXPECT_EQ(codes.at(flush + 1).second, 9u);
    EXPECT_EQ(strings, 32510u);
    // The bytes the codes before the flush spell (the flush's bits never make
    // a whole code).
    Bytes spelled;
    ASSERT_EQ(chunked(false, stream.substr(0, (bits + 7) / 8), {}, &spelled), sOKAY);
    auto flushes = [&](size_t n) {
        size_t f = 0;
        for (const auto &c : codes_of(packed(in.substr(0, n)))) f += c.first == B_LZ_FLUSH_CODE;
        return f;
    };
    EXPECT_EQ(flushes(spelled.size()), 0u);
    EXPECT_EQ(flushes(spelled.size() + 1), 1u);
}

TEST_F(LzTest, ChunksSplitAnywhereGiveOneStream) {
    const Bytes text = gen_input("text=3/20000"), whole = packed(text);
    std::mt19937 rng(5);
    for (int round = 0; round < 20; ++round) {
        std::vector<size_t> cuts, bytecuts;
        for (size_t at = 0; at < text.size(); at += rng() % 700) cuts.push_back(at);
        for (size_t at = 0; at < whole.size(); at += 1 + rng() % 4) bytecuts.push_back(at);
        Bytes out, back;
        ASSERT_EQ(chunked(true, text, cuts, &out), sOKAY);
        EXPECT_TRUE(out == whole);
        ASSERT_EQ(chunked(false, whole, bytecuts, &back), sOKAY);  // codes straddle pieces
        EXPECT_TRUE(back == text);
    }
    const Bytes tobe = vectors_unhex("2a13c8445279489c4f2a40a090685c160f09");
    for (size_t cut = 0; cut <= tobe.size(); ++cut) {
        Bytes back;
        ASSERT_EQ(chunked(false, tobe, {cut}, &back), sOKAY);
        EXPECT_EQ(back, "TOBEORNOTTOBEORTOBEORNOT") << cut;
    }
}

// Damaged streams decode to whatever the table holds and never read past it:
// a code above next_code reads as the string being entered, a first code
// above 255 as its low byte, a 256 past 15 bits widens no further, and a loop
// in the table ends with eDBCORRUPTED.
TEST_F(LzTest, DamagedStreams) {
    const struct {
        Bytes stream;
        ZEL_RETCODE rc;
        Bytes out;
    } cases[] = {{pack({65, 300}), sOKAY, "AAA"},
                 {pack({270}), sOKAY, "\x0e"},
                 {pack({65, 256, 256, 256, 256, 256, 256, 256, 66}), sOKAY, "AB"},
                 {loop_stream(), eDBCORRUPTED, ""}};
    for (const auto &c : cases) {
        Bytes back;
        EXPECT_EQ(wrap(false, c.stream, &back), c.rc);
        EXPECT_EQ(back, c.out);
    }
    std::mt19937 rng(9);
    for (int i = 0; i < 200; ++i) {
        Bytes junk(1 + rng() % 3000, '\0'), back;
        for (char &c : junk) c = static_cast<char>(rng());
        const ZEL_RETCODE rc = wrap(false, junk, &back);
        EXPECT_TRUE(rc == sOKAY || rc == eDBCORRUPTED) << rc;
    }
}

TEST_F(LzTest, ReceiverFailuresAndRefusals) {
    const Bytes text = gen_input("text=2/5000"), stream = packed(text);
    Sink refuse, sink, last, end, dec, plain;
    // LZBEGIN refused: sOKAY, and the context is unset.
    refuse.fail_begin = true;
    EXPECT_EQ(b_lzInit(ctx, &refuse, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, "x", 1), eINVFCNSEQ);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "x", 1), eINVFCNSEQ);
    EXPECT_EQ(b_lzFinish(ctx), eINVFCNSEQ);
    EXPECT_EQ(refuse.ends, 0);
    // A refused byte: its code from the chunk, or from b_lzFinish without LZEND.
    sink.fail_at = 100;
    ASSERT_EQ(b_lzInit(ctx, &sink, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, text.data(), uint32_t(text.size())), eFILEIO);
    last.fail_at = 2;
    ASSERT_EQ(b_lzInit(ctx, &last, Sink::put, sub), sOKAY);
    ASSERT_EQ(b_lzCompressChunk(ctx, "A", 1), sOKAY);
    EXPECT_EQ(b_lzFinish(ctx), eFILEIO);
    EXPECT_EQ(last.ends, 0);
    end.fail_end = true;
    ASSERT_EQ(b_lzInit(ctx, &end, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzFinish(ctx), eFAIL);
    dec.fail_at = 1000;
    ASSERT_EQ(b_lzInit(ctx, &dec, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, stream.data(), uint32_t(stream.size())), eFILEIO);
    EXPECT_EQ(dec.bytes, text.substr(0, 999));
    b_lzTerm(ctx);
    // The first chunk fixes the direction; an empty compression chunk does not.
    EXPECT_EQ(b_lzInit(nullptr, &plain, Sink::put, sub), eINVNULLARG);
    EXPECT_EQ(b_lzInit(ctx, &plain, nullptr, sub), eINVNULLARG);
    ASSERT_EQ(b_lzInit(ctx, &plain, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, nullptr, 0), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "", 0), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, "x", 1), eINVFCNSEQ);
    ASSERT_EQ(b_lzInit(ctx, &plain, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, "x", 1), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "x", 1), eINVFCNSEQ);
    EXPECT_EQ(b_lzCompressChunk(ctx, nullptr, 1), eINVNULLARG);
    EXPECT_EQ(b_lzFinish(ctx), sOKAY);
    EXPECT_EQ(b_lzFinish(ctx), eINVFCNSEQ);  // ended
    ASSERT_EQ(b_lzInit(ctx, &plain, Sink::put, nullptr), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "x", 1), eINVNULLARG);
    void *buf = nullptr;
    uint32_t len = 0;
    EXPECT_EQ(b_lzCompress(nullptr, 1, sub, &buf, &len), eINVNULLARG);
    EXPECT_EQ(b_lzDecompress("x", 1, nullptr, &buf, &len), eINVNULLARG);
    EXPECT_EQ(b_lzCompress("x", 1, sub, nullptr, &len), eINVNULLARG);
}

// Outputs past the 626688 bytes of a page run move to a huge buffer.
TEST_F(LzTest, OutputsPastAPageRun) {
    for (const Bytes &in : {gen_input("random=4/700000"), gen_input("text=4/1500000")}) {
        Bytes back;
        ASSERT_EQ(wrap(false, packed(in), &back), sOKAY);
        EXPECT_TRUE(back == in);
    }
}

TEST_F(LzTest, OutOfMemory) {
    const Bytes text = gen_input("text=6/30000"), stream = packed(text);
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            Bytes out;
                            const ZEL_RETCODE rc = chunked(false, stream, {}, &out);
                            EXPECT_TRUE(out == (rc == sOKAY ? text : ""));
                            return rc;
                        }),
              0);
    for (bool compress : {true, false}) {
        const Bytes &in = compress ? text : stream;
        EXPECT_GT(oom_check(master, {sub},
                            [&] {
                                void *buf = &buf;
                                uint32_t len = 7;
                                const ZEL_RETCODE rc = (compress ? b_lzCompress : b_lzDecompress)(
                                    in.data(), uint32_t(in.size()), sub, &buf, &len);
                                if (rc != sOKAY) {
                                    EXPECT_TRUE(buf == &buf && len == 7);
                                    return rc;
                                }
                                EXPECT_TRUE(Bytes(static_cast<char *>(buf), len) ==
                                            (compress ? stream : text));
                                b_tag_subFree(sub, buf);
                                return rc;
                            }),
                  1);
    }
}

}  // namespace
