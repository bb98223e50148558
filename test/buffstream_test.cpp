// Buffered streams: numbers in both byte orders against struct.pack
// (good-buffstream.txt from gen_file.py), read back through a reader that
// delivers random short counts; strings with length and their truncation;
// the end of input; the writer's gathering up to 32768 bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "buffstream.h"
#include "file_fixture.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_sub.h"
#include "vectors.h"

namespace {

// The writer's sink: every call is kept, so that tests see when it wrote.
struct Sink {
    Bytes bytes;
    std::vector<uint32_t> calls;
    ZEL_RETCODE answer = sOKAY;
    static ZEL_RETCODE write(void *ctx, const void *b, uint32_t n) {
        auto *s = static_cast<Sink *>(ctx);
        if (s->answer != sOKAY) return s->answer;
        s->bytes.append(static_cast<const char *>(b), n);
        s->calls.push_back(n);
        return sOKAY;
    }
};

// The reader's source: short counts of 1 to `most` bytes, then `atEnd`.
struct Source {
    Bytes bytes;
    size_t pos = 0;
    std::mt19937 rng{3};
    uint32_t most = 7;  // or exactly `exact` bytes, when set
    uint32_t exact = 0;
    ZEL_RETCODE atEnd = eEOD;
    static ZEL_RETCODE read(void *ctx, void *dest, uint32_t size, uint32_t *got, uint32_t flags) {
        auto *s = static_cast<Source *>(ctx);
        EXPECT_EQ(flags, 0u);
        if (s->pos == s->bytes.size()) {
            *got = 0;
            return s->atEnd;
        }
        const size_t want = s->exact != 0 ? s->exact : 1 + s->rng() % s->most;
        const size_t n = std::min<size_t>({size, s->bytes.size() - s->pos, want});
        std::memcpy(dest, s->bytes.data() + s->pos, n);
        s->pos += n;
        *got = uint32_t(n);
        return sOKAY;
    }
};

class BuffStream : public TaggedTest {
  protected:
    void Open(int16_t swap) {
        ASSERT_EQ(b_outputBuffInit(&out, &Sink::write, &sink, swap, sub), sOKAY);
        outOpen = true;
    }
    void Reopen(int16_t swap) {
        src.bytes = sink.bytes;
        ASSERT_EQ(b_inputBuffInit(&in, &Source::read, &src, swap, sub), sOKAY);
        inOpen = true;
    }
    void TearDown() override {
        if (outOpen) b_outputBuffTerm(&out);
        if (inOpen) b_inputBuffTerm(&in);
        TaggedTest::TearDown();
    }
    Sink sink;
    Source src;
    B_OUTPUT_BUFFEREDSTREAM_T out{};
    B_INPUT_BUFFEREDSTREAM_T in{};
    bool outOpen = false, inOpen = false;
};

// Puts `v` with `put`, or reads it back with `get` and compares the bytes.
template <class T>
void putGet(B_OUTPUT_BUFFEREDSTREAM_T *out, B_INPUT_BUFFEREDSTREAM_T *in, T v, bool doPut,
            ZEL_RETCODE (*put)(B_OUTPUT_BUFFEREDSTREAM_T *, T),
            ZEL_RETCODE (*get)(B_INPUT_BUFFEREDSTREAM_T *, T *)) {
    if (doPut) {
        ASSERT_EQ(put(out, v), sOKAY);
        return;
    }
    T got{};
    ASSERT_EQ(get(in, &got), sOKAY);
    EXPECT_EQ(std::memcmp(&got, &v, sizeof v), 0);
}

void putGetRow(B_OUTPUT_BUFFEREDSTREAM_T *out, B_INPUT_BUFFEREDSTREAM_T *in,
               const std::vector<std::string> &row, bool put) {
    const std::string &k = row[0];
    const std::string &text = row[1];
    const double d = std::strtod(text.c_str(), nullptr);
    if (k == "i16")
        putGet<int16_t>(out, in, std::stol(text), put, b_outputBuffPutInt16, b_inputBuffGetInt16);
    if (k == "i32")
        putGet<int32_t>(out, in, std::stol(text), put, b_outputBuffPutInt32, b_inputBuffGetInt32);
    if (k == "i64")
        putGet<int64_t>(out, in, std::stoll(text), put, b_outputBuffPutInt64, b_inputBuffGetInt64);
    if (k == "f32")
        putGet<float>(out, in, float(d), put, b_outputBuffPutFloat32, b_inputBuffGetFloat32);
    if (k == "f64") putGet<double>(out, in, d, put, b_outputBuffPutFloat64, b_inputBuffGetFloat64);
    if (k != "str") return;
    const Bytes s = text == "null" ? "" : fixture_fromHex(text);
    const char *p = text == "null" ? nullptr : s.c_str();
    if (put) {
        ASSERT_EQ(b_outputBuffPutStringWithLength(out, p), sOKAY);
        return;
    }
    char buf[64] = "x";
    ASSERT_EQ(b_inputBuffGetStringWithLength(in, buf, sizeof buf), sOKAY);
    EXPECT_EQ(Bytes(buf), p == nullptr ? "" : s);
}

TEST_F(BuffStream, NumbersAndStringsInBothByteOrders) {
    const std::vector<VectorRow> rows = vectors_read("good-buffstream.txt", '\t');
    ASSERT_GT(rows.size(), 80u);
    for (int16_t swap : {0, 1}) {
        sink = Sink{};
        Open(swap);
        Bytes want;
        for (const auto &row : rows) {
            putGetRow(&out, nullptr, row, true);
            want += fixture_fromHex(row[2 + swap]);
        }
        ASSERT_EQ(b_outputBuffFlush(&out), sOKAY);
        EXPECT_EQ(fixture_toHex(sink.bytes), fixture_toHex(want));
        src = Source{};
        Reopen(swap);
        for (const auto &row : rows) putGetRow(nullptr, &in, row, false);
        char c;
        EXPECT_EQ(b_inputBuffGetChar(&in, &c), eEOD);  // the reader's own code at the end
        b_outputBuffTerm(&out);
        b_inputBuffTerm(&in);
        outOpen = inOpen = false;
    }
}

TEST_F(BuffStream, StringsWithLengthTruncateSkipAndAllocate) {
    Open(0);
    for (const char *s : {"hello", "", "world", "xy", "abc", "tail", "z"})
        ASSERT_EQ(b_outputBuffPutStringWithLength(&out, s), sOKAY);
    ASSERT_EQ(b_outputBuffPutStringWithLength(&out, nullptr), sOKAY);
    ASSERT_EQ(b_outputBuffPutStringWithLength(&out, nullptr), sOKAY);
    ASSERT_EQ(b_outputBuffPutString(&out, "raw"), sOKAY);
    ASSERT_EQ(b_outputBuffFlush(&out), sOKAY);
    Reopen(0);
    char buf[4] = "qqq";
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, buf, 1), eTX_TRUNCATED);  // "hello"
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, buf, 1), sOKAY);  // ""
    std::strcpy(buf, "qqq");
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, buf, 0), eTX_TRUNCATED);   // "world"
    EXPECT_STREQ(buf, "qqq");                                                // nothing stored
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, nullptr, 4), sOKAY);       // "xy" skipped
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, buf, sizeof buf), sOKAY);  // "abc" fits
    EXPECT_STREQ(buf, "abc");
    char *s = nullptr;
    EXPECT_EQ(b_inputBuffGetString(&in, sub, &s), sOKAY);
    EXPECT_STREQ(s, "tail");
    b_tag_subFree(sub, s);
    EXPECT_EQ(b_inputBuffGetString(&in, sub, nullptr), sOKAY);  // "z" skipped
    s = buf;
    EXPECT_EQ(b_inputBuffGetString(&in, sub, &s), sOKAY);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, buf, sizeof buf), sOKAY);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(b_inputBuffGetBytes(&in, buf, 3), sOKAY);
    EXPECT_EQ(Bytes(buf, 3), "raw");
}

