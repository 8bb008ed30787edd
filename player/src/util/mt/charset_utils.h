/* The nine Windows code pages CP1250 to CP1258: byte <-> code point tables, UTF-8 <-> UTF-32
 * string conversion, and the case maps and sort order of CP1251.
 *
 * Each table is the published code page with its undefined positions filled: CP1251 0x98 is
 * U+0020; CP1250, CP1252, CP1253, CP1254 and CP1255 give "?" (U+003F) for every undefined
 * byte; CP1257 and CP1258 give the C1 control equal to the byte, except CP1257 0xA1 -> U+F8FC
 * and 0xA5 -> U+F8FD. A code point maps back to the first (lowest) byte whose entry equals it. */
#ifndef VONAUTIL_CHARSET_UTILS_H
#define VONAUTIL_CHARSET_UTILS_H

#include "convert_utf.h"
#include "export.h"

VONA_BEGIN_DECLS

/* Byte -> code point. */
UTF32 charset_convert_char_cp1250_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1251_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1252_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1253_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1254_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1255_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1256_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1257_to_utf32(unsigned char c);
UTF32 charset_convert_char_cp1258_to_utf32(unsigned char c);

/* `len` bytes -> `len` code points; nothing for len < 1; no terminator is written. */
void charset_convert_str_cp1250_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1251_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1252_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1253_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1254_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1255_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1256_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1257_to_utf32(const char* source, UTF32* target, int len);
void charset_convert_str_cp1258_to_utf32(const char* source, UTF32* target, int len);

/* Code point -> the first byte that maps to it, or "?" (0x3F) when none does. */
unsigned char charset_convert_char_utf32_to_cp1250(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1251(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1252(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1253(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1254(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1255(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1256(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1257(UTF32 c);
unsigned char charset_convert_char_utf32_to_cp1258(UTF32 c);

/* Code point -> the first CP1251 byte that maps to it, or `fallback` when none does
 * (-1 tells that a character is not in CP1251). */
int charset_do_convert_char_utf32_to_cp1251(UTF32 c, int fallback);

/* `len` code points -> `len` bytes, "?" for code points outside the code page. */
void charset_convert_str_utf32_to_cp1250(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1251(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1252(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1253(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1254(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1255(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1256(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1257(const UTF32* source, char* target, int len);
void charset_convert_str_utf32_to_cp1258(const UTF32* source, char* target, int len);

/* Decodes the zero-terminated UTF-8 string into at most `max_target_len` code points and
 * returns their number (no terminator is written). An ill-formed or truncated sequence gives
 * "?" and decoding goes on from its next byte. Meeting an ill-formed sequence when the target
 * is already full is a programming error: the source is always read to its terminator. */
int charset_convert_str_utf8_to_utf32(const char* source_utf8, UTF32* target_utf32, int max_target_len);

/* Encodes `len` code points as UTF-8 into at most `target_size` bytes (no terminator) and
 * returns the number of bytes written; stops before the first character that does not fit.
 * Surrogates are written as they stand, values above U+10FFFF as U+FFFD. */
int charset_convert_str_utf32_to_utf8(const UTF32* source_utf32, int len, char* target_utf8, int target_size);

/* CP1251 case maps: lower case changes exactly A-Z, 0xA8 (Ё) and 0xC0-0xDF (А-Я); upper case
 * is its inverse, built on first use. The in-place string functions take zero-terminated
 * strings; only the first byte is upper-cased by the first-letter function. */
unsigned char charset_convert_char_to_lower_cp1251(unsigned char c);
void charset_convert_str_to_lower_cp1251(char* s);
void charset_initialize_cp1251_to_upper_map_if_needed(void);
unsigned char charset_convert_char_to_upper_cp1251(unsigned char c);
void charset_convert_str_first_letter_to_upper_cp1251(char* s);

/* The sort weight of a CP1251 byte: Latin letters 256 + (b & 31) and Cyrillic А-я
 * 288 + (b & 31), both case-insensitive; Ё and ё sort as Е (293); every other byte weighs
 * its own value. */
int charset_get_order_value_cp1251(unsigned char c);
/* Compares two zero-terminated CP1251 strings byte by byte by their sort weights. */
int charset_compare_str_cp1251(const char* a, const char* b);

VONA_END_DECLS

#endif
