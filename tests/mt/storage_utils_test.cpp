// The disk utilities with the real programs: parted and fdisk on disk image files, du and df on
// sandbox trees, umount on tmpfs mounts; stand-in scripts where only rare answers show a fault.
#include "player/src/util/mt/storage_utils.hpp"

#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/statvfs.h>

#include "test_support.hpp"

namespace {

const std::string kParted = "/usr/sbin/parted";  // the system's, linked into the sandbox

void write_script(const std::string& path, const std::string& body) {
  test::write_file(path, "#!/bin/sh\n" + body);
  chmod(path.c_str(), 0755);
}

void parted(const std::string& image, const std::string& command) {
  EXPECT_EQ(0, system((kParted + " '" + image + "' --script -- " + command + " >/dev/null").c_str())) << command;
}

void zero_sector(const std::string& image, off_t sector) {
  int fd = open(image.c_str(), O_WRONLY);
  EXPECT_EQ(512, pwrite(fd, std::string(512, '\0').data(), 512, sector * 512));
  close(fd);
}

// make_partitions callbacks: nothing; one 4 MiB partition; one whose table header is then lost.
void make_nothing(const char*) {}
void make_one(const char* device) { parted(device, "mkpart primary ext4 1MiB 5MiB"); }
void make_one_and_damage_it(const char* device) {
  make_one(device);
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
    test::make_dirs(sandbox.path("/firmware_ext/parted"));
    symlink(kParted.c_str(), sandbox.path("/firmware_ext/parted/parted").c_str());
  }
  void TearDown() override { setenv("PATH", saved_path_.c_str(), 1); }
  // A disk image of 20 MiB (or `size`) without a partition table.
  std::string image(const std::string& name, off_t size = 20 << 20) {
    std::string path = sandbox.path("/" + name);
    test::write_file(path, "");
    EXPECT_EQ(0, truncate(path.c_str(), size));
    return path;
  }
  std::string saved_path_ = getenv("PATH");
};

TEST_F(Disk, GptDecisionDriveSizeAndTheEdgesOfPartedAndDfPrintouts) {
  struct Case {
    const char *device, *size_text;  // of /sys/block/<device + 5>/size; null: no file
    int gpt_needed;
    long long drive_size;
  } cases[] = {
      {"/dev/sda", "4101562500\n", 0, 2100000000000LL},  {"/dev/sdb", "4101562501\n", 1, 2100000000512LL},
      {"/dev/sdd", nullptr, 0, -1},                       {"/dev/sde", "  9999999999 x", 1, 5119999999488LL},
      {"/dev/sdf", "99999999999999999999\n", 1, -1},      {"/dev/sdh1", "9999999999\n", 0, 5119999999488LL},
  };
  for (const Case& c : cases) {
    std::string dir = sandbox.path(std::string("/sys/block/") + (c.device + 5));
    if (c.size_text) test::make_dirs(dir), test::write_file(dir + "/size", c.size_text);
    EXPECT_EQ(c.gpt_needed, storage_is_gpt_needed(c.device)) << c.device;
    EXPECT_EQ(c.drive_size, storage_get_drive_size(dir.c_str())) << c.device;
  }
  test::expect_tool({{"disk gpt-needed /dev/sdb", 0, "size: 2100000000512\ngpt needed: yes\n", true}});

  // Edges of a printout that parted's own (in the tests below) do not show: digits on the
  // header line, and the header before the table line.
  std::pair<std::string, int> printouts[] = {{"Partition Table: gpt\nNumber  Start  9\n\n", 0},
                                             {"Number  Start\n 1\nPartition Table: gpt\n", -1}};
  for (const auto& p : printouts) EXPECT_EQ(p.second, vona::storage_partition_table_state(p.first.c_str())) << p.first;

  // df's entry, wrapped after a long name or not (an empty next line joins nothing); sizes with
  // units, out of range, not numbers; no printout (df failed).
  const std::string head = "Filesystem     1K-blocks     Used Available Use% Mounted on\n";
  std::pair<std::string, std::vector<long long>> dfs[] = {
      {"", {-1, -1, -1}},
      {head + "/dev/mapper/long-volume-name\n      1000 200 800 20% /mnt\nnext 5 6 7\n", {1024000, 204800, 819200}},
      {head + "tmpfs 1.5G 512M 0.7M 33% /tmp\n", {1610612736LL, 536870912LL, 734003LL}},
      {head + "x 9e9G 99999999999999999999 abc\n", {-1, -1, 0}},
      {head + "/dev/sda1 1000\n200 800\n", {-1, -1, -1}},  // joined as it is: "1000200"
      {head + "/dev/sda1\n\n1000 200 800\n", {-1, -1, -1}},
  };
  for (const auto& df : dfs) {
    std::vector<long long> sizes(3);
    vona::storage_read_df_output(df.first.c_str(), &sizes[0], &sizes[1], &sizes[2]);
    EXPECT_EQ(df.second, sizes) << df.first;
  }
}

