// The index node formats: bytes worked by hand for the three kinds in both
// forms, the deliberate oddities (the lost child of an empty compact node,
// the raw and packed halves of expanded nodes, the slot reset of index
// readers, unknown ids), the bounds on counts and entry lengths, and round
// trips of random nodes.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "../fuzz/row_catalog.h"
#include "node.h"
#include "oom.h"
#include "row_fixture.h"
#include "schema_fixture.h"
#include "tag_fixture.h"

namespace {

Bytes nf_pack(const ZEL_NODE &node, B_TAG_SUB sub, bool expanded, ZEL_RETCODE want = sOKAY) {
    RfSink s(sub);
    EXPECT_EQ(expanded ? node_pack_expanded(&node, &s.enc) : node_pack_compact(&node, &s.enc),
              want);
    return s.bytes();
}

// The same into caller's memory, for checks under allocation failures.
Bytes nf_pack_static(const ZEL_NODE &node, bool expanded) {
    RfStaticSink s;
    EXPECT_EQ(expanded ? node_pack_expanded(&node, &s.enc) : node_pack_compact(&node, &s.enc),
              sOKAY);
    return s.bytes();
}

template <class Item>
ZEL_RETCODE nf_unpack(ZEL_NODE *node, Item item, const Bytes &b, B_TAG_SUB sub, bool expanded) {
    RfSource src(b, sub);
    if constexpr (std::is_same_v<Item, SCH_KEY_INFO>)
        return expanded ? node_unpack_expanded_index(node, item, &src.dec, sub)
                        : node_unpack_compact_index(node, item, &src.dec, sub);
    else if constexpr (std::is_same_v<Item, SCH_REF_INFO>)
        return expanded ? node_unpack_expanded_join(node, item, &src.dec, sub)
                        : node_unpack_compact_join(node, item, &src.dec, sub);
    else
        return expanded ? node_unpack_expanded_blob(node, item, &src.dec, sub)
                        : node_unpack_compact_blob(node, item, &src.dec, sub);
}

uint8_t *nf_entry(const ZEL_NODE &node, uint32_t i) {
    return node.slotData->node_data + size_t{node.slotItemLen} * i;
}

// A value of column `ci` from text into a key or sort buffer at `ptr`, with
// its has-value byte at `hvo` (0: none).
void nf_put(SCH_COL_INFO ci, uint8_t *buff, uint32_t ptr, uint32_t hvo, const char *text,
            B_TAG_SUB sub) {
    SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
    ZEL_VALUE v;
    zel_valueInit(&v);
    ASSERT_EQ(sch_type_info(pi)->fromstring(pi, &v, 0, 0, sub, text), sOKAY);
    size_t size = sch_col_byte_len(ci);
    ASSERT_EQ(sch_type_info(pi)->copy_to_buff_fcn(pi, buff + ptr, &size, &v), sOKAY);
    if (hvo) buff[hvo] = 1;
    sch_col_free_fcn(ci, &v, sub);
}

void nf_put(SCH_ELEM_INFO_C ei, uint8_t *entry, const char *text, B_TAG_SUB sub) {
    nf_put(sch_elem_col(ei), entry, sch_elem_offset(ei), sch_elem_has_value_offset(ei), text, sub);
}
void nf_put(SCH_SORT_INFO si, uint8_t *sort, const char *text, B_TAG_SUB sub) {
    nf_put(sch_sort_col(si), sort, sch_sort_offset(si), sch_sort_has_value_offset(si), text, sub);
}

class NodeLived : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        ASSERT_EQ(rc_build(sub, &cat), sOKAY);
    }
    void TearDown() override {
        sch_destroy(cat.sch);
        TaggedTest::TearDown();
    }
    RowCatalog cat;
};

class NodeTest : public SchemaTest {};

}  // namespace

