// The catalogue loader over a catalogue of 1,000 tables of 20 columns (a
// primary and a second key each, a reference to the table before), written by
// test/data/gen_catalogs.py at build time: text to finished catalogue and
// back to nothing. The peer a user would write instead parses the text into
// a DOM (RapidJSON's Document; nlohmann-json for reference) and builds the
// same catalogue through the same sch_ setters, looking each key up by name
// in the order the catalogue needs, and linking references at the end.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "schema.h"
#include "schema_build.h"
#include "schema_load.h"
#include "schema_words.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

#ifdef ZELBASE_HAVE_RAPIDJSON
#include <rapidjson/document.h>
#endif
#ifdef ZELBASE_HAVE_NLOHMANN
#include <nlohmann/json.hpp>
#endif

namespace {

const std::string &catalogue() {
    static const std::string text = [] {
        std::ifstream f(ZELBASE_BENCH_CATALOG);
        std::stringstream s;
        s << f.rdbuf();
        return s.str();
    }();
    return text;
}

struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    Tags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY ||
            b_tag_subCreate(master, &sub) != sOKAY)
            std::abort();
    }
    ~Tags() {
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
};

void report(benchmark::State &state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * catalogue().size()));
}

void BM_LoaderCatalogue(benchmark::State &state) {
    const std::string &text = catalogue();
    if (text.empty()) return state.SkipWithError("no catalogue: python3 was not found");
    Tags tags;
    for (auto _ : state) {
        SCH_INFO sch = nullptr;
        if (sch_read_database_schema_buffer(&sch, text.c_str(), ZEL_TRUE, tags.sub, tags.master) !=
            sOKAY)
            std::abort();
        benchmark::DoNotOptimize(sch);
        sch_destroy(sch);
    }
    report(state);
}
BENCHMARK(BM_LoaderCatalogue)->Unit(benchmark::kMillisecond);

// ---- The DOM peer: the same building, driven from a tree. `D` adapts one
// library's values: get(object, name) (null when absent), num, str, flag,
// size and at.

void ok(ZEL_RETCODE rc) {
    if (rc != sOKAY) std::abort();
}

int32_t wordOf(const SCH_WORD_ITEM *items, size_t n, const char *w) {
    int32_t v = 0;
    ok(sch_word_find(items, n, w, &v));
    return v;
}

template <class D, class V>
void buildType(const V &o, SCH_TYPE_INFO pi) {
    ok(sch_type_set_data_type(pi,
                              static_cast<ZEL_TYPE>(wordOf(data_type_items, DATA_TYPE_ITEMS_COUNT,
                                                           D::str(*D::get(o, "data_type")))),
                              ZEL_TRUE));
    if (auto v = D::get(o, "noelts")) ok(sch_type_set_elems(pi, D::num(*v)));
    if (auto v = D::get(o, "length")) ok(sch_type_set_length(pi, D::num(*v)));
    if (auto v = D::get(o, "scale")) ok(sch_type_set_scale(pi, D::num(*v)));
    if (auto v = D::get(o, "checkStr")) ok(sch_type_set_check_str(pi, D::str(*v)));
    if (auto v = D::get(o, "checkName")) ok(sch_type_set_check_name(pi, D::str(*v)));
}

template <class D, class V>
void buildColumn(const V &o, SCH_TBL_INFO ti) {
    SCH_COL_INFO ci = nullptr;
    ok(sch_col_create(ti, D::num(*D::get(o, "colid")), &ci));
    ok(sch_col_set_name(ci, D::str(*D::get(o, "name"))));
    if (auto v = D::get(o, "domid")) ok(sch_col_set_domain(ci, std::atoi(D::str(*v))));
    if (auto v = D::get(o, "type")) buildType<D>(*v, sch_col_type(ci));
    if (auto v = D::get(o, "dwrid")) ok(sch_col_set_blob_drawer(ci, D::num(*v)));
    if (auto v = D::get(o, "keyid")) ci->keyid = D::num(*v);
    if (auto v = D::get(o, "usage")) ok(sch_col_set_usage(ci, D::num(*v)));
    if (auto v = D::get(o, "not_null")) ok(sch_col_set_not_null(ci, D::str(*v)));
    if (auto v = D::get(o, "width")) ok(sch_col_set_width(ci, D::num(*v)));
    if (auto v = D::get(o, "format")) ok(sch_col_set_format(ci, D::str(*v)));
    if (auto v = D::get(o, "defValue")) ok(sch_col_set_default(ci, D::str(*v)));
    if (auto v = D::get(o, "defNull"); v && D::flag(*v)) ok(sch_col_set_default(ci, nullptr));
    ok(sch_col_finalize(ci));
}

