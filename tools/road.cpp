// The road of a row (road.h). Every step runs on the road's sub tag and gives
// back what it took on every path, failures included, so that the road test
// can run it under allocation failures and the fuzz target can watch the tag.
#include "road.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <type_traits>

#include "bcd.h"
#include "btree.h"
#include "buffer.h"
#include "convert.h"
#include "dbobj.h"
#include "decoder.h"
#include "encoder.h"
#include "error.h"
#include "lex.h"
#include "node.h"
#include "psp.h"
#include "row.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_load.h"
#include "schema_ops.h"
#include "sort.h"
#include "tag_sub.h"
#include "types.h"
#include "value.h"
#include "vcache.h"

const char *const kZbRoadStageNames[kZbRoadStages] = {
    "lex",       "convert", "pack compact", "pack expanded", "wrap plain", "wrap LZMA",
    "read back", "cache",   "index",        "index node",    "sort",       "store read",
};

// The demo's catalogue. The keys of each object come in the order a load
// needs.
const char *const kZbRoadDemoCatalog = R"({"database":{
  "name":"shop","locale":"C","maxdrawers":16,"nodrawers":13,"nextdrawer":13,
  "maxtabs":3,"notabs":3,"nexttab":3,
  "drawers":[{"dwrid":5,"tabid":"1","srcid":1,"type":"table"},
             {"dwrid":6,"tabid":"1","srcid":0,"type":"btree"},
             {"dwrid":7,"tabid":"1","srcid":1,"type":"btree"},
             {"dwrid":8,"tabid":"1","srcid":4,"type":"blob"},
             {"dwrid":9,"tabid":"2","srcid":2,"type":"table"},
             {"dwrid":10,"tabid":"2","srcid":0,"type":"btree"},
             {"dwrid":11,"tabid":"2","srcid":0,"type":"ref"},
             {"dwrid":12,"tabid":"2","srcid":1,"type":"btree"}],
  "tables":[
   {"tabid":1,"dwrid":5,"name":"customer","nocols":5,"nextcol":5,"maxcols":5,
    "nokeys":2,"nextkey":2,"maxkeys":2,
    "columns":[{"colid":0,"name":"id","type":{"data_type":"int32"},"keyid":0,"usage":1,
                "not_null":""},
               {"colid":1,"name":"name","type":{"data_type":"varchar","length":81},"usage":1},
               {"colid":2,"name":"since","type":{"data_type":"date"},"usage":1},
               {"colid":3,"name":"balance","type":{"data_type":"decimal","length":12,"scale":2}},
               {"colid":4,"name":"photo","type":{"data_type":"blob"},"dwrid":8}],
    "keys":[{"keyid":0,"dwrid":6,"name":"customer_pk","type":"primary","method":"btree",
             "nocols":1,"cols":[{"colid":"0","order":"asc"}]},
            {"keyid":1,"dwrid":7,"name":"by_since","type":"nonunique","method":"btree",
             "nocols":2,"cols":[{"colid":"2","order":"desc"},{"colid":"1","order":"asc"}]}]},
   {"tabid":2,"dwrid":9,"name":"orders","nocols":4,"nextcol":4,"maxcols":4,
    "nokeys":2,"nextkey":2,"maxkeys":2,"norefs":1,"maxrefs":1,
    "columns":[{"colid":0,"name":"id","type":{"data_type":"int64"},"keyid":0,"usage":1,
                "not_null":""},
               {"colid":1,"name":"customer","type":{"data_type":"int32"},"usage":2,
                "refid":0,"r_tabid":"1","r_colid":"0"},
               {"colid":2,"name":"placed","type":{"data_type":"timestamp"},"usage":1},
               {"colid":3,"name":"amount","type":{"data_type":"decimal","length":10,"scale":2}}],
    "keys":[{"keyid":0,"dwrid":10,"name":"orders_pk","type":"primary","method":"btree",
             "nocols":1,"cols":[{"colid":"0","order":"asc"}]},
            {"keyid":1,"dwrid":12,"name":"by_placed","type":"nonunique","method":"btree",
             "nocols":1,"cols":[{"colid":"2","order":"asc"}]}],
    "refs":[{"refid":0,"dwrid":11,"name":"orders_customer","otabid":"1","pkeyid":"0",
             "on_upd":"restrict","on_del":"cascade","nocols":1,"nosortcols":1,
             "cols":["1"],"sortcols":[{"colid":"2","order":"desc"}]}]}]}})";

