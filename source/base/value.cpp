/*
 * value.cpp - the zel_value family over the tagged value record.
 * The per-type setters and comparisons are one template each, stamped out for
 * every member of the payload union; the rest dispatches on the type number,
 * whose low four bits give the family and whose 0x1000 bit marks large
 * objects. Deep copy and release are written once over an allocator policy so
 * that the sub-tag and stack-tag forms cannot drift apart.
 */
#include "value.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "bcd.h"
#include "psp.h"
#include "tag_ref_internal.h"
#include "types_types.h"

static_assert(sizeof(ZEL_COLUMN) == 8, "the payload is one machine word");
static_assert(sizeof(ZEL_VALUE) == 48);
static_assert(offsetof(ZEL_VALUE, status) == 0);
static_assert(offsetof(ZEL_VALUE, type) == 4);
static_assert(offsetof(ZEL_VALUE, elts) == 8);
static_assert(offsetof(ZEL_VALUE, len) == 16);
static_assert(offsetof(ZEL_VALUE, vt) == 24);
static_assert(offsetof(ZEL_VALUE, tag) == 32);
static_assert(sizeof(ZEL_BCD_T) == ZEL_VALUE_BCD_SIZE);
static_assert(sizeof(ZEL_UUID_T) == ZEL_VALUE_UUID_SIZE);
static_assert(sizeof(ZEL_PACKED_TIMESTAMPTZ_T) == ZEL_VALUE_TIMESTAMPTZ_SIZE);
static_assert(sizeof(ZEL_PACKED_TIMESTAMP_T) == 8 && sizeof(ZEL_PACKED_TIMETZ_T) == 8);

namespace {

constexpr int zel_valueFamily(ZEL_TYPE t) {
    return ZEL_TYPE_FAMILY(t);
}
constexpr bool zel_valueIsLob(ZEL_TYPE t) {
    return (static_cast<int>(t) & ZEL_TYPE_LOB_BIT) != 0;
}

// Narrow and UTF-8 text: the types whose length is strlen + 1.
constexpr bool zel_valueIsNarrowText(ZEL_TYPE t) {
    return t == ZEL_CHAR || t == ZEL_VARCHAR || t == ZEL_WCHAR_UTF8 || t == ZEL_WVARCHAR_UTF8;
}

// The two words of the payload as the date and time code reads them.
struct ValueWords {
    uint32_t first;
    uint32_t second;
};

ValueWords zel_valueWords(const ZEL_COLUMN &vt) {
    ValueWords w;
    std::memcpy(&w, &vt, sizeof w);
    return w;
}

// The record's own tag; with VAL_TAG_TYPE_NONE it holds none.
zel::detail::TagRef zel_valueTagOf(const VAL_TAG &tag) {
    if (tag.type == VAL_TAG_TYPE_SUB) return tag.tag.sub;
    if (tag.type == VAL_TAG_TYPE_STACK) return tag.tag.stack;
    return {};
}

// Copies `n` bytes (or a terminated text when `text`) through the record's
// own tag; with no tag the caller's pointer is kept.
ZEL_RETCODE zel_valueTagCopy(const VAL_TAG &tag, const void *src, size_t n, bool text,
                             const void **out) {
    if (tag.type == VAL_TAG_TYPE_NONE) {
        *out = src;
        return sOKAY;
    }
    if (tag.type != VAL_TAG_TYPE_SUB && tag.type != VAL_TAG_TYPE_STACK) return eINVARG;
    const zel::detail::TagRef to = zel_valueTagOf(tag);
    void *copy = nullptr;
    ZEL_CHECK(text ? to.copyString(static_cast<const char *>(src), &copy)
                   : to.allocCopy(src, n, &copy));
    *out = copy;
    return sOKAY;
}

// Common tail of the pointer setters: the record changes only after the copy
// succeeded.
ZEL_RETCODE zel_valueSetPointer(ZEL_VALUE *pVal, ZEL_TYPE type, const void *src, size_t n,
                                bool text, size_t len) {
    const void *data;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_valueTagCopy(pVal->tag, src, n, text, &data));
    pVal->status = vsOKAY;
    pVal->type = type;
    pVal->elts = 0;
    pVal->len = len;
    pVal->vt.u64v = 0;
    pVal->vt.pv = data;
    return sOKAY;
}

// ---- Generated families: one template per pattern, one line per type.

template <auto Member, ZEL_TYPE Type, typename T>
void zel_valueSetInline(ZEL_VALUE *pVal, T v) {
    if (pVal == nullptr) return;
    pVal->status = vsOKAY;
    pVal->type = Type;
    pVal->elts = 0;
    pVal->len = 0;
    pVal->vt.u64v = 0;
    pVal->vt.*Member = v;
    pVal->tag.type = VAL_TAG_TYPE_NONE;
    pVal->tag.tag.sub = nullptr;
}

template <typename T>
ZEL_COMPARE zel_valueOrder(T a, T b) {
    // Both tests fail for a NaN on either side, which gives ZEL_EQ.
    if (a > b) return ZEL_GT;
    if (b > a) return ZEL_LT;
    return ZEL_EQ;
}

