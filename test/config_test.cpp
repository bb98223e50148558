// Configurations and settings: the defaults and the order of the
// initialisers, the setters of every shape (one table each), the key/value
// processing of every scope and form with its edge cases and the behaviours
// kept on purpose, the output with each scope's list worked out by hand, a
// round trip over generated values of every option, and every allocating
// function under allocation failures.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "config.h"
#include "config_internal.h"
#include "config_output.h"
#include "config_process.h"
#include "keyvalue.h"
#include "oom.h"
#include "options.h"
#include "tag_fixture.h"

namespace {

struct Records {
    ZEL_GSV_CONFIGURATION gsv{};
    ZEL_DB_CONFIGURATION db{};
    ZEL_DB_GSV_CONFIGURATION dbGsv{};
    ZEL_SQL_OPTIONS sql{};
    ZEL_DB_SETTINGS dbS{};
    ZEL_DB_GSV_SETTINGS dbGsvS{};
    ZEL_SQL_SETTINGS sqlS{};
    ZEL_GSV handle{{nullptr, nullptr}, GSV_TYPE_DEFAULT};
};

enum Form { kServer, kDb, kDbS, kDbGsv, kDbGsvS, kSql, kSqlS };

std::string text(const char *s) {
    return s != nullptr ? s : "<null>";
}

// Every field, blank-separated, for comparing records.
template <class... T>
std::string fields(const T &...v) {
    std::ostringstream o;
    auto one = [&o](const auto &x) {
        if constexpr (std::is_convertible_v<decltype(x), const char *>) {
            o << text(x) << ' ';
        } else if constexpr (std::is_same_v<std::decay_t<decltype(x)>, double>) {
            o << std::hexfloat << x << std::defaultfloat << ' ';
        } else {
            o << +x << ' ';
        }
    };
    (one(v), ...);
    return o.str();
}
std::string dump(const ZEL_SQL_OPTIONS &c) {
    return fields(c.autocommit, c.useSnapshot, c.date_format, c.date_sep, c.time_format, c.wildAll,
                  c.wildOne, c.reserveBytes, c.distinctCacheSize, c.groupByCacheSize,
                  c.orderByCacheSize, c.optSortFactor, c.cacheSlots, c.debugOpt, c.optThreshold,
                  c.transDefault, c.defaultOpenMode, c.ignoreImpError, c.genProcCFile, c.optParams,
                  c.transIsoLevel, c.roundingMode);
}
std::string dump(const ZEL_DB_CONFIGURATION &c) {
    return fields(c.locale, c.db_user_id, c.procs_dir, c.error_format, c.row_format, c.item_format,
                  c.cache_size, c.time_zone, c.unicode_enabled, c.tx_test, c.obj_compress_method,
                  c.obj_compress_min_size, c.bytes_per_utf8_char);
}
std::string dump(const ZEL_DB_GSV_CONFIGURATION &c) {
    return fields(c.db_size, c.vacuum_percentage, c.vacuum_read_chunk_size,
                  c.vacuum_write_chunk_size, c.vacuum_wait, c.pack_write_chunk_size,
                  c.pack_file_size, c.idindex_flush_threshold_on_close, c.idindex_flush_threshold,
                  c.idindex_cache_size, c.storage_media, c.durability, c.rebuild_idindex, c.drop,
                  c.lock_timeout);
}
std::string dump(const ZEL_GSV_CONFIGURATION &c) {
    return fields(c.rd_only, c.tos, c.keepalive, c.ka_on, c.logcategory, c.logerrlevel,
                  c.logfilelevel, c.logfile, c.name, c.docroot, c.transportBitmap, c.type,
                  c.start_listener);
}
// A settings record is all texts.
template <class Rec>
std::string dump(const Rec &s) requires(sizeof(Rec) % sizeof(char *) == 0) {
    std::string out;
    char *const *texts = reinterpret_cast<char *const *>(&s);
    for (size_t i = 0; i < sizeof s / sizeof(char *); ++i) out += text(texts[i]) + ";";
    return out;
}
std::string dump(const Records &x) {
    return dump(x.sql) + dump(x.db) + dump(x.dbGsv) + dump(x.gsv) + dump(x.sqlS) + dump(x.dbS) +
           dump(x.dbGsvS);
}

const ZEL_CONFIG_OPT_KEY *key(const char *name) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    const ZEL_CONFIG_OPT_KEY *k = nullptr;
    EXPECT_EQ(b_optionGetKey(name, keys, n, &k), sOKAY) << name;
    return k;
}

class ConfigTest : public TaggedTest {
  protected:
    void SetUp() override {
        TaggedTest::SetUp();
        reset(r);
        dir = std::filesystem::temp_directory_path() /
              ("zelbase_config_test_" + std::to_string(getpid()));
        std::filesystem::create_directories(dir);
    }
    void TearDown() override {
        release(r);
        std::filesystem::remove_all(dir);
        TaggedTest::TearDown();
    }
    void reset(Records &x) {
        release(x);
        x = Records{};
        ASSERT_EQ(b_optionInitializeGSV(&x.gsv), sOKAY);
        ASSERT_EQ(b_optionInitializeDbHandle(&x.db, nullptr, sub), sOKAY);
        ASSERT_EQ(b_optionInitializeDbGSV(&x.dbGsv), sOKAY);
        ASSERT_EQ(b_configInitializeSQL(&x.sql, &x.sqlS, sub), sOKAY);
    }
    void release(Records &x) {
        b_optionCleanGSVConfig(&x.gsv, sub);
        b_optionCleanDbHandleConfig(&x.db, sub);
        b_optionFreeDbHandleSettings(&x.dbS, sub);
        b_optionFreeDbGSVSettings(&x.dbGsvS, sub);
        b_optionFreeSQLSettings(&x.sqlS, sub);
    }

    ZEL_RETCODE processKey(Form f, const B_KEYVALUE_T *kv, const ZEL_CONFIG_OPT_KEY *k,
                           Records &x) {
        switch (f) {
            case kServer:
                return b_optionProcessGSVConfigKeyValue(&x.gsv, kv, k, sub);
            case kDb:
                return b_optionProcessDbHandleConfigKeyValue(&x.db, kv, k, sub);
            case kDbS:
                return b_optionProcessDbHandleSettingKeyValue(&x.dbS, kv, k, sub);
            case kDbGsv:
                return b_optionProcessDbGSVConfigKeyValue(&x.dbGsv, kv, k, sub);
            case kDbGsvS:
                return b_optionProcessDbGSVSettingKeyValue(&x.dbGsvS, kv, k, sub);
            case kSql:
                return b_optionProcessSQLConfigKeyValue(&x.sql, kv, k, sub);
            case kSqlS:
                return b_optionProcessSQLSettingKeyValue(&x.sqlS, kv, k, sub);
        }
        return eFAIL;
    }

    // Every key of `kvText` through the function of `f`: the first code
    // other than sOKAY, or sOKAY.
    ZEL_RETCODE process(Form f, const std::string &kvText, Records &x) {
        B_KEYVALUE_T kv;
        EXPECT_EQ(b_keyvalueInit(&kv, kvText.c_str(), ZEL_FALSE, sub), sOKAY) << kvText;
        ZEL_RETCODE first = sOKAY;
        for (const B_AVL_NODE_T *n = b_avlFirst(&kv.avl); n != nullptr; n = b_avlNext(n)) {
            const ZEL_RETCODE rc =
                processKey(f, &kv, key(reinterpret_cast<const B_KV *>(n)->key), x);
            if (rc != sOKAY && first == sOKAY) first = rc;
        }
        b_keyvalueTerm(&kv);
        return first;
    }
    ZEL_RETCODE process(Form f, const std::string &kvText) { return process(f, kvText, r); }

    // The value of option `name` in the records of `f` as the output writes
    // it; "<null>" for none. The server's fields are shown by the catalogue.
    std::string value(Form f, const char *name, const Records &x) {
        const ZEL_CONFIG_OPT_KEY *k = key(name);
        char *s = nullptr;
        ZEL_RETCODE rc;
        if (f == kServer) {
            const auto *field =
                reinterpret_cast<const char *>(&x.gsv) + zel::detail::cfg_option(k)->confOffset;
            rc = b_optionBufferIntoString(name, field, &s, sub);
        } else if (f == kDbS || f == kDbGsvS || f == kSqlS) {
            rc = b_optionSettingsIntoString(k, &x.handle, &x.dbS, &x.dbGsvS, &x.sqlS, sub, &s);
        } else {
            rc = b_optionConfigurationIntoString(k, &x.handle, &x.db, &x.dbGsv, &x.sql, sub, &s);
        }
        if (rc == sNOTFOUND) return "<null>";
        EXPECT_EQ(rc, sOKAY) << name;
        std::string out = text(s);
        b_tag_subFreeCanBeNull(sub, s);
        return out;
    }
    std::string value(Form f, const char *name) { return value(f, name, r); }

