#include "player/src/util/mt/network_ipc.h"

#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/progress.h"
#include "player/src/util/mt/properties.h"
#include "player/src/util/mt/simple_ipc_client.hpp"

namespace {

const char kPrefix[] = "[network_ipc]";
const long long kTimeoutUs = 10000000;
const useconds_t kListPollUs = 20000;

// The process-wide connection, set once by network_ipc_open.
simple_ipc* network_ipc = nullptr;

std::string format(const char* format, ...) VONA_PRINTF(1, 2);
std::string format(const char* format, ...) {
  char buffer[1024];
  va_list args;
  va_start(args, format);
  vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  return buffer;
}

void set_id(properties* p, long long id) { properties_set(p, "id", format("%lld", id).c_str()); }

simple_ipc_status exchange(const char* name, const properties* parameters, properties** response) {
  return vona::simple_ipc_exchange(network_ipc, kPrefix, name, parameters, response);
}

bool timed_out(long long start) { return vona::monotonic_us() - start > kTimeoutUs; }

// One poll of a wait: the heartbeat, "%s: still waiting for %s" on every tenth poll.
void wait_a_poll(const std::string& label, const std::string& what, int* polls) {
  progress_heartbeat();
  if (++*polls % 10 == 0) log_print("%s: still waiting for %s", label.c_str(), what.c_str());
}

// The mount with that id in the freshly reloaded current list, or null.
network_mount* reload_and_find(long long id) {
  network_mount_list_reload_current();
  network_mount_list* list = network_mount_list_get_current();
  int index = network_mount_list_find_by_id(list, id);
  return index >= 0 ? list->items[index] : nullptr;
}

// What waiting for a mount id came to.
enum class MountWait { kDone, kFailed, kStartAgain };

// Step 6 of try_ensure_network_mount: polls the list until the mount `id` is mounted.
MountWait wait_for_mount(const std::string& label, long long id, long long start, network_mount** result) {
  std::string what = format("mount on %lld", id);
  log_print("%s: waiting for %s", label.c_str(), what.c_str());
  for (int polls = 0;;) {
    network_mount* m = reload_and_find(id);
    if (m == nullptr) {
      log_print("%s: mount %lld disappeared", label.c_str(), id);
      return MountWait::kFailed;
    }
    switch (m->status) {
      case NETWORK_MOUNT_STATUS_ERROR:
        log_print("%s: mount %lld failed", label.c_str(), id);
        return MountWait::kFailed;
      case NETWORK_MOUNT_STATUS_MOUNTED:
        log_print("%s: mount %lld DONE", label.c_str(), id);
        *result = m;
        return MountWait::kDone;
      case NETWORK_MOUNT_STATUS_UNMOUNTING:
        log_print("%s: mount %lld is now unmounting", label.c_str(), id);
        return MountWait::kStartAgain;
      default:
        break;
    }
    if (timed_out(start)) {
      log_print("%s: timed out waiting for %s", label.c_str(), what.c_str());
      return MountWait::kFailed;
    }
    wait_a_poll(label, what, &polls);
    usleep(kListPollUs);
  }
}

}  // namespace

int network_ipc_open(void) {
  MY_ASSERT(!network_ipc);
  network_ipc = simple_ipc_create_and_connect(NETWORK_IPC_SERVER_ID);
  return network_ipc != nullptr;
}

void network_ipc_close(void) {
  simple_ipc_disconnect_and_destroy(network_ipc);
  network_ipc = nullptr;
}

simple_ipc_status network_ipc_send_and_wait_mount(int type, const char* server, const char* dir,
                                                  const char* user_name, const char* password, int protocol,
                                                  const char* owner, long long* id) {
  *id = 0;
  properties* p = properties_create_empty();
  properties_set(p, "type", network_folder_type_to_string(type));
  properties_set(p, "server", server);
  properties_set(p, "dir", dir);
  if (type == NETWORK_FOLDER_TYPE_SMB) {
    properties_set(p, "user_name", user_name ? user_name : "");
    properties_set(p, "password", password ? password : "");
  } else if (type == NETWORK_FOLDER_TYPE_NFS) {
    properties_set(p, "proto", network_protocol_to_string(protocol));
  }
  if (owner != nullptr) properties_set(p, "owner", owner);
  properties* response = nullptr;
  simple_ipc_status status = exchange("mount", p, &response);
  properties_free(p);
  if (status == SIMPLE_IPC_STATUS_OK) {
    long long given = str_parse_long_long(properties_get(response, "id"), 0);
    if (given < 1) status = SIMPLE_IPC_STATUS_ERROR;
    else *id = given;
  }
  properties_free(response);
  return status;
}

simple_ipc_status network_ipc_send_and_wait_umount(long long id) {
  properties* p = properties_create_empty();
  set_id(p, id);
  simple_ipc_status status = exchange("umount", p, nullptr);
  properties_free(p);
  return status;
}

