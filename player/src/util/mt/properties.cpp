#include "player/src/util/mt/properties.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <functional>
#include <vector>

#include "player/src/util/mt/containers.hpp"
#include "player/src/util/mt/properties.hpp"

namespace {

constexpr int kInitialCapacity = 16;

// Without an index, a single lookup scans the keys. Operations that look up many keys at
// once (loading a file, comparing two containers) switch to a hash table of the keys when
// the container holds more entries than this.
constexpr int kScanLimit = 16;

// White space as isspace() sees it in the C locale, whatever locale the process has set.
inline bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

char* copy_text(const char* text, size_t length) {
  char* copy = static_cast<char*>(malloc(length + 1));
  memcpy(copy, text, length);
  copy[length] = '\0';
  return copy;
}

char* copy_seg(str_seg seg) { return copy_text(seg.start, seg.length > 0 ? (size_t)seg.length : 0); }

template <typename T>
char* format_number(const char* format, T value) {
  char text[32];
  int length = snprintf(text, sizeof text, format, value);
  return copy_text(text, (size_t)length);
}

// Grows both arrays together: an empty container takes exactly what is needed, otherwise
// the capacity grows by half plus one until it suffices.
void ensure_capacity(properties* p, int needed) {
  if (p->capacity >= needed) return;
  int capacity = p->capacity;
  if (capacity == 0) capacity = needed;
  while (capacity < needed) capacity = capacity + capacity / 2 + 1;
  p->keys = static_cast<char**>(realloc(p->keys, sizeof(char*) * (size_t)capacity));
  p->values = static_cast<char**>(realloc(p->values, sizeof(char*) * (size_t)capacity));
  p->capacity = capacity;
}

int scan(const properties* p, const char* key) {
  for (int i = 0; i < p->count; ++i) {
    if (strcmp(p->keys[i], key) == 0) return i;
  }
  return -1;
}

// The container's own lookup rule: the entry its index names, else the first equal key.
// After a removal the index may name a position that has moved; such a stale position is
// recognised by its key and the keys are scanned instead.
int find_entry(const properties* p, const char* key) {
  MY_ASSERT(p);
  MY_ASSERT(key);
  if (p->index != nullptr) {
    long long position = long_by_string_map_get(p->index, key, -1);
    if (position < 0) return -1;
    if (position < p->count && strcmp(p->keys[position], key) == 0) return (int)position;
  }
  return scan(p, key);
}

// Lookups for operations that look up many keys in one container: the same answers as
// find_entry, through an open-addressing table of entry positions once the container is
// large. A container that has an index and entries is asked through its index; one that
// started empty holds only the entries set through this finder, whose keys are unique, so
// the table answers for it as well as its index would.
class EntryFinder {
 public:
  explicit EntryFinder(const properties* p) : p_(p), use_index_(p->index != nullptr && p->count > 0) {}

  // key is NUL-terminated at key[length].
  int find(const char* key, size_t length) {
    if (use_index_) return find_entry(p_, key);
    if (slots_.empty()) {
      if (p_->count <= kScanLimit) return scan(p_, key);
      rehash((size_t)p_->count * 4);
    }
    for (size_t slot = hash(key, length) & mask_;; slot = (slot + 1) & mask_) {
      int position = slots_[slot] - 1;
      if (position < 0 || strcmp(p_->keys[position], key) == 0) return position;
    }
  }

  // Called after the container appended an entry.
  void appended() {
    if (slots_.empty()) return;
    if ((size_t)p_->count * 2 > slots_.size()) rehash(slots_.size() * 2);
    else insert(p_->count - 1);
  }

 private:
  static size_t hash(const char* key, size_t length) { return std::hash<std::string_view>()({key, length}); }

  // Puts a position in the first free slot of its chain unless an earlier entry has the key.
  void insert(int position) {
    const char* key = p_->keys[position];
    for (size_t slot = hash(key, strlen(key)) & mask_;; slot = (slot + 1) & mask_) {
      if (slots_[slot] == 0) {
        slots_[slot] = position + 1;
        return;
      }
      if (strcmp(p_->keys[slots_[slot] - 1], key) == 0) return;
    }
  }

  void rehash(size_t at_least) {
    size_t size = 64;
    while (size < at_least) size *= 2;
    slots_.assign(size, 0);
    mask_ = size - 1;
    for (int i = 0; i < p_->count; ++i) insert(i);
  }