TEST_F(BuffStream, EndAndFailureOfTheReader) {
    // A length promising more than there is: the string is freed, s stands.
    sink.bytes = fixture_fromHex("0a000000616263");
    src.atEnd = sOKAY;  // 0 bytes with sOKAY is the end all the same
    Reopen(0);
    char *s = nullptr;
    EXPECT_EQ(b_inputBuffGetString(&in, sub, &s), eEOF);
    EXPECT_EQ(s, nullptr);
    // A truncated string whose skip fails hands on the skip's code.
    b_inputBuffTerm(&in);
    sink.bytes = fixture_fromHex("0a000000616263");
    src = Source{};
    src.atEnd = eFILEIO;
    Reopen(0);
    char buf[3];
    EXPECT_EQ(b_inputBuffGetStringWithLength(&in, buf, sizeof buf), eFILEIO);
    // Null destinations skip; Reset drops what is buffered.
    b_inputBuffTerm(&in);
    sink.bytes = Bytes("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10", 16);
    src = Source{};
    src.exact = 10;
    Reopen(1);
    EXPECT_EQ(b_inputBuffGetInt16(&in, nullptr), sOKAY);
    int32_t v = 0;
    EXPECT_EQ(b_inputBuffGetInt32(&in, &v), sOKAY);
    EXPECT_EQ(v, 0x03040506);  // byteswap: the bytes reversed
    EXPECT_EQ(b_inputBuffGetBytes(&in, nullptr, 2), sOKAY);
    const size_t delivered = src.pos;
    b_inputBuffReset(&in);
    char c = 0;
    ASSERT_EQ(b_inputBuffGetChar(&in, &c), sOKAY);
    EXPECT_EQ(uint8_t(c), delivered + 1);
}

