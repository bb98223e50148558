// catalog_json.h - a catalogue written back as the JSON text the loader reads:
// every object's keys in the order a load needs, strict JSON, one table, key
// and reference per line. A catalogue the loader built comes back from this
// text union-compatible; `zelbase catalog --json` and the loader's fuzz
// target (its round trip) use it.
#ifndef CATALOG_JSON_H
#define CATALOG_JSON_H

#include <cinttypes>
#include <cstdio>
#include <string>

#include "schema.h"
#include "schema_load.h"
#include "schema_words.h"

namespace zb_catalog {

// A JSON string of the bytes as they stand: the loader's strings take any
// byte but the quote, the backslash and 0.
inline void str(std::string *out, const char *s) {
    *out += '"';
    for (; *s != '\0'; ++s) {
        if (*s == '"' || *s == '\\') *out += '\\';
        *out += *s;
    }
    *out += '"';
}

inline void key(std::string *out, const char *name) {
    if (out->back() != '{') *out += ',';
    str(out, name);
    *out += ':';
}

inline void num(std::string *out, const char *name, long long v) {
    key(out, name);
    *out += std::to_string(v);
}

inline void text(std::string *out, const char *name, const char *v) {
    if (v == nullptr) return;
    key(out, name);
    str(out, v);
}

inline void word(std::string *out, const char *name, const SCH_WORD_ITEM *items, size_t n,
                 int32_t v) {
    text(out, name, sch_word_text(items, n, v));
}

inline void type(std::string *out, SCH_TYPE_INFO_C pi) {
    key(out, "type");
    *out += '{';
    text(out, "data_type", sch_type_catalog_text(pi->type));
    const int f = ZEL_TYPE_FAMILY(pi->type);
    const bool lob = (pi->type & ZEL_TYPE_LOB_BIT) != 0;
    if (pi->elems) num(out, "noelts", pi->elems);
    if ((f == ZEL_FAMILY_CHAR || f == ZEL_FAMILY_BINARY) && !lob) num(out, "length", pi->x.c.len);
    if (f == ZEL_FAMILY_DECIMAL) {
        num(out, "length", pi->x.d.prec);
        num(out, "scale", pi->x.d.scale);
    }
    if (f == ZEL_FAMILY_DATETIME && pi->type != ZEL_DATE && pi->x.t.prec)
        num(out, "length", pi->x.t.prec);
    text(out, "checkStr", pi->check_str);
    text(out, "checkName", pi->check_name);
    *out += '}';
}

inline void def(std::string *out, const ZEL_VALUE &def, const char *defstr) {
    if (defstr != nullptr) {
        text(out, "defValue", defstr);
    } else if (def.status == vsNULL) {
        key(out, "defNull");
        *out += "true";
    }
}

inline void column(std::string *out, SCH_COL_INFO_C ci) {
    *out += "\n    {";
    num(out, "colid", ci->ndx);
    text(out, "name", ci->name);
    if (ci->domain != nullptr) {
        text(out, "domid", std::to_string(ci->domain->ndx).c_str());
    } else {
        type(out, &ci->type);
    }
    if (ci->drawer != nullptr) num(out, "dwrid", ci->drawer->ndx);
    if (ci->keyid != ZEL_NO_INDEX) num(out, "keyid", ci->keyid);
    if (ci->ref != nullptr && ci->reftab != nullptr && ci->refcol != nullptr) {
        num(out, "refid", ci->ref->ndx);
        text(out, "r_tabid", std::to_string(ci->reftab->ndx).c_str());
        text(out, "r_colid", std::to_string(ci->refcol->ndx).c_str());
    }
    num(out, "usage", ci->usage);
    if (ci->not_null) text(out, "not_null", ci->not_null_cname ? ci->not_null_cname : "");
    if (ci->width) num(out, "width", ci->width);
    text(out, "format", ci->format);
    def(out, ci->def, ci->defstr);
    *out += '}';
}

// Key elements or sort columns: "colid" as a string of digits, and "order".
template <class E>
inline void elems(std::string *out, const char *name, const E *items, ZEL_COL_INDEX n,
                  ZEL_DIRECTION E::*dir) {
    key(out, name);
    *out += '[';
    for (ZEL_COL_INDEX i = 0; i < n; ++i) {
        *out += i ? ",{" : "{";
        if (items[i].col != nullptr) text(out, "colid", std::to_string(items[i].col->ndx).c_str());
        word(out, "order", direction_items, DIRECTION_ITEMS_COUNT, items[i].*dir);
        *out += '}';
    }
    *out += ']';
}

inline void key_obj(std::string *out, SCH_KEY_INFO_C ki) {
    *out += "\n    {";
    num(out, "keyid", ki->ndx);
    num(out, "dwrid", ki->drawer ? static_cast<long long>(ki->drawer->ndx) : -1);
    if (!ki->inline_key) text(out, "name", ki->name);  // an inline key's is made again
    word(out, "type", key_type_items, KEY_TYPE_ITEMS_COUNT, ki->type);
    word(out, "method", key_method_items, KEY_METHOD_ITEMS_COUNT, ki->method);
    key(out, "restrict");
    *out += ki->restr ? "true" : "false";
    num(out, "refcount", ki->refcount);
    num(out, "nocols", ki->num_elems);
    elems(out, "cols", ki->elems, ki->num_elems, &SCH_ELEM_INFO_S::dir);
    *out += '}';
}

// A reference whose linking failed unreported (a target that is not there,
// while a later reference of the table linked) keeps no foreign columns here.
inline void ref_obj(std::string *out, SCH_REF_INFO_C ri) {
    bool linked = true;
    for (ZEL_COL_INDEX i = 0; i < ri->num_cols; ++i) linked = linked && ri->cols[i] != nullptr;
    const ZEL_COL_INDEX ncols = linked ? ri->num_cols : 0;
    *out += "\n    {";
    num(out, "refid", ri->ndx);
    if (ri->drawer) num(out, "dwrid", ri->drawer->ndx);
    text(out, "name", ri->name);
    if (ri->reftab) text(out, "otabid", std::to_string(ri->reftab->ndx).c_str());
    if (ri->refkey) text(out, "pkeyid", std::to_string(ri->refkey->ndx).c_str());
    word(out, "on_upd", ref_action_items, REF_ACTION_ITEMS_COUNT, ri->on_update);
    word(out, "on_del", ref_action_items, REF_ACTION_ITEMS_COUNT, ri->on_delete);
    num(out, "nocols", ncols);
    num(out, "nosortcols", ri->num_sort_cols);
    key(out, "cols");
    *out += '[';
    for (ZEL_COL_INDEX i = 0; i < ncols; ++i) {
        if (i) *out += ',';
        str(out, std::to_string(ri->cols[i]->ndx).c_str());
    }
    *out += ']';
    elems(out, "sortcols", ri->sort_cols, ri->num_sort_cols, &SCH_SORT_INFO_S::order);
    *out += '}';
}

inline void table(std::string *out, SCH_TBL_INFO_C ti) {
    *out += "\n  {";
    num(out, "tabid", ti->ndx);
    num(out, "dwrid", ti->drawer ? static_cast<long long>(ti->drawer->ndx) : -1);
    word(out, "type", table_type_items, TABLE_TYPE_ITEMS_COUNT, ti->type);
    text(out, "name", ti->name);
    text(out, "checkStr", ti->check_str);
    text(out, "checkName", ti->check_name);
    key(out, "maxrows");
    *out += std::to_string(ti->max_rows);
    num(out, "nocols", ti->num_cols);
    num(out, "nextcol", ti->next_col);
    num(out, "maxcols", ti->max_col);
    num(out, "nokeys", ti->num_keys);
    num(out, "nextkey", ti->next_key);
    num(out, "maxkeys", ti->max_keys);
    num(out, "norefs", ti->num_refs);
    num(out, "maxrefs", ti->next_ref);
    key(out, "columns");
    *out += '[';
    for (ZEL_COL_INDEX i = 0; i < ti->max_col; ++i)
        if (ti->cols[i] != nullptr) {
            if (out->back() != '[') *out += ',';
            column(out, ti->cols[i]);
        }
    *out += "],\"keys\":[";
    for (ZEL_KEY_INDEX i = 0; i < ti->max_keys; ++i)
        if (ti->keys[i] != nullptr) {
            if (out->back() != '[') *out += ',';
            key_obj(out, ti->keys[i]);
        }
    *out += "],\"refs\":[";
    for (ZEL_REF_INDEX i = 0; i < ti->next_ref; ++i)
        if (ti->refs[i] != nullptr) {
            if (out->back() != '[') *out += ',';
            ref_obj(out, ti->refs[i]);
        }
    *out += "]}";
}

// The whole catalogue.
inline std::string write(SCH_INFO_C sch) {
    std::string out = "{\"database\":{";
    num(&out, "catver", sch->catver);
    num(&out, "dbver", sch->dbver);
    text(&out, "name", sch->name);
    text(&out, "locale", sch->locale_text);
    word(&out, "encryption", encryption_items, ENCRYPTION_ITEMS_COUNT, sch->encryption);
    num(&out, "maxdrawers", sch->max_drawer);
    num(&out, "nodrawers", sch->num_drawers);
    num(&out, "nextdrawer", sch->next_drawer);
    num(&out, "nodoms", sch->num_domains);
    num(&out, "maxdoms", sch->next_domain);
    num(&out, "maxtabs", sch->max_table);
    num(&out, "notabs", sch->num_tables);
    num(&out, "nexttab", sch->next_table);
    key(&out, "drawers");
    out += '[';
    // The array itself, not the iterator: a drawer may be created at number
    // next_drawer, one past where the iterator stops, and is still the
    // catalogue's (a key's drawer, say).
    for (ZEL_DRAWER d = SCH_FIRST_USER_DRAWER; d < sch->max_drawer; ++d) {
        const SCH_DRAWER_INFO di = sch->drawers[d];
        if (di == nullptr) continue;
        out += out.back() == '[' ? "\n  {" : ",\n  {";
        num(&out, "dwrid", di->ndx);
        text(&out, "tabid", std::to_string(di->src_tblid).c_str());
        num(&out, "srcid", di->src_id);
        text(&out, "type", sch_get_drawer_type_string(di->type));
        out += '}';
    }
    out += "],\"domains\":[";
    for (auto mi = sch_iterate_domains(sch, nullptr, ZEL_FORWARD); mi;
         mi = sch_iterate_domains(sch, mi, ZEL_FORWARD)) {
        out += out.back() == '[' ? "\n  {" : ",\n  {";
        num(&out, "domid", mi->ndx);
        text(&out, "name", mi->name);
        type(&out, &mi->type);
        if (mi->width) num(&out, "width", mi->width);
        text(&out, "format", mi->format);
        def(&out, mi->def, mi->defstr);
        out += '}';
    }
    out += "],\"tables\":[";
    for (auto ti = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(sch, ti, ZEL_FORWARD)) {
        if (out.back() != '[') out += ',';
        table(&out, ti);
    }
    out += "]}}\n";
    return out;
}

}  // namespace zb_catalog

#endif
