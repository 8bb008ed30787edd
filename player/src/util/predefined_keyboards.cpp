#include "player/src/util/predefined_keyboards.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"

namespace {

constexpr size_t kMaxLayouts = 200;

struct Entry {
  std::string id;
  bool loaded = false;
  osk_layout layout;

  explicit Entry(const char* identifier) : id(identifier) { osk_initialize_layout(&layout); }
  ~Entry() { osk_finalize_layout(&layout); }
};

// Every identifier asked for, loaded or not, in the order of the first request.
std::vector<std::unique_ptr<Entry>>& registry() {
  static std::vector<std::unique_ptr<Entry>> entries;
  return entries;
}

}  // namespace

osk_layout* get_predefined_osk_layout(const char* id) {
  MY_ASSERT(id);
  auto& entries = registry();
  for (const auto& entry : entries) {
    if (entry->id == id) return entry->loaded ? &entry->layout : nullptr;
  }
  if (entries.size() >= kMaxLayouts) {
    log_print("Warning: too many on-screen keyboards registered\n");
    return nullptr;
  }
  entries.push_back(std::make_unique<Entry>(id));
  Entry& entry = *entries.back();
  char path[1024];
  snprintf(path, sizeof path, "%s/vona_keyboard_%s.txt", vona::fixed_path("/firmware/on_screen_keyboards").c_str(),
           id);
  char* text = FS_read_string_unlimited(path);
  if (text == nullptr) {
    log_print("No on-screen keyboard is found for '%s'", id);
    return nullptr;
  }
  const char* message = osk_parse_layout(&entry.layout, text);
  if (message == nullptr) {
    entry.loaded = true;
    log_print("On-screen keyboard is successfully loaded for '%s'", id);
  } else {
    log_print("Failed to parse on-screen keyboard for '%s': %s", id, message);
    printf("Layout:\n%s\n", text);
    osk_finalize_layout(&entry.layout);
  }
  free(text);
  return entry.loaded ? &entry.layout : nullptr;
}
