#include <malloc.h>

#include "test_support.hpp"

static std::string contents(const str_buf& sb) { return std::string(sb.data, sb.length); }

// A heap buffer of at least `size` bytes. How much more the allocator hands out, and whether
// it gives memory back when a block shrinks, differs between allocators and word sizes.
static void expect_allocation(size_t size, void* memory) { EXPECT_GE(malloc_usable_size(memory), size); }

TEST(StrBuf, GrowsAppendsAndRemoves) {
  str_buf sb = {};
  str_buf_ensure_capacity(&sb, 10);
  EXPECT_EQ(64, sb.capacity);
  str_buf_ensure_capacity(&sb, 65);
  EXPECT_EQ(128, sb.capacity);
  str_buf empty = {};
  str_buf_ensure_capacity(&empty, 100);
  EXPECT_EQ(100, empty.capacity);
  free(empty.data);

  // Formatted on the stack while the buffer is small, in place once it has room: same bytes.
  std::string long_text(2000, 'a');
  for (int round = 0; round < 2; ++round) {
    sb.length = 0;
    str_buf_append_fmt(&sb, "%s", "");
    str_buf_append_fmt(&sb, "%d-", 42);
    str_buf_append_fmt(&sb, "%s", long_text.c_str());
    EXPECT_EQ("42-" + long_text.substr(0, 1023), contents(sb));
  }
  str_buf_remove(&sb, 1, 1024);
  str_buf_remove(&sb, 1, 0);
  EXPECT_EQ("4a", contents(sb));
  free(sb.data);
}

TEST(StrBuf, EscapesJsonStrings) {
  std::string controls, expected = "{\"";
  for (int c = 1; c < 32; ++c) {
    controls += (char)c;
    const char* short_escapes[] = {"\\b", "\\t", "\\n", "", "\\f", "\\r"};
    char escape[8];
    snprintf(escape, sizeof escape, "\\u%04X", c);
    expected += c >= 8 && c <= 13 && c != 11 ? short_escapes[c - 8] : escape;
  }
  controls += "\"\\/\x7f\xc3\xa9\xff";  // 127 and the bytes above it pass through
  expected += "\\\"\\\\/\x7f\xc3\xa9\xff\"";
  str_buf sb = {};
  str_buf_append_fmt(&sb, "{");
  str_buf_append_json_string(&sb, controls.c_str());
  EXPECT_EQ(expected, contents(sb));
  free(sb.data);
  test::expect_tool({{"json-string 'a\tb' ''", 0, "\"a\\tb\"\n\"\"\n", true}});
}

TEST(StrBuf, WritesTheTextToAFile) {
  test::Sandbox sandbox;
  std::string path = sandbox.path("/out.txt"), missing = sandbox.path("/no/dir/x");
  test::write_file(path, "old and longer content");
  str_buf sb = {};
  str_buf_append_fmt(&sb, "fi%cst", 0);
  EXPECT_EQ(1, str_buf_write_to_file(&sb, path.c_str()));
  EXPECT_EQ("fi", test::read_file(path));  // up to the first NUL

  testing::internal::CaptureStderr();
  EXPECT_EQ(0, str_buf_write_to_file(&sb, missing.c_str()));
  EXPECT_EQ(0, str_buf_write_to_file(&sb, "/dev/full"));
  EXPECT_EQ("Unable to create " + missing + "\nNo such file or directory\n" +
                "Unable to write to /dev/full\nNo space left on device\n",
            testing::internal::GetCapturedStderr());
  free(sb.data);
}

TEST(StrBufDeathTest, RemoveChecksItsRange) {
  str_buf sb = {};
  str_buf_append_fmt(&sb, "abc");
  const std::string at = "^player/src/util/mt/string_buffer:[0-9]+: str_buf_remove: Assertion `";
  EXPECT_DEATH(str_buf_remove(&sb, -1, 1), at + "from >= 0' failed");
  EXPECT_DEATH(str_buf_remove(&sb, 0, -1), at + "len >= 0' failed");
  EXPECT_DEATH(str_buf_remove(&sb, 2, 2), at + "from \\+ len <= sb->length' failed");
  free(sb.data);
}

