/*
 * keyvalue.cpp - key/value strings. The lexer named "key/value" (paths are
 * identifiers, no comments, both quotes open strings) hands its tokens over in
 * place; each pair is gathered in one scratch buffer (on the stack while it
 * fits) as its key and a flag byte plus text per element, and only when the
 * pair is complete is it laid out in one block of the map's sub tag: the B_KV,
 * its element array, the key and the texts. So a pair costs one allocation,
 * a half-built pair costs nothing to drop, and freeing a pair is one free.
 *
 * Kept, because option strings in use rely on them: blanks between tokens
 * vanish ("a=x y" is "xy"); a number replaces the text before it ("a=foo-5"
 * is "5"); floats are written "%f" (through std::to_chars, so no locale
 * reaches them); multipliers are decimal ("2K" is 2000); a boolean is cut to
 * 9 characters before it is looked up.
 */
#include "keyvalue.h"

#include <array>
#include <charconv>
#include <iterator>
#include <cstring>

#include "lex.h"
#include "lex_internal.h"
#include "psp.h"
#include "tag_sub.h"

namespace {

// ---- The map.

const char *kv_keyOf(const B_AVL_NODE_T *node) {
    return reinterpret_cast<const B_KV *>(node)->key;
}

ZEL_COMPARE kv_fold(int c) {
    return c < 0 ? ZEL_LT : (c > 0 ? ZEL_GT : ZEL_EQ);
}

ZEL_COMPARE kv_compareCase(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    return kv_fold(psp_strcmp(kv_keyOf(lookup), kv_keyOf(node)));
}

constexpr int kv_lower(char c) {
    const auto u = static_cast<unsigned char>(c);
    return u >= 'A' && u <= 'Z' ? u + 32 : u;
}

// psp_strcasecmp's order, in line: the tree's compare is the map's hottest
// loop, and keys mostly agree byte for byte up to where they differ.
ZEL_COMPARE kv_compareNoCase(const B_AVL_NODE_T *lookup, const B_AVL_NODE_T *node, void *) {
    const char *a = kv_keyOf(lookup);
    const char *b = kv_keyOf(node);
    for (;; ++a, ++b) {
        if (*a == *b) {
            if (*a == '\0') return ZEL_EQ;
            continue;
        }
        const int c = kv_lower(*a) - kv_lower(*b);
        if (c != 0) return kv_fold(c);
    }
}

const B_KV *kv_find(const B_KEYVALUE_T *kv, const char *key) {
    B_KV probe{};
    probe.key = const_cast<char *>(key);
    return reinterpret_cast<const B_KV *>(b_avlFind(&kv->avl, &probe.avlNode));
}

// The pair's single element: sNOTFOUND, eVALUEISLIST, eINVNULLARG or sOKAY.
ZEL_RETCODE kv_single(const B_KEYVALUE_T *kv, const char *key, const B_KV_ELEM **elem) {
    if (kv == nullptr || key == nullptr) return eINVNULLARG;
    const B_KV *pair = kv_find(kv, key);
    if (pair == nullptr) return sNOTFOUND;
    if (pair->num_elems != 1) return eVALUEISLIST;
    *elem = &pair->elems[0];
    return sOKAY;
}

const char *kv_text(const B_KV_ELEM *elem) {
    return elem->data != nullptr ? elem->data : "";
}

// ---- The scratch of one pair.

// In the scratch each element's text follows a head of a flag byte and the
// text's length; a null element has the head only.
enum : uint8_t { kElemNull = 0, kElemPlain = 1, kElemQuoted = 2 };
constexpr size_t kElemHead = 1 + sizeof(size_t);

// Bytes on the stack first, tag memory past them.
class KvScratch {
  public:
    explicit KvScratch(B_TAG_SUB tag) : tag_(tag) {}
    ~KvScratch() {
        if (buf_ != local_) b_tag_subFree(tag_, buf_);
    }
    KvScratch(const KvScratch &) = delete;
    KvScratch &operator=(const KvScratch &) = delete;

    char *data() { return buf_; }
    size_t size() const { return len_; }
    void truncate(size_t len) { len_ = len; }
    ZEL_RETCODE append(const char *s, size_t n) {
        if (n > cap_ - len_) {
            size_t cap = cap_ * 2;
            while (cap - len_ < n) cap *= 2;
            void *p = nullptr;
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = b_tag_subReallocAny(tag_, buf_ == local_ ? nullptr : buf_,
                                               buf_ == local_ ? 0 : len_, cap, &p));
            if (buf_ == local_) std::memcpy(p, local_, len_);
            buf_ = static_cast<char *>(p);
            cap_ = cap;
        }
        std::memcpy(buf_ + len_, s, n);
        len_ += n;
        return sOKAY;
    }
    ZEL_RETCODE put(char c) { return append(&c, 1); }

