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
  std::string out;
  EXPECT_EQ(0, test::run_tool("--help", &out));
  EXPECT_NE(std::string::npos, out.find("version"));
  EXPECT_EQ(0, test::run_tool("version", &out));
  EXPECT_EQ(std::string("vonautil ") + vonautil_version() + "\n", out);
  EXPECT_EQ(2, test::run_tool("no-such-command"));
  EXPECT_EQ(2, test::run_tool("version extra"));
  EXPECT_EQ(2, test::run_tool(""));
  EXPECT_EQ(0, test::run_tool("demo --help", &out));
  EXPECT_NE(std::string::npos, out.find("Usage: vonautil demo"));
}
