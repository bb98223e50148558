// The buffered reader on arbitrary bytes, with a master tag seeded with a
// small buffer. Huge buffers come from the platform even then, so the
// platform here refuses anything over 256 MiB: a string length near 4 GiB must
// give eNOMEMORY, smaller ones past the input eEOF. The first byte
// picks the byte order and the reader's largest count; then the input is
// read as a program: an op byte, then the bytes of the value it asks for.
// Each value read is written again through the buffered writer in the same
// order, and the writer's bytes must equal the bytes the reader took (a
// string read into a small area is checked against its bytes instead). A
// failure must be eEOF at the end of the input or eNOMEMORY for a string
// that does not fit the seed; destinations stay untouched on a failure and
// every allocation comes back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "buffstream.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

struct Source {
    const uint8_t *data;
    size_t size;
    size_t pos;
    uint32_t most;
    static ZEL_RETCODE read(void *ctx, void *dest, uint32_t want, uint32_t *got, uint32_t flags) {
        auto *s = static_cast<Source *>(ctx);
        check(flags == 0 && want > 0);
        size_t n = s->size - s->pos;
        if (n > want) n = want;
        if (n > s->most) n = s->most;
        std::memcpy(dest, s->data + s->pos, n);
        s->pos += n;
        *got = uint32_t(n);
        return sOKAY;  // 0 bytes at the end: the stream must see eEOF
    }
};

struct Sink {
    std::vector<uint8_t> bytes;
    static ZEL_RETCODE write(void *ctx, const void *b, uint32_t n) {
        auto *s = static_cast<Sink *>(ctx);
        s->bytes.insert(s->bytes.end(), static_cast<const uint8_t *>(b),
                        static_cast<const uint8_t *>(b) + n);
        return sOKAY;
    }
};

struct Run {
    B_INPUT_BUFFEREDSTREAM_T in;
    B_OUTPUT_BUFFEREDSTREAM_T out;
    const Source *src;
    const uint8_t *bytes;  // what the reader reads
    B_TAG_SUB sub;
    // Bytes the reader has taken from its source.
    size_t consumed() const { return src->pos - (in.len - in.pos); }
    uint32_t length(size_t at) const {
        uint32_t v;
        std::memcpy(&v, bytes + at, 4);
        return in.byteswap != 0 ? __builtin_bswap32(v) : v;
    }
};

template <class T, class Get, class Put>
ZEL_RETCODE number(Run *r, Get get, Put put) {
    T v;
    std::memset(&v, 0xA5, sizeof v);
    const ZEL_RETCODE rc = get(&r->in, &v);
    if (rc == sOKAY) {
        check(put(&r->out, v) == sOKAY);
    } else {
        T guard;
        std::memset(&guard, 0xA5, sizeof guard);
        check(std::memcmp(&v, &guard, sizeof v) == 0);
    }
    return rc;
}

