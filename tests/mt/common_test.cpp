#include <cerrno>
#include <climits>
#include <cmath>

#include "test_support.hpp"

namespace {

// Heap copies, so that the sanitizer build catches any read past a terminator.
struct HeapText {
  explicit HeapText(const std::string& text) : p(strdup(text.c_str())) {}
  ~HeapText() { free(p); }
  char* p;
};

std::string text_of(str_seg seg) { return std::string(seg.start, seg.length > 0 ? seg.length : 0); }

int nat(const char* a, const char* b) {
  HeapText x(a), y(b);
  return str_nat_cmp(&x.p, &y.p);
}

template <typename Next>
std::vector<std::string> tokens(const char* text, Next next) {
  HeapText copy(text);
  std::vector<std::string> result;
  for (char* cursor = copy.p; cursor;) result.push_back(text_of(next(&cursor)));
  return result;
}

}  // namespace

TEST(Parsers, ReturnTheDefaultForAnythingNotWhollyANumber) {
  for (const char* bad : {"12 ", "", " ", "-", "+", "0x10", "1.0", "12a"}) EXPECT_EQ(5, str_parse_int(bad, 5)) << bad;
  EXPECT_EQ(5, str_parse_int(nullptr, 5));
  EXPECT_EQ(12, str_parse_int(" 12", 5));
  EXPECT_EQ(INT_MIN, str_parse_int("-2147483648", 5));
  EXPECT_EQ(INT_MAX, str_parse_int("4294967297", 5));  // saturates, never wraps
  EXPECT_EQ(LLONG_MIN, str_parse_long_long("-9223372036854775808", -1));
  EXPECT_EQ(LLONG_MAX, str_parse_long_long("99999999999999999999", -1));

  EXPECT_EQ(1, str_parse_bool("YES", -1));
  EXPECT_EQ(0, str_parse_bool("No", -1));
  for (const char* bad : {"1", "", "y", "yes ", "yess"}) EXPECT_EQ(-1, str_parse_bool(bad, -1)) << bad;

  EXPECT_EQ(16711680, str_parse_color_rgb("FF0000", 7));
  for (const char* bad : {"#FF0000", "ff00", "FF00000", "FF00G0"}) EXPECT_EQ(7, str_parse_color_rgb(bad, 7)) << bad;

  const struct { const char* text; double value; } doubles[] = {
      {" 0.5", 0.5}, {"0x10", 16}, {"1e3", 1000}, {"25E-1", 2.5}, {"-1e+2", -100}, {"4.5e22", 4.5e22}};
  for (const auto& d : doubles) EXPECT_EQ(d.value, str_parse_double(d.text, 9)) << d.text;
  for (const char* bad : {"", "1.5 ", "1e", ".", "00x1", "1,5"}) EXPECT_EQ(9, str_parse_double(bad, 9)) << bad;
  EXPECT_TRUE(std::signbit(str_parse_double("-0", 9)));

  HeapText padded(std::string(29, ' ') + "12x");  // the "x" is the 32nd character
  EXPECT_EQ(12, str_seg_parse_int(str_to_seg(padded.p), 3));
  EXPECT_EQ(12, str_seg_parse_int(str_seg{"123", 2}, 3));
  EXPECT_EQ(3, str_seg_parse_int(str_seg{"123", -1}, 3));
}

TEST(Segments, TrimSearchAndClassifyWithoutTouchingTheText) {
  const char* text = "  Hello, world 42!  ";
  str_seg seg = str_to_seg(text);
  EXPECT_EQ("  Hello, world 42!", text_of(str_seg_trim_right(seg)));
  EXPECT_EQ("Hello, world 42!", text_of(str_seg_strip(seg)));
  EXPECT_EQ("  Hello, world", text_of(str_seg_trim_nonalpha_right(seg, 0)));
  EXPECT_EQ("Hello, world 42!  ", text_of(str_seg_trim_nonalpha_left(seg, 0)));
  EXPECT_EQ(0, str_seg_trim_nonalpha_left(str_seg{"!!!", 2}, 0).length);  // never past the segment
  EXPECT_EQ(0, str_seg_strip(str_seg{text, -3}).length);
  EXPECT_EQ(2, str_seg_trim_nonalpha_right(str_to_seg("\xc3\xa9!"), 1).length);
  EXPECT_EQ(0, str_seg_trim_nonalpha_right(str_to_seg("\xc3\xa9!"), 0).length);

  EXPECT_EQ(1, str_seg_is_spaces(str_to_seg(" \r\n\v\f\t")));
  EXPECT_EQ(1, str_seg_consists_of_chars(str_seg{"12a", 2}, "0123456789"));
  EXPECT_EQ(0, str_seg_consists_of_chars(str_to_seg("12a"), "0123456789"));

  EXPECT_EQ(text + 4, str_seg_get_first_char(seg, 'l'));
  EXPECT_EQ(text + 12, str_seg_get_last_char(seg, 'l'));
  EXPECT_EQ(text + 7, str_seg_get_first_char_multi(seg, ",!"));
  EXPECT_EQ(nullptr, str_seg_get_first_char_multi(str_seg{text, 7}, ",!"));
}

