#include "player/src/util/mt/simple_ipc_client.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/progress.h"

namespace {

const char* const kStatusNames[] = {"ok", "pending", "error", "busy", "timed_out"};
const int kNumStatuses = (int)(sizeof kStatusNames / sizeof kStatusNames[0]);

pthread_mutex_t counter_mutex = PTHREAD_MUTEX_INITIALIZER;
long long next_counter = 1;

long long take_counter() {
  pthread_mutex_lock(&counter_mutex);
  long long counter = next_counter++;
  pthread_mutex_unlock(&counter_mutex);
  return counter;
}

std::string file_path(const simple_ipc* client, const char* name, const char* extension) {
  return std::string(client->dir_path) + "/" + name + extension;
}

// A daemon client's turn at its server's directory (see "Taking turns" in the header): an
// exclusive flock on the turn file, held for the life of the object. (Not on the directory
// itself: locks on the directories of two different servers were seen to block each other.)
class Turn {
 public:
  explicit Turn(const simple_ipc* client) {
    if (client == nullptr) return;
    fd_ = FS_open_with_mode(file_path(client, SIMPLE_IPC_TURN_FILE, "").c_str(), O_RDWR | O_CREAT | O_CLOEXEC,
                            0666);
    if (fd_ < 0) return;
    long long deadline = vona::monotonic_us() + vona::SimpleIpcWait().timeout_us;
    while (flock(fd_, LOCK_EX | LOCK_NB) != 0 && vona::monotonic_us() <= deadline) {
      progress_heartbeat();
      usleep(kTurnPollUs);
    }
  }
  ~Turn() {
    if (fd_ >= 0) close(fd_);  // closing releases the lock
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  static const useconds_t kTurnPollUs = 5000;
  int fd_ = -1;
};

// simple_ipc_send_fresh_request without taking a turn: the caller holds it.
bool send_fresh_request(simple_ipc* client, const char* log_prefix, const char* name, const properties* parameters,
                        char* id) {
  if (client == nullptr) {
    log_print("%s command '%s' failed: ipc not opened", log_prefix, name);
    return false;
  }
  simple_ipc_remove_all_responses(client);
  if (!simple_ipc_send_request(client, name, parameters, id)) {
    log_print("%s failed to send request '%s'", log_prefix, name);
    return false;
  }
  return true;
}

// The client record; the assertion of a missing id is reported from here.
simple_ipc* simple_ipc_create(const char* server_id) {
  MY_ASSERT(server_id);
  simple_ipc* client = static_cast<simple_ipc*>(calloc(1, sizeof(simple_ipc)));
  client->server_id = strdup(server_id);
  client->dir_path = strdup(vona::simple_ipc_dir_path(server_id).c_str());
  return client;
}

void simple_ipc_free(simple_ipc* client) {
  free(client->server_id);
  free(client->dir_path);
  free(client);
}

}  // namespace

long long vona::monotonic_us() {
  struct timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
    perror("clock_gettime");
    return 0;
  }
  return (long long)now.tv_sec * 1000000 + now.tv_nsec / 1000;
}

std::string vona::simple_ipc_dir_path(const char* server_id) {
  return fixed_path(std::string("/tmp/run/ipc__") + server_id);
}

const char* vona::simple_ipc_status_name(int status) {
  return status >= 0 && status < kNumStatuses ? kStatusNames[status] : "";
}

bool vona::simple_ipc_has_extension(const char* name, const char* extension) {
  size_t length = strlen(name);
  return length >= 4 && strcmp(name + length - 4, extension) == 0;
}

simple_ipc* simple_ipc_create_and_connect(const char* server_id) {
  simple_ipc* client = simple_ipc_create(server_id);
  if (!FS_is_dir(client->dir_path)) {
    log_print("[simple_ipc_client] failed to connect to server '%s': dir not exist", server_id);
    simple_ipc_free(client);
    return nullptr;
  }
  log_print("[simple_ipc_client] created OK");
  return client;
}

