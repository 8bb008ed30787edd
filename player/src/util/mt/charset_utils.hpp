// Inside view of the code-page tables for the other text modules: direct table access and the
// reverse lookup by index (0 = CP1250 ... 8 = CP1258), without a call per character.
#ifndef VONAUTIL_CHARSET_UTILS_HPP
#define VONAUTIL_CHARSET_UTILS_HPP

#include <stddef.h>

#include "player/src/util/mt/charset_utils.h"

namespace vona::charset {

constexpr int kCodePageCount = 9;
constexpr int kCp1251 = 1;

// Byte -> code point table of a code page.
const UTF32* table(int code_page);

// Reverse lookup of one code page: code point -> first byte mapping to it.
struct ReverseMap {
  static constexpr int kMaxPages = 8;
  // Slot of the 256-code-point page (c >> 8) of every code point below 0x10000; 0 = no byte.
  unsigned char slot_of_page[256] = {};
  // Byte of each code point of a used page, ASCII included; 0 = no byte (only U+0000 maps
  // to byte 0).
  unsigned char bytes[kMaxPages + 1][256] = {};

  // Two loads and no branch on the character, so that text mixing ASCII with other letters
  // converts without mispredictions.
  int find(UTF32 c, int fallback) const {
    if (c >= 0x10000) return fallback;
    unsigned char b = bytes[slot_of_page[c >> 8]][c & 0xFF];
    return b != 0 || c == 0 ? b : fallback;
  }
};
const ReverseMap& reverse(int code_page);

// Sort weights of the 256 CP1251 bytes.
const int* order_table_cp1251();

// Converts with a whole table; the string functions of every code page and of the callers
// of several code pages go through these.
void to_utf32(int code_page, const char* source, UTF32* target, int len);
void from_utf32(int code_page, const UTF32* source, char* target, int len);

// charset_convert_str_utf8_to_utf32 for a source whose length is known (under the same name, so
// that its assertion reports read the same).
int charset_convert_str_utf8_to_utf32(const char* source, size_t length, UTF32* target_utf32, int max_target_len);

}  // namespace vona::charset

#endif
