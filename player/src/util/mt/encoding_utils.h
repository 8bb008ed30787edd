/* Text by encoding number, and the conversions between the internal encoding (UTF-8) and an
 * external one (the encoding a file system or device expects).
 *
 * Encoding numbers: 0 "utf8", 1-9 "cp1250"-"cp1258", 10 "big5", 11 "gb2312", 12 "euckr";
 * every other number is named "unknown" and converted as UTF-8.
 *
 * Holder rule of the MY_ conversions: when a conversion takes place the result is stored in
 * *holder (its previous string freed) and returned; when none is needed (encoding 0) the
 * source itself is returned and *holder is left alone. */
#ifndef VONAUTIL_ENCODING_UTILS_H
#define VONAUTIL_ENCODING_UTILS_H

#include "convert_utf.h"
#include "export.h"

VONA_BEGIN_DECLS

/* "utf8", "cp1250", ..., "euckr", or "unknown". */
const char* encoding_to_string(int enc);

/* utf32_create_from_*, utf32_convert_to_* and utf32_copy_from_* of the given encoding. */
UTF32* convert_string_to_utf32(const char* source, int enc);
char* convert_string_from_utf32(const UTF32* source_utf32, int enc);
int copy_string_to_utf32(UTF32* dst, const char* src, int max, int enc);

/* UTF-8 -> `enc`, and back, under the holder rule. */
const char* MY_convert_string_to_external(char** holder, const char* s, int enc);
const char* MY_convert_string_from_external(char** holder, const char* s, int enc);
/* Like MY_convert_string_from_external, but *buf always ends owning its text: without a
 * conversion it is replaced by a copy of s. Returns *buf. */
char* MY_convert_string_from_external_into_buf(char** buf, const char* s, int enc);
/* A new UTF-8 string owned by the caller. */
char* MY_string_from_external(const char* s, int enc);
/* The converted text from the shared-string pool (the caller frees nothing), or s itself
 * when no conversion is needed. */
const char* MY_string_to_external_shared(const char* s, int enc);
const char* MY_string_from_external_shared(const char* s, int enc);

/* The internal encoding is UTF-8: these are the utf8_ and utf32_ functions under their
 * general names. */
int MY_strlen(const char* s);
UTF32 MY_get_next_char(const char** begin, const char* end);
int MY_strcmp(const char* a, const char* b);
char* MY_convert_str_seg_to_lower(char* buf, int buf_size, const char* begin, int len);
char* MY_convert_str_to_lower(char** buf, const char* s);
char* MY_convert_str_first_letter_to_upper(char** buf, const char* s);
int MY_utf32_copy_from_internal(UTF32* dst, const char* src, int max);
UTF32* MY_utf32_create_from_internal(const char* source);
char* MY_utf32_convert_to_internal(const UTF32* source_utf32);

VONA_END_DECLS

#endif
