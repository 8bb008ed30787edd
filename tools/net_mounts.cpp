// vonautil net mount / umount / unlock / mounts: network mounts through the network daemon,
// and the demo step of a whole mount request.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <string>

#include "command.hpp"
#include "daemon.hpp"
#include "net.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/simple_ipc_client.hpp"
#include "vonautil.h"

namespace tool {

namespace {

// "3 mounted smb://nas:music /tmp/mnt/network/3 locks: shell, player"
void print_mount(const network_mount* m) {
  printf("%lld %s %s://%s:%s %s", m->id, network_mount_status_to_string(m->status),
         network_folder_type_to_string(m->type), m->server, m->dir, m->path);
  if (m->locks != nullptr) {
    char* owners = string_array_join(m->locks, ", ", 0, m->locks->size);
    printf(" locks: %s", owners);
    free(owners);
  }
  printf("\n");
}

// A mount id argument (at least 1), or 0 after the usage error.
long long parse_id(const std::string& text) {
  long long id = str_parse_long_long(text.c_str(), 0);
  if (id < 1) usage_error(kNetName, "'" + text + "' is not a mount id");
  return id;
}

// Opens the connection to the daemon; false after the error message.
bool open_daemon() {
  xml_document_initialize();
  if (network_ipc_open()) return true;
  failure(kNetName, "the network daemon is not running (no " + vona::simple_ipc_dir_path(NETWORK_IPC_SERVER_ID) + ")");
  return false;
}

// The mount with that id in the freshly read list, or null.
network_mount* reload_mount(long long id) {
  network_mount_list_reload_current();
  network_mount_list* list = network_mount_list_get_current();
  int index = network_mount_list_find_by_id(list, id);
  return index >= 0 ? list->items[index] : nullptr;
}

}  // namespace

int run_net_mount(const std::vector<std::string>& args) {
  std::string name, owner = "vonautil";
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--owner" && i + 1 < args.size()) owner = args[++i];
    else if (name.empty() && args[i].compare(0, 2, "--") != 0) name = args[i];
    else return usage_error(kNetName, "unexpected argument '" + args[i] + "'");
  }
  if (name.empty()) return usage_error(kNetName, "mount takes FOLDER-NAME");
  network_folder_list* folders = network_folder_list_create();
  network_folder_list_load(folders, nullptr, 0);
  const network_folder* f = network_folder_list_get_by_name(folders, name.c_str(), (int)name.size());
  int result = kFailed;
  if (f == nullptr) {
    failure(kNetName, "no network folder '" + name + "'");
  } else if (open_daemon()) {
    const network_mount* m = try_ensure_network_mount(f->type, f->server, f->directory, f->user, f->password,
                                                      f->protocol, owner.c_str());
    if (m != nullptr) print_mount(m);
    else failure(kNetName, "mounting '" + name + "' failed");
    result = m != nullptr ? kOk : kFailed;
    network_ipc_close();
  }
  network_folder_list_free(folders);
  return result;
}

int run_net_umount(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kNetName, "umount takes ID");
  long long id = parse_id(args[1]);
  if (id == 0) return kUsage;
  if (!open_daemon()) return kFailed;
  int result = try_network_umount(id);
  network_ipc_close();
  if (result == 2) return failure(kNetName, "mount " + args[1] + " is busy: other owners hold locks on it");
  if (result != 0) return failure(kNetName, "unmounting " + args[1] + " failed");
  printf("mount %lld is unmounted\n", id);
  return kOk;
}

int run_net_unlock(const std::vector<std::string>& args) {
  if (args.size() != 3) return usage_error(kNetName, "unlock takes ID OWNER");
  long long id = parse_id(args[1]);
  if (id == 0) return kUsage;
  if (!open_daemon()) return kFailed;
  unlock_network_mount(id, args[2].c_str());
  network_ipc_close();
  const network_mount* m = reload_mount(id);
  if (m == nullptr) return failure(kNetName, "no mount " + args[1]);
  if (network_mount_has_owner(m, args[2].c_str())) {
    return failure(kNetName, "'" + args[2] + "' still holds mount " + args[1]);
  }
  print_mount(m);
  return kOk;
}

