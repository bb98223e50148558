// The cached B-tree over a damaged node file. The first bytes pick the node
// size (2 to 6 slots), the cache (1 to 3 nodes), how many keys go in (20 to
// 139), the node whose image is damaged and whether the file is cut short;
// each following pair writes one byte of that image. Then every key is
// looked for, the tree walked and more keys added: each answer is right or a
// file error (eFILEIO), never a read past the image. Cleared, the tree takes
// keys again; at the end every entry and every byte must be back.
#include <cstdint>
#include <cstring>

#include "cbtree.h"
#include "fuzz_tags.h"
#include "psp.h"

namespace {

struct Cells {
    int64_t live = 0;
    static uint64_t key(const void *p) { return *static_cast<const uint64_t *>(p); }
    static ZEL_COMPARE compare(void *, const void *a, const void *b) {
        const uint64_t x = key(a), y = key(b);
        return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
    }
    static ZEL_RETCODE load(void *ctx, const uint8_t *buf, uint32_t size, const void **data) {
        check(size == 8);
        uint64_t *cell = nullptr;
        ZEL_CHECK(b_tag_subAlloc(fuzzTag(), 8, &cell));
        std::memcpy(cell, buf, 8);
        static_cast<Cells *>(ctx)->live++;
        *data = cell;
        return sOKAY;
    }
    static void zap(void *ctx, uint8_t *buf, uint32_t size, const void *data) {
        if (buf != nullptr) {
            check(size == 8);
            std::memcpy(buf, data, 8);
        }
        b_tag_subFree(fuzzTag(), const_cast<void *>(data));
        static_cast<Cells *>(ctx)->live--;
    }
};

// Adds key k; the code, the cell freed unless the tree took it.
ZEL_RETCODE add(B_CBTREE_T *t, Cells *cells, uint64_t k) {
    uint64_t *cell = nullptr;
    check(b_tag_subAlloc(fuzzTag(), 8, &cell) == sOKAY);
    *cell = k;
    cells->live++;
    const ZEL_RETCODE rc = b_cbtAdd(t, cell);
    if (rc != sOKAY) {
        b_tag_subFree(fuzzTag(), cell);
        cells->live--;
    }
    return rc;
}

// Distinct keys: 100003 is prime and the step is no multiple of it.
uint64_t keyOf(uint32_t i) {
    return (uint64_t{i} * 2654435761u) % 100003;
}

// Writes the pairs (offset, byte) over node `id`'s image; `cut` > 0 ends the
// file that many bytes into the image, less one.
void damage(const B_CBTREE_T *t, B_CBTREE_ID id, uint32_t cut, const uint8_t *data, size_t size) {
    PSP_FILE_T fh;
    check(psp_fileOpen(t->filename, PSP_FILE_UPDATE_EXISTING, &fh) == sOKAY);
    const uint64_t at = uint64_t{t->nodesize} * id;
    uint8_t image[6 * 12 + 8];  // the largest image: 6 slots of 8 + 4 bytes, and 8
    uint32_t got = 0;
    check(psp_fileSeekRead(fh, at, image, t->nodesize, &got) == sOKAY);
    for (size_t i = 0; i + 1 < size && got != 0; i += 2) image[data[i] % got] = data[i + 1];
    check(psp_fileSeekWrite(fh, at, image, got) == sOKAY);
    if (cut != 0) check(psp_fileSetSize(fh, at + (cut - 1) % t->nodesize) == sOKAY);
    (void)psp_fileClose(fh);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 4) return 0;
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    Cells cells;
    B_CBTREE_T t;
    const uint32_t slots = 2 + data[0] % 5;
    // In memory where the system has a file system there: a run is mostly I/O.
    static const char *const dir = psp_fileIsDir("/dev/shm") == sOKAY ? "/dev/shm" : "/tmp";
    check(b_cbtInit(&t, sub, &cells, Cells::compare, Cells::load, Cells::zap, 1 + data[1] % 3,
                    slots, 8, dir) == sOKAY);
    const uint32_t keys = 20 + data[2] % 120;
    for (uint32_t i = 0; i < keys; ++i) check(add(&t, &cells, keyOf(i)) == sOKAY);
    if (t.fh_open) {
        damage(&t, data[3] % t.nextId, data[3] >> 6, data + 4, size - 4);
    }

    for (uint32_t i = 0; i < keys; ++i) {
        const uint64_t k = keyOf(i);
        const void *p = b_cbtFind(&t, &k);
        check(p == nullptr || Cells::key(p) == k);
    }
    int steps = 0;
    for (void *p = b_cbtFirst(&t); p != nullptr && steps < 1000; p = b_cbtNext(&t)) steps++;
    check(steps < 1000);
    for (uint32_t i = keys; i < keys + 20; ++i) {
        const ZEL_RETCODE rc = add(&t, &cells, keyOf(i));
        check(rc == sOKAY || rc == eDUPLICATE || rc == eFILEIO);
    }

    check(b_cbtClear(&t) == sOKAY);
    for (uint32_t i = 0; i < 30; ++i) check(add(&t, &cells, keyOf(i)) == sOKAY);
    for (uint32_t i = 0; i < 30; ++i) {
        const uint64_t k = keyOf(i);
        check(b_cbtFind(&t, &k) != nullptr);
    }
    b_cbtTerm(&t);
    check(cells.live == 0);
    check(fuzzUsed(sub) == before);
    return 0;
}
