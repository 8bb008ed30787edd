// Internal helpers of the byte buffers for the library's own modules (properties text,
// XML writer, string builder).
#ifndef VONAUTIL_STRING_BUFFER_HPP
#define VONAUTIL_STRING_BUFFER_HPP

#include <cstddef>
#include <cstring>

#include "player/src/util/mt/string_buffer.h"

namespace vona {

// realloc that never returns null: running out of memory ends the process with a report.
void* realloc_or_abort(void* memory, size_t size);

// Appends n bytes, growing the buffer by its rule.
inline void str_buf_append(str_buf* sb, const char* bytes, int n) {
  if (n <= 0) return;
  str_buf_ensure_capacity(sb, sb->length + n);
  memcpy(sb->data + sb->length, bytes, n);
  sb->length += n;
}

inline void str_buf_append(str_buf* sb, const char* text) { str_buf_append(sb, text, (int)strlen(text)); }

inline void str_buf_append_char(str_buf* sb, char c) {
  str_buf_ensure_capacity(sb, sb->length + 1);
  sb->data[sb->length++] = c;
}

// NUL-terminates the data (the terminator is not counted in length) and returns it.
inline char* str_buf_c_str(str_buf* sb) {
  str_buf_ensure_capacity(sb, sb->length + 1);
  sb->data[sb->length] = '\0';
  return sb->data;
}

}  // namespace vona

#endif
