// The text-aware file on arbitrary bytes. The input's first byte gives the
// length of a control program that follows it; the rest is written to a
// scratch file and opened for reading. The program runs Getc, Ungetc, Gets,
// GetLine and Read against a model: a file without a UTF-16 mark reads as
// its own bytes (UTF-8 mode is an identity), one with a mark as the units
// made UTF-8 with the kept quirks (a lone low half is ".", the unit after a
// high half is taken little-endian and unchecked). Read takes raw bytes at
// the file position, past the pushback. Every answer must match the model,
// nothing may fail, and every line buffer comes back to the tag.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_tags.h"
#include "file.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "utf8.h"

namespace {

// The file as a reader must see it.
struct Model {
    const uint8_t *bytes = nullptr;
    size_t size = 0;
    size_t raw = 0;  // the file position
    bool utf16 = false;
    bool swap = false;
    std::vector<int32_t> stack;  // pushback: Ungetc and the rest of a character

    bool unit(bool swapped, uint16_t *u) {
        if (size - raw < 2) {
            raw = size;
            return false;
        }
        const uint16_t lo = bytes[raw], hi = bytes[raw + 1];
        raw += 2;
        *u = swapped ? uint16_t(lo << 8 | hi) : uint16_t(hi << 8 | lo);
        return true;
    }
    int32_t getc() {
        if (!stack.empty()) {
            const int32_t c = stack.back();
            stack.pop_back();
            return c;
        }
        if (!utf16) return raw < size ? bytes[raw++] : -1;
        uint16_t u;
        if (!unit(swap, &u)) return -1;
        if (u >= 0xDC00 && u <= 0xDFFF) return '.';
        uint32_t cp = u;
        if (u >= 0xD800 && u <= 0xDBFF) {
            uint16_t low;
            if (!unit(false, &low)) return -1;
            cp = 0x10000 + ((uint32_t(u) & 0x3FF) << 10) + (low & 0x3FF);
        }
        uint8_t enc[4];
        const uint32_t n = b_utf8_codes(cp, enc);
        for (uint32_t k = n; k-- > 1;) stack.push_back(enc[k]);
        return enc[0];
    }
    int32_t ungetc(int32_t c) {
        if (stack.size() >= B_FILE_PUSHBACK) return -1;
        stack.push_back(c);
        return c;
    }
    // A line of at most `max` bytes; false at the end before the first.
    bool line(size_t max, std::string *out) {
        out->clear();
        while (out->size() < max) {
            const int32_t c = getc();
            if (c < 0) return !out->empty() || max == 0;
            out->push_back(char(c));
            if (c == '\n') break;
        }
        return true;
    }
};

std::string scratch_path() {
    const char *dir = std::getenv("TMPDIR");
    return std::string(dir != nullptr ? dir : "/tmp") + "/zelbase-file-fuzz-" +
           std::to_string(getpid());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const size_t plen = data[0] < size - 1 ? data[0] : size - 1;
    const uint8_t *prog = data + 1;
    const uint8_t *bytes = data + 1 + plen;
    const size_t nbytes = size - 1 - plen;

    static const std::string path = scratch_path();
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    check(fd >= 0);
    check(write(fd, bytes, nbytes) == ssize_t(nbytes));
    close(fd);

    static B_TAG_MASTER master = [] {
        B_TAG_MASTER m = nullptr;
        check(b_tag_masterCreate(nullptr, 0, &m) == sOKAY);
        return m;
    }();
    B_TAG_SUB sub = nullptr;
    check(b_tag_subCreate(master, &sub) == sOKAY);
    int64_t start = -1, cur = -1;
    b_tag_subMemUsage(sub, &start, nullptr, nullptr);

    B_FILE_T f;
    check(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_READ) == sOKAY);
    Model m;
    m.bytes = bytes;
    m.size = nbytes;
    if (nbytes >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) m.utf16 = true;
    if (nbytes >= 2 && bytes[0] == 0xFE && bytes[1] == 0xFF) m.utf16 = m.swap = true;
    check((f.fmode == B_FILE_MODE_UTF16) == m.utf16 && (f.swap != 0) == m.swap);

    char *buf = nullptr;
    size_t len = 0;
    std::string want;
    char small[64];
    std::vector<uint8_t> raw;
    for (size_t pc = 0; pc < plen; pc += 2) {
        const uint8_t op = prog[pc] % 5;
        const uint8_t arg = pc + 1 < plen ? prog[pc + 1] : 0;
        switch (op) {
            case 0:
                check(b_fileGetc(&f) == m.getc());
                break;
            case 1:
                check(b_fileUngetc(arg, &f) == m.ungetc(arg));
                break;
            case 2: {
                const int32_t n = arg % 40;
                const char *got = b_fileGets(small, n, &f);
                if (n < 1) {
                    check(got == nullptr);
                    break;
                }
                const bool more = m.line(size_t(n - 1), &want);
                check((got != nullptr) == more);
                if (more)
                    check(std::memcmp(small, want.data(), want.size()) == 0 &&
                          small[want.size()] == 0);
                break;
            }
            case 3: {
                const char *got = b_fileGetLine(&f, &buf, &len, sub);
                const bool more = m.line(SIZE_MAX, &want);
                check((got != nullptr) == more);
                if (more) {
                    check(got == buf && len > want.size());
                    check(std::memcmp(buf, want.data(), want.size()) == 0 && buf[want.size()] == 0);
                }
                break;
            }
            default: {
                const size_t n = size_t(arg) * 3;
                raw.assign(n + 1, 0);
                size_t got = SIZE_MAX;
                check(b_fileRead(&f, raw.data(), n, &got) == sOKAY);
                const size_t k = n < m.size - m.raw ? n : m.size - m.raw;
                check(got == k && std::memcmp(raw.data(), m.bytes + m.raw, k) == 0);
                m.raw += k;
                break;
            }
        }
    }
    check(b_fgetState(&f) == sOKAY);
    b_fileClose(&f);
    b_tag_subFreeCanBeNull(sub, buf);
    b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
    check(cur == start);
    b_tag_subDestroy(sub);
    return 0;
}
