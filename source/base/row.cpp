/*
 * row.cpp - a table's row in its two stored forms and its in-memory formats.
 *
 * The one idea of the compact stream: each stored value sits under its own
 * column id, in runs of consecutive ids that share one header, so a reader
 * with a later version of the table finds each value by id, throws away what
 * it no longer has and leaves what it has gained null. The links of AVL keys
 * and the owners of references are tagged by their index the same way. No
 * type is known here: every value moves through its column's descriptor.
 *
 * Compact stream, all fields varints:
 *   FIELD       CONTENT
 *   num_avls    the table's count of AVL keys
 *   per key     avl_ndx, left, right, flags
 *   num_joins   how many of the row's joins have an owner
 *   per join    ref_ndx, owner
 *   per group   grp_size (not 0), grp_first (a column id), then the values of
 *               ids grp_first, grp_first + 1, ... in packed form; a large
 *               object's value is the presence mark 1 (its content is in
 *               chunks)
 *   end         0
 *
 * Expanded image:
 *   OFFSET  SIZE      MEANING
 *   0       8         data_len, host order
 *   8       data_len  row_data as it stands in memory
 */
#include "row.h"

#include <algorithm>
#include <cstring>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "error.h"
#include "pool.h"
#include "schema.h"
#include "schema_layout.h"
#include "schema_ops.h"
#include "tag_sub.h"
#include "value.h"
#include "vint_internal.h"

static_assert(sizeof(ZEL_AVL) == SCH_ROW_AVL_BYTES && offsetof(ZEL_AVL, flags) == 0 &&
                  offsetof(ZEL_AVL, left) == 8 && offsetof(ZEL_AVL, right) == 16,
              "ZEL_AVL is the 24-byte record of a row buffer");
static_assert(sizeof(ZEL_JOIN) == SCH_ROW_REF_BYTES, "ZEL_JOIN is 8 bytes of a row buffer");
static_assert(sizeof(VAL_STATUS) == SCH_ROW_STATUS_BYTES, "a column status is 4 bytes");
static_assert(sizeof(ZEL_ROWID_T) == 8 && sizeof(size_t) == 8, "data_len is stored as 8 bytes");

