// zelbase_cmds.h - the subcommands and demo sections of the zelbase tool.
// Each module that the tool shows off adds a `zb_demo_<module>` section (run
// in order by `zelbase demo`) and, where it has one, a `zb_cmd_<name>`
// subcommand; both are listed in the tables of zelbase.cpp.
#ifndef ZELBASE_CMDS_H
#define ZELBASE_CMDS_H

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "btree_types.h"
#include "buffer.h"
#include "cmdline.h"
#include "coder_types.h"
#include "dbobj_types.h"
#include "log_types.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "value_types.h"

// A master tag on platform memory with one sub tag, for a subcommand or demo
// section; both are destroyed with it, after everything allocated was freed.
struct ZbTags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    ZbTags() {
        if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) master = nullptr;
        if (master != nullptr && b_tag_subCreate(master, &sub) != sOKAY) sub = nullptr;
    }
    ~ZbTags() {
        if (sub != nullptr) b_tag_subDestroy(sub);
        if (master != nullptr) b_tag_masterDestroy(master);
    }
    ZbTags(const ZbTags &) = delete;
    ZbTags &operator=(const ZbTags &) = delete;
    bool ok() const { return sub != nullptr; }
};

// A demo section prints to `out` and returns 0, or non-zero on a failure.
using zb_demo_fcn = int (*)(FILE *out);
// A subcommand gets its part of the line, argv[0] being "zelbase NAME" and
// the arguments after it, and returns the exit code.
using zb_cmd_fcn = int (*)(int argc, char **argv);

// ---- The command line of a subcommand.
//
// Each subcommand describes its options and positionals in a table and goes
// through zb_cmdline:
//
//   const ZEL_CMDLINE_OPT opts[] = {{"b", "braces", nullptr, "Put braces around it"},
//                                   {"T", nullptr, "?:TEXT", "The text"},
//                                   {nullptr, nullptr, nullptr, nullptr}};
//   ZEL_CMDLINE cmd;
//   if (int code = zb_cmdline(&cmd, argc, argv, "What it does.", opts); code != kZbGoOn)
//       return code;
//   const char *arg = nullptr;
//   for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;)
//       ... name is the row's long name, or its optShort ("T") without one ...
//
// and ends with `return zb_exitCode(rc, argv[0])` for a library code. Exit
// codes: 0 for success and for the usage or version printed, 2 for a user
// error, 1 for any other failure.

constexpr int kZbGoOn = -1;
constexpr int kZbExitUsage = 2;

// Flushes stdio, then runs zel_cmdlineInitEx with no banner and no status:
// kZbGoOn for a valid line, else the exit code of its result (the usage, the
// version or the error is printed).
int zb_cmdline(ZEL_CMDLINE *cmd, int argc, char **argv, const char *description,
               const ZEL_CMDLINE_OPT *opts, const ZEL_CMD_DEFAULTS *defaults = nullptr);
// The exit code of a library code: 0 for sOKAY and the other statuses
// (sCMD_USAGE, sCMD_VERSION among them), 2 for eBASE_COMMAND, else 1, the
// failure reported by b_logFinalToolMessage under `tool` once `log` (may be
// null) and stdio are flushed.
int zb_exitCode(ZEL_RETCODE rc, const char *tool, B_LOG_T *log = nullptr);
// A user error found in the values after the walk, as the processor reports
// its own: "error: MESSAGE" on standard error; returns 2.
int zb_usageError(const char *format, ...) __attribute__((format(printf, 1, 2)));
// The whole of file `path` (standard input when null) appended to `data`;
// false when it cannot be opened or read.
bool zb_readFile(const char *path, std::string *data);

