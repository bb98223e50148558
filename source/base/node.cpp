/*
 * node.cpp - index, join and blob nodes in their compact and expanded forms.
 *
 * The one idea: the shape of a node (its count, children and ids, then one
 * entry per id) is the same in both forms and for all three kinds; only the
 * entries differ by kind, and in compact form an entry of key or sort
 * columns names each value by its column id, so a null takes no bytes. There
 * is no prefix compression: each entry stands alone.
 *
 * Compact form, all fields varints:
 *   FIELD     PRESENT          CONTENT
 *   used      always           entries in use, at most 33
 *   children  used not 0       children[0..used]
 *   ids       used not 0       ids[0..used-1]
 *   entries   used not 0       per kind:
 *     index   n, the key elements holding a value, then n pairs of column id
 *             and value in packed form, in key order
 *     join    the member's slot; with sort columns, n and n pairs as above
 *     blob    slot, seq
 *
 * Expanded form, raw fields in the host's order:
 *   FIELD     SIZE             CONTENT
 *   used      2
 *   children  (used + 1) * 8   also when used is 0
 *   ids       used * 8
 *   entries   index: used * the key's byte_len, blob: used * 16, as they
 *             stand in node_data; join: not raw, per entry a varint slot and,
 *             with sort columns, the count of all of them and a pair of
 *             column id and packed value for each
 */
#include "node.h"

#include <cstring>

#include "node_internal.h"

#include "decoder.h"
#include "encoder.h"
#include "schema.h"
#include "schema_ops.h"
#include "tag_sub.h"
#include "value.h"
#include "vint_internal.h"

static_assert(offsetof(ZEL_NODE_SLOT_DATA, children) == 0 &&
                  offsetof(ZEL_NODE_SLOT_DATA, ids) == 8 * ZEL_NODE_MAX_CHILDREN &&
                  offsetof(ZEL_NODE_SLOT_DATA, node_data) == 536,
              "the fixed part of a node is 34 children and 33 ids");
static_assert(sizeof(ZEL_BLOB_NODE_DATA) == 16 && offsetof(ZEL_BLOB_NODE_DATA, seq) == 8,
              "a blob entry is its slot and sequence, 16 bytes");

