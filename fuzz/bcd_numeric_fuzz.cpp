// Fuzz target of the numeric record: any 19 bytes with any precision, scale
// and rounding mode convert to a decimal or give eRANGE, and a decimal that
// came out goes back to the same integer and sign at its scale, byte for
// byte, and reads back equal. The record as a double never faults.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bcd_func.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < sizeof(ZEL_NUMERIC_T) + 3) return 0;
    ZEL_NUMERIC_T rec;
    std::memcpy(&rec, data, sizeof rec);
    uint8_t prec = data[19], scale = data[20];
    auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(data[21] % 6);
    (void)b_getDoubleFromNumeric(&rec);
    ZEL_BCD_T b;
    ZEL_RETCODE rc = zel_bcdFromNumericStruct(&rec, prec, scale, mode, &b);
    if (rc != sOKAY) {
        if (rc != eRANGE) std::abort();
        return 0;
    }
    if (zel_bcdValidate(&b) != sOKAY || b.prec > 32) std::abort();
    if (b.prec == 0) {
        // The canonical zero, and only for an integer of 0.
        ZEL_BCD_T zero{};
        zero.sign = 1;
        if (std::memcmp(&b, &zero, sizeof b) != 0) std::abort();
        for (uint8_t v : rec.val)
            if (v != 0) std::abort();
        return 0;
    }
    ZEL_NUMERIC_T back;
    std::memset(&back, 0, sizeof back);
    if (zel_bcdToNumericStruct(&b, 32, scale, mode, &back) != sOKAY) std::abort();
    if (back.scale != static_cast<int8_t>(scale) || back.precision != b.prec ||
        back.sign != (rec.sign == 1 ? 1 : 0) || std::memcmp(back.val, rec.val, sizeof rec.val) != 0)
        std::abort();
    ZEL_BCD_T again;
    if (zel_bcdFromNumericStruct(&back, back.precision, scale, mode, &again) != sOKAY ||
        zel_bcdCompare(&again, &b) != ZEL_EQ)
        std::abort();
    return 0;
}
