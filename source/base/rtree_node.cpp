/*
 * rtree_node.cpp - a node of a spatial key in its compact and expanded forms.
 *
 * The one idea: in memory a box is 2 x dim doubles, but the compact form
 * stores it in the type of the key's array column, as that column's packed
 * array value. So writing converts each double to the element type (by the
 * table below, through helpers that give every double, NaN and out of range
 * included, a defined result), lays the elements out in a cleared 64-byte
 * buffer and packs it through the column; reading runs the same way back.
 * The expanded form keeps the doubles as they are.
 *
 * Compact form, varints:
 *   FIELD       CONTENT
 *   used        entries in use, at most 32
 *   level
 *   ids         used slots
 *   boundaries  used array values of the key's column, each 2 x dim
 *               elements: the lows of every dimension, then the highs
 *
 * Expanded form, host order:
 *   OFFSET        SIZE              MEANING
 *   0             2                 used
 *   2             2                 level
 *   4             used x 8          ids
 *   4 + used x 8  used x dim x 16   boundaries as doubles, from entry 0
 */
#include "rtree_node.h"

#include <cstring>
#include <limits>

#include "decoder.h"
#include "encoder.h"
#include "schema.h"
#include "schema_ops.h"
#include "tag_sub.h"
#include "types.h"
#include "value.h"
#include "vint_internal.h"

static_assert(offsetof(ZEL_RTREE_SLOT_DATA, boundary) == 8 * ZEL_RTREE_MAX_ENTRIES,
              "the boundaries follow the 32 ids");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559,
              "boundaries are IEEE doubles, rounded to IEEE singles");

namespace {

// The buffer one box is laid out in for its column: 2 x dim elements at
// most this long.
constexpr size_t kBoxBytes = 64;

/* ---- Doubles to elements and back. */

// Truncation to 32 or 64 bits; NaN and values out of range give the most
// negative value, whose low bits the narrower types then keep.
int32_t rtree_trunc32(double v) {
    return v >= -2147483648.0 && v < 2147483648.0 ? static_cast<int32_t>(v) : INT32_MIN;
}
int64_t rtree_trunc64(double v) {
    return v >= -9223372036854775808.0 && v < 9223372036854775808.0 ? static_cast<int64_t>(v)
                                                                    : INT64_MIN;
}

// 2 to the 63: where the unsigned 64-bit elements set their top bit.
constexpr double kTop = 9223372036854775808.0;

uint64_t rtree_to_uint64(double v) {
    if (v >= kTop) return static_cast<uint64_t>(rtree_trunc64(v - kTop)) | (uint64_t{1} << 63);
    return static_cast<uint64_t>(rtree_trunc64(v));
}

// The usual halving: the top bit set, the value is halved (keeping the low
// bit as a sticky bit, so that the rounding is the exact value's) and
// doubled again.
double rtree_from_uint64(uint64_t u) {
    if (u >> 63) return 2.0 * static_cast<double>(static_cast<int64_t>((u >> 1) | (u & 1)));
    return static_cast<double>(static_cast<int64_t>(u));
}

template <class T>
void rtree_store(uint8_t *at, T v) {
    std::memcpy(at, &v, sizeof v);
}
template <class T>
T rtree_load(const uint8_t *at) {
    T v;
    std::memcpy(&v, at, sizeof v);
    return v;
}

// One element type of a box: its width and its two conversions.
struct RtreeElem {
    ZEL_TYPE type;
    uint32_t size;
    void (*put)(uint8_t *at, double v);
    double (*get)(const uint8_t *at);
};

constexpr RtreeElem kRtreeElems[] = {
    {ZEL_INT8, 1,
     [](uint8_t *at, double v) { rtree_store(at, static_cast<uint8_t>(rtree_trunc32(v))); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<int8_t>(at)); }},
    {ZEL_UINT8, 1,
     [](uint8_t *at, double v) { rtree_store(at, static_cast<uint8_t>(rtree_trunc32(v))); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<uint8_t>(at)); }},
    {ZEL_INT16, 2,
     [](uint8_t *at, double v) { rtree_store(at, static_cast<uint16_t>(rtree_trunc32(v))); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<int16_t>(at)); }},
    {ZEL_UINT16, 2,
     [](uint8_t *at, double v) { rtree_store(at, static_cast<uint16_t>(rtree_trunc32(v))); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<uint16_t>(at)); }},
    {ZEL_INT32, 4, [](uint8_t *at, double v) { rtree_store(at, rtree_trunc32(v)); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<int32_t>(at)); }},
    {ZEL_UINT32, 4,
     [](uint8_t *at, double v) { rtree_store(at, static_cast<uint32_t>(rtree_trunc64(v))); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<uint32_t>(at)); }},
    {ZEL_INT64, 8, [](uint8_t *at, double v) { rtree_store(at, rtree_trunc64(v)); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<int64_t>(at)); }},
    {ZEL_UINT64, 8, [](uint8_t *at, double v) { rtree_store(at, rtree_to_uint64(v)); },
     [](const uint8_t *at) { return rtree_from_uint64(rtree_load<uint64_t>(at)); }},
    {ZEL_FLOAT, 4, [](uint8_t *at, double v) { rtree_store(at, static_cast<float>(v)); },
     [](const uint8_t *at) { return static_cast<double>(rtree_load<float>(at)); }},
    {ZEL_DOUBLE, 8, [](uint8_t *at, double v) { rtree_store(at, v); },
     [](const uint8_t *at) { return rtree_load<double>(at); }},
};

