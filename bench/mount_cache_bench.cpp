// The mount table and its cache.
//  - MountTypeLookup: mount_cache_get_mount_type over 1,000,000 paths with a 200-line mount
//    table, beside a plain linear scan of the same cached entries with the same rule (no lock,
//    lengths kept): the ratio is the price of the mutex and the per-call work.
//  - ReadMountTable: reading a 10,000-line mount table with mount_utils_next_mount beside
//    glibc's getmntent on the same file.
#include <mntent.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "player/src/util/mt/mount_cache.hpp"
#include "vonautil.h"

namespace {

constexpr int kPaths = 1000000;
constexpr int kLookupTableLines = 200;
constexpr int kReadTableLines = 10000;

// A sandbox root for the fixed paths, made on first use and removed at exit.
struct Root {
  Root() {
    if (mkdtemp(&path[0]) == nullptr) abort();
    mkdir((path + "/proc").c_str(), 0755);
    setenv("VONAUTIL_ROOT", path.c_str(), 1);
  }
  ~Root() {
    remove((path + "/proc/mounts").c_str());
    remove((path + "/proc").c_str());
    remove(path.c_str());
  }
  std::string path = "/tmp/vonautil-bench-XXXXXX";
};

const std::string& root() {
  static const Root instance;
  return instance.path;
}

// A player's table grown to `lines` lines: system mounts, disks with several partitions,
// shares and network mounts, a quarter of them of types the cache ignores.
std::string mount_table(int lines) {
  const char* system[] = {"/dev/root / squashfs ro,relatime 0 0\n", "proc /proc proc rw,relatime 0 0\n",
                          "sysfs /sys sysfs rw,relatime 0 0\n", "tmpfs /tmp tmpfs rw,relatime,size=102400k 0 0\n",
                          "tmpfs /tmp/run tmpfs rw,relatime,size=4096k,mode=755 0 0\n"};
  std::string table;
  for (const char* line : system) table += line;
  char line[256];
  for (int i = 5; i < lines; ++i) {
    switch (i % 4) {
      case 0:
        snprintf(line, sizeof line, "/dev/sd%c%d /tmp/mnt/storage/sd%c%d ext3 rw,relatime,errors=continue 0 0\n",
                 'a' + i / 40 % 26, i % 10, 'a' + i / 40 % 26, i);
        break;
      case 1:
        snprintf(line, sizeof line, "/dev/sd%c%d /tmp/mnt/storage/usb%d tntfs rw,relatime,uid=0,gid=0,nls=utf8 0 0\n",
                 'a' + i / 40 % 26, i % 10, i);
        break;
      case 2:
        snprintf(line, sizeof line, "//nas%d/Movies\\040HD /tmp/mnt/smb/%d cifs rw,relatime,vers=3.0,username=guest 0 0\n",
                 i % 7, i);
        break;
      default:
        snprintf(line, sizeof line, "192.168.1.%d:/volume1/video /tmp/mnt/nfs/%d %s rw,relatime,vers=3 0 0\n", i % 250,
                 i, i % 8 == 3 ? "nfs" : "vfat");
    }
    table += line;
  }
  return table;
}

void install_table(const std::string& text) {
  FILE* file = fopen((root() + "/proc/mounts").c_str(), "w");
  if (file == nullptr) abort();
  fputs(text.c_str(), file);
  fclose(file);
}

// Paths below the table's mount points (most of them), at them, and under no mount.
const std::vector<std::string>& paths() {
  static std::vector<std::string> all;
  if (all.empty()) {
    std::vector<vona::CachedMount> mounts = vona::mount_cache_entries();
    std::mt19937 random(1);
    all.reserve(kPaths);
    for (int i = 0; i < kPaths; ++i) {
      unsigned pick = random();
      const std::string& target = mounts[pick % mounts.size()].target;
      if (pick % 16 == 0) all.push_back("/tmp/video" + std::to_string(i) + ".ts");
      else if (pick % 16 == 1) all.push_back(target);
      else all.push_back(target + "/Movies/Season " + std::to_string(pick % 9) + "/Episode " + std::to_string(i % 97) + ".mkv");
    }
  }
  return all;
}

void prepare_lookup() {
  install_table(mount_table(kLookupTableLines));
  mount_cache_update();
  paths();
}

// The documented lookup rule over a plain vector.
struct PlainEntry {
  std::string target;
  mount_type code;
};

mount_type linear_lookup(const std::vector<PlainEntry>& entries, const char* path) {
  size_t path_length = strlen(path), best_length = 0;
  const PlainEntry* best = nullptr;
  for (const PlainEntry& entry : entries) {
    if (path_length < entry.target.size() || memcmp(entry.target.data(), path, entry.target.size()) != 0) continue;
    if (path_length > best_length && path[best_length] != '/') continue;
    if (best == nullptr || entry.target.size() > best_length) {
      best = &entry;
      best_length = entry.target.size();
    }
  }
  return best ? best->code : MOUNT_TYPE_UNKNOWN;
}

void BM_MountTypeLookup_Library(benchmark::State& state) {
  prepare_lookup();
  for (auto _ : state) {
    long long sum = 0;
    for (const std::string& path : paths()) sum += mount_cache_get_mount_type(path.c_str());
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPaths);
}
BENCHMARK(BM_MountTypeLookup_Library)->Unit(benchmark::kMillisecond);

void BM_MountTypeLookup_LinearScan(benchmark::State& state) {
  prepare_lookup();
  std::vector<PlainEntry> entries;
  for (const vona::CachedMount& mount : vona::mount_cache_entries()) entries.push_back({mount.target, mount.code});
  // Both sides must agree before they are compared.
  for (size_t i = 0; i < paths().size(); i += 997) {
    if (linear_lookup(entries, paths()[i].c_str()) != mount_cache_get_mount_type(paths()[i].c_str())) abort();
  }
  for (auto _ : state) {
    long long sum = 0;
    for (const std::string& path : paths()) sum += linear_lookup(entries, path.c_str());
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * kPaths);
}
BENCHMARK(BM_MountTypeLookup_LinearScan)->Unit(benchmark::kMillisecond);

void BM_ReadMountTable_Library(benchmark::State& state) {
  install_table(mount_table(kReadTableLines));
  for (auto _ : state) {
    FILE* mounts = mount_utils_open_mounts();
    mount_entry entry;
    int count = 0;
    while (mount_utils_next_mount(mounts, &entry) == 0) ++count;
    mount_utils_close_mounts(mounts);
    if (count != kReadTableLines) abort();
  }
  state.SetItemsProcessed(state.iterations() * kReadTableLines);
}
BENCHMARK(BM_ReadMountTable_Library)->Unit(benchmark::kMillisecond);

void BM_ReadMountTable_Getmntent(benchmark::State& state) {
  install_table(mount_table(kReadTableLines));
  std::string path = root() + "/proc/mounts";
  for (auto _ : state) {
    FILE* mounts = setmntent(path.c_str(), "r");
    int count = 0;
    while (getmntent(mounts) != nullptr) ++count;
    endmntent(mounts);
    if (count != kReadTableLines) abort();
  }
  state.SetItemsProcessed(state.iterations() * kReadTableLines);
}
BENCHMARK(BM_ReadMountTable_Getmntent)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
