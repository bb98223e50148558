/*
 * schema_build.cpp - creating, filling, finalising and tearing down a
 * catalogue. Every array grows through one sizing helper that never shrinks
 * and clears what it adds, so a partly built catalogue is always a tree of
 * valid pointers and holes that sch_destroy can walk and free. Finalising a
 * table derives everything else: offsets (schema_layout), names of unnamed
 * keys, the table's drawer list and its list of active columns.
 */
#include "schema_build.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "bcd.h"
#include "datetime.h"
#include "format.h"
#include "list.h"
#include "psp.h"
#include "schema.h"
#include "schema_layout.h"
#include "tag_sub.h"
#include "types.h"
#include "uuid.h"
#include "value.h"

namespace {

/* Growth of the owners and AVL arrays: by this many when full. */
constexpr uint32_t SCH_GROW_STEP = 5;

/* The date format of default texts. */
constexpr ZEL_DATE_FORMAT SCH_DEFAULT_DATE_FORMAT = static_cast<ZEL_DATE_FORMAT>(2);

B_TAG_SUB sch_tbl_tag(SCH_TBL_INFO_C ti) {
    return ti && ti->sch ? ti->sch->subTag : nullptr;
}

/* A writable user table: the built-in table is never written. */
bool sch_tbl_writable(SCH_TBL_INFO_C ti) {
    return ti && ti->sch;
}

template <class T>
ZEL_RETCODE sch_alloc_record(B_TAG_SUB tag, T **p) {
    return b_tag_subAllocClear(tag, sizeof(T), p);
}

/* Appends `item` to a list that grows by exactly one entry. */
template <class T, class N>
ZEL_RETCODE sch_list_append(B_TAG_SUB tag, T ***arr, N *count, T *item) {
    ZEL_RETCODE rc;
    T **grown = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocOrRealloc(tag, *arr, (size_t{*count} + 1) * sizeof(T *), &grown));
    grown[*count] = item;
    *arr = grown;
    ++*count;
    return sOKAY;
}

/* Removes the first `item` from such a list, freeing it at zero. */
template <class T, class N>
bool sch_list_remove(B_TAG_SUB tag, T ***arr, N *count, const T *item) {
    for (N i = 0; i < *count; ++i) {
        if ((*arr)[i] != item) continue;
        memmove(&(*arr)[i], &(*arr)[i + 1], (size_t{*count} - i - 1) * sizeof(T *));
        if (--*count == 0) {
            b_tag_subFree(tag, *arr);
            *arr = nullptr;
        }
        return true;
    }
    return false;
}

void sch_free_str(B_TAG_SUB tag, char **p) {
    if (*p) b_tag_subFree(tag, *p);
    *p = nullptr;
}

bool sch_type_has_pointer(ZEL_TYPE t) {
    switch (t) {
        case ZEL_BCD:
        case ZEL_TIMESTAMPTZ:
        case ZEL_UUID:
        case ZEL_BINARY:
        case ZEL_VARBINARY:
        case ZEL_BLOB:
        case ZEL_CHAR:
        case ZEL_VARCHAR:
        case ZEL_WCHAR:
        case ZEL_WCHAR_UTF8:
        case ZEL_WVARCHAR:
        case ZEL_WVARCHAR_UTF8:
        case ZEL_CLOB:
        case ZEL_WCLOB:
        case ZEL_WCLOB_UTF8:
            return true;
        default:
            return false;
    }
}

/* Releases a parsed default. The blocks are the catalogue's own, taken by
 * the default parser, so they are freed here by type rather than through a
 * descriptor whose free operation may leave some forms to the tag. */
void sch_default_release(ZEL_VALUE *def, B_TAG_SUB tag) {
    if (def->status == vsOKAY && sch_type_has_pointer(def->type) && def->vt.pv)
        b_tag_subFree(tag, const_cast<void *>(def->vt.pv));
    zel_valueInit(def);
}

void sch_type_free(SCH_TYPE_INFO pi, B_TAG_SUB tag) {
    sch_free_str(tag, &pi->check_str);
    sch_free_str(tag, &pi->check_name);
}

int sch_hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

template <class T>
ZEL_RETCODE sch_int_default(const char *val, ZEL_VALUE *def, T *field) {
    constexpr bool isSigned = static_cast<T>(-1) < 0;
    if constexpr (isSigned) {
        int64_t v;
        if (psp_stratoi64(val, &v) != sOKAY) return eBADCAT;
        if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) return eBADCAT;
        *field = static_cast<T>(v);
    } else {
        uint64_t v;
        if (psp_stratoui64(val, &v) != sOKAY) return eBADCAT;
        if (v > std::numeric_limits<T>::max()) return eBADCAT;
        *field = static_cast<T>(v);
    }
    (void)def;
    return sOKAY;
}

/* Allocates a block, lets `parse` fill it and hangs it in def; the block is
 * freed again when parsing fails. */
template <class T, class F>
ZEL_RETCODE sch_block_default(B_TAG_SUB tag, size_t size, ZEL_VALUE *def, F parse) {
    ZEL_RETCODE rc;
    T *block = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocClear(tag, size, &block));
    if ((rc = parse(block)) < 0) {
        b_tag_subFree(tag, block);
        return rc;
    }
    def->vt.pv = block;
    return sOKAY;
}

/* The parse step of both default setters; `type` is the data type, `tag` the
 * catalogue's; a domain accepts ZEL_WCLOB_UTF8 as text, a column does not. */
ZEL_RETCODE sch_parse_default(ZEL_TYPE type, const char *val, ZEL_VALUE *def, B_TAG_SUB tag,
                              bool isDomain) {
    def->status = vsOKAY;
    def->len = 0;
    def->elts = 0;
    def->type = type;
    ZEL_RETCODE rc;
    switch (type) {
        case ZEL_BOOL:
            if (psp_strcasecmp(val, "true") == 0)
                def->vt.bv = ZEL_TRUE;
            else if (psp_strcasecmp(val, "false") == 0)
                def->vt.bv = ZEL_FALSE;
            else
                return eBADCAT;
            return sOKAY;
        case ZEL_INT8:
            return sch_int_default(val, def, &def->vt.i8v);
        case ZEL_INT16:
            return sch_int_default(val, def, &def->vt.i16v);
        case ZEL_INT32:
            return sch_int_default(val, def, &def->vt.i32v);
        case ZEL_UINT8:
            return sch_int_default(val, def, &def->vt.u8v);
        case ZEL_UINT16:
            return sch_int_default(val, def, &def->vt.u16v);
        case ZEL_UINT32:
            return sch_int_default(val, def, &def->vt.u32v);
        case ZEL_INT64: {
            int64_t v;
            ZEL_CHECK(rc = psp_stratoi64(val, &v));
            def->vt.i64v = v;
            return sOKAY;
        }
        case ZEL_UINT64: {
            uint64_t v;
            ZEL_CHECK(rc = psp_stratoui64(val, &v));
            def->vt.u64v = v;
            return sOKAY;
        }
        case ZEL_FLOAT: {
            const double d = psp_stratof(val);
            if (!(d >= -3.4028234663852886e38 && d <= 3.4028234663852886e38)) return eBADCAT;
            def->vt.fv = static_cast<float>(d);
            return sOKAY;
        }
        case ZEL_DOUBLE:
            def->vt.dv = psp_stratof(val);
            return sOKAY;
        case ZEL_BCD: {
            ZEL_BCD_T *block = nullptr;
            ZEL_CHECK(rc = b_tag_subAllocClear(tag, ZEL_VALUE_BCD_SIZE, &block));
            if (zel_bcdFromString(val, block) < 0) {
                b_tag_subFree(tag, block);
                return eBADCAT;
            }
            if ((rc = zel_valueSetBCD(def, block)) < 0) {
                b_tag_subFree(tag, block);
                return rc;
            }
            def->type = ZEL_BCD;
            return sOKAY;
        }
        case ZEL_DATE:
            if (psp_strcasecmp(val, "current_date") == 0) {
                def->type = ZEL_DEFAULT_CURRDATE;
                return sOKAY;
            }
            return dt_dateFromString(val, SCH_DEFAULT_DATE_FORMAT, &def->vt.dtv);
        case ZEL_TIME:
            if (psp_strcasecmp(val, "current_time") == 0) {
                def->type = ZEL_DEFAULT_CURRTIME;
                return sOKAY;
            }
            return zel_timeFromString(val, &def->vt.tmv);
        case ZEL_TIMETZ:
            if (psp_strcasecmp(val, "current_time") == 0) {
                def->type = ZEL_DEFAULT_CURRTIME;
                return sOKAY;
            }
            return dt_timetzFromString(val, &def->vt.tmzv);
        case ZEL_TIMESTAMP:
            if (psp_strcasecmp(val, "current_timestamp") == 0) {
                def->type = ZEL_DEFAULT_CURRTIMESTAMP;
                return sOKAY;
            }
            return dt_timestampFromString(val, SCH_DEFAULT_DATE_FORMAT, &def->vt.tsv);
        case ZEL_TIMESTAMPTZ:
            if (psp_strcasecmp(val, "current_timestamp") == 0) {
                def->type = ZEL_DEFAULT_CURRTIMESTAMP;
                return sOKAY;
            }
            return sch_block_default<ZEL_PACKED_TIMESTAMPTZ_T>(
                tag, ZEL_VALUE_TIMESTAMPTZ_SIZE, def, [val](ZEL_PACKED_TIMESTAMPTZ_T *b) {
                    return dt_timestamptzFromString(val, SCH_DEFAULT_DATE_FORMAT, b);
                });
        case ZEL_ROWID:
            if (psp_strcasecmp(val, "auto") != 0) return eBADCAT;
            /* An automatic row id is no default of its own: the status goes
             * back to "no value", so a domain's default shows through. */
            def->status = vsNOVAL;
            return sOKAY;
        case ZEL_UUID:
            if (psp_strcasecmp(val, "auto") == 0) {
                def->type = ZEL_DEFAULT_AUTO;
                return sOKAY;
            }
            return sch_block_default<ZEL_UUID_T>(
                tag, ZEL_VALUE_UUID_SIZE, def,
                [val](ZEL_UUID_T *b) { return zel_uuidFromString(val, b); });
        case ZEL_WCLOB_UTF8:
            /* A domain takes a default for this type and a column does not;
             * the difference is kept. */
            if (!isDomain) return eNOTIMPLEMENTED;
            [[fallthrough]];
        case ZEL_CHAR:
        case ZEL_VARCHAR:
        case ZEL_WCHAR:
        case ZEL_WCHAR_UTF8:
        case ZEL_WVARCHAR:
        case ZEL_WVARCHAR_UTF8:
        case ZEL_CLOB:
        case ZEL_WCLOB: {
            char *copy = nullptr;
            ZEL_CHECK(rc = b_tag_subCopyString(tag, val, &copy));
            def->vt.cv = copy;
            def->len = strlen(copy) + 1;
            return sOKAY;
        }
        case ZEL_BINARY:
        case ZEL_VARBINARY:
        case ZEL_BLOB: {
            const size_t n = strlen(val);
            if (n % 2) return eBADCAT;
            if (n == 0) {
                def->vt.pv = nullptr;
                return sOKAY;
            }
            ZEL_CHECK(rc = sch_block_default<uint8_t>(tag, n / 2, def, [val, n](uint8_t *b) {
                          for (size_t i = 0; i < n; i += 2) {
                              const int hi = sch_hex_digit(val[i]), lo = sch_hex_digit(val[i + 1]);
                              if (hi < 0 || lo < 0) return eBADCAT;
                              b[i / 2] = static_cast<uint8_t>(hi << 4 | lo);
                          }
                          return sOKAY;
                      }));
            def->len = n / 2;
            return sOKAY;
        }
        default:
            return eNOTIMPLEMENTED;
    }
}