int zb_demo_tags(FILE *out);
int zb_demo_stack(FILE *out);
int zb_demo_error(FILE *out);
int zb_demo_text(FILE *out);
int zb_demo_containers(FILE *out);
int zb_demo_datetime(FILE *out);
int zb_demo_value(FILE *out);
int zb_demo_bcd(FILE *out);
int zb_demo_bcd_func(FILE *out);
int zb_demo_varint(FILE *out);
int zb_demo_convert(FILE *out);
int zb_demo_convert_text(FILE *out);
int zb_demo_types(FILE *out);
int zb_demo_schema(FILE *out);
int zb_demo_btree(FILE *out);
int zb_demo_map(FILE *out);
int zb_demo_rtree(FILE *out);
int zb_demo_sort(FILE *out);
int zb_demo_cbtree(FILE *out);
int zb_demo_row(FILE *out);
int zb_demo_dbobj(FILE *out);
int zb_demo_file(FILE *out);
int zb_demo_path(FILE *out);
int zb_demo_uri(FILE *out);
int zb_demo_bucket(FILE *out);
int zb_demo_queue(FILE *out);
int zb_demo_lex(FILE *out);
int zb_demo_yyparse(FILE *out);
int zb_demo_cmdline(FILE *out);
int zb_demo_vcache(FILE *out);
int zb_demo_keyvalue(FILE *out);
int zb_demo_schema_load(FILE *out);
int zb_demo_road(FILE *out);
int zb_demo_config(FILE *out);
int zb_demo_lz(FILE *out);

int zb_cmd_error(int argc, char **argv);
int zb_cmd_uuid(int argc, char **argv);
int zb_cmd_base64(int argc, char **argv);
int zb_cmd_date(int argc, char **argv);
int zb_cmd_decimal(int argc, char **argv);
int zb_cmd_varint(int argc, char **argv);
int zb_cmd_convert(int argc, char **argv);
int zb_cmd_types(int argc, char **argv);
int zb_cmd_btree(int argc, char **argv);
int zb_cmd_map(int argc, char **argv);
// `zelbase rtree`: `decode ...` goes to zb_cmd_rtree (a stored node), the
// rest to zb_cmd_rtree_index (a random in-memory tree).
int zb_cmd_rtree_any(int argc, char **argv);
int zb_cmd_rtree_index(int argc, char **argv);
int zb_cmd_sort(int argc, char **argv);
int zb_cmd_cbtree(int argc, char **argv);
int zb_cmd_row(int argc, char **argv);
int zb_cmd_node(int argc, char **argv);
int zb_cmd_lzma(int argc, char **argv);
int zb_cmd_dbobj(int argc, char **argv);
int zb_cmd_file(int argc, char **argv);
int zb_cmd_log(int argc, char **argv);
int zb_cmd_path(int argc, char **argv);
int zb_cmd_docroot(int argc, char **argv);
int zb_cmd_uri(int argc, char **argv);
int zb_cmd_bucket(int argc, char **argv);
int zb_cmd_chunk(int argc, char **argv);
int zb_cmd_iz(int argc, char **argv);
int zb_cmd_rtree(int argc, char **argv);
int zb_cmd_threads(int argc, char **argv);
int zb_cmd_lex(int argc, char **argv);
int zb_cmd_json(int argc, char **argv);
int zb_cmd_parse(int argc, char **argv);
int zb_cmd_vcache(int argc, char **argv);
int zb_cmd_kv(int argc, char **argv);
int zb_cmd_options(int argc, char **argv);
int zb_cmd_catalog(int argc, char **argv);
int zb_cmd_road(int argc, char **argv);
int zb_cmd_config(int argc, char **argv);
int zb_cmd_lz(int argc, char **argv);
int zb_cmd_embed(int argc, char **argv);

// Runs `text` through a built-in grammar ("calc", "parens"), printing every
// shift, goto and reduction (trace) or only the rule numbers, then the values
// and the code; 0 when accepted without error.
int zb_parse_run(FILE *out, const char *grammar, const char *text, bool trace);
int zb_cmd_cmdline(int argc, char **argv);

// The stored bytes of `v` as hex pairs, packed through its type descriptor in a
// column just wide enough for `text` (the value's text form); 0 or a code.
int zb_types_value_hex(const ZEL_VALUE *v, const char *text, std::string *hex);