simple_ipc_status network_ipc_send_and_wait_unlock(long long id, const char* owner) {
  properties* p = properties_create_empty();
  set_id(p, id);
  properties_set(p, "owner", owner ? owner : "");
  simple_ipc_status status = exchange("unlock", p, nullptr);
  properties_free(p);
  return status;
}

int network_ipc_send_touch(long long id) {
  properties* p = properties_create_empty();
  set_id(p, id);
  char request_id[SIMPLE_IPC_MAX_ID_SIZE];
  bool sent = vona::simple_ipc_send_fresh_request(network_ipc, kPrefix, "touch", p, request_id);
  properties_free(p);
  return sent;
}

network_mount* try_ensure_network_mount(int type, const char* server, const char* dir, const char* user_name,
                                        const char* password, int protocol, const char* owner) {
  long long start = vona::monotonic_us();
  std::string label = format("[ensure_mnt] %s://%s:%s", network_folder_type_to_string(type), server, dir);
  for (int unmounting_polls = 0;;) {
    network_mount_list_reload_current();
    network_mount_list* list = network_mount_list_get_current();
    int index = network_mount_list_find_by_source(list, type, server, dir);
    network_mount* m = index >= 0 ? list->items[index] : nullptr;
    int status = m != nullptr ? m->status : -1;
    if (status == NETWORK_MOUNT_STATUS_MOUNTED && network_mount_has_owner(m, owner)) {
      log_print("%s: already mounted with id %lld", label.c_str(), m->id);
      network_ipc_send_touch(m->id);
      return m;
    }
    if (status == NETWORK_MOUNT_STATUS_UNMOUNTING) {
      if (timed_out(start)) {
        log_print("%s: timed out waiting for %s", label.c_str(), "unmounting");
        return nullptr;
      }
      wait_a_poll(label, "unmounting", &unmounting_polls);
      usleep(kListPollUs);
      usleep(kListPollUs);
      continue;
    }
    // A mount on its way is waited for as it is; a mounted one without this owner's lock, a
    // failed one or none is asked for (the request adds the owner's lock).
    long long id = 0;
    if (status == NETWORK_MOUNT_STATUS_MOUNTING) {
      id = m->id;
    } else {
      log_print("%s: sending mount", label.c_str());
      simple_ipc_status answer =
          network_ipc_send_and_wait_mount(type, server, dir, user_name, password, protocol, owner, &id);
      if (answer == SIMPLE_IPC_STATUS_PENDING) continue;
      if (answer != SIMPLE_IPC_STATUS_OK) return nullptr;
    }
    network_mount* mounted = nullptr;
    MountWait outcome = wait_for_mount(label, id, start, &mounted);
    if (outcome == MountWait::kDone) return mounted;
    if (outcome == MountWait::kFailed) return nullptr;
  }
}

int try_network_umount(long long id) {
  long long start = vona::monotonic_us();
  std::string label = format("[umount] %lld", id);
  std::string what = format("%lld unmounted", id);
  bool waiting = false;
  for (int polls = 0;;) {
    network_mount* m = reload_and_find(id);
    if (m == nullptr) {
      log_print(waiting ? "%s: unmounted OK" : "%s: disappeared", label.c_str());
      return 0;
    }
    if (m->status == NETWORK_MOUNT_STATUS_ERROR) {
      log_print("%s: got error state", label.c_str());
      return 0;
    }
    if (m->status == NETWORK_MOUNT_STATUS_MOUNTING) {
      log_print("%s: Error: got mounting state", label.c_str());
      return 1;
    }
    if (!waiting) {
      if (m->status == NETWORK_MOUNT_STATUS_MOUNTED) {
        simple_ipc_status answer = network_ipc_send_and_wait_umount(id);
        log_print("%s: IPC returned: %s", label.c_str(), vona::simple_ipc_status_name(answer));
        if (answer == SIMPLE_IPC_STATUS_BUSY) return 2;
        if (answer != SIMPLE_IPC_STATUS_OK) return 1;
      }
      log_print("%s: waiting for %s", label.c_str(), what.c_str());
      waiting = true;
      continue;
    }
    if (timed_out(start)) {
      log_print("%s: timed out waiting for %s", label.c_str(), what.c_str());
      return 1;
    }
    wait_a_poll(label, what, &polls);
    usleep(kListPollUs);
  }
}

void unlock_network_mount(long long id, const char* owner) {
  std::string label = format("[unlock] owner '%s' from %lld", owner ? owner : "", id);
  network_mount* m = reload_and_find(id);
  if (m == nullptr) {
    log_print("%s: disappeared", label.c_str());
  } else if (m->status == NETWORK_MOUNT_STATUS_ERROR) {
    log_print("%s: got error state", label.c_str());
  } else {
    network_ipc_send_and_wait_unlock(id, owner);
  }
}

void touch_network_mount(long long id) { network_ipc_send_touch(id); }
