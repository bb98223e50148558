// `zelbase uri URI...` parses connection strings and prints each context:
// its transport with every field, the database name, the server text
// gsvspec and whether the string named a location. `zelbase uri
// --compare A B` tells whether two strings name the same database at the
// same place.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "connection.h"
#include "error.h"
#include "uuid.h"
#include "zelbase_cmds.h"

int zb_cmd_uri(int argc, char **argv);

std::string zb_uri_entry(const TX_CONN_INFO_S *e) {
    char buf[160];
    switch (e->connType) {
        case TX_TCP_INT:
            std::snprintf(buf, sizeof buf, "tcp host %s port %u heartbeat %u tos %d ka_on %d",
                          e->info.tcp.hostname == nullptr
                              ? "null (localhost)"
                              : ("\"" + std::string(e->info.tcp.hostname) + "\"").c_str(),
                          static_cast<unsigned>(e->info.tcp.port), e->info.tcp.heartbeat,
                          e->info.tcp.tos, e->info.tcp.ka_on);
            break;
        case TX_SHM_INT:
            std::snprintf(buf, sizeof buf, "shm name \"%s\" seq %u",
                          e->info.shm.name != nullptr ? e->info.shm.name : "(null)",
                          e->info.shm.seq);
            break;
        case TX_UUID_INT: {
            char text[ZEL_UUID_TEXT_LEN + 1] = "?";
            if (zel_uuidToString(&e->info.uuid.uuid, text, sizeof text, ZEL_FALSE) != sOKAY)
                text[0] = '?';
            std::snprintf(buf, sizeof buf, "uuid %s", text);
            break;
        }
        default:
            std::snprintf(buf, sizeof buf, "transport %d", static_cast<int>(e->connType));
            break;
    }
    return buf;
}

namespace {

std::string zb_uri_code(ZEL_RETCODE rc) {
    const char *name = nullptr;
    if (zelErrorCodeDef(rc, nullptr, &name) == sOKAY && name != nullptr) return name;
    return std::to_string(rc);
}

int zb_uri_compare(const char *a, const char *b, B_TAG_SUB sub) {
    TX_CONN_CTX *ca = nullptr, *cb = nullptr;
    ZEL_RETCODE rc = tl_parseConnectionUri(a, sub, nullptr, &ca);
    if (rc == sOKAY) rc = tl_parseConnectionUri(b, sub, nullptr, &cb);
    if (rc != sOKAY) {
        tl_freeConnectionInfo(ca);
        std::fprintf(stderr, "zelbase uri: %s\n", zb_uri_code(rc).c_str());
        return 1;
    }
    const int cmp = tl_compareDatabase(ca, cb);
    std::printf("%d  %s\n", cmp, cmp == 0 ? "same database at the same place" : "different");
    tl_freeConnectionInfo(ca);
    tl_freeConnectionInfo(cb);
    return cmp == 0 ? 0 : 1;
}

}  // namespace

int zb_cmd_uri(int argc, char **argv) {
    const ZEL_CMDLINE_OPT opts[] = {
        {"c", "compare", nullptr,
         "Compare two strings: whether they name the same database at the same place"},
        {"U", nullptr, "*:URI", "Connection strings"},
        {nullptr, nullptr, nullptr, nullptr}};
    ZEL_CMDLINE cmd;
    if (int code = zb_cmdline(&cmd, argc, argv,
                              "Parses connection strings and prints each one's transports "
                              "with every field,\nthe database name, the server text gsvspec "
                              "and whether it named a location.",
                              opts);
        code != kZbGoOn)
        return code;
    bool compare = false;
    std::vector<const char *> uris;
    const char *arg = nullptr;
    for (const char *name; (name = zel_cmdlineNextLongOption(&cmd, &arg)) != nullptr;) {
        if (std::strcmp(name, "compare") == 0)
            compare = true;
        else
            uris.push_back(arg);
    }
    if (uris.empty())
        return zb_usageError("Missing argument 'URI' ('--help' for more information)");
    const ZbTags tags;
    if (!tags.ok()) return 1;
    if (compare) {
        if (uris.size() != 2) return zb_usageError("--compare takes two strings");
        return zb_uri_compare(uris[0], uris[1], tags.sub);
    }
    const size_t count = uris.size();
    int failures = 0;
    for (size_t i = 0; i < count; ++i) {
        TX_CONN_CTX *ctx = nullptr;
        ZEL_BOOL_T located = ZEL_FALSE;
        std::printf("%s\n", uris[i]);
        const ZEL_RETCODE rc = tl_parseConnectionUri(uris[i], tags.sub, &located, &ctx);
        if (rc != sOKAY) {
            std::printf("  error         %s\n", zb_uri_code(rc).c_str());
            ++failures;
            continue;
        }
        for (uint32_t k = 0; k < ctx->num; ++k)
            std::printf("  transport     %s\n", zb_uri_entry(&ctx->info[k]).c_str());
        std::printf("  name          %s\n", ctx->dbname != nullptr
                                                ? ("\"" + std::string(ctx->dbname) + "\"").c_str()
                                                : "null");
        std::printf("  gsvspec       \"%s\"\n", tl_connGsvSpec(ctx));
        std::printf("  has_location  %s\n", located ? "true" : "false");
        tl_freeConnectionInfo(ctx);
    }
    return failures == 0 ? 0 : 1;
}
