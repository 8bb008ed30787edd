/* Properties: the key/value store of settings, state files and saved lists, and the text
 * file format they are kept in.
 *
 * A container keeps its entries in insertion order. Keys are unique (the set operations
 * replace a value in place), except that the force_add_last operations append without
 * looking. An optional index (a long_by_string_map from key to position) makes lookups in
 * large containers fast; without it a lookup scans the keys with strcmp and finds the first
 * equal key, with it the entry the index names (for a repeated key, the last one added).
 *
 * File format: one "key = value" per line; each line is stripped of white space, empty
 * lines and lines starting with "#" are skipped, the line is split at its first "=", a line
 * without "=" or with an empty key is skipped. A repeated key replaces the value of the
 * earlier entry, which keeps its place. Saving writes "%s = %s\n" per entry, in order.
 *
 * Saving through a temporary file ("%s.tmp", renamed over the target) means that other
 * processes reading the file at any time see the old or the new content, never a mix.
 * Containers are not locked: each thread uses its own. */
#ifndef VONAUTIL_PROPERTIES_H
#define VONAUTIL_PROPERTIES_H

#include <stdio.h>

#include "common.h"
#include "containers.h"
#include "export.h"

VONA_BEGIN_DECLS

typedef struct properties {
  int count;                 /* entries in use */
  int capacity;              /* allocated slots of keys and values */
  char** keys;               /* owned keys, in insertion order */
  char** values;             /* owned values, parallel to keys */
  C_LongByStringMap* index;  /* key -> position, or null when the container has no index */
} properties;

/* Files larger than this are read only up to it by properties_build_from_internal_file. */
#define PROPERTIES_MAX_FILE_SIZE 1048576

/* --- Creation and lifetime --- */

/* An empty container (16 slots reserved), without or with an index. */
properties* properties_create_empty(void);
properties* properties_create_with_index(void);
/* Builds the index from the current entries; nothing when there is one already. */
void properties_create_index(properties* props);
/* Null is accepted. */
void properties_free(properties* props);
/* A deep copy, with an index when props has one; null for null. */
properties* properties_copy(const properties* props);
/* Sets every entry of src into dst, in src order. */
void properties_set_all(properties* dst, const properties* src);
/* 1 when both have as many entries and every key of p1 has the same value in p2, whatever
 * the order; else 0. */
int properties_equal(const properties* p1, const properties* p2);

/* --- Lookup --- */

/* Position of the entry, or -1. */
int properties_find(const properties* props, const char* key);
int properties_contains_key(const properties* props, const char* key);
/* The stored value (borrowed, valid until the entry changes) or null. */
const char* properties_get(const properties* props, const char* key);
const char* properties_get_str(const properties* props, const char* key, const char* default_value);
/* The default only when the key is missing; otherwise atoi of the value, so a non-numeric
 * value gives 0 and text after the number is ignored. */
int properties_get_int(const properties* props, const char* key, int default_value);
/* The same with atoll, the first truncated to 32 bits. */
unsigned int properties_get_uint32_t(const properties* props, const char* key, unsigned int default_value);
long long properties_get_long_long(const properties* props, const char* key, long long default_value);
/* The same with a decimal floating-point conversion (strtod). */
double properties_get_double(const properties* props, const char* key, double default_value);

/* --- Changing --- */

/* Replaces the value of an existing key in place, or appends a new entry. The container
 * copies key and value. */
void properties_set(properties* props, const char* key, const char* value);
void properties_set_seg(properties* props, const char* key, str_seg value);
/* The same, but the container takes the heap string value itself; null does nothing. */
void properties_set_occupy(properties* props, const char* key, char* value);
/* Set only when the key is missing: 1 if it was set, else 0. */
int properties_set_if_new(properties* props, const char* key, const char* value);
int properties_set_int_if_new(properties* props, const char* key, int value);
/* Set as "%d", "%lld" and "%f". */
void properties_set_int(properties* props, const char* key, int value);
void properties_set_long_long(properties* props, const char* key, long long value);
void properties_set_double(properties* props, const char* key, double value);
/* Sets a value that keeps its leading and trailing blanks through a save and a load: such a
 * value, and one that is already enclosed in double quotes, is stored as "\"%s\"";
 * others are stored as they are. Null does nothing. Readers call properties_unescape_value. */
