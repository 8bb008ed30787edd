#include "test_support.hpp"

using test::seg_text;

TEST(StringBuilder, PushesAbsoluteAndRelativeItems) {
  string_builder* sb = string_builder_create();  // its capacities show in the dump below
  EXPECT_STREQ("", string_builder_top(sb));
  EXPECT_EQ(0, string_builder_get_by_ndx(sb, 0).length);

  string_builder_push_rel(sb, "x", 0);
  EXPECT_STREQ("x", string_builder_top(sb));
  string_builder_pop(sb);
  string_builder_push_abs(sb, "/mnt/");
  string_builder_push_rel(sb, "music/", 1);
  EXPECT_STREQ("/mnt/music", string_builder_top(sb));
  EXPECT_STREQ("music", string_builder_top_item(sb));
  EXPECT_EQ(seg_text(string_builder_top_seg(sb)), seg_text(string_builder_get_by_ndx(sb, -1)));
  // Relative to an older item: that item's text is copied after the current text.
  string_builder_push_rel(sb, "video", 1);
  EXPECT_STREQ("/mnt/music/mnt/video", sb->buf);
  EXPECT_EQ("/mnt/video", seg_text(string_builder_get_by_ndx(sb, 2)));
  EXPECT_EQ("video", seg_text(string_builder_get_item_by_ndx(sb, -1)));
  string_builder_pop(sb);
  string_builder_pop(sb);
  EXPECT_STREQ("/mnt", sb->buf);

  // A lone slash stays, the root joins its child without a second slash, and push_path decides
  // by the leading slash.
  string_builder_push_abs(sb, "///");
  string_builder_push_path(sb, "tmp", 2);
  EXPECT_STREQ("/tmp", string_builder_top(sb));
  string_builder_push_path(sb, "/abs//", 3);
  EXPECT_STREQ("/abs", string_builder_top(sb));

  // The pushed text may lie in the builder's own buffer while that buffer moves.
  std::string name = "/" + std::string(1000, 'n');
  string_builder_push_abs(sb, name.c_str());
  string_builder_push_rel_seg(sb, string_builder_top_seg(sb), sb->num_items);
  EXPECT_EQ(name + "/" + name, string_builder_top(sb));
  EXPECT_EQ(2048, sb->buf_capacity);
  string_builder_free(sb);
}

TEST(StringBuilder, PopRestoresTheExactBytesAcrossManyLevels) {
  string_builder* sb = string_builder_create();
  std::vector<std::string> buffers, full;
  for (int level = 0; level < 200; ++level) {  // grows the buffer and the items several times
    buffers.push_back(std::string(sb->buf, sb->buf_length + 1));
    std::string name = "d" + std::to_string(level), with_slash = name + "//";
    int n = sb->num_items, base = level % 4 == 3 ? n / 2 : n;
    if (level % 4 == 0) string_builder_push_abs(sb, ("/" + with_slash).c_str());
    else string_builder_push_rel(sb, with_slash.c_str(), base);
    std::string prefix = level % 4 == 0 ? "/" : base == 0 ? "" : full[base - 1] + "/";
    full.push_back(prefix + name);
    for (int i = 0; i < sb->num_items; ++i) ASSERT_EQ(full[i], seg_text(string_builder_get_by_ndx(sb, i))) << level;
    ASSERT_EQ(level % 4 == 0 ? "/" + name : name, string_builder_top_item(sb));
  }
  EXPECT_EQ(256, sb->item_capacity);
  string_builder* copy = string_builder_copy(sb);
  for (int level = 199; level >= 0; --level) {
    string_builder_pop(sb);
    ASSERT_EQ(buffers[level], std::string(sb->buf, sb->buf_length + 1)) << level;
  }
  EXPECT_EQ(sb->buf_capacity, copy->buf_capacity);
  EXPECT_EQ(full[150], seg_text(string_builder_get_by_ndx(copy, 150)));  // the copy has its own text
  EXPECT_EQ(nullptr, string_builder_copy(nullptr));
  string_builder_free(sb);
  string_builder_free(copy);
}

TEST(StringBuilder, DumpsItsState) {
  string_builder* sb = string_builder_create();
  EXPECT_EQ("path: empty\n", test::captured_stdout([&] { string_builder_dump(sb, "path"); }));
  string_builder_push_abs(sb, "/mnt");
  string_builder_push_rel(sb, "usb", 1);
  string_builder_push_rel(sb, "x", 1);
  EXPECT_EQ("path: chars 14=14 of 1024, items 3 of 32\n    buf = '/mnt/usb/mnt/x'\n    item #0: 0,0,4: /mnt\n"
            "    item #1: 0,5,8: /mnt/usb\n    item #2: 8,13,14: /mnt/x\n",
            test::captured_stdout([&] { string_builder_dump(sb, "path"); }));
  string_builder_free(sb);
}

TEST(StringBuilderDeathTest, AssertionsNameTheFailedExpression) {
  string_builder* sb = string_builder_create();
  const std::string at = "^player/src/util/mt/string_builder:[0-9]+: ";
  EXPECT_DEATH(string_builder_pop(sb), at + "string_builder_pop: Assertion `t->num_items > 0' failed");
  EXPECT_DEATH(string_builder_get_item_by_ndx(sb, 0),
               at + "string_builder_get_item_by_ndx: Assertion `ndx > -t->num_items' failed");
  EXPECT_DEATH(string_builder_push_rel(sb, "a", 1),
               at + "string_builder_do_push: Assertion `base_num_items <= t->num_items' failed");
  EXPECT_DEATH(string_builder_dump(sb, nullptr), at + "string_builder_dump: Assertion `prefix' failed");
  string_builder_push_abs(sb, "/a");
  string_builder_push_rel(sb, "b", 1);
  EXPECT_DEATH(string_builder_get_by_ndx(sb, 2), at + "string_builder_get_by_ndx: Assertion `ndx < t->num_items' failed");
  // -num_items is refused although it would name the first item.
  EXPECT_DEATH(string_builder_get_by_ndx(sb, -2),
               at + "string_builder_get_by_ndx: Assertion `ndx > -t->num_items' failed");
  string_builder_free(sb);
}
