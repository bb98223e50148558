/*
 * convert.cpp - the conversion engine. A pair of types is folded to two rows
 * of typeData; cnv_codes[source][destination] gives a small code, 0 for a
 * refused pair, and cnvFcns[code] the function that converts. Both tables are
 * built at compile time from one matrix of functions, so the lookup is two
 * array reads and no switch on types. The number functions come from one
 * template over (source, destination): a frame that counts elements, reports
 * the size for a null destination and cuts at the room there is, and an
 * element step chosen by `if constexpr`.
 */
#include "convert.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <type_traits>
#include <utility>

#include "bcd.h"
#include "convert_text.h"
#include "datetime.h"
#include "format.h"
#include "tag_ref_internal.h"
#include "psp.h"
#include "tag_stack.h"
#include "tag_sub.h"
#include "types_types.h"
#include "uuid.h"
#include "value.h"

namespace {

using zel::detail::TagRef;

constexpr size_t cnv_BCD_SIZE = sizeof(ZEL_BCD_T);
static_assert(cnv_BCD_SIZE == 37);
static_assert(sizeof(ZEL_UUID_T) == 16);
static_assert(sizeof(ZEL_PACKED_TIMESTAMPTZ_T) == 12);
static_assert(sizeof(ZEL_PACKED_TIMETZ_T) == 8);

// The rows of the code table, in order, with the element size of each type.
constexpr ZEL_TYPE_DATA typeData[ZEL_CNV_TYPES] = {
    {ZEL_CHAR, 0},  {ZEL_WCHAR, 0},  {ZEL_BINARY, 0}, {ZEL_BOOL, 1},      {ZEL_INT8, 1},
    {ZEL_UINT8, 1}, {ZEL_INT16, 2},  {ZEL_UINT16, 2}, {ZEL_INT32, 4},     {ZEL_UINT32, 4},
    {ZEL_INT64, 8}, {ZEL_UINT64, 8}, {ZEL_FLOAT, 4},  {ZEL_DOUBLE, 8},    {ZEL_BCD, 37},
    {ZEL_DATE, 4},  {ZEL_TIME, 4},   {ZEL_TIMETZ, 8}, {ZEL_TIMESTAMP, 8}, {ZEL_TIMESTAMPTZ, 16},
    {ZEL_ROWID, 8}, {ZEL_UUID, 16},
};

/* The sizes are those of the one table of type facts (typeInfoLength), but
 * for two that differ on purpose: a boolean converts as one byte (it is 4 in a
 * row), and the zone time stamp is listed at 16 bytes although its record and
 * every conversion use 12 (kept: callers size destinations from this table). */
constexpr bool cnv_sizesAgree() {
    for (const ZEL_TYPE_DATA &row : typeData) {
        size_t want = zel::detail::typeInfoLength(row.type);
        if (row.type == ZEL_BOOL) want = 1;
        if (row.type == ZEL_TIMESTAMPTZ) want = 16;
        if (row.size != want) return false;
    }
    return true;
}
static_assert(cnv_sizesAgree());

// Destination kinds that are not a plain C number.
struct CnvBool {
    uint8_t v;
};
struct CnvRowid {
    uint64_t v;
};
static_assert(sizeof(CnvBool) == 1 && sizeof(CnvRowid) == 8);

template <class T>
constexpr bool cnv_isFloating = std::is_same_v<T, float> || std::is_same_v<T, double>;
template <class T>
constexpr bool cnv_isInteger = std::is_integral_v<T>;

template <class T>
T cnv_load(const void *base, size_t i) {
    T v;
    std::memcpy(&v, static_cast<const char *>(base) + i * sizeof(T), sizeof v);
    return v;
}

template <class T>
void cnv_store(void *base, size_t i, const T &v) {
    std::memcpy(static_cast<char *>(base) + i * sizeof(T), &v, sizeof v);
}

ZEL_FP_TYPE cnv_fpKind(bool nan, bool negative) {
    if (nan) return negative ? ZEL_FP_NEGATIVE_NAN : ZEL_FP_POSITIVE_NAN;
    return negative ? ZEL_FP_NEGATIVE_INF : ZEL_FP_POSITIVE_INF;
}

// ---- Raw copies: to the type's own form and to binary.

ZEL_RETCODE cnv_copyValueTrunc(CNVCB *cb, size_t tDataSize) {
    const size_t n = cb->uSrcNumElems != 0 ? cb->uSrcNumElems : 1;
    size_t bytes = n * tDataSize;
    if (cb->pvDst == nullptr) {
        cb->tSize = bytes;
        return sOKAY;
    }
    ZEL_RETCODE rc = sOKAY;
    if (bytes > cb->tDstLen) {
        bytes = cb->tDstLen / tDataSize * tDataSize;
        rc = sTRUNCATE;
    }
    std::memcpy(cb->pvDst, cb->pvSrc, bytes);
    cb->tSize = bytes;
    return rc;
}

// ---- The frame of the number functions.

// Runs elem(i) for each element the destination has room for. A scalar is
// written even into a length of 0. A negative code stops the loop; so does any
// other code when StopOnWarning; other warnings replace the pending code.
template <size_t DstSize, bool StopOnWarning, class F>
ZEL_RETCODE cnv_frame(CNVCB *cb, F &&elem) {
    size_t n = cb->uSrcNumElems != 0 ? cb->uSrcNumElems : 1;
    if (cb->pvDst == nullptr) {
        cb->tSize = n * DstSize;
        return sOKAY;
    }
    const size_t room = cb->tDstLen < DstSize ? 1 : cb->tDstLen / DstSize;
    ZEL_RETCODE rc = sOKAY;
    if (n > room) {
        n = room;
        rc = sTRUNCATE;
    }
    cb->tSize = n * DstSize;
    for (size_t i = 0; i < n; ++i) {
        const ZEL_RETCODE r = elem(i);
        if (r < 0 || (StopOnWarning && r != sOKAY)) return r;
        if (r > 0) rc = r;
    }
    return rc;
}

// Truncates towards zero; eRANGE for a value that isn't finite or that does
// not survive the trip through a 64-bit integer. ZEL_UINT64 takes every
// integral value from 0 up to but not including 2^64.
template <class D>
ZEL_RETCODE cnv_fromFloating(double dv, D &out) {
    if (!psp_mathDoubleIsFinite(dv)) return eRANGE;
    const double t = dv < 0 ? psp_mathDoubleCeil(dv) : psp_mathDoubleFloor(dv);
    constexpr double two63 = 9223372036854775808.0;
    if constexpr (std::is_same_v<D, uint64_t>) {
        if (!(t >= 0 && t < 2 * two63)) return eRANGE;
        out = t >= two63 ? static_cast<uint64_t>(static_cast<int64_t>(t - two63)) | (1ULL << 63)
                         : static_cast<uint64_t>(static_cast<int64_t>(t));
        return sOKAY;
    } else {
        if (!(t >= -two63 && t < two63)) return eRANGE;
        const auto i = static_cast<int64_t>(t);
        if (static_cast<double>(i) != t) return eRANGE;
        if (!std::in_range<D>(i)) return eRANGE;
        out = static_cast<D>(i);
        return sOKAY;
    }
}

template <class D>
ZEL_RETCODE cnv_bcdToNative(const ZEL_BCD_T *b, D *out) {
    if constexpr (std::is_same_v<D, int8_t>) return zel_bcdToInt8(b, out);
    if constexpr (std::is_same_v<D, uint8_t>) return zel_bcdToUInt8(b, out);
    if constexpr (std::is_same_v<D, int16_t>) return zel_bcdToInt16(b, out);
    if constexpr (std::is_same_v<D, uint16_t>) return zel_bcdToUInt16(b, out);
    if constexpr (std::is_same_v<D, int32_t>) return zel_bcdToInt32(b, out);
    if constexpr (std::is_same_v<D, uint32_t>) return zel_bcdToUInt32(b, out);
    if constexpr (std::is_same_v<D, int64_t>) return zel_bcdToInt64(b, out);
    if constexpr (std::is_same_v<D, uint64_t>) return zel_bcdToUInt64(b, out);
    if constexpr (std::is_same_v<D, float>) return zel_bcdToFloat(b, out);
    if constexpr (std::is_same_v<D, double>) return zel_bcdToDouble(b, out);
}

// One element: S is a C number or ZEL_BCD_T, D a C number, ZEL_BCD_T,
// CnvBool or CnvRowid.
template <class S, class D>
ZEL_RETCODE cnv_one(const S &s, D &out) {
    if constexpr (std::is_same_v<D, CnvBool>) {
        if constexpr (cnv_isInteger<S>) {
            out.v = s != 0;
        } else if constexpr (cnv_isFloating<S>) {
            if (!psp_mathDoubleIsFinite(s)) return eRANGE;
            out.v = s != 0;
        } else {
            if (zel_bcdValidate(&s) < 0) return eRANGE;
            out.v = zel_bcdIsZero(&s) ? 0 : 1;
        }
        return sOKAY;
    } else if constexpr (std::is_same_v<D, CnvRowid>) {
        // A row id is never 0: a signed source must be above 0.
        if constexpr (std::is_signed_v<S>) {
            if (s <= 0) return eRANGE;
        } else {
            if (s == 0) return eRANGE;
        }
        out.v = static_cast<uint64_t>(s);
        return sOKAY;
    } else if constexpr (std::is_same_v<D, ZEL_BCD_T>) {
        if constexpr (cnv_isFloating<S>) {
            return zel_bcdFromDouble(static_cast<double>(s), &out);
        } else if constexpr (std::is_signed_v<S>) {
            return zel_bcdFromInt64(s, &out);
        } else {
            return zel_bcdFromUInt64(s, &out);
        }
    } else if constexpr (std::is_same_v<S, ZEL_BCD_T>) {
        D v{};
        ZEL_RETCODE rc = cnv_bcdToNative<D>(&s, &v);
        if (rc < 0) return rc;
        if (rc == sPRECISIONLOSS) rc = sOKAY;  // a fraction is cut silently
        out = v;
        return rc;
    } else if constexpr (cnv_isInteger<D>) {
        if constexpr (cnv_isInteger<S>) {
            if (!std::in_range<D>(s)) return eRANGE;
            out = static_cast<D>(s);
            return sOKAY;
        } else {
            return cnv_fromFloating<D>(s, out);
        }
    } else if constexpr (std::is_same_v<D, float>) {
        if constexpr (std::is_same_v<S, uint64_t>) {
            // Deliberately kept: an unsigned 64-bit number becomes a float only
            // up to 2^31 - 1, while int64 and uint64-to-double have no limit.
            if (s > 2147483647u) return eRANGE;
        }
        if constexpr (std::is_same_v<S, double>) {
            if (psp_mathDoubleIsFinite(s) && std::fabs(s) > 3.4028234663852886e38) return eRANGE;
        }
        out = static_cast<float>(s);
        return sOKAY;
    } else {
        static_assert(std::is_same_v<D, double>);
        out = static_cast<double>(s);
        return sOKAY;
    }
}

template <class S, class D>
ZEL_RETCODE cnv_num(CNVCB *cb) {
    if constexpr (std::is_same_v<S, D>) {
        return cnv_copyValueTrunc(cb, sizeof(S));
    } else {
        constexpr bool stop = std::is_same_v<D, ZEL_BCD_T> && cnv_isFloating<S>;
        return cnv_frame<sizeof(D), stop>(cb, [cb](size_t i) {
            const auto *src = static_cast<const char *>(cb->pvSrc) + i * sizeof(S);
            if constexpr (std::is_same_v<S, ZEL_BCD_T>) {
                D out{};
                const ZEL_RETCODE rc = cnv_one(*reinterpret_cast<const ZEL_BCD_T *>(src), out);
                if (rc >= 0) cnv_store(cb->pvDst, i, out);
                return rc;
            } else {
                S s;
                std::memcpy(&s, src, sizeof s);
                D out{};
                const ZEL_RETCODE rc = cnv_one(s, out);
                if (rc >= 0) cnv_store(cb->pvDst, i, out);
                return rc;
            }
        });
    }
}

// ---- Numbers, decimals and UUIDs to text.

// The "%.<precision>G" text of a finite number, terminated, into buf (at
// least 32 bytes); returns its length. std::to_chars in its general form with
// a precision prints the "%g" text of the C library digit for digit (shortest
// of the fixed and exponent forms, trailing zeros dropped, an exponent of at
// least two digits); only the exponent's letter is upper case here. The
// tests hold the two to the same bytes over millions of numbers.
size_t cnv_gText(double v, int precision, char *buf) {
    const std::to_chars_result r =
        std::to_chars(buf, buf + 31, v, std::chars_format::general, precision);
    for (char *p = buf; p != r.ptr; ++p) {
        if (*p == 'e') {
            *p = 'E';
            break;
        }
    }
    *r.ptr = '\0';
    return static_cast<size_t>(r.ptr - buf);
}

// Writes one element's text into buf (at least 96 bytes) and its length into
// *len.
template <class S>
ZEL_RETCODE cnv_formatElem(const void *p, char *buf, size_t *len) {
    if constexpr (cnv_isInteger<S>) {
        S v;
        std::memcpy(&v, p, sizeof v);
        const auto r = std::to_chars(buf, buf + 32, v);
        *len = static_cast<size_t>(r.ptr - buf);
        return sOKAY;
    } else if constexpr (cnv_isFloating<S>) {
        S v;
        std::memcpy(&v, p, sizeof v);
        ZEL_FP_TYPE kind = ZEL_FP_POSITIVE_NAN;
        bool finite;
        if constexpr (std::is_same_v<S, float>)
            finite = b_validateFloat(v, &kind) != ZEL_FALSE;
        else
            finite = b_validateDouble(v, &kind) != ZEL_FALSE;
        if (!finite) {
            static constexpr const char *names[] = {"", "NAN", "-NAN", "INF", "-INF"};
            const char *name = names[kind];
            *len = std::strlen(name);
            std::memcpy(buf, name, *len + 1);
            return sOKAY;
        }
        // The engine's own text: 7 and 15 significant digits on purpose, not
        // the round-trip precision of the type descriptors.
        *len = cnv_gText(static_cast<double>(v), std::is_same_v<S, float> ? 7 : 15, buf);
        return sOKAY;
    } else if constexpr (std::is_same_v<S, ZEL_BCD_T>) {
        uint32_t out = 0;
        const ZEL_RETCODE rc =
            zel_bcdToString(static_cast<const ZEL_BCD_T *>(p), ZEL_FALSE, buf, 80, &out);
        if (rc < 0) return rc;
        *len = std::strlen(buf);
        return sOKAY;
    } else {
        static_assert(std::is_same_v<S, ZEL_UUID_T>);
        const ZEL_RETCODE rc =
            zel_uuidToString(static_cast<const ZEL_UUID_T *>(p), buf, 80, ZEL_FALSE);
        if (rc < 0) return rc;
        *len = std::strlen(buf);
        return sOKAY;
    }
}

// "e" for a scalar, "ARRAY[e1,e2]" for an array. Elements are kept whole:
// with a tDstLen, stop before the first one with which the text and its
// terminator would not fit (sTRUNCATE). tSize is the text + 1.
template <class S>
ZEL_RETCODE cnv_numToText(CNVCB *cb) {
    const bool arr = cb->uSrcNumElems != 0;
    const size_t n = arr ? cb->uSrcNumElems : 1;
    const size_t lim = cb->tDstLen;
    char *out = static_cast<char *>(cb->pvDst);
    // A destination without room even for the brackets gets nothing but an
    // empty text (a zero length could not hold even that).
    const bool writing = out != nullptr && lim >= (arr ? 8u : 1u);
    ZEL_RETCODE rc = out != nullptr && !writing ? sTRUNCATE : sOKAY;
    size_t total = arr ? 7 : 0;
    size_t pos = 0;
    if (writing && arr) {
        std::memcpy(out, "ARRAY[", 6);
        pos = 6;
    }
    for (size_t i = 0; i < n; ++i) {
        char tmp[96];
        size_t len = 0;
        const ZEL_RETCODE r =
            cnv_formatElem<S>(static_cast<const char *>(cb->pvSrc) + i * sizeof(S), tmp, &len);
        if (r < 0) return r;
        const size_t add = len + (i > 0 ? 1 : 0);
        if (lim != 0 && total + add >= lim) {
            rc = sTRUNCATE;
            break;
        }
        if (writing) {
            if (i > 0) out[pos++] = ',';
            std::memcpy(out + pos, tmp, len);
            pos += len;
        }
        total += add;
    }
    if (writing) {
        if (arr) out[pos++] = ']';
        out[pos] = '\0';
    } else if (out != nullptr && lim > 0) {
        out[0] = '\0';
    }
    cb->tSize = total + 1;
    return rc;
}

// ---- Dates and times.

template <class T>
T cnv_src(const CNVCB *cb) {
    T v;
    std::memcpy(&v, cb->pvSrc, sizeof v);
    return v;
}

// Computes the result only when there is a destination; eDATALOST for a
// destination below the result's size unless `test` is off.
template <class R, class F>
ZEL_RETCODE cnv_dtRun(CNVCB *cb, bool test, F &&compute) {
    cb->tSize = sizeof(R);
    if (cb->pvDst == nullptr) return sOKAY;
    if (test && cb->tDstLen < sizeof(R)) return eDATALOST;
    R r{};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = compute(r));
    std::memcpy(cb->pvDst, &r, sizeof r);
    return sOKAY;
}

