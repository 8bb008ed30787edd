#include <algorithm>
#include <functional>
#include <thread>

#include "test_support.hpp"

namespace {

const bool initialized = (xml_document_initialize(), true);

#define EXPECT_LOGGED(log, part) EXPECT_NE(std::string::npos, (log).find(part)) << (log)

// Every field of a mount on one line, for whole-record comparisons.
std::string describe(const network_mount* m) {
  std::ostringstream out;
  auto text = [](const char* s) { return s ? "'" + std::string(s) + "'" : std::string("null"); };
  out << m->id << ' ' << text(m->path) << ' ' << m->type << ' ' << text(m->server) << ' ' << text(m->dir) << ' '
      << text(m->user_name) << ' ' << text(m->password) << ' ' << m->protocol << ' ' << text(m->server_ipaddr) << ' '
      << m->status << ' ' << m->mount_tm << " [";
  for (int i = 0; m->locks && i < m->locks->size; ++i) out << (i ? "," : "") << m->locks->items[i];
  return out.str() + "]";
}

network_mount* smb(long long id, const char* ipaddr, std::initializer_list<const char*> owners) {
  network_mount* m = network_mount_create(id, ("/tmp/mnt/network/" + std::to_string(id)).c_str(),
                                          NETWORK_FOLDER_TYPE_SMB, "nas", "music", "guest", "secret", -1, ipaddr);
  m->status = NETWORK_MOUNT_STATUS_MOUNTED;
  m->mount_tm = 1700000000;
  for (const char* owner : owners) network_mount_add_lock(m, owner);
  return m;
}

network_mount* nfs(long long id, int protocol, const char* ipaddr, std::initializer_list<const char*> owners) {
  network_mount* m = network_mount_create(id, "/tmp/mnt/network/nfs", NETWORK_FOLDER_TYPE_NFS, "Files", "/export/Video",
                                          nullptr, nullptr, protocol, ipaddr);
  m->status = NETWORK_MOUNT_STATUS_MOUNTING;
  m->mount_tm = 1700000001;
  for (const char* owner : owners) network_mount_add_lock(m, owner);
  return m;
}

const char kHead[] = "<network_mounts>\n  <max_mount_id value=\"9\"/>\n";
const char kSmbMount[] =
    "  <mount\n    id=\"3\"\n    path=\"/tmp/mnt/network/3\"\n    type=\"smb\"\n    server=\"nas\"\n    dir=\"music\"\n"
    "    user_name=\"guest\"\n    password=\"secret\"\n";
const char kNfsMount[] =
    "  <mount\n    id=\"4\"\n    path=\"/tmp/mnt/network/nfs\"\n    type=\"nfs\"\n    server=\"Files\"\n"
    "    dir=\"/export/Video\"\n";
const char kLocks[] = "    <locks>\n      <lock owner=\"shell\"/>\n      <lock owner=\"player\"/>\n    </locks>\n";

class NetworkMountFile : public test::SandboxTest {
 protected:
  void TearDown() override {
    network_mount_list_free(list);
    network_mount_list_free(loaded);
  }
  std::string path() const { return sandbox.path("/mounts.xml"); }
  // Loads the file into `loaded`, with the log in `log`; the result of the load.
  int load() {
    int result = 0;
    log = test::captured_stderr([&] { result = network_mount_list_load_from_file(loaded, &max_id, path().c_str()); });
    return result;
  }

