#include "player/src/util/mt/basic_string_array.h"

#include <ctype.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "player/src/util/mt/common.h"

namespace {

constexpr int kFormatBufferSize = 1024;
constexpr int kLineBufferSize = 32768;

char* copy_chars(const char* begin, size_t length) {
  char* copy = (char*)malloc(length + 1);
  memcpy(copy, begin, length);
  copy[length] = '\0';
  return copy;
}

// Resizes the item array to exactly `size` strings plus the null terminator.
void resize_items(string_array* sa, int size) {
  sa->items = (char**)realloc(sa->items, (size_t)(size + 1) * sizeof(char*));
  sa->items[size] = nullptr;
}

// The one append of the module: takes `string` and keeps the array exactly sized and terminated.
void append(string_array* sa, char* string) {
  resize_items(sa, sa->size + 1);
  sa->items[sa->size++] = string;
}

// Appends copies of `count` strings with a single reallocation. `strings` may be the array's
// own items (adding an array to itself).
void append_copies(string_array* sa, char* const* strings, int count) {
  if (count <= 0) return;
  bool own = strings == sa->items;
  resize_items(sa, sa->size + count);
  if (own) strings = sa->items;
  for (int i = 0; i < count; i++) sa->items[sa->size + i] = strdup(strings[i]);
  sa->size += count;
}

int vector_length(char* const* vector) {
  int count = 0;
  if (vector) {
    while (vector[count]) count++;
  }
  return count;
}

int compare_strings(const void* a, const void* b) {
  return strcmp(*(char* const*)a, *(char* const*)b);
}

}  // namespace

string_array* string_array_create_empty(void) {
  string_array* sa = (string_array*)calloc(1, sizeof(string_array));
  resize_items(sa, 0);
  return sa;
}

string_array* string_array_create_single(const char* string) {
  string_array* sa = string_array_create_empty();
  string_array_add(sa, string);
  return sa;
}

string_array* string_array_copy(const string_array* sa) {
  if (sa == nullptr) return nullptr;
  string_array* copy = string_array_create_empty();
  string_array_add_all(copy, sa);
  return copy;
}

string_array* string_array_create_from_array(char* const* vector) {
  string_array* sa = string_array_create_empty();
  string_array_add_array(sa, vector);
  return sa;
}

void string_array_add(string_array* sa, const char* string) {
  MY_ASSERT(string);
  append(sa, strdup(string));
}

void string_array_add_occupy(string_array* sa, char* string) {
  MY_ASSERT(string);
  append(sa, string);
}

void string_array_add_f(string_array* sa, const char* format, ...) {
  char buffer[kFormatBufferSize];
  va_list args;
  va_start(args, format);
  vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  append(sa, strdup(buffer));
}

void string_array_add_int(string_array* sa, int value) { string_array_add_f(sa, "%d", value); }

void string_array_add_segment(string_array* sa, const char* begin, const char* end) {
  MY_ASSERT(begin && end && end >= begin);
  append(sa, copy_chars(begin, (size_t)(end - begin)));
}

void string_array_add_array(string_array* sa, char* const* vector) {
  append_copies(sa, vector, vector_length(vector));
}

void string_array_add_all(string_array* sa, const string_array* other) {
  if (other) append_copies(sa, other->items, other->size);
}

char* string_array_set(string_array* sa, int index, const char* string) {
  MY_ASSERT(index >= 0 && index < sa->size);
  char* copy = strdup(string);
  free(sa->items[index]);
  sa->items[index] = copy;
  return copy;
}

void string_array_remove(string_array* sa, int index) { string_array_remove_segment(sa, index, 1); }

void string_array_remove_segment(string_array* sa, int index, int count) {
  MY_ASSERT(index >= 0 && count > 0 && index + count <= sa->size);
  for (int i = index; i < index + count; i++) free(sa->items[i]);
  memmove(sa->items + index, sa->items + index + count, (size_t)(sa->size - index - count) * sizeof(char*));
  sa->size -= count;
  resize_items(sa, sa->size);
}

