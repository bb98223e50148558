// options_internal.h - the word tables of the options for the option code
// itself (the setters of the configuration records). C++ only.
#ifndef OPTIONS_INTERNAL_H
#define OPTIONS_INTERNAL_H

#include "options_types.h"

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

}  // namespace zel::detail

#endif
