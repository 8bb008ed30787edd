// The single-character UTF-8 decoder and encoder behind every UTF-8 conversion of the library,
// inline so that the string loops stay tight.
#ifndef VONAUTIL_CONVERT_UTF_HPP
#define VONAUTIL_CONVERT_UTF_HPP

#include "player/src/util/mt/convert_utf.h"

namespace vona::utf {

constexpr UTF32 kReplacementChar = 0xFFFD;
constexpr UTF32 kMaxLegal = 0x10FFFF;

inline bool is_surrogate(UTF32 c) { return c >= 0xD800 && c <= 0xDFFF; }

// Number of trailing bytes announced by a lead byte: 0x00-0xBF 0, 0xC0-0xDF 1, 0xE0-0xEF 2,
// 0xF0-0xF7 3, 0xF8-0xFB 4, 0xFC-0xFF 5.
inline int trailing_bytes(UTF8 lead) {
  if (lead < 0xC0) return 0;
  if (lead < 0xE0) return 1;
  if (lead < 0xF0) return 2;
  if (lead < 0xF8) return 3;
  if (lead < 0xFC) return 4;
  return 5;
}

// Well-formedness of a sequence of `length` bytes whose length came from its lead byte. Five-
// and six-byte forms, overlong forms, encoded surrogates and values above U+10FFFF are refused.
// Trailing bytes are tested in order and the test stops at the first bad one, so a terminator
// inside the sequence is never read past.
inline bool is_legal(const UTF8* s, int length) {
  UTF8 lead = s[0];
  switch (length) {
    case 1: return lead < 0x80;
    case 2: return lead >= 0xC2 && (s[1] & 0xC0) == 0x80;
    case 3: {
      UTF8 low = lead == 0xE0 ? 0xA0 : 0x80;
      UTF8 high = lead == 0xED ? 0x9F : 0xBF;
      return s[1] >= low && s[1] <= high && (s[2] & 0xC0) == 0x80;
    }
    case 4: {
      UTF8 low = lead == 0xF0 ? 0x90 : 0x80;
      UTF8 high = lead == 0xF4 ? 0x8F : 0xBF;
      return lead <= 0xF4 && s[1] >= low && s[1] <= high && (s[2] & 0xC0) == 0x80 && (s[3] & 0xC0) == 0x80;
    }
    default: return false;
  }
}

enum : int { kIllegal = 0, kExhausted = -1 };

// Decodes the sequence at `s` (s < end): returns its length and stores the code point, or
// kExhausted when the sequence runs past `end`, or kIllegal when it is ill-formed. The
// exhaustion test comes first, as in the conversion routines.
inline int decode(const UTF8* s, const UTF8* end, UTF32* code_point) {
  UTF8 lead = s[0];
  if (lead < 0x80) {
    *code_point = lead;
    return 1;
  }
  int length = trailing_bytes(lead) + 1;
  if (length > end - s) return kExhausted;
  if (!is_legal(s, length)) return kIllegal;
  switch (length) {
    case 2: *code_point = (UTF32)(lead & 0x1F) << 6 | (s[1] & 0x3F); break;
    case 3: *code_point = (UTF32)(lead & 0x0F) << 12 | (UTF32)(s[1] & 0x3F) << 6 | (s[2] & 0x3F); break;
    default:
      *code_point = (UTF32)(lead & 0x07) << 18 | (UTF32)(s[1] & 0x3F) << 12 | (UTF32)(s[2] & 0x3F) << 6 |
                    (s[3] & 0x3F);
      break;
  }
  return length;
}

// The common case of decode: a well-formed two-byte sequence at `s` (s < end) gives 2 and
// its code point; anything else gives 0 and leaves the answer to decode.
inline int decode_two_bytes(const UTF8* s, const UTF8* end, UTF32* code_point) {
  if (s[0] < 0xC2 || s[0] > 0xDF || end - s < 2 || (s[1] & 0xC0) != 0x80) return 0;
  *code_point = (UTF32)(s[0] & 0x1F) << 6 | (s[1] & 0x3F);
  return 2;
}

// Reads the character at `*s` in zero-terminated text and advances past it; an ill-formed or
// truncated sequence advances one byte and reads as "?". The terminator fails the trailing-
// byte test, so no length is needed and nothing past it is read; at the terminator itself
// returns 0 without moving.
inline UTF32 next_char_terminated(const UTF8*& s) {
  UTF8 lead = *s;
  if (lead < 0x80) {
    if (lead != 0) ++s;
    return lead;
  }
  UTF32 c;
  int length = decode(s, s + trailing_bytes(lead) + 1, &c);  // cannot run short: the terminator is illegal
  if (length <= 0) {
    ++s;
    return '?';
  }
  s += length;
  return c;
}

// Bytes needed to encode `c`; values above U+10FFFF are written as U+FFFD (three bytes).
inline int encoded_length(UTF32 c) {
  if (c < 0x80) return 1;
  if (c < 0x800) return 2;
  if (c < 0x10000) return 3;
  if (c <= kMaxLegal) return 4;
  return 3;
}

// Writes `c` (surrogates as they stand, values above U+10FFFF as U+FFFD); returns the length.
inline int encode(UTF32 c, UTF8* out) {
  if (c < 0x80) {
    out[0] = (UTF8)c;
    return 1;
  }
  if (c < 0x800) {
    out[0] = (UTF8)(0xC0 | c >> 6);
    out[1] = (UTF8)(0x80 | (c & 0x3F));
    return 2;
  }
  if (c > kMaxLegal) c = kReplacementChar;
  if (c < 0x10000) {
    out[0] = (UTF8)(0xE0 | c >> 12);
    out[1] = (UTF8)(0x80 | (c >> 6 & 0x3F));
    out[2] = (UTF8)(0x80 | (c & 0x3F));
    return 3;
  }
  out[0] = (UTF8)(0xF0 | c >> 18);
  out[1] = (UTF8)(0x80 | (c >> 12 & 0x3F));
  out[2] = (UTF8)(0x80 | (c >> 6 & 0x3F));
  out[3] = (UTF8)(0x80 | (c & 0x3F));
  return 4;
}

}  // namespace vona::utf

#endif