template <class D, class V>
void buildKey(const V &o, SCH_TBL_INFO ti) {
    SCH_KEY_INFO ki = nullptr;
    ok(sch_key_create(ti, D::num(*D::get(o, "keyid")), &ki));
    ok(sch_key_set_drawer(ki, static_cast<ZEL_DRAWER>(D::num(*D::get(o, "dwrid")))));
    if (auto v = D::get(o, "name")) ok(sch_key_set_name(ki, D::str(*v)));
    ok(sch_key_set_type(ki, static_cast<ZEL_KEY_TYPE>(wordOf(key_type_items, KEY_TYPE_ITEMS_COUNT,
                                                             D::str(*D::get(o, "type"))))));
    ok(sch_key_set_method(
        ki, static_cast<ZEL_KEY_METHOD>(
                wordOf(key_method_items, KEY_METHOD_ITEMS_COUNT, D::str(*D::get(o, "method"))))));
    ok(sch_key_set_restr(ki, D::flag(*D::get(o, "restrict")) ? ZEL_TRUE : ZEL_FALSE));
    ok(sch_key_set_refcount(ki, D::num(*D::get(o, "refcount"))));
    ok(sch_key_set_num_elems(ki, D::num(*D::get(o, "nocols"))));
    const V &cols = *D::get(o, "cols");
    for (size_t i = 0; i < D::size(cols); ++i) {
        const V &e = D::at(cols, i);
        SCH_ELEM_INFO ei = sch_key_elem(ki, static_cast<ZEL_COL_INDEX>(i));
        ok(sch_elem_set_col(ei, std::atoi(D::str(*D::get(e, "colid")))));
        ok(sch_elem_set_order(
            ei, static_cast<ZEL_DIRECTION>(
                    wordOf(direction_items, DIRECTION_ITEMS_COUNT, D::str(*D::get(e, "order"))))));
    }
    ok(sch_key_finalize(ki));
}

template <class D, class V>
void buildRef(const V &o, SCH_TBL_INFO ti) {
    SCH_REF_INFO ri = nullptr;
    ok(sch_ref_create(ti, D::num(*D::get(o, "refid")), &ri));
    ok(sch_ref_set_drawer(ri, D::num(*D::get(o, "dwrid"))));
    ok(sch_ref_set_name(ri, D::str(*D::get(o, "name"))));
    ok(sch_ref_set_on_update(
        ri, static_cast<ZEL_REF_ACTION>(
                wordOf(ref_action_items, REF_ACTION_ITEMS_COUNT, D::str(*D::get(o, "on_upd"))))));
    ok(sch_ref_set_on_delete(
        ri, static_cast<ZEL_REF_ACTION>(
                wordOf(ref_action_items, REF_ACTION_ITEMS_COUNT, D::str(*D::get(o, "on_del"))))));
    ok(sch_ref_set_num_cols(ri, D::num(*D::get(o, "nocols"))));
    ok(sch_ref_set_num_sort_cols(ri, D::num(*D::get(o, "nosortcols"))));
    ok(sch_ref_finalize(ri));
}

// References and column links once every table exists: the DOM is walked
// again instead of remembering them.
template <class D, class V>
void linkTable(const V &t, SCH_TBL_INFO ti) {
    if (auto refs = D::get(t, "refs"))
        for (size_t i = 0; i < D::size(*refs); ++i) {
            const V &o = D::at(*refs, i);
            SCH_REF_INFO ri = sch_get_ref_by_index(ti, D::num(*D::get(o, "refid")));
            ok(sch_ref_set_reftab(ri, std::atoi(D::str(*D::get(o, "otabid")))));
            ok(sch_ref_set_refkey(ri, std::atoi(D::str(*D::get(o, "pkeyid")))));
            const V &cols = *D::get(o, "cols");
            for (size_t c = 0; c < D::size(cols); ++c)
                ok(sch_ref_set_col(ri, c, std::atoi(D::str(D::at(cols, c)))));
            ok(sch_ref_finalize_name(ri));
            ok(sch_ref_finalize_locking(ri));
        }
    const V &cols = *D::get(t, "columns");
    for (size_t i = 0; i < D::size(cols); ++i) {
        const V &o = D::at(cols, i);
        SCH_COL_INFO ci = sch_get_col_by_index(ti, D::num(*D::get(o, "colid")));
        if (auto v = D::get(o, "refid")) {
            ok(sch_col_set_ref(ci, D::num(*v)));
            ok(sch_col_set_reftab(ci, std::atoi(D::str(*D::get(o, "r_tabid")))));
            ok(sch_col_set_refcol(ci, std::atoi(D::str(*D::get(o, "r_colid")))));
        }
        if (auto v = D::get(o, "keyid")) ok(sch_col_set_key(ci, D::num(*v)));
    }
}

