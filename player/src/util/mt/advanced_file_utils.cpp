#include "player/src/util/mt/advanced_file_utils.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/file_utils.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/string_builder.h"

using vona::ExternalPath;

// ---- The walk ----------------------------------------------------------------------------------

namespace {

// A visitor cancelled during an error visit; the outermost call reports it as a failure (1).
constexpr int kCanceledOnError = -99;

struct Walk {
  string_builder* path;  // the current path is the top item
  FS_path_visitor visit;
  void* context;
};

int visit_or_cancel(const Walk& walk, const struct stat* status) {
  const char* path = string_builder_top(walk.path);
  if (walk.visit(path, status, walk.context) != FS_VISIT_CANCEL) return 0;
  log_print("[fs_iter] visit(%s): canceled", path);
  return -1;
}

// An error visit: null status.
int visit_error(const Walk& walk, int* result) {
  const char* path = string_builder_top(walk.path);
  *result = walk.visit(path, nullptr, walk.context);
  if (*result != FS_VISIT_CANCEL) return 0;
  log_print("[fs_iter] visit(%s): canceled on error", path);
  return kCanceledOnError;
}

// The directories on the current walk path, innermost first, each in the frame of its step.
struct Ancestor {
  dev_t device;
  ino_t inode;
  const Ancestor* parent;
};

bool is_on_walk_path(const Ancestor* ancestors, const struct stat& status) {
  for (const Ancestor* a = ancestors; a != nullptr; a = a->parent) {
    if (a->device == status.st_dev && a->inode == status.st_ino) return true;
  }
  return false;
}

// One step on the top path of the walk: 0 all went well, 1 something failed, -1 cancelled,
// kCanceledOnError cancelled during an error visit.
int walk_step(const Walk& walk, unsigned int flags, const Ancestor* ancestors) {
  const unsigned int child_flags = (flags & ~FS_ITER_FOLLOW_LINKS) | ((flags & FS_ITER_FOLLOW_LINKS_BELOW) ? 1u : 0u);
  const bool pre_order = flags & FS_ITER_PRE_ORDER;
  const bool continue_on_error = flags & FS_ITER_CONTINUE_ON_ERROR;
  const bool visit_errors = flags & FS_ITER_VISIT_ERRORS;

  struct stat status;
  const bool follow = flags & FS_ITER_FOLLOW_LINKS;
  const char* path = string_builder_top(walk.path);
  bool examined = (follow ? FS_stat(path, &status) : FS_lstat(path, &status)) == 0;
  if (examined && S_ISDIR(status.st_mode) && is_on_walk_path(ancestors, status)) {
    // A followed link (or a bind mount) back into the walk path would be walked forever:
    // it is a path that cannot be examined, for the reason ELOOP.
    examined = false;
    errno = ELOOP;
  }
  if (!examined) {
    log_print("[fs_iter] %s(%s): %s", follow ? "stat" : "lstat", path, strerror(errno));
    if (!visit_errors) return 0;
    int result;
    if (visit_error(walk, &result) != 0) return kCanceledOnError;
    return result == FS_VISIT_ERROR ? 1 : 0;
  }

  const bool is_dir = S_ISDIR(status.st_mode);
  if (pre_order) {
    int result = walk.visit(path, &status, walk.context);
    if (result == FS_VISIT_CANCEL) return -1;
    if (result == FS_VISIT_SKIP_CHILDREN || !is_dir) return 0;
  } else if (!is_dir) {
    return visit_or_cancel(walk, &status);
  }

  bool failed = false;
  const Ancestor self = {status.st_dev, status.st_ino, ancestors};
  if (string_array* names = FS_scandir(path)) {
    for (int i = 0; i < names->size; ++i) {
      string_builder_push_rel(walk.path, names->items[i], walk.path->num_items);
      int result = walk_step(walk, child_flags, &self);
      string_builder_pop(walk.path);
      if (result == -1 || result == kCanceledOnError) {
        string_array_free(names);
        return result;
      }
      if (result == 1) {
        failed = true;
        if (!continue_on_error) break;
      }
    }
    string_array_free(names);
  } else {
    log_print("[fs_iter] scandir(%s): %s", path, strerror(errno));
    if (!visit_errors) {
      failed = true;
    } else {
      int result;
      if (visit_error(walk, &result) != 0) {
        if (pre_order) return kCanceledOnError;
        return visit_or_cancel(walk, &status) == 0 ? kCanceledOnError : -1;
      }
      if (result == FS_VISIT_ERROR) {
        failed = true;
      } else {
        return pre_order ? 0 : visit_or_cancel(walk, &status);
      }
    }
  }

  if (failed && !continue_on_error) return 1;
  if (!pre_order && visit_or_cancel(walk, &status) != 0) return -1;
  return failed ? 1 : 0;
}

}  // namespace

