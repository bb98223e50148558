// vcache_model.h - the versioned cache next to a model of it, shared by the
// test and the fuzz target. The model keeps, per entry, its chain of images
// as (mark, payload) pairs, newest first, with its holds and modified state;
// the mark stack; the age list; and the counters as the cache keeps them.
// Every operation runs on both; check() then compares the whole cache (every
// chain through its links, every mark's list, the age list, both kinds of
// tree with the structural checker, the counts, the live objects) with the
// model, and the commit order with a sort of the model's modified entries by
// (-drawerType, subcache, id). Failures come back as text, "" meaning none.
#ifndef VCACHE_MODEL_H
#define VCACHE_MODEL_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <list>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "btree.h"
#include "btree_internal.h"
#include "vcache.h"

// An object: its payload, and whether it is constructed.
struct VcObj {
    uint64_t payload;
    uint64_t magic;
};
constexpr uint64_t kVcLive = 0x11CEB00C0FFEEull, kVcDead = 0xDEADull;

class VcHarness {
  public:
    static constexpr int kSubs = 3;
    static constexpr uint64_t kIds = 8;
    static constexpr int kCtxs = 6;

    // Drawer types of the subcaches: two of one type, so that the address
    // decides between them.
    VcHarness(B_TAG_SUB sub, uint32_t max_entries) : max_(max_entries) {
        static const ZEL_DRAWER_TYPE types[kSubs] = {ZEL_DRAWER_TABLE, ZEL_DRAWER_BTREE,
                                                     ZEL_DRAWER_TABLE};
        for (int s = 0; s < kSubs; ++s) drawers_[s] = {types[s], ZEL_FALSE};
        rc_ = b_vcacheInit(&cache, max_entries, sizeof(VcObj), cstr, dstr, convert, full, commit,
                           this, sub);
        for (int s = 0; s < kSubs && rc_ == sOKAY; ++s) {
            rc_ = b_vcacheAddSubcache(&cache, &drawers_[s], &subs[s]);
        }
        marks_.push_back({0, nullptr});
    }
    ~VcHarness() { term(); }
    // Ends the cache (if it was made); the objects still alive after.
    int64_t term() {
        if (cache.subTag != nullptr) b_vcacheTerm(&cache);
        return live_;
    }
    VcHarness(const VcHarness &) = delete;
    VcHarness &operator=(const VcHarness &) = delete;

    ZEL_RETCODE initCode() const { return rc_; }
    // With this set, eNOMEMORY from add, a find or setMark is checked as a
    // failure that leaves the model's state; lastCode() tells it came.
    bool allowNoMemory = false;
    ZEL_RETCODE lastCode() const { return last_; }
    int64_t liveObjects() const { return live_; }
    size_t holds() const { return holds_.size(); }

    // One operation, its arguments taken from the bytes a, b, c. The mix
    // favours writes and marks, so that chains of several images form.
    std::string step(uint8_t op, uint8_t a, uint8_t b, uint8_t c) {
        // a add, f find, o find-or, v version, w write, r release, d discard,
        // m mark, M release mark, n rename, b rollback, c commit, C clear,
        // x convert.
        static constexpr char kMix[] = "aaaafffffffovvwwwwrrdmmmMMnbbcCx";
        static_assert(sizeof kMix == 33);
        const int s = a % kSubs;
        const uint64_t id = b % kIds;
        const ZEL_BOOL_T w = (c & 3) != 0 ? ZEL_TRUE : ZEL_FALSE;
        switch (kMix[op % 32]) {
            case 'a':
                fullMode_ = (c >> 2) % 8 < 6 ? 0 : 1 + (c >> 2) % 8 - 6;
                return add(s, id, (c & 1) ? ZEL_TRUE : ZEL_FALSE);
            case 'f':
                return find(s, id, w, 0);
            case 'o':
                return findOr(s, id, (c & 4) ? ZEL_FORWARD : ZEL_REVERSE, w);
            case 'v':
                return find(s, id, ZEL_FALSE, c % 5);
            case 'w':
                return end(a, 1);
            case 'r':
                return end(a, 0);
            case 'd':
                return end(a, 2);
            case 'm':
                return setMark(a % kCtxs);
            case 'M':
                return releaseMark(a % kCtxs);
            case 'n':
                return renameMark(a % kCtxs, b % kCtxs);
            case 'b':
                return rollback(a % (kCtxs + 1));
            case 'c':
                return commitBoth((c & 1) ? B_VCACHE_BACKWARD : B_VCACHE_FORWARD,
                                  b % 4 == 0 ? 1 + a % 5 : 0);
            case 'C':
                return clear(s);
            case 'x':
                return convertSub(s);
        }
        return "";
    }

