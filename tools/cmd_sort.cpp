// `zelbase sort --field TYPE[:LEN][:desc]... [--max-pages N] [--stats] [FILE]`
// sorts `|`-separated lines (standard input without FILE) with the external
// sort: each --field names the type of the next field, and every field is a
// key, the first the most significant. The lines come out whole, in order.
// --stats tells on standard error the page geometry, the pages read back
// and written, whether the files were made, and the peak memory.
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "sort.h"
#include "zelbase_cmds.h"

int zb_cmd_sort(int argc, char **argv);

namespace {

struct zb_sort_type {
    const char *name;
    SORTCOL_TYPE type;
    uint32_t len;  // 0: takes :LEN, default 16
};

constexpr zb_sort_type kZbSortTypes[] = {
    {"int8", SORT_TYPE_INT8, 1},     {"int16", SORT_TYPE_INT16, 2},
    {"int32", SORT_TYPE_INT32, 4},   {"int64", SORT_TYPE_INT64, 8},
    {"uint8", SORT_TYPE_UINT8, 1},   {"uint16", SORT_TYPE_UINT16, 2},
    {"uint32", SORT_TYPE_UINT32, 4}, {"uint64", SORT_TYPE_UINT64, 8},
    {"rowid", SORT_TYPE_ROWID, 8},   {"float", SORT_TYPE_FLOAT, 4},
    {"double", SORT_TYPE_DOUBLE, 8}, {"char", SORT_TYPE_CHAR, 0},
};

struct zb_sort_field {
    const zb_sort_type *t;
    SORTDESCR d;
};

bool zb_sort_parse_field(const char *text, uint32_t keyno, uint32_t *offset, zb_sort_field *f) {
    std::string s = text, name = s.substr(0, s.find(':'));
    f->t = nullptr;
    for (const zb_sort_type &t : kZbSortTypes)
        if (name == t.name) f->t = &t;
    if (f->t == nullptr) return false;
    uint32_t len = f->t->len == 0 ? 16 : f->t->len;
    bool desc = false;
    for (size_t at = s.find(':'); at != std::string::npos;) {
        const size_t next = s.find(':', at + 1);
        const std::string part = s.substr(at + 1, next == std::string::npos ? next : next - at - 1);
        if (part == "desc") {
            desc = true;
        } else if (f->t->len == 0 && !part.empty() &&
                   part.find_first_not_of("0123456789") == std::string::npos &&
                   std::stoul(part) >= 1 && std::stoul(part) <= 4096) {
            len = uint32_t(std::stoul(part));
        } else {
            return false;
        }
        at = next;
    }
    const uint32_t align = len >= 8 ? 8 : (len >= 4 ? 4 : len);
    if (f->t->len != 0) *offset = (*offset + align - 1) / align * align;
    f->d = SORTDESCR{nullptr, nullptr, keyno, len, *offset, char(desc), f->t->type};
    *offset += len;
    return true;
}

// Packs one text field; false when it is no value of the type.
bool zb_sort_pack(const zb_sort_field &f, const std::string &text, uint8_t *rec) {
    uint8_t *p = rec + f.d.offset;
    if (f.t->type == SORT_TYPE_CHAR) {
        std::strncpy(reinterpret_cast<char *>(p), text.c_str(), f.d.len);
        return true;
    }
    const char *s = text.c_str();
    char *end = nullptr;
    errno = 0;
    if (f.t->type == SORT_TYPE_FLOAT || f.t->type == SORT_TYPE_DOUBLE) {
        const double v = std::strtod(s, &end);
        if (end == s || *end != '\0') return false;
        if (f.t->type == SORT_TYPE_FLOAT) {
            const float x = float(v);
            std::memcpy(p, &x, 4);
        } else {
            std::memcpy(p, &v, 8);
        }
        return true;
    }
    const bool isSigned = f.t->name[0] == 'i';
    if (isSigned) {
        const long long v = std::strtoll(s, &end, 10);
        const int bits = int(f.d.len) * 8;
        if (end == s || *end != '\0' || errno != 0 ||
            (bits < 64 && (v < -(1LL << (bits - 1)) || v >= (1LL << (bits - 1)))))
            return false;
        std::memcpy(p, &v, f.d.len);  // little-endian: the low bytes
    } else {
        const unsigned long long v = std::strtoull(s, &end, 10);
        const int bits = int(f.d.len) * 8;
        if (end == s || *end != '\0' || errno != 0 || s[0] == '-' ||
            (bits < 64 && v >= (1ULL << bits)))
            return false;
        std::memcpy(p, &v, f.d.len);
    }
    return true;
}

}  // namespace

