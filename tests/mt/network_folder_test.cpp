#include <climits>

#include "test_support.hpp"

namespace {

using Rows = std::vector<std::string>;

// "ID NAME TYPE SERVER DIR 'USER' 'PASSWORD' PROTOCOL" per folder.
Rows rows(const network_folder_list* list) {
  Rows result;
  for (int i = 0; i < list->num_items; ++i) {
    const network_folder* f = list->items[i];
    result.push_back(std::string(f->id) + ' ' + f->name + ' ' + std::to_string(f->type) + ' ' + f->server + ' ' +
                     f->directory + " '" + f->user + "' '" + f->password + "' " + std::to_string(f->protocol));
  }
  return result;
}

class NetworkFolderTest : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(sandbox.path("/config")); }
  void TearDown() override { network_folder_list_free(list); }
  std::string path() const { return sandbox.path("/config/network_folders.properties"); }
  std::string store() const { return test::read_file(path()); }
  // Loads the store afresh into `list`; the log goes to `log`.
  Rows load(long long* counter, int verbose = 0) {
    network_folder_list_clear(list);
    log = test::captured_stderr([&] { network_folder_list_load(list, counter, verbose); });
    return rows(list);
  }
  bool logged(const std::string& line) const { return log.find("] " + line + "\n") != std::string::npos; }

  network_folder_list* list = network_folder_list_create();
  std::string log;
};

TEST(NetworkFolderWords, CodesWordsAndCaptions) {
  EXPECT_EQ(std::string(network_folder_type_to_string(0)) + network_folder_type_to_string(1) +
                get_network_folder_type_caption(0) + get_network_folder_type_caption(1),
            "smbnfsSMBNFS");
  EXPECT_EQ(std::string(network_protocol_to_string(0)) + network_protocol_to_string(1) +
                get_network_protocol_caption(0) + get_network_protocol_caption(1),
            "udptcpUDPTCP");
  for (int bad : {-1, 2}) {
    std::string log = test::captured_stderr([&] {
      EXPECT_STREQ(network_folder_type_to_string(bad), "");
      EXPECT_STREQ(network_protocol_to_string(bad), "");
    });
    EXPECT_NE(log.find("] Warning: invalid network folder type id: " + std::to_string(bad) + "\n"), std::string::npos);
    EXPECT_NE(log.find("] Warning: invalid protocol id: " + std::to_string(bad) + "\n"), std::string::npos);
    EXPECT_EQ(get_network_folder_type_caption(bad), nullptr);
    EXPECT_EQ(get_network_protocol_caption(bad), nullptr);
  }
  // Words are matched whole and in lower case; the type word is the first `length` characters.
  const char* words[] = {"smb", "nfs://x", "smb", "smbx", "SMB", nullptr, "udp", "tcp", "TCP", "tcp ", "tc", nullptr};
  int lengths[] = {3, 3, 2, 4, 3, 3}, codes[] = {0, 1, 9, 9, 9, 9, 0, 1, 9, 9, 9, 9};
  for (int i = 0; i < 12; ++i) {
    EXPECT_EQ(i < 6 ? network_folder_type_from_string(words[i], lengths[i], 9) : network_protocol_from_string(words[i], 9),
              codes[i])
        << i;
  }
}

TEST(NetworkFolderRecord, RequiredTextsAndGeneratedIds) {
  const char* names[6] = {"id", "name", "server", "directory", "user", "password"};
  for (int missing = 0; missing < 6; ++missing) {
    const char* t[6] = {"NF001", "n", "s", "d", "u", "p"};
    t[missing] = nullptr;
    EXPECT_DEATH(network_folder_create(t[0], t[1], 0, t[2], t[3], t[4], t[5], 1),
                 test::assertion_report("player/src/util/mt/network_folder", 0, "network_folder_create", names[missing]));
  }
  EXPECT_DEATH(network_folder_list_load(nullptr, nullptr, 0),
               test::assertion_report("player/src/util/mt/network_folder", 0, "network_folder_list_load", "network_folders"));
  struct {
    long long counter;
    const char* id;
    long long next;
  } ids[] = {{7, "NF007", 8}, {1234, "NF1234", 1235}, {LLONG_MAX, "NF9223372036854775807", LLONG_MAX}};
  char* buffer = nullptr;
  for (auto row : ids) {
    EXPECT_STREQ(network_folder_generate_id(&buffer, &row.counter), row.id);
    EXPECT_EQ(row.counter, row.next);
  }
  free(buffer);
}

