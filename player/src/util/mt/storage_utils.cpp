#include "player/src/util/mt/storage_utils.hpp"

#include <errno.h>
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "player/src/util/mt/basic_string_array.h"
#include "player/src/util/mt/cmd_utils.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"

namespace {

const char kPartedPath[] = "/firmware_ext/parted/parted";
const char kStopScriptPath[] = "/firmware/scripts/stop_mount_usages.sh";

// Disks larger than this many bytes get a GUID partition table.
constexpr long long kGptThresholdBytes = 2100000000000LL;
constexpr long long kSectorBytes = 512;
// The length of a whole-disk device path such as "/dev/sda", and of its "/dev/" prefix.
constexpr size_t kDiskPathLength = 8;
constexpr size_t kDevPrefixLength = 5;
// Bytes read from the size files of the block-device tree.
constexpr int kGptSizeReadBytes = 64;
constexpr int kDriveSizeLineBytes = 512;
// The longest fdisk command line.
constexpr size_t kFdiskCommandBytes = 1024;

// Gives the kernel time to take in a changed partition table.
void settle() { sleep(1); }

bool has_apostrophe(const char* text) { return strchr(text, '\'') != nullptr; }

// The text for use between apostrophes in a shell command line: each apostrophe closes the
// quote, adds an escaped apostrophe and reopens it.
std::string escape_for_apostrophes(const char* text) {
  std::string escaped;
  for (const char* c = text; *c; ++c) {
    if (*c == '\'') escaped += "'\\''";
    else escaped += *c;
  }
  return escaped;
}

// Runs a shell command and collects its standard output; false (with the system error printed
// for "popen") when the pipe cannot be opened.
bool read_command_output(const std::string& command, std::string* output) {
  FILE* pipe = popen(command.c_str(), "re");
  if (pipe == nullptr) {
    perror("popen");
    return false;
  }
  char block[4096];
  size_t count;
  while ((count = fread(block, 1, sizeof block, pipe)) > 0) output->append(block, count);
  pclose(pipe);
  return true;
}

// The leading integer of a text (blanks, a sign, digits), as strtoll reads it.
long long leading_integer(const char* text) { return strtoll(text, nullptr, 10); }

// Keeps SIGPIPE of the calling thread blocked while it lives, so that writing to a program
// that has already exited fails with EPIPE instead of ending the process; a SIGPIPE raised
// meanwhile is taken off again before the signal mask is restored.
class SigpipeBlock {
 public:
  SigpipeBlock() {
    sigset_t pipe_set = pipe_signal();
    sigset_t pending;
    sigpending(&pending);
    was_pending_ = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &pipe_set, &previous_);
  }
  ~SigpipeBlock() {
    sigset_t pending;
    sigpending(&pending);
    if (!was_pending_ && sigismember(&pending, SIGPIPE) == 1) {
      sigset_t pipe_set = pipe_signal();
      const timespec no_wait = {0, 0};
      sigtimedwait(&pipe_set, nullptr, &no_wait);
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }
  SigpipeBlock(const SigpipeBlock&) = delete;
  SigpipeBlock& operator=(const SigpipeBlock&) = delete;

 private:
  static sigset_t pipe_signal() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
  }
  sigset_t previous_;
  bool was_pending_ = false;
};

// Writes the script through the formatted-output call, with the script as the format.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
bool write_script(FILE* pipe, const char* script) { return fprintf(pipe, script) >= 0 && fflush(pipe) == 0; }
#pragma GCC diagnostic pop

int partition_table_state_of(const char* device) {
  std::string printout = vona::storage_print_partition_table(device);
  return vona::storage_partition_table_state(printout.c_str());
}

int unmount_logged(const char* mount_point) {
  if (umount(mount_point) != 0) return 0;
  log_print("Unmounted OK");
  return 1;
}

}  // namespace