// The widths agree with the type descriptors' table.
consteval bool rtree_elems_consistent() {
    for (const RtreeElem &e : kRtreeElems) {
        const int row = zel::detail::typeInfoIndex(e.type);
        if (row < 0 || zel::detail::typeInfo[row].len != e.size) return false;
    }
    return true;
}
static_assert(rtree_elems_consistent());

const RtreeElem *rtree_elem(ZEL_TYPE type) {
    for (const RtreeElem &e : kRtreeElems)
        if (e.type == type) return &e;
    return nullptr;
}

/* ---- The key's column. */

struct RtreeKey {
    SCH_COL_INFO_C col;
    SCH_TYPE_INFO_C pi;
    const RtreeElem *elem;  // null: an element type that moves as zeros
    uint16_t dim;
};

// The array column of the key's first element, and the node's dim from it.
ZEL_RETCODE rtree_key(SCH_KEY_INFO_C ki, RtreeKey *k) {
    if (!ki) return eINVNULLARG;
    if (!ki->num_elems || !ki->elems || !ki->elems[0].col) return eRANGE;
    k->col = ki->elems[0].col;
    k->pi = sch_col_type_c(k->col);
    if (size_t{k->pi->elems} * b_typeGetLength(k->pi->type) > kBoxBytes ||
        k->pi->byte_len > kBoxBytes)
        return eRANGE;
    k->elem = rtree_elem(k->pi->type);
    k->dim = static_cast<uint16_t>(k->pi->elems >> 1);
    return sOKAY;
}

size_t rtree_box_len(uint32_t dim) {
    return 2 * size_t{dim};
}

double *rtree_box(ZEL_RTREE_SLOT_DATA *sd, uint32_t dim, uint32_t i) {
    return sd->boundary + rtree_box_len(dim) * i;
}

// Entry i's box as the column's array value.
ZEL_RETCODE rtree_pack_box(const RtreeKey &k, const double *box, const B_ENCODER_T *encoder) {
    alignas(8) uint8_t buf[kBoxBytes] = {};
    if (k.elem)
        for (size_t e = 0; e < rtree_box_len(k.dim); ++e)
            k.elem->put(buf + e * k.elem->size, box[e]);
    ZEL_VALUE v;
    zel_valueInit(&v);
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = sch_col_assign_from_buff_raw_fcn(k.col, &v, buf, 0));
    return sch_col_pack_buffer_fcn(k.col, &v, encoder);
}

ZEL_RETCODE rtree_unpack_box(const RtreeKey &k, double *box, const B_DECODER_T *decoder) {
    const ZEL_TYPE_INFO *ops = sch_type_info(k.pi);
    if (!ops || !ops->unpack_to_buff_fcn) return eNOTIMPLEMENTED;
    alignas(8) uint8_t buf[kBoxBytes] = {};
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = ops->unpack_to_buff_fcn(k.pi, buf, nullptr, decoder));
    if (k.elem)
        for (size_t e = 0; e < rtree_box_len(k.dim); ++e)
            box[e] = k.elem->get(buf + e * k.elem->size);
    return sOKAY;
}

ZEL_RETCODE rtree_check_used(uint16_t used) {
    return used > ZEL_RTREE_MAX_ENTRIES ? eDBCORRUPTED : sOKAY;
}

