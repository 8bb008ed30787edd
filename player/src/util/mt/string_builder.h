/* The string builder: a stack of path-like strings kept in one growing buffer.
 *
 * Each pushed item is an absolute path or a path relative to an earlier item; popping
 * restores the buffer byte for byte as it was before the push, so a folder walk builds every
 * path it visits without allocating one per entry.
 *
 * An item is three offsets into the buffer: its full text is buf[start, end), its own last
 * part buf[begin, end). An item relative to the top item shares the top item's text; one
 * relative to an older item begins with a copy of that item's text. So every item's full text
 * is one contiguous run, and the top item's full text is a NUL-terminated C string. */
#ifndef VONAUTIL_STRING_BUILDER_H
#define VONAUTIL_STRING_BUILDER_H

#include "common.h"
#include "export.h"

VONA_BEGIN_DECLS

typedef struct string_builder_item {
  int start; /* where the item's full text begins */
  int begin; /* where its own last part begins (start <= begin) */
  int end;   /* where it ends; the top item ends at buf_length */
} string_builder_item;

typedef struct string_builder {
  char* buf;                  /* heap text, NUL-terminated at buf_length */
  int buf_length;             /* characters in use */
  int buf_capacity;           /* the allocation is buf_capacity + 1 bytes */
  string_builder_item* items; /* heap array of items */
  int num_items;
  int item_capacity;
} string_builder;

/* An empty builder: empty text, room for 1024 characters and 32 items. */
string_builder* string_builder_create(void);
/* Null is accepted. */
void string_builder_free(string_builder* sb);
/* A deep copy with the same capacities; null gives null. */
string_builder* string_builder_copy(const string_builder* sb);

/* Pushes an absolute item. Trailing slashes are dropped, but a lone "/" stays. */
void string_builder_push_abs(string_builder* sb, const char* path);
void string_builder_push_abs_seg(string_builder* sb, str_seg seg);

/* Pushes an item relative to the item at position base_num_items - 1; 0 means relative to
 * nothing. Relative to the top item (base_num_items == num_items) the new item extends the top
 * item's text after a "/"; relative to an older item it begins with a copy of that item's
 * text. Asserts "base_num_items <= t->num_items". */
void string_builder_push_rel(string_builder* sb, const char* path, int base_num_items);
void string_builder_push_rel_seg(string_builder* sb, str_seg seg, int base_num_items);

/* A path that begins with "/" is pushed as absolute, any other as relative. */
void string_builder_push_path(string_builder* sb, const char* path, int base_num_items);
void string_builder_push_path_seg(string_builder* sb, str_seg seg, int base_num_items);

/* Removes the top item and cuts the text back to the end of the new top item (or to empty).
 * Asserts "t->num_items > 0". */
void string_builder_pop(string_builder* sb);

/* The full text of item `ndx` (negative counts from the top: -1 is the top item); a segment
 * into the builder's buffer, valid until the next push or pop. Asserts "ndx > -t->num_items"
 * and "ndx < t->num_items"; an empty builder gives an empty segment for ndx 0. */
str_seg string_builder_get_by_ndx(const string_builder* sb, int ndx);
/* The own last part of item `ndx`, by the same rule (without the empty-builder exception). */
str_seg string_builder_get_item_by_ndx(const string_builder* sb, int ndx);

/* The top item's full text; "" when there are no items. */
const char* string_builder_top(const string_builder* sb);
str_seg string_builder_top_seg(const string_builder* sb);
/* The top item's own last part. Asserts "t->num_items > 0". */
const char* string_builder_top_item(const string_builder* sb);

/* Prints the builder's state under `prefix` to standard output. Asserts "prefix". */
void string_builder_dump(const string_builder* sb, const char* prefix);

VONA_END_DECLS

#endif
