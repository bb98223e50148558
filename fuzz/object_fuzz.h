// object_fuzz.h - what the fuzz targets of the bucket, chunk, item-zero and
// R-tree node formats share: a decoder over the input as it stands (so that
// a read past its end is a read past the fuzzer's buffer) and a writer into
// a growing buffer of the run's sub tag.
#ifndef OBJECT_FUZZ_H
#define OBJECT_FUZZ_H

#include <cstdint>
#include <vector>

#include "buffer.h"
#include "decoder.h"
#include "encoder.h"
#include "fuzz_tags.h"

struct FuzzSource {
    B_BUFFER_T in{};
    B_DECODER_T dec{};
    FuzzSource(const uint8_t *data, size_t size, B_TAG_SUB sub) {
        b_bufferInitStatic(&in, const_cast<uint8_t *>(data), size, size);
        b_decoderInit(&dec, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    }
};

// What `pack` writes of `obj` in *out; false when it fails.
template <class Obj>
bool fuzzPack(ZEL_RETCODE (*pack)(const Obj *, const B_ENCODER_T *), const Obj &obj, B_TAG_SUB sub,
              std::vector<uint8_t> *out) {
    B_BUFFER_T buf;
    b_bufferInit(&buf, sub);
    B_ENCODER_T enc;
    b_encoderInit(&enc, b_bufferEmitByte, b_bufferEmitBytesBulk, &buf, sub);
    const ZEL_RETCODE rc = pack(&obj, &enc);
    out->assign(buf.data.bin, buf.data.bin + buf.len);
    b_bufferTerm(&buf);
    return rc == sOKAY;
}

#endif
