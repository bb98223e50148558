/*
 * schema_load.cpp - the JSON catalogue loader.
 *
 * The text is walked, not parsed into a tree: each JSON object has a table of
 * its keys, and schload_object pulls one name/value pair at a time, finds
 * the name's row (case-blind, from the top), checks the value's JSON type
 * against the row's and that the key was not seen before in this object (a
 * 64-bit mask of rows, no allocation), and calls the row's handler, which
 * stores the value through a sch_ setter at once. Creating keys ("tabid",
 * "colid", ...) make the record the following keys fill, so the order of
 * keys in the text matters. What points forward is remembered in SCHLOAD and
 * linked by schload_finalize after the walk. Every code of the walk folds
 * into eBADCAT but eNOTIMPLEMENTED and eLOCALEMISMATCH.
 */
#include "schema_load.h"

#include <cstring>
#include <iterator>
#include <limits>

#include "file.h"
#include "input.h"
#include "json.h"
#include "psp.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_words.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace {

constexpr ZEL_INDEX kNone = ZEL_NO_INDEX;
// The stack tag of the reader's tokens: one page to start, one more at a time.
constexpr size_t kStackBytes = 50;

using SchloadItems = const SCHLOAD_ELEM_ITEM *;

ZEL_RETCODE schload_fold(ZEL_RETCODE rc) {
    return rc == eNOTIMPLEMENTED || rc == eLOCALEMISMATCH ? rc : eBADCAT;
}

// ---- Reading values.

// A string of digits: it must begin with a digit, is read as far as digits
// go, and saturates at 0xFFFFFFFF so that a bound is checked on the number
// written. Kept: what follows the digits is ignored ("12ab" is 12), as the
// catalogue's writers have always been read.
ZEL_RETCODE schload_get_num(const char *s, uint32_t *out) {
    if (s == nullptr || *s < '0' || *s > '9') return eBADCAT;
    uint64_t v = 0;
    for (; *s >= '0' && *s <= '9'; ++s) {
        v = v * 10 + static_cast<uint64_t>(*s - '0');
        if (v > UINT32_MAX) v = UINT32_MAX;
    }
    *out = static_cast<uint32_t>(v);
    return sOKAY;
}

// A string of digits within 0 to hi.
ZEL_RETCODE schload_get_index(const char *s, uint32_t hi, uint32_t *out) {
    uint32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_num(s, &v));
    if (v > hi) return eRANGE;
    *out = v;
    return sOKAY;
}

// The value of a word of `items`; an unknown word is refused.
ZEL_RETCODE schload_find_word(const SCH_WORD_ITEM *items, size_t count, const char *s,
                              int32_t *out) {
    return sch_word_find(items, count, s, out) == sOKAY ? sOKAY : eBADCAT;
}

// ---- The current records. A handler whose record is not there (its
// creating key has not come) fails with eBADCAT.

SCH_INFO schload_sch(SCHLOAD *sl) {
    return sl->sch;
}
SCH_DRAWER_INFO schload_di(SCHLOAD *sl) {
    return sl->di;
}
SCH_DOMAIN_INFO schload_mi(SCHLOAD *sl) {
    return sl->mi;
}
SCH_TYPE_INFO schload_pi(SCHLOAD *sl) {
    return sl->pi;
}
SCH_TBL_INFO schload_ti(SCHLOAD *sl) {
    return sl->curr_table != nullptr ? sl->curr_table->ti : nullptr;
}
SCH_COL_INFO schload_ci(SCHLOAD *sl) {
    return sl->curr_col != nullptr ? sl->curr_col->ci : nullptr;
}
SCH_KEY_INFO schload_ki(SCHLOAD *sl) {
    return sl->ki;
}
SCH_ELEM_INFO schload_ei(SCHLOAD *sl) {
    return sl->ei;
}
SCH_REF_INFO schload_ri(SCHLOAD *sl) {
    return sl->curr_ref != nullptr ? sl->curr_ref->ri : nullptr;
}

// The value argument of a setter `ZEL_RETCODE set(Handle, T)`.
template <class F>
struct SchloadArg;
template <class H, class T>
struct SchloadArg<ZEL_RETCODE (*)(H, T)> {
    using type = T;
};

// ---- Handlers made from a getter of the current record and a setter.

// A number within lo to hi, stored through the setter (a -1 allowed by `lo`
// becomes the all-ones value of the setter's unsigned type).
template <auto Get, auto Set, int64_t Lo, int64_t Hi>
ZEL_RETCODE schload_num(SCHLOAD *sl, int64_t v) {
    auto h = Get(sl);
    if (h == nullptr) return eBADCAT;
    if (v < Lo || v > Hi) return eRANGE;
    return Set(h, static_cast<typename SchloadArg<decltype(Set)>::type>(v));
}

// A number over the whole range of the setter's type.
template <auto Get, auto Set>
ZEL_RETCODE schload_full(SCHLOAD *sl, int64_t v) {
    using T = typename SchloadArg<decltype(Set)>::type;
    return schload_num<Get, Set, 0, static_cast<int64_t>(std::numeric_limits<T>::max())>(sl, v);
}

template <auto Get, auto Set>
ZEL_RETCODE schload_str(SCHLOAD *sl, const char *s) {
    auto h = Get(sl);
    return h != nullptr ? Set(h, s) : eBADCAT;
}

template <auto Get, auto Set>
ZEL_RETCODE schload_flag(SCHLOAD *sl, ZEL_BOOL_T f) {
    auto h = Get(sl);
    return h != nullptr ? Set(h, f) : eBADCAT;
}

