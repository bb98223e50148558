// File embedder: the hash's vectors, a file unpacked from pieces under a
// name space, verified and deleted, the failures that leave no file (and no
// open descriptor), the option string, and the allocating calls under the
// out-of-memory helper. Files live in a scratch directory named by the path
// module.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "embed.h"
#include "file_fixture.h"
#include "lz.h"
#include "oom.h"
#include "path.h"
#include "psp.h"
#include "tag_fixture.h"

namespace {

namespace fs = std::filesystem;

uint32_t hash_of(const Bytes &b) {
    return b_embed_fileHash(B_EMBED_HASH_INIT, b.data(), b.size());
}

class EmbedTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        uint32_t counter = 0;
        char *name = nullptr;
        ASSERT_EQ(b_fileCreateTmpName(&counter, "embed", "dir", "/tmp", sub, &name), sOKAY);
        dir = std::string(name) + "/";
        b_tag_subFree(sub, name);
        ASSERT_EQ(psp_fileDirCreate(dir.c_str()), sOKAY);
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir, ec);
        b_tag_subFreeCanBeNull(sub, packed);
        TaggedTest::TearDown();
    }
    // `text` compressed and cut into pieces of 4096 bytes.
    void pack(const Bytes &text) {
        b_tag_subFreeCanBeNull(sub, packed);
        ASSERT_EQ(b_lzCompress(text.data(), uint32_t(text.size()), sub, &packed, &size), sOKAY);
        pieces.clear();
        for (uint32_t off = 0; off < size; off += B_EMBED_PIECE)
            pieces.push_back(static_cast<const uint8_t *>(packed) + off);
    }
    ZEL_RETCODE run(B_EMBED_COMMAND command, const char *file, const std::string &ns,
                    uint32_t hash = 0, uint32_t xflags = 0) {
        return b_embed_file(file, pieces.data(), size, hash, command, ns.c_str(), xflags, sub);
    }
    std::string dir;
    void *packed = nullptr;
    uint32_t size = 0;
    std::vector<const uint8_t *> pieces;
};

// Lines ended by CR LF, enough for several pieces.
Bytes sample_text() {
    Bytes t;
    for (int i = 0; t.size() < 150000; ++i)
        t += "line " + std::to_string(i * 7919 % 100003) + "\r\n";
    return t;
}

// From h = 1, 'a' (97) gives (194 XOR 1) * 5^13 mod 2^32; carriage returns
// are passed over.
TEST(EmbedHash, Vectors) {
    EXPECT_EQ(hash_of(""), 1u);
    EXPECT_EQ(hash_of("a"), uint32_t(195u * 1220703125u));
    EXPECT_EQ(hash_of("abc\n"), 0xCE317245u);
    EXPECT_EQ(hash_of("abc\r\n"), 0xCE317245u);
}

TEST_F(EmbedTest, CreateVerifyDelete) {
    const Bytes text = sample_text();
    pack(text);
    ASSERT_GE(pieces.size(), 2u);
    const std::string ns = dir + "ns/";
    ASSERT_EQ(run(EMBED_CREATE, "file.txt", ns), sOKAY);
    EXPECT_TRUE(fixture_readFile(ns + "file.txt") == text);
    Bytes lf = text;
    std::erase(lf, '\r');
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, hash_of(lf)), sOKAY);
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, hash_of(text) + 1), eEMBED_CONTENT_MISMATCH);
    EXPECT_EQ(run(EMBED_DELETE, "file.txt", ns), sOKAY);
    EXPECT_FALSE(fs::exists(dir + "ns"));  // the file and its directory
    EXPECT_EQ(run(EMBED_DELETE, "file.txt", ns), sOKAY);
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, 1), eEMBED_FILE_NOT_FOUND);
    EXPECT_EQ(run(static_cast<B_EMBED_COMMAND>(3), "file.txt", ns), eEMBED_UNKNOWN_COMMAND);
    EXPECT_EQ(b_embed_file(nullptr, nullptr, 0, 0, EMBED_CREATE, nullptr, 0, sub), eINVNULLARG);
    EXPECT_EQ(b_embed_file("x", nullptr, 1, 0, EMBED_CREATE, nullptr, 0, sub), eINVNULLARG);
}

TEST_F(EmbedTest, NameSpaces) {
    pack("x");
    // "\\" at the marker: the directory is made, and the file lands in it
    // under "/". With xflags no directory is made, so the file cannot be
    // opened: no error, nothing left. A null name space: the name alone.
    ASSERT_EQ(run(EMBED_CREATE, "g", dir + "bs\\"), sOKAY);
    EXPECT_EQ(fixture_readFile(dir + "bs/g"), "x");
    ASSERT_EQ(run(EMBED_CREATE, "h", dir + "none/", 0, 1), sOKAY);
    EXPECT_FALSE(fs::exists(dir + "none"));
    ASSERT_EQ(
        b_embed_file((dir + "n").c_str(), pieces.data(), size, 0, EMBED_CREATE, nullptr, 0, sub),
        sOKAY);
    EXPECT_EQ(fixture_readFile(dir + "n"), "x");
    // No separator: a plain prefix, relative to the working directory.
    const fs::path cwd = fs::current_path();
    fs::current_path(dir);
    const ZEL_RETCODE rc = run(EMBED_CREATE, "f", "pre-");
    fs::current_path(cwd);
    ASSERT_EQ(rc, sOKAY);
    EXPECT_EQ(fixture_readFile(dir + "pre-f"), "x");
}

