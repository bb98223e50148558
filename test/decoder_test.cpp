// Decoder: every element type read back from the encoder's bytes through a
// B_BUFFER_T, the range checks of the narrow targets, floats and doubles
// from Python's struct vectors, every prefix of a mixed stream ending in
// eEOD with nothing read past it, strings and arrays with their allocations
// given back on every failure, out of memory included.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

#include "buffer.h"
#include "coder_bytes.h"
#include "tag_fixture.h"
#include "decoder.h"
#include "oom.h"
#include "encoder.h"
#include "vectors.h"
#include "vint.h"

// GCC says __SANITIZE_ADDRESS__, clang __has_feature(address_sanitizer).
#if defined(__SANITIZE_ADDRESS__)
#define DECODER_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DECODER_TEST_ASAN 1
#endif
#endif

namespace {

// A decoder over a copy of `bytes` in a borrowed B_BUFFER_T.
struct BufferSource {
    Bytes bytes;
    B_BUFFER_T buffer;
    B_DECODER_T d;
    explicit BufferSource(Bytes b) : bytes(std::move(b)) {
        b_bufferInitStatic(&buffer, bytes.data(), 0, 0);
        b_bufferSetStatic(&buffer, bytes.data(), bytes.size());
        b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &buffer, nullptr);
    }
};

Bytes varint(uint64_t v) {
    TestSink sink;
    EXPECT_EQ(b_vintEncodeUIntmax(v, TestSink::put, &sink), sOKAY);
    return sink.bytes;
}

Bytes cat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes &p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// Both ends of a narrow target's range fit; one past either end is a damaged
// object, read whole, with the target untouched.
template <class T>
void expectRange(ZEL_RETCODE (*decode)(const B_DECODER_T *, T *)) {
    using L = std::numeric_limits<T>;
    auto stored = [](int64_t v) { return L::is_signed ? b_vintConvertToUnsigned(v) : uint64_t(v); };
    const int64_t lo = L::min(), hi = L::max();
    for (const int64_t v : {lo, hi, hi + 1, L::is_signed ? lo - 1 : hi + 1}) {
        T got = 9;
        BufferSource src(varint(stored(v)));
        const bool fits = v >= lo && v <= hi;
        EXPECT_EQ(decode(&src.d, &got), fits ? sOKAY : eDBCORRUPTED) << v;
        EXPECT_EQ(got, fits ? T(v) : T(9)) << v;
        EXPECT_EQ(src.buffer.pos, src.bytes.size());
    }
}

TEST(DecoderRange, NarrowTargetsRefuseWhatDoesNotFit) {
    expectRange(b_decoderDecodeUint8);
    expectRange(b_decoderDecodeUint16);
    expectRange(b_decoderDecodeUint32);
    expectRange(b_decoderDecodeInt8);
    expectRange(b_decoderDecodeInt16);
    expectRange(b_decoderDecodeInt32);
}

TEST(DecoderStoredBytes, FloatsAndDoublesFromBigEndianIeee) {
    for (const VectorRow &row : vectors_read("good-varint-float.txt")) {
        const std::string &kind = row[0], &text = row[1], &hex = row[2];
        BufferSource src(coder_unhex(hex));
        double d = 0;
        float f = 0;
        ASSERT_EQ(
            kind == "f" ? b_decoderDecodeFloat(&src.d, &f) : b_decoderDecodeDouble(&src.d, &d),
            sOKAY)
            << hex;
        // The value read back, stored big-endian again, is the input.
        TestSink sink;
        B_ENCODER_T e = sink.encoder();
        ASSERT_EQ(kind == "f" ? b_encoderEncodeFloat(&e, f) : b_encoderEncodeDouble(&e, d), sOKAY);
        EXPECT_EQ(coder_hex(sink.bytes), hex);
        if (kind != "f" && text != "nan") {
            EXPECT_EQ(d, std::strtod(text.c_str(), nullptr)) << hex;
        }
    }
}

// One field of a mixed stream: its encoder call and a decoder call that
// checks the value read back.
struct Field {
    std::function<ZEL_RETCODE(const B_ENCODER_T *)> put;
    std::function<ZEL_RETCODE(const B_DECODER_T *, bool check)> get;
};

