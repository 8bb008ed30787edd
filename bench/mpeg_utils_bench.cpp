// The section CRC beside a plain byte-at-a-time table CRC, on single packets and on 1 MB
// buffers; and `vonautil ts check` on a 100 MB stream beside a plain read of the same file.
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

// A 100 MB stream in a temporary directory, removed at exit: a program association and a
// program map section every 50 packets, the rest video packets (one in ten starting a new
// elementary stream packet) with random payload.
struct Stream {
  std::string dir;
  std::string path;
  long long size = 0;
  Stream() {
    std::string pattern = "/tmp/vonautil-bench-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) return;
    dir = pattern;
    path = dir + "/stream.ts";
    FILE* file = fopen(path.c_str(), "wb");
    if (file == nullptr) return;
    std::mt19937 random(2);
    std::vector<unsigned char> packet(188);
    const long long target = 100LL << 20;
    for (long n = 0; size + 188 <= target; ++n, size += 188) {
      for (auto& byte : packet) byte = (unsigned char)random();
      packet[0] = 0x47;
      packet[3] = 0x10;
      if (n % 50 < 2) {
        fill_section(packet, n % 50 == 0 ? 0x0000 : 0x0100, n % 50 == 0 ? 0x00 : 0x02);
      } else {
        bool start = n % 10 == 2;
        packet[1] = (unsigned char)((start ? 0x40 : 0x00) | 0x01);
        packet[2] = 0x01;
        if (start) packet[4] = 0, packet[5] = 0, packet[6] = 1, packet[7] = 0xE0;
      }
      fwrite(packet.data(), 1, packet.size(), file);
    }
    fclose(file);
  }
  ~Stream() {
    if (!path.empty()) unlink(path.c_str());
    if (!dir.empty()) rmdir(dir.c_str());
  }
  static void fill_section(std::vector<unsigned char>& packet, int pid, unsigned char table) {
    static const unsigned char kBodies[2][14] = {{0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xE1, 0x00},
                                                 {0x00, 0x01, 0xC1, 0x00, 0x00, 0xE1, 0x01, 0xF0, 0x00, 0x1B, 0xE1,
                                                  0x01, 0xF0, 0x00}};
    int body = table == 0 ? 9 : 14;
    packet[1] = (unsigned char)(0x40 | pid >> 8);
    packet[2] = (unsigned char)pid;
    packet[4] = 0;
    unsigned char* section = &packet[5];
    section[0] = table;
    section[1] = 0xB0;
    section[2] = (unsigned char)(body + 4);
    for (int i = 0; i < body; ++i) section[3 + i] = kBodies[table == 0 ? 0 : 1][i];
    uint32_t crc = mpeg_utils_calculate_crc_32(section, 3 + body);
    for (int i = 0; i < 4; ++i) section[3 + body + i] = (unsigned char)(crc >> (24 - 8 * i));
    for (size_t i = 5 + 3 + body + 4; i < packet.size(); ++i) packet[i] = 0xFF;
  }
};

const Stream& stream() {
  static Stream s;
  return s;
}

void BM_TsCheck_Tool(benchmark::State& state) {
  const Stream& s = stream();
  std::string command = std::string(VONAUTIL_TOOL) + " ts check " + s.path + " >/dev/null";
  for (auto _ : state) {
    if (system(command.c_str()) != 0) state.SkipWithError("vonautil ts check failed");
  }
  state.SetBytesProcessed(state.iterations() * s.size);
}

void BM_TsCheck_PlainRead(benchmark::State& state) {
  const Stream& s = stream();
  std::vector<unsigned char> buffer(1 << 20);
  for (auto _ : state) {
    int fd = open(s.path.c_str(), O_RDONLY);
    while (read(fd, buffer.data(), buffer.size()) > 0) benchmark::DoNotOptimize(buffer.data());
    close(fd);
  }
  state.SetBytesProcessed(state.iterations() * s.size);
}

BENCHMARK(BM_TsCheck_Tool)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_TsCheck_PlainRead)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