namespace {

using Bytes = std::vector<uint8_t>;

// Records the first failure's place and hands the code on.
ZEL_RETCODE road_fail(ZbRoad *r, ZEL_RETCODE rc, const std::string &what) {
    if (r->err.empty()) r->err = what + ": " + zelErrorString(rc);
    return rc;
}

// A difference found by a check.
ZEL_RETCODE road_broken(ZbRoad *r, const std::string &what) {
    if (!r->broken) r->err = what;
    r->broken = true;
    return eFAIL;
}

// Time of one stage, added when the scope ends.
struct RoadClock {
    uint64_t *slot;
    uint64_t start = psp_timeMeasureNanoSecs();
    explicit RoadClock(ZbRoad *r, ZbRoadStage s) : slot(&r->stats.ns[s]) {}
    ~RoadClock() { *slot += psp_timeMeasureNanoSecs() - start; }
};

struct RoadBuffer {
    B_BUFFER_T b{};
    explicit RoadBuffer(B_TAG_SUB sub) { b_bufferInit(&b, sub); }
    ~RoadBuffer() { b_bufferTerm(&b); }
    Bytes bytes() const { return Bytes(b.data.bin, b.data.bin + b.len); }
};

// A row buffer given back when the scope ends.
struct RoadRow {
    ZEL_ROW row{};
    ~RoadRow() {
        if (row.format == ZEL_ROW_FORMAT_BUFFER) row_free(&row);
    }
};

VAL_STATUS road_status(const ZEL_ROW &row, SCH_COL_INFO_C ci) {
    return row.data.b.col_status[sch_find_col_active_ndx(row.ti, sch_col_ndx(ci))];
}

bool road_lob(SCH_COL_INFO_C ci) {
    return (sch_col_data_type(ci) & ZEL_TYPE_LOB_BIT) != 0;
}

bool road_lob_present(const ZEL_ROW &row, SCH_COL_INFO_C ci) {
    const ZEL_HAS_VALUE_OFFSET hv = sch_col_has_value_offset(ci);
    return hv == 0 || row.data.b.col_data[hv] != 0;
}

// ---- Lexing.

// One token, copied out of the lexer (which frees its own at once).
struct RoadToken {
    B_TOKTYPE type = tokEOS;
    std::string id;  // an identifier, as the lexer gives it (upper case)
    ZbRoadLiteral lit;
};

ZEL_RETCODE road_next(ZbRoad *r, B_LEX_T *lex, RoadToken *t) {
    B_TOKEN tok{};
    t->type = b_lexGet(lex, &tok);
    t->id.clear();
    t->lit = ZbRoadLiteral{};
    ZEL_RETCODE rc = sOKAY;
    switch (t->type) {
        case tokERROR:
            rc = lex->nomem ? eNOMEMORY : eSYNTAX;
            if (r->err.empty())
                r->err = std::string("lex at ") + std::to_string(tok.pos) + ": " +
                         (tok.v.str ? tok.v.str : "error");
            break;
        case tokIDENTIFIER:
            t->id = tok.v.id ? tok.v.id : "";
            break;
        case tokINTEGER:
            t->lit.kind = ZbRoadLiteral::kInteger;
            t->lit.iv = tok.v.iv;
            break;
        case tokDOUBLE:
            t->lit.kind = ZbRoadLiteral::kDouble;
            t->lit.dv = tok.v.dv;
            break;
        case tokDECIMAL:
            t->lit.kind = ZbRoadLiteral::kDecimal;
            if (tok.v.bcd) t->lit.bcd = *tok.v.bcd;
            break;
        case tokSTRING:
            t->lit.kind = ZbRoadLiteral::kString;
            t->lit.text = tok.v.str ? tok.v.str : "";
            break;
        case tokBINARY:
            t->lit.kind = ZbRoadLiteral::kBinary;
            if (tok.len) t->lit.bytes.assign(tok.v.bv, tok.v.bv + tok.len);
            break;
        default:
            break;
    }
    b_lexTokenFree(lex, &tok);
    // A token whose copy failed comes out as an error, a capture that lost
    // characters only sets the flag: either is a failed allocation.
    if (rc == sOKAY && lex->nomem) rc = eNOMEMORY;
    if (rc == eNOMEMORY) return road_fail(r, rc, "lex");
    return rc;
}

bool road_word(const RoadToken &t, const char *word) {
    return t.type == tokIDENTIFIER && psp_strcasecmp(t.id.c_str(), word) == 0;
}

ZEL_RETCODE road_syntax(ZbRoad *r, const RoadToken &t, const char *wanted) {
    if (r->err.empty()) {
        r->err = std::string("syntax: ") + wanted + " wanted";
        if (t.type == tokIDENTIFIER) r->err += ", not " + t.id;
    }
    return eSYNTAX;
}

ZEL_RETCODE road_literal(ZbRoad *r, B_LEX_T *lex, RoadToken &t, ZbRoadLiteral *out, int depth) {
    ZEL_RETCODE rc;
    if (t.type == tokMINUS || t.type == tokPLUS) {
        const bool minus = t.type == tokMINUS;
        ZEL_CHECK(rc = road_next(r, lex, &t));
        const auto k = t.lit.kind;
        if (k != ZbRoadLiteral::kInteger && k != ZbRoadLiteral::kDouble &&
            k != ZbRoadLiteral::kDecimal)
            return road_syntax(r, t, "a number after the sign");
        *out = t.lit;
        out->negative = minus;
        return road_next(r, lex, &t);
    }
    if (t.type == tokIDENTIFIER) {
        if (road_word(t, "NULL") || road_word(t, "TRUE") || road_word(t, "FALSE")) {
            out->kind = road_word(t, "NULL")   ? ZbRoadLiteral::kNull
                        : road_word(t, "TRUE") ? ZbRoadLiteral::kTrue
                                               : ZbRoadLiteral::kFalse;
            return road_next(r, lex, &t);
        }
        if (road_word(t, "ARRAY")) {
            if (depth > 0) return road_syntax(r, t, "no array in an array");
            ZEL_CHECK(rc = road_next(r, lex, &t));
            if (t.type != tokLBRACK) return road_syntax(r, t, "[ after ARRAY");
            out->kind = ZbRoadLiteral::kArray;
            ZEL_CHECK(rc = road_next(r, lex, &t));
            while (t.type != tokRBRACK) {
                if (!out->elems.empty()) {
                    if (t.type != tokCOMMA) return road_syntax(r, t, ", or ] in the array");
                    ZEL_CHECK(rc = road_next(r, lex, &t));
                }
                ZbRoadLiteral e;
                ZEL_CHECK(rc = road_literal(r, lex, t, &e, depth + 1));
                out->elems.push_back(e);
            }
            return road_next(r, lex, &t);
        }
        // A typed literal, DATE '...' and the like: the column's type decides
        // how the text is read.
        ZEL_CHECK(rc = road_next(r, lex, &t));
        if (t.type != tokSTRING) return road_syntax(r, t, "a string after the type word");
    }
    switch (t.type) {
        case tokINTEGER:
        case tokDOUBLE:
        case tokDECIMAL:
        case tokSTRING:
        case tokBINARY:
            *out = t.lit;
            return road_next(r, lex, &t);
        default:
            return road_syntax(r, t, "a literal");
    }
}

// A name: an identifier, quoted or not.
ZEL_RETCODE road_name(ZbRoad *r, B_LEX_T *lex, RoadToken &t, std::string *name) {
    if (t.type != tokIDENTIFIER) return road_syntax(r, t, "a name");
    *name = t.id;
    return road_next(r, lex, &t);
}

ZEL_RETCODE road_parse(ZbRoad *r, B_LEX_T *lex, ZbRoadInsert *out) {
    ZEL_RETCODE rc;
    RoadToken t;
    ZEL_CHECK(rc = road_next(r, lex, &t));
    if (!road_word(t, "INSERT")) return road_syntax(r, t, "INSERT");
    ZEL_CHECK(rc = road_next(r, lex, &t));
    if (!road_word(t, "INTO")) return road_syntax(r, t, "INTO");
    ZEL_CHECK(rc = road_next(r, lex, &t));
    ZEL_CHECK(rc = road_name(r, lex, t, &out->table));
    if (t.type == tokLPAR) {
        out->named = true;
        ZEL_CHECK(rc = road_next(r, lex, &t));
        while (t.type != tokRPAR) {
            if (!out->cols.empty()) {
                if (t.type != tokCOMMA) return road_syntax(r, t, ", or ) in the columns");
                ZEL_CHECK(rc = road_next(r, lex, &t));
            }
            std::string col;
            ZEL_CHECK(rc = road_name(r, lex, t, &col));
            out->cols.push_back(col);
        }
        ZEL_CHECK(rc = road_next(r, lex, &t));
    }
    if (!road_word(t, "VALUES")) return road_syntax(r, t, "VALUES");
    ZEL_CHECK(rc = road_next(r, lex, &t));
    if (t.type != tokLPAR) return road_syntax(r, t, "( before the values");
    ZEL_CHECK(rc = road_next(r, lex, &t));
    while (t.type != tokRPAR) {
        if (!out->values.empty()) {
            if (t.type != tokCOMMA) return road_syntax(r, t, ", or ) in the values");
            ZEL_CHECK(rc = road_next(r, lex, &t));
        }
        ZbRoadLiteral lit;
        ZEL_CHECK(rc = road_literal(r, lex, t, &lit, 0));
        out->values.push_back(lit);
    }
    ZEL_CHECK(rc = road_next(r, lex, &t));
    if (t.type == tokSEMI) ZEL_CHECK(rc = road_next(r, lex, &t));
    if (t.type != tokEOS) return road_syntax(r, t, "the end after the statement");
    return sOKAY;
}

// ---- Converting.

constexpr ZEL_DATE_FORMAT kRoadDate = ZEL_YYYYMMDD;
constexpr ZEL_TIME_FORMAT kRoadTime = ZEL_HHMMSSFFFF;

// The literal as a value of its own type; pointer data stays the literal's.
ZEL_RETCODE road_source(const ZbRoadLiteral &lit, ZEL_VALUE *v, ZEL_BCD_T *scratch) {
    zel_valueInit(v);
    switch (lit.kind) {
        case ZbRoadLiteral::kTrue:
        case ZbRoadLiteral::kFalse:
            zel_valueSetBoolean(v, lit.kind == ZbRoadLiteral::kTrue ? ZEL_TRUE : ZEL_FALSE);
            return sOKAY;
        case ZbRoadLiteral::kInteger:
            if (!lit.negative) {
                if (lit.iv <= uint64_t{INT64_MAX})
                    zel_valueSetInt64(v, static_cast<int64_t>(lit.iv));
                else
                    zel_valueSetUInt64(v, lit.iv);
            } else if (lit.iv <= uint64_t{INT64_MAX} + 1) {
                zel_valueSetInt64(v, static_cast<int64_t>(0 - lit.iv));
            } else {
                return eRANGE;
            }
            return sOKAY;
        case ZbRoadLiteral::kDouble:
            zel_valueSetDouble(v, lit.negative ? -lit.dv : lit.dv);
            return sOKAY;
        case ZbRoadLiteral::kDecimal: {
            ZEL_RETCODE rc = sOKAY;
            if (lit.negative)
                ZEL_CHECK(rc = zel_bcdChgSign(&lit.bcd, scratch));
            else
                zel_bcdCopy(&lit.bcd, scratch);
            return zel_valueSetBCD(v, scratch);
        }
        case ZbRoadLiteral::kString:
            return zel_valueSetString(v, lit.text.c_str());
        case ZbRoadLiteral::kBinary:
            return zel_valueSetBinary(v, lit.bytes.empty() ? nullptr : lit.bytes.data(),
                                      lit.bytes.size());
        default:
            return eINVCONVERT;
    }
}

// An array column: each element through the conversion engine into its
// place; elements not given stay 0.
ZEL_RETCODE road_assign_array(ZbRoad *r, SCH_COL_INFO_C ci, const ZbRoadLiteral &lit,
                              uint8_t *colData) {
    const uint16_t elems = sch_col_num_elems(ci);
    if (lit.kind != ZbRoadLiteral::kArray) return eINVCONVERT;
    if (lit.elems.size() > elems) return eRANGE;
    const size_t width = sch_col_byte_len(ci) / elems;
    Bytes buf(sch_col_byte_len(ci));
    for (size_t i = 0; i < lit.elems.size(); ++i) {
        ZEL_VALUE src;
        ZEL_BCD_T scratch{};
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = road_source(lit.elems[i], &src, &scratch));
        size_t got = 0;
        rc = b_convertZelValueToBuffer(&src, sch_col_data_type(ci), kRoadDate, '-', kRoadTime, 0,
                                       buf.data() + i * width, width, nullptr, &got);
        if (rc < 0) return rc;
    }
    ZEL_VALUE v;
    zel_valueInitWithStatusAndType(&v, vsOKAY, sch_col_data_type(ci));
    v.elts = elems;
    v.vt.pv = buf.data();
    (void)r;
    return sch_col_copy_to_buff_fcn(ci, colData, &v);
}

