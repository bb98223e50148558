// Connection strings: a table of vectors with the cut of each, the rules kept
// on purpose, comparison, copy, and urllib's view of the well-formed TCP
// subset (test/data/gen_connection.py).
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "connection.h"
#include "oom.h"
#include "tag_fixture.h"
#include "uuid.h"
#include "vectors.h"

namespace {

constexpr const char *kShmDefault = "GSV_DEFAULT_PORT_INT";
constexpr const char *kUuidText = "00112233-4455-6677-8899-aabbccddeeff";

class Conn : public TaggedTest {
  protected:
    TX_CONN_CTX *parse(const char *uri, ZEL_BOOL_T *loc = nullptr) {
        TX_CONN_CTX *ctx = nullptr;
        EXPECT_EQ(tl_parseConnectionUri(uri, sub, loc, &ctx), sOKAY) << uri;
        return ctx;
    }
};

std::string orNull(const char *s) {
    return s == nullptr ? "(null)" : std::string(s);
}

// The opposite of the has_location a successful parse would write, so that a
// write on failure shows.
ZEL_BOOL_T untouchedLocation(const char *uri) {
    return std::strstr(uri, "://") != nullptr || std::strchr(uri, '@') != nullptr ? ZEL_FALSE
                                                                                  : ZEL_TRUE;
}

// One string, what it gives, and how it is cut.
struct Vector {
    const char *uri;
    ZEL_RETCODE rc;
    bool located = false;
    TX_CONN_TYPE_INT type = TX_NONE_INT;
    const char *where = nullptr;  // TCP host or shared memory name
    uint16_t port = 0;
    uint32_t heartbeat = 0;
    int32_t tos = 0, ka_on = 0;
    const char *dbname = nullptr;
    const char *gsvspec = nullptr;
};

constexpr TX_CONN_TYPE_INT TCP = TX_TCP_INT, SHM = TX_SHM_INT;
constexpr const char *NUL = nullptr;

const Vector kVectors[] = {
    // No scheme, no "@": all of it is the name; the default shared memory.
    {"mydb", sOKAY, false, SHM, kShmDefault, 0, 0, 0, 0, "mydb", "gsv:///"},
    {"a//b", sOKAY, false, SHM, kShmDefault, 0, 0, 0, 0, "a//b", "gsv:///"},
    {"///a", sOKAY, false, SHM, kShmDefault, 0, 0, 0, 0, "a", "gsv:///"},  // leading "/" go
    {"", sOKAY, false, SHM, kShmDefault, 0, 0, 0, 0, NUL, "gsv:///"},
    // name "@" address: gsvspec holds the whole address.
    {"mydb@host:1234", sOKAY, true, TCP, "host", 1234, 0, 0, 0, "mydb", "gsv-tcp://host:1234/"},
    // host | ":" 1234 | "," 30 | "," 5 | "," 1
    {"mydb@host:1234,30,5,1", sOKAY, true, TCP, "host", 1234, 30, 5, 1, "mydb",
     "gsv-tcp://host:1234,30,5,1/"},
    // no ":": the host ends at the first ","
    {"db@h,5", sOKAY, true, TCP, "h", 21553, 5, 0, 0, "db", "gsv-tcp://h,5/"},
    // "" before ":" stays "", not localhost
    {"db@:99", sOKAY, true, TCP, "", 99, 0, 0, 0, "db", "gsv-tcp://:99/"},
    // a wholly empty address is the null host
    {"mydb@", sOKAY, true, TCP, NUL, 21553, 0, 0, 0, "mydb", "gsv-tcp:///"},
    {"@host", sOKAY, true, TCP, "host", 21553, 0, 0, 0, NUL, "gsv-tcp://host/"},
    // the first "@" splits: the host is "b@c"
    {"a@b@c:5", sOKAY, true, TCP, "b@c", 5, 0, 0, 0, "a", "gsv-tcp://b@c:5/"},
    // scheme "://" host | ":" 1234 | "/" mydb: gsvspec keeps the host alone
    {"gsv-tcp://host:1234/mydb", sOKAY, true, TCP, "host", 1234, 0, 0, 0, "mydb",
     "gsv-tcp://host/"},
    // "[" ::1 "]" cut | ":" 1234 | "/" x: gsvspec lacks the "]"
    {"gsv-tcp://[::1]:1234/x", sOKAY, true, TCP, "::1", 1234, 0, 0, 0, "x", "gsv-tcp://[::1/"},
    {"gsv-tcp://[::1]/db", sOKAY, true, TCP, "::1", 21553, 0, 0, 0, "db", "gsv-tcp://[::1/"},
    {"gsv-tcp://[::1],7", sOKAY, true, TCP, "::1", 21553, 7, 0, 0, NUL, "gsv-tcp://[::1/"},
    // no closing bracket: the "[" stays in the host
    {"gsv-tcp://[host", sOKAY, true, TCP, "[host", 21553, 0, 0, 0, NUL, "gsv-tcp://[host/"},
    {"gsv-tcp://host", sOKAY, true, TCP, "host", 21553, 0, 0, 0, NUL, "gsv-tcp://host/"},
    {"gsv-tcp:///mydb", sOKAY, true, TCP, NUL, 21553, 0, 0, 0, "mydb", "gsv-tcp:///"},
    // host | ":" "" (empty port is the default)
    {"gsv-tcp://host:", sOKAY, true, TCP, "host", 21553, 0, 0, 0, NUL, "gsv-tcp://host/"},
    {"gsv-tcp://:", sOKAY, true, TCP, "", 21553, 0, 0, 0, NUL, "gsv-tcp:///"},
    {"gsv-tcp://h,5", sOKAY, true, TCP, "h", 21553, 5, 0, 0, NUL, "gsv-tcp://h/"},
    {"gsv-tcp://h:0", sOKAY, true, TCP, "h", 21553, 0, 0, 0, NUL, "gsv-tcp://h/"},
    {"gsv-tcp://h:65535,4294967295,2147483647,0", sOKAY, true, TCP, "h", 65535, 4294967295u,
     2147483647, 0, NUL, "gsv-tcp://h/"},
    // ka_on: "0" and "1", any last character, the decimal prefix
    {"gsv-tcp://h:1,,,1x", sOKAY, true, TCP, "h", 1, 0, 0, 1, NUL, "gsv-tcp://h/"},
    {"gsv-tcp://h:1,,,101", sOKAY, true, TCP, "h", 1, 0, 0, 101, NUL, "gsv-tcp://h/"},
    {"gsv-tcp://h:1,,,12", sOKAY, true, TCP, "h", 1, 0, 0, 12, NUL, "gsv-tcp://h/"},
    {"gsv-tcp://h:1,,,x", sOKAY, true, TCP, "h", 1, 0, 0, 0, NUL, "gsv-tcp://h/"},
    // address | "/" a/b: the name is the rest, further "/" skipped first
    {"gsv-tcp://host:12/a/b", sOKAY, true, TCP, "host", 12, 0, 0, 0, "a/b", "gsv-tcp://host/"},
    {"gsv-tcp://host:12//a", sOKAY, true, TCP, "host", 12, 0, 0, 0, "a", "gsv-tcp://host/"},
    {"gsv-shm:///", sOKAY, true, SHM, kShmDefault, 0, 0, 0, 0, NUL, "gsv-shm:///"},
    {"gsv-shm://my shm/x", sOKAY, true, SHM, "my shm", 0, 0, 0, 0, "x", "gsv-shm://my shm/"},
    // "gsv" is shared memory: "name" is no host
    {"gsv://name/db", sOKAY, true, SHM, "name", 0, 0, 0, 0, "db", "gsv://name/"},
    {"gsv://", sOKAY, true, SHM, kShmDefault, 0, 0, 0, 0, NUL, "gsv:///"},
    // Refusals.
    {"gsv-tcp://host:70000", eINVGSVSPEC},
    {"gsv-tcp://h:65536", eINVGSVSPEC},
    {"gsv-tcp://h:1,4294967296", eINVGSVSPEC},
    {"gsv-tcp://h:1,0,2147483648", eINVGSVSPEC},
    {"gsv-tcp://h:1,,,11111111111", eINVGSVSPEC},  // ka_on past 2147483647
    {"gsv-tcp://h:1,,,x1", eINVGSVSPEC},           // a stray character before the last
    {"db@h:1,2,3,1,1", eINVGSVSPEC},               // ka_on "1,1"
    {"gsv-tcp://h:-1", eINVGSVSPEC},
    {"gsv-tcp://h:1,-5", eINVGSVSPEC},
    {"gsv-tcp://h:1x", eINVGSVSPEC},
    {"gsv-tcp://[::1:1234", eINVGSVSPEC},  // host "[", port ":1:1234"
    {"GSV-TCP://host", eINVGSVSPEC},       // schemes are lower case
    {"ftp://x", eINVGSVSPEC},
    {"gsv-nmp://x", eNOTIMPLEMENTED},
    {"gsv-ud://x", eNOTIMPLEMENTED},
    {"gsv-uuid://nonsense", ePSP_INVUUID},
};

TEST_F(Conn, Vectors) {
    for (const Vector &v : kVectors) {
        SCOPED_TRACE(v.uri);
        TX_CONN_CTX *ctx = reinterpret_cast<TX_CONN_CTX *>(1);
        ZEL_BOOL_T loc = untouchedLocation(v.uri);
        ASSERT_EQ(tl_parseConnectionUri(v.uri, sub, &loc, &ctx), v.rc);
        if (v.rc != sOKAY) {
            EXPECT_EQ(ctx, reinterpret_cast<TX_CONN_CTX *>(1));
            EXPECT_EQ(loc, untouchedLocation(v.uri));
            continue;
        }
        EXPECT_EQ(loc == ZEL_TRUE, v.located);
        EXPECT_EQ(ctx->has_gsvloc, loc);
        EXPECT_EQ(ctx->subTag, sub);
        ASSERT_EQ(ctx->num, 1u);
        const TX_CONN_INFO &e = ctx->info[0];
        ASSERT_EQ(e.connType, v.type);
        if (v.type == TX_TCP_INT) {
            EXPECT_EQ(orNull(e.info.tcp.hostname), orNull(v.where));
            EXPECT_EQ(e.info.tcp.port, v.port);
            EXPECT_EQ(e.info.tcp.heartbeat, v.heartbeat);
            EXPECT_EQ(e.info.tcp.tos, v.tos);
            EXPECT_EQ(e.info.tcp.ka_on, v.ka_on);
        } else {
            EXPECT_EQ(orNull(e.info.shm.name), orNull(v.where));
            EXPECT_EQ(e.info.shm.seq, 0u);
        }
        EXPECT_EQ(orNull(ctx->dbname), orNull(v.dbname));
        EXPECT_STREQ(tl_connGsvSpec(ctx), v.gsvspec);
        tl_freeConnectionInfo(ctx);
        // Without a place for the context it is parsed and freed.
        EXPECT_EQ(tl_parseConnectionUri(v.uri, sub, nullptr, nullptr), sOKAY);
    }
}

TEST_F(Conn, NullCountsAsEmpty) {
    ZEL_BOOL_T loc = ZEL_TRUE;
    TX_CONN_CTX *ctx = parse(nullptr, &loc);
    ASSERT_NE(ctx, nullptr);
    EXPECT_EQ(loc, ZEL_FALSE);
    EXPECT_STREQ(ctx->info[0].info.shm.name, kShmDefault);
    const char *name = "untouched";
    EXPECT_EQ(tl_connDbName(ctx, &name), eINVDBNAMESPEC);
    EXPECT_STREQ(name, "untouched");
    tl_freeConnectionInfo(ctx);
}

TEST_F(Conn, Uuid) {
    TX_CONN_CTX *ctx = parse((std::string("gsv-uuid://{") + kUuidText + "}/db").c_str());
    ASSERT_NE(ctx, nullptr);
    ZEL_UUID_T want, got;
    ASSERT_EQ(zel_uuidFromString(kUuidText, &want), sOKAY);
    ASSERT_EQ(tl_isUuidConnection(ctx, &got), sOKAY);
    EXPECT_EQ(std::memcmp(&want, &got, sizeof got), 0);
    EXPECT_EQ(std::string(tl_connGsvSpec(ctx)), std::string("gsv-uuid://{") + kUuidText + "}/");
    // UUID entries never name the same place, not even the same UUID.
    TX_CONN_CTX *same = parse((std::string("gsv-uuid://") + kUuidText + "/db").c_str());
    EXPECT_EQ(tl_compareDatabase(ctx, same), -1);
    // Two UUID entries are not "exactly one".
    TX_CONN_INFO two[2] = {ctx->info[0], same->info[0]};
    TX_CONN_INFO *own = ctx->info;
    ctx->info = two;
    ctx->num = 2;
    EXPECT_EQ(tl_isUuidConnection(ctx, &got), sNOTFOUND);
    ctx->info = own;
    ctx->num = 1;
    tl_freeConnectionInfo(same);
    tl_freeConnectionInfo(ctx);

    TX_CONN_CTX *tcp = parse("db@h");
    EXPECT_EQ(tl_isUuidConnection(tcp, &got), sNOTFOUND);
    EXPECT_EQ(tl_isUuidConnection(nullptr, &got), eINVNULLARG);
    tl_freeConnectionInfo(tcp);
}

TEST(ConnPort, DigitsOnlyAndNoWrap) {
    struct {
        const char *text;
        ZEL_RETCODE rc;
        uint16_t port;
    } const cases[] = {{"", sOKAY, 0},
                       {"0", sOKAY, 0},
                       {"80", sOKAY, 80},
                       {"65535", sOKAY, 65535},
                       {"065535", sOKAY, 65535},
                       {"65536", eINVGSVSPEC, 0},
                       {"18446744073709551617", eINVGSVSPEC, 0},
                       {" 1", eINVGSVSPEC, 0},
                       {"+1", eINVGSVSPEC, 0},
                       {"1a", eINVGSVSPEC, 0}};
    for (const auto &c : cases) {
        uint16_t port = 4711;
        EXPECT_EQ(tl_parsePortNumber(c.text, &port), c.rc) << c.text;
        EXPECT_EQ(port, c.rc == sOKAY ? c.port : 4711) << c.text;
    }
    uint16_t port;
    EXPECT_EQ(tl_parsePortNumber(nullptr, &port), eINVNULLARG);
    EXPECT_EQ(tl_parsePortNumber("1", nullptr), eINVNULLARG);
}

TEST_F(Conn, CompareByNameThenPlace) {
    struct {
        const char *a, *b;
        int want;  // 0 same; -1 different place; 2: a name difference (sign of strcmp)
    } const cases[] = {
        {"db@h:21553", "gsv-tcp://h/db", 0},
        {"db@", "db@localhost", 0},       // the null host is localhost
        {"db@:5", "db@localhost:5", -1},  // "" is not
        {"db@h:5", "db@h:6", -1},
        {"db", "gsv-shm:///db", 0},  // both the default shared memory name
        {"db", "gsv://GSV_DEFAULT_PORT_INT/db", 0},
        {"db", "gsv://other/db", -1},
        {"db", "db@h", -1},  // different transports
        {"db@h", "@h", -1},  // a missing name on either side
        {"@h", "db@h", -1},
        {"a@h", "b@h", 2},
    };
    for (const auto &c : cases) {
        TX_CONN_CTX *a = parse(c.a), *b = parse(c.b);
        const int got = tl_compareDatabase(a, b);
        if (c.want == 2) {
            EXPECT_EQ(got, std::strcmp("a", "b")) << c.a << " | " << c.b;
        } else {
            EXPECT_EQ(got, c.want) << c.a << " | " << c.b;
        }
        tl_freeConnectionInfo(a);
        tl_freeConnectionInfo(b);
    }
    // Port 0 stands for 21553, a null shared memory name for the default.
    TX_CONN_CTX *a = parse("db@h:21553"), *b = parse("db@h");
    b->info[0].info.tcp.port = 0;
    EXPECT_EQ(tl_compareDatabase(a, b), 0);
    TX_CONN_CTX *c = parse("db"), *d = parse("db");
    b_tag_subFree(sub, d->info[0].info.shm.name);
    d->info[0].info.shm.name = nullptr;
    EXPECT_EQ(tl_compareDatabase(c, d), 0);
    // No entries in the first: no match.
    const uint32_t num = a->num;
    a->num = 0;
    EXPECT_EQ(tl_compareDatabase(a, b), -1);
    a->num = num;
    EXPECT_EQ(tl_compareDatabase(nullptr, b), -1);
    for (TX_CONN_CTX *x : {a, b, c, d}) tl_freeConnectionInfo(x);
}

TEST_F(Conn, CopyIsDeepAndDeliberatelyPartial) {
    TX_CONN_CTX *ctx = parse("mydb@host:1234,30,5,1");
    TX_CONN_CTX *copy = tl_copyConnectionInfo(ctx, sub);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->has_gsvloc, ZEL_FALSE);  // not copied
    ASSERT_EQ(copy->num, 1u);
    const TX_TCP_CONN_INFO &t = copy->info[0].info.tcp;
    EXPECT_STREQ(t.hostname, "host");
    EXPECT_NE(t.hostname, ctx->info[0].info.tcp.hostname);
    EXPECT_EQ(t.port, 1234);
    EXPECT_EQ(t.heartbeat, 30u);
    EXPECT_EQ(t.tos, 0);  // tos and ka_on come out 0
    EXPECT_EQ(t.ka_on, 0);
    EXPECT_STREQ(copy->dbname, "mydb");
    EXPECT_NE(copy->dbname, ctx->dbname);
    EXPECT_STREQ(copy->gsvspec, "gsv-tcp://host:1234,30,5,1/");
    EXPECT_NE(copy->gsvspec, ctx->gsvspec);
    EXPECT_EQ(tl_compareDatabase(copy, ctx), 0);
    tl_freeConnectionInfo(copy);
    tl_freeConnectionInfo(ctx);
    EXPECT_EQ(tl_copyConnectionInfo(nullptr, sub), nullptr);
}

