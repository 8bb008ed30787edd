#include "test_support.hpp"

using Values = std::vector<long long>;

static Values values_of(const long_long_array* lla) {
  if (lla->size == 0) {
    EXPECT_EQ(nullptr, lla->items) << "an empty array holds no value array";
  }
  return lla->size ? Values(lla->items, lla->items + lla->size) : Values{};
}

TEST(LongLongArray, KeepsSixtyFourBitValuesAndReadsStringsAsInts) {
  long_long_array* lla = long_long_array_create_single(5000000000LL);
  long_long_array_add(lla, INT64_MIN);
  long_long_array_add_all(lla, lla);  // its own values
  long_long_array_set(lla, 3, INT64_MAX);
  EXPECT_EQ((Values{5000000000LL, INT64_MIN, 5000000000LL, INT64_MAX}), values_of(lla));
  EXPECT_EQ(1, long_long_array_find(lla, INT64_MIN));
  EXPECT_EQ(-1, long_long_array_find(lla, 5000000001LL));

  long_long_array* copy = long_long_array_copy(lla);
  long_long_array_remove_segment(lla, 0, 3);
  EXPECT_EQ(Values{INT64_MAX}, values_of(lla));
  long_long_array_remove(lla, 0);
  EXPECT_EQ(Values{}, values_of(lla));
  EXPECT_EQ(4, copy->size);
  long_long_array_clear(copy);
  EXPECT_EQ(Values{}, values_of(copy));
  long_long_array_free(copy);
  long_long_array_free(lla);

  string_array* sa = string_array_create_empty();
  for (const char* text : {"12", " -7", "x", "", "12 ", "-2147483648", "5000000000"}) string_array_add(sa, text);
  lla = long_long_array_create_from_string_array(sa);
  ASSERT_EQ(7, lla->size);
  EXPECT_EQ((Values{12, -7, -1, -1, -1, INT32_MIN}), Values(lla->items, lla->items + 6));
  EXPECT_LE(lla->items[6], INT32_MAX);  // read as an int: never a 64-bit value
  long_long_array_free(lla);
  string_array_free(sa);
  EXPECT_EQ(nullptr, long_long_array_create_from_string_array(nullptr));
}

TEST(LongLongArrayDeathTest, ReportsBrokenPreconditions) {
  auto report = [](const char* function, const char* expression) {
    return test::assertion_report("player/src/util/mt/long_long_array", 0, function, expression);
  };
  long_long_array* lla = long_long_array_create_single(1);
  long_long_array_add(lla, 2);
  EXPECT_DEATH(long_long_array_set(lla, 2, 0), report("long_long_array_set", "index >= 0 && index < lla->size"));
  // The removal check names the array `sa`, as the string array's does.
  const char* removal = "index >= 0 && count > 0 && index + count <= sa->size";
  EXPECT_DEATH(long_long_array_remove(lla, 2), report("long_long_array_remove_segment", removal));
  EXPECT_DEATH(long_long_array_remove_segment(lla, 1, 2), report("long_long_array_remove_segment", removal));
  long_long_array_free(lla);
}
