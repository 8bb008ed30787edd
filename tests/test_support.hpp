// Shared helpers of the test suites: a sandbox root per test and small file helpers. It also
// brings the library's C interface and the standard headers that nearly every suite uses.
#ifndef VONAUTIL_TEST_SUPPORT_HPP
#define VONAUTIL_TEST_SUPPORT_HPP

#include <fcntl.h>
#include <ftw.h>
#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vonautil.h"

namespace test {

// A fresh temporary directory that VONAUTIL_ROOT points at while the object lives, so that
// the library's fixed paths ("/config/...", "/tmp/run/...") land inside it.
class Sandbox {
 public:
  Sandbox() {
    std::string pattern = "/tmp/vonautil-test-XXXXXX";
    root_ = mkdtemp(&pattern[0]) ? pattern : std::string();
    if (root_.empty()) ADD_FAILURE() << "cannot create a sandbox directory";
    const char* previous = getenv("VONAUTIL_ROOT");
    had_previous_ = previous != nullptr;
    if (had_previous_) previous_ = previous;
    setenv("VONAUTIL_ROOT", root_.c_str(), 1);
  }
  ~Sandbox() {
    if (had_previous_) setenv("VONAUTIL_ROOT", previous_.c_str(), 1);
    else unsetenv("VONAUTIL_ROOT");
    if (!root_.empty()) nftw(root_.c_str(), remove_entry, 16, FTW_DEPTH | FTW_PHYS);
  }
  Sandbox(const Sandbox&) = delete;
  Sandbox& operator=(const Sandbox&) = delete;

  const std::string& root() const { return root_; }
  // The real location of a fixed path such as "/config/x.properties".
  std::string path(const std::string& fixed) const { return root_ + fixed; }

 private:
  static int remove_entry(const char* path, const struct stat*, int, struct FTW*) {
    chmod(path, 0700);  // entries made unreadable by a test must still go
    return remove(path);
  }
  std::string root_;
  std::string previous_;
  bool had_previous_ = false;
};

// A test fixture that gives every test its own sandbox.
class SandboxTest : public ::testing::Test {
 protected:
  Sandbox sandbox;
};

inline std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void write_file(const std::string& path, const std::string& content) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << content;
}

// The text of a new string from the library, which is freed; "(null)" for a null result.
inline std::string take_string(char* s) {
  std::string result = s ? s : "(null)";
  free(s);
  return result;
}

// The text of a segment (a str_seg: start and length).
template <class Segment>
std::string seg_text(Segment seg) {
  return std::string(seg.start, seg.length > 0 ? seg.length : 0);
}

// A new string array of the given strings, for the caller to free or hand on.
inline string_array* string_array_of(std::initializer_list<std::string> items) {
  string_array* sa = string_array_create_empty();
  for (const std::string& item : items) string_array_add(sa, item.c_str());
  return sa;
}

// A new properties container, with an index when asked, holding the entries of `text`
// (properties file format).
inline properties* properties_of(const std::string& text, bool with_index = false) {
  properties* p = with_index ? properties_create_with_index() : properties_create_empty();
  properties_build_from_buffer(p, text.c_str());
  return p;
}

// The names in a directory, sorted and separated by spaces; "(unreadable)" if it cannot be read.
inline std::string listing(const std::string& dir) {
  string_array* names = FS_scandir(dir.c_str());
  if (names == nullptr) return "(unreadable)";
  string_array_sort(names);
  std::string text = take_string(string_array_join(names, " ", 0, -1));
  string_array_free(names);
  return text;
}

// The text of a mount table taken from a real system, kept in tests/mt/mount_tables.
inline std::string mount_table(const std::string& name) {
  return read_file(VONAUTIL_DATA_DIR "/../tests/mt/mount_tables/" + name);
}

// mkdir -p
inline void make_dirs(const std::string& path) {
  for (size_t slash = 1; slash != std::string::npos; slash = path.find('/', slash + 1)) {
    mkdir(path.substr(0, slash).c_str(), 0755);
  }
  mkdir(path.c_str(), 0755);
}

// The death-test pattern of an assertion report "MODULE:LINE: FUNCTION: Assertion `EXPRESSION' failed."
// with the texts taken literally; a line of 0 matches any line.
inline std::string assertion_report(const std::string& module, int line, const std::string& function,
                                    const std::string& expression) {
  auto literal = [](const std::string& text) {
    std::string escaped;
    for (char c : text) {
      if (std::string("\\^$.|?*+()[]{}").find(c) != std::string::npos) escaped += '\\';
      escaped += c;
    }
    return escaped;
  };
  return literal(module) + ":" + (line > 0 ? std::to_string(line) : std::string("[0-9]+")) + ": " + literal(function) +
         ": Assertion `" + literal(expression) + "' failed\\.";
}

