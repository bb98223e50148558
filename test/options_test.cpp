// The option catalogue: the keyword table's facts and its search in every
// letter case, every word table both ways with the aliases and refusals kept
// on purpose, stored values as text for every form of field, "%G" against
// Python (test/data/gen_options.py), and the writers under allocation
// failures.
#include <gtest/gtest.h>

#include <charconv>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "keyvalue.h"
#include "log.h"
#include "oom.h"
#include "options.h"
#include "options_internal.h"
#include "tag_fixture.h"

namespace {

using zel::detail::opt_valueToWord;
using zel::detail::opt_wordToValue;

const ZEL_CONFIG_OPT_KEY *table(uint32_t *n) {
    return b_optionGetConfigTable(n);
}

TEST(OptionTable, ScopesValuesAndInfo) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = table(&n);
    ASSERT_EQ(n, 62u);
    std::set<int> values;
    std::map<int, int> scopes;
    for (uint32_t i = 0; i < n; ++i) {
        values.insert(keys[i].value);
        scopes[keys[i].value & ZEL_OPT_SCOPE_MASK]++;
        const int cls = keys[i].value & ZEL_OPT_CLASS_MASK;
        EXPECT_TRUE(cls == 0 || cls == 1 || cls == 2 || cls == 5) << keys[i].name;
        const ZEL_OPT_INFO *info = b_optionGetInfo(keys[i].value);
        ASSERT_NE(info, nullptr) << keys[i].name;
        EXPECT_EQ(info->kind == ZEL_OPT_KIND_RESERVED,
                  (keys[i].value & ZEL_OPT_SCOPE_MASK) == ZEL_OPT_SCOPE_RESERVED);
    }
    EXPECT_EQ(values.size(), 62u);
    EXPECT_EQ(scopes, (std::map<int, int>{{ZEL_OPT_SCOPE_GSV, 13},
                                          {ZEL_OPT_SCOPE_DB, 12},
                                          {ZEL_OPT_SCOPE_DB_GSV, 14},
                                          {ZEL_OPT_SCOPE_SQL, 21},
                                          {ZEL_OPT_SCOPE_RESERVED, 2}}));
    for (ZEL_OPTS v : {ZEL_OPT_DB_INFO_PACK, ZEL_OPT_DB_INFO_PACK_ID, ZEL_OPT_DB_INFO_IDINDEX})
        EXPECT_EQ(b_optionGetInfo(v), nullptr);
    EXPECT_STREQ(keys[49].name, "gsvtype");  // kept out of order
}

// Every default reads as its option's value, within the bounds.
TEST(OptionTable, DefaultsReadBack) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = table(&n);
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_OPT_INFO *info = b_optionGetInfo(keys[i].value);
        SCOPED_TRACE(keys[i].name);
        if (info->defaultText == nullptr) continue;
        const char *def = info->defaultText;
        switch (info->kind) {
            case ZEL_OPT_KIND_BOOLEAN:
                EXPECT_EQ(b_keyvalueGetBooleanFromString(def, nullptr), sOKAY);
                break;
            case ZEL_OPT_KIND_WORD:
                if (info->words == ZEL_OPT_WORDS_LOG_LEVEL) {
                    B_LOG_LEVEL l;
                    EXPECT_EQ(b_logGetLevel(def, &l), sOKAY);
                } else if (info->words == ZEL_OPT_WORDS_LOG_CATEGORY) {
                    B_LOG_CATEGORY c;
                    EXPECT_EQ(b_logGetCategoryFromString(def, &c), sOKAY);
                } else {
                    EXPECT_EQ(opt_wordToValue(info->words, def, nullptr), sOKAY);
                }
                break;
            case ZEL_OPT_KIND_INT16:
            case ZEL_OPT_KIND_INT32:
            case ZEL_OPT_KIND_UINT32:
            case ZEL_OPT_KIND_UINT64:
            case ZEL_OPT_KIND_DOUBLE: {
                double d = 0;
                ASSERT_EQ(std::from_chars(def, def + std::strlen(def), d).ec, std::errc());
                if (info->hasMin) {
                    EXPECT_GE(d, static_cast<double>(info->min));
                }
                if (info->hasMax) {
                    EXPECT_LE(d, static_cast<double>(info->max));
                }
                if (info->kind == ZEL_OPT_KIND_UINT32) {
                    EXPECT_LE(d, 4294967295.0);
                }
                break;
            }
            default:
                EXPECT_NE(def[0], '\0');
        }
    }
}