// Prints a B-tree of uint64_t keys level by level: with `keys` every node's
// keys, else each level's nodes, entries and fill, the depth range of the
// leaves and the checker's verdict. 0 for a sound tree, 1 otherwise.
int zb_btree_print(FILE *out, const B_BTREE_T *bt, bool keys);
// Runs a script of `zelbase vcache` on a new cache of `max_entries`, printing
// to `out` the cache after each line (`each`) or only before each comment
// line and at the end; 0, or 2 (reported) at the first line it cannot read.
int zb_vcache_run(FILE *out, const char *script, uint32_t max_entries, bool each);
// Puts the (key, value) entries in a map of `kind` ("mapb" or "uintmap",
// with `arraySize`) and prints where each landed; 0, or 1 on a failure.
int zb_map_show(FILE *out, const char *kind, uint32_t arraySize,
                const std::vector<std::pair<uint64_t, uint64_t>> &entries);
// Prints an R-tree's levels (nodes, branches, fill), with `dump` each node
// and its coverage box, and the validator's verdict; 0 when sound.
int zb_rtree_print(FILE *out, struct B_RTREE_S *rt, bool dump);
// Adds the keys 1..count shuffled to a cached B-tree, finds each and walks it,
// printing the loads, writes and evictions; with `dump` the node file as an
// annotated table. 0, or the exit code of a failure.
int zb_cbtree_run(FILE *out, uint32_t slots, uint32_t cache, uint32_t count, bool dump);
// The sample table of `zelbase cmdline` and the demo, with every kind of row.
extern const ZEL_CMDLINE_OPT zb_cmdline_sample[];
// Runs the processor over argv with the sample table, all shared options and
// a status, and prints to `out` init's result, each walk item and the
// status; returns init's result.
ZEL_RETCODE zb_cmdline_show(FILE *out, int argc, char **argv, const char *banner);

// ---- Rows and nodes of the built-in sample catalogue (cmd_row.cpp).

// "shop": customer(id, name, email, vip, since, balance, photo BLOB, rid
// ROWID) with keys customer_pk, by_name (AVL) and by_since (since, name);
// orders(id, customer, placed, amount, note) with orders_pk and the
// reference orders_customer, sorted by placed; site(id, code, kind, area
// INT32[4]) with site_pk, the hash key by_code (code, kind, id) and the
// spatial key by_area. Destroyed with sch_destroy.
ZEL_RETCODE zb_row_catalog(B_TAG_SUB sub, SCH_INFO *psch);
std::string zb_row_hex(const uint8_t *p, size_t n);
// Hex digits from the arguments, blanks, ':' and ',' allowed; false on
// anything else or an odd count.
bool zb_row_parse_hex(int argc, char **argv, std::vector<uint8_t> *out);
// Every element of the value as text, "<ZEL NULL>" for a null.
std::string zb_row_value_text(SCH_COL_INFO_C ci, const ZEL_VALUE *v);
// The annotated table of a row's stored bytes.
void zb_row_table_of(FILE *out, SCH_TBL_INFO_C ti, const std::vector<uint8_t> &bytes, bool expanded,
                     B_TAG_SUB sub);
// A buffer row of `ti` with the COL=VALUE assignments (a large object takes
// any value but "null" as present); `err` says what went wrong.
ZEL_RETCODE zb_row_from_text(SCH_TBL_INFO_C ti, const std::vector<std::string> &assignments,
                             B_TAG_SUB sub, ZEL_ROW *row, std::string *err);
// The annotated table of a node's stored bytes; `kind` has type and ptr set.
void zb_node_table_of(FILE *out, const ZEL_NODE *kind, const std::vector<uint8_t> &bytes,
                      bool expanded, B_TAG_SUB sub);

