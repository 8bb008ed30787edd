/* Typed lists: a growable array of owned item pointers, generated once per record type.
 *
 * Every list type of the library is the record
 *     typedef struct NAME { T** items; int num_items; int capacity; } NAME;
 * with the same family of functions NAME_create, NAME_create_with_capacity,
 * NAME_ensure_capacity, NAME_add, NAME_set, NAME_remove, NAME_remove_last, NAME_clear and
 * NAME_free; some lists also have NAME_insert and NAME_insert_list.
 *
 * A module declares a list in its public header, between VONA_BEGIN_DECLS and VONA_END_DECLS:
 *     TYPED_LIST_DECLARE(storage_info_list, storage_info);
 *     TYPED_LIST_DECLARE_INSERT(storage_info_list, storage_info);     (only if it inserts)
 * and defines it in its .cpp file, each on one line:
 *     TYPED_LIST_DEFINE(storage_info_list, storage_info, storage_info_free);
 *
 *     TYPED_LIST_DEFINE_INSERT(storage_info_list, storage_info);      (only if it inserts)
 *
 * The list owns its items: set, remove, remove_last, clear and free release them with the
 * element type's free function. Programming errors are assertions that name the module and the
 * line of TYPED_LIST_DEFINE, so one line identifies the list in every report; insert and
 * insert_list report the line two below it, where TYPED_LIST_DEFINE_INSERT is written.
 *
 * Growth: from capacity 0 the array takes exactly the needed size; otherwise the capacity goes
 * 2n + 1 until it is enough, which keeps appends amortised constant. */
#ifndef VONAUTIL_TYPED_LIST_H
#define VONAUTIL_TYPED_LIST_H

#include <stdlib.h>
#include <string.h>

#include "common.h"

/* The capacity that ensure_capacity grows a list of `capacity` slots to for `needed` items. */
static inline int typed_list_grown_capacity(int capacity, int needed) {
  if (capacity == 0) return needed;
  while (capacity < needed) capacity = 2 * capacity + 1;
  return capacity;
}

/* The record and the basic family. */
#define TYPED_LIST_DECLARE(NAME, T)                                  \
  typedef struct NAME {                                              \
    T** items;                                                       \
    int num_items;                                                   \
    int capacity;                                                    \
  } NAME;                                                            \
  NAME* NAME##_create(void);                                         \
  NAME* NAME##_create_with_capacity(int capacity);                   \
  void NAME##_ensure_capacity(NAME* t, int needed);                  \
  void NAME##_add(NAME* t, T* item);                                 \
  void NAME##_set(NAME* t, int ndx, T* item);                        \
  void NAME##_remove(NAME* t, int ndx);                              \
  void NAME##_remove_last(NAME* t);                                  \
  void NAME##_clear(NAME* t);                                        \
  void NAME##_free(NAME* t)

/* insert(t, ndx, item) puts one item at ndx; insert_list(t, ndx, other) moves every item of
 * `other` to ndx, keeping their order, and frees the `other` record. */
#define TYPED_LIST_DECLARE_INSERT(NAME, T)                           \
  void NAME##_insert(NAME* t, int ndx, T* item);                     \
  void NAME##_insert_list(NAME* t, int ndx, NAME* other)

