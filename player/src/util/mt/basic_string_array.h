/* string_array: an array of owned strings that is always terminated by a null entry, so that
 * `items` can be handed to any function that expects a char* vector (execve, for example).
 *
 * Every append reallocates the item array to exactly size + 2 slots (the new string and the
 * terminator): the arrays are usually small and kept for a long time, so they hold no spare
 * capacity. Build large arrays with string_array_add_array / string_array_add_all, which
 * reallocate once. */
#ifndef VONAUTIL_BASIC_STRING_ARRAY_H
#define VONAUTIL_BASIC_STRING_ARRAY_H

#include "export.h"

VONA_BEGIN_DECLS

typedef struct string_array {
  int size;     /* number of strings */
  char** items; /* size strings, then a null slot; null itself after string_array_clear */
} string_array;

string_array* string_array_create_empty(void);
string_array* string_array_create_single(const char* string);
/* A deep copy; null gives null. */
string_array* string_array_copy(const string_array* sa);
/* Copies of the strings of a null-terminated vector; a null vector gives an empty array. */
string_array* string_array_create_from_array(char* const* vector);

/* Appends a copy of `string`, which must not be null. */
void string_array_add(string_array* sa, const char* string);
/* Appends `string` itself; the array takes ownership of the malloc'd string. */
void string_array_add_occupy(string_array* sa, char* string);
/* Appends the formatted text, cut to 1023 characters. */
void string_array_add_f(string_array* sa, const char* format, ...) VONA_PRINTF(2, 3);
/* Appends the decimal text of `value`. */
void string_array_add_int(string_array* sa, int value);
/* Appends a copy of the characters from `begin` up to (not including) `end`. */
void string_array_add_segment(string_array* sa, const char* begin, const char* end);
/* Append copies of all strings of a null-terminated vector / of another array (null adds none). */
void string_array_add_array(string_array* sa, char* const* vector);
void string_array_add_all(string_array* sa, const string_array* other);

/* Replaces the string at `index` by a copy of `string` and returns the copy (owned by sa). */
char* string_array_set(string_array* sa, int index, const char* string);
/* Remove one string / `count` strings from `index` on, freeing them. */
void string_array_remove(string_array* sa, int index);
void string_array_remove_segment(string_array* sa, int index, int count);

/* The first index whose string equals `string` (case-sensitive), else -1. */
int string_array_find(const string_array* sa, const char* string);
/* The first index whose string is exactly the `length` characters at `begin`, else -1. */
int string_array_find_seg(const string_array* sa, const char* begin, int length);
/* 1 when both arrays hold equal strings in the same order, else 0. */
int string_array_equals(const string_array* a, const string_array* b);
/* Sorts in strcmp byte order. */
void string_array_sort(string_array* sa);

/* Splits `text` at each occurrence of `separator` (a non-empty string). White space at the start
 * of each item is skipped, white space at its end is kept; two adjacent separators give an empty
 * item, a separator at the very end gives no empty last item. A null text gives an empty array. */
string_array* string_array_split(const char* text, const char* separator);
/* A new malloc'd string: the `count` strings from `start` on, `separator` between each two.
 * A negative start counts as 0; a negative count, or one past the end, means up to the last
 * string; nothing left to join gives "". */
char* string_array_join(const string_array* sa, const char* separator, int start, int count);

/* Frees every string and the item array; size 0, items null. */
void string_array_clear(string_array* sa);
/* Clears and frees the array; null is accepted. */
void string_array_free(string_array* sa);

/* One string per line of the file; "\n" and "\r\n" endings are removed, empty lines kept, and a
 * line longer than 32767 bytes arrives as several strings. Null if the file cannot be read. */
string_array* string_array_load_from_file(const char* path);
/* Writes each string followed by "\n", replacing the file (not atomically). 0, or -1 if the
 * file cannot be opened. */
int string_array_save_to_file(const string_array* sa, const char* path);

VONA_END_DECLS

#endif
