// Rows of ten typed values (int8, int16, int32, int64, uint32, float,
// double, date, timestamp, a text of up to 12 bytes) packed and unpacked
// through the type descriptors, one indirect call per column into an encoder
// over a buffer, against what a user would write instead: a memcpy of the
// values' native bytes, and a hand-written varint loop straight into a byte
// array. The argument is the number of distinct rows (1k to 1M, values of
// random magnitude) that one pass packs into one stream or unpacks from it;
// times are per row. The gap is the cost of the portable, order-keeping form
// and of one indirect call per column.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "types.h"

namespace {

constexpr int kCols = 10;
constexpr size_t kRowBytes = 96;  // the native row, padded

struct Rows {
    SCH_TYPE_INFO_T pi[kCols];
    uint16_t off[kCols];
    size_t nativeLen = 0;
    std::vector<ZEL_VALUE> v;         // kCols per row
    std::vector<char> text;           // 13 bytes per row
    std::vector<uint8_t> native;      // kRowBytes per row
    std::vector<uint8_t> packed;      // the library's stream of all rows
    std::vector<uint8_t> handPacked;  // the hand-written one
};

SCH_TYPE_INFO_T Col(ZEL_TYPE t, uint16_t length = 0) {
    SCH_TYPE_INFO_T pi{};
    if (b_typeStandaloneColumn(t, 0, length, &pi) != sOKAY) std::abort();
    return pi;
}

// A number of `bits` random bits at most, the width itself random.
uint64_t Magnitude(std::mt19937_64 &rng, int bits) {
    const int w = 1 + static_cast<int>(rng() % static_cast<uint64_t>(bits));
    return w >= 64 ? rng() : rng() & ((uint64_t{1} << w) - 1);
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

uint8_t *HandPack(const ZEL_VALUE *v, uint8_t *p) {
    p = PutSVar(p, v[0].vt.i8v);
    p = PutSVar(p, v[1].vt.i16v);
    p = PutSVar(p, v[2].vt.i32v);
    p = PutSVar(p, v[3].vt.i64v);
    p = PutVar(p, v[4].vt.u32v);
    std::memcpy(p, &v[5].vt.fv, 4);
    p += 4;
    std::memcpy(p, &v[6].vt.dv, 8);
    p += 8;
    p = PutVar(p, v[7].vt.dtv);
    p = PutVar(p, v[8].vt.tsv.date);
    p = PutVar(p, v[8].vt.tsv.time);
    const size_t n = std::strlen(v[9].vt.cv);
    p = PutVar(p, n);
    std::memcpy(p, v[9].vt.cv, n);
    return p + n;
}

const uint8_t *HandUnpack(const Rows &r, const uint8_t *p, uint8_t *row) {
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
    return p + u;
}

Rows MakeRows(size_t n) {
    Rows r;
    const ZEL_TYPE types[kCols] = {ZEL_INT8,  ZEL_INT16,  ZEL_INT32, ZEL_INT64,     ZEL_UINT32,
                                   ZEL_FLOAT, ZEL_DOUBLE, ZEL_DATE,  ZEL_TIMESTAMP, ZEL_VARCHAR};
    for (int i = 0; i < kCols; ++i) r.pi[i] = Col(types[i], 12);
    size_t at = 0;
    for (int i = 0; i < kCols; ++i) {
        const size_t w = i == 9 ? 13 : b_typeGetLength(types[i]);
        const size_t a = alignData[r.pi[i].type_info->ext_align];
        at = (at + a - 1) / a * a;
        r.off[i] = static_cast<uint16_t>(at);
        at += w;
    }
    r.nativeLen = at;
    r.v.resize(n * kCols);
    r.text.assign(n * 13, 0);
    r.native.assign(n * kRowBytes, 0);
    std::mt19937_64 rng(5);
    for (size_t k = 0; k < n; ++k) {
        ZEL_VALUE *v = &r.v[k * kCols];
        for (int i = 0; i < kCols; ++i) {
            v[i].status = vsOKAY;
            v[i].type = types[i];
        }
        const auto sign = [&](uint64_t m) {
            return rng() & 1 ? -static_cast<int64_t>(m) : static_cast<int64_t>(m);
        };
        v[0].vt.i8v = static_cast<int8_t>(sign(Magnitude(rng, 7)));
        v[1].vt.i16v = static_cast<int16_t>(sign(Magnitude(rng, 15)));
        v[2].vt.i32v = static_cast<int32_t>(sign(Magnitude(rng, 31)));
        v[3].vt.i64v = sign(Magnitude(rng, 62));
        v[4].vt.u32v = static_cast<uint32_t>(Magnitude(rng, 32));
        v[5].vt.fv = static_cast<float>(sign(Magnitude(rng, 20))) / 64.0f;
        v[6].vt.dv = static_cast<double>(sign(Magnitude(rng, 50))) / 1000.0;
        v[7].vt.dtv = 700000 + static_cast<uint32_t>(rng() % 40000);
        v[8].vt.tsv = {700000 + static_cast<uint32_t>(rng() % 40000),
                       static_cast<uint32_t>(rng() % 864000000)};
        char *t = &r.text[k * 13];
        const size_t len = rng() % 13;
        for (size_t c = 0; c < len; ++c) t[c] = static_cast<char>('a' + rng() % 26);
        v[9].vt.cv = t;
        v[9].len = static_cast<uint32_t>(len + 1);
        uint8_t *row = &r.native[k * kRowBytes];
        for (int i = 0; i < kCols; ++i) {
            const size_t w = i == 9 ? len + 1 : b_typeGetLength(types[i]);
            std::memcpy(row + r.off[i],
                        i == 9 ? static_cast<const void *>(t) : static_cast<const void *>(&v[i].vt),
                        w);
        }
    }
    // Both streams, for the unpack benchmarks.
    r.packed.assign(n * 80 + 64, 0);
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, r.packed.data(), r.packed.size(), 0);
    const B_ENCODER_T e{b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr};
    for (size_t k = 0; k < n; ++k)
        for (int i = 0; i < kCols; ++i)
            if (r.pi[i].type_info->pack_fcn(&r.pi[i], &r.v[k * kCols + i], &e) != sOKAY)
                std::abort();
    r.packed.resize(buf.len);
    r.handPacked.assign(n * 80 + 64, 0);
    uint8_t *p = r.handPacked.data();
    for (size_t k = 0; k < n; ++k) p = HandPack(&r.v[k * kCols], p);
    r.handPacked.resize(static_cast<size_t>(p - r.handPacked.data()));
    return r;
}

// The row area holds the last row (bytes past its text's terminator are left
// from earlier rows).
bool LastRowIs(const Rows &r, size_t n, const uint8_t *row) {
    const uint8_t *want = &r.native[(n - 1) * kRowBytes];
    const size_t len = r.off[9] + std::strlen(reinterpret_cast<const char *>(want + r.off[9])) + 1;
    return std::memcmp(row, want, len) == 0;
}

const Rows &TheRows(const benchmark::State &state) {
    static std::map<int64_t, Rows> all;
    auto it = all.find(state.range(0));
    if (it == all.end())
        it = all.emplace(state.range(0), MakeRows(static_cast<size_t>(state.range(0)))).first;
    return it->second;
}

size_t RowCount(const benchmark::State &state) {
    return static_cast<size_t>(state.range(0));
}

void PerRow(benchmark::State &state, size_t bytes) {
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * RowCount(state)));
    state.counters["bytes/row"] = static_cast<double>(bytes) / static_cast<double>(RowCount(state));
}

