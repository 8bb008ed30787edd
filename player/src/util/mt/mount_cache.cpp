#include "player/src/util/mt/mount_cache.hpp"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/mount_utils.h"

namespace {

const char kMainMountLink[] = "/tmp/mnt/D";
const int kMaxLinkLength = 4096;

struct TypeCode {
  const char* name;
  mount_type code;
};
const TypeCode kTypeCodes[] = {{"ext2", MOUNT_TYPE_EXT},
                               {"ext3", MOUNT_TYPE_EXT},
                               {"nfs", MOUNT_TYPE_NFS},
                               {"tntfs", MOUNT_TYPE_TNTFS},
                               {"cifs", MOUNT_TYPE_CIFS}};

struct CacheEntry {
  char* target;
  int target_length;
  char type_name[MOUNT_CACHE_MAX_TYPE_NAME_LENGTH + 1];
  mount_type code;
};

// The cache; every field is guarded by cache_mutex.
std::mutex cache_mutex;
// Never destroyed: the cache lives as long as the process, and other threads may still
// query it while static objects are destroyed at exit.
std::vector<CacheEntry>& entries = *new std::vector<CacheEntry>;
char* main_mount_target = nullptr;
bool dirty = true;

bool find_type_code(const char* type, mount_type* code) {
  for (const TypeCode& row : kTypeCodes) {
    if (strcmp(row.name, type) == 0) {
      *code = row.code;
      return true;
    }
  }
  return false;
}

// Copies at most size - 1 characters of text and a terminator; nothing when size < 1.
void copy_cut(char* buffer, int size, const char* text) {
  if (size <= 0) return;
  size_t length = strnlen(text, (size_t)size - 1);
  memcpy(buffer, text, length);
  buffer[length] = '\0';
}

void clear_locked() {
  for (CacheEntry& entry : entries) free(entry.target);
  entries.clear();
  free(main_mount_target);
  main_mount_target = nullptr;
}

void update_locked() {
  dirty = false;
  clear_locked();
  FILE* mounts = mount_utils_open_mounts();
  if (mounts == nullptr) return;
  char link[kMaxLinkLength + 1];
  ssize_t link_length = readlink(vona::fixed_path(kMainMountLink).c_str(), link, kMaxLinkLength);
  if (link_length >= 0) link[link_length] = '\0';
  mount_entry mount;
  while (mount_utils_next_mount(mounts, &mount) == 0) {
    if (link_length >= 0 && main_mount_target == nullptr && strcmp(mount.target, link) == 0) {
      main_mount_target = strdup(kMainMountLink);
    }
    mount_type code;
    if (!find_type_code(mount.type, &code)) continue;
    CacheEntry entry;
    entry.target = strdup(mount.target);
    entry.target_length = (int)strlen(mount.target);
    copy_cut(entry.type_name, (int)sizeof entry.type_name, mount.type);
    entry.code = code;
    entries.push_back(entry);
  }
  mount_utils_close_mounts(mounts);
}

void update_if_dirty_locked() {
  if (dirty) update_locked();
}

// The entry that holds the path, or null (see the header for the rule, kept as it is).
const CacheEntry* find_locked(const char* path) {
  int path_length = (int)strlen(path);
  int best_length = 0;
  const CacheEntry* best = nullptr;
  for (const CacheEntry& entry : entries) {
    if (strncmp(entry.target, path, (size_t)entry.target_length) != 0) continue;
    if (path_length > best_length && path[best_length] != '/') continue;
    if (best == nullptr || entry.target_length > best_length) {
      best = &entry;
      best_length = entry.target_length;
    }
  }
  return best;
}

}  // namespace

void mount_cache_update(void) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  update_locked();
}

void mount_cache_set_dirty(void) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  dirty = true;
}

mount_type mount_cache_get_mount_type(const char* path) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  update_if_dirty_locked();
  const CacheEntry* entry = find_locked(path);
  return entry ? entry->code : MOUNT_TYPE_UNKNOWN;
}

void mount_cache_get_mount_type_str(char* buffer, int size, const char* path) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  update_if_dirty_locked();
  const CacheEntry* entry = find_locked(path);
  copy_cut(buffer, size, entry ? entry->type_name : "unknown");
}

int mount_cache_get_main_mount_target(char* buffer, int size) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  update_if_dirty_locked();
  if (main_mount_target == nullptr) return 0;
  copy_cut(buffer, size, main_mount_target);
  return 1;
}

std::vector<vona::CachedMount> vona::mount_cache_entries() {
  std::lock_guard<std::mutex> lock(cache_mutex);
  update_if_dirty_locked();
  std::vector<CachedMount> copy;
  for (const CacheEntry& entry : entries) copy.push_back(CachedMount{entry.target, entry.type_name, entry.code});
  return copy;
}
