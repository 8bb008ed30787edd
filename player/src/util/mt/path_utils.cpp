#include "player/src/util/mt/path_utils.h"

#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/path_utils.hpp"

using vona::copy_bytes;
using vona::copy_seg;
using vona::path_next_component;
using vona::seg_is;

namespace {

// The length of text once its trailing slashes are passed over.
int length_without_trailing_slashes(const char* text, int length) {
  while (length > 0 && text[length - 1] == '/') --length;
  return length;
}

// The offset of the last "/" before `end`, or -1.
int last_slash_before(const char* text, int end) {
  while (end > 0 && text[end - 1] != '/') --end;
  return end - 1;
}

// The offset at which the basename of text starts.
int basename_offset(const char* text, int length) {
  int end = length_without_trailing_slashes(text, length);
  return end == 0 ? 0 : last_slash_before(text, end) + 1;
}

str_seg seg_of(const char* start, int length) { return str_seg{start, length}; }

// A string buffer holding the text of the segment.
str_buf buffer_with(str_seg seg) {
  str_buf sb = {nullptr, 0, 0};
  str_buf_ensure_capacity(&sb, 64);
  vona::str_buf_append(&sb, seg.start, seg.length);
  return sb;
}

char* join(str_seg a, str_seg b) {
  bool slash = !(a.length > 0 && a.start[a.length - 1] == '/');
  int length = a.length + (slash ? 1 : 0) + b.length;
  char* joined = (char*)vona::realloc_or_abort(nullptr, (size_t)length + 1);
  memcpy(joined, a.start, a.length);
  if (slash) joined[a.length] = '/';
  memcpy(joined + length - b.length, b.start, b.length);
  joined[length] = '\0';
  return joined;
}

// Applies the components of a relative path to the builder: "." is skipped, ".." pops the top
// item when there is one, and any other component is pushed relative to the top.
void apply_to_builder(string_builder* sb, str_seg relative) {
  while (relative.length > 0) {
    str_seg name = path_next_component(&relative);
    if (seg_is(name, ".")) continue;
    if (seg_is(name, "..")) {
      if (sb->num_items > 0) string_builder_pop(sb);
      continue;
    }
    string_builder_push_rel_seg(sb, name, sb->num_items);
  }
}

// prefix joined with the result of applying `relative` to the builder; frees the builder.
char* join_resolved(str_seg prefix, string_builder* sb, str_seg relative) {
  apply_to_builder(sb, relative);
  char* result = join(prefix, string_builder_top_seg(sb));
  string_builder_free(sb);
  return result;
}

// The case shared by both resolvers for a path that starts with "/": the rest after that slash
// lies directly below `prefix` when it is a single name, and is normalised otherwise.
char* resolve_under(str_seg prefix, const char* rest) {
  if (strchr(rest, '/') == nullptr) return join(prefix, str_to_seg(rest));
  return join_resolved(prefix, string_builder_create(), str_to_seg(rest));
}

}  // namespace

str_seg vona::path_next_component(str_seg* rest) {
  const char* p = rest->start;
  const char* end = rest->start + (rest->length > 0 ? rest->length : 0);
  if (p == end) return seg_of(p, 0);
  if (*p == '/') {
    while (p < end && *p == '/') ++p;
    str_seg root = seg_of(rest->start, 1);
    *rest = seg_of(p, (int)(end - p));
    return root;
  }
  const char* name_end = p;
  while (name_end < end && *name_end != '/') ++name_end;
  str_seg name = seg_of(p, (int)(name_end - p));
  while (name_end < end && *name_end == '/') ++name_end;
  *rest = seg_of(name_end, (int)(end - name_end));
  return name;
}

int vona::url_prefix_length(const char* text) {
  const char* marker = strstr(text, "://");
  if (marker == nullptr) return 0;
  unsigned char after = (unsigned char)marker[3];
  if (after == '\0' || after == '/' || vona::is_space(after)) return 0;
  const char* slash = strchr(marker + 3, '/');
  return slash ? (int)(slash - text) + 1 : (int)strlen(text);
}

char* path_utils_join_path_segs(const char* a, int a_length, const char* b, int b_length) {
  return join(seg_of(a, a_length > 0 ? a_length : 0), seg_of(b, b_length > 0 ? b_length : 0));
}