    // ---- operations on both

    std::string add(int s, uint64_t id, ZEL_BOOL_T w) {
        void *obj = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        const ZEL_RETCODE rc = last_ = b_vcacheAdd(&subs[s], id, w, &obj, &h);
        const bool noMemory = rc == eNOMEMORY && allowNoMemory;
        ZEL_RETCODE want = sOKAY;
        if ((held_ + modified_) * 100u / max_ > 80u) {
            wantFullCalls_++;
            if (fullMode_ == 1) want = eFAIL;
            if (fullMode_ == 2) (void)modelCommit(B_VCACHE_FORWARD, 0);
        }
        if (want == sOKAY) {
            makeRoom();
            const Key k{s, id};
            if (ents_.count(k) != 0) {
                want = noMemory ? eNOMEMORY : eDUPLICATE;  // the entry is made before its add
            } else if (noMemory) {
                // Marking it for writing failed after the add: it stays, clean.
                want = eNOMEMORY;
                if (inTree(s, id)) {
                    ents_[k].chain.push_front({-1, 0});
                    age_.push_front(k);
                    entries_++;
                }
            } else {
                ents_[k].chain.push_front({-1, 0});
                age_.push_front(k);
                entries_++;
                if (w) markModified(k);
                hold(k);
            }
        }
        if (rc != want) return "add: code " + std::to_string(rc) + ", want " + std::to_string(want);
        return rc == sOKAY ? held(Key{s, id}, w, obj, h, 0) : check();
    }

    // FindVersion; a version v > 0 asks for the images visible at v.
    std::string find(int s, uint64_t id, ZEL_BOOL_T w, uint64_t version) {
        void *obj = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        const ZEL_RETCODE rc = last_ =
            b_vcacheFindVersion(&subs[s], id, w, version, visible, &obj, &h);
        const Key k{s, id};
        ZEL_RETCODE want = ents_.count(k) != 0 ? sOKAY : sNOTFOUND;
        size_t image = 0;
        if (want == sOKAY && version != 0) {
            const auto &chain = ents_[k].chain;
            bool found = false;
            for (size_t i = 0; i < chain.size(); ++i) {
                if (chain[i].mark != -1 && visible(ctxOf(chain[i].mark), version)) {
                    image = i;
                    found = true;
                } else if (found) {
                    break;
                }
            }
            if (!found) want = sNOTFOUND;
        }
        if (want == sOKAY && w && rc == eNOMEMORY && allowNoMemory) return check();
        if (rc != want)
            return "find: code " + std::to_string(rc) + ", want " + std::to_string(want);
        if (rc != sOKAY) return check();
        const size_t before = ents_[k].chain.size();
        if (w)
            markModified(k);
        else
            touch(k);
        hold(k);
        if (version != 0) image += ents_[k].chain.size() - before;  // a copy went in front
        return held(k, w, obj, h, image);
    }

