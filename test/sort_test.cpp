// External sort tests: key order against GNU sort's order of a text image
// of the keys (test/data/gen_sort.py), in memory and spilling; the page
// geometry; every refused descriptor; the compare choice; files made only
// when pages spill and removed at the end; memory that does not grow with
// the number of records; allocation and file failures.
#include "sort.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "oom.h"
#include "tag_fixture.h"

namespace fs = std::filesystem;

namespace {

// A fresh directory for the temporary files of one test.
struct TmpDir {
    std::string path;
    TmpDir() {
        std::string t = (fs::temp_directory_path() / "zelsort_test_XXXXXX").string();
        path = mkdtemp(t.data()) != nullptr ? t : std::string();
    }
    ~TmpDir() { fs::remove_all(path); }
    size_t files() const {
        size_t n = 0;
        for ([[maybe_unused]] const auto &e : fs::directory_iterator(path)) ++n;
        return n;
    }
};

struct Vector {
    std::vector<SORTDESCR> fields;
    uint32_t recsize = 0, payload = 0;  // payload: offset of the record's number
    std::vector<uint8_t> records;
    std::vector<std::string> images;
    std::vector<uint32_t> order;
    size_t count() const { return records.size() / recsize; }
};

Vector loadVector(const std::string &name) {
    Vector v;
    const std::string base = std::string(ZELBASE_TEST_DATA) + "/good-sort-" + name;
    std::ifstream txt(base + ".txt"), bin(base + ".bin", std::ios::binary),
        ord(base + "-order.txt");
    std::string line, word;
    std::getline(txt, line);  // comment
    uint32_t nfields = 0, nrec = 0;
    txt >> word >> nfields >> word >> v.recsize >> word >> nrec;
    for (uint32_t i = 0; i < nfields; ++i) {
        uint32_t type, off, len, keyno, desc;
        txt >> type >> off >> len >> keyno >> desc;
        v.fields.push_back({nullptr, nullptr, keyno, len, off, static_cast<char>(desc),
                            static_cast<SORTCOL_TYPE>(type)});
        if (type == SORT_TYPE_NOVAL && keyno == 0) v.payload = off;
    }
    for (uint32_t i = 0; i < nrec; ++i) {
        uint32_t no;
        txt >> no >> word;
        v.images.push_back(word);
    }
    v.records.assign(std::istreambuf_iterator<char>(bin), {});
    for (uint32_t no; ord >> no;) v.order.push_back(no);
    EXPECT_EQ(v.records.size(), size_t{v.recsize} * nrec);
    EXPECT_EQ(v.order.size(), nrec);
    return v;
}

uint32_t payloadOf(const uint8_t *rec, uint32_t off) {
    uint32_t no;
    std::memcpy(&no, rec + off, 4);
    return no;
}

class SortTest : public TaggedTest {
  protected:
    TmpDir dir;
    uint32_t counter = 0;
    B_SORTATTR env[3] = {{nullptr, nullptr, &counter}};