TEST_F(BuffStream, WriterGathersUpTo32768Bytes) {
    Open(0);
    const Bytes block(1000, 'b');
    for (int i = 0; i < 32; i++) ASSERT_EQ(b_outputBuffPutBytes(&out, block.data(), 1000), sOKAY);
    ASSERT_EQ(b_outputBuffPutBytes(&out, block.data(), 768), sOKAY);
    EXPECT_TRUE(sink.calls.empty());
    EXPECT_EQ(out.size, uint32_t(B_OUTPUTBUFF_MAX));
    ASSERT_EQ(b_outputBuffPutChar(&out, 'c'), sOKAY);
    EXPECT_EQ(sink.calls, std::vector<uint32_t>{32768});
    ASSERT_EQ(b_outputBuffSendDirect(&out, "direct", 6), sOKAY);  // flushes 'c' first
    ASSERT_EQ(b_outputBuffSendDirect(&out, "", 0), sOKAY);
    EXPECT_EQ(sink.calls, (std::vector<uint32_t>{32768, 1, 6}));
    EXPECT_EQ(sink.bytes.substr(32768), "cdirect");
    // A failing writer: its code comes back, what was gathered stays.
    ASSERT_EQ(b_outputBuffPutInt32(&out, 7), sOKAY);
    sink.answer = eBROKENPIPE;
    EXPECT_EQ(b_outputBuffFlush(&out), eBROKENPIPE);
    EXPECT_EQ(b_outputBuffSendDirect(&out, "x", 1), eBROKENPIPE);
    EXPECT_EQ(out.pos, 4u);
    sink.answer = sOKAY;
    // Term does not flush.
    ASSERT_EQ(b_outputBuffPutInt32(&out, 8), sOKAY);
    const size_t before = sink.bytes.size();
    b_outputBuffTerm(&out);
    outOpen = false;
    EXPECT_EQ(sink.bytes.size(), before);
}

TEST_F(BuffStream, OutOfMemory) {
    // Init of either stream: the tag's code, nothing held.
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        ZEL_RETCODE rc = b_inputBuffInit(&in, &Source::read, &src, 0, sub);
        if (rc != sOKAY) return rc;
        b_inputBuffTerm(&in);
        rc = b_outputBuffInit(&out, &Sink::write, &sink, 0, sub);
        if (rc == sOKAY) b_outputBuffTerm(&out);
        return rc;
    });
    // GetString: on failure the destination stands.
    oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        src = Source{};
        src.bytes = Bytes("\x05\x00\x00\x00hello", 9);
        ZEL_RETCODE rc = b_inputBuffInit(&in, &Source::read, &src, 0, sub);
        if (rc != sOKAY) return rc;
        char *s = reinterpret_cast<char *>(&rc);
        rc = b_inputBuffGetString(&in, sub, &s);
        if (rc == sOKAY) {
            EXPECT_STREQ(s, "hello");
            b_tag_subFree(sub, s);
        } else {
            EXPECT_EQ(s, reinterpret_cast<char *>(&rc));
        }
        b_inputBuffTerm(&in);
        return rc;
    });
    // Growth of the writer: a refusal only makes it write sooner; every byte
    // arrives in order.
    Bytes want;
    for (int i = 0; i < 9000; i++) want += char('a' + i % 26);
    const int faults = oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        sink = Sink{};
        ZEL_RETCODE rc = b_outputBuffInit(&out, &Sink::write, &sink, 0, sub);
        if (rc != sOKAY) return rc;
        for (size_t at = 0; at < want.size(); at += 1000)
            EXPECT_EQ(b_outputBuffPutBytes(&out, want.data() + at, 1000), sOKAY);
        EXPECT_EQ(b_outputBuffFlush(&out), sOKAY);
        b_outputBuffTerm(&out);
        EXPECT_EQ(sink.bytes, want);
        return sOKAY;
    });
    EXPECT_GE(faults, 3);  // the init and at least two growth steps
}

}  // namespace
