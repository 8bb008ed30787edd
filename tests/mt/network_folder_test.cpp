#include <algorithm>

#include "test_support.hpp"

namespace {

const char kStore[] = "/config/network_folders.properties";

class NetworkFolderTest : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(sandbox.path("/config")); }
  std::string store_path() const { return sandbox.path(kStore); }
  void write_store(const std::string& text) { test::write_file(store_path(), text); }
  std::string store() const { return test::read_file(store_path()); }

  // Loads the store into `list` (freed by the fixture); the log goes to `log`.
  void load(long long* counter, int verbose = 0) {
    log = test::captured_stderr([&] { network_folder_list_load(list, counter, verbose); });
  }
  // "ID NAME TYPE SERVER DIR USER PASSWORD PROTOCOL" per folder, for whole-list comparisons.
  std::vector<std::string> folders() const {
    std::vector<std::string> rows;
    for (int i = 0; i < list->num_items; ++i) {
      const network_folder* f = list->items[i];
      std::ostringstream row;
      row << f->id << ' ' << f->name << ' ' << f->type << ' ' << f->server << ' ' << f->directory << " '" << f->user
          << "' '" << f->password << "' " << f->protocol;
      rows.push_back(row.str());
    }
    return rows;
  }
  void TearDown() override { network_folder_list_free(list); }

  network_folder_list* list = network_folder_list_create();
  std::string log;
};

using Rows = std::vector<std::string>;

TEST(NetworkFolderWords, CodesWordsAndCaptions) {
  EXPECT_STREQ(network_folder_type_to_string(0), "smb");
  EXPECT_STREQ(network_folder_type_to_string(1), "nfs");
  EXPECT_STREQ(get_network_folder_type_caption(0), "SMB");
  EXPECT_STREQ(get_network_folder_type_caption(1), "NFS");
  EXPECT_STREQ(network_protocol_to_string(0), "udp");
  EXPECT_STREQ(network_protocol_to_string(1), "tcp");
  EXPECT_STREQ(get_network_protocol_caption(0), "UDP");
  EXPECT_STREQ(get_network_protocol_caption(1), "TCP");
  for (int bad : {-1, 2}) {
    std::string log = test::captured_stderr([&] { EXPECT_STREQ(network_folder_type_to_string(bad), ""); });
    EXPECT_NE(log.find("Warning: invalid network folder type id: " + std::to_string(bad) + "\n"), std::string::npos);
    log = test::captured_stderr([&] { EXPECT_STREQ(network_protocol_to_string(bad), ""); });
    EXPECT_NE(log.find("Warning: invalid protocol id: " + std::to_string(bad) + "\n"), std::string::npos);
    EXPECT_EQ(get_network_folder_type_caption(bad), nullptr);
    EXPECT_EQ(get_network_protocol_caption(bad), nullptr);
  }
  // The type word is read from a segment: exactly its first `length` characters.
  struct {
    const char* text;
    int length;
    int type;
  } types[] = {{"smb", 3, 0}, {"nfs", 3, 1}, {"nfs://x", 3, 1}, {"smb", 2, 9}, {"smbx", 4, 9},
               {"SMB", 3, 9}, {"", 0, 9},    {nullptr, 3, 9}};
  for (const auto& row : types) {
    EXPECT_EQ(network_folder_type_from_string(row.text, row.length, 9), row.type) << row.text << " " << row.length;
  }
  struct {
    const char* text;
    int protocol;
  } protocols[] = {{"udp", 0}, {"tcp", 1}, {"TCP", 9}, {"tcp ", 9}, {"tc", 9}, {"", 9}, {nullptr, 9}};
  for (const auto& row : protocols) EXPECT_EQ(network_protocol_from_string(row.text, 9), row.protocol) << row.text;
}

TEST(NetworkFolderRecord, RequiredTextsAndGeneratedIds) {
  const std::string module = "player/src/util/mt/network_folder";
  for (const char* name : {"id", "name", "server", "directory", "user", "password"}) {
    const char* texts[6] = {"NF001", "n", "s", "d", "u", "p"};
    const char* names[6] = {"id", "name", "server", "directory", "user", "password"};
    for (int i = 0; i < 6; ++i) {
      if (strcmp(names[i], name) == 0) texts[i] = nullptr;
    }
    EXPECT_DEATH(network_folder_create(texts[0], texts[1], 0, texts[2], texts[3], texts[4], texts[5], 1),
                 test::assertion_report(module, 0, "network_folder_create", name));
  }
  EXPECT_DEATH(network_folder_list_load(nullptr, nullptr, 0),
               test::assertion_report(module, 0, "network_folder_list_load", "network_folders"));

  char* buffer = nullptr;
  long long counter = 7;
  EXPECT_STREQ(network_folder_generate_id(&buffer, &counter), "NF007");
  EXPECT_EQ(counter, 8);
  counter = 1234;
  EXPECT_STREQ(network_folder_generate_id(&buffer, &counter), "NF1234");
  EXPECT_EQ(counter, 1235);
  free(buffer);
}

