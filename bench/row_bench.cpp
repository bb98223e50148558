// Row format benchmarks on a row of 20 columns of ten types, all with a
// value: the compact stream written and read through the catalogue and the
// type descriptors, against a hand-written encoder and decoder that know the
// table and move the same bytes straight to and from memory; the expanded
// image against memcpy; and a read of rows of 100 to 400 columns, whose time
// per column must stay flat.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "../fuzz/row_catalog.h"
#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "row.h"
#include "schema_ops.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "value.h"

namespace {

void bench_check(bool ok) {
    if (!ok) std::abort();
}

constexpr RcCol kCols[] = {
    {"id", ZEL_INT64, 0, 0, true},       {"a", ZEL_INT32, 0, 0, false},
    {"b", ZEL_INT32, 0, 0, false},       {"c", ZEL_INT32, 0, 0, false},
    {"d", ZEL_INT32, 0, 0, false},       {"e", ZEL_INT16, 0, 0, false},
    {"f", ZEL_INT64, 0, 0, false},       {"g", ZEL_INT64, 0, 0, false},
    {"name", ZEL_VARCHAR, 81, 0, false}, {"city", ZEL_VARCHAR, 41, 0, false},
    {"code", ZEL_CHAR, 21, 0, false},    {"born", ZEL_DATE, 0, 0, false},
    {"seen", ZEL_DATE, 0, 0, false},     {"at", ZEL_TIMESTAMP, 0, 0, false},
    {"x", ZEL_DOUBLE, 0, 0, false},      {"y", ZEL_DOUBLE, 0, 0, false},
    {"ok", ZEL_BOOL, 0, 0, false},       {"u", ZEL_UINT32, 0, 0, false},
    {"v", ZEL_UINT64, 0, 0, false},      {"w", ZEL_INT32, 0, 0, false},
};
constexpr ZEL_COL_INDEX kNumCols = sizeof kCols / sizeof kCols[0];
const char *const kValues[kNumCols] = {"123456789",
                                       "7",
                                       "-300",
                                       "65000",
                                       "1",
                                       "-2",
                                       "9000000000",
                                       "-1",
                                       "Ann Smith",
                                       "Lisbon",
                                       "X-17",
                                       "1980-05-17",
                                       "2024-02-29",
                                       "2024-03-01 10:30:00",
                                       "3.25",
                                       "-0.5",
                                       "true",
                                       "4000000000",
                                       "12345678901234",
                                       "42"};

// ---- The peer: the same bytes, written and read by code that knows the
// table, straight to and from memory.

inline uint8_t *hand_varint(uint8_t *p, uint64_t v) {
    if (v <= 0x7F) {
        *p++ = static_cast<uint8_t>(v);
    } else if (v <= 0x407F) {
        v -= 0x80;
        *p++ = static_cast<uint8_t>(0x80 | v >> 8);
        *p++ = static_cast<uint8_t>(v);
    } else if (v <= 0x20407F) {
        v -= 0x4080;
        *p++ = static_cast<uint8_t>(0xC0 | v >> 16);
        *p++ = static_cast<uint8_t>(v >> 8);
        *p++ = static_cast<uint8_t>(v);
    } else {
        // The longer forms, by the table of biases.
        static constexpr uint64_t bias[] = {0x204080,      0x8204080,       0x808204080,
                                            0x80808204080, 0x1080808204080, 0x101080808204080};
        static constexpr uint8_t first[] = {0xE0, 0xE8, 0xF0, 0xF8, 0xF9, 0xFA};
        static constexpr int size[] = {4, 5, 6, 7, 8, 9};
        int f = 0;
        while (f < 5 && v >= bias[f + 1]) ++f;
        const uint64_t pay = v - bias[f];
        const int n = size[f];
        *p++ = static_cast<uint8_t>(first[f] | (n <= 6 ? pay >> (8 * (n - 1)) : 0));
        for (int i = n - 2; i >= 0; --i) *p++ = static_cast<uint8_t>(pay >> (8 * i));
    }
    return p;
}

inline const uint8_t *hand_unvarint(const uint8_t *p, uint64_t *out) {
    const uint8_t b = *p++;
    if (b < 0x80) {
        *out = b;
    } else if (b < 0xC0) {
        *out = ((uint64_t{b} & 0x3F) << 8 | p[0]) + 0x80;
        p += 1;
    } else if (b < 0xE0) {
        *out = ((uint64_t{b} & 0x1F) << 16 | uint64_t{p[0]} << 8 | p[1]) + 0x4080;
        p += 2;
    } else {
        static constexpr uint64_t bias[] = {0x204080,      0x8204080,       0x808204080,
                                            0x80808204080, 0x1080808204080, 0x101080808204080};
        const int f = b < 0xE8 ? 0 : b < 0xF0 ? 1 : b < 0xF8 ? 2 : b - 0xF8 + 3;
        const int n = f + 4;
        uint64_t v = f < 3 ? b & 7 : 0;
        for (int i = 0; i < n - 1; ++i) v = v << 8 | *p++;
        *out = v + bias[f];
    }
    return p;
}

inline uint64_t zz(int64_t v) {
    return v < 0 ? ~(static_cast<uint64_t>(v) << 1) | 1 : static_cast<uint64_t>(v) << 1;
}
inline int64_t unzz(uint64_t u) {
    return static_cast<int64_t>(u & 1 ? ~(u >> 1) : u >> 1);
}

template <class T>
T hand_get(const uint8_t *data, uint32_t off) {
    T v;
    std::memcpy(&v, data + off, sizeof v);
    return v;
}

struct Layout {
    uint32_t ptr[kNumCols];
};

size_t hand_pack(const uint8_t *data, const Layout &l, uint8_t *out) {
    uint8_t *p = out;
    *p++ = 0;         // no AVL keys
    *p++ = 0;         // no joins
    *p++ = kNumCols;  // one group of all columns
    *p++ = 0;
    p = hand_varint(p, zz(hand_get<int64_t>(data, l.ptr[0])));
    for (int c = 1; c <= 4; ++c) p = hand_varint(p, zz(hand_get<int32_t>(data, l.ptr[c])));
    p = hand_varint(p, zz(hand_get<int16_t>(data, l.ptr[5])));
    p = hand_varint(p, zz(hand_get<int64_t>(data, l.ptr[6])));
    p = hand_varint(p, zz(hand_get<int64_t>(data, l.ptr[7])));
    for (int c = 8; c <= 10; ++c) {
        const char *s = reinterpret_cast<const char *>(data + l.ptr[c]);
        const size_t n = std::strlen(s);
        p = hand_varint(p, n);
        std::memcpy(p, s, n);
        p += n;
    }
    p = hand_varint(p, hand_get<uint32_t>(data, l.ptr[11]));
    p = hand_varint(p, hand_get<uint32_t>(data, l.ptr[12]));
    p = hand_varint(p, hand_get<uint32_t>(data, l.ptr[13]));
    p = hand_varint(p, hand_get<uint32_t>(data, l.ptr[13] + 4));
    for (int c = 14; c <= 15; ++c) {
        const uint64_t bits = __builtin_bswap64(hand_get<uint64_t>(data, l.ptr[c]));
        std::memcpy(p, &bits, 8);
        p += 8;
    }
    p = hand_varint(p, zz(hand_get<int32_t>(data, l.ptr[16])));
    p = hand_varint(p, hand_get<uint32_t>(data, l.ptr[17]));
    p = hand_varint(p, hand_get<uint64_t>(data, l.ptr[18]));
    p = hand_varint(p, zz(hand_get<int32_t>(data, l.ptr[19])));
    *p++ = 0;
    return static_cast<size_t>(p - out);
}

template <class T>
void hand_put(uint8_t *data, uint32_t off, T v) {
    std::memcpy(data + off, &v, sizeof v);
}

void hand_unpack(const uint8_t *in, const Layout &l, size_t rowSize, uint8_t *data) {
    std::memset(data, 0, rowSize);
    const uint8_t *p = in + 4;
    uint64_t u;
    p = hand_unvarint(p, &u);
    hand_put<int64_t>(data, l.ptr[0], unzz(u));
    for (int c = 1; c <= 4; ++c) {
        p = hand_unvarint(p, &u);
        hand_put<int32_t>(data, l.ptr[c], static_cast<int32_t>(unzz(u)));
    }
    p = hand_unvarint(p, &u);
    hand_put<int16_t>(data, l.ptr[5], static_cast<int16_t>(unzz(u)));
    for (int c = 6; c <= 7; ++c) {
        p = hand_unvarint(p, &u);
        hand_put<int64_t>(data, l.ptr[c], unzz(u));
    }
    for (int c = 8; c <= 10; ++c) {
        p = hand_unvarint(p, &u);
        std::memcpy(data + l.ptr[c], p, u);
        data[l.ptr[c] + u] = 0;
        p += u;
    }
    for (int c = 11; c <= 12; ++c) {
        p = hand_unvarint(p, &u);
        hand_put<uint32_t>(data, l.ptr[c], static_cast<uint32_t>(u));
    }
    p = hand_unvarint(p, &u);
    hand_put<uint32_t>(data, l.ptr[13], static_cast<uint32_t>(u));
    p = hand_unvarint(p, &u);
    hand_put<uint32_t>(data, l.ptr[13] + 4, static_cast<uint32_t>(u));
    for (int c = 14; c <= 15; ++c) {
        uint64_t bits;
        std::memcpy(&bits, p, 8);
        hand_put<uint64_t>(data, l.ptr[c], __builtin_bswap64(bits));
        p += 8;
    }
    p = hand_unvarint(p, &u);
    hand_put<int32_t>(data, l.ptr[16], static_cast<int32_t>(unzz(u)));
    p = hand_unvarint(p, &u);
    hand_put<uint32_t>(data, l.ptr[17], static_cast<uint32_t>(u));
    p = hand_unvarint(p, &u);
    hand_put<uint64_t>(data, l.ptr[18], u);
    p = hand_unvarint(p, &u);
    hand_put<int32_t>(data, l.ptr[19], static_cast<int32_t>(unzz(u)));
}

// ---- The library's side.

struct Bench {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    SCH_INFO sch = nullptr;
    SCH_TBL_INFO ti = nullptr;
    ZEL_ROW row{};
    Layout layout{};
    std::vector<uint8_t> packed, image;

