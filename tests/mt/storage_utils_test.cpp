#include "player/src/util/mt/storage_utils.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

#include <cerrno>
#include <mutex>
#include <thread>

#include "test_support.hpp"

namespace {

// Debian's partitioning program (the Makefile installs it).
const std::string kParted = "/usr/sbin/parted";

// The messages of the log lines in `log`, of one thread (the log's "[tN]") or of all (0).
std::vector<std::string> messages(const std::string& log, unsigned long thread = 0) {
  std::vector<std::string> result;
  std::istringstream in(log);
  for (std::string line; std::getline(in, line);) {
    unsigned long id = 0;
    int start = 0;
    sscanf(line.c_str(), "[%*d] [t%lu] [%*[^]]] %n", &id, &start);
    if (start > 0 && (size_t)start < line.size() && (thread == 0 || id == thread)) result.push_back(line.substr(start));
  }
  return result;
}
using Lines = std::vector<std::string>;

void write_script(const std::string& path, const std::string& body) {
  test::write_file(path, "#!/bin/sh\n" + body);
  chmod(path.c_str(), 0755);
}
// A script line that appends its arguments, each in <>, to the sandbox file NAME.
std::string record_args(const std::string& name) {
  return "for a in \"$@\"; do printf '<%s>' \"$a\"; done >> \"$VONAUTIL_ROOT/" + name + "\"\n";
}

void zero_sector(const std::string& image, off_t sector) {
  int fd = open(image.c_str(), O_WRONLY);
  char zeros[512] = {0};
  EXPECT_EQ(512, pwrite(fd, zeros, sizeof zeros, sector * 512));
  close(fd);
}

// make_partitions callbacks: one 4 MiB partition; nothing; one partition whose primary table
// header is then destroyed. Each records the device it was given.
std::mutex calls_mutex;
Lines make_partitions_calls;
void make_nothing(const char* device) {
  std::lock_guard<std::mutex> lock(calls_mutex);
  make_partitions_calls.push_back(device);
}
void make_one_partition(const char* device) {
  make_nothing(device);
  system((kParted + " '" + device + "' --script -- mkpart primary ext4 1MiB 5MiB").c_str());
}
void make_one_and_damage_it(const char* device) {
  make_one_partition(device);
  zero_sector(device, 1);
}

// A sandbox whose PATH starts with a folder of stand-ins (udevadm, which parted calls, does
// nothing) and then the system folders where parted and fdisk live.
class Disk : public test::SandboxTest {
 protected:
  void SetUp() override {
    test::make_dirs(sandbox.path("/stand-ins"));
    write_script(sandbox.path("/stand-ins/udevadm"), "exit 0\n");
    setenv("PATH", (sandbox.path("/stand-ins") + ":/usr/sbin:/sbin:" + saved_path_).c_str(), 1);
  }
  void TearDown() override { setenv("PATH", saved_path_.c_str(), 1); }

  void link_parted() {
    test::make_dirs(sandbox.path("/firmware_ext/parted"));
    ASSERT_EQ(0, symlink(kParted.c_str(), sandbox.path("/firmware_ext/parted/parted").c_str()));
  }
  std::string image(const std::string& name, off_t size = 20 << 20) {
    std::string path = sandbox.path("/" + name);
    test::write_file(path, "");
    EXPECT_EQ(0, truncate(path.c_str(), size));
    return path;
  }
  std::string gpt_image(const std::string& name, bool with_partition) {
    std::string path = image(name);
    EXPECT_EQ(0, system((kParted + " '" + path + "' --script -- mktable gpt").c_str()));
    if (with_partition) make_one_partition(path.c_str());
    return path;
  }
  std::string mktable_line(const std::string& device) {
    std::string parted = sandbox.path("/firmware_ext/parted/parted");
    return "[parted] running '" + parted + " '" + device + "' --script -- mktable gpt'";
  }

