// What `zelbase demo` shows of the small containers: a pointer list walked with
// its cursor, a pointer array searched by address, the table hash of a few
// keys, the next primes for hash table sizes, and Mersenne Twister draws.
#include <cinttypes>
#include <cstring>
#include <initializer_list>

#include "array.h"
#include "hash.h"
#include "list.h"
#include "prime.h"
#include "rand.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_containers(FILE *out);

namespace {

const char *const kDemoNames[] = {"orders", "customers", "items", "stock"};

uint64_t zb_demo_containers_hash(const char *text) {
    B_HASHCTX ctx;
    b_hashFcnStart(&ctx);
    b_hashFcnEmitBuffer(&ctx, text, std::strlen(text));
    return b_hashFcnFinish(&ctx);
}

int zb_demo_containers_run(FILE *out, B_TAG_SUB sub) {
    B_LL_T ll;
    b_llInit(&ll, sub);
    for (const char *name : kDemoNames) {
        if (b_llAddTail(&ll, name) != sOKAY) return 1;
    }
    std::fprintf(out, "list of %" PRIu32 " tables, walked with the cursor:", b_llGetNodeCount(&ll));
    for (void *p = b_llFirst(&ll); p != nullptr; p = b_llNext(&ll)) {
        std::fprintf(out, " %s", static_cast<const char *>(p));
    }
    (void)b_llRemove(&ll, kDemoNames[1]);
    std::fprintf(out,
                 "\n  after removing \"customers\": %" PRIu32 " left, head \"%s\", tail \"%s\"\n",
                 b_llGetNodeCount(&ll), static_cast<const char *>(b_llGetHead(&ll)),
                 static_cast<const char *>(b_llGetTail(&ll)));
    b_llTerm(&ll);

    B_ARRAY_T arr;
    b_arrInit(&arr, sub);
    for (const char *name : kDemoNames) {
        if (b_arrAdd(&arr, const_cast<char *>(name), nullptr) != sOKAY) return 1;
    }
    uint32_t index = 0;
    if (b_arrGetIndex(&arr, kDemoNames[2], &index) != sOKAY) return 1;
    std::fprintf(
        out, "array: %" PRIu32 " entries in room for %" PRIu32 ", \"items\" at index %" PRIu32 "\n",
        b_arrCount(&arr), arr.size, index);
    b_arrTerm(&arr);

    std::fprintf(out, "table hash (a byte's position counts modulo 8):\n");
    for (const char *key : {"", "a", "abc", "orders", "aXXXXXXXa", "qXXXXXXXq"}) {
        const int width = 12 - static_cast<int>(std::strlen(key));
        std::fprintf(out, "  \"%s\"%*s %016" PRIx64 "\n", key, width, "",
                     zb_demo_containers_hash(key));
    }

    std::fprintf(out, "next primes:");
    for (uint64_t n : {0u, 6u, 100u, 1000u, 65536u, 1000000u}) {
        uint64_t p = 0;
        if (b_primeNextGreaterOrEqual(n, &p, sub) != sOKAY) return 1;
        std::fprintf(out, " %" PRIu64 "->%" PRIu64, n, p);
    }
    std::fprintf(out, "\n");

    B_RAND rnd = nullptr;
    if (b_randCreate(&rnd, 5489, sub) != sOKAY) return 1;
    std::fprintf(out, "MT19937, seed 5489: %" PRIu32, b_randGetUInt32(rnd));
    for (int i = 0; i < 2; i++) std::fprintf(out, ", %" PRIu32, b_randGetUInt32(rnd));
    std::fprintf(out, "; a double %.6f\n", b_randGetDouble(rnd));
    b_randDestroy(rnd);
    return 0;
}

}  // namespace

int zb_demo_containers(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    const int rc = zb_demo_containers_run(out, sub);
    return rc;
}
