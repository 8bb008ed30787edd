#include "player/src/util/mt/cmd_utils.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "test_support.hpp"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

struct Args {
  string_array* sa = string_array_create_empty();
  Args(std::initializer_list<std::string> items) {
    for (const std::string& item : items) string_array_add(sa, item.c_str());
  }
  ~Args() { string_array_free(sa); }
  operator const string_array*() const { return sa; }
};

std::string text(cmd_result r) {
  return std::string(cmd_status_to_string(r.status)) + "/" + std::to_string(r.error) + "/" + std::to_string(r.exit_status);
}

// The number of lines of a log that contain a match of the pattern.
int lines(const std::string& log, const std::string& pattern) {
  std::regex re(pattern);
  std::istringstream in(log);
  int count = 0;
  for (std::string line; std::getline(in, line);) count += std::regex_search(line, re) ? 1 : 0;
  return count;
}

// The pids of the processes whose parent is this test: zombies and strays alike.
std::vector<int> children() {
  std::vector<int> pids;
  DIR* proc = opendir("/proc");
  while (dirent* entry = readdir(proc)) {
    std::string stat = test::read_file(std::string("/proc/") + entry->d_name + "/stat");
    size_t paren = stat.rfind(')');
    int ppid = 0;
    if (paren != std::string::npos && sscanf(stat.c_str() + paren + 1, " %*c %d", &ppid) == 1 && ppid == getpid()) {
      pids.push_back(atoi(entry->d_name));
    }
  }
  closedir(proc);
  return pids;
}

// Records what an output callback is given, and cancels at a chosen call or quiet period.
struct Output {
  std::string bytes;  // the one-byte chunks in order
  int calls = 0, empty = 0, longer = 0;
  int cancel_at_empty = 0;  // cancel at this empty chunk (1: the first call)
  size_t cancel_at_bytes = 0;
  static int record(void* user, const char* data, int length) {
    Output* o = static_cast<Output*>(user);
    ++o->calls;
    if (length == 0) ++o->empty;
    else if (length == 1) o->bytes += *data;
    else ++o->longer;
    return (length == 0 && o->empty == o->cancel_at_empty) || (length == 1 && o->bytes.size() == o->cancel_at_bytes) ? 1 : 0;
  }
  cmd_result run(const string_array* args) { return cmd_utils_run_cmd(args, record, this); }
};

// Feeds chunks to the child: a chunk stays until on_written takes it, then the next comes; after
// the last one, empty chunks. Cancels from either callback when asked.
struct Feed {
  std::vector<std::string> chunks;
  size_t next = 0, written = 0;
  int produced = 0, cancel_at_produce = 0;
  bool cancel_on_written = false;
  void (*before_first)(Feed*) = nullptr;
  std::string pid_file;

  static int produce(void* user, str_seg* chunk) {
    Feed* f = static_cast<Feed*>(user);
    if (f->produced++ == 0 && f->before_first) f->before_first(f);
    bool more = f->next < f->chunks.size();
    *chunk = more ? str_seg{f->chunks[f->next].data(), (int)f->chunks[f->next].size()} : str_seg{"", 0};
    if (!more) usleep(1000);  // with CMD_WRITE_EMPTY_IS_IDLE the loop calls again at once
    return f->produced == f->cancel_at_produce ? 1 : 0;
  }
  static int on_written(void* user, int count) {
    Feed* f = static_cast<Feed*>(user);
    f->written += (size_t)count;
    ++f->next;
    return f->cancel_on_written ? 1 : 0;
  }
  cmd_result run(const string_array* args, int flags) {
    return cmd_utils_run_cmd_write(args, produce, on_written, this, flags);
  }
};

// Waits, without reaping it, until the only child of the test has exited.
void wait_for_child_exit(Feed*) {
  std::vector<int> pids = children();
  ASSERT_EQ(1u, pids.size());
  siginfo_t info;
  waitid(P_PID, (id_t)pids[0], &info, WEXITED | WNOWAIT);
}

void wait_for_pid_file(Feed* f) {
  while (access(f->pid_file.c_str(), F_OK) != 0) usleep(10000);
}

std::string binary_content() {
  std::string content;
  for (int round = 0; round < 40; ++round) {
    for (int byte = 0; byte < 256; ++byte) content += (char)byte;
  }
  return content + "end";
}

class CmdUtils : public test::SandboxTest {
 protected:
  void TearDown() override { EXPECT_TRUE(children().empty()) << "a child was left behind"; }
  std::string file(const char* name) { return sandbox.root() + "/" + name; }
};

}  // namespace