// A word of `Items`, stored through the setter.
template <auto Get, auto Set, const SCH_WORD_ITEM *Items, size_t N>
ZEL_RETCODE schload_word(SCHLOAD *sl, const char *s) {
    auto h = Get(sl);
    if (h == nullptr) return eBADCAT;
    int32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_find_word(Items, N, s, &v));
    return Set(h, static_cast<typename SchloadArg<decltype(Set)>::type>(v));
}

// A string of digits within 0 to hi, stored through the setter.
template <auto Get, auto Set, uint32_t Hi>
ZEL_RETCODE schload_digits(SCHLOAD *sl, const char *s) {
    auto h = Get(sl);
    if (h == nullptr) return eBADCAT;
    uint32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_index(s, Hi, &v));
    return Set(h, static_cast<typename SchloadArg<decltype(Set)>::type>(v));
}

// "defNull": true sets a NULL default. Kept: false changes nothing (it does
// not clear a default read before).
template <auto Get, auto Set>
ZEL_RETCODE schload_defnull(SCHLOAD *sl, ZEL_BOOL_T f) {
    auto h = Get(sl);
    if (h == nullptr) return eBADCAT;
    return f ? Set(h, nullptr) : sOKAY;
}

// ---- Rows of the walk tables.

constexpr SCHLOAD_ELEM_ITEM schload_row(const char *name, SCHLOAD_NUMBER_FCN f) {
    return {name, jvNUMBER, {.num = f}};
}
constexpr SCHLOAD_ELEM_ITEM schload_row(const char *name, SCHLOAD_STRING_FCN f) {
    return {name, jvSTRING, {.str = f}};
}
constexpr SCHLOAD_ELEM_ITEM schload_row(const char *name, SCHLOAD_BOOLEAN_FCN f) {
    return {name, jvBOOLEAN, {.flag = f}};
}
// A number row without a handler: its value is read and passed over. Only
// number rows may go without one (schload_object tests for it there alone).
constexpr SCHLOAD_ELEM_ITEM schload_skip(const char *name) {
    return {name, jvNUMBER, {.num = nullptr}};
}
constexpr SCHLOAD_ELEM_ITEM schload_row_object(const char *name, SCHLOAD_ARRAY_FCN f) {
    return {name, jvOBJECT, {.arr = f}};
}
constexpr SCHLOAD_ELEM_ITEM schload_row_array(const char *name, SCHLOAD_ARRAY_FCN f) {
    return {name, jvARRAY, {.arr = f}};
}

// ---- The walk.

// One object whose "{" was read: its pairs until "}". The first failure ends
// it, its code folded.
ZEL_RETCODE schload_object(SCHLOAD *sl, B_JSON_T *json, SchloadItems items, size_t num_items) {
    uint64_t seen = 0;
    for (;;) {
        B_JSON_PAIR pair;
        ZEL_RETCODE rc = b_jsonNextPair(json, nullptr, &pair);
        if (rc != sOKAY) return schload_fold(rc);
        if (pair.value.type == jvEND) return sOKAY;
        // The first letters, folded, rule out most rows before the compare.
        const char first = static_cast<char>(pair.name[0] | 0x20);
        size_t i = 0;
        while (i < num_items && ((items[i].name[0] | 0x20) != first ||
                                 psp_strcasecmp(items[i].name, pair.name) != 0))
            ++i;
        const uint64_t bit = uint64_t{1} << (i & 63);
        if (i == num_items || items[i].type != pair.value.type || (seen & bit) != 0) {
            b_jsonFreePair(json, &pair);
            return eBADCAT;
        }
        seen |= bit;
        const SCHLOAD_FCN &f = items[i].fcn;
        switch (pair.value.type) {
            case jvNUMBER:
                rc = f.num != nullptr ? f.num(sl, pair.value.v.num) : sOKAY;
                break;
            case jvSTRING:
                rc = f.str(sl, pair.value.v.str);
                break;
            case jvBOOLEAN:
                rc = f.flag(sl, pair.value.v.flag);
                break;
            default:  // jvOBJECT, jvARRAY: the handler reads on inside
                rc = f.arr(sl, json);
                break;
        }
        b_jsonFreePair(json, &pair);
        if (rc != sOKAY) return schload_fold(rc);
    }
}

template <size_t N>
ZEL_RETCODE schload_object(SCHLOAD *sl, B_JSON_T *json, const SCHLOAD_ELEM_ITEM (&items)[N]) {
    static_assert(N <= 64, "one seen bit per row");
    return schload_object(sl, json, items, N);
}

using SchloadEachFcn = ZEL_RETCODE (*)(SCHLOAD *sl, B_JSON_T *json);

// The values of an array whose "[" was read, until "]": each must be an
// object, handed to `each`; *pobj, when given, is cleared after each. The
// first failure stops.
template <class T>
ZEL_RETCODE schload_object_array(SCHLOAD *sl, B_JSON_T *json, SchloadEachFcn each, T **pobj) {
    for (;;) {
        B_JSON_VALTYPE type = jvNOVAL;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_jsonNextValue(json, &type, nullptr));
        if (type == jvEND) return sOKAY;
        if (type != jvOBJECT) return eBADCAT;
        rc = each(sl, json);
        if (pobj != nullptr) *pobj = nullptr;
        if (rc != sOKAY) return rc;
    }
}

// ---- Type objects, of domains and columns.