int zb_cmd_sort(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"f", "field", "s:TYPE[:LEN][:desc]",
         "The next field: int8..int64, uint8..uint64, rowid, float, double, char (LEN, "
         "default 16); repeat it, one per field"},
        {"m", "max-pages", "i:N", "Pages each cache keeps before it spills (default 16)"},
        {"s", "stats", nullptr, "Geometry, page traffic, files and peak memory on standard error"},
        {"F", nullptr, "?:FILE", "The input; without it, standard input"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Sorts lines of |-separated fields with the external sort, every "
                              "field a key.",
                              opts);
        code != kZbGoOn)
        return code;
    std::vector<zb_sort_field> fields;
    uint32_t offset = 0;
    long long maxPages = 16;
    bool stats = false;
    const char *path = nullptr, *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "field") == 0) {
            zb_sort_field f;
            if (!zb_sort_parse_field(arg, uint32_t(fields.size() + 1), &offset, &f))
                return zb_usageError("bad field '%s': TYPE[:LEN][:desc]", arg);
            fields.push_back(f);
        } else if (std::strcmp(name, "max-pages") == 0) {
            maxPages = std::strtoll(arg, nullptr, 10);
        } else if (std::strcmp(name, "stats") == 0) {
            stats = true;
        } else if (std::strcmp(name, "F") == 0) {
            path = arg;
        }
    }
    if (fields.empty()) return zb_usageError("give at least one --field");
    if (maxPages < 1 || maxPages > 1000000)
        return zb_usageError("--max-pages must be 1 to 1000000");
    FILE *in = path == nullptr ? stdin : std::fopen(path, "r");
    if (in == nullptr) {
        std::fprintf(stderr, "zelbase sort: cannot read %s\n", path);
        return 1;
    }
    std::vector<std::string> lines;
    for (char buf[65536]; std::fgets(buf, sizeof buf, in) != nullptr;) {
        std::string l = buf;
        if (!l.empty() && l.back() == '\n') l.pop_back();
        lines.push_back(l);
    }
    if (in != stdin) std::fclose(in);

    // The record: the fields, then the line number, which is no key.
    std::vector<SORTDESCR> descr;
    for (const zb_sort_field &f : fields) descr.push_back(f.d);
    const uint32_t lineAt = (offset + 3) / 4 * 4;
    descr.push_back(SORTDESCR{nullptr, nullptr, 0, 4, lineAt, 0, SORT_TYPE_NOVAL});
    const ZbTags tags;
    if (!tags.ok()) return 1;
    uint32_t counter = 0;
    const B_SORTATTR env[1] = {{nullptr, nullptr, &counter}};
    B_SORT_T s;
    const std::string tmp = std::filesystem::temp_directory_path().string();
    ZEL_RETCODE rc = b_sortInit(&s, env, uint32_t(maxPages), tmp.c_str(), tags.sub);
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    rc = b_sortStart(&s, uint32_t(descr.size()), descr.data());
    std::vector<uint8_t> rec(rc == sOKAY ? s.recSize : 0);
    for (uint32_t no = 0; rc == sOKAY && no < lines.size(); ++no) {
        std::fill(rec.begin(), rec.end(), 0);
        size_t at = 0;
        for (size_t k = 0; k < fields.size(); ++k) {
            const size_t bar = lines[no].find('|', at);
            const std::string text = at > lines[no].size() ? "" : lines[no].substr(at, bar - at);
            at = bar == std::string::npos ? lines[no].size() + 1 : bar + 1;
            if (!zb_sort_pack(fields[k], text, rec.data())) {
                b_sortTerm(&s);
                return zb_usageError("line %u, field %zu: '%s' is no %s", no + 1, k + 1,
                                     text.c_str(), fields[k].t->name);
            }
        }
        std::memcpy(&rec[lineAt], &no, 4);
        rc = b_sortStore(&s, rec.data());
    }
    if (rc == sOKAY) rc = b_sortComplete(&s);
    const bool files = s.recFile.fh_open || s.indFile.fh_open;
    std::vector<uint8_t> rows(size_t{s.recSize} * 256);
    uint32_t n = 0;
    while (rc == sOKAY && (rc = b_sortRead(&s, 256, rows.data(), &n)) == sOKAY) {
        for (uint32_t i = 0; i < n; ++i) {
            uint32_t no;
            std::memcpy(&no, &rows[size_t{i} * s.recSize + lineAt], 4);
            std::printf("%s\n", lines[no].c_str());
        }
    }
    if (rc == sNODATA) rc = sOKAY;
    if (stats && rc == sOKAY) {
        int64_t cur = 0, peak = 0;
        b_tag_subMemUsage(tags.sub, &cur, &peak, nullptr);
        std::fflush(stdout);
        std::fprintf(stderr,
                     "records: %zu of %u bytes in slots of %u; record pages %u bytes holding %u, "
                     "index pages %u bytes holding %u\n"
                     "pages read back: %" PRIu64 " record, %" PRIu64 " index; written: %" PRIu64
                     " record, %" PRIu64
                     " index; files made: %s\n"
                     "peak memory of the sort's tag: %" PRId64 " bytes (%lld pages a cache)\n",
                     lines.size(), s.recSize, s.rcache.size, s.recFile.len, s.rcache.perPage,
                     s.indFile.len, s.icache.perPage, s.recFile.loads, s.indFile.loads,
                     s.recFile.writes, s.indFile.writes, files ? "yes" : "no", peak, maxPages);
    }
    b_sortTerm(&s);
    return zb_exitCode(rc, argv[0]);
}
