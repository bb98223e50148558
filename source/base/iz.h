/*
 * iz.h - item zero, the first item of every drawer: the next slot to give
 * out, the count of items, the drawer's cipher type and keys, and the roots
 * of the table's AVL keys. Layouts are at the top of iz.cpp.
 *
 * Codes, plain return codes only: eINVNULLARG for a null record or coder, or
 * roots missing for a non-zero numAvls; eEOD for a stored root count past
 * the end of the input, before anything is allocated; eDBCORRUPTED for an
 * encType above 0x7FFFFFFF; the decoder's and encoder's codes (eEOD,
 * eINVVARINT, eDBCORRUPTED, eNOTIMPLEMENTED for a bulk move without a bulk
 * function: the expanded form needs one); the tags' eNOMEMORY. Every unpack
 * seeks its decoder's buffer (a B_BUFFER_T) to 0.
 */
#ifndef IZ_H
#define IZ_H

#include "coder_types.h"
#include "dbobj_types.h"

ZEL_EXTERN_C_BEGIN

/* A fresh item zero: subTag stored, next 1, total and encType 0, both keys
 * cleared, no roots. */
void iz_init(ZEL_ITEM_ZERO *iz, B_TAG_SUB subTag);

/* Write the compact or expanded form of `iz`. */
ZEL_NODISCARD ZEL_RETCODE iz_pack_compact(const ZEL_ITEM_ZERO *iz, const B_ENCODER_T *encoder);
ZEL_NODISCARD ZEL_RETCODE iz_pack_expanded(const ZEL_ITEM_ZERO *iz, const B_ENCODER_T *encoder);

/* Fill `iz` from its compact or expanded form; the record may be read into
 * again, with the same subTag. subTag and the fixed fields are set once they
 * are read. avlRoots is grown to a larger stored count and never shrunk; numAvls takes the stored
 * count, also when growing fails (eNOMEMORY: avlRoots then holds fewer roots than numAvls says, and
 * only iz_free may be called). A failure reading the roots leaves those read. In every case the
 * record keeps avlRoots: free it with iz_free. */
ZEL_NODISCARD ZEL_RETCODE iz_unpack_compact(ZEL_ITEM_ZERO *iz, const B_DECODER_T *decoder,
                                            B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE iz_unpack_expanded(ZEL_ITEM_ZERO *iz, const B_DECODER_T *decoder,
                                             B_TAG_SUB subTag);

/* Frees avlRoots on subTag, if any, and clears it with numAvls. Null is
 * accepted. */
void iz_free(ZEL_ITEM_ZERO *iz);

ZEL_EXTERN_C_END

#endif /* IZ_H */
