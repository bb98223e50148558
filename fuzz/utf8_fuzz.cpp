// UTF-8 decoder: the callback form, the counting form and the copying form
// must agree on every input, in both error behaviours, and a text accepted
// when breaking must re-encode to its own bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "utf8.h"

namespace {

struct Collect {
    std::vector<uint32_t> cps;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t cp) {
        static_cast<Collect *>(ctx)->cps.push_back(cp);
        return sOKAY;
    }
};

void check(bool ok) {
    if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *src = reinterpret_cast<const char *>(data);
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
