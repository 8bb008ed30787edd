#include "test_support.hpp"

namespace {

auto_enc_stat stat_of(const std::string& text) {
  auto_enc_stat stat;
  auto_enc_stat_create(&stat);
  auto_enc_stat_update(&stat, text.data(), text.data() + text.size());
  return stat;
}

}  // namespace

TEST(AutoEnc, ValidityChecks) {
  using Check = int (*)(const std::string&);
  Check utf8 = [](const std::string& s) { return is_str_valid_utf8(s.data(), s.data() + s.size()); };
  Check cp1255 = [](const std::string& s) { return is_str_valid_cp1255(s.data(), s.data() + s.size()); };
  Check detect = [](const std::string& s) { return detect_utf8(s.c_str()); };
  const std::string decided(10000, 'a');  // detect_utf8 decides after this many characters
  struct Case { Check check; std::string text; int expected; };
  std::vector<Case> cases = {
      {utf8, "", 1}, {utf8, "plain \xD0\x96 \xF0\x9F\x98\x80", 1}, {utf8, "cut \xD0", 0},
      {utf8, std::string(600, 'a') + "\xC0\x80", 0},  // past the first chunk
      {detect, decided, 1}, {detect, decided + "\xFF", 0}, {detect, decided + "b\xFF", 1}, {detect, "ab\xE2\x82", 0},
      {cp1255, "", 1}, {cp1255, "\xF9\xEC\xE5\xED \x80\xA4\xE0\xFA\x8B\x9B\xD8", 1}};
  for (int b : {0x81, 0x8A, 0x8C, 0x90, 0x9A, 0x9C, 0x9F, 0xCA, 0xD9, 0xDF, 0xFB, 0xFC, 0xFF}) {
    cases.push_back({cp1255, std::string("a") + (char)b, 0});
  }
  for (const Case& c : cases) EXPECT_EQ(c.expected, c.check(c.text) != 0) << c.text.substr(0, 20);
}

TEST(AutoEnc, StatisticsAndTheGuessForTheInterfaceLanguage) {
  auto_enc_stat stat = stat_of("Hi, \xC0\xC1!");
  EXPECT_TRUE(stat.letters == 2 && stat.high_bytes == 2 && stat.not_utf8 && !stat.not_cp1255);
  auto_enc_stat_update(&stat, "\xD9", &"\xD9"[1]);
  EXPECT_TRUE(stat.not_cp1255);
  // Latin text: more than 0.8 of the letters and high bytes are letters.
  for (auto [text, expected] : std::vector<std::pair<std::string, int>>{
           {"", 1}, {std::string(8, 'a') + "\xE0\xE0", 0}, {std::string(9, 'a') + "\xE0\xE0", 1}}) {
    auto_enc_stat counted = stat_of(text);
    EXPECT_EQ(expected, auto_enc_stat_is_cp1252(&counted)) << text;
  }

  // A custom language, or the value 202, defers to the default interface language.
  const std::string ascii(90, 'a'), latin = ascii + "\xE9", half = std::string(50, 'a') + std::string(50, '\xE0');
  struct Case { const char* language; int custom; std::string text; int allow_cp1252, allow_cp1255, expected; };
  for (const Case& c : std::vector<Case>{
           {"russian", 0, ascii, 1, 1, 0}, {"russian", 0, latin, 1, 0, 3}, {"russian", 0, latin, 0, 0, 2},
           {"russian", 0, half, 1, 0, 2}, {"russian", 0, half, 1, 1, 6},
           {"hebrew", 0, "\xF9\xEC\xE5\xD9\xED", 0, 1, 2}, {"hebrew", 0, "\xF9\xEC\xE5\xD9\xED", 0, 0, 6},
           {"russian", 1, half, 1, 1, 5}, {"202", 0, half, 1, 1, 5}, {"", 0, half, 1, 1, 3}}) {
    settings_provider_reset();  // english, unless the row sets a language
    settings_provider_set_default_interface_language("turkish");
    if (*c.language) settings_provider_set_interface_language(c.language);
    settings_provider_set_interface_language_custom(c.custom);
    auto_enc_stat counted = stat_of(c.text);
    EXPECT_EQ(c.expected, auto_enc_get_auto_encoding(&counted, c.allow_cp1252, c.allow_cp1255))
        << c.language << " " << c.custom << " " << c.text.size();
  }
  settings_provider_reset();

  const char* languages[] = {"japanese", "bulgarian", "slovak", "greek", "turkish", "hebrew", "arabic",
                             "estonian", "vietnamese", "chinese_traditional", "chinese_simplified", "korean", "klingon"};
  const int encodings[] = {3, 2, 1, 4, 5, 6, 7, 8, 9, 10, 11, 12, 3};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(encodings[i], MY_Encoding_8bit_from_interface_language(languages[i]));
}

TEST(AutoEnc, PathEncodingSettings) {
  EXPECT_STREQ("english", settings_provider_get_interface_language());
  for (int value : {0, -1, 13}) {
    settings_provider_set_nfs_path_encoding(value);
    EXPECT_EQ(0, FS_get_nfs_path_encoding()) << value;
  }
  settings_provider_set_nfs_path_encoding(12);
  settings_provider_set_ext2_ext3_path_encoding(1);
  EXPECT_EQ(12, FS_get_nfs_path_encoding());
  EXPECT_EQ(1, FS_get_ext2_ext3_path_encoding());

  // Paths stay in UTF-8 whatever the settings say.
  const char* path = "/tmp/mnt/D/\xD0\x9C\xD0\xB8\xD1\x80.avi";
  char* holder = nullptr;
  EXPECT_EQ(path, FS_convert_path_to_external(&holder, path));
  EXPECT_EQ(path, FS_convert_path_from_external(&holder, path));
  EXPECT_EQ(nullptr, holder);
  for (char* copy : {FS_path_to_external(path), FS_path_from_external(path)}) {
    EXPECT_STREQ(path, copy);
    free(copy);
  }
  settings_provider_reset();
}
