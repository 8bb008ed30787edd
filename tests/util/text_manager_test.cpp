#include <pthread.h>

#include <string>

#include "test_support.hpp"
#include "vonautil.h"

TEST(TextManager, ProcessWideLookupsAndTheCallingThreadsHolder) {
  test::Sandbox sandbox;
  EXPECT_EQ(0, T_exists("title"));  // nothing set yet
  EXPECT_DEATH(T_t("title"), "ERROR: Text Manager: Missing key \"title\"\\." +
                                 test::assertion_report("player/src/util/text_manager", 0, "T_t", "false"));
  std::string path = sandbox.path("/t.txt");
  test::write_file(path, "title = Title\n");
  translation* t = T_load_translation(path.c_str(), 1);
  T_set_current_translation(t);
  EXPECT_EQ(t, T_get_current_translation());
  EXPECT_EQ(t, T_mt_get_current_translation());
  EXPECT_STREQ("Title", T_t("title"));
  EXPECT_EQ(1, T_exists("title"));
  EXPECT_EQ(0, T_exists("other"));
  EXPECT_DEATH(T_t("other"), "Missing key \"other\"");

  // Other threads keep their own holder: process-wide lookups work there, per-thread ones do not.
  struct Seen {
    translation* holder;
    std::string text;
  } seen{t, ""};
  pthread_t thread;
  pthread_create(
      &thread, nullptr,
      [](void* argument) -> void* {
        Seen* s = static_cast<Seen*>(argument);
        s->holder = T_mt_get_current_translation();
        s->text = T_t("title");
        return nullptr;
      },
      &seen);
  pthread_join(thread, nullptr);
  EXPECT_EQ(nullptr, seen.holder);
  EXPECT_EQ("Title", seen.text);
  EXPECT_DEATH(T_set_current_translation(nullptr), "Assertion `translation != NULL' failed");
  T_mt_set_current_translation(nullptr, 0);
  T_free_translation(t);
}
