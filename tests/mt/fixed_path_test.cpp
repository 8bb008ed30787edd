#include "test_support.hpp"

TEST(FixedPath, FollowsTheSandboxRootOnlyForAbsolutePaths) {
  auto resolve = [](const char* path) { return test::take_string(fixed_path_resolve(path)); };
  unsetenv("VONAUTIL_ROOT");
  EXPECT_EQ("/config/a.properties", resolve("/config/a.properties"));
  setenv("VONAUTIL_ROOT", "", 1);
  EXPECT_EQ("/tmp/run/x", resolve("/tmp/run/x"));
  for (const char* root : {"/sandbox", "/sandbox/", "/sandbox//"}) {
    setenv("VONAUTIL_ROOT", root, 1);
    EXPECT_EQ("/sandbox/tmp/run/x", resolve("/tmp/run/x")) << root;
    EXPECT_EQ("relative/x", resolve("relative/x"));
  }
  setenv("VONAUTIL_ROOT", "/", 1);
  EXPECT_EQ("/proc/mounts", resolve("/proc/mounts"));
  EXPECT_EQ(nullptr, fixed_path_resolve(nullptr));
  unsetenv("VONAUTIL_ROOT");
}

TEST(Assertion, ReportsModuleLineFunctionAndExpression) {
  EXPECT_DEATH(MY_assertion_failed("/build/x/player/src/util/mt/properties.cpp", 42, "properties_get", "props"),
               "^player/src/util/mt/properties:42: properties_get: Assertion `props' failed\\.\n");
  int count = 1;
  EXPECT_DEATH(MY_ASSERT(count <= 0), "tests/mt/fixed_path_test:[0-9]+: TestBody: Assertion `count <= 0' failed\\.");
}

TEST(Tool, ExitStatusesFollowTheConventions) {
  test::expect_tool({{"--help", 0, "version"}, {"version", 0, std::string("vonautil ") + vonautil_version() + "\n"},
                     {"no-such-command", 2, ""}, {"version extra", 2, ""}, {"", 2, ""},
                     {"demo --help", 0, "Usage: vonautil demo"}});
}

// Output that cannot be written fails every command with the reason; --help is an option of a
// command or its sub-command only; --version is the version command.
TEST(Tool, OutputFailuresAndOptionPlacement) {
  std::string out, overview;
  // Standard output on /dev/full; `out` gets standard error.
  auto full = [&](const std::string& command) { return test::run_tool(command + " 2>&1 >/dev/full; exit $?", &out); };
  EXPECT_EQ(1, full("--help"));
  EXPECT_EQ("vonautil: cannot write the output: No space left on device\n", out);
  ASSERT_EQ(0, test::run_tool("--help", &overview));
  std::istringstream lines(overview.substr(overview.find("Commands:\n") + 10));
  std::string line;
  int commands = 0;
  while (std::getline(lines, line) && line.size() > 2 && line[0] == ' ') {
    std::string name = line.substr(2, line.find(' ', 2) - 2);
    ++commands;
    EXPECT_EQ(1, full(name + " --help")) << name;
    EXPECT_EQ("vonautil " + name + ": cannot write the output: No space left on device\n", out);
  }
  EXPECT_LT(5, commands);
  EXPECT_EQ(1, full("url classify a.mp3 b.mkv"));
  EXPECT_EQ(0, test::run_tool("--version", &out));
  EXPECT_EQ(std::string("vonautil ") + vonautil_version() + "\n", out.substr(0, out.find('\n') + 1));

  test::Sandbox sandbox;
  std::string f = sandbox.path("/f.properties");
  test::write_file(f, "a = 1\n");
  EXPECT_EQ(0, test::run_tool("props set " + f + " k --help"));
  EXPECT_EQ("a = 1\nk = --help\n", test::read_file(f));
  EXPECT_EQ(0, test::run_tool("props set --create -- " + sandbox.path("/--create") + " k v"));
  EXPECT_EQ("k = v\n", test::read_file(sandbox.path("/--create")));
  EXPECT_EQ(0, test::run_tool("props set --help", &out));
  EXPECT_EQ(0, out.find("Usage: vonautil props"));
}
