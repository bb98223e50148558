/*
 * schema_ops.cpp - column and key values through the type descriptors. One
 * helper writes a value at an offset with its has-value byte, one reads it
 * back; every column, key element and sort column goes through those two, so
 * row, key and sort buffers agree on what a null looks like (zeroed bytes
 * and a 0 has-value byte).
 */
#include "schema_ops.h"

#include <cstring>

#include "format.h"
#include "schema.h"
#include "types.h"
#include "value.h"

namespace {

const ZEL_TYPE_INFO *sch_ops_of(SCH_COL_INFO_C ci) {
    return sch_type_info(sch_col_type_c(ci));
}

bool sch_is_null(const ZEL_VALUE *v) {
    return !v || v->status == vsNULL;
}

bool sch_col_lob(SCH_COL_INFO_C ci) {
    return (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) != 0;
}

/* Writes `src` of column `ci` at buff + ptr, with its has-value byte at
 * buff + hvo when hvo is not 0. */
ZEL_RETCODE sch_ops_put(SCH_COL_INFO_C ci, uint8_t *buff, uint32_t ptr, ZEL_HAS_VALUE_OFFSET hvo,
                        const ZEL_VALUE *src) {
    if (!ci || !buff || !src) return eINVNULLARG;
    const size_t len = sch_col_byte_len(ci);
    if (src->status == vsNULL) {
        if (!sch_col_lob(ci)) memset(buff + ptr, 0, len);
        if (hvo) buff[hvo] = 0;
        return sOKAY;
    }
    if (src->status != vsOKAY) return sOKAY;  // nothing written; the byte is undefined
    if (!sch_col_lob(ci)) {
        const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
        if (!ops || !ops->copy_to_buff_fcn) return eNOTIMPLEMENTED;
        size_t size = len;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = ops->copy_to_buff_fcn(sch_col_type_c(ci), buff + ptr, &size, src));
    }
    if (hvo) buff[hvo] = 1;
    return sOKAY;
}

/* Reads column `ci` from buff + ptr (has-value byte at hvo when not 0) by
 * copying or borrowing. */
ZEL_RETCODE sch_ops_get(SCH_COL_INFO_C ci, const uint8_t *buff, uint32_t ptr,
                        ZEL_HAS_VALUE_OFFSET hvo, ZEL_VALUE *dst, B_TAG_SUB copyTag, bool copy) {
    if (!ci || !buff || !dst) return eINVNULLARG;
    if (hvo && buff[hvo] == 0) {
        zel_valueInitWithStatusAndType(dst, vsNULL, sch_col_data_type(ci));
        return sOKAY;
    }
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops) return eNOTIMPLEMENTED;
    const size_t len = sch_col_byte_len(ci);
    if (copy)
        return ops->copy_from_buff_fcn
                   ? ops->copy_from_buff_fcn(sch_col_type_c(ci), dst, buff + ptr, len, copyTag)
                   : eNOTIMPLEMENTED;
    return ops->assign_from_buff_fcn
               ? ops->assign_from_buff_fcn(sch_col_type_c(ci), dst, buff + ptr, len)
               : eNOTIMPLEMENTED;
}

ZEL_RETCODE sch_ops_hash(SCH_COL_INFO_C ci, const ZEL_VALUE *v, B_HASHCTX *hashctx) {
    if (!v || v->status != vsOKAY) return sOKAY;
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->hashfcn) return sOKAY;
    return ops->hashfcn(sch_col_type_c(ci), v, hashctx);
}

}  // namespace

const char *sch_type_ddl_text(SCH_TYPE_INFO_C pi) {
    const ZEL_TYPE_INFO *t = sch_type_info(pi);
    return t ? t->ddl_type_text : nullptr;
}
const char *sch_type_sql_text(SCH_TYPE_INFO_C pi) {
    const ZEL_TYPE_INFO *t = sch_type_info(pi);
    return t ? t->sql_type_text : nullptr;
}
const char *sch_type_text(SCH_TYPE_INFO_C pi) {
    const ZEL_TYPE_INFO *t = sch_type_info(pi);
    return t ? t->enum_name : nullptr;
}

ZEL_COMPARE sch_col_cmp_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *v1, const ZEL_VALUE *v2) {
    const bool n1 = sch_is_null(v1), n2 = sch_is_null(v2);
    if (n1 || n2) return n1 && n2 ? ZEL_EQ : (n1 ? ZEL_LT : ZEL_GT);
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->cmp) return ZEL_EQ;
    return ops->cmp(sch_col_type_c(ci), 0, v1, v2);
}