void BM_DescriptorPack(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    std::vector<uint8_t> area(r.packed.size() + 64);
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, area.data(), area.size(), 0);
    const B_ENCODER_T e{b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr};
    for (auto _ : state) {
        b_bufferReset(&buf);
        const ZEL_VALUE *v = r.v.data();
        for (size_t k = 0; k < n; ++k, v += kCols)
            for (int i = 0; i < kCols; ++i)
                if (r.pi[i].type_info->pack_fcn(&r.pi[i], &v[i], &e) != sOKAY)
                    state.SkipWithError("pack");
        benchmark::DoNotOptimize(area.data());
    }
    if (buf.len != r.packed.size() || std::memcmp(area.data(), r.packed.data(), buf.len) != 0)
        state.SkipWithError("stream differs");
    PerRow(state, buf.len);
}

// The same encoder calls made directly, without the descriptor's indirect
// call per column: the difference to BM_DescriptorPack is that call.
void BM_DirectEncoderPack(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    std::vector<uint8_t> area(r.packed.size() + 64);
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, area.data(), area.size(), 0);
    const B_ENCODER_T e{b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr};
    for (auto _ : state) {
        b_bufferReset(&buf);
        int bad = 0;
        const ZEL_VALUE *v = r.v.data();
        for (size_t k = 0; k < n; ++k, v += kCols) {
            bad |= b_encoderEncodeInt8(&e, v[0].vt.i8v);
            bad |= b_encoderEncodeInt16(&e, v[1].vt.i16v);
            bad |= b_encoderEncodeInt32(&e, v[2].vt.i32v);
            bad |= b_encoderEncodeInt64(&e, v[3].vt.i64v);
            bad |= b_encoderEncodeUint32(&e, v[4].vt.u32v);
            bad |= b_encoderEncodeFloat(&e, v[5].vt.fv);
            bad |= b_encoderEncodeDouble(&e, v[6].vt.dv);
            bad |= b_encoderEncodeUint32(&e, v[7].vt.dtv);
            bad |= b_encoderEncodeUint32(&e, v[8].vt.tsv.date);
            bad |= b_encoderEncodeUint32(&e, v[8].vt.tsv.time);
            bad |= b_encoderEncodeString(&e, v[9].vt.cv);
        }
        if (bad != 0) state.SkipWithError("pack");
        benchmark::DoNotOptimize(area.data());
    }
    PerRow(state, buf.len);
}

