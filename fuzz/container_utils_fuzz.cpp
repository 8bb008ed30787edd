// Restores every saved container from an arbitrary properties text. Restoring asserts when a
// file breaks the layout (callers must trust the file or check it first), so the target checks
// the documented conditions itself and restores only what passes them; a restore must then
// neither fail nor allocate beyond what the file holds, and save back what it read.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_text.hpp"
#include "vonautil.h"

namespace {

std::string key(const char* prefix, const std::string& name) { return std::string(prefix) + "." + name; }

// Every "%d" (or "%d.key" and "%d.value") entry below "size" is present.
bool has_numbered_entries(const properties* p, const char* prefix, bool pairs) {
  if (properties_get_int(p, key(prefix, "is_null").c_str(), 1) != 0) return true;
  int size = properties_get_int(p, key(prefix, "size").c_str(), 0);
  if (size > p->count) return false;
  for (int i = 0; i < size; ++i) {
    std::string n = std::to_string(i);
    if (pairs ? !properties_contains_key(p, key(prefix, n + ".key").c_str()) ||
                    !properties_contains_key(p, key(prefix, n + ".value").c_str())
              : !properties_contains_key(p, key(prefix, n).c_str())) {
      return false;
    }
  }
  return true;
}

// The checks of string_builder_restore, in its order.
bool is_valid_builder(const properties* p, const char* prefix) {
  if (properties_get_int(p, key(prefix, "is_null").c_str(), 1) != 0) return true;
  int items = properties_get_int(p, key(prefix, "num_items").c_str(), -1);
  if (items < 0 || items > p->count) return false;
  long long length = 0;
  for (int i = 0; i < items; ++i) {
    std::string n = std::to_string(i);
    const char* segment = properties_get(p, key(prefix, n + ".segment").c_str());
    if (segment == nullptr) return false;
    length += (long long)strlen(segment);
    int start = properties_get_int(p, key(prefix, n + ".start").c_str(), -1);
    int begin = properties_get_int(p, key(prefix, n + ".begin").c_str(), -1);
    int end = properties_get_int(p, key(prefix, n + ".end").c_str(), -1);
    if (start < 0 || begin < start || end < begin || end != length) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 65536) return 0;
  char* text = fuzz_text(data, size);
  properties* p = properties_create_with_index();
  properties_build_from_buffer(p, text);
  free(text);

  long_long_array* numbers = long_long_array_restore_bounded(p, "n");
  if (numbers != nullptr && numbers->size > p->count) abort();
  long_long_array_free(numbers);
  if (has_numbered_entries(p, "a", false)) string_array_free(string_array_restore(p, "a"));
  if (has_numbered_entries(p, "s", false)) string_set_free(string_set_restore(p, "s"));
  if (has_numbered_entries(p, "m", true)) string_map_free(string_map_restore(p, "m"));
  if (is_valid_builder(p, "b")) {
    string_builder* builder = string_builder_restore(p, "b");
    if (builder != nullptr) {
      properties* saved = properties_create_empty();
      string_builder_save(builder, saved, "b");
      string_builder* again = string_builder_restore(saved, "b");
      if (again == nullptr || strcmp(again->buf, builder->buf) != 0 || again->num_items != builder->num_items) abort();
      string_builder_free(again);
      string_builder_free(builder);
      properties_free(saved);
    }
  }
  properties_free(p);
  return 0;
}
