#include "player/src/util/mt/cmd_utils.h"

#include <regex.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/time.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include "test_support.hpp"

namespace {

using namespace testing::internal;  // CaptureStderr, GetCapturedStderr

struct Args {
  string_array* sa;
  Args(std::initializer_list<std::string> items) : sa(test::string_array_of(items)) {}
  ~Args() { string_array_free(sa); }
  operator const string_array*() const { return sa; }
};

std::string text(cmd_result r) {
  return std::string(cmd_status_to_string(r.status)) + "/" + std::to_string(r.error) + "/" +
         std::to_string(r.exit_status);
}

// The number of log lines that contain a match of the pattern (POSIX extended).
int lines(const std::string& log, const std::string& pattern) {
  regex_t re;
  regcomp(&re, pattern.c_str(), REG_EXTENDED | REG_NOSUB);
  std::istringstream in(log);
  int count = 0;
  for (std::string line; std::getline(in, line);) count += regexec(&re, line.c_str(), 0, nullptr, 0) == 0;
  regfree(&re);
  return count;
}

// Records the chunks given to an output callback; cancels at the n-th empty chunk or byte.
struct Output {
  std::string bytes;
  int empty = 0, cancel_at_empty = 0;
  size_t cancel_at_bytes = 0;
  static int record(void* user, const char* data, int length) {
    Output* o = static_cast<Output*>(user);
    o->empty += length == 0;
    if (length > 1) o->bytes += "<longer chunk>";
    else if (length == 1) o->bytes += data[0];
    return (length == 0 && o->empty == o->cancel_at_empty) || (length && o->bytes.size() == o->cancel_at_bytes);
  }
  cmd_result run(const string_array* args) { return cmd_utils_run_cmd(args, record, this); }
};

// Offers each chunk until on_written takes it, then empty chunks.
struct Feed {
  std::vector<std::string> chunks;
  size_t next = 0, written = 0;
  void (*before_first)() = nullptr;  // called once, at the first chunk
  static int produce(void* user, str_seg* chunk) {
    Feed* f = static_cast<Feed*>(user);
    if (auto first = std::exchange(f->before_first, nullptr)) first();
    bool more = f->next < f->chunks.size();
    *chunk = more ? str_seg{f->chunks[f->next].data(), (int)f->chunks[f->next].size()} : str_seg{"", 0};
    if (!more) usleep(1000);  // CMD_WRITE_EMPTY_IS_IDLE asks again at once
    return 0;
  }
  static int on_written(void* user, int count) {
    Feed* f = static_cast<Feed*>(user);
    f->written += (size_t)count;
    ++f->next;
    return 0;
  }
  cmd_result run(const string_array* args, int flags) {
    return cmd_utils_run_cmd_write(args, produce, on_written, this, flags);
  }
};

// Reads of this process that fail with EINTR before the next real one. A read of a pipe that
// poll() found readable never waits, so no real signal can interrupt it: this stands in for one.
int interrupted_reads = 0;

class CmdUtils : public test::SandboxTest {
 protected:
  void TearDown() override {
    siginfo_t info;  // a child, running or a zombie
    EXPECT_NE(0, waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT)) << "a child was left behind";
  }
  std::string file(const char* name) { return sandbox.root() + "/" + name; }
};

}  // namespace

// Stands in for read() in the whole program; the C library declares read() inline when it checks
// buffer sizes, hence the other name.
extern "C" ssize_t interrupting_read(int fd, void* buffer, size_t size) __asm__("read");
extern "C" ssize_t interrupting_read(int fd, void* buffer, size_t size) {
  if (interrupted_reads > 0) return --interrupted_reads, errno = EINTR, -1;
  return syscall(SYS_read, fd, buffer, size);
}

TEST(CmdStatus, NamesAndDumpLines) {
  std::string dump = test::captured_stdout([] {
    for (int s = 0; s <= 9; ++s) {
      errno = ENOENT;  // failures show the current errno, not the recorded one
      cmd_result_dump({(cmd_status)s, EPIPE, 3}, cmd_status_to_string((cmd_status)s));
    }
  });
  EXPECT_EQ("OK: OK (exit status = 3)\nFailed: Failed\n"
            "OpenFailed: OpenFailed (No such file or directory)\n"
            "SelectFailed: SelectFailed (No such file or directory)\n"
            "ReadFailed: ReadFailed (No such file or directory)\nWriteFailed: WriteFailed (No such file or directory)\n"
            "WaitFailed: WaitFailed (No such file or directory)\nCloseFailed: CloseFailed (No such file or directory)\n"
            "Cancelled: Cancelled\n!invalid!: !invalid!\n",
            dump);
}