namespace {

#define ROW_REPORT(hErr, rc) zelErrorEx((hErr), (rc), nullptr, nullptr, 0, 0, "row.cpp", __LINE__)

const ZEL_ROW_BUFFER_INFO &row_info(const ZEL_ROW *row) {
    return row->ti->bufferInfo;
}

/* ---- The catalogue as the hot loops read it: the same answers as
 * sch_col_type_c, sch_find_col_active_ndx and sch_iterate_cols_active, read
 * in line, since a row costs a few of these per column. */

// The column's type: its domain's when it has one.
SCH_TYPE_INFO_C row_type(SCH_COL_INFO_C ci) {
    return ci->domain ? &ci->domain->type : &ci->type;
}

bool row_is_lob(SCH_COL_INFO_C ci) {
    return (row_type(ci)->type & ZEL_TYPE_LOB_BIT) != 0;
}

// A column's position among the active columns, 65535 for a retired one.
ZEL_COL_INDEX row_active_ndx(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx) {
    if (!ti->active_ndx) return ndx;
    if (ti->active_pos) return ndx < ti->num_active_pos ? ti->active_pos[ndx] : ZEL_NO_INDEX;
    return sch_find_col_active_ndx(ti, ndx);
}

// Column `id` of the table, null past its columns or for an empty slot.
SCH_COL_INFO_C row_col(SCH_TBL_INFO_C ti, uint32_t id) {
    return ti->cols && id < ti->next_col && id < ti->max_col ? ti->cols[id] : nullptr;
}

// Calls f(ci, active index) for each named column in id order.
template <class F>
void row_each_active(SCH_TBL_INFO_C ti, F f) {
    const ZEL_COL_INDEX n = std::min(ti->next_col, ti->max_col);
    for (ZEL_COL_INDEX i = 0; ti->cols && i < n; ++i)
        if (SCH_COL_INFO_C ci = ti->cols[i]; ci && ci->name) f(ci, row_active_ndx(ti, i));
}

// Every field written: the row as an unpack leaves it before any data.
void row_set_fields(ZEL_ROW *row, ZEL_ROW_FORMAT format, ZEL_ROWID_T rowid, SCH_TBL_INFO_C ti,
                    B_TAG_SUB subTag, ZEL_ERR *hErr, DB_INSTANCE *dbi) {
    *row = ZEL_ROW{};
    row->format = format;
    row->rowid = rowid;
    row->subTag = subTag;
    row->ti = ti;
    row->hErr = hErr;
    row->dbi = dbi;
}

// avls, joins and the column pointers from the table's layout, each null
// when its count is 0 (or there is no buffer).
void row_set_pointers(ZEL_ROW *row) {
    const ZEL_ROW_BUFFER_INFO &bi = row_info(row);
    uint8_t *base = row->row_data;
    const bool cols = base && bi.num_cols;
    row->avls = base && bi.num_avls ? reinterpret_cast<ZEL_AVL *>(base + bi.avl_offset) : nullptr;
    row->joins = base && bi.num_refs ? reinterpret_cast<ZEL_JOIN *>(base + bi.ref_offset) : nullptr;
    row->data.b.col_status =
        cols ? reinterpret_cast<VAL_STATUS *>(base + bi.col_status_offset) : nullptr;
    row->data.b.col_data = cols ? base + bi.col_data_offset : nullptr;
}

// A B_BUFFER_T record from the instance's pool. When the error handler
// answers sOKAY it may have made room, so the pool is asked once more.
ZEL_RETCODE row_pool_buffer(DB_INSTANCE *dbi, ZEL_ERR *hErr, B_BUFFER_T **pbuf) {
    for (int attempt = 0;; ++attempt) {
        if (b_poolGetMem(&dbi->bufferPool, sizeof(B_BUFFER_T), B_POOL_ALLOC, nullptr, pbuf) ==
            sOKAY)
            return sOKAY;
        const ZEL_RETCODE rc = ROW_REPORT(hErr, eNOMEMORY);
        if (rc != sOKAY) return rc;
        if (attempt > 0) return eNOMEMORY;
    }
}

// A kept stream's buffer record back where it came from.
void row_release_buffer(DB_INSTANCE *dbi, B_TAG_SUB subTag, B_BUFFER_T *buf) {
    b_bufferTerm(buf);
    if (dbi)
        b_poolPut(&dbi->bufferPool, buf);
    else
        b_tag_subFree(subTag, buf);
}

/* ---- Writing the compact stream. */

bool row_is_null(SCH_COL_INFO_C ci, const uint8_t *colData) {
    const ZEL_HAS_VALUE_OFFSET hvo = ci->has_value_off;
    return hvo && colData[hvo] == 0 && sch_col_nullable(ci);
}

// The rules of calc_storable_buffer for the column at active index `act`.
bool row_storable(const ZEL_ROW *row, SCH_COL_INFO_C ci, ZEL_COL_INDEX act) {
    const ZEL_TYPE t = row_type(ci)->type;
    if (t == ZEL_ROWID || ci->ref) return false;
    if (act >= row_info(row).num_cols) return false;  // no status of its own
    const VAL_STATUS st = row->data.b.col_status[act];
    if (st != vsOKAY && !(st == vsNOVAL && (t & ZEL_TYPE_LOB_BIT))) return false;
    return !row_is_null(ci, row->data.b.col_data);
}

// One group: its size, its first id, then each value, stopping at the first
// failure.
ZEL_RETCODE row_pack_compact_column_group_buffer(uint32_t grp_first, uint32_t grp_size,
                                                 const ZEL_ROW *row, const B_ENCODER_T *encoder) {
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, grp_size));
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, grp_first));
    for (uint32_t id = grp_first; id < grp_first + grp_size; ++id) {
        SCH_COL_INFO_C ci = row_col(row->ti, id);
        SCH_TYPE_INFO_C pi = row_type(ci);
        if (pi->type & ZEL_TYPE_LOB_BIT) {
            B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, 1));
            continue;
        }
        // What sch_col_assign_from_buff_fcn and sch_col_pack_buffer_fcn do
        // for a column with a value, in line: the value borrows the row's
        // bytes and is packed by its type.
        const ZEL_TYPE_INFO *ops = pi->type_info;
        if (!ops || !ops->assign_from_buff_fcn || !ops->pack_fcn) return eNOTIMPLEMENTED;
        ZEL_VALUE v{};
        B_STREAM_CHECK(
            rc = ops->assign_from_buff_fcn(pi, &v, row->data.b.col_data + ci->ptr, pi->byte_len));
        B_STREAM_CHECK(rc = ops->pack_fcn(pi, &v, encoder));
    }
    return sOKAY;
}

