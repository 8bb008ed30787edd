/* File-based request IPC, client side.
 *
 * A server (a daemon such as "storage_manager") owns the directory "/tmp/run/ipc__SERVER".
 * A client drops a request there as "ID.cmd", a properties file with the request's
 * parameters (empty without parameters); the server picks it up, deletes it, and later
 * answers with "ID.res", a properties file with at least "status" and, for failures,
 * "errdesc". The client polls for its answer, reads it and deletes it. There are no sockets,
 * notifications or locks: both files are written whole through a temporary file and a
 * rename, so neither side ever reads half a file.
 *
 * A request id is "NAME.PID-COUNTER": the request's name, the client's process id and a
 * counter that is one per process, starts at 1 and is taken under a process-wide mutex, so
 * ids are unique and increase in the order in which a process sends. The server answers the
 * clients in the order in which their first pending requests arrived, and each client's
 * requests in the order it sent them.
 *
 * Old responses and concurrent clients: simple_ipc_remove_all_responses deletes every
 * ".res" file of the server's directory, not only the caller's. The exchange of the daemon
 * clients calls it before each request, to clear answers that arrived after an earlier wait
 * gave up. Any other client of the same server, in this or another process, whose answer
 * is waiting in the directory at that moment loses it: its request has been carried out,
 * but its wait ends by time-out. Clients that must not lose answers to each other either
 * send through one client at a time or skip the removal and collect their own answers with
 * simple_ipc_try_get_response.
 *
 * The daemon clients (the storage and the network client) send and wait through one shared
 * exchange with their own log prefix: vona::simple_ipc_exchange in simple_ipc_client.hpp
 * (old answers removed, the request sent, polls every 50 ms with a progress heartbeat until
 * a 10-second deadline on the monotonic clock, success only for the status "ok").
 *
 * Taking turns. So that the removal of old answers cannot take another daemon client's
 * answer, the exchanges of all daemon clients of a server take turns: a sender holds an
 * exclusive flock(2) on the file SIMPLE_IPC_TURN_FILE in the server's directory (made when
 * missing, left in place) from the removal until its answer came or its wait ended. A sender
 * that has not got its turn after 10 seconds (calling progress_heartbeat meanwhile) goes
 * ahead without it. The server ignores the file (it is no ".cmd" file), and clients that do
 * not take turns (the plain functions below) are not held up by it.
 *
 * All functions may be called from any thread; only the request counter is shared. */
#ifndef VONAUTIL_SIMPLE_IPC_CLIENT_H
#define VONAUTIL_SIMPLE_IPC_CLIENT_H

#include "export.h"
#include "properties.h"

VONA_BEGIN_DECLS

/* The status of a request, kept by name in the response's "status" key. */
typedef enum simple_ipc_status {
  SIMPLE_IPC_STATUS_OK = 0,        /* "ok" */
  SIMPLE_IPC_STATUS_PENDING = 1,   /* "pending" */
  SIMPLE_IPC_STATUS_ERROR = 2,     /* "error" */
  SIMPLE_IPC_STATUS_BUSY = 3,      /* "busy" */
  SIMPLE_IPC_STATUS_TIMED_OUT = 4  /* "timed_out" */
} simple_ipc_status;

/* The file in a server's directory whose lock the daemon clients take turns on. */
#define SIMPLE_IPC_TURN_FILE "clients.lock"

/* The request ids fit buffers of this size, terminator included. */
#define SIMPLE_IPC_MAX_ID_SIZE 256

/* A connection to one server. */
typedef struct simple_ipc {
  char* server_id; /* "storage_manager", ... */
  char* dir_path;  /* the server's directory */
} simple_ipc;

/* Null (after a log line) when the server's directory does not exist. */
simple_ipc* simple_ipc_create_and_connect(const char* server_id);
void simple_ipc_disconnect_and_destroy(simple_ipc* client);

/* Writes the request file and stores its id in `id` (SIMPLE_IPC_MAX_ID_SIZE bytes).
 * `parameters` may be null. 1 when the file was written, else 0. */
int simple_ipc_send_request(simple_ipc* client, const char* name, const properties* parameters, char* id);
/* The answer to the request `id`, owned by the caller, and its file deleted; null while
 * there is none. */
properties* simple_ipc_try_get_response(simple_ipc* client, const char* id);
/* Deletes every response file of the server's directory (see above). */
void simple_ipc_remove_all_responses(simple_ipc* client);

/* The status named `text` (case-sensitive); `default_value` for null or an unknown name. */
simple_ipc_status simple_ipc_status_from_string(const char* text, simple_ipc_status default_value);

VONA_END_DECLS

#endif
