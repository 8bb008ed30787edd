// vonautil storage: the storage list that the storage daemon publishes, and the disk usage
// of a path through the daemon; the demo of mounts and storages.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "command.hpp"
#include "daemon.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "vonautil.h"

namespace tool {

namespace {

const char kName[] = "storage";

const char* or_none(const char* text) { return text ? text : "-"; }

void print_storages(const storage_info_list* list) {
  for (int i = 0; i < list->num_items; ++i) {
    const storage_info* info = list->items[i];
    printf("%s  id=%s uuid=%s mount_path=%s\n", info->name, info->id, or_none(info->uuid), or_none(info->mount_path));
  }
}

int run_list(const std::vector<std::string>& args) {
  if (args.size() != 1) return usage_error(kName, "list takes no arguments");
  xml_document_initialize();
  storage_info_list* list = storage_info_list_create();
  bool loaded = storage_info_list_load(list);
  if (loaded) print_storages(list);
  storage_info_list_free(list);
  if (!loaded) return failure(kName, "no valid storage list in " + vona::fixed_path("/tmp/run/storage_list.xml"));
  return kOk;
}

int run_usage(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kName, "usage takes PATH");
  if (!storage_ipc_open()) return failure(kName, "no storage daemon (its IPC directory does not exist)");
  long long total, used, avail;
  bool answered = storage_ipc_send_and_wait_disk_space_usage(args[1].c_str(), &total, &used, &avail);
  storage_ipc_close();
  if (!answered) return failure(kName, "the storage daemon gave no disk usage for '" + args[1] + "'");
  printf("total_bytes = %lld\nused_bytes = %lld\navail_bytes = %lld\n", total, used, avail);
  return kOk;
}

int run_storage(const std::vector<std::string>& args) {
  return run_sub_command(kName, args, {{"list", run_list}, {"usage", run_usage}});
}

}  // namespace

TOOL_COMMAND(kName, "the published storage list, and disk usage through the storage daemon",
             "Usage: vonautil storage list\n"
             "       vonautil storage usage PATH\n"
             "  list   reads /tmp/run/storage_list.xml (below $VONAUTIL_ROOT when it is set) as the\n"
             "         player does and prints one line per listed storage:\n"
             "           NAME  id=ID uuid=UUID mount_path=PATH   (\"-\" for an absent field)\n"
             "         Exit status 1 when the file is missing or not a storage list.\n"
             "  usage  asks the storage daemon (server storage_manager) for the disk usage of the\n"
             "         file system that holds PATH and prints total_bytes, used_bytes and avail_bytes.\n"
             "         Waits up to 10 seconds; exit status 1 without an answer or with a failed one.\n"
             "'vonautil daemon storage_manager' runs a stand-in daemon.\n",
             run_storage);

