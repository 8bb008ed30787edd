// Internal operations of the string builder for the library's own modules (restoring a
// builder from saved properties rebuilds its text and items piece by piece).
#ifndef VONAUTIL_STRING_BUILDER_HPP
#define VONAUTIL_STRING_BUILDER_HPP

#include "player/src/util/mt/string_builder.h"

namespace vona {

// Appends n bytes to the text (which stays NUL-terminated); the bytes may lie in the
// builder's own buffer.
void string_builder_append(string_builder* t, const char* bytes, int n);
// Adds an item with the given offsets.
void string_builder_add_item(string_builder* t, int start, int begin, int end);
// Makes room for `count` items in all.
void string_builder_reserve_items(string_builder* t, int count);

}  // namespace vona

#endif