ZEL_RETCODE row_pack_compact_buffer(const ZEL_ROW *row, const B_ENCODER_T *encoder) {
    SCH_TBL_INFO_C ti = row->ti;
    const ZEL_ROW_BUFFER_INFO &bi = row_info(row);
    ZEL_RETCODE rc;

    // The i-th live AVL key takes avls[i], by running position, while its tag
    // is its avl_ndx, by which the reader places it: deliberate, and the two
    // agree only while the table's AVL keys have no holes.
    B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, ti->num_avls));
    uint32_t i = 0;
    for (auto ki = sch_iterate_avls(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_avls(ti, ki, ZEL_FORWARD), ++i) {
        if (i >= bi.num_avls || !row->avls) return eBADCAT;  // layout behind the table
        const ZEL_AVL &a = row->avls[i];
        B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, ki->avl_ndx));
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, a.left));
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, a.right));
        B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, a.flags));
    }

    // joins[i] goes with the i-th live reference, tagged by its index.
    const uint32_t nrefs = row->joins ? std::min<uint32_t>(ti->num_refs, bi.num_refs) : 0;
    uint32_t owned = 0;
    for (i = 0; i < nrefs; ++i) owned += row->joins[i].owner != 0;
    B_STREAM_CHECK(rc = b_encoderEncodeUint32(encoder, owned));
    i = 0;
    for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri && i < nrefs;
         ri = sch_iterate_refs(ti, ri, ZEL_FORWARD), ++i) {
        if (row->joins[i].owner == 0) continue;
        B_STREAM_CHECK(rc = b_encoderEncodeUint16(encoder, ri->ndx));
        B_STREAM_CHECK(rc = b_encoderEncodeSlot(encoder, row->joins[i].owner));
    }

    // Runs of storable columns in active order, each id one above the last.
    if (bi.num_cols && row->data.b.col_data) {
        uint32_t first = 0, size = 0, prev = 0;
        rc = sOKAY;
        row_each_active(ti, [&](SCH_COL_INFO_C ci, ZEL_COL_INDEX act) {
            if (rc != sOKAY) return;
            const bool stored = row_storable(row, ci, act);
            if (stored && size && ci->ndx <= prev + 1) {
                ++size;
            } else {
                if (size) rc = row_pack_compact_column_group_buffer(first, size, row, encoder);
                first = ci->ndx;
                size = stored ? 1 : 0;
            }
            prev = ci->ndx;
        });
        if (rc == sOKAY && size)
            rc = row_pack_compact_column_group_buffer(first, size, row, encoder);
        B_STREAM_CHECK(rc);
    }
    return b_encoderEncodeUint32(encoder, 0);
}

/* ---- Reading the compact stream. */

