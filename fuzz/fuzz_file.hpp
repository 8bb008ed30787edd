// The fuzzer's bytes as a file, for targets whose input is read from disk.
#ifndef VONAUTIL_FUZZ_FILE_HPP
#define VONAUTIL_FUZZ_FILE_HPP

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Writes the bytes to a file of this process in the temporary folder and returns its path;
// the same path is rewritten for every input.
inline const std::string& fuzz_file(const uint8_t* data, size_t size) {
  static const std::string path = [] {
    const char* folder = getenv("TMPDIR");
    return std::string(folder && *folder ? folder : "/tmp") + "/vonautil-fuzz-" + std::to_string(getpid());
  }();
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr || (size > 0 && fwrite(data, 1, size, file) != size) || fclose(file) != 0) abort();
  return path;
}

#endif