ZEL_RETCODE schload_type_data_type(SCHLOAD *sl, const char *s) {
    if (sl->pi == nullptr) return eBADCAT;
    int32_t v = 0;
    ZEL_RETCODE rc;
    // Kept: the first row of a word wins, so "wchar" reads ZEL_WCHAR and
    // "wclob" ZEL_WCLOB_UTF8.
    ZEL_CHECK(rc = schload_find_word(data_type_items, DATA_TYPE_ITEMS_COUNT, s, &v));
    ZEL_CHECK(rc = sch_type_set_data_type(sl->pi, static_cast<ZEL_TYPE>(v), sl->unicode_enabled));
    sl->type = sl->pi->type;
    return sOKAY;
}

constexpr SCHLOAD_ELEM_ITEM kTypeItems[] = {
    schload_row("data_type", schload_type_data_type),
    schload_row("noelts", schload_full<schload_pi, sch_type_set_elems>),
    schload_row("length", schload_num<schload_pi, sch_type_set_length, 0, 65535>),
    schload_row("scale", schload_full<schload_pi, sch_type_set_scale>),
    schload_row("checkStr", schload_str<schload_pi, sch_type_set_check_str>),
    schload_row("checkName", schload_str<schload_pi, sch_type_set_check_name>),
};

// "type" of a domain or column: fills the current type.
ZEL_RETCODE schload_type(SCHLOAD *sl, B_JSON_T *json) {
    if (sl->pi == nullptr) return eBADCAT;
    return schload_object(sl, json, kTypeItems);
}

// ---- Drawers.

// Numbers 0 and 1 are never assigned and 2 to 4 are built in: a drawer
// there would be out of every walk over the user drawers, and out of
// sch_destroy's, so it is refused.
ZEL_RETCODE schload_drawer_dwrid(SCHLOAD *sl, int64_t v) {
    if (v < SCH_FIRST_USER_DRAWER || v > 4294967294) return eRANGE;
    return sch_drawer_create(sl->sch, static_cast<ZEL_DRAWER>(v), &sl->di);
}

constexpr SCHLOAD_ELEM_ITEM kDrawerItems[] = {
    schload_row("dwrid", schload_drawer_dwrid),
    schload_row("tabid", schload_digits<schload_di, sch_drawer_set_source_table, 65534>),
    schload_row("srcid", schload_num<schload_di, sch_drawer_set_source_item, 0, 65534>),
    schload_row(
        "type",
        schload_word<schload_di, sch_drawer_set_type, drawer_type_items, DRAWER_TYPE_ITEMS_COUNT>),
};

// ---- Domains.

ZEL_RETCODE schload_dom_domid(SCHLOAD *sl, int64_t v) {
    if (v < 0 || v > 65535) return eRANGE;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_dom_create(sl->sch, static_cast<ZEL_DOM_INDEX>(v), &sl->mi));
    sl->pi = sch_dom_type(sl->mi);
    return sOKAY;
}

constexpr SCHLOAD_ELEM_ITEM kDomainItems[] = {
    schload_row("domid", schload_dom_domid),
    schload_row("name", schload_str<schload_mi, sch_dom_set_name>),
    schload_row_object("type", schload_type),
    schload_row("width", schload_num<schload_mi, sch_dom_set_width, 0, 255>),
    schload_row("format", schload_str<schload_mi, sch_dom_set_format>),
    schload_row("defValue", schload_str<schload_mi, sch_dom_set_default>),
    schload_row("defNull", schload_defnull<schload_mi, sch_dom_set_default>),
};

// ---- Columns.

ZEL_RETCODE schload_col_colid(SCHLOAD *sl, int64_t v) {
    SCHLOAD_TABLE *t = sl->curr_table;
    if (t == nullptr || t->ti == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    const auto id = static_cast<ZEL_COL_INDEX>(v);
    if (id >= t->num_cols) return eRANGE;
    SCH_COL_INFO ci = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_col_create(t->ti, id, &ci));
    sl->curr_col = &t->cols[id];
    sl->curr_col->ci = ci;
    sl->type = ZEL_NOVAL;
    sl->pi = &ci->type;
    return sOKAY;
}

ZEL_RETCODE schload_col_domid(SCHLOAD *sl, const char *s) {
    SCH_COL_INFO ci = schload_ci(sl);
    if (ci == nullptr) return eBADCAT;
    uint32_t id = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_index(s, 65535, &id));
    SCH_DOMAIN_INFO mi = sch_domain(sl->sch, static_cast<ZEL_DOM_INDEX>(id));
    if (mi == nullptr) return eBADCAT;
    // A blob drawer read before wants a large object.
    if (ci->drawer != nullptr && (sch_dom_data_type(mi) & ZEL_TYPE_LOB_BIT) == 0) return eBADCAT;
    ZEL_CHECK(rc = sch_col_set_domain(ci, static_cast<ZEL_DOM_INDEX>(id)));
    // The domain's type is the column's: no "type" may follow.
    sl->type = sch_dom_data_type(mi);
    sl->pi = nullptr;
    return sOKAY;
}

ZEL_RETCODE schload_col_keyid(SCHLOAD *sl, int64_t v) {
    SCH_COL_INFO ci = schload_ci(sl);
    if (ci == nullptr) return eBADCAT;
    if (v < 0 || v >= sl->curr_table->ti->next_key) return eRANGE;
    ci->keyid = static_cast<ZEL_KEY_INDEX>(v);  // now, and linked at the end
    sl->curr_col->keyid = ci->keyid;
    return sOKAY;
}

