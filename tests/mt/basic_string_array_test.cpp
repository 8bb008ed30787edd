#include "test_support.hpp"

using Strings = std::vector<std::string>;

// The strings of an array (freed when `owned`), after checking the null terminator that every
// operation must keep.
static Strings strings_of(string_array* sa, bool owned = false) {
  EXPECT_EQ(nullptr, sa->items[sa->size]) << "the array must stay null-terminated";
  Strings result(sa->items, sa->items + sa->size);
  if (owned) string_array_free(sa);
  return result;
}

TEST(StringArray, AppendsEditsAndFinds) {
  string_array* sa = string_array_create_single("one");
  string_array_add_int(sa, -42);
  string_array_add_f(sa, "%s", std::string(2000, 'y').c_str());  // cut to the 1024-byte buffer
  const char* text = "before[segment]after";
  string_array_add_segment(sa, text + 7, text + 14);
  string_array_add_all(sa, sa);  // appending an array to itself doubles it
  EXPECT_EQ((Strings{"one", "-42", std::string(1023, 'y'), "segment", "one", "-42", std::string(1023, 'y'), "segment"}),
            strings_of(sa));

  string_array_set(sa, 1, sa->items[1]);  // its own string: copied before the old one is freed
  string_array_remove_segment(sa, 2, 3);
  string_array_remove(sa, 0);
  EXPECT_EQ((Strings{"-42", "-42", std::string(1023, 'y'), "segment"}), strings_of(sa));

  EXPECT_EQ(3, string_array_find(sa, "segment"));
  EXPECT_EQ(-1, string_array_find(sa, "Segment"));
  EXPECT_EQ(3, string_array_find_seg(sa, "segments", 7));
  EXPECT_EQ(-1, string_array_find_seg(sa, "seg", 3));     // a prefix of an item is not the item
  EXPECT_EQ(-1, string_array_find_seg(sa, "segment!", 8));  // nor is a longer segment

  string_array* copy = string_array_copy(sa);
  string_array_clear(sa);
  EXPECT_EQ(nullptr, sa->items);
  EXPECT_FALSE(string_array_equals(sa, copy));
  string_array_add(sa, "after clear");
  EXPECT_EQ(Strings{"after clear"}, strings_of(sa, true));
  EXPECT_EQ(4, copy->size);  // the copy is deep
  string_array_free(copy);
  EXPECT_EQ(nullptr, string_array_copy(nullptr));
  EXPECT_EQ(Strings{}, strings_of(string_array_create_from_array(nullptr), true));
}

TEST(StringArray, SplitsItemsWithoutLeadingWhiteSpace) {
  auto split = [](const char* text, const char* separator) {
    return strings_of(string_array_split(text, separator), true);
  };
  EXPECT_EQ((Strings{"a", "b", "", "c"}), split("a, b,,c,", ","));
  EXPECT_EQ((Strings{"a ", "b \t"}), split("  a ,\n\tb \t", ","));  // trailing white space stays
  EXPECT_EQ((Strings{"", "a"}), split(" ,a", ","));
  EXPECT_EQ(Strings{}, split(" \t\r\n", ","));
  EXPECT_EQ(Strings{}, split(nullptr, ","));
  // Multi-character separators: the whole string, found from the left.
  EXPECT_EQ((Strings{"a", ":b", "c:"}), split("a:::b::c:", "::"));
  EXPECT_EQ((Strings{"", "a"}), split("aaa", "aa"));
  // A blank separator is swallowed by the white-space skip, so runs of blanks give no empty items.
  EXPECT_EQ((Strings{"a", "b", "c"}), split("a  b   c", " "));
}

TEST(StringArray, SortsInByteOrderAndJoinsARangeInOneString) {
  string_array* sorted = test::string_array_of({"alpha", "\xc3\xa9t\xc3\xa9", "Alpha", "al", "", "Z"});
  string_array_sort(sorted);
  EXPECT_EQ((Strings{"", "Alpha", "Z", "al", "alpha", "\xc3\xa9t\xc3\xa9"}), strings_of(sorted, true));

  string_array* sa = test::string_array_of({"a", "b", "", "d"});
  auto join = [&](const char* separator, int start, int count) {
    char* joined = string_array_join(sa, separator, start, count);
    std::string result = joined;
    free(joined);
    return result;
  };
  EXPECT_EQ("b--d", join("-", 1, -1));
  EXPECT_EQ("", join("-", 4, -1));
  EXPECT_EQ("", join("-", 0, 0));
  EXPECT_EQ("a, b", join(", ", -5, 2));
  EXPECT_EQ("d", join("-", 3, 100));
  string_array_clear(sa);
  EXPECT_EQ("", join("-", 0, -1));
  string_array_free(sa);
}

TEST(StringArray, LoadsAndSavesLines) {
  test::Sandbox sandbox;
  std::string path = sandbox.root() + "/lines.txt";
  std::string long_line(40000, 'L');
  test::write_file(path, "dos\r\nunix\n\n\r\nkeeps\rinner\r\n" + long_line + "\nlast");
  string_array* sa = string_array_load_from_file(path.c_str());
  ASSERT_NE(nullptr, sa);
  EXPECT_EQ((Strings{"dos", "unix", "", "", "keeps\rinner", long_line.substr(0, 32767), long_line.substr(32767), "last"}),
            strings_of(sa));

  string_array_remove_segment(sa, 5, 2);
  EXPECT_EQ(0, string_array_save_to_file(sa, path.c_str()));
  EXPECT_EQ("dos\nunix\n\n\nkeeps\rinner\nlast\n", test::read_file(path));
  string_array* again = string_array_load_from_file(path.c_str());
  EXPECT_TRUE(string_array_equals(sa, again));
  string_array_free(again);

  EXPECT_EQ(nullptr, string_array_load_from_file((sandbox.root() + "/missing").c_str()));
  EXPECT_EQ(-1, string_array_save_to_file(sa, (sandbox.root() + "/no/such/dir").c_str()));
  string_array_free(sa);
}

TEST(StringArrayDeathTest, ReportsBrokenPreconditions) {
  auto report = [](const char* function, const char* expression) {
    return test::assertion_report("player/src/util/mt/basic_string_array", 0, function, expression);
  };
  string_array* sa = test::string_array_of({"a", "b"});
  const char* text = "ab";
  EXPECT_DEATH(string_array_add(sa, nullptr), report("string_array_add", "string"));
  EXPECT_DEATH(string_array_add_segment(sa, text + 1, text), report("string_array_add_segment", "begin && end && end >= begin"));
  EXPECT_DEATH(string_array_set(sa, 2, "x"), report("string_array_set", "index >= 0 && index < sa->size"));
  const char* removal = "index >= 0 && count > 0 && index + count <= sa->size";
  EXPECT_DEATH(string_array_remove(sa, 2), report("string_array_remove_segment", removal));
  EXPECT_DEATH(string_array_remove_segment(sa, 1, 2), report("string_array_remove_segment", removal));
  EXPECT_DEATH(string_array_remove_segment(sa, 0, 0), report("string_array_remove_segment", removal));
  EXPECT_DEATH(string_array_split("a,b", ""), report("string_array_split", "sep_len > 0"));
  string_array_free(sa);
}
