// The catalogue loader: random catalogues and one mutation per key from an
// independent model (test/data/gen_catalogs.py, written with Python's json),
// the documented edge cases, the behaviours kept on purpose, the rulings on
// bounds, file sources, out-of-memory runs and large texts.
#include <gtest/gtest.h>

#include <clocale>
#include <sstream>
#include <string>
#include <vector>

#include "../tools/catalog_json.h"
#include "catalog_dump.h"
#include "error.h"
#include "file.h"
#include "file_fixture.h"
#include "oom.h"
#include "schema_build.h"
#include "schema_load.h"
#include "tag_fixture.h"

namespace {

class Loader : public TaggedTest {
  protected:
    void SetUp() override {
        std::setlocale(LC_ALL, "C");
        TaggedTest::SetUp();
    }
    // Loads `text`; on success the catalogue is kept for the test and
    // destroyed at its end.
    ZEL_RETCODE load(const std::string &text, ZEL_BOOL_T unicode = ZEL_TRUE) {
        sch_destroy(sch);
        sch = nullptr;
        return sch_read_database_schema_buffer(&sch, text.c_str(), unicode, sub, master);
    }
    void TearDown() override {
        sch_destroy(sch);
        TaggedTest::TearDown();
    }
    SCH_INFO sch = nullptr;
};

std::string readData(const char *name) {
    return fixture_readFile(std::string(ZELBASE_TEST_DATA) + "/" + name);
}

// `text` with each "@" replaced by the next of `parts`.
std::string fill(std::string text, std::initializer_list<std::string> parts) {
    for (const std::string &p : parts) text.replace(text.find('@'), 1, p);
    return text;
}

// One table (index 1, drawer 5) with a btree drawer 6 for key 0, a reference
// drawer 7 and blob drawer 8; "@" stands for the columns, keys and
// references, in that order.
const char *kOneTable =
    R"({"database":{"maxdrawers":9,"nextdrawer":9,"maxdoms":1,"maxtabs":2,"nexttab":2,
    "drawers":[{"dwrid":5,"tabid":"1","srcid":1,"type":"table"},
               {"dwrid":6,"tabid":"1","srcid":0,"type":"btree"},
               {"dwrid":7,"tabid":"1","srcid":0,"type":"ref"},
               {"dwrid":8,"tabid":"1","srcid":1,"type":"blob"}],
    "domains":[{"domid":0,"name":"money","type":{"data_type":"decimal","length":12,"scale":2}}],
    "tables":[{"tabid":1,"dwrid":5,"name":"t","nocols":2,"nextcol":2,"maxcols":2,
               "nokeys":1,"nextkey":1,"maxkeys":2,"norefs":2,"maxrefs":2,
               "columns":[@],"keys":[@],"refs":[@]}]}})";
const char *kCols = R"({"colid":0,"name":"id","type":{"data_type":"int32"},"not_null":""},
                       {"colid":1,"name":"b","type":{"data_type":"varchar","length":9}})";
const char *kPkey =
    R"({"keyid":0,"dwrid":6,"name":"pk","type":"primary","method":"btree","nocols":1,
        "cols":[{"colid":"0","order":"asc"}]})";

// A reference from t to t by column 1, with `extra` keys before "nocols".
std::string ref(int id, const std::string &extra) {
    return fill(R"({"refid":@,"name":"r@",@"nocols":1,"cols":["1"]})",
                {std::to_string(id), std::to_string(id), extra});
}

// ---- The model's catalogues.