namespace {

constexpr uint32_t kBlobEntryLen = sizeof(ZEL_BLOB_NODE_DATA);
constexpr uint32_t kJoinSlotLen = sizeof(ZEL_SLOT);

// Bytes per entry of each kind, and what the kind sets in a node it reads.
uint64_t node_len_of(SCH_KEY_INFO_C ki) {
    return ki->byte_len;
}
uint64_t node_len_of(SCH_REF_INFO_C ri) {
    return uint64_t{kJoinSlotLen} + ri->sort_byte_len;
}
uint64_t node_len_of(SCH_COL_INFO_C) {
    return kBlobEntryLen;
}
void node_set_kind(ZEL_NODE *node, SCH_KEY_INFO_C ki) {
    node->type = ZEL_INDEX_NODE;
    node->ptr.ki = ki;
    node->slot = 0;  // kept: only the index readers reset the node's own slot
}
void node_set_kind(ZEL_NODE *node, SCH_REF_INFO_C ri) {
    node->type = ZEL_JOIN_NODE;
    node->ptr.ri = ri;
}
void node_set_kind(ZEL_NODE *node, SCH_COL_INFO_C ci) {
    node->type = ZEL_BLOB_NODE;
    node->ptr.ci = ci;
}

// Bytes per entry of `item`; eRANGE when slotItemLen cannot hold them.
template <class Item>
ZEL_RETCODE node_item_len(Item item, uint32_t *len) {
    if (!item) return eINVNULLARG;
    const uint64_t n = node_len_of(item);
    if (n > UINT16_MAX) return eRANGE;
    *len = static_cast<uint32_t>(n);
    return sOKAY;
}

ZEL_RETCODE node_item_len(const ZEL_NODE *node, uint32_t *len) {
    switch (node->type) {
        case ZEL_INDEX_NODE:
            return node_item_len(node->ptr.ki, len);
        case ZEL_JOIN_NODE:
            return node_item_len(node->ptr.ri, len);
        case ZEL_BLOB_NODE:
            return node_item_len(node->ptr.ci, len);
        default:
            return eINVARG;
    }
}

uint8_t *node_entry(ZEL_NODE_SLOT_DATA *sd, uint32_t len, uint32_t i) {
    return sd->node_data + size_t{len} * i;
}

/* ---- Key elements and sort columns, walked alike. */

SCH_ELEM_INFO node_next(SCH_KEY_INFO_C ki, SCH_ELEM_INFO_C prev) {
    return sch_iterate_elems(const_cast<SCH_KEY_INFO>(ki), prev, ZEL_FORWARD);
}
SCH_SORT_INFO node_next(SCH_REF_INFO_C ri, SCH_SORT_INFO_C prev) {
    return sch_iterate_sort_cols(const_cast<SCH_REF_INFO>(ri), prev, ZEL_FORWARD);
}
ZEL_RETCODE node_assign(SCH_ELEM_INFO_C ei, ZEL_VALUE *v, const uint8_t *buff) {
    return sch_elem_assign_from_buff_fcn(ei, v, buff);
}
ZEL_RETCODE node_assign(SCH_SORT_INFO_C si, ZEL_VALUE *v, const uint8_t *buff) {
    return sch_sort_assign_from_buff_fcn(si, v, buff);
}

using zel::detail::NodePairs;

// Whether an item goes out: the pairs of the compact forms hold the items
// with a value (expanded joins take every item, buckets those whose byte is
// not exactly 1).
template <class Item>
bool node_writes(const Item *it, const uint8_t *buff, NodePairs which) {
    if (!it->col) return false;
    const ZEL_HAS_VALUE_OFFSET hvo = it->has_value_off;
    switch (which) {
        case NodePairs::holding:
            return !hvo || buff[hvo] != 0;
        case NodePairs::unset_raw:
            return !hvo || buff[hvo] != 1;
        default:
            return true;
    }
}

// n, then n pairs of column id and packed value, of the items of `owner`
// (a key's elements or a reference's sort columns) in the buffer `buff`.
template <class Owner>
ZEL_RETCODE node_pack_pairs(Owner owner, const uint8_t *buff, NodePairs which,
                            const B_ENCODER_T *encoder) {
    const bool raw = which != NodePairs::holding;
    uint32_t n = 0;
    for (auto it = node_next(owner, nullptr); it; it = node_next(owner, it))
        n += node_writes(it, buff, which);
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, n));
    for (auto it = node_next(owner, nullptr); it; it = node_next(owner, it)) {
        if (!node_writes(it, buff, which)) continue;
        ZEL_VALUE v;
        zel_valueInit(&v);
        B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, it->col->ndx));
        B_STREAM_CHECK(rc = raw ? sch_col_assign_from_buff_raw_fcn(it->col, &v, buff, it->ptr)
                                : node_assign(it, &v, buff));
        B_STREAM_CHECK(rc = sch_col_pack_buffer_fcn(it->col, &v, encoder));
    }
    return sOKAY;
}

// Reads n pairs into the buffer `buff`. `compact` clears the has-value
// bytes first and lets the value set its byte; the expanded join reader does
// neither, deliberately, as its writer tests no null.
template <class Owner>
ZEL_RETCODE node_unpack_pairs(Owner owner, uint8_t *buff, bool compact,
                              const B_DECODER_T *decoder) {
    if (compact)
        for (auto it = node_next(owner, nullptr); it; it = node_next(owner, it))
            if (it->has_value_off) buff[it->has_value_off] = 0;
    ZEL_RETCODE rc;
    uint32_t n;
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &n));
    for (uint32_t k = 0; k < n; ++k) {
        uint16_t id;
        B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &id));
        auto it = node_next(owner, nullptr);
        while (it && !(it->col && it->col->ndx == id)) it = node_next(owner, it);
        if (!it) return eRANGE;  // kept: unlike a row's, an unknown id is not skipped
        SCH_TYPE_INFO_C pi = sch_col_type_c(it->col);
        const ZEL_TYPE_INFO *ops = sch_type_info(pi);
        if (!ops || !ops->unpack_to_buff_fcn) return eNOTIMPLEMENTED;
        uint8_t *hv = compact && it->has_value_off ? buff + it->has_value_off : nullptr;
        B_STREAM_CHECK(rc = ops->unpack_to_buff_fcn(pi, buff + it->ptr, hv, decoder));
    }
    return sOKAY;
}