TEST(OptionKeys, FoundInEveryCase) {
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = table(&n);
    for (uint32_t i = 0; i < n; ++i) {
        std::string lower = keys[i].name, upper = lower, mixed = lower;
        for (size_t j = 0; j < lower.size(); ++j) {
            if (lower[j] >= 'a' && lower[j] <= 'z') {
                upper[j] = static_cast<char>(lower[j] - 32);
                if (j % 2 == 0) mixed[j] = upper[j];
            }
        }
        for (const std::string &k : {lower, upper, mixed}) {
            const ZEL_CONFIG_OPT_KEY *found = nullptr;
            ASSERT_EQ(b_optionGetKey(k.c_str(), keys, n, &found), sOKAY) << k;
            EXPECT_EQ(found, &keys[i]) << k;
        }
    }
    // A caller's copy of the table goes the general way: a binary search,
    // then the scan that finds "gsvtype".
    const std::vector<ZEL_CONFIG_OPT_KEY> copy(keys, keys + n);
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_CONFIG_OPT_KEY *found = nullptr;
        ASSERT_EQ(b_optionGetKey(keys[i].name, copy.data(), n, &found), sOKAY);
        EXPECT_EQ(found, &copy[i]);
    }
    EXPECT_EQ(b_optionGetKey("time", copy.data(), n, nullptr), eINVOPTION);
    EXPECT_EQ(b_optionGetKey(std::string(40, 'a').c_str(), keys, n, nullptr), eINVOPTION);
    EXPECT_EQ(b_optionGetKey("time", keys, n, nullptr), eINVOPTION);
    EXPECT_EQ(b_optionGetKey("", keys, n, nullptr), eINVOPTION);
    EXPECT_EQ(b_optionGetKey(nullptr, keys, n, nullptr), eINVNULLARG);
    EXPECT_EQ(b_optionGetKey("tcp", keys, 0, nullptr), eINVOPTION);
}

TEST(OptionWords, EveryTableBothWays) {
    for (int d = ZEL_OPT_WORDS_NONE + 1; d < ZEL_OPT_WORDS_COUNT; ++d) {
        const auto words = static_cast<ZEL_OPT_WORDS>(d);
        uint32_t n = 0;
        const char *name = nullptr;
        const ZEL_OPT_WORD *rows = b_optionGetWords(words, &n, &name);
        ASSERT_NE(rows, nullptr);
        SCOPED_TRACE(name);
        for (uint32_t i = 0; i < n; ++i) {
            std::string lower = rows[i].word;
            for (char &c : lower)
                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
            int32_t v = -12345;
            const ZEL_RETCODE rc = opt_wordToValue(words, lower.c_str(), &v);
            if (rows[i].use & ZEL_OPT_WORD_READ) {
                EXPECT_EQ(rc, sOKAY) << lower;
                EXPECT_EQ(v, rows[i].value) << lower;
            } else {
                EXPECT_LT(rc, 0) << lower;
                EXPECT_EQ(v, -12345);
            }
            if (rows[i].use & ZEL_OPT_WORD_WRITE) {
                EXPECT_STREQ(opt_valueToWord(words, rows[i].value), rows[i].word);
            }
        }
        EXPECT_LT(opt_wordToValue(words, "no such word", nullptr), 0);
    }
    EXPECT_EQ(b_optionGetWords(ZEL_OPT_WORDS_NONE, nullptr, nullptr), nullptr);
    EXPECT_EQ(b_optionGetWords(ZEL_OPT_WORDS_COUNT, nullptr, nullptr), nullptr);
}

// The log words are read by the log itself; the table says the same.
TEST(OptionWords, LogWordsAgreeWithTheLog) {
    for (ZEL_OPT_WORDS words : {ZEL_OPT_WORDS_LOG_LEVEL, ZEL_OPT_WORDS_LOG_CATEGORY}) {
        uint32_t n = 0;
        const ZEL_OPT_WORD *rows = b_optionGetWords(words, &n, nullptr);
        for (uint32_t i = 0; i < n; ++i) {
            int32_t v = -1;
            ZEL_RETCODE rc;
            if (words == ZEL_OPT_WORDS_LOG_LEVEL) {
                B_LOG_LEVEL l;
                rc = b_logGetLevel(rows[i].word, &l);
                if (rc == sOKAY) v = l;
            } else {
                B_LOG_CATEGORY c;
                rc = b_logGetCategoryFromString(rows[i].word, &c);
                if (rc == sOKAY) v = c;
            }
            EXPECT_EQ(rc == sOKAY, (rows[i].use & ZEL_OPT_WORD_READ) != 0) << rows[i].word;
            if (rc == sOKAY) {
                EXPECT_EQ(v, rows[i].value) << rows[i].word;
            }
        }
    }
}