    // Init, start, store all, complete, read all in chunks, term.
    ZEL_RETCODE run(const std::vector<SORTDESCR> &fields, const std::vector<uint8_t> &recs,
                    uint32_t recsize, uint32_t maxentries, std::vector<uint8_t> *out,
                    size_t *filesWhileSorted = nullptr) {
        B_SORT_T s;
        ZEL_RETCODE rc = b_sortInit(&s, env, maxentries, dir.path.c_str(), sub);
        if (rc != sOKAY) return rc;
        std::vector<uint8_t> got;
        if ((rc = b_sortStart(&s, uint32_t(fields.size()), fields.data())) == sOKAY) {
            EXPECT_EQ(s.recSize, recsize);
            for (size_t i = 0; rc == sOKAY && i < recs.size(); i += recsize)
                rc = b_sortStore(&s, &recs[i]);
        }
        if (rc == sOKAY) rc = b_sortComplete(&s);
        if (rc == sOKAY && filesWhileSorted != nullptr) *filesWhileSorted = dir.files();
        std::vector<uint8_t> buf(size_t{97} * recsize);
        while (rc == sOKAY) {
            uint32_t n = 12345;
            rc = b_sortRead(&s, 97, buf.data(), &n);
            if (rc == sOKAY) got.insert(got.end(), buf.begin(), buf.begin() + n * recsize);
            if (rc == sNODATA) {
                EXPECT_EQ(n, 0u);
            } else if (rc < 0) {
                EXPECT_EQ(n, 12345u) << "a failed read leaves the count alone";
            }
        }
        if (rc < 0) {
            EXPECT_EQ(s.state, SORT_ERROR);
        }
        b_sortTerm(&s);
        EXPECT_EQ(dir.files(), 0u) << "term removes the files";
        if (rc != sNODATA) return rc;
        *out = std::move(got);
        return sOKAY;
    }
};

TEST_F(SortTest, KeyOrderIsGnuSortsOrderOfTheImages) {
    for (const char *name : {"wide", "three"}) {
        const Vector v = loadVector(name);
        for (uint32_t maxentries : {1000u, 2u}) {
            std::vector<uint8_t> out;
            size_t files = 0;
            ASSERT_EQ(run(v.fields, v.records, v.recsize, maxentries, &out, &files), sOKAY);
            ASSERT_EQ(out.size(), v.records.size());
            EXPECT_EQ(files > 0, maxentries == 2) << "files only when pages spill";
            std::vector<bool> seen(v.count());
            for (size_t k = 0; k < v.count(); ++k) {
                const uint32_t no = payloadOf(&out[k * v.recsize], v.payload);
                ASSERT_LT(no, v.count());
                ASSERT_FALSE(seen[no]) << "each record once";
                seen[no] = true;
                ASSERT_EQ(
                    std::memcmp(&out[k * v.recsize], &v.records[no * size_t{v.recsize}], v.recsize),
                    0);
                ASSERT_EQ(v.images[no], v.images[v.order[k]])
                    << name << " maxentries " << maxentries << " position " << k;
            }
        }
    }
}

TEST_F(SortTest, PageGeometry) {
    B_SORT_T s;
    ASSERT_EQ(b_sortInit(&s, env, 4, nullptr, sub), sOKAY);
    // 4093 rounds to 4096; 4096 - 4 holds no slot of 4096, so the page is 8192.
    SORTDESCR big{nullptr, nullptr, 1, 4093, 0, 0, SORT_TYPE_BYTES};
    ASSERT_EQ(b_sortStart(&s, 1, &big), sOKAY);
    EXPECT_EQ(s.recSize, 4093u);
    EXPECT_EQ(s.rcache.size, 4096u);
    EXPECT_EQ(s.recFile.len, 8192u);
    EXPECT_EQ(s.rcache.perPage, 1u);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    // 8-byte records: (4096 - 4) / 8 = 511 a page. Index slots are 16 bytes,
    // the record number and the key prefix: 255 a page.
    SORTDESCR small{nullptr, nullptr, 1, 8, 0, 0, SORT_TYPE_UINT64};
    ASSERT_EQ(b_sortStart(&s, 1, &small), sOKAY);
    EXPECT_EQ(s.rcache.size, 8u);
    EXPECT_EQ(s.recFile.len, 4096u);
    EXPECT_EQ(s.rcache.perPage, 511u);
    EXPECT_EQ(s.icache.size, 16u);
    EXPECT_EQ(s.icache.perPage, 255u);
    EXPECT_EQ(s.indFile.len, 4096u);
    b_sortTerm(&s);
}

ZEL_COMPARE anyCmp(const void *, uint32_t, const void *, uint32_t) {
    return ZEL_EQ;
}

TEST_F(SortTest, RefusedDescriptors) {
    struct Case {
        const char *why;
        std::vector<SORTDESCR> f;
    };
    const auto F = [](uint32_t keyno, uint32_t len, uint32_t off, SORTCOL_TYPE t,
                      CMPFUNCTION c = nullptr) {
        return SORTDESCR{c, nullptr, keyno, len, off, 0, t};
    };
    const Case cases[] = {
        {"keyno above nofields", {F(2, 4, 0, SORT_TYPE_INT32)}},
        {"wide characters", {F(1, 4, 0, SORT_TYPE_WCHAR)}},
        {"no such type", {F(0, 4, 0, static_cast<SORTCOL_TYPE>(12345))}},
        {"repeated keyno", {F(1, 4, 0, SORT_TYPE_INT32), F(1, 4, 4, SORT_TYPE_INT32)}},
        {"second inside first", {F(1, 8, 0, SORT_TYPE_INT64), F(2, 4, 4, SORT_TYPE_INT32)}},
        {"first inside second", {F(1, 4, 4, SORT_TYPE_INT32), F(2, 8, 0, SORT_TYPE_INT64)}},
        {"keys not from 1", {F(2, 4, 0, SORT_TYPE_INT32), F(0, 4, 4, SORT_TYPE_INT32)}},
        {"no bytes", {F(1, 0, 0, SORT_TYPE_NOVAL, anyCmp)}},
        {"no fields", {}},
        {"size wraps", {F(1, 0x20, 0xFFFFFFF0u, SORT_TYPE_BYTES)}},
        {"pages wrap", {F(1, 0xFFFFF000u, 0, SORT_TYPE_BYTES)}},
        {"NOVAL key without compare", {F(1, 4, 0, SORT_TYPE_NOVAL)}},
    };
    B_SORT_T s;
    ASSERT_EQ(b_sortInit(&s, env, 4, nullptr, sub), sOKAY);
    for (const Case &c : cases) {
        EXPECT_EQ(b_sortStart(&s, uint32_t(c.f.size()), c.f.data()), eINVFCNARG) << c.why;
        EXPECT_EQ(s.state, SORT_ERROR) << c.why;
    }
    // Accepted: a NOVAL key with a compare, a field of no bytes at a taken offset.
    const std::vector<SORTDESCR> ok = {F(1, 4, 0, SORT_TYPE_NOVAL, anyCmp),
                                       F(0, 0, 4, SORT_TYPE_INT32)};
    ASSERT_EQ(b_sortStart(&s, 2, ok.data()), sOKAY);
    EXPECT_EQ(b_sortStart(&s, 2, ok.data()), eINVFCNSEQ) << "started already";
    EXPECT_EQ(b_sortStore(&s, nullptr), eINVNULLARG);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    const uint32_t rec = 0;
    EXPECT_EQ(b_sortStore(&s, &rec), eINVFCNSEQ) << "completed";
    EXPECT_EQ(b_sortComplete(&s), eINVFCNSEQ);
    b_sortTerm(&s);

    B_SORTATTR noCounter[1] = {{nullptr, nullptr, nullptr}};
    EXPECT_EQ(b_sortInit(&s, noCounter, 4, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_sortInit(&s, nullptr, 4, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_sortInit(nullptr, env, 4, nullptr, sub), eINVNULLARG);
}

struct Rec {
    int8_t small;
    char text[7];
    uint32_t no;
};

ZEL_COMPARE reversed(const void *a, const void *b, uint32_t) {
    const int8_t x = *static_cast<const int8_t *>(a), y = *static_cast<const int8_t *>(b);
    return x > y ? ZEL_LT : (x < y ? ZEL_GT : ZEL_EQ);
}
ZEL_COMPARE byLength(const void *a, const void *b, uint32_t len) {
    const size_t x = strnlen(static_cast<const char *>(a), len);
    const size_t y = strnlen(static_cast<const char *>(b), len);
    return x < y ? ZEL_LT : (x > y ? ZEL_GT : ZEL_EQ);
}
ZEL_COMPARE countingCmp(const void *a, const void *b, void *ctxt) {
    ++*static_cast<int *>(ctxt);
    return static_cast<ZEL_COMPARE>(std::memcmp(a, b, 0));
}

TEST_F(SortTest, EnvironmentCompares) {
    // Row 2 of the type table is INT8: an INT8 key goes through the wide
    // compare when the environment gives one (kept), CHAR through "char compare".
    B_SORTATTR withCompares[3] = {{"char compare", byLength, nullptr},
                                  {"wide compare", reversed, nullptr},
                                  {nullptr, nullptr, &counter}};
    std::vector<uint8_t> recs;
    std::mt19937 rng(9);
    for (uint32_t i = 0; i < 500; ++i) {
        Rec r{};
        r.small = static_cast<int8_t>(rng() % 7 - 3);
        const size_t n = rng() % 7;
        for (size_t k = 0; k < n; ++k) r.text[k] = char('z' - rng() % 3);
        r.no = i;
        const auto *p = reinterpret_cast<const uint8_t *>(&r);
        recs.insert(recs.end(), p, p + sizeof r);
    }
    const std::vector<SORTDESCR> f = {{nullptr, nullptr, 1, 1, 0, 0, SORT_TYPE_INT8},
                                      {nullptr, nullptr, 2, 7, 1, 0, SORT_TYPE_CHAR},
                                      {nullptr, nullptr, 0, 4, 8, 0, SORT_TYPE_UINT32}};
    std::memcpy(env, withCompares, sizeof env);
    std::vector<uint8_t> out;
    ASSERT_EQ(run(f, recs, sizeof(Rec), 3, &out), sOKAY);
    for (size_t k = 1; k < out.size() / sizeof(Rec); ++k) {
        Rec a, b;
        std::memcpy(&a, &out[(k - 1) * sizeof(Rec)], sizeof a);
        std::memcpy(&b, &out[k * sizeof(Rec)], sizeof b);
        ASSERT_GE(a.small, b.small) << "INT8 descending through the wide compare";
        if (a.small == b.small) {
            ASSERT_LE(strnlen(a.text, 7), strnlen(b.text, 7));
        }
    }
}

TEST_F(SortTest, AllEqualIsOnePassAndContextCompares) {
    int calls = 0;
    SORTDESCR f{reinterpret_cast<CMPFUNCTION>(reinterpret_cast<void (*)()>(countingCmp)),
                &calls,
                1,
                4,
                0,
                0,
                SORT_TYPE_NOVAL};
    B_SORT_T s;
    ASSERT_EQ(b_sortInit(&s, env, 8, nullptr, sub), sOKAY);
    ASSERT_EQ(b_sortStart(&s, 1, &f), sOKAY);
    for (uint32_t i = 0; i < 1000; ++i) ASSERT_EQ(b_sortStore(&s, &i), sOKAY);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    EXPECT_EQ(calls, 999) << "every record but the pivot, once";
    EXPECT_EQ(s.list_next, 0u);
    b_sortTerm(&s);
}

TEST_F(SortTest, ZeroAndOneRecordsAndARestart) {
    B_SORT_T s;
    ASSERT_EQ(b_sortInit(&s, env, 8, nullptr, sub), sOKAY);
    SORTDESCR f{nullptr, nullptr, 1, 4, 0, 1, SORT_TYPE_INT32};
    uint32_t n = 9;
    int32_t rows[4];
    ASSERT_EQ(b_sortStart(&s, 1, &f), sOKAY);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    EXPECT_EQ(b_sortRead(&s, 4, rows, &n), sNODATA);
    EXPECT_EQ(n, 0u);
    ASSERT_EQ(b_sortStart(&s, 1, &f), sOKAY);
    const int32_t one = 42;
    ASSERT_EQ(b_sortStore(&s, &one), sOKAY);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    EXPECT_EQ(b_sortRead(&s, 0, rows, &n), sNODATA);
    ASSERT_EQ(b_sortRead(&s, 4, rows, &n), sOKAY);
    EXPECT_EQ(n, 1u);
    EXPECT_EQ(rows[0], 42);
    // A restart with a bigger record: the old pages are gone.
    SORTDESCR two[2] = {{nullptr, nullptr, 1, 4, 0, 0, SORT_TYPE_INT32},
                        {nullptr, nullptr, 2, 4, 4, 1, SORT_TYPE_INT32}};
    ASSERT_EQ(b_sortStart(&s, 2, two), sOKAY);
    const int32_t recs[4][2] = {{2, 1}, {1, 1}, {2, 5}, {1, 7}};
    for (const auto &r : recs) ASSERT_EQ(b_sortStore(&s, r), sOKAY);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    int32_t got[4][2];
    ASSERT_EQ(b_sortRead(&s, 4, got, &n), sOKAY);
    const int32_t want[4][2] = {{1, 7}, {1, 1}, {2, 5}, {2, 1}};  // ascending, then descending
    EXPECT_EQ(std::memcmp(got, want, sizeof want), 0);
    b_sortTerm(&s);
}

TEST_F(SortTest, WriteAndShortReadFailuresAreReported) {
    std::vector<uint8_t> recs(32 * 2000);
    for (size_t i = 0; i < recs.size(); ++i) recs[i] = uint8_t(i * 7919 >> 3);
    const std::vector<SORTDESCR> f = {{nullptr, nullptr, 1, 32, 0, 0, SORT_TYPE_UUID}};
    // A directory that is not there: the first page that spills cannot be written.
    B_SORT_T s;
    ASSERT_EQ(b_sortInit(&s, env, 2, (dir.path + "/absent").c_str(), sub), sOKAY);
    ASSERT_EQ(b_sortStart(&s, 1, f.data()), sOKAY);
    ZEL_RETCODE rc = sOKAY;
    for (size_t i = 0; rc == sOKAY && i < recs.size(); i += 32) rc = b_sortStore(&s, &recs[i]);
    EXPECT_EQ(rc, eFILENOENTRY);
    EXPECT_EQ(s.state, SORT_ERROR);
    b_sortTerm(&s);
    // A record file cut short behind the sort's back: a short read.
    ASSERT_EQ(b_sortInit(&s, env, 2, dir.path.c_str(), sub), sOKAY);
    ASSERT_EQ(b_sortStart(&s, 1, f.data()), sOKAY);
    for (size_t i = 0; i < recs.size(); i += 32) ASSERT_EQ(b_sortStore(&s, &recs[i]), sOKAY);
    ASSERT_EQ(b_sortComplete(&s), sOKAY);
    // After the sort no record page is modified, so none is written again.
    ASSERT_TRUE(s.recFile.fh_open);
    fs::resize_file(s.recFile.name, 100);
    std::vector<uint8_t> rows(32 * 2000);
    uint32_t n = 777;
    EXPECT_EQ(b_sortRead(&s, 2000, rows.data(), &n), eFILEIO);
    EXPECT_EQ(n, 777u);
    EXPECT_EQ(s.state, SORT_ERROR);
    b_sortTerm(&s);
    EXPECT_EQ(dir.files(), 0u);
}

// 32-byte records with three keys, maxentries 16: the sub tag's peak is the
// caches' pages and does not grow with the number of records.
TEST_F(SortTest, PeakDoesNotGrowWithTheRecords) {
    const std::vector<SORTDESCR> f = {{nullptr, nullptr, 2, 4, 0, 1, SORT_TYPE_INT32},
                                      {nullptr, nullptr, 1, 8, 4, 0, SORT_TYPE_CHAR},
                                      {nullptr, nullptr, 3, 8, 12, 0, SORT_TYPE_UINT64},
                                      {nullptr, nullptr, 0, 12, 20, 0, SORT_TYPE_BYTES}};
    int64_t peaks[2];
    const uint32_t sizes[2] = {1u << 16, 1u << 20};
    for (int run = 0; run < 2; ++run) {
        B_TAG_SUB own = nullptr;
        ASSERT_EQ(b_tag_subCreate(master, &own), sOKAY);
        const int64_t base = fixture_subBytes(own);
        B_SORT_T s;
        ASSERT_EQ(b_sortInit(&s, env, 16, dir.path.c_str(), own), sOKAY);
        ASSERT_EQ(b_sortStart(&s, 4, f.data()), sOKAY);
        // Keys falling with the record number, with local disorder: the
        // partitions walk the record file nearly in order, which keeps the
        // disk traffic of a 16-page cache reasonable for a unit test.
        std::mt19937 rng(1);
        uint8_t rec[32] = {};
        for (uint32_t i = 0; i < sizes[run]; ++i) {
            const int32_t k = int32_t(rng() % 3);
            std::memcpy(rec, &k, 4);
            char text[16];
            std::snprintf(text, sizeof text, "%07u",
                          static_cast<unsigned>((sizes[run] - i + rng() % 64) / 64));
            std::memcpy(rec + 4, text, 8);
            const uint64_t u = rng();
            std::memcpy(rec + 12, &u, 8);
            std::memcpy(rec + 20, &i, 4);
            ASSERT_EQ(b_sortStore(&s, rec), sOKAY);
        }
        ASSERT_EQ(b_sortComplete(&s), sOKAY);
        std::vector<uint8_t> out(32 * 4096);
        uint32_t n = 0, total = 0;  // the order is the oracle test's
        while (b_sortRead(&s, 4096, out.data(), &n) == sOKAY) total += n;
        EXPECT_EQ(total, sizes[run]);
        b_sortTerm(&s);
        int64_t cur = 0;
        b_tag_subMemUsage(own, &cur, &peaks[run], nullptr);
        EXPECT_EQ(cur, base);
        b_tag_subDestroy(own);
    }
    EXPECT_LE(peaks[1], peaks[0] + 1024) << peaks[0] << " for 64k records";
}

TEST_F(SortTest, EveryAllocationFailing) {
    const Vector v = loadVector("three");
    const std::vector<uint8_t> recs(v.records.begin(), v.records.begin() + 400 * v.recsize);
    const int runs = oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
        std::vector<uint8_t> out;
        const ZEL_RETCODE rc = run(v.fields, recs, v.recsize, 2, &out);
        if (rc == sOKAY) {
            EXPECT_EQ(out.size(), recs.size());
        }
        return rc;
    });
    EXPECT_GT(runs, 20);
}

}  // namespace