TEST_F(Loader, RandomCatalogsLoadAsTheModelSays) {
    std::istringstream in(readData("good-catalogs.txt"));
    std::string line, kind, text;
    int unicode = 0, cases = 0;
    while (std::getline(in, line)) {
        if (line.rfind("== ", 0) == 0) {
            std::istringstream h(line.substr(3));
            std::string word;
            int n;
            h >> kind >> n >> word >> unicode;
            text.clear();
            while (std::getline(in, line) && line != "-- dump") text += line + "\n";
            std::vector<std::string> want;
            while (std::getline(in, line) && line != "-- end") want.push_back(line);
            ASSERT_EQ(load(text, unicode ? ZEL_TRUE : ZEL_FALSE), sOKAY) << kind << " " << n;
            const std::vector<std::string> got = cd_dump(sch);
            ASSERT_EQ(got.size(), want.size()) << kind << " " << n;
            for (size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], want[i]) << kind << " " << n;
            // The canonical text loads back to the same catalogue.
            const std::string canon = zb_catalog::write(sch);
            SCH_INFO again = nullptr;
            ASSERT_EQ(sch_read_database_schema_buffer(&again, canon.c_str(),
                                                      unicode ? ZEL_TRUE : ZEL_FALSE, sub, master),
                      sOKAY)
                << canon;
            EXPECT_EQ(sch_union_compatible(sch, again), sOKAY) << n;
            EXPECT_EQ(sch_union_compatible(again, sch), sOKAY) << n;
            EXPECT_EQ(cd_dump(again), want) << n;
            sch_destroy(again);
            ++cases;
        }
    }
    EXPECT_EQ(cases, 32);
}

// The JSON string at `p` (as Python writes an ASCII one), `p` moved past it.
std::string jsonString(const std::string &s, size_t *p) {
    std::string out;
    for (++*p; s[*p] != '"'; ++*p) {
        if (s[*p] != '\\') {
            out += s[*p];
            continue;
        }
        const char c = s[++*p];
        if (c == 'u') {
            out += static_cast<char>(std::stoi(s.substr(*p + 1, 4), nullptr, 16));
            *p += 4;
        } else {
            out += c == 'n' ? '\n' : c == 't' ? '\t' : c;
        }
    }
    ++*p;
    return out;
}

TEST_F(Loader, EveryKeyMutatedGivesItsCode) {
    std::istringstream in(readData("bad-catalogs.txt"));
    std::string line, base;
    while (std::getline(in, line) && line[0] == '#') {
    }
    base = line;
    ASSERT_EQ(load(base), sOKAY);
    int cases = 0;
    while (std::getline(in, line)) {
        std::istringstream h(line);
        std::string code;
        size_t at = 0, n = 0;
        h >> code >> at >> n;
        size_t p = static_cast<size_t>(h.tellg()) + 1;
        const std::string repl = jsonString(line, &p);
        const std::string label = line.substr(p + 1);
        ZEL_RETCODE want = sOKAY;
        ASSERT_EQ(zelErrorCodeByName(code.c_str(), &want), sOKAY) << code;
        std::string text = base;
        text.replace(at, n, repl);
        SCH_INFO out = sch;  // a catalogue standing in the out argument
        EXPECT_EQ(sch_read_database_schema_buffer(&out, text.c_str(), ZEL_TRUE, sub, master), want)
            << label;
        EXPECT_EQ(out, sch) << label;  // untouched
        ++cases;
    }
    EXPECT_GE(cases, 90 * 2);
}

// `s` with the first `from` replaced by `to`.
std::string edit(std::string s, const std::string &from, const std::string &to) {
    return s.replace(s.find(from), from.size(), to);
}

// The one-table catalogue with a second column `col` (after "id").
std::string withCol(const std::string &col) {
    return fill(kOneTable,
                {R"({"colid":0,"name":"id","type":{"data_type":"int32"}},)" + col, kPkey, ""});
}

// A catalogue with key `key` in place of the primary key, or refs `refs`.
std::string withKey(const std::string &key) {
    return fill(kOneTable, {kCols, key, ""});
}
std::string withRefs(const std::string &refs) {
    return fill(kOneTable, {kCols, kPkey, refs});
}

const std::string kRefGood = ref(0, R"("otabid":"1","pkeyid":"0",)");