ZEL_RETCODE schload_col_refid(SCHLOAD *sl, int64_t v) {
    if (schload_ci(sl) == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    sl->curr_col->refid = static_cast<ZEL_REF_INDEX>(v);
    return sOKAY;
}

ZEL_RETCODE schload_col_r_tabid(SCHLOAD *sl, const char *s) {
    if (schload_ci(sl) == nullptr) return eBADCAT;
    uint32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_index(s, 65535, &v));
    sl->curr_col->reftabid = static_cast<ZEL_TBL_INDEX>(v);
    return sOKAY;
}

ZEL_RETCODE schload_col_r_colid(SCHLOAD *sl, const char *s) {
    if (schload_ci(sl) == nullptr) return eBADCAT;
    uint32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_index(s, 65535, &v));
    sl->curr_col->refcolid = static_cast<ZEL_COL_INDEX>(v);
    return sOKAY;
}

// A large-object column's drawer: the type known so far must be a large
// object; none known yet is taken to be ZEL_BLOB.
ZEL_RETCODE schload_col_dwrid(SCHLOAD *sl, int64_t v) {
    SCH_COL_INFO ci = schload_ci(sl);
    if (ci == nullptr) return eBADCAT;
    if (v < 0 || v >= static_cast<int64_t>(sl->sch->next_drawer)) return eRANGE;
    if (sl->type == ZEL_NOVAL) sl->type = ZEL_BLOB;
    if ((sl->type & ZEL_TYPE_LOB_BIT) == 0) return eBADCAT;
    return sch_col_set_blob_drawer(ci, static_cast<ZEL_DRAWER>(v));
}

// "type" of a column: not after "domid".
ZEL_RETCODE schload_col_type(SCHLOAD *sl, B_JSON_T *json) {
    return schload_ci(sl) != nullptr ? schload_type(sl, json) : eBADCAT;
}

constexpr SCHLOAD_ELEM_ITEM kColumnItems[] = {
    schload_row("colid", schload_col_colid),
    schload_row("name", schload_str<schload_ci, sch_col_set_name>),
    schload_row("domid", schload_col_domid),
    schload_row("keyid", schload_col_keyid),
    schload_row("refid", schload_col_refid),
    schload_row("r_tabid", schload_col_r_tabid),
    schload_row("r_colid", schload_col_r_colid),
    schload_row("dwrid", schload_col_dwrid),
    // The low 16 bits are taken, whatever the number.
    schload_row("usage", schload_num<schload_ci, sch_col_set_usage, INT64_MIN, INT64_MAX>),
    schload_row("not_null", schload_str<schload_ci, sch_col_set_not_null>),
    schload_row("width", schload_num<schload_ci, sch_col_set_width, 0, 255>),
    schload_row("format", schload_str<schload_ci, sch_col_set_format>),
    schload_row("defValue", schload_str<schload_ci, sch_col_set_default>),
    schload_row("defNull", schload_defnull<schload_ci, sch_col_set_default>),
    schload_row_object("type", schload_col_type),
};

ZEL_RETCODE schload_column(SCHLOAD *sl, B_JSON_T *json) {
    ZEL_RETCODE rc = schload_object(sl, json, kColumnItems);
    if (rc == sOKAY) rc = sch_col_finalize(schload_ci(sl));
    sl->pi = nullptr;
    sl->type = ZEL_NOVAL;
    return rc;
}

ZEL_RETCODE schload_tbl_columns(SCHLOAD *sl, B_JSON_T *json) {
    if (schload_ti(sl) == nullptr) return eBADCAT;
    return schload_object_array(sl, json, schload_column, &sl->curr_col);
}

// ---- Keys and their elements.

ZEL_RETCODE schload_key_keyid(SCHLOAD *sl, int64_t v) {
    SCH_TBL_INFO ti = schload_ti(sl);
    if (ti == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    return sch_key_create(ti, static_cast<ZEL_KEY_INDEX>(v), &sl->ki);
}

constexpr SCHLOAD_ELEM_ITEM kElemItems[] = {
    // Kept: "colid" of an element is a string of digits, of a column a
    // number; stored catalogues have them so.
    schload_row("colid", schload_digits<schload_ei, sch_elem_set_col, 65535>),
    schload_row(
        "order",
        schload_word<schload_ei, sch_elem_set_order, direction_items, DIRECTION_ITEMS_COUNT>),
};

ZEL_RETCODE schload_elem(SCHLOAD *sl, B_JSON_T *json) {
    SCH_KEY_INFO ki = sl->ki;
    if (sl->index >= sch_key_num_elems(ki)) return eBADCAT;  // more than "nocols"
    sl->ei = sch_key_elem(ki, sl->index++);
    return schload_object(sl, json, kElemItems);
}

ZEL_RETCODE schload_key_cols(SCHLOAD *sl, B_JSON_T *json) {
    if (sl->ki == nullptr) return eBADCAT;
    sl->index = 0;
    return schload_object_array(sl, json, schload_elem, &sl->ei);
}

constexpr SCHLOAD_ELEM_ITEM kKeyItems[] = {
    schload_row("keyid", schload_key_keyid),
    schload_row("dwrid", schload_num<schload_ki, sch_key_set_drawer, -1, UINT32_MAX>),
    schload_row("name", schload_str<schload_ki, sch_key_set_name>),
    schload_row("type",
                schload_word<schload_ki, sch_key_set_type, key_type_items, KEY_TYPE_ITEMS_COUNT>),
    schload_row(
        "method",
        schload_word<schload_ki, sch_key_set_method, key_method_items, KEY_METHOD_ITEMS_COUNT>),
    schload_row("restrict", schload_flag<schload_ki, sch_key_set_restr>),
    schload_row("refcount", schload_full<schload_ki, sch_key_set_refcount>),
    schload_row("nocols", schload_full<schload_ki, sch_key_set_num_elems>),
    schload_row_array("cols", schload_key_cols),
};

ZEL_RETCODE schload_key(SCHLOAD *sl, B_JSON_T *json) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_object(sl, json, kKeyItems));
    return sch_key_finalize(sl->ki);
}

