// base64_runs_test.cpp - the run forms (b_base64EncodeBytes,
// b_base64DecodeChars) against their model, the single steps one byte or
// character at a time: for random inputs, record states and outputs (a
// growing buffer, a static one that fills up, a borrowed view, a callback),
// the same code, the same bytes out, the same record left behind, and for a
// growing buffer the same memory taken from its tag.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "base64.h"
#include "buffer.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

enum class Sink { kGrowing, kStatic, kBorrowed, kCallback };

struct Out {
    std::string s;
    size_t limit = SIZE_MAX;  // the callback fails past this many characters
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t ch) {
        auto *o = static_cast<Out *>(ctx);
        if (o->s.size() >= o->limit) return eTRUNCATED;
        o->s.push_back(static_cast<char>(ch));
        return sOKAY;
    }
};

// One side of a comparison: its own tag, buffer and record.
struct Side {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    std::vector<uint8_t> area;
    B_BUFFER_T buffer{};
    Out out;
    B_BASE64 b64{};
    Side(Sink sink, size_t capacity, bool byteFcn, bool decode) {
        EXPECT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
        EXPECT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        area.assign(capacity + 1, 0xEE);
        ZEL_OUTPUT_FCN fcn = byteFcn ? b_bufferEmitByte : b_bufferEmitChar;
        void *ctx = &buffer;
        switch (sink) {
            case Sink::kGrowing:
                b_bufferInit(&buffer, sub);
                break;
            case Sink::kStatic:
                b_bufferInitStatic(&buffer, area.data(), capacity, 0);
                break;
            case Sink::kBorrowed:
                b_bufferInit(&buffer, sub);
                b_bufferSetStatic(&buffer, area.data(), capacity);
                break;
            case Sink::kCallback:
                out.limit = capacity;
                fcn = &Out::put;
                ctx = &out;
                break;
        }
        if (decode)
            b_base64DecodeStart(&b64, fcn, ctx);
        else
            b_base64EncodeStart(&b64, fcn, ctx);
    }
    ~Side() {
        b_bufferTerm(&buffer);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    std::string bytes() const {
        if (b64.ctx == &out) return out.s;
        return std::string(reinterpret_cast<const char *>(buffer.data.bin), buffer.len);
    }
};

void expectSame(const Side &model, const Side &run) {
    EXPECT_EQ(run.b64.bits, model.b64.bits);
    EXPECT_EQ(run.b64.numbits, model.b64.numbits);
    EXPECT_EQ(run.b64.done, model.b64.done);
    EXPECT_EQ(run.b64.pos, model.b64.pos);
    EXPECT_EQ(run.buffer.len, model.buffer.len);
    EXPECT_EQ(run.buffer.size, model.buffer.size);
    if (model.buffer.size != 0 || model.b64.ctx == &model.out) {
        EXPECT_EQ(run.bytes(), model.bytes());
    }
    int64_t mc = 0, mm = 0, rc = 0, rm = 0;
    b_tag_subMemUsage(model.sub, &mc, &mm, nullptr);
    b_tag_subMemUsage(run.sub, &rc, &rm, nullptr);
    EXPECT_EQ(rc, mc);
    EXPECT_EQ(rm, mm);
}

Sink randomSink(std::mt19937 &rng) {
    return static_cast<Sink>(rng() % 4);
}

TEST(Base64Runs, EncodeBytesIsTheSingleSteps) {
    std::mt19937 rng(1);
    for (int trial = 0; trial < 3000; ++trial) {
        const Sink sink = randomSink(rng);
        const size_t capacity = rng() % 3 == 0 ? 4096 : rng() % 200;
        const bool byteFcn = rng() & 1;
        std::string in(rng() % 300, '\0');
        for (char &c : in) c = static_cast<char>(rng());
        const size_t lead = std::min<size_t>(in.size(), rng() % 3);  // reservoir off a group edge
        Side model(sink, capacity, byteFcn, false), run(sink, capacity, byteFcn, false);
        for (size_t i = 0; i < lead; ++i) {
            const auto byte = static_cast<uint8_t>(in[i]);
            const ZEL_RETCODE a = b_base64EncodeByte(&model.b64, byte);
            ASSERT_EQ(b_base64EncodeByte(&run.b64, byte), a);
        }
        ZEL_RETCODE want = sOKAY;
        for (size_t i = lead; i < in.size(); ++i) {
            want = b_base64EncodeByte(&model.b64, static_cast<uint8_t>(in[i]));
            if (want < 0) break;
        }
        EXPECT_EQ(b_base64EncodeBytes(&run.b64, in.data() + lead, in.size() - lead), want)
            << "trial " << trial;
        expectSame(model, run);
        if (want >= 0) {
            EXPECT_EQ(b_base64EncodeEnd(&run.b64), b_base64EncodeEnd(&model.b64));
            expectSame(model, run);
        }
    }
}

// Mostly alphabet characters, now and then a "=" or a character outside it.
std::string randomText(std::mt19937 &rng) {
    static const char kAlphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string t(rng() % 300, 'A');
    const unsigned noise = rng() % 4;  // 0: a clean text
    for (char &c : t) {
        c = kAlphabet[rng() % 64];
        if (noise != 0 && rng() % (40 * noise) == 0) c = rng() & 1 ? '=' : static_cast<char>(rng());
    }
    if (rng() % 3 == 0) t += rng() & 1 ? "=" : "==";
    return t;
}

TEST(Base64Runs, DecodeCharsIsTheSingleSteps) {
    std::mt19937 rng(2);
    for (int trial = 0; trial < 3000; ++trial) {
        const Sink sink = randomSink(rng);
        const size_t capacity = rng() % 3 == 0 ? 4096 : rng() % 200;
        const bool byteFcn = rng() & 1;
        const std::string text = randomText(rng);
        const size_t lead = std::min<size_t>(text.size(), rng() % 4);
        Side model(sink, capacity, byteFcn, true), run(sink, capacity, byteFcn, true);
        for (size_t i = 0; i < lead; ++i) {
            const auto ch = static_cast<uint8_t>(text[i]);
            const ZEL_RETCODE a = b_base64DecodeChar(&model.b64, ch);
            ASSERT_EQ(b_base64DecodeChar(&run.b64, ch), a);
        }
        ZEL_RETCODE want = sOKAY;
        for (size_t i = lead; i < text.size(); ++i) {
            const ZEL_RETCODE rc = b_base64DecodeChar(&model.b64, static_cast<uint8_t>(text[i]));
            if (rc < 0) {
                want = rc;
                break;
            }
        }
        EXPECT_EQ(b_base64DecodeChars(&run.b64, text.data() + lead, text.size() - lead), want)
            << "trial " << trial;
        expectSame(model, run);
        EXPECT_EQ(b_base64DecodeEnd(&run.b64), b_base64DecodeEnd(&model.b64));
    }
}

// A failure in the middle of a run leaves what the single steps leave, and a
// caller that goes on after it (as with the single steps) gets the same.
TEST(Base64Runs, GoingOnAfterABadCharacter) {
    const std::string text = "QUJD*REVGR0hJ=SktM";
    Side model(Sink::kGrowing, 0, true, true), run(Sink::kGrowing, 0, true, true);
    for (size_t at = 0; at < text.size();) {
        ZEL_RETCODE want = sOKAY;
        size_t stop = at;
        for (; stop < text.size(); ++stop) {
            want = b_base64DecodeChar(&model.b64, static_cast<uint8_t>(text[stop]));
            if (want < 0) break;
        }
        EXPECT_EQ(b_base64DecodeChars(&run.b64, text.data() + at, text.size() - at), want);
        expectSame(model, run);
        at = stop + 1;
    }
}

TEST(Base64Runs, WholeBufferMatchesTheStandardText) {
    B_TAG_MASTER master;
    B_TAG_SUB sub;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    B_BUFFER_T buf;
    b_bufferInit(&buf, sub);
    // "Many hands make light work." is 27 bytes: a multiple of 3, so the
    // coder's text is the standard one less its last character.
    const char *in = "Many hands make light work.";
    ASSERT_EQ(b_base64EncodeToBuffer(in, std::strlen(in), &buf), sOKAY);
    EXPECT_EQ(buf.len, 36u);
    EXPECT_STREQ(buf.data.str, "TWFueSBoYW5kcyBtYWtlIGxpZ2h0IHdvcms");
    b_bufferTerm(&buf);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

}  // namespace
