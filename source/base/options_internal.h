// options_internal.h - the word tables of the options, and a stored value as
// text without a string of its own, for the option code itself (the setters
// and the output of the configuration records). C++ only.
#ifndef OPTIONS_INTERNAL_H
#define OPTIONS_INTERNAL_H

#include <cstddef>

#include "options_types.h"
#include "tag_types.h"

namespace zel::detail {

// A word of table `words` to its value, without regard to case: the table's
// own code for a word that is not read (eINVOPTIONVALUE, eBADSNAPSHOTMODE);
// a null word is "" for the rounding and isolation words, else eINVNULLARG.
// `value` may be null.
ZEL_RETCODE opt_wordToValue(ZEL_OPT_WORDS words, const char *word, int32_t *value);
// The word written for `value`, or null when it has none (the compression
// words write "NONE" for any other value).
const char *opt_valueToWord(ZEL_OPT_WORDS words, int32_t value);

// "durable", "consistent", "unsafe"; "SHARED" or "READWRITE", "EXCLUSIVE",
// "READONLY". eINVOPTIONVALUE, eINVNULLARG; the out may be null.
ZEL_RETCODE _getDurabilityFromString(const char *str, ZEL_TRANS_DURABILITY *pval);
ZEL_RETCODE _getOpenModeFromString(const char *str, ZEL_OPEN_MODE *pval);

// A stored value as text: in `buf`, or, for a text field or a word, the
// text itself (a text field's own pointer, "" for null).
struct OptText {
    char buf[32];
    const char *text;
    size_t len;
};
// The value of option `key` stored at `value` as b_optionBufferIntoString
// writes it, into *out; only the date and time formats take memory, from
// `subTag`, and give it back. The same codes, but eINVNULLARG.
ZEL_RETCODE opt_valueText(const ZEL_CONFIG_OPT_KEY *key, const void *value, B_TAG_SUB subTag,
                          OptText *out);

}  // namespace zel::detail

#endif
