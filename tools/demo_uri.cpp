// The connection string section of `zelbase demo`: the edge cases of the
// grammar as a table of what each string gives.
#include <cstdio>
#include <string>

#include "connection.h"
#include "error.h"
#include "zelbase_cmds.h"

int zb_demo_uri(FILE *out);

int zb_demo_uri(FILE *out) {
    const ZbTags tags;
    if (!tags.ok()) return 1;
    static const char *const uris[] = {
        "mydb",
        "mydb@host:1234",
        "mydb@host:1234,30,5,1",
        "gsv-tcp://host:1234/mydb",
        "gsv-tcp://[::1]:1234/x",
        "gsv-tcp://host",
        "gsv-tcp:///mydb",
        "db@:99",
        "gsv-tcp://host:70000",
        "gsv-shm:///",
        "gsv://name/db",
        "gsv-uuid://00112233-4455-6677-8899-aabbccddeeff",
        "GSV-TCP://host",
        "gsv-nmp://pipe",
        "a//b",
        "///a",
    };
    std::fprintf(out, "%-48s %-7s %-28s %s\n", "STRING", "NAME", "GSVSPEC", "TRANSPORT");
    for (const char *uri : uris) {
        TX_CONN_CTX *ctx = nullptr;
        ZEL_BOOL_T located = ZEL_FALSE;
        const ZEL_RETCODE rc = tl_parseConnectionUri(uri, tags.sub, &located, &ctx);
        if (rc != sOKAY) {
            const char *name = "?";
            if (zelErrorCodeDef(rc, nullptr, &name) != sOKAY) name = "?";
            std::fprintf(out, "%-48s %s\n", uri, name);
            continue;
        }
        std::fprintf(out, "%-48s %-7s %-28s %s%s\n", uri,
                     ctx->dbname != nullptr ? ctx->dbname : "-", tl_connGsvSpec(ctx),
                     zb_uri_entry(&ctx->info[0]).c_str(), located ? "" : " (no location)");
        tl_freeConnectionInfo(ctx);
    }
    // Port 0 stands for the default port: these two name the same place.
    TX_CONN_CTX *a = nullptr, *b = nullptr;
    if (tl_parseConnectionUri("db@h:21553", tags.sub, nullptr, &a) != sOKAY) return 1;
    if (tl_parseConnectionUri("gsv-tcp://h:0/db", tags.sub, nullptr, &b) != sOKAY) {
        tl_freeConnectionInfo(a);
        return 1;
    }
    const int cmp = tl_compareDatabase(a, b);
    std::fprintf(out, "compare \"db@h:21553\" with \"gsv-tcp://h:0/db\": %d\n", cmp);
    tl_freeConnectionInfo(a);
    tl_freeConnectionInfo(b);
    return cmp == 0 ? 0 : 1;
}
