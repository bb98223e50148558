// `zelbase rtree [--dim D] [--random N] [--seed S] [--window BOX] [--knn P,K] [--dump]`
// (`zelbase rtree decode ...`, a stored node, is cmd_rtree.cpp)
// builds an R-tree of N random boxes (seeded) and prints it level by level:
// nodes, branches and fill, with --dump every node's coverage box. A window
// (lows then highs, comma-separated) is searched for overlapping and
// containing boxes, a point for its K nearest; each answer is checked
// against brute force, and the tree against its validator. Exit 0 when all
// agree, 1 otherwise, 2 for bad arguments.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "rtree.h"
#include "zelbase_cmds.h"

namespace {

bool zb_rtree_numbers(const char *text, std::vector<int64_t> *out) {
    out->clear();
    for (const char *p = text; *p != '\0';) {
        char *end = nullptr;
        const long long v = std::strtoll(p, &end, 10);
        if (end == p || v < INT32_MIN || v > INT32_MAX) return false;
        out->push_back(v);
        p = *end == ',' ? end + 1 : end;
        if (*end != ',' && *end != '\0') return false;
    }
    return !out->empty();
}

std::string zb_rtree_box(const B_RTREE_BOUNDARY *b, uint32_t d) {
    std::string s = "(";
    for (uint32_t i = 0; i < d; ++i) s += (i ? "," : "") + std::to_string(b[i]);
    s += ")-(";
    for (uint32_t i = 0; i < d; ++i) s += (i ? "," : "") + std::to_string(b[d + i]);
    return s + ")";
}

struct zb_rtree_level {
    uint64_t nodes = 0, branches = 0;
};

void zb_rtree_walk(FILE *out, const B_RTREE_T *rt, const B_RTREE_NODE *n, uint32_t depth,
                   std::vector<zb_rtree_level> *levels, bool dump) {
    if (levels->size() <= depth) levels->resize(depth + 1);
    (*levels)[depth].nodes++;
    (*levels)[depth].branches += n->used;
    const uint32_t d = rt->dim;
    if (dump) {
        std::vector<B_RTREE_BOUNDARY> cover(2 * d, 0);
        for (uint32_t i = 0; i < n->used; ++i) {
            const B_RTREE_BOUNDARY *b = n->boundary + size_t{2} * d * i;
            for (uint32_t k = 0; k < d; ++k) {
                cover[k] = i == 0 ? b[k] : std::min(cover[k], b[k]);
                cover[d + k] = i == 0 ? b[d + k] : std::max(cover[d + k], b[d + k]);
            }
        }
        std::fprintf(out, "%*slevel %d node, %u branches, covering %s\n", int(2 * depth + 2), "",
                     n->level, n->used, n->used ? zb_rtree_box(cover.data(), d).c_str() : "none");
    }
    if (n->level == 0) return;
    for (uint32_t i = 0; i < n->used; ++i)
        zb_rtree_walk(out, rt, n->children[i], depth + 1, levels, dump);
}

}  // namespace

// Prints the tree's levels (and with `dump` each node); 0 when it validates.
int zb_rtree_print(FILE *out, B_RTREE_T *rt, bool dump) {
    std::vector<zb_rtree_level> levels;
    zb_rtree_walk(out, rt, rt->root, 0, &levels, dump);
    for (size_t i = 0; i < levels.size(); ++i) {
        std::fprintf(out, "  depth %zu: %8" PRIu64 " nodes %9" PRIu64 " branches  fill %5.1f%%\n",
                     i, levels[i].nodes, levels[i].branches,
                     100.0 * double(levels[i].branches) / double(levels[i].nodes * 32));
    }
    const ZEL_RETCODE rc = b_rtValidate(rt);
    std::fprintf(out, "  validator: %s\n", rc == sOKAY ? "sound" : "BROKEN");
    return rc == sOKAY ? 0 : 1;
}

int zb_cmd_rtree_any(int argc, char **argv) {
    if (argc > 1 && std::strcmp(argv[1], "decode") == 0) return zb_cmd_rtree(argc, argv);
    return zb_cmd_rtree_index(argc, argv);
}

