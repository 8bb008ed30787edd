#include "player/src/util/mt/unicode_utils.h"

#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/charset_utils.hpp"
#include "player/src/util/mt/common.h"
#include "player/src/util/mt/convert_utf.hpp"
#include "player/src/util/mt/iconv_utils.h"

using namespace vona;

namespace {

// The CP1251 byte of a code point, or -1 when CP1251 lacks it.
inline int cp1251_byte(UTF32 c) { return charset::reverse(charset::kCp1251).find(c, -1); }

inline int order_value(UTF32 c) {
  int b = cp1251_byte(c);
  return b < 0 ? (int)(c + 192) : charset::order_table_cp1251()[b];
}

UTF32 to_lower(UTF32 c) {
  int b = cp1251_byte(c);
  return b < 0 ? c : charset::table(charset::kCp1251)[charset_convert_char_to_lower_cp1251((unsigned char)b)];
}

UTF32 to_upper(UTF32 c) {
  int b = cp1251_byte(c);
  return b < 0 ? c : charset::table(charset::kCp1251)[charset_convert_char_to_upper_cp1251((unsigned char)b)];
}

// Re-encodes the UTF-8 text [begin, end) into out (at most out_size - 1 bytes of whole
// characters, then a terminator), mapping the first character with `first` and the others
// with `rest`.
char* map_utf8(char* out, int out_size, const char* begin, const char* end, UTF32 (*first)(UTF32),
               UTF32 (*rest)(UTF32)) {
  UTF8* target = (UTF8*)out;
  UTF8* target_end = target + out_size - 1;
  UTF32 (*map)(UTF32) = first;
  for (const char* pos = begin; pos < end; map = rest) {
    UTF32 c = map(utf8_get_next_char(&pos, end));
    const UTF32* source = &c;
    if (ConvertUTF32toUTF8(&source, &c + 1, &target, target_end, lenientConversion) == targetExhausted) break;
  }
  *target = 0;
  return out;
}

UTF32 unchanged(UTF32 c) { return c; }

UTF32* allocate_utf32(size_t length) { return (UTF32*)malloc((length + 1) * sizeof(UTF32)); }

UTF32* utf32_create_from_cpxxxx(const char* source, int code_page) {
  MY_ASSERT(source);
  size_t length = strlen(source);
  UTF32* result = allocate_utf32(length);
  charset::to_utf32(code_page, source, result, (int)length);
  result[length] = 0;
  return result;
}

int utf32_copy_from_cpxxxx(UTF32* dst, const char* src, int max, int code_page) {
  int length = max > 0 ? (int)strnlen(src, (size_t)max) : 0;
  charset::to_utf32(code_page, src, dst, length);
  dst[length] = 0;
  return length;
}

char* utf32_convert_to_cpxxxx(const UTF32* source_utf32, int code_page) {
  MY_ASSERT(source_utf32);
  int length = utf32_strlen(source_utf32);
  char* result = (char*)malloc((size_t)length + 1);
  charset::from_utf32(code_page, source_utf32, result, length);
  result[length] = 0;
  return result;
}

// iconv indexes of the multi-byte encodings.
enum { kIconvBig5 = 1, kIconvGb2312 = 2, kIconvEucKr = 3 };
// Big5, GB2312 and EUC-KR need at most two bytes per character.
constexpr int kIconvBytesPerChar = 2;

UTF32* create_by_iconv(int enc, const char* source) {
  return iconv_utils_convert_to_utf32(iconv_utils_get_to_utf32_conversion_descriptor(enc), source);
}
int copy_by_iconv(int enc, UTF32* dst, const char* src, int max) {
  return iconv_utils_copy_to_utf32(iconv_utils_get_to_utf32_conversion_descriptor(enc), dst, src, max);
}
char* convert_by_iconv(int enc, const UTF32* source_utf32) {
  return iconv_utils_convert_from_utf32(iconv_utils_get_from_utf32_conversion_descriptor(enc), kIconvBytesPerChar,
                                        source_utf32);
}

}  // namespace

const char* utf8_skip_bom_if_present(const char* s) {
  return (UTF8)s[0] == 0xEF && (UTF8)s[1] == 0xBB && (UTF8)s[2] == 0xBF ? s + 3 : s;
}

UTF32 utf8_get_next_char(const char** begin, const char* end) {
  MY_ASSERT(*begin);
  const UTF8* pos = (const UTF8*)*begin;
  if (pos >= (const UTF8*)end) return 0;
  UTF32 c;
  int length = utf::decode(pos, (const UTF8*)end, &c);
  if (length <= 0) {  // ill-formed or cut off by `end`: one "?" per byte
    c = '?';
    length = 1;
  }
  *begin += length;
  return c;
}

