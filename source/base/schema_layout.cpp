/*
 * schema_layout.cpp - offsets of columns in row buffers, of elements in key
 * buffers and of sort columns in reference sort buffers, laid out like a C
 * struct: each item aligned to its type's boundary, has-value bytes after the
 * data, the total rounded to the widest alignment. One table by type gives
 * the length rule and the alignment; everything else is a walk over it.
 *
 * A row buffer, by ZEL_ROW_BUFFER_INFO:
 * OFFSET             SIZE            MEANING
 * 0                  24 * num_avls   AVL links
 * ref_offset         8 * num_refs    reference links
 * col_status_offset  4 * num_cols    column status
 * col_data_offset    byte_len        column data (after padding to 8)
 */
#include "schema_layout.h"

#include <algorithm>
#include <cstring>

#include "schema.h"

namespace {

/* How a type's length in a buffer is computed. */
enum SchLenRule : uint8_t {
    LEN_NONE,  /* no row form */
    LEN_ELEMS, /* size x elems (0 elems is 1) */
    LEN_FIXED, /* size */
    LEN_DECL,  /* declared length */
    LEN_DECL2, /* declared length + 2 (variable binary's length word) */
    LEN_LOB,   /* 0: no place in the row */
};

/* A type's rule; its element size is the one table of type facts
 * (typeInfoLength) and its alignment the descriptor row's. */
struct SchTypeLayout {
    ZEL_TYPE type;
    SchLenRule rule;
};

constexpr SchTypeLayout schTypeLayouts[] = {
    {ZEL_BOOL, LEN_ELEMS},         {ZEL_INT8, LEN_ELEMS},        {ZEL_UINT8, LEN_ELEMS},
    {ZEL_INT16, LEN_ELEMS},        {ZEL_UINT16, LEN_ELEMS},      {ZEL_INT32, LEN_ELEMS},
    {ZEL_UINT32, LEN_ELEMS},       {ZEL_INT64, LEN_ELEMS},       {ZEL_UINT64, LEN_ELEMS},
    {ZEL_FLOAT, LEN_ELEMS},        {ZEL_DOUBLE, LEN_ELEMS},      {ZEL_BCD, LEN_FIXED},
    {ZEL_DATE, LEN_FIXED},         {ZEL_TIME, LEN_FIXED},        {ZEL_TIMETZ, LEN_FIXED},
    {ZEL_TIMESTAMP, LEN_FIXED},    {ZEL_TIMESTAMPTZ, LEN_FIXED}, {ZEL_ROWID, LEN_FIXED},
    {ZEL_UUID, LEN_FIXED},         {ZEL_CHAR, LEN_DECL},         {ZEL_VARCHAR, LEN_DECL},
    {ZEL_WCHAR, LEN_DECL},         {ZEL_WCHAR_UTF8, LEN_DECL},   {ZEL_WVARCHAR, LEN_DECL},
    {ZEL_WVARCHAR_UTF8, LEN_DECL}, {ZEL_BINARY, LEN_DECL},       {ZEL_VARBINARY, LEN_DECL2},
    {ZEL_BLOB, LEN_LOB},           {ZEL_CLOB, LEN_LOB},          {ZEL_WCLOB, LEN_LOB},
    {ZEL_WCLOB_UTF8, LEN_LOB},
};

constexpr const SchTypeLayout *sch_layout_of(ZEL_TYPE type) {
    for (const auto &row : schTypeLayouts)
        if (row.type == type) return &row;
    return nullptr;
}

/* Every type with a place of its own size in the row has that size in the
 * table of type facts. */
constexpr bool sch_layoutSizesKnown() {
    for (const auto &row : schTypeLayouts) {
        const size_t n = zel::detail::typeInfoLength(row.type);
        if ((row.rule == LEN_ELEMS || row.rule == LEN_FIXED) != (n != 0)) return false;
    }
    return true;
}
static_assert(sch_layoutSizesKnown());
static_assert(zel::detail::typeInfoLength(ZEL_BOOL) == 4, "a boolean column takes 4 bytes");

constexpr uint32_t SCH_MAX_ITEM_LEN = 65535;
constexpr uint32_t SCH_STORED_MULTIPLIER = 4;

B_ALIGN_TYPE sch_col_align(SCH_COL_INFO_C ci) {
    return sch_type_align(sch_col_data_type(ci));
}

bool sch_layout_stored(SCH_TBL_INFO_C ti, uint32_t multiplier) {
    return multiplier == SCH_STORED_MULTIPLIER ||
           (ti && ti->name && !strcmp(ti->name, "_sys_files"));
}

bool sch_is_narrowable(ZEL_TYPE t) {
    return t == ZEL_CHAR || t == ZEL_VARCHAR || t == ZEL_WCHAR_UTF8 || t == ZEL_WVARCHAR_UTF8;
}

/* One step of every multiplier walk: the column's aligned offset from `off`,
 * and its length for `multiplier` bytes per character into *col_length. */
uint32_t sch_col_offset_ex(SCH_COL_INFO_C ci, uint32_t off, uint32_t multiplier,
                           uint32_t *col_length) {
    const uint32_t res = b_align(off, sch_col_align(ci));
    if (col_length) {
        const uint32_t len = sch_col_byte_len(ci);
        /* A character length counts 4 bytes a character and a terminator. */
        *col_length = sch_is_narrowable(sch_col_data_type(ci)) && len > 0
                          ? (len - 1) / 4 * multiplier + 1
                          : len;
    }
    return res;
}

/* The running state of a multiplier walk. */
struct SchWalk {
    uint32_t off = 0;
    uint32_t last = 0;
    uint32_t nullable = 0;
    B_ALIGN_TYPE widest = B_ALN_CHAR;

