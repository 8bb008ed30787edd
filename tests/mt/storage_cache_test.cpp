// The storage cache: lookups by name, UUID and label, and its round trip through
// storages.txt.
#include "test_support.hpp"

namespace {

std::string by_name(const char* name) { return test::take_string(storage_cache_get_mount_path_by_name(name)); }
std::string by_uuid(const char* uuid) { return test::take_string(storage_cache_get_mount_path_by_uuid(uuid)); }
std::string by_label(const char* label) { return test::take_string(storage_cache_get_mount_path_by_label(label)); }

}  // namespace

TEST(StorageCache, LookupsAndTheRoundTripThroughTheFileOfCompleteGroupsOfLines) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/tmp/run"));
  storage_cache_reset();
  storage_cache_add_storage("/tmp/mnt/storage/usb1", "USB disk", "0119-F18B", "KINGSTON");
  storage_cache_add_storage("/tmp/mnt/storage/sda1", "Disk", nullptr, "MOVIES");
  storage_cache_add_storage("/tmp/mnt/storage/SD Card", "SD", "", nullptr);
  storage_cache_add_storage("/tmp/mnt/storage/sdc1", "", "EMPTY-NAME", "X");
  storage_cache_add_storage("/tmp/mnt/storage/sdd1", nullptr, "NULL-NAME", "Y");
  storage_cache_save();
  EXPECT_EQ("/tmp/mnt/storage/SD Card\nSD\n\n\n/tmp/mnt/storage/sda1\nDisk\n\nMOVIES\n"
            "/tmp/mnt/storage/usb1\nUSB disk\n0119-F18B\nKINGSTON\n",
            test::read_file(sandbox.path("/tmp/run/storages.txt")));
  // Loading replaces what the cache holds; empty lines come back as empty texts, not as absent
  // ones: the last storage with an empty UUID or label owns the empty key.
  for (bool loaded : {false, true}) {
    if (loaded) {
      storage_cache_reset();
      storage_cache_add_storage("/tmp/mnt/other", "Other", nullptr, nullptr);
      storage_cache_load();
    }
    struct Row {
      std::string (*lookup)(const char*);
      const char *key, *expected;
    } rows[] = {
        {by_name, "Disk", "/tmp/mnt/storage/sda1"}, {by_uuid, "0119-F18B", "/tmp/mnt/storage/usb1"},
        {by_label, "MOVIES", "/tmp/mnt/storage/sda1"}, {by_name, "SD", "/tmp/mnt/storage/SD Card"},
        {by_name, "disk", "(null)"}, {by_uuid, "EMPTY-NAME", "(null)"}, {by_label, "Y", "(null)"},
        {by_name, "", "(null)"}, {by_label, nullptr, "(null)"}, {by_name, "Other", "(null)"},
        {by_uuid, "", loaded ? "/tmp/mnt/storage/sda1" : "/tmp/mnt/storage/SD Card"},
        {by_label, "", loaded ? "/tmp/mnt/storage/SD Card" : "(null)"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.expected, row.lookup(row.key)) << (row.key ? row.key : "null");
  }
  // A later storage replaces an earlier one under the same key.
  storage_cache_add_storage("/tmp/mnt/storage/sde1", "Disk", nullptr, "MOVIES");
  storage_cache_add_storage("/tmp/mnt/storage/sda1", "Renamed", nullptr, nullptr);
  EXPECT_EQ("/tmp/mnt/storage/sde1 /tmp/mnt/storage/sde1 /tmp/mnt/storage/sda1",
            by_name("Disk") + " " + by_label("MOVIES") + " " + by_name("Renamed"));

  // Loading takes complete groups of four stripped lines.
  std::string path = sandbox.path("/tmp/run/storages.txt"), long_path = "/m/" + std::string(1020, 'p');
  struct Load {
    std::string file;  // "-": no file
    const char* name;
    std::string expected;
  } loads[] = {
      {"/m/a\nA\nu\nl\n/m/b\nB\nv\n", "A", "/m/a"}, {"/m/a\nA\nu\nl\n/m/b\nB\nv\n", "B", "(null)"},
      {"/m/a\nA\nu\nl", "A", "/m/a"},  // the last line needs no newline
      {"  /m/a \t\n\tA b  \r\nu\nl\n", "A b", "/m/a"},
      {"\n\n\n\n/m/b\nB\n\n\n", "B", "/m/b"},  // a group without mount path is skipped, not the reading
      {"/m/a\n \nu\nl\n", "", "(null)"}, {"\nA\nu\nl\n", "A", "(null)"}, {"-", "A", "(null)"},
      // Lines longer than 1023 characters are read in parts, which shifts the groups.
      {long_path + "\nA\nu\nl\n/m/c\nC\n\n\n", "/m/c", "l"},
      {long_path.substr(1) + "\nA\nu\nl\n", "A", long_path.substr(1)},
  };
  for (const Load& row : loads) {
    unlink(path.c_str());
    if (row.file != "-") test::write_file(path, row.file);
    storage_cache_add_storage("/m/stale", "A", nullptr, nullptr);
    storage_cache_load();
    EXPECT_EQ(row.expected, by_name(row.name)) << row.file << " / " << row.name;
  }
}

// One lookup stands for the three: each checks that the cache was reset.
TEST(StorageCacheDeathTest, LookupBeforeResetAndEmptyMountPathAreProgrammingErrors) {
  auto report = [](const std::string& function, const std::string& expression) {
    return test::assertion_report("player/src/util/mt/storage_cache", 0, "storage_cache_" + function, expression);
  };
  EXPECT_DEATH(by_label("a"), report("get_mount_path_by_label", "storage_mount_path_by_label"));
  storage_cache_reset();
  EXPECT_DEATH(storage_cache_add_storage(nullptr, "n", nullptr, nullptr), report("add_storage", "mount_path"));
  EXPECT_DEATH(storage_cache_add_storage("", "n", nullptr, nullptr), report("add_storage", "mount_path[0]"));
}
