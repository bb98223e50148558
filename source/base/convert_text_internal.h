// convert_text_internal.h - the state tables of the text scanners, exposed to
// the tests so that they can check every state of every table. C++ only.
#ifndef CONVERT_TEXT_INTERNAL_H
#define CONVERT_TEXT_INTERNAL_H

#include <span>

#include "convert_text.h"

namespace zel::detail {

// Special symbols of a B_ACTION row.
inline constexpr char CNV_SYM_END = 0;
inline constexpr char CNV_SYM_DIGIT = 1;
inline constexpr char CNV_SYM_ANY = 2;

// Number syntax: 5 states, a state of 5 or more stops.
std::span<const B_ACTION *const> cnv_textNumStates();
// Date literals: 24 states, a state of 24 or more stops.
std::span<const B_ACTION *const> cnv_textDateStates();
// Escape clauses: 59 states, a negative state stops.
std::span<const B_ACTION *const> cnv_textEscStates();

}  // namespace zel::detail

#endif  // CONVERT_TEXT_INTERNAL_H
