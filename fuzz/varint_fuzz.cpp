// Variable integers and the stream decoder on arbitrary bytes. The input is
// read as varints one after another: each decoded value encodes again to
// exactly the bytes it came from (unless a 9-byte payload wrapped past
// 2^64, which then re-encodes shorter), and every failure is eEOD at the end
// or eINVVARINT on a first byte of 0xFB and up, with the target untouched and
// nothing read past the input. Then the same bytes go through the decoder's
// string and array readers, which must stay inside their targets and give
// every allocation back.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "fuzz_tags.h"
#include "decoder.h"
#include "tag_master_psp.h"
#include "tag_sub.h"
#include "vint.h"

namespace {

struct Source {
    const uint8_t *data;
    size_t size;
    size_t pos;
    static ZEL_RETCODE get(B_INPUT_CTX ctx, uint32_t *byte) {
        auto *s = static_cast<Source *>(ctx);
        check(s->pos <= s->size);
        if (s->pos == s->size) return eEOD;
        *byte = s->data[s->pos++];
        return sOKAY;
    }
};

ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t byte) {
    static_cast<std::vector<uint8_t> *>(ctx)->push_back(static_cast<uint8_t>(byte));
    return sOKAY;
}

void varints(const uint8_t *data, size_t size) {
    Source src{data, size, 0};
    for (;;) {
        const size_t start = src.pos;
        uintmax_t v = 0x5A5A5A5A;
        const ZEL_RETCODE rc = b_vintDecodeUIntmax(Source::get, &src, &v);
        if (rc != sOKAY) {
            check(v == 0x5A5A5A5A);
            if (rc == eEOD) {
                check(src.pos == size);
            } else {
                check(rc == eINVVARINT && src.pos == start + 1 && data[start] >= 0xFB);
                check(b_vintGetDecodeInfo(data[start]) == nullptr);
            }
            return;
        }
        const size_t n = src.pos - start;
        check(b_vintGetDecodeInfo(data[start])->size == n);
        std::vector<uint8_t> again;
        check(b_vintEncodeUIntmax(v, put, &again) == sOKAY);
        check(again.size() == b_vintGetEncodeInfo(v)->size);
        uint64_t payload = 0;
        for (size_t i = 1; i < n; ++i) payload = payload << 8 | data[start + i];
        const bool wrapped = n == 9 && payload > 0xFEFEF7F7F7DFBF7Full;
        if (wrapped) {
            check(again.size() < 9);
        } else {
            check(again.size() == n && std::memcmp(again.data(), data + start, n) == 0);
        }
    }
}

void readers(const uint8_t *data, size_t size, B_TAG_SUB sub) {
    if (size == 0) return;
    const size_t arraySize = data[0] & 15;
    Source src{data + 1, size - 1, 0};
    B_DECODER_T d;
    b_decoderInit(&d, Source::get, nullptr, &src, sub);
    while (src.pos < src.size) {
        const size_t before = src.pos;
        ZEL_RETCODE rc = sOKAY;
        // The guard past each array's end must survive whatever is stored.
        switch (src.data[src.pos] % 6) {
            case 0: {
                // A damaged length may ask the tag for any size; keep the
                // harness under the fuzzer's malloc limit.
                Source peek = src;
                uintmax_t want = 0;
                if (b_vintDecodeUIntmax(Source::get, &peek, &want) == sOKAY && want > (1u << 20))
                    return;
                char *s = nullptr;
                size_t len = 0;
                rc = b_decoderDecodeString(&d, &s, &len, sub);
                if (rc == sOKAY) {
                    check(s[len - 1] == '\0');
                    b_tag_subFree(sub, s);
                }
                break;
            }
            case 1: {
                char text[17];
                text[16] = 'G';
                size_t len = 16;
                rc = b_decoderDecodeStringToBuff(&d, text, &len);
                check(text[16] == 'G');
                break;
            }
            case 2: {
                int32_t v[17];
                v[arraySize] = 0x5EED;
                rc = b_decoderDecodeInt32ArrayBuffer(&d, arraySize, v);
                check(v[arraySize] == 0x5EED);
                break;
            }
            case 3: {
                double *v = nullptr;
                rc = b_decoderDecodeDoubleArray(&d, arraySize, &v, sub);
                if (rc == sOKAY) b_tag_subFree(sub, v);
                break;
            }
            case 4: {
                int8_t v = 0;
                rc = b_decoderDecodeInt8(&d, &v);
                break;
            }
            default: {
                uint16_t v = 0;
                rc = b_decoderDecodeUint16(&d, &v);
                break;
            }
        }
        check(src.pos <= src.size);
        if (rc != sOKAY || src.pos == before) return;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    B_TAG_SUB sub = fuzzTag();
    varints(data, size);
    int64_t start = 0, peak = 0, end = 0;
    b_tag_subMemUsage(sub, &start, &peak, nullptr);
    readers(data, size, sub);
    b_tag_subMemUsage(sub, &end, &peak, nullptr);
    check(end == start);
    return 0;
}
