// The B-tree driven by arbitrary bytes: the first byte picks the node size
// (2 to 17 slots), each following pair is an operation and a key. Every
// result is compared with the std::set model of the tests, the cursor with an
// iterator wherever it is a defined position, and the structural checker runs
// after every operation; at the end the tree is torn down and every byte must
// be back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "../test/btree_model.h"
#include "btree.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

void check(const std::string &failure) {
    if (failure.empty()) return;
    std::fprintf(stderr, "%s\n", failure.c_str());
    std::abort();
}

std::string op(B_BTREE_T *bt, BtModel &m, uint8_t code, uint64_t k) {
    switch (code % 12) {
        case 0:
        case 1:
            return m.add(bt, k);
        case 2:  // three keys, clashing when k is near an entry or wraps
            return m.addMultiple(bt, {k, (k + 1) % 256, (k + 7) % 256});
        case 3:
            return m.del(bt, k);
        case 4:
        case 5:
            return m.deleteEnd(bt, code % 12 == 4);
        case 6:
            return m.find(bt, k);
        case 7:
        case 8:
            return m.findOr(bt, k, code % 12 == 7);
        case 9:
            return m.end(bt, k % 2 == 0);
        default:
            return m.step(bt, code % 12 == 10);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    if (b_tag_masterCreate(nullptr, 0, &master) != sOKAY) std::abort();
    if (b_tag_subCreate(master, &sub) != sOKAY) std::abort();
    int64_t start = 0, cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &start, &peak, nullptr);
    B_BTREE_T bt;
    if (b_btInit(&bt, BtModel::compare, 2 + data[0] % 16, nullptr, sub) != sOKAY) std::abort();
    BtModel m(256);
    for (size_t i = 1; i + 1 < size; i += 2) {
        check(op(&bt, m, data[i], data[i + 1]));
        check(m.check(&bt));
    }
    b_btTerm(&bt);
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    check(cur == start ? "" : "memory not given back");
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    return 0;
}
