#include "player/src/util/mt/cmd_buffer.h"

#include <thread>

#include "player/src/util/mt/progress.h"
#include "test_support.hpp"

namespace {

thread_local int beats = 0;
void count_beat() { ++beats; }

}  // namespace

TEST(CmdBuffer, GrowsByDoublingAndHandsOverItsText) {
  cmd_buffer* buf = cmd_buffer_create();  // no data, capacity 0
  cmd_buffer_add_seg(buf, "x", 0);  // nothing to append: no block needed yet
  EXPECT_DEATH(cmd_buffer_add_seg(buf, "x", 1),
               test::assertion_report("player/src/util/mt/cmd_buffer", 0, "cmd_buffer_ensure_capacity",
                                      "self->capacity > 0"));
  EXPECT_EQ("", test::take_string(cmd_buffer_release(buf)));

  buf = cmd_buffer_create();
  cmd_buffer_reset(buf, 0);
  std::string block(2048, 'a');
  cmd_buffer_add_seg(buf, block.data(), 1023);
  EXPECT_EQ(block.substr(0, 1023), cmd_buffer_get_str(buf));
  cmd_buffer_add_seg(buf, "a", 1);
  EXPECT_EQ(1024, buf->capacity);  // exactly full; the terminator of 1023 bytes fitted
  cmd_buffer_get_str(buf);
  EXPECT_EQ(2048, buf->capacity);
  cmd_buffer_add_seg(buf, block.data(), 1024);
  cmd_buffer_add_seg(buf, " \t text \n\r\n", 11);
  EXPECT_EQ(4096, buf->capacity);
  str_seg seg;
  cmd_buffer_get_seg(buf, &seg);
  EXPECT_EQ(block + " \t text \n\r\n", test::seg_text(seg));
  cmd_buffer_reset(buf, 0);
  cmd_buffer_add_seg(buf, block.data(), 2048);
  EXPECT_EQ(2048, buf->capacity);
  cmd_buffer_reset(buf, 1);
  cmd_buffer_add_seg(buf, " \t text \n\r\n", 11);
  cmd_buffer_strip(buf);
  EXPECT_EQ("text", test::take_string(cmd_buffer_release(buf)));
}

TEST(CmdBuffer, CallbacksEchoAppendAndBeatOnTheirOwnThread) {
  cmd_buffer* buf = cmd_buffer_create();
  cmd_buffer_reset(buf, 1);
  set_progress_heartbeat_func(count_beat);
  EXPECT_EQ("abc", test::captured_stdout([buf] {
              EXPECT_EQ(0, cmd_buffer_cmd_callback(buf, "ab", 2) + cmd_buffer_cmd_callback_with_progress(buf, "", 0) +
                               cmd_buffer_cmd_callback_with_progress(buf, "c", 1));
              buf->echo = 0;
              cmd_buffer_cmd_callback_with_progress(buf, "d", 1);
            }));
  EXPECT_STREQ("abcd", cmd_buffer_get_str(buf));
  int other_thread_beats = 0;
  std::thread([&] {
    progress_heartbeat();
    set_progress_heartbeat_func(count_beat);
    progress_heartbeat();
    other_thread_beats = beats;
  }).join();
  set_progress_heartbeat_func(nullptr);
  progress_heartbeat();
  EXPECT_EQ(3, beats);  // one per call with progress, quiet periods included
  EXPECT_EQ(1, other_thread_beats);
  free(cmd_buffer_release(buf));
}
