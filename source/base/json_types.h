/*
 * json_types.h - the records of the pull JSON reader: value types, a value,
 * a name/value pair, the stack of open arrays and objects, and the reader,
 * which sits on a B_LEX_T. Compiles as C11 and as C++20.
 */
#ifndef JSON_TYPES_H
#define JSON_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "lex_types.h"

ZEL_EXTERN_C_BEGIN

typedef enum B_JSON_VALTYPE_E {
    jvEND = -1, /* the end of the current array or object */
    jvNOVAL = 0,
    jvSTRING = 1,
    jvNUMBER = 2,
    jvDOUBLE = 3,
    jvBOOLEAN = 4,
    jvOBJECT = 5,
    jvARRAY = 6,
    jvNULL = 7
} B_JSON_VALTYPE;

typedef struct B_JSON_VAL_S {
    B_JSON_VALTYPE type;
    union B_JSON_VAL_U {
        int64_t num;     /* jvNUMBER */
        double dbl;      /* jvDOUBLE */
        char *str;       /* jvSTRING: the caller's, from the reader's subTag */
        ZEL_BOOL_T flag; /* jvBOOLEAN */
    } v;
} B_JSON_VAL;

typedef struct B_JSON_PAIR_S {
    char *name; /* the caller's, from the reader's subTag; null at jvEND */
    B_JSON_VAL value;
} B_JSON_PAIR;

/* One entry per open array or object: jvARRAY or jvOBJECT. */
typedef struct B_JSON_STACK_S {
    B_JSON_VALTYPE *array;
    size_t pos;  /* entries in use */
    size_t size; /* entries allocated */
} B_JSON_STACK;

typedef struct B_JSON_S {
    B_TAG_SUB subTag;
    B_LEX_T lex;
    B_JSON_STACK stack;
} B_JSON_T;

ZEL_EXTERN_C_END

#endif /* JSON_TYPES_H */
