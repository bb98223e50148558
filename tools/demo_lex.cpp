// The "Lexer and JSON reader" section of `zelbase demo`: the tokens of an SQL
// statement with their values, the behaviours kept on purpose, a captured
// expression, a rewind, the reserved words, and a pull walk of a relaxed
// JSON catalogue with its failure on a signed double.
#include <cstdio>
#include <cstring>
#include <string>

#include "error.h"
#include "input.h"
#include "json.h"
#include "lex.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_lex(FILE *out);

namespace {

// Every token of `text`, one a line.
int zb_demoLexTokens(FILE *out, B_TAG_SUB sub, const char *name, bool sql, const char *text) {
    B_LEX_T lex;
    if (b_lexInit(&lex, name, sql ? ZEL_TRUE : ZEL_FALSE, ZEL_FALSE, sub) != sOKAY) return 1;
    if (b_lexStart(&lex, text, nullptr, 1, nullptr) != sOKAY) {
        b_lexTerm(&lex);
        return 1;
    }
    std::fprintf(out, "%s lexer over: %s\n", name, text);
    for (;;) {
        B_TOKEN t;
        const B_TOKTYPE type = b_lexGet(&lex, &t);
        std::fprintf(out, "  %s\n", zb_lex_token(&lex, t).c_str());
        b_lexTokenFree(&lex, &t);
        if (type == tokEOS) break;
    }
    b_lexTerm(&lex);
    return 0;
}

int zb_demoLexCapture(FILE *out, B_TAG_SUB sub) {
    const char *text = "CHECK (price * (1 + rate) >= 10.50 /* cents */ AND\n\tname <> 'it''s')";
    B_LEX_T lex;
    if (b_lexInit(&lex, "sql", ZEL_TRUE, ZEL_FALSE, sub) != sOKAY) return 1;
    int rc = 1;
    B_TOKEN t;
    if (b_lexStart(&lex, text, nullptr, 1, nullptr) == sOKAY &&
        b_lexGet(&lex, &t) == tokIDENTIFIER) {
        b_lexTokenFree(&lex, &t);
        // Capture from the "(" on: white space and comments become one
        // blank, the string's quote is doubled again.
        if (b_lexGet(&lex, &t) == tokLPAR && b_lexExprSaveBegin(&lex) == sOKAY) {
            while (b_lexGet(&lex, &t) != tokEOS) b_lexTokenFree(&lex, &t);
            char *expr = nullptr;
            if (b_lexExprGet(&lex, &expr) == sOKAY) {
                std::fprintf(out, "captured from \"(\" in: %s\n  -> %s\n", text, expr);
                b_tag_subFree(sub, expr);
                rc = 0;
            }
        }
    }
    b_lexTerm(&lex);
    return rc;
}

int zb_demoLexRewind(FILE *out, B_TAG_SUB sub) {
    B_LEX_T lex;
    if (b_lexInit(&lex, "sql", ZEL_TRUE, ZEL_FALSE, sub) != sOKAY) return 1;
    int rc = 1;
    B_LEX_REWIND_POINT rp;
    B_TOKEN t;
    if (b_lexStart(&lex, "a\nb c", nullptr, 1, nullptr) == sOKAY &&
        b_lexGet(&lex, &t) == tokIDENTIFIER) {
        b_lexTokenFree(&lex, &t);
        if (b_lexCreateRewindPoint(&lex, &rp) == sOKAY) {
            std::string first, again;
            while (b_lexGet(&lex, &t) == tokIDENTIFIER) {
                first += zb_lex_token(&lex, t) + "; ";
                b_lexTokenFree(&lex, &t);
            }
            if (b_lexRewind(&lex, &rp) == sOKAY && b_lexGet(&lex, &t) == tokIDENTIFIER) {
                again = zb_lex_token(&lex, t);
                b_lexTokenFree(&lex, &t);
                std::fprintf(out, "after \"a\" in \"a\\nb c\": %s\n  rewound: %s\n", first.c_str(),
                             again.c_str());
                rc = 0;
            }
        }
    }
    b_lexTerm(&lex);
    return rc;
}

int zb_demoJson(FILE *out, B_TAG_SUB sub, const char *text) {
    B_INPUT_T in;
    b_inputInitFromMemory(&in, text, std::strlen(text), sub);
    B_JSON_T j;
    if (b_jsonInit(&j, &in, sub, nullptr) != sOKAY) return 1;
    std::fprintf(out, "%s\n", text);
    const ZEL_RETCODE rc = zb_json_walk(out, &j);
    if (rc != sOKAY) {
        const char *name = nullptr;
        (void)zelErrorCodeDef(rc, nullptr, &name);
        std::fprintf(out, "  %s at character %zu\n", name != nullptr ? name : "?",
                     b_lexGetCharacterNumber(&j.lex));
    }
    b_jsonTerm(&j);
    return 0;
}

}  // namespace

int zb_demo_lex(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    int rc = 0;
    rc |= zb_demoLexTokens(
        out, sub, "sql", true,
        "SELECT name, 'it''s', x'1F', 0x0a0b, 007, .5, 1e5-3, 18446744073709551617 "
        "FROM t -- note");
    std::fprintf(out,
                 "\nkept on purpose: \\x adds its digits in tens ('\\xff' is 5*10+5 = 55, "
                 "'7');\nsigns are tokens of their own; the key/value lexer has no comments:\n");
    rc |= zb_demoLexTokens(out, sub, "sql", true, "'\\xff' -1 U&'caf\\00e9'");
    rc |= zb_demoLexTokens(out, sub, "key/value", false, "dir=/tmp/x--y");
    std::fprintf(out, "\n");
    rc |= zb_demoLexCapture(out, sub);
    rc |= zb_demoLexRewind(out, sub);
    std::fprintf(out, "\nreserved:");
    for (const char *w : {"select", "END-EXEC", "Current_Timestamp", "LIMIT", "name"})
        std::fprintf(out, " %s=%s", w, b_lexSQLReserved(w) ? "yes" : "no");
    std::fprintf(out,
                 "\n\nthe pull JSON reader: comments, unquoted names (upper-cased), "
                 "optional commas in arrays:\n");
    rc |= zb_demoJson(out, sub,
                      "{database: {\"catver\": 1, /* a comment */ \"tables\": [{\"tabid\": 1, "
                      "\"name\": \"t\", \"cols\": [1 2, -3]}], \"ok\": TRUE, \"none\": null}}");
    rc |= zb_demoJson(out, sub, "[1, -1.5]");
    return rc;
}
