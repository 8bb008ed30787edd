// The fuzzer's bytes as a NUL-terminated heap string, for targets whose input is C text.
#ifndef VONAUTIL_FUZZ_TEXT_HPP
#define VONAUTIL_FUZZ_TEXT_HPP

#include <cstdint>
#include <cstdlib>
#include <cstring>

// A copy of the bytes with a terminator added (an earlier NUL simply ends the text); free() it.
inline char* fuzz_text(const uint8_t* data, size_t size) {
  char* text = static_cast<char*>(malloc(size + 1));
  if (size) memcpy(text, data, size);
  text[size] = 0;
  return text;
}

#endif