  std::string saved_path_ = getenv("PATH") ? getenv("PATH") : "";
};

TEST_F(Disk, GptDecisionAndDriveSizeReadTheBlockDeviceSizeFiles) {
  struct Case {
    const char* device;
    const char* size_text;  // of /sys/block/<device + 5>/size; null: no file
    int gpt_needed;
    long long drive_size;
  } cases[] = {
      {"/dev/sda", "4101562500\n", 0, 2100000000000LL},  // exactly 2,100,000,000,000 bytes
      {"/dev/sdb", "4101562501\n", 1, 2100000000512LL},   {"/dev/sdc", "", 0, 0},
      {"/dev/sdd", nullptr, 0, -1},                       {"/dev/sde", "  9999999999 x", 1, 5119999999488LL},
      {"/dev/sdf", "99999999999999999999\n", 1, -1},      {"/dev/sdh1", "9999999999\n", 0, 5119999999488LL},
      {"/dev/sd", "9999999999\n", 0, 5119999999488LL},
  };
  for (const Case& c : cases) {
    std::string dir = sandbox.path(std::string("/sys/block/") + (c.device + 5));
    if (c.size_text) test::make_dirs(dir), test::write_file(dir + "/size", c.size_text);
    EXPECT_EQ(c.gpt_needed, storage_is_gpt_needed(c.device)) << c.device;
    EXPECT_EQ(c.drive_size, storage_get_drive_size(dir.c_str())) << c.device;
  }
}

TEST(DiskPrintouts, PartitionTableStateMsdosVerdictAndDfReader) {
  const std::string gpt = "Disk /img: 21.0MB\nPartition Table: gpt\nDisk Flags: \n\n";
  const std::string header = "Number  Start   End     Size    File system  Name     Flags\n";
  const std::string backup = 
      "Error: The backup GPT table is corrupt, but the primary appears OK, so that will be used.\n";
  struct Printout {
    std::string text;
    int state;
    bool msdos;
  } printouts[] = {
      {gpt + header + " 1      1049kB  5243kB  4194kB               primary\n\n", 1, false},
      {gpt + header + "\n", 0, false},
      {gpt + "Number  Start", 0, false},
      {gpt + "Number  Start  9\n\n", 0, false},
      {gpt + header + "Warning: none:\n", 0, false},
      {gpt + "Number  End\n 1 2 3\n", -1, false},
      {gpt + "Start  Number\n 1 2 3\n", -1, false},
      {"Number  Start\n 1 2\nPartition Table: gpt\n", -1, false},
      {"Partition Table: msdos\n\n" + header + " 1  1049kB\n", -1, true},
      {"Partition Table: loop\n" + header + " 1\n", -1, false},
      {backup + gpt + header + " 1  1049kB\n", 1, true},
      {backup + "Partition Table: loop\n", -1, false},
  };
  for (const Printout& p : printouts) {
    EXPECT_EQ(p.state, vona::storage_partition_table_state(p.text.c_str())) << p.text;
    EXPECT_EQ(p.msdos, vona::storage_printout_is_msdos(p.text.c_str())) << p.text;
  }

  struct Size {
    const char* text;
    long long bytes;
  } sizes[] = {
      {"1.5G", 1610612736LL}, {"512M", 536870912LL}, {"2048", 2097152LL}, {"0.1G", 107374182LL}, {"0.7M", 734003LL},
      {"-1.5G", -1610612736LL}, {"1.9", 1024}, {"12K", 12288}, {"", 0}, {"9e9G", -1}, {"99999999999999999999", -1},
  };
  for (const Size& s : sizes) EXPECT_EQ(s.bytes, vona::storage_df_size_to_bytes(s.text)) << s.text;

  const std::string head = "Filesystem     1K-blocks     Used Available Use% Mounted on\n";
  struct Df {
    std::string output;
    long long total, used, available;
  } dfs[] = {
      {head + "/dev/sda1\t1000\t 200 \t800", 1024000, 204800, 819200},
      {head + "/dev/mapper/long-volume-name\n      1000 200 800 20% /mnt\nnext 5 6 7\n", 1024000, 204800, 819200},
      {head + "   tmpfs 1.5G 512M 1.0G 33% /tmp\n", 1610612736LL, 536870912LL, 1073741824LL},
      {head + "/dev/sda1 1000 200\n", -1, -1, -1},
      {head + "/dev/sda1 1000\n200 800\n", -1, -1, -1},  // joined as it is: "1000200"
      {head, -1, -1, -1},
      {"Filesystem 1K-blocks Used Available", -1, -1, -1},
  };
  for (const Df& d : dfs) {
    long long total = 0, used = 0, available = 0;
    vona::storage_read_df_output(d.output.c_str(), &total, &used, &available);
    EXPECT_EQ((std::vector<long long>{d.total, d.used, d.available}), (std::vector<long long>{total, used, available}))
        << d.output;
  }
}

// The cases run side by side, each in a thread of its own, so that their one-second waits
// overlap; each thread's log lines are told apart by its thread id.
TEST_F(Disk, CreateGptPartitionsWithRealParted) {
  link_parted();
  const std::string print = "[parted] running print...";
  struct Case {
    std::string image;
    storage_make_partitions_func make_partitions;
    int result;
    Lines log_after_mktable;
  } cases[] = {
      {image("ok.img"), make_one_partition, 1, {print, print}},
      {image("empty.img"), make_nothing, 0,
       {print, print, "[parted] print cmd: unexpectedly empty partition table after mkpart"}},
      {image("damaged.img"), make_one_and_damage_it, 0, {print, print, "[parted] print cmd: invalid output"}},
      {image("too-small.img", 4096), make_one_partition, 0, {print, "[parted] print cmd: invalid output"}},
  };
  unsigned long thread_ids[4];
  int results[4];
  make_partitions_calls.clear();
  std::string log = test::captured_stderr([&] {
    test::LogLock log_lock;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&, i] {
        thread_ids[i] = (unsigned long)pthread_self();
        results[i] = storage_do_create_gpt_partitions(cases[i].image.c_str(), cases[i].make_partitions);
      });
    }
    for (std::thread& t : threads) t.join();
  });
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(cases[i].result, results[i]) << cases[i].image;
    Lines expected = {mktable_line(cases[i].image)};
    expected.insert(expected.end(), cases[i].log_after_mktable.begin(), cases[i].log_after_mktable.end());
    EXPECT_EQ(expected, messages(log, thread_ids[i]));
  }
  std::sort(make_partitions_calls.begin(), make_partitions_calls.end());
  EXPECT_EQ((Lines{cases[2].image, cases[1].image, cases[0].image}), make_partitions_calls);

  // Read back: the new table has the partition, and it is no MBR.
  std::string printout = vona::storage_print_partition_table(cases[0].image.c_str());
  EXPECT_EQ(1, vona::storage_partition_table_state(printout.c_str())) << printout;
  EXPECT_NE(std::string::npos, printout.find("primary")) << printout;
  EXPECT_EQ(0, storage_has_msdos_partition_table(cases[0].image.c_str()));

  // A device path with an apostrophe never reaches a shell.
  log = test::captured_stderr([&] { EXPECT_EQ(0, storage_do_create_gpt_partitions("/dev/it's", make_nothing)); });
  EXPECT_EQ(Lines{}, messages(log));
  EXPECT_EQ(3u, make_partitions_calls.size());
}

