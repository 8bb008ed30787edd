#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>

#include "test_support.hpp"

namespace {

using Bytes = std::vector<unsigned char>;

// A bit-at-a-time CRC, written straight from the polynomial, to check the library against.
uint32_t reference_crc(const unsigned char* data, size_t length) {
  uint32_t crc = 0xFFFFFFFFu;
  for (size_t i = 0; i < length; ++i) {
    crc ^= (uint32_t)data[i] << 24;
    for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x80000000u) ? (crc << 1) ^ 0x04C11DB7u : crc << 1;
  }
  return crc;
}

// A long-form section: table id, syntax indicator, length, the body and its CRC.
Bytes make_section(unsigned char table_id, const Bytes& body, bool syntax = true) {
  size_t length = body.size() + 4;
  Bytes section(3 + body.size());
  section[0] = table_id;
  section[1] = (unsigned char)((syntax ? 0xB0 : 0x30) | (length >> 8));
  section[2] = (unsigned char)(length & 0xFF);
  std::copy(body.begin(), body.end(), section.begin() + 3);
  uint32_t crc = reference_crc(section.data(), section.size());
  for (int shift = 24; shift >= 0; shift -= 8) section.push_back((unsigned char)(crc >> shift));
  return section;
}

// A program map section: program number, version, and `extra` bytes of stream entries.
Bytes make_pmt(int program, int version, size_t extra = 9) {
  Bytes body = {(unsigned char)(program >> 8), (unsigned char)program, (unsigned char)(0xC1 | version << 1), 0, 0,
                0xE1, 0x00, 0xF0, 0x00};
  for (size_t i = 0; i < extra; ++i) body.push_back((unsigned char)(0x1B + i));
  return make_section(2, body);
}

// A 188-byte packet on the heap (so that a read past its end is caught by AddressSanitizer)
// with the payload unit start indicator, an optional adaptation field, the pointer field and
// the section; the rest is stuffing.
std::unique_ptr<unsigned char[]> make_packet(const Bytes& section, int adaptation_length = -1, int pointer = 0) {
  std::unique_ptr<unsigned char[]> packet(new unsigned char[188]);
  memset(packet.get(), 0xFF, 188);
  packet[0] = 0x47;
  packet[1] = 0x40;
  packet[2] = 0x00;
  packet[3] = adaptation_length < 0 ? 0x10 : 0x30;
  size_t offset = 4;
  if (adaptation_length >= 0) {
    packet[4] = (unsigned char)adaptation_length;
    offset = 5 + adaptation_length;
  }
  packet[offset++] = (unsigned char)pointer;
  offset += pointer;
  memcpy(packet.get() + offset, section.data(), std::min(section.size(), 188 - offset));
  return packet;
}

// The program association section as multiplexers commonly write it (one program, PMT on PID
// 0x1000), with the CRC they store.
const Bytes kPat = {0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xF0, 0x00, 0x2A, 0xB1, 0x04, 0xB2};

}  // namespace

TEST(MpegCrc, MatchesTheBitwiseDefinitionAtEveryLengthAndAlignment) {
  const unsigned char check[] = "123456789";
  EXPECT_EQ(0x0376E6E7u, mpeg_utils_calculate_crc_32(check, 9));
  EXPECT_EQ(0xFFFFFFFFu, mpeg_utils_calculate_crc_32(check, 0));
  EXPECT_EQ(0xFFFFFFFFu, mpeg_utils_calculate_crc_32(check, -5));

  std::mt19937 random(7);
  Bytes data(4096 + 16);
  for (auto& byte : data) byte = (unsigned char)random();
  for (size_t start = 0; start < 8; ++start) {
    for (size_t length = 0; length <= 70; ++length) {
      ASSERT_EQ(reference_crc(&data[start], length), mpeg_utils_calculate_crc_32(&data[start], (int)length))
          << "start " << start << " length " << length;
    }
  }
  EXPECT_EQ(reference_crc(&data[3], 4096), mpeg_utils_calculate_crc_32(&data[3], 4096));
  // A section followed by its own CRC leaves a zero register.
  EXPECT_EQ(0u, mpeg_utils_calculate_crc_32(kPat.data(), (int)kPat.size()));
}

