#include "player/src/util/mt/string_builder.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/container_utils.hpp"
#include "player/src/util/mt/string_buffer.hpp"
#include "player/src/util/mt/string_builder.hpp"

namespace {

constexpr int kInitialBufCapacity = 1024;
constexpr int kInitialItemCapacity = 32;

// The capacity after doubling `capacity` (from `initial` when it is 0) until it holds `needed`.
int grown_capacity(int capacity, int initial, long long needed) {
  long long grown = capacity > 0 ? capacity : initial;
  while (grown < needed) grown *= 2;
  MY_ASSERT(grown <= 0x7fffffff);
  return (int)grown;
}

// Drops trailing slashes but keeps at least one character, so that a lone "/" stays.
str_seg without_trailing_slashes(str_seg seg) {
  while (seg.length > 1 && seg.start[seg.length - 1] == '/') --seg.length;
  return seg;
}

void append_slash_unless_present(string_builder* t) {
  if (t->buf_length > 0 && t->buf[t->buf_length - 1] != '/') vona::string_builder_append(t, "/", 1);
}

str_seg segment_of(const string_builder* t, int from, int to) {
  str_seg seg = {t->buf + from, to - from};
  return seg;
}

}  // namespace

void vona::string_builder_append(string_builder* t, const char* bytes, int n) {
  if (n <= 0) return;
  long long needed = (long long)t->buf_length + n;
  if (needed > t->buf_capacity) {
    // The bytes may be part of the buffer that is about to move.
    bool own = bytes >= t->buf && bytes <= t->buf + t->buf_capacity;
    ptrdiff_t offset = bytes - t->buf;
    t->buf_capacity = grown_capacity(t->buf_capacity, kInitialBufCapacity, needed);
    t->buf = (char*)vona::realloc_or_abort(t->buf, (size_t)t->buf_capacity + 1);
    if (own) bytes = t->buf + offset;
  }
  memmove(t->buf + t->buf_length, bytes, n);
  t->buf_length += n;
  t->buf[t->buf_length] = '\0';
}

void vona::string_builder_reserve_items(string_builder* t, int count) {
  if (count <= t->item_capacity) return;
  t->item_capacity = grown_capacity(t->item_capacity, kInitialItemCapacity, count);
  t->items = (string_builder_item*)vona::realloc_or_abort(t->items, sizeof(string_builder_item) * t->item_capacity);
}

void vona::string_builder_add_item(string_builder* t, int start, int begin, int end) {
  string_builder_reserve_items(t, t->num_items + 1);
  t->items[t->num_items++] = string_builder_item{start, begin, end};
}

string_builder* string_builder_create(void) {
  string_builder* t = (string_builder*)vona::realloc_or_abort(nullptr, sizeof(string_builder));
  t->buf_capacity = kInitialBufCapacity;
  t->buf = (char*)vona::realloc_or_abort(nullptr, kInitialBufCapacity + 1);
  t->buf[0] = '\0';
  t->buf_length = 0;
  t->item_capacity = kInitialItemCapacity;
  t->items = (string_builder_item*)vona::realloc_or_abort(nullptr, sizeof(string_builder_item) * kInitialItemCapacity);
  t->num_items = 0;
  return t;
}

void string_builder_free(string_builder* sb) {
  if (sb == nullptr) return;
  free(sb->buf);
  free(sb->items);
  free(sb);
}

string_builder* string_builder_copy(const string_builder* sb) {
  if (sb == nullptr) return nullptr;
  string_builder* t = (string_builder*)vona::realloc_or_abort(nullptr, sizeof(string_builder));
  *t = *sb;
  t->buf = (char*)vona::realloc_or_abort(nullptr, (size_t)sb->buf_capacity + 1);
  memcpy(t->buf, sb->buf, (size_t)sb->buf_length + 1);
  t->items = (string_builder_item*)vona::realloc_or_abort(nullptr, sizeof(string_builder_item) * sb->item_capacity);
  if (sb->num_items > 0) memcpy(t->items, sb->items, sizeof(string_builder_item) * sb->num_items);
  return t;
}

void string_builder_push_abs(string_builder* sb, const char* path) { string_builder_push_abs_seg(sb, str_to_seg(path)); }

void string_builder_push_abs_seg(string_builder* sb, str_seg seg) {
  seg = without_trailing_slashes(seg);
  int start = sb->buf_length;
  vona::string_builder_append(sb, seg.start, seg.length);
  vona::string_builder_add_item(sb, start, start, sb->buf_length);
}

static void string_builder_do_push(string_builder* t, str_seg seg, int base_num_items) {
  MY_ASSERT(base_num_items <= t->num_items);
  MY_ASSERT(base_num_items >= 0);
  int start = t->buf_length;
  if (base_num_items == t->num_items && t->num_items > 0) {
    // Relative to the top item: the new item continues the top item's text.
    start = t->items[t->num_items - 1].start;
    append_slash_unless_present(t);
  } else if (base_num_items > 0) {
    // Relative to an older item: the new item begins with a copy of that item's text.
    const string_builder_item& base = t->items[base_num_items - 1];
    vona::string_builder_append(t, t->buf + base.start, base.end - base.start);
    if (base.end > base.start) append_slash_unless_present(t);
  }
  int begin = t->buf_length;
  seg = without_trailing_slashes(seg);
  vona::string_builder_append(t, seg.start, seg.length);
  vona::string_builder_add_item(t, start, begin, t->buf_length);
}