int FS_iterate_recursively(const char* path, unsigned int flags, FS_path_visitor path_visitor, void* context) {
  MY_ASSERT(path_visitor);
  Walk walk = {string_builder_create(), path_visitor, context};
  string_builder_push_abs(walk.path, path);
  int result = walk_step(walk, flags, nullptr);
  string_builder_free(walk.path);
  return result == kCanceledOnError ? 1 : result;
}

// ---- Removal -----------------------------------------------------------------------------------

namespace {

int remove_entry(const char* path, const struct stat* status, void*) {
  int result = S_ISDIR(status->st_mode) ? FS_rmdir(path) : FS_unlink(path);
  return result == 0 ? FS_VISIT_CONTINUE : FS_VISIT_CANCEL;
}

// The removal walk of a directory tree: the visits, their order, the results and the log
// lines of FS_iterate_recursively with flags 0 and remove_entry, made with the system calls
// that rm makes. Entries are removed relative to their open directory (unlinkat), and the
// type that the listing reports (d_type) stands for the lstat of each entry; an entry is
// examined with fstatat only when the listing does not know its type or its removal failed.
// Paths are only formed for the log. Names are the file system's own: every file system the
// player mounts keeps them in UTF-8, which the caller checks.
struct Removal {
  string_builder* path;  // the current path is the top item

  // A child entry that could not be examined: logged and otherwise ignored, as by the walk.
  int not_examined(int error) const {
    log_print("[fs_iter] lstat(%s): %s", string_builder_top(path), strerror(error));
    return 0;
  }

  int canceled() const {
    log_print("[fs_iter] visit(%s): canceled", string_builder_top(path));
    return -1;
  }

  // The entry `name` of the open directory `dir`, whose type the listing gave (DT_UNKNOWN
  // when it did not). 0 removed, 1 failed, -1 cancelled.
  int remove_child(int dir, const char* name, unsigned char type, const Ancestor* ancestors) const {
    // The walk names every entry by its full path, so it cannot reach one whose path is too
    // long for a system call; neither does this walk, which keeps the same results.
    if (path->buf_length >= PATH_MAX) return not_examined(ENAMETOOLONG);
    if (type != DT_DIR && type != DT_UNKNOWN && unlinkat(dir, name, 0) == 0) return 0;
    struct stat status;
    if (fstatat(dir, name, &status, AT_SYMLINK_NOFOLLOW) != 0) return not_examined(errno);
    if (S_ISDIR(status.st_mode)) return remove_directory(dir, name, status, ancestors);
    // A removal that failed with the entry still there cancels, as the visitor does.
    if (type != DT_DIR && type != DT_UNKNOWN) return canceled();
    return unlinkat(dir, name, 0) == 0 ? 0 : canceled();
  }