TEST(CmdStatus, NamesAndDumpLines) {
  const char* names[] = {"OK", "Failed", "OpenFailed", "SelectFailed", "ReadFailed",
                         "WriteFailed", "WaitFailed", "CloseFailed", "Cancelled"};
  for (int s = 0; s <= 8; ++s) EXPECT_STREQ(names[s], cmd_status_to_string((cmd_status)s));
  EXPECT_STREQ("!invalid!", cmd_status_to_string((cmd_status)9));
  EXPECT_STREQ("!invalid!", cmd_status_to_string((cmd_status)-1));

  CaptureStdout();
  cmd_result_dump({CMD_OK, 0, 3}, "a");
  errno = ENOENT;  // the failure lines show the current errno, not the recorded error
  cmd_result_dump({CMD_OPEN_FAILED, EPIPE, 0}, "b");
  errno = ENOENT;
  cmd_result_dump({CMD_CLOSE_FAILED, EPIPE, 0}, "c");
  cmd_result_dump({CMD_FAILED, 0, 0}, "d");
  cmd_result_dump({CMD_CANCELLED, 0, 0}, "e");
  cmd_result_dump({(cmd_status)9, 0, 0}, "f");
  EXPECT_EQ("a: OK (exit status = 3)\nb: OpenFailed (No such file or directory)\n"
            "c: CloseFailed (No such file or directory)\nd: Failed\ne: Cancelled\nf: !invalid!\n",
            GetCapturedStdout());
}

TEST_F(CmdUtils, OutputArrivesByteByByteWithNulsAsEmptyChunks) {
  std::string content = binary_content();
  test::write_file(file("bin"), content);
  std::string without_nuls = content;
  without_nuls.erase(std::remove(without_nuls.begin(), without_nuls.end(), '\0'), without_nuls.end());

  Output out;
  EXPECT_EQ("OK/0/0", text(out.run(Args{"/bin/cat", file("bin")})));
  EXPECT_EQ(without_nuls, out.bytes);
  EXPECT_EQ(0, out.longer);
  EXPECT_GE(out.empty, 1 + 40);  // the first call and one per NUL, plus any quiet periods

  CaptureStdout();  // a capture echoes what it collects
  EXPECT_EQ(without_nuls, test::take_string(run_cmd_and_capture_output(Args{"/bin/cat", file("bin")})));
  fflush(stdout);
  EXPECT_EQ(without_nuls, GetCapturedStdout());
  EXPECT_EQ("", test::take_string(run_cmd_and_capture_output(Args{"/bin/true"})));

  // Standard output and error both come through the pipe; the exit code is the result's.
  Output merged;
  EXPECT_EQ("OK/0/3", text(merged.run(Args{"/bin/sh", "-c", "echo out; echo err >&2; exit 3"})));
  EXPECT_EQ("out\nerr\n", merged.bytes);

  // The stream of cmd_utils_popen carries every byte, NULs included.
  pid_t pid = 0;
  FILE* stream = cmd_utils_popen(Args{"/bin/cat", file("bin")}, "r", &pid, 0, 0);
  ASSERT_NE(nullptr, stream);
  std::string read_back(content.size() + 10, 'x');
  read_back.resize(fread(&read_back[0], 1, read_back.size(), stream));
  fclose(stream);
  int status = 0;
  EXPECT_EQ(pid, waitpid(pid, &status, 0));
  EXPECT_EQ(content, read_back);
}