TEST_F(NodeTest, IndexEntryByHand) {
    SCH_TBL_INFO t = nullptr;
    SCH_KEY_INFO ki = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "t",
                          {{"c0", ZEL_INT8},
                           {"c1", ZEL_INT8},
                           {"c2", ZEL_INT8},
                           {"c3", ZEL_INT8},
                           {"c4", ZEL_INT32, 0, 0, true}},
                          1, 0, &t),
              sOKAY);
    ASSERT_EQ(fx_addKey(t, 0, "k", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_BTREE, {4}, true, &ki),
              sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    ZEL_NODE node{};
    ASSERT_EQ(nf_unpack(&node, ki, {0x00}, sub, false), sOKAY);
    node.used = 1;
    node.slotData->children[0] = 10;
    node.slotData->children[1] = 20;
    node.slotData->ids[0] = 7;
    const int32_t v = 300;
    std::memcpy(nf_entry(node, 0), &v, sizeof v);
    // used 01; children 0A 14; ids 07; one element holding a value (01),
    // column id 04, 300 as the signed varint of 600: 600 - 128 = 0x1D8 in
    // the 2-byte form, 0x80 | 0x01 then 0xD8.
    const Bytes want = {0x01, 0x0A, 0x14, 0x07, 0x01, 0x04, 0x81, 0xD8};
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), rf_hex(want));
    node_free(&node);
    EXPECT_EQ(node.slotData, nullptr);

    node.slot = 99;
    ASSERT_EQ(nf_unpack(&node, ki, want, sub, false), sOKAY);
    EXPECT_EQ(node.slot, 0u);  // kept: index readers reset it
    EXPECT_EQ(node.type, ZEL_INDEX_NODE);
    EXPECT_EQ(node.slotItemLen, 4);
    EXPECT_EQ(node.slotData->children[1], 20u);
    int32_t back;
    std::memcpy(&back, nf_entry(node, 0), sizeof back);
    EXPECT_EQ(back, 300);
    // Expanded: 2 bytes of used, 2 children and 1 id of 8 bytes, the 4-byte
    // key buffer as it stands.
    const Bytes img = nf_pack(node, sub, true);
    ASSERT_EQ(img.size(), 2u + 16 + 8 + 4);
    EXPECT_EQ(img[0], 1);
    EXPECT_EQ(0, std::memcmp(img.data() + 26, &v, 4));
    node_free(&node);
    ASSERT_EQ(nf_unpack(&node, ki, img, sub, true), sOKAY);
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), rf_hex(want));
    node_free(&node);

    // Kept: an entry naming a column the key does not have is eRANGE, and
    // the failed node holds nothing.
    EXPECT_EQ(nf_unpack(&node, ki, {0x01, 0x0A, 0x14, 0x07, 0x01, 0x03, 0x02}, sub, false), eRANGE);
    EXPECT_EQ(node.slotData, nullptr);
    // An entry with n = 0 stays cleared.
    ASSERT_EQ(nf_unpack(&node, ki, {0x01, 0x0A, 0x14, 0x07, 0x00}, sub, false), sOKAY);
    EXPECT_EQ(rf_hex(Bytes(nf_entry(node, 0), nf_entry(node, 0) + 4)), "00 00 00 00");
    node_free(&node);
}

