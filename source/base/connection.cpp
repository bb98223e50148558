/*
 * connection.cpp - connection strings into TX_CONN_CTX.
 *
 * The parse works on one private copy of the string and cuts it in place, in
 * a fixed order: at "://" (the scheme ends), at the first "/" (the address
 * ends, the database name follows), then inside the address (a TCP address
 * at its closing bracket, its ":" and its commas). The server text gsvspec
 * is formatted from the address after that cut, so with a scheme it holds a
 * TCP address's host alone; stored gsvspec texts depend on that. Each
 * address parser takes its fields into locals and adds its entry last, so a
 * failed parser leaves nothing of its own behind; tl_parseConnectionUri frees
 * the context on any failure.
 *
 * TCP address:   host [":" port] ["," heartbeat ["," tos ["," ka_on]]]
 *   host       "[...]" is taken from inside the brackets, the ":" searched
 *              behind them; without ":" the host ends at the first ","
 *   port       digits, <= 65535; "" or 0 is 21553
 *   heartbeat  digits, <= 4294967295; "" is 0
 *   tos        digits, <= 2147483647; "" is 0
 *   ka_on      "0" and "1", any character last; its decimal prefix,
 *              <= 2147483647 ("1x" is 1)
 */
#include "connection.h"

#include <cstring>

#include "tag_sub.h"
#include "uuid.h"