ZEL_RETCODE sch_set_default(ZEL_TYPE type, const char *val, ZEL_VALUE *def, char **defstr,
                            B_TAG_SUB tag, bool isDomain) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_string_input(val, defstr, ZEL_FALSE, tag));
    sch_default_release(def, tag);
    if (!val) {
        def->status = vsNULL;
        return sOKAY;
    }
    if ((rc = sch_parse_default(type, val, def, tag, isDomain)) < 0) zel_valueInit(def);
    return rc;
}

/* The drawer `id` of the catalogue when it exists and serves `type`. */
SCH_DRAWER_INFO sch_user_drawer(SCH_INFO sch, ZEL_DRAWER id) {
    if (!sch || id < SCH_FIRST_USER_DRAWER || !sch->drawers || id >= sch->max_drawer)
        return nullptr;
    return sch->drawers[id];
}

/* Takes a drawer out of the catalogue and its table's list and frees it. */
void sch_drawer_free(SCH_INFO sch, SCH_TBL_INFO ti, SCH_DRAWER_INFO di) {
    if (!di || !sch || di->ndx < SCH_FIRST_USER_DRAWER) return;
    if (sch->drawers && di->ndx < sch->max_drawer && sch->drawers[di->ndx] == di) {
        sch->drawers[di->ndx] = nullptr;
        if (sch->num_drawers > 0) --sch->num_drawers;
    }
    if (ti && ti->drawers && di->tbl_ndx < ti->num_drawers && ti->drawers[di->tbl_ndx] == di)
        ti->drawers[di->tbl_ndx] = nullptr;
    b_tag_subFree(sch->subTag, di);
}

/* The lazily built lists and the by-name array go stale when items go. */
void sch_forget_lists(SCH_INFO sch) {
    if (sch->tablesByName) b_tag_subFree(sch->subTag, sch->tablesByName);
    sch->tablesByName = nullptr;
    sch->num_tablesByName = 0;
    if (sch->haveKeys) b_llTerm(&sch->llKeys);
    if (sch->haveBlobs) b_llTerm(&sch->llBlobCols);
    sch->haveKeys = sch->haveBlobs = ZEL_FALSE;
}

bool sch_is_wide(ZEL_TYPE t) {
    return t == ZEL_WCHAR || t == ZEL_WVARCHAR;
}

void sch_key_mark_compact(SCH_KEY_INFO ki) {
    if (!ki->drawer) return;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i)
        if (ki->elems[i].col && sch_is_wide(sch_col_data_type(ki->elems[i].col))) {
            ki->drawer->compact = ZEL_TRUE;
            return;
        }
}

}  // namespace

// ---- Catalogue, sizing and counters.

ZEL_RETCODE sch_new_size_input(size_t curr_items, size_t new_items, size_t item_size, void *ptr,
                               B_TAG_SUB subTag) {
    if (!ptr) return eINVNULLARG;
    if (new_items == curr_items) return sOKAY;
    if (new_items < curr_items) return eRANGE;
    void **pArr = static_cast<void **>(ptr);
    ZEL_RETCODE rc;
    void *grown = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocOrReallocClear(subTag, *pArr, curr_items * item_size,
                                                new_items * item_size, &grown));
    *pArr = grown;
    return sOKAY;
}

// Grows an array of `count` items to `val` (cleared), then records the count.
template <typename N, typename V>
ZEL_RETCODE sch_grow_to(N &count, V val, size_t item_size, void *pItems, B_TAG_SUB tag) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_new_size_input(count, val, item_size, pItems, tag));
    count = static_cast<N>(val);
    return sOKAY;
}

ZEL_RETCODE sch_create(SCH_INFO *psch, B_TAG_SUB subTag) {
    if (!psch) return eINVNULLARG;
    ZEL_RETCODE rc;
    SCH_INFO sch = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(subTag, &sch));
    sch->subTag = subTag;
    b_llInit(&sch->llKeys, subTag);
    b_llInit(&sch->llBlobCols, subTag);
    if ((rc = sch_set_max_drawer(sch, SCH_FIRST_USER_DRAWER)) < 0 ||
        (rc = sch_set_max_table(sch, 1)) < 0) {
        sch_destroy(sch);
        return rc;
    }
    for (ZEL_DRAWER d = SCH_SYS_TABLE_DRAWER; d <= SCH_SYS_BLOB_DRAWER; ++d)
        sch->drawers[d] = sch_drawer(nullptr, d);
    sch->next_drawer = sch->num_drawers = SCH_FIRST_USER_DRAWER;
    sch->tables[0] = sch_get_sysfiles_table();
    sch->num_tables = sch->next_table = 1;
    *psch = sch;
    return sOKAY;
}

ZEL_RETCODE sch_set_max_drawer(SCH_INFO sch, ZEL_DRAWER val) {
    if (!sch) return eINVNULLARG;
    return sch_grow_to(sch->max_drawer, val, sizeof(SCH_DRAWER_INFO), &sch->drawers, sch->subTag);
}

ZEL_RETCODE sch_set_max_table(SCH_INFO sch, ZEL_TBL_INDEX val) {
    if (!sch) return eINVNULLARG;
    return sch_grow_to(sch->max_table, val, sizeof(SCH_TBL_INFO), &sch->tables, sch->subTag);
}

ZEL_RETCODE sch_set_next_domain(SCH_INFO sch, ZEL_DOM_INDEX val) {
    if (!sch) return eINVNULLARG;
    return sch_grow_to(sch->next_domain, val, sizeof(SCH_DOMAIN_INFO), &sch->domains, sch->subTag);
}

ZEL_RETCODE sch_tbl_set_max_cols(SCH_TBL_INFO ti, ZEL_COL_INDEX val) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    return sch_grow_to(ti->max_col, val, sizeof(SCH_COL_INFO), &ti->cols, sch_tbl_tag(ti));
}