  // The directory `name` of `parent` (the walk's root when `parent` is AT_FDCWD).
  int remove_directory(int parent, const char* name, const struct stat& status, const Ancestor* ancestors) const {
    if (is_on_walk_path(ancestors, status)) return not_examined(ELOOP);
    int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* listing = fd >= 0 ? fdopendir(fd) : nullptr;
    if (listing == nullptr) {
      log_print("[fs_iter] scandir(%s): %s", string_builder_top(path), strerror(errno));
      if (fd >= 0) close(fd);
      return 1;
    }
    // The whole listing first, as the walk lists a directory before it visits its entries.
    std::vector<char> names;
    std::vector<std::pair<size_t, unsigned char>> entries;  // offset of the name, type
    while (const struct dirent* entry = readdir(listing)) {
      const char* n = entry->d_name;
      if (n[0] == '.' && (n[1] == '\0' || (n[1] == '.' && n[2] == '\0'))) continue;
      entries.emplace_back(names.size(), entry->d_type);
      names.insert(names.end(), n, n + strlen(n) + 1);
    }
    const Ancestor self = {status.st_dev, status.st_ino, ancestors};
    int result = 0;
    for (const auto& [offset, type] : entries) {
      const char* child = names.data() + offset;
      string_builder_push_rel(path, child, path->num_items);
      result = remove_child(dirfd(listing), child, type, &self);
      string_builder_pop(path);
      if (result != 0) break;
    }
    closedir(listing);
    if (result != 0) return result;
    if (unlinkat(parent, name, AT_REMOVEDIR) != 0) return canceled();
    return 0;
  }
};

}  // namespace

int FS_remove_recursively_if_exists(const char* path) {
  struct stat status;
  if (FS_lstat(path, &status) != 0) {
    if (errno == ENOENT) return 0;
  } else if (S_ISDIR(status.st_mode) && vona::path_name_encoding(path) == 0) {
    ExternalPath external(path);
    if (strcmp(external.c_str(), path) == 0) {
      Removal removal = {string_builder_create()};
      string_builder_push_abs(removal.path, path);
      int result = removal.remove_directory(AT_FDCWD, path, status, nullptr);
      string_builder_free(removal.path);
      return result == 0 ? 0 : -1;
    }
  }
  return FS_iterate_recursively(path, 0, remove_entry, nullptr) == 0 ? 0 : -1;
}

// ---- Copying files -----------------------------------------------------------------------------

namespace {

constexpr size_t kCopyBufferSize = 128 * 1024;
// The most one copy_file_range call is asked for.
constexpr size_t kKernelCopyChunk = 1u << 30;

bool is_interrupted(ssize_t result) { return result < 0 && errno == EINTR; }

// Copies the rest of `in` to `out` through one 128 KiB buffer; false after logging a failure
// (errno in *error_out).
bool copy_through_buffer(int in, int out, const char* source, const char* destination, int* error_out) {
  char* buffer = (char*)malloc(kCopyBufferSize);
  MY_ASSERT(buffer);
  bool ok = true;
  for (;;) {
    ssize_t count = read(in, buffer, kCopyBufferSize);
    if (is_interrupted(count)) continue;
    if (count < 0) {
      *error_out = errno;
      log_print("[fs_copy] read(%s) failed: %s", source, strerror(errno));
      ok = false;
      break;
    }
    if (count == 0) break;
    for (ssize_t done = 0; ok && done < count;) {
      ssize_t written = write(out, buffer + done, (size_t)(count - done));
      if (is_interrupted(written)) continue;
      if (written <= 0) {
        if (written == 0) errno = EIO;
        *error_out = errno;
        log_print("[fs_copy] write(%s) failed: %s", destination, strerror(errno));
        ok = false;
      }
      done += written;
    }
    if (!ok) break;
  }
  free(buffer);
  return ok;
}

// Copies the bytes of `in` to `out`, in the kernel (copy_file_range) where the file systems
// allow it and through the buffer otherwise. `size` is the source's size when the caller
// knows it from the walk (the copy then ends there, a snapshot of the file as it was listed),
// else -1. Files the kernel reports as empty (as it does for /proc files, whose size is 0)
// go through the buffer, which reads what they really hold. False after logging a failure.
bool copy_bytes(int in, int out, long long size, const char* source, const char* destination, int* error_out) {
  long long copied = 0;
  while (size != 0 && (size < 0 || copied < size)) {
    ssize_t n = copy_file_range(in, nullptr, out, nullptr, kKernelCopyChunk, 0);
    if (is_interrupted(n)) continue;
    if (n < 0 || (n == 0 && copied == 0)) break;  // the buffer goes on from where this stopped
    if (n == 0) return true;
    copied += n;
  }
  if (size > 0 && copied >= size) return true;
  return copy_through_buffer(in, out, source, destination, error_out);
}

// The directory that a tree copy last opened a file in, kept open while the walk stays in it,
// so that the next file there is opened relative to it: the kernel then looks up its name
// only, not every directory of its path again.
class ParentDirectory {
 public:
  ParentDirectory() = default;
  ParentDirectory(const ParentDirectory&) = delete;
  ParentDirectory& operator=(const ParentDirectory&) = delete;
  ~ParentDirectory() { forget(); }

