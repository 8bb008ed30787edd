#include <thread>

#include "test_support.hpp"

namespace {

const bool initialized = (xml_document_initialize(), true);

class NetworkMountFile : public test::SandboxTest {
 protected:
  void TearDown() override { network_mount_list_free(list); }
  std::string path() const { return sandbox.path("/mounts.xml"); }
  // Loads the file into `list`, cleared first, with the log messages in `log`; the result.
  int load() {
    int result = 0;
    network_mount_list_clear(list);
    log = test::log_messages(
        test::captured_stderr([&] { result = network_mount_list_load_from_file(list, &max_id, path().c_str()); }));
    return result;
  }

  network_mount_list* list = network_mount_list_create();
  long long max_id = -5;
  std::string log;
};

// An SMB mount without an address or locks, an NFS mount with both: every optional line. Read and saved again, the
// file comes out the same, so every field was read back as written.
TEST_F(NetworkMountFile, IsWrittenInTheDocumentedLayoutAndReadBackEqual) {
  const std::string text =
      "<network_mounts>\n  <max_mount_id value=\"9\"/>\n  <mount\n    id=\"3\"\n    path=\"/tmp/mnt/network/3\"\n"
      "    type=\"smb\"\n    server=\"nas\"\n    dir=\"music\"\n    user_name=\"guest\"\n    password=\"pa<ss>\"\n"
      "    status=\"mounted\"\n    mount_tm=\"1700000000\"\n  >\n  </mount>\n  <mount\n    id=\"4\"\n    path=\"/n\"\n"
      "    type=\"nfs\"\n    server=\"Files\"\n    dir=\"/export\"\n    proto=\"udp\"\n    server_ipaddr=\"fe80::1\"\n"
      "    status=\"mounting\"\n    mount_tm=\"1700000001\"\n  >\n    <locks>\n      <lock owner=\"shell\"/>\n"
      "      <lock owner=\"player\"/>\n    </locks>\n  </mount>\n</network_mounts>\n";
  test::write_file(path(), text);
  ASSERT_EQ(1, load());
  EXPECT_EQ("", log);
  EXPECT_EQ(9, max_id);
  ASSERT_EQ(2, list->num_items);
  ASSERT_EQ(0, network_mount_list_save_to_file(list, path().c_str(), max_id));
  EXPECT_EQ(text, test::read_file(path()));
  EXPECT_NE(0, access((path() + ".tmp").c_str(), F_OK));

  // Values are written as they are: a double quote breaks the file for every reader.
  free(list->items[0]->dir);
  list->items[0]->dir = strdup("mu\"sic");
  ASSERT_EQ(0, network_mount_list_save_to_file(list, path().c_str(), 9));
  EXPECT_EQ(0, load());
  EXPECT_EQ(0u, log.find("[network_mounts] Parse error: id=")) << log;
  ASSERT_EQ(0, network_mount_list_save_to_file(nullptr, path().c_str(), 0));
  EXPECT_EQ("<network_mounts>\n  <max_mount_id value=\"0\"/>\n</network_mounts>\n", test::read_file(path()));

  // A failed save leaves no temporary file, also when a directory is in the way of the rename.
  std::string missing = sandbox.path("/no/such/dir/mounts.xml");
  log = test::log_messages(test::captured_stderr(
      [&] { EXPECT_EQ(-1, network_mount_list_save_to_file(list, missing.c_str(), 1)); }));
  EXPECT_EQ("Error: failed to open_write(" + missing + ".tmp): No such file or directory\n", log);
  std::string dir = sandbox.path("/taken");
  test::make_dirs(dir + "/inside");
  log = test::captured_stderr([&] { EXPECT_EQ(-1, network_mount_list_save_to_file(list, dir.c_str(), 1)); });
  EXPECT_CONTAINS(log, "] Error: failed to rename(" + dir + ".tmp, " + dir + "): ");
  EXPECT_NE(0, access((dir + ".tmp").c_str(), F_OK));
}

// The start of a mount element with one attribute changed from a good one of `type` (a null value leaves the
// attribute out); the caller closes it.
std::string mount_element(const char* type, const std::string& attribute, const char* value) {
  const char* names[] = {"id", "path", "type", "server", "dir", "user_name", "password", "proto", "status"};
  const char* values[] = {"2", "/p", type, "s", "d", "", "", "udp", "error"};
  std::string text = "<mount";
  for (int i = 0; i < 9; ++i) {
    const char* v = attribute == names[i] ? value : values[i];
    if (v != nullptr) text += std::string(" ") + names[i] + "=\"" + v + "\"";
  }
  return text;
}

TEST_F(NetworkMountFile, SkipsDamagedMountsWithTheirMessages) {
  struct Case {
    const char *type, *attribute, *value;
    const char* message;  // null: the mount loads
  } cases[] = {
      {"smb", "id", nullptr, "invalid or missing mount id: '(null)'"},
      {"smb", "id", "7x", "invalid or missing mount id: '7x'"},
      {"nfs", "id", " -7", nullptr},
      {"smb", "type", nullptr, "invalid or missing mount type: '(null)'"},
      {"smb", "type", "sm", "invalid or missing mount type: 'sm'"},
      {"smb", "path", nullptr, "empty or missing mount path: '(null)'"},
      {"nfs", "server", "", "empty or missing mount server: ''"},
      {"nfs", "dir", nullptr, "empty or missing mount dir: '(null)'"},
      {"smb", "user_name", nullptr, "missing smb mount user_name"},
      {"smb", "password", nullptr, "missing smb mount password"},
      {"nfs", "proto", nullptr, "invalid or missing nfs mount proto: '(null)'"},
      {"nfs", "proto", "TCP", "invalid or missing nfs mount proto: 'TCP'"},
      {"smb", "status", nullptr, "invalid or missing mount status: '(null)'"},
      {"nfs", "status", "Mounted", "invalid or missing mount status: 'Mounted'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.type) + " " + c.attribute);
    // The damaged mount between two good ones, which still load.
    test::write_file(path(), "<network_mounts>" + mount_element("nfs", "id", "10") + "/>" +
                                 mount_element(c.type, c.attribute, c.value) + "/><other/>" +
                                 mount_element("smb", "id", "11") + "/></network_mounts>");
    ASSERT_EQ(1, load());
    EXPECT_EQ(0, max_id);
    EXPECT_EQ(c.message ? "[network_mounts] Error: " + std::string(c.message) + "\n" : "", log);
    ASSERT_EQ(c.message ? 2 : 3, list->num_items);
    EXPECT_TRUE(list->items[0]->id == 10 && list->items[list->num_items - 1]->id == 11);
  }
  // Optional parts: a mount without mount_tm keeps its creation time; a lock without owner is dropped with its
  // message; the locks of several "locks" elements add up.
  time_t before = time(nullptr);
  test::write_file(path(), "<network_mounts>" + mount_element("nfs", "status", "mounted") +
                               "><locks><lock owner=\"a\"/><lock/><lock owner=\"\"/></locks>"
                               "<locks><lock owner=\"b\"/></locks></mount><max_mount_id value=\"12\"/>"
                               "</network_mounts>");
  ASSERT_EQ(1, load());
  EXPECT_EQ(12, max_id);
  ASSERT_EQ(1, list->num_items);
  const network_mount* m = list->items[0];
  EXPECT_TRUE(m->mount_tm >= before && m->mount_tm <= time(nullptr));
  EXPECT_EQ("a,b", test::take_string(string_array_join(m->locks, ",", 0, -1)));
  EXPECT_EQ("[network_mounts] Error: lock owner is empty or missing\n"
            "[network_mounts] Error: lock owner is empty or missing\n",
            log);
}

TEST_F(NetworkMountFile, FailsOnFilesThatAreNotAList) {
  struct Case {
    const char* text;  // null: no file
    std::string message;
  } cases[] = {
      {nullptr, "Error: failed to read " + path() + ": No such file or directory"},
      {"", "Error: failed to create XML document"},
      {"<network_mounts>\n  <mount id=\"1\"\n</network_mounts>\n",
       "Parse error: id=6, row=3, col=1, descr: Error reading Attributes."},
      {"<!-- nothing -->", "Error: failed to get root XML element"},
      {"<storages><mount/></storages>", "Error: invalid root element"},
  };
  for (const Case& c : cases) {
    unlink(path().c_str());
    if (c.text != nullptr) test::write_file(path(), c.text);
    max_id = 5;
    EXPECT_EQ(0, load());
    EXPECT_EQ(0, max_id);
    EXPECT_EQ(0, list->num_items);
    EXPECT_EQ("[network_mounts] " + c.message + "\n", log);
  }
  // Only the first 64 KiB are read: a list that is longer is cut, which breaks it.
  std::string mount = mount_element("nfs", "", "") + "/>\n";
  std::string big = "<network_mounts>\n";
  while (big.size() + mount.size() + 18 <= NETWORK_MOUNT_LIST_MAX_SIZE) big += mount;
  big.resize(NETWORK_MOUNT_LIST_MAX_SIZE - 18, ' ');
  test::write_file(path(), big + "</network_mounts>\n");
  EXPECT_EQ(1, load());
  test::write_file(path(), big + "  </network_mounts>");  // one byte more: the last ">" is cut
  EXPECT_EQ(0, load());
}

TEST_F(NetworkMountFile, RecordsLocksAndLookups) {
  const char* texts[] = {"path", "server", "dir"};
  for (int missing = 0; missing < 3; ++missing) {
    const char* t[3] = {"/p", "s", "d"};
    t[missing] = nullptr;
    EXPECT_DEATH(network_mount_create(1, t[0], 0, t[1], t[2], nullptr, nullptr, -1, nullptr),
                 test::assertion_report("player/src/util/mt/network_mount", 0, "network_mount_create", texts[missing]));
  }
  // Owners: null always holds one; without locks, nobody else; the last unlock frees the array.
  auto* m = network_mount_create(5, "/p", NETWORK_FOLDER_TYPE_NFS, "srv", "/x", nullptr, nullptr, 0, "1.2.3.4");
  EXPECT_TRUE(network_mount_has_owner(m, nullptr) && !network_mount_has_owner(m, "shell"));
  EXPECT_TRUE(network_mount_add_lock(m, "shell") && !network_mount_add_lock(m, "shell"));
  EXPECT_TRUE(network_mount_add_lock(m, "player") && network_mount_get_num_locks(m) == 2);
  EXPECT_TRUE(network_mount_has_owner(m, "player") && !network_mount_has_owner(m, "Player"));
  EXPECT_FALSE(network_mount_remove_lock(m, "nobody") || network_mount_remove_lock(m, nullptr));
  EXPECT_TRUE(network_mount_remove_lock(m, "shell") && network_mount_remove_lock(m, "player"));
  EXPECT_TRUE(m->locks == nullptr && !network_mount_remove_lock(m, "player"));

  // By source: type and dir, and the server or its address.
  network_mount_list_add(list, network_mount_create(1, "/a", 0, "srv", "/x", "", "", -1, nullptr));
  network_mount_list_add(list, m);
  network_mount_list_add(list, network_mount_create(9, "/c", 1, "other", "/x", nullptr, nullptr, 1, nullptr));
  struct {
    int type;
    const char *server, *dir;
    int index;
  } sources[] = {{0, "srv", "/x", 0},      {1, "srv", "/x", 1},  {1, "1.2.3.4", "/x", 1}, {1, "other", "/x", 2},
                 {0, "1.2.3.4", "/x", -1}, {1, "srv", "/y", -1}, {1, "SRV", "/x", -1},    {1, "1.2.3", "/x", -1}};
  for (const auto& c : sources) {
    EXPECT_EQ(c.index, network_mount_list_find_by_source(list, c.type, c.server, c.dir)) << c.server << c.dir;
  }
  EXPECT_EQ(-1, network_mount_list_find_by_source(nullptr, 0, "srv", "/x"));
  EXPECT_TRUE(network_mount_list_find(list, m) == 1 && network_mount_list_find(list, nullptr) == -1);
  EXPECT_EQ(2, network_mount_list_find_by_path(list, "/c"));
  EXPECT_TRUE(network_mount_list_find_by_path(list, "/c/") == -1 &&
              network_mount_list_find_by_path(list, nullptr) == -1);
  network_mount_free(nullptr);
}

TEST(NetworkMount, StatusWarningsAndNfsSource) {
  std::string log = test::log_messages(test::captured_stderr([] {
    EXPECT_STREQ("", network_mount_status_to_string(-1));
    EXPECT_STREQ("", network_mount_status_to_string(4));
  }));
  EXPECT_EQ("Warning: invalid network mount status id: -1\nWarning: invalid network mount status id: 4\n", log);
  // The NFS source is "SERVER:DIR" in the NFS path encoding, cut to the buffer.
  char buffer[64];
  settings_provider_set_nfs_path_encoding(2);  // cp1251
  EXPECT_STREQ("\xd1\xe5\xf0\xe2\xe5\xf0:/export/\xd4\xe8\xeb\xfc\xec\xfb",
               do_get_nfs_folder_mount_source(buffer, sizeof buffer, "Сервер", "/export/Фильмы"));
  settings_provider_reset();
  EXPECT_EQ(buffer, do_get_nfs_folder_mount_source(buffer, 8, "server", "/export"));
  EXPECT_STREQ("server:", buffer);
}

// A thread's current folder and mount lists are its own: another thread's start empty and are list from the
// stores, cleared before each load. They are compared while both threads are alive, as an ended thread's list may be
// reused at the same address.
TEST(NetworkLists, EveryThreadHasItsOwnCurrentLists) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/tmp/run"));
  test::make_dirs(sandbox.path("/config"));
  network_folder_list* folders = network_folder_list_get_current();
  network_mount_list* mounts = network_mount_list_get_current();
  network_folder_list_add(folders, network_folder_create("NF005", "Mine", 1, "h", "/x", "", "", 0));
  network_mount_list_add(mounts, network_mount_create(4, "/p", 1, "s", "d", nullptr, nullptr, 1, nullptr));
  test::captured_stderr([&] { EXPECT_EQ(0, network_folder_list_save_current(6)); });
  ASSERT_EQ(0, network_mount_list_save_current(7));
  std::string seen;
  long long counter = 0;
  std::thread([&] {
    network_folder_list* f = network_folder_list_get_current();
    network_mount_list* m = network_mount_list_get_current();
    seen = std::to_string(f->num_items) + std::to_string(m->num_items) + (f != folders && m != mounts ? " own" : "");
    for (int i = 0; i < 2; ++i) {
      network_folder_list_reload_current(&counter, 0);
      seen += ' ' + std::to_string(network_mount_list_reload_current());
    }
    seen += ' ' + std::to_string(f->num_items) + f->items[0]->id + ' ' + std::to_string(m->num_items);
  }).join();
  EXPECT_EQ("00 own 1 1 1NF005 1", seen);
  EXPECT_EQ(6, counter);
  EXPECT_CONTAINS(test::read_file(sandbox.path(NETWORK_MOUNT_LIST_PATH)), "<max_mount_id value=\"7\"/>");
  unlink(sandbox.path(NETWORK_MOUNT_LIST_PATH).c_str());
  test::captured_stderr([] { EXPECT_EQ(0, network_mount_list_reload_current()); });
  EXPECT_EQ(0, mounts->num_items);
  network_folder_list_clear(folders);
}

}  // namespace
