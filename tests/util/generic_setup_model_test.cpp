#include <climits>

#include "test_support.hpp"

using test::captured_stdout;

namespace {

const char* output_choice(int value) {
  static const char* const kChoices[] = {"hdmi", "composite", "component"};
  return value >= 0 && value < 3 ? kChoices[value] : nullptr;
}

// What the setup model writes into a new container, as file text.
std::string saved() {
  properties* p = properties_create_empty();
  generic_setup_model_put_settings(p);
  std::string text = test::take_string(properties_save_to_buffer(p));
  properties_free(p);
  return text;
}

int video_output = -1, subtitles = -1, volume = -1, other = -1;
char* device_name = nullptr;

std::string values() {
  return std::to_string(video_output) + " " + std::to_string(subtitles) + " " + std::to_string(volume) + " " +
         (device_name ? device_name : "(null)");
}

}  // namespace

TEST(GenericSetupModel, SettingsAreReadAppliedAndWrittenBackForTheNextFirmware) {
  int before = gsetup_model_get_num_settings();
  EXPECT_EQ("[setup] Warning: setting 'volume' duplicated; ignored", captured_stdout([] {
              generic_setup_model_add_setting_enum("video_output", &video_output, 0, 1, output_choice);
              generic_setup_model_add_setting_enum("subtitles", &subtitles, 1, 0, get_yes_no_choice_string_by_value);
              generic_setup_model_add_setting_int("volume", &volume, 50);
              generic_setup_model_add_setting_text("device_name", &device_name, "Player", 7, 'x');
              generic_setup_model_add_setting_int("volume", &other, 1);
            }));
  EXPECT_EQ(before + 4, gsetup_model_get_num_settings());
  EXPECT_STREQ("Player", device_name);
  setup_setting* text = gsetup_model_get_setting_by_ndx(before + 3);
  EXPECT_EQ(text, gsetup_model_get_setting("device_name"));
  EXPECT_EQ(7, text->data.text.flags);
  EXPECT_EQ('x', text->data.text.flag_byte);

  // A settings file with bad values among good ones: the bad ones give their defaults.
  properties* stored = properties_create_empty();
  properties_build_from_buffer(stored, "volume = 12x\nvideo_output = Composite\nsubtitles = yes\ndevice_name = Den\n");
  EXPECT_EQ("Warning: bad value 'Composite' of data 'video_output'; using the default value.\n"
            "Warning: bad value '12x' of data 'volume'; using the default value.\n",
            captured_stdout([&] { generic_setup_model_get_settings(stored, 0); }));
  EXPECT_EQ("", captured_stdout([&] { generic_setup_model_get_settings(stored, 1); }));
  properties_free(stored);
  EXPECT_EQ("0 0 50 Den", values());

  // Changes through the apply chain: allowed settings change, others are consumed, unknown ones pass on.
  gsetup_register_apply_setting_handler();
  gsetup_allow_apply_setting("volume");
  gsetup_allow_apply_setting("device_name");
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, invoke_apply_setting_handler("volume", "30"));
  EXPECT_EQ(1, invoke_apply_setting_handler("video_output", "component"));
  EXPECT_EQ(1, invoke_apply_setting_handler("device_name", "Living room"));
  EXPECT_EQ(0, invoke_apply_setting_handler("not_declared", "1"));
  EXPECT_EQ("[GSetupApplyHandler] applying volume => 30\n[GSetupApplyHandler] not allowed for 'video_output\n"
            "[GSetupApplyHandler] applying device_name => Living room\n",
            test::log_messages(testing::internal::GetCapturedStderr()));
  EXPECT_EQ("0 0 30 Living room", values());

  // Written back for the next firmware in the form read above (the enumeration at its default is left out).
  EXPECT_EQ("subtitles = yes\nvolume = 30\ndevice_name = Living room\n", saved());

  gsetup_setting_set_value_by_string(gsetup_model_get_setting("video_output"), "composite", 1);
  gsetup_set_setting_is_supported_func([](const char* id) -> int { return strcmp(id, "subtitles") != 0; });
  EXPECT_EQ("video_output = composite\nvolume = 30\ndevice_name = Living room\n", saved());
  gsetup_set_setting_is_supported_func(nullptr);
}

TEST(GenericSetupModel, SingleSettingValues) {
  static int mode = 0, count = 0;
  static char* label = nullptr;
  generic_setup_model_add_setting_enum("t2_mode", &mode, 2, 0, get_auto_yes_no_choice_string_by_value);
  generic_setup_model_add_setting_int("t2_count", &count, -7);
  generic_setup_model_add_setting_text("t2_label", &label, "none", 0, 0);
  setup_setting *e = gsetup_model_get_setting("t2_mode"), *n = gsetup_model_get_setting("t2_count"),
                *t = gsetup_model_get_setting("t2_label");
  ASSERT_TRUE(e && n && t);
  EXPECT_EQ(nullptr, gsetup_model_get_setting("t2_other"));
  const struct { setup_setting* setting; const char* text; int valid; } cases[] = {
      {n, " -12", 1}, {n, "12 ", 0}, {n, "", 0}, {n, nullptr, 0}, {e, "yes", 1}, {e, "Yes", 0}, {t, "", 1}, {t, nullptr, 0}};
  for (const auto& c : cases) EXPECT_EQ(c.valid, gsetup_setting_is_valid_string_value(c.setting, c.text)) << c.setting->id;

  gsetup_setting_set_value_by_string(n, "2147483647", 0);
  EXPECT_EQ(INT_MAX, count);
  EXPECT_EQ("Warning: bad value '-2147483648' of data 't2_count'; using the default value.\n", captured_stdout([&] {
              gsetup_setting_set_value_by_string(n, "-2147483648", 0);  // the minimum stands for "no number"
              EXPECT_EQ(-7, count);
              gsetup_setting_set_value_by_string(n, "5", 0);
              gsetup_setting_set_value_by_string(n, nullptr, 0);  // no value gives the default silently
              gsetup_setting_set_value_by_string(e, "no", 0);
              gsetup_setting_set_value_by_string(e, nullptr, 0);
            }));
  EXPECT_EQ(-7, count);
  EXPECT_EQ(2, mode);

  gsetup_setting_set_value_by_string(t, "abc", 0);
  char* held = label;
  gsetup_setting_set_value_by_string(t, held, 0);  // its own string: kept as it is
  EXPECT_EQ(held, label);
  gsetup_setting_set_value_by_string(t, nullptr, 0);
  EXPECT_STREQ("none", label);

  EXPECT_DEATH(gsetup_model_get_setting_by_ndx(gsetup_model_get_num_settings()),
               "Assertion `ndx < generic_setup_settings->num_items' failed");
  EXPECT_DEATH({ dup2(2, 1); gsetup_model_get_setting(nullptr); },  // the message goes to standard output
               "FATAL ERROR in GenericSetupSettingIndex: get\\(NULL\\) called\n.*Assertion `key' failed");
  EXPECT_DEATH(generic_setup_model_add_setting_text("t2_x", &label, nullptr, 0, 0), "Assertion `default_value' failed");
  EXPECT_DEATH({ n->type = 9; saved(); },
               test::assertion_report("player/src/util/generic_setup_model", 0, "setup_setting_get_value_as_string", "0"));
}
