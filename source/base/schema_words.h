/*
 * schema_words.h - the words of the catalogue's enumerations as they stand
 * in the JSON catalogue: one table per enumeration, read from the top with a
 * case-blind compare, first match winning. A table may hold one value under
 * two words or one word for two values (data types): reading takes the first
 * row of a word, writing the first row of a value.
 */
#ifndef SCHEMA_WORDS_H
#define SCHEMA_WORDS_H

#include "schema_types.h"

ZEL_EXTERN_C_BEGIN

typedef struct SCH_WORD_ITEM_S {
    const char *word;
    int32_t value;
} SCH_WORD_ITEM;

#define ENCRYPTION_ITEMS_COUNT 5
#define DRAWER_TYPE_ITEMS_COUNT 6
#define TABLE_TYPE_ITEMS_COUNT 4
#define KEY_TYPE_ITEMS_COUNT 4
#define KEY_METHOD_ITEMS_COUNT 8
#define REF_ACTION_ITEMS_COUNT 4
#define DIRECTION_ITEMS_COUNT 2
#define ITEM_FORMAT_ITEMS_COUNT 2
#define DATA_TYPE_ITEMS_COUNT 31

/* ZEL_ENC_TYPE; "default" is not among them (sch_encryption_text knows it). */
extern const SCH_WORD_ITEM encryption_items[ENCRYPTION_ITEMS_COUNT];
extern const SCH_WORD_ITEM drawer_type_items[DRAWER_TYPE_ITEMS_COUNT];
extern const SCH_WORD_ITEM table_type_items[TABLE_TYPE_ITEMS_COUNT];
extern const SCH_WORD_ITEM key_type_items[KEY_TYPE_ITEMS_COUNT];
extern const SCH_WORD_ITEM key_method_items[KEY_METHOD_ITEMS_COUNT];
extern const SCH_WORD_ITEM ref_action_items[REF_ACTION_ITEMS_COUNT];
/* ZEL_DIRECTION: "asc", "desc". */
extern const SCH_WORD_ITEM direction_items[DIRECTION_ITEMS_COUNT];
/* ZEL_ITEM_FORMAT: "compact" 16, "expanded" 32. */
extern const SCH_WORD_ITEM item_format_items[ITEM_FORMAT_ITEMS_COUNT];
/* ZEL_TYPE; "wchar", "wvarchar" and "wclob" stand twice. */
extern const SCH_WORD_ITEM data_type_items[DATA_TYPE_ITEMS_COUNT];

/* The value of the first row whose word equals `word` ignoring case, into
 * *pValue. sNOTFOUND when no row has it (or `word` is null); *pValue is
 * untouched then. */
ZEL_NODISCARD ZEL_RETCODE sch_word_find(const SCH_WORD_ITEM *items, size_t count, const char *word,
                                        int32_t *pValue);
/* The word of the first row holding `value`, or null. */
const char *sch_word_text(const SCH_WORD_ITEM *items, size_t count, int32_t value);

/* Catalogue word of a data type ("int32", "wchar", ...), null when unknown. */
const char *sch_type_catalog_text(ZEL_TYPE type);

ZEL_EXTERN_C_END

#endif /* SCHEMA_WORDS_H */
