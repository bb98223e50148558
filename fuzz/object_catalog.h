// object_catalog.h - the fixed catalogue under the bucket and R-tree fuzzers
// and the tests of those formats, built through the setters as in
// row_catalog.h: hash keys whose elements are nullable or not, and a
// spatial key over an array column of each element type a box moves
// through, plus ones that a box cannot use. No test framework: the fuzzers
// include it too.
#ifndef OBJECT_CATALOG_H
#define OBJECT_CATALOG_H

#include <cstdint>

#include "row_catalog.h"

// Columns of `spot`, the table of the hash keys.
inline constexpr RcCol kOcSpotCols[] = {
    {"id", ZEL_INT32, 0, 0, true},   {"name", ZEL_VARCHAR, 10, 0, false},
    {"qty", ZEL_INT16, 0, 0, false}, {"x", ZEL_DOUBLE, 0, 0, false},
    {"big", ZEL_INT64, 0, 0, true},  {"a", ZEL_INT8, 0, 0, false},
    {"b", ZEL_INT8, 0, 0, false},    {"c", ZEL_INT8, 0, 0, true},
};

// Columns of `area`, one array per spatial key, in the order of kOcBoxKeys.
inline constexpr RcCol kOcAreaCols[] = {
    {"id", ZEL_INT32, 0, 0, true},         {"i8", ZEL_INT8, 0, 4, false},
    {"u8", ZEL_UINT8, 0, 4, false},        {"i16", ZEL_INT16, 0, 4, false},
    {"u16", ZEL_UINT16, 0, 4, false},      {"i32", ZEL_INT32, 0, 4, false},
    {"u32", ZEL_UINT32, 0, 4, false},      {"i64", ZEL_INT64, 0, 4, false},
    {"u64", ZEL_UINT64, 0, 4, false},      {"f32", ZEL_FLOAT, 0, 4, false},
    {"f64", ZEL_DOUBLE, 0, 6, false},      {"f64x8", ZEL_DOUBLE, 0, 8, false},
    {"flags", ZEL_BOOL, 0, 4, false},      {"f64x10", ZEL_DOUBLE, 0, 10, false},
    {"label", ZEL_VARCHAR, 100, 0, false},
};
inline constexpr ZEL_KEY_INDEX kOcBoxKeys = 12;   // over columns 1 to 12: usable
inline constexpr ZEL_KEY_INDEX kOcAreaKeys = 14;  // and two that are not

struct ObjectCatalog {
    SCH_INFO sch = nullptr;
    SCH_KEY_INFO byName = nullptr;   // spot (name, qty, id): name and qty nullable
    SCH_KEY_INFO byIds = nullptr;    // spot (id, big): no has-value bytes, 16 bytes
    SCH_KEY_INFO five = nullptr;     // spot (a, b, c): 5 bytes
    SCH_KEY_INFO notHash = nullptr;  // spot (id), a B-tree key: no bucket layout
    // area: box[k] over column k + 1; box[12] over DOUBLE[10], box[13] over
    // a VARCHAR(100), both past 64 bytes.
    SCH_KEY_INFO box[kOcAreaKeys] = {};
};

// Builds the catalogue on `sub`; on a failure the caller destroys cat->sch.
inline ZEL_RETCODE oc_build(B_TAG_SUB sub, ObjectCatalog *cat) {
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_create(&cat->sch, sub));
    SCH_INFO sch = cat->sch;
    ZEL_CHECK(rc = sch_set_name(sch, "objects"));
    ZEL_CHECK(rc = sch_set_max_table(sch, 3));
    ZEL_CHECK(rc = sch_set_next_table(sch, 3));
    SCH_TBL_INFO spot = nullptr, area = nullptr;
    ZEL_CHECK(rc = rc_table(sch, 1, "spot", kOcSpotCols, sizeof kOcSpotCols / sizeof *kOcSpotCols,
                            4, 0, &spot));
    static constexpr ZEL_COL_INDEX byName[] = {1, 2, 0}, byIds[] = {0, 4}, five[] = {5, 6, 7},
                                   byId[] = {0};
    ZEL_CHECK(rc = rc_key(spot, 0, "by_name", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_HASH, byName,
                          3, &cat->byName));
    ZEL_CHECK(rc = rc_key(spot, 1, "by_ids", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_HASH, byIds, 2,
                          &cat->byIds));
    ZEL_CHECK(rc = rc_key(spot, 2, "five", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_HASH, five, 3,
                          &cat->five));
    ZEL_CHECK(rc = rc_key(spot, 3, "by_id", ZEL_KEY_TYPE_UNIQUE, ZEL_KEY_METHOD_BTREE, byId, 1,
                          &cat->notHash));
    ZEL_CHECK(rc = sch_tbl_finalize(spot, ZEL_TRUE));

    ZEL_CHECK(rc = rc_table(sch, 2, "area", kOcAreaCols, sizeof kOcAreaCols / sizeof *kOcAreaCols,
                            kOcAreaKeys, 0, &area));
    static constexpr const char *names[kOcAreaKeys] = {
        "by_i8",  "by_u8",  "by_i16", "by_u16",   "by_i32",   "by_u32",    "by_i64",
        "by_u64", "by_f32", "by_f64", "by_f64x8", "by_flags", "by_f64x10", "by_label"};
    for (ZEL_KEY_INDEX k = 0; k < kOcAreaKeys; ++k) {
        const ZEL_COL_INDEX col[] = {static_cast<ZEL_COL_INDEX>(k + 1)};
        ZEL_CHECK(rc = rc_key(area, k, names[k], ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_RTREE, col,
                              1, &cat->box[k]));
    }
    ZEL_CHECK(rc = sch_tbl_finalize(area, ZEL_TRUE));
    return sOKAY;
}

#endif