TEST_F(NetworkFolderTest, LoadsEveryDefaultAndRule) {
  write_store(
      "id_counter = 5\n"
      "id.0 = NF001\nname.0 = Music\nserver.0 = NAS\ndirectory.0 = Share\nuser.0 = bob\npassword.0 = Pw\n"
      "id.1 = NF002\nname.1 = Broken\ndirectory.1 = x\n"
      "id.2 = NF003\nname.2 = Films\ntype.2 = 1\nserver.2 = Files.Lan\ndirectory.2 = /Export\nprotocol.2 = 0\n"
      "id.3 = NF004\nname.3 = NoDir\nserver.3 = x\n"
      "id.4 = NF009\nname.4 = Bare\ntype.4 = 1\nserver.4 = h\ndirectory.4 = /d\n"
      "id.6 = NF010\nname.6 = AfterTheGap\nserver.6 = h\ndirectory.6 = d\n");
  std::string before = store();
  long long counter = 0;
  load(&counter);
  // Index 1 lacks its server and index 3 its directory; index 5 has no name, which ends the list.
  EXPECT_EQ(folders(), (Rows{"NF001 Music 0 nas share 'bob' 'Pw' 1", "NF003 Films 1 Files.Lan /Export '' '' 0",
                             "NF009 Bare 1 h /d '' '' 1"}));
  EXPECT_EQ(counter, 5);
  EXPECT_EQ(store(), before) << "nothing was generated, so nothing is saved";
  EXPECT_EQ(log.find("Network folders list is loaded"), std::string::npos);

  // An SMB server and directory are kept in lower case, cut to 255 characters.
  write_store("name.0 = Long\nid.0 = NF001\nserver.0 = " + std::string(300, 'S') + "\ndirectory.0 = " +
              std::string(255, 'D') + "\n");
  network_folder_list_clear(list);
  load(nullptr, 1);
  ASSERT_EQ(list->num_items, 1);
  EXPECT_EQ(list->items[0]->server, std::string(255, 's'));
  EXPECT_EQ(list->items[0]->directory, std::string(255, 'd'));
  EXPECT_NE(log.find("Network folders list is loaded:\n"), std::string::npos);
  EXPECT_NE(log.find("] name.0 = Long\n"), std::string::npos);
}

TEST_F(NetworkFolderTest, GeneratedIdsAreSavedBackAndStayStable) {
  struct {
    const char* counter_line;
    const char* first_id;
    const char* saved_counter;
  } rows[] = {{"id_counter = 7\n", "NF007", "id_counter = 9\n"},
              {"id_counter = 0\n", "NF001", "id_counter = 3\n"},
              {"id_counter = -4\n", "NF001", "id_counter = 3\n"},
              {"", "NF001", "id_counter = 3\n"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.counter_line);
    write_store(std::string(row.counter_line) +
                "name.0 = A\nserver.0 = s\ndirectory.0 = d\nid.1 = NF100\nname.1 = B\nserver.1 = s\ndirectory.1 = "
                "d\nname.2 = C\nserver.2 = s\ndirectory.2 = d\n");
    // Without a counter output nothing is saved, so the ids would change on every load.
    std::string before = store();
    network_folder_list_clear(list);
    load(nullptr);
    EXPECT_EQ(store(), before);

    network_folder_list_clear(list);
    long long counter = 0;
    load(&counter);
    ASSERT_EQ(list->num_items, 3);
    EXPECT_STREQ(list->items[0]->id, row.first_id);
    EXPECT_STREQ(list->items[1]->id, "NF100");
    EXPECT_EQ(store().rfind(row.saved_counter, 0), 0u) << store();
    EXPECT_NE(log.find("Saving network folders list:\n"), std::string::npos);

    Rows first = folders();
    network_folder_list_clear(list);
    long long again = 0;
    load(&again);
    EXPECT_EQ(folders(), first);
    EXPECT_EQ(again, counter);
  }
}

