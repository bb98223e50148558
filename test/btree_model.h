// btree_model.h - the reference model of a B_BTREE_T, shared by the B-tree
// test and its fuzz target. Keys are small integers stored as pointers into
// one table; the model is a std::set with the cursor as an iterator. Each
// operation runs on the tree and on the model and returns "" when the two
// agree, else what differed. check() runs the structural checker and
// compares the entries, without moving the cursor.
#ifndef BTREE_MODEL_H
#define BTREE_MODEL_H

#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "btree.h"
#include "btree_internal.h"

class BtModel {
  public:
    explicit BtModel(uint64_t space) : keys_(space) {
        for (uint64_t i = 0; i < space; ++i) keys_[i] = i;
    }
    static ZEL_COMPARE compare(const void *a, const void *b, const void *) {
        const uint64_t x = *static_cast<const uint64_t *>(a);
        const uint64_t y = *static_cast<const uint64_t *>(b);
        return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
    }
    const void *ptr(uint64_t k) const { return &keys_[k]; }
    static int64_t key(const void *p) {
        return p == nullptr ? -1 : static_cast<int64_t>(*static_cast<const uint64_t *>(p));
    }
    const std::set<uint64_t> &set() const { return set_; }
    // The cursor's entry, or -1 when it is on none the model knows.
    int64_t at() const { return pending_ >= 0 ? pending_ : (cur_ == Cur::kAt ? at_ : -1); }

    std::string add(B_BTREE_T *bt, uint64_t k) {
        const bool fresh = set_.insert(k).second;
        cur_ = Cur::kUnknown;
        return same("add", b_btAdd(bt, ptr(k)), fresh ? sOKAY : eDUPLICATE);
    }
    // All or nothing: any key present or repeated makes it eDUPLICATE.
    std::string addMultiple(B_BTREE_T *bt, const std::vector<uint64_t> &ks) {
        std::vector<const void *> arr;
        std::set<uint64_t> added;
        bool clash = false;
        for (uint64_t k : ks) {
            arr.push_back(ptr(k));
            clash = clash || set_.count(k) || !added.insert(k).second;
        }
        if (!clash) set_.insert(added.begin(), added.end());
        cur_ = Cur::kUnknown;
        return same("add multiple",
                    b_btAddMultiple(bt, static_cast<uint32_t>(arr.size()), arr.data()),
                    clash ? eDUPLICATE : sOKAY);
    }
    // A present key leaves its successor pending; a missing one the cursor
    // undefined (a pending successor stays).
    std::string del(B_BTREE_T *bt, uint64_t k) {
        const bool present = set_.erase(k) != 0;
        const std::string r =
            same("delete", key(b_btDelete(bt, ptr(k))), present ? static_cast<int64_t>(k) : -1);
        if (!present) {
            cur_ = Cur::kUnknown;
        } else {
            pending_ = after(static_cast<int64_t>(k));
            cur_ = Cur::kEnd;
        }
        return r;
    }
    std::string deleteEnd(B_BTREE_T *bt, bool first) {
        const int64_t want = first ? least() : last();
        const std::string r = same(first ? "delete first" : "delete last",
                                   key(first ? b_btDeleteFirst(bt) : b_btDeleteLast(bt)), want);
        if (want >= 0) set_.erase(static_cast<uint64_t>(want));
        if (pending_ == want) pending_ = -1;
        cur_ = Cur::kOff;
        return r + (bt->pathlevel == B_BTREE_NO_LEVEL ? "" : " cursor left on a level");
    }
    std::string find(B_BTREE_T *bt, uint64_t k) {
        void *p = b_btFind(bt, ptr(k));
        place(p, Cur::kUnknown);
        return same("find", key(p), set_.count(k) ? static_cast<int64_t>(k) : -1);
    }
    std::string findOr(B_BTREE_T *bt, uint64_t k, bool next) {
        const int64_t s = static_cast<int64_t>(k);
        const int64_t want = set_.count(k) ? s : (next ? after(s) : before(s));
        void *p = next ? b_btFindOrNext(bt, ptr(k)) : b_btFindOrPrev(bt, ptr(k));
        place(p, next ? Cur::kEnd : Cur::kOff);
        return same(next ? "find or next" : "find or prev", key(p), want);
    }
    std::string end(B_BTREE_T *bt, bool first) {
        void *p = first ? b_btFirst(bt) : b_btLast(bt);
        place(p, Cur::kEnd);
        std::string r = same(first ? "first" : "last", key(p), first ? least() : last());
        if (p == nullptr && bt->pathlevel != 0) r += " cursor not at level 0";
        return r;
    }
    std::string step(B_BTREE_T *bt, bool forward) {
        const int64_t got = key(forward ? b_btNext(bt) : b_btPrev(bt));
        if (cur_ == Cur::kUnknown && pending_ < 0) {
            return got < 0 || set_.count(static_cast<uint64_t>(got)) ? "" : "stepped off the set";
        }
        int64_t want = -1;
        if (pending_ >= 0) {
            want = forward ? pending_ : before(pending_);
        } else if (cur_ == Cur::kAt) {
            want = forward ? after(at_) : before(at_);
        } else if (cur_ == Cur::kEnd && !forward) {
            want = last();
        }
        // Next past the end stays after the last entry; Prev before the
        // first leaves the cursor on none.
        const Cur otherwise = !forward || cur_ == Cur::kOff ? Cur::kOff : Cur::kEnd;
        place(got >= 0 ? ptr(static_cast<uint64_t>(got)) : nullptr, otherwise);
        return same(forward ? "next" : "prev", got, want);
    }