    /* Places `ci`, returning its offset and length. */
    uint32_t step(SCH_COL_INFO_C ci, uint32_t multiplier, uint32_t *len) {
        last = sch_col_offset_ex(ci, off, multiplier, len);
        off = last + *len;
        widest = std::max(widest, sch_col_align(ci));
        if (sch_col_nullable(ci)) ++nullable;
        return last;
    }
};

}  // namespace

B_ALIGN_TYPE sch_type_align(ZEL_TYPE type) {
    const ZEL_TYPE_INFO *row = sch_layout_of(type) ? b_typeGetInfo(type) : nullptr;
    return row ? row->ext_align : B_ALN_CHAR;
}

ZEL_RETCODE sch_type_calc_byte_len(SCH_TYPE_INFO pi) {
    if (!pi) return eINVNULLARG;
    const SchTypeLayout *row = sch_layout_of(pi->type);
    if (!row) return eBADCAT;
    uint32_t len = 0;
    switch (row->rule) {
        case LEN_ELEMS:
            len = static_cast<uint32_t>(zel::detail::typeInfoLength(pi->type)) *
                  std::max<uint32_t>(pi->elems, 1);
            break;
        case LEN_FIXED:
            len = static_cast<uint32_t>(zel::detail::typeInfoLength(pi->type));
            break;
        case LEN_DECL:
            len = pi->x.c.len;
            break;
        case LEN_DECL2:
            len = pi->x.b.len + 2u;
            break;
        case LEN_LOB:
            len = 0;
            break;
        case LEN_NONE:
            return eBADCAT;
    }
    if (len > SCH_MAX_ITEM_LEN) return eBADCAT;
    pi->byte_len = static_cast<uint16_t>(len);
    return sOKAY;
}

ZEL_RETCODE sch_tbl_calc_offsets(SCH_TBL_INFO ti) {
    if (!ti) return eINVNULLARG;
    ZEL_RETCODE rc;
    uint32_t len = 0;
    B_ALIGN_TYPE widest = B_ALN_CHAR;
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD)) {
        SCH_TYPE_INFO pi = sch_col_type(ci);
        ZEL_CHECK(rc = sch_type_calc_byte_len(pi));
        if (pi->type & ZEL_TYPE_LOB_BIT) {
            ci->ptr = 0;
            continue;
        }
        const B_ALIGN_TYPE a = sch_type_align(pi->type);
        ci->ptr = b_align(len, a);
        len = ci->ptr + pi->byte_len;
        widest = std::max(widest, a);
    }
    ti->has_value_off = len;
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD))
        ci->has_value_off = sch_col_nullable(ci) ? len++ : 0;
    ti->byte_len = b_align(len, widest);
    return sOKAY;
}

