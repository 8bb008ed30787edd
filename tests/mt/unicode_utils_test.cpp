#include "test_support.hpp"

namespace {

std::vector<UTF32> chars(const UTF32* s) { return std::vector<UTF32>(s, s + utf32_strlen(s)); }

// Takes a malloc'd string, returns its contents and frees it.
std::vector<UTF32> take(UTF32* s) {
  std::vector<UTF32> result = chars(s);
  free(s);
  return result;
}
std::string take(char* s) { return test::take_string(s); }

}  // namespace

TEST(Utf8, SteppingAndCountingTreatEachBadByteAsOneQuestionMark) {
  const char bom[] = "\xEF\xBB\xBFx", half_bom[] = "\xEF\xBB";
  EXPECT_EQ(bom + 3, utf8_skip_bom_if_present(bom));
  EXPECT_EQ(half_bom, utf8_skip_bom_if_present(half_bom));
  const char* text = "a\xC0\x80" "b\xD0\xB6\xE2\x82";  // an overlong form and a truncated sequence
  const char* end = text + strlen(text);
  std::vector<UTF32> read;
  std::vector<long> offsets;
  for (const char* pos = text; pos < end;) {
    read.push_back(utf8_get_next_char(&pos, end));
    offsets.push_back(pos - text);
  }
  EXPECT_EQ((std::vector<UTF32>{'a', '?', '?', 'b', 0x436, '?', '?'}), read);
  EXPECT_EQ((std::vector<long>{1, 2, 3, 4, 6, 7, 8}), offsets);
  const char* at_start = text;
  EXPECT_EQ(0u, utf8_get_next_char(&at_start, text));  // an empty range, whatever the bytes there
  EXPECT_EQ(text, at_start);
  const char* cut = "\xD0\xB6";
  EXPECT_EQ('?', utf8_get_next_char(&cut, cut + 1)) << "`end` cuts the sequence short";
  EXPECT_EQ(7, utf8_strlen(text));
  EXPECT_EQ(3, utf8_strlen("\xD0\xB5\xF0\x9F\x98\x80z"));
  const char* null_position = nullptr;
  EXPECT_DEATH(utf8_get_next_char(&null_position, end),
               "player/src/util/mt/unicode_utils:[0-9]+: utf8_get_next_char: Assertion `\\*begin' failed");
}

TEST(Utf8, SortOrder) {
  const struct { const char *a, *b; int sign; } cases[] = {
               {"\xD1\x91\xD0\xBB\xD0\xBA\xD0\xB0", "\xD0\xB5\xD0\xBB\xD0\xBA\xD0\xB0", 0},  // ёлка = елка
               {"B", "a", 1},          {"Z", "\xC3\xA9", -1},  // é is outside CP1251
               {"abc", "abcd", -1},    {"ABC", "abc", 0},      {"zebra", "\xD0\xB0", -1},
               {"\xD1\x8F", "\xCE\xB1", -1},                    // я before Greek α
               {"1", "a", -1},         {"", "", 0},            {"a\xFF", "a?", 0},
               {"\xD0\xB0", "\xD0\xB1", -1},  // the same lead byte, different characters
               {"\xD0\x96" "z", "\xD0\xB6" "A", 1},
               {"\xD0" "O", "\xD0\xBC", -1}, {"\xD0\xBC", "\xD0" "O", 1},  // "?O" before "м"
               {"\x80", "?", 0}, {"?", "\x80", 0}};  // a stray continuation byte is a "?"
  for (const auto& c : cases) {
    int result = utf8_strcmp(c.a, c.b);
    EXPECT_EQ(c.sign, (result > 0) - (result < 0)) << c.a << " vs " << c.b;
  }
  EXPECT_EQ(293, utf32_get_order_value(0x401));    // Ё sorts as Е
  EXPECT_EQ(0xE9 + 192, utf32_get_order_value(0xE9));
  EXPECT_EQ(0x20, utf32_get_order_value(0x20));    // the first match, not 0x98
  EXPECT_EQ(0x88, utf32_get_order_value(0x20AC));  // € keeps its CP1251 byte
}

TEST(Utf8, CaseConversionOnlyForCp1251Letters) {
  EXPECT_EQ(0x402u, utf32_convert_char_to_lower(0x402));  // Ђ stays; the string below shows Ё, Latin and É
  EXPECT_DEATH(utf32_convert_char_from_ascii(128), "Assertion `0 <= ascii && ascii <= 127' failed");

  const char* mixed = "\xD0\x81\xD0\x96 ABC \xC3\x89\xFF";  // "ЁЖ ABC É" and a bad byte
  const char* lower_mixed = "\xD1\x91\xD0\xB6 abc \xC3\x89?";
  char buf[64];
  EXPECT_STREQ(lower_mixed, utf8_convert_str_seg_to_lower(buf, sizeof buf, mixed, mixed + strlen(mixed)));
  EXPECT_STREQ("\xD1\x91", utf8_convert_str_seg_to_lower(buf, 4, mixed, mixed + 4)) << "whole characters only";
  EXPECT_STREQ("\xD1\x91\xD0\xB6", utf8_convert_str_seg_to_lower(buf, 5, mixed, mixed + 4)) << "an exact fit";
  EXPECT_STREQ("\xD1\x91\xD0\xB6", MY_convert_str_seg_to_lower(buf, sizeof buf, mixed, 4));
  char* lower = nullptr;
  EXPECT_STREQ(lower_mixed, MY_convert_str_to_lower(&lower, mixed));
  char* upper = strdup("old");
  EXPECT_STREQ("\xD0\x81\xD0\xB6 abc", utf8_convert_str_first_letter_to_upper(&upper, lower, lower + 8))
      << "only the first character is upper-cased";
  EXPECT_STREQ("", MY_convert_str_first_letter_to_upper(&upper, ""));
  free(lower);
  free(upper);
  EXPECT_DEATH(utf8_convert_str_seg_to_lower(buf, 8, mixed + 1, mixed), "seg_to_lower: Assertion `end >= begin'");
}

