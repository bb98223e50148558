// UUID text: whatever parses prints as 36 small-letter characters, and that
// text parses again to the same 16 bytes, with and without braces.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_tags.h"
#include "uuid.h"

namespace {}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string text(reinterpret_cast<const char *>(data), size);  // terminated copy
    ZEL_UUID_T u;
    std::memset(&u, 0x5A, sizeof u);
    if (zel_uuidFromString(text.c_str(), &u) != sOKAY) {
        for (size_t i = 0; i < sizeof u; ++i)
            check(reinterpret_cast<const uint8_t *>(&u)[i] == 0x5A);  // untouched
        return 0;
    }
    for (ZEL_BOOL_T braces : {ZEL_FALSE, ZEL_TRUE}) {
        char buf[ZEL_UUID_TEXT_LEN_BRACES + 1];
        check(zel_uuidToString(&u, buf, sizeof buf, braces) == sOKAY);
        check(std::strlen(buf) + 1 == zel_uuidStrLen(&u, braces));
        for (const char *p = buf; *p; ++p) check(!(*p >= 'A' && *p <= 'Z'));
        ZEL_UUID_T again;
        check(zel_uuidFromString(buf, &again) == sOKAY);
        check(std::memcmp(&u, &again, sizeof u) == 0);
    }
    return 0;
}
