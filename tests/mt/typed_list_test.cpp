#include <vector>

#include "test_support.hpp"
#include "vonautil.h"

// A list type of this file's own, generated exactly as the library's modules generate theirs.
struct probe {
  int id;
};

static std::vector<int> freed_ids;

static probe* probe_new(int id) {
  probe* p = (probe*)malloc(sizeof(probe));
  p->id = id;
  return p;
}

static void probe_free(probe* p) {
  freed_ids.push_back(p->id);
  free(p);
}

TYPED_LIST_DECLARE(probe_list, probe);
TYPED_LIST_DECLARE_INSERT(probe_list, probe);
TYPED_LIST_DEFINE(probe_list, probe, probe_free);
static const int kListLine = __LINE__ - 1;
TYPED_LIST_DEFINE_INSERT(probe_list, probe);

static std::vector<int> ids(const probe_list* t) {
  std::vector<int> result;
  for (int i = 0; i < t->num_items; i++) result.push_back(t->items[i]->id);
  return result;
}

static probe_list* list_of(std::initializer_list<int> values) {
  probe_list* t = probe_list_create();
  for (int id : values) probe_list_add(t, probe_new(id));
  return t;
}

using Ids = std::vector<int>;

TEST(TypedList, GrowsToNeededFromZeroElseTwiceAndOne) {
  probe_list* t = probe_list_create();
  EXPECT_EQ(2, t->capacity);
  EXPECT_EQ(0, t->num_items);
  std::vector<int> capacities;
  for (int i = 0; i < 12; i++) {
    probe_list_add(t, probe_new(i));
    if (capacities.empty() || capacities.back() != t->capacity) capacities.push_back(t->capacity);
  }
  EXPECT_EQ((Ids{2, 5, 11, 23}), capacities);
  EXPECT_EQ((Ids{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}), ids(t));
  probe_list_ensure_capacity(t, 23);  // enough already: unchanged
  EXPECT_EQ(23, t->capacity);
  probe_list_ensure_capacity(t, 24);
  EXPECT_EQ(47, t->capacity);
  probe_list_ensure_capacity(t, 500);  // several doublings at once: 95, 191, 383, 767
  EXPECT_EQ(767, t->capacity);
  probe_list_free(t);

  t = probe_list_create_with_capacity(0);
  EXPECT_EQ(0, t->capacity);
  EXPECT_EQ(nullptr, t->items);
  probe_list_ensure_capacity(t, 7);
  EXPECT_EQ(7, t->capacity);
  probe_list_free(t);

  t = probe_list_create_with_capacity(0);
  probe_list_add(t, probe_new(1));  // from 0 exactly what is needed, then 2n + 1
  EXPECT_EQ(1, t->capacity);
  probe_list_add(t, probe_new(2));
  EXPECT_EQ(3, t->capacity);
  probe_list_free(t);
}

TEST(TypedList, OwnsItsItems) {
  freed_ids.clear();
  probe_list* t = list_of({1, 2, 3, 4});
  probe_list_set(t, 1, probe_new(20));
  EXPECT_EQ((Ids{2}), freed_ids);
  probe_list_remove(t, 0);
  EXPECT_EQ((Ids{2, 1}), freed_ids);
  EXPECT_EQ((Ids{20, 3, 4}), ids(t));
  probe_list_remove_last(t);
  EXPECT_EQ((Ids{2, 1, 4}), freed_ids);
  EXPECT_EQ((Ids{20, 3}), ids(t));

  // clear frees the items that are there (skipping null slots) and keeps the array.
  probe_list_add(t, nullptr);
  probe** items = t->items;
  int capacity = t->capacity;
  freed_ids.clear();
  probe_list_clear(t);
  EXPECT_EQ((Ids{20, 3}), freed_ids);
  EXPECT_EQ(0, t->num_items);
  EXPECT_EQ(items, t->items);
  EXPECT_EQ(capacity, t->capacity);

  probe_list_add(t, probe_new(7));
  freed_ids.clear();
  probe_list_free(t);
  EXPECT_EQ((Ids{7}), freed_ids);
  probe_list_free(nullptr);
}

