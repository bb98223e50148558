// types_test.cpp - the type descriptors: stored bytes of every type against
// hand-worked vectors, pack/unpack identity, order of packed forms, damaged
// input, text in and out, compare, hash, the copy operations and the lookups.
#include "types.h"
#include "value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "bcd.h"
#include "buffer.h"
#include "psp.h"
#include "coder_bytes.h"
#include "oom.h"
#include "tag_fixture.h"
#include "tag_sub.h"

namespace {

// A column of `type` outside any catalogue.
SCH_TYPE_INFO_T col(ZEL_TYPE type, uint16_t elems = 0, uint16_t length = 0) {
    SCH_TYPE_INFO_T pi{};
    EXPECT_EQ(b_typeStandaloneColumn(type, elems, length, &pi), sOKAY) << type;
    return pi;
}

SCH_TYPE_INFO_T decimalCol(uint8_t prec, uint8_t scale) {
    SCH_TYPE_INFO_T pi = col(ZEL_BCD);
    pi.x.d.prec = prec;
    pi.x.d.scale = scale;
    return pi;
}

ZEL_VALUE val(ZEL_TYPE type) {
    ZEL_VALUE v{};
    v.status = vsOKAY;
    v.type = type;
    return v;
}
ZEL_VALUE ptrVal(ZEL_TYPE type, const void *p, size_t len = 0, uint32_t elts = 0) {
    ZEL_VALUE v = val(type);
    v.vt.pv = p;
    v.len = len;
    v.elts = elts;
    return v;
}

Bytes pack(const SCH_TYPE_INFO_T &pi, const ZEL_VALUE &v) {
    TestSink sink;
    B_ENCODER_T e = sink.encoder(true);
    EXPECT_EQ(pi.type_info->pack_fcn(&pi, &v, &e), sOKAY);
    return sink.bytes;
}

// Unpacks `bytes` and checks that exactly all of them were read.
ZEL_RETCODE unpack(const SCH_TYPE_INFO_T &pi, const Bytes &bytes, ZEL_VALUE *out, B_TAG_SUB sub,
                   size_t *read = nullptr) {
    TestSource src(bytes);
    B_DECODER_T d = src.decoder();
    const ZEL_RETCODE rc = pi.type_info->unpack_fcn(&pi, out, sub, &d);
    if (read != nullptr) *read = src.pos;
    return rc;
}

// Gives back what an unpack or copy allocated; the zone time stamp has no
// free operation and its record is freed here.
void release(const SCH_TYPE_INFO_T &pi, ZEL_VALUE *v, B_TAG_SUB sub) {
    if (pi.type_info->free_fcn != nullptr) {
        pi.type_info->free_fcn(v, sub);
    } else if (pi.type == ZEL_TIMESTAMPTZ) {
        b_tag_subFree(sub, const_cast<void *>(v->vt.pv));
    } else {
        zel_valueFree(v, sub);  // date and time arrays: the rows free nothing
    }
}

std::string text(const SCH_TYPE_INFO_T &pi, const ZEL_VALUE &v, uint32_t flags = 0,
                 uint32_t elem = 0, ZEL_RETCODE want = sOKAY) {
    TestSink sink;
    EXPECT_EQ(pi.type_info->tostring(&pi, &v, elem, flags, TestSink::put, &sink), want);
    return std::string(sink.bytes.begin(), sink.bytes.end());
}

struct Vector {
    std::string name;
    SCH_TYPE_INFO_T pi;
    ZEL_VALUE v;
    Bytes bytes;
};

// Hand-worked stored bytes. var: 0-0x7F one byte; 0x80-0x407F as 10xxxxxx +
// 1 byte of (v - 0x80); 0x4080-0x20407F as 110xxxxx + 2 bytes of (v - 0x4080);
// 0x204080-0x820407F as 0xE0|x + 3 bytes of (v - 0x204080); up to 0x80820407F
// as 0xE8|x + 4 bytes of (v - 0x8204080); 0xFA + 8 bytes of (v -
// 0x101080808204080) at the top. svar maps v >= 0 to 2v, v < 0 to ~(2v).
std::vector<Vector> vectors() {
    // The record's 16 bytes as they stand in memory, whatever the field order.
    static const uint8_t uuidBytes[16] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                          0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    static ZEL_UUID_T uuid;
    std::memcpy(&uuid, uuidBytes, 16);
    static ZEL_PACKED_TIMESTAMPTZ_T tstz = {1, 1, 60};
    static ZEL_BCD_T pos{}, neg{}, zero{}, max32{};
    EXPECT_EQ(zel_bcdFromString(std::string(32, '9').c_str(), &max32), sOKAY);
    EXPECT_EQ(zel_bcdFromString("123.45", &pos), sOKAY);
    EXPECT_EQ(zel_bcdFromString("-123.45", &neg), sOKAY);
    EXPECT_EQ(zel_bcdFromString("0", &zero), sOKAY);
    static const int32_t i32s[] = {1, 2};
    static const int32_t bools[] = {1, 0, 1};
    static const float floats[] = {1.0f};
    static const uint8_t bin[] = {0x01, 0x02, 0x03};
    static const uint8_t vbin[] = {0xAA, 0xBB};

    std::vector<Vector> out;
    auto add = [&](std::string name, SCH_TYPE_INFO_T pi, ZEL_VALUE v, Bytes b) {
        out.push_back({std::move(name), pi, v, std::move(b)});
    };
    auto num = [&](std::string name, ZEL_TYPE t, auto x, Bytes b) {
        ZEL_VALUE v = val(t);
        std::memcpy(&v.vt, &x, sizeof x);
        add(std::move(name), col(t), v, std::move(b));
    };
    num("int8 -1", ZEL_INT8, int8_t{-1}, {0x01});  // svar -1 = 1
    num("int8 1", ZEL_INT8, int8_t{1}, {0x02});    // 2 * 1
    num("int8 0", ZEL_INT8, int8_t{0}, {0x00});
    num("int8 min", ZEL_INT8, int8_t{-128}, {0x80, 0x7F});    // 255: 0x80 | 0, 255 - 0x80
    num("int8 max", ZEL_INT8, int8_t{127}, {0x80, 0x7E});     // 254 - 0x80 = 0x7E
    num("uint8 200", ZEL_UINT8, uint8_t{200}, {0x80, 0x48});  // 200 - 0x80 = 0x48
    num("uint8 max", ZEL_UINT8, uint8_t{255}, {0x80, 0x7F});
    // -32768 -> 65535, 3-byte form: 65535 - 0x4080 = 0xBF7F
    num("int16 min", ZEL_INT16, int16_t{-32768}, {0xC0, 0xBF, 0x7F});
    num("int16 max", ZEL_INT16, int16_t{32767}, {0xC0, 0xBF, 0x7E});
    num("uint16 max", ZEL_UINT16, uint16_t{65535}, {0xC0, 0xBF, 0x7F});
    // 2^31-1 -> 0xFFFFFFFE, 5-byte form: 0xFFFFFFFE - 0x8204080 = 0xF7DFBF7E
    num("int32 max", ZEL_INT32, int32_t{2147483647}, {0xE8, 0xF7, 0xDF, 0xBF, 0x7E});
    num("int32 min", ZEL_INT32, std::numeric_limits<int32_t>::min(),
        {0xE8, 0xF7, 0xDF, 0xBF, 0x7F});
    num("uint32 16512", ZEL_UINT32, uint32_t{16512}, {0xC0, 0x00, 0x00});  // first 3-byte value
    num("uint32 max", ZEL_UINT32, uint32_t{0xFFFFFFFF}, {0xE8, 0xF7, 0xDF, 0xBF, 0x7F});
    // -2^63 -> 2^64-1: 0xFA, then 2^64-1 - 0x101080808204080 = 0xFEFEF7F7F7DFBF7F
    num("int64 min", ZEL_INT64, std::numeric_limits<int64_t>::min(),
        {0xFA, 0xFE, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x7F});
    num("int64 max", ZEL_INT64, std::numeric_limits<int64_t>::max(),
        {0xFA, 0xFE, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x7E});
    num("uint64 max", ZEL_UINT64, std::numeric_limits<uint64_t>::max(),
        {0xFA, 0xFE, 0xFE, 0xF7, 0xF7, 0xF7, 0xDF, 0xBF, 0x7F});
    num("rowid 5", ZEL_ROWID, uint64_t{5}, {0x05});
    num("bool true", ZEL_BOOL, int32_t{1}, {0x02});  // svar of the 32-bit 1
    num("bool false", ZEL_BOOL, int32_t{0}, {0x00});
    num("float 1", ZEL_FLOAT, 1.0f, {0x3F, 0x80, 0x00, 0x00});      // IEEE, high byte first
    num("float -2.5", ZEL_FLOAT, -2.5f, {0xC0, 0x20, 0x00, 0x00});  // sign, exp 128, 1.01b
    num("double 1", ZEL_DOUBLE, 1.0, {0x3F, 0xF0, 0, 0, 0, 0, 0, 0});
    num("double -0", ZEL_DOUBLE, -0.0, {0x80, 0, 0, 0, 0, 0, 0, 0});
    num("double NaN", ZEL_DOUBLE, std::numeric_limits<double>::quiet_NaN(),
        {0x7F, 0xF8, 0, 0, 0, 0, 0, 0});  // exponent all ones, top fraction bit
    num("date 1", ZEL_DATE, uint32_t{1}, {0x01});
    // 3652059 - 0x204080 = 1538395 = 0x17795B, 4-byte form
    num("date max", ZEL_DATE, uint32_t{3652059}, {0xE0, 0x17, 0x79, 0x5B});
    // 863999999 - 0x8204080 = 0x2B5F577F, 5-byte form
    num("time max", ZEL_TIME, uint32_t{863999999}, {0xE8, 0x2B, 0x5F, 0x57, 0x7F});
    // time 0; tz -60 -> svar 119 = 0x77
    num("timetz", ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{0, -60}, {0x00, 0x77});
    // tz 840 -> 1680 - 0x80 = 0x610: 0x80 | 0x06, 0x10
    num("timetz +14h", ZEL_TIMETZ, ZEL_PACKED_TIMETZ_T{10, 840}, {0x0A, 0x86, 0x10});
    // 719163 - 0x4080 = 0x0AB8BB: 0xC0 | 0x0A, 0xB8, 0xBB; time 0
    num("timestamp 1970", ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{719163, 0},
        {0xCA, 0xB8, 0xBB, 0x00});
    // the last day, then the last time unit of a day, as above
    num("timestamp max", ZEL_TIMESTAMP, ZEL_PACKED_TIMESTAMP_T{3652059, 863999999},
        {0xE0, 0x17, 0x79, 0x5B, 0xE8, 0x2B, 0x5F, 0x57, 0x7F});
    // date 1, time 1, tz 60 -> 120 = 0x78
    add("timestamptz", col(ZEL_TIMESTAMPTZ), ptrVal(ZEL_TIMESTAMPTZ, &tstz), {0x01, 0x01, 0x78});
    add("uuid", col(ZEL_UUID), ptrVal(ZEL_UUID, &uuid, 16),
        Bytes(uuidBytes, uuidBytes + 16));  // the 16 bytes as they stand
    // prec 5: 3 bytes, sign nibble 4 then the digits 1 2 3 4 5
    add("decimal 123.45", decimalCol(5, 2), ptrVal(ZEL_BCD, &pos, 37), {0x41, 0x23, 0x45});
    // negative: sign nibble 0 and nines' complements 8 7 6 5 4
    add("decimal -123.45", decimalCol(5, 2), ptrVal(ZEL_BCD, &neg, 37), {0x08, 0x76, 0x54});
    add("decimal 0", decimalCol(5, 2), ptrVal(ZEL_BCD, &zero, 37), {0x40, 0x00, 0x00});
    // prec 32: 17 bytes, the sign nibble, 32 nines, the last nibble unused
    Bytes nines(17, 0x99);
    nines.front() = 0x49;
    nines.back() = 0x90;
    add("decimal max", decimalCol(32, 0), ptrVal(ZEL_BCD, &max32, 37), nines);
    // byte length 6 ("h", C3 A9, "llo"), then the bytes, no terminator
    add("char héllo", col(ZEL_CHAR, 0, 10), ptrVal(ZEL_CHAR, "h\xC3\xA9llo", 7),
        {0x06, 'h', 0xC3, 0xA9, 'l', 'l', 'o'});
    add("varchar empty", col(ZEL_VARCHAR, 0, 10), ptrVal(ZEL_VARCHAR, "", 1), {0x00});
    add("wvarchar", col(ZEL_WVARCHAR_UTF8, 0, 4), ptrVal(ZEL_WVARCHAR_UTF8, "ab", 3),
        {0x02, 'a', 'b'});
    add("binary", col(ZEL_BINARY, 0, 3), ptrVal(ZEL_BINARY, bin, 3), {0x01, 0x02, 0x03});
    add("varbinary", col(ZEL_VARBINARY, 0, 8), ptrVal(ZEL_VARBINARY, vbin, 2), {0x02, 0xAA, 0xBB});
    add("varbinary empty", col(ZEL_VARBINARY, 0, 8), ptrVal(ZEL_VARBINARY, nullptr, 0), {0x00});
    // group layout: 1 group, 2 values, 0 nulls, then svar 1 = 2, svar 2 = 4
    add("int32[2]", col(ZEL_INT32, 2), ptrVal(ZEL_INT32, i32s, 0, 2),
        {0x01, 0x02, 0x00, 0x02, 0x04});
    add("bool[3]", col(ZEL_BOOL, 3), ptrVal(ZEL_BOOL, bools, 0, 3),
        {0x01, 0x03, 0x00, 0x02, 0x00, 0x02});
    add("float[1]", col(ZEL_FLOAT, 1), ptrVal(ZEL_FLOAT, floats, 0, 1),
        {0x01, 0x01, 0x00, 0x3F, 0x80, 0x00, 0x00});
    return out;
}

class TypesTest : public TaggedTest {};

TEST_F(TypesTest, StoredBytesOfEveryType) {
    for (const Vector &t : vectors()) {
        SCOPED_TRACE(t.name);
        EXPECT_EQ(coder_hex(pack(t.pi, t.v)), coder_hex(t.bytes));
        ZEL_VALUE back{};
        size_t read = 0;
        ASSERT_EQ(unpack(t.pi, t.bytes, &back, sub, &read), sOKAY);
        EXPECT_EQ(read, t.bytes.size());
        EXPECT_EQ(back.status, vsOKAY);
        EXPECT_EQ(back.type, t.pi.type);
        EXPECT_EQ(back.elts, t.pi.elems);
        EXPECT_EQ(t.pi.type_info->cmp(&t.pi, 0, &back, &t.v), ZEL_EQ);
        EXPECT_EQ(coder_hex(pack(t.pi, back)), coder_hex(t.bytes));
        release(t.pi, &back, sub);
    }
}

TEST_F(TypesTest, TruncatedBytesGiveEodAndLeaveTheValue) {
    for (const Vector &t : vectors()) {
        for (size_t cut = 0; cut < t.bytes.size(); ++cut) {
            SCOPED_TRACE(t.name + " cut at " + std::to_string(cut));
            ZEL_VALUE back = val(ZEL_NOVAL);
            back.len = 99;
            size_t read = 0;
            EXPECT_EQ(
                unpack(t.pi, Bytes(t.bytes.begin(), t.bytes.begin() + cut), &back, sub, &read),
                eEOD);
            EXPECT_LE(read, cut);
            EXPECT_EQ(back.type, ZEL_NOVAL);
            EXPECT_EQ(back.len, 99u);
        }
    }
}

TEST_F(TypesTest, UnpackToRowBufferWritesTheNativeForm) {
    for (const Vector &t : vectors()) {
        SCOPED_TRACE(t.name);
        std::vector<uint8_t> row(t.pi.byte_len + 8, 0xEE);
        uint8_t has = 0;
        TestSource src(t.bytes);
        B_DECODER_T d = src.decoder();
        d.subTag = sub;
        ASSERT_EQ(t.pi.type_info->unpack_to_buff_fcn(&t.pi, row.data(), &has, &d), sOKAY);
        EXPECT_EQ(has, 1);
        EXPECT_EQ(src.pos, t.bytes.size());
        EXPECT_EQ(row[t.pi.byte_len], 0xEE) << "wrote past the column";
        // The native bytes, read back as a value, compare equal.
        ZEL_VALUE back{};
        ASSERT_GE(t.pi.type_info->assign_from_buff_fcn(&t.pi, &back, row.data(), t.pi.byte_len),
                  sOKAY);
        EXPECT_EQ(t.pi.type_info->cmp(&t.pi, 0, &back, &t.v), ZEL_EQ);
    }
}

TEST_F(TypesTest, DamagedBytesGiveTheirCode) {
    ZEL_VALUE v = val(ZEL_NOVAL);
    const SCH_TYPE_INFO_T i8 = col(ZEL_INT8), u32 = col(ZEL_UINT32), arr = col(ZEL_INT32, 2);
    EXPECT_EQ(unpack(u32, {0xFB}, &v, sub), eINVVARINT);         // no form begins 0xFB
    EXPECT_EQ(unpack(i8, {0x82, 0x58}, &v, sub), eDBCORRUPTED);  // 0x80 + 0x258 = 728: svar 364
    EXPECT_EQ(unpack(u32, {0xF0, 0, 0, 0, 0, 0}, &v, sub), eDBCORRUPTED);        // above 32 bits
    EXPECT_EQ(unpack(arr, {0x01, 0x03, 0x00, 2, 4, 6}, &v, sub), eDBCORRUPTED);  // 3 into 2
    EXPECT_EQ(unpack(decimalCol(5, 2), {0x4A, 0x00, 0x00}, &v, sub), eINVBCD);   // nibble 10
    EXPECT_EQ(unpack(decimalCol(40, 0), Bytes(21, 0x40), &v, sub), eINVBCD);     // prec past 32
    EXPECT_EQ(unpack(decimalCol(100, 0), Bytes(51, 0x40), &v, sub), eINVBCD);    // via the tag
    EXPECT_EQ(unpack(col(ZEL_CHAR, 0, 2), {0x09, 'a'}, &v, sub), eDBCORRUPTED);  // 9 bytes in 9
    EXPECT_EQ(unpack(col(ZEL_VARBINARY, 0, 8), {0xC0, 0xFF, 0xFF}, &v, sub), eDBCORRUPTED);
    EXPECT_EQ(v.type, ZEL_NOVAL);
    // A row buffer too small for the stored length is refused before a byte of it.
    std::vector<uint8_t> row(10, 0xEE);
    const SCH_TYPE_INFO_T vb = col(ZEL_VARBINARY, 0, 4);
    TestSource src({0x08, 1, 2, 3, 4, 5, 6, 7, 8});
    B_DECODER_T d = src.decoder();
    EXPECT_EQ(vb.type_info->unpack_to_buff_fcn(&vb, row.data(), nullptr, &d), eDBCORRUPTED);
    EXPECT_EQ(row[0], 0xEE);
}

// Unsigned variable integers and stored decimals of one precision sort as
// their values do; signed ones do not (svar interleaves the signs).
TEST_F(TypesTest, RandomValuesRoundTripAndUnsignedFormsSort) {
    std::mt19937_64 rng(11);
    const ZEL_TYPE types[] = {ZEL_UINT8, ZEL_UINT16,    ZEL_UINT32, ZEL_UINT64, ZEL_DATE,
                              ZEL_TIME,  ZEL_TIMESTAMP, ZEL_ROWID,  ZEL_INT8,   ZEL_INT16,
                              ZEL_INT32, ZEL_INT64,     ZEL_DOUBLE};
    for (ZEL_TYPE t : types) {
        const SCH_TYPE_INFO_T pi = col(t);
        const bool sorts =
            t != ZEL_INT8 && t != ZEL_INT16 && t != ZEL_INT32 && t != ZEL_INT64 && t != ZEL_DOUBLE;
        for (int i = 0; i < 500; ++i) {
            ZEL_VALUE a = val(t), b = val(t);
            a.vt.u64v = rng() >> (rng() % 64);
            b.vt.u64v = (i % 5 == 0) ? a.vt.u64v : rng() >> (rng() % 64);
            if (t == ZEL_TIMESTAMP) {  // keep the time word within a day
                a.vt.tsv.time %= 864000000u;
                b.vt.tsv.time %= 864000000u;
            }
            if (t == ZEL_DOUBLE && std::isnan(a.vt.dv)) continue;
            const Bytes pa = pack(pi, a), pb = pack(pi, b);
            ZEL_VALUE back{};
            ASSERT_EQ(unpack(pi, pa, &back, sub), sOKAY);
            ASSERT_EQ(pi.type_info->cmp(&pi, 0, &back, &a), ZEL_EQ) << t;
            if (!sorts) continue;
            const int byBytes = pa < pb ? -1 : (pb < pa ? 1 : 0);
            ASSERT_EQ(byBytes, pi.type_info->cmp(&pi, 0, &a, &b)) << t;
        }
    }
    const SCH_TYPE_INFO_T dec = decimalCol(9, 3);
    for (int i = 0; i < 300; ++i) {
        ZEL_BCD_T x{}, y{};
        const std::string sx = std::to_string(static_cast<int64_t>(rng() % 2000001) - 1000000);
        const std::string sy = std::to_string(static_cast<int64_t>(rng() % 2000001) - 1000000);
        ASSERT_EQ(zel_bcdFromString((sx + "e-3").c_str(), &x), sOKAY);
        ASSERT_EQ(zel_bcdFromString((sy + "e-3").c_str(), &y), sOKAY);
        const ZEL_VALUE a = ptrVal(ZEL_BCD, &x, 37), b = ptrVal(ZEL_BCD, &y, 37);
        const Bytes pa = pack(dec, a), pb = pack(dec, b);
        ASSERT_EQ(pa < pb ? -1 : (pb < pa ? 1 : 0), dec.type_info->cmp(&dec, 0, &a, &b));
    }
}

TEST_F(TypesTest, PackWithoutBulkOutput) {
    // Binary goes out in one bulk call; an encoder without one refuses.
    static const uint8_t bin[] = {1, 2, 3};
    const SCH_TYPE_INFO_T pi = col(ZEL_BINARY, 0, 3);
    const ZEL_VALUE v = ptrVal(ZEL_BINARY, bin, 3);
    TestSink sink;
    B_ENCODER_T e = sink.encoder(false);
    EXPECT_EQ(pi.type_info->pack_fcn(&pi, &v, &e), eNOTIMPLEMENTED);
    // A failing sink's code comes back as it stands.
    const SCH_TYPE_INFO_T i64 = col(ZEL_INT64);
    ZEL_VALUE big = val(ZEL_INT64);
    big.vt.i64v = -1000000;
    TestSink refuse;
    refuse.failAt = 2;
    e = refuse.encoder();
    EXPECT_EQ(i64.type_info->pack_fcn(&i64, &big, &e), eBADWRITE);
}

// Text in through `in` flags, out through `out` flags: the text, or the code
// of a refusal (the value then left as it was).
std::string viaText(const SCH_TYPE_INFO_T &pi, const char *text_in, B_TAG_SUB sub, uint32_t in = 0,
                    uint32_t out = 0) {
    ZEL_VALUE v = val(ZEL_NOVAL);
    const ZEL_RETCODE rc = pi.type_info->fromstring(&pi, &v, 0, in, sub, text_in);
    if (rc != sOKAY) {
        EXPECT_EQ(v.type, ZEL_NOVAL) << text_in;
        return "rc=" + std::to_string(rc);
    }
    const std::string t = text(pi, v, out);
    release(pi, &v, sub);
    return t;
}

TEST_F(TypesTest, TextInAndOut) {
    const auto rc = [](ZEL_RETCODE c) { return "rc=" + std::to_string(c); };
    const SCH_TYPE_INFO_T i8 = col(ZEL_INT8), b = col(ZEL_BOOL), f = col(ZEL_FLOAT),
                          c = col(ZEL_VARCHAR, 0, 20), bin = col(ZEL_BINARY, 0, 3);
    const uint32_t none = B_TYPE_FLAG_NO_OUTPUT, b64 = B_TYPE_FLAG_BASE64;
    const char *id = "{00112233-4455-6677-8899-aabbccddeeff}";
    // clang-format off
    const struct {
        SCH_TYPE_INFO_T pi;
        const char *in;
        uint32_t inFlags, outFlags;
        std::string want;
    } cases[] = {
        {i8, "128", 0, 0, rc(eRANGE)}, {b, "1", 0, 0, rc(eRANGE)},
        // Zero is below the smallest normal float: refused on this path, as kept.
        {f, "0", 0, 0, rc(eRANGE)}, {i8, "-128", 0, 0, "-128"}, {i8, "-128", 0, none, ""},
        {b, "TRUE", 0, 0, "true"},
        {b, "TRUE", 0, none, "true"},  // bool ignores the flag
        {f, "0.5", 0, 0, "0.5"},
        {col(ZEL_UINT64), "18446744073709551615", 0, 0, "18446744073709551615"},
        {decimalCol(10, 2), "1.5", 0, 0, "1.5e+000"},  // always the exponent form here
        {col(ZEL_DATE), "1970-01-01", 0, 0, "1970-01-01"}, {col(ZEL_UUID), id, 0, 0, id},
        {col(ZEL_UUID), "nope", 0, 0, rc(ePSP_INVUUID)}, {c, "h\xC3\xA9!", 0, 0, "h\xC3\xA9!"},
        {c, "aGk", b64, 0, rc(eRANGE)},
        // Hexadecimal input keeps its length and syntax check only: the bytes
        // come out 0, as kept; binary ignores the flag.
        {bin, "a1B2", 0, 0, "000000"}, {bin, "a1B2", 0, none, "000000"},
        {bin, "a1B", 0, 0, rc(eRANGE)}, {bin, "zz", 0, 0, rc(eRANGE)},
        {bin, "00112233", 0, 0, rc(eRANGE)},  // 4 > 3
        {col(ZEL_VARBINARY, 0, 10), "AQIDBA==", b64, 0, "01020304"},
    };
    // clang-format on
    for (const auto &k : cases)
        EXPECT_EQ(viaText(k.pi, k.in, sub, k.inFlags, k.outFlags), k.want) << k.in;
    // Base64 out and back in.
    const std::string coded = viaText(c, "h\xC3\xA9!", sub, 0, b64);
    EXPECT_EQ(viaText(c, coded.c_str(), sub, b64), "h\xC3\xA9!");

    ZEL_VALUE v{};
    const SCH_TYPE_INFO_T arr = col(ZEL_INT32, 3);
    EXPECT_EQ(arr.type_info->fromstring(&arr, &v, 3, 0, sub, "7"), eRANGE);
    ASSERT_EQ(arr.type_info->fromstring(&arr, &v, 1, 0, sub, "7"), sOKAY);
    EXPECT_EQ(v.elts, 3u);
    EXPECT_EQ(text(arr, v, 0, 0), "0");
    EXPECT_EQ(text(arr, v, 0, 1), "7");
    text(arr, v, 0, 3, eRANGE);
    arr.type_info->free_fcn(&v, sub);
    const SCH_TYPE_INFO_T d = col(ZEL_DATE), ts = col(ZEL_TIMESTAMP);
    ASSERT_EQ(d.type_info->fromstring(&d, &v, 0, 0, sub, "1970-01-01"), sOKAY);
    EXPECT_EQ(v.vt.dtv, 719163u);
    ASSERT_EQ(ts.type_info->fromstring(&ts, &v, 0, 0, sub, "1970-01-02 00:00:01"), sOKAY);
    EXPECT_EQ(v.vt.tsv.date, 719164u);
    EXPECT_EQ(v.vt.tsv.time, 10000u);
}

TEST_F(TypesTest, CompareRules) {
    static const uint32_t d1[] = {1, 2}, d2[] = {3, 4};
    static const int32_t i1[] = {1, 5}, i2[] = {1, 6};
    static const uint8_t s1[] = {1, 2}, s2[] = {1, 2, 0}, b1[] = {1, 2, 3}, b2[] = {1, 2, 4};
    ZEL_VALUE nan = val(ZEL_DOUBLE), inf = val(ZEL_DOUBLE), z1 = val(ZEL_TIMETZ),
              z2 = val(ZEL_TIMETZ);
    nan.vt.dv = std::numeric_limits<double>::quiet_NaN();
    inf.vt.dv = std::numeric_limits<double>::infinity();
    z1.vt.tmzv = {100, 60};
    z2.vt.tmzv = {100, -60};
    SCH_TYPE_INFO_T tza = col(ZEL_TIMETZ);
    tza.elems = 2;
    const SCH_TYPE_INFO_T c = col(ZEL_CHAR, 0, 5), d = col(ZEL_DOUBLE), bn = col(ZEL_BINARY, 0, 3);
    const ZEL_VALUE abc = ptrVal(ZEL_CHAR, "abc"), abd = ptrVal(ZEL_CHAR, "abd"),
                    w1 = ptrVal(ZEL_BINARY, b1, 3), w2 = ptrVal(ZEL_BINARY, b2, 3),
                    a1 = ptrVal(ZEL_DATE, d1, 0, 2), a2 = ptrVal(ZEL_DATE, d2, 0, 2),
                    x1 = ptrVal(ZEL_INT32, i1, 0, 2), x2 = ptrVal(ZEL_INT32, i2, 0, 2),
                    v1 = ptrVal(ZEL_VARBINARY, s1, 2), v2 = ptrVal(ZEL_VARBINARY, s2, 3);
    // clang-format off
    const struct {
        SCH_TYPE_INFO_T pi;
        int n;
        const ZEL_VALUE *a, *b;
        ZEL_COMPARE want;
    } cases[] = {
        {c, 2, &abc, &abd, ZEL_EQ},  // bounded
        {c, 0, &abc, &abd, ZEL_LT}, {c, 0, nullptr, &abd, ZEL_LT}, {c, 0, &abd, nullptr, ZEL_GT},
        {c, 0, nullptr, nullptr, ZEL_EQ}, {d, 0, &nan, &inf, ZEL_GT}, {d, 0, &inf, &nan, ZEL_LT},
        {d, 0, &nan, &nan, ZEL_EQ},
        // Arrays of dates compare equal and of zoned times greater, unlooked at.
        {col(ZEL_DATE, 2), 0, &a1, &a2, ZEL_EQ}, {tza, 0, &z1, &z1, ZEL_GT},
        {col(ZEL_INT32, 2), 0, &x1, &x2, ZEL_LT},
        {col(ZEL_TIMETZ), 0, &z1, &z2, ZEL_EQ},           // the time word only
        {col(ZEL_VARBINARY, 0, 4), 0, &v1, &v2, ZEL_LT},  // shorter first
        {bn, 0, &w1, &w2, ZEL_LT}, {bn, 2, &w1, &w2, ZEL_EQ},
    };
    // clang-format on
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto &k = cases[i];
        EXPECT_EQ(k.pi.type_info->cmp(&k.pi, k.n, k.a, k.b), k.want) << "case " << i;
    }
    // Under a collation a bounded compare answers equal, as kept.
    psp_collate_t coll{};
    if (psp_collateInit(&coll, "C.UTF-8") == sOKAY && coll.locale != nullptr) {
        SCH_TYPE_INFO_T cc = c;
        cc.x.c.use_locale = ZEL_TRUE;
        cc.x.c.locale = coll.locale;
        EXPECT_EQ(cc.type_info->cmp(&cc, 2, &abc, &abd), ZEL_EQ);
        EXPECT_EQ(cc.type_info->cmp(&cc, 1, &abd, &abc), ZEL_EQ);
        EXPECT_EQ(cc.type_info->cmp(&cc, 0, &abd, &abc), ZEL_GT);
        psp_collateTerm(&coll);
    }
}