TEST(MpegSection, HeaderFieldsAndIntegrity) {
  EXPECT_EQ(13, mpeg_utils_get_section_length(kPat.data()));
  const unsigned char long_header[] = {0x42, 0xF3, 0xFD};
  EXPECT_EQ(0x3FD, mpeg_utils_get_section_length(long_header));
  EXPECT_EQ(0x42u, mpeg_utils_get_section_table_id(long_header, 1));
  EXPECT_EQ(0xFFFFFFFFu, mpeg_utils_get_section_table_id(long_header, 0));

  int size = (int)kPat.size();
  EXPECT_EQ(1, mpeg_utils_verify_extracted_section(kPat.data(), -1, size, 1));
  EXPECT_EQ(1, mpeg_utils_verify_extracted_section(kPat.data(), 0, size + 100, 1));
  // Any changed byte before the CRC, and any changed CRC byte, is noticed.
  for (size_t i = 0; i < kPat.size(); ++i) {
    for (unsigned char flip : {0x01, 0x80, 0xFF}) {
      Bytes changed = kPat;
      changed[i] ^= flip;
      EXPECT_EQ(0, mpeg_utils_verify_extracted_section(changed.data(), -1, size, 0)) << i << " " << (int)flip;
    }
  }
  // Sections of an independent builder verify at every size a packet can hold.
  for (size_t body = 1; body <= 170; ++body) {
    Bytes section = make_section(0x42, Bytes(body, (unsigned char)body));
    ASSERT_EQ(1, mpeg_utils_verify_extracted_section(section.data(), 0x42, (int)section.size(), 1)) << body;
  }
}

TEST(MpegSection, ChecksRunInOrderAndNeverReadPastTheAvailableBytes) {
  // Fewer than 3 bytes: nothing is read at all.
  EXPECT_EQ(0, mpeg_utils_verify_extracted_section(nullptr, -1, 2, 0));
  // A length that promises more than is available fails even with a right CRC, and the
  // section is not read beyond what is available.
  Bytes section = make_section(0x02, Bytes(20, 0x11));
  std::unique_ptr<unsigned char[]> cut(new unsigned char[section.size() - 1]);
  memcpy(cut.get(), section.data(), section.size() - 1);
  EXPECT_EQ(0, mpeg_utils_verify_extracted_section(cut.get(), -1, (int)section.size() - 1, 0));
  EXPECT_EQ(0, mpeg_utils_verify_extracted_section(section.data(), -1, (int)section.size() - 1, 0));
  EXPECT_EQ(1, mpeg_utils_verify_extracted_section(section.data(), -1, (int)section.size(), 0));
  // Table id, then the syntax indicator.
  EXPECT_EQ(0, mpeg_utils_verify_extracted_section(section.data(), 0x00, (int)section.size(), 0));
  Bytes plain = make_section(0x72, Bytes(6, 0x22), false);
  EXPECT_EQ(1, mpeg_utils_verify_extracted_section(plain.data(), 0x72, (int)plain.size(), 0));
  EXPECT_EQ(0, mpeg_utils_verify_extracted_section(plain.data(), 0x72, (int)plain.size(), 1));
  // A zero length leaves no room for a CRC.
  const unsigned char empty[] = {0x00, 0xB0, 0x00};
  EXPECT_EQ(0, mpeg_utils_verify_extracted_section(empty, -1, 3, 0));
}

TEST(MpegSection, LocatesTheSectionAfterThePointerFieldAndAdaptationField) {
  auto plain = make_packet(kPat);
  EXPECT_EQ(plain.get() + 5, mpeg_utils_verify_section(plain.get(), -1));
  EXPECT_EQ(plain.get() + 5, mpeg_utils_verify_section(plain.get(), 0));
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(plain.get(), 2));

  // Adaptation field of 7 bytes: pointer field at 12, section at 13, 175 bytes for it.
  Bytes fits = make_section(0x42, Bytes(175 - 7, 0x33));
  auto adapted = make_packet(fits, 7);
  EXPECT_EQ(0, adapted[12]);
  EXPECT_EQ(adapted.get() + 13, mpeg_utils_verify_section(adapted.get(), 0x42));
  Bytes too_long = make_section(0x42, Bytes(175 - 7 + 1, 0x33));
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(make_packet(too_long, 7).get(), 0x42));

  // Refused: a later section start, no payload unit start, no sync byte, adaptation field
  // only, an adaptation field that fills the packet, a section without syntax indicator.
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(make_packet(kPat, -1, 3).get(), -1));
  const std::vector<std::vector<std::pair<int, int>>> changes = {
      {{1, 0x00}}, {{0, 0x48}}, {{3, 0x20}}, {{3, 0x30}, {4, 182}}, {{3, 0x30}, {4, 183}}, {{3, 0x30}, {4, 255}}};
  for (const auto& change : changes) {
    auto refused = make_packet(kPat);
    refused[187] = 0;
    for (auto [offset, value] : change) refused[offset] = (unsigned char)value;
    EXPECT_EQ(nullptr, mpeg_utils_verify_section(refused.get(), -1)) << change[0].first << " " << change.back().second;
  }
  Bytes no_syntax = make_section(0x00, Bytes(9, 0), false);
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(make_packet(no_syntax).get(), -1));

  EXPECT_EQ(1, mpeg_utils_verify_pmt(make_packet(make_pmt(1, 0)).get()));
  EXPECT_EQ(0, mpeg_utils_verify_pmt(plain.get()));
}

