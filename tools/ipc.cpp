// vonautil ipc: a request server and client over the player's file-based IPC, for testing
// a daemon or a client by hand.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "assignments.hpp"
#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/simple_ipc_client.hpp"
#include "vonautil.h"

namespace tool {

properties* parse_assignments(const std::vector<std::string>& args, size_t first, std::string* error) {
  properties* props = properties_create_empty();
  for (size_t i = first; i < args.size(); ++i) {
    size_t equals = args[i].find('=');
    if (equals == std::string::npos || equals == 0) {
      *error = "'" + args[i] + "' is not KEY=VALUE";
      properties_free(props);
      return nullptr;
    }
    properties_set(props, args[i].substr(0, equals).c_str(), args[i].c_str() + equals + 1);
  }
  return props;
}

void print_entries(const properties* props, const char* indent) {
  for (int i = 0; i < props->count; ++i) printf("%s%s = %s\n", indent, props->keys[i], props->values[i]);
}

void ensure_run_dir() { FS_ensure_dirs(vona::fixed_path("/tmp/run").c_str(), 0777); }

namespace {

const char kName[] = "ipc";

volatile sig_atomic_t stop_requested = 0;

void request_stop(int) { stop_requested = 1; }

// "play (process 123, request 4) url=x start=0"
void print_request(const simple_ipc_request* request) {
  printf("%s (process %d, request %lld)", request->name, request->client_process_id, request->counter);
  const properties* p = request->parameters;
  for (int i = 0; i < p->count; ++i) printf(" %s=%s", p->keys[i], p->values[i]);
  printf("\n");
  fflush(stdout);
}

int run_serve(const std::vector<std::string>& args) {
  std::string server_id;
  simple_ipc_status status = SIMPLE_IPC_STATUS_OK;
  long delay_ms = 0;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--status" && i + 1 < args.size()) {
      status = simple_ipc_status_from_string(args[++i].c_str(), (simple_ipc_status)-1);
      if (status == (simple_ipc_status)-1) return usage_error(kName, "unknown status '" + args[i] + "'");
    } else if (args[i] == "--delay" && i + 1 < args.size()) {
      char* end;
      delay_ms = strtol(args[++i].c_str(), &end, 10);
      if (*end != '\0' || delay_ms < 0 || args[i].empty()) return usage_error(kName, "bad delay '" + args[i] + "'");
    } else if (args[i].compare(0, 2, "--") == 0 || !server_id.empty()) {
      return usage_error(kName, "unexpected argument '" + args[i] + "'");
    } else {
      server_id = args[i];
    }
  }
  if (server_id.empty()) return usage_error(kName, "serve takes SERVER");
  ensure_run_dir();
  struct sigaction action {};
  action.sa_handler = request_stop;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  simple_ipc_server* server = simple_ipc_server_create(server_id.c_str());
  printf("serving %s in %s; answering '%s'\n", server_id.c_str(), server->dir_path,
         vona::simple_ipc_status_name(status));
  fflush(stdout);
  long long answered = 0;
  while (!stop_requested) {
    simple_ipc_server_look_for_new_requests(server);
    if (simple_ipc_server_get_num_requests(server) == 0) {
      usleep(10000);
      continue;
    }
    simple_ipc_request* request = simple_ipc_server_get_request(server, 0);
    print_request(request);
    if (delay_ms > 0) usleep((useconds_t)(delay_ms * 1000));
    properties* response = simple_ipc_server_create_response(status);
    if (status != SIMPLE_IPC_STATUS_OK) properties_set(response, "errdesc", "answered by vonautil ipc serve");
    simple_ipc_server_finish_request(server, request, response);
    properties_free(response);
    ++answered;
  }
  printf("stopped after %lld requests\n", answered);
  simple_ipc_server_free(server);
  return kOk;
}

int run_send(const std::vector<std::string>& args) {
  if (args.size() < 3) return usage_error(kName, "send takes SERVER NAME [KEY=VALUE...]");
  std::string error;
  properties* parameters = parse_assignments(args, 3, &error);
  if (parameters == nullptr) return usage_error(kName, error);
  simple_ipc* client = simple_ipc_create_and_connect(args[1].c_str());
  if (client == nullptr) {
    properties_free(parameters);
    return failure(kName, "no server '" + args[1] + "' (its directory does not exist)");
  }
  properties* response = nullptr;
  simple_ipc_status status = vona::simple_ipc_exchange(client, "[vonautil_ipc]", args[2].c_str(),
                                                       parameters->count > 0 ? parameters : nullptr, &response);
  properties_free(parameters);
  simple_ipc_disconnect_and_destroy(client);
  if (response == nullptr) return failure(kName, "no answer to '" + args[2] + "'");
  print_entries(response, "");
  properties_free(response);
  return status == SIMPLE_IPC_STATUS_OK ? kOk : kFailed;
}

