// Sums and differences stored by zel_bcdAdd and zel_bcdSub are those of the
// frame of digits, byte for byte and code for code. Bytes become a mode, the
// operation and two raw records (any header, digits, spill slot and bytes
// past prec), so the register path for short operands meets whatever a
// caller may hand it, corrupt records included.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bcd.h"
#include "bcd_kernel_internal.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    const auto mode = static_cast<ZEL_BCD_ROUNDING_MODE>(data[0] % 6);
    const bool sub = data[0] & 0x80;
    // A short input leaves the rest of the records zero: small numbers first.
    ZEL_BCD_T ops[2] = {};
    std::memcpy(ops, data + 1, std::min(size - 1, sizeof ops));
    ZEL_BCD_T got, want;
    std::memset(&got, 0xA5, sizeof got);
    std::memcpy(&want, &got, sizeof got);
    const ZEL_RETCODE rc = (sub ? zel_bcdSub : zel_bcdAdd)(&ops[0], &ops[1], mode, &got);
    const ZEL_RETCODE want_rc =
        zel::detail::zel_bcd_add_by_frame(&ops[0], &ops[1], sub, mode, &want);
    if (rc != want_rc || std::memcmp(&got, &want, sizeof got) != 0) std::abort();
    return 0;
}