TEST(OptionWords, KeptAliasesAndRefusals) {
    ZEL_OPEN_MODE om;
    ASSERT_EQ(zel::detail::_getOpenModeFromString("ReadWrite", &om), sOKAY);
    EXPECT_EQ(om, ZEL_OPEN_SHARED);
    EXPECT_STREQ(opt_valueToWord(ZEL_OPT_WORDS_OPEN_MODE, om), "SHARED");
    EXPECT_EQ(zel::detail::_getOpenModeFromString(nullptr, &om), eINVNULLARG);
    ASSERT_EQ(zel::detail::_getOpenModeFromString("exclusive", &om), sOKAY);
    EXPECT_EQ(om, 1);
    ASSERT_EQ(zel::detail::_getOpenModeFromString("READONLY", &om), sOKAY);
    EXPECT_EQ(om, 2);
    GSV_TYPE gt;
    ASSERT_EQ(b_optionGetGSVTypeFromString("server", &gt), sOKAY);
    EXPECT_EQ(gt, GSV_TYPE_EMBED);
    EXPECT_STREQ(opt_valueToWord(ZEL_OPT_WORDS_GSV_TYPE, gt), "EMBED");
    EXPECT_EQ(b_optionGetGSVTypeFromString("EMBED", nullptr), eINVNULLARG);
    ZSQL_TRANS_LEVEL lvl = transLevelSnapshot;
    EXPECT_EQ(b_optionGetTransIsoLevelFromString("REPEATABLE_READ", &lvl), eINVOPTIONVALUE);
    EXPECT_EQ(b_optionGetTransIsoLevelFromString(nullptr, &lvl), sOKAY);
    EXPECT_EQ(lvl, transLevelSerializable);
    ZEL_BCD_ROUNDING_MODE rm = ZEL_BCD_ROUND_UP;
    EXPECT_EQ(b_optionGetRoundingModeFromString("", &rm), sOKAY);
    EXPECT_EQ(rm, ZEL_BCD_ROUND_NEAREST_TIES_TO_EVEN);
    ZEL_PRIVATE_STORAGE_MEDIA sm = ZEL_PRIVATE_STORE_ON_DISK;
    EXPECT_EQ(b_storageMediaFromString("", &sm), sOKAY);
    EXPECT_EQ(sm, ZEL_PRIVATE_STORE_UNSPECIFIED);
    EXPECT_EQ(b_storageMediaFromString(nullptr, &sm), eINVNULLARG);
    EXPECT_EQ(b_optionGetSnapshotModeFromString("sometimes", nullptr), eBADSNAPSHOTMODE);
    // Kept: "buffer" is compared and refused; the default row format cannot be
    // set by name.
    EXPECT_EQ(opt_wordToValue(ZEL_OPT_WORDS_ROW_FORMAT, "buffer", nullptr), eINVOPTIONVALUE);
    EXPECT_STREQ(b_optionGetObjCompressMethodString(static_cast<ZEL_COMPRESS_METHOD>(9)), "NONE");
    EXPECT_STREQ(b_optionGetObjCompressMethodString(ZEL_COMPRESS_LZMA), "LZMA");
}

class OptionText : public TaggedTest {
  protected:
    // The text of `keyword` at `value`, or "#code".
    std::string text(const char *keyword, const void *value) {
        char *s = nullptr;
        const ZEL_RETCODE rc = b_optionBufferIntoString(keyword, value, &s, sub);
        if (rc != sOKAY) return "#" + std::to_string(rc);
        std::string out = s;
        b_tag_subFree(sub, s);
        return out;
    }
};