// The frame both readers share: the record's fields, the cleared slotData,
// the seek, then `read` for the rest; a failure frees slotData.
template <class Read>
ZEL_RETCODE rtree_unpack_with(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki, const B_DECODER_T *decoder,
                              B_TAG_SUB subTag, Read read) {
    if (!node || !decoder || !decoder->ctx) return eINVNULLARG;
    RtreeKey k;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = rtree_key(ki, &k));
    node->slot = 0;
    node->ki = ki;
    node->subTag = subTag;
    node->dim = k.dim;
    node->slotData = nullptr;
    ZEL_RTREE_SLOT_DATA *sd = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocZero(
                  subTag,
                  offsetof(ZEL_RTREE_SLOT_DATA, boundary) +
                      ZEL_RTREE_MAX_ENTRIES * rtree_box_len(k.dim) * sizeof(ZEL_RTREE_BOUNDARY),
                  &sd));
    node->slotData = sd;
    uint16_t used = 0, level = 0;
    if ((rc = b_decoderSeek(decoder, 0)) == sOKAY && (rc = read(k, sd, &used, &level)) == sOKAY) {
        node->used = used;
        node->level = level;
        return sOKAY;
    }
    rtree_free(node);
    return rc;
}

ZEL_RETCODE rtree_check_node(const ZEL_RTREE_NODE *node, const B_ENCODER_T *encoder) {
    if (!node || !encoder) return eINVNULLARG;
    if (node->used > ZEL_RTREE_MAX_ENTRIES) return eRANGE;
    if (node->used && !node->slotData) return eINVNULLARG;
    return sOKAY;
}

}  // namespace

ZEL_RETCODE rtree_pack_compact(const ZEL_RTREE_NODE *node, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = rtree_check_node(node, encoder));
    RtreeKey k;
    ZEL_CHECK(rc = rtree_key(node->ki, &k));
    if (node->dim != k.dim) return eINVARG;
    B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, node->used));
    B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, node->level));
    ZEL_RTREE_SLOT_DATA *sd = node->slotData;
    for (uint32_t i = 0; i < node->used; ++i)
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, sd->ids[i]));
    for (uint32_t i = 0; i < node->used; ++i)
        B_STREAM_CHECK(rc = rtree_pack_box(k, rtree_box(sd, k.dim, i), encoder));
    return sOKAY;
}

ZEL_RETCODE rtree_pack_expanded(const ZEL_RTREE_NODE *node, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = rtree_check_node(node, encoder));
    const uint16_t head[2] = {node->used, node->level};
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, head, sizeof head));
    if (node->used == 0) return sOKAY;
    B_STREAM_CHECK(
        rc = b_encoderEncodeBytesBulk(encoder, node->slotData->ids, node->used * sizeof(ZEL_SLOT)));
    const size_t boxes = node->used * rtree_box_len(node->dim) * sizeof(ZEL_RTREE_BOUNDARY);
    if (boxes == 0) return sOKAY;
    return b_encoderEncodeBytesBulk(encoder, node->slotData->boundary, boxes);
}

ZEL_RETCODE rtree_unpack_compact(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki,
                                 const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    return rtree_unpack_with(
        node, ki, decoder, subTag,
        [decoder](const RtreeKey &k, ZEL_RTREE_SLOT_DATA *sd, uint16_t *pUsed, uint16_t *pLevel) {
            ZEL_RETCODE rc;
            B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, pUsed));
            B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, pLevel));
            B_STREAM_CHECK(rc = rtree_check_used(*pUsed));
            for (uint32_t i = 0; i < *pUsed; ++i)
                B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, &sd->ids[i]));
            for (uint32_t i = 0; i < *pUsed; ++i)
                B_STREAM_CHECK(rc = rtree_unpack_box(k, rtree_box(sd, k.dim, i), decoder));
            return sOKAY;
        });
}

ZEL_RETCODE rtree_unpack_expanded(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki,
                                  const B_DECODER_T *decoder, B_TAG_SUB subTag) {
    return rtree_unpack_with(
        node, ki, decoder, subTag,
        [decoder](const RtreeKey &k, ZEL_RTREE_SLOT_DATA *sd, uint16_t *pUsed, uint16_t *pLevel) {
            ZEL_RETCODE rc;
            uint16_t head[2];
            B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder, sizeof head, head, nullptr));
            B_STREAM_CHECK(rc = rtree_check_used(head[0]));
            *pUsed = head[0];
            *pLevel = head[1];
            if (head[0] == 0) return sOKAY;
            B_STREAM_CHECK(rc = b_decoderDecodeBytesBulk(decoder, head[0] * sizeof(ZEL_SLOT),
                                                         sd->ids, nullptr));
            const size_t boxes = head[0] * rtree_box_len(k.dim) * sizeof(ZEL_RTREE_BOUNDARY);
            if (boxes == 0) return sOKAY;
            return b_decoderDecodeBytesBulk(decoder, boxes, sd->boundary, nullptr);
        });
}

void rtree_free(ZEL_RTREE_NODE *node) {
    if (!node) return;
    if (node->slotData) b_tag_subFree(node->subTag, node->slotData);
    node->slotData = nullptr;
}
