// The mount cache on a player's mount table: the mount type of paths at and below every
// mount point, the lookup's first-match rule, the main storage link and the dirty flag.
#include "test_support.hpp"

namespace {

// Tables kept beside this file (the source tree's data folder is next to tests/).
std::string table_file(const char* name) { return std::string(VONAUTIL_DATA_DIR "/../tests/mt/mount_tables/") + name; }

class MountCache : public test::SandboxTest {
 protected:
  void SetUp() override {
    test::make_dirs(sandbox.path("/proc"));
    test::make_dirs(sandbox.path("/tmp/mnt"));
  }
  void install(const std::string& text) {
    test::write_file(sandbox.path("/proc/mounts"), text);
    mount_cache_update();
  }
  void link_main(const char* target) {
    unlink(sandbox.path("/tmp/mnt/D").c_str());
    ASSERT_EQ(0, symlink(target, sandbox.path("/tmp/mnt/D").c_str()));
  }
  static std::string type_str(const char* path, int size = 64) {
    char buffer[64] = "untouched";
    mount_cache_get_mount_type_str(buffer, size, path);
    return buffer;
  }
};

}  // namespace

TEST_F(MountCache, TypeOfPathsAtAndBelowEachMountOfAPlayersTable) {
  install(test::read_file(table_file("box.txt")));
  struct Row {
    const char* path;
    int code;
    const char* type;
  } rows[] = {
      {"/tmp/mnt/storage/sda1", 0, "ext3"},
      {"/tmp/mnt/storage/sda1/", 0, "ext3"},
      {"/tmp/mnt/storage/sda1/Movies/Heat (1995).mkv", 0, "ext3"},
      {"/tmp/mnt/storage/sda2/x", 0, "ext2"},
      {"/tmp/mnt/storage/usb1", 2, "tntfs"},
      {"/tmp/mnt/storage/usb1/movie.mkv", 2, "tntfs"},
      {"/tmp/mnt/storage/Backup Disk (2)/2019/a.jpg", 0, "ext3"},
      {"/tmp/mnt/smb/0", 3, "cifs"},
      {"/tmp/mnt/smb/0/Film.avi", 3, "cifs"},
      {"/tmp/mnt/smb/1/a", 3, "cifs"},
      {"/tmp/mnt/smb/2 (winbox)/a", 3, "cifs"},
      {"/tmp/mnt/nfs/0", 1, "nfs"},
      {"/tmp/mnt/nfs/0/Concert.ts", 1, "nfs"},
      // A share mounted inside a disk (listed after it) wins below its own mount point.
      {"/tmp/mnt/storage/sda1/Photos NAS", 3, "cifs"},
      {"/tmp/mnt/storage/sda1/Photos NAS/2019/x.jpg", 3, "cifs"},
      // The first matching target is taken even when it ends inside a name, and a later one
      // only when the path has '/' where the earlier one ended.
      {"/tmp/mnt/storage/usb10/a.mkv", 2, "tntfs"},
      {"/tmp/mnt/storage/usb11/a.mkv", 2, "tntfs"},
      {"/tmp/mnt/storage/sda1x/a", 0, "ext3"},
      {"/tmp/mnt/storage/sda1/Photos NASty", 3, "cifs"},
      // Not cached: other file system types, and paths under no mount.
      {"/tmp/mnt/storage/SD Card/DCIM", 99, "unknown"},
      {"/tmp/mnt/nfs/1/a.flac", 99, "unknown"},
      {"/config/settings.properties", 99, "unknown"},
      {"/tmp/mnt/smb/2", 99, "unknown"},
      {"/tmp/mnt/storage/sda", 99, "unknown"},
      {"/tmp/mnt/storage", 99, "unknown"},
      {"/", 99, "unknown"},
      {"", 99, "unknown"},
      {"tmp/mnt/storage/sda1/a", 99, "unknown"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.code, (int)mount_cache_get_mount_type(row.path)) << row.path;
    EXPECT_EQ(row.type, type_str(row.path)) << row.path;
  }
}