std::vector<Field> mixedStream() {
    std::vector<Field> f;
#define FIELD(Name, T, value)                                            \
    f.push_back({[](auto e) { return b_encoderEncode##Name(e, value); }, \
                 [](auto d, bool check) {                                \
                     T v{};                                              \
                     ZEL_RETCODE rc = b_decoderDecode##Name(d, &v);      \
                     if (check && rc == sOKAY) {                         \
                         EXPECT_EQ(v, static_cast<T>(value));            \
                     }                                                   \
                     return rc;                                          \
                 }})
    FIELD(Uint8, uint8_t, 200);
    FIELD(Uint16, uint16_t, 0x4080);
    FIELD(Uint32, uint32_t, 0xFFFFFFFF);
    FIELD(Uint64, uint64_t, UINT64_MAX);
    FIELD(Slot, ZEL_SLOT, 0x80808204080);
    FIELD(Int8, int8_t, -128);
    FIELD(Int16, int16_t, INT16_MIN);
    FIELD(Int32, int32_t, INT32_MAX);
    FIELD(Int64, int64_t, INT64_MIN);
    FIELD(Float, float, -1.5f);
    FIELD(Double, double, 0.1);
#undef FIELD
    f.push_back({[](auto e) { return b_encoderEncodeUint64(e, 12345); },
                 [](auto d, bool check) {
                     size_t v = 0;
                     ZEL_RETCODE rc = b_decoderDecodeSize_t(d, &v);
                     if (check && rc == sOKAY) {
                         EXPECT_EQ(v, 12345u);
                     }
                     return rc;
                 }});
    f.push_back({[](auto e) { return b_encoderEncodeString(e, "zelbase"); },
                 [](auto d, bool check) {
                     char text[16];
                     size_t len = sizeof text;
                     ZEL_RETCODE rc = b_decoderDecodeStringToBuff(d, text, &len);
                     if (check && rc == sOKAY) {
                         EXPECT_STREQ(text, "zelbase");
                         EXPECT_EQ(len, 8u);
                     }
                     return rc;
                 }});
    return f;
}

TEST(DecoderStream, ReadsBackEveryFieldAndStopsAtEachEnd) {
    const std::vector<Field> fields = mixedStream();
    TestSink sink;
    B_ENCODER_T e = sink.encoder();
    std::vector<size_t> ends;
    for (const Field &f : fields) {
        ASSERT_EQ(f.put(&e), sOKAY);
        ends.push_back(sink.bytes.size());
    }
    // Whole: each field ends exactly where its bytes end.
    BufferSource whole(sink.bytes);
    for (size_t i = 0; i < fields.size(); ++i) {
        ASSERT_EQ(fields[i].get(&whole.d, true), sOKAY) << "field " << i;
        EXPECT_EQ(whole.buffer.pos, ends[i]) << "field " << i;
    }
    // Every prefix: the fields before the cut read, the cut one gives eEOD,
    // and the source is never asked past its end.
    for (size_t n = 0; n < sink.bytes.size(); ++n) {
        TestSource src(Bytes(sink.bytes.begin(), sink.bytes.begin() + n));
        B_DECODER_T d = src.decoder();
        size_t i = 0;
        while (ends[i] <= n) ASSERT_EQ(fields[i++].get(&d, false), sOKAY);
        EXPECT_EQ(fields[i].get(&d, false), eEOD) << "prefix " << n;
        EXPECT_EQ(src.pos, n);
    }
}

// A status from the source stops every reader too; a byte no form begins
// with is refused after one byte (floats and doubles are raw bytes: any byte
// is theirs).
TEST(DecoderStream, SourceStatusAndInvalidFirstByteInEveryReader) {
    for (const Field &f : mixedStream()) {
        TestSink sink;
        B_ENCODER_T e = sink.encoder();
        ASSERT_EQ(f.put(&e), sOKAY);
        TestSource src(Bytes(sink.bytes.begin(), sink.bytes.end() - 1));
        src.endCode = sEOF;  // a status, not an error: still no byte
        B_DECODER_T d = src.decoder();
        EXPECT_EQ(f.get(&d, false), sEOF);
        BufferSource bad({0xFB, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00});
        const ZEL_RETCODE rc = f.get(&bad.d, false);
        if (rc != sOKAY) {
            EXPECT_EQ(rc, eINVVARINT);
            EXPECT_EQ(bad.buffer.pos, 1u);
        }
    }
}

TEST(DecoderBytes, SeekPlainAndBulk) {
    BufferSource src({1, 2, 3, 4});
    uint8_t out[4] = {};
    EXPECT_EQ(b_decoderSeek(&src.d, 5), eEOD);
    EXPECT_EQ(b_decoderSeek(&src.d, 4), sOKAY);
    EXPECT_EQ(b_decoderDecodeBytes(&src.d, out, 0), sOKAY);
    EXPECT_EQ(b_decoderDecodeBytes(&src.d, out, 1), eEOD);
    EXPECT_EQ(b_decoderSeek(&src.d, 1), sOKAY);
    EXPECT_EQ(b_decoderDecodeBytes(&src.d, out, 2), sOKAY);
    EXPECT_EQ(coder_hex(Bytes(out, out + 2)), "0203");
    size_t got = 0;
    EXPECT_EQ(b_decoderDecodeBytesBulk(&src.d, 1, out, &got), sOKAY);
    EXPECT_EQ(got, 1u);
    EXPECT_EQ(out[0], 4);
    B_DECODER_T plain = src.d;
    plain.bulk_fcn = nullptr;
    EXPECT_EQ(b_decoderDecodeBytesBulk(&plain, 1, out, nullptr), eNOTIMPLEMENTED);
    EXPECT_EQ(b_decoderGetCtx(&src.d), &src.buffer);
    b_decoderTerm(&plain);
    EXPECT_TRUE(plain.fcn == nullptr && plain.ctx == nullptr);
}

using DecoderAlloc = TaggedTest;

TEST_F(DecoderAlloc, StringsTakeTheirMemoryFromTheTagAndGiveItBack) {
    BufferSource src(cat({varint(3), {'a', 'b', 'c'}, varint(0)}));
    char *s = nullptr;
    size_t len = 0;
    ASSERT_EQ(b_decoderDecodeString(&src.d, &s, &len, sub), sOKAY);
    EXPECT_STREQ(s, "abc");
    EXPECT_EQ(len, 4u);
    b_tag_subFree(sub, s);
    ASSERT_EQ(b_decoderDecodeString(&src.d, &s, nullptr, sub), sOKAY);  // the empty string
    EXPECT_STREQ(s, "");
    b_tag_subFree(sub, s);

    // Cut inside the bytes: eEOD and the allocation freed (TearDown checks).
    BufferSource cut(cat({varint(5), {'a', 'b'}}));
    s = nullptr;
    EXPECT_EQ(b_decoderDecodeString(&cut.d, &s, &len, sub), eEOD);
    EXPECT_EQ(s, nullptr);
    // A length no tag can give.
    BufferSource huge(varint(UINT64_MAX));
    EXPECT_EQ(b_decoderDecodeString(&huge.d, &s, &len, sub), eNOMEMORY);
#if !DECODER_TEST_ASAN  // AddressSanitizer aborts on such a request
    BufferSource half(varint(uint64_t{1} << 62));
    EXPECT_EQ(b_decoderDecodeString(&half.d, &s, &len, sub), eNOMEMORY);
#endif
    EXPECT_EQ(s, nullptr);
}

TEST(DecoderString, IntoTheCallersBufferOnlyWhenItFits) {
    char text[4];
    size_t len = 3;  // no room for the terminator
    BufferSource small(cat({varint(3), {'x', 'y', 'z'}}));
    EXPECT_EQ(b_decoderDecodeStringToBuff(&small.d, text, &len), eDBCORRUPTED);
    EXPECT_EQ(len, 3u);
    EXPECT_EQ(small.buffer.pos, 1u);  // only the length was read
}

// The bytes of one allocating form, what it must hand out to `pv`, and the
// call.
struct AllocCase {
    Bytes bytes;
    std::string want;
    std::function<ZEL_RETCODE(const B_DECODER_T *, void **, B_TAG_SUB)> decode;
};

template <class T, ZEL_RETCODE (*Enc)(const B_ENCODER_T *, size_t, const T *),
          ZEL_RETCODE (*Dec)(const B_DECODER_T *, size_t, T **, B_TAG_SUB)>
AllocCase arrayCase() {
    using L = std::numeric_limits<T>;
    const T v[3] = {L::lowest(), T(0), L::max()};
    TestSink sink;
    B_ENCODER_T e = sink.encoder();
    EXPECT_EQ(Enc(&e, 3, v), sOKAY);
    return {sink.bytes, std::string(reinterpret_cast<const char *>(v), sizeof v),
            [](const B_DECODER_T *d, void **pv, B_TAG_SUB sub) {
                return Dec(d, 3, reinterpret_cast<T **>(pv), sub);
            }};
}

// The string and every array type round trip through the allocating forms; a
// failed allocation gives eNOMEMORY with nothing handed out or kept.
TEST_F(DecoderAlloc, EveryAllocatingFormUnderFailingAllocations) {
    const AllocCase cases[] = {
        {cat({varint(600), Bytes(600, 'q')}), std::string(600, 'q') + '\0',
         [](const B_DECODER_T *d, void **pv, B_TAG_SUB sub) {
             return b_decoderDecodeString(d, reinterpret_cast<char **>(pv), nullptr, sub);
         }},
        arrayCase<uint8_t, b_encoderEncodeUint8Array, b_decoderDecodeUint8Array>(),
        arrayCase<uint16_t, b_encoderEncodeUint16Array, b_decoderDecodeUint16Array>(),
        arrayCase<uint32_t, b_encoderEncodeUint32Array, b_decoderDecodeUint32Array>(),
        arrayCase<uint64_t, b_encoderEncodeUint64Array, b_decoderDecodeUint64Array>(),
        arrayCase<int8_t, b_encoderEncodeInt8Array, b_decoderDecodeInt8Array>(),
        arrayCase<int16_t, b_encoderEncodeInt16Array, b_decoderDecodeInt16Array>(),
        arrayCase<int32_t, b_encoderEncodeInt32Array, b_decoderDecodeInt32Array>(),
        arrayCase<int64_t, b_encoderEncodeInt64Array, b_decoderDecodeInt64Array>(),
        arrayCase<float, b_encoderEncodeFloatArray, b_decoderDecodeFloatArray>(),
        arrayCase<double, b_encoderEncodeDoubleArray, b_decoderDecodeDoubleArray>()};
    for (const auto &[bytes, want, decode] : cases) {
        auto run = [&, &bytes = bytes, &want = want, decode = decode] {
            BufferSource src(bytes);
            void *p = nullptr;
            const ZEL_RETCODE rc = decode(&src.d, &p, sub);
            if (rc != sOKAY) {
                EXPECT_EQ(p, nullptr);
                return rc;
            }
            EXPECT_EQ(std::string(static_cast<const char *>(p), want.size()), want);
            b_tag_subFree(sub, p);
            return rc;
        };
        EXPECT_EQ(oom_check(master, {sub}, run), 1);
    }
}

using DecoderArray = TaggedTest;

TEST_F(DecoderArray, GroupsAndSkippedPositions) {
    // groups 2: {card 2, nulls 1: 5 6}, {card 1, nulls 0: 7} -> 5 6 _ 7
    const Bytes two = {0x02, 0x02, 0x01, 0x0A, 0x0C, 0x01, 0x00, 0x0E};
    int16_t v[5] = {-9, -9, -9, -9, -9};
    BufferSource src(two);
    ASSERT_EQ(b_decoderDecodeInt16ArrayBuffer(&src.d, 5, v), sOKAY);
    EXPECT_EQ(std::vector<int16_t>(v, v + 5), (std::vector<int16_t>{5, 6, -9, 7, -9}));
    // groups 0: nothing more read, the array untouched.
    BufferSource none({0x00});
    ASSERT_EQ(b_decoderDecodeInt16ArrayBuffer(&none.d, 5, v), sOKAY);
    EXPECT_EQ(v[0], 5);
    // num_nulls past the end, then an empty group: still nothing written.
    BufferSource far(
        {0x02, 0x00, 0xFA, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00});
    EXPECT_EQ(b_decoderDecodeInt16ArrayBuffer(&far.d, 5, v), sOKAY);
}

TEST_F(DecoderArray, CountsPastTheArrayAreRefusedBeforeAnyWrite) {
    uint32_t v[3] = {1, 1, 1};  // v[2] stands for the memory past the array
    // groups 1, cardinality 3 into size 2
    BufferSource more({0x01, 0x03, 0x00, 0x05, 0x05, 0x05});
    EXPECT_EQ(b_decoderDecodeUint32ArrayBuffer(&more.d, 2, v), eDBCORRUPTED);
    EXPECT_EQ(v[0], 1u);
    EXPECT_EQ(v[2], 1u);
    // groups 2: skip 2, then 1 value at position 2 of size 2
    BufferSource skip({0x02, 0x00, 0x02, 0x01, 0x00, 0x05});
    EXPECT_EQ(b_decoderDecodeUint32ArrayBuffer(&skip.d, 2, v), eDBCORRUPTED);
    EXPECT_EQ(v[2], 1u);
    // A value too wide for the element and a cut stream: the allocating form
    // frees its array (TearDown checks the tag).
    uint8_t *a = nullptr;
    BufferSource wide(cat({{0x01, 0x01, 0x00}, varint(256)}));
    EXPECT_EQ(b_decoderDecodeUint8Array(&wide.d, 1, &a, sub), eDBCORRUPTED);
    int64_t *b = nullptr;
    BufferSource cut({0x01, 0x02, 0x00, 0x02});
    EXPECT_EQ(b_decoderDecodeInt64Array(&cut.d, 2, &b, sub), eEOD);
    TestSource status({0x01, 0x02, 0x00, 0x02});
    status.endCode = sEOF;
    B_DECODER_T sd = status.decoder();
    EXPECT_EQ(b_decoderDecodeInt64Array(&sd, 2, &b, sub), sEOF);
    float *f = nullptr;
    BufferSource bad({0xFC});
    EXPECT_EQ(b_decoderDecodeFloatArray(&bad.d, 2, &f, sub), eINVVARINT);
    EXPECT_TRUE(a == nullptr && b == nullptr && f == nullptr);
    EXPECT_EQ(
        b_decoderDecodeDoubleArray(&bad.d, SIZE_MAX / 4, reinterpret_cast<double **>(&f), sub),
        eNOMEMORY);
}

}  // namespace

