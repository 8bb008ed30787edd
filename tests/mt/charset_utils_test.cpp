#include <iconv.h>

#include "test_support.hpp"

namespace {

struct CodePage {
  int number;
  UTF32 (*to_utf32)(unsigned char);
  unsigned char (*from_utf32)(UTF32);
  void (*str_to_utf32)(const char*, UTF32*, int);
  void (*str_from_utf32)(const UTF32*, char*, int);
};

#define CODE_PAGE(N)                                                                                   \
  CodePage {                                                                                           \
    N, charset_convert_char_cp##N##_to_utf32, charset_convert_char_utf32_to_cp##N,                      \
        charset_convert_str_cp##N##_to_utf32, charset_convert_str_utf32_to_cp##N                        \
  }

const CodePage kCodePages[] = {CODE_PAGE(1250), CODE_PAGE(1251), CODE_PAGE(1252), CODE_PAGE(1253), CODE_PAGE(1254),
                               CODE_PAGE(1255), CODE_PAGE(1256), CODE_PAGE(1257), CODE_PAGE(1258)};

// The C library's iconv as the independent reference: the code point of one byte, or -1 when
// the code page leaves the byte undefined.
long reference(int code_page, unsigned char byte) {
  iconv_t cd = iconv_open(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? "UCS-4LE" : "UCS-4BE", ("CP" + std::to_string(code_page)).c_str());
  EXPECT_NE((iconv_t)-1, cd);
  char in[1] = {(char)byte};
  UTF32 out[4] = {};
  char* in_pointer = in;
  char* out_pointer = (char*)out;
  size_t in_left = 1, out_left = sizeof out;
  long result = -1;
  if (iconv(cd, &in_pointer, &in_left, &out_pointer, &out_left) != (size_t)-1) {
    iconv(cd, nullptr, nullptr, &out_pointer, &out_left);  // flush a character held for combining
    if (out_left == sizeof out - sizeof(UTF32)) result = out[0];
  }
  iconv_close(cd);
  return result;
}

// The documented filling of an undefined byte.
UTF32 filling(int code_page, unsigned char byte) {
  switch (code_page) {
    case 1251: return 0x20;
    case 1257: return byte == 0xA1 ? 0xF8FC : byte == 0xA5 ? 0xF8FD : byte;
    case 1258: return byte;
    default: return '?';
  }
}

}  // namespace

TEST(CodePages, EveryByteMapsAsPublishedAndBackToTheFirstMatch) {
  for (const CodePage& page : kCodePages) {
    for (int b = 0; b < 256; ++b) {
      long published = reference(page.number, (unsigned char)b);
      UTF32 expected = published >= 0 ? (UTF32)published : filling(page.number, (unsigned char)b);
      ASSERT_EQ(expected, page.to_utf32((unsigned char)b)) << "CP" << page.number << " byte " << b;
      int first = b;
      for (int earlier = 0; earlier < b; ++earlier) {
        if (page.to_utf32((unsigned char)earlier) == expected) {
          first = earlier;
          break;
        }
      }
      ASSERT_EQ(first, page.from_utf32(expected)) << "CP" << page.number << " byte " << b;
    }

    // Strings go through the same tables; code points outside the page become "?".
    const UTF32 text[] = {'A', 0x20AC, 0x4E2D, 0x1F600, 'Z'};
    char bytes[5] = {0, 0, 0, 0, '#'};
    page.str_from_utf32(text, bytes, 4);
    EXPECT_EQ((std::string{'A', (char)page.from_utf32(0x20AC), '?', '?', '#'}), std::string(bytes, 5)) << page.number;
    UTF32 back[5] = {1, 1, 1, 1, 7};
    page.str_to_utf32(bytes, back, 4);
    EXPECT_EQ(0x20ACu, back[1]) << "every page has the euro sign";
    EXPECT_EQ(7u, back[4]) << "no terminator is written";
  }
  EXPECT_EQ(0xC0, charset_do_convert_char_utf32_to_cp1251(0x410, -1));
  EXPECT_EQ(-1, charset_do_convert_char_utf32_to_cp1251(0xE9, -1));
  EXPECT_EQ('?', charset_convert_char_utf32_to_cp1251(0xE9));
}