int utf8_strlen(const char* s) {
  int count = 0;
  for (const UTF8* p = (const UTF8*)s; *p; ++count) {
    if (*p < 0x80) ++p;
    else utf::next_char_terminated(p);
  }
  return count;
}

int utf8_strcmp(const char* a, const char* b) {
  const UTF8* p = (const UTF8*)a;
  const UTF8* q = (const UTF8*)b;
  const int* ascii_order = charset::order_table_cp1251();  // ASCII is CP1251's first half
  for (;;) {
    if (*p < 0x80 && *q < 0x80) {
      if (*p == *q) {  // the same character, or both ended
        if (*p == 0) return 0;
        ++p;
        ++q;
        continue;
      }
      int difference = ascii_order[*p++] - ascii_order[*q++];
      if (difference != 0) return difference;
      continue;
    }
    if (*p == *q) {
      // The same lead byte: when `a` holds a well-formed character there and `b` the same bytes,
      // `b` holds the same character, so both are stepped over at once. (An ill-formed byte in
      // `a` proves nothing: the same byte may start a well-formed character in `b`.)
      const UTF8* start = p;
      utf::next_char_terminated(p);
      size_t length = (size_t)(p - start);
      if (length > 1 && memcmp(start, q, length) == 0) {
        q += length;
        continue;
      }
      p = start;
    }
    UTF32 ca = utf::next_char_terminated(p);
    UTF32 cb = utf::next_char_terminated(q);
    int difference = order_value(ca) - order_value(cb);
    if (difference != 0 || ca == 0) return difference;
  }
}

int utf32_get_order_value(UTF32 c) { return order_value(c); }
int utf32_cmp_chars(UTF32 a, UTF32 b) { return order_value(a) - order_value(b); }

UTF32 utf32_convert_char_from_ascii(int ascii) {
  MY_ASSERT(0 <= ascii && ascii <= 127);
  return (UTF32)ascii;
}

UTF32 utf32_convert_char_to_lower(UTF32 c) { return to_lower(c); }

char* utf8_convert_str_seg_to_lower(char* buf, int buf_size, const char* begin, const char* end) {
  MY_ASSERT(end >= begin);
  return map_utf8(buf, buf_size, begin, end, to_lower, to_lower);
}

char* utf8_convert_str_to_lower(char** buf, const char* begin, const char* end) {
  MY_ASSERT(end >= begin);
  int size = (int)(end - begin) * 4 + 1;
  *buf = (char*)realloc(*buf, (size_t)size);
  return map_utf8(*buf, size, begin, end, to_lower, to_lower);
}

char* utf8_convert_str_first_letter_to_upper(char** dst, const char* begin, const char* end) {
  MY_ASSERT(end >= begin);
  int size = (int)(end - begin) * 4 + 1;
  char* result = map_utf8((char*)malloc((size_t)size), size, begin, end, to_upper, unchanged);
  free(*dst);
  *dst = result;
  return result;
}

int utf32_strlen(const UTF32* s) {
  const UTF32* p = s;
  while (*p) ++p;
  return (int)(p - s);
}

int utf32_strcpy(UTF32* dst, const UTF32* src) {
  int length = utf32_strlen(src);
  memcpy(dst, src, ((size_t)length + 1) * sizeof(UTF32));
  return length;
}

int utf32_strncpy(UTF32* dst, const UTF32* src, int n) {
  int count = 0;
  while (count < n && src[count]) {
    dst[count] = src[count];
    ++count;
  }
  dst[count] = 0;
  return count;
}

int utf32_strcat(UTF32* dst, const UTF32* src) {
  int length = utf32_strlen(dst);
  return length + utf32_strcpy(dst + length, src);
}

void utf32_strncat(UTF32* dst, const UTF32* src, int n) { utf32_strncpy(dst + utf32_strlen(dst), src, n); }

UTF32* utf32_strdup(const UTF32* s) {
  if (!s) return nullptr;
  size_t size = ((size_t)utf32_strlen(s) + 1) * sizeof(UTF32);
  return (UTF32*)memcpy(malloc(size), s, size);
}

void utf32_safe_str_occupy(UTF32** p, UTF32* s) {
  free(*p);
  *p = s;
}

void utf32_safe_str_assign(UTF32** p, const UTF32* s) { utf32_safe_str_occupy(p, utf32_strdup(s)); }