// Index nodes against the independent model of gen_row.py.
TEST_F(NodeTest, ModelVectors) {
    SCH_TBL_INFO t = nullptr;
    SCH_KEY_INFO ki = nullptr;
    rf_model_table(sch, &t, &ki);
    const auto vectors = rf_vectors("good-node-compact.txt");
    ASSERT_GT(vectors.size(), 50u);
    for (const auto &v : vectors) {
        ASSERT_EQ(v.size(), 4u);
        const Bytes want = rf_bytes(v[3]);
        ZEL_NODE node{};
        ASSERT_EQ(nf_unpack(&node, ki, {0x00}, sub, false), sOKAY);
        const auto children = rf_split(v[0], ','), ids = rf_split(v[1], ',');
        const auto entries = v[2].empty() ? std::vector<std::string>{} : rf_split(v[2], ';');
        node.used = static_cast<uint16_t>(entries.size());
        for (size_t c = 0; c < children.size(); ++c)
            node.slotData->children[c] = std::stoull(children[c]);
        for (size_t i = 0; i < entries.size(); ++i) {
            node.slotData->ids[i] = std::stoull(ids[i]);
            const auto e = rf_split(entries[i], ',');
            for (ZEL_COL_INDEX k = 0; k < 3; ++k) {
                SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, k);
                if (e[k] != "NULL") nf_put(ei, nf_entry(node, i), e[k].c_str(), sub);
            }
        }
        EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), rf_hex(want)) << v[2];
        node_free(&node);
        ASSERT_EQ(nf_unpack(&node, ki, want, sub, false), sOKAY);
        ASSERT_EQ(node.used, entries.size());
        for (size_t i = 0; i < entries.size(); ++i) {
            const auto e = rf_split(entries[i], ',');
            for (ZEL_COL_INDEX k = 0; k < 3; ++k) {
                SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, k);
                ZEL_VALUE val;
                zel_valueInit(&val);
                ASSERT_EQ(sch_elem_assign_from_buff_fcn(ei, &val, nf_entry(node, i)), sOKAY);
                std::string text;
                auto put = [](B_OUTPUT_CTX ctx, uint32_t c) -> ZEL_RETCODE {
                    static_cast<std::string *>(ctx)->push_back(static_cast<char>(c));
                    return sOKAY;
                };
                ASSERT_EQ(sch_col_tostring_fcn(sch_elem_col(ei), &val, 0, 0, put, &text), sOKAY);
                EXPECT_EQ(text, e[k] == "NULL" ? "<ZEL NULL>" : e[k]);
            }
        }
        node_free(&node);
    }
}

TEST_F(NodeLived, EmptyNodeLosesItsChildWhenCompact) {
    ZEL_NODE node{};
    ASSERT_EQ(nf_unpack(&node, cat.photo, {0x00}, sub, false), sOKAY);
    node.slotData->children[0] = 0x0102030405060708;
    // Kept: the compact empty node is its count alone.
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), "00");
    const Bytes img = nf_pack(node, sub, true);
    // 00 00, then the child in the host's order.
    EXPECT_EQ(rf_hex(img), "00 00 08 07 06 05 04 03 02 01");
    node_free(&node);
    ASSERT_EQ(nf_unpack(&node, cat.photo, img, sub, true), sOKAY);
    EXPECT_EQ(node.slotData->children[0], 0x0102030405060708u);
    node_free(&node);
    ASSERT_EQ(nf_unpack(&node, cat.photo, {0x00}, sub, false), sOKAY);
    EXPECT_EQ(node.slotData->children[0], 0u);
    node_free(&node);
}

TEST_F(NodeLived, NullElementsTakeNoBytes) {
    // by_code is (code CHAR, qty INT16), both nullable.
    SCH_KEY_INFO ki = cat.byCode;
    ZEL_NODE node{};
    ASSERT_EQ(nf_unpack(&node, ki, {0x00}, sub, false), sOKAY);
    node.used = 1;
    const SCH_ELEM_INFO_C code = sch_key_elem_c(ki, 0), qty = sch_key_elem_c(ki, 1);
    nf_put(code, nf_entry(node, 0), "ab", sub);
    // 01; children 00 00; id 00; one element: column 08, "ab" as 02 61 62.
    const Bytes want = {0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x02, 'a', 'b'};
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), rf_hex(want));
    // qty given a value: two pairs, in key order.
    nf_put(qty, nf_entry(node, 0), "-3", sub);
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), "01 00 00 00 02 08 02 61 62 02 05");
    node_free(&node);
    ASSERT_EQ(nf_unpack(&node, ki, want, sub, false), sOKAY);
    const uint8_t *e = nf_entry(node, 0);
    EXPECT_STREQ(reinterpret_cast<const char *>(e + sch_elem_offset(code)), "ab");
    EXPECT_EQ(e[sch_elem_has_value_offset(code)], 1);
    EXPECT_EQ(e[sch_elem_has_value_offset(qty)], 0);
    EXPECT_EQ(e[sch_elem_offset(qty)], 0);
    node_free(&node);
}

