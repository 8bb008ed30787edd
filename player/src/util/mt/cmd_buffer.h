/* cmd_buffer: collects the output of a child process in memory.
 *
 * A buffer from cmd_buffer_create() has all fields zero and must be reset before anything is
 * appended. cmd_buffer_cmd_callback is an output callback for cmd_utils_run_cmd with the
 * buffer as its user pointer:
 *
 *   cmd_buffer* out = cmd_buffer_create();
 *   cmd_buffer_reset(out, 0);
 *   cmd_result r = cmd_utils_run_cmd(args, cmd_buffer_cmd_callback, out);
 *   char* text = cmd_buffer_release(out);   (the caller frees text) */
#ifndef VONAUTIL_CMD_BUFFER_H
#define VONAUTIL_CMD_BUFFER_H

#include "common.h"
#include "export.h"

VONA_BEGIN_DECLS

typedef struct cmd_buffer {
  char* data;   /* owned bytes, may be null */
  int capacity; /* allocated bytes */
  int length;   /* bytes collected */
  int echo;     /* non-zero: the callbacks also write every byte to standard output */
} cmd_buffer;

/* A buffer with all fields zero (no data, capacity 0): reset it before appending. */
cmd_buffer* cmd_buffer_create(void);
/* Frees the data and starts over with an empty 1024-byte block; sets echo. */
void cmd_buffer_reset(cmd_buffer* buf, int echo);
/* Appends `length` bytes (nothing for 0 or less). The capacity doubles until the bytes fit.
 * Asserts "self->capacity > 0" (the buffer was reset). */
void cmd_buffer_add_seg(cmd_buffer* buf, const char* bytes, int length);
/* Strips leading and trailing white space of the collected text in place (str_strip); the
 * text ends at its first NUL afterwards. A buffer without data is left alone. */
void cmd_buffer_strip(cmd_buffer* buf);
/* A segment over the collected bytes (owned by the buffer). */
void cmd_buffer_get_seg(const cmd_buffer* buf, str_seg* seg);
/* NUL-terminates the collected bytes (growing the block if needed) and returns them; the
 * buffer keeps ownership. */
char* cmd_buffer_get_str(cmd_buffer* buf);
/* Frees the buffer record and returns its data as a NUL-terminated string that the caller
 * frees; a buffer without data gives a new empty string. */
char* cmd_buffer_release(cmd_buffer* buf);

/* Output callbacks for cmd_utils_run_cmd; `buf` is the cmd_buffer. With echo on, the bytes are
 * written to standard output first; then they are appended. Both return 0 (never cancel). */
int cmd_buffer_cmd_callback(void* buf, const char* bytes, int length);
/* The same, then progress_heartbeat() (once per call, so also while the child is silent). */
int cmd_buffer_cmd_callback_with_progress(void* buf, const char* bytes, int length);

VONA_END_DECLS

#endif
