// The three ways to a quotient agree digit for digit. Bytes become a dividend
// and a divisor of 1 to 32 digits with their exponents, and a rounding mode;
// the quotient on the fixed grid, by Newton's iteration on general limbs, and
// by the iteration on digits must store the same record with the same code
// wherever each applies, and zel_bcdDiv must store that record too.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bcd.h"
#include "bcd_kernel_internal.h"

namespace {

// A decimal from the bytes at `p`: a digit count, an exponent and the digits
// (each byte mod 10), normalised as the parser would leave it.
ZEL_BCD_T decimal(const uint8_t *&p, const uint8_t *end) {
    ZEL_BCD_T b{};
    b.sign = 1;
    if (end - p < 2) return b;
    const int n = 1 + p[0] % 32;
    const int exp = static_cast<int8_t>(p[1]) % 40;
    p += 2;
    int k = 0;
    for (; k < n && p < end; ++k, ++p) b.data[k + 1] = static_cast<uint8_t>(*p % 10);
    if (k == 0) return b;
    b.prec = static_cast<uint8_t>(k);
    b.exp = static_cast<int8_t>(exp);
    b.sign = (b.data[1] & 1) ? -1 : 1;
    // Through text, so that the record is in the form every caller holds.
    char text[80];
    uint32_t used = 0;
    ZEL_BCD_T out{};
    if (zel_bcdToString(&b, ZEL_TRUE, text, sizeof text, &used) != sOKAY) return b;
    if (zel_bcdFromString(text, &out) < 0) return b;
    return out;
}

void same(const ZEL_BCD_T &a, ZEL_RETCODE ra, const ZEL_BCD_T &b, ZEL_RETCODE rb) {
    if (ra != rb || zel_bcdCompare(&a, &b) != ZEL_EQ || a.prec != b.prec || a.exp != b.exp ||
        std::memcmp(a.data, b.data, static_cast<size_t>(a.prec) + 1) != 0)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(data[0] % 5);
    const uint8_t *p = data + 1, *end = data + size;
    const ZEL_BCD_T l = decimal(p, end), r = decimal(p, end);
    ZEL_BCD_T ref;
    const ZEL_RETCODE rref = zel_bcdDiv(&l, &r, mode, &ref);
    using zel::detail::BcdDivPath;
    for (BcdDivPath path : {BcdDivPath::kGrid, BcdDivPath::kLimbs, BcdDivPath::kDigits}) {
        ZEL_BCD_T q;
        ZEL_RETCODE rq = sOKAY;
        if (zel::detail::zel_bcd_div_by(path, &l, &r, mode, &q, &rq)) same(ref, rref, q, rq);
    }
    return 0;
}
