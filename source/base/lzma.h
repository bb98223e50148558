/*
 * lzma.h - the LZMA coder of stored objects: whole buffers, one context
 * reused for many objects. The coded stream is the published LZMA model
 * (range coder, literals, matches and repeats, twelve states) with lc 3,
 * lp 0, pb 2 fixed, a 16 KiB window and a greedy one-step chooser, framed
 * as the source length in the stored varint followed by the range coder's
 * bytes: no header, properties or end marker.
 *
 * A context (about 390 KiB) holds the match finder's tables: allocate it
 * from a tag, not on the stack. One thread at a time per context.
 */
/* Not LZMA_H: liblzma's lzma.h guards itself with that name, and a program
 * may well include both. */
#ifndef ZEL_LZMA_H
#define ZEL_LZMA_H

#include <stddef.h>
#include <stdint.h>

#include "buffer.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* An 11-bit probability that the next bit is 0. */
typedef uint16_t RANGE_PROB;

typedef ZEL_RETCODE (*RANGE_ENCODER_OUTPUT_FCN)(void *user_data, uint8_t byte);
typedef ZEL_RETCODE (*RANGE_DECODER_INPUT_FCN)(void *user_data, uint8_t *byte);

typedef struct B_RANGE_ENCODER_S {
    RANGE_ENCODER_OUTPUT_FCN output_fcn;
    void *user_data;
    B_TAG_SUB subTag;
    uint64_t low;        /* 32 bits and a carry */
    uint64_t cache_size; /* bytes held back: the cache and the 0xFF after it */
    uint32_t range;
    uint8_t cache; /* the byte a carry may still raise */
} B_RANGE_ENCODER_T;

typedef struct B_RANGE_DECODER_S {
    RANGE_DECODER_INPUT_FCN input_fcn;
    void *user_data;
    uint32_t range;
    uint32_t code;
} B_RANGE_DECODER_T;

/* A match: `pos` is the distance less 1, `len` its length. */
typedef struct LZ77_SEQ_S {
    uint32_t pos;
    uint32_t len;
} LZ77_SEQ;

/* The matches at one position: for each length, the nearest position that
 * reaches it, so both `pos` and `len` rise along the list and the last entry
 * is the best. */
typedef struct LZMA_DICT_MATCHES_S {
    uint32_t num;
    uint32_t size;
    uint32_t best_ndx;
    LZ77_SEQ *best; /* null when num is 0 */
    LZ77_SEQ *lz77;
} LZMA_DICT_MATCHES;

typedef struct LZMA_MATCHES_S {
    struct LZMA_MATCHES_S *next; /* free list link */
    LZMA_DICT_MATCHES matches;
} LZMA_MATCHES;

#define B_LZMA_DICT_SIZE 16384u
#define B_LZMA_HASH_SIZE 65536u
/* Slots of the match tree: the window and the position being entered. */
#define B_LZMA_TREE_SLOTS (B_LZMA_DICT_SIZE + 1u)

/* The match finder. `hash` holds the newest position of each two-byte
 * prefix, the root of that prefix's tree. `tree` orders the positions of one
 * prefix by the bytes that follow them, newer above older: for the position
 * in slot s, tree[2s] roots the older ones that sort below it and tree[2s+1]
 * those above. It stands where a chain of the positions of a prefix would,
 * and gives the same nearest matches without walking them all. Entries are
 * positions; all ones is none. */
typedef struct B_LZMA_DICT_S {
    uint32_t dict_size;
    uint32_t slot;     /* tree slot of the next position to enter */
    uint32_t next_add; /* the next position to enter */
    uint32_t hash[B_LZMA_HASH_SIZE];
    uint32_t tree[2 * B_LZMA_TREE_SLOTS];
} B_LZMA_DICT_T;

/* All bit models but the literals, in one block of 1332. */
typedef struct LZMA_PROBS_S {
    RANGE_PROB *lit; /* lit_len models */
    RANGE_PROB is_match[12][16];
    RANGE_PROB rep[12];
    RANGE_PROB rep0[12];
    RANGE_PROB rep0_long[12][16];
    RANGE_PROB rep1[12];
    RANGE_PROB rep2[12];
    RANGE_PROB dist_slot[4][64];
    RANGE_PROB dist_special[114];
    RANGE_PROB dist_align[16];
    RANGE_PROB choice;
    RANGE_PROB choice2;
    RANGE_PROB low[128];
    RANGE_PROB mid[128];
    RANGE_PROB high[256];
} LZMA_PROBS;

