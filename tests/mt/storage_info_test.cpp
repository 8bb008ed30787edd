// The storage list that the storage daemon publishes: what is listed, what is skipped, and
// every way loading fails.
#include "test_support.hpp"

namespace {

// The messages of log lines "[PID] [tTID] [TIME] MESSAGE".
std::vector<std::string> log_messages(const std::string& log) {
  std::vector<std::string> out;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    size_t at = 0;
    for (int i = 0; i < 3 && at != std::string::npos; ++i) at = line.find("] ", at) + 2;
    out.push_back(line.substr(at));
  }
  return out;
}

std::string describe(const storage_info_list* list) {
  std::string text;
  for (int i = 0; i < list->num_items; ++i) {
    const storage_info* s = list->items[i];
    text += std::string(s->id) + "|" + s->name + "|" + (s->uuid ? s->uuid : "(null)") + "|" +
            (s->mount_path ? s->mount_path : "(null)") + "\n";
  }
  return text;
}

class StorageInfo : public test::SandboxTest {
 protected:
  void SetUp() override {
    xml_document_initialize();
    test::make_dirs(sandbox.path("/tmp/run"));
  }
  // Loads the list with `xml` as the file (none for null): the result, the list and the log.
  int load(const char* xml, std::string* listed, std::vector<std::string>* log) {
    if (xml) test::write_file(path(), xml);
    storage_info_list* list = storage_info_list_create();
    int result = 0;
    *log = log_messages(test::captured_stderr([&] { result = storage_info_list_load(list); }));
    *listed = describe(list);
    storage_info_list_free(list);
    return result;
  }
  std::string path() const { return sandbox.path("/tmp/run/storage_list.xml"); }
};

const char kList[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<storage_list>
  <version>2</version>
  <storages>
    <storage><id>sda1</id><name>Disk &amp; more</name><uuid>4A2F-11C0</uuid><mount_path>/tmp/mnt/storage/sda1</mount_path>
      <is_persistfs_capable>0</is_persistfs_capable></storage>
    <storage><id>sda2</id><name>persist</name><mount_path>/tmp/mnt/storage/sda2</mount_path>
      <is_persistfs_capable>1</is_persistfs_capable></storage>
    <storage><id>sdb1</id><name>USB</name><uuid>   </uuid><mount_path></mount_path></storage>
    <disk><id>sdc</id><name>whole disk</name></disk>
    <storage><name>no id</name></storage>
    <storage><id>sdd1</id><uuid>no-name</uuid></storage>
    <storage><id>sde1</id><name>  spaced  </name><uuid>
    </uuid><is_persistfs_capable>-1</is_persistfs_capable></storage>
    <storage><id>sdf1</id><name>USB</name><mount_path> /tmp/mnt/storage/sdf1 </mount_path></storage>
  </storages>
  <storages><storage><id>later</id><name>second list</name></storage></storages>
</storage_list>
)";

}  // namespace

TEST_F(StorageInfo, ListsStoragesOfTheFirstStoragesElementWithTheirSkippingRules) {
  std::string listed;
  std::vector<std::string> log;
  EXPECT_EQ(1, load(kList, &listed, &log));
  // A persistfs-capable storage (any non-zero value) and one without id or name are not
  // listed; blank texts count as absent, other texts are kept as they stand.
  EXPECT_EQ(
      "sda1|Disk & more|4A2F-11C0|/tmp/mnt/storage/sda1\n"
      "sdb1|USB|(null)|(null)\n"
      "sdf1|USB|(null)| /tmp/mnt/storage/sdf1 \n",
      listed);
  EXPECT_TRUE(log.empty());

  // Appends to what the list holds; finds the first of equal names, exactly.
  storage_info_list* list = storage_info_list_create();
  storage_info_list_add(list, storage_info_create("x", "USB", nullptr, nullptr));
  ASSERT_EQ(1, storage_info_list_load(list));
  ASSERT_EQ(4, list->num_items);
  EXPECT_EQ(list->items[0], storage_info_list_find_by_name(list, "USB"));
  EXPECT_EQ(list->items[1], storage_info_list_find_by_name(list, "Disk & more"));
  EXPECT_EQ(nullptr, storage_info_list_find_by_name(list, "usb"));
  EXPECT_EQ(nullptr, storage_info_list_find_by_name(list, "US"));
  EXPECT_EQ(nullptr, storage_info_list_find_by_name(list, ""));
  storage_info_list_free(list);
  storage_info_free(nullptr);
}

