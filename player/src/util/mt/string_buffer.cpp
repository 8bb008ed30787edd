#include "player/src/util/mt/string_buffer.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/string_buffer.hpp"
#include "player/src/util/mt/thread_key.hpp"

void* vona::realloc_or_abort(void* memory, size_t size) {
  void* grown = realloc(memory, size);
  if (grown == nullptr) {
    fflush(stdout);
    fprintf(stderr, "out of memory: cannot allocate %zu bytes\n", size);
    abort();
  }
  return grown;
}

// ---- str_buf -----------------------------------------------------------------------------

void str_buf_ensure_capacity(str_buf* sb, int needed) {
  if (sb->capacity >= needed) return;
  long long capacity = sb->capacity;
  if (capacity == 0) {
    capacity = needed > 64 ? needed : 64;
  } else {
    while (capacity < needed) capacity *= 2;
    if (capacity > 0x7fffffff) capacity = needed;
  }
  sb->data = (char*)vona::realloc_or_abort(sb->data, (size_t)capacity);
  sb->capacity = (int)capacity;
}

void str_buf_append_fmt(str_buf* sb, const char* format, ...) {
  enum { kMaxOutput = 1024 };
  // With room to spare the text is formatted in place, otherwise on the stack and copied.
  char local[kMaxOutput];
  bool in_place = sb->capacity - sb->length >= kMaxOutput;
  char* out = in_place ? sb->data + sb->length : local;
  va_list args;
  va_start(args, format);
  int n = vsnprintf(out, kMaxOutput, format, args);
  va_end(args);
  if (n <= 0) return;
  if (n > kMaxOutput - 1) n = kMaxOutput - 1;
  if (in_place) sb->length += n;
  else vona::str_buf_append(sb, local, n);
}

namespace {

// Width of each byte inside a JSON string literal: 1 copied, 2 short escape, 6 \u00XX.
struct JsonWidths {
  unsigned char width[256];
  constexpr JsonWidths() : width() {
    for (int c = 0; c < 256; ++c) width[c] = c < 32 ? 6 : 1;
    const char kShort[] = "\b\t\n\f\r\"\\";
    for (const char* c = kShort; *c; ++c) width[(unsigned char)*c] = 2;
  }
};
constexpr JsonWidths kJson;

char json_short_escape(unsigned char c) {
  switch (c) {
    case '\b': return 'b';
    case '\t': return 't';
    case '\n': return 'n';
    case '\f': return 'f';
    case '\r': return 'r';
    default: return (char)c;  // '"' and '\\' follow their backslash
  }
}

}  // namespace

void str_buf_append_json_string(str_buf* sb, const char* text) {
  MY_ASSERT(text);
  // Measure first so that the buffer grows at most once.
  const unsigned char* in = (const unsigned char*)text;
  size_t escaped = 2;
  size_t n = 0;
  for (; in[n]; ++n) escaped += kJson.width[in[n]];
  str_buf_ensure_capacity(sb, sb->length + (int)escaped);

  char* out = sb->data + sb->length;
  *out++ = '"';
  for (size_t i = 0; i < n;) {
    size_t run = i;
    while (run < n && kJson.width[in[run]] == 1) ++run;
    memcpy(out, in + i, run - i);
    out += run - i;
    if (run == n) break;
    unsigned char c = in[run];
    *out++ = '\\';
    if (kJson.width[c] == 2) {
      *out++ = json_short_escape(c);
    } else {
      static const char kHex[] = "0123456789ABCDEF";
      memcpy(out, "u00", 3);
      out[3] = kHex[c >> 4];
      out[4] = kHex[c & 15];
      out += 5;
    }
    i = run + 1;
  }
  *out++ = '"';
  sb->length = (int)(out - sb->data);
}

void str_buf_remove(str_buf* sb, int from, int len) {
  MY_ASSERT(from >= 0);
  MY_ASSERT(len >= 0);
  MY_ASSERT(from + len <= sb->length);
  memmove(sb->data + from, sb->data + from + len, sb->length - from - len);
  sb->length -= len;
}

int str_buf_write_to_file(str_buf* sb, const char* path) {
  int fd = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (fd < 0) {
    fprintf(stderr, "Unable to create %s\n", path);
    fprintf(stderr, "%s\n", strerror(errno));
    return 0;
  }
  const char* text = vona::str_buf_c_str(sb);
  size_t length = strlen(text);
  size_t written = 0;
  while (written < length) {
    ssize_t n = write(fd, text + written, length - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      // The descriptor is deliberately not closed here: callers have always been told that a
      // failed write leaves the file open.
      fprintf(stderr, "Unable to write to %s\n", path);
      fprintf(stderr, "%s\n", strerror(n < 0 ? errno : ENOSPC));
      return 0;
    }
    written += (size_t)n;
  }
  close(fd);
  return 1;
}

// ---- formatting to the heap --------------------------------------------------------------