    std::string findOr(int s, uint64_t id, ZEL_DIRECTION dir, ZEL_BOOL_T w) {
        void *obj = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        const ZEL_RETCODE rc = b_vcacheFindOr(&subs[s], id, dir, w, &obj, &h);
        auto it = ents_.lower_bound(Key{s, id});
        if (dir != ZEL_FORWARD && (it == ents_.end() || it->first != Key{s, id})) {
            it = it == ents_.begin() ? ents_.end() : std::prev(it);
        }
        const bool hit = it != ents_.end() && it->first.first == s;
        if (rc != (hit ? sOKAY : sNOTFOUND)) return "findOr: code " + std::to_string(rc);
        if (!hit) return check();
        const Key k = it->first;
        if (w)
            markModified(k);
        else
            touch(k);
        hold(k);
        return held(k, w, obj, h, 0);
    }

    // Ends hold number i: 0 release, 1 write, 2 discard.
    std::string end(size_t i, int how) {
        if (holds_.empty()) return "";
        i %= holds_.size();
        const Key k = holds_[i].first;
        B_VCACHE_ITEM_HANDLE h = holds_[i].second;
        holds_.erase(holds_.begin() + static_cast<std::ptrdiff_t>(i));
        MEnt &e = ents_[k];
        if (how == 1) {
            if (b_vcacheWrite(h) != sOKAY) return "write failed";
        } else if (how == 0) {
            b_vcacheRelease(h);
        } else {
            b_vcacheDiscard(h);
        }
        if (--e.hold == 0) held_--;
        if (how == 1 && e.modified == 1) e.modified = 2;
        if (e.hold == 0 && ((how == 0 && e.modified == 1) || (how == 2 && e.modified >= 1))) {
            modified_--;
            erase(k);
        }
        return check();
    }

    std::string setMark(int ctx) {
        if ((last_ = b_vcacheSetMark(&cache, &kCtx[ctx])) == eNOMEMORY && allowNoMemory)
            return check();
        if (last_ != sOKAY) return "setMark failed";
        marks_.push_back({nextUid_++, &kCtx[ctx]});
        return check();
    }

    std::string releaseMark(int ctx) {
        if (b_vcacheReleaseMark(&cache, &kCtx[ctx]) != sOKAY) return "releaseMark failed";
        if (const size_t i = findMark(&kCtx[ctx]); i != 0) {
            fold(i);
            marks_.erase(marks_.begin() + static_cast<std::ptrdiff_t>(i));
        }
        return check();
    }

    std::string renameMark(int from, int to) {
        if (b_vcacheUpdateMarkCtx(&cache, &kCtx[from], &kCtx[to]) != sOKAY) return "rename failed";
        if (const size_t i = findMark(&kCtx[from]); i != 0) marks_[i].ctx = &kCtx[to];
        return check();
    }

    // ctx kCtxs: everything.
    std::string rollback(int ctx) {
        const void *name = ctx < kCtxs ? &kCtx[ctx] : nullptr;
        const ZEL_RETCODE rc = b_vcacheRollback(&cache, name);
        const size_t target = name != nullptr ? findMark(name) : 0;
        if (name != nullptr && target == 0) {
            return rc == sNOTFOUND ? check() : "rollback: not found gave " + std::to_string(rc);
        }
        if (rc != sOKAY) return "rollback: code " + std::to_string(rc);
        for (size_t i = marks_.size() - 1;; --i) {
            const int uid = marks_[i].uid;
            for (auto it = ents_.begin(); it != ents_.end();) {
                const Key k = (it++)->first;
                MEnt &e = ents_[k];
                if (e.chain.front().mark != uid) continue;
                e.chain.pop_front();
                if (e.chain.empty()) {
                    modified_--;
                    erase(k);
                }
            }
            if (i == target) break;
            marks_.pop_back();
        }
        return check();
    }

    // failAt n > 0: the n-th call of commitfcn fails.
    std::string commitBoth(B_VCACHE_DIRECTION dir, int failAt) {
        for (ZEL_DRAWER_INFO &d : drawers_) d.add_list = ZEL_FALSE;
        commitFailAt_ = failAt;
        commitCalls_ = 0;
        const ZEL_RETCODE rc = b_vcacheCommit(dir, &cache);
        commitFailAt_ = 0;
        const ZEL_RETCODE want = modelCommit(dir, failAt);
        if (rc != want)
            return "commit: code " + std::to_string(rc) + ", want " + std::to_string(want);
        for (int s = 0; s < kSubs; ++s) {
            if ((drawers_[s].add_list == ZEL_TRUE) != (addList_.count(s) != 0))
                return "add_list of drawer " + std::to_string(s);
        }
        return check();
    }

