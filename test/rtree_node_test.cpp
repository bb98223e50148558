// The R-tree node formats: the example worked by hand, the model vectors of
// gen_rtree_node.py over every element type in both forms, the bounds on
// keys and counts, random round trips and allocation failures.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "object_fixture.h"
#include "oom.h"
#include "rtree_node.h"

namespace {

using RtreeTest = ObjectTest;

// The keys of the model vectors, in the order of the catalogue's box keys.
constexpr const char *kKeyNames[kOcBoxKeys] = {"i8",  "u8",  "i16", "u16", "i32",   "u32",
                                               "i64", "u64", "f32", "f64", "f64x8", "flags"};
constexpr int kI32 = 4, kU64 = 7, kF32 = 8;

// An empty node of `ki` at `level`, read from its two varints.
void rt_empty(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki, B_TAG_SUB sub, uint8_t level = 0) {
    *node = ZEL_RTREE_NODE{};
    ASSERT_EQ(of_unpack(rtree_unpack_compact, node, ki, {0x00, level}, sub), sOKAY);
}

double *rt_box(const ZEL_RTREE_NODE &node, uint32_t i) {
    return node.slotData->boundary + 2 * size_t{node.dim} * i;
}

// Doubles equal bit for bit, any NaN equal to any NaN.
bool rt_same(double a, double b) {
    return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

std::vector<double> rt_values(const std::string &text) {
    std::vector<double> out;
    if (text.empty()) return out;
    for (const std::string &e : rf_split(text, ';'))
        for (const std::string &v : rf_split(e, ','))
            out.push_back(std::strtod(v.c_str(), nullptr));
    return out;
}

}  // namespace

TEST_F(RtreeTest, EntryByHand) {
    SCH_KEY_INFO ki = cat.box[kI32];  // INT32[4]: dim 2
    ZEL_RTREE_NODE node;
    rt_empty(&node, ki, sub);
    EXPECT_EQ(node.dim, 2);
    node.used = 1;
    node.slotData->ids[0] = 9;
    const double box[4] = {1.7, -2.2, 3.9, 4.0};  // lows, then highs
    std::memcpy(rt_box(node, 0), box, sizeof box);
    // used 01, level 00, id 09; the box as INT32[4]: one group (01) of 4
    // values (04) and no nulls (00), each truncated and as svar: 1 -> 02,
    // -2 -> 03, 3 -> 06, 4 -> 08.
    const Bytes compact = of_pack(rtree_pack_compact, node, sub);
    EXPECT_EQ(rf_hex(compact), "01 00 09 01 04 00 02 03 06 08");
    // Expanded: 2 + 2 bytes, the id, the four doubles as they are.
    const Bytes img = of_pack(rtree_pack_expanded, node, sub);
    ASSERT_EQ(img.size(), 4u + 8 + 32);
    EXPECT_EQ(rf_hex(Bytes(img.begin(), img.begin() + 12)), "01 00 00 00 09 00 00 00 00 00 00 00");
    EXPECT_EQ(0, std::memcmp(img.data() + 12, box, sizeof box));
    rtree_free(&node);
    EXPECT_EQ(node.slotData, nullptr);

    node.slot = 77;
    ASSERT_EQ(of_unpack(rtree_unpack_compact, &node, ki, compact, sub), sOKAY);
    EXPECT_EQ(node.slot, 0u);
    const double truncated[4] = {1, -2, 3, 4};  // the fractions lost compact
    EXPECT_EQ(0, std::memcmp(rt_box(node, 0), truncated, sizeof truncated));
    rtree_free(&node);
    ASSERT_EQ(of_unpack(rtree_unpack_expanded, &node, ki, img, sub), sOKAY);
    EXPECT_EQ(0, std::memcmp(rt_box(node, 0), box, sizeof box));  // and kept expanded
    EXPECT_EQ(node.slotData->ids[0], 9u);
    rtree_free(&node);
}

// The model vectors hold the edges of the conversions (NaN, infinities,
// values past each type's range, 2^63 and 2^64): truncation to 32 or 64
// bits, the most negative value for NaN and out of range, the low bits kept.
TEST_F(RtreeTest, ModelVectors) {
    const auto vectors = rf_vectors("good-rtree.txt");
    ASSERT_GE(vectors.size(), 100u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 7u);
        const int key =
            static_cast<int>(std::find(kKeyNames, kKeyNames + kOcBoxKeys, v[0]) - kKeyNames);
        ASSERT_LT(key, kOcBoxKeys) << v[0];
        SCH_KEY_INFO ki = cat.box[key];
        const auto ids = v[2].empty() ? std::vector<std::string>{} : rf_split(v[2], ',');
        const auto boxes = rt_values(v[3]), back = rt_values(v[5]);
        ZEL_RTREE_NODE node;
        rt_empty(&node, ki, sub);
        node.level = static_cast<uint16_t>(std::stoul(v[1]));
        node.used = static_cast<uint16_t>(ids.size());
        for (size_t i = 0; i < ids.size(); ++i) node.slotData->ids[i] = std::stoull(ids[i]);
        ASSERT_EQ(boxes.size(), ids.size() * 2 * node.dim);
        std::copy(boxes.begin(), boxes.end(), node.slotData->boundary);
        const Bytes compact = of_pack(rtree_pack_compact, node, sub);
        EXPECT_EQ(rf_hex(compact), rf_hex(rf_bytes(v[4]))) << v[0] << " " << v[3];
        EXPECT_EQ(rf_hex(of_pack(rtree_pack_expanded, node, sub)), rf_hex(rf_bytes(v[6])));
        rtree_free(&node);
        ASSERT_EQ(of_unpack(rtree_unpack_compact, &node, ki, compact, sub), sOKAY);
        EXPECT_EQ(node.used, ids.size());
        for (size_t e = 0; e < back.size(); ++e)
            EXPECT_TRUE(rt_same(node.slotData->boundary[e], back[e]))
                << v[0] << " " << e << " " << node.slotData->boundary[e] << " " << back[e];
        rtree_free(&node);
        ASSERT_EQ(of_unpack(rtree_unpack_expanded, &node, ki, rf_bytes(v[6]), sub), sOKAY);
        EXPECT_EQ(rf_hex(of_pack(rtree_pack_expanded, node, sub)), rf_hex(rf_bytes(v[6])));
        rtree_free(&node);
    }
}

