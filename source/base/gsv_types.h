/*
 * gsv_types.h - the head of the file server's handle as this library reads
 * it. The handle belongs to the layer above; it begins with this record, so
 * that the path module finds its tags (gsvGetSubTag, gsvGetMasterTag) and the
 * option output finds the server's type ("gsvtype"). Compiles as C11 and as
 * C++20.
 */
#ifndef GSV_TYPES_H
#define GSV_TYPES_H

#include "options_types.h"
#include "path_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct ZEL_GSV_S {
    B_GSV_TAGS_T tags; /* first: the handle's tags */
    GSV_TYPE type;     /* how the server runs */
} ZEL_GSV;

ZEL_EXTERN_C_END

#endif /* GSV_TYPES_H */
