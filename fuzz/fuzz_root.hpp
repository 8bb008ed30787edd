// The fuzzer's bytes as one of the library's fixed files ("/proc/mounts",
// "/tmp/run/storages.txt", ...), below a sandbox root in the process's fuzz folder that
// VONAUTIL_ROOT names.
#ifndef VONAUTIL_FUZZ_ROOT_HPP
#define VONAUTIL_FUZZ_ROOT_HPP

#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz_file.hpp"

// The sandbox root, made on first use with its folders /proc and /tmp/run; it goes with the
// fuzz folder at exit.
inline const std::string& fuzz_root() {
  static const std::string& root = *new std::string([] {
    std::string path = fuzz_dir() + "/root";
    for (const char* dir : {"", "/proc", "/tmp", "/tmp/run"}) mkdir((path + dir).c_str(), 0755);
    setenv("VONAUTIL_ROOT", path.c_str(), 1);
    return path;
  }());
  return root;
}

// Writes the bytes to the fixed path `fixed` below the sandbox root.
inline void fuzz_fixed_file(const char* fixed, const uint8_t* data, size_t size) {
  fuzz_root();
  fuzz_file(data, size, (std::string("root") + fixed).c_str());
}

#endif