  private:
    B_TAG_SUB tag_;
    char local_[512];
    char *buf_ = local_;
    size_t cap_ = sizeof local_;
    size_t len_ = 0;
};

// ---- Numbers as the elements keep them.

// "%lu" and "%f", the C locale's bytes whatever the process's locale.
constexpr size_t kNumberText = 330;  // "%f" of the largest double: 309 + 1 + 6 digits

size_t kv_formatInteger(uint64_t v, char *out) {
    return static_cast<size_t>(std::to_chars(out, out + kNumberText, v).ptr - out);
}

size_t kv_formatFixed(double v, char *out) {
    return static_cast<size_t>(
        std::to_chars(out, out + kNumberText, v, std::chars_format::fixed, 6).ptr - out);
}

// ---- The parser.

struct KvParser {
    B_KEYVALUE_T *kv;
    B_LEX_T lex;
    KvScratch scratch;
    B_TOKEN tok;
    size_t keyLen = 0;    // the key, terminated, starts the scratch
    uint32_t elems = 0;   // elements of the pair gathered so far
    size_t textSize = 0;  // their texts, with terminators

    explicit KvParser(B_KEYVALUE_T *map) : kv(map), lex(), scratch(map->subTag), tok() {}

    // The next token, its text left in tokbuf; eNOMEMORY when the lexer ran
    // short (the token is then an error or cut).
    ZEL_RETCODE next() {
        zel::detail::lex_getInPlace(&lex, &tok);
        if (lex.nomem == ZEL_FALSE) return sOKAY;
        b_lexTokenFree(&lex, &tok);
        return eNOMEMORY;
    }
    // Refuses the token at hand, releasing what it owns (a decimal, binary).
    ZEL_RETCODE refuse() {
        b_lexTokenFree(&lex, &tok);
        return eINVKEYVALUE;
    }
    const char *text() const { return lex.tokbuf; }

    ZEL_RETCODE number(size_t start, bool minus);
    ZEL_RETCODE value();
    ZEL_RETCODE store();
    ZEL_RETCODE run();
};

// Replaces the element's text (from `start`) by the number at hand, with a
// leading "-" when `minus`; eINVKEYVALUE when the token is no number.
ZEL_RETCODE KvParser::number(size_t start, bool minus) {
    char buf[kNumberText + 1];
    size_t n;
    if (tok.type == tokINTEGER) {
        n = kv_formatInteger(tok.v.iv, buf + 1);
    } else if (tok.type == tokDOUBLE) {
        n = kv_formatFixed(tok.v.dv, buf + 1);
    } else {
        return refuse();
    }
    buf[0] = '-';
    scratch.truncate(start);
    return minus ? scratch.append(buf, n + 1) : scratch.append(buf + 1, n);
}

