// The serving loop shared by `vonautil ipc serve` and the stand-in daemons, the `daemon`
// command, and server processes for the demo steps.
#include "daemon.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "assignments.hpp"
#include "command.hpp"
#include "player/src/util/mt/simple_ipc_client.hpp"

namespace tool {

namespace {

volatile sig_atomic_t stop_requested = 0;

void request_stop(int) { stop_requested = 1; }

// "play (process 123, request 4) url=x start=0"
void print_request(const simple_ipc_request& request) {
  printf("%s (process %d, request %lld)", request.name, request.client_process_id, request.counter);
  const properties* p = request.parameters;
  for (int i = 0; i < p->count; ++i) printf(" %s=%s", p->keys[i], p->values[i]);
  printf("\n");
  fflush(stdout);
}

}  // namespace

int serve_requests(const char* server_id, const std::string& banner, const RequestHandler& answer,
                   const std::function<void()>& tick) {
  ensure_run_dir();
  std::string dir = vona::simple_ipc_dir_path(server_id);
  simple_ipc_server* server = simple_ipc_server_create(server_id);
  if (!FS_is_dir(dir.c_str())) {
    simple_ipc_server_free(server);
    fprintf(stderr, "vonautil: cannot make the server directory '%s'\n", dir.c_str());
    return kFailed;
  }
  struct sigaction action {};
  action.sa_handler = request_stop;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  if (!banner.empty()) printf("%s\n", banner.c_str());
  fflush(stdout);
  long long answered = 0;
  while (!stop_requested) {
    if (tick) tick();
    simple_ipc_server_look_for_new_requests(server);
    if (simple_ipc_server_get_num_requests(server) == 0) {
      usleep(10000);
      continue;
    }
    simple_ipc_request* request = simple_ipc_server_get_request(server, 0);
    print_request(*request);
    properties* response = answer(*request);
    simple_ipc_server_finish_request(server, request, response);
    properties_free(response);
    ++answered;
  }
  printf("stopped after %lld requests\n", answered);
  simple_ipc_server_free(server);
  return kOk;
}

ChildServer start_child_server(const std::vector<std::string>& args, const char* server_id) {
  ChildServer child;
  int out[2];
  if (pipe(out) != 0) return child;
  std::vector<char*> argv{const_cast<char*>("vonautil")};
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  fflush(stdout);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    close(out[0]);
    close(out[1]);
    execv("/proc/self/exe", argv.data());
    _exit(127);
  }
  close(out[1]);
  if (pid < 0) {
    close(out[0]);
    return child;
  }
  child.pid = pid;
  child.output = out[0];
  std::string dir = vona::simple_ipc_dir_path(server_id);
  for (int i = 0; i < 500 && !FS_is_dir(dir.c_str()); ++i) usleep(10000);
  return child;
}

std::string stop_child_server(ChildServer& child) {
  std::string text;
  if (child.pid < 0) return text;
  kill(child.pid, SIGTERM);
  waitpid(child.pid, nullptr, 0);
  char buffer[4096];
  ssize_t n;
  while ((n = read(child.output, buffer, sizeof buffer)) > 0) text.append(buffer, (size_t)n);
  close(child.output);
  child = ChildServer();
  return text;
}

void print_quoted(const std::string& text) {
  for (size_t start = 0; start < text.size();) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    printf("  | %s\n", text.substr(start, end - start).c_str());
    start = end + 1;
  }
}

namespace {

const char kName[] = "daemon";

int run_daemon(const std::vector<std::string>& args) {
  return run_sub_command(kName, args,
                         {{"storage_manager", run_storage_manager}, {"network_manager", run_network_manager}});
}

}  // namespace

TOOL_COMMAND(kName, "run a stand-in storage or network daemon on this machine",
             "Usage: vonautil daemon storage_manager [--storage NAME=PATH]...\n"
             "       vonautil daemon network_manager [--mount-delay MS] [--fail-server NAME]\n"
             "Stand-ins for the player's daemons, for development and tests: each serves its\n"
             "requests over the file-based IPC in /tmp/run/ipc__NAME (below $VONAUTIL_ROOT when it\n"
             "is set), prints one line per request, and runs until interrupted (SIGINT or SIGTERM).\n"
             "  storage_manager  answers every storage request; publishes /tmp/run/storage_list.xml\n"
             "                   and /tmp/run/storages.txt for the folders given as storages.\n"
             "  network_manager  mounts (simulated), locks, unlocks and unmounts network shares and\n"
             "                   keeps /tmp/run/network_mount_list.xml.\n",
             run_daemon);

}  // namespace tool