    // The list of all options of a scope, or of those named, in either form.
    std::string list(bool settings, uint32_t mask, const Records &x, const char *keywords = nullptr,
                     size_t size = 4096, ZEL_RETCODE expect = sOKAY) {
        std::vector<char> buf(size + 1);
        size_t n = 0;
        const ZEL_RETCODE rc =
            settings ? b_optionGetSettingsIntoString(keywords, mask, &x.handle, &x.sqlS, &x.dbS,
                                                     &x.dbGsvS, size, sub, nullptr, buf.data(), &n)
                     : b_optionGetConfigurationValuesIntoString(keywords, mask, &x.handle, &x.sql,
                                                                &x.db, &x.dbGsv, size, sub, nullptr,
                                                                buf.data(), &n);
        EXPECT_EQ(rc, expect) << (keywords ? keywords : "");
        EXPECT_TRUE(rc != sOKAY || n == std::strlen(buf.data()) + 1);
        return rc == sOKAY || rc == sTRUNCATE ? buf.data() : "";
    }

    Records r;
    std::filesystem::path dir;
};

// ---- Defaults and initialisers.

// The defaults as list-all strings worked out by hand in table order:
//   ';'.join('%s=%s' % kv for kv in [('autocommit', 'false'),
//       ('dateformat', 'YYYY-MM-DD'), ('debugmode', '%d' % 0), ...,
//       ('sortcostfactor', '%G' % 6.2e-5), ..., ('wildall', "'%c'" % '%'),
//       ('wildone', "'%c'" % '_')])
// with sizes as '%u', pack_file_size '%u' % (134217728 * 16), timeout and
// time_zone '%d', a null text as ''. The server's configuration is not read
// by the output: only "gsvtype", from the handle.
TEST_F(ConfigTest, DefaultsAsListAllStrings) {
    EXPECT_EQ(list(false, ZEL_OPT_SCOPE_SQL, r),
              "autocommit=false;dateformat=YYYY-MM-DD;debugmode=0;defaultopenmode=SHARED;"
              "defaulttransaction=UPDATE;distinctcachesize=10000;generateproccfile=false;"
              "groupbycachesize=10000;ignoreimporterrors=false;optimizeparameters=true;"
              "optthreshold=0;orderbycachesize=10000;reservebytes=0;"
              "roundingmode=NEAREST_TIES_TO_EVEN;slotspercachenode=64;snapshotmode=MANUAL;"
              "sortcostfactor=6.2E-05;timeformat=HH:MM:SS.FFFF;transactionisolevel=SERIALIZABLE;"
              "wildall='%';wildone='_'");
    EXPECT_EQ(list(false, ZEL_OPT_SCOPE_DB, r),
              "bytes_per_utf8_char=4;cache_size=20000;dbuserid=;error_format=;"
              "item_format=COMPACT;locale=;obj_compress_method=LZMA;obj_compress_min_size=4096;"
              "procs_dir=;time_zone=0;txtest=false;unicode_enabled=false");
    EXPECT_EQ(list(false, ZEL_OPT_SCOPE_DB_GSV, r),
              "db_size=21474836480;drop=false;durability=DURABLE;idindex_cache_size=65536000;"
              "idindex_flush_threshold=655360;idindex_flush_threshold_on_close=163840;"
              "pack_file_size=2147483648;pack_write_chunk_size=131072;rebuild_idindex=false;"
              "storage=;timeout=10;vacuum_percentage=20;vacuum_read_chunk_size=655360;"
              "vacuum_write_chunk_size=65536");
    EXPECT_EQ(list(false, ZEL_OPT_SCOPE_GSV, r), "gsvtype=DEFAULT");
    // Unset settings are written with the empty value; the server has none.
    EXPECT_EQ(list(true, ZEL_OPT_SCOPE_DB_GSV, r),
              "db_size=;drop=;durability=;idindex_cache_size=;idindex_flush_threshold=;"
              "idindex_flush_threshold_on_close=;pack_file_size=;pack_write_chunk_size=;"
              "rebuild_idindex=;storage=;timeout=;vacuum_percentage=;vacuum_read_chunk_size=;"
              "vacuum_write_chunk_size=");
    EXPECT_EQ(list(true, ZEL_OPT_SCOPE_GSV, r), "");
    // Mask 0: every scope in table order, reserved keywords and the server's
    // configuration left out.
    const std::string all = list(false, 0, r);
    EXPECT_EQ(all.rfind("autocommit=false;bytes_per_utf8_char=4;cache_size=20000;dateformat=", 0),
              0u);
    EXPECT_EQ(all.find("btreeuse"), std::string::npos);
    EXPECT_NE(all.find(";storage=;gsvtype=DEFAULT;time_zone=0;"), std::string::npos);
    // What the output does not show.
    EXPECT_EQ(fields(r.db.row_format, r.dbGsv.vacuum_wait, r.dbGsv.pack_file_size),
              "1 3600000 134217728 ");
    EXPECT_EQ(dump(r.gsv), "0 0 0 0 65535 3 3 <null> <null> <null> 3 3 0 ");
    r.sql.debugProc = ZEL_TRUE;
    ASSERT_EQ(b_configInitializeSQL(&r.sql, &r.sqlS, sub), sOKAY);
    EXPECT_EQ(r.sql.debugProc, ZEL_TRUE);  // not touched
    EXPECT_EQ(b_configInitializeSQL(&r.sql, nullptr, sub), eINVNULLARG);
}

// A key without a value goes back to exactly what the initialiser gives.
TEST_F(ConfigTest, EmptyValueResetsToTheInitialDefault) {
    const std::string defaults = dump(r);
    ASSERT_EQ(process(kSql,
                      "autocommit=y;dateformat=MM/DD/YYYY;debugmode=4;defaultopenmode=readonly;"
                      "defaulttransaction=read;distinctcachesize=500;generateproccfile=1;"
                      "groupbycachesize=500;ignoreimporterrors=on;optimizeparameters=0;"
                      "optthreshold=9;orderbycachesize=500;reservebytes=5;roundingmode=UP;"
                      "slotspercachenode=9;snapshotmode=auto;sortcostfactor=0.5;"
                      "timeformat=HH;transactionisolevel=read_committed;wildall=*;"
                      "wildone=?"),
              sOKAY);
    ASSERT_EQ(process(kDb,
                      "bytes_per_utf8_char=1;cache_size=500;dbuserid=u;error_format=%E;"
                      "item_format=expanded;locale=fr;obj_compress_method=none;"
                      "obj_compress_min_size=200;time_zone=60;txtest=yes;procs_dir=" +
                          dir.string()),
              sOKAY);
    ASSERT_EQ(process(kDbGsv,
                      "db_size=1;drop=y;durability=unsafe;idindex_cache_size=11;"
                      "idindex_flush_threshold=1;idindex_flush_threshold_on_close=1;"
                      "pack_file_size=10485760;pack_write_chunk_size=1;rebuild_idindex=y;"
                      "storage=ondisk;timeout=1;vacuum_percentage=1;"
                      "vacuum_read_chunk_size=1;vacuum_write_chunk_size=1"),
              sOKAY);
    ASSERT_EQ(process(kServer,
                      "docroot=/d;keep_alive_on=y;listen=y;logfile=/l;name=n;readonly=y;"
                      "sharedmem=n;tcp=n;gsvtype=hybrid;tos=4"),
              sOKAY);
    EXPECT_NE(dump(r), defaults);
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    std::string empty[5];
    for (uint32_t i = 0; i < n; ++i)
        empty[(keys[i].value & ZEL_OPT_SCOPE_MASK) >> 20] += keys[i].name + std::string("=;");
    EXPECT_EQ(process(kSql, empty[4]), sOKAY);
    EXPECT_EQ(process(kDb, empty[2]), sOKAY);
    EXPECT_EQ(process(kDbGsv, empty[3]), sOKAY);
    // Kept: the log's options go to the log's parser, which refuses null.
    EXPECT_EQ(process(kServer, empty[1]), eNOTFOUND);
    EXPECT_EQ(dump(r), defaults);
}