    Bench() {
        bench_check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
        bench_check(b_tag_subCreate(master, &sub) == sOKAY);
        bench_check(sch_create(&sch, sub) == sOKAY);
        bench_check(sch_set_max_table(sch, 2) == sOKAY && sch_set_next_table(sch, 2) == sOKAY);
        bench_check(rc_table(sch, 1, "wide20", kCols, kNumCols, 0, 0, &ti) == sOKAY);
        bench_check(sch_tbl_finalize(ti, ZEL_TRUE) == sOKAY);
        uint8_t empty[3] = {0, 0, 0};
        B_BUFFER_T in;
        b_bufferInitStatic(&in, empty, 3, 3);
        B_DECODER_T d;
        b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
        bench_check(row_unpack_compact_buffer(&row, &d, 1, ti, sub, nullptr, nullptr) == sOKAY);
        for (ZEL_COL_INDEX c = 0; c < kNumCols; ++c) {
            SCH_COL_INFO ci = sch_get_col_by_index(ti, c);
            layout.ptr[c] = sch_col_offset(ci);
            SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
            ZEL_VALUE v;
            zel_valueInit(&v);
            bench_check(sch_type_info(pi)->fromstring(pi, &v, 0, 0, sub, kValues[c]) == sOKAY);
            bench_check(sch_col_copy_to_buff_fcn(ci, row.data.b.col_data, &v) == sOKAY);
            sch_col_free_fcn(ci, &v, sub);
            row.data.b.col_status[c] = vsOKAY;
        }
        packed = pack(false);
        image = pack(true);
        // The peer writes and reads the very same bytes.
        std::vector<uint8_t> hand(256);
        hand.resize(hand_pack(row.data.b.col_data, layout, hand.data()));
        bench_check(hand == packed);
        std::vector<uint8_t> back(sch_tbl_byte_len(ti));
        hand_unpack(hand.data(), layout, back.size(), back.data());
        for (ZEL_COL_INDEX c = 0; c < kNumCols; ++c)
            bench_check(std::memcmp(back.data() + layout.ptr[c],
                                    row.data.b.col_data + layout.ptr[c],
                                    sch_col_byte_len(sch_get_col_by_index(ti, c))) == 0);
    }
    ~Bench() {
        row_free(&row);
        sch_destroy(sch);
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    std::vector<uint8_t> pack(bool expanded) {
        B_BUFFER_T b;
        b_bufferInit(&b, sub);
        B_ENCODER_T e;
        b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &b, sub);
        bench_check((expanded ? row_pack_expanded(&row, &e) : row_pack_compact(&row, &e)) == sOKAY);
        std::vector<uint8_t> out(b.data.bin, b.data.bin + b.len);
        b_bufferTerm(&b);
        return out;
    }
};

Bench &bench() {
    static Bench b;
    return b;
}

void BM_PackCompact_Row(benchmark::State &state) {
    Bench &b = bench();
    B_BUFFER_T buf;
    b_bufferInit(&buf, b.sub);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, b.sub);
    for (auto _ : state) {
        b_bufferReset(&buf);
        benchmark::DoNotOptimize(row_pack_compact(&b.row, &e));
    }
    bench_check(buf.len == b.packed.size());
    b_bufferTerm(&buf);
}
BENCHMARK(BM_PackCompact_Row);