int string_array_find(const string_array* sa, const char* string) {
  for (int i = 0; i < sa->size; i++) {
    if (strcmp(sa->items[i], string) == 0) return i;
  }
  return -1;
}

int string_array_find_seg(const string_array* sa, const char* begin, int length) {
  for (int i = 0; i < sa->size; i++) {
    const char* item = sa->items[i];
    if (strnlen(item, (size_t)length + 1) == (size_t)length && memcmp(item, begin, (size_t)length) == 0) return i;
  }
  return -1;
}

int string_array_equals(const string_array* a, const string_array* b) {
  if (a == b) return 1;
  if (a == nullptr || b == nullptr || a->size != b->size) return 0;
  for (int i = 0; i < a->size; i++) {
    if (strcmp(a->items[i], b->items[i]) != 0) return 0;
  }
  return 1;
}

void string_array_sort(string_array* sa) {
  if (sa->size < 2) return;
  qsort(sa->items, (size_t)sa->size, sizeof(char*), compare_strings);
}

string_array* string_array_split(const char* text, const char* separator) {
  int sep_len = separator ? (int)strlen(separator) : 0;
  MY_ASSERT(sep_len > 0);
  string_array* sa = string_array_create_empty();
  if (text == nullptr) return sa;
  const char* p = text;
  for (;;) {
    while (isspace((unsigned char)*p)) p++;
    if (*p == '\0') break;
    const char* found = strstr(p, separator);
    if (found == nullptr) {
      append(sa, strdup(p));
      break;
    }
    append(sa, copy_chars(p, (size_t)(found - p)));
    p = found + sep_len;
  }
  return sa;
}

char* string_array_join(const string_array* sa, const char* separator, int start, int count) {
  if (sa == nullptr || count == 0 || sa->size == 0 || start >= sa->size) return strdup("");
  if (start < 0) start = 0;
  int end = (count < 0 || count > sa->size - start) ? sa->size : start + count;
  size_t sep_len = separator ? strlen(separator) : 0;
  size_t total = sep_len * (size_t)(end - start - 1);
  for (int i = start; i < end; i++) total += strlen(sa->items[i]);
  char* result = (char*)malloc(total + 1);
  char* out = result;
  for (int i = start; i < end; i++) {
    if (i > start) {
      memcpy(out, separator, sep_len);
      out += sep_len;
    }
    size_t length = strlen(sa->items[i]);
    memcpy(out, sa->items[i], length);
    out += length;
  }
  *out = '\0';
  return result;
}

void string_array_clear(string_array* sa) {
  for (int i = 0; i < sa->size; i++) free(sa->items[i]);
  free(sa->items);
  sa->items = nullptr;
  sa->size = 0;
}

void string_array_free(string_array* sa) {
  if (sa == nullptr) return;
  string_array_clear(sa);
  free(sa);
}

string_array* string_array_load_from_file(const char* path) {
  FILE* file = path ? fopen(path, "re") : nullptr;
  if (file == nullptr) return nullptr;
  char* buffer = (char*)malloc(kLineBufferSize);
  MY_ASSERT(buffer);
  string_array* sa = string_array_create_empty();
  while (fgets(buffer, kLineBufferSize, file)) {
    size_t length = strlen(buffer);
    if (length > 0 && buffer[length - 1] == '\n') length--;
    if (length > 0 && buffer[length - 1] == '\r') length--;
    append(sa, copy_chars(buffer, length));
  }
  free(buffer);
  fclose(file);
  return sa;
}

int string_array_save_to_file(const string_array* sa, const char* path) {
  FILE* file = path ? fopen(path, "we") : nullptr;
  if (file == nullptr) return -1;
  for (int i = 0; sa && i < sa->size; i++) {
    fputs(sa->items[i], file);
    fputc('\n', file);
  }
  fclose(file);
  return 0;
}
