#include <vector>

#include "test_support.hpp"
#include "vonautil.h"

using Ints = std::vector<int>;

// The elements from the oldest to the newest, read both ways, which must agree.
static Ints elements(const ci_array* ci) {
  Ints forward, backward;
  int size = ci_array_size(ci);
  for (int n = 0; n < size; n++) forward.push_back(ci_array_first_n(ci, n));
  for (int n = size - 1; n >= 0; n--) backward.push_back(ci_array_last_n(ci, n));
  EXPECT_EQ(forward, backward);
  EXPECT_EQ(size == 0, ci_array_is_empty(ci) != 0);
  EXPECT_EQ(size == ci_array_capacity(ci), ci_array_is_full(ci) != 0);
  if (size > 0) {
    EXPECT_EQ(forward.front(), ci_array_first(ci));
    EXPECT_EQ(forward.back(), ci_array_last(ci));
  }
  return forward;
}

TEST(CyclicIntArray, DropsTheOtherEndWhenFull) {
  ci_array* ci = ci_array_create(3);
  EXPECT_EQ(3, ci_array_capacity(ci));
  EXPECT_EQ(Ints{}, elements(ci));
  Ints dropped;
  for (int value : {1, 2, 3, 4}) dropped.push_back(ci_array_push_last(ci, value));
  EXPECT_EQ((Ints{0, 0, 0, 1}), dropped);
  EXPECT_EQ((Ints{2, 3, 4}), elements(ci));

  // Pushing at the front of a full ring drops the newest.
  EXPECT_EQ(1, ci_array_push_first(ci, 9));
  EXPECT_EQ((Ints{9, 2, 3}), elements(ci));
  EXPECT_EQ(3, ci_array_pop_last(ci));
  EXPECT_EQ(0, ci_array_push_first(ci, 8));
  EXPECT_EQ((Ints{8, 9, 2}), elements(ci));
  EXPECT_EQ(8, ci_array_pop_first(ci));
  EXPECT_EQ(9, ci_array_pop_first(ci));
  EXPECT_EQ(2, ci_array_pop_last(ci));
  EXPECT_EQ(Ints{}, elements(ci));
  ci_array_free(ci);
  ci_array_free(nullptr);
}

TEST(CyclicIntArray, WrapsAroundFromBothEnds) {
  // Walk the ring all the way round several times in each direction against a reference.
  ci_array* ci = ci_array_create(4);
  Ints reference;
  for (int value = 0; value < 23; value++) {
    bool full = reference.size() == 4;
    if (value % 3 == 2) {
      EXPECT_EQ(full, ci_array_push_first(ci, value) == 1);
      reference.insert(reference.begin(), value);
      if (full) reference.pop_back();
    } else {
      EXPECT_EQ(full, ci_array_push_last(ci, value) == 1);
      reference.push_back(value);
      if (full) reference.erase(reference.begin());
    }
    ASSERT_EQ(reference, elements(ci)) << "after pushing " << value;
    if (value % 5 == 4) {
      EXPECT_EQ(reference.front(), ci_array_pop_first(ci));
      reference.erase(reference.begin());
      ASSERT_EQ(reference, elements(ci));
    }
  }
  while (!reference.empty()) {
    EXPECT_EQ(reference.back(), ci_array_pop_last(ci));
    reference.pop_back();
  }
  EXPECT_TRUE(ci_array_is_empty(ci));
  ci_array_free(ci);

  ci = ci_array_create(0);  // holds nothing: every push drops what it stored
  EXPECT_EQ(1, ci_array_push_last(ci, 1));
  EXPECT_EQ(1, ci_array_push_first(ci, 2));
  EXPECT_EQ(Ints{}, elements(ci));
  ci_array_free(ci);
}

TEST(CyclicIntArrayDeathTest, ReportsBrokenPreconditions) {
  const char* module = "player/src/util/mt/cyclic_int_array";
  const char* not_empty = "ciarr->first != ciarr->last";
  EXPECT_DEATH(ci_array_create(-1), test::assertion_report(module, 0, "ci_array_create", "capacity >= 0"));
  ci_array* ci = ci_array_create(2);
  EXPECT_DEATH(ci_array_first(ci), test::assertion_report(module, 0, "ci_array_first", not_empty));
  EXPECT_DEATH(ci_array_last(ci), test::assertion_report(module, 0, "ci_array_last", not_empty));
  EXPECT_DEATH(ci_array_pop_first(ci), test::assertion_report(module, 0, "ci_array_pop_first", not_empty));
  EXPECT_DEATH(ci_array_pop_last(ci), test::assertion_report(module, 0, "ci_array_pop_last", not_empty));
  ci_array_push_last(ci, 1);
  EXPECT_DEATH(ci_array_first_n(ci, 1), test::assertion_report(module, 0, "ci_array_first_n", "n < ci_array_size(ciarr)"));
  EXPECT_DEATH(ci_array_last_n(ci, 1), test::assertion_report(module, 0, "ci_array_last_n", "n < ci_array_size(ciarr)"));
  ci_array_free(ci);
}