TEST_F(CmdUtils, SignalsMissingProgramsAndBadArguments) {
  Output killed;
  EXPECT_EQ("Failed/0/0", text(killed.run(Args{"/bin/sh", "-c", "kill -KILL $$"})));

  Output missing;  // no PATH search: the child reports the failed execve and exits with 1
  EXPECT_EQ("OK/0/1", text(missing.run(Args{"sh", "-c", "true"})));
  EXPECT_EQ("cmd_utils_popen(): execve(sh) failed!\n", missing.bytes);
  CaptureStdout();
  Feed quiet_feed;
  EXPECT_EQ("OK/0/1", text(quiet_feed.run(Args{"/nonexistent/program"}, CMD_WRITE_QUIET)));
  EXPECT_EQ("", GetCapturedStdout());

  Args none{};
  std::string module = "player/src/util/mt/cmd_utils";
  EXPECT_DEATH(Output().run(none), test::assertion_report(module, 0, "cmd_utils_run_cmd", "cmd_args->size >= 1"));
  EXPECT_DEATH(Feed().run(none, 0), test::assertion_report(module, 0, "cmd_utils_run_cmd_write", "cmd_args->size >= 1"));
  pid_t pid;
  EXPECT_DEATH(cmd_utils_popen(Args{"/bin/true"}, "x", &pid, 0, 0),
               test::assertion_report(module, 0, "cmd_utils_popen", "*type == 'r' || *type == 'w'"));

  // Without free descriptors the pipe cannot be made.
  auto without_descriptors = [] {
    rlimit limit = {3, 3};
    setrlimit(RLIMIT_NOFILE, &limit);
    fprintf(stderr, "%s\n", text(Output().run(Args{"/bin/true"})).c_str());
    _exit(0);
  };
  EXPECT_EXIT(without_descriptors(), testing::ExitedWithCode(0), "cmd_utils_popen\\(\\): pipe\\(\\) failure!\n.*OpenFailed/24/0");
}

TEST_F(CmdUtils, EveryCallbackCanCancelAndTheChildIsTerminated) {
  CaptureStderr();
  Output first;  // cancelled on the very first call
  first.cancel_at_empty = 1;
  EXPECT_EQ("Cancelled/0/0", text(first.run(Args{"/bin/sleep", "30"})));
  Output silent;  // a silent child still gets a call with an empty chunk every 200 ms
  silent.cancel_at_empty = 3;
  EXPECT_EQ("Cancelled/0/0", text(silent.run(Args{"/bin/sleep", "30"})));
  Output talkative;
  talkative.cancel_at_bytes = 10;
  EXPECT_EQ("Cancelled/0/0", text(talkative.run(Args{"/bin/sh", "-c", "while :; do echo y; done"})));
  EXPECT_EQ("y\ny\ny\ny\ny\n", talkative.bytes);

  Feed at_produce;
  at_produce.chunks = {"data"};
  at_produce.cancel_at_produce = 1;
  EXPECT_EQ("Cancelled/0/0", text(at_produce.run(Args{"/bin/cat"}, 0)));
  Feed at_written;
  at_written.chunks = {"data", "more"};
  at_written.cancel_on_written = true;
  EXPECT_EQ("Cancelled/0/0", text(at_written.run(Args{"/bin/cat"}, 0)));
  EXPECT_EQ(4u, at_written.written);
  std::string log = GetCapturedStderr();
  EXPECT_EQ(2, lines(log, "Terminating process '/bin/sleep' \\(pid [0-9]+\\)$"));
  EXPECT_EQ(1, lines(log, "Terminating process '/bin/sh' "));
  EXPECT_EQ(2, lines(log, "Terminating process '/bin/cat' "));

  CaptureStderr();  // quiet: the same run without a line
  Feed quiet;
  quiet.cancel_at_produce = 1;
  EXPECT_EQ("Cancelled/0/0", text(quiet.run(Args{"/bin/cat"}, CMD_WRITE_QUIET)));
  EXPECT_EQ("", GetCapturedStderr());
}

TEST_F(CmdUtils, InputIsFedInChunks) {
  std::string big(1 << 20, 'b');  // larger than the pipe: written while the child reads
  big[7] = '\0';
  for (int flags : {0, (int)CMD_WRITE_LINE_BUFFERED}) {
    Feed feed;
    feed.chunks = {"abc", std::string("\0\1\n", 3), big, "end"};
    EXPECT_EQ("OK/0/0", text(feed.run(Args{"/bin/sh", "-c", "exec cat > \"$0\"", file("in")}, flags)));
    EXPECT_EQ(feed.chunks[0] + feed.chunks[1] + big + "end", test::read_file(file("in")));
    EXPECT_EQ(9 + big.size(), feed.written);
  }

  // Empty chunks mean "nothing yet" with CMD_WRITE_EMPTY_IS_IDLE; the run then ends when the
  // child does (line-buffered, so that the command reaches the shell at once).
  CaptureStderr();
  Feed script;
  script.chunks = {"echo fed > \"$1\"\n", "exit 4\n"};
  Args shell{"/bin/sh", "-s", file("out")};
  int flags = CMD_WRITE_EMPTY_IS_IDLE | CMD_WRITE_POLL_CHILD | CMD_WRITE_LINE_BUFFERED;
  EXPECT_EQ("OK/0/4", text(script.run(shell, flags)));
  Feed killer;
  killer.chunks = {"kill -KILL $$\n"};
  EXPECT_EQ("Failed/0/0", text(killer.run(shell, flags)));
  std::string log = GetCapturedStderr();
  EXPECT_EQ(1, lines(log, "\\(loop\\) Child [0-9]+ exitted normally \\(0\\)$"));  // 0, not the exit code 4
  EXPECT_EQ(1, lines(log, "\\(loop\\) Child [0-9]+ exitted abnormally \\(0\\)$"));
  EXPECT_EQ("fed\n", test::read_file(file("out")));

  // Output to /dev/null: the child says so before it goes.
  CaptureStdout();
  Feed to_null, to_stdout;
  to_null.run(Args{"/bin/echo", "visible"}, CMD_WRITE_OUTPUT_TO_NULL);
  to_stdout.run(Args{"/bin/echo", "visible"}, CMD_WRITE_QUIET);
  EXPECT_EQ("Command: redirecting output to /dev/null\n\nvisible\n", GetCapturedStdout());
}