ZEL_RETCODE schload_tbl_keys(SCHLOAD *sl, B_JSON_T *json) {
    if (schload_ti(sl) == nullptr) return eBADCAT;
    return schload_object_array(sl, json, schload_key, &sl->ki);
}

// ---- References and their sort columns.

ZEL_RETCODE schload_ref_refid(SCHLOAD *sl, int64_t v) {
    SCHLOAD_TABLE *t = sl->curr_table;
    if (t == nullptr || t->ti == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    const auto id = static_cast<ZEL_REF_INDEX>(v);
    if (id >= t->num_refs) return eRANGE;
    SCH_REF_INFO ri = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_ref_create(t->ti, id, &ri));
    sl->curr_ref = &t->refs[id];
    sl->curr_ref->ri = ri;
    return sOKAY;
}

ZEL_RETCODE schload_ref_otabid(SCHLOAD *sl, const char *s) {
    if (schload_ri(sl) == nullptr) return eBADCAT;
    uint32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_index(s, 65535, &v));
    sl->curr_ref->tabid = static_cast<ZEL_TBL_INDEX>(v);
    return sOKAY;
}

ZEL_RETCODE schload_ref_pkeyid(SCHLOAD *sl, const char *s) {
    if (schload_ri(sl) == nullptr) return eBADCAT;
    uint32_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_get_index(s, 65535, &v));
    sl->curr_ref->keyid = static_cast<ZEL_KEY_INDEX>(v);
    return sOKAY;
}

ZEL_RETCODE schload_ref_nocols(SCHLOAD *sl, int64_t v) {
    SCHLOAD_REF *r = sl->curr_ref;
    if (schload_ri(sl) == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    const auto n = static_cast<ZEL_COL_INDEX>(v);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_ref_set_num_cols(r->ri, n));
    if (n == 0) return sOKAY;
    uint32_t *ids = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(sl->subTag, n * sizeof *ids, &ids));
    for (ZEL_COL_INDEX i = 0; i < n; ++i) ids[i] = kNone;
    r->colids = ids;
    r->num_colids = n;
    return sOKAY;
}

// "cols" of a reference: strings of digits, in order, not bound-checked
// until the reference ends.
ZEL_RETCODE schload_ref_cols(SCHLOAD *sl, B_JSON_T *json) {
    SCHLOAD_REF *r = sl->curr_ref;
    if (schload_ri(sl) == nullptr) return eBADCAT;
    for (ZEL_COL_INDEX i = 0;; ++i) {
        B_JSON_VAL v;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_jsonNextValue(json, nullptr, &v));
        if (v.type == jvEND) return sOKAY;
        if (v.type != jvSTRING) return eBADCAT;
        uint32_t id = 0;
        rc = schload_get_num(v.v.str, &id);
        b_tag_subFree(json->subTag, v.v.str);
        ZEL_CHECK(rc);
        if (i >= r->num_colids) return eBADCAT;  // more than "nocols"
        r->colids[i] = id;
    }
}

constexpr SCHLOAD_ELEM_ITEM kSortItems[] = {
    schload_row(
        "colid",
        +[](SCHLOAD *sl, const char *s) {
            uint32_t id = 0;
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = schload_get_index(s, 65535, &id));
            return sch_ref_set_sort_col(schload_ri(sl), sl->index, static_cast<ZEL_COL_INDEX>(id));
        }),
    schload_row(
        "order",
        +[](SCHLOAD *sl, const char *s) {
            int32_t dir = 0;
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = schload_find_word(direction_items, DIRECTION_ITEMS_COUNT, s, &dir));
            return sch_ref_set_sort_order(schload_ri(sl), sl->index,
                                          static_cast<ZEL_DIRECTION>(dir));
        }),
};

ZEL_RETCODE schload_sort(SCHLOAD *sl, B_JSON_T *json) {
    if (sl->index >= sch_ref_num_sort_cols(schload_ri(sl))) return eBADCAT;  // more than declared
    const ZEL_RETCODE rc = schload_object(sl, json, kSortItems);
    ++sl->index;
    return rc;
}

ZEL_RETCODE schload_ref_sortcols(SCHLOAD *sl, B_JSON_T *json) {
    if (schload_ri(sl) == nullptr) return eBADCAT;
    sl->index = 0;
    return schload_object_array<SCH_SORT_INFO_S>(sl, json, schload_sort, nullptr);
}

constexpr SCHLOAD_ELEM_ITEM kRefItems[] = {
    schload_row("refid", schload_ref_refid),
    schload_row("dwrid", schload_full<schload_ri, sch_ref_set_drawer>),
    schload_row("name", schload_str<schload_ri, sch_ref_set_name>),
    schload_row("otabid", schload_ref_otabid),
    schload_row("pkeyid", schload_ref_pkeyid),
    schload_row(
        "on_upd",
        schload_word<schload_ri, sch_ref_set_on_update, ref_action_items, REF_ACTION_ITEMS_COUNT>),
    schload_row(
        "on_del",
        schload_word<schload_ri, sch_ref_set_on_delete, ref_action_items, REF_ACTION_ITEMS_COUNT>),
    schload_row("nocols", schload_ref_nocols),
    schload_row("nosortcols", schload_full<schload_ri, sch_ref_set_num_sort_cols>),
    schload_row_array("cols", schload_ref_cols),
    schload_row_array("sortcols", schload_ref_sortcols),
};

