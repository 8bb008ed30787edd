#include "test_support.hpp"

namespace {

auto_enc_stat stat_of(const std::string& text) {
  auto_enc_stat stat;
  auto_enc_stat_create(&stat);
  auto_enc_stat_update(&stat, text.data(), text.data() + text.size());
  return stat;
}

bool valid_utf8(const std::string& s) { return is_str_valid_utf8(s.data(), s.data() + s.size()); }
bool valid_cp1255(const std::string& s) { return is_str_valid_cp1255(s.data(), s.data() + s.size()); }

}  // namespace

TEST(AutoEnc, ValidityChecks) {
  EXPECT_TRUE(valid_utf8(""));
  EXPECT_TRUE(valid_utf8("plain \xD0\x96 \xF0\x9F\x98\x80"));
  EXPECT_FALSE(valid_utf8("cut \xD0")) << "a sequence cut off by the end is invalid";
  EXPECT_FALSE(valid_utf8(std::string(600, 'a') + "\xC0\x80")) << "past the first chunk";

  std::string decided(10000, 'a');
  EXPECT_TRUE(detect_utf8(decided.c_str()));
  EXPECT_FALSE(detect_utf8((decided + "\xFF").c_str())) << "the character after 10000 must start well";
  EXPECT_TRUE(detect_utf8((decided + "b\xFF").c_str())) << "later characters do not count";
  EXPECT_FALSE(detect_utf8("ab\xE2\x82"));

  for (int b : {0x81, 0x8A, 0x8C, 0x90, 0x9A, 0x9C, 0x9F, 0xCA, 0xD9, 0xDF, 0xFB, 0xFC, 0xFF}) {
    EXPECT_FALSE(valid_cp1255(std::string("a") + (char)b)) << b;
  }
  EXPECT_TRUE(valid_cp1255("\xF9\xEC\xE5\xED \x80\xA4\xE0\xFA\x8B\x9B\xD8"));
  EXPECT_TRUE(valid_cp1255(""));
}

TEST(AutoEnc, StatisticsAndTheGuessForTheInterfaceLanguage) {
  auto_enc_stat stat = stat_of("Hi, \xC0\xC1!");
  EXPECT_EQ(2u, stat.letters);
  EXPECT_EQ(2u, stat.high_bytes);
  EXPECT_TRUE(stat.not_utf8 && !stat.not_cp1255);
  auto_enc_stat_update(&stat, "\xD9", &"\xD9"[1]);
  EXPECT_TRUE(stat.not_cp1255);
  auto_enc_stat empty = stat_of("");
  EXPECT_TRUE(auto_enc_stat_is_cp1252(&empty));
  auto_enc_stat eight_of_ten = stat_of(std::string(8, 'a') + "\xE0\xE0"), nine_of_eleven = stat_of(std::string(9, 'a') + "\xE0\xE0");
  EXPECT_FALSE(auto_enc_stat_is_cp1252(&eight_of_ten)) << "0.8 is not more than 0.8";
  EXPECT_TRUE(auto_enc_stat_is_cp1252(&nine_of_eleven));

  settings_provider_set_interface_language("russian");
  auto_enc_stat ascii = stat_of(std::string(90, 'a'));
  EXPECT_EQ(0, auto_enc_get_auto_encoding(&ascii, 1, 1));
  auto_enc_stat mostly_latin = stat_of(std::string(90, 'a') + "\xE9");
  EXPECT_EQ(3, auto_enc_get_auto_encoding(&mostly_latin, 1, 0));
  EXPECT_EQ(2, auto_enc_get_auto_encoding(&mostly_latin, 0, 0));
  auto_enc_stat half = stat_of(std::string(50, 'a') + std::string(50, '\xE0'));
  EXPECT_EQ(2, auto_enc_get_auto_encoding(&half, 1, 0));
  EXPECT_EQ(6, auto_enc_get_auto_encoding(&half, 1, 1));
  settings_provider_set_interface_language("hebrew");
  auto_enc_stat hebrew_with_d9 = stat_of("\xF9\xEC\xE5\xD9\xED");
  EXPECT_EQ(2, auto_enc_get_auto_encoding(&hebrew_with_d9, 0, 1));
  EXPECT_EQ(6, auto_enc_get_auto_encoding(&hebrew_with_d9, 0, 0));

  // A custom language, or the value 202, defers to the default interface language.
  settings_provider_set_default_interface_language("turkish");
  settings_provider_set_interface_language_custom(1);
  EXPECT_EQ(5, auto_enc_get_auto_encoding(&half, 1, 1));
  settings_provider_set_interface_language_custom(0);
  settings_provider_set_interface_language("202");
  EXPECT_EQ(5, auto_enc_get_auto_encoding(&half, 1, 1));
  settings_provider_reset();
  EXPECT_EQ(3, auto_enc_get_auto_encoding(&half, 1, 1)) << "english by default";

  const char* languages[] = {"japanese", "bulgarian", "slovak", "greek", "turkish", "hebrew", "arabic",
                             "estonian", "vietnamese", "chinese_traditional", "chinese_simplified", "korean", "klingon"};
  const int encodings[] = {3, 2, 1, 4, 5, 6, 7, 8, 9, 10, 11, 12, 3};
  for (int i = 0; i < 13; ++i) EXPECT_EQ(encodings[i], MY_Encoding_8bit_from_interface_language(languages[i]));
}

TEST(AutoEnc, PathEncodingSettings) {
  EXPECT_STREQ("english", settings_provider_get_interface_language());
  EXPECT_EQ(0, FS_get_nfs_path_encoding());
  for (int value : {-1, 13}) {
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
