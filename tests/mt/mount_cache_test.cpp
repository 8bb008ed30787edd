// The mount cache on a player's mount table: the mount type of paths at and below every
// mount point, the lookup's first-match rule, the main storage link and the dirty flag.
#include "test_support.hpp"

namespace {

class MountCache : public test::SandboxTest {
 protected:
  void SetUp() override {
    test::make_dirs(sandbox.path("/proc"));
    test::make_dirs(sandbox.path("/tmp/mnt"));
  }
  void install(const std::string& table) {
    test::write_file(sandbox.path("/proc/mounts"), table);
    mount_cache_update();
  }
  void link_main(const char* target) {
    unlink(sandbox.path("/tmp/mnt/D").c_str());
    symlink(target, sandbox.path("/tmp/mnt/D").c_str());
  }
  // The type name of the mount that holds the path, with its code checked against the name.
  static std::string type_of(const char* path, int size = 64) {
    char full[64], buffer[64] = "untouched";
    mount_cache_get_mount_type_str(full, sizeof full, path);
    mount_cache_get_mount_type_str(buffer, size, path);
    std::pair<std::string, int> codes[] = {{"ext2", 0}, {"ext3", 0}, {"nfs", 1}, {"tntfs", 2}, {"cifs", 3}};
    int code = 99;
    for (const auto& c : codes) code = c.first == full ? c.second : code;
    EXPECT_EQ(code, (int)mount_cache_get_mount_type(path)) << path;
    return buffer;
  }
};
using MountCacheDeathTest = MountCache;  // run first, while the cache has not been read

}  // namespace

