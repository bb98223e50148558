// The B-tree driven by arbitrary bytes: the first byte picks the node size
// (2 to 17 slots), each following pair is an operation and a key. Every
// result is compared with a std::set, the cursor with an iterator wherever
// it is a defined position, and the structural checker runs after every
// operation; at the end the tree is torn down and every byte must be back.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <set>

#include "btree.h"
#include "btree_internal.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

void check(bool ok, int line = __builtin_LINE()) {
    if (ok) return;
    std::fprintf(stderr, "check failed at line %d\n", line);
    std::abort();
}

uint64_t g_keys[256];

ZEL_COMPARE compare(const void *a, const void *b, const void *) {
    const uint64_t x = *static_cast<const uint64_t *>(a);
    const uint64_t y = *static_cast<const uint64_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

int key(const void *p) {
    return p == nullptr ? -1 : static_cast<int>(*static_cast<const uint64_t *>(p));
}

// Where the cursor is: on `at`; after the last entry (Next null, Prev the
// last); on no entry (both null); or, after an add or a missed find or
// delete, nowhere defined (results need only be entries).
enum class Cur { kAt, kEnd, kOff, kUnknown };

struct Run {
    B_BTREE_T bt;
    std::set<int> model;
    Cur cur = Cur::kOff;
    int at = -1;
    int pending = -1;  // successor saved by a delete

    int after(int k) const {
        auto it = model.upper_bound(k);
        return it == model.end() ? -1 : *it;
    }
    int before(int k) const {
        auto it = model.lower_bound(k);
        return it == model.begin() ? -1 : *std::prev(it);
    }
    int last() const { return model.empty() ? -1 : *model.rbegin(); }
    void place(void *p, Cur otherwise) {
        at = key(p);
        cur = at >= 0 ? Cur::kAt : otherwise;
        pending = -1;
    }
    // After a step that returned `got` where `want` was expected.
    void stepped(int got, int want, Cur otherwise) {
        if (cur == Cur::kUnknown && pending < 0) {
            check(got < 0 || model.count(got));
            return;
        }
        check(got == want);
        place(got >= 0 ? &g_keys[got] : nullptr, otherwise);
    }

    void op(uint8_t code, uint8_t k) {
        const void *pk = &g_keys[k];
        switch (code % 12) {
            case 0:
            case 1: {
                const bool fresh = model.insert(k).second;
                check(b_btAdd(&bt, pk) == (fresh ? sOKAY : eDUPLICATE));
                cur = Cur::kUnknown;
                break;
            }
            case 2: {
                const int k1 = (k + 1) % 256, k2 = (k + 7) % 256;
                const void *arr[3] = {pk, &g_keys[k1], &g_keys[k2]};
                const bool clash = model.count(k) || model.count(k1) || model.count(k2);
                check(b_btAddMultiple(&bt, 3, arr) == (clash ? eDUPLICATE : sOKAY));
                if (!clash) model.insert({k, k1, k2});
                cur = Cur::kUnknown;
                break;
            }
            case 3: {
                const bool present = model.erase(k) != 0;
                check(key(b_btDelete(&bt, pk)) == (present ? k : -1));
                if (present) {
                    pending = after(k);
                    cur = Cur::kEnd;
                } else {
                    cur = Cur::kUnknown;
                }
                break;
            }
            case 4:
            case 5: {
                const bool first = code % 12 == 4;
                const int want = model.empty() ? -1 : (first ? *model.begin() : last());
                check(key(first ? b_btDeleteFirst(&bt) : b_btDeleteLast(&bt)) == want);
                model.erase(want);
                if (pending == want) pending = -1;
                cur = Cur::kOff;
                break;
            }
            case 6: {
                void *p = b_btFind(&bt, pk);
                check(key(p) == (model.count(k) ? k : -1));
                place(p, Cur::kUnknown);
                break;
            }
            case 7: {
                void *p = b_btFindOrNext(&bt, pk);
                check(key(p) == (model.count(k) ? k : after(k)));
                place(p, Cur::kEnd);
                break;
            }
            case 8: {
                void *p = b_btFindOrPrev(&bt, pk);
                check(key(p) == (model.count(k) ? k : before(k)));
                place(p, Cur::kOff);
                break;
            }
            case 9: {
                void *p = k % 2 ? b_btFirst(&bt) : b_btLast(&bt);
                check(key(p) == (model.empty() ? -1 : (k % 2 ? *model.begin() : last())));
                place(p, Cur::kEnd);
                break;
            }
            case 10: {
                const int want = pending >= 0 ? pending : (cur == Cur::kAt ? after(at) : -1);
                stepped(key(b_btNext(&bt)), want, cur == Cur::kOff ? Cur::kOff : Cur::kEnd);
                break;
            }
            case 11: {
                const int want = pending >= 0       ? before(pending)
                                 : cur == Cur::kAt  ? before(at)
                                 : cur == Cur::kEnd ? last()
                                                    : -1;
                stepped(key(b_btPrev(&bt)), want, Cur::kOff);
                break;
            }
        }
        const auto r = zel::detail::bt_check(&bt);
        check(r.error == nullptr && r.entries == model.size());
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    for (uint64_t i = 0; i < 256; ++i) g_keys[i] = i;
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
    check(b_tag_subCreate(master, &sub) == sOKAY);
    int64_t start = 0, cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &start, &peak, nullptr);
    Run run;
    check(b_btInit(&run.bt, compare, 2 + data[0] % 16, nullptr, sub) == sOKAY);
    for (size_t i = 1; i + 1 < size; i += 2) run.op(data[i], data[i + 1]);
    b_btTerm(&run.bt);
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    check(cur == start);
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
    return 0;
}
