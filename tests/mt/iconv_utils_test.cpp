#include <dlfcn.h>
#include <iconv.h>

#include <atomic>
#include <thread>

#include "test_support.hpp"

// The C library's iconv_open and iconv_close, counted: the library's calls resolve to these.
static std::atomic<int> opened{0};
static std::atomic<int> closed{0};

extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static auto real = (iconv_t(*)(const char*, const char*))dlsym(RTLD_NEXT, "iconv_open");
  iconv_t descriptor = real(to, from);
  if (descriptor != (iconv_t)-1) ++opened;
  return descriptor;
}

extern "C" int iconv_close(iconv_t descriptor) {
  static auto real = (int (*)(iconv_t))dlsym(RTLD_NEXT, "iconv_close");
  ++closed;
  return real(descriptor);
}

TEST(IconvUtils, DescriptorsAreOpenedOncePerThreadAndClosedAtThreadExit) {
  iconv_t main_descriptor = iconv_utils_get_to_utf32_conversion_descriptor(1);
  EXPECT_EQ(main_descriptor, iconv_utils_get_to_utf32_conversion_descriptor(1));
  opened = 0;
  closed = 0;
  // Each thread uses Big5 and GB2312 both ways, several times: the same descriptors each time, its own.
  constexpr int kThreads = 4;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      std::vector<iconv_t> first;
      for (int round = 0; round < 5; ++round) {
        std::vector<iconv_t> now = {
            iconv_utils_get_to_utf32_conversion_descriptor(1), iconv_utils_get_from_utf32_conversion_descriptor(1),
            iconv_utils_get_to_utf32_conversion_descriptor(2), iconv_utils_get_from_utf32_conversion_descriptor(2)};
        if (round == 0) first = now;
        UTF32* text = utf32_create_from_big5("\xA4\xA4\xA4\xE5");
        char* back = utf32_convert_to_gb2312(text);
        failures += now != first || now[0] == main_descriptor || strcmp(back, "\xD6\xD0\xCE\xC4") != 0;
        free(text);
        free(back);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(0, failures.load());
  EXPECT_EQ(4 * kThreads, opened.load()) << "four descriptors in each thread, each opened once";
  EXPECT_EQ(4 * kThreads, closed.load()) << "all of them closed when their thread ended";
  EXPECT_EQ(main_descriptor, iconv_utils_get_to_utf32_conversion_descriptor(1));
  EXPECT_DEATH(iconv_utils_get_to_utf32_conversion_descriptor(4),
               "iconv_utils_get_to_utf32_conversion_descriptor: Assertion `enc >= 0 && enc < MAX_ICONV_ENCODINGS'");
}

TEST(IconvUtils, BadInputBecomesQuestionMarksAndFullBuffersAreReported) {
  iconv_t to = iconv_utils_get_to_utf32_conversion_descriptor(3);
  UTF32 out[8];
  // An invalid byte in the middle and an incomplete sequence at the end: one "?" each.
  EXPECT_EQ(4, iconv_utils_copy_to_utf32(to, out, "\xC7\xD1\xFFz\xC7", 7));
  EXPECT_EQ((std::vector<UTF32>{0xD55C, '?', 'z', '?'}), std::vector<UTF32>(out, out + 4));
  EXPECT_EQ(0u, out[4]);
  EXPECT_EQ(1, iconv_utils_copy_to_utf32(to, out, "\xC7\xD1", 7)) << "the state was reset after the error";
  EXPECT_EQ(0xD55Cu, out[0]);

  testing::internal::CaptureStderr();
  EXPECT_EQ(1, iconv_utils_copy_to_utf32(to, out, "ab", 1));
  EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("Warning: iconv UTF32 output buffer exhausted"));
  EXPECT_EQ((std::vector<UTF32>{'a', 0}), std::vector<UTF32>(out, out + 2));

  // From UTF-32: one byte per character is not enough for Hangul.
  const UTF32 hangul[] = {'a', 0xD55C, 0};
  testing::internal::CaptureStderr();
  char* narrow = iconv_utils_convert_from_utf32(iconv_utils_get_from_utf32_conversion_descriptor(3), 1, hangul);
  EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("Warning: iconv output buffer exhausted"));
  EXPECT_STREQ("a", narrow);
  free(narrow);

  EXPECT_DEATH(iconv_utils_copy_to_utf32(to, nullptr, "a", 1), "iconv_utils_copy_to_utf32: Assertion `target' failed");
  EXPECT_DEATH(iconv_utils_convert_to_utf32(to, nullptr), "iconv_utils_convert_to_utf32: Assertion `source' failed");
  EXPECT_DEATH(iconv_utils_convert_from_utf32(to, 2, nullptr), "Assertion `source_utf32' failed");
}