/* ---- Entry readers, one per kind and form. */

ZEL_RETCODE node_unpack_compact_index_data(ZEL_NODE *node, const B_DECODER_T *decoder) {
    ZEL_RETCODE rc;
    for (uint32_t i = 0; i < node->used; ++i)
        B_STREAM_CHECK(rc = node_unpack_pairs(node->ptr.ki,
                                              node_entry(node->slotData, node->slotItemLen, i),
                                              true, decoder));
    return sOKAY;
}

// The sort pairs are read when the entry is longer than its slot (the
// writer asks whether the reference has sort columns; a reference without
// them has a sort length of 0, so the two agree).
ZEL_RETCODE node_unpack_join_entries(ZEL_NODE *node, const B_DECODER_T *decoder, bool compact) {
    ZEL_RETCODE rc;
    for (uint32_t i = 0; i < node->used; ++i) {
        uint8_t *entry = node_entry(node->slotData, node->slotItemLen, i);
        ZEL_SLOT slot;
        B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &slot));
        std::memcpy(entry, &slot, sizeof slot);
        if (node->slotItemLen != kJoinSlotLen)
            B_STREAM_CHECK(
                rc = node_unpack_pairs(node->ptr.ri, entry + kJoinSlotLen, compact, decoder));
    }
    return sOKAY;
}

ZEL_RETCODE node_unpack_compact_join_data(ZEL_NODE *node, const B_DECODER_T *decoder) {
    return node_unpack_join_entries(node, decoder, true);
}

ZEL_RETCODE node_unpack_expanded_join_data(ZEL_NODE *node, const B_DECODER_T *decoder) {
    return node_unpack_join_entries(node, decoder, false);
}

ZEL_RETCODE node_unpack_compact_blob_data(ZEL_NODE *node, const B_DECODER_T *decoder) {
    ZEL_RETCODE rc;
    for (uint32_t i = 0; i < node->used; ++i) {
        ZEL_BLOB_NODE_DATA b;
        B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &b.slot));
        B_STREAM_CHECK(rc = b_decoderDecodeUint64(decoder, &b.seq));
        std::memcpy(node_entry(node->slotData, kBlobEntryLen, i), &b, sizeof b);
    }
    return sOKAY;
}

// Index and blob entries in expanded form: the raw image of node_data.
ZEL_RETCODE node_unpack_expanded_raw_data(ZEL_NODE *node, const B_DECODER_T *decoder) {
    const size_t bytes = size_t{node->used} * node->slotItemLen;
    if (bytes == 0) return sOKAY;
    return b_decoderDecodeBytesBulk(decoder, bytes, node->slotData->node_data, nullptr);
}

// Sets what the kind decides, then reads by `unpack` with the entry reader.
template <class Item, class Unpack>
ZEL_RETCODE node_unpack_kind(ZEL_NODE *node, Item item, const B_DECODER_T *decoder,
                             B_TAG_SUB subTag, Unpack unpack, ZEL_NODE_DATA_FCN fcn) {
    if (!node) return eINVNULLARG;
    uint32_t len;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = node_item_len(item, &len));
    node_set_kind(node, item);
    node->slotItemLen = static_cast<uint16_t>(len);
    return unpack(node, decoder, fcn, subTag);
}

// The header of either form around `readHeader`, with the rules both share.
template <class ReadHeader>
ZEL_RETCODE node_unpack_with(ZEL_NODE *node, const B_DECODER_T *decoder, ZEL_NODE_DATA_FCN fcn,
                             B_TAG_SUB subTag, ReadHeader readHeader) {
    if (!node || !decoder || !fcn) return eINVNULLARG;
    node->subTag = subTag;
    node->slotData = nullptr;
    ZEL_NODE_SLOT_DATA *sd = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocZero(subTag,
                                      offsetof(ZEL_NODE_SLOT_DATA, node_data) +
                                          size_t{ZEL_NODE_MAX_ENTRIES} * node->slotItemLen,
                                      &sd));
    node->slotData = sd;
    uint16_t used = 0;
    if ((rc = b_decoderSeek(decoder, 0)) == sOKAY && (rc = readHeader(sd, &used)) == sOKAY) {
        node->used = used;
        rc = fcn(node, decoder);
    }
    if (rc != sOKAY) node_free(node);
    return rc;
}

