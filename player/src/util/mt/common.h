/* Basic tools of the library: the assertion convention for programming errors, string
 * segments, scalar parsers, in-place editing, tokenisers,
 * hexadecimal, natural orders, choice-string tables and animation interpolation. */
#ifndef VONAUTIL_COMMON_H
#define VONAUTIL_COMMON_H

#include "export.h"

VONA_BEGIN_DECLS

/* The library's version, "MAJOR.MINOR.PATCH". */
const char* vonautil_version(void);

/* Reports a failed assertion on standard error as
 *   MODULE:LINE: FUNCTION: Assertion `EXPRESSION' failed.
 * and aborts. MODULE is the source path without its extension, from "player/" on
 * (for example "player/src/util/mt/properties"). Called through MY_ASSERT. */
VONA_NORETURN void MY_assertion_failed(const char* file, int line, const char* function,
                                       const char* expression);

/* ---- String segments ------------------------------------------------------------------
 * A borrowed view into text that the segment does not own: passed and returned by value,
 * not NUL-terminated. A length of 0 or less is an empty segment. */
typedef struct {
  const char* start;
  int length;
} str_seg;

/* The segment over the whole of a C string. Asserts "c_str". */
str_seg str_to_seg(const char* c_str);

/* Trimming returns a shorter segment into the same text. White space and letters are those
 * of the C locale; with non_ascii_is_alpha non-zero, bytes above 127 count as letters. */
str_seg str_seg_trim_right(str_seg seg);
str_seg str_seg_strip(str_seg seg);
str_seg str_seg_trim_nonalpha_right(str_seg seg, int non_ascii_is_alpha);
str_seg str_seg_trim_nonalpha_left(str_seg seg, int non_ascii_is_alpha);

/* 1 if the segment is empty or all white space. */
int str_seg_is_spaces(str_seg seg);
/* 1 if the segment is empty or each of its characters occurs in charset. */
int str_seg_consists_of_chars(str_seg seg, const char* charset);
/* Pointers to the first or last ch, or to the first character found in charset; null when
 * there is none. */
const char* str_seg_get_first_char(str_seg seg, char ch);
const char* str_seg_get_last_char(str_seg seg, char ch);
const char* str_seg_get_first_char_multi(str_seg seg, const char* charset);
/* str_parse_int of the segment's first 31 characters at most. */
int str_seg_parse_int(str_seg seg, int default_value);

/* ---- Scalar parsers ---------------------------------------------------------------------
 * Each returns default_value for a null or empty string and for anything that does not
 * parse completely: leading white space and a sign are accepted, trailing characters (even
 * spaces) are not. Out-of-range numbers saturate at the limits of the type. */
int str_parse_int(const char* str, int default_value);
long long str_parse_long_long(const char* str, long long default_value);
double str_parse_double(const char* str, double default_value);
/* "yes" gives 1, "no" gives 0, in any case. */
int str_parse_bool(const char* str, int default_value);
/* Exactly 6 characters that read wholly as one hexadecimal number below 0x1000000: the
 * 24-bit colour, red in the high byte. */
int str_parse_color_rgb(const char* str, int default_value);

/* ---- Editing strings in place ---------------------------------------------------------- */

/* Overwrite trailing white space with NULs; return str. */
char* str_trim_right(char* str);
char* str_cut_trailing_whitespace(char* str);
/* Pointer to the first character that is not white space; str is not changed. */
char* str_trim_left(char* str);
/* Trim the right end, then move the text left over its leading white space; return str. */
char* str_strip(char* str);
/* Change case byte by byte (A-Z and a-z only); return str. */
char* str_to_lower(char* str);
char* str_to_upper(char* str);
/* If str starts with prefix, remove it and return 1; else 0. */
int str_remove_prefix(char* str, const char* prefix);
/* If str has at least n characters, remove the first n and return 1; else 0. */
int str_remove_first_n_chars(char* str, int n);
/* 1 if any byte is above 127. */
int str_contains_non_ascii(const char* str);
/* *str is malloc'd (or null, read as empty); it is reallocated to prefix followed by the old
 * text, which is returned. */
char* str_add_prefix(char** str, const char* prefix);
/* *str is malloc'd. Replaces the first old_text at or after byte offset from_offset with
 * new_text and returns the offset just after the inserted text; -1 when there is none. */
int str_replace(char** str, int from_offset, const char* old_text, const char* new_text);
/* Replaces every old_text from the start on; inserted text is never searched again. Returns
 * the number of replacements (0, and nothing changed, for an empty old_text). */
