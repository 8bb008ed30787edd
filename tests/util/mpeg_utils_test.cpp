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
  Bytes section = {table_id, (unsigned char)((syntax ? 0xB0 : 0x30) | (length >> 8)), (unsigned char)length};
  for (unsigned char byte : body) section.push_back(byte);  // (an insert trips a false -O3 bounds warning)
  uint32_t crc = reference_crc(section.data(), section.size());
  for (int shift = 24; shift >= 0; shift -= 8) section.push_back((unsigned char)(crc >> shift));
  return section;
}

// A program map section: program number and version, one H.264 stream on PID 0x101.
Bytes make_pmt(int program, int version) {
  return make_section(2, {(unsigned char)(program >> 8), (unsigned char)program, (unsigned char)(0xC1 | version << 1),
                          0, 0, 0xE1, 0x00, 0xF0, 0x00, 0x1B, 0xE1, 0x01, 0xF0, 0x00});
}

// A copy of `bytes` on the heap, so that a read past its end is caught by AddressSanitizer.
template <class Container>
std::unique_ptr<unsigned char[]> on_heap(const Container& bytes) {
  std::unique_ptr<unsigned char[]> copy(new unsigned char[bytes.size()]);
  std::copy(bytes.begin(), bytes.end(), copy.get());
  return copy;
}

// The packets of `pid` that carry `sections` (one after the other), with continuity counters from
// `counter`: the first with the payload unit start, an adaptation field of `adaptation` bytes (none
// when negative) and the pointer field `pointer`, followed by as many stuffing bytes. The rest of
// the last packet is stuffing.
std::vector<std::string> ts_packets(const Bytes& sections, int pid = 0, int counter = 0, int pointer = 0,
                                    int adaptation = -1) {
  std::string payload = (char)pointer + std::string(pointer, '\xFF') + std::string(sections.begin(), sections.end());
  std::vector<std::string> packets;
  for (size_t at = 0; at < payload.size(); adaptation = -1) {
    std::string packet = {0x47, (char)((at == 0 ? 0x40 : 0x00) | pid >> 8), (char)pid,
                          (char)((adaptation < 0 ? 0x10 : 0x30) | (counter++ & 15))};
    if (adaptation >= 0) packet += (char)adaptation + std::string(adaptation, '\xFF');
    size_t taken = std::min(payload.size() - at, 188 - packet.size());
    packet += payload.substr(at, taken);
    at += taken;
    packets.push_back(packet.append(188 - packet.size(), '\xFF'));
  }
  return packets;
}

// The program association section as multiplexers commonly write it (one program, PMT on PID
// 0x1000), with the CRC they store.
const Bytes kPat = {0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xF0, 0x00, 0x2A, 0xB1, 0x04, 0xB2};

}  // namespace

TEST(MpegCrc, MatchesTheBitwiseDefinitionAtEveryLengthAndAlignment) {
  const unsigned char check[] = "123456789";
  EXPECT_EQ(0x0376E6E7u, mpeg_utils_calculate_crc_32(check, 9));
  EXPECT_EQ(0xFFFFFFFFu, mpeg_utils_calculate_crc_32(check, -5));
  std::mt19937 random(7);
  Bytes data(4096 + 16);
  for (auto& byte : data) byte = (unsigned char)random();
  for (size_t start = 0; start < 8; ++start) {
    for (size_t length : {0, 1, 7, 8, 9, 15, 16, 17, 31, 64, 70, 4096}) {
      ASSERT_EQ(reference_crc(&data[start], length), mpeg_utils_calculate_crc_32(&data[start], (int)length))
          << "start " << start << " length " << length;
    }
  }
}

