#include <errno.h>

#include <ctime>
#include <functional>

#include "test_support.hpp"

namespace {

// Whether `text` shows at `pos` the UTC time of a second between `before` and `after`.
bool stamped_at(const std::string& text, size_t pos, const char* format, time_t before, time_t after) {
  for (time_t t = before; t <= after; t++) {
    struct tm utc;
    char stamp[64];
    if (text.compare(pos, strftime(stamp, sizeof stamp, format, gmtime_r(&t, &utc)), stamp) == 0) return true;
  }
  return false;
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

int log_through_vprint(const char* format, ...) {
  va_list args;
  va_start(args, format);
  int length = log_vprint(format, args);
  va_end(args);
  return length;
}

int locks, unlocks, depth, deepest;
void lock() { locks++, deepest = std::max(deepest, ++depth); }
void unlock() { unlocks++, depth--; }

}  // namespace

TEST(Log, LinesCarryPidThreadUtcTimeAndTheWholeMessage) {
  setenv("TZ", "XST-5", 1);  // five hours off UTC: a local-time stamp would show
  tzset();
  std::string long_text(5000, 'x');
  char* argv[] = {(char*)"a", (char*)"b c"};
  testing::internal::CaptureStderr();
  time_t before = time(nullptr);
  EXPECT_EQ(8, log_print("hello %d", 42));
  log_print_tight("tight %d", 1);
  time_t after = time(nullptr);
  // No length limit on standard error; the result is the message's own length.
  EXPECT_EQ(5000, log_through_vprint("%s", long_text.c_str()));
  log_debug("never %s", "shown");
  errno = ENOENT;
  log_perror("x");
  log_print_args(2, argv);
  std::string lines = testing::internal::GetCapturedStderr();
  unsetenv("TZ");
  tzset();
  std::string ids = "[" + std::to_string(getpid()) + "] [t" + std::to_string((unsigned long)pthread_self()) + "] [";
  size_t microseconds = ids.size() + 20, tight = microseconds + 17;
  EXPECT_EQ(0u, lines.find(ids)) << lines;
  EXPECT_TRUE(stamped_at(lines, ids.size(), "%Y-%m-%d %H:%M:%S.", before, after)) << lines;
  EXPECT_EQ(6u, strspn(lines.c_str() + microseconds, "0123456789")) << lines;
  EXPECT_EQ("] hello 42\n", lines.substr(microseconds + 6, 11));
  EXPECT_TRUE(stamped_at(lines, tight, "%d%H%M%S", before, after)) << lines;
  EXPECT_EQ("tight 1\n" + long_text + "\nx: No such file or directory\n\nargv[0] = 'a'\nargv[1] = 'b c'\n",
            test::log_messages(lines.substr(tight + 8)));
}

class LogFile : public test::SandboxTest {
 protected:
  void SetUp() override {
    dir = sandbox.root() + "/log";
    path = dir + "/app.log";
    test::make_dirs(dir);
    setenv("LOG_DIR", dir.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("LOG_DIR");
    unsetenv("LOG_MAX_FILE_SIZE");
  }
  // Runs `body` with standard error sent to DIR.err, then puts standard output and standard error back
  // (so that expectations never land in a log file); returns the messages that reached standard error
  // before a redirection.
  std::string redirected(const std::function<void()>& body) {
    int out = dup(1), err = dup(2), fd = open((dir + ".err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(fd, 2);
    close(fd);
    body();
    fflush(stdout);
    dup2(out, 1), dup2(err, 2);
    close(out), close(err);
    return test::log_messages(test::read_file(dir + ".err"));
  }
  std::string logged(const std::string& suffix = "") { return test::log_messages(test::read_file(path + suffix)); }
  std::string dir, path;
  const std::string kStarted = "***** log_redirect_to_file() succeeded *****\n\n\n\n";
};

// Each public call takes the lock once (never nested, even around rotation); syslog takes the
// lines until a file redirection ends it; standard error alone goes to a file of its own.
TEST_F(LogFile, LockBracketsEveryPublicCallOnceAndSyslogTakesLinesUntilAFileRedirection) {
  setenv("LOG_MAX_FILE_SIZE", "1", 1);  // every rotation check rotates
  char* argv[] = {(char*)"a"};
  std::vector<int> seen;  // locks, unlocks and the deepest nesting of each call, as digits
  std::vector<std::function<void()>> calls = {
      [] { log_redirect_to_syslog("vonautil-test"); }, [] { log_print("x"); }, [] { log_through_vprint("x"); },
      [] { log_print_tight("x"); }, [] { log_perror("x"); }, [&] { log_print_args(1, argv); },
      [] { log_redirect_to_file("app.log", 0); }, [] { log_rotate_if_needed(); },
      [&] {
        close(2);  // with no standard error left, the file becomes descriptor 2 and must stay open
        log_redirect_stderr_to_file((dir + ".err").c_str(), 1);
      }};
  EXPECT_EQ("y\nz\n", redirected([&] {
              log_set_lock_functions(lock, unlock);
              for (auto& call : calls) {
                locks = unlocks = depth = deepest = 0;
                call();
                seen.push_back(locks * 100 + unlocks * 10 + deepest);
              }
              locks = unlocks = 0;
              log_debug("x");
              log_set_lock_functions(lock, nullptr);
              log_print("y");
              log_set_lock_functions(nullptr, unlock);
              log_print("z");
              log_set_lock_functions(nullptr, nullptr);
            }));
  EXPECT_EQ(std::vector<int>(calls.size(), 111), seen);  // in the order of `calls`
  EXPECT_EQ(11, locks * 10 + unlocks);
  EXPECT_TRUE(exists(path + ".old"));  // the rotation did run under the lock
}

TEST_F(LogFile, RedirectionSendsBothStreamsToTheFileWithoutShortening) {
  test::write_file(path, std::string(2000, '#'));
  std::string before = redirected([] {
    log_redirect_to_file("app.log", 0);
    printf("from stdout\n");
    fflush(stdout);  // line buffering only takes effect on a stream not yet written to
    log_print("from the log");
    log_redirect_to_file("app.log", 1);
    log_print("appended");
  });
  EXPECT_EQ("Starting logging to '" + path + "' (file max size = 102400)\n", before);
  // The second redirection announces itself at the first one's offset and appends at the end.
  std::string head = kStarted + "from stdout\nfrom the log\n" + before, tail = "#" + kStarted + "appended\n";
  std::string text = logged();
  EXPECT_EQ(head, text.substr(0, head.size()));
  EXPECT_EQ(tail, text.substr(text.size() - tail.size()));

  unsetenv("LOG_DIR");
  EXPECT_EQ("outside\n", redirected([] {
              log_redirect_to_file("other.log", 1);
              log_print("outside");
            }));
  EXPECT_FALSE(exists(dir + "/other.log"));
}

TEST_F(LogFile, RotatesOnlyPastTheMaximumSize) {
  setenv("LOG_MAX_FILE_SIZE", "1000", 1);
  bool rotated_at_limit = true;
  redirected([&] {
    log_redirect_to_file("app.log", 0);
    printf("%s", std::string(1000 - lseek(1, 0, SEEK_CUR), '.').c_str());  // up to the limit
    fflush(stdout);
    log_rotate_if_needed();
    rotated_at_limit = exists(path + ".old");
    printf("+");
    fflush(stdout);
    log_rotate_if_needed();
    log_print("after");
  });
  EXPECT_FALSE(rotated_at_limit);
  std::string old_text = logged(".old");
  EXPECT_EQ(".+Rotated '" + path + "' to '" + path + ".old'\nStarting logging to '" + path + "'\n",
            old_text.substr(old_text.find(".+")));
  EXPECT_EQ(kStarted + "after\n", logged());

  // A file already too big is rotated by the redirection itself, replacing the old generation.
  test::write_file(path, std::string(1001, '#'));
  redirected([] { log_redirect_to_file("app.log", 1); });
  EXPECT_EQ(0u, logged(".old").find(std::string(1001, '#')));
  EXPECT_EQ(kStarted, logged());

  setenv("LOG_MAX_FILE_SIZE", "0", 1);  // no rotation at all
  unlink((path + ".old").c_str());
  EXPECT_CONTAINS(redirected([] {
                    log_redirect_to_file("app.log", 1);
                    log_rotate_if_needed();
                  }),
                  "(file max size = 0)");
  EXPECT_FALSE(exists(path + ".old"));
}

TEST_F(LogFile, FailuresKeepLoggingSomewhere) {
  // A rename that fails leaves the log overwritten from its start.
  setenv("LOG_MAX_FILE_SIZE", "150", 1);
  test::make_dirs(path + ".old/busy");  // a non-empty directory cannot be replaced by a file
  redirected([] {
    log_redirect_to_file("app.log", 0);
    log_print("%s", std::string(200, '-').c_str());
    log_rotate_if_needed();
  });
  std::string text = logged(), tail = "rename: Is a directory\n\nFailed to rename '" + path + "' to '" + path +
                                      ".old'; truncating the log file\nStarting logging to '" + path + "'\n";
  EXPECT_EQ(0u, text.find(kStarted)) << text;
  EXPECT_EQ(tail, text.substr(text.size() - std::min(text.size(), tail.size())));

  // A file that cannot be opened: the log goes to /dev/null.
  setenv("LOG_DIR", (dir + "/missing").c_str(), 1);
  unsetenv("LOG_MAX_FILE_SIZE");
  EXPECT_EQ("Starting logging to '" + dir + "/missing/app.log' (file max size = 102400)\n"
            "open: No such file or directory\n\nFailed to open log file; logging to /dev/null\n",
            redirected([] {
              log_redirect_to_file("app.log", 1);
              log_print("lost");
            }));
}
