// Fuzz target of the decimal text parser: any text parses to a code without
// a fault, and a number that parsed prints to text that parses back to the
// same value, in plain and in exponent form, and packs and unpacks to it.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "bcd.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    char text[256];
    if (size >= sizeof text) return 0;
    std::memcpy(text, data, size);
    text[size] = '\0';
    ZEL_BCD_T b;
    ZEL_RETCODE rc = zel_bcdFromString(text, &b);
    if (rc != sOKAY && rc != sPRECISIONLOSS) return 0;
    if (zel_bcdValidate(&b) != sOKAY) std::abort();
    for (ZEL_BOOL_T use_exp : {ZEL_FALSE, ZEL_TRUE}) {
        char out[128];
        uint32_t need = 0, used = 0;
        if (zel_bcdToString(&b, use_exp, nullptr, 0, &need) != sOKAY) std::abort();
        if (need > sizeof out) std::abort();
        if (zel_bcdToString(&b, use_exp, out, sizeof out, &used) != sOKAY) std::abort();
        if (used != need || std::strlen(out) + 1 != used) std::abort();
        ZEL_BCD_T again;
        ZEL_RETCODE rc2 = zel_bcdFromString(out, &again);
        if (rc2 < 0 || zel_bcdCompare(&b, &again) != ZEL_EQ) std::abort();
    }
    // The stored form at the number's own shape keeps the value.
    int scale = b.prec - b.exp > 0 ? b.prec - b.exp : 0;
    int prec = (b.exp > 0 ? b.exp : 0) + scale;
    if (prec == 0) prec = 1;
    if (prec <= 32) {
        ZEL_PACKED_BCD_T p[17];
        ZEL_BCD_T back;
        if (zel_bcdPack(&b, p, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale)) != sOKAY)
            std::abort();
        if (zel_bcdUnpack(p, &back, static_cast<uint8_t>(prec), static_cast<uint8_t>(scale)) !=
                sOKAY ||
            zel_bcdCompare(&b, &back) != ZEL_EQ)
            std::abort();
    }
    return 0;
}