  // open(path, flags, mode), through the directory of `path` when it can be opened.
  int open(const char* path, int flags, mode_t mode) {
    const char* slash = strrchr(path, '/');
    if (slash == nullptr || slash == path) return ::open(path, flags, mode);
    size_t length = (size_t)(slash - path);
    if (path_.size() != length || path_.compare(0, length, path, length) != 0) {
      forget();
      path_.assign(path, length);
      fd_ = ::open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    }
    return fd_ >= 0 ? openat(fd_, slash + 1, flags, mode) : ::open(path, flags, mode);
  }

 private:
  void forget() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

  std::string path_;
  int fd_ = -1;
};

// The directories of the last source and destination files of a tree copy.
struct CopyDirectories {
  ParentDirectory source, destination;
};

// open(path, flags, mode) through `directory` when there is one.
int open_in(ParentDirectory* directory, const char* path, int flags, mode_t mode) {
  return directory != nullptr ? directory->open(path, flags, mode) : open(path, flags, mode);
}

// Opens the source for reading. A file that the walk saw as a regular file is opened plainly;
// anything else is opened without waiting for a writer (so that a FIFO with none gives an
// empty copy, not a hang) and then switched back to blocking reads.
int open_source(const char* source, bool regular, ParentDirectory* directory) {
  ExternalPath external(source);
  if (regular) return open_in(directory, external.c_str(), O_RDONLY | O_CLOEXEC, 0);
  int fd = open_in(directory, external.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC, 0);
  if (fd < 0) return -1;
  int flags = fcntl(fd, F_GETFL);
  if (flags == -1 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) == -1) {
    int saved = errno;
    close(fd);
    errno = saved;
    return -1;
  }
  return fd;
}

// Logs a failed permission change of a copy; the copy itself goes on.
void report_mode_failure(const char* destination, mode_t mode) {
  log_print("[cp_r] chmod(%s, %o) failed", destination, (unsigned)mode);
}

// True when the open file has exactly these permission bits.
bool has_mode(int fd, mode_t mode) {
  struct stat status;
  return fstat(fd, &status) == 0 && (status.st_mode & 0xfff) == mode;
}

// FS_copy_file_ext, and the copy of one entry of a tree when `status` (the walk's record of
// the source) is given: then the copy is opened plainly if the source is a regular file,
// takes the source's permission bits through its descriptor before it is closed, and ends at
// the size the walk saw. A copy that did not exist yet is created with those bits already:
// its owner's change to the bits it has could not fail, so it is left out when the umask (or
// a default ACL) took none of them away.
int copy_file(const char* source, const char* destination, int* error_out, const struct stat* status,
              CopyDirectories* directories = nullptr) {
  *error_out = 0;
  ParentDirectory* source_directory = directories != nullptr ? &directories->source : nullptr;
  ParentDirectory* destination_directory = directories != nullptr ? &directories->destination : nullptr;
  int in = open_source(source, status != nullptr && S_ISREG(status->st_mode), source_directory);
  if (in < 0) {
    *error_out = errno;
    log_print("[fs_copy] fopen_read(%s): %s", source, strerror(errno));
    return -1;
  }
  const mode_t mode = status != nullptr ? status->st_mode & 0xfff : 0;
  ExternalPath external(destination);
  int out = -1;
  if (status != nullptr) {
    out = open_in(destination_directory, external.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode & 0777);
  }
  const bool created = out >= 0;
  if (!created) {
    out = open_in(destination_directory, external.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  }
  if (out < 0) {
    *error_out = errno;
    log_print("[fs_copy] fopen_write(%s): %s", destination, strerror(errno));
    close(in);
    return -1;
  }
  long long size = status != nullptr && S_ISREG(status->st_mode) ? (long long)status->st_size : -1;
  bool copied = copy_bytes(in, out, size, source, destination, error_out);
  close(in);
  bool mode_failed = copied && status != nullptr && !(created && has_mode(out, mode)) && fchmod(out, mode) != 0;
  int closed = close(out);
  if (closed != 0) {
    if (*error_out == 0) *error_out = errno;
    log_print("[fs_copy] fclose_write(%s): %s", destination, strerror(errno));
  }
  if (!copied) return -1;
  if (closed == 0 && mode_failed) report_mode_failure(external.c_str(), mode);
  return closed;
}

}  // namespace

