// Internal side of the file utilities: a path in the form its file system expects, for the
// library's modules that make their own system calls.
#ifndef VONAUTIL_FILE_UTILS_HPP
#define VONAUTIL_FILE_UTILS_HPP

#include <cerrno>
#include <cstdlib>

#include "player/src/util/mt/file_utils.h"

namespace vona {

// The path converted to the encoding of its file system; `path` itself when no conversion is
// needed, else a new string that is also stored in *holder (the caller frees *holder).
const char* path_to_external(char** holder, const char* path);

// The encoding of the names in the directory `path` (0 = UTF-8, no conversion).
int path_name_encoding(const char* path);

// The external form of a path for the length of a scope. Freeing the converted copy keeps
// errno, so a failed system call's error survives the destructor.
class ExternalPath {
 public:
  explicit ExternalPath(const char* path) : path_(path_to_external(&holder_, path)) {}
  ~ExternalPath() {
    if (holder_ != nullptr) {
      int saved = errno;
      free(holder_);
      errno = saved;
    }
  }
  ExternalPath(const ExternalPath&) = delete;
  ExternalPath& operator=(const ExternalPath&) = delete;

  const char* c_str() const { return path_; }

 private:
  char* holder_ = nullptr;
  const char* path_;
};

}  // namespace vona

#endif