TEST(Tokenisers, SplitByDelimiterStringOrSeparatorRuns) {
  using V = std::vector<std::string>;
  auto by = [](const char* delimiter) { return [=](char** c) { return str_next_token(c, delimiter); }; };
  auto by_set = [](int exclude) { return [=](char** c) { return str_next_token_by_charset(c, " ,", exclude); }; };
  EXPECT_EQ((V{"a", "", "b::c"}), tokens("a,,b::c", by(",")));
  EXPECT_EQ((V{"a,,b", "c"}), tokens("a,,b::c", by("::")));
  EXPECT_EQ((V{"a:b", "c"}), tokens("a:b::c", by("::")));  // the whole delimiter, not its first character
  EXPECT_EQ((V{"a", "b"}), tokens("a  b", by_set(1)));
  EXPECT_EQ((V{"a  ", "b"}), tokens("a  b", by_set(0)));
  // A run that ends the text: excluded, one empty token follows; included, the text ends.
  EXPECT_EQ((V{"one", "two", ""}), tokens("one, two , ", by_set(1)));
  EXPECT_EQ((V{"one, ", "two , "}), tokens("one, two , ", by_set(0)));

  char* cursor = nullptr;
  str_seg used_up = str_next_token(&cursor, ",");
  EXPECT_EQ(0, used_up.length);
  EXPECT_STREQ("", used_up.start);
  EXPECT_EQ(0, str_next_token_by_charset(&cursor, " ", 1).length);
}

TEST(NaturalOrder, NumbersByValueWithTheSkipAfterEqualNumbers) {
  // Equal numbers that end a string end the comparison there; "\xe9" shows unsigned bytes; the
  // largest values still read exactly: 32 bits for the natural order, 64 for alnum_cmp.
  struct Case { const char *a, *b; int sign; };
  for (const Case& c : std::vector<Case>{{"file2", "file10", -1}, {"a1", "ab", -1}, {"a-", "a0", 1}, {"", "x", -1},
                                         {"a10b", "a10c", 0}, {"x007.y", "x7_y", 0}, {"\xe9", "z", 1},
                                         {"a10", "a010", 0}, {"a10", "a10x", -1}, {"a10x", "a10", 1},
                                         {"x2147483646", "x2147483647", -1}}) {
    int order = nat(c.a, c.b);
    EXPECT_EQ(c.sign, (order > 0) - (order < 0)) << c.a << " vs " << c.b;
  }
  for (const Case& c : std::vector<Case>{{"File2", "file10", -1}, {"abc", "ABC", 0}, {"a1", "ab", -1},
                                         {"x99999999999999999999", "x5", 1},
                                         {"x9223372036854775806", "x9223372036854775807", -1}}) {
    int order = alnum_cmp(c.a, c.b);
    EXPECT_EQ(c.sign, (order > 0) - (order < 0)) << c.a << " vs " << c.b;
  }
  // Digit runs too long for 64 bits compare digit by digit and clear errno.
  std::string big(30, '7');
  errno = ERANGE;
  EXPECT_LT(alnum_cmp(("n" + big + "a2").c_str(), ("N" + big + "a10").c_str()), 0);
  EXPECT_EQ(0, errno);
  EXPECT_EQ('6' - '8', alnum_cmp((big + "6").c_str(), (big + "8").c_str()));
  EXPECT_EQ('b' - 'c', alnum_cmp((big + "b").c_str(), (big + "c").c_str()));
  EXPECT_LT(alnum_cmp(big.c_str(), (big + "7").c_str()), 0);
}