// A reference ends with its foreign column indexes checked, every one given
// and below 65535, and sch_ref_finalize (which needs the "name": the columns
// are not linked yet, so none can be made up).
ZEL_RETCODE schload_ref(SCHLOAD *sl, B_JSON_T *json) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_object(sl, json, kRefItems));
    const SCHLOAD_REF *r = sl->curr_ref;
    if (r == nullptr) return eBADCAT;
    for (ZEL_COL_INDEX i = 0; i < r->num_colids; ++i)
        if (r->colids[i] >= kNone) return eBADCAT;
    return sch_ref_finalize(r->ri);
}

ZEL_RETCODE schload_tbl_refs(SCHLOAD *sl, B_JSON_T *json) {
    if (schload_ti(sl) == nullptr) return eBADCAT;
    return schload_object_array(sl, json, schload_ref, &sl->curr_ref);
}

// ---- Tables.

ZEL_RETCODE schload_tbl_tabid(SCHLOAD *sl, int64_t v) {
    if (v < 0 || v > 65535) return eRANGE;
    const auto id = static_cast<ZEL_TBL_INDEX>(v);
    if (id >= sl->max_tables) return eRANGE;
    SCH_TBL_INFO ti = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_tbl_create(sl->sch, id, &ti));  // 0 is `_sys_files`: occupied
    sl->curr_table = &sl->tables[id];
    sl->curr_table->ti = ti;
    return sOKAY;
}

// "maxcols": the table's capacity, and the loader's column links beside it.
ZEL_RETCODE schload_tbl_maxcols(SCHLOAD *sl, int64_t v) {
    SCHLOAD_TABLE *t = sl->curr_table;
    if (schload_ti(sl) == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    const auto n = static_cast<ZEL_COL_INDEX>(v);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_tbl_set_max_cols(t->ti, n));
    if (n == 0) return sOKAY;
    SCHLOAD_COL *cols = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(sl->subTag, n * sizeof *cols, &cols));
    for (ZEL_COL_INDEX i = 0; i < n; ++i) cols[i] = {nullptr, kNone, kNone, kNone, kNone};
    t->cols = cols;
    t->num_cols = n;
    return sOKAY;
}

// "maxrefs": the table's reference slots, and the loader's beside them.
ZEL_RETCODE schload_tbl_maxrefs(SCHLOAD *sl, int64_t v) {
    SCHLOAD_TABLE *t = sl->curr_table;
    if (schload_ti(sl) == nullptr) return eBADCAT;
    if (v < 0 || v > 65535) return eRANGE;
    const auto n = static_cast<ZEL_REF_INDEX>(v);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_tbl_set_next_ref(t->ti, n));
    // The setter keeps its slots when it cannot grow them and still succeeds.
    if (t->ti->next_ref != n) return eNOMEMORY;
    if (n == 0) return sOKAY;
    SCHLOAD_REF *refs = nullptr;
    ZEL_CHECK(rc = b_tag_subAlloc(sl->subTag, n * sizeof *refs, &refs));
    for (ZEL_REF_INDEX i = 0; i < n; ++i) refs[i] = {nullptr, kNone, kNone, 0, nullptr};
    t->refs = refs;
    t->num_refs = n;
    return sOKAY;
}

constexpr SCHLOAD_ELEM_ITEM kTableItems[] = {
    schload_row("tabid", schload_tbl_tabid),
    // -1 and 4294967295 mean no drawer.
    schload_row("dwrid", schload_num<schload_ti, sch_tbl_set_drawer, -1, UINT32_MAX>),
    // Deliberate: "dwrid" stands twice; the search takes the first row, so
    // this one is never reached.
    schload_skip("dwrid"),
    schload_row(
        "type",
        schload_word<schload_ti, sch_tbl_set_type, table_type_items, TABLE_TYPE_ITEMS_COUNT>),
    schload_row("name", schload_str<schload_ti, sch_tbl_set_name>),
    schload_row("checkStr", schload_str<schload_ti, sch_tbl_set_check_str>),
    schload_row("checkName", schload_str<schload_ti, sch_tbl_set_check_name>),
    // Unchecked: any number is a row limit.
    schload_row("maxrows", schload_num<schload_ti, sch_tbl_set_max_rows, INT64_MIN, INT64_MAX>),
    schload_row("nocols", schload_full<schload_ti, sch_tbl_set_num_cols>),
    schload_row("nextcol", schload_full<schload_ti, sch_tbl_set_next_col>),
    schload_row("maxcols", schload_tbl_maxcols),
    schload_row("nokeys", schload_full<schload_ti, sch_tbl_set_num_keys>),
    schload_row("nextkey", schload_full<schload_ti, sch_tbl_set_next_key>),
    schload_row("maxkeys", schload_full<schload_ti, sch_tbl_set_max_keys>),
    schload_row("norefs", schload_full<schload_ti, sch_tbl_set_num_refs>),
    schload_row("maxrefs", schload_tbl_maxrefs),
    schload_row_array("columns", schload_tbl_columns),
    schload_row_array("keys", schload_tbl_keys),
    schload_row_array("refs", schload_tbl_refs),
};

ZEL_RETCODE schload_table(SCHLOAD *sl, B_JSON_T *json) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = schload_object(sl, json, kTableItems));
    return sch_tbl_finalize(schload_ti(sl), sl->unicode_enabled);
}

// ---- The database object.