TEST_F(CmdUtils, OutputArrivesByteByByteWithNulsAsEmptyChunks) {
  std::string content;
  for (int i = 0; i < 10240; ++i) content += (char)i;
  std::string without_nuls = content;
  without_nuls.erase(std::remove(without_nuls.begin(), without_nuls.end(), '\0'), without_nuls.end());
  test::write_file(file("bin"), content);
  Args cat{"/bin/cat", file("bin")};
  Output out;
  interrupted_reads = 2;  // the first read is repeated
  EXPECT_EQ("OK/0/0", text(out.run(cat)));
  EXPECT_EQ(without_nuls, out.bytes);
  EXPECT_GE(out.empty, 1 + 40);  // the first call, one per NUL, and any quiet periods
  // A capture echoes what it collects, then returns it.
  auto capture = [&] { printf("%s", test::take_string(run_cmd_and_capture_output(cat)).c_str()); };
  EXPECT_EQ(without_nuls + without_nuls, test::captured_stdout(capture));

  // Standard error comes with the output: see the stuck children; a killed child: the tool's rows.
  Output missing;
  EXPECT_EQ("OK/0/1", text(missing.run(Args{"sh", "-c", "true"})));  // no PATH search
  EXPECT_EQ("cmd_utils_popen(): execve(sh) failed!\n", missing.bytes);

  std::string module = "player/src/util/mt/cmd_utils";
  EXPECT_DEATH(Output().run(Args{}), test::assertion_report(module, 0, "cmd_utils_run_cmd", "cmd_args->size >= 1"));
  EXPECT_DEATH(cmd_utils_popen(cat, "x", nullptr, 0, 0),
               test::assertion_report(module, 0, "cmd_utils_popen", "*type == 'r' || *type == 'w'"));
  auto without_descriptors = [] {
    rlimit limit = {3, 3};
    setrlimit(RLIMIT_NOFILE, &limit);
    fprintf(stderr, "%s\n", text(Output().run(Args{"/bin/true"})).c_str());
    _exit(0);
  };
  EXPECT_EXIT(without_descriptors(), testing::ExitedWithCode(0), "pipe\\(\\) failure!\n.*OpenFailed/24/0");
}

TEST_F(CmdUtils, EveryCallbackCanCancelAndTheChildIsTerminated) {
  CaptureStderr();  // cancelling at a quiet period: see the signals
  Output first, talkative;
  first.cancel_at_empty = 1;  // the first call is an empty chunk
  talkative.cancel_at_bytes = 10;
  EXPECT_EQ("Cancelled/0/0", text(first.run(Args{"/bin/sleep", "30"})));
  EXPECT_EQ("Cancelled/0/0", text(talkative.run(Args{"/bin/sh", "-c", "while :; do echo y; done"})));
  EXPECT_EQ("y\ny\ny\ny\ny\n", talkative.bytes);
  Args cat{"/bin/cat"};
  auto offer_line = [](void*, str_seg* chunk) { *chunk = str_seg{"data\n", 5}; return 0; };  // written at once
  auto cancel_written = [](void*, int) { return 1; };
  auto cancel_produce = [](void*, str_seg*) { return 1; };
  int line_buffered = CMD_WRITE_LINE_BUFFERED;
  EXPECT_EQ("Cancelled/0/0", text(cmd_utils_run_cmd_write(cat, offer_line, cancel_written, nullptr, line_buffered)));
  EXPECT_EQ("Cancelled/0/0", text(cmd_utils_run_cmd_write(cat, cancel_produce, nullptr, nullptr, CMD_WRITE_QUIET)));
  std::string log = GetCapturedStderr();
  EXPECT_EQ(1, lines(log, "Terminating process '/bin/sleep' \\(pid [0-9]+\\)$"));
  EXPECT_EQ(1, lines(log, "Terminating process '/bin/sh' "));
  EXPECT_EQ(4, lines(log, "."));  // and the cat's termination and exit: nothing of the quiet run, no warning
}

