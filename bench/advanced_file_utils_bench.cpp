// Recursive copy and removal of a user's folder beside `cp -r` and `rm -rf`, run as child
// processes in the same run, on a memory file system (/dev/shm, else /tmp), as /tmp is on the
// player: a tree of 20,000 small files in 200 folders, and four files of 8 MiB. The library
// logs one line per copied entry; its log goes to a file beside the tree, as on the player.
// Each round's destination is prepared (the previous copy removed, or the tree to remove
// copied) outside the measured time; wall time, as the peers run in other processes.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

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

int write_file(const std::string& path, const char* data, size_t size) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) return -1;
  (void)!write(fd, data, size);
  return close(fd);
}

// The source trees in a temporary directory on a memory file system, removed at exit.
struct Trees {
  std::string dir;
  std::string small;  // 200 folders of 100 files of 100 to 4,099 bytes
  std::string large;  // four files of 8 MiB
  Trees() {
    for (const char* base : {"/dev/shm", "/tmp"}) {
      std::string pattern = std::string(base) + "/vonautil-bench-XXXXXX";
      if (mkdtemp(&pattern[0]) != nullptr) {
        dir = pattern;
        break;
      }
    }
    if (dir.empty()) return;
    small = dir + "/Music";
    large = dir + "/Movies";
    mkdir(small.c_str(), 0755);
    mkdir(large.c_str(), 0755);
    std::mt19937 random(3);
    std::string content(8192, 'x');
    for (char& c : content) c = (char)random();
    for (int folder = 0; folder < kFolders; ++folder) {
      std::string path = small + "/Album " + std::to_string(folder);
      mkdir(path.c_str(), 0755);
      for (int file = 0; file < kFilesPerFolder; ++file) {
        write_file(path + "/" + std::to_string(file) + " track.lrc", content.data(), 100 + random() % 4000);
      }
    }
    std::string movie(kLargeSize, 'v');
    for (size_t i = 0; i < movie.size(); i += 4096) movie[i] = (char)random();
    for (int file = 0; file < kLargeFiles; ++file) {
      write_file(large + "/movie " + std::to_string(file) + ".mkv", movie.data(), movie.size());
    }
  }
  ~Trees() {
    if (!dir.empty()) run({"rm", "-rf", dir.c_str()});
  }
  std::string copy() const { return dir + "/copy"; }
  std::string log() const { return dir + "/copy.log"; }
};

const Trees& trees() {
  static Trees instance;
  return instance;
}

// Standard error goes to a fresh log file while the object lives.
class LogToFile {
 public:
  explicit LogToFile(const std::string& path) : saved_(dup(STDERR_FILENO)) {
    fflush(stderr);
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0644);
    dup2(fd, STDERR_FILENO);
    close(fd);
  }
  ~LogToFile() {
    fflush(stderr);
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }
  LogToFile(const LogToFile&) = delete;
  LogToFile& operator=(const LogToFile&) = delete;

 private:
  int saved_;
};

// One job per iteration: `prepare` runs outside the measured time, `job` inside it.
template <typename Prepare, typename Job>
void measure(benchmark::State& state, Prepare prepare, Job job) {
  if (trees().dir.empty()) return state.SkipWithError("no temporary directory");
  for (auto _ : state) {
    prepare();
    LogToFile log(trees().log());
    auto start = std::chrono::steady_clock::now();
    bool ok = job();
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    if (!ok) state.SkipWithError("the job failed");
  }
}

void no_copy() { run({"rm", "-rf", trees().copy().c_str()}); }
void fresh_copy() {
  no_copy();
  run({"cp", "-r", trees().small.c_str(), trees().copy().c_str()});
}

bool library_copy(const std::string& source) {
  return FS_copy_recursively(source.c_str(), trees().copy().c_str(), 0, 0) == 1;
}
bool cp_r(const std::string& source) { return run({"cp", "-r", source.c_str(), trees().copy().c_str()}); }

void BM_CopyTree_Library(benchmark::State& state) {
  measure(state, no_copy, [] { return library_copy(trees().small); });
}
void BM_CopyTree_CpR(benchmark::State& state) {
  measure(state, no_copy, [] { return cp_r(trees().small); });
}
void BM_CopyLargeFiles_Library(benchmark::State& state) {
  measure(state, no_copy, [] { return library_copy(trees().large); });
}
void BM_CopyLargeFiles_CpR(benchmark::State& state) {
  measure(state, no_copy, [] { return cp_r(trees().large); });
}
void BM_RemoveTree_Library(benchmark::State& state) {
  measure(state, fresh_copy, [] { return FS_remove_recursively_if_exists(trees().copy().c_str()) == 0; });
}
void BM_RemoveTree_RmRf(benchmark::State& state) {
  measure(state, fresh_copy, [] { return run({"rm", "-rf", trees().copy().c_str()}); });
}

#define JOB(name) BENCHMARK(name)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2)
JOB(BM_CopyTree_Library);
JOB(BM_CopyTree_CpR);
JOB(BM_CopyLargeFiles_Library);
JOB(BM_CopyLargeFiles_CpR);
JOB(BM_RemoveTree_Library);
JOB(BM_RemoveTree_RmRf);

}  // namespace

BENCHMARK_MAIN();
