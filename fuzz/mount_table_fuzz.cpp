// The mount table reader and the mount cache on arbitrary tables: fields stay inside their
// buffers, unescaping leaves a backslash only among the last three characters, the type has
// no blank, option values lie inside the options, and every cached absolute target holds itself.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_root.hpp"
#include "vonautil.h"

namespace {

void check_unescaped(const char* field) {
  size_t length = strnlen(field, MOUNT_ENTRY_FIELD_SIZE);
  if (length >= MOUNT_ENTRY_FIELD_SIZE) abort();
  const char* backslash = strchr(field, '\\');
  if (backslash && length - (size_t)(backslash - field) > 3) abort();
}

bool is_cached_type(const char* type) {
  for (const char* name : {"ext2", "ext3", "nfs", "tntfs", "cifs"}) {
    if (strcmp(type, name) == 0) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz_fixed_file("/proc/mounts", data, size);
  FILE* mounts = mount_utils_open_mounts();
  if (mounts == nullptr) abort();
  std::vector<std::string> cached_targets;
  mount_entry entry;
  while (mount_utils_next_mount(mounts, &entry) == 0) {
    check_unescaped(entry.source);
    check_unescaped(entry.target);
    if (strchr(entry.type, ' ') || strlen(entry.source) + strlen(entry.target) + strlen(entry.type) +
                                          strlen(entry.options) + 3 > MOUNT_MAX_LINE_LENGTH) {
      abort();
    }
    for (const char* name : {"vers", "addr", "uid", ""}) {
      str_seg value = mount_get_option_value(&entry, name);
      if (value.length > 0 && (value.start < entry.options || value.start + value.length > entry.options + strlen(entry.options))) {
        abort();
      }
    }
    // A relative target never matches a path, not even itself: the lookup's first match must
    // have '/' at the length matched so far, which starts at 0.
    if (is_cached_type(entry.type) && entry.target[0] == '/') cached_targets.push_back(entry.target);
  }
  mount_utils_close_mounts(mounts);
  mount_cache_update();
  for (const std::string& target : cached_targets) {
    char type[8];
    mount_cache_get_mount_type_str(type, sizeof type, target.c_str());
    if (mount_cache_get_mount_type(target.c_str()) == MOUNT_TYPE_UNKNOWN || strcmp(type, "unknown") == 0) abort();
  }
  return 0;
}
