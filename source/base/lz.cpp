/*
 * lz.cpp - a streaming dictionary coder with codes of 9 to 15 bits.
 *
 * The one idea: both sides grow the same table of strings, each a known
 * string plus one byte, in the same order, so only codes travel. The
 * compressor looks up (string, byte) pairs in a hash table of prime size;
 * the decompressor keeps the same pairs in an array indexed by code and
 * spells a string by walking its parents, pushing bytes on a stack that pops
 * them in order. The compressor tells every change of width (256) and every
 * reset (257) in the stream, at the width in force before the change, so
 * the decoder keeps no size logic of its own.
 *
 * Stream: codes packed most significant bit first, each byte filled from its
 * top bit; the last byte is padded with zero bits. No header, no length, no
 * end code.
 *
 * CODE       MEANING
 * 0-255      the byte itself
 * 256        the codes that follow are one bit wider
 * 257        the table is forgotten; 9 bits again, the next code is a byte
 * 258-32767  a string of the table, entered in this order
 */
#include "lz.h"

#include <cstring>

#include "tag_sub.h"

static_assert(sizeof(DICT_ENTRY) == 6 && offsetof(DICT_ENTRY, parent) == 2 &&
                  offsetof(DICT_ENTRY, byte_val) == 4,
              "DICT_ENTRY is six bytes: value, parent, byte_val");
static_assert(B_LZ_MAX_CODE - B_LZ_FIRST_CODE < B_LZ_DICT_SIZE,
              "the hash table never fills, so a probe always ends");
static_assert((1u << B_LZ_MAX_BITS) == B_LZ_MAX_CODE);

namespace {

constexpr uint16_t kFreeSlot = 0xFFFF;
constexpr uint16_t kNoGrandparent = 0xFFFF; /* decompression: walk one step */
constexpr uint16_t kFirstBumpCode = (1u << B_LZ_MIN_BITS) - 1;

/* A failure of the receiver: a negative code. A status is passed over. */
constexpr bool lz_failed(ZEL_RETCODE rc) {
    return rc < 0;
}

/* At the start and after a flush. */
void lz_initialize(B_LZ_T *ctx) {
    ctx->next_code = B_LZ_FIRST_CODE;
    ctx->current_code_bits = B_LZ_MIN_BITS;
    if (ctx->type == LZCOMPRESSION) {
        ctx->next_bump_code = kFirstBumpCode;
        std::memset(ctx->dict, 0xFF, sizeof ctx->dict);
    } else {
        ctx->count = B_LZ_MIN_BITS;
        std::memset(ctx->dict, 0, sizeof ctx->dict);
        ctx->initialized = 1;
    }
}

/* ---- Compression. */

/* The slot of (string_code, byte): its entry, or the free slot where it
 * goes. The first probe is (byte << 7) XOR string_code; then steps of
 * 35023 - slot (1 from slot 0) downwards, wrapping at the table's size.
 * The size is prime, so the steps reach every slot. */
uint32_t lz_findChildNode(const DICT_ENTRY *dict, uint32_t string_code, uint32_t byte) {
    uint32_t index = (byte << 7) ^ string_code;
    const uint32_t offset = index == 0 ? 1 : B_LZ_DICT_SIZE - index;
    for (;;) {
        const DICT_ENTRY &e = dict[index];
        if (e.value == kFreeSlot || (e.parent == string_code && e.byte_val == byte)) return index;
        if (index < offset) index += B_LZ_DICT_SIZE;
        index -= offset;
    }
}

/* The bits not yet sent, held as the low `pending` bits of `acc` while a
 * chunk runs and in `rack` (left-aligned, `bitsleft` free) between chunks. */
struct LzBitWriter {
    B_LZ_T *ctx;
    uint32_t acc;
    uint32_t pending;

    explicit LzBitWriter(B_LZ_T *c)
        : ctx(c), acc(c->rack >> c->bitsleft), pending(8u - c->bitsleft) {}
    ~LzBitWriter() {
        ctx->rack = static_cast<uint8_t>(acc << (8u - pending));
        ctx->bitsleft = static_cast<uint8_t>(8u - pending);
    }
    LzBitWriter(const LzBitWriter &) = delete;
    LzBitWriter &operator=(const LzBitWriter &) = delete;