ZEL_RETCODE sch_key_finalize_offsets(SCH_KEY_INFO ki) {
    if (!ki) return eINVNULLARG;
    uint32_t len = 0;
    B_ALIGN_TYPE widest = B_ALN_CHAR;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        SCH_ELEM_INFO ei = &ki->elems[i];
        if (!ei->col) return eBADCAT;
        const B_ALIGN_TYPE a = sch_col_align(ei->col);
        ei->ptr = b_align(len, a);
        len = ei->ptr + sch_col_byte_len(ei->col);
        widest = std::max(widest, a);
    }
    ki->has_value_off = len;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        SCH_ELEM_INFO ei = &ki->elems[i];
        ei->has_value_off = sch_col_nullable(ei->col) ? len++ : 0;
    }
    ki->byte_len = b_align(len, widest);
    return sOKAY;
}

ZEL_RETCODE sch_ref_calc_sort_offsets(SCH_REF_INFO ri) {
    if (!ri) return eINVNULLARG;
    uint32_t len = 0;
    for (ZEL_COL_INDEX i = 0; i < ri->num_sort_cols; ++i) {
        SCH_SORT_INFO si = &ri->sort_cols[i];
        if (!si->col) return eBADCAT;
        si->ptr = b_align(len, sch_col_align(si->col));
        len = si->ptr + sch_col_byte_len(si->col);
    }
    /* Only NOT NULL counts here, not the primary key, and there is no final
     * rounding: the sort buffer differs from a key buffer on purpose. */
    for (ZEL_COL_INDEX i = 0; i < ri->num_sort_cols; ++i) {
        SCH_SORT_INFO si = &ri->sort_cols[i];
        si->has_value_off = si->col->not_null ? 0 : len++;
    }
    ri->sort_byte_len = len;
    return sOKAY;
}

void sch_tbl_generate_buffer_info(SCH_TBL_INFO ti) {
    if (!ti) return;
    ZEL_ROW_BUFFER_INFO &b = ti->bufferInfo;
    b.avl_offset = 0;
    b.ref_offset = SCH_ROW_AVL_BYTES * size_t{ti->num_avls};
    b.col_status_offset = b.ref_offset + SCH_ROW_REF_BYTES * size_t{ti->num_refs};
    b.col_data_offset =
        b_alignBufferSize(b.col_status_offset + SCH_ROW_STATUS_BYTES * size_t{ti->num_cols});
    b.col_data_size = ti->byte_len;
    b.row_buffer_size = b.col_data_offset + b.col_data_size;
    b.num_avls = ti->num_avls;
    b.num_refs = ti->num_refs;
    b.num_cols = ti->num_cols;
}

ZEL_RETCODE sch_tbl_get_buffer_info(SCH_TBL_INFO_C ti, ZEL_ROW_BUFFER_INFO *info) {
    if (!ti || !info) return eINVNULLARG;
    *info = ti->bufferInfo;
    return sOKAY;
}

void sch_bucket_generate_buffer_info(SCH_KEY_INFO ki) {
    if (!ki) return;
    ZEL_BUCKET_BUFFER_INFO &b = ki->bufferInfo.bucket;
    b.bucket_len = SCH_BUCKET_LEN;
    b.data_len = b_alignBufferSize(SCH_BUCKET_ENTRIES * size_t{ki->byte_len});
    b.id_len = SCH_BUCKET_ID_LEN;
    b.key_byte_len = ki->byte_len;
    b.buffer_len = b.data_len + SCH_BUCKET_LEN + SCH_BUCKET_ID_LEN;
}

