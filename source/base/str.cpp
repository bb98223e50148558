/*
 * str.cpp - the growing text. All growth goes through b_strValidateSpace,
 * which rounds the needed capacity up to 256 bytes so that a run of small
 * appends costs few reallocations.
 */
#include "str.h"

#include <cstring>

#include "tag_sub.h"

namespace {

constexpr size_t B_STR_STEP = 256;

ZEL_RETCODE b_strValidateSpace(B_STR_T *str, size_t needed) {
    if (str->pos + needed <= str->size && str->buffer != nullptr) return sOKAY;
    size_t newSize = (str->pos + needed + B_STR_STEP - 1) / B_STR_STEP * B_STR_STEP;
    if (newSize == 0) newSize = B_STR_STEP;
    ZEL_RETCODE rc;
    char *mem = nullptr;
    ZEL_CHECK(rc = b_tag_subAllocOrReallocInBounds(str->subTag, str->buffer, newSize, &mem));
    // The capacity is stored only once the memory is there, so that a failed
    // growth leaves a string that is still safe to use.
    str->buffer = mem;
    str->size = newSize;
    return sOKAY;
}

}  // namespace

extern "C" {

void b_strInit(B_STR_T *str, B_TAG_SUB subTag) {
    *str = B_STR_T{};
    str->subTag = subTag;
}

void b_strTerm(B_STR_T *str) {
    if (str->buffer != nullptr) b_tag_subFree(str->subTag, str->buffer);
    *str = B_STR_T{};
}

void b_strReset(B_STR_T *str) {
    str->pos = 0;
}

ZEL_RETCODE b_strAppend(B_STR_T *str, const char *input) {
    if (input == nullptr) return sOKAY;
    size_t n = std::strlen(input);
    if (n == 0) return sOKAY;
    ZEL_RETCODE rc;
    ZEL_CHECK(rc = b_strValidateSpace(str, n));
    std::memcpy(str->buffer + str->pos, input, n);
    str->pos += n;
    return sOKAY;
}

size_t b_strSize(const B_STR_T *str) {
    return str->pos;
}

const char *b_strString(B_STR_T *str) {
    if (str->buffer == nullptr) return nullptr;
    if (b_strValidateSpace(str, 1) < 0) return nullptr;
    str->buffer[str->pos] = '\0';
    return str->buffer;
}

char b_strChar(const B_STR_T *str, size_t offset) {
    if (offset >= str->pos || str->buffer == nullptr) return 0;
    return str->buffer[offset];
}

}  // extern "C"
