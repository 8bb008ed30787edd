#include <vector>

#include "test_support.hpp"
#include "vonautil.h"

using Values = std::vector<long long>;

static Values values_of(const long_long_array* lla) {
  if (lla->size == 0) {
    EXPECT_EQ(nullptr, lla->items) << "an empty array holds no value array";
    return {};
  }
  return Values(lla->items, lla->items + lla->size);
}

TEST(LongLongArray, KeepsSixtyFourBitValues) {
  long_long_array* lla = long_long_array_create_single(5000000000LL);
  long_long_array_add(lla, -1);
  long_long_array_add(lla, INT64_MIN);
  long_long_array_add_all(lla, lla);  // its own values
  EXPECT_EQ((Values{5000000000LL, -1, INT64_MIN, 5000000000LL, -1, INT64_MIN}), values_of(lla));
  EXPECT_EQ(1, long_long_array_find(lla, -1));
  EXPECT_EQ(2, long_long_array_find(lla, INT64_MIN));
  EXPECT_EQ(-1, long_long_array_find(lla, 5000000001LL));

  long_long_array_set(lla, 5, INT64_MAX);
  long_long_array_remove_segment(lla, 1, 3);
  EXPECT_EQ((Values{5000000000LL, -1, INT64_MAX}), values_of(lla));
  long_long_array_remove(lla, 0);
  EXPECT_EQ((Values{-1, INT64_MAX}), values_of(lla));

  long_long_array* copy = long_long_array_copy(lla);
  long_long_array_remove_segment(lla, 0, 2);
  EXPECT_EQ(Values{}, values_of(lla));
  EXPECT_EQ((Values{-1, INT64_MAX}), values_of(copy));
  long_long_array_add_all(copy, nullptr);
  long_long_array_add_all(copy, lla);
  EXPECT_EQ(2, copy->size);
  long_long_array_clear(copy);
  EXPECT_EQ(Values{}, values_of(copy));
  long_long_array_add(copy, 3);
  EXPECT_EQ(Values{3}, values_of(copy));

  EXPECT_EQ(nullptr, long_long_array_copy(nullptr));
  long_long_array_free(copy);
  long_long_array_free(lla);
  long_long_array_free(nullptr);
}

TEST(LongLongArrayDeathTest, ReportsBrokenPreconditions) {
  const char* module = "player/src/util/mt/long_long_array";
  long_long_array* lla = long_long_array_create_single(1);
  long_long_array_add(lla, 2);
  EXPECT_DEATH(long_long_array_set(lla, 2, 0),
               test::assertion_report(module, 0, "long_long_array_set", "index >= 0 && index < lla->size"));
  EXPECT_DEATH(long_long_array_set(lla, -1, 0),
               test::assertion_report(module, 0, "long_long_array_set", "index >= 0 && index < lla->size"));
  // The removal check names the array `sa`, as the string array's does.
  const char* removal = "index >= 0 && count > 0 && index + count <= sa->size";
  EXPECT_DEATH(long_long_array_remove(lla, 2), test::assertion_report(module, 0, "long_long_array_remove_segment", removal));
  EXPECT_DEATH(long_long_array_remove_segment(lla, 1, 2),
               test::assertion_report(module, 0, "long_long_array_remove_segment", removal));
  EXPECT_DEATH(long_long_array_remove_segment(lla, 0, -1),
               test::assertion_report(module, 0, "long_long_array_remove_segment", removal));
  long_long_array_free(lla);
}
