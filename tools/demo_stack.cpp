// The stack tag and object pool section of `zelbase demo`: a stack tag grows
// across a block boundary and is rolled back to a mark, and a pool hands the
// same object out again.
#include <cinttypes>
#include <cstring>

#include "pool.h"
#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_stack(FILE *out);

namespace {

void zb_demo_stack_usage(FILE *out, B_TAG_STACK stack, const char *when) {
    int64_t cur = 0, peak = 0;
    b_tag_stackMemUsage(stack, &cur, &peak);
    std::fprintf(out, "  %-34s %6" PRId64 " bytes in use, peak %6" PRId64 "\n", when, cur, peak);
}

int zb_demo_stack_tag(FILE *out, B_TAG_MASTER master) {
    B_TAG_STACK stack = nullptr;
    if (b_tag_stackCreate(master, 4096, 4096, &stack) != sOKAY) return 1;
    std::fprintf(out, "stack tag: one-page blocks\n");
    zb_demo_stack_usage(out, stack, "fresh:");

    char *name = nullptr;
    if (b_tag_stackCopyString(stack, "orders", &name) != sOKAY) return 1;
    zb_demo_stack_usage(out, stack, "after copying \"orders\" (7 -> 8):");

    void *mark = nullptr;
    if (b_tag_stackAlloc(stack, 0, &mark) != sOKAY) return 1;  // the top itself
    std::fprintf(out, "  mark taken\n");

    const STACK_BLOCK_T *first = stack->current;
    int blocks = 1;
    for (int i = 0; i < 6; ++i) {
        void *row = nullptr;
        if (b_tag_stackAlloc(stack, 1500, &row) != sOKAY) return 1;
        if (stack->current != first && blocks == 1) {
            std::fprintf(out, "  row %d of 1500 bytes opened a second block\n", i + 1);
            blocks = 2;
        }
    }
    zb_demo_stack_usage(out, stack, "after six rows of 1500 bytes:");

    b_tag_stackFree(stack, mark);
    zb_demo_stack_usage(out, stack, "rolled back to the mark:");
    std::fprintf(out, "  top back in the first block: %s; name still \"%s\"\n",
                 stack->current == first ? "yes" : "no", name);
    bool ok = stack->current == first && std::strcmp(name, "orders") == 0;
    b_tag_stackDestroy(stack);
    return ok ? 0 : 1;
}

int zb_demo_stack_pool(FILE *out, B_TAG_MASTER master) {
    B_TAG_SUB sub = nullptr;
    if (b_tag_subCreate(master, &sub) != sOKAY) return 1;
    B_POOL_T pool;
    b_poolInit(&pool, sub, B_POOL_FIXED_SIZE, nullptr, nullptr, nullptr);
    std::fprintf(out, "object pool: cap %" PRIu32 "\n", pool.max_pooled_items);
    void *a = nullptr, *b = nullptr;
    int rc = 1;
    if (b_poolGetMem(&pool, 64, B_POOL_ALLOC_CLEAR, nullptr, &a) == sOKAY) {
        b_poolPut(&pool, a);
        std::fprintf(out, "  got a 64-byte object and put it back: %" PRIu32 " pooled\n",
                     pool.count);
        if (b_poolGetMem(&pool, 48, B_POOL_ALLOC, nullptr, &b) == sOKAY) {
            std::fprintf(out, "  a 48-byte request reuses it: %s\n", a == b ? "yes" : "no");
            rc = a == b ? 0 : 1;
            b_poolPut(&pool, b);
        }
    }
    b_poolTerm(&pool);
    b_tag_subDestroy(sub);
    return rc;
}

}  // namespace

int zb_demo_stack(FILE *out) {
    B_TAG_MASTER master = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) return 1;
    int rc = zb_demo_stack_tag(out, master);
    if (rc == 0) rc = zb_demo_stack_pool(out, master);
    b_tag_masterDestroy(master);
    return rc;
}
