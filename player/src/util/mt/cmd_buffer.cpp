#include "player/src/util/mt/cmd_buffer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/cmd_buffer.hpp"
#include "player/src/util/mt/progress.h"

namespace {

constexpr int kInitialCapacity = 1024;

// Makes the block hold more than `needed - 1` bytes, doubling the capacity.
void cmd_buffer_ensure_capacity(cmd_buffer* self, int needed) {
  MY_ASSERT(self->capacity > 0);
  if (self->capacity >= needed) return;
  int capacity = self->capacity;
  while (capacity < needed) capacity *= 2;
  self->data = static_cast<char*>(realloc(self->data, (size_t)capacity));
  self->capacity = capacity;
}

void echo_bytes(const cmd_buffer* buf, const char* bytes, int length) {
  if (buf->echo && length > 0) fwrite(bytes, 1, (size_t)length, stdout);
}

}  // namespace

cmd_buffer* cmd_buffer_create(void) { return static_cast<cmd_buffer*>(calloc(1, sizeof(cmd_buffer))); }

void cmd_buffer_reset(cmd_buffer* buf, int echo) {
  free(buf->data);
  buf->capacity = kInitialCapacity;
  buf->length = 0;
  buf->data = static_cast<char*>(malloc(kInitialCapacity));
  buf->echo = echo;
}

void cmd_buffer_add_seg(cmd_buffer* buf, const char* bytes, int length) {
  if (length <= 0) return;
  cmd_buffer_ensure_capacity(buf, buf->length + length);
  memcpy(buf->data + buf->length, bytes, (size_t)length);
  buf->length += length;
}

void cmd_buffer_strip(cmd_buffer* buf) {
  if (buf->data == nullptr) return;
  buf->length = (int)strlen(str_strip(cmd_buffer_get_str(buf)));
}

void cmd_buffer_get_seg(const cmd_buffer* buf, str_seg* seg) {
  seg->start = buf->data;
  seg->length = buf->length;
}

char* cmd_buffer_get_str(cmd_buffer* buf) {
  cmd_buffer_ensure_capacity(buf, buf->length + 1);
  buf->data[buf->length] = '\0';
  return buf->data;
}

char* cmd_buffer_release(cmd_buffer* buf) {
  char* data = buf->data ? cmd_buffer_get_str(buf) : strdup("");
  free(buf);
  return data;
}

int cmd_buffer_cmd_callback(void* buf, const char* bytes, int length) {
  cmd_buffer* self = static_cast<cmd_buffer*>(buf);
  echo_bytes(self, bytes, length);
  cmd_buffer_add_seg(self, bytes, length);
  return 0;
}

int cmd_buffer_cmd_callback_with_progress(void* buf, const char* bytes, int length) {
  cmd_buffer_cmd_callback(buf, bytes, length);
  progress_heartbeat();
  return 0;
}

namespace vona {

void cmd_buffer_add_output(cmd_buffer* buf, const char* bytes, int length) {
  const char* end = bytes + length;
  while (bytes < end) {
    const char* nul = static_cast<const char*>(memchr(bytes, '\0', (size_t)(end - bytes)));
    const char* stop = nul ? nul : end;
    cmd_buffer_cmd_callback(buf, bytes, (int)(stop - bytes));
    bytes = stop + (nul ? 1 : 0);
  }
}

}  // namespace vona
