// Feeds arbitrary text to the URL parsers and classifiers. The brace URL reader must move
// forward and stay inside the text; the extension lookup must answer what a case-insensitive
// scan of the tables answers; the URL parts must lie back to back in the URL. The text is an
// exact-size heap copy, so a read past its terminator is caught by the sanitizers.
#include <strings.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/url_type.hpp"
#include "fuzz_text.hpp"
#include "vonautil.h"

namespace {

template <size_t N>
bool scan(const char* const (&rows)[N], const char* ext) {
  for (const char* row : rows) {
    if (strcasecmp(row, ext) == 0) return true;
  }
  return false;
}

void check(bool condition) {
  if (!condition) abort();
}

int keep_target(const char* old_url, char** new_url_out, void* context) {
  (void)context;
  *new_url_out = strdup(old_url);
  return 1;
}

void check_brace_pairs(const char* text, size_t length) {
  const char* cursor = text;
  for (;;) {
    str_seg key, value;
    int escaped;
    const char* before = cursor;
    if (!brace_url_read_next_pair(&cursor, &key, &value, &escaped)) break;
    if (key.length == 0) {
      check(*cursor == '\0');
      break;
    }
    check(cursor > before && cursor <= text + length && cursor[-1] == '}');
    check(value.start + value.length == cursor - 1);
    char* unescaped = brace_url_unescape_value(value.start, value.length);
    check(strchr(unescaped, '\\') == nullptr && (int)strlen(unescaped) <= value.length);
    check(escaped || (int)strlen(unescaped) == value.length);
    free(unescaped);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  size_t length = strlen(text);

  str_seg protocol, host, path;
  if (url_utils_parse_url(text, &protocol, &host, &path)) {
    check(url_utils_is_url(text) && protocol.start == text && protocol.length > 0);
    check(host.start == text + protocol.length + 3 && path.start == host.start + host.length);
    check(path.start + path.length == text + length);
  } else {
    check(!url_utils_is_url(text) && url_utils_get_proto(text).length == 0);
  }

  check_brace_pairs(text, length);
  properties* props = properties_create_empty();
  playlist_parse_plugin_launcher_url(text, props);
  properties_free(props);

  // The extension tests against the tables they are defined by.
  const char* ext = path_utils_get_ext(text);
  check(playlist_is_video_file_ext(ext) == (scan(vona::kVideoExtensions, ext) ||
                                            (rflags_divx_visible() && strcasecmp(ext, "divx") == 0)));
  check(playlist_is_image_file_ext(ext) == (scan(vona::kExtraImageExtensions, ext) || scan(vona::kImageExtensions, ext)));
  check(playlist_is_audio_file_url(text) == scan(vona::kAudioExtensions, ext));
  check(playlist_is_html_file_ext(ext) == scan(vona::kHtmlExtensions, ext));
  check(playlist_is_photo_file_ext(ext) == scan(vona::kPhotoExtensions, ext));
  playlist_is_media_file_url(text);
  playlist_is_iptv_url(text);
  playlist_is_ss_url(text);
  playlist_is_hls_url(text);
  playlist_is_camera_video_filename(text);
  playlist_is_text_http_url(text);

  str_seg target, params;
  playlist_parse_swf_params(text, &target, &params);
  check(target.start == text && (params.length == 0 || params.start + params.length == text + length));
  char* url = strdup(text);
  playlist_replace_base_url(&url, keep_target, nullptr);
  check(strcmp(url, text) == 0 || (playlist_is_swf_url(text) && strstr(text, ":::")));
  free(url);

  char buffer[64];
  url_utils_remove_extra_slashes(buffer, sizeof buffer, text);
  check(strstr(strstr(buffer, "://") ? strstr(buffer, "://") + 3 : buffer, "//") == nullptr);
  url_utils_chomp_vona_params(text, buffer, sizeof buffer);

  // The text's first line resolved against the rest, both ways.
  char* newline = strchr(text, '\n');
  if (newline) {
    *newline = '\0';
    free(path_utils_resolve_relative_url(text, newline + 1));
    free(path_utils_resolve_relative_path(text, newline + 1, "/", 1));
    free(path_utils_apply_rel_path2("/base", 5, text, (int)strlen(text), newline + 1, (int)strlen(newline + 1), nullptr));
  }
  free(text);
  return 0;
}
