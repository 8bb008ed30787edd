// The multi-byte code pages that go through iconv (big5, gb2312, euckr) on arbitrary bytes,
// both ways: decoding must never fail or overrun, and what decodes re-encodes to text that
// decodes to the same characters.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_text.hpp"
#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  int enc = 10 + data[0] % 3;  // big5, gb2312, euckr
  char* text = fuzz_text(data + 1, size - 1);
  char* holder = nullptr;
  const char* utf8 = MY_convert_string_from_external(&holder, text, enc);
  if (utf8 == nullptr) abort();
  char* back_holder = nullptr;
  const char* external = MY_convert_string_to_external(&back_holder, utf8, enc);
  if (external == nullptr) abort();
  UTF32* wide = convert_string_to_utf32(text, enc);
  char* narrow = convert_string_from_utf32(wide, enc);
  UTF32* again = convert_string_to_utf32(narrow, enc);
  size_t length = 0;
  while (wide[length]) ++length;
  for (size_t i = 0; i <= length; ++i) {
    if (again[i] != wide[i] && wide[i] != 0 && again[i] != '?') abort();
  }
  UTF32 copy[64 + 1];  // at most 64 code points and the terminator
  if (copy_string_to_utf32(copy, text, 64, enc) > 64) abort();
  free(again);
  free(narrow);
  free(wide);
  free(back_holder);
  free(holder);
  free(text);
  return 0;
}
