// Base64: any text decodes without harm; any bytes encode, and the text
// decodes back to them, except after whole groups of three bytes, where the
// coder deliberately drops the last character and the decoder then refuses
// the short text. The run forms into a buffer give what the single steps
// give.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_tags.h"
#include "base64.h"
#include "buffer.h"

namespace {

struct Out {
    std::string s;
    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t ch) {
        static_cast<Out *>(ctx)->s.push_back(static_cast<char>(ch));
        return sOKAY;
    }
};

ZEL_RETCODE decode(const std::string &text, std::string *bytes) {
    Out out;
    B_BASE64 b64;
    b_base64DecodeStart(&b64, &Out::put, &out);
    for (char c : text) {
        ZEL_RETCODE rc = b_base64DecodeChar(&b64, static_cast<uint8_t>(c));
        if (rc != sOKAY) return rc;
    }
    ZEL_RETCODE rc = b_base64DecodeEnd(&b64);
    *bytes = out.s;
    return rc;
}

// The run form into a growing buffer: the code of the single steps (first
// failure, then the end), and the same bytes.
void decodeRun(const std::string &text) {
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    B_BUFFER_T buf;
    b_bufferInit(&buf, sub);
    B_BASE64 b64;
    b_base64DecodeStart(&b64, b_bufferEmitByte, &buf);
    ZEL_RETCODE rc = b_base64DecodeChars(&b64, text.data(), text.size());
    if (rc == sOKAY) rc = b_base64DecodeEnd(&b64);
    std::string bytes;
    const ZEL_RETCODE want = decode(text, &bytes);
    check(rc == want);
    if (rc == sOKAY)
        check(buf.len == bytes.size() &&
              (buf.len == 0 || std::memcmp(buf.data.bin, bytes.data(), buf.len) == 0));
    b_bufferTerm(&buf);
    check(fuzzUsed(sub) == before);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string input(reinterpret_cast<const char *>(data), size);
    std::string ignored;
    ZEL_RETCODE rc = decode(input, &ignored);
    check(rc == sOKAY || rc == eRANGE);
    decodeRun(input);

    Out text;
    B_BASE64 b64;
    b_base64EncodeStart(&b64, &Out::put, &text);
    for (size_t i = 0; i < size; ++i) check(b_base64EncodeByte(&b64, data[i]) == sOKAY);
    check(b_base64EncodeEnd(&b64) == sOKAY);
    check(!text.s.empty() && text.s.back() == '\0');
    text.s.pop_back();

    B_BUFFER_T buf;
    b_bufferInit(&buf, fuzzTag());
    check(b_base64EncodeToBuffer(data, size, &buf) == sOKAY);
    check(buf.len == text.s.size() + 1 && std::memcmp(buf.data.bin, text.s.data(), buf.len) == 0);
    b_bufferTerm(&buf);
    decodeRun(text.s);

    std::string back;
    rc = decode(text.s, &back);
    if (size != 0 && size % 3 == 0) {
        check(rc == eRANGE && text.s.size() == size / 3 * 4 - 1);
    } else {
        check(rc == sOKAY && back == input && text.s.size() == (size + 2) / 3 * 4);
    }
    return 0;
}
