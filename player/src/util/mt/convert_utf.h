/* Conversion between UTF-8, UTF-16 and UTF-32 with exact reporting of ill-formed input.
 *
 * Each routine converts from *source_start up to source_end into *target_start up to
 * target_end, advances both start pointers over what it consumed and produced, and tells why
 * it stopped. Under strictConversion, surrogate code points in the source are errors; under
 * lenientConversion they are passed through or replaced by U+FFFD as each routine says. */
#ifndef VONAUTIL_CONVERT_UTF_H
#define VONAUTIL_CONVERT_UTF_H

#include "export.h"

typedef unsigned int UTF32;   /* one code point */
typedef unsigned short UTF16; /* one UTF-16 unit */
typedef unsigned char UTF8;   /* one UTF-8 byte */

typedef enum {
  conversionOK = 0,    /* the whole source was converted */
  sourceExhausted = 1, /* the source ends inside a multi-byte or surrogate sequence */
  targetExhausted = 2, /* no room in the target; the source is left at the first unconverted character */
  sourceIllegal = 3    /* ill-formed input; the source is left at the offending sequence */
} ConversionResult;

typedef enum { strictConversion = 0, lenientConversion = 1 } ConversionFlags;

VONA_BEGIN_DECLS

ConversionResult ConvertUTF8toUTF32(const UTF8** source_start, const UTF8* source_end, UTF32** target_start,
                                    UTF32* target_end, ConversionFlags flags);
ConversionResult ConvertUTF8toUTF16(const UTF8** source_start, const UTF8* source_end, UTF16** target_start,
                                    UTF16* target_end, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF8(const UTF16** source_start, const UTF16* source_end, UTF8** target_start,
                                    UTF8* target_end, ConversionFlags flags);
ConversionResult ConvertUTF16toUTF32(const UTF16** source_start, const UTF16* source_end, UTF32** target_start,
                                     UTF32* target_end, ConversionFlags flags);
ConversionResult ConvertUTF32toUTF8(const UTF32** source_start, const UTF32* source_end, UTF8** target_start,
                                    UTF8* target_end, ConversionFlags flags);
ConversionResult ConvertUTF32toUTF16(const UTF32** source_start, const UTF32* source_end, UTF16** target_start,
                                     UTF16* target_end, ConversionFlags flags);

/* 1 when the sequence starting at `source` (its length taken from the lead byte) lies wholly
 * before `source_end` and is well-formed UTF-8, else 0. */
int isLegalUTF8Sequence(const UTF8* source, const UTF8* source_end);

VONA_END_DECLS

#endif