ZEL_RETCODE node_check_used(uint16_t used) {
    return used > ZEL_NODE_MAX_ENTRIES ? eDBCORRUPTED : sOKAY;
}

}  // namespace

ZEL_RETCODE node_unpack_compact(ZEL_NODE *node, const B_DECODER_T *decoder, ZEL_NODE_DATA_FCN fcn,
                                B_TAG_SUB subTag) {
    return node_unpack_with(
        node, decoder, fcn, subTag, [decoder](ZEL_NODE_SLOT_DATA *sd, uint16_t *pUsed) {
            ZEL_RETCODE rc;
            uint16_t used;
            B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &used));
            B_STREAM_CHECK(rc = node_check_used(used));
            if (used) {
                for (uint32_t c = 0; c <= used; ++c)
                    B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &sd->children[c]));
                for (uint32_t c = 0; c < used; ++c)
                    B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &sd->ids[c]));
            }
            *pUsed = used;
            return sOKAY;
        });
}

ZEL_RETCODE node_unpack_expanded(ZEL_NODE *node, const B_DECODER_T *decoder, ZEL_NODE_DATA_FCN fcn,
                                 B_TAG_SUB subTag) {
    return node_unpack_with(
        node, decoder, fcn, subTag, [decoder](ZEL_NODE_SLOT_DATA *sd, uint16_t *pUsed) {
            ZEL_RETCODE rc;
            uint16_t used;
            B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder, sizeof used, &used, nullptr));
            B_STREAM_CHECK(rc = node_check_used(used));
            B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder,
                                                         (size_t{used} + 1) * sizeof(ZEL_SLOT),
                                                         sd->children, nullptr));
            if (used)
                B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(
                                   decoder, size_t{used} * sizeof(ZEL_SLOT), sd->ids, nullptr));
            *pUsed = used;
            return sOKAY;
        });
}

ZEL_RETCODE node_unpack_compact_index(ZEL_NODE *node, SCH_KEY_INFO_C ki, const B_DECODER_T *decoder,
                                      B_TAG_SUB subTag) {
    return node_unpack_kind(node, ki, decoder, subTag, node_unpack_compact,
                            node_unpack_compact_index_data);
}
ZEL_RETCODE node_unpack_compact_join(ZEL_NODE *node, SCH_REF_INFO_C ri, const B_DECODER_T *decoder,
                                     B_TAG_SUB subTag) {
    return node_unpack_kind(node, ri, decoder, subTag, node_unpack_compact,
                            node_unpack_compact_join_data);
}
ZEL_RETCODE node_unpack_compact_blob(ZEL_NODE *node, SCH_COL_INFO_C ci, const B_DECODER_T *decoder,
                                     B_TAG_SUB subTag) {
    return node_unpack_kind(node, ci, decoder, subTag, node_unpack_compact,
                            node_unpack_compact_blob_data);
}
ZEL_RETCODE node_unpack_expanded_index(ZEL_NODE *node, SCH_KEY_INFO_C ki,
                                       const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    return node_unpack_kind(node, ki, decoder, subTag, node_unpack_expanded,
                            node_unpack_expanded_raw_data);
}
ZEL_RETCODE node_unpack_expanded_join(ZEL_NODE *node, SCH_REF_INFO_C ri, const B_DECODER_T *decoder,
                                      B_TAG_SUB subTag) {
    return node_unpack_kind(node, ri, decoder, subTag, node_unpack_expanded,
                            node_unpack_expanded_join_data);
}
ZEL_RETCODE node_unpack_expanded_blob(ZEL_NODE *node, SCH_COL_INFO_C ci, const B_DECODER_T *decoder,
                                      B_TAG_SUB subTag) {
    return node_unpack_kind(node, ci, decoder, subTag, node_unpack_expanded,
                            node_unpack_expanded_raw_data);
}

