/*
 * schema.cpp - the reading side of the catalogue: the built-in `_sys_files`
 * table, packed identifiers, accessors, lookups and iterators.
 * The built-in table is a web of constant records initialised at compile
 * time (they point at each other, so they are declared before they are
 * defined); every catalogue's table 0 and drawers 2 to 4 are these records,
 * and nothing ever writes or frees them. Iterators are stateless walks over
 * the arrays by the previous item's own index, so a caller needs no cursor;
 * only the lists of all keys and of all large-object columns, built on first
 * use, keep a cursor in the catalogue.
 */
#include "schema.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "format.h"
#include "list.h"
#include "psp.h"
#include "schema_words.h"
#include "tag_stack.h"
#include "tag_sub.h"
#include "types.h"

namespace {

template <class T>
constexpr T *sch_mut(const T *p) {
    return const_cast<T *>(p);
}

}  // namespace

// ---- The built-in table.
//
// Index NAME       TYPE        NOT NULL BYTE_LEN PTR    HAS_VALUE_OFF
//     0 name       ZEL_CHAR    yes          1024     0      0
//     1 data       ZEL_CHAR    no          63480  1024  64520
//     2 data_len   ZEL_UINT64  yes             8 64504      0
//     3 version    ZEL_UINT64  yes             8 64512      0
//     4 data_blob  ZEL_BLOB    no              0     0  64521
namespace zel::detail {

extern const SCH_TBL_INFO_S schSysTable;
extern const SCH_KEY_INFO_S schSysKey;
extern const SCH_COL_INFO_S schSysCols[5];
extern const SCH_DRAWER_INFO_S schSysDrawers[3];

constexpr SCH_COL_INFO schSysColPtrs[5] = {sch_mut(&schSysCols[0]), sch_mut(&schSysCols[1]),
                                           sch_mut(&schSysCols[2]), sch_mut(&schSysCols[3]),
                                           sch_mut(&schSysCols[4])};
constexpr SCH_KEY_INFO schSysKeyPtrs[1] = {sch_mut(&schSysKey)};
constexpr SCH_DRAWER_INFO schSysDrawerPtrs[3] = {
    sch_mut(&schSysDrawers[0]), sch_mut(&schSysDrawers[1]), sch_mut(&schSysDrawers[2])};
constexpr SCH_ELEM_INFO_S schSysElems[1] = {{
    .ndx = 0,
    .key = sch_mut(&schSysKey),
    .col = sch_mut(&schSysCols[0]),
    .dir = ZEL_FORWARD,
    .ptr = 0,
    .has_value_off = 0,
}};

constexpr SCH_COL_INFO_S sch_sys_col(ZEL_COL_INDEX ndx, const char *name, ZEL_TYPE type,
                                     ZEL_BOOL_T notNull, uint16_t byteLen, uint32_t ptr,
                                     uint32_t hvo, const ZEL_TYPE_INFO *info) {
    SCH_COL_INFO_S c{};
    c.ndx = ndx;
    c.table = sch_mut(&schSysTable);
    c.name = const_cast<char *>(name);
    c.not_null = notNull;
    c.type.type = type;
    c.type.byte_len = byteLen;
    c.type.type_info = info;
    c.keyid = ZEL_NO_INDEX;
    c.ptr = ptr;
    c.has_value_off = hvo;
    return c;
}

constexpr SCH_COL_INFO_S sch_sys_name_col() {
    SCH_COL_INFO_S c = sch_sys_col(0, "name", ZEL_CHAR, ZEL_TRUE, 1024, 0, 0, &utf8_type_info);
    c.keyid = 0;
    c.key = sch_mut(&schSysKey);
    c.usage = SCH_COL_USAGE_KEY;
    c.num_keys = 1;
    c.keys = const_cast<SCH_KEY_INFO *>(schSysKeyPtrs);
    return c;
}

/* The blob column carries the character large-object descriptor although
 * its type is ZEL_BLOB: stored catalogues have it so, and it stands. */
constexpr SCH_COL_INFO_S sch_sys_blob_col() {
    SCH_COL_INFO_S c =
        sch_sys_col(4, "data_blob", ZEL_BLOB, ZEL_FALSE, 0, 0, 64521, &clob_type_info);
    c.drawer = sch_mut(&schSysDrawers[2]);
    return c;
}

constexpr SCH_COL_INFO_S schSysCols[5] = {
    sch_sys_name_col(),
    sch_sys_col(1, "data", ZEL_CHAR, ZEL_FALSE, 63480, 1024, 64520, &utf8_type_info),
    sch_sys_col(2, "data_len", ZEL_UINT64, ZEL_TRUE, 8, 64504, 0, &uint64_type_info),
    sch_sys_col(3, "version", ZEL_UINT64, ZEL_TRUE, 8, 64512, 0, &uint64_type_info),
    sch_sys_blob_col(),
};

constexpr SCH_KEY_INFO_S sch_sys_key() {
    SCH_KEY_INFO_S k{};
    k.ndx = 0;
    k.table = sch_mut(&schSysTable);
    k.name = const_cast<char *>("name");
    k.type = ZEL_KEY_TYPE_PRIMARY;
    k.method = ZEL_KEY_METHOD_BTREE;
    k.drawer = sch_mut(&schSysDrawers[1]);
    k.num_elems = 1;
    k.elems = sch_mut(&schSysElems[0]);
    k.byte_len = 1024;
    k.has_value_off = 1024;
    k.inline_key = ZEL_TRUE;
    return k;
}
constexpr SCH_KEY_INFO_S schSysKey = sch_sys_key();

constexpr SCH_DRAWER_INFO_S sch_sys_drawer(ZEL_DRAWER ndx, ZEL_DRAWER tblNdx, ZEL_DRAWER_TYPE type,
                                           ZEL_INDEX srcId) {
    SCH_DRAWER_INFO_S d{};
    d.ndx = ndx;
    d.tbl_ndx = tblNdx;
    d.type = type;
    if (type == ZEL_DRAWER_TABLE) d.obj.ti = sch_mut(&schSysTable);
    if (type == ZEL_DRAWER_BTREE) d.obj.ki = sch_mut(&schSysKey);
    if (type == ZEL_DRAWER_BLOB) d.obj.ci = sch_mut(&schSysCols[4]);
    d.src_tblid = 0;
    d.src_id = srcId;
    return d;
}
/* The blob drawer's source item is 3, not the column's index 4: kept as
 * stored databases have it. */
constexpr SCH_DRAWER_INFO_S schSysDrawers[3] = {
    sch_sys_drawer(SCH_SYS_TABLE_DRAWER, 0, ZEL_DRAWER_TABLE, 0),
    sch_sys_drawer(SCH_SYS_KEY_DRAWER, 1, ZEL_DRAWER_BTREE, 0),
    sch_sys_drawer(SCH_SYS_BLOB_DRAWER, 2, ZEL_DRAWER_BLOB, 3),
};

constexpr SCH_TBL_INFO_S sch_sys_table() {
    SCH_TBL_INFO_S t{};
    t.ndx = 0;
    t.name = const_cast<char *>("_sys_files");
    t.type = ZEL_TABLE_STANDARD;
    t.drawer = sch_mut(&schSysDrawers[0]);
    t.num_cols = t.next_col = t.max_col = 5;
    t.cols = const_cast<SCH_COL_INFO *>(schSysColPtrs);
    t.max_keys = t.num_keys = t.next_key = 1;
    t.keys = const_cast<SCH_KEY_INFO *>(schSysKeyPtrs);
    t.pkey = sch_mut(&schSysKey);
    t.num_drawers = 3;
    t.drawers = const_cast<SCH_DRAWER_INFO *>(schSysDrawerPtrs);
    t.has_value_off = 64520;
    t.byte_len = 64528;
    /* row_buffer_size is not 24 + 64528: the stored value is kept as is. */
    t.bufferInfo = {0, 0, 0, 24, 64528, 65452, 0, 0, 5};
    return t;
}
constexpr SCH_TBL_INFO_S schSysTable = sch_sys_table();

}  // namespace zel::detail

using zel::detail::schSysCols;
using zel::detail::schSysDrawers;
using zel::detail::schSysKey;
using zel::detail::schSysTable;

namespace {

/* The common step of the stateless iterators: from the slot after (or
 * before) `prevPos`, or from the end in `dir` when there is no previous item,
 * to the next slot in [begin, end) that holds an item accepted by `ok`. */
template <class P, class F>
P sch_step(P const *arr, int64_t begin, int64_t end, int64_t prevPos, bool havePrev,
           ZEL_DIRECTION dir, F ok) {
    if (!arr) return nullptr;
    if (dir == ZEL_REVERSE) {
        for (int64_t i = havePrev ? prevPos - 1 : end - 1; i >= begin; --i)
            if (i < end && arr[i] && ok(arr[i])) return arr[i];
    } else {
        for (int64_t i = havePrev ? prevPos + 1 : begin; i < end; ++i)
            if (i >= begin && arr[i] && ok(arr[i])) return arr[i];
    }
    return nullptr;
}

template <class P>
bool sch_any(P) {
    return true;
}

/* Position of `item` in an array of pointers, -1 when absent. */
template <class P, class Q>
int64_t sch_position(P const *arr, int64_t n, Q item) {
    for (int64_t i = 0; i < n; ++i)
        if (arr[i] == item) return i;
    return -1;
}

/* The same step over an array of embedded records. */
template <class R>
R *sch_step_records(R *arr, int64_t n, const R *prev, ZEL_DIRECTION dir) {
    if (!arr || n <= 0) return nullptr;
    int64_t i;
    if (!prev)
        i = dir == ZEL_REVERSE ? n - 1 : 0;
    else
        i = (prev - arr) + (dir == ZEL_REVERSE ? -1 : 1);
    return i >= 0 && i < n ? &arr[i] : nullptr;
}

ZEL_TYPE sch_type_of(SCH_TYPE_INFO_C pi) {
    return pi ? pi->type : ZEL_NOVAL;
}

/* Formats into buf and upper-cases when asked; sTRUNCATE when cut. */
ZEL_RETCODE sch_format_text(char *buf, size_t size, bool upper, const char *fmt, const char *a,
                            const char *b) {
    if (!buf || size == 0) return eINVNULLARG;
    const int n =
        b ? b_snprintf(buf, size, fmt, a ? a : "", b) : b_snprintf(buf, size, fmt, a ? a : "");
    if (upper) psp_strupr(buf);
    if (n < 0) return eINVARG;
    return static_cast<size_t>(n) >= size ? sTRUNCATE : sOKAY;
}

const char *sch_dir_word(ZEL_DIRECTION dir) {
    return sch_word_text(direction_items, DIRECTION_ITEMS_COUNT, dir);
}

}  // namespace

