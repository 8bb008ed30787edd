#include "test_support.hpp"

TEST(MessageList, StoresFormattedTextsWithTheirKindsAndPrintsUnlessQuiet) {
  message_list* messages = ML_create_message_list();
  testing::internal::CaptureStderr();
  ML_add_message(messages, 2, 1, "line %d: %s", 4, "bad key");
  ML_add_message(messages, -1, 0, "shown");
  ML_add_message(messages, 0, 1, "%s", std::string(1500, 'a').c_str());
  ML_add_message(nullptr, 0, 0, "printed only");
  EXPECT_EQ("shown\nprinted only\n", testing::internal::GetCapturedStderr());
  ASSERT_EQ(3, messages->count);
  EXPECT_STREQ("line 4: bad key", messages->entries[0].text);
  EXPECT_EQ(2, messages->entries[0].kind);
  EXPECT_EQ(std::string(999, 'a'), messages->entries[2].text);
  ML_free_message_list(messages);
  ML_free_message_list(nullptr);
}

TEST(MessageList, EndsWithTheNoticeAndDropsTheRestButStillPrintsThem) {
  message_list* messages = ML_create_message_list();
  for (int i = 1; i <= 999; i++) ML_add_message(messages, 1, 1, "m%d", i);
  testing::internal::CaptureStderr();
  ML_add_message(messages, 7, 0, "m1000");
  ML_add_message(messages, 8, 0, "m1001");
  EXPECT_EQ("m1000\nm1001\n", testing::internal::GetCapturedStderr());
  ASSERT_EQ(MAX_MESSAGE_LIST_COUNT, messages->count);
  EXPECT_STREQ("m999", messages->entries[998].text);
  EXPECT_STREQ("Too many messages, the rest are not shown.", messages->entries[999].text);
  EXPECT_EQ(7, messages->entries[999].kind);

  messages->count = MAX_MESSAGE_LIST_COUNT + 1;
  EXPECT_DEATH(ML_add_message(messages, 0, 1, "x"),
               test::assertion_report("player/src/util/mt/message_list", 0, "ML_add_message_v",
                                      "messages->count <= MAX_MESSAGE_LIST_COUNT"));
  messages->count = MAX_MESSAGE_LIST_COUNT;
  ML_free_message_list(messages);
}
