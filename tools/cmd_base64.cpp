// `zelbase base64 encode|decode`: the library's streaming base64 coder from
// standard input to standard output. Encoding ends the text with a newline;
// decoding skips blanks and line ends and writes nothing unless the whole
// text is valid. Both behave exactly as the library's coder, including its
// handling of inputs that fill whole groups of three bytes.
#include <cstdio>
#include <cstring>
#include <string>

#include "base64.h"
#include "zelbase_cmds.h"

int zb_cmd_base64(int argc, char **argv);

namespace {

ZEL_RETCODE zb_collect(B_OUTPUT_CTX ctx, uint32_t ch) {
    // The encoder closes its text with a 0 character; that is no output.
    if (ch != 0) static_cast<std::string *>(ctx)->push_back(static_cast<char>(ch));
    return sOKAY;
}

ZEL_RETCODE zb_collectByte(B_OUTPUT_CTX ctx, uint32_t ch) {
    static_cast<std::string *>(ctx)->push_back(static_cast<char>(ch));
    return sOKAY;
}

}  // namespace

int zb_cmd_base64(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"A", nullptr, "#:encode|decode",
         "encode: bytes to base64 text, ended by a line feed; decode: the text back to bytes, "
         "blanks and line ends skipped, nothing written unless the whole text is valid"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "The library's streaming base64 coder, from standard input to "
                              "standard output.",
                              opts);
        code != kZbGoOn)
        return code;
    const char *action = nullptr;
    (void)zel_cmdlineNextLongOption(&cmd, &action);  // the one positional
    const bool encode = std::strcmp(action, "encode") == 0;
    if (!encode && std::strcmp(action, "decode") != 0)
        return zb_usageError("Unknown action '%s': encode or decode", action);
    std::string in;
    if (!zb_readFile(nullptr, &in)) {
        std::fprintf(stderr, "zelbase base64: cannot read standard input\n");
        return 1;
    }
    std::string out;
    B_BASE64 b64;
    ZEL_RETCODE rc = sOKAY;
    if (encode) {
        b_base64EncodeStart(&b64, zb_collect, &out);
        for (size_t i = 0; i < in.size() && rc == sOKAY; ++i)
            rc = b_base64EncodeByte(&b64, static_cast<uint8_t>(in[i]));
        if (rc == sOKAY) rc = b_base64EncodeEnd(&b64);
        out.push_back('\n');
    } else {
        b_base64DecodeStart(&b64, zb_collectByte, &out);
        for (size_t i = 0; i < in.size() && rc == sOKAY; ++i) {
            char c = in[i];
            if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
            rc = b_base64DecodeChar(&b64, static_cast<uint8_t>(c));
        }
        if (rc == sOKAY) rc = b_base64DecodeEnd(&b64);
    }
    if (rc != sOKAY) return zb_exitCode(rc, argv[0]);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return 0;
}