// The codes of the documented cases, the kept behaviours, the rulings on
// bounds and the early shape checks that the mutation vectors (a wrong type,
// twice, out of range, for every key) leave out; a refused text leaves no
// catalogue.
TEST_F(Loader, EveryCaseGivesItsCode) {
    const std::string base = fill(kOneTable, {kCols, kPkey, ""});
    const std::string blob = R"({"colid":1,"name":"p","dwrid":8,"type":{"data_type":"@"}})";
    const std::string dom = R"({"colid":1,"name":"m","domid":"@"})";
    const std::string linkCols = R"({"colid":0,"name":"id","type":{"data_type":"int32"},@},
                                    {"colid":1,"name":"b","type":{"data_type":"int32"}})";
    auto links = [&](const char *l) {
        return fill(kOneTable, {fill(linkCols, {l}), kPkey, kRefGood});
    };
    auto refCols = [&](const char *cols) { return withRefs(edit(kRefGood, "[\"1\"]", cols)); };
    const struct {
        const char *what;
        std::string text;
        ZEL_RETCODE want;
    } rows[] = {
        // The document's shape and the early codes.
        {"empty", "", eSYNTAX},
        {"a comment", "   -- only a comment", eSYNTAX},
        {"a brace", "}", eSYNTAX},
        {"no colon", "{\"database\" 1}", eSYNTAX},
        {"no value", "{'database':}", eSYNTAX},
        {"an array", "[]", eBADCAT},
        {"a string", "\"database\"", eBADCAT},
        {"no database", "{}", eBADCAT},
        {"another key", R"({"db":{}})", eBADCAT},
        {"a number", R"({"database":1})", eBADCAT},
        {"an array database", R"({"database":[]})", eBADCAT},
        {"unended: inside the walk", R"({"database":{"catver":1)", eBADCAT},
        {"unknown key", R"({"database":{"x":1}})", eBADCAT},
        {"tables an object", R"({"database":{"tables":{}}})", eBADCAT},
        {"a table a number", R"({"database":{"tables":[1]}})", eBADCAT},
        {"unknown locale", R"({"database":{"locale":"no_such_locale"}})", eBADCAT},
        // Documented cases.
        {"names in any case", R"({"Database":{"CATVER":1}})", sOKAY},
        {"unquoted names, no commas", R"({database:{dbVer:7 name:"x"}})", sOKAY},
        {"a fraction", R"({"database":{"catver":1.0}})", eBADCAT},
        {"null", R"({"database":{"name":null}})", eBADCAT},
        {"table 0", R"({"database":{"maxtabs":2,"nexttab":2,"tables":[{"tabid":0}]}})", eBADCAT},
        {"a name once in each of two objects", R"({"database":{"maxdoms":2,"domains":[
            {"domid":0,"name":"a","type":{"data_type":"int8"}},
            {"domid":1,"name":"a","type":{"data_type":"int8"}}]}})",
         sOKAY},
        // Kept: five words; "default" is only a text of sch_encryption_text.
        {"encryption default", R"({"database":{"encryption":"default"}})", eBADCAT},
        {"uuid default auto",
         withCol(R"({"colid":1,"name":"u","type":{"data_type":"uuid"},"defValue":"auto"})"), sOKAY},
        {"uuid default",
         withCol(
             R"({"colid":1,"name":"u","type":{"data_type":"uuid"},"defValue":"123e4567-e89b-12d3-a456-426614174000"})"),
         sOKAY},
        {"uuid default bad",
         withCol(R"({"colid":1,"name":"u","type":{"data_type":"uuid"},"defValue":"nope"})"),
         eBADCAT},
        {"wide clob default",
         withCol(R"({"colid":1,"name":"w","type":{"data_type":"wclob"},"dwrid":8,"defValue":"x"})"),
         eNOTIMPLEMENTED},
        // Kept: only the last reference's result counts in the final linking.
        {"last reference bad", withRefs(kRefGood + "," + ref(1, R"("otabid":"9","pkeyid":"0",)")),
         eBADCAT},
        {"last reference without key",
         withRefs(kRefGood + "," + ref(1, R"("otabid":"1","pkeyid":"1",)")), eBADCAT},
        // Kept: a string of digits is read as far as its digits go, but
        // needs a leading digit and no sign.
        {"digits after letters", withKey(edit(kPkey, R"("colid":"0")", R"("colid":"ab1")")),
         eBADCAT},
        {"a signed digit", withKey(edit(kPkey, R"("colid":"0")", R"("colid":"+1")")), eBADCAT},
        // Kept: the text ends with the database object.
        {"garbage after", R"({"database":{"catver":3},"database":7,"x":[} garbage ]])", sOKAY},
        // A key before the key that creates its record has nothing to fill.
        {"drawer before dwrid", R"({"database":{"drawers":[{"type":"table"}]}})", eBADCAT},
        {"domain before domid", R"({"database":{"maxdoms":1,"domains":[{"name":"d","domid":0}]}})",
         eBADCAT},
        {"table before tabid",
         R"({"database":{"maxtabs":2,"nexttab":2,"tables":[{"name":"t","tabid":1}]}})", eBADCAT},
        {"column before colid", edit(base, R"("colid":1,"name":"b")", R"("name":"b","colid":1)"),
         eBADCAT},
        {"key before keyid", withKey(R"({"name":"k","keyid":1})"), eBADCAT},
        {"reference before refid", withRefs(R"({"name":"r","refid":0})"), eBADCAT},
        {"cols before nocols", withKey(edit(kPkey, R"("nocols":1,)", "")), eBADCAT},
        // A domain's type is the column's: no "type" after "domid".
        {"type after domid",
         withCol(R"({"colid":1,"name":"m","domid":"0","type":{"data_type":"int8"}})"), eBADCAT},
        // Large objects: "dwrid" before the type takes one for granted; a
        // drawer must be below nextdrawer and of type blob.
        {"blob drawer", withCol(fill(blob, {"blob"})), sOKAY},
        {"int8 with a drawer first", withCol(fill(blob, {"int8"})), eBADCAT},
        {"drawer with a domain of no lob",
         withCol(R"({"colid":1,"name":"m","dwrid":8,"domid":"0"})"), eBADCAT},
        {"int8 with a drawer after",
         withCol(R"({"colid":1,"name":"p","type":{"data_type":"int8"},"dwrid":8})"), eBADCAT},
        {"blob drawer past nextdrawer",
         withCol(edit(fill(blob, {"blob"}), R"("dwrid":8)", R"("dwrid":9)")), eBADCAT},
        {"blob drawer of type ref",
         withCol(edit(fill(blob, {"blob"}), R"("dwrid":8)", R"("dwrid":7)")), eBADCAT},
        // Ruling: strings of digits saturate instead of wrapping.
        {"domain 0", withCol(fill(dom, {"0"})), sOKAY},
        {"domain 2^32", withCol(fill(dom, {"4294967296"})), eBADCAT},
        {"domain 2^64", withCol(fill(dom, {"18446744073709551616"})), eBADCAT},
        {"domain 10^20-1", withCol(fill(dom, {"99999999999999999999"})), eBADCAT},
        // A reference's columns stay 32-bit to the end, no more than "nocols".
        {"reference column 70000", refCols("[\"70000\"]"), eBADCAT},  // 70000 - 65536 is 4464
        {"two reference columns", refCols("[\"1\",\"0\"]"), eBADCAT},
        {"no reference column", refCols("[]"), eBADCAT},
        {"a number reference column", refCols("[1]"), eBADCAT},
        // The final linking's own codes: eRANGE past a bound, eBADCAT for a hole.
        {"link", links(R"("refid":0,"r_tabid":"1","r_colid":"0")"), sOKAY},
        {"link refid 2", links(R"("refid":2,"r_tabid":"1","r_colid":"0")"), eRANGE},
        {"link refid 1, a hole", links(R"("refid":1,"r_tabid":"1","r_colid":"0")"), eBADCAT},
        {"link table 2", links(R"("refid":0,"r_tabid":"2","r_colid":"0")"), eRANGE},
        {"link table 0", links(R"("refid":0,"r_tabid":"0","r_colid":"0")"), sOKAY},
        {"link column 2", links(R"("refid":0,"r_tabid":"1","r_colid":"2")"), eRANGE},
        {"link no table", links(R"("refid":0,"r_colid":"0")"), eBADCAT},
        {"link no column", links(R"("refid":0,"r_tabid":"1")"), eBADCAT},
        {"key link", links(R"("keyid":0)"), sOKAY},
        {"key link at nextkey", links(R"("keyid":1)"), eBADCAT},
        // The final linking runs over the slots the loader holds.
        {"nexttab without tables", R"({"database":{"nexttab":1}})", sOKAY},
        {"a table past nexttab", R"({"database":{"maxtabs":6,"nexttab":2,"tables":[{"tabid":3}]}})",
         eBADCAT},
    };
    for (const auto &r : rows) {
        EXPECT_EQ(load(r.text), r.want) << r.what;
        EXPECT_EQ(sch == nullptr, r.want < 0) << r.what;
    }
    SCH_INFO out = nullptr;
    EXPECT_EQ(sch_read_database_schema_buffer(&out, nullptr, ZEL_TRUE, sub, master), eINVNULLARG);
    EXPECT_EQ(sch_read_database_schema_buffer(nullptr, "{}", ZEL_TRUE, sub, master), eINVNULLARG);
}

