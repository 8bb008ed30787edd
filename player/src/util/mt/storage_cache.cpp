#include "player/src/util/mt/storage_cache.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/containers.h"
#include "player/src/util/mt/fixed_path.hpp"

namespace {

const char kCachePath[] = "/tmp/run/storages.txt";

struct StorageRecord {
  char* name;
  char* uuid;   // or null
  char* label;  // or null
};

char* copy_or_null(const char* text) { return text ? strdup(text) : nullptr; }

void record_free(void* object) {
  StorageRecord* record = static_cast<StorageRecord*>(object);
  free(record->name);
  free(record->uuid);
  free(record->label);
  free(record);
}

// The four maps; each is guarded by cache_mutex.
std::mutex cache_mutex;
C_StringMap* storage_mount_path_by_name = nullptr;
C_StringMap* storage_mount_path_by_uuid = nullptr;
C_StringMap* storage_mount_path_by_label = nullptr;
C_ObjectByStringMap* storage_by_mount_path = nullptr;

void reset_locked() {
  string_map_free(storage_mount_path_by_name);
  string_map_free(storage_mount_path_by_uuid);
  string_map_free(storage_mount_path_by_label);
  object_by_string_map_free(storage_by_mount_path, record_free);
  storage_mount_path_by_name = string_map_create();
  storage_mount_path_by_uuid = string_map_create();
  storage_mount_path_by_label = string_map_create();
  storage_by_mount_path = object_by_string_map_create();
}

// Adds a storage whose mount path is not empty.
void add_locked(const char* mount_path, const char* name, const char* uuid, const char* label) {
  if (name == nullptr || name[0] == '\0') return;
  MY_ASSERT(storage_by_mount_path);
  StorageRecord* record = static_cast<StorageRecord*>(calloc(1, sizeof(StorageRecord)));
  record->name = strdup(name);
  record->uuid = copy_or_null(uuid);
  record->label = copy_or_null(label);
  object_by_string_map_put(storage_by_mount_path, mount_path, record, record_free);
  string_map_put(storage_mount_path_by_name, name, mount_path);
  if (uuid) string_map_put(storage_mount_path_by_uuid, uuid, mount_path);
  if (label) string_map_put(storage_mount_path_by_label, label, mount_path);
}

char* lookup(const C_StringMap* map, const char* key) {
  const char* mount_path = key ? string_map_get(map, key) : nullptr;
  return copy_or_null(mount_path);
}

// The record of a mount path; a null key is reported, as a caller's mistake, and gives null.
const StorageRecord* record_of(const char* mount_path) {
  if (mount_path == nullptr) {
    printf("FATAL ERROR in StorageCache: get(NULL) called\n");
    return nullptr;
  }
  return static_cast<const StorageRecord*>(object_by_string_map_get(storage_by_mount_path, mount_path));
}

// Reads one line into buffer without its surrounding white space; false at the end.
bool read_stripped_line(FILE* file, char* buffer, int size) {
  if (fgets(buffer, size, file) == nullptr) return false;
  str_strip(buffer);
  return true;
}

}  // namespace

void storage_cache_reset(void) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  reset_locked();
}

void storage_cache_add_storage(const char* mount_path, const char* name, const char* uuid, const char* label) {
  MY_ASSERT(mount_path);
  MY_ASSERT(mount_path[0]);
  std::lock_guard<std::mutex> lock(cache_mutex);
  add_locked(mount_path, name, uuid, label);
}

char* storage_cache_get_mount_path_by_name(const char* name) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  MY_ASSERT(storage_mount_path_by_name);
  return lookup(storage_mount_path_by_name, name);
}

char* storage_cache_get_mount_path_by_uuid(const char* uuid) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  MY_ASSERT(storage_mount_path_by_uuid);
  return lookup(storage_mount_path_by_uuid, uuid);
}

char* storage_cache_get_mount_path_by_label(const char* label) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  MY_ASSERT(storage_mount_path_by_label);
  return lookup(storage_mount_path_by_label, label);
}

void storage_cache_save(void) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  MY_ASSERT(storage_by_mount_path);
  FILE* file = fopen(vona::fixed_path(kCachePath).c_str(), "w");
  if (file == nullptr) return;
  const char** mount_paths = object_by_string_map_get_keys(storage_by_mount_path);
  for (const char** path = mount_paths; *path; ++path) {
    const StorageRecord* record = record_of(*path);
    if (record == nullptr) continue;
    fprintf(file, "%s\n%s\n%s\n%s\n", *path, record->name, record->uuid ? record->uuid : "",
            record->label ? record->label : "");
  }
  free(mount_paths);
  fclose(file);
}

void storage_cache_load(void) {
  std::lock_guard<std::mutex> lock(cache_mutex);
  reset_locked();
  FILE* file = fopen(vona::fixed_path(kCachePath).c_str(), "r");
  if (file == nullptr) return;
  char lines[4][STORAGE_CACHE_MAX_LINE_LENGTH + 1];
  while (read_stripped_line(file, lines[0], sizeof lines[0]) && read_stripped_line(file, lines[1], sizeof lines[1]) &&
         read_stripped_line(file, lines[2], sizeof lines[2]) && read_stripped_line(file, lines[3], sizeof lines[3])) {
    if (lines[0][0] && lines[1][0]) add_locked(lines[0], lines[1], lines[2], lines[3]);
  }
  fclose(file);
}
