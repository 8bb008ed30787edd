#include "player/src/util/mt/storage_utils.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

#include <cerrno>
#include <climits>
#include <mutex>
#include <regex>
#include <thread>

#include "test_support.hpp"

namespace {

using namespace testing::internal;  // CaptureStdout, GetCapturedStdout and the same for stderr

// What a call printed: its standard output (program printouts) and its log.
struct Captured {
  std::string out, log;
};
template <typename F>
Captured capture(F&& f) {
  CaptureStdout();
  CaptureStderr();
  f();
  fflush(stdout);
  Captured c;
  c.out = GetCapturedStdout();
  c.log = GetCapturedStderr();
  return c;
}

// The messages of the log lines in `log`, of one thread (the log's "[tN]") or of all (0).
std::vector<std::string> messages(const std::string& log, unsigned long thread = 0) {
  static const std::regex line_re(R"(^\[\d+\] \[t(\d+)\] \[[^\]]*\] (.*)$)");
  std::vector<std::string> result;
  std::istringstream in(log);
  std::smatch m;
  for (std::string line; std::getline(in, line);) {
    if (!std::regex_match(line, m, line_re) || m[2].str().empty()) continue;
    if (thread == 0 || std::stoul(m[1].str()) == thread) result.push_back(m[2].str());
  }
  return result;
}

std::string find_program(const char* name) {
  for (const char* dir : {"/usr/sbin/", "/sbin/", "/usr/bin/", "/bin/"}) {
    std::string path = std::string(dir) + name;
    if (access(path.c_str(), X_OK) == 0) return path;
  }
  ADD_FAILURE() << name << " is not installed (it is in the Makefile's PACKAGES)";
  return name;
}

void write_script(const std::string& path, const std::string& body) {
  test::write_file(path, "#!/bin/sh\n" + body);
  chmod(path.c_str(), 0755);
}

// Runs a shell command line; true when it exits with 0.
bool shell(const std::string& command) { return system(command.c_str()) == 0; }

void zero_sector(const std::string& image, off_t sector) {
  int fd = open(image.c_str(), O_WRONLY);
  char zeros[512] = {0};
  EXPECT_EQ(512, pwrite(fd, zeros, sizeof zeros, sector * 512));
  close(fd);
}

const std::string& parted() {
  static const std::string path = find_program("parted");
  return path;
}

// The partitions of the GPT test: one 4 MiB partition, nothing, or one that is then destroyed
// with the primary table header. Each records the device it was given.
std::mutex calls_mutex;
std::vector<std::string> make_partitions_calls;
void record_call(const char* device) {
  std::lock_guard<std::mutex> lock(calls_mutex);
  make_partitions_calls.push_back(device);
}
void make_one_partition(const char* device) {
  record_call(device);
  shell(parted() + " '" + device + "' --script -- mkpart primary ext4 1MiB 5MiB");
}
void make_nothing(const char* device) { record_call(device); }
void make_one_and_damage_it(const char* device) {
  make_one_partition(device);
  zero_sector(device, 1);
}

// A sandbox whose PATH starts with a folder of stand-ins (udevadm, which parted calls, does
// nothing) and then the system folders where parted and fdisk live.
class Disk : public test::SandboxTest {
 protected:
  void SetUp() override {
    const char* path = getenv("PATH");
    saved_path_ = path ? path : "";
    stand_ins_ = sandbox.path("/stand-ins");
    test::make_dirs(stand_ins_);
    write_script(stand_ins_ + "/udevadm", "exit 0\n");
    setenv("PATH", (stand_ins_ + ":/usr/sbin:/sbin:" + saved_path_).c_str(), 1);
  }
  void TearDown() override { setenv("PATH", saved_path_.c_str(), 1); }

  void link_parted() {
    test::make_dirs(sandbox.path("/firmware_ext/parted"));
    ASSERT_EQ(0, symlink(parted().c_str(), sandbox.path("/firmware_ext/parted/parted").c_str()));
  }
  std::string image(const std::string& name, off_t size) {
    std::string path = sandbox.path("/" + name);
    test::write_file(path, "");
    EXPECT_EQ(0, truncate(path.c_str(), size));
    return path;
  }
  std::string gpt_image(const std::string& name, bool with_partition) {
    std::string path = image(name, 20 << 20);
    EXPECT_TRUE(shell(parted() + " '" + path + "' --script -- mktable gpt"));
    if (with_partition) make_one_partition(path.c_str());
    return path;
  }

