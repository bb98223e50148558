// text_tags.h - tag fixtures for the text and buffer tests: a sub tag whose
// usage must come back to where it started, and a master seeded with a small
// buffer whose sub tag can be filled so that the next allocation fails.
#ifndef TEXT_TAGS_H
#define TEXT_TAGS_H

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tag_master_psp.h"
#include "tag_sub.h"

inline int64_t text_subBytes(B_TAG_SUB sub) {
    int64_t cur = 0, peak = 0;
    b_tag_subMemUsage(sub, &cur, &peak, nullptr);
    return cur;
}

class TextTagTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
        ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        start = text_subBytes(sub);
    }
    void TearDown() override {
        EXPECT_EQ(text_subBytes(sub), start) << "memory not given back";
        b_tag_subDestroy(sub);
        b_tag_masterDestroy(master);
    }
    B_TAG_MASTER master = nullptr;
    B_TAG_SUB sub = nullptr;
    int64_t start = 0;
};

// A master on a seed of `pages` pages. Fill() takes blocks until the tag
// refuses; Release() gives back the last, so that an operation can be retried
// with a little more room each time until it succeeds.
class TextSeededTags {
  public:
    explicit TextSeededTags(size_t pages) : seed_(pages * B_PAGE_SIZE) {
        EXPECT_EQ(b_tag_masterCreate(seed_.data(), seed_.size(), &master), sOKAY);
        EXPECT_EQ(b_tag_subCreate(master, &sub), sOKAY);
        start = text_subBytes(sub);
    }
    ~TextSeededTags() {
        while (Release()) {
        }
        EXPECT_EQ(text_subBytes(sub), start) << "memory not given back";
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
