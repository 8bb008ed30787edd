#include "test_support.hpp"

namespace {

const char* const kNull = "(null)";

using test::seg_text;
using test::take_string;
int len(const std::string& s) { return (int)s.size(); }

}  // namespace

TEST(PathUtils, JoinsWithExactlyOneSeparatorUnlessTheLeftSideHasOne) {
  struct Case { const char *a, *b, *joined; };
  for (const Case& c : std::vector<Case>{{"", "x", "/x"}, {"/a/", "x", "/a/x"}, {"/a", "x", "/a/x"}, {"a", "", "a/"},
                                         {"/", "x", "/x"}, {"", "", "/"}, {"a//", "/b", "a///b"}}) {
    EXPECT_EQ(c.joined, take_string(path_utils_join_path(c.a, c.b))) << c.a << " + " << c.b;
  }
  EXPECT_EQ("ab/x", take_string(path_utils_join_path_segs("abc/", 2, "xyz", 1)));
  EXPECT_EQ("/", take_string(path_utils_join_path_segs("abc", 0, "xyz", 0)));
}

TEST(PathUtils, SplitsNamesDirectoriesAndExtensions) {
  struct Case { const char *path, *basename, *without_ext, *dir, *ext, *dot_ext, *base; };
  for (const Case& c : std::vector<Case>{
           {"", "", "", "", "", "", ""}, {"/", "/", "/", "", "", "", "/"}, {"///", "///", "///", "", "", "", "///"},
           {"a", "a", "a", "", "", "", "a"}, {"a/b", "b", "b", "a", "", "", "a"},
           {"a/b/", "b/", "b/", "a", "", "", "a"}, {"/a/b//", "b//", "b//", "/a", "", "", "/a"},
           {"/b", "b", "b", "", "", "", "/"}, {"a//b", "b", "b", "a/", "", "", "a/"},
           {"/x.y/file", "file", "file", "/x.y", "", "", "/x.y"},
           {"/x/file.tar.gz", "file.tar.gz", "file.tar", "/x", "gz", ".gz", "/x"},
           {"dir/.hidden", ".hidden", "", "dir", "hidden", ".hidden", "dir"},
           {"a.b/", "a.b/", "a", "", "b/", ".b/", "a.b"}, {"file.", "file.", "file", "", "", ".", "file."},
       }) {
    SCOPED_TRACE(c.path);
    EXPECT_STREQ(c.basename, path_utils_basename(c.path));
    EXPECT_EQ(c.without_ext, seg_text(path_utils_basename_without_ext(c.path)));
    EXPECT_EQ(c.dir, take_string(path_utils_get_dir_path(c.path)));
    str_seg dir = path_utils_dirname_seg(c.path);
    EXPECT_EQ(c.path, dir.start);
    EXPECT_EQ(c.dir, seg_text(dir));
    EXPECT_STREQ(c.ext, path_utils_get_ext(c.path));
    EXPECT_STREQ(c.dot_ext, path_utils_get_ext_including_dot(c.path));
    EXPECT_EQ(c.base, seg_text(path_utils_get_base_path_seg(c.path)));
  }

  EXPECT_EQ(1, path_utils_has_extension("movie.MKV", ".mkv"));
  EXPECT_EQ(1, path_utils_has_extension("amkv", "MKV"));  // no dot is required
  EXPECT_EQ(1, path_utils_has_extension("a", ""));
  EXPECT_EQ(0, path_utils_has_extension("kv", "mkv"));
  EXPECT_EQ(0, path_utils_has_extension("a.mp4", ".mkv"));

  char reversed[] = "\\a\\\\b/c\\";
  path_utils_convert_reversed_slashes(reversed);
  EXPECT_STREQ("/a//b/c/", reversed);
}

TEST(PathUtils, TrimsAndShiftsSegmentsKeepingALoneSlash) {
  struct Trim { const char *in, *trailing, *leading; };
  for (const Trim& c : std::vector<Trim>{{"", "", ""}, {"/", "/", "/"}, {"///", "/", "/"}, {"//a", "//a", "a"},
                                         {"a//", "a", "a//"}, {"/a/", "/a", "a/"}}) {
    str_seg trailing = str_to_seg(c.in), leading = str_to_seg(c.in);
    path_utils_remove_trailing_slashes(&trailing);
    path_utils_remove_leading_slashes(&leading);
    EXPECT_EQ(c.trailing, seg_text(trailing)) << c.in;
    EXPECT_EQ(c.leading, seg_text(leading)) << c.in;
  }

  struct Shift { const char *in, *component, *rest; };
  for (const Shift& c : std::vector<Shift>{{"", "", ""}, {"/", "/", ""}, {"///", "/", ""}, {"a", "a", ""},
                                          {"/a", "a", ""}, {"//a", "a", ""}, {"a/b//c", "c", "a/b"},
                                          {"a/b/", "b", "a"}, {"/a//b//", "b", "/a"}}) {
    str_seg seg = str_to_seg(c.in);
    EXPECT_EQ(c.component, seg_text(path_utils_rshift(&seg))) << c.in;
    EXPECT_EQ(c.rest, seg_text(seg)) << c.in;
  }
  // Shifting repeatedly takes a path apart from the end, within the segment's length only.
  str_seg seg = {"/a/bb/c/IGNORED", 7};
  std::string taken;
  while (seg.length > 0) taken += seg_text(path_utils_rshift(&seg)) + ",";
  EXPECT_EQ("c,bb,a,", taken);
}

