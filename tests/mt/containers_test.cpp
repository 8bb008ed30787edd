#include <climits>
#include <functional>
#include <set>

#include "test_support.hpp"

namespace {

using Texts = std::vector<std::string>;
using Objects = std::vector<void*>;

// A snapshot's strings up to its null slot; frees the array.
Texts texts(const char** snapshot) {
  Texts out;
  for (const char** slot = snapshot; *slot; ++slot) out.push_back(*slot);
  free(snapshot);
  return out;
}

// An identifier snapshot with its trailing slot; frees the array.
std::vector<long long> ids(long long* snapshot, int size) {
  std::vector<long long> out(snapshot, snapshot + size + 1);
  free(snapshot);
  return out;
}

Objects destroyed;
void record(void* object) { destroyed.push_back(object); }
int a = 1, b = 2, c = 3;

// A copy keeps its entries when the original is cleared; null copies to null. Frees both.
template <class C>
void expect_independent_copy(C* original, C* (*copy)(const C*), void (*clear)(C*), int (*size)(const C*),
                             void (*release)(C*)) {
  C* duplicate = copy(original);
  int count = size(original);
  clear(original);
  EXPECT_EQ(0, size(original));
  EXPECT_EQ(count, size(duplicate));
  EXPECT_EQ(nullptr, copy(nullptr));
  release(duplicate);
  release(original);
  release(nullptr);
}

}  // namespace

TEST(StringSet, KeepsBytewiseOrderAndReportsEveryChange) {
  C_StringSet* set = string_set_create();
  EXPECT_EQ(Texts{}, texts(string_set_get_all(set)));
  for (const char* s : {"b", "a", "c", "ab", "B", "\xc3\xa9", "", "a"}) string_set_add(set, s);
  EXPECT_EQ((Texts{"", "B", "a", "ab", "b", "c", "\xc3\xa9"}), texts(string_set_get_all(set)));
  EXPECT_EQ(0, string_set_add(set, "ab"));
  EXPECT_EQ(1, string_set_contains(set, ""));
  EXPECT_EQ(0, string_set_contains(set, "A"));
  EXPECT_EQ(1, string_set_remove(set, "ab"));
  EXPECT_EQ(0, string_set_remove(set, "ab"));
  expect_independent_copy(set, string_set_copy, string_set_clear, string_set_size, string_set_free);
}

TEST(StringMap, PutReplacesOrRemovesAndSnapshotsFollowKeyOrder) {
  C_StringMap* map = string_map_create();
  EXPECT_EQ(nullptr, string_map_first_key(map));
  for (const char* key : {"zeta", "alpha", "alphabet"}) EXPECT_EQ(1, string_map_put(map, key, key + 4));
  EXPECT_EQ(1, string_map_put(map, "zeta", "one"));
  EXPECT_EQ(nullptr, string_map_get(map, "alph"));
  EXPECT_EQ((Texts{"alpha", "alphabet", "zeta"}), texts(string_map_get_keys(map)));
  EXPECT_EQ((Texts{"a", "abet", "one"}), texts(string_map_get_values(map)));
  EXPECT_STREQ("alpha", string_map_first_key(map));

  EXPECT_EQ(1, string_map_put(map, "alpha", nullptr));  // a null value removes the key
  EXPECT_EQ(0, string_map_put(map, "alpha", nullptr));
  EXPECT_EQ(0, string_map_remove(map, "alpha"));
  EXPECT_EQ(1, string_map_remove(map, "zeta"));
  EXPECT_EQ((Texts{"alphabet"}), texts(string_map_get_keys(map)));
  expect_independent_copy(map, string_map_copy, string_map_clear, string_map_size, string_map_free);
}

// Many keys grow the table several times and removals close gaps in its probe runs: every
// key left is still found, every removed one is gone, and the snapshot stays in key order.
TEST(StringMap, ManyPutsAndRemovalsKeepEveryOtherKeyReachable) {
  C_StringMap* map = string_map_create();
  std::set<std::string> kept;
  for (int i = 0; i < 3000; ++i) {
    std::string key = "folder." + std::to_string(i * 7919 % 3000) + ".path";
    EXPECT_EQ(string_map_put(map, key.c_str(), key.c_str()), 1);
    kept.insert(key);
  }
  for (int i = 0; i < 3000; i += 3) {
    std::string key = "folder." + std::to_string(i) + ".path";
    EXPECT_EQ(string_map_remove(map, key.c_str()), 1) << key;
    kept.erase(key);
  }
  for (int i = 0; i < 3000; ++i) {
    std::string key = "folder." + std::to_string(i) + ".path";
    const char* value = string_map_get(map, key.c_str());
    EXPECT_EQ(value != nullptr && key == value, kept.count(key) == 1) << key;
  }
  EXPECT_EQ(string_map_size(map), (int)kept.size());
  EXPECT_EQ(texts(string_map_get_keys(map)), Texts(kept.begin(), kept.end()));
  string_map_free(map);
}

TEST(LongByStringMap, StoresFullRangeValuesAndFallsBackToTheDefault) {
  C_LongByStringMap* map = long_by_string_map_create();
  EXPECT_EQ(1, long_by_string_map_put(map, "min", LLONG_MIN));
  EXPECT_EQ(1, long_by_string_map_put(map, "max", LLONG_MAX));
  EXPECT_EQ(1, long_by_string_map_put(map, "max", 0));
  EXPECT_EQ(LLONG_MIN, long_by_string_map_get(map, "min", 7));
  EXPECT_EQ(0, long_by_string_map_get(map, "max", 7));
  EXPECT_EQ(7, long_by_string_map_get(map, "mi", 7));
  EXPECT_EQ((Texts{"max", "min"}), texts(long_by_string_map_get_keys(map)));
  EXPECT_EQ(1, long_by_string_map_remove(map, "min"));
  EXPECT_EQ(0, long_by_string_map_remove(map, "min"));
  long_by_string_map_free(map);
}