char* path_utils_join_path(const char* a, const char* b) { return join(str_to_seg(a), str_to_seg(b)); }

const char* path_utils_basename(const char* path) { return path + basename_offset(path, (int)strlen(path)); }

str_seg path_utils_basename_without_ext(const char* path) {
  const char* base = path_utils_basename(path);
  const char* dot = strrchr(base, '.');
  return seg_of(base, dot ? (int)(dot - base) : (int)strlen(base));
}

str_seg path_utils_dirname_seg(const char* path) {
  int length = basename_offset(path, (int)strlen(path)) - 1;
  return seg_of(path, length > 0 ? length : 0);
}

char* path_utils_get_dir_path(const char* path) { return copy_seg(path_utils_dirname_seg(path)); }

const char* path_utils_get_ext_including_dot(const char* path) {
  const char* base = path_utils_basename(path);
  const char* dot = strrchr(base, '.');
  return dot ? dot : base + strlen(base);
}

const char* path_utils_get_ext(const char* path) {
  const char* dot = path_utils_get_ext_including_dot(path);
  return *dot ? dot + 1 : dot;
}

int path_utils_has_extension(const char* path, const char* extension) {
  size_t path_length = strlen(path), ext_length = strlen(extension);
  if (ext_length > path_length) return 0;
  const char* tail = path + path_length - ext_length;
  for (size_t i = 0; i < ext_length; ++i) {
    if (vona::to_lower(tail[i]) != vona::to_lower(extension[i])) return 0;
  }
  return 1;
}

void path_utils_convert_reversed_slashes(char* path) {
  for (; *path; ++path) {
    if (*path == '\\') *path = '/';
  }
}

void path_utils_remove_trailing_slashes(str_seg* segment) {
  while (segment->length >= 2 && segment->start[segment->length - 1] == '/') --segment->length;
}

void path_utils_remove_leading_slashes(str_seg* segment) {
  while (segment->length >= 2 && segment->start[0] == '/') {
    ++segment->start;
    --segment->length;
  }
}

string_builder* path_utils_create_builder_from_path(const char* path) {
  string_builder* sb = string_builder_create();
  str_seg rest = str_to_seg(path);
  if (rest.length > 0 && rest.start[0] == '/') string_builder_push_abs_seg(sb, path_next_component(&rest));
  while (rest.length > 0) string_builder_push_rel_seg(sb, path_next_component(&rest), sb->num_items);
  return sb;
}

char* path_utils_get_first_name_of_rel_path(const char* base, const char* path) {
  size_t base_length = strlen(base);
  if (strncmp(path, base, base_length) != 0) return nullptr;
  const char* rest = path + base_length;
  if (*rest == '/') ++rest;
  const char* slash = strchr(rest, '/');
  return copy_bytes(rest, slash ? (int)(slash - rest) : (int)strlen(rest));
}

int path_utils_is_prefix(const char* prefix, const char* path) {
  size_t length = strlen(prefix);
  if (length == 0 || strncmp(path, prefix, length) != 0) return 0;
  const char* rest = path + length;
  if (prefix[length - 1] != '/' && *rest != '/') return 0;
  while (*rest == '/') ++rest;
  for (; *rest; ++rest) {
    if (!vona::is_space(*rest)) return 1;
  }
  return 0;
}

str_seg path_utils_rshift(str_seg* segment) {
  if (segment->length <= 0) return seg_of(segment->start, 0);
  int end = length_without_trailing_slashes(segment->start, segment->length);
  if (end == 0) {
    segment->length = 0;
    return seg_of(segment->start, 1);
  }
  int begin = last_slash_before(segment->start, end) + 1;
  segment->length = length_without_trailing_slashes(segment->start, begin);
  return seg_of(segment->start + begin, end - begin);
}

char* path_utils_resolve_relative_path(const char* path, const char* base_dir, const char* root,
                                       int join_bare_names) {
  if (path[0] == '/') return resolve_under(str_to_seg(root), path + 1);
  if (strchr(path, '/') == nullptr) {
    return join_bare_names ? path_utils_join_path(base_dir, path) : vona::copy_string(path);
  }
  size_t root_length = strlen(root);
  if (strncmp(base_dir, root, root_length) == 0) {
    const char* below_root = base_dir + root_length;
    if (*below_root == '/') ++below_root;
    return join_resolved(str_to_seg(root), path_utils_create_builder_from_path(below_root), str_to_seg(path));
  }
  return join_resolved(str_to_seg(base_dir), string_builder_create(), str_to_seg(path));
}

