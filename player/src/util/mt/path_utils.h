/* Pure string functions on "/"-separated paths and on URLs of the form
 * scheme "://" host "/" path. None of them touches the file system.
 *
 * Results that are new strings are malloc'd and freed by the caller; functions that return a
 * `const char*` or a `str_seg` point into their argument.
 *
 * The URL prefix of a string: when the string holds "://" and the character right after it is
 * neither the end, nor "/", nor white space, the prefix runs from the start up to and including
 * the first "/" after the "://" (or is the whole string when no "/" follows); otherwise the
 * prefix is empty and the string is a plain path. */
#ifndef VONAUTIL_PATH_UTILS_H
#define VONAUTIL_PATH_UTILS_H

#include "common.h"
#include "export.h"
#include "string_builder.h"

VONA_BEGIN_DECLS

/* ---- Joining and splitting ----------------------------------------------------------------- */

/* a, then "/" unless a is non-empty and ends in "/", then b. An empty a gives "/" + b. */
char* path_utils_join_path_segs(const char* a, int a_length, const char* b, int b_length);
/* The same on two C strings. Asserts "c_str" for a null string. */
char* path_utils_join_path(const char* a, const char* b);

/* The last name, trailing slashes included ("a/b/" gives "b/"); a path without "/" gives the
 * whole path, an empty path or one made only of slashes gives the path itself. */
const char* path_utils_basename(const char* path);
/* The basename up to its last ".", or the whole basename. */
str_seg path_utils_basename_without_ext(const char* path);
/* Everything before the basename less the separating slash: "a/b" gives "a", "/b" and "b"
 * give "", "a//b" gives "a/". New string. */
char* path_utils_get_dir_path(const char* path);
/* The same as a segment of path (length 0 when there is no directory part). */
str_seg path_utils_dirname_seg(const char* path);

/* After the last "." of the basename, or the terminating NUL when it has none. */
const char* path_utils_get_ext(const char* path);
/* At the last "." of the basename, or at the terminating NUL. */
const char* path_utils_get_ext_including_dot(const char* path);
/* 1 if path ends with extension, ignoring ASCII case; no dot is required or added. */
int path_utils_has_extension(const char* path, const char* extension);

/* Every backslash becomes "/", in place. */
void path_utils_convert_reversed_slashes(char* path);
/* Shorten the segment while it has at least 2 characters and ends (starts) with "/": a lone
 * "/" stays ("///" gives "/", "//a" gives "a"). */
void path_utils_remove_trailing_slashes(str_seg* segment);
void path_utils_remove_leading_slashes(str_seg* segment);

/* A new builder: a leading "/" becomes the absolute item "/", then every non-empty component
 * is pushed relative to the top (runs of slashes count as one). */
string_builder* path_utils_create_builder_from_path(const char* path);

/* Null unless path starts with base; otherwise the first component of the rest of path (one
 * "/" after base skipped), as a new string. */
char* path_utils_get_first_name_of_rel_path(const char* base, const char* path);
/* 1 if prefix is a strict ancestor of path: prefix non-empty, path starts with it at a
 * component boundary, and after further slashes path holds something other than white
 * space. An equal path gives 0. */
int path_utils_is_prefix(const char* prefix, const char* path);

/* Removes the last component from the segment and returns it. Trailing slashes are passed
 * over; a segment of slashes only yields "/" and becomes empty; otherwise the segment ends
 * before the slashes that precede the last name ("a/b//c" leaves "a/b", "/a" leaves ""). */
str_seg path_utils_rshift(str_seg* segment);

/* ---- Resolving and relating ------------------------------------------------------------------ */

/* Resolves path against the directory base_dir; ".." never climbs above root (or above
 * base_dir when base_dir does not lie under root). A path starting with "/" lies under root.
 * A bare name is returned as it is, or joined to base_dir when join_bare_names is non-zero.
 * New string. */
char* path_utils_resolve_relative_path(const char* path, const char* base_dir, const char* root,
                                       int join_bare_names);
/* Resolves path against base_url; a path starting with "/" lies under the URL's prefix, a
 * bare name is joined to base_url. A plain base path resolves with root "/" and bare names
 * kept. New string. */
char* path_utils_resolve_relative_url(const char* path, const char* base_url);

/* The directory part of a path: "a/b" gives "a", "/b" gives "/", a name without a directory
 * gives the name itself (trailing slashes dropped), an empty path or slashes only the whole
 * path. */
str_seg path_utils_get_base_path_seg(const char* path);
/* The same for a URL: "s://h/dir/file" gives "s://h/dir", "s://h/file" gives "s://h/",
 * "s://h" gives the whole URL; a plain path as path_utils_get_base_path_seg. */
str_seg path_utils_get_base_url_seg(const char* url);

/* The relative path that leads from the directory `from` to `to` ("/a/b" to "/a/c/d" gives
 * "../c/d", equal paths give "."); null unless both are non-empty and start with "/". */
char* path_utils_get_rel_path(const char* from, int from_length, const char* to, int to_length);
/* base with relative applied ("." skipped, ".." removes a component); null when relative is
 * empty or starts with "/", or when ".." finds nothing left to remove. */
char* path_utils_apply_rel_path(const char* base, int base_length, const char* relative, int relative_length);
/* Maps `to`, which lies relative to `from`, onto base; when that fails, a copy of fallback
 * (null for a null fallback). */
char* path_utils_apply_rel_path2(const char* base, int base_length, const char* from, int from_length,
                                 const char* to, int to_length, const char* fallback);

VONA_END_DECLS

#endif
