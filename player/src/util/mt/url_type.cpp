#include "player/src/util/mt/url_type.h"

#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/brace_url.h"
#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/path_utils.hpp"
#include "player/src/util/mt/rflags.h"
#include "player/src/util/mt/url_type.hpp"

namespace {

// ---- Extension lookup ------------------------------------------------------------------------
// Every extension of every table is packed, lower-cased and zero-padded, into two 64-bit words
// and placed in an open-addressing hash table that is built at compile time. A lookup lower-cases
// the argument into the same two words and compares whole words, so it costs one hash and
// usually one probe, and answers exactly what a case-insensitive scan of the tables answers.

struct Key {
  unsigned long long lo, hi;
};

constexpr int kMaxExtLength = 13;  // "imovieproject"; no longer extension can match
constexpr int kSlotBits = 11;
constexpr unsigned kSlotMask = (1u << kSlotBits) - 1;
// Packed keys leave the top 16 bits of `hi` zero (at most 13 bytes); slots keep the kinds there.
constexpr int kKindsShift = 48;
constexpr unsigned long long kKeyMask = (1ull << kKindsShift) - 1;

constexpr unsigned long long ascii_lower(char c) {
  return (unsigned)((unsigned char)c - 'A') < 26u ? (unsigned char)c + 32u : (unsigned char)c;
}

// Packs ext into key; false when it is empty or longer than any extension of the tables.
constexpr bool pack(const char* ext, Key* key) {
  *key = Key{0, 0};
  int i = 0;
  for (; ext[i]; ++i) {
    if (i == kMaxExtLength) return false;
    (i < 8 ? key->lo : key->hi) |= ascii_lower(ext[i]) << ((i & 7) * 8);
  }
  return i > 0;
}

constexpr unsigned slot_of(Key key) {
  return (unsigned)(((key.lo ^ (key.hi * 0xC2B2AE3D27D4EB4Full)) * 0x9E3779B97F4A7C15ull) >> (64 - kSlotBits));
}

struct ExtensionTable {
  Key slots[1u << kSlotBits] = {};
  int used = 0;

  template <size_t N>
  constexpr void add(const char* const (&rows)[N], unsigned kind) {
    for (const char* row : rows) add(row, kind);
  }
  constexpr void add(const char* row, unsigned kind) {
    Key key{0, 0};
    pack(row, &key);
    unsigned slot = slot_of(key);
    while (slots[slot].lo != 0 && (slots[slot].lo != key.lo || (slots[slot].hi & kKeyMask) != key.hi)) {
      slot = (slot + 1) & kSlotMask;
    }
    if (slots[slot].lo == 0) {
      slots[slot] = key;
      ++used;
    }
    slots[slot].hi |= (unsigned long long)kind << kKindsShift;
  }
};

template <size_t N>
constexpr size_t longest(const char* const (&rows)[N]) {
  size_t max = 0;
  for (const char* row : rows) {
    size_t length = 0;
    while (row[length]) ++length;
    if (length > max) max = length;
  }
  return max;
}

constexpr ExtensionTable build_table() {
  ExtensionTable table;
  table.add(vona::kVideoExtensions, vona::kExtVideo);
  table.add("divx", vona::kExtDivx);
  table.add(vona::kAudioExtensions, vona::kExtAudio);
  table.add(vona::kImageExtensions, vona::kExtImage);
  table.add(vona::kExtraImageExtensions, vona::kExtImage);
  table.add(vona::kPhotoExtensions, vona::kExtPhoto);
  table.add(vona::kHtmlExtensions, vona::kExtHtml);
  table.add("m3u", vona::kExtM3u);
  table.add("pls", vona::kExtPls);
  table.add("iso", vona::kExtIso);
  table.add("apk", vona::kExtApk);
  return table;
}

constexpr ExtensionTable kTable = build_table();
static_assert(kTable.used * 2 < (1 << kSlotBits), "the extension table must stay at most half full");
static_assert(longest(vona::kVideoExtensions) == kMaxExtLength && longest(vona::kAudioExtensions) <= kMaxExtLength &&
                  longest(vona::kImageExtensions) <= kMaxExtLength,
              "kMaxExtLength must be the longest extension");

bool is_video(unsigned kinds) { return (kinds & vona::kExtVideo) || ((kinds & vona::kExtDivx) && rflags_divx_visible()); }

// The audio test on an already split name: a matching extension counts unless it marks one of the
// firmware's own service or upgrade files.
bool is_audio(unsigned kinds, const char* basename, const char* ext) {
  if (!(kinds & vona::kExtAudio)) return false;
  if (strcmp(ext, "dsf") == 0 && strncmp(basename, "vona_service_", 13) == 0) return false;
  if (strcmp(ext, "dff") == 0 && strncmp(basename, "vona_firmware_", 14) == 0) return false;
  return true;
}

// ---- Prefixes and suffixes -----------------------------------------------------------------------

template <size_t N>
bool has_prefix(const char* url, const char (&prefix)[N]) {
  return strncmp(url, prefix, N - 1) == 0;
}

// The URL ends with the suffix, or holds it followed by "?".
template <size_t N>
bool has_stream_suffix(const char* url, const char (&suffix)[N]) {
  size_t length = strlen(url);
  if (length >= N - 1 && memcmp(url + length - (N - 1), suffix, N - 1) == 0) return true;
  for (const char* p = strstr(url, suffix); p; p = strstr(p + 1, suffix)) {
    if (p[N - 1] == '?') return true;
  }
  return false;
}

// ---- Pseudo-scheme URLs ------------------------------------------------------------------------

void split_params(const char* text, str_seg* target_out, str_seg* params_out) {
  const char* separator = strstr(text, ":::");
  if (separator == nullptr) {
    *target_out = str_to_seg(text);
    *params_out = str_seg{text + target_out->length, 0};
  } else {
    *target_out = str_seg{text, (int)(separator - text)};
    *params_out = str_to_seg(separator + 3);
  }
}

int parse_brace_url(const char* url, const char* scheme, properties* props) {
  // The scheme was checked by the caller; only make sure not to skip past the end of the text.
  size_t skip = strlen(scheme) + 3;
  const char* cursor = url + strnlen(url, skip);
  if (*cursor != '{') {
    properties_force_add_last(props, "name", cursor);
    return 1;
  }
  for (;;) {
    str_seg key, value;
    int escaped;
    if (!brace_url_read_next_pair(&cursor, &key, &value, &escaped)) {
      log_print("[%s] invalid URL: %s", scheme, url);
      return 0;
    }
    if (key.length == 0) return 1;
    if (!escaped) {
      properties_force_add_last_seg_by_seg(props, key, value);
      continue;
    }
    char* unescaped = brace_url_unescape_value(value.start, value.length);
    properties_force_add_last_seg_by_seg(props, key, str_to_seg(unescaped));
    free(unescaped);
  }
}

}  // namespace