uint64_t hashOf(const SCH_TYPE_INFO_T &pi, const ZEL_VALUE &v) {
    B_HASHCTX h;
    b_hashFcnStart(&h);
    EXPECT_EQ(pi.type_info->hashfcn(&pi, &v, &h), sOKAY);
    return b_hashFcnFinish(&h);
}
uint64_t hashBytes(const Bytes &b) {
    B_HASHCTX h;
    b_hashFcnStart(&h);
    b_hashFcnEmitBuffer(&h, b.data(), b.size());
    return b_hashFcnFinish(&h);
}

TEST_F(TypesTest, HashFeedsBytesHighFirst) {
    const SCH_TYPE_INFO_T i32 = col(ZEL_INT32), d = col(ZEL_DOUBLE), bl = col(ZEL_BOOL);
    ZEL_VALUE v = val(ZEL_INT32);
    v.vt.i32v = 0x01020304;
    EXPECT_EQ(hashOf(i32, v), hashBytes({1, 2, 3, 4}));
    v = val(ZEL_BOOL);
    v.vt.i32v = 1;
    EXPECT_EQ(hashOf(bl, v), hashBytes({0, 0, 0, 1}));
    v = val(ZEL_DOUBLE);
    v.vt.dv = std::numeric_limits<double>::quiet_NaN();  // 7FF8 0000 0000 0000
    EXPECT_EQ(hashOf(d, v), hashBytes({0x7F, 0xF8, 0, 0, 0, 0, 0, 0}));
    // Equal decimals hash equal through their stored form.
    const SCH_TYPE_INFO_T dec = decimalCol(6, 2);
    ZEL_BCD_T a{}, b{};
    ASSERT_EQ(zel_bcdFromString("1.5", &a), sOKAY);
    ASSERT_EQ(zel_bcdFromString("1.50", &b), sOKAY);
    EXPECT_EQ(hashOf(dec, ptrVal(ZEL_BCD, &a, 37)), hashOf(dec, ptrVal(ZEL_BCD, &b, 37)));
    EXPECT_EQ(hashOf(dec, ptrVal(ZEL_BCD, &a, 37)), hashBytes(pack(dec, ptrVal(ZEL_BCD, &a, 37))));
    const SCH_TYPE_INFO_T tz = col(ZEL_TIMETZ), c = col(ZEL_CHAR, 0, 4);
    v = val(ZEL_TIMETZ);
    v.vt.tmzv = {0x0A0B0C0D, -2};
    EXPECT_EQ(hashOf(tz, v), hashBytes({0x0A, 0x0B, 0x0C, 0x0D, 0xFF, 0xFE}));
    EXPECT_EQ(hashOf(c, ptrVal(ZEL_CHAR, "ab")), hashBytes({'a', 'b'}));
}