TEST(MpegSection, HeaderFieldsAndChecksInOrderWithinTheAvailableBytes) {
  const unsigned char long_header[] = {0x42, 0xF3, 0xFD};
  EXPECT_EQ(0x3FD, mpeg_utils_get_section_length(long_header));
  EXPECT_EQ(0x42u, mpeg_utils_get_section_table_id(long_header, 1));
  EXPECT_EQ(0xFFFFFFFFu, mpeg_utils_get_section_table_id(long_header, 0));

  // Each row's bytes lie on the heap, exactly as many as given.
  const Bytes section = make_section(0x02, Bytes(20, 0x11)), plain = make_section(0x72, Bytes(6, 0x22), false);
  const int size = (int)section.size();
  struct Case { Bytes bytes; int table_id, available, require_syntax, expected; };
  for (const Case& c : std::vector<Case>{
           {kPat, -1, (int)kPat.size() + 100, 1, 1}, {{}, -1, 2, 0, 0},  // fewer than 3 bytes: nothing is read
           // A length that promises more than is available fails even with a right CRC.
           {Bytes(section.begin(), section.end() - 1), -1, size - 1, 0, 0}, {section, -1, size - 1, 0, 0},
           {section, -1, size, 0, 1}, {section, 0x00, size, 0, 0},  // then the table id,
           {plain, 0x72, (int)plain.size(), 0, 1}, {plain, 0x72, (int)plain.size(), 1, 0},  // the syntax
           {{0x00, 0xB0, 0x00}, -1, 3, 0, 0}}) {  // a zero length leaves no room for a CRC
    EXPECT_EQ(c.expected, mpeg_utils_verify_extracted_section(on_heap(c.bytes).get(), c.table_id, c.available,
                                                              c.require_syntax))
        << c.bytes.size() << " " << c.table_id << " " << c.available << " " << c.require_syntax;
  }
}

TEST(MpegSection, LocatesTheSectionAfterThePointerFieldAndAdaptationField) {
  auto packet = [](const Bytes& section, int pointer = 0, int adaptation = -1) {
    return on_heap(ts_packets(section, 0, 0, pointer, adaptation)[0]);
  };
  auto plain = packet(kPat);
  EXPECT_EQ(plain.get() + 5, mpeg_utils_verify_section(plain.get(), 0));
  // Adaptation field of 7 bytes: pointer field at 12, section at 13, 175 bytes for it.
  auto adapted = packet(make_section(0x42, Bytes(175 - 7, 0x33)), 0, 7);
  EXPECT_EQ(adapted.get() + 13, mpeg_utils_verify_section(adapted.get(), 0x42));
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(packet(make_section(0x42, Bytes(169, 0x33)), 0, 7).get(), 0x42));
  EXPECT_EQ(1, mpeg_utils_verify_pmt(packet(make_pmt(1, 0)).get()));
  EXPECT_EQ(0, mpeg_utils_verify_pmt(plain.get()));

  // Refused: a later section start, a section without syntax indicator, no payload unit start,
  // no sync byte, adaptation field only, an adaptation field that fills the packet.
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(packet(kPat, 3).get(), -1));
  EXPECT_EQ(nullptr, mpeg_utils_verify_section(packet(make_section(0x00, Bytes(9, 0), false)).get(), -1));
  const std::vector<std::vector<std::pair<int, int>>> changes = {
      {{1, 0x00}}, {{0, 0x48}}, {{3, 0x20}}, {{3, 0x30}, {4, 182}}, {{3, 0x30}, {4, 183}}, {{3, 0x30}, {4, 255}}};
  for (const auto& change : changes) {
    auto refused = packet(kPat);
    refused[187] = 0;
    for (auto [offset, value] : change) refused[offset] = (unsigned char)value;
    EXPECT_EQ(nullptr, mpeg_utils_verify_section(refused.get(), -1)) << change[0].first << " " << change.back().second;
  }
}

// Equal sections may differ in version and CRC (and in the table id extension, but for a
// program map section, whose program number it is); below length 8 only the header counts.
TEST(MpegSection, EqualityIgnoresVersionAndCrcButNotContent) {
  auto changed = [](Bytes bytes, size_t at, unsigned char value) { return bytes[at] = value, bytes; };
  const Bytes pmt = make_pmt(0x0102, 3);
  struct Case { Bytes a, b; int expected; };
  for (const Case& c : std::vector<Case>{
           {pmt, make_pmt(0x0102, 4), 1}, {pmt, make_pmt(0x0103, 3), 0}, {pmt, changed(pmt, 2, pmt[2] + 1), 0},
           {pmt, changed(pmt, pmt.size() - 5, pmt[pmt.size() - 5] ^ 1), 0},  // the last byte before the CRC
           {kPat, changed(kPat, 3, 0x77), 1}, {kPat, changed(kPat, 0, 0x01), 0}, {kPat, changed(kPat, 9, 0), 0},
           {{0x40, 0xB0, 0x07, 1, 2, 3, 4, 5, 6, 7}, {0x40, 0xB0, 0x07, 9, 9, 9, 9, 9, 9, 9}, 1},
           {{0x40, 0xB0, 0x08, 1, 2, 3, 4, 5, 6, 7, 8}, {0x40, 0xB0, 0x08, 1, 2, 3, 9, 5, 6, 7, 8}, 0}}) {
    EXPECT_EQ(c.expected, mpeg_utils_are_sections_equal(c.a.data(), c.b.data())) << c.a.size() << " " << +c.b[0];
  }
}