template <auto Member, ZEL_TYPE Type, typename T>
ZEL_RETCODE zel_valueCompareTo(const ZEL_VALUE *pVal, T v, ZEL_COMPARE *pCmp) {
    if (pVal == nullptr) return eINVNULLARG;
    if (pVal->type != Type) return eTYPEMISMATCH;  // no widening, on purpose
    if (pCmp != nullptr) *pCmp = zel_valueOrder<T>(pVal->vt.*Member, v);
    return sOKAY;
}

// ---- Reading numbers.

// Raw integer of one of the eight integer types: `value` sign-extended for
// signed types, `bits` the zero-extended pattern. False for other types.
struct ValueInt {
    int64_t value;
    uint64_t bits;
    bool isSigned;
};

bool zel_valueReadInt(const ZEL_VALUE &v, ValueInt &out) {
    switch (v.type) {
        case ZEL_INT8:
            out = {v.vt.i8v, static_cast<uint8_t>(v.vt.i8v), true};
            return true;
        case ZEL_UINT8:
            out = {v.vt.u8v, v.vt.u8v, false};
            return true;
        case ZEL_INT16:
            out = {v.vt.i16v, static_cast<uint16_t>(v.vt.i16v), true};
            return true;
        case ZEL_UINT16:
            out = {v.vt.u16v, v.vt.u16v, false};
            return true;
        case ZEL_INT32:
            out = {v.vt.i32v, static_cast<uint32_t>(v.vt.i32v), true};
            return true;
        case ZEL_UINT32:
            out = {v.vt.u32v, v.vt.u32v, false};
            return true;
        case ZEL_INT64:
            out = {v.vt.i64v, static_cast<uint64_t>(v.vt.i64v), true};
            return true;
        case ZEL_UINT64:
            out = {static_cast<int64_t>(v.vt.u64v), v.vt.u64v, false};
            return true;
        default:
            return false;
    }
}

// Truncation of a double to 64 unsigned bits. Values from 2^63 up are shifted
// down before the signed conversion and the top bit put back; NaN gives 0 and
// values beyond either end saturate, where the plain cast would be undefined.
uint64_t zel_valueDoubleToBits(double d) {
    constexpr double two63 = 9223372036854775808.0;
    if (std::isnan(d)) return 0;
    if (d >= 2.0 * two63) return std::numeric_limits<uint64_t>::max();
    if (d >= two63) return static_cast<uint64_t>(static_cast<int64_t>(d - two63)) ^ (1ULL << 63);
    if (d < -two63) return 1ULL << 63;
    return static_cast<uint64_t>(static_cast<int64_t>(d));
}

// ---- Length of a value's data, as the copy and zel_valueLength count it.

size_t zel_valueLengthOf(const ZEL_VALUE &v) {
    if (v.status == vsNOVAL || v.status == vsNULL) return 0;
    if (zel_valueIsNarrowText(v.type)) return v.vt.cv != nullptr ? std::strlen(v.vt.cv) + 1 : 0;
    if (v.type == ZEL_BINARY || v.type == ZEL_VARBINARY || zel_valueIsLob(v.type)) return v.len;
    if (v.type == ZEL_BCD) return v.len != 0 ? v.len : ZEL_VALUE_BCD_SIZE;
    if (zel_valueFamily(v.type) == ZEL_FAMILY_UUID) return ZEL_VALUE_UUID_SIZE;
    return 0;
}

// ---- Deep copy and release, once for both kinds of tag.

