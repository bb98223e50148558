// tag_ref_internal.h - "a sub tag or a stack tag", said once. C++ only.
//
// Several families take memory from whichever tag their caller chose: a value
// record names its tag, a conversion's control block carries one, and text
// formatting has a sub-tag and a stack-tag form of each function. TagRef is
// that choice as a value: two words, one branch per call, and the same five
// operations whichever tag it holds. A null TagRef holds no tag; allocating
// through it is eNOMEMORY, releasing through it does nothing. Releasing on a
// stack tag drops the buffer and everything allocated after it, as the stack
// tag always does.
#ifndef TAG_REF_INTERNAL_H
#define TAG_REF_INTERNAL_H

#include <cstddef>

#include "tag_stack.h"
#include "tag_sub.h"

namespace zel::detail {

class TagRef {
  public:
    constexpr TagRef() = default;
    constexpr TagRef(B_TAG_SUB sub) : sub_(sub) {}          // NOLINT: a tag converts implicitly
    constexpr TagRef(B_TAG_STACK stack) : stack_(stack) {}  // NOLINT

    constexpr bool null() const { return sub_ == nullptr && stack_ == nullptr; }
    constexpr B_TAG_SUB sub() const { return sub_; }
    constexpr B_TAG_STACK stack() const { return stack_; }

    ZEL_RETCODE alloc(size_t n, void *pBuf) const {
        if (sub_ != nullptr) return b_tag_subAlloc(sub_, n, pBuf);
        if (stack_ != nullptr) return b_tag_stackAlloc(stack_, n, pBuf);
        return eNOMEMORY;
    }
    ZEL_RETCODE allocClear(size_t n, void *pBuf) const {
        if (sub_ != nullptr) return b_tag_subAllocClear(sub_, n, pBuf);
        if (stack_ != nullptr) return b_tag_stackAllocClear(stack_, n, pBuf);
        return eNOMEMORY;
    }
    // `n` 0 stores null and succeeds.
    ZEL_RETCODE allocOrNull(size_t n, void *pBuf) const {
        if (sub_ != nullptr) return b_tag_subAllocOrSetNull(sub_, n, pBuf);
        if (stack_ != nullptr) return b_tag_stackAllocOrSetNull(stack_, n, pBuf);
        return eNOMEMORY;
    }
    ZEL_RETCODE allocCopy(const void *src, size_t n, void *pBuf) const {
        if (sub_ != nullptr) return b_tag_subAllocCopy(sub_, src, n, pBuf);
        if (stack_ != nullptr) return b_tag_stackAllocCopy(stack_, src, n, pBuf);
        return eNOMEMORY;
    }
    ZEL_RETCODE copyString(const char *src, void *pBuf) const {
        if (sub_ != nullptr) return b_tag_subCopyString(sub_, src, pBuf);
        if (stack_ != nullptr) return b_tag_stackCopyString(stack_, src, pBuf);
        return eNOMEMORY;
    }
    // A null pointer is ignored.
    void release(const void *p) const {
        if (p == nullptr) return;
        if (sub_ != nullptr) {
            b_tag_subFree(sub_, const_cast<void *>(p));
        } else if (stack_ != nullptr) {
            b_tag_stackFree(stack_, const_cast<void *>(p));
        }
    }

  private:
    B_TAG_SUB sub_ = nullptr;
    B_TAG_STACK stack_ = nullptr;
};

}  // namespace zel::detail

#endif
