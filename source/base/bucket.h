/*
 * bucket.h - the stored forms of a bucket of a hash key: up to 31 entries,
 * each a key buffer with the slots of the rows that hold that key. The
 * compact form names each stored element by its column id; the expanded form
 * is the image of bucket_data with its pointers zeroed. Layouts are at the
 * top of bucket.cpp.
 *
 * Codes shared by the family, plain return codes only: eINVNULLARG for a null
 * bucket, coder or key, or a bucket without its data; eINVARG for a key
 * without a bucket layout (not a finalised hash key); eRANGE, when writing,
 * for more than 31 entries, an entry with more ids than its room (numIds
 * above maxIds) or a bucket_data_len that does not hold its regions, and,
 * when reading, for a column id that names no element of the key;
 * eDBCORRUPTED for a stored object that cannot be a bucket (more than 31
 * entries, ids past the room, an image shorter than its regions); eEOD for a
 * stored count or length past the end of the input, before anything is
 * allocated; the decoder's and encoder's codes (eNOTIMPLEMENTED for a bulk
 * move without a bulk function: the expanded form needs one); the tags'
 * eNOMEMORY; a type descriptor's codes for a value. Every unpack seeks its
 * decoder's buffer (a B_BUFFER_T) to 0, and a bucket that fails to unpack
 * holds no memory.
 */
#ifndef BUCKET_H
#define BUCKET_H

#include "coder_types.h"
#include "dbobj_types.h"

ZEL_EXTERN_C_BEGIN

/* Write the compact or expanded form of `bucket`. The compact form writes an
 * element of an entry when it has no has-value byte or that byte is not 1:
 * a nullable element holding a value is skipped, a null one is written from
 * its (zeroed) bytes. */
ZEL_NODISCARD ZEL_RETCODE bucket_pack_compact(const ZEL_BUCKET *bucket, const B_ENCODER_T *encoder);
ZEL_NODISCARD ZEL_RETCODE bucket_pack_expanded(const ZEL_BUCKET *bucket,
                                               const B_ENCODER_T *encoder);

/* Fill `bucket` (every field is written) from its compact or expanded form:
 * bucket_data is allocated from subTag, cleared, and read, and the entries'
 * pointers are set. A compact bucket reads back with hashIsValid and
 * hashValue 0, and each entry beyond numEntries, or without ids, with room
 * for one id. */
ZEL_NODISCARD ZEL_RETCODE bucket_unpack_compact(ZEL_BUCKET *bucket, SCH_KEY_INFO_C ki,
                                                const B_DECODER_T *decoder, B_TAG_SUB subTag);
ZEL_NODISCARD ZEL_RETCODE bucket_unpack_expanded(ZEL_BUCKET *bucket, SCH_KEY_INFO_C ki,
                                                 const B_DECODER_T *decoder, B_TAG_SUB subTag);

/* Recomputes entries, key_data, slots and the data and ids of all 31 entries
 * from bucket_data, the key's layout and the entries' maxIds. eINVNULLARG,
 * eINVARG for a key without a bucket layout, eRANGE when bucket_data_len
 * does not hold the entries and the keys. */
ZEL_NODISCARD ZEL_RETCODE bucket_set_offsets(ZEL_BUCKET *bucket);

/* Frees bucket_data on subTag, then clears the whole record. Null is
 * accepted. */
void bucket_free(ZEL_BUCKET *bucket);

ZEL_EXTERN_C_END

#endif /* BUCKET_H */
