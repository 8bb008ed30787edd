#include "test_support.hpp"

namespace {

translation* load(const test::Sandbox& sandbox, const std::string& content) {
  test::write_file(sandbox.path("/t.txt"), content);
  return T_load_translation(sandbox.path("/t.txt").c_str(), 1);
}

// A thread sets its translation (twice: setting the same one again keeps it), looks the title up,
// then, when there is a replacement, sets it owned (freeing the first if that was owned) and looks
// again. Whatever the thread owns at its end is freed with it.
struct Reader {
  translation* table;
  int owned;
  translation* replacement;
  std::string texts;
};

void* read_texts(void* argument) {
  Reader* r = static_cast<Reader*>(argument);
  r->texts = T_mt_get_current_translation() ? "inherited " : "";
  T_mt_set_current_translation(r->table, r->owned);
  T_mt_set_current_translation(r->table, r->owned);
  r->texts += T_mt_t("title");
  if (r->replacement) T_mt_set_current_translation(r->replacement, 1);
  if (r->replacement) r->texts += std::string(" ") + T_mt_t("title");
  return nullptr;
}

}  // namespace

TEST(TextManagerMt, EachThreadHasItsOwnTranslationAndOwnedOnesAreFreedAtExit) {
  test::Sandbox sandbox;
  translation* shared = load(sandbox, "title = Shared\n");
  Reader readers[] = {{shared, 0, nullptr, ""}, {load(sandbox, "title = Owned\n"), 1, nullptr, ""},
                      {load(sandbox, "title = First\n"), 1, load(sandbox, "title = Second\n"), ""},
                      {shared, 0, load(sandbox, "title = Later\n"), ""}};
  T_mt_set_current_translation(shared, 0);
  pthread_t threads[4];
  for (int i = 0; i < 4; ++i) ASSERT_EQ(0, pthread_create(&threads[i], nullptr, read_texts, &readers[i]));
  for (pthread_t thread : threads) pthread_join(thread, nullptr);
  EXPECT_EQ("Shared|Owned|First Second|Shared Later|",
            readers[0].texts + "|" + readers[1].texts + "|" + readers[2].texts + "|" + readers[3].texts + "|");
  EXPECT_STREQ("Shared", T_mt_t("title"));  // not owned: alive after the threads that used it

  T_mt_set_current_translation(nullptr, 0);
  testing::internal::CaptureStderr();
  EXPECT_STREQ("", T_mt_t("title"));
  EXPECT_EQ(0, T_mt_exists("title"));
  EXPECT_EQ("WARNING: T_mt_t(title) called while not initialized.\n"
            "WARNING: T_mt_exists(title) called while not initialized.\n", testing::internal::GetCapturedStderr());
  T_mt_set_current_translation(shared, 0);
  EXPECT_EQ(1, T_mt_exists("title"));
  EXPECT_EQ(0, T_mt_exists("other"));
  EXPECT_DEATH(T_mt_t("other"), "ERROR: T_mt_t\\(other\\): missing key\\.\n" +
                                    test::assertion_report("player/src/util/mt/text_manager_mt", 0, "T_mt_t", "false"));
  T_mt_set_current_translation(nullptr, 0);
  T_free_translation(shared);
}