  const properties* p_;
  const bool use_index_;
  std::vector<int> slots_;  // entry position + 1, 0 for a free slot
  size_t mask_ = 0;
};

// Appends an entry that takes the heap key and value, without touching the index.
void append_unindexed(properties* p, char* key, char* value) {
  MY_ASSERT(p);
  ensure_capacity(p, p->count + 1);
  p->keys[p->count] = key;
  p->values[p->count] = value;
  p->count++;
}

// Appends an entry that takes the heap key and value.
void append_entry(properties* p, char* key, char* value) {
  MY_ASSERT(p);
  if (p->index != nullptr) long_by_string_map_put(p->index, key, p->count);
  append_unindexed(p, key, value);
}

// set_entry of a container with an index: one hash of the key finds its position or
// records the position of the new entry. A position that a removal left stale is recognised
// by its key, and the keys are scanned instead, as find_entry does.
void set_indexed_entry(properties* p, const char* key, size_t key_length, char* value) {
  bool inserted;
  long long* position = vona::long_by_string_map_find_or_insert(p->index, key, key_length, p->count, &inserted);
  int found = -1;
  if (!inserted) {
    found = *position < p->count && strcmp(p->keys[*position], key) == 0 ? (int)*position : scan(p, key);
  }
  if (found >= 0) {
    free(p->values[found]);
    p->values[found] = value;
    return;
  }
  *position = p->count;
  append_unindexed(p, copy_text(key, key_length), value);
}

// Stores the heap value under the key (NUL-terminated at key[key_length]): in place of the
// value of an existing entry, or as a new entry with a copy of the key.
void set_entry(properties* p, const char* key, size_t key_length, char* value, EntryFinder* finder = nullptr) {
  MY_ASSERT(p);
  if (p->index != nullptr) return set_indexed_entry(p, key, key_length, value);
  int position = finder != nullptr ? finder->find(key, key_length) : find_entry(p, key);
  if (position >= 0) {
    free(p->values[position]);
    p->values[position] = value;
    return;
  }
  append_entry(p, copy_text(key, key_length), value);
  if (finder != nullptr) finder->appended();
}

void set_entry(properties* p, const char* key, char* value) {
  MY_ASSERT(key);
  set_entry(p, key, strlen(key), value);
}

// Parses NUL-terminated text that may be changed in place: the ends of keys and values are
// overwritten with NULs so that they can be copied and looked up without a scratch buffer.
void parse_in_place(properties* p, char* text) {
  EntryFinder finder(p);
  char* const end = text + strlen(text);
  // An index made big enough at once never grows while it fills. Each entry takes a line of
  // its own and an equals sign, so the smaller count bounds the new entries.
  if (p->index != nullptr) {
    size_t lines = 1, equals = 0;
    for (const char* c = text; c < end; ++c) {
      lines += *c == '\n';
      equals += *c == '=';
    }
    vona::long_by_string_map_reserve(p->index, (size_t)long_by_string_map_size(p->index) + std::min(lines, equals));
  }
  for (char* line = text; line < end;) {
    char* line_end = static_cast<char*>(memchr(line, '\n', (size_t)(end - line)));
    if (line_end == nullptr) line_end = end;
    char* next = line_end + (line_end < end);
    char* begin = line;
    char* stop = line_end;
    line = next;
    while (begin < stop && is_blank(*begin)) ++begin;
    while (stop > begin && is_blank(stop[-1])) --stop;
    if (begin == stop || *begin == '#') continue;
    char* equals = static_cast<char*>(memchr(begin, '=', (size_t)(stop - begin)));
    if (equals == nullptr) continue;
    char* key_end = equals;
    while (key_end > begin && is_blank(key_end[-1])) --key_end;
    if (key_end == begin) continue;
    char* value = equals + 1;
    while (value < stop && is_blank(*value)) ++value;
    *key_end = '\0';
    *stop = '\0';
    set_entry(p, begin, (size_t)(key_end - begin), copy_text(value, (size_t)(stop - value)), &finder);
  }
}

// Reads at most `limit` bytes of the file in one go into a NUL-terminated heap buffer.
// A regular file is read with as many bytes reserved as it holds; others (/proc files,
// pipes) grow the buffer as they go.
char* read_file(const char* path, size_t limit, bool regular_only) {
  struct stat st;
  if (lstat(path, &st) != 0) return nullptr;
  if (regular_only && !S_ISREG(st.st_mode)) return nullptr;
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return nullptr;
  // One byte more than the size, so that the read which reports the end needs no growth.
  size_t room = S_ISREG(st.st_mode) ? (size_t)st.st_size + 1 : 4096;
  if (room > limit) room = limit;
  char* buffer = static_cast<char*>(malloc(room + 1));
  size_t used = 0;
  while (true) {
    if (used == room) {
      if (room == limit) break;
      room = room > limit / 2 ? limit : room * 2;
      buffer = static_cast<char*>(realloc(buffer, room + 1));
    }
    ssize_t n = read(fd, buffer + used, room - used);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      int error = errno;
      free(buffer);
      close(fd);
      errno = error;
      return nullptr;
    }
    if (n == 0) break;
    used += (size_t)n;
  }
  close(fd);
  buffer[used] = '\0';
  return buffer;
}

