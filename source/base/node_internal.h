// node_internal.h - the entries of a key buffer as pairs of column id and
// packed value: written and read by index nodes, and by the buckets of hash
// keys, which write them in their own sense of null. C++ only.
#ifndef NODE_INTERNAL_H
#define NODE_INTERNAL_H

#include <cstdint>

#include "coder_types.h"
#include "schema_types.h"

namespace zel::detail {

// Which items of a buffer go out, and from what.
enum class NodePairs {
    holding,   // those holding a value (no has-value byte, or one not 0), as values
    all_raw,   // every item from its raw bytes, with no test for null
    unset_raw  // those with no has-value byte or one other than 1, from their raw bytes
};

// n, then n pairs of column id and packed value of the key's elements in the
// key buffer `buff`, in key order.
ZEL_RETCODE node_pack_key_pairs(SCH_KEY_INFO_C ki, const uint8_t *buff, NodePairs which,
                                const B_ENCODER_T *encoder);
// Clears the has-value bytes of `buff`, then reads n pairs into it, each
// value setting its byte. eRANGE for a column id that names no element.
ZEL_RETCODE node_unpack_key_pairs(SCH_KEY_INFO_C ki, uint8_t *buff, const B_DECODER_T *decoder);

}  // namespace zel::detail

#endif
