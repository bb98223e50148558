// The R-tree driven by arbitrary bytes against a brute-force list of boxes:
// the first byte picks the dimensions (1 to 4), then each operation is a
// code byte and its operands. Adds, deletes of stored and absent boxes,
// walks both ways for each criterion and nearest neighbours are compared
// with the list (distances with the same wrapped 32-bit squares), and the
// tree is validated after every operation. At the end every byte is back.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "rtree.h"

namespace {

struct Reader {
    const uint8_t *p;
    size_t n;
    bool more() const { return n > 0; }
    uint8_t byte() {
        if (n == 0) return 0;
        --n;
        return *p++;
    }
    // Mostly small coordinates, now and then one anywhere in 32 bits.
    int32_t coord() {
        const uint8_t b = byte();
        if (b < 240) return int32_t(b) - 120;
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = v << 8 | byte();
        return static_cast<int32_t>(v);
    }
};

struct Box {
    std::vector<int32_t> b;
    uint64_t val;
    bool operator==(const Box &o) const { return b == o.b && val == o.val; }
    bool operator<(const Box &o) const { return b != o.b ? b < o.b : val < o.val; }
};

uint64_t distance(const int32_t *p, const std::vector<int32_t> &b, uint32_t d) {
    uint64_t s = 0;
    for (uint32_t i = 0; i < d; ++i) {
        uint32_t diff = 0;
        if (p[i] < b[i]) diff = uint32_t(b[i]) - uint32_t(p[i]);
        if (p[i] > b[d + i]) diff = uint32_t(p[i]) - uint32_t(b[d + i]);
        s += uint64_t(int64_t(int32_t(diff * diff)));
    }
    return s;
}

bool matches(const std::vector<int32_t> &b, const std::vector<int32_t> &q, uint32_t d,
             ZEL_SPATIAL_CODE code) {
    for (uint32_t i = 0; i < d; ++i) {
        if (code == ZEL_OVERLAP && (b[i] > q[d + i] || q[i] > b[d + i])) return false;
        if (code == ZEL_CONTAINS && (q[i] < b[i] || q[d + i] > b[d + i])) return false;
    }
    return true;
}

bool small(int32_t v) {
    return v >= -20000 && v <= 20000;
}

std::vector<int32_t> box(Reader &r, uint32_t d) {
    std::vector<int32_t> b(2 * d);
    for (uint32_t i = 0; i < d; ++i) {
        b[i] = r.coord();
        b[d + i] = static_cast<int32_t>(std::min<int64_t>(int64_t{b[i]} + r.byte() % 8, INT32_MAX));
    }
    return b;
}

void walk(B_RTREE_T *rt, const ZEL_SPATIAL_CRITERIA *c, bool reverse, std::vector<Box> *out) {
    Box x{std::vector<int32_t>(2 * rt->dim), 0};
    B_RTREE_VAL v{0, x.b.data()};
    ZEL_RETCODE rc = reverse ? b_rtLastCriteria(rt, c, &v) : b_rtFirstCriteria(rt, c, &v);
    while (rc == sOKAY) {
        x.val = v.val;
        out->push_back(x);
        rc = reverse ? b_rtPrevCriteria(rt, c, &v) : b_rtNextCriteria(rt, c, &v);
    }
    check(rc == sNOTFOUND);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1) return 0;
    B_TAG_SUB sub = fuzzTag();
    const int64_t start = fuzzUsed(sub);
    Reader r{data, size};
    const uint32_t d = 1 + r.byte() % 4;
    B_RTREE_T rt;
    check(b_rtInit(&rt, 0, d, nullptr, sub) == sOKAY);
    std::vector<Box> model;
    for (int ops = 0; r.more() && ops < 400; ++ops) {
        const uint8_t code = r.byte();
        switch (code % 8) {
            case 0:
            case 1:
            case 2: {  // add, with a value that repeats now and then
                Box x{box(r, d), uint64_t(r.byte() % 4)};
                B_RTREE_VAL v{x.val, x.b.data()};
                check(b_rtAdd(&rt, &v) == sOKAY);
                model.push_back(x);
                break;
            }
            case 3:
            case 4: {  // delete a stored box
                if (model.empty()) break;
                const size_t i = r.byte() % model.size();
                B_RTREE_VAL v{model[i].val, model[i].b.data()};
                check(b_rtDelete(&rt, &v) == sOKAY);
                model.erase(model.begin() + long(i));
                break;
            }
            case 5: {  // delete what may not be there
                Box x{box(r, d), uint64_t(r.byte() % 8)};
                B_RTREE_VAL v{x.val, x.b.data()};
                const auto it = std::find(model.begin(), model.end(), x);
                check(b_rtDelete(&rt, &v) == (it == model.end() ? sNOTFOUND : sOKAY));
                if (it != model.end()) model.erase(it);
                break;
            }
            case 6: {  // walks both ways
                std::vector<int32_t> q = box(r, d);
                const auto c = static_cast<ZEL_SPATIAL_CODE>(r.byte() % 3);
                ZEL_SPATIAL_CRITERIA crit{{0, q.data()}, c, ZEL_FALSE};
                std::vector<Box> fwd, back, want;
                walk(&rt, &crit, false, &fwd);
                walk(&rt, &crit, true, &back);
                for (const Box &x : model)
                    if (c == ZEL_ALL || matches(x.b, q, d, c)) want.push_back(x);
                std::reverse(back.begin(), back.end());
                check(back == fwd);
                std::sort(fwd.begin(), fwd.end());
                std::sort(want.begin(), want.end());
                check(fwd == want);
                break;
            }
            default: {  // nearest neighbours
                std::vector<int32_t> p(d);
                for (uint32_t i = 0; i < d; ++i) p[i] = r.coord();
                const uint32_t k = r.byte() % 12;
                std::vector<std::vector<int32_t>> room(k + 1, std::vector<int32_t>(2 * d));
                std::vector<B_RTREE_VAL> out(k + 1);
                for (uint32_t i = 0; i <= k; ++i) out[i] = {0, room[i].data()};
                ZEL_KNN_CRITERIA kc{p.data(), k};
                uint32_t found = 0;
                check(b_rtFindNearestNeighbors(&rt, &kc, &found, out.data()) == sOKAY);
                std::vector<uint64_t> want, got;
                for (const Box &x : model) want.push_back(distance(p.data(), x.b, d));
                std::sort(want.begin(), want.end());
                want.resize(std::min<size_t>(k, want.size()));
                for (uint32_t i = 0; i < found; ++i) got.push_back(distance(p.data(), room[i], d));
                // With differences past 46340 the wrapped squares are no
                // bound for what lies inside a node (kept), so only the count
                // and the order are certain.
                bool near = std::all_of(p.begin(), p.end(), small);
                for (const Box &x : model)
                    near = near && std::all_of(x.b.begin(), x.b.end(), small);
                check(found == want.size() && std::is_sorted(got.begin(), got.end()));
                if (near) check(got == want);
                break;
            }
        }
        check(b_rtValidate(&rt) == sOKAY);
    }
    b_rtTerm(&rt);
    check(fuzzUsed(sub) == start);
    return 0;
}
