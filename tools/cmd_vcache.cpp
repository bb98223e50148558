// `zelbase vcache [--max N] [SCRIPT|-]` runs a script of operations on a
// versioned cache of short texts (standard input without SCRIPT, or with
// "-") and prints, after each line, every entry (holds, modified state and
// its chain of mark:text images, newest first), the mark stack, the commit
// order of the modified entries and the age list of the clean ones. Exit
// code 0, 2 for a line it cannot read, 1 when the script cannot be read.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "error.h"
#include "vcache.h"
#include "zelbase_cmds.h"

int zb_cmd_vcache(int argc, char **argv);

namespace {

constexpr size_t kZbVcText = 24;  // an object: a short text
constexpr uint32_t kZbVcMaxDefault = 8;

const char *const kZbVcHelp =
    "Runs a script on a versioned cache of short texts and prints the cache after\n"
    "each line. Lines (# starts a comment; a line that is one is echoed):\n"
    "  sub NAME TYPE            a subcache for a drawer of TYPE: btree, hash, ref,\n"
    "                           blob, table or rtree\n"
    "  add NAME ID [r|w] [TEXT] a new entry, held; w: for writing, its image then\n"
    "                           TEXT (or a fresh one)\n"
    "  find NAME ID [r|w] [TEXT] find and hold; w as for add\n"
    "  write|release|discard [NAME ID]  end the newest hold (of that entry)\n"
    "  mark CTX                 set a savepoint named CTX\n"
    "  rename OLD NEW           rename a savepoint\n"
    "  releasemark CTX          fold a savepoint into the one below\n"
    "  rollback [CTX]           undo to a savepoint, or everything\n"
    "  commit [fwd|back]        write out every modified entry nobody holds\n"
    "  clear NAME               throw a subcache's entries away";

const char *zb_vc_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return "?";
}

struct ZbVcSub {
    ZEL_DRAWER_INFO drawer;  // the subcache's userdata
    B_VSUBCACHE_T sc{};
    std::string name;
};

struct ZbVcHold {
    B_VCACHE_ITEM_HANDLE h;
    const ZbVcSub *sub;
    uint64_t id;
};

const char *const kZbVcTypes[] = {"btree", "hash", "ref", "blob", "table", "rtree"};

class ZbVcache {
  public:
    ZbVcache(FILE *out, B_TAG_SUB sub, uint32_t max, bool each) : out_(out), each_(each) {
        rc_ =
            b_vcacheInit(&cache_, max, kZbVcText, cstr, nullptr, nullptr, full, commit, this, sub);
    }
    ~ZbVcache() {
        if (rc_ == sOKAY) b_vcacheTerm(&cache_);
    }
    ZbVcache(const ZbVcache &) = delete;
    ZbVcache &operator=(const ZbVcache &) = delete;
    ZEL_RETCODE initCode() const { return rc_; }