namespace {

const char kDemoMounts[] =
    "/dev/root / squashfs ro,relatime 0 0\n"
    "proc /proc proc rw,nosuid,nodev,noexec,relatime 0 0\n"
    "tmpfs /tmp tmpfs rw,relatime,size=65536k 0 0\n"
    "/dev/sda1 %s/tmp/mnt/storage/usb1 tntfs rw,relatime,uid=0,gid=0,umask=00 0 0\n"
    "/dev/mmcblk0p1 %s/tmp/mnt/storage/sd\\040card ext3 rw,relatime,errors=continue 0 0\n"
    "//nas/Movies\\134HD %s/tmp/mnt/smb/0 cifs rw,relatime,vers=3.0,username=guest 0 0\n";

void demo_storages() {
  std::string root = vona::fixed_path("/");
  root.pop_back();
  std::string usb = root + "/tmp/mnt/storage/usb1", sd = root + "/tmp/mnt/storage/sd card";
  FS_ensure_dirs(usb.c_str(), 0777);
  FS_ensure_dirs(sd.c_str(), 0777);
  FS_ensure_dirs(vona::fixed_path("/proc").c_str(), 0777);
  char table[1024];
  snprintf(table, sizeof table, kDemoMounts, root.c_str(), root.c_str(), root.c_str());
  FS_writestring(vona::fixed_path("/proc/mounts").c_str(), table);
  // The main storage is a link to the mount point of a disk: what earlier steps kept in the
  // folder /tmp/mnt/D moves onto the USB disk, and the link takes the folder's place.
  std::string main_link = vona::fixed_path("/tmp/mnt/D");
  struct stat status;
  if (FS_lstat(main_link.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) FS_rename(main_link.c_str(), usb.c_str());
  symlink(usb.c_str(), main_link.c_str());
  printf("A mount table with a USB disk (tntfs), an SD card (ext3, a blank in its name) and a share:\n");
  mount_cache_set_dirty();
  for (const char* path : {"/tmp/mnt/storage/usb1/Movies/a.mkv", "/tmp/mnt/storage/sd card/DCIM", "/tmp/mnt/smb/0/x",
                           "/tmp/mnt/storage/usb10/b.mkv", "/tmp/video.ts"}) {
    std::string real = path[5] == 'm' ? root + path : path;
    char type_name[64];
    mount_cache_get_mount_type_str(type_name, sizeof type_name, real.c_str());
    printf("  %-38s type %2d %s\n", path, (int)mount_cache_get_mount_type(real.c_str()), type_name);
  }
  char main_target[64] = "";
  printf("  main storage mounted: %s\n", mount_cache_get_main_mount_target(main_target, 64) ? main_target : "no");
  printf("  (usb10 counts as usb1: the first mount whose target starts the path is taken)\n");

  fflush(stdout);
  ChildServer daemon = start_child_server(
      {"daemon", "storage_manager", "--storage", "USB disk=" + usb, "--storage", "SD card=" + sd}, "storage_manager");
  printf("Started the stand-in storage daemon with two storages; the published list:\n");
  xml_document_initialize();
  storage_info_list* list = storage_info_list_create();
  storage_info_list_load(list);
  for (int i = 0; i < list->num_items; ++i) {
    printf("  %-8s id=%s uuid=%s\n", list->items[i]->name, list->items[i]->id, or_none(list->items[i]->uuid));
  }
  printf("The storage cache read back from storages.txt:\n");
  storage_cache_load();
  for (int i = 0; i < list->num_items; ++i) {
    char* by_name = storage_cache_get_mount_path_by_name(list->items[i]->name);
    char* by_uuid = storage_cache_get_mount_path_by_uuid(list->items[i]->uuid);
    printf("  name '%s' and uuid %s -> %s, %s\n", list->items[i]->name, list->items[i]->uuid,
           by_name ? by_name + root.size() : "-", by_uuid ? by_uuid + root.size() : "-");
    free(by_name);
    free(by_uuid);
  }
  storage_info_list_free(list);
  printf("Requests to the daemon (the client logs on standard error):\n");
  fflush(stdout);
  if (storage_ipc_open()) {
    long long total, used, avail;
    bool answered = storage_ipc_send_and_wait_disk_space_usage(usb.c_str(), &total, &used, &avail);
    bool suspended = storage_ipc_send_and_wait_suspend_update();
    bool sent = storage_ipc_send_power_off_disks();
    storage_ipc_close();
    if (answered) {
      printf("  disk usage of the USB disk's file system: %lld MiB of %lld MiB used, %lld MiB free\n", used >> 20,
             total >> 20, avail >> 20);
    }
    printf("  suspend_update: %s; power_off_disks sent: %s\n", suspended ? "ok" : "failed", sent ? "yes" : "no");
  }
  fflush(stdout);
  usleep(100000);
  std::string served = stop_child_server(daemon);
  printf("What the daemon printed:\n");
  print_quoted(served);
}

}  // namespace

TOOL_DEMO_STEP(80, "Mounts and storages: the mount cache, a storage daemon, its list and disk usage", demo_storages);

}  // namespace tool