int FS_copy_file_ext(const char* source, const char* destination, int* error_out) {
  return copy_file(source, destination, error_out, nullptr);
}

int FS_copy_file(const char* source, const char* destination) {
  int error;
  return FS_copy_file_ext(source, destination, &error);
}

// ---- Copying trees -----------------------------------------------------------------------------

namespace {

constexpr int kCopyPathSize = 4096;

struct CopyContext {
  bool verbatim;           // names as they are, not as printf format text
  int source_length;       // the source root, without trailing slashes
  int destination_length;  // the destination root in `destination`
  char destination[kCopyPathSize];
  CopyDirectories directories;
};

// Appends the expansion of one printf conversion `sequence` (from "%" to the conversion character)
// for a zero or empty argument; returns the bytes that snprintf would have written.
int expand_conversion(char* out, size_t room, const char* sequence, size_t sequence_length) {
  char format[64];
  size_t n = 0;
  char conversion = sequence[sequence_length - 1];
  // Keep the flags, width and precision ('*' reads as 0); length modifiers are dropped, as the
  // argument is always of the conversion's plain type.
  for (size_t i = 0; i + 1 < sequence_length && n + 2 < sizeof format; ++i) {
    if (!strchr("hlLqjzZt*", sequence[i])) format[n++] = sequence[i];
  }
  format[n + 1] = '\0';
  switch (conversion) {
    case 'd': case 'i': case 'o': case 'u': case 'x': case 'X':
      format[n] = conversion;
      return snprintf(out, room, format, 0);
    case 'e': case 'E': case 'f': case 'F': case 'g': case 'G': case 'a': case 'A':
      format[n] = conversion;
      return snprintf(out, room, format, 0.0);
    case 'c': case 's':
      format[n] = 's';
      return snprintf(out, room, format, "");
    case 'p':
      format[n] = 'p';
      return snprintf(out, room, format, nullptr);
    case '%':
      return snprintf(out, room, "%%");
    case 'n': case 'm':
      if (room > 0) *out = '\0';
      return 0;
    default:  // not a conversion: the text stays as it is
      return snprintf(out, room, "%.*s", (int)sequence_length, sequence);
  }
}

// snprintf(out, size, format) with no arguments, made safe: a conversion in `format` expands
// as for a zero or empty argument instead of reading one that is not there.
void format_without_arguments(char* out, size_t size, const char* format) {
  size_t length = 0;
  for (const char* p = format; *p != '\0' && length + 1 < size;) {
    if (*p != '%') {
      out[length++] = *p++;
      continue;
    }
    size_t sequence_length = 1 + strspn(p + 1, "-+ #0'I");
    sequence_length += strspn(p + sequence_length, "0123456789*");
    if (p[sequence_length] == '.') sequence_length += 1 + strspn(p + sequence_length + 1, "0123456789*");
    sequence_length += strspn(p + sequence_length, "hlLqjzZt");
    if (p[sequence_length] == '\0') {  // a cut-off conversion at the end stays as it is
      sequence_length = strlen(p);
    } else {
      ++sequence_length;
    }
    int n = expand_conversion(out + length, size - length, p, sequence_length);
    if (n > 0) length += (size_t)n < size - length ? (size_t)n : size - length - 1;
    p += sequence_length;
  }
  out[length] = '\0';
}

// Applies the source's permission bits to a new destination; a failure is logged only.
void apply_mode(const char* destination, const struct stat* status) {
  mode_t mode = status->st_mode & 0xfff;
  if (chmod(destination, mode) != 0) report_mode_failure(destination, mode);
}

int copy_entry(const char* path, const struct stat* status, void* context) {
  CopyContext* copy = (CopyContext*)context;
  char* destination = copy->destination;
  char* below_root = destination + copy->destination_length;
  size_t room = (size_t)(kCopyPathSize - copy->destination_length);
  if (!copy->verbatim) {
    format_without_arguments(below_root, room, path + copy->source_length);
  } else if ((size_t)snprintf(below_root, room, "%s", path + copy->source_length) >= room) {
    log_print("[cp_r] %s%s: %s", copy->destination, path + copy->source_length, strerror(ENAMETOOLONG));
    return FS_VISIT_CANCEL;  // a cut name would land on another entry
  }
  ExternalPath external(destination);
  if (S_ISLNK(status->st_mode)) {
    char target[kCopyPathSize];
    ssize_t length = readlink(ExternalPath(path).c_str(), target, sizeof target);
    if (length >= (ssize_t)sizeof target) errno = ENAMETOOLONG;
    if (length < 1 || length >= (ssize_t)sizeof target) {
      log_print("[cp_r] readlink(%s) failed: %s", path, strerror(errno));
      return FS_VISIT_CANCEL;
    }
    target[length] = '\0';
    log_print("[cp_r] symlink '%s' -> '%s'", external.c_str(), target);
    return symlink(target, external.c_str()) == 0 ? FS_VISIT_CONTINUE : FS_VISIT_CANCEL;
  }
  if (S_ISDIR(status->st_mode)) {
    if (FS_is_dir(destination)) return FS_VISIT_CONTINUE;
    log_print("[cp_r] mkdir '%s'", destination);
    if (FS_ensure_dir(destination, 0777) != 0) return FS_VISIT_CANCEL;
    apply_mode(external.c_str(), status);
    return FS_VISIT_CONTINUE;
  }
  log_print("[cp_r] copy '%s' -> '%s'", path, destination);
  int error;
  return copy_file(path, destination, &error, status, &copy->directories) == 0 ? FS_VISIT_CONTINUE : FS_VISIT_CANCEL;
}

// The walk of both copies; `verbatim` chooses how a source name becomes a destination name.
int copy_tree(const char* source, const char* destination, int follow_links, int follow_links_below, bool verbatim) {
  CopyContext copy;
  copy.verbatim = verbatim;
  copy.source_length = (int)strlen(source);
  while (copy.source_length > 0 && source[copy.source_length - 1] == '/') --copy.source_length;
  snprintf(copy.destination, kCopyPathSize, "%s", destination);
  copy.destination_length = (int)strlen(copy.destination);
  unsigned int flags = FS_ITER_PRE_ORDER;
  if (follow_links) flags |= FS_ITER_FOLLOW_LINKS;
  if (follow_links_below) flags |= FS_ITER_FOLLOW_LINKS_BELOW;
  return FS_iterate_recursively(source, flags, copy_entry, &copy) == 0 ? 1 : 0;
}

}  // namespace

