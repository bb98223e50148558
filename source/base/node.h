/*
 * node.h - the stored forms of a B-tree node of the engine's indexes: an
 * index node of a key (entries are key buffers), a join node of a reference
 * (a member's slot and its sort buffer) or a blob node of a large-object
 * column (slot and sequence of each chunk). Both forms hold the same node;
 * they differ in how the header and the index entries are encoded. Layouts
 * are at the top of node.cpp.
 *
 * Codes shared by the family, plain return codes only: eINVNULLARG for a
 * null node, coder or catalogue item; eRANGE for an entry length (a key's
 * byte_len) of 65536 or more, a node of more than 33 entries to write, or a
 * column id in an entry that names no item of the key or reference;
 * eDBCORRUPTED for a stored count of more than 33 entries; the decoder's
 * and encoder's codes (eEOD, eINVVARINT, eDBCORRUPTED, eNOTIMPLEMENTED for
 * a bulk move without a bulk function: the expanded form needs one); the
 * tags' eNOMEMORY; a type descriptor's codes for a value. Every unpack seeks
 * its decoder's buffer (a B_BUFFER_T) to 0, and a node that fails to unpack
 * holds no memory.
 */
#ifndef NODE_H
#define NODE_H

#include "coder_types.h"
#include "dbobj_types.h"

ZEL_EXTERN_C_BEGIN

/* Reads the entries of a node whose header has been read. */
typedef ZEL_RETCODE (*ZEL_NODE_DATA_FCN)(ZEL_NODE *node, const B_DECODER_T *decoder);

/* Write the compact or expanded form of `node`, of any kind. */
ZEL_NODISCARD ZEL_RETCODE node_pack_compact(const ZEL_NODE *node, const B_ENCODER_T *encoder);
ZEL_NODISCARD ZEL_RETCODE node_pack_expanded(const ZEL_NODE *node, const B_ENCODER_T *encoder);

/* Fill `node` of the kind named from its compact or expanded form: ptr,
 * type and slotItemLen are set (and slot to 0 for an index node), slotData
 * is allocated from subTag, cleared, and read. */
ZEL_NODISCARD ZEL_RETCODE node_unpack_compact_index(ZEL_NODE *node, SCH_KEY_INFO_C ki,
                                                    const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE node_unpack_compact_join(ZEL_NODE *node, SCH_REF_INFO_C ri,
                                                   const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE node_unpack_compact_blob(ZEL_NODE *node, SCH_COL_INFO_C ci,
                                                   const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE node_unpack_expanded_index(ZEL_NODE *node, SCH_KEY_INFO_C ki,
                                                     const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE node_unpack_expanded_join(ZEL_NODE *node, SCH_REF_INFO_C ri,
                                                    const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE node_unpack_expanded_blob(ZEL_NODE *node, SCH_COL_INFO_C ci,
                                                    const B_DECODER_T *decoder, B_TAG_SUB subTag);

/* Allocate slotData for 33 entries of the node's slotItemLen, read the
 * header of that form, then call `fcn` for the entries. */
ZEL_NODISCARD ZEL_RETCODE node_unpack_compact(ZEL_NODE *node, const B_DECODER_T *decoder,
                                              ZEL_NODE_DATA_FCN fcn, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE node_unpack_expanded(ZEL_NODE *node, const B_DECODER_T *decoder,
                                               ZEL_NODE_DATA_FCN fcn, B_TAG_SUB subTag);

/* Frees slotData on subTag and clears it; null is accepted. */
void node_free(ZEL_NODE *node);

ZEL_EXTERN_C_END

#endif /* NODE_H */