  std::string saved_path_;
  std::string stand_ins_;
};

TEST_F(Disk, GptDecisionAndDriveSizeReadTheBlockDeviceSizeFiles) {
  struct Case {
    const char* device;
    const char* size_text;  // of /sys/block/<device + 5>/size; null: no file
    int gpt_needed;
    long long drive_size;
  } cases[] = {
      {"/dev/sda", "4101562500\n", 0, 2100000000000LL},  // exactly 2,100,000,000,000 bytes
      {"/dev/sdb", "4101562501\n", 1, 2100000000512LL},
      {"/dev/sdc", "8\n", 0, 4096},
      {"/dev/sdd", "", 0, 0},
      {"/dev/sde", nullptr, 0, -1},
      {"/dev/sdf", "  9999999999 sectors", 1, 5119999999488LL},
      {"/dev/sdg", "99999999999999999999\n", 1, -1},  // no byte count holds it
      {"/dev/sdh1", "9999999999\n", 0, 5119999999488LL},  // a partition, not a disk
      {"/dev/sd", "9999999999\n", 0, 5119999999488LL},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.device);
    std::string dir = sandbox.path(std::string("/sys/block/") + (c.device + 5));
    if (c.size_text) {
      test::make_dirs(dir);
      test::write_file(dir + "/size", c.size_text);
    }
    EXPECT_EQ(c.gpt_needed, storage_is_gpt_needed(c.device));
    EXPECT_EQ(c.drive_size, storage_get_drive_size(dir.c_str()));
  }
  EXPECT_EQ(0, storage_is_gpt_needed(nullptr));
}

TEST(DiskPrintouts, PartitionTableStateAndMsdosVerdict) {
  const std::string gpt = "Model:  (file)\nDisk /img: 21.0MB\nPartition Table: gpt\nDisk Flags: \n\n";
  const std::string header = "Number  Start   End     Size    File system  Name     Flags\n";
  struct Case {
    std::string printout;
    int state;
    bool msdos;
  } cases[] = {
      {gpt + header + " 1      1049kB  5243kB  4194kB               primary\n\n", 1, false},
      {gpt + header + "\n", 0, false},
      {gpt + header, 0, false},
      {gpt + "Number  Start", 0, false},
      {gpt + "Number  Start  9\n\n", 0, false},
      {gpt + header + "Warning: none:\n", 0, false},
      {gpt + header + "Warning: none:\n7", 1, false},
      {gpt + "Number  End\n 1 2 3\n", -1, false},
      {gpt + "Start  Number\n 1 2 3\n", -1, false},
      {"Number  Start\n 1 2\nPartition Table: gpt\n", -1, false},
      {"Partition Table: gp\n" + header + " 1\n", -1, false},
      {"Model:  (file)\nPartition Table: msdos\nDisk Flags: \n\n" + header + " 1  1049kB\n", -1, true},
      {"Partition Table: unknown\n", -1, false},
      {"Partition Table: loop\n" + header + " 1\n", -1, false},
      {"Error: The backup GPT table is corrupt, but the primary appears OK, so that will be used.\n" + gpt + header +
           " 1  1049kB\n",
       1, true},
      {"The backup GPT table is corrupt, but the primary appears OK\nPartition Table: loop\n", -1, false},
      {"", -1, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.printout);
    EXPECT_EQ(c.state, vona::storage_partition_table_state(c.printout.c_str()));
    EXPECT_EQ(c.msdos, vona::storage_printout_is_msdos(c.printout.c_str()));
  }
}

