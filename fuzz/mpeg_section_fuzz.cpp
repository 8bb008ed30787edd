// Feeds arbitrary packets and sections to the section checks. Every buffer is exactly as large
// as the length the checks are given, so a read past it is caught by the sanitizers.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The first 188 bytes as a packet (short inputs padded with stuffing).
  std::unique_ptr<unsigned char[]> packet(new unsigned char[MPEG_TS_PACKET_SIZE]);
  memset(packet.get(), 0xFF, MPEG_TS_PACKET_SIZE);
  memcpy(packet.get(), data, size < MPEG_TS_PACKET_SIZE ? size : MPEG_TS_PACKET_SIZE);
  int table_id = size > 0 ? (int)data[size - 1] - 1 : -1;  // -1 (any table) included
  const unsigned char* section = mpeg_utils_verify_section(packet.get(), table_id);
  if (section != nullptr) {
    int offset = (int)(section - packet.get());
    if (offset < 5 || offset >= MPEG_TS_PACKET_SIZE) abort();
    if (offset + mpeg_utils_get_section_length(section) + 3 > MPEG_TS_PACKET_SIZE) abort();
    if (!mpeg_utils_are_sections_equal(section, section)) abort();
  }

  // The whole input as an extracted section.
  std::unique_ptr<unsigned char[]> copy(new unsigned char[size ? size : 1]);
  if (size) memcpy(copy.get(), data, size);
  int available = (int)size;
  mpeg_utils_get_section_table_id(copy.get(), available);
  if (mpeg_utils_verify_extracted_section(copy.get(), -1, available, 0) &&
      mpeg_utils_calculate_crc_32(copy.get(), mpeg_utils_get_section_length(copy.get()) + 3) != 0) {
    abort();  // an intact section followed by its CRC leaves a zero register
  }
  // Comparisons take whole sections, and program map sections are keyed by bytes 3 and 4.
  if (size >= 5 && (size_t)mpeg_utils_get_section_length(copy.get()) + 3 <= size) {
    mpeg_utils_are_sections_equal(copy.get(), copy.get());
  }
  return 0;
}
