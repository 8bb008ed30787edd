// Demo step of the ordered containers: entries come back in key order whatever the
// insertion order, strings ordered byte by byte.
#include <cstdio>
#include <cstdlib>

#include "command.hpp"
#include "vonautil.h"

namespace tool {

static void print_strings(const char* title, const char** snapshot) {
  printf("%s:", title);
  for (const char** slot = snapshot; *slot; ++slot) printf(" \"%s\"", *slot);
  printf("\n");
  free(snapshot);
}

static void demo_containers() {
  C_StringMap* settings = string_map_create();
  const char* pairs[][2] = {{"video.resolution", "1080p"}, {"audio.volume", "80"}, {"video", "hdmi"},
                            {"Audio.delay", "0"}};
  printf("string_map, put in this order:");
  for (const auto& pair : pairs) {
    string_map_put(settings, pair[0], pair[1]);
    printf(" %s=%s", pair[0], pair[1]);
  }
  printf("\nstring_map in key order:");
  const char** keys = string_map_get_keys(settings);
  for (const char** key = keys; *key; ++key) printf(" %s=%s", *key, string_map_get(settings, *key));
  printf("\n");
  free(keys);
  printf("string_map_first_key: %s\n", string_map_first_key(settings));
  string_map_free(settings);

  C_StringSet* words = string_set_create();
  for (const char* word : {"zebra", "\xc3\xa9t\xc3\xa9", "apple", "app", "Zoo", "apple"}) string_set_add(words, word);
  printf("string_set of zebra, \xc3\xa9t\xc3\xa9, apple, app, Zoo, apple (%d distinct)\n", string_set_size(words));
  print_strings("string_set in byte order", string_set_get_all(words));
  string_set_free(words);
}

TOOL_DEMO_STEP(21, "Ordered sets and maps", demo_containers);

}  // namespace tool