void BM_DescriptorUnpackToRow(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, const_cast<uint8_t *>(r.packed.data()), r.packed.size(),
                       r.packed.size());
    const B_DECODER_T d{b_bufferInputByte, b_bufferInputBytesBulk, &buf, nullptr};
    uint8_t row[kRowBytes] = {};
    uint8_t has = 0;
    for (auto _ : state) {
        buf.pos = 0;
        for (size_t k = 0; k < n; ++k) {
            for (int i = 0; i < kCols; ++i)
                if (r.pi[i].type_info->unpack_to_buff_fcn(&r.pi[i], row + r.off[i], &has, &d) !=
                    sOKAY)
                    state.SkipWithError("unpack");
            benchmark::DoNotOptimize(row);
        }
    }
    if (!LastRowIs(r, n, row)) state.SkipWithError("row differs");
    PerRow(state, r.packed.size());
}

void BM_MemcpyPack(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    std::vector<uint8_t> area(n * r.nativeLen);
    for (auto _ : state) {
        for (size_t k = 0; k < n; ++k)
            std::memcpy(&area[k * r.nativeLen], &r.native[k * kRowBytes], r.nativeLen);
        benchmark::DoNotOptimize(area.data());
        benchmark::ClobberMemory();
    }
    PerRow(state, area.size());
}

void BM_MemcpyUnpack(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    uint8_t row[kRowBytes] = {};
    for (auto _ : state) {
        for (size_t k = 0; k < n; ++k) {
            std::memcpy(row, &r.native[k * kRowBytes], r.nativeLen);
            benchmark::DoNotOptimize(row);
            benchmark::ClobberMemory();
        }
    }
    PerRow(state, n * r.nativeLen);
}

void BM_HandVarintPack(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    std::vector<uint8_t> area(r.handPacked.size() + 64);
    size_t len = 0;
    for (auto _ : state) {
        uint8_t *p = area.data();
        const ZEL_VALUE *v = r.v.data();
        for (size_t k = 0; k < n; ++k, v += kCols) p = HandPack(v, p);
        len = static_cast<size_t>(p - area.data());
        benchmark::DoNotOptimize(area.data());
    }
    PerRow(state, len);
}

void BM_HandVarintUnpack(benchmark::State &state) {
    const Rows &r = TheRows(state);
    const size_t n = RowCount(state);
    uint8_t row[kRowBytes] = {};
    for (auto _ : state) {
        const uint8_t *p = r.handPacked.data();
        for (size_t k = 0; k < n; ++k) {
            p = HandUnpack(r, p, row);
            benchmark::DoNotOptimize(row);
        }
    }
    if (!LastRowIs(r, n, row)) state.SkipWithError("row differs");
    PerRow(state, r.handPacked.size());
}

// 1k to 1M rows.
void RowCounts(benchmark::internal::Benchmark *b) {
    for (int64_t n : {1 << 10, 1 << 15, 1 << 20}) b->Arg(n);
    b->Unit(benchmark::kMicrosecond);
}

BENCHMARK(BM_DescriptorPack)->Apply(RowCounts);
BENCHMARK(BM_DirectEncoderPack)->Apply(RowCounts);
BENCHMARK(BM_MemcpyPack)->Apply(RowCounts);
BENCHMARK(BM_HandVarintPack)->Apply(RowCounts);
BENCHMARK(BM_DescriptorUnpackToRow)->Apply(RowCounts);
BENCHMARK(BM_MemcpyUnpack)->Apply(RowCounts);
BENCHMARK(BM_HandVarintUnpack)->Apply(RowCounts);

}  // namespace

BENCHMARK_MAIN();
