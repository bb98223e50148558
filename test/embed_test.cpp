// File embedder: the hash's vectors, a file unpacked from pieces under a
// name space, verified and deleted, the failures that leave no file (and no
// open descriptor), the option string, and the allocating calls under the
// out-of-memory helper. Files live in a scratch directory named by the path
// module.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "embed.h"
#include "lz.h"
#include "oom.h"
#include "path.h"
#include "psp.h"
#include "tag_fixture.h"

namespace {

using Bytes = std::string;

Bytes read_file(const std::string &path) {
    std::ifstream f(path, std::ios::binary);
    std::ostringstream s;
    s << f.rdbuf();
    return s.str();
}

bool exists(const std::string &path) {
    return std::filesystem::exists(path);
}

size_t open_descriptors() {
    return static_cast<size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                             std::filesystem::directory_iterator()));
}

class EmbedTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        uint32_t counter = 0;
        char *name = nullptr;
        ASSERT_EQ(b_fileCreateTmpName(&counter, "embed", "dir", "/tmp", sub, &name), sOKAY);
        dir = name;
        b_tag_subFree(sub, name);
        ASSERT_EQ(psp_fileDirCreate(dir.c_str()), sOKAY);
        dir += "/";
    }
    void TearDown() override {
        std::error_code ec;
        std::filesystem::remove_all(dir, ec);
        b_tag_subFreeCanBeNull(sub, packed);
        TaggedTest::TearDown();
    }
    // `text` compressed and cut into pieces of 4096 bytes.
    void pack(const Bytes &text) {
        b_tag_subFreeCanBeNull(sub, packed);
        packed = nullptr;
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

Bytes sample_text() {
    Bytes t;
    for (int i = 0; t.size() < 150000; ++i)
        t += "line " + std::to_string(i * 7919 % 100003) + " of the file\r\n";
    return t;
}

uint32_t hash_of(const Bytes &b) {
    return b_embed_fileHash(B_EMBED_HASH_INIT, b.data(), b.size());
}

// Worked by hand from h = 1: 'a' (97): (194 ^ 1) * 5^13 = 195 * 1220703125
// mod 2^32, and so on; the carriage return is passed over.
TEST(EmbedHash, Vectors) {
    EXPECT_EQ(hash_of(""), 1u);
    EXPECT_EQ(hash_of("abc\n"), 0xCE317245u);
    EXPECT_EQ(hash_of("abc\r\n"), 0xCE317245u);
    EXPECT_EQ(hash_of("a"), uint32_t(195u * 1220703125u));
}

TEST_F(EmbedTest, CreateVerifyDelete) {
    const Bytes text = sample_text();
    pack(text);
    ASSERT_GT(pieces.size(), 2u);
    const std::string ns = dir + "ns/";
    ASSERT_EQ(run(EMBED_CREATE, "file.txt", ns), sOKAY);
    EXPECT_TRUE(read_file(ns + "file.txt") == text);
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, hash_of(text)), sOKAY);
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, hash_of(text) + 1), eEMBED_CONTENT_MISMATCH);
    // The same lines with bare line feeds hash the same.
    Bytes lf = text;
    for (size_t at; (at = lf.find('\r')) != Bytes::npos;) lf.erase(at, 1);
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, hash_of(lf)), sOKAY);
    EXPECT_EQ(run(EMBED_DELETE, "file.txt", ns), sOKAY);
    EXPECT_FALSE(exists(ns + "file.txt"));
    EXPECT_FALSE(exists(dir + "ns"));
    EXPECT_EQ(run(EMBED_DELETE, "file.txt", ns), sOKAY);
    EXPECT_EQ(run(EMBED_VERIFY, "file.txt", ns, 1), eEMBED_FILE_NOT_FOUND);
    EXPECT_EQ(run(static_cast<B_EMBED_COMMAND>(3), "file.txt", ns), eEMBED_UNKNOWN_COMMAND);
}

TEST_F(EmbedTest, NameSpaces) {
    pack("x");
    // No separator: a plain prefix of the name, no directory (relative to
    // the working directory, which is the scratch directory for a moment).
    const std::filesystem::path cwd = std::filesystem::current_path();
    std::filesystem::current_path(dir);
    const ZEL_RETCODE rc = b_embed_file("f", pieces.data(), size, 0, EMBED_CREATE, "pre-", 0, sub);
    std::filesystem::current_path(cwd);
    ASSERT_EQ(rc, sOKAY);
    EXPECT_EQ(read_file(dir + "pre-f"), "x");
    // A backslash at the marker: the directory is made, and the file lands
    // in it under "/".
    ASSERT_EQ(run(EMBED_CREATE, "g", dir + "bs\\"), sOKAY);
    EXPECT_EQ(read_file(dir + "bs/g"), "x");
    // With xflags no directory is made: the file cannot be opened, which is
    // no error and leaves nothing.
    ASSERT_EQ(run(EMBED_CREATE, "h", dir + "none/", 0, 1), sOKAY);
    EXPECT_FALSE(exists(dir + "none"));
    // Null name space: the name alone.
    ASSERT_EQ(
        b_embed_file((dir + "n").c_str(), pieces.data(), size, 0, EMBED_CREATE, nullptr, 0, sub),
        sOKAY);
    EXPECT_EQ(read_file(dir + "n"), "x");
}

