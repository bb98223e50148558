/*
 * lzma.cpp - LZMA for stored objects, buffer to buffer.
 *
 * The coded stream is the published LZMA model with lc 3, lp 0 and pb 2, and
 * a few departures of its own, each kept because stored objects depend on it
 * and marked where it is coded. The encoder is greedy: at each position it
 * takes the best match of a 16 KiB window, weighs it against the four repeat
 * distances and one byte of lookahead, and codes one packet.
 *
 * The one idea of the match finder: that chooser needs, for each length, only
 * the nearest position that reaches it. A binary tree per two-byte prefix,
 * with the newest position at its root and older ones below, passes exactly
 * those positions on its way down as it enters a new one, so the whole window
 * is searched in a few steps where a chain of the prefix would be walked to
 * its end (thousands of steps in a zero-heavy image), and the choices, hence
 * the bytes, are the same.
 *
 * Stored form:
 *
 * OFFSET  SIZE  MEANING
 * 0       1-9   the source length, a stored varint
 * n       5+    the range coder's bytes, the first of them 0; no header,
 *               properties or end marker
 */
#include "lzma.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

#include "tag_sub.h"
#include "vint.h"

namespace {

constexpr uint32_t kTop = 1u << 24;
constexpr uint32_t kProbBits = 11;
constexpr uint32_t kProbOne = 1u << kProbBits;
constexpr uint32_t kMoveBits = 5;
constexpr RANGE_PROB kProbInit = kProbOne / 2;
constexpr uint32_t kLc = 3;
constexpr uint32_t kLp = 0;
constexpr uint32_t kPb = 2;
constexpr uint32_t kLitModels = 0x300;
constexpr uint32_t kLitLen = kLitModels << (kLc + kLp);
constexpr uint32_t kMatchMin = 2;
constexpr uint32_t kMatchMax = 273;
/* Most entries of one match list: one per length. */
constexpr uint32_t kMatchesMax = kMatchMax - kMatchMin + 1;
constexpr uint32_t kLitStates = 7; /* states below this follow a literal */
constexpr uint32_t kNone = UINT32_MAX;
constexpr uint32_t kGrowStep = 256;       /* output growth, both ways */
constexpr size_t kSourceMax = UINT32_MAX; /* positions are 32 bits */

/* Everything from is_match on is one block of models, reset by copying. */
constexpr size_t kProbBlock =
    offsetof(LZMA_PROBS, high) + sizeof(LZMA_PROBS::high) - offsetof(LZMA_PROBS, is_match);
static_assert(kProbBlock == 1332 * sizeof(RANGE_PROB), "1332 models from is_match on");
static_assert(kLitLen == 6144 && kLitLen * sizeof(RANGE_PROB) == 12288);

constexpr std::array<RANGE_PROB, 64> lzma_static_init_probs = [] {
    std::array<RANGE_PROB, 64> t{};
    t.fill(kProbInit);
    return t;
}();

using LzmaStates = std::array<uint8_t, 12>;
constexpr LzmaStates lzma_next_state_LIT = {0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 4, 5};
constexpr LzmaStates lzma_next_state_MATCH = {7, 7, 7, 7, 7, 7, 7, 10, 10, 10, 10, 10};
/* Kept: after a literal a short repeat goes to 8 and a long one to 9, the
 * published model's two swapped; stored streams are coded in these states. */
constexpr LzmaStates lzma_next_state_SHORTREP = {8, 8, 8, 8, 8, 8, 8, 11, 11, 11, 11, 11};
constexpr LzmaStates lzma_next_state_LONGREP = {9, 9, 9, 9, 9, 9, 9, 11, 11, 11, 11, 11};

void lzma_init_probs(B_LZMA_T *z) {
    auto fill = [](RANGE_PROB *p, size_t count) {
        for (; count >= lzma_static_init_probs.size(); count -= lzma_static_init_probs.size()) {
            std::memcpy(p, lzma_static_init_probs.data(), sizeof lzma_static_init_probs);
            p += lzma_static_init_probs.size();
        }
        std::memcpy(p, lzma_static_init_probs.data(), count * sizeof(RANGE_PROB));
    };
    fill(&z->probs.is_match[0][0], kProbBlock / sizeof(RANGE_PROB));
    fill(z->probs.lit, z->lit_len);
}

/* The literal models of a position: 768 per context of the previous byte's
 * top lc bits and the position's low lp bits. */
RANGE_PROB *lzma_lit_probs(B_LZMA_T *z, size_t pos, uint32_t prev_byte) {
    const uint32_t low = static_cast<uint32_t>(pos) & z->lp_mask;
    const uint32_t ctx = (prev_byte >> (8 - z->props.lc)) + (low << z->props.lc);
    return z->probs.lit + kLitModels * ctx;
}

/* Distance less 1 to its slot: the bit length and the bit below the top. */
uint32_t lzma_calc_dist_slot(uint32_t dist) {
    if (dist < 4) return dist;
    const auto bits = static_cast<uint32_t>(std::bit_width(dist));
    return 2 * (bits - 1) + ((dist >> (bits - 2)) & 1);
}

// ---- Range encoder.

/* The encoder's registers while one stream is coded; the record takes them
 * back at the end. A failure of the output sticks: later bytes are dropped,
 * the arithmetic goes on, and the caller looks once per packet. */
struct LzmaEncoder {
    RANGE_ENCODER_OUTPUT_FCN fcn;
    void *user_data;
    uint64_t low;
    uint64_t cache_size;
    uint32_t range;
    uint8_t cache;
    ZEL_RETCODE failed;
};

void re_start(LzmaEncoder *e, const B_RANGE_ENCODER_T *rec) {
    *e = LzmaEncoder{rec->output_fcn, rec->user_data, 0, 1, UINT32_MAX, 0, sOKAY};
}

void re_store(const LzmaEncoder *e, B_RANGE_ENCODER_T *rec) {
    rec->low = e->low;
    rec->cache_size = e->cache_size;
    rec->range = e->range;
    rec->cache = e->cache;
}

/* Shifts the top byte of `low` out; a carry raises the held-back cache byte
 * and turns the 0xFF bytes after it into 0x00. */
void re_normalize(LzmaEncoder *e) {
    if (static_cast<uint32_t>(e->low) < 0xFF000000u || (e->low >> 32) != 0) {
        const auto carry = static_cast<uint8_t>(e->low >> 32);
        uint8_t temp = e->cache;
        do {
            if (e->failed == sOKAY) {
                const ZEL_RETCODE rc = e->fcn(e->user_data, static_cast<uint8_t>(temp + carry));
                if (rc != sOKAY) e->failed = rc;
            }
            temp = 0xFF;
        } while (--e->cache_size != 0);
        e->cache = static_cast<uint8_t>(e->low >> 24);
    }
    e->cache_size++;
    e->low = (e->low & 0x00FFFFFFu) << 8;
}

/* Kept: the range is normalised before each bit rather than after, as the
 * published coder does; the last bytes of every stream depend on it. */
inline void re_before_bit(LzmaEncoder *e) {
    if (e->range < kTop) {
        e->range <<= 8;
        re_normalize(e);
    }
}

inline void re_encode_context_zero_bit(LzmaEncoder *e, RANGE_PROB *p) {
    re_before_bit(e);
    e->range = (e->range >> kProbBits) * *p;
    *p = static_cast<RANGE_PROB>(*p + ((kProbOne - *p) >> kMoveBits));
}

inline void re_encode_context_one_bit(LzmaEncoder *e, RANGE_PROB *p) {
    re_before_bit(e);
    const uint32_t bound = (e->range >> kProbBits) * *p;
    e->low += bound;
    e->range -= bound;
    *p = static_cast<RANGE_PROB>(*p - (*p >> kMoveBits));
}

inline void re_encode_bit(LzmaEncoder *e, RANGE_PROB *p, uint32_t bit) {
    if (bit == 0) {
        re_encode_context_zero_bit(e, p);
    } else {
        re_encode_context_one_bit(e, p);
    }
}

void re_encode_direct_bits(LzmaEncoder *e, uint32_t value, uint32_t bits) {
    while (bits-- != 0) {
        re_before_bit(e);
        e->range >>= 1;
        if (((value >> bits) & 1) != 0) e->low += e->range;
    }
}

/* Most significant bit first; node m uses probs[m - 1]. */
void re_encode_rctree(LzmaEncoder *e, RANGE_PROB *probs, uint32_t bits, uint32_t value) {
    uint32_t m = 1;
    while (bits-- != 0) {
        const uint32_t bit = (value >> bits) & 1;
        re_encode_bit(e, &probs[m - 1], bit);
        m = (m << 1) | bit;
    }
}

void re_encode_rctree_reverse(LzmaEncoder *e, RANGE_PROB *probs, uint32_t bits, uint32_t value) {
    uint32_t m = 1;
    for (uint32_t i = 0; i < bits; i++) {
        const uint32_t bit = (value >> i) & 1;
        re_encode_bit(e, &probs[m - 1], bit);
        m = (m << 1) | bit;
    }
}

/* A plain literal's node s uses probs[s]; while its bits follow the match
 * byte, node s under match bit b uses probs[0x100 + (b << 8) + s]. */
void re_encode_literal(LzmaEncoder *e, RANGE_PROB *probs, uint32_t byte) {
    uint32_t symbol = 1;
    for (int i = 7; i >= 0; i--) {
        const uint32_t bit = (byte >> i) & 1;
        re_encode_bit(e, &probs[symbol], bit);
        symbol = (symbol << 1) | bit;
    }
}

void re_encode_matched_literal(LzmaEncoder *e, RANGE_PROB *probs, uint32_t byte,
                               uint32_t match_byte) {
    uint32_t symbol = 1;
    bool same = true;
    for (int i = 7; i >= 0; i--) {
        const uint32_t bit = (byte >> i) & 1;
        if (same) {
            const uint32_t match_bit = (match_byte >> i) & 1;
            re_encode_bit(e, &probs[0x100 + (match_bit << 8) + symbol], bit);
            same = match_bit == bit;
        } else {
            re_encode_bit(e, &probs[symbol], bit);
        }
        symbol = (symbol << 1) | bit;
    }
}

void re_finish(LzmaEncoder *e) {
    for (int i = 0; i < 5; i++) re_normalize(e);
}

// ---- Range decoder.

/* The input function of a stream, and the first code it gave other than
 * sOKAY. From then on zeros stand in for the missing bytes; the caller looks
 * once per packet and throws the packet away. */
struct LzmaInput {
    RANGE_DECODER_INPUT_FCN fcn;
    void *user_data;
    ZEL_RETCODE stop;
};

/* The decoder's registers. Bytes come straight from `next` while it is below
 * `end` (the source's bytes, when the input is the library's own function),
 * then through the input function. Its address is never taken, so that it
 * can live in registers. */
struct LzmaDecoder {
    const uint8_t *next;
    const uint8_t *end;
    uint32_t range;
    uint32_t code;
    LzmaInput *input;
};

[[gnu::noinline]] uint32_t rd_next_slow(LzmaInput *in) {
    uint8_t byte = 0;
    const ZEL_RETCODE rc = in->fcn(in->user_data, &byte);
    if (rc == sOKAY) return byte;
    if (in->stop == sOKAY) in->stop = rc;
    return 0;
}

inline uint32_t rd_next(LzmaDecoder *d) {
    return d->next != d->end ? *d->next++ : rd_next_slow(d->input);
}

/* Kept: the first of the five bytes is not checked to be zero. */
void rd_start(LzmaDecoder *d, LzmaInput *in, const uint8_t *next, const uint8_t *end) {
    *d = LzmaDecoder{next, end, UINT32_MAX, 0, in};
    for (int i = 0; i < 5; i++) d->code = (d->code << 8) | rd_next(d);
}

inline void rd_before_bit(LzmaDecoder *d) {
    if (d->range < kTop) {
        d->range <<= 8;
        d->code = (d->code << 8) | rd_next(d);
    }
}

inline uint32_t rd_decode_context_bit(LzmaDecoder *d, RANGE_PROB *p) {
    rd_before_bit(d);
    const uint32_t bound = (d->range >> kProbBits) * *p;
    if (d->code < bound) {
        d->range = bound;
        *p = static_cast<RANGE_PROB>(*p + ((kProbOne - *p) >> kMoveBits));
        return 0;
    }
    d->range -= bound;
    d->code -= bound;
    *p = static_cast<RANGE_PROB>(*p - (*p >> kMoveBits));
    return 1;
}

inline uint32_t rd_decode_direct_bits(LzmaDecoder *d, uint32_t bits) {
    uint32_t value = 0;
    while (bits-- != 0) {
        rd_before_bit(d);
        d->range >>= 1;
        const uint32_t bit = d->code >= d->range ? 1 : 0;
        d->code -= d->range & (0u - bit);
        value = (value << 1) | bit;
    }
    return value;
}

inline uint32_t rd_decode_rctree(LzmaDecoder *d, RANGE_PROB *probs, uint32_t bits) {
    uint32_t m = 1;
    for (uint32_t i = 0; i < bits; i++) m = (m << 1) | rd_decode_context_bit(d, &probs[m - 1]);
    return m - (1u << bits);
}

inline uint32_t rd_decode_rctree_reverse(LzmaDecoder *d, RANGE_PROB *probs, uint32_t bits) {
    uint32_t m = 1;
    uint32_t value = 0;
    for (uint32_t i = 0; i < bits; i++) {
        const uint32_t bit = rd_decode_context_bit(d, &probs[m - 1]);
        m = (m << 1) | bit;
        value |= bit << i;
    }
    return value;
}

inline uint32_t rd_decode_literal(LzmaDecoder *d, RANGE_PROB *probs) {
    uint32_t symbol = 1;
    while (symbol < 0x100) symbol = (symbol << 1) | rd_decode_context_bit(d, &probs[symbol]);
    return symbol - 0x100;
}

inline uint32_t rd_decode_matched_literal(LzmaDecoder *d, RANGE_PROB *probs, uint32_t match_byte) {
    uint32_t symbol = 1;
    while (symbol < 0x100) {
        const uint32_t match_bit = (match_byte >> 7) & 1;
        match_byte <<= 1;
        const uint32_t bit = rd_decode_context_bit(d, &probs[0x100 + (match_bit << 8) + symbol]);
        symbol = (symbol << 1) | bit;
        if (bit != match_bit) {
            while (symbol < 0x100)
                symbol = (symbol << 1) | rd_decode_context_bit(d, &probs[symbol]);
            break;
        }
    }
    return symbol - 0x100;
}

// ---- Match finder.

/* Equal bytes of data[a..] and data[b..] from `len` on, up to `cap`; a < b
 * and b + cap within the data. */
inline uint32_t lzma_matchLen(const uint8_t *data, uint32_t a, uint32_t b, uint32_t len,
                              uint32_t cap) {
    while (len + 8 <= cap) {
        uint64_t x;
        uint64_t y;
        std::memcpy(&x, data + a + len, 8);
        std::memcpy(&y, data + b + len, 8);
        if (x != y) {
            const uint64_t diff = x ^ y;
            if constexpr (std::endian::native == std::endian::little) {
                return len + static_cast<uint32_t>(std::countr_zero(diff)) / 8;
            } else {
                return len + static_cast<uint32_t>(std::countl_zero(diff)) / 8;
            }
        }
        len += 8;
    }
    while (len < cap && data[a + len] == data[b + len]) len++;
    return len;
}

/* The exact hash of a position: its byte and the next. */
inline uint32_t lzma_hash(const uint8_t *data, uint32_t pos) {
    return (uint32_t{data[pos]} << 8) | data[pos + 1];
}

/* The match of `position` seen from `lookup`, two positions of one hash: the
 * input left (at most 273) when that is under 3, else 2 and the equal bytes
 * after, within the same cap. */
LZ77_SEQ lzma_decode(const uint8_t *data, uint32_t n, uint32_t lookup, uint32_t position) {
    const uint32_t left = n - lookup;
    const uint32_t cap = std::min(left, kMatchMax);
    const uint32_t len = left < 3 ? cap : lzma_matchLen(data, position, lookup, 2, cap);
    return LZ77_SEQ{lookup - 1 - position, len};
}

void lzmaDict_reset(B_LZMA_DICT_T *dict) {
    dict->dict_size = B_LZMA_DICT_SIZE;
    dict->slot = 0;
    dict->next_add = 0;
}

/* Enters position `p` (the next one due) into the tree of its prefix and, with
 * `matches`, lists on the way the nearest position that reaches each length.
 * Root insertion: the old tree is split along the search path into the parts
 * below and above p. A position equal to p as far as p can see is replaced by
 * it, being no nearer and no longer for anyone after. The last byte, with no
 * pair, is counted but not entered. */
void lzmaDict_findMatches(B_LZMA_DICT_T *dict, const uint8_t *data, uint32_t n, uint32_t p,
                          LZMA_DICT_MATCHES *matches) {
    const uint32_t slot = dict->slot;
    dict->slot = slot + 1 == B_LZMA_TREE_SLOTS ? 0 : slot + 1;
    dict->next_add = p + 1;
    uint32_t num = 0;
    if (p + 1 < n) {
        uint32_t *const root = &dict->hash[lzma_hash(data, p)];
        uint32_t cur = *root;
        *root = p;
        uint32_t *below = &dict->tree[2 * slot];
        uint32_t *above = &dict->tree[2 * slot + 1];
        uint32_t len_below = kMatchMin; /* every position of this tree shares two bytes */
        uint32_t len_above = kMatchMin;
        uint32_t longest = kMatchMin - 1;
        const uint32_t cap = std::min(n - p, kMatchMax);
        for (;;) {
            const uint32_t delta = p - cur;
            if (cur >= p || delta > dict->dict_size) { /* none, or out of the window */
                *below = kNone;
                *above = kNone;
                break;
            }
            const uint32_t s = slot >= delta ? slot - delta : slot + B_LZMA_TREE_SLOTS - delta;
            uint32_t *const node = &dict->tree[2 * s];
            const uint32_t len = lzma_matchLen(data, cur, p, std::min(len_below, len_above), cap);
            if (len > longest) {
                longest = len;
                if (matches != nullptr) matches->lz77[num++] = LZ77_SEQ{delta - 1, len};
            }
            if (len == cap) {
                *below = node[0];
                *above = node[1];
                break;
            }
            if (data[cur + len] < data[p + len]) {
                *below = cur;
                below = &node[1];
                cur = node[1];
                len_below = len;
            } else {
                *above = cur;
                above = &node[0];
                cur = node[0];
                len_above = len;
            }
        }
    }
    if (matches != nullptr) {
        matches->num = num;
        matches->best_ndx = num == 0 ? 0 : num - 1;
        matches->best = num == 0 ? nullptr : &matches->lz77[num - 1];
    }
}

/* Enters the positions of a packet after its first, those not entered yet by
 * a lookahead, without keeping their matches. */
void lzmaDict_add(B_LZMA_DICT_T *dict, const uint8_t *data, uint32_t n, uint32_t end) {
    while (dict->next_add < end) lzmaDict_findMatches(dict, data, n, dict->next_add, nullptr);
}

/* Back to an empty dictionary for the next object: only the roots that this
 * object set, or all of them when that is cheaper. Tree entries are written
 * before they are read and need nothing. */
void lzmaDict_clear(B_LZMA_DICT_T *dict, const uint8_t *data, uint32_t n) {
    const uint32_t entered = std::min(dict->next_add, n == 0 ? 0 : n - 1);
    if (entered > B_LZMA_HASH_SIZE / 4) {
        std::memset(dict->hash, 0xFF, sizeof dict->hash);
    } else {
        for (uint32_t p = 0; p < entered; p++) dict->hash[lzma_hash(data, p)] = kNone;
    }
    lzmaDict_reset(dict);
}

// ---- Choosing a packet.

LZMA_MATCHES *lzma_take_list(B_LZMA_T *z) {
    LZMA_MATCHES *list = z->avail;
    z->avail = list->next;
    list->next = nullptr;
    return list;
}

void lzma_give_list(B_LZMA_T *z, LZMA_MATCHES *list) {
    list->next = z->avail;
    z->avail = list;
}

struct LzmaChoice {
    LZMA_PACKET_TYPE type;
    uint32_t pos; /* distance less 1 of a match, the repeat number of a repeat */
    uint32_t len;
};

constexpr LzmaChoice kLiteral = {LZMA_LIT_PACKET, 0, 1};

/* The repeat distance with the longest match here, as a walk along the
 * prefix's positions would list it: a position 3 or more shorter than a
 * nearer one is not listed. On equal length the nearer wins, then the lower
 * number. kNone when there is none. */
uint32_t lzma_find_best_repeated_distance_match(const B_LZMA_T *z, const uint8_t *data, uint32_t n,
                                                const LZMA_DICT_MATCHES *m, uint32_t *rep_len) {
    const uint32_t ip = z->input_pos;
    uint32_t rep = kNone;
    uint32_t best_len = 0;
    for (uint32_t i = 0; i < 4; i++) {
        const uint32_t r = z->reps[i];
        if (r >= ip || r >= z->dict.dict_size) continue;
        const uint32_t q = ip - 1 - r;
        if (data[q] != data[ip] || data[q + 1] != data[ip + 1]) continue;
        const uint32_t len = lzma_decode(data, n, ip, q).len;
        uint32_t nearer = 0; /* the longest match of a nearer position */
        for (uint32_t k = 0; k < m->num && m->lz77[k].pos < r; k++) nearer = m->lz77[k].len;
        if (nearer != 0 && len + 3 < nearer) continue;
        if (len > best_len || (len == best_len && r < z->reps[rep])) {
            rep = i;
            best_len = len;
        }
    }
    *rep_len = best_len;
    return rep;
}

/* While a position under pos / 128 reaches len - 1, it replaces the best. */
void lzma_check_for_closer_option(const LZMA_DICT_MATCHES *m, uint32_t *len, uint32_t *pos) {
    while (*pos / 128 > m->lz77[0].pos) {
        const LZ77_SEQ *hit = nullptr;
        for (uint32_t k = 0; k < m->num && hit == nullptr; k++) {
            if (m->lz77[k].len + 1 >= *len) hit = &m->lz77[k];
        }
        if (hit == nullptr || hit->pos >= *pos / 128) break;
        *len = hit->len;
        *pos = hit->pos;
    }
}

/* The packet at input_pos; enters input_pos (and with a lookahead the next). */
LzmaChoice lzma_find_match(B_LZMA_T *z, const uint8_t *data, uint32_t n) {
    const uint32_t ip = z->input_pos;
    if (z->next_byte != nullptr) {
        z->curr_byte = z->next_byte;
        z->next_byte = nullptr;
    } else {
        z->curr_byte = lzma_take_list(z);
        lzmaDict_findMatches(&z->dict, data, n, ip, &z->curr_byte->matches);
    }
    const LZMA_DICT_MATCHES *m = &z->curr_byte->matches;
    if (m->num == 0) return kLiteral;
    uint32_t len = m->best->len;
    uint32_t pos = m->best->pos;
    uint32_t rep_len = 0;
    const uint32_t rep = lzma_find_best_repeated_distance_match(z, data, n, m, &rep_len);
    if (len >= 64) {
        return rep != kNone ? LzmaChoice{LZMA_LONGREP_PACKET, rep, rep_len}
                            : LzmaChoice{LZMA_MATCH_PACKET, pos, len};
    }
    lzma_check_for_closer_option(m, &len, &pos);
    if (len == 2 && pos >= 128) len = 1;
    if (rep != kNone && (rep_len + 1 >= len || (rep_len + 2 >= len && pos >= 512))) {
        return LzmaChoice{LZMA_LONGREP_PACKET, rep, rep_len};
    }
    if (len < 2) return kLiteral;
    LZMA_MATCHES *next = lzma_take_list(z);
    lzmaDict_findMatches(&z->dict, data, n, ip + 1, &next->matches);
    if (next->matches.num != 0) {
        const uint32_t next_len = next->matches.best->len;
        const uint32_t next_pos = next->matches.best->pos;
        if (next_len > len + 1 || (next_len > len && next_pos / 128 <= pos) ||
            (next_len > len - 1 && next_pos < pos) ||
            (next_len > len - 2 && len > 2 && next_pos < pos / 128)) {
            z->next_byte = next;
            return kLiteral;
        }
    }
    lzma_give_list(z, next);
    if (rep == kNone || rep_len < len - 1) return LzmaChoice{LZMA_MATCH_PACKET, pos, len};
    return LzmaChoice{LZMA_LONGREP_PACKET, rep, rep_len};
}

// ---- Coding packets.

/* Kept: one length coder serves matches and repeats alike (the published
 * model has a second for repeats); stored streams are coded with it. */
void lzma_encode_len(LzmaEncoder *e, LZMA_PROBS *p, uint32_t len, uint32_t pos_state) {
    const uint32_t v = len - kMatchMin;
    if (v < 8) {
        re_encode_context_zero_bit(e, &p->choice);
        re_encode_rctree(e, &p->low[8 * pos_state], 3, v);
    } else if (v < 16) {
        re_encode_context_one_bit(e, &p->choice);
        re_encode_context_zero_bit(e, &p->choice2);
        re_encode_rctree(e, &p->mid[8 * pos_state], 3, v - 8);
    } else {
        re_encode_context_one_bit(e, &p->choice);
        re_encode_context_one_bit(e, &p->choice2);
        re_encode_rctree(e, p->high, 8, v - 16);
    }
}

/* Slots below 4 are the distance; up to 13 a reverse tree in dist_special,
 * each slot with models of its own at base - slot; above, direct bits and a
 * 4-bit reverse tree in dist_align. */
void lzma_encode_distance(LzmaEncoder *e, LZMA_PROBS *p, uint32_t dist, uint32_t len) {
    const uint32_t slot = lzma_calc_dist_slot(dist);
    re_encode_rctree(e, p->dist_slot[std::min(len - kMatchMin, 3u)], 6, slot);
    if (slot < 4) return;
    const uint32_t footer = (slot >> 1) - 1;
    const uint32_t base = (2 | (slot & 1)) << footer;
    if (slot < 14) {
        re_encode_rctree_reverse(e, p->dist_special + base - slot, footer, dist - base);
    } else {
        re_encode_direct_bits(e, (dist - base) >> 4, footer - 4);
        re_encode_rctree_reverse(e, p->dist_align, 4, (dist - base) & 15);
    }
}

void lzma_encode_LIT(B_LZMA_T *z, LzmaEncoder *e, const uint8_t *data, uint32_t ip) {
    re_encode_context_zero_bit(e, &z->probs.is_match[z->state][ip & z->pb_mask]);
    RANGE_PROB *probs = lzma_lit_probs(z, ip, ip == 0 ? 0 : data[ip - 1]);
    if (z->state < kLitStates) {
        re_encode_literal(e, probs, data[ip]);
    } else {
        re_encode_matched_literal(e, probs, data[ip], data[ip - z->reps[0] - 1]);
    }
    z->state = lzma_next_state_LIT[z->state];
}

void lzma_encode_MATCH(B_LZMA_T *z, LzmaEncoder *e, uint32_t ip, uint32_t dist, uint32_t len) {
    const uint32_t pos_state = ip & z->pb_mask;
    re_encode_context_one_bit(e, &z->probs.is_match[z->state][pos_state]);
    re_encode_context_zero_bit(e, &z->probs.rep[z->state]);
    lzma_encode_len(e, &z->probs, len, pos_state);
    lzma_encode_distance(e, &z->probs, dist, len);
    z->reps[3] = z->reps[2];
    z->reps[2] = z->reps[1];
    z->reps[1] = z->reps[0];
    z->reps[0] = dist;
    z->state = lzma_next_state_MATCH[z->state];
}

/* The selector of a long repeat of each number; the used distance moves to
 * the front. */
void lzma_encode_LONGREP0(B_LZMA_T *z, LzmaEncoder *e, uint32_t pos_state) {
    re_encode_context_zero_bit(e, &z->probs.rep0[z->state]);
    re_encode_context_one_bit(e, &z->probs.rep0_long[z->state][pos_state]);
}

void lzma_encode_LONGREP1(B_LZMA_T *z, LzmaEncoder *e, uint32_t /*pos_state*/) {
    re_encode_context_one_bit(e, &z->probs.rep0[z->state]);
    re_encode_context_zero_bit(e, &z->probs.rep1[z->state]);
    std::swap(z->reps[0], z->reps[1]);
}

void lzma_encode_LONGREP2(B_LZMA_T *z, LzmaEncoder *e, uint32_t /*pos_state*/) {
    re_encode_context_one_bit(e, &z->probs.rep0[z->state]);
    re_encode_context_one_bit(e, &z->probs.rep1[z->state]);
    re_encode_context_zero_bit(e, &z->probs.rep2[z->state]);
    const uint32_t dist = z->reps[2];
    z->reps[2] = z->reps[1];
    z->reps[1] = z->reps[0];
    z->reps[0] = dist;
}

void lzma_encode_LONGREP3(B_LZMA_T *z, LzmaEncoder *e, uint32_t /*pos_state*/) {
    re_encode_context_one_bit(e, &z->probs.rep0[z->state]);
    re_encode_context_one_bit(e, &z->probs.rep1[z->state]);
    re_encode_context_one_bit(e, &z->probs.rep2[z->state]);
    const uint32_t dist = z->reps[3];
    z->reps[3] = z->reps[2];
    z->reps[2] = z->reps[1];
    z->reps[1] = z->reps[0];
    z->reps[0] = dist;
}

using LzmaLongRepFcn = void (*)(B_LZMA_T *, LzmaEncoder *, uint32_t);
constexpr std::array<LzmaLongRepFcn, 4> lzma_longrep_fcns = {
    lzma_encode_LONGREP0, lzma_encode_LONGREP1, lzma_encode_LONGREP2, lzma_encode_LONGREP3};

void lzma_encode_REP(B_LZMA_T *z, LzmaEncoder *e, uint32_t ip, uint32_t rep, uint32_t len) {
    const uint32_t pos_state = ip & z->pb_mask;
    re_encode_context_one_bit(e, &z->probs.is_match[z->state][pos_state]);
    re_encode_context_one_bit(e, &z->probs.rep[z->state]);
    if (rep == 0 && len == 1) { /* never chosen: every match is 2 or longer */
        re_encode_context_zero_bit(e, &z->probs.rep0[z->state]);
        re_encode_context_zero_bit(e, &z->probs.rep0_long[z->state][pos_state]);
        z->state = lzma_next_state_SHORTREP[z->state];
        return;
    }
    lzma_longrep_fcns[rep](z, e, pos_state);
    lzma_encode_len(e, &z->probs, len, pos_state);
    z->state = lzma_next_state_LONGREP[z->state];
}

// ---- Compress.

ZEL_RETCODE lzma_compress_output_fcn(void *user_data, uint8_t byte) {
    auto *z = static_cast<B_LZMA_T *>(user_data);
    B_BUFFER_T *out = z->output;
    ZEL_RETCODE rc;
    if (z->output_pos == UINT32_MAX) return eRANGE; /* the position is 32 bits */
    if (z->output_pos >= out->size)
        ZEL_CHECK(rc = b_bufferIncreaseSize(out, out->size + kGrowStep));
    out->data.bin[z->output_pos++] = byte;
    return sOKAY;
}

ZEL_RETCODE lzma_compress_packets(B_LZMA_T *z, const uint8_t *data, uint32_t n) {
    LzmaEncoder e;
    re_start(&e, &z->encoder);
    while (z->input_pos < n) {
        const uint32_t ip = z->input_pos;
        const LzmaChoice c = lzma_find_match(z, data, n);
        const uint32_t state = z->state;
        switch (c.type) {
            case LZMA_LIT_PACKET:
                lzma_encode_LIT(z, &e, data, ip);
                break;
            case LZMA_MATCH_PACKET:
                lzma_encode_MATCH(z, &e, ip, c.pos, c.len);
                break;
            default:
                lzma_encode_REP(z, &e, ip, c.pos, c.len);
                break;
        }
        lzma_give_list(z, z->curr_byte);
        z->curr_byte = nullptr;
        if (e.failed != sOKAY) break;
        if (z->trace_fcn != nullptr) {
            const LZMA_PACKET packet = {c.type, ip, c.pos, c.len, state};
            z->trace_fcn(z->trace_ctx, &packet);
        }
        z->input_pos = ip + c.len;
        lzmaDict_add(&z->dict, data, n, z->input_pos);
    }
    if (e.failed == sOKAY) re_finish(&e);
    re_store(&e, &z->encoder);
    return e.failed;
}

ZEL_RETCODE lzma_compress(B_LZMA_T *z, const B_BUFFER_T *src, B_BUFFER_T *dst) {
    if (z == nullptr || src == nullptr || dst == nullptr) return eINVNULLARG;
    if (z->probs.lit == nullptr) return eINVFCNSEQ;
    const size_t n = src->len;
    if (n > kSourceMax) return eRANGE;
    const size_t saved_len = dst->len;
    ZEL_RETCODE rc;
    /* Room for the output at once, where dst can grow; a source that will not
     * compress grows by about 2 percent. If this fails, growth goes on by 256
     * and fails where it must. */
    if (dst->subTag != nullptr) (void)b_bufferIncreaseSize(dst, dst->len + n + n / 32 + 64);
    /* Kept: the length as a stored varint, written byte by byte before the
     * coder starts, and no LZMA header, properties or end marker; stored
     * objects are framed so. */
    ZEL_CHECK_GOTO(rc, b_vintEncodeUIntmax(n, b_bufferEmitByte, dst), fail);
    rc = eRANGE; /* the output position is 32 bits, and so is dst's len here */
    if (dst->len > kSourceMax) goto fail;
    z->output = dst;
    z->output_pos = static_cast<uint32_t>(dst->len);
    z->input = src;
    z->input_pos = 0;
    z->result_size = n;
    z->state = 0;
    std::memset(z->reps, 0, sizeof z->reps);
    z->next_byte = nullptr;
    lzma_init_probs(z);
    lzmaDict_reset(&z->dict);
    rc = lzma_compress_packets(z, src->data.bin, static_cast<uint32_t>(n));
    lzmaDict_clear(&z->dict, src->data.bin, static_cast<uint32_t>(n));
    if (z->next_byte != nullptr) lzma_give_list(z, z->next_byte);
    z->next_byte = nullptr;
    if (rc != sOKAY) goto fail;
    dst->len = z->output_pos;
    return sOKAY;
fail:
    dst->len = saved_len;
    return rc;
}

// ---- Decompress.

ZEL_RETCODE lzma_decompress_input_fcn(void *user_data, uint8_t *byte) {
    auto *z = static_cast<B_LZMA_T *>(user_data);
    if (z->input->len == 0) return sNOTFOUND;
    if (z->input_pos >= z->input->len) return sEOS;
    *byte = z->input->data.bin[z->input_pos++];
    return sOKAY;
}

/* The length varint's bytes, within the source. */
ZEL_RETCODE lzmaInput(B_INPUT_CTX ctx, uint32_t *byte) {
    auto *z = static_cast<B_LZMA_T *>(ctx);
    if (z->input_pos >= z->input->len) return eEOD;
    *byte = z->input->data.bin[z->input_pos++];
    return sOKAY;
}

/* No stream of n coded bytes decodes to more than this: every bit narrows the
 * range by at least 0.0218 bits (the models stay within 31..2017 of 2048),
 * the range never falls below 2^17.9, and a packet takes at least 8 bits for
 * at most 273 bytes. So a forged length reserves no more than the stream can
 * fill. */
size_t lzma_output_bound(size_t coded) {
    const size_t per_byte = 12600;
    return coded > (SIZE_MAX - 24576) / per_byte ? SIZE_MAX : coded * per_byte + 24576;
}

/* Room for `need` bytes of output, growing by steps of 256. */
ZEL_RETCODE lzma_output_room(B_BUFFER_T *out, size_t need) {
    if (need <= out->size) return sOKAY;
    const size_t steps = (need - out->size + kGrowStep - 1) / kGrowStep;
    return b_bufferIncreaseSize(out, out->size + steps * kGrowStep);
}

inline uint32_t lzma_decode_len(LzmaDecoder *d, LZMA_PROBS *p, uint32_t pos_state) {
    if (rd_decode_context_bit(d, &p->choice) == 0)
        return kMatchMin + rd_decode_rctree(d, &p->low[8 * pos_state], 3);
    if (rd_decode_context_bit(d, &p->choice2) == 0)
        return kMatchMin + 8 + rd_decode_rctree(d, &p->mid[8 * pos_state], 3);
    return kMatchMin + 16 + rd_decode_rctree(d, p->high, 8);
}

inline uint32_t lzma_decode_distance(LzmaDecoder *d, LZMA_PROBS *p, uint32_t len) {
    const uint32_t slot = rd_decode_rctree(d, p->dist_slot[std::min(len - kMatchMin, 3u)], 6);
    if (slot < 4) return slot;
    const uint32_t footer = (slot >> 1) - 1;
    const uint32_t base = (2 | (slot & 1)) << footer;
    if (slot < 14) return base + rd_decode_rctree_reverse(d, p->dist_special + base - slot, footer);
    const uint32_t high = rd_decode_direct_bits(d, footer - 4) << 4;
    return base + high + rd_decode_rctree_reverse(d, p->dist_align, 4);
}

/* Copies `len` bytes from `dist` + 1 back; overlapping runs repeat. */
void lzma_output_copy(uint8_t *out, size_t pos, uint32_t dist, uint32_t len) {
    const uint8_t *from = out + pos - dist - 1;
    uint8_t *to = out + pos;
    const uint32_t span = dist + 1;
    if (span == 1) {
        std::memset(to, *from, len);
    } else if (span >= len) {
        std::memcpy(to, from, len);
    } else {
        /* An overlapping run repeats its first `span` bytes: copy in chunks
         * that never reach past what is already written. */
        uint32_t i = 0;
        if (span >= 8) {
            for (; i + 8 <= len; i += 8) std::memcpy(to + i, from + i, 8);
        }
        for (; i < len; i++) to[i] = from[i];
    }
}

/* Runs the packets into z->output; the output length goes to *out_len.
 * sOKAY (also when the input ended), 2 on a short repeat, or a failure. The
 * state, distances and output address live in locals: every byte stored may
 * alias the context, and the loop would reload them all. */
ZEL_RETCODE lzma_decompress_packets(B_LZMA_T *z, size_t *out_len) {
    LZMA_PROBS *p = &z->probs;
    B_BUFFER_T *out = z->output;
    uint8_t *buf = out->data.bin;
    size_t room = out->size;
    const size_t size = z->result_size;
    const uint32_t pb_mask = z->pb_mask;
    uint32_t state = 0;
    uint32_t reps[4] = {0, 0, 0, 0};
    /* The source's own bytes are read in place; the input function then
     * answers for its end. */
    const uint8_t *next = nullptr;
    const uint8_t *end = nullptr;
    if (z->decoder.input_fcn == lzma_decompress_input_fcn && z->input->len != 0) {
        next = z->input->data.bin + z->input_pos;
        end = z->input->data.bin + z->input->len;
        z->input_pos = static_cast<uint32_t>(z->input->len); /* what the function sees */
    }
    LzmaInput in = {z->decoder.input_fcn, z->decoder.user_data, sOKAY};
    LzmaDecoder d;
    rd_start(&d, &in, next, end);
    size_t pos = 0; /* a last copy may pass the size, and 32 bits */
    ZEL_RETCODE rc = sOKAY;
    while (in.stop == sOKAY && pos < size) {
        const uint32_t pos_state = static_cast<uint32_t>(pos) & pb_mask;
        if (rd_decode_context_bit(&d, &p->is_match[state][pos_state]) == 0) {
            RANGE_PROB *probs = lzma_lit_probs(z, pos, pos == 0 ? 0 : buf[pos - 1]);
            const uint32_t byte =
                state < kLitStates ? rd_decode_literal(&d, probs)
                                   : rd_decode_matched_literal(&d, probs, buf[pos - reps[0] - 1]);
            if (in.stop != sOKAY) break;
            if (pos >= room) {
                if ((rc = lzma_output_room(out, pos + 1)) != sOKAY) break;
                buf = out->data.bin;
                room = out->size;
            }
            buf[pos++] = static_cast<uint8_t>(byte);
            state = lzma_next_state_LIT[state];
            continue;
        }
        uint32_t len;
        if (rd_decode_context_bit(&d, &p->rep[state]) == 0) {
            len = lzma_decode_len(&d, p, pos_state);
            const uint32_t dist = lzma_decode_distance(&d, p, len);
            if (in.stop != sOKAY) break;
            reps[3] = reps[2];
            reps[2] = reps[1];
            reps[1] = reps[0];
            reps[0] = dist;
            state = lzma_next_state_MATCH[state];
        } else {
            uint32_t rep;
            if (rd_decode_context_bit(&d, &p->rep0[state]) == 0) {
                if (rd_decode_context_bit(&d, &p->rep0_long[state][pos_state]) == 0) {
                    if (in.stop != sOKAY) break;
                    /* Kept: a short repeat ends decoding with the value 2 and
                     * copies nothing; the encoder never writes one. */
                    rc = static_cast<ZEL_RETCODE>(LZMA_SHORTREP_PACKET);
                    break;
                }
                rep = 0;
            } else if (rd_decode_context_bit(&d, &p->rep1[state]) == 0) {
                rep = 1;
            } else {
                rep = rd_decode_context_bit(&d, &p->rep2[state]) == 0 ? 2 : 3;
            }
            len = lzma_decode_len(&d, p, pos_state);
            if (in.stop != sOKAY) break;
            const uint32_t dist = reps[rep];
            for (uint32_t i = rep; i > 0; i--) reps[i] = reps[i - 1];
            reps[0] = dist;
            state = lzma_next_state_LONGREP[state];
        }
        if (reps[0] >= pos) {
            rc = eDBCORRUPTED;
            break;
        }
        if (pos + len > room) {
            if ((rc = lzma_output_room(out, pos + len)) != sOKAY) break;
            buf = out->data.bin;
            room = out->size;
        }
        lzma_output_copy(buf, pos, reps[0], len);
        pos += len;
    }
    z->state = state;
    std::memcpy(z->reps, reps, sizeof reps);
    z->decoder.range = d.range;
    z->decoder.code = d.code;
    if (next != nullptr) z->input_pos = static_cast<uint32_t>(d.next - z->input->data.bin);
    z->output_pos = static_cast<uint32_t>(pos);
    *out_len = pos;
    /* Kept: an input that ends is no error; what was decoded stands, so a
     * cut object gives a shorter result and sOKAY. */
    if (rc == sOKAY && in.stop != sEOS) rc = in.stop;
    return rc;
}

}  // namespace