namespace vona {

std::string storage_print_partition_table(const char* device) {
  log_print("[parted] running print...");
  std::string parted = fixed_path(kPartedPath);
  string_array* args = string_array_create_empty();
  string_array_add(args, parted.c_str());
  string_array_add(args, device);
  string_array_add(args, "--script");
  string_array_add(args, "--");
  string_array_add(args, "print");
  char* output = run_cmd_and_capture_output(args);
  string_array_free(args);
  std::string printout = output;
  free(output);
  return printout;
}

int storage_partition_table_state(const char* printout) {
  const char* table = strstr(printout, "Partition Table: gpt");
  if (table == nullptr) return kPartitionTableInvalid;
  const char* number = strstr(table, "Number");
  if (number == nullptr) return kPartitionTableInvalid;
  const char* start = strstr(number, "Start");
  if (start == nullptr) return kPartitionTableInvalid;
  const char* line_end = strchr(start, '\n');
  if (line_end == nullptr) return kPartitionTableEmpty;
  for (const char* c = line_end; *c; ++c) {
    if (isdigit((unsigned char)*c)) return kPartitionTableHasPartitions;
  }
  return kPartitionTableEmpty;
}

bool storage_printout_is_msdos(const char* printout) {
  if (strstr(printout, "Partition Table: msdos") != nullptr) return true;
  return strstr(printout, "Partition Table: gpt") != nullptr &&
         strstr(printout, "The backup GPT table is corrupt, but the primary appears OK") != nullptr;
}

long long storage_df_size_to_bytes(const char* text) {
  size_t length = strlen(text);
  char unit = length > 0 ? text[length - 1] : '\0';
  if (unit == 'G' || unit == 'M') {
    double bytes = atof(text) * (unit == 'G' ? 1073741824.0 : 1048576.0);
    // Beyond the range of a byte count (or not a number) the size is unknown.
    if (!(std::fabs(bytes) < 9.2e18)) return -1;
    return (long long)bytes;
  }
  long long bytes;
  if (__builtin_mul_overflow(leading_integer(text), 1024LL, &bytes)) return -1;
  return bytes;
}

void storage_read_df_output(const char* text, long long* total, long long* used, long long* available) {
  *total = *used = *available = -1;
  const char* second = strchr(text, '\n');
  if (second == nullptr || *++second == '\0') return;
  // The entry and, when df wrapped it, its continuation (a third line joins harmlessly).
  std::string entry = second;
  size_t second_end = entry.find('\n');
  if (second_end != std::string::npos) {
    size_t third_end = entry.find('\n', second_end + 1);
    if (third_end != std::string::npos) entry.erase(third_end);
    entry.erase(second_end, 1);
  }
  std::string fields[4];
  size_t position = 0;
  for (std::string& field : fields) {
    position = entry.find_first_not_of(" \t\r\n\v\f", position);
    if (position == std::string::npos) return;
    size_t end = entry.find_first_of(" \t\r\n\v\f", position);
    field = entry.substr(position, end - position);
    position = end;
  }
  *total = storage_df_size_to_bytes(fields[1].c_str());
  *used = storage_df_size_to_bytes(fields[2].c_str());
  *available = storage_df_size_to_bytes(fields[3].c_str());
}

}  // namespace vona

int storage_is_gpt_needed(const char* device) {
  if (device == nullptr || strlen(device) != kDiskPathLength) return 0;
  std::string size_path = vona::fixed_path(std::string("/sys/block/") + (device + kDevPrefixLength) + "/size");
  char* size_text = FS_read_string(size_path.c_str(), kGptSizeReadBytes);
  if (size_text == nullptr) return 0;
  long long sectors = leading_integer(size_text);
  free(size_text);
  // sectors * 512 > threshold, without overflowing for absurd sector counts.
  return sectors > kGptThresholdBytes / kSectorBytes;
}

int storage_has_msdos_partition_table(const char* device) {
  std::string printout = vona::storage_print_partition_table(device);
  return vona::storage_printout_is_msdos(printout.c_str());
}