ZEL_RETCODE zel_valueCopyDeep(ZEL_VALUE *dval, const ZEL_VALUE *sval, size_t maxLen,
                              zel::detail::TagRef tag) {
    if (dval == nullptr || sval == nullptr) return eINVNULLARG;
    const ZEL_VALUE before = *dval;
    const ZEL_TYPE type = sval->type;
    const int family = zel_valueFamily(type);

    if (sval->status == vsNOVAL) {
        zel_valueInitWithStatusAndType(dval, vsNOVAL, type);
        if (zel_valueIsLob(type)) dval->vt = sval->vt;  // payload of default markers
        return sOKAY;
    }
    dval->type = type;
    dval->elts = sval->elts;
    dval->status = sval->status;
    if (sval->status == vsNULL) return sOKAY;

    const size_t computed = zel_valueLengthOf(*sval);
    dval->len = computed == 0 ? 0 : (sval->len != 0 ? sval->len : computed);

    if (tag.null()) {
        dval->vt = sval->vt;
        return sOKAY;
    }

    const bool byType =
        dval->len != 0 || family == ZEL_FAMILY_UUID || family == ZEL_FAMILY_DECIMAL ||
        ((family == ZEL_FAMILY_BINARY || family == ZEL_FAMILY_CHAR) && !zel_valueIsLob(type));
    if (byType && sval->vt.pv != nullptr) {
        // A failed allocation here leaves dval.vt as it was and is not
        // reported, unlike the element array below: kept deliberately, callers
        // rely on the copy of a scalar never failing.
        void *copy = nullptr;
        if (type == ZEL_BCD) {
            size_t n = dval->len != 0 ? dval->len : ZEL_VALUE_BCD_SIZE;
            if (n > ZEL_VALUE_BCD_SIZE) n = ZEL_VALUE_BCD_SIZE;
            if (tag.alloc(ZEL_VALUE_BCD_SIZE, &copy) >= 0) {
                std::memcpy(copy, sval->vt.pv, n);
                dval->vt.pv = copy;
            }
        } else if (zel_valueIsNarrowText(type)) {
            if (maxLen < sval->len) {
                const size_t room = maxLen != 0 ? maxLen : 1;
                if (tag.alloc(room, &copy) >= 0) {
                    psp_strncpyZ(static_cast<char *>(copy), sval->vt.cv, room);
                    dval->vt.cv = static_cast<const char *>(copy);
                    dval->len = std::strlen(dval->vt.cv) + 1;
                }
            } else if (tag.copyString(sval->vt.cv, &copy) >= 0) {
                dval->vt.cv = static_cast<const char *>(copy);
                dval->len = std::strlen(dval->vt.cv) + 1;
            }
        } else if (!zel_valueIsLob(type)) {
            const size_t n = type == ZEL_UUID ? ZEL_VALUE_UUID_SIZE : dval->len;
            if (tag.allocCopy(sval->vt.pv, n, &copy) >= 0) dval->vt.pv = copy;
        } else if (type == ZEL_CLOB || type == ZEL_WCLOB_UTF8) {
            if (tag.copyString(sval->vt.cv, &copy) >= 0) dval->vt.pv = copy;
        } else if (type == ZEL_BLOB) {
            if (tag.allocCopy(sval->vt.pv, sval->len, &copy) >= 0) dval->vt.pv = copy;
        }
        // Any other large object: nothing is copied.
        return sOKAY;
    }

    if (sval->elts == 0 || sval->vt.pv == nullptr) {
        dval->vt = sval->vt;
        return sOKAY;
    }
    const size_t bytes = static_cast<size_t>(sval->elts) * zel::detail::typeInfoLength(type);
    void *copy = nullptr;
    if (const ZEL_RETCODE rc = tag.allocCopy(sval->vt.pv, bytes, &copy); rc < 0) {
        *dval = before;  // the header written above goes back: the copy is untouched
        return rc;
    }
    dval->vt.pv = copy;
    return sOKAY;
}

void zel_valueRelease(ZEL_VALUE *v, zel::detail::TagRef tag) {
    if (v == nullptr) return;
    const ZEL_TYPE type = v->type;
    const int family = zel_valueFamily(type);
    if (zel_valueIsNarrowText(type) || (zel_valueIsLob(type) && family != ZEL_FAMILY_BINARY)) {
        if (v->len != 0) {
            tag.release(v->vt.pv);
            v->vt.pv = nullptr;
            v->len = 0;
        }
    } else if (type == ZEL_BCD || type == ZEL_UUID) {
        tag.release(v->vt.pv);
        v->vt.pv = nullptr;
    } else if (family == ZEL_FAMILY_BINARY) {
        if (v->vt.pv != nullptr) {
            tag.release(v->vt.pv);
            v->vt.pv = nullptr;
            v->len = 0;
        }
    } else if (v->elts != 0) {
        // Time stamps with zone and wide text stay with the tag: the value
        // cannot tell a borrowed pointer from an owned one for them.
        tag.release(v->vt.pv);
        v->vt.pv = nullptr;
        v->elts = 0;
    }
}

// ---- Equality helpers.

template <typename T>
bool zel_valueElementsEqual(const void *a, const void *b, uint32_t n) {
    const T *x = static_cast<const T *>(a);
    const T *y = static_cast<const T *>(b);
    for (uint32_t i = 0; i < n; ++i) {
        if constexpr (std::numeric_limits<T>::is_integer) {
            if (x[i] != y[i]) return false;
        } else if (!(x[i] == y[i])) {
            return false;
        }
    }
    return true;
}

bool zel_valueArraysEqual(const ZEL_VALUE &a, const ZEL_VALUE &b) {
    if (a.vt.pv == nullptr || b.vt.pv == nullptr) return a.vt.pv == b.vt.pv;
    switch (a.type) {
        case ZEL_INT8:
        case ZEL_UINT8:
            return zel_valueElementsEqual<uint8_t>(a.vt.pv, b.vt.pv, a.elts);
        case ZEL_INT16:
        case ZEL_UINT16:
            return zel_valueElementsEqual<uint16_t>(a.vt.pv, b.vt.pv, a.elts);
        case ZEL_BOOL:
        case ZEL_INT32:
        case ZEL_UINT32:
            return zel_valueElementsEqual<uint32_t>(a.vt.pv, b.vt.pv, a.elts);
        case ZEL_INT64:
        case ZEL_UINT64:
            return zel_valueElementsEqual<uint64_t>(a.vt.pv, b.vt.pv, a.elts);
        case ZEL_FLOAT:
            return zel_valueElementsEqual<float>(a.vt.pv, b.vt.pv, a.elts);
        case ZEL_DOUBLE:
            return zel_valueElementsEqual<double>(a.vt.pv, b.vt.pv, a.elts);
        default:
            return true;
    }
}

// Pointer payloads: two nulls are equal, one null is not.
bool zel_valueBothSet(const void *a, const void *b, bool &result) {
    if (a != nullptr && b != nullptr) return true;
    result = a == b;
    return false;
}

