/* Running external programs.
 *
 * safe_system* go through the shell; cmd_utils_popen, cmd_utils_run_cmd and
 * cmd_utils_run_cmd_write fork and execute a program directly: argument 0 is the path of the
 * executable, used as it is (no PATH search), the whole array is the argument vector and the
 * environment is the caller's. The child runs in a process group of its own, connected to
 * the caller by one pipe.
 *
 * The two runners supervise the child with a loop that consults the caller's callbacks at
 * least every 200 ms, so a caller can give up on a silent child. A run that ends early
 * (cancelled, or a failing pipe) sends SIGTERM to the child, never a stronger signal, and then
 * waits for it:
 *   - cmd_utils_run_cmd waits without limit, logging "still waiting for '%s' (pid %d)..."
 *     every 4 seconds (every 20th 200-ms poll);
 *   - cmd_utils_run_cmd_write gives up after 50 polls (about 10 seconds), logs "Warning:
 *     breaking infinite loop." (unless quiet) and returns WaitFailed with EAGAIN, unless the
 *     run already ended with another status (a cancelled run stays Cancelled). The child is
 *     then left running (it ignores SIGTERM) and is the caller's to deal with.
 * Once the child has exited, it is reaped at once; the 200-ms period is the longest pause,
 * not a fixed cost of every run.
 *
 * No function here keeps state, so all may be called from any thread. Every pipe is created
 * close-on-exec, so a child started by another thread at the same time does not inherit it.
 * cmd_utils_run_cmd_write ignores SIGPIPE for the whole process while it runs (and leaves it
 * ignored when the run fails). */
#ifndef VONAUTIL_CMD_UTILS_H
#define VONAUTIL_CMD_UTILS_H

#include <stdio.h>
#include <sys/types.h>

#include "basic_string_array.h"
#include "common.h"
#include "export.h"

VONA_BEGIN_DECLS

typedef enum cmd_status {
  CMD_OK = 0,            /* "OK": the child exited; its exit code is in the result */
  CMD_FAILED = 1,        /* "Failed": the child was ended by a signal */
  CMD_OPEN_FAILED = 2,   /* "OpenFailed": pipe or fork could not be set up */
  CMD_SELECT_FAILED = 3, /* "SelectFailed": waiting for the pipe failed */
  CMD_READ_FAILED = 4,   /* "ReadFailed": reading the child's output failed */
  CMD_WRITE_FAILED = 5,  /* "WriteFailed": writing the child's input failed */
  CMD_WAIT_FAILED = 6,   /* "WaitFailed": reaping the child failed or timed out */
  CMD_CLOSE_FAILED = 7,  /* "CloseFailed": closing the pipe failed */
  CMD_CANCELLED = 8      /* "Cancelled": a callback asked to stop */
} cmd_status;

typedef struct cmd_result {
  cmd_status status;
  int error;       /* errno at the failure, 0 when none */
  int exit_status; /* the child's exit code when status is CMD_OK, else 0 */
} cmd_result;

/* The names above; "!invalid!" for any other value. */
const char* cmd_status_to_string(cmd_status status);

/* Prints one line to standard output:
 *   OK               "LABEL: OK (exit status = N)"
 *   2 to 7           "LABEL: NAME (TEXT)" with TEXT = strerror(errno) of the calling thread's
 *                    current errno, not of result.error
 *   anything else    "LABEL: NAME" */
void cmd_result_dump(cmd_result result, const char* label);

/* Starts the program of cmd_args (at least one item) as a child and returns a stream on the
 * pipe to it, or null (errno set) when the pipe or the fork failed. *pid receives the child's
 * pid; the caller reaps it. `type` must begin with 'r' or 'w' (asserted):
 *   'r'  the stream reads the child's standard output and standard error together;
 *   'w'  the stream writes the child's standard input; with output_to_null the child's
 *        standard output and error go to /dev/null.
 * The stream is opened with `type` as its mode. When the program cannot be executed, the
 * child prints "cmd_utils_popen(): execve(PATH) failed!" (unless quiet) and exits with 1. */
