/* Growable byte buffers and formatting to the heap:
 *   str_buf        a plain growable character buffer with formatted and JSON-escaped appends;
 *   vsprintf_*     formatting into a heap buffer of any length;
 *   the shared-string pool behind the "_shared" text functions;
 *   octet_stream   a bounds-checked cursor that writes or reads binary records in a caller's
 *                  fixed buffer. */
#ifndef VONAUTIL_STRING_BUFFER_H
#define VONAUTIL_STRING_BUFFER_H

#include <stdarg.h>

#include "export.h"

VONA_BEGIN_DECLS

/* ---- str_buf ------------------------------------------------------------------------------
 * A caller-provided record; zero-initialised it is an empty buffer. The data is not
 * NUL-terminated unless a function says so. The caller releases it with free(sb.data). */
typedef struct str_buf {
  char* data;   /* heap bytes */
  int length;   /* bytes in use */
  int capacity; /* allocated bytes */
} str_buf;

/* Makes room for `needed` bytes: a buffer without storage gets max(64, needed) bytes, a
 * buffer with storage doubles its capacity until it is at least `needed`. */
void str_buf_ensure_capacity(str_buf* sb, int needed);

/* Appends the formatted text; output longer than 1023 bytes is cut to 1023 bytes. */
void str_buf_append_fmt(str_buf* sb, const char* format, ...) VONA_PRINTF(2, 3);

/* Appends `text` as a JSON string literal: in double quotes, with \b \t \n \f \r \" \\ escaped,
 * other bytes 1 to 31 as \u00XX (upper-case hexadecimal), and every other byte, UTF-8
 * included, as it is. Asserts "text". Does not NUL-terminate. */
void str_buf_append_json_string(str_buf* sb, const char* text);

/* Removes `len` bytes at offset `from`. Asserts "from >= 0", "len >= 0" and
 * "from + len <= sb->length". */
void str_buf_remove(str_buf* sb, int from, int len);

/* Writes the text (up to its first NUL; the data is NUL-terminated first) to a file that is
 * created or truncated; not atomic. 1 on success; 0 after printing "Unable to create %s" or
 * "Unable to write to %s" and the system's error text to standard error. */
int str_buf_write_to_file(str_buf* sb, const char* path);

/* ---- formatting to the heap ---------------------------------------------------------------
 * vsprintf_shared / sprintf_shared format into *buffer, a heap buffer that the caller owns
 * (null at first) and may pass again to the next call: it is reallocated to 64 bytes, then to
 * the first of 128, 256, ... bytes that holds the text, and the text is returned (it is
 * *buffer). The caller frees *buffer with free() when done with it. No argument may point into
 * *buffer, which moves.
 * vsprintf_new / sprintf_new do the same in a fresh buffer that the caller frees.
 * A formatting error prints "vsprintf_shared failed: ..." on standard output and aborts. */
char* vsprintf_shared(char** buffer, const char* format, va_list args) VONA_PRINTF(2, 0);
char* sprintf_shared(char** buffer, const char* format, ...) VONA_PRINTF(2, 3);
char* vsprintf_new(const char* format, va_list args) VONA_PRINTF(1, 0);
char* sprintf_new(const char* format, ...) VONA_PRINTF(1, 2);

/* ---- shared-string pool -------------------------------------------------------------------
 * Takes ownership of the heap string `s` (from malloc) and returns it; the caller never frees
 * it. The pool is per thread and keeps the last 16 strings handed to it by that thread: a
 * string stays valid until 16 further strings have been handed to the pool on the same thread,
 * or until the thread exits, whichever comes first. Copy a text that must live longer.
 * Null gives null. The "_shared" text functions of the library return their results this way. */
const char* debug_get_shared_string(char* s);

/* ---- octet_stream -------------------------------------------------------------------------
 * A caller-provided record over a caller's buffer. A failed write or read prints a message on
 * standard error and leaves cursor and remaining unchanged. */
typedef struct octet_stream {
  unsigned char* base;          /* start of the buffer */
  long long reserved;           /* 0, unused */
  unsigned char* cursor;        /* next byte */
  unsigned long long remaining; /* bytes left after the cursor */
} octet_stream;

/* Zero-fills `size` bytes of `buffer` and puts the cursor at its start. */
void octet_stream_init_writing(octet_stream* os, void* buffer, unsigned long long size);
/* Puts the cursor at the start of `size` bytes of `buffer`. */
void octet_stream_init_reading(octet_stream* os, const void* buffer, unsigned long long size);

/* Copies item_size * count bytes to the cursor: 1, or 0 when they do not fit. */
int octet_stream_write(octet_stream* os, const void* data, int item_size, int count);
/* Writes a 32-bit value in the machine's byte order: 1, or 0 when fewer than 4 bytes are left. */
int octet_stream_write_int(octet_stream* os, int value);
/* Copies item_size * count bytes from the cursor: 1, or 255 (not 0) when not enough are left. */
int octet_stream_read(octet_stream* os, void* dst, int item_size, int count);

VONA_END_DECLS

#endif