TEST_F(EmbedTest, EmptyAndFailedExtractions) {
    // Size 0: LZBEGIN opened the file, so it exists, empty.
    ASSERT_EQ(b_embed_file("empty", nullptr, 0, 0, EMBED_CREATE, dir.c_str(), 0, sub), sOKAY);
    EXPECT_EQ(fixture_readFile(dir + "empty"), "");
    EXPECT_EQ(b_embed_file("empty", nullptr, 0, 1, EMBED_VERIFY, dir.c_str(), 0, sub), sOKAY);
    // The codes 65 300 259, 65 (39 times), 259 65 300 at 9 bits loop in the
    // table (lz_test.cpp, loop_stream): sOKAY, no file, no descriptor left.
    const uint8_t loop[] = {0x20, 0xcb, 0x20, 0x64, 0x12, 0x09, 0x04, 0x82, 0x41, 0x20, 0x90,
                            0x48, 0x24, 0x12, 0x09, 0x04, 0x82, 0x41, 0x20, 0x90, 0x48, 0x24,
                            0x12, 0x09, 0x04, 0x82, 0x41, 0x20, 0x90, 0x48, 0x24, 0x12, 0x09,
                            0x04, 0x82, 0x41, 0x20, 0x90, 0x48, 0x24, 0x12, 0x09, 0x04, 0x82,
                            0x41, 0x20, 0x90, 0x60, 0x64, 0x19, 0x60};
    const uint8_t *piece = loop;
    const auto fds =
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    EXPECT_EQ(b_embed_file("bad", &piece, sizeof loop, 0, EMBED_CREATE, dir.c_str(), 0, sub),
              sOKAY);
    EXPECT_FALSE(fs::exists(dir + "bad"));
    EXPECT_EQ(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()),
              fds);
}

TEST_F(EmbedTest, Options) {
    EMBED_PARAMS p{nullptr};
    ASSERT_EQ(b_embed_fileGetOpts("other=1;GSV=server1", &p, sub), sOKAY);
    EXPECT_STREQ(p.gsv, "server1");
    b_tag_subFree(sub, p.gsv);
    // Absent or refused: untouched; empty: null.
    char kept[] = "kept";
    const struct {
        const char *text;
        ZEL_RETCODE rc;
        const char *gsv;
    } cases[] = {{"other=1", sOKAY, kept},
                 {nullptr, sOKAY, kept},
                 {"gsv=a,b", eVALUEISLIST, kept},
                 {"gsv=a;=", eINVKEYVALUE, kept},
                 {"gsv=", sOKAY, nullptr}};
    for (const auto &c : cases) {
        p.gsv = kept;
        EXPECT_EQ(b_embed_fileGetOpts(c.text, &p, sub), c.rc) << c.text;
        EXPECT_EQ(p.gsv, c.gsv) << c.text;
    }
    EXPECT_EQ(b_embed_fileGetOpts("gsv=a", nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_embed_fileGetOpts("gsv=a", &p, nullptr), eINVNULLARG);
}

TEST_F(EmbedTest, OutOfMemory) {
    const Bytes text = sample_text();
    pack(text);
    const std::string ns = dir + "oom/";
    // A failed unpacking leaves no file and says sOKAY.
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            const ZEL_RETCODE rc = run(EMBED_CREATE, "f", ns);
                            const bool made = fs::exists(ns + "f");
                            EXPECT_TRUE(!made || fixture_readFile(ns + "f") == text);
                            EXPECT_TRUE(rc == sOKAY || !made);
                            (void)run(EMBED_DELETE, "f", ns);
                            return rc;
                        }),
              1);
    ASSERT_EQ(run(EMBED_CREATE, "f", ns), sOKAY);
    EXPECT_GT(oom_check(master, {sub}, [&] { return run(EMBED_VERIFY, "f", ns, hash_of(text)); }),
              0);
    EXPECT_GT(
        oom_check(master, {sub},
                  [&] {
                      EMBED_PARAMS p{nullptr};
                      const ZEL_RETCODE rc = b_embed_fileGetOpts("gsv=server1", &p, sub);
                      EXPECT_TRUE(rc == sOKAY ? std::string(p.gsv) == "server1" : p.gsv == nullptr);
                      b_tag_subFreeCanBeNull(sub, p.gsv);
                      return rc;
                  }),
        0);
}

}  // namespace