TEST_F(NodeLived, JoinEntriesRawAndPacked) {
    // item_owner sorts by (placed TIMESTAMP, price BCD), both nullable.
    SCH_REF_INFO ri = cat.itemOwner;
    ZEL_NODE node{};
    node.slot = 99;
    ASSERT_EQ(nf_unpack(&node, ri, {0x00}, sub, false), sOKAY);
    EXPECT_EQ(node.slot, 99u);  // kept: only index readers reset the slot
    EXPECT_EQ(node.slotItemLen, 8 + sch_ref_sort_byte_len(ri));
    node.used = 1;
    const ZEL_SLOT member = 42;
    std::memcpy(nf_entry(node, 0), &member, sizeof member);
    uint8_t *sort = nf_entry(node, 0) + 8;
    const SCH_SORT_INFO placed = sch_ref_sort(ri, 0), price = sch_ref_sort(ri, 1);
    nf_put(placed, sort, "0001-01-02 00:00:01", sub);
    // Compact: 01; 00 00; 00; slot 2A; one pair: column 07, the time stamp
    // as day 2 (02) and 10000 units (0xC0 0x00 ... : 10000 - 128 = 0x2690,
    // 80 | 0x26, 0x90 = A6 90); price is null and takes no bytes.
    const Bytes want = {0x01, 0x00, 0x00, 0x00, 0x2A, 0x01, 0x07, 0x02, 0xA6, 0x90};
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), rf_hex(want));
    // Expanded: the header raw; the entry not raw: slot 2A, the count of all
    // sort columns 02, and each pair written with no test for null (price
    // from its zeroed bytes).
    const Bytes img = nf_pack(node, sub, true);
    const Bytes head = {0x01, 0x00};
    ASSERT_GT(img.size(), 26u);
    EXPECT_EQ(Bytes(img.begin(), img.begin() + 2), head);
    EXPECT_EQ(rf_hex(Bytes(img.begin() + 26, img.begin() + 32)), "2A 02 07 02 A6 90");
    EXPECT_EQ(img[32], 0x03);
    node_free(&node);
    // Read back with no clearing and no has-value byte set: the data is
    // there, its has-value byte stays 0.
    ASSERT_EQ(nf_unpack(&node, ri, img, sub, true), sOKAY);
    sort = nf_entry(node, 0) + 8;
    EXPECT_EQ(sort[sch_sort_has_value_offset(placed)], 0);
    ZEL_PACKED_TIMESTAMP_T ts;
    std::memcpy(&ts, sort + sch_sort_offset(placed), sizeof ts);
    EXPECT_EQ(ts.date, 2u);
    EXPECT_EQ(ts.time, 10000u);
    node_free(&node);
    ASSERT_EQ(nf_unpack(&node, ri, want, sub, false), sOKAY);
    sort = nf_entry(node, 0) + 8;
    EXPECT_EQ(sort[sch_sort_has_value_offset(placed)], 1);
    EXPECT_EQ(sort[sch_sort_has_value_offset(price)], 0);
    node_free(&node);
}

