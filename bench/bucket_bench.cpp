// Bucket and R-tree node benchmarks: a bucket of 1, 8 and 31 entries of the
// by_ids hash key (INT32, INT64) with one id each, and an R-tree node of 1,
// 8 and 32 entries of the INT32[4] and DOUBLE[6] spatial keys, written and
// read in both forms, against memcpy of the expanded image (what an engine
// keeping the decoded object as bytes would pay). The time per entry must
// stay flat from 8 entries up.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "../fuzz/object_catalog.h"
#include "bucket.h"
#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "rtree_node.h"
#include "schema_ops.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

void bench_check(bool ok) {
    if (!ok) std::abort();
}

struct Fixed {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ObjectCatalog cat;
    Fixed() {
        bench_check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
        bench_check(b_tag_subCreate(master, &sub) == sOKAY);
        bench_check(oc_build(sub, &cat) == sOKAY);
    }
};

Fixed &fixed() {
    static Fixed f;
    return f;
}

// A growing sink that keeps its memory between writes.
struct Sink {
    B_BUFFER_T buf{};
    B_ENCODER_T enc{};
    Sink() {
        b_bufferInit(&buf, fixed().sub);
        b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, fixed().sub);
    }
    ~Sink() { b_bufferTerm(&buf); }
    void reset() { buf.len = buf.pos = 0; }
    std::vector<uint8_t> bytes() const { return {buf.data.bin, buf.data.bin + buf.len}; }
};

struct Source {
    std::vector<uint8_t> data;
    B_BUFFER_T buf{};
    B_DECODER_T dec{};
    explicit Source(std::vector<uint8_t> d) : data(std::move(d)) {
        b_bufferInitStatic(&buf, data.data(), data.size(), data.size());
        b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, &buf, fixed().sub);
    }
};

// A bucket of the by_ids key with `n` entries of one id each, read from its
// compact stream as an engine would have it.
void make_bucket(uint32_t n, ZEL_BUCKET *b) {
    Sink s;
    const uint8_t head[2] = {3, static_cast<uint8_t>(n)};
    bench_check(b_encoderEncodeBytes(&s.enc, head, 2) == sOKAY);
    bench_check(b_encoderEncodeUint32(&s.enc, n) == sOKAY);
    for (uint32_t i = 0; i < n; ++i) {
        // Two pairs: id (column 0) and big (column 4), then one id.
        bench_check(b_encoderEncodeUint32(&s.enc, 2) == sOKAY);
        bench_check(b_encoderEncodeUint16(&s.enc, 0) == sOKAY);
        bench_check(b_encoderEncodeInt32(&s.enc, static_cast<int32_t>(i * 7919 - 100000)) == sOKAY);
        bench_check(b_encoderEncodeUint16(&s.enc, 4) == sOKAY);
        bench_check(b_encoderEncodeInt64(&s.enc, int64_t{1} << (20 + i)) == sOKAY);
        bench_check(b_encoderEncodeUint32(&s.enc, 1) == sOKAY);
        bench_check(b_encoderEncodeSlot(&s.enc, 1000000 + i) == sOKAY);
    }
    Source src(s.bytes());
    bench_check(bucket_unpack_compact(b, fixed().cat.byIds, &src.dec, fixed().sub) == sOKAY);
}

// An R-tree node of `n` entries of the key's boxes, integral coordinates.
void make_node(SCH_KEY_INFO_C ki, uint32_t n, ZEL_RTREE_NODE *node) {
    Source empty({0, 1});
    bench_check(rtree_unpack_compact(node, ki, &empty.dec, fixed().sub) == sOKAY);
    node->used = static_cast<uint16_t>(n);
    for (uint32_t i = 0; i < n; ++i) {
        node->slotData->ids[i] = 5000 + i;
        double *box = node->slotData->boundary + 2 * size_t{node->dim} * i;
        for (uint32_t d = 0; d < node->dim; ++d) {
            box[d] = -1000.0 * i - d;
            box[node->dim + d] = 1000.0 * i + 100 * d + 7;
        }
    }
}

template <class Obj>
void bench_pack(benchmark::State &state, ZEL_RETCODE (*pack)(const Obj *, const B_ENCODER_T *),
                const Obj &obj, uint32_t entries) {
    Sink s;
    for (auto _ : state) {
        s.reset();
        bench_check(pack(&obj, &s.enc) == sOKAY);
        benchmark::DoNotOptimize(s.buf.data.bin);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * s.buf.len));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * entries));
    state.counters["bytes"] = static_cast<double>(s.buf.len);
}

