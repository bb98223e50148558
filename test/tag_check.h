// tag_check.h - invariant checks over a master tag's private records, shared
// by the master and sub tag tests.
#ifndef TAG_CHECK_H
#define TAG_CHECK_H

#include <gtest/gtest.h>

#include <cstdlib>

#include "avl.h"
#include "tag_internal.h"
#include "tag_master_psp.h"

// Walks every large block's boundary tags and checks that: the sentinels hold
// -1; the runs tile the carved part exactly, each with equal tags at both
// ends; every free run, and nothing else, is in free_pages; the allocated
// pages plus the first header page make cur_pages_allocated; and the carved
// pages plus header pages make max_pages_allocated.
inline ::testing::AssertionResult tag_checkMaster(B_TAG_MASTER tag_master) {
    auto *master = reinterpret_cast<B_MASTER_BLOCK_HEADER_T *>(tag_master);
    int64_t held = 0;
    int64_t carved = 0;
    uint64_t free_runs = 0;
    for (B_AVL_NODE_T *node = b_avlFirst(&master->large_pages); node != nullptr;
         node = b_avlNext(node)) {
        auto *header = reinterpret_cast<B_LARGE_BLOCK_HEADER_T *>(node);
        const auto num = static_cast<ptrdiff_t>(header->num_blocks);
        if (header->sizes[0].size != -1 || header->sizes[num + 1].size != -1) {
            return ::testing::AssertionFailure() << "sentinel overwritten";
        }
        ptrdiff_t end = num + 1;
        if (reinterpret_cast<B_LARGE_BLOCK_T *>(header) == master->new_large_block) {
            end = master->new_min_sizesP - header->sizes;
            if (master->new_max_sizesP != &header->sizes[num + 1]) {
                return ::testing::AssertionFailure() << "stretch end is not the end entry";
            }
            if (end <= num && header->sizes[end].size != -1) {
                return ::testing::AssertionFailure() << "stretch start lost its -1 at " << end;
            }
        }
        carved += end;  // the header page and the pages before the stretch
        for (ptrdiff_t i = 1; i < end;) {
            const int tag = header->sizes[i].size;
            const int pages = std::abs(tag);
            if (tag == 0 || i + pages > end) {
                return ::testing::AssertionFailure() << "bad tag " << tag << " at " << i;
            }
            if (header->sizes[i + pages - 1].size != tag) {
                return ::testing::AssertionFailure() << "run at " << i << " has unequal ends";
            }
            if (tag > 0) {
                free_runs++;
                if (b_avlFind(&master->free_pages, &header->sizes[i].avl) !=
                    &header->sizes[i].avl) {
                    return ::testing::AssertionFailure() << "free run at " << i << " not in tree";
                }
            } else {
                held += pages;
            }
            i += pages;
        }
    }
    if (free_runs != b_avlCount(&master->free_pages)) {
        return ::testing::AssertionFailure()
               << free_runs << " free runs, tree holds " << b_avlCount(&master->free_pages);
    }
    if (held + 1 != master->cur_pages_allocated) {
        return ::testing::AssertionFailure()
               << held << " pages held, cur_pages_allocated " << master->cur_pages_allocated;
    }
    if (carved != master->max_pages_allocated) {
        return ::testing::AssertionFailure()
               << carved << " pages carved, max_pages_allocated " << master->max_pages_allocated;
    }
    return ::testing::AssertionSuccess();
}

inline uint64_t tag_checkFreeRuns(B_TAG_MASTER tag_master) {
    return b_avlCount(&reinterpret_cast<B_MASTER_BLOCK_HEADER_T *>(tag_master)->free_pages);
}

inline int64_t tag_checkMasterBytes(B_TAG_MASTER tag_master) {
    int64_t cur = 0, max = 0;
    b_tag_masterMemUsage(tag_master, &cur, &max);
    return cur;
}

#endif