ZEL_RETCODE node_pack_compact(const ZEL_NODE *node, const B_ENCODER_T *encoder) {
    if (!node || !encoder) return eINVNULLARG;
    uint32_t len;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = node_item_len(node, &len));
    if (node->used > ZEL_NODE_MAX_ENTRIES) return eRANGE;
    if (node->used && !node->slotData) return eINVNULLARG;
    // Kept: an empty node is the count alone, so its children[0] is lost.
    B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, node->used));
    if (node->used == 0) return sOKAY;
    ZEL_NODE_SLOT_DATA *sd = node->slotData;
    for (uint32_t c = 0; c <= node->used; ++c)
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, sd->children[c]));
    for (uint32_t c = 0; c < node->used; ++c)
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, sd->ids[c]));
    for (uint32_t i = 0; i < node->used; ++i) {
        const uint8_t *entry = node_entry(sd, len, i);
        if (node->type == ZEL_INDEX_NODE) {
            B_STREAM_CHECK(rc = node_pack_pairs(node->ptr.ki, entry, NodePairs::holding, encoder));
        } else if (node->type == ZEL_JOIN_NODE) {
            ZEL_SLOT slot;
            std::memcpy(&slot, entry, sizeof slot);
            B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, slot));
            if (node->ptr.ri->num_sort_cols)
                B_STREAM_CHECK(rc = node_pack_pairs(node->ptr.ri, entry + kJoinSlotLen,
                                                    NodePairs::holding, encoder));
        } else {
            ZEL_BLOB_NODE_DATA b;
            std::memcpy(&b, entry, sizeof b);
            B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, b.slot));
            B_STREAM_CHECK(rc = b_encoderEncodeUint64(encoder, b.seq));
        }
    }
    return sOKAY;
}

ZEL_RETCODE node_pack_expanded(const ZEL_NODE *node, const B_ENCODER_T *encoder) {
    if (!node || !encoder) return eINVNULLARG;
    uint32_t len;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = node_item_len(node, &len));
    if (node->used > ZEL_NODE_MAX_ENTRIES) return eRANGE;
    if (!node->slotData) return eINVNULLARG;
    ZEL_NODE_SLOT_DATA *sd = node->slotData;
    const uint16_t used = node->used;
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, &used, sizeof used));
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, sd->children,
                                                 (size_t{used} + 1) * sizeof(ZEL_SLOT)));
    if (used == 0) return sOKAY;
    B_STREAM_CHECK(rc =
                       b_encoderEncodeBytesBulk(encoder, sd->ids, size_t{used} * sizeof(ZEL_SLOT)));
    // Deliberately raw images for the fixed entries of index and blob nodes,
    // packed values for the reference's sort columns.
    if (node->type != ZEL_JOIN_NODE)
        return b_encoderEncodeBytesBulk(encoder, sd->node_data, size_t{used} * len);
    for (uint32_t i = 0; i < used; ++i) {
        const uint8_t *entry = node_entry(sd, len, i);
        ZEL_SLOT slot;
        std::memcpy(&slot, entry, sizeof slot);
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, slot));
        // Kept: every sort column goes out from its raw bytes, with no test
        // for null; the reader sets no has-value byte in turn.
        if (node->ptr.ri->num_sort_cols)
            B_STREAM_CHECK(rc = node_pack_pairs(node->ptr.ri, entry + kJoinSlotLen,
                                                NodePairs::all_raw, encoder));
    }
    return sOKAY;
}

ZEL_RETCODE zel::detail::node_pack_key_pairs(SCH_KEY_INFO_C ki, const uint8_t *buff,
                                             NodePairs which, const B_ENCODER_T *encoder) {
    return node_pack_pairs(ki, buff, which, encoder);
}

ZEL_RETCODE zel::detail::node_unpack_key_pairs(SCH_KEY_INFO_C ki, uint8_t *buff,
                                               const B_DECODER_T *decoder) {
    return node_unpack_pairs(ki, buff, true, decoder);
}

void node_free(ZEL_NODE *node) {
    if (!node) return;
    if (node->slotData) b_tag_subFree(node->subTag, node->slotData);
    node->slotData = nullptr;
}
