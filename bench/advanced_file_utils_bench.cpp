// Recursive copy and removal of a user's folder beside `cp -r` and `rm -rf`, run as child
// processes in the same run: a tree of 20,000 small files in 200 folders and four files of
// 8 MiB. Wall time, as the peers run in other processes. The library logs one line per copied
// entry; standard error goes to /dev/null while it is measured.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "quiet.hpp"
#include "vonautil.h"

extern char** environ;

namespace {

constexpr int kFolders = 200;
constexpr int kFilesPerFolder = 100;
constexpr int kLargeFiles = 4;
constexpr size_t kLargeSize = 8u << 20;

// Runs a program with its arguments and waits for it; true when it exited with 0.
bool run(std::vector<const char*> argv) {
  argv.push_back(nullptr);
  pid_t pid;
  if (posix_spawnp(&pid, argv[0], nullptr, nullptr, const_cast<char* const*>(argv.data()), environ) != 0) return false;
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The source tree in a temporary directory, removed at exit.
struct Tree {
  std::string dir;
  std::string source;
  Tree() {
    std::string pattern = "/tmp/vonautil-bench-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) return;
    dir = pattern;
    source = dir + "/Music";
    mkdir(source.c_str(), 0755);
    std::mt19937 random(3);
    std::string content(8192, 'x');
    for (char& c : content) c = (char)random();
    for (int folder = 0; folder < kFolders; ++folder) {
      std::string path = source + "/Album " + std::to_string(folder);
      mkdir(path.c_str(), 0755);
      for (int file = 0; file < kFilesPerFolder; ++file) {
        std::string name = path + "/" + std::to_string(file) + " track.lrc";
        int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd < 0) continue;
        (void)!write(fd, content.data(), 100 + random() % 4000);
        close(fd);
      }
    }
    std::string large(kLargeSize, 'v');
    for (size_t i = 0; i < large.size(); i += 4096) large[i] = (char)random();
    for (int file = 0; file < kLargeFiles; ++file) {
      std::string name = source + "/movie " + std::to_string(file) + ".mkv";
      int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      if (fd < 0) continue;
      (void)!write(fd, large.data(), large.size());
      close(fd);
    }
  }
  ~Tree() {
    if (!dir.empty()) run({"rm", "-rf", dir.c_str()});
  }
  std::string copy() const { return dir + "/copy"; }
};

const Tree& tree() {
  static Tree instance;
  return instance;
}

void remove_copy() { run({"rm", "-rf", tree().copy().c_str()}); }

// One copy per iteration, each removed again outside the timing.
template <typename Copy>
void measure_copy(benchmark::State& state, Copy copy) {
  for (auto _ : state) {
    if (!copy(tree())) state.SkipWithError("the copy failed");
    state.PauseTiming();
    remove_copy();
    state.ResumeTiming();
  }
}

// One removal per iteration of a copy made outside the timing.
template <typename Remove>
void measure_removal(benchmark::State& state, Remove remove) {
  for (auto _ : state) {
    state.PauseTiming();
    run({"cp", "-r", tree().source.c_str(), tree().copy().c_str()});
    state.ResumeTiming();
    if (!remove(tree())) state.SkipWithError("the removal failed");
  }
}

void BM_Copy_Library(benchmark::State& state) {
  measure_copy(state, [](const Tree& t) {
    Quiet quiet(stderr);
    return FS_copy_recursively(t.source.c_str(), t.copy().c_str(), 0, 0) == 1;
  });
}

void BM_Copy_CpR(benchmark::State& state) {
  measure_copy(state, [](const Tree& t) { return run({"cp", "-r", t.source.c_str(), t.copy().c_str()}); });
}

void BM_Remove_Library(benchmark::State& state) {
  measure_removal(state, [](const Tree& t) { return FS_remove_recursively_if_exists(t.copy().c_str()) == 0; });
}

void BM_Remove_RmRf(benchmark::State& state) {
  measure_removal(state, [](const Tree& t) { return run({"rm", "-rf", t.copy().c_str()}); });
}

BENCHMARK(BM_Copy_Library)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(BM_Copy_CpR)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(BM_Remove_Library)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK(BM_Remove_RmRf)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