TEST_F(CmdUtils, SignalsOfTheCallerDoNotDisturbTheRun) {
  // In a process of its own: a timer interrupts every wait of the loop (its handler is installed
  // without SA_RESTART), and the caller blocks SIGTERM. Quiet periods are still seen, and the child
  // still ends on SIGTERM (or it would be waited for, with "still waiting" lines). Then, with every
  // descriptor in use, the wait for a child that closed its output but runs on for 3 s cannot take
  // a process descriptor: it checks at intervals instead, still one poll per 200 ms (20 polls would
  // log "still waiting"), and it is no busy wait either. The one log line is the termination of
  // the first child.
  auto interrupted = [] {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // a planted fault that makes it hang must not outlive the test
    struct sigaction tick = {};
    tick.sa_handler = [](int) {};
    sigaction(SIGALRM, &tick, nullptr);
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, nullptr);
    itimerval every_10ms = {{0, 10000}, {0, 10000}};
    setitimer(ITIMER_REAL, &every_10ms, nullptr);
    Output silent;
    silent.cancel_at_empty = 3;
    std::string results = text(silent.run(Args{"/bin/sleep", "6"}));
    auto use_up_descriptors = [](void*, const char*, int) {  // from its first call on
      rlimit low = {64, 64};
      setrlimit(RLIMIT_NOFILE, &low);
      while (dup(2) >= 0) continue;
      return 0;
    };
    Args closing{"/bin/sh", "-c", "exec >&- 2>&-; sleep 3"};
    results += " " + text(cmd_utils_run_cmd(closing, use_up_descriptors, nullptr));
    results += std::clock() < CLOCKS_PER_SEC / 2 ? " idle" : " busy";  // the processor time of this process
    fprintf(stderr, "%s\n", results.c_str());
    _exit(0);
  };
  EXPECT_EXIT(interrupted(), testing::ExitedWithCode(0),
              "^[^\n]* Terminating process '/bin/sleep' \\(pid [0-9]+\\)\nCancelled/0/0 OK/0/0 idle\n$");
}

TEST_F(CmdUtils, InputIsFedInChunksUntilTheChildExits) {
  signal(SIGPIPE, SIG_DFL);  // as a process starts; runs that failed left it ignored
  std::string big(1 << 20, 'b');  // more than the pipe holds
  big[7] = '\0';
  Feed feed;  // the first chunk fills the pipe while the child sleeps: the next one waits for room
  feed.chunks = {big.substr(0, 1 << 16), "abc", std::string("\0\1\n", 3)};
  EXPECT_EQ("OK/0/0", text(feed.run(Args{"/bin/sh", "-c", "sleep 0.5; exec cat > \"$0\"", file("in")}, 0)));
  EXPECT_EQ(feed.chunks[0] + feed.chunks[1] + feed.chunks[2], test::read_file(file("in")));
  EXPECT_EQ((1u << 16) + 6, feed.written);
  EXPECT_EQ("Command: redirecting output to /dev/null\n\nnot hidden\n", test::captured_stdout([] {
              Feed().run(Args{"/bin/echo", "hidden"}, CMD_WRITE_OUTPUT_TO_NULL);
              int saved_stdin = dup(0);  // without a standard input, /dev/null opens as 0: no redirection
              close(0);
              Feed().run(Args{"/bin/sh", "-c", "sleep 0.1; echo not hidden"}, CMD_WRITE_OUTPUT_TO_NULL);
              EXPECT_EQ(-1, fcntl(0, F_GETFD));  // nor is a descriptor of the run left open there
              dup2(saved_stdin, 0);
              close(saved_stdin);
            }));
  EXPECT_EQ(SIG_DFL, signal(SIGPIPE, SIG_DFL));  // ignored during each run only

  // With CMD_WRITE_EMPTY_IS_IDLE the feed waits for more; the run ends with the child. A child
  // that exits before its input: a chunk taken by the stream finds the pipe broken at the close
  // (a warning), one that reaches the pipe at once fails the run.
  CaptureStderr();
  Feed script, killer, small, large;
  script.chunks = {"exit 4\n"};
  killer.chunks = {"kill -KILL $$\n"};
  Args shell{"/bin/sh", "-s"};
  int flags = CMD_WRITE_EMPTY_IS_IDLE | CMD_WRITE_POLL_CHILD | CMD_WRITE_LINE_BUFFERED;
  EXPECT_EQ("OK/0/4", text(script.run(shell, flags)));
  EXPECT_EQ("Failed/0/0", text(killer.run(shell, flags)));
  small.chunks = {"x"};
  large.chunks = {big};
  small.before_first = large.before_first = [] {  // waits until the child has exited, without reaping it
    siginfo_t info;
    waitid(P_ALL, 0, &info, WEXITED | WNOWAIT);
  };
  Args exit5{"/bin/sh", "-c", "exit 5"};
  EXPECT_EQ("OK/0/5", text(small.run(exit5, 0)));
  EXPECT_EQ("WriteFailed/" + std::to_string(EPIPE) + "/0", text(large.run(exit5, 0)));
  std::string log = GetCapturedStderr();
  EXPECT_EQ(1, lines(log, "\\(loop\\) Child [0-9]+ exitted normally \\(0\\)$"));  // 0, not 4
  EXPECT_EQ(1, lines(log, "\\(loop\\) Child [0-9]+ exitted abnormally \\(0\\)$"));
  EXPECT_LE(1, lines(log, "Warning: fclose\\(\\) of pipe failed with EPIPE; ignored$"));
  EXPECT_EQ(1, lines(log, "Terminating process '/bin/sh'"));
  EXPECT_EQ(2, lines(log, "\\(finalize\\) Child [0-9]+ exitted normally \\(0\\)$"));
  EXPECT_EQ(SIG_IGN, signal(SIGPIPE, SIG_DFL));  // left ignored after the failed run
}