unsigned vona::extension_kinds(const char* ext) {
  Key key{0, 0};
  if (!pack(ext, &key)) return 0;
  for (unsigned slot = slot_of(key);; slot = (slot + 1) & kSlotMask) {
    const Key& entry = kTable.slots[slot];
    if (entry.lo == 0) return 0;
    if (entry.lo == key.lo && (entry.hi & kKeyMask) == key.hi) return (unsigned)(entry.hi >> kKindsShift);
  }
}

int playlist_is_dvb_url(const char* url) { return has_prefix(url, "dvb://"); }
int playlist_is_iptv_url(const char* url) {
  return (has_prefix(url, "udp://@") || has_prefix(url, "rtp://@")) && strchr(url + 7, ':') != nullptr;
}
int playlist_is_http_url(const char* url) { return has_prefix(url, "http://"); }
int playlist_is_https_url(const char* url) { return has_prefix(url, "https://"); }
int playlist_is_http_ts_url(const char* url) { return has_prefix(url, "http://ts://"); }
int playlist_is_http_mp4_url(const char* url) { return has_prefix(url, "http://mp4://") || has_prefix(url, "https://mp4://"); }
int playlist_is_http_streaming_url(const char* url) { return has_prefix(url, "http://audio_stream://"); }
int playlist_is_http_rtsp_url(const char* url) { return has_prefix(url, "http://rtsp://"); }
int playlist_is_text_http_url(const char* url) {
  return has_prefix(url, "http://") && strcmp(path_utils_get_ext(url), "txt") == 0;
}
int playlist_is_swf_url(const char* url) { return has_prefix(url, "swf://"); }
int playlist_is_www_url(const char* url) { return has_prefix(url, "www://"); }
int playlist_is_plugin_installer_url(const char* url) { return has_prefix(url, "plugin_installer://"); }
int playlist_is_plugin_uninstaller_url(const char* url) { return has_prefix(url, "plugin_uninstaller://"); }
int playlist_is_plugin_launcher_url(const char* url) { return has_prefix(url, "plugin_launcher://"); }
int playlist_is_embedded_app_url(const char* url) { return has_prefix(url, "embedded_app://"); }
int playlist_is_skin_installer_url(const char* url) { return has_prefix(url, "skin_installer://"); }
int playlist_is_extplayer_url(const char* url) { return has_prefix(url, "extplayer://"); }
int playlist_is_cdda_url(const char* url) { return has_prefix(url, "cdda://"); }
int playlist_is_udf_url(const char* url) { return has_prefix(url, "udf://"); }
int playlist_is_ftp_url(const char* url) { return has_prefix(url, "ftp://"); }
int playlist_is_dre_url(const char* url) { return has_prefix(url, "dre://"); }