// What accepted catalogues hold.
TEST_F(Loader, AcceptedCasesHoldWhatTheySay) {
    const std::string base = fill(kOneTable, {kCols, kPkey, ""});
    auto table = [&] { return sch_table(sch, 1); };
    auto key0 = [&] { return sch_get_key_by_index(table(), 0); };
    auto col = [&](int i) { return sch_get_col_by_index(table(), i); };
    // The empty database is the built-in table alone.
    ASSERT_EQ(load(R"({"database":{}})"), sOKAY);
    EXPECT_EQ(sch_num_tables(sch), 1);
    EXPECT_EQ(sch_iterate_tables(sch, nullptr, ZEL_FORWARD), nullptr);
    EXPECT_EQ(sch_table(sch, 0), sch_get_sysfiles_table());
    EXPECT_EQ(sch_num_drawers(sch), 5u);
    ASSERT_EQ(load(R"({"Database":{"CATVER":1}})"), sOKAY);
    EXPECT_EQ(sch_catver(sch), 1u);
    ASSERT_EQ(load(R"({"database":{"catver":3},"database":7})"), sOKAY);
    EXPECT_EQ(sch_catver(sch), 3u);
    ASSERT_EQ(load(R"({"database":{"nexttab":1}})"), sOKAY);
    EXPECT_EQ(sch_next_table(sch), 1);
    ASSERT_EQ(load(edit(base, "primary", "noval")), sOKAY);
    EXPECT_EQ(sch_key_type(key0()), ZEL_KEY_TYPE_NOVAL);
    ASSERT_EQ(load(edit(base, R"("dwrid":5,"name")", R"("dwrid":-1,"name")")), sOKAY);
    EXPECT_EQ(sch_tbl_drawer_info(table()), nullptr);
    ASSERT_EQ(load(edit(base, R"("keyid":0,"dwrid":6)", R"("keyid":0,"dwrid":-1)")), sOKAY);
    EXPECT_EQ(sch_key_drawer(key0()), nullptr);
    // Kept: "defNull": false changes nothing, not even a default read before it.
    const std::string def =
        edit(kCols, R"("not_null")", R"("defValue":"7","defNull":false,"not_null")");
    ASSERT_EQ(load(fill(kOneTable, {def, kPkey, ""})), sOKAY);
    ASSERT_NE(sch_col_def(col(0)), nullptr);
    EXPECT_EQ(sch_col_def(col(0))->status, vsOKAY);
    EXPECT_EQ(sch_col_def(col(0))->vt.i32v, 7);
    ASSERT_EQ(load(fill(kOneTable, {edit(def, "false", "true"), kPkey, ""})), sOKAY);
    EXPECT_EQ(sch_col_def(col(0))->status, vsNULL);
    EXPECT_EQ(sch_col_defstr(col(0)), nullptr);
    // Without its default a wide clob loads, read as the UTF-8 form.
    ASSERT_EQ(load(withCol(R"({"colid":1,"name":"w","type":{"data_type":"wclob"},"dwrid":8})")),
              sOKAY);
    EXPECT_EQ(sch_col_data_type(col(1)), ZEL_WCLOB_UTF8);
    // Kept: only the last reference's result counts: the first is left
    // unlinked and not reported.
    ASSERT_EQ(load(withRefs(ref(0, R"("otabid":"9","pkeyid":"0",)") + "," +
                            ref(1, R"("otabid":"1","pkeyid":"0",)"))),
              sOKAY);
    EXPECT_EQ(sch_ref_owner(sch_get_ref_by_index(table(), 0)), nullptr);
    EXPECT_EQ(sch_ref_owner(sch_get_ref_by_index(table(), 1)), table());
    // A reference stops at its own first failure: a missing key leaves its
    // columns unlinked.
    ASSERT_EQ(load(withRefs(ref(0, R"("otabid":"1","pkeyid":"1",)") + "," +
                            ref(1, R"("otabid":"1","pkeyid":"0",)"))),
              sOKAY);
    EXPECT_EQ(sch_ref_key(sch_get_ref_by_index(table(), 0)), nullptr);
    EXPECT_EQ(sch_ref_col(sch_get_ref_by_index(table(), 0), 0), nullptr);
    // Kept: a string of digits is read as far as its digits go.
    ASSERT_EQ(load(withKey(edit(kPkey, R"("colid":"0")", R"("colid":"1ab")"))), sOKAY);
    EXPECT_EQ(sch_elem_col_index(sch_key_elem(key0(), 0)), 1);
    // A blob column and its drawer know each other.
    ASSERT_EQ(load(withCol(R"({"colid":1,"name":"p","dwrid":8,"type":{"data_type":"blob"}})")),
              sOKAY);
    EXPECT_EQ(sch_col_lob_drawer_ndx(col(1)), 8u);
    EXPECT_EQ(sch_drawer_blob_col(sch_drawer(sch, 8)), col(1));
    // Column links.
    ASSERT_EQ(
        load(fill(
            kOneTable,
            {R"({"colid":0,"name":"id","type":{"data_type":"int32"},"refid":0,"r_tabid":"1","r_colid":"0"},
                                    {"colid":1,"name":"b","type":{"data_type":"int32"}})",
             kPkey, kRefGood})),
        sOKAY);
    EXPECT_EQ(sch_col_ref(col(0)), sch_get_ref_by_index(table(), 0));
    EXPECT_EQ(sch_col_reftab(col(0)), table());
    EXPECT_EQ(sch_col_refcol(col(0)), col(0));
    EXPECT_EQ(sch_num_refs(sch), 2u);  // the tables' counters, as the text gives them
    // Offsets run from 1 over the tables present; holes are skipped.
    ASSERT_EQ(load(R"({"database":{"maxtabs":6,"nexttab":6,"tables":[
        {"tabid":4,"name":"d"},{"tabid":2,"name":"b"},{"tabid":5,"name":"e"}]}})"),
              sOKAY);
    EXPECT_EQ(sch_tbl_offset(sch_table(sch, 2)), 1);
    EXPECT_EQ(sch_tbl_offset(sch_table(sch, 4)), 2);
    EXPECT_EQ(sch_tbl_offset(sch_table(sch, 5)), 3);
    EXPECT_EQ(sch_table(sch, 3), nullptr);
}