bool zel_valueScalarsEqual(const ZEL_VALUE &a, const ZEL_VALUE &b) {
    bool result = true;
    switch (a.type) {
        case ZEL_INT8:
        case ZEL_UINT8:
            return a.vt.u8v == b.vt.u8v;
        case ZEL_INT16:
        case ZEL_UINT16:
            return a.vt.u16v == b.vt.u16v;
        case ZEL_BOOL:
        case ZEL_INT32:
        case ZEL_UINT32:
        case ZEL_DATE:
        case ZEL_TIME:
            return a.vt.u32v == b.vt.u32v;
        case ZEL_INT64:
        case ZEL_UINT64:
        case ZEL_ROWID:
            return a.vt.u64v == b.vt.u64v;
        case ZEL_FLOAT:
            return a.vt.fv == b.vt.fv;
        case ZEL_DOUBLE:
            return a.vt.dv == b.vt.dv;
        case ZEL_BCD:
            if (!zel_valueBothSet(a.vt.bcd, b.vt.bcd, result)) return result;
            return zel_bcdCompare(a.vt.bcd, b.vt.bcd) == ZEL_EQ;
        case ZEL_CHAR:
        case ZEL_VARCHAR:
        case ZEL_CLOB:
            if (!zel_valueBothSet(a.vt.cv, b.vt.cv, result)) return result;
            return std::strcmp(a.vt.cv, b.vt.cv) == 0;
        case ZEL_BINARY:
        case ZEL_VARBINARY:
        case ZEL_BLOB:
            if (a.len == 0) return true;
            if (!zel_valueBothSet(a.vt.pv, b.vt.pv, result)) return result;
            return std::memcmp(a.vt.pv, b.vt.pv, a.len) == 0;
        case ZEL_UUID:
            if (!zel_valueBothSet(a.vt.uuid, b.vt.uuid, result)) return result;
            return std::memcmp(a.vt.uuid, b.vt.uuid, ZEL_VALUE_UUID_SIZE) == 0;
        case ZEL_TIMESTAMP:
            return a.vt.tsv.date == b.vt.tsv.date && a.vt.tsv.time == b.vt.tsv.time;
        // The zone is not compared, deliberately: the instant is kept normalised
        // and the displacement only says how to show it.
        case ZEL_TIMESTAMPTZ:
            if (!zel_valueBothSet(a.vt.tszv, b.vt.tszv, result)) return result;
            return a.vt.tszv->date == b.vt.tszv->date && a.vt.tszv->time == b.vt.tszv->time;
        case ZEL_TIMETZ:
            return a.vt.tmzv.time == b.vt.tmzv.time;
        // Wide text and the marker types are equal once status, type, elts and
        // len agree, whatever they hold: required as it stands by the callers.
        default:
            return true;
    }
}

// The date and time classes of zel_valueDateTimeCompare.
enum class ValueClock { other, date, time, stamp };

ValueClock zel_valueClock(ZEL_TYPE t) {
    switch (t) {
        case ZEL_DATE:
            return ValueClock::date;
        case ZEL_TIME:
        case ZEL_TIMETZ:
            return ValueClock::time;
        case ZEL_TIMESTAMP:
        case ZEL_TIMESTAMPTZ:
            return ValueClock::stamp;
        default:
            return ValueClock::other;
    }
}

// Sign of a 32-bit signed subtraction of two packed words.
int zel_valueWordOrder(uint32_t a, uint32_t b) {
    const int32_t d = static_cast<int32_t>(a - b);
    return (d > 0) - (d < 0);
}

// Writes a fixed-size image, cut to maxLen.
ZEL_RETCODE zel_valueFixedOut(const void *src, size_t n, void *buffer, size_t maxLen,
                              size_t *outLen) {
    if (src == nullptr) return eINVNULLARG;
    ZEL_RETCODE rc = sOKAY;
    if (buffer != nullptr) {
        size_t m = n;
        if (maxLen < n) {
            m = maxLen;
            rc = sTRUNCATE;
        }
        std::memcpy(buffer, src, m);
    }
    if (outLen != nullptr) *outLen = n;
    return rc;
}

}  // namespace