TEST(DiskPrintouts, DfSizesAndEntries) {
  struct Size {
    const char* text;
    long long bytes;
  } sizes[] = {
      {"1.5G", 1610612736LL}, {"512M", 536870912LL}, {"2048", 2097152LL}, {"0.1G", 107374182LL},
      {"0.7M", 734003LL},     {"-1.5G", -1610612736LL}, {"1.9", 1024},    {"12K", 12288},
      {"G", 0},               {"", 0},               {"9e9G", -1},     {"99999999999999999999", -1},
  };
  for (const Size& s : sizes) EXPECT_EQ(s.bytes, vona::storage_df_size_to_bytes(s.text)) << s.text;

  const std::string head = "Filesystem     1K-blocks     Used Available Use% Mounted on\n";
  struct Entry {
    std::string output;
    long long total, used, available;
  } entries[] = {
      {head + "/dev/sda1 1000 200 800 20% /\n", 1024000, 204800, 819200},
      {head + "/dev/sda1\t1000\t 200 \t800", 1024000, 204800, 819200},
      {head + "/dev/mapper/a-very-long-volume-name\n      1000 200 800 20% /mnt\n", 1024000, 204800, 819200},
      {head + "   tmpfs 1.5G 512M 1.0G 33% /tmp\n", 1610612736LL, 536870912LL, 1073741824LL},
      {head + "/dev/sda1 1000 200 800 20% /\nnext 5 6 7 8\n", 1024000, 204800, 819200},
      {head + "/dev/sda1 1000 200\n", -1, -1, -1},
      {head + "/dev/sda1 1000\n200 800\n", -1, -1, -1},  // joined as it is: "1000200"
      {head + "/dev/sda1 1000\n200\n800 9\n", -1, -1, -1},
      {head, -1, -1, -1},
      {"Filesystem 1K-blocks Used Available", -1, -1, -1},
      {"", -1, -1, -1},
  };
  for (const Entry& e : entries) {
    SCOPED_TRACE(e.output);
    long long total = 0, used = 0, available = 0;
    vona::storage_read_df_output(e.output.c_str(), &total, &used, &available);
    EXPECT_EQ(e.total, total);
    EXPECT_EQ(e.used, used);
    EXPECT_EQ(e.available, available);
  }
}

// The GPT cases run side by side, each in a thread of its own, so that their one-second waits
// overlap; each thread's log lines are told apart by its thread id.
TEST_F(Disk, CreateGptPartitionsWithRealParted) {
  link_parted();
  struct Case {
    std::string image;
    storage_make_partitions_func make_partitions;
    int result;
    std::vector<std::string> log_after_mktable;
  } cases[] = {
      {image("ok.img", 20 << 20), make_one_partition, 1, {"[parted] running print...", "[parted] running print..."}},
      {image("empty.img", 20 << 20),
       make_nothing,
       0,
       {"[parted] running print...", "[parted] running print...",
        "[parted] print cmd: unexpectedly empty partition table after mkpart"}},
      {image("damaged.img", 20 << 20),
       make_one_and_damage_it,
       0,
       {"[parted] running print...", "[parted] running print...", "[parted] print cmd: invalid output"}},
      {image("too-small.img", 4096),
       make_one_partition,
       0,
       {"[parted] running print...", "[parted] print cmd: invalid output"}},
  };
  make_partitions_calls.clear();
  const size_t count = sizeof cases / sizeof cases[0];
  unsigned long thread_ids[count];
  int results[count];
  Captured run = capture([&] {
    test::LogLock log_lock;
    std::vector<std::thread> threads;
    for (size_t i = 0; i < count; ++i) {
      threads.emplace_back([&, i] {
        thread_ids[i] = (unsigned long)pthread_self();
        results[i] = storage_do_create_gpt_partitions(cases[i].image.c_str(), cases[i].make_partitions);
      });
    }
    for (std::thread& t : threads) t.join();
  });
  for (size_t i = 0; i < count; ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(c.image);
    EXPECT_EQ(c.result, results[i]);
    std::vector<std::string> log = {"[parted] running '" + sandbox.path("/firmware_ext/parted/parted") + " '" +
                                    c.image + "' --script -- mktable gpt'"};
    log.insert(log.end(), c.log_after_mktable.begin(), c.log_after_mktable.end());
    EXPECT_EQ(log, messages(run.log, thread_ids[i]));
  }
  std::sort(make_partitions_calls.begin(), make_partitions_calls.end());
  EXPECT_EQ((std::vector<std::string>{cases[2].image, cases[1].image, cases[0].image}), make_partitions_calls);

  // Read back: the new table has the partition, and it is no MBR.
  std::string printout = vona::storage_print_partition_table(cases[0].image.c_str());
  EXPECT_EQ(1, vona::storage_partition_table_state(printout.c_str())) << printout;
  EXPECT_NE(std::string::npos, printout.find("primary")) << printout;
  EXPECT_EQ(0, storage_has_msdos_partition_table(cases[0].image.c_str()));

  // A device path with an apostrophe never reaches a shell.
  std::string quoted = image("it's.img", 20 << 20);
  run = capture([&] { EXPECT_EQ(0, storage_do_create_gpt_partitions(quoted.c_str(), make_one_partition)); });
  EXPECT_EQ(std::vector<std::string>{}, messages(run.log));
  EXPECT_EQ(3u, make_partitions_calls.size());
}