    /* `code` in `width` bits; every full byte goes out. */
    ZEL_RETCODE put(uint32_t code, uint32_t width) {
        acc = (acc << width) | code;
        pending += width;
        while (pending >= 8) {
            pending -= 8;
            const ZEL_RETCODE rc =
                ctx->outputFcn(ctx->userData, LZBYTE, static_cast<uint8_t>(acc >> pending));
            acc &= (1u << pending) - 1;
            if (lz_failed(rc)) {
                // A failed sink ends the stream: the whole bytes still pending
                // go with the one it refused, so that the rack can hold the rest.
                pending &= 7;
                acc &= (1u << pending) - 1;
                return rc;
            }
        }
        return sOKAY;
    }
};

ZEL_RETCODE lz_compress(B_LZ_T *ctx, const uint8_t *p, const uint8_t *end) {
    DICT_ENTRY *dict = ctx->dict;
    LzBitWriter out(ctx);
    uint32_t string_code = ctx->string_code;
    ZEL_RETCODE rc = sOKAY;
    for (; p < end; ++p) {
        const uint32_t byte = *p;
        DICT_ENTRY &slot = dict[lz_findChildNode(dict, string_code, byte)];
        if (slot.value != kFreeSlot) {
            string_code = slot.value;
            continue;
        }
        slot.value = ctx->next_code++;
        slot.parent = static_cast<uint16_t>(string_code);
        slot.byte_val = static_cast<uint8_t>(byte);
        const uint32_t width = ctx->current_code_bits;
        rc = out.put(string_code, width);
        string_code = byte;
        if (lz_failed(rc)) break;
        /* Both marks go out at the width in force before them. */
        if (ctx->next_code >= B_LZ_MAX_CODE) {
            rc = out.put(B_LZ_FLUSH_CODE, width);
            lz_initialize(ctx);
        } else if (ctx->next_code > ctx->next_bump_code) {
            rc = out.put(B_LZ_BUMP_CODE, width);
            ctx->current_code_bits++;
            ctx->next_bump_code = static_cast<uint16_t>(ctx->next_bump_code * 2 + 1);
        }
        if (lz_failed(rc)) break;
    }
    ctx->string_code = static_cast<uint16_t>(string_code);
    ctx->byte_val = p < end ? *p : end[-1]; /* a failure stops at the byte it took */
    return rc;
}

/* ---- The wrappers' output: bytes appended to an LZINFO. */

/* Room for `more` bytes after off. Deliberate: the buffer grows 512 bytes
 * at a time, as callers have always had it. */
ZEL_RETCODE lz_infoReserve(LZINFO *info, uint32_t more) {
    if (more <= info->size - info->off) return sOKAY;
    const uint64_t need = uint64_t{info->off} + more;
    const uint64_t size = (need + B_LZ_OUTPUT_STEP - 1) / B_LZ_OUTPUT_STEP * B_LZ_OUTPUT_STEP;
    if (size > UINT32_MAX) return eRANGE;
    void *grown;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subReallocAny(info->subTag, info->data, info->off, size, &grown));
    info->data = grown;
    info->size = static_cast<uint32_t>(size);
    return sOKAY;
}

ZEL_RETCODE lz_writeByteLz2(void *userData, LZOPERATION op, uint8_t byte) {
    if (op != LZBYTE) return sOKAY;
    auto *info = static_cast<LZINFO *>(userData);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = lz_infoReserve(info, 1));
    static_cast<uint8_t *>(info->data)[info->off++] = byte;
    return sOKAY;
}

/* Where the decoder's bytes go: the receiver, one call a byte. */
struct LzCallbackSink {
    LZOUTPUTFUNCTION fcn;
    void *user;
    ZEL_RETCODE put(uint8_t byte) const { return fcn(user, LZBYTE, byte); }
    /* The n bytes of `stack`, last first. */
    ZEL_RETCODE putReversed(const uint8_t *stack, uint32_t n) const {
        ZEL_RETCODE rc;
        do {
            rc = fcn(user, LZBYTE, stack[--n]);
        } while (n > 0 && !lz_failed(rc));
        return rc;
    }
};

