// The mount cache on a player's mount table: the mount type of paths at and below every
// mount point, the lookup's first-match rule, the main storage link and the dirty flag.
#include <map>

#include "test_support.hpp"

namespace {

class MountCache : public test::SandboxTest {
 protected:
  void SetUp() override {
    test::make_dirs(sandbox.path("/proc"));
    test::make_dirs(sandbox.path("/tmp/mnt"));
  }
  void install(const std::string& table, const char* main_link = nullptr) {
    test::write_file(sandbox.path("/proc/mounts"), table);
    unlink(sandbox.path("/tmp/mnt/D").c_str());
    if (main_link) symlink(main_link, sandbox.path("/tmp/mnt/D").c_str());
    mount_cache_update();
  }
  // The type name of the mount that holds the path, cut to `size`; its code is checked against
  // the whole name.
  static std::string type_of(const char* path, int size = 64) {
    char name[64], cut[64] = "untouched";
    mount_cache_get_mount_type_str(name, sizeof name, path);
    mount_cache_get_mount_type_str(cut, size, path);
    std::map<std::string, int> codes = {{"ext2", 0}, {"ext3", 0}, {"nfs", 1}, {"tntfs", 2}, {"cifs", 3}};
    EXPECT_EQ(codes.count(name) ? codes[name] : 99, (int)mount_cache_get_mount_type(path)) << path;
    return cut;
  }
};
using MountCacheDeathTest = MountCache;  // run first, while the cache has not been read

}  // namespace

TEST_F(MountCache, TypeOfPathsAtAndBelowEachMountOfAPlayersTable) {
  install(test::mount_table("box.txt"));
  std::pair<const char*, const char*> rows[] = {
      {"/tmp/mnt/storage/sda1", "ext3"},         {"/tmp/mnt/storage/sda1/Movies/Heat (1995).mkv", "ext3"},
      {"/tmp/mnt/nfs/0", "nfs"},                 {"/tmp/mnt/nfs/0/Concert.ts", "nfs"},
      // A share mounted inside a disk (listed after it) wins below its own mount point. The
      // first matching target is taken even when it ends inside a name, and a later one only
      // when the path has '/' where the earlier one ended.
      {"/tmp/mnt/storage/sda1/Photos NAS/x", "cifs"}, {"/tmp/mnt/storage/sda1/Photos NASty", "cifs"},
      {"/tmp/mnt/storage/usb11/a.mkv", "tntfs"},  {"/tmp/mnt/storage/sda1x/a", "ext3"},
      // Not cached: other file system types, and paths under no mount.
      {"/tmp/mnt/storage/SD Card/DCIM", "unknown"}, {"/tmp/mnt/nfs/1/a.flac", "unknown"},
      {"/tmp/mnt/smb/2", "unknown"},             {"tmp/mnt/storage/sda1/a", "unknown"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.second, type_of(row.first)) << row.first;

  struct Row {
    const char *table, *path, *type;
  } tables[] = {
      // A cached root listed first is accepted for every path: later mounts need '/' at length 1.
      {"a / ext3 r\nb /m/usb1 tntfs r\n", "/m/usb1/movie.mkv", "ext3"},
      {"b /m/usb1 tntfs r\na / ext3 r\n", "/m/usb1/movie.mkv", "tntfs"},
      {"b /m/n cifs r\na /m ext2 r\n", "/m/o", "ext2"},
      {"a /m nfs r\nb /m cifs r\n", "/m/f", "nfs"},  // equal targets: the first
      {"a  nfs r\n", "", "nfs"},                       // an empty target holds the empty path
      {"a  nfs r\n", "x", "unknown"},                  // but not a relative one
      {"a /m ext4 r\nb /m NFS r\nc /m nfs4 r\nd /m smb3 r\n", "/m/f", "unknown"},
  };
  for (const Row& row : tables) {
    install(row.table);
    EXPECT_EQ(row.type, type_of(row.path)) << row.table << row.path;
  }
}

TEST_F(MountCache, MainStorageTheCutOfTextsTheDirtyFlagAndTheTool) {
  const std::string table =
      "/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n/dev/mmcblk0p1 /tmp/mnt/storage/SD\\040Card exfat rw 0 0\n";
  // Any mounted type; the link must hold a mount point exactly, as the table has it unescaped.
  std::pair<const char*, int> links[] = {
      {"/tmp/mnt/storage/SD Card", 1}, {"/tmp/mnt/storage/usb1/", 0}, {"/tmp/mnt/storage/SD\\040Card", 0}};
  for (const auto& link : links) {
    install(table, link.first);
    char buffer[32] = "untouched";
    EXPECT_EQ(link.second, mount_cache_get_main_mount_target(buffer, sizeof buffer)) << link.first;
    EXPECT_STREQ(link.second ? "/tmp/mnt/D" : "untouched", buffer);
  }
  // Texts are cut to the buffer's size, terminator included; no size leaves the buffer alone.
  install(table, "/tmp/mnt/storage/usb1");
  std::pair<int, const char*> sizes[] = {{6, "tntfs"}, {5, "tntf"}, {1, ""}, {0, "untouched"}, {-3, "untouched"}};
  for (const auto& s : sizes) EXPECT_EQ(s.second, type_of("/tmp/mnt/storage/usb1/a", s.first)) << s.first;

  // The cache keeps its copy until it is marked dirty; then the next query rebuilds it, once.
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/SD\\040Card nfs rw 0 0\n");
  EXPECT_EQ("tntfs", type_of("/tmp/mnt/storage/usb1/a"));
  mount_cache_set_dirty();
  EXPECT_EQ("nfs", type_of("/tmp/mnt/storage/SD Card/a"));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 cifs rw 0 0\n");
  EXPECT_EQ("nfs", type_of("/tmp/mnt/storage/SD Card/a"));

  // The tool lists the cache and the types of paths; without a table, the cache is empty.
  install("/dev/root / squashfs ro 0 0\n/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n"
          "//nas/My\\040Videos /tmp/mnt/smb/my\\040share cifs rw 0 0\n", "/tmp/mnt/storage/usb1");
  std::string mounts = sandbox.path("/proc/mounts");
  test::expect_tool({{"mounts /tmp/mnt/smb/my\\ share/a.mkv /tmp/x", 0,
                      "2 cached mounts (of " + mounts + "):\n   2 tntfs  /tmp/mnt/storage/usb1\n"
                      "   3 cifs   /tmp/mnt/smb/my share\nmain storage: mounted at /tmp/mnt/D\n"
                      "/tmp/mnt/smb/my share/a.mkv: 3 cifs\n/tmp/x: 99 unknown\n", true},
                     {"mounts --all", 2, ""}});
  unlink(mounts.c_str());
  EXPECT_EQ("fopen /proc/mounts: No such file or directory\n", test::captured_stderr(mount_cache_update));
  EXPECT_EQ("unknown", type_of("/tmp/mnt/storage/usb1/a"));
  test::expect_tool({{"mounts", 1, "vonautil mounts: cannot read the mount table " + mounts + "\n", true}});
}

// In a fresh process the first query reads the table without being asked to.
TEST_F(MountCacheDeathTest, TheFirstQueryOfAProcessReadsTheTable) {
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n");
  EXPECT_EXIT(exit((int)mount_cache_get_mount_type("/tmp/mnt/storage/usb1/a")), testing::ExitedWithCode(2), "");
}