// A partitioning program that prints a table with a partition whatever it is asked: the print
// command's arguments, and a table that is not empty right after it was created.
TEST_F(Disk, CreateGptRefusesATableThatIsNotEmptyAfterMktable) {
  test::make_dirs(sandbox.path("/firmware_ext/parted"));
  write_script(sandbox.path("/firmware_ext/parted/parted"),
               "for a in \"$@\"; do printf '<%s>' \"$a\"; done >> \"$VONAUTIL_ROOT/calls\"; echo >> "
               "\"$VONAUTIL_ROOT/calls\"\n"
               "printf 'Partition Table: gpt\\nNumber  Start  End\\n 1  17.4kB  4194kB\\n'\n");
  make_partitions_calls.clear();
  Captured run = capture([] { EXPECT_EQ(0, storage_do_create_gpt_partitions("/dev/sdz", make_one_partition)); });
  EXPECT_EQ((std::vector<std::string>{"[parted] running '" + sandbox.path("/firmware_ext/parted/parted") +
                                          " '/dev/sdz' --script -- mktable gpt'",
                                      "[parted] running print...",
                                      "[parted] print cmd: unexpectedly non-empty partition table after mktable"}),
            messages(run.log));
  EXPECT_EQ("</dev/sdz><--script><--><mktable><gpt>\n</dev/sdz><--script><--><print>\n",
            test::read_file(sandbox.path("/calls")));
  EXPECT_TRUE(make_partitions_calls.empty());
  EXPECT_NE(std::string::npos, run.out.find(" 1  17.4kB  4194kB")) << "the printout is echoed";
}

TEST_F(Disk, MsdosTablesThroughFdiskAndTheMsdosVerdict) {
  link_parted();
  std::string msdos = image("msdos.img", 20 << 20);
  const char* script = "o\nn\np\n1\n\n+4M\nw\n";
  std::string command = "fdisk -u '" + msdos + "'";
  Captured run = capture([&] { EXPECT_EQ(1, storage_do_fdisk(msdos.c_str(), script)); });
  // The script's lines are part of the first log line.
  EXPECT_NE(std::string::npos, run.log.find("] Executing command '" + command + "' < '" + script + "'...\n")) << run.log;
  EXPECT_EQ((std::vector<std::string>{"Executing command '" + command + "' < 'o", "pclose('" + command + "') exit status: 0"}),
            messages(run.log));

  std::string backup_corrupt = gpt_image("backup-corrupt.img", true);
  zero_sector(backup_corrupt, (20 << 20) / 512 - 1);
  struct Case {
    std::string device;
    int msdos;
  } cases[] = {
      {msdos, 1},
      {backup_corrupt, 1},  // treated as a disk to repartition
      {gpt_image("gpt.img", true), 0},
      {image("blank.img", 20 << 20), 0},
      {sandbox.path("/missing.img"), 0},
  };
  for (const Case& c : cases) {
    run = capture([&] { EXPECT_EQ(c.msdos, storage_has_msdos_partition_table(c.device.c_str())) << c.device; });
    EXPECT_EQ(std::vector<std::string>{"[parted] running print..."}, messages(run.log));
  }

  // fdisk fails on a missing device, before reading its input: the writes of a long script
  // fail with EPIPE (and no SIGPIPE ends the caller).
  std::string missing = sandbox.path("/missing.img");
  command = "fdisk -u '" + missing + "'";
  std::string long_script(300000, '\n');
  run = capture([&] { EXPECT_EQ(0, storage_do_fdisk(missing.c_str(), long_script.c_str())); });
  std::vector<std::string> log = messages(run.log);
  ASSERT_EQ(3u, log.size()) << run.log;
  EXPECT_EQ("fprintf to '" + command + "' failed: " + strerror(EPIPE), log[1]);
  EXPECT_EQ("pclose('" + command + "') exit status: 1", log[2]);
  run = capture([&] { EXPECT_EQ(0, storage_do_fdisk(missing.c_str(), "q\n")); });
  EXPECT_EQ("pclose('" + command + "') exit status: 1", messages(run.log).back());

  run = capture([&] { EXPECT_EQ(0, storage_do_fdisk(sandbox.path("/it's.img").c_str(), script)); });
  EXPECT_EQ(std::vector<std::string>{}, messages(run.log));
}

