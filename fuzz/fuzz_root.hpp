// The fuzzer's bytes as one of the library's fixed files ("/proc/mounts",
// "/tmp/run/storages.txt", ...), in a sandbox root of this process that VONAUTIL_ROOT names.
#ifndef VONAUTIL_FUZZ_ROOT_HPP
#define VONAUTIL_FUZZ_ROOT_HPP

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

// Creates the sandbox root on first use (its folders /proc and /tmp/run included).
inline const std::string& fuzz_root() {
  static const std::string root = [] {
    const char* folder = getenv("TMPDIR");
    std::string pattern = std::string(folder && *folder ? folder : "/tmp") + "/vonautil-fuzz-root-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) abort();
    for (const char* dir : {"/proc", "/tmp", "/tmp/run"}) mkdir((pattern + dir).c_str(), 0755);
    setenv("VONAUTIL_ROOT", pattern.c_str(), 1);
    return pattern;
  }();
  return root;
}

// Writes the bytes to the fixed path `fixed` below the sandbox root.
inline void fuzz_fixed_file(const char* fixed, const uint8_t* data, size_t size) {
  FILE* file = fopen((fuzz_root() + fixed).c_str(), "wb");
  if (file == nullptr || (size > 0 && fwrite(data, 1, size, file) != size) || fclose(file) != 0) abort();
}

#endif