int build_from_file(properties* p, const char* path, size_t limit, bool regular_only) {
  MY_ASSERT(p);
  char* text = read_file(path, limit, regular_only);
  if (text == nullptr) return 0;
  parse_in_place(p, text);
  free(text);
  return 1;
}

properties* load_from_file(const char* path, bool with_index) {
  properties* p = with_index ? properties_create_with_index() : properties_create_empty();
  if (properties_build_from_internal_file(p, path)) return p;
  properties_free(p);
  return nullptr;
}

// The file text: "%s = %s\n" per entry, in one allocation of the exact size.
char* format_text(const properties* p, size_t* length) {
  MY_ASSERT(p);
  size_t total = 0;
  for (int i = 0; i < p->count; ++i) total += strlen(p->keys[i]) + strlen(p->values[i]) + 4;
  char* text = static_cast<char*>(malloc(total + 1));
  char* out = text;
  for (int i = 0; i < p->count; ++i) {
    size_t key_length = strlen(p->keys[i]);
    size_t value_length = strlen(p->values[i]);
    memcpy(out, p->keys[i], key_length);
    memcpy(out + key_length, " = ", 3);
    out += key_length + 3;
    memcpy(out, p->values[i], value_length);
    out += value_length;
    *out++ = '\n';
  }
  *out = '\0';
  *length = total;
  return text;
}

int write_and_close(const properties* p, FILE* fp, bool sync) {
  MY_ASSERT(fp);
  size_t length;
  char* text = format_text(p, &length);
  bool ok = fwrite(text, 1, length, fp) == length;
  free(text);
  if (sync) ok = ok && fflush(fp) == 0 && fsync(fileno(fp)) == 0;
  int error = ok ? 0 : errno;  // the first failure is the reason
  if (fclose(fp) != 0 && ok) ok = false, error = errno;
  if (!ok) errno = error;
  return ok ? 0 : -1;
}

void report_save_error(bool quiet, const char* path) {
  if (!quiet) printf("Error: failed to save properties to file '%s': %s\n", path, strerror(errno));
}

// Makes a rename inside the directory of path durable.
bool sync_directory_of(const char* path) {
  const char* slash = strrchr(path, '/');
  std::string directory = slash == nullptr ? "." : slash == path ? "/" : std::string(path, (size_t)(slash - path));
  int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return false;
  bool ok = fsync(fd) == 0;
  int error = errno;
  close(fd);
  errno = error;
  return ok;
}

