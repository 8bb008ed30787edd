/* long_long_array: an array of signed 64-bit values, reallocated to its exact size on every
 * change, for the short lists of numbers (ids, sizes, positions) that settings keep. */
#ifndef VONAUTIL_LONG_LONG_ARRAY_H
#define VONAUTIL_LONG_LONG_ARRAY_H

#include "basic_string_array.h"
#include "export.h"

VONA_BEGIN_DECLS

typedef struct long_long_array {
  int size;         /* number of values */
  long long* items; /* exactly size values; null when empty */
} long_long_array;

long_long_array* long_long_array_create_empty(void);
long_long_array* long_long_array_create_single(long long value);
/* A copy; null gives null. */
long_long_array* long_long_array_copy(const long_long_array* lla);
/* Each string read with str_parse_int(text, -1) and widened, so text beyond the 32-bit range
 * does not give 64-bit values this way; null gives null. */
long_long_array* long_long_array_create_from_string_array(const string_array* sa);

void long_long_array_add(long_long_array* lla, long long value);
/* Appends all values of `other` (null adds none). */
void long_long_array_add_all(long_long_array* lla, const long_long_array* other);
void long_long_array_set(long_long_array* lla, int index, long long value);
/* Remove one value / `count` values from `index` on. */
void long_long_array_remove(long_long_array* sa, int index);
void long_long_array_remove_segment(long_long_array* sa, int index, int count);
/* The first index holding `value`, else -1. */
int long_long_array_find(const long_long_array* lla, long long value);

/* Frees the values; size 0. */
void long_long_array_clear(long_long_array* lla);
/* Clears and frees the array; null is accepted. */
void long_long_array_free(long_long_array* lla);

VONA_END_DECLS

#endif