TEST_F(NodeTest, JoinWithoutSortColumnsIsOneVarint) {
    SCH_TBL_INFO o = nullptr, m = nullptr;
    SCH_REF_INFO ri = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "o", {{"id", ZEL_INT32, 0, 0, true}}, 1, 0, &o), sOKAY);
    ASSERT_EQ(fx_addKey(o, 0, "o_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}, true),
              sOKAY);
    ASSERT_EQ(fx_addTable(sch, 2, "m", {{"o", ZEL_INT32}}, 0, 1, &m), sOKAY);
    ASSERT_EQ(fx_addRef(m, 0, "m_o", 1, 0, {0}, {}, ZEL_REF_ACTION_RESTRICT, &ri), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(o, ZEL_TRUE), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(m, ZEL_TRUE), sOKAY);
    ZEL_NODE node{};
    ASSERT_EQ(nf_unpack(&node, ri, {0x00}, sub, false), sOKAY);
    EXPECT_EQ(node.slotItemLen, 8);
    node.used = 1;
    const ZEL_SLOT member = 300;
    std::memcpy(nf_entry(node, 0), &member, sizeof member);
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), "01 00 00 00 80 AC");
    const Bytes img = nf_pack(node, sub, true);
    EXPECT_EQ(rf_hex(Bytes(img.begin() + 26, img.end())), "80 AC");
    node_free(&node);
    for (bool expanded : {false, true}) {
        ASSERT_EQ(
            nf_unpack(&node, ri, expanded ? img : Bytes{1, 0, 0, 0, 0x80, 0xAC}, sub, expanded),
            sOKAY);
        ZEL_SLOT back;
        std::memcpy(&back, nf_entry(node, 0), sizeof back);
        EXPECT_EQ(back, 300u);
        node_free(&node);
    }
}

TEST_F(NodeLived, BlobEntries) {
    ZEL_NODE node{};
    ASSERT_EQ(nf_unpack(&node, cat.photo, {0x00}, sub, false), sOKAY);
    EXPECT_EQ(node.slotItemLen, 16);
    node.used = 2;
    const ZEL_BLOB_NODE_DATA e[2] = {{5, 0}, {6, 1}};
    std::memcpy(node.slotData->node_data, e, sizeof e);
    node.slotData->children[2] = 9;
    // 02; children 00 00 09; ids 00 00; entries 05 00 and 06 01.
    EXPECT_EQ(rf_hex(nf_pack(node, sub, false)), "02 00 00 09 00 00 05 00 06 01");
    const Bytes img = nf_pack(node, sub, true);
    ASSERT_EQ(img.size(), 2u + 24 + 16 + 32);
    EXPECT_EQ(0, std::memcmp(img.data() + 42, e, sizeof e));
    node_free(&node);
    for (bool expanded : {false, true}) {
        ASSERT_EQ(nf_unpack(&node, cat.photo, expanded ? img : Bytes{2, 0, 0, 9, 0, 0, 5, 0, 6, 1},
                            sub, expanded),
                  sOKAY);
        EXPECT_EQ(0, std::memcmp(node.slotData->node_data, e, sizeof e));
        EXPECT_EQ(node.slotData->children[2], 9u);
        node_free(&node);
    }
}

