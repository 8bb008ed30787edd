// The mount table reader on tables taken from a player and from a desktop machine, fed
// through the sandbox's /proc/mounts.
#include "test_support.hpp"

namespace {

// Tables kept beside this file (the source tree's data folder is next to tests/).
std::string table_file(const char* name) { return std::string(VONAUTIL_DATA_DIR "/../tests/mt/mount_tables/") + name; }

void install_table(const test::Sandbox& sandbox, const std::string& text) {
  test::make_dirs(sandbox.path("/proc"));
  test::write_file(sandbox.path("/proc/mounts"), text);
}

std::vector<mount_entry> read_all() {
  std::vector<mount_entry> entries;
  FILE* mounts = mount_utils_open_mounts();
  if (mounts == nullptr) return entries;
  mount_entry entry;
  while (mount_utils_next_mount(mounts, &entry) == 0) entries.push_back(entry);
  mount_utils_close_mounts(mounts);
  return entries;
}

}  // namespace

TEST(MountUtils, ReadsRealTablesWithEscapesAndStopsAtTheTailOfAnOverlongLine) {
  test::Sandbox sandbox;
  install_table(sandbox, test::read_file(table_file("desktop.txt")));
  std::vector<mount_entry> entries = read_all();
  // 35 lines, the first 511 characters of the overlay line; its tail "...work 0 0" has two
  // blanks only, so the reading ends there and the last line is never seen.
  ASSERT_EQ(36u, entries.size());
  struct Row {
    size_t index;
    const char *source, *target, *type, *options;
  } rows[] = {
      {0, "sysfs", "/sys", "sysfs", "rw,nosuid,nodev,noexec,relatime 0 0\n"},
      {10, "cgroup", "/sys/fs/cgroup/cpu,cpuacct", "cgroup", "rw,nosuid,nodev,noexec,relatime,cpu,cpuacct 0 0\n"},
      {25, "/dev/sdb1", "/media/anna/My Passport", "ntfs3",
       "rw,nosuid,nodev,relatime,uid=1000,gid=1000,windows_names,iocharset=utf8 0 0\n"},
      {26, "/dev/sdc1", "/media/anna/CAMERA/DCIM", "vfat", "rw,nosuid,nodev,relatime,uid=1000,gid=1000,fmask=0022,dmask=0022 0 0\n"},
      {28, "gvfsd-fuse", "/run/user/1000/gvfs", "fuse.gvfsd-fuse", "rw,nosuid,nodev,relatime,user_id=1000,group_id=1000 0 0\n"},
      {30, "anna@nas:/home", "/home/anna/remote home", "fuse.sshfs", nullptr},
      {31, "//nas/Public Files", "/mnt/nas public", "cifs", nullptr},
      {34, "nsfs", "/run/docker/netns/4a7c1f0e2b3d", "nsfs", "rw 0 0\n"},
  };
  for (const Row& row : rows) {
    const mount_entry& e = entries[row.index];
    EXPECT_STREQ(row.source, e.source) << row.index;
    EXPECT_STREQ(row.target, e.target) << row.index;
    EXPECT_STREQ(row.type, e.type) << row.index;
    if (row.options) {
      EXPECT_STREQ(row.options, e.options) << row.index;
    }
  }
  const mount_entry& overlay = entries[35];
  EXPECT_STREQ("overlay", overlay.type);
  EXPECT_EQ(511u, strlen(overlay.source) + strlen(overlay.target) + strlen(overlay.type) + strlen(overlay.options) + 3);
}