extern "C" {

// ---- Initialisers.

void zel_valueInit(ZEL_VALUE *pVal) {
    zel_valueInitWithStatusAndType(pVal, vsNOVAL, ZEL_NOVAL);
}

void zel_valueInitAndSetNull(ZEL_VALUE *pVal) {
    zel_valueInitWithStatusAndType(pVal, vsNULL, ZEL_NOVAL);
}

void zel_valueInitWithType(ZEL_VALUE *pVal, ZEL_TYPE type) {
    zel_valueInitWithStatusAndType(pVal, vsNOVAL, type);
}

void zel_valueInitWithStatusAndType(ZEL_VALUE *pVal, VAL_STATUS valStatus, ZEL_TYPE type) {
    if (pVal == nullptr) return;
    std::memset(pVal, 0, sizeof *pVal);
    pVal->status = valStatus;
    pVal->type = type;
}

// ---- Inline setters.

void zel_valueSetBoolean(ZEL_VALUE *p, ZEL_BOOL_T v) {
    zel_valueSetInline<&ZEL_COLUMN::bv, ZEL_BOOL>(p, v);
}
void zel_valueSetInt8(ZEL_VALUE *p, int8_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i8v, ZEL_INT8>(p, v);
}
void zel_valueSetUInt8(ZEL_VALUE *p, uint8_t v) {
    zel_valueSetInline<&ZEL_COLUMN::u8v, ZEL_UINT8>(p, v);
}
void zel_valueSetInt16(ZEL_VALUE *p, int16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i16v, ZEL_INT16>(p, v);
}
void zel_valueSetUInt16(ZEL_VALUE *p, uint16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::u16v, ZEL_UINT16>(p, v);
}
void zel_valueSetInt32(ZEL_VALUE *p, int32_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i32v, ZEL_INT32>(p, v);
}
void zel_valueSetUInt32(ZEL_VALUE *p, uint32_t v) {
    zel_valueSetInline<&ZEL_COLUMN::u32v, ZEL_UINT32>(p, v);
}
void zel_valueSetInt64(ZEL_VALUE *p, int64_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i64v, ZEL_INT64>(p, v);
}
void zel_valueSetUInt64(ZEL_VALUE *p, uint64_t v) {
    zel_valueSetInline<&ZEL_COLUMN::u64v, ZEL_UINT64>(p, v);
}
void zel_valueSetFloat(ZEL_VALUE *p, float v) {
    zel_valueSetInline<&ZEL_COLUMN::fv, ZEL_FLOAT>(p, v);
}
void zel_valueSetDouble(ZEL_VALUE *p, double v) {
    zel_valueSetInline<&ZEL_COLUMN::dv, ZEL_DOUBLE>(p, v);
}
void zel_valueSetDate(ZEL_VALUE *p, ZEL_PACKED_DATE_T v) {
    zel_valueSetInline<&ZEL_COLUMN::dtv, ZEL_DATE>(p, v);
}
void zel_valueSetTime(ZEL_VALUE *p, ZEL_PACKED_TIME_T v) {
    zel_valueSetInline<&ZEL_COLUMN::tmv, ZEL_TIME>(p, v);
}
void zel_valueSetTimeTZ(ZEL_VALUE *p, ZEL_PACKED_TIMETZ_T v) {
    zel_valueSetInline<&ZEL_COLUMN::tmzv, ZEL_TIMETZ>(p, v);
}
void zel_valueSetTimestamp(ZEL_VALUE *p, ZEL_PACKED_TIMESTAMP_T v) {
    zel_valueSetInline<&ZEL_COLUMN::tsv, ZEL_TIMESTAMP>(p, v);
}
void zel_valueSetRowId(ZEL_VALUE *p, ZEL_ROWID_T v) {
    zel_valueSetInline<&ZEL_COLUMN::ridv, ZEL_ROWID>(p, v);
}
void zel_valueSetParamRef(ZEL_VALUE *p, int16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i16v, ZEL_PARAMREF>(p, v);
}
void zel_valueSetOuterRef(ZEL_VALUE *p, int16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i16v, ZEL_OUTERREF>(p, v);
}
void zel_valueSetColRef(ZEL_VALUE *p, int16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i16v, ZEL_COLREF>(p, v);
}
void zel_valueSetProcVar(ZEL_VALUE *p, int16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::i16v, ZEL_PROCVAR>(p, v);
}
void zel_valueSetResultCol(ZEL_VALUE *p, uint16_t v) {
    zel_valueSetInline<&ZEL_COLUMN::u16v, ZEL_RESULTCOL>(p, v);
}

// ---- Pointer setters.

ZEL_RETCODE zel_valueSetBCD(ZEL_VALUE *pVal, const ZEL_BCD_T *bcd) {
    if (pVal == nullptr || bcd == nullptr) return eINVNULLARG;
    return zel_valueSetPointer(pVal, ZEL_BCD, bcd, ZEL_VALUE_BCD_SIZE, false, 0);
}

ZEL_RETCODE zel_valueSetTimestampTZ(ZEL_VALUE *pVal, const ZEL_PACKED_TIMESTAMPTZ_T *tszv) {
    if (pVal == nullptr || tszv == nullptr) return eINVNULLARG;
    return zel_valueSetPointer(pVal, ZEL_TIMESTAMPTZ, tszv, ZEL_VALUE_TIMESTAMPTZ_SIZE, false, 0);
}

ZEL_RETCODE zel_valueSetUuid(ZEL_VALUE *pVal, const ZEL_UUID_T *uuid) {
    if (pVal == nullptr || uuid == nullptr) return eINVNULLARG;
    return zel_valueSetPointer(pVal, ZEL_UUID, uuid, ZEL_VALUE_UUID_SIZE, false, 0);
}

ZEL_RETCODE zel_valueSetString(ZEL_VALUE *pVal, const char *str) {
    if (pVal == nullptr || str == nullptr) return eINVNULLARG;
    const size_t len = std::strlen(str) + 1;
    return zel_valueSetPointer(pVal, ZEL_CHAR, str, len, true, len);
}

ZEL_RETCODE zel_valueSetBinary(ZEL_VALUE *pVal, const void *buf, size_t buflen) {
    if (pVal == nullptr || (buf == nullptr && buflen != 0)) return eINVNULLARG;
    return zel_valueSetPointer(pVal, ZEL_BINARY, buf, buflen, false, buflen);
}

// ---- Other setters.

void zel_valueSetError(ZEL_VALUE *pVal, ZEL_RETCODE err) {
    if (pVal == nullptr) return;
    pVal->status = vsERROR;
    pVal->type = err == eDIVBY0 ? ZEL_ZERODIV : ZEL_NOVAL;
    pVal->len = 0;
    pVal->elts = 0;
    pVal->vt.u64v = 0;
    pVal->vt.err = err;
}

void zel_valueSetNull(ZEL_VALUE *pVal) {
    if (pVal != nullptr) pVal->status = vsNULL;
}

void zel_valueSetNoVal(ZEL_VALUE *pVal) {
    if (pVal == nullptr) return;
    pVal->type = ZEL_NOVAL;
    pVal->status = vsNOVAL;
}

// ---- Getters.

ZEL_RETCODE zel_valueGetInt64(const ZEL_VALUE *pVal, int64_t *pi64v) {
    if (pVal == nullptr || pi64v == nullptr) return eINVNULLARG;
    ValueInt n;
    if (!zel_valueReadInt(*pVal, n)) return eINVARGTYPE;
    if (!n.isSigned && n.bits > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))
        return eRANGE;
    *pi64v = n.value;
    return sOKAY;
}