TEST_F(RtreeTest, KeysAndCountsAreBounded) {
    ZEL_RTREE_NODE node{};
    auto read = [&](SCH_KEY_INFO_C ki, const Bytes &bytes, bool expanded) {
        const ZEL_RETCODE rc = expanded ? of_unpack(rtree_unpack_expanded, &node, ki, bytes, sub)
                                        : of_unpack(rtree_unpack_compact, &node, ki, bytes, sub);
        if (rc != sOKAY) {
            EXPECT_EQ(node.slotData, nullptr);
        }
        rtree_free(&node);
        return rc;
    };
    SCH_KEY_INFO_S noElems = *cat.box[kI32];
    noElems.num_elems = 0;
    for (bool expanded : {false, true}) {
        const Bytes empty = expanded ? Bytes{0, 0, 0, 0} : Bytes{0, 0};
        EXPECT_EQ(read(&noElems, empty, expanded), eRANGE);
        EXPECT_EQ(read(cat.box[12], empty, expanded), eRANGE);  // DOUBLE[10]: 80 bytes
        EXPECT_EQ(read(cat.box[13], empty, expanded), eRANGE);  // VARCHAR(100)
        EXPECT_EQ(read(cat.box[10], empty, expanded), sOKAY);   // DOUBLE[8]: 64 bytes
        EXPECT_EQ(read(nullptr, empty, expanded), eINVNULLARG);
        // 33 entries cannot be.
        EXPECT_EQ(read(cat.box[kI32], expanded ? Bytes{33, 0, 0, 0} : Bytes{33, 0}, expanded),
                  eDBCORRUPTED);
    }
    rt_empty(&node, cat.box[10], sub);
    EXPECT_EQ(node.dim, 4);
    node.used = 33;
    of_pack(rtree_pack_compact, node, sub, eRANGE);
    of_pack(rtree_pack_expanded, node, sub, eRANGE);
    node.used = 32;
    const Bytes full = of_pack(rtree_pack_compact, node, sub);
    EXPECT_EQ(of_pack_no_bulk(rtree_pack_expanded, node, sub), eNOTIMPLEMENTED);
    node.dim = 3;  // not its key's
    of_pack(rtree_pack_compact, node, sub, eINVARG);
    node.dim = 4;
    rtree_free(&node);
    // Cut short anywhere, a node fails and holds nothing.
    for (size_t n = 0; n < full.size(); n += 7)
        EXPECT_NE(read(cat.box[10], Bytes(full.begin(), full.begin() + n), false), sOKAY) << n;
    EXPECT_EQ(read(cat.box[10], full, false), sOKAY);
}

