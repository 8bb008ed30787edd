#include "player/src/util/mt/log.h"

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr int kStampSize = 256;
constexpr int kSyslogMessageSize = 1024;
constexpr int kScratchSize = 4096;
constexpr int kDefaultMaxFileSize = 102400;

// Process-wide log state; callers serialise access through the lock callbacks.
char* g_stamp = nullptr;  // timestamp of the line being written, allocated by the first line
int g_pid = -1;           // getpid() of the first line, kept from then on
char* g_syslog_ident = nullptr;
char* g_log_path = nullptr;
int g_max_file_size = kDefaultMaxFileSize;
void (*g_lock)(void) = nullptr;
void (*g_unlock)(void) = nullptr;
char g_tight_stamp[32];

// Brackets one public call with the caller's lock callbacks.
struct Locked {
  Locked() {
    if (g_lock) g_lock();
  }
  ~Locked() {
    if (g_unlock) g_unlock();
  }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

struct tm utc_now(int* microseconds) {
  struct timeval now;
  gettimeofday(&now, nullptr);
  struct tm utc;
  gmtime_r(&now.tv_sec, &utc);
  *microseconds = static_cast<int>(now.tv_usec);
  return utc;
}

// The writer behind every full log line, the log's own messages included; takes no lock.
// Returns the length of the formatted message.
int write_line_v(const char* format, va_list args) {
  if (g_stamp == nullptr) {
    g_stamp = static_cast<char*>(malloc(kStampSize));
    g_pid = getpid();
  }
  int microseconds;
  struct tm utc = utc_now(&microseconds);
  const char* stamp = "";
  if (g_stamp) {
    snprintf(g_stamp, kStampSize, "%04d-%02d-%02d %02d:%02d:%02d.%06d", utc.tm_year + 1900, utc.tm_mon + 1,
             utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, microseconds);
    stamp = g_stamp;
  }
  unsigned long thread = static_cast<unsigned long>(pthread_self());

  // The line is formatted once; one that fits the scratch buffer goes out in one write, so
  // that lines of several processes sharing a log file never interleave.
  char scratch[kScratchSize];
  int prefix = snprintf(scratch, sizeof scratch, "[%d] [t%lu] [%s] ", g_pid, thread, stamp);
  va_list output_args;
  va_copy(output_args, args);
  int length = vsnprintf(scratch + prefix, sizeof scratch - prefix, format, output_args);
  va_end(output_args);
  bool whole = length >= 0 && (size_t)prefix + (size_t)length + 1 < sizeof scratch;
  if (g_syslog_ident) {
    char message[kSyslogMessageSize];
    vsnprintf(message, sizeof message, format, args);
    syslog(LOG_INFO, "[%d] [t%lu] [%s] %s\n", g_pid, thread, stamp, message);
  } else if (whole) {
    scratch[prefix + length] = '\n';
    fwrite(scratch, 1, (size_t)prefix + (size_t)length + 1, stderr);
  } else {
    fprintf(stderr, "[%d] [t%lu] [%s] ", g_pid, thread, stamp);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
  }
  return length;
}

int write_line(const char* format, ...) VONA_PRINTF(1, 2);
int write_line(const char* format, ...) {
  va_list args;
  va_start(args, format);
  int length = write_line_v(format, args);
  va_end(args);
  return length;
}

// "WHAT: reason", the trailing newline leaving an empty line after it.
void write_error(const char* what, int error) { write_line("%s: %s\n", what, strerror(error)); }

void close_syslog() {
  if (g_syslog_ident == nullptr) return;
  closelog();
  free(g_syslog_ident);
  g_syslog_ident = nullptr;
}

// Points standard error (and standard output when asked) at `path`, falling back to
// /dev/null; exits when not even that can be opened. Ends logging to the system log.
void open_target(const char* path, int append, bool with_stdout) {
  close_syslog();
  int fd = open(path, O_WRONLY | O_CREAT | (append ? O_APPEND : 0), 0666);
  if (fd < 0) {
    write_error("open", errno);
    write_line("Failed to open log file; logging to /dev/null");
    fd = open("/dev/null", O_WRONLY);
    if (fd < 0) {
      write_error("open", errno);
      write_line("Failed to open /dev/null; aborting");
      exit(1);
    }
  }
  if (with_stdout) {
    fflush(stdout);
    dup2(fd, 1);
  }
  fflush(stderr);
  dup2(fd, 2);
  if (fd > 2) close(fd);
}

void start_log_file(int append) {
  open_target(g_log_path, append, true);
  write_line("***** log_redirect_to_file() succeeded *****\n\n\n");
}

// The log file and the standard output share one file offset, which is the file's size as
// far as the log is concerned.
bool log_file_too_big() { return g_max_file_size >= 1 && lseek(1, 0, SEEK_CUR) > g_max_file_size; }

void rotate() {
  size_t length = strlen(g_log_path);
  char* old_path = static_cast<char*>(malloc(length + sizeof ".old"));
  if (old_path) {
    memcpy(old_path, g_log_path, length);
    memcpy(old_path + length, ".old", sizeof ".old");
    if (rename(g_log_path, old_path) == 0) {
      write_line("Rotated '%s' to '%s'", g_log_path, old_path);
    } else {
      write_error("rename", errno);
      write_line("Failed to rename '%s' to '%s'; truncating the log file", g_log_path, old_path);
    }
    free(old_path);
  }
  write_line("Starting logging to '%s'", g_log_path);
  start_log_file(0);
}

}  // namespace