    std::string clear(int s) {
        b_vcacheClearSubcache(&subs[s]);
        for (auto it = ents_.lower_bound(Key{s, 0}); it != ents_.end() && it->first.first == s;) {
            erase((it++)->first);  // deliberately not lowering modified_
        }
        return check();
    }

    // convertfcn: payload + 1000, failing on a payload of 3 modulo 7.
    std::string convertSub(int s) {
        if (b_vcacheConvertSubcache(&subs[s]) != sOKAY) return "convert: not sOKAY";
        for (auto it = ents_.lower_bound(Key{s, 0}); it != ents_.end() && it->first.first == s;
             ++it) {
            uint64_t &p = it->second.chain.front().payload;
            if (p % 7 == 3) break;
            p += 1000;
        }
        return check();
    }

    // ---- the comparison

    std::string check() {
        if (!error_.empty()) return error_;
        // Marks, bottom first, and the real mark each model mark is.
        std::vector<const B_VCACHE_MARK_T *> stack;
        for (const B_VCACHE_MARK_T *m = cache.curr_mark; m != nullptr; m = m->older)
            stack.insert(stack.begin(), m);
        if (stack.size() != marks_.size() || stack[0] != &cache.default_mark)
            return "mark stack of " + std::to_string(stack.size());
        std::map<const B_VCACHE_MARK_T *, int> uidOf;
        size_t markedModel = 0, markedReal = 0, versions = 0;
        for (size_t i = 0; i < stack.size(); ++i) {
            if (stack[i]->markCtx != marks_[i].ctx) return "mark name " + std::to_string(i);
            uidOf[stack[i]] = marks_[i].uid;
            const B_VCACHE_VERSION_T *prev = nullptr;
            for (const B_VCACHE_VERSION_T *v = stack[i]->versions; v != nullptr;
                 prev = v, v = v->next_in_mark) {
                if (v->mark != stack[i] || v->prev_in_mark != prev) return "mark list links";
                markedReal++;
            }
        }
        // Entries of each subcache, in id order.
        std::set<const B_VCACHE_ENTRY_T *> all;
        auto model = ents_.begin();
        for (int s = 0; s < kSubs; ++s) {
            if (zel::detail::bt_check(&subs[s].btree).error != nullptr) return "subcache tree";
            std::vector<const B_VCACHE_ENTRY_T *> list;
            inOrder(&subs[s].btree.root, &list);
            for (const B_VCACHE_ENTRY_T *e : list) {
                all.insert(e);
                if (model == ents_.end() || model->first != Key{s, e->id})
                    return "entry " + name(Key{s, e->id}) + " is not in the model";
                const MEnt &m = model->second;
                if (e->subcache != &subs[s] || e->cache != &cache) return "entry owners";
                if (e->hold_count != m.hold || e->modified != m.modified)
                    return name(model->first) + ": hold or modified";
                size_t i = 0;
                const B_VCACHE_VERSION_T *newer = nullptr;
                for (const B_VCACHE_VERSION_T *v = e->curr_version; v != nullptr;
                     newer = v, v = v->older, ++i) {
                    if (i >= m.chain.size()) return name(model->first) + ": chain too long";
                    const auto *o = static_cast<const VcObj *>(v->obj);
                    if (v->entry != e || v->newer != newer || o->magic != kVcLive)
                        return name(model->first) + ": chain links";
                    const int uid = v->mark == nullptr          ? -1
                                    : uidOf.count(v->mark) != 0 ? uidOf[v->mark]
                                                                : -2;
                    if (uid == -2) return name(model->first) + ": image under a dead mark";
                    if (uid != m.chain[i].mark || o->payload != m.chain[i].payload)
                        return name(model->first) + ": image " + std::to_string(i);
                }
                if (i != m.chain.size()) return name(model->first) + ": chain too short";
                for (const MVer &v : m.chain) markedModel += v.mark != -1;
                versions += i;
                ++model;
            }
            if (subs[s].last != nullptr &&
                (all.count(subs[s].last) == 0 || subs[s].last->subcache != &subs[s]))
                return "stale last";
        }
        if (model != ents_.end()) return "entry " + name(model->first) + " missing";
        if (markedReal != markedModel) return "images in the marks' lists";
        // The age list, newest first.
        const B_VCACHE_ENTRY_T *newer = nullptr;
        auto a = age_.begin();
        for (const B_VCACHE_ENTRY_T *e = cache.newest; e != nullptr; newer = e, e = e->older, ++a) {
            if (a == age_.end() || e->newer != newer || keyOf(e) != *a) return "age list";
        }
        if (a != age_.end() || cache.oldest != newer) return "age list ends";
        // btModified in commit order.
        if (zel::detail::bt_check(&cache.btModified).error != nullptr) return "btModified tree";
        std::vector<const B_VCACHE_ENTRY_T *> mod;
        inOrder(&cache.btModified.root, &mod);
        const std::vector<Key> want = commitOrder(false);
        if (mod.size() != want.size()) return "btModified holds " + std::to_string(mod.size());
        for (size_t i = 0; i < mod.size(); ++i) {
            if (all.count(mod[i]) == 0 || keyOf(mod[i]) != want[i]) return "btModified order";
        }
        if (cache.num_entries != entries_ || cache.num_held != held_ ||
            cache.num_modified != modified_ || b_vcacheGetModifiedCount(&cache) != want.size())
            return "counts";
        if (live_ != static_cast<int64_t>(versions)) return "live objects";
        if (fullCalls_ != wantFullCalls_) return "fullfcn calls";
        if (committed_ != wantCommitted_) return "commit order";
        committed_.clear();
        wantCommitted_.clear();
        return "";
    }