ZEL_RETCODE cnv_dtSame(CNVCB *cb, size_t size) {
    const ZEL_RETCODE rc = cnv_copyValueTrunc(cb, size);
    return rc == sTRUNCATE ? eDATALOST : rc;  // a date or time may not be cut
}

ZEL_RETCODE cnv_tzValid(int32_t tz) {
    return tz < ZEL_TIMEZONE_MIN || tz > ZEL_TIMEZONE_MAX ? eBASE_INVTIMEZONE : sOKAY;
}

// Copies a formatted date or time: eDATALOST (with as much as fits and tSize
// = tDstLen) when the destination is too short.
ZEL_RETCODE cnv_textOut(CNVCB *cb, const char *text) {
    const size_t need = std::strlen(text) + 1;
    if (cb->pvDst == nullptr) {
        cb->tSize = need;
        return sOKAY;
    }
    psp_strncpyZ(static_cast<char *>(cb->pvDst), text, cb->tDstLen);
    if (need > cb->tDstLen) {
        cb->tSize = cb->tDstLen;
        return eDATALOST;
    }
    cb->tSize = need;
    return sOKAY;
}

// A time stamp may lose its fraction (w characters with the point) but
// nothing more: sTRUNCATE if the text fits in tDstLen + w, else eDATALOST.
ZEL_RETCODE cnv_timestampTextOut(CNVCB *cb, const char *text) {
    static constexpr size_t fracWidth[] = {0, 0, 0, 0, 2, 3, 4, 5};
    const size_t need = std::strlen(text) + 1;
    if (cb->pvDst == nullptr || need <= cb->tDstLen) return cnv_textOut(cb, text);
    char *dst = static_cast<char *>(cb->pvDst);
    const int tf = static_cast<int>(cb->time_format);
    if (tf < 1 || tf > 7 || need > cb->tDstLen + fracWidth[tf]) {
        psp_strncpyZ(dst, text, cb->tDstLen);
        cb->tSize = cb->tDstLen;
        return eDATALOST;
    }
    const size_t w = fracWidth[tf];
    size_t keep = cb->tDstLen;
    if (w > 0 && need == cb->tDstLen + w - 1) keep--;  // no lone point at the end
    psp_strncpyZ(dst, text, keep);
    cb->tSize = std::strlen(dst) + 1;
    return sTRUNCATE;
}

