// Connection strings. Any bytes up to a zero parse to a context or a code;
// a context copies, the copy names the same database at the same place as the
// original (when there is a name and a TCP or shared memory entry), the
// accessors answer, and both free back to the memory there was before.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_tags.h"
#include "connection.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);  // stops at a zero
    B_TAG_SUB sub = fuzzTag();
    const int64_t before = fuzzUsed(sub);
    TX_CONN_CTX *ctx = nullptr;
    ZEL_BOOL_T loc = ZEL_TRUE;
    const ZEL_RETCODE rc = tl_parseConnectionUri(text.c_str(), sub, &loc, &ctx);
    if (rc != sOKAY) {
        check(rc < 0 && ctx == nullptr && loc == ZEL_TRUE);
        check(fuzzUsed(sub) == before);
        return 0;
    }
    check(ctx->num == 1 && ctx->has_gsvloc == loc);
    const char *spec = tl_connGsvSpec(ctx);
    check(std::strstr(spec, "://") != nullptr && spec[std::strlen(spec) - 1] == '/');

    TX_CONN_CTX *copy = tl_copyConnectionInfo(ctx, sub);
    check(copy != nullptr && copy->num == ctx->num && copy->has_gsvloc == ZEL_FALSE);
    check(std::strcmp(tl_connGsvSpec(copy), spec) == 0);
    const TX_CONN_TYPE_INT type = ctx->info[0].connType;
    if (ctx->dbname != nullptr && (type == TX_TCP_INT || type == TX_SHM_INT)) {
        check(tl_compareDatabase(copy, ctx) == 0 && tl_compareDatabase(ctx, copy) == 0);
    } else {
        check(tl_compareDatabase(copy, ctx) != 0);
    }
    ZEL_UUID_T uuid;
    check((tl_isUuidConnection(copy, &uuid) == sOKAY) == (type == TX_UUID_INT));
    const char *name = nullptr;
    const ZEL_RETCODE named = tl_connDbName(copy, &name);
    check(ctx->dbname == nullptr ? named == eINVDBNAMESPEC
                                 : named == sOKAY && std::strcmp(name, ctx->dbname) == 0);
    tl_freeConnectionInfo(copy);
    tl_freeConnectionInfo(ctx);
    check(fuzzUsed(sub) == before);
    return 0;
}
