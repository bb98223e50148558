// Tests of the pointer array: random operations against a std::vector
// model, growth in steps of four, the 16-bit limit of the growth request,
// the codes of find and iterate with the undo walk, and running out of
// memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "array.h"
#include "oom.h"
#include "tag_fixture.h"

namespace {

int items[48];

::testing::AssertionResult ArrayMatches(const B_ARRAY_T &a, const std::vector<void *> &model) {
    if (a.count != model.size()) return ::testing::AssertionFailure() << "count " << a.count;
    if (a.size < a.count || a.size % 4 != 0) return ::testing::AssertionFailure() << "size";
    for (uint32_t i = 0; i < a.count; i++) {
        if (a.arr[i] != model[i]) return ::testing::AssertionFailure() << "slot " << i;
    }
    return ::testing::AssertionSuccess();
}

class ArrayRandom : public TaggedTest {};

TEST_F(ArrayRandom, MatchesVectorModel) {
    std::mt19937 rng(5);
    B_ARRAY_T a;
    b_arrInit(&a, sub);
    std::vector<void *> model;
    for (int step = 0; step < 4000; step++) {
        void *p = &items[rng() % 48];
        const uint32_t index = static_cast<uint32_t>(rng() % (model.size() + 2));
        uint32_t got = 999;
        void *data = &data;
        switch (rng() % 5) {
            case 0:
            case 1:
                ASSERT_EQ(b_arrAdd(&a, p, &got), sOKAY);
                EXPECT_EQ(got, model.size());
                model.push_back(p);
                break;
            case 2: {
                auto it = std::find(model.begin(), model.end(), p);
                EXPECT_EQ(b_arrGetIndex(&a, p, &got), it == model.end() ? sNOTFOUND : sOKAY);
                EXPECT_EQ(got, it == model.end() ? 999u : it - model.begin());
                break;
            }
            case 3:
                EXPECT_EQ(b_arrLookup(&a, index, &data), index < model.size() ? sOKAY : sNOTFOUND);
                EXPECT_EQ(data, index < model.size() ? model[index] : &data);
                break;
            case 4:
                EXPECT_EQ(b_arrRemove(&a, index), index < model.size() ? sOKAY : sNOTFOUND);
                if (index < model.size()) model.erase(model.begin() + index);
                break;
        }
        ASSERT_TRUE(ArrayMatches(a, model)) << "step " << step;
        if (step == 2000) {
            const uint32_t size = a.size;
            b_arrClear(&a);
            model.clear();
            EXPECT_EQ(a.size, size);  // room kept
        }
    }
    b_arrTerm(&a);
}

class ArrayGrowth : public TaggedTest {};

TEST_F(ArrayGrowth, StepsOfFourUpToTheSixteenBitLimit) {
    B_ARRAY_T a;
    b_arrInit(&a, sub);
    ASSERT_EQ(b_arrAdd(&a, &items[0], nullptr), sOKAY);
    EXPECT_EQ(a.size, 4u);
    for (int i = 1; i < 5; i++) ASSERT_EQ(b_arrAdd(&a, &items[i], nullptr), sOKAY);
    EXPECT_EQ(a.size, 8u);
    // The last index only lowers count.
    EXPECT_EQ(b_arrRemove(&a, 4), sOKAY);
    EXPECT_TRUE(ArrayMatches(a, {&items[0], &items[1], &items[2], &items[3]}));
    // 65532 slots fit; the next step asks for (65536 & 0xFFFF) * 8 bytes and is
    // refused rather than written past.
    while (a.count < 65532) ASSERT_EQ(b_arrAdd(&a, &items[1], nullptr), sOKAY);
    EXPECT_EQ(a.size, 65532u);
    EXPECT_EQ(b_arrAdd(&a, &items[2], nullptr), eNOMEMORY);
    EXPECT_EQ(a.count, 65532u);
    EXPECT_EQ(a.size, 65532u);
    b_arrTerm(&a);
}

struct Trace {
    std::vector<int> visited;
    std::vector<int> undone;
    int failAt;
    ZEL_RETCODE code;
};

ZEL_RETCODE Visit(void *item, void *ctx) {
    auto *t = static_cast<Trace *>(ctx);
    const int i = static_cast<int>(static_cast<int *>(item) - items);
    t->visited.push_back(i);
    return i == t->failAt ? t->code : sNOTFOUND;
}

void Undo(void *item, void *ctx) {
    static_cast<Trace *>(ctx)->undone.push_back(static_cast<int>(static_cast<int *>(item) - items));
}

class ArrayIterate : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        b_arrInit(&a, sub);
        for (int i = 0; i < 4; i++) ASSERT_EQ(b_arrAdd(&a, &items[i], nullptr), sOKAY);
    }
    void TearDown() override {
        b_arrTerm(&a);
        TaggedTest::TearDown();
    }
    B_ARRAY_T a;
};

TEST_F(ArrayIterate, UndoRunsFromTheFailedItemDown) {
    Trace t{{}, {}, 2, eINVARG};
    EXPECT_EQ(b_arrIterate(&a, Visit, Undo, &t), eINVARG);
    EXPECT_EQ(t.visited, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(t.undone, (std::vector<int>{2, 1, 0}));
    Trace first{{}, {}, 0, eFAIL};
    EXPECT_EQ(b_arrIterate(&a, Visit, Undo, &first), eFAIL);
    EXPECT_EQ(first.undone, (std::vector<int>{0}));
    Trace none{{}, {}, -1, sOKAY};  // statuses are no failure
    EXPECT_EQ(b_arrIterate(&a, Visit, Undo, &none), sOKAY);
    EXPECT_EQ(none.visited.size(), 4u);
    EXPECT_TRUE(none.undone.empty());
    Trace noUndo{{}, {}, 1, eFAIL};
    EXPECT_EQ(b_arrIterate(&a, Visit, nullptr, &noUndo), eFAIL);
}

TEST_F(ArrayIterate, FindStopsOnOkayOrAnyCodeButNotFound) {
    uint32_t index = 99;
    Trace hit{{}, {}, 2, sOKAY};
    EXPECT_EQ(b_arrFind(&a, Visit, &hit, &index), sOKAY);
    EXPECT_EQ(index, 2u);
    Trace status{{}, {}, 1, sDUPLICATE};
    index = 99;
    EXPECT_EQ(b_arrFind(&a, Visit, &status, &index), sDUPLICATE);
    EXPECT_EQ(index, 99u);
    EXPECT_EQ(status.visited.size(), 2u);
    Trace miss{{}, {}, -1, sOKAY};
    EXPECT_EQ(b_arrFind(&a, Visit, &miss, &index), sNOTFOUND);
    EXPECT_EQ(miss.visited.size(), 4u);
}

// A failed growth leaves the slots, the count and the index as they were.
TEST_F(ArrayGrowth, AddUnderFailingAllocations) {
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            B_ARRAY_T a;
                            b_arrInit(&a, sub);
                            std::vector<void *> model;
                            ZEL_RETCODE rc = sOKAY;
                            for (uint32_t i = 0; i < 9 && rc == sOKAY; i++) {
                                uint32_t index = 99;
                                rc = b_arrAdd(&a, &items[i], &index);
                                if (rc == sOKAY) model.push_back(&items[i]);
                                EXPECT_EQ(index, rc == sOKAY ? i : 99u);
                                EXPECT_TRUE(ArrayMatches(a, model));
                            }
                            b_arrTerm(&a);
                            return rc;
                        }),
              3);  // 4, 8 and 12 slots
}

}  // namespace