TEST_F(NetworkFolderTest, LoadsEveryDefaultAndRule) {
  test::write_file(path(), "id_counter = 5\n"
                           "id.0 = NF001\nname.0 = Music\nserver.0 = NAS\ndirectory.0 = Share\nuser.0 = bob\npassword.0 = Pw\n"
                           "id.1 = NF002\nname.1 = NoServer\ndirectory.1 = x\n"
                           "id.2 = NF003\nname.2 = Films\ntype.2 = 1\nserver.2 = Files.Lan\ndirectory.2 = /X\nprotocol.2 = 0\n"
                           "id.3 = NF004\nname.3 = NoDir\nserver.3 = x\n"
                           "id.4 = NF009\nname.4 = Bare\ntype.4 = 1\nserver.4 = h\ndirectory.4 = /d\n"
                           "id.6 = NF010\nname.6 = AfterTheGap\nserver.6 = h\ndirectory.6 = d\n");
  std::string before = store();
  long long counter = 0;
  EXPECT_EQ(load(&counter), (Rows{"NF001 Music 0 nas share 'bob' 'Pw' 1", "NF003 Films 1 Files.Lan /X '' '' 0",
                                  "NF009 Bare 1 h /d '' '' 1"}));
  EXPECT_EQ(counter, 5);
  EXPECT_EQ(store(), before) << "nothing was generated, so nothing is saved";
  EXPECT_FALSE(logged("Network folders list is loaded:"));

  test::write_file(path(), "name.0 = L\nid.0 = N\nserver.0 = " + std::string(300, 'S') + "\ndirectory.0 = " +
                               std::string(255, 'D') + "\n");
  EXPECT_EQ(load(nullptr, 1), Rows{"N L 0 " + std::string(255, 's') + ' ' + std::string(255, 'd') + " '' '' 1"});
  EXPECT_TRUE(logged("Network folders list is loaded:") && logged("name.0 = L"));
}

TEST_F(NetworkFolderTest, GeneratedIdsAreSavedBackAndStayStable) {
  struct {
    const char* counter_line;
    Rows folders;
    const char* saved_counter;
  } cases[] = {{"id_counter = 7\n", {"NF007 A", "NF100 B", "NF008 C"}, "id_counter = 9\n"},
               {"id_counter = 0\n", {"NF001 A", "NF100 B", "NF002 C"}, "id_counter = 3\n"},
               {"id_counter = -4\n", {"NF001 A", "NF100 B", "NF002 C"}, "id_counter = 3\n"},
               {"", {"NF001 A", "NF100 B", "NF002 C"}, "id_counter = 3\n"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.counter_line);
    test::write_file(path(), std::string(c.counter_line) + "name.0 = A\nserver.0 = s\ndirectory.0 = d\nid.1 = NF100\n"
                             "name.1 = B\nserver.1 = s\ndirectory.1 = d\nname.2 = C\nserver.2 = s\ndirectory.2 = d\n");
    std::string before = store();
    load(nullptr);
    EXPECT_EQ(store(), before) << "saved only when the caller takes the counter";
    long long counter = 0, again = 0;
    Rows first = load(&counter);
    for (std::string& row : first) row.resize(row.find(" 0 s d "));
    EXPECT_EQ(first, c.folders);
    EXPECT_EQ(store().rfind(c.saved_counter, 0), 0u) << store();
    EXPECT_TRUE(logged("Saving network folders list:"));
    Rows loaded = rows(list);
    EXPECT_EQ(load(&again), loaded);
    EXPECT_EQ(again, counter);
  }
}

