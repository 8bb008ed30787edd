#include <pthread.h>

#include <string>

#include "test_support.hpp"
#include "vonautil.h"

namespace {

class TextManagerMt : public test::SandboxTest {
 protected:
  translation* load(const std::string& content) {
    std::string path = sandbox.path("/t.txt");
    test::write_file(path, content);
    return T_load_translation(path.c_str(), 1);
  }
};

struct Reader {
  translation* table;
  int owned;
  translation* replacement;  // set (owned) after the first lookup when not null
  std::string before, after;
  translation* seen_at_start;
};

void* read_texts(void* argument) {
  Reader* r = static_cast<Reader*>(argument);
  r->seen_at_start = T_mt_get_current_translation();
  T_mt_set_current_translation(r->table, r->owned);
  T_mt_set_current_translation(r->table, r->owned);  // setting the same one again keeps it
  r->before = T_mt_t("title");
  if (r->replacement) {
    T_mt_set_current_translation(r->replacement, 1);  // the previous one is freed if owned
    r->after = T_mt_t("title");
  }
  return nullptr;  // the thread's owned translation is freed as it ends
}

}  // namespace

TEST_F(TextManagerMt, EachThreadHasItsOwnTranslationAndOwnedOnesAreFreedAtExit) {
  translation* shared = load("title = Shared\n");
  Reader readers[] = {
      {shared, 0, nullptr, "", "", nullptr},
      {load("title = Owned\n"), 1, nullptr, "", "", nullptr},
      {load("title = First\n"), 1, load("title = Second\n"), "", "", nullptr},
      {shared, 0, load("title = Later\n"), "", "", nullptr},
  };
  T_mt_set_current_translation(shared, 0);
  pthread_t threads[4];
  for (int i = 0; i < 4; ++i) ASSERT_EQ(0, pthread_create(&threads[i], nullptr, read_texts, &readers[i]));
  for (pthread_t thread : threads) pthread_join(thread, nullptr);
  const char* expected[][2] = {{"Shared", ""}, {"Owned", ""}, {"First", "Second"}, {"Shared", "Later"}};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(nullptr, readers[i].seen_at_start);  // a new thread starts without a translation
    EXPECT_EQ(expected[i][0], readers[i].before);
    EXPECT_EQ(expected[i][1], readers[i].after);
  }
  EXPECT_EQ(shared, T_mt_get_current_translation());
  EXPECT_STREQ("Shared", T_mt_t("title"));  // not owned: still alive after its threads ended
  T_mt_set_current_translation(nullptr, 0);
  T_free_translation(shared);
}

TEST_F(TextManagerMt, LookupsWithoutTranslationWarnAndMissingKeysEndTheProcess) {
  T_mt_set_current_translation(nullptr, 0);
  testing::internal::CaptureStderr();
  EXPECT_STREQ("", T_mt_t("title"));
  EXPECT_EQ(0, T_mt_exists("title"));
  EXPECT_EQ(
      "WARNING: T_mt_t(title) called while not initialized.\n"
      "WARNING: T_mt_exists(title) called while not initialized.\n",
      testing::internal::GetCapturedStderr());
  translation* t = load("title = Title\n");
  T_mt_set_current_translation(t, 0);
  EXPECT_EQ(1, T_mt_exists("title"));
  EXPECT_EQ(0, T_mt_exists("other"));
  EXPECT_DEATH(T_mt_t("other"), "ERROR: T_mt_t\\(other\\): missing key\\.\n" +
                                    test::assertion_report("player/src/util/mt/text_manager_mt", 0, "T_mt_t", "false"));
  T_mt_set_current_translation(nullptr, 0);
  T_free_translation(t);
}
