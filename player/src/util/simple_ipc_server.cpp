#include "player/src/util/simple_ipc_server.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <string>
#include <unordered_map>

#include "player/src/util/mt/fatal_error.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/simple_ipc_client.hpp"
#include "player/src/util/mt/typed_list.h"

namespace {

const size_t kMaxNameLength = 127;
const size_t kMaxIdLength = SIMPLE_IPC_MAX_ID_SIZE - 1;

void simple_ipc_request_free(simple_ipc_request* request) {
  free(request->id);
  free(request->name);
  properties_free(request->parameters);
  free(request);
}

}  // namespace

TYPED_LIST_DECLARE(simple_ipc_request_list, simple_ipc_request);
TYPED_LIST_DEFINE(simple_ipc_request_list, simple_ipc_request, simple_ipc_request_free);

namespace {

std::string file_path(const simple_ipc_server* ipc, const std::string& name) {
  return std::string(ipc->dir_path) + "/" + name;
}

// Takes one directory entry into the list when it is a readable request file; the file is
// then deleted. Anything else is left where it is.
void take_request_file(simple_ipc_server* ipc, const char* file_name) {
  if (!vona::simple_ipc_has_extension(file_name, ".cmd")) return;
  const char* dot = strchr(file_name, '.');
  const char* dash = dot != nullptr ? strchr(dot + 1, '-') : nullptr;
  if (dash == nullptr) {
    log_print("[simple_ipc_server] Error: invalid cmd file format: %s; ignored", file_name);
    return;
  }
  std::string path = file_path(ipc, file_name);
  struct stat status;
  if (FS_stat(path.c_str(), &status) != 0) {
    log_print("[simple_ipc_server] Error: failed to stat(%s): %s", path.c_str(), strerror(errno));
    return;
  }
  properties* parameters = properties_create_with_index();
  if (!properties_build_from_unlimited_size_internal_file(parameters, path.c_str())) {
    int error = errno;
    properties_free(parameters);
    log_print("[simple_ipc_server] Error: read_file(%s) failed: %s; ignored", path.c_str(), strerror(error));
    return;
  }
  auto* request = static_cast<simple_ipc_request*>(calloc(1, sizeof(simple_ipc_request)));
  request->id = strndup(file_name, std::min(strlen(file_name) - 4, kMaxIdLength));
  request->name = strndup(file_name, std::min((size_t)(dot - file_name), kMaxNameLength));
  request->parameters = parameters;
  request->client_process_id = atoi(dot + 1);
  request->counter = atoll(dash + 1);
  request->time = (int)status.st_mtime;
  simple_ipc_request_list_add(ipc->requests, request);
  FS_unlink(path.c_str());
  log_print("[simple_ipc_server] got request '%s'", request->id);
}

// Every request takes the time of the first listed request of its client, so that a client
// is served from the arrival of its first pending request on; then the list is sorted by
// time and, for one time, by counter. One pass with a map keeps this linear before the sort.
void put_in_serving_order(simple_ipc_request_list* list) {
  std::unordered_map<int, int> first_time;
  first_time.reserve((size_t)list->num_items);
  for (int i = 0; i < list->num_items; ++i) {
    simple_ipc_request* request = list->items[i];
    auto found = first_time.emplace(request->client_process_id, request->time);
    request->time = found.first->second;
  }
  std::stable_sort(list->items, list->items + list->num_items,
                   [](const simple_ipc_request* a, const simple_ipc_request* b) {
                     return a->time != b->time ? a->time < b->time : a->counter < b->counter;
                   });
}

}  // namespace

simple_ipc_server* simple_ipc_server_create(const char* server_id) {
  MY_ASSERT(server_id);
  std::string dir = vona::simple_ipc_dir_path(server_id);
  if (FS_ensure_dir(dir.c_str(), 0777) != 0) {
    MY_fatal_error_f("[simple_ipc_server] failed to ensure_dir(%s): %s", dir.c_str(), strerror(errno));
  }
  auto* ipc = static_cast<simple_ipc_server*>(calloc(1, sizeof(simple_ipc_server)));
  ipc->server_id = strdup(server_id);
  ipc->dir_path = strdup(dir.c_str());
  ipc->requests = simple_ipc_request_list_create();
  return ipc;
}

void simple_ipc_server_free(simple_ipc_server* ipc) {
  if (ipc == nullptr) return;
  simple_ipc_request_list_free(ipc->requests);
  free(ipc->server_id);
  free(ipc->dir_path);
  free(ipc);
}

time_t simple_ipc_server_get_mtime(simple_ipc_server* ipc) {
  MY_ASSERT(ipc);
  struct stat status;
  return FS_stat(ipc->dir_path, &status) == 0 ? status.st_mtime : 0;
}

void simple_ipc_server_look_for_new_requests(simple_ipc_server* ipc) {
  MY_ASSERT(ipc);
  string_array* names = FS_scandir(ipc->dir_path);
  if (names == nullptr) {
    log_print("[simple_ipc_server] Error: scandir(%s) failed: %s", ipc->dir_path, strerror(errno));
    return;
  }
  for (int i = 0; i < names->size; ++i) take_request_file(ipc, names->items[i]);
  string_array_free(names);
  put_in_serving_order(ipc->requests);
}

int simple_ipc_server_get_num_requests(simple_ipc_server* ipc) {
  MY_ASSERT(ipc);
  return ipc->requests->num_items;
}

simple_ipc_request* simple_ipc_server_get_request(simple_ipc_server* ipc, int ndx) {
  MY_ASSERT(ipc);
  MY_ASSERT(ndx < ipc->requests->num_items);
  return ipc->requests->items[ndx];
}

void simple_ipc_server_finish_request(simple_ipc_server* ipc, simple_ipc_request* request,
                                      const properties* response) {
  MY_ASSERT(ipc);
  MY_ASSERT(request);
  simple_ipc_request_list* list = ipc->requests;
  int ndx = (int)(std::find(list->items, list->items + list->num_items, request) - list->items);
  if (ndx == list->num_items) {
    log_print("[simple_ipc_server] Error: failed to finished request; request '%s' not found in list", request->id);
    return;
  }
  log_print("[simple_ipc_server] finished request '%s' (with_response=%s)", request->id, response ? "yes" : "no");
  if (response != nullptr) {
    properties_save_to_internal_file_using_tmp(response, file_path(ipc, std::string(request->id) + ".res").c_str(), 0);
  }
  simple_ipc_request_list_remove(list, ndx);
}

properties* simple_ipc_server_create_response(simple_ipc_status status) {
  properties* response = properties_create_empty();
  properties_set(response, "status", vona::simple_ipc_status_name(status));
  return response;
}

properties* simple_ipc_server_create_ok_response(void) {
  return simple_ipc_server_create_response(SIMPLE_IPC_STATUS_OK);
}

properties* simple_ipc_server_create_pending_response(void) {
  return simple_ipc_server_create_response(SIMPLE_IPC_STATUS_PENDING);
}

properties* simple_ipc_server_create_err_response(const char* description) {
  properties* response = simple_ipc_server_create_pending_response();
  properties_set(response, "errdesc", description != nullptr ? description : "");
  return response;
}
