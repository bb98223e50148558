// psp_utf8_internal.h - one code point to UTF-8, the one encoder of the
// library: the platform layer writes the console's text with it and the UTF-8
// module builds on it. C++ only.
#ifndef PSP_UTF8_INTERNAL_H
#define PSP_UTF8_INTERNAL_H

#include <cstddef>
#include <cstdint>

namespace zel::detail {

// The bytes of `cp` into `out` (null: only counted); their count, 0 for a
// value above 0x10FFFF, which has no encoding.
constexpr size_t psp_utf8Encode(uint32_t cp, uint8_t *out) {
    const size_t n = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : cp < 0x110000 ? 4 : 0;
    if (out == nullptr || n == 0) return n;
    if (n == 1) {
        out[0] = static_cast<uint8_t>(cp);
        return 1;
    }
    constexpr uint8_t lead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (size_t k = n - 1; k > 0; --k) {
        out[k] = static_cast<uint8_t>(0x80 | (cp & 0x3F));
        cp >>= 6;
    }
    out[0] = static_cast<uint8_t>(lead[n] | cp);
    return n;
}

}  // namespace zel::detail

#endif
