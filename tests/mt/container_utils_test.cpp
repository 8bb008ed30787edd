#include <climits>

#include "test_support.hpp"

namespace {

std::string saved(const properties* p) { return test::take_string(properties_save_to_buffer(p)); }

// The strings of a null-terminated snapshot, joined by "|"; the array is freed.
std::string joined(const char** strings) {
  std::string text;
  for (const char** s = strings; *s != nullptr; ++s) text += std::string(s == strings ? "" : "|") + *s;
  free(strings);
  return text;
}

}  // namespace

// Saved as properties text and parsed back (what a settings file does), every object comes back equal.
TEST(ContainerUtils, EverythingSavedIsRestoredEqual) {
  string_array* sa = test::string_array_of({"first", "x = y", "#not a comment", "", ""});
  long_long_array* lla = long_long_array_create_single(LLONG_MIN);
  long_long_array_add(lla, LLONG_MAX);
  long_long_array_add(lla, -1);
  string_builder* sb = string_builder_create();
  string_builder_push_abs(sb, "/mnt/");
  string_builder_push_rel(sb, "music/", 1);
  string_builder_push_rel(sb, "Live", 1);  // begins with a copy of "/mnt"
  string_builder_push_rel(sb, "x", 0);
  C_StringSet* set = string_set_create();
  for (const char* s : {"b", "a", "a=b"}) string_set_add(set, s);
  C_StringMap* map = string_map_create();
  string_map_put(map, "volume", "40");
  string_map_put(map, "language", "en");
  string_map_put(map, "empty", "");

  properties* p = properties_create_empty();
  string_array_save(sa, p, "list");
  long_long_array_save(lla, p, "ids");
  string_builder_save(sb, p, "path");
  string_set_save(set, p, "set");
  string_map_save(map, p, nullptr);
  string_array_save(nullptr, p, "no_list");
  long_long_array_save(nullptr, p, "no_ids");
  string_builder_save(nullptr, p, "no_path");
  string_set_save(nullptr, p, "no_set");
  string_map_save(nullptr, p, "no_map");
  properties* loaded = test::properties_of(saved(p));

  string_array* sa2 = string_array_restore(loaded, "list");
  EXPECT_EQ(1, string_array_equals(sa, sa2));
  long_long_array* lla2 = long_long_array_restore(loaded, "ids");
  EXPECT_TRUE(lla2->size == 3 && memcmp(lla->items, lla2->items, sizeof(long long) * 3) == 0);
  string_builder* sb2 = string_builder_restore(loaded, "path");
  ASSERT_TRUE(sb->buf_length == sb2->buf_length && sb->num_items == sb2->num_items);
  EXPECT_EQ(0, memcmp(sb->buf, sb2->buf, (size_t)sb->buf_length + 1));
  EXPECT_EQ(0, memcmp(sb->items, sb2->items, sizeof(string_builder_item) * (size_t)sb->num_items));
  C_StringSet* set2 = string_set_restore(loaded, "set");
  EXPECT_EQ("a|a=b|b", joined(string_set_get_all(set2)));
  C_StringMap* map2 = string_map_restore(loaded, "");
  EXPECT_EQ("empty|language|volume", joined(string_map_get_keys(map2)));
  EXPECT_EQ("|en|40", joined(string_map_get_values(map2)));

  EXPECT_EQ(nullptr, string_array_restore(loaded, "no_list"));
  EXPECT_EQ(nullptr, long_long_array_restore(loaded, "no_ids"));
  EXPECT_EQ(nullptr, string_builder_restore(loaded, "no_path"));
  EXPECT_EQ(nullptr, string_set_restore(loaded, "no_set"));
  EXPECT_EQ(nullptr, string_map_restore(loaded, "no_map"));
  EXPECT_EQ(nullptr, properties_get(loaded, "no_list.is_null"));  // a null object writes nothing...
  EXPECT_STREQ("0", properties_get(loaded, "no_ids.is_not_null"));  // ...except a null long_long_array

  string_array_free(sa), string_array_free(sa2);
  long_long_array_free(lla), long_long_array_free(lla2);
  string_builder_free(sb), string_builder_free(sb2);
  string_set_free(set), string_set_free(set2);
  string_map_free(map), string_map_free(map2);
  properties_free(p), properties_free(loaded);
}

