/* Generic URL handling and the builders of share URLs.
 *
 * A URL starts with a scheme: one or more characters, each alphanumeric, "-" or "_", followed
 * by "://". Its parts are the protocol (the scheme without "://"), the host (up to the first
 * "/" after "://", or the end) and the path (from that "/" on, or empty).
 *
 * The player may append its own parameters to a URL after the marker "|||vona_params|||";
 * everything from the marker on is not part of the URL proper.
 *
 * All functions are pure string functions. */
#ifndef VONAUTIL_URL_UTILS_H
#define VONAUTIL_URL_UTILS_H

#include "common.h"
#include "export.h"

VONA_BEGIN_DECLS

#define URL_UTILS_VONA_PARAMS_MARKER "|||vona_params|||"

/* 1 if text starts with a scheme. */
int url_utils_is_url(const char* text);
/* The scheme without "://", or an empty segment at text. */
str_seg url_utils_get_proto(const char* text);
/* 1 and the three parts (segments into url) if url starts with a scheme; otherwise 0 and the
 * outputs are not touched. */
int url_utils_parse_url(const char* url, str_seg* protocol_out, str_seg* host_out, str_seg* path_out);

/* A new string: url with everything after its last "/" replaced by name; null when url is not a
 * URL or has no path part. */
char* url_utils_replace_filename(const char* url, const char* name);

/* url itself when it holds no parameter marker; otherwise its part before the marker, copied
 * into buffer (at most buffer_size - 1 characters) and buffer returned. A buffer_size below 1
 * returns buffer untouched; a null url gives null. */
const char* url_utils_chomp_vona_params(const char* url, char* buffer, int buffer_size);
/* The segment shortened to end before the marker when the marker starts inside it (the marker's
 * text is compared in the underlying string, which may run past the segment). */
str_seg url_utils_chomp_vona_params_seg(str_seg url_segment);

/* In place: "http://ts://X" becomes "http://X", then "http://mp4://X" becomes "http://X". */
void url_utils_unhack_double_scheme_url(char* url);

/* Resizes the heap buffer *buffer_in_out to base_length + path_length + 2 bytes and fills it
 * with base, then, unless path is empty or exactly "/", with path after a "/" (one only, when
 * path starts with it). Returns the buffer. */
char* url_utils_construct_url(char** buffer_in_out, const char* base, int base_length, const char* path,
                              int path_length);

/* 1 if url names the run-time state folder: it starts with "/tmp/run/" or "file:///tmp/run/". */
int url_utils_url_is_system_path(const char* url);

/* In place: after the "://" (from the start when there is none) every run of slashes becomes one,
 * and a slash that ends the text is removed unless it is the first character after "://". */
void url_utils_remove_extra_slashes_in_place(char* url);
/* The same on a copy of url in buffer (at most buffer_size - 1 characters); returns buffer.
 * Asserts "c_str" for a null url. */
char* url_utils_remove_extra_slashes(char* buffer, int buffer_size, const char* url);

/* ---- Share URLs ------------------------------------------------------------------------------ */

/* A new string "smb://[user[:password]]@[host]/[share]": the user when user_length is non-zero,
 * ":" and the password when password_length is non-zero, "@" and "/" always. */
char* smb_url_create(const char* user, int user_length, const char* password, int password_length,
                     const char* host, int host_length, const char* share, int share_length);
/* A new string "nfs-tcp://" (use_tcp non-zero) or "nfs-udp://", then export_path when it is
 * non-null and non-empty. */
char* nfs_url_create(const char* export_path, int use_tcp);

VONA_END_DECLS

#endif