TEST(Interpolation, OddCountsMoveLinearlyEvenCountsEase) {
  struct {
    int from, to, step, num_steps, expected;
  } cases[] = {
      {0, 100, 2, 4, 50},  {0, 100, 2, 5, 40}, {0, 100, 1, 4, 13},  {0, 100, 3, 4, 87},  {100, 0, 1, 4, 87},
      {100, 0, 1, 5, 81},  // truncating division
      {0, 100, 0, 4, 0},   {0, 100, 4, 4, 100}, {0, 100, 1, 0, 100}, {0, 100, 1, -3, 100},
      // Above 5 steps the first step repeats the start; the parity of the given count decides.
      {0, 100, 1, 8, 0},   {0, 100, 4, 8, 37}, {0, 100, 8, 8, 100}, {0, 100, 1, 7, 0},   {0, 100, 4, 7, 50},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.expected, get_intermediate_int_sqr(c.from, c.to, c.step, c.num_steps)) << c.step << "/" << c.num_steps;
  }
}

TEST(Hex, RoundTripsEveryByteAndRejectsBadText) {
  unsigned char bytes[256], back[256] = {0};
  for (int i = 0; i < 256; ++i) bytes[i] = (unsigned char)i;
  char hex[513];
  EXPECT_EQ(0, strncmp(byte_array_to_hex_str(bytes, 256, hex) + 2 * 0xab, "AB", 2));
  EXPECT_EQ(0, hex_str_to_byte_array(hex, back));
  EXPECT_EQ(0, memcmp(bytes, back, 256));

  for (const char* bad : {"0g", "abc", "12zz"}) EXPECT_EQ(-1, hex_str_to_byte_array(bad, back)) << bad;
  EXPECT_EQ(0x12, back[0]);  // written before the bad pair
  for (char c : {'/', ':', '@', 'G', '`', 'g', '\xc1', '\xe1'}) EXPECT_EQ(-1, hex_char_to_nibble(c)) << (int)c;
}

TEST(Editing, TrimsCaseAndPrefixesInPlace) {
  char text[] = "ab \t\n";
  EXPECT_EQ(0, memcmp(str_trim_right(text), "ab\0\0\0", 6));
  char padded[] = "  a b  ";
  EXPECT_STREQ("a b  ", str_trim_left(padded));
  EXPECT_STREQ("a b", str_strip(padded));
  char mixed[] = "AbC1\xc9z";
  EXPECT_STREQ("abc1\xc9z", str_to_lower(mixed));
  EXPECT_STREQ("ABC1\xc9Z", str_to_upper(mixed));
  EXPECT_EQ(1, str_contains_non_ascii(mixed) - str_contains_non_ascii("plain ~"));

  char word[] = "foobar";
  EXPECT_EQ(0, str_remove_prefix(word, "foobarx"));
  EXPECT_EQ(1, str_remove_prefix(word, "foo"));
  EXPECT_EQ(0, str_remove_first_n_chars(word, 4));
  EXPECT_EQ(1, str_remove_first_n_chars(word, 0));
  EXPECT_EQ(1, str_remove_first_n_chars(word, 1));
  EXPECT_STREQ("ar", word);

  char* owned = strdup("bar");
  EXPECT_STREQ("foobar", str_add_prefix(&owned, "foo"));
  free(owned);
}

TEST(Editing, ReplaceContinuesAfterTheInsertedText) {
  char* text = strdup("a-b-c");
  EXPECT_EQ(3, str_replace(&text, 0, "-", "--"));
  EXPECT_EQ(6, str_replace(&text, 3, "-", "--"));
  EXPECT_STREQ("a--b--c", text);
  EXPECT_EQ(-1, str_replace(&text, 6, "-", "+"));
  EXPECT_EQ(1, str_replace(&text, 0, "--", ""));
  EXPECT_STREQ("ab--c", text);
  free(text);

  struct {
    const char *text, *old_text, *new_text, *result;
    int count;
  } cases[] = {
      {"aa", "a", "aa", "aaaa", 2},  // the inserted "a"s are not searched again
      {"abab", "ab", "", "", 2},    {"aaa", "aa", "b", "ba", 1},           {"a.b.c", ".", "::", "a::b::c", 2},
      {"hello", "l", "L", "heLLo", 2}, {"nothing", "x", "yy", "nothing", 0}, {"keep", "", "x", "keep", 0},
  };
  for (const auto& c : cases) {
    char* owned = strdup(c.text);
    EXPECT_EQ(c.count, str_replace_all(&owned, c.old_text, c.new_text)) << c.text;
    EXPECT_STREQ(c.result, owned) << c.text;
    free(owned);
  }
}