int FS_copy_recursively(const char* source, const char* destination, int follow_links, int follow_links_below) {
  return copy_tree(source, destination, follow_links, follow_links_below, false);
}

int FS_copy_recursively_verbatim(const char* source, const char* destination, int follow_links,
                                 int follow_links_below) {
  return copy_tree(source, destination, follow_links, follow_links_below, true);
}

// ---- Permissions -------------------------------------------------------------------------------

namespace {

struct ChmodRequest {
  int operation;
  mode_t mode;
};

int chmod_entry(const char* path, const struct stat* status, void* context) {
  if (S_ISLNK(status->st_mode)) return FS_VISIT_CONTINUE;
  const ChmodRequest* request = (const ChmodRequest*)context;
  mode_t mode = status->st_mode;
  switch (request->operation) {
    case FS_CHMOD_ADD: mode |= request->mode; break;
    case FS_CHMOD_REMOVE: mode &= ~request->mode; break;
    case FS_CHMOD_SET: mode = request->mode; break;
    default: break;
  }
  FS_chmod(path, mode & 0xfff);
  return FS_VISIT_CONTINUE;
}

}  // namespace

void FS_chmod_recursively(const char* path, int operation, mode_t mode) {
  ChmodRequest request = {operation, mode};
  FS_iterate_recursively(path, 0, chmod_entry, &request);
}
