#include "test_support.hpp"

namespace {

class AppSwitcher : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(sandbox.path("/tmp/run")); }
  std::string path = sandbox.path("/tmp/run/app_switcher.txt");
};

// The process-wide list as "name(arg,arg) name ..."; a command without an argument array
// shows no parentheses.
std::string listed() {
  std::string text;
  const app_switcher_cmd_list* list = app_switcher_get_cmd_list();
  for (int i = 0; list != nullptr && i < list->num_items; ++i) {
    const app_switcher_cmd* cmd = list->items[i];
    text += std::string(i ? " " : "") + cmd->name;
    if (cmd->args != nullptr) text += "(" + test::take_string(string_array_join(cmd->args, ",", 0, -1)) + ")";
  }
  return text;
}

TEST_F(AppSwitcher, SavesBlocksAndReadsThemBack) {
  app_switcher_save_cmd_list();  // the list was never created: no file
  EXPECT_NE(0, access(path.c_str(), F_OK));
  app_switcher_add_last_cmd("media", test::string_array_of({"--url", "x y"}));
  app_switcher_add_first_cmd("browser", nullptr);
  app_switcher_add_last_cmd("cut", test::string_array_of({"", "after"}));
  app_switcher_save_cmd_list();
  EXPECT_EQ("browser\n\nmedia\n--url\nx y\n\ncut\n\nafter\n\n", test::read_file(path));
  // The empty argument ends its command.
  EXPECT_EQ("[app_switcher] 4 commands loaded\n", test::captured_stdout(app_switcher_load_cmd_list));
  EXPECT_EQ("browser media(--url,x y) cut after", listed());
  app_switcher_clear_and_save_cmd_list();
  EXPECT_EQ("", test::read_file(path));

  // Failures are printed, without a line end, and leave the list alone.
  app_switcher_add_last_cmd("kept", nullptr);
  unlink(path.c_str());
  test::make_dirs(path + "/busy");
  EXPECT_EQ("[app_switcher] rename '" + path + ".tmp' to '" + path + "' failed: Is a directory",
            test::captured_stderr(app_switcher_save_cmd_list));
  unlink((path + ".tmp").c_str());
  test::make_dirs(path + ".tmp/busy");
  EXPECT_EQ("[app_switcher] failed to open_write '" + path + ".tmp': Is a directory",
            test::captured_stderr(app_switcher_save_cmd_list));
  EXPECT_EQ("kept", listed());
  app_switcher_cmd_free(nullptr);
  EXPECT_DEATH(app_switcher_cmd_create(nullptr, nullptr),
               test::assertion_report("player/src/util/app_switcher", 0, "app_switcher_cmd_create", "name"));
}

TEST_F(AppSwitcher, LoadingStopsAtAnEmptyLineWithoutAName) {
  struct {
    std::string text;
    std::string commands;
  } cases[] = {
      {"a\nx\ny\n\nb\n", "a(x,y) b"},
      {"  a \t\n\tx  \r\n \t\n\nb\n", "a(x)"},  // lines are stripped: a blank one is empty
      {"\na\n\n", ""},
      {"a\n\n\nb\n\n", "a"},
      // Only the first 131072 bytes are read.
      {"a\n" + std::string(131068, 'x') + "\n\nb\n\n", "a(" + std::string(131068, 'x') + ")"},
      {"a\n" + std::string(131071, 'x') + "\n\nb\n\n", "a(" + std::string(131070, 'x') + ")"},
  };
  for (const auto& c : cases) {
    test::write_file(path, c.text);
    test::captured_stdout(app_switcher_load_cmd_list);
    EXPECT_EQ(c.commands, listed()) << c.text.substr(0, 20);
  }
  unlink(path.c_str());
  app_switcher_add_last_cmd("stale", nullptr);
  EXPECT_EQ("", test::captured_stdout(app_switcher_load_cmd_list));
  EXPECT_EQ("", listed());
}

TEST_F(AppSwitcher, ToolAddsListsAndClears) {
  test::expect_tool({{"switcher add player -f /x", 0, "", true},
                     {"switcher add menu", 0, "[app_switcher] 1 commands loaded\n", true},
                     {"switcher list", 0, "[app_switcher] 2 commands loaded\nplayer\n    -f\n    /x\nmenu\n", true},
                     {"switcher clear", 0, "", true},
                     {"switcher list", 0, "[app_switcher] 0 commands loaded\n", true},
                     {"switcher add", 2, "expected list, add NAME [ARG...] or clear"}});
}

}  // namespace
