#include "player/src/util/mt/cyclic_int_array.h"

#include <stdlib.h>

#include "player/src/util/mt/common.h"

namespace {

int slots(const ci_array* ciarr) { return ciarr->capacity + 1; }

// One slot forward / back, wrapping between the buffer's final slot and its first.
int* next(const ci_array* ciarr, int* slot) { return slot + 1 == ciarr->buffer + slots(ciarr) ? ciarr->buffer : slot + 1; }
int* previous(const ci_array* ciarr, int* slot) { return slot == ciarr->buffer ? ciarr->buffer + slots(ciarr) - 1 : slot - 1; }

// The slot `offset` places after `slot` (0 <= offset < slots).
int at(const ci_array* ciarr, const int* slot, int offset) {
  return ciarr->buffer[(slot - ciarr->buffer + offset) % slots(ciarr)];
}

}  // namespace

ci_array* ci_array_create(int capacity) {
  MY_ASSERT(capacity >= 0);
  ci_array* ciarr = (ci_array*)malloc(sizeof(ci_array));
  ciarr->buffer = (int*)calloc((size_t)capacity + 1, sizeof(int));
  ciarr->capacity = capacity;
  ciarr->first = ciarr->buffer;
  ciarr->last = ciarr->buffer;
  return ciarr;
}

void ci_array_free(ci_array* ciarr) {
  if (ciarr == nullptr) return;
  free(ciarr->buffer);
  free(ciarr);
}

int ci_array_is_empty(const ci_array* ciarr) { return ciarr->first == ciarr->last; }

int ci_array_size(const ci_array* ciarr) {
  if (ciarr->first <= ciarr->last) return (int)(ciarr->last - ciarr->first);
  return slots(ciarr) - (int)(ciarr->first - ciarr->last);
}

int ci_array_is_full(const ci_array* ciarr) { return ci_array_size(ciarr) == ciarr->capacity; }

int ci_array_capacity(const ci_array* ciarr) { return ciarr->capacity; }

int ci_array_first(const ci_array* ciarr) {
  MY_ASSERT(ciarr->first != ciarr->last);
  return *ciarr->first;
}

int ci_array_last(const ci_array* ciarr) {
  MY_ASSERT(ciarr->first != ciarr->last);
  return *previous(ciarr, ciarr->last);
}

int ci_array_first_n(const ci_array* ciarr, int n) {
  MY_ASSERT(n < ci_array_size(ciarr));
  return at(ciarr, ciarr->first, n);
}

int ci_array_last_n(const ci_array* ciarr, int n) {
  MY_ASSERT(n < ci_array_size(ciarr));
  // The newest element is one slot before `last`, so n places before it is slots - 1 - n after.
  return at(ciarr, ciarr->last, slots(ciarr) - 1 - n);
}

int ci_array_push_last(ci_array* ciarr, int value) {
  *ciarr->last = value;
  ciarr->last = next(ciarr, ciarr->last);
  if (ciarr->last != ciarr->first) return 0;
  ciarr->first = next(ciarr, ciarr->first);
  return 1;
}

int ci_array_push_first(ci_array* ciarr, int value) {
  ciarr->first = previous(ciarr, ciarr->first);
  *ciarr->first = value;
  if (ciarr->first != ciarr->last) return 0;
  ciarr->last = previous(ciarr, ciarr->last);
  return 1;
}

int ci_array_pop_first(ci_array* ciarr) {
  MY_ASSERT(ciarr->first != ciarr->last);
  int value = *ciarr->first;
  ciarr->first = next(ciarr, ciarr->first);
  return value;
}

int ci_array_pop_last(ci_array* ciarr) {
  MY_ASSERT(ciarr->first != ciarr->last);
  ciarr->last = previous(ciarr, ciarr->last);
  return *ciarr->last;
}
