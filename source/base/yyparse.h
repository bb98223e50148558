/*
 * yyparse.h - a table-driven LALR(1) parser engine over grammar tables in the
 * AT&T yacc form. It has no grammar of its own: the tables, the lexer and the
 * reduction actions come in through B_YYPDATA. Nothing is global, so several
 * parsers, and several parses over one table, may run at the same time.
 *
 * Tokens are terminal numbers as the tables have them, 0 being the end of
 * input (scripts/yacc-tables makes such tables from a grammar). Rule numbers
 * are the grammar's, from 1.
 */
#ifndef YYPARSE_H
#define YYPARSE_H

#include <stddef.h>
#include <stdint.h>

#include "tag_types.h"

ZEL_EXTERN_C_BEGIN

/* The caller's context and a semantic value (yytoksize bytes), both opaque. */
typedef void *B_PYYCONTEXT;
typedef void *B_PYYSTYPE;

/* Returns the next token and fills `lval` with its value. A negative result
 * counts as the end of input (0). */
typedef int16_t (*B_YYLEX)(B_PYYCONTEXT ctx, B_PYYSTYPE lval);
/* Runs rule `rule`: `top` is the value of the rule's last symbol on the value
 * stack (the first of n symbols is n - 1 values below it), `val` the rule's
 * result, which holds the first symbol's value when the action starts (for an
 * empty rule: whatever the slot above the stack holds). Any code but sOKAY
 * ends the parse with that code. */
typedef ZEL_RETCODE (*B_YYACT)(B_PYYCONTEXT ctx, B_PYYSTYPE top, int16_t rule, B_PYYSTYPE val);
/* Called once when error recovery has emptied the stack. */
typedef void (*B_YYSYNTAXERR)(B_PYYCONTEXT ctx);

/* The constant tables of one grammar. */
typedef struct B_YYTABLES_S {
    int16_t yyerrcode;     /* token number of `error` */
    int16_t yylast;        /* entries of yyact */
    const int16_t *yyexca; /* exception rows: -1, state, (token, action)..., -2, action */
    const int16_t *yyact;  /* packed actions */
    const int16_t *yypact; /* per state, base in yyact; -1000: default only */
    const int16_t *yypgo;  /* per nonterminal, base in yyact for gotos */
    const uint16_t *yyr1;  /* per rule, its left side */
    const uint16_t *yyr2;  /* per rule, the length of its right side */
    const int16_t *yychk;  /* per state, the symbol that enters it */
    const int16_t *yydef;  /* per state, the default rule; -2: see yyexca */
} B_YYTABLES;

/* One parser. The caller zero-fills it, then sets the first eight fields.
 * The four blocks are the driver's (from yysubtag) until b_yyterm. */
typedef struct B_YYPDATA_S {
    size_t yytoksize; /* bytes of one semantic value */
    B_PYYCONTEXT yyctx;
    const B_YYTABLES *yytab;
    B_YYLEX yylex;
    B_YYACT yyacts;
    B_YYSYNTAXERR yysyntaxerr; /* may be null */
    B_TAG_SUB yysubtag;
    /* Capacity of the stacks: the caller sets the start value before the
     * first parse and leaves it to the driver from then on. It grows by 5. */
    int32_t yymaxdepth;
    int16_t *yys;      /* state stack */
    uint8_t *yyv;      /* value stack, yytoksize bytes per entry */
    B_PYYSTYPE yyval;  /* value under construction */
    B_PYYSTYPE yylval; /* value of the look-ahead token */
} B_YYPDATA;

/* Parses one input. The four blocks are allocated cleared at the first call
 * and cleared again at later ones, so a B_YYPDATA serves parse after parse;
 * they stay allocated after the call. sOKAY when the input was accepted with
 * no error or after three tokens shifted since the last one; eBASE_SYNTAX
 * when it was accepted sooner after an error, or when it could not be parsed
 * (recovery emptied the stack, or an error came at the end of input);
 * eNOMEMORY when the first blocks or a growth could not be had (the stacks
 * then stand as they were); or the non-zero code of an action, unchanged. */
ZEL_NODISCARD ZEL_RETCODE b_yyparse(B_YYPDATA *yypd);
/* Frees the four blocks and nulls their pointers; a B_YYPDATA that never
 * parsed is left alone. */
void b_yyterm(B_YYPDATA *yypd);

ZEL_EXTERN_C_END

#endif /* YYPARSE_H */