// The elements of one value, up to ";" or the end, appended to the scratch
// after the key: a head, then for a non-null element its terminated text.
ZEL_RETCODE KvParser::value() {
    static constexpr char kNoHead[kElemHead] = {};
    ZEL_RETCODE rc;
    elems = 0;
    textSize = 0;
    for (;;) {
        const size_t flag = scratch.size();
        ZEL_CHECK(rc = scratch.append(kNoHead, kElemHead));
        scratch.data()[flag] = static_cast<char>(kElemPlain);
        const size_t start = scratch.size();
        bool tokens = false;
        bool afterIdentifier = false;
        for (;;) {
            ZEL_CHECK(rc = next());
            const B_TOKTYPE type = tok.type;
            if (type == tokCOMMA || type == tokSEMI || type == tokEOS) break;
            switch (type) {
                case tokIDENTIFIER:
                    ZEL_CHECK(rc = scratch.append(text(), lex.tokpos));
                    break;
                case tokSTRING:
                    scratch.truncate(start);
                    ZEL_CHECK(rc = scratch.append(text(), std::strlen(text())));
                    scratch.data()[flag] = static_cast<char>(kElemQuoted);
                    break;
                case tokINTEGER:
                case tokDOUBLE:
                    ZEL_CHECK(rc = number(start, false));
                    break;
                case tokMINUS:
                case tokPLUS:
                    // Deliberate: a sign is text only right after an identifier
                    // ("foo-bar"); elsewhere it signs the number that must follow.
                    if (afterIdentifier) {
                        ZEL_CHECK(rc = scratch.put(static_cast<char>(type)));
                    } else {
                        ZEL_CHECK(rc = next());
                        ZEL_CHECK(rc = number(start, type == tokMINUS));
                    }
                    break;
                case tokPERIOD:
                case tokEXCL:
                case tokPOUND:
                case tokPCT:
                case tokAMP:
                case tokLPAR:
                case tokRPAR:
                case tokSTAR:
                case tokFSLASH:
                case tokLT:
                case tokEQ:
                case tokGR:
                case tokQUESTION:
                case tokAT:
                case tokLBRACK:
                case tokBSLASH:
                case tokRBRACK:
                case tokCIRCUM:
                case tokGRAVE:
                case tokLBRACE:
                case tokBAR:
                case tokRBRACE:
                case tokTILDE:
                    ZEL_CHECK(rc = scratch.put(static_cast<char>(type)));
                    break;
                default:  // ":", "$", decimals, binary literals, lexical errors
                    return refuse();
            }
            tokens = true;
            afterIdentifier = type == tokIDENTIFIER;
        }
        ++elems;
        const size_t len = scratch.size() - start;
        if (tokens || tok.type != tokCOMMA) {
            if (!tokens && elems > 1) return eINVKEYVALUE;  // "k=a,": a list may not end empty
            ZEL_CHECK(rc = scratch.put('\0'));              // "k=" alone: one empty element
            std::memcpy(scratch.data() + flag + 1, &len, sizeof len);
            textSize += len + 1;
        } else {
            scratch.data()[flag] = static_cast<char>(kElemNull);  // null before a comma
        }
        if (tok.type != tokCOMMA) return sOKAY;
    }
}

// Lays the gathered pair out in one block and puts it in the tree in place of
// an equal key's pair, which is freed.
ZEL_RETCODE KvParser::store() {
    const char *src = scratch.data();
    const size_t head = sizeof(B_KV) + elems * sizeof(B_KV_ELEM);
    void *block = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAlloc(kv->subTag, head + keyLen + 1 + textSize, &block));
    auto *pair = static_cast<B_KV *>(block);
    pair->avlNode = B_AVL_NODE_T{};
    pair->num_elems = elems;
    pair->elems = reinterpret_cast<B_KV_ELEM *>(static_cast<char *>(block) + sizeof(B_KV));
    char *out = static_cast<char *>(block) + head;
    std::memcpy(out, src, keyLen + 1);
    pair->key = out;
    out += keyLen + 1;
    size_t at = keyLen + 1;
    for (uint32_t i = 0; i < elems; ++i) {
        const char flag = src[at];
        size_t n = 0;
        std::memcpy(&n, src + at + 1, sizeof n);
        at += kElemHead;
        B_KV_ELEM &e = pair->elems[i];
        e.needs_quotes = flag == static_cast<char>(kElemQuoted) ? ZEL_TRUE : ZEL_FALSE;
        e.data = nullptr;
        if (flag == static_cast<char>(kElemNull)) continue;
        std::memcpy(out, src + at, n + 1);
        e.data = out;
        out += n + 1;
        at += n + 1;
    }
    if (b_avlAdd(&kv->avl, &pair->avlNode) == eDUPLICATE) {
        // The last of equal keys wins.
        b_tag_subFree(kv->subTag, b_avlDelete(&kv->avl, &pair->avlNode));
        (void)b_avlAdd(&kv->avl, &pair->avlNode);
    }
    return sOKAY;
}

ZEL_RETCODE KvParser::run() {
    ZEL_RETCODE rc;
    for (;;) {
        ZEL_CHECK(rc = next());
        if (tok.type == tokSEMI) continue;
        if (tok.type == tokEOS) return sOKAY;
        if (tok.type != tokIDENTIFIER && tok.type != tokSTRING) return refuse();
        keyLen = tok.type == tokIDENTIFIER ? lex.tokpos : std::strlen(text());
        scratch.truncate(0);
        ZEL_CHECK(rc = scratch.append(text(), keyLen));
        ZEL_CHECK(rc = scratch.put('\0'));
        ZEL_CHECK(rc = next());
        if (tok.type != tokEQ) return refuse();
        ZEL_CHECK(rc = value());
        ZEL_CHECK(rc = store());
        if (tok.type == tokEOS) return sOKAY;
    }
}

