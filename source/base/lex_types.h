/*
 * lex_types.h - the records of the lexer: token types, the token, the lexer
 * and its rewind point. The JSON reader, the key/value strings and the SQL
 * front end above the library share them. Compiles as C11 and as C++20.
 */
#ifndef LEX_TYPES_H
#define LEX_TYPES_H

#include <stddef.h>
#include <stdint.h>

#include "file_types.h"
#include "tag_types.h"
#include "zelbcdtypes.h"
#include "zeltypes.h"

ZEL_EXTERN_C_BEGIN

/* The type of a token. Punctuation is its ASCII code. tokSPECCHAR and
 * tokWSTRING are declared for callers and never produced. */
typedef enum B_TOKTYPE_E {
    tokERROR = -1,
    tokEOS = 0,
    tokEXCL = 33,
    tokQUOTE = 34,
    tokPOUND = 35,
    tokDOLLAR = 36,
    tokPCT = 37,
    tokAMP = 38,
    tokAPOS = 39,
    tokLPAR = 40,
    tokRPAR = 41,
    tokSTAR = 42,
    tokPLUS = 43,
    tokCOMMA = 44,
    tokMINUS = 45,
    tokPERIOD = 46,
    tokFSLASH = 47,
    tokCOLON = 58,
    tokSEMI = 59,
    tokLT = 60,
    tokEQ = 61,
    tokGR = 62,
    tokQUESTION = 63,
    tokAT = 64,
    tokLBRACK = 91,
    tokBSLASH = 92,
    tokRBRACK = 93,
    tokCIRCUM = 94,
    tokUNDERSCORE = 95,
    tokGRAVE = 96,
    tokLBRACE = 123,
    tokBAR = 124,
    tokRBRACE = 125,
    tokTILDE = 126,
    tokSPECCHAR = 255,
    tokIDENTIFIER = 256,
    tokINTEGER = 257,
    tokDECIMAL = 258,
    tokDOUBLE = 259,
    tokSTRING = 260,
    tokWSTRING = 261,
    tokBINARY = 262
} B_TOKTYPE;

/* `ungetch` when no character is held. */
#define B_LEX_NO_CHAR 0xFFFFFFFFu

/* One token. The pointers of an identifier, string, binary or decimal are
 * the token's own, from the lexer's stack tag or sub tag, and go back with
 * b_lexTokenFree. The text of a tokERROR is a constant: never written, never
 * freed. */
typedef struct B_TOKEN_S {
    B_TOKTYPE type;
    size_t len;    /* identifier: bytes with the terminator; binary: byte count;
                      otherwise 0 */
    uint32_t line; /* line number at the token's first character */
    size_t pos;    /* column: charno minus linestart at the first character */
    union B_TOKEN_VALUE_U {
        B_CHAR tok;     /* punctuation, tokEOS */
        char *id;       /* tokIDENTIFIER */
        char *str;      /* tokSTRING; tokERROR: the constant message */
        uint64_t iv;    /* tokINTEGER */
        double dv;      /* tokDOUBLE */
        ZEL_BCD_T *bcd; /* tokDECIMAL */
        uint8_t *bv;    /* tokBINARY: `len` bytes, null when 0 */
    } v;
} B_TOKEN;

/* What continues an identifier. */
typedef ZEL_BOOL_T (*B_LEX_IDENTIFIER_FCN)(B_CHAR ch);
/* Which words a captured expression keeps. */
typedef ZEL_BOOL_T (*B_LEX_SAVE_EXPR_FCN)(const char *word);

typedef struct B_LEX_S {
    const char *name;      /* borrowed */
    B_INPUT_T *input;      /* the source being read */
    B_INPUT_T local_input; /* the memory source of b_lexStart */
    B_CHAR ungetch;        /* one character given back; B_LEX_NO_CHAR: none */
    char *fileName;        /* owned, from userStackTag if set, else subTag */
    uint32_t lineno;       /* current line; 0 turns line counting off */
    size_t charno;         /* characters consumed */
    size_t linestart;      /* charno where this line began */
    size_t prevlinestart;  /* and where the last one began */
    char *tokbuf;          /* the current token's text, terminated */
    size_t szTokbuf;
    size_t tokpos;   /* bytes in tokbuf */
    B_CHAR *wtokbuf; /* reserved for wide strings; never allocated */
    size_t szWTokbuf;
    ZEL_BOOL_T saveexpr;     /* expression capture is on */
    ZEL_BOOL_T skipcomments; /* "--" and slash-star comments are skipped */
    ZEL_BOOL_T doubleQuoteAsIdentifier;
    char *xbuf; /* the captured expression, terminated */
    size_t szXbuf;
    size_t xpos;
    char exch;         /* last character stored in xbuf */
    int16_t pcnt;      /* parenthesis depth of the capture */
    B_TOKTYPE toktype; /* type of the last token */
    B_TOKEN putback;   /* a token to be read again; type 0: none */
    B_LEX_IDENTIFIER_FCN identifierFcn;
    B_LEX_SAVE_EXPR_FCN saveExprFcn; /* may be null */
    B_TAG_SUB subTag;
    B_TAG_STACK userStackTag; /* when set, token strings come from it */
    /* An allocation failed since the input was set: a token that needed the
     * memory came out as a tokERROR, a capture lost characters. */
    ZEL_BOOL_T nomem;
} B_LEX_T;

typedef struct B_LEX_REWIND_POINT_S {
    B_CHAR ungetch;
    uint32_t lineno;
    size_t charno;
    size_t linestart;
    size_t prevlinestart;
    B_REWIND_POINT rewindPoint; /* the input's own */
} B_LEX_REWIND_POINT;

ZEL_EXTERN_C_END

#endif /* LEX_TYPES_H */