TEST(MpegPts, DifferenceAcrossTheClockWrap) {
  const long long wrap = 95443717;
  struct Case { long long a, b, expected; };
  for (const Case& c : std::vector<Case>{
           // Near or far apart without a wrap: the plain difference, in 64 bits.
           {1000, 5000, -4000}, {0xFFFFFFFFLL, 0, 4294967295LL}, {0, 0xFFFFFFFFLL, -4294967295LL},
           // a wrapped: the window is closed below and open above.
           {10, 95443700, 27}, {0, wrap + 5000, -5000}, {4999, wrap, 4999}, {5000, wrap, 5000 - wrap},
           // b wrapped: open below and closed above, the wrap taken off the low 32 bits.
           {wrap + 4999, 0, 4999}, {wrap + 5000, 0, wrap + 5000}, {wrap + 10, 10, 0}, {wrap - 1, 0, 0xFFFFFFFFLL},
           {wrap - 5000, 0, 0x100000000LL - 5000}, {wrap - 5001, 0, wrap - 5001}}) {
    EXPECT_EQ(c.expected, mpeg_utils_get_difference_pts_ms((unsigned)c.a, (unsigned)c.b, 5000)) << c.a << " - " << c.b;
  }
}

using TsTool = test::SandboxTest;

// Sections are counted per PID and table; they are gathered across the packets of their PID
// in continuity-counter order, and a lost packet fails the open section.
TEST_F(TsTool, CheckCountsSectionsPerPidAndTable) {
  Bytes long_section = make_section(0x42, Bytes(500, 7)), sections = kPat, broken = make_pmt(1, 0);
  sections.insert(sections.end(), long_section.begin(), long_section.end());
  broken[8] ^= 0x10;
  // 523 bytes: three packets, with the counters 14, 15 and 0.
  std::vector<std::string> whole = ts_packets(sections, 0x11, 14), gap = ts_packets(long_section, 0x11, 1);
  const std::vector<std::string> packets = {
      whole[0], whole[0], whole[1], whole[2],  // the first one sent twice
      ts_packets(make_pmt(1, 0), 0x100)[0], ts_packets({0x00, 0x01, 0xE0}, 0x101)[0],  // elementary stream data
      gap[0], gap[2], ts_packets(make_section(0x70, Bytes(5, 1), false), 0x11, 4)[0],  // the middle packet lost
      ts_packets(kPat, 0x11, 5, 3)[0], ts_packets(broken, 0x100, 0)[0],  // a later section start, a repeated counter
      ts_packets(make_section(0x42, Bytes(300, 2)), 0x11, 6)[0],        // the last one cut off
      ts_packets({}, 0x12, 0, 0, 183)[0]};  // a section start, but the adaptation field fills the packet
  // 192-byte packets (with time stamps), read from standard input.
  std::string stream, path = sandbox.path("/stream.ts"), out;
  for (size_t i = 0; i < packets.size(); ++i) {
    stream += "\x12\x34\x56\x78";
    if (i == 4) stream += '?';  // a stray byte before the sync byte: lost sync, found again right after it
    stream += packets[i];
  }
  test::write_file(path, stream);
  EXPECT_EQ(1, test::run_tool("ts check - < " + path, &out));
  EXPECT_EQ("192-byte packets (with time stamps)\n"
            "PID     table  intact  failed  skipped\n"
            "0x0011  0x00        2       0        0\n"
            "0x0011  0x42        1       1        1\n"
            "0x0011  0x70        0       0        1\n"
            "0x0012  -           0       1        0\n"
            "0x0100  0x02        1       1        0\n"
            "13 packets (1 start elementary stream data), 1 resynchronisations, 1 bytes skipped\n"
            "sections: 4 intact, 3 failed, 2 skipped\n"
            "continuity errors: 2 (PID 0x0011: 1, PID 0x0100: 1)\n",
            out);

  std::string text, good = sandbox.path("/good.ts");
  for (int line = 0; line < 100; ++line) text += "Grid line " + std::to_string(line) + ": not a packet\n";
  test::write_file(path, text);
  test::write_file(good, whole[0] + whole[1] + whole[2]);
  test::expect_tool({{"ts check " + good, 0, "sections: 2 intact, 0 failed, 0 skipped\ncontinuity errors: 0\n"},
                     {"ts check " + path, 1, "is not a transport stream"}, {"ts verify " + path, 2, ""}});
}