TEST(MountUtils, UnescapesSourceAndTargetOnly) {
  test::Sandbox sandbox;
  std::string long_tail = std::string(500, 'o') + " x y z w\n";
  struct Row {
    const char* line;
    int result;
    const char *source, *target, *type, *options;
  } rows[] = {
      {"//nas/My\\040Videos /tmp/mnt/smb/my\\040share cifs rw,vers=1.0 0 0\n", 0, "//nas/My Videos", "/tmp/mnt/smb/my share",
       "cifs", "rw,vers=1.0 0 0\n"},
      // A backslash comes out as '/', tab and newline as themselves; type and options stay.
      {"//WINBOX\\134Public /a\\011b\\012c we\\040ird o\\040p\n", 0, "//WINBOX/Public", "/a\tb\nc", "we\\040ird",
       "o\\040p\n"},
      // Three characters are taken whatever they are; the octal number ends at a non-digit
      // and is kept to 8 bits.
      {"\\101\\1x9 \\777end t o\n", 0, "A\001", "\377end", "t", "o\n"},
      {"s /a\\0401\\1341 t o\n", 0, "s", "/a 1/1", "t", "o\n"},
      // A backslash with fewer than three characters after it ends the unescaping.
      {"a\\04 b\\07 t o\n", 0, "a\\04", "b\\07", "t", "o\n"},
      // ... but any three characters count, a backslash among them.
      {"s b\\1\\040 t o\n", 0, "s", "b\001" "40", "t", "o\n"},
      // Empty fields between adjacent blanks; the rest of the line is the options field.
      {"  t \n", 0, "", "", "t", "\n"},
      {"s t type\n", -1, nullptr, nullptr, nullptr, nullptr},
      {"just-one-field\n", -1, nullptr, nullptr, nullptr, nullptr},
      {"", -1, nullptr, nullptr, nullptr, nullptr},
  };
  for (const Row& row : rows) {
    install_table(sandbox, row.line);
    FILE* mounts = mount_utils_open_mounts();
    ASSERT_NE(nullptr, mounts);
    mount_entry e;
    EXPECT_EQ(row.result, mount_utils_next_mount(mounts, &e)) << row.line;
    if (row.result == 0) {
      EXPECT_STREQ(row.source, e.source) << row.line;
      EXPECT_STREQ(row.target, e.target) << row.line;
      EXPECT_STREQ(row.type, e.type) << row.line;
      EXPECT_STREQ(row.options, e.options) << row.line;
      EXPECT_EQ(-1, mount_utils_next_mount(mounts, &e));
    }
    mount_utils_close_mounts(mounts);
  }
  // The tail of an overlong line with three blanks or more reads as a line of its own.
  install_table(sandbox, "src /t1 ext3 " + long_tail + "src2 /t2 ext2 rw 0 0\n");
  std::vector<mount_entry> entries = read_all();
  ASSERT_EQ(3u, entries.size());
  EXPECT_EQ(std::string(511 - 13, 'o'), entries[0].options);
  EXPECT_STREQ("oo", entries[1].source);
  EXPECT_STREQ("x", entries[1].target);
  EXPECT_STREQ("z w\n", entries[1].options);
  EXPECT_STREQ("/t2", entries[2].target);
}

TEST(MountUtils, FindsBySourceAndTargetAndReadsOptionValues) {
  test::Sandbox sandbox;
  install_table(sandbox, test::read_file(table_file("box.txt")));
  mount_entry e;
  EXPECT_TRUE(mount_find_by_target("/tmp/mnt/smb/2 (winbox)", &e));
  EXPECT_STREQ("//WINBOX/Public Share", e.source);
  EXPECT_TRUE(mount_find_by_source("/dev/sdd1", &e));
  EXPECT_STREQ("/tmp/mnt/storage/usb11", e.target);
  // The first of equal sources wins; exact texts only.
  EXPECT_TRUE(mount_find_by_target("/", &e));
  EXPECT_STREQ("rootfs", e.source);
  EXPECT_FALSE(mount_find_by_target("/tmp/mnt/storage/usb", &e));
  EXPECT_FALSE(mount_find_by_source("/dev/sdb", &e));
  EXPECT_FALSE(mount_find_by_target("/tmp/mnt/smb/2\\040(winbox)", &e));

  ASSERT_TRUE(mount_find_by_target("/tmp/mnt/nfs/0", &e));
  struct Row {
    const char *name, *value;
  } rows[] = {
      {"vers", "3"},           {"rsize", "32768"},  {"proto", "tcp"},        {"mountproto", "udp"},
      {"addr", "192.168.1.20 0 0\n"}, {"mountaddr", "192.168.1.20"},  // the last option runs to the end of the line
      {"hard", ""},            {"rw", ""},          {"ver", ""},            {"local", ""},
      {"", ""},
  };
  for (const Row& row : rows) EXPECT_EQ(row.value, test::seg_text(mount_get_option_value(&e, row.name))) << row.name;
  ASSERT_TRUE(mount_find_by_target("/tmp/mnt/storage/sda2", &e));
  EXPECT_EQ("continue 0 0\n", test::seg_text(mount_get_option_value(&e, "errors")));
  EXPECT_EQ(0, mount_get_option_value(&e, "uid").length);

  // Without a table nothing is found, after perror's line.
  unlink(sandbox.path("/proc/mounts").c_str());
  std::string err = test::captured_stderr([&] { EXPECT_FALSE(mount_find_by_target("/", &e)); });
  EXPECT_EQ("fopen /proc/mounts: No such file or directory\n", err);
}

TEST(MountUtilsDeathTest, NullStreamIsAProgrammingError) {
  mount_entry e;
  EXPECT_DEATH(mount_utils_next_mount(nullptr, &e),
               test::assertion_report("player/src/util/mt/mount_utils", 0, "mount_utils_next_mount", "mount_fp"));
  EXPECT_DEATH(mount_utils_close_mounts(nullptr),
               test::assertion_report("player/src/util/mt/mount_utils", 0, "mount_utils_close_mounts", "mount_fp"));
}