TEST_F(MountCache, TheLongestTargetWinsOnlyAfterTheFirstMatch) {
  struct Row {
    const char* table;
    const char* path;
    int code;
  } rows[] = {
      // A cached root listed first is accepted for every path: later mounts need '/' at
      // length 1.
      {"/dev/sda1 / ext3 rw 0 0\n/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n", "/tmp/mnt/storage/usb1/movie.mkv", 0},
      {"/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n/dev/sda1 / ext3 rw 0 0\n", "/tmp/mnt/storage/usb1/movie.mkv", 2},
      {"/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n/dev/sda1 / ext3 rw 0 0\n", "/tmp/video.ts", 0},
      {"/dev/sda1 / ext3 rw 0 0\n/dev/sdb1 //x nfs rw 0 0\n", "//x/y", 1},
      // Nested mounts: the inner one wins in either order.
      {"a /m ext2 rw 0 0\nb /m/n cifs rw 0 0\n", "/m/n/f", 3},
      {"b /m/n cifs rw 0 0\na /m ext2 rw 0 0\n", "/m/n/f", 3},
      {"b /m/n cifs rw 0 0\na /m ext2 rw 0 0\n", "/m/o", 0},
      // Equal targets: the first in the table.
      {"a /m nfs rw 0 0\nb /m cifs rw 0 0\n", "/m/f", 1},
      // A path no longer than the best match so far passes the '/' check: an empty target
      // (two blanks in a row) holds the empty path, but not a relative one.
      {"a  nfs rw 0 0\n", "", 1},
      {"a  nfs rw 0 0\n", "x", 99},
      // Types are matched exactly.
      {"a /m ext4 rw 0 0\nb /n NFS rw 0 0\nc /o nfs4 rw 0 0\nd /p smb3 rw 0 0\n", "/m/f", 99},
  };
  for (const Row& row : rows) {
    install(row.table);
    EXPECT_EQ(row.code, (int)mount_cache_get_mount_type(row.path)) << row.table << row.path;
  }
}