TEST_F(TypesTest, CopyIntoValue) {
    ZEL_VALUE dst{};
    const SCH_TYPE_INFO_T c = col(ZEL_CHAR, 0, 3);  // 3 characters, byte_len 13
    ZEL_VALUE s = ptrVal(ZEL_CHAR, "h\xC3\xA9y");
    ASSERT_EQ(c.type_info->copy_fcn(&c, &dst, &s, 100, sub), sOKAY);
    EXPECT_STREQ(dst.vt.cv, "h\xC3\xA9y");
    EXPECT_EQ(dst.len, 5u);
    c.type_info->free_fcn(&dst, sub);
    ASSERT_EQ(c.type_info->copy_fcn(&c, &dst, &s, 2, sub), sTRUNCATE);
    EXPECT_STREQ(dst.vt.cv, "h\xC3");
    c.type_info->free_fcn(&dst, sub);
    ASSERT_EQ(c.type_info->copy_fcn(&c, &dst, &s, 0, sub), sOKAY);
    EXPECT_EQ(dst.status, vsNOVAL);
    EXPECT_EQ(dst.vt.cv, nullptr);
    ZEL_VALUE four = ptrVal(ZEL_CHAR, "abcd"), bad = ptrVal(ZEL_CHAR, "a\x80"),
              cut = ptrVal(ZEL_CHAR, "a\xC3"),
              lng = ptrVal(ZEL_CHAR, "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9");
    EXPECT_EQ(c.type_info->copy_fcn(&c, &dst, &four, 100, sub), eSTRTOOLONG);
    EXPECT_EQ(c.type_info->copy_fcn(&c, &dst, &bad, 100, sub), eINVUTF);
    EXPECT_EQ(c.type_info->copy_fcn(&c, &dst, &cut, 100, sub), eINVUTF);
    EXPECT_EQ(c.type_info->copy_fcn(&c, &dst, &lng, 100, sub), eBADDATALEN);  // 15 > 13 bytes

    const SCH_TYPE_INFO_T arr = col(ZEL_INT64, 3);
    static const int64_t xs[] = {1, 2, 3};
    ZEL_VALUE a = ptrVal(ZEL_INT64, xs, 0, 3);
    ASSERT_EQ(arr.type_info->copy_fcn(&arr, &dst, &a, 17, sub), sTRUNCATE);  // 2 whole elements
    EXPECT_EQ(dst.elts, 2u);
    EXPECT_EQ(dst.vt.i64a[1], 2);
    arr.type_info->free_fcn(&dst, sub);
    EXPECT_EQ(arr.type_info->copy_fcn(&arr, &dst, &a, 7, sub), eBADDATALEN);
    ASSERT_EQ(arr.type_info->copy_fcn(&arr, &dst, &a, 24, sub), sOKAY);
    EXPECT_EQ(dst.elts, 3u);
    arr.type_info->free_fcn(&dst, sub);

    const SCH_TYPE_INFO_T vb = col(ZEL_VARBINARY, 0, 0);  // byte_len 2
    static const uint8_t three[] = {1, 2, 3};
    ZEL_VALUE v3 = ptrVal(ZEL_VARBINARY, three, 3);
    EXPECT_EQ(vb.type_info->copy_fcn(&vb, &dst, &v3, 10, sub), eBADDATALEN);
    SCH_TYPE_INFO_T blob = col(ZEL_BLOB);
    ZEL_VALUE bv = ptrVal(ZEL_BLOB, three, 3);
    ASSERT_EQ(blob.type_info->copy_fcn(&blob, &dst, &bv, 2, sub), sTRUNCATE);
    EXPECT_EQ(dst.len, 2u);
    blob.type_info->free_fcn(&dst, sub);
    EXPECT_EQ(blob.type_info->pack_fcn, nullptr);
    EXPECT_EQ(blob.type_info->tostring, nullptr);
}

