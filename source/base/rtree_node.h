/*
 * rtree_node.h - the stored forms of a node of a spatial key: up to 32
 * entries, each a child's slot and its bounding box of `dim` dimensions held
 * as doubles. The compact form writes each box in the type of the key's
 * array column; the expanded form writes the doubles. Layouts are at the top
 * of rtree_node.cpp.
 *
 * The key's first element is an array column of 2 x dim elements, lows
 * first; dim is half its element count (from the column's domain, if any).
 * Boundaries move through the ten integer and float element types (INT8 to
 * UINT64, FLOAT, DOUBLE); a box of another element type is written as zero
 * bytes and read as zeros.
 *
 * Codes shared by the family, plain return codes only: eINVNULLARG for a null
 * node or coder, or a node with entries and no slotData; eRANGE for a key
 * without elements, a column whose elements (or whose bytes) pass 64 bytes,
 * or more than 32 entries to write; eINVARG for a node whose dim is not its
 * key's; eDBCORRUPTED for a stored count of more than 32 entries; the
 * decoder's and encoder's codes (eNOTIMPLEMENTED for a bulk move without a
 * bulk function: the expanded form needs one); the tags' eNOMEMORY; the type
 * descriptor's codes for a box. Every unpack seeks its decoder's buffer (a
 * B_BUFFER_T) to 0, and a node that fails to unpack holds no memory.
 */
#ifndef RTREE_NODE_H
#define RTREE_NODE_H

#include "coder_types.h"
#include "dbobj_types.h"

ZEL_EXTERN_C_BEGIN

/* Write the compact or expanded form of `node`. The compact form needs the
 * node's ki; the expanded one only its dim. */
ZEL_NODISCARD ZEL_RETCODE rtree_pack_compact(const ZEL_RTREE_NODE *node,
                                             const B_ENCODER_T *encoder);
ZEL_NODISCARD ZEL_RETCODE rtree_pack_expanded(const ZEL_RTREE_NODE *node,
                                              const B_ENCODER_T *encoder);

/* Fill `node` from its compact or expanded form: slot 0, ki, subTag and dim
 * are set, slotData is allocated from subTag, cleared, with room for 32
 * entries, and read. */
ZEL_NODISCARD ZEL_RETCODE rtree_unpack_compact(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki,
                                               const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE rtree_unpack_expanded(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki,
                                                const B_DECODER_T *decoder, B_TAG_SUB subTag);

/* Frees slotData on subTag and clears it. Null is accepted. */
void rtree_free(ZEL_RTREE_NODE *node);

ZEL_EXTERN_C_END

#endif /* RTREE_NODE_H */
