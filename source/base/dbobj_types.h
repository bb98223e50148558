/*
 * dbobj_types.h - the vocabulary of stored objects shared by the formats of
 * rows, nodes, buckets and chunks and by the wrapping every one of them gets
 * (dbobj.h): the compression methods, the one-byte object header and the
 * record through which the engine deciphers what it read. Compiles as C11
 * and as C++20.
 */
#ifndef DBOBJ_TYPES_H
#define DBOBJ_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* How an object's body is stored; the low four bits of its header. The last
 * enumerator makes the type span 32 bits, so that another value (refused with
 * a code) is representable in C++ too. */
typedef enum ZEL_COMPRESS_METHOD_E {
    ZEL_COMPRESS_NONE = 1,
    ZEL_COMPRESS_LZMA = 2,
    ZEL_COMPRESS_METHOD_FORCE_INT32 = 0x7FFFFFFF
} ZEL_COMPRESS_METHOD;

/* The header of a stored object: a compression method or'ed with an item
 * format (ZEL_ITEM_FORMAT_COMPACT 16, ZEL_ITEM_FORMAT_EXPANDED 32). */
typedef enum ZEL_OBJ_FORMAT_E {
    OBJ_COMPACT_NONE = 17,
    OBJ_COMPACT_LZMA = 18,
    OBJ_EXPANDED_NONE = 33,
    OBJ_EXPANDED_LZMA = 34,
    ZEL_OBJ_FORMAT_FORCE_INT32 = 0x7FFFFFFF /* as above */
} ZEL_OBJ_FORMAT;

/* Deciphers `length` bytes at `bytes` in place; `data` is the record's. */
typedef ZEL_RETCODE (*ZEL_DECRYPT_FCN)(void *data, uint8_t *bytes, size_t length);

/* The engine's cipher of stored objects, as far as reading needs it. The
 * cipher itself and the enciphering on the way out are the engine's. */
typedef struct ZEL_ENCRYPT_S {
    void *data;
    ZEL_DECRYPT_FCN decFcn;
} ZEL_ENCRYPT_T;
typedef const struct ZEL_ENCRYPT_S *ZEL_ENCRYPT_C;

ZEL_EXTERN_C_END

#endif /* DBOBJ_TYPES_H */
