// Name patterns and path splitting. The input is a pattern, a zero byte and a
// name. b_pathMatch must answer as the recursive rule does (compared when
// the recursion stays within a step budget) and end in time on any pattern;
// b_pathSplit of the name must give a directory ending in "/" that, followed
// by the file part, is the name again, and leave no memory behind.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_tags.h"
#include "path.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

unsigned char fold(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : c;
}

// The rule as it reads; -1 once the budget is spent.
int recursiveMatch(const unsigned char *n, const unsigned char *p, long &budget) {
    for (;; ++n, ++p) {
        if (--budget < 0) return -1;
        if (*p == '*') {
            if (p[1] == '\0') return 1;
            for (const unsigned char *i = n; *i != '\0'; ++i) {
                if (fold(*i) != fold(p[1])) continue;
                const int r = recursiveMatch(i + 1, p + 2, budget);
                if (r != 0) return r;
            }
            return 0;
        }
        if (*p == '\0') return *n == '\0';
        if (*n == '\0') return 0;
        const bool ok = *p == '?'   ? true
                        : *p == '#' ? (*n >= '0' && *n <= '9') || (*n >= 'A' && *n <= 'F')
                                    : fold(*p) == fold(*n);
        if (!ok) return 0;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string all(reinterpret_cast<const char *>(data), size);
    const size_t zero = all.find('\0');
    const std::string pattern = all.substr(0, zero);
    const std::string name = zero == std::string::npos ? "" : std::string(all.c_str() + zero + 1);

    const ZEL_BOOL_T got = b_pathMatch(name.c_str(), pattern.c_str());
    long budget = 20000;
    const int want =
        recursiveMatch(reinterpret_cast<const unsigned char *>(name.c_str()),
                       reinterpret_cast<const unsigned char *>(pattern.c_str()), budget);
    if (want >= 0) check((got == ZEL_TRUE) == (want == 1));

    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    char *dir = nullptr, *file = nullptr;
    check(b_pathSplit(name.c_str(), &dir, &file, sub) == sOKAY);
    const std::string d = dir ? dir : "", f = file ? file : "";
    check(d + f == name);
    check(dir == nullptr ? name.find('/') == std::string::npos : d.back() == '/');
    check(f.find('/') == std::string::npos);
    check((file == nullptr) == (!name.empty() && name.back() == '/'));
    b_tag_subFreeCanBeNull(sub, dir);
    b_tag_subFreeCanBeNull(sub, file);
    check(fuzzUsed(sub) == before);
    return 0;
}