// Every allocating operation of every type, with allocation 1, 2, 3, ...
// failing: copy, copy from the native bytes, unpack, text in. A failure gives
// eNOMEMORY with the value left alone; a success gives what the run without
// faults gave. Beside the stored-byte vectors: an INT32[300] column, a
// 5,000-byte large object and a 3,000-character text.
TEST_F(TypesTest, EveryOperationUnderFailingAllocations) {
    std::vector<Vector> cases = vectors();
    static const std::vector<int32_t> xs(300, 7);
    static const std::string big(5000, 'b'), chars(3000, 'x');
    cases.push_back({"int32[300]", col(ZEL_INT32, 300), ptrVal(ZEL_INT32, xs.data(), 0, 300), {}});
    cases.push_back({"blob", col(ZEL_BLOB), ptrVal(ZEL_BLOB, big.data(), big.size()), {}});
    cases.push_back({"clob", col(ZEL_CLOB), ptrVal(ZEL_CLOB, big.c_str(), big.size() + 1), {}});
    cases.push_back({"varchar 3000",
                     col(ZEL_VARCHAR, 0, 3000),
                     ptrVal(ZEL_VARCHAR, chars.c_str(), chars.size() + 1),
                     {}});
    cases.back().bytes = pack(cases.back().pi, cases.back().v);
    int faults = 0;
    for (const Vector &t : cases) {
        const SCH_TYPE_INFO_T &pi = t.pi;
        const ZEL_TYPE_INFO &ops = *pi.type_info;
        // Large objects have no native or text forms; an empty binary no text.
        size_t size = 0;
        std::vector<uint8_t> native;
        if (ops.copy_to_buff_fcn == nullptr) {
            const auto *p = static_cast<const uint8_t *>(t.v.vt.pv);
            native.assign(p, p + t.v.len);
            size = t.v.len;
        } else {
            ASSERT_GE(ops.copy_to_buff_fcn(&pi, nullptr, &size, &t.v), 0) << t.name;
            native.resize(size + 1);
            ASSERT_GE(ops.copy_to_buff_fcn(&pi, native.data(), &size, &t.v), 0) << t.name;
        }
        // Variable binary text pairs with the record text in builds: hex here.
        TestSink out;
        const bool hasText = pi.type == ZEL_VARBINARY ||
                             (ops.tostring != nullptr &&
                              ops.tostring(&pi, &t.v, 0, 0, TestSink::put, &out) == sOKAY);
        const std::string txt = pi.type == ZEL_VARBINARY
                                    ? coder_hex(Bytes(native.begin(), native.begin() + size))
                                    : std::string(out.bytes.begin(), out.bytes.end());
        const std::pair<const char *, std::function<ZEL_RETCODE(ZEL_VALUE *)>> calls[] = {
            {"copy", [&](ZEL_VALUE *d) { return ops.copy_fcn(&pi, d, &t.v, 1 << 20, sub); }},
            {"copy from buffer",
             [&](ZEL_VALUE *d) {
                 return ops.copy_from_buff_fcn(&pi, d, native.data(), size, sub);
             }},
            {"unpack",
             [&](ZEL_VALUE *d) {
                 return t.bytes.empty() ? eNOTIMPLEMENTED : unpack(pi, t.bytes, d, sub);
             }},
            {"text in",
             [&](ZEL_VALUE *d) {
                 return hasText ? ops.fromstring(&pi, d, 0, 0, sub, txt.c_str()) : eNOTIMPLEMENTED;
             }},
        };
        for (const auto &[name, call] : calls) {
            SCOPED_TRACE(t.name + ": " + name);
            ZEL_VALUE want = val(ZEL_NOVAL);
            if (call(&want) < 0) continue;  // no such operation for this type
            faults += oom_check(master, {sub}, [&, call = call] {
                ZEL_VALUE d = val(ZEL_NOVAL);
                d.len = 99;
                const ZEL_RETCODE rc = call(&d);
                if (rc < 0) {
                    EXPECT_EQ(d.type, ZEL_NOVAL);
                    EXPECT_EQ(d.len, 99u);
                    return rc;
                }
                EXPECT_EQ(d.len, want.len);
                EXPECT_EQ(d.elts, want.elts);
                if (ops.cmp != nullptr) {
                    EXPECT_EQ(ops.cmp(&pi, 0, &d, &want), ZEL_EQ);
                } else if (d.len != 0) {
                    EXPECT_EQ(std::memcmp(d.vt.pv, want.vt.pv, d.len), 0);
                }
                release(pi, &d, sub);
                return rc;
            });
            release(pi, &want, sub);
        }
    }
    EXPECT_GT(faults, 70);
}

