// `zelbase cbtree [--slots N] [--cache M] [--count K] [--dump]` adds the keys
// 1..K in a shuffled order to a cached B-tree of N slots a node holding M
// nodes in memory, finds every key, and prints the loads, writes and
// evictions of each phase, the depth and the node file's size; --dump prints
// the node file as an annotated table (offset, bytes, meaning) of every image.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "cbtree.h"
#include "error.h"
#include "zelbase_cmds.h"

int zb_cmd_cbtree(int argc, char **argv);

namespace {

// Entries are 8-byte keys on the tool's sub tag; in the file, their bytes.
ZEL_COMPARE zb_cbtree_compare(void *, const void *a, const void *b) {
    const uint64_t x = *static_cast<const uint64_t *>(a);
    const uint64_t y = *static_cast<const uint64_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

ZEL_RETCODE zb_cbtree_load(void *ctx, const uint8_t *buf, uint32_t, const void **data) {
    uint64_t *cell = nullptr;
    ZEL_CHECK(b_tag_subAlloc(static_cast<B_TAG_SUB>(ctx), sizeof *cell, &cell));
    std::memcpy(cell, buf, sizeof *cell);
    *data = cell;
    return sOKAY;
}

void zb_cbtree_zap(void *ctx, uint8_t *buf, uint32_t, const void *data) {
    if (buf != nullptr) std::memcpy(buf, data, sizeof(uint64_t));
    b_tag_subFree(static_cast<B_TAG_SUB>(ctx), const_cast<void *>(data));
}

bool zb_cbtree_number(const char *text, uint64_t min, uint64_t max, uint64_t *v) {
    if (text == nullptr || *text < '0' || *text > '9') return false;
    char *end = nullptr;
    const unsigned long long n = std::strtoull(text, &end, 10);
    if (*end != '\0' || n < min || n > max) return false;
    *v = n;
    return true;
}

std::string zb_cbtree_hex(const uint8_t *p, size_t n) {
    std::string s;
    char two[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, i ? " %02x" : "%02x", p[i]);
        s += two;
    }
    return s;
}

uint32_t zb_cbtree_u32(const uint8_t *p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

std::string zb_cbtree_child(uint32_t id) {
    return id == B_CBTREE_NO_ID ? "none (a leaf)" : "node " + std::to_string(id);
}

// The image of every node number given out, as the file holds it now.
void zb_cbtree_dump(FILE *out, const B_CBTREE_T *t) {
    std::string file;
    if (t->fh_open) (void)zb_readFile(t->filename, &file);  // what could be read
    std::string cached;
    for (const B_CBTREE_NODE *n = t->oldest; n != nullptr; n = n->newer)
        cached += " " + std::to_string(n->id) + (n->modified ? "*" : "");
    std::fprintf(out, "node file: %zu bytes, images of %" PRIu32 " bytes at id * %" PRIu32 "\n",
                 file.size(), t->nodesize, t->nodesize);
    std::fprintf(out, "in memory, oldest first (* changed since written):%s\n", cached.c_str());
    std::fprintf(out, "offset  %-23s  meaning\n", "bytes");
    for (B_CBTREE_ID id = 0; id < t->nextId; ++id) {
        const size_t at = size_t{t->nodesize} * id;
        if (at + t->nodesize > file.size()) {
            std::fprintf(out, "%-6zu  %-23s  node %" PRIu32 ": not in the file\n", at, "", id);
            continue;
        }
        const auto *img = reinterpret_cast<const uint8_t *>(file.data()) + at;
        const uint32_t used = zb_cbtree_u32(img);
        if (used > t->slots) {
            std::fprintf(out, "%-6zu  %-23s  node %" PRIu32 ": used %" PRIu32 ", damaged\n", at,
                         zb_cbtree_hex(img, 4).c_str(), id, used);
            continue;
        }
        std::fprintf(out, "%-6zu  %-23s  node %" PRIu32 ": used %" PRIu32 "\n", at,
                     zb_cbtree_hex(img, 4).c_str(), id, used);
        for (uint32_t i = 0; i <= used; ++i) {
            const uint8_t *c = img + 4 + 4 * i;
            std::fprintf(out, "%-6zu  %-23s    child %" PRIu32 ": %s\n", at + 4 + 4 * i,
                         zb_cbtree_hex(c, 4).c_str(), i, zb_cbtree_child(zb_cbtree_u32(c)).c_str());
        }
        const size_t entries = 8 + size_t{4} * used;
        for (uint32_t i = 0; i < used; ++i) {
            const uint8_t *e = img + entries + 8 * i;
            uint64_t key;
            std::memcpy(&key, e, 8);
            std::fprintf(out, "%-6zu  %-23s    entry %" PRIu32 ": %" PRIu64 "\n",
                         at + entries + 8 * i, zb_cbtree_hex(e, 8).c_str(), i, key);
        }
        const size_t rest = t->nodesize - entries - 8 * size_t{used};
        if (rest != 0) {
            std::fprintf(out, "%-6zu  %-23s    %zu bytes left over, never read\n",
                         at + entries + 8 * used, "..", rest);
        }
    }
}

}  // namespace

int zb_cbtree_run(FILE *out, uint32_t slots, uint32_t cache, uint32_t count, bool dump) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    const char *tmp = std::getenv("TMPDIR");
    B_CBTREE_T t;
    ZEL_RETCODE rc = b_cbtInit(&t, tags.sub, tags.sub, zb_cbtree_compare, zb_cbtree_load,
                               zb_cbtree_zap, cache, slots, 8, tmp != nullptr ? tmp : "/tmp");
    if (rc != sOKAY) return zb_exitCode(rc, "zelbase cbtree");
    std::vector<uint64_t> keys(count);
    for (uint32_t i = 0; i < count; ++i) keys[i] = i + 1;
    std::mt19937_64 rng(1);
    std::shuffle(keys.begin(), keys.end(), rng);
    std::fprintf(out,
                 "cached B-tree: %" PRIu32 " slots a node (an image of %" PRIu32 " bytes), %" PRIu32
                 " nodes in memory\n",
                 slots, t.nodesize, cache);
    for (uint64_t k : keys) {
        uint64_t *cell = nullptr;
        if ((rc = b_tag_subAlloc(tags.sub, sizeof *cell, &cell)) != sOKAY) break;
        *cell = k;
        if ((rc = b_cbtAdd(&t, cell)) != sOKAY) {
            b_tag_subFree(tags.sub, cell);
            break;
        }
    }
    std::fprintf(out,
                 "  add 1..%" PRIu32 " shuffled: loads %" PRIu64 ", writes %" PRIu64
                 ", evictions %" PRIu64 "; %" PRIu32 " nodes\n",
                 count, t.loads, t.writes, t.evictions, t.nextId);
    uint64_t found = 0;
    const uint64_t loads = t.loads, writes = t.writes, evictions = t.evictions;
    for (uint32_t k = 1; k <= count && rc == sOKAY; ++k) {
        const uint64_t key = k;
        if (b_cbtFind(&t, &key) != nullptr) found++;
    }
    std::fprintf(out,
                 "  find each: %" PRIu64 " of %" PRIu32 " found; loads %" PRIu64 ", writes %" PRIu64
                 ", evictions %" PRIu64 "\n",
                 found, count, t.loads - loads, t.writes - writes, t.evictions - evictions);
    std::string walked;
    for (void *p = b_cbtFirst(&t); p != nullptr; p = b_cbtNext(&t))
        walked += " " + std::to_string(*static_cast<const uint64_t *>(p));
    std::fprintf(out, "  walk (it ends at the first child it would enter):%s\n", walked.c_str());
    (void)b_cbtFirst(&t);
    std::fprintf(out, "  depth %" PRIu32 ", %" PRIu64 " entries\n", t.pathlevel + 1,
                 b_cbtCount(&t));
    if (dump) zb_cbtree_dump(out, &t);
    b_cbtTerm(&t);
    if (rc != sOKAY || found != count) {
        std::fflush(out);
        return zb_exitCode(rc != sOKAY ? rc : eFAIL, "zelbase cbtree");
    }
    return 0;
}

