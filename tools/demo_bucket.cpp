// The bucket, chunk, item-zero and R-tree node section of `zelbase demo`:
// one of each as stored, annotated. A bucket of the site.by_code hash key
// of the sample catalogue (whose writer leaves out the nullable elements
// that hold a value, on purpose), a chunk in both forms, a fresh item zero,
// and an R-tree node of site.by_area whose box loses its fractions in the
// compact form only.
#include <cstdio>
#include <vector>

#include "bucket.h"
#include "buffer.h"
#include "chunk.h"
#include "decoder.h"
#include "encoder.h"
#include "iz.h"
#include "rtree_node.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_ops.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_demo_bucket(FILE *out);

namespace {

template <class Obj>
std::vector<uint8_t> zb_demo_pack(ZEL_RETCODE (*pack)(const Obj *, const B_ENCODER_T *),
                                  const Obj &obj, B_TAG_SUB sub, int *failed) {
    B_BUFFER_T b;
    b_bufferInit(&b, sub);
    B_ENCODER_T e;
    b_encoderInit(&e, b_bufferEmitByte, b_bufferEmitBytesBulk, &b, sub);
    *failed |= pack(&obj, &e) != sOKAY;
    std::vector<uint8_t> bytes(b.data.bin, b.data.bin + b.len);
    b_bufferTerm(&b);
    return bytes;
}

// The empty stored form read through `unpack` with `ki`: a fresh object.
template <class Obj>
ZEL_RETCODE zb_demo_empty(ZEL_RETCODE (*unpack)(Obj *, SCH_KEY_INFO_C, const B_DECODER_T *,
                                                B_TAG_SUB),
                          Obj *obj, SCH_KEY_INFO_C ki, B_TAG_SUB sub) {
    uint8_t empty[2] = {0, 0};
    B_BUFFER_T in;
    b_bufferInitStatic(&in, empty, 2, 2);
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    return unpack(obj, ki, &d, sub);
}

int zb_demo_bucket_of(FILE *out, SCH_KEY_INFO_C ki, B_TAG_SUB sub) {
    ZEL_BUCKET b{};
    if (zb_demo_empty(bucket_unpack_compact, &b, ki, sub) != sOKAY) return 1;
    // Two keys of (code, kind, id): ("north", 2, 17) with rows 100 and 101,
    // and (null, null, 18) with row 102.
    const char *texts[2][3] = {{"north", "2", "17"}, {nullptr, nullptr, "18"}};
    int failed = 0;
    b.numEntries = 2;
    b.entries[0].maxIds = 2;
    failed |= bucket_set_offsets(&b) != sOKAY;
    for (uint32_t i = 0; i < 2 && !failed; ++i) {
        ZEL_VALUE vals[3];
        for (ZEL_COL_INDEX k = 0; k < 3; ++k) {
            zel_valueInit(&vals[k]);
            SCH_TYPE_INFO_C pi = sch_col_type_c(sch_elem_col(sch_key_elem_c(ki, k)));
            if (texts[i][k])
                failed |=
                    sch_type_info(pi)->fromstring(pi, &vals[k], 0, 0, sub, texts[i][k]) != sOKAY;
            else
                zel_valueSetNull(&vals[k]);
        }
        failed |= sch_key_copy_to_buff_fcn(ki, b.entries[i].data, vals) != sOKAY;
        sch_key_free_fcn(ki, vals, sub);
    }
    b.entries[0].numIds = 2;
    b.entries[0].ids[0] = 100;
    b.entries[0].ids[1] = 101;
    b.entries[1].numIds = 1;
    b.entries[1].ids[0] = 102;
    const std::vector<uint8_t> compact = zb_demo_pack(bucket_pack_compact, b, sub, &failed);
    const std::vector<uint8_t> img = zb_demo_pack(bucket_pack_expanded, b, sub, &failed);
    bucket_free(&b);
    std::fprintf(out,
                 "A bucket of site.by_code (code, kind, id), two keys: (north, 2, 17) for rows\n"
                 "100 and 101, (null, null, 18) for row 102. Its writer leaves out a nullable\n"
                 "element holding a value and writes a null one from its zeroed bytes, on\n"
                 "purpose: %zu bytes compact:\n",
                 compact.size());
    zb_bucket_table_of(out, ki, compact, false, sub);
    std::fprintf(out,
                 "Expanded, %zu bytes: the header, then the image of its one allocation with\n"
                 "the entries' pointers stored as zeros:\n",
                 img.size());
    zb_bucket_table_of(out, ki, img, true, sub);
    return failed;
}

int zb_demo_chunk(FILE *out, B_TAG_SUB sub) {
    uint8_t abc[3] = {'a', 'b', 'c'};
    ZEL_CHUNK c{};
    c.owner = 5;
    c.seq = 2;
    c.len = 3;
    c.bytes = abc;
    int failed = 0;
    std::fprintf(out, "\nA chunk of a large object: owner 5, seq 2, the bytes \"abc\".\n");
    for (bool expanded : {false, true}) {
        const std::vector<uint8_t> bytes =
            zb_demo_pack(expanded ? chunk_pack_expanded : chunk_pack_compact, c, sub, &failed);
        std::fprintf(out, "%s, %zu bytes:\n", expanded ? "expanded" : "compact", bytes.size());
        zb_chunk_table_of(out, bytes, expanded, sub);
    }
    return failed;
}

int zb_demo_iz(FILE *out, B_TAG_SUB sub) {
    ZEL_ITEM_ZERO iz;
    iz_init(&iz, sub);
    int failed = 0;
    const std::vector<uint8_t> bytes = zb_demo_pack(iz_pack_compact, iz, sub, &failed);
    std::fprintf(out, "\nA fresh item zero (iz_init), %zu bytes compact:\n", bytes.size());
    zb_iz_table_of(out, bytes, false, sub);
    return failed;
}

int zb_demo_rtree(FILE *out, SCH_KEY_INFO_C ki, B_TAG_SUB sub) {
    ZEL_RTREE_NODE node{};
    if (zb_demo_empty(rtree_unpack_compact, &node, ki, sub) != sOKAY) return 1;
    node.used = 1;
    node.slotData->ids[0] = 9;
    const double box[4] = {1.7, -2.2, 3.9, 4.0};
    for (int k = 0; k < 4; ++k) node.slotData->boundary[k] = box[k];
    int failed = 0;
    const std::vector<uint8_t> compact = zb_demo_pack(rtree_pack_compact, node, sub, &failed);
    const std::vector<uint8_t> img = zb_demo_pack(rtree_pack_expanded, node, sub, &failed);
    rtree_free(&node);
    std::fprintf(out,
                 "\nAn R-tree node of site.by_area (INT32[4]: 2 dimensions), one entry: id 9,\n"
                 "lows (1.7, -2.2), highs (3.9, 4.0). Compact, the box is the column's array\n"
                 "and loses its fractions, %zu bytes:\n",
                 compact.size());
    zb_rtree_table_of(out, ki, compact, false, sub);
    std::fprintf(out, "expanded, the doubles as they are, %zu bytes:\n", img.size());
    zb_rtree_table_of(out, ki, img, true, sub);
    return failed;
}

}  // namespace

int zb_demo_bucket(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    if (zb_row_catalog(tags.sub, &sch) != sOKAY) return 1;
    SCH_KEY_INFO_C byCode = zb_obj_key(sch, "site.by_code", ZEL_KEY_METHOD_HASH);
    SCH_KEY_INFO_C byArea = zb_obj_key(sch, "site.by_area", ZEL_KEY_METHOD_RTREE);
    int failed = !byCode || !byArea;
    if (!failed) {
        failed |= zb_demo_bucket_of(out, byCode, tags.sub);
        failed |= zb_demo_chunk(out, tags.sub);
        failed |= zb_demo_iz(out, tags.sub);
        failed |= zb_demo_rtree(out, byArea, tags.sub);
    }
    sch_destroy(sch);
    return failed;
}