void properties_set_escaped(properties* props, const char* key, const char* value);

/* Append without looking for the key, so a repeated key makes a second entry (fast writing
 * of numbered lists). The index, if any, then names the new entry. */
void properties_force_add_last(properties* props, const char* key, const char* value);
/* Takes the heap string value itself; null does nothing. */
void properties_force_add_last_occupy(properties* props, const char* key, char* value);
void properties_force_add_last_seg(properties* props, const char* key, str_seg value);
void properties_force_add_last_seg_by_seg(properties* props, str_seg key, str_seg value);
void properties_force_add_last_int(properties* props, const char* key, int value);
void properties_force_add_last_long_long(properties* props, const char* key, long long value);
void properties_force_add_last_uint32_t(properties* props, const char* key, unsigned int value);

/* Removes the first entry with the key and closes the gap: 1 if there was one, else 0.
 * The key leaves the index, but the positions the index holds for later entries are not
 * renumbered: lookups then check the named entry and fall back to a scan. */
int properties_remove(properties* props, const char* key);

/* In place: a text of at least 3 characters that starts and ends with a double quote
 * loses those two quotes. Null does nothing. */
void properties_unescape_value(char* value);
/* The same on a segment longer than 2 characters that starts with a quote; the end quote
 * is dropped only when present. */
str_seg properties_unescape_value_seg(str_seg seg);

/* --- Loading --- */

/* Parses the text into props, setting each entry in turn. */
void properties_build_from_buffer(properties* props, const char* data_buf);
/* Reads at most the first PROPERTIES_MAX_FILE_SIZE bytes of the file and parses them:
 * 1, or 0 when the file cannot be read (props is then unchanged). */
int properties_build_from_internal_file(properties* props, const char* path);
/* The same for a regular file (not a symbolic link), read whole whatever its size. */
int properties_build_from_unlimited_size_internal_file(properties* props, const char* path);
/* A new container filled from the file, or null when it cannot be read. */
properties* properties_load_from_internal_file(const char* path);
properties* properties_load_from_internal_file_with_index(const char* path);

/* --- Saving --- */

/* The file text as one heap string (free it with free()); "" for an empty container. */
char* properties_save_to_buffer(const properties* props);
/* Writes all lines to the stream and closes it; the safe form flushes and fsyncs before
 * closing. 0, or -1 when a write, flush, sync or close fails. */
int properties_save_to_opened_file(const properties* props, FILE* fp);
int properties_safe_save_to_opened_file(const properties* props, FILE* fp);
/* Creates or truncates the file and writes it in place (neither atomic nor synchronised).
 * 0, or -1 (with a message on standard output unless quiet). */
int properties_save_to_internal_file(const properties* props, const char* path, int quiet);
/* Writes "%s.tmp" and renames it over path, so that readers see the old or the new file.
 * The safe form also fsyncs the file before the rename and the directory after it, so that
 * the new content survives a power cut. 0, or -1 (with a message on standard output unless
 * quiet); on failure the previous file stays in place. */
int properties_save_to_internal_file_using_tmp(const properties* props, const char* path, int quiet);
int properties_safe_save_to_internal_file(const properties* props, const char* path, int quiet);
/* Compares props with the file at path (a missing file counts as empty) and prints the
 * change log ("Saving %s. Changes:", "old: ..." and "new: ..." lines) unless quiet. Saves
 * through the temporary file only when something changed: 1 saved, 0 nothing changed (the
 * file is not touched), -1 the save failed. The order of the entries is not compared. */
int properties_save_to_internal_file_using_tmp_if_changed(const properties* props, const char* path, int quiet,
                                                          const char* display_name);

/* Prints "%s:\n" and one "%s = %s\n" line per entry, for diagnostics. */
void properties_dump_to_file(const properties* props, FILE* fp, const char* title);
void properties_dump(const properties* props, const char* title);

VONA_END_DECLS

#endif
