/* Big5, GB2312 and EUC-KR <-> UTF-32 through the C library's iconv.
 *
 * Each thread has its own conversion descriptors (an iconv descriptor keeps shift state and
 * must not be shared): two per iconv index, to UTF-32 and from UTF-32, opened on the
 * thread's first request and closed when the thread ends. The iconv indexes are
 * 0 "UTF-8", 1 "CP950" (Big5), 2 "CP936" (GB2312), 3 "EUC-KR"; the UTF-32 side is
 * "UCS-4-INTERNAL" (code points in host byte order; UCS-4 in host byte order where iconv
 * does not know that name). Bytes that do not convert become "?". */
#ifndef VONAUTIL_ICONV_UTILS_H
#define VONAUTIL_ICONV_UTILS_H

#include <iconv.h>

#include "convert_utf.h"
#include "export.h"

#define MAX_ICONV_ENCODINGS 4

VONA_BEGIN_DECLS

/* The calling thread's descriptor from iconv index `enc` to UTF-32, or back. An encoding
 * that iconv refuses is fatal. */
iconv_t iconv_utils_get_to_utf32_conversion_descriptor(int enc);
iconv_t iconv_utils_get_from_utf32_conversion_descriptor(int enc);

/* Converts the whole of `source` into at most `max` code points of `target` (room for
 * max + 1), terminates and returns the number written. */
int iconv_utils_copy_to_utf32(iconv_t descriptor, UTF32* target, const char* source, int max);
/* A new UTF-32 string of strlen(source) + 1 elements. */
UTF32* iconv_utils_convert_to_utf32(iconv_t descriptor, const char* source);
/* A new string of bytes_per_char * length + 1 bytes. */
char* iconv_utils_convert_from_utf32(iconv_t descriptor, int bytes_per_char, const UTF32* source_utf32);

VONA_END_DECLS

#endif
