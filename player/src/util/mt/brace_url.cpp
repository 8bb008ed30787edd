#include "player/src/util/mt/brace_url.h"

#include <cstring>

#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/path_utils.hpp"

namespace {
bool is_key_char(unsigned char c) { return vona::is_alpha(c) || vona::is_digit(c) || c == '_'; }
}  // namespace

const char* brace_url_open(const char* url, const char* scheme) {
  size_t n = strlen(scheme);
  return strncmp(url, scheme, n) == 0 && strncmp(url + n, "://", 3) == 0 ? url + n + 3 : nullptr;
}

int brace_url_read_next_pair(const char** cursor_in_out, str_seg* key_out, str_seg* value_out, int* escaped_out) {
  const char* p = *cursor_in_out;
  *escaped_out = 0;
  if (*p == '\0') {
    *key_out = str_seg{p, 0};
    *value_out = str_seg{p, 0};
    return 1;
  }
  if (*p++ != '{' || *p == '=') return 0;
  const char* key = p;
  while (is_key_char(*p)) ++p;
  if (*p != '=') return 0;
  *key_out = str_seg{key, (int)(p - key)};

  const char* value = ++p;
  for (int depth = 0;; ++p) {
    if (*p == '\0') return 0;
    if (*p == '\\') {
      *escaped_out = 1;
      if (*++p == '\0') return 0;
    } else if (*p == '{') {
      ++depth;
    } else if (*p == '}') {
      if (depth == 0) break;
      --depth;
    }
  }
  *value_out = str_seg{value, (int)(p - value)};
  *cursor_in_out = p + 1;
  return 1;
}

char* brace_url_unescape_value(const char* value, int length) {
  char* result = vona::copy_bytes(value, length);
  char* out = result;
  for (const char* in = result; *in; ++in) {
    if (*in != '\\') *out++ = *in;
  }
  *out = '\0';
  return result;
}
