/*
 * path_types.h - the records of the path module: a directory scan, the lock
 * of a document root, the holder of a database's catalogue text (kept here
 * once, for the catalogue loader too) and the tags at the head of a server
 * handle.
 */
#ifndef PATH_TYPES_H
#define PATH_TYPES_H

#include "psptypes.h"
#include "tag_types.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* An open directory scan. `pattern` is not copied: the caller keeps it alive
 * until b_pathClose; null accepts every name. */
typedef struct B_DIR_S {
    PSP_FILE_DIR_T dir;
    const char *pattern;
} B_DIR_T;

/* A locked document root: the open marker file, and whether the lock took
 * (ZEL_FALSE where the file system cannot lock). */
typedef struct B_DOCROOT_S {
    PSP_FILE_T f;
    ZEL_BOOL_T locked;
} B_DOCROOT_T;

typedef enum CAT_TYPE_E {
    catTypeNone = 0,
    catTypeSet = 1,        /* val.str is the catalogue text, owned through subTag */
    catTypeSetFromFile = 2 /* val.str is the name of the catalogue's file */
} CAT_TYPE;

typedef union CAT_VALUE_U {
    char *str;
} CAT_VALUE;

/* The catalogue of a database until it is opened: its text or its file name. */
typedef struct CAT_INFO_S {
    CAT_TYPE type;
    CAT_VALUE val;
    B_TAG_SUB subTag;
} CAT_INFO;

/* The head of the server handle of the layer above: the handle begins with
 * this record, so that gsvGetSubTag and gsvGetMasterTag can read it. */
typedef struct B_GSV_TAGS_S {
    B_TAG_MASTER masterTag;
    B_TAG_SUB subTag;
} B_GSV_TAGS_T;

ZEL_EXTERN_C_END

#endif /* PATH_TYPES_H */