/* The wrappers' buffer written in place: the bytes and the growth of
 * lz_writeByteLz2, without a call per byte. */
struct LzBufferSink {
    LZINFO *info;
    ZEL_RETCODE put(uint8_t byte) const {
        if (info->off == info->size) return lz_writeByteLz2(info, LZBYTE, byte);
        static_cast<uint8_t *>(info->data)[info->off++] = byte;
        return sOKAY;
    }
    ZEL_RETCODE putReversed(const uint8_t *stack, uint32_t n) const {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = lz_infoReserve(info, n));
        uint8_t *out = static_cast<uint8_t *>(info->data) + info->off;
        info->off += n;
        while (n > 0) *out++ = stack[--n];
        return sOKAY;
    }
};

/* ---- Decompression. */

/* A sound string has at most 32512 bytes (32510 entries, a byte and the
 * extra one), and a chain that does not loop visits each entry once: only a
 * loop, which never ends, passes this. Room stays for two bytes and the
 * first. */
constexpr uint32_t kWalkLimit = B_LZ_STACK_MAX - 3;

/* The decoder's state for the length of a chunk, in locals; back in the
 * record when the chunk ends or fails. Codes are read through a bit buffer;
 * a code cut by the end of the chunk waits in temp (its high bits, in place)
 * with count bits still missing, and rack is then drained (bitsleft 0).
 *
 * A string is spelled by walking its parents, a chain of dependent loads, and
 * pushing its bytes, last first; popping them gives them in order. An entry's
 * `value` holds its grandparent where that is final (kNoGrandparent
 * elsewhere), so the parent's byte and the next entry load side by side, two
 * bytes a step. */
