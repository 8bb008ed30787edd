#include "player/src/util/mt/file_utils.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/encoding_utils.h"
#include "player/src/util/mt/path_encoding.h"
#include "player/src/util/mt/file_utils.hpp"

namespace vona {

const char* path_to_external(char** holder, const char* path) { return FS_convert_path_to_external(holder, path); }

// Names are kept in UTF-8 on every file system the player mounts itself.
int path_name_encoding(const char* path) {
  (void)path;
  return 0;
}

}  // namespace vona

using vona::ExternalPath;

namespace {

// A stream closed at scope exit (when the caller did not close it itself).
class Stream {
 public:
  Stream(const char* path, const char* mode) : file_(FS_fopen(path, mode)) {}
  ~Stream() {
    if (file_ != nullptr) fclose(file_);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  FILE* get() const { return file_; }
  // fclose's result; the stream is gone afterwards.
  int close() {
    int result = fclose(file_);
    file_ = nullptr;
    return result;
  }

 private:
  FILE* file_;
};

bool is_dot_or_dot_dot(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

// ---- Plain wrappers ----------------------------------------------------------------------

int FS_open(const char* path, int flags) { return open(ExternalPath(path).c_str(), flags); }

int FS_open_with_mode(const char* path, int flags, mode_t mode) {
  return open(ExternalPath(path).c_str(), flags, mode);
}

FILE* FS_fopen(const char* path, const char* mode) { return fopen(ExternalPath(path).c_str(), mode); }

int FS_stat(const char* path, struct stat* status) { return stat(ExternalPath(path).c_str(), status); }

int FS_lstat(const char* path, struct stat* status) { return lstat(ExternalPath(path).c_str(), status); }

int FS_access(const char* path, int access_mode) { return access(ExternalPath(path).c_str(), access_mode); }

int FS_mkdir(const char* path, mode_t mode) { return mkdir(ExternalPath(path).c_str(), mode); }

int FS_rmdir(const char* path) { return rmdir(ExternalPath(path).c_str()); }

int FS_unlink(const char* path) { return unlink(ExternalPath(path).c_str()); }

int FS_rename(const char* old_path, const char* new_path) {
  return rename(ExternalPath(old_path).c_str(), ExternalPath(new_path).c_str());
}

int FS_soft_link(const char* link_target, const char* link_path) {
  return symlink(ExternalPath(link_target).c_str(), ExternalPath(link_path).c_str());
}

int FS_chmod(const char* path, mode_t mode) { return chmod(ExternalPath(path).c_str(), mode); }

// ---- Predicates --------------------------------------------------------------------------

int FS_file_exists(const char* path) {
  struct stat status;
  return FS_stat(path, &status) == 0;
}

int FS_path_exists(const char* path) {
  FILE* file = FS_fopen(path, "r");
  if (file == nullptr) return 0;
  fclose(file);
  return 1;
}

int FS_dir_exists(const char* path) {
  fs_dir_handle* handle = FS_opendir(path);
  if (handle == nullptr) return 0;
  FS_closedir(handle);
  return 1;
}

int FS_is_dir(const char* path) {
  struct stat status;
  return FS_stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

int FS_is_regular_file(const char* path) {
  struct stat status;
  return FS_stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

int FS_dir_contains_files(const char* path) {
  DIR* dir = opendir(ExternalPath(path).c_str());
  if (dir == nullptr) {
    perror("opendir");
    return 0;
  }
  int found = 0;
  errno = 0;
  while (const struct dirent* entry = readdir(dir)) {
    if (!is_dot_or_dot_dot(entry->d_name) && strcmp(entry->d_name, "lost+found") != 0) {
      found = 1;
      break;
    }
  }
  if (!found && errno != 0) perror("readdir");
  closedir(dir);
  return found;
}

// ---- The open-directory table --------------------------------------------------------------

namespace {

constexpr int kMaxOpenDirs = 100;

pthread_mutex_t dir_table_mutex = PTHREAD_MUTEX_INITIALIZER;
fs_dir_handle dir_table[kMaxOpenDirs];
bool dir_table_cleared = false;

class DirTableLock {
 public:
  DirTableLock() { pthread_mutex_lock(&dir_table_mutex); }
  ~DirTableLock() { pthread_mutex_unlock(&dir_table_mutex); }
  DirTableLock(const DirTableLock&) = delete;
  DirTableLock& operator=(const DirTableLock&) = delete;
};

}  // namespace

fs_dir_handle* FS_opendir(const char* path) {
  DirTableLock lock;
  if (!dir_table_cleared) {
    memset(dir_table, 0, sizeof dir_table);
    dir_table_cleared = true;
  }
  fs_dir_handle* slot = nullptr;
  for (fs_dir_handle& candidate : dir_table) {
    if (candidate.dir == nullptr) {
      slot = &candidate;
      break;
    }
  }
  if (slot == nullptr) {
    fputs("Opened dirs limit exceeded\n", stderr);
    errno = EMFILE;
    return nullptr;
  }
  DIR* dir = opendir(ExternalPath(path).c_str());
  if (dir == nullptr) return nullptr;
  slot->dir = dir;
  slot->name_encoding = vona::path_name_encoding(path);
  slot->name = strdup("");
  return slot;
}

const char* FS_readdir(fs_dir_handle* handle) {
  DirTableLock lock;
  if (handle == nullptr || handle->dir == nullptr) {
    errno = EBADF;
    return nullptr;
  }
  const struct dirent* entry = readdir(handle->dir);
  if (entry == nullptr) return nullptr;
  if (handle->name_encoding != 0) {
    MY_convert_string_from_external_into_buf(&handle->name, entry->d_name, handle->name_encoding);
  } else {
    char* name = strdup(entry->d_name);
    free(handle->name);
    handle->name = name;
  }
  return handle->name;
}

int FS_closedir(fs_dir_handle* handle) {
  DirTableLock lock;
  if (handle == nullptr || handle->dir == nullptr) {
    errno = EBADF;
    return -1;
  }
  int result = closedir(handle->dir);
  int saved = errno;
  handle->dir = nullptr;
  free(handle->name);
  handle->name = nullptr;
  errno = saved;
  return result;
}

string_array* FS_scandir(const char* path) {
  fs_dir_handle* handle = FS_opendir(path);
  if (handle == nullptr) return nullptr;
  string_array* names = string_array_create_empty();
  while (const char* name = FS_readdir(handle)) {
    if (!is_dot_or_dot_dot(name)) string_array_add(names, name);
  }
  FS_closedir(handle);
  return names;
}

int FS_ensure_dir(const char* path, mode_t mode) {
  if (FS_mkdir(path, mode) == 0 || errno == EEXIST) return 0;
  return -1;
}

int FS_ensure_dirs(const char* path, mode_t mode) {
  char* holder = nullptr;
  char* text = strdup(vona::path_to_external(&holder, path));
  free(holder);
  int result = 0;
  char* cursor = text;
  while (cursor != nullptr && result == 0) {
    str_seg token = str_seg_strip(str_next_token(&cursor, "/"));
    if (token.length <= 0) continue;
    char* end = const_cast<char*>(token.start) + token.length;
    char saved = *end;
    *end = '\0';
    result = FS_ensure_dir(text, mode & 0xffff);
    *end = saved;
  }
  free(text);
  return result;
}

// ---- Whole files ---------------------------------------------------------------------------

char* FS_read_string(const char* path, int max_size) {
  Stream in(path, "r");
  if (in.get() == nullptr) return nullptr;
  size_t capacity = max_size > 0 ? (size_t)max_size : 0;
  char* buf = (char*)malloc(capacity + 1);
  MY_ASSERT(buf);
  size_t count = capacity > 0 ? fread(buf, 1, capacity, in.get()) : 0;
  if (ferror(in.get())) {
    free(buf);
    return nullptr;
  }
  buf[count] = '\0';
  return buf;
}

char* FS_read_string_unlimited_ext(const char* path, int* size_out) {
  struct stat status;
  if (FS_lstat(path, &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  int size = (int)status.st_size;
  if (size_out != nullptr) *size_out = size;
  return FS_read_string(path, size);
}

char* FS_read_string_unlimited(const char* path) { return FS_read_string_unlimited_ext(path, nullptr); }

int FS_read_to_buffer(const char* path, long long offset, char* buffer, int buffer_size) {
  Stream in(path, "r");
  if (in.get() == nullptr || fseeko(in.get(), (off_t)offset, SEEK_SET) != 0) return -1;
  size_t room = buffer_size > 1 ? (size_t)buffer_size - 1 : 0;
  size_t count = room > 0 ? fread(buffer, 1, room, in.get()) : 0;
  if (ferror(in.get())) return -1;
  if (buffer_size > 0) buffer[count] = '\0';
  return (int)count;
}

int FS_read_one_line(const char* path, char* buffer, int size) {
  Stream in(path, "r");
  if (in.get() == nullptr) return 0;
  (void)!fgets(buffer, size, in.get());
  return 1;
}

string_array* FS_readlines(const char* path, int max_line_size, int max_lines) {
  MY_ASSERT(max_line_size > 0);
  MY_ASSERT(max_lines >= 0);
  Stream in(path, "r");
  if (in.get() == nullptr) return nullptr;
  char* line = (char*)malloc((size_t)max_line_size + 1);
  MY_ASSERT(line);
  string_array* lines = string_array_create_empty();
  while ((max_lines == 0 || lines->size < max_lines) && fgets(line, max_line_size + 1, in.get()) != nullptr) {
    size_t length = strlen(line);
    if (length > 0 && line[length - 1] == '\n') line[--length] = '\0';
    if (length > 0 && line[length - 1] == '\r') line[--length] = '\0';
    string_array_add(lines, line);
  }
  free(line);
  return lines;
}

int FS_writedata(const char* path, const void* data, int size) {
  Stream out(path, "w");
  if (out.get() == nullptr) return 0;
  bool written = size > 0 && fwrite(data, (size_t)size, 1, out.get()) == 1;
  return out.close() == 0 && written ? 1 : 0;
}

int FS_writestring(const char* path, const char* string) {
  MY_ASSERT(string);
  return FS_writedata(path, string, (int)strlen(string));
}

int FS_writelines(const char* path, const string_array* lines) {
  MY_ASSERT(lines);
  Stream out(path, "w");
  if (out.get() == nullptr) return 0;
  for (int i = 0; i < lines->size; ++i) {
    if (fputs(lines->items[i], out.get()) == EOF || fputc('\n', out.get()) == EOF) return 0;
  }
  return out.close() == 0 ? 1 : 0;
}

int FS_create_empty_file(const char* path) {
  FILE* file = FS_fopen(path, "w");
  if (file == nullptr) {
    printf("FS_create_file(): failed to create file %s: %s", path, strerror(errno));
    return -1;
  }
  fclose(file);
  return 0;
}

// ---- Names and descriptors -----------------------------------------------------------------

char* FS_replace_filename_extension(const char* path, const char* extension) {
  const char* dot = strrchr(path, '.');
  const char* slash = strrchr(path, '/');
  size_t keep = strlen(path);
  if (dot != nullptr && (slash == nullptr || dot > slash)) {
    keep = (size_t)(dot - path) + 1;
    if (*extension != '\0') ++extension;  // the path keeps its own dot
  }
  size_t extension_length = strlen(extension);
  char* result = (char*)malloc(keep + extension_length + 1);
  memcpy(result, path, keep);
  memcpy(result + keep, extension, extension_length + 1);
  return result;
}

void FS_sanitize_filename(char* name) {
  for (char* p = name; *p; ++p) {
    if (strchr("\"%*./:<>?\\|", *p) != nullptr) *p = '_';
  }
}

int FS_disable_direct_mode(int descriptor, const char* name) {
  int flags = fcntl(descriptor, F_GETFL);
  if (flags == -1) {
    printf("fcntl(GET_FLAGS, %s) failed: %s\n", name, strerror(errno));
    return 0;
  }
  if (!(flags & O_DIRECT)) return 1;
  if (fcntl(descriptor, F_SETFL, flags & ~O_DIRECT) == -1) {
    printf("fcntl(SET_FLAGS, %s, %s) failed: %s\n", name, (flags & 1) ? "writing" : "reading", strerror(errno));
    return 0;
  }
  return 1;
}