  network_mount_list* list = network_mount_list_create();
  network_mount_list* loaded = network_mount_list_create();
  long long max_id = -5;
  std::string log;
};

TEST_F(NetworkMountFile, IsWrittenInTheDocumentedLayoutAndReadBackEqual) {
  struct Case {
    std::function<network_mount*()> make;
    std::string text;
  } cases[] = {
      {[] { return smb(3, nullptr, {}); },
       std::string(kSmbMount) + "    status=\"mounted\"\n    mount_tm=\"1700000000\"\n  >\n  </mount>\n"},
      {[] { return smb(3, "10.0.0.2", {"shell", "player"}); },
       std::string(kSmbMount) + "    server_ipaddr=\"10.0.0.2\"\n    status=\"mounted\"\n    mount_tm=\"1700000000\"\n  >\n" +
           kLocks + "  </mount>\n"},
      {[] { return nfs(4, NETWORK_PROTOCOL_TCP, nullptr, {"shell", "player"}); },
       std::string(kNfsMount) + "    proto=\"tcp\"\n    status=\"mounting\"\n    mount_tm=\"1700000001\"\n  >\n" + kLocks +
           "  </mount>\n"},
      {[] { return nfs(4, NETWORK_PROTOCOL_UDP, "fe80::1", {}); },
       std::string(kNfsMount) +
           "    proto=\"udp\"\n    server_ipaddr=\"fe80::1\"\n    status=\"mounting\"\n    mount_tm=\"1700000001\"\n"
           "  >\n  </mount>\n"},
  };
  // Each alone, then all four in one file in their order.
  std::string all = kHead;
  network_mount_list* whole = network_mount_list_create();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    network_mount_list_clear(list);
    network_mount_list_add(list, c.make());
    network_mount_list_add(whole, c.make());
    all += c.text;
    ASSERT_EQ(0, network_mount_list_save_to_file(list, path().c_str(), 9));
    EXPECT_EQ(kHead + c.text + "</network_mounts>\n", test::read_file(path()));
    EXPECT_NE(0, access((path() + ".tmp").c_str(), F_OK));
    network_mount_list_clear(loaded);
    ASSERT_EQ(1, load());
    EXPECT_EQ("", log);
    EXPECT_EQ(9, max_id);
    ASSERT_EQ(1, loaded->num_items);
    EXPECT_EQ(describe(list->items[0]), describe(loaded->items[0]));
  }
  ASSERT_EQ(0, network_mount_list_save_to_file(whole, path().c_str(), 9));
  EXPECT_EQ(all + "</network_mounts>\n", test::read_file(path()));
  network_mount_list_clear(loaded);
  ASSERT_EQ(1, load());
  ASSERT_EQ(4, loaded->num_items);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(describe(whole->items[i]), describe(loaded->items[i]));
  network_mount_list_free(whole);
  ASSERT_EQ(0, network_mount_list_save_to_file(nullptr, path().c_str(), 0));
  EXPECT_EQ("<network_mounts>\n  <max_mount_id value=\"0\"/>\n</network_mounts>\n", test::read_file(path()));
}