void BM_PackCompact_Hand(benchmark::State &state) {
    Bench &b = bench();
    uint8_t out[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(hand_pack(b.row.data.b.col_data, b.layout, out));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_PackCompact_Hand);

void BM_UnpackCompact_Row(benchmark::State &state) {
    Bench &b = bench();
    B_BUFFER_T in;
    b_bufferInitStatic(&in, b.packed.data(), b.packed.size(), b.packed.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, b.sub);
    for (auto _ : state) {
        ZEL_ROW r;
        benchmark::DoNotOptimize(
            row_unpack_compact_buffer(&r, &d, 1, b.ti, b.sub, nullptr, nullptr));
        row_free(&r);
    }
}
BENCHMARK(BM_UnpackCompact_Row);

// The part of a read that does not depend on the values: the row buffer
// taken and cleared, the columns set null, the buffer given back.
void BM_UnpackCompact_RowNoValues(benchmark::State &state) {
    Bench &b = bench();
    uint8_t empty[3] = {0, 0, 0};
    B_BUFFER_T in;
    b_bufferInitStatic(&in, empty, 3, 3);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, b.sub);
    for (auto _ : state) {
        ZEL_ROW r;
        benchmark::DoNotOptimize(
            row_unpack_compact_buffer(&r, &d, 1, b.ti, b.sub, nullptr, nullptr));
        row_free(&r);
    }
}
BENCHMARK(BM_UnpackCompact_RowNoValues);

