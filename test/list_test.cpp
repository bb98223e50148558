// Tests of the pointer list: random operations against a std::deque model
// with the links checked after every step (pointers stored several times
// among them), the cursor at the ends, iteration stops and running out of
// memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>

#include "list.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

int items[64];
using Items = std::deque<void *>;

// Both directions of the links agree with the model, and so does the count.
::testing::AssertionResult ListMatches(const B_LL_T &ll, const std::deque<void *> &model) {
    if (ll.count != model.size()) return ::testing::AssertionFailure() << "count " << ll.count;
    const B_LL_NODE *node = ll.head;
    const B_LL_NODE *prev = nullptr;
    for (void *want : model) {
        if (node == nullptr || node->ptr != want || node->prev != prev) {
            return ::testing::AssertionFailure() << "forward links differ";
        }
        prev = node;
        node = node->next;
    }
    if (node != nullptr || ll.tail != prev) return ::testing::AssertionFailure() << "bad tail";
    return ::testing::AssertionSuccess();
}

class ListRandom : public TaggedTest {};

TEST_F(ListRandom, MatchesDequeModel) {
    std::mt19937 rng(7);
    B_LL_T ll;
    b_llInit(&ll, sub);
    std::deque<void *> model;
    for (int step = 0; step < 4000; step++) {
        void *p = &items[rng() % 64];
        switch (rng() % 6) {
            case 0:
                ASSERT_EQ(b_llAddHead(&ll, p), sOKAY);
                model.push_front(p);
                break;
            case 1:
            case 2:
                ASSERT_EQ(b_llAddTail(&ll, p), sOKAY);
                model.push_back(p);
                break;
            case 3:
                EXPECT_EQ(b_llDeleteHead(&ll), model.empty() ? nullptr : model.front());
                if (!model.empty()) model.pop_front();
                break;
            case 4:
                EXPECT_EQ(b_llDeleteTail(&ll), model.empty() ? nullptr : model.back());
                if (!model.empty()) model.pop_back();
                break;
            case 5: {
                auto it = std::find(model.begin(), model.end(), p);
                EXPECT_EQ(b_llRemove(&ll, p), it == model.end() ? nullptr : p);
                if (it != model.end()) model.erase(it);
                break;
            }
        }
        ASSERT_TRUE(ListMatches(ll, model)) << "step " << step;
        EXPECT_EQ(b_llGetHead(&ll), model.empty() ? nullptr : model.front());
        EXPECT_EQ(b_llGetTail(&ll), model.empty() ? nullptr : model.back());
    }
    b_llTerm(&ll);
    EXPECT_EQ(ll.subTag, nullptr);
}

class ListCursor : public TaggedTest {};

TEST_F(ListCursor, WalksBothWaysAndClearsPastTheEnds) {
    B_LL_T ll;
    b_llInit(&ll, sub);
    EXPECT_EQ(b_llFirst(&ll), nullptr);
    EXPECT_EQ(b_llNext(&ll), nullptr);
    for (int i = 0; i < 3; i++) ASSERT_EQ(b_llAddTail(&ll, &items[i]), sOKAY);
    EXPECT_EQ(b_llFirst(&ll), &items[0]);
    EXPECT_EQ(b_llNext(&ll), &items[1]);
    EXPECT_EQ(b_llGetTail(&ll), &items[2]);  // does not move the cursor
    EXPECT_EQ(b_llNext(&ll), &items[2]);
    EXPECT_EQ(b_llNext(&ll), nullptr);
    EXPECT_EQ(ll.cur, nullptr);
    EXPECT_EQ(b_llNext(&ll), nullptr);
    EXPECT_EQ(b_llPrev(&ll), nullptr);
    EXPECT_EQ(b_llLast(&ll), &items[2]);
    EXPECT_EQ(b_llPrev(&ll), &items[1]);
    // Taking out the node under the cursor leaves no cursor, not a stale one.
    EXPECT_EQ(b_llRemove(&ll, &items[1]), &items[1]);
    EXPECT_EQ(ll.cur, nullptr);
    b_llTerm(&ll);
}

class ListIterate : public TaggedTest {};

TEST_F(ListIterate, StopsAtTheFirstFailureInEitherDirection) {
    B_LL_T ll;
    b_llInit(&ll, sub);
    for (int i = 0; i < 5; i++) ASSERT_EQ(b_llAddTail(&ll, &items[i]), sOKAY);
    struct Seen {
        std::vector<void *> order;
        void *failOn;
    } seen{{}, &items[2]};
    auto fcn = [](void *item, void *ctx) -> ZEL_RETCODE {
        auto *s = static_cast<Seen *>(ctx);
        s->order.push_back(item);
        if (item == s->failOn) return eINVARG;
        return item == &items[3] ? sNOTFOUND : sOKAY;  // a status is no failure
    };
    EXPECT_EQ(b_llIterate(&ll, fcn, &seen), eINVARG);
    EXPECT_EQ(seen.order, (std::vector<void *>{&items[0], &items[1], &items[2]}));
    seen.order.clear();
    EXPECT_EQ(b_llIterateBackward(&ll, fcn, &seen), eINVARG);
    EXPECT_EQ(seen.order, (std::vector<void *>{&items[4], &items[3], &items[2]}));
    seen.failOn = nullptr;
    EXPECT_EQ(b_llIterate(&ll, fcn, &seen), sOKAY);
    b_llTerm(&ll);
}

// A failed add leaves the list as it was, at either end.
TEST_F(ListRandom, AddUnderFailingAllocations) {
    EXPECT_EQ(
        oom_check(master, {sub},
                  [&] {
                      B_LL_T ll;
                      b_llInit(&ll, sub);
                      ZEL_RETCODE rc = b_llAddTail(&ll, &items[0]);
                      EXPECT_TRUE(ListMatches(ll, rc == sOKAY ? Items{&items[0]} : Items{}));
                      if (rc == sOKAY) {
                          rc = b_llAddHead(&ll, &items[1]);
                          EXPECT_TRUE(ListMatches(
                              ll, rc == sOKAY ? Items{&items[1], &items[0]} : Items{&items[0]}));
                      }
                      b_llTerm(&ll);
                      return rc;
                  }),
        2);
}

}  // namespace