SCH_TBL_INFO sch_get_sysfiles_table(void) {
    return sch_mut(&schSysTable);
}
SCH_COL_INFO sch_get_sysfiles_blob_col(void) {
    return sch_mut(&schSysCols[4]);
}
SCH_COL_INFO sch_get_sysfiles_version_col(void) {
    return sch_mut(&schSysCols[3]);
}

// ---- Packed identifiers.

ZEL_TABLE_ID sch_tbl_constant(SCH_TBL_INFO_C ti) {
    return ti ? ((ti->ndx & ZEL_ID_ITEM_MASK) | ZEL_ID_KIND_TABLE) : 0;
}

ZEL_COLUMN_ID sch_col_constant(SCH_COL_INFO_C ci) {
    if (!ci) return 0;
    const uint32_t t = ci->table ? ci->table->ndx : 0;
    return (t << ZEL_ID_TABLE_SHIFT) | (ci->ndx & ZEL_ID_ITEM_MASK);
}

ZEL_KEY_ID sch_key_constant(SCH_KEY_INFO_C ki) {
    if (!ki) return 0;
    const uint32_t t = ki->table ? ki->table->ndx : 0;
    return (t << ZEL_ID_TABLE_SHIFT) | (ki->ndx & ZEL_ID_ITEM_MASK) | ZEL_ID_KIND_KEY;
}

ZEL_REF_ID sch_ref_constant(SCH_REF_INFO_C ri) {
    if (!ri) return 0;
    const uint32_t t = ri->table ? ri->table->ndx : 0;
    return (t << ZEL_ID_TABLE_SHIFT) | (ri->ndx & ZEL_ID_ITEM_MASK) | ZEL_ID_KIND_REF;
}

// ---- The catalogue.

const char *sch_name(SCH_INFO_C sch) {
    return sch ? sch->name : nullptr;
}
const char *sch_locale_text(SCH_INFO_C sch) {
    return sch ? sch->locale_text : nullptr;
}
uint32_t sch_catver(SCH_INFO_C sch) {
    return sch ? sch->catver : 0;
}
uint32_t sch_dbver(SCH_INFO_C sch) {
    return sch ? sch->dbver : 0;
}
ZEL_ENC_TYPE sch_encryption(SCH_INFO_C sch) {
    return sch ? sch->encryption : ZEL_ENC_NONE;
}

const char *sch_encryption_text(ZEL_ENC_TYPE enc) {
    static constexpr const char *words[] = {"none", "xor", "aes128", "aes192", "aes256", "default"};
    const auto i = static_cast<uint32_t>(enc);
    return i < std::size(words) ? words[i] : nullptr;
}

ZEL_DRAWER sch_max_drawer(SCH_INFO_C sch) {
    return sch ? sch->max_drawer : 0;
}
ZEL_DRAWER sch_num_drawers(SCH_INFO_C sch) {
    return sch ? sch->num_drawers : 0;
}
ZEL_DRAWER sch_next_drawer(SCH_INFO_C sch) {
    return sch ? sch->next_drawer : 0;
}
ZEL_DRAWER sch_num_user_drawers(SCH_INFO_C sch) {
    return sch && sch->num_drawers > SCH_FIRST_USER_DRAWER
               ? sch->num_drawers - SCH_FIRST_USER_DRAWER
               : 0;
}
uint32_t sch_num_refs(SCH_INFO_C sch) {
    return sch ? sch->num_refs : 0;
}
ZEL_DOM_INDEX sch_num_domains(SCH_INFO_C sch) {
    return sch ? sch->num_domains : 0;
}
ZEL_DOM_INDEX sch_next_domain(SCH_INFO_C sch) {
    return sch ? sch->next_domain : 0;
}
ZEL_TBL_INDEX sch_next_table(SCH_INFO_C sch) {
    return sch ? sch->next_table : 0;
}
ZEL_TBL_INDEX sch_max_table(SCH_INFO_C sch) {
    return sch ? sch->max_table : 0;
}
ZEL_TBL_INDEX sch_num_tables(SCH_INFO_C sch) {
    return sch ? sch->num_tables : 0;
}
ZEL_TBL_INDEX sch_num_user_tables(SCH_INFO_C sch) {
    return sch && sch->num_tables > 0 ? sch->num_tables - 1 : 0;
}
B_TAG_SUB sch_subtag(SCH_INFO_C sch) {
    return sch ? sch->subTag : nullptr;
}
uint32_t sch_ndx(SCH_INFO_C) {
    return 0;
}
uint32_t sch_tbl_sch_ndx(SCH_TBL_INFO_C) {
    return 0;
}

ZEL_RETCODE sch_set_catver(SCH_INFO sch, uint32_t val) {
    if (!sch) return eINVNULLARG;
    sch->catver = val;
    return sOKAY;
}
ZEL_RETCODE sch_set_dbver(SCH_INFO sch, uint32_t val) {
    if (!sch) return eINVNULLARG;
    sch->dbver = val;
    return sOKAY;
}
ZEL_RETCODE sch_set_encryption(SCH_INFO sch, ZEL_ENC_TYPE val) {
    if (!sch) return eINVNULLARG;
    sch->encryption = val;
    return sOKAY;
}

void sch_calc_num_refs(SCH_INFO sch) {
    if (!sch) return;
    uint32_t n = 0;
    for (ZEL_TBL_INDEX i = 1; i < sch->next_table && sch->tables; ++i)
        if (sch->tables[i]) n += sch->tables[i]->num_refs;
    sch->num_refs = n;
}

ZEL_RETCODE sch_get_user_drawer_list(SCH_INFO_C sch, ZEL_DRAWER *pNum, ZEL_DRAWER **ppDrawers,
                                     B_TAG_SUB subTag) {
    if (!sch || !pNum || !ppDrawers) return eINVNULLARG;
    ZEL_DRAWER n = 0;
    for (auto di = sch_iterate_user_drawers(sch, nullptr, ZEL_FORWARD); di;
         di = sch_iterate_user_drawers(sch, di, ZEL_FORWARD))
        ++n;
    if (n == 0) {
        *pNum = 0;
        *ppDrawers = nullptr;
        return sOKAY;
    }
    ZEL_RETCODE rc;
    ZEL_DRAWER *list = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, n * sizeof(ZEL_DRAWER), &list));
    ZEL_DRAWER i = 0;
    for (auto di = sch_iterate_user_drawers(sch, nullptr, ZEL_FORWARD); di;
         di = sch_iterate_user_drawers(sch, di, ZEL_FORWARD))
        list[i++] = di->ndx;
    *pNum = n;
    *ppDrawers = list;
    return sOKAY;
}

// ---- Lookups in the catalogue.

SCH_TBL_INFO sch_table(SCH_INFO_C sch, ZEL_TBL_INDEX id) {
    if (id == 0) return sch_get_sysfiles_table();
    if (!sch || !sch->tables || id >= sch->next_table || id >= sch->max_table) return nullptr;
    return sch->tables[id];
}

SCH_TBL_INFO sch_find_table_by_ndx(SCH_INFO_C sch, ZEL_TBL_INDEX id) {
    return sch_table(sch, id);
}

SCH_DRAWER_INFO sch_drawer(SCH_INFO_C sch, ZEL_DRAWER id) {
    if (id >= SCH_SYS_TABLE_DRAWER && id <= SCH_SYS_BLOB_DRAWER)
        return sch_mut(&schSysDrawers[id - SCH_SYS_TABLE_DRAWER]);
    if (!sch || !sch->drawers || id >= sch->max_drawer) return nullptr;
    return sch->drawers[id];
}

SCH_DOMAIN_INFO sch_domain(SCH_INFO_C sch, ZEL_DOM_INDEX id) {
    if (!sch || !sch->domains || id >= sch->next_domain) return nullptr;
    return sch->domains[id];
}

SCH_TBL_INFO sch_find_table(SCH_INFO_C sch, ZEL_DRAWER drawerId) {
    for (auto ti = sch_iterate_all_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_all_tables(sch, ti, ZEL_FORWARD))
        if (ti->drawer && ti->drawer->ndx == drawerId) return ti;
    return nullptr;
}

namespace {

const char *sch_name_or_empty(const char *s) {
    return s ? s : "";
}

/* Sorts the by-name array case-sensitively; the search that uses it is
 * case-blind, so names differing only in case may be missed: kept so. */
void quicksort_tablenames(SCH_TBL_INFO *arr, size_t n) {
    std::sort(arr, arr + n, [](SCH_TBL_INFO a, SCH_TBL_INFO b) {
        return psp_strcmp(sch_name_or_empty(a->name), sch_name_or_empty(b->name)) < 0;
    });
}

ZEL_RETCODE sch_build_tables_by_name(SCH_INFO sch) {
    size_t n = 0;
    for (ZEL_TBL_INDEX i = 1; i < sch->next_table; ++i)
        if (sch->tables[i]) ++n;
    ZEL_RETCODE rc;
    SCH_TBL_INFO *arr = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocOrSetNull(sch->subTag, n * sizeof(SCH_TBL_INFO), &arr));
    size_t k = 0;
    for (ZEL_TBL_INDEX i = 1; i < sch->next_table; ++i)
        if (sch->tables[i]) arr[k++] = sch->tables[i];
    quicksort_tablenames(arr, n);
    for (size_t i = 0; i < n; ++i) arr[i]->nameNdx = static_cast<ZEL_TBL_INDEX>(i);
    sch->tablesByName = arr;
    sch->num_tablesByName = static_cast<ZEL_TBL_INDEX>(n);
    return sOKAY;
}

}  // namespace

