#include <fcntl.h>

#include "test_support.hpp"

TEST(FatalError, PrintsTheMessageOnStandardOutputAndExitsWithOne) {
  // The dying child's standard output goes where the death test looks (standard error), and
  // its standard error goes nowhere.
  auto on_stderr = [] {
    dup2(2, 1);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
  };
  EXPECT_EXIT((on_stderr(), MY_fatal_error("disk gone")), testing::ExitedWithCode(1),
              "^\n\n### FATAL ERROR: disk gone\n\n$");
  EXPECT_EXIT((on_stderr(), MY_fatal_error_f("%s %d%%", "at", 50)), testing::ExitedWithCode(1),
              "^\n\n### FATAL ERROR: at 50%\n\n$");
  std::string long_text(6000, 'z');
  EXPECT_EXIT((on_stderr(), MY_fatal_error_f("[%s]", long_text.c_str())), testing::ExitedWithCode(1),
              "^\n\n### FATAL ERROR: \\[(z{200}){30}\\]\n\n$");
}
