/*
 * json.cpp - the pull reader. Each call reads a token or two from the lexer
 * and maps it to a value; the only state besides the lexer is the stack of
 * open arrays and objects, which decides where a comma may be skipped and
 * what closes. Every token read is freed on every path, and the outs are
 * written only once a call has succeeded.
 *
 * Deliberate, kept as the catalogue text and its readers expect: in an array
 * one comma is skipped before a value ("[,1,]" reads 1, "[1,,2]" fails), in
 * an object any number before a name but only after the test for "}"
 * ("{"a":1,}" fails); a sign is allowed before an integer only; an integer
 * is taken as signed ("18446744073709551615" reads -1).
 */
#include "json.h"

#include <cstring>

#include "lex.h"
#include "lex_internal.h"
#include "psp.h"
#include "tag_sub.h"

namespace {

// The stack grows by 10 entries at first, then by half again.
constexpr size_t kStackStep = 10;

B_JSON_VALTYPE json_top(const B_JSON_T *obj) {
    return obj->stack.pos > 0 ? obj->stack.array[obj->stack.pos - 1] : jvNOVAL;
}

ZEL_RETCODE json_push(B_JSON_T *obj, B_JSON_VALTYPE type) {
    B_JSON_STACK &s = obj->stack;
    if (s.pos == s.size) {
        const size_t n = s.size + (s.size / 2 > kStackStep ? s.size / 2 : kStackStep);
        void *p = s.array;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subReallocAny(obj->subTag, s.array, s.pos * sizeof *s.array,
                                           n * sizeof *s.array, &p));
        s.array = static_cast<B_JSON_VALTYPE *>(p);
        s.size = n;
    }
    s.array[s.pos++] = type;
    return sOKAY;
}

// The next token; eNOMEMORY, with nothing held, when the lexer ran short of
// memory (the token would be an error or cut). Names and strings stay in the
// lexer's tokbuf, to be copied once, straight to where the caller wants them.
ZEL_RETCODE json_token(B_JSON_T *obj, B_TOKEN *tok) {
    zel::detail::lex_getInPlace(&obj->lex, tok);
    if (obj->lex.nomem == ZEL_FALSE) return sOKAY;
    b_lexTokenFree(&obj->lex, tok);
    return eNOMEMORY;
}

// The text of the identifier or string just read, copied from the reader's
// sub tag into *out when `out` is set; an identifier is upper-cased.
ZEL_RETCODE json_takeText(B_JSON_T *obj, const B_TOKEN *tok, char **out) {
    if (out == nullptr) return sOKAY;
    void *copy = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocCopy(obj->subTag, obj->lex.tokbuf, obj->lex.tokpos + 1, &copy));
    *out = static_cast<char *>(copy);
    if (tok->type == tokIDENTIFIER) psp_strupr(*out);
    return sOKAY;
}

// The value that begins with `tok`, which is consumed (freed). `copy` says
// whether a string goes to the caller (else it is only read).
ZEL_RETCODE json_value(B_JSON_T *obj, B_TOKEN *tok, B_JSON_VAL *out, bool copy) {
    ZEL_RETCODE rc;
    switch (tok->type) {
        // Deliberate: a sign only before an integer ("-1.5" is eSYNTAX).
        case tokPLUS:
        case tokMINUS: {
            B_TOKEN num;
            ZEL_CHECK(rc = json_token(obj, &num));
            if (num.type != tokINTEGER) {
                b_lexTokenFree(&obj->lex, &num);
                return eSYNTAX;
            }
            // Negation in unsigned arithmetic: "-9223372036854775808" is exact.
            const uint64_t v = tok->type == tokMINUS ? 0 - num.v.iv : num.v.iv;
            out->type = jvNUMBER;
            out->v.num = static_cast<int64_t>(v);
            return sOKAY;
        }
        case tokLBRACK:
            ZEL_CHECK(rc = json_push(obj, jvARRAY));
            out->type = jvARRAY;
            return sOKAY;
        case tokLBRACE:
            ZEL_CHECK(rc = json_push(obj, jvOBJECT));
            out->type = jvOBJECT;
            return sOKAY;
        case tokRBRACK:
            if (json_top(obj) != jvARRAY) return eSYNTAX;
            obj->stack.pos--;
            out->type = jvEND;
            return sOKAY;
        case tokIDENTIFIER: {
            const char *word = obj->lex.tokbuf;
            if (psp_strcasecmp(word, "true") == 0 || psp_strcasecmp(word, "false") == 0) {
                out->type = jvBOOLEAN;
                out->v.flag = (word[0] | 0x20) == 't' ? ZEL_TRUE : ZEL_FALSE;
                return sOKAY;
            }
            if (psp_strcasecmp(word, "null") == 0) {
                out->type = jvNULL;
                return sOKAY;
            }
            [[fallthrough]];
        }
        case tokSTRING:
            out->v.str = nullptr;
            ZEL_CHECK(rc = json_takeText(obj, tok, copy ? &out->v.str : nullptr));
            out->type = jvSTRING;
            return sOKAY;
        case tokINTEGER:
            out->type = jvNUMBER;
            out->v.num = static_cast<int64_t>(tok->v.iv);  // deliberate: taken as signed
            return sOKAY;
        case tokDOUBLE:
            out->type = jvDOUBLE;
            out->v.dbl = tok->v.dv;
            return sOKAY;
        default:
            // "}", the end, a decimal, a binary literal, an error token.
            b_lexTokenFree(&obj->lex, tok);
            return eSYNTAX;
    }
}