    std::string check(const B_BTREE_T *bt) const { return check(bt, set_); }
    static std::string check(const B_BTREE_T *bt, const std::set<uint64_t> &set) {
        const auto r = zel::detail::bt_check(bt);
        if (r.error != nullptr) return r.error;
        std::vector<int64_t> got;
        inOrder(&bt->root, got);
        if (got != std::vector<int64_t>(set.begin(), set.end())) return "entries differ";
        return b_btCount(bt) == set.size() ? "" : "count differs";
    }

  private:
    // The cursor: on `at_`; after the last entry (Next null, Prev the last);
    // on no entry (both null); or undefined after an add or a miss.
    enum class Cur { kAt, kEnd, kOff, kUnknown };

    static std::string same(const char *what, int64_t got, int64_t want) {
        if (got == want) return "";
        return std::string(what) + " gave " + std::to_string(got) + ", expected " +
               std::to_string(want);
    }
    int64_t least() const { return set_.empty() ? -1 : static_cast<int64_t>(*set_.begin()); }
    int64_t last() const { return set_.empty() ? -1 : static_cast<int64_t>(*set_.rbegin()); }
    int64_t after(int64_t k) const {
        auto it = set_.upper_bound(static_cast<uint64_t>(k));
        return it == set_.end() ? -1 : static_cast<int64_t>(*it);
    }
    int64_t before(int64_t k) const {
        auto it = set_.lower_bound(static_cast<uint64_t>(k));
        return it == set_.begin() ? -1 : static_cast<int64_t>(*std::prev(it));
    }
    void place(const void *p, Cur otherwise) {
        at_ = key(p);
        cur_ = at_ >= 0 ? Cur::kAt : otherwise;
        pending_ = -1;
    }
    static void inOrder(const B_BTREE_NODE *n, std::vector<int64_t> &out) {
        for (uint32_t i = 0; i <= n->used; ++i) {
            if (n->slots[i].child != nullptr) inOrder(n->slots[i].child, out);
            if (i < n->used) out.push_back(key(n->slots[i].data));
        }
    }

    std::vector<uint64_t> keys_;
    std::set<uint64_t> set_;
    Cur cur_ = Cur::kOff;
    int64_t at_ = -1;
    int64_t pending_ = -1;
};

#endif
