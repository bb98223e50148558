// Encoder: the stored bytes of every element type, floats and doubles
// against Python's struct.pack('>f') and ('>d') (good-varint-float.txt), the
// string and group layouts, the bulk path and failures of the sink.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "buffer.h"
#include "coder_bytes.h"
#include "encoder.h"
#include "vectors.h"

namespace {

using Op = std::function<ZEL_RETCODE(const B_ENCODER_T *)>;

Bytes run(const Op &op) {
    TestSink sink;
    B_ENCODER_T e = sink.encoder();
    EXPECT_EQ(op(&e), sOKAY);
    return sink.bytes;
}

struct Case {
    const char *what;
    Op op;
    Bytes bytes;
};

// One call of an array encoder over `v`.
template <class T>
Op arr(ZEL_RETCODE (*f)(const B_ENCODER_T *, size_t, const T *), std::vector<T> v) {
    return [f, v](auto e) { return f(e, v.size(), v.data()); };
}

// Each vector's derivation: varint of the value, or of the signed mapping
// (v >= 0: 2v; v < 0: -2v - 1), forms and biases as in vint_test.cpp. An
// array is its group count 1, cardinality, num_nulls 0, then the elements.
// clang-format off
const Case kCases[] = {
    // 200 > 0x7F: 2-byte form, 200 - 0x80 = 0x48
    {"uint8 200", [](auto e) { return b_encoderEncodeUint8(e, 200); }, {0x80, 0x48}},
    {"uint8 127", [](auto e) { return b_encoderEncodeUint8(e, 127); }, {0x7F}},
    // 0xFFFF - 0x4080 = 0xBF7F: 3-byte form, high bits 0
    {"uint16 max", [](auto e) { return b_encoderEncodeUint16(e, 0xFFFF); }, {0xC0, 0xBF, 0x7F}},
    // 0xFFFFFFFF - 0x8204080 = 0xF7DFBF7F: 5-byte form
    {"uint32 max", [](auto e) { return b_encoderEncodeUint32(e, 0xFFFFFFFF); },
     {0xE8, 0xF7, 0xDF, 0xBF, 0x7F}},
    {"uint64 max", [](auto e) { return b_encoderEncodeUint64(e, UINT64_MAX); },
     {0xFA, 0xFE, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x7F}},
    {"slot 0", [](auto e) { return b_encoderEncodeSlot(e, 0); }, {0x00}},
    {"int8 -1", [](auto e) { return b_encoderEncodeInt8(e, -1); }, {0x01}},
    {"int8 1", [](auto e) { return b_encoderEncodeInt8(e, 1); }, {0x02}},
    // -128 -> 255 - 0x80 = 0x7F
    {"int8 min", [](auto e) { return b_encoderEncodeInt8(e, -128); }, {0x80, 0x7F}},
    // -300 -> 599 - 0x80 = 0x1D7 -> 0x80|0x01, 0xD7
    {"int16 -300", [](auto e) { return b_encoderEncodeInt16(e, -300); }, {0x81, 0xD7}},
    // INT32_MIN -> 0xFFFFFFFF, as uint32 max above
    {"int32 min", [](auto e) { return b_encoderEncodeInt32(e, INT32_MIN); },
     {0xE8, 0xF7, 0xDF, 0xBF, 0x7F}},
    // INT64_MAX -> 0xFFFFFFFFFFFFFFFE: payload one less than for 2^64 - 1
    {"int64 max", [](auto e) { return b_encoderEncodeInt64(e, INT64_MAX); },
     {0xFA, 0xFE, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x7E}},
    {"empty string", [](auto e) { return b_encoderEncodeString(e, ""); }, {0x00}},
    {"string abc", [](auto e) { return b_encoderEncodeString(e, "abc"); }, {0x03, 'a', 'b', 'c'}},
    {"uint8 array", arr<uint8_t>(b_encoderEncodeUint8Array, {1, 200}),
     {0x01, 0x02, 0x00, 0x01, 0x80, 0x48}},
    {"empty array", arr<int64_t>(b_encoderEncodeInt64Array, {}), {0x01, 0x00, 0x00}},
    {"int32 array", arr<int32_t>(b_encoderEncodeInt32Array, {-1, 1, -2}),
     {0x01, 0x03, 0x00, 0x01, 0x02, 0x03}},
    // 1.0 is 0x3FF0000000000000, -2.0f is 0xC0000000
    {"double array", arr<double>(b_encoderEncodeDoubleArray, {1.0}),
     {0x01, 0x01, 0x00, 0x3F, 0xF0, 0, 0, 0, 0, 0, 0}},
    {"float array", arr<float>(b_encoderEncodeFloatArray, {-2.0f}),
     {0x01, 0x01, 0x00, 0xC0, 0x00, 0x00, 0x00}},
    {"uint16 array", arr<uint16_t>(b_encoderEncodeUint16Array, {0x80}),
     {0x01, 0x01, 0x00, 0x80, 0x00}},
    {"uint32 array", arr<uint32_t>(b_encoderEncodeUint32Array, {5}), {0x01, 0x01, 0x00, 0x05}},
    {"uint64 array", arr<uint64_t>(b_encoderEncodeUint64Array, {0x4080}),
     {0x01, 0x01, 0x00, 0xC0, 0x00, 0x00}},
    // -64 -> 127; 64 -> 128 -> 0x80 0x00
    {"int8 array", arr<int8_t>(b_encoderEncodeInt8Array, {-64}), {0x01, 0x01, 0x00, 0x7F}},
    {"int16 array", arr<int16_t>(b_encoderEncodeInt16Array, {64}),
     {0x01, 0x01, 0x00, 0x80, 0x00}},
};
// clang-format on

TEST(EncoderStoredBytes, EveryElementType) {
    for (const Case &c : kCases) EXPECT_EQ(coder_hex(run(c.op)), coder_hex(c.bytes)) << c.what;
}

TEST(EncoderStoredBytes, FloatsAndDoublesAreBigEndianIeee) {
    const auto rows = vectors_read("good-varint-float.txt");
    for (const VectorRow &row : rows) {
        const std::string &kind = row[0], &text = row[1], &hex = row[2];
        const double v = text == "nan" ? std::nan("") : std::strtod(text.c_str(), nullptr);
        const Bytes got =
            kind == "f"
                ? run([&](auto e) { return b_encoderEncodeFloat(e, static_cast<float>(v)); })
                : run([&](auto e) { return b_encoderEncodeDouble(e, v); });
        EXPECT_EQ(coder_hex(got), hex) << text;
    }
    EXPECT_GE(rows.size(), 60u);
}

TEST(EncoderFailure, EveryOperationStopsAtTheRefusedByte) {
    for (const Case &c : kCases) {
        for (size_t k = 0; k < c.bytes.size(); ++k) {
            TestSink sink;
            sink.failAt = k;
            B_ENCODER_T e = sink.encoder();
            EXPECT_EQ(c.op(&e), eBADWRITE) << c.what << " byte " << k;
            EXPECT_EQ(sink.bytes, Bytes(c.bytes.begin(), c.bytes.begin() + k)) << c.what;
        }
    }
}

TEST(EncoderBytes, PlainAndBulk) {
    const uint8_t data[] = {9, 8, 7};
    TestSink sink;
    B_ENCODER_T e = sink.encoder();
    EXPECT_EQ(b_encoderEncodeBytes(&e, data, 0), sOKAY);
    EXPECT_EQ(sink.calls, 0u);
    EXPECT_EQ(b_encoderEncodeBytesBulk(&e, data, 3), eNOTIMPLEMENTED);
    EXPECT_TRUE(sink.bytes.empty());
    B_ENCODER_T bulk = sink.encoder(true);
    EXPECT_EQ(b_encoderEncodeBytesBulk(&bulk, data, 3), sOKAY);
    EXPECT_EQ(b_encoderEncodeBytes(&bulk, data, 3), sOKAY);
    EXPECT_EQ(sink.bulkCalls, 1u);
    EXPECT_EQ(sink.calls, 3u);
    EXPECT_EQ(sink.bytes, (Bytes{9, 8, 7, 9, 8, 7}));
}

TEST(EncoderRecord, InitResetTermOverABuffer) {
    uint8_t store[32];
    B_BUFFER_T buffer;
    b_bufferInitStatic(&buffer, store, sizeof store, 0);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &buffer, nullptr);
    EXPECT_EQ(b_encoderGetCtx(&e), &buffer);
    EXPECT_EQ(b_encoderEncodeUint32(&e, 16512), sOKAY);  // 0xC0 0x00 0x00
    EXPECT_EQ(buffer.len, 3u);
    EXPECT_EQ(store[0], 0xC0);
    buffer.pos = 2;
    b_encoderReset(&e);
    EXPECT_EQ(buffer.len, 0u);
    EXPECT_EQ(buffer.pos, 0u);
    b_encoderTerm(&e);
}

}  // namespace

