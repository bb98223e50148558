// The JSON reader over any bytes: a pull walk of the first value, nested at
// most kDepthCap deep, on a master seeded with a small buffer, so that memory
// runs out now and then (eNOMEMORY is an allowed end). A walk that succeeded
// is printed back as strict JSON and read again to the same events; every
// walk gives all memory back. The first byte chooses a stack tag for tokens.
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "input.h"
#include "json.h"
#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace {

constexpr int kDepthCap = 64;
constexpr size_t kSeedBytes = 96 * B_PAGE_SIZE;

void checkAt(bool ok, int line) {
    if (!ok) {
        std::fprintf(stderr, "json_fuzz: check failed at line %d\n", line);
        std::abort();
    }
}
#define check(ok) checkAt((ok), __LINE__)

struct Tags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    B_TAG_STACK stack = nullptr;
};

Tags &fuzzTags() {
    alignas(B_PAGE_SIZE) static uint8_t seed[kSeedBytes];
    static Tags tags = [] {
        Tags t;
        check(b_tag_masterCreate(seed, sizeof seed, &t.master) == sOKAY);
        check(b_tag_subCreate(t.master, &t.sub) == sOKAY);
        check(b_tag_stackCreate(t.master, 4096, 8192, &t.stack) == sOKAY);
        return t;
    }();
    return tags;
}

int64_t used(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

struct Event {
    B_JSON_VALTYPE type;  // jvEND closes; jvNOVAL is a name
    std::string text;     // a name or string
    int64_t num = 0;
    double dbl = 0;
    bool operator==(const Event &o) const {
        return type == o.type && text == o.text && num == o.num &&
               std::memcmp(&dbl, &o.dbl, sizeof dbl) == 0;
    }
};

Event toEvent(const B_JSON_VAL &v) {
    Event e{v.type, {}};
    if (v.type == jvSTRING) e.text = v.v.str;
    if (v.type == jvNUMBER) e.num = v.v.num;
    if (v.type == jvBOOLEAN) e.num = v.v.flag;
    if (v.type == jvDOUBLE) e.dbl = v.v.dbl;
    return e;
}

// The events of the value just read and everything in it; sOKAY also when
// the depth cap stopped the walk (*capped set).
ZEL_RETCODE walkInside(B_JSON_T *j, const B_JSON_VAL &v, int depth, std::vector<Event> *ev,
                       bool *capped) {
    ev->push_back(toEvent(v));
    if (v.type != jvARRAY && v.type != jvOBJECT) return sOKAY;
    if (depth >= kDepthCap) {
        *capped = true;
        return sOKAY;
    }
    ZEL_RETCODE rc;
    for (;;) {
        if (v.type == jvARRAY) {
            B_JSON_VAL e;
            ZEL_CHECK(rc = b_jsonNextValue(j, nullptr, &e));
            check(e.type >= jvEND && e.type <= jvNULL && e.type != jvNOVAL);
            if (e.type == jvEND) break;
            rc = walkInside(j, e, depth + 1, ev, capped);
            if (e.type == jvSTRING) b_tag_subFree(j->subTag, e.v.str);
        } else {
            B_JSON_PAIR p;
            ZEL_CHECK(rc = b_jsonNextPair(j, nullptr, &p));
            if (p.value.type == jvEND) {
                check(p.name == nullptr);
                break;
            }
            ev->push_back(Event{jvNOVAL, p.name});
            rc = walkInside(j, p.value, depth + 1, ev, capped);
            b_jsonFreePair(j, &p);
        }
        if (rc != sOKAY || *capped) return rc;
    }
    ev->push_back(Event{jvEND, {}});
    return sOKAY;
}

ZEL_RETCODE walk(const uint8_t *data, size_t size, B_TAG_STACK stack, std::vector<Event> *ev,
                 bool *capped) {
    Tags &tags = fuzzTags();
    B_INPUT_T in;
    b_inputInitFromMemory(&in, data, size, tags.sub);
    B_JSON_T j;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_jsonInit(&j, &in, tags.sub, stack));
    B_JSON_VAL v;
    if ((rc = b_jsonNextValue(&j, nullptr, &v)) == sOKAY) {
        rc = walkInside(&j, v, 0, ev, capped);
        if (v.type == jvSTRING) b_tag_subFree(tags.sub, v.v.str);
    }
    b_jsonTerm(&j);
    return rc;
}

void printString(const std::string &s, std::string *out) {
    *out += '"';
    for (char c : s) {
        if (c == '"' || c == '\\') *out += '\\';
        *out += c;
    }
    *out += '"';
}

// Strict JSON of the events from `i` on, one complete value.
void print(const std::vector<Event> &ev, size_t *i, std::string *out) {
    const Event &e = ev[(*i)++];
    char buf[64];
    switch (e.type) {
        case jvSTRING:
            printString(e.text, out);
            return;
        case jvNUMBER:
            if (e.num < 0) *out += '-';
            *out += std::to_string(e.num < 0 ? 0 - static_cast<uint64_t>(e.num) : e.num);
            return;
        case jvDOUBLE:
            if (e.dbl == __builtin_inf()) {
                *out += "1e999";
            } else {
                *out += std::string(
                    buf,
                    std::to_chars(buf, buf + sizeof buf, e.dbl, std::chars_format::scientific).ptr);
            }
            return;
        case jvBOOLEAN:
            *out += e.num != 0 ? "true" : "false";
            return;
        case jvNULL:
            *out += "null";
            return;
        case jvARRAY:
        case jvOBJECT: {
            const bool object = e.type == jvOBJECT;
            *out += object ? '{' : '[';
            for (bool first = true; ev[*i].type != jvEND; first = false) {
                if (!first) *out += ',';
                if (object) {
                    printString(ev[(*i)++].text, out);
                    *out += ':';
                }
                print(ev, i, out);
            }
            ++*i;
            *out += object ? '}' : ']';
            return;
        }
        default:
            check(false);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    Tags &tags = fuzzTags();
    B_TAG_STACK stack = (data[0] & 1) != 0 ? tags.stack : nullptr;
    const int64_t before = used(tags.sub);
    std::vector<Event> first;
    bool capped = false;
    const ZEL_RETCODE rc = walk(data + 1, size - 1, stack, &first, &capped);
    check(rc == sOKAY || rc == eSYNTAX || rc == eNOMEMORY);
    check(used(tags.sub) == before);
    if (stack != nullptr) b_tag_stackFreeAll(stack);
    if (rc != sOKAY || capped) return 0;

    std::string text;
    size_t i = 0;
    print(first, &i, &text);
    check(i == first.size());
    std::vector<Event> again;
    const ZEL_RETCODE rc2 =
        walk(reinterpret_cast<const uint8_t *>(text.data()), text.size(), stack, &again, &capped);
    if (stack != nullptr) b_tag_stackFreeAll(stack);
    check(used(tags.sub) == before);
    if (rc2 == eNOMEMORY) return 0;
    if (rc2 != sOKAY || again != first) {
        std::fprintf(stderr, "printed: %s\n", text.c_str());
        check(false);
    }
    return 0;
}
