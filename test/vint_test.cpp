// Variable integers: the stored bytes of each form at both of its ends, the
// decoder on truncated and invalid input, the wrap of the widest form, the
// order of encoded strings, the two tables and the signed mapping checked
// against its definition in 128-bit arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "coder_bytes.h"
#include "vint.h"

namespace {

Bytes encode(uint64_t v) {
    TestSink sink;
    EXPECT_EQ(b_vintEncodeUIntmax(v, TestSink::put, &sink), sOKAY);
    return sink.bytes;
}

struct Vector {
    uint64_t value;
    Bytes bytes;
};

// Each form's first and last value. Payload = value - bias; its high bits go
// in the first byte's low bits, the rest big-endian in the following bytes.
const Vector kBoundaries[] = {
    {0x0, {0x00}},
    {0x7F, {0x7F}},
    // 2 bytes, bias 0x80: 0x80 - 0x80 = 0; 0x407F - 0x80 = 0x3FFF -> 0x80|0x3F, 0xFF
    {0x80, {0x80, 0x00}},
    {0x407F, {0xBF, 0xFF}},
    // 3 bytes, bias 0x4080: 0x20407F - 0x4080 = 0x1FFFFF -> 0xC0|0x1F, FF FF
    {0x4080, {0xC0, 0x00, 0x00}},
    {0x20407F, {0xDF, 0xFF, 0xFF}},
    // 4 bytes, bias 0x204080: 0x820407F - bias = 0x7FFFFFF -> 0xE0|0x07, FF FF FF
    {0x204080, {0xE0, 0x00, 0x00, 0x00}},
    {0x820407F, {0xE7, 0xFF, 0xFF, 0xFF}},
    // 5 bytes, bias 0x8204080: 0x80820407F - bias = 0x7FFFFFFFF -> 0xE8|0x07, FF x4
    {0x8204080, {0xE8, 0x00, 0x00, 0x00, 0x00}},
    {0x80820407F, {0xEF, 0xFF, 0xFF, 0xFF, 0xFF}},
    // 6 bytes, bias 0x808204080: 43 payload bits all set -> 0xF0|0x07, FF x5
    {0x808204080, {0xF0, 0x00, 0x00, 0x00, 0x00, 0x00}},
    {0x8080820407F, {0xF7, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    // 7 bytes, bias 0x80808204080: 0xF8 then 48 payload bits
    {0x80808204080, {0xF8, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
    {0x108080820407F, {0xF8, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    // 8 bytes, bias 0x1080808204080: 0xF9 then 56 payload bits
    {0x1080808204080, {0xF9, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
    {0x10108080820407F, {0xF9, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    // 9 bytes, bias 0x101080808204080: 2^64-1 - bias = 0xFEFEF7F7F7DFBF7F
    {0x101080808204080, {0xFA, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}},
    {UINT64_MAX, {0xFA, 0xFE, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x7F}},
};

// Values inside the forms.
const Vector kInside[] = {
    {300, {0x80, 0xAC}},                           // 300 - 0x80 = 0xAC
    {1000000, {0xCF, 0x01, 0xC0}},                 // 0xF4240 - 0x4080 = 0xF01C0 -> 0xC0|0x0F, 01 C0
    {0xFFFFFFFF, {0xE8, 0xF7, 0xDF, 0xBF, 0x7F}},  // - 0x8204080 = 0xF7DFBF7F
    // 2^63 - 0x101080808204080 = 0x7EFEF7F7F7DFBF80
    {0x8000000000000000, {0xFA, 0x7E, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x80}},
};

TEST(VintStoredBytes, EachFormAtBothEnds) {
    std::vector<Vector> all(std::begin(kBoundaries), std::end(kBoundaries));
    all.insert(all.end(), std::begin(kInside), std::end(kInside));
    for (const Vector &v : all) {
        EXPECT_EQ(coder_hex(encode(v.value)), coder_hex(v.bytes)) << std::hex << v.value;
        TestSource src(v.bytes);
        uintmax_t back = 0;
        ASSERT_EQ(b_vintDecodeUIntmax(TestSource::get, &src, &back), sOKAY);
        EXPECT_EQ(back, v.value);
        EXPECT_EQ(src.pos, v.bytes.size()) << "read past the value";
        // The form's row: its size, and its own functions give the same bytes.
        const B_ENCODE_INFO *row = b_vintGetEncodeInfo(v.value);
        EXPECT_EQ(row->size, v.bytes.size());
        EXPECT_EQ(b_vintGetDecodeInfo(v.bytes[0]), row);
        TestSink sink;
        ASSERT_EQ(row->encode_fcn(v.value, TestSink::put, &sink), sOKAY);
        EXPECT_EQ(sink.bytes, v.bytes);
        TestSource rest(Bytes(v.bytes.begin() + 1, v.bytes.end()));
        ASSERT_EQ(row->decode_fcn(v.bytes[0], TestSource::get, &rest, &back), sOKAY);
        EXPECT_EQ(back, v.value);
    }
}

TEST(VintStoredBytes, EncodedStringsSortAsTheirValues) {
    std::mt19937_64 rng(11);
    std::vector<uint64_t> values;
    for (const Vector &v : kBoundaries) values.push_back(v.value);
    for (int i = 0; i < 2000; ++i) values.push_back(rng() >> (rng() % 64));
    std::sort(values.begin(), values.end());
    for (size_t i = 1; i < values.size(); ++i) {
        if (values[i] == values[i - 1]) continue;
        EXPECT_LT(encode(values[i - 1]), encode(values[i])) << values[i - 1] << " " << values[i];
    }
}

TEST(VintDecode, TruncatedInputGivesTheSourceCodeAndLeavesTheTarget) {
    for (const Vector &v : kBoundaries) {
        for (size_t n = 0; n < v.bytes.size(); ++n) {
            TestSource src(Bytes(v.bytes.begin(), v.bytes.begin() + n));
            uintmax_t back = 0x5A5A;
            EXPECT_EQ(b_vintDecodeUIntmax(TestSource::get, &src, &back), eEOD);
            EXPECT_EQ(back, 0x5A5Au);
            EXPECT_EQ(src.pos, n);
        }
    }
}

TEST(VintDecode, FirstBytesBeyondTheFormsReadNothingMore) {
    for (uint32_t first = 0xFB; first <= 0xFF; ++first) {
        TestSource src({static_cast<uint8_t>(first), 0x00, 0x00});
        uintmax_t back = 7;
        EXPECT_EQ(b_vintDecodeUIntmax(TestSource::get, &src, &back), eINVVARINT);
        EXPECT_EQ(back, 7u);
        EXPECT_EQ(src.pos, 1u);
        EXPECT_EQ(b_vintGetDecodeInfo(first), nullptr);
        EXPECT_EQ(reverse_lookup[first], 9 + (first - 0xFB));
    }
    EXPECT_EQ(b_vintGetDecodeInfo(0x100), nullptr);
}

TEST(VintDecode, WidestFormWrapsSilently) {
    // Payload 0xFF..FF + bias 0x101080808204080 = 0x10108080820407F mod 2^64,
    // the last value of the 8-byte form, which is how it then encodes.
    TestSource src({0xFA, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
    uintmax_t back = 0;
    ASSERT_EQ(b_vintDecodeUIntmax(TestSource::get, &src, &back), sOKAY);
    EXPECT_EQ(back, 0x10108080820407Fu);
    EXPECT_EQ(encode(back).size(), 8u);
}

TEST(VintDecode, NarrowReadsCheckTheWholeValue) {
    TestSource ok(encode(0xFFFFFFFF));
    uint32_t v32 = 1;
    EXPECT_EQ(b_vintDecodeUInt32(TestSource::get, &ok, &v32), sOKAY);
    EXPECT_EQ(v32, 0xFFFFFFFFu);
    TestSource big(encode(0x100000000));
    v32 = 1;
    EXPECT_EQ(b_vintDecodeUInt32(TestSource::get, &big, &v32), eRANGE);
    EXPECT_EQ(v32, 1u);
    EXPECT_EQ(big.pos, big.bytes.size());  // the value is consumed whole
    TestSource sz(encode(UINT64_MAX));
    size_t s = 0;
    EXPECT_EQ(b_vintDecodeSize_t(TestSource::get, &sz, &s), sOKAY);
    EXPECT_EQ(s, SIZE_MAX);
}

TEST(VintEncode, StopsAtTheFirstRefusedByte) {
    const Bytes full = encode(UINT64_MAX);
    for (size_t k = 0; k < full.size(); ++k) {
        TestSink sink;
        sink.failAt = k;
        EXPECT_EQ(b_vintEncodeUIntmax(UINT64_MAX, TestSink::put, &sink), eBADWRITE);
        EXPECT_EQ(sink.bytes, Bytes(full.begin(), full.begin() + k));
        EXPECT_EQ(sink.calls, k + 1);
    }
}

TEST(VintTables, RowsAndReverseLookup) {
    // Row of each first byte: 0x00-0x7F, 0x80-0xBF, 0xC0-0xDF, then by eights.
    const std::pair<uint32_t, uint32_t> spans[] = {
        {0x00, 0}, {0x7F, 0}, {0x80, 1}, {0xBF, 1}, {0xC0, 2}, {0xDF, 2}, {0xE0, 3}, {0xE7, 3},
        {0xE8, 4}, {0xEF, 4}, {0xF0, 5}, {0xF7, 5}, {0xF8, 6}, {0xF9, 7}, {0xFA, 8}};
    for (auto [byte, row] : spans) {
        EXPECT_EQ(reverse_lookup[byte], row) << std::hex << byte;
        EXPECT_EQ(b_vintGetDecodeInfo(byte), &b_encoder_fcns[row]);
    }
}

// v >= 0 maps to 2v, v < 0 to -2v - 1 (the complement of 2v, which is odd).
unsigned __int128 mapDefinition(int64_t v) {
    const __int128 w = v;
    return static_cast<unsigned __int128>(w >= 0 ? 2 * w : -2 * w - 1);
}

TEST(VintSignedMapping, AgreesWithItsDefinition) {
    std::mt19937_64 rng(5);
    std::vector<int64_t> values = {
        0, 1, -1, 2, -2, 63, -64, 64, INT32_MAX, INT32_MIN, INT64_MAX, INT64_MIN, INT64_MIN + 1};
    for (int i = 0; i < 1000; ++i) values.push_back(static_cast<int64_t>(rng() >> (rng() % 64)));
    for (int64_t v : values) {
        const uintmax_t u = b_vintConvertToUnsigned(v);
        EXPECT_EQ(static_cast<unsigned __int128>(u), mapDefinition(v)) << v;
        EXPECT_EQ(b_vintConvertToSigned(u), v);
    }
}

}  // namespace
