#include "player/src/util/mt/container_utils.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/container_utils.hpp"

namespace {

using vona::Keys;

// Saves "is_null", "size" and "%d" strings, the layout shared by string arrays and sets.
void save_strings(const char* const* strings, int size, properties* props, const char* prefix) {
  Keys name(prefix);
  properties_set_int(props, name("is_null"), 0);
  properties_set_int(props, name("size"), size);
  for (int i = 0; i < size; ++i) properties_set(props, name("%d", i), strings[i]);
}

// Restores what save_strings saved into a container made by create() and filled by add();
// a missing string is reported as an assertion of `function`.
template <typename T, typename Add>
T* restore_strings(const properties* props, const char* prefix, const char* function, T* (*create)(), Add add) {
  Keys name(prefix);
  if (vona::restored_as_null(props, name)) return nullptr;
  T* container = create();
  int size = properties_get_int(props, name("size"), 0);
  for (int i = 0; i < size; ++i) {
    const char* s = properties_get(props, name("%d", i));
    if (s == nullptr) MY_assertion_failed(__FILE__, __LINE__, function, "s");
    add(container, s);
  }
  return container;
}

}  // namespace

void string_array_save(const string_array* sa, properties* props, const char* prefix) {
  if (sa != nullptr) save_strings(sa->items, sa->size, props, prefix);
}

string_array* string_array_restore(const properties* props, const char* prefix) {
  return restore_strings(props, prefix, __func__, string_array_create_empty,
                         [](string_array* sa, const char* s) { string_array_add(sa, s); });
}

void long_long_array_save(const long_long_array* lla, properties* props, const char* prefix) {
  Keys name(prefix, true);
  properties_set_int(props, name("is_not_null"), lla != nullptr);
  if (lla == nullptr) return;
  properties_set_int(props, name("size"), lla->size);
  for (int i = 0; i < lla->size; ++i) properties_set_long_long(props, name("value.%d", i), lla->items[i]);
}

long_long_array* long_long_array_restore(const properties* props, const char* prefix) {
  Keys name(prefix, true);
  if (properties_get_int(props, name("is_not_null"), 0) == 0) return nullptr;
  long_long_array* lla = long_long_array_create_empty();
  int size = properties_get_int(props, name("size"), 0);
  for (int i = 0; i < size; ++i) {
    long_long_array_add(lla, properties_get_long_long(props, name("value.%d", i), -1));
  }
  return lla;
}

long_long_array* long_long_array_restore_bounded(const properties* props, const char* prefix) {
  Keys name(prefix, true);
  int size = properties_get_int(props, name("size"), 0);
  if (size < 0 || size > props->count) return nullptr;
  return long_long_array_restore(props, prefix);
}

void string_set_save(const C_StringSet* set, properties* props, const char* prefix) {
  if (set == nullptr) return;
  const char** values = string_set_get_all(set);
  MY_ASSERT(values);
  save_strings(values, string_set_size(set), props, prefix);
  free(values);
}

C_StringSet* string_set_restore(const properties* props, const char* prefix) {
  return restore_strings(props, prefix, __func__, string_set_create,
                         [](C_StringSet* set, const char* s) { string_set_add(set, s); });
}

void string_map_save(const C_StringMap* map, properties* props, const char* prefix) {
  if (map == nullptr) return;
  const char** keys = string_map_get_keys(map);
  MY_ASSERT(keys);
  const char** values = string_map_get_values(map);
  MY_ASSERT(values);
  Keys name(prefix);
  int size = string_map_size(map);
  properties_set_int(props, name("is_null"), 0);
  properties_set_int(props, name("size"), size);
  for (int i = 0; i < size; ++i) {
    properties_set(props, name("%d.key", i), keys[i]);
    properties_set(props, name("%d.value", i), values[i]);
  }
  free(keys);
  free(values);
}

C_StringMap* string_map_restore(const properties* props, const char* prefix) {
  Keys name(prefix);
  if (vona::restored_as_null(props, name)) return nullptr;
  C_StringMap* map = string_map_create();
  int size = properties_get_int(props, name("size"), 0);
  for (int i = 0; i < size; ++i) {
    const char* key = properties_get(props, name("%d.key", i));
    MY_ASSERT(key);
    const char* value = properties_get(props, name("%d.value", i));
    MY_ASSERT(value);
    string_map_put(map, key, value);
  }
  return map;
}