ZEL_RETCODE sch_tbl_set_max_keys(SCH_TBL_INFO ti, ZEL_KEY_INDEX val) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    return sch_grow_to(ti->max_keys, val, sizeof(SCH_KEY_INFO), &ti->keys, sch_tbl_tag(ti));
}

ZEL_RETCODE sch_tbl_set_max_avls(SCH_TBL_INFO ti, ZEL_KEY_INDEX val) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    return sch_grow_to(ti->max_avls, val, sizeof(SCH_KEY_INFO), &ti->avls, sch_tbl_tag(ti));
}

ZEL_RETCODE sch_tbl_set_max_owners(SCH_TBL_INFO ti, ZEL_REF_INDEX val) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    return sch_grow_to(ti->max_owns, val, sizeof(SCH_REF_INFO), &ti->owners, sch_tbl_tag(ti));
}

ZEL_RETCODE sch_tbl_set_next_ref(SCH_TBL_INFO ti, ZEL_REF_INDEX val) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    const ZEL_RETCODE rc =
        sch_new_size_input(ti->next_ref, val, sizeof(SCH_REF_INFO), &ti->refs, sch_tbl_tag(ti));
    if (rc == eRANGE) return rc;
    /* A failed allocation leaves next_ref as it was and still reports
     * success: kept as callers have always seen it. */
    if (rc == sOKAY) ti->next_ref = val;
    return sOKAY;
}

#define SCH_PLAIN_STORE(fn, Handle, field, Type) \
    ZEL_RETCODE fn(Handle h, Type val) {         \
        if (!h) return eINVNULLARG;              \
        h->field = val;                          \
        return sOKAY;                            \
    }

SCH_PLAIN_STORE(sch_set_num_drawers, SCH_INFO, num_drawers, ZEL_DRAWER)
SCH_PLAIN_STORE(sch_set_num_domains, SCH_INFO, num_domains, ZEL_DOM_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_num_cols, SCH_TBL_INFO, num_cols, ZEL_COL_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_next_col, SCH_TBL_INFO, next_col, ZEL_COL_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_num_keys, SCH_TBL_INFO, num_keys, ZEL_KEY_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_next_key, SCH_TBL_INFO, next_key, ZEL_KEY_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_num_refs, SCH_TBL_INFO, num_refs, ZEL_REF_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_num_avls, SCH_TBL_INFO, num_avls, ZEL_KEY_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_next_avl, SCH_TBL_INFO, next_avl, ZEL_KEY_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_num_owners, SCH_TBL_INFO, num_owns, ZEL_REF_INDEX)
SCH_PLAIN_STORE(sch_tbl_set_next_owner, SCH_TBL_INFO, next_own, ZEL_REF_INDEX)

ZEL_RETCODE sch_set_next_drawer(SCH_INFO sch, ZEL_DRAWER val) {
    if (!sch) return eINVNULLARG;
    if (val > sch->max_drawer) return eRANGE;
    sch->next_drawer = val;
    return sOKAY;
}

ZEL_RETCODE sch_set_num_tables(SCH_INFO sch, ZEL_TBL_INDEX val) {
    if (!sch) return eINVNULLARG;
    sch->num_tables = val;
    if (sch->tablesByName) b_tag_subFree(sch->subTag, sch->tablesByName);
    sch->tablesByName = nullptr;
    sch->num_tablesByName = 0;
    return sOKAY;
}

ZEL_RETCODE sch_set_next_table(SCH_INFO sch, ZEL_TBL_INDEX val) {
    if (!sch) return eINVNULLARG;
    if (val > sch->max_table) return eRANGE;
    sch->next_table = val;
    return sOKAY;
}

// ---- Creators. The bounds differ by kind on purpose: tables and drawers
// may be created at their next index, the others only below it.

ZEL_RETCODE sch_drawer_create(SCH_INFO sch, ZEL_DRAWER drawerId, SCH_DRAWER_INFO *pdi) {
    if (!sch || !pdi) return eINVNULLARG;
    if (drawerId > sch->next_drawer || drawerId >= sch->max_drawer) return eRANGE;
    if (sch->drawers[drawerId]) return eBADCAT;
    ZEL_RETCODE rc;
    SCH_DRAWER_INFO di = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(sch->subTag, &di));
    di->ndx = drawerId;
    di->sch = sch;
    sch->drawers[drawerId] = di;
    *pdi = di;
    return sOKAY;
}

ZEL_RETCODE sch_drawer_add(SCH_INFO sch, ZEL_DRAWER_TYPE type, ZEL_TBL_INDEX tbl, ZEL_INDEX src,
                           SCH_DRAWER_INFO *pdi) {
    if (!sch || !pdi) return eINVNULLARG;
    const ZEL_DRAWER id = sch->next_drawer;
    if (id == std::numeric_limits<ZEL_DRAWER>::max()) return eRANGE;
    ZEL_RETCODE rc;
    if (id >= sch->max_drawer) {
        const ZEL_DRAWER room = std::numeric_limits<ZEL_DRAWER>::max() - id;
        ZEL_CHECK(rc = sch_set_max_drawer(sch, id + std::min<ZEL_DRAWER>(8, room)));
    }
    SCH_DRAWER_INFO di = nullptr;
    ZEL_CHECK(rc = sch_drawer_create(sch, id, &di));
    di->type = type;
    di->src_tblid = tbl;
    di->src_id = src;
    sch->next_drawer = id + 1;
    sch->num_drawers++;
    *pdi = di;
    return sOKAY;
}

ZEL_RETCODE sch_dom_create(SCH_INFO sch, ZEL_DOM_INDEX id, SCH_DOMAIN_INFO *pmi) {
    if (!sch || !pmi) return eINVNULLARG;
    if (id >= sch->next_domain) return eRANGE;
    if (sch->domains[id]) return eBADCAT;
    ZEL_RETCODE rc;
    SCH_DOMAIN_INFO mi = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(sch->subTag, &mi));
    mi->ndx = id;
    mi->sch = sch;
    mi->type.sch = sch;
    mi->def.tag.type = VAL_TAG_TYPE_NONE;
    sch->domains[id] = mi;
    *pmi = mi;
    return sOKAY;
}

ZEL_RETCODE sch_tbl_create(SCH_INFO sch, ZEL_TBL_INDEX id, SCH_TBL_INFO *pti) {
    if (!sch || !pti) return eINVNULLARG;
    if (id > sch->next_table || id >= sch->max_table) return eRANGE;
    if (sch->tables[id]) return eBADCAT;
    ZEL_RETCODE rc;
    SCH_TBL_INFO ti = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(sch->subTag, &ti));
    ti->ndx = id;
    ti->sch = sch;
    sch->tables[id] = ti;
    *pti = ti;
    return sOKAY;
}

ZEL_RETCODE sch_col_create(SCH_TBL_INFO ti, ZEL_COL_INDEX id, SCH_COL_INFO *pci) {
    if (!sch_tbl_writable(ti) || !pci) return eINVNULLARG;
    if (id >= ti->max_col) return eRANGE;
    if (ti->cols[id]) return eBADCAT;
    ZEL_RETCODE rc;
    SCH_COL_INFO ci = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(sch_tbl_tag(ti), &ci));
    ci->ndx = id;
    ci->table = ti;
    ci->type.sch = ti->sch;
    ci->keyid = ZEL_NO_INDEX;
    ci->def.tag.type = VAL_TAG_TYPE_NONE;
    ti->cols[id] = ci;
    *pci = ci;
    return sOKAY;
}

ZEL_RETCODE sch_key_create(SCH_TBL_INFO ti, ZEL_KEY_INDEX id, SCH_KEY_INFO *pki) {
    if (!sch_tbl_writable(ti) || !pki) return eINVNULLARG;
    if (id >= ti->max_keys) return eRANGE;
    if (ti->keys[id]) return eBADCAT;
    ZEL_RETCODE rc;
    SCH_KEY_INFO ki = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(sch_tbl_tag(ti), &ki));
    ki->ndx = id;
    ki->table = ti;
    ti->keys[id] = ki;
    *pki = ki;
    return sOKAY;
}

ZEL_RETCODE sch_ref_create(SCH_TBL_INFO ti, ZEL_REF_INDEX id, SCH_REF_INFO *pri) {
    if (!sch_tbl_writable(ti) || !pri) return eINVNULLARG;
    if (id >= ti->next_ref || !ti->refs) return eRANGE;
    if (ti->refs[id]) return eBADCAT;
    ZEL_RETCODE rc;
    SCH_REF_INFO ri = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(sch_tbl_tag(ti), &ri));
    ri->ndx = id;
    ri->table = ti;
    ri->owner_ndx = ZEL_NO_INDEX;
    ti->refs[id] = ri;
    *pri = ri;
    return sOKAY;
}

// ---- Texts.

