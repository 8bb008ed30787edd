// The fuzzer's bytes as a file, for targets whose input is read from disk.
#ifndef VONAUTIL_FUZZ_FILE_HPP
#define VONAUTIL_FUZZ_FILE_HPP

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

// A folder of this process in the temporary folder ($TMPDIR or /tmp), made on first use and
// removed with its content when the process exits.
inline const std::string& fuzz_dir() {
  // Never destroyed: the exit handler that removes the folder runs after static destructors.
  static const std::string& dir = *new std::string([] {
    const char* tmp = getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/vonautil-fuzz-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) abort();
    atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(fuzz_dir(), ignored);
    });
    return pattern;
  }());
  return dir;
}

// Writes the bytes to `name` in that folder and returns its path; the same path is rewritten
// for every input.
inline std::string fuzz_file(const uint8_t* data, size_t size, const char* name = "input") {
  std::string path = fuzz_dir() + "/" + name;
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr || (size > 0 && fwrite(data, 1, size, file) != size) || fclose(file) != 0) abort();
  return path;
}

#endif
