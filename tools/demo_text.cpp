// The text section of `zelbase demo`: a new UUID and its parse, a base64
// round trip through a growing buffer, and UTF-8 counts of a multilingual
// string.
#include <cstdio>
#include <cstring>

#include "base64.h"
#include "buffer.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "utf8.h"
#include "uuid.h"
#include "zelbase_cmds.h"

int zb_demo_text(FILE *out);

namespace {

int zb_demoUuid(FILE *out) {
    ZEL_UUID_T u, back;
    char plain[ZEL_UUID_TEXT_LEN + 1], braced[ZEL_UUID_TEXT_LEN_BRACES + 1];
    if (zel_uuidCreate(&u) != sOKAY || zel_uuidToString(&u, plain, sizeof plain, ZEL_FALSE) ||
        zel_uuidToString(&u, braced, sizeof braced, ZEL_TRUE))
        return 1;
    std::fprintf(out, "new UUID (version 4):   %s\n", plain);
    std::fprintf(out, "with braces:            %s\n", braced);
    if (zel_uuidFromString(braced, &back) != sOKAY || std::memcmp(&u, &back, 16) != 0) return 1;
    std::fprintf(out, "parsed back:            the same 16 bytes\n");
    return 0;
}

ZEL_RETCODE zb_demoByte(B_OUTPUT_CTX ctx, uint32_t ch) {
    return b_bufferEmitByte(ctx, ch);
}

int zb_demoBase64(FILE *out, B_TAG_SUB sub) {
    const char message[] = "zelbase!";  // 8 bytes: not whole groups of three
    B_BUFFER_T text, bytes;
    b_bufferInit(&text, sub);
    b_bufferInit(&bytes, sub);
    int fail = 1;
    if (b_base64EncodeToBuffer(message, std::strlen(message), &text) == sOKAY) {
        std::fprintf(out, "base64 of \"%s\":   %s\n", message, text.data.str);
        B_BASE64 b64;
        b_base64DecodeStart(&b64, zb_demoByte, &bytes);
        ZEL_RETCODE rc = sOKAY;
        for (size_t i = 0; text.data.str[i] != '\0' && rc == sOKAY; ++i)
            rc = b_base64DecodeChar(&b64, static_cast<uint8_t>(text.data.str[i]));
        if (rc == sOKAY && b_base64DecodeEnd(&b64) == sOKAY) {
            std::fprintf(out, "decoded back:           \"%.*s\"\n", static_cast<int>(bytes.len),
                         bytes.data.str);
            fail = bytes.len == std::strlen(message) &&
                           std::memcmp(bytes.data.str, message, bytes.len) == 0
                       ? 0
                       : 1;
        }
    }
    b_bufferTerm(&text);
    b_bufferTerm(&bytes);
    return fail;
}

int zb_demoUtf8(FILE *out) {
    const char text[] = "Grüße · Ελληνικά · 日本語 · 😀";
    const size_t bytes = std::strlen(text);
    const size_t chars = b_countUTF8chars(text, bytes, PSP_UTF8_ERROR_BREAK);
    std::fprintf(out, "UTF-8 text:             %s\n", text);
    std::fprintf(out, "bytes / characters:     %zu / %zu\n", bytes, chars);
    std::fprintf(out, "first 5 characters:     %zu bytes\n",
                 b_countUTF8bytes(text, bytes, 5, PSP_UTF8_ERROR_BREAK));
    const char bad[] = "ok\xC0\x80!";
    std::fprintf(out,
                 "overlong zero in \"ok..!\": %zu characters when breaking, %zu when "
                 "continuing\n",
                 b_countUTF8chars(bad, 5, PSP_UTF8_ERROR_BREAK),
                 b_countUTF8chars(bad, 5, PSP_UTF8_ERROR_CONTINUE));
    return chars == 26 ? 0 : 1;
}

}  // namespace

int zb_demo_text(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    B_TAG_SUB sub = tags.sub;
    int failures = zb_demoUuid(out) + zb_demoBase64(out, sub) + zb_demoUtf8(out);
    return failures;
}
