// Internal helpers of the path and URL functions, shared by the path stack and the URL modules.
#ifndef VONAUTIL_PATH_UTILS_HPP
#define VONAUTIL_PATH_UTILS_HPP

#include <cstring>

#include "player/src/util/mt/path_utils.h"
#include "player/src/util/mt/string_buffer.hpp"

namespace vona {

// A malloc'd, NUL-terminated copy of n bytes.
inline char* copy_bytes(const char* bytes, int n) {
  if (n < 0) n = 0;
  char* copy = (char*)realloc_or_abort(nullptr, (size_t)n + 1);
  memcpy(copy, bytes, n);
  copy[n] = '\0';
  return copy;
}
inline char* copy_seg(str_seg seg) { return copy_bytes(seg.start, seg.length); }
inline char* copy_string(const char* text) { return copy_bytes(text, (int)strlen(text)); }

inline bool seg_equals(str_seg a, str_seg b) {
  return a.length == b.length && (a.length <= 0 || memcmp(a.start, b.start, a.length) == 0);
}
inline bool seg_is(str_seg seg, const char* text) {
  return seg_equals(seg, str_seg{text, (int)strlen(text)});
}

// Takes the first component off the segment. A leading run of slashes is one component "/";
// any other component runs to the next "/" and the run of slashes after it is skipped.
// An empty segment yields an empty component.
str_seg path_next_component(str_seg* rest);

// The length of the URL prefix of text ("scheme://host/"), 0 for a plain path.
int url_prefix_length(const char* text);

}  // namespace vona

#endif