ZEL_RETCODE schload_db_maxtabs(SCHLOAD *sl, int64_t v) {
    if (v < 0 || v > 65535) return eRANGE;
    const auto n = static_cast<ZEL_TBL_INDEX>(v);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_set_max_table(sl->sch, n));  // at least 1: `_sys_files`
    if (n == 0) return sOKAY;
    SCHLOAD_TABLE *tables = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocZero(sl->subTag, n * sizeof *tables, &tables));
    sl->tables = tables;
    sl->max_tables = n;
    return sOKAY;
}

ZEL_RETCODE schload_db_nexttab(SCHLOAD *sl, int64_t v) {
    if (v < 0 || v > 65535) return eRANGE;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_set_next_table(sl->sch, static_cast<ZEL_TBL_INDEX>(v)));
    sl->next_table = static_cast<ZEL_TBL_INDEX>(v);
    return sOKAY;
}

ZEL_RETCODE schload_db_drawers(SCHLOAD *sl, B_JSON_T *json) {
    return schload_object_array(
        sl, json, [](SCHLOAD *s, B_JSON_T *j) { return schload_object(s, j, kDrawerItems); },
        &sl->di);
}

ZEL_RETCODE schload_db_domains(SCHLOAD *sl, B_JSON_T *json) {
    return schload_object_array(
        sl, json,
        [](SCHLOAD *s, B_JSON_T *j) {
            const ZEL_RETCODE rc = schload_object(s, j, kDomainItems);
            s->pi = nullptr;
            return rc;
        },
        &sl->mi);
}

ZEL_RETCODE schload_db_tables(SCHLOAD *sl, B_JSON_T *json) {
    return schload_object_array(sl, json, schload_table, &sl->curr_table);
}

constexpr SCHLOAD_ELEM_ITEM kDatabaseItems[] = {
    schload_row("catver", schload_full<schload_sch, sch_set_catver>),  // stored only
    schload_row("dbver", schload_full<schload_sch, sch_set_dbver>),    // stored only
    schload_row("name", schload_str<schload_sch, sch_set_name>),
    schload_row("locale", schload_str<schload_sch, sch_set_locale>),
    // Kept: five words; "default" is known to sch_encryption_text only.
    schload_row(
        "encryption",
        schload_word<schload_sch, sch_set_encryption, encryption_items, ENCRYPTION_ITEMS_COUNT>),
    schload_row("maxdrawers",
                schload_full<schload_sch, sch_set_max_drawer>),  // at least the 5 built in
    schload_row("nodrawers", schload_full<schload_sch, sch_set_num_drawers>),
    schload_row("nextdrawer",
                schload_full<schload_sch, sch_set_next_drawer>),  // at most maxdrawers
    schload_row("nodoms", schload_full<schload_sch, sch_set_num_domains>),
    schload_row("maxdoms", schload_full<schload_sch, sch_set_next_domain>),
    schload_row("maxtabs", schload_db_maxtabs),
    schload_row("notabs", schload_full<schload_sch, sch_set_num_tables>),
    schload_row("nexttab", schload_db_nexttab),
    schload_row_array("drawers", schload_db_drawers),
    schload_row_array("domains", schload_db_domains),
    schload_row_array("tables", schload_db_tables),
};

// Ninety keys in ten objects, the doubled "dwrid" of a table aside.
static_assert(std::size(kDatabaseItems) + std::size(kDrawerItems) + std::size(kDomainItems) +
                  std::size(kTypeItems) + std::size(kTableItems) - 1 + std::size(kColumnItems) +
                  std::size(kKeyItems) + std::size(kElemItems) + std::size(kRefItems) +
                  std::size(kSortItems) ==
              90);

// ---- The deferred stage.

// A reference's target, key and foreign columns; its own first failure
// stops it.
ZEL_RETCODE schload_link_ref(const SCHLOAD_REF *r) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_ref_set_reftab(r->ri, r->tabid));
    ZEL_CHECK(rc = sch_ref_set_refkey(r->ri, r->keyid));
    for (ZEL_COL_INDEX i = 0; i < r->num_colids; ++i)
        ZEL_CHECK(rc = sch_ref_set_col(r->ri, i, static_cast<ZEL_COL_INDEX>(r->colids[i])));
    ZEL_CHECK(rc = sch_ref_finalize_name(r->ri));
    return sch_ref_finalize_locking(r->ri);
}

// A column's reference and key.
ZEL_RETCODE schload_link_col(const SCHLOAD_COL *c) {
    ZEL_RETCODE rc;
    if (c->refid != kNone) {
        if (c->reftabid == kNone || c->refcolid == kNone) return eBADCAT;
        ZEL_CHECK(rc = sch_col_set_ref(c->ci, c->refid));
        ZEL_CHECK(rc = sch_col_set_reftab(c->ci, c->reftabid));
        ZEL_CHECK(rc = sch_col_set_refcol(c->ci, c->refcolid));
    }
    if (c->keyid != kNone) ZEL_CHECK(rc = sch_col_set_key(c->ci, c->keyid));
    return sOKAY;
}