TEST(CodePages, Cp1251CaseMapsAndSortWeights) {
  for (int b = 0; b < 256; ++b) {
    bool upper = (b >= 'A' && b <= 'Z') || b == 0xA8 || (b >= 0xC0 && b <= 0xDF);
    bool lower = (b >= 'a' && b <= 'z') || b == 0xB8 || b >= 0xE0;
    int expected_lower = upper ? (b == 0xA8 ? 0xB8 : b + 0x20) : b;
    int expected_upper = lower ? (b == 0xB8 ? 0xA8 : b - 0x20) : b;
    EXPECT_EQ(expected_lower, charset_convert_char_to_lower_cp1251((unsigned char)b)) << b;
    EXPECT_EQ(expected_upper, charset_convert_char_to_upper_cp1251((unsigned char)b)) << b;
  }
  char word[] = "\xD0\xD3\xD1\xDC Abc";  // "РУСЬ Abc"
  charset_convert_str_to_lower_cp1251(word);
  EXPECT_STREQ("\xF0\xF3\xF1\xFC abc", word);
  charset_convert_str_first_letter_to_upper_cp1251(word);
  EXPECT_STREQ("\xD0\xF3\xF1\xFC abc", word);

  const int bytes[] = {'A', 'a', 'z', 0xC0, 0xA8, 0xB8, 0xC5, 0xFF, '@', '[', 0xAA};
  const int orders[] = {257, 257, 282, 288, 293, 293, 293, 319, '@', '[', 0xAA};  // Ё, ё as Е; Є keeps its byte
  for (int i = 0; i < 11; ++i) EXPECT_EQ(orders[i], charset_get_order_value_cp1251((unsigned char)bytes[i])) << bytes[i];
  EXPECT_EQ(0, charset_compare_str_cp1251("\xB8\xEB\xEA\xE0", "\xC5\xCB\xCA\xC0"));  // ёлка, ЕЛКА
  EXPECT_LT(charset_compare_str_cp1251("abc", "abcd"), 0);
  EXPECT_GT(charset_compare_str_cp1251("\xE0", "z"), 0);  // Cyrillic after Latin
}

TEST(CodePages, Utf8ToUtf32StringsWithIllFormedBytes) {
  UTF32 out[16];
  EXPECT_EQ(4, charset_convert_str_utf8_to_utf32("a\xC0\x80" "b", out, 16));
  EXPECT_EQ((std::vector<UTF32>{'a', '?', '?', 'b'}), std::vector<UTF32>(out, out + 4));
  EXPECT_EQ(3, charset_convert_str_utf8_to_utf32("\xD0\xB6\xE2\x82", out, 16));  // truncated at the end
  EXPECT_EQ((std::vector<UTF32>{0x436, '?', '?'}), std::vector<UTF32>(out, out + 3));
  EXPECT_EQ(2, charset_convert_str_utf8_to_utf32("abcd", out, 2));
  EXPECT_DEATH(charset_convert_str_utf8_to_utf32("a", out, -1),
               "player/src/util/mt/charset_utils:[0-9]+: charset_convert_str_utf8_to_utf32: "
               "Assertion `max_target_len >= 0' failed");
  // The source is read to its end: a bad byte after a full target is a programming error.
  EXPECT_DEATH(charset_convert_str_utf8_to_utf32("ab\xFF", out, 2),
               "Assertion `target_utf32_begin < target_utf32_end' failed");

  const UTF32 text[] = {'a', 0x436, 0x20AC, 0x1F600, 0xD800, 0x110000};
  char bytes[32];
  int written = charset_convert_str_utf32_to_utf8(text, 6, bytes, sizeof bytes);
  EXPECT_EQ(std::string("a\xD0\xB6\xE2\x82\xAC\xF0\x9F\x98\x80\xED\xA0\x80\xEF\xBF\xBD"), std::string(bytes, written));
  EXPECT_EQ(6, charset_convert_str_utf32_to_utf8(text, 6, bytes, 8));  // the euro sign fits, the emoji does not
}