TEST(PathUtils, BuildsABuilderFromComponents) {
  struct Case { const char* path; int items; const char *top, *own; };
  for (const Case& c : std::vector<Case>{{"", 0, "", nullptr}, {"/", 1, "/", "/"}, {"//", 1, "/", "/"},
                                         {"/a//b/", 3, "/a/b", "b"}, {"a/b", 2, "a/b", "b"}}) {
    string_builder* sb = path_utils_create_builder_from_path(c.path);
    EXPECT_EQ(c.items, sb->num_items) << c.path;
    EXPECT_STREQ(c.top, string_builder_top(sb)) << c.path;
    EXPECT_STREQ(c.own, c.items ? string_builder_top_item(sb) : nullptr) << c.path;
    string_builder_free(sb);
  }
}

TEST(PathUtils, TellsAncestorsAndFirstNamesBelowThem) {
  struct Prefix { const char *prefix, *path; int is_prefix; };
  for (const Prefix& c : std::vector<Prefix>{{"/a", "/a", 0}, {"/a", "/a/b", 1}, {"/a", "/ab", 0}, {"/a", "/a/  ", 0},
                                            {"/a", "/a//b", 1}, {"/a", "/a/ x", 1}, {"/a/", "/a/b", 1}, {"/", "/a", 1},
                                            {"", "/a", 0}, {"/a", "/b", 0}, {"/a/", "/a/", 0}}) {
    EXPECT_EQ(c.is_prefix, path_utils_is_prefix(c.prefix, c.path)) << c.prefix << " of " << c.path;
  }

  struct First { const char *base, *path, *name; };
  for (const First& c : std::vector<First>{{"/a", "/a/b/c", "b"}, {"/a/", "/a/b", "b"}, {"/a", "/a", ""},
                                          {"/a", "/ab/c", "b"}, {"/a", "/a//b", ""}, {"", "x/y", "x"},
                                          {"/x", "/a/b", kNull}}) {
    EXPECT_EQ(c.name, take_string(path_utils_get_first_name_of_rel_path(c.base, c.path))) << c.base << " in " << c.path;
  }
}

TEST(PathUtils, ResolvesRelativePathsWithoutClimbingAboveTheRoot) {
  struct Case { const char *path, *base_dir, *root; int join_bare; const char* resolved; };
  for (const Case& c : std::vector<Case>{
           {"/x", "/mnt/d", "/mnt", 0, "/mnt/x"}, {"/x/../y", "/mnt/d", "/mnt", 0, "/mnt/y"},
           {"/../../y//z/", "/mnt/d", "/mnt", 0, "/mnt/y/z"}, {"/a/..", "/d", "/mnt", 0, "/mnt/"},
           {"name", "/d", "/r", 0, "name"}, {"name", "/d/", "/r", 1, "/d/name"},
           {"../x/y", "/mnt/d/e", "/mnt", 0, "/mnt/d/x/y"}, {"../../../x/y", "/mnt/d", "/mnt", 0, "/mnt/x/y"},
           {"./x/./y", "/mnt/d", "/mnt", 0, "/mnt/d/x/y"}, {"x/", "/d", "/", 0, "/d/x"},
           {"a/../b//c", "/d/e", "/", 0, "/d/e/b/c"},
           // Outside the root, ".." stops at base_dir itself.
           {"../x/y", "/other/d", "/mnt", 0, "/other/d/x/y"},
       }) {
    EXPECT_EQ(c.resolved, take_string(path_utils_resolve_relative_path(c.path, c.base_dir, c.root, c.join_bare)))
        << c.path << " in " << c.base_dir << " under " << c.root;
  }
}

