// Two threads, each with its own sub tag on one master, parse the same option
// string into maps of their own and look every option up in the shared
// keyword table: both see what one thread alone sees. The maps share nothing
// and the tables are constant; the master's mutex is the only lock, so this
// runs under ThreadSanitizer in CI.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "keyvalue.h"
#include "options.h"
#include "tag_master_psp.h"
#include "tag_sub.h"

namespace {

// A digest of parsing `text` and reading each key, and of finding each
// keyword; empty after a failure.
std::string parseAndLookUp(B_TAG_SUB sub, const std::string &text) {
    B_KEYVALUE_T kv;
    if (b_keyvalueInit(&kv, text.c_str(), ZEL_FALSE, sub) != sOKAY) return {};
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    std::string digest;
    for (uint32_t i = 0; i < n; ++i) {
        const ZEL_CONFIG_OPT_KEY *found = nullptr;
        if (b_optionGetKey(keys[i].name, keys, n, &found) != sOKAY) return {};
        char *s = nullptr;
        const ZEL_RETCODE rc = b_keyvalueGetValueString(&kv, found->name, sub, &s);
        digest += std::to_string(rc) + (rc == sOKAY ? s : "") + ";";
        if (rc == sOKAY) b_tag_subFree(sub, s);
        uint64_t u = 0;
        digest += std::to_string(b_keyvalueGetUInt64Value(&kv, found->name, &u)) + ":" +
                  std::to_string(u) + ";";
    }
    b_keyvalueTerm(&kv);
    return digest;
}

TEST(KeyValueThreads, TwoThreadsParseAndLookUp) {
    std::string text;
    uint32_t n = 0;
    const ZEL_CONFIG_OPT_KEY *keys = b_optionGetConfigTable(&n);
    for (uint32_t i = 0; i < n; i += 2)
        text += std::string(keys[i].name) + "=" + std::to_string(i) + "K;";
    B_TAG_MASTER master = nullptr;
    ASSERT_EQ(b_tag_masterCreate(nullptr, 0, &master), sOKAY);
    B_TAG_SUB sub = nullptr;
    ASSERT_EQ(b_tag_subCreate(master, &sub), sOKAY);
    const std::string alone = parseAndLookUp(sub, text);
    ASSERT_FALSE(alone.empty());
    std::string results[2];
    std::thread threads[2];
    for (int t = 0; t < 2; t++) {
        threads[t] = std::thread([master, t, &text, &results] {
            B_TAG_SUB own = nullptr;
            if (b_tag_subCreate(master, &own) != sOKAY) return;
            for (int round = 0; round < 50; round++) results[t] = parseAndLookUp(own, text);
            b_tag_subDestroy(own);
        });
    }
    for (std::thread &th : threads) th.join();
    for (int t = 0; t < 2; t++) EXPECT_EQ(results[t], alone) << "thread " << t;
    b_tag_subDestroy(sub);
    b_tag_masterDestroy(master);
}

}  // namespace
