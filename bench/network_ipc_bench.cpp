// The time a caller spends in try_ensure_network_mount against a daemon that mounts at once
// (the stand-in `vonautil daemon network_manager --mount-delay 0`, started by this program),
// beside its peer in the same run: the bare "mount" exchange plus one reload of the list,
// which is the least any client must do. Each iteration mounts a share that is not mounted
// yet; the counter "reloads" is the number of times the caller opened the list file, counted
// with inotify on "/tmp/run". The library's log lines go to /dev/null while it is measured.
#include <signal.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "player/src/util/mt/simple_ipc_client.hpp"
#include "quiet.hpp"
#include "vonautil.h"

namespace {

// A sandbox root with the daemon running on it, for the life of the program.
struct Daemon {
  std::string root;
  pid_t pid = -1;
  int watch = -1;  // inotify descriptor on /tmp/run
  Daemon() {
    std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm/vonautil-bench-XXXXXX" : "/tmp/vonautil-bench-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) return;
    root = pattern;
    setenv("VONAUTIL_ROOT", root.c_str(), 1);
    xml_document_initialize();
    FS_ensure_dirs((root + "/tmp/run").c_str(), 0755);
    std::string command = "exec " VONAUTIL_TOOL " daemon network_manager --mount-delay 0 >/dev/null 2>&1";
    pid = fork();
    if (pid == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), (char*)nullptr);
      _exit(127);
    }
    std::string dir = root + "/tmp/run/ipc__network_manager";
    for (int i = 0; i < 500 && !FS_is_dir(dir.c_str()); ++i) usleep(10000);
    Quiet quiet(stderr);
    network_ipc_open();
    watch = inotify_init1(IN_NONBLOCK);
    inotify_add_watch(watch, (root + "/tmp/run").c_str(), IN_OPEN);
  }
  ~Daemon() {
    network_ipc_close();
    if (pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
    }
    if (!root.empty()) FS_remove_recursively_if_exists(root.c_str());
  }
  // The opens of the list file since the last call.
  long long list_opens() {
    long long opens = 0;
    alignas(struct inotify_event) char buffer[4096];
    ssize_t n;
    while ((n = read(watch, buffer, sizeof buffer)) > 0) {
      for (char* p = buffer; p < buffer + n;) {
        const struct inotify_event* event = reinterpret_cast<const struct inotify_event*>(p);
        if (event->len > 0 && strcmp(event->name, "network_mount_list.xml") == 0) ++opens;
        p += sizeof(struct inotify_event) + event->len;
      }
    }
    return opens;
  }
};

Daemon& daemon_process() {
  static Daemon instance;
  return instance;
}

int next_share = 0;

void BM_EnsureMount_Library(benchmark::State& state) {
  Daemon& d = daemon_process();
  Quiet quiet(stderr);
  long long reloads = 0, mounted = 0;
  for (auto _ : state) {
    std::string dir = "share" + std::to_string(++next_share);
    d.list_opens();
    network_mount* m = try_ensure_network_mount(NETWORK_FOLDER_TYPE_SMB, "nas", dir.c_str(), "guest", "", -1, "bench");
    state.PauseTiming();
    reloads += d.list_opens();
    mounted += m != nullptr;
    state.ResumeTiming();
  }
  state.counters["reloads"] = benchmark::Counter((double)reloads, benchmark::Counter::kAvgIterations);
  state.counters["mounted"] = benchmark::Counter((double)mounted, benchmark::Counter::kAvgIterations);
}

void BM_EnsureMount_ExchangeAndReload(benchmark::State& state) {
  Daemon& d = daemon_process();
  Quiet quiet(stderr);
  long long reloads = 0;
  for (auto _ : state) {
    std::string dir = "share" + std::to_string(++next_share);
    long long id = 0;
    d.list_opens();
    network_ipc_send_and_wait_mount(NETWORK_FOLDER_TYPE_SMB, "nas", dir.c_str(), "guest", "", -1, "bench", &id);
    network_mount_list_reload_current();
    state.PauseTiming();
    reloads += d.list_opens();
    state.ResumeTiming();
  }
  state.counters["reloads"] = benchmark::Counter((double)reloads, benchmark::Counter::kAvgIterations);
}

BENCHMARK(BM_EnsureMount_Library)->Iterations(10)->Repetitions(10)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_EnsureMount_ExchangeAndReload)->Iterations(10)->Repetitions(10)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
