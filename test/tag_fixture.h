// tag_fixture.h - the tag fixture shared by the tests of the modules that
// allocate: a sub tag whose usage must come back to where it started.
#ifndef TAG_FIXTURE_H
#define TAG_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>

#include "tag_master_psp.h"
#include "tag_sub.h"

inline int64_t fixture_subBytes(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

// A master on platform memory and one sub tag; TearDown checks that the
// test gave back every byte it took.
class TaggedTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
        ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        start = fixture_subBytes(sub);
    }
    void TearDown() override {
        EXPECT_EQ(fixture_subBytes(sub), start) << "memory not given back";
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    int64_t start = 0;
};

#endif