int playlist_is_hls_url(const char* url) { return has_stream_suffix(url, ".m3u8"); }
int playlist_is_dash_url(const char* url) { return has_stream_suffix(url, ".mpd"); }
int playlist_is_ss_url(const char* url) {
  return has_stream_suffix(url, ".ism") || has_stream_suffix(url, ".isml") || has_stream_suffix(url, ".ism/manifest") ||
         has_stream_suffix(url, ".isml/manifest");
}
int playlist_is_hevc_raw_url(const char* url) { return has_stream_suffix(url, ".hevc") || has_stream_suffix(url, ".h265"); }

int playlist_is_camera_video_filename(const char* name) {
  const char* dot = strrchr(name, '.');
  size_t stem = dot ? (size_t)(dot - name) : strlen(name);
  if (stem < 12 || name[0] != '2' || name[1] != '0') return 0;
  for (size_t i = 2; i < stem; ++i) {
    if (!vona::is_digit(name[i])) return 0;
  }
  return 1;
}

int playlist_is_apk_url(const char* url) { return playlist_is_apk_file_ext(path_utils_get_ext(url)); }

int playlist_is_media_file_url(const char* url) {
  const char* basename = path_utils_basename(url);
  const char* ext = path_utils_get_ext(basename);
  unsigned kinds = vona::extension_kinds(ext);
  return is_video(kinds) || (kinds & vona::kExtImage) || is_audio(kinds, basename, ext);
}

int playlist_is_audio_file_url(const char* url) {
  const char* basename = path_utils_basename(url);
  const char* ext = path_utils_get_ext(basename);
  return is_audio(vona::extension_kinds(ext), basename, ext);
}

int playlist_is_m3u_file_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtM3u) != 0; }
int playlist_is_pls_file_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtPls) != 0; }
int playlist_is_playlist_file_ext(const char* ext) {
  return (vona::extension_kinds(ext) & (vona::kExtM3u | vona::kExtPls)) != 0;
}
int playlist_is_iso_image_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtIso) != 0; }
int playlist_is_apk_file_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtApk) != 0; }
int playlist_is_html_file_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtHtml) != 0; }
int playlist_is_photo_file_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtPhoto) != 0; }
int playlist_is_image_file_ext(const char* ext) { return (vona::extension_kinds(ext) & vona::kExtImage) != 0; }
int playlist_is_video_file_ext(const char* ext) { return is_video(vona::extension_kinds(ext)); }

void playlist_parse_swf_params(const char* text, str_seg* url_out, str_seg* params_out) {
  split_params(text, url_out, params_out);
}

void playlist_parse_swf_url(const char* url, str_seg* url_out, str_seg* params_out) {
  MY_ASSERT(playlist_is_swf_url(url));
  split_params(url + 6, url_out, params_out);
}

void playlist_parse_www_url(const char* www_url, str_seg* url_out, const char** params_out) {
  MY_ASSERT(playlist_is_www_url(www_url));
  str_seg params;
  split_params(www_url + 6, url_out, &params);
  *params_out = params.start;
}

void playlist_parse_installer_url(const char* url, str_seg* target_out, str_seg* params_out) {
  const char* s1 = strstr(url, "://");
  MY_ASSERT(s1);
  split_params(s1 + 3, target_out, params_out);
}

const char* playlist_parse_plugin_uninstaller_url(const char* plugin_uninstaller_url) {
  MY_ASSERT(playlist_is_plugin_uninstaller_url(plugin_uninstaller_url));
  return plugin_uninstaller_url + 21;
}

int playlist_parse_plugin_launcher_url(const char* url, properties* props) {
  return parse_brace_url(url, "plugin_launcher", props);
}
int playlist_parse_embedded_app_url(const char* url, properties* props) {
  return parse_brace_url(url, "embedded_app", props);
}
int playlist_parse_extplayer_url(const char* url, properties* props) { return parse_brace_url(url, "extplayer", props); }

int playlist_replace_base_url(char** url_in_out, playlist_url_replace_func replace, void* context) {
  char* new_url = nullptr;
  if (!playlist_is_swf_url(*url_in_out)) {
    int result = replace(*url_in_out, &new_url, context);
    if (result && new_url) {
      free(*url_in_out);
      *url_in_out = new_url;
    } else {
      free(new_url);
    }
    return result;
  }
  str_seg target, params;
  split_params(*url_in_out + 6, &target, &params);
  char* old_target = vona::copy_seg(target);
  int result = replace(old_target, &new_url, context);
  free(old_target);
  if (result && new_url) {
    str_buf sb = {nullptr, 0, 0};
    vona::str_buf_append(&sb, "swf://");
    vona::str_buf_append(&sb, new_url);
    if (params.length > 0) {
      vona::str_buf_append(&sb, ":::");
      vona::str_buf_append(&sb, params.start, params.length);
    }
    free(*url_in_out);
    *url_in_out = vona::str_buf_c_str(&sb);
  }
  free(new_url);
  return result;
}