// One column of the row from its literal: the engine's assignment.
ZEL_RETCODE road_assign(ZbRoad *r, SCH_COL_INFO_C ci, const ZbRoadLiteral &lit, ZEL_ROW *row) {
    VAL_STATUS &st = row->data.b.col_status[sch_find_col_active_ndx(row->ti, sch_col_ndx(ci))];
    uint8_t *colData = row->data.b.col_data;
    const ZEL_HAS_VALUE_OFFSET hv = sch_col_has_value_offset(ci);
    if (lit.kind == ZbRoadLiteral::kNull) {
        if (sch_col_not_null(ci)) return eNOTNULL;
        ZEL_VALUE v;
        zel_valueInitWithStatusAndType(&v, vsNULL, sch_col_data_type(ci));
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = sch_col_copy_to_buff_fcn(ci, colData, &v));
        st = vsNULL;
        return sOKAY;
    }
    if (road_lob(ci)) {
        // A large object's content goes to its chunks; the row only marks
        // that it is there.
        if (lit.kind != ZbRoadLiteral::kString && lit.kind != ZbRoadLiteral::kBinary)
            return eINVCONVERT;
        if (hv) colData[hv] = 1;
        st = vsNOVAL;
        return sOKAY;
    }
    ZEL_RETCODE rc;
    if (sch_col_num_elems(ci)) {
        ZEL_CHECK(rc = road_assign_array(r, ci, lit, colData));
        st = vsOKAY;
        return sOKAY;
    }
    ZEL_VALUE src, dst;
    ZEL_BCD_T scratch{};
    ZEL_CHECK(rc = road_source(lit, &src, &scratch));
    const ZEL_TYPE t = sch_col_data_type(ci);
    const int fam = ZEL_TYPE_FAMILY(t);
    // The engine sizes a binary destination by its source's length and
    // refuses a length of 0: X'' is an empty value of the column's own type.
    if (lit.kind == ZbRoadLiteral::kBinary && lit.bytes.empty() && fam == ZEL_FAMILY_BINARY)
        src.type = t;
    const size_t maxLen =
        fam == ZEL_FAMILY_CHAR || fam == ZEL_FAMILY_BINARY ? sch_col_byte_len(ci) : 0;
    zel_valueInit(&dst);
    rc = zel_valueConvert(&dst, &src, t, maxLen, kRoadDate, '-', kRoadTime, 0, r->sub);
    if (rc < 0) return rc;
    if (rc == sTRUNCATE) {
        rc = eSTRTOOLONG;  // the text does not fit the column
    } else if (fam == ZEL_FAMILY_DECIMAL) {
        // Fitted to the column as the engine assigns it: fraction digits
        // past the scale cut, integer digits past the precision refused.
        SCH_TYPE_INFO_C pi = sch_col_type_c(ci);
        rc = zel_bcdAdjust(dst.vt.bcd, sch_type_prec(pi), sch_type_scale(pi));
        if (rc >= 0) zel_bcdNormalize(dst.vt.bcd);
    }
    if (rc >= 0) rc = sch_col_copy_to_buff_fcn(ci, colData, &dst);
    // zel_valueFree leaves a time stamp with zone's 12 bytes to the tag
    // (deliberately): the road gives them back itself.
    if (t == ZEL_TIMESTAMPTZ && dst.vt.tszv != nullptr)
        b_tag_subFree(r->sub, dst.vt.tszv);
    else
        zel_valueFree(&dst, r->sub);
    if (rc < 0) return rc;
    st = vsOKAY;
    return sOKAY;
}