TEST_F(MountCache, TypeOfPathsAtAndBelowEachMountOfAPlayersTable) {
  install(test::mount_table("box.txt"));
  std::pair<const char*, const char*> rows[] = {
      {"/tmp/mnt/storage/sda1", "ext3"},
      {"/tmp/mnt/storage/sda1/", "ext3"},
      {"/tmp/mnt/storage/sda1/Movies/Heat (1995).mkv", "ext3"},
      {"/tmp/mnt/storage/sda2/x", "ext2"},
      {"/tmp/mnt/storage/usb1", "tntfs"},
      {"/tmp/mnt/storage/Backup Disk (2)/2019/a.jpg", "ext3"},
      {"/tmp/mnt/smb/0/Film.avi", "cifs"},
      {"/tmp/mnt/smb/2 (winbox)/a", "cifs"},
      {"/tmp/mnt/nfs/0", "nfs"},
      {"/tmp/mnt/nfs/0/Concert.ts", "nfs"},
      // A share mounted inside a disk (listed after it) wins below its own mount point.
      {"/tmp/mnt/storage/sda1/Photos NAS/2019/x.jpg", "cifs"},
      // The first matching target is taken even when it ends inside a name, and a later one
      // only when the path has '/' where the earlier one ended.
      {"/tmp/mnt/storage/usb11/a.mkv", "tntfs"},
      {"/tmp/mnt/storage/sda1x/a", "ext3"},
      {"/tmp/mnt/storage/sda1/Photos NASty", "cifs"},
      // Not cached: other file system types, and paths under no mount.
      {"/tmp/mnt/storage/SD Card/DCIM", "unknown"},
      {"/tmp/mnt/nfs/1/a.flac", "unknown"},
      {"/tmp/mnt/smb/2", "unknown"},
      {"/tmp/mnt/storage", "unknown"},
      {"/", "unknown"},
      {"", "unknown"},
      {"tmp/mnt/storage/sda1/a", "unknown"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.second, type_of(row.first)) << row.first;
}

TEST_F(MountCache, TheLongestTargetWinsOnlyAfterTheFirstMatch) {
  struct Row {
    const char *table, *path, *type;
  } rows[] = {
      // A cached root listed first is accepted for every path: later mounts need '/' at
      // length 1.
      {"a / ext3 r\nb /m/usb1 tntfs r\n", "/m/usb1/movie.mkv", "ext3"},
      {"b /m/usb1 tntfs r\na / ext3 r\n", "/m/usb1/movie.mkv", "tntfs"},
      {"b /m/usb1 tntfs r\na / ext3 r\n", "/tmp/video.ts", "ext3"},
      {"a / ext3 r\nb //x nfs r\n", "//x/y", "nfs"},
      // Nested mounts: the inner one wins in either order; equal targets: the first.
      {"b /m/n cifs r\na /m ext2 r\n", "/m/n/f", "cifs"},
      {"b /m/n cifs r\na /m ext2 r\n", "/m/o", "ext2"},
      {"a /m nfs r\nb /m cifs r\n", "/m/f", "nfs"},
      // An empty target (two blanks in a row) holds the empty path, but not a relative one.
      {"a  nfs r\n", "", "nfs"},
      {"a  nfs r\n", "x", "unknown"},
      {"a /m ext4 r\nb /m NFS r\nc /m nfs4 r\nd /m smb3 r\n", "/m/f", "unknown"},
  };
  for (const Row& row : rows) {
    install(row.table);
    EXPECT_EQ(row.type, type_of(row.path)) << row.table << row.path;
  }
}

TEST_F(MountCache, MainStorageAndTheCutOfTexts) {
  const char table[] =
      "/dev/root / squashfs ro 0 0\n/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n"
      "/dev/mmcblk0p1 /tmp/mnt/storage/SD\\040Card exfat rw 0 0\n  tmpfs rw 0 0\n";
  const char* links[] = {"/tmp/mnt/storage/SD Card", "/tmp/mnt/storage/usb1/", "/tmp/mnt/storage/usb",
                         "/tmp/mnt/storage/SD\\040Card", nullptr, "DIR"};
  for (const char* link : links) {  // mounted only when the link holds a target exactly
    unlink(sandbox.path("/tmp/mnt/D").c_str());
    if (link && strcmp(link, "DIR") == 0) test::make_dirs(sandbox.path("/tmp/mnt/D"));
    else if (link) link_main(link);
    install(table);
    char buffer[32] = "untouched";
    EXPECT_EQ(link == links[0], mount_cache_get_main_mount_target(buffer, sizeof buffer)) << link;
    EXPECT_STREQ(link == links[0] ? "/tmp/mnt/D" : "untouched", buffer);
    rmdir(sandbox.path("/tmp/mnt/D").c_str());
  }
  link_main("/tmp/mnt/storage/usb1");
  install(table);
  char small[8] = "xxxxxxx";
  EXPECT_EQ(1, mount_cache_get_main_mount_target(small, 0));
  EXPECT_STREQ("xxxxxxx", small);
  EXPECT_EQ(1, mount_cache_get_main_mount_target(small, 5));
  EXPECT_STREQ("/tmp", small);
  std::pair<int, const char*> sizes[] = {{6, "tntfs"}, {5, "tntf"}, {1, ""}, {0, "untouched"}, {-3, "untouched"}};
  for (const auto& s : sizes) EXPECT_EQ(s.second, type_of("/tmp/mnt/storage/usb1/a", s.first)) << s.first;
  EXPECT_EQ("unkn", type_of("/x", 5));

  // Without a table, the cache is empty.
  unlink(sandbox.path("/proc/mounts").c_str());
  EXPECT_EQ("fopen /proc/mounts: No such file or directory\n", test::captured_stderr(mount_cache_update));
  EXPECT_EQ("unknown", type_of("/tmp/mnt/storage/usb1/a"));
  EXPECT_EQ(0, mount_cache_get_main_mount_target(small, sizeof small));
}

TEST_F(MountCache, ChangesShowAfterDirtyOrUpdateOnly) {
  install("/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n");
  link_main("/tmp/mnt/storage/usb2");
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdc1 /tmp/mnt/storage/usb2 ext3 rw 0 0\n");
  char buffer[16];
  // The cache keeps its copy until it is marked dirty; then the next query rebuilds it, once.
  EXPECT_EQ("tntfs", type_of("/tmp/mnt/storage/usb1/a"));
  EXPECT_EQ(0, mount_cache_get_main_mount_target(buffer, sizeof buffer));
  mount_cache_set_dirty();
  EXPECT_EQ(1, mount_cache_get_main_mount_target(buffer, sizeof buffer));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 nfs rw 0 0\n");
  EXPECT_EQ("ext3", type_of("/tmp/mnt/storage/usb2/a"));
  mount_cache_set_dirty();
  EXPECT_EQ("nfs", type_of("/tmp/mnt/storage/usb1/a"));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 cifs rw 0 0\n");
  mount_cache_update();
  EXPECT_EQ("cifs", type_of("/tmp/mnt/storage/usb1/a"));
}

TEST_F(MountCache, ToolListsTheCacheAndTypesOfPaths) {
  test::write_file(sandbox.path("/proc/mounts"),
                   "/dev/root / squashfs ro 0 0\n/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n"
                   "//nas/My\\040Videos /tmp/mnt/smb/my\\040share cifs rw 0 0\n");
  link_main("/tmp/mnt/storage/usb1");
  test::expect_tool({{"mounts /tmp/mnt/smb/my\\ share/a.mkv /tmp/x", 0,
                      "2 cached mounts (of " + sandbox.path("/proc/mounts") +
                          "):\n   2 tntfs  /tmp/mnt/storage/usb1\n   3 cifs   /tmp/mnt/smb/my share\n"
                          "main storage: mounted at /tmp/mnt/D\n/tmp/mnt/smb/my share/a.mkv: 3 cifs\n"
                          "/tmp/x: 99 unknown\n",
                      true},
                     {"mounts --all", 2, ""}});
  unlink(sandbox.path("/proc/mounts").c_str());
  test::expect_tool(
      {{"mounts", 1, "vonautil mounts: cannot read the mount table " + sandbox.path("/proc/mounts") + "\n", true}});
}

// In a fresh process the first query reads the table without being asked to.
TEST_F(MountCacheDeathTest, TheFirstQueryOfAProcessReadsTheTable) {
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n");
  EXPECT_EXIT(exit((int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a")), testing::ExitedWithCode(2), "");
}