// A column the table has retired: its value is read and thrown away. A
// large object has only its presence mark in the stream.
ZEL_RETCODE row_skip_retired(const ZEL_ROW *row, SCH_COL_INFO_C ci, const B_DECODER_T *decoder) {
    if (row_is_lob(ci)) {
        uint32_t mark;
        return b_decoderDecodeUint32(decoder, &mark);
    }
    // A column retired before any finalisation has no byte length, which is
    // what bounds a stored text: the type's own length serves instead.
    SCH_TYPE_INFO_T pi = *row_type(ci);
    if (pi.byte_len == 0) (void)sch_type_calc_byte_len(&pi);
    const ZEL_TYPE_INFO *ops = sch_type_info(&pi);
    if (!ops || !ops->unpack_fcn) return eNOTIMPLEMENTED;
    ZEL_VALUE v;
    zel_valueInit(&v);
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = ops->unpack_fcn(&pi, &v, row->subTag, decoder));
    v.status = vsOKAY;
    sch_col_free_fcn(ci, &v, row->subTag);
    return sOKAY;
}

// The value of column `id` into the row. Any failure abandons its group:
// an id the table never had (at or past next_col, or an empty slot) is one.
ZEL_RETCODE row_unpack_member(ZEL_ROW *row, uint32_t id, const B_DECODER_T *decoder) {
    SCH_TBL_INFO_C ti = row->ti;
    SCH_COL_INFO_C ci = row_col(ti, id);
    if (!ci) return eDBCORRUPTED;
    const ZEL_COL_INDEX act = row_active_ndx(ti, ci->ndx);
    if (act == ZEL_NO_INDEX) return row_skip_retired(row, ci, decoder);
    if (act >= row_info(row).num_cols) return eDBCORRUPTED;  // layout behind the table
    uint8_t *colData = row->data.b.col_data;
    VAL_STATUS &status = row->data.b.col_status[act];
    const ZEL_HAS_VALUE_OFFSET hvo = ci->has_value_off;
    SCH_TYPE_INFO_C pi = row_type(ci);
    ZEL_RETCODE rc;
    if (pi->type & ZEL_TYPE_LOB_BIT) {
        uint32_t mark;
        B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &mark));
        status = vsNOVAL;
        if (hvo) colData[hvo] = 1;
        return sOKAY;
    }
    const ZEL_TYPE_INFO *ops = pi->type_info;
    if (!ops || !ops->unpack_to_buff_fcn) return eNOTIMPLEMENTED;
    uint8_t *hv = hvo ? colData + hvo : nullptr;
    B_STREAM_CHECK(rc = ops->unpack_to_buff_fcn(pi, colData + ci->ptr, hv, decoder));
    status = !hv || *hv == 1 ? vsOKAY : vsNULL;
    return sOKAY;
}

// AVL and join entries, each into the row when its index names a live item
// that the row buffer has room for, else into scratch.
ZEL_RETCODE row_unpack_links(ZEL_ROW *row, const B_DECODER_T *decoder) {
    SCH_TBL_INFO_C ti = row->ti;
    const ZEL_ROW_BUFFER_INFO &bi = row_info(row);
    ZEL_RETCODE rc;
    uint32_t count;
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &count));
    for (uint32_t i = 0; i < count; ++i) {
        uint16_t ndx;
        B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &ndx));
        ZEL_AVL scratch;
        const bool live = ndx < ti->next_avl && ndx < ti->max_avls && ti->avls && ti->avls[ndx] &&
                          ndx < bi.num_avls && row->avls;
        ZEL_AVL &a = live ? row->avls[ndx] : scratch;
        B_STREAM_CHECK(rc = b_decoderDecodeUint64(decoder, &a.left));
        B_STREAM_CHECK(rc = b_decoderDecodeUint64(decoder, &a.right));
        B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &a.flags));
    }
    B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &count));
    for (uint32_t i = 0; i < count; ++i) {
        uint16_t ndx;
        B_STREAM_CHECK(rc = b_decoderDecodeUint16(decoder, &ndx));
        ZEL_SLOT scratch;
        const bool live = sch_get_ref_by_index(ti, ndx) && ndx < bi.num_refs && row->joins;
        B_STREAM_CHECK(rc = b_decoderDecodeSlot(decoder, live ? &row->joins[ndx].owner : &scratch));
    }
    return sOKAY;
}

