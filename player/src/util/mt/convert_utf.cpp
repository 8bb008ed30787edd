#include "player/src/util/mt/convert_utf.h"

#include <algorithm>

#include "player/src/util/mt/convert_utf.hpp"

using namespace vona::utf;

namespace {

constexpr UTF32 kHighSurrogateStart = 0xD800;
constexpr UTF32 kHighSurrogateEnd = 0xDBFF;
constexpr UTF32 kLowSurrogateStart = 0xDC00;
constexpr UTF32 kLowSurrogateEnd = 0xDFFF;

bool is_high_surrogate(UTF32 c) { return c >= kHighSurrogateStart && c <= kHighSurrogateEnd; }
bool is_low_surrogate(UTF32 c) { return c >= kLowSurrogateStart && c <= kLowSurrogateEnd; }

// Reads one character from UTF-16 (a surrogate pair is combined). Returns conversionOK and
// advances `source`, or the error that stops the conversion, leaving `source` on the unit.
ConversionResult read_utf16(const UTF16*& source, const UTF16* source_end, ConversionFlags flags, UTF32* c) {
  UTF32 ch = *source;
  if (is_high_surrogate(ch)) {
    if (source + 1 >= source_end) return sourceExhausted;
    UTF32 next = source[1];
    if (is_low_surrogate(next)) {
      *c = ((ch - kHighSurrogateStart) << 10) + (next - kLowSurrogateStart) + 0x10000;
      source += 2;
      return conversionOK;
    }
    if (flags == strictConversion) return sourceIllegal;
  } else if (flags == strictConversion && is_low_surrogate(ch)) {
    return sourceIllegal;
  }
  *c = ch;  // a lone surrogate passes through under the lenient flag
  ++source;
  return conversionOK;
}

// Writes one Unicode scalar value (or, from lenient UTF-16, a lone surrogate) when it fits
// whole; false when it does not.
bool put(UTF32 ch, UTF32*& target, UTF32* target_end) {
  if (target >= target_end) return false;
  *target++ = ch;
  return true;
}

bool put(UTF32 ch, UTF16*& target, UTF16* target_end) {
  if (ch <= 0xFFFF) {
    if (target >= target_end) return false;
    *target++ = (UTF16)ch;
    return true;
  }
  if (target_end - target < 2) return false;
  ch -= 0x10000;
  *target++ = (UTF16)((ch >> 10) + kHighSurrogateStart);
  *target++ = (UTF16)((ch & 0x3FF) + kLowSurrogateStart);
  return true;
}

bool put(UTF32 ch, UTF8*& target, UTF8* target_end) {
  if (encoded_length(ch) > target_end - target) return false;
  target += encode(ch, target);
  return true;
}

// UTF-8 to UTF-16 or UTF-32. The readers refuse encoded surrogates and values above U+10FFFF
// as ill-formed under either flag, so every value decoded is a Unicode scalar value and the
// flag has nothing left to decide.
template <typename Out>
ConversionResult from_utf8(const UTF8** source_start, const UTF8* source_end, Out** target_start, Out* target_end) {
  ConversionResult result = conversionOK;
  const UTF8* source = *source_start;
  Out* target = *target_start;
  while (source < source_end) {
    // Runs of ASCII need no checks.
    long run = std::min(source_end - source, target_end - target);
    while (run > 0 && *source < 0x80) {
      *target++ = *source++;
      --run;
    }
    if (source == source_end) break;
    UTF32 ch;
    int length = decode_two_bytes(source, source_end, &ch);  // Latin, Cyrillic, Greek, Hebrew, ...
    if (length == 0) length = decode(source, source_end, &ch);
    if (length <= 0) {
      result = length == kExhausted ? sourceExhausted : sourceIllegal;
      break;
    }
    if (!put(ch, target, target_end)) {
      result = targetExhausted;
      break;
    }
    source += length;
  }
  *source_start = source;
  *target_start = target;
  return result;
}

template <typename Out>
ConversionResult from_utf16(const UTF16** source_start, const UTF16* source_end, Out** target_start, Out* target_end,
                            ConversionFlags flags) {
  ConversionResult result = conversionOK;
  const UTF16* source = *source_start;
  Out* target = *target_start;
  while (source < source_end) {
    const UTF16* character_start = source;
    UTF32 ch;
    result = read_utf16(source, source_end, flags, &ch);
    if (result != conversionOK) break;
    if (!put(ch, target, target_end)) {
      source = character_start;
      result = targetExhausted;
      break;
    }
  }
  *source_start = source;
  *target_start = target;
  return result;
}

}  // namespace

