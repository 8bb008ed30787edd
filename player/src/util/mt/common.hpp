// Character classes of the C locale, one byte at a time, for the library's own parsers.
// They never consult the process locale and take any char (signed or not) safely.
#ifndef VONAUTIL_COMMON_HPP
#define VONAUTIL_COMMON_HPP

#include "player/src/util/mt/common.h"

namespace vona {

inline bool is_space(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
inline bool is_digit(unsigned char c) { return (unsigned)(c - '0') < 10u; }
inline bool is_alpha(unsigned char c) { return (unsigned)((c | 0x20) - 'a') < 26u; }
inline unsigned char to_lower(unsigned char c) { return (unsigned)(c - 'A') < 26u ? c + 32 : c; }
inline unsigned char to_upper(unsigned char c) { return (unsigned)(c - 'a') < 26u ? c - 32 : c; }

// A set of byte values, built once from the characters of a C string (never the terminator).
class CharSet {
 public:
  explicit CharSet(const char* chars) {
    for (const unsigned char* p = (const unsigned char*)chars; *p; ++p) bits_[*p >> 6] |= 1ull << (*p & 63);
  }
  bool contains(unsigned char c) const { return (bits_[c >> 6] >> (c & 63)) & 1; }

 private:
  unsigned long long bits_[4] = {0, 0, 0, 0};
};

}  // namespace vona

#endif
