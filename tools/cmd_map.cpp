// `zelbase map [--kind mapb|uintmap] [--array-size N] KEY[=VALUE]...` puts the
// keys in a map of that kind and prints where each one landed. For MAPB:
// each key's block and bit, then every block in key order as an annotated
// table of its bytes (start, bitmap, the values present) with its page and
// slot among the seven blocks of a page, and the bytes a key. For UINTMAP:
// array index or map for each key, the walk of First and Next, the count.
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "mapb.h"
#include "uintmap.h"
#include "zelbase_cmds.h"

int zb_cmd_map(int argc, char **argv);

namespace {

// Decimal or 0x hex, the whole text.
bool zb_map_number(const char *text, uint64_t *v) {
    if (text == nullptr || *text < '0' || *text > '9') return false;
    errno = 0;
    char *end = nullptr;
    const unsigned long long n = std::strtoull(text, &end, 0);
    if (errno != 0 || *end != '\0') return false;
    *v = n;
    return true;
}

std::string zb_map_hex(const void *p, size_t n) {
    std::string s;
    char two[4];
    for (size_t i = 0; i < n; ++i) {
        std::snprintf(two, sizeof two, i ? " %02x" : "%02x", static_cast<const uint8_t *>(p)[i]);
        s += two;
    }
    return s;
}

int64_t zb_map_tagBytes(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

// One block as it lies in memory: link, start, bitmap and each value present.
void zb_map_block(FILE *out, const B_MAPB_ITEM *b, const std::map<uintptr_t, int> &pages) {
    const uintptr_t at = reinterpret_cast<uintptr_t>(b);
    const uintptr_t page = at & ~uintptr_t{B_PAGE_SIZE - 1};
    const size_t offset = at - page;
    const size_t first = B_PAGE_SIZE - B_MAPB_PAGE_BLOCKS * sizeof *b;  // blocks end the page
    std::fprintf(out,
                 "  block of keys %" PRIu64 "..%" PRIu64 ": page %d, slot %zu (page offset %zu)\n",
                 b->start, b->start + 63, pages.at(page), (offset - first) / sizeof *b, offset);
    std::fprintf(out, "    %-6s %-23s  %s\n", "OFFSET", "BYTES", "MEANING");
    std::fprintf(out, "    %-6d %-23s  %s\n", 0, "(16 bytes)",
                 "tree link: left and right, with balance and leaf bits");
    std::fprintf(out, "    %-6d %-23s  start %" PRIu64 "\n", 16, zb_map_hex(&b->start, 8).c_str(),
                 b->start);
    std::string keys;
    for (unsigned i = 0; i < 64; ++i) {
        if (b->used_bitmap >> i & 1) keys += " " + std::to_string(b->start + i);
    }
    std::fprintf(out, "    %-6d %-23s  used_bitmap: keys%s\n", 24,
                 zb_map_hex(&b->used_bitmap, 8).c_str(), keys.c_str());
    for (unsigned i = 0; i < 64; ++i) {
        if ((b->used_bitmap >> i & 1) == 0) continue;
        std::fprintf(out, "    %-6u %-23s  values[%u] = %" PRIu64 " (key %" PRIu64 ")\n",
                     32 + 8 * i, zb_map_hex(&b->values[i], 8).c_str(), i, b->values[i],
                     b->start + i);
    }
}

int zb_map_mapb(FILE *out, const std::vector<std::pair<uint64_t, uint64_t>> &entries,
                B_TAG_SUB sub) {
    const int64_t before = zb_map_tagBytes(sub);
    B_MAPB_T m;
    b_mapbInit(&m, nullptr, sub);
    int rc = 0;
    for (const auto &[k, v] : entries) {
        if (ZEL_RETCODE r = b_mapbSet(&m, k, v); r != sOKAY) rc = zb_exitCode(r, "zelbase map");
    }
    std::fprintf(out,
                 "MAPB: %" PRIu64 " keys in %" PRIu64
                 " blocks of 64 keys (block = key with the"
                 " low 6 bits cleared, bit = the low 6 bits)\n",
                 b_mapbCount(&m), b_avlCount(&m.avl));
    std::fprintf(out, "  %-20s %-20s %-4s %s\n", "KEY", "BLOCK START", "BIT", "VALUE AT");
    for (const auto &[k, v] : entries) {
        B_MAPB_POS pos{};
        if (b_mapbFindEx(&m, k, nullptr, &pos) != sOKAY) continue;
        std::fprintf(out, "  %-20" PRIu64 " %-20" PRIu64 " %-4u block offset %u\n", k,
                     pos.node->start, unsigned(pos.offset), 32 + 8 * unsigned(pos.offset));
    }
    // Pages numbered in the order of the blocks' keys.
    std::map<uintptr_t, int> pages;
    for (const B_AVL_NODE_T *n = b_avlFirst(&m.avl); n != nullptr; n = b_avlNext(n)) {
        pages.emplace(reinterpret_cast<uintptr_t>(n) & ~uintptr_t{B_PAGE_SIZE - 1},
                      int(pages.size()) + 1);
    }
    std::fprintf(out,
                 "blocks in key order (544 bytes each, seven to a 4096-byte page of the tag):\n");
    for (const B_AVL_NODE_T *n = b_avlFirst(&m.avl); n != nullptr; n = b_avlNext(n)) {
        zb_map_block(out, reinterpret_cast<const B_MAPB_ITEM *>(n), pages);
    }
    const int64_t bytes = zb_map_tagBytes(sub) - before;
    std::fprintf(out,
                 "memory: %" PRId64
                 " bytes of the tag in %zu page%s, %.2f bytes a key"
                 " (9.14 with every block full)\n",
                 bytes, pages.size(), pages.size() == 1 ? "" : "s",
                 m.count == 0 ? 0.0 : double(bytes) / double(m.count));
    b_mapbTerm(&m);
    return rc;
}

int zb_map_uintmap(FILE *out, const std::vector<std::pair<uint64_t, uint64_t>> &entries,
                   uint32_t arraySize, B_TAG_SUB sub) {
    B_UINTMAP_T m;
    if (ZEL_RETCODE r = b_uintmapInitEx(&m, 0, arraySize, nullptr, nullptr, sub); r != sOKAY)
        return zb_exitCode(r, "zelbase map");
    int rc = 0;
    for (const auto &[k, v] : entries) {
        if (ZEL_RETCODE r = b_uintmapSet(&m, k, v); r != sOKAY) rc = zb_exitCode(r, "zelbase map");
    }
    std::fprintf(out,
                 "UINTMAP: keys below %" PRIu32 " in the array (asked %" PRIu32
                 ", raised to at least 5), 16 bytes an entry; the rest in a B-tree map\n",
                 m.arraySize, arraySize);
    std::fprintf(out, "  %-20s %s\n", "KEY", "PLACE");
    for (const auto &[k, v] : entries) {
        if (k < m.arraySize) {
            const B_UINTMAP_ENTRY &e = m.array[k];
            std::fprintf(out,
                         "  %-20" PRIu64 " array[%" PRIu64 "], array offset %" PRIu64
                         ": inuse %s, value %s\n",
                         k, k, k * 16, zb_map_hex(&e.inuse, 4).c_str(),
                         zb_map_hex(&e.value, 8).c_str());
        } else {
            std::fprintf(out, "  %-20" PRIu64 " map (a 16-byte item: key, value)\n", k);
        }
    }
    std::fprintf(out, "walk, First then Next (the array, then the map from its first key):");
    B_MAP_KEY k = 0;
    B_MAP_VALUE v = 0;
    for (ZEL_RETCODE r = b_uintmapFirst(&m, &k, &v); r == sOKAY; r = b_uintmapNext(&m, &k, &v))
        std::fprintf(out, " %" PRIu64 "=%" PRIu64, k, v);
    uint32_t count = 0, inMap = 0;
    if (b_uintmapCount(&m, &count) != sOKAY || b_mapCount(&m.map, &inMap) != sOKAY) rc = 1;
    std::fprintf(out, "\ncount %" PRIu32 ": %" PRIu32 " in the array, %" PRIu32 " in the map\n",
                 count, m.count, inMap);
    b_uintmapTerm(&m);
    return rc;
}

}  // namespace

int zb_map_show(FILE *out, const char *kind, uint32_t arraySize,
                const std::vector<std::pair<uint64_t, uint64_t>> &entries) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    if (std::strcmp(kind, "uintmap") == 0) return zb_map_uintmap(out, entries, arraySize, tags.sub);
    return zb_map_mapb(out, entries, tags.sub);
}