ZEL_RETCODE zel_valueGetUInt64(const ZEL_VALUE *pVal, uint64_t *pu64v) {
    if (pVal == nullptr || pu64v == nullptr) return eINVNULLARG;
    ValueInt n;
    if (zel_valueReadInt(*pVal, n)) {
        *pu64v = n.bits;  // signed sources give their raw pattern, deliberately
    } else if (pVal->type == ZEL_ROWID) {
        *pu64v = pVal->vt.ridv;
    } else if (pVal->type == ZEL_FLOAT) {
        *pu64v = zel_valueDoubleToBits(pVal->vt.fv);
    } else if (pVal->type == ZEL_DOUBLE) {
        *pu64v = zel_valueDoubleToBits(pVal->vt.dv);
    } else {
        return eINVARGTYPE;
    }
    return sOKAY;
}

ZEL_RETCODE zel_valueGetSizeT(const ZEL_VALUE *pVal, size_t *ptSize) {
    if (pVal == nullptr || ptSize == nullptr) return eINVNULLARG;
    ValueInt n;
    if (!zel_valueReadInt(*pVal, n)) return eINVARGTYPE;
    *ptSize = static_cast<size_t>(n.bits);
    return sOKAY;
}

ZEL_RETCODE zel_valueGetDouble(const ZEL_VALUE *pVal, double *pdv) {
    if (pVal == nullptr || pdv == nullptr) return eINVNULLARG;
    ValueInt n;
    if (zel_valueReadInt(*pVal, n)) {
        *pdv = n.isSigned ? static_cast<double>(n.value) : static_cast<double>(n.bits);
        return sOKAY;
    }
    switch (pVal->type) {
        case ZEL_FLOAT:
            *pdv = pVal->vt.fv;
            return sOKAY;
        case ZEL_DOUBLE:
            *pdv = pVal->vt.dv;
            return sOKAY;
        case ZEL_DATE:
        case ZEL_TIME:
            *pdv = static_cast<double>(pVal->vt.u32v);
            return sOKAY;
        case ZEL_BCD: {
            if (pVal->vt.bcd == nullptr) return eINVNULLARG;
            double d;
            const ZEL_RETCODE rc = zel_bcdToDouble(pVal->vt.bcd, &d);
            if (rc >= 0) *pdv = d;
            return rc;
        }
        default:
            return eINVARGTYPE;
    }
}

ZEL_RETCODE zel_valueGetSign(const ZEL_VALUE *pVal, int16_t *psSign) {
    if (pVal == nullptr || psSign == nullptr) return eINVNULLARG;
    ValueInt n;
    if (zel_valueReadInt(*pVal, n)) {
        *psSign = n.isSigned ? static_cast<int16_t>((n.value > 0) - (n.value < 0))
                             : static_cast<int16_t>(n.bits != 0);
        return sOKAY;
    }
    double d;
    switch (pVal->type) {
        case ZEL_FLOAT:
            d = pVal->vt.fv;
            break;
        case ZEL_DOUBLE:
            d = pVal->vt.dv;
            break;
        case ZEL_BCD:
            if (pVal->vt.bcd == nullptr) return eINVNULLARG;
            *psSign = zel_bcdSign(pVal->vt.bcd);
            return sOKAY;
        default:
            return eINVARGTYPE;
    }
    // A NaN is neither below nor equal to 0, so it has sign 1.
    *psSign = d < 0 ? -1 : (d == 0 ? 0 : 1);
    return sOKAY;
}

ZEL_BOOL_T zel_valueIsZero(const ZEL_VALUE *pVal) {
    if (pVal == nullptr) return ZEL_FALSE;
    const int family = zel_valueFamily(pVal->type);
    if (family != ZEL_FAMILY_INTEGER && family != ZEL_FAMILY_FLOAT && family != ZEL_FAMILY_DECIMAL)
        return ZEL_FALSE;
    double d;
    if (zel_valueGetDouble(pVal, &d) < 0) return ZEL_FALSE;
    return d == 0.0 ? ZEL_TRUE : ZEL_FALSE;
}