// Random nodes: the expanded form gives back its doubles; the compact form,
// once its boundaries are in the column's type, reads back what it wrote.
TEST_F(RtreeTest, RandomNodesRoundTrip) {
    std::mt19937_64 rng(55);
    std::uniform_real_distribution<double> coord(-1e6, 1e6);
    for (int round = 0; round < 48; ++round) {
        SCH_KEY_INFO ki = cat.box[round % kOcBoxKeys];
        ZEL_RTREE_NODE node;
        rt_empty(&node, ki, sub, static_cast<uint8_t>(rng() % 100));
        node.used = static_cast<uint16_t>(rng() % 33);
        for (uint32_t i = 0; i < node.used; ++i) {
            node.slotData->ids[i] = rng() >> (rng() % 64);
            // A negative UINT64 boundary is stored near 2^64, which a double
            // reads back rounded: those stay out of this round trip.
            for (uint32_t e = 0; e < 2u * node.dim; ++e)
                rt_box(node, i)[e] =
                    round % kOcBoxKeys == kU64 ? std::fabs(coord(rng)) : coord(rng);
        }
        for (bool expanded : {false, true}) {
            auto pack = expanded ? rtree_pack_expanded : rtree_pack_compact;
            auto unpack = expanded ? rtree_unpack_expanded : rtree_unpack_compact;
            const Bytes once = of_pack(pack, node, sub);
            ZEL_RTREE_NODE back{};
            ASSERT_EQ(of_unpack(unpack, &back, ki, once, sub), sOKAY);
            EXPECT_EQ(back.used, node.used);
            EXPECT_EQ(back.level, node.level);
            if (expanded) {
                EXPECT_EQ(0, std::memcmp(back.slotData, node.slotData,
                                         8 * (32 + size_t{node.used} * 2 * node.dim)));
            }
            EXPECT_EQ(rf_hex(of_pack(pack, back, sub)), rf_hex(once));
            rtree_free(&back);
        }
        rtree_free(&node);
    }
}

TEST_F(RtreeTest, OutOfMemory) {
    ZEL_RTREE_NODE node;
    rt_empty(&node, cat.box[kF32], sub);
    node.used = 3;
    for (uint32_t e = 0; e < 12; ++e) node.slotData->boundary[e] = e * 0.25;
    const Bytes compact = of_pack(rtree_pack_compact, node, sub),
                img = of_pack(rtree_pack_expanded, node, sub);
    rtree_free(&node);
    for (bool expanded : {false, true}) {
        oom_check(master, {sub}, [&]() {
            ZEL_RTREE_NODE n{};
            const ZEL_RETCODE rc =
                expanded ? of_unpack(rtree_unpack_expanded, &n, cat.box[kF32], img, sub)
                         : of_unpack(rtree_unpack_compact, &n, cat.box[kF32], compact, sub);
            if (rc == sOKAY) {
                EXPECT_EQ(
                    rf_hex(of_pack_static(expanded ? rtree_pack_expanded : rtree_pack_compact, n)),
                    rf_hex(expanded ? img : compact));
                rtree_free(&n);
            }
            EXPECT_EQ(n.slotData, nullptr);
            return rc;
        });
    }
}