// du counts the blocks of every entry once, directories included, in whole KiB rounded up.
long long du_reference(const std::string& dir) {
  static long long blocks;
  blocks = 0;
  nftw(dir.c_str(), [](const char*, const struct stat* st, int, struct FTW*) {
    blocks += st->st_blocks;
    return 0;
  }, 16, FTW_PHYS);
  return (blocks * 512 + 1023) / 1024 * 1024;
}

TEST_F(Disk, DuAndDfOnSandboxTrees) {
  std::string tree = sandbox.path("/it's a tree");
  test::make_dirs(tree + "/sub dir");
  test::write_file(tree + "/big", std::string(100000, 'x'));
  test::write_file(tree + "/sub dir/small", std::string(5000, 'y'));
  long long expected = du_reference(tree);
  EXPECT_GE(expected, 100000);
  EXPECT_EQ(expected, storage_get_dir_size(tree.c_str()));
  EXPECT_EQ(-1, storage_get_dir_size(sandbox.path("/missing").c_str()));

  struct statvfs fs;
  ASSERT_EQ(0, statvfs(tree.c_str(), &fs));
  long long total_bytes = (long long)fs.f_blocks * (long long)fs.f_frsize;
  long long total = 0, used = 0, available = 0;
  storage_get_mounted_drive_info(tree.c_str(), &total, &used, &available);
  EXPECT_EQ(total_bytes, total);
  // Others write to the same file system meanwhile: used and available are near statvfs's.
  long long slack = total_bytes / 100;
  EXPECT_NEAR((double)(fs.f_blocks - fs.f_bfree) * fs.f_frsize, (double)used, (double)slack);
  EXPECT_NEAR((double)fs.f_bavail * fs.f_frsize, (double)available, (double)slack);
  EXPECT_EQ(total_bytes, storage_get_mounted_drive_size(tree.c_str()));
  EXPECT_NEAR((double)fs.f_bavail * fs.f_frsize, (double)storage_get_mounted_drive_free_bytes(tree.c_str()),
              (double)slack);

  storage_get_mounted_drive_info(sandbox.path("/missing").c_str(), &total, &used, &available);
  EXPECT_EQ(-1, total);
  EXPECT_EQ(-1, used);
  EXPECT_EQ(-1, available);
  EXPECT_EQ(-1, storage_get_mounted_drive_size(sandbox.path("/missing").c_str()));
  EXPECT_EQ(-1, storage_get_mounted_drive_free_bytes(sandbox.path("/missing").c_str()));
}

// A du that reports what a tree of 2 GiB and more would: the kept 32-bit arithmetic.
TEST_F(Disk, DirSizeKeepsThe32BitArithmetic) {
  write_script(stand_ins_ + "/du",
               "for a in \"$@\"; do printf '<%s>' \"$a\"; done > \"$VONAUTIL_ROOT/du_args\"\n"
               "cat \"$VONAUTIL_ROOT/du_output\"\n");
  struct Case {
    const char* output;
    long long size;
  } cases[] = {
      {"2097151\t/x\n", 2147482624LL},  {"2097152\t/x\n", -2147483648LL}, {"4194304\t/x\n", 0},
      {"4194305\t/x\n", 1024},          {"3145728\t/x\n", -1073741824LL}, {"12 extra\n7\n", 12288},
      {"abc\n", 0},                     {"", -1},
  };
  for (const Case& c : cases) {
    test::write_file(sandbox.path("/du_output"), c.output);
    EXPECT_EQ(c.size, storage_get_dir_size("/x")) << c.output;
  }
  storage_get_dir_size("/it's 'here'");
  EXPECT_EQ("<-s></it's 'here'>", test::read_file(sandbox.path("/du_args")));
}

