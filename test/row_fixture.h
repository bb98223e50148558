// row_fixture.h - rows for the tests of the row and node formats: rows made
// from an empty stream and filled from text through each column's type,
// streams packed into and read from library buffers, and a database
// instance with its buffer pool.
#ifndef ROW_FIXTURE_H
#define ROW_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "row.h"
#include "schema.h"
#include "schema_fixture.h"
#include "schema_ops.h"
#include "tag_sub.h"
#include "value.h"
#include "vectors.h"

using Bytes = std::vector<uint8_t>;

inline std::vector<std::string> rf_split(const std::string &s, char sep) {
    return vectors_split(s, sep);
}

inline std::string rf_hex(const Bytes &b) {
    std::string s;
    char two[4];
    for (size_t i = 0; i < b.size(); ++i) {
        std::snprintf(two, sizeof two, i ? " %02X" : "%02X", b[i]);
        s += two;
    }
    return s;
}

inline Bytes rf_bytes(const std::string &hex) {
    const std::string s = vectors_unhex(hex);
    return Bytes(s.begin(), s.end());
}

// The lines of a vector file of test/data, split at tabs.
inline std::vector<VectorRow> rf_vectors(const char *name) {
    return vectors_read(name, '\t', false);
}

// An encoder or decoder over a growing library buffer on `sub`.
struct RfSink {
    B_BUFFER_T buf{};
    B_ENCODER_T enc{};
    explicit RfSink(B_TAG_SUB sub) {
        b_bufferInit(&buf, sub);
        b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, sub);
    }
    ~RfSink() { b_bufferTerm(&buf); }
    Bytes bytes() const { return Bytes(buf.data.bin, buf.data.bin + buf.len); }
};

// The same over 64 KiB of the caller's memory: no tag allocation, so that
// checks made under allocation failures do not fail themselves.
struct RfStaticSink {
    std::vector<uint8_t> mem = std::vector<uint8_t>(65536);
    B_BUFFER_T buf{};
    B_ENCODER_T enc{};
    RfStaticSink() {
        b_bufferInitStatic(&buf, mem.data(), mem.size(), 0);
        b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, nullptr);
    }
    Bytes bytes() const { return Bytes(buf.data.bin, buf.data.bin + buf.len); }
};

struct RfSource {
    Bytes data;
    B_BUFFER_T buf{};
    B_DECODER_T dec{};
    RfSource(const Bytes &b, B_TAG_SUB sub) : data(b) {
        b_bufferInitStatic(&buf, data.data(), data.size(), data.size());
        b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, &buf, sub);
    }
};

inline VAL_STATUS rf_status(const ZEL_ROW &row, SCH_COL_INFO_C ci) {
    return row.data.b.col_status[sch_find_col_active_ndx(row.ti, sch_col_ndx(ci))];
}

inline uint8_t *rf_col(const ZEL_ROW &row, SCH_COL_INFO_C ci) {
    return row.data.b.col_data + sch_col_offset(ci);
}

// A row of `ti` with nothing in it: every nullable column vsNULL.
inline ZEL_RETCODE rf_empty(ZEL_ROW *row, SCH_TBL_INFO_C ti, B_TAG_SUB sub, ZEL_ROWID_T rowid = 0) {
    RfSource src({0, 0, 0}, sub);
    return row_unpack_compact_buffer(row, &src.dec, rowid, ti, sub, nullptr, nullptr);
}

// Column `name` of the row from text, through its type; status vsOKAY.
inline ZEL_RETCODE rf_set(ZEL_ROW *row, const char *name, const char *text, B_TAG_SUB sub) {
    SCH_COL_INFO ci = sch_find_col_by_name(row->ti, name);
    if (!ci) return eNOTFOUND;
    SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
    ZEL_VALUE v;
    zel_valueInit(&v);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = sch_type_info(pi)->fromstring(pi, &v, 0, 0, sub, text));
    rc = sch_col_copy_to_buff_fcn(ci, row->data.b.col_data, &v);
    // Time stamps with zone and wide text are left to the tag by the value's
    // free: the parsed copy goes back here.
    const ZEL_TYPE t = sch_col_data_type(ci);
    void *leftToTag = t == ZEL_TIMESTAMPTZ || t == ZEL_WCHAR || t == ZEL_WVARCHAR ||
                              t == ZEL_WCHAR_UTF8 || t == ZEL_WVARCHAR_UTF8
                          ? const_cast<void *>(v.vt.pv)
                          : nullptr;
    sch_col_free_fcn(ci, &v, sub);
    if (leftToTag) b_tag_subFree(sub, leftToTag);
    ZEL_CHECK(rc);
    row->data.b.col_status[sch_find_col_active_ndx(row->ti, sch_col_ndx(ci))] = vsOKAY;
    return sOKAY;
}

