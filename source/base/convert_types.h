/*
 * convert_types.h - the control block of one conversion, shared by the
 * conversion engine (convert) and its text parsers (convert_text). Each
 * conversion is a B_CNVFCN working on one CNVCB: it can convert a whole array
 * at once, and a null pvDst asks only for the size of the result (tSize).
 */
#ifndef CONVERT_TYPES_H
#define CONVERT_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "tag_types.h"
#include "value_types.h"
#include "zeldatetimetypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

typedef enum CONV_TAG_TYPE_E {
    CONV_TAG_TYPE_NONE = 0,
    CONV_TAG_TYPE_STACK = 100,
    CONV_TAG_TYPE_SUB = 200
} CONV_TAG_TYPE;

/* Where a conversion may allocate. */
typedef struct convTag_s {
    CONV_TAG_TYPE type;
    union {
        B_TAG_SUB sub;
        B_TAG_STACK stack;
    } u;
} convTag;

typedef struct CNVCB_S {
    const void *pvSrc;     /* source data */
    size_t tSrcLen;        /* source bytes for binary and text; 0 otherwise */
    uint32_t uSrcNumElems; /* array element count; 0 for a scalar */
    void *pvDst;           /* destination; null asks for the size only */
    size_t tDstLen;        /* bytes the destination can take */
    size_t tSize;          /* out: bytes of the result, text with its terminator */
    size_t offset;         /* source bytes consumed so far; starts at 0 */
    uint8_t prec;          /* for the packed decimal functions */
    uint8_t scale;
    ZEL_DATE_FORMAT date_format;
    char date_sep;
    ZEL_TIME_FORMAT time_format;
    int16_t tz_disp; /* displacement to use where a zone is missing */
    convTag tag;
} CNVCB;

typedef uint16_t CNVCODE;
typedef ZEL_RETCODE (*B_CNVFCN)(CNVCB *cb);

typedef struct ZEL_TYPE_DATA_S {
    ZEL_TYPE type;
    uint32_t size;
} ZEL_TYPE_DATA;

ZEL_EXTERN_C_END

#endif /* CONVERT_TYPES_H */