// A partitioning program that prints a table with a partition whatever it is asked.
TEST_F(Disk, CreateGptRefusesATableThatIsNotEmptyAfterMktable) {
  test::make_dirs(sandbox.path("/firmware_ext/parted"));
  write_script(sandbox.path("/firmware_ext/parted/parted"),
               record_args("calls") + "echo >> \"$VONAUTIL_ROOT/calls\"\n" +
                   "printf 'Partition Table: gpt\\nNumber  Start\\n 1\\n'\n");
  std::string log =
      test::captured_stderr([] { EXPECT_EQ(0, storage_do_create_gpt_partitions("/dev/sdz", make_nothing)); });
  EXPECT_EQ((Lines{mktable_line("/dev/sdz"), "[parted] running print...",
                   "[parted] print cmd: unexpectedly non-empty partition table after mktable"}),
            messages(log));
  EXPECT_EQ("</dev/sdz><--script><--><mktable><gpt>\n</dev/sdz><--script><--><print>\n",
            test::read_file(sandbox.path("/calls")));
}

TEST_F(Disk, MsdosTablesThroughFdiskAndTheMsdosVerdict) {
  link_parted();
  std::string msdos = image("msdos.img"), missing = sandbox.path("/missing.img");
  const char* script = "o\nn\np\n1\n\n+4M\nw\n";
  std::string command = "fdisk -u '" + msdos + "'";
  std::string log = test::captured_stderr([&] { EXPECT_EQ(1, storage_do_fdisk(msdos.c_str(), script)); });
  EXPECT_NE(std::string::npos, log.find("] Executing command '" + command + "' < '" + script + "'...\n")) << log;
  EXPECT_EQ("pclose('" + command + "') exit status: 0", messages(log).back());

  std::string backup_corrupt = gpt_image("backup-corrupt.img", true);
  zero_sector(backup_corrupt, (20 << 20) / 512 - 1);
  struct Case {
    std::string device;
    int msdos;
  } cases[] = {{msdos, 1}, {backup_corrupt, 1}, {gpt_image("gpt.img", true), 0}, {image("blank.img"), 0}, {missing, 0}};
  for (const Case& c : cases) {
    log = test::captured_stderr([&] { EXPECT_EQ(c.msdos, storage_has_msdos_partition_table(c.device.c_str())); });
    EXPECT_EQ(Lines{"[parted] running print..."}, messages(log));
  }

  // An empty script is written fine (fdisk ends at the end of its input). fdisk fails on a
  // missing device before reading: the writes of a long script fail with EPIPE, and no SIGPIPE
  // ends the caller.
  EXPECT_EQ(1, storage_do_fdisk(image("untouched.img").c_str(), ""));
  command = "fdisk -u '" + missing + "'";
  std::string long_script(300000, '\n');
  log = test::captured_stderr([&] { EXPECT_EQ(0, storage_do_fdisk(missing.c_str(), long_script.c_str())); });
  Lines tail = messages(log);
  tail.erase(tail.begin());
  EXPECT_EQ((Lines{"fprintf to '" + command + "' failed: " + strerror(EPIPE),
                   "pclose('" + command + "') exit status: 1"}),
            tail);
  // fdisk -V exits with 0 without reading: the failed write alone makes the run fail.
  EXPECT_EQ(0, storage_do_fdisk("-V", long_script.c_str()));
  log = test::captured_stderr([&] { EXPECT_EQ(0, storage_do_fdisk("/dev/it's", script)); });
  EXPECT_EQ(Lines{}, messages(log));
}