TEST_F(NetworkMountFile, SkipsDamagedMountsWithTheirMessages) {
  const std::string good = "id=\"1\" path=\"/p\" type=\"smb\" server=\"s\" dir=\"d\" user_name=\"\" password=\"\" ";
  const std::string nfs_good = "id=\"1\" path=\"/p\" type=\"nfs\" server=\"s\" dir=\"d\" proto=\"udp\" ";
  struct Case {
    std::string attributes;
    const char* message;  // null: the mount loads
  } cases[] = {
      {good + "status=\"mounted\"", nullptr},
      {nfs_good + "status=\"error\"", nullptr},
      {"id=\" -7\" path=\"/p\" type=\"nfs\" server=\"s\" dir=\"d\" proto=\"tcp\" status=\"unmounting\"", nullptr},
      {"path=\"/p\" type=\"smb\" server=\"s\" dir=\"d\" user_name=\"\" password=\"\" status=\"mounted\"",
       "[network_mounts] Error: invalid or missing mount id: '(null)'"},
      {"id=\"7x\" path=\"/p\" type=\"smb\" server=\"s\" dir=\"d\" status=\"mounted\"",
       "[network_mounts] Error: invalid or missing mount id: '7x'"},
      {"id=\"\" path=\"/p\"", "[network_mounts] Error: invalid or missing mount id: ''"},
      {"id=\"2\" path=\"/p\" server=\"s\"", "[network_mounts] Error: invalid or missing mount type: '(null)'"},
      {"id=\"2\" type=\"smbx\"", "[network_mounts] Error: invalid or missing mount type: 'smbx'"},
      {"id=\"2\" type=\"SMB\"", "[network_mounts] Error: invalid or missing mount type: 'SMB'"},
      {"id=\"2\" type=\"sm\"", "[network_mounts] Error: invalid or missing mount type: 'sm'"},
      {"id=\"2\" type=\"nfs\" server=\"s\" dir=\"d\"", "[network_mounts] Error: empty or missing mount path: '(null)'"},
      {"id=\"2\" type=\"nfs\" path=\"\"", "[network_mounts] Error: empty or missing mount path: ''"},
      {"id=\"2\" type=\"nfs\" path=\"/p\" dir=\"d\"", "[network_mounts] Error: empty or missing mount server: '(null)'"},
      {"id=\"2\" type=\"nfs\" path=\"/p\" server=\"\"", "[network_mounts] Error: empty or missing mount server: ''"},
      {"id=\"2\" type=\"nfs\" path=\"/p\" server=\"s\"", "[network_mounts] Error: empty or missing mount dir: '(null)'"},
      {"id=\"2\" type=\"nfs\" path=\"/p\" server=\"s\" dir=\"\"",
       "[network_mounts] Error: empty or missing mount dir: ''"},
      {"id=\"2\" type=\"smb\" path=\"/p\" server=\"s\" dir=\"d\" password=\"\" status=\"mounted\"",
       "[network_mounts] Error: missing smb mount user_name"},
      {"id=\"2\" type=\"smb\" path=\"/p\" server=\"s\" dir=\"d\" user_name=\"\" status=\"mounted\"",
       "[network_mounts] Error: missing smb mount password"},
      {"id=\"2\" type=\"nfs\" path=\"/p\" server=\"s\" dir=\"d\" status=\"mounted\"",
       "[network_mounts] Error: invalid or missing nfs mount proto: '(null)'"},
      {"id=\"2\" type=\"nfs\" path=\"/p\" server=\"s\" dir=\"d\" proto=\"TCP\" status=\"mounted\"",
       "[network_mounts] Error: invalid or missing nfs mount proto: 'TCP'"},
      {good, "[network_mounts] Error: invalid or missing mount status: '(null)'"},
      {good + "status=\"Mounted\"", "[network_mounts] Error: invalid or missing mount status: 'Mounted'"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.attributes);
    // The damaged mount between two good ones, which still load.
    test::write_file(path(), "<network_mounts>\n<mount id=\"10\" path=\"/a\" type=\"nfs\" server=\"a\" dir=\"a\" "
                             "proto=\"tcp\" status=\"mounted\"/>\n<mount " +
                                 c.attributes + "/>\n<other/><mount id=\"11\" path=\"/b\" type=\"nfs\" server=\"b\" "
                                 "dir=\"b\" proto=\"tcp\" status=\"mounted\"/>\n</network_mounts>\n");
    network_mount_list_clear(loaded);
    ASSERT_EQ(1, load());
    EXPECT_EQ(0, max_id);
    if (c.message == nullptr) {
      EXPECT_EQ("", log);
      ASSERT_EQ(3, loaded->num_items);
      EXPECT_EQ(11, loaded->items[2]->id);
      continue;
    }
    EXPECT_EQ(1u, std::count(log.begin(), log.end(), '\n'));
    EXPECT_LOGGED(log, std::string("] ") + c.message + "\n");
    ASSERT_EQ(2, loaded->num_items);
    EXPECT_EQ(10, loaded->items[0]->id);
    EXPECT_EQ(11, loaded->items[1]->id);
  }
  // Optional parts: a mount without mount_tm keeps its creation time; a lock without owner
  // is dropped with its message and the mount kept.
  time_t before = time(nullptr);
  test::write_file(path(), "<network_mounts><mount " + nfs_good + "status=\"mounted\">"
                           "<locks><lock owner=\"a\"/><lock/><lock owner=\"\"/><lock owner=\"b\"/></locks>"
                           "<locks><lock owner=\"c\"/></locks></mount>"
                           "<max_mount_id value=\"12\"/></network_mounts>");
  network_mount_list_clear(loaded);
  ASSERT_EQ(1, load());
  EXPECT_EQ(12, max_id);
  ASSERT_EQ(1, loaded->num_items);
  EXPECT_GE(loaded->items[0]->mount_tm, before);
  EXPECT_LE(loaded->items[0]->mount_tm, time(nullptr));
  EXPECT_EQ(NETWORK_PROTOCOL_UDP, loaded->items[0]->protocol);
  EXPECT_EQ(2u, std::count(log.begin(), log.end(), '\n'));
  EXPECT_LOGGED(log, "] [network_mounts] Error: lock owner is empty or missing\n");
  EXPECT_EQ("a,b,c", test::take_string(string_array_join(loaded->items[0]->locks, ",", 0, -1)));
}