template <class D, class V>
SCH_INFO buildCatalogue(const V &root, B_TAG_SUB sub) {
    const V &db = *D::get(root, "database");
    SCH_INFO sch = nullptr;
    ok(sch_create(&sch, sub));
    ok(sch_set_catver(sch, D::num(*D::get(db, "catver"))));
    ok(sch_set_dbver(sch, D::num(*D::get(db, "dbver"))));
    ok(sch_set_name(sch, D::str(*D::get(db, "name"))));
    if (auto v = D::get(db, "locale")) ok(sch_set_locale(sch, D::str(*v)));
    ok(sch_set_encryption(sch,
                          static_cast<ZEL_ENC_TYPE>(wordOf(encryption_items, ENCRYPTION_ITEMS_COUNT,
                                                           D::str(*D::get(db, "encryption"))))));
    ok(sch_set_max_drawer(sch, D::num(*D::get(db, "maxdrawers"))));
    ok(sch_set_num_drawers(sch, D::num(*D::get(db, "nodrawers"))));
    ok(sch_set_next_drawer(sch, D::num(*D::get(db, "nextdrawer"))));
    ok(sch_set_num_domains(sch, D::num(*D::get(db, "nodoms"))));
    ok(sch_set_next_domain(sch, D::num(*D::get(db, "maxdoms"))));
    ok(sch_set_max_table(sch, D::num(*D::get(db, "maxtabs"))));
    ok(sch_set_num_tables(sch, D::num(*D::get(db, "notabs"))));
    ok(sch_set_next_table(sch, D::num(*D::get(db, "nexttab"))));
    const V &drawers = *D::get(db, "drawers");
    for (size_t i = 0; i < D::size(drawers); ++i) {
        const V &o = D::at(drawers, i);
        SCH_DRAWER_INFO di = nullptr;
        ok(sch_drawer_create(sch, D::num(*D::get(o, "dwrid")), &di));
        ok(sch_drawer_set_source_table(di, std::atoi(D::str(*D::get(o, "tabid")))));
        ok(sch_drawer_set_source_item(di, D::num(*D::get(o, "srcid"))));
        ok(sch_drawer_set_type(
            di, static_cast<ZEL_DRAWER_TYPE>(wordOf(drawer_type_items, DRAWER_TYPE_ITEMS_COUNT,
                                                    D::str(*D::get(o, "type"))))));
    }
    const V &tables = *D::get(db, "tables");
    for (size_t i = 0; i < D::size(tables); ++i) {
        const V &t = D::at(tables, i);
        SCH_TBL_INFO ti = nullptr;
        ok(sch_tbl_create(sch, D::num(*D::get(t, "tabid")), &ti));
        ok(sch_tbl_set_drawer(ti, static_cast<ZEL_DRAWER>(D::num(*D::get(t, "dwrid")))));
        ok(sch_tbl_set_type(
            ti, static_cast<ZEL_TABLE_TYPE>(
                    wordOf(table_type_items, TABLE_TYPE_ITEMS_COUNT, D::str(*D::get(t, "type"))))));
        ok(sch_tbl_set_name(ti, D::str(*D::get(t, "name"))));
        if (auto v = D::get(t, "checkStr")) ok(sch_tbl_set_check_str(ti, D::str(*v)));
        if (auto v = D::get(t, "checkName")) ok(sch_tbl_set_check_name(ti, D::str(*v)));
        ok(sch_tbl_set_max_rows(ti, D::num(*D::get(t, "maxrows"))));
        ok(sch_tbl_set_num_cols(ti, D::num(*D::get(t, "nocols"))));
        ok(sch_tbl_set_next_col(ti, D::num(*D::get(t, "nextcol"))));
        ok(sch_tbl_set_max_cols(ti, D::num(*D::get(t, "maxcols"))));
        ok(sch_tbl_set_num_keys(ti, D::num(*D::get(t, "nokeys"))));
        ok(sch_tbl_set_next_key(ti, D::num(*D::get(t, "nextkey"))));
        ok(sch_tbl_set_max_keys(ti, D::num(*D::get(t, "maxkeys"))));
        ok(sch_tbl_set_num_refs(ti, D::num(*D::get(t, "norefs"))));
        ok(sch_tbl_set_next_ref(ti, D::num(*D::get(t, "maxrefs"))));
        const V &cols = *D::get(t, "columns");
        for (size_t c = 0; c < D::size(cols); ++c) buildColumn<D>(D::at(cols, c), ti);
        const V &keys = *D::get(t, "keys");
        for (size_t k = 0; k < D::size(keys); ++k) buildKey<D>(D::at(keys, k), ti);
        const V &refs = *D::get(t, "refs");
        for (size_t r = 0; r < D::size(refs); ++r) buildRef<D>(D::at(refs, r), ti);
        ok(sch_tbl_finalize(ti, ZEL_TRUE));
    }
    ZEL_TBL_INDEX offset = 1;
    for (size_t i = 0; i < D::size(tables); ++i) {
        const V &t = D::at(tables, i);
        SCH_TBL_INFO ti = sch_table(sch, D::num(*D::get(t, "tabid")));
        ok(sch_tbl_set_offset(ti, offset++));
        linkTable<D>(t, ti);
    }
    sch_calc_num_refs(sch);
    return sch;
}