// Creates the temporary file of a save afresh: whatever is at that name (a leftover of an
// interrupted save, or a link planted there to redirect the write) is removed first, and the
// new file is created exclusively without following links. It gets the mode and, where the
// process may set it, the owner of the file it will replace before anything is written to it,
// so that a private settings file never becomes readable through a save.
FILE* create_temporary(const std::string& tmp, const char* path) {
  if (unlink(tmp.c_str()) != 0 && errno != ENOENT) return nullptr;
  int fd = open(tmp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (fd < 0) return nullptr;
  struct stat target;
  if (stat(path, &target) == 0 && S_ISREG(target.st_mode)) {
    // The owner first: a change of owner clears the set-id bits that the mode then restores.
    // An ordinary process may not give a file away; the group alone may still be allowed.
    (void)(fchown(fd, target.st_uid, target.st_gid) == 0 || fchown(fd, (uid_t)-1, target.st_gid) == 0);
    if (fchmod(fd, target.st_mode & 07777) != 0) {
      int error = errno;
      close(fd);
      unlink(tmp.c_str());
      errno = error;
      return nullptr;
    }
  }
  FILE* fp = fdopen(fd, "w");
  if (fp == nullptr) {
    int error = errno;
    close(fd);
    unlink(tmp.c_str());
    errno = error;
  }
  return fp;
}

// Removes the temporary file of a failed save, keeping errno as the failure left it.
void discard_temporary(const std::string& tmp) {
  int error = errno;
  unlink(tmp.c_str());
  errno = error;
}

// Writes "%s.tmp" next to path and renames it over path; with `sync`, the file is synced
// before the rename and the directory after it. A failure leaves errno at its reason.
int save_atomically(const properties* p, const char* path, bool quiet, bool sync) {
  std::string tmp = std::string(path) + ".tmp";
  FILE* fp = create_temporary(tmp, path);
  if (fp == nullptr) {
    report_save_error(quiet, tmp.c_str());
    return -1;
  }
  if (write_and_close(p, fp, sync) != 0) {
    discard_temporary(tmp);
    return -1;
  }
  if (rename(tmp.c_str(), path) != 0) {
    int error = errno;
    if (!quiet) printf("Error: failed to move '%s' to '%s': %s\n", tmp.c_str(), path, strerror(error));
    errno = error;
    discard_temporary(tmp);
    return -1;
  }
  if (sync && !sync_directory_of(path)) {
    int error = errno;
    if (!quiet) printf("Error: failed to sync base dir of '%s': %s\n", path, strerror(error));
    errno = error;
    return -1;
  }
  return 0;
}

struct ChangeLog {
  bool quiet;
  const char* display_name;
  int changes;
};

void print_change(void* context, const char* side, const char* key, const char* value) {
  ChangeLog* log = static_cast<ChangeLog*>(context);
  if (log->quiet) return;
  if (log->changes++ == 0) printf("Saving %s. Changes:\n", log->display_name);
  printf("%s: %s = %s\n", side, key, value);
}

// Reports the entries of `from` that are missing from `to` or have another value there.
int report_differences(const properties* from, const properties* to, const char* side,
                       vona::PropertiesChangeFunc report, void* context) {
  EntryFinder in_to(to);
  int changes = 0;
  for (int i = 0; i < from->count; ++i) {
    const char* key = from->keys[i];
    int position = in_to.find(key, strlen(key));
    if (position >= 0 && strcmp(to->values[position], from->values[i]) == 0) continue;
    changes++;
    if (report != nullptr) report(context, side, key, from->values[i]);
  }
  return changes;
}

}  // namespace

int vona::properties_for_each_change(const properties* old_props, const properties* new_props,
                                     PropertiesChangeFunc report, void* context) {
  MY_ASSERT(old_props);
  MY_ASSERT(new_props);
  return report_differences(old_props, new_props, "old", report, context) +
         report_differences(new_props, old_props, "new", report, context);
}

properties* properties_create_empty(void) {
  properties* p = static_cast<properties*>(calloc(1, sizeof(properties)));
  ensure_capacity(p, kInitialCapacity);
  return p;
}

properties* properties_create_with_index(void) {
  properties* p = properties_create_empty();
  p->index = long_by_string_map_create();
  return p;
}

void properties_create_index(properties* props) {
  MY_ASSERT(props);
  if (props->index != nullptr) return;
  props->index = long_by_string_map_create();
  for (int i = 0; i < props->count; ++i) long_by_string_map_put(props->index, props->keys[i], i);
}

void properties_free(properties* props) {
  if (props == nullptr) return;
  for (int i = 0; i < props->count; ++i) {
    free(props->keys[i]);
    free(props->values[i]);
  }
  free(props->keys);
  free(props->values);
  long_by_string_map_free(props->index);
  free(props);
}

properties* properties_copy(const properties* props) {
  if (props == nullptr) return nullptr;
  properties* copy = properties_create_empty();
  ensure_capacity(copy, props->count);
  for (int i = 0; i < props->count; ++i) {
    copy->keys[i] = strdup(props->keys[i]);
    copy->values[i] = strdup(props->values[i]);
  }
  copy->count = props->count;
  if (props->index != nullptr) properties_create_index(copy);
  return copy;
}