void string_builder_push_rel(string_builder* sb, const char* path, int base_num_items) {
  string_builder_do_push(sb, str_to_seg(path), base_num_items);
}

void string_builder_push_rel_seg(string_builder* sb, str_seg seg, int base_num_items) {
  string_builder_do_push(sb, seg, base_num_items);
}

void string_builder_push_path(string_builder* sb, const char* path, int base_num_items) {
  string_builder_push_path_seg(sb, str_to_seg(path), base_num_items);
}

void string_builder_push_path_seg(string_builder* sb, str_seg seg, int base_num_items) {
  if (seg.length > 0 && seg.start[0] == '/') string_builder_push_abs_seg(sb, seg);
  else string_builder_do_push(sb, seg, base_num_items);
}

void string_builder_pop(string_builder* t) {
  MY_ASSERT(t->num_items > 0);
  --t->num_items;
  t->buf_length = t->num_items > 0 ? t->items[t->num_items - 1].end : 0;
  t->buf[t->buf_length] = '\0';
}

str_seg string_builder_get_by_ndx(const string_builder* t, int ndx) {
  if (t->num_items == 0 && ndx == 0) return segment_of(t, 0, 0);
  MY_ASSERT(ndx > -t->num_items);
  MY_ASSERT(ndx < t->num_items);
  const string_builder_item& item = t->items[ndx < 0 ? ndx + t->num_items : ndx];
  return segment_of(t, item.start, item.end);
}

str_seg string_builder_get_item_by_ndx(const string_builder* t, int ndx) {
  MY_ASSERT(ndx > -t->num_items);
  MY_ASSERT(ndx < t->num_items);
  const string_builder_item& item = t->items[ndx < 0 ? ndx + t->num_items : ndx];
  return segment_of(t, item.begin, item.end);
}

const char* string_builder_top(const string_builder* sb) {
  return sb->num_items > 0 ? sb->buf + sb->items[sb->num_items - 1].start : sb->buf;
}

str_seg string_builder_top_seg(const string_builder* sb) {
  int start = sb->num_items > 0 ? sb->items[sb->num_items - 1].start : 0;
  return segment_of(sb, start, sb->buf_length);
}

const char* string_builder_top_item(const string_builder* t) {
  MY_ASSERT(t->num_items > 0);
  return t->buf + t->items[t->num_items - 1].begin;
}

void string_builder_dump(const string_builder* sb, const char* prefix) {
  MY_ASSERT(prefix);
  if (sb->num_items == 0) {
    printf("%s: empty\n", prefix);
    return;
  }
  printf("%s: chars %d=%d of %d, items %d of %d\n", prefix, (int)strlen(sb->buf), sb->buf_length, sb->buf_capacity,
         sb->num_items, sb->item_capacity);
  printf("    buf = '%s'\n", sb->buf);
  for (int i = 0; i < sb->num_items; ++i) {
    const string_builder_item& item = sb->items[i];
    printf("    item #%d: %d,%d,%d: %.*s\n", i, item.start, item.begin, item.end, item.end - item.start,
           sb->buf + item.start);
  }
}

// Saved with the containers (see container_utils.h); kept here so that the assertion reports
// name the builder.
void string_builder_save(const string_builder* sb, properties* props, const char* prefix) {
  if (sb == nullptr) return;
  vona::Keys name(prefix);
  properties_set_int(props, name("is_null"), 0);
  properties_set_int(props, name("num_items"), sb->num_items);
  int previous_end = 0;
  for (int i = 0; i < sb->num_items; ++i) {
    const string_builder_item& item = sb->items[i];
    properties_set_seg(props, name("%d.segment", i), str_seg{sb->buf + previous_end, item.end - previous_end});
    properties_set_int(props, name("%d.start", i), item.start);
    properties_set_int(props, name("%d.begin", i), item.begin);
    properties_set_int(props, name("%d.end", i), item.end);
    previous_end = item.end;
  }
}

string_builder* string_builder_restore(const properties* props, const char* prefix) {
  vona::Keys name(prefix);
  if (vona::restored_as_null(props, name)) return nullptr;
  string_builder* t = string_builder_create();
  int num_items = properties_get_int(props, name("num_items"), -1);
  MY_ASSERT(num_items >= 0);
  // Each item needs its own "%d.segment" entry, so a count beyond the container's entries
  // can only end at the assertion on a missing segment: reserve no more than can be filled.
  vona::string_builder_reserve_items(t, num_items < props->count ? num_items : props->count);
  for (int i = 0; i < num_items; ++i) {
    const char* str = properties_get(props, name("%d.segment", i));
    MY_ASSERT(str);
    vona::string_builder_append(t, str, (int)strlen(str));
    int start = properties_get_int(props, name("%d.start", i), -1);
    int begin = properties_get_int(props, name("%d.begin", i), -1);
    int end = properties_get_int(props, name("%d.end", i), -1);
    MY_ASSERT(start >= 0);
    MY_ASSERT(begin >= start);
    MY_ASSERT(end >= begin);
    MY_ASSERT(end == t->buf_length);
    vona::string_builder_add_item(t, start, begin, end);
  }
  return t;
}
