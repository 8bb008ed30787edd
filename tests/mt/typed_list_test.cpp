#include "test_support.hpp"

// A list type of this file's own, generated exactly as the library's modules generate theirs.
struct probe {
  int id;
};
using Ids = std::vector<int>;
static Ids freed_ids;
static probe* probe_new(int id) { return new (malloc(sizeof(probe))) probe{id}; }
static void probe_free(probe* p) {
  freed_ids.push_back(p->id);
  free(p);
}

TYPED_LIST_DECLARE(probe_list, probe);
TYPED_LIST_DECLARE_INSERT(probe_list, probe);
TYPED_LIST_DEFINE(probe_list, probe, probe_free);
static const int kListLine = __LINE__ - 1;
TYPED_LIST_DEFINE_INSERT(probe_list, probe);

static Ids ids(const probe_list* t) {
  Ids result;
  for (int i = 0; i < t->num_items; i++) result.push_back(t->items[i]->id);
  return result;
}

static probe_list* list_of(Ids values) {
  probe_list* t = probe_list_create();
  for (int id : values) probe_list_add(t, probe_new(id));
  return t;
}

TEST(TypedList, GrowsToNeededFromZeroElseTwiceAndOne) {
  probe_list* t = probe_list_create();
  Ids capacities = {t->capacity};
  for (int i = 0; i < 12; i++) {
    probe_list_add(t, probe_new(i));
    if (capacities.back() != t->capacity) capacities.push_back(t->capacity);
  }
  EXPECT_EQ((Ids{2, 5, 11, 23}), capacities);
  probe_list_ensure_capacity(t, 500);  // several steps at once: 47, 95, 191, 383, 767
  EXPECT_EQ(767, t->capacity);
  probe_list_free(t);

  t = probe_list_create_with_capacity(0);
  probe_list_ensure_capacity(t, 7);
  EXPECT_EQ(7, t->capacity);
  probe_list_free(t);
}

TEST(TypedList, OwnsItsItemsAndMovesInsertedLists) {
  freed_ids.clear();
  probe_list* t = list_of({1, 2, 3, 4});
  probe_list_set(t, 1, probe_new(20));
  probe_list_remove(t, 0);
  probe_list_remove_last(t);
  EXPECT_EQ((Ids{20, 3}), ids(t));

  probe_list_insert(t, t->num_items, probe_new(5));  // at the end: appends
  probe_list_insert(t, 0, probe_new(0));
  probe_list_insert_list(t, 1, list_of({7, 8}));  // the items move, the other record is freed
  probe_list_insert_list(t, t->num_items, probe_list_create_with_capacity(0));
  EXPECT_EQ((Ids{0, 7, 8, 20, 3, 5}), ids(t));
  EXPECT_EQ(3u, freed_ids.size());

  // clear frees the items that are there (skipping null slots) and keeps the array.
  probe_list_add(t, nullptr);
  int capacity = t->capacity;
  probe_list_clear(t);
  EXPECT_EQ((Ids{2, 1, 4, 0, 7, 8, 20, 3, 5}), freed_ids);
  EXPECT_EQ(0, t->num_items);
  EXPECT_EQ(capacity, t->capacity);
  probe_list_add(t, probe_new(9));
  probe_list_free(t);
  EXPECT_EQ(9, freed_ids.back());
  probe_list_free(nullptr);
}

TEST(TypedListDeathTest, ReportsTheListsLineAndTheFunction) {
  auto report = [](int line, const char* function, const char* expression) {
    return test::assertion_report("tests/mt/typed_list_test", line, function, expression);
  };
  probe_list* t = list_of({1, 2});
  EXPECT_DEATH(probe_list_create_with_capacity(-1), report(kListLine, "probe_list_create_with_capacity", "capacity >= 0"));
  EXPECT_DEATH(probe_list_ensure_capacity(nullptr, 1), report(kListLine, "probe_list_ensure_capacity", "t"));
  EXPECT_DEATH(probe_list_set(t, -1, nullptr), report(kListLine, "probe_list_set", "ndx >= 0"));
  EXPECT_DEATH(probe_list_set(t, 2, nullptr), report(kListLine, "probe_list_set", "ndx < t->num_items"));
  EXPECT_DEATH(probe_list_remove(t, 2), report(kListLine, "probe_list_remove", "ndx < t->num_items"));
  EXPECT_DEATH(probe_list_insert(t, 3, nullptr), report(kListLine + 2, "probe_list_insert", "ndx <= t->num_items"));
  EXPECT_DEATH(probe_list_insert_list(t, 3, nullptr), report(kListLine + 2, "probe_list_insert_list", "ndx <= t->num_items"));
  probe_list_clear(t);
  EXPECT_DEATH(probe_list_remove_last(t), report(kListLine, "probe_list_remove_last", "t->num_items > 0"));
  probe_list_free(t);
}
