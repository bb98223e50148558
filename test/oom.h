// oom.h - the out-of-memory check every allocating function runs under.
//
// The master tag's fault point makes its n-th allocation fail. oom_check runs
// an operation with n = 1, 2, 3, ... until a run in which the fault never
// fired, which must succeed, and holds each faulted run to the contract of
// the library: the code is eNOMEMORY (or one the caller names, or sOKAY when
// the operation recovered), and every watched tag is back at the usage it had
// before, so nothing leaked. The operation itself checks its out arguments:
// untouched on failure, right (and then freed) on success.
#ifndef OOM_H
#define OOM_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "tag_master_psp.h"
#include "tag_stack.h"
#include "tag_sub.h"

namespace oom_detail {

inline std::vector<int64_t> usage(std::initializer_list<B_TAG_SUB> subs,
                                  std::initializer_list<B_TAG_STACK> stacks) {
    std::vector<int64_t> out;
    for (B_TAG_SUB s : subs) {
        int64_t cur = 0;
        b_tag_subMemUsage(s, &cur, nullptr, nullptr);
        out.push_back(cur);
    }
    for (B_TAG_STACK s : stacks) {
        int64_t cur = 0, peak = 0;
        b_tag_stackMemUsage(s, &cur, &peak);
        out.push_back(cur);
    }
    return out;
}

}  // namespace oom_detail

// Runs op() with allocation 1, 2, 3, ... of `master` failing, until a run in
// which no fault fired (that run must succeed). op() performs the operation
// and returns its code; on success it checks and frees what the operation
// produced, on failure it checks that the out arguments are untouched. Every
// faulted run must return eNOMEMORY, one of `allowed`, or sOKAY (the operation
// recovered), and leave each tag in `subs` and `stacks` at its usage before.
// Returns the number of faulted runs.
template <class Op>
int oom_check(B_TAG_MASTER master, std::initializer_list<B_TAG_SUB> subs, Op &&op,
              std::initializer_list<ZEL_RETCODE> allowed = {},
              std::initializer_list<B_TAG_STACK> stacks = {}) {
    const std::vector<int64_t> before = oom_detail::usage(subs, stacks);
    for (uint64_t n = 1;; ++n) {
        if (b_tag_masterFailAllocation(master, n) != sOKAY) {
            ADD_FAILURE() << "fault injection is off in this build";
            return 0;
        }
        const ZEL_RETCODE rc = op();
        const bool fired = b_tag_masterFailureGiven(master) == ZEL_TRUE;
        (void)b_tag_masterFailAllocation(master, 0);
        EXPECT_EQ(oom_detail::usage(subs, stacks), before)
            << "memory not given back with allocation " << n << " failing (code " << rc << ")";
        if (!fired) {
            EXPECT_GE(rc, 0) << "the run without a fault failed";
            return static_cast<int>(n - 1);
        }
        const bool known = rc == eNOMEMORY || rc == sOKAY ||
                           std::find(allowed.begin(), allowed.end(), rc) != allowed.end();
        EXPECT_TRUE(known) << "allocation " << n << " failing gave code " << rc;
        if (::testing::Test::HasFatalFailure() || n > 100000) {
            ADD_FAILURE() << "stopped after " << n << " runs";
            return static_cast<int>(n);
        }
    }
}

#endif