    B_VCACHE_T cache{};
    B_VSUBCACHE_T subs[kSubs]{};

  private:
    using Key = std::pair<int, uint64_t>;
    struct MVer {
        int mark;  // uid, -1 for a clean image
        uint64_t payload;
    };
    struct MEnt {
        std::deque<MVer> chain;  // newest first
        int hold = 0;
        int modified = 0;
    };
    struct MMark {
        int uid;
        const void *ctx;
    };
    static inline char kCtx[kCtxs];

    static std::string name(const Key &k) {
        return std::string(1, static_cast<char>('A' + k.first)) + ":" + std::to_string(k.second);
    }
    Key keyOf(const B_VCACHE_ENTRY_T *e) const {
        return Key{static_cast<int>(e->subcache - subs), e->id};
    }
    bool inTree(int s, uint64_t id) const {
        std::vector<const B_VCACHE_ENTRY_T *> list;
        inOrder(&subs[s].btree.root, &list);
        return std::any_of(list.begin(), list.end(),
                           [&](const B_VCACHE_ENTRY_T *e) { return e->id == id; });
    }
    static void inOrder(const B_BTREE_NODE *n, std::vector<const B_VCACHE_ENTRY_T *> *out) {
        for (uint32_t i = 0; i <= n->used; ++i) {
            if (n->slots[i].child != nullptr) inOrder(n->slots[i].child, out);
            if (i < n->used)
                out->push_back(static_cast<const B_VCACHE_ENTRY_T *>(n->slots[i].data));
        }
    }

