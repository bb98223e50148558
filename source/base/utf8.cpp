/*
 * utf8.cpp - the UTF-8 decoder and its users. One decoding loop, a template
 * over its sink, serves the public callback form and the counting and copying
 * functions, which pass inline sinks so that the hot path has no indirect
 * call. Runs of ASCII are handed to a sink in one piece when it can take them.
 * The state between bytes is the code point so far and the continuation bytes
 * still due; an error either stops the run or becomes one '?'.
 */
#include "utf8.h"

#include <cstring>
#include <concepts>

#include "psp_utf8_internal.h"

namespace {

// The smallest value each sequence length may carry; below it is overlong.
constexpr uint32_t b_utf8MinValue[4] = {0, 0x80, 0x800, 0x10000};

// Values no sequence may carry, whatever its length.
constexpr bool b_utf8Refused(uint32_t v) {
    return (v >= 0xD800 && v <= 0xDFFF) || v == 0xFFFE || v == 0xFFFF || v > 0x10FFFF;
}

// What to do with a sink's answer: keep going, or end the run with a code.
struct Flow {
    bool stop;
    ZEL_RETCODE rc;
};

constexpr Flow b_utf8Flow(ZEL_RETCODE rc) {
    if (rc == sOKAY || rc == sNEEDDATA) return {false, sOKAY};
    if (rc == sNOTFOUND) return {true, sOKAY};  // the sink has had enough
    return {true, rc};
}

template <typename Sink>
concept AsciiRunSink = requires(Sink s, const uint8_t *p, size_t n) {
    { s.run(p, n) } -> std::same_as<ZEL_RETCODE>;
};

// Length of the run of bytes below 0x80 at p, at most n.
size_t b_utf8AsciiRun(const uint8_t *p, size_t n) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, p + i, 8);
        if (w & 0x8080808080808080ull) break;
    }
    while (i < n && p[i] < 0x80) ++i;
    return i;
}

template <typename Sink>
ZEL_RETCODE b_utf8Decode(const uint8_t *p, size_t size, PSP_UTF8_ERROR_BEHAVIOR eb, Sink &sink) {
    const bool breaking = eb == PSP_UTF8_ERROR_BREAK;
    uint32_t cp = 0;
    int due = 0;    // continuation bytes still due
    int taken = 0;  // continuation bytes taken

// Delivers one code point, honouring the sink's wish to stop.
#define B_UTF8_DELIVER(value)                  \
    do {                                       \
        Flow f_ = b_utf8Flow(sink.put(value)); \
        if (f_.stop) return f_.rc;             \
    } while (0)
// A bad sequence: stop when breaking, else one '?'.
#define B_UTF8_ERROR()                        \
    do {                                      \
        if (breaking) return eINVUNICODE;     \
        B_UTF8_DELIVER(PSP_UTF8_REPLACEMENT); \
    } while (0)

    size_t i = 0;
    while (i < size) {
        uint8_t b = p[i];
        if (due == 0 && b < 0x80) {
            // A lone ASCII byte between wider characters skips the run scan.
            if constexpr (AsciiRunSink<Sink>) {
                size_t n = (i + 1 < size && p[i + 1] < 0x80) ? b_utf8AsciiRun(p + i, size - i) : 1;
                Flow f = b_utf8Flow(sink.run(p + i, n));
                if (f.stop) return f.rc;
                i += n;
            } else {
                B_UTF8_DELIVER(b);
                ++i;
            }
            continue;
        }
        if (due == 0 && b >= 0xC0 && b < 0xF8) {
            // A whole sequence in view with all its continuation bytes: decode it
            // at once. The outcome is the one the byte-by-byte steps below give.
            int len = b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
            if (i + static_cast<size_t>(len) <= size) {
                uint32_t v = b & (0x7Fu >> len);
                int k = 1;
                for (; k < len && (p[i + k] & 0xC0) == 0x80; ++k) v = v << 6 | (p[i + k] & 0x3F);
                if (k == len) {
                    i += static_cast<size_t>(len);
                    if (b_utf8Refused(v)) {
                        B_UTF8_ERROR();
                    } else if (v < b_utf8MinValue[len - 1] && breaking) {
                        return eINVUNICODE;
                    } else {
                        B_UTF8_DELIVER(v);
                    }
                    continue;
                }
            }
        }
        ++i;
        if (b >= 0xF8) {
            // A sequence open before it is broken as well: one error each.
            if (due != 0) {
                due = 0;
                B_UTF8_ERROR();
            }
            B_UTF8_ERROR();
            continue;
        }
        if ((b & 0xC0) == 0x80) {
            if (due == 0) {
                B_UTF8_ERROR();
                continue;
            }
            cp = cp << 6 | (b & 0x3F);
            ++taken;
            if (--due != 0) continue;
            if (b_utf8Refused(cp)) {
                B_UTF8_ERROR();
            } else if (cp < b_utf8MinValue[taken] && breaking) {
                return eINVUNICODE;  // overlong; when continuing it passes as decoded
            } else {
                B_UTF8_DELIVER(cp);
            }
            continue;
        }
        if (due != 0) {
            // The open sequence is broken; the byte then starts afresh.
            due = 0;
            B_UTF8_ERROR();
        }
        if (b < 0x80) {
            B_UTF8_DELIVER(b);
            continue;
        }
        taken = 0;
        if ((b & 0xE0) == 0xC0) {
            due = 1;
            cp = b & 0x1F;
        } else if ((b & 0xF0) == 0xE0) {
            due = 2;
            cp = b & 0x0F;
        } else {
            due = 3;
            cp = b & 0x07;
        }
    }
    if (due != 0) B_UTF8_ERROR();  // unfinished at the end
    return sOKAY;
#undef B_UTF8_ERROR
#undef B_UTF8_DELIVER
}