TEST_F(NetworkFolderTest, SavesTheDocumentedKeysAndKeepsTheStoreMode) {
  network_folder_list_add(list, network_folder_create("NF001", "Music", 0, "nas", "share", "bob", "s3cret", -1));
  network_folder_list_add(list, network_folder_create("NF002", "Films", 1, "host", "/export", "", "", 0));
  write_store("old");
  ASSERT_EQ(chmod(store_path().c_str(), 0600), 0);
  int result = 1;
  log = test::captured_stderr([&] { result = network_folder_list_save(list, 0, 3); });
  EXPECT_EQ(result, 0);
  const std::string expected =
      "id_counter = 3\n"
      "id.0 = NF001\nname.0 = Music\ntype.0 = 0\nserver.0 = nas\ndirectory.0 = share\nuser.0 = bob\npassword.0 = "
      "s3cret\n"
      "id.1 = NF002\nname.1 = Films\ntype.1 = 1\nserver.1 = host\ndirectory.1 = /export\nuser.1 = \npassword.1 = \n"
      "protocol.1 = 0\n";
  EXPECT_EQ(store(), expected);
  struct stat st;
  ASSERT_EQ(stat(store_path().c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_NE(log.find("Saving network folders list:\n"), std::string::npos);
  EXPECT_NE(log.find("] protocol.1 = 0\n"), std::string::npos);

  // Protocol -1 is not stored and comes back as the default, 1.
  network_folder_list_clear(list);
  load(nullptr);
  EXPECT_EQ(folders(), (Rows{"NF001 Music 0 nas share 'bob' 's3cret' 1", "NF002 Films 1 host /export '' '' 0"}));

  // A missing store is logged and loads nothing; a store that cannot be written fails.
  ASSERT_EQ(unlink(store_path().c_str()), 0);
  network_folder_list_clear(list);
  long long counter = 0;
  load(&counter);
  EXPECT_EQ(list->num_items, 0);
  EXPECT_EQ(counter, 1);
  EXPECT_NE(log.find("] Stored network folders are not found.\n"), std::string::npos);
  ASSERT_EQ(rmdir(sandbox.path("/config").c_str()), 0);
  test::captured_stdout([&] { test::captured_stderr([&] { result = network_folder_list_save(list, 0, 1); }); });
  EXPECT_EQ(result, -1);
}

TEST(NetworkFolderLookups, MatchWholeSegments) {
  network_folder_list* list = network_folder_list_create();
  network_folder_list_add(list, network_folder_create("NF001", "Music2", 0, "s", "d", "", "", 1));
  network_folder_list_add(list, network_folder_create("NF0012", "Music", 1, "s", "d", "", "", 1));
  network_folder_list_add(list, network_folder_create("NF002", "Music", 0, "s", "d", "", "", 1));
  const char* text = "Music2 NF0012";
  struct {
    int type;
    int length;
    int index;
  } by_name[] = {{0, 6, 0}, {0, 5, 2}, {1, 5, 1}, {1, 6, -1}, {0, 4, -1}, {2, 5, -1}};
  for (const auto& row : by_name) {
    EXPECT_EQ(network_folder_list_find_by_type_and_name(list, row.type, text, row.length), row.index)
        << row.type << " " << row.length;
  }
  EXPECT_EQ(network_folder_list_get_by_name(list, text, 5), list->items[1]);
  EXPECT_EQ(network_folder_list_get_by_name(list, text, 6), list->items[0]);
  EXPECT_EQ(network_folder_list_get_by_name(list, text, 3), nullptr);
  struct {
    int length;
    int index;
  } by_id[] = {{6, 1}, {5, 0}, {4, -1}};
  for (const auto& row : by_id) {
    str_seg id = {text + 7, row.length};
    EXPECT_EQ(network_folder_list_find_by_id_seg(list, id), row.index) << row.length;
    EXPECT_EQ(network_folder_list_get_by_id_seg(list, id), row.index < 0 ? nullptr : list->items[row.index]);
  }
  EXPECT_EQ(network_folder_list_find_by_id(list, "NF002"), 2);
  EXPECT_EQ(network_folder_list_get_by_id(list, "NF002"), list->items[2]);
  EXPECT_EQ(network_folder_list_find_by_id(list, "NF00"), -1);
  EXPECT_EQ(network_folder_list_get_by_id(list, "NF003"), nullptr);
  EXPECT_EQ(network_folder_list_find_by_type_and_name(nullptr, 0, "Music", 5), -1);
  EXPECT_EQ(network_folder_list_get_by_name(nullptr, "Music", 5), nullptr);
  EXPECT_EQ(network_folder_list_find_by_id(nullptr, "NF001"), -1);
  EXPECT_EQ(network_folder_list_get_by_id_seg(nullptr, str_to_seg("NF001")), nullptr);
  network_folder_list_free(list);
}

TEST_F(NetworkFolderTest, EachThreadHasItsOwnCurrentList) {
  write_store("id_counter = 2\nid.0 = NF001\nname.0 = A\nserver.0 = s\ndirectory.0 = d\n");
  test::LogLock log_lock;
  struct Seen {
    network_folder_list* list = nullptr;
    network_folder_list* again = nullptr;
    int count = -1;
    long long counter = 0;
    std::string name;
  };
  auto run = [](void* arg) -> void* {
    Seen* seen = static_cast<Seen*>(arg);
    seen->list = network_folder_list_get_current();
    network_folder_list_reload_current(&seen->counter, 0);
    network_folder_list_reload_current(&seen->counter, 0);  // cleared first, not appended to
    seen->again = network_folder_list_get_current();
    seen->count = seen->again->num_items;
    if (seen->count > 0) seen->name = seen->again->items[0]->name;
    return nullptr;
  };
  network_folder_list* mine = network_folder_list_get_current();
  EXPECT_EQ(mine->num_items, 0);
  Seen seen[2];
  pthread_t threads[2];
  for (int i = 0; i < 2; ++i) ASSERT_EQ(pthread_create(&threads[i], nullptr, run, &seen[i]), 0);
  for (pthread_t t : threads) pthread_join(t, nullptr);
  for (const Seen& s : seen) {
    EXPECT_NE(s.list, mine);
    EXPECT_EQ(s.again, s.list);
    EXPECT_EQ(s.count, 1);
    EXPECT_EQ(s.name, "A");
    EXPECT_EQ(s.counter, 2);
  }
  EXPECT_NE(seen[0].list, seen[1].list);
  EXPECT_EQ(network_folder_list_get_current(), mine);
  EXPECT_EQ(mine->num_items, 0);

  // Saving the current list writes the store the other threads read.
  network_folder_list_add(mine, network_folder_create("NF005", "Mine", 1, "h", "/x", "", "", 0));
  test::captured_stderr([&] { EXPECT_EQ(network_folder_list_save_current(6), 0); });
  EXPECT_EQ(store().rfind("id_counter = 6\nid.0 = NF005\nname.0 = Mine\n", 0), 0u);
  network_folder_list_clear(mine);
}

TEST_F(NetworkFolderTest, ToolAddsAndListsFolders) {
  std::string out;
  EXPECT_EQ(test::run_tool("net folders", &out), 0);
  EXPECT_EQ(out, "no network folders\n");
  EXPECT_EQ(test::run_tool("net add-folder Music smb NAS Share --user bob --password 'p w'", &out), 0);
  EXPECT_EQ(out, "NF001\n");
  EXPECT_EQ(test::run_tool("net add-folder Films nfs files.lan /export --proto udp", &out), 0);
  EXPECT_EQ(out, "NF002\n");
  EXPECT_EQ(test::run_tool("net add-folder Films smb h d", &out), 0) << "the same name with another type";
  EXPECT_EQ(test::run_tool("net folders", &out), 0);
  EXPECT_EQ(out,
            "NF001 \"Music\" smb://nas:share user=\"bob\" password=yes\n"
            "NF002 \"Films\" nfs://files.lan:/export proto=udp\n"
            "NF003 \"Films\" smb://h:d user=\"\" password=no\n");
  EXPECT_NE(store().find("password.0 = p w\n"), std::string::npos);

  EXPECT_EQ(test::run_tool("net add-folder Music smb x y", &out, true), 1);
  EXPECT_NE(out.find("vonautil net: there is already a smb folder named 'Music' (NF001)"), std::string::npos);
  const char* bad_usage[] = {"net add-folder Music smb NAS",
                             "net add-folder A smb s d extra",
                             "net add-folder A ftp s d",
                             "net add-folder A nfs s d --proto sctp",
                             "net add-folder A nfs s d --user bob",
                             "net add-folder A smb s d --proto tcp",
                             "net add-folder A smb s d --user",
                             "net add-folder A smb '' d",
                             "net add-folder A smb s d --verbose",
                             "net folders extra"};
  for (const char* command : bad_usage) EXPECT_EQ(test::run_tool(command), 2) << command;
  EXPECT_EQ(test::run_tool("net folders", &out), 0);
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 3);
}

}  // namespace