void zel_valueChangeSign(ZEL_VALUE *pVal) {
    if (pVal == nullptr) return;
    ZEL_COLUMN &vt = pVal->vt;
    switch (pVal->type) {
        // Negation in unsigned arithmetic wraps at the width, so the most
        // negative number stays as it is.
        case ZEL_INT8:
            vt.i8v = static_cast<int8_t>(0u - static_cast<uint8_t>(vt.i8v));
            break;
        case ZEL_INT16:
            vt.i16v = static_cast<int16_t>(0u - static_cast<uint16_t>(vt.i16v));
            break;
        case ZEL_INT32:
            vt.i32v = static_cast<int32_t>(0u - static_cast<uint32_t>(vt.i32v));
            break;
        case ZEL_INT64:
            vt.i64v = static_cast<int64_t>(0ull - static_cast<uint64_t>(vt.i64v));
            break;
        case ZEL_FLOAT:
            vt.u32v ^= 0x80000000u;
            break;
        case ZEL_DOUBLE:
            vt.u64v ^= 0x8000000000000000ull;
            break;
        case ZEL_BCD:
            if (vt.bcd != nullptr) (void)zel_bcdChgSign(vt.bcd, vt.bcd);
            break;
        case ZEL_BOOL:
            vt.u32v = (vt.u32v & ~0xFFu) | ((vt.u32v & 0xFFu) == 0 ? 1u : 0u);
            break;
        case ZEL_UINT8:
            zel_valueSetInt16(pVal, static_cast<int16_t>(-static_cast<int>(vt.u8v)));
            break;
        case ZEL_UINT16:
            zel_valueSetInt32(pVal, static_cast<int32_t>(-static_cast<int32_t>(vt.u16v)));
            break;
        case ZEL_UINT32:
            zel_valueSetInt64(pVal, -static_cast<int64_t>(vt.u32v));
            break;
        case ZEL_UINT64:
            if (vt.u64v < (1ull << 63))
                zel_valueSetInt64(pVal, -static_cast<int64_t>(vt.u64v));
            else if (vt.u64v == (1ull << 63))
                pVal->type = ZEL_INT64;  // the pattern already is the most negative number
            else
                pVal->status = vsDATALOSS;
            break;
        default:
            break;
    }
}

// ---- Comparison with a native number.

