#include "player/src/util/mt/url_utils.h"

#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/path_utils.hpp"

namespace {

const char kMarker[] = URL_UTILS_VONA_PARAMS_MARKER;
const int kMarkerLength = sizeof kMarker - 1;

bool is_scheme_char(unsigned char c) { return vona::is_alpha(c) || vona::is_digit(c) || c == '-' || c == '_'; }

// The length of the scheme that text starts with (without "://"), or 0.
int scheme_length(const char* text) {
  int n = 0;
  while (is_scheme_char(text[n])) ++n;
  return n > 0 && strncmp(text + n, "://", 3) == 0 ? n : 0;
}

bool starts_with(const char* text, const char* prefix) { return strncmp(text, prefix, strlen(prefix)) == 0; }

// Removes n characters at text (the rest, terminator included, moves left).
void cut(char* text, size_t n) { memmove(text, text + n, strlen(text + n) + 1); }

}  // namespace

int url_utils_is_url(const char* text) { return scheme_length(text) > 0; }

str_seg url_utils_get_proto(const char* text) { return str_seg{text, scheme_length(text)}; }

int url_utils_parse_url(const char* url, str_seg* protocol_out, str_seg* host_out, str_seg* path_out) {
  int n = scheme_length(url);
  if (n == 0) return 0;
  const char* host = url + n + 3;
  const char* path = strchr(host, '/');
  if (path == nullptr) path = host + strlen(host);
  *protocol_out = str_seg{url, n};
  *host_out = str_seg{host, (int)(path - host)};
  *path_out = str_seg{path, (int)strlen(path)};
  return 1;
}

char* url_utils_replace_filename(const char* url, const char* name) {
  int n = scheme_length(url);
  if (n == 0) return nullptr;
  const char* path = strchr(url + n + 3, '/');
  if (path == nullptr) return nullptr;
  str_buf sb = {nullptr, 0, 0};
  vona::str_buf_append(&sb, url, (int)(strrchr(path, '/') - url) + 1);
  vona::str_buf_append(&sb, name);
  return vona::str_buf_c_str(&sb);
}

const char* url_utils_chomp_vona_params(const char* url, char* buffer, int buffer_size) {
  if (url == nullptr) return nullptr;
  const char* marker = strstr(url, kMarker);
  if (marker == nullptr) return url;
  if (buffer_size < 1) return buffer;
  int n = (int)(marker - url);
  if (n > buffer_size - 1) n = buffer_size - 1;
  memcpy(buffer, url, n);
  buffer[n] = '\0';
  return buffer;
}

str_seg url_utils_chomp_vona_params_seg(str_seg url_segment) {
  for (int i = 0; i < url_segment.length; ++i) {
    if (strncmp(url_segment.start + i, kMarker, kMarkerLength) == 0) {
      url_segment.length = i;
      break;
    }
  }
  return url_segment;
}

void url_utils_unhack_double_scheme_url(char* url) {
  if (starts_with(url, "http://ts://")) cut(url + 7, 5);
  if (starts_with(url, "http://mp4://")) cut(url + 7, 6);
}

char* url_utils_construct_url(char** buffer_in_out, const char* base, int base_length, const char* path,
                              int path_length) {
  char* buffer = (char*)vona::realloc_or_abort(*buffer_in_out, (size_t)base_length + path_length + 2);
  *buffer_in_out = buffer;
  memcpy(buffer, base, base_length);
  char* end = buffer + base_length;
  if (path_length > 0 && !(path_length == 1 && path[0] == '/')) {
    if (path[0] != '/') *end++ = '/';
    memcpy(end, path, path_length);
    end += path_length;
  }
  *end = '\0';
  return buffer;
}

int url_utils_url_is_system_path(const char* url) {
  return starts_with(url, "/tmp/run/") || starts_with(url, "file:///tmp/run/");
}

void url_utils_remove_extra_slashes_in_place(char* url) {
  char* scheme_end = strstr(url, "://");
  char* part = scheme_end ? scheme_end + 3 : url;
  char* out = part;
  for (const char* in = part; *in; ++in) {
    if (*in == '/' && out > part && out[-1] == '/') continue;
    *out++ = *in;
  }
  if (out - part > 1 && out[-1] == '/') --out;
  *out = '\0';
}

char* url_utils_remove_extra_slashes(char* buffer, int buffer_size, const char* url) {
  str_seg text = str_to_seg(url);
  if (buffer_size < 1) return buffer;
  int n = text.length < buffer_size - 1 ? text.length : buffer_size - 1;
  memcpy(buffer, url, n);
  buffer[n] = '\0';
  url_utils_remove_extra_slashes_in_place(buffer);
  return buffer;
}

char* smb_url_create(const char* user, int user_length, const char* password, int password_length,
                     const char* host, int host_length, const char* share, int share_length) {
  str_buf sb = {nullptr, 0, 0};
  vona::str_buf_append(&sb, "smb://", 6);
  if (user_length != 0) vona::str_buf_append(&sb, user, user_length);
  if (password_length != 0) {
    vona::str_buf_append_char(&sb, ':');
    vona::str_buf_append(&sb, password, password_length);
  }
  vona::str_buf_append_char(&sb, '@');
  vona::str_buf_append(&sb, host, host_length);
  vona::str_buf_append_char(&sb, '/');
  vona::str_buf_append(&sb, share, share_length);
  return vona::str_buf_c_str(&sb);
}

char* nfs_url_create(const char* export_path, int use_tcp) {
  str_buf sb = {nullptr, 0, 0};
  vona::str_buf_append(&sb, use_tcp ? "nfs-tcp://" : "nfs-udp://");
  if (export_path) vona::str_buf_append(&sb, export_path);
  return vona::str_buf_c_str(&sb);
}
