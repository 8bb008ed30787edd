#include "test_support.hpp"

using test::seg_text;
using test::take_string;

TEST(UrlUtils, SplitsSchemesHostsAndPaths) {
  struct Case { const char *url, *proto, *host, *path; };
  for (const Case& c : std::vector<Case>{{"http://h:80/a/b?x", "http", "h:80", "/a/b?x"}, {"a-b_c://x", "a-b_c", "x", ""},
                                         {"smb://h/", "smb", "h", "/"}, {"s:///p", "s", "", "/p"}}) {
    str_seg proto, host, path;
    ASSERT_EQ(1, url_utils_parse_url(c.url, &proto, &host, &path)) << c.url;
    EXPECT_EQ(c.proto, seg_text(proto));
    EXPECT_EQ(c.host, seg_text(host));
    EXPECT_EQ(c.path, seg_text(path));
    EXPECT_EQ(1, url_utils_is_url(c.url));
    EXPECT_EQ(c.proto, seg_text(url_utils_get_proto(c.url)));
  }
  for (const char* plain : {"://x", "/tmp/a", "a b://x", "http:/x", "http", ""}) {
    str_seg untouched = {"u", 1}, host = untouched, path = untouched;
    EXPECT_EQ(0, url_utils_is_url(plain)) << plain;
    EXPECT_EQ(0, url_utils_get_proto(plain).length) << plain;
    EXPECT_EQ(0, url_utils_parse_url(plain, &untouched, &host, &path)) << plain;
    EXPECT_EQ("u", seg_text(untouched));
  }

  EXPECT_EQ("http://h/a/new.ts", take_string(url_utils_replace_filename("http://h/a/old.ts", "new.ts")));
  EXPECT_EQ("http://h/new", take_string(url_utils_replace_filename("http://h/", "new")));
  EXPECT_EQ("(null)", take_string(url_utils_replace_filename("http://h", "new")));
  EXPECT_EQ("(null)", take_string(url_utils_replace_filename("/a/b", "new")));

  char* buffer = nullptr;
  EXPECT_STREQ("b", url_utils_construct_url(&buffer, "bXX", 1, "/", 1));
  EXPECT_STREQ("b/x", url_utils_construct_url(&buffer, "b", 1, "x", 1));
  EXPECT_STREQ("b/x", url_utils_construct_url(&buffer, "b", 1, "/xYY", 2));
  EXPECT_STREQ("b", url_utils_construct_url(&buffer, "b", 1, "", 0));
  EXPECT_STREQ("b//", url_utils_construct_url(&buffer, "b", 1, "//", 2));
  free(buffer);

  EXPECT_EQ(1, url_utils_url_is_system_path("/tmp/run/storage_list.xml"));
  EXPECT_EQ(1, url_utils_url_is_system_path("file:///tmp/run/x"));
  EXPECT_EQ(0, url_utils_url_is_system_path("/tmp/running"));
  EXPECT_EQ(0, url_utils_url_is_system_path("file://tmp/run/x"));
}

TEST(UrlUtils, RemovesParametersDoubleSchemesAndExtraSlashes) {
  const char* plain = "http://h/a.ts";
  char buffer[8] = "unused";
  EXPECT_EQ(plain, url_utils_chomp_vona_params(plain, buffer, sizeof buffer));
  EXPECT_EQ(nullptr, url_utils_chomp_vona_params(nullptr, buffer, sizeof buffer));
  EXPECT_EQ(buffer, url_utils_chomp_vona_params("ab|||vona_params|||x=1", buffer, sizeof buffer));
  EXPECT_STREQ("ab", buffer);
  EXPECT_STREQ("http://", url_utils_chomp_vona_params("http://h/a|||vona_params|||", buffer, sizeof buffer));
  EXPECT_STREQ("http://", url_utils_chomp_vona_params("a|||vona_params|||", buffer, 0));  // untouched
  const char* with = "a/b|||vona_params|||x";
  EXPECT_EQ("a/b", seg_text(url_utils_chomp_vona_params_seg(str_seg{with, 5})));  // the marker starts inside
  EXPECT_EQ("a/", seg_text(url_utils_chomp_vona_params_seg(str_seg{with, 2})));

  struct Unhack { const char *in, *out; };
  for (const Unhack& c : std::vector<Unhack>{{"http://ts://mp4://h/x", "http://h/x"}, {"http://ts://h/x", "http://h/x"},
                                            {"http://mp4://h/x", "http://h/x"}, {"https://mp4://h/x", "https://mp4://h/x"},
                                            {"http://mp4://ts://h", "http://ts://h"}, {"http://ts:/", "http://ts:/"}}) {
    std::string url = c.in;
    url_utils_unhack_double_scheme_url(&url[0]);
    EXPECT_STREQ(c.out, url.c_str()) << c.in;
  }

  struct Slashes { const char *in, *out; };
  for (const Slashes& c : std::vector<Slashes>{{"http://h//a///b/", "http://h/a/b"}, {"//a//b//", "/a/b"}, {"/", "/"},
                                              {"//", "/"}, {"a/", "a"}, {"file:///", "file:///"}, {"file:////x//", "file:///x"},
                                              {"http://", "http://"}, {"", ""}}) {
    std::string url = c.in;
    url_utils_remove_extra_slashes_in_place(&url[0]);
    EXPECT_STREQ(c.out, url.c_str()) << c.in;
  }
  char small[6];
  EXPECT_STREQ("a/b", url_utils_remove_extra_slashes(small, sizeof small, "a//b//cd"));  // copied "a//b/" first
  EXPECT_DEATH(url_utils_remove_extra_slashes(small, sizeof small, nullptr), "str_to_seg: Assertion `c_str' failed");
}

TEST(UrlUtils, BuildsShareUrls) {
  EXPECT_EQ("smb://@h/", take_string(smb_url_create("", 0, "", 0, "h", 1, "", 0)));
  EXPECT_EQ("smb://u:p@h/s/d", take_string(smb_url_create("uX", 1, "pX", 1, "hX", 1, "s/dX", 3)));
  EXPECT_EQ("smb://u@h/s", take_string(smb_url_create("u", 1, "p", 0, "h", 1, "s", 1)));
  EXPECT_EQ("smb://:p@/", take_string(smb_url_create("u", 0, "p", 1, "h", 0, "s", 0)));
  EXPECT_EQ("nfs-tcp://srv:/export", take_string(nfs_url_create("srv:/export", 1)));
  EXPECT_EQ("nfs-udp://", take_string(nfs_url_create(nullptr, 0)));
  EXPECT_EQ("nfs-udp://", take_string(nfs_url_create("", 0)));
}