ZEL_RETCODE row_unpack_columns(ZEL_ROW *row, const B_DECODER_T *decoder) {
    SCH_TBL_INFO_C ti = row->ti;
    const ZEL_COL_INDEX numCols = row_info(row).num_cols;
    uint8_t *colData = row->data.b.col_data;
    VAL_STATUS *status = row->data.b.col_status;
    // Nullable columns start null, the others without a value (from the
    // clearing).
    row_each_active(ti, [&](SCH_COL_INFO_C ci, ZEL_COL_INDEX act) {
        if (ci->has_value_off && act < numCols) {
            colData[ci->has_value_off] = 0;
            status[act] = vsNULL;
        }
    });
    ZEL_RETCODE rc;
    for (;;) {
        uint32_t size;
        B_STREAM_CHECK(rc = b_decoderDecodeUint32(decoder, &size));
        if (size == 0) break;
        // Kept as it stands: a group whose first id or any value cannot be
        // read is dropped with its code, and the next group count is read
        // wherever the decoder stands; a 0 there ends the row as a success.
        uint16_t first;
        if (b_decoderDecodeUint16(decoder, &first) != sOKAY) continue;
        for (uint32_t k = 0; k < size; ++k)
            if (row_unpack_member(row, first + k, decoder) != sOKAY) break;
    }
    row_each_active(ti, [&](SCH_COL_INFO_C ci, ZEL_COL_INDEX act) {
        if (act >= numCols) return;
        if (ci->ref) {
            status[act] = vsNOVAL;
        } else if (row_type(ci)->type == ZEL_ROWID) {
            row_set_rowid_column(colData + ci->ptr, row->rowid);
            if (ci->has_value_off) colData[ci->has_value_off] = 1;  // a value, as its status says
            status[act] = vsOKAY;
        }
    });
    return sOKAY;
}

// Fails the row: what it holds is freed, the code goes back.
ZEL_RETCODE row_fail(ZEL_ROW *row, ZEL_RETCODE rc) {
    row_free(row);
    return rc;
}

// The stream is kept as it is, in a buffer from the instance's pool.
ZEL_RETCODE row_compact_init_buffer(ZEL_ROW *row, const B_DECODER_T *decoder, ZEL_ROWID_T rowid,
                                    SCH_TBL_INFO_C ti, B_TAG_SUB subTag, ZEL_ERR *hErr,
                                    DB_INSTANCE *dbi) {
    auto *src = static_cast<B_BUFFER_T *>(decoder->ctx);
    if (!src) return eINVNULLARG;
    row_set_fields(row, ZEL_ROW_FORMAT_COMPACT, rowid, ti, subTag, hErr, dbi);
    B_BUFFER_T *buf = nullptr;
    ZEL_RETCODE rc;
    if ((rc = row_pool_buffer(dbi, hErr, &buf)) != sOKAY) return rc;
    b_bufferInit(buf, subTag);
    src->pos = 0;
    if ((rc = b_bufferCopyPartial(buf, src, src->len)) != sOKAY) {
        row_release_buffer(dbi, subTag, buf);
        return ROW_REPORT(hErr, rc);
    }
    row->data.c.buffer = buf;
    return sOKAY;
}

/* ---- Moves between formats. */

ZEL_RETCODE row_to_compact(ZEL_ROW *row) {
    B_BUFFER_T *buf = nullptr;
    ZEL_RETCODE rc;
    if (row->dbi) {
        if ((rc = row_pool_buffer(row->dbi, row->hErr, &buf)) != sOKAY) return rc;
    } else if ((rc = b_tag_subAlloc(row->subTag, sizeof(B_BUFFER_T), &buf)) != sOKAY) {
        return ROW_REPORT(row->hErr, rc);
    }
    // A pooled record comes back terminated and zeroed: initialised anew.
    b_bufferInit(buf, row->subTag);
    B_ENCODER_T enc;
    b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, buf, row->subTag);
    if ((rc = row_pack_compact(row, &enc)) != sOKAY) {
        row_release_buffer(row->dbi, row->subTag, buf);
        return rc;
    }
    row_free(row);
    row->format = ZEL_ROW_FORMAT_COMPACT;
    row->data.c.buffer = buf;
    return sOKAY;
}