TEST(PathUtils, ResolvesRelativeUrlsBelowTheUrlPrefix) {
  struct Case { const char *path, *base_url, *resolved; };
  for (const Case& c : std::vector<Case>{
           {"c/d", "scheme://h/x/y", "scheme://h/x/y/c/d"}, {"/c", "scheme://h/x", "scheme://h/c"},
           {"/c/../d/e", "http://h/x", "http://h/d/e"}, {"name.ts", "http://h/dir", "http://h/dir/name.ts"},
           {"name.ts", "http://h/dir/", "http://h/dir/name.ts"}, {"../z/w", "http://h/a/b", "http://h/a/z/w"},
           {"../../../z/w", "http://h/a", "http://h/z/w"}, {"c/d", "http://h//a", "http://h/a/c/d"},
           {"c/d", "http://h", "http://h/c/d"}, {"/c", "http://h", "http://h/c"},
           // Without a URL prefix the base is a plain path under "/" and bare names stay.
           {"name", "/a/b", "name"}, {"x/../y", "/a/b", "/a/b/y"}, {"c/d", "file:///x/y", "file:///x/y/c/d"},
           {"x/y", "http:// h/a", "http:// h/a/x/y"},
       }) {
    EXPECT_EQ(c.resolved, take_string(path_utils_resolve_relative_url(c.path, c.base_url))) << c.path << " in " << c.base_url;
  }

  struct Base { const char *url, *base; };
  for (const Base& c : std::vector<Base>{{"scheme://host/dir/file", "scheme://host/dir"},
                                        {"scheme://host/file", "scheme://host/"},
                                        {"scheme://host/dir/", "scheme://host/"}, {"scheme://host/", "scheme://host/"},
                                        {"scheme://host", "scheme://host"}, {"/a/b", "/a"},
                                        {"file:///x/y", "file:///x"}, {"", ""}}) {
    EXPECT_EQ(c.base, seg_text(path_utils_get_base_url_seg(c.url))) << c.url;
  }
}

TEST(PathUtils, RelatesAbsolutePathsAndAppliesTheResult) {
  struct Rel { const char *from, *to, *rel; };
  for (const Rel& c : std::vector<Rel>{{"/a/b", "/a/c/d", "../c/d"}, {"/a", "/a/b", "b"}, {"/a/b", "/a", ".."},
                                      {"/a/b", "/a/b", "."}, {"/a/b/", "/a//b", "."}, {"/", "/x/y", "x/y"},
                                      {"/x/y", "/", "../.."}, {"/a/b/c", "/d", "../../../d"}, {"/a", "/b", "../b"},
                                      {"a", "/a", kNull}, {"/a", "a", kNull}, {"/a", "", kNull}, {"", "/a", kNull}}) {
    EXPECT_EQ(c.rel, take_string(path_utils_get_rel_path(c.from, len(c.from), c.to, len(c.to)))) << c.from << " -> " << c.to;
  }
  EXPECT_EQ("../c", take_string(path_utils_get_rel_path("/a/bXX", 4, "/a/cYY", 4)));

  struct Apply { const char *base, *rel, *result; };
  for (const Apply& c : std::vector<Apply>{{"/a", "../../x", kNull}, {"/a/b", "../c", "/a/c"}, {"/a", "x/./y", "/a/x/y"},
                                          {"/a", ".", "/a"}, {"/a", "../x", "/x"}, {"/a/b", "..", "/a"},
                                          {"", "x", "/x"}, {"", "..", kNull}, {"/", "..", ""},
                                          {"/a", "/x", kNull}, {"/a", "", kNull}}) {
    EXPECT_EQ(c.result, take_string(path_utils_apply_rel_path(c.base, len(c.base), c.rel, len(c.rel)))) << c.base << " + " << c.rel;
  }
  EXPECT_EQ("/a/b/c", take_string(path_utils_apply_rel_path("/a/bzz", 4, "c", 1)));

  std::string from = "/old", to = "/old/x/y", deeper = "/o/p", outside = "/q", relative = "x";
  EXPECT_EQ("/new/x/y", take_string(path_utils_apply_rel_path2("/new", 4, from.c_str(), len(from), to.c_str(), len(to), "fb")));
  EXPECT_EQ("fb", take_string(path_utils_apply_rel_path2("/n", 2, deeper.c_str(), len(deeper), outside.c_str(), len(outside), "fb")));
  EXPECT_EQ("fb", take_string(path_utils_apply_rel_path2("/n", 2, from.c_str(), len(from), relative.c_str(), 1, "fb")));
  EXPECT_EQ(kNull, take_string(path_utils_apply_rel_path2("/n", 2, from.c_str(), len(from), relative.c_str(), 1, nullptr)));
}

TEST(PathUtils, ToolRelatesAndResolves) {
  test::expect_tool({{"path rel /a/b /a/c/d", 0, "../c/d\n", true},
                     {"path rel a /a", 1, ""},
                     {"path resolve ../x http://h/a/b", 0, "http://h/a/x\n", true},
                     {"path resolve ../../../x /mnt/d /mnt", 0, "/mnt/x\n", true},
                     {"path rel /a", 2, ""},
                     {"path frobnicate", 2, ""}});
}