ZEL_RETCODE zel_valueCompareToInt8(const ZEL_VALUE *p, int8_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::i8v, ZEL_INT8>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToUInt8(const ZEL_VALUE *p, uint8_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::u8v, ZEL_UINT8>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToInt16(const ZEL_VALUE *p, int16_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::i16v, ZEL_INT16>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToUInt16(const ZEL_VALUE *p, uint16_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::u16v, ZEL_UINT16>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToInt32(const ZEL_VALUE *p, int32_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::i32v, ZEL_INT32>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToUInt32(const ZEL_VALUE *p, uint32_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::u32v, ZEL_UINT32>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToInt64(const ZEL_VALUE *p, int64_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::i64v, ZEL_INT64>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToUInt64(const ZEL_VALUE *p, uint64_t v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::u64v, ZEL_UINT64>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToFloat(const ZEL_VALUE *p, float v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::fv, ZEL_FLOAT>(p, v, c);
}
ZEL_RETCODE zel_valueCompareToDouble(const ZEL_VALUE *p, double v, ZEL_COMPARE *c) {
    return zel_valueCompareTo<&ZEL_COLUMN::dv, ZEL_DOUBLE>(p, v, c);
}

// ---- Equality and date-time order.

ZEL_BOOL_T zel_valueEqual(const ZEL_VALUE *v1, const ZEL_VALUE *v2) {
    if (v1 == nullptr || v2 == nullptr) return v1 == v2 ? ZEL_TRUE : ZEL_FALSE;
    if (v1->status != v2->status || v1->type != v2->type || v1->elts != v2->elts ||
        v1->len != v2->len)
        return ZEL_FALSE;
    const bool eq =
        v1->elts != 0 ? zel_valueArraysEqual(*v1, *v2) : zel_valueScalarsEqual(*v1, *v2);
    return eq ? ZEL_TRUE : ZEL_FALSE;
}

ZEL_RETCODE zel_valueDateTimeCompare(const ZEL_VALUE *lv, const ZEL_VALUE *rv, ZEL_COMPARE *pCmp) {
    if (lv == nullptr || rv == nullptr) {
        if (pCmp != nullptr) *pCmp = ZEL_EQ;
        return sOKAY;
    }
    // The words are those of vt itself, also for ZEL_TIMESTAMPTZ whose vt is a
    // pointer: callers hand in inline forms only, and the words are kept so.
    const ValueWords l = zel_valueWords(lv->vt);
    const ValueWords r = zel_valueWords(rv->vt);
    const ValueClock lk = zel_valueClock(lv->type);
    const ValueClock rk = zel_valueClock(rv->type);
    int order = 0;
    if (lk == ValueClock::date && (rk == ValueClock::date || rk == ValueClock::stamp)) {
        order = zel_valueWordOrder(l.first, r.first);
    } else if (lk == ValueClock::time && rk == ValueClock::time) {
        order = zel_valueWordOrder(l.first, r.first);
    } else if (lk == ValueClock::time && rk == ValueClock::stamp) {
        order = zel_valueWordOrder(l.first, r.second);
    } else if (lk == ValueClock::stamp && rk == ValueClock::date) {
        order = zel_valueWordOrder(l.first, r.first);
    } else if (lk == ValueClock::stamp && rk == ValueClock::stamp) {
        order = zel_valueWordOrder(l.first, r.first);
        if (order == 0) order = zel_valueWordOrder(l.second, r.second);
    }
    if (pCmp != nullptr) *pCmp = static_cast<ZEL_COMPARE>(order);
    return sOKAY;
}

// ---- Copies and lengths.

ZEL_RETCODE zel_valueCopy(ZEL_VALUE *pDstVal, const ZEL_VALUE *pSrcVal) {
    if (pDstVal == nullptr || pSrcVal == nullptr) return eINVNULLARG;
    pDstVal->type = pSrcVal->type;
    pDstVal->status = pSrcVal->status;
    pDstVal->elts = pSrcVal->elts;
    pDstVal->vt = pSrcVal->vt;
    return sOKAY;
}

ZEL_RETCODE zel_valueCopyEx(ZEL_VALUE *dval, const ZEL_VALUE *sval, size_t maxLen,
                            B_TAG_SUB subTag) {
    return zel_valueCopyDeep(dval, sval, maxLen, subTag);
}

ZEL_RETCODE zel_valueCopyStackEx(ZEL_VALUE *dval, const ZEL_VALUE *sval, size_t maxLen,
                                 B_TAG_STACK stackTag) {
    return zel_valueCopyDeep(dval, sval, maxLen, stackTag);
}

ZEL_RETCODE zel_valueLength(const ZEL_VALUE *pVal, size_t *len) {
    if (pVal == nullptr) return eINVNULLARG;
    if (pVal->status == vsNOVAL || pVal->status == vsNULL) return eINVARG;
    if (len != nullptr) *len = zel_valueLengthOf(*pVal);
    return sOKAY;
}

ZEL_RETCODE zel_valueToBuffer(const ZEL_VALUE *pVal, void *buffer, size_t maxLen, size_t *outLen) {
    if (pVal == nullptr) return eINVNULLARG;
    if (pVal->status == vsNULL) {
        if (outLen != nullptr) *outLen = SIZE_MAX;
        return sOKAY;
    }
    const ZEL_COLUMN &vt = pVal->vt;
    switch (pVal->type) {
        case ZEL_INT8:
        case ZEL_UINT8:
            return zel_valueFixedOut(&vt, 1, buffer, maxLen, outLen);
        case ZEL_INT16:
        case ZEL_UINT16:
            return zel_valueFixedOut(&vt, 2, buffer, maxLen, outLen);
        case ZEL_BOOL:
        case ZEL_INT32:
        case ZEL_UINT32:
        case ZEL_FLOAT:
        case ZEL_DATE:
        case ZEL_TIME:
            return zel_valueFixedOut(&vt, 4, buffer, maxLen, outLen);
        case ZEL_INT64:
        case ZEL_UINT64:
        case ZEL_DOUBLE:
        case ZEL_ROWID:
        case ZEL_TIMESTAMP:
        case ZEL_TIMETZ:
            return zel_valueFixedOut(&vt, 8, buffer, maxLen, outLen);
        case ZEL_TIMESTAMPTZ:
            return zel_valueFixedOut(vt.tszv, ZEL_VALUE_TIMESTAMPTZ_SIZE, buffer, maxLen, outLen);
        case ZEL_UUID:
            return zel_valueFixedOut(vt.uuid, ZEL_VALUE_UUID_SIZE, buffer, maxLen, outLen);
        case ZEL_BCD:
            return zel_valueFixedOut(vt.bcd, ZEL_VALUE_BCD_SIZE, buffer, maxLen, outLen);
        case ZEL_CHAR:
        case ZEL_VARCHAR: {
            if (vt.cv == nullptr) return eINVNULLARG;
            if (buffer == nullptr) {
                if (outLen != nullptr) *outLen = pVal->len != 0 ? pVal->len - 1 : 0;
                return sOKAY;
            }
            psp_strncpyZ(static_cast<char *>(buffer), vt.cv, maxLen);
            const size_t written = maxLen != 0 ? std::strlen(static_cast<char *>(buffer)) : 0;
            if (outLen != nullptr) *outLen = written;
            return std::strlen(vt.cv) >= maxLen ? sTRUNCATE : sOKAY;
        }
        case ZEL_BINARY:
        case ZEL_VARBINARY:
            if (buffer != nullptr && maxLen != 0) {
                if (vt.pv == nullptr) return eINVNULLARG;
                // Exactly maxLen bytes, with no regard to len, deliberately: the
                // caller passes the width of its column, which the data covers.
                std::memcpy(buffer, vt.pv, maxLen);
            }
            if (outLen != nullptr) *outLen = pVal->len;
            return maxLen < pVal->len ? sTRUNCATE : sOKAY;
        default:
            return eINVARGTYPE;
    }
}

// ---- Release.

void zel_valueFree(ZEL_VALUE *pValue, B_TAG_SUB subTag) {
    zel_valueRelease(pValue, subTag);
}

void zel_valueFreeStack(ZEL_VALUE *pValue, B_TAG_STACK tag) {
    zel_valueRelease(pValue, tag);
}

}  // extern "C"
