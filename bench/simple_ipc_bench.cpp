// The file-based IPC beside the same file steps made with plain system calls, in one run:
// - one request-response round trip (the client writes the request, the server scans, reads
//   and deletes it and writes the answer, the client reads and deletes the answer), all in
//   this thread, so the client's 50 ms polls are not part of it;
// - the server's scan of N pending requests (listing, reading, deleting, putting them in
//   serving order), with every request from its own process (the most work for the ordering
//   rule) and from 20 processes; N = 1,000 and 10,000 show whether the cost per request grows.
// The directory lies on a memory file system where there is one (/dev/shm), as "/tmp/run" does
// on the player. The library's log lines go to /dev/null while it is measured.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <benchmark/benchmark.h>

#include "quiet.hpp"
#include "vonautil.h"

namespace {

// A root for VONAUTIL_ROOT with the server's directory in it, removed at exit.
struct Root {
  std::string dir;
  Root() {
    std::string pattern = access("/dev/shm", W_OK) == 0 ? "/dev/shm/vonautil-bench-XXXXXX"
                                                         : "/tmp/vonautil-bench-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) return;
    dir = pattern;
    setenv("VONAUTIL_ROOT", dir.c_str(), 1);
    FS_ensure_dirs((dir + "/tmp/run/ipc__bench").c_str(), 0755);
  }
  ~Root() {
    if (!dir.empty()) FS_remove_recursively_if_exists(dir.c_str());
  }
};

// Set up before any benchmark runs, whatever their order.
const Root root;
const std::string& ipc_dir() {
  static const std::string dir = root.dir + "/tmp/run/ipc__bench";
  return dir;
}

const char kRequestText[] = "type = smb\nserver = 192.0.2.4\ndir = Movies\nowner = shell\n";

properties* request_parameters() {
  properties* p = properties_create_empty();
  properties_build_from_buffer(p, kRequestText);
  return p;
}

void BM_RoundTrip_Library(benchmark::State& state) {
  Quiet quiet(stderr);
  simple_ipc_server* server = simple_ipc_server_create("bench");
  simple_ipc* client = simple_ipc_create_and_connect("bench");
  properties* parameters = request_parameters();
  properties* response = simple_ipc_server_create_ok_response();
  properties_set(response, "id", "17");
  for (auto _ : state) {
    char id[SIMPLE_IPC_MAX_ID_SIZE];
    simple_ipc_send_request(client, "mount", parameters, id);
    simple_ipc_server_look_for_new_requests(server);
    simple_ipc_server_finish_request(server, simple_ipc_server_get_request(server, 0), response);
    properties* answer = simple_ipc_try_get_response(client, id);
    if (answer == nullptr) state.SkipWithError("no answer");
    properties_free(answer);
  }
  properties_free(response);
  properties_free(parameters);
  simple_ipc_disconnect_and_destroy(client);
  simple_ipc_server_free(server);
}

// Writes through a temporary file and a rename, as both sides of the IPC do.
void write_whole(const std::string& path, const char* text) {
  std::string tmp = path + ".tmp";
  int fd = open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  (void)!write(fd, text, strlen(text));
  close(fd);
  rename(tmp.c_str(), path.c_str());
}

// Reads a file and deletes it; the bytes read, or -1.
ssize_t take(const std::string& path) {
  char buffer[4096];
  int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return -1;
  ssize_t n = read(fd, buffer, sizeof buffer);
  close(fd);
  unlink(path.c_str());
  return n;
}

// The peer scan: every ".cmd" file of the directory is stat'ed, read and deleted.
int plain_scan(const std::string& dir) {
  DIR* d = opendir(dir.c_str());
  int taken = 0;
  while (const struct dirent* entry = readdir(d)) {
    size_t length = strlen(entry->d_name);
    if (length < 4 || strcmp(entry->d_name + length - 4, ".cmd") != 0) continue;
    std::string path = dir + "/" + entry->d_name;
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && take(path) >= 0) ++taken;
  }
  closedir(d);
  return taken;
}

void BM_RoundTrip_Peer(benchmark::State& state) {
  const std::string& dir = ipc_dir();
  long long counter = 0;
  for (auto _ : state) {
    std::string id = "mount." + std::to_string(getpid()) + "-" + std::to_string(++counter);
    write_whole(dir + "/" + id + ".cmd", kRequestText);
    if (plain_scan(dir) != 1) state.SkipWithError("no request");
    write_whole(dir + "/" + id + ".res", "status = ok\nid = 17\n");
    if (take(dir + "/" + id + ".res") < 0) state.SkipWithError("no answer");
  }
}

// N request files from `clients` processes, each client's in counter order.
void drop_requests(int count, int clients) {
  const std::string& dir = ipc_dir();
  for (int i = 0; i < count; ++i) {
    std::string path = dir + "/mount." + std::to_string(1000 + i % clients) + "-" + std::to_string(i) + ".cmd";
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    (void)!write(fd, kRequestText, sizeof kRequestText - 1);
    close(fd);
  }
}

void BM_Scan_Library(benchmark::State& state) {
  Quiet quiet(stderr);
  simple_ipc_server* server = simple_ipc_server_create("bench");
  for (auto _ : state) {
    state.PauseTiming();
    drop_requests((int)state.range(0), (int)state.range(1));
    state.ResumeTiming();
    simple_ipc_server_look_for_new_requests(server);
    state.PauseTiming();
    if (simple_ipc_server_get_num_requests(server) != state.range(0)) state.SkipWithError("requests missing");
    simple_ipc_server_free(server);
    server = simple_ipc_server_create("bench");
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  simple_ipc_server_free(server);
}

void BM_Scan_Peer(benchmark::State& state) {
  const std::string& dir = ipc_dir();
  for (auto _ : state) {
    state.PauseTiming();
    drop_requests((int)state.range(0), (int)state.range(1));
    state.ResumeTiming();
    if (plain_scan(dir) != state.range(0)) state.SkipWithError("requests missing");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(BM_RoundTrip_Library);
BENCHMARK(BM_RoundTrip_Peer);
BENCHMARK(BM_Scan_Library)->Args({1000, 1000})->Args({10000, 10000})->Args({10000, 20})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Scan_Peer)->Args({1000, 1000})->Args({10000, 10000})->Args({10000, 20})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