[[noreturn]] static void report_format_failure(const char* format, int result, size_t size, va_list args) {
  printf("vsprintf_shared failed: format = '%s', n = %d, s = %d\n", format, result, (int)size);
  printf("***");
  vprintf(format, args);
  printf("***");
  fflush(stdout);
  abort();
}

char* vsprintf_shared(char** buffer, const char* format, va_list args) {
  // Every call starts from 64 bytes. When the text is longer, the size goes straight to the
  // first power-of-two multiple of 64 that holds it, so a long text is formatted only twice.
  size_t size = 64;
  char* out = (char*)vona::realloc_or_abort(*buffer, size);
  *buffer = out;
  for (;;) {
    va_list pass;
    va_copy(pass, args);
    int n = vsnprintf(out, size, format, pass);
    va_end(pass);
    if (n < 0) report_format_failure(format, n, size, args);
    if ((size_t)n < size) return out;
    while (size <= (size_t)n) size *= 2;
    out = (char*)vona::realloc_or_abort(out, size);
    *buffer = out;
  }
}

char* sprintf_shared(char** buffer, const char* format, ...) {
  va_list args;
  va_start(args, format);
  char* text = vsprintf_shared(buffer, format, args);
  va_end(args);
  return text;
}

char* vsprintf_new(const char* format, va_list args) {
  char* buffer = nullptr;
  return vsprintf_shared(&buffer, format, args);
}

char* sprintf_new(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char* text = vsprintf_new(format, args);
  va_end(args);
  return text;
}

// ---- shared-string pool ------------------------------------------------------------------

namespace {

constexpr int kSharedStrings = 16;

// The last strings handed to the pool by one thread; the oldest is freed to make room.
struct SharedStrings {
  char* ring[kSharedStrings];
  int next;
};

void free_shared_strings(void* memory) {
  SharedStrings* pool = (SharedStrings*)memory;
  for (char* s : pool->ring) free(s);
  free(pool);
}

vona::ThreadKey shared_strings_key{free_shared_strings};

}  // namespace

const char* debug_get_shared_string(char* s) {
  if (s == nullptr) return nullptr;
  SharedStrings* pool = (SharedStrings*)shared_strings_key.get();
  if (pool == nullptr) {
    pool = (SharedStrings*)vona::realloc_or_abort(nullptr, sizeof(SharedStrings));
    memset(pool, 0, sizeof *pool);
    shared_strings_key.set(pool);
  }
  free(pool->ring[pool->next]);
  pool->ring[pool->next] = s;
  pool->next = (pool->next + 1) % kSharedStrings;
  return s;
}

// ---- octet_stream ------------------------------------------------------------------------

static void octet_stream_init(octet_stream* os, const void* buffer, unsigned long long size) {
  os->base = (unsigned char*)buffer;
  os->reserved = 0;
  os->cursor = os->base;
  os->remaining = size;
}

void octet_stream_init_writing(octet_stream* os, void* buffer, unsigned long long size) {
  if (size > 0) memset(buffer, 0, size);
  octet_stream_init(os, buffer, size);
}

void octet_stream_init_reading(octet_stream* os, const void* buffer, unsigned long long size) {
  octet_stream_init(os, buffer, size);
}

// Takes item_size * count bytes (counted in 64 bits) at the cursor and returns where they begin;
// null, after printing the failure, when the count is negative or more than remain.
static unsigned char* octet_stream_claim(octet_stream* os, const char* function, int item_size, int count,
                                         size_t* size) {
  long long needed = (long long)item_size * count;
  if (needed < 0 || (unsigned long long)needed > os->remaining) {
    fprintf(stderr, "%s: not enough space for %d mem of size %d, rest is: %d (need %d)\n", function, count,
            item_size, (int)os->remaining, (int)needed);
    return nullptr;
  }
  unsigned char* at = os->cursor;
  os->cursor += needed;
  os->remaining -= needed;
  *size = (size_t)needed;
  return at;
}

int octet_stream_write(octet_stream* os, const void* data, int item_size, int count) {
  size_t size;
  unsigned char* at = octet_stream_claim(os, "octet_stream_write", item_size, count, &size);
  if (at == nullptr) return 0;
  if (size > 0) memcpy(at, data, size);
  return 1;
}

int octet_stream_write_int(octet_stream* os, int value) {
  if (os->remaining < sizeof value) {
    fprintf(stderr, "octet_stream_write: not enough space int32, rest is: %d (need %d)\n", (int)os->remaining,
            (int)sizeof value);
    return 0;
  }
  memcpy(os->cursor, &value, sizeof value);
  os->cursor += sizeof value;
  os->remaining -= sizeof value;
  return 1;
}

int octet_stream_read(octet_stream* os, void* dst, int item_size, int count) {
  size_t size;
  const unsigned char* at = octet_stream_claim(os, "octet_stream_read", item_size, count, &size);
  if (at == nullptr) return 255;
  if (size > 0) memcpy(dst, at, size);
  return 1;
}
