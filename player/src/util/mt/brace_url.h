/* Brace URLs: a scheme name and "://", followed either by a plain value or by key/value pairs
 * written back to back, each "{" KEY "=" VALUE "}".
 *
 * A key is one or more alphanumeric characters or "_". A value runs to the "}" that closes its
 * pair: "{" and "}" inside it nest, and a backslash makes the next character literal (the value
 * is then marked as escaped). Example: plugin_launcher://{id=radio}{title=Jazz \{live\}} */
#ifndef VONAUTIL_BRACE_URL_H
#define VONAUTIL_BRACE_URL_H

#include "common.h"
#include "export.h"

VONA_BEGIN_DECLS

/* The text after "scheme://" when url starts with the scheme name immediately followed by
 * "://"; otherwise null. */
const char* brace_url_open(const char* url, const char* scheme);

/* Reads the pair at *cursor_in_out and moves the cursor past its closing brace. At the end of
 * the text the key is empty. Returns 1 for a pair or the end, 0 for a malformed pair (the
 * outputs are then undefined). *escaped_out tells whether the value holds a backslash. */
int brace_url_read_next_pair(const char** cursor_in_out, str_seg* key_out, str_seg* value_out, int* escaped_out);

/* A new string: the value's length characters with every backslash removed (so an escaped
 * backslash disappears too). */
char* brace_url_unescape_value(const char* value, int length);

VONA_END_DECLS

#endif