TEST(ContainerUtilsKeys, FollowEachSchemeExactly) {
  properties* p = properties_create_empty();
  string_array* sa = string_array_create_single("a");
  string_array_save(sa, p, nullptr);
  long_long_array* lla = long_long_array_create_single(7);
  long_long_array_save(lla, p, "n");
  string_builder* sb = string_builder_create();
  string_builder_push_abs(sb, "/a");
  string_builder_push_rel(sb, "b", 1);
  string_builder_save(sb, p, "");
  EXPECT_EQ("is_null = 0\nsize = 1\n0 = a\nn.is_not_null = 1\nn.size = 1\nn.value.0 = 7\n"
            "num_items = 2\n0.segment = /a\n0.start = 0\n0.begin = 0\n0.end = 2\n"
            "1.segment = /b\n1.start = 0\n1.begin = 3\n1.end = 4\n",
            saved(p));
  string_array_free(sa);
  long_long_array_free(lla);
  string_builder_free(sb);
  properties_free(p);
}

// Missing or inconsistent entries are assertions. Counts from a damaged or crafted file reach their
// documented assertion (or, for the bounded form, null) without first allocating room for the count.
TEST(ContainerUtilsKeys, MissingInconsistentOrHugeEntriesAreAssertionsOrNull) {
  using Restore = void (*)(const properties*);
  Restore array = [](const properties* p) { string_array_free(string_array_restore(p, nullptr)); };
  Restore set = [](const properties* p) { string_set_free(string_set_restore(p, nullptr)); };
  Restore map = [](const properties* p) { string_map_free(string_map_restore(p, nullptr)); };
  Restore builder = [](const properties* p) { string_builder_free(string_builder_restore(p, nullptr)); };
  const char* item = "is_null = 0\nnum_items = 1\n0.segment = ab\n";
  struct Case { Restore restore; std::string text; const char* assertion; } cases[] = {
      {array, "is_null = 0\nsize = 2\n0 = a\n", "string_array_restore: Assertion `s'"},
      {set, "is_null = 0\nsize = 1\n", "string_set_restore: Assertion `s'"},
      {map, "is_null = 0\nsize = 1\n0.value = v\n", "string_map_restore: Assertion `key'"},
      {map, "is_null = 0\nsize = 1\n0.key = k\n", "string_map_restore: Assertion `value'"},
      {builder, "is_null = 0\n", "string_builder_restore: Assertion `num_items >= 0'"},
      {builder, "is_null = 0\nnum_items = 1\n", "string_builder_restore: Assertion `str'"},
      {builder, "is_null = 0\nnum_items = 2000000000\n0.segment = a\n", "Assertion `start >= 0'"},
      {builder, item + std::string("0.start = 1\n0.begin = 0\n0.end = 2\n"), "Assertion `begin >= start'"},
      {builder, item + std::string("0.start = 0\n0.begin = 0\n"), "Assertion `end >= begin'"},
      {builder, item + std::string("0.start = 0\n0.begin = 0\n0.end = 1\n"), "Assertion `end == t->buf_length'"}};
  for (const Case& c : cases) {
    properties* p = test::properties_of(c.text);
    const char* module = c.restore == builder ? "string_builder" : "container_utils";  // the builder's own module
    EXPECT_DEATH(c.restore(p), std::string("player/src/util/mt/") + module + ":[0-9]+: .*" + c.assertion) << c.text;
    properties_free(p);
  }
  // A bounded size may reach the number of entries (a missing value is restored as -1); without a
  // prefix the keys still start with ".".
  struct Bounded { const char *text, *prefix, *items; };
  for (const Bounded& c : std::vector<Bounded>{
           {"n.is_not_null = 1\nn.size = 100000000\nn.value.0 = 5\n", "n", "null"},
           {"n.is_not_null = 1\nn.size = -1\n", "n", "null"}, {"n.is_not_null = 0\nn.size = 1\n", "n", "null"},
           {"n.is_not_null = 1\nn.size = 3\nn.value.0 = 5\n", "n", "5 -1 -1 "},
           {".is_not_null = 1\n.size = 99\n", nullptr, "null"}, {".is_not_null = 1\n.size = 0\n", nullptr, ""}}) {
    properties* p = test::properties_of(c.text);
    long_long_array* lla = long_long_array_restore_bounded(p, c.prefix);
    std::string items = lla ? "" : "null";
    for (int i = 0; lla && i < lla->size; ++i) items += std::to_string(lla->items[i]) + " ";
    EXPECT_EQ(c.items, items) << c.text;
    long_long_array_free(lla);
    properties_free(p);
  }
}
