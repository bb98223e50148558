/*
 * chunk.h - the stored forms of a chunk: one piece of a large object's
 * content, with the slot of the row that owns it and its place in the
 * sequence. Layouts are at the top of chunk.cpp.
 *
 * Codes, plain return codes only: eINVNULLARG for a null chunk or coder, or
 * bytes missing for a non-zero len; eEOD for a stored len past the end of the
 * input, before anything is allocated; the decoder's and encoder's codes
 * (eEOD, eINVVARINT, eDBCORRUPTED, eNOTIMPLEMENTED for a bulk move without a
 * bulk function: the expanded form needs one); the tags' eNOMEMORY. Every
 * unpack seeks its decoder's buffer (a B_BUFFER_T) to 0. A chunk that fails
 * to unpack is as it was.
 */
#ifndef CHUNK_H
#define CHUNK_H

#include "coder_types.h"
#include "dbobj_types.h"

ZEL_EXTERN_C_BEGIN

/* The marker that opens every stored chunk. */
#define ZEL_CHUNK_MARK 127

/* Write the compact or expanded form of `chunk`. */
ZEL_NODISCARD ZEL_RETCODE chunk_pack_compact(const ZEL_CHUNK *chunk, const B_ENCODER_T *encoder);
ZEL_NODISCARD ZEL_RETCODE chunk_pack_expanded(const ZEL_CHUNK *chunk, const B_ENCODER_T *encoder);

/* Fill `chunk` from its compact or expanded form: subTag, owner, seq and len
 * are set and len bytes allocated from subTag and read into `bytes`. The
 * marker is read and not tested. A compact chunk of len 0 leaves `bytes` as
 * it was (whatever it points to stays the caller's); an expanded one
 * allocates anyway. `unicode` is left alone. */
ZEL_NODISCARD ZEL_RETCODE chunk_unpack_compact(ZEL_CHUNK *chunk, const B_DECODER_T *decoder,
                                               B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE chunk_unpack_expanded(ZEL_CHUNK *chunk, const B_DECODER_T *decoder,
                                                B_TAG_SUB subTag);

/* Frees `bytes` on subTag and clears it. Null is accepted. */
void chunk_free(ZEL_CHUNK *chunk);

ZEL_EXTERN_C_END

#endif /* CHUNK_H */
