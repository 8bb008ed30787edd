// vonautil ipc: a request server and client over the player's file-based IPC, for testing
// a daemon or a client by hand.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "assignments.hpp"
#include "command.hpp"
#include "daemon.hpp"
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
  std::string banner = "serving " + server_id + " in " + vona::simple_ipc_dir_path(server_id.c_str()) +
                       "; answering '" + vona::simple_ipc_status_name(status) + "'";
  return serve_requests(server_id.c_str(), banner, [&](const simple_ipc_request&) {
    if (delay_ms > 0) usleep((useconds_t)(delay_ms * 1000));
    properties* response = simple_ipc_server_create_response(status);
    if (status != SIMPLE_IPC_STATUS_OK) properties_set(response, "errdesc", "answered by vonautil ipc serve");
    return response;
  });
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
properties* demo_parameters(std::initializer_list<const char*> entries) {
  properties* p = properties_create_empty();
  for (auto entry = entries.begin(); entry != entries.end(); entry += 2) properties_set(p, entry[0], entry[1]);
  return p;
}

void demo_ipc() {
  ChildServer server = start_child_server({"ipc", "serve", "demo_player", "--delay", "20"}, "demo_player");
  if (server.pid < 0) return;
  printf("Started 'vonautil ipc serve demo_player' as process %d.\n", (int)server.pid);
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
  std::string served = stop_child_server(server);
  printf("What the server printed:\n");
  print_quoted(served);
}

}  // namespace

TOOL_DEMO_STEP(66, "IPC: a server process answering requests in order", demo_ipc);

}  // namespace tool