void BM_UnpackCompact_Hand(benchmark::State &state) {
    Bench &b = bench();
    std::vector<uint8_t> data(b.row.data_len);
    for (auto _ : state) {
        hand_unpack(b.packed.data(), b.layout, data.size(), data.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_UnpackCompact_Hand);

void BM_PackExpanded_Row(benchmark::State &state) {
    Bench &b = bench();
    B_BUFFER_T buf;
    b_bufferInit(&buf, b.sub);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, b.sub);
    for (auto _ : state) {
        b_bufferReset(&buf);
        benchmark::DoNotOptimize(row_pack_expanded(&b.row, &e));
    }
    b_bufferTerm(&buf);
}
BENCHMARK(BM_PackExpanded_Row);

void BM_PackExpanded_Memcpy(benchmark::State &state) {
    Bench &b = bench();
    std::vector<uint8_t> out(b.image.size());
    for (auto _ : state) {
        const uint64_t len = b.row.data_len;
        std::memcpy(out.data(), &len, 8);
        std::memcpy(out.data() + 8, b.row.row_data, len);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_PackExpanded_Memcpy);

void BM_UnpackExpanded_Row(benchmark::State &state) {
    Bench &b = bench();
    B_BUFFER_T in;
    b_bufferInitStatic(&in, b.image.data(), b.image.size(), b.image.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, b.sub);
    for (auto _ : state) {
        ZEL_ROW r;
        benchmark::DoNotOptimize(row_unpack_expanded(&r, &d, 1, b.ti, b.sub, nullptr, nullptr));
        row_free(&r);
    }
}
BENCHMARK(BM_UnpackExpanded_Row);

void BM_UnpackExpanded_Memcpy(benchmark::State &state) {
    Bench &b = bench();
    std::vector<uint8_t> data(b.row.data_len);
    for (auto _ : state) {
        uint64_t len;
        std::memcpy(&len, b.image.data(), 8);
        std::memcpy(data.data(), b.image.data() + 8, len);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_UnpackExpanded_Memcpy);

// Rows of n INT32 columns with one retired, so that the table keeps its
// list of active columns: the read must cost the same per column at 100
// and at 400.
void BM_UnpackCompact_Wide(benchmark::State &state) {
    const auto n = static_cast<ZEL_COL_INDEX>(state.range(0));
    Bench &b = bench();
    SCH_INFO sch = nullptr;
    bench_check(sch_create(&sch, b.sub) == sOKAY);
    bench_check(sch_set_max_table(sch, 2) == sOKAY && sch_set_next_table(sch, 2) == sOKAY);
    std::vector<std::array<char, 8>> names(n);
    std::vector<RcCol> cols(n);
    for (ZEL_COL_INDEX c = 0; c < n; ++c) {
        std::snprintf(names[c].data(), names[c].size(), "c%u", c);
        cols[c] = {names[c].data(), ZEL_INT32, 0, 0, false};
    }
    SCH_TBL_INFO ti = nullptr;
    bench_check(rc_table(sch, 1, "wide", cols.data(), n, 0, 0, &ti) == sOKAY);
    bench_check(sch_tbl_col_drop(sch_get_col_by_index(ti, 0), ZEL_FALSE) == sOKAY);
    bench_check(sch_tbl_finalize(ti, ZEL_TRUE) == sOKAY);
    // One group of ids 1 .. n-1, each value 2.
    std::vector<uint8_t> in = {0, 0};
    uint8_t head[9];
    const uint8_t *end = hand_varint(head, n - 1u);
    in.insert(in.end(), head + 0, head + (end - head));
    in.push_back(1);
    in.insert(in.end(), n - 1, 0x04);
    in.push_back(0);
    B_BUFFER_T buf;
    b_bufferInitStatic(&buf, in.data(), in.size(), in.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &buf, b.sub);
    for (auto _ : state) {
        ZEL_ROW r;
        benchmark::DoNotOptimize(row_unpack_compact_buffer(&r, &d, 1, ti, b.sub, nullptr, nullptr));
        row_free(&r);
    }
    state.SetItemsProcessed(state.iterations() * n);
    sch_destroy(sch);
}
BENCHMARK(BM_UnpackCompact_Wide)->Arg(100)->Arg(200)->Arg(400);

}  // namespace

BENCHMARK_MAIN();