ZEL_RETCODE road_empty_row(ZbRoad *r, SCH_TBL_INFO_C ti, ZEL_ROW *row) {
    uint8_t none[3] = {0, 0, 0};  // no AVL keys, no joins, no groups
    B_BUFFER_T in;
    b_bufferInitStatic(&in, none, sizeof none, sizeof none);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, r->sub);
    return row_unpack_compact_buffer(row, &d, 0, ti, r->sub, nullptr, nullptr);
}

// ---- Values back.

ZEL_RETCODE road_put(B_OUTPUT_CTX ctx, uint32_t c) {
    static_cast<std::string *>(ctx)->push_back(static_cast<char>(c));
    return sOKAY;
}

std::string road_value_text(SCH_COL_INFO_C ci, const ZEL_VALUE *v) {
    std::string s;
    if (sch_col_data_type(ci) == ZEL_VARBINARY) {
        // The type's text out reads a ZEL_VARBINARY_T at vt (deliberately:
        // it pairs with its text in), a value from a row buffer has the
        // bytes there: they are printed here.
        char two[4];
        for (size_t i = 0; i < v->len; ++i) {
            std::snprintf(two, sizeof two, "%02X", static_cast<const uint8_t *>(v->vt.pv)[i]);
            s += two;
        }
        return s;
    }
    const uint16_t elems = sch_col_num_elems(ci);
    for (uint32_t e = 0; e < (elems ? elems : 1u); ++e) {
        if (e) s += ",";
        if (sch_col_tostring_fcn(ci, v, e, 0, road_put, &s) < 0) s += "?";
    }
    return s;
}

std::string road_col_text(const ZEL_ROW &row, SCH_COL_INFO_C ci) {
    if (road_lob(ci)) return road_lob_present(row, ci) ? "(present)" : "<ZEL NULL>";
    if (road_status(row, ci) == vsNOVAL) return "(no value)";
    ZEL_VALUE v;
    zel_valueInit(&v);
    if (sch_col_assign_from_buff_fcn(ci, &v, row.data.b.col_data) < 0) return "?";
    return road_value_text(ci, &v);
}

// ---- The cache's objects: rows, copied whole (a row buffer holds no
// pointer but into itself).

ZEL_RETCODE road_row_copy(B_TAG_SUB sub, const ZEL_ROW *src, ZEL_ROW *dst) {
    ZEL_ROW out = *src;
    if (src->row_data == nullptr) {  // an empty object
        *dst = out;
        return sOKAY;
    }
    uint8_t *p = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(sub, src->data_len, &p));
    std::memcpy(p, src->row_data, src->data_len);
    auto rebase = [&](auto *ptr) {
        using T = std::remove_pointer_t<decltype(ptr)>;
        return ptr ? reinterpret_cast<T *>(p +
                                           (reinterpret_cast<const uint8_t *>(ptr) - src->row_data))
                   : nullptr;
    };
    out.avls = rebase(src->avls);
    out.joins = rebase(src->joins);
    out.data.b.col_data = rebase(src->data.b.col_data);
    out.data.b.col_status = rebase(src->data.b.col_status);
    out.row_data = p;
    out.subTag = sub;
    *dst = out;
    return sOKAY;
}

struct RoadCacheCtx {
    ZbRoad *r;
    std::vector<Bytes> *store;
};

ZEL_RETCODE road_cache_cstr(void *obj, const void *src, const void *ctx) {
    auto *c = static_cast<const RoadCacheCtx *>(ctx);
    auto *row = static_cast<ZEL_ROW *>(obj);
    if (src == nullptr) {
        *row = ZEL_ROW{};
        return sOKAY;
    }
    return road_row_copy(c->r->sub, static_cast<const ZEL_ROW *>(src), row);
}

void road_cache_dstr(void *obj, const void *) {
    auto *row = static_cast<ZEL_ROW *>(obj);
    if (row->format == ZEL_ROW_FORMAT_BUFFER) row_free(row);
}

ZEL_RETCODE road_cache_full(uint32_t, const void *) {
    return sOKAY;
}

// The engine's write of a committed row: packed, wrapped, stored at its slot.
ZEL_RETCODE road_cache_commit(const void *, uint64_t id, void *obj, const void *ctx) {
    auto *c = static_cast<const RoadCacheCtx *>(ctx);
    Bytes body, stored;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zb_road_pack(c->r, *static_cast<const ZEL_ROW *>(obj), false, &body));
    ZEL_CHECK(rc = zb_road_wrap(c->r, body, ZEL_COMPRESS_LZMA, c->r->minSize, false, &stored));
    (*c->store)[id - 1] = stored;
    return sOKAY;
}

// Puts every row into the cache at slots 1 up, under the savepoint.
ZEL_RETCODE road_cache_write(ZbRoad *r, B_VSUBCACHE_T *sc, const std::vector<RoadRow> &rows) {
    for (size_t i = 0; i < rows.size(); ++i) {
        void *obj = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        ZEL_RETCODE rc;
        if ((rc = b_vcacheAdd(sc, i + 1, ZEL_TRUE, &obj, &h)) != sOKAY)
            return road_fail(r, rc, "cache add");
        auto *row = static_cast<ZEL_ROW *>(obj);
        road_cache_dstr(row, nullptr);
        if ((rc = road_row_copy(r->sub, &rows[i].row, row)) != sOKAY) {
            *row = ZEL_ROW{};
            b_vcacheRelease(h);
            return road_fail(r, rc, "cache object");
        }
        if ((rc = b_vcacheWrite(h)) != sOKAY) return road_fail(r, rc, "cache write");
    }
    return sOKAY;
}