void properties_set_all(properties* dst, const properties* src) {
  MY_ASSERT(src);
  for (int i = 0; i < src->count; ++i) properties_set(dst, src->keys[i], src->values[i]);
}

int properties_equal(const properties* p1, const properties* p2) {
  MY_ASSERT(p1);
  MY_ASSERT(p2);
  return p1->count == p2->count && report_differences(p1, p2, "old", nullptr, nullptr) == 0;
}

int properties_find(const properties* props, const char* key) { return find_entry(props, key); }

int properties_contains_key(const properties* props, const char* key) { return find_entry(props, key) >= 0; }

const char* properties_get(const properties* props, const char* key) {
  int position = find_entry(props, key);
  return position >= 0 ? props->values[position] : nullptr;
}

const char* properties_get_str(const properties* props, const char* key, const char* default_value) {
  const char* value = properties_get(props, key);
  return value != nullptr ? value : default_value;
}

int properties_get_int(const properties* props, const char* key, int default_value) {
  const char* value = properties_get(props, key);
  return value != nullptr ? atoi(value) : default_value;
}

unsigned int properties_get_uint32_t(const properties* props, const char* key, unsigned int default_value) {
  const char* value = properties_get(props, key);
  return value != nullptr ? (unsigned int)atoll(value) : default_value;
}

long long properties_get_long_long(const properties* props, const char* key, long long default_value) {
  const char* value = properties_get(props, key);
  return value != nullptr ? atoll(value) : default_value;
}

double properties_get_double(const properties* props, const char* key, double default_value) {
  const char* value = properties_get(props, key);
  return value != nullptr ? strtod(value, nullptr) : default_value;
}

void properties_set(properties* props, const char* key, const char* value) {
  MY_ASSERT(value);
  set_entry(props, key, strdup(value));
}

void properties_set_seg(properties* props, const char* key, str_seg value) { set_entry(props, key, copy_seg(value)); }

void properties_set_occupy(properties* props, const char* key, char* value) {
  if (value != nullptr) set_entry(props, key, value);
}

int properties_set_if_new(properties* props, const char* key, const char* value) {
  if (find_entry(props, key) >= 0) return 0;
  properties_force_add_last(props, key, value);
  return 1;
}

int properties_set_int_if_new(properties* props, const char* key, int value) {
  if (find_entry(props, key) >= 0) return 0;
  properties_force_add_last_int(props, key, value);
  return 1;
}

void properties_set_int(properties* props, const char* key, int value) {
  set_entry(props, key, format_number("%d", value));
}

void properties_set_long_long(properties* props, const char* key, long long value) {
  set_entry(props, key, format_number("%lld", value));
}

void properties_set_double(properties* props, const char* key, double value) {
  char* text = nullptr;
  if (asprintf(&text, "%f", value) < 0) text = strdup("");  // "%f" of a large value is long
  set_entry(props, key, text);
}

void properties_set_escaped(properties* props, const char* key, const char* value) {
  if (value == nullptr) return;
  size_t length = strlen(value);
  bool quoted = length > 1 && value[0] == '"' && value[length - 1] == '"';
  if (length == 0 || (!is_blank(value[0]) && !is_blank(value[length - 1]) && !quoted)) {
    properties_set(props, key, value);
    return;
  }
  char* escaped = static_cast<char*>(malloc(length + 3));
  escaped[0] = '"';
  memcpy(escaped + 1, value, length);
  escaped[length + 1] = '"';
  escaped[length + 2] = '\0';
  set_entry(props, key, escaped);
}

void properties_force_add_last(properties* props, const char* key, const char* value) {
  MY_ASSERT(key);
  MY_ASSERT(value);
  append_entry(props, strdup(key), strdup(value));
}

void properties_force_add_last_occupy(properties* props, const char* key, char* value) {
  MY_ASSERT(key);
  if (value != nullptr) append_entry(props, strdup(key), value);
}

void properties_force_add_last_seg(properties* props, const char* key, str_seg value) {
  MY_ASSERT(key);
  append_entry(props, strdup(key), copy_seg(value));
}

void properties_force_add_last_seg_by_seg(properties* props, str_seg key, str_seg value) {
  append_entry(props, copy_seg(key), copy_seg(value));
}

