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
  // Loads the store afresh into `list`; the log messages go to `log`.
  Rows load(long long* counter, int verbose = 0) {
    network_folder_list_clear(list);
    log = test::log_messages(test::captured_stderr([&] { network_folder_list_load(list, counter, verbose); }));
    return rows(list);
  }

  network_folder_list* list = network_folder_list_create();
  std::string log;
};

TEST(NetworkFolder, WordsCaptionsAndRequiredTexts) {
  std::string words;
  std::string log = test::log_messages(test::captured_stderr([&] {
    for (int code = -1; code <= 2; ++code) {
      const char* type = get_network_folder_type_caption(code);
      const char* protocol = get_network_protocol_caption(code);
      words += network_folder_type_to_string(code) + std::string(type ? type : "-") + ' ';
      words += network_protocol_to_string(code) + std::string(protocol ? protocol : "-") + '|';
    }
  }));
  EXPECT_EQ("- -|smbSMB udpUDP|nfsNFS tcpTCP|- -|", words);
  EXPECT_EQ("Warning: invalid network folder type id: -1\nWarning: invalid protocol id: -1\n"
            "Warning: invalid network folder type id: 2\nWarning: invalid protocol id: 2\n",
            log);
  // The type word is the first `length` characters, matched whole, in lower case.
  EXPECT_EQ(1, network_folder_type_from_string("nfs://x", 3, 9));
  EXPECT_EQ(9, network_folder_type_from_string("smb", 2, 9));

  const char* module = "player/src/util/mt/network_folder";
  const char* names[6] = {"id", "name", "server", "directory", "user", "password"};
  for (int missing = 0; missing < 6; ++missing) {
    const char* t[6] = {"NF001", "n", "s", "d", "u", "p"};
    t[missing] = nullptr;
    EXPECT_DEATH(network_folder_create(t[0], t[1], 0, t[2], t[3], t[4], t[5], 1),
                 test::assertion_report(module, 0, "network_folder_create", names[missing]));
  }
  EXPECT_DEATH(network_folder_list_load(nullptr, nullptr, 0),
               test::assertion_report(module, 0, "network_folder_list_load", "network_folders"));
}

// Index 1 lacks its server and index 3 its directory (both skipped), index 5 is missing (the list ends there); the
// others show every default; a missing id is generated from the counter, which stops at the largest value.
TEST_F(NetworkFolderTest, LoadsTheStoreAndSavesGeneratedIdsBack) {
  const std::string folders =
      "name.0 = Music\nserver.0 = NAS\ndirectory.0 = Share\nuser.0 = bob\npassword.0 = Pw\n"
      "id.1 = NF101\nname.1 = NoServer\ndirectory.1 = x\n"
      "id.2 = NF102\nname.2 = Films\ntype.2 = 1\nserver.2 = Files.Lan\ndirectory.2 = /X\nprotocol.2 = 0\n"
      "id.3 = NF103\nname.3 = NoDir\nserver.3 = x\n"
      "id.4 = NF104\nname.4 = Bare\ntype.4 = 1\nserver.4 = h\ndirectory.4 = /d\n"
      "id.6 = NF106\nname.6 = AfterTheGap\nserver.6 = h\ndirectory.6 = d\n";
  const std::string saved = "\nname.0 = Music\ntype.0 = 0\nserver.0 = nas\ndirectory.0 = share\n"
                            "user.0 = bob\npassword.0 = Pw\nprotocol.0 = 1\nid.1 = NF102\n";
  struct {
    const char *counter_line, *id;
    long long counter;
  } cases[] = {{"id_counter = 7\n", "NF007", 8}, {"id_counter = 0\n", "NF001", 2}, {"id_counter = -4\n", "NF001", 2},
               {"", "NF001", 2}, {"id_counter = 9223372036854775807\n", "NF9223372036854775807", LLONG_MAX}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.counter_line);
    test::write_file(path(), c.counter_line + folders);
    Rows expected = {std::string(c.id) + " Music 0 nas share 'bob' 'Pw' 1", "NF102 Films 1 Files.Lan /X '' '' 0",
                     "NF104 Bare 1 h /d '' '' 1"};
    EXPECT_EQ(expected, load(nullptr));
    EXPECT_EQ(c.counter_line + folders, store()) << "saved only when the caller takes the counter";
    long long counter = 0, again = 0;
    EXPECT_EQ(expected, load(&counter));
    EXPECT_EQ(c.counter, counter);
    EXPECT_EQ(0u, log.find("Saving network folders list:\nid_counter = ")) << log;
    EXPECT_EQ(0u, store().find("id_counter = " + std::to_string(c.counter) + "\nid.0 = " + c.id + saved)) << store();
    EXPECT_EQ(expected, load(&again)) << "the generated id is kept";
    EXPECT_EQ(counter, again);
    EXPECT_EQ("", log);
  }
  // The verbose load dumps the store; SMB names are cut at 255 characters.
  test::write_file(path(), "name.0 = L\nid.0 = N\nserver.0 = " + std::string(300, 'S') + "\ndirectory.0 = " +
                               std::string(255, 'D') + "\n");
  EXPECT_EQ(Rows{"N L 0 " + std::string(255, 's') + ' ' + std::string(255, 'd') + " '' '' 1"}, load(nullptr, 1));
  EXPECT_EQ(0u, log.find("Network folders list is loaded:\nname.0 = L\n"));
  unlink(path().c_str());
  long long counter = 0;
  EXPECT_EQ(Rows{}, load(&counter));
  EXPECT_EQ(1, counter);
  EXPECT_EQ("Stored network folders are not found.\n", log);
  ASSERT_EQ(0, rmdir(sandbox.path("/config").c_str()));
  test::captured_stderr([&] { EXPECT_EQ(-1, network_folder_list_save(list, 0, 1)); });
}