TEST_F(Conn, UrllibVectors) {
    const auto rows = vectors_read("good-connection-tcp.txt", '\t');
    for (const VectorRow &row : rows) {
        const std::string &uri = row[0], &host = row[1], &dbname = row[3];
        const unsigned long port = std::stoul(row[2]);
        TX_CONN_CTX *ctx = parse(uri.c_str());
        ASSERT_NE(ctx, nullptr);
        ASSERT_EQ(ctx->info[0].connType, TX_TCP_INT);
        EXPECT_EQ(orNull(ctx->info[0].info.tcp.hostname), host) << uri;
        EXPECT_EQ(ctx->info[0].info.tcp.port, port) << uri;
        EXPECT_EQ(orNull(ctx->dbname), dbname) << uri;
        tl_freeConnectionInfo(ctx);
    }
    EXPECT_GT(rows.size(), 200u);
}

TEST_F(Conn, OutOfMemory) {
    // The last string is long enough for its working copy to come from the tag.
    const std::string longName = "gsv-tcp://h:1/" + std::string(300, 'n');
    for (const char *uri :
         {"mydb", "mydb@host:1234,30,5,1", "gsv-tcp://[::1]:1234/x", "gsv-shm://name/db",
          "gsv-uuid://00112233-4455-6677-8899-aabbccddeeff/u", longName.c_str()}) {
        SCOPED_TRACE(uri);
        auto op = [&] {
            TX_CONN_CTX *ctx = reinterpret_cast<TX_CONN_CTX *>(1);
            ZEL_BOOL_T loc = untouchedLocation(uri);
            const ZEL_RETCODE rc = tl_parseConnectionUri(uri, sub, &loc, &ctx);
            if (rc == sOKAY) {
                tl_freeConnectionInfo(ctx);
            } else {
                EXPECT_EQ(ctx, reinterpret_cast<TX_CONN_CTX *>(1));
                EXPECT_EQ(loc, untouchedLocation(uri));
            }
            return rc;
        };
        EXPECT_GT(oom_check(master, {sub}, op), 0);
        TX_CONN_CTX *ctx = nullptr;
        if (tl_parseConnectionUri(uri, sub, nullptr, &ctx) != sOKAY) continue;
        auto copy = [&] {
            TX_CONN_CTX *c = tl_copyConnectionInfo(ctx, sub);
            if (c == nullptr) return eNOMEMORY;
            EXPECT_EQ(std::string(tl_connGsvSpec(c)), tl_connGsvSpec(ctx));
            tl_freeConnectionInfo(c);
            return sOKAY;
        };
        EXPECT_GT(oom_check(master, {sub}, copy), 0);
        tl_freeConnectionInfo(ctx);
    }
}

}  // namespace
