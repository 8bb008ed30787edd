#include "player/src/util/mpeg_utils.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace {

constexpr uint32_t kPolynomial = 0x04C11DB7u;

// Length of the 33-bit 90 kHz presentation clock in milliseconds: 2^33 / 90, truncated.
constexpr long long kPtsWrapMs = 95443717;

// kCrcTables[0] is the classic byte-at-a-time table: the CRC register after shifting one byte
// through it. kCrcTables[k][b] is the contribution of byte b followed by k zero bytes, which
// lets the main loop fold eight bytes into the register with eight independent look-ups.
using CrcTables = std::array<std::array<uint32_t, 256>, 8>;

constexpr CrcTables make_crc_tables() {
  CrcTables tables{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte << 24;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x80000000u) ? (crc << 1) ^ kPolynomial : crc << 1;
    tables[0][byte] = crc;
  }
  for (std::size_t k = 1; k < tables.size(); ++k) {
    for (uint32_t byte = 0; byte < 256; ++byte) {
      uint32_t previous = tables[k - 1][byte];
      tables[k][byte] = (previous << 8) ^ tables[0][previous >> 24];
    }
  }
  return tables;
}

constexpr CrcTables kCrcTables = make_crc_tables();

inline uint32_t crc_byte(uint32_t crc, uint8_t byte) { return (crc << 8) ^ kCrcTables[0][(crc >> 24) ^ byte]; }

inline uint32_t read_be32(const unsigned char* p) {
  return (uint32_t)p[0] << 24 | (uint32_t)p[1] << 16 | (uint32_t)p[2] << 8 | (uint32_t)p[3];
}

}  // namespace

unsigned int mpeg_utils_calculate_crc_32(const unsigned char* data, int length) {
  uint32_t crc = 0xFFFFFFFFu;
  const unsigned char* p = data;
  const unsigned char* end = length > 0 ? data + length : data;
  const auto& t = kCrcTables;
  while (end - p >= 8) {
    uint32_t high = crc ^ read_be32(p);
    crc = t[7][high >> 24] ^ t[6][(high >> 16) & 0xFF] ^ t[5][(high >> 8) & 0xFF] ^ t[4][high & 0xFF] ^
          t[3][p[4]] ^ t[2][p[5]] ^ t[1][p[6]] ^ t[0][p[7]];
    p += 8;
  }
  while (p < end) crc = crc_byte(crc, *p++);
  return crc;
}

int mpeg_utils_get_section_length(const unsigned char* section) { return (section[1] & 0x0F) << 8 | section[2]; }

unsigned int mpeg_utils_get_section_table_id(const unsigned char* section, int available) {
  return available > 0 ? section[0] : 0xFFFFFFFFu;
}

int mpeg_utils_verify_extracted_section(const unsigned char* section, int table_id, int available,
                                        int require_syntax) {
  if (available < 3) return 0;
  int length = mpeg_utils_get_section_length(section);
  if (available <= length + 2) return 0;
  if (table_id != -1 && section[0] != table_id) return 0;
  if (require_syntax && !(section[1] & 0x80)) return 0;
  // A zero length leaves no room for a CRC; its stored CRC would start before the section.
  if (length < 1) return 0;
  return mpeg_utils_calculate_crc_32(section, length - 1) == read_be32(section + length - 1);
}

const unsigned char* mpeg_utils_verify_section(const unsigned char* packet, int table_id) {
  if (packet[0] != MPEG_TS_SYNC_BYTE || !(packet[1] & 0x40)) return nullptr;
  int adaptation_field_control = (packet[3] >> 4) & 3;
  if (adaptation_field_control == 2) return nullptr;
  int pointer_offset = adaptation_field_control == 3 ? 5 + packet[4] : 4;
  // An adaptation field that claims the whole packet leaves no pointer field to read.
  if (pointer_offset >= MPEG_TS_PACKET_SIZE) return nullptr;
  if (packet[pointer_offset] != 0) return nullptr;
  const unsigned char* section = packet + pointer_offset + 1;
  int available = MPEG_TS_PACKET_SIZE - 1 - pointer_offset;
  return mpeg_utils_verify_extracted_section(section, table_id, available, 1) ? section : nullptr;
}

int mpeg_utils_verify_pmt(const unsigned char* packet) { return mpeg_utils_verify_section(packet, 2) != nullptr; }

int mpeg_utils_are_sections_equal(const unsigned char* a, const unsigned char* b) {
  int header = a[0] == 2 ? 5 : 3;  // a program map section is also keyed by its program number
  for (int i = 0; i < header; ++i) {
    if (a[i] != b[i]) return 0;
  }
  int length = mpeg_utils_get_section_length(a);
  if (length < 8) return 1;
  for (int i = 6; i < length - 1; ++i) {
    if (a[i] != b[i]) return 0;
  }
  return 1;
}

long long mpeg_utils_get_difference_pts_ms(unsigned int a, unsigned int b, int window) {
  long long difference = (long long)a - (long long)b;
  long long after_wrap_of_a = difference + kPtsWrapMs;
  if (after_wrap_of_a >= -window && after_wrap_of_a < window) return after_wrap_of_a;
  long long after_wrap_of_b = difference - (kPtsWrapMs - 1);
  if (after_wrap_of_b <= -window || after_wrap_of_b > window) return difference;
  // The wrap is taken off the low 32 bits alone; the upper half of the difference stays.
  uint64_t bits = (uint64_t)difference;
  uint32_t low = (uint32_t)bits - (uint32_t)kPtsWrapMs;
  return (long long)((bits & 0xFFFFFFFF00000000ull) | low);
}