TEST(Utf32, StringFunctionsAndEditing) {
  const UTF32 hello[] = {'h', 'e', 0x43B, 'l', 'o', 0, 'X'};
  UTF32 buf[16];
  buf[6] = 7;
  EXPECT_EQ(5, utf32_strcpy(buf, hello));
  EXPECT_EQ(7u, buf[6]) << "nothing past the terminator";
  EXPECT_EQ(0, utf32_strncpy(buf, hello, 0));
  EXPECT_EQ(2, utf32_strncpy(buf, hello, 2));
  EXPECT_EQ(7, utf32_strcat(buf, hello));
  utf32_strncat(buf, hello, 1);
  EXPECT_EQ((std::vector<UTF32>{'h', 'e', 'h', 'e', 0x43B, 'l', 'o', 'h'}), chars(buf));
  UTF32* owned = utf32_strdup(hello);
  utf32_safe_str_assign(&owned, buf);
  EXPECT_EQ(chars(buf), chars(owned));
  utf32_safe_str_occupy(&owned, nullptr);

  UTF32 text[8] = {'a', 'b', 'c', 0};
  utf32_insert_char(text, 3, 3, 'd');  // at the end: appends
  utf32_insert_char(text, 4, 0, '<');
  EXPECT_EQ((std::vector<UTF32>{'<', 'a', 'b', 'c', 'd'}), chars(text));
  utf32_remove_prev_char(text, 1);  // removes the first character
  utf32_remove_prev_char(text, 4);
  utf32_replace_char(text, 2, 0x416);
  EXPECT_EQ((std::vector<UTF32>{'a', 'b', 0x416}), chars(text));
  EXPECT_DEATH(utf32_remove_prev_char(text, 0), "utf32_remove_prev_char: Assertion `pos > 0' failed");
  EXPECT_DEATH(utf32_insert_char(text, 2, 0, 'x'), "Assertion `!text\\[text_len\\]' failed");
  EXPECT_DEATH(utf32_insert_char(text, 3, 4, 'x'), "Assertion `0 <= pos && pos <= text_len' failed");
  EXPECT_DEATH(utf32_replace_char(text, 3, 'x'), "Assertion `0 <= pos && text\\[pos\\] != 0' failed");
}

TEST(Utf32, CreationCopyAndConversionPerEncoding) {
  EXPECT_EQ((std::vector<UTF32>{'a', '?', '?', 0x1F600}), take(utf32_create_from_utf8("a\xC0\x80\xF0\x9F\x98\x80")));
  EXPECT_EQ((std::vector<UTF32>{0x416, 'z'}), take(utf32_create_from_cp1251("\xC6z")));
  UTF32 dst[8];
  EXPECT_EQ(3, utf32_copy_from_utf8(dst, "\xD0\x96\xD0\x96\xD0\x96\xD0\x96", 3));
  EXPECT_EQ((std::vector<UTF32>{0x416, 0x416, 0x416}), chars(dst));
  EXPECT_EQ(2, utf32_copy_from_utf8(dst, "ab", 7));
  EXPECT_EQ(2, utf32_copy_from_cp1251(dst, "\xC6\xC6\xC6", 2));
  EXPECT_EQ((std::vector<UTF32>{0x416, 0x416}), chars(dst));

  const UTF32 mixed[] = {'A', 0x416, 0x3A9, 0x5D0, 0x20AC, 0x4E2D, 0};
  const UTF32 boundaries[] = {0x7F, 0x80, 0x7FF, 0x800, 0};
  EXPECT_EQ("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80", take(utf32_convert_to_utf8(boundaries)));
  EXPECT_EQ("A\xD0\x96\xCE\xA9\xD7\x90\xE2\x82\xAC\xE4\xB8\xAD", take(utf32_convert_to_utf8(mixed)));
  EXPECT_EQ("A\xC6??\x88?", take(utf32_convert_to_cp1251(mixed)));
  EXPECT_EQ("A?\xD9?\x80?", take(utf32_convert_to_cp1253(mixed)));

  // Big5, GB2312 and EUC-KR go through iconv; what does not convert becomes "?".
  const UTF32 alef[] = {0x5D0, 'x', 0};
  EXPECT_EQ("\xA4\xA4", take(utf32_convert_to_big5(mixed + 5)));
  EXPECT_EQ("?x", take(utf32_convert_to_big5(alef)));
  EXPECT_EQ((std::vector<UTF32>{0x4E2D, '?', 'x', '?'}), take(utf32_create_from_big5("\xA4\xA4\xFF" "x\xA4")));
  EXPECT_EQ("\xD6\xD0", take(utf32_convert_to_gb2312(mixed + 5)));
  EXPECT_EQ((std::vector<UTF32>{0xD55C}), take(utf32_create_from_euckr("\xC7\xD1")));

  EXPECT_DEATH(utf32_create_from_utf8(nullptr), "utf32_create_from_utf8: Assertion `source_utf8' failed");
  EXPECT_DEATH(utf32_create_from_cp1254(nullptr), "utf32_create_from_cpxxxx: Assertion `source' failed");
  EXPECT_DEATH(utf32_convert_to_cp1258(nullptr), "utf32_convert_to_cpxxxx: Assertion `source_utf32' failed");
}
