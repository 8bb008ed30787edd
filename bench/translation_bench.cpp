// Loading a 10,000-key translation and looking every key up with T_get_value, beside a
// std::unordered_map<std::string, std::string> filled from the same entries. Keys are what
// translations hold: lower-case identifiers of 10 to 40 characters made of words and "_".
// The counters give the statistics of the fixed 4096-bucket table for this key set.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "player/src/util/mt/translation.hpp"
#include "vonautil.h"

namespace {

constexpr int kKeys = 10000;

struct Fixture {
  std::string dir;
  std::string path;
  std::vector<std::pair<std::string, std::string>> entries;  // in file order
  std::vector<std::string> lookups;                           // every key, shuffled

  Fixture() {
    static const char* const kWords[] = {
        "menu",   "setup",  "video",   "audio",    "subtitle", "title",  "error",   "network", "folder",  "play",
        "pause",  "stop",   "message", "button",   "dialog",   "confirm", "delete", "copy",    "move",    "rename",
        "storage", "usb",   "disk",    "format",   "language", "time",   "zone",    "screen",  "mode",    "output",
        "hdmi",   "color",  "space",   "free",     "size",     "speed",  "status",  "wifi",    "password", "name",
        "photo",  "music",  "movie",   "playlist", "repeat",   "shuffle", "info",   "help",    "update",  "firmware",
        "upgrade", "remote", "key",    "keyboard", "search",   "sort",   "by",      "date",    "type",    "view"};
    std::mt19937 random(12345);
    std::uniform_int_distribution<int> word(0, sizeof kWords / sizeof *kWords - 1);
    std::uniform_int_distribution<int> length(10, 40);
    std::set<std::string> seen;
    while ((int)entries.size() < kKeys) {
      size_t wanted = (size_t)length(random);
      std::string key = kWords[word(random)];
      while (key.size() < wanted) key += std::string("_") + kWords[word(random)];
      if (key.size() > 40) key.resize(40);
      while (key.back() == '_') key.pop_back();
      if (key.size() < 10 || !seen.insert(key).second) continue;
      std::string value = "Text of " + key;
      for (char& c : value) c = c == '_' ? ' ' : c;
      entries.emplace_back(key, value);
    }
    char pattern[] = "/tmp/vonautil-bench-XXXXXX";
    dir = mkdtemp(pattern);
    path = dir + "/english.txt";
    FILE* file = fopen(path.c_str(), "w");
    for (const auto& entry : entries) fprintf(file, "%s = %s\n", entry.first.c_str(), entry.second.c_str());
    fclose(file);
    for (const auto& entry : entries) lookups.push_back(entry.first);
    std::shuffle(lookups.begin(), lookups.end(), random);
  }
  ~Fixture() {
    unlink(path.c_str());
    rmdir(dir.c_str());
  }
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

// Statistics of the table, and the key comparisons of an average successful lookup.
void table_counters(benchmark::State& state, const translation* t) {
  const vona::TranslationStatistics& s = t->statistics;
  state.counters["entries"] = s.entries;
  state.counters["collisions"] = s.collisions;
  state.counters["max_row"] = s.max_row_entries;
  double comparisons = 0;
  for (const translation_bucket& bucket : t->buckets) comparisons += bucket.count * (bucket.count + 1) / 2.0;
  state.counters["cmp_per_hit"] = comparisons / s.entries;
}

void BM_LoadAndLookUpEveryKey_Library(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    translation* t = T_load_translation(f.path.c_str(), 1);
    size_t total = 0;
    for (const std::string& key : f.lookups) total += T_get_value(t, key.c_str())[0];
    benchmark::DoNotOptimize(total);
    T_free_translation(t);
  }
}
BENCHMARK(BM_LoadAndLookUpEveryKey_Library)->Unit(benchmark::kMillisecond);

void BM_LoadAndLookUpEveryKey_UnorderedMap(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    std::unordered_map<std::string, std::string> map;
    for (const auto& entry : f.entries) map.emplace(entry.first, entry.second);
    size_t total = 0;
    for (const std::string& key : f.lookups) total += map.find(key)->second[0];
    benchmark::DoNotOptimize(total);
  }
}
BENCHMARK(BM_LoadAndLookUpEveryKey_UnorderedMap)->Unit(benchmark::kMillisecond);

void BM_LookUpEveryKey_Library(benchmark::State& state) {
  Fixture& f = fixture();
  translation* t = T_load_translation(f.path.c_str(), 1);
  std::vector<const char*> keys;
  for (const std::string& key : f.lookups) keys.push_back(key.c_str());
  for (auto _ : state) {
    size_t total = 0;
    for (const char* key : keys) total += T_get_value(t, key)[0];
    benchmark::DoNotOptimize(total);
  }
  table_counters(state, t);
  T_free_translation(t);
}
BENCHMARK(BM_LookUpEveryKey_Library)->Unit(benchmark::kMicrosecond);

// The map is handed the same C strings that T_t receives, so each lookup builds its key.
void BM_LookUpEveryKey_UnorderedMap(benchmark::State& state) {
  Fixture& f = fixture();
  std::unordered_map<std::string, std::string> map(f.entries.begin(), f.entries.end());
  std::vector<const char*> keys;
  for (const std::string& key : f.lookups) keys.push_back(key.c_str());
  for (auto _ : state) {
    size_t total = 0;
    for (const char* key : keys) total += map.find(key)->second[0];
    benchmark::DoNotOptimize(total);
  }
}
BENCHMARK(BM_LookUpEveryKey_UnorderedMap)->Unit(benchmark::kMicrosecond);

// The map's best case: the keys are std::string objects already.
void BM_LookUpEveryKey_UnorderedMapStringKeys(benchmark::State& state) {
  Fixture& f = fixture();
  std::unordered_map<std::string, std::string> map(f.entries.begin(), f.entries.end());
  for (auto _ : state) {
    size_t total = 0;
    for (const std::string& key : f.lookups) total += map.find(key)->second[0];
    benchmark::DoNotOptimize(total);
  }
}
BENCHMARK(BM_LookUpEveryKey_UnorderedMapStringKeys)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