TEST(Editing, CharacterEditorsAndTheirAssertions) {
  char text[8] = "bd";
  MY_insert_char(text, 2, 2, 'e');
  MY_insert_char(text, 3, 0, 'a');
  MY_insert_char(text, 4, 2, 'c');
  EXPECT_STREQ("abcde", text);
  MY_remove_prev_char(text, 5);
  MY_remove_prev_char(text, 1);
  MY_replace_char(text, 2, 'x');
  EXPECT_STREQ("bcx", text);
  // Insertion needs room for one character and the terminator, and touches nothing beyond;
  // removal reads nothing past the terminator (an exact heap copy shows that to the sanitizer).
  char room[5] = {'a', 'b', 0, '-', '#'};
  MY_insert_char(room, 2, 1, 'x');
  EXPECT_EQ(0, memcmp(room, "axb\0#", 5));
  HeapText exact("ab");
  MY_remove_prev_char(exact.p, 2);
  EXPECT_STREQ("a", exact.p);

  std::string where = "player/src/util/mt/common:[0-9]+: ";
  EXPECT_DEATH(MY_insert_char(text, 2, 0, 'z'), where + "MY_insert_char: Assertion `!text\\[text_len\\]' failed");
  EXPECT_DEATH(MY_insert_char(text, 3, 4, 'z'), where + "MY_insert_char: Assertion `0 <= pos && pos <= text_len' failed");
  EXPECT_DEATH(MY_remove_prev_char(text, 0), where + "MY_remove_prev_char: Assertion `pos > 0' failed");
  EXPECT_DEATH(MY_replace_char(text, 3, 'z'), where + "MY_replace_char: Assertion `0 <= pos && text\\[pos\\] != 0' failed");
  EXPECT_DEATH(str_to_seg(nullptr), where + "str_to_seg: Assertion `c_str' failed");
}

TEST(Tables, ChoiceStringsAndItemCopies) {
  EXPECT_EQ(2, get_num_items_by_func(get_yes_no_choice_string_by_value));
  EXPECT_EQ(3, get_num_items_by_func(get_auto_yes_no_choice_string_by_value));
  EXPECT_EQ(2, get_index_by_func_and_string(get_auto_yes_no_choice_string_by_value, "no", -1));
  EXPECT_EQ(-1, get_index_by_func_and_string(get_auto_yes_no_choice_string_by_value, "No", -1));

  const long long items[] = {1, 2, 3};
  void* copy = &copy;
  EXPECT_EQ(nullptr, MY_memcpy(&copy, items, 0, 0, sizeof *items));
  MY_memcpy(&copy, items, 8, 3, sizeof *items);
  EXPECT_EQ(0, memcmp(copy, items, sizeof items));
  free(copy);
}

// natsort sorts lines in either order, keeps them whole and ends options at "--".
TEST(Tool, NatsortSortsLinesInEitherOrder) {
  test::Sandbox sandbox;
  std::string path = sandbox.path("/names.txt"), dashed = sandbox.path("/--alnum");
  test::write_file(path, "file10\nFile2\nfile2\nfile1");
  test::write_file(dashed, std::string("x10\0tail\nx9\n", 12));
  test::expect_tool({{"natsort " + path, 0, "File2\nfile1\nfile2\nfile10\n", true},
                     {"natsort --alnum < " + path, 0, "file1\nFile2\nfile2\nfile10\n", true},
                     {"natsort -- " + dashed, 0, std::string("x9\nx10\0tail\n", 12), true},
                     {"natsort -- --alnum", 1, ""},  // a file name, not the option
                     {"natsort " + sandbox.path("/missing"), 1, ""},
                     {"natsort --bogus", 2, ""}});
}