// ---- Numbers with a multiplier.

constexpr std::array<uint8_t, 256> kZeros = [] {
    std::array<uint8_t, 256> t{};
    t['k'] = t['K'] = 3;
    t['m'] = t['M'] = 6;
    t['g'] = t['G'] = 9;
    t['t'] = t['T'] = 12;
    t['p'] = t['P'] = 15;
    return t;
}();

// Reads `text` with `parse` after the multiplier: a suffix letter, the last
// character or one before a newline, is cut and its zeros are appended
// (decimal on purpose: "2K" is 2000). Any length of text is served.
template <class Parse>
ZEL_RETCODE kv_scaled(B_TAG_SUB tag, const char *text, Parse parse) {
    size_t at = 0;
    for (; text[at] != '\0' && text[at] != '\n'; ++at) {
        if (kZeros[static_cast<uint8_t>(text[at])] != 0) break;
    }
    const uint8_t zeros = kZeros[static_cast<uint8_t>(text[at])];
    if (zeros == 0) return parse(text);
    if (text[at + 1] != '\0' && text[at + 1] != '\n') return eRANGE;
    char local[64];
    char *buf = local;
    const size_t need = at + zeros + 1;
    ZEL_RETCODE rc;
    if (need > sizeof local) {
        void *p = nullptr;
        ZEL_CHECK(rc = b_tag_subAlloc(tag, need, &p));
        buf = static_cast<char *>(p);
    }
    std::memcpy(buf, text, at);
    std::memset(buf + at, '0', zeros);
    buf[at + zeros] = '\0';
    rc = parse(buf);
    if (buf != local) b_tag_subFree(tag, buf);
    return rc;
}

// The single value through the multiplier into `parse`: the shared part of
// the 64-bit getters. With `check` false (a null out) only the key is looked
// at.
template <class Parse>
ZEL_RETCODE kv_number(const B_KEYVALUE_T *kv, const char *key, bool check, Parse parse) {
    const B_KV_ELEM *elem = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = kv_single(kv, key, &elem));
    if (rc != sOKAY || !check) return rc;
    const char *text = kv_text(elem);
    if (text[0] == '\0') return sKVNOVALUE;
    return kv_scaled(kv->subTag, text, parse);
}

// The signed 64-bit value within [lo, hi], else eRANGE; the statuses pass.
ZEL_RETCODE kv_signedIn(const B_KEYVALUE_T *kv, const char *key, int64_t lo, int64_t hi,
                        int64_t *out) {
    int64_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_keyvalueGetInt64Value(kv, key, &v));
    if (rc != sOKAY) return rc;
    if (v < lo || v > hi) return eRANGE;
    *out = v;
    return sOKAY;
}

constexpr const char *keyvalue_TrueValues[] = {"yes", "y", "on", "true", "1"};
constexpr const char *keyvalue_FalseValues[] = {"n", "no", "off", "false", "0"};

// Deliberate: a boolean is read through a buffer of 9 characters, so a longer
// word is cut and then fails.
constexpr size_t kBooleanChars = 9;

}  // namespace

// ---- Life cycle.

ZEL_RETCODE b_keyvalueInit(B_KEYVALUE_T *kv, const char *str, ZEL_BOOL_T use_case,
                           B_TAG_SUB subTag) {
    if (kv == nullptr) return eINVNULLARG;
    kv->subTag = subTag;
    kv->cmpfcn = use_case ? psp_strcmp : psp_strcasecmp;
    b_avlInit(&kv->avl, use_case ? kv_compareCase : kv_compareNoCase, nullptr);
    if (subTag == nullptr) return eINVNULLARG;
    if (str == nullptr || str[0] == '\0') return sOKAY;
    KvParser p(kv);
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_lexInit(&p.lex, "key/value", ZEL_FALSE, ZEL_FALSE, subTag));
    rc = b_lexStart(&p.lex, str, nullptr, 0, nullptr);
    if (rc == sOKAY) rc = p.run();
    b_lexTerm(&p.lex);
    return rc;
}

void b_keyvalueTerm(B_KEYVALUE_T *kv) {
    if (kv == nullptr || kv->subTag == nullptr) return;
    // In order, each pair freed once its successor is known: a successor is
    // found through its own links and those of later pairs only.
    for (B_AVL_NODE_T *n = b_avlFirst(&kv->avl); n != nullptr;) {
        B_AVL_NODE_T *next = b_avlNext(n);
        b_tag_subFree(kv->subTag, n);
        n = next;
    }
    b_avlInit(&kv->avl, kv->avl.cmpfcn, nullptr);
}