    // One line; false with *why set for a line that is not understood.
    bool line(const std::string &text, std::string *why) {
        std::istringstream in(text.substr(0, text.find('#')));
        std::vector<std::string> w;
        for (std::string word; in >> word;) w.push_back(word);
        if (w.empty()) {
            if (text.find('#') == std::string::npos) return true;
            flush();
            std::fprintf(out_, "%s\n", text.c_str());
            return true;
        }
        std::fprintf(out_, "> %s\n", text.c_str());
        ZEL_RETCODE rc = sOKAY;
        const std::string &op = w[0];
        if (op == "sub" && w.size() == 3) {
            rc = addSub(w[1], w[2], why);
        } else if ((op == "add" || op == "find") && w.size() >= 3 && w.size() <= 5) {
            rc = get(op == "add", w, why);
        } else if ((op == "write" || op == "release" || op == "discard") &&
                   (w.size() == 1 || w.size() == 3)) {
            rc = end(op, w, why);
        } else if (op == "mark" && w.size() == 2) {
            rc = b_vcacheSetMark(&cache_, ctx(w[1]));
        } else if (op == "rename" && w.size() == 3) {
            rc = b_vcacheUpdateMarkCtx(&cache_, ctx(w[1]), ctx(w[2]));
        } else if (op == "releasemark" && w.size() == 2) {
            rc = b_vcacheReleaseMark(&cache_, ctx(w[1]));
        } else if (op == "rollback" && w.size() <= 2) {
            rc = b_vcacheRollback(&cache_, w.size() == 2 ? ctx(w[1]) : nullptr);
        } else if (op == "commit" && w.size() <= 2 &&
                   (w.size() == 1 || w[1] == "fwd" || w[1] == "back")) {
            rc = doCommit(w.size() == 2 && w[1] == "back");
        } else if (op == "clear" && w.size() == 2) {
            if (ZbVcSub *s = find(w[1], why)) b_vcacheClearSubcache(&s->sc);
        } else {
            *why = "unknown line (zelbase vcache --help lists the lines)";
        }
        if (!why->empty()) return false;
        if (rc != sOKAY) std::fprintf(out_, "  -> %s\n", zb_vc_code(rc));
        dropLostHolds();
        pending_ = true;
        if (each_) flush();
        return true;
    }
    // The cache as it stands, if a line ran since it was last shown.
    void flush() {
        if (pending_) show();
        pending_ = false;
    }

  private:
    static ZEL_RETCODE cstr(void *obj, const void *src, const void *) {
        if (src == nullptr) {
            std::memset(obj, 0, kZbVcText);
        } else {
            std::memcpy(obj, src, kZbVcText);
        }
        return sOKAY;
    }
    static ZEL_RETCODE full(uint32_t num_modified, const void *ctx) {
        std::fprintf(static_cast<const ZbVcache *>(ctx)->out_,
                     "  fullfcn: held and modified past 80%% (%" PRIu32 " modified)\n",
                     num_modified);
        return sOKAY;
    }
    static ZEL_RETCODE commit(const void *userdata, uint64_t id, void *obj, const void *ctx) {
        const auto *self = static_cast<const ZbVcache *>(ctx);
        const ZbVcSub *s = self->ofDrawer(userdata);
        std::fprintf(self->out_, "  commit %s:%" PRIu64 " '%s' (drawer %s, add_list %d)\n",
                     s->name.c_str(), id, static_cast<const char *>(obj),
                     kZbVcTypes[s->drawer.drawerType], s->drawer.add_list);
        return sOKAY;
    }

    const ZbVcSub *ofDrawer(const void *userdata) const {
        for (const auto &s : subs_)
            if (&s->drawer == userdata) return s.get();
        return nullptr;
    }
    ZbVcSub *find(const std::string &name, std::string *why) {
        for (auto &s : subs_)
            if (s->name == name) return s.get();
        *why = "no subcache " + name;
        return nullptr;
    }
    // Savepoint names are compared by address: one string each.
    const void *ctx(const std::string &name) {
        for (const std::string &n : names_)
            if (n == name) return &n;
        names_.push_back(name);
        return &names_.back();
    }
    std::string markName(const B_VCACHE_MARK_T *m) const {
        if (m == nullptr) return "clean";
        if (m == &cache_.default_mark) return "default";
        return *static_cast<const std::string *>(m->markCtx);
    }

    ZEL_RETCODE addSub(const std::string &name, const std::string &type, std::string *why) {
        int t = -1;
        for (int i = 0; i < 6; ++i)
            if (type == kZbVcTypes[i]) t = i;
        if (t < 0) {
            *why = "unknown drawer type " + type;
            return sOKAY;
        }
        std::string ignored;
        if (find(name, &ignored) != nullptr) {
            *why = "subcache " + name + " exists";
            return sOKAY;
        }
        auto s = std::make_unique<ZbVcSub>();
        s->drawer = {static_cast<ZEL_DRAWER_TYPE>(t), ZEL_FALSE};
        s->name = name;
        const ZEL_RETCODE rc = b_vcacheAddSubcache(&cache_, &s->drawer, &s->sc);
        if (rc == sOKAY) subs_.push_back(std::move(s));
        return rc;
    }