ZEL_RETCODE sch_string_input(const char *val, char **pstr, ZEL_BOOL_T keepCase, B_TAG_SUB subTag) {
    (void)keepCase; /* accepted and ignored: names keep their case */
    if (!pstr) return eINVNULLARG;
    char *copy = nullptr;
    if (val) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subCopyString(subTag, val, &copy));
    }
    if (*pstr) b_tag_subFree(subTag, *pstr);
    *pstr = copy;
    return sOKAY;
}

#define SCH_TEXT_SETTER(fn, Handle, test, field, tag)           \
    ZEL_RETCODE fn(Handle h, const char *val) {                 \
        if (!(test)) return eINVNULLARG;                        \
        return sch_string_input(val, &h->field, ZEL_TRUE, tag); \
    }

SCH_TEXT_SETTER(sch_set_name, SCH_INFO, h, name, h->subTag)
SCH_TEXT_SETTER(sch_tbl_set_name, SCH_TBL_INFO, sch_tbl_writable(h), name, sch_tbl_tag(h))
SCH_TEXT_SETTER(sch_tbl_set_check_str, SCH_TBL_INFO, sch_tbl_writable(h), check_str, sch_tbl_tag(h))
SCH_TEXT_SETTER(sch_tbl_set_check_name, SCH_TBL_INFO, sch_tbl_writable(h), check_name,
                sch_tbl_tag(h))
SCH_TEXT_SETTER(sch_col_set_name, SCH_COL_INFO, h &&sch_tbl_writable(h->table), name,
                sch_tbl_tag(h->table))
SCH_TEXT_SETTER(sch_col_set_format, SCH_COL_INFO, h &&sch_tbl_writable(h->table), format,
                sch_tbl_tag(h->table))
SCH_TEXT_SETTER(sch_key_set_name, SCH_KEY_INFO, h &&sch_tbl_writable(h->table), name,
                sch_tbl_tag(h->table))
SCH_TEXT_SETTER(sch_ref_set_name, SCH_REF_INFO, h &&sch_tbl_writable(h->table), name,
                sch_tbl_tag(h->table))
SCH_TEXT_SETTER(sch_dom_set_name, SCH_DOMAIN_INFO, h && h->sch, name, h->sch->subTag)
SCH_TEXT_SETTER(sch_dom_set_format, SCH_DOMAIN_INFO, h && h->sch, format, h->sch->subTag)
SCH_TEXT_SETTER(sch_type_set_check_str, SCH_TYPE_INFO, h && h->sch, check_str, h->sch->subTag)
SCH_TEXT_SETTER(sch_type_set_check_name, SCH_TYPE_INFO, h && h->sch, check_name, h->sch->subTag)

ZEL_RETCODE sch_set_locale(SCH_INFO sch, const char *val) {
    if (!sch || !val) return eINVNULLARG;
    if (sch->locale_text) return strcmp(sch->locale_text, val) ? eLOCALEMISMATCH : sOKAY;
    ZEL_RETCODE rc;
    char *copy = nullptr;
    ZEL_CHECK(rc = b_tag_subCopyString(sch->subTag, val, &copy));
    psp_collate_t coll{};
    if ((rc = psp_collateInit(&coll, val)) < 0) {
        b_tag_subFree(sch->subTag, copy);
        return rc;
    }
    sch->locale = coll;
    sch->locale_text = copy;
    sch->use_locale = ZEL_TRUE;
    return sOKAY;
}

// ---- Types.

ZEL_RETCODE sch_type_set_data_type(SCH_TYPE_INFO pi, ZEL_TYPE type, ZEL_BOOL_T unicode_enabled) {
    if (!pi) return eINVNULLARG;
    ZEL_TYPE stored = type;
    if (!unicode_enabled && type == ZEL_WCHAR) stored = ZEL_WCHAR_UTF8;
    if (!unicode_enabled && type == ZEL_WVARCHAR) stored = ZEL_WVARCHAR_UTF8;
    pi->type = stored;
    pi->type_info = b_typeGetInfoEx(type, unicode_enabled);
    if (ZEL_TYPE_FAMILY(stored) == ZEL_FAMILY_CHAR) {
        pi->x.c.locale = pi->sch ? pi->sch->locale.locale : nullptr;
        pi->x.c.use_locale = pi->sch ? pi->sch->use_locale : ZEL_FALSE;
    }
    return sOKAY;
}

ZEL_RETCODE sch_type_set_elems(SCH_TYPE_INFO pi, uint16_t elems) {
    if (!pi) return eINVNULLARG;
    const int f = ZEL_TYPE_FAMILY(pi->type);
    if (f != ZEL_FAMILY_BOOL && f != ZEL_FAMILY_INTEGER && f != ZEL_FAMILY_FLOAT) return eBADCAT;
    pi->elems = elems;
    return sOKAY;
}

ZEL_RETCODE sch_type_set_length(SCH_TYPE_INFO pi, uint32_t length) {
    if (!pi) return eINVNULLARG;
    const int f = ZEL_TYPE_FAMILY(pi->type);
    const bool lob = (pi->type & ZEL_TYPE_LOB_BIT) != 0;
    if ((f == ZEL_FAMILY_CHAR || f == ZEL_FAMILY_BINARY) && !lob) {
        if (length > UINT16_MAX) return eRANGE;
        pi->x.c.len = static_cast<uint16_t>(length);
        return sOKAY;
    }
    if (f == ZEL_FAMILY_DECIMAL) {
        if (length > UINT8_MAX) return eRANGE;
        pi->x.d.prec = static_cast<uint8_t>(length);
        return sOKAY;
    }
    if (f == ZEL_FAMILY_DATETIME && pi->type != ZEL_DATE) {
        if (length > UINT8_MAX) return eRANGE;
        pi->x.t.prec = static_cast<uint8_t>(length);
        return sOKAY;
    }
    return eBADCAT;
}

ZEL_RETCODE sch_type_set_scale(SCH_TYPE_INFO pi, uint8_t scale) {
    if (!pi) return eINVNULLARG;
    if (ZEL_TYPE_FAMILY(pi->type) != ZEL_FAMILY_DECIMAL) return eBADCAT;
    pi->x.d.scale = scale;
    return sOKAY;
}

// ---- Columns.

ZEL_RETCODE sch_col_set_domain(SCH_COL_INFO ci, ZEL_DOM_INDEX id) {
    if (!ci || !ci->table) return eINVNULLARG;
    SCH_DOMAIN_INFO mi = sch_domain(ci->table->sch, id);
    if (ci->type.type != ZEL_NOVAL || !mi) return eBADCAT;
    ci->domain = mi;
    return sOKAY;
}

ZEL_RETCODE sch_col_set_not_null(SCH_COL_INFO ci, const char *val) {
    if (!ci || !sch_tbl_writable(ci->table)) return eINVNULLARG;
    if (val) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc =
                      sch_string_input(val, &ci->not_null_cname, ZEL_TRUE, sch_tbl_tag(ci->table)));
    }
    ci->not_null = ZEL_TRUE;
    return sOKAY;
}

ZEL_RETCODE sch_col_drop_not_null(SCH_COL_INFO ci) {
    if (!ci || !sch_tbl_writable(ci->table)) return eINVNULLARG;
    ci->not_null = ZEL_FALSE;
    sch_free_str(sch_tbl_tag(ci->table), &ci->not_null_cname);
    return sOKAY;
}

ZEL_RETCODE sch_col_set_default(SCH_COL_INFO ci, const char *val) {
    if (!ci || !sch_tbl_writable(ci->table)) return eINVNULLARG;
    return sch_set_default(sch_col_data_type(ci), val, &ci->def, &ci->defstr,
                           sch_tbl_tag(ci->table), false);
}

ZEL_RETCODE sch_dom_set_default(SCH_DOMAIN_INFO mi, const char *val) {
    if (!mi || !mi->sch) return eINVNULLARG;
    return sch_set_default(mi->type.type, val, &mi->def, &mi->defstr, mi->sch->subTag, true);
}

ZEL_RETCODE sch_col_set_ref(SCH_COL_INFO ci, ZEL_REF_INDEX id) {
    if (!ci || !ci->table) return eINVNULLARG;
    if (id >= ci->table->next_ref) return eRANGE;
    SCH_REF_INFO ri = sch_get_ref_by_index(ci->table, id);
    if (!ri) return eBADCAT;
    ci->ref = ri;
    return sOKAY;
}

ZEL_RETCODE sch_col_set_key(SCH_COL_INFO ci, ZEL_KEY_INDEX id) {
    if (!ci || !ci->table) return eINVNULLARG;
    if (id == ZEL_NO_INDEX) {
        ci->keyid = ZEL_NO_INDEX;
        ci->key = nullptr;
        return sOKAY;
    }
    if (id >= ci->table->next_key || id >= ci->table->max_keys) return eRANGE;
    SCH_KEY_INFO ki = ci->table->keys[id];
    if (!ki) return eBADCAT;
    ci->keyid = id;
    ci->key = ki;
    return sOKAY;
}