// The peer builds what the loader builds.
template <class D, class V>
void checkSame(const V &root) {
    Tags tags;
    SCH_INFO a = nullptr;
    ok(sch_read_database_schema_buffer(&a, catalogue().c_str(), ZEL_TRUE, tags.sub, tags.master));
    SCH_INFO b = buildCatalogue<D>(root, tags.sub);
    ok(sch_union_compatible(a, b));
    ok(sch_union_compatible(b, a));
    sch_destroy(a);
    sch_destroy(b);
}

#ifdef ZELBASE_HAVE_RAPIDJSON
struct Rapid {
    using V = rapidjson::Value;
    static const V *get(const V &o, const char *name) {
        auto it = o.FindMember(name);
        return it != o.MemberEnd() ? &it->value : nullptr;
    }
    static int64_t num(const V &v) { return v.GetInt64(); }
    static const char *str(const V &v) { return v.GetString(); }
    static bool flag(const V &v) { return v.GetBool(); }
    static size_t size(const V &v) { return v.Size(); }
    static const V &at(const V &v, size_t i) { return v[static_cast<rapidjson::SizeType>(i)]; }
};

void BM_RapidJsonDomBuildCatalogue(benchmark::State &state) {
    const std::string &text = catalogue();
    if (text.empty()) return state.SkipWithError("no catalogue: python3 was not found");
    {
        rapidjson::Document doc;
        doc.Parse(text.c_str());
        checkSame<Rapid>(static_cast<const rapidjson::Value &>(doc));
    }
    Tags tags;
    for (auto _ : state) {
        rapidjson::Document doc;
        if (doc.Parse(text.c_str()).HasParseError()) std::abort();
        SCH_INFO sch = buildCatalogue<Rapid>(static_cast<const rapidjson::Value &>(doc), tags.sub);
        benchmark::DoNotOptimize(sch);
        sch_destroy(sch);
    }
    report(state);
}
BENCHMARK(BM_RapidJsonDomBuildCatalogue)->Unit(benchmark::kMillisecond);

// The parse alone, for how the time divides.
void BM_RapidJsonDomParseOnly(benchmark::State &state) {
    const std::string &text = catalogue();
    for (auto _ : state) {
        rapidjson::Document doc;
        if (doc.Parse(text.c_str()).HasParseError()) std::abort();
        benchmark::DoNotOptimize(doc.IsObject());
    }
    report(state);
}
BENCHMARK(BM_RapidJsonDomParseOnly)->Unit(benchmark::kMillisecond);
#endif

#ifdef ZELBASE_HAVE_NLOHMANN
struct Nlohmann {
    using V = nlohmann::json;
    static const V *get(const V &o, const char *name) {
        auto it = o.find(name);
        return it != o.end() ? &*it : nullptr;
    }
    static int64_t num(const V &v) { return v.get<int64_t>(); }
    static const char *str(const V &v) { return v.get_ref<const std::string &>().c_str(); }
    static bool flag(const V &v) { return v.get<bool>(); }
    static size_t size(const V &v) { return v.size(); }
    static const V &at(const V &v, size_t i) { return v[i]; }
};

void BM_NlohmannBuildCatalogue(benchmark::State &state) {
    const std::string &text = catalogue();
    if (text.empty()) return state.SkipWithError("no catalogue: python3 was not found");
    checkSame<Nlohmann>(nlohmann::json::parse(text));
    Tags tags;
    for (auto _ : state) {
        const nlohmann::json doc = nlohmann::json::parse(text);
        SCH_INFO sch = buildCatalogue<Nlohmann>(doc, tags.sub);
        benchmark::DoNotOptimize(sch);
        sch_destroy(sch);
    }
    report(state);
}
BENCHMARK(BM_NlohmannBuildCatalogue)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
