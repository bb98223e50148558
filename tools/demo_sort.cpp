// The "External sort" section of `zelbase demo`: eight records sorted by two
// keys (one descending) without touching the disk, the bytes of a record
// page and an index page, and 20000 records through caches of two pages,
// which spill to the two temporary files and read them back.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include "sort.h"
#include "zelbase_cmds.h"

int zb_demo_sort(FILE *out);

namespace {

struct zb_demo_sort_rec {
    int32_t score;    // key 2, descending
    char name[8];     // key 1
    uint32_t serial;  // no key
};

void zb_demo_sort_hex(FILE *out, const unsigned char *p, size_t off, size_t n, const char *what) {
    std::string hex;
    for (size_t i = 0; i < n; ++i) {
        char b[4];
        std::snprintf(b, sizeof b, "%02x ", p[i]);
        hex += b;
    }
    std::fprintf(out, "    %6zu  %-48s %s\n", off, hex.c_str(), what);
}

}  // namespace

int zb_demo_sort(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    uint32_t counter = 0;
    const B_SORTATTR env[1] = {{nullptr, nullptr, &counter}};
    const std::string tmp = std::filesystem::temp_directory_path().string();
    B_SORT_T s;
    if (b_sortInit(&s, env, 16, tmp.c_str(), tags.sub) != sOKAY) return 1;
    const SORTDESCR f[3] = {{nullptr, nullptr, 2, 4, 0, 1, SORT_TYPE_INT32},
                            {nullptr, nullptr, 1, 8, 4, 0, SORT_TYPE_CHAR},
                            {nullptr, nullptr, 0, 4, 12, 0, SORT_TYPE_UINT32}};
    const zb_demo_sort_rec recs[8] = {{7, "pear", 1},  {3, "fig", 2}, {9, "pear", 3},
                                      {3, "apple", 4}, {5, "fig", 5}, {3, "pear", 6},
                                      {8, "apple", 7}, {1, "kiwi", 8}};
    int failed = b_sortStart(&s, 3, f) != sOKAY;
    std::fprintf(out,
                 "16-byte records, by name then by score descending; geometry: slots of %u "
                 "bytes,\n%u a %u-byte record page, %u 16-byte slots an index page\n",
                 s.rcache.size, s.rcache.perPage, s.recFile.len, s.icache.perPage);
    for (const zb_demo_sort_rec &r : recs) failed |= b_sortStore(&s, &r) != sOKAY;
    // The pages as they sit in the caches, before the sort moves anything.
    void *page = nullptr;
    B_CACHE_HANDLE h = nullptr;
    if (b_cacheGetEntry(&s.rcache.cache, 0, &page, &h) == sOKAY) {
        const auto *p = static_cast<const SORT_PAGE *>(page)->data;
        std::fprintf(out, "  record page 0 (on file only from offset 0 on):\n");
        zb_demo_sort_hex(out, p, 0, 4, "score 7, int32 (key 2, descending)");
        zb_demo_sort_hex(out, p + 4, 4, 8, "\"pear\", char 8 (key 1)");
        zb_demo_sort_hex(out, p + 12, 12, 4, "serial 1, uint32 (no key)");
        zb_demo_sort_hex(out, p + 16, 16, 4, "next record: score 3 ...");
        b_cacheReleaseEntry(&s.rcache.cache, h, ZEL_FALSE);
    }
    failed |= b_sortComplete(&s) != sOKAY;
    if (b_cacheGetEntry(&s.icache.cache, 0, &page, &h) == sOKAY) {
        const auto *p = static_cast<const SORT_PAGE *>(page)->data;
        std::fprintf(out,
                     "  index page 0 after the sort: record numbers in key order, each with\n"
                     "  its key prefix (the name's bytes, then the score's, complemented)\n");
        for (int i = 0; i < 3; ++i) {
            uint64_t no;
            std::memcpy(&no, p + 16 * i, 8);
            const std::string what = "slot " + std::to_string(i) + ": record " + std::to_string(no);
            zb_demo_sort_hex(out, p + 16 * i, size_t(16 * i), 8, what.c_str());
            zb_demo_sort_hex(out, p + 16 * i + 8, size_t(16 * i + 8), 8, "  its prefix");
        }
        b_cacheReleaseEntry(&s.icache.cache, h, ZEL_FALSE);
    }
    zb_demo_sort_rec row;
    uint32_t n = 0;
    std::fprintf(out, "  sorted:");
    while (b_sortRead(&s, 1, &row, &n) == sOKAY) std::fprintf(out, " %s/%d", row.name, row.score);
    std::fprintf(out, "\n  files made: %s\n",
                 s.recFile.fh_open || s.indFile.fh_open ? "yes" : "no");
    b_sortTerm(&s);

    // 20000 records, two pages a cache: the pages spill and come back.
    if (b_sortInit(&s, env, 2, tmp.c_str(), tags.sub) != sOKAY) return 1;
    failed |= b_sortStart(&s, 3, f) != sOKAY;
    for (uint32_t i = 0; i < 20000; ++i) {
        zb_demo_sort_rec r{int32_t(i * 7919 % 100), "", i};
        std::snprintf(r.name, sizeof r.name, "n%05u", (i * 104729u) % 20000);
        failed |= b_sortStore(&s, &r) != sOKAY;
    }
    failed |= b_sortComplete(&s) != sOKAY;
    zb_demo_sort_rec prev{}, cur{};
    bool sorted = true;
    uint32_t rows = 0;
    while (b_sortRead(&s, 1, &cur, &n) == sOKAY) {
        sorted = sorted && (rows == 0 || std::strcmp(prev.name, cur.name) <= 0);
        prev = cur;
        ++rows;
    }
    std::fprintf(out,
                 "20000 records through caches of 2 pages: files made %s; pages read back %" PRIu64
                 " record, %" PRIu64 " index;\n  written %" PRIu64 " record, %" PRIu64
                 " index; %u rows read, %s\n",
                 s.recFile.fh_open && s.indFile.fh_open ? "yes" : "no", s.recFile.loads,
                 s.indFile.loads, s.recFile.writes, s.indFile.writes, rows,
                 sorted ? "in order" : "OUT OF ORDER");
    failed |= !sorted || rows != 20000;
    b_sortTerm(&s);
    return failed;
}