FILE* cmd_utils_popen(const string_array* cmd_args, const char* type, pid_t* pid, int quiet, int output_to_null);

/* Called with each piece of the child's output: one byte, or an empty chunk (length 0) on
 * the first call, after every 200 ms without output, and for each NUL byte. Returns 1 to
 * cancel the run; any other value goes on. */
typedef int (*cmd_output_func)(void* user, const char* bytes, int length);

/* Runs the program with its standard output and error piped to on_output until the child
 * closes them, then reaps it. A nonexistent program gives {CMD_OK, 0, 1}. Asserts
 * "cmd_args->size >= 1". */
cmd_result cmd_utils_run_cmd(const string_array* cmd_args, cmd_output_func on_output, void* user);

/* Fills *chunk (start and length) with the next bytes for the child's input. The chunk is
 * empty ("" and 0) on the first call and keeps whatever the producer left in it after that;
 * an empty chunk ends the input (unless CMD_WRITE_EMPTY_IS_IDLE). Returns 1 to cancel. */
typedef int (*cmd_produce_func)(void* user, str_seg* chunk);
/* Told how many bytes of a chunk were written; returns 1 to cancel. */
typedef int (*cmd_written_func)(void* user, int count);

/* Flags of cmd_utils_run_cmd_write. */
enum {
  /* An empty chunk means that nothing is ready yet: produce is called again. */
  CMD_WRITE_EMPTY_IS_IDLE = 1,
  /* Check the child (without blocking) in every iteration and stop feeding once it has
   * exited; logs "(loop) Child PID exitted ...". */
  CMD_WRITE_POLL_CHILD = 2,
  /* Set close-on-exec on the caller's descriptors 3 to 255 first (for the whole process). */
  CMD_WRITE_CLOEXEC = 4,
  /* Make the pipe stream line-buffered. */
  CMD_WRITE_LINE_BUFFERED = 8,
  /* No log lines, and no execve message from the child. */
  CMD_WRITE_QUIET = 16,
  /* The child's standard output and error go to /dev/null. */
  CMD_WRITE_OUTPUT_TO_NULL = 32
};

/* Runs the program with its standard input fed from produce until an empty chunk (or the
 * child's exit with CMD_WRITE_POLL_CHILD), closes the pipe and reaps the child. Writing is
 * buffered by the stream: on_written counts bytes taken by the stream. A child that exits
 * before reading its input gives WriteFailed with EPIPE when a write reaches the pipe, or
 * just a logged warning when the rest of the input is flushed by the close. A lost child
 * (waitpid failing) gives CMD_CANCELLED. Asserts "cmd_args->size >= 1". */
cmd_result cmd_utils_run_cmd_write(const string_array* cmd_args, cmd_produce_func produce, cmd_written_func on_written,
                                   void* user, int flags);

/* Runs cmd_utils_run_cmd collecting the output (echoed to standard output as it comes) and
 * returns it as a new string that the caller frees: "" when there was none, never null. NUL
 * bytes of the output are dropped; the status of the run is not reported. */
char* run_cmd_and_capture_output(const string_array* cmd_args);

/* Runs system(command) after marking descriptors 3 to 255 close-on-exec; returns the raw
 * status of system(). Unless quiet, logs "Running system(COMMAND)" before and
 * "Result status: N" after. */
int safe_system_ext(const char* command, int quiet);
int safe_system(const char* command); /* not quiet */
/* safe_system with "Executing command '...'..." before and a log line when the status is not
 * zero ("invocation failed" for a negative one). */
int safe_system_with_log(const char* command);

/* Set FD_CLOEXEC on every descriptor from 3 to 255 of the process (all but `fd`). */
void set_cloexec_flag_for_all_fds(void);
void set_cloexec_flag_for_all_fds_except_one(int fd);

VONA_END_DECLS

#endif