    // Visible at v: the bottom mark always, mark k below v.
    static ZEL_BOOL_T visible(const void *ctx, uint64_t v) {
        if (ctx == nullptr) return ZEL_TRUE;
        return static_cast<uint64_t>(static_cast<const char *>(ctx) - kCtx) < v ? ZEL_TRUE
                                                                                : ZEL_FALSE;
    }
    const void *ctxOf(int uid) const {
        for (const MMark &m : marks_)
            if (m.uid == uid) return m.ctx;
        return nullptr;
    }
    // The topmost mark of that name, 0 when none (the bottom has no name).
    size_t findMark(const void *ctx) const {
        for (size_t i = marks_.size() - 1; i > 0; --i)
            if (marks_[i].ctx == ctx) return i;
        return 0;
    }

    void markModified(const Key &k) {
        MEnt &e = ents_[k];
        const int top = marks_.back().uid;
        if (e.chain.front().mark == top) return;
        if (e.modified != 0) {
            e.chain.push_front({top, e.chain.front().payload});
            return;
        }
        modified_++;
        e.modified = 1;
        age_.remove(k);
        e.chain.front().mark = top;
    }
    void touch(const Key &k) {
        if (ents_[k].modified != 0) return;
        age_.remove(k);
        age_.push_front(k);
    }
    void hold(const Key &k) {
        if (ents_[k].hold++ == 0) held_++;
    }
    // The entry leaves the model, with its holds.
    void erase(Key k) {  // by value: callers pass keys of the containers it edits
        MEnt &e = ents_[k];
        if (e.hold != 0) held_--;
        if (e.modified == 0) age_.remove(k);
        ents_.erase(k);
        entries_--;
        holds_.erase(std::remove_if(holds_.begin(), holds_.end(),
                                    [&](const auto &h) { return h.first == k; }),
                     holds_.end());
    }
    void makeRoom() {
        while (entries_ >= max_) {
            if (entries_ - modified_ < (max_ >> 1)) return;
            auto it = std::find_if(age_.rbegin(), age_.rend(),
                                   [&](const Key &k) { return ents_[k].hold == 0; });
            if (it == age_.rend()) return;
            erase(*it);
        }
    }
    // Mark i folds into mark i - 1.
    void fold(size_t i) {
        const int uid = marks_[i].uid, target = marks_[i - 1].uid;
        for (auto &[k, e] : ents_) {
            for (size_t p = 0; p < e.chain.size(); ++p) {
                if (e.chain[p].mark != uid) continue;
                if (p + 1 < e.chain.size() && e.chain[p + 1].mark == target) {
                    e.chain[p + 1].payload = e.chain[p].payload;
                    e.chain.erase(e.chain.begin() + static_cast<std::ptrdiff_t>(p));
                } else {
                    e.chain[p].mark = target;
                }
                break;
            }
        }
    }
    // Modified entries by (-drawerType, subcache address, id); with
    // `unheld`, only those a commit writes.
    std::vector<Key> commitOrder(bool unheld) {
        std::vector<Key> keys;
        for (const auto &[k, e] : ents_)
            if (e.modified != 0 && (!unheld || e.hold == 0)) keys.push_back(k);
        std::sort(keys.begin(), keys.end(), [&](const Key &x, const Key &y) {
            const int tx = drawers_[x.first].drawerType, ty = drawers_[y.first].drawerType;
            const auto ax = reinterpret_cast<uintptr_t>(&subs[x.first]);
            const auto ay = reinterpret_cast<uintptr_t>(&subs[y.first]);
            return std::make_tuple(-tx, ax, x.second) < std::make_tuple(-ty, ay, y.second);
        });
        return keys;
    }
    ZEL_RETCODE modelCommit(B_VCACHE_DIRECTION dir, int failAt) {
        addList_.clear();
        std::vector<Key> keys = commitOrder(true);
        if (dir == B_VCACHE_BACKWARD) std::reverse(keys.begin(), keys.end());
        int n = 0;
        for (const Key &k : keys) {
            MEnt &e = ents_[k];
            addList_.insert(k.first);
            wantCommitted_.emplace_back(k.first, k.second, e.chain.front().payload);
            if (++n == failAt) return eFAIL;
            e.chain.erase(e.chain.begin() + 1, e.chain.end());
            e.chain.front().mark = -1;
            e.modified = 0;
            modified_--;
            if (entries_ > max_) {
                erase(k);
            } else {
                age_.push_back(k);
            }
        }
        while (marks_.size() > 1) {
            fold(marks_.size() - 1);
            marks_.pop_back();
        }
        return sOKAY;
    }