int storage_do_create_gpt_partitions(const char* device, storage_make_partitions_func make_partitions) {
  if (has_apostrophe(device)) return 0;
  std::string command = vona::fixed_path(kPartedPath) + " '" + device + "' --script -- mktable gpt";
  log_print("[parted] running '%s'", command.c_str());
  safe_system_ext(command.c_str(), 1);
  settle();

  int state = partition_table_state_of(device);
  if (state == vona::kPartitionTableInvalid) {
    log_print("[parted] print cmd: invalid output");
    return 0;
  }
  if (state != vona::kPartitionTableEmpty) {
    log_print("[parted] print cmd: unexpectedly non-empty partition table after mktable");
    return 0;
  }

  make_partitions(device);
  settle();
  state = partition_table_state_of(device);
  if (state == vona::kPartitionTableInvalid) {
    log_print("[parted] print cmd: invalid output");
    return 0;
  }
  if (state == vona::kPartitionTableEmpty) {
    log_print("[parted] print cmd: unexpectedly empty partition table after mkpart");
    return 0;
  }
  return 1;
}

int storage_do_fdisk(const char* device, const char* script) {
  if (has_apostrophe(device)) return 0;
  char command[kFdiskCommandBytes];
  snprintf(command, sizeof command, "fdisk -u '%s'", device);
  log_print("Executing command '%s' < '%s'...", command, script);

  set_cloexec_flag_for_all_fds();
  FILE* pipe = popen(command, "w");
  if (pipe == nullptr) {
    log_print("popen(%s, w) failed: %s", command, strerror(errno));
    return 0;
  }
  SigpipeBlock sigpipe_block;  // only now: fdisk must not inherit the blocked signal
  bool written = write_script(pipe, script);
  if (!written) log_print("fprintf to '%s' failed: %s", command, strerror(errno));
  int status = pclose(pipe);
  int exit_status = -1;
  if (status == -1) {
    log_print("pclose('%s') failed: %s", command, strerror(errno));
  } else {
    // A program ended by a signal reports the shell's code for it (128 + the signal).
    exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    log_print("pclose('%s') exit status: %d", command, exit_status);
  }
  return written && exit_status == 0;
}

long long storage_get_dir_size(const char* path) {
  std::string output;
  if (!read_command_output("du -s '" + escape_for_apostrophes(path) + "'", &output)) return -1;
  if (output.empty()) return -1;
  output = output.substr(0, output.find('\n'));  // the first line
  // Kilobytes times 1024 in 32-bit arithmetic, wrapping as the firmware always has.
  uint32_t bytes = (uint32_t)leading_integer(output.c_str()) * 1024u;
  return (long long)(int32_t)bytes;
}

void storage_get_mounted_drive_info(const char* path, long long* total, long long* used, long long* available) {
  *total = *used = *available = -1;
  std::string output;
  if (!read_command_output("df '" + escape_for_apostrophes(path) + "'", &output)) return;
  vona::storage_read_df_output(output.c_str(), total, used, available);
}

long long storage_get_mounted_drive_size(const char* path) {
  long long total, used, available;
  storage_get_mounted_drive_info(path, &total, &used, &available);
  return total;
}

long long storage_get_mounted_drive_free_bytes(const char* path) {
  long long total, used, available;
  storage_get_mounted_drive_info(path, &total, &used, &available);
  return available;
}

long long storage_get_drive_size(const char* sysfs_dir) {
  std::string size_path = std::string(sysfs_dir) + "/size";
  char line[kDriveSizeLineBytes] = "";
  if (!FS_read_one_line(size_path.c_str(), line, sizeof line)) return -1;
  long long bytes;
  if (__builtin_mul_overflow(leading_integer(line), kSectorBytes, &bytes)) return -1;
  return bytes;
}

int storage_stop_usages_and_umount(const char* mount_point, const char* const* extra_args) {
  log_print("Trying to unmount '%s'...", mount_point);
  if (unmount_logged(mount_point)) return 1;
  log_perror("Failed to unmount");
  if (has_apostrophe(mount_point)) return 0;

  log_print("Trying to stop all usages of mount point...");
  std::string command = vona::fixed_path(kStopScriptPath) + " '" + mount_point + "'";
  for (const char* const* arg = extra_args; arg != nullptr && *arg != nullptr; ++arg) {
    command += ' ';
    command += *arg;
  }
  safe_system_ext(command.c_str(), 1);

  log_print("Retrying unmount...");
  if (unmount_logged(mount_point)) return 1;
  log_perror("Still failed to unmount");
  return 0;
}