// Undoes a test's mount, whatever happened.
struct MountGuard {
  std::string path;
  ~MountGuard() {
    if (!path.empty()) umount2(path.c_str(), MNT_DETACH);
  }
};

class Unmount : public Disk {
 protected:
  void SetUp() override {
    Disk::SetUp();
    test::make_dirs(sandbox.path("/firmware/scripts"));
    // Records its arguments; stops the process named in holder.pid and waits until it has let
    // go of its working folder.
    write_script(sandbox.path("/firmware/scripts/stop_mount_usages.sh"),
                 "for a in \"$@\"; do printf '<%s>' \"$a\"; done >> \"$VONAUTIL_ROOT/stop_args\"\n"
                 "if [ -f \"$VONAUTIL_ROOT/holder.pid\" ]; then\n"
                 "  pid=$(cat \"$VONAUTIL_ROOT/holder.pid\"); kill $pid\n"
                 "  while readlink /proc/$pid/cwd >/dev/null 2>&1; do sleep 0.01; done\n"
                 "fi\n");
    mount_point_ = sandbox.path("/mnt point");
    test::make_dirs(mount_point_);
  }
  // Mounts a tmpfs on the mount point; false when this process may not mount.
  bool mount_tmpfs() {
    if (mount("none", mount_point_.c_str(), "tmpfs", 0, nullptr) != 0) return false;
    guard_.path = mount_point_;
    return true;
  }
  std::string stop_args() { return test::read_file(sandbox.path("/stop_args")); }

  std::string mount_point_;
  MountGuard guard_;
};

TEST_F(Unmount, StopScriptGetsTheQuotedMountPointAndTheArgumentsAsTheyAre) {
  const char* f_x[] = {"-f", "x", nullptr};
  const char* with_empty[] = {"-f", "", "x", nullptr};
  const char* split[] = {"a b", "$VONAUTIL_ROOT", nullptr};
  struct Case {
    const char* const* extra;
    std::string args;
  } cases[] = {
      {f_x, "<" + mount_point_ + "><-f><x>"},
      {nullptr, "<" + mount_point_ + ">"},
      {with_empty, "<" + mount_point_ + "><-f><x>"},
      {split, "<" + mount_point_ + "><a><b><" + sandbox.root() + ">"},
  };
  for (const Case& c : cases) {
    unlink(sandbox.path("/stop_args").c_str());
    int error = 0;
    Captured run = capture([&] {
      EXPECT_EQ(0, storage_stop_usages_and_umount(mount_point_.c_str(), c.extra));
      error = umount(mount_point_.c_str()) == 0 ? 0 : errno;  // what a not-mounted folder gives
    });
    EXPECT_EQ(c.args, stop_args());
    std::string why = strerror(error);
    EXPECT_EQ((std::vector<std::string>{"Trying to unmount '" + mount_point_ + "'...", "Failed to unmount: " + why,
                                        "Trying to stop all usages of mount point...", "Retrying unmount...",
                                        "Still failed to unmount: " + why}),
              messages(run.log));
  }

  // A mount point with an apostrophe gets no stop script and no second try.
  std::string quoted = sandbox.path("/it's");
  test::make_dirs(quoted);
  unlink(sandbox.path("/stop_args").c_str());
  Captured run = capture([&] { EXPECT_EQ(0, storage_stop_usages_and_umount(quoted.c_str(), f_x)); });
  std::vector<std::string> log = messages(run.log);
  ASSERT_EQ(2u, log.size());
  EXPECT_EQ("Trying to unmount '" + quoted + "'...", log[0]);
  EXPECT_EQ(0u, log[1].find("Failed to unmount: "));
  EXPECT_FALSE(FS_file_exists(sandbox.path("/stop_args").c_str()));
}