SCH_TBL_INFO sch_find_table_by_name(SCH_INFO sch, const char *name, ZEL_TBL_INDEX *nameNdx) {
    if (!sch || !name || !sch->tables || sch->num_tables < 2) return nullptr;
    if (!sch->tablesByName && sch_build_tables_by_name(sch) != sOKAY) return nullptr;
    int64_t lo = 0, hi = static_cast<int64_t>(sch->num_tablesByName) - 1;
    while (lo <= hi) {
        const int64_t mid = (lo + hi) / 2;
        const int c = psp_strcasecmp(name, sch_name_or_empty(sch->tablesByName[mid]->name));
        if (c == 0) return sch->tablesByName[mid];
        if (c < 0)
            hi = mid - 1;
        else
            lo = mid + 1;
    }
    if (nameNdx) *nameNdx = static_cast<ZEL_TBL_INDEX>(lo);
    return nullptr;
}

SCH_TBL_INFO sch_find_table_by_constant(SCH_INFO_C sch, ZEL_TABLE_ID id, ZEL_TBL_INDEX *ndx) {
    if ((id & ZEL_ID_KIND_MASK) != ZEL_ID_KIND_TABLE) {
        if (ndx) *ndx = ZEL_NO_INDEX;
        return nullptr;
    }
    const auto t = static_cast<ZEL_TBL_INDEX>(id & ZEL_ID_ITEM_MASK);
    SCH_TBL_INFO ti = sch_table(sch, t);
    if (ti) {
        if (ndx) *ndx = t;
        return ti;
    }
    if (ndx) {
        *ndx = ZEL_NO_INDEX;
        const int64_t top = sch ? std::min<int64_t>(t, sch->next_table) - 1 : -1;
        for (int64_t i = top; i >= 0; --i) {
            if (sch_table(sch, static_cast<ZEL_TBL_INDEX>(i))) {
                *ndx = static_cast<ZEL_TBL_INDEX>(i);
                break;
            }
        }
    }
    return nullptr;
}

SCH_KEY_INFO sch_find_key_by_constant(SCH_INFO_C sch, ZEL_KEY_ID id) {
    if ((id & ZEL_ID_KIND_MASK) != ZEL_ID_KIND_KEY) return nullptr;
    if (id == ZEL_ID_KIND_KEY) return sch_mut(&schSysKey);
    return sch_find_key_by_ndx(sch_table(sch, static_cast<ZEL_TBL_INDEX>(id >> ZEL_ID_TABLE_SHIFT)),
                               static_cast<ZEL_KEY_INDEX>(id & ZEL_ID_ITEM_MASK));
}

SCH_REF_INFO sch_find_ref_by_constant(SCH_INFO_C sch, ZEL_REF_ID id) {
    if ((id & ZEL_ID_KIND_MASK) != ZEL_ID_KIND_REF) return nullptr;
    return sch_find_ref_by_ndx(sch_table(sch, static_cast<ZEL_TBL_INDEX>(id >> ZEL_ID_TABLE_SHIFT)),
                               static_cast<ZEL_REF_INDEX>(id & ZEL_ID_ITEM_MASK));
}

SCH_COL_INFO sch_find_col_by_constant(SCH_INFO_C sch, ZEL_COLUMN_ID id) {
    if ((id & ZEL_ID_KIND_MASK) != ZEL_ID_KIND_COLUMN) return nullptr;
    return sch_find_col_by_ndx(sch_table(sch, static_cast<ZEL_TBL_INDEX>(id >> ZEL_ID_TABLE_SHIFT)),
                               static_cast<ZEL_COL_INDEX>(id & ZEL_ID_ITEM_MASK));
}

namespace {

/* Fills the list of all keys of all tables, `_sys_files` first. */
ZEL_RETCODE sch_build_key_list(SCH_INFO sch) {
    ZEL_RETCODE rc = sOKAY;
    b_llInit(&sch->llKeys, sch->subTag);
    for (auto ti = sch_iterate_all_tables(sch, nullptr, ZEL_FORWARD); ti && rc == sOKAY;
         ti = sch_iterate_all_tables(sch, ti, ZEL_FORWARD))
        for (auto ki = sch_iterate_keys(ti, nullptr, ZEL_FORWARD); ki && rc == sOKAY;
             ki = sch_iterate_keys(ti, ki, ZEL_FORWARD))
            rc = b_llAddTail(&sch->llKeys, ki);
    if (rc != sOKAY)
        b_llTerm(&sch->llKeys);
    else
        sch->haveKeys = ZEL_TRUE;
    return rc;
}

ZEL_RETCODE sch_build_blob_list(SCH_INFO sch) {
    ZEL_RETCODE rc = sOKAY;
    b_llInit(&sch->llBlobCols, sch->subTag);
    for (auto ti = sch_iterate_all_tables(sch, nullptr, ZEL_FORWARD); ti && rc == sOKAY;
         ti = sch_iterate_all_tables(sch, ti, ZEL_FORWARD))
        for (auto ci = sch_iterate_lob_cols(ti, nullptr, ZEL_FORWARD); ci && rc == sOKAY;
             ci = sch_iterate_lob_cols(ti, ci, ZEL_FORWARD))
            rc = b_llAddTail(&sch->llBlobCols, ci);
    if (rc != sOKAY)
        b_llTerm(&sch->llBlobCols);
    else
        sch->haveBlobs = ZEL_TRUE;
    return rc;
}

void *sch_list_step(B_LL_T *ll, bool start, ZEL_DIRECTION dir) {
    if (start) return dir == ZEL_REVERSE ? b_llLast(ll) : b_llFirst(ll);
    return dir == ZEL_REVERSE ? b_llPrev(ll) : b_llNext(ll);
}

}  // namespace

SCH_KEY_INFO sch_find_key_by_name(SCH_INFO sch, const char *name) {
    if (!sch || !name) return nullptr;
    if (!sch->haveKeys && sch_build_key_list(sch) != sOKAY) return nullptr;
    for (auto ki = static_cast<SCH_KEY_INFO>(b_llFirst(&sch->llKeys)); ki;
         ki = static_cast<SCH_KEY_INFO>(b_llNext(&sch->llKeys)))
        if (ki->name && psp_strcasecmp(ki->name, name) == 0) return ki;
    return nullptr;
}

SCH_KEY_INFO sch_iterate_all_keys(SCH_INFO sch, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir) {
    if (!sch) return nullptr;
    if (!sch->haveKeys && sch_build_key_list(sch) != sOKAY) return nullptr;
    return static_cast<SCH_KEY_INFO>(sch_list_step(&sch->llKeys, prev == nullptr, dir));
}

SCH_COL_INFO sch_iterate_all_lob_cols(SCH_INFO sch, SCH_COL_INFO_C prev, ZEL_DIRECTION dir) {
    if (!sch) return prev ? nullptr : sch_get_sysfiles_blob_col();
    if (!sch->haveBlobs && sch_build_blob_list(sch) != sOKAY) return nullptr;
    return static_cast<SCH_COL_INFO>(sch_list_step(&sch->llBlobCols, prev == nullptr, dir));
}

// ---- Iterators over the catalogue.

SCH_TBL_INFO sch_iterate_tables(SCH_INFO_C sch, SCH_TBL_INFO_C prev, ZEL_DIRECTION dir) {
    if (!sch) return nullptr;
    return sch_step(sch->tables, 1, std::min(sch->next_table, sch->max_table), prev ? prev->ndx : 0,
                    prev != nullptr, dir, sch_any<SCH_TBL_INFO>);
}

SCH_TBL_INFO sch_iterate_all_tables(SCH_INFO_C sch, SCH_TBL_INFO_C prev, ZEL_DIRECTION dir) {
    if (!sch) {
        if (!prev) return sch_get_sysfiles_table();
        return dir == ZEL_REVERSE && prev->ndx == 1 ? sch_get_sysfiles_table() : nullptr;
    }
    if (dir == ZEL_REVERSE) {
        if (prev && prev->ndx == 0) return nullptr;
        SCH_TBL_INFO ti = sch_iterate_tables(sch, prev, dir);
        return ti ? ti : sch_get_sysfiles_table();
    }
    if (!prev) return sch_get_sysfiles_table();
    return sch_iterate_tables(sch, prev, dir);
}

SCH_DOMAIN_INFO sch_iterate_domains(SCH_INFO_C sch, SCH_DOMAIN_INFO_C prev, ZEL_DIRECTION dir) {
    if (!sch) return nullptr;
    return sch_step(sch->domains, 0, sch->next_domain, prev ? prev->ndx : 0, prev != nullptr, dir,
                    sch_any<SCH_DOMAIN_INFO>);
}

namespace {

SCH_DRAWER_INFO sch_iterate_drawers_from(SCH_INFO_C sch, ZEL_DRAWER first, SCH_DRAWER_INFO_C prev,
                                         ZEL_DIRECTION dir) {
    if (!sch) return nullptr;
    return sch_step(sch->drawers, first, std::min(sch->next_drawer, sch->max_drawer),
                    prev ? prev->ndx : 0, prev != nullptr, dir, sch_any<SCH_DRAWER_INFO>);
}

}  // namespace

SCH_DRAWER_INFO sch_iterate_user_drawers(SCH_INFO_C sch, SCH_DRAWER_INFO_C prev,
                                         ZEL_DIRECTION dir) {
    return sch_iterate_drawers_from(sch, SCH_FIRST_USER_DRAWER, prev, dir);
}

SCH_DRAWER_INFO sch_iterate_all_drawers(SCH_INFO_C sch, SCH_DRAWER_INFO_C prev, ZEL_DIRECTION dir) {
    return sch_iterate_drawers_from(sch, SCH_SYS_TABLE_DRAWER, prev, dir);
}

SCH_DRAWER_INFO sch_iterate_system_drawers(SCH_DRAWER_INFO_C prev, ZEL_DIRECTION dir) {
    const int64_t pos = prev ? static_cast<int64_t>(prev->ndx) - SCH_SYS_TABLE_DRAWER : 0;
    return sch_step(zel::detail::schSysDrawerPtrs, 0, 3, pos, prev != nullptr, dir,
                    sch_any<SCH_DRAWER_INFO>);
}

// ---- Tables.