// The tables are read back with the tool, which also shows its exit statuses and printout.
TEST_F(Disk, CreateGptPartitionsWithRealPartedAndPrintThemWithTheTool) {
  const std::string print = "[parted] running print...\n";
  std::string mktable = "[parted] running '" + sandbox.path("/firmware_ext/parted/parted") + " '";
  struct Case {
    std::string image;
    storage_make_partitions_func make_partitions;
    int result;
    std::string log_after_mktable;
  } cases[] = {
      {image("ok.img"), make_one, 1, print + print},
      {image("empty.img"), make_nothing, 0,
       print + print + "[parted] print cmd: unexpectedly empty partition table after mkpart\n"},
      {image("damaged.img"), make_one_and_damage_it, 0, print + print + "[parted] print cmd: invalid output\n"},
      {image("too-small.img", 4096), make_one, 0,
       "Error: device is too small for GPT\n" + print + "[parted] print cmd: invalid output\n"},
  };
  for (const Case& c : cases) {
    std::string log = test::captured_stderr(
        [&] { EXPECT_EQ(c.result, storage_do_create_gpt_partitions(c.image.c_str(), c.make_partitions)) << c.image; });
    EXPECT_EQ(mktable + c.image + "' --script -- mktable gpt'\n" + c.log_after_mktable, test::log_messages(log));
  }

  // The new table has the partition, and it is no MBR until its backup copy (the image's last
  // sector) is lost; parted's printout then says so, which asks for a new table.
  const std::string& created = cases[0].image;
  test::expect_tool(
      {{"disk print a b", 2, "vonautil disk: "},
       {"disk print " + created, 0, "\npartition table: 1 GPT table with partitions\nmsdos (to repartition): no\n"},
       {"disk print " + cases[1].image, 0, "\npartition table: 0 empty GPT table\n"},
       {"disk print " + cases[3].image, 1, "\npartition table: -1 invalid output (no GPT table)\n"}});
  zero_sector(created, (20 << 20) / 512 - 1);
  EXPECT_EQ(1, storage_has_msdos_partition_table(created.c_str()));

  // A device path with an apostrophe never reaches a shell; nor a table that is not empty
  // after mktable (a stand-in that prints a partition whatever it is asked) reaches mkpart.
  EXPECT_EQ("", test::captured_stderr(
                    [] { EXPECT_EQ(0, storage_do_create_gpt_partitions("/dev/it's", make_nothing)); }));
  unlink(sandbox.path("/firmware_ext/parted/parted").c_str());
  test::expect_tool({{"disk print " + created, 1, "vonautil disk: cannot run the partitioning program '"}});
  write_script(sandbox.path("/firmware_ext/parted/parted"), "printf 'Partition Table: gpt\\nNumber  Start\\n 1\\n'\n");
  std::string log =
      test::captured_stderr([] { EXPECT_EQ(0, storage_do_create_gpt_partitions("/dev/sdz", make_nothing)); });
  EXPECT_EQ(mktable + "/dev/sdz' --script -- mktable gpt'\n" + print +
                "[parted] print cmd: unexpectedly non-empty partition table after mktable\n",
            test::log_messages(log));
}

TEST_F(Disk, MsdosTablesThroughFdiskAndTheMsdosVerdict) {
  std::string msdos = image("msdos.img"), missing = sandbox.path("/missing.img");
  const char* script = "o\nn\np\n1\n\n+4M\nw\n";
  std::string log = test::captured_stderr([&] { EXPECT_EQ(1, storage_do_fdisk(msdos.c_str(), script)); });
  std::string command = "fdisk -u '" + msdos + "'";
  EXPECT_EQ("Executing command '" + command + "' < '" + script + "'...\npclose('" + command + "') exit status: 0\n",
            test::log_messages(log));
  EXPECT_EQ(1, storage_has_msdos_partition_table(msdos.c_str()));

  // An empty script is written fine (fdisk ends at the end of its input). fdisk fails on a
  // missing device before reading: the writes of a long script fail with EPIPE, and no SIGPIPE
  // ends the caller. fdisk -V exits with 0 without reading: the failed write alone fails the run.
  EXPECT_EQ(1, storage_do_fdisk(image("untouched.img").c_str(), ""));
  std::string long_script(300000, '\n');
  log = test::captured_stderr([&] { EXPECT_EQ(0, storage_do_fdisk(missing.c_str(), long_script.c_str())); });
  command = "fdisk -u '" + missing + "'";
  EXPECT_CONTAINS(test::log_messages(log), "\nfprintf to '" + command + "' failed: " + strerror(EPIPE) +
                                               "\npclose('" + command + "') exit status: 1\n");
  EXPECT_EQ(0, storage_do_fdisk("-V", long_script.c_str()));
  const rlimit no_descriptors = {3, 3};  // no pipe can be opened
  EXPECT_EXIT((setrlimit(RLIMIT_NOFILE, &no_descriptors), _exit(storage_do_fdisk("/dev/sdz", script))),
              testing::ExitedWithCode(0), "popen\\(fdisk -u '/dev/sdz', w\\) failed: Too many open files\n");
  EXPECT_EQ("", test::captured_stderr([&] { EXPECT_EQ(0, storage_do_fdisk("/dev/it's", script)); }));
}