// b_jsonNextValue into a local value; `copy` as for json_value.
ZEL_RETCODE json_nextValue(B_JSON_T *obj, B_JSON_VAL *out, bool copy) {
    B_TOKEN tok;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = json_token(obj, &tok));
    if (tok.type == tokCOMMA) {
        if (json_top(obj) != jvARRAY) return eSYNTAX;
        ZEL_CHECK(rc = json_token(obj, &tok));  // deliberate: one comma, once
    }
    return json_value(obj, &tok, out, copy);
}

void json_freeText(B_JSON_T *obj, char *text) {
    if (text != nullptr) b_tag_subFree(obj->subTag, text);
}

}  // namespace

ZEL_RETCODE b_jsonInit(B_JSON_T *json, B_INPUT_T *input, B_TAG_SUB subTag, B_TAG_STACK stackTag) {
    if (json == nullptr || input == nullptr || subTag == nullptr) return eINVNULLARG;
    std::memset(json, 0, sizeof *json);
    json->subTag = subTag;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_lexInit(&json->lex, "json", ZEL_TRUE, ZEL_FALSE, subTag));
    if ((rc = b_lexInitInput(&json->lex, input, nullptr, 0, stackTag)) != sOKAY) {
        b_lexTerm(&json->lex);
        return rc;
    }
    return sOKAY;
}

ZEL_RETCODE b_jsonNextValue(B_JSON_T *obj, B_JSON_VALTYPE *type, B_JSON_VAL *val) {
    if (obj == nullptr) return eINVNULLARG;
    B_JSON_VAL v{};
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = json_nextValue(obj, &v, val != nullptr));
    if (val != nullptr) {
        // Field by field: a whole-record copy of what was just built piecewise
        // stalls on the store buffer.
        val->type = v.type;
        val->v = v.v;
    }
    if (type != nullptr) *type = v.type;
    return sOKAY;
}

ZEL_RETCODE b_jsonNextPair(B_JSON_T *obj, B_JSON_VALTYPE *type, B_JSON_PAIR *pair) {
    if (obj == nullptr) return eINVNULLARG;
    if (json_top(obj) != jvOBJECT) return eSYNTAX;
    B_TOKEN tok;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = json_token(obj, &tok));
    B_JSON_PAIR p{};
    if (tok.type == tokRBRACE) {
        obj->stack.pos--;
        p.value.type = jvEND;
    } else {
        // Deliberate: any number of commas, but only after the test for "}".
        while (tok.type == tokCOMMA) ZEL_CHECK(rc = json_token(obj, &tok));
        if (tok.type != tokSTRING && tok.type != tokIDENTIFIER) {
            b_lexTokenFree(&obj->lex, &tok);
            return eSYNTAX;
        }
        ZEL_CHECK(rc = json_takeText(obj, &tok, pair != nullptr ? &p.name : nullptr));
        if ((rc = json_token(obj, &tok)) == sOKAY && tok.type != tokCOLON) {
            b_lexTokenFree(&obj->lex, &tok);
            rc = eSYNTAX;
        }
        if (rc == sOKAY) rc = json_nextValue(obj, &p.value, pair != nullptr);
        if (rc != sOKAY) {
            json_freeText(obj, p.name);
            return rc;
        }
    }
    if (pair != nullptr) {
        pair->name = p.name;
        pair->value.type = p.value.type;
        pair->value.v = p.value.v;
    }
    if (type != nullptr) *type = p.value.type;
    return sOKAY;
}

void b_jsonFreePair(B_JSON_T *obj, B_JSON_PAIR *pair) {
    if (obj == nullptr || pair == nullptr) return;
    json_freeText(obj, pair->name);
    pair->name = nullptr;
    if (pair->value.type == jvSTRING) {
        json_freeText(obj, pair->value.v.str);
        pair->value.v.str = nullptr;
    }
}

void b_jsonTerm(B_JSON_T *json) {
    if (json == nullptr) return;
    b_lexTerm(&json->lex);
    if (json->stack.array != nullptr) b_tag_subFree(json->subTag, json->stack.array);
    std::memset(json, 0, sizeof *json);
}