int run_ipc(const std::vector<std::string>& args) {
  return run_sub_command(kName, args, {{"serve", run_serve}, {"send", run_send}});
}

TOOL_COMMAND(kName, "serve or send requests over the file-based IPC",
             "Usage: vonautil ipc serve SERVER [--status WORD] [--delay MS]\n"
             "       vonautil ipc send SERVER NAME [KEY=VALUE...]\n"
             "The player's daemons take requests as files in /tmp/run/ipc__SERVER (below\n"
             "$VONAUTIL_ROOT when it is set).\n"
             "  serve  creates the directory and answers every request, in serving order (clients by\n"
             "         their first pending request, each client's requests as it sent them), with the\n"
             "         status WORD (ok, pending, error, busy, timed_out; default ok), after a wait of\n"
             "         MS milliseconds (default 0). Prints one line per request:\n"
             "           NAME (process PID, request COUNTER) KEY=VALUE...\n"
             "         and runs until interrupted (SIGINT or SIGTERM).\n"
             "  send   removes the server's old answers, sends the request NAME with the parameters,\n"
             "         waits up to 10 seconds for the answer (polling every 50 ms) and prints it as\n"
             "         KEY = VALUE lines. Exit status 0 when its status is ok, 1 otherwise (also when\n"
             "         no answer came or the server's directory does not exist).\n",
             run_ipc);

// The demo: a server process started from this program, a client here.
std::string read_all(int fd) {
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, (size_t)n);
  return text;
}

properties* demo_parameters(std::initializer_list<const char*> entries) {
  properties* p = properties_create_empty();
  for (auto entry = entries.begin(); entry != entries.end(); entry += 2) properties_set(p, entry[0], entry[1]);
  return p;
}

void demo_ipc() {
  ensure_run_dir();
  int out[2];
  if (pipe(out) != 0) return;
  pid_t server = fork();
  if (server == 0) {
    dup2(out[1], 1);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    close(out[0]);
    close(out[1]);
    execl("/proc/self/exe", "vonautil", "ipc", "serve", "demo_player", "--delay", "20", (char*)nullptr);
    _exit(127);
  }
  close(out[1]);
  printf("Started 'vonautil ipc serve demo_player' as process %d.\n", (int)server);
  std::string dir = vona::simple_ipc_dir_path("demo_player");
  for (int i = 0; i < 500 && !FS_is_dir(dir.c_str()); ++i) usleep(10000);
  simple_ipc* client = simple_ipc_create_and_connect("demo_player");
  if (client != nullptr) {
    printf("Three requests sent at once, answered in sending order:\n");
    properties* requests[] = {demo_parameters({"url", "/tmp/mnt/D/movie.mkv", "start", "0"}),
                              demo_parameters({"position", "754"}), demo_parameters({"paused", "yes"})};
    const char* names[] = {"play", "seek", "pause"};
    char ids[3][SIMPLE_IPC_MAX_ID_SIZE];
    for (int i = 0; i < 3; ++i) {
      simple_ipc_send_request(client, names[i], requests[i], ids[i]);
      properties_free(requests[i]);
      printf("  sent %s\n", ids[i]);
    }
    for (int i = 0; i < 3; ++i) {
      properties* answer = nullptr;
      for (int polls = 0; polls < 500 && answer == nullptr; ++polls) {
        usleep(10000);
        answer = simple_ipc_try_get_response(client, ids[i]);
      }
      printf("  answer to %s: status = %s\n", ids[i], answer ? properties_get_str(answer, "status", "") : "(none)");
      properties_free(answer);
    }
    printf("One exchange as the daemon clients make it (old answers removed, polls every 50 ms):\n");
    properties* volume = demo_parameters({"level", "12"});
    simple_ipc_status status = vona::simple_ipc_exchange(client, "[demo]", "volume", volume, nullptr);
    properties_free(volume);
    printf("  volume level=12: %s\n", vona::simple_ipc_status_name(status));
    simple_ipc_disconnect_and_destroy(client);
  }
  kill(server, SIGTERM);
  waitpid(server, nullptr, 0);
  std::string served = read_all(out[0]);
  close(out[0]);
  printf("What the server printed:\n");
  for (size_t start = 0; start < served.size();) {
    size_t end = served.find('\n', start);
    if (end == std::string::npos) end = served.size();
    printf("  | %s\n", served.substr(start, end - start).c_str());
    start = end + 1;
  }
}

}  // namespace

TOOL_DEMO_STEP(66, "IPC: a server process answering requests in order", demo_ipc);

}  // namespace tool
