#include "player/src/util/mt/path_encoding.h"

#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/encoding_utils.h"
#include "player/src/util/mt/settings_provider.h"

namespace {

int encoding_from_setting(int value) { return value >= 1 && value <= 12 ? value : 0; }

// The encoding of the file system that holds `path`. Paths are kept in UTF-8 on every file
// system the player mounts itself, so this is 0 for every path; the NFS and ext2/ext3
// settings are read by the callers that mount such file systems.
int path_encoding(const char* /*path*/) { return 0; }

// The converted path owned by the caller: the holder when a conversion took place, else a copy.
char* owned(const char* converted, char* holder) { return converted == holder ? holder : strdup(converted); }

}  // namespace

int FS_get_nfs_path_encoding(void) { return encoding_from_setting(settings_provider_get_nfs_path_encoding()); }

int FS_get_ext2_ext3_path_encoding(void) {
  return encoding_from_setting(settings_provider_get_ext2_ext3_path_encoding());
}

const char* FS_convert_path_to_external(char** holder, const char* path) {
  return MY_convert_string_to_external(holder, path, path_encoding(path));
}

const char* FS_convert_path_from_external(char** holder, const char* path) {
  return MY_convert_string_from_external(holder, path, path_encoding(path));
}

char* FS_path_to_external(const char* path) {
  char* holder = nullptr;
  return owned(FS_convert_path_to_external(&holder, path), holder);
}

char* FS_path_from_external(const char* path) {
  char* holder = nullptr;
  return owned(FS_convert_path_from_external(&holder, path), holder);
}
