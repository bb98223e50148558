// Tests of the searchable pointer stack: random operations against a
// std::vector model (the back is the top), search from the top, the bottom
// pointer after a find-and-delete, the empty codes and running out of memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "oom.h"
#include "ptrstack.h"
#include "tag_fixture.h"

namespace {

int items[32];

// Items match when they are the same address.
ZEL_COMPARE SameItem(const void *lookup, const void *item, void *ctx) {
    ++*static_cast<int *>(ctx);
    return lookup == item ? ZEL_EQ : ZEL_LT;
}

::testing::AssertionResult StackMatches(const B_STACK_T &st, const std::vector<void *> &model) {
    if (st.count != model.size()) return ::testing::AssertionFailure() << "count " << st.count;
    const B_STACK_NODE *node = st.top;
    for (auto it = model.rbegin(); it != model.rend(); ++it, node = node->next) {
        if (node == nullptr || node->data != *it) return ::testing::AssertionFailure() << "links";
    }
    if (node != nullptr) return ::testing::AssertionFailure() << "too long";
    return ::testing::AssertionSuccess();
}

class StackRandom : public TaggedTest {};

TEST_F(StackRandom, MatchesVectorModel) {
    std::mt19937 rng(11);
    int calls = 0;
    B_STACK_T st;
    b_stackInit(&st, SameItem, &calls, sub);
    std::vector<void *> model;
    for (int step = 0; step < 4000; step++) {
        void *p = &items[rng() % 32];
        void *got = &got;
        switch (rng() % 5) {
            case 0:
            case 1:
                ASSERT_EQ(b_stackPush(&st, p), sOKAY);
                model.push_back(p);
                break;
            case 2:
                if (model.empty()) {
                    EXPECT_EQ(b_stackPop(&st, &got), sNODATA);
                    EXPECT_EQ(got, &got);
                } else {
                    EXPECT_EQ(b_stackPop(&st, &got), sOKAY);
                    EXPECT_EQ(got, model.back());
                    model.pop_back();
                }
                break;
            case 3: {
                const bool present = std::find(model.begin(), model.end(), p) != model.end();
                EXPECT_EQ(b_stackFind(&st, p, &got), present ? sOKAY : sNOTFOUND);
                EXPECT_EQ(got, present ? p : &got);
                break;
            }
            case 4: {
                // The match nearest the top goes.
                auto it = std::find(model.rbegin(), model.rend(), p);
                EXPECT_EQ(b_stackFindAndDeleteEx(&st, p, &got),
                          it == model.rend() ? sNOTFOUND : sOKAY);
                if (it != model.rend()) {
                    EXPECT_EQ(got, p);
                    model.erase(std::next(it).base());
                }
                break;
            }
        }
        ASSERT_TRUE(StackMatches(st, model)) << "step " << step;
        EXPECT_EQ(b_stackCount(&st), model.size());
        EXPECT_EQ(b_stackTop(&st), model.empty() ? nullptr : model.back());
    }
    EXPECT_GT(calls, 0);
    while (b_stackPop(&st, nullptr) == sOKAY) {
    }
    b_stackTerm(&st);
}

class StackDelete : public TaggedTest {};

TEST_F(StackDelete, BottomItemLeavesBottomAsItIs) {
    int calls = 0;
    B_STACK_T st;
    b_stackInit(&st, SameItem, &calls, sub);
    for (int i = 0; i < 3; i++) ASSERT_EQ(b_stackPush(&st, &items[i]), sOKAY);
    B_STACK_NODE *const bottom = st.bottom;
    EXPECT_EQ(bottom->data, &items[0]);
    EXPECT_EQ(b_stackFindAndDelete(&st, &items[0]), sOKAY);
    EXPECT_EQ(st.bottom, bottom);  // never read through; kept as it was
    EXPECT_EQ(b_stackFindAndDelete(&st, &items[0]), sNOTFOUND);
    EXPECT_EQ(b_stackCount(&st), 2u);
    EXPECT_EQ(b_stackPop(&st, nullptr), sOKAY);
    EXPECT_EQ(b_stackPop(&st, nullptr), sOKAY);
    EXPECT_EQ(b_stackTop(&st), nullptr);
    // Pushing on the emptied stack makes the new node the bottom.
    ASSERT_EQ(b_stackPush(&st, &items[5]), sOKAY);
    EXPECT_EQ(st.bottom, st.top);
    EXPECT_EQ(b_stackPop(&st, nullptr), sOKAY);
    b_stackTerm(&st);
}

TEST_F(StackDelete, TermUnlinksWithoutFreeing) {
    B_STACK_T st;
    b_stackInit(&st, nullptr, nullptr, sub);
    ASSERT_EQ(b_stackPush(&st, &items[0]), sOKAY);
    B_STACK_NODE *const node = st.top;
    b_stackTerm(&st);
    EXPECT_EQ(st.top, nullptr);
    EXPECT_EQ(b_stackCount(&st), 0u);
    EXPECT_GT(fixture_subBytes(sub), start);  // the node is left to the tag
    b_tag_subFree(sub, node);
}

// A failed push leaves the stack as it was.
TEST_F(StackDelete, PushUnderFailingAllocations) {
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            B_STACK_T st;
                            b_stackInit(&st, nullptr, nullptr, sub);
                            ZEL_RETCODE rc = sOKAY;
                            std::vector<void *> model;
                            for (int i = 0; i < 2 && rc == sOKAY; i++) {
                                rc = b_stackPush(&st, &items[i]);
                                if (rc == sOKAY) model.push_back(&items[i]);
                                EXPECT_TRUE(StackMatches(st, model));
                            }
                            while (b_stackPop(&st, nullptr) == sOKAY) {
                            }
                            b_stackTerm(&st);
                            return rc;
                        }),
              2);
}

}  // namespace
