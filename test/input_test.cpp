// Character sources: the memory source at its end, and the file source
// driven by random reads, rewind points and rewinds against the bytes of the
// file, from a start on a block boundary and from one inside a block.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "file.h"
#include "file_fixture.h"
#include "input.h"

namespace {

B_CHAR next(B_INPUT_T *in) {
    B_CHAR ch = 0xFFFF;
    EXPECT_EQ(in->readFcn(in, &ch), sOKAY);
    return ch;
}

TEST(InputMemory, GivesTheBytesThenZeroForever) {
    B_INPUT_T in;
    b_inputInitFromMemory(&in, "ab\xFF", 3, nullptr);
    B_REWIND_POINT start, mid;
    in.createRewindPointFcn(&in, &start);
    EXPECT_EQ(next(&in), 'a');
    in.createRewindPointFcn(&in, &mid);
    EXPECT_EQ(next(&in), 'b');
    EXPECT_EQ(next(&in), 0xFFu);
    for (int i = 0; i < 3; i++) EXPECT_EQ(next(&in), 0u);
    EXPECT_EQ(in.rewindFcn(&in, &mid), sOKAY);
    EXPECT_EQ(next(&in), 'b');
    EXPECT_EQ(in.rewindFcn(&in, nullptr), sOKAY);
    EXPECT_EQ(next(&in), 'a');
    EXPECT_EQ(b_inputRewindMemory(&in, &start), sOKAY);
    EXPECT_EQ(next(&in), 'a');
    b_inputClose(&in);
    b_inputInitFromMemory(&in, nullptr, 5, nullptr);
    EXPECT_EQ(next(&in), 0u);
}

class InputFile : public ::testing::TestWithParam<size_t> {
  protected:
    void SetUp() override {
        std::mt19937 rng(11);
        for (int i = 0; i < 3000; i++) bytes.push_back(char(rng()));
        fixture_writeFile(path, bytes);
        ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_READ), sOKAY);
        std::string skip(GetParam(), '\0');
        ASSERT_EQ(b_fileReadExact(&f, skip.data(), skip.size()), sOKAY);  // say, a mark
        b_inputInitFromFile(&in, &f, nullptr);
    }
    void TearDown() override { b_fileClose(&f); }
    ScratchDir dir;
    std::string path = dir.path("in");
    Bytes bytes;
    B_FILE_T f;
    B_INPUT_T in;
};

TEST_P(InputFile, RewindsWithinTheBlockOrToABoundary) {
    const size_t start = GetParam();
    EXPECT_EQ(in.u.file.startingPos, start);
    EXPECT_EQ(in.u.file.size, bytes.size());
    // A rewind before the first read is to the start itself.
    EXPECT_EQ(in.rewindFcn(&in, nullptr), sOKAY);
    std::mt19937 rng{static_cast<unsigned>(start)};
    std::vector<size_t> points;
    size_t pos = start;
    size_t held = SIZE_MAX;  // the block in the source's buffer
    for (int step = 0; step < 3000; step++) {
        const unsigned op = rng() % 10;
        if (op < 6) {
            for (unsigned k = rng() % 40; k > 0; k--) {
                const B_CHAR want = pos < bytes.size() ? uint8_t(bytes[pos]) : 0;
                ASSERT_EQ(next(&in), want) << pos;
                if (pos == bytes.size()) continue;
                if (held == SIZE_MAX || pos % B_INPUT_FILE_BLOCK == 0)
                    held = pos / B_INPUT_FILE_BLOCK;
                pos++;
            }
        } else if (op < 8) {
            B_REWIND_POINT p;
            in.createRewindPointFcn(&in, &p);
            EXPECT_EQ(p.file.pos, pos);
            points.push_back(pos);
        } else if (!points.empty()) {
            // Safe targets: the block held, or a boundary, which the next read
            // fills from the file's window (it holds the whole file here).
            const size_t p = points[rng() % points.size()];
            if (p / B_INPUT_FILE_BLOCK != held && p % B_INPUT_FILE_BLOCK != 0) continue;
            B_REWIND_POINT rp;
            rp.file.pos = p;
            ASSERT_EQ(in.rewindFcn(&in, &rp), sOKAY);
            pos = p;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Starts, InputFile, ::testing::Values(0, 3, 1024));

TEST(InputFileErrors, ShortFileAndFailedFile) {
    ScratchDir dir;
    const std::string path = dir.path("short");
    fixture_writeFile(path, "abc");
    B_FILE_T f;
    ASSERT_EQ(b_fileOpen(&f, path.c_str(), B_FILE_FLAGS_READ), sOKAY);
    B_INPUT_T in;
    b_inputInitFromFile(&in, &f, nullptr);
    in.u.file.size = 10;  // the owner promised more than the file has
    B_CHAR ch = 7;
    EXPECT_EQ(b_inputReadFromFile(&in, &ch), eBADREAD);
    EXPECT_EQ(ch, 7u);
    // A failed file: the rewind moves the file and hands its code back,
    // leaving the source's position.
    in.u.file.size = 3;
    in.u.file.filled = 0;
    f.fileCache.rc = eFILEIO;
    B_REWIND_POINT p;
    p.file.pos = 2;
    EXPECT_EQ(b_inputRewindFile(&in, &p), eFILEIO);
    EXPECT_EQ(in.u.file.pos, 0u);
    EXPECT_EQ(f.fileCache.off, 2u);
    EXPECT_EQ(b_inputReadFromFile(&in, &ch), eFILEIO);
    b_fileClose(&f);
}

}  // namespace
