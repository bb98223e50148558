// Key/value strings over any bytes: parse (the first byte picks the key
// compare), call every getter on every key, write the map back with every
// element quoted ('' doubled, \ escaped; a null element as nothing), parse
// that again and find the same keys with the same texts. b_tokenize splits
// the same bytes. Every input gives all memory back.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "avl.h"
#include "fuzz_tags.h"
#include "keyvalue.h"

namespace {

const B_KV *pairOf(const B_AVL_NODE_T *n) {
    return reinterpret_cast<const B_KV *>(n);
}

std::string quoted(const char *s) {
    std::string out = "'";
    for (; *s != '\0'; ++s) {
        if (*s == '\'') out += '\'';
        if (*s == '\\') out += '\\';
        out += *s;
    }
    return out + "'";
}

void everyGetter(const B_KEYVALUE_T *kv, const char *key, B_TAG_SUB sub) {
    char buf[16];
    char *s = nullptr;
    ZEL_BOOL_T b;
    int64_t i64;
    uint64_t u64;
    int32_t i32;
    uint32_t u32;
    int16_t i16;
    uint16_t u16;
    check(b_keyvalueGetValue(kv, key, buf, sizeof buf) != sNOTFOUND);
    (void)b_keyvalueGetValue(kv, key, buf, 1);
    if (b_keyvalueGetValueString(kv, key, sub, &s) == sOKAY) b_tag_subFree(sub, s);
    (void)b_keyvalueGetValueBoolean(kv, key, &b);
    (void)b_keyvalueGetInt64Value(kv, key, &i64);
    (void)b_keyvalueGetUInt64Value(kv, key, &u64);
    (void)b_keyvalueGetIntValue(kv, key, &i32);
    (void)b_keyvalueGetUIntValue(kv, key, &u32);
    (void)b_keyvalueGetInt16Value(kv, key, &i16);
    (void)b_keyvalueGetUInt16Value(kv, key, &u16);
    uint32_t n = 0;
    char **list = nullptr;
    check(b_keyvalueGetValueList(kv, key, &n, sub, &list) == sOKAY && n > 0);
    for (uint32_t i = 0; i < n; ++i) b_tag_subFree(sub, list[i]);
    b_tag_subFree(sub, list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    const ZEL_BOOL_T use_case = (data[0] & 1) != 0 ? ZEL_TRUE : ZEL_FALSE;
    const std::string text(reinterpret_cast<const char *>(data + 1), size - 1);

    B_KEYVALUE_T kv;
    const ZEL_RETCODE rc = b_keyvalueInit(&kv, text.c_str(), use_case, sub);
    check(rc == sOKAY || rc == eINVKEYVALUE);
    std::string back;
    for (const B_AVL_NODE_T *n = b_avlFirst(&kv.avl); n != nullptr; n = b_avlNext(n)) {
        const B_KV *p = pairOf(n);
        everyGetter(&kv, p->key, sub);
        back += quoted(p->key) + "=";
        for (uint32_t i = 0; i < p->num_elems; ++i) {
            if (i > 0) back += ",";
            if (p->elems[i].data != nullptr) back += quoted(p->elems[i].data);
        }
        back += ";";
    }

    B_KEYVALUE_T again;
    check(b_keyvalueInit(&again, back.c_str(), use_case, sub) == sOKAY);
    check(b_avlCount(&again.avl) == b_avlCount(&kv.avl));
    for (const B_AVL_NODE_T *a = b_avlFirst(&kv.avl), *b = b_avlFirst(&again.avl); a != nullptr;
         a = b_avlNext(a), b = b_avlNext(b)) {
        const B_KV *p = pairOf(a);
        const B_KV *q = pairOf(b);
        check(std::strcmp(p->key, q->key) == 0 && p->num_elems == q->num_elems);
        for (uint32_t i = 0; i < p->num_elems; ++i) {
            const char *x = p->elems[i].data;
            const char *y = q->elems[i].data;
            check((x == nullptr) == (y == nullptr));
            check(x == nullptr || std::strcmp(x, y) == 0);
        }
    }
    b_keyvalueTerm(&again);
    b_keyvalueTerm(&kv);

    std::string split = text;
    char **words = nullptr;
    uint32_t count = 0;
    check(b_tokenize(split.data(), ",; ", &words, &count, use_case, sub) == sOKAY);
    for (uint32_t i = 0; i < count; ++i) check(words[i][0] != '\0');
    b_tag_subFreeCanBeNull(sub, words);
    check(fuzzUsed(sub) == before);
    return 0;
}