// ---- Getters.

ZEL_RETCODE b_keyvalueGetValue(const B_KEYVALUE_T *kv, const char *key, char *value,
                               size_t value_len) {
    const B_KV_ELEM *elem = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = kv_single(kv, key, &elem));
    if (rc != sOKAY) return rc;
    if (value == nullptr) return sKVNOVALUE;
    const char *text = kv_text(elem);
    const size_t len = std::strlen(text);
    if (len == 0) {
        if (value_len > 0) value[0] = '\0';
        return sKVNOVALUE;
    }
    if (value_len == 0) return sTRUNCATE;
    if (len >= value_len) {
        std::memcpy(value, text, value_len - 1);
        value[value_len - 1] = '\0';
        return sTRUNCATE;
    }
    std::memcpy(value, text, len + 1);
    return sOKAY;
}

ZEL_RETCODE b_keyvalueGetValueString(const B_KEYVALUE_T *kv, const char *key, B_TAG_SUB subTag,
                                     char **value) {
    const B_KV_ELEM *elem = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = kv_single(kv, key, &elem));
    if (rc != sOKAY || value == nullptr) return rc;
    const char *text = kv_text(elem);
    if (text[0] == '\0') {
        *value = nullptr;  // kept: callers test the pointer after sKVNOVALUE
        return sKVNOVALUE;
    }
    if (subTag == nullptr) return eINVNULLARG;
    void *copy = nullptr;
    ZEL_CHECK(rc = b_tag_subCopyString(subTag, text, &copy));
    *value = static_cast<char *>(copy);
    return sOKAY;
}

ZEL_RETCODE b_keyvalueGetBooleanFromString(const char *str, ZEL_BOOL_T *pval) {
    if (str == nullptr) return eINVNULLARG;
    for (size_t i = 0; i < std::size(keyvalue_TrueValues); ++i) {
        const bool yes = psp_strcasecmp(str, keyvalue_TrueValues[i]) == 0;
        if (yes || psp_strcasecmp(str, keyvalue_FalseValues[i]) == 0) {
            if (pval != nullptr) *pval = yes ? ZEL_TRUE : ZEL_FALSE;
            return sOKAY;
        }
    }
    return eINVOPTIONVALUE;
}

ZEL_RETCODE b_keyvalueGetValueBoolean(const B_KEYVALUE_T *kv, const char *key, ZEL_BOOL_T *value) {
    char word[kBooleanChars + 1];
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_keyvalueGetValue(kv, key, word, sizeof word));
    if (rc == sNOTFOUND || rc == sKVNOVALUE) return rc;
    return b_keyvalueGetBooleanFromString(word, value);  // a cut word is still tried
}

ZEL_RETCODE b_keyvalueGetInt64Value(const B_KEYVALUE_T *kv, const char *key, int64_t *value) {
    return kv_number(kv, key, value != nullptr,
                     [value](const char *text) { return psp_stratoi64(text, value); });
}

ZEL_RETCODE b_keyvalueGetUInt64Value(const B_KEYVALUE_T *kv, const char *key, uint64_t *value) {
    return kv_number(kv, key, value != nullptr,
                     [value](const char *text) { return psp_stratoui64(text, value); });
}

ZEL_RETCODE b_keyvalueGetIntValue(const B_KEYVALUE_T *kv, const char *key, int32_t *value) {
    int64_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = kv_signedIn(kv, key, INT32_MIN, INT32_MAX, &v));
    if (rc == sOKAY && value != nullptr) *value = static_cast<int32_t>(v);
    return rc;
}

ZEL_RETCODE b_keyvalueGetUIntValue(const B_KEYVALUE_T *kv, const char *key, uint32_t *value) {
    uint64_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_keyvalueGetUInt64Value(kv, key, &v));
    if (rc != sOKAY) return rc;
    if (v > UINT32_MAX) return eRANGE;
    if (value != nullptr) *value = static_cast<uint32_t>(v);
    return sOKAY;
}

ZEL_RETCODE b_keyvalueGetInt16Value(const B_KEYVALUE_T *kv, const char *key, int16_t *value) {
    int64_t v = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = kv_signedIn(kv, key, INT16_MIN, INT16_MAX, &v));
    if (rc == sOKAY && value != nullptr) *value = static_cast<int16_t>(v);
    return rc;
}