ZEL_RETCODE sch_bucket_get_buffer_info(SCH_KEY_INFO_C ki, ZEL_BUCKET_BUFFER_INFO *info) {
    if (!ki || !info) return eINVNULLARG;
    *info = ki->bufferInfo.bucket;
    return sOKAY;
}

// ---- Multiplier variants.

uint32_t sch_col_offset_with_mult(SCH_COL_INFO_C ci, uint32_t multiplier, uint32_t *col_length) {
    if (!ci || !col_length) return 0;
    if (sch_layout_stored(ci->table, multiplier)) return ci->ptr;
    SchWalk w;
    for (auto c = sch_iterate_cols_active(ci->table, nullptr, ZEL_FORWARD); c;
         c = sch_iterate_cols_active(ci->table, c, ZEL_FORWARD)) {
        uint32_t len = 0;
        const uint32_t off = w.step(c, multiplier, &len);
        if (c->ndx == ci->ndx) {
            *col_length = len;
            return off;
        }
    }
    return w.last;
}

uint32_t sch_elem_offset_with_mult(SCH_ELEM_INFO_C ei, uint32_t multiplier, uint32_t *col_length) {
    if (!ei || !ei->key) return 0;
    SCH_KEY_INFO_C ki = ei->key;
    if (sch_layout_stored(ki->table, multiplier)) return ei->ptr;
    SchWalk w;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems && ki->elems[i].col; ++i) {
        uint32_t len = 0;
        const uint32_t off = w.step(ki->elems[i].col, multiplier, &len);
        if (&ki->elems[i] == ei) {
            if (col_length) *col_length = len;
            return off;
        }
    }
    return w.last;
}

namespace {

SchWalk sch_walk_table(SCH_TBL_INFO_C ti, uint32_t multiplier) {
    SchWalk w;
    for (auto c = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); c;
         c = sch_iterate_cols_active(ti, c, ZEL_FORWARD)) {
        uint32_t len = 0;
        w.step(c, multiplier, &len);
    }
    return w;
}

SchWalk sch_walk_key(SCH_KEY_INFO_C ki, uint32_t multiplier) {
    SchWalk w;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems && ki->elems[i].col; ++i) {
        uint32_t len = 0;
        w.step(ki->elems[i].col, multiplier, &len);
    }
    return w;
}

}  // namespace

uint32_t sch_tbl_byte_len_ex(SCH_TBL_INFO_C ti, uint32_t multiplier) {
    if (!ti) return 0;
    if (sch_layout_stored(ti, multiplier)) return ti->byte_len;
    const SchWalk w = sch_walk_table(ti, multiplier);
    return b_align(w.off + w.nullable, w.widest);
}

uint32_t sch_key_byte_len_with_mult(SCH_KEY_INFO_C ki, uint32_t multiplier) {
    if (!ki) return 0;
    if (sch_layout_stored(ki->table, multiplier)) return ki->byte_len;
    if (ki->num_elems == 0) return 0;
    const SchWalk w = sch_walk_key(ki, multiplier);
    return b_align(w.off + w.nullable, w.widest);
}

ZEL_HAS_VALUE_OFFSET sch_tbl_has_value_offset_with_mult(SCH_TBL_INFO_C ti, uint32_t multiplier) {
    if (!ti) return 0;
    if (sch_layout_stored(ti, multiplier)) return ti->has_value_off;
    return sch_walk_table(ti, multiplier).off;
}

ZEL_HAS_VALUE_OFFSET sch_elem_has_value_offset_with_mult(SCH_ELEM_INFO_C ei, uint32_t multiplier) {
    if (!ei || !ei->key) return 0;
    SCH_KEY_INFO_C ki = ei->key;
    if (sch_layout_stored(ki->table, multiplier)) return ei->has_value_off;
    const uint32_t sum = sch_walk_key(ki, multiplier).off;
    /* Every element in front counts one, nullable or not: kept as the
     * stored layouts of this variant have it. */
    return ei->has_value_off ? sum + static_cast<uint32_t>(ei - ki->elems) : sum;
}