const char *sch_tbl_name(SCH_TBL_INFO_C ti) {
    return ti ? ti->name : nullptr;
}
ZEL_TBL_INDEX sch_tbl_index(SCH_TBL_INFO_C ti) {
    return ti ? ti->ndx : ZEL_NO_INDEX;
}
ZEL_TBL_INDEX sch_tbl_offset(SCH_TBL_INFO_C ti) {
    return ti ? ti->offset : 0;
}
ZEL_TABLE_TYPE sch_tbl_type(SCH_TBL_INFO_C ti) {
    return ti ? ti->type : ZEL_TABLE_STANDARD;
}
const char *sch_tbl_type_text(SCH_TBL_INFO_C ti) {
    return ti ? sch_word_text(table_type_items, TABLE_TYPE_ITEMS_COUNT, ti->type) : nullptr;
}
ZEL_SLOT sch_tbl_max_rows(SCH_TBL_INFO_C ti) {
    return ti ? ti->max_rows : 0;
}
SCH_INFO sch_tbl_schema(SCH_TBL_INFO_C ti) {
    return ti ? ti->sch : nullptr;
}
const char *sch_tbl_check_str(SCH_TBL_INFO_C ti) {
    return ti ? ti->check_str : nullptr;
}
const char *sch_tbl_check_name(SCH_TBL_INFO_C ti) {
    return ti ? ti->check_name : nullptr;
}
SCH_KEY_INFO sch_tbl_primary_key(SCH_TBL_INFO_C ti) {
    return ti ? ti->pkey : nullptr;
}
ZEL_BOOL_T sch_tbl_circular(SCH_TBL_INFO_C ti) {
    return ti && ti->type == ZEL_TABLE_CIRCULAR ? ZEL_TRUE : ZEL_FALSE;
}
uint32_t sch_tbl_byte_len(SCH_TBL_INFO_C ti) {
    return ti ? ti->byte_len : 0;
}
ZEL_HAS_VALUE_OFFSET sch_tbl_has_value_offset(SCH_TBL_INFO_C ti) {
    return ti ? ti->has_value_off : 0;
}
ZEL_COL_INDEX sch_tbl_num_cols(SCH_TBL_INFO_C ti) {
    return ti ? ti->num_cols : 0;
}
ZEL_COL_INDEX sch_tbl_next_col(SCH_TBL_INFO_C ti) {
    return ti ? ti->next_col : 0;
}
ZEL_COL_INDEX sch_tbl_max_cols(SCH_TBL_INFO_C ti) {
    return ti ? ti->max_col : 0;
}
ZEL_KEY_INDEX sch_tbl_num_keys(SCH_TBL_INFO_C ti) {
    return ti ? ti->num_keys : 0;
}
ZEL_KEY_INDEX sch_tbl_next_key(SCH_TBL_INFO_C ti) {
    return ti ? ti->next_key : 0;
}
ZEL_KEY_INDEX sch_tbl_max_keys(SCH_TBL_INFO_C ti) {
    return ti ? ti->max_keys : 0;
}
ZEL_KEY_INDEX sch_tbl_num_avls(SCH_TBL_INFO_C ti) {
    return ti ? ti->num_avls : 0;
}
ZEL_KEY_INDEX sch_tbl_next_avl(SCH_TBL_INFO_C ti) {
    return ti ? ti->next_avl : 0;
}
ZEL_KEY_INDEX sch_tbl_max_avls(SCH_TBL_INFO_C ti) {
    return ti ? ti->max_avls : 0;
}
ZEL_REF_INDEX sch_tbl_num_refs(SCH_TBL_INFO_C ti) {
    return ti ? ti->num_refs : 0;
}
ZEL_REF_INDEX sch_tbl_next_ref(SCH_TBL_INFO_C ti) {
    return ti ? ti->next_ref : 0;
}
ZEL_REF_INDEX sch_tbl_num_owners(SCH_TBL_INFO_C ti) {
    return ti ? ti->num_owns : 0;
}
ZEL_REF_INDEX sch_tbl_next_owner(SCH_TBL_INFO_C ti) {
    return ti ? ti->next_own : 0;
}
ZEL_REF_INDEX sch_tbl_max_owner(SCH_TBL_INFO_C ti) {
    return ti ? ti->max_owns : 0;
}
ZEL_DRAWER sch_tbl_num_drawers(SCH_TBL_INFO_C ti) {
    return ti ? ti->num_drawers : 0;
}
ZEL_DRAWER sch_tbl_drawer(SCH_TBL_INFO_C ti) {
    return ti && ti->drawer ? ti->drawer->ndx : ZEL_NO_DRAWER;
}
SCH_DRAWER_INFO sch_tbl_drawer_info(SCH_TBL_INFO_C ti) {
    return ti ? ti->drawer : nullptr;
}
SCH_DRAWER_INFO sch_tbl_related_drawer(SCH_TBL_INFO_C ti, ZEL_DRAWER ndx) {
    return ti && ti->drawers && ndx < ti->num_drawers ? ti->drawers[ndx] : nullptr;
}
SCH_TRIG_INFO sch_tbl_triggers(SCH_TBL_INFO_C ti) {
    return ti ? ti->triggers : nullptr;
}

ZEL_RETCODE sch_tbl_set_max_rows(SCH_TBL_INFO ti, ZEL_SLOT val) {
    if (!ti) return eINVNULLARG;
    ti->max_rows = val;
    return sOKAY;
}
ZEL_RETCODE sch_tbl_set_offset(SCH_TBL_INFO ti, ZEL_TBL_INDEX val) {
    if (!ti) return eINVNULLARG;
    ti->offset = val;
    return sOKAY;
}
ZEL_RETCODE sch_tbl_set_type(SCH_TBL_INFO ti, ZEL_TABLE_TYPE val) {
    if (!ti) return eINVNULLARG;
    ti->type = val;
    return sOKAY;
}

SCH_COL_INFO sch_get_col_by_index(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx) {
    return ti && ti->cols && ndx < ti->next_col && ndx < ti->max_col ? ti->cols[ndx] : nullptr;
}
SCH_KEY_INFO sch_get_key_by_index(SCH_TBL_INFO_C ti, ZEL_KEY_INDEX ndx) {
    return ti && ti->keys && ndx < ti->next_key && ndx < ti->max_keys ? ti->keys[ndx] : nullptr;
}
SCH_REF_INFO sch_get_ref_by_index(SCH_TBL_INFO_C ti, ZEL_REF_INDEX ndx) {
    return ti && ti->refs && ndx < ti->next_ref ? ti->refs[ndx] : nullptr;
}
SCH_COL_INFO sch_find_col_by_ndx(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx) {
    SCH_COL_INFO ci = sch_get_col_by_index(ti, ndx);
    return ci && ci->name ? ci : nullptr;
}
SCH_KEY_INFO sch_find_key_by_ndx(SCH_TBL_INFO_C ti, ZEL_KEY_INDEX ndx) {
    return sch_get_key_by_index(ti, ndx);
}
SCH_REF_INFO sch_find_ref_by_ndx(SCH_TBL_INFO_C ti, ZEL_REF_INDEX ndx) {
    return sch_get_ref_by_index(ti, ndx);
}

SCH_COL_INFO sch_find_col_by_name(SCH_TBL_INFO_C ti, const char *name) {
    if (!name) return nullptr;
    for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD))
        if (psp_strcasecmp(ci->name, name) == 0) return ci;
    return nullptr;
}

ZEL_COL_INDEX sch_find_col_active_ndx(SCH_TBL_INFO_C ti, ZEL_COL_INDEX ndx) {
    if (!ti) return ZEL_NO_INDEX;
    if (!ti->active_ndx) return ndx;
    if (ti->active_pos) return ndx < ti->num_active_pos ? ti->active_pos[ndx] : ZEL_NO_INDEX;
    for (ZEL_COL_INDEX i = 0; i < ti->num_cols; ++i)
        if (ti->active_ndx[i] == ndx) return i;
    return ZEL_NO_INDEX;
}

namespace {

template <class F>
SCH_COL_INFO sch_iterate_cols_if(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir, F ok) {
    if (!ti) return nullptr;
    return sch_step(ti->cols, 0, std::min(ti->next_col, ti->max_col), prev ? prev->ndx : 0,
                    prev != nullptr, dir, ok);
}

bool sch_col_named(SCH_COL_INFO ci) {
    return ci->name != nullptr;
}
bool sch_col_lob(SCH_COL_INFO ci) {
    return ci->name && (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) != 0;
}
bool sch_col_not_lob(SCH_COL_INFO ci) {
    return ci->name && (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) == 0;
}

}  // namespace

SCH_COL_INFO sch_iterate_cols(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir) {
    return sch_iterate_cols_if(ti, prev, dir, sch_any<SCH_COL_INFO>);
}
SCH_COL_INFO sch_iterate_cols_active(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir) {
    return sch_iterate_cols_if(ti, prev, dir, sch_col_named);
}
SCH_COL_INFO sch_iterate_non_lob_cols(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir) {
    return sch_iterate_cols_if(ti, prev, dir, sch_col_not_lob);
}
SCH_COL_INFO sch_iterate_lob_cols(SCH_TBL_INFO_C ti, SCH_COL_INFO_C prev, ZEL_DIRECTION dir) {
    return sch_iterate_cols_if(ti, prev, dir, sch_col_lob);
}

SCH_KEY_INFO sch_iterate_keys(SCH_TBL_INFO_C ti, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ti) return nullptr;
    return sch_step(ti->keys, 0, std::min(ti->next_key, ti->max_keys), prev ? prev->ndx : 0,
                    prev != nullptr, dir, sch_any<SCH_KEY_INFO>);
}
SCH_KEY_INFO sch_iterate_keys_active(SCH_TBL_INFO_C ti, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ti) return nullptr;
    return sch_step(ti->keys, 0, std::min(ti->next_key, ti->max_keys), prev ? prev->ndx : 0,
                    prev != nullptr, dir, [](SCH_KEY_INFO ki) { return ki->name != nullptr; });
}
SCH_REF_INFO sch_iterate_refs(SCH_TBL_INFO_C ti, SCH_REF_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ti) return nullptr;
    return sch_step(ti->refs, 0, ti->next_ref, prev ? prev->ndx : 0, prev != nullptr, dir,
                    sch_any<SCH_REF_INFO>);
}
SCH_REF_INFO sch_iterate_ref_owners(SCH_TBL_INFO_C ti, SCH_REF_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ti) return nullptr;
    return sch_step(ti->owners, 0, std::min(ti->next_own, ti->max_owns), prev ? prev->owner_ndx : 0,
                    prev != nullptr, dir, sch_any<SCH_REF_INFO>);
}
SCH_DRAWER_INFO sch_iterate_table_drawers(SCH_TBL_INFO_C ti, SCH_DRAWER_INFO_C prev,
                                          ZEL_DIRECTION dir) {
    if (!ti) return nullptr;
    return sch_step(ti->drawers, 0, ti->num_drawers, prev ? prev->tbl_ndx : 0, prev != nullptr, dir,
                    sch_any<SCH_DRAWER_INFO>);
}