ZEL_COMPARE sch_col_cmp_buff_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *v1, const void *colData) {
    if (!colData) return sch_col_cmp_fcn(ci, v1, nullptr);
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->assign_from_buff_fcn) return ZEL_EQ;
    ZEL_VALUE v2;
    zel_valueInit(&v2);
    if (ops->assign_from_buff_fcn(sch_col_type_c(ci), &v2, colData, sch_col_byte_len(ci)) < 0)
        return ZEL_EQ;
    return sch_col_cmp_fcn(ci, v1, &v2);
}

ZEL_RETCODE sch_col_copy_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst, const ZEL_VALUE *src,
                             size_t maxExtraBytes, B_TAG_SUB subTag) {
    if (!ci || !dst || !src) return eINVNULLARG;
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->copy_fcn) return eNOTIMPLEMENTED;
    return ops->copy_fcn(sch_col_type_c(ci), dst, src, maxExtraBytes, subTag);
}

ZEL_RETCODE sch_col_copy_to_buff_fcn(SCH_COL_INFO_C ci, void *row, const ZEL_VALUE *src) {
    if (!ci) return eINVNULLARG;
    return sch_ops_put(ci, static_cast<uint8_t *>(row), ci->ptr, ci->has_value_off, src);
}

ZEL_RETCODE sch_col_copy_to_str_fcn(SCH_COL_INFO_C ci, void *dst, size_t *size,
                                    const ZEL_VALUE *src) {
    if (!ci || !src || !size) return eINVNULLARG;
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->copy_to_buff_fcn) return eNOTIMPLEMENTED;
    return ops->copy_to_buff_fcn(sch_col_type_c(ci), dst, size, src);
}

ZEL_RETCODE sch_col_copy_from_buff_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst, const void *row,
                                       B_TAG_SUB subTag) {
    if (!ci) return eINVNULLARG;
    return sch_ops_get(ci, static_cast<const uint8_t *>(row), ci->ptr, ci->has_value_off, dst,
                       subTag, true);
}

ZEL_RETCODE sch_col_assign_from_buff_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst, const void *row) {
    if (!ci) return eINVNULLARG;
    return sch_ops_get(ci, static_cast<const uint8_t *>(row), ci->ptr, ci->has_value_off, dst,
                       nullptr, false);
}

ZEL_RETCODE sch_col_pack_buffer_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *val,
                                    const B_ENCODER_T *encoder) {
    if (!ci || !val || !encoder) return eINVNULLARG;
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->pack_fcn) return eNOTIMPLEMENTED;
    return ops->pack_fcn(sch_col_type_c(ci), val, encoder);
}

void sch_col_free_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *val, B_TAG_SUB subTag) {
    if (!val) return;
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (ops && ops->free_fcn) ops->free_fcn(val, subTag);
    val->status = vsNOVAL;
}

ZEL_RETCODE sch_col_tostring_type_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *val, uint32_t elem,
                                      SCH_FORMAT *pformat) {
    if (!ci || !val || !pformat) return eINVNULLARG;
    const uint16_t elems = sch_col_num_elems(ci);
    if (elems && elem >= elems) return eRANGE;
    if (val->status != vsOKAY && val->status != vsNULL) return eINVARG;
    SCH_FORMAT f = SCH_NATIVE_FORMAT;
    const ZEL_TYPE t = sch_col_data_type(ci);
    if (ZEL_TYPE_FAMILY(t) == ZEL_FAMILY_BINARY) {
        f = SCH_BINARY_FORMAT;
    } else if (ZEL_TYPE_FAMILY(t) == ZEL_FAMILY_CHAR && !(t & ZEL_TYPE_LOB_BIT) &&
               val->status == vsOKAY && val->vt.cv) {
        for (const unsigned char *p = reinterpret_cast<const unsigned char *>(val->vt.cv); *p; ++p)
            if (*p < 0x20 || *p > 0xFE) {
                f = SCH_UTF8_BINARY_FORMAT;
                break;
            }
    }
    *pformat = f;
    return sOKAY;
}

ZEL_RETCODE sch_col_tostring_fcn(SCH_COL_INFO_C ci, const ZEL_VALUE *val, uint32_t elem,
                                 uint32_t flags, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    if (!ci || !fcn) return eINVNULLARG;
    if (sch_is_null(val)) return b_outputString(fcn, ctx, "<ZEL NULL>");
    const ZEL_TYPE_INFO *ops = sch_ops_of(ci);
    if (!ops || !ops->tostring) return eNOTIMPLEMENTED;
    return ops->tostring(sch_col_type_c(ci), val, elem, flags, fcn, ctx);
}

// ---- Keys.