template <class Sink>
ZEL_RETCODE lz_decompress(B_LZ_T *ctx, LZINPUT in, const Sink sink) {
    if (ctx->stack == nullptr && in.size > 0) {
        /* Sized at once for the longest string: the capacity is all that
         * differs from growing it step by step. */
        void *stack;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subAlloc(ctx->subTag, B_LZ_STACK_MAX, &stack));
        ctx->stack = static_cast<uint8_t *>(stack);
        ctx->stack_size = B_LZ_STACK_MAX;
    }
    DICT_ENTRY *const dict = ctx->dict;
    uint8_t *const stack = ctx->stack;
    uint32_t next_code = ctx->next_code, string_code = ctx->string_code;
    uint32_t prev_byte = ctx->prev_byte, width = ctx->current_code_bits;
    bool initialized = ctx->initialized != 0;
    uint32_t need = ctx->count, temp = ctx->temp;
    uint64_t acc = ctx->rack & ((1u << ctx->bitsleft) - 1);
    uint32_t have = ctx->bitsleft;
    ZEL_RETCODE rc = sOKAY;
    for (;;) {
        if (have < 32 && in.size >= 4) {
            /* Four bytes at once: under 32 bits wait, so all fit. */
            acc = (acc << 32) | (uint32_t{in.data[0]} << 24 | uint32_t{in.data[1]} << 16 |
                                 uint32_t{in.data[2]} << 8 | in.data[3]);
            in.data += 4;
            in.size -= 4;
            have += 32;
        }
        while (have < need && in.size > 0) {
            acc = (acc << 8) | *in.data++;
            in.size--;
            have += 8;
        }
        if (have < need) {
            temp |= static_cast<uint32_t>(acc << (need - have));
            need -= have;
            acc = 0;
            have = 0;
            break;
        }
        have -= need;
        const uint32_t code = temp | static_cast<uint32_t>(acc >> have);
        acc &= (uint64_t{1} << have) - 1;
        temp = 0;
        need = width;
        /* The walk starts with a load from anywhere in the table: the next
         * code's entry is fetched while this one is written out. */
        if (have >= width) __builtin_prefetch(&dict[(acc >> (have - width)) & 0x7FFF]);
        if (initialized || code - B_LZ_BUMP_CODE < 2) [[unlikely]] {
            if (initialized) {
                /* The first code after a flush is a byte, whatever it reads. */
                string_code = code;
                prev_byte = code & 0xFF;
                initialized = false;
                rc = sink.put(static_cast<uint8_t>(prev_byte));
                if (lz_failed(rc)) break;
            } else if (code == B_LZ_FLUSH_CODE) {
                lz_initialize(ctx);
                next_code = ctx->next_code;
                width = need = ctx->current_code_bits;
                initialized = true;
            } else if (width < B_LZ_MAX_BITS) {
                /* A damaged stream cannot widen the codes past what the
                 * table holds. */
                need = ++width;
            }
            continue;
        }
        if (code < 256) {
            prev_byte = code;
            rc = sink.put(static_cast<uint8_t>(code));
        } else if (code < next_code && dict[code].parent < 256) {
            /* Two bytes, the commonest string: no stack. */
            const DICT_ENTRY &e = dict[code];
            prev_byte = e.parent;
            rc = sink.put(static_cast<uint8_t>(e.parent));
            if (!lz_failed(rc)) rc = sink.put(e.byte_val);
        } else {
            uint32_t n = 0, walk = code;
            /* At or above next_code: the string being entered, the previous
             * one and its own first byte. Kept: a code above it is not
             * refused but read the same, as streams are never checked. */
            if (code >= next_code) {
                stack[n++] = static_cast<uint8_t>(prev_byte);
                walk = string_code;
            }
            while (walk > 255) {
                if (n > kWalkLimit) {
                    rc = eDBCORRUPTED;
                    break;
                }
                const DICT_ENTRY &e = dict[walk];
                stack[n++] = e.byte_val;
                walk = e.parent;
                if (walk > 255 && e.value != kNoGrandparent) {
                    stack[n++] = dict[walk].byte_val;
                    walk = e.value;
                }
            }
            if (lz_failed(rc)) break;
            stack[n++] = static_cast<uint8_t>(walk);
            prev_byte = walk;
            rc = sink.putReversed(stack, n);
        }
        if (lz_failed(rc)) break;
        /* A damaged stream without its flush finds the table full: nothing
         * more is entered, as no 15-bit code could name it. The entries
         * below next_code stand until the next flush; a parent above (a
         * damaged stream) may still change, and gets no shortcut. */
        if (next_code < B_LZ_MAX_CODE) {
            DICT_ENTRY &e = dict[next_code];
            e.value = string_code > 255 && string_code < next_code ? dict[string_code].parent
                                                                   : kNoGrandparent;
            e.parent = static_cast<uint16_t>(string_code);
            e.byte_val = static_cast<uint8_t>(prev_byte);
            next_code++;
        }
        string_code = code;
    }
    ctx->next_code = static_cast<uint16_t>(next_code);
    ctx->string_code = static_cast<uint16_t>(string_code);
    ctx->prev_byte = static_cast<uint8_t>(prev_byte);
    ctx->current_code_bits = static_cast<uint8_t>(width);
    ctx->initialized = initialized ? 1 : 0;
    ctx->count = static_cast<uint8_t>(need);
    ctx->temp = static_cast<uint16_t>(temp);
    ctx->rack = static_cast<uint8_t>(acc);
    ctx->bitsleft = static_cast<uint8_t>(have);
    return rc;
}

ZEL_RETCODE lz_wrapper(bool compress, const void *src_buffer, uint32_t src_size, B_TAG_SUB subTag,
                       void **dst_buffer, uint32_t *dst_size) {
    if (subTag == nullptr || dst_buffer == nullptr || dst_size == nullptr ||
        (src_buffer == nullptr && src_size > 0))
        return eINVNULLARG;
    LZINFO info{nullptr, 0, 0, subTag};
    B_LZ_T ctx;
    ZEL_RETCODE rc = b_lzInit(&ctx, &info, lz_writeByteLz2, subTag);
    if (!lz_failed(rc)) {
        rc = compress ? b_lzCompressChunk(&ctx, src_buffer, src_size)
                      : b_lzDecompressChunk(&ctx, src_buffer, src_size);
    }
    if (!lz_failed(rc)) {
        rc = b_lzFinish(&ctx);
    } else {
        b_lzTerm(&ctx);
    }
    if (lz_failed(rc)) {
        b_tag_subFreeCanBeNull(subTag, info.data);
        return rc;
    }
    /* Kept: the buffer is not trimmed to what was written. */
    *dst_buffer = info.data;
    *dst_size = info.off;
    return sOKAY;
}

}  // namespace