ZEL_RETCODE sch_col_set_reftab(SCH_COL_INFO ci, ZEL_TBL_INDEX id) {
    if (!ci || !ci->table || !ci->table->sch) return eINVNULLARG;
    if (id >= ci->table->sch->next_table) return eRANGE;
    SCH_TBL_INFO ti = sch_table(ci->table->sch, id);
    if (!ti) return eBADCAT;
    ci->reftab = ti;
    return sOKAY;
}

ZEL_RETCODE sch_col_set_refcol(SCH_COL_INFO ci, ZEL_COL_INDEX id) {
    if (!ci) return eINVNULLARG;
    if (!ci->reftab) return eBADCAT;
    if (id >= ci->reftab->max_col) return eRANGE;
    SCH_COL_INFO rc = ci->reftab->cols[id];
    if (!rc) return eBADCAT;
    ci->refcol = rc;
    return sOKAY;
}

ZEL_RETCODE sch_col_set_blob_drawer(SCH_COL_INFO ci, ZEL_DRAWER id) {
    if (!ci || !sch_tbl_writable(ci->table)) return eINVNULLARG;
    SCH_INFO sch = ci->table->sch;
    if (id >= sch->next_drawer) return eRANGE;
    SCH_DRAWER_INFO di = sch_user_drawer(sch, id);
    if (!di || di->type != ZEL_DRAWER_BLOB) return eBADCAT;
    // A drawer serves one column: the column frees it with itself, so a
    // second column on it would free it twice.
    if (di->obj.ci != nullptr && di->obj.ci != ci) return eBADCAT;
    ci->drawer = di;
    di->obj.ci = ci;
    return sOKAY;
}

// ---- Drawers of tables, keys and references.

ZEL_RETCODE sch_tbl_set_drawer(SCH_TBL_INFO ti, ZEL_DRAWER drawer) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    if (drawer == ZEL_NO_DRAWER || drawer == ZEL_NO_DRAWER_ALT) return sOKAY;
    SCH_DRAWER_INFO di = sch_user_drawer(ti->sch, drawer);
    if (!di || di->type != ZEL_DRAWER_TABLE || di->src_tblid != ti->ndx || di->src_id != ti->ndx)
        return eBADCAT;
    ti->drawer = di;
    di->obj.ti = ti;
    return sOKAY;
}

ZEL_RETCODE sch_key_set_drawer(SCH_KEY_INFO ki, ZEL_DRAWER drawer) {
    if (!ki || !sch_tbl_writable(ki->table)) return eINVNULLARG;
    if (drawer == ZEL_NO_DRAWER) {
        ki->drawer = nullptr;
        return sOKAY;
    }
    SCH_DRAWER_INFO di = sch_user_drawer(ki->table->sch, drawer);
    if (!di ||
        (di->type != ZEL_DRAWER_BTREE && di->type != ZEL_DRAWER_HASH &&
         di->type != ZEL_DRAWER_RTREE) ||
        di->src_tblid != ki->table->ndx || di->src_id != ki->ndx)
        return eBADCAT;
    ki->drawer = di;
    di->obj.ki = ki;
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_drawer(SCH_REF_INFO ri, ZEL_DRAWER drawer) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    SCH_DRAWER_INFO di = sch_user_drawer(ri->table->sch, drawer);
    if (!di || di->type != ZEL_DRAWER_REF || di->src_tblid != ri->table->ndx ||
        di->src_id != ri->ndx)
        return eBADCAT;
    ri->drawer = di;
    di->obj.ri = ri;
    return sOKAY;
}

// ---- Keys.

ZEL_RETCODE sch_key_set_type(SCH_KEY_INFO ki, ZEL_KEY_TYPE type) {
    if (!ki || !ki->table) return eINVNULLARG;
    if (type == ZEL_KEY_TYPE_PRIMARY) {
        if (ki->table->pkey) return eBADCAT;
        ki->table->pkey = ki;
    }
    ki->type = type;
    return sOKAY;
}

ZEL_RETCODE sch_key_set_num_elems(SCH_KEY_INFO ki, ZEL_COL_INDEX val) {
    if (!ki || !sch_tbl_writable(ki->table)) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_new_size_input(ki->num_elems, val, sizeof(SCH_ELEM_INFO_S), &ki->elems,
                                      sch_tbl_tag(ki->table)));
    for (ZEL_COL_INDEX i = ki->num_elems; i < val; ++i) {
        ki->elems[i].ndx = i;
        ki->elems[i].key = ki;
        ki->elems[i].dir = ZEL_FORWARD;
    }
    ki->num_elems = val;
    return sOKAY;
}

ZEL_RETCODE sch_elem_set_col(SCH_ELEM_INFO ei, ZEL_COL_INDEX id) {
    if (!ei || !ei->key || !sch_tbl_writable(ei->key->table)) return eINVNULLARG;
    SCH_TBL_INFO ti = ei->key->table;
    if (id >= ti->max_col || !ti->cols[id]) return eBADCAT;
    SCH_COL_INFO ci = ti->cols[id];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_list_append(sch_tbl_tag(ti), &ci->keys, &ci->num_keys, ei->key));
    ei->col = ci;
    return sOKAY;
}

// ---- References.

ZEL_RETCODE sch_ref_set_reftab(SCH_REF_INFO ri, ZEL_TBL_INDEX id) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    SCH_INFO sch = ri->table->sch;
    if (id >= sch->next_table) return eBADCAT;
    SCH_TBL_INFO target = sch_table(sch, id);
    if (!target) return eBADCAT;
    if (sch_tbl_writable(target)) {
        ZEL_RETCODE rc;
        if (target->max_owns == target->next_own)
            ZEL_CHECK(rc = sch_tbl_set_max_owners(
                          target, static_cast<ZEL_REF_INDEX>(target->next_own + SCH_GROW_STEP)));
        ri->owner_ndx = target->next_own;
        target->owners[target->next_own] = ri;
        ++target->num_owns;
        ++target->next_own;
    }
    ri->reftab = target;
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_refkey(SCH_REF_INFO ri, ZEL_KEY_INDEX id) {
    if (!ri) return eINVNULLARG;
    SCH_TBL_INFO target = ri->reftab;
    if (!target || id >= target->next_key || id >= target->max_keys || !target->keys[id])
        return eBADCAT;
    ri->refkey = target->keys[id];
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_num_cols(SCH_REF_INFO ri, ZEL_COL_INDEX num) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    B_TAG_SUB tag = sch_tbl_tag(ri->table);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_new_size_input(ri->num_cols, num, sizeof(SCH_COL_INFO), &ri->cols, tag));
    ZEL_CHECK(rc = sch_new_size_input(ri->num_cols, num, sizeof(ZEL_COLUMN_VALUE),
                                      &ri->ref_col_vals, tag));
    ri->num_cols = num;
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_num_sort_cols(SCH_REF_INFO ri, ZEL_COL_INDEX num) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_new_size_input(ri->num_sort_cols, num, sizeof(SCH_SORT_INFO_S),
                                      &ri->sort_cols, sch_tbl_tag(ri->table)));
    for (ZEL_COL_INDEX i = ri->num_sort_cols; i < num; ++i) {
        ri->sort_cols[i].ndx = i;
        ri->sort_cols[i].ref = ri;
        ri->sort_cols[i].order = ZEL_FORWARD;
    }
    ri->num_sort_cols = num;
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_col(SCH_REF_INFO ri, ZEL_COL_INDEX col, ZEL_COL_INDEX id) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    SCH_COL_INFO ci = sch_get_col_by_index(ri->table, id);
    if (col >= ri->num_cols || !ri->reftab || !ci) return eBADCAT;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_list_append(sch_tbl_tag(ri->table), &ci->refs, &ci->num_refs, ri));
    ri->cols[col] = ci;
    ri->ref_col_vals[col].columnId = sch_col_constant(ci);
    zel_valueInit(&ri->ref_col_vals[col].value);
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_sort_col(SCH_REF_INFO ri, ZEL_COL_INDEX col, ZEL_COL_INDEX id) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    if (col >= ri->num_sort_cols || id >= ri->table->num_cols) return eBADCAT;
    SCH_COL_INFO ci = sch_get_col_by_index(ri->table, id);
    if (!ci) return eBADCAT;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_list_append(sch_tbl_tag(ri->table), &ci->sortrefs, &ci->num_sortrefs, ri));
    ri->sort_cols[col].col = ci;
    return sOKAY;
}

ZEL_RETCODE sch_ref_set_sort_order(SCH_REF_INFO ri, ZEL_COL_INDEX col, ZEL_DIRECTION order) {
    if (!ri) return eINVNULLARG;
    if (col >= ri->num_sort_cols) return eBADCAT;
    ri->sort_cols[col].order = order;
    return sOKAY;
}

// ---- Triggers.