void properties_force_add_last_int(properties* props, const char* key, int value) {
  properties_force_add_last_occupy(props, key, format_number("%d", value));
}

void properties_force_add_last_long_long(properties* props, const char* key, long long value) {
  properties_force_add_last_occupy(props, key, format_number("%lld", value));
}

void properties_force_add_last_uint32_t(properties* props, const char* key, unsigned int value) {
  properties_force_add_last_occupy(props, key, format_number("%u", value));
}

int properties_remove(properties* props, const char* key) {
  MY_ASSERT(props);
  MY_ASSERT(key);
  int position = scan(props, key);
  if (position < 0) return 0;
  if (props->index != nullptr) long_by_string_map_remove(props->index, key);
  free(props->keys[position]);
  free(props->values[position]);
  size_t later = (size_t)(props->count - position - 1);
  memmove(props->keys + position, props->keys + position + 1, later * sizeof(char*));
  memmove(props->values + position, props->values + position + 1, later * sizeof(char*));
  props->count--;
  return 1;
}

void properties_unescape_value(char* value) {
  if (value == nullptr) return;
  size_t length = strlen(value);
  if (length < 3 || value[0] != '"' || value[length - 1] != '"') return;
  memmove(value, value + 1, length - 2);
  value[length - 2] = '\0';
}

str_seg properties_unescape_value_seg(str_seg seg) {
  if (seg.length <= 2 || seg.start[0] != '"') return seg;
  seg.start++;
  seg.length--;
  if (seg.start[seg.length - 1] == '"') seg.length--;
  return seg;
}

void properties_build_from_buffer(properties* props, const char* data_buf) {
  MY_ASSERT(props);
  MY_ASSERT(data_buf);
  char* text = strdup(data_buf);
  parse_in_place(props, text);
  free(text);
}

int properties_build_from_internal_file(properties* props, const char* path) {
  return build_from_file(props, path, PROPERTIES_MAX_FILE_SIZE, false);
}

int properties_build_from_unlimited_size_internal_file(properties* props, const char* path) {
  return build_from_file(props, path, SIZE_MAX - 1, true);
}

properties* properties_load_from_internal_file(const char* path) { return load_from_file(path, false); }

properties* properties_load_from_internal_file_with_index(const char* path) { return load_from_file(path, true); }

char* properties_save_to_buffer(const properties* props) {
  size_t length;
  return format_text(props, &length);
}

int properties_save_to_opened_file(const properties* props, FILE* fp) { return write_and_close(props, fp, false); }

int properties_safe_save_to_opened_file(const properties* props, FILE* fp) { return write_and_close(props, fp, true); }

int properties_save_to_internal_file(const properties* props, const char* path, int quiet) {
  FILE* fp = fopen(path, "we");
  if (fp == nullptr) {
    report_save_error(quiet, path);
    return -1;
  }
  return write_and_close(props, fp, false);
}

int properties_save_to_internal_file_using_tmp(const properties* props, const char* path, int quiet) {
  return save_atomically(props, path, quiet, false);
}

int properties_safe_save_to_internal_file(const properties* props, const char* path, int quiet) {
  return save_atomically(props, path, quiet, true);
}

int properties_save_to_internal_file_using_tmp_if_changed(const properties* props, const char* path, int quiet,
                                                          const char* display_name) {
  MY_ASSERT(props);
  properties* old_props = properties_load_from_internal_file_with_index(path);
  if (old_props == nullptr) old_props = properties_create_with_index();
  ChangeLog log{quiet != 0, display_name != nullptr ? display_name : path, 0};
  int changes = vona::properties_for_each_change(old_props, props, print_change, &log);
  properties_free(old_props);
  if (changes == 0) {
    if (!quiet) printf("Saving %s: no changes found.\n", log.display_name);
    return 0;
  }
  return save_atomically(props, path, quiet, false) == 0 ? 1 : -1;
}

void properties_dump_to_file(const properties* props, FILE* fp, const char* title) {
  MY_ASSERT(props);
  MY_ASSERT(fp);
  fprintf(fp, "%s:\n", title);
  for (int i = 0; i < props->count; ++i) fprintf(fp, "%s = %s\n", props->keys[i], props->values[i]);
}

void properties_dump(const properties* props, const char* title) { properties_dump_to_file(props, stdout, title); }