namespace {

constexpr uint64_t kConnMaxPort = 65535;
constexpr uint64_t kConnMaxHeartbeat = UINT32_MAX;
constexpr uint64_t kConnMaxInt = INT32_MAX;
// Strings shorter than this are cut in a copy on the stack.
constexpr size_t kConnLocalCopy = 256;

// Decimal digits only, at most `max`; "" is 0. Never wraps.
ZEL_RETCODE conn_parseDigits(const char *s, uint64_t max, uint64_t *value) {
    uint64_t v = 0;
    for (; *s != '\0'; ++s) {
        if (*s < '0' || *s > '9') return eINVGSVSPEC;
        v = v * 10 + static_cast<uint64_t>(*s - '0');
        if (v > max) return eINVGSVSPEC;
    }
    *value = v;
    return sOKAY;
}

// "0" and "1" only, but any character may stand last; the value is the
// decimal prefix.
ZEL_RETCODE conn_parseKaOn(const char *s, int32_t *value) {
    const size_t len = std::strlen(s);
    for (size_t i = 0; i + 1 < len; ++i) {
        if (s[i] != '0' && s[i] != '1') return eINVGSVSPEC;
    }
    uint64_t v = 0;
    for (; *s >= '0' && *s <= '9'; ++s) {
        v = v * 10 + static_cast<uint64_t>(*s - '0');
        if (v > kConnMaxInt) return eINVGSVSPEC;
    }
    *value = static_cast<int32_t>(v);
    return sOKAY;
}

// Cuts `s` at its first "," and returns what follows, or null without one.
char *conn_cutAtComma(char *s) {
    char *comma = s != nullptr ? std::strchr(s, ',') : nullptr;
    if (comma == nullptr) return nullptr;
    *comma = '\0';
    return comma + 1;
}

// Replaces the entries by a block of one more; the new entry, zeroed but for
// its type, is the last.
ZEL_RETCODE conn_addEntry(TX_CONN_CTX *ctx, TX_CONN_TYPE_INT type, TX_CONN_INFO **pEntry) {
    TX_CONN_INFO *info = nullptr;
    ZEL_CHECK(b_tag_subAlloc(ctx->subTag, (ctx->num + 1) * sizeof *info, &info));
    if (ctx->num > 0) std::memcpy(info, ctx->info, ctx->num * sizeof *info);
    b_tag_subFreeCanBeNull(ctx->subTag, ctx->info);
    TX_CONN_INFO *entry = &info[ctx->num];
    std::memset(entry, 0, sizeof *entry);
    entry->connType = type;
    ctx->info = info;
    ctx->num++;
    *pEntry = entry;
    return sOKAY;
}

// The TCP form; `address` is cut in place (see the head of the file).
ZEL_RETCODE conn_createTCPConnInfo(TX_CONN_CTX *ctx, char *address) {
    char empty[1] = {'\0'};
    if (address == nullptr) address = empty;
    const bool wholly_empty = address[0] == '\0';
    char *host = address;
    char *rest = address;  // where the ":" is looked for
    if (address[0] == '[') {
        char *close = std::strchr(address, ']');
        if (close != nullptr) {
            *close = '\0';
            host = address + 1;
            rest = close + 1;
        }
    }
    char *colon = std::strchr(rest, ':');
    char *port_text = nullptr;
    if (colon != nullptr) {
        *colon = '\0';
        port_text = colon + 1;
    }
    // The commas come behind the port, or behind the host without one.
    char *heartbeat_text = conn_cutAtComma(port_text != nullptr ? port_text : rest);
    char *tos_text = conn_cutAtComma(heartbeat_text);
    char *ka_on_text = conn_cutAtComma(tos_text);

    TX_TCP_CONN_INFO tcp{};
    uint16_t port = 0;
    uint64_t number = 0;
    ZEL_CHECK(tl_parsePortNumber(port_text != nullptr ? port_text : "", &port));
    tcp.port = port != 0 ? port : GSV_DEFAULT_PORT_INT;
    ZEL_CHECK(conn_parseDigits(heartbeat_text != nullptr ? heartbeat_text : "", kConnMaxHeartbeat,
                               &number));
    tcp.heartbeat = static_cast<uint32_t>(number);
    ZEL_CHECK(conn_parseDigits(tos_text != nullptr ? tos_text : "", kConnMaxInt, &number));
    tcp.tos = static_cast<int32_t>(number);
    ZEL_CHECK(conn_parseKaOn(ka_on_text != nullptr ? ka_on_text : "", &tcp.ka_on));

    // Only a wholly empty address means the default host; an empty host in
    // front of ":" or "," is kept as "".
    if (!wholly_empty) ZEL_CHECK(b_tag_subCopyString(ctx->subTag, host, &tcp.hostname));
    TX_CONN_INFO *entry = nullptr;
    const ZEL_RETCODE rc = conn_addEntry(ctx, TX_TCP_INT, &entry);
    if (rc < 0) {
        b_tag_subFreeCanBeNull(ctx->subTag, tcp.hostname);
        return rc;
    }
    entry->info.tcp = tcp;
    return sOKAY;
}

// The shared memory form: the whole address is the name, "" the default.
ZEL_RETCODE conn_createShmConnInfo(TX_CONN_CTX *ctx, char *address) {
    const char *name = address != nullptr && address[0] != '\0' ? address : GSV_DEFAULT_SHM_NAME;
    char *copy = nullptr;
    ZEL_CHECK(b_tag_subCopyString(ctx->subTag, name, &copy));
    TX_CONN_INFO *entry = nullptr;
    // Frees only its own name: the context is the caller's to free.
    const ZEL_RETCODE rc = conn_addEntry(ctx, TX_SHM_INT, &entry);
    if (rc < 0) {
        b_tag_subFree(ctx->subTag, copy);
        return rc;
    }
    entry->info.shm.name = copy;
    return sOKAY;
}

ZEL_RETCODE conn_createUuidConnInfo(TX_CONN_CTX *ctx, char *address) {
    ZEL_UUID_T uuid;
    ZEL_CHECK(zel_uuidFromString(address != nullptr ? address : "", &uuid));
    TX_CONN_INFO *entry = nullptr;
    ZEL_CHECK(conn_addEntry(ctx, TX_UUID_INT, &entry));
    entry->info.uuid.uuid = uuid;
    return sOKAY;
}

// "gsv": shared memory, and TCP only where shared memory is not implemented.
ZEL_RETCODE conn_createDefaultConnInfo(TX_CONN_CTX *ctx, char *address) {
    const ZEL_RETCODE rc = conn_createShmConnInfo(ctx, address);
    return rc == eNOTIMPLEMENTED ? conn_createTCPConnInfo(ctx, address) : rc;
}

using ConnParser = ZEL_RETCODE (*)(TX_CONN_CTX *ctx, char *address);

struct ConnScheme {
    const char *name;
    ConnParser parse;  // null: refused with `refusal`
    ZEL_RETCODE refusal;
};

constexpr ConnScheme kConnSchemes[] = {
    {"gsv", conn_createDefaultConnInfo, sOKAY}, {"gsv-tcp", conn_createTCPConnInfo, sOKAY},
    {"gsv-shm", conn_createShmConnInfo, sOKAY}, {"gsv-nmp", nullptr, eNOTIMPLEMENTED},
    {"gsv-ud", nullptr, eNOTIMPLEMENTED},       {"gsv-uuid", conn_createUuidConnInfo, sOKAY},
};

// gsvspec, "%s://%s/" of scheme and address, put together
// by hand: this is the one formatted text of every parse.
ZEL_RETCODE conn_setGsvSpec(TX_CONN_CTX *ctx, const char *scheme, const char *address) {
    const size_t scheme_len = std::strlen(scheme), address_len = std::strlen(address);
    char *spec = nullptr;
    ZEL_CHECK(b_tag_subAlloc(ctx->subTag, scheme_len + address_len + 5, &spec));
    char *p = spec;
    std::memcpy(p, scheme, scheme_len);
    p += scheme_len;
    std::memcpy(p, "://", 3);
    p += 3;
    std::memcpy(p, address, address_len);
    p += address_len;
    p[0] = '/';
    p[1] = '\0';
    ctx->gsvspec = spec;
    return sOKAY;
}

// The name behind leading "/"; "" leaves dbname null.
ZEL_RETCODE conn_setDbName(TX_CONN_CTX *ctx, const char *name) {
    while (*name == '/') ++name;
    if (*name == '\0') return sOKAY;
    return b_tag_subCopyString(ctx->subTag, name, &ctx->dbname);
}

// Fills `ctx` from `text`, which it cuts.
ZEL_RETCODE conn_parse(TX_CONN_CTX *ctx, char *text, ZEL_BOOL_T *located) {
    char *sep = std::strstr(text, "://");
    if (sep != nullptr) {
        *sep = '\0';
        const char *scheme = text;
        char *address = sep + 3;
        char *slash = std::strchr(address, '/');  // before the address is parsed
        if (slash != nullptr) *slash = '\0';
        const ConnScheme *found = nullptr;
        for (const ConnScheme &s : kConnSchemes) {
            if (std::strcmp(s.name, scheme) == 0) found = &s;
        }
        if (found == nullptr) return eINVGSVSPEC;
        if (found->parse == nullptr) return found->refusal;
        ZEL_CHECK(found->parse(ctx, address));
        // Deliberate: the address as the parser left it, a TCP host alone.
        ZEL_CHECK(conn_setGsvSpec(ctx, scheme, address));
        if (slash != nullptr) ZEL_CHECK(conn_setDbName(ctx, slash + 1));
        *located = ZEL_TRUE;
        return sOKAY;
    }
    char *at = std::strchr(text, '@');
    if (at != nullptr) {
        *at = '\0';
        ZEL_CHECK(conn_setGsvSpec(ctx, "gsv-tcp", at + 1));
        ZEL_CHECK(conn_createTCPConnInfo(ctx, at + 1));
        *located = ZEL_TRUE;
    } else {
        ZEL_CHECK(conn_setGsvSpec(ctx, "gsv", ""));
        ZEL_CHECK(conn_createDefaultConnInfo(ctx, nullptr));
        *located = ZEL_FALSE;
    }
    return conn_setDbName(ctx, text);
}

const char *conn_hostOrDefault(const char *host) {
    return host != nullptr ? host : GSV_DEFAULT_HOST;
}

const char *conn_shmOrDefault(const char *name) {
    return name != nullptr ? name : GSV_DEFAULT_SHM_NAME;
}

bool conn_sameEntry(const TX_CONN_INFO &a, const TX_CONN_INFO &b) {
    if (a.connType != b.connType) return false;
    if (a.connType == TX_TCP_INT) {
        const uint16_t pa = a.info.tcp.port != 0 ? a.info.tcp.port : GSV_DEFAULT_PORT_INT;
        const uint16_t pb = b.info.tcp.port != 0 ? b.info.tcp.port : GSV_DEFAULT_PORT_INT;
        return pa == pb && std::strcmp(conn_hostOrDefault(a.info.tcp.hostname),
                                       conn_hostOrDefault(b.info.tcp.hostname)) == 0;
    }
    if (a.connType == TX_SHM_INT) {
        return std::strcmp(conn_shmOrDefault(a.info.shm.name),
                           conn_shmOrDefault(b.info.shm.name)) == 0;
    }
    return false;  // deliberate: UUID entries never name the same place
}

}  // namespace