int zb_cmd_rtree_index(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"d", "dim", "i:D", "Dimensions, 1 to 20 (default 2)"},
        {"n", "random", "i:N", "Random boxes, coordinates 0 to 9999, sides to 100 (default 1000)"},
        {"s", "seed", "i:S", "Seed of the boxes (default 1)"},
        {"w", "window", "s:BOX", "Search the lows then the highs, e.g. 100,100,400,300"},
        {"k", "knn", "s:P,K", "The K nearest boxes to the point P, e.g. 5000,5000,10"},
        {"", "dump", nullptr, "Every node with its coverage box"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "A random R-tree level by level; windows and nearest neighbours "
                              "checked\nagainst brute force. `zelbase rtree decode --help` tells "
                              "of stored nodes.",
                              opts);
        code != kZbGoOn)
        return code;
    int64_t dim = 2, count = 1000, seed = 1;
    std::vector<int64_t> window, knn;
    bool dump = false;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "dim") == 0) dim = std::strtoll(arg, nullptr, 10);
        if (std::strcmp(name, "random") == 0) count = std::strtoll(arg, nullptr, 10);
        if (std::strcmp(name, "seed") == 0) seed = std::strtoll(arg, nullptr, 10);
        if (std::strcmp(name, "dump") == 0) dump = true;
        if (std::strcmp(name, "window") == 0 && !zb_rtree_numbers(arg, &window))
            return zb_usageError("--window takes integers separated by commas: %s", arg);
        if (std::strcmp(name, "knn") == 0 && !zb_rtree_numbers(arg, &knn))
            return zb_usageError("--knn takes integers separated by commas: %s", arg);
    }
    if (dim < 1 || dim > 20) return zb_usageError("--dim must be 1 to 20");
    if (count < 0 || count > 20000000) return zb_usageError("--random must be 0 to 20000000");
    const uint32_t d = uint32_t(dim);
    if (!window.empty() && window.size() != 2 * d)
        return zb_usageError("--window needs %u numbers, the lows then the highs", 2 * d);
    if (!knn.empty() && (knn.size() != d + 1 || knn[d] < 0))
        return zb_usageError("--knn needs %u coordinates and a count", d);

    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_RTREE_T rt;
    if (ZEL_RETCODE rc = b_rtInit(&rt, 0, d, nullptr, tags.sub); rc != sOKAY)
        return zb_exitCode(rc, argv[0]);
    std::mt19937 rng(static_cast<uint32_t>(seed));
    std::vector<B_RTREE_BOUNDARY> boxes(size_t(count) * 2 * d);
    ZEL_RETCODE rc = sOKAY;
    for (int64_t i = 0; i < count && rc == sOKAY; ++i) {
        B_RTREE_BOUNDARY *b = &boxes[size_t(i) * 2 * d];
        for (uint32_t k = 0; k < d; ++k) {
            b[k] = int32_t(rng() % 10000);
            b[d + k] = b[k] + int32_t(rng() % 100);
        }
        const B_RTREE_VAL v{uint64_t(i), b};
        rc = b_rtAdd(&rt, &v);
    }
    int failed = 0;
    if (rc == sOKAY) {
        std::printf("R-tree of %" PRId64 " random boxes in %u dimensions, seed %" PRId64 ":\n",
                    count, d, seed);
        failed |= zb_rtree_print(stdout, &rt, dump);
    }
    std::vector<B_RTREE_BOUNDARY> room(2 * d);
    if (rc == sOKAY && !window.empty()) {
        std::vector<B_RTREE_BOUNDARY> q(window.begin(), window.end());
        for (ZEL_SPATIAL_CODE code : {ZEL_OVERLAP, ZEL_CONTAINS}) {
            ZEL_SPATIAL_CRITERIA c{{0, q.data()}, code, ZEL_FALSE};
            B_RTREE_VAL v{0, room.data()};
            uint64_t found = 0, brute = 0;
            for (rc = b_rtFirstCriteria(&rt, &c, &v); rc == sOKAY;
                 rc = b_rtNextCriteria(&rt, &c, &v))
                ++found;
            for (int64_t i = 0; i < count; ++i) {
                const B_RTREE_BOUNDARY *b = &boxes[size_t(i) * 2 * d];
                bool ok = true;
                for (uint32_t k = 0; k < d; ++k) {
                    ok = ok && (code == ZEL_OVERLAP ? b[k] <= q[d + k] && q[k] <= b[d + k]
                                                    : b[k] <= q[k] && q[d + k] <= b[d + k]);
                }
                brute += ok;
            }
            std::printf("%s %s: %" PRIu64 " boxes, brute force %" PRIu64 "%s\n",
                        code == ZEL_OVERLAP ? "overlapping" : "containing",
                        zb_rtree_box(q.data(), d).c_str(), found, brute,
                        found == brute ? "" : "  MISMATCH");
            failed |= found != brute;
            rc = rc == sNOTFOUND ? sOKAY : rc;
        }
    }
    if (rc == sOKAY && !knn.empty()) {
        const uint32_t k = uint32_t(std::min<int64_t>(knn[d], 1000));
        std::vector<B_RTREE_BOUNDARY> p(knn.begin(), knn.begin() + d);
        std::vector<std::vector<B_RTREE_BOUNDARY>> rooms(k, std::vector<B_RTREE_BOUNDARY>(2 * d));
        std::vector<B_RTREE_VAL> out(k + 1);
        for (uint32_t i = 0; i < k; ++i) out[i] = {0, rooms[i].data()};
        ZEL_KNN_CRITERIA kc{p.data(), k};
        uint32_t found = 0;
        rc = b_rtFindNearestNeighbors(&rt, &kc, &found, out.data());
        auto dist = [&](const B_RTREE_BOUNDARY *b) {
            uint64_t s = 0;
            for (uint32_t i = 0; i < d; ++i) {
                const int64_t diff =
                    p[i] < b[i] ? b[i] - p[i] : (p[i] > b[d + i] ? p[i] - b[d + i] : 0);
                s += uint64_t(diff * diff);
            }
            return s;
        };
        std::vector<uint64_t> got, want;
        for (uint32_t i = 0; rc == sOKAY && i < found; ++i) {
            got.push_back(dist(out[i].boundary));
            std::printf("  %2u. box %-8" PRIu64 " %s  distance^2 %" PRIu64 "\n", i + 1, out[i].val,
                        zb_rtree_box(out[i].boundary, d).c_str(), got.back());
        }
        for (int64_t i = 0; i < count; ++i) want.push_back(dist(&boxes[size_t(i) * 2 * d]));
        std::sort(want.begin(), want.end());
        want.resize(std::min<size_t>(k, want.size()));
        std::printf(
            "%u nearest to %s: distances %s brute force\n", found,
            zb_rtree_box(p.data(), d).substr(0, zb_rtree_box(p.data(), d).find('-')).c_str(),
            got == want ? "agree with" : "DIFFER from");
        failed |= got != want;
    }
    b_rtTerm(&rt);
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    return failed ? 1 : 0;
}