// Kept: the first row of a word wins: "wchar" is ZEL_WCHAR, narrowed to the
// UTF-8 form only without unicode; "wclob" is ZEL_WCLOB_UTF8 either way.
TEST_F(Loader, DoubledTypeWordsReadTheFirstRow) {
    const struct {
        const char *word;
        ZEL_BOOL_T unicode;
        ZEL_TYPE want;
    } rows[] = {{"wchar", ZEL_TRUE, ZEL_WCHAR},
                {"wchar", ZEL_FALSE, ZEL_WCHAR_UTF8},
                {"wvarchar", ZEL_TRUE, ZEL_WVARCHAR},
                {"wvarchar", ZEL_FALSE, ZEL_WVARCHAR_UTF8},
                {"WCHAR", ZEL_TRUE, ZEL_WCHAR}};
    for (const auto &r : rows) {
        ASSERT_EQ(load(withCol(fill(R"({"colid":1,"name":"w","type":{"data_type":"@","length":9}})",
                                    {r.word})),
                       r.unicode),
                  sOKAY);
        EXPECT_EQ(sch_col_data_type(sch_get_col_by_index(sch_table(sch, 1), 1)), r.want) << r.word;
    }
}

// ---- Files.

// Loads `content` from a file, from position `at`; the catalogue kept.
ZEL_RETCODE loadFile(SCH_INFO *sch, const std::string &content, size_t at, B_TAG_SUB sub,
                     B_TAG_MASTER master, ZEL_RETCODE fileError = sOKAY) {
    ScratchDir dir;
    fixture_writeFile(dir.path("cat"), content);
    B_FILE_T f;
    b_fileInit(&f);
    EXPECT_EQ(b_fileOpen(&f, dir.path("cat").c_str(), B_FILE_FLAGS_READ), sOKAY);
    EXPECT_EQ(b_fileSeek(&f, at, B_FILE_SEEK_SET, nullptr), sOKAY);
    f.fileCache.rc = fileError;
    const ZEL_RETCODE rc = sch_read_database_schema_file(sch, &f, ZEL_TRUE, sub, master);
    f.fileCache.rc = sOKAY;
    b_fileClose(&f);
    return rc;
}

