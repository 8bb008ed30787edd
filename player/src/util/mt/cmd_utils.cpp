#include "player/src/util/mt/cmd_utils.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/cmd_buffer.hpp"
#include "player/src/util/mt/log.h"

extern char** environ;

namespace {

// The longest pause of the supervising loops: callbacks are consulted and a child that is
// still running is polled at least this often.
constexpr int kPeriodUs = 200000;
// Polls of a running child between two "still waiting" lines.
constexpr int kPollsPerReport = 20;
// Polls after which the writing runner stops waiting for its child.
constexpr int kWritePollLimit = 50;
// Bytes read from the child's output at once.
constexpr size_t kReadBlock = 65536;

const char* const kStatusNames[] = {"OK",        "Failed",     "OpenFailed",  "SelectFailed", "ReadFailed",
                                    "WriteFailed", "WaitFailed", "CloseFailed", "Cancelled"};

// A log line that leaves errno as it was, so that callers can still read the failure.
VONA_PRINTF(1, 2) void log_line(const char* format, ...) {
  int saved = errno;
  va_list args;
  va_start(args, format);
  log_vprint(format, args);
  va_end(args);
  errno = saved;
}

// A failure of a run: status CMD_OK means that none has happened (yet).
struct Failure {
  cmd_status status;
  int error;
};

cmd_result make_result(cmd_status status, int error, int exit_status) {
  cmd_result result;
  result.status = status;
  result.error = error;
  result.exit_status = exit_status;
  return result;
}

cmd_result result_of_wait(int wait_status) {
  if (WIFSIGNALED(wait_status)) return make_result(CMD_FAILED, 0, 0);
  return make_result(CMD_OK, 0, WEXITSTATUS(wait_status));
}

void log_child_exit(const char* where, pid_t pid, int wait_status) {
  // A normal exit prints 0 and a death by signal bits 8 to 15 of the status (0 as well): the
  // line tells only how the child ended, and scripts that read the log expect exactly that.
  bool normal = WIFEXITED(wait_status);
  log_line("(%s) Child %d exitted %s (%d)", where, (int)pid, normal ? "normally" : "abnormally",
           normal ? 0 : (wait_status >> 8) & 0xff);
}

void terminate(pid_t pid, const char* name, bool quiet) {
  if (pid <= 0) return;  // kill() would take these for process groups: never the caller's own
  if (!quiet) log_line("Terminating process '%s' (pid %d)", name, (int)pid);
  if (kill(pid, SIGTERM) != 0 && !quiet) log_line("Warning: kill(%d, SIGTERM) failed: %s", (int)pid, strerror(errno));
}

void sleep_us(long us) {
  timespec pause = {us / 1000000, (us % 1000000) * 1000};
  while (nanosleep(&pause, &pause) != 0 && errno == EINTR) {
  }
}

long long monotonic_ms() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (long long)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

// Waits up to one period for the descriptor: 1 ready, 0 timed out, -1 failed (errno set). A
// signal that interrupts the wait is not a failure: the wait goes on for the rest of the period
// (not a new one, or a caller that gets signals often would never see a time-out).
int wait_for(int fd, short events) {
  pollfd entry = {fd, events, 0};
  long long deadline = monotonic_ms() + kPeriodUs / 1000;
  for (;;) {
    long long left = deadline - monotonic_ms();
    int ready = poll(&entry, 1, left > 0 ? (int)left : 0);
    if (ready != -1 || errno != EINTR) return ready;
  }
}

// Sleeps up to one period, returning as soon as the child has ended (it is left for the
// caller's waitpid to reap). A process descriptor of the child wakes the wait when it ends; on
// kernels without them (before Linux 5.3) the check runs at intervals that start at 50 us and
// double up to a whole period over the calls that share `step_us`, so a child that is just
// exiting costs microseconds either way, and one that keeps running one wake-up per period.
void nap_until_exit(pid_t pid, long& step_us) {
#ifdef SYS_pidfd_open
  int pidfd = (int)syscall(SYS_pidfd_open, pid, 0);
  if (pidfd >= 0) {
    wait_for(pidfd, POLLIN);
    close(pidfd);
    return;
  }
#endif
  for (long slept = 0; slept < kPeriodUs;) {
    long pause = step_us < kPeriodUs - slept ? step_us : kPeriodUs - slept;
    sleep_us(pause);
    slept += pause;
    if (step_us < kPeriodUs) step_us *= 2;
    siginfo_t info;
    info.si_pid = 0;
    if (waitid(P_PID, (id_t)pid, &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0) return;
  }
}

// The child's side of cmd_utils_popen. Only descriptor calls and unbuffered writes happen
// here: a stdio stream may have been locked by another thread of the parent at the fork.
VONA_NORETURN void run_child(const string_array* cmd_args, bool reading, int ends[2], bool quiet,
                             bool output_to_null) {
  setpgid(0, 0);
  // Signals that a thread of the caller blocks would stay blocked in the program (SIGTERM too).
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  // A parent without standard descriptors may have got pipe ends among 0 to 2: move them up so
  // that the redirections below cannot overwrite them.
  for (int i = 0; i < 2; ++i) {
    if (ends[i] < 3) {
      int moved = fcntl(ends[i], F_DUPFD_CLOEXEC, 3);
      close(ends[i]);
      ends[i] = moved;
    }
  }
  if (reading) {
    if (dup2(ends[1], 1) < 0) dprintf(2, "dup of write side of pipe failed: %s\n", strerror(errno));
    if (dup2(ends[1], 2) < 0) dprintf(2, "dup of write side of pipe failed: %s\n", strerror(errno));
  } else {
    if (output_to_null) {
      int null_fd = open("/dev/null", O_WRONLY | O_CREAT, 0644);
      if (null_fd > 0) {
        dprintf(1, "Command: redirecting output to /dev/null\n\n");
        dup2(null_fd, 1);
        dup2(null_fd, 2);
        if (null_fd > 2) close(null_fd);
      }
    }
    if (dup2(ends[0], 0) < 0) dprintf(2, "dup of read side of pipe failed: %s\n", strerror(errno));
  }
  close(ends[0]);
  close(ends[1]);
  execve(cmd_args->items[0], cmd_args->items, environ);
  if (!quiet) dprintf(1, "cmd_utils_popen(): execve(%s) failed!\n", cmd_args->items[0]);
  _exit(1);
}

// Output callbacks see one byte per call, or an empty chunk for a quiet period and for NUL.
struct ByteSink {
  cmd_output_func on_output;
  void* user;
  bool idle() { return on_output(user, "", 0) == 1; }
  bool bytes(const char* data, size_t length) {
    for (size_t i = 0; i < length; ++i) {
      bool nul = data[i] == '\0';
      if (on_output(user, nul ? "" : data + i, nul ? 0 : 1) == 1) return true;
    }
    return false;
  }
};

// cmd_buffer_cmd_callback does the same for every byte and never cancels, so a cmd_buffer
// takes whole blocks at once.
struct BufferSink {
  cmd_buffer* buffer;
  bool idle() { return false; }
  bool bytes(const char* data, size_t length) {
    vona::cmd_buffer_add_output(buffer, data, (int)length);
    return false;
  }
};

// Feeds the child's output to the sink until end of file. The sink is told of the start and
// of every period without output (idle) and of the bytes as they come; either may cancel.
template <class Sink>
Failure read_output(int fd, Sink& sink) {
  if (sink.idle()) return {CMD_CANCELLED, 0};
  char* block = static_cast<char*>(malloc(kReadBlock));
  Failure failure = {CMD_OK, 0};
  for (;;) {
    int ready = wait_for(fd, POLLIN);
    if (ready < 0) {
      failure = {CMD_SELECT_FAILED, errno};
      break;
    }
    if (ready == 0) {
      if (sink.idle()) {
        failure = {CMD_CANCELLED, 0};
        break;
      }
      continue;
    }
    ssize_t count;
    do count = read(fd, block, kReadBlock);
    while (count < 0 && errno == EINTR);
    if (count == 0) break;
    if (count < 0) {
      failure = {CMD_READ_FAILED, errno};
      break;
    }
    if (sink.bytes(block, (size_t)count)) {
      failure = {CMD_CANCELLED, 0};
      break;
    }
  }
  free(block);
  return failure;
}

template <class Sink>
cmd_result run_reading(const string_array* cmd_args, Sink& sink) {
  pid_t pid;
  FILE* stream = cmd_utils_popen(cmd_args, "r", &pid, 0, 0);
  if (stream == nullptr) return make_result(CMD_OPEN_FAILED, errno, 0);
  setvbuf(stream, nullptr, _IONBF, 0);  // the output is read from the descriptor itself
  Failure failure = read_output(fileno(stream), sink);
  if (failure.status != CMD_OK) terminate(pid, cmd_args->items[0], false);

  int wait_status = 0;
  long step_us = 50;
  for (int polls = 0;;) {
    pid_t reaped = waitpid(pid, &wait_status, WNOHANG);
    if (reaped == pid) break;
    if (reaped < 0) {
      if (failure.status == CMD_OK) failure = {CMD_WAIT_FAILED, errno};
      fclose(stream);
      return make_result(failure.status, failure.error, 0);
    }
    if (++polls % kPollsPerReport == 0) log_line("still waiting for '%s' (pid %d)...", cmd_args->items[0], (int)pid);
    nap_until_exit(pid, step_us);
  }
  if (fclose(stream) != 0 && failure.status == CMD_OK) failure = {CMD_CLOSE_FAILED, errno};
  if (failure.status != CMD_OK) return make_result(failure.status, failure.error, 0);
  return result_of_wait(wait_status);
}

void set_cloexec_range(int except) {
  for (int fd = 3; fd <= 255; ++fd) {
    if (fd == except) continue;
    int flags = fcntl(fd, F_GETFD);
    fcntl(fd, F_SETFD, (flags < 0 ? 0 : flags) | FD_CLOEXEC);
  }
}

}  // namespace

const char* cmd_status_to_string(cmd_status status) {
  unsigned index = (unsigned)status;
  return index < sizeof kStatusNames / sizeof kStatusNames[0] ? kStatusNames[index] : "!invalid!";
}

void cmd_result_dump(cmd_result result, const char* label) {
  const char* name = cmd_status_to_string(result.status);
  if (result.status >= CMD_OPEN_FAILED && result.status <= CMD_CLOSE_FAILED) {
    printf("%s: %s (%s)\n", label, name, strerror(errno));
  } else if (result.status == CMD_OK) {
    printf("%s: %s (exit status = %d)\n", label, name, result.exit_status);
  } else {
    printf("%s: %s\n", label, name);
  }
}

FILE* cmd_utils_popen(const string_array* cmd_args, const char* type, pid_t* pid, int quiet, int output_to_null) {
  MY_ASSERT(*type == 'r' || *type == 'w');
  bool reading = *type == 'r';
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    if (!quiet) log_line("cmd_utils_popen(): pipe() failure!");
    return nullptr;
  }
  // Pending output of the caller goes out now, not a second time from the child's copy.
  fflush(stdout);
  fflush(stderr);
  *pid = fork();
  if (*pid < 0) {
    int error = errno;
    close(ends[0]);
    close(ends[1]);
    if (!quiet) log_line("cmd_utils_popen(): fork() failure!");
    errno = error;
    return nullptr;
  }
  if (*pid == 0) run_child(cmd_args, reading, ends, quiet, output_to_null);
  int kept = reading ? ends[0] : ends[1];
  close(reading ? ends[1] : ends[0]);
  FILE* stream = fdopen(kept, type);
  if (stream == nullptr) {  // a mode that the pipe end cannot have: stop the child again
    int error = errno;
    close(kept);
    kill(*pid, SIGTERM);
    waitpid(*pid, nullptr, 0);
    errno = error;
  }
  return stream;
}