TEST_F(StorageInfo, FailuresAreLoggedOnceAndAMissingFileIsSilent) {
  struct Row {
    const char* xml;  // null: no file
    int result;
    const char* listed;
    const char* message;  // the one log line, or null
  } rows[] = {
      {nullptr, 0, "", nullptr},
      {"<storage_list/>", 1, "", nullptr},
      {"<storage_list><storages/></storage_list>", 1, "", nullptr},
      {"<storage_list><storage><id>a</id><name>b</name></storage></storage_list>", 1, "", nullptr},
      {"", 0, "", "[storage_info] Error: failed to create XML document"},
      {" \n\t", 0, "", "[storage_info] Error: failed to create XML document"},
      {"<storages><storage><id>a</id><name>b</name></storage></storages>", 0, "",
       "[storage_info] Error: invalid root element"},
      {"<Storage_list/>", 0, "", "[storage_info] Error: invalid root element"},
      {"<storage_list>\n  <storages>\n</storage_list>", 0, "", "[storage_info] Parse error: id=8, row=3, col=1, descr: Error"},
  };
  for (const Row& row : rows) {
    unlink(path().c_str());
    std::string listed;
    std::vector<std::string> log;
    EXPECT_EQ(row.result, load(row.xml, &listed, &log)) << (row.xml ? row.xml : "no file");
    EXPECT_EQ(row.listed, listed);
    if (row.message == nullptr) {
      EXPECT_TRUE(log.empty()) << (row.xml ? row.xml : "no file");
    } else {
      ASSERT_EQ(1u, log.size()) << row.xml;
      EXPECT_EQ(row.message, log[0].substr(0, strlen(row.message))) << row.xml;
    }
  }
  // A document without a root element.
  std::string listed;
  std::vector<std::string> log;
  unlink(path().c_str());
  EXPECT_EQ(0, load("<?xml version=\"1.0\"?>\n<!-- nothing -->\n", &listed, &log));
  EXPECT_EQ(std::vector<std::string>{"[storage_info] Error: failed to get root XML element"}, log);
  // A file that cannot be read.
  unlink(path().c_str());
  test::make_dirs(path());
  EXPECT_EQ(0, load(nullptr, &listed, &log));
  EXPECT_EQ(std::vector<std::string>{"[storage_info] Error: failed to read " + path() + ": Is a directory"}, log);
}

TEST_F(StorageInfo, ReadsTheFirst131072BytesOnly) {
  const std::string head = "<storage_list><storages><storage><id>a</id><name>b</name></storage></storages><!--";
  const std::string tail = "--></storage_list>";
  for (size_t size : {(size_t)STORAGE_LIST_MAX_FILE_SIZE, (size_t)STORAGE_LIST_MAX_FILE_SIZE + 1}) {
    std::string xml = head + std::string(size - head.size() - tail.size(), 'x') + tail;
    std::string listed;
    std::vector<std::string> log;
    EXPECT_EQ(size == STORAGE_LIST_MAX_FILE_SIZE, load(xml.c_str(), &listed, &log)) << size;
    EXPECT_EQ(size == STORAGE_LIST_MAX_FILE_SIZE ? "a|b|(null)|(null)\n" : "", listed);
  }
}

TEST_F(StorageInfo, ToolListsThePublishedStorages) {
  test::write_file(path(), kList);
  std::string out;
  EXPECT_EQ(0, test::run_tool("storage list", &out));
  EXPECT_EQ(
      "Disk & more  id=sda1 uuid=4A2F-11C0 mount_path=/tmp/mnt/storage/sda1\n"
      "USB  id=sdb1 uuid=- mount_path=-\n"
      "USB  id=sdf1 uuid=- mount_path= /tmp/mnt/storage/sdf1 \n",
      out);
  EXPECT_EQ(2, test::run_tool("storage list extra", &out));
  EXPECT_EQ(2, test::run_tool("storage", &out));
  unlink(path().c_str());
  EXPECT_EQ(1, test::run_tool("storage list", &out, true));
  EXPECT_EQ("vonautil storage: no valid storage list in " + path() + "\n", out);
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