// The copy of the expanded image that a reader of raw images would do.
void bench_memcpy(benchmark::State &state, const std::vector<uint8_t> &img, uint32_t entries) {
    std::vector<uint8_t> to(img.size());
    for (auto _ : state) {
        std::memcpy(to.data(), img.data(), img.size());
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * img.size()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * entries));
}

/* ---- Buckets. */

void BM_BucketPack(benchmark::State &state) {
    ZEL_BUCKET b{};
    make_bucket(static_cast<uint32_t>(state.range(0)), &b);
    bench_pack(state, state.range(1) ? bucket_pack_expanded : bucket_pack_compact, b, b.numEntries);
    bucket_free(&b);
}

void BM_BucketUnpack(benchmark::State &state) {
    ZEL_BUCKET b{};
    make_bucket(static_cast<uint32_t>(state.range(0)), &b);
    const bool expanded = state.range(1) != 0;
    Sink s;
    bench_check((expanded ? bucket_pack_expanded : bucket_pack_compact)(&b, &s.enc) == sOKAY);
    const uint32_t n = b.numEntries;
    bucket_free(&b);
    Source src(s.bytes());
    for (auto _ : state) {
        bench_check((expanded ? bucket_unpack_expanded : bucket_unpack_compact)(
                        &b, fixed().cat.byIds, &src.dec, fixed().sub) == sOKAY);
        benchmark::DoNotOptimize(b.bucket_data);
        bucket_free(&b);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * src.data.size()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}

void BM_BucketMemcpyImage(benchmark::State &state) {
    ZEL_BUCKET b{};
    make_bucket(static_cast<uint32_t>(state.range(0)), &b);
    Sink s;
    bench_check(bucket_pack_expanded(&b, &s.enc) == sOKAY);
    bench_memcpy(state, s.bytes(), b.numEntries);
    bucket_free(&b);
}

/* ---- R-tree nodes: range(0) the entries, range(1) the key (4: INT32[4],
 * 9: DOUBLE[6]), range(2) the form. */

void BM_RtreePack(benchmark::State &state) {
    ZEL_RTREE_NODE node{};
    make_node(fixed().cat.box[state.range(1)], static_cast<uint32_t>(state.range(0)), &node);
    bench_pack(state, state.range(2) ? rtree_pack_expanded : rtree_pack_compact, node, node.used);
    rtree_free(&node);
}

void BM_RtreeUnpack(benchmark::State &state) {
    SCH_KEY_INFO_C ki = fixed().cat.box[state.range(1)];
    ZEL_RTREE_NODE node{};
    make_node(ki, static_cast<uint32_t>(state.range(0)), &node);
    const bool expanded = state.range(2) != 0;
    Sink s;
    bench_check((expanded ? rtree_pack_expanded : rtree_pack_compact)(&node, &s.enc) == sOKAY);
    const uint32_t n = node.used;
    rtree_free(&node);
    Source src(s.bytes());
    for (auto _ : state) {
        bench_check((expanded ? rtree_unpack_expanded : rtree_unpack_compact)(
                        &node, ki, &src.dec, fixed().sub) == sOKAY);
        benchmark::DoNotOptimize(node.slotData);
        rtree_free(&node);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * src.data.size()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}

void BM_RtreeMemcpyImage(benchmark::State &state) {
    ZEL_RTREE_NODE node{};
    make_node(fixed().cat.box[state.range(1)], static_cast<uint32_t>(state.range(0)), &node);
    Sink s;
    bench_check(rtree_pack_expanded(&node, &s.enc) == sOKAY);
    bench_memcpy(state, s.bytes(), node.used);
    rtree_free(&node);
}

}  // namespace

BENCHMARK(BM_BucketPack)->ArgsProduct({{1, 8, 31}, {0, 1}});
BENCHMARK(BM_BucketUnpack)->ArgsProduct({{1, 8, 31}, {0, 1}});
BENCHMARK(BM_BucketMemcpyImage)->Arg(1)->Arg(8)->Arg(31);
BENCHMARK(BM_RtreePack)->ArgsProduct({{1, 8, 32}, {4, 9}, {0, 1}});
BENCHMARK(BM_RtreeUnpack)->ArgsProduct({{1, 8, 32}, {4, 9}, {0, 1}});
BENCHMARK(BM_RtreeMemcpyImage)->ArgsProduct({{1, 8, 32}, {4, 9}});

BENCHMARK_MAIN();
