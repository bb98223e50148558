// The JSON catalogue section of `zelbase demo`: a small catalogue text (two
// tables, a reference from one to the other, a domain and a large object)
// loaded and printed as the loader built it, then three texts it refuses and
// the code of each.
#include <cstdio>

#include "schema_build.h"
#include "schema_load.h"
#include "zelbase_cmds.h"

int zb_demo_schema_load(FILE *out);

namespace {

// The keys of each object come in the order a load needs: the creating key
// first, counts before the arrays they size, columns before keys and keys
// before references.
const char *kZbDemoCatalog = R"({"database":{
  "name":"library","locale":"C","maxdrawers":12,"nodrawers":11,"nextdrawer":11,
  "nodoms":1,"maxdoms":1,"maxtabs":3,"notabs":3,"nexttab":3,
  "drawers":[{"dwrid":5,"tabid":"1","srcid":1,"type":"table"},
             {"dwrid":6,"tabid":"1","srcid":0,"type":"btree"},
             {"dwrid":7,"tabid":"2","srcid":2,"type":"table"},
             {"dwrid":8,"tabid":"2","srcid":0,"type":"btree"},
             {"dwrid":9,"tabid":"2","srcid":0,"type":"ref"},
             {"dwrid":10,"tabid":"2","srcid":3,"type":"blob"}],
  "domains":[{"domid":0,"name":"money","type":{"data_type":"decimal","length":9,"scale":2},
              "defValue":"0"}],
  "tables":[
   {"tabid":1,"dwrid":5,"name":"author","nocols":2,"nextcol":2,"maxcols":2,
    "nokeys":1,"nextkey":1,"maxkeys":1,
    "columns":[{"colid":0,"name":"id","type":{"data_type":"int32"},"keyid":0,"usage":1,
                "not_null":""},
               {"colid":1,"name":"name","type":{"data_type":"varchar","length":81}}],
    "keys":[{"keyid":0,"dwrid":6,"name":"author_pk","type":"primary","method":"btree",
             "nocols":1,"cols":[{"colid":"0","order":"asc"}]}]},
   {"tabid":2,"dwrid":7,"name":"book","nocols":4,"nextcol":4,"maxcols":4,
    "nokeys":1,"nextkey":1,"maxkeys":1,"norefs":1,"maxrefs":1,
    "columns":[{"colid":0,"name":"id","type":{"data_type":"int64"},"keyid":0,"usage":1,
                "not_null":""},
               {"colid":1,"name":"author","type":{"data_type":"int32"},"usage":2,
                "refid":0,"r_tabid":"1","r_colid":"0"},
               {"colid":2,"name":"price","domid":"0"},
               {"colid":3,"name":"cover","type":{"data_type":"blob"},"dwrid":10}],
    "keys":[{"keyid":0,"dwrid":8,"name":"book_pk","type":"primary","method":"btree",
             "nocols":1,"cols":[{"colid":"0","order":"asc"}]}],
    "refs":[{"refid":0,"dwrid":9,"name":"book_author","otabid":"1","pkeyid":"0",
             "on_upd":"restrict","on_del":"cascade","nocols":1,"nosortcols":1,
             "cols":["1"],"sortcols":[{"colid":"2","order":"desc"}]}]}]}})";

}  // namespace

int zb_demo_schema_load(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    ZEL_RETCODE rc =
        sch_read_database_schema_buffer(&sch, kZbDemoCatalog, ZEL_TRUE, tags.sub, tags.master);
    if (rc != sOKAY) {
        std::fprintf(out, "the sample text fails: %s\n", zb_catalog_code(rc).c_str());
        return 1;
    }
    zb_catalog_print(out, sch);
    sch_destroy(sch);

    std::fprintf(out, "\nTexts the loader refuses:\n");
    const struct {
        const char *why;
        const char *text;
    } refused[] = {
        {"a number written as a string", R"({"database":{"catver":"1"}})"},
        {"a name without its colon, before the walk", R"({"database" {}})"},
        {"a column's reference past the table's, found at the end",
         R"({"database":{"maxtabs":2,"nexttab":2,"tables":[{"tabid":1,"name":"t",)"
         R"("maxcols":1,"nocols":1,"nextcol":1,"columns":[{"colid":0,"name":"c",)"
         R"("type":{"data_type":"int32"},"refid":3,"r_tabid":"1","r_colid":"0"}]}]}})"},
    };
    for (const auto &r : refused) {
        SCH_INFO s = nullptr;
        rc = sch_read_database_schema_buffer(&s, r.text, ZEL_TRUE, tags.sub, tags.master);
        std::fprintf(out, "  %s: %s\n    %s\n", r.why, zb_catalog_code(rc).c_str(), r.text);
        sch_destroy(s);
    }
    return 0;
}