TEST_F(Disk, DuAndDfOnSandboxTrees) {
  std::string tree = sandbox.path("/it's a tree");
  test::make_dirs(tree + "/sub dir");
  test::write_file(tree + "/big", std::string(100000, 'x'));
  test::write_file(tree + "/sub dir/small", std::string(5000, 'y'));
  // du counts the blocks of every entry, folders included, in whole KiB rounded up.
  static long long blocks = 0;
  nftw(tree.c_str(), [](const char*, const struct stat* st, int, struct FTW*) { return blocks += st->st_blocks, 0; },
       16, FTW_PHYS);
  EXPECT_EQ((blocks * 512 + 1023) / 1024 * 1024, storage_get_dir_size(tree.c_str()));

  struct statvfs fs;
  ASSERT_EQ(0, statvfs(tree.c_str(), &fs));
  long long total = 0, used = 0, available = 0, size = (long long)fs.f_blocks * fs.f_frsize;
  storage_get_mounted_drive_info(tree.c_str(), &total, &used, &available);
  EXPECT_EQ(size, total);
  // Others write to the same file system meanwhile: used and available are near statvfs's.
  EXPECT_NEAR((double)(fs.f_blocks - fs.f_bfree) * fs.f_frsize, (double)used, size / 100.0);
  EXPECT_NEAR((double)fs.f_bavail * fs.f_frsize, (double)available, size / 100.0);
  EXPECT_EQ(size, storage_get_mounted_drive_size(tree.c_str()));
  EXPECT_NEAR((double)available, (double)storage_get_mounted_drive_free_bytes(tree.c_str()), size / 100.0);

  std::string missing = sandbox.path("/missing");
  storage_get_mounted_drive_info(missing.c_str(), &total, &used, &available);
  EXPECT_EQ((std::vector<long long>{-1, -1, -1, -1, -1, -1}),
            (std::vector<long long>{total, used, available, storage_get_mounted_drive_size(missing.c_str()),
                                    storage_get_mounted_drive_free_bytes(missing.c_str()),
                                    storage_get_dir_size(missing.c_str())}));
}