// ---- Packed decimals.

template <class D>
ZEL_RETCODE cnv_packed(CNVCB *cb) {
    if (cb->pvDst == nullptr) {
        cb->tSize = sizeof(D);
        return sOKAY;
    }
    ZEL_BCD_T b;
    if (zel_bcdUnpack(static_cast<const ZEL_PACKED_BCD_T *>(cb->pvSrc), &b, cb->prec, cb->scale) <
        0)
        return eINVBCD;
    CNVCB one = *cb;
    one.pvSrc = &b;
    one.tSrcLen = cnv_BCD_SIZE;
    one.uSrcNumElems = 0;
    const ZEL_RETCODE rc = cnv_num<ZEL_BCD_T, D>(&one);
    cb->tSize = one.tSize;
    return rc;
}

// The slot of the wide-character codes: those conversions are not part of
// this engine.
ZEL_RETCODE cnv_wideRefused(CNVCB *) {
    return eINVCONVERT;
}

}  // namespace

// ---- The number functions, one per pair, from the templates.

#define CNV_DEFINE_NUMERIC(S, T)                     \
    ZEL_RETCODE cnv_##S##ToStringTrunc(CNVCB *cb) {  \
        return cnv_numToText<T>(cb);                 \
    }                                                \
    ZEL_RETCODE cnv_##S##ToBinaryTrunc(CNVCB *cb) {  \
        return cnv_copyValueTrunc(cb, sizeof(T));    \
    }                                                \
    ZEL_RETCODE cnv_##S##ToBooleanTrunc(CNVCB *cb) { \
        return cnv_num<T, CnvBool>(cb);              \
    }                                                \
    ZEL_RETCODE cnv_##S##ToInt8Trunc(CNVCB *cb) {    \
        return cnv_num<T, int8_t>(cb);               \
    }                                                \
    ZEL_RETCODE cnv_##S##ToUInt8Trunc(CNVCB *cb) {   \
        return cnv_num<T, uint8_t>(cb);              \
    }                                                \
    ZEL_RETCODE cnv_##S##ToInt16Trunc(CNVCB *cb) {   \
        return cnv_num<T, int16_t>(cb);              \
    }                                                \
    ZEL_RETCODE cnv_##S##ToUInt16Trunc(CNVCB *cb) {  \
        return cnv_num<T, uint16_t>(cb);             \
    }                                                \
    ZEL_RETCODE cnv_##S##ToInt32Trunc(CNVCB *cb) {   \
        return cnv_num<T, int32_t>(cb);              \
    }                                                \
    ZEL_RETCODE cnv_##S##ToUInt32Trunc(CNVCB *cb) {  \
        return cnv_num<T, uint32_t>(cb);             \
    }                                                \
    ZEL_RETCODE cnv_##S##ToInt64Trunc(CNVCB *cb) {   \
        return cnv_num<T, int64_t>(cb);              \
    }                                                \
    ZEL_RETCODE cnv_##S##ToUInt64Trunc(CNVCB *cb) {  \
        return cnv_num<T, uint64_t>(cb);             \
    }                                                \
    ZEL_RETCODE cnv_##S##ToFloatTrunc(CNVCB *cb) {   \
        return cnv_num<T, float>(cb);                \
    }                                                \
    ZEL_RETCODE cnv_##S##ToDoubleTrunc(CNVCB *cb) {  \
        return cnv_num<T, double>(cb);               \
    }                                                \
    ZEL_RETCODE cnv_##S##ToDecimalTrunc(CNVCB *cb) { \
        return cnv_num<T, ZEL_BCD_T>(cb);            \
    }
#define CNV_DEFINE_INTEGER(S, T)                   \
    CNV_DEFINE_NUMERIC(S, T)                       \
    ZEL_RETCODE cnv_##S##ToRowidTrunc(CNVCB *cb) { \
        return cnv_num<T, CnvRowid>(cb);           \
    }

CNV_DEFINE_INTEGER(int8, int8_t)
CNV_DEFINE_INTEGER(uint8, uint8_t)
CNV_DEFINE_INTEGER(int16, int16_t)
CNV_DEFINE_INTEGER(uint16, uint16_t)
CNV_DEFINE_INTEGER(int32, int32_t)
CNV_DEFINE_INTEGER(uint32, uint32_t)
CNV_DEFINE_INTEGER(int64, int64_t)
CNV_DEFINE_INTEGER(uint64, uint64_t)
CNV_DEFINE_NUMERIC(float, float)
CNV_DEFINE_NUMERIC(double, double)
CNV_DEFINE_NUMERIC(decimal, ZEL_BCD_T)

// ---- Text and binary sources.

ZEL_RETCODE cnv_strcpyTrunc(CNVCB *cb) {
    const size_t rem = cb->offset < cb->tSrcLen ? cb->tSrcLen - cb->offset : 0;
    const char *src = static_cast<const char *>(cb->pvSrc) + cb->offset;
    char *dst = static_cast<char *>(cb->pvDst);
    if (dst != nullptr && cb->tDstLen == 1) {
        // A one-character column holds no terminator.
        if (rem == 0) return cb->offset > 0 ? sNODATA : sOKAY;
        dst[0] = src[0];
        cb->offset += 1;
        cb->tSize = 1;
        return sOKAY;
    }
    size_t count;
    if (dst == nullptr) {
        count = strnlen(src, rem);
    } else if (cb->tDstLen == 0) {
        cb->tSize = strnlen(src, rem) + 1;
        return sTRUNCATE;  // no room even for the terminator
    } else {
        count = rem < cb->tDstLen ? (rem > 0 ? rem - 1 : 0) : cb->tDstLen - 1;
    }
    if (count == 0 && cb->offset > 0) return sNODATA;
    if (dst == nullptr) {
        cb->tSize = count + 1;
        return sOKAY;
    }
    std::memcpy(dst, src, count);
    cb->offset += count;
    dst[count] = '\0';
    if (rem > cb->tDstLen) {
        cb->tSize = cb->tDstLen;
        return sTRUNCATE;
    }
    cb->tSize = count + 1;
    return sOKAY;
}

ZEL_RETCODE cnv_binaryToString(CNVCB *cb) {
    const size_t rem = cb->offset < cb->tSrcLen ? cb->tSrcLen - cb->offset : 0;
    if (rem == 0 && cb->offset > 0) return sNODATA;
    if (cb->pvDst == nullptr) {
        cb->tSize = 2 * rem + 3;
        return sOKAY;
    }
    if (cb->tDstLen < 3) return sTRUNCATE;
    const size_t room = (cb->tDstLen - 3) / 2;
    const size_t count = rem < room ? rem : room;
    static constexpr char hex[] = "0123456789ABCDEF";
    const auto *src = static_cast<const uint8_t *>(cb->pvSrc) + cb->offset;
    char *dst = static_cast<char *>(cb->pvDst);
    dst[0] = '0';
    dst[1] = 'x';
    for (size_t i = 0; i < count; ++i) {
        dst[2 + 2 * i] = hex[src[i] >> 4];
        dst[3 + 2 * i] = hex[src[i] & 15];
    }
    dst[2 + 2 * count] = '\0';
    cb->offset += count;
    cb->tSize = 2 * count + 3;
    return count < rem ? sTRUNCATE : sOKAY;
}

ZEL_RETCODE cnv_memcpyTrunc(CNVCB *cb) {
    const size_t rem = cb->offset < cb->tSrcLen ? cb->tSrcLen - cb->offset : 0;
    if (rem == 0 && cb->offset > 0) return sNODATA;
    if (cb->pvDst == nullptr) {
        cb->tSize = rem;
        return sOKAY;
    }
    const size_t count = rem < cb->tDstLen ? rem : cb->tDstLen;
    std::memcpy(cb->pvDst, static_cast<const char *>(cb->pvSrc) + cb->offset, count);
    cb->offset += count;
    cb->tSize = count;
    return count < rem ? sTRUNCATE : sOKAY;
}

ZEL_RETCODE cnv_memcpy(CNVCB *cb) {
    if (cb->tSrcLen > cb->tDstLen) {
        cb->tSize = cb->tSrcLen;
        return eDATALOST;
    }
    cb->tSize = cb->tSrcLen;
    if (cb->tSrcLen == 0 || cb->pvDst == nullptr) return sOKAY;
    std::memset(cb->pvDst, 0, cb->tDstLen);
    std::memcpy(cb->pvDst, cb->pvSrc, cb->tSrcLen);  // raw bytes, no interpretation
    return sOKAY;
}

ZEL_RETCODE cnv_binaryToBoolean(CNVCB *cb) {
    if (cb->tSrcLen != 1) return eDATALOST;
    cb->tSize = 1;
    if (cb->pvDst == nullptr) return sOKAY;
    *static_cast<uint8_t *>(cb->pvDst) = *static_cast<const uint8_t *>(cb->pvSrc) != 0;
    return sOKAY;
}

ZEL_RETCODE cnv_binaryToUuid(CNVCB *cb) {
    const size_t rem = cb->offset < cb->tSrcLen ? cb->tSrcLen - cb->offset : 0;
    if (rem == 0) return cb->offset == 0 ? eRANGE : sNODATA;
    if (rem < sizeof(ZEL_UUID_T)) return eRANGE;
    cb->tSize = sizeof(ZEL_UUID_T);
    if (cb->pvDst == nullptr) return sOKAY;
    if (cb->tDstLen < sizeof(ZEL_UUID_T)) return eDATALOST;
    std::memcpy(cb->pvDst, static_cast<const char *>(cb->pvSrc) + cb->offset, sizeof(ZEL_UUID_T));
    cb->offset += sizeof(ZEL_UUID_T);
    return rem > sizeof(ZEL_UUID_T) ? sTRUNCATE : sOKAY;
}