extern "C" {

ZEL_RETCODE b_lzInit(B_LZ_T *ctx, void *userData, LZOUTPUTFUNCTION outputFcn, B_TAG_SUB subTag) {
    if (ctx == nullptr || outputFcn == nullptr) return eINVNULLARG;
    std::memset(ctx, 0, sizeof *ctx);
    /* Kept: a receiver that refuses to begin is no failure here; the context
     * stays unset, and the calls that follow answer eINVFCNSEQ. */
    if (lz_failed(outputFcn(userData, LZBEGIN, 0))) return sOKAY;
    ctx->outputFcn = outputFcn;
    ctx->userData = userData;
    ctx->subTag = subTag;
    return sOKAY;
}

ZEL_RETCODE b_lzCompressChunk(B_LZ_T *ctx, const void *data, uint32_t size) {
    if (ctx == nullptr) return eINVNULLARG;
    if (ctx->outputFcn == nullptr || (ctx->started && ctx->type != LZCOMPRESSION))
        return eINVFCNSEQ;
    if (size == 0) return sOKAY;
    if (data == nullptr) return eINVNULLARG;
    const auto *p = static_cast<const uint8_t *>(data);
    if (!ctx->started) {
        ctx->started = 1;
        ctx->type = LZCOMPRESSION;
        ctx->bitsleft = 8;
        ctx->string_code = p[0];
        ctx->byte_val = p[0];
        lz_initialize(ctx);
        ++p;
    }
    return lz_compress(ctx, p, static_cast<const uint8_t *>(data) + size);
}

ZEL_RETCODE b_lzDecompressChunk(B_LZ_T *ctx, const void *data, uint32_t size) {
    if (ctx == nullptr) return eINVNULLARG;
    if (ctx->outputFcn == nullptr || (ctx->started && ctx->type != LZDECOMPRESSION))
        return eINVFCNSEQ;
    if (ctx->subTag == nullptr || (data == nullptr && size > 0)) return eINVNULLARG;
    if (!ctx->started) {
        ctx->started = 1;
        ctx->type = LZDECOMPRESSION;
        lz_initialize(ctx);
    }
    const LZINPUT in{static_cast<const uint8_t *>(data), size};
    /* The wrappers' receiver is known: their buffer is written in place. */
    if (ctx->outputFcn == lz_writeByteLz2)
        return lz_decompress(ctx, in, LzBufferSink{static_cast<LZINFO *>(ctx->userData)});
    return lz_decompress(ctx, in, LzCallbackSink{ctx->outputFcn, ctx->userData});
}

ZEL_RETCODE b_lzFinish(B_LZ_T *ctx) {
    if (ctx == nullptr) return eINVNULLARG;
    if (ctx->outputFcn == nullptr) {
        b_lzTerm(ctx);
        return eINVFCNSEQ;
    }
    ZEL_RETCODE rc = sOKAY;
    if (ctx->started && ctx->type == LZCOMPRESSION) {
        LzBitWriter out(ctx);
        rc = out.put(ctx->string_code, ctx->current_code_bits);
        if (!lz_failed(rc) && out.pending > 0) rc = out.put(0, 8 - out.pending);
    }
    if (!lz_failed(rc)) rc = ctx->outputFcn(ctx->userData, LZEND, 0);
    b_lzTerm(ctx);
    return rc;
}

void b_lzTerm(B_LZ_T *ctx) {
    if (ctx == nullptr) return;
    if (ctx->stack != nullptr) b_tag_subFree(ctx->subTag, ctx->stack);
    std::memset(ctx, 0, sizeof *ctx);
}

ZEL_RETCODE b_lzCompress(const void *src_buffer, uint32_t src_size, B_TAG_SUB subTag,
                         void **dst_buffer, uint32_t *dst_size) {
    return lz_wrapper(true, src_buffer, src_size, subTag, dst_buffer, dst_size);
}

ZEL_RETCODE b_lzDecompress(const void *src_buffer, uint32_t src_size, B_TAG_SUB subTag,
                           void **dst_buffer, uint32_t *dst_size) {
    return lz_wrapper(false, src_buffer, src_size, subTag, dst_buffer, dst_size);
}

}  // extern "C"
