// LZ coder: the streams the Python model wrote (lzw_model.py, checked by
// lzw_model_check), the shape of a stream across six widenings and a flush,
// chunks split anywhere, damaged streams, the receiver's failures, refusals,
// and every allocating call under the out-of-memory helper.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "lz.h"
#include "oom.h"
#include "sha256.h"
#include "tag_fixture.h"
#include "vectors.h"

namespace {

using Bytes = std::string;
using Codes = std::vector<std::pair<uint32_t, uint32_t>>;  // code, width

// The inputs of lzw_model.py's gen_input, byte for byte.
Bytes gen_input(const std::string &spec) {
    const size_t eq = spec.find('=');
    const std::string family = spec.substr(0, eq), args = spec.substr(eq + 1);
    if (family == "hex") return vectors_unhex(args);
    const uint64_t a = std::stoull(args.substr(0, args.find('/')));
    const size_t size = std::stoull(args.substr(args.find('/') + 1));
    if (family == "run") return Bytes(size, static_cast<char>(a));
    uint64_t state = a;
    auto next = [&state] { return state = state * 6364136223846793005u + 1442695040888963407u; };
    Bytes out;
    if (family == "random") {
        while (out.size() < size) out += static_cast<char>(next() >> 56);
        return out;
    }
    static const char *const words[32] = {
        "the",   "of",   "and",  "to",    "in",    "is",     "that", "for",
        "it",    "as",   "with", "was",   "on",    "be",     "by",   "at",
        "this",  "from", "or",   "which", "table", "index",  "row",  "column",
        "value", "page", "key",  "node",  "store", "commit", "read", "write"};
    for (int n = 1; out.size() < size; ++n)
        out += std::string(words[next() >> 59]) + (n % 12 ? " " : "\n");
    return out.substr(0, size);
}

// The codes of a stream with their widths, as a decoder reads them.
Codes codes_of(const Bytes &stream) {
    Codes codes;
    uint32_t width = B_LZ_MIN_BITS, acc = 0, have = 0;
    for (unsigned char c : stream) {
        acc = (acc << 8) | c;
        for (have += 8; have >= width;) {
            have -= width;
            const uint32_t code = acc >> have;
            acc &= (1u << have) - 1;
            codes.emplace_back(code, width);
            if (code == B_LZ_BUMP_CODE) width++;
            if (code == B_LZ_FLUSH_CODE) width = B_LZ_MIN_BITS;
        }
    }
    return codes;
}

// Codes packed at 9 bits, most significant bit first, for forged streams.
Bytes pack9(const std::vector<uint32_t> &codes) {
    Bytes out;
    uint32_t acc = 0, have = 0;
    for (uint32_t c : codes) {
        acc = (acc << 9) | c;
        for (have += 9; have >= 8; acc &= (1u << have) - 1)
            out += static_cast<char>(acc >> (have -= 8));
    }
    if (have > 0) out += static_cast<char>(acc << (8 - have));
    return out;
}

std::string to_hex(const Bytes &b) {
    std::string h;
    char two[3];
    for (unsigned char c : b) {
        std::snprintf(two, sizeof two, "%02x", c);
        h += two;
    }
    return h;
}

// A receiver that keeps the bytes, counts the calls, and fails at byte
// `fail_at` (counting from 1) or at LZBEGIN / LZEND when asked.
struct Sink {
    Bytes bytes;
    int begins = 0, ends = 0;
    size_t fail_at = 0;
    bool fail_begin = false, fail_end = false;
    static ZEL_RETCODE put(void *user, LZOPERATION op, uint8_t byte) {
        auto *s = static_cast<Sink *>(user);
        if (op == LZBEGIN) return ++s->begins, s->fail_begin ? eFAIL : sOKAY;
        if (op == LZEND) return ++s->ends, s->fail_end ? eFAIL : sOKAY;
        if (s->fail_at != 0 && s->bytes.size() + 1 == s->fail_at) return eFILEIO;
        s->bytes += static_cast<char>(byte);
        return sOKAY;
    }
};

class LzTest : public TaggedTest {
  protected:
    // One stream through the chunk calls, cut at the offsets in `cuts`.
    ZEL_RETCODE chunked(bool compress, const Bytes &in, const std::vector<size_t> &cuts,
                        Bytes *out) {
        Sink sink;
        B_LZ_T *ctx = nullptr;
        if (b_tag_subAlloc(sub, sizeof *ctx, &ctx) != sOKAY) return eNOMEMORY;
        ZEL_RETCODE rc = b_lzInit(ctx, &sink, Sink::put, sub);
        size_t at = 0;
        for (size_t i = 0; rc == sOKAY && at <= in.size(); ++i) {
            const size_t end =
                i < cuts.size() ? std::max(at, std::min(cuts[i], in.size())) : in.size();
            rc = compress ? b_lzCompressChunk(ctx, in.data() + at, uint32_t(end - at))
                          : b_lzDecompressChunk(ctx, in.data() + at, uint32_t(end - at));
            if (end == in.size() && i >= cuts.size()) break;
            at = end;
        }
        if (rc == sOKAY) {
            rc = b_lzFinish(ctx);
        } else {
            b_lzTerm(ctx);
        }
        b_tag_subFree(sub, ctx);
        *out = sink.bytes;
        return rc;
    }
    ZEL_RETCODE wrap(bool compress, const Bytes &in, Bytes *out) {
        void *buf = nullptr;
        uint32_t len = 7;
        const ZEL_RETCODE rc = (compress ? b_lzCompress : b_lzDecompress)(
            in.data(), uint32_t(in.size()), sub, &buf, &len);
        if (rc != sOKAY) return rc;
        out->assign(static_cast<const char *>(buf), len);
        EXPECT_EQ(buf == nullptr, len == 0);
        b_tag_subFreeCanBeNull(sub, buf);
        return rc;
    }
    Bytes packed(const Bytes &in) {
        Bytes out;
        EXPECT_EQ(wrap(true, in, &out), sOKAY);
        return out;
    }
};

TEST_F(LzTest, StreamsAreTheModels) {
    const auto rows = vectors_read("lzw_vectors.txt", '\t');
    ASSERT_EQ(rows.size(), 9u);
    for (const auto &row : rows) {
        const Bytes in = gen_input(row[1]);
        const Bytes out = packed(in);
        const std::string &want = row[2];
        if (want.rfind("hex=", 0) == 0) {
            EXPECT_EQ(to_hex(out), want.substr(4)) << row[0];
        } else {
            EXPECT_EQ(
                "sha256=" + sha256_hex(reinterpret_cast<const uint8_t *>(out.data()), out.size()) +
                    "/" + std::to_string(out.size()),
                want)
                << row[0];
        }
        Bytes back;
        EXPECT_EQ(wrap(false, out, &back), sOKAY);
        EXPECT_TRUE(back == in) << row[0];
    }
}

// Random bytes make new strings fast: the widths 9 to 15 are announced by
// six 256 codes, each at the width before it; the 32510th new string
// (next_code 32768) is followed by 257 at 15 bits, and the next code is 9
// bits wide. The input cut before the byte that makes that string has no
// flush.
TEST_F(LzTest, WidensSixTimesThenFlushesAtFifteenBits) {
    const Bytes in = gen_input("random=1/120000");
    const Bytes stream = packed(in);
    const Codes codes = codes_of(stream);
    size_t flush = 0, strings = 0, bits = 0;
    std::vector<uint32_t> bump_widths;
    for (; flush < codes.size() && codes[flush].first != B_LZ_FLUSH_CODE;
         bits += codes[flush++].second) {
        if (codes[flush].first == B_LZ_BUMP_CODE)
            bump_widths.push_back(codes[flush].second);
        else
            ++strings;
    }
    ASSERT_LT(flush + 1, codes.size());
    EXPECT_EQ(bump_widths, (std::vector<uint32_t>{9, 10, 11, 12, 13, 14}));
    EXPECT_EQ(codes[flush].second, 15u);
    EXPECT_EQ(codes[flush + 1].second, 9u);
    EXPECT_EQ(strings, 32510u);
    // The bytes the codes before the flush spell: the flush's own bits never
    // make a whole code, so the stream is cut just after them.
    Bytes spelled;
    ASSERT_EQ(chunked(false, stream.substr(0, (bits + 7) / 8), {}, &spelled), sOKAY);
    ASSERT_LT(spelled.size(), in.size());
    auto flushes = [this](const Bytes &input) {
        size_t n = 0;
        for (const auto &c : codes_of(packed(input))) n += c.first == B_LZ_FLUSH_CODE;
        return n;
    };
    EXPECT_EQ(flushes(in.substr(0, spelled.size())), 0u);
    EXPECT_EQ(flushes(in.substr(0, spelled.size() + 1)), 1u);
}

TEST_F(LzTest, ChunksSplitAnywhereGiveOneStream) {
    const Bytes text = gen_input("text=3/20000");
    const Bytes whole = packed(text);
    std::mt19937 rng(5);
    for (int round = 0; round < 20; ++round) {
        std::vector<size_t> cuts;
        for (size_t at = 0; at < text.size(); at += rng() % 700) cuts.push_back(at);
        Bytes out, back;
        ASSERT_EQ(chunked(true, text, cuts, &out), sOKAY);
        EXPECT_TRUE(out == whole);
        // The stream cut into pieces of 1 to 4 bytes, codes straddling them.
        std::vector<size_t> bytecuts;
        for (size_t at = 0; at < whole.size(); at += 1 + rng() % 4) bytecuts.push_back(at);
        ASSERT_EQ(chunked(false, whole, bytecuts, &back), sOKAY);
        EXPECT_TRUE(back == text);
    }
    // Every single cut of a short stream.
    const Bytes tobe = vectors_unhex("2a13c8445279489c4f2a40a090685c160f09");
    for (size_t cut = 0; cut <= tobe.size(); ++cut) {
        Bytes back;
        ASSERT_EQ(chunked(false, tobe, {cut}, &back), sOKAY);
        EXPECT_EQ(back, "TOBEORNOTTOBEORTOBEORNOT") << cut;
    }
}

// Edge cases worked by hand: one byte is one 9-bit code; "aaaa" decodes a
// code equal to next_code (258 = 'a' + its own first byte).
TEST_F(LzTest, EdgeCases) {
    EXPECT_EQ(to_hex(packed("A")), "2080");
    EXPECT_EQ(packed(""), "");
    Bytes back;
    EXPECT_EQ(wrap(false, vectors_unhex("30c08c20"), &back), sOKAY);
    EXPECT_EQ(back, "aaaa");
    EXPECT_EQ(wrap(false, "", &back), sOKAY);
    EXPECT_EQ(back, "");
}

// Damaged streams decode to whatever the table holds, never past it: a code
// above next_code reads as the string being entered, a first code above 255
// as its low byte, and 256 past 15 bits widens no further. Codes that enter a
// string whose parent is itself loop, which the push limit ends.
TEST_F(LzTest, DamagedStreams) {
    Bytes back;
    // 300 when next_code is 258: "A" then "AA"; 270 first after a flush: its low byte.
    EXPECT_EQ(wrap(false, pack9({65, 300}), &back), sOKAY);
    EXPECT_EQ(back, "AAA");
    EXPECT_EQ(wrap(false, pack9({270}), &back), sOKAY);
    EXPECT_EQ(back, "\x0e");
    // 65, 300 (entry 258; string_code 300), 259 (entry 259 = 300 + byte),
    // 65 until next_code is 299, 259 (entry 299), 65 (entry 300 = 259 + 'A'):
    // now 300 -> 259 -> 300 -> ... .
    std::vector<uint32_t> loop = {65, 300, 259};
    while (loop.size() < 3 + 39) loop.push_back(65);
    loop.push_back(259);
    loop.push_back(65);
    loop.push_back(300);
    EXPECT_EQ(wrap(false, pack9(loop), &back), eDBCORRUPTED);
    // Eight bumps: the codes stay at 15 bits.
    Bytes wide = pack9({65, 256, 256, 256, 256, 256, 256, 256, 256});
    EXPECT_EQ(wrap(false, wide, &back), sOKAY);
    // Arbitrary bytes: any code, no crash, memory back (TearDown).
    std::mt19937 rng(9);
    for (int i = 0; i < 200; ++i) {
        Bytes junk(1 + rng() % 3000, '\0');
        for (char &c : junk) c = static_cast<char>(rng());
        const ZEL_RETCODE rc = wrap(false, junk, &back);
        EXPECT_TRUE(rc == sOKAY || rc == eDBCORRUPTED) << rc;
    }
}

TEST_F(LzTest, ReceiverFailures) {
    B_LZ_T *ctx;
    ASSERT_EQ(b_tag_subAlloc(sub, sizeof *ctx, &ctx), sOKAY);
    const Bytes text = gen_input("text=2/5000");
    // LZBEGIN refused: sOKAY, and the context is unset.
    Sink refuse;
    refuse.fail_begin = true;
    EXPECT_EQ(b_lzInit(ctx, &refuse, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, text.data(), 10), eINVFCNSEQ);
    EXPECT_EQ(b_lzDecompressChunk(ctx, text.data(), 10), eINVFCNSEQ);
    EXPECT_EQ(b_lzFinish(ctx), eINVFCNSEQ);
    EXPECT_EQ(refuse.ends, 0);
    // A byte refused: that code, from the chunk that wrote it.
    Sink sink;
    sink.fail_at = 100;
    ASSERT_EQ(b_lzInit(ctx, &sink, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, text.data(), uint32_t(text.size())), eFILEIO);
    b_lzTerm(ctx);
    // The last byte refused in b_lzFinish: its code, without LZEND.
    Sink last;
    last.fail_at = 2;
    ASSERT_EQ(b_lzInit(ctx, &last, Sink::put, sub), sOKAY);
    ASSERT_EQ(b_lzCompressChunk(ctx, "A", 1), sOKAY);
    EXPECT_EQ(b_lzFinish(ctx), eFILEIO);
    EXPECT_EQ(last.ends, 0);
    // LZEND's own result; in decompression a refused byte stops the chunk.
    Sink end;
    end.fail_end = true;
    ASSERT_EQ(b_lzInit(ctx, &end, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzFinish(ctx), eFAIL);
    const Bytes stream = packed(text);
    Sink dec;
    dec.fail_at = 1000;
    ASSERT_EQ(b_lzInit(ctx, &dec, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, stream.data(), uint32_t(stream.size())), eFILEIO);
    EXPECT_EQ(dec.bytes, text.substr(0, 999));
    b_lzTerm(ctx);
    b_tag_subFree(sub, ctx);
}

TEST_F(LzTest, Refusals) {
    B_LZ_T *ctx;
    ASSERT_EQ(b_tag_subAlloc(sub, sizeof *ctx, &ctx), sOKAY);
    Sink sink;
    EXPECT_EQ(b_lzInit(nullptr, &sink, Sink::put, sub), eINVNULLARG);
    EXPECT_EQ(b_lzInit(ctx, &sink, nullptr, sub), eINVNULLARG);
    // The first chunk fixes the direction; an empty compression chunk does not.
    ASSERT_EQ(b_lzInit(ctx, &sink, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, nullptr, 0), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "", 0), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, "x", 1), eINVFCNSEQ);
    b_lzTerm(ctx);
    ASSERT_EQ(b_lzInit(ctx, &sink, Sink::put, sub), sOKAY);
    EXPECT_EQ(b_lzCompressChunk(ctx, "x", 1), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "x", 1), eINVFCNSEQ);
    EXPECT_EQ(b_lzCompressChunk(ctx, nullptr, 1), eINVNULLARG);
    EXPECT_EQ(b_lzFinish(ctx), sOKAY);
    EXPECT_EQ(b_lzFinish(ctx), eINVFCNSEQ);  // ended
    ASSERT_EQ(b_lzInit(ctx, &sink, Sink::put, nullptr), sOKAY);
    EXPECT_EQ(b_lzDecompressChunk(ctx, "x", 1), eINVNULLARG);
    b_lzTerm(ctx);
    b_tag_subFree(sub, ctx);
    void *buf = nullptr;
    uint32_t len = 0;
    EXPECT_EQ(b_lzCompress(nullptr, 1, sub, &buf, &len), eINVNULLARG);
    EXPECT_EQ(b_lzDecompress("x", 1, nullptr, &buf, &len), eINVNULLARG);
    EXPECT_EQ(b_lzCompress("x", 1, sub, nullptr, &len), eINVNULLARG);
}

