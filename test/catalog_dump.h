// catalog_dump.h - a loaded catalogue as text, one line per item, read
// through the accessors: the form test/data/gen_catalogs.py writes as the
// expected result of each of its catalogues.
#ifndef CATALOG_DUMP_H
#define CATALOG_DUMP_H

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "schema.h"

inline std::string cd_fmt(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
inline std::string cd_fmt(const char *fmt, ...) {
    char buf[1024];
    va_list ap;
    va_start(ap, fmt);
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    va_end(ap);
    return buf;
}

inline std::string cd_or(const char *s) {
    return s != nullptr && *s != '\0' ? s : "-";
}

// A JSON string, as Python's json.dumps writes an ASCII one.
inline std::string cd_quote(const char *s) {
    std::string q = "\"";
    for (; *s != '\0'; ++s) {
        if (*s == '"' || *s == '\\') q += '\\';
        q += *s;
    }
    return q + "\"";
}

inline std::string cd_type(SCH_TYPE_INFO_C pi) {
    const ZEL_TYPE t = pi->type;
    const int f = ZEL_TYPE_FAMILY(t);
    std::string size = "-";
    if (f == ZEL_FAMILY_CHAR && !(t & ZEL_TYPE_LOB_BIT)) size = std::to_string(pi->x.c.len);
    if (f == ZEL_FAMILY_BINARY && !(t & ZEL_TYPE_LOB_BIT)) size = std::to_string(pi->x.b.len);
    if (f == ZEL_FAMILY_DECIMAL) size = cd_fmt("%u.%u", pi->x.d.prec, pi->x.d.scale);
    if (f == ZEL_FAMILY_DATETIME && t != ZEL_DATE) size = std::to_string(pi->x.t.prec);
    const std::string check =
        pi->check_str ? std::string(pi->check_str) + "|" + cd_or(pi->check_name) : "-";
    return cd_fmt("type=%d elems=%u size=%s check=%s", t, pi->elems, size.c_str(), check.c_str());
}

inline std::string cd_def(const ZEL_VALUE &def, const char *defstr) {
    return (defstr ? "def=" + cd_quote(defstr) : std::string("def=-")) +
           cd_fmt(" st=%d", def.status);
}

inline std::string cd_drawer(SCH_DRAWER_INFO_C di) {
    return di ? std::to_string(di->ndx) : "-";
}

inline std::vector<std::string> cd_dump(SCH_INFO sch) {
    std::vector<std::string> out;
    out.push_back(cd_fmt(
        "db name=%s locale=%s catver=%u dbver=%u enc=%d drawers=%u,%u,%u domains=%u,%u "
        "tables=%u,%u,%u refs=%u",
        cd_or(sch->name).c_str(), cd_or(sch->locale_text).c_str(), sch->catver, sch->dbver,
        sch->encryption, sch->max_drawer, sch->num_drawers, sch->next_drawer, sch->num_domains,
        sch->next_domain, sch->max_table, sch->num_tables, sch->next_table, sch->num_refs));
    for (auto di = sch_iterate_user_drawers(sch, nullptr, ZEL_FORWARD); di;
         di = sch_iterate_user_drawers(sch, di, ZEL_FORWARD)) {
        std::string serves = "-";
        switch (di->type) {
            case ZEL_DRAWER_TABLE:
                if (di->obj.ti) serves = std::to_string(di->obj.ti->ndx);
                break;
            case ZEL_DRAWER_REF:
                if (di->obj.ri) serves = cd_fmt("%u.%u", di->obj.ri->table->ndx, di->obj.ri->ndx);
                break;
            case ZEL_DRAWER_BLOB:
                if (di->obj.ci) serves = cd_fmt("%u.%u", di->obj.ci->table->ndx, di->obj.ci->ndx);
                break;
            default:
                if (di->obj.ki) serves = cd_fmt("%u.%u", di->obj.ki->table->ndx, di->obj.ki->ndx);
        }
        out.push_back(cd_fmt("drawer %u type=%d src=%u,%u serves=%s pos=%u", di->ndx, di->type,
                             di->src_tblid, di->src_id, serves.c_str(), di->tbl_ndx));
    }
    for (auto mi = sch_iterate_domains(sch, nullptr, ZEL_FORWARD); mi;
         mi = sch_iterate_domains(sch, mi, ZEL_FORWARD))
        out.push_back(cd_fmt("domain %u name=%s %s width=%u format=%s %s", mi->ndx,
                             cd_or(mi->name).c_str(), cd_type(&mi->type).c_str(), mi->width,
                             cd_or(mi->format).c_str(), cd_def(mi->def, mi->defstr).c_str()));
    for (auto ti = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(sch, ti, ZEL_FORWARD)) {
        std::string drawers;
        for (ZEL_DRAWER i = 0; i < ti->num_drawers; ++i)
            drawers += (i ? "," : "") + std::to_string(ti->drawers[i]->ndx);
        const std::string check =
            ti->check_str ? std::string(ti->check_str) + "|" + cd_or(ti->check_name) : "-";
        out.push_back(cd_fmt(
            "table %u name=%s offset=%u type=%d drawer=%s maxrows=%llu cols=%u,%u,%u "
            "keys=%u,%u,%u refs=%u,%u pkey=%s avls=%u,%u byte_len=%u hvo=%u drawers=%s check=%s",
            ti->ndx, cd_or(ti->name).c_str(), ti->offset, ti->type, cd_drawer(ti->drawer).c_str(),
            static_cast<unsigned long long>(ti->max_rows), ti->num_cols, ti->next_col, ti->max_col,
            ti->num_keys, ti->next_key, ti->max_keys, ti->num_refs, ti->next_ref,
            ti->pkey ? std::to_string(ti->pkey->ndx).c_str() : "-", ti->num_avls, ti->next_avl,
            ti->byte_len, ti->has_value_off, drawers.empty() ? "-" : drawers.c_str(),
            check.c_str()));
        for (auto ci = sch_iterate_cols(ti, nullptr, ZEL_FORWARD); ci;
             ci = sch_iterate_cols(ti, ci, ZEL_FORWARD)) {
            const std::string ref = ci->ref ? cd_fmt("%u reftab=%u refcol=%u", ci->ref->ndx,
                                                     ci->reftab ? ci->reftab->ndx : 65535u,
                                                     ci->refcol ? ci->refcol->ndx : 65535u)
                                            : "-";
            out.push_back(cd_fmt(
                "col %u.%u name=%s %s domain=%s notnull=%d cname=%s width=%u format=%s %s "
                "keyid=%s key=%s usage=%u ptr=%u hvo=%u drawer=%s ref=%s",
                ti->ndx, ci->ndx, cd_or(ci->name).c_str(), cd_type(sch_col_type_c(ci)).c_str(),
                ci->domain ? std::to_string(ci->domain->ndx).c_str() : "-", ci->not_null,
                cd_or(ci->not_null_cname).c_str(), ci->width, cd_or(ci->format).c_str(),
                cd_def(ci->def, ci->defstr).c_str(),
                ci->keyid != ZEL_NO_INDEX ? std::to_string(ci->keyid).c_str() : "-",
                ci->key ? std::to_string(ci->key->ndx).c_str() : "-", ci->usage, ci->ptr,
                ci->has_value_off, cd_drawer(ci->drawer).c_str(), ref.c_str()));
        }
        for (auto ki = sch_iterate_keys(ti, nullptr, ZEL_FORWARD); ki;
             ki = sch_iterate_keys(ti, ki, ZEL_FORWARD)) {
            std::string elems;
            for (ZEL_COL_INDEX i = 0; i < ki->num_elems; ++i)
                elems += cd_fmt("%s%u%s", i ? "," : "", ki->elems[i].col->ndx,
                                ki->elems[i].dir == ZEL_FORWARD ? "+" : "-");
            out.push_back(cd_fmt(
                "key %u.%u name=%s type=%d method=%d restr=%d refcount=%u drawer=%s inline=%d "
                "avl=%u elems=%s",
                ti->ndx, ki->ndx, cd_or(ki->name).c_str(), ki->type, ki->method, ki->restr,
                ki->refcount, cd_drawer(ki->drawer).c_str(), ki->inline_key, ki->avl_ndx,
                elems.c_str()));
        }
        for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
             ri = sch_iterate_refs(ti, ri, ZEL_FORWARD)) {
            std::string cols, sort;
            for (ZEL_COL_INDEX i = 0; i < ri->num_cols; ++i)
                cols += cd_fmt("%s%u", i ? "," : "", ri->cols[i] ? ri->cols[i]->ndx : 65535u);
            for (ZEL_COL_INDEX i = 0; i < ri->num_sort_cols; ++i)
                sort += cd_fmt("%s%u%s", i ? "," : "", ri->sort_cols[i].col->ndx,
                               ri->sort_cols[i].order == ZEL_FORWARD ? "+" : "-");
            out.push_back(cd_fmt(
                "ref %u.%u name=%s reftab=%u refkey=%u drawer=%s upd=%d del=%d cols=%s sort=%s "
                "write=%d",
                ti->ndx, ri->ndx, cd_or(ri->name).c_str(), ri->reftab ? ri->reftab->ndx : 65535u,
                ri->refkey ? ri->refkey->ndx : 65535u, cd_drawer(ri->drawer).c_str(), ri->on_update,
                ri->on_delete, cols.c_str(), sort.empty() ? "-" : sort.c_str(),
                ri->requires_write));
        }
    }
    return out;
}

#endif