// A B_BUFFER_T source read through b_bufferInputByte gives whole values
// from memory: the same values, codes and read positions as one call per
// byte, for every cut of a stream of every form.
TEST(DecoderBufferFastPath, SameAsTheByteCalls) {
    const Bytes stream = coder_unhex(
        "7f8000bfffc00000e7010203ef01020304f70102030405f8010203040506f901020304050607fa0102030405"
        "060708fb");
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        const Bytes in(stream.begin(), stream.begin() + cut);
        TestSource slow(in);
        B_DECODER_T sd = slow.decoder();
        Bytes copy = in;
        B_BUFFER_T b;
        b_bufferInitStatic(&b, copy.data(), copy.size(), copy.size());
        B_DECODER_T fd;
        b_decoderInit(&fd, b_bufferInputByte, nullptr, &b, nullptr);
        for (;;) {
            uint64_t sv = 1, fv = 1;
            const ZEL_RETCODE src = b_decoderDecodeUint64(&sd, &sv);
            const ZEL_RETCODE frc = b_decoderDecodeUint64(&fd, &fv);
            ASSERT_EQ(frc, src) << cut;
            ASSERT_EQ(fv, sv) << cut;
            ASSERT_EQ(b.pos, slow.pos) << cut;
            if (src != sOKAY) break;
        }
    }
    uint8_t raw[] = {1, 2, 3};
    B_BUFFER_T b;
    b_bufferInitStatic(&b, raw, sizeof raw, sizeof raw);
    B_DECODER_T fd;
    b_decoderInit(&fd, b_bufferInputByte, nullptr, &b, nullptr);
    uint8_t out[4] = {9, 9, 9, 9};
    EXPECT_EQ(b_decoderDecodeBytes(&fd, out, 4), eEOD);  // the byte way: 3 bytes, then eEOD
    EXPECT_EQ(coder_hex(Bytes(out, out + 4)), "01020309");
}