ZEL_RETCODE b_keyvalueGetUInt16Value(const B_KEYVALUE_T *kv, const char *key, uint16_t *value) {
    int64_t v = 0;
    ZEL_RETCODE rc;
    // Deliberate: through the signed getter, as the 16-bit options always were.
    ZEL_CHECK(rc = kv_signedIn(kv, key, 0, UINT16_MAX, &v));
    if (rc == sOKAY && value != nullptr) *value = static_cast<uint16_t>(v);
    return rc;
}

ZEL_RETCODE b_keyvalueGetValueList(const B_KEYVALUE_T *kv, const char *key, uint32_t *pnum_values,
                                   B_TAG_SUB subTag, char ***pvalues) {
    if (kv == nullptr || key == nullptr) return eINVNULLARG;
    const B_KV *pair = kv_find(kv, key);
    if (pair == nullptr) return sNOTFOUND;
    if (pvalues != nullptr) {
        if (subTag == nullptr) return eINVNULLARG;
        void *p = nullptr;
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_tag_subAlloc(subTag, pair->num_elems * sizeof(char *), &p));
        auto *list = static_cast<char **>(p);
        for (uint32_t i = 0; i < pair->num_elems; ++i) {
            void *copy = nullptr;
            rc = b_tag_subCopyString(subTag, kv_text(&pair->elems[i]), &copy);
            if (rc < 0) {
                while (i > 0) b_tag_subFree(subTag, list[--i]);
                b_tag_subFree(subTag, list);
                return rc;
            }
            list[i] = static_cast<char *>(copy);
        }
        *pvalues = list;
    }
    if (pnum_values != nullptr) *pnum_values = pair->num_elems;
    return sOKAY;
}

ZEL_RETCODE b_keyvalueIterateKeys(const B_KEYVALUE_T *kv, void *ctx, B_KEYVALUE_ITERATE_KEYS fcn) {
    if (kv == nullptr || fcn == nullptr) return eINVNULLARG;
    for (const B_AVL_NODE_T *n = b_avlFirst(&kv->avl); n != nullptr; n = b_avlNext(n)) {
        const ZEL_RETCODE rc = fcn(ctx, kv->cmpfcn, kv_keyOf(n));
        if (rc != sOKAY) return rc;
    }
    return sOKAY;
}

ZEL_RETCODE b_keyvalueIterate(const B_KEYVALUE_T *kv, void *ctx, B_KEYVALUE_ITERATE fcn) {
    if (kv == nullptr || fcn == nullptr) return eINVNULLARG;
    for (const B_AVL_NODE_T *n = b_avlFirst(&kv->avl); n != nullptr; n = b_avlNext(n)) {
        const ZEL_RETCODE rc = fcn(ctx, kv_keyOf(n));
        if (rc != sOKAY) return rc;
    }
    return sOKAY;
}

// ---- The splitter.

ZEL_RETCODE b_tokenize(char *input, const char *tokens, char ***words, uint32_t *numwords,
                       ZEL_BOOL_T trim_spaces, B_TAG_SUB subTag) {
    if (input == nullptr || tokens == nullptr || words == nullptr || numwords == nullptr ||
        subTag == nullptr) {
        return eINVNULLARG;
    }
    char **list = nullptr;
    uint32_t count = 0;
    uint32_t room = 0;
    char *context = nullptr;
    for (char *word = psp_strtok(input, tokens, &context); word != nullptr;
         word = psp_strtok(nullptr, tokens, &context)) {
        if (trim_spaces) {
            while (*word == ' ' || *word == '\t') ++word;
            size_t n = std::strlen(word);
            while (n > 0 && (word[n - 1] == ' ' || word[n - 1] == '\t')) word[--n] = '\0';
            if (n == 0) continue;
        }
        if (count == room) {
            // Grown by half again rather than by one entry per word.
            const uint32_t more = room < 8 ? 8 : room + room / 2;
            void *p = list;
            const ZEL_RETCODE rc = b_tag_subReallocAny(subTag, list, count * sizeof(char *),
                                                       more * sizeof(char *), &p);
            if (rc < 0) {
                b_tag_subFreeCanBeNull(subTag, list);
                return rc;
            }
            list = static_cast<char **>(p);
            room = more;
        }
        list[count++] = word;
    }
    *words = list;
    *numwords = count;
    return sOKAY;
}
