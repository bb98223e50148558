// Base64: the streaming coder against Python's base64 module, with the two
// ways in which this coder departs from the standard one spelled out:
//  - encoding n bytes, n a non-zero multiple of 3, gives the standard text
//    without its last character (the final 6 bits are dropped, no "=");
//  - decoding a text that ends on a full group without "=" keeps back its
//    last byte (it would come out with the next character).
// All other texts, the padded ones included, match the standard coder.
#include <gtest/gtest.h>

#include <string>

#include "base64.h"
#include "oom.h"
#include "tag_fixture.h"
#include "vectors.h"

namespace {

using Base64Buffer = TaggedTest;

struct Out {
    std::string s;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t ch) {
        static_cast<Out *>(ctx)->s.push_back(static_cast<char>(ch));
        return sOKAY;
    }
};

// The text, with the 0 terminator the encoder emits last taken off.
std::string encode(const std::string &in) {
    Out out;
    B_BASE64 b64;
    b_base64EncodeStart(&b64, &Out::put, &out);
    for (char c : in) EXPECT_EQ(b_base64EncodeByte(&b64, static_cast<uint8_t>(c)), sOKAY);
    EXPECT_EQ(b_base64EncodeEnd(&b64), sOKAY);
    EXPECT_FALSE(out.s.empty());
    EXPECT_EQ(out.s.back(), '\0');
    out.s.pop_back();
    return out.s;
}

// The first failure (of a character or of the end) and the bytes given out.
std::pair<ZEL_RETCODE, std::string> decode(const std::string &text) {
    Out out;
    B_BASE64 b64;
    b_base64DecodeStart(&b64, &Out::put, &out);
    for (char c : text) {
        ZEL_RETCODE rc = b_base64DecodeChar(&b64, static_cast<uint8_t>(c));
        if (rc != sOKAY) return {rc, out.s};
    }
    return {b_base64DecodeEnd(&b64), out.s};
}

std::string unescape(const std::string &t) {
    std::string r;
    for (size_t i = 0; i < t.size(); ++i) {
        if (t[i] != '\\') {
            r += t[i];
        } else if (t[i + 1] == 'n') {
            r += '\n', ++i;
        } else if (t[i + 1] == 't') {
            r += '\t', ++i;
        } else if (t[i + 1] == 'x') {
            r += static_cast<char>(std::stoi(t.substr(i + 2, 2), nullptr, 16)), i += 3;
        } else {
            r += t[++i];
        }
    }
    return r;
}

TEST(Base64Oracle, GoodVectors) {
    const auto rows = vectors_read("good-base64.txt");
    for (const VectorRow &row : rows) {
        const std::string &hex = row[0], bytes = vectors_unhex(hex);
        const std::string standard = row[1] == "-" ? "" : row[1];
        const bool fullGroups = !bytes.empty() && bytes.size() % 3 == 0;
        const std::string ours = fullGroups ? standard.substr(0, standard.size() - 1) : standard;
        EXPECT_EQ(encode(bytes), ours) << hex;

        auto [rc, back] = decode(standard);
        EXPECT_EQ(rc, sOKAY) << standard;
        EXPECT_EQ(back, fullGroups ? bytes.substr(0, bytes.size() - 1) : bytes) << standard;

        // Our own text round-trips unless it was cut short.
        auto [rc2, back2] = decode(ours);
        if (fullGroups) {
            EXPECT_EQ(rc2, eRANGE) << hex;
        } else {
            EXPECT_EQ(rc2, sOKAY) << hex;
            EXPECT_EQ(back2, bytes) << hex;
        }
    }
    EXPECT_EQ(rows.size(), 50u);
}

TEST(Base64Oracle, BadVectors) {
    const auto rows = vectors_read("bad-base64.txt", '\n');
    for (const VectorRow &row : rows) EXPECT_EQ(decode(unescape(row[0])).first, eRANGE) << row[0];
    EXPECT_EQ(rows.size(), 60u);
}

TEST(Base64, HandWorked) {
    // "Ma": 010011 010110 0001(00) -> T W E, one "="; "Man" drops its last group.
    EXPECT_EQ(encode("Ma"), "TWE=");
    EXPECT_EQ(encode("Man"), "TWF");
    EXPECT_EQ(decode("TWFu").second, "Ma");  // "n" waits for a next character
    EXPECT_EQ(decode("TWFuTWFu").second, "ManMa");
    B_BASE64 b64;
    Out out;
    b_base64DecodeStart(&b64, &Out::put, &out);
    EXPECT_EQ(b_base64DecodeChar(&b64, 0x141), eRANGE);  // above a byte
}

TEST(Base64Decode, FromAnInputFunction) {
    struct In {
        std::string s;
        size_t at = 0;
        ZEL_RETCODE end = eEOD;
        static ZEL_RETCODE get(B_INPUT_CTX ctx, uint32_t *ch) {
            auto *in = static_cast<In *>(ctx);
            if (in->at == in->s.size()) return in->end;
            *ch = static_cast<uint8_t>(in->s[in->at++]);
            return sOKAY;
        }
    };
    In good{"SGVsbG8="};
    Out out;
    EXPECT_EQ(b_base64DecodeFcn(&In::get, &good, &Out::put, &out), sOKAY);
    EXPECT_EQ(out.s, "Hello");
    In shortText{"SGVsbG8"};
    EXPECT_EQ(b_base64DecodeFcn(&In::get, &shortText, &Out::put, &out), eRANGE);
    In failing{"SGVs", 0, eFILEIO};
    EXPECT_EQ(b_base64DecodeFcn(&In::get, &failing, &Out::put, &out), eFILEIO);
}

TEST_F(Base64Buffer, EncodeToBufferKeepsTheTerminator) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    ASSERT_EQ(b_base64EncodeToBuffer("Hello", 5, &b), sOKAY);
    EXPECT_EQ(std::string(b.data.str, b.len), std::string("SGVsbG8=\0", 9));
    b_bufferTerm(&b);
    EXPECT_EQ(b_base64EncodeToBuffer("x", 1, nullptr), eINVNULLARG);
    // A static buffer that is too small reports what the buffer said.
    char mem[4];
    b_bufferInitStatic(&b, mem, sizeof mem, 0);
    EXPECT_EQ(b_base64EncodeToBuffer("Hello", 5, &b), eTRUNCATED);
    // A failed growth is the tag's code; what was emitted before it stays.
    const std::string big(300, 'x');
    EXPECT_GE(oom_check(master, {sub},
                        [&] {
                            b_bufferInit(&b, sub);
                            const ZEL_RETCODE rc =
                                b_base64EncodeToBuffer(big.data(), big.size(), &b);
                            EXPECT_EQ(b.len, rc == sOKAY ? 400u : b.len);
                            b_bufferTerm(&b);
                            return rc;
                        }),
              20);
}

}  // namespace
