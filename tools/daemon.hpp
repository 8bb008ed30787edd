// Request servers of the tool: the serving loop that `vonautil ipc serve` and the stand-in
// daemons (`vonautil daemon NAME`) share, and the start and stop of a server process for the
// demo steps.
#ifndef VONAUTIL_TOOL_DAEMON_HPP
#define VONAUTIL_TOOL_DAEMON_HPP

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "vonautil.h"

namespace tool {

// Answers one request with a new response container (status included), which the loop
// saves as the answer and frees.
using RequestHandler = std::function<properties*(const simple_ipc_request& request)>;

// Serves `server_id` until SIGINT or SIGTERM: makes "/tmp/run" and the server's directory,
// prints `banner` (when not empty) and then, for every request in serving order, the line
//   NAME (process PID, request COUNTER) KEY=VALUE...
// before answering it with `answer`. Between polls (every 10 ms) it calls `tick` when one is
// given, for work that falls due with time. At the end prints "stopped after N requests".
// Returns kOk, or kFailed when the directory cannot be made.
int serve_requests(const char* server_id, const std::string& banner, const RequestHandler& answer,
                   const std::function<void()>& tick = nullptr);

// The stand-in daemons of `vonautil daemon NAME ARGS...` (each in its own file); `args`
// holds NAME and the arguments after it.
int run_storage_manager(const std::vector<std::string>& args);
int run_network_manager(const std::vector<std::string>& args);

// A server process started from this program (the demo steps): its standard output is kept
// in a pipe, its standard error goes to /dev/null.
struct ChildServer {
  pid_t pid = -1;
  int output = -1;
};
// Runs this program with `args` and waits up to 5 s for the directory of `server_id`.
// On failure pid stays -1.
ChildServer start_child_server(const std::vector<std::string>& args, const char* server_id);
// Stops it with SIGTERM, waits for it and returns what it printed.
std::string stop_child_server(ChildServer& child);
// Prints each line of `text` behind "  | ".
void print_quoted(const std::string& text);

}  // namespace tool

#endif