TEST_F(MountCache, TypeNameIsCutToTheBufferAndMissingTableEmptiesTheCache) {
  install("/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n");
  struct Row {
    int size;
    const char* expected;
  } rows[] = {{64, "tntfs"}, {6, "tntfs"}, {5, "tntf"}, {2, "t"}, {1, ""}, {0, "untouched"}, {-3, "untouched"}};
  for (const Row& row : rows) EXPECT_EQ(row.expected, type_str("/tmp/mnt/storage/usb1/a", row.size)) << row.size;
  EXPECT_EQ("unkn", type_str("/x", 5));

  unlink(sandbox.path("/proc/mounts").c_str());
  std::string err = test::captured_stderr([] { mount_cache_update(); });
  EXPECT_EQ("fopen /proc/mounts: No such file or directory\n", err);
  EXPECT_EQ(99, (int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a"));
}

TEST_F(MountCache, MainStorageIsTheMountTheLinkPointsAt) {
  const char table[] =
      "/dev/root / squashfs ro 0 0\n"
      "/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n"
      "/dev/mmcblk0p1 /tmp/mnt/storage/SD\\040Card exfat rw 0 0\n"
      "  tmpfs rw 0 0\n";
  struct Row {
    const char* link;  // null: no link; "DIR": a folder
    int mounted;
  } rows[] = {
      {"/tmp/mnt/storage/usb1", 1},
      {"/tmp/mnt/storage/SD Card", 1},  // any mounted type, compared with the unescaped target
      {"/tmp/mnt/storage/usb1/", 0},
      {"/tmp/mnt/storage/usb", 0},
      {"/tmp/mnt/storage/SD\\040Card", 0},
      {nullptr, 0},
      {"DIR", 0},
  };
  test::write_file(sandbox.path("/proc/mounts"), table);
  for (const Row& row : rows) {
    unlink(sandbox.path("/tmp/mnt/D").c_str());
    rmdir(sandbox.path("/tmp/mnt/D").c_str());
    if (row.link && strcmp(row.link, "DIR") == 0) test::make_dirs(sandbox.path("/tmp/mnt/D"));
    else if (row.link) link_main(row.link);
    mount_cache_update();
    char buffer[32] = "untouched";
    EXPECT_EQ(row.mounted, mount_cache_get_main_mount_target(buffer, sizeof buffer)) << (row.link ? row.link : "none");
    EXPECT_STREQ(row.mounted ? "/tmp/mnt/D" : "untouched", buffer);
  }
  rmdir(sandbox.path("/tmp/mnt/D").c_str());
  link_main("/tmp/mnt/storage/usb1");
  mount_cache_update();
  char small[8] = "xxxxxxx";
  EXPECT_EQ(1, mount_cache_get_main_mount_target(small, 5));
  EXPECT_STREQ("/tmp", small);
  EXPECT_EQ(1, mount_cache_get_main_mount_target(small, 0));
  EXPECT_STREQ("/tmp", small);
}

TEST_F(MountCache, ChangesShowAfterDirtyOrUpdateOnly) {
  install("/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n");
  link_main("/tmp/mnt/storage/usb2");
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdc1 /tmp/mnt/storage/usb2 ext3 rw 0 0\n");
  char buffer[16];
  // The cache keeps its copy until it is marked dirty ...
  EXPECT_EQ(2, (int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a"));
  EXPECT_EQ(99, (int)mount_cache_get_mount_type("/tmp/mnt/storage/usb2/a"));
  EXPECT_EQ(0, mount_cache_get_main_mount_target(buffer, sizeof buffer));
  mount_cache_set_dirty();
  // ... and every query rebuilds it then, once.
  EXPECT_EQ(1, mount_cache_get_main_mount_target(buffer, sizeof buffer));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 nfs rw 0 0\n");
  EXPECT_EQ(99, (int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a"));
  EXPECT_EQ("ext3", type_str("/tmp/mnt/storage/usb2/a"));
  mount_cache_set_dirty();
  EXPECT_EQ("nfs", type_str("/tmp/mnt/storage/usb1/a"));
  EXPECT_EQ(0, mount_cache_get_main_mount_target(buffer, sizeof buffer));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 cifs rw 0 0\n");
  mount_cache_update();
  EXPECT_EQ(3, (int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a"));
}

TEST_F(MountCache, ToolListsTheCacheAndTypesOfPaths) {
  test::write_file(sandbox.path("/proc/mounts"),
                   "/dev/root / squashfs ro 0 0\n/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n"
                   "//nas/My\\040Videos /tmp/mnt/smb/my\\040share cifs rw 0 0\n");
  link_main("/tmp/mnt/storage/usb1");
  std::string out;
  EXPECT_EQ(0, test::run_tool("mounts /tmp/mnt/smb/my\\ share/a.mkv /tmp/x", &out));
  EXPECT_EQ("2 cached mounts (of " + sandbox.path("/proc/mounts") +
                "):\n"
                "   2 tntfs  /tmp/mnt/storage/usb1\n"
                "   3 cifs   /tmp/mnt/smb/my share\n"
                "main storage: mounted at /tmp/mnt/D\n"
                "/tmp/mnt/smb/my share/a.mkv: 3 cifs\n"
                "/tmp/x: 99 unknown\n",
            out);
  EXPECT_EQ(2, test::run_tool("mounts --all", &out));
  unlink(sandbox.path("/proc/mounts").c_str());
  EXPECT_EQ(1, test::run_tool("mounts", &out, true));
  EXPECT_EQ("vonautil mounts: cannot read the mount table " + sandbox.path("/proc/mounts") + "\n", out);
}

// In a fresh process (each death test, and each test under ctest, has one) the first query
// reads the table without being asked to.
TEST(MountCacheDeathTest, TheFirstQueryOfAProcessReadsTheTable) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/proc"));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n");
  EXPECT_EXIT(exit((int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a")), testing::ExitedWithCode(2), "");
}