void simple_ipc_disconnect_and_destroy(simple_ipc* client) {
  if (client == nullptr) return;
  simple_ipc_free(client);
  log_print("[simple_ipc_client] destroyed OK");
}

int simple_ipc_send_request(simple_ipc* client, const char* name, const properties* parameters, char* id) {
  MY_ASSERT(client);
  MY_ASSERT(name);
  MY_ASSERT(id);
  snprintf(id, SIMPLE_IPC_MAX_ID_SIZE, "%s.%lld-%lld", name, (long long)getpid(), take_counter());
  std::string path = file_path(client, id, ".cmd");
  int written = parameters != nullptr ? properties_save_to_internal_file_using_tmp(parameters, path.c_str(), 0)
                                      : FS_create_empty_file(path.c_str());
  if (written != 0) return 0;
  log_print("[simple_ipc_client] scheduled request '%s'", id);
  return 1;
}

properties* simple_ipc_try_get_response(simple_ipc* client, const char* id) {
  MY_ASSERT(client);
  MY_ASSERT(id);
  std::string path = file_path(client, id, ".res");
  properties* response = properties_create_with_index();
  if (!properties_build_from_unlimited_size_internal_file(response, path.c_str())) {
    properties_free(response);
    return nullptr;
  }
  FS_unlink(path.c_str());
  log_print("[simple_ipc_client] got response for '%s'", id);
  return response;
}

void simple_ipc_remove_all_responses(simple_ipc* client) {
  MY_ASSERT(client);
  string_array* names = FS_scandir(client->dir_path);
  if (names == nullptr) {
    log_print("[simple_ipc_client] scandir(%s) failed: %s", client->dir_path, strerror(errno));
    return;
  }
  for (int i = 0; i < names->size; ++i) {
    if (vona::simple_ipc_has_extension(names->items[i], ".res")) {
      FS_unlink(file_path(client, names->items[i], "").c_str());
    }
  }
  string_array_free(names);
}

simple_ipc_status simple_ipc_status_from_string(const char* text, simple_ipc_status default_value) {
  if (text == nullptr) return default_value;
  for (int i = 0; i < kNumStatuses; ++i) {
    if (strcmp(text, kStatusNames[i]) == 0) return static_cast<simple_ipc_status>(i);
  }
  return default_value;
}

bool vona::simple_ipc_send_fresh_request(simple_ipc* client, const char* log_prefix, const char* name,
                                         const properties* parameters, char* id) {
  Turn turn(client);
  return send_fresh_request(client, log_prefix, name, parameters, id);
}

simple_ipc_status vona::simple_ipc_exchange(simple_ipc* client, const char* log_prefix, const char* name,
                                            const properties* parameters, properties** response,
                                            const SimpleIpcWait& wait) {
  if (response != nullptr) *response = nullptr;
  Turn turn(client);
  char id[SIMPLE_IPC_MAX_ID_SIZE];
  if (!send_fresh_request(client, log_prefix, name, parameters, id)) return SIMPLE_IPC_STATUS_ERROR;
  log_print("%s request '%s' is sent; waiting response", log_prefix, id);
  long long deadline = vona::monotonic_us() + wait.timeout_us;
  properties* answer = nullptr;
  while (answer == nullptr) {
    if (vona::monotonic_us() > deadline) {
      log_print("%s request '%s' timed out", log_prefix, id);
      return SIMPLE_IPC_STATUS_TIMED_OUT;
    }
    progress_heartbeat();
    usleep((useconds_t)wait.poll_us);
    answer = simple_ipc_try_get_response(client, id);
  }
  simple_ipc_status status =
      simple_ipc_status_from_string(properties_get_str(answer, "status", "error"), SIMPLE_IPC_STATUS_ERROR);
  if (response != nullptr) *response = answer;
  else properties_free(answer);
  log_print("%s request '%s' finished (%s)", log_prefix, id, status == SIMPLE_IPC_STATUS_OK ? "succeeded" : "failed");
  return status;
}
