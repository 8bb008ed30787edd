#include "player/src/util/mt/container_utils.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/string_builder.hpp"

namespace {

// The keys of one saved object: the prefix and "." (nothing without a prefix, unless
// `always_dot`), then a formatted name, in a 1024-byte buffer.
class Keys {
 public:
  explicit Keys(const char* prefix, bool always_dot = false) {
    bool dot = always_dot || (prefix != nullptr && *prefix);
    int length = dot ? snprintf(text_, sizeof text_, "%s.", prefix != nullptr ? prefix : "") : 0;
    name_ = length < (int)sizeof text_ ? length : (int)sizeof text_ - 1;
  }

  const char* operator()(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list args;
    va_start(args, format);
    vsnprintf(text_ + name_, sizeof text_ - (size_t)name_, format, args);
    va_end(args);
    return text_;
  }

 private:
  char text_[1024];
  int name_;
};

bool restored_as_null(const properties* props, Keys& name) { return properties_get_int(props, name("is_null"), 1) != 0; }

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
  if (restored_as_null(props, name)) return nullptr;
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

void string_builder_save(const string_builder* sb, properties* props, const char* prefix) {
  if (sb == nullptr) return;
  Keys name(prefix);
  properties_set_int(props, name("is_null"), 0);
  properties_set_int(props, name("num_items"), sb->num_items);
  int previous_end = 0;
  for (int i = 0; i < sb->num_items; ++i) {
    const string_builder_item& item = sb->items[i];
    properties_set_seg(props, name("%d.segment", i), str_seg{sb->buf + previous_end, item.end - previous_end});
    properties_set_int(props, name("%d.start", i), item.start);
    properties_set_int(props, name("%d.begin", i), item.begin);
    properties_set_int(props, name("%d.end", i), item.end);
    previous_end = item.end;
  }
}

string_builder* string_builder_restore(const properties* props, const char* prefix) {
  Keys name(prefix);
  if (restored_as_null(props, name)) return nullptr;
  string_builder* t = string_builder_create();
  int num_items = properties_get_int(props, name("num_items"), -1);
  MY_ASSERT(num_items >= 0);
  vona::string_builder_reserve_items(t, num_items);
  for (int i = 0; i < num_items; ++i) {
    const char* str = properties_get(props, name("%d.segment", i));
    MY_ASSERT(str);
    vona::string_builder_append(t, str, (int)strlen(str));
    int start = properties_get_int(props, name("%d.start", i), -1);
    int begin = properties_get_int(props, name("%d.begin", i), -1);
    int end = properties_get_int(props, name("%d.end", i), -1);
    MY_ASSERT(start >= 0);
    MY_ASSERT(begin >= start);
    MY_ASSERT(end >= begin);
    MY_ASSERT(end == t->buf_length);
    vona::string_builder_add_item(t, start, begin, end);
  }
  return t;
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
  if (restored_as_null(props, name)) return nullptr;
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
