// coder_bytes.h - byte sinks and sources for the varint, encoder and decoder
// tests: a sink that collects bytes and can refuse the n-th, and a source
// over a fixed byte string that answers eEOD at its end and records how far
// it was read, so that a test sees that nothing past the input was asked for.
#ifndef CODER_BYTES_H
#define CODER_BYTES_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "coder_types.h"

using Bytes = std::vector<uint8_t>;

struct TestSink {
    Bytes bytes;
    size_t failAt = SIZE_MAX;  // index of the byte to refuse
    size_t calls = 0;
    size_t bulkCalls = 0;

    static ZEL_RETCODE put(B_OUTPUT_CTX ctx, uint32_t byte) {
        auto *s = static_cast<TestSink *>(ctx);
        if (s->calls++ == s->failAt) return eBADWRITE;
        s->bytes.push_back(static_cast<uint8_t>(byte));
        return sOKAY;
    }
    static ZEL_RETCODE putBulk(B_OUTPUT_CTX ctx, const void *data, size_t size) {
        auto *s = static_cast<TestSink *>(ctx);
        s->bulkCalls++;
        const auto *p = static_cast<const uint8_t *>(data);
        s->bytes.insert(s->bytes.end(), p, p + size);
        return sOKAY;
    }
    B_ENCODER_T encoder(bool bulk = false) {
        return B_ENCODER_T{put, bulk ? putBulk : nullptr, this, nullptr};
    }
};

struct TestSource {
    Bytes bytes;
    size_t pos = 0;
    ZEL_RETCODE endCode = eEOD;  // what the source says at its end

    explicit TestSource(Bytes b) : bytes(std::move(b)) {}
    static ZEL_RETCODE get(B_INPUT_CTX ctx, uint32_t *byte) {
        auto *s = static_cast<TestSource *>(ctx);
        if (s->pos >= s->bytes.size()) return s->endCode;
        *byte = s->bytes[s->pos++];
        return sOKAY;
    }
    B_DECODER_T decoder() { return B_DECODER_T{get, nullptr, this, nullptr}; }
};

inline std::string coder_hex(const Bytes &b) {
    std::string s;
    char two[3];
    for (uint8_t c : b) {
        std::snprintf(two, sizeof two, "%02x", c);
        s += two;
    }
    return s;
}

inline Bytes coder_unhex(const std::string &s) {
    Bytes b;
    for (size_t i = 0; i + 1 < s.size(); i += 2)
        b.push_back(static_cast<uint8_t>(std::stoul(s.substr(i, 2), nullptr, 16)));
    return b;
}

#endif
