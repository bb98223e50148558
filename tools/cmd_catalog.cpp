// `zelbase catalog FILE [--json] [--narrow]` loads a database's JSON catalogue
// from FILE and prints what the loader built: drawers, domains, tables with
// their offset and row size, columns (type, place in the row, has-value
// byte, links), keys and references; or the code of the failure, by name and
// message. With --json it writes the catalogue back as the canonical text,
// which loads again to a union-compatible catalogue. The other subcommands
// that read a catalogue take one with --catalog through zb_catalog_open.
#include <cstdio>
#include <cstring>
#include <string>

#include "catalog_json.h"
#include "error.h"
#include "file.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_load.h"
#include "zelbase_cmds.h"

int zb_cmd_catalog(int argc, char **argv);

namespace {

// "varchar(81)", "decimal(12,2)", "int32[4]", "timestamp(3)".
std::string zb_catalog_type(SCH_TYPE_INFO_C pi) {
    const char *w = sch_type_catalog_text(pi->type);
    std::string s = w ? w : "type " + std::to_string(pi->type);
    const int f = ZEL_TYPE_FAMILY(pi->type);
    const bool lob = (pi->type & ZEL_TYPE_LOB_BIT) != 0;
    if ((f == ZEL_FAMILY_CHAR || f == ZEL_FAMILY_BINARY) && !lob)
        s += "(" + std::to_string(pi->x.c.len) + ")";
    if (f == ZEL_FAMILY_DECIMAL)
        s += "(" + std::to_string(pi->x.d.prec) + "," + std::to_string(pi->x.d.scale) + ")";
    if (f == ZEL_FAMILY_DATETIME && pi->type != ZEL_DATE && pi->x.t.prec)
        s += "(" + std::to_string(pi->x.t.prec) + ")";
    if (pi->elems) s += "[" + std::to_string(pi->elems) + "]";
    return s;
}

const char *zb_catalog_or(const char *s) {
    return s ? s : "-";
}

std::string zb_catalog_elems(SCH_KEY_INFO_C ki) {
    std::string s;
    for (ZEL_COL_INDEX i = 0; i < sch_key_num_elems(ki); ++i) {
        SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, i);
        s += std::string(i ? ", " : "") + zb_catalog_or(sch_col_name(sch_elem_col(ei))) + " " +
             zb_catalog_or(sch_elem_dir_text(ei));
    }
    return s;
}

void zb_catalog_table(FILE *out, SCH_TBL_INFO_C ti) {
    const ZEL_ROW_BUFFER_INFO &bi = ti->bufferInfo;
    std::fprintf(out, "table %u %s: offset %u, %s, row %u bytes (has-value bytes from %u), ",
                 ti->ndx, zb_catalog_or(ti->name), ti->offset, zb_catalog_or(sch_tbl_type_text(ti)),
                 sch_tbl_byte_len(ti), sch_tbl_has_value_offset(ti));
    std::fprintf(out, "row buffer %zu bytes, drawer %s\n", bi.row_buffer_size,
                 ti->drawer ? std::to_string(ti->drawer->ndx).c_str() : "none");
    std::fprintf(out, "  %5s  %-16s %-18s %6s %6s  %s\n", "col", "name", "type", "ptr", "hvo",
                 "links");
    for (auto ci = sch_iterate_cols(ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols(ti, ci, ZEL_FORWARD)) {
        std::string links;
        auto add = [&](const std::string &s) { links += (links.empty() ? "" : "; ") + s; };
        if (ci->not_null) add("not null");
        if (ci->domain) add("domain " + std::string(zb_catalog_or(ci->domain->name)));
        if (ci->key) add("key " + std::string(zb_catalog_or(sch_key_name(ci->key))));
        if (ci->ref)
            add("reference " + std::string(zb_catalog_or(sch_ref_name(ci->ref))) + " to " +
                zb_catalog_or(sch_tbl_name(ci->reftab)) + "." +
                zb_catalog_or(sch_col_name(ci->refcol)));
        if (ci->drawer) add("blob drawer " + std::to_string(ci->drawer->ndx));
        if (ci->defstr) add("default '" + std::string(ci->defstr) + "'");
        const std::string hvo = ci->has_value_off ? std::to_string(ci->has_value_off) : "-";
        std::fprintf(out, "  %5u  %-16s %-18s %6u %6s  %s\n", ci->ndx, zb_catalog_or(ci->name),
                     zb_catalog_type(sch_col_type_c(ci)).c_str(), ci->ptr, hvo.c_str(),
                     links.c_str());
    }
    for (auto ki = sch_iterate_keys(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_keys(ti, ki, ZEL_FORWARD))
        std::fprintf(out, "  key %u %s: %s %s%s, drawer %s: %s\n", ki->ndx, zb_catalog_or(ki->name),
                     zb_catalog_or(sch_key_type_text(ki)), zb_catalog_or(sch_key_method_text(ki)),
                     ki->inline_key ? " (inline)" : "",
                     ki->drawer ? std::to_string(ki->drawer->ndx).c_str() : "none",
                     zb_catalog_elems(ki).c_str());
    for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
         ri = sch_iterate_refs(ti, ri, ZEL_FORWARD)) {
        std::string cols, sort;
        for (ZEL_COL_INDEX i = 0; i < sch_ref_num_cols(ri); ++i)
            cols += std::string(i ? ", " : "") + zb_catalog_or(sch_col_name(sch_ref_col(ri, i)));
        for (ZEL_COL_INDEX i = 0; i < sch_ref_num_sort_cols(ri); ++i)
            sort += std::string(i ? ", " : "") +
                    zb_catalog_or(sch_col_name(sch_ref_sort_col(ri, i))) + " " +
                    zb_catalog_or(sch_sort_dir_text(sch_ref_sort(const_cast<SCH_REF_INFO>(ri), i)));
        std::fprintf(
            out,
            "  reference %u %s: (%s) to %s key %s; sorted by %s; on update %s, "
            "on delete %s; drawer %s\n",
            ri->ndx, zb_catalog_or(ri->name), cols.c_str(), zb_catalog_or(sch_tbl_name(ri->reftab)),
            zb_catalog_or(sch_key_name(ri->refkey)), sort.empty() ? "nothing" : sort.c_str(),
            zb_catalog_or(sch_ref_on_update_text(ri)), zb_catalog_or(sch_ref_on_delete_text(ri)),
            ri->drawer ? std::to_string(ri->drawer->ndx).c_str() : "none");
    }
}

}  // namespace