ZEL_COMPARE sch_key_cmp_fcn(SCH_KEY_INFO_C ki, const ZEL_VALUE *a, const ZEL_VALUE *b) {
    if (!ki || !a || !b) return ZEL_EQ;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        const ZEL_COMPARE c = sch_col_cmp_fcn(ki->elems[i].col, &a[i], &b[i]);
        if (c != ZEL_EQ) return c;
    }
    return ZEL_EQ;
}

ZEL_RETCODE sch_key_hash_fcn(SCH_KEY_INFO_C ki, const ZEL_VALUE *vals, B_HASHCTX *hashctx) {
    if (!ki || !vals || !hashctx) return eINVNULLARG;
    ZEL_RETCODE rc;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i)
        ZEL_CHECK(rc = sch_ops_hash(ki->elems[i].col, &vals[i], hashctx));
    return sOKAY;
}

ZEL_RETCODE sch_key_hash_from_buff_fcn(SCH_KEY_INFO_C ki, const void *buff, B_HASHCTX *hashctx) {
    if (!ki || !buff || !hashctx) return eINVNULLARG;
    ZEL_RETCODE rc;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        const SCH_ELEM_INFO_S &e = ki->elems[i];
        ZEL_VALUE v;
        zel_valueInit(&v);
        ZEL_CHECK(rc = sch_ops_get(e.col, static_cast<const uint8_t *>(buff), e.ptr,
                                   e.has_value_off, &v, nullptr, false));
        ZEL_CHECK(rc = sch_ops_hash(e.col, &v, hashctx));
    }
    return sOKAY;
}

ZEL_RETCODE sch_key_copy_fcn(SCH_KEY_INFO_C ki, ZEL_VALUE *dst, const ZEL_VALUE *src,
                             B_TAG_SUB subTag) {
    if (!ki || !dst || !src) return eINVNULLARG;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        const ZEL_RETCODE rc =
            sch_col_copy_fcn(ki->elems[i].col, &dst[i], &src[i], SIZE_MAX, subTag);
        if (rc < 0) {
            for (ZEL_COL_INDEX j = 0; j < i; ++j)
                sch_col_free_fcn(ki->elems[j].col, &dst[j], subTag);
            return rc;
        }
    }
    return sOKAY;
}

ZEL_RETCODE sch_key_copy_to_buff_fcn(SCH_KEY_INFO_C ki, void *buff, const ZEL_VALUE *vals) {
    if (!ki || !buff || !vals) return eINVNULLARG;
    ZEL_RETCODE rc;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        const SCH_ELEM_INFO_S &e = ki->elems[i];
        ZEL_CHECK(rc = sch_ops_put(e.col, static_cast<uint8_t *>(buff), e.ptr, e.has_value_off,
                                   &vals[i]));
    }
    return sOKAY;
}

void sch_key_free_fcn(SCH_KEY_INFO_C ki, ZEL_VALUE *vals, B_TAG_SUB subTag) {
    if (!ki || !vals) return;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i)
        sch_col_free_fcn(ki->elems[i].col, &vals[i], subTag);
}

ZEL_RETCODE sch_ref_copy_sort_cols_to_buff_fcn(SCH_REF_INFO_C ri, void *buff,
                                               const ZEL_VALUE *vals) {
    if (!ri || !buff || !vals) return eINVNULLARG;
    ZEL_RETCODE rc;
    for (ZEL_COL_INDEX i = 0; i < ri->num_sort_cols; ++i) {
        const SCH_SORT_INFO_S &s = ri->sort_cols[i];
        ZEL_CHECK(rc = sch_ops_put(s.col, static_cast<uint8_t *>(buff), s.ptr, s.has_value_off,
                                   &vals[i]));
    }
    return sOKAY;
}

/* ---- Items of key and sort buffers, borrowed. */

ZEL_RETCODE sch_elem_assign_from_buff_fcn(SCH_ELEM_INFO_C ei, ZEL_VALUE *dst, const void *keyBuff) {
    if (!ei) return eINVNULLARG;
    return sch_ops_get(ei->col, static_cast<const uint8_t *>(keyBuff), ei->ptr, ei->has_value_off,
                       dst, nullptr, false);
}

ZEL_RETCODE sch_sort_assign_from_buff_fcn(SCH_SORT_INFO_C si, ZEL_VALUE *dst,
                                          const void *sortBuff) {
    if (!si) return eINVNULLARG;
    return sch_ops_get(si->col, static_cast<const uint8_t *>(sortBuff), si->ptr, si->has_value_off,
                       dst, nullptr, false);
}

ZEL_RETCODE sch_col_assign_from_buff_raw_fcn(SCH_COL_INFO_C ci, ZEL_VALUE *dst, const void *buff,
                                             uint32_t ptr) {
    return sch_ops_get(ci, static_cast<const uint8_t *>(buff), ptr, 0, dst, nullptr, false);
}