TEST_F(Loader, Files) {
    // Longer than two blocks of the file source, starting 10 bytes in.
    std::string text = fill(kOneTable, {kCols, kPkey, ""});
    text = edit(text, "\"name\":\"t\"",
                "\"name\":\"t\",\"checkStr\":\"" + std::string(3000, 'x') + "\"");
    ASSERT_EQ(loadFile(&sch, "0123456789" + text + "\n}after", 10, sub, master), sOKAY);
    EXPECT_EQ(std::string(sch_tbl_check_str(sch_table(sch, 1))), std::string(3000, 'x'));
    // A file in error gives its code; nothing is read.
    SCH_INFO out = nullptr;
    EXPECT_EQ(loadFile(&out, text, 0, sub, master, eBADREAD), eBADREAD);
    // From a file, as from a buffer: the code passes through the walk.
    EXPECT_EQ(
        loadFile(
            &out,
            withCol(
                R"({"colid":1,"name":"w","type":{"data_type":"wclob"},"dwrid":8,"defValue":"x"})"),
            0, sub, master),
        eNOTIMPLEMENTED);
    // The byte order mark stays in what the reader sees: the text is no JSON.
    EXPECT_EQ(loadFile(&out, "\xEF\xBB\xBF{\"database\":{}}", 0, sub, master), eSYNTAX);
    EXPECT_EQ(out, nullptr);
}

