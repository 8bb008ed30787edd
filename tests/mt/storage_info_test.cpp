// The storage list that the storage daemon publishes: what is listed, what is skipped, and
// every way loading fails.
#include "test_support.hpp"

namespace {

// Loads the list from the file `xml` (none for null) after what `list` holds: the result, then
// the storages as "id|name|uuid|path" lines and the log.
std::string load(const test::Sandbox& sandbox, const char* xml, storage_info_list* list = nullptr) {
  xml_document_initialize();
  test::make_dirs(sandbox.path("/tmp/run"));
  if (xml) test::write_file(sandbox.path("/tmp/run/storage_list.xml"), xml);
  storage_info_list* own = list ? list : storage_info_list_create();
  int result = 0;
  std::string log = test::log_messages(test::captured_stderr([&] { result = storage_info_list_load(own); }));
  std::string text = std::to_string(result) + "\n";
  for (int i = 0; i < own->num_items; ++i) {
    const storage_info* s = own->items[i];
    text += std::string(s->id) + "|" + s->name + "|" + (s->uuid ? s->uuid : "-") + "|" +
            (s->mount_path ? s->mount_path : "-") + "\n";
  }
  if (!list) storage_info_list_free(own);
  return text + log;
}

}  // namespace

TEST(StorageInfo, ListsStoragesOfTheFirstStoragesElementAndLogsEachFailureOnce) {
  test::Sandbox sandbox;
  EXPECT_EQ("0\n", load(sandbox, nullptr));  // a missing file is silent
  storage_info_list* list = storage_info_list_create();
  storage_info_list_add(list, storage_info_create("x", "USB", nullptr, nullptr));
  // A persistfs-capable storage and one without id or name are not listed; blank texts count
  // as absent.
  EXPECT_EQ("1\nx|USB|-|-\nsda1|Disk & more|4A2F-11C0|/tmp/mnt/storage/sda1\nsdb1|USB|-|-\n",
            load(sandbox, R"(<?xml version="1.0" encoding="UTF-8"?>
<storage_list>
  <storages>
    <storage><id>sda1</id><name>Disk &amp; more</name><uuid>4A2F-11C0</uuid>
      <mount_path>/tmp/mnt/storage/sda1</mount_path><is_persistfs_capable>0</is_persistfs_capable></storage>
    <storage><id>sda2</id><name>persist</name><is_persistfs_capable>1</is_persistfs_capable></storage>
    <storage><id>sdb1</id><name>USB</name><uuid>   </uuid><mount_path></mount_path></storage>
    <disk><id>sdc</id><name>whole disk</name></disk>
    <storage><name>no id</name></storage><storage><id>sdd1</id><uuid>no-name</uuid></storage>
  </storages>
  <storages><storage><id>later</id><name>second list</name></storage></storages>
</storage_list>)", list));
  // The first of equal names, exactly.
  EXPECT_EQ(list->items[0], storage_info_list_find_by_name(list, "USB"));
  EXPECT_EQ(list->items[1], storage_info_list_find_by_name(list, "Disk & more"));
  for (const char* other : {"usb", "US", ""}) EXPECT_EQ(nullptr, storage_info_list_find_by_name(list, other));
  storage_info_list_free(list);
  storage_info_free(nullptr);
  test::expect_tool({{"storage list", 0,
                      "Disk & more  id=sda1 uuid=4A2F-11C0 mount_path=/tmp/mnt/storage/sda1\n"
                      "USB  id=sdb1 uuid=- mount_path=-\n", true},
                     {"storage list extra", 2, ""}});

  // Failures are logged once.
  const std::string head = "<storage_list><storages><storage><id>a</id><name>b</name></storage></storages><!--";
  std::string longest = head + std::string(STORAGE_LIST_MAX_FILE_SIZE - head.size() - 18, 'x') + "--></storage_list>";
  const std::string error = "0\n[storage_info] Error: ", parse_error = "0\n[storage_info] Parse error: id=8, row=";
  std::pair<std::string, std::string> rows[] = {  // a file, and the result, storages and log
      {"<storage_list><storage><id>a</id><name>b</name></storage></storage_list>", "1\n"},
      {longest, "1\na|b|-|-\n"},  // read whole, and with one byte more, cut
      {head + "x" + longest.substr(head.size()), parse_error + "0, col=0, descr: Error reading end tag.\n"},
      {" \n\t", error + "failed to create XML document\n"},
      {"<?xml version=\"1.0\"?>\n<!-- x -->\n", error + "failed to get root XML element\n"},
      {"<storages><storage><id>a</id><name>b</name></storage></storages>", error + "invalid root element\n"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.second, load(sandbox, row.first.c_str())) << row.first.substr(0, 80);
  // A file that cannot be read.
  std::string path = sandbox.path("/tmp/run/storage_list.xml");
  unlink(path.c_str());
  test::make_dirs(path);
  EXPECT_EQ(error + "failed to read " + path + ": Is a directory\n", load(sandbox, nullptr));
  test::expect_tool({{"storage list", 1, "vonautil storage: no valid storage list in " + path + "\n"}});
}

TEST(StorageInfoDeathTest, MissingTextsAreProgrammingErrors) {
  auto report = [](const char* function, const char* expression) {
    return test::assertion_report("player/src/util/mt/storage_info", 0, function, expression);
  };
  EXPECT_DEATH(storage_info_create(nullptr, "n", "u", "m"), report("storage_info_create", "id"));
  EXPECT_DEATH(storage_info_create("i", nullptr, "u", "m"), report("storage_info_create", "name"));
  EXPECT_DEATH(storage_info_list_find_by_name(nullptr, nullptr), report("storage_info_list_find_by_name", "name"));
}
