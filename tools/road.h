// road.h - the road of a row through the library, the way the engine takes
// it: a JSON catalogue loaded; an INSERT text lexed and its literals converted
// into typed values and a row; the row packed compact and expanded, wrapped as
// a stored object plain and with LZMA, and read back; rows held in the
// versioned cache under a savepoint, rolled back, written again and committed
// into a store; their key in a B-tree, the first entries packed as an index
// node; their key records through the external sort, which must give the
// B-tree's order; and the committed objects read back into the values that
// went in. `zelbase demo`, `zelbase road`, the road test and the road fuzz
// target share this one implementation.
//
// The check is exact: every column that went into the compact stream comes
// back with the same value (by its type's compare and its text), the columns
// that the stream leaves out (rowids, references, no value) come back
// without one, the stream read back packs to the same bytes, and the expanded
// image read back is the same image.
#ifndef ZELBASE_ROAD_H
#define ZELBASE_ROAD_H

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "dbobj_types.h"
#include "lzma.h"
#include "schema_types.h"
#include "tag_types.h"
#include "zelbcdtypes.h"

// The stages, in the order the road takes them.
enum ZbRoadStage : int {
    kZbRoadLex,           // the INSERT text into literals
    kZbRoadConvert,       // literals into the column types and a row buffer
    kZbRoadPackCompact,   // the compact stream
    kZbRoadPackExpanded,  // the expanded image
    kZbRoadWrapPlain,     // the compact stream as a stored object, plain
    kZbRoadWrapLzma,      // and with LZMA
    kZbRoadBack,          // both objects unwrapped, unpacked and checked
    kZbRoadCache,         // savepoint, writes, rollback, writes, commit
    kZbRoadIndex,         // the key of every row into a B-tree
    kZbRoadNode,          // the first entries as an index node, packed and read
    kZbRoadSort,          // the key records through the external sort
    kZbRoadStore,         // the committed objects read back and checked
    kZbRoadStages
};
extern const char *const kZbRoadStageNames[kZbRoadStages];

// One literal of a VALUES list.
struct ZbRoadLiteral {
    enum Kind { kNull, kTrue, kFalse, kInteger, kDouble, kDecimal, kString, kBinary, kArray };
    Kind kind = kNull;
    bool negative = false;  // a minus sign stood before the number
    uint64_t iv = 0;
    double dv = 0;
    ZEL_BCD_T bcd{};
    std::string text;                  // a string's bytes
    std::vector<uint8_t> bytes;        // a binary literal's bytes
    std::vector<ZbRoadLiteral> elems;  // ARRAY[...]
};

// INSERT INTO table [(col, ...)] VALUES (literal, ...) [;]
struct ZbRoadInsert {
    std::string table;
    bool named = false;             // a column list was given
    std::vector<std::string> cols;  // without one: every active column in order
    std::vector<ZbRoadLiteral> values;
};

// Time (nanoseconds) and bytes of the stages of a run.
struct ZbRoadStats {
    uint64_t ns[kZbRoadStages] = {};
    uint64_t rows = 0;
    uint64_t compact = 0, expanded = 0, plain = 0, lzma = 0;  // bytes, summed over rows
    uint64_t stored = 0;                                      // bytes the commit wrote
    uint64_t nodeBytes = 0;                                   // the index node, compact
    uint32_t nodeEntries = 0;
    uint32_t spilled = 0;  // pages the sort wrote to its files
};

// The road's state over one catalogue. `err` says what failed and where;
// `broken` is set when a check found a difference (every other failure is a
// code the library gave for the input).
struct ZbRoad {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    SCH_INFO sch = nullptr;
    B_LZMA_T lzma{};
    bool lzmaUp = false;
    uint32_t minSize = 160;  // objects from this size on go through LZMA
    uint32_t sortPages = 16;
    std::string tmpDir;  // the sort's files; empty: the system's
    std::string err;
    bool broken = false;
    ZbRoadStats stats;
    std::vector<uint8_t> node;  // the last index node, compact
};

// "shop": customer(id int32 not null, name varchar(81), since date, balance
// decimal(12,2), photo blob) with the B-tree keys customer_pk (id) and
// by_since (since desc, name); orders(id int64 not null, customer int32
// referring to customer, placed timestamp, amount decimal(10,2)) with
// orders_pk and by_placed. The demo's, and `zelbase road`'s by default.
extern const char *const kZbRoadDemoCatalog;

// Loads the catalogue `json` (NUL-terminated) from the road's tags and sets
// up the LZMA coder. eINVNULLARG without tags; the loader's and the coder's
// codes, with `err` set.
ZEL_RETCODE zb_road_open(ZbRoad *r, B_TAG_MASTER master, B_TAG_SUB sub, const char *json,
                         bool unicode);
// Gives back what zb_road_open took.
void zb_road_close(ZbRoad *r);

// The table named, case-blind; null when there is none.
SCH_TBL_INFO zb_road_table(const ZbRoad *r, const char *name);
// The key the road indexes: the primary key when it is a B-tree key, else
// the first B-tree key; null when the table has none.
SCH_KEY_INFO_C zb_road_key(SCH_TBL_INFO_C ti);

// The steps of one row. Each returns sOKAY or a code, with `err` set.
ZEL_RETCODE zb_road_lex(ZbRoad *r, const char *sql, ZbRoadInsert *out);
// A buffer row of the insert's table, every column named assigned through
// the conversion engine: the caller frees it with row_free.
ZEL_RETCODE zb_road_convert(ZbRoad *r, const ZbRoadInsert &ins, ZEL_ROW *row);
ZEL_RETCODE zb_road_pack(ZbRoad *r, const ZEL_ROW &row, bool expanded, std::vector<uint8_t> *out);
ZEL_RETCODE zb_road_wrap(ZbRoad *r, const std::vector<uint8_t> &body, ZEL_COMPRESS_METHOD method,
                         uint32_t minSize, bool expanded, std::vector<uint8_t> *out);
ZEL_RETCODE zb_road_unwrap(ZbRoad *r, const std::vector<uint8_t> &stored,
                           std::vector<uint8_t> *body, ZEL_ITEM_FORMAT *format);
ZEL_RETCODE zb_road_unpack(ZbRoad *r, SCH_TBL_INFO_C ti, const std::vector<uint8_t> &body,
                           bool expanded, ZEL_ROW *row);
// True when `back` holds what `row` held (above); else false, `broken` and
// `err` set.
bool zb_road_same(ZbRoad *r, const ZEL_ROW &row, const ZEL_ROW &back);
// "name=value" of every active column, "<ZEL NULL>" for a null, "(no value)"
// for none and "(present)" for a large object's mark.
std::vector<std::string> zb_road_texts(const ZEL_ROW &row);

// The whole road over `sqls`, INSERTs into one table: every row through the
// steps above, then the cache, the index, the node, the sort and the store.
// `stored`, when not null, gets each row's committed object in slot order.
// Times and bytes add up in r->stats; `err` tells the run's first failure,
// `broken` stays set once a check failed.
ZEL_RETCODE zb_road_run(ZbRoad *r, const std::vector<std::string> &sqls,
                        std::vector<std::vector<uint8_t>> *stored = nullptr);

// An INSERT of a random row of `ti`: every column the road can fill, a
// nullable one sometimes NULL or left out, values in the column's range and
// written in every literal form the lexer reads.
std::string zb_road_random_insert(SCH_TBL_INFO_C ti, std::mt19937_64 &rng);

#endif
