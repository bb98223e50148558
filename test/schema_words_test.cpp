// Word tables of the catalogue's enumerations: reading takes the first row
// of a word, writing the first row of a value.
#include <gtest/gtest.h>

#include "schema_words.h"

namespace {

TEST(SchemaWords, DoubledWordsReadAsTheFirstRow) {
    int32_t v = 0;
    ASSERT_EQ(sch_word_find(data_type_items, DATA_TYPE_ITEMS_COUNT, "WCHAR", &v), sOKAY);
    EXPECT_EQ(v, ZEL_WCHAR);
    ASSERT_EQ(sch_word_find(data_type_items, DATA_TYPE_ITEMS_COUNT, "wvarchar", &v), sOKAY);
    EXPECT_EQ(v, ZEL_WVARCHAR);
    ASSERT_EQ(sch_word_find(data_type_items, DATA_TYPE_ITEMS_COUNT, "wclob", &v), sOKAY);
    EXPECT_EQ(v, ZEL_WCLOB_UTF8);
    EXPECT_STREQ(sch_type_catalog_text(ZEL_WCHAR_UTF8), "wchar");
    EXPECT_STREQ(sch_type_catalog_text(ZEL_WCLOB), "wclob");
    EXPECT_STREQ(sch_type_catalog_text(ZEL_BCD), "decimal");
    EXPECT_EQ(sch_type_catalog_text(ZEL_PARAMREF), nullptr);
}

TEST(SchemaWords, EveryWordOfEveryTable) {
    struct Table {
        const SCH_WORD_ITEM *items;
        size_t n;
    } tables[] = {
        {encryption_items, ENCRYPTION_ITEMS_COUNT}, {drawer_type_items, DRAWER_TYPE_ITEMS_COUNT},
        {table_type_items, TABLE_TYPE_ITEMS_COUNT}, {key_type_items, KEY_TYPE_ITEMS_COUNT},
        {key_method_items, KEY_METHOD_ITEMS_COUNT}, {ref_action_items, REF_ACTION_ITEMS_COUNT},
        {direction_items, DIRECTION_ITEMS_COUNT},   {item_format_items, ITEM_FORMAT_ITEMS_COUNT},
        {data_type_items, DATA_TYPE_ITEMS_COUNT}};
    for (const Table &t : tables)
        for (size_t i = 0; i < t.n; ++i) {
            int32_t v = -99;
            ASSERT_EQ(sch_word_find(t.items, t.n, t.items[i].word, &v), sOKAY);
            // A doubled word reads as its first row, whose value writes back
            // to the same word.
            EXPECT_STREQ(sch_word_text(t.items, t.n, v), t.items[i].word);
        }
}

TEST(SchemaWords, UnknownWordsAndValues) {
    int32_t v = 7;
    EXPECT_EQ(sch_word_find(encryption_items, ENCRYPTION_ITEMS_COUNT, "default", &v), sNOTFOUND);
    EXPECT_EQ(v, 7);
    EXPECT_EQ(sch_word_find(ref_action_items, REF_ACTION_ITEMS_COUNT, nullptr, &v), sNOTFOUND);
    ASSERT_EQ(sch_word_find(ref_action_items, REF_ACTION_ITEMS_COUNT, "Set Null", &v), sOKAY);
    EXPECT_EQ(v, ZEL_REF_ACTION_SET_NULL);
    EXPECT_EQ(sch_word_text(key_method_items, KEY_METHOD_ITEMS_COUNT, 8), nullptr);
    EXPECT_STREQ(sch_word_text(direction_items, DIRECTION_ITEMS_COUNT, ZEL_REVERSE), "desc");
    EXPECT_STREQ(sch_word_text(item_format_items, ITEM_FORMAT_ITEMS_COUNT, 32), "expanded");
}

}  // namespace
