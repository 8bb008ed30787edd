// Running a program that exits at once, and capturing 10 MB of a child's output, beside the
// C library's ways of doing the same: posix_spawn + waitpid, and popen + fread. Wall time,
// since the work happens in child processes.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "quiet.hpp"

#include "vonautil.h"

extern char** environ;

namespace {

constexpr size_t kOutputSize = 10u << 20;

// 10 MB of printable text (no NULs, which a capture drops), removed at exit.
struct OutputFile {
  std::string path = "/tmp/vonautil-bench-cmd-XXXXXX";
  OutputFile() {
    int fd = mkstemp(&path[0]);
    std::string line;
    for (int i = 0; i < 99; ++i) line += (char)('!' + i % 90);
    line += '\n';
    std::string content;
    while (content.size() < kOutputSize) content += line;
    content.resize(kOutputSize);
    if (fd < 0 || write(fd, content.data(), content.size()) != (ssize_t)content.size()) path.clear();
    if (fd >= 0) close(fd);
  }
  ~OutputFile() {
    if (!path.empty()) unlink(path.c_str());
  }
};

const OutputFile& output_file() {
  static OutputFile instance;
  return instance;
}

int ignore_output(void*, const char*, int) { return 0; }

void BM_ExitAtOnce_Library(benchmark::State& state) {
  string_array* args = string_array_create_single("/bin/true");
  for (auto _ : state) {
    cmd_result result = cmd_utils_run_cmd(args, ignore_output, nullptr);
    if (result.status != CMD_OK || result.exit_status != 0) state.SkipWithError("/bin/true failed");
  }
  string_array_free(args);
}

void BM_ExitAtOnce_PosixSpawn(benchmark::State& state) {
  char* argv[] = {(char*)"/bin/true", nullptr};
  for (auto _ : state) {
    pid_t pid;
    int status = 0;
    if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv, environ) != 0 || waitpid(pid, &status, 0) != pid ||
        status != 0) {
      state.SkipWithError("/bin/true failed");
    }
  }
}

void BM_Capture10MB_Library(benchmark::State& state) {
  string_array* args = string_array_create_single("/bin/cat");
  string_array_add(args, output_file().path.c_str());
  for (auto _ : state) {
    Quiet quiet(stdout);  // a capture echoes what it collects
    char* text = run_cmd_and_capture_output(args);
    if (strlen(text) != kOutputSize) state.SkipWithError("short capture");
    free(text);
  }
  string_array_free(args);
  state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)kOutputSize);
}

void BM_Capture10MB_PopenFread(benchmark::State& state) {
  std::string command = "/bin/cat " + output_file().path;
  for (auto _ : state) {
    FILE* pipe = popen(command.c_str(), "r");
    std::string text;
    char block[65536];
    size_t n;
    while ((n = fread(block, 1, sizeof block, pipe)) > 0) text.append(block, n);
    pclose(pipe);
    if (text.size() != kOutputSize) state.SkipWithError("short capture");
  }
  state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)kOutputSize);
}

// For scale: the same output through an output callback, which is called once per byte.
int count_bytes(void* user, const char*, int length) {
  *static_cast<size_t*>(user) += (size_t)length;
  return 0;
}

void BM_Capture10MB_LibraryPerByteCallback(benchmark::State& state) {
  string_array* args = string_array_create_single("/bin/cat");
  string_array_add(args, output_file().path.c_str());
  for (auto _ : state) {
    size_t count = 0;
    cmd_utils_run_cmd(args, count_bytes, &count);
    if (count != kOutputSize) state.SkipWithError("short capture");
  }
  string_array_free(args);
  state.SetBytesProcessed((int64_t)state.iterations() * (int64_t)kOutputSize);
}

BENCHMARK(BM_ExitAtOnce_Library)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_ExitAtOnce_PosixSpawn)->Unit(benchmark::kMicrosecond)->UseRealTime();
BENCHMARK(BM_Capture10MB_Library)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Capture10MB_PopenFread)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Capture10MB_LibraryPerByteCallback)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