ZEL_RETCODE row_to_buffer(ZEL_ROW *row) {
    B_BUFFER_T *old = row->data.c.buffer;
    if (!old) return eINVNULLARG;
    const ZEL_ROW kept = *row;
    B_DECODER_T dec;
    b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, old, row->subTag);
    const ZEL_RETCODE rc =
        row_unpack_compact_buffer(row, &dec, kept.rowid, kept.ti, kept.subTag, kept.hErr, kept.dbi);
    if (rc != sOKAY) {
        *row = kept;  // compact on its old buffer again
        return rc;
    }
    row_release_buffer(kept.dbi, kept.subTag, old);
    return sOKAY;
}

}  // namespace

ZEL_RETCODE row_pack_compact(const ZEL_ROW *row, const B_ENCODER_T *encoder) {
    if (!row || !encoder) return eINVNULLARG;
    switch (row->format) {
        case ZEL_ROW_FORMAT_BUFFER:
            if (!row->ti) return eINVNULLARG;
            return row_pack_compact_buffer(row, encoder);
        case ZEL_ROW_FORMAT_COMPACT: {
            auto *dst = static_cast<B_BUFFER_T *>(encoder->ctx);
            B_BUFFER_T *src = row->data.c.buffer;
            if (!dst || !src) return eINVNULLARG;
            src->pos = 0;
            // Deliberately sOKAY whatever the copy said: callers of kept
            // streams rely on it.
            (void)b_bufferCopyPartial(dst, src, src->len);
            return sOKAY;
        }
        default:
            return ROW_REPORT(row->hErr, eNOTIMPLEMENTED);
    }
}

ZEL_RETCODE row_unpack_compact(ZEL_ROW *row, const B_DECODER_T *decoder, ZEL_ROWID_T rowid,
                               SCH_TBL_INFO_C ti, B_TAG_SUB subTag, ZEL_ERR *hErr,
                               DB_INSTANCE *dbi) {
    if (!row || !decoder || !ti) return eINVNULLARG;
    if (!dbi || dbi->row_format == ZEL_ROW_FORMAT_BUFFER)
        return row_unpack_compact_buffer(row, decoder, rowid, ti, subTag, hErr, dbi);
    if (dbi->row_format == ZEL_ROW_FORMAT_COMPACT)
        return row_compact_init_buffer(row, decoder, rowid, ti, subTag, hErr, dbi);
    return ROW_REPORT(hErr, eNOTIMPLEMENTED);
}

ZEL_RETCODE row_unpack_compact_buffer(ZEL_ROW *row, const B_DECODER_T *decoder, ZEL_ROWID_T rowid,
                                      SCH_TBL_INFO_C ti, B_TAG_SUB subTag, ZEL_ERR *hErr,
                                      DB_INSTANCE *dbi) {
    if (!row || !decoder || !ti) return eINVNULLARG;
    row_set_fields(row, ZEL_ROW_FORMAT_BUFFER, rowid, ti, subTag, hErr, dbi);
    const size_t size = ti->bufferInfo.row_buffer_size;
    row->data_len = size;
    ZEL_RETCODE rc;
    if (size && (rc = b_tag_subAllocZero(subTag, size, &row->row_data)) != sOKAY)
        return row_fail(row, rc);
    row_set_pointers(row);
    if ((rc = b_decoderSeek(decoder, 0)) != sOKAY) return row_fail(row, rc);
    if ((rc = row_unpack_links(row, decoder)) != sOKAY) return row_fail(row, rc);
    if (!row->data.b.col_data) return sOKAY;  // a table without columns
    if ((rc = row_unpack_columns(row, decoder)) != sOKAY) return row_fail(row, rc);
    return sOKAY;
}

ZEL_RETCODE row_pack_expanded(const ZEL_ROW *row, const B_ENCODER_T *encoder) {
    if (!row || !encoder) return eINVNULLARG;
    if (row->format != ZEL_ROW_FORMAT_BUFFER) return ROW_REPORT(row->hErr, eNOTIMPLEMENTED);
    if (row->data_len && !row->row_data) return eINVNULLARG;
    const uint64_t len = row->data_len;
    ZEL_RETCODE rc;
    B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, &len, sizeof len));
    if (len) B_STREAM_CHECK(rc = b_encoderEncodeBytesBulk(encoder, row->row_data, len));
    return sOKAY;
}

