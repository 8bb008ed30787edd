#include <strings.h>

#include "player/src/util/mt/url_type.hpp"
#include "test_support.hpp"

namespace {

using test::seg_text;
using test::take_string;

struct Kind {
  const char* name;
  int (*test)(const char*);
};
const Kind kKinds[] = {
    {"dvb", playlist_is_dvb_url}, {"iptv", playlist_is_iptv_url}, {"http", playlist_is_http_url},
    {"https", playlist_is_https_url}, {"http_ts", playlist_is_http_ts_url}, {"http_mp4", playlist_is_http_mp4_url},
    {"audio_stream", playlist_is_http_streaming_url}, {"rtsp", playlist_is_http_rtsp_url},
    {"text_http", playlist_is_text_http_url}, {"swf", playlist_is_swf_url}, {"www", playlist_is_www_url},
    {"plugin_installer", playlist_is_plugin_installer_url}, {"plugin_uninstaller", playlist_is_plugin_uninstaller_url},
    {"plugin_launcher", playlist_is_plugin_launcher_url}, {"embedded_app", playlist_is_embedded_app_url},
    {"skin_installer", playlist_is_skin_installer_url}, {"extplayer", playlist_is_extplayer_url},
    {"cdda", playlist_is_cdda_url}, {"udf", playlist_is_udf_url}, {"ftp", playlist_is_ftp_url},
    {"dre", playlist_is_dre_url}, {"hls", playlist_is_hls_url}, {"dash", playlist_is_dash_url},
    {"ss", playlist_is_ss_url}, {"hevc", playlist_is_hevc_raw_url}, {"camera", playlist_is_camera_video_filename},
    {"apk", playlist_is_apk_url}, {"media", playlist_is_media_file_url}, {"audio", playlist_is_audio_file_url},
};

// The names of the kinds that hold for url, space-separated.
std::string kinds_of(const char* url) {
  std::string names;
  for (const Kind& kind : kKinds) {
    if (kind.test(url)) names += (names.empty() ? "" : " ") + std::string(kind.name);
  }
  return names;
}

template <size_t N> bool in_table(const char* const (&rows)[N], const char* ext) {
  for (const char* row : rows) {
    if (strcasecmp(row, ext) == 0) return true;
  }
  return false;
}

}  // namespace

TEST(UrlType, ClassifiesBySchemeAndStreamingSuffix) {
  struct Case { const char *url, *kinds; };
  for (const Case& c : std::vector<Case>{
           {"dvb://1.2.3", "dvb"}, {"udp://@239.0.0.1", ""}, {"udp://@239.0.0.1:1234", "iptv"}, {"rtp://@:1", "iptv"},
           {"udp://239.0.0.1:1234", ""}, {"http://h/x.m3u8", "http hls"}, {"http://h/x.m3u8?a=1", "http hls"},
           {"h/x.M3U8", ""}, {"h/x.m3u8.bak", ""}, {"https://h/live.mpd?t=1", "https dash"},
           {"http://ts://h/a.ts", "http http_ts media"}, {"http://mp4://h/a", "http http_mp4"},
           {"https://mp4://h/a", "https http_mp4"}, {"http://audio_stream://h/radio", "http audio_stream"},
           {"http://rtsp://h/cam", "http rtsp"}, {"http://h/readme.txt", "http text_http"},
           {"http://h/readme.TXT", "http"}, {"https://h/readme.txt", "https"}, {"swf://game.swf:::a=1", "swf"},
           {"www://h", "www"}, {"plugin_installer://p.zip", "plugin_installer"},
           {"plugin_uninstaller://p", "plugin_uninstaller"}, {"plugin_launcher://{a=1}", "plugin_launcher"},
           {"embedded_app://x", "embedded_app"}, {"skin_installer://s", "skin_installer"},
           {"extplayer://x", "extplayer"}, {"cdda://1", "cdda"}, {"udf:///dev/sr0", "udf"},
           {"ftp://h/a.mp3", "ftp media audio"}, {"dre://7", "dre"}, {"DVB://1", ""},
           {"h/a.ism", "ss"}, {"h/a.isml?x", "ss"}, {"h/a.ism/manifest", "ss"}, {"h/a.isml/manifest?x", "ss"},
           {"h/a.ism/Manifest", ""}, {"h/a.hevc", "hevc"}, {"h/a.h265?x", "hevc"},
           {"/d/201501020304.mp4", "media"},  // the camera test takes names, not paths
           {"201501020304.mp4", "camera media"}, {"201501020304", "camera"}, {"20150102030.mp4", "media"},
           {"2018-12-18-16.mp4", "media"}, {"2015010203x4.mp4", "media"}, {"/a/app.APK", "apk"}, {"", ""},
       }) {
    EXPECT_EQ(c.kinds, kinds_of(c.url)) << c.url;
  }
}