    ZEL_RETCODE get(bool add, const std::vector<std::string> &w, std::string *why) {
        ZbVcSub *s = find(w[1], why);
        if (s == nullptr) return sOKAY;
        char *end = nullptr;
        const uint64_t id = std::strtoull(w[2].c_str(), &end, 10);
        const bool mode = w.size() >= 4;
        if (w[2][0] < '0' || w[2][0] > '9' || *end != '\0' ||
            (mode && w[3] != "r" && w[3] != "w") || (w.size() == 5 && w[3] != "w") ||
            (w.size() == 5 && w[4].size() >= kZbVcText)) {
            *why = "expected NAME ID [r|w] [TEXT of at most 23 bytes]";
            return sOKAY;
        }
        const ZEL_BOOL_T forWrite = mode && w[3] == "w" ? ZEL_TRUE : ZEL_FALSE;
        char *obj = nullptr;
        B_VCACHE_ITEM_HANDLE h = nullptr;
        const ZEL_RETCODE rc =
            add ? b_vcacheAdd(&s->sc, id, forWrite, &obj, &h)
                : b_vcacheFindVersion(&s->sc, id, forWrite, 0, nullptr, &obj, &h);
        if (rc != sOKAY) return rc;
        if (forWrite) {
            const std::string text = w.size() == 5 ? w[4] : "v" + std::to_string(++fresh_);
            std::snprintf(obj, kZbVcText, "%s", text.c_str());
        }
        holds_.push_back({h, s, id});
        return sOKAY;
    }

    ZEL_RETCODE end(const std::string &op, const std::vector<std::string> &w, std::string *why) {
        auto it = holds_.end();
        for (auto i = holds_.begin(); i != holds_.end(); ++i) {
            if (w.size() == 1 || (i->sub->name == w[1] && std::to_string(i->id) == w[2])) it = i;
        }
        if (it == holds_.end()) {
            *why = w.size() == 1 ? "nothing is held" : "no hold on " + w[1] + ":" + w[2];
            return sOKAY;
        }
        const B_VCACHE_ITEM_HANDLE h = it->h;
        holds_.erase(it);
        if (op == "write") return b_vcacheWrite(h);
        if (op == "release") {
            b_vcacheRelease(h);
        } else {
            b_vcacheDiscard(h);
        }
        return sOKAY;
    }

    ZEL_RETCODE doCommit(bool back) {
        for (auto &s : subs_) s->drawer.add_list = ZEL_FALSE;
        const ZEL_RETCODE rc = b_vcacheCommit(back ? B_VCACHE_BACKWARD : B_VCACHE_FORWARD, &cache_);
        std::string flags;
        for (auto &s : subs_) flags += " " + s->name + "=" + std::to_string(s->drawer.add_list);
        std::fprintf(out_, "  add_list:%s\n", flags.c_str());
        return rc;
    }

    static void inOrder(const B_BTREE_NODE *n, std::vector<const B_VCACHE_ENTRY_T *> *out) {
        for (uint32_t i = 0; i <= n->used; ++i) {
            if (n->slots[i].child != nullptr) inOrder(n->slots[i].child, out);
            if (i < n->used)
                out->push_back(static_cast<const B_VCACHE_ENTRY_T *>(n->slots[i].data));
        }
    }
    std::string label(const B_VCACHE_ENTRY_T *e) const {
        for (const auto &s : subs_)
            if (&s->sc == e->subcache) return s->name + ":" + std::to_string(e->id);
        return "?:" + std::to_string(e->id);
    }

    // Holds whose entry a rollback or a clear threw away.
    void dropLostHolds() {
        for (auto i = holds_.begin(); i != holds_.end();) {
            std::vector<const B_VCACHE_ENTRY_T *> all;
            inOrder(&i->sub->sc.btree.root, &all);
            bool alive = false;
            for (const B_VCACHE_ENTRY_T *e : all) alive |= e == i->h && e->id == i->id;
            if (alive && i->h->hold_count > 0) {
                ++i;
                continue;
            }
            std::fprintf(out_, "  (the hold on %s:%" PRIu64 " went with its entry)\n",
                         i->sub->name.c_str(), i->id);
            i = holds_.erase(i);
        }
    }

