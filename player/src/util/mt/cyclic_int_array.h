/* ci_array: a ring of at most `capacity` integers that can grow and shrink at both ends, for
 * short histories (recent positions, key timings). Pushing onto a full ring drops the element
 * at the other end. */
#ifndef VONAUTIL_CYCLIC_INT_ARRAY_H
#define VONAUTIL_CYCLIC_INT_ARRAY_H

#include "export.h"

VONA_BEGIN_DECLS

typedef struct ci_array {
  int* buffer;  /* capacity + 1 slots: one always stays free to tell a full ring from an empty one */
  int capacity; /* maximum number of elements */
  int* first;   /* the oldest element */
  int* last;    /* one past the newest element; first == last when empty */
} ci_array;

ci_array* ci_array_create(int capacity);
/* Null is accepted. */
void ci_array_free(ci_array* ciarr);

int ci_array_is_empty(const ci_array* ciarr);
int ci_array_size(const ci_array* ciarr);
int ci_array_is_full(const ci_array* ciarr);
int ci_array_capacity(const ci_array* ciarr);

/* The oldest / newest element of a non-empty ring. */
int ci_array_first(const ci_array* ciarr);
int ci_array_last(const ci_array* ciarr);
/* The element n places after the oldest / before the newest (0 gives the oldest / newest). */
int ci_array_first_n(const ci_array* ciarr, int n);
int ci_array_last_n(const ci_array* ciarr, int n);

/* Store at the back / the front. When the ring was full, the element at the other end is
 * dropped and the result is 1; otherwise 0. */
int ci_array_push_last(ci_array* ciarr, int value);
int ci_array_push_first(ci_array* ciarr, int value);
/* Remove and return the oldest / newest element of a non-empty ring. */
int ci_array_pop_first(ci_array* ciarr);
int ci_array_pop_last(ci_array* ciarr);

VONA_END_DECLS

#endif