// Walks stored bytes with a decoder and prints one line per field: its
// offset, its bytes and what they mean.
struct ZbAnnot {
    FILE *out;
    const std::vector<uint8_t> &bytes;
    B_TAG_SUB sub;
    B_BUFFER_T buf{};
    B_DECODER_T dec{};
    size_t mark = 0;  // start of the field being read
    ZbAnnot(FILE *o, const std::vector<uint8_t> &b, B_TAG_SUB s);
    size_t pos() const { return buf.pos; }
    void line(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
    // A packed value of the column; a large object's presence mark.
    bool value(SCH_COL_INFO_C ci, const char *label);
    bool count(const char *what, uint32_t *n);
    bool fail(const char *what);
};

// The annotated table (offset, bytes, meaning) of a stored object of `len`
// bytes whose body (the packed bytes, or the LZMA stream) is `body` bytes.
void zb_dbobj_table(FILE *out, const uint8_t *stored, size_t len, size_t body);
// ---- Buckets, chunks, item zero and R-tree nodes (cmd_bucket.cpp,
// cmd_rtree.cpp).

// The command line of `zelbase bucket|chunk|iz|rtree`: decode [--key T.K]
// [--expanded] HEX.
struct ZbObjArgs {
    bool expanded = false;
    const char *key = nullptr;      // T.K, with a key
    const char *catalog = nullptr;  // --catalog F, with a key
    std::vector<uint8_t> bytes;
};
// As zb_cmdline, with the key's option (required) and --catalog when keyHelp
// is not null: kZbGoOn, or the exit code.
int zb_obj_args(int argc, char **argv, const char *description, const char *keyHelp,
                ZbObjArgs *out);
// Key "T.K" of the sample catalogue with that method; null when none.
SCH_KEY_INFO_C zb_obj_key(SCH_INFO_C sch, const char *name, ZEL_KEY_METHOD method);
// Up to six slots, comma-separated.
std::string zb_obj_slots(const ZEL_SLOT *ids, uint32_t n);
// The annotated tables of a bucket of hash key `ki`, a chunk, an item zero
// and an R-tree node of spatial key `ki`.
void zb_bucket_table_of(FILE *out, SCH_KEY_INFO_C ki, const std::vector<uint8_t> &bytes,
                        bool expanded, B_TAG_SUB sub);
void zb_chunk_table_of(FILE *out, const std::vector<uint8_t> &bytes, bool expanded, B_TAG_SUB sub);
void zb_iz_table_of(FILE *out, const std::vector<uint8_t> &bytes, bool expanded, B_TAG_SUB sub);
void zb_rtree_table_of(FILE *out, SCH_KEY_INFO_C ki, const std::vector<uint8_t> &bytes,
                       bool expanded, B_TAG_SUB sub);

// ---- JSON catalogues (cmd_catalog.cpp).

// Loads the catalogue file at `path` (unicode on or off) from the tags.
ZEL_RETCODE zb_catalog_load(const char *path, bool unicode, const ZbTags &tags, SCH_INFO *psch);
// The catalogue of a subcommand's --catalog: the file when `path` is given
// (a failure is reported on standard error), else the sample catalogue.
ZEL_RETCODE zb_catalog_open(const char *path, const ZbTags &tags, SCH_INFO *psch);
// Drawers, domains, tables, columns, keys and references, as the loader
// built them.
void zb_catalog_print(FILE *out, SCH_INFO_C sch);
// "NAME: message" of a code.
std::string zb_catalog_code(ZEL_RETCODE rc);

// The codes of an LZ stream as a table (bit offset, bytes, width, code, the
// string it stands for), the first `limit` of them, and a summary.
void zb_lz_trace(FILE *out, const uint8_t *stream, size_t len, size_t limit);

// One transport entry of a parsed connection string, every field, on one line.
std::string zb_uri_entry(const struct TX_CONN_INFO_S *e);

// One token on one line: line:column, type, value, tokbuf, and "reserved"
// for a reserved identifier.
std::string zb_lex_token(const struct B_LEX_S *lex, const struct B_TOKEN_S &t);

// A code's name ("sOKAY", "eRANGE"), or its number when it has none.
std::string zb_kv_code(ZEL_RETCODE rc);
// Every key of a key/value map in tree order: its elements, then each typed
// getter's code and value, indented (cmd_kv.cpp).
void zb_kv_print(FILE *out, const struct B_KEYVALUE_S *kv, B_TAG_SUB sub);

// The pull walk of one JSON value, its events one a line indented by depth;
// the reader's code.
ZEL_RETCODE zb_json_walk(FILE *out, struct B_JSON_S *j);

#endif