TEST(UrlType, ExtensionLookupMatchesACaseInsensitiveScanOfTheTables) {
  using namespace vona;
  // Every row, in lower, upper and mixed case, and near misses of it, is classified as the
  // linear scan classifies it.
  std::vector<std::string> probes = {"", "divx", "DivX", "m3u", "pls", "iso", "apk", "html", "TEXT", "m3u8", "dwd",
                                     "imovieprojectx", "mp4?x=1", "j\xc3\xa9g", "mp4 ", "a\tb"};
  auto add_variants = [&](const char* row) {
    std::string lower = row, upper = row, mixed = row;
    for (size_t i = 0; i < lower.size(); ++i) {
      lower[i] = (char)tolower(lower[i]);
      upper[i] = (char)toupper(upper[i]);
      mixed[i] = i % 2 ? upper[i] : lower[i];
    }
    // The last variant moves the ninth letter to the front: longer names span two key words.
    for (const std::string& s : {lower, upper, mixed, lower.substr(1), lower.substr(0, lower.size() - 1), lower + "x",
                                 "." + lower, lower + lower, lower.size() > 8 ? lower[8] + lower.substr(1) : lower}) {
      probes.push_back(s);
    }
  };
  for (const char* row : kVideoExtensions) add_variants(row);
  for (const char* row : kAudioExtensions) add_variants(row);
  for (const char* row : kImageExtensions) add_variants(row);
  for (const char* row : kHtmlExtensions) add_variants(row);

  for (int divx : {0, 1}) {
    rflags_set_divx_visible(divx);
    for (const std::string& probe : probes) {
      const char* ext = probe.c_str();
      bool video = in_table(kVideoExtensions, ext) || (divx && strcasecmp(ext, "divx") == 0);
      bool image = in_table(kExtraImageExtensions, ext) || in_table(kImageExtensions, ext);
      SCOPED_TRACE(probe);
      ASSERT_EQ(video, playlist_is_video_file_ext(ext) == 1);
      ASSERT_EQ(image, playlist_is_image_file_ext(ext) == 1);
      ASSERT_EQ(in_table(kPhotoExtensions, ext), playlist_is_photo_file_ext(ext) == 1);
      ASSERT_EQ(in_table(kHtmlExtensions, ext), playlist_is_html_file_ext(ext) == 1);
      ASSERT_EQ(strcasecmp(ext, "m3u") == 0, playlist_is_m3u_file_ext(ext) == 1);
      ASSERT_EQ(strcasecmp(ext, "pls") == 0, playlist_is_pls_file_ext(ext) == 1);
      ASSERT_EQ(strcasecmp(ext, "m3u") == 0 || strcasecmp(ext, "pls") == 0, playlist_is_playlist_file_ext(ext) == 1);
      ASSERT_EQ(strcasecmp(ext, "iso") == 0, playlist_is_iso_image_ext(ext) == 1);
      ASSERT_EQ(strcasecmp(ext, "apk") == 0, playlist_is_apk_file_ext(ext) == 1);
      // As a file name, only the text after the probe's last dot is its extension.
      std::string name = "/media/dir.v/clip." + probe;
      const char* name_ext = ext + probe.find_last_of('.') + 1;
      video = in_table(kVideoExtensions, name_ext) || (divx && strcasecmp(name_ext, "divx") == 0);
      image = in_table(kExtraImageExtensions, name_ext) || in_table(kImageExtensions, name_ext);
      bool audio = in_table(kAudioExtensions, name_ext);
      ASSERT_EQ(audio, playlist_is_audio_file_url(name.c_str()) == 1);
      ASSERT_EQ(video || image || audio, playlist_is_media_file_url(name.c_str()) == 1);
    }
  }
  rflags_set_divx_visible(0);
  EXPECT_EQ(0, rflags_divx_visible());

  // The extension is that of the basename; a dot in a folder name or a query is no extension.
  EXPECT_EQ(0, playlist_is_media_file_url("/music.mp3/readme"));
  EXPECT_EQ(0, playlist_is_media_file_url("http://h/a.mp4?x=1"));
  EXPECT_EQ(1, playlist_is_audio_file_url("vona_service_x.DWD"));  // only .dsf and .dff mark the firmware's own files
  EXPECT_EQ(1, playlist_is_audio_file_url("vona_firmware_x.mp3"));
}

