#include "player/src/util/mt/mount_utils.h"

#include <cstddef>
#include <cstring>
#include <string>

#include "player/src/util/mt/fixed_path.hpp"

namespace {

// The value of up to three octal digits, read as a number is read: it ends at the first
// character that is not an octal digit. Kept to 8 bits.
char octal_char(const char* digits) {
  unsigned value = 0;
  for (int i = 0; i < 3 && digits[i] >= '0' && digits[i] <= '7'; ++i) value = value * 8 + (unsigned)(digits[i] - '0');
  return (char)(value & 0xFF);
}

// Replaces each backslash and the three characters after it by the character they give in
// octal, a backslash by '/'. A backslash with fewer than three characters left ends it.
void unescape_field(char* field) {
  char* out = field;
  const char* in = field;
  while (*in) {
    if (*in != '\\') {
      *out++ = *in++;
      continue;
    }
    if (!in[1] || !in[2] || !in[3]) break;
    char c = octal_char(in + 1);
    *out++ = c == '\\' ? '/' : c;
    in += 4;
  }
  // The characters from a stopping backslash on stay as they are.
  memmove(out, in, strlen(in) + 1);
}

// Copies the text up to the next blank into field and returns the position after that
// blank, or null when there is none.
char* take_field(char* line, char* field) {
  char* blank = strchr(line, ' ');
  if (blank == nullptr) return nullptr;
  size_t length = (size_t)(blank - line);
  memcpy(field, line, length);
  field[length] = '\0';
  return blank + 1;
}

template <size_t Offset>
int find_mount(const char* text, mount_entry* entry) {
  FILE* mounts = mount_utils_open_mounts();
  if (mounts == nullptr) return 0;
  int found = 0;
  while (!found && mount_utils_next_mount(mounts, entry) == 0) {
    found = strcmp((const char*)entry + Offset, text) == 0;
  }
  mount_utils_close_mounts(mounts);
  return found;
}

}  // namespace

FILE* mount_utils_open_mounts(void) {
  FILE* mounts = fopen(vona::fixed_path("/proc/mounts").c_str(), "r");
  if (mounts == nullptr) perror("fopen /proc/mounts");
  return mounts;
}

int mount_utils_next_mount(FILE* mount_fp, mount_entry* entry) {
  MY_ASSERT(mount_fp);
  char line[MOUNT_MAX_LINE_LENGTH + 1];
  if (fgets(line, sizeof line, mount_fp) == nullptr) return -1;
  char* rest = take_field(line, entry->source);
  if (rest) rest = take_field(rest, entry->target);
  if (rest) rest = take_field(rest, entry->type);
  if (rest == nullptr) return -1;
  strcpy(entry->options, rest);
  unescape_field(entry->source);
  unescape_field(entry->target);
  return 0;
}

void mount_utils_close_mounts(FILE* mount_fp) {
  MY_ASSERT(mount_fp);
  fclose(mount_fp);
}

int mount_find_by_source(const char* source, mount_entry* entry) {
  return find_mount<offsetof(mount_entry, source)>(source, entry);
}

int mount_find_by_target(const char* target, mount_entry* entry) {
  return find_mount<offsetof(mount_entry, target)>(target, entry);
}

str_seg mount_get_option_value(const mount_entry* entry, const char* name) {
  size_t name_length = strlen(name);
  const char* token = entry->options;
  while (true) {
    const char* end = strchr(token, ',');
    size_t length = end ? (size_t)(end - token) : strlen(token);
    if (length > name_length && strncmp(token, name, name_length) == 0 && token[name_length] == '=') {
      return str_seg{token + name_length + 1, (int)(length - name_length - 1)};
    }
    if (end == nullptr) return str_seg{"", 0};
    token = end + 1;
  }
}
