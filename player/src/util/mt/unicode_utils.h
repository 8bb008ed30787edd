/* UTF-8 stepping, counting, sorting and case conversion, and UTF-32 strings: zero-terminated
 * arrays of code points, created from and converted to every supported encoding.
 *
 * Ill-formed UTF-8 is never an error here: each bad byte reads as one "?". The sort order puts
 * the characters of CP1251 first (Latin and Cyrillic letters case-insensitively, Ё as Е) and
 * every other character after them in code point order. Case conversion changes only the
 * letters that CP1251 pairs (A-Z, Ё, А-Я). Every string returned by a _create_, _convert_to_
 * or _strdup function is malloc'd and owned by the caller. */
#ifndef VONAUTIL_UNICODE_UTILS_H
#define VONAUTIL_UNICODE_UTILS_H

#include "convert_utf.h"
#include "export.h"

VONA_BEGIN_DECLS

/* s + 3 when s starts with the byte order mark EF BB BF, else s. */
const char* utf8_skip_bom_if_present(const char* s);
/* The code point at *begin, advancing *begin past it; 0 without moving when *begin >= end.
 * An ill-formed or truncated sequence advances one byte and reads as "?". */
UTF32 utf8_get_next_char(const char** begin, const char* end);
/* Number of characters (each ill-formed byte counting as one). */
int utf8_strlen(const char* s);
/* Compares by the library's sort order: negative, zero or positive. */
int utf8_strcmp(const char* a, const char* b);

/* Sort weight of a code point; utf32_cmp_chars(a, b) is the difference of the weights. */
int utf32_get_order_value(UTF32 c);
int utf32_cmp_chars(UTF32 a, UTF32 b);

/* An ASCII value (0..127) as a code point. */
UTF32 utf32_convert_char_from_ascii(int ascii);
UTF32 utf32_convert_char_to_lower(UTF32 c);

/* Lower-cases the UTF-8 text [begin, end) into buf (at most buf_size - 1 bytes, whole
 * characters only, then a terminator); returns buf. */
char* utf8_convert_str_seg_to_lower(char* buf, int buf_size, const char* begin, const char* end);
/* The same into *buf, reallocated to (end - begin) * 4 + 1 bytes; returns *buf. */
char* utf8_convert_str_to_lower(char** buf, const char* begin, const char* end);
/* [begin, end) with its first character upper-cased, in a new buffer that replaces (and
 * frees) *dst; returns it. */
char* utf8_convert_str_first_letter_to_upper(char** dst, const char* begin, const char* end);

int utf32_strlen(const UTF32* s);
/* Copies src with its terminator; returns the number of characters copied. */
int utf32_strcpy(UTF32* dst, const UTF32* src);
/* Copies at most n characters and terminates; returns their number (n < 1: empty, 0). */
int utf32_strncpy(UTF32* dst, const UTF32* src, int n);
/* Appends src; returns the new length of dst. */
int utf32_strcat(UTF32* dst, const UTF32* src);
/* Appends at most n characters of src and terminates. */
void utf32_strncat(UTF32* dst, const UTF32* src, int n);
/* A malloc'd copy; null for null. */
UTF32* utf32_strdup(const UTF32* s);
/* Frees *p and stores s (ownership passes in). */
void utf32_safe_str_occupy(UTF32** p, UTF32* s);
/* Frees *p and stores a copy of s (null for null). */
void utf32_safe_str_assign(UTF32** p, const UTF32* s);

/* Text editing: remove the character before pos; insert c at pos (the buffer holds at least
 * text_len + 2 elements); replace the character at pos. */
void utf32_remove_prev_char(UTF32* text, int pos);
void utf32_insert_char(UTF32* text, int text_len, int pos, UTF32 c);
void utf32_replace_char(UTF32* text, int pos, UTF32 c);

/* A new UTF-32 string from a zero-terminated string in the named encoding. */
UTF32* utf32_create_from_utf8(const char* source_utf8);
UTF32* utf32_create_from_cp1250(const char* source);
UTF32* utf32_create_from_cp1251(const char* source);
UTF32* utf32_create_from_cp1252(const char* source);
UTF32* utf32_create_from_cp1253(const char* source);
UTF32* utf32_create_from_cp1254(const char* source);
UTF32* utf32_create_from_cp1255(const char* source);
UTF32* utf32_create_from_cp1256(const char* source);
UTF32* utf32_create_from_cp1257(const char* source);
UTF32* utf32_create_from_cp1258(const char* source);
UTF32* utf32_create_from_big5(const char* source);
UTF32* utf32_create_from_gb2312(const char* source);
UTF32* utf32_create_from_euckr(const char* source);

/* Decodes src into dst (room for max + 1 elements) and terminates; returns the number of code
 * points written. The code-page variants convert min(strlen(src), max) bytes; the UTF-8 one
 * decodes at most min(strlen(src), max) code points. */
int utf32_copy_from_utf8(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1250(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1251(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1252(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1253(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1254(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1255(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1256(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1257(UTF32* dst, const char* src, int max);
int utf32_copy_from_cp1258(UTF32* dst, const char* src, int max);
int utf32_copy_from_big5(UTF32* dst, const char* src, int max);
int utf32_copy_from_gb2312(UTF32* dst, const char* src, int max);
int utf32_copy_from_euckr(UTF32* dst, const char* src, int max);

/* A new zero-terminated string in the named encoding; characters the encoding lacks
 * become "?". */
char* utf32_convert_to_utf8(const UTF32* source_utf32);
char* utf32_convert_to_cp1250(const UTF32* source_utf32);
char* utf32_convert_to_cp1251(const UTF32* source_utf32);
char* utf32_convert_to_cp1252(const UTF32* source_utf32);
char* utf32_convert_to_cp1253(const UTF32* source_utf32);
char* utf32_convert_to_cp1254(const UTF32* source_utf32);
char* utf32_convert_to_cp1255(const UTF32* source_utf32);
char* utf32_convert_to_cp1256(const UTF32* source_utf32);
char* utf32_convert_to_cp1257(const UTF32* source_utf32);
char* utf32_convert_to_cp1258(const UTF32* source_utf32);
char* utf32_convert_to_big5(const UTF32* source_utf32);
char* utf32_convert_to_gb2312(const UTF32* source_utf32);
char* utf32_convert_to_euckr(const UTF32* source_utf32);

VONA_END_DECLS

#endif