    void show() const {
        for (const auto &s : subs_) {
            std::vector<const B_VCACHE_ENTRY_T *> all;
            inOrder(&s->sc.btree.root, &all);
            for (const B_VCACHE_ENTRY_T *e : all) {
                std::string chain;
                for (const B_VCACHE_VERSION_T *v = e->curr_version; v != nullptr; v = v->older) {
                    chain += (chain.empty() ? "" : " ") + markName(v->mark) + ":" +
                             static_cast<const char *>(v->obj);
                }
                std::fprintf(out_, "  %-8s hold %d  modified %d  [%s]\n", label(e).c_str(),
                             e->hold_count, e->modified, chain.c_str());
            }
        }
        std::string marks;
        for (const B_VCACHE_MARK_T *m = cache_.curr_mark; m != nullptr; m = m->older)
            marks += (marks.empty() ? "" : " > ") + markName(m);
        std::vector<const B_VCACHE_ENTRY_T *> mod;
        inOrder(&cache_.btModified.root, &mod);
        std::string order, age;
        for (const B_VCACHE_ENTRY_T *e : mod) order += " " + label(e);
        for (const B_VCACHE_ENTRY_T *e = cache_.newest; e != nullptr; e = e->older)
            age += " " + label(e);
        std::fprintf(out_,
                     "  marks (top first): %s\n  commit order:%s\n  age list (newest first):%s\n"
                     "  entries %" PRIu32 ", held %" PRIu32 ", modified %" PRIu32 "\n",
                     marks.c_str(), order.empty() ? " -" : order.c_str(),
                     age.empty() ? " -" : age.c_str(), cache_.num_entries, cache_.num_held,
                     cache_.num_modified);
    }

    FILE *out_;
    bool each_, pending_ = false;
    B_VCACHE_T cache_{};
    ZEL_RETCODE rc_;
    std::vector<std::unique_ptr<ZbVcSub>> subs_;
    std::deque<std::string> names_;  // stable addresses
    std::vector<ZbVcHold> holds_;
    unsigned fresh_ = 0;
};

}  // namespace

int zb_vcache_run(FILE *out, const char *script, uint32_t max_entries, bool each) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    ZbVcache vc(out, tags.sub, max_entries, each);
    if (vc.initCode() != sOKAY) return zb_exitCode(vc.initCode(), "zelbase vcache");
    std::istringstream in(script);
    int n = 0;
    for (std::string text; std::getline(in, text);) {
        ++n;
        std::string why;
        if (!vc.line(text, &why)) return zb_usageError("line %d: %s", n, why.c_str());
    }
    vc.flush();
    return 0;
}

int zb_cmd_vcache(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"m", "max", "i:N", "The cache's max_entries (default 8)"},
        {"S", nullptr, "?:SCRIPT", "The script; without it, or with -, standard input"},
        {nullptr, nullptr, nullptr, nullptr}};
    // A lone "-" names standard input; the processor would take it for an option.
    if (argc >= 2 && std::strcmp(argv[argc - 1], "-") == 0) --argc;
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv, kZbVcHelp, opts); code != kZbGoOn) return code;
    uint64_t max = kZbVcMaxDefault;
    const char *path = nullptr, *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "S") == 0) {
            path = arg;
            continue;
        }
        char *end = nullptr;
        max = std::strtoull(arg, &end, 10);
        if (arg[0] < '0' || arg[0] > '9' || *end != '\0' || max > UINT32_MAX)
            return zb_usageError("Out of range for --max: %s", arg);
    }
    std::string script;
    if (!zb_readFile(path, &script)) {
        std::fprintf(stderr, "zelbase vcache: cannot read %s\n",
                     path != nullptr ? path : "standard input");
        return 1;
    }
    return zb_vcache_run(stdout, script.c_str(), static_cast<uint32_t>(max), true);
}
