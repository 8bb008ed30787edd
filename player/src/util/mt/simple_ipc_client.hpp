// C++ side of the IPC client: the request exchange that the daemon clients (the storage
// and the network client) share, each with its own log prefix.
#ifndef VONAUTIL_SIMPLE_IPC_CLIENT_HPP
#define VONAUTIL_SIMPLE_IPC_CLIENT_HPP

#include <string>

#include "player/src/util/mt/simple_ipc_client.h"

namespace vona {

// The directory of a server: "/tmp/run/ipc__SERVER" below VONAUTIL_ROOT.
std::string simple_ipc_dir_path(const char* server_id);

// The name of a status ("ok", "pending", ...); "" for an unknown value.
const char* simple_ipc_status_name(int status);

// 1 when `name` has at least four characters and ends in the four-character `extension`
// (".cmd", ".res").
bool simple_ipc_has_extension(const char* name, const char* extension);

// Microseconds of the monotonic clock, which every wait of the daemon clients measures
// against; 0 after perror("clock_gettime") when it cannot be read.
long long monotonic_us();

// How long an exchange waits for its answer, in microseconds of the monotonic clock.
struct SimpleIpcWait {
  long long timeout_us = 10000000;
  long long poll_us = 50000;
};

// The first half of an exchange, also used alone by the senders that do not wait:
// with a null client logs "PREFIX command 'NAME' failed: ipc not opened" and fails;
// otherwise, in its turn with the other daemon clients (see "Taking turns" in
// simple_ipc_client.h), deletes all old responses of the server, sends the request and
// stores its id in `id` (SIMPLE_IPC_MAX_ID_SIZE bytes). A failed send logs
// "PREFIX failed to send request 'NAME'". True when the request file was written.
bool simple_ipc_send_fresh_request(simple_ipc* client, const char* log_prefix, const char* name,
                                   const properties* parameters, char* id);

// A whole exchange, in one turn: simple_ipc_send_fresh_request, then "PREFIX request 'ID'
// is sent; waiting response", then polls: until the deadline (taken once, `wait.timeout_us`
// after the start) has passed, it calls progress_heartbeat, sleeps `wait.poll_us` and looks
// for the answer. A failing clock read is reported with perror("clock_gettime") and counts as
// time zero. On an answer it logs "PREFIX request 'ID' finished (succeeded)" for the status
// "ok" and "(failed)" for any other (a missing status counts as "error").
// Returns the answer's status, SIMPLE_IPC_STATUS_TIMED_OUT after "PREFIX request 'ID' timed
// out", or SIMPLE_IPC_STATUS_ERROR when nothing could be sent. The answer goes to *response
// when `response` is not null (null when there is none), else it is freed.
simple_ipc_status simple_ipc_exchange(simple_ipc* client, const char* log_prefix, const char* name,
                                      const properties* parameters, properties** response,
                                      const SimpleIpcWait& wait = SimpleIpcWait());

}  // namespace vona

#endif
