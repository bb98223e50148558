/*
 * The peer of yyparse_bench: bison's own parser of grammar/calc.y (built by
 * the benchmark's CMake rule), fed the same pre-lexed tokens and doing the
 * same arithmetic on 8-byte values, so that only the drivers differ.
 */
#include <stddef.h>
#include <stdint.h>

#define R(n) ((void)0)
#define YYSTYPE uint64_t
int yylex(void);
void yyerror(const char *s);
#include "calc_bison.c"

static const int *peer_toks;
static const uint64_t *peer_vals;
static size_t peer_n, peer_pos;

int yylex(void) {
    if (peer_pos >= peer_n) return 0;
    yylval = peer_vals[peer_pos];
    return peer_toks[peer_pos++];
}

void yyerror(const char *s) {
    (void)s;
}

/* bison's token code of NUM; characters are their own codes. */
int calc_bison_num(void) {
    return NUM;
}

int calc_bison_parse(const int *toks, const uint64_t *vals, size_t n) {
    peer_toks = toks;
    peer_vals = vals;
    peer_n = n;
    peer_pos = 0;
    return yyparse();
}
