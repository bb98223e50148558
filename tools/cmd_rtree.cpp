// `zelbase rtree decode --key T.K [--expanded] HEX` prints a node of spatial
// key K (of the sample catalogue: site.by_area) as an annotated table of its
// stored bytes, then the boxes the library reads from them, as doubles.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "decoder.h"
#include "error.h"
#include "rtree_node.h"
#include "schema.h"
#include "schema_build.h"
#include "zelbase_cmds.h"

int zb_cmd_rtree(int argc, char **argv);

namespace {

// `n` doubles as "(a, b, ...)", each in the fewest digits that read back.
std::string zb_rtree_values(const double *v, uint32_t n) {
    std::string s = "(";
    char one[40];
    for (uint32_t k = 0; k < n; ++k) {
        for (int digits = 15; digits <= 17; ++digits) {
            std::snprintf(one, sizeof one, "%.*g", digits, v[k]);
            if (std::strtod(one, nullptr) == v[k]) break;
        }
        s += (k ? ", " : "") + std::string(one);
    }
    return s + ")";
}

std::string zb_rtree_box(const double *box, uint32_t dim) {
    return "lows " + zb_rtree_values(box, dim) + ", highs " + zb_rtree_values(box + dim, dim);
}

}  // namespace

void zb_rtree_table_of(FILE *out, SCH_KEY_INFO_C ki, const std::vector<uint8_t> &bytes,
                       bool expanded, B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    SCH_COL_INFO_C ci = sch_elem_col(sch_key_elem_c(ki, 0));
    const uint32_t dim = sch_col_num_elems(ci) >> 1;
    if (dim > 32) return (void)a.line("(not a spatial key: more than 32 dimensions)");
    uint16_t head[2] = {0, 0};
    for (int k = 0; k < 2; ++k) {
        const ZEL_RETCODE rc = expanded ? b_decoderDecodeBytesBulk(&a.dec, 2, &head[k], nullptr)
                                        : b_decoderDecodeUint16(&a.dec, &head[k]);
        if (rc != sOKAY) return (void)a.fail(k ? "level" : "used");
        a.line("%s: %u%s", k ? "level" : "entries in use", head[k],
               expanded ? " (2 bytes, host order)" : "");
    }
    if (head[0] > ZEL_RTREE_MAX_ENTRIES) return (void)a.line("!! more than 32 entries: damaged");
    for (uint32_t i = 0; i < head[0]; ++i) {
        uint64_t id;
        const ZEL_RETCODE rc = expanded ? b_decoderDecodeBytesBulk(&a.dec, 8, &id, nullptr)
                                        : b_decoderDecodeUint64(&a.dec, &id);
        if (rc != sOKAY) return (void)a.fail("id");
        a.line("id %u: slot %" PRIu64, i, id);
    }
    for (uint32_t i = 0; i < head[0]; ++i) {
        char label[24];
        std::snprintf(label, sizeof label, "box %u:", i);
        if (!expanded) {
            // The column's array value: lows of every dimension, then highs.
            if (!a.value(ci, label)) return;
            continue;
        }
        double box[2 * 32];
        if (b_decoderDecodeBytesBulk(&a.dec, 16 * size_t{dim}, box, nullptr) != sOKAY)
            return (void)a.fail("box");
        a.line("%s %s", label, zb_rtree_box(box, dim).c_str());
    }
    if (a.pos() < bytes.size())
        a.line("(not read: %zu bytes after the node)", bytes.size() - a.pos());
}

int zb_cmd_rtree(int argc, char **argv) {
    ZbObjArgs args;
    if (int code = zb_obj_args(argc, argv,
                               "Prints a node of a spatial key of the built-in sample catalogue as "
                               "an annotated\ntable of its stored bytes, then the boxes the "
                               "library reads from them.\nSpatial keys of the sample catalogue: "
                               "site.by_area",
                               "Spatial key K of table T", &args);
        code != kZbGoOn)
        return code;
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    if (zb_catalog_open(args.catalog, tags, &sch) != sOKAY) return 1;
    SCH_KEY_INFO_C ki = zb_obj_key(sch, args.key, ZEL_KEY_METHOD_RTREE);
    int status = 0;
    if (!ki) {
        status = zb_usageError("No spatial key '%s' in the catalogue", args.key);
    } else {
        std::printf("%s R-tree node of %s, %zu bytes:\n", args.expanded ? "expanded" : "compact",
                    args.key, args.bytes.size());
        zb_rtree_table_of(stdout, ki, args.bytes, args.expanded, tags.sub);
        B_BUFFER_T in;
        b_bufferInitStatic(&in, args.bytes.data(), args.bytes.size(), args.bytes.size());
        B_DECODER_T d;
        b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, tags.sub);
        ZEL_RTREE_NODE node{};
        const ZEL_RETCODE rc = args.expanded ? rtree_unpack_expanded(&node, ki, &d, tags.sub)
                                             : rtree_unpack_compact(&node, ki, &d, tags.sub);
        std::printf("the library reads: %s", zelErrorString(rc));
        if (rc == sOKAY) {
            std::printf(", %u entries at level %u, %u dimensions\n", node.used, node.level,
                        node.dim);
            for (uint32_t i = 0; i < node.used; ++i)
                std::printf(
                    "  entry %u: id %" PRIu64 ", %s\n", i, node.slotData->ids[i],
                    zb_rtree_box(node.slotData->boundary + 2 * size_t{node.dim} * i, node.dim)
                        .c_str());
        } else {
            std::printf("\n");
            status = 1;
        }
        rtree_free(&node);
    }
    sch_destroy(sch);
    return status;
}
