#include <string>
#include <vector>

#include "test_support.hpp"
#include "vonautil.h"

using Strings = std::vector<std::string>;

// The strings of an array, after checking the null terminator that every operation must keep.
static Strings strings_of(const string_array* sa) {
  EXPECT_EQ(nullptr, sa->items[sa->size]) << "the array must stay null-terminated";
  return Strings(sa->items, sa->items + sa->size);
}

static string_array* array_of(std::initializer_list<const char*> strings) {
  string_array* sa = string_array_create_empty();
  for (const char* s : strings) string_array_add(sa, s);
  return sa;
}

static Strings split(const char* text, const char* separator) {
  string_array* sa = string_array_split(text, separator);
  Strings result = strings_of(sa);
  string_array_free(sa);
  return result;
}

static std::string join(std::initializer_list<const char*> strings, const char* separator, int start, int count) {
  string_array* sa = array_of(strings);
  char* joined = string_array_join(sa, separator, start, count);
  std::string result = joined;
  free(joined);
  string_array_free(sa);
  return result;
}

TEST(StringArray, BuildsAndCopiesNullTerminatedArrays) {
  string_array* sa = string_array_create_empty();
  EXPECT_EQ(Strings{}, strings_of(sa));
  string_array_add(sa, "one");
  char* owned = strdup("two");
  string_array_add_occupy(sa, owned);
  EXPECT_EQ(owned, sa->items[1]);  // taken, not copied
  string_array_add_int(sa, -42);
  string_array_add_f(sa, "%s=%d", "x", 7);
  const char* text = "before[segment]after";
  string_array_add_segment(sa, text + 7, text + 14);
  string_array_add_segment(sa, text, text);
  EXPECT_EQ((Strings{"one", "two", "-42", "x=7", "segment", ""}), strings_of(sa));

  string_array_add_f(sa, "%s", std::string(2000, 'y').c_str());  // cut to the 1024-byte buffer
  EXPECT_EQ(std::string(1023, 'y'), sa->items[6]);

  // Appending an array to itself doubles it.
  string_array_add_all(sa, sa);
  EXPECT_EQ(14, sa->size);
  EXPECT_STREQ("one", sa->items[7]);
  EXPECT_NE(sa->items[0], sa->items[7]);
  string_array_free(sa);

  char* vector[] = {(char*)"a", (char*)"b", nullptr};
  sa = string_array_create_from_array(vector);
  EXPECT_EQ((Strings{"a", "b"}), strings_of(sa));
  EXPECT_NE(vector[0], sa->items[0]);
  string_array_add_array(sa, vector);
  string_array_add_array(sa, nullptr);
  string_array_add_all(sa, nullptr);
  string_array* copy = string_array_copy(sa);
  string_array_free(sa);  // the copy is deep
  EXPECT_EQ((Strings{"a", "b", "a", "b"}), strings_of(copy));
  string_array_free(copy);

  sa = string_array_create_from_array(nullptr);
  EXPECT_EQ(Strings{}, strings_of(sa));
  string_array_free(sa);
  sa = string_array_create_single("only");
  EXPECT_EQ(Strings{"only"}, strings_of(sa));
  string_array_free(sa);
  EXPECT_EQ(nullptr, string_array_copy(nullptr));
  string_array_free(nullptr);
}

TEST(StringArray, SetsRemovesAndClears) {
  string_array* sa = array_of({"a", "b", "c", "d", "e"});
  char* copy = string_array_set(sa, 1, "B");
  EXPECT_EQ(copy, sa->items[1]);
  string_array_set(sa, 2, sa->items[2]);  // its own string: copied before the old one goes
  EXPECT_EQ((Strings{"a", "B", "c", "d", "e"}), strings_of(sa));

  string_array_remove_segment(sa, 1, 2);
  EXPECT_EQ((Strings{"a", "d", "e"}), strings_of(sa));
  string_array_remove(sa, 2);
  EXPECT_EQ((Strings{"a", "d"}), strings_of(sa));
  string_array_remove_segment(sa, 0, 2);
  EXPECT_EQ(Strings{}, strings_of(sa));

  string_array_add(sa, "x");
  string_array_clear(sa);
  EXPECT_EQ(0, sa->size);
  EXPECT_EQ(nullptr, sa->items);
  string_array_add(sa, "after clear");
  EXPECT_EQ(Strings{"after clear"}, strings_of(sa));
  string_array_free(sa);
}