// Each setting is applied in its turn: with the k-th one bad, those before it
// are set and those after it are not.
TEST_F(ConfigTest, SqlInitialiserOrder) {
    struct Step {
        char *ZEL_SQL_SETTINGS::*field;
        const char *option, *good, *shown, *bad;
    };
    const Step steps[] = {
        {&ZEL_SQL_SETTINGS::autocommit, "autocommit", "yes", "true", "maybe"},
        {&ZEL_SQL_SETTINGS::date_format, "dateformat", "DD.MM.YYYY", "DD.MM.YYYY", "YY"},
        {&ZEL_SQL_SETTINGS::time_format, "timeformat", "hh:mm", "HH:MM", "x"},
        {&ZEL_SQL_SETTINGS::distinctCacheSize, "distinctcachesize", "500", "500", "5"},
        {&ZEL_SQL_SETTINGS::groupByCacheSize, "groupbycachesize", "501", "501", "5"},
        {&ZEL_SQL_SETTINGS::orderByCacheSize, "orderbycachesize", "502", "502", "5"},
        {&ZEL_SQL_SETTINGS::cacheSlots, "slotspercachenode", "10", "10", "4"},
        {&ZEL_SQL_SETTINGS::wildAll, "wildall", "*", "'*'", "**"},
        {&ZEL_SQL_SETTINGS::wildOne, "wildone", "?", "'?'", ""},
        {&ZEL_SQL_SETTINGS::optSortFactor, "sortcostfactor", "0.5", "0.5", "0"},
        {&ZEL_SQL_SETTINGS::optThreshold, "optthreshold", "7", "7", "7x"},
        {&ZEL_SQL_SETTINGS::debugOpt, "debugmode", "-3", "-3", "2147483648"},
        {&ZEL_SQL_SETTINGS::transDefault, "defaulttransaction", "read", "READ", "x"},
        {&ZEL_SQL_SETTINGS::defaultOpenMode, "defaultopenmode", "EXCLUSIVE", "EXCLUSIVE", "x"},
        {&ZEL_SQL_SETTINGS::reserveBytes, "reservebytes", "99", "99", "-1"},
        // The three booleans in the order of the record.
        {&ZEL_SQL_SETTINGS::ignoreImpError, "ignoreimporterrors", "y", "true", "x"},
        {&ZEL_SQL_SETTINGS::genProcCFile, "generateproccfile", "on", "true", "x"},
        {&ZEL_SQL_SETTINGS::optParams, "optimizeparameters", "off", "false", "x"},
        {&ZEL_SQL_SETTINGS::transIsoLevel, "transactionisolevel", "READ_UNCOMMITTED",
         "READ_UNCOMMITTED", "SNAPSHOT"},
        {&ZEL_SQL_SETTINGS::roundingMode, "roundingmode", "DOWN", "DOWN", "x"},
        {&ZEL_SQL_SETTINGS::useSnapshot, "snapshotmode", "auto", "AUTO", "x"},
    };
    const Records defaults = r;
    for (size_t bad = 0; bad <= std::size(steps); ++bad) {
        ZEL_SQL_SETTINGS s{};
        for (size_t i = 0; i < std::size(steps); ++i)
            s.*steps[i].field = const_cast<char *>(i == bad ? steps[i].bad : steps[i].good);
        EXPECT_EQ(b_configInitializeSQL(&r.sql, &s, sub) < 0, bad < std::size(steps)) << bad;
        for (size_t i = 0; i < std::size(steps); ++i)
            EXPECT_EQ(value(kSql, steps[i].option),
                      i < bad ? steps[i].shown : value(kSql, steps[i].option, defaults))
                << "bad " << bad << ", option " << steps[i].option;
    }
}

TEST_F(ConfigTest, DbInitialiserAppliesSettingsAndKeepsTheOddity) {
    ZEL_DB_SETTINGS s{};
    char locale[] = "de_DE", user[] = "me", fmt[] = "%E %S", none[] = "NONE", tz[] = "900";
    const std::string procs = dir.string();
    s.locale = locale;  // copied: the setter takes what it is given
    s.db_user_id = user;
    s.procs_dir = const_cast<char *>(procs.c_str());
    s.error_format = fmt;
    s.time_zone = tz;              // kept: ignored by the text form
    s.bytes_per_utf8_char = none;  // kept: the compression method
    ASSERT_EQ(b_optionInitializeDbHandle(&r.db, &s, sub), sOKAY);
    EXPECT_EQ(dump(r.db), "de_DE me " + procs + " %E %S 1 16 20000 0 0 0 1 4096 4 ");
    char lzma[] = "LZMA", two[] = "2";
    ZEL_DB_SETTINGS only{};
    only.bytes_per_utf8_char = lzma;
    b_optionCleanDbHandleConfig(&r.db, sub);
    ASSERT_EQ(b_optionInitializeDbHandle(&r.db, &only, sub), sOKAY);
    EXPECT_EQ(fields(r.db.obj_compress_method, r.db.bytes_per_utf8_char), "2 4 ");
    only.bytes_per_utf8_char = two;
    EXPECT_EQ(b_optionInitializeDbHandle(&r.db, &only, sub), eINVOPTIONVALUE);
    // A failure stops it with the fields before it set.
    char bad[] = "%Q";
    s.error_format = bad;
    EXPECT_EQ(b_optionInitializeDbHandle(&r.db, &s, sub), eINVSTRING);
    EXPECT_EQ(dump(r.db), "de_DE me " + procs + " <null> 1 16 20000 0 0 0 2 4096 4 ");
}

// ---- Setters, one table per shape.

template <class Rec, class T>
void checkRange(const char *name, ZEL_RETCODE (*set)(Rec *, T),
                ZEL_RETCODE (*fromText)(Rec *, const char *), T Rec::*field, int64_t lo,
                uint64_t hi, ZEL_RETCODE err) {
    SCOPED_TRACE(name);
    Rec rec{};
    if (lo > INT64_MIN && std::in_range<T>(lo - 1)) {
        EXPECT_EQ(set(&rec, static_cast<T>(lo - 1)), err);
    }
    if (std::cmp_less(hi, std::numeric_limits<T>::max())) {
        EXPECT_EQ(set(&rec, static_cast<T>(hi + 1)), err);
    }
    EXPECT_EQ(rec.*field, T{});
    EXPECT_EQ(set(nullptr, static_cast<T>(hi)), sOKAY);  // a check
    EXPECT_EQ(set(&rec, static_cast<T>(lo)), sOKAY);
    EXPECT_EQ(rec.*field, static_cast<T>(lo));
    EXPECT_EQ(set(&rec, static_cast<T>(hi)), sOKAY);
    EXPECT_EQ(rec.*field, static_cast<T>(hi));
    if (fromText == nullptr) return;
    EXPECT_EQ(fromText(&rec, std::to_string(static_cast<T>(lo)).c_str()), sOKAY);
    EXPECT_EQ(rec.*field, static_cast<T>(lo));
    EXPECT_EQ(fromText(&rec, "12x"), eINVLITERAL);
    EXPECT_EQ(fromText(&rec, "2K"), eINVLITERAL);  // no multipliers here
    EXPECT_EQ(fromText(&rec, nullptr), eINVNULLARG);
    EXPECT_EQ(
        fromText(&rec, std::is_signed_v<T> ? "-99999999999999999999" : "18446744073709551615"),
        sizeof(T) == 8 && std::is_unsigned_v<T> ? sOKAY : eRANGE);
}

