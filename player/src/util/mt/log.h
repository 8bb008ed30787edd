/* The process log.
 *
 * Lines go to standard error, to the system log, or (with LOG_DIR set and
 * log_redirect_to_file called) to a log file that is rotated to "<file>.old" once it grows
 * past LOG_MAX_FILE_SIZE bytes (default 102400; 0 or less turns rotation off). A line reads
 *   [PID] [tTHREAD] [YYYY-MM-DD hh:mm:ss.uuuuuu] MESSAGE
 * with the time in UTC.
 *
 * The log keeps process-wide state without a lock of its own. Programs that log from several
 * threads install lock callbacks: every call below except log_debug and log_set_lock_functions
 * runs between one call of the lock function and one call of the unlock function. */
#ifndef VONAUTIL_LOG_H
#define VONAUTIL_LOG_H

#include <stdarg.h>

#include "export.h"

VONA_BEGIN_DECLS

/* Writes one log line; returns the length of the formatted message (without the prefix). */
int log_print(const char* format, ...) VONA_PRINTF(1, 2);
int log_vprint(const char* format, va_list args) VONA_PRINTF(1, 0);

/* Writes one line with the short stamp DDhhmmss (UTC) directly before the message. */
void log_print_tight(const char* format, ...) VONA_PRINTF(1, 2);

/* Debug logging is compiled out of this build: does nothing. */
void log_debug(const char* format, ...) VONA_PRINTF(1, 2);

/* Logs "TEXT: strerror(errno)" followed by an empty line. */
void log_perror(const char* text);

/* Logs one line "argv[I] = 'ARG'" per argument. */
void log_print_args(int argc, char* const argv[]);

/* Makes standard output line-buffered; then, when LOG_DIR is set, moves standard output and
 * standard error to LOG_DIR/file_name (appending, or overwriting from the start without
 * shortening the file) and rotates it at once if it is already too big. Without LOG_DIR the
 * log stays where it is. A file that cannot be opened is replaced by /dev/null. */
void log_redirect_to_file(const char* file_name, int append);

/* Moves standard error alone to `path`; the file is never rotated. */
void log_redirect_stderr_to_file(const char* path, int append);

/* Renames the log file to "<file>.old" and starts a new one when the current one has grown
 * past the maximum size. Writing lines never rotates by itself. */
void log_rotate_if_needed(void);

/* Sends the following lines to the system log under `ident` (until the next redirection to
 * a file). */
void log_redirect_to_syslog(const char* ident);

/* Installs the lock callbacks; either may be null. */
void log_set_lock_functions(void (*lock)(void), void (*unlock)(void));

VONA_END_DECLS

#endif