TEST_F(Disk, DuAndDfOnSandboxTreesAndDuInThe32BitArithmetic) {
  std::string tree = sandbox.path("/it's a tree");
  test::make_dirs(tree + "/sub dir");
  test::write_file(tree + "/big", std::string(100000, 'x'));
  test::write_file(tree + "/sub dir/small", std::string(5000, 'y'));
  // du counts the blocks of every entry, folders included, in whole KiB rounded up.
  static long long blocks = 0;
  nftw(tree.c_str(), [](const char*, const struct stat* st, int, struct FTW*) { return blocks += st->st_blocks, 0; },
       16, FTW_PHYS);
  long long tree_size = (blocks * 512 + 1023) / 1024 * 1024;
  EXPECT_EQ(tree_size, storage_get_dir_size(tree.c_str()));

  struct statvfs fs;
  ASSERT_EQ(0, statvfs(tree.c_str(), &fs));
  long long size = (long long)fs.f_blocks * fs.f_frsize;
  EXPECT_EQ(size, storage_get_mounted_drive_size(tree.c_str()));
  // Others write to the same file system meanwhile: the free bytes are near statvfs's.
  EXPECT_NEAR((double)fs.f_bavail * fs.f_frsize, (double)storage_get_mounted_drive_free_bytes(tree.c_str()),
              size / 100.0);
  test::expect_tool({{"disk size \"" + tree + "\"", 0, "\ndirectory size: " + std::to_string(tree_size) + "\n"},
                     {"disk size /missing/x", 1, "vonautil disk: cannot use '/missing/x': No such file or directory\n",
                      true}});

  // A du that reports what trees of 2 GiB and more would.
  write_script(sandbox.path("/stand-ins/du"), "cat \"$VONAUTIL_ROOT/du\"\n");
  std::pair<const char*, long long> cases[] = {
      {"2097151\t/x\n", 2147482624LL}, {"2097152\t/x\n", -2147483648LL}, {"4194305\t/x\n", 1024},
      {"12 extra\n7\n", 12288}, {"\n7\n", 0}, {"", -1}};
  for (const auto& c : cases) {
    test::write_file(sandbox.path("/du"), c.first);
    EXPECT_EQ(c.second, storage_get_dir_size("/x")) << c.first;
  }
}

// The stop script prints its arguments on standard error, into the log, and, asked to, mounts a
// tmpfs on the mount point, which lets the second try succeed where the first failed.
TEST_F(Disk, UnmountRunsTheStopScriptAndTriesAgain) {
  test::make_dirs(sandbox.path("/firmware/scripts"));
  write_script(sandbox.path("/firmware/scripts/stop_mount_usages.sh"),
               "for a in \"$@\"; do printf '<%s>' \"$a\" >&2; done\n"
               "if [ -f \"$VONAUTIL_ROOT/remount\" ]; then mount -t tmpfs none \"$1\"; fi\n");
  std::string point = sandbox.path("/mnt point");
  test::make_dirs(point);
  auto unmount = [&](const char* const* extra, int result) {
    return test::log_messages(test::captured_stderr(
        [&] { EXPECT_EQ(result, storage_stop_usages_and_umount(point.c_str(), extra)); }));
  };
  // A folder that is no mount point: the script gets the quoted mount point and the arguments
  // as they are, for the shell to split and expand (an empty one adds a blank only), and the
  // second try fails too.
  const char* extra[] = {"-f", "", "a b", "$VONAUTIL_ROOT", nullptr};
  std::string tried = "Trying to unmount '" + point + "'...\nFailed to unmount: " + strerror(EINVAL) +
                      "\n\nTrying to stop all usages of mount point...\n<" + point + ">";
  EXPECT_EQ(tried + "<-f><a><b><" + sandbox.root() + ">Retrying unmount...\nStill failed to unmount: " +
                strerror(EINVAL) + "\n\n",
            unmount(extra, 0));

  if (mount("none", point.c_str(), "tmpfs", 0, nullptr) != 0) GTEST_SKIP() << "no mount: " << strerror(errno);
  EXPECT_EQ("Trying to unmount '" + point + "'...\nUnmounted OK\n", unmount(nullptr, 1));
  test::write_file(sandbox.path("/remount"), "");
  EXPECT_EQ(tried + "Retrying unmount...\nUnmounted OK\n", unmount(nullptr, 1));
  // A mount point with an apostrophe gets no stop script and no second try.
  point = sandbox.path("/it's");
  test::make_dirs(point);
  EXPECT_EQ("Trying to unmount '" + point + "'...\nFailed to unmount: " + strerror(EINVAL) + "\n\n", unmount(extra, 0));
}

}  // namespace