ZEL_RETCODE road_cache(ZbRoad *r, const std::vector<RoadRow> &rows, std::vector<Bytes> *store) {
    RoadClock clock(r, kZbRoadCache);
    RoadCacheCtx ctx{r, store};
    B_VCACHE_T cache;
    ZEL_RETCODE rc;
    if ((rc = b_vcacheInit(&cache, static_cast<uint32_t>(rows.size() + 16), sizeof(ZEL_ROW),
                           road_cache_cstr, road_cache_dstr, nullptr, road_cache_full,
                           road_cache_commit, &ctx, r->sub)) != sOKAY)
        return road_fail(r, rc, "cache init");
    ZEL_DRAWER_INFO drawer{ZEL_DRAWER_TABLE, ZEL_FALSE};
    B_VSUBCACHE_T sc;
    static const char savepoint[] = "road";
    if ((rc = b_vcacheAddSubcache(&cache, &drawer, &sc)) != sOKAY) {
        b_vcacheTerm(&cache);
        return road_fail(r, rc, "cache subcache");
    }
    if ((rc = b_vcacheSetMark(&cache, savepoint)) != sOKAY) {
        road_fail(r, rc, "savepoint");
    } else if ((rc = road_cache_write(r, &sc, rows)) == sOKAY) {
        // The rollback undoes every first write: the entries go.
        if ((rc = b_vcacheRollback(&cache, savepoint)) != sOKAY) {
            road_fail(r, rc, "rollback");
        } else if (cache.num_entries != 0 || b_vcacheGetModifiedCount(&cache) != 0) {
            rc = road_broken(r, "entries left after the rollback");
        } else if ((rc = road_cache_write(r, &sc, rows)) == sOKAY) {
            if ((rc = b_vcacheCommit(B_VCACHE_FORWARD, &cache)) != sOKAY)
                road_fail(r, rc, "commit");
            else if (!drawer.add_list || b_vcacheGetModifiedCount(&cache) != 0)
                rc = road_broken(r, "the commit left modified entries");
        }
    }
    b_vcacheRemoveSubcache(&cache, &sc);
    b_vcacheTerm(&cache);
    return rc;
}

// ---- The index: entries of the row's slot and its key buffer.

struct RoadKey {
    SCH_KEY_INFO_C ki;
    uint32_t len;  // the key buffer's bytes
};

int road_key_cmp(SCH_KEY_INFO_C ki, const uint8_t *a, const uint8_t *b) {
    for (ZEL_COL_INDEX i = 0; i < sch_key_num_elems(ki); ++i) {
        SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, i);
        ZEL_VALUE va, vb;
        zel_valueInit(&va);
        zel_valueInit(&vb);
        if (sch_elem_assign_from_buff_fcn(ei, &va, a) < 0 ||
            sch_elem_assign_from_buff_fcn(ei, &vb, b) < 0)
            continue;
        int c = sch_col_cmp_fcn(sch_elem_col(ei), &va, &vb);
        if (c != 0) return sch_elem_dir(ei) == ZEL_REVERSE ? -c : c;
    }
    return 0;
}

// Entries: the slot (8 bytes, host order), then the key buffer.
ZEL_COMPARE road_entry_cmp(const void *a, const void *b, const void *ctx) {
    auto *k = static_cast<const RoadKey *>(ctx);
    const auto *x = static_cast<const uint8_t *>(a), *y = static_cast<const uint8_t *>(b);
    if (int c = road_key_cmp(k->ki, x + 8, y + 8); c != 0) return c < 0 ? ZEL_LT : ZEL_GT;
    uint64_t sx, sy;
    std::memcpy(&sx, x, 8);
    std::memcpy(&sy, y, 8);
    return sx < sy ? ZEL_LT : sx > sy ? ZEL_GT : ZEL_EQ;
}

ZEL_COMPARE road_sort_cmp(const void *a, const void *b, void *ctx) {
    const int c = road_key_cmp(static_cast<const RoadKey *>(ctx)->ki,
                               static_cast<const uint8_t *>(a), static_cast<const uint8_t *>(b));
    return c < 0 ? ZEL_LT : c > 0 ? ZEL_GT : ZEL_EQ;
}

// The key buffer of a row, written into `buff` (cleared, the key's bytes).
ZEL_RETCODE road_key_of(SCH_KEY_INFO_C ki, const ZEL_ROW &row, uint8_t *buff) {
    std::vector<ZEL_VALUE> vals(sch_key_num_elems(ki));
    for (ZEL_COL_INDEX i = 0; i < sch_key_num_elems(ki); ++i) {
        SCH_COL_INFO_C ci = sch_elem_col(sch_key_elem_c(ki, i));
        zel_valueInit(&vals[i]);
        if (road_status(row, ci) != vsOKAY ||
            sch_col_assign_from_buff_fcn(ci, &vals[i], row.data.b.col_data) < 0)
            zel_valueInitWithStatusAndType(&vals[i], vsNULL, sch_col_data_type(ci));
    }
    return sch_key_copy_to_buff_fcn(ki, buff, vals.data());
}

// Entries allocated from the sub tag, given back with the scope.
struct RoadEntries {
    B_TAG_SUB sub;
    std::vector<uint8_t *> list;
    ~RoadEntries() {
        for (uint8_t *p : list) b_tag_subFree(sub, p);
    }
};

// The first entries of the tree as an index node, packed compact and read
// back: the same entries.
ZEL_RETCODE road_node(ZbRoad *r, B_BTREE_T *bt, const RoadKey &key) {
    RoadClock clock(r, kZbRoadNode);
    uint8_t none[1] = {0};  // an empty node: no entries
    B_BUFFER_T in;
    b_bufferInitStatic(&in, none, 1, 1);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, r->sub);
    ZEL_NODE node{};
    ZEL_RETCODE rc;
    if ((rc = node_unpack_compact_index(&node, key.ki, &d, r->sub)) != sOKAY)
        return road_fail(r, rc, "index node");
    uint16_t n = 0;
    for (auto *e = static_cast<const uint8_t *>(b_btFirst(bt));
         e != nullptr && n < ZEL_NODE_MAX_ENTRIES; e = static_cast<const uint8_t *>(b_btNext(bt))) {
        std::memcpy(&node.slotData->ids[n], e, 8);
        std::memcpy(node.slotData->node_data + size_t{node.slotItemLen} * n, e + 8, key.len);
        ++n;
    }
    node.used = n;
    RoadBuffer out(r->sub);
    B_ENCODER_T enc;
    b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &out.b, r->sub);
    rc = node_pack_compact(&node, &enc);
    Bytes bytes = out.bytes();
    if (rc != sOKAY) {
        node_free(&node);
        return road_fail(r, rc, "index node pack");
    }
    B_BUFFER_T src;
    b_bufferInitStatic(&src, bytes.data(), bytes.size(), bytes.size());
    B_DECODER_T dec;
    b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, &src, r->sub);
    ZEL_NODE back{};
    rc = node_unpack_compact_index(&back, key.ki, &dec, r->sub);
    if (rc == sOKAY) {
        const size_t data = size_t{node.slotItemLen} * n;
        if (back.used != n || std::memcmp(back.slotData->ids, node.slotData->ids, 8 * n) != 0 ||
            std::memcmp(back.slotData->node_data, node.slotData->node_data, data) != 0)
            (void)road_broken(r, "the index node reads back different");
        node_free(&back);
    } else {
        road_fail(r, rc, "index node unpack");
    }
    node_free(&node);
    r->stats.nodeBytes = bytes.size();
    r->stats.nodeEntries = n;
    r->node = bytes;
    return r->broken ? eFAIL : rc;
}