// A B_BUFFER_T sink written through b_bufferEmitByte takes whole values
// straight into its room: the same bytes as one call per byte, at every
// form's edge, and the same partial bytes where a static buffer fills up.
TEST(EncoderBufferFastPath, SameBytesAsTheByteCalls) {
    const uint64_t values[] = {
        0,           0x7F,          0x80,          0x407F,          0x4080,
        0x20407F,    0x204080,      0x820407F,     0x8204080,       0x80820407F,
        0x808204080, 0x8080820407F, 0x80808204080, 0x108080820407F, 0x1080808204080,
        UINT64_MAX};
    for (uint64_t v : values) {
        for (size_t room = 0; room <= 10; ++room) {
            TestSink slow;
            slow.failAt = room;  // refuses the byte a full buffer would
            B_ENCODER_T se = slow.encoder();
            const ZEL_RETCODE slowRc = b_encoderEncodeUint64(&se, v);
            uint8_t mem[16] = {};
            B_BUFFER_T b;
            b_bufferInitStatic(&b, mem, room, 0);
            B_ENCODER_T fe;
            b_encoderInit(&fe, b_bufferEmitByte, nullptr, &b, nullptr);
            const ZEL_RETCODE fastRc = b_encoderEncodeUint64(&fe, v);
            EXPECT_EQ(fastRc == sOKAY, slowRc == sOKAY) << v << " room " << room;
            EXPECT_EQ(coder_hex(Bytes(mem, mem + b.len)), coder_hex(slow.bytes)) << v;
        }
    }
    // Raw runs (doubles, strings) likewise.
    uint8_t mem[32];
    B_BUFFER_T b;
    b_bufferInitStatic(&b, mem, sizeof mem, 0);
    B_ENCODER_T fe;
    b_encoderInit(&fe, b_bufferEmitByte, nullptr, &b, nullptr);
    ASSERT_EQ(b_encoderEncodeDouble(&fe, 1.0), sOKAY);
    ASSERT_EQ(b_encoderEncodeString(&fe, "abc"), sOKAY);
    EXPECT_EQ(coder_hex(Bytes(mem, mem + b.len)), "3ff000000000000003616263");
}
