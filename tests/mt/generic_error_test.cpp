#include "test_support.hpp"

TEST(GenericError, KeepsATitleAndDescriptions) {
  char title[] = "Cannot mount";
  generic_error_set(title);
  title[0] = 'X';  // the error keeps its own copy
  const char* stored = generic_error_get_title();
  generic_error_set(stored);  // the very stored pointer: nothing happens
  EXPECT_EQ(stored, generic_error_get_title());
  generic_error_set(stored + 7);  // a part of the stored title is copied before the old one goes
  EXPECT_STREQ("mount", generic_error_get_title());
  EXPECT_TRUE(generic_error_is_set());

  EXPECT_EQ(nullptr, generic_error_get_descriptions());
  generic_error_add_description("server unreachable");
  generic_error_add_description("check the network");
  generic_error_set(nullptr);  // clears the title, keeps the descriptions
  EXPECT_FALSE(generic_error_is_set());
  EXPECT_EQ(nullptr, generic_error_get_title());
  EXPECT_STREQ("check the network", generic_error_get_descriptions()->items[1]);

  generic_error_clear();
  EXPECT_EQ(nullptr, generic_error_get_descriptions());
  generic_error_add_description("without a title");  // descriptions alone do not set the error
  EXPECT_FALSE(generic_error_is_set());
  generic_error_clear();
}