SCH_TRIG_INFO sch_iterate_triggers(SCH_TBL_INFO_C ti, SCH_TRIG_INFO_C prev, ZEL_TRIG_TIMING timing,
                                   ZEL_TRIG_EVENT event) {
    if (!ti) return nullptr;
    for (SCH_TRIG_INFO t = prev ? prev->next : ti->triggers; t; t = t->next)
        if (t->event == event && (timing == ZEL_TRIG_WHENEVER || t->timing == timing)) return t;
    return nullptr;
}
SCH_TRIG_INFO sch_iterate_all_triggers(SCH_TBL_INFO_C ti, SCH_TRIG_INFO_C prev) {
    if (!ti) return nullptr;
    return prev ? prev->next : ti->triggers;
}

ZEL_RETCODE sch_tbl_enum_text(SCH_TBL_INFO_C ti, char *buf, size_t size) {
    if (!ti) return eINVNULLARG;
    return sch_format_text(buf, size, true, "TABLE_%s", ti->name, nullptr);
}
ZEL_RETCODE sch_col_enum_text(SCH_COL_INFO_C ci, char *buf, size_t size) {
    if (!ci || !ci->table) return eINVNULLARG;
    return sch_format_text(buf, size, true, "COL_%s_%s", ci->table->name,
                           sch_name_or_empty(ci->name));
}
ZEL_RETCODE sch_key_enum_text(SCH_KEY_INFO_C ki, char *buf, size_t size) {
    if (!ki || !ki->table) return eINVNULLARG;
    return sch_format_text(buf, size, true, "KEY_%s_%s", ki->table->name,
                           sch_name_or_empty(ki->name));
}
ZEL_RETCODE sch_ref_enum_text(SCH_REF_INFO_C ri, char *buf, size_t size) {
    if (!ri) return eINVNULLARG;
    return sch_format_text(buf, size, true, "REF_%s", ri->name, nullptr);
}
ZEL_RETCODE sch_key_data_type_text(SCH_KEY_INFO_C ki, char *buf, size_t size, ZEL_BOOL_T upper) {
    if (!ki || !ki->table) return eINVNULLARG;
    return sch_format_text(buf, size, upper != ZEL_FALSE, "%s_%s_KEY", ki->table->name,
                           sch_name_or_empty(ki->name));
}

// ---- Columns.

const char *sch_col_name(SCH_COL_INFO_C ci) {
    return ci ? ci->name : nullptr;
}
ZEL_COL_INDEX sch_col_ndx(SCH_COL_INFO_C ci) {
    return ci ? ci->ndx : ZEL_NO_INDEX;
}
SCH_TBL_INFO sch_col_table(SCH_COL_INFO_C ci) {
    return ci ? ci->table : nullptr;
}
ZEL_TBL_INDEX sch_col_tbl_ndx(SCH_COL_INFO_C ci) {
    return ci && ci->table ? ci->table->ndx : ZEL_NO_INDEX;
}
SCH_TYPE_INFO sch_col_type(SCH_COL_INFO ci) {
    if (!ci) return nullptr;
    return ci->domain ? &ci->domain->type : &ci->type;
}
SCH_TYPE_INFO_C sch_col_type_c(SCH_COL_INFO_C ci) {
    if (!ci) return nullptr;
    return ci->domain ? &ci->domain->type : &ci->type;
}
ZEL_TYPE sch_col_data_type(SCH_COL_INFO_C ci) {
    return sch_type_of(sch_col_type_c(ci));
}
const char *sch_col_data_type_text(SCH_COL_INFO_C ci) {
    return ci ? sch_type_catalog_text(sch_col_data_type(ci)) : nullptr;
}
uint16_t sch_col_num_elems(SCH_COL_INFO_C ci) {
    return sch_type_num_elems(sch_col_type_c(ci));
}
uint16_t sch_col_byte_len(SCH_COL_INFO_C ci) {
    return sch_type_byte_len(sch_col_type_c(ci));
}
uint8_t sch_col_prec(SCH_COL_INFO_C ci) {
    return sch_type_prec(sch_col_type_c(ci));
}
uint8_t sch_col_scale(SCH_COL_INFO_C ci) {
    return sch_type_scale(sch_col_type_c(ci));
}
uint16_t sch_col_length(SCH_COL_INFO_C ci) {
    return sch_type_length(sch_col_type_c(ci));
}
const char *sch_col_check_str(SCH_COL_INFO_C ci) {
    return sch_type_check_str(sch_col_type_c(ci));
}
const char *sch_col_check_name(SCH_COL_INFO_C ci) {
    return sch_type_check_name(sch_col_type_c(ci));
}
ZEL_BOOL_T sch_col_is_lob(SCH_COL_INFO_C ci) {
    return ci && (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) ? ZEL_TRUE : ZEL_FALSE;
}
const char *sch_col_defstr(SCH_COL_INFO_C ci) {
    if (!ci) return nullptr;
    return ci->defstr ? ci->defstr : ci->domain ? ci->domain->defstr : nullptr;
}
const char *sch_col_format(SCH_COL_INFO_C ci) {
    if (!ci) return nullptr;
    return ci->format ? ci->format : ci->domain ? ci->domain->format : nullptr;
}
uint16_t sch_col_width(SCH_COL_INFO_C ci) {
    if (!ci) return 0;
    return ci->width ? ci->width : ci->domain ? ci->domain->width : 0;
}
const ZEL_VALUE *sch_col_def(SCH_COL_INFO_C ci) {
    if (!ci) return nullptr;
    if (ci->def.status != vsNOVAL) return &ci->def;
    return ci->domain ? &ci->domain->def : nullptr;
}
SCH_DOMAIN_INFO sch_col_domain(SCH_COL_INFO_C ci) {
    return ci ? ci->domain : nullptr;
}
ZEL_BOOL_T sch_col_not_null(SCH_COL_INFO_C ci) {
    return ci ? ci->not_null : ZEL_FALSE;
}
const char *sch_col_not_null_cname(SCH_COL_INFO_C ci) {
    return ci ? ci->not_null_cname : nullptr;
}
ZEL_BOOL_T sch_col_is_pkey_elem(SCH_COL_INFO_C ci) {
    if (!ci || !ci->table) return ZEL_FALSE;
    return sch_key_contains_col(ci->table->pkey, ci);
}
ZEL_BOOL_T sch_col_nullable(SCH_COL_INFO_C ci) {
    if (!ci) return ZEL_FALSE;
    return !ci->not_null && !sch_col_is_pkey_elem(ci) ? ZEL_TRUE : ZEL_FALSE;
}
ZEL_HAS_VALUE_OFFSET sch_col_has_value_offset(SCH_COL_INFO_C ci) {
    return ci ? ci->has_value_off : 0;
}
uint32_t sch_col_offset(SCH_COL_INFO_C ci) {
    return ci ? ci->ptr : 0;
}
SCH_KEY_INFO sch_col_key(SCH_COL_INFO_C ci) {
    return ci ? ci->key : nullptr;
}
ZEL_KEY_INDEX sch_col_key_ndx(SCH_COL_INFO_C ci) {
    return ci ? ci->keyid : ZEL_NO_INDEX;
}
SCH_DRAWER_INFO sch_col_lob_drawer(SCH_COL_INFO_C ci) {
    return ci ? ci->drawer : nullptr;
}
ZEL_DRAWER sch_col_lob_drawer_ndx(SCH_COL_INFO_C ci) {
    return ci && ci->drawer ? ci->drawer->ndx : ZEL_NO_DRAWER;
}
SCH_REF_INFO sch_col_ref(SCH_COL_INFO_C ci) {
    return ci ? ci->ref : nullptr;
}
SCH_TBL_INFO sch_col_reftab(SCH_COL_INFO_C ci) {
    return ci ? ci->reftab : nullptr;
}
SCH_COL_INFO sch_col_refcol(SCH_COL_INFO_C ci) {
    return ci ? ci->refcol : nullptr;
}
uint16_t sch_col_usage(SCH_COL_INFO_C ci) {
    return ci ? ci->usage : 0;
}
ZEL_RETCODE sch_col_set_usage(SCH_COL_INFO ci, uint16_t val) {
    if (!ci) return eINVNULLARG;
    ci->usage = val;
    return sOKAY;
}
ZEL_RETCODE sch_col_set_width(SCH_COL_INFO ci, uint16_t val) {
    if (!ci) return eINVNULLARG;
    ci->width = val;
    return sOKAY;
}

SCH_KEY_INFO sch_iterate_col_keys(SCH_COL_INFO_C ci, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ci) return nullptr;
    return sch_step(ci->keys, 0, ci->num_keys,
                    prev ? sch_position(ci->keys, ci->num_keys, prev) : 0, prev != nullptr, dir,
                    sch_any<SCH_KEY_INFO>);
}
SCH_REF_INFO sch_iterate_col_refs(SCH_COL_INFO_C ci, SCH_REF_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ci) return nullptr;
    return sch_step(ci->refs, 0, ci->num_refs,
                    prev ? sch_position(ci->refs, ci->num_refs, prev) : 0, prev != nullptr, dir,
                    sch_any<SCH_REF_INFO>);
}
SCH_REF_INFO sch_iterate_sortcol_refs(SCH_COL_INFO_C ci, SCH_REF_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ci) return nullptr;
    return sch_step(ci->sortrefs, 0, ci->num_sortrefs,
                    prev ? sch_position(ci->sortrefs, ci->num_sortrefs, prev) : 0, prev != nullptr,
                    dir, sch_any<SCH_REF_INFO>);
}

