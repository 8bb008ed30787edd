#include "player/src/util/mt/long_long_array.h"

#include <stdlib.h>
#include <string.h>

#include "player/src/util/mt/common.h"

namespace {

// Resizes the value array to exactly `size` values (freeing it at 0).
void resize_items(long_long_array* lla, int size) {
  if (size == 0) {
    free(lla->items);
    lla->items = nullptr;
  } else {
    lla->items = (long long*)realloc(lla->items, (size_t)size * sizeof(long long));
  }
  lla->size = size;
}

void append(long_long_array* lla, const long long* values, int count) {
  if (count <= 0) return;
  int old_size = lla->size;
  bool own = values == lla->items;
  resize_items(lla, old_size + count);
  memcpy(lla->items + old_size, own ? lla->items : values, (size_t)count * sizeof(long long));
}

}  // namespace

long_long_array* long_long_array_create_empty(void) {
  return (long_long_array*)calloc(1, sizeof(long_long_array));
}

long_long_array* long_long_array_create_single(long long value) {
  long_long_array* lla = long_long_array_create_empty();
  long_long_array_add(lla, value);
  return lla;
}

long_long_array* long_long_array_copy(const long_long_array* lla) {
  if (lla == nullptr) return nullptr;
  long_long_array* copy = long_long_array_create_empty();
  long_long_array_add_all(copy, lla);
  return copy;
}

long_long_array* long_long_array_create_from_string_array(const string_array* sa) {
  if (sa == nullptr) return nullptr;
  long_long_array* lla = long_long_array_create_empty();
  resize_items(lla, sa->size);
  for (int i = 0; i < sa->size; i++) lla->items[i] = str_parse_int(sa->items[i], -1);
  return lla;
}

void long_long_array_add(long_long_array* lla, long long value) { append(lla, &value, 1); }

void long_long_array_add_all(long_long_array* lla, const long_long_array* other) {
  if (other) append(lla, other->items, other->size);
}

void long_long_array_set(long_long_array* lla, int index, long long value) {
  MY_ASSERT(index >= 0 && index < lla->size);
  lla->items[index] = value;
}

void long_long_array_remove(long_long_array* sa, int index) { long_long_array_remove_segment(sa, index, 1); }

void long_long_array_remove_segment(long_long_array* sa, int index, int count) {
  MY_ASSERT(index >= 0 && count > 0 && index + count <= sa->size);
  memmove(sa->items + index, sa->items + index + count, (size_t)(sa->size - index - count) * sizeof(long long));
  resize_items(sa, sa->size - count);
}

int long_long_array_find(const long_long_array* lla, long long value) {
  for (int i = 0; i < lla->size; i++) {
    if (lla->items[i] == value) return i;
  }
  return -1;
}

void long_long_array_clear(long_long_array* lla) { resize_items(lla, 0); }

void long_long_array_free(long_long_array* lla) {
  if (lla == nullptr) return;
  long_long_array_clear(lla);
  free(lla);
}