TEST_F(NodeLived, CountsAndLengthsAreBounded) {
    ZEL_NODE node{};
    // 34 entries cannot be: a damaged node when read, out of range to write.
    EXPECT_EQ(nf_unpack(&node, cat.photo, {0x22}, sub, false), eDBCORRUPTED);
    EXPECT_EQ(nf_unpack(&node, cat.photo, {0x22, 0x00}, sub, true), eDBCORRUPTED);
    EXPECT_EQ(node.slotData, nullptr);
    ASSERT_EQ(nf_unpack(&node, cat.photo, {0x00}, sub, false), sOKAY);
    node.used = 34;
    nf_pack(node, sub, false, eRANGE);
    nf_pack(node, sub, true, eRANGE);
    node.used = 33;
    EXPECT_EQ(nf_pack(node, sub, false).size(), 1u + 34 + 33 + 66);
    node_free(&node);
    // Cut short anywhere, a node fails and holds nothing.
    const Bytes full = {2, 0, 0, 9, 0, 0, 5, 0, 6, 1};
    for (size_t n = 0; n < full.size(); ++n) {
        EXPECT_NE(nf_unpack(&node, cat.photo, Bytes(full.begin(), full.begin() + n), sub, false),
                  sOKAY)
            << n;
        EXPECT_EQ(node.slotData, nullptr);
    }
    RfSource src({0x00}, sub);
    EXPECT_EQ(node_unpack_compact(&node, &src.dec, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(node_unpack_compact_index(&node, nullptr, &src.dec, sub), eINVNULLARG);
}

TEST_F(NodeTest, EntryOf65536BytesOrMoreIsOutOfRange) {
    // A key and a sort buffer of two 40000-byte texts: 80000 bytes, which a
    // 16-bit slotItemLen cannot hold.
    SCH_TBL_INFO o = nullptr, t = nullptr;
    SCH_KEY_INFO ki = nullptr;
    SCH_REF_INFO ri = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "o", {{"id", ZEL_INT32, 0, 0, true}}, 1, 0, &o), sOKAY);
    ASSERT_EQ(fx_addKey(o, 0, "o_pk", ZEL_KEY_TYPE_PRIMARY, ZEL_KEY_METHOD_BTREE, {0}, true),
              sOKAY);
    ASSERT_EQ(
        fx_addTable(sch, 2, "t", {{"a", ZEL_CHAR, 40000}, {"b", ZEL_CHAR, 40000}, {"o", ZEL_INT32}},
                    1, 1, &t),
        sOKAY);
    ASSERT_EQ(
        fx_addKey(t, 0, "big", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_BTREE, {0, 1}, true, &ki),
        sOKAY);
    ASSERT_EQ(fx_addRef(t, 0, "t_o", 1, 0, {2}, {0, 1}, ZEL_REF_ACTION_RESTRICT, &ri), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(o, ZEL_TRUE), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(t, ZEL_TRUE), sOKAY);
    ASSERT_GE(sch_key_byte_len(ki), 65536u);
    ASSERT_GE(sch_ref_sort_byte_len(ri), 65536u);
    ZEL_NODE node{};
    for (bool expanded : {false, true}) {
        EXPECT_EQ(nf_unpack(&node, ki, {0x00}, sub, expanded), eRANGE);
        EXPECT_EQ(nf_unpack(&node, ri, {0x00}, sub, expanded), eRANGE);
    }
    EXPECT_EQ(node.slotData, nullptr);
    ZEL_NODE_SLOT_DATA sd{};
    node.slotData = &sd;
    node.type = ZEL_INDEX_NODE;
    node.ptr.ki = ki;
    for (bool expanded : {false, true}) nf_pack(node, sub, expanded, eRANGE);
    node.type = ZEL_JOIN_NODE;
    node.ptr.ri = ri;
    for (bool expanded : {false, true}) nf_pack(node, sub, expanded, eRANGE);
}