ZEL_BOOL_T sch_types_compatible(ZEL_TYPE t1, ZEL_TYPE t2) {
    if (t1 == t2) return ZEL_TRUE;
    const int f1 = ZEL_TYPE_FAMILY(t1), f2 = ZEL_TYPE_FAMILY(t2);
    return f1 == f2 && (f1 == ZEL_FAMILY_BINARY || f1 == ZEL_FAMILY_CHAR) ? ZEL_TRUE : ZEL_FALSE;
}

// ---- Types.

ZEL_TYPE sch_type_data_type(SCH_TYPE_INFO_C pi) {
    return sch_type_of(pi);
}
uint16_t sch_type_num_elems(SCH_TYPE_INFO_C pi) {
    return pi ? pi->elems : 0;
}
uint16_t sch_type_byte_len(SCH_TYPE_INFO_C pi) {
    return pi ? pi->byte_len : 0;
}
const char *sch_type_check_str(SCH_TYPE_INFO_C pi) {
    return pi ? pi->check_str : nullptr;
}
const char *sch_type_check_name(SCH_TYPE_INFO_C pi) {
    return pi ? pi->check_name : nullptr;
}
const ZEL_TYPE_INFO *sch_type_info(SCH_TYPE_INFO_C pi) {
    return pi ? pi->type_info : nullptr;
}
ZEL_RETCODE sch_type_set_use_locale(SCH_TYPE_INFO pi, ZEL_BOOL_T val) {
    if (!pi) return eINVNULLARG;
    pi->x.c.use_locale = val;
    return sOKAY;
}

// ---- Domains.

ZEL_DOM_INDEX sch_dom_ndx(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->ndx : ZEL_NO_INDEX;
}
const char *sch_dom_name(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->name : nullptr;
}
SCH_TYPE_INFO sch_dom_type(SCH_DOMAIN_INFO mi) {
    return mi ? &mi->type : nullptr;
}
SCH_TYPE_INFO_C sch_dom_type_c(SCH_DOMAIN_INFO_C mi) {
    return mi ? &mi->type : nullptr;
}
ZEL_TYPE sch_dom_data_type(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->type.type : ZEL_NOVAL;
}
const ZEL_VALUE *sch_dom_def(SCH_DOMAIN_INFO_C mi) {
    return mi ? &mi->def : nullptr;
}
const char *sch_dom_defstr(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->defstr : nullptr;
}
const char *sch_dom_format(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->format : nullptr;
}
uint16_t sch_dom_width(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->width : 0;
}
const char *sch_dom_check_str(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->type.check_str : nullptr;
}
const char *sch_dom_check_name(SCH_DOMAIN_INFO_C mi) {
    return mi ? mi->type.check_name : nullptr;
}
ZEL_RETCODE sch_dom_set_width(SCH_DOMAIN_INFO mi, uint16_t val) {
    if (!mi) return eINVNULLARG;
    mi->width = val;
    return sOKAY;
}

// ---- Keys and elements.

const char *sch_key_name(SCH_KEY_INFO_C ki) {
    return ki ? ki->name : nullptr;
}
ZEL_KEY_INDEX sch_key_ndx(SCH_KEY_INFO_C ki) {
    return ki ? ki->ndx : ZEL_NO_INDEX;
}
SCH_TBL_INFO sch_key_table(SCH_KEY_INFO_C ki) {
    return ki ? ki->table : nullptr;
}
ZEL_TBL_INDEX sch_key_tbl_ndx(SCH_KEY_INFO_C ki) {
    return ki && ki->table ? ki->table->ndx : ZEL_NO_INDEX;
}
SCH_INFO sch_key_schema(SCH_KEY_INFO_C ki) {
    return ki && ki->table ? ki->table->sch : nullptr;
}
ZEL_KEY_TYPE sch_key_type(SCH_KEY_INFO_C ki) {
    return ki ? ki->type : ZEL_KEY_TYPE_NOVAL;
}
const char *sch_key_type_text(SCH_KEY_INFO_C ki) {
    return ki ? sch_word_text(key_type_items, KEY_TYPE_ITEMS_COUNT, ki->type) : nullptr;
}
ZEL_KEY_METHOD sch_key_method(SCH_KEY_INFO_C ki) {
    return ki ? ki->method : ZEL_KEY_METHOD_NOVAL;
}
const char *sch_key_method_text(SCH_KEY_INFO_C ki) {
    return ki ? sch_word_text(key_method_items, KEY_METHOD_ITEMS_COUNT, ki->method) : nullptr;
}
ZEL_BOOL_T sch_key_restr(SCH_KEY_INFO_C ki) {
    return ki ? ki->restr : ZEL_FALSE;
}
ZEL_BOOL_T sch_key_inline(SCH_KEY_INFO_C ki) {
    return ki ? ki->inline_key : ZEL_FALSE;
}
uint32_t sch_key_refcount(SCH_KEY_INFO_C ki) {
    return ki ? ki->refcount : 0;
}
uint32_t sch_key_byte_len(SCH_KEY_INFO_C ki) {
    return ki ? ki->byte_len : 0;
}
ZEL_HAS_VALUE_OFFSET sch_key_has_value_offset(SCH_KEY_INFO_C ki) {
    return ki ? ki->has_value_off : 0;
}
SCH_DRAWER_INFO sch_key_drawer(SCH_KEY_INFO_C ki) {
    return ki ? ki->drawer : nullptr;
}
ZEL_DRAWER sch_key_drawer_ndx(SCH_KEY_INFO_C ki) {
    return ki && ki->drawer ? ki->drawer->ndx : ZEL_NO_DRAWER;
}
ZEL_COL_INDEX sch_key_num_elems(SCH_KEY_INFO_C ki) {
    return ki ? ki->num_elems : 0;
}
SCH_ELEM_INFO sch_key_elem(SCH_KEY_INFO ki, ZEL_COL_INDEX ndx) {
    return ki && ki->elems && ndx < ki->num_elems ? &ki->elems[ndx] : nullptr;
}
SCH_ELEM_INFO_C sch_key_elem_c(SCH_KEY_INFO_C ki, ZEL_COL_INDEX ndx) {
    return ki && ki->elems && ndx < ki->num_elems ? &ki->elems[ndx] : nullptr;
}
ZEL_KEY_INDEX sch_avl_index(SCH_KEY_INFO_C ki) {
    return ki ? ki->avl_ndx : ZEL_NO_INDEX;
}
ZEL_BOOL_T sch_key_contains_col(SCH_KEY_INFO_C ki, SCH_COL_INFO_C ci) {
    if (!ki || !ci || !ki->elems) return ZEL_FALSE;
    for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i)
        if (ki->elems[i].col == ci) return ZEL_TRUE;
    return ZEL_FALSE;
}
ZEL_RETCODE sch_key_set_method(SCH_KEY_INFO ki, ZEL_KEY_METHOD val) {
    if (!ki) return eINVNULLARG;
    ki->method = val;
    return sOKAY;
}
ZEL_RETCODE sch_key_set_refcount(SCH_KEY_INFO ki, uint32_t val) {
    if (!ki) return eINVNULLARG;
    ki->refcount = val;
    return sOKAY;
}
ZEL_RETCODE sch_key_set_restr(SCH_KEY_INFO ki, ZEL_BOOL_T val) {
    if (!ki) return eINVNULLARG;
    ki->restr = val;
    return sOKAY;
}
SCH_ELEM_INFO sch_iterate_elems(SCH_KEY_INFO ki, SCH_ELEM_INFO_C prev, ZEL_DIRECTION dir) {
    return ki ? sch_step_records(ki->elems, ki->num_elems, prev, dir) : nullptr;
}

ZEL_COL_INDEX sch_elem_index(SCH_ELEM_INFO_C ei) {
    return ei ? ei->ndx : ZEL_NO_INDEX;
}
SCH_COL_INFO sch_elem_col(SCH_ELEM_INFO_C ei) {
    return ei ? ei->col : nullptr;
}
ZEL_COL_INDEX sch_elem_col_index(SCH_ELEM_INFO_C ei) {
    return ei && ei->col ? ei->col->ndx : ZEL_NO_INDEX;
}
ZEL_DIRECTION sch_elem_dir(SCH_ELEM_INFO_C ei) {
    return ei ? ei->dir : ZEL_FORWARD;
}
const char *sch_elem_dir_text(SCH_ELEM_INFO_C ei) {
    return ei ? sch_dir_word(ei->dir) : nullptr;
}
uint32_t sch_elem_offset(SCH_ELEM_INFO_C ei) {
    return ei ? ei->ptr : 0;
}
ZEL_HAS_VALUE_OFFSET sch_elem_has_value_offset(SCH_ELEM_INFO_C ei) {
    return ei ? ei->has_value_off : 0;
}
ZEL_RETCODE sch_elem_set_order(SCH_ELEM_INFO ei, ZEL_DIRECTION val) {
    if (!ei) return eINVNULLARG;
    ei->dir = val;
    return sOKAY;
}

// ---- References and sort columns.

