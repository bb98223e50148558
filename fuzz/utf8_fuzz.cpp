// UTF-8 decoder: the callback form, the counting form and the copying form
// must agree on every input, in both error behaviours, and a text accepted
// when breaking must re-encode to its own bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "utf8.h"

namespace {

struct Collect {
    std::vector<uint32_t> cps;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t cp) {
        static_cast<Collect *>(ctx)->cps.push_back(cp);
        return sOKAY;
    }
};

// An independent strict decoder, a character at a time: the characters, or
// SIZE_MAX for text that breaking must refuse.
size_t referenceCount(const uint8_t *p, size_t n) {
    size_t chars = 0;
    for (size_t i = 0; i < n; ++chars) {
        uint8_t b = p[i];
        size_t len = b < 0x80 ? 1 : b < 0xC0 ? 0 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : b < 0xF8 ? 4 : 0;
        if (len == 0 || i + len > n) return SIZE_MAX;
        uint32_t cp = len == 1 ? b : b & (0x7Fu >> len);
        for (size_t k = 1; k < len; ++k) {
            if ((p[i + k] & 0xC0) != 0x80) return SIZE_MAX;
            cp = cp << 6 | (p[i + k] & 0x3F);
        }
        const uint32_t minimum[5] = {0, 0, 0x80, 0x800, 0x10000};
        if (cp < minimum[len] || (cp >= 0xD800 && cp <= 0xDFFF) || cp == 0xFFFE || cp == 0xFFFF ||
            cp > 0x10FFFF)
            return SIZE_MAX;
        i += len;
    }
    return chars;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *src = reinterpret_cast<const char *>(data);
    {
        Collect c;
        ZEL_RETCODE rc = b_processBuff(src, size, &Collect::put, &c, PSP_UTF8_ERROR_BREAK);
        size_t want = referenceCount(data, size);
        check(want == SIZE_MAX ? rc == eINVUNICODE : rc == sOKAY && c.cps.size() == want);
    }
    for (auto eb : {PSP_UTF8_ERROR_BREAK, PSP_UTF8_ERROR_CONTINUE}) {
        Collect c;
        ZEL_RETCODE rc = b_processBuff(src, size, &Collect::put, &c, eb);
        size_t chars = b_countUTF8chars(src, size, eb);
        size_t bytes = b_countUTF8bytes(src, size, SIZE_MAX, eb);
        std::vector<char> out(size * 4 + 1);
        size_t copied = 0;
        size_t n = b_copyUTF8Chars(out.data(), out.size(), src, size, &copied, eb);
        if (rc != sOKAY) {
            check(eb == PSP_UTF8_ERROR_BREAK && rc == eINVUNICODE);
            check(chars == 0 && bytes == SIZE_MAX && n == SIZE_MAX);
            continue;
        }
        check(chars == c.cps.size() && copied == chars && bytes == n);
        size_t half = b_countUTF8bytes(src, size, chars / 2, eb);
        check(half <= bytes);
        // Copying into exactly that room takes the first half of the characters.
        size_t halfCopied = 0;
        check(b_copyUTF8Chars(out.data(), half, src, size, &halfCopied, eb) == half);
        check(halfCopied == chars / 2);
        if (eb == PSP_UTF8_ERROR_BREAK) check(n == size);
    }
    if (b_countUTF8chars(src, size, PSP_UTF8_ERROR_BREAK) != 0 || size == 0) {
        std::vector<char> out(size + 1);
        check(b_copyUTF8Chars(out.data(), out.size(), src, size, nullptr, PSP_UTF8_ERROR_BREAK) ==
              size);
        check(std::memcmp(out.data(), src, size) == 0);
    }
    return 0;
}