TEST(StringArray, FindsComparesAndSorts) {
  string_array* sa = array_of({"alpha", "Alpha", "al", "alpha", ""});
  EXPECT_EQ(0, string_array_find(sa, "alpha"));
  EXPECT_EQ(1, string_array_find(sa, "Alpha"));
  EXPECT_EQ(4, string_array_find(sa, ""));
  EXPECT_EQ(-1, string_array_find(sa, "ALPHA"));

  const char* text = "al\0pha";  // a segment must match a whole item, not a prefix or a longer item
  EXPECT_EQ(2, string_array_find_seg(sa, "alpha", 2));
  EXPECT_EQ(0, string_array_find_seg(sa, "alphabet", 5));
  EXPECT_EQ(4, string_array_find_seg(sa, "xyz", 0));
  EXPECT_EQ(-1, string_array_find_seg(sa, "alp", 3));
  EXPECT_EQ(-1, string_array_find_seg(sa, text, 5));

  string_array* other = string_array_copy(sa);
  EXPECT_TRUE(string_array_equals(sa, other));
  string_array_set(other, 4, "x");
  EXPECT_FALSE(string_array_equals(sa, other));
  string_array_remove(other, 4);
  EXPECT_FALSE(string_array_equals(sa, other));
  EXPECT_FALSE(string_array_equals(sa, nullptr));
  EXPECT_TRUE(string_array_equals(nullptr, nullptr));

  string_array_add(sa, "\xc3\xa9t\xc3\xa9");  // UTF-8 sorts after ASCII in byte order
  string_array_add(sa, "Z");
  string_array_sort(sa);
  EXPECT_EQ((Strings{"", "Alpha", "Z", "al", "alpha", "alpha", "\xc3\xa9t\xc3\xa9"}), strings_of(sa));
  string_array_free(sa);
  string_array_free(other);
}

TEST(StringArray, SplitsItemsWithoutLeadingWhiteSpace) {
  EXPECT_EQ((Strings{"a", "b", "", "c"}), split("a, b,,c,", ","));
  EXPECT_EQ((Strings{"a ", "b \t"}), split("  a ,\n\tb \t", ","));  // trailing white space stays
  EXPECT_EQ((Strings{"", "a"}), split(",a", ","));
  EXPECT_EQ((Strings{"", "a"}), split(" ,a", ","));
  EXPECT_EQ((Strings{"no separator  "}), split("no separator  ", ";"));
  EXPECT_EQ(Strings{}, split("", ","));
  EXPECT_EQ(Strings{}, split(" \t\r\n", ","));
  EXPECT_EQ(Strings{}, split(nullptr, ","));
  // Multi-character separators: the whole string, found from the left.
  EXPECT_EQ((Strings{"a", ":b", "c:"}), split("a:::b::c:", "::"));
  EXPECT_EQ((Strings{"", "a"}), split("aaa", "aa"));
  EXPECT_EQ((Strings{"x", "y"}), split("x<->y<->", "<->"));
  // A blank separator is swallowed by the white-space skip, so runs of blanks give no empty items.
  EXPECT_EQ((Strings{"a", "b", "c"}), split("a  b   c", " "));
}

TEST(StringArray, JoinsARangeInOneString) {
  EXPECT_EQ("b-c", join({"a", "b", "c"}, "-", 1, -1));
  EXPECT_EQ("", join({"a", "b", "c"}, "-", 3, -1));
  EXPECT_EQ("", join({"a", "b", "c"}, "-", 0, 0));
  EXPECT_EQ("", join({}, "-", 0, -1));
  EXPECT_EQ("a-b", join({"a", "b", "c"}, "-", -5, 2));
  EXPECT_EQ("b-c", join({"a", "b", "c"}, "-", 1, 100));
  EXPECT_EQ("c", join({"a", "b", "c"}, "-", 2, 1));
  EXPECT_EQ("a, , c", join({"a", "", "c"}, ", ", 0, -1));
  EXPECT_EQ("abc", join({"a", "b", "c"}, "", 0, 3));

  // Round trip through split for items without leading white space or the separator.
  string_array* sa = array_of({"x", "y z ", "", "w"});
  char* joined = string_array_join(sa, ";", 0, -1);
  EXPECT_STREQ("x;y z ;;w", joined);
  string_array* back = string_array_split(joined, ";");
  EXPECT_TRUE(string_array_equals(sa, back));
  free(joined);
  string_array_free(back);
  string_array_free(sa);
}