const char *sch_ref_name(SCH_REF_INFO_C ri) {
    return ri ? ri->name : nullptr;
}
ZEL_REF_INDEX sch_ref_ndx(SCH_REF_INFO_C ri) {
    return ri ? ri->ndx : ZEL_NO_INDEX;
}
SCH_TBL_INFO sch_ref_table(SCH_REF_INFO_C ri) {
    return ri ? ri->table : nullptr;
}
ZEL_TBL_INDEX sch_ref_tbl_ndx(SCH_REF_INFO_C ri) {
    return ri && ri->table ? ri->table->ndx : ZEL_NO_INDEX;
}
SCH_INFO sch_ref_schema(SCH_REF_INFO_C ri) {
    return ri && ri->table ? ri->table->sch : nullptr;
}
SCH_TBL_INFO sch_ref_owner(SCH_REF_INFO_C ri) {
    return ri ? ri->reftab : nullptr;
}
ZEL_TBL_INDEX sch_ref_owner_tbl_ndx(SCH_REF_INFO_C ri) {
    return ri && ri->reftab ? ri->reftab->ndx : ZEL_NO_INDEX;
}
ZEL_REF_INDEX sch_ref_owner_ndx(SCH_REF_INFO_C ri) {
    return ri ? ri->owner_ndx : ZEL_NO_INDEX;
}
SCH_KEY_INFO sch_ref_key(SCH_REF_INFO_C ri) {
    return ri ? ri->refkey : nullptr;
}
ZEL_KEY_INDEX sch_ref_key_index(SCH_REF_INFO_C ri) {
    return ri && ri->refkey ? ri->refkey->ndx : ZEL_NO_INDEX;
}
SCH_DRAWER_INFO sch_ref_drawer(SCH_REF_INFO_C ri) {
    return ri ? ri->drawer : nullptr;
}
ZEL_DRAWER sch_ref_drawer_ndx(SCH_REF_INFO_C ri) {
    return ri && ri->drawer ? ri->drawer->ndx : ZEL_NO_DRAWER;
}
ZEL_REF_ACTION sch_ref_on_update(SCH_REF_INFO_C ri) {
    return ri ? ri->on_update : ZEL_REF_ACTION_NOVAL;
}
ZEL_REF_ACTION sch_ref_on_delete(SCH_REF_INFO_C ri) {
    return ri ? ri->on_delete : ZEL_REF_ACTION_NOVAL;
}
const char *sch_ref_on_update_text(SCH_REF_INFO_C ri) {
    return ri ? sch_word_text(ref_action_items, REF_ACTION_ITEMS_COUNT, ri->on_update) : nullptr;
}
const char *sch_ref_on_delete_text(SCH_REF_INFO_C ri) {
    return ri ? sch_word_text(ref_action_items, REF_ACTION_ITEMS_COUNT, ri->on_delete) : nullptr;
}
ZEL_COL_INDEX sch_ref_num_cols(SCH_REF_INFO_C ri) {
    return ri ? ri->num_cols : 0;
}
SCH_COL_INFO sch_ref_col(SCH_REF_INFO_C ri, ZEL_COL_INDEX ndx) {
    return ri && ri->cols && ndx < ri->num_cols ? ri->cols[ndx] : nullptr;
}
ZEL_COLUMN_VALUE *sch_ref_col_vals(SCH_REF_INFO_C ri) {
    return ri ? ri->ref_col_vals : nullptr;
}
ZEL_COL_INDEX sch_ref_num_sort_cols(SCH_REF_INFO_C ri) {
    return ri ? ri->num_sort_cols : 0;
}
SCH_SORT_INFO sch_ref_sort(SCH_REF_INFO ri, ZEL_COL_INDEX ndx) {
    return ri && ri->sort_cols && ndx < ri->num_sort_cols ? &ri->sort_cols[ndx] : nullptr;
}
SCH_COL_INFO sch_ref_sort_col(SCH_REF_INFO_C ri, ZEL_COL_INDEX ndx) {
    return ri && ri->sort_cols && ndx < ri->num_sort_cols ? ri->sort_cols[ndx].col : nullptr;
}
uint32_t sch_ref_sort_byte_len(SCH_REF_INFO_C ri) {
    return ri ? ri->sort_byte_len : 0;
}
ZEL_BOOL_T sch_ref_requires_write_for_update(SCH_REF_INFO_C ri) {
    return ri ? ri->requires_write : ZEL_FALSE;
}
ZEL_BOOL_T sch_ref_name_default(SCH_REF_INFO_C ri) {
    if (!ri || !ri->name || !ri->table || !ri->table->name || !ri->cols || ri->num_cols == 0 ||
        !ri->cols[0] || !ri->cols[0]->name)
        return ZEL_FALSE;
    const size_t tl = strlen(ri->table->name);
    const size_t nl = strlen(ri->name);
    if (nl != tl + 1 + strlen(ri->cols[0]->name) || ri->name[tl] != '_') return ZEL_FALSE;
    char buf[512];
    if (nl >= sizeof buf) return ZEL_FALSE;
    b_snprintf(buf, sizeof buf, "%s_%s", ri->table->name, ri->cols[0]->name);
    return psp_strcasecmp(buf, ri->name) == 0 ? ZEL_TRUE : ZEL_FALSE;
}
ZEL_RETCODE sch_ref_set_on_update(SCH_REF_INFO ri, ZEL_REF_ACTION val) {
    if (!ri) return eINVNULLARG;
    ri->on_update = val;
    return sOKAY;
}
ZEL_RETCODE sch_ref_set_on_delete(SCH_REF_INFO ri, ZEL_REF_ACTION val) {
    if (!ri) return eINVNULLARG;
    ri->on_delete = val;
    return sOKAY;
}
SCH_COL_INFO sch_iterate_ref_cols(SCH_REF_INFO_C ri, SCH_COL_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ri) return nullptr;
    return sch_step(ri->cols, 0, ri->num_cols,
                    prev ? sch_position(ri->cols, ri->num_cols, prev) : 0, prev != nullptr, dir,
                    sch_any<SCH_COL_INFO>);
}
SCH_SORT_INFO sch_iterate_sort_cols(SCH_REF_INFO ri, SCH_SORT_INFO_C prev, ZEL_DIRECTION dir) {
    return ri ? sch_step_records(ri->sort_cols, ri->num_sort_cols, prev, dir) : nullptr;
}

ZEL_COL_INDEX sch_sort_index(SCH_SORT_INFO_C si) {
    return si ? si->ndx : ZEL_NO_INDEX;
}
SCH_REF_INFO sch_sort_ref(SCH_SORT_INFO_C si) {
    return si ? si->ref : nullptr;
}
ZEL_REF_INDEX sch_sort_ref_index(SCH_SORT_INFO_C si) {
    return si && si->ref ? si->ref->ndx : ZEL_NO_INDEX;
}
ZEL_TBL_INDEX sch_sort_table_index(SCH_SORT_INFO_C si) {
    return si && si->ref && si->ref->table ? si->ref->table->ndx : ZEL_NO_INDEX;
}
SCH_COL_INFO sch_sort_col(SCH_SORT_INFO_C si) {
    return si ? si->col : nullptr;
}
ZEL_COL_INDEX sch_sort_col_index(SCH_SORT_INFO_C si) {
    return si && si->col ? si->col->ndx : ZEL_NO_INDEX;
}
ZEL_DIRECTION sch_sort_dir(SCH_SORT_INFO_C si) {
    return si ? si->order : ZEL_FORWARD;
}
const char *sch_sort_dir_text(SCH_SORT_INFO_C si) {
    return si ? sch_dir_word(si->order) : nullptr;
}
uint32_t sch_sort_offset(SCH_SORT_INFO_C si) {
    return si ? si->ptr : 0;
}
ZEL_HAS_VALUE_OFFSET sch_sort_has_value_offset(SCH_SORT_INFO_C si) {
    return si ? si->has_value_off : 0;
}

// ---- Drawers.

ZEL_DRAWER sch_drawer_id(SCH_DRAWER_INFO_C di) {
    return di ? di->ndx : ZEL_NO_DRAWER;
}
ZEL_DRAWER sch_drawer_tbl_ndx(SCH_DRAWER_INFO_C di) {
    return di ? di->tbl_ndx : ZEL_NO_DRAWER;
}
ZEL_DRAWER_TYPE sch_drawer_type(SCH_DRAWER_INFO_C di) {
    return di ? di->type : ZEL_DRAWER_BTREE;
}
const char *sch_drawer_type_text(SCH_DRAWER_INFO_C di) {
    return di ? sch_word_text(drawer_type_items, DRAWER_TYPE_ITEMS_COUNT, di->type) : nullptr;
}
ZEL_BOOL_T sch_drawer_compact(SCH_DRAWER_INFO_C di) {
    return di ? di->compact : ZEL_FALSE;
}
ZEL_TBL_INDEX sch_drawer_src_table_id(SCH_DRAWER_INFO_C di) {
    return di ? di->src_tblid : ZEL_NO_INDEX;
}
ZEL_INDEX sch_drawer_src_ndx(SCH_DRAWER_INFO_C di) {
    return di ? di->src_id : ZEL_NO_INDEX;
}
SCH_TBL_INFO sch_drawer_table(SCH_DRAWER_INFO_C di) {
    return di && di->type == ZEL_DRAWER_TABLE ? di->obj.ti : nullptr;
}
SCH_KEY_INFO sch_drawer_key(SCH_DRAWER_INFO_C di) {
    return di && (di->type == ZEL_DRAWER_BTREE || di->type == ZEL_DRAWER_HASH ||
                  di->type == ZEL_DRAWER_RTREE)
               ? di->obj.ki
               : nullptr;
}
SCH_REF_INFO sch_drawer_ref(SCH_DRAWER_INFO_C di) {
    return di && di->type == ZEL_DRAWER_REF ? di->obj.ri : nullptr;
}
SCH_COL_INFO sch_drawer_blob_col(SCH_DRAWER_INFO_C di) {
    return di && di->type == ZEL_DRAWER_BLOB ? di->obj.ci : nullptr;
}
ZEL_RETCODE sch_drawer_set_type(SCH_DRAWER_INFO di, ZEL_DRAWER_TYPE val) {
    if (!di) return eINVNULLARG;
    di->type = val;
    return sOKAY;
}
ZEL_RETCODE sch_drawer_set_source_table(SCH_DRAWER_INFO di, ZEL_TBL_INDEX val) {
    if (!di) return eINVNULLARG;
    di->src_tblid = val;
    return sOKAY;
}
ZEL_RETCODE sch_drawer_set_source_item(SCH_DRAWER_INFO di, ZEL_INDEX val) {
    if (!di) return eINVNULLARG;
    di->src_id = val;
    return sOKAY;
}

// ---- Triggers.