// The key records through the external sort: the order must be the tree's.
ZEL_RETCODE road_sort(ZbRoad *r, B_BTREE_T *bt, const RoadKey &key,
                      const std::vector<uint8_t *> &entries) {
    RoadClock clock(r, kZbRoadSort);
    uint32_t counter = 0;
    const B_SORTATTR env[1] = {{nullptr, nullptr, &counter}};
    const std::string dir =
        r->tmpDir.empty() ? std::filesystem::temp_directory_path().string() : r->tmpDir;
    B_SORT_T s;
    ZEL_RETCODE rc;
    if ((rc = b_sortInit(&s, env, r->sortPages, dir.c_str(), r->sub)) != sOKAY)
        return road_fail(r, rc, "sort init");
    // The key, by the key's compare; then the slot, which makes the order total.
    const SORTDESCR f[2] = {
        {reinterpret_cast<CMPFUNCTION>(reinterpret_cast<void (*)()>(road_sort_cmp)),
         const_cast<RoadKey *>(&key), 1, key.len, 8, 0, SORT_TYPE_BYTES},
        {nullptr, nullptr, 2, 8, 0, 0, SORT_TYPE_UINT64}};
    if ((rc = b_sortStart(&s, 2, f)) != sOKAY) road_fail(r, rc, "sort start");
    for (size_t i = 0; rc == sOKAY && i < entries.size(); ++i)
        if ((rc = b_sortStore(&s, entries[i])) != sOKAY) road_fail(r, rc, "sort store");
    if (rc == sOKAY && (rc = b_sortComplete(&s)) != sOKAY) road_fail(r, rc, "sort");
    Bytes rec(8 + key.len);
    uint32_t got = 0;
    size_t read = 0;
    auto *e = static_cast<const uint8_t *>(b_btFirst(bt));
    while (rc == sOKAY) {
        rc = b_sortRead(&s, 1, rec.data(), &got);
        if (rc == sNODATA) {
            rc = sOKAY;
            break;
        }
        if (rc != sOKAY) {
            road_fail(r, rc, "sort read");
            break;
        }
        if (e == nullptr || std::memcmp(e, rec.data(), rec.size()) != 0) {
            rc = road_broken(r, "the sort's record " + std::to_string(read) + " is not the tree's");
            break;
        }
        ++read;
        e = static_cast<const uint8_t *>(b_btNext(bt));
    }
    if (rc == sOKAY && read != entries.size())
        rc = road_broken(r, "the sort gave " + std::to_string(read) + " records");
    r->stats.spilled += static_cast<uint32_t>(s.recFile.writes + s.indFile.writes);
    b_sortTerm(&s);
    return rc;
}

ZEL_RETCODE road_index(ZbRoad *r, SCH_TBL_INFO_C ti, const std::vector<RoadRow> &rows) {
    SCH_KEY_INFO_C ki = zb_road_key(ti);
    if (ki == nullptr) return sOKAY;
    const RoadKey key{ki, sch_key_byte_len(ki)};
    RoadEntries entries{r->sub, {}};
    B_BTREE_T bt;
    ZEL_RETCODE rc;
    {
        RoadClock clock(r, kZbRoadIndex);
        if ((rc = b_btInit(&bt, road_entry_cmp, ZEL_NODE_MAX_ENTRIES, &key, r->sub)) != sOKAY)
            return road_fail(r, rc, "B-tree init");
        for (size_t i = 0; rc == sOKAY && i < rows.size(); ++i) {
            uint8_t *e = nullptr;
            if ((rc = b_tag_subAllocClear(r->sub, 8 + key.len, &e)) != sOKAY) {
                road_fail(r, rc, "index entry");
                break;
            }
            entries.list.push_back(e);
            const uint64_t slot = i + 1;
            std::memcpy(e, &slot, 8);
            if ((rc = road_key_of(ki, rows[i].row, e + 8)) != sOKAY)
                road_fail(r, rc, "key buffer");
            else if ((rc = b_btAdd(&bt, e)) != sOKAY)
                road_fail(r, rc, "B-tree add");
        }
        if (rc == sOKAY && b_btCount(&bt) != rows.size())
            rc = road_broken(r, "the B-tree holds " + std::to_string(b_btCount(&bt)) + " entries");
    }
    if (rc == sOKAY) rc = road_node(r, &bt, key);
    if (rc == sOKAY) rc = road_sort(r, &bt, key, entries.list);
    b_btTerm(&bt);
    return rc;
}

// ---- One row: packed both ways, wrapped both ways, read back.

struct RoadStoredRow {
    Bytes compact, plain, lzma;
};

bool road_body_is(const Bytes &body, const Bytes &packed) {
    if (body.size() < packed.size() || !std::equal(packed.begin(), packed.end(), body.begin()))
        return false;
    return std::all_of(body.begin() + static_cast<std::ptrdiff_t>(packed.size()), body.end(),
                       [](uint8_t b) { return b == 0; });
}

// An object read back: unwrapped to `packed` (with its padding) and unpacked
// into what `row` holds.
ZEL_RETCODE road_read_back(ZbRoad *r, const ZEL_ROW &row, const Bytes &stored, const Bytes &packed,
                           bool expanded, const char *what) {
    Bytes body;
    ZEL_ITEM_FORMAT format{};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zb_road_unwrap(r, stored, &body, &format));
    const ZEL_ITEM_FORMAT want = expanded ? ZEL_ITEM_FORMAT_EXPANDED : ZEL_ITEM_FORMAT_COMPACT;
    if (format != want || !road_body_is(body, packed))
        return road_broken(r, std::string(what) + ": unwrapped, not the packed bytes");
    RoadRow back;
    ZEL_CHECK(rc = zb_road_unpack(r, row.ti, body, expanded, &back.row));
    if (expanded) {
        // The image comes back as it went.
        if (back.row.data_len < row.data_len ||
            std::memcmp(back.row.row_data, row.row_data, row.data_len) != 0)
            return road_broken(r, std::string(what) + ": another image");
        return sOKAY;
    }
    if (!zb_road_same(r, row, back.row)) return eFAIL;
    Bytes again;
    ZEL_CHECK(rc = zb_road_pack(r, back.row, false, &again));
    if (again != packed)
        return road_broken(r, std::string(what) + ": the row read back packs otherwise");
    return sOKAY;
}