TEST_F(NetworkMountFile, FailsOnFilesThatAreNotAList) {
  struct Case {
    const char* text;  // null: no file
    const char* message;
  } cases[] = {
      {nullptr, "[network_mounts] Error: failed to read "},
      {"", "[network_mounts] Error: failed to create XML document\n"},
      {"<network_mounts><mount></network_mounts>", "[network_mounts] Parse error: id="},
      {"<!-- nothing -->", "[network_mounts] Error: failed to get root XML element\n"},
      {"<storages><mount/></storages>", "[network_mounts] Error: invalid root element\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.message);
    unlink(path().c_str());
    if (c.text != nullptr) test::write_file(path(), c.text);
    network_mount_list_clear(loaded);
    max_id = 5;
    EXPECT_EQ(0, load());
    EXPECT_EQ(0, max_id);
    EXPECT_EQ(0, loaded->num_items);
    EXPECT_LOGGED(log, std::string("] ") + c.message);
  }
  EXPECT_LOGGED(log, "] [network_mounts] Error: invalid root element\n");
  unlink(path().c_str());
  load();  // the read failure names the path and the reason
  EXPECT_LOGGED(log, "failed to read " + path() + ": No such file or directory\n");
  test::write_file(path(), "<network_mounts>\n  <mount id=\"1\"\n</network_mounts>\n");
  load();
  EXPECT_LOGGED(log, "] [network_mounts] Parse error: id=6, row=3, col=1, descr: Error reading Attributes.\n");
  // Only the first 64 KiB are read: a list that is longer is cut, which breaks it.
  std::string mount = "<mount id=\"1\" path=\"/p\" type=\"nfs\" server=\"s\" dir=\"d\" proto=\"tcp\" status=\"error\"/>\n";
  std::string big = "<network_mounts>\n";
  while (big.size() + mount.size() + 18 <= NETWORK_MOUNT_LIST_MAX_SIZE) big += mount;
  test::write_file(path(), big + std::string(NETWORK_MOUNT_LIST_MAX_SIZE - big.size() - 18, ' ') + "</network_mounts>\n");
  EXPECT_EQ(1, load());
  // One byte more: the last ">" is cut off.
  test::write_file(path(), big + std::string(NETWORK_MOUNT_LIST_MAX_SIZE - big.size() - 16, ' ') + "</network_mounts>");
  EXPECT_EQ(0, load());
}

// Values are written unescaped: a double quote in a password or a directory breaks the whole
// file for every reader; "&" and entities come back changed; "<" and ">" come back as they are.
TEST_F(NetworkMountFile, UnescapedValuesBreakTheFileOrComeBackChanged) {
  struct Case {
    const char* password;
    const char* dir;
    const char* password_back;  // null: the file does not load
    const char* dir_back;
  } cases[] = {
      {"pa\"ss", "music", nullptr, nullptr},
      {"secret", "mu\"sic", nullptr, nullptr},
      {"pa<ss", "a<b>", "pa<ss", "a<b>"},
      {"a&amp;b", "x&lt;y", "a&b", "x<y"},
      {"a&b", "R&B", "ab", "RB"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.password + std::string(" ") + c.dir);
    network_mount_list_clear(list);
    network_mount_list_add(list, network_mount_create(1, "/p", NETWORK_FOLDER_TYPE_SMB, "nas", c.dir, "u", c.password,
                                                      -1, nullptr));
    ASSERT_EQ(0, network_mount_list_save_to_file(list, path().c_str(), 1));
    EXPECT_NE(std::string::npos, test::read_file(path()).find(std::string("password=\"") + c.password + "\"\n"));
    network_mount_list_clear(loaded);
    if (c.password_back == nullptr) {
      EXPECT_EQ(0, load());
      EXPECT_LOGGED(log, "] [network_mounts] Parse error: id=");
      EXPECT_EQ(0, loaded->num_items);
    } else {
      EXPECT_EQ(1, load());
      ASSERT_EQ(1, loaded->num_items);
      EXPECT_STREQ(c.password_back, loaded->items[0]->password);
      EXPECT_STREQ(c.dir_back, loaded->items[0]->dir);
    }
  }
}

TEST_F(NetworkMountFile, SaveFailuresLeaveNoTemporaryFile) {
  std::string missing = sandbox.path("/no/such/dir/mounts.xml");
  std::string log = test::captured_stderr([&] { EXPECT_EQ(-1, network_mount_list_save_to_file(list, missing.c_str(), 1)); });
  EXPECT_LOGGED(log, "] Error: failed to open_write(" + missing + ".tmp): No such file or directory\n");
  // A directory in the way of the rename: the temporary file is removed again.
  std::string dir = sandbox.path("/taken");
  test::make_dirs(dir + "/inside");
  log = test::captured_stderr([&] { EXPECT_EQ(-1, network_mount_list_save_to_file(list, dir.c_str(), 1)); });
  EXPECT_LOGGED(log, "] Error: failed to rename(" + dir + ".tmp, " + dir + "): ");
  EXPECT_NE(0, access((dir + ".tmp").c_str(), F_OK));
}

TEST(NetworkMount, RecordsLocksAndLookups) {
  EXPECT_DEATH(network_mount_create(1, nullptr, 0, "s", "d", nullptr, nullptr, -1, nullptr),
               test::assertion_report("player/src/util/mt/network_mount", 0, "network_mount_create", "path"));
  EXPECT_DEATH(network_mount_create(1, "/p", 0, nullptr, "d", nullptr, nullptr, -1, nullptr),
               test::assertion_report("player/src/util/mt/network_mount", 0, "network_mount_create", "server"));
  EXPECT_DEATH(network_mount_create(1, "/p", 0, "s", nullptr, nullptr, nullptr, -1, nullptr),
               test::assertion_report("player/src/util/mt/network_mount", 0, "network_mount_create", "dir"));
  time_t before = time(nullptr);
  network_mount* m = network_mount_create(5, "/p", NETWORK_FOLDER_TYPE_NFS, "srv", "/x", nullptr, nullptr, 0, "1.2.3.4");
  EXPECT_EQ(NETWORK_MOUNT_STATUS_MOUNTING, m->status);
  EXPECT_GE(m->mount_tm, before);
  EXPECT_LE(m->mount_tm, time(nullptr));
  EXPECT_EQ(nullptr, m->locks);
  EXPECT_EQ(nullptr, m->user_name);

  // Owners: null always holds one; no locks, nobody else.
  EXPECT_TRUE(network_mount_has_owner(m, nullptr));
  EXPECT_FALSE(network_mount_has_owner(m, "shell"));
  EXPECT_TRUE(network_mount_add_lock(m, "shell"));
  EXPECT_FALSE(network_mount_add_lock(m, "shell"));
  EXPECT_TRUE(network_mount_add_lock(m, "player"));
  EXPECT_EQ(2, network_mount_get_num_locks(m));
  EXPECT_TRUE(network_mount_has_owner(m, "player"));
  EXPECT_FALSE(network_mount_has_owner(m, "Player"));
  EXPECT_FALSE(network_mount_remove_lock(m, "nobody"));
  EXPECT_FALSE(network_mount_remove_lock(m, nullptr));
  EXPECT_TRUE(network_mount_remove_lock(m, "shell"));
  EXPECT_TRUE(network_mount_remove_lock(m, "player"));
  EXPECT_EQ(nullptr, m->locks);
  EXPECT_EQ(0, network_mount_get_num_locks(m));
  EXPECT_FALSE(network_mount_remove_lock(m, "player"));

  network_mount_list* list = network_mount_list_create();
  network_mount_list_add(list, network_mount_create(1, "/a", NETWORK_FOLDER_TYPE_SMB, "srv", "/x", "", "", -1, nullptr));
  network_mount_list_add(list, m);
  network_mount_list_add(list, network_mount_create(9, "/c", NETWORK_FOLDER_TYPE_NFS, "srv", "/x", nullptr, nullptr,
                                                    1, nullptr));
  struct Case {
    int type;
    const char* server;
    const char* dir;
    int index;
  } sources[] = {
      {NETWORK_FOLDER_TYPE_SMB, "srv", "/x", 0}, {NETWORK_FOLDER_TYPE_NFS, "srv", "/x", 1},
      {NETWORK_FOLDER_TYPE_NFS, "1.2.3.4", "/x", 1}, {NETWORK_FOLDER_TYPE_SMB, "1.2.3.4", "/x", -1},
      {NETWORK_FOLDER_TYPE_NFS, "srv", "/y", -1}, {NETWORK_FOLDER_TYPE_NFS, "SRV", "/x", -1},
      {NETWORK_FOLDER_TYPE_NFS, "1.2.3", "/x", -1},
  };
  for (const Case& c : sources) {
    SCOPED_TRACE(std::string(c.server) + c.dir);
    EXPECT_EQ(c.index, network_mount_list_find_by_source(list, c.type, c.server, c.dir));
  }
  network_mount_free(list->items[1]);
  list->items[1] = network_mount_create(5, "/p", NETWORK_FOLDER_TYPE_NFS, "other", "/x", nullptr, nullptr, 0, nullptr);
  m = list->items[1];
  EXPECT_EQ(2, network_mount_list_find_by_source(list, NETWORK_FOLDER_TYPE_NFS, "srv", "/x"));
  EXPECT_EQ(1, network_mount_list_find(list, m));
  EXPECT_EQ(-1, network_mount_list_find(list, nullptr));
  EXPECT_EQ(1, network_mount_list_find_by_id(list, 5));
  EXPECT_EQ(2, network_mount_list_find_by_id(list, 9));
  EXPECT_EQ(-1, network_mount_list_find_by_id(list, 4));
  EXPECT_EQ(2, network_mount_list_find_by_path(list, "/c"));
  EXPECT_EQ(-1, network_mount_list_find_by_path(list, "/c/"));
  EXPECT_EQ(-1, network_mount_list_find_by_path(list, nullptr));
  EXPECT_EQ(-1, network_mount_list_find_by_path(nullptr, "/a"));
  EXPECT_EQ(-1, network_mount_list_find_by_id(nullptr, 1));
  EXPECT_EQ(-1, network_mount_list_find(nullptr, m));
  EXPECT_EQ(-1, network_mount_list_find_by_source(nullptr, NETWORK_FOLDER_TYPE_SMB, "srv", "/x"));
  network_mount_list_free(list);
  network_mount_free(nullptr);
}

TEST(NetworkMount, StatusWords) {
  const char* words[] = {"mounting", "mounted", "unmounting", "error"};
  for (int status = 0; status < 4; ++status) {
    EXPECT_STREQ(words[status], network_mount_status_to_string(status));
    EXPECT_EQ(status, network_mount_status_from_string(words[status], -1));
  }
  for (int status : {-1, 4}) {
    std::string log = test::captured_stderr([&] { EXPECT_STREQ("", network_mount_status_to_string(status)); });
    EXPECT_LOGGED(log, "] Warning: invalid network mount status id: " + std::to_string(status) + "\n");
  }
  for (const char* text : {"Mounted", "mounted ", "", "errors", (const char*)nullptr}) {
    EXPECT_EQ(7, network_mount_status_from_string(text, 7));
  }
}

TEST(NetworkMount, NfsMountSourceInTheNfsPathEncoding) {
  char buffer[64];
  EXPECT_STREQ("srv:/export/Filmy", do_get_nfs_folder_mount_source(buffer, sizeof buffer, "srv", "/export/Filmy"));
  settings_provider_set_nfs_path_encoding(2);  // cp1251
  EXPECT_STREQ("\xd1\xe5\xf0\xe2\xe5\xf0:/export/\xd4\xe8\xeb\xfc\xec\xfb",
               do_get_nfs_folder_mount_source(buffer, sizeof buffer, "Сервер", "/export/Фильмы"));
  settings_provider_reset();
  EXPECT_EQ(buffer, do_get_nfs_folder_mount_source(buffer, 8, "server", "/export"));
  EXPECT_STREQ("server:", buffer);
}

TEST(NetworkMount, EveryThreadHasItsOwnCurrentList) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/tmp/run"));
  network_mount_list* mine = network_mount_list_get_current();
  EXPECT_EQ(mine, network_mount_list_get_current());
  network_mount_list_clear(mine);
  network_mount_list_add(mine, network_mount_create(4, "/p", NETWORK_FOLDER_TYPE_NFS, "s", "d", nullptr, nullptr, 1,
                                                    nullptr));
  ASSERT_EQ(0, network_mount_list_save_current(6));
  EXPECT_NE(std::string::npos, test::read_file(sandbox.path(NETWORK_MOUNT_LIST_PATH)).find("value=\"6\""));
  network_mount_list* other = nullptr;
  int other_count = -1;
  std::thread thread([&] {
    other = network_mount_list_get_current();
    EXPECT_EQ(0, other->num_items);
    EXPECT_EQ(1, network_mount_list_reload_current());
    other_count = other->num_items;
  });
  thread.join();
  EXPECT_NE(mine, other);
  EXPECT_EQ(1, other_count);
  network_mount_list_add(mine, network_mount_create(5, "/q", NETWORK_FOLDER_TYPE_NFS, "s", "e", nullptr, nullptr, 1,
                                                    nullptr));
  EXPECT_EQ(1, network_mount_list_reload_current());  // cleared first, then loaded
  ASSERT_EQ(1, mine->num_items);
  EXPECT_EQ(4, mine->items[0]->id);
  unlink(sandbox.path(NETWORK_MOUNT_LIST_PATH).c_str());
  std::string log = test::captured_stderr([] { EXPECT_EQ(0, network_mount_list_reload_current()); });
  EXPECT_EQ(0, mine->num_items);
  EXPECT_LOGGED(log, "failed to read " + sandbox.path(NETWORK_MOUNT_LIST_PATH));
}

}  // namespace