TEST_F(EmbedTest, EmptyAndFailedExtractions) {
    // Size 0: the file is opened by LZBEGIN, so it exists, empty.
    ASSERT_EQ(b_embed_file("empty", nullptr, 0, 0, EMBED_CREATE, dir.c_str(), 0, sub), sOKAY);
    EXPECT_TRUE(exists(dir + "empty"));
    EXPECT_EQ(read_file(dir + "empty"), "");
    EXPECT_EQ(b_embed_file("empty", nullptr, 0, 1, EMBED_VERIFY, dir.c_str(), 0, sub), sOKAY);
    // A damaged stream (a loop in its table): sOKAY, no file, no descriptor
    // left open.
    // The codes 65 300 259, 65 (39 times), 259 65 300 at 9 bits: see
    // lz_test.cpp, DamagedStreams.
    const uint8_t loop[] = {0x20, 0xcb, 0x20, 0x64, 0x12, 0x09, 0x04, 0x82, 0x41, 0x20, 0x90,
                            0x48, 0x24, 0x12, 0x09, 0x04, 0x82, 0x41, 0x20, 0x90, 0x48, 0x24,
                            0x12, 0x09, 0x04, 0x82, 0x41, 0x20, 0x90, 0x48, 0x24, 0x12, 0x09,
                            0x04, 0x82, 0x41, 0x20, 0x90, 0x48, 0x24, 0x12, 0x09, 0x04, 0x82,
                            0x41, 0x20, 0x90, 0x60, 0x64, 0x19, 0x60};
    const uint8_t *piece = loop;
    void *back = nullptr;
    uint32_t back_len = 0;
    ASSERT_EQ(b_lzDecompress(loop, sizeof loop, sub, &back, &back_len), eDBCORRUPTED);
    const size_t fds = open_descriptors();
    EXPECT_EQ(b_embed_file("bad", &piece, sizeof loop, 0, EMBED_CREATE, dir.c_str(), 0, sub),
              sOKAY);
    EXPECT_FALSE(exists(dir + "bad"));
    EXPECT_EQ(open_descriptors(), fds);
    EXPECT_EQ(b_embed_file(nullptr, nullptr, 0, 0, EMBED_CREATE, nullptr, 0, sub), eINVNULLARG);
    EXPECT_EQ(b_embed_file("x", nullptr, 1, 0, EMBED_CREATE, nullptr, 0, sub), eINVNULLARG);
}

TEST_F(EmbedTest, Options) {
    EMBED_PARAMS p{nullptr};
    ASSERT_EQ(b_embed_fileGetOpts("other=1;GSV=server1", &p, sub), sOKAY);
    ASSERT_NE(p.gsv, nullptr);
    EXPECT_STREQ(p.gsv, "server1");
    b_tag_subFree(sub, p.gsv);
    p.gsv = const_cast<char *>("kept");
    EXPECT_EQ(b_embed_fileGetOpts("other=1", &p, sub), sOKAY);
    EXPECT_STREQ(p.gsv, "kept");
    EXPECT_EQ(b_embed_fileGetOpts(nullptr, &p, sub), sOKAY);
    EXPECT_EQ(b_embed_fileGetOpts("gsv=", &p, sub), sOKAY);
    EXPECT_EQ(p.gsv, nullptr);
    p.gsv = const_cast<char *>("kept");
    EXPECT_EQ(b_embed_fileGetOpts("gsv=a,b", &p, sub), eVALUEISLIST);
    EXPECT_EQ(b_embed_fileGetOpts("gsv=a;=", &p, sub), eINVKEYVALUE);
    EXPECT_STREQ(p.gsv, "kept");
    EXPECT_EQ(b_embed_fileGetOpts("gsv=a", nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_embed_fileGetOpts("gsv=a", &p, nullptr), eINVNULLARG);
}

TEST_F(EmbedTest, OutOfMemory) {
    const Bytes text = sample_text();
    pack(text);
    const std::string ns = dir + "oom/";
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            const ZEL_RETCODE rc = run(EMBED_CREATE, "f", ns);
                            // A failed unpacking leaves no file and says sOKAY.
                            if (rc == sOKAY && exists(ns + "f")) {
                                EXPECT_TRUE(read_file(ns + "f") == text);
                            }
                            (void)run(EMBED_DELETE, "f", ns);
                            return rc;
                        }),
              1);
    ASSERT_EQ(run(EMBED_CREATE, "f", ns), sOKAY);
    EXPECT_GT(oom_check(master, {sub}, [&] { return run(EMBED_VERIFY, "f", ns, hash_of(text)); }),
              0);
    EXPECT_GT(oom_check(master, {sub},
                        [&] {
                            EMBED_PARAMS p{nullptr};
                            const ZEL_RETCODE rc = b_embed_fileGetOpts("gsv=server1", &p, sub);
                            if (rc == sOKAY) {
                                EXPECT_STREQ(p.gsv, "server1");
                                b_tag_subFree(sub, p.gsv);
                            } else {
                                EXPECT_EQ(p.gsv, nullptr);
                            }
                            return rc;
                        }),
              0);
}

}  // namespace