// Random nodes of the three kinds: each form reads back what it wrote, and
// writing again gives the same bytes.
TEST_F(NodeLived, RandomNodesRoundTrip) {
    std::mt19937 rng(19);
    SCH_KEY_INFO ki = cat.byCode;
    SCH_REF_INFO ri = cat.itemOwner;
    const SCH_ELEM_INFO_C code = sch_key_elem_c(ki, 0), qty = sch_key_elem_c(ki, 1);
    const SCH_SORT_INFO placed = sch_ref_sort(ri, 0), price = sch_ref_sort(ri, 1);
    for (int round = 0; round < 60; ++round) {
        const int kind = round % 3;
        ZEL_NODE node{};
        const Bytes empty = {0x00};
        ASSERT_EQ(kind == 0   ? nf_unpack(&node, ki, empty, sub, false)
                  : kind == 1 ? nf_unpack(&node, ri, empty, sub, false)
                              : nf_unpack(&node, cat.photo, empty, sub, false),
                  sOKAY);
        node.used = static_cast<uint16_t>(rng() % 34);
        for (uint32_t c = 0; c <= node.used; ++c) node.slotData->children[c] = rng() % 100000;
        for (uint32_t c = 0; c < node.used; ++c) node.slotData->ids[c] = rng();
        for (uint32_t i = 0; i < node.used; ++i) {
            uint8_t *e = nf_entry(node, i);
            const std::string n = std::to_string(static_cast<int>(rng() % 20000) - 10000);
            if (kind == 0) {
                if (rng() % 3) nf_put(code, e, ("c" + n).c_str(), sub);
                if (rng() % 3) nf_put(qty, e, n.c_str(), sub);
            } else if (kind == 1) {
                const ZEL_SLOT s = rng();
                std::memcpy(e, &s, sizeof s);
                nf_put(placed, e + 8, "2024-02-29 12:00:00", sub);
                nf_put(price, e + 8, (n + ".25").c_str(), sub);
            } else {
                const ZEL_BLOB_NODE_DATA b{rng(), rng() % 1000};
                std::memcpy(e, &b, sizeof b);
            }
        }
        for (bool expanded : {false, true}) {
            const Bytes once = nf_pack(node, sub, expanded);
            ZEL_NODE back{};
            ASSERT_EQ(kind == 0   ? nf_unpack(&back, ki, once, sub, expanded)
                      : kind == 1 ? nf_unpack(&back, ri, once, sub, expanded)
                                  : nf_unpack(&back, cat.photo, once, sub, expanded),
                      sOKAY);
            EXPECT_EQ(back.used, node.used);
            if (node.used || expanded) {  // an empty compact node has lost its child
                EXPECT_EQ(0, std::memcmp(back.slotData->children, node.slotData->children,
                                         (node.used + 1u) * 8));
            }
            // The expanded join reader sets no has-value byte: its entries
            // differ from the written ones in those bytes alone.
            if (!(expanded && kind == 1)) {
                EXPECT_EQ(0, std::memcmp(back.slotData->node_data, node.slotData->node_data,
                                         size_t{node.used} * node.slotItemLen))
                    << round << expanded;
            }
            EXPECT_EQ(rf_hex(nf_pack(back, sub, expanded)), rf_hex(once));
            node_free(&back);
        }
        node_free(&node);
    }
}

TEST_F(NodeLived, OutOfMemory) {
    ZEL_NODE node{};
    ASSERT_EQ(nf_unpack(&node, cat.byCode, {0x00}, sub, false), sOKAY);
    node.used = 2;
    const SCH_ELEM_INFO_C code = sch_key_elem_c(cat.byCode, 0);
    nf_put(code, nf_entry(node, 1), "key", sub);
    const Bytes compact = nf_pack(node, sub, false), img = nf_pack(node, sub, true);
    node_free(&node);
    for (bool expanded : {false, true}) {
        const Bytes empty = expanded ? Bytes(10, 0) : Bytes{0};
        oom_check(master, {sub}, [&]() {
            ZEL_NODE n{};
            const ZEL_RETCODE rc =
                nf_unpack(&n, cat.byCode, expanded ? img : compact, sub, expanded);
            if (rc == sOKAY) {
                EXPECT_EQ(rf_hex(nf_pack_static(n, expanded)), rf_hex(expanded ? img : compact));
                node_free(&n);
            }
            EXPECT_EQ(n.slotData, nullptr);
            return rc;
        });
        for (int kind : {1, 2}) {
            oom_check(master, {sub}, [&]() {
                ZEL_NODE n{};
                const ZEL_RETCODE rc = kind == 1
                                           ? nf_unpack(&n, cat.itemOwner, empty, sub, expanded)
                                           : nf_unpack(&n, cat.photo, empty, sub, expanded);
                node_free(&n);
                return rc;
            });
        }
    }
}