extern "C" {

ZEL_RETCODE b_lzmaInit(B_LZMA_T *lzma, B_TAG_SUB subTag) {
    if (lzma == nullptr || subTag == nullptr) return eINVNULLARG;
    std::memset(lzma, 0, sizeof *lzma);
    lzma->subTag = subTag;
    lzma->props = LZMA_PROPERTIES{kLc, kLp, kPb};
    lzma->lit_len = kLitLen;
    lzma->lp_mask = (1u << kLp) - 1;
    lzma->pb_mask = (1u << kPb) - 1;
    ZEL_RETCODE rc;
    ZEL_CHECK_GOTO(rc, b_tag_subAlloc(subTag, kLitLen * sizeof(RANGE_PROB), &lzma->probs.lit),
                   fail);
    for (int i = 0; i < 2; i++) {
        /* The list and room for the most entries it can hold, in one block. */
        LZMA_MATCHES *list = nullptr;
        ZEL_CHECK_GOTO(rc,
                       b_tag_subAllocClear(
                           subTag, sizeof(LZMA_MATCHES) + kMatchesMax * sizeof(LZ77_SEQ), &list),
                       fail);
        list->matches.size = kMatchesMax;
        list->matches.lz77 = reinterpret_cast<LZ77_SEQ *>(list + 1);
        lzma_give_list(lzma, list);
    }
    lzma->encoder = B_RANGE_ENCODER_T{lzma_compress_output_fcn, lzma, subTag, 0, 1, UINT32_MAX, 0};
    lzma->decoder = B_RANGE_DECODER_T{lzma_decompress_input_fcn, lzma, UINT32_MAX, 0};
    lzmaDict_reset(&lzma->dict);
    std::memset(lzma->dict.hash, 0xFF, sizeof lzma->dict.hash);
    return sOKAY;
fail:
    b_lzmaTerm(lzma);
    return rc;
}

void b_lzmaTerm(B_LZMA_T *lzma) {
    if (lzma == nullptr || lzma->subTag == nullptr) return;
    b_tag_subFreeCanBeNull(lzma->subTag, lzma->probs.lit);
    while (lzma->avail != nullptr) b_tag_subFree(lzma->subTag, lzma_take_list(lzma));
    std::memset(lzma, 0, sizeof *lzma);
}

ZEL_RETCODE b_lzmaCompress(B_LZMA_T *lzma, const B_BUFFER_T *src, B_BUFFER_T *dst) {
    return lzma_compress(lzma, src, dst);
}

ZEL_RETCODE b_lzmaTrace(B_LZMA_T *lzma, const B_BUFFER_T *src, B_BUFFER_T *dst, LZMA_TRACE_FCN fcn,
                        void *ctx) {
    if (lzma == nullptr) return eINVNULLARG;
    lzma->trace_fcn = fcn;
    lzma->trace_ctx = ctx;
    const ZEL_RETCODE rc = lzma_compress(lzma, src, dst);
    lzma->trace_fcn = nullptr;
    lzma->trace_ctx = nullptr;
    return rc;
}

ZEL_RETCODE b_lzmaDecompress(B_LZMA_T *lzma, const B_BUFFER_T *src, B_BUFFER_T *dst) {
    if (lzma == nullptr || src == nullptr || dst == nullptr) return eINVNULLARG;
    if (lzma->probs.lit == nullptr) return eINVFCNSEQ;
    if (src->len > kSourceMax) return eRANGE;
    lzma->input = src;
    lzma->input_pos = static_cast<uint32_t>(std::min(src->pos, src->len));
    lzma->output = dst;
    ZEL_RETCODE rc;
    uintmax_t size = 0;
    ZEL_CHECK(rc = b_vintDecodeUIntmax(lzmaInput, lzma, &size));
    if (size > kSourceMax) return eDBCORRUPTED;
    lzma->result_size = static_cast<size_t>(size);
    const size_t coded = src->len - lzma->input_pos;
    ZEL_CHECK(rc =
                  b_bufferIncreaseSize(dst, std::min(lzma->result_size, lzma_output_bound(coded))));
    lzma->state = 0;
    std::memset(lzma->reps, 0, sizeof lzma->reps);
    lzma_init_probs(lzma);
    size_t len = 0;
    rc = lzma_decompress_packets(lzma, &len);
    if (rc < 0) return rc;
    dst->len = len;
    return rc;
}

}  // extern "C"