struct CallbackSink {
    ZEL_OUTPUT_FCN fcn;
    B_OUTPUT_CTX ctx;
    ZEL_RETCODE put(uint32_t cp) { return fcn(ctx, cp); }
};

struct CountSink {
    size_t chars = 0;
    ZEL_RETCODE put(uint32_t) {
        ++chars;
        return sOKAY;
    }
    ZEL_RETCODE run(const uint8_t *, size_t n) {
        chars += n;
        return sOKAY;
    }
};

struct CountBytesSink {
    PSP_UTF8_COUNT_BYTES info;
    ZEL_RETCODE put(uint32_t cp) {
        if (info.chars == 0) return sNOTFOUND;
        --info.chars;
        info.bytes += b_utf8_codes(cp, nullptr);
        return sOKAY;
    }
    ZEL_RETCODE run(const uint8_t *, size_t n) {
        size_t take = n < info.chars ? n : info.chars;
        info.chars -= take;
        info.bytes += take;
        return take < n ? sNOTFOUND : sOKAY;
    }
};

struct CopySink {
    PSP_UTF8_COPY_INFO info;
    ZEL_RETCODE put(uint32_t cp) {
        if (info.done) return sOKAY;
        uint8_t enc[4];
        uint32_t n = b_utf8_codes(cp, enc);
        if (n > info.size) {
            info.done = ZEL_TRUE;
            return sOKAY;
        }
        if (info.dest != nullptr) {
            std::memcpy(info.dest, enc, n);
            info.dest += n;
        }
        info.size -= n;
        info.num_chars++;
        return sOKAY;
    }
    ZEL_RETCODE run(const uint8_t *p, size_t n) {
        if (info.done) return sOKAY;
        size_t take = n;
        if (take > info.size) {
            take = info.size;
            info.done = ZEL_TRUE;
        }
        if (info.dest != nullptr) {
            std::memcpy(info.dest, p, take);
            info.dest += take;
        }
        info.size -= take;
        info.num_chars += take;
        return sOKAY;
    }
};

const uint8_t *b_utf8Bytes(const char *src) {
    return reinterpret_cast<const uint8_t *>(src);
}

}  // namespace

extern "C" {

uint32_t b_utf8_codes(uint32_t val, uint8_t *bytes) {
    return static_cast<uint32_t>(zel::detail::psp_utf8Encode(val, bytes));
}

size_t b_uchar_to_utf8(uint32_t ch, char *buffer, size_t size) {
    uint8_t enc[4];
    size_t n = b_utf8_codes(ch, enc);
    if (n > size) return n;
    std::memcpy(buffer, enc, n);
    std::memset(buffer + n, 0, size - n);
    return n;
}

ZEL_RETCODE b_processBuff(const char *src, size_t size, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx,
                          PSP_UTF8_ERROR_BEHAVIOR errorBehavior) {
    if (fcn == nullptr || (src == nullptr && size != 0)) return eINVNULLARG;
    CallbackSink sink{fcn, ctx};
    return b_utf8Decode(b_utf8Bytes(src), size, errorBehavior, sink);
}

size_t b_countUTF8chars(const char *src, size_t size, PSP_UTF8_ERROR_BEHAVIOR errorBehavior) {
    if (src == nullptr) return 0;
    CountSink sink;
    if (b_utf8Decode(b_utf8Bytes(src), size, errorBehavior, sink) != sOKAY) return 0;
    return sink.chars;
}

size_t b_countUTF8bytes(const char *src, size_t size, size_t chars,
                        PSP_UTF8_ERROR_BEHAVIOR errorBehavior) {
    if (src == nullptr && size != 0) return SIZE_MAX;
    CountBytesSink sink{{chars, 0}};
    if (b_utf8Decode(b_utf8Bytes(src), size, errorBehavior, sink) != sOKAY) return SIZE_MAX;
    return sink.info.bytes;
}

size_t b_copyUTF8Chars(char *dst, size_t dst_size, const char *src, size_t src_size,
                       size_t *chars_copied, PSP_UTF8_ERROR_BEHAVIOR errorBehavior) {
    if (src == nullptr && src_size != 0) return SIZE_MAX;
    CopySink sink{{dst, dst_size, 0, ZEL_FALSE}};
    if (b_utf8Decode(b_utf8Bytes(src), src_size, errorBehavior, sink) != sOKAY) return SIZE_MAX;
    if (chars_copied != nullptr) *chars_copied = sink.info.num_chars;
    return dst_size - sink.info.size;
}

}  // extern "C"