// Offsets from 1, then each table's references and columns; codes as they
// are. The slots are those below the loader's next_table that its array
// holds.
ZEL_RETCODE schload_finalize(SCHLOAD *sl) {
    const ZEL_TBL_INDEX slots = sl->next_table < sl->max_tables ? sl->next_table : sl->max_tables;
    ZEL_TBL_INDEX offset = 1;
    ZEL_RETCODE rc;
    for (ZEL_TBL_INDEX i = 0; i < slots; ++i) {
        const SCHLOAD_TABLE *t = &sl->tables[i];
        if (t->ti == nullptr) continue;
        ZEL_CHECK(rc = sch_tbl_set_offset(t->ti, offset++));
        // Kept: a failing reference does not stop the loop, and only the
        // last reference's result is looked at, so an earlier failure can go
        // unreported.
        ZEL_RETCODE refs = sOKAY;
        for (ZEL_REF_INDEX r = 0; r < t->num_refs; ++r)
            if (t->refs[r].ri != nullptr) refs = schload_link_ref(&t->refs[r]);
        ZEL_CHECK(refs);
        for (ZEL_COL_INDEX c = 0; c < t->num_cols; ++c)
            if (t->cols[c].ci != nullptr) ZEL_CHECK(rc = schload_link_col(&t->cols[c]));
    }
    sch_calc_num_refs(sl->sch);
    return sOKAY;
}

void schload_free(SCHLOAD *sl) {
    B_TAG_SUB tag = sl->subTag;
    for (ZEL_TBL_INDEX i = 0; sl->tables != nullptr && i < sl->max_tables; ++i) {
        SCHLOAD_TABLE *t = &sl->tables[i];
        for (ZEL_REF_INDEX r = 0; r < t->num_refs; ++r)
            b_tag_subFreeCanBeNull(tag, t->refs[r].colids);
        b_tag_subFreeCanBeNull(tag, t->refs);
        b_tag_subFreeCanBeNull(tag, t->cols);
    }
    b_tag_subFreeCanBeNull(tag, sl->tables);
    sl->tables = nullptr;
    sl->max_tables = 0;
}

// The document's shape, the walk of the database object and the deferred
// stage. A syntax error before the database object is eSYNTAX.
ZEL_RETCODE schload_read_json(SCHLOAD *sl, B_INPUT_T *obj, B_TAG_STACK stackTag) {
    B_JSON_T json;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_jsonInit(&json, obj, sl->subTag, stackTag));
    B_JSON_VALTYPE top = jvNOVAL;
    B_JSON_PAIR pair{};
    if ((rc = b_jsonNextValue(&json, &top, nullptr)) == sOKAY && top != jvOBJECT) rc = eBADCAT;
    if (rc == sOKAY && (rc = b_jsonNextPair(&json, nullptr, &pair)) == sOKAY &&
        (pair.value.type != jvOBJECT || psp_strcasecmp(pair.name, "database") != 0))
        rc = eBADCAT;
    b_jsonFreePair(&json, &pair);
    // Kept: nothing after the database object is read.
    if (rc == sOKAY) rc = schload_object(sl, &json, kDatabaseItems);
    if (rc == sOKAY) rc = schload_finalize(sl);
    schload_free(sl);
    b_jsonTerm(&json);
    return rc;
}

}  // namespace

ZEL_RETCODE sch_read_database_schema(SCH_INFO *psch, SCHLOAD *pschload, B_INPUT_T *obj,
                                     B_TAG_MASTER masterTag) {
    if (psch == nullptr || pschload == nullptr || obj == nullptr || masterTag == nullptr ||
        pschload->subTag == nullptr)
        return eINVNULLARG;
    SCHLOAD &sl = *pschload;
    const ZEL_BOOL_T unicode = sl.unicode_enabled;
    B_TAG_SUB tag = sl.subTag;
    std::memset(&sl, 0, sizeof sl);
    sl.unicode_enabled = unicode;
    sl.subTag = tag;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_create(&sl.sch, tag));
    B_TAG_STACK stackTag = nullptr;
    if ((rc = b_tag_stackCreate(masterTag, kStackBytes, kStackBytes, &stackTag)) == sOKAY) {
        rc = schload_read_json(&sl, obj, stackTag);
        b_tag_stackDestroy(stackTag);
    }
    if (rc != sOKAY) {
        sch_destroy(sl.sch);
        sl.sch = nullptr;
        return rc;
    }
    *psch = sl.sch;
    return sOKAY;
}

ZEL_RETCODE sch_read_database_schema_buffer(SCH_INFO *psch, const char *buffer,
                                            ZEL_BOOL_T unicode_enabled, B_TAG_SUB subTag,
                                            B_TAG_MASTER masterTag) {
    if (buffer == nullptr) return eINVNULLARG;
    B_INPUT_T in;
    b_inputInitFromMemory(&in, buffer, std::strlen(buffer) + 1, subTag);
    SCHLOAD sl{};
    sl.unicode_enabled = unicode_enabled;
    sl.subTag = subTag;
    return sch_read_database_schema(psch, &sl, &in, masterTag);
}

ZEL_RETCODE sch_read_database_schema_file(SCH_INFO *psch, B_FILE_T *pFile,
                                          ZEL_BOOL_T unicode_enabled, B_TAG_SUB subTag,
                                          B_TAG_MASTER masterTag) {
    if (pFile == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_fgetState(pFile));
    B_INPUT_T in;
    b_inputInitFromFile(&in, pFile, subTag);
    SCHLOAD sl{};
    sl.unicode_enabled = unicode_enabled;
    sl.subTag = subTag;
    return sch_read_database_schema(psch, &sl, &in, masterTag);
}

const char *sch_get_drawer_type_string(ZEL_DRAWER_TYPE type) {
    return sch_word_text(drawer_type_items, DRAWER_TYPE_ITEMS_COUNT, type);
}

const char *sch_get_item_format_string(ZEL_ITEM_FORMAT format) {
    return sch_word_text(item_format_items, ITEM_FORMAT_ITEMS_COUNT, format);
}