TEST_F(Unmount, RealMountsFreeAndBusy) {
  if (!mount_tmpfs()) GTEST_SKIP() << "this process may not mount: " << strerror(errno);
  Captured run = capture([&] { EXPECT_EQ(1, storage_stop_usages_and_umount(mount_point_.c_str(), nullptr)); });
  EXPECT_EQ((std::vector<std::string>{"Trying to unmount '" + mount_point_ + "'...", "Unmounted OK"}),
            messages(run.log));
  EXPECT_FALSE(FS_file_exists(sandbox.path("/stop_args").c_str()));

  // Busy: a process works inside; the stop script ends it and the second try succeeds.
  ASSERT_TRUE(mount_tmpfs());
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  pid_t holder = fork();
  if (holder == 0) {
    if (chdir(mount_point_.c_str()) == 0 && write(ready[1], "x", 1) == 1) pause();
    _exit(1);
  }
  char byte;
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  close(ready[0]);
  close(ready[1]);
  test::write_file(sandbox.path("/holder.pid"), std::to_string(holder));
  const char* extra[] = {"-f", nullptr};
  run = capture([&] { EXPECT_EQ(1, storage_stop_usages_and_umount(mount_point_.c_str(), extra)); });
  int status;
  waitpid(holder, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_EQ("<" + mount_point_ + "><-f>", stop_args());
  EXPECT_EQ((std::vector<std::string>{"Trying to unmount '" + mount_point_ + "'...",
                                      std::string("Failed to unmount: ") + strerror(EBUSY),
                                      "Trying to stop all usages of mount point...", "Retrying unmount...",
                                      "Unmounted OK"}),
            messages(run.log));
}

TEST_F(Disk, Tool) {
  std::string out;
  EXPECT_EQ(0, test::run_tool("disk --help", &out));
  EXPECT_NE(std::string::npos, out.find("vonautil disk print DEVICE"));
  for (const char* bad : {"disk", "disk print", "disk size a b", "disk gpt-needed", "disk format /dev/sda"}) {
    EXPECT_EQ(2, test::run_tool(bad, &out, true)) << bad;
    EXPECT_NE(std::string::npos, out.find("vonautil disk: ")) << bad << ": " << out;
  }

  std::string gpt = gpt_image("gpt.img", true);
  EXPECT_EQ(1, test::run_tool("disk print '" + gpt + "'", &out, true));
  EXPECT_NE(std::string::npos, out.find("vonautil disk: cannot run the partitioning program '" +
                                        sandbox.path("/firmware_ext/parted/parted") + "'"))
      << out;
  link_parted();
  EXPECT_EQ(0, test::run_tool("disk print '" + gpt + "'", &out));
  EXPECT_NE(std::string::npos, out.find("Partition Table: gpt\n")) << "parted's printout: " << out;
  EXPECT_NE(std::string::npos, out.find("\npartition table: 1 GPT table with partitions\nmsdos (to repartition): no\n"))
      << out;
  EXPECT_EQ(0, test::run_tool("disk print '" + gpt_image("empty.img", false) + "'", &out));
  EXPECT_NE(std::string::npos, out.find("\npartition table: 0 empty GPT table\n")) << out;
  EXPECT_EQ(1, test::run_tool("disk print '" + image("blank.img", 1 << 20) + "'", &out));
  EXPECT_NE(std::string::npos, out.find("\npartition table: -1 invalid output (no GPT table)\nmsdos (to repartition): no\n"))
      << out;

  std::string tree = sandbox.path("/tree");
  test::make_dirs(tree);
  test::write_file(tree + "/file", std::string(50000, 'z'));
  EXPECT_EQ(0, test::run_tool("disk size '" + tree + "'", &out));
  long long total = storage_get_mounted_drive_size(tree.c_str());
  EXPECT_EQ(0u, out.find("total: " + std::to_string(total) + "\nused: ")) << out;
  EXPECT_NE(std::string::npos, out.find("\navailable: ")) << out;
  EXPECT_NE(std::string::npos, out.find("\ndirectory size: " + std::to_string(du_reference(tree)) + "\n")) << out;
  EXPECT_EQ(1, test::run_tool("disk size '" + sandbox.path("/missing") + "'", &out, true));
  EXPECT_EQ("vonautil disk: cannot use '" + sandbox.path("/missing") + "': " + strerror(ENOENT) + "\n", out);

  test::make_dirs(sandbox.path("/sys/block/sdb"));
  test::write_file(sandbox.path("/sys/block/sdb/size"), "4101562501\n");
  EXPECT_EQ(0, test::run_tool("disk gpt-needed /dev/sdb", &out));
  EXPECT_EQ("size: 2100000000512\ngpt needed: yes\n", out);
  EXPECT_EQ(0, test::run_tool("disk gpt-needed /dev/sdb1", &out));
  EXPECT_EQ("gpt needed: no\n", out);
}

}  // namespace
