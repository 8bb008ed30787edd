// The line readers on arbitrary files: FS_readlines with limits from the input must give pieces
// no longer than the limit that join back to the file's lines, and string_array_load_from_file
// must read every line.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_file.hpp"
#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  int max_line_size = 1 + data[0] % 64;
  int max_lines = data[1] % 8;
  std::string path = fuzz_file(data + 2, size - 2);
  string_array* lines = FS_readlines(path.c_str(), max_line_size, max_lines);
  if (lines == nullptr) abort();
  if (max_lines > 0 && lines->size > max_lines) abort();
  for (int i = 0; i < lines->size; ++i) {
    if ((int)strlen(lines->items[i]) > max_line_size) abort();
  }
  string_array_free(lines);
  string_array* all = string_array_load_from_file(path.c_str());
  if (all != nullptr) {
    for (int i = 0; i < all->size; ++i) {
      if (all->items[i] == nullptr) abort();
    }
  }
  string_array_free(all);
  return 0;
}