ZEL_RETCODE sch_trig_allocate(const char *name, uint16_t sqltrig, uint64_t crtime,
                              SCH_TRIG_INFO *ptrgi, B_TAG_SUB subTag) {
    if (!ptrgi) return eINVNULLARG;
    ZEL_RETCODE rc;
    SCH_TRIG_INFO t = nullptr;
    ZEL_CHECK(rc = sch_alloc_record(subTag, &t));
    if (name && (rc = b_tag_subCopyString(subTag, name, &t->name)) < 0) {
        b_tag_subFree(subTag, t);
        return rc;
    }
    t->sqltrig = sqltrig;
    t->crtime = crtime;
    *ptrgi = t;
    return sOKAY;
}

ZEL_RETCODE sch_trig_alloc_updcols(SCH_TRIG_INFO trgi, ZEL_COL_INDEX num, B_TAG_SUB subTag) {
    if (!trgi) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_new_size_input(trgi->num_updcols, num, sizeof(ZEL_COL_INDEX), &trgi->updcols,
                                      subTag));
    trgi->num_updcols = num;
    return sOKAY;
}

ZEL_RETCODE sch_trig_alloc_colrefs(SCH_TRIG_INFO trgi, ZEL_TRC_INDEX num, B_TAG_SUB subTag) {
    if (!trgi) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_new_size_input(trgi->num_colrefs, num, sizeof(SCH_TRIG_COL_INFO_S),
                                      &trgi->colrefs, subTag));
    for (ZEL_TRC_INDEX i = trgi->num_colrefs; i < num; ++i) trgi->colrefs[i].ndx = i;
    trgi->num_colrefs = num;
    return sOKAY;
}

ZEL_RETCODE sch_trig_set_updcol(SCH_TRIG_INFO trgi, ZEL_COL_INDEX ndx, ZEL_COL_INDEX val) {
    if (!trgi) return eINVNULLARG;
    if (ndx >= trgi->num_updcols) return eRANGE;
    trgi->updcols[ndx] = val;
    return sOKAY;
}

ZEL_RETCODE sch_trig_create(SCH_TBL_INFO ti, SCH_TRIG_INFO trgi) {
    if (!sch_tbl_writable(ti) || !trgi) return eINVNULLARG;
    SCH_TRIG_INFO *link = &ti->triggers;
    while (*link && (*link)->crtime <= trgi->crtime) link = &(*link)->next;
    trgi->next = *link;
    *link = trgi;
    return sOKAY;
}

ZEL_RETCODE sch_trig_drop(SCH_TBL_INFO ti, const char *name) {
    if (!ti || !name) return eINVNULLARG;
    for (SCH_TRIG_INFO *link = &ti->triggers; *link; link = &(*link)->next) {
        if ((*link)->name && psp_strcasecmp((*link)->name, name) == 0) {
            SCH_TRIG_INFO t = *link;
            *link = t->next;
            t->next = nullptr;
            return sOKAY;
        }
    }
    return eNOTFOUND;
}

void sch_trig_free(SCH_TRIG_INFO trgi, B_TAG_SUB subTag) {
    if (!trgi) return;
    b_tag_subFreeCanBeNull(subTag, trgi->name);
    b_tag_subFreeCanBeNull(subTag, trgi->updcols);
    b_tag_subFreeCanBeNull(subTag, trgi->colrefs);
    b_tag_subFree(subTag, trgi);
}

// ---- Finalisers.

ZEL_RETCODE sch_col_finalize(SCH_COL_INFO ci) {
    if (!ci) return eINVNULLARG;
    if (!ci->table) return eBADCAT;
    const ZEL_TYPE t = sch_col_data_type(ci);
    if (t == ZEL_NOVAL) return eBADCAT;
    const bool lob = (t & ZEL_TYPE_LOB_BIT) != 0;
    if (lob != (ci->drawer != nullptr)) return eBADCAT;
    return sOKAY;
}

ZEL_RETCODE sch_key_finalize_name(SCH_KEY_INFO ki) {
    if (!ki || !sch_tbl_writable(ki->table)) return eINVNULLARG;
    if (ki->name) return sOKAY;
    B_TAG_SUB tag = sch_tbl_tag(ki->table);
    ZEL_RETCODE rc;
    char *name = nullptr;
    size_t want = 0;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i) {
        const char *cn = ki->elems[i].col && ki->elems[i].col->name ? ki->elems[i].col->name : "";
        want += (i == 0 ? 0 : 1) + std::strlen(cn);
        rc = i == 0 ? b_makeStr(tag, &name, "%s", cn) : b_appendStr(tag, &name, name, "_%s", cn);
        // Appending answers sOKAY when the string could not grow: the length
        // tells.
        if (rc >= 0 && std::strlen(name) != want) rc = eNOMEMORY;
        if (rc < 0) {
            b_tag_subFreeCanBeNull(tag, name);
            return rc;
        }
    }
    if (!name) ZEL_CHECK(rc = b_tag_subCopyString(tag, "", &name));
    ki->name = name;
    ki->inline_key = ZEL_TRUE;
    return sOKAY;
}

ZEL_RETCODE sch_key_finalize(SCH_KEY_INFO ki) {
    if (!ki || !sch_tbl_writable(ki->table)) return eINVNULLARG;
    SCH_TBL_INFO ti = ki->table;
    if (ki->num_elems && !ki->elems[ki->num_elems - 1].col) return eBADCAT;
    ZEL_RETCODE rc;
    if (ki->method == ZEL_KEY_METHOD_AVL) {
        if (ti->max_avls == ti->next_avl)
            ZEL_CHECK(rc = sch_tbl_set_max_avls(
                          ti, static_cast<ZEL_KEY_INDEX>(ti->next_avl + SCH_GROW_STEP)));
        ki->avl_ndx = ti->next_avl;
        if (ki->num_elems) {
            ti->avls[ti->next_avl] = ki;
            ++ti->num_avls;
        }
        ++ti->next_avl;
    }
    ZEL_CHECK(rc = sch_key_finalize_offsets(ki));
    sch_key_mark_compact(ki);
    ZEL_CHECK(rc = sch_key_finalize_name(ki));
    if (ki->method == ZEL_KEY_METHOD_HASH) sch_bucket_generate_buffer_info(ki);
    return sOKAY;
}

ZEL_RETCODE sch_ref_finalize_name(SCH_REF_INFO ri) {
    if (!ri || !sch_tbl_writable(ri->table)) return eINVNULLARG;
    if (ri->name) return sOKAY;
    if (!ri->cols || ri->num_cols == 0 || !ri->cols[0] || !ri->cols[0]->name) return eBADCAT;
    return b_makeStr(sch_tbl_tag(ri->table), &ri->name, "%s_%s",
                     ri->table->name ? ri->table->name : "", ri->cols[0]->name);
}

ZEL_RETCODE sch_ref_finalize(SCH_REF_INFO ri) {
    if (!ri || !ri->table) return eINVNULLARG;
    if (ri->num_sort_cols && !ri->sort_cols[ri->num_sort_cols - 1].col) return eBADCAT;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_ref_finalize_name(ri));
    /* Only the last column's result counts; an earlier failure is
     * overwritten, as the loader has always done. Columns not linked yet
     * (the loader links them at the end) are passed over. */
    for (ZEL_COL_INDEX i = 0; i < ri->num_cols; ++i)
        if (ri->cols[i]) rc = sch_col_set_ref(ri->cols[i], ri->ndx);
    return rc;
}

ZEL_RETCODE sch_ref_finalize_locking(SCH_REF_INFO ri) {
    if (!ri) return eINVNULLARG;
    switch (ri->on_update) {
        case ZEL_REF_ACTION_NOVAL:
        case ZEL_REF_ACTION_RESTRICT:
            ri->requires_write = ZEL_FALSE;
            break;
        case ZEL_REF_ACTION_SET_NULL:
            ri->requires_write = ZEL_TRUE;
            break;
        case ZEL_REF_ACTION_CASCADE: {
            if (ri->num_cols == 0 || ri->requires_write) break;
            /* The sort columns are looked at for the first foreign column
             * only; later ones count by their key usage alone. Accepted. */
            for (ZEL_COL_INDEX i = 0; i < ri->num_cols && !ri->requires_write; ++i) {
                SCH_COL_INFO ci = ri->cols[i];
                if (!ci) continue;
                if (ci->usage & SCH_COL_USAGE_KEY)
                    ri->requires_write = ZEL_TRUE;
                else if (i == 0)
                    for (ZEL_COL_INDEX s = 0; s < ri->num_sort_cols; ++s)
                        if (ri->sort_cols[s].col == ci) ri->requires_write = ZEL_TRUE;
            }
            break;
        }
        default:
            break;
    }
    return sOKAY;
}