TEST_F(OptionText, EveryForm) {
    ZEL_SQL_OPTIONS sql{};
    sql.autocommit = ZEL_TRUE;
    sql.useSnapshot = ZEL_TRUE;
    sql.date_format = ZEL_DDMMYYYY;
    sql.date_sep = '/';
    sql.time_format = ZEL_HHMMSS;
    sql.wildAll = '*';
    sql.reserveBytes = size_t{1} << 40;
    sql.optSortFactor = 6.2e-5;
    sql.optThreshold = -3;
    sql.transDefault = ZEL_TRANS_ROOT_READ;
    sql.defaultOpenMode = ZEL_OPEN_READONLY;
    sql.transIsoLevel = transLevelRepeatableRead;
    sql.roundingMode = ZEL_BCD_ROUND_TOWARDS_ZERO;
    ZEL_DB_CONFIGURATION db{};
    db.locale = nullptr;
    db.db_user_id = const_cast<char *>("bob");
    db.item_format = ZEL_ITEM_FORMAT_EXPANDED;
    db.time_zone = -840;
    db.obj_compress_method = static_cast<ZEL_COMPRESS_METHOD>(7);
    db.cache_size = 4000000000u;
    ZEL_DB_GSV_CONFIGURATION dbg{};
    dbg.db_size = 21474836480u;
    dbg.pack_file_size = 134217728;
    dbg.lock_timeout = UINT32_MAX;
    dbg.storage_media = ZEL_PRIVATE_STORE_IN_MEM_KEEP;
    dbg.durability = ZEL_TRANS_CONSISTENT;
    ZEL_GSV_CONFIGURATION gsv{};
    gsv.transportBitmap = TX_TCP_INT;
    gsv.logerrlevel = B_LOG_LEVEL_MESG;
    gsv.logcategory = B_LOG_CATEGORY_ALL;
    gsv.ka_on = 5;
    gsv.type = GSV_TYPE_CLIENT;
    gsv.tos = 255;

    const struct {
        const char *keyword;
        const void *value;
        std::string want;
    } cases[] = {
        {"autocommit", &sql.autocommit, "true"},
        {"snapshotmode", &sql.useSnapshot, "AUTO"},
        {"dateformat", &sql.date_format, "DD/MM/YYYY"},  // the separator follows
        {"timeformat", &sql.time_format, "HH:MM:SS"},
        {"wildall", &sql.wildAll, "'*'"},
        {"reservebytes", &sql.reserveBytes, "1099511627776"},
        {"sortcostfactor", &sql.optSortFactor, "6.2E-05"},
        {"optthreshold", &sql.optThreshold, "-3"},
        {"defaulttransaction", &sql.transDefault, "READ"},
        {"DefaultOpenMode", &sql.defaultOpenMode, "READONLY"},
        {"transactionisolevel", &sql.transIsoLevel, "REPEATABLE_READ"},  // written, not read
        {"roundingmode", &sql.roundingMode, "TOWARDS_ZERO"},
        {"locale", &db.locale, ""},
        {"dbuserid", &db.db_user_id, "bob"},
        {"item_format", &db.item_format, "EXPANDED"},
        {"time_zone", &db.time_zone, "-840"},
        {"obj_compress_method", &db.obj_compress_method, "NONE"},  // kept: any other
        {"cache_size", &db.cache_size, "4000000000"},
        {"db_size", &dbg.db_size, "21474836480"},
        {"pack_file_size", &dbg.pack_file_size, "2147483648"},  // held as a sixteenth
        {"timeout", &dbg.lock_timeout, "-1"},
        {"storage", &dbg.storage_media, "INMEMORY_KEEP"},
        {"durability", &dbg.durability, "CONSISTENT"},
        {"drop", &dbg.drop, "false"},
        {"tcp", &gsv.transportBitmap, "true"},
        {"sharedmem", &gsv.transportBitmap, "false"},
        {"logerrlevel", &gsv.logerrlevel, "mesg"},
        {"logcategory", &gsv.logcategory, "all"},
        {"keep_alive_on", &gsv.ka_on, "true"},
        {"gsvtype", &gsv.type, "CLIENT"},
        {"tos", &gsv.tos, "255"},
        {"btreeuse", &gsv.tos, "#" + std::to_string(eINVOPTION)},
        {"nope", &gsv.tos, "#" + std::to_string(eINVOPTION)},
    };
    for (const auto &c : cases) EXPECT_EQ(text(c.keyword, c.value), c.want) << c.keyword;

    dbg.lock_timeout = 10;
    EXPECT_EQ(text("timeout", &dbg.lock_timeout), "10");
    gsv.transportBitmap = TX_SHM_INT;
    EXPECT_EQ(text("tcp", &gsv.transportBitmap), "false");
    EXPECT_EQ(text("sharedmem", &gsv.transportBitmap), "true");
    gsv.logcategory = static_cast<B_LOG_CATEGORY>(3);
    EXPECT_EQ(text("logcategory", &gsv.logcategory), "#" + std::to_string(eINVOPTIONVALUE));
    sql.roundingMode = static_cast<ZEL_BCD_ROUNDING_MODE>(9);
    EXPECT_EQ(text("roundingmode", &sql.roundingMode), "#" + std::to_string(eINVOPTION));
    dbg.storage_media = static_cast<ZEL_PRIVATE_STORAGE_MEDIA>(5);
    EXPECT_EQ(text("storage", &dbg.storage_media), "#" + std::to_string(eINVOPTIONVALUE));
    sql.date_sep = '#';
    EXPECT_EQ(text("dateformat", &sql.date_format), "#" + std::to_string(eINVDATESEP));
    char *s = nullptr;
    EXPECT_EQ(b_optionBufferIntoString("tos", &gsv.tos, nullptr, sub), eINVNULLARG);
    EXPECT_EQ(b_optionBufferIntoString("tos", nullptr, &s, sub), eINVNULLARG);

    // The writers of single words; out of range, rounding is eINVOPTION and
    // storage eINVOPTIONVALUE.
    ASSERT_EQ(b_optionRoundingModeToString(ZEL_BCD_ROUND_UP, &s, sub), sOKAY);
    EXPECT_STREQ(s, "UP");
    b_tag_subFree(sub, s);
    EXPECT_EQ(b_optionRoundingModeToString(static_cast<ZEL_BCD_ROUNDING_MODE>(5), &s, sub),
              eINVOPTION);
    ASSERT_EQ(b_optionStorageMediaToString(ZEL_PRIVATE_STORE_UNSPECIFIED, &s, sub), sOKAY);
    EXPECT_STREQ(s, "");
    b_tag_subFree(sub, s);
    EXPECT_EQ(b_optionStorageMediaToString(static_cast<ZEL_PRIVATE_STORAGE_MEDIA>(1), &s, sub),
              eINVOPTIONVALUE);
}

