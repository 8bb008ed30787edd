// The section CRC beside a plain byte-at-a-time table CRC, on single packets and on 1 MB
// buffers. `vonautil ts check` as a whole process beside `cat` is in bench/whole_process.py.
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "vonautil.h"

namespace {

// The classic CRC loop: one table look-up per byte.
struct ByteTableCrc {
  uint32_t table[256];
  ByteTableCrc() {
    for (uint32_t byte = 0; byte < 256; ++byte) {
      uint32_t crc = byte << 24;
      for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x80000000u) ? (crc << 1) ^ 0x04C11DB7u : crc << 1;
      table[byte] = crc;
    }
  }
  uint32_t operator()(const unsigned char* data, size_t length) const {
    uint32_t crc = 0xFFFFFFFFu;
    for (size_t i = 0; i < length; ++i) crc = (crc << 8) ^ table[(crc >> 24) ^ data[i]];
    return crc;
  }
};

const std::vector<unsigned char>& random_bytes() {
  static std::vector<unsigned char> data = [] {
    std::vector<unsigned char> bytes(1 << 20);
    std::mt19937 random(1);
    for (auto& byte : bytes) byte = (unsigned char)random();
    return bytes;
  }();
  return data;
}

void BM_Crc_Library(benchmark::State& state) {
  const auto& data = random_bytes();
  int length = (int)state.range(0);
  for (auto _ : state) benchmark::DoNotOptimize(mpeg_utils_calculate_crc_32(data.data(), length));
  state.SetBytesProcessed(state.iterations() * length);
}

void BM_Crc_ByteTable(benchmark::State& state) {
  static const ByteTableCrc crc;
  const auto& data = random_bytes();
  size_t length = (size_t)state.range(0);
  for (auto _ : state) benchmark::DoNotOptimize(crc(data.data(), length));
  state.SetBytesProcessed(state.iterations() * (int64_t)length);
}

BENCHMARK(BM_Crc_Library)->Arg(188)->Arg(1 << 20);
BENCHMARK(BM_Crc_ByteTable)->Arg(188)->Arg(1 << 20);

}  // namespace

BENCHMARK_MAIN();