namespace {

/* The inverse of active_ndx, so that a column's active position is one read
 * rather than a scan: readers of wide rows look it up for every column. */
ZEL_RETCODE sch_tbl_build_active_pos(SCH_TBL_INFO ti) {
    B_TAG_SUB tag = sch_tbl_tag(ti);
    b_tag_subFreeCanBeNull(tag, ti->active_pos);
    ti->active_pos = nullptr;
    ti->num_active_pos = 0;
    if (!ti->active_ndx || ti->next_col == 0) return sOKAY;
    ZEL_COL_INDEX *pos = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(tag, ti->next_col * sizeof(ZEL_COL_INDEX), &pos));
    std::fill_n(pos, ti->next_col, ZEL_NO_INDEX);
    for (ZEL_COL_INDEX i = ti->num_cols; i-- > 0;)
        if (ti->active_ndx[i] < ti->next_col) pos[ti->active_ndx[i]] = i;
    ti->active_pos = pos;
    ti->num_active_pos = ti->next_col;
    return sOKAY;
}

}  // namespace

ZEL_RETCODE sch_tbl_finalize(SCH_TBL_INFO ti, ZEL_BOOL_T unicode_enabled) {
    (void)unicode_enabled; /* the layout does not depend on it */
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    B_TAG_SUB tag = sch_tbl_tag(ti);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_tbl_calc_offsets(ti));

    uint32_t lobs = 0;
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD)) {
        const ZEL_TYPE t = sch_col_data_type(ci);
        if (sch_is_wide(t) && ti->drawer) ti->drawer->compact = ZEL_TRUE;
        if (t & ZEL_TYPE_LOB_BIT) ++lobs;
    }

    uint32_t keyDrawers = 0;
    for (auto ki = sch_iterate_keys(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_keys(ti, ki, ZEL_FORWARD)) {
        if (ki->drawer) ++keyDrawers;
        if (!ki->num_elems) continue;
        ZEL_CHECK(rc = sch_key_finalize_offsets(ki));
        sch_key_mark_compact(ki);
        ZEL_CHECK(rc = sch_key_finalize_name(ki));
        if (ki->method == ZEL_KEY_METHOD_HASH) sch_bucket_generate_buffer_info(ki);
    }

    for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
         ri = sch_iterate_refs(ti, ri, ZEL_FORWARD)) {
        ZEL_CHECK(rc = sch_ref_calc_sort_offsets(ri));
        for (ZEL_COL_INDEX s = 0; s < ri->num_sort_cols && ri->drawer; ++s)
            if (sch_is_wide(sch_col_data_type(ri->sort_cols[s].col)))
                ri->drawer->compact = ZEL_TRUE;
    }

    /* The drawer list: the table's, keys', references', then blob drawers.
     * Room is one more than the table has drawers, by design of the count. */
    b_tag_subFreeCanBeNull(tag, ti->drawers);
    ti->drawers = nullptr;
    ti->num_drawers = 0;
    const size_t room = lobs + ti->num_refs + 1 + keyDrawers;
    SCH_DRAWER_INFO *list = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocClear(tag, room * sizeof(SCH_DRAWER_INFO), &list));
    ZEL_DRAWER n = 0;
    auto put = [&](SCH_DRAWER_INFO di) {
        if (!di || n >= room) return;
        di->tbl_ndx = n;
        list[n++] = di;
    };
    put(ti->drawer);
    for (auto ki = sch_iterate_keys(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_keys(ti, ki, ZEL_FORWARD))
        put(ki->drawer);
    for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
         ri = sch_iterate_refs(ti, ri, ZEL_FORWARD))
        put(ri->drawer);
    for (auto ci = sch_iterate_lob_cols(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_lob_cols(ti, ci, ZEL_FORWARD))
        put(ci->drawer);
    ti->drawers = list;
    ti->num_drawers = n;

    if (ti->num_cols && ti->num_cols < ti->next_col) {
        ZEL_COL_INDEX named = 0;
        for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
             ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD))
            ++named;
        if (named != ti->num_cols) return eBADCAT;
        ZEL_COL_INDEX *active = nullptr;
        ZEL_CHECK(rc = b_tag_subAlloc(tag, named * sizeof(ZEL_COL_INDEX), &active));
        ZEL_COL_INDEX i = 0;
        for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
             ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD))
            active[i++] = ci->ndx;
        b_tag_subFreeCanBeNull(tag, ti->active_ndx);
        ti->active_ndx = active;
    }
    ZEL_CHECK(rc = sch_tbl_build_active_pos(ti));

    sch_tbl_generate_buffer_info(ti);
    return sOKAY;
}

// ---- Drops and teardown.

namespace {

/* Frees a key's parts and its drawer; the record stays. */
void sch_key_free_parts(SCH_KEY_INFO ki, bool unlinkCols) {
    SCH_TBL_INFO ti = ki->table;
    B_TAG_SUB tag = sch_tbl_tag(ti);
    sch_drawer_free(ti->sch, ti, ki->drawer);
    ki->drawer = nullptr;
    for (ZEL_COL_INDEX i = 0; unlinkCols && i < ki->num_elems; ++i)
        if (SCH_COL_INFO ci = ki->elems[i].col)
            sch_list_remove(tag, &ci->keys, &ci->num_keys, static_cast<const SCH_KEY_INFO_S *>(ki));
    b_tag_subFreeCanBeNull(tag, ki->elems);
    ki->elems = nullptr;
    ki->num_elems = 0;
    sch_free_str(tag, &ki->type_text);
    sch_free_str(tag, &ki->name);
}

void sch_col_free_parts(SCH_COL_INFO ci) {
    SCH_TBL_INFO ti = ci->table;
    B_TAG_SUB tag = sch_tbl_tag(ti);
    sch_free_str(tag, &ci->name);
    sch_free_str(tag, &ci->not_null_cname);
    sch_free_str(tag, &ci->defstr);
    sch_free_str(tag, &ci->format);
    sch_type_free(&ci->type, tag);
    sch_default_release(&ci->def, tag);
    sch_drawer_free(ti->sch, ti, ci->drawer);
    ci->drawer = nullptr;
    b_tag_subFreeCanBeNull(tag, ci->keys);
    b_tag_subFreeCanBeNull(tag, ci->refs);
    b_tag_subFreeCanBeNull(tag, ci->sortrefs);
    ci->keys = nullptr;
    ci->refs = ci->sortrefs = nullptr;
    ci->num_keys = ci->num_refs = ci->num_sortrefs = 0;
}

void sch_ref_free(SCH_REF_INFO ri) {
    B_TAG_SUB tag = sch_tbl_tag(ri->table);
    b_tag_subFreeCanBeNull(tag, ri->cols);
    b_tag_subFreeCanBeNull(tag, ri->sort_cols);
    b_tag_subFreeCanBeNull(tag, ri->ref_col_vals);
    b_tag_subFreeCanBeNull(tag, ri->name);
    b_tag_subFree(tag, ri);
}

void sch_dom_free(SCH_INFO sch, SCH_DOMAIN_INFO mi) {
    sch_free_str(sch->subTag, &mi->name);
    sch_free_str(sch->subTag, &mi->defstr);
    sch_free_str(sch->subTag, &mi->format);
    sch_type_free(&mi->type, sch->subTag);
    sch_default_release(&mi->def, sch->subTag);
    b_tag_subFree(sch->subTag, mi);
}

/* Frees a whole table as destroy does: no unlinking between its items. */
void sch_tbl_free(SCH_TBL_INFO ti) {
    SCH_INFO sch = ti->sch;
    B_TAG_SUB tag = sch->subTag;
    for (ZEL_REF_INDEX i = 0; ti->refs && i < ti->next_ref; ++i)
        if (ti->refs[i]) sch_ref_free(ti->refs[i]);
    for (ZEL_COL_INDEX i = 0; ti->cols && i < ti->max_col; ++i)
        if (SCH_COL_INFO ci = ti->cols[i]) {
            sch_col_free_parts(ci);
            b_tag_subFree(tag, ci);
        }
    for (ZEL_KEY_INDEX i = 0; ti->keys && i < ti->max_keys; ++i)
        if (SCH_KEY_INFO ki = ti->keys[i]) {
            sch_key_free_parts(ki, false);
            b_tag_subFree(tag, ki);
        }
    /* AVL keys without elements are in no key slot only when dropped. */
    sch_drawer_free(sch, ti, ti->drawer);
    b_tag_subFreeCanBeNull(tag, ti->refs);
    b_tag_subFreeCanBeNull(tag, ti->cols);
    b_tag_subFreeCanBeNull(tag, ti->keys);
    b_tag_subFreeCanBeNull(tag, ti->avls);
    b_tag_subFreeCanBeNull(tag, ti->owners);
    b_tag_subFreeCanBeNull(tag, ti->drawers);
    b_tag_subFreeCanBeNull(tag, ti->active_ndx);
    b_tag_subFreeCanBeNull(tag, ti->active_pos);
    b_tag_subFreeCanBeNull(tag, ti->name);
    b_tag_subFreeCanBeNull(tag, ti->check_str);
    b_tag_subFreeCanBeNull(tag, ti->check_name);
    b_tag_subFree(tag, ti);
}

}  // namespace

