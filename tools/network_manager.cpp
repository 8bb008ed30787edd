// vonautil daemon network_manager: a stand-in for the player's network daemon.
//
// It serves "mount", "umount", "unlock" and "touch" and publishes its mounts in
// /tmp/run/network_mount_list.xml through the library's own list code, so that clients see
// exactly what the real daemon would show them. A mount is simulated: its mount point
// /tmp/mnt/network/ID is made (and removed again), nothing is mounted on it. State changes
// fall due after --mount-delay milliseconds (at once for 0), and a list file left by an earlier
// run is taken over, mounts half-way through a change included.
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "assignments.hpp"
#include "command.hpp"
#include "daemon.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/simple_ipc_client.hpp"
#include "vonautil.h"

namespace tool {

namespace {

const char kName[] = "daemon";

std::string text_of(long long value) { return std::to_string(value); }

// A response with the status and, unless the status is "ok", the description.
properties* answer(simple_ipc_status status, const std::string& description) {
  properties* response = simple_ipc_server_create_response(status);
  if (status != SIMPLE_IPC_STATUS_OK) properties_set(response, "errdesc", description.c_str());
  return response;
}

class NetworkManager {
 public:
  NetworkManager(long long delay_us, std::string fail_server)
      : delay_us_(delay_us), fail_server_(std::move(fail_server)), list_path_(vona::fixed_path(NETWORK_MOUNT_LIST_PATH)) {
    if (FS_file_exists(list_path_.c_str())) network_mount_list_load_from_file(mounts_, &max_mount_id_, list_path_.c_str());
    for (int i = 0; i < mounts_->num_items; ++i) {
      int status = mounts_->items[i]->status;
      if (status == NETWORK_MOUNT_STATUS_MOUNTING || status == NETWORK_MOUNT_STATUS_UNMOUNTING) {
        due_[mounts_->items[i]->id] = vona::monotonic_us() + delay_us_;
      }
    }
    save();
  }
  ~NetworkManager() { network_mount_list_free(mounts_); }
  NetworkManager(const NetworkManager&) = delete;
  NetworkManager& operator=(const NetworkManager&) = delete;

  properties* handle(const simple_ipc_request& request) {
    std::string name = request.name;
    const properties* p = request.parameters;
    if (name == "mount") return mount(p);
    if (name == "touch") return nullptr;  // nobody waits for it: no answer file is left behind
    long long id = str_parse_long_long(properties_get(p, "id"), 0);
    int index = network_mount_list_find_by_id(mounts_, id);
    if (index < 0) return answer(SIMPLE_IPC_STATUS_ERROR, "no mount with id '" + text_of(id) + "'");
    if (name == "umount") return umount(index);
    if (name == "unlock") return unlock(mounts_->items[index], properties_get(p, "owner"));
    return answer(SIMPLE_IPC_STATUS_ERROR, "unknown request '" + name + "'");
  }

  // Carries out the state changes that have fallen due.
  void tick() {
    long long now = vona::monotonic_us();
    bool changed = false;
    for (auto it = due_.begin(); it != due_.end();) {
      if (it->second > now) {
        ++it;
        continue;
      }
      int index = network_mount_list_find_by_id(mounts_, it->first);
      if (index >= 0) advance(index);
      it = due_.erase(it);
      changed = true;
    }
    if (changed) save();
  }

 private:
  properties* mount(const properties* p) {
    const char* type_text = properties_get_str(p, "type", "");
    int type = network_folder_type_from_string(type_text, (int)strlen(type_text), -1);
    const char* server = properties_get_str(p, "server", "");
    const char* dir = properties_get_str(p, "dir", "");
    const char* owner = properties_get(p, "owner");
    if (type < 0) return answer(SIMPLE_IPC_STATUS_ERROR, std::string("invalid type '") + type_text + "'");
    if (!*server || !*dir) return answer(SIMPLE_IPC_STATUS_ERROR, "server and dir are required");
    int index = network_mount_list_find_by_source(mounts_, type, server, dir);
    if (index >= 0 && mounts_->items[index]->status == NETWORK_MOUNT_STATUS_ERROR) {
      network_mount_list_remove(mounts_, index);  // a failed mount is tried again
      index = -1;
    }
    if (index >= 0) {
      network_mount* m = mounts_->items[index];
      if (m->status == NETWORK_MOUNT_STATUS_UNMOUNTING) {
        return answer(SIMPLE_IPC_STATUS_BUSY, "mount " + text_of(m->id) + " is unmounting");
      }
      if (owner != nullptr && *owner) network_mount_add_lock(m, owner);
      save();
      return ok_with_id(m->id);
    }
    long long id = ++max_mount_id_;
    std::string path = "/tmp/mnt/network/" + text_of(id);
    network_mount* m = network_mount_create(id, path.c_str(), type, server, dir, properties_get(p, "user_name"),
                                            properties_get(p, "password"),
                                            network_protocol_from_string(properties_get(p, "proto"), NETWORK_PROTOCOL_TCP),
                                            nullptr);
    network_mount_list_add(mounts_, m);
    if (fail_server_ == server) {
      m->status = NETWORK_MOUNT_STATUS_ERROR;
      report(m);
      save();
      properties* response = answer(SIMPLE_IPC_STATUS_ERROR, std::string("cannot reach server '") + server + "'");
      properties_set(response, "id", text_of(id).c_str());
      return response;
    }
    if (owner != nullptr && *owner) network_mount_add_lock(m, owner);
    report(m);
    schedule(mounts_->num_items - 1);
    save();
    return ok_with_id(id);
  }

