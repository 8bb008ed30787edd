#include "test_support.hpp"

namespace {

class TopLevelCommand : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(sandbox.path("/tmp/run")); }
  std::string published() const { return test::read_file(path); }
  bool pending() const { return access(path.c_str(), F_OK) == 0; }
  std::string path = sandbox.path("/tmp/run/top_level_command.properties");
};

TEST_F(TopLevelCommand, PublishesThroughATemporaryFile) {
  // The vendor file of the factory data wins over the firmware's.
  EXPECT_EQ(0, top_level_command_set_from_vendor_file());
  for (std::string dir : {"/firmware/config", "/fconfig"}) {
    test::make_dirs(sandbox.path(dir));
    test::write_file(sandbox.path(dir + "/vendor_top_level_command.properties"), "from = " + dir + "\n");
    EXPECT_EQ(1, top_level_command_set_from_vendor_file());
    EXPECT_EQ("from = " + dir + "\n", published());
  }

  // Remote keys publish their commands; the karaoke key's video mode only when it is enabled.
  EXPECT_EQ(1, top_level_command_set_for_rmkey(227));
  EXPECT_EQ("cmd_name = launch_ktv\nmode = tv\n", published());
  EXPECT_EQ(1, top_level_command_set_for_rmkey(225));
  EXPECT_EQ("plugin_name = shell_ext\nplugin_ep_media_url = recent\nplugin_action_id = recent\n", published());
  EXPECT_CONTAINS(test::captured_stderr([] { EXPECT_EQ(0, top_level_command_cleanup()); }),
                  "] [top_level_command] CLEANUP command\n");
  for (int key : {100, 209, 226}) EXPECT_EQ(0, top_level_command_set_for_rmkey(key)) << key;
  EXPECT_FALSE(pending());
  EXPECT_EQ(0, top_level_command_cleanup());
  rflags_set_ktv_vod_enabled(1);
  EXPECT_EQ(1, top_level_command_set_for_rmkey(209));
  rflags_set_ktv_vod_enabled(0);
  EXPECT_EQ("cmd_name = launch_ktv\nmode = vod\n", published());
  unlink(path.c_str());

  // A directory in the file's place cannot be replaced, is no command and cannot be cleaned up;
  // without /tmp/run nothing is written.
  test::make_dirs(path + "/busy");
  std::string log = test::captured_stderr([&] {
    EXPECT_EQ(0, top_level_command_set(test::properties_of("a = 1\n")));
    EXPECT_EQ(0, top_level_command_cleanup());
    FS_remove_recursively_if_exists(sandbox.path("/tmp/run").c_str());
    EXPECT_EQ(0, top_level_command_set(test::properties_of("a = 1\n")));
  });
  EXPECT_EQ("[top_level_command] SET command\n[top_level_command] rename(" + path + ".tmp, " + path +
                ") failed: Is a directory\n[top_level_command] SET command\n[top_level_command] write(" + path +
                ".tmp) failed: No such file or directory\n",
            test::log_messages(log));
}

// Handlers whose verdicts each case sets; calls records the order in which they were asked.
int verdicts[3];
std::string calls;
template <int N>
int handler(properties* command) {
  calls += std::to_string(N) + properties_get_str(command, "cmd_name", "?");
  return verdicts[N];
}

TEST_F(TopLevelCommand, HandlersTakeTheCommandWithTheirVerdict) {
  EXPECT_EQ(0, top_level_command_do_handle());  // nothing pending
  top_level_command_set(test::properties_of("cmd_name = a\n"));
  EXPECT_EQ(0, top_level_command_do_handle());  // no handler: discarded
  EXPECT_FALSE(pending());
  std::string module = "player/src/util/top_level_command";
  EXPECT_DEATH(top_level_command_register_handler(nullptr),
               test::assertion_report(module, 0, "top_level_command_register_handler", "handler"));
  top_level_command_register_handler(handler<0>);
  top_level_command_register_handler(handler<1>);
  top_level_command_register_handler(handler<2>);
  struct {
    int verdicts[3];
    int result;
    const char* calls;
    bool kept;
  } cases[] = {{{0, 1, 1}, 1, "0a1a", false},   {{0, 0, 7}, 0, "0a1a2a", false}, {{0, 0, 0}, 0, "0a1a2a", false},
               {{-1, 0, 0}, 0, "0a", false},   {{2, 1, 1}, 0, "0a", true},
               {{2, 1, 1}, 0, "0a0a", true}};  // a command kept is offered again
  for (const auto& c : cases) {
    memcpy(verdicts, c.verdicts, sizeof verdicts);
    if (!pending()) {
      calls.clear();
      top_level_command_set(test::properties_of("cmd_name = a\n"));
    }
    EXPECT_EQ(c.result, top_level_command_do_handle()) << c.calls;
    EXPECT_EQ(c.calls, calls);
    EXPECT_EQ(c.kept, pending()) << c.calls;
  }
  // The 32 handlers the registry holds are registered; a 33rd is one too many.
  for (int i = 3; i < MAX_NUM_TOP_LEVEL_COMMAND_HANDLERS; ++i) top_level_command_register_handler(handler<0>);
  EXPECT_DEATH(top_level_command_register_handler(handler<0>),
               test::assertion_report(module, 0, "top_level_command_register_handler",
                                      "num_top_level_command_handlers < MAX_NUM_TOP_LEVEL_COMMAND_HANDLERS"));
}

TEST_F(TopLevelCommand, ToolPublishesShowsAndClears) {
  test::expect_tool({{"command show", 1, "vonautil command: no top-level command is pending\n", true},
                     {"command set action=eject path=/tmp/mnt/D", 0, "[top_level_command] SET command\n"},
                     {"command show", 0, "action = eject\npath = /tmp/mnt/D\n", true},
                     {"command set path", 2, "vonautil command: 'path' is not KEY=VALUE\n"},
                     {"command clear", 0, "[top_level_command] CLEANUP command\n"},
                     {"command show", 1, "no top-level command is pending"},
                     {"command shows x", 2, "unknown sub-command 'shows'"},
                     {"command clear x", 2, "clear takes no arguments"}});
}

}  // namespace
