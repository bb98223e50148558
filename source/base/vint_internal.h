// vint_internal.h - the nine forms of the variable integer as compile-time
// code, shared by the varint module, the encoder and the decoder so that each
// of them inlines the form choice and the byte moves. C++ only.
//
// Every form is a template instance: its size, first byte, mask and bias are
// constants, its bytes are moved by a pack expansion, so choosing a form is
// a chain of comparisons with the smallest first and a value costs no loop.
#ifndef VINT_INTERNAL_H
#define VINT_INTERNAL_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <cstring>

#include "buffer.h"
#include "vint.h"

// As ZEL_CHECK, but a status answer stops the stream too: a byte callback
// that does not say sOKAY has delivered or taken no byte.
#define B_STREAM_CHECK(expr)                                  \
    do {                                                      \
        const ZEL_RETCODE b_stream_rc_ = (ZEL_RETCODE)(expr); \
        if (b_stream_rc_ != sOKAY) return b_stream_rc_;       \
    } while (0)

namespace zel::detail {

static_assert(sizeof(uintmax_t) == 8 && sizeof(intmax_t) == 8 && sizeof(size_t) == 8,
              "the stored varint is 64 bits wide");

struct B_VINT_FORM {
    uint32_t size;       // total bytes
    uint32_t first;      // first byte with its payload bits clear
    uint32_t firstMask;  // payload bits in the first byte
    uint64_t bias;       // smallest value of the form
    uint64_t max;        // largest value of the form
};

inline constexpr B_VINT_FORM b_vintForms[B_VINT_FORMS] = {
    {1, 0x00, 0x7F, 0x0, 0x7F},
    {2, 0x80, 0x3F, 0x80, 0x407F},
    {3, 0xC0, 0x1F, 0x4080, 0x20407F},
    {4, 0xE0, 0x07, 0x204080, 0x820407F},
    {5, 0xE8, 0x07, 0x8204080, 0x80820407F},
    {6, 0xF0, 0x07, 0x808204080, 0x8080820407F},
    {7, 0xF8, 0x00, 0x80808204080, 0x108080820407F},
    {8, 0xF9, 0x00, 0x1080808204080, 0x10108080820407F},
    {9, 0xFA, 0x00, 0x101080808204080, UINT64_MAX},
};

// The table holds itself together: each bias is the one below plus that
// form's range, each largest value is the next bias less one, and the first
// bytes of the forms neither overlap nor leave a gap up to 0xFA.
consteval bool b_vintFormsConsistent() {
    for (int i = 0; i < B_VINT_FORMS; ++i) {
        const B_VINT_FORM &f = b_vintForms[i];
        const int bits = std::popcount(f.firstMask) + 8 * static_cast<int>(f.size - 1);
        if (f.size != static_cast<uint32_t>(i + 1) || (f.first & f.firstMask) != 0) return false;
        if (bits == 64) {  // the last form runs to the top and beyond, wrapping
            if (f.max != UINT64_MAX) return false;
        } else {
            const uint64_t range = uint64_t{1} << bits;
            if (f.max != f.bias + range - 1) return false;
            if (b_vintForms[i + 1].bias != f.bias + range) return false;
            if (b_vintForms[i + 1].first != (f.first | f.firstMask) + 1) return false;
        }
    }
    return b_vintForms[B_VINT_FORMS - 1].first == 0xFA;
}
static_assert(b_vintFormsConsistent());
static_assert(b_vintForms[8].max - b_vintForms[8].bias == 0xFEFEF7F7F7DFBF7Full);

// Calls f(std::integral_constant<size_t, I>{}...) over I < N and folds with
// &&: the unrolled body of every form.
template <size_t N, class F>
constexpr bool b_vintEach(F &&f) {
    return [&]<size_t... I>(std::index_sequence<I...>) {
        return (f(std::integral_constant<size_t, I>{}) && ...);
    }
    (std::make_index_sequence<N>{});
}

// The fast path of the commonest sink: `n` bytes of room in a B_BUFFER_T
// written through b_bufferEmitByte, claimed at once (null when the sink is
// another or has no such room). The bytes land where n calls would put them.
inline uint8_t *b_vintRoom(ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx, size_t n) {
    if (fcn != b_bufferEmitByte) return nullptr;
    auto *b = static_cast<B_BUFFER_T *>(ctx);
    if (b->len >= b->size || b->size - b->len < n) return nullptr;
    uint8_t *p = b->data.bin + b->len;
    b->len += n;
    return p;
}

// The same for the commonest source: `n` unread bytes of a B_BUFFER_T read
// through b_bufferInputByte, taken at once (null otherwise).
inline const uint8_t *b_vintAvail(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, size_t n) {
    if (fcn != b_bufferInputByte) return nullptr;
    auto *b = static_cast<B_BUFFER_T *>(ctx);
    if (b->pos >= b->len || b->len - b->pos < n) return nullptr;
    const uint8_t *p = b->data.bin + b->pos;
    b->pos += n;
    return p;
}

template <int F>
ZEL_RETCODE b_vintEncodeForm(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    constexpr const B_VINT_FORM &f = b_vintForms[F];
    if constexpr (F == 0) {
        if (uint8_t *p = b_vintRoom(fcn, ctx, 1)) {
            *p = static_cast<uint8_t>(val);
            return sOKAY;
        }
        return fcn(ctx, static_cast<uint32_t>(val));
    } else {
        const uint64_t payload = val - f.bias;
        uint8_t bytes[f.size];
        if constexpr (f.firstMask != 0) {
            bytes[0] = static_cast<uint8_t>(f.first | payload >> (8 * (f.size - 1)));
        } else {
            bytes[0] = static_cast<uint8_t>(f.first);
        }
        b_vintEach<f.size - 1>([&](auto i) {
            bytes[1 + i] = static_cast<uint8_t>(payload >> (8 * (f.size - 2 - i)));
            return true;
        });
        if (uint8_t *p = b_vintRoom(fcn, ctx, f.size)) {
            std::memcpy(p, bytes, f.size);
            return sOKAY;
        }
        ZEL_RETCODE rc = sOKAY;
        b_vintEach<f.size>([&](auto i) { return (rc = fcn(ctx, bytes[i])) == sOKAY; });
        return rc;
    }
}

// `first` has been read and belongs to form F.
template <int F>
ZEL_RETCODE b_vintDecodeForm(uint32_t first, ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, uintmax_t *val) {
    constexpr const B_VINT_FORM &f = b_vintForms[F];
    uint64_t r = first & f.firstMask;
    ZEL_RETCODE rc = sOKAY;
    b_vintEach<f.size - 1>([&](auto) {
        uint32_t byte;
        if ((rc = fcn(ctx, &byte)) != sOKAY) return false;
        r = r << 8 | (byte & 0xFF);
        return true;
    });
    if (rc != sOKAY) return rc;
    *val = r + f.bias;  // wraps for the largest 9-byte payloads, as stored data may
    return sOKAY;
}

// The form of a value: compares from the smallest form up, since most stored
// numbers are small.
template <int F = 0>
constexpr int b_vintFormOf(uintmax_t val) {
    if constexpr (F == B_VINT_FORMS - 1) {
        return F;
    } else {
        return val <= b_vintForms[F].max ? F : b_vintFormOf<F + 1>(val);
    }
}

template <int F = 0>
inline ZEL_RETCODE b_vintEncodeChain(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    if constexpr (F == B_VINT_FORMS - 1) {
        return b_vintEncodeForm<F>(val, fcn, ctx);
    } else {
        if (val <= b_vintForms[F].max) return b_vintEncodeForm<F>(val, fcn, ctx);
        return b_vintEncodeChain<F + 1>(val, fcn, ctx);
    }
}

// The fast path of a B_BUFFER_T written through b_bufferEmitByte with room
// for the longest form: the form is counted, not searched (no branch on the
// value's size, which the data decides), the payload goes out as one
// big-endian word after the first byte, and len moves by the form's size.
// The word may write up to 8 bytes past the value into the free room; len
// tells where the stream ends, so those bytes are not part of it. False,
// with nothing written, for any other sink.
inline bool b_vintEncodeIntoBuffer(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    if (fcn != b_bufferEmitByte) return false;
    auto *b = static_cast<B_BUFFER_T *>(ctx);
    if (b->len >= b->size || b->size - b->len < B_VINT_FORMS) return false;
    unsigned f = 0;
    for (int i = 0; i < B_VINT_FORMS - 1; ++i) f += val > b_vintForms[i].max;
    const B_VINT_FORM &form = b_vintForms[f];
    const uint64_t payload = val - form.bias;
    const unsigned tail = form.size - 1;  // payload bytes after the first
    uint8_t *p = b->data.bin + b->len;
    // The first byte's payload bits sit above the tail's (none from form 7).
    p[0] = static_cast<uint8_t>(form.first | ((payload >> ((8 * tail) & 63)) & form.firstMask));
    const uint64_t word = __builtin_bswap64(payload << ((64 - 8 * tail) & 63));
    std::memcpy(p + 1, &word, 8);
    b->len += form.size;
    return true;
}

inline ZEL_RETCODE b_vintEncode(uintmax_t val, ZEL_OUTPUT_FCN fcn, B_OUTPUT_CTX ctx) {
    if (b_vintEncodeIntoBuffer(val, fcn, ctx)) return sOKAY;
    return b_vintEncodeChain(val, fcn, ctx);
}

inline ZEL_RETCODE b_vintDecode(ZEL_INPUT_FCN fcn, B_INPUT_CTX ctx, uintmax_t *val) {
    // A whole value in a buffer read through b_bufferInputByte is taken from
    // memory; a short or invalid one goes the byte way, which stops where
    // the byte calls would. With nine bytes left the tail is one big-endian
    // word, shifted to the form's length: no loop, no branch on the length.
    if (fcn == b_bufferInputByte) {
        auto *b = static_cast<B_BUFFER_T *>(ctx);
        if (b->pos < b->len) {
            const uint8_t *p = b->data.bin + b->pos;
            const uint8_t first = p[0];
            const uint32_t form = reverse_lookup[first];
            if (form < B_VINT_FORMS && b->len - b->pos >= B_VINT_FORMS) {
                const B_VINT_FORM &f = b_vintForms[form];
                uint64_t word;
                std::memcpy(&word, p + 1, 8);
                word = __builtin_bswap64(word);
                const unsigned tail = form;  // payload bytes after the first
                const uint64_t low = tail == 0 ? 0 : word >> ((64 - 8 * tail) & 63);
                const uint64_t high = static_cast<uint64_t>(first & f.firstMask)
                                      << ((8 * tail) & 63);
                *val = (high | low) + f.bias;  // wraps as the byte way does
                b->pos += f.size;
                return sOKAY;
            }
            if (form < B_VINT_FORMS) {
                if (const uint8_t *q = b_vintAvail(fcn, ctx, b_vintForms[form].size)) {
                    uint64_t r = first & b_vintForms[form].firstMask;
                    for (uint32_t i = 1; i < b_vintForms[form].size; ++i) r = r << 8 | q[i];
                    *val = r + b_vintForms[form].bias;  // wraps as the byte way does
                    return sOKAY;
                }
            }
        }
    }
    uint32_t first;
    ZEL_RETCODE rc = fcn(ctx, &first);
    if (rc != sOKAY) return rc;
    if (first < 0x80) {
        *val = first;
        return sOKAY;
    }
    if (first > 0xFF) return eINVVARINT;  // not a byte: a broken input function
    switch (reverse_lookup[first]) {
        case 1:
            return b_vintDecodeForm<1>(first, fcn, ctx, val);
        case 2:
            return b_vintDecodeForm<2>(first, fcn, ctx, val);
        case 3:
            return b_vintDecodeForm<3>(first, fcn, ctx, val);
        case 4:
            return b_vintDecodeForm<4>(first, fcn, ctx, val);
        case 5:
            return b_vintDecodeForm<5>(first, fcn, ctx, val);
        case 6:
            return b_vintDecodeForm<6>(first, fcn, ctx, val);
        case 7:
            return b_vintDecodeForm<7>(first, fcn, ctx, val);
        case 8:
            return b_vintDecodeForm<8>(first, fcn, ctx, val);
        default:
            return eINVVARINT;
    }
}

constexpr uintmax_t b_vintToUnsigned(intmax_t v) {
    const auto u = static_cast<uint64_t>(v);
    return v < 0 ? ~(u << 1) | 1 : u << 1;
}

constexpr intmax_t b_vintToSigned(uintmax_t u) {
    return static_cast<intmax_t>(u & 1 ? ~(u >> 1) : u >> 1);
}

}  // namespace zel::detail

#endif