ZEL_RETCODE road_one(ZbRoad *r, const std::string &sql, RoadRow *out, RoadStoredRow *st,
                     SCH_TBL_INFO_C *pti) {
    ZbRoadInsert ins;
    ZEL_RETCODE rc;
    {
        RoadClock clock(r, kZbRoadLex);
        ZEL_CHECK(rc = zb_road_lex(r, sql.c_str(), &ins));
    }
    {
        RoadClock clock(r, kZbRoadConvert);
        ZEL_CHECK(rc = zb_road_convert(r, ins, &out->row));
    }
    if (*pti != nullptr && *pti != out->row.ti)
        return road_fail(r, eINVARG, "a batch is of one table");
    *pti = out->row.ti;
    Bytes expanded, wrappedExpanded;
    {
        RoadClock clock(r, kZbRoadPackCompact);
        ZEL_CHECK(rc = zb_road_pack(r, out->row, false, &st->compact));
    }
    {
        RoadClock clock(r, kZbRoadPackExpanded);
        ZEL_CHECK(rc = zb_road_pack(r, out->row, true, &expanded));
    }
    {
        RoadClock clock(r, kZbRoadWrapPlain);
        ZEL_CHECK(rc = zb_road_wrap(r, st->compact, ZEL_COMPRESS_NONE, 0, false, &st->plain));
    }
    {
        RoadClock clock(r, kZbRoadWrapLzma);
        ZEL_CHECK(rc = zb_road_wrap(r, st->compact, ZEL_COMPRESS_LZMA, 0, false, &st->lzma));
    }
    RoadClock clock(r, kZbRoadBack);
    ZEL_CHECK(rc = road_read_back(r, out->row, st->plain, st->compact, false, "plain"));
    ZEL_CHECK(rc = road_read_back(r, out->row, st->lzma, st->compact, false, "LZMA"));
    ZEL_CHECK(rc =
                  zb_road_wrap(r, expanded, ZEL_COMPRESS_LZMA, r->minSize, true, &wrappedExpanded));
    ZEL_CHECK(rc = road_read_back(r, out->row, wrappedExpanded, expanded, true, "expanded"));
    r->stats.compact += st->compact.size();
    r->stats.expanded += expanded.size();
    r->stats.plain += st->plain.size();
    r->stats.lzma += st->lzma.size();
    return sOKAY;
}

}  // namespace

// ---- The road.

ZEL_RETCODE zb_road_open(ZbRoad *r, B_TAG_MASTER master, B_TAG_SUB sub, const char *json,
                         bool unicode) {
    if (r == nullptr || master == nullptr || sub == nullptr || json == nullptr) return eINVNULLARG;
    r->master = master;
    r->sub = sub;
    ZEL_RETCODE rc;
    if ((rc = sch_read_database_schema_buffer(&r->sch, json, unicode ? ZEL_TRUE : ZEL_FALSE, sub,
                                              master)) != sOKAY)
        return road_fail(r, rc, "the catalogue");
    if ((rc = b_lzmaInit(&r->lzma, sub)) != sOKAY) {
        sch_destroy(r->sch);
        r->sch = nullptr;
        return road_fail(r, rc, "the LZMA coder");
    }
    r->lzmaUp = true;
    return sOKAY;
}

void zb_road_close(ZbRoad *r) {
    if (r->lzmaUp) b_lzmaTerm(&r->lzma);
    r->lzmaUp = false;
    if (r->sch) sch_destroy(r->sch);
    r->sch = nullptr;
}

SCH_TBL_INFO zb_road_table(const ZbRoad *r, const char *name) {
    for (SCH_TBL_INFO ti = sch_iterate_tables(r->sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(r->sch, ti, ZEL_FORWARD))
        if (sch_tbl_name(ti) && psp_strcasecmp(sch_tbl_name(ti), name) == 0) return ti;
    return nullptr;
}

SCH_KEY_INFO_C zb_road_key(SCH_TBL_INFO_C ti) {
    SCH_KEY_INFO_C first = nullptr;
    for (auto ki = sch_iterate_keys_active(ti, nullptr, ZEL_FORWARD); ki;
         ki = sch_iterate_keys_active(ti, ki, ZEL_FORWARD)) {
        if (sch_key_method(ki) != ZEL_KEY_METHOD_BTREE || sch_key_num_elems(ki) == 0) continue;
        if (sch_key_type(ki) == ZEL_KEY_TYPE_PRIMARY) return ki;
        if (first == nullptr) first = ki;
    }
    return first;
}

ZEL_RETCODE zb_road_lex(ZbRoad *r, const char *sql, ZbRoadInsert *out) {
    B_LEX_T lex;
    ZEL_RETCODE rc;
    if ((rc = b_lexInit(&lex, "road", ZEL_TRUE, ZEL_TRUE, r->sub)) != sOKAY)
        return road_fail(r, rc, "lexer");
    ZbRoadInsert ins;
    if ((rc = b_lexStart(&lex, sql, nullptr, 1, nullptr)) != sOKAY)
        road_fail(r, rc, "lexer start");
    else
        rc = road_parse(r, &lex, &ins);
    b_lexTerm(&lex);
    if (rc == sOKAY) *out = ins;
    return rc;
}

ZEL_RETCODE zb_road_convert(ZbRoad *r, const ZbRoadInsert &ins, ZEL_ROW *row) {
    SCH_TBL_INFO ti = zb_road_table(r, ins.table.c_str());
    if (ti == nullptr) return road_fail(r, eNOTFOUND, "table " + ins.table);
    std::vector<SCH_COL_INFO_C> cols;
    if (!ins.named) {
        for (auto ci = sch_iterate_cols_active(ti, nullptr, ZEL_FORWARD); ci;
             ci = sch_iterate_cols_active(ti, ci, ZEL_FORWARD))
            cols.push_back(ci);
    } else {
        for (const std::string &name : ins.cols) {
            SCH_COL_INFO_C ci = sch_find_col_by_name(ti, name.c_str());
            if (ci == nullptr) return road_fail(r, eNOTFOUND, "column " + name);
            if (std::find(cols.begin(), cols.end(), ci) != cols.end())
                return road_fail(r, eDUPLICATE, "column " + name);
            cols.push_back(ci);
        }
    }
    if (cols.size() != ins.values.size())
        return road_fail(r, eINVARG,
                         std::to_string(cols.size()) + " columns and " +
                             std::to_string(ins.values.size()) + " values");
    RoadRow built;
    ZEL_RETCODE rc;
    if ((rc = road_empty_row(r, ti, &built.row)) != sOKAY) return road_fail(r, rc, "empty row");
    for (size_t i = 0; i < cols.size(); ++i)
        if ((rc = road_assign(r, cols[i], ins.values[i], &built.row)) != sOKAY)
            return road_fail(r, rc, std::string("column ") + sch_col_name(cols[i]));
    *row = built.row;
    built.row = ZEL_ROW{};
    return sOKAY;
}

ZEL_RETCODE zb_road_pack(ZbRoad *r, const ZEL_ROW &row, bool expanded, Bytes *out) {
    RoadBuffer b(r->sub);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &b.b, r->sub);
    const ZEL_RETCODE rc = expanded ? row_pack_expanded(&row, &e) : row_pack_compact(&row, &e);
    if (rc != sOKAY) return road_fail(r, rc, expanded ? "pack expanded" : "pack compact");
    *out = b.bytes();
    return sOKAY;
}