#define RANGE(Rec, Name, T, field, lo, hi, err) \
    checkRange<Rec, T>(#Name, b_configSet##Name, nullptr, &Rec::field, lo, hi, err)
#define RANGE_TEXT(Rec, Name, T, field, lo, hi, err)                                             \
    checkRange<Rec, T>(#Name, b_configSet##Name, b_configSet##Name##FromString, &Rec::field, lo, \
                       hi, err)

// (The sizes of the database in the server without bounds take any value;
// the round trip covers them.)
TEST(ConfigSetters, Numbers) {
    constexpr uint64_t u32 = UINT32_MAX;
    RANGE_TEXT(ZEL_SQL_OPTIONS, ReserveBytes, size_t, reserveBytes, 0, UINT64_MAX, eINVOPTIONVALUE);
    // Kept: the SQL caches answer eSQL_CACHESIZE, the database's eINVOPTIONVALUE.
    RANGE_TEXT(ZEL_SQL_OPTIONS, DistinctCacheSize, uint32_t, distinctCacheSize, 100, u32,
               eSQL_CACHESIZE);
    RANGE_TEXT(ZEL_SQL_OPTIONS, GroupByCacheSize, uint32_t, groupByCacheSize, 100, u32,
               eSQL_CACHESIZE);
    RANGE_TEXT(ZEL_SQL_OPTIONS, OrderByCacheSize, uint32_t, orderByCacheSize, 100, u32,
               eSQL_CACHESIZE);
    RANGE_TEXT(ZEL_DB_CONFIGURATION, CacheSize, uint32_t, cache_size, 100, u32, eINVOPTIONVALUE);
    RANGE_TEXT(ZEL_SQL_OPTIONS, SlotsPerCacheNode, uint32_t, cacheSlots, 5, 1023, eINVOPTIONVALUE);
    RANGE_TEXT(ZEL_SQL_OPTIONS, DebugMode, int32_t, debugOpt, INT32_MIN, INT32_MAX,
               eINVOPTIONVALUE);
    RANGE_TEXT(ZEL_SQL_OPTIONS, OptThreshold, int32_t, optThreshold, INT32_MIN, INT32_MAX,
               eINVOPTIONVALUE);
    RANGE_TEXT(ZEL_DB_CONFIGURATION, ObjCompressMinSize, uint32_t, obj_compress_min_size, 160, u32,
               eINVOPTIONVALUE);
    RANGE(ZEL_DB_CONFIGURATION, BytesPerUTF8Char, uint32_t, bytes_per_utf8_char, 1, 4,
          eINVOPTIONVALUE);
    RANGE(ZEL_DB_GSV_CONFIGURATION, VacuumPercentage, uint32_t, vacuum_percentage, 0, 100,
          eINVOPTIONVALUE);
    RANGE(ZEL_DB_GSV_CONFIGURATION, IdindexCacheSize, uint32_t, idindex_cache_size, 10, u32,
          eINVOPTIONVALUE);
    RANGE_TEXT(ZEL_GSV_CONFIGURATION, TOS, int32_t, tos, 0, 255, eINVOPTIONVALUE);
}

// The booleans' setters are one line each; their text forms read the
// boolean words (the round trip reads them all) and refuse others.
template <class Rec>
void checkBool(const char *name, ZEL_RETCODE (*fromText)(Rec *, const char *),
               ZEL_BOOL_T Rec::*field) {
    SCOPED_TRACE(name);
    Rec rec{};
    EXPECT_EQ(fromText(&rec, "ON"), sOKAY);
    EXPECT_EQ(fromText(&rec, "maybe"), eINVOPTIONVALUE);
    EXPECT_EQ(fromText(&rec, nullptr), eINVNULLARG);
    EXPECT_EQ(rec.*field, ZEL_TRUE);
}

#define BOOL_TEXT(Rec, Name, field) \
    checkBool<Rec>(#Name, b_configSet##Name##FromString, &Rec::field)

TEST(ConfigSetters, Booleans) {
    BOOL_TEXT(ZEL_SQL_OPTIONS, Autocommit, autocommit);
    BOOL_TEXT(ZEL_SQL_OPTIONS, GenProcCFile, genProcCFile);
    BOOL_TEXT(ZEL_SQL_OPTIONS, OptimizeParameters, optParams);
    BOOL_TEXT(ZEL_SQL_OPTIONS, IgnoreImpError, ignoreImpError);
    BOOL_TEXT(ZEL_DB_CONFIGURATION, TxTest, tx_test);
    BOOL_TEXT(ZEL_GSV_CONFIGURATION, Listen, start_listener);
    BOOL_TEXT(ZEL_GSV_CONFIGURATION, Readonly, rd_only);
}

// Every value of the domain's table is taken, and the words read as the
// catalogue says (read, or refused with `badWord`); `outside`, a value of
// the enumeration's range but not of the table, is refused (-1: none).
template <class Rec, class T>
void checkWord(const char *name, ZEL_RETCODE (*set)(Rec *, T),
               ZEL_RETCODE (*fromText)(Rec *, const char *), T Rec::*field, ZEL_OPT_WORDS words,
               ZEL_RETCODE badWord, int32_t outside) {
    SCOPED_TRACE(name);
    uint32_t n = 0;
    const ZEL_OPT_WORD *rows = b_optionGetWords(words, &n, nullptr);
    Rec rec{};
    for (uint32_t i = 0; i < n; ++i) {
        EXPECT_EQ(set(&rec, static_cast<T>(rows[i].value)), sOKAY) << rows[i].word;
        EXPECT_EQ(rec.*field, static_cast<T>(rows[i].value));
        if (fromText == nullptr) continue;
        const T before = rec.*field;
        const bool read = (rows[i].use & ZEL_OPT_WORD_READ) != 0;
        EXPECT_EQ(fromText(&rec, rows[i].word), read ? sOKAY : badWord) << rows[i].word;
        EXPECT_EQ(rec.*field, read ? static_cast<T>(rows[i].value) : before) << rows[i].word;
    }
    if (outside >= 0) {
        EXPECT_EQ(set(&rec, static_cast<T>(outside)), eINVOPTIONVALUE);
    }
    if (fromText != nullptr) {
        EXPECT_EQ(fromText(&rec, "no such word"), badWord);
    }
}

#define WORD(Rec, Name, T, field, words, outside)                                             \
    checkWord<Rec, T>(#Name, b_configSet##Name, nullptr, &Rec::field, words, eINVOPTIONVALUE, \
                      outside)
#define WORD_TEXT(Rec, Name, T, field, words, bad, outside)                                        \
    checkWord<Rec, T>(#Name, b_configSet##Name, b_configSet##Name##FromString, &Rec::field, words, \
                      bad, outside)

TEST(ConfigSetters, Words) {
    WORD_TEXT(ZEL_SQL_OPTIONS, TransDefault, ZEL_TRANS_TYPE, transDefault, ZEL_OPT_WORDS_TRANS_TYPE,
              eINVOPTIONVALUE, 1);
    WORD_TEXT(ZEL_SQL_OPTIONS, DefaultOpenMode, ZEL_OPEN_MODE, defaultOpenMode,
              ZEL_OPT_WORDS_OPEN_MODE, eINVOPTIONVALUE, 3);
    WORD_TEXT(ZEL_SQL_OPTIONS, TransIsoLevel, ZSQL_TRANS_LEVEL, transIsoLevel,
              ZEL_OPT_WORDS_ISO_LEVEL, eINVOPTIONVALUE, 5);
    WORD_TEXT(ZEL_SQL_OPTIONS, RoundingMode, ZEL_BCD_ROUNDING_MODE, roundingMode,
              ZEL_OPT_WORDS_ROUNDING, eINVOPTIONVALUE, 5);
    // Kept: "buffer" is compared and refused.
    WORD_TEXT(ZEL_DB_CONFIGURATION, RowFormat, ZEL_ROW_FORMAT, row_format, ZEL_OPT_WORDS_ROW_FORMAT,
              eINVOPTIONVALUE, 0);
    WORD(ZEL_DB_GSV_CONFIGURATION, Durability, ZEL_TRANS_DURABILITY, durability,
         ZEL_OPT_WORDS_DURABILITY, 3);
    WORD(ZEL_DB_GSV_CONFIGURATION, StorageMedia, ZEL_PRIVATE_STORAGE_MEDIA, storage_media,
         ZEL_OPT_WORDS_STORAGE, 1);
    WORD_TEXT(ZEL_GSV_CONFIGURATION, GSVType, GSV_TYPE, type, ZEL_OPT_WORDS_GSV_TYPE,
              eINVOPTIONVALUE, -1);
    // The log's own parser reads its words: "none" is no level there.
    WORD_TEXT(ZEL_GSV_CONFIGURATION, StderrLogLevel, B_LOG_LEVEL, logerrlevel,
              ZEL_OPT_WORDS_LOG_LEVEL, eNOTFOUND, 4);
    WORD_TEXT(ZEL_GSV_CONFIGURATION, LogfileLogLevel, B_LOG_LEVEL, logfilelevel,
              ZEL_OPT_WORDS_LOG_LEVEL, eNOTFOUND, 4);
    WORD_TEXT(ZEL_GSV_CONFIGURATION, LogCategory, B_LOG_CATEGORY, logcategory,
              ZEL_OPT_WORDS_LOG_CATEGORY, eNOTFOUND, 2);
}

// The setters written by hand, and the differences kept on purpose.
TEST(ConfigSetters, Singular) {
    ZEL_SQL_OPTIONS sql{};
    EXPECT_EQ(b_configSetDateFormat(&sql, static_cast<ZEL_DATE_FORMAT>(4), '/'), eINVDATEFMT);
    EXPECT_EQ(b_configSetDateFormat(&sql, ZEL_MMDDYYYY, ':'), eINVDATESEP);
    EXPECT_EQ(b_configSetTimeFormat(&sql, static_cast<ZEL_TIME_FORMAT>(8)), eINVTIMEFMT);
    EXPECT_EQ(b_configSetWildOne(&sql, '%'), eBADWILDONE);
    EXPECT_EQ(b_configSetSortCost(&sql, std::nan("")), eSQL_SORTCOST);
    // Kept: a text that gives 0 is no sort cost, "0" included; "" is 0.
    EXPECT_EQ(b_configSetSortCostFromString(&sql, "0"), eINVSTRING);
    EXPECT_EQ(b_configSetSortCostFromString(&sql, ""), sOKAY);
    EXPECT_EQ(sql.optSortFactor, 0.0);
    ZEL_DB_CONFIGURATION db{};
    // Kept: the text form ignores a 16-bit zone outside +-840.
    EXPECT_EQ(b_configSetTimeZoneFromString(&db, "-840"), sOKAY);
    EXPECT_EQ(b_configSetTimeZoneFromString(&db, "-32768"), sOKAY);
    EXPECT_EQ(db.time_zone, -840);
    EXPECT_EQ(b_configSetTimeZoneFromString(&db, "32768"), eRANGE);
    EXPECT_EQ(b_configSetTimeZone(&db, 900), eRANGE);
    EXPECT_EQ(b_configSetObjCompressMethod(&db, "zip"), eINVOPTIONVALUE);
    ZEL_DB_GSV_CONFIGURATION g{};
    EXPECT_EQ(b_configSetPackFileSize(&g, 2147483649u), eINVOPTIONVALUE);

    ZEL_GSV_CONFIGURATION s{};
    // Kept: ka_on is 1 for any value but 0.
    EXPECT_EQ(b_configSetKeepAliveOn(&s, 7), sOKAY);
    EXPECT_EQ(s.ka_on, 1);
    EXPECT_EQ(b_configSetTCP(&s, ZEL_TRUE), sOKAY);
    EXPECT_EQ(b_configSetSharedMemoryFromString(&s, "yes"), sOKAY);
    EXPECT_EQ(b_configSetTCP(&s, ZEL_FALSE), sOKAY);
    EXPECT_EQ(s.transportBitmap, TX_SHM_INT);
}

TEST_F(ConfigTest, TextsTakenCopiedAndChecked) {
    auto copy = [this](const char *t) {
        char *p = nullptr;
        EXPECT_EQ(b_tag_subCopyString(sub, t, &p), sOKAY);
        return p;
    };
    EXPECT_EQ(b_configSetLocale(&r.db, copy("fr"), sub), sOKAY);
    EXPECT_EQ(b_configSetLocale(&r.db, copy("it"), sub), sOKAY);  // the former freed
    EXPECT_EQ(b_configSetDbUserId(&r.db, copy("u"), sub), sOKAY);
    EXPECT_EQ(b_configSetDbUserId(&r.db, nullptr, sub), sOKAY);
    char *badFormat = copy("%E%x");
    EXPECT_EQ(b_configSetErrorFormat(&r.db, badFormat, sub), eINVSTRING);  // still ours
    b_tag_subFree(sub, badFormat);
    EXPECT_EQ(b_configSetErrorFormat(&r.db, copy("%A%C%D%E%F%I%L%N%S%T%t"), sub), sOKAY);
    EXPECT_EQ(b_configSetErrorFormat(nullptr, const_cast<char *>("%"), sub), eINVSTRING);
    std::string huge(4096, 'x');
    EXPECT_EQ(b_configSetErrorFormat(nullptr, huge.data(), sub), eSTRTOOLONG);
    huge.pop_back();
    EXPECT_EQ(b_configSetErrorFormat(nullptr, huge.data(), sub), sOKAY);
    // The directory is kept as an absolute path; empty or null clears.
    const std::string abs = dir.string(), rel = std::filesystem::relative(dir).string();
    EXPECT_EQ(b_configSetProcsDir(&r.db, rel.c_str(), sub), sOKAY);
    EXPECT_EQ(std::string(r.db.procs_dir), std::filesystem::current_path().string() + "/" + rel);
    EXPECT_EQ(b_configSetProcsDir(&r.db, (abs + "/").c_str(), sub), sOKAY);
    EXPECT_EQ(b_configSetProcsDir(&r.db, (abs + "/none").c_str(), sub), eFILENOENTRY);
    EXPECT_EQ(dump(r.db),
              "it <null> " + abs + " %A%C%D%E%F%I%L%N%S%T%t 1 16 20000 0 0 0 2 4096 4 ");
    EXPECT_EQ(b_configSetProcsDir(&r.db, "", sub), sOKAY);
    EXPECT_EQ(r.db.procs_dir, nullptr);
    EXPECT_EQ(b_configSetNameFromString(&r.gsv, "srv", sub), sOKAY);
    EXPECT_EQ(b_configSetDocrootFromString(&r.gsv, "/d", sub), sOKAY);
    EXPECT_EQ(b_configSetLogFile(&r.gsv, copy("/l"), sub), sOKAY);
    EXPECT_EQ(b_configSetNameFromString(&r.gsv, nullptr, sub), sOKAY);
    EXPECT_EQ(dump(r.gsv), "0 0 0 0 65535 3 3 /l <null> /d 3 3 0 ");
}

TEST_F(ConfigTest, SettingsSetters) {
    EXPECT_EQ(b_settingsSetTimeout(&r.dbGsvS, -1, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetDbSize(&r.dbGsvS, UINT64_MAX, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetDrop(&r.dbGsvS, ZEL_TRUE, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetVacuumPercentage(&r.dbGsvS, 100, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetVacuumPercentage(&r.dbGsvS, 101, ZEL_FALSE, sub), eINVOPTIONVALUE);
    EXPECT_EQ(b_settingsSetIdindexCacheSize(&r.dbGsvS, 9, ZEL_FALSE, sub), eINVOPTIONVALUE);
    // Kept: the settings form has no upper bound for the pack file.
    EXPECT_EQ(b_settingsSetPackFileSize(&r.dbGsvS, 4000000000u, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetPackFileSize(&r.dbGsvS, 10485759, ZEL_FALSE, sub), eINVOPTIONVALUE);
    EXPECT_EQ(b_settingsSetDurability(&r.dbGsvS, "Consistent", sub), sOKAY);
    EXPECT_EQ(b_settingsSetStorageMediaFromString(&r.dbGsvS, "inmemory_load", sub), sOKAY);
    EXPECT_EQ(b_settingsSetStorageMediaFromString(&r.dbGsvS, "tape", sub), eINVOPTIONVALUE);
    EXPECT_EQ(dump(r.dbGsvS),
              "18446744073709551615;100;<null>;<null>;<null>;<null>;4000000000;<null>;<null>;"
              "<null>;inmemory_load;Consistent;<null>;true;-1;");
    EXPECT_EQ(b_settingsSetDrop(&r.dbGsvS, ZEL_FALSE, ZEL_TRUE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetDurability(&r.dbGsvS, nullptr, sub), sOKAY);
    EXPECT_EQ(fields(r.dbGsvS.drop, r.dbGsvS.durability), "<null> <null> ");
    EXPECT_EQ(b_settingsSetTimeZone(&r.dbS, -60, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(b_settingsSetTimeZone(&r.dbS, 900, ZEL_FALSE, sub), eRANGE);
    EXPECT_EQ(b_settingsSetProcsDir(&r.dbS, dir.c_str(), sub), sOKAY);
    EXPECT_EQ(b_settingsSetProcsDir(&r.dbS, "/no/such/dir", sub), eFILENOENTRY);
    EXPECT_EQ(fields(r.dbS.procs_dir, r.dbS.time_zone), dir.string() + " -60 ");
    EXPECT_EQ(b_settingsSetProcsDir(&r.dbS, nullptr, sub), sOKAY);
    EXPECT_EQ(r.dbS.procs_dir, nullptr);
    EXPECT_EQ(b_settingsSetTimeout(nullptr, -2, ZEL_FALSE, sub), eINVOPTIONVALUE);  // a check
}

// ---- Key/value processing.

TEST_F(ConfigTest, ProcessingEdgeCases) {
    const std::string procs = "procs_dir=" + dir.string();
    const struct {
        Form form;
        const char *before;  // processed first, or null
        const char *kv;
        ZEL_RETCODE rc;
        const char *option;
        const char *shown;  // the option's value afterwards
    } cases[] = {
        {kDb, "cache_size=500", "cache_size=", sOKAY, "cache_size", "20000"},
        {kDb, nullptr, "cache_size=50", eINVOPTIONVALUE, "cache_size", "20000"},
        {kDb, nullptr, "cache_size=1,2", eINVOPTIONVALUE, "cache_size", "20000"},
        {kDb, nullptr, "cache_size=abc", eINVLITERAL, "cache_size", "20000"},
        {kDb, nullptr, "cache_size=2K", sOKAY, "cache_size", "2000"},
        {kDb, nullptr, "cache_size=4294967296", eINVOPTIONVALUE, "cache_size", "20000"},
        // Kept: settings keep the user's text.
        {kDbS, nullptr, "cache_size=2K", sOKAY, "cache_size", "2K"},
        {kDbS, "cache_size=2K", "cache_size=", sOKAY, "cache_size", "<null>"},
        {kDbS, nullptr, "cache_size=50", eINVOPTIONVALUE, "cache_size", "<null>"},
        {kDbGsv, "pack_file_size=20971520", "pack_file_size=", sOKAY, "pack_file_size",
         "2147483648"},
        {kDbGsv, nullptr, "pack_file_size=1024", eINVOPTIONVALUE, "pack_file_size", "2147483648"},
        {kDbGsv, nullptr, "pack_file_size=10485761", sOKAY, "pack_file_size", "10485760"},
        {kDb, nullptr, "unicode_enabled=yes", eNOTIMPLEMENTED, "unicode_enabled", "false"},
        {kDbGsv, nullptr, "timeout=-1", sOKAY, "timeout", "-1"},
        {kDbGsv, nullptr, "timeout=-2", eINVOPTIONVALUE, "timeout", "10"},
        {kSql, nullptr, "wildall=a", eBADWILDALL, "wildall", "'%'"},
        {kSqlS, nullptr, "wildall=a", eBADWILDALL, "wildall", "<null>"},
        // Kept: a list for the date format is eINVDATEFMT.
        {kSql, nullptr, "dateformat=a,b", eINVDATEFMT, "dateformat", "YYYY-MM-DD"},
        {kSqlS, nullptr, "dateformat=a,b", eINVDATEFMT, "dateformat", "<null>"},
        {kSql, nullptr, "dateformat=dd.mm.yyyy", sOKAY, "dateformat", "DD.MM.YYYY"},
        {kSql, nullptr, "distinctcachesize=50", eSQL_CACHESIZE, "distinctcachesize", "10000"},
        {kSql, nullptr, "orderbycachesize=1,2", eINVOPTIONVALUE, "orderbycachesize", "10000"},
        {kSql, nullptr, "sortcostfactor=0", eINVSTRING, "sortcostfactor", "6.2E-05"},
        {kSqlS, nullptr, "sortcostfactor=abc", eINVOPTIONVALUE, "sortcostfactor", "<null>"},
        {kSql, nullptr, "sortcostfactor=2", eSQL_SORTCOST, "sortcostfactor", "6.2E-05"},
        {kSql, "sortcostfactor=0.5", "sortcostfactor=", sOKAY, "sortcostfactor", "6.2E-05"},
        {kSql, nullptr, "transactionisolevel=REPEATABLE_READ", eINVOPTIONVALUE,
         "transactionisolevel", "SERIALIZABLE"},
        {kSql, nullptr, "defaultopenmode=readwrite", sOKAY, "defaultopenmode", "SHARED"},
        {kSql, nullptr, "snapshotmode=sometimes", eBADSNAPSHOTMODE, "snapshotmode", "MANUAL"},
        {kSql, nullptr, "cache_size=500", eINVOPTION, "distinctcachesize", "10000"},
        {kDb, nullptr, "btreeuse=1", eINVOPTION, "cache_size", "20000"},
        {kDb, nullptr, "time_zone=841", eINVOPTIONVALUE, "time_zone", "0"},
        {kDb, nullptr, "time_zone=40000", eINVOPTIONVALUE, "time_zone", "0"},
        {kDb, nullptr, "bytes_per_utf8_char=5", eINVOPTIONVALUE, "bytes_per_utf8_char", "4"},
        {kDb, nullptr, "item_format=EXPANDED", sOKAY, "item_format", "EXPANDED"},
        {kDb, nullptr, "error_format=%Q", eINVSTRING, "error_format", ""},
        {kDbS, nullptr, "error_format=%Q", eINVOPTIONVALUE, "error_format", "<null>"},
        {kDb, nullptr, "locale='en US'", sOKAY, "locale", "en US"},
        {kDb, nullptr, "procs_dir=/no/such/dir", eFILENOENTRY, "procs_dir", ""},
        {kDb, procs.c_str(), "procs_dir=", sOKAY, "procs_dir", ""},
        {kDbGsv, "storage=ondisk", "storage=", sOKAY, "storage", ""},
        {kDbGsv, nullptr, "storage=inmemory_keep", sOKAY, "storage", "INMEMORY_KEEP"},
        {kDbGsv, nullptr, "durability=unsafe", sOKAY, "durability", "UNSAFE"},
        {kDbGsvS, nullptr, "durability=unsafe", sOKAY, "durability", "unsafe"},
        {kDbGsv, nullptr, "db_size=1T", sOKAY, "db_size", "1000000000000"},
        // Kept: an empty log option goes to the log as null, which finds nothing.
        {kServer, nullptr, "logerrlevel=", eNOTFOUND, "logerrlevel", "info"},
        {kServer, nullptr, "logfilelevel=none", eNOTFOUND, "logfilelevel", "info"},
        {kServer, nullptr, "logcategory=DDL", sOKAY, "logcategory", "ddl"},
        {kServer, nullptr, "gsvtype=server", sOKAY, "gsvtype", "EMBED"},
        {kServer, nullptr, "tos=256", eINVOPTIONVALUE, "tos", "0"},
        {kServer, "tcp=off", "tcp=", sOKAY, "tcp", "true"},
        {kServer, nullptr, "keep_alive_on=yes", sOKAY, "keep_alive_on", "true"},
    };
    for (const auto &c : cases) {
        reset(r);
        if (c.before != nullptr) {
            ASSERT_EQ(process(c.form, c.before), sOKAY) << c.before;
        }
        EXPECT_EQ(process(c.form, c.kv), c.rc) << c.kv;
        EXPECT_EQ(value(c.form, c.option), c.shown) << c.kv;
    }
    B_KEYVALUE_T kv;
    ASSERT_EQ(b_keyvalueInit(&kv, "autocommit=yes", ZEL_FALSE, sub), sOKAY);
    // A key the map does not hold: nothing to do.
    EXPECT_EQ(b_optionProcessSQLConfigKeyValue(&r.sql, &kv, key("debugmode"), sub), sNOTFOUND);
    EXPECT_EQ(b_optionProcessSQLSettingKeyValue(&r.sqlS, &kv, key("wildall"), sub), sNOTFOUND);
    EXPECT_EQ(b_optionProcessSQLConfigKeyValue(nullptr, &kv, key("autocommit"), sub), eINVNULLARG);
    // A key equal to a row of the table but not one of them is found by value.
    const ZEL_CONFIG_OPT_KEY own = {"autocommit", ZEL_OPT_AUTOCOMMIT};
    EXPECT_EQ(b_optionProcessSQLConfigKeyValue(&r.sql, &kv, &own, sub), sOKAY);
    EXPECT_EQ(r.sql.autocommit, ZEL_TRUE);
    b_keyvalueTerm(&kv);
}

TEST_F(ConfigTest, DbGsvOptionString) {
    const struct {
        const char *kv, *option;
        ZEL_RETCODE rc;
        const char *out;
    } rows[] = {
        {"durability=Unsafe", "durability", sOKAY, "durability=Unsafe"},
        {"storage=", "storage", sKVNOVALUE, nullptr},
        {"obj_compress_method=lzma", "obj_compress_method", sOKAY, "obj_compress_method=lzma"},
        {"pack_file_size=20M", "pack_file_size", sOKAY, "pack_file_size=20000000"},
        {"pack_file_size=1K", "pack_file_size", eINVOPTIONVALUE, nullptr},
        {"db_size=3G", "db_size", sOKAY, "db_size=3000000000"},
        {"drop=yes", "drop", sOKAY, "drop=1"},
        {"rebuild_idindex=off", "rebuild_idindex", sOKAY, "rebuild_idindex=0"},
        {"timeout=-1", "timeout", sOKAY, "timeout=-1"},
        {"timeout=1,2", "timeout", eINVOPTIONVALUE, nullptr},
        {"cache_size=500", "cache_size", eINVOPTION, nullptr},
        {"drop=yes", "timeout", sNOTFOUND, nullptr},
    };
    for (const auto &row : rows) {
        B_KEYVALUE_T kv;
        ASSERT_EQ(b_keyvalueInit(&kv, row.kv, ZEL_FALSE, sub), sOKAY);
        char *s = nullptr;
        EXPECT_EQ(b_optionGetDbGsvConfigOptString(&kv, key(row.option), sub, &s), row.rc) << row.kv;
        EXPECT_EQ(text(s), text(row.out)) << row.kv;
        b_tag_subFreeCanBeNull(sub, s);
        b_keyvalueTerm(&kv);
    }
}

// ---- Output.

TEST_F(ConfigTest, OneValue) {
    const ZEL_GSV hybrid = {{nullptr, nullptr}, GSV_TYPE_HYBRID};
    auto one = [&](const char *name, const ZEL_GSV *gsv, bool settings, bool records) {
        char *s = nullptr;
        const ZEL_RETCODE rc =
            settings ? b_optionSettingsIntoString(key(name), gsv, records ? &r.dbS : nullptr,
                                                  &r.dbGsvS, &r.sqlS, sub, &s)
                     : b_optionConfigurationIntoString(key(name), gsv, records ? &r.db : nullptr,
                                                       &r.dbGsv, &r.sql, sub, &s);
        const std::string out = std::to_string(rc) + ":" + text(s);
        b_tag_subFreeCanBeNull(sub, s);
        return out;
    };
    // "gsvtype" from the handle, null without one; no other server key.
    // sNOTFOUND 10000, eINVOPTION -10069, eINVOPTIONVALUE -10070.
    EXPECT_EQ(one("gsvtype", &hybrid, false, true), "0:HYBRID");
    EXPECT_EQ(one("gsvtype", nullptr, false, true), "10000:<null>");
    EXPECT_EQ(one("tos", &hybrid, false, true), "0:<null>");
    EXPECT_EQ(one("gsvtype", &hybrid, true, true), "0:<null>");
    EXPECT_EQ(one("cache_size", &hybrid, false, false), "10000:<null>");
    EXPECT_EQ(one("cache_size", &hybrid, true, true), "10000:<null>");
    EXPECT_EQ(one("btreeuse", &hybrid, false, true), "-10069:<null>");
    r.db.item_format = static_cast<ZEL_ITEM_FORMAT>(99);
    EXPECT_EQ(one("item_format", &hybrid, false, true), "-10070:<null>");

    char buf[16] = "junk";
    size_t n = 0;
    EXPECT_EQ(b_optionGetSettingIntoString("CACHE_SIZE", nullptr, nullptr, nullptr, nullptr,
                                           sizeof buf, sub, buf, &n),
              sOKAY);
    EXPECT_EQ(fields(buf, n), " 1 ");
    EXPECT_EQ(b_optionGetConfigurationValueIntoString("timeformat", nullptr, &r.sql, nullptr,
                                                      nullptr, 5, sub, buf, &n),
              sTRUNCATE);
    EXPECT_EQ(n, 14u);  // "HH:MM:SS.FFFF"
    EXPECT_EQ(b_optionGetConfigurationValueIntoString("dateformat", nullptr, nullptr, nullptr,
                                                      nullptr, sizeof buf, sub, buf, &n),
              sNOTFOUND);
    EXPECT_EQ(b_optionGetConfigurationValueIntoString("time", nullptr, &r.sql, nullptr, nullptr,
                                                      sizeof buf, sub, buf, &n),
              eINVOPTION);
}

TEST(ConfigAppend, BufferAndMeasure) {
    char buf[32] = "";
    size_t n = 0;
    // Ruling: the first item goes into a buffer that holds "".
    EXPECT_EQ(b_optionAppendToString("a", "1", buf, sizeof buf, &n), sOKAY);
    EXPECT_EQ(b_optionAppendToString(nullptr, "xyz", buf, sizeof buf, &n), sOKAY);
    EXPECT_STREQ(buf, "a=1;xyz");
    EXPECT_EQ(n, 8u);
    // Ruling: without room the buffer stands, *bytesOut is the length + 1.
    EXPECT_EQ(b_optionAppendToString("name", "value", buf, 12, &n), sTRUNCATE);
    EXPECT_STREQ(buf, "a=1;xyz");
    EXPECT_EQ(n, 19u);
    // A zero-sized buffer adds up the size over calls: "a=1;xyz;name=value".
    size_t need = 0;
    EXPECT_EQ(b_optionAppendToString("a", "1", nullptr, 0, &need), sOKAY);
    EXPECT_EQ(b_optionAppendToString(nullptr, "xyz", buf, 0, &need), sOKAY);
    EXPECT_EQ(b_optionAppendToString("name", "value", nullptr, 0, &need), sOKAY);
    EXPECT_EQ(need, 19u);
    EXPECT_EQ(b_optionAppendToString("a", "1", nullptr, 0, nullptr), eINVNULLARG);
}

TEST_F(ConfigTest, ListsByKeywordsAndMask) {
    ASSERT_EQ(process(kSqlS, "autocommit=on;slotspercachenode=1K"), sOKAY);
    ASSERT_EQ(process(kDb, "locale=fr"), sOKAY);
    // Named, mask 0: the values alone, in the order given; with a mask the
    // names, other scopes skipped.
    EXPECT_EQ(list(false, 0, r, "locale;cache_size TCP;timeout"), "fr;20000;10");
    EXPECT_EQ(list(false, ZEL_OPT_SCOPE_SQL, r, ";locale;;autocommit;"), "autocommit=false");
    EXPECT_EQ(list(false, 0, r, "locale cache_size", 6, sTRUNCATE), "fr");
    EXPECT_EQ(list(false, 0, r, "locale 'x'", 64, eSYNTAX), "");
    EXPECT_EQ(list(false, 0, r, "locale nothing", 64, eINVOPTION), "");
    EXPECT_EQ(list(false, 0, r, "btreeuse", 64, eINVOPTION), "");
    char buf[64];
    size_t n = 0;
    EXPECT_EQ(b_optionGetConfigurationValuesIntoString("locale", 0, nullptr, nullptr, nullptr,
                                                       nullptr, sizeof buf, sub, nullptr, buf, &n),
              sNOTFOUND);
    EXPECT_EQ(b_optionGetConfigurationValuesIntoString(nullptr, 0, nullptr, nullptr, nullptr,
                                                       nullptr, sizeof buf, sub, nullptr, buf, &n),
              sOKAY);
    EXPECT_EQ(fields(buf, n), " 1 ");  // no record: nothing
    // Settings: the names always; an unset one named ends the walk.
    EXPECT_EQ(list(true, 0, r, "slotspercachenode autocommit"),
              "slotspercachenode=1K;autocommit=on");
    EXPECT_EQ(list(true, 0, r, "autocommit wildall", 64, sNOTFOUND), "");
    EXPECT_EQ(list(true, 0, r, "gsvtype"), "");
    // Measuring first, then the exact size; one byte less is sTRUNCATE.
    size_t need = 0;
    EXPECT_EQ(b_optionGetConfigurationValuesIntoString(nullptr, 0, &r.handle, &r.sql, &r.db,
                                                       &r.dbGsv, 0, sub, nullptr, nullptr, &need),
              sOKAY);
    std::vector<char> all(need);
    for (size_t size : {need, need - 1}) {
        EXPECT_EQ(
            b_optionGetConfigurationValuesIntoString(nullptr, 0, &r.handle, &r.sql, &r.db, &r.dbGsv,
                                                     size, sub, nullptr, all.data(), &n),
            size == need ? sOKAY : sTRUNCATE);
        EXPECT_EQ(n, need);
    }
}

// ---- Round trip over generated values of every option.
//
// Not round trips, on purpose: the log level "none" (written, not read by
// the log), sort costs below 5e-7 or with more than six decimals (the
// key/value reader writes numbers by "%f"), texts with blanks (glued) or
// other characters of the key/value grammar; so the generator keeps to the
// rest.
class Generator {
  public:
    Generator(uint64_t seed, std::string dir) : rng_(seed), dir_(std::move(dir)) {}

    std::string value(const ZEL_CONFIG_OPT_KEY &k) {
        const ZEL_OPT_INFO *info = b_optionGetInfo(k.value);
        const std::string name = k.name;
        switch (info->kind) {
            case ZEL_OPT_KIND_BOOLEAN:
                if (name == "unicode_enabled") return pick({"no", "false", "0", "OFF"});
                return pick({"yes", "no", "ON", "off", "true", "False", "1", "0", "y", "n"});
            case ZEL_OPT_KIND_UINT64: {
                const uint64_t v = std::uniform_int_distribution<uint64_t>()(rng_);
                return std::to_string(uniform(0, 3) == 0 ? v / 1000000 : v);
            }
            case ZEL_OPT_KIND_INT16:
            case ZEL_OPT_KIND_INT32:
            case ZEL_OPT_KIND_UINT32: {
                const bool u = info->kind == ZEL_OPT_KIND_UINT32;  // int16 has bounds
                const int64_t lo = info->hasMin ? info->min : u ? 0 : INT32_MIN;
                const int64_t hi = info->hasMax ? info->max : u ? UINT32_MAX : INT32_MAX;
                const int64_t v = uniform(lo, hi);
                // Some with a multiplier.
                if (uniform(0, 3) == 0 && v >= 1000 && v / 1000 * 1000 >= lo)
                    return std::to_string(v / 1000) + "K";
                return std::to_string(v);
            }
            case ZEL_OPT_KIND_DOUBLE: {
                char buf[32];
                std::snprintf(buf, sizeof buf, "%.6f", double(uniform(1, 1000000)) / 1e6);
                return buf;
            }
            case ZEL_OPT_KIND_CHAR:
                return name == "wildall" ? pick({"*", "%"}) : pick({".", "_", "?"});
            case ZEL_OPT_KIND_TEXT:
            case ZEL_OPT_KIND_PATH:
                if (name == "procs_dir") return dir_;
                if (name == "error_format") return word() + "%" + pick({"E", "S", "t"}) + word();
                return (info->kind == ZEL_OPT_KIND_PATH ? "/" : "") + word();
            case ZEL_OPT_KIND_DATE_FORMAT:
                return pick({"YYYY-MM-DD", "mm/dd/yyyy", "DD.MM.YYYY", "yyyy.mm.dd", "MM-DD-YYYY",
                             "dd/mm/yyyy"});
            case ZEL_OPT_KIND_TIME_FORMAT:
                return pick({"HH", "HH:MM", "hh:mm:ss", "HH:MM:SS.F", "HH:MM:SS.FF", "HH:MM:SS.FFF",
                             "HH:MM:SS.FFFF"});
            case ZEL_OPT_KIND_WORD: {
                uint32_t n = 0;
                const ZEL_OPT_WORD *rows = b_optionGetWords(info->words, &n, nullptr);
                for (;;) {
                    const ZEL_OPT_WORD &w = rows[uniform(0, n - 1)];
                    if ((w.use & ZEL_OPT_WORD_READ) == 0) continue;
                    std::string s = w.word;
                    if (uniform(0, 1) == 1)
                        for (char &c : s) c = static_cast<char>(std::tolower(c));
                    return s;
                }
            }
            case ZEL_OPT_KIND_RESERVED:
                break;
        }
        return "";
    }

  private:
    int64_t uniform(int64_t lo, int64_t hi) {
        return std::uniform_int_distribution<int64_t>(lo, hi)(rng_);
    }
    std::string pick(std::initializer_list<const char *> words) {
        return words.begin()[uniform(0, static_cast<int64_t>(words.size()) - 1)];
    }
    std::string word() {
        std::string s(1, static_cast<char>('a' + uniform(0, 25)));
        for (int64_t i = uniform(0, 10); i > 0; --i)
            s += "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"[uniform(0, 62)];
        return s;
    }

    std::mt19937_64 rng_;
    std::string dir_;
};

// Configuration, its list, key/value, configuration: equal; the settings'
// texts too. The output reads no server configuration: its fields are
// written one by one as the catalogue writes them.
TEST_F(ConfigTest, RoundTripOverGeneratedValues) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    Generator gen(28, dir.string());
    const struct {
        Form config, settings;
        uint32_t mask;
    } scopes[] = {{kSql, kSqlS, ZEL_OPT_SCOPE_SQL},
                  {kDb, kDbS, ZEL_OPT_SCOPE_DB},
                  {kDbGsv, kDbGsvS, ZEL_OPT_SCOPE_DB_GSV},
                  {kServer, kServer, ZEL_OPT_SCOPE_GSV}};
    for (int round = 0; round < 100; ++round) {
        for (const auto &s : scopes) {
            std::string input, server;
            Records a, b;
            reset(a);
            reset(b);
            for (uint32_t i = 0; i < n; ++i)
                if ((keys[i].value & ZEL_OPT_SCOPE_MASK) == s.mask)
                    input += keys[i].name + ("=" + gen.value(keys[i])) + ";";
            ASSERT_EQ(process(s.config, input, a), sOKAY) << input;
            for (uint32_t i = 0; i < n && s.config == kServer; ++i)
                if ((keys[i].value & ZEL_OPT_SCOPE_MASK) == s.mask)
                    server += keys[i].name + ("=" + value(kServer, keys[i].name, a)) + ";";
            const std::string written = s.config == kServer ? server : list(false, s.mask, a);
            ASSERT_EQ(process(s.config, written, b), sOKAY) << written;
            if (s.settings != kServer) {
                ASSERT_EQ(process(s.settings, input, a), sOKAY) << input;
                ASSERT_EQ(process(s.settings, list(true, s.mask, a), b), sOKAY);
            }
            EXPECT_EQ(dump(a), dump(b)) << input << "\n" << written;
            release(a);
            release(b);
        }
    }
}

// ---- Copy, clean and free, also under allocation failures.

TEST_F(ConfigTest, CopiesAreDeepAndFreeWhatTheyCopiedOnFailure) {
    ASSERT_EQ(process(kDb, "locale=fr;dbuserid=me;error_format=%E;procs_dir=" + dir.string()),
              sOKAY);
    ASSERT_EQ(process(kDbS, "locale=fr;cache_size=1K;time_zone=5"), sOKAY);
    ASSERT_EQ(process(kDbGsvS, "drop=yes;storage=ondisk;timeout=3"), sOKAY);
    ASSERT_EQ(process(kSqlS, "wildall=*;autocommit=y;debugmode=2"), sOKAY);
    ASSERT_EQ(process(kServer, "name=n;logfile=/f;docroot=/d"), sOKAY);
    Records c;
    auto none = [](auto *, B_TAG_SUB) {};
#define COPY(fcn, field, release, texts)                                                         \
    EXPECT_EQ(oom_check(master, {sub},                                                           \
                        [&] {                                                                    \
                            decltype(r.field) dst{};                                             \
                            const ZEL_RETCODE rc = fcn(&dst, &r.field, sub);                     \
                            EXPECT_EQ(dump(dst), dump(rc == sOKAY ? r.field : decltype(dst){})); \
                            if (rc == sOKAY) release(&dst, sub);                                 \
                            return rc;                                                           \
                        }),                                                                      \
              texts);                                                                            \
    EXPECT_EQ(fcn(&c.field, &r.field, sub), sOKAY)
    COPY(b_optionCopyDbHandleConfig, db, b_optionCleanDbHandleConfig, 4);
    COPY(b_optionCopyDbHandleSettings, dbS, b_optionFreeDbHandleSettings, 3);
    COPY(b_optionCopyGSVConfig, gsv, b_optionCleanGSVConfig, 3);
    COPY(b_optionCopyDbGSVConfig, dbGsv, none, 0);
    COPY(b_optionCopySQLConfig, sql, none, 0);
    COPY(b_optionCopyDbGSVSettings, dbGsvS, b_optionFreeDbGSVSettings, 3);
    COPY(b_optionCopySQLSettings, sqlS, b_optionFreeSQLSettings, 3);
#undef COPY
    EXPECT_NE(c.db.locale, r.db.locale);
    EXPECT_EQ(dump(c), dump(r));
    // Clear and copy frees what the destination held; on failure it stays cleared.
    ZEL_DB_GSV_SETTINGS other{};
    ASSERT_EQ(b_settingsSetTimeout(&other, 5, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            ZEL_DB_GSV_SETTINGS dst{};
                            if (b_optionCopyDbGSVSettings(&dst, &other, sub) != sOKAY)
                                return eNOMEMORY;  // the setting up failed
                            const ZEL_RETCODE rc =
                                b_optionClearAndCopyDbGSVSettings(&dst, &r.dbGsvS, sub);
                            EXPECT_EQ(dump(dst),
                                      dump(rc == sOKAY ? r.dbGsvS : ZEL_DB_GSV_SETTINGS{}));
                            b_optionFreeDbGSVSettings(&dst, sub);
                            return rc;
                        }),
              4);
    b_optionFreeDbGSVSettings(&other, sub);
    release(c);
    EXPECT_EQ(dump(c.dbS) + text(c.db.locale), dump(ZEL_DB_SETTINGS{}) + "<null>");
    EXPECT_EQ(b_optionCopySQLSettings(&c.sqlS, nullptr, sub), eINVNULLARG);
}

// ---- Allocation failures.

TEST_F(ConfigTest, InitialiserStopsOnFailureKeepingEarlierFields) {
    ZEL_DB_SETTINGS s{};
    char locale[] = "de", user[] = "me", fmt[] = "%E", size[] = "500";
    const std::string procs = dir.string();
    s.locale = locale;
    s.db_user_id = user;
    s.procs_dir = const_cast<char *>(procs.c_str());
    s.error_format = fmt;
    s.cache_size = size;
    EXPECT_EQ(
        oom_check(master, {sub},
                  [&] {
                      ZEL_DB_CONFIGURATION c;
                      const ZEL_RETCODE rc = b_optionInitializeDbHandle(&c, &s, sub);
                      // Each text is set only once those before it are.
                      const char *order[] = {c.locale, c.db_user_id, c.procs_dir, c.error_format};
                      for (size_t i = 1; i < std::size(order); ++i)
                          EXPECT_TRUE(order[i] == nullptr || order[i - 1] != nullptr);
                      EXPECT_EQ(c.cache_size, rc == sOKAY ? 500u : 20000u);
                      b_optionCleanDbHandleConfig(&c, sub);
                      return rc;
                  }),
        4);
}

TEST_F(ConfigTest, SettingsAndProcessingUnderFailure) {
    // A failed setter leaves the setting as it was.
    ASSERT_EQ(b_settingsSetDbSize(&r.dbGsvS, 1, ZEL_FALSE, sub), sOKAY);
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            const std::string before = r.dbGsvS.db_size;
                            const ZEL_RETCODE rc =
                                b_settingsSetDbSize(&r.dbGsvS, 22, ZEL_FALSE, sub);
                            EXPECT_EQ(r.dbGsvS.db_size, rc == sOKAY ? "22" : before);
                            return rc;
                        }),
              1);
    const std::string procs = dir.string();
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            const ZEL_RETCODE rc =
                                b_settingsSetProcsDir(&r.dbS, procs.c_str(), sub);
                            EXPECT_EQ(text(r.dbS.procs_dir), rc == sOKAY ? procs : "<null>");
                            EXPECT_EQ(b_settingsSetProcsDir(&r.dbS, nullptr, sub), sOKAY);
                            return rc;
                        }),
              2);
    // Processing into either form; the map's getters allocate for a multiplier.
    const std::string kvText = "locale=fr;cache_size=2K;procs_dir='" + procs + "'";
    B_KEYVALUE_T kv;
    ASSERT_EQ(b_keyvalueInit(&kv, kvText.c_str(), ZEL_FALSE, sub), sOKAY);
    const std::string defaults = dump(r.db) + dump(ZEL_DB_SETTINGS{});
    for (const char *name : {"locale", "cache_size", "procs_dir"}) {
        for (Form f : {kDb, kDbS}) {
            oom_check(master, {sub}, [&] {
                Records x;
                reset(x);
                const ZEL_RETCODE rc = processKey(f, &kv, key(name), x);
                if (rc < 0) {
                    EXPECT_EQ(dump(x.db) + dump(x.dbS), defaults);
                }
                release(x);
                return rc;
            });
        }
    }
    b_keyvalueTerm(&kv);
}

TEST_F(ConfigTest, OutputUnderFailure) {
    B_TAG_STACK stack = nullptr;
    ASSERT_EQ(b_tag_stackCreate(master, 4096, 4096, &stack), sOKAY);
    char buf[2048];
    for (const char *kw : {static_cast<const char *>(nullptr), "dateformat;timeformat;wildall"}) {
        for (B_TAG_STACK st : {static_cast<B_TAG_STACK>(nullptr), stack}) {
            EXPECT_GE(oom_check(master, {sub},
                                [&] {
                                    size_t n = 77;
                                    const ZEL_RETCODE rc = b_optionGetConfigurationValuesIntoString(
                                        kw, 0, &r.handle, &r.sql, &r.db, &r.dbGsv, sizeof buf, sub,
                                        st, buf, &n);
                                    EXPECT_EQ(n == 77, rc != sOKAY);
                                    EXPECT_TRUE(rc == sOKAY || buf[0] == '\0');
                                    return rc;
                                },
                                {}, {stack}),
                      1);
        }
    }
    EXPECT_EQ(oom_check(master, {sub},
                        [&] {
                            char *s = nullptr;
                            const ZEL_RETCODE rc = b_optionConfigurationIntoString(
                                key("cache_size"), &r.handle, &r.db, &r.dbGsv, &r.sql, sub, &s);
                            EXPECT_EQ(s == nullptr, rc != sOKAY);
                            b_tag_subFreeCanBeNull(sub, s);
                            return rc;
                        }),
              1);
    b_tag_stackDestroy(stack);
}

}  // namespace