int zb_cmd_cbtree(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"s", "slots", "i:N", "Entries at which a node splits, 2 to 1000 (default 4)"},
        {"c", "cache", "i:M", "Nodes held in memory, 1 to 1000000 (default 2)"},
        {"n", "count", "i:K", "Keys added, 1 to 10000000 (default 30)"},
        {"d", "dump", nullptr, "Print the node file as an annotated table"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Adds the keys 1..K in a shuffled order to a cached B-tree, finds "
                              "each, walks it,\nand prints the loads, writes and evictions; "
                              "the node file goes to $TMPDIR or\n/tmp and is removed at the end.",
                              opts);
        code != kZbGoOn)
        return code;
    uint64_t slots = 4, cache = 2, count = 30;
    bool dump = false;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        bool ok = true;
        if (opt == "dump")
            dump = true;
        else if (opt == "slots")
            ok = zb_cbtree_number(arg, 2, 1000, &slots);
        else if (opt == "cache")
            ok = zb_cbtree_number(arg, 1, 1000000, &cache);
        else
            ok = zb_cbtree_number(arg, 1, 10000000, &count);
        if (!ok) return zb_usageError("Out of range for --%s: %s", name, arg);
    }
    return zb_cbtree_run(stdout, uint32_t(slots), uint32_t(cache), uint32_t(count), dump);
}
