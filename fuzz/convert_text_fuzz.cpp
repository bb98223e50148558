// Text conversions: arbitrary bytes go into every type, as exactly tSrcLen
// bytes without a terminator and again with one. Nothing may crash or read
// past the text; a refused text leaves the destination untouched; a number
// that parses prints and parses again to the same value; the escape rewriter
// never writes more than its input.
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "convert_text.h"
#include "psp.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

constexpr uint8_t kFill = 0x5A;

const B_CNVFCN kFcns[] = {
    cnv_stringToBoolean,   cnv_stringToBinary,      cnv_stringToInt8,  cnv_stringToUInt8,
    cnv_stringToInt16,     cnv_stringToUInt16,      cnv_stringToInt32, cnv_stringToUInt32,
    cnv_stringToInt64,     cnv_stringToUInt64,      cnv_stringToFloat, cnv_stringToDouble,
    cnv_stringToDecimal,   cnv_stringToDate,        cnv_stringToTime,  cnv_stringToTimeTZ,
    cnv_stringToTimestamp, cnv_stringToTimestampTZ, cnv_stringToRowid, cnv_stringToUuid};

ZEL_RETCODE convert(B_CNVFCN fcn, const void *src, size_t len, uint8_t *out, B_TAG_SUB sub,
                    ZEL_DATE_FORMAT fmt = ZEL_YYYYMMDD, char sep = '-') {
    CNVCB cb{};
    cb.pvSrc = src;
    cb.tSrcLen = len;
    cb.pvDst = out;
    cb.tDstLen = 40;
    cb.date_format = fmt;
    cb.date_sep = sep;
    cb.time_format = ZEL_HHMMSSFFFF;
    cb.tag.type = CONV_TAG_TYPE_SUB;
    cb.tag.u.sub = sub;
    return fcn(&cb);
}

// Prints a parsed number and parses the text again: the same bytes come back.
void roundTrip(B_CNVFCN fcn, const uint8_t *out, B_TAG_SUB sub) {
    char text[64];
    size_t size = 0;
    if (fcn == cnv_stringToInt64) {
        int64_t v;
        std::memcpy(&v, out, sizeof v);
        std::snprintf(text, sizeof text, "%" PRId64, v);
        size = 8;
    } else if (fcn == cnv_stringToUInt64) {
        uint64_t v;
        std::memcpy(&v, out, sizeof v);
        std::snprintf(text, sizeof text, "%" PRIu64, v);
        size = 8;
    } else if (fcn == cnv_stringToDouble) {
        double v;
        std::memcpy(&v, out, sizeof v);
        std::snprintf(text, sizeof text, "%.17g", v);
        size = 8;
    } else if (fcn == cnv_stringToFloat) {
        float v;
        std::memcpy(&v, out, sizeof v);
        std::snprintf(text, sizeof text, "%.9g", double(v));
        size = 4;
    } else {
        return;
    }
    uint8_t again[40];
    const ZEL_RETCODE rc = convert(fcn, text, std::strlen(text) + 1, again, sub);
    // A subnormal prints with an exponent below the accepted range.
    if (rc == eRANGE && (fcn == cnv_stringToDouble || fcn == cnv_stringToFloat)) return;
    check(rc == sOKAY);
    check(std::memcmp(out, again, size) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    B_TAG_SUB sub = fuzzTag();
    int64_t before = 0, peak = 0;
    b_tag_subMemUsage(sub, &before, &peak, nullptr);

    std::vector<char> terminated(data, data + size);
    terminated.push_back('\0');
    const uint8_t mode = size > 0 ? data[0] : 0;
    const ZEL_DATE_FORMAT fmt = ZEL_DATE_FORMAT(1 + mode % 3);
    const char sep = "-/."[mode / 3 % 3];

    for (B_CNVFCN fcn : kFcns) {
        for (int pass = 0; pass < 2; ++pass) {
            uint8_t out[40];
            std::memset(out, kFill, sizeof out);
            const void *src = pass == 0 ? static_cast<const void *>(data) : terminated.data();
            const size_t len = pass == 0 ? size : terminated.size();
            const ZEL_RETCODE rc = convert(fcn, src, len, out, sub, fmt, sep);
            if (rc < 0) {
                for (uint8_t b : out) check(b == kFill);
            } else if (rc == sOKAY) {
                roundTrip(fcn, out, sub);
            }
        }
    }

    int32_t sign, mag, scale, expt;
    if (convert_parseNumber(terminated.data(), &sign, &mag, &scale, &expt) == sOKAY) {
        check(sign == 1 || sign == -1);
        check(mag >= 0 && scale >= 0 && expt >= -308 && expt <= 308);
        // Integer text without a fraction: exactly what the platform's
        // integer converter makes of it, the one-pass route for plain digits
        // included.
        if (scale == 0 && mag <= 19 && std::strlen(terminated.data()) == size) {
            int64_t want = 0, got = 0;
            const ZEL_RETCODE wantRc = psp_stratoi64(terminated.data(), &want);
            uint8_t out[40];
            const ZEL_RETCODE gotRc =
                convert(cnv_stringToInt64, terminated.data(), terminated.size(), out, sub);
            check(gotRc == wantRc);
            std::memcpy(&got, out, sizeof got);
            check(wantRc != sOKAY || got == want);
        }
    }

    std::vector<char> esc(terminated.size() + 1, char(kFill));
    size_t len = 0;
    const size_t text = std::strlen(terminated.data());
    const ZEL_RETCODE rc = b_convertEscapesToSQL(terminated.data(), esc.data(), esc.size(), &len);
    if (rc == sOKAY) {
        check(len <= text && esc[len] == '\0' && std::strlen(esc.data()) == len);
        // With one byte less than needed the output is cut, never overrun.
        std::vector<char> small(len, char(kFill));
        if (len > 0) {
            size_t cut = 0;
            check(b_convertEscapesToSQL(terminated.data(), small.data(), small.size(), &cut) ==
                  sTRUNCATE);
            check(cut == len - 1);
        }
    } else {
        check(rc == eESCAPE || rc == eRANGE);
        check(esc[0] == char(kFill));
    }

    int64_t after = 0;
    b_tag_subMemUsage(sub, &after, &peak, nullptr);
    check(after == before);
    return 0;
}
