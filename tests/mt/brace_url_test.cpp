#include "test_support.hpp"

using test::seg_text;
using test::take_string;

TEST(BraceUrl, ReadsPairsWithNestingAndEscapes) {
  EXPECT_STREQ("{a=1}", brace_url_open("plugin_launcher://{a=1}", "plugin_launcher"));
  EXPECT_EQ(nullptr, brace_url_open("plugin_launcher:/{a=1}", "plugin_launcher"));
  EXPECT_EQ(nullptr, brace_url_open("plugin_launcherx://", "plugin_launcher"));

  struct Case { const char *text, *key, *value; int escaped; const char* rest; };
  str_seg key, value;
  int escaped;
  for (const Case& c : std::vector<Case>{{"", "", "", 0, ""},
                                         {"{a=1}{b=2}", "a", "1", 0, "{b=2}"}, {"{Key_9=}", "Key_9", "", 0, ""},
                                         {"{a={b}{c{d}}}x", "a", "{b}{c{d}}", 0, "x"},
                                         {"{b=x\\}y}", "b", "x\\}y", 1, ""}, {"{b=\\\\}", "b", "\\\\", 1, ""}}) {
    const char* cursor = c.text;
    escaped = -1;
    ASSERT_EQ(1, brace_url_read_next_pair(&cursor, &key, &value, &escaped)) << c.text;
    EXPECT_EQ(c.key, seg_text(key));
    EXPECT_EQ(c.value, seg_text(value));
    EXPECT_EQ(c.escaped, escaped);
    EXPECT_STREQ(c.rest, cursor);
  }
  for (const char* bad : {"x", "{=1}", "{}", "{a}", "{a-b=1}", "{a=1", "{a={}", "{a=1\\", "{a=\\}", " {a=1}"}) {
    const char* cursor = bad;
    EXPECT_EQ(0, brace_url_read_next_pair(&cursor, &key, &value, &escaped)) << bad;
  }
  EXPECT_EQ("x}y", take_string(brace_url_unescape_value("x\\}yZZ", 4)));
  EXPECT_EQ("", take_string(brace_url_unescape_value("\\\\", 2)));  // an escaped backslash goes too
}