// Outputs past the 626688 bytes of a page run move to a huge buffer.
TEST_F(LzTest, OutputsPastAPageRun) {
    const Bytes random = gen_input("random=4/700000");
    const Bytes text = gen_input("text=4/1500000");
    for (const Bytes *in : {&random, &text}) {
        Bytes out, back;
        ASSERT_EQ(wrap(true, *in, &out), sOKAY);
        ASSERT_EQ(wrap(false, out, &back), sOKAY);
        EXPECT_TRUE(back == *in);
    }
}

TEST_F(LzTest, OutOfMemory) {
    const Bytes text = gen_input("text=6/30000");
    const Bytes stream = packed(text);
    // The decoder's stack: a run makes strings of hundreds of bytes.
    const Bytes run = packed(Bytes(100000, 'z'));
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            B_LZ_T *ctx;
                            ZEL_RETCODE rc = b_tag_subAlloc(sub, sizeof *ctx, &ctx);
                            if (rc != sOKAY) return rc;
                            Sink sink;
                            if ((rc = b_lzInit(ctx, &sink, Sink::put, sub)) == sOKAY)
                                rc = b_lzDecompressChunk(ctx, run.data(), uint32_t(run.size()));
                            if (rc == sOKAY) rc = b_lzFinish(ctx);
                            b_lzTerm(ctx);
                            b_tag_subFree(sub, ctx);
                            if (rc == sOKAY) {
                                EXPECT_EQ(sink.bytes.size(), 100000u);
                            }
                            return rc;
                        }),
              1);
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