TEST(SharedFormatting, ReusesAndGrowsTheCallersBuffer) {
  char* buffer = nullptr;
  EXPECT_STREQ("key=7", sprintf_shared(&buffer, "%s=%d", "key", 7));
  expect_allocation(64, buffer);
  std::string long_text(70000, 'x');
  char* text = sprintf_shared(&buffer, "<%s>", long_text.c_str());
  EXPECT_EQ(buffer, text);
  EXPECT_EQ("<" + long_text + ">", text);
  expect_allocation(131072, buffer);
  EXPECT_EQ(long_text.substr(0, 63), sprintf_shared(&buffer, "%.63s", long_text.c_str()));  // fits 64
  expect_allocation(64, buffer);
  free(buffer);

  char* fresh = sprintf_new("%1000d", 5);
  EXPECT_EQ(1000u, strlen(fresh));
  expect_allocation(1024, fresh);
  free(fresh);
}

TEST(SharedFormattingDeathTest, AbortsOnAFormattingError) {
  // The C locale cannot convert this wide character. The report goes to standard output,
  // which the child sends to standard error for the check.
  EXPECT_DEATH(
      {
        dup2(2, 1);
        free(sprintf_new("[%ls]", L"\u00e9"));
      },
      "^vsprintf_shared failed: format = '\\[%ls\\]', n = -1, s = 64\n\\*\\*\\*\\[?\\*\\*\\*");
}

TEST(SharedStrings, KeepTheLast16StringsOfEachThread) {
  EXPECT_EQ(nullptr, debug_get_shared_string(nullptr));
  std::vector<const char*> shared;
  for (int i = 0; i < 40; ++i) shared.push_back(debug_get_shared_string(sprintf_new("shared %d", i)));
  // The sanitizer build catches a string freed too early, or one never freed.
  for (int i = 40 - 16; i < 40; ++i) EXPECT_EQ("shared " + std::to_string(i), shared[i]);
  pthread_t thread;
  auto fill = [](void*) -> void* {
    for (int i = 0; i < 5; ++i) debug_get_shared_string(strdup("freed at thread exit"));
    return nullptr;
  };
  ASSERT_EQ(0, pthread_create(&thread, nullptr, fill, nullptr));
  pthread_join(thread, nullptr);
  EXPECT_STREQ("shared 39", shared.back());
}

TEST(OctetStream, StaysWithinItsBuffer) {
  unsigned char buffer[13];
  memset(buffer, 0xAA, sizeof buffer);
  octet_stream os;
  octet_stream_init_writing(&os, buffer, 12);
  EXPECT_EQ(std::string(12, '\0') + "\xAA", std::string((char*)buffer, 13));
  EXPECT_EQ(1, octet_stream_write_int(&os, 0x01020304));
  EXPECT_EQ(0, memcmp(buffer, "\x04\x03\x02\x01", 4));
  short pair[2] = {5, 6};
  EXPECT_EQ(1, octet_stream_write(&os, pair, sizeof(short), 2));

  testing::internal::CaptureStderr();
  EXPECT_EQ(0, octet_stream_write(&os, "abcde", 1, 5));
  EXPECT_EQ(0, octet_stream_write(&os, "ab", 1, -2));
  EXPECT_EQ(1, octet_stream_write(&os, "abcd", 2, 2));  // exactly what is left
  EXPECT_EQ(0, octet_stream_write(&os, "z", 1, 1));
  EXPECT_EQ(0, octet_stream_write_int(&os, 1));
  EXPECT_EQ(
      "octet_stream_write: not enough space for 5 mem of size 1, rest is: 4 (need 5)\n"
      "octet_stream_write: not enough space for -2 mem of size 1, rest is: 4 (need -2)\n"
      "octet_stream_write: not enough space for 1 mem of size 1, rest is: 0 (need 1)\n"
      "octet_stream_write: not enough space int32, rest is: 0 (need 4)\n",
      testing::internal::GetCapturedStderr());
  EXPECT_EQ(0xAA, buffer[12]);  // the data read back below shows where the writes went

  octet_stream in;
  octet_stream_init_reading(&in, buffer, 12);
  int value = 0;
  char tail[9] = {};
  EXPECT_EQ(1, octet_stream_read(&in, &value, sizeof value, 1));
  EXPECT_EQ(0x01020304, value);
  testing::internal::CaptureStderr();
  EXPECT_EQ(255, octet_stream_read(&in, tail, 3, 3));
  EXPECT_EQ(255, octet_stream_read(&in, tail, 65536, 65536));  // multiplied in 64 bits
  EXPECT_EQ("octet_stream_read: not enough space for 3 mem of size 3, rest is: 8 (need 9)\n"
            "octet_stream_read: not enough space for 65536 mem of size 65536, rest is: 8 (need 0)\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ(1, octet_stream_read(&in, tail, 8, 1));
  EXPECT_EQ(std::string("\5\0\6\0abcd", 8), std::string(tail, 8));
}
