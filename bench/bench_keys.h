// The ordered-index benchmarks' keys: 1M distinct 64-bit keys spread over the
// whole range, in one random order for inserting and another for probing, the
// same in every program so that their figures compare.
#pragma once

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <vector>

#include "zeltypes.h"

namespace bench {

constexpr size_t kKeys = 1000000;

struct Keys {
    std::vector<uint64_t> insert, probe;
    Keys() : insert(kKeys) {
        std::mt19937_64 rng(42);
        std::iota(insert.begin(), insert.end(), uint64_t{0});
        for (uint64_t &k : insert) k = k * 0x9E3779B97F4A7C15u;  // distinct, spread out
        std::shuffle(insert.begin(), insert.end(), rng);
        probe = insert;
        std::shuffle(probe.begin(), probe.end(), rng);
    }
};

inline const Keys &keys() {
    static const Keys k;
    return k;
}

// Two keys held by pointer, in the library's order of comparison.
inline ZEL_COMPARE keyCompare(const void *a, const void *b) {
    const uint64_t x = *static_cast<const uint64_t *>(a);
    const uint64_t y = *static_cast<const uint64_t *>(b);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}

}  // namespace bench
