/* File-based request IPC, server side (see mt/simple_ipc_client.h for the protocol).
 *
 * A server polls its directory with simple_ipc_server_look_for_new_requests: every readable
 * "NAME.PID-COUNTER.cmd" file becomes a pending request in the server's list and is
 * deleted. The list is kept in serving order: the clients in the order in which their first
 * pending requests arrived (by file time), each client's requests in the order it sent them
 * (by counter), whatever order the directory listing gave. Malformed or unreadable request
 * files stay in the directory and are reported at every scan.
 *
 * A request stays pending until simple_ipc_server_finish_request, which writes the answer
 * (if any) as "ID.res" through a temporary file and a rename, so that a client never reads
 * half of it. A request finished without an answer leaves its client to its time-out.
 *
 * A server is used from one thread. */
#ifndef VONAUTIL_SIMPLE_IPC_SERVER_H
#define VONAUTIL_SIMPLE_IPC_SERVER_H

#include <time.h>

#include "mt/export.h"
#include "mt/properties.h"
#include "mt/simple_ipc_client.h"

VONA_BEGIN_DECLS

typedef struct simple_ipc_request {
  char* id;                /* the file name without ".cmd", at most 255 characters */
  char* name;              /* the file name up to its first '.', at most 127 characters */
  properties* parameters;  /* the file's content, with an index */
  int client_process_id;   /* from the id */
  long long counter;       /* from the id: the client's sending order */
  int time;                /* the file's modification time (seconds), used for ordering */
} simple_ipc_request;

/* The pending requests, a typed list kept inside the module. */
struct simple_ipc_request_list;

typedef struct simple_ipc_server {
  char* server_id;                   /* "storage_manager", ... */
  char* dir_path;                    /* "/tmp/run/ipc__SERVER" */
  struct simple_ipc_request_list* requests; /* pending requests in serving order */
} simple_ipc_server;

/* Creates the server's directory when missing (failing to is fatal). */
simple_ipc_server* simple_ipc_server_create(const char* server_id);
/* Frees the server and its pending requests; null is accepted. */
void simple_ipc_server_free(simple_ipc_server* server);

/* The modification time of the directory (seconds); 0 when it cannot be read. */
time_t simple_ipc_server_get_mtime(simple_ipc_server* server);
/* Takes the new request files into the list, which is then put in serving order. */
void simple_ipc_server_look_for_new_requests(simple_ipc_server* server);
int simple_ipc_server_get_num_requests(simple_ipc_server* server);
/* The pending request at `index` (below the count), owned by the server. */
simple_ipc_request* simple_ipc_server_get_request(simple_ipc_server* server, int index);
/* Writes `response` (if not null; the caller keeps it) as the request's answer, then drops
 * the request from the list and frees it. */
void simple_ipc_server_finish_request(simple_ipc_server* server, simple_ipc_request* request,
                                      const properties* response);

/* New responses: "status" set to the status's name ("" for an unknown value). */
properties* simple_ipc_server_create_response(simple_ipc_status status);
properties* simple_ipc_server_create_ok_response(void);
properties* simple_ipc_server_create_pending_response(void);
/* "status" is "pending" and "errdesc" the description; callers that report an error set
 * "status" to "error" themselves. */
properties* simple_ipc_server_create_err_response(const char* description);

VONA_END_DECLS

#endif