int zb_cmd_map(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"k", "kind", "s:KIND", "mapb (default) or uintmap"},
        {"a", "array-size", "i:N", "uintmap: keys below N go to the array (default 5, at least 5)"},
        {"K", nullptr, "*:KEY", "keys, decimal or 0x hex; KEY=VALUE gives a value (else the key)"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Puts the keys in a map and prints where each one landed: for mapb "
                              "its block of\n64 keys and its bit, with each block's bytes; for "
                              "uintmap the array or the map.",
                              opts);
        code != kZbGoOn)
        return code;
    std::string kind = "mapb";
    uint64_t arraySize = 5;
    std::vector<std::pair<uint64_t, uint64_t>> entries;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        const std::string opt = name;
        if (opt == "kind") {
            kind = arg;
            if (kind != "mapb" && kind != "uintmap")
                return zb_usageError("Unknown kind '%s': mapb or uintmap", arg);
        } else if (opt == "array-size") {
            if (!zb_map_number(arg, &arraySize) || arraySize >= B_UINTMAP_NO_POSITION)
                return zb_usageError("Not an array size: '%s'", arg);
        } else {
            std::string text = arg;
            const size_t eq = text.find('=');
            uint64_t k = 0, v = 0;
            const std::string key = text.substr(0, eq);
            if (!zb_map_number(key.c_str(), &k)) return zb_usageError("Not a key: '%s'", arg);
            v = k;
            if (eq != std::string::npos && !zb_map_number(text.c_str() + eq + 1, &v))
                return zb_usageError("Not a value: '%s'", arg);
            entries.emplace_back(k, v);
        }
    }
    if (entries.empty())
        return zb_usageError("Missing argument 'KEY' ('--help' for more information)");
    return zb_map_show(stdout, kind.c_str(), uint32_t(arraySize), entries);
}