TEST(MpegSection, EqualityIgnoresVersionAndCrcButNotContent) {
  Bytes pmt = make_pmt(0x0102, 3);
  EXPECT_EQ(1, mpeg_utils_are_sections_equal(pmt.data(), make_pmt(0x0102, 4).data()));
  EXPECT_EQ(0, mpeg_utils_are_sections_equal(pmt.data(), make_pmt(0x0103, 3).data()));
  EXPECT_EQ(0, mpeg_utils_are_sections_equal(pmt.data(), make_pmt(0x0102, 3, 10).data()));  // length
  Bytes content = pmt;
  content[content.size() - 5] ^= 1;  // last byte before the CRC
  EXPECT_EQ(0, mpeg_utils_are_sections_equal(pmt.data(), content.data()));

  // Other tables: the table id extension (bytes 3 and 4) is not compared either.
  Bytes pat = kPat;
  pat[3] = 0x77;
  EXPECT_EQ(1, mpeg_utils_are_sections_equal(kPat.data(), pat.data()));
  pat = kPat;
  pat[0] = 0x01;
  EXPECT_EQ(0, mpeg_utils_are_sections_equal(kPat.data(), pat.data()));
  pat = kPat;
  pat[9] ^= 0x01;
  EXPECT_EQ(0, mpeg_utils_are_sections_equal(kPat.data(), pat.data()));
  // Below length 8 only the header counts.
  const unsigned char short_a[] = {0x40, 0xB0, 0x07, 1, 2, 3, 4, 5, 6, 7};
  const unsigned char short_b[] = {0x40, 0xB0, 0x07, 9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(1, mpeg_utils_are_sections_equal(short_a, short_b));
}

TEST(MpegPts, DifferenceAcrossTheClockWrap) {
  const long long wrap = 95443717;
  struct Case { long long a, b, expected; };
  for (const Case& c : std::vector<Case>{
           {10, 95443700, 27}, {5000, 1000, 4000}, {1000, 5000, -4000},
           // a wrapped: the window is closed below and open above.
           {0, wrap + 5000, -5000}, {4999, wrap, 4999}, {5000, wrap, 5000 - wrap},
           // b wrapped: open below and closed above, the wrap taken off the low 32 bits.
           {wrap + 4999, 0, 4999}, {wrap + 5000, 0, wrap + 5000}, {wrap + 10, 10, 0}, {wrap - 1, 0, 0xFFFFFFFFLL},
           {wrap - 5000, 0, 0x100000000LL - 5000}, {wrap - 5001, 0, wrap - 5001},
           // Far apart: the plain difference, in 64 bits.
           {0xFFFFFFFFLL, 0, 4294967295LL}, {0, 0xFFFFFFFFLL, -4294967295LL}}) {
    EXPECT_EQ(c.expected, mpeg_utils_get_difference_pts_ms((unsigned)c.a, (unsigned)c.b, 5000)) << c.a << " - " << c.b;
  }
}

using TsTool = test::SandboxTest;

TEST_F(TsTool, CheckCountsSectionsPerPidAndTable) {
  auto packet_text = [](const std::unique_ptr<unsigned char[]>& packet, int pid) {
    packet[1] = (unsigned char)(0x40 | pid >> 8);
    packet[2] = (unsigned char)pid;
    return std::string((const char*)packet.get(), 188);
  };
  std::string stream = packet_text(make_packet(kPat), 0);
  stream += "garbage that is not a packet";  // lost sync, found again at the next packet
  stream += packet_text(make_packet(make_pmt(1, 0)), 0x100);
  std::string pes = packet_text(make_packet(Bytes{0x00, 0x01, 0xE0}), 0x101);
  pes[4] = 0x00;  // payload starts with the 00 00 01 of elementary stream data
  stream += pes;
  stream += packet_text(make_packet(make_section(0x42, Bytes(400, 1))), 0x11);  // continues in the next packet
  stream += packet_text(make_packet(kPat, -1, 3), 0);                             // starts later in the payload
  Bytes broken = make_pmt(1, 0);
  broken[8] ^= 0x10;
  stream += packet_text(make_packet(broken), 0x100);
  std::string path = sandbox.path("/stream.ts");
  test::write_file(path, stream);

  std::string out;
  EXPECT_EQ(1, test::run_tool("ts check " + path, &out));
  EXPECT_EQ(
      "PID     table  intact  failed  skipped\n"
      "0x0000  0x00        2       0        0\n"
      "0x0011  0x42        0       0        1\n"
      "0x0100  0x02        1       1        0\n"
      "6 packets (1 start elementary stream data), 1 resynchronisations, 28 bytes skipped\n"
      "sections: 3 intact, 1 failed, 1 skipped\n"
      "continuity errors: 2 (PID 0x0000: 1, PID 0x0100: 1)\n",
      out);
  test::write_file(path, stream.substr(0, 188));
  EXPECT_EQ(0, test::run_tool("ts check " + path, &out));

  std::string text;
  for (int line = 0; line < 100; ++line) text += "Grid line " + std::to_string(line) + ": not a packet\n";
  test::write_file(path, text);
  EXPECT_EQ(1, test::run_tool("ts check " + path, &out, true));
  EXPECT_NE(std::string::npos, out.find("is not a transport stream")) << out;
  EXPECT_EQ(2, test::run_tool("ts check", &out));
  EXPECT_EQ(2, test::run_tool("ts verify " + path, &out));
}

// Sections are gathered across the packets of their PID in continuity-counter order; a lost
// packet fails the open section; 192-byte packets and standard input are read as well.
TEST_F(TsTool, CheckGathersSectionsAcrossPacketsAndFollowsContinuity) {
  // The sections split over packets of PID 0x11 with counters from `counter`, the first with
  // the payload unit start and pointer 0.
  auto packets = [](const Bytes& section, int counter, const Bytes& head = {}) {
    std::vector<std::string> out;
    Bytes payload = {0};
    payload.insert(payload.end(), head.begin(), head.end());
    payload.insert(payload.end(), section.begin(), section.end());
    for (size_t at = 0; at < payload.size(); at += 184) {
      std::string packet(188, '\xFF');
      packet[0] = 0x47;
      packet[1] = at == 0 ? 0x40 : 0x00;
      packet[2] = 0x11;
      packet[3] = (char)(0x10 | (counter++ & 0x0F));
      std::copy(payload.begin() + at, payload.begin() + std::min(payload.size(), at + 184), packet.begin() + 4);
      out.push_back(packet);
    }
    return out;
  };
  Bytes long_section = make_section(0x42, Bytes(500, 7));  // 507 bytes: three packets
  std::vector<std::string> whole = packets(long_section, 14, kPat);  // counters 14, 15, 0; the PAT first
  ASSERT_EQ(3u, whole.size());
  std::string stream = whole[0] + whole[0] + whole[1] + whole[2];  // the first one sent twice
  std::vector<std::string> gap = packets(long_section, 1);
  stream += gap[0] + gap[2];  // the middle packet lost
  Bytes no_crc = make_section(0x70, Bytes(5, 1), false);
  stream += packets(no_crc, 4)[0] + packets(make_section(0x42, Bytes(300, 2)), 5)[0];  // the last one cut off
  std::string path = sandbox.path("/long.ts"), out;
  test::write_file(path, stream);
  std::string expected =
      "PID     table  intact  failed  skipped\n"
      "0x0011  0x00        1       0        0\n"
      "0x0011  0x42        1       1        1\n"
      "0x0011  0x70        0       0        1\n"
      "8 packets (0 start elementary stream data), 0 resynchronisations, 0 bytes skipped\n"
      "sections: 2 intact, 1 failed, 2 skipped\n"
      "continuity errors: 1 (PID 0x0011: 1)\n";
  EXPECT_EQ(1, test::run_tool("ts check " + path, &out));
  EXPECT_EQ(expected, out);

  std::string timestamped;
  for (size_t at = 0; at < stream.size(); at += 188) timestamped += "\x12\x34\x56\x78" + stream.substr(at, 188);
  test::write_file(path, timestamped);
  EXPECT_EQ(1, test::run_tool("ts check - < " + path, &out));
  EXPECT_EQ("192-byte packets (with time stamps)\n" + expected, out);
  test::write_file(path, whole[0] + whole[1] + whole[2]);
  EXPECT_EQ(0, test::run_tool("ts check - < " + path, &out));
}
