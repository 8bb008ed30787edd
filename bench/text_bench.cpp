// Text conversions and the sort order beside the C library's iconv and strcmp.
#include <iconv.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "vonautil.h"

namespace {

#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
const char kHostUtf32[] = "UCS-4BE";
#else
const char kHostUtf32[] = "UCS-4LE";
#endif

// Words of several scripts; `cp1251_only` keeps to those that CP1251 can hold.
std::string make_text(size_t size, bool cp1251_only) {
  const char* mixed[] = {"player ", "\xD0\xBF\xD0\xBB\xD0\xB5\xD0\xB5\xD1\x80 ", "\xCE\xB1\xCE\xBB\xCF\x86\xCE\xB1 ",
                         "\xE4\xB8\xAD\xE6\x96\x87 ", "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D ", "caf\xC3\xA9 ",
                         "\xF0\x9F\x8E\xB5 ", "\xD0\x81\xD0\xBB\xD0\xBA\xD0\xB0\n"};
  const char* cyrillic[] = {"player ", "\xD0\xBF\xD0\xBB\xD0\xB5\xD0\xB5\xD1\x80 ", "\xD0\x81\xD0\xBB\xD0\xBA\xD0\xB0\n",
                            "\xD0\xBC\xD0\xB8\xD1\x80, ", "2024 "};
  std::string text;
  for (size_t i = 0; text.size() < size; ++i) {
    text += cp1251_only ? cyrillic[i % 5] : mixed[i % 8];
  }
  return text;
}

const std::string& mixed_text() {
  static const std::string text = make_text(10 << 20, false);
  return text;
}

// Converts `in_size` bytes with a fresh result buffer of `out_size` bytes, as the library does.
void iconv_convert(iconv_t cd, const char* in, size_t in_size, size_t out_size) {
  char* out = (char*)malloc(out_size);
  char* in_pointer = (char*)in;
  char* out_pointer = out;
  size_t in_left = in_size, out_left = out_size;
  if (iconv(cd, &in_pointer, &in_left, &out_pointer, &out_left) == (size_t)-1) abort();
  benchmark::DoNotOptimize(out);
  free(out);
}

void set_bytes(benchmark::State& state, size_t bytes) { state.SetBytesProcessed((int64_t)(state.iterations() * bytes)); }

void BM_Utf8ToUtf32_Library(benchmark::State& state) {
  const std::string& text = mixed_text();
  for (auto _ : state) free(utf32_create_from_utf8(text.c_str()));
  set_bytes(state, text.size());
}

void BM_Utf8ToUtf32_Iconv(benchmark::State& state) {
  const std::string& text = mixed_text();
  iconv_t cd = iconv_open(kHostUtf32, "UTF-8");
  for (auto _ : state) iconv_convert(cd, text.data(), text.size(), (text.size() + 1) * 4);
  iconv_close(cd);
  set_bytes(state, text.size());
}

void BM_Utf32ToUtf8_Library(benchmark::State& state) {
  const std::string& text = mixed_text();
  UTF32* wide = utf32_create_from_utf8(text.c_str());
  for (auto _ : state) free(utf32_convert_to_utf8(wide));
  free(wide);
  set_bytes(state, text.size());
}

void BM_Utf32ToUtf8_Iconv(benchmark::State& state) {
  const std::string& text = mixed_text();
  UTF32* wide = utf32_create_from_utf8(text.c_str());
  size_t length = (size_t)utf32_strlen(wide);
  iconv_t cd = iconv_open("UTF-8", kHostUtf32);
  for (auto _ : state) iconv_convert(cd, (const char*)wide, length * 4, length * 4 + 1);
  iconv_close(cd);
  free(wide);
  set_bytes(state, text.size());
}

void BM_Utf32ToCp1251_Library(benchmark::State& state) {
  UTF32* wide = utf32_create_from_utf8(make_text(10 << 20, true).c_str());
  size_t length = (size_t)utf32_strlen(wide);
  for (auto _ : state) free(utf32_convert_to_cp1251(wide));
  free(wide);
  state.SetItemsProcessed((int64_t)(state.iterations() * length));
}

void BM_Utf32ToCp1251_Iconv(benchmark::State& state) {
  UTF32* wide = utf32_create_from_utf8(make_text(10 << 20, true).c_str());
  size_t length = (size_t)utf32_strlen(wide);
  iconv_t cd = iconv_open("CP1251", kHostUtf32);
  for (auto _ : state) iconv_convert(cd, (const char*)wide, length * 4, length + 1);
  iconv_close(cd);
  free(wide);
  state.SetItemsProcessed((int64_t)(state.iterations() * length));
}

// 100,000 file names of mixed scripts and case.
const std::vector<std::string>& names() {
  static const std::vector<std::string> all = [] {
    const char* stems[] = {"Track", "track", "\xD0\x9F\xD0\xB5\xD1\x81\xD0\xBD\xD1\x8F", "\xD0\xBF\xD0\xB5\xD1\x81\xD0\xBD\xD1\x8F",
                           "\xCE\xA4\xCF\x81\xCE\xB1\xCE\xB3\xCE\xBF\xCF\x8D\xCE\xB4\xCE\xB9", "\xE6\xAD\x8C", "Movie ", "\xD0\x81\xD0\xBB\xD0\xBA\xD0\xB0"};
    std::mt19937 random(42);
    std::vector<std::string> list;
    for (int i = 0; i < 100000; ++i) {
      list.push_back(std::string(stems[random() % 8]) + " " + std::to_string(random() % 100000) + ".mkv");
    }
    return list;
  }();
  return all;
}

template <typename Less>
void sort_names(benchmark::State& state, Less less) {
  std::vector<const char*> pointers;
  for (const std::string& name : names()) pointers.push_back(name.c_str());
  for (auto _ : state) {
    std::vector<const char*> order = pointers;
    std::sort(order.begin(), order.end(), less);
    benchmark::DoNotOptimize(order.data());
  }
  state.SetItemsProcessed((int64_t)(state.iterations() * pointers.size()));
}

void BM_SortNames_Library(benchmark::State& state) {
  sort_names(state, [](const char* a, const char* b) { return utf8_strcmp(a, b) < 0; });
}

void BM_SortNames_Strcmp(benchmark::State& state) {
  sort_names(state, [](const char* a, const char* b) { return strcmp(a, b) < 0; });
}

}  // namespace

BENCHMARK(BM_Utf8ToUtf32_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf8ToUtf32_Iconv)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf32ToUtf8_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf32ToUtf8_Iconv)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf32ToCp1251_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Utf32ToCp1251_Iconv)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortNames_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortNames_Strcmp)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
