// The mount table reader on tables taken from a player and from a desktop machine, fed
// through the sandbox's /proc/mounts.
#include "test_support.hpp"

namespace {

// The entries of `table`, installed as the sandbox's /proc/mounts: "source|target|type|options".
std::vector<std::string> read_all(const test::Sandbox& sandbox, const std::string& table) {
  test::make_dirs(sandbox.path("/proc"));
  test::write_file(sandbox.path("/proc/mounts"), table);
  std::vector<std::string> entries;
  FILE* mounts = mount_utils_open_mounts();
  mount_entry e;
  while (mount_utils_next_mount(mounts, &e) == 0) {
    entries.push_back(std::string(e.source) + "|" + e.target + "|" + e.type + "|" + e.options);
  }
  mount_utils_close_mounts(mounts);
  return entries;
}

}  // namespace

TEST(MountUtils, ReadsRealTablesAndStopsAtTheTailOfAnOverlongLine) {
  test::Sandbox sandbox;
  std::vector<std::string> entries = read_all(sandbox, test::mount_table("desktop.txt"));
  // The overlay line is read up to its 511th character; its tail "...work 0 0" has two blanks
  // only, so the reading ends there and the last line (a tmpfs) is never seen.
  ASSERT_EQ(36u, entries.size());
  EXPECT_EQ(511u, entries[35].size());
  EXPECT_EQ(0u, entries[35].find("overlay|/var/lib/docker/overlay2/"));
  std::pair<size_t, const char*> rows[] = {
      {4, "tmpfs|/run|tmpfs|rw,nosuid,nodev,noexec,relatime,size=3266492k,mode=755,inode64 0 0\n"},
      {10, "cgroup|/sys/fs/cgroup/cpu,cpuacct|cgroup|rw,nosuid,nodev,noexec,relatime,cpu,cpuacct 0 0\n"},
      {26, "/dev/sdc1|/media/anna/CAMERA/DCIM|vfat|rw,nosuid,nodev,relatime,uid=1000,gid=1000,"
           "fmask=0022,dmask=0022 0 0\n"},
      {28, "gvfsd-fuse|/run/user/1000/gvfs|fuse.gvfsd-fuse|rw,nosuid,nodev,relatime,user_id=1000,"
           "group_id=1000 0 0\n"},
      {30, "anna@nas:/home|/home/anna/remote home|fuse.sshfs|"},
      {31, "//nas/Public Files|/mnt/nas public|cifs|"},
  };
  for (const auto& row : rows) EXPECT_EQ(0u, entries[row.first].find(row.second)) << entries[row.first];
}

TEST(MountUtils, UnescapesSourceAndTargetOnly) {
  test::Sandbox sandbox;
  std::pair<const char*, const char*> rows[] = {  // a line, and its entry (none: "")
      {"//nas/My\\040Videos /tmp/mnt/smb/my\\040share cifs rw 0 0\n",
       "//nas/My Videos|/tmp/mnt/smb/my share|cifs|rw 0 0\n"},
      // A backslash comes out as '/', tab and newline as themselves; type and options stay.
      {"//WINBOX\\134Public /a\\011b\\012c we\\040ird o\\040p\n", "//WINBOX/Public|/a\tb\nc|we\\040ird|o\\040p\n"},
      // Three characters are taken whatever they are; the octal number ends at a non-digit and
      // is kept to 8 bits.
      {"\\101\\1x9 \\777end t o\n", "A\001|\377end|t|o\n"},
      {"s /a\\0401\\1341 t o\n", "s|/a 1/1|t|o\n"},
      // A backslash with fewer than three characters after it ends the unescaping, but any
      // three characters count, a backslash among them.
      {"a\\04 b\\07 t o\n", "a\\04|b\\07|t|o\n"},
      {"s b\\1\\040 t o\n", "s|b\001" "40|t|o\n"},
      // Empty fields between adjacent blanks; fewer than three blanks end the table.
      {"  t \n", "||t|\n"},
      {"s t type\n", ""},
      {"", ""},
  };
  for (const auto& row : rows) {
    std::vector<std::string> expected;
    if (*row.second) expected.push_back(row.second);
    EXPECT_EQ(expected, read_all(sandbox, row.first)) << row.first;
  }
  // The tail of an overlong line with three blanks or more reads as a line of its own.
  EXPECT_EQ((std::vector<std::string>{"src|/t1|ext3|" + std::string(498, 'o'), "oo|x|y|z w\n", "a|/t2|b|c\n"}),
            read_all(sandbox, "src /t1 ext3 " + std::string(500, 'o') + " x y z w\na /t2 b c\n"));
}

TEST(MountUtils, FindsBySourceAndTargetAndReadsOptionValues) {
  test::Sandbox sandbox;
  read_all(sandbox, test::mount_table("box.txt"));
  mount_entry e;
  EXPECT_TRUE(mount_find_by_target("/tmp/mnt/smb/2 (winbox)", &e));
  EXPECT_STREQ("//WINBOX/Public Share", e.source);
  EXPECT_TRUE(mount_find_by_source("/dev/sdd1", &e));
  EXPECT_STREQ("/tmp/mnt/storage/usb11", e.target);
  EXPECT_TRUE(mount_find_by_target("/", &e));  // the first of equal targets
  EXPECT_STREQ("rootfs", e.source);
  EXPECT_FALSE(mount_find_by_target("/tmp/mnt/storage/usb", &e));  // exact texts only
  EXPECT_FALSE(mount_find_by_source("/dev/sdb", &e));

  ASSERT_TRUE(mount_find_by_target("/tmp/mnt/nfs/0", &e));
  std::pair<const char*, const char*> options[] = {
      {"vers", "3"},   {"proto", "tcp"}, {"mountproto", "udp"}, {"mountaddr", "192.168.1.20"},
      {"hard", ""},    {"rw", ""},       {"ver", ""},           {"", ""},
      {"addr", "192.168.1.20 0 0\n"},  // the last option runs to the end of the line
  };
  for (const auto& o : options) EXPECT_EQ(o.second, test::seg_text(mount_get_option_value(&e, o.first))) << o.first;

  // Without a table nothing is found, after perror's line.
  unlink(sandbox.path("/proc/mounts").c_str());
  std::string err = test::captured_stderr([&] { EXPECT_FALSE(mount_find_by_source("rootfs", &e)); });
  EXPECT_EQ("fopen /proc/mounts: No such file or directory\n", err);
  EXPECT_DEATH(mount_utils_close_mounts(nullptr),
               test::assertion_report("player/src/util/mt/mount_utils", 0, "mount_utils_close_mounts", "mount_fp"));
}
