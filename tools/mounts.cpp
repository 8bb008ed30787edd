// vonautil mounts: the mount cache as the player sees it, and the mount type of paths.
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/mount_cache.hpp"
#include "vonautil.h"

namespace tool {

namespace {

const char kName[] = "mounts";

int run_mounts(const std::vector<std::string>& args) {
  for (const std::string& arg : args) {
    if (arg.compare(0, 1, "-") == 0) return usage_error(kName, "unexpected option '" + arg + "'");
  }
  std::string table = vona::fixed_path("/proc/mounts");
  if (FS_access(table.c_str(), R_OK) != 0) {
    return failure(kName, "cannot read the mount table " + table);
  }
  mount_cache_update();
  std::vector<vona::CachedMount> mounts = vona::mount_cache_entries();
  printf("%zu cached mounts (of %s):\n", mounts.size(), table.c_str());
  for (const vona::CachedMount& mount : mounts) {
    printf("  %2d %-6s %s\n", (int)mount.code, mount.type_name.c_str(), mount.target.c_str());
  }
  char main_target[64];
  if (mount_cache_get_main_mount_target(main_target, sizeof main_target)) {
    printf("main storage: mounted at %s\n", main_target);
  } else {
    printf("main storage: not mounted\n");
  }
  for (const std::string& path : args) {
    char type_name[MOUNT_CACHE_MAX_TYPE_NAME_LENGTH + 1];
    mount_cache_get_mount_type_str(type_name, sizeof type_name, path.c_str());
    printf("%s: %d %s\n", path.c_str(), (int)mount_cache_get_mount_type(path.c_str()), type_name);
  }
  return kOk;
}

}  // namespace

TOOL_COMMAND(kName, "the cached mounts and the mount type of paths",
             "Usage: vonautil mounts [PATH...]\n"
             "Reads the mount table /proc/mounts (below $VONAUTIL_ROOT when it is set) as the player's\n"
             "mount cache does and lists the mounts it keeps, in table order, with their type codes:\n"
             "  0 ext2/ext3, 1 nfs, 2 tntfs, 3 cifs\n"
             "and whether the main storage (/tmp/mnt/D, a link to a mount point) is mounted. Then\n"
             "prints for each PATH the code and type name of the mount that holds it (99 unknown).\n"
             "The lookup takes the first cached mount whose target starts the path, and a later one\n"
             "only when it is longer and the path has '/' where the earlier one ended.\n"
             "Exit status 1 when the mount table cannot be read.\n",
             run_mounts);

}  // namespace tool
