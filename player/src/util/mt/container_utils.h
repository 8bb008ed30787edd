/* Saving arrays, string builders, sets and maps into a properties container and restoring
 * them, so that they can be kept in settings and state files.
 *
 * Keys start with `prefix` and "." (no prefix at all when it is null or empty), followed by
 * "is_null", "size" and numbered keys. A null object writes nothing, and restoring from a
 * container without its keys gives null. long_long_array keeps its own scheme:
 * "%s.is_not_null", "%s.size" and "%s.value.%d". Restoring a string array, set, map or
 * builder whose numbered entries are missing is an assertion failure. */
#ifndef VONAUTIL_CONTAINER_UTILS_H
#define VONAUTIL_CONTAINER_UTILS_H

#include "basic_string_array.h"
#include "containers.h"
#include "export.h"
#include "long_long_array.h"
#include "properties.h"
#include "string_builder.h"

VONA_BEGIN_DECLS

/* "is_null" = 0, "size" and the strings under "0", "1", ... */
void string_array_save(const string_array* sa, properties* props, const char* prefix);
string_array* string_array_restore(const properties* props, const char* prefix);

/* "%s.is_not_null" = 1 or 0; for an array "%s.size" and "%s.value.%d". A missing value is
 * restored as -1. */
void long_long_array_save(const long_long_array* lla, properties* props, const char* prefix);
long_long_array* long_long_array_restore(const properties* props, const char* prefix);
/* long_long_array_restore for files from outside: a "%s.size" that is negative or larger
 * than the number of entries in `props` (which could not hold that many values) gives null
 * instead of an array padded with -1, so a damaged file cannot make the array take all memory. */
long_long_array* long_long_array_restore_bounded(const properties* props, const char* prefix);

/* "is_null" = 0, "num_items", and per item "%d.segment" (the text that the item added to the
 * buffer), "%d.start", "%d.begin" and "%d.end": restoring rebuilds the builder byte for byte. */
void string_builder_save(const string_builder* sb, properties* props, const char* prefix);
string_builder* string_builder_restore(const properties* props, const char* prefix);

/* "is_null" = 0, "size" and the strings in key order under "0", "1", ... */
void string_set_save(const C_StringSet* set, properties* props, const char* prefix);
C_StringSet* string_set_restore(const properties* props, const char* prefix);

/* "is_null" = 0, "size" and the pairs in key order under "%d.key" and "%d.value". */
void string_map_save(const C_StringMap* map, properties* props, const char* prefix);
C_StringMap* string_map_restore(const properties* props, const char* prefix);

VONA_END_DECLS

#endif
