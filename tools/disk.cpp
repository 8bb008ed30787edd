// vonautil disk: what the storage code sees of a disk (its partition table, its GPT decision)
// and of a mounted file system or folder (df and du figures).
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/storage_utils.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char kName[] = "disk";

const char* state_words(int state) {
  switch (state) {
    case vona::kPartitionTableEmpty: return "empty GPT table";
    case vona::kPartitionTableHasPartitions: return "GPT table with partitions";
    default: return "invalid output (no GPT table)";
  }
}

int run_print(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kName, "print takes one DEVICE");
  std::string parted = vona::fixed_path("/firmware_ext/parted/parted");
  if (access(parted.c_str(), X_OK) != 0) {
    return failure(kName, "cannot run the partitioning program '" + parted + "': " + strerror(errno));
  }
  std::string printout = vona::storage_print_partition_table(args[1].c_str());
  int state = vona::storage_partition_table_state(printout.c_str());
  printf("partition table: %d %s\n", state, state_words(state));
  bool msdos = vona::storage_printout_is_msdos(printout.c_str());
  printf("msdos (to repartition): %s\n", msdos ? "yes" : "no");
  return state != vona::kPartitionTableInvalid || msdos ? kOk : kFailed;
}

void print_size(const char* label, long long bytes) {
  if (bytes < 0) printf("%s: unknown\n", label);
  else printf("%s: %lld\n", label, bytes);
}

int run_size(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kName, "size takes one PATH");
  const char* path = args[1].c_str();
  struct stat status;
  if (stat(path, &status) != 0) return failure(kName, "cannot use '" + args[1] + "': " + strerror(errno));
  long long total, used, available;
  storage_get_mounted_drive_info(path, &total, &used, &available);
  long long dir_size = storage_get_dir_size(path);
  print_size("total", total);
  print_size("used", used);
  print_size("available", available);
  print_size("directory size", dir_size);
  return total < 0 || used < 0 || available < 0 || dir_size < 0 ? kFailed : kOk;
}

int run_gpt_needed(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kName, "gpt-needed takes one DEVICE");
  const std::string& device = args[1];
  if (device.size() == 8) {
    std::string sysfs_dir = vona::fixed_path("/sys/block/" + device.substr(5));
    print_size("size", storage_get_drive_size(sysfs_dir.c_str()));
  }
  printf("gpt needed: %s\n", storage_is_gpt_needed(device.c_str()) ? "yes" : "no");
  return kOk;
}

int run_disk(const std::vector<std::string>& args) {
  return run_sub_command(kName, args, {{"print", run_print}, {"size", run_size}, {"gpt-needed", run_gpt_needed}});
}

TOOL_COMMAND(kName, "partition table state of a disk, df and du figures of a path",
             "Usage: vonautil disk print DEVICE\n"
             "       vonautil disk size PATH\n"
             "       vonautil disk gpt-needed DEVICE\n"
             "print       runs the partitioning program (/firmware_ext/parted/parted, below\n"
             "            VONAUTIL_ROOT when set) to print DEVICE's partition table (a disk or a\n"
             "            disk image file), shows its printout, then the state the storage code\n"
             "            reads from it: 1 a GPT table with partitions, 0 an empty GPT table, -1\n"
             "            invalid (no GPT table); and whether the disk counts as msdos, to be\n"
             "            repartitioned (an MBR table, or a GPT whose backup copy is corrupt).\n"
             "            Exit status 1 when the printout shows neither a GPT nor an msdos table.\n"
             "size        the total, used and available bytes of the file system that holds PATH\n"
             "            (from df) and the bytes used by the tree at PATH (from du, in the\n"
             "            firmware's 32-bit arithmetic: wrong from 2 GiB on). Exit status 1 when a\n"
             "            figure is unknown.\n"
             "gpt-needed  whether the disk DEVICE (a whole disk such as /dev/sda) gets a GUID\n"
             "            partition table: its size from /sys/block/NAME/size (below VONAUTIL_ROOT\n"
             "            when set) is above 2,100,000,000,000 bytes.\n",
             run_disk);

}  // namespace
}  // namespace tool
