#include "test_support.hpp"

TEST(EncodingUtils, NamesAndDispatchByEncodingNumber) {
  const char* names[] = {"utf8",   "cp1250", "cp1251", "cp1252", "cp1253", "cp1254", "cp1255",
                         "cp1256", "cp1257", "cp1258", "big5",   "gb2312", "euckr"};
  for (int enc = 0; enc < 13; ++enc) EXPECT_STREQ(names[enc], encoding_to_string(enc));
  EXPECT_STREQ("unknown", encoding_to_string(13));
  EXPECT_STREQ("unknown", encoding_to_string(-1));

  // The same word in each encoding comes back to the same code points; unknown numbers are UTF-8.
  const UTF32 word[] = {'A', 0x416, 0};
  const UTF32 hanzi[] = {'A', 0x4E2D, 0};
  const int encodings[] = {0, 2, 10, 11, 12, 13, -1};
  for (int enc : encodings) {
    const UTF32* text = enc >= 10 && enc <= 12 ? hanzi : word;
    char* bytes = convert_string_from_utf32(text, enc);
    UTF32* back = convert_string_to_utf32(bytes, enc);
    EXPECT_EQ((std::vector<UTF32>{'A', text[1]}), std::vector<UTF32>(back, back + utf32_strlen(back))) << enc;
    UTF32 copy[8];
    EXPECT_EQ(1, copy_string_to_utf32(copy, bytes, 1, enc)) << enc;
    EXPECT_EQ('A', copy[0]);
    free(bytes);
    free(back);
  }
  EXPECT_DEATH(convert_string_to_utf32(nullptr, 2), "convert_string_to_utf32: Assertion `source' failed");
  EXPECT_DEATH(convert_string_from_utf32(nullptr, 2), "convert_string_from_utf32: Assertion `source_utf32' failed");
}

TEST(EncodingUtils, ExternalConversionsFollowTheHolderRule) {
  const char* utf8 = "\xD0\x9C\xD0\xB8\xD1\x80";  // "Мир"
  char* holder = strdup("previous");
  EXPECT_EQ(utf8, MY_convert_string_to_external(&holder, utf8, 0));
  EXPECT_STREQ("previous", holder) << "untouched without a conversion";
  const char* cp1251 = MY_convert_string_to_external(&holder, utf8, 2);
  EXPECT_EQ(holder, cp1251);
  EXPECT_STREQ("\xCC\xE8\xF0", cp1251);
  const char* back = MY_convert_string_from_external(&holder, "\xCC\xE8\xF0", 2);
  EXPECT_EQ(holder, back);
  EXPECT_STREQ(utf8, back);
  EXPECT_EQ(utf8, MY_convert_string_from_external(&holder, utf8, 0));

  // into_buf always leaves *buf owning its text.
  EXPECT_STREQ(utf8, MY_convert_string_from_external_into_buf(&holder, utf8, 0));
  EXPECT_NE(utf8, holder);
  EXPECT_STREQ(utf8, MY_convert_string_from_external_into_buf(&holder, "\xCC\xE8\xF0", 2));
  free(holder);

  for (char* owned : {MY_string_from_external("\xCC\xE8\xF0", 2), MY_string_from_external(utf8, 0)}) {
    EXPECT_STREQ(utf8, owned);
    free(owned);
  }

  EXPECT_EQ(utf8, MY_string_to_external_shared(utf8, 0));
  EXPECT_EQ(utf8, MY_string_from_external_shared(utf8, 0));
  EXPECT_STREQ("\xCC\xE8\xF0", MY_string_to_external_shared(utf8, 2));
  EXPECT_STREQ(utf8, MY_string_from_external_shared("\xCC\xE8\xF0", 2));
}