// A du that reports what trees of 2 GiB and more would: the kept 32-bit arithmetic.
TEST_F(Disk, DirSizeKeepsThe32BitArithmetic) {
  write_script(sandbox.path("/stand-ins/du"), record_args("du_args") + "cat \"$VONAUTIL_ROOT/du_output\"\n");
  struct Case {
    const char* output;
    long long size;
  } cases[] = {{"2097151\t/x\n", 2147482624LL}, {"2097152\t/x\n", -2147483648LL}, {"4194305\t/x\n", 1024},
               {"3145728\t/x\n", -1073741824LL}, {"12 extra\n7\n", 12288},        {"\n7\n", 0}, {"", -1}};
  for (const Case& c : cases) {
    test::write_file(sandbox.path("/du_output"), c.output);
    EXPECT_EQ(c.size, storage_get_dir_size("/it's 'here'")) << c.output;
  }
  EXPECT_EQ("<-s></it's 'here'>", test::read_file(sandbox.path("/du_args")).substr(0, 18));
}

// Records the stop script's arguments; it stops the process named in holder.pid and waits until
// that has let go of its working folder.
class Unmount : public Disk {
 protected:
  void SetUp() override {
    Disk::SetUp();
    test::make_dirs(sandbox.path("/firmware/scripts"));
    write_script(sandbox.path("/firmware/scripts/stop_mount_usages.sh"),
                 record_args("stop_args") +
                     "if [ -f \"$VONAUTIL_ROOT/holder.pid\" ]; then\n"
                     "  pid=$(cat \"$VONAUTIL_ROOT/holder.pid\"); kill $pid\n"
                     "  while readlink /proc/$pid/cwd >/dev/null 2>&1; do sleep 0.01; done\nfi\n");
    test::make_dirs(mount_point_);
  }
  void TearDown() override {
    while (umount2(mount_point_.c_str(), MNT_DETACH) == 0) {  // whatever a test left mounted
    }
    Disk::TearDown();
  }
  std::string take_stop_args() {
    std::string args = test::read_file(sandbox.path("/stop_args"));
    unlink(sandbox.path("/stop_args").c_str());
    return args;
  }
  Lines log_of(const std::string& mount_point, const Lines& after_first_try) {
    Lines log = {"Trying to unmount '" + mount_point + "'..."};
    log.insert(log.end(), after_first_try.begin(), after_first_try.end());
    return log;
  }

  std::string mount_point_ = sandbox.path("/mnt point");
};

TEST_F(Unmount, StopScriptGetsTheQuotedMountPointAndTheArgumentsAsTheyAre) {
  const char* f_x[] = {"-f", "", "x", nullptr};
  const char* split[] = {"a b", "$VONAUTIL_ROOT", nullptr};
  struct Case {
    const char* const* extra;
    std::string args;
  } cases[] = {{f_x, "<-f><x>"}, {nullptr, ""}, {split, "<a><b><" + sandbox.root() + ">"}};
  for (const Case& c : cases) {
    std::string log =
        test::captured_stderr([&] { EXPECT_EQ(0, storage_stop_usages_and_umount(mount_point_.c_str(), c.extra)); });
    std::string why = umount(mount_point_.c_str()) == 0 ? "" : strerror(errno);  // a folder that is no mount point
    EXPECT_EQ("<" + mount_point_ + ">" + c.args, take_stop_args());
    EXPECT_EQ(log_of(mount_point_, {"Failed to unmount: " + why, "Trying to stop all usages of mount point...",
                                    "Retrying unmount...", "Still failed to unmount: " + why}),
              messages(log));
  }
  // A mount point with an apostrophe gets no stop script and no second try.
  std::string quoted = sandbox.path("/it's");
  test::make_dirs(quoted);
  std::string log = test::captured_stderr([&] { EXPECT_EQ(0, storage_stop_usages_and_umount(quoted.c_str(), f_x)); });
  EXPECT_EQ(2u, messages(log).size());
  EXPECT_EQ("", take_stop_args());
}

