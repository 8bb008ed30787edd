/* Translation files: the tables from text keys to the UTF-8 texts the player shows.
 *
 * File format (byte-oriented, line feeds end entries, lines count from 1):
 * - an optional UTF-8 byte order mark EF BB BF at the very start;
 * - before an entry, spaces and line feeds are skipped, and "#" starts a comment line;
 * - entry: [@]KEY<spaces>=<spaces>VALUE up to the end of the line. "@" marks a text that is
 *   not translated yet; it loads like any other and is only counted in the statistics;
 * - KEY: a-z, 0-9 and "_", not starting with a digit, at most 999 characters. A plug-in key
 *   ("NAME_plugin_..." where NAME is 1 to 64 letters, digits, "_", "-" or ".", starting with a
 *   letter or digit) may also hold A-Z, "-" and ".";
 * - VALUE: bytes from 0x20 up, at most 999 after unescaping; "\n" is a line feed, "\\" a
 *   backslash, a backslash before spaces and line feeds swallows them (the value continues on
 *   the next line with the byte after them, taken literally), a backslash before any other
 *   byte gives that byte. Trailing spaces are dropped.
 * - placeholders in values: "%%", "%{name}" (letters, digits, "_") and "%s";
 * - a key "name__N" requires exactly N "%s" in its value (N at most 100); "name__" and
 *   "name__0" leave the value unchecked; a key without "__" allows no "%s".
 *
 * A loaded translation keeps its entries in a fixed table of 4096 buckets; it never changes
 * after loading and merging, so any number of threads may read it. */
#ifndef VONAUTIL_TRANSLATION_H
#define VONAUTIL_TRANSLATION_H

#include "export.h"
#include "message_list.h"

#define HASH_CODE_BITS 12
#define LIMIT_BITS_TO_SHIFT 9

/* Kinds of the messages of T_analyze_translation. */
#define T_MESSAGE_UNKNOWN_KEY 0   /* a key the reference does not have */
#define T_MESSAGE_MISSING_KEY 1   /* a reference key the file does not have */
#define T_MESSAGE_DUPLICATE_KEY 2 /* a reference key given twice */
#define T_MESSAGE_NO_KEYS 3       /* the file is empty */
#define T_MESSAGE_ERROR 4         /* the file breaks the format */

VONA_BEGIN_DECLS

typedef struct translation translation;

/* Every key of a translation: owned copies, in bucket order and, within a bucket, in the
 * order they were added. */
typedef struct translation_all_keys {
  int count;
  char** keys;
} translation_all_keys;

/* Reads a whole translation file; null when it cannot be opened or holds any error (each is
 * printed on standard error). Unless quiet, prints a banner and the table statistics on
 * standard error. Free the result with T_free_translation. */
translation* T_load_translation(const char* path, int quiet);

/* Adds the entries of another file, each key prefixed by `prefix` (as long as the prefixed key
 * stays below 1000 characters). Keys already present keep their value; bad entries are
 * reported and skipped; a file that cannot be opened is ignored without a word. */
void T_append_translation(translation* translation, const char* path, const char* prefix);

/* Each entry of the file replaces the value of the same key. Keys not present yet are added,
 * or ignored when only_existing is non-zero. Bad entries are reported and skipped. */
void T_replace_translation(translation* translation, const char* path, int only_existing);

/* Null is accepted. */
void T_free_translation(translation* translation);
/* A deep copy; null gives null. */
translation* T_copy_translation(const translation* translation);

/* The value of the key (owned by the translation) or null; a null translation gives null. */
const char* T_get_value(const translation* translation, const char* key);

translation_all_keys* T_get_all_keys(const translation* translation);
/* Null is accepted. */
void T_free_all_keys(translation_all_keys* list);

/* Parses a file without keeping it: callback(key, value, not_translated, user) for each entry
 * in file order. A non-zero result of the callback stops the walk and is returned. Returns 0
 * after the last entry, and 1 when the file cannot be opened, has a bad byte order mark or
 * holds an error (each reported on standard error; the walk stops at the first). */
typedef int (*T_file_entry_func)(const char* key, const char* value, int not_translated, void* user);
int T_iterate_translation_file(const char* path, T_file_entry_func callback, void* user);

/* Calls callback(user, &key, &value, entries of the bucket) for every entry, buckets in order
 * from 0 to 4095. */
typedef void (*T_entry_func)(void* user, char** key, char** value, int bucket_count);
void T_iterate_translation_entries(translation* translation, T_entry_func callback, void* user);

/* Checks a translation file against a loaded reference: every format error, every key that
 * the reference does not have (plug-in keys excepted), every reference key given twice and
 * every reference key missing, as messages of the T_MESSAGE_* kinds. Messages are printed on
 * standard error too unless quiet. Null when the file cannot be opened; free the list with
 * ML_free_message_list. */
message_list* T_analyze_translation(const translation* reference, const char* path, int quiet);

/* Self-check: looks every stored key up again and asserts that it finds its own entry. */
void T_test_value_retrieval(const translation* translation);

VONA_END_DECLS

#endif