// Whether `text` holds `part`; a failure shows both.
inline testing::AssertionResult Contains(const std::string& text, const std::string& part) {
  if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "'" << text << "' lacks '" << part << "'";
}

#define EXPECT_CONTAINS(text, part) EXPECT_TRUE(test::Contains(text, part))

// The messages of log text, without the line prefixes "[PID] [tTHREAD] [YYYY-MM-DD hh:mm:ss.uuuuuu] ".
inline std::string log_messages(const std::string& text) {
  std::string result;
  for (size_t i = 0; i < text.size();) {
    unsigned long id;
    int n = 0;
    const char* p = text.c_str() + i;
    if (*p == '[' && sscanf(p, "[%lu] [t%lu] [%*d-%*d-%*d %*d:%*d:%*d.%*d]%n", &id, &id, &n) == 2 && n && p[n] == ' ')
      i += n + 1;
    else
      result += text[i++];
  }
  return result;
}

// What f() prints on standard output or on standard error.
template <typename F>
std::string captured_stdout(F&& f) {
  testing::internal::CaptureStdout();
  f();
  fflush(stdout);
  return testing::internal::GetCapturedStdout();
}
template <typename F>
std::string captured_stderr(F&& f) {
  testing::internal::CaptureStderr();
  f();
  return testing::internal::GetCapturedStderr();
}

// Runs the vonautil tool with a shell command line; returns the exit status and fills `output`
// with what it printed on standard output (standard error too when `merge_stderr`).
inline int run_tool(const std::string& arguments, std::string* output = nullptr, bool merge_stderr = false) {
  std::string command = std::string(VONAUTIL_TOOL) + " " + arguments + (merge_stderr ? " 2>&1" : " 2>/dev/null");
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return -1;
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) text.append(buffer, n);
  int status = pclose(pipe);
  if (output) *output = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// A row of a tool test: the arguments, the exit status, and a part of what the tool prints on
// standard output and standard error together ("" matches anything), or all of it if `whole`.
struct ToolRow {
  std::string arguments;
  int status;
  std::string output;
  bool whole = false;
};
inline void expect_tool(const std::vector<ToolRow>& rows) {
  for (const ToolRow& row : rows) {
    std::string output;
    EXPECT_EQ(row.status, run_tool(row.arguments, &output, true)) << row.arguments;
    EXPECT_TRUE(row.whole ? output == row.output : output.find(row.output) != std::string::npos)
        << row.arguments << " printed '" << output << "', expected " << (row.whole ? "" : "a part ") << "'"
        << row.output << "'";
  }
}

// Runs `body` in a child process with its output silenced and returns the child's id. The child
// ends with the test process, or after `seconds`, whichever comes first; its exit status is what
// `body` returns.
template <class Body>
pid_t spawn(Body body, unsigned seconds = 120) {
  pid_t pid = fork();
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(seconds);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 1);
    dup2(null, 2);
    _exit(body());
  }
  return pid;
}

// The exit status of a child, or 100 + the signal that ended it.
inline int exit_status(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 100 + WTERMSIG(status);
}

// The body of an IPC server process: answers the requests to `server_id` in serving order until
// `count` are answered, each with its own parameters and "served", its number in that order.
inline int serve_ipc_echo(const char* server_id, int count) {
  simple_ipc_server* server = simple_ipc_server_create(server_id);
  for (int served = 0; served < count; usleep(200)) {
    for (simple_ipc_server_look_for_new_requests(server); simple_ipc_server_get_num_requests(server) > 0;) {
      simple_ipc_request* request = simple_ipc_server_get_request(server, 0);
      properties* response = properties_create_empty();
      properties_set_all(response, request->parameters);
      properties_set_int(response, "served", ++served);
      simple_ipc_server_finish_request(server, request, response);
      properties_free(response);
    }
  }
  simple_ipc_server_free(server);
  return 0;
}

// The log is shared by every thread only once its caller installs lock callbacks: tests that
// log from several threads hold one of these while they run.
class LogLock {
 public:
  LogLock() { log_set_lock_functions(lock, unlock); }
  ~LogLock() { log_set_lock_functions(nullptr, nullptr); }
  LogLock(const LogLock&) = delete;
  LogLock& operator=(const LogLock&) = delete;

 private:
  static pthread_mutex_t& mutex() {
    static pthread_mutex_t instance = PTHREAD_MUTEX_INITIALIZER;
    return instance;
  }
  static void lock() { pthread_mutex_lock(&mutex()); }
  static void unlock() { pthread_mutex_unlock(&mutex()); }
};

}  // namespace test

#endif
