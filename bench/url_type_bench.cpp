// Classifying a folder listing: playlist_is_media_file_url over 1,000,000 file names beside the
// plain case-insensitive scan of the same extension tables (video, image, audio, in that order)
// that the classification is defined by. Both sides split off the extension the same way, so
// the ratio is that of the table lookup.
#include <strings.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "player/src/util/mt/url_type.hpp"
#include "vonautil.h"

namespace {

constexpr int kNames = 1000000;

// File names as a media folder holds them: mostly video, audio and pictures in mixed case,
// with subtitles, notes and other files among them.
const std::vector<std::string>& names() {
  static std::vector<std::string> all;
  if (all.empty()) {
    const char* common[] = {"mkv", "MKV", "mp4", "avi", "ts",  "mp3", "flac", "FLAC", "m4a", "ogg", "wav", "jpg",
                            "JPG", "jpeg", "png", "gif", "srt", "sub", "nfo",  "txt",  "m3u", "iso", "zip", "part"};
    std::mt19937 random(1);
    std::vector<const char*> rare;
    for (const char* row : vona::kVideoExtensions) rare.push_back(row);
    for (const char* row : vona::kAudioExtensions) rare.push_back(row);
    for (const char* row : vona::kImageExtensions) rare.push_back(row);
    char name[128];
    all.reserve(kNames);
    for (int i = 0; i < kNames; ++i) {
      unsigned pick = random();
      const char* ext = pick % 4 ? common[pick / 4 % (sizeof common / sizeof *common)] : rare[pick / 4 % rare.size()];
      snprintf(name, sizeof name, "Season %u - Episode %u (part %u).%s", pick % 9, pick % 97, i % 7, ext);
      all.push_back(name);
    }
  }
  return all;
}

template <size_t N>
bool scan(const char* const (&rows)[N], const char* ext) {
  for (const char* row : rows) {
    if (strcasecmp(row, ext) == 0) return true;
  }
  return false;
}

// The media test as a linear scan of the tables.
bool linear_is_media(const char* name) {
  const char* basename = path_utils_basename(name);
  const char* ext = path_utils_get_ext(basename);
  if (scan(vona::kVideoExtensions, ext) || (rflags_divx_visible() && strcasecmp(ext, "divx") == 0)) return true;
  if (scan(vona::kExtraImageExtensions, ext) || scan(vona::kImageExtensions, ext)) return true;
  return scan(vona::kAudioExtensions, ext);
}

void BM_MediaFileUrl_Library(benchmark::State& state) {
  const std::vector<std::string>& all = names();
  for (auto _ : state) {
    int media = 0;
    for (const std::string& name : all) media += playlist_is_media_file_url(name.c_str());
    benchmark::DoNotOptimize(media);
  }
  state.SetItemsProcessed(state.iterations() * kNames);
}

void BM_MediaFileUrl_LinearScan(benchmark::State& state) {
  const std::vector<std::string>& all = names();
  for (auto _ : state) {
    int media = 0;
    for (const std::string& name : all) media += linear_is_media(name.c_str());
    benchmark::DoNotOptimize(media);
  }
  state.SetItemsProcessed(state.iterations() * kNames);
}

// Both sides must agree before their times mean anything.
bool same_answers() {
  for (const std::string& name : names()) {
    if ((playlist_is_media_file_url(name.c_str()) != 0) != linear_is_media(name.c_str())) {
      fprintf(stderr, "classification differs for %s\n", name.c_str());
      return false;
    }
  }
  return true;
}

}  // namespace

BENCHMARK(BM_MediaFileUrl_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MediaFileUrl_LinearScan)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (!same_answers()) return 1;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
