// The memory tags walk-through of `zelbase demo`: a master tag on platform memory
// and one seeded with a caller's buffer, a sub tag on each, allocations by all
// three routes (small blocks, page runs, huge buffers), the accounting and the
// usage report, then everything given back.
#include <cinttypes>
#include <cstdio>
#include <vector>

#include "tag_master_psp.h"
#include "tag_sub.h"
#include "zelbase_cmds.h"

int zb_demo_tags(FILE *out);

namespace {

struct DemoTags {
    const char *name;
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    std::vector<void *> held;
};

void demo_tagsAccounting(FILE *out, const DemoTags *tags, size_t count, const char *when) {
    std::fprintf(out, "  %s:\n", when);
    std::fprintf(out, "    %-22s %10s %10s %12s %12s %12s %12s\n", "master of", "pages",
                 "peak pages", "bytes", "peak bytes", "sub bytes", "sub peak");
    for (size_t i = 0; i < count; i++) {
        int64_t mcur = 0, mmax = 0, scur = 0, smax = 0;
        b_tag_masterMemUsage(tags[i].master, &mcur, &mmax);
        b_tag_subMemUsage(tags[i].sub, &scur, &smax, nullptr);
        std::fprintf(out,
                     "    %-22s %10" PRId64 " %10" PRId64 " %12" PRId64 " %12" PRId64 " %12" PRId64
                     " %12" PRId64 "\n",
                     tags[i].name, mcur / 4096, mmax / 4096, mcur, mmax, scur, smax);
    }
}

void demo_tagsReport(FILE *out, B_TAG_SUB sub) {
    B_TAG_SUB_REPORT_T rows[B_TAG_SUB_REPORT_ROWS];
    b_tag_subMemUsage(sub, nullptr, nullptr, rows);
    std::fprintf(out, "    %-10s %8s %10s %10s %12s %12s\n", "route", "size", "headers", "rest",
                 "in use", "available");
    for (int i = 0; i < B_TAG_SUB_REPORT_ROWS; i++) {
        char label[16];
        if (i < 16) {
            std::snprintf(label, sizeof label, "class %d", i);
        } else {
            std::snprintf(label, sizeof label, "%s", i == 16 ? "page runs" : "huge");
        }
        std::fprintf(out,
                     "    %-10s %8zu %10" PRIu64 " %10" PRIu64 " %12" PRIu64 " %12" PRIu64 "\n",
                     label, rows[i].size, rows[i].size_headers, rows[i].size_rest,
                     rows[i].size_in_use, rows[i].size_available);
    }
}

bool demo_tagsAlloc(FILE *out, DemoTags &tags, size_t size, int times) {
    for (int i = 0; i < times; i++) {
        void *p = nullptr;
        const ZEL_RETCODE rc = b_tag_subAlloc(tags.sub, size, &p);
        if (rc != sOKAY) {
            std::fprintf(out, "    %s: %zu bytes failed with %d\n", tags.name, size,
                         static_cast<int>(rc));
            return false;
        }
        tags.held.push_back(p);
    }
    return true;
}

}  // namespace

int zb_demo_tags(FILE *out) {
    std::fprintf(out,
                 "  A master tag deals out 4096-byte pages from large blocks of 155 pages; a sub\n"
                 "  tag on it serves one owner: blocks of 16 size classes up to 2032 bytes, page\n"
                 "  runs up to 626688 bytes, huge buffers straight from the platform above.\n");

    std::vector<uint8_t> seed(2u << 20);  // the caller's own 2 MiB
    DemoTags tags[2];
    tags[0].name = "platform memory";
    tags[1].name = "caller's 2 MiB buffer";
    if (b_tag_masterCreate(nullptr, 0, &tags[0].master) != sOKAY) return 1;
    if (b_tag_masterCreate(seed.data(), seed.size(), &tags[1].master) != sOKAY) {
        b_tag_masterDestroy(tags[0].master);
        return 1;
    }
    int failures = 0;
    for (DemoTags &t : tags) {
        if (b_tag_subCreate(t.master, &t.sub) != sOKAY) failures++;
    }
    if (failures == 0) {
        demo_tagsAccounting(out, tags, 2, "after creating a sub tag on each master");

        std::fprintf(out,
                     "  allocating on each: 200 x 40 B and 20 x 2032 B (small), "
                     "10 x 100 KiB (page runs),\n  2 x 1 MiB (huge, from the platform even under a "
                     "seeded master)\n");
        for (DemoTags &t : tags) {
            if (!demo_tagsAlloc(out, t, 40, 200) || !demo_tagsAlloc(out, t, 2032, 20) ||
                !demo_tagsAlloc(out, t, 100 * 1024, 10) || !demo_tagsAlloc(out, t, 1u << 20, 2)) {
                failures++;
            }
        }
        demo_tagsAccounting(out, tags, 2, "with everything held");
        std::fprintf(out, "  usage report of the sub tag on platform memory:\n");
        demo_tagsReport(out, tags[0].sub);

        std::fprintf(out, "  the seeded master runs out instead of asking the platform:\n");
        std::vector<void *> extra;
        ZEL_RETCODE rc = sOKAY;
        while (rc == sOKAY) {
            void *p = nullptr;
            rc = b_tag_subAlloc(tags[1].sub, 400 * 1024, &p);
            if (rc == sOKAY) extra.push_back(p);
        }
        std::fprintf(out, "    %zu more runs of 400 KiB, then code %d (eNOMEMORY is %d)\n",
                     extra.size(), static_cast<int>(rc), static_cast<int>(eNOMEMORY));
        for (void *p : extra) b_tag_subFree(tags[1].sub, p);

        for (DemoTags &t : tags) {
            for (void *p : t.held) b_tag_subFree(t.sub, p);
            t.held.clear();
        }
        demo_tagsAccounting(out, tags, 2,
                            "after freeing everything (small pages stay with the sub tag)");
    }
    for (DemoTags &t : tags) {
        if (t.sub != nullptr) b_tag_subDestroy(t.sub);
    }
    std::fprintf(out, "  after destroying the sub tags:\n");
    for (DemoTags &t : tags) {
        int64_t cur = 0, max = 0;
        b_tag_masterMemUsage(t.master, &cur, &max);
        std::fprintf(
            out, "    %-22s %" PRId64 " page held (the master's header), peak %" PRId64 " pages\n",
            t.name, cur / 4096, max / 4096);
        if (cur != 4096) failures++;
        b_tag_masterDestroy(t.master);
    }
    return failures == 0 ? 0 : 1;
}