std::string zb_catalog_code(ZEL_RETCODE rc) {
    const char *msg = nullptr, *name = nullptr;
    if (zelErrorCodeDef(rc, &msg, &name) != sOKAY) return "code " + std::to_string(rc);
    return std::string(name) + ": " + msg;
}

ZEL_RETCODE zb_catalog_load(const char *path, bool unicode, const ZbTags &tags, SCH_INFO *psch) {
    B_FILE_T f;
    b_fileInit(&f);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_fileOpen(&f, path, B_FILE_FLAGS_READ));
    rc = sch_read_database_schema_file(psch, &f, unicode ? ZEL_TRUE : ZEL_FALSE, tags.sub,
                                       tags.master);
    b_fileClose(&f);
    return rc;
}

ZEL_RETCODE zb_catalog_open(const char *path, const ZbTags &tags, SCH_INFO *psch) {
    if (path == nullptr) return zb_row_catalog(tags.sub, psch);
    const ZEL_RETCODE rc = zb_catalog_load(path, true, tags, psch);
    if (rc != sOKAY)
        std::fprintf(stderr, "error: cannot load the catalogue %s: %s\n", path,
                     zb_catalog_code(rc).c_str());
    return rc;
}

void zb_catalog_print(FILE *out, SCH_INFO_C sch) {
    std::fprintf(out,
                 "catalogue %s: tables %u, drawers %u (%u of the user), domains %u, "
                 "references %u, catver %u, dbver %u, encryption %s, locale %s\n",
                 zb_catalog_or(sch->name), sch_num_user_tables(sch), sch->num_drawers,
                 sch_num_user_drawers(sch), sch->num_domains, sch->num_refs, sch->catver,
                 sch->dbver, zb_catalog_or(sch_encryption_text(sch->encryption)),
                 zb_catalog_or(sch->locale_text));
    if (sch_iterate_user_drawers(sch, nullptr, ZEL_FORWARD))
        std::fprintf(out, "  %6s  %-6s %6s %6s  %s\n", "drawer", "type", "table", "item", "serves");
    for (auto di = sch_iterate_user_drawers(sch, nullptr, ZEL_FORWARD); di;
         di = sch_iterate_user_drawers(sch, di, ZEL_FORWARD)) {
        std::string serves = "nothing";
        if (SCH_TBL_INFO ti = sch_drawer_table(di))
            serves = "table " + std::string(zb_catalog_or(ti->name));
        if (SCH_KEY_INFO ki = sch_drawer_key(di))
            serves = "key " + std::string(zb_catalog_or(ki->name));
        if (SCH_REF_INFO ri = sch_drawer_ref(di))
            serves = "reference " + std::string(zb_catalog_or(ri->name));
        if (SCH_COL_INFO ci = sch_drawer_blob_col(di))
            serves = "column " + std::string(zb_catalog_or(sch_tbl_name(ci->table))) + "." +
                     zb_catalog_or(ci->name);
        std::fprintf(out, "  %6u  %-6s %6u %6u  %s\n", di->ndx,
                     zb_catalog_or(sch_get_drawer_type_string(di->type)), di->src_tblid, di->src_id,
                     serves.c_str());
    }
    for (auto mi = sch_iterate_domains(sch, nullptr, ZEL_FORWARD); mi;
         mi = sch_iterate_domains(sch, mi, ZEL_FORWARD))
        std::fprintf(out, "domain %u %s: %s%s%s\n", mi->ndx, zb_catalog_or(mi->name),
                     zb_catalog_type(&mi->type).c_str(), mi->defstr ? ", default " : "",
                     mi->defstr ? mi->defstr : "");
    for (auto ti = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(sch, ti, ZEL_FORWARD))
        zb_catalog_table(out, ti);
}

int zb_cmd_catalog(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"j", "json", nullptr, "Write the catalogue back as its canonical JSON text"},
        {"n", "narrow", nullptr,
         "Read \"wchar\" and \"wvarchar\" as their UTF-8 forms (unicode off)"},
        {"F", nullptr, "#:FILE", "The catalogue's JSON text"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Loads a database's JSON catalogue and prints what the loader "
                              "built: drawers,\ndomains, tables with their offsets and row sizes, "
                              "columns, keys and references;\nor the code of the failure.",
                              opts);
        code != kZbGoOn)
        return code;
    bool json = false, narrow = false;
    const char *path = nullptr, *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (!std::strcmp(name, "json"))
            json = true;
        else if (!std::strcmp(name, "narrow"))
            narrow = true;
        else
            path = arg;
    }
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    const ZEL_RETCODE rc = zb_catalog_load(path, !narrow, tags, &sch);
    if (rc != sOKAY) {
        std::fflush(stdout);
        std::fprintf(stderr, "zelbase catalog: %s\n", zb_catalog_code(rc).c_str());
        return 1;
    }
    if (json)
        std::fputs(zb_catalog::write(sch).c_str(), stdout);
    else
        zb_catalog_print(stdout, sch);
    sch_destroy(sch);
    return 0;
}