TEST_F(Loader, FileLoadOutOfMemory) {
    ScratchDir dir;
    fixture_writeFile(dir.path("cat"), fill(kOneTable, {kCols, kPkey, ""}));
    oom_check(master, {sub},
              [&] {
                  B_FILE_T f;
                  b_fileInit(&f);
                  SCH_INFO out = nullptr;
                  ZEL_RETCODE rc = b_fileOpen(&f, dir.path("cat").c_str(), B_FILE_FLAGS_READ);
                  if (rc == sOKAY)
                      rc = sch_read_database_schema_file(&out, &f, ZEL_TRUE, sub, master);
                  b_fileClose(&f);
                  EXPECT_EQ(rc == sOKAY, out != nullptr);
                  sch_destroy(out);
                  return rc;
              },
              {eBADCAT});
}

// ---- Memory.

TEST_F(Loader, OutOfMemoryFoldsAndLeaksNothing) {
    const std::string text = fill(
        R"({"database":{"maxdrawers":12,"nextdrawer":12,"maxtabs":4,"nexttab":4,"locale":"C",
        "drawers":[{"dwrid":5,"tabid":"1","srcid":1,"type":"table"},
                   {"dwrid":6,"tabid":"1","srcid":0,"type":"btree"},
                   {"dwrid":7,"tabid":"2","srcid":2,"type":"table"},
                   {"dwrid":8,"tabid":"2","srcid":0,"type":"ref"},
                   {"dwrid":9,"tabid":"3","srcid":3,"type":"table"}],
        "tables":[@,@,@]}})",
        {fill(R"({"tabid":1,"dwrid":5,"name":"a","nocols":2,"nextcol":2,"maxcols":2,"nokeys":1,
               "nextkey":1,"maxkeys":1,"columns":[@],"keys":[@]})",
              {kCols, kPkey}),
         fill(R"({"tabid":2,"dwrid":7,"name":"b","nocols":2,"nextcol":2,"maxcols":2,"nokeys":1,
               "nextkey":1,"maxkeys":1,"norefs":1,"maxrefs":1,"columns":[@],"keys":[@],
               "refs":[{"refid":0,"dwrid":8,"name":"ba","otabid":"1","pkeyid":"0","nocols":1,
               "nosortcols":1,"cols":["1"],"sortcols":[{"colid":"0","order":"desc"}]}]})",
              {kCols,
               // Unnamed over two columns: its name "id_b" is built by appending.
               R"({"keyid":0,"method":"avl","nocols":2,"cols":[{"colid":"0"},{"colid":"1"}]})"}),
         R"({"tabid":3,"dwrid":9,"name":"c","maxcols":1,"nocols":1,"nextcol":1,
            "columns":[{"colid":0,"name":"x","type":{"data_type":"wchar","length":21},
            "defValue":"hi"}]})"});
    ASSERT_EQ(load(text, ZEL_FALSE), sOKAY);
    const std::vector<std::string> want = cd_dump(sch);
    sch_destroy(sch);
    sch = nullptr;
    const int runs = oom_check(master, {sub},
                               [&] {
                                   SCH_INFO out = nullptr;
                                   const ZEL_RETCODE rc = sch_read_database_schema_buffer(
                                       &out, text.c_str(), ZEL_FALSE, sub, master);
                                   if (rc == sOKAY) {
                                       EXPECT_EQ(cd_dump(out), want);
                                       sch_destroy(out);
                                   } else {
                                       EXPECT_EQ(out, nullptr);
                                   }
                                   return rc;
                               },
                               {eBADCAT});
    EXPECT_GT(runs, 100);
}