typedef struct LZMA_PROPERTIES_S {
    uint16_t lc;
    uint16_t lp;
    uint16_t pb;
} LZMA_PROPERTIES;

typedef enum LZMA_PACKET_TYPE_E {
    LZMA_LIT_PACKET = 0,
    LZMA_MATCH_PACKET = 1,
    LZMA_SHORTREP_PACKET = 2,
    LZMA_LONGREP_PACKET = 3
} LZMA_PACKET_TYPE;

/* One coded packet, as b_lzmaTrace reports it: `pos` is the distance less 1
 * for a match, the repeat number (0 to 3) for a repeat, 0 for a literal. */
typedef struct LZMA_PACKET_S {
    LZMA_PACKET_TYPE type;
    uint32_t input_pos;
    uint32_t pos;
    uint32_t len;
    uint32_t state; /* before the packet */
} LZMA_PACKET;

typedef void (*LZMA_TRACE_FCN)(void *ctx, const LZMA_PACKET *packet);

typedef struct B_LZMA_S {
    B_TAG_SUB subTag;
    B_RANGE_ENCODER_T encoder;
    B_RANGE_DECODER_T decoder;
    B_BUFFER_T *output;
    uint32_t output_pos;
    const B_BUFFER_T *input;
    uint32_t input_pos;
    size_t result_size;
    B_LZMA_DICT_T dict;
    LZMA_MATCHES *avail;
    LZMA_MATCHES *curr_byte;
    LZMA_MATCHES *next_byte;
    uint32_t lit_len;
    uint32_t lp_mask;
    uint32_t pb_mask;
    uint32_t state;
    LZMA_PROBS probs;
    LZMA_PROPERTIES props;
    uint32_t reps[4];
    LZMA_TRACE_FCN trace_fcn; /* null but in b_lzmaTrace */
    void *trace_ctx;
} B_LZMA_T;

/* Clears the context, sets lc 3, lp 0, pb 2 and allocates from `subTag` the
 * literal models and the two match lists. eINVNULLARG for a null argument;
 * the tag's code on failure, with everything freed and the context cleared. */
ZEL_NODISCARD ZEL_RETCODE b_lzmaInit(B_LZMA_T *lzma, B_TAG_SUB subTag);
/* Frees what b_lzmaInit took and clears the context; a cleared one is left. */
void b_lzmaTerm(B_LZMA_T *lzma);

/* Compresses src's bytes 0 to len, appending the length varint and the coded
 * bytes to dst. eRANGE for a source of 4 GiB or more (or a dst that would
 * pass 4 GiB); the buffer's code when dst cannot grow (eTRUNCATED for a
 * static one, the tag's otherwise). On a failure dst's len is as it was. */
ZEL_NODISCARD ZEL_RETCODE b_lzmaCompress(B_LZMA_T *lzma, const B_BUFFER_T *src, B_BUFFER_T *dst);
/* As b_lzmaCompress, and calls `fcn` with each packet as it is coded. */
ZEL_NODISCARD ZEL_RETCODE b_lzmaTrace(B_LZMA_T *lzma, const B_BUFFER_T *src, B_BUFFER_T *dst,
                                      LZMA_TRACE_FCN fcn, void *ctx);
/* Decompresses from src's pos into dst from its start and sets dst's len;
 * src's pos is left. sOKAY also for a stream that ends early: dst then holds
 * what was decoded before the end. 2 when the stream holds a short repeat
 * (which the encoder never writes): decoding stops there, dst holds what came
 * before. eEOD or eINVVARINT for a bad length varint, eDBCORRUPTED for a
 * length above 0xFFFFFFFF or a distance reaching before the output's start;
 * the buffer's code when dst cannot grow. On a failure dst's len is left. */
ZEL_NODISCARD ZEL_RETCODE b_lzmaDecompress(B_LZMA_T *lzma, const B_BUFFER_T *src, B_BUFFER_T *dst);

ZEL_EXTERN_C_END

#endif /* ZEL_LZMA_H */
