#include <deque>

#include "test_support.hpp"

using Ints = std::vector<int>;

// The elements from the oldest to the newest, read from both ends, which must agree.
static Ints elements(const ci_array* ci) {
  Ints forward, backward;
  for (int n = 0; n < ci_array_size(ci); n++) forward.push_back(ci_array_first_n(ci, n));
  for (int n = ci_array_size(ci) - 1; n >= 0; n--) backward.push_back(ci_array_last_n(ci, n));
  EXPECT_EQ(forward, backward);
  EXPECT_EQ(forward.size() == (size_t)ci_array_capacity(ci), ci_array_is_full(ci) != 0);
  if (!forward.empty()) {
    EXPECT_EQ((Ints{forward.front(), forward.back()}), (Ints{ci_array_first(ci), ci_array_last(ci)}));
  }
  return forward;
}

TEST(CyclicIntArray, DropsTheOtherEndWhenFull) {
  ci_array* ci = ci_array_create(3);
  Ints dropped;
  for (int value : {1, 2, 3, 4}) dropped.push_back(ci_array_push_last(ci, value));
  EXPECT_EQ((Ints{0, 0, 0, 1}), dropped);
  EXPECT_EQ((Ints{2, 3, 4}), elements(ci));
  ci_array_free(ci);

  ci = ci_array_create(0);  // holds nothing: every push drops what it stored
  EXPECT_EQ(1, ci_array_push_last(ci, 1));
  EXPECT_EQ(1, ci_array_push_first(ci, 2));
  EXPECT_TRUE(ci_array_is_empty(ci));
  ci_array_free(ci);
}

TEST(CyclicIntArray, WrapsAroundFromBothEnds) {
  // Runs of pushes at one end, then at the other, with pops at both ends between them, take the
  // ring round its buffer several times in each direction.
  ci_array* ci = ci_array_create(4);
  std::deque<int> reference;
  for (int value = 0; value < 40; value++) {
    bool full = reference.size() == 4, at_front = (value / 7) % 2 == 1;
    EXPECT_EQ(full, (at_front ? ci_array_push_first(ci, value) : ci_array_push_last(ci, value)) == 1);
    at_front ? reference.push_front(value) : reference.push_back(value);
    if (full) at_front ? reference.pop_back() : reference.pop_front();
    if (value % 5 == 4) {
      EXPECT_EQ(reference.front(), ci_array_pop_first(ci));
      reference.pop_front();
    }
    if (value % 9 == 8) {
      EXPECT_EQ(reference.back(), ci_array_pop_last(ci));
      reference.pop_back();
    }
    ASSERT_EQ(Ints(reference.begin(), reference.end()), elements(ci)) << "after " << value;
  }
  ci_array_free(ci);
}

TEST(CyclicIntArrayDeathTest, ReportsBrokenPreconditions) {
  auto report = [](const char* function, const char* expression) {
    return test::assertion_report("player/src/util/mt/cyclic_int_array", 0, function, expression);
  };
  const char* not_empty = "ciarr->first != ciarr->last";
  EXPECT_DEATH(ci_array_create(-1), report("ci_array_create", "capacity >= 0"));
  ci_array* ci = ci_array_create(2);
  EXPECT_DEATH(ci_array_first(ci), report("ci_array_first", not_empty));
  EXPECT_DEATH(ci_array_pop_first(ci), report("ci_array_pop_first", not_empty));
  ci_array_push_last(ci, 1);
  EXPECT_DEATH(ci_array_first_n(ci, 1), report("ci_array_first_n", "n < ci_array_size(ciarr)"));
  EXPECT_DEATH(ci_array_last_n(ci, 1), report("ci_array_last_n", "n < ci_array_size(ciarr)"));
  ci_array_free(ci);
}
