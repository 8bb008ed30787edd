#include "test_support.hpp"

namespace {

// The registry lives as long as the process, so each test asks for identifiers of its own.
class PredefinedKeyboards : public test::SandboxTest {
 protected:
  PredefinedKeyboards() { test::make_dirs(sandbox.path("/firmware/on_screen_keyboards")); }
  void install(const std::string& id, const std::string& text) {
    test::write_file(sandbox.path("/firmware/on_screen_keyboards/vona_keyboard_" + id + ".txt"), text);
  }
  // What a lookup of `id` logs; the layout found in *layout.
  std::string lookup(const char* id, osk_layout** layout) {
    return test::log_messages(test::captured_stderr([&] { *layout = get_predefined_osk_layout(id); }));
  }
  const std::string shipped_ru =
      test::read_file(std::string(VONAUTIL_DATA_DIR) + "/on_screen_keyboards/vona_keyboard_ru.txt");
};

// A language is read once and kept as it was read: found, missing or broken.
TEST_F(PredefinedKeyboards, LoadsALanguageOnceAndKeepsIt) {
  install("ru", shipped_ru);
  osk_layout *layout, *again;
  EXPECT_EQ("On-screen keyboard is successfully loaded for 'ru'\n", lookup("ru", &layout));
  ASSERT_NE(layout, nullptr);
  EXPECT_STREQ(layout->name, "Русская");
  EXPECT_EQ(layout->cols_count, 15);
  EXPECT_TRUE(layout->has_lang_key);
  osk_layout_set_lang_key_hidden(layout, true);
  install("ru", "changed on disk");
  EXPECT_EQ("", lookup("ru", &again));
  EXPECT_EQ(again, layout);
  EXPECT_TRUE(layout->lang_key_hidden);

  EXPECT_EQ("No on-screen keyboard is found for 'missing'\n", lookup("missing", &layout));
  install("broken", "(en) (bs)\n[a");
  std::string log;
  EXPECT_EQ("Layout:\n(en) (bs)\n[a\n", test::captured_stdout([&] { log = lookup("broken", &layout); }));
  EXPECT_EQ("Failed to parse on-screen keyboard for 'broken': ']' expected at row 1, col 1; char U+0000 found.\n",
            log);
  for (const char* id : {"missing", "broken"}) {
    install(id, shipped_ru);
    EXPECT_EQ("", lookup(id, &layout)) << id;
    EXPECT_EQ(nullptr, layout) << id;
  }
}

// In a process of its own: the 200 identifiers fill the registry for good. CTest runs every
// test in a process of its own anyway; the re-executing style keeps it so when the whole program
// runs, where the kernel can start the program itself (not under a user-mode emulator).
TEST_F(PredefinedKeyboards, HoldsAtMostTwoHundredLanguages) {
#ifndef VONAUTIL_EMULATED
  GTEST_FLAG_SET(death_test_style, "threadsafe");
#endif
  EXPECT_EXIT(
      {
        install("ru", shipped_ru);
        bool ok = get_predefined_osk_layout("ru") != nullptr;
        for (int i = 1; i < 200; ++i) ok = ok && get_predefined_osk_layout(("x" + std::to_string(i)).c_str()) == nullptr;
        install("el", shipped_ru);
        ok = ok && get_predefined_osk_layout("el") == nullptr && get_predefined_osk_layout("ru") != nullptr;
        exit(ok ? 0 : 1);
      },
      testing::ExitedWithCode(0), "\\] Warning: too many on-screen keyboards registered\n");
  EXPECT_DEATH(get_predefined_osk_layout(nullptr),
               test::assertion_report("player/src/util/predefined_keyboards", 0, "get_predefined_osk_layout", "id"));
}

}  // namespace
