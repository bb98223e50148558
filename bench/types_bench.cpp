// A mixed row of ten typed values (int8, int16, int32, int64, uint32, float,
// double, date, timestamp, a 12-byte text) packed and unpacked through the
// type descriptors, one indirect call per column into a byte-at-a-time
// encoder over a buffer, against what a user would write instead: a memcpy of
// the values' native bytes, and a hand-written varint loop straight into a
// byte array. The gap is the cost of the portable, order-keeping form and of
// one indirect call per column (and per byte under it).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "buffer.h"
#include "encoder.h"
#include "types.h"

namespace {

constexpr int kCols = 10;

struct Row {
    SCH_TYPE_INFO_T pi[kCols];
    ZEL_VALUE v[kCols];
    uint16_t off[kCols];
    size_t nativeLen = 0;
    uint8_t native[128];
};

SCH_TYPE_INFO_T Col(ZEL_TYPE t, uint16_t length = 0) {
    SCH_TYPE_INFO_T pi{};
    if (b_typeStandaloneColumn(t, 0, length, &pi) != sOKAY) std::abort();
    return pi;
}

const Row &TheRow() {
    static Row r = [] {
        Row row{};
        const ZEL_TYPE types[kCols] = {ZEL_INT8,      ZEL_INT16,  ZEL_INT32,  ZEL_INT64,
                                       ZEL_UINT32,    ZEL_FLOAT,  ZEL_DOUBLE, ZEL_DATE,
                                       ZEL_TIMESTAMP, ZEL_VARCHAR};
        for (int i = 0; i < kCols; ++i) {
            row.pi[i] = Col(types[i], 12);
            row.v[i].status = vsOKAY;
            row.v[i].type = types[i];
        }
        row.v[0].vt.i8v = -5;
        row.v[1].vt.i16v = 1200;
        row.v[2].vt.i32v = -987654;
        row.v[3].vt.i64v = 1234567890123LL;
        row.v[4].vt.u32v = 70000;
        row.v[5].vt.fv = 3.25f;
        row.v[6].vt.dv = -1.0 / 3.0;
        row.v[7].vt.dtv = 738000;
        row.v[8].vt.tsv = {738000, 450000000};
        row.v[9].vt.cv = "twelve chars";
        row.v[9].len = 13;
        // The native row: each value at its aligned offset, the text in place.
        size_t at = 0;
        for (int i = 0; i < kCols; ++i) {
            const size_t w = i == 9 ? 13 : b_typeGetLength(types[i]);
            const size_t a = alignData[row.pi[i].type_info->ext_align];
            at = (at + a - 1) / a * a;
            row.off[i] = static_cast<uint16_t>(at);
            std::memcpy(row.native + at,
                        i == 9 ? static_cast<const void *>(row.v[9].vt.cv)
                               : static_cast<const void *>(&row.v[i].vt),
                        w);
            at += w;
        }
        row.nativeLen = at;
        return row;
    }();
    return r;
}

void BM_DescriptorPack(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t area[256];
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, area, sizeof area, 0);
    const B_ENCODER_T e{b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr};
    for (auto _ : state) {
        b_bufferReset(&buf);
        for (int i = 0; i < kCols; ++i)
            if (r.pi[i].type_info->pack_fcn(&r.pi[i], &r.v[i], &e) != sOKAY)
                state.SkipWithError("pack");
        benchmark::DoNotOptimize(area);
    }
    state.counters["bytes"] = static_cast<double>(buf.len);
}

// The same encoder calls made directly, without the descriptor's indirect
// call per column: the difference to BM_DescriptorPack is that call.
void BM_DirectEncoderPack(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t area[256];
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, area, sizeof area, 0);
    const B_ENCODER_T e{b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr};
    for (auto _ : state) {
        b_bufferReset(&buf);
        int bad = 0;
        bad |= b_encoderEncodeInt8(&e, r.v[0].vt.i8v);
        bad |= b_encoderEncodeInt16(&e, r.v[1].vt.i16v);
        bad |= b_encoderEncodeInt32(&e, r.v[2].vt.i32v);
        bad |= b_encoderEncodeInt64(&e, r.v[3].vt.i64v);
        bad |= b_encoderEncodeUint32(&e, r.v[4].vt.u32v);
        bad |= b_encoderEncodeFloat(&e, r.v[5].vt.fv);
        bad |= b_encoderEncodeDouble(&e, r.v[6].vt.dv);
        bad |= b_encoderEncodeUint32(&e, r.v[7].vt.dtv);
        bad |= b_encoderEncodeUint32(&e, r.v[8].vt.tsv.date);
        bad |= b_encoderEncodeUint32(&e, r.v[8].vt.tsv.time);
        bad |= b_encoderEncodeString(&e, r.v[9].vt.cv);
        if (bad != 0) state.SkipWithError("pack");
        benchmark::DoNotOptimize(area);
    }
    state.counters["bytes"] = static_cast<double>(buf.len);
}

void BM_DescriptorUnpackToRow(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t area[256];
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, area, sizeof area, 0);
    const B_ENCODER_T e{b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr};
    for (int i = 0; i < kCols; ++i)
        if (r.pi[i].type_info->pack_fcn(&r.pi[i], &r.v[i], &e) != sOKAY)
            state.SkipWithError("pack");
    const B_DECODER_T d{b_bufferInputByte, b_bufferInputBytesBulk, &buf, nullptr};
    uint8_t row[128] = {};
    uint8_t has = 0;
    for (auto _ : state) {
        buf.pos = 0;
        for (int i = 0; i < kCols; ++i)
            if (r.pi[i].type_info->unpack_to_buff_fcn(&r.pi[i], row + r.off[i], &has, &d) != sOKAY)
                state.SkipWithError("unpack");
        benchmark::DoNotOptimize(row);
    }
    if (std::memcmp(row, r.native, r.nativeLen) != 0) state.SkipWithError("row differs");
}