ZEL_RETCODE sch_key_drop_fcn(SCH_KEY_INFO ki) {
    if (!ki || !sch_tbl_writable(ki->table)) return eINVNULLARG;
    SCH_TBL_INFO ti = ki->table;
    sch_forget_lists(ti->sch);
    sch_key_free_parts(ki, true);
    for (ZEL_COL_INDEX i = 0; ti->cols && i < ti->max_col; ++i)
        if (ti->cols[i] && ti->cols[i]->key == ki) {
            ti->cols[i]->key = nullptr;
            ti->cols[i]->keyid = ZEL_NO_INDEX;
        }
    if (ti->pkey == ki) ti->pkey = nullptr;
    if (ki->method == ZEL_KEY_METHOD_AVL) {
        /* The record stays in its key slot; only the AVL slot empties. */
        if (ti->avls && ki->avl_ndx < ti->max_avls && ti->avls[ki->avl_ndx] == ki) {
            ti->avls[ki->avl_ndx] = nullptr;
            --ti->num_avls;
        }
        return sOKAY;
    }
    ti->keys[ki->ndx] = nullptr;
    if (ti->num_keys) --ti->num_keys;
    b_tag_subFree(sch_tbl_tag(ti), ki);
    return sOKAY;
}

ZEL_RETCODE sch_ref_drop(SCH_TBL_INFO ti, ZEL_REF_INDEX id) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    if (id >= ti->next_ref) return eRANGE;
    SCH_REF_INFO ri = ti->refs ? ti->refs[id] : nullptr;
    if (!ri) return sOKAY;
    B_TAG_SUB tag = sch_tbl_tag(ti);
    sch_forget_lists(ti->sch);
    sch_drawer_free(ti->sch, ti, ri->drawer);
    ri->drawer = nullptr;
    for (ZEL_COL_INDEX i = 0; i < ri->num_cols; ++i) {
        SCH_COL_INFO ci = ri->cols[i];
        if (!ci) continue;
        sch_list_remove(tag, &ci->refs, &ci->num_refs, static_cast<const SCH_REF_INFO_S *>(ri));
        if (ci->num_refs == 0) ci->usage &= static_cast<uint16_t>(~SCH_COL_USAGE_REF);
        ci->reftab = nullptr;
        ci->refcol = nullptr;
        if (ci->ref == ri) ci->ref = nullptr;
    }
    for (ZEL_COL_INDEX i = 0; i < ri->num_sort_cols; ++i) {
        SCH_COL_INFO ci = ri->sort_cols[i].col;
        if (!ci) continue;
        sch_list_remove(tag, &ci->sortrefs, &ci->num_sortrefs,
                        static_cast<const SCH_REF_INFO_S *>(ri));
        if (ci->num_sortrefs == 0) ci->usage &= static_cast<uint16_t>(~SCH_COL_USAGE_SORT);
    }
    SCH_TBL_INFO target = ri->reftab;
    if (sch_tbl_writable(target) && target->owners && ri->owner_ndx < target->max_owns &&
        target->owners[ri->owner_ndx] == ri) {
        target->owners[ri->owner_ndx] = nullptr;
        --target->num_owns;
    }
    ti->refs[id] = nullptr;
    if (ti->num_refs) --ti->num_refs;
    sch_ref_free(ri);
    return sOKAY;
}

ZEL_RETCODE sch_dom_drop(SCH_DOMAIN_INFO mi) {
    if (!mi || !mi->sch) return eINVNULLARG;
    SCH_INFO sch = mi->sch;
    for (auto ti = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(sch, ti, ZEL_FORWARD))
        for (auto ci = sch_iterate_cols(ti, nullptr, ZEL_FORWARD); ci;
             ci = sch_iterate_cols(ti, ci, ZEL_FORWARD))
            if (ci->domain == mi) return sOKAY;
    if (sch->domains && mi->ndx < sch->next_domain && sch->domains[mi->ndx] == mi) {
        sch->domains[mi->ndx] = nullptr;
        if (sch->num_domains) --sch->num_domains;
    }
    sch_dom_free(sch, mi);
    return sOKAY;
}

ZEL_RETCODE sch_tbl_col_drop(SCH_COL_INFO ci, ZEL_BOOL_T freeCol) {
    if (!ci || !sch_tbl_writable(ci->table)) return eINVNULLARG;
    SCH_TBL_INFO ti = ci->table;
    sch_forget_lists(ti->sch);
    sch_col_free_parts(ci);
    if (SCH_DOMAIN_INFO mi = ci->domain) {
        ci->domain = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = sch_dom_drop(mi));
    }
    if (ti->num_cols) --ti->num_cols;
    if (freeCol) {
        ti->cols[ci->ndx] = nullptr;
        b_tag_subFree(sch_tbl_tag(ti), ci);
    }
    return sOKAY;
}

ZEL_RETCODE sch_tbl_drop(SCH_TBL_INFO ti) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    SCH_INFO sch = ti->sch;
    if (ti->ndx >= sch->next_table) return eRANGE;
    sch_forget_lists(sch);
    ZEL_RETCODE rc;
    for (ZEL_REF_INDEX i = 0; ti->refs && i < ti->next_ref; ++i)
        ZEL_CHECK(rc = sch_ref_drop(ti, i));
    for (ZEL_KEY_INDEX i = 0; ti->keys && i < ti->max_keys; ++i)
        if (ti->keys[i]) {
            SCH_KEY_INFO ki = ti->keys[i];
            const bool avl = ki->method == ZEL_KEY_METHOD_AVL;
            ZEL_CHECK(rc = sch_key_drop_fcn(ki));
            if (avl) {
                ti->keys[i] = nullptr;
                b_tag_subFree(sch->subTag, ki);
            }
        }
    for (ZEL_COL_INDEX i = 0; ti->cols && i < ti->max_col; ++i)
        if (ti->cols[i]) ZEL_CHECK(rc = sch_tbl_col_drop(ti->cols[i], ZEL_TRUE));
    sch->tables[ti->ndx] = nullptr;
    if (sch->num_tables) --sch->num_tables;
    sch_tbl_free(ti);
    return sOKAY;
}

ZEL_RETCODE sch_tbl_drawers_drop(SCH_TBL_INFO ti) {
    if (!sch_tbl_writable(ti)) return eINVNULLARG;
    SCH_INFO sch = ti->sch;
    if (ti->drawer && ti->drawer->ndx >= sch->next_drawer) return eRANGE;
    for (ZEL_DRAWER i = 0; ti->drawers && i < ti->num_drawers; ++i) {
        SCH_DRAWER_INFO di = ti->drawers[i];
        if (!di) continue;
        if (di == ti->drawer) ti->drawer = nullptr;
        if (di->type == ZEL_DRAWER_BLOB && di->obj.ci && di->obj.ci->drawer == di)
            di->obj.ci->drawer = nullptr;
        if ((di->type == ZEL_DRAWER_BTREE || di->type == ZEL_DRAWER_HASH ||
             di->type == ZEL_DRAWER_RTREE) &&
            di->obj.ki && di->obj.ki->drawer == di)
            di->obj.ki->drawer = nullptr;
        if (di->type == ZEL_DRAWER_REF && di->obj.ri && di->obj.ri->drawer == di)
            di->obj.ri->drawer = nullptr;
        sch_drawer_free(sch, ti, di);
    }
    b_tag_subFreeCanBeNull(sch->subTag, ti->drawers);
    ti->drawers = nullptr;
    ti->num_drawers = 0;
    return sOKAY;
}

void sch_destroy(SCH_INFO sch) {
    if (!sch) return;
    B_TAG_SUB tag = sch->subTag;
    if (sch->use_locale) psp_collateTerm(&sch->locale);
    sch_free_str(tag, &sch->name);
    sch_free_str(tag, &sch->locale_text);
    for (ZEL_TBL_INDEX i = 1; sch->tables && i < sch->max_table; ++i)
        if (sch->tables[i]) {
            sch_tbl_free(sch->tables[i]);
            sch->tables[i] = nullptr;
        }
    for (ZEL_DOM_INDEX i = 0; sch->domains && i < sch->next_domain; ++i)
        if (sch->domains[i]) sch_dom_free(sch, sch->domains[i]);
    for (ZEL_DRAWER i = SCH_FIRST_USER_DRAWER; sch->drawers && i < sch->max_drawer; ++i)
        if (sch->drawers[i]) b_tag_subFree(tag, sch->drawers[i]);
    sch_forget_lists(sch);
    b_tag_subFreeCanBeNull(tag, sch->domains);
    b_tag_subFreeCanBeNull(tag, sch->drawers);
    b_tag_subFreeCanBeNull(tag, sch->tables);
    b_tag_subFree(tag, sch);
}
