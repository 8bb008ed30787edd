#include "test_support.hpp"

TEST(FixedPath, FollowsTheSandboxRootOnlyForAbsolutePaths) {
  struct Case { const char *root, *path, *expected; };
  for (const Case& c : std::vector<Case>{{nullptr, "/config/a.properties", "/config/a.properties"},
                                         {"", "/tmp/run/x", "/tmp/run/x"},
                                         {"/sandbox", "/tmp/run/x", "/sandbox/tmp/run/x"},
                                         {"/sandbox//", "/tmp/run/x", "/sandbox/tmp/run/x"},
                                         {"/sandbox/", "relative/x", "relative/x"},
                                         {"/", "/proc/mounts", "/proc/mounts"}}) {
    c.root ? setenv("VONAUTIL_ROOT", c.root, 1) : unsetenv("VONAUTIL_ROOT");
    EXPECT_EQ(c.expected, test::take_string(fixed_path_resolve(c.path))) << c.root;
  }
  EXPECT_EQ(nullptr, fixed_path_resolve(nullptr));
  unsetenv("VONAUTIL_ROOT");
}

TEST(Assertion, ReportsModuleLineFunctionAndExpression) {
  EXPECT_DEATH(MY_assertion_failed("/build/x/player/src/util/mt/properties.cpp", 42, "properties_get", "props"),
               "^player/src/util/mt/properties:42: properties_get: Assertion `props' failed\\.\n");
  int count = 1;
  EXPECT_DEATH(MY_ASSERT(count <= 0), "tests/mt/fixed_path_test:[0-9]+: TestBody: Assertion `count <= 0' failed\\.");
}

// Exit statuses; output that cannot be written fails every command with the reason; --help is
// an option of a command or its sub-command only (an operand after it, or after "--").
TEST(Tool, ExitStatusesOutputFailuresAndOptionPlacement) {
  test::Sandbox sandbox;
  std::string f = sandbox.path("/f.properties"), overview, out;
  test::write_file(f, "a = 1\n");
  test::expect_tool({{"version", 0, std::string("vonautil ") + vonautil_version() + "\n"},
                     {"--version", 0, std::string("vonautil ") + vonautil_version() + "\n"},
                     {"no-such-command", 2, ""}, {"version extra", 2, ""}, {"", 2, ""},
                     {"demo --help", 0, "Usage: vonautil demo"}, {"props set --help", 0, "Usage: vonautil props"},
                     {"props set " + f + " k --help", 0, "new: k = --help\n"},
                     {"props set --create -- " + sandbox.path("/--create") + " k v", 0, "new: k = v\n"},
                     {"--help 2>&1 >/dev/full; exit $?", 1,
                      "vonautil: cannot write the output: No space left on device\n", true},
                     {"url classify a.mp3 b.mkv >/dev/full", 1, ""}});
  EXPECT_EQ("a = 1\nk = --help\n", test::read_file(f));
  EXPECT_EQ("k = v\n", test::read_file(sandbox.path("/--create")));
  ASSERT_EQ(0, test::run_tool("--help", &overview));
  std::istringstream lines(overview.substr(overview.find("Commands:\n") + 10));
  int commands = 0;
  for (std::string line; std::getline(lines, line) && line.size() > 2 && line[0] == ' '; ++commands) {
    std::string name = line.substr(2, line.find(' ', 2) - 2);
    EXPECT_EQ(1, test::run_tool(name + " --help 2>&1 >/dev/full; exit $?", &out)) << name;
    EXPECT_EQ("vonautil " + name + ": cannot write the output: No space left on device\n", out);
  }
  EXPECT_LT(5, commands);
}