void BM_MemcpyPack(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t area[256];
    for (auto _ : state) {
        std::memcpy(area, r.native, r.nativeLen);
        benchmark::DoNotOptimize(area);
        benchmark::ClobberMemory();
    }
}

void BM_MemcpyUnpack(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t row[128] = {};
    for (auto _ : state) {
        std::memcpy(row, r.native, r.nativeLen);
        benchmark::DoNotOptimize(row);
        benchmark::ClobberMemory();
    }
}

// The hand-written peer: LEB128 varints, zigzag for signed numbers, raw
// floats, a length-prefixed text, straight into and out of a byte array.
inline uint8_t *PutVar(uint8_t *p, uint64_t v) {
    while (v >= 0x80) {
        *p++ = static_cast<uint8_t>(v | 0x80);
        v >>= 7;
    }
    *p++ = static_cast<uint8_t>(v);
    return p;
}
inline uint8_t *PutSVar(uint8_t *p, int64_t v) {
    return PutVar(p, (static_cast<uint64_t>(v) << 1) ^ static_cast<uint64_t>(v >> 63));
}
inline const uint8_t *GetVar(const uint8_t *p, uint64_t *v) {
    uint64_t x = 0;
    for (int s = 0;; s += 7) {
        const uint8_t b = *p++;
        x |= static_cast<uint64_t>(b & 0x7F) << s;
        if (b < 0x80) break;
    }
    *v = x;
    return p;
}
inline const uint8_t *GetSVar(const uint8_t *p, int64_t *v) {
    uint64_t u = 0;
    p = GetVar(p, &u);
    *v = static_cast<int64_t>((u >> 1) ^ (~(u & 1) + 1));
    return p;
}

size_t HandPack(const Row &r, uint8_t *out) {
    uint8_t *p = out;
    p = PutSVar(p, r.v[0].vt.i8v);
    p = PutSVar(p, r.v[1].vt.i16v);
    p = PutSVar(p, r.v[2].vt.i32v);
    p = PutSVar(p, r.v[3].vt.i64v);
    p = PutVar(p, r.v[4].vt.u32v);
    std::memcpy(p, &r.v[5].vt.fv, 4);
    p += 4;
    std::memcpy(p, &r.v[6].vt.dv, 8);
    p += 8;
    p = PutVar(p, r.v[7].vt.dtv);
    p = PutVar(p, r.v[8].vt.tsv.date);
    p = PutVar(p, r.v[8].vt.tsv.time);
    const size_t n = std::strlen(r.v[9].vt.cv);
    p = PutVar(p, n);
    std::memcpy(p, r.v[9].vt.cv, n);
    return static_cast<size_t>(p + n - out);
}

void BM_HandVarintPack(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t area[256];
    size_t n = 0;
    for (auto _ : state) {
        n = HandPack(r, area);
        benchmark::DoNotOptimize(area);
    }
    state.counters["bytes"] = static_cast<double>(n);
}

void BM_HandVarintUnpack(benchmark::State &state) {
    const Row &r = TheRow();
    uint8_t area[256];
    HandPack(r, area);
    uint8_t row[128] = {};
    for (auto _ : state) {
        const uint8_t *p = area;
        int64_t s = 0;
        uint64_t u = 0;
        p = GetSVar(p, &s);
        row[r.off[0]] = static_cast<uint8_t>(s);
        p = GetSVar(p, &s);
        const auto i16 = static_cast<int16_t>(s);
        std::memcpy(row + r.off[1], &i16, 2);
        p = GetSVar(p, &s);
        const auto i32 = static_cast<int32_t>(s);
        std::memcpy(row + r.off[2], &i32, 4);
        p = GetSVar(p, &s);
        std::memcpy(row + r.off[3], &s, 8);
        p = GetVar(p, &u);
        const auto u32 = static_cast<uint32_t>(u);
        std::memcpy(row + r.off[4], &u32, 4);
        std::memcpy(row + r.off[5], p, 4);
        p += 4;
        std::memcpy(row + r.off[6], p, 8);
        p += 8;
        for (int k : {7, 8}) {
            p = GetVar(p, &u);
            const auto w = static_cast<uint32_t>(u);
            std::memcpy(row + r.off[k], &w, 4);
        }
        p = GetVar(p, &u);
        const auto t = static_cast<uint32_t>(u);
        std::memcpy(row + r.off[8] + 4, &t, 4);
        p = GetVar(p, &u);
        std::memcpy(row + r.off[9], p, u);
        row[r.off[9] + u] = 0;
        benchmark::DoNotOptimize(row);
    }
    if (std::memcmp(row, r.native, r.nativeLen) != 0) state.SkipWithError("row differs");
}

BENCHMARK(BM_DescriptorPack);
BENCHMARK(BM_DirectEncoderPack);
BENCHMARK(BM_MemcpyPack);
BENCHMARK(BM_HandVarintPack);
BENCHMARK(BM_DescriptorUnpackToRow);
BENCHMARK(BM_MemcpyUnpack);
BENCHMARK(BM_HandVarintUnpack);

}  // namespace

BENCHMARK_MAIN();
