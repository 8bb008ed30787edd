// Request and response files of arbitrary names and content, as any process that can write
// into a server's directory may leave them: the server must take every well-named ".cmd" file
// as one request whose id and name fit their documented sizes and delete it, answer it, and
// the client must read that answer back; a response file of arbitrary content must either be
// read (and deleted) or be left for a later poll, never crash the client.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_file.hpp"
#include "vonautil.h"

namespace {

// The input: one byte with the length of the file name, the name, then the file's content.
// Bytes that cannot stand in a file name become '_'.
std::string take_name(const uint8_t*& data, size_t& size) {
  size_t length = std::min<size_t>(data[0] % 80, size - 1);
  std::string name(reinterpret_cast<const char*>(data + 1), length);
  for (char& c : name) {
    if (c == '/' || c == '\0') c = '_';
  }
  data += 1 + length;
  size -= 1 + length;
  return name;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  static const bool rooted = (setenv("VONAUTIL_ROOT", fuzz_dir().c_str(), 1),
                              FS_ensure_dirs((fuzz_dir() + "/tmp/run").c_str(), 0777), true);
  (void)rooted;
  static simple_ipc_server* server = simple_ipc_server_create("fuzz");
  static simple_ipc* client = simple_ipc_create_and_connect("fuzz");
  if (client == nullptr) abort();

  std::string name = take_name(data, size);
  std::string dir = std::string(server->dir_path) + "/";
  std::string request_file = fuzz_file(data, size, "request");
  if (rename(request_file.c_str(), (dir + name + ".cmd").c_str()) != 0) return 0;

  simple_ipc_server_look_for_new_requests(server);
  while (simple_ipc_server_get_num_requests(server) > 0) {
    simple_ipc_request* request = simple_ipc_server_get_request(server, 0);
    if (request->parameters == nullptr || strlen(request->id) >= SIMPLE_IPC_MAX_ID_SIZE ||
        strlen(request->name) > 127 || strncmp(request->id, request->name, strlen(request->name)) != 0) {
      abort();
    }
    // Names are shorter than the id buffer, so the id is the whole name.
    if (name != request->id) abort();
    properties* response = simple_ipc_server_create_response(SIMPLE_IPC_STATUS_BUSY);
    simple_ipc_server_finish_request(server, request, response);
    properties_free(response);
    properties* answer = simple_ipc_try_get_response(client, name.c_str());
    if (answer == nullptr || strcmp(properties_get_str(answer, "status", ""), "busy") != 0) abort();
    properties_free(answer);
  }
  // The request file is gone or was left alone as not a request; clear it either way.
  unlink((dir + name + ".cmd").c_str());

  // The same bytes as an answer to a request of that name.
  std::string response_file = fuzz_file(data, size, "response");
  if (name.empty() || rename(response_file.c_str(), (dir + name + ".res").c_str()) != 0) return 0;
  properties* answer = simple_ipc_try_get_response(client, name.c_str());
  if (answer != nullptr) {
    simple_ipc_status_from_string(properties_get_str(answer, "status", nullptr), SIMPLE_IPC_STATUS_ERROR);
    properties_free(answer);
  }
  simple_ipc_remove_all_responses(client);
  return 0;
}
