/*
 * schema_words.cpp - the word tables of the catalogue's enumerations and the
 * two directions of lookup over them. The tables are plain constant rows so
 * that the JSON loader, the catalogue accessors and any writer share one
 * vocabulary; order matters where a word or value stands twice.
 */
#include "schema_words.h"

#include "psp.h"

const SCH_WORD_ITEM encryption_items[ENCRYPTION_ITEMS_COUNT] = {
    {"none", ZEL_ENC_NONE},     {"xor", ZEL_ENC_XOR},       {"aes128", ZEL_ENC_AES128},
    {"aes192", ZEL_ENC_AES192}, {"aes256", ZEL_ENC_AES256},
};

const SCH_WORD_ITEM drawer_type_items[DRAWER_TYPE_ITEMS_COUNT] = {
    {"table", ZEL_DRAWER_TABLE}, {"btree", ZEL_DRAWER_BTREE}, {"rtree", ZEL_DRAWER_RTREE},
    {"hash", ZEL_DRAWER_HASH},   {"ref", ZEL_DRAWER_REF},     {"blob", ZEL_DRAWER_BLOB},
};

const SCH_WORD_ITEM table_type_items[TABLE_TYPE_ITEMS_COUNT] = {
    {"standard", ZEL_TABLE_STANDARD},
    {"circular", ZEL_TABLE_CIRCULAR},
    {"virtual", ZEL_TABLE_VIRTUAL},
    {"temporary", ZEL_TABLE_TEMPORARY},
};

const SCH_WORD_ITEM key_type_items[KEY_TYPE_ITEMS_COUNT] = {
    {"noval", ZEL_KEY_TYPE_NOVAL},
    {"nonunique", ZEL_KEY_TYPE_NONUNIQUE},
    {"unique", ZEL_KEY_TYPE_UNIQUE},
    {"primary", ZEL_KEY_TYPE_PRIMARY},
};

const SCH_WORD_ITEM key_method_items[KEY_METHOD_ITEMS_COUNT] = {
    {"noval", ZEL_KEY_METHOD_NOVAL}, {"rowid", ZEL_KEY_METHOD_ROWID},
    {"btree", ZEL_KEY_METHOD_BTREE}, {"hash", ZEL_KEY_METHOD_HASH},
    {"avl", ZEL_KEY_METHOD_AVL},     {"rtree", ZEL_KEY_METHOD_RTREE},
    {"mono", ZEL_KEY_METHOD_MONO},   {"virtual", ZEL_KEY_METHOD_VIRTUAL},
};

const SCH_WORD_ITEM ref_action_items[REF_ACTION_ITEMS_COUNT] = {
    {"noval", ZEL_REF_ACTION_NOVAL},
    {"restrict", ZEL_REF_ACTION_RESTRICT},
    {"cascade", ZEL_REF_ACTION_CASCADE},
    {"set null", ZEL_REF_ACTION_SET_NULL},
};

const SCH_WORD_ITEM direction_items[DIRECTION_ITEMS_COUNT] = {
    {"asc", ZEL_FORWARD},
    {"desc", ZEL_REVERSE},
};

const SCH_WORD_ITEM item_format_items[ITEM_FORMAT_ITEMS_COUNT] = {
    {"compact", ZEL_ITEM_FORMAT_COMPACT},
    {"expanded", ZEL_ITEM_FORMAT_EXPANDED},
};

/* The doubled words are deliberate: reading takes the first row ("wchar" is
 * ZEL_WCHAR, "wclob" ZEL_WCLOB_UTF8), writing finds a word for both types. */
const SCH_WORD_ITEM data_type_items[DATA_TYPE_ITEMS_COUNT] = {
    {"bool", ZEL_BOOL},
    {"int8", ZEL_INT8},
    {"uint8", ZEL_UINT8},
    {"int16", ZEL_INT16},
    {"uint16", ZEL_UINT16},
    {"int32", ZEL_INT32},
    {"uint32", ZEL_UINT32},
    {"int64", ZEL_INT64},
    {"uint64", ZEL_UINT64},
    {"float", ZEL_FLOAT},
    {"double", ZEL_DOUBLE},
    {"decimal", ZEL_BCD},
    {"date", ZEL_DATE},
    {"time", ZEL_TIME},
    {"timetz", ZEL_TIMETZ},
    {"timestamp", ZEL_TIMESTAMP},
    {"timestamptz", ZEL_TIMESTAMPTZ},
    {"rowid", ZEL_ROWID},
    {"uuid", ZEL_UUID},
    {"char", ZEL_CHAR},
    {"varchar", ZEL_VARCHAR},
    {"wchar", ZEL_WCHAR},
    {"wchar", ZEL_WCHAR_UTF8},
    {"wvarchar", ZEL_WVARCHAR},
    {"wvarchar", ZEL_WVARCHAR_UTF8},
    {"binary", ZEL_BINARY},
    {"varbinary", ZEL_VARBINARY},
    {"blob", ZEL_BLOB},
    {"clob", ZEL_CLOB},
    {"wclob", ZEL_WCLOB_UTF8},
    {"wclob", ZEL_WCLOB},
};

ZEL_RETCODE sch_word_find(const SCH_WORD_ITEM *items, size_t count, const char *word,
                          int32_t *pValue) {
    if (!items || !word || !pValue) return sNOTFOUND;
    for (size_t i = 0; i < count; ++i) {
        if (psp_strcasecmp(items[i].word, word) == 0) {
            *pValue = items[i].value;
            return sOKAY;
        }
    }
    return sNOTFOUND;
}

const char *sch_word_text(const SCH_WORD_ITEM *items, size_t count, int32_t value) {
    if (!items) return nullptr;
    for (size_t i = 0; i < count; ++i)
        if (items[i].value == value) return items[i].word;
    return nullptr;
}

const char *sch_type_catalog_text(ZEL_TYPE type) {
    return sch_word_text(data_type_items, DATA_TYPE_ITEMS_COUNT, type);
}