// A name or id matches only whole, a name only with its type; a null list holds nothing.
TEST_F(NetworkFolderTest, LookupsMatchWholeSegments) {
  network_folder_list_add(list, network_folder_create("NF001", "Music2", 0, "s", "d", "", "", 1));
  network_folder_list_add(list, network_folder_create("NF0012", "Music", 1, "s", "d", "", "", 1));
  network_folder_list_add(list, network_folder_create("NF002", "Music", 0, "s", "d", "", "", 1));
  EXPECT_EQ(0, network_folder_list_find_by_type_and_name(list, 0, "Music2", 6));
  EXPECT_EQ(2, network_folder_list_find_by_type_and_name(list, 0, "Music2", 5));
  EXPECT_EQ(-1, network_folder_list_find_by_type_and_name(list, 1, "Music2", 6));
  EXPECT_EQ(list->items[1], network_folder_list_get_by_name(list, "Music2", 5));
  EXPECT_EQ(nullptr, network_folder_list_get_by_name(list, "Music2", 4));
  EXPECT_EQ(1, network_folder_list_find_by_id_seg(list, str_seg{"NF0012", 6}));
  EXPECT_EQ(0, network_folder_list_find_by_id_seg(list, str_seg{"NF0012", 5}));
  EXPECT_TRUE(network_folder_list_get_by_id(list, "NF002") == list->items[2] &&
              network_folder_list_get_by_id(list, "NF00") == nullptr);
  EXPECT_EQ(nullptr, network_folder_list_get_by_name(nullptr, "Music", 5));
  EXPECT_EQ(-1, network_folder_list_find_by_type_and_name(nullptr, 0, "Music", 5));
}

// What the tool stores is checked whole: protocol -1 (of a new SMB folder) is not written, and the first folder, read
// back before each save, has the defaults of the load.
TEST_F(NetworkFolderTest, ToolAddsAndListsFolders) {
  test::expect_tool({
      {"net folders", 0, "no network folders\n"},
      {"net add-folder Music smb NAS Share --user bob --password 'p w'", 0, "NF001\n"},
      {"net add-folder Films nfs files.lan /export --proto udp", 0, "NF002\n"},
      {"net add-folder Films smb h d", 0, "NF003\n"},
      {"net folders", 0,
       "NF001 \"Music\" smb://nas:share user=\"bob\" password=yes\nNF002 \"Films\" nfs://files.lan:/export proto=udp\n"
       "NF003 \"Films\" smb://h:d user=\"\" password=no\n",
       true},
      {"net add-folder Music smb x y", 1, "vonautil net: there is already a smb folder named 'Music' (NF001)\n"},
  });
  EXPECT_EQ("id_counter = 4\nid.0 = NF001\nname.0 = Music\ntype.0 = 0\nserver.0 = nas\ndirectory.0 = share\n"
            "user.0 = bob\npassword.0 = p w\nprotocol.0 = 1\nid.1 = NF002\nname.1 = Films\ntype.1 = 1\n"
            "server.1 = files.lan\ndirectory.1 = /export\nuser.1 = \npassword.1 = \nprotocol.1 = 0\nid.2 = NF003\n"
            "name.2 = Films\ntype.2 = 0\nserver.2 = h\ndirectory.2 = d\nuser.2 = \npassword.2 = \n",
            store());
  std::vector<test::ToolRow> usage;
  for (const char* arguments :
       {"add-folder Music smb NAS", "add-folder A smb s d extra", "add-folder A ftp s d",
        "add-folder A nfs s d --proto sctp", "add-folder A nfs s d --user bob", "add-folder A smb s d --proto tcp",
        "add-folder A smb s d --user", "add-folder A smb '' d", "add-folder A smb s --verbose", "folders extra"}) {
    usage.push_back({std::string("net ") + arguments, 2, "Try 'vonautil net --help'.\n"});
  }
  test::expect_tool(usage);
  EXPECT_EQ(std::string::npos, store().find("NF004"));
}

}  // namespace