ZEL_RETCODE zb_road_wrap(ZbRoad *r, const Bytes &body, ZEL_COMPRESS_METHOD method, uint32_t minSize,
                         bool expanded, Bytes *out) {
    Bytes copy = body;
    B_BUFFER_T src;
    b_bufferInitStatic(&src, copy.data(), copy.size(), copy.size());
    RoadBuffer dst(r->sub);
    const ZEL_RETCODE rc =
        dbobj_compress(&r->lzma, method, minSize,
                       expanded ? ZEL_ITEM_FORMAT_EXPANDED : ZEL_ITEM_FORMAT_COMPACT, &src, &dst.b);
    if (rc != sOKAY) return road_fail(r, rc, "wrap");
    *out = dst.bytes();
    return sOKAY;
}

ZEL_RETCODE zb_road_unwrap(ZbRoad *r, const Bytes &stored, Bytes *body, ZEL_ITEM_FORMAT *format) {
    Bytes copy = stored;
    B_BUFFER_T src;
    b_bufferInitStatic(&src, copy.data(), copy.size(), copy.size());
    RoadBuffer dst(r->sub);
    ZEL_ITEM_FORMAT f{};
    const ZEL_RETCODE rc = dbobj_convert_in(&dst.b, &src, nullptr, &f, &r->lzma);
    if (rc < 0) return road_fail(r, rc, "unwrap");
    *body = dst.bytes();
    *format = f;
    return sOKAY;
}

ZEL_RETCODE zb_road_unpack(ZbRoad *r, SCH_TBL_INFO_C ti, const Bytes &body, bool expanded,
                           ZEL_ROW *row) {
    Bytes copy = body;
    B_BUFFER_T in;
    b_bufferInitStatic(&in, copy.data(), copy.size(), copy.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, r->sub);
    const ZEL_RETCODE rc = expanded ? row_unpack_expanded(row, &d, 1, ti, r->sub, nullptr, nullptr)
                                    : row_unpack_compact(row, &d, 1, ti, r->sub, nullptr, nullptr);
    if (rc != sOKAY) return road_fail(r, rc, expanded ? "unpack expanded" : "unpack compact");
    return sOKAY;
}

bool zb_road_same(ZbRoad *r, const ZEL_ROW &row, const ZEL_ROW &back) {
    for (auto ci = sch_iterate_cols_active(row.ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(row.ti, ci, ZEL_FORWARD)) {
        const bool in = calc_storable_buffer(ci, &row), out = calc_storable_buffer(ci, &back);
        const std::string name = sch_col_name(ci);
        if (in != out) {
            (void)road_broken(r, "column " + name + (in ? " lost its value" : " gained a value"));
            return false;
        }
        if (!in || road_lob(ci)) continue;
        ZEL_VALUE a, b;
        zel_valueInit(&a);
        zel_valueInit(&b);
        if (sch_col_assign_from_buff_fcn(ci, &a, row.data.b.col_data) < 0 ||
            sch_col_assign_from_buff_fcn(ci, &b, back.data.b.col_data) < 0) {
            (void)road_broken(r, "column " + name + " cannot be read");
            return false;
        }
        const std::string ta = road_value_text(ci, &a), tb = road_value_text(ci, &b);
        if (sch_col_cmp_fcn(ci, &a, &b) != ZEL_EQ || ta != tb) {
            (void)road_broken(r, "column " + name + ": " + ta + " went in, " + tb + " came back");
            return false;
        }
    }
    return true;
}

std::vector<std::string> zb_road_texts(const ZEL_ROW &row) {
    std::vector<std::string> out;
    for (auto ci = sch_iterate_cols_active(row.ti, nullptr, ZEL_FORWARD); ci;
         ci = sch_iterate_cols_active(row.ti, ci, ZEL_FORWARD))
        out.push_back(std::string(sch_col_name(ci)) + "=" + road_col_text(row, ci));
    return out;
}

ZEL_RETCODE zb_road_run(ZbRoad *r, const std::vector<std::string> &sqls,
                        std::vector<Bytes> *stored) {
    r->err.clear();
    std::vector<RoadRow> rows(sqls.size());
    std::vector<RoadStoredRow> packed(sqls.size());
    SCH_TBL_INFO_C ti = nullptr;
    ZEL_RETCODE rc;
    for (size_t i = 0; i < sqls.size(); ++i) {
        if ((rc = road_one(r, sqls[i], &rows[i], &packed[i], &ti)) != sOKAY) {
            r->err = "row " + std::to_string(i + 1) + ": " + r->err;
            return rc;
        }
    }
    r->stats.rows += sqls.size();
    if (ti == nullptr) return sOKAY;
    std::vector<Bytes> store(rows.size());
    ZEL_CHECK(rc = road_cache(r, rows, &store));
    ZEL_CHECK(rc = road_index(r, ti, rows));
    RoadClock clock(r, kZbRoadStore);
    for (size_t i = 0; i < rows.size(); ++i) {
        // What the commit wrote is what wrapping the row gave before: the
        // same row, the same bytes.
        const RoadStoredRow &p = packed[i];
        const Bytes &want = p.compact.size() >= r->minSize ? p.lzma : p.plain;
        if (store[i] != want)
            return road_broken(r, "row " + std::to_string(i + 1) + ": committed other bytes");
        ZEL_CHECK(rc = road_read_back(r, rows[i].row, store[i], p.compact, false, "stored"));
        r->stats.stored += store[i].size();
    }
    if (stored) *stored = store;
    return sOKAY;
}