TEST_F(CmdUtils, ChildExitingBeforeItsInput) {
  CaptureStderr();
  Feed small;  // the stream takes the byte; the close finds the pipe broken and carries on
  small.chunks = {"x"};
  small.before_first = wait_for_child_exit;
  EXPECT_EQ("OK/0/5", text(small.run(Args{"/bin/sh", "-c", "exit 5"}, 0)));
  Feed big;  // a write that reaches the pipe fails
  big.chunks = {std::string(1 << 20, 'x')};
  big.before_first = wait_for_child_exit;
  EXPECT_EQ("WriteFailed/" + std::to_string(EPIPE) + "/0", text(big.run(Args{"/bin/sh", "-c", "exit 5"}, 0)));
  Feed polled;  // noticed by the poll before anything is written
  polled.chunks = {"x"};
  polled.before_first = wait_for_child_exit;
  EXPECT_EQ("OK/0/5", text(polled.run(Args{"/bin/sh", "-c", "exit 5"}, CMD_WRITE_POLL_CHILD)));
  EXPECT_EQ(0u, polled.written);
  std::string log = GetCapturedStderr();
  EXPECT_LE(1, lines(log, "Warning: fclose\\(\\) of pipe failed with EPIPE; ignored$"));
  EXPECT_EQ(1, lines(log, "Terminating process '/bin/sh'"));
  EXPECT_EQ(2, lines(log, "\\(finalize\\) Child [0-9]+ exitted normally \\(0\\)$"));
  EXPECT_EQ(1, lines(log, "\\(loop\\) Child [0-9]+ exitted normally \\(0\\)$"));
  EXPECT_EQ(SIG_IGN, signal(SIGPIPE, SIG_DFL));  // left ignored after the failed run
}

