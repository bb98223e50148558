// fuzz_tags.h - what the fuzz targets share: a check that stops the run on a
// broken invariant, and one master tag with one sub tag for the whole run
// (creating them per input would cost most of the time), whose usage each
// input must leave where it found it.
#ifndef FUZZ_TAGS_H
#define FUZZ_TAGS_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "tag_master_psp.h"
#include "tag_sub.h"

inline void check(bool ok) {
    if (!ok) std::abort();
}

// The run's sub tag on a master of platform memory.
inline B_TAG_SUB fuzzTag() {
    static B_TAG_SUB sub = [] {
        B_TAG_MASTER master = nullptr;
        B_TAG_SUB s = nullptr;
        check(b_tag_masterCreate(nullptr, 0, &master) == sOKAY);
        check(b_tag_subCreate(master, &s) == sOKAY);
        return s;
    }();
    return sub;
}

// A master seeded with 64 MiB and its sub tag, for targets whose input can
// ask for counts near 2^32: in a seeded master such a request ends in a code,
// not in the platform's memory running out.
struct FuzzSeededTags {
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
};

inline FuzzSeededTags &fuzzSeededTags() {
    constexpr size_t kSeedBytes = size_t{64} << 20;
    alignas(B_PAGE_SIZE) static uint8_t seed[kSeedBytes];
    static FuzzSeededTags tags = [] {
        FuzzSeededTags t;
        check(b_tag_masterCreate(seed, sizeof seed, &t.master) == sOKAY);
        check(b_tag_subCreate(t.master, &t.sub) == sOKAY);
        return t;
    }();
    return tags;
}

// Bytes the sub tag holds now.
inline int64_t fuzzUsed(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

#endif