TEST_F(OptionText, SortCostAgreesWithPython) {
    std::ifstream in(ZELBASE_TEST_DATA "/good-options-sortcost.txt");
    ASSERT_TRUE(in) << "missing vectors";
    std::string line;
    int count = 0;
    while (std::getline(in, line)) {
        const size_t tab = line.find('\t');
        double d = 0;
        ASSERT_EQ(std::from_chars(line.data(), line.data() + tab, d).ec, std::errc()) << line;
        EXPECT_EQ(text("sortcostfactor", &d), line.substr(tab + 1)) << line;
        ++count;
    }
    EXPECT_GT(count, 300);
}

TEST_F(OptionText, EveryAllocationFailure) {
    const double cost = 0.25;
    ZEL_SQL_OPTIONS sql{};
    sql.date_format = ZEL_YYYYMMDD;
    sql.date_sep = '.';
    const char *name = "server";
    const uint32_t size = 70000;
    const ZEL_TRANS_TYPE tt = ZEL_TRANS_ROOT_UPDATE;
    const struct {
        const char *keyword;
        const void *value;
        const char *want;
    } cases[] = {{"sortcostfactor", &cost, "0.25"},
                 {"dateformat", &sql.date_format, "YYYY.MM.DD"},
                 {"name", &name, "server"},
                 {"cache_size", &size, "70000"},
                 {"defaulttransaction", &tt, "UPDATE"}};
    for (const auto &c : cases) {
        oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
            char *s = nullptr;
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = b_optionBufferIntoString(c.keyword, c.value, &s, sub));
            EXPECT_STREQ(s, c.want);
            b_tag_subFree(sub, s);
            return rc;
        });
    }
    for (bool rounding : {true, false}) {
        oom_check(master, {sub}, [&]() -> ZEL_RETCODE {
            char *s = nullptr;
            ZEL_RETCODE rc;
            ZEL_CHECK(rc = rounding
                               ? b_optionRoundingModeToString(ZEL_BCD_ROUND_DOWN, &s, sub)
                               : b_optionStorageMediaToString(ZEL_PRIVATE_STORE_ON_DISK, &s, sub));
            EXPECT_STREQ(s, rounding ? "DOWN" : "ONDISK");
            b_tag_subFree(sub, s);
            return rc;
        });
    }
}

}  // namespace
