// `zelbase btree [--slots N] [--seed S] [--add N] [--delete M]` builds a
// B-tree of N distinct random 64-bit keys (seeded), deletes M of them in
// random order, and prints the tree level by level (nodes, entries, fill)
// with the depth range of its leaves and the structural checker's verdict.
// The exit code is 0 for a sound tree, 1 otherwise, 2 for bad arguments.
#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include "btree.h"
#include "btree_internal.h"
#include "zelbase_cmds.h"

int zb_cmd_btree(int argc, char **argv);

namespace {

bool zb_btree_number(const char *text, uint64_t max, uint64_t *v) {
    if (text == nullptr || *text < '0' || *text > '9') return false;
    errno = 0;
    char *end = nullptr;
    const unsigned long long n = std::strtoull(text, &end, 10);
    if (errno != 0 || *end != '\0' || n > max) return false;
    *v = n;
    return true;
}

ZEL_COMPARE zb_btree_compare(const void *a, const void *b, const void *) {
    const uint64_t x = *static_cast<const uint64_t *>(a);
    const uint64_t y = *static_cast<const uint64_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

struct zb_btree_level {
    uint64_t nodes = 0, entries = 0;
    uint32_t min = UINT32_MAX, max = 0;
    std::string keys;
};

}  // namespace

int zb_btree_print(FILE *out, const B_BTREE_T *bt, bool keys) {
    std::vector<zb_btree_level> levels;
    const auto r = zel::detail::bt_check(bt, [&](uint32_t level, const B_BTREE_NODE *n) {
        if (levels.size() <= level) levels.resize(level + 1);
        zb_btree_level &l = levels[level];
        l.nodes++;
        l.entries += n->used;
        l.min = std::min(l.min, n->used);
        l.max = std::max(l.max, n->used);
        if (keys) {
            l.keys += l.keys.empty() ? "{" : " {";
            for (uint32_t i = 0; i < n->used; ++i) {
                l.keys += (i ? "," : "") +
                          std::to_string(*static_cast<const uint64_t *>(n->slots[i].data));
            }
            l.keys += "}";
        }
    });
    for (size_t i = 0; i < levels.size(); ++i) {
        const zb_btree_level &l = levels[i];
        if (keys) {
            std::fprintf(out, "    level %zu: %s\n", i, l.keys.c_str());
            continue;
        }
        std::fprintf(out,
                     "  level %-2zu %8" PRIu64 " nodes %9" PRIu64
                     " entries  fill %5.1f%%  (%" PRIu32 " to %" PRIu32 " of %" PRIu32 ")\n",
                     i, l.nodes, l.entries, 100.0 * double(l.entries) / double(l.nodes * bt->slots),
                     l.min, l.max, bt->slots);
    }
    if (r.error != nullptr) {
        std::fprintf(out, "  checker: BROKEN: %s\n", r.error);
        return 1;
    }
    if (!keys) {
        std::fprintf(out,
                     "  leaves at depth %" PRIu32 " to %" PRIu32 "; checker: sound (%" PRIu64
                     " entries in %" PRIu64 " nodes)\n",
                     r.leaf_depth_min, r.leaf_depth_max, r.entries, r.nodes);
    }
    return 0;
}

int zb_cmd_btree(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"n", "slots", "i:N", "Entries a node holds, 2 to 65535 (default 4)"},
        {"s", "seed", "i:S", "Seed of the keys (default 1)"},
        {"a", "add", "i:N", "Keys added (default 1000, at most 50000000)"},
        {"d", "delete", "i:M", "Keys deleted again, at most those added (default 250)"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Builds a B-tree of N distinct random 64-bit keys, deletes M of "
                              "them in random\norder, and prints the tree level by level "
                              "(nodes, entries, fill) with the\ndepth of its leaves and the "
                              "structural checker's verdict; exit code 1 if it\nis not sound.",
                              opts);
        code != kZbGoOn)
        return code;
    uint64_t slots = 4, seed = 1, adds = 1000, deletes = 250;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        bool ok;
        if (opt == "slots")
            ok = zb_btree_number(arg, 65535, &slots) && slots >= 2;
        else if (opt == "seed")
            ok = zb_btree_number(arg, UINT64_MAX, &seed);
        else if (opt == "add")
            ok = zb_btree_number(arg, 50000000, &adds);
        else
            ok = zb_btree_number(arg, UINT32_MAX, &deletes);
        if (!ok) return zb_usageError("Out of range for --%s: %s", name, arg);
    }
    if (deletes > adds)
        return zb_usageError("More deletes (%" PRIu64 ") than keys added (%" PRIu64 ")", deletes,
                             adds);

    const ZbTags tags;
    if (!tags.ok()) return 1;
    std::mt19937_64 rng(seed);
    std::vector<uint64_t> keys;
    keys.reserve(adds);
    std::unordered_set<uint64_t> seen;
    while (keys.size() < adds) {
        const uint64_t k = rng();
        if (seen.insert(k).second) keys.push_back(k);
    }
    B_BTREE_T bt;
    if (b_btInit(&bt, zb_btree_compare, static_cast<uint32_t>(slots), nullptr, tags.sub) != sOKAY) {
        return 1;
    }
    int rc = 0;
    for (const uint64_t &k : keys) {
        if (b_btAdd(&bt, &k) != sOKAY) rc = 1;
    }
    std::vector<const uint64_t *> order;
    for (const uint64_t &k : keys) order.push_back(&k);
    std::shuffle(order.begin(), order.end(), rng);
    for (uint64_t i = 0; i < deletes; ++i) {
        if (b_btDelete(&bt, order[i]) != order[i]) rc = 1;
    }
    std::printf("B-tree of %" PRIu64 " slots, seed %" PRIu64 ": %" PRIu64 " keys added, %" PRIu64
                " deleted, %" PRIu32 " entries\n",
                slots, seed, adds, deletes, b_btCount(&bt));
    if (zb_btree_print(stdout, &bt, false) != 0) rc = 1;
    b_btTerm(&bt);
    return rc;
}
