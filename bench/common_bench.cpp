// String tools beside the C library: the scalar parsers against strtol/strtod with the same
// whole-string checks, and natural-order sorting against a plain strcmp sort.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "vonautil.h"

namespace {

// 1,000 values as settings files hold them; one in ten falls back to the default.
std::vector<std::string> setting_values(std::initializer_list<const char*> usual,
                                        std::initializer_list<const char*> odd, unsigned seed) {
  std::vector<std::string> values;
  std::mt19937 random(seed);
  for (int i = 0; i < 1000; ++i) {
    const auto& pool = i % 10 == 9 ? odd : usual;
    values.push_back(pool.begin()[random() % pool.size()]);
  }
  return values;
}

std::vector<std::string> int_values() {
  return setting_values({"0", "1", "42", "-1", "1920", "1080", "100", "65535", "30", "5", "-273", "2147483647"},
                        {"12 ", "yes", "", " 7"}, 1);
}

std::vector<std::string> double_values() {
  return setting_values({"0.5", "1.0", "23.976", "-3.25", "100", "1e3", "0.001", "59.94", "1.7777", "0"},
                        {"1.5 ", "auto", "", "1e400"}, 2);
}

int strtol_whole(const char* s, int fallback) {
  if (!s || !*s) return fallback;
  char* end;
  long value = strtol(s, &end, 10);
  return *end ? fallback : (int)value;
}

double strtod_whole(const char* s, double fallback) {
  if (!s || !*s) return fallback;
  char* end;
  double value = strtod(s, &end);
  return *end ? fallback : value;
}

template <typename T, T (*parse)(const char*, T)>
void parse_all(benchmark::State& state, const std::vector<std::string>& values) {
  for (auto _ : state) {
    T sum = 0;
    for (const std::string& value : values) sum += parse(value.c_str(), 0);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * values.size());
}

void BM_ParseInt_Library(benchmark::State& state) { parse_all<int, str_parse_int>(state, int_values()); }
void BM_ParseInt_Strtol(benchmark::State& state) { parse_all<int, strtol_whole>(state, int_values()); }
void BM_ParseDouble_Library(benchmark::State& state) { parse_all<double, str_parse_double>(state, double_values()); }
void BM_ParseDouble_Strtod(benchmark::State& state) { parse_all<double, strtod_whole>(state, double_values()); }

// 100,000 names in the shapes of a media folder, in random order.
const std::vector<std::string>& file_names() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> result;
    std::mt19937 random(3);
    char name[128];
    for (int i = 0; i < 100000; ++i) {
      unsigned r = random();
      switch (i % 4) {
        case 0: snprintf(name, sizeof name, "IMG_%04u.jpg", r % 10000); break;
        case 1: snprintf(name, sizeof name, "Track %u - Song %u.mp3", r % 30, (r >> 8) % 500); break;
        case 2: snprintf(name, sizeof name, "Season %u/Episode %u.mkv", r % 12, (r >> 8) % 40); break;
        default: snprintf(name, sizeof name, "holiday_%u_%u.MOV", 2000 + r % 30, (r >> 8) % 1000); break;
      }
      result.push_back(name);
    }
    return result;
  }();
  return names;
}

int strcmp_pointers(const void* a, const void* b) { return strcmp(*(char* const*)a, *(char* const*)b); }

template <int (*compare)(const void*, const void*)>
void sort_names(benchmark::State& state) {
  std::vector<const char*> unsorted;
  for (const std::string& name : file_names()) unsorted.push_back(name.c_str());
  std::vector<const char*> names;
  for (auto _ : state) {
    names = unsorted;
    qsort(names.data(), names.size(), sizeof(const char*), compare);
    benchmark::DoNotOptimize(names.data());
  }
  state.SetItemsProcessed(state.iterations() * names.size());
}

void BM_SortNames_Library(benchmark::State& state) { sort_names<str_nat_cmp>(state); }
void BM_SortNames_Strcmp(benchmark::State& state) { sort_names<strcmp_pointers>(state); }

}  // namespace

BENCHMARK(BM_ParseInt_Library);
BENCHMARK(BM_ParseInt_Strtol);
BENCHMARK(BM_ParseDouble_Library);
BENCHMARK(BM_ParseDouble_Strtod);
BENCHMARK(BM_SortNames_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortNames_Strcmp)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
