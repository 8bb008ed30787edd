// The C containers beside the plain C++ containers they wrap, on the same keys in the same
// run: filling a string_map and looking keys up, and the long_by_string_map lookup that
// indexes properties files. The peer gets its keys as ready-made std::string objects, the
// library as the C strings a C caller holds.
#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "vonautil.h"

namespace {

struct Keys {
  std::vector<std::string> inserts;  // in a shuffled order
  std::vector<std::string> lookups;  // the same keys, shuffled again
};

const Keys& keys(int count) {
  static std::map<int, Keys> cache;
  Keys& k = cache[count];
  if (k.inserts.empty()) {
    std::mt19937 random(count);
    char text[64];
    for (int i = 0; i < count; ++i) {
      snprintf(text, sizeof text, "network_folder.%d.server_address", i);
      k.inserts.push_back(text);
    }
    std::shuffle(k.inserts.begin(), k.inserts.end(), random);
    k.lookups = k.inserts;
    std::shuffle(k.lookups.begin(), k.lookups.end(), random);
  }
  return k;
}

void BM_StringMapPut_Library(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  for (auto _ : state) {
    C_StringMap* map = string_map_create();
    for (const std::string& key : k.inserts) string_map_put(map, key.c_str(), "value");
    benchmark::DoNotOptimize(map);
    string_map_free(map);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StringMapPut_StdMap(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  for (auto _ : state) {
    std::map<std::string, std::string> map;
    for (const std::string& key : k.inserts) map[key] = "value";
    benchmark::DoNotOptimize(map);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StringMapGet_Library(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  C_StringMap* map = string_map_create();
  for (const std::string& key : k.inserts) string_map_put(map, key.c_str(), "value");
  for (auto _ : state) {
    for (const std::string& key : k.lookups) benchmark::DoNotOptimize(string_map_get(map, key.c_str()));
  }
  string_map_free(map);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_StringMapGet_StdMap(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  std::map<std::string, std::string> map;
  for (const std::string& key : k.inserts) map[key] = "value";
  for (auto _ : state) {
    for (const std::string& key : k.lookups) {
      auto it = map.find(key);
      benchmark::DoNotOptimize(it == map.end() ? nullptr : it->second.c_str());
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// What a C++ map costs a caller that holds C strings: a std::string per lookup.
void BM_StringMapGet_StdMapFromCString(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  std::map<std::string, std::string> map;
  for (const std::string& key : k.inserts) map[key] = "value";
  for (auto _ : state) {
    for (const std::string& key : k.lookups) {
      auto it = map.find(key.c_str());
      benchmark::DoNotOptimize(it == map.end() ? nullptr : it->second.c_str());
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_LongByStringMapGet_Library(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  C_LongByStringMap* map = long_by_string_map_create();
  long long index = 0;
  for (const std::string& key : k.inserts) long_by_string_map_put(map, key.c_str(), index++);
  for (auto _ : state) {
    for (const std::string& key : k.lookups) benchmark::DoNotOptimize(long_by_string_map_get(map, key.c_str(), -1));
  }
  long_by_string_map_free(map);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_LongByStringMapGet_StdMap(benchmark::State& state) {
  const Keys& k = keys(state.range(0));
  std::map<std::string, long long> map;
  long long index = 0;
  for (const std::string& key : k.inserts) map[key] = index++;
  for (auto _ : state) {
    for (const std::string& key : k.lookups) {
      auto it = map.find(key);
      benchmark::DoNotOptimize(it == map.end() ? -1 : it->second);
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

#define SIZES Arg(10)->Arg(1000)->Arg(100000)
BENCHMARK(BM_StringMapPut_Library)->SIZES;
BENCHMARK(BM_StringMapPut_StdMap)->SIZES;
BENCHMARK(BM_StringMapGet_Library)->SIZES;
BENCHMARK(BM_StringMapGet_StdMap)->SIZES;
BENCHMARK(BM_StringMapGet_StdMapFromCString)->SIZES;
BENCHMARK(BM_LongByStringMapGet_Library)->SIZES;
BENCHMARK(BM_LongByStringMapGet_StdMap)->SIZES;

BENCHMARK_MAIN();
