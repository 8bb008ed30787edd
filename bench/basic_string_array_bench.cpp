// string_array beside std::vector<std::string>: appending (exact reallocation on every append
// against geometric growth), splitting and joining the same texts in the same run.
#include <benchmark/benchmark.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vonautil.h"

namespace {

// Short strings as the arrays usually hold (setting values, file names), past the small-string
// buffer of std::string so that both sides allocate each string.
std::vector<std::string> sample_strings(int count) {
  std::vector<std::string> strings;
  for (int i = 0; i < count; i++) strings.push_back("/tmp/mnt/D/Movies/item_" + std::to_string(i) + ".mkv");
  return strings;
}

std::string sample_text(int count) {
  std::string text;
  for (const std::string& s : sample_strings(count)) text += s + ", ";
  return text;
}

void BM_Add_Library(benchmark::State& state) {
  std::vector<std::string> strings = sample_strings((int)state.range(0));
  for (auto _ : state) {
    string_array* sa = string_array_create_empty();
    for (const std::string& s : strings) string_array_add(sa, s.c_str());
    benchmark::DoNotOptimize(sa->items);
    string_array_free(sa);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Add_VectorOfString(benchmark::State& state) {
  std::vector<std::string> strings = sample_strings((int)state.range(0));
  for (auto _ : state) {
    std::vector<std::string> v;
    for (const std::string& s : strings) v.push_back(s.c_str());
    benchmark::DoNotOptimize(v.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same strdup'd strings in a geometrically growing vector of pointers: the difference to
// BM_Add_Library is the price of the exact-size reallocation alone.
void BM_Add_VectorOfStrdup(benchmark::State& state) {
  std::vector<std::string> strings = sample_strings((int)state.range(0));
  for (auto _ : state) {
    std::vector<char*> v;
    for (const std::string& s : strings) v.push_back(strdup(s.c_str()));
    benchmark::DoNotOptimize(v.data());
    for (char* s : v) free(s);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_Split_Library(benchmark::State& state) {
  std::string text = sample_text((int)state.range(0));
  for (auto _ : state) {
    string_array* sa = string_array_split(text.c_str(), ",");
    benchmark::DoNotOptimize(sa->items);
    string_array_free(sa);
  }
  state.SetBytesProcessed(state.iterations() * (int64_t)text.size());
}

// The same items as string_array_split (leading white space skipped) with std::string::find.
void BM_Split_VectorOfString(benchmark::State& state) {
  std::string text = sample_text((int)state.range(0));
  for (auto _ : state) {
    std::vector<std::string> v;
    size_t p = 0;
    for (;;) {
      while (p < text.size() && isspace((unsigned char)text[p])) p++;
      if (p == text.size()) break;
      size_t found = text.find(',', p);
      if (found == std::string::npos) {
        v.emplace_back(text, p);
        break;
      }
      v.emplace_back(text, p, found - p);
      p = found + 1;
    }
    benchmark::DoNotOptimize(v.data());
  }
  state.SetBytesProcessed(state.iterations() * (int64_t)text.size());
}

void BM_Join_Library(benchmark::State& state) {
  string_array* sa = string_array_split(sample_text((int)state.range(0)).c_str(), ",");
  for (auto _ : state) {
    char* joined = string_array_join(sa, ", ", 0, -1);
    benchmark::DoNotOptimize(joined);
    free(joined);
  }
  string_array_free(sa);
}

void BM_Join_VectorOfString(benchmark::State& state) {
  std::vector<std::string> strings = sample_strings((int)state.range(0));
  for (auto _ : state) {
    std::string joined;
    for (size_t i = 0; i < strings.size(); i++) {
      if (i) joined += ", ";
      joined += strings[i];
    }
    benchmark::DoNotOptimize(joined.data());
  }
}

}  // namespace

BENCHMARK(BM_Add_Library)->Arg(8)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Add_VectorOfString)->Arg(8)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Add_VectorOfStrdup)->Arg(8)->Arg(64)->Arg(1024)->Arg(16384);
BENCHMARK(BM_Split_Library)->Arg(8)->Arg(1024);
BENCHMARK(BM_Split_VectorOfString)->Arg(8)->Arg(1024);
BENCHMARK(BM_Join_Library)->Arg(8)->Arg(1024);
BENCHMARK(BM_Join_VectorOfString)->Arg(8)->Arg(1024);

BENCHMARK_MAIN();