int run_net_mounts(const std::vector<std::string>& args) {
  if (args.size() != 1) return usage_error(kNetName, "mounts takes no arguments");
  xml_document_initialize();
  network_mount_list* list = network_mount_list_create();
  long long max_mount_id = 0;
  std::string path = vona::fixed_path(NETWORK_MOUNT_LIST_PATH);
  if (!network_mount_list_load_from_file(list, &max_mount_id, path.c_str())) {
    network_mount_list_free(list);
    return failure(kNetName, "cannot read the mount list " + path);
  }
  printf("max_mount_id %lld\n", max_mount_id);
  for (int i = 0; i < list->num_items; ++i) print_mount(list->items[i]);
  network_mount_list_free(list);
  return kOk;
}

namespace {

// The request of a user opening a network folder, from the store to the unmount.
void demo_network_mount() {
  // The library's log lines of this step go to a file, shown at the end without their stamps.
  std::string log_path = vona::fixed_path("/tmp/network_demo.log");
  fflush(stderr);
  int saved_stderr = dup(2);
  log_redirect_stderr_to_file(log_path.c_str(), 0);
  network_folder_list* folders = network_folder_list_create();
  long long counter = 1;
  char* id = nullptr;
  network_folder_list_add(folders, network_folder_create(network_folder_generate_id(&id, &counter), "Music",
                                                         NETWORK_FOLDER_TYPE_SMB, "nas", "music", "guest", "secret",
                                                         NETWORK_PROTOCOL_NONE));
  free(id);
  network_folder_list_save(folders, 0, counter);
  network_folder_list_free(folders);
  printf("Stored the network folder 'Music' (smb://nas:music) in /config/network_folders.properties.\n");

  ChildServer daemon = start_child_server({"daemon", "network_manager", "--mount-delay", "100"}, NETWORK_IPC_SERVER_ID);
  printf("Started 'vonautil daemon network_manager --mount-delay 100' as process %d.\n", (int)daemon.pid);
  xml_document_initialize();
  if (daemon.pid > 0 && network_ipc_open()) {
    network_folder_list_reload_current(nullptr, 0);
    const network_folder* f = network_folder_list_get_by_name(network_folder_list_get_current(), "Music", 5);
    long long mount_id = 0;
    for (const char* owner : {"shell", "player"}) {
      const network_mount* m = try_ensure_network_mount(f->type, f->server, f->directory, f->user, f->password,
                                                        f->protocol, owner);
      printf("try_ensure_network_mount for '%s': ", owner);
      if (m != nullptr) print_mount(m);
      else printf("failed\n");
      if (m != nullptr) mount_id = m->id;
    }
    printf("/tmp/run/network_mount_list.xml:\n");
    char* text = FS_read_string_unlimited(vona::fixed_path(NETWORK_MOUNT_LIST_PATH).c_str());
    print_quoted(text ? text : "");
    free(text);
    unlock_network_mount(mount_id, "shell");
    printf("Unlocked 'shell'; try_network_umount: %d (2: busy, 'player' still holds it)\n",
           try_network_umount(mount_id));
    unlock_network_mount(mount_id, "player");
    printf("Unlocked 'player'; try_network_umount: %d (0: unmounted)\n", try_network_umount(mount_id));
    network_ipc_close();
  }
  std::string served = stop_child_server(daemon);
  fflush(stderr);
  dup2(saved_stderr, 2);
  close(saved_stderr);
  printf("What the daemon printed:\n");
  print_quoted(served);
  printf("What the library logged (the client's side):\n");
  string_array* lines = FS_readlines(log_path.c_str(), 4096, 0);
  for (int i = 0; lines != nullptr && i < lines->size; ++i) {
    const char* stamp_end = strstr(lines->items[i], "] ");
    for (int field = 1; stamp_end != nullptr && field < 3; ++field) stamp_end = strstr(stamp_end + 2, "] ");
    printf("  | %s\n", stamp_end != nullptr ? stamp_end + 2 : lines->items[i]);
  }
  string_array_free(lines);
}

}  // namespace

TOOL_DEMO_STEP(85, "Network mounts: a network folder mounted for two owners and unmounted", demo_network_mount);

}  // namespace tool