TEST_F(Unmount, RealMountsFreeAndBusy) {
  if (mount("none", mount_point_.c_str(), "tmpfs", 0, nullptr) != 0) GTEST_SKIP() << "no mount: " << strerror(errno);
  auto unmount = [&] { EXPECT_EQ(1, storage_stop_usages_and_umount(mount_point_.c_str(), nullptr)); };
  std::string log = test::captured_stderr(unmount);
  EXPECT_EQ(log_of(mount_point_, {"Unmounted OK"}), messages(log));
  EXPECT_EQ("", take_stop_args());

  // Busy: a process works inside; the stop script ends it and the second try succeeds.
  ASSERT_EQ(0, mount("none", mount_point_.c_str(), "tmpfs", 0, nullptr));
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  pid_t holder = fork();
  if (holder == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);  // never outlives a test that dies
    if (chdir(mount_point_.c_str()) == 0 && write(ready[1], "x", 1) == 1) pause();
    _exit(1);
  }
  char byte;
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  close(ready[0]), close(ready[1]);
  test::write_file(sandbox.path("/holder.pid"), std::to_string(holder));
  log = test::captured_stderr(unmount);
  int status;
  kill(holder, SIGKILL);  // no effect once the stop script has ended it
  waitpid(holder, &status, 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
  EXPECT_EQ(log_of(mount_point_, {std::string("Failed to unmount: ") + strerror(EBUSY),
                                  "Trying to stop all usages of mount point...", "Retrying unmount...",
                                  "Unmounted OK"}),
            messages(log));
}

TEST_F(Disk, Tool) {
  std::string out;
  EXPECT_EQ(0, test::run_tool("disk --help", &out));
  for (const char* bad : {"disk", "disk print", "disk size a b", "disk gpt-needed", "disk format /dev/sda"}) {
    EXPECT_EQ(2, test::run_tool(bad, &out, true)) << bad;
    EXPECT_EQ(0u, out.find("vonautil disk: ")) << bad << ": " << out;
  }
  std::string gpt = gpt_image("gpt.img", true);
  EXPECT_EQ(1, test::run_tool("disk print '" + gpt + "'", &out, true));
  EXPECT_EQ(0u, out.find("vonautil disk: cannot run the partitioning program '")) << out;
  link_parted();
  struct Case {
    std::string device, verdict;
    int status;
  } cases[] = {{gpt, "1 GPT table with partitions\nmsdos (to repartition): no", 0},
               {gpt_image("empty.img", false), "0 empty GPT table", 0},
               {image("blank.img"), "-1 invalid output (no GPT table)\nmsdos (to repartition): no", 1}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.status, test::run_tool("disk print '" + c.device + "'", &out)) << c.device;
    EXPECT_NE(std::string::npos, out.find("Partition Table: ")) << "parted's printout: " << out;
    EXPECT_NE(std::string::npos, out.find("\npartition table: " + c.verdict + "\n")) << out;
  }

  std::string tree = sandbox.path("/tree");
  test::make_dirs(tree);
  EXPECT_EQ(0, test::run_tool("disk size '" + tree + "'", &out));
  EXPECT_EQ(0u, out.find("total: " + std::to_string(storage_get_mounted_drive_size(tree.c_str())) + "\nused: ")) << out;
  std::string dir_size = std::to_string(storage_get_dir_size(tree.c_str()));
  EXPECT_NE(std::string::npos, out.find("\ndirectory size: " + dir_size + "\n")) << out;
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
