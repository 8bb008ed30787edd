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
  EXPECT_EQ(forward.empty(), ci_array_is_empty(ci) != 0);
  if (!forward.empty()) {
    EXPECT_EQ((Ints{forward.front(), forward.back()}), (Ints{ci_array_first(ci), ci_array_last(ci)}));
  }
  return forward;
}

// Runs of pushes at one end, then at the other, with pops at both ends between them, take the
// ring round its buffer several times in each direction; a full ring drops the other end (a
// ring of capacity 0 drops every value it is given).
TEST(CyclicIntArray, WrapsAroundFromBothEndsAndDropsTheOtherEndWhenFull) {
  for (int capacity : {0, 1, 4}) {
    ci_array* ci = ci_array_create(capacity);
    std::deque<int> reference;
    for (int value = 0; value < 40; value++) {
      bool full = (int)reference.size() == capacity, at_front = (value / 7) % 2 == 1;
      EXPECT_EQ(full, (at_front ? ci_array_push_first(ci, value) : ci_array_push_last(ci, value)) == 1);
      at_front ? reference.push_front(value) : reference.push_back(value);
      if (full) at_front ? reference.pop_back() : reference.pop_front();
      if (value % 5 == 4 && !reference.empty()) {
        EXPECT_EQ(reference.front(), ci_array_pop_first(ci));
        reference.pop_front();
      }
      if (value % 9 == 8 && !reference.empty()) {
        EXPECT_EQ(reference.back(), ci_array_pop_last(ci));
        reference.pop_back();
      }
      ASSERT_EQ(Ints(reference.begin(), reference.end()), elements(ci)) << capacity << " after " << value;
    }
    ci_array_free(ci);
  }
}

// One death test per precondition: the other accessors check the same expressions.
TEST(CyclicIntArrayDeathTest, ReportsBrokenPreconditions) {
  auto report = [](const char* function, const char* expression) {
    return test::assertion_report("player/src/util/mt/cyclic_int_array", 0, function, expression);
  };
  EXPECT_DEATH(ci_array_create(-1), report("ci_array_create", "capacity >= 0"));
  ci_array* ci = ci_array_create(2);
  EXPECT_DEATH(ci_array_pop_first(ci), report("ci_array_pop_first", "ciarr->first != ciarr->last"));
  ci_array_push_last(ci, 1);
  EXPECT_DEATH(ci_array_last_n(ci, 1), report("ci_array_last_n", "n < ci_array_size(ciarr)"));
  ci_array_free(ci);
}
