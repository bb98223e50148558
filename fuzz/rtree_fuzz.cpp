// R-tree nodes of the spatial keys of object_catalog.h read from arbitrary
// bytes. The first byte picks the key (each element type a box moves
// through, one that moves as zeros, and the two a box cannot use) and the
// form; the rest is the node. A node that reads is written again: an
// expanded image gives back the input, and a compact stream reads again and
// writes the same bytes (its boundaries are in the column's type by then);
// the boxes of an expanded image, any doubles, also go through the compact
// form.
// A failed node holds nothing, and the tag's usage comes back.
#include <cstring>

#include "object_catalog.h"
#include "object_fuzz.h"
#include "rtree_node.h"

namespace {

const ObjectCatalog &catalog() {
    static const ObjectCatalog cat = [] {
        ObjectCatalog c;
        check(oc_build(fuzzTag(), &c) == sOKAY);
        return c;
    }();
    return cat;
}

ZEL_RETCODE unpack(ZEL_RTREE_NODE *node, SCH_KEY_INFO_C ki, bool expanded, const uint8_t *data,
                   size_t size) {
    FuzzSource src(data, size, fuzzTag());
    return expanded ? rtree_unpack_expanded(node, ki, &src.dec, fuzzTag())
                    : rtree_unpack_compact(node, ki, &src.dec, fuzzTag());
}

void one(const uint8_t *data, size_t size) {
    if (size == 0) return;
    SCH_KEY_INFO_C ki = catalog().box[(data[0] & 0x7F) % kOcAreaKeys];
    const bool expanded = (data[0] & 0x80) != 0;
    ZEL_RTREE_NODE node{};
    if (unpack(&node, ki, expanded, data + 1, size - 1) != sOKAY) {
        check(node.slotData == nullptr);
        return;
    }
    check(node.used <= ZEL_RTREE_MAX_ENTRIES && node.slot == 0);
    auto write = expanded ? rtree_pack_expanded : rtree_pack_compact;
    std::vector<uint8_t> once, twice;
    check(fuzzPack(write, node, fuzzTag(), &once));
    if (expanded)
        check(once.size() <= size - 1 && std::memcmp(once.data(), data + 1, once.size()) == 0);
    ZEL_RTREE_NODE back{};
    check(unpack(&back, ki, expanded, once.data(), once.size()) == sOKAY);
    check(fuzzPack(write, back, fuzzTag(), &twice) && twice == once);
    rtree_free(&back);
    if (expanded) {
        // Any doubles, NaN and out of range included, convert to the
        // column's type and back.
        check(fuzzPack(rtree_pack_compact, node, fuzzTag(), &twice));
        check(unpack(&back, ki, false, twice.data(), twice.size()) == sOKAY);
        check(back.used == node.used);
        rtree_free(&back);
    }
    rtree_free(&node);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    catalog();  // built once, before the usage is taken
    const int64_t start = fuzzUsed(fuzzTag());
    one(data, size);
    check(fuzzUsed(fuzzTag()) == start);
    return 0;
}
