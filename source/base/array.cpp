/*
 * array.cpp - the pointer array: a slot vector grown in steps of four,
 * searched by address or by the caller's predicate, with an iteration that
 * can roll back the items it has already visited when one of them fails.
 */
#include "array.h"

#include <cstring>

#include "tag_sub.h"

namespace {

constexpr uint32_t kArrGrowStep = 4;

}  // namespace

void b_arrInit(B_ARRAY_T *arr, B_TAG_SUB subTag) {
    arr->size = 0;
    arr->count = 0;
    arr->arr = nullptr;
    arr->subTag = subTag;
}

void b_arrTerm(B_ARRAY_T *arr) {
    b_tag_subFreeCanBeNull(arr->subTag, arr->arr);
    arr->arr = nullptr;
    arr->size = 0;
    arr->count = 0;
}

uint32_t b_arrCount(const B_ARRAY_T *arr) {
    return arr->count;
}

ZEL_RETCODE b_arrAdd(B_ARRAY_T *arr, void *data, uint32_t *pIndex) {
    ZEL_RETCODE rc;
    if (arr->count == arr->size) {
        // The linear step and the 16-bit byte count are the design: past
        // 65535 slots the request wraps. A wrapped request that could not
        // hold the new slot is refused rather than written past.
        const uint32_t newSize = arr->size + kArrGrowStep;
        const size_t bytes = static_cast<size_t>(static_cast<uint16_t>(newSize)) * sizeof(void *);
        if (bytes < (static_cast<size_t>(arr->count) + 1) * sizeof(void *)) return eNOMEMORY;
        void **slots = nullptr;
        ZEL_CHECK(rc = b_tag_subAllocOrRealloc(arr->subTag, arr->arr, bytes, &slots));
        arr->arr = slots;
        arr->size = newSize;
    }
    arr->arr[arr->count] = data;
    if (pIndex != nullptr) *pIndex = arr->count;
    arr->count++;
    return sOKAY;
}

ZEL_RETCODE b_arrGetIndex(const B_ARRAY_T *arr, const void *data, uint32_t *pIndex) {
    for (uint32_t i = 0; i < arr->count; i++) {
        if (arr->arr[i] == data) {
            *pIndex = i;
            return sOKAY;
        }
    }
    return sNOTFOUND;
}

ZEL_RETCODE b_arrLookup(const B_ARRAY_T *arr, uint32_t index, void **pData) {
    if (index >= arr->count) return sNOTFOUND;
    *pData = arr->arr[index];
    return sOKAY;
}

ZEL_RETCODE b_arrRemove(B_ARRAY_T *arr, uint32_t index) {
    if (index >= arr->count) return sNOTFOUND;
    arr->count--;
    std::memmove(arr->arr + index, arr->arr + index + 1,
                 static_cast<size_t>(arr->count - index) * sizeof(void *));
    return sOKAY;
}

void b_arrClear(B_ARRAY_T *arr) {
    if (arr->count != 0) std::memset(arr->arr, 0, static_cast<size_t>(arr->count) * sizeof(void *));
    arr->count = 0;
}

ZEL_RETCODE b_arrFind(const B_ARRAY_T *arr, B_ARR_ITERATE_FCN fcn, void *ctx, uint32_t *pIndex) {
    for (uint32_t i = 0; i < arr->count; i++) {
        const ZEL_RETCODE rc = fcn(arr->arr[i], ctx);
        if (rc == sOKAY) {
            if (pIndex != nullptr) *pIndex = i;
            return sOKAY;
        }
        if (rc != sNOTFOUND) return rc;
    }
    return sNOTFOUND;
}

ZEL_RETCODE b_arrIterate(const B_ARRAY_T *arr, B_ARR_ITERATE_FCN fcn, B_ARR_UNDO_FCN undo_fcn,
                         void *ctx) {
    for (uint32_t i = 0; i < arr->count; i++) {
        const ZEL_RETCODE rc = fcn(arr->arr[i], ctx);
        if (rc < 0) {
            if (undo_fcn != nullptr) {
                for (uint32_t j = i + 1; j-- > 0;) undo_fcn(arr->arr[j], ctx);
            }
            return rc;
        }
    }
    return sOKAY;
}