int str_replace_all(char** str, const char* old_text, const char* new_text);

/* Insert ch at pos of the text_len characters of text, moving the rest and its terminator
 * one place right; the caller guarantees the room. */
void MY_insert_char(char* text, int text_len, int pos, char ch);
/* Remove the character before pos. */
void MY_remove_prev_char(char* text, int pos);
/* Overwrite the character at pos. */
void MY_replace_char(char* text, int pos, char ch);
/* *dst = malloc(capacity * item_size) (null when capacity < 1), then copy count items of
 * src into it when count >= 1. The previous *dst is not freed. Returns *dst. */
void* MY_memcpy(void** dst, const void* src, int capacity, int count, int item_size);

/* ---- Tokenisers ---------------------------------------------------------------------------
 * *cursor advances through the text; null means the text is used up (the next token is then
 * an empty segment over a static empty string). */

/* The text up to the next delimiter string, or the rest of the text (the cursor becomes
 * null). "a,,b" by "," gives "a", "", "b". */
str_seg str_next_token(char** cursor, const char* delimiter);
/* Separators are the single characters of charset. With exclude_separators non-zero the
 * token stops before a run of separators, which is skipped (a run that ends the text leaves
 * the cursor on the terminator, and the following call gives one empty token). With 0 the
 * token includes the run that follows it, so the tokens laid end to end give the text. */
str_seg str_next_token_by_charset(char** cursor, const char* charset, int exclude_separators);

/* ---- Hexadecimal ------------------------------------------------------------------------- */

/* 0-9 for "0"-"9", 10-15 for "a"-"f" and "A"-"F", else -1. */
int hex_char_to_nibble(char c);
/* Writes 2 * n upper-case digits and a terminator into out; returns out. */
char* byte_array_to_hex_str(const unsigned char* bytes, int n, char* out);
/* Each pair of digits becomes a byte of out. Returns 0, or -1 for an odd length or an
 * invalid digit (the bytes before it are written). */
int hex_str_to_byte_array(const char* str, unsigned char* out);

/* ---- Natural orders ---------------------------------------------------------------------- */

/* Sort comparator over an array of char* (both arguments point to a char*): digit runs
 * compare by value and sort before other characters, which compare as unsigned bytes; the
 * character after two equal numbers is passed over ("a10b" equals "a10c"). */
int str_nat_cmp(const void* a_ptr, const void* b_ptr);
/* Case-insensitive natural order of two strings: digit runs compare by their 64-bit value
 * (digit by digit when too long to read), other characters after tolower. */
int alnum_cmp(const char* a, const char* b);

/* ---- Choice-string tables ----------------------------------------------------------------
 * A table is a function from an index to a constant string, null past the last entry. */
typedef const char* (*choice_string_func)(int value);

const char* get_yes_no_choice_string_by_value(int value);            /* "yes", "no" */
const char* get_no_yes_choice_string_by_value(int value);            /* "no", "yes" */
const char* get_auto_yes_no_choice_string_by_value(int value);       /* "auto", "yes", "no" */
const char* get_enabled_disabled_choice_string_by_value(int value);  /* "enabled", "disabled" */
/* The number of entries: the first index that gives null. */
int get_num_items_by_func(choice_string_func func);
/* The first index whose string equals str exactly; default_value when str is null or absent. */
int get_index_by_func_and_string(choice_string_func func, const char* str, int default_value);

/* ---- Animation ----------------------------------------------------------------------------- */

/* The value at step of an animation from `from` to `to` in num_steps steps: linear for an
 * odd num_steps, easing in and out (quadratic) for an even one. Above 5 steps the first step
 * repeats the start. */
int get_intermediate_int_sqr(int from, int to, int step, int num_steps);

VONA_END_DECLS

/* Checks a programming precondition; the report quotes the expression as written. */
#define MY_ASSERT(expr) ((expr) ? (void)0 : MY_assertion_failed(__FILE__, __LINE__, __func__, #expr))

#ifdef __cplusplus
/* The same check, reporting the function by its full C signature
 * ("int string_set_add(C_StringSet*, const char*)"), as the containers do. */
#define MY_ASSERT_SIGNATURE(expr) \
  ((expr) ? (void)0 : MY_assertion_failed(__FILE__, __LINE__, __PRETTY_FUNCTION__, #expr))
#endif

#endif