cmd_result cmd_utils_run_cmd(const string_array* cmd_args, cmd_output_func on_output, void* user) {
  MY_ASSERT(cmd_args->size >= 1);
  if (on_output == cmd_buffer_cmd_callback) {
    BufferSink sink = {static_cast<cmd_buffer*>(user)};
    return run_reading(cmd_args, sink);
  }
  ByteSink sink = {on_output, user};
  return run_reading(cmd_args, sink);
}

cmd_result cmd_utils_run_cmd_write(const string_array* cmd_args, cmd_produce_func produce, cmd_written_func on_written,
                                   void* user, int flags) {
  MY_ASSERT(cmd_args->size >= 1);
  bool quiet = (flags & CMD_WRITE_QUIET) != 0;
  if (flags & CMD_WRITE_CLOEXEC) set_cloexec_flag_for_all_fds();
  void (*previous_sigpipe)(int) = signal(SIGPIPE, SIG_IGN);
  bool sigpipe_ignored = previous_sigpipe != SIG_ERR;
  if (!sigpipe_ignored && !quiet) log_line("cmd_utils_run_cmd_write: signal() failed");
  pid_t pid;
  FILE* stream = cmd_utils_popen(cmd_args, "w", &pid, quiet, (flags & CMD_WRITE_OUTPUT_TO_NULL) != 0);
  if (stream == nullptr) return make_result(CMD_OPEN_FAILED, errno, 0);
  if (flags & CMD_WRITE_LINE_BUFFERED) setvbuf(stream, nullptr, _IOLBF, BUFSIZ);

  Failure failure = {CMD_OK, 0};
  bool reaped = false;
  int wait_status = 0;
  str_seg chunk = {"", 0};
  for (;;) {
    int verdict = produce(user, &chunk);
    if (flags & CMD_WRITE_POLL_CHILD) {
      pid_t polled = waitpid(pid, &wait_status, WNOHANG);
      if (polled < 0) {
        if (!quiet) log_line("waitpid(%d) failed: %s", (int)pid, strerror(errno));
        failure = {CMD_CANCELLED, 0};  // a child that cannot be found counts as a cancelled feed
        break;
      }
      if (polled == pid) {
        reaped = true;
        if (!quiet) log_child_exit("loop", pid, wait_status);
        break;
      }
    }
    if (verdict == 1) {
      failure = {CMD_CANCELLED, 0};
      break;
    }
    if (chunk.length <= 0) {
      if (flags & CMD_WRITE_EMPTY_IS_IDLE) continue;
      break;
    }
    int ready = wait_for(fileno(stream), POLLOUT);
    if (ready < 0) {
      failure = {CMD_SELECT_FAILED, errno};
      break;
    }
    if (ready == 0) continue;
    size_t written = fwrite(chunk.start, 1, (size_t)chunk.length, stream);
    if (ferror(stream)) {
      failure = {CMD_WRITE_FAILED, errno};
      break;
    }
    if (written > 0 && on_written && on_written(user, (int)written) == 1) {
      failure = {CMD_CANCELLED, 0};
      break;
    }
  }
  if (failure.status != CMD_OK) terminate(pid, cmd_args->items[0], quiet);

  if (fclose(stream) != 0) {
    if (errno == EPIPE) {
      if (!quiet) log_line("Warning: fclose() of pipe failed with EPIPE; ignored");
    } else if (failure.status == CMD_OK) {
      failure = {CMD_CLOSE_FAILED, errno};
    }
  }

  long step_us = 50;
  for (int polls = 0; !reaped;) {
    pid_t polled = waitpid(pid, &wait_status, WNOHANG);
    if (polled == pid) {
      reaped = true;
      if (!quiet) log_child_exit("finalize", pid, wait_status);
      break;
    }
    if (polled < 0) {
      if (!quiet) log_line("waitpid(%d) failed: %s", (int)pid, strerror(errno));
      return make_result(CMD_CANCELLED, failure.error, 0);
    }
    if (polls == kWritePollLimit) {
      if (!quiet) log_line("Warning: breaking infinite loop.");
      if (failure.status == CMD_OK) return make_result(CMD_WAIT_FAILED, EAGAIN, 0);
      return make_result(failure.status, failure.error, 0);
    }
    if (++polls % kPollsPerReport == 0 && !quiet) {
      log_line("still waiting for '%s' (pid %d)...", cmd_args->items[0], (int)pid);
    }
    nap_until_exit(pid, step_us);
  }
  if (failure.status != CMD_OK) return make_result(failure.status, failure.error, 0);
  if (sigpipe_ignored) signal(SIGPIPE, previous_sigpipe);
  return result_of_wait(wait_status);
}

char* run_cmd_and_capture_output(const string_array* cmd_args) {
  cmd_buffer* buffer = cmd_buffer_create();
  cmd_buffer_reset(buffer, 1);
  cmd_utils_run_cmd(cmd_args, cmd_buffer_cmd_callback, buffer);
  return cmd_buffer_release(buffer);
}

int safe_system_ext(const char* command, int quiet) {
  set_cloexec_flag_for_all_fds();
  if (!quiet) log_line("Running system(%s)", command);
  int status = system(command);
  if (!quiet) log_line("Result status: %d", status);
  return status;
}

int safe_system(const char* command) { return safe_system_ext(command, 0); }

int safe_system_with_log(const char* command) {
  log_line("Executing command '%s'...", command);
  int status = safe_system(command);
  if (status < 0) {
    log_line("Command '%s' invocation failed: %s", command, strerror(errno));
  } else if (status != 0) {
    log_line("Command '%s' failed with status %d", command, status);
  }
  return status;
}

void set_cloexec_flag_for_all_fds(void) { set_cloexec_range(-1); }

void set_cloexec_flag_for_all_fds_except_one(int fd) { set_cloexec_range(fd); }
