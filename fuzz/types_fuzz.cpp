// Fuzz target of every unpack operation of the type descriptors. The first
// byte picks a column (type, array size, length, precision); the rest is the
// stored bytes. An unpack gives a code or a value, reads nothing past the
// input and leaves no memory behind; a value that unpacked packs again to
// bytes that unpack to an equal value and pack to the same bytes. The row
// buffer form is written within the column's length.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "types.h"
#include "value.h"

namespace {

struct Source {
    const uint8_t *data;
    size_t size;
    size_t pos;
    static ZEL_RETCODE get(B_INPUT_CTX ctx, uint32_t *byte) {
        auto *s = static_cast<Source *>(ctx);
        if (s->pos >= s->size) return eEOD;
        *byte = s->data[s->pos++];
        return sOKAY;
    }
};

struct Sink {
    std::vector<uint8_t> bytes;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t byte) {
        static_cast<Sink *>(ctx)->bytes.push_back(static_cast<uint8_t>(byte));
        return sOKAY;
    }
    static ZEL_RETCODE putBulk(B_OUTPUT_CTX ctx, const void *p, size_t n) {
        auto *s = static_cast<Sink *>(ctx);
        s->bytes.insert(s->bytes.end(), static_cast<const uint8_t *>(p),
                        static_cast<const uint8_t *>(p) + n);
        return sOKAY;
    }
};

struct Column {
    ZEL_TYPE type;
    uint16_t elems;
    uint16_t length;  // text characters, binary bytes, decimal precision
    uint8_t scale;
};

constexpr Column columns[] = {
    {ZEL_BOOL, 0, 0, 0},        {ZEL_INT8, 0, 0, 0},       {ZEL_UINT8, 0, 0, 0},
    {ZEL_INT16, 0, 0, 0},       {ZEL_UINT16, 0, 0, 0},     {ZEL_INT32, 0, 0, 0},
    {ZEL_UINT32, 0, 0, 0},      {ZEL_INT64, 0, 0, 0},      {ZEL_UINT64, 0, 0, 0},
    {ZEL_FLOAT, 0, 0, 0},       {ZEL_DOUBLE, 0, 0, 0},     {ZEL_BCD, 0, 9, 3},
    {ZEL_BCD, 0, 32, 0},        {ZEL_BCD, 0, 1, 1},        {ZEL_DATE, 0, 0, 0},
    {ZEL_TIME, 0, 0, 0},        {ZEL_TIMETZ, 0, 0, 0},     {ZEL_TIMESTAMP, 0, 0, 0},
    {ZEL_TIMESTAMPTZ, 0, 0, 0}, {ZEL_ROWID, 0, 0, 0},      {ZEL_UUID, 0, 0, 0},
    {ZEL_BINARY, 0, 5, 0},      {ZEL_VARBINARY, 0, 40, 0}, {ZEL_CHAR, 0, 8, 0},
    {ZEL_VARCHAR, 0, 300, 0},   {ZEL_WCHAR_UTF8, 0, 2, 0}, {ZEL_WVARCHAR_UTF8, 0, 20, 0},
    {ZEL_BOOL, 3, 0, 0},        {ZEL_INT8, 4, 0, 0},       {ZEL_UINT8, 4, 0, 0},
    {ZEL_INT16, 2, 0, 0},       {ZEL_UINT16, 2, 0, 0},     {ZEL_INT32, 5, 0, 0},
    {ZEL_UINT32, 5, 0, 0},      {ZEL_INT64, 3, 0, 0},      {ZEL_UINT64, 3, 0, 0},
    {ZEL_FLOAT, 2, 0, 0},       {ZEL_DOUBLE, 2, 0, 0},     {ZEL_DATE, 2, 0, 0},
};
constexpr size_t numColumns = sizeof columns / sizeof columns[0];

SCH_TYPE_INFO_T typeInfo(const Column &c) {
    SCH_TYPE_INFO_T pi{};
    if (b_typeStandaloneColumn(c.type, c.elems, c.length, &pi) != sOKAY) std::abort();
    if (c.type == ZEL_BCD) {
        pi.x.d.prec = static_cast<uint8_t>(c.length);
        pi.x.d.scale = c.scale;
    }
    return pi;
}

// The zone time stamp has no free operation: its record is freed here.
void release(const SCH_TYPE_INFO_T &pi, ZEL_VALUE *v, B_TAG_SUB sub) {
    if (pi.type_info->free_fcn != nullptr)
        pi.type_info->free_fcn(v, sub);
    else if (pi.type == ZEL_TIMESTAMPTZ)
        b_tag_subFree(sub, const_cast<void *>(v->vt.pv));
    else
        zel_valueFree(v, sub);  // date and time arrays: the rows free nothing
}

std::vector<uint8_t> packOrDie(const SCH_TYPE_INFO_T &pi, const ZEL_VALUE &v) {
    Sink sink;
    B_ENCODER_T e{Sink::put, Sink::putBulk, &sink, nullptr};
    if (pi.type_info->pack_fcn(&pi, &v, &e) != sOKAY) std::abort();
    return sink.bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const SCH_TYPE_INFO_T pi = typeInfo(columns[data[0] % numColumns]);
    B_TAG_SUB sub = fuzzTag();
    const int64_t start = fuzzUsed(sub);
    Source src{data + 1, size - 1, 0};
    B_DECODER_T d{Source::get, nullptr, &src, sub};

    ZEL_VALUE v{};
    const ZEL_RETCODE rc = pi.type_info->unpack_fcn(&pi, &v, sub, &d);
    if (src.pos > src.size) std::abort();
    if (rc == sOKAY) {
        const std::vector<uint8_t> once = packOrDie(pi, v);
        Source again{once.data(), once.size(), 0};
        B_DECODER_T d2{Source::get, nullptr, &again, sub};
        ZEL_VALUE w{};
        if (pi.type_info->unpack_fcn(&pi, &w, sub, &d2) != sOKAY) std::abort();
        if (again.pos != once.size()) std::abort();
        if (pi.type_info->cmp(&pi, 0, &v, &w) != ZEL_EQ) std::abort();
        if (packOrDie(pi, w) != once) std::abort();
        release(pi, &w, sub);
        release(pi, &v, sub);
    } else if (rc > 0 || v.type != ZEL_NOVAL) {
        std::abort();  // a failure leaves the value alone
    }
    if (fuzzUsed(sub) != start) std::abort();

    // The row buffer form stays within the column's bytes.
    std::vector<uint8_t> row(pi.byte_len + 16u, 0xA5);
    Source src2{data + 1, size - 1, 0};
    B_DECODER_T d3{Source::get, nullptr, &src2, sub};
    uint8_t has = 0;
    const ZEL_RETCODE rc2 = pi.type_info->unpack_to_buff_fcn(&pi, row.data(), &has, &d3);
    if (rc2 == sOKAY && has != 1) std::abort();
    for (size_t i = pi.byte_len; i < row.size(); ++i)
        if (row[i] != 0xA5) std::abort();
    if (fuzzUsed(sub) != start) std::abort();
    return 0;
}