extern "C" {

ZEL_RETCODE tl_parseConnectionUri(const char *uri, B_TAG_SUB subTag, ZEL_BOOL_T *has_location,
                                  TX_CONN_CTX **connCtx) {
    TX_CONN_CTX *ctx = nullptr;
    ZEL_CHECK(b_tag_subAllocZero(subTag, sizeof *ctx, &ctx));
    ctx->subTag = subTag;
    // The copy that the parse cuts: on the stack when it is short.
    const char *src = uri != nullptr ? uri : "";
    const size_t len = std::strlen(src);
    char local[kConnLocalCopy];
    char *text = local;
    ZEL_RETCODE rc = sOKAY;
    if (len < sizeof local) {
        std::memcpy(local, src, len + 1);
    } else {
        rc = b_tag_subAllocCopy(subTag, src, len + 1, &text);
    }
    ZEL_BOOL_T located = ZEL_FALSE;
    if (rc >= 0) {
        rc = conn_parse(ctx, text, &located);
        if (text != local) b_tag_subFree(subTag, text);
    }
    if (rc < 0) {
        tl_freeConnectionInfo(ctx);
        return rc;
    }
    ctx->has_gsvloc = located;
    if (has_location != nullptr) *has_location = located;
    if (connCtx != nullptr) {
        *connCtx = ctx;
    } else {
        tl_freeConnectionInfo(ctx);
    }
    return sOKAY;
}

ZEL_RETCODE tl_parsePortNumber(const char *str, uint16_t *port) {
    if (str == nullptr || port == nullptr) return eINVNULLARG;
    uint64_t v = 0;
    ZEL_CHECK(conn_parseDigits(str, kConnMaxPort, &v));
    *port = static_cast<uint16_t>(v);
    return sOKAY;
}

void tl_freeConnectionInfo(TX_CONN_CTX *ctx) {
    if (ctx == nullptr) return;
    B_TAG_SUB sub = ctx->subTag;
    for (uint32_t i = 0; i < ctx->num; ++i) {
        const TX_CONN_INFO &e = ctx->info[i];
        if (e.connType == TX_TCP_INT) b_tag_subFreeCanBeNull(sub, e.info.tcp.hostname);
        if (e.connType == TX_SHM_INT) b_tag_subFreeCanBeNull(sub, e.info.shm.name);
    }
    b_tag_subFreeCanBeNull(sub, ctx->info);
    b_tag_subFreeCanBeNull(sub, ctx->dbname);
    b_tag_subFreeCanBeNull(sub, ctx->gsvspec);
    b_tag_subFree(sub, ctx);
}

TX_CONN_CTX *tl_copyConnectionInfo(const TX_CONN_CTX *ctx, B_TAG_SUB subTag) {
    if (ctx == nullptr) return nullptr;
    TX_CONN_CTX *copy = nullptr;
    if (b_tag_subAllocZero(subTag, sizeof *copy, &copy) < 0) return nullptr;
    copy->subTag = subTag;
    // Every step leaves `copy` freeable: entries are zeroed before they count.
    auto fill = [&]() -> ZEL_RETCODE {
        if (ctx->num > 0) {
            ZEL_CHECK(b_tag_subAllocZero(subTag, ctx->num * sizeof *copy->info, &copy->info));
            copy->num = ctx->num;
        }
        for (uint32_t i = 0; i < ctx->num; ++i) {
            const TX_CONN_INFO &from = ctx->info[i];
            TX_CONN_INFO &to = copy->info[i];
            to.connType = from.connType;
            if (from.connType == TX_TCP_INT) {
                // Deliberate: tos and ka_on stay 0 in a copy.
                to.info.tcp.port = from.info.tcp.port;
                to.info.tcp.heartbeat = from.info.tcp.heartbeat;
                if (from.info.tcp.hostname != nullptr)
                    ZEL_CHECK(
                        b_tag_subCopyString(subTag, from.info.tcp.hostname, &to.info.tcp.hostname));
            } else if (from.connType == TX_SHM_INT) {
                to.info.shm.seq = from.info.shm.seq;
                if (from.info.shm.name != nullptr)
                    ZEL_CHECK(b_tag_subCopyString(subTag, from.info.shm.name, &to.info.shm.name));
            } else {
                to.info = from.info;
            }
        }
        if (ctx->dbname != nullptr)
            ZEL_CHECK(b_tag_subCopyString(subTag, ctx->dbname, &copy->dbname));
        if (ctx->gsvspec != nullptr)
            ZEL_CHECK(b_tag_subCopyString(subTag, ctx->gsvspec, &copy->gsvspec));
        return sOKAY;
    };
    if (fill() < 0) {
        tl_freeConnectionInfo(copy);
        return nullptr;
    }
    return copy;
}

int tl_compareDatabase(const TX_CONN_CTX *connCtx1, const TX_CONN_CTX *connCtx2) {
    if (connCtx1 == nullptr || connCtx2 == nullptr || connCtx1->dbname == nullptr ||
        connCtx2->dbname == nullptr)
        return -1;
    const int names = std::strcmp(connCtx1->dbname, connCtx2->dbname);
    if (names != 0) return names;
    for (uint32_t i = 0; i < connCtx1->num; ++i) {
        for (uint32_t j = 0; j < connCtx2->num; ++j) {
            if (conn_sameEntry(connCtx1->info[i], connCtx2->info[j])) return 0;
        }
    }
    return -1;
}

const char *tl_connGsvSpec(const TX_CONN_CTX *connCtx) {
    return connCtx != nullptr && connCtx->gsvspec != nullptr ? connCtx->gsvspec : "";
}

ZEL_RETCODE tl_isUuidConnection(const TX_CONN_CTX *connCtx, ZEL_UUID_T *uuid) {
    if (connCtx == nullptr || uuid == nullptr) return eINVNULLARG;
    const TX_CONN_INFO *found = nullptr;
    for (uint32_t i = 0; i < connCtx->num; ++i) {
        if (connCtx->info[i].connType != TX_UUID_INT) continue;
        if (found != nullptr) return sNOTFOUND;  // more than one
        found = &connCtx->info[i];
    }
    if (found == nullptr) return sNOTFOUND;
    *uuid = found->info.uuid.uuid;
    return sOKAY;
}

ZEL_RETCODE tl_connDbName(const TX_CONN_CTX *connCtx, const char **dbName) {
    if (connCtx == nullptr || dbName == nullptr) return eINVNULLARG;
    if (connCtx->dbname == nullptr) return eINVDBNAMESPEC;
    *dbName = connCtx->dbname;
    return sOKAY;
}

}  // extern "C"