const char *sch_trig_name(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->name : nullptr;
}
uint16_t sch_trig_sqltrig(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->sqltrig : 0;
}
uint64_t sch_trig_crtime(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->crtime : 0;
}
ZEL_TRIG_TIMING sch_trig_timing(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->timing : ZEL_TRIG_WHENEVER;
}
ZEL_TRIG_EVENT sch_trig_event(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->event : ZEL_TRIG_INSERT;
}
ZEL_COL_INDEX sch_trig_num_updcols(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->num_updcols : 0;
}
ZEL_COL_INDEX sch_trig_updcol(SCH_TRIG_INFO_C trgi, ZEL_COL_INDEX ndx) {
    return trgi && trgi->updcols && ndx < trgi->num_updcols ? trgi->updcols[ndx] : ZEL_NO_INDEX;
}
ZEL_TRC_INDEX sch_trig_num_colrefs(SCH_TRIG_INFO_C trgi) {
    return trgi ? trgi->num_colrefs : 0;
}
SCH_TRIG_COL_INFO sch_trig_colref(SCH_TRIG_INFO trgi, ZEL_TRC_INDEX ndx) {
    return trgi && trgi->colrefs && ndx < trgi->num_colrefs ? &trgi->colrefs[ndx] : nullptr;
}
ZEL_RETCODE sch_trig_set_timing(SCH_TRIG_INFO trgi, ZEL_TRIG_TIMING val) {
    if (!trgi) return eINVNULLARG;
    trgi->timing = val;
    return sOKAY;
}
ZEL_RETCODE sch_trig_set_event(SCH_TRIG_INFO trgi, ZEL_TRIG_EVENT val) {
    if (!trgi) return eINVNULLARG;
    trgi->event = val;
    return sOKAY;
}
ZEL_RETCODE sch_trig_set_num_updcols(SCH_TRIG_INFO trgi, ZEL_COL_INDEX val) {
    if (!trgi) return eINVNULLARG;
    trgi->num_updcols = val;
    return sOKAY;
}
ZEL_RETCODE sch_trig_set_num_colrefs(SCH_TRIG_INFO trgi, ZEL_TRC_INDEX val) {
    if (!trgi) return eINVNULLARG;
    trgi->num_colrefs = val;
    return sOKAY;
}
SCH_TRIG_COL_INFO sch_iterate_trig_cols(SCH_TRIG_INFO trgi, SCH_TRIG_COL_INFO_C prev,
                                        ZEL_TRIG_COL_REF ref) {
    if (!trgi) return nullptr;
    for (SCH_TRIG_COL_INFO c =
             sch_step_records(trgi->colrefs, trgi->num_colrefs, prev, ZEL_FORWARD);
         c; c = sch_step_records(trgi->colrefs, trgi->num_colrefs, c, ZEL_FORWARD))
        if (ref == ZEL_TRIG_OLDNEW || c->ref == ref) return c;
    return nullptr;
}

ZEL_COL_INDEX sch_trigcol_colid(SCH_TRIG_COL_INFO_C tci) {
    return tci ? tci->colid : ZEL_NO_INDEX;
}
uint16_t sch_trigcol_varno(SCH_TRIG_COL_INFO_C tci) {
    return tci ? tci->varno : 0;
}
ZEL_TRIG_COL_REF sch_trigcol_ref(SCH_TRIG_COL_INFO_C tci) {
    return tci ? tci->ref : ZEL_TRIG_OLDNEW;
}
ZEL_VALUE *sch_trigcol_val(SCH_TRIG_COL_INFO_C tci) {
    return tci ? tci->val : nullptr;
}
ZEL_RETCODE sch_trigcol_set_ndx(SCH_TRIG_COL_INFO tci, ZEL_TRC_INDEX val) {
    if (!tci) return eINVNULLARG;
    tci->ndx = val;
    return sOKAY;
}
ZEL_RETCODE sch_trigcol_set_colid(SCH_TRIG_COL_INFO tci, ZEL_COL_INDEX val) {
    if (!tci) return eINVNULLARG;
    tci->colid = val;
    return sOKAY;
}
ZEL_RETCODE sch_trigcol_set_varno(SCH_TRIG_COL_INFO tci, uint16_t val) {
    if (!tci) return eINVNULLARG;
    tci->varno = val;
    return sOKAY;
}
ZEL_RETCODE sch_trigcol_set_ref(SCH_TRIG_COL_INFO tci, ZEL_TRIG_COL_REF val) {
    if (!tci) return eINVNULLARG;
    tci->ref = val;
    return sOKAY;
}
ZEL_RETCODE sch_trigcol_set_val(SCH_TRIG_COL_INFO tci, ZEL_VALUE *val) {
    if (!tci) return eINVNULLARG;
    tci->val = val;
    return sOKAY;
}
ZEL_RETCODE sch_trigcol_alloc_val(SCH_TRIG_COL_INFO tci, B_TAG_STACK stackTag) {
    if (!tci) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_VALUE *val = nullptr;
    ZEL_CHECK(rc = b_tag_stackAllocClear(stackTag, sizeof(ZEL_VALUE), &val));
    tci->val = val;
    return sOKAY;
}

// ---- Comparing two catalogues.

namespace {

/* A text only in the second catalogue is no difference; one only in the
 * first is. */
bool sch_same_text(const char *a, const char *b) {
    if (!a) return true;
    if (!b) return false;
    return psp_strcasecmp(a, b) == 0;
}

bool sch_same_type(SCH_TYPE_INFO_C a, SCH_TYPE_INFO_C b) {
    return a->type == b->type && a->elems == b->elems && a->byte_len == b->byte_len &&
           sch_type_length(a) == sch_type_length(b) && sch_type_scale(a) == sch_type_scale(b) &&
           sch_same_text(a->check_str, b->check_str) && sch_same_text(a->check_name, b->check_name);
}

ZEL_RETCODE sch_key_union_compatible(SCH_KEY_INFO_C a, SCH_KEY_INFO_C b) {
    if (!a || !b) return a == b ? sOKAY : eUNIONCATMISMATCH;
    if (a->ndx != b->ndx || !sch_same_text(a->name, b->name) || a->type != b->type ||
        a->method != b->method || a->num_elems != b->num_elems)
        return eUNIONCATMISMATCH;
    for (ZEL_COL_INDEX i = 0; i < a->num_elems; ++i) {
        const SCH_ELEM_INFO_S &ea = a->elems[i], &eb = b->elems[i];
        if (ea.dir != eb.dir || (ea.col == nullptr) != (eb.col == nullptr) ||
            (ea.col && ea.col->ndx != eb.col->ndx))
            return eUNIONCATMISMATCH;
    }
    return sOKAY;
}

ZEL_RETCODE sch_ref_union_compatible(SCH_REF_INFO_C a, SCH_REF_INFO_C b) {
    if (!a || !b) return a == b ? sOKAY : eUNIONCATMISMATCH;
    if (a->ndx != b->ndx || !sch_same_text(a->name, b->name) || a->num_cols != b->num_cols ||
        a->num_sort_cols != b->num_sort_cols ||
        sch_ref_owner_tbl_ndx(a) != sch_ref_owner_tbl_ndx(b) ||
        sch_ref_key_index(a) != sch_ref_key_index(b))
        return eUNIONCATMISMATCH;
    for (ZEL_COL_INDEX i = 0; i < a->num_cols; ++i)
        if (sch_col_ndx(sch_ref_col(a, i)) != sch_col_ndx(sch_ref_col(b, i)))
            return eUNIONCATMISMATCH;
    for (ZEL_COL_INDEX i = 0; i < a->num_sort_cols; ++i)
        if (a->sort_cols[i].order != b->sort_cols[i].order ||
            sch_col_ndx(a->sort_cols[i].col) != sch_col_ndx(b->sort_cols[i].col))
            return eUNIONCATMISMATCH;
    return sOKAY;
}

ZEL_RETCODE sch_tbl_union_compatible(SCH_TBL_INFO_C a, SCH_TBL_INFO_C b) {
    if (!a || !b) return a == b ? sOKAY : eUNIONCATMISMATCH;
    if (a->ndx != b->ndx || !sch_same_text(a->name, b->name) || a->num_cols != b->num_cols ||
        a->next_col != b->next_col || a->num_keys != b->num_keys || a->next_key != b->next_key ||
        a->num_refs != b->num_refs || a->next_ref != b->next_ref)
        return eUNIONCATMISMATCH;
    ZEL_RETCODE rc;
    for (ZEL_COL_INDEX i = 0; i < a->next_col; ++i)
        ZEL_CHECK(
            rc = sch_col_union_compatible(sch_get_col_by_index(a, i), sch_get_col_by_index(b, i)));
    for (ZEL_KEY_INDEX i = 0; i < a->next_key; ++i)
        ZEL_CHECK(
            rc = sch_key_union_compatible(sch_get_key_by_index(a, i), sch_get_key_by_index(b, i)));
    for (ZEL_REF_INDEX i = 0; i < a->next_ref; ++i)
        ZEL_CHECK(
            rc = sch_ref_union_compatible(sch_get_ref_by_index(a, i), sch_get_ref_by_index(b, i)));
    return sOKAY;
}

}  // namespace

ZEL_RETCODE sch_col_union_compatible(SCH_COL_INFO_C a, SCH_COL_INFO_C b) {
    if (!a || !b) return a == b ? sOKAY : eUNIONCATMISMATCH;
    if (a->ndx != b->ndx || !sch_same_text(a->name, b->name) || a->not_null != b->not_null ||
        a->width != b->width || a->keyid != b->keyid || a->usage != b->usage ||
        !sch_same_type(sch_col_type_c(a), sch_col_type_c(b)))
        return eUNIONCATMISMATCH;
    return sOKAY;
}

ZEL_RETCODE sch_union_compatible(SCH_INFO_C a, SCH_INFO_C b) {
    if (!a || !b) return eINVNULLARG;
    if (!sch_same_text(a->name, b->name) || a->next_table != b->next_table ||
        a->num_tables != b->num_tables)
        return eUNIONCATMISMATCH;
    ZEL_RETCODE rc;
    for (ZEL_TBL_INDEX i = 1; i < a->next_table; ++i)
        ZEL_CHECK(rc = sch_tbl_union_compatible(sch_table(a, i), sch_table(b, i)));
    return sOKAY;
}

/* ---- For the row formats. */

SCH_KEY_INFO sch_iterate_avls(SCH_TBL_INFO_C ti, SCH_KEY_INFO_C prev, ZEL_DIRECTION dir) {
    if (!ti) return nullptr;
    return sch_step(ti->avls, 0, std::min(ti->next_avl, ti->max_avls), prev ? prev->avl_ndx : 0,
                    prev != nullptr, dir, sch_any<SCH_KEY_INFO>);
}
