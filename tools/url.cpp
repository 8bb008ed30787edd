// vonautil url: what the player makes of a URL or file name, and the demo step of paths and URLs.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "command.hpp"
#include "url.hpp"
#include "vonautil.h"

namespace tool {
namespace {

struct Kind {
  const char* name;
  int (*test)(const char*);
};

// Kinds decided by the extension of the name's last component.
int is_video(const char* url) { return playlist_is_video_file_ext(path_utils_get_ext(url)); }
int is_image(const char* url) { return playlist_is_image_file_ext(path_utils_get_ext(url)); }
int is_photo(const char* url) { return playlist_is_photo_file_ext(path_utils_get_ext(url)); }
int is_playlist(const char* url) { return playlist_is_playlist_file_ext(path_utils_get_ext(url)); }
int is_html(const char* url) { return playlist_is_html_file_ext(path_utils_get_ext(url)); }
int is_iso(const char* url) { return playlist_is_iso_image_ext(path_utils_get_ext(url)); }
// The camera test takes a file name; the tool accepts paths too.
int is_camera(const char* url) { return playlist_is_camera_video_filename(path_utils_basename(url)); }

const Kind kKinds[] = {
    {"dvb", playlist_is_dvb_url},
    {"iptv", playlist_is_iptv_url},
    {"http", playlist_is_http_url},
    {"https", playlist_is_https_url},
    {"http-ts", playlist_is_http_ts_url},
    {"http-mp4", playlist_is_http_mp4_url},
    {"audio-stream", playlist_is_http_streaming_url},
    {"rtsp", playlist_is_http_rtsp_url},
    {"text-http", playlist_is_text_http_url},
    {"swf", playlist_is_swf_url},
    {"www", playlist_is_www_url},
    {"plugin-installer", playlist_is_plugin_installer_url},
    {"plugin-uninstaller", playlist_is_plugin_uninstaller_url},
    {"plugin-launcher", playlist_is_plugin_launcher_url},
    {"embedded-app", playlist_is_embedded_app_url},
    {"skin-installer", playlist_is_skin_installer_url},
    {"extplayer", playlist_is_extplayer_url},
    {"cdda", playlist_is_cdda_url},
    {"udf", playlist_is_udf_url},
    {"ftp", playlist_is_ftp_url},
    {"dre", playlist_is_dre_url},
    {"system", url_utils_url_is_system_path},
    {"hls", playlist_is_hls_url},
    {"dash", playlist_is_dash_url},
    {"ss", playlist_is_ss_url},
    {"hevc", playlist_is_hevc_raw_url},
    {"camera", is_camera},
    {"media", playlist_is_media_file_url},
    {"video", is_video},
    {"audio", playlist_is_audio_file_url},
    {"image", is_image},
    {"photo", is_photo},
    {"playlist", is_playlist},
    {"html", is_html},
    {"iso", is_iso},
    {"apk", playlist_is_apk_url},
};

}  // namespace

std::string url_kinds(const char* url) {
  std::string names;
  for (const Kind& kind : kKinds) {
    if (kind.test(url)) names += (names.empty() ? "" : " ") + std::string(kind.name);
  }
  return names.empty() ? "-" : names;
}

namespace {

std::string text(str_seg seg) { return std::string(seg.start, seg.length > 0 ? seg.length : 0); }

int run_classify(const std::vector<std::string>& args) {
  if (args.size() < 2) return usage_error("url", "classify takes at least one URL or file name");
  for (size_t i = 1; i < args.size(); ++i) printf("%s: %s\n", args[i].c_str(), url_kinds(args[i].c_str()).c_str());
  return kOk;
}

int run_parse(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error("url", "parse takes one URL");
  const char* url = args[1].c_str();
  int (*const brace_parsers[])(const char*, properties*) = {playlist_parse_plugin_launcher_url,
                                                             playlist_parse_embedded_app_url, playlist_parse_extplayer_url};
  int (*const brace_kinds[])(const char*) = {playlist_is_plugin_launcher_url, playlist_is_embedded_app_url,
                                              playlist_is_extplayer_url};
  for (int i = 0; i < 3; ++i) {
    if (!brace_kinds[i](url)) continue;
    properties* props = properties_create_empty();
    int ok = brace_parsers[i](url, props);
    char* dump = properties_save_to_buffer(props);
    if (ok) fputs(dump, stdout);
    free(dump);
    properties_free(props);
    return ok ? kOk : failure("url", "malformed brace URL");
  }
  str_seg protocol, host, path;
  if (!url_utils_parse_url(url, &protocol, &host, &path)) return failure("url", "'" + args[1] + "' is not a URL");
  printf("protocol: %s\nhost: %s\npath: %s\n", text(protocol).c_str(), text(host).c_str(), text(path).c_str());
  return kOk;
}

int run_url(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("url", "missing sub-command");
  if (args[0] == "classify") return run_classify(args);
  if (args[0] == "parse") return run_parse(args);
  return usage_error("url", "unknown sub-command '" + args[0] + "'");
}

void demo_paths_and_urls() {
  printf("Folder listings are classified by scheme, streaming suffix and extension:\n");
  for (const char* name : {"Holiday 2019.MKV", "track01.flac", "IMG_0100.jpg", "201501020304.mp4", "favourites.m3u",
                           "http://cdn.example/live/index.m3u8?token=1", "udp://@239.0.0.1:1234",
                           "plugin_launcher://{id=radio}{title=Jazz \\{live\\}}", "readme.txt"}) {
    printf("  %-50s %s\n", name, url_kinds(name).c_str());
  }

  printf("\nA brace URL carries its parameters as key/value pairs:\n");
  properties* props = properties_create_empty();
  playlist_parse_plugin_launcher_url("plugin_launcher://{id=radio}{title=Jazz \\{live\\}}", props);
  for (int i = 0; i < props->count; ++i) printf("  %s = %s\n", props->keys[i], props->values[i]);
  properties_free(props);

  printf("\nRelative links in playlists resolve against the playlist's folder or URL:\n");
  struct Resolve {
    const char *path, *base;
  };
  for (Resolve r : {Resolve{"../covers/a.jpg", "http://h/music/rock"}, Resolve{"/radio/b.mp3", "http://h/music/rock"},
                    Resolve{"../../../../x.mp3", "/tmp/mnt/D/Music"}}) {
    char* resolved = path_utils_resolve_relative_url(r.path, r.base);
    printf("  %-18s in %-22s -> %s\n", r.path, r.base, resolved);
    free(resolved);
  }
  const char from[] = "/tmp/mnt/D/Music/Rock", to[] = "/tmp/mnt/D/Video/Live";
  char* rel = path_utils_get_rel_path(from, sizeof from - 1, to, sizeof to - 1);
  printf("  from %s to %s: %s\n", from, to, rel);
  free(rel);

  printf("\nThe folder browser's path stack keeps the system path and the public path of each level:\n");
  fs_path* stack = fs_path_create("/tmp/mnt/D", "storage://D");
  fs_path_push(stack, "Music");
  fs_path_push(stack, "Rock");
  printf("  after entering Music/Rock: %s  (shown as %s)\n", fs_path_top(stack), fs_path_top_public(stack));
  fs_path_pop(stack);
  printf("  after going back:          %s  (shown as %s)\n", fs_path_top(stack), fs_path_top_public(stack));
  fs_path_free(stack);
  char* smb = smb_url_create("guest", 5, "", 0, "nas", 3, "media/Movies", 12);
  char* nfs = nfs_url_create("nas:/export/media", 1);
  printf("  share URLs: %s, %s\n", smb, nfs);
  free(smb);
  free(nfs);
}

}  // namespace

TOOL_COMMAND("url", "classify and parse URLs and file names",
             "Usage: vonautil url classify URL...\n"
             "       vonautil url parse URL\n"
             "classify  prints, for each URL or file name, every kind the player sees in it: schemes\n"
             "          (http, dvb, iptv, swf, www, plugin-launcher, ...), streaming formats (hls, dash,\n"
             "          ss, hevc), file kinds by extension (video, audio, image, photo, playlist, html,\n"
             "          iso, apk), 'media' for anything playable, 'camera' for camera recordings and\n"
             "          'system' for run-time state files; '-' when none holds.\n"
             "parse     prints the protocol, host and path of a URL; for the brace URLs of the schemes\n"
             "          plugin_launcher, embedded_app and extplayer, their key/value pairs. Fails for\n"
             "          text that is not a URL and for a malformed brace URL.\n",
             run_url);

TOOL_DEMO_STEP(50, "Files, paths and URLs", demo_paths_and_urls);

}  // namespace tool
