// The catalogue loader over any bytes, taken as a NUL-terminated text (an
// unended "--" comment ends with the text, so raw bytes do): the code is one
// the loader gives, the out argument is written only on success, and every
// byte comes back. A catalogue that loads, its references all linked, is
// written back as its canonical text, which must load again to a
// union-compatible catalogue. The master is seeded with 64 MiB: a count such
// as "maxdrawers" near 2^32 asks for far more, which must end in a code.
#include <cstdint>
#include <cstdio>
#include <string>

#include "../tools/catalog_json.h"
#include "fuzz_tags.h"
#include "schema_build.h"
#include "schema_load.h"

namespace {

// check() with the broken invariant named.
void expect(bool ok, const char *what) {
    if (!ok) std::fprintf(stderr, "catalog_fuzz: %s\n", what);
    check(ok);
}

bool knownCode(ZEL_RETCODE rc) {
    return rc == sOKAY || rc == eSYNTAX || rc == eBADCAT || rc == eRANGE || rc == eNOTIMPLEMENTED ||
           rc == eLOCALEMISMATCH || rc == eNOMEMORY;
}

// Every reference found its target, key and columns.
bool allLinked(SCH_INFO_C sch) {
    for (auto ti = sch_iterate_tables(sch, nullptr, ZEL_FORWARD); ti;
         ti = sch_iterate_tables(sch, ti, ZEL_FORWARD))
        for (auto ri = sch_iterate_refs(ti, nullptr, ZEL_FORWARD); ri;
             ri = sch_iterate_refs(ti, ri, ZEL_FORWARD)) {
            if (ri->reftab == nullptr || ri->refkey == nullptr) return false;
            for (ZEL_COL_INDEX i = 0; i < ri->num_cols; ++i)
                if (ri->cols[i] == nullptr) return false;
        }
    return true;
}

}  // namespace

extern "C" const char *__asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=64";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzSeededTags &tags = fuzzSeededTags();
    const int64_t before = fuzzUsed(tags.sub);
    const std::string text(reinterpret_cast<const char *>(data), size);
    const ZEL_BOOL_T unicode = size % 2 != 0 ? ZEL_TRUE : ZEL_FALSE;
    SCH_INFO sch = nullptr;
    const ZEL_RETCODE rc =
        sch_read_database_schema_buffer(&sch, text.c_str(), unicode, tags.sub, tags.master);
    expect(knownCode(rc), "an unknown code");
    expect((rc == sOKAY) == (sch != nullptr), "the catalogue handed out on failure");
    if (rc == sOKAY && allLinked(sch)) {
        const std::string canon = zb_catalog::write(sch);
        SCH_INFO again = nullptr;
        const ZEL_RETCODE rc2 =
            sch_read_database_schema_buffer(&again, canon.c_str(), unicode, tags.sub, tags.master);
        if (rc2 != eNOMEMORY) {
            if (rc2 != sOKAY) std::fprintf(stderr, "%s", canon.c_str());
            expect(rc2 == sOKAY, "the canonical text refused");
            expect(sch_union_compatible(sch, again) == sOKAY &&
                       sch_union_compatible(again, sch) == sOKAY,
                   "the canonical text loads to another catalogue");
        }
        sch_destroy(again);
    }
    sch_destroy(sch);
    expect(fuzzUsed(tags.sub) == before, "memory not given back");
    return 0;
}