TEST(UrlType, ParsesPseudoSchemeUrls) {
  str_seg target, params;
  playlist_parse_swf_params("game.swf:::a=1:::b", &target, &params);
  EXPECT_EQ("game.swf", seg_text(target));
  EXPECT_EQ("a=1:::b", seg_text(params));
  const char* bare = "game.swf";
  playlist_parse_swf_params(bare, &target, &params);
  EXPECT_EQ("game.swf", seg_text(target));
  EXPECT_EQ(0, params.length);
  EXPECT_EQ(bare + 8, params.start);

  playlist_parse_swf_url("swf://g.swf:::p", &target, &params);
  EXPECT_EQ("g.swf", seg_text(target));
  EXPECT_EQ("p", seg_text(params));
  const char* www_params = nullptr;
  playlist_parse_www_url("www://h/x:::fullscreen", &target, &www_params);
  EXPECT_EQ("h/x", seg_text(target));
  EXPECT_STREQ("fullscreen", www_params);
  playlist_parse_www_url("www://h", &target, &www_params);
  EXPECT_STREQ("", www_params);
  playlist_parse_installer_url("skin_installer://s.zip:::force", &target, &params);
  EXPECT_EQ("s.zip", seg_text(target));
  EXPECT_EQ("force", seg_text(params));
  EXPECT_STREQ("my.plugin", playlist_parse_plugin_uninstaller_url("plugin_uninstaller://my.plugin"));

  EXPECT_DEATH(playlist_parse_swf_url("www://x", &target, &params),
               "^player/src/util/mt/url_type:[0-9]+: playlist_parse_swf_url: Assertion `playlist_is_swf_url\\(url\\)' failed");
  EXPECT_DEATH(playlist_parse_www_url("swf://x", &target, &www_params), "Assertion `playlist_is_www_url\\(www_url\\)' failed");
  EXPECT_DEATH(playlist_parse_installer_url("x", &target, &params), "playlist_parse_installer_url: Assertion `s1' failed");
  EXPECT_DEATH(playlist_parse_plugin_uninstaller_url("plugin_launcher://x"),
               "Assertion `playlist_is_plugin_uninstaller_url\\(plugin_uninstaller_url\\)' failed");
}

TEST(UrlType, ParsesBraceUrlsIntoProperties) {
  struct Case { int (*parse)(const char*, properties*); const char* url; int ok; const char* dump; };
  for (const Case& c : std::vector<Case>{
           {playlist_parse_plugin_launcher_url, "plugin_launcher://{a=1}{b=x\\}y}", 1, "a = 1\nb = x}y\n"},
           {playlist_parse_plugin_launcher_url, "plugin_launcher://{a=1}x", 0, "a = 1\n"},
           {playlist_parse_plugin_launcher_url, "plugin_launcher://abc", 1, "name = abc\n"},
           {playlist_parse_plugin_launcher_url, "plugin_launcher://", 1, "name = \n"},
           {playlist_parse_embedded_app_url, "embedded_app://{k=1}{k=2}", 1, "k = 1\nk = 2\n"},
           {playlist_parse_extplayer_url, "x", 1, "name = \n"},  // the scheme is the caller's check
       }) {
    properties* props = properties_create_empty();
    EXPECT_EQ(c.ok, c.parse(c.url, props)) << c.url;
    EXPECT_EQ(c.dump, take_string(properties_save_to_buffer(props))) << c.url;
    properties_free(props);
  }
  properties* props = properties_create_empty();
  EXPECT_CONTAINS(test::captured_stderr([&] { playlist_parse_embedded_app_url("embedded_app://{=}", props); }),
                  "[embedded_app] invalid URL: embedded_app://{=}");
  properties_free(props);
}

namespace {
int replace_with_context(const char* old_url, char** new_url_out, void* context) {
  std::string* seen = (std::string*)context;
  *seen = old_url;
  if (old_url[0] == '!') return 0;
  if (old_url[0] == '?') return 1;  // "done" without a new URL
  *new_url_out = strdup(("new:" + *seen).c_str());
  return 7;
}
}  // namespace

TEST(UrlType, ReplacesTheBaseUrlKeepingSwfParameters) {
  struct Case { const char *url, *passed; int result; const char* after; };
  for (const Case& c : std::vector<Case>{{"swf://g.swf:::p=1", "g.swf", 7, "swf://new:g.swf:::p=1"},
                                         {"swf://g.swf", "g.swf", 7, "swf://new:g.swf"},
                                         {"swf://g.swf:::", "g.swf", 7, "swf://new:g.swf"},
                                         {"swf://!g", "!g", 0, "swf://!g"},
                                         {"http://h/a", "http://h/a", 7, "new:http://h/a"},
                                         {"!http", "!http", 0, "!http"}, {"?x", "?x", 1, "?x"}}) {
    char* url = strdup(c.url);
    std::string passed;
    EXPECT_EQ(c.result, playlist_replace_base_url(&url, replace_with_context, &passed)) << c.url;
    EXPECT_EQ(c.passed, passed);
    EXPECT_EQ(c.after, take_string(url));
  }
}

TEST(UrlType, ToolClassifiesAndParses) {
  test::expect_tool({
      {"url classify 'Holiday.MKV' 'http://h/x.m3u8?a=1' 'notes.nfo'", 0,
       "Holiday.MKV: media video\nhttp://h/x.m3u8?a=1: http hls\nnotes.nfo: -\n", true},
      {"url parse 'smb://nas/media/a.mkv'", 0, "protocol: smb\nhost: nas\npath: /media/a.mkv\n", true},
      {"url parse 'extplayer://{cmd=play}{arg=a\\}b}'", 0, "cmd = play\narg = a}b\n", true},
      {"url parse 'extplayer://{cmd'", 1, ""},
      {"url classify", 2, ""}, {"url parse a b", 2, ""},
  });
}