/* An assertion reported at a given line of the defining module. */
#define TYPED_LIST_ASSERT(line, expr) \
  ((expr) ? (void)0 : MY_assertion_failed(__FILE__, (line), __func__, #expr))

#define TYPED_LIST_DEFINE(NAME, T, FREE)                                                        \
  enum { NAME##_defined_at_line = __LINE__ };                                                   \
  NAME* NAME##_create(void) { return NAME##_create_with_capacity(2); }                          \
  NAME* NAME##_create_with_capacity(int capacity) {                                             \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, capacity >= 0);                                   \
    NAME* t = (NAME*)calloc(1, sizeof(NAME));                                                   \
    NAME##_ensure_capacity(t, capacity);                                                        \
    return t;                                                                                   \
  }                                                                                             \
  void NAME##_ensure_capacity(NAME* t, int needed) {                                            \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t);                                               \
    if (t->capacity >= needed) return;                                                          \
    t->capacity = typed_list_grown_capacity(t->capacity, needed);                               \
    t->items = (T**)realloc(t->items, (size_t)t->capacity * sizeof(T*));                        \
  }                                                                                             \
  void NAME##_add(NAME* t, T* item) {                                                           \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t);                                               \
    NAME##_ensure_capacity(t, t->num_items + 1);                                                \
    t->items[t->num_items++] = item;                                                            \
  }                                                                                             \
  void NAME##_set(NAME* t, int ndx, T* item) {                                                  \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t);                                               \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, ndx >= 0);                                        \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, ndx < t->num_items);                              \
    FREE(t->items[ndx]);                                                                        \
    t->items[ndx] = item;                                                                       \
  }                                                                                             \
  void NAME##_remove(NAME* t, int ndx) {                                                        \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t);                                               \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, ndx >= 0);                                        \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, ndx < t->num_items);                              \
    FREE(t->items[ndx]);                                                                        \
    memmove(t->items + ndx, t->items + ndx + 1, (size_t)(t->num_items - ndx - 1) * sizeof(T*)); \
    t->num_items--;                                                                             \
  }                                                                                             \
  void NAME##_remove_last(NAME* t) {                                                            \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t);                                               \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t->num_items > 0);                                \
    FREE(t->items[--t->num_items]);                                                             \
  }                                                                                             \
  void NAME##_clear(NAME* t) {                                                                  \
    TYPED_LIST_ASSERT(NAME##_defined_at_line, t);                                               \
    for (int i = 0; i < t->num_items; i++) {                                                    \
      if (t->items[i]) FREE(t->items[i]);                                                       \
    }                                                                                           \
    t->num_items = 0;                                                                           \
  }                                                                                             \
  void NAME##_free(NAME* t) {                                                                   \
    if (t == NULL) return;                                                                      \
    NAME##_clear(t);                                                                            \
    free(t->items);                                                                             \
    free(t);                                                                                    \
  }                                                                                             \
  typedef int NAME##_definition_ends_here

/* Written two lines below TYPED_LIST_DEFINE of the same list; the insert operations report that
 * line whatever line they stand on. Only the index is checked, as callers insert into lists they
 * have just created or looked up. */
#define TYPED_LIST_DEFINE_INSERT(NAME, T)                                                       \
  void NAME##_insert(NAME* t, int ndx, T* item) {                                               \
    TYPED_LIST_ASSERT(NAME##_defined_at_line + 2, ndx <= t->num_items);                         \
    NAME##_ensure_capacity(t, t->num_items + 1);                                                \
    memmove(t->items + ndx + 1, t->items + ndx, (size_t)(t->num_items - ndx) * sizeof(T*));     \
    t->items[ndx] = item;                                                                       \
    t->num_items++;                                                                             \
  }                                                                                             \
  void NAME##_insert_list(NAME* t, int ndx, NAME* other) {                                      \
    TYPED_LIST_ASSERT(NAME##_defined_at_line + 2, ndx <= t->num_items);                         \
    int moved = other->num_items;                                                               \
    if (moved > 0) {                                                                            \
      NAME##_ensure_capacity(t, t->num_items + moved);                                          \
      memmove(t->items + ndx + moved, t->items + ndx, (size_t)(t->num_items - ndx) * sizeof(T*)); \
      memcpy(t->items + ndx, other->items, (size_t)moved * sizeof(T*));                         \
      t->num_items += moved;                                                                    \
    }                                                                                           \
    free(other->items);                                                                         \
    free(other);                                                                                \
  }                                                                                             \
  typedef int NAME##_insert_definition_ends_here

#endif