TEST_F(TypesTest, NativeBuffersInAndOut) {
    // Numbers: the element bytes; measure, cut, and back.
    const SCH_TYPE_INFO_T arr = col(ZEL_INT16, 3);
    static const int16_t xs[] = {7, 8, 9};
    const ZEL_VALUE a = ptrVal(ZEL_INT16, xs, 0, 3);
    size_t size = 0;
    ASSERT_EQ(arr.type_info->copy_to_buff_fcn(&arr, nullptr, &size, &a), sOKAY);
    EXPECT_EQ(size, 6u);
    int16_t out[3] = {};
    size = 4;
    EXPECT_EQ(arr.type_info->copy_to_buff_fcn(&arr, out, &size, &a), sTRUNCATE);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(out[1], 8);
    EXPECT_EQ(out[2], 0);
    ZEL_VALUE back{};
    ASSERT_EQ(arr.type_info->copy_from_buff_fcn(&arr, &back, xs, 0, sub), sOKAY);
    EXPECT_EQ(back.vt.i16a[2], 9);
    arr.type_info->free_fcn(&back, sub);
    ASSERT_EQ(arr.type_info->assign_from_buff_fcn(&arr, &back, xs, 0), sOKAY);
    EXPECT_EQ(back.vt.i16a, xs);
    const SCH_TYPE_INFO_T i32 = col(ZEL_INT32);
    const int32_t one = 1;
    EXPECT_EQ(i32.type_info->copy_from_buff_fcn(&i32, &back, &one, 2, sub), sTRUNCATE);

    // Text: the terminator counts; none within size is refused.
    const SCH_TYPE_INFO_T c = col(ZEL_VARCHAR, 0, 4);
    const ZEL_VALUE s = ptrVal(ZEL_VARCHAR, "abc");
    char buf[8];
    size = 0;
    ASSERT_EQ(c.type_info->copy_to_buff_fcn(&c, buf, &size, &s), sOKAY);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(c.type_info->copy_from_buff_fcn(&c, &back, "abc", 3, sub), eBADDATALEN);
    ASSERT_EQ(c.type_info->copy_from_buff_fcn(&c, &back, "abc", 4, sub), sOKAY);
    EXPECT_STREQ(back.vt.cv, "abc");
    c.type_info->free_fcn(&back, sub);

    // Variable binary: a 16-bit length, then the bytes.
    const SCH_TYPE_INFO_T vb = col(ZEL_VARBINARY, 0, 4);
    static const uint8_t bytes[] = {0xAA, 0xBB};
    const ZEL_VALUE v = ptrVal(ZEL_VARBINARY, bytes, 2);
    uint8_t row[6] = {};
    size = 1;
    EXPECT_EQ(vb.type_info->copy_to_buff_fcn(&vb, row, &size, &v), sTRUNCATE);
    size = sizeof row;
    ASSERT_EQ(vb.type_info->copy_to_buff_fcn(&vb, row, &size, &v), sOKAY);
    EXPECT_EQ(size, 4u);
    EXPECT_EQ(row[2], 0xAA);
    EXPECT_EQ(vb.type_info->copy_from_buff_fcn(&vb, &back, row, 1, sub), eBADDATALEN);
    EXPECT_EQ(vb.type_info->copy_from_buff_fcn(&vb, &back, row, 3, sub), eBADDATALEN);
    ASSERT_EQ(vb.type_info->assign_from_buff_fcn(&vb, &back, row, 4), sOKAY);
    EXPECT_EQ(back.len, 2u);
    EXPECT_EQ(vb.type_info->cmp(&vb, 0, &back, &v), ZEL_EQ);

    // Large objects: size bytes, none giving vsNOVAL.
    const SCH_TYPE_INFO_T cl = col(ZEL_CLOB);
    ASSERT_EQ(cl.type_info->copy_from_buff_fcn(&cl, &back, "xyz", 0, sub), sOKAY);
    EXPECT_EQ(back.status, vsNOVAL);
    ASSERT_EQ(cl.type_info->copy_from_buff_fcn(&cl, &back, "xyz", 3, sub), sOKAY);
    EXPECT_EQ(back.len, 3u);
    cl.type_info->free_fcn(&back, sub);
}