int isLegalUTF8Sequence(const UTF8* source, const UTF8* source_end) {
  int length = trailing_bytes(*source) + 1;
  if (length > source_end - source) return 0;
  return is_legal(source, length);
}

ConversionResult ConvertUTF8toUTF32(const UTF8** source_start, const UTF8* source_end, UTF32** target_start,
                                    UTF32* target_end, ConversionFlags /*flags*/) {
  return from_utf8(source_start, source_end, target_start, target_end);
}

ConversionResult ConvertUTF8toUTF16(const UTF8** source_start, const UTF8* source_end, UTF16** target_start,
                                    UTF16* target_end, ConversionFlags /*flags*/) {
  return from_utf8(source_start, source_end, target_start, target_end);
}

ConversionResult ConvertUTF16toUTF32(const UTF16** source_start, const UTF16* source_end, UTF32** target_start,
                                     UTF32* target_end, ConversionFlags flags) {
  return from_utf16(source_start, source_end, target_start, target_end, flags);
}

ConversionResult ConvertUTF16toUTF8(const UTF16** source_start, const UTF16* source_end, UTF8** target_start,
                                    UTF8* target_end, ConversionFlags flags) {
  return from_utf16(source_start, source_end, target_start, target_end, flags);
}

ConversionResult ConvertUTF32toUTF8(const UTF32** source_start, const UTF32* source_end, UTF8** target_start,
                                    UTF8* target_end, ConversionFlags flags) {
  ConversionResult result = conversionOK;
  const UTF32* source = *source_start;
  UTF8* target = *target_start;
  while (source < source_end) {
    UTF32 ch = *source;
    if (flags == strictConversion && is_surrogate(ch)) {
      result = sourceIllegal;
      break;
    }
    if (encoded_length(ch) > target_end - target) {
      result = targetExhausted;
      break;
    }
    if (ch > kMaxLegal) result = sourceIllegal;  // written as U+FFFD, the conversion goes on
    target += encode(ch, target);
    ++source;
  }
  *source_start = source;
  *target_start = target;
  return result;
}

ConversionResult ConvertUTF32toUTF16(const UTF32** source_start, const UTF32* source_end, UTF16** target_start,
                                     UTF16* target_end, ConversionFlags flags) {
  ConversionResult result = conversionOK;
  const UTF32* source = *source_start;
  UTF16* target = *target_start;
  while (source < source_end) {
    if (target >= target_end) {
      result = targetExhausted;
      break;
    }
    UTF32 ch = *source;
    if (ch <= 0xFFFF) {
      if (is_surrogate(ch)) {
        if (flags == strictConversion) {
          result = sourceIllegal;
          break;
        }
        *target++ = (UTF16)kReplacementChar;
      } else {
        *target++ = (UTF16)ch;
      }
    } else if (ch > kMaxLegal) {
      if (flags == strictConversion) result = sourceIllegal;  // skipped; the conversion goes on
      else *target++ = (UTF16)kReplacementChar;
    } else {
      if (target + 1 >= target_end) {
        result = targetExhausted;
        break;
      }
      ch -= 0x10000;
      *target++ = (UTF16)((ch >> 10) + kHighSurrogateStart);
      *target++ = (UTF16)((ch & 0x3FF) + kLowSurrogateStart);
    }
    ++source;
  }
  *source_start = source;
  *target_start = target;
  return result;
}