// One Get, and the Put that writes its value again.
ZEL_RETCODE step(Run *r, uint8_t op) {
    const size_t before = r->consumed();
    ZEL_RETCODE rc = sOKAY;
    switch (op % 9) {
        case 0:
            return number<char>(r, b_inputBuffGetChar, b_outputBuffPutChar);
        case 1:
            return number<int16_t>(r, b_inputBuffGetInt16, b_outputBuffPutInt16);
        case 2:
            return number<int32_t>(r, b_inputBuffGetInt32, b_outputBuffPutInt32);
        case 3:
            return number<int64_t>(r, b_inputBuffGetInt64, b_outputBuffPutInt64);
        case 4:
            return number<float>(r, b_inputBuffGetFloat32, b_outputBuffPutFloat32);
        case 5:
            return number<double>(r, b_inputBuffGetFloat64, b_outputBuffPutFloat64);
        case 6: {
            uint8_t bytes[97];
            const uint32_t n = op % 97;
            if ((rc = b_inputBuffGetBytes(&r->in, bytes, n)) == sOKAY)
                check(b_outputBuffPutBytes(&r->out, bytes, n) == sOKAY);
            return rc;
        }
        case 7: {
            char *s = reinterpret_cast<char *>(&rc);
            rc = b_inputBuffGetString(&r->in, r->sub, &s);
            if (rc != sOKAY) {
                check(s == reinterpret_cast<char *>(&rc));
                return rc;
            }
            if (s == nullptr) {
                check(r->length(before) == B_BUFFSTREAM_NULL_STRING);
                check(b_outputBuffPutStringWithLength(&r->out, nullptr) == sOKAY);
                return rc;
            }
            // The text may hold zeros: its length is what the reader took.
            const uint32_t len = uint32_t(r->consumed() - before - 4);
            check(r->length(before) == len && s[len] == '\0');
            check(b_outputBuffPutInt32(&r->out, int32_t(len)) == sOKAY);
            check(b_outputBuffPutBytes(&r->out, s, len) == sOKAY);
            b_tag_subFree(r->sub, s);
            return rc;
        }
        default: {
            // Into a small area: checked against the bytes themselves, then the
            // bytes taken are written again as they stand.
            char small[8];
            std::memset(small, 0x5A, sizeof small);
            const uint32_t room = op % 9;
            rc = b_inputBuffGetStringWithLength(&r->in, small, room);
            if (rc == eEOF) return rc;
            const size_t after = r->consumed();
            const uint32_t len = r->length(before);
            if (len == B_BUFFSTREAM_NULL_STRING) {
                check(rc == sOKAY && after == before + 4);
                check(room == 0 ? small[0] == 0x5A : small[0] == 0);
            } else {
                const uint32_t take = room == 0 ? 0 : (len < room - 1 ? len : room - 1);
                check(after == before + 4 + len);
                check(rc == (take < len ? eTX_TRUNCATED : sOKAY));
                check(std::memcmp(small, r->bytes + before + 4, take) == 0);
                check(room == 0 ? small[0] == 0x5A : small[take] == 0);
            }
            check(b_outputBuffPutBytes(&r->out, r->bytes + before, uint32_t(after - before)) ==
                  sOKAY);
            return sOKAY;
        }
    }
}

}  // namespace

// The platform's refusal of a huge buffer, as on a machine without the memory.
extern "C" const char *__asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=256";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    static std::vector<uint8_t> seed(64 * B_PAGE_SIZE);
    B_TAG_MASTER master = nullptr;
    check(b_tag_masterCreate(seed.data(), seed.size(), &master) == sOKAY);
    B_TAG_SUB sub = nullptr;
    check(b_tag_subCreate(master, &sub) == sOKAY);
    int64_t start = -1, cur = -1;
    b_tag_subMemUsage(sub, &start, nullptr, nullptr);

    const int16_t swap = data[0] & 1;
    Source src{data + 1, size - 1, 0, 1u + (data[0] >> 1)};
    Sink sink;
    Run r;
    r.src = &src;
    r.bytes = data + 1;
    r.sub = sub;
    check(b_inputBuffInit(&r.in, Source::read, &src, swap, sub) == sOKAY);
    check(b_outputBuffInit(&r.out, Sink::write, &sink, swap, sub) == sOKAY);

    // Each step's op is a byte of the stream itself, taken by GetChar and
    // written again like any other value.
    size_t matched = 0;
    for (;;) {
        char op;
        ZEL_RETCODE rc = b_inputBuffGetChar(&r.in, &op);
        if (rc != sOKAY) {
            check(rc == eEOF);
            break;
        }
        check(b_outputBuffPutChar(&r.out, op) == sOKAY);
        matched = r.consumed();
        rc = step(&r, uint8_t(op));
        check(rc == sOKAY || rc == eEOF || rc == eNOMEMORY);
        if (rc != sOKAY) break;
        matched = r.consumed();
    }
    check(b_outputBuffFlush(&r.out) == sOKAY);
    check(sink.bytes.size() == matched);
    check(matched == 0 || std::memcmp(sink.bytes.data(), data + 1, matched) == 0);
    b_inputBuffTerm(&r.in);
    b_outputBuffTerm(&r.out);
    b_tag_subMemUsage(sub, &cur, nullptr, nullptr);
    check(cur == start);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    return 0;
}
