// The properties parser on arbitrary text: every parsed entry must save and load back to
// the same container.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  properties* parsed = properties_create_empty();
  properties_build_from_buffer(parsed, text.c_str());
  properties* indexed = properties_create_with_index();
  properties_build_from_buffer(indexed, text.c_str());
  char* saved = properties_save_to_buffer(parsed);
  properties* reloaded = properties_create_empty();
  properties_build_from_buffer(reloaded, saved);
  if (!properties_equal(parsed, reloaded) || !properties_equal(parsed, indexed) || parsed->count != reloaded->count) {
    abort();
  }
  for (int i = 0; i < parsed->count; ++i) {
    if (strcmp(parsed->keys[i], reloaded->keys[i]) != 0) abort();
  }
  free(saved);
  properties_free(parsed);
  properties_free(indexed);
  properties_free(reloaded);
  return 0;
}
