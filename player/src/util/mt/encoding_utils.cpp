#include "player/src/util/mt/encoding_utils.h"

#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/string_buffer.h"
#include "player/src/util/mt/unicode_utils.h"

namespace {

struct Encoding {
  const char* name;
  UTF32* (*create)(const char*);
  char* (*convert)(const UTF32*);
  int (*copy)(UTF32*, const char*, int);
};

#define VONA_ENCODING(NAME) \
  { #NAME, utf32_create_from_##NAME, utf32_convert_to_##NAME, utf32_copy_from_##NAME }

// Indexed by encoding number.
const Encoding kEncodings[] = {
    VONA_ENCODING(utf8),   VONA_ENCODING(cp1250), VONA_ENCODING(cp1251), VONA_ENCODING(cp1252),
    VONA_ENCODING(cp1253), VONA_ENCODING(cp1254), VONA_ENCODING(cp1255), VONA_ENCODING(cp1256),
    VONA_ENCODING(cp1257), VONA_ENCODING(cp1258), VONA_ENCODING(big5),   VONA_ENCODING(gb2312),
    VONA_ENCODING(euckr)};
constexpr int kEncodingCount = sizeof kEncodings / sizeof kEncodings[0];

bool is_known(int enc) { return enc >= 0 && enc < kEncodingCount; }
// Unknown numbers are converted as UTF-8.
const Encoding& encoding(int enc) { return kEncodings[is_known(enc) ? enc : 0]; }

// s re-encoded from `from` to `to` through UTF-32.
char* recode(const char* s, int from, int to) {
  UTF32* text = encoding(from).create(s);
  char* result = encoding(to).convert(text);
  free(text);
  return result;
}

const char* store(char** holder, char* converted) {
  free(*holder);
  *holder = converted;
  return converted;
}

}  // namespace

const char* encoding_to_string(int enc) { return is_known(enc) ? kEncodings[enc].name : "unknown"; }

UTF32* convert_string_to_utf32(const char* source, int enc) {
  MY_ASSERT(source);
  return encoding(enc).create(source);
}

char* convert_string_from_utf32(const UTF32* source_utf32, int enc) {
  MY_ASSERT(source_utf32);
  return encoding(enc).convert(source_utf32);
}

int copy_string_to_utf32(UTF32* dst, const char* src, int max, int enc) { return encoding(enc).copy(dst, src, max); }

const char* MY_convert_string_to_external(char** holder, const char* s, int enc) {
  return enc == 0 ? s : store(holder, recode(s, 0, enc));
}

const char* MY_convert_string_from_external(char** holder, const char* s, int enc) {
  return enc == 0 ? s : store(holder, recode(s, enc, 0));
}

char* MY_convert_string_from_external_into_buf(char** buf, const char* s, int enc) {
  store(buf, enc == 0 ? strdup(s) : recode(s, enc, 0));
  return *buf;
}

char* MY_string_from_external(const char* s, int enc) { return enc == 0 ? strdup(s) : recode(s, enc, 0); }

const char* MY_string_to_external_shared(const char* s, int enc) {
  return enc == 0 ? s : debug_get_shared_string(recode(s, 0, enc));
}

const char* MY_string_from_external_shared(const char* s, int enc) {
  return enc == 0 ? s : debug_get_shared_string(recode(s, enc, 0));
}

int MY_strlen(const char* s) { return utf8_strlen(s); }
UTF32 MY_get_next_char(const char** begin, const char* end) { return utf8_get_next_char(begin, end); }
int MY_strcmp(const char* a, const char* b) { return utf8_strcmp(a, b); }

char* MY_convert_str_seg_to_lower(char* buf, int buf_size, const char* begin, int len) {
  return utf8_convert_str_seg_to_lower(buf, buf_size, begin, begin + len);
}

char* MY_convert_str_to_lower(char** buf, const char* s) { return utf8_convert_str_to_lower(buf, s, s + strlen(s)); }

char* MY_convert_str_first_letter_to_upper(char** buf, const char* s) {
  return utf8_convert_str_first_letter_to_upper(buf, s, s + strlen(s));
}

int MY_utf32_copy_from_internal(UTF32* dst, const char* src, int max) { return utf32_copy_from_utf8(dst, src, max); }
UTF32* MY_utf32_create_from_internal(const char* source) { return utf32_create_from_utf8(source); }
char* MY_utf32_convert_to_internal(const UTF32* source_utf32) { return utf32_convert_to_utf8(source_utf32); }