TEST_F(NetworkFolderTest, SavesTheDocumentedKeysAndKeepsTheStoreMode) {
  network_folder_list_add(list, network_folder_create("NF001", "Music", 0, "nas", "share", "bob", "s3cret", -1));
  network_folder_list_add(list, network_folder_create("NF002", "Films", 1, "host", "/export", "", "", 0));
  test::write_file(path(), "old");
  ASSERT_EQ(chmod(path().c_str(), 0600), 0);
  int result = 1;
  log = test::captured_stderr([&] { result = network_folder_list_save(list, 0, 3); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(store(), "id_counter = 3\nid.0 = NF001\nname.0 = Music\ntype.0 = 0\nserver.0 = nas\ndirectory.0 = share\n"
                     "user.0 = bob\npassword.0 = s3cret\nid.1 = NF002\nname.1 = Films\ntype.1 = 1\nserver.1 = host\n"
                     "directory.1 = /export\nuser.1 = \npassword.1 = \nprotocol.1 = 0\n");
  struct stat st;
  ASSERT_EQ(stat(path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_TRUE(logged("Saving network folders list:") && logged("protocol.1 = 0"));
  // Protocol -1 is not stored and comes back as the default, 1.
  EXPECT_EQ(load(nullptr), (Rows{"NF001 Music 0 nas share 'bob' 's3cret' 1", "NF002 Films 1 host /export '' '' 0"}));

  ASSERT_EQ(unlink(path().c_str()), 0);
  long long counter = 0;
  EXPECT_EQ(load(&counter), Rows{});
  EXPECT_EQ(counter, 1);
  EXPECT_TRUE(logged("Stored network folders are not found."));
  ASSERT_EQ(rmdir(sandbox.path("/config").c_str()), 0);
  test::captured_stdout([&] { test::captured_stderr([&] { result = network_folder_list_save(list, 0, 1); }); });
  EXPECT_EQ(result, -1);
}

TEST(NetworkFolderLookups, MatchWholeSegments) {
  network_folder_list* list = network_folder_list_create();
  network_folder_list_add(list, network_folder_create("NF001", "Music2", 0, "s", "d", "", "", 1));
  network_folder_list_add(list, network_folder_create("NF0012", "Music", 1, "s", "d", "", "", 1));
  network_folder_list_add(list, network_folder_create("NF002", "Music", 0, "s", "d", "", "", 1));
  // Segments of "Music2 NF0012": by name from 0, by id from 7; `length` characters each.
  const char* text = "Music2 NF0012";
  struct {
    int type, length, by_type_and_name, by_name, by_id;
  } rows[] = {{0, 6, 0, 0, 1}, {0, 5, 2, 1, 0}, {1, 5, 1, 1, 0}, {1, 6, -1, 0, 1}, {0, 4, -1, -1, -1}, {2, 5, -1, 1, 0}};
  auto item = [&](int index) { return index < 0 ? nullptr : list->items[index]; };
  for (const auto& r : rows) {
    SCOPED_TRACE(std::to_string(r.type) + " " + std::to_string(r.length));
    EXPECT_EQ(network_folder_list_find_by_type_and_name(list, r.type, text, r.length), r.by_type_and_name);
    EXPECT_EQ(network_folder_list_get_by_name(list, text, r.length), item(r.by_name));
    EXPECT_EQ(network_folder_list_find_by_id_seg(list, str_seg{text + 7, r.length}), r.by_id);
    EXPECT_EQ(network_folder_list_get_by_id_seg(list, str_seg{text + 7, r.length}), item(r.by_id));
  }
  EXPECT_TRUE(network_folder_list_find_by_id(list, "NF002") == 2 && network_folder_list_find_by_id(list, "NF00") == -1);
  EXPECT_TRUE(network_folder_list_get_by_id(list, "NF002") == list->items[2] && !network_folder_list_get_by_id(list, "N"));
  EXPECT_TRUE(network_folder_list_find_by_type_and_name(nullptr, 0, "Music", 5) == -1 &&
              !network_folder_list_get_by_name(nullptr, "Music", 5) && !network_folder_list_get_by_id(nullptr, "NF001"));
  network_folder_list_free(list);
}

TEST_F(NetworkFolderTest, EachThreadHasItsOwnCurrentList) {
  test::write_file(path(), "id_counter = 2\nid.0 = NF001\nname.0 = A\nserver.0 = s\ndirectory.0 = d\n");
  test::LogLock log_lock;
  // Each thread reloads twice (the list is cleared first) and reports its list, folders and
  // counter; both wait for each other before they end, so that their lists are alive together.
  static pthread_barrier_t both_seen;
  pthread_barrier_init(&both_seen, nullptr, 2);
  struct Seen {
    network_folder_list* list;
    Rows folders;
    long long counter;
  } seen[2];
  auto run = [](void* arg) -> void* {
    Seen* s = static_cast<Seen*>(arg);
    for (int i = 0; i < 2; ++i) network_folder_list_reload_current(&s->counter, 0);
    *s = Seen{network_folder_list_get_current(), rows(network_folder_list_get_current()), s->counter};
    pthread_barrier_wait(&both_seen);
    return nullptr;
  };
  network_folder_list* mine = network_folder_list_get_current();
  pthread_t threads[2];
  for (int i = 0; i < 2; ++i) ASSERT_EQ(pthread_create(&threads[i], nullptr, run, &seen[i]), 0);
  for (pthread_t t : threads) pthread_join(t, nullptr);
  pthread_barrier_destroy(&both_seen);
  EXPECT_TRUE(seen[0].list != mine && seen[1].list != mine && seen[0].list != seen[1].list);
  for (const Seen& s : seen) {
    EXPECT_EQ(s.folders, Rows{"NF001 A 0 s d '' '' 1"});
    EXPECT_EQ(s.counter, 2);
  }
  EXPECT_TRUE(network_folder_list_get_current() == mine && mine->num_items == 0);
  network_folder_list_add(mine, network_folder_create("NF005", "Mine", 1, "h", "/x", "", "", 0));
  test::captured_stderr([&] { EXPECT_EQ(network_folder_list_save_current(6), 0); });
  EXPECT_EQ(store().rfind("id_counter = 6\nid.0 = NF005\nname.0 = Mine\n", 0), 0u);
  network_folder_list_clear(mine);
}

TEST_F(NetworkFolderTest, ToolAddsAndListsFolders) {
  std::string out;
  EXPECT_EQ(test::run_tool("net folders", &out), 0);
  EXPECT_EQ(out, "no network folders\n");
  const char* added[][2] = {{"net add-folder Music smb NAS Share --user bob --password 'p w'", "NF001\n"},
                            {"net add-folder Films nfs files.lan /export --proto udp", "NF002\n"},
                            {"net add-folder Films smb h d", "NF003\n"}};
  for (const auto& row : added) {
    EXPECT_EQ(test::run_tool(row[0], &out), 0) << row[0];
    EXPECT_EQ(out, row[1]);
  }
  EXPECT_EQ(test::run_tool("net folders", &out), 0);
  EXPECT_EQ(out, "NF001 \"Music\" smb://nas:share user=\"bob\" password=yes\n"
                 "NF002 \"Films\" nfs://files.lan:/export proto=udp\nNF003 \"Films\" smb://h:d user=\"\" password=no\n");
  EXPECT_NE(store().find("password.0 = p w\n"), std::string::npos);
  EXPECT_EQ(test::run_tool("net add-folder Music smb x y", &out, true), 1);
  EXPECT_NE(out.find("vonautil net: there is already a smb folder named 'Music' (NF001)"), std::string::npos);
  for (const char* usage : {"add-folder Music smb NAS", "add-folder A smb s d extra", "add-folder A ftp s d",
                            "add-folder A nfs s d --proto sctp", "add-folder A nfs s d --user bob",
                            "add-folder A smb s d --proto tcp", "add-folder A smb s d --user", "add-folder A smb '' d",
                            "add-folder A smb s --verbose", "folders extra"}) {
    EXPECT_EQ(test::run_tool(std::string("net ") + usage), 2) << usage;
  }
  EXPECT_EQ(store().find("NF004"), std::string::npos);
}

}  // namespace
