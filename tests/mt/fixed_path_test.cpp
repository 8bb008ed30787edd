#include <cstdlib>

#include "test_support.hpp"
#include "vonautil.h"

TEST(FixedPath, FollowsTheSandboxRootOnlyForAbsolutePaths) {
  unsetenv("VONAUTIL_ROOT");
  char* plain = fixed_path_resolve("/config/a.properties");
  EXPECT_STREQ("/config/a.properties", plain);
  free(plain);

  setenv("VONAUTIL_ROOT", "", 1);
  plain = fixed_path_resolve("/tmp/run/x");
  EXPECT_STREQ("/tmp/run/x", plain);
  free(plain);

  for (const char* root : {"/sandbox", "/sandbox/", "/sandbox//"}) {
    setenv("VONAUTIL_ROOT", root, 1);
    char* resolved = fixed_path_resolve("/tmp/run/x");
    EXPECT_STREQ("/sandbox/tmp/run/x", resolved) << root;
    free(resolved);
    char* relative = fixed_path_resolve("relative/x");
    EXPECT_STREQ("relative/x", relative);
    free(relative);
  }
  setenv("VONAUTIL_ROOT", "/", 1);
  char* top = fixed_path_resolve("/proc/mounts");
  EXPECT_STREQ("/proc/mounts", top);
  free(top);
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
  EXPECT_EQ(0u, out.find(std::string("vonautil ") + vonautil_version() + "\n")) << out;
  EXPECT_EQ(2, test::run_tool("no-such-command"));
  EXPECT_EQ(2, test::run_tool("version extra"));
  EXPECT_EQ(2, test::run_tool(""));
  EXPECT_EQ(0, test::run_tool("demo --help", &out));
  EXPECT_NE(std::string::npos, out.find("Usage: vonautil demo"));
}