TEST_F(CmdUtils, WritingGivesUpOnAStuckChildAfterFiftyPolls) {
  // Two runs at once (the functions share no state), about ten seconds each: one cancelled
  // with a child that ignores SIGTERM, one whose child does not end after its input.
  Feed cancelled, finished;
  cancelled.pid_file = file("pid1");
  cancelled.cancel_at_produce = 1;
  finished.pid_file = file("pid2");
  cancelled.before_first = finished.before_first = wait_for_pid_file;
  const char* script = "trap '' TERM; echo $$ > \"$0.tmp\"; mv \"$0.tmp\" \"$0\"; exec sleep 60";
  cmd_result results[2];
  CaptureStderr();
  std::thread first([&] { results[0] = cancelled.run(Args{"/bin/sh", "-c", script, cancelled.pid_file}, 0); });
  results[1] = finished.run(Args{"/bin/sh", "-c", script, finished.pid_file}, 0);
  first.join();
  std::string log = GetCapturedStderr();
  EXPECT_EQ("Cancelled/0/0", text(results[0]));
  EXPECT_EQ("WaitFailed/11/0", text(results[1]));
  for (const Feed* feed : {&cancelled, &finished}) {
    int pid = atoi(test::read_file(feed->pid_file).c_str());
    std::string waiting = "still waiting for '/bin/sh' (pid " + std::to_string(pid) + ")...\n";
    size_t at = log.find(waiting);
    EXPECT_NE(std::string::npos, at);  // at the 20th and the 40th poll
    EXPECT_NE(std::string::npos, log.find(waiting, at + 1));
    EXPECT_EQ(std::string::npos, log.find(waiting, log.find(waiting, at + 1) + 1));
    EXPECT_EQ(0, kill(pid, 0)) << "the stuck child is the caller's to end";
    kill(-pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  EXPECT_EQ(1, lines(log, "Terminating process '/bin/sh'"));
  EXPECT_EQ(2, lines(log, "Warning: breaking infinite loop\\.$"));
}

TEST_F(CmdUtils, ALostChildIsAFailedWaitOrACancelledFeed) {
  // With SIGCHLD ignored the kernel reaps children itself and waitpid fails with ECHILD.
  struct sigaction ignore = {}, previous;
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGCHLD, &ignore, &previous);
  CaptureStderr();
  Output out;
  cmd_result read = out.run(Args{"/bin/true"});
  Feed polled;
  polled.before_first = wait_for_child_exit;
  cmd_result poll = polled.run(Args{"/bin/sh", "-c", "sleep 0.2"}, CMD_WRITE_EMPTY_IS_IDLE | CMD_WRITE_POLL_CHILD);
  cmd_result finalize = Feed().run(Args{"/bin/sh", "-c", "sleep 0.2"}, 0);
  std::string log = GetCapturedStderr();
  sigaction(SIGCHLD, &previous, nullptr);
  EXPECT_EQ("WaitFailed/" + std::to_string(ECHILD) + "/0", text(read));
  EXPECT_EQ("Cancelled/0/0", text(poll));
  EXPECT_EQ("Cancelled/0/0", text(finalize));
  EXPECT_EQ(3, lines(log, "waitpid\\([0-9]+\\) failed: No child processes$"));  // feed poll, its finalize, finalize
}

TEST_F(CmdUtils, ChildrenGetNoDescriptorWhenCloseOnExecIsAsked) {
  int leaked = dup2(2, 100), spared = dup2(2, 101);  // dup2 leaves the copies inheritable
  ASSERT_EQ(100, leaked);
  Args list_to_file{"/bin/sh", "-c", "exec ls /proc/self/fd > \"$0\"", file("fds")};
  // ls lists 0-2, its own directory descriptor 3 and whatever it inherited.
  Feed plain;
  plain.run(list_to_file, 0);
  EXPECT_NE(std::string::npos, test::read_file(file("fds")).find("\n100\n101\n"));
  Feed cloexec;
  cloexec.run(list_to_file, CMD_WRITE_CLOEXEC);
  EXPECT_EQ("0\n1\n2\n3\n", test::read_file(file("fds")));

  dup2(2, 100);
  dup2(2, 101);
  set_cloexec_flag_for_all_fds_except_one(101);
  Output listing;  // the reading pipe itself is close-on-exec as well
  listing.run(Args{"/bin/sh", "-c", "exec ls /proc/self/fd < /dev/null"});
  EXPECT_EQ("0\n1\n101\n2\n3\n", listing.bytes);
  CaptureStderr();
  EXPECT_EQ(0, safe_system(("exec ls /proc/self/fd < /dev/null > " + file("fds")).c_str()));
  EXPECT_EQ("0\n1\n2\n3\n", test::read_file(file("fds")));
  close(leaked);
  close(spared);

  EXPECT_EQ(3 << 8, safe_system_ext("exit 3", 1));
  EXPECT_EQ(3 << 8, safe_system_with_log("exit 3"));
  std::string log = GetCapturedStderr();
  EXPECT_EQ(2, lines(log, "Running system\\((exec ls .*|exit 3)\\)$"));  // not the quiet one
  EXPECT_EQ(1, lines(log, "Result status: 0$"));
  EXPECT_EQ(1, lines(log, "Result status: 768$"));
  EXPECT_EQ(1, lines(log, "Executing command 'exit 3'\\.\\.\\.$"));
  EXPECT_EQ(1, lines(log, "Command 'exit 3' failed with status 768$"));
}

TEST_F(CmdUtils, ToolRunsAProgramAndExitsWithItsStatus) {
  std::string output;
  EXPECT_EQ(3, test::run_tool("run -- /bin/sh -c 'echo hi; exit 3'", &output));
  EXPECT_EQ("hi\n/bin/sh: OK (exit status = 3)\n", output);
  EXPECT_EQ(0, test::run_tool("run --quiet /bin/echo a b", &output));
  EXPECT_EQ("a b\n", output);
  EXPECT_EQ(1, test::run_tool("run -- /bin/sh -c 'kill -KILL $$'", &output));
  EXPECT_EQ("/bin/sh: Failed\n", output);
  EXPECT_EQ(2, test::run_tool("run --", &output));
}