ZEL_RETCODE cnv_uuidToBinary(CNVCB *cb) {
    cb->tSize = sizeof(ZEL_UUID_T);
    if (cb->pvDst == nullptr) return sOKAY;
    // Deliberate: the test asks for 17 bytes of room though 16 are written;
    // stored callers rely on it.
    if (cb->tDstLen < sizeof(ZEL_UUID_T) + 1) return eDATALOST;
    std::memcpy(cb->pvDst, cb->pvSrc, sizeof(ZEL_UUID_T));
    return sOKAY;
}

ZEL_RETCODE cnv_uuidToString(CNVCB *cb) {
    return cnv_numToText<ZEL_UUID_T>(cb);
}
ZEL_RETCODE cnv_uuidToUuid(CNVCB *cb) {
    return cnv_copyValueTrunc(cb, sizeof(ZEL_UUID_T));
}

// ---- Dates and times.

ZEL_RETCODE cnv_dateToDate(CNVCB *cb) {
    return cnv_dtSame(cb, sizeof(ZEL_PACKED_DATE_T));
}
ZEL_RETCODE cnv_timeToTime(CNVCB *cb) {
    return cnv_dtSame(cb, sizeof(ZEL_PACKED_TIME_T));
}
ZEL_RETCODE cnv_timeTZToTimeTZ(CNVCB *cb) {
    return cnv_dtSame(cb, sizeof(ZEL_PACKED_TIMETZ_T));
}
ZEL_RETCODE cnv_timestampToTimestamp(CNVCB *cb) {
    return cnv_dtSame(cb, sizeof(ZEL_PACKED_TIMESTAMP_T));
}
ZEL_RETCODE cnv_timestampTZToTimestampTZ(CNVCB *cb) {
    return cnv_dtSame(cb, sizeof(ZEL_PACKED_TIMESTAMPTZ_T));
}

// A date does not become midnight: it takes the local time of day now. This
// is the required behaviour.
ZEL_RETCODE cnv_dateToTimestamp(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMP_T>(cb, true, [cb](ZEL_PACKED_TIMESTAMP_T &r) {
        ZEL_PACKED_TIMETZ_T now{};
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = zel_timetzNow(cb->tz_disp, &now));
        ZEL_CHECK(rc = zel_timetzToTime(now, cb->tz_disp, &r.time));
        r.date = cnv_src<ZEL_PACKED_DATE_T>(cb);
        return sOKAY;
    });
}

ZEL_RETCODE cnv_dateToTimestampTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMPTZ_T>(cb, true, [cb](ZEL_PACKED_TIMESTAMPTZ_T &r) {
        ZEL_PACKED_TIMETZ_T now{};
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = zel_timetzNow(cb->tz_disp, &now));
        r.date = cnv_src<ZEL_PACKED_DATE_T>(cb);
        r.time = now.time;
        r.tz = cb->tz_disp;
        return sOKAY;
    });
}

// Deliberately without a size test, unlike every other date conversion.
ZEL_RETCODE cnv_timeToTimeTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMETZ_T>(cb, false, [cb](ZEL_PACKED_TIMETZ_T &r) {
        r.time = cnv_src<ZEL_PACKED_TIME_T>(cb);
        r.tz = 0;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timeToTimestamp(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMP_T>(cb, true, [cb](ZEL_PACKED_TIMESTAMP_T &r) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = zel_dateToday(cb->tz_disp, &r.date));
        r.time = cnv_src<ZEL_PACKED_TIME_T>(cb);
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timeToTimestampTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMPTZ_T>(cb, true, [cb](ZEL_PACKED_TIMESTAMPTZ_T &r) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = zel_dateToday(cb->tz_disp, &r.date));
        r.time = cnv_src<ZEL_PACKED_TIME_T>(cb);
        r.tz = cb->tz_disp;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timeTZToTime(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIME_T>(cb, true, [cb](ZEL_PACKED_TIME_T &r) {
        const auto v = cnv_src<ZEL_PACKED_TIMETZ_T>(cb);
        return zel_timetzToTime(v, v.tz, &r);
    });
}

namespace {
// The time with zone on today's UTC date.
ZEL_RETCODE cnv_timetzToday(const CNVCB *cb, ZEL_PACKED_TIMESTAMPTZ_T &r) {
    const auto v = cnv_src<ZEL_PACKED_TIMETZ_T>(cb);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = cnv_tzValid(v.tz));
    ZEL_CHECK(rc = zel_dateToday(0, &r.date));
    r.time = v.time;
    r.tz = v.tz;
    return sOKAY;
}

// The instant of a time stamp with zone in its own zone.
ZEL_RETCODE cnv_tstzLocal(const CNVCB *cb, ZEL_PACKED_TIMESTAMP_T &ts) {
    const auto v = cnv_src<ZEL_PACKED_TIMESTAMPTZ_T>(cb);
    return zel_timestamptzToTimestamp(v, v.tz, &ts);
}
}  // namespace

ZEL_RETCODE cnv_timeTZToTimestampTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMPTZ_T>(
        cb, true, [cb](ZEL_PACKED_TIMESTAMPTZ_T &r) { return cnv_timetzToday(cb, r); });
}

ZEL_RETCODE cnv_timeTZToTimestamp(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMP_T>(cb, true, [cb](ZEL_PACKED_TIMESTAMP_T &r) {
        ZEL_PACKED_TIMESTAMPTZ_T tz{};
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = cnv_timetzToday(cb, tz));
        return zel_timestamptzToTimestamp(tz, cb->tz_disp, &r);
    });
}