// The column's value as text, "<ZEL NULL>" for a null.
inline std::string rf_text(const ZEL_ROW &row, const char *name) {
    SCH_COL_INFO ci = sch_find_col_by_name(row.ti, name);
    ZEL_VALUE v;
    zel_valueInit(&v);
    if (!ci || sch_col_assign_from_buff_fcn(ci, &v, row.data.b.col_data) != sOKAY) return "?";
    std::string out;
    auto put = [](B_OUTPUT_CTX ctx, uint32_t c) -> ZEL_RETCODE {
        static_cast<std::string *>(ctx)->push_back(static_cast<char>(c));
        return sOKAY;
    };
    if (sch_col_tostring_fcn(ci, &v, 0, 0, put, &out) != sOKAY) return "?";
    return out;
}

inline Bytes rf_pack(const ZEL_ROW &row, B_TAG_SUB sub, bool expanded = false,
                     ZEL_RETCODE want = sOKAY) {
    RfSink s(sub);
    EXPECT_EQ(expanded ? row_pack_expanded(&row, &s.enc) : row_pack_compact(&row, &s.enc), want);
    return s.bytes();
}

// The same into caller's memory, for checks under allocation failures.
inline Bytes rf_pack_static(const ZEL_ROW &row, bool expanded = false) {
    RfStaticSink s;
    EXPECT_EQ(expanded ? row_pack_expanded(&row, &s.enc) : row_pack_compact(&row, &s.enc), sOKAY);
    return s.bytes();
}

inline ZEL_RETCODE rf_unpack(ZEL_ROW *row, SCH_TBL_INFO_C ti, const Bytes &b, B_TAG_SUB sub,
                             bool expanded = false, DB_INSTANCE *dbi = nullptr,
                             ZEL_ERR *hErr = nullptr, ZEL_ROWID_T rowid = 0) {
    RfSource src(b, sub);
    return expanded ? row_unpack_expanded(row, &src.dec, rowid, ti, sub, hErr, dbi)
                    : row_unpack_compact(row, &src.dec, rowid, ti, sub, hErr, dbi);
}

// The table of the vectors of gen_row.py: columns 0 to 11 with column 8
// retired, and the key k (s, name, id).
inline void rf_model_table(SCH_INFO sch, SCH_TBL_INFO *pti, SCH_KEY_INFO *pki) {
    SCH_TBL_INFO ti = nullptr;
    ASSERT_EQ(fx_addTable(sch, 1, "model",
                          {{"id", ZEL_INT64, 0, 0, true},
                           {"a", ZEL_INT32},
                           {"name", ZEL_VARCHAR, 41},
                           {"s", ZEL_INT16},
                           {"ok", ZEL_BOOL},
                           {"day", ZEL_DATE},
                           {"x", ZEL_DOUBLE},
                           {"u", ZEL_UINT32},
                           {"gone", ZEL_VARCHAR, 21},
                           {"b", ZEL_INT32, 0, 0, true},
                           {"r", ZEL_ROWID},
                           {"t", ZEL_TIMESTAMP}},
                          1, 0, &ti),
              sOKAY);
    ASSERT_EQ(
        fx_addKey(ti, 0, "k", ZEL_KEY_TYPE_NONUNIQUE, ZEL_KEY_METHOD_BTREE, {3, 2, 0}, true, pki),
        sOKAY);
    ASSERT_EQ(sch_tbl_col_drop(sch_get_col_by_index(ti, 8), ZEL_FALSE), sOKAY);
    ASSERT_EQ(sch_tbl_finalize(ti, ZEL_TRUE), sOKAY);
    *pti = ti;
}

// An instance with its buffer pool on `sub`, terminated with it.
struct RfInstance {
    DB_INSTANCE dbi{};
    RfInstance(B_TAG_SUB sub, ZEL_ROW_FORMAT format) {
        b_poolInit(&dbi.bufferPool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
        dbi.row_format = format;
    }
    ~RfInstance() { b_poolTerm(&dbi.bufferPool); }
};

#endif
