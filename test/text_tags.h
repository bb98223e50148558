// text_tags.h - the tag fixtures of containers_tags.h under the names the
// text and date tests use: a sub tag whose usage must come back to where it
// started, and a seeded master that can be filled to make allocations fail.
#ifndef TEXT_TAGS_H
#define TEXT_TAGS_H

#include "containers_tags.h"

using TextTagTest = TaggedTest;
using TextSeededTags = SeededTags;

inline int64_t text_subBytes(B_TAG_SUB sub) { return containers_subBytes(sub); }

#endif