TEST(ObjectByStringMap, DestroysEveryObjectThatLeavesExactlyOnce) {
  destroyed.clear();
  C_ObjectByStringMap* map = object_by_string_map_create();
  EXPECT_EQ(1, object_by_string_map_put(map, "k", &a, record));
  EXPECT_EQ(0, object_by_string_map_put(map, "k", &a, record));  // the same object: no destroy
  EXPECT_EQ(1, object_by_string_map_put(map, "k", &b, record));
  EXPECT_EQ(1, object_by_string_map_put(map, "k", &c, nullptr));  // no callback: b is the caller's again
  EXPECT_EQ(1, object_by_string_map_put(map, "k", nullptr, record));
  EXPECT_EQ(1, object_by_string_map_contains_key(map, "k"));
  EXPECT_EQ(1, object_by_string_map_remove(map, "k", record));  // a null object is not destroyed
  EXPECT_EQ(0, object_by_string_map_remove(map, "k", record));
  EXPECT_EQ((Objects{&a, &c}), destroyed);

  destroyed.clear();
  object_by_string_map_put(map, "c", &c, record);
  object_by_string_map_put(map, "b", &b, record);
  object_by_string_map_put(map, "a", &a, record);
  EXPECT_EQ((Texts{"a", "b", "c"}), texts(object_by_string_map_get_keys(map)));
  std::string visited;
  auto keep_odd = [](const char* key, void* object, void* context) {
    *static_cast<std::string*>(context) += key;
    return *static_cast<int*>(object) % 2;
  };
  EXPECT_EQ(1, object_by_string_map_filter(map, keep_odd, &visited, record));
  EXPECT_EQ("abc", visited);
  EXPECT_EQ(&c, object_by_string_map_get(map, "c"));
  object_by_string_map_clear(map, record);
  object_by_string_map_put(map, "x", &b, record);
  object_by_string_map_free(map, record);
  EXPECT_EQ((Objects{&b, &a, &c, &b}), destroyed);
}

TEST(IdSetAndObjectByIdMap, OrderNumericallyAndFollowThePutRule) {
  C_IdSet* set = id_set_create();
  EXPECT_EQ(std::vector<long long>{0}, ids(id_set_get_all(set), 0));
  for (long long id : {10LL, -3LL, LLONG_MAX, 2LL}) EXPECT_EQ(1, id_set_add(set, id));
  EXPECT_EQ(0, id_set_add(set, 2));
  EXPECT_EQ(0, id_set_contains(set, 3));
  EXPECT_EQ(1, id_set_remove(set, 10));
  EXPECT_EQ(0, id_set_remove(set, 10));
  EXPECT_EQ((std::vector<long long>{-3, 2, LLONG_MAX, 0}), ids(id_set_get_all(set), id_set_size(set)));
  id_set_free(set);

  destroyed.clear();
  C_ObjectByIdMap* map = object_by_id_map_create();
  EXPECT_EQ(1, object_by_id_map_put(map, 5, &a, record));
  EXPECT_EQ(0, object_by_id_map_put(map, 5, &a, record));
  EXPECT_EQ(1, object_by_id_map_put(map, 5, &b, record));
  EXPECT_EQ(1, object_by_id_map_put(map, -1, &c, record));
  EXPECT_EQ(&b, object_by_id_map_get(map, 5));
  EXPECT_EQ(nullptr, object_by_id_map_get(map, 4));
  EXPECT_EQ((std::vector<long long>{-1, 5, 0}), ids(object_by_id_map_get_keys(map), object_by_id_map_size(map)));
  EXPECT_EQ(1, object_by_id_map_remove(map, 5, record));
  EXPECT_EQ(0, object_by_id_map_remove(map, 5, record));
  object_by_id_map_clear(map, record);
  object_by_id_map_put(map, 1, &a, record);
  object_by_id_map_free(map, record);
  EXPECT_EQ((Objects{&a, &b, &c, &a}), destroyed);
}

// A null key reports the operation's full C signature and the name of the key argument (one
// operation of each container).
TEST(ContainersDeathTest, NullKeysReportTheFullSignature) {
  C_StringSet* set = string_set_create();
  C_StringMap* map = string_map_create();
  C_LongByStringMap* longs = long_by_string_map_create();
  C_ObjectByStringMap* objects = object_by_string_map_create();
  struct {
    const char *signature, *expression;
    std::function<void()> call;
  } cases[] = {
      {"int string_set_add(C_StringSet*, const char*)", "s", [&] { string_set_add(set, nullptr); }},
      {"const char* string_map_get(const C_StringMap*, const char*)", "key", [&] { string_map_get(map, nullptr); }},
      {"long long long_by_string_map_get(const C_LongByStringMap*, const char*, long long)", "key",
       [&] { long_by_string_map_get(longs, nullptr, 1); }},
      {"int object_by_string_map_put(C_ObjectByStringMap*, const char*, void*, MY_ObjectDestroyFunc)", "key",
       [&] { object_by_string_map_put(objects, nullptr, &a, record); }},
  };
  for (auto& c : cases) {
    // GCC spells long long as "long long int".
    std::string pattern = test::assertion_report("player/src/util/mt/containers", 0, c.signature, c.expression);
    for (size_t at = 0; (at = pattern.find("long long", at)) != std::string::npos; at += 17)
      pattern.replace(at, 9, "long long( int)?");
    EXPECT_DEATH(c.call(), pattern) << c.signature;
  }
  string_set_free(set);
  string_map_free(map);
  long_by_string_map_free(longs);
  object_by_string_map_free(objects, nullptr);
}