ZEL_RETCODE row_unpack_expanded(ZEL_ROW *row, const B_DECODER_T *decoder, ZEL_ROWID_T rowid,
                                SCH_TBL_INFO_C ti, B_TAG_SUB subTag, ZEL_ERR *hErr,
                                DB_INSTANCE *dbi) {
    if (!row || !decoder || !ti || !decoder->ctx) return eINVNULLARG;
    row_set_fields(row, ZEL_ROW_FORMAT_BUFFER, rowid, ti, subTag, hErr, dbi);
    const auto *in = static_cast<const B_BUFFER_T *>(decoder->ctx);
    ZEL_RETCODE rc;
    uint64_t len = 0;
    if ((rc = b_decoderSeek(decoder, 0)) != sOKAY ||
        (rc = b_decoderDecodeBytesBulk(decoder, sizeof len, &len, nullptr)) != sOKAY)
        return row_fail(row, rc);
    // A length the input cannot hold fails before anything is taken; the
    // buffer is never smaller than the layout the pointers below assume.
    if (len > in->len - in->pos) return row_fail(row, eEOD);
    const size_t size = std::max<size_t>(len, ti->bufferInfo.row_buffer_size);
    if (size && (rc = b_tag_subAllocZero(subTag, size, &row->row_data)) != sOKAY)
        return row_fail(row, rc);
    row->data_len = len;
    if (len && (rc = b_decoderDecodeBytesBulk(decoder, len, row->row_data, nullptr)) != sOKAY)
        return row_fail(row, rc);
    row_set_pointers(row);
    return sOKAY;
}

ZEL_RETCODE row_convert(ZEL_ROW *row, ZEL_ROW_FORMAT format) {
    if (!row) return eINVNULLARG;
    switch (format) {
        case ZEL_ROW_FORMAT_COMPACT:
            return row->format == ZEL_ROW_FORMAT_COMPACT ? sOKAY : row_to_compact(row);
        case ZEL_ROW_FORMAT_BUFFER:
            if (row->format == ZEL_ROW_FORMAT_BUFFER) return sOKAY;
            if (row->format == ZEL_ROW_FORMAT_COMPACT) return row_to_buffer(row);
            return ROW_REPORT(row->hErr, eSYS_ERROR);
        case ZEL_ROW_FORMAT_VALUE:
            return ROW_REPORT(row->hErr, eNOTIMPLEMENTED);
        default:
            return ROW_REPORT(row->hErr, eSYS_ERROR);
    }
}

void row_free(ZEL_ROW *row) {
    if (!row) return;
    if (row->format == ZEL_ROW_FORMAT_BUFFER) {
        if (row->row_data) b_tag_subFree(row->subTag, row->row_data);
        row->row_data = nullptr;
        row->data_len = 0;
        row->data.b = ZEL_ROW_DATA_BUFFER{};
        row->avls = nullptr;
        row->joins = nullptr;
    } else if (row->format == ZEL_ROW_FORMAT_COMPACT) {
        if (row->data.c.buffer) row_release_buffer(row->dbi, row->subTag, row->data.c.buffer);
        row->data.c.buffer = nullptr;
    }
}

void row_set_rowid_column(void *colData, ZEL_ROWID_T rowid) {
    std::memcpy(colData, &rowid, sizeof rowid);
}

ZEL_BOOL_T calc_storable_buffer(SCH_COL_INFO_C ci, const ZEL_ROW *row) {
    if (!ci || !row || row->format != ZEL_ROW_FORMAT_BUFFER || !row->ti || !row->data.b.col_data)
        return ZEL_FALSE;
    return row_storable(row, ci, row_active_ndx(row->ti, ci->ndx)) ? ZEL_TRUE : ZEL_FALSE;
}
