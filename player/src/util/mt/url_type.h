/* What a URL or file name is: scheme tests, streaming-suffix tests, the media extension
 * tables, and the parsers of the player's pseudo-scheme URLs.
 *
 * The tests of kind return 1 or 0, allocate nothing and may be called for every item of a large
 * folder listing. Scheme tests compare the start of the URL case-sensitively; the streaming
 * tests look at the whole URL, query included, case-sensitively; extension tests ignore ASCII
 * case. */
#ifndef VONAUTIL_URL_TYPE_H
#define VONAUTIL_URL_TYPE_H

#include "common.h"
#include "export.h"
#include "properties.h"

VONA_BEGIN_DECLS

/* ---- Schemes ----------------------------------------------------------------------------------- */

int playlist_is_dvb_url(const char* url);                 /* "dvb://" */
/* "udp://@" or "rtp://@" with a ":" (the port) somewhere after those 7 characters. */
int playlist_is_iptv_url(const char* url);
int playlist_is_http_url(const char* url);                /* "http://" */
int playlist_is_https_url(const char* url);               /* "https://" */
int playlist_is_http_ts_url(const char* url);             /* "http://ts://": HTTP carrying a transport stream */
int playlist_is_http_mp4_url(const char* url);            /* "http://mp4://" or "https://mp4://" */
int playlist_is_http_streaming_url(const char* url);      /* "http://audio_stream://" */
int playlist_is_http_rtsp_url(const char* url);           /* "http://rtsp://" */
/* "http://" with the extension exactly "txt" (case-sensitive). */
int playlist_is_text_http_url(const char* url);
int playlist_is_swf_url(const char* url);                 /* "swf://" */
int playlist_is_www_url(const char* url);                 /* "www://" */
int playlist_is_plugin_installer_url(const char* url);    /* "plugin_installer://" */
int playlist_is_plugin_uninstaller_url(const char* url);  /* "plugin_uninstaller://" */
int playlist_is_plugin_launcher_url(const char* url);     /* "plugin_launcher://" */
int playlist_is_embedded_app_url(const char* url);        /* "embedded_app://" */
int playlist_is_skin_installer_url(const char* url);      /* "skin_installer://" */
int playlist_is_extplayer_url(const char* url);           /* "extplayer://" */
int playlist_is_cdda_url(const char* url);                /* "cdda://" */
int playlist_is_udf_url(const char* url);                 /* "udf://" */
int playlist_is_ftp_url(const char* url);                 /* "ftp://" */
int playlist_is_dre_url(const char* url);                 /* "dre://" */

/* ---- Streaming formats: the URL ends with the suffix or holds it followed by "?" ---------------- */

int playlist_is_hls_url(const char* url);       /* ".m3u8" */
int playlist_is_dash_url(const char* url);      /* ".mpd" */
int playlist_is_ss_url(const char* url);        /* ".ism", ".isml", ".ism/manifest", ".isml/manifest" */
int playlist_is_hevc_raw_url(const char* url);  /* ".hevc", ".h265" */

/* ---- File names ------------------------------------------------------------------------------- */

/* A camera recording: the name's stem (before its last ".") has at least 12 characters, all
 * digits, starting with "20". The argument is a file name, not a path. */
int playlist_is_camera_video_filename(const char* name);
/* The URL's extension is "apk", in any case. */
int playlist_is_apk_url(const char* url);
/* The URL's extension is a video or image extension, or playlist_is_audio_file_url holds. */
int playlist_is_media_file_url(const char* url);
/* The extension of the URL's basename is an audio extension. Takes a URL or path. */
int playlist_is_audio_file_url(const char* url);

/* ---- Extensions (without the dot, in any case) ------------------------------------------------ */

int playlist_is_m3u_file_ext(const char* ext);       /* "m3u" */
int playlist_is_pls_file_ext(const char* ext);       /* "pls" */
int playlist_is_playlist_file_ext(const char* ext);  /* "m3u", "pls" */
int playlist_is_iso_image_ext(const char* ext);      /* "iso" */
int playlist_is_apk_file_ext(const char* ext);       /* "apk" */
int playlist_is_html_file_ext(const char* ext);      /* "html", "htm", "xhtml", "txt", "text" */
/* "djpg", "jpg", "jpeg", "dpng", "png", "dbmp", "bmp", "gif", "aai" */
int playlist_is_photo_file_ext(const char* ext);
/* "aai", "djpg", "dpng", "dbmp" and the image table. */
int playlist_is_image_file_ext(const char* ext);
/* The video table (the pseudo-extension "iptv" included); "divx" while rflags_divx_visible(). */
int playlist_is_video_file_ext(const char* ext);

/* ---- Pseudo-scheme URLs: target, then optionally ":::" and parameters ---------------------------
 * The result segments point into the argument. */

/* Splits text at its first ":::"; without one the target is the whole text and the parameters
 * are empty. */
void playlist_parse_swf_params(const char* text, str_seg* url_out, str_seg* params_out);
/* The same on the text after "swf://". Asserts "playlist_is_swf_url(url)". */
void playlist_parse_swf_url(const char* url, str_seg* url_out, str_seg* params_out);
/* The same after "www://"; the parameters are the text after ":::" or an empty string.
 * Asserts "playlist_is_www_url(www_url)". */
void playlist_parse_www_url(const char* www_url, str_seg* url_out, const char** params_out);
/* The same after the first "://", whatever the scheme. Asserts "s1" for a URL without one. */
void playlist_parse_installer_url(const char* url, str_seg* target_out, str_seg* params_out);
/* The text after "plugin_uninstaller://". Asserts
 * "playlist_is_plugin_uninstaller_url(plugin_uninstaller_url)". */
const char* playlist_parse_plugin_uninstaller_url(const char* plugin_uninstaller_url);

/* Parse a brace URL of the scheme "plugin_launcher", "embedded_app" or "extplayer" (the caller
 * has checked the scheme) into properties: a plain value becomes the property "name"; pairs are
 * appended in order, values unescaped, an earlier equal key never replaced. 1 on success; 0 for a
 * malformed URL, after the log line "[SCHEME] invalid URL: URL" (the pairs before the fault stay
 * appended). */
int playlist_parse_plugin_launcher_url(const char* url, properties* props);
int playlist_parse_embedded_app_url(const char* url, properties* props);
int playlist_parse_extplayer_url(const char* url, properties* props);

/* The caller's substitution of a URL's target: a non-zero result with *new_url_out set replaces
 * old_url by *new_url_out. A string stored in *new_url_out must be malloc'd; it is taken over
 * (and freed when it is not used). */
typedef int (*playlist_url_replace_func)(const char* old_url, char** new_url_out, void* context);

/* Lets replace substitute the target of the malloc'd URL *url_in_out: for "swf://" URLs the
 * target before ":::" (the parameters are kept), for others the whole URL. The old string is
 * freed when it is replaced. Returns what replace returned. */
int playlist_replace_base_url(char** url_in_out, playlist_url_replace_func replace, void* context);

VONA_END_DECLS

#endif
