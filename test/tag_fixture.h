// tag_fixture.h - tag fixtures shared by the tests of the modules that
// allocate: a sub tag whose usage must come back to where it started, and
// a seeded master that can be filled up to make the next allocation fail.
#ifndef TAG_FIXTURE_H
#define TAG_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

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

// A master seeded with a small buffer. Fill() takes blocks of one size until
// the tag refuses; Release() gives the last one back, so a test can retry an
// operation with one more block of room each time until it succeeds.
class SeededTags {
  public:
    explicit SeededTags(size_t pages) : seed_(pages * B_PAGE_SIZE) {
        EXPECT_EQ(b_tag_masterCreate(seed_.data(), seed_.size(), &master), sOKAY);
        EXPECT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        start = fixture_subBytes(sub);
    }
    ~SeededTags() {
        while (Release()) {
        }
        EXPECT_EQ(fixture_subBytes(sub), start) << "memory not given back";
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    void Fill(size_t size) {
        for (;;) {
            void *p = nullptr;
            if (b_tag_subAlloc(sub, size, &p) != sOKAY) return;
            blocks_.push_back(p);
        }
    }
    bool Release() {
        if (blocks_.empty()) return false;
        b_tag_subFree(sub, blocks_.back());
        blocks_.pop_back();
        return true;
    }
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    int64_t start = 0;

  private:
    std::vector<uint8_t> seed_;
    std::vector<void *> blocks_;
};

#endif