char* path_utils_resolve_relative_url(const char* path, const char* base_url) {
  int prefix_length = vona::url_prefix_length(base_url);
  if (prefix_length == 0) return path_utils_resolve_relative_path(path, base_url, "/", 0);
  str_seg prefix = seg_of(base_url, prefix_length);
  if (path[0] == '/') return resolve_under(prefix, path + 1);
  if (strchr(path, '/') == nullptr) return path_utils_join_path(base_url, path);
  const char* rest = base_url + prefix_length;
  while (*rest == '/') ++rest;
  return join_resolved(prefix, path_utils_create_builder_from_path(rest), str_to_seg(path));
}

str_seg path_utils_get_base_path_seg(const char* path) {
  int length = (int)strlen(path);
  int end = length_without_trailing_slashes(path, length);
  if (end == 0) return seg_of(path, length);
  int slash = last_slash_before(path, end);
  if (slash < 0) return seg_of(path, end);
  return seg_of(path, slash == 0 ? 1 : slash);
}

str_seg path_utils_get_base_url_seg(const char* url) {
  int prefix_length = vona::url_prefix_length(url);
  if (prefix_length == 0) return path_utils_get_base_path_seg(url);
  if (url[prefix_length - 1] != '/') return str_to_seg(url);
  // The remainder starts at the prefix's last "/", so its base path continues the prefix.
  str_seg base = path_utils_get_base_path_seg(url + prefix_length - 1);
  return seg_of(url, prefix_length - 1 + base.length);
}

char* path_utils_get_rel_path(const char* from, int from_length, const char* to, int to_length) {
  if (from_length <= 0 || to_length <= 0 || from[0] != '/' || to[0] != '/') return nullptr;
  str_seg from_rest = seg_of(from, from_length), to_rest = seg_of(to, to_length);
  str_seg from_name, to_name;
  do {
    from_name = path_next_component(&from_rest);
    to_name = path_next_component(&to_rest);
    if (from_name.length == 0 && to_name.length == 0) return vona::copy_string(".");
  } while (vona::seg_equals(from_name, to_name));

  str_buf sb = buffer_with(seg_of(to, 0));
  if (from_name.length > 0) {
    vona::str_buf_append(&sb, "..", 2);
    while (from_rest.length > 0) {
      path_next_component(&from_rest);
      vona::str_buf_append(&sb, "/..", 3);
    }
  }
  if (to_name.length > 0) {
    if (sb.length > 0) vona::str_buf_append_char(&sb, '/');
    vona::str_buf_append(&sb, to_name.start, to_name.length);
    while (to_rest.length > 0) {
      str_seg name = path_next_component(&to_rest);
      vona::str_buf_append_char(&sb, '/');
      vona::str_buf_append(&sb, name.start, name.length);
    }
  }
  return vona::str_buf_c_str(&sb);
}

char* path_utils_apply_rel_path(const char* base, int base_length, const char* relative, int relative_length) {
  if (relative_length <= 0 || relative[0] == '/') return nullptr;
  str_buf sb = buffer_with(seg_of(base, base_length > 0 ? base_length : 0));
  str_seg rest = seg_of(relative, relative_length);
  while (rest.length > 0) {
    str_seg name = path_next_component(&rest);
    if (seg_is(name, ".")) continue;
    if (seg_is(name, "..")) {
      str_seg result = seg_of(sb.data, sb.length);
      if (path_utils_rshift(&result).length == 0) {
        free(sb.data);
        return nullptr;
      }
      sb.length = result.length;
      continue;
    }
    vona::str_buf_append_char(&sb, '/');
    vona::str_buf_append(&sb, name.start, name.length);
  }
  return vona::str_buf_c_str(&sb);
}

char* path_utils_apply_rel_path2(const char* base, int base_length, const char* from, int from_length,
                                 const char* to, int to_length, const char* fallback) {
  char* relative = path_utils_get_rel_path(from, from_length, to, to_length);
  char* result = relative ? path_utils_apply_rel_path(base, base_length, relative, (int)strlen(relative)) : nullptr;
  free(relative);
  if (result == nullptr && fallback != nullptr) result = vona::copy_string(fallback);
  return result;
}