// Tokens of 5,000 and then 9,000 bytes: the stack tag keeps the block it
// grew for the first, too small for the second.
TEST_F(Loader, LongTextsOneAfterAnother) {
    const std::string text = fill(R"({"database":{"maxdoms":2,"domains":[
        {"domid":0,"type":{"data_type":"int8","checkStr":"@"}},
        {"domid":1,"type":{"data_type":"int8","checkStr":"@"}}]}})",
                                  {std::string(5000, 'a'), std::string(9000, 'b')});
    ASSERT_EQ(load(text), sOKAY);
    EXPECT_EQ(std::string(sch_dom_check_str(sch_domain(sch, 1))), std::string(9000, 'b'));
}

TEST_F(Loader, WordsOfDrawerTypesAndItemFormats) {
    EXPECT_STREQ(sch_get_drawer_type_string(ZEL_DRAWER_TABLE), "table");
    EXPECT_STREQ(sch_get_drawer_type_string(ZEL_DRAWER_RTREE), "rtree");
    EXPECT_EQ(sch_get_drawer_type_string(static_cast<ZEL_DRAWER_TYPE>(6)), nullptr);
    EXPECT_STREQ(sch_get_item_format_string(ZEL_ITEM_FORMAT_EXPANDED), "expanded");
    EXPECT_EQ(sch_get_item_format_string(static_cast<ZEL_ITEM_FORMAT>(17)), nullptr);
}

}  // namespace
