// The storage list that the storage daemon publishes: what is listed, what is skipped, and
// every way loading fails.
#include "test_support.hpp"

namespace {

class StorageInfo : public test::SandboxTest {
 protected:
  void SetUp() override {
    xml_document_initialize();
    test::make_dirs(sandbox.path("/tmp/run"));
  }
  // Loads the list from the file `xml` (none for null); its storages as "id|name|uuid|path"
  // lines, and the log.
  int load(const char* xml, std::string* listed, std::string* log) {
    if (xml) test::write_file(path(), xml);
    storage_info_list* list = storage_info_list_create();
    int result = 0;
    *log = test::log_messages(test::captured_stderr([&] { result = storage_info_list_load(list); }));
    listed->clear();
    for (int i = 0; i < list->num_items; ++i) {
      const storage_info* s = list->items[i];
      *listed += std::string(s->id) + "|" + s->name + "|" + (s->uuid ? s->uuid : "-") + "|" +
                 (s->mount_path ? s->mount_path : "-") + "\n";
    }
    storage_info_list_free(list);
    return result;
  }
  std::string path() const { return sandbox.path("/tmp/run/storage_list.xml"); }
};

const char kList[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<storage_list>
  <storages>
    <storage><id>sda1</id><name>Disk &amp; more</name><uuid>4A2F-11C0</uuid>
      <mount_path>/tmp/mnt/storage/sda1</mount_path><is_persistfs_capable>0</is_persistfs_capable></storage>
    <storage><id>sda2</id><name>persist</name><is_persistfs_capable>1</is_persistfs_capable></storage>
    <storage><id>sdb1</id><name>USB</name><uuid>   </uuid><mount_path></mount_path></storage>
    <disk><id>sdc</id><name>whole disk</name></disk>
    <storage><name>no id</name></storage>
    <storage><id>sdd1</id><uuid>no-name</uuid></storage>
    <storage><id>sde1</id><name>x</name><is_persistfs_capable>-1</is_persistfs_capable></storage>
    <storage><id>sdf1</id><name>USB</name><mount_path> /tmp/mnt/storage/sdf1 </mount_path></storage>
  </storages>
  <storages><storage><id>later</id><name>second list</name></storage></storages>
</storage_list>
)";

}  // namespace

TEST_F(StorageInfo, ListsStoragesOfTheFirstStoragesElementWithTheirSkippingRules) {
  std::string listed, log;
  EXPECT_EQ(1, load(kList, &listed, &log));
  // A persistfs-capable storage (any non-zero value) and one without id or name are not
  // listed; blank texts count as absent, other texts are kept as they stand.
  EXPECT_EQ("sda1|Disk & more|4A2F-11C0|/tmp/mnt/storage/sda1\nsdb1|USB|-|-\nsdf1|USB|-| /tmp/mnt/storage/sdf1 \n",
            listed);
  EXPECT_EQ("", log);

  // Appends to what the list holds; finds the first of equal names, exactly.
  storage_info_list* list = storage_info_list_create();
  storage_info_list_add(list, storage_info_create("x", "USB", nullptr, nullptr));
  ASSERT_EQ(1, storage_info_list_load(list));
  ASSERT_EQ(4, list->num_items);
  EXPECT_EQ(list->items[0], storage_info_list_find_by_name(list, "USB"));
  EXPECT_EQ(list->items[1], storage_info_list_find_by_name(list, "Disk & more"));
  for (const char* other : {"usb", "US", ""}) EXPECT_EQ(nullptr, storage_info_list_find_by_name(list, other));
  storage_info_list_free(list);
  storage_info_free(nullptr);

  test::expect_tool({{"storage list", 0, "USB  id=sdb1 uuid=- mount_path=-\nUSB  id=sdf1 uuid=- mount_path= /tmp"},
                     {"storage list extra", 2, ""},
                     {"storage", 2, ""}});
  unlink(path().c_str());
  test::expect_tool({{"storage list", 1, "vonautil storage: no valid storage list in " + path() + "\n", true}});
}

TEST_F(StorageInfo, FailuresAreLoggedOnceAndAMissingFileIsSilent) {
  const std::string head = "<storage_list><storages><storage><id>a</id><name>b</name></storage></storages><!--";
  std::string padded = head + std::string(STORAGE_LIST_MAX_FILE_SIZE - head.size() - 18, 'x') + "--></storage_list>";
  struct Row {
    std::string xml;
    int result;
    const char *listed, *message;  // the storages; the one log line
  } rows[] = {
      {"<storage_list/>", 1, "", ""},
      {"<storage_list><storage><id>a</id><name>b</name></storage></storage_list>", 1, "", ""},
      {padded, 1, "a|b|-|-\n", ""},  // the longest file read whole, and one byte more
      {head + "x" + padded.substr(head.size()), 0, "", "[storage_info] Parse error: id="},
      {" \n\t", 0, "", "[storage_info] Error: failed to create XML document\n"},
      {"<?xml version=\"1.0\"?>\n<!-- x -->\n", 0, "", "[storage_info] Error: failed to get root XML element\n"},
      {"<storages><storage><id>a</id><name>b</name></storage></storages>", 0, "",
       "[storage_info] Error: invalid root element\n"},
      {"<Storage_list/>", 0, "", "[storage_info] Error: invalid root element\n"},
      {"<storage_list>\n  <storages>\n</storage_list>", 0, "",
       "[storage_info] Parse error: id=8, row=3, col=1, descr: Error"},
  };
  std::string listed, log;
  EXPECT_EQ(0, load(nullptr, &listed, &log));
  EXPECT_EQ("", listed + log);
  for (const Row& row : rows) {
    EXPECT_EQ(row.result, load(row.xml.c_str(), &listed, &log)) << row.xml.substr(0, 80);
    EXPECT_EQ(row.listed, listed) << row.xml.substr(0, 80);
    EXPECT_EQ(0u, log.find(row.message)) << log;
    EXPECT_EQ(row.message[0] ? 1 : 0, std::count(log.begin(), log.end(), '\n')) << log;
  }
  // A file that cannot be read.
  unlink(path().c_str());
  test::make_dirs(path());
  EXPECT_EQ(0, load(nullptr, &listed, &log));
  EXPECT_EQ("[storage_info] Error: failed to read " + path() + ": Is a directory\n", log);
}

TEST(StorageInfoDeathTest, MissingTextsAreProgrammingErrors) {
  const std::string module = "player/src/util/mt/storage_info";
  EXPECT_DEATH(storage_info_create(nullptr, "n", "u", "m"), test::assertion_report(module, 0, "storage_info_create", "id"));
  EXPECT_DEATH(storage_info_create("i", nullptr, "u", "m"), test::assertion_report(module, 0, "storage_info_create", "name"));
  storage_info_list* list = storage_info_list_create();
  EXPECT_DEATH(storage_info_list_find_by_name(list, nullptr),
               test::assertion_report(module, 0, "storage_info_list_find_by_name", "name"));
  storage_info_list_free(list);
}