  properties* umount(int index) {
    network_mount* m = mounts_->items[index];
    switch (m->status) {
      case NETWORK_MOUNT_STATUS_MOUNTING:
        return answer(SIMPLE_IPC_STATUS_ERROR, "mount " + text_of(m->id) + " is still mounting");
      case NETWORK_MOUNT_STATUS_UNMOUNTING:
        return answer(SIMPLE_IPC_STATUS_OK, "");
      case NETWORK_MOUNT_STATUS_ERROR:
        network_mount_list_remove(mounts_, index);
        save();
        return answer(SIMPLE_IPC_STATUS_OK, "");
      default:
        break;
    }
    if (m->locks != nullptr) {
      char* owners = string_array_join(m->locks, ", ", 0, m->locks->size);
      properties* response = answer(SIMPLE_IPC_STATUS_BUSY, "locked by " + std::string(owners));
      free(owners);
      return response;
    }
    m->status = NETWORK_MOUNT_STATUS_UNMOUNTING;
    report(m);
    schedule(index);
    save();
    return answer(SIMPLE_IPC_STATUS_OK, "");
  }

  properties* unlock(network_mount* m, const char* owner) {
    if (!network_mount_remove_lock(m, owner)) {
      return answer(SIMPLE_IPC_STATUS_ERROR, std::string("no lock of '") + (owner ? owner : "") + "'");
    }
    save();
    return answer(SIMPLE_IPC_STATUS_OK, "");
  }

  properties* ok_with_id(long long id) {
    properties* response = answer(SIMPLE_IPC_STATUS_OK, "");
    properties_set(response, "id", text_of(id).c_str());
    return response;
  }

  // The mount's next state change: now without a delay, else when it falls due.
  void schedule(int index) {
    if (delay_us_ == 0) advance(index);
    else due_[mounts_->items[index]->id] = vona::monotonic_us() + delay_us_;
  }

  // "mounting" -> "mounted" (the mount point made), "unmounting" -> gone (removed).
  void advance(int index) {
    network_mount* m = mounts_->items[index];
    std::string mount_point = vona::fixed_path(m->path);
    if (m->status == NETWORK_MOUNT_STATUS_MOUNTING) {
      m->status = FS_ensure_dirs(mount_point.c_str(), 0755) == 0 ? NETWORK_MOUNT_STATUS_MOUNTED : NETWORK_MOUNT_STATUS_ERROR;
      report(m);
    } else if (m->status == NETWORK_MOUNT_STATUS_UNMOUNTING) {
      FS_rmdir(mount_point.c_str());
      printf("mount %lld: gone\n", m->id);
      fflush(stdout);
      network_mount_list_remove(mounts_, index);
    }
  }

  void report(const network_mount* m) {
    printf("mount %lld: %s\n", m->id, network_mount_status_to_string(m->status));
    fflush(stdout);
  }

  void save() { network_mount_list_save_to_file(mounts_, list_path_.c_str(), max_mount_id_); }

  long long delay_us_;
  std::string fail_server_;
  std::string list_path_;
  network_mount_list* mounts_ = network_mount_list_create();
  long long max_mount_id_ = 0;
  std::map<long long, long long> due_;  // mount id -> monotonic time of its next state change
};

}  // namespace

int run_network_manager(const std::vector<std::string>& args) {
  long long delay_ms = 0;
  std::string fail_server;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--mount-delay" && i + 1 < args.size()) {
      delay_ms = str_parse_long_long(args[++i].c_str(), -1);
      if (delay_ms < 0) return usage_error(kName, "bad delay '" + args[i] + "'");
    } else if (args[i] == "--fail-server" && i + 1 < args.size()) {
      fail_server = args[++i];
    } else {
      return usage_error(kName, "unexpected argument '" + args[i] + "'");
    }
  }
  ensure_run_dir();
  xml_document_initialize();
  NetworkManager manager(delay_ms * 1000, fail_server);
  std::string banner = "serving " NETWORK_IPC_SERVER_ID "; mount delay " + text_of(delay_ms) + " ms";
  if (!fail_server.empty()) banner += "; failing server '" + fail_server + "'";
  return serve_requests(
      NETWORK_IPC_SERVER_ID, banner, [&](const simple_ipc_request& request) { return manager.handle(request); },
      [&] { manager.tick(); });
}

}  // namespace tool
