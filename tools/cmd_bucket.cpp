// `zelbase bucket decode --key T.K [--expanded] HEX` prints a bucket of hash
// key K (of the sample catalogue: site.by_code) as an annotated table of its
// stored bytes, then what the library reads from them; `zelbase chunk decode
// [--expanded] HEX` and `zelbase iz decode [--expanded] HEX` do the same for
// a chunk of a large object and a drawer's item zero. `zelbase rtree`
// (cmd_rtree.cpp) shares the command line here.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bucket.h"
#include "chunk.h"
#include "decoder.h"
#include "error.h"
#include "iz.h"
#include "schema.h"
#include "schema_build.h"
#include "schema_layout.h"
#include "schema_ops.h"
#include "value.h"
#include "zelbase_cmds.h"

int zb_cmd_bucket(int argc, char **argv);
int zb_cmd_chunk(int argc, char **argv);
int zb_cmd_iz(int argc, char **argv);

int zb_obj_args(int argc, char **argv, const char *description, const char *keyHelp,
                ZbObjArgs *out) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"k", "key", "s:T.K", keyHelp},
        {"c", "catalog", "s:F", "A JSON catalogue to read instead of the built-in sample one"},
        {"e", "expanded", nullptr, "The expanded stored form instead of the compact one"},
        {"A", nullptr, "#:decode", "The action"},
        {"H", nullptr, "*:HEX", "The object's bytes in hex; blanks, ':' and ',' allowed"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    // Without a key the command reads no catalogue: the first two rows go.
    if (int code = zb_cmdline(&cmd, argc, argv, description, keyHelp ? opts : opts + 2);
        code != kZbGoOn)
        return code;
    std::vector<char *> hex;
    const char *arg = nullptr;
    for (const char *row; (row = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (!std::strcmp(row, "expanded")) {
            out->expanded = true;
        } else if (!std::strcmp(row, "catalog")) {
            out->catalog = arg;
        } else if (!std::strcmp(row, "A")) {
            if (std::strcmp(arg, "decode") != 0)
                return zb_usageError("Unknown action '%s': decode", arg);
        } else if (!std::strcmp(row, "H")) {
            hex.push_back(const_cast<char *>(arg));
        } else {
            out->key = arg;
        }
    }
    if (keyHelp && !out->key) return zb_usageError("Missing option '--key' ('--help' for more)");
    if (out->key && !std::strchr(out->key, '.'))
        return zb_usageError("Not TABLE.KEY: '%s'", out->key);
    if (!zb_row_parse_hex(static_cast<int>(hex.size()), hex.data(), &out->bytes))
        return zb_usageError("Not bytes in hex ('--help' for more information)");
    return kZbGoOn;
}

SCH_KEY_INFO_C zb_obj_key(SCH_INFO_C sch, const char *name, ZEL_KEY_METHOD method) {
    const char *dot = std::strchr(name, '.');
    const std::string table(name, dot);
    SCH_TBL_INFO ti = sch_find_table_by_name(const_cast<SCH_INFO>(sch), table.c_str(), nullptr);
    for (auto ki = ti ? sch_iterate_keys_active(ti, nullptr, ZEL_FORWARD) : nullptr; ki;
         ki = sch_iterate_keys_active(ti, ki, ZEL_FORWARD))
        if (!std::strcmp(dot + 1, sch_key_name(ki)) && sch_key_method(ki) == method) return ki;
    return nullptr;
}

std::string zb_obj_slots(const ZEL_SLOT *ids, uint32_t n) {
    std::string s;
    char one[32];
    for (uint32_t k = 0; k < n && k < 6; ++k) {
        std::snprintf(one, sizeof one, "%s%" PRIu64, k ? ", " : "", ids[k]);
        s += one;
    }
    return n > 6 ? s + ", ..." : s;
}

namespace {

// A key buffer of an image: each element as its value, then the has-value
// bytes and padding.
void zb_bucket_raw_key(ZbAnnot &a, SCH_KEY_INFO_C ki, size_t start) {
    for (ZEL_COL_INDEX e = 0; e < sch_key_num_elems(ki); ++e) {
        SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, e);
        SCH_COL_INFO_C ci = sch_elem_col(ei);
        a.mark = start + sch_elem_offset(ei);
        a.buf.pos = a.mark + sch_col_byte_len(ci);
        ZEL_VALUE v;
        zel_valueInit(&v);
        std::string text = "?";
        if (sch_elem_assign_from_buff_fcn(ei, &v, a.bytes.data() + start) == sOKAY)
            text = zb_row_value_text(ci, &v);
        a.line("    %s = %s", sch_col_name(ci), text.c_str());
    }
    a.mark = start + sch_key_has_value_offset(ki);
    a.buf.pos = start + sch_key_byte_len(ki);
    if (a.pos() > a.mark) a.line("    has-value bytes; padding");
}

void zb_bucket_compact(ZbAnnot &a, SCH_KEY_INFO_C ki) {
    uint32_t depth, n;
    if (!a.count("depth", &depth) || !a.count("entries in use", &n) || n == 0) return;
    if (n > ZEL_BUCKET_ENTRIES) return (void)a.line("!! more than 31 entries: damaged");
    uint64_t total;
    if (b_decoderDecodeUint64(&a.dec, &total) != sOKAY) return (void)a.fail("ids in all");
    a.line("ids in all: %" PRIu64 " (the reader's id room: at least 31)", total);
    for (uint32_t i = 0; i < n; ++i) {
        char what[48];
        std::snprintf(what, sizeof what, "entry %u: elements written", i);
        uint32_t pairs, ids;
        if (!a.count(what, &pairs)) return;
        for (uint32_t k = 0; k < pairs; ++k) {
            uint16_t id;
            if (b_decoderDecodeUint16(&a.dec, &id) != sOKAY) return (void)a.fail("column id");
            SCH_COL_INFO_C ci = nullptr;
            for (ZEL_COL_INDEX e = 0; e < sch_key_num_elems(ki); ++e)
                if (sch_elem_col_index(sch_key_elem_c(ki, e)) == id)
                    ci = sch_elem_col(sch_key_elem_c(ki, e));
            if (!ci) return a.line("  column id %u: not in this key (the library says eRANGE)", id);
            a.line("  column id %u", id);
            if (!a.value(ci, "   ")) return;
        }
        if (!a.count("  ids", &ids)) return;
        for (uint32_t k = 0; k < ids; ++k) {
            uint64_t slot;
            if (b_decoderDecodeUint64(&a.dec, &slot) != sOKAY) return (void)a.fail("id");
            a.line("    slot %" PRIu64, slot);
        }
    }
}

void zb_bucket_expanded(ZbAnnot &a, SCH_KEY_INFO_C ki) {
    struct {
        uint32_t depth, numEntries;
        uint64_t len;
    } head;
    if (b_decoderDecodeBytesBulk(&a.dec, 4, &head.depth, nullptr) != sOKAY)
        return (void)a.fail("depth");
    a.line("depth %u (4 bytes, host order)", head.depth);
    if (b_decoderDecodeBytesBulk(&a.dec, 4, &head.numEntries, nullptr) != sOKAY)
        return (void)a.fail("entries");
    a.line("entries in use: %u", head.numEntries);
    if (b_decoderDecodeBytesBulk(&a.dec, 8, &head.len, nullptr) != sOKAY)
        return (void)a.fail("bucket_data_len");
    a.line("bucket_data_len %" PRIu64 ": the image follows", head.len);
    ZEL_BUCKET_BUFFER_INFO bi;
    if (sch_bucket_get_buffer_info(ki, &bi) != sOKAY || head.len < bi.bucket_len + bi.data_len ||
        a.bytes.size() < 16 + head.len || head.numEntries > ZEL_BUCKET_ENTRIES)
        return (void)a.line("(not an image of this key's buckets)");
    ZEL_BUCKET_ENTRY rec[ZEL_BUCKET_ENTRIES];
    std::memcpy(rec, a.bytes.data() + 16, sizeof rec);
    const uint32_t n = head.numEntries;
    for (uint32_t i = 0; i < n; ++i) {
        a.buf.pos = 16 + (i + 1) * sizeof(ZEL_BUCKET_ENTRY);
        uint32_t valid;
        std::memcpy(&valid, &rec[i].hashIsValid, sizeof valid);
        a.line("entry %u: pointers (0), numIds %u, maxIds %u, hash %s 0x%" PRIX64, i, rec[i].numIds,
               rec[i].maxIds, valid ? "valid" : "not valid", rec[i].hashValue);
    }
    a.buf.pos = 16 + bi.bucket_len;
    if (n < ZEL_BUCKET_ENTRIES) a.line("entry records %u to 30: not in use", n);
    const size_t keys = 16 + bi.bucket_len, slots = keys + bi.data_len;
    for (uint32_t i = 0; i < n; ++i) {
        a.mark = keys + i * bi.key_byte_len;
        a.buf.pos = a.mark;
        a.line("key of entry %u:", i);
        zb_bucket_raw_key(a, ki, keys + i * bi.key_byte_len);
    }
    a.mark = keys + n * bi.key_byte_len;
    a.buf.pos = slots;
    if (a.pos() > a.mark) a.line("keys of the entries not in use; padding");
    uint64_t running = 0;
    for (uint32_t i = 0; i < n; ++i) {
        a.mark = slots + running * 8;
        if (rec[i].numIds > rec[i].maxIds || a.mark + 8 * rec[i].numIds > 16 + head.len)
            return (void)a.line("!! the ids of entry %u pass the room: damaged", i);
        ZEL_SLOT ids[6];
        std::memcpy(ids, a.bytes.data() + a.mark, 8 * std::min<uint32_t>(rec[i].numIds, 6));
        a.buf.pos = a.mark + 8 * size_t{rec[i].numIds};
        a.line("ids of entry %u: %s", i, zb_obj_slots(ids, rec[i].numIds).c_str());
        running += rec[i].maxIds;
    }
    a.mark = a.pos();
    a.buf.pos = 16 + head.len;
    if (a.pos() > a.mark) a.line("the rest of the id room");
}

// The bucket as the library reads it: entries, keys and ids.
ZEL_RETCODE zb_bucket_read(FILE *out, SCH_KEY_INFO_C ki, const std::vector<uint8_t> &bytes,
                           bool expanded, B_TAG_SUB sub) {
    B_BUFFER_T in;
    b_bufferInitStatic(&in, const_cast<uint8_t *>(bytes.data()), bytes.size(), bytes.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    ZEL_BUCKET b{};
    const ZEL_RETCODE rc =
        expanded ? bucket_unpack_expanded(&b, ki, &d, sub) : bucket_unpack_compact(&b, ki, &d, sub);
    std::fprintf(out, "the library reads: %s", zelErrorString(rc));
    if (rc != sOKAY) {
        std::fprintf(out, "\n");
        return rc;
    }
    std::fprintf(out, ", depth %u, %u entries, bucket_data_len %zu\n", b.depth, b.numEntries,
                 b.bucket_data_len);
    for (uint32_t i = 0; i < b.numEntries; ++i) {
        std::string key;
        for (ZEL_COL_INDEX e = 0; e < sch_key_num_elems(ki); ++e) {
            SCH_ELEM_INFO_C ei = sch_key_elem_c(ki, e);
            ZEL_VALUE v;
            zel_valueInit(&v);
            key += e ? ", " : "";
            key += sch_elem_assign_from_buff_fcn(ei, &v, b.entries[i].data) == sOKAY
                       ? zb_row_value_text(sch_elem_col(ei), &v)
                       : "?";
        }
        std::fprintf(out, "  entry %u: (%s), ids %s\n", i, key.c_str(),
                     zb_obj_slots(b.entries[i].ids, b.entries[i].numIds).c_str());
    }
    bucket_free(&b);
    return sOKAY;
}

void zb_chunk_fields(ZbAnnot &a, bool expanded) {
    uint16_t mark = 0;
    uint64_t owner = 0, seq = 0;
    uint32_t len = 0;
    auto field = [&](void *p, size_t size, bool varint) {
        if (!expanded && varint) {
            uint64_t v;
            if (b_decoderDecodeUint64(&a.dec, &v) != sOKAY) return false;
            std::memcpy(p, &v, size);  // the host is little-endian
            return true;
        }
        return b_decoderDecodeBytesBulk(&a.dec, size, p, nullptr) == sOKAY;
    };
    if (!field(&mark, 2, true)) return (void)a.fail("marker");
    a.line("is_chunk: %u (read and not tested)", mark);
    if (!field(&owner, 8, true)) return (void)a.fail("owner");
    a.line("owner: slot %" PRIu64, owner);
    if (!field(&seq, 8, true)) return (void)a.fail("seq");
    a.line("seq: %" PRIu64, seq);
    if (!field(&len, 4, true)) return (void)a.fail("len");
    a.line("len: %u", len);
    if (len > a.bytes.size() - a.pos())
        return (void)a.line("!! past the end of the input (the library says eEOD)");
    a.buf.pos += len;
    if (len) a.line("the bytes");
}

void zb_iz_fields(ZbAnnot &a, bool expanded) {
    auto num = [&](void *p, size_t size) {
        if (expanded) return b_decoderDecodeBytesBulk(&a.dec, size, p, nullptr) == sOKAY;
        uint64_t v;
        if (b_decoderDecodeUint64(&a.dec, &v) != sOKAY) return false;
        std::memcpy(p, &v, size);  // the host is little-endian
        return true;
    };
    uint64_t next = 0, total = 0;
    uint32_t enc = 0;
    uint16_t count = 0;
    uint8_t key[16];
    if (!num(&next, 8)) return (void)a.fail("next");
    a.line("next slot to give out: %" PRIu64, next);
    if (!num(&total, 8)) return (void)a.fail("total");
    a.line("total: %" PRIu64, total);
    if (!num(&enc, 4)) return (void)a.fail("encType");
    a.line("encType: %u (%s)", enc,
           enc <= ZEL_ENC_DEFAULT ? sch_encryption_text(static_cast<ZEL_ENC_TYPE>(enc)) : "?");
    for (const char *name : {"dbKey", "drawerKey"}) {
        if (b_decoderDecodeBytes(&a.dec, key, sizeof key) != sOKAY) return (void)a.fail(name);
        a.line("%s: 16 bytes, copied as they are", name);
    }
    if (!num(&count, 2)) return (void)a.fail("numAvls");
    a.line("AVL roots: %u", count);
    for (uint32_t k = 0; k < count; ++k) {
        uint64_t root = 0;
        if (!num(&root, 8)) return (void)a.fail("root");
        a.line("  root %u: slot %" PRIu64, k, root);
    }
}

template <class Obj>
ZEL_RETCODE zb_obj_read(FILE *out, ZEL_RETCODE (*unpack)(Obj *, const B_DECODER_T *, B_TAG_SUB),
                        Obj *obj, const std::vector<uint8_t> &bytes, B_TAG_SUB sub) {
    B_BUFFER_T in;
    b_bufferInitStatic(&in, const_cast<uint8_t *>(bytes.data()), bytes.size(), bytes.size());
    B_DECODER_T d;
    b_decoderInit(&d, b_bufferInputByte, b_bufferInputBytesBulk, &in, sub);
    const ZEL_RETCODE rc = unpack(obj, &d, sub);
    std::fprintf(out, "the library reads: %s\n", zelErrorString(rc));
    return rc;
}

void zb_obj_rest(ZbAnnot &a) {
    if (a.pos() < a.bytes.size())
        a.line("(not read: %zu bytes after the object)", a.bytes.size() - a.pos());
}

}  // namespace

void zb_bucket_table_of(FILE *out, SCH_KEY_INFO_C ki, const std::vector<uint8_t> &bytes,
                        bool expanded, B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    if (expanded)
        zb_bucket_expanded(a, ki);
    else
        zb_bucket_compact(a, ki);
    zb_obj_rest(a);
}

void zb_chunk_table_of(FILE *out, const std::vector<uint8_t> &bytes, bool expanded, B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    zb_chunk_fields(a, expanded);
    zb_obj_rest(a);
}

void zb_iz_table_of(FILE *out, const std::vector<uint8_t> &bytes, bool expanded, B_TAG_SUB sub) {
    ZbAnnot a(out, bytes, sub);
    zb_iz_fields(a, expanded);
    zb_obj_rest(a);
}

int zb_cmd_bucket(int argc, char **argv) {
    ZbObjArgs args;
    if (int code = zb_obj_args(argc, argv,
                               "Prints a bucket of a hash key of the built-in sample catalogue as "
                               "an annotated\ntable of its stored bytes, then what the library "
                               "reads from them.\nHash keys of the sample catalogue: site.by_code",
                               "Hash key K of table T", &args);
        code != kZbGoOn)
        return code;
    const ZbTags tags;
    if (!tags.ok()) return 1;
    SCH_INFO sch = nullptr;
    if (zb_catalog_open(args.catalog, tags, &sch) != sOKAY) return 1;
    SCH_KEY_INFO_C ki = zb_obj_key(sch, args.key, ZEL_KEY_METHOD_HASH);
    int status = 0;
    if (!ki) {
        status = zb_usageError("No hash key '%s' in the catalogue", args.key);
    } else {
        std::printf("%s bucket of %s, %zu bytes:\n", args.expanded ? "expanded" : "compact",
                    args.key, args.bytes.size());
        zb_bucket_table_of(stdout, ki, args.bytes, args.expanded, tags.sub);
        if (zb_bucket_read(stdout, ki, args.bytes, args.expanded, tags.sub) != sOKAY) status = 1;
    }
    sch_destroy(sch);
    return status;
}

int zb_cmd_chunk(int argc, char **argv) {
    ZbObjArgs args;
    if (int code = zb_obj_args(argc, argv,
                               "Prints a chunk of a large object as an annotated table of its "
                               "stored bytes,\nthen what the library reads from them.",
                               nullptr, &args);
        code != kZbGoOn)
        return code;
    const ZbTags tags;
    if (!tags.ok()) return 1;
    std::printf("%s chunk, %zu bytes:\n", args.expanded ? "expanded" : "compact",
                args.bytes.size());
    zb_chunk_table_of(stdout, args.bytes, args.expanded, tags.sub);
    ZEL_CHUNK c{};
    const ZEL_RETCODE rc =
        zb_obj_read(stdout, args.expanded ? chunk_unpack_expanded : chunk_unpack_compact, &c,
                    args.bytes, tags.sub);
    chunk_free(&c);
    return rc == sOKAY ? 0 : 1;
}

int zb_cmd_iz(int argc, char **argv) {
    ZbObjArgs args;
    if (int code = zb_obj_args(argc, argv,
                               "Prints a drawer's item zero as an annotated table of its stored "
                               "bytes, then\nwhat the library reads from them.",
                               nullptr, &args);
        code != kZbGoOn)
        return code;
    const ZbTags tags;
    if (!tags.ok()) return 1;
    std::printf("%s item zero, %zu bytes:\n", args.expanded ? "expanded" : "compact",
                args.bytes.size());
    zb_iz_table_of(stdout, args.bytes, args.expanded, tags.sub);
    ZEL_ITEM_ZERO iz;
    iz_init(&iz, tags.sub);
    const ZEL_RETCODE rc = zb_obj_read(
        stdout, args.expanded ? iz_unpack_expanded : iz_unpack_compact, &iz, args.bytes, tags.sub);
    iz_free(&iz);
    return rc == sOKAY ? 0 : 1;
}