    // After a successful hold: the object handed back is image `image` of
    // the entry; for writing it gets a new payload.
    std::string held(const Key &k, ZEL_BOOL_T w, void *obj, B_VCACHE_ITEM_HANDLE h, size_t image) {
        MEnt &e = ents_[k];
        auto *o = static_cast<VcObj *>(obj);
        if (h == nullptr || h->id != k.second || o->payload != e.chain[image].payload)
            return name(k) + ": wrong object handed back";
        holds_.emplace_back(k, h);
        if (w) o->payload = e.chain[image].payload = ++payload_;
        return check();
    }

    // ---- callbacks
    static ZEL_RETCODE cstr(void *obj, const void *src, const void *ctx) {
        auto *o = static_cast<VcObj *>(obj);
        o->payload = src != nullptr ? static_cast<const VcObj *>(src)->payload : 0;
        o->magic = kVcLive;
        const_cast<VcHarness *>(static_cast<const VcHarness *>(ctx))->live_++;
        return sOKAY;
    }
    static void dstr(void *obj, const void *ctx) {
        auto *o = static_cast<VcObj *>(obj);
        auto *self = const_cast<VcHarness *>(static_cast<const VcHarness *>(ctx));
        if (o->magic != kVcLive) self->error_ = "dstrfcn on a dead object";
        o->magic = kVcDead;
        self->live_--;
    }
    static ZEL_RETCODE convert(void *obj, const void *) {
        auto *o = static_cast<VcObj *>(obj);
        if (o->payload % 7 == 3) return eFAIL;
        o->payload += 1000;
        return sOKAY;
    }
    static ZEL_RETCODE full(uint32_t num_modified, const void *ctx) {
        auto *self = const_cast<VcHarness *>(static_cast<const VcHarness *>(ctx));
        self->fullCalls_++;
        if (num_modified != self->cache.num_modified) self->error_ = "fullfcn's count";
        if (self->fullMode_ == 1) return eFAIL;
        if (self->fullMode_ == 2) return b_vcacheCommit(B_VCACHE_FORWARD, &self->cache);
        return sOKAY;
    }
    static ZEL_RETCODE commit(const void *userdata, uint64_t id, void *obj, const void *ctx) {
        auto *self = const_cast<VcHarness *>(static_cast<const VcHarness *>(ctx));
        const int s =
            static_cast<int>(static_cast<const ZEL_DRAWER_INFO *>(userdata) - self->drawers_);
        self->committed_.emplace_back(s, id, static_cast<VcObj *>(obj)->payload);
        return ++self->commitCalls_ == self->commitFailAt_ ? eFAIL : sOKAY;
    }

    uint32_t max_;
    ZEL_RETCODE rc_ = sOKAY, last_ = sOKAY;
    ZEL_DRAWER_INFO drawers_[kSubs]{};
    std::map<Key, MEnt> ents_;
    std::list<Key> age_;  // newest first
    std::vector<MMark> marks_;
    std::vector<std::pair<Key, B_VCACHE_ITEM_HANDLE>> holds_;
    std::set<int> addList_;
    uint32_t entries_ = 0, held_ = 0, modified_ = 0;
    int nextUid_ = 1;
    uint64_t payload_ = 0;
    int64_t live_ = 0;
    int fullMode_ = 0, fullCalls_ = 0, wantFullCalls_ = 0;
    int commitFailAt_ = 0, commitCalls_ = 0;
    std::vector<std::tuple<int, uint64_t, uint64_t>> committed_, wantCommitted_;
    std::string error_;
};

#endif