TEST(EncodingUtils, InternalAliasesAreUtf8) {
  const char* text = "\xD0\x81x\xFF";
  EXPECT_EQ(3, MY_strlen(text));
  EXPECT_EQ(0, MY_strcmp("\xD0\x81", "\xD0\xB5"));
  UTF32* created = MY_utf32_create_from_internal(text);
  char* back = MY_utf32_convert_to_internal(created);
  EXPECT_STREQ("\xD0\x81x?", back);
  free(created);
  free(back);
}

// The text commands stream any input byte for byte (NUL bytes, lines longer than a read
// block, a last line without '\n'), take encoding names loosely, count what became '?' and
// refuse unknown languages.
TEST(EncodingUtils, TextTool) {
  test::Sandbox sandbox;
  std::string russian = sandbox.path("/russian.txt"), plain = sandbox.path("/plain.txt");
  std::string names = sandbox.path("/names.txt"), big = sandbox.path("/big.txt"), mixed = sandbox.path("/mixed.txt");
  std::string sorted = sandbox.path("/sorted.txt"), missing = sandbox.path("/missing.txt");
  test::write_file(russian, "\xCF\xF0\xE8\xE2\xE5\xF2\n\xFF");  // cp1251 "Привет", "я"
  test::write_file(plain, "\xCF\xF0\xE8\xE2\xE5\xF2");
  test::write_file(names, "\xD0\xAF\xD0\xBD\xD0\xB0\nzoe\n\xC3\x89mile\nAnna\n\xD0\x81\xD0\xB6\n");
  test::write_file(mixed, "\xEF\xBB\xBF\xD0\x96?\xE4\xB8\xAD\xC3\xA9\n");  // BOM, Ж, '?', 中, é
  test::write_file(sorted, std::string("b\0z\na\n-x\n", 9));
  std::string text;
  for (size_t length : {0, 1, 131071, 131072, 200000, 5, 262150}) {
    for (size_t i = 0; i < length; ++i) text += i % 97 == 3 ? '\0' : (char)('a' + i % 26);
    text += '\n';
  }
  text += std::string("last\0line", 9);
  test::write_file(big, text);
  test::expect_tool({
      {"text convert --from cp1251 --to utf8 " + russian, 0,
       "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82\n\xD1\x8F", true},
      {"text convert --to big5 --from utf8 < " + russian, 0, "??????\n?"},  // invalid UTF-8 bytes read as '?'
      {"text detect --lang russian " + russian, 0, "cp1251\n", true},  // \xFF is undefined in cp1255
      {"text detect --lang russian " + plain, 0, "cp1255\n", true},
      {"text sort " + names, 0, "Anna\nzoe\n\xD0\x81\xD0\xB6\n\xD0\xAF\xD0\xBD\xD0\xB0\n\xC3\x89mile\n", true},
      {"text sort -- " + sorted, 0, std::string("-x\na\nb\0z\n", 9), true},
      {"text convert --from koi8r --to utf8 " + names, 2, ""},
      {"text convert --from utf8 " + names, 2, ""},
      {"text shuffle", 2, ""},
      {"text sort " + missing, 1, "cannot read"},
      {"text convert --from UTF-8 --to utf8 " + big, 0, text, true},
      {"text convert --from utf8 --to CP1251 - < " + big, 0, text, true},
      {"text convert --from Utf8 --to windows-1251 " + mixed, 0, "\xC6???\n"},
      {"text convert --from utf8 --to cp1251 " + mixed, 0,
       "vonautil text: 2 characters could not be converted from utf8 to cp1251 and became '?'\n"},
      {"text convert --strict --from utf8 --to WIN1251 " + mixed, 1, ""},
      {"text convert --strict --from utf8 --to utf_8 " + mixed, 0, test::read_file(mixed), true},  // BOM stays
      {"text convert --from cp950 --to EUC-KR - < /dev/null", 0, "", true},
      {"text detect --lang russian " + mixed, 0, "utf8\n", true},
      {"text detect --lang klingon " + mixed, 2, "unknown language 'klingon' (known: english, "},
  });
}
