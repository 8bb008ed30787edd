// Loading a 1 MiB properties file with index and looking up every key, beside a plain
// std::getline + std::unordered_map parser; and properties_get with and without index.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "vonautil.h"

namespace {

struct Fixture {
  std::string path;
  std::vector<std::string> keys;

  Fixture() {
    char dir[] = "/tmp/vonautil-bench-XXXXXX";
    path = std::string(mkdtemp(dir)) + "/big.properties";
    std::string text = "# a list as the firmware saves it\n";
    for (int i = 0; text.size() < 1048576 - 128; ++i) {
      keys.push_back("folder." + std::to_string(i) + (i % 2 ? ".name" : ".path"));
      text += keys.back() + " = " + (i % 2 ? "Holiday pictures " : "/tmp/mnt/D/Media/") + std::to_string(i) + "\n";
    }
    std::ofstream(path, std::ios::binary) << text;
  }
  ~Fixture() {
    unlink(path.c_str());
    rmdir(path.substr(0, path.rfind('/')).c_str());
  }
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

void BM_LoadWithIndexAndLookUpEveryKey_Library(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    properties* p = properties_load_from_internal_file_with_index(f.path.c_str());
    size_t total = 0;
    for (const std::string& key : f.keys) total += strlen(properties_get(p, key.c_str()));
    benchmark::DoNotOptimize(total);
    properties_free(p);
  }
  state.SetBytesProcessed(state.iterations() * 1048576);
}
BENCHMARK(BM_LoadWithIndexAndLookUpEveryKey_Library)->Unit(benchmark::kMillisecond);

bool blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string stripped(const std::string& text, size_t begin, size_t end) {
  while (begin < end && blank(text[begin])) ++begin;
  while (end > begin && blank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

// The parser anyone would write first: the same rules, line by line.
void BM_LoadWithIndexAndLookUpEveryKey_GetlineUnorderedMap(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    std::unordered_map<std::string, std::string> map;
    std::ifstream in(f.path, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
      std::string trimmed = stripped(line, 0, line.size());
      if (trimmed.empty() || trimmed[0] == '#') continue;
      size_t equals = trimmed.find('=');
      if (equals == std::string::npos) continue;
      std::string key = stripped(trimmed, 0, equals);
      if (!key.empty()) map[key] = stripped(trimmed, equals + 1, trimmed.size());
    }
    size_t total = 0;
    for (const std::string& key : f.keys) total += map.find(key)->second.size();
    benchmark::DoNotOptimize(total);
  }
  state.SetBytesProcessed(state.iterations() * 1048576);
}
BENCHMARK(BM_LoadWithIndexAndLookUpEveryKey_GetlineUnorderedMap)->Unit(benchmark::kMillisecond);

// properties_get of every key in turn, in a container of state.range(0) entries.
void lookups(benchmark::State& state, bool with_index) {
  int n = (int)state.range(0);
  properties* p = with_index ? properties_create_with_index() : properties_create_empty();
  std::vector<std::string> keys;
  for (int i = 0; i < n; ++i) {
    keys.push_back("setting_" + std::to_string(i * 7919 % 100000));
    properties_set(p, keys.back().c_str(), "yes");
  }
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(properties_get(p, keys[i].c_str()));
    if (++i == keys.size()) i = 0;
  }
  properties_free(p);
}
void BM_GetWithIndex_Library(benchmark::State& state) { lookups(state, true); }
void BM_GetWithIndex_LinearScan(benchmark::State& state) { lookups(state, false); }
BENCHMARK(BM_GetWithIndex_Library)->Arg(10)->Arg(100)->Arg(10000);
BENCHMARK(BM_GetWithIndex_LinearScan)->Arg(10)->Arg(100)->Arg(10000);

}  // namespace

BENCHMARK_MAIN();