TEST(StringArray, LoadsAndSavesLines) {
  test::Sandbox sandbox;
  std::string path = sandbox.root() + "/lines.txt";
  std::string long_line(40000, 'L');
  test::write_file(path, "dos\r\nunix\n\n\r\nkeeps\rinner\r\n" + long_line + "\nlast");
  string_array* sa = string_array_load_from_file(path.c_str());
  ASSERT_NE(nullptr, sa);
  Strings expected = {"dos", "unix", "", "", "keeps\rinner", long_line.substr(0, 32767), long_line.substr(32767), "last"};
  EXPECT_EQ(expected, strings_of(sa));

  std::string saved = sandbox.root() + "/saved.txt";
  string_array_remove_segment(sa, 5, 2);
  EXPECT_EQ(0, string_array_save_to_file(sa, saved.c_str()));
  EXPECT_EQ("dos\nunix\n\n\nkeeps\rinner\nlast\n", test::read_file(saved));
  string_array* again = string_array_load_from_file(saved.c_str());
  EXPECT_TRUE(string_array_equals(sa, again));
  string_array_free(again);

  string_array* empty = string_array_create_empty();  // saving truncates
  EXPECT_EQ(0, string_array_save_to_file(empty, saved.c_str()));
  EXPECT_EQ("", test::read_file(saved));
  again = string_array_load_from_file(saved.c_str());
  EXPECT_EQ(Strings{}, strings_of(again));
  string_array_free(again);
  string_array_free(empty);

  EXPECT_EQ(nullptr, string_array_load_from_file((sandbox.root() + "/missing").c_str()));
  EXPECT_EQ(-1, string_array_save_to_file(sa, (sandbox.root() + "/no/such/dir").c_str()));
  string_array_free(sa);
}

TEST(StringArrayDeathTest, ReportsBrokenPreconditions) {
  const char* module = "player/src/util/mt/basic_string_array";
  string_array* sa = array_of({"a", "b"});
  EXPECT_DEATH(string_array_add(sa, nullptr), test::assertion_report(module, 0, "string_array_add", "string"));
  EXPECT_DEATH(string_array_create_single(nullptr), test::assertion_report(module, 0, "string_array_add", "string"));
  EXPECT_DEATH(string_array_add_occupy(sa, nullptr), test::assertion_report(module, 0, "string_array_add_occupy", "string"));
  const char* text = "ab";
  EXPECT_DEATH(string_array_add_segment(sa, text + 1, text),
               test::assertion_report(module, 0, "string_array_add_segment", "begin && end && end >= begin"));
  EXPECT_DEATH(string_array_add_segment(sa, nullptr, text),
               test::assertion_report(module, 0, "string_array_add_segment", "begin && end && end >= begin"));
  EXPECT_DEATH(string_array_set(sa, 2, "x"),
               test::assertion_report(module, 0, "string_array_set", "index >= 0 && index < sa->size"));
  EXPECT_DEATH(string_array_set(sa, -1, "x"),
               test::assertion_report(module, 0, "string_array_set", "index >= 0 && index < sa->size"));
  const char* removal = "index >= 0 && count > 0 && index + count <= sa->size";
  EXPECT_DEATH(string_array_remove(sa, 2), test::assertion_report(module, 0, "string_array_remove_segment", removal));
  EXPECT_DEATH(string_array_remove_segment(sa, 1, 2), test::assertion_report(module, 0, "string_array_remove_segment", removal));
  EXPECT_DEATH(string_array_remove_segment(sa, 0, 0), test::assertion_report(module, 0, "string_array_remove_segment", removal));
  EXPECT_DEATH(string_array_split("a,b", ""), test::assertion_report(module, 0, "string_array_split", "sep_len > 0"));
  string_array_free(sa);
}