TEST(TypesLookup, RowsAndSizes) {
    EXPECT_EQ(b_typeGetInfo(ZEL_INT32), &int32_type_info);
    EXPECT_EQ(b_typeGetInfo(ZEL_ROWID), &rowid_type_info);
    EXPECT_EQ(b_typeGetInfoEx(ZEL_WCHAR, 1), &wchar_utf8_type_info);
    EXPECT_EQ(b_typeGetInfo(ZEL_WCHAR_UTF8), &wchar_utf8_type_info);
    EXPECT_EQ(b_typeGetInfo(ZEL_WVARCHAR_UTF8), &varwchar_utf8_type_info);
    EXPECT_EQ(b_typeGetInfo(ZEL_WCLOB_UTF8), &wclob_utf8_type_info);
    EXPECT_EQ(b_typeGetInfo(ZEL_SUBQUERY), nullptr);
    EXPECT_EQ(b_typeDisplaySize(ZEL_INT32, 3), 43u);  // (11 + 1) * 3 + 7
    EXPECT_EQ(b_typeDisplaySize(ZEL_BCD, 3), 34u);
    EXPECT_EQ(b_typeDisplaySize(ZEL_INT32, 0), 11u);
    EXPECT_EQ(b_typeDisplaySize(ZEL_SUBQUERY, 0), 0u);
    EXPECT_EQ(b_typePrecision(ZEL_BCD), 32);
    EXPECT_EQ(b_typePrecision(ZEL_DOUBLE), 15);
    EXPECT_EQ(b_typeGetLength(ZEL_TIMESTAMPTZ), 12u);
    EXPECT_STREQ(b_typeGetStr(ZEL_UUID), "ZEL_UUID");
    EXPECT_STREQ(b_typeGetStr(ZEL_SUBQUERY), "");
    // The deliberate rows.
    EXPECT_STREQ(timestamptz_type_info.enum_name, "ZEL_TIMESTAMP");
    EXPECT_STREQ(timestamptz_type_info.field_type_text, "ZEL_PACKED_TIMESTAMP_T");
    EXPECT_STREQ(uint8_type_info.sql_type_text, "BIT");
    EXPECT_EQ(date_type_info.hashfcn, b_type_hash_uint32);
    EXPECT_EQ(time_type_info.free_fcn, nullptr);
    EXPECT_EQ(wclob_utf8_type_info.copy_fcn, b_type_schema_copy_clob);
    EXPECT_EQ(varbinary_type_info.objc_field_array_type_text, nullptr);
    EXPECT_EQ(varbinary_type_info.ext_align, B_ALN_INT16);
}

}  // namespace
