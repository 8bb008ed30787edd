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
  for (mount_entry e; mount_utils_next_mount(mounts, &e) == 0;) {
    entries.push_back(std::string(e.source) + "|" + e.target + "|" + e.type + "|" + e.options);
  }
  mount_utils_close_mounts(mounts);
  return entries;
}

}  // namespace

TEST(MountUtils, ReadsRealTablesUnescapesSourceAndTargetOnlyAndFindsEntries) {
  test::Sandbox sandbox;
  std::vector<std::string> entries = read_all(sandbox, test::mount_table("desktop.txt"));
  // The overlay line is read up to its 511th character; its tail "...work 0 0" has two blanks
  // only, so the reading ends there and the last line (a tmpfs) is never seen.
  ASSERT_EQ(36u, entries.size());
  EXPECT_EQ(511u, entries[35].size());
  std::pair<size_t, const char*> starts[] = {{30, "anna@nas:/home|/home/anna/remote home|"},
                                             {31, "//nas/Public Files|/mnt/nas public|cifs|rw,"},
                                             {35, "overlay|/var/lib/docker/overlay2/9f3c"}};
  for (const auto& s : starts) EXPECT_EQ(0u, entries[s.first].find(s.second)) << entries[s.first];

  std::pair<const char*, const char*> lines[] = {  // a line, and its entry (none: "")
      // A backslash comes out as '/', tab and newline as themselves; type and options stay.
      {"//WINBOX\\134Public /a\\011b\\012c we\\040ird o\\040p\n", "//WINBOX/Public|/a\tb\nc|we\\040ird|o\\040p\n"},
      // Three characters are taken whatever they are; the octal number ends at a non-digit and
      // is kept to 8 bits. Fewer than three characters end the unescaping.
      {"\\101\\1x9 \\777end t o\n", "A\001|\377end|t|o\n"},
      {"s /a\\0401\\1341 t o\n", "s|/a 1/1|t|o\n"},
      {"a\\04 b\\1\\040 t o\n", "a\\04|b\001" "40|t|o\n"},
      {"  t \n", "||t|\n"},  // empty fields; fewer than three blanks end the table
      {"s t type\n", ""},
  };
  for (const auto& l : lines) {
    EXPECT_EQ(*l.second ? std::vector<std::string>{l.second} : std::vector<std::string>{}, read_all(sandbox, l.first));
  }
  // The tail of an overlong line with three blanks or more reads as a line of its own.
  EXPECT_EQ((std::vector<std::string>{"src|/t1|ext3|" + std::string(498, 'o'), "oo|x|y|z w\n", "a|/t2|b|c\n"}),
            read_all(sandbox, "src /t1 ext3 " + std::string(500, 'o') + " x y z w\na /t2 b c\n"));

  // Finding by source and target, and option values.
  read_all(sandbox, test::mount_table("box.txt"));
  mount_entry e;
  EXPECT_TRUE(mount_find_by_target("/tmp/mnt/smb/2 (winbox)", &e) && e.source == std::string("//WINBOX/Public Share"));
  EXPECT_TRUE(mount_find_by_source("/dev/sdd1", &e) && e.target == std::string("/tmp/mnt/storage/usb11"));
  EXPECT_TRUE(mount_find_by_target("/", &e) && e.source == std::string("rootfs"));  // the first of two
  EXPECT_FALSE(mount_find_by_target("/tmp/mnt/storage/usb", &e) || mount_find_by_source("/dev/sdb", &e));

  ASSERT_TRUE(mount_find_by_target("/tmp/mnt/nfs/0", &e));
  std::pair<const char*, const char*> options[] = {
      {"vers", "3"}, {"proto", "tcp"}, {"mountproto", "udp"}, {"mountaddr", "192.168.1.20"},
      {"hard", ""},  {"ver", ""},      {"", ""},
      {"addr", "192.168.1.20 0 0\n"}};  // the last option runs to the end of the line
  for (const auto& o : options) EXPECT_EQ(o.second, test::seg_text(mount_get_option_value(&e, o.first))) << o.first;

  // Without a table nothing is found, after perror's line.
  unlink(sandbox.path("/proc/mounts").c_str());
  std::string err = test::captured_stderr([&] { EXPECT_FALSE(mount_find_by_source("rootfs", &e)); });
  EXPECT_EQ("fopen /proc/mounts: No such file or directory\n", err);
  EXPECT_DEATH(mount_utils_close_mounts(nullptr),
               test::assertion_report("player/src/util/mt/mount_utils", 0, "mount_utils_close_mounts", "mount_fp"));
}