TEST_F(CmdUtils, StuckAndLostChildren) {
  // A cancelled reading run waits for its child that ignores SIGTERM as long as it takes (here
  // until its sleep of 5 s is over; its "ready" comes on standard error, which is read with the
  // output). A writing run gives up on a child that does not end after its input after 50 polls,
  // about ten seconds, and leaves it to the caller.
  CaptureStderr();
  Output reading;
  reading.cancel_at_bytes = 6;
  EXPECT_EQ("Cancelled/0/0", text(reading.run(Args{"/usr/bin/sh", "-c", "trap '' TERM; echo ready >&2; sleep 5"})));
  Args stuck{"/bin/sh", "-c", "echo $$ > \"$0\"; exec sleep 60", file("pid")};
  EXPECT_EQ("WaitFailed/" + std::to_string(EAGAIN) + "/0", text(Feed().run(stuck, 0)));
  int pid = atoi(test::read_file(file("pid")).c_str());
  ASSERT_GT(pid, 1);  // never kill(0) or kill(-1)
  EXPECT_EQ(0, kill(pid, SIGKILL)) << "the stuck child is the caller's to end";
  waitpid(pid, nullptr, 0);
  // A lost child (the kernel reaps the children, so waitpid fails) is a failed wait when reading
  // and a cancelled feed when writing.
  auto previous = signal(SIGCHLD, SIG_IGN);
  std::string results = text(Output().run(Args{"/bin/true"})) + " " + text(Feed().run(Args{"/bin/sh"}, 0));
  signal(SIGCHLD, previous);
  std::string log = GetCapturedStderr();
  EXPECT_EQ("WaitFailed/" + std::to_string(ECHILD) + "/0 Cancelled/0/0", results);
  EXPECT_LE(1, lines(log, "still waiting for '/usr/bin/sh' \\(pid [0-9]+\\)\\.\\.\\.$"));
  EXPECT_EQ(2, lines(log, "still waiting for '/bin/sh' \\(pid " + std::to_string(pid) + "\\)\\.\\.\\.$"));
  EXPECT_EQ(1, lines(log, "Warning: breaking infinite loop\\.$"));
  EXPECT_EQ(1, lines(log, "waitpid\\([0-9]+\\) failed: No child processes$"));  // the writing run
}

TEST_F(CmdUtils, ChildrenGetNoDescriptorWhenCloseOnExecIsAsked) {
  int spared = dup2(2, 254), leaked = dup2(2, 255);  // inheritable copies; 255 is the last one marked
  set_cloexec_flag_for_all_fds_except_one(spared);
  Output listing;  // the reading pipe is close-on-exec as well
  listing.run(Args{"/bin/sh", "-c", "exec ls /proc/self/fd < /dev/null"});
  EXPECT_EQ("0\n1\n2\n254\n3\n", listing.bytes);  // ls adds its own 3
  CaptureStderr();
  std::string ls = "exec ls /proc/self/fd < /dev/null > " + file("fds");
  EXPECT_EQ(0, safe_system_with_log(ls.c_str()));
  EXPECT_EQ("0\n1\n2\n3\n", test::read_file(file("fds")));
  EXPECT_EQ(3 << 8, safe_system_ext("exit 3", 1));
  EXPECT_EQ(3 << 8, safe_system_with_log("exit 3"));
  EXPECT_EQ("Executing command '" + ls + "'...\nRunning system(" + ls + ")\nResult status: 0\n" +
                "Executing command 'exit 3'...\nRunning system(exit 3)\nResult status: 768\n" +
                "Command 'exit 3' failed with status 768\n",
            test::log_messages(GetCapturedStderr()));
  dup2(2, spared);
  Feed().run(Args{"/bin/sh", "-c", "exec ls /proc/self/fd > \"$0\"", file("fds")}, CMD_WRITE_CLOEXEC);
  EXPECT_EQ("0\n1\n2\n3\n", test::read_file(file("fds")));
  close(leaked);
  close(spared);
}

TEST_F(CmdUtils, ToolRunsAProgramAndExitsWithItsStatus) {
  test::expect_tool({{"run -- /bin/sh -c 'echo hi; exit 3'", 3, "hi\n/bin/sh: OK (exit status = 3)\n", true},
                     {"run --quiet /bin/echo a b", 0, "a b\n", true},
                     {"run -- /bin/sh -c 'kill -KILL $$'", 1, "/bin/sh: Failed\n", true},
                     {"run --", 2, ""}});
}