int log_vprint(const char* format, va_list args) {
  Locked locked;
  return write_line_v(format, args);
}

int log_print(const char* format, ...) {
  Locked locked;
  va_list args;
  va_start(args, format);
  int length = write_line_v(format, args);
  va_end(args);
  return length;
}

void log_print_tight(const char* format, ...) {
  Locked locked;
  int microseconds;
  struct tm utc = utc_now(&microseconds);
  snprintf(g_tight_stamp, sizeof g_tight_stamp, "%02d%02d%02d%02d", utc.tm_mday, utc.tm_hour, utc.tm_min,
           utc.tm_sec);
  va_list args;
  va_start(args, format);
  if (g_syslog_ident) {
    char message[kSyslogMessageSize];
    vsnprintf(message, sizeof message, format, args);
    syslog(LOG_INFO, "%s %s\n", g_tight_stamp, message);
  } else {
    fputs(g_tight_stamp, stderr);
    vfprintf(stderr, format, args);
    fputc('\n', stderr);
  }
  va_end(args);
}

void log_debug(const char*, ...) {}

void log_perror(const char* text) {
  int error = errno;  // before the lock callback can change it
  Locked locked;
  write_error(text, error);
}

void log_print_args(int argc, char* const argv[]) {
  Locked locked;
  for (int i = 0; i < argc; i++) write_line("argv[%d] = '%s'", i, argv[i]);
}

void log_redirect_to_file(const char* file_name, int append) {
  Locked locked;
  setlinebuf(stdout);
  const char* dir = getenv("LOG_DIR");
  if (dir == nullptr) return;
  const char* max_size = getenv("LOG_MAX_FILE_SIZE");
  g_max_file_size = max_size ? atoi(max_size) : kDefaultMaxFileSize;

  size_t dir_length = strlen(dir);
  size_t name_length = strlen(file_name);
  char* path = static_cast<char*>(malloc(dir_length + 1 + name_length + 1));
  if (path == nullptr) return;
  memcpy(path, dir, dir_length);
  path[dir_length] = '/';
  memcpy(path + dir_length + 1, file_name, name_length + 1);
  free(g_log_path);
  g_log_path = path;

  write_line("Starting logging to '%s' (file max size = %d)", g_log_path, g_max_file_size);
  start_log_file(append);
  if (log_file_too_big()) rotate();
}

void log_redirect_stderr_to_file(const char* path, int append) {
  Locked locked;
  open_target(path, append, false);
}

void log_rotate_if_needed(void) {
  Locked locked;
  if (g_log_path && log_file_too_big()) rotate();
}

void log_redirect_to_syslog(const char* ident) {
  Locked locked;
  close_syslog();
  g_syslog_ident = strdup(ident);
  openlog(g_syslog_ident, LOG_NDELAY, LOG_USER);
}

void log_set_lock_functions(void (*lock)(void), void (*unlock)(void)) {
  g_lock = lock;
  g_unlock = unlock;
}
