#include "test_support.hpp"

TEST(TextManager, ProcessWideLookupsSetOnlyTheCallingThreadsHolder) {
  test::Sandbox sandbox;
  EXPECT_EQ(0, T_exists("title"));  // nothing set yet
  EXPECT_DEATH(T_t("title"), "ERROR: Text Manager: Missing key \"title\"\\." +
                                 test::assertion_report("player/src/util/text_manager", 0, "T_t", "false"));
  test::write_file(sandbox.path("/t.txt"), "title = Title\n");
  translation* t = T_load_translation(sandbox.path("/t.txt").c_str(), 1);
  T_set_current_translation(t);
  EXPECT_EQ(t, T_get_current_translation());
  EXPECT_EQ(t, T_mt_get_current_translation());
  EXPECT_STREQ("Title", T_t("title"));
  EXPECT_EQ(0, T_exists("other"));
  EXPECT_DEATH(T_set_current_translation(nullptr), "Assertion `translation != NULL' failed");

  // Another thread reads the process-wide translation but has no per-thread one.
  std::string seen;
  pthread_t thread;
  pthread_create(&thread, nullptr, [](void* out) -> void* {
    *static_cast<std::string*>(out) = std::string(T_t("title")) + (T_mt_get_current_translation() ? " held" : " none");
    return nullptr;
  }, &seen);
  pthread_join(thread, nullptr);
  EXPECT_EQ("Title none", seen);
  T_mt_set_current_translation(nullptr, 0);
  T_free_translation(t);
}