void utf32_remove_prev_char(UTF32* text, int pos) {
  MY_ASSERT(pos > 0);
  UTF32* p = text + pos - 1;
  do {
    p[0] = p[1];
  } while (*p++);
}

void utf32_insert_char(UTF32* text, int text_len, int pos, UTF32 c) {
  MY_ASSERT(!text[text_len]);
  MY_ASSERT(0 <= pos && pos <= text_len);
  memmove(text + pos + 1, text + pos, ((size_t)(text_len - pos) + 1) * sizeof(UTF32));
  text[pos] = c;
}

void utf32_replace_char(UTF32* text, int pos, UTF32 c) {
  MY_ASSERT(0 <= pos && text[pos] != 0);
  text[pos] = c;
}

UTF32* utf32_create_from_utf8(const char* source_utf8) {
  MY_ASSERT(source_utf8);
  size_t length = strlen(source_utf8);
  UTF32* result = allocate_utf32(length);
  result[charset::charset_convert_str_utf8_to_utf32(source_utf8, length, result, (int)length)] = 0;
  return result;
}

int utf32_copy_from_utf8(UTF32* dst, const char* src, int max) {
  int limit = max > 0 ? (int)strnlen(src, (size_t)max) : max;
  int count = charset_convert_str_utf8_to_utf32(src, dst, limit);
  dst[count] = 0;
  return count;
}

char* utf32_convert_to_utf8(const UTF32* source_utf32) {
  MY_ASSERT(source_utf32);
  int length = utf32_strlen(source_utf32);
  int size = 4 * length;
  char* result = (char*)malloc((size_t)size + 1);
  // Four bytes per character always suffice, so the characters are written without room checks.
  UTF8* out = (UTF8*)result;
  for (const UTF32* p = source_utf32; *p; ++p) {
    if (*p < 0x80) *out++ = (UTF8)*p;
    else out += utf::encode(*p, out);
  }
  int used = (int)(out - (UTF8*)result);
  if (used < size) result = (char*)realloc(result, (size_t)used + 1);
  result[used] = 0;
  return result;
}

#define VONA_CODE_PAGE_STRINGS(NUMBER)                                                                     \
  UTF32* utf32_create_from_cp##NUMBER(const char* source) { return utf32_create_from_cpxxxx(source, NUMBER - 1250); } \
  int utf32_copy_from_cp##NUMBER(UTF32* dst, const char* src, int max) {                                   \
    return utf32_copy_from_cpxxxx(dst, src, max, NUMBER - 1250);                                           \
  }                                                                                                        \
  char* utf32_convert_to_cp##NUMBER(const UTF32* source_utf32) {                                           \
    return utf32_convert_to_cpxxxx(source_utf32, NUMBER - 1250);                                           \
  }

VONA_CODE_PAGE_STRINGS(1250)
VONA_CODE_PAGE_STRINGS(1251)
VONA_CODE_PAGE_STRINGS(1252)
VONA_CODE_PAGE_STRINGS(1253)
VONA_CODE_PAGE_STRINGS(1254)
VONA_CODE_PAGE_STRINGS(1255)
VONA_CODE_PAGE_STRINGS(1256)
VONA_CODE_PAGE_STRINGS(1257)
VONA_CODE_PAGE_STRINGS(1258)

UTF32* utf32_create_from_big5(const char* source) { return create_by_iconv(kIconvBig5, source); }
UTF32* utf32_create_from_gb2312(const char* source) { return create_by_iconv(kIconvGb2312, source); }
UTF32* utf32_create_from_euckr(const char* source) { return create_by_iconv(kIconvEucKr, source); }
int utf32_copy_from_big5(UTF32* dst, const char* src, int max) { return copy_by_iconv(kIconvBig5, dst, src, max); }
int utf32_copy_from_gb2312(UTF32* dst, const char* src, int max) { return copy_by_iconv(kIconvGb2312, dst, src, max); }
int utf32_copy_from_euckr(UTF32* dst, const char* src, int max) { return copy_by_iconv(kIconvEucKr, dst, src, max); }
char* utf32_convert_to_big5(const UTF32* source_utf32) { return convert_by_iconv(kIconvBig5, source_utf32); }
char* utf32_convert_to_gb2312(const UTF32* source_utf32) { return convert_by_iconv(kIconvGb2312, source_utf32); }
char* utf32_convert_to_euckr(const UTF32* source_utf32) { return convert_by_iconv(kIconvEucKr, source_utf32); }