TEST(TypedList, InsertsItemsAndWholeLists) {
  probe_list* t = list_of({1, 2});
  probe_list_insert(t, 0, probe_new(0));
  probe_list_insert(t, t->num_items, probe_new(3));  // at the end: appends
  probe_list_insert(t, 2, probe_new(15));
  EXPECT_EQ((Ids{0, 1, 15, 2, 3}), ids(t));

  probe_list* other = list_of({7, 8, 9});
  freed_ids.clear();
  probe_list_insert_list(t, 1, other);  // moves the items (the list record is freed)
  EXPECT_TRUE(freed_ids.empty());
  EXPECT_EQ((Ids{0, 7, 8, 9, 1, 15, 2, 3}), ids(t));
  probe_list_insert_list(t, t->num_items, list_of({10, 11}));
  probe_list_insert_list(t, 0, probe_list_create_with_capacity(0));  // an empty list: only freed
  probe_list_insert_list(t, 3, probe_list_create());
  EXPECT_EQ((Ids{0, 7, 8, 9, 1, 15, 2, 3, 10, 11}), ids(t));
  EXPECT_TRUE(freed_ids.empty());
  probe_list_free(t);

  probe_list* empty = probe_list_create_with_capacity(0);
  probe_list_insert_list(empty, 0, list_of({5, 6}));
  EXPECT_EQ((Ids{5, 6}), ids(empty));
  probe_list_free(empty);
}

TEST(TypedListDeathTest, ReportsTheListsLineAndTheFunction) {
  const char* module = "tests/mt/typed_list_test";
  auto report = [&](int line, const char* function, const char* expression) {
    return test::assertion_report(module, line, function, expression);
  };
  probe_list* t = list_of({1, 2});
  EXPECT_DEATH(probe_list_create_with_capacity(-1), report(kListLine, "probe_list_create_with_capacity", "capacity >= 0"));
  EXPECT_DEATH(probe_list_ensure_capacity(nullptr, 1), report(kListLine, "probe_list_ensure_capacity", "t"));
  EXPECT_DEATH(probe_list_add(nullptr, nullptr), report(kListLine, "probe_list_add", "t"));
  EXPECT_DEATH(probe_list_set(nullptr, 0, nullptr), report(kListLine, "probe_list_set", "t"));
  EXPECT_DEATH(probe_list_set(t, -1, nullptr), report(kListLine, "probe_list_set", "ndx >= 0"));
  EXPECT_DEATH(probe_list_set(t, 2, nullptr), report(kListLine, "probe_list_set", "ndx < t->num_items"));
  EXPECT_DEATH(probe_list_remove(nullptr, 0), report(kListLine, "probe_list_remove", "t"));
  EXPECT_DEATH(probe_list_remove(t, -1), report(kListLine, "probe_list_remove", "ndx >= 0"));
  EXPECT_DEATH(probe_list_remove(t, 2), report(kListLine, "probe_list_remove", "ndx < t->num_items"));
  EXPECT_DEATH(probe_list_remove_last(nullptr), report(kListLine, "probe_list_remove_last", "t"));
  EXPECT_DEATH(probe_list_clear(nullptr), report(kListLine, "probe_list_clear", "t"));
  EXPECT_DEATH(probe_list_insert(t, 3, nullptr), report(kListLine + 2, "probe_list_insert", "ndx <= t->num_items"));
  probe_list* other = probe_list_create();
  EXPECT_DEATH(probe_list_insert_list(t, 3, other), report(kListLine + 2, "probe_list_insert_list", "ndx <= t->num_items"));
  probe_list_free(other);

  probe_list_clear(t);
  EXPECT_DEATH(probe_list_remove_last(t), report(kListLine, "probe_list_remove_last", "t->num_items > 0"));
  probe_list_free(t);
}