ZEL_RETCODE cnv_timestampToDate(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_DATE_T>(cb, true, [cb](ZEL_PACKED_DATE_T &r) {
        r = cnv_src<ZEL_PACKED_TIMESTAMP_T>(cb).date;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timestampToTime(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIME_T>(cb, true, [cb](ZEL_PACKED_TIME_T &r) {
        r = cnv_src<ZEL_PACKED_TIMESTAMP_T>(cb).time;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timestampToTimeTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMETZ_T>(cb, true, [cb](ZEL_PACKED_TIMETZ_T &r) {
        r.time = cnv_src<ZEL_PACKED_TIMESTAMP_T>(cb).time;
        r.tz = 0;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timestampToTimestampTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMPTZ_T>(cb, true, [cb](ZEL_PACKED_TIMESTAMPTZ_T &r) {
        const auto v = cnv_src<ZEL_PACKED_TIMESTAMP_T>(cb);
        r.date = v.date;
        r.time = v.time;
        r.tz = 0;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timestampTZToDate(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_DATE_T>(cb, true, [cb](ZEL_PACKED_DATE_T &r) {
        ZEL_PACKED_TIMESTAMP_T ts{};
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = cnv_tstzLocal(cb, ts));
        r = ts.date;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timestampTZToTime(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIME_T>(cb, true, [cb](ZEL_PACKED_TIME_T &r) {
        ZEL_PACKED_TIMESTAMP_T ts{};
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = cnv_tstzLocal(cb, ts));
        r = ts.time;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_timestampTZToTimestamp(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMESTAMP_T>(
        cb, true, [cb](ZEL_PACKED_TIMESTAMP_T &r) { return cnv_tstzLocal(cb, r); });
}

ZEL_RETCODE cnv_timestampTZToTimeTZ(CNVCB *cb) {
    return cnv_dtRun<ZEL_PACKED_TIMETZ_T>(cb, true, [cb](ZEL_PACKED_TIMETZ_T &r) {
        const auto v = cnv_src<ZEL_PACKED_TIMESTAMPTZ_T>(cb);
        r.time = v.time;  // the stored instant and zone, no shift
        r.tz = v.tz;
        return sOKAY;
    });
}

ZEL_RETCODE cnv_dateToString(CNVCB *cb) {
    char buf[11];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_dateToString(cnv_src<ZEL_PACKED_DATE_T>(cb), cb->date_format, cb->date_sep,
                                    buf, sizeof buf, nullptr));
    return cnv_textOut(cb, buf);
}

ZEL_RETCODE cnv_timeToString(CNVCB *cb) {
    char buf[14];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timeToString(cnv_src<ZEL_PACKED_TIME_T>(cb), cb->time_format, buf,
                                    sizeof buf, nullptr));
    return cnv_textOut(cb, buf);
}

ZEL_RETCODE cnv_timeTZToString(CNVCB *cb) {
    char buf[21];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timetzToString(cnv_src<ZEL_PACKED_TIMETZ_T>(cb), cb->time_format, buf,
                                      sizeof buf, nullptr));
    return cnv_textOut(cb, buf);
}

ZEL_RETCODE cnv_timestampToString(CNVCB *cb) {
    char buf[26];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = zel_timestampToString(cnv_src<ZEL_PACKED_TIMESTAMP_T>(cb), cb->date_format,
                                         cb->date_sep, cb->time_format, buf, sizeof buf, nullptr));
    return cnv_timestampTextOut(cb, buf);
}

ZEL_RETCODE cnv_timestampTZToString(CNVCB *cb) {
    char buf[32];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc =
                  zel_timestamptzToString(cnv_src<ZEL_PACKED_TIMESTAMPTZ_T>(cb), cb->date_format,
                                          cb->date_sep, cb->time_format, buf, sizeof buf, nullptr));
    return cnv_timestampTextOut(cb, buf);
}

// ---- Packed decimals.

ZEL_RETCODE cnv_packedDecimalToInt16(CNVCB *cb) {
    return cnv_packed<int16_t>(cb);
}
ZEL_RETCODE cnv_packedDecimalToUInt16(CNVCB *cb) {
    return cnv_packed<uint16_t>(cb);
}
ZEL_RETCODE cnv_packedDecimalToInt32(CNVCB *cb) {
    return cnv_packed<int32_t>(cb);
}
ZEL_RETCODE cnv_packedDecimalToUInt32(CNVCB *cb) {
    return cnv_packed<uint32_t>(cb);
}
ZEL_RETCODE cnv_packedDecimalToInt64(CNVCB *cb) {
    return cnv_packed<int64_t>(cb);
}
ZEL_RETCODE cnv_packedDecimalToUInt64(CNVCB *cb) {
    return cnv_packed<uint64_t>(cb);
}
ZEL_RETCODE cnv_packedDecimalToFloat(CNVCB *cb) {
    return cnv_packed<float>(cb);
}
ZEL_RETCODE cnv_packedDecimalToDouble(CNVCB *cb) {
    return cnv_packed<double>(cb);
}

ZEL_RETCODE cnv_packedDecimalToDecimal(CNVCB *cb) {
    cb->tSize = cnv_BCD_SIZE;
    if (cb->pvDst == nullptr) return sOKAY;
    if (cb->tDstLen < cnv_BCD_SIZE) return eDATALOST;
    if (zel_bcdUnpack(static_cast<const ZEL_PACKED_BCD_T *>(cb->pvSrc),
                      static_cast<ZEL_BCD_T *>(cb->pvDst), cb->prec, cb->scale) < 0)
        return eINVBCD;
    return sOKAY;
}

// ---- The tables.

namespace {

constexpr size_t cnv_FCN_SLOTS = 297;
// One cell of the matrix. The kind says whether a function is there, so
// that building the tables never compares function addresses (which is not a
// constant expression under every instrumentation).
struct CnvEntry {
    enum Kind : uint8_t { NONE, FCN, WIDE };
    B_CNVFCN fcn;
    Kind kind;
    constexpr CnvEntry(B_CNVFCN f) : fcn(f), kind(FCN) {}
    constexpr CnvEntry(B_CNVFCN f, Kind k) : fcn(f), kind(k) {}
};
using CnvRow = CnvEntry[ZEL_CNV_TYPES];
constexpr CnvEntry N{nullptr, CnvEntry::NONE};
constexpr CnvEntry W{cnv_wideRefused, CnvEntry::WIDE};

// Columns: CHAR WCHAR BINARY BOOL INT8 UINT8 INT16 UINT16 INT32 UINT32 INT64
// UINT64 FLOAT DOUBLE BCD DATE TIME TIMETZ TIMESTAMP TIMESTAMPTZ ROWID UUID.
#define CNV_NUM_ROW(S, ROWID)                                                        \
    {                                                                                \
        cnv_##S##ToStringTrunc, W, cnv_##S##ToBinaryTrunc, cnv_##S##ToBooleanTrunc,  \
            cnv_##S##ToInt8Trunc, cnv_##S##ToUInt8Trunc, cnv_##S##ToInt16Trunc,      \
            cnv_##S##ToUInt16Trunc, cnv_##S##ToInt32Trunc, cnv_##S##ToUInt32Trunc,   \
            cnv_##S##ToInt64Trunc, cnv_##S##ToUInt64Trunc, cnv_##S##ToFloatTrunc,    \
            cnv_##S##ToDoubleTrunc, cnv_##S##ToDecimalTrunc, N, N, N, N, N, ROWID, N \
    }

// clang-format off
constexpr CnvRow cnvMatrix[ZEL_CNV_TYPES] = {
    // A row per source type; its 22 cells are the destinations in the order of the columns
    // above (CHAR WCHAR BINARY BOOL INT8 UINT8 INT16 UINT16 INT32 UINT32 INT64 UINT64
    // FLOAT DOUBLE BCD DATE TIME TIMETZ TIMESTAMP TIMESTAMPTZ ROWID UUID).
    // CHAR
    {cnv_strcpyTrunc,         W,                       cnv_stringToBinary,
     cnv_stringToBoolean,     cnv_stringToInt8,        cnv_stringToUInt8,
     cnv_stringToInt16,       cnv_stringToUInt16,      cnv_stringToInt32,
     cnv_stringToUInt32,      cnv_stringToInt64,       cnv_stringToUInt64,
     cnv_stringToFloat,       cnv_stringToDouble,      cnv_stringToDecimal,
     cnv_stringToDate,        cnv_stringToTime,        cnv_stringToTimeTZ,
     cnv_stringToTimestamp,   cnv_stringToTimestampTZ, cnv_stringToRowid,
     cnv_stringToUuid},
    // WCHAR
    {W, W, W, W, W, W,
     W, W, W, W, W, W,
     W, W, W, W, W, W,
     W, W, W, W},
    // BINARY
    {cnv_binaryToString,  W,                   cnv_memcpyTrunc,     cnv_binaryToBoolean,
     cnv_memcpy,          cnv_memcpy,          cnv_memcpy,          cnv_memcpy,
     cnv_memcpy,          cnv_memcpy,          cnv_memcpy,          cnv_memcpy,
     cnv_memcpy,          cnv_memcpy,          N,                   N,
     N,                   N,                   N,                   N,
     N,                   cnv_binaryToUuid},
    CNV_NUM_ROW(uint8, N),                        // BOOL, as uint8
    CNV_NUM_ROW(int8, cnv_int8ToRowidTrunc),      // INT8
    CNV_NUM_ROW(uint8, cnv_uint8ToRowidTrunc),    // UINT8
    CNV_NUM_ROW(int16, cnv_int16ToRowidTrunc),    // INT16
    CNV_NUM_ROW(uint16, cnv_uint16ToRowidTrunc),  // UINT16
    CNV_NUM_ROW(int32, cnv_int32ToRowidTrunc),    // INT32
    CNV_NUM_ROW(uint32, cnv_uint32ToRowidTrunc),  // UINT32
    CNV_NUM_ROW(int64, cnv_int64ToRowidTrunc),    // INT64
    CNV_NUM_ROW(uint64, cnv_uint64ToRowidTrunc),  // UINT64
    CNV_NUM_ROW(float, N),                        // FLOAT
    CNV_NUM_ROW(double, N),                       // DOUBLE
    CNV_NUM_ROW(decimal, N),                      // BCD
    // DATE
    {cnv_dateToString,      W,                     N,                     N,
     N,                     N,                     N,                     N,
     N,                     N,                     N,                     N,
     N,                     N,                     N,                     cnv_dateToDate,
     N,                     N,                     cnv_dateToTimestamp,   cnv_dateToTimestampTZ,
     N,                     N},
    // TIME
    {cnv_timeToString,      W,                     N,                     N,
     N,                     N,                     N,                     N,
     N,                     N,                     N,                     N,
     N,                     N,                     N,                     N,
     cnv_timeToTime,        cnv_timeToTimeTZ,      cnv_timeToTimestamp,   cnv_timeToTimestampTZ,
     N,                     N},
    // TIMETZ
    {cnv_timeTZToString,      W,                       N,
     N,                       N,                       N,
     N,                       N,                       N,
     N,                       N,                       N,
     N,                       N,                       N,
     N,                       cnv_timeTZToTime,        cnv_timeTZToTimeTZ,
     cnv_timeTZToTimestamp,   cnv_timeTZToTimestampTZ, N,
     N},
    // TIMESTAMP
    {cnv_timestampToString,      W,                          N,
     N,                          N,                          N,
     N,                          N,                          N,
     N,                          N,                          N,
     N,                          N,                          N,
     cnv_timestampToDate,        cnv_timestampToTime,        cnv_timestampToTimeTZ,
     cnv_timestampToTimestamp,   cnv_timestampToTimestampTZ, N,
     N},
    // TIMESTAMPTZ
    {cnv_timestampTZToString,      W,                            N,
     N,                            N,                            N,
     N,                            N,                            N,
     N,                            N,                            N,
     N,                            N,                            N,
     cnv_timestampTZToDate,        cnv_timestampTZToTime,        cnv_timestampTZToTimeTZ,
     cnv_timestampTZToTimestamp,   cnv_timestampTZToTimestampTZ, N,
     N},
    // ROWID, as uint64
    {cnv_uint64ToStringTrunc, W,                       N,
     N,                       cnv_uint64ToInt8Trunc,   cnv_uint64ToUInt8Trunc,
     cnv_uint64ToInt16Trunc,  cnv_uint64ToUInt16Trunc, cnv_uint64ToInt32Trunc,
     cnv_uint64ToUInt32Trunc, cnv_uint64ToInt64Trunc,  cnv_uint64ToUInt64Trunc,
     N,                       N,                       N,
     N,                       N,                       N,
     N,                       N,                       cnv_uint64ToRowidTrunc,
     N},
    // UUID
    {cnv_uuidToString, W,                cnv_uuidToBinary, N,                N,
     N,                N,                N,                N,                N,
     N,                N,                N,                N,                N,
     N,                N,                N,                N,                N,
     N,                cnv_uuidToUuid},
};
// clang-format on
#undef CNV_NUM_ROW

// The packed-decimal functions have slots of their own that no pair reaches.
constexpr B_CNVFCN cnvPackedFcns[] = {
    cnv_packedDecimalToInt16,  cnv_packedDecimalToUInt16, cnv_packedDecimalToInt32,
    cnv_packedDecimalToUInt32, cnv_packedDecimalToInt64,  cnv_packedDecimalToUInt64,
    cnv_packedDecimalToFloat,  cnv_packedDecimalToDouble, cnv_packedDecimalToDecimal,
};

struct CnvTables {
    CNVCODE codes[ZEL_CNV_TYPES][ZEL_CNV_TYPES];
    B_CNVFCN fcns[cnv_FCN_SLOTS];
};

constexpr CnvTables cnv_buildTables() {
    CnvTables t{};
    // Slot 1 is shared by every wide-character pair.
    t.fcns[0] = cnv_wideRefused;
    t.fcns[1] = cnv_wideRefused;
    size_t next = 2;
    for (size_t s = 0; s < ZEL_CNV_TYPES; ++s) {
        for (size_t d = 0; d < ZEL_CNV_TYPES; ++d) {
            const CnvEntry &e = cnvMatrix[s][d];
            if (e.kind == CnvEntry::NONE) continue;
            if (e.kind == CnvEntry::WIDE) {
                t.codes[s][d] = 1;
                continue;
            }
            t.codes[s][d] = static_cast<CNVCODE>(next);
            t.fcns[next++] = e.fcn;
        }
    }
    for (B_CNVFCN f : cnvPackedFcns) t.fcns[next++] = f;
    while (next < cnv_FCN_SLOTS) t.fcns[next++] = cnv_wideRefused;
    return t;
}

constexpr CnvTables cnvTables = cnv_buildTables();
constexpr const auto &cnv_codes = cnvTables.codes;
constexpr const auto &cnvFcns = cnvTables.fcns;

// ---- Lookup and addresses.

ZEL_TYPE cnv_fold(ZEL_TYPE t) {
    switch (t) {
        case ZEL_WCHAR_UTF8:
        case ZEL_VARCHAR:
        case ZEL_WVARCHAR_UTF8:
        case ZEL_CLOB:
        case ZEL_WCLOB_UTF8:
            return ZEL_CHAR;
        case ZEL_VARBINARY:
        case ZEL_BLOB:
            return ZEL_BINARY;
        default:
            return t;
    }
}

int cnv_row(ZEL_TYPE t) {
    const ZEL_TYPE f = cnv_fold(t);
    for (int i = 0; i < ZEL_CNV_TYPES; ++i)
        if (typeData[i].type == f) return i;
    return -1;
}

ZEL_RETCODE getConvertCode(ZEL_TYPE srcType, ZEL_TYPE dstType, CNVCODE *pCode) {
    const int s = cnv_row(srcType);
    const int d = cnv_row(dstType);
    if (s < 0 || d < 0 || cnv_codes[s][d] == 0) return eINVCONVERT;
    *pCode = cnv_codes[s][d];
    return sOKAY;
}

bool cnv_isNumberFamily(ZEL_TYPE t) {
    const int f = ZEL_TYPE_FAMILY(t);
    return f == ZEL_FAMILY_BOOL || f == ZEL_FAMILY_INTEGER || f == ZEL_FAMILY_FLOAT;
}

bool cnv_isTextOrBinary(ZEL_TYPE t) {
    const int f = ZEL_TYPE_FAMILY(t);
    return f == ZEL_FAMILY_BINARY || f == ZEL_FAMILY_CHAR;
}

// Where a value's data lies: inline in vt, or behind its pointer.
void *getZelValuePtr(ZEL_VALUE *pVal, ZEL_TYPE type) {
    const int f = ZEL_TYPE_FAMILY(type);
    if (f == ZEL_FAMILY_BOOL || f == ZEL_FAMILY_INTEGER || f == ZEL_FAMILY_FLOAT ||
        type == ZEL_ROWID)
        return pVal->elts != 0 ? const_cast<void *>(pVal->vt.pv) : &pVal->vt;
    if (type == ZEL_DATE || type == ZEL_TIME || type == ZEL_TIMESTAMP || type == ZEL_TIMETZ)
        return &pVal->vt;
    if (type == ZEL_TIMESTAMPTZ || type == ZEL_BCD || type == ZEL_UUID ||
        cnv_fold(type) == ZEL_CHAR || cnv_fold(type) == ZEL_BINARY)
        return const_cast<void *>(pVal->vt.pv);
    return nullptr;
}

// Room of a destination held inline in the record: its element size, even
// when the caller gave 0 or more than the payload has.
size_t cnv_inlineRoom(ZEL_TYPE dstType, size_t uDstMaxLen) {
    const int d = cnv_row(dstType);
    if (d < 0) return uDstMaxLen;
    const size_t size = typeData[d].size;
    return uDstMaxLen == 0 || uDstMaxLen > size ? size : uDstMaxLen;
}

struct CnvFormats {
    ZEL_DATE_FORMAT date_format;
    char date_sep;
    ZEL_TIME_FORMAT time_format;
    int16_t tz_disp;
};

void cnv_fillFormats(CNVCB &cb, const CnvFormats &f) {
    cb.date_format = f.date_format;
    cb.date_sep = f.date_sep;
    cb.time_format = f.time_format;
    cb.tz_disp = f.tz_disp;
}

void cnv_setTag(CNVCB &cb, TagRef tag) {
    if (tag.sub() != nullptr) {
        cb.tag.type = CONV_TAG_TYPE_SUB;
        cb.tag.u.sub = tag.sub();
    } else {
        cb.tag.type = CONV_TAG_TYPE_STACK;
        cb.tag.u.stack = tag.stack();
    }
}

// The destination side of a control block, from the record that receives.
void cnv_setDst(CNVCB &cb, ZEL_VALUE *pDstVal, ZEL_TYPE dstType, size_t uDstMaxLen) {
    cb.pvDst = getZelValuePtr(pDstVal, dstType);
    const bool inlineDst = cb.pvDst == static_cast<void *>(&pDstVal->vt);
    cb.tDstLen = inlineDst ? cnv_inlineRoom(dstType, uDstMaxLen) : uDstMaxLen;
}

// The source's data, with an empty text or byte string standing for a null
// pointer of length 0.
ZEL_RETCODE cnv_setSrc(CNVCB &cb, const void *p, ZEL_TYPE srcType) {
    cb.pvSrc = p;
    if (p != nullptr) return sOKAY;
    if (cnv_isTextOrBinary(srcType)) {
        if (cb.tSrcLen > 0) return eINVNULLARG;
        cb.pvSrc = "";
        return sOKAY;
    }
    return eINVNULLARG;
}

ZEL_RETCODE cnv_copyValue(ZEL_VALUE *d, const ZEL_VALUE *s, size_t max, TagRef tag) {
    if (tag.sub() != nullptr) return zel_valueCopyEx(d, s, max, tag.sub());
    return zel_valueCopyStackEx(d, s, max, tag.stack());
}

ZEL_RETCODE cnv_convertArray(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                             TagRef tag);

// The core of b_convertZelValue and its stack-tag form.
ZEL_RETCODE convZelValue(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                         size_t uDstMaxLen, const CnvFormats &fmt, TagRef tag) {
    if (pSrcVal == nullptr || pDstVal == nullptr) return eINVNULLARG;
    if (cnv_isNumberFamily(pSrcVal->type) && pSrcVal->elts != 0)
        return cnv_convertArray(pSrcVal, pDstVal, dstType, tag);
    CNVCODE code = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = getConvertCode(pSrcVal->type, dstType, &code));
    CNVCB cb{};
    cb.tSrcLen = cnv_isTextOrBinary(pSrcVal->type) ? pSrcVal->len : 0;
    cb.uSrcNumElems = pSrcVal->elts;
    ZEL_CHECK(rc = cnv_setSrc(cb, getZelValuePtr(const_cast<ZEL_VALUE *>(pSrcVal), pSrcVal->type),
                              pSrcVal->type));
    cnv_setDst(cb, pDstVal, dstType, uDstMaxLen);
    cnv_fillFormats(cb, fmt);
    cnv_setTag(cb, tag);
    ZEL_CHECK(rc = cnvFcns[code](&cb));
    pDstVal->type = dstType;
    pDstVal->status = pSrcVal->status;
    pDstVal->elts = pSrcVal->elts;
    pDstVal->len = cb.tSize;
    return rc;
}

ZEL_RETCODE cnv_convertArray(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                             TagRef tag) {
    if (pSrcVal == nullptr || pDstVal == nullptr) return eINVNULLARG;
    if (!cnv_isNumberFamily(dstType) || pSrcVal->elts == 0) return eINVCONVERT;
    const size_t dWidth = zel::detail::typeInfoLength(dstType);
    const size_t sWidth = zel::detail::typeInfoLength(pSrcVal->type);
    if (dWidth == 0 || sWidth == 0 || sWidth > sizeof(ZEL_COLUMN) || pSrcVal->vt.pv == nullptr)
        return eINVCONVERT;
    const uint32_t n = pSrcVal->elts;
    char *out = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = tag.allocClear(dWidth * n, &out));
    const auto *in = static_cast<const char *>(pSrcVal->vt.pv);
    ZEL_RETCODE last = sOKAY;
    for (uint32_t i = 0; i < n; ++i) {
        ZEL_VALUE s;
        zel_valueInitWithStatusAndType(&s, vsOKAY, pSrcVal->type);
        std::memcpy(&s.vt, in + i * sWidth, sWidth);
        ZEL_VALUE d;
        zel_valueInit(&d);
        last = convZelValue(&s, &d, dstType, 0, {ZEL_YYYYMMDD, '-', ZEL_HHMMSSFFFF, 0}, tag);
        if (last == sOKAY) std::memcpy(out + i * dWidth, &d.vt, dWidth);
    }
    pDstVal->type = dstType;
    pDstVal->status = vsOKAY;
    pDstVal->len = 0;
    pDstVal->elts = n;
    pDstVal->vt.pv = out;
    return last;
}

// Bytes to allocate for the destination, from the caller's maximum.
ZEL_RETCODE calcDestLen(ZEL_TYPE stype, size_t slen, ZEL_TYPE dtype, size_t *pDstLen) {
    const int sfam = ZEL_TYPE_FAMILY(stype);
    switch (dtype) {
        case ZEL_CLOB:
        case ZEL_WCLOB_UTF8:
            *pDstLen = slen;
            break;
        case ZEL_BLOB:
            if (stype == ZEL_BINARY || stype == ZEL_VARBINARY || stype == ZEL_CHAR ||
                stype == ZEL_VARCHAR || stype == ZEL_WCHAR_UTF8 || stype == ZEL_WVARCHAR_UTF8)
                *pDstLen = slen;
            else if (stype == ZEL_WCHAR || stype == ZEL_WVARCHAR)
                *pDstLen = slen / 4;
            break;
        case ZEL_CHAR:
        case ZEL_VARCHAR:
        case ZEL_WCHAR_UTF8:
        case ZEL_WVARCHAR_UTF8:
            if (sfam == ZEL_FAMILY_BINARY)
                *pDstLen = 2 * slen + 3;  // "0x" and two hex digits a byte
            else if (*pDstLen == 0 && slen != 0)
                *pDstLen = slen;
            break;
        case ZEL_BCD:
            *pDstLen = cnv_BCD_SIZE;
            break;
        case ZEL_UUID:
            *pDstLen = sizeof(ZEL_UUID_T);
            break;
        case ZEL_TIMESTAMPTZ:
            *pDstLen = sizeof(ZEL_PACKED_TIMESTAMPTZ_T);
            break;
        case ZEL_BINARY:
        case ZEL_VARBINARY:
            if (slen != 0) {
                *pDstLen = slen;
            } else {
                const int s = cnv_row(stype);
                if (s < 0 || typeData[s].size == 0) return eTYPEMISMATCH;
                *pDstLen = typeData[s].size;
            }
            break;
        default:
            break;
    }
    return sOKAY;
}

// Puts the destination's data memory in place; *allocated gets what was
// taken (null for nothing).
ZEL_RETCODE allocDataBuffer(ZEL_VALUE *dval, ZEL_TYPE dtype, size_t dlen, TagRef tag,
                            void **allocated) {
    void *p = nullptr;
    ZEL_RETCODE rc = sOKAY;
    switch (dtype) {
        case ZEL_CHAR:
        case ZEL_VARCHAR:
        case ZEL_WCHAR_UTF8:
        case ZEL_WVARCHAR_UTF8:
        case ZEL_BCD:
        case ZEL_UUID:
        case ZEL_CLOB:
        case ZEL_WCLOB_UTF8:
            rc = tag.allocClear(dlen, &p);
            break;
        case ZEL_TIMESTAMPTZ:
            rc = tag.allocClear(sizeof(ZEL_PACKED_TIMESTAMPTZ_T), &p);
            break;
        case ZEL_BINARY:
        case ZEL_VARBINARY:
        case ZEL_BLOB:
            rc = tag.allocOrNull(dlen, &p);
            break;
        default:
            return sOKAY;
    }
    if (rc < 0) return rc;
    dval->vt.pv = p;
    *allocated = p;
    return sOKAY;
}

bool cnv_isNarrowText(ZEL_TYPE t) {
    return t == ZEL_CHAR || t == ZEL_VARCHAR || t == ZEL_WCHAR_UTF8 || t == ZEL_WVARCHAR_UTF8;
}

// Narrow text and UTF-8 text are the same bytes here.
bool cnv_copiesAsItStands(const ZEL_VALUE *s, ZEL_TYPE dstType) {
    if (s->status == vsNOVAL || s->status == vsNULL || dstType == s->type) return true;
    const bool dUtf8 = dstType == ZEL_WVARCHAR_UTF8 || dstType == ZEL_WCHAR_UTF8;
    const bool dNarrow = dstType == ZEL_VARCHAR || dstType == ZEL_CHAR;
    const bool sUtf8 = s->type == ZEL_WVARCHAR_UTF8 || s->type == ZEL_WCHAR_UTF8;
    const bool sNarrow = s->type == ZEL_VARCHAR || s->type == ZEL_CHAR;
    return (dUtf8 && sNarrow) || (dNarrow && sUtf8);
}

// Source of a conversion into a new value: a record, or a plain buffer.
struct CnvSource {
    const ZEL_VALUE *val;  // null for a buffer
    const void *buf;
    ZEL_TYPE type;
    size_t len;
};

ZEL_RETCODE cnv_runInto(const CnvSource &src, ZEL_VALUE *out, ZEL_TYPE dstType, size_t max,
                        const CnvFormats &f, TagRef tag) {
    if (src.val != nullptr) return convZelValue(src.val, out, dstType, max, f, tag);
    return convertBufferToZelValue(src.buf, src.type, src.len, out, dstType, max, f.date_format,
                                   f.date_sep, f.time_format, f.tz_disp, tag.sub(), tag.stack());
}

// Steps shared by zel_valueConvert and zel_valueConvertFromBuffer: size,
// allocate, convert; dVal is written only on sOKAY or sTRUNCATE.
ZEL_RETCODE cnv_valueConvert(ZEL_VALUE *dVal, const CnvSource &src, ZEL_TYPE dstType,
                             size_t uDstMaxLen, const CnvFormats &f, TagRef tag) {
    ZEL_VALUE out;
    zel_valueInit(&out);
    size_t dlen = uDstMaxLen;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = calcDestLen(src.type, src.len, dstType, &dlen));
    if (dlen == 0 && ZEL_TYPE_FAMILY(dstType) == ZEL_FAMILY_CHAR && src.type != ZEL_SUBQUERY) {
        // No maximum and nothing to go by: measure the text first.
        ZEL_VALUE probe;
        zel_valueInit(&probe);
        ZEL_CHECK(rc = cnv_runInto(src, &probe, dstType, 0, f, tag));
        dlen = probe.len;
    }
    void *allocated = nullptr;
    ZEL_CHECK(rc = allocDataBuffer(&out, dstType, dlen, tag, &allocated));
    if (src.type == ZEL_SUBQUERY) {
        *dVal = out;  // stays vsNOVAL
        return sOKAY;
    }
    if (src.val != nullptr && dstType == ZEL_INT8 && uDstMaxLen == 0 &&
        cnv_isNarrowText(src.type) && src.len == 2 && src.val->vt.cv != nullptr) {
        // One byte of text into a byte: its number, not its digits.
        zel_valueSetInt8(&out, static_cast<int8_t>(src.val->vt.cv[0]));
        *dVal = out;
        return sOKAY;
    }
    rc = cnv_runInto(src, &out, dstType, dlen, f, tag);
    if (rc != sOKAY && rc != sTRUNCATE) {
        if (out.elts != 0 && out.vt.pv != nullptr && out.vt.pv != allocated) tag.release(out.vt.pv);
        tag.release(allocated);
        return rc;
    }
    out.status = vsOKAY;
    size_t len = 0;
    if (zel_valueLength(&out, &len) == sOKAY) out.len = len;
    *dVal = out;
    return rc;
}

ZEL_RETCODE cnv_valueConvertTop(ZEL_VALUE *dVal, const ZEL_VALUE *sVal, ZEL_TYPE dstType,
                                size_t uDstMaxLen, const CnvFormats &f, TagRef tag) {
    if (dVal == nullptr || sVal == nullptr) return eINVNULLARG;
    if (cnv_copiesAsItStands(sVal, dstType)) {
        // The deep copy does not report a failed copy of a scalar's data and
        // leaves vt as it was; a mark there tells it, and then nothing is
        // written, as with any other failure of a conversion.
        ZEL_VALUE out = *dVal;
        out.vt.pv = &out;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = cnv_copyValue(&out, sVal, sVal->len, tag));
        if (out.vt.pv == &out) {
            const ZEL_TYPE t = sVal->type;
            const bool copies = (t & ZEL_TYPE_LOB_BIT) == 0 || t == ZEL_CLOB ||
                                t == ZEL_WCLOB_UTF8 || t == ZEL_BLOB;
            if (sVal->status != vsNULL && copies) return eNOMEMORY;
            out.vt = dVal->vt;  // left alone: a NULL, or a large object not copied
        }
        *dVal = out;
        return rc;
    }
    const CnvSource src{sVal, nullptr, sVal->type, sVal->len};
    return cnv_valueConvert(dVal, src, dstType, uDstMaxLen, f, tag);
}

ZEL_RETCODE cnv_valueConvertFromBuffer(ZEL_VALUE *pDstVal, ZEL_TYPE dstType, size_t dstMaxLen,
                                       const void *pSrcVal, ZEL_TYPE srcType, size_t srcLen,
                                       const CnvFormats &f, TagRef tag) {
    if (pDstVal == nullptr || (pSrcVal == nullptr && srcLen != 0)) return eINVNULLARG;
    const CnvSource src{nullptr, pSrcVal, srcType, srcLen};
    return cnv_valueConvert(pDstVal, src, dstType, dstMaxLen, f, tag);
}

template <class T>
size_t cnv_arrayElemText(const char *p, int width, int precision, char *buf, size_t size) {
    T v;
    std::memcpy(&v, p, sizeof v);
    int n;
    if constexpr (std::is_same_v<T, ZEL_BOOL_T>) {
        n = b_snprintf(buf, size, "%s", v == ZEL_TRUE ? "true" : "false");
    } else if constexpr (cnv_isFloating<T>) {
        n = width == 0 ? b_snprintf(buf, size, "%.*f", precision, static_cast<double>(v))
                       : b_snprintf(buf, size, "%*.*f", width, precision, static_cast<double>(v));
    } else if constexpr (std::is_signed_v<T> && sizeof(T) <= 2) {
        n = b_snprintf(buf, size, "%hd", static_cast<short>(v));
    } else if constexpr (sizeof(T) <= 2) {
        n = b_snprintf(buf, size, "%hu", static_cast<unsigned short>(v));
    } else if constexpr (std::is_same_v<T, int32_t>) {
        n = b_snprintf(buf, size, "%d", v);
    } else if constexpr (std::is_same_v<T, uint32_t>) {
        n = b_snprintf(buf, size, "%u", v);
    } else if constexpr (std::is_same_v<T, int64_t>) {
        n = b_snprintf(buf, size, "%ld", static_cast<long>(v));
    } else {
        n = b_snprintf(buf, size, "%lu", static_cast<unsigned long>(v));
    }
    return n > 0 ? static_cast<size_t>(n) : 0;
}

using CnvArrayFmt = size_t (*)(const char *, int, int, char *, size_t);

// The element format of an array type, or null.
CnvArrayFmt cnv_arrayFormat(ZEL_TYPE t) {
    switch (t) {
        case ZEL_INT8:
            return cnv_arrayElemText<int8_t>;
        case ZEL_UINT8:
            return cnv_arrayElemText<uint8_t>;
        case ZEL_INT16:
            return cnv_arrayElemText<int16_t>;
        case ZEL_UINT16:
            return cnv_arrayElemText<uint16_t>;
        case ZEL_INT32:
            return cnv_arrayElemText<int32_t>;
        case ZEL_UINT32:
            return cnv_arrayElemText<uint32_t>;
        case ZEL_INT64:
            return cnv_arrayElemText<int64_t>;
        case ZEL_UINT64:
            return cnv_arrayElemText<uint64_t>;
        case ZEL_FLOAT:
            return cnv_arrayElemText<float>;
        case ZEL_DOUBLE:
            return cnv_arrayElemText<double>;
        case ZEL_BOOL:
            return cnv_arrayElemText<ZEL_BOOL_T>;
        default:
            return nullptr;
    }
}

}  // namespace

// ---- Public entry points.

ZEL_RETCODE b_convertVerify(ZEL_TYPE typeSrc, ZEL_TYPE typeDst, CNVCODE *pCnvCode) {
    CNVCODE code = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = getConvertCode(typeSrc, typeDst, &code));
    if (pCnvCode != nullptr) *pCnvCode = code;
    return sOKAY;
}

ZEL_RETCODE b_convertZelValue(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                              size_t uDstMaxLen, ZEL_DATE_FORMAT date_format, char date_sep,
                              ZEL_TIME_FORMAT time_format, int16_t tz_disp, B_TAG_SUB subTag) {
    return convZelValue(pSrcVal, pDstVal, dstType, uDstMaxLen,
                        {date_format, date_sep, time_format, tz_disp}, subTag);
}

ZEL_RETCODE b_convertZelValueStack(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                                   size_t uDstMaxLen, ZEL_DATE_FORMAT date_format, char date_sep,
                                   ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                   B_TAG_STACK stackTag) {
    return convZelValue(pSrcVal, pDstVal, dstType, uDstMaxLen,
                        {date_format, date_sep, time_format, tz_disp}, stackTag);
}

ZEL_RETCODE convertBufferToZelValue(const void *pSrcVal, ZEL_TYPE srcType, size_t srcLen,
                                    ZEL_VALUE *pDstVal, ZEL_TYPE dstType, size_t uDstMaxLen,
                                    ZEL_DATE_FORMAT date_format, char date_sep,
                                    ZEL_TIME_FORMAT time_format, int16_t tz_disp, B_TAG_SUB subTag,
                                    B_TAG_STACK stackTag) {
    if ((pSrcVal == nullptr && srcLen > 0) || pDstVal == nullptr) return eINVNULLARG;
    CNVCODE code = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = getConvertCode(srcType, dstType, &code));
    CNVCB cb{};
    cb.tSrcLen = srcLen;
    ZEL_CHECK(rc = cnv_setSrc(cb, pSrcVal, srcType));
    cnv_setDst(cb, pDstVal, dstType, uDstMaxLen);
    cnv_fillFormats(cb, {date_format, date_sep, time_format, tz_disp});
    cnv_setTag(cb, subTag != nullptr ? TagRef(subTag) : TagRef(stackTag));
    ZEL_CHECK(rc = cnvFcns[code](&cb));
    pDstVal->type = dstType;
    pDstVal->status = vsOKAY;
    pDstVal->elts = 0;
    pDstVal->len = cb.tSize;
    return rc;
}

ZEL_RETCODE b_convertZelValueToBuffer(const ZEL_VALUE *pSrcVal, ZEL_TYPE dstType,
                                      ZEL_DATE_FORMAT date_format, char date_sep,
                                      ZEL_TIME_FORMAT time_format, int16_t tz_disp, void *pvDstBuf,
                                      size_t bytesIn, size_t *pnOffset, size_t *pBytesOut) {
    (void)pnOffset;  // a read by pieces always starts at 0 here
    if (pSrcVal == nullptr) return eINVNULLARG;
    CNVCODE code = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = getConvertCode(pSrcVal->type, dstType, &code));
    CNVCB cb{};
    cb.tSrcLen = cnv_isTextOrBinary(pSrcVal->type) ? pSrcVal->len : 0;
    cb.uSrcNumElems = pSrcVal->elts;
    ZEL_CHECK(rc = cnv_setSrc(cb, getZelValuePtr(const_cast<ZEL_VALUE *>(pSrcVal), pSrcVal->type),
                              pSrcVal->type));
    cb.pvDst = pvDstBuf;
    cb.tDstLen = bytesIn;
    cnv_fillFormats(cb, {date_format, date_sep, time_format, tz_disp});
    ZEL_CHECK(rc = cnvFcns[code](&cb));
    if (pBytesOut != nullptr) *pBytesOut = cb.tSize;
    return rc;
}

ZEL_RETCODE b_convertZelArray(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                              B_TAG_SUB subTag) {
    return cnv_convertArray(pSrcVal, pDstVal, dstType, subTag);
}

ZEL_RETCODE b_convertZelArrayStack(const ZEL_VALUE *pSrcVal, ZEL_VALUE *pDstVal, ZEL_TYPE dstType,
                                   B_TAG_STACK stackTag) {
    return cnv_convertArray(pSrcVal, pDstVal, dstType, stackTag);
}

ZEL_RETCODE b_convertArrayToString(const ZEL_VALUE *pVal, char **ppString, int width, int precision,
                                   B_TAG_SUB subTag) {
    if (pVal == nullptr || ppString == nullptr || pVal->elts == 0) return eINVCONVERT;
    const CnvArrayFmt fmt = cnv_arrayFormat(pVal->type);
    if (fmt == nullptr || pVal->vt.pv == nullptr) return eINVCONVERT;
    const size_t w = zel::detail::typeInfoLength(pVal->type);
    const auto *in = static_cast<const char *>(pVal->vt.pv);
    // Measured first, so that the text is allocated once at its size.
    size_t total = 7;  // "ARRAY[" and "]"
    for (uint32_t i = 0; i < pVal->elts; ++i)
        total += fmt(in + i * w, width, precision, nullptr, 0) + (i > 0 ? 1 : 0);
    char *text = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(subTag, total + 1, &text));
    std::memcpy(text, "ARRAY[", 6);
    size_t pos = 6;
    for (uint32_t i = 0; i < pVal->elts; ++i) {
        if (i > 0) text[pos++] = ',';
        pos += fmt(in + i * w, width, precision, text + pos, total + 1 - pos);
    }
    text[pos++] = ']';
    text[pos] = '\0';
    *ppString = text;
    return sOKAY;
}

ZEL_BOOL_T b_validateFloat(float fv, ZEL_FP_TYPE *fpType) {
    PSP_MATH_SIGN sign = PSP_MATH_SIGN_POSITIVE;
    const bool nan = psp_mathFloatIsNan(&sign, fv) != 0;
    if (!nan && psp_mathFloatIsInf(&sign, fv) == 0) return ZEL_TRUE;
    if (fpType != nullptr) *fpType = cnv_fpKind(nan, sign == PSP_MATH_SIGN_NEGATIVE);
    return ZEL_FALSE;
}

ZEL_BOOL_T b_validateDouble(double dv, ZEL_FP_TYPE *fpType) {
    PSP_MATH_SIGN sign = PSP_MATH_SIGN_POSITIVE;
    const bool nan = psp_mathDoubleIsNan(&sign, dv) != 0;
    if (!nan && psp_mathDoubleIsInf(&sign, dv) == 0) return ZEL_TRUE;
    if (fpType != nullptr) *fpType = cnv_fpKind(nan, sign == PSP_MATH_SIGN_NEGATIVE);
    return ZEL_FALSE;
}

ZEL_RETCODE zel_valueConvert(ZEL_VALUE *dVal, const ZEL_VALUE *sVal, ZEL_TYPE dstType,
                             size_t uDstMaxLen, ZEL_DATE_FORMAT date_format, char date_sep,
                             ZEL_TIME_FORMAT time_format, int16_t tz_disp, B_TAG_SUB subTag) {
    return cnv_valueConvertTop(dVal, sVal, dstType, uDstMaxLen,
                               {date_format, date_sep, time_format, tz_disp}, subTag);
}

ZEL_RETCODE zel_valueConvertStack(ZEL_VALUE *dVal, const ZEL_VALUE *sVal, ZEL_TYPE dstType,
                                  size_t uDstMaxLen, ZEL_DATE_FORMAT date_format, char date_sep,
                                  ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                  B_TAG_STACK stackTag) {
    return cnv_valueConvertTop(dVal, sVal, dstType, uDstMaxLen,
                               {date_format, date_sep, time_format, tz_disp}, stackTag);
}

ZEL_RETCODE zel_valueConvertFromBuffer(ZEL_VALUE *pDstVal, ZEL_TYPE dstType, size_t dstMaxLen,
                                       const void *pSrcVal, ZEL_TYPE srcType, size_t srcLen,
                                       ZEL_DATE_FORMAT date_format, char date_sep,
                                       ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                       B_TAG_SUB subTag) {
    return cnv_valueConvertFromBuffer(pDstVal, dstType, dstMaxLen, pSrcVal, srcType, srcLen,
                                      {date_format, date_sep, time_format, tz_disp}, subTag);
}

ZEL_RETCODE zel_valueConvertFromBufferStack(ZEL_VALUE *pDstVal, ZEL_TYPE dstType, size_t dstMaxLen,
                                            const void *pSrcVal, ZEL_TYPE srcType, size_t srcLen,
                                            ZEL_DATE_FORMAT date_format, char date_sep,
                                            ZEL_TIME_FORMAT time_format, int16_t tz_disp,
                                            B_TAG_STACK stackTag) {
    return cnv_valueConvertFromBuffer(pDstVal, dstType, dstMaxLen, pSrcVal, srcType, srcLen,
                                      {date_format, date_sep, time_format, tz_disp}, stackTag);
}
