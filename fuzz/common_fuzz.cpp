// Feeds arbitrary text to the scalar parsers, tokenisers, hexadecimal conversion and natural
// orders. The parsers must agree with the C library's conversions they stand for; the text is
// an exact-size heap copy, so a read past its terminator is caught by the sanitizers.
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_text.hpp"
#include "vonautil.h"

namespace {

// strtoll limited to int, as strtol reads with a 32-bit long; the whole text must be read.
bool reference_int(const char* s, int* value) {
  char* end;
  long long n = strtoll(s, &end, 10);
  if (!*s || *end) return false;
  *value = n > INT_MAX ? INT_MAX : n < INT_MIN ? INT_MIN : (int)n;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  size_t length = strlen(text);

  char* end;
  double expected = strtod(text, &end), got = str_parse_double(text, -0.25);
  if (!*text || *end) expected = -0.25;
  if (memcmp(&expected, &got, sizeof got) != 0) abort();
  int reference;
  if (str_parse_int(text, -7) != (reference_int(text, &reference) ? reference : -7)) abort();
  str_parse_color_rgb(text, 0);
  str_seg_parse_int(str_seg{text, (int)length}, 0);

  // Tokens that keep their separators lay end to end back into the text.
  std::string joined;
  for (char* cursor = text; cursor;) {
    str_seg token = str_next_token_by_charset(&cursor, " ,;", 0);
    joined.append(token.start, token.length);
  }
  if (joined != text) abort();
  for (char* cursor = text; cursor;) str_next_token_by_charset(&cursor, " ,;", 1);
  for (char* cursor = text; cursor;) str_next_token(&cursor, "::");

  // Natural orders over the two halves: antisymmetric, and equal text compares equal.
  std::string first(text, length / 2), second(text + length / 2);
  const char* a = first.c_str();
  const char* b = second.c_str();
  int ab = str_nat_cmp(&a, &b), ba = str_nat_cmp(&b, &a);
  if ((ab < 0) != (ba > 0) || (ab == 0) != (ba == 0) || str_nat_cmp(&a, &a) != 0) abort();
  if ((alnum_cmp(a, b) < 0) != (alnum_cmp(b, a) > 0) || alnum_cmp(a, a) != 0) abort();

  // Hexadecimal round trip of the raw bytes.
  char* hex = (char*)malloc(2 * size + 1);
  unsigned char* back = (unsigned char*)malloc(size + 1);
  byte_array_to_hex_str(data, (int)size, hex);
  if (hex_str_to_byte_array(hex, back) != 0 || (size && memcmp(back, data, size) != 0)) abort();
  hex_str_to_byte_array(text, back);  // at most half the text's length is written
  free(back);
  free(hex);
  free(text);
  return 0;
}
