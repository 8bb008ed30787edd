// vonautil ts: checks the table sections of a transport stream file.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "vonautil.h"

namespace tool {
namespace {

constexpr int kPacket = MPEG_TS_PACKET_SIZE;
constexpr int kTimestampedPacket = 192;  // M2TS: a 4-byte arrival time stamp before each packet
constexpr int kNullPid = 0x1FFF;

struct SectionCounts {
  long intact = 0;
  long failed = 0;
  long skipped = 0;  // sections without the syntax indicator (and so without a CRC), or cut off by the end
};

// What one packet identifier carries: its last continuity counter and packet, and the section
// being gathered across its packets.
struct PidState {
  int last_counter = -1;
  unsigned char last_packet[kPacket];
  std::vector<unsigned char> section;  // empty when no section is open
  long continuity_errors = 0;
};

struct StreamReport {
  int packet_size = kPacket;
  long packets = 0;
  long pes_starts = 0;
  long resyncs = 0;
  long long skipped_bytes = 0;
  long long size = 0;
  std::map<std::pair<int, int>, SectionCounts> sections;  // by (packet identifier, table id)
  std::map<int, PidState> pids;

  long total(long SectionCounts::*field) const {
    long sum = 0;
    for (const auto& entry : sections) sum += entry.second.*field;
    return sum;
  }
  long continuity_errors() const {
    long sum = 0;
    for (const auto& entry : pids) sum += entry.second.continuity_errors;
    return sum;
  }
};

// Files a whole section: intact when its CRC matches, skipped without the syntax indicator.
void check_section(int pid, const unsigned char* section, int length, StreamReport& report) {
  SectionCounts& counts = report.sections[{pid, section[0]}];
  if (!(section[1] & 0x80)) ++counts.skipped;
  else if (mpeg_utils_verify_extracted_section(section, -1, length, 1)) ++counts.intact;
  else ++counts.failed;
}

// Adds payload bytes to the open section of a PID; a section that is whole is checked and
// closed (bytes after it are stuffing until the next payload unit start).
void gather(int pid, PidState& state, const unsigned char* bytes, int count, StreamReport& report) {
  if (state.section.empty()) return;
  state.section.insert(state.section.end(), bytes, bytes + count);
  if (state.section.size() < 3) return;
  int length = 3 + mpeg_utils_get_section_length(state.section.data());
  if ((int)state.section.size() < length) return;
  check_section(pid, state.section.data(), length, report);
  state.section.clear();
}

// A section that was open when its bytes stopped coming (a lost packet, or a new section
// before its end) failed.
void abandon(int pid, PidState& state, StreamReport& report) {
  if (!state.section.empty()) ++report.sections[{pid, state.section[0]}].failed;
  state.section.clear();
}

// Checks the continuity counter of a packet with payload; false for a repeated packet, which
// carries nothing new.
bool continuous(const unsigned char* packet, int pid, PidState& state, StreamReport& report) {
  int counter = packet[3] & 0x0F;
  bool discontinuity = (packet[3] & 0x20) && packet[4] > 0 && (packet[5] & 0x80);
  bool first = state.last_counter < 0;
  int expected = (state.last_counter + 1) & 0x0F;
  if (!first && !discontinuity && counter == state.last_counter && memcmp(packet, state.last_packet, kPacket) == 0) {
    return false;  // a packet may be sent twice
  }
  if (!first && !discontinuity && counter != expected) {
    ++state.continuity_errors;
    abandon(pid, state, report);
  }
  state.last_counter = counter;
  memcpy(state.last_packet, packet, kPacket);
  return true;
}

// Follows the sections of one packet: the pointer field says how many bytes finish the open
// section before the next one starts; several sections may follow each other in a packet.
void check_packet(const unsigned char* packet, StreamReport& report) {
  ++report.packets;
  int pid = (packet[1] & 0x1F) << 8 | packet[2];
  int adaptation_field_control = (packet[3] >> 4) & 3;
  if (pid == kNullPid || !(adaptation_field_control & 1)) return;
  PidState& state = report.pids[pid];
  if (!continuous(packet, pid, state, report)) return;
  bool unit_start = packet[1] & 0x40;
  int offset = adaptation_field_control == 3 ? 5 + packet[4] : 4;
  if (offset >= kPacket) {
    if (unit_start) ++report.sections[{pid, -1}].failed;
    abandon(pid, state, report);
    return;
  }
  const unsigned char* payload = packet + offset;
  int size = kPacket - offset;
  if (!unit_start) {
    gather(pid, state, payload, size, report);
    return;
  }
  if (size >= 3 && payload[0] == 0 && payload[1] == 0 && payload[2] == 1) {
    ++report.pes_starts;  // audio, video or other elementary stream data, not a section
    abandon(pid, state, report);
    return;
  }
  int pointer = payload[0];
  int rest = size - 1 - pointer;
  gather(pid, state, payload + 1, std::min(pointer, size - 1), report);
  abandon(pid, state, report);  // still open: its end was lost
  const unsigned char* section = payload + 1 + pointer;
  while (rest > 0 && section[0] != 0xFF) {  // 0xFF: stuffing up to the end of the packet
    int length = rest >= 3 ? 3 + mpeg_utils_get_section_length(section) : kPacket;
    if (length > rest) {
      state.section.assign(section, section + rest);  // continues in the next packets
      break;
    }
    check_section(pid, section, length, report);
    section += length;
    rest -= length;
  }
}

// The packet size of a stream: 188, or 192 when each sync byte comes after a 4-byte time stamp.
int packet_size_of(const unsigned char* start, size_t have) {
  auto synced = [&](size_t first, size_t stride) {
    for (size_t at = first; at < have && at < first + 4 * stride; at += stride) {
      if (start[at] != MPEG_TS_SYNC_BYTE) return false;
    }
    return first < have;
  };
  return !synced(0, kPacket) && synced(4, kTimestampedPacket) ? kTimestampedPacket : kPacket;
}

// Walks the stream packet by packet. While in sync, a packet is taken wherever the sync byte
// is; after a loss of sync (counted as one resynchronisation), bytes are skipped up to a sync
// byte that is followed by the next one a packet on, or by the end of the file. "-" reads
// standard input.
bool scan_stream(const std::string& path, StreamReport& report, std::string& error) {
  int fd = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    error = "cannot open '" + path + "': " + strerror(errno);
    return false;
  }
  std::vector<unsigned char> buffer(kTimestampedPacket * 1024 + kTimestampedPacket + 1);
  size_t have = 0;
  bool eof = false;
  bool in_sync = true;
  bool first_block = true;
  size_t stride = kPacket;
  while (!eof || have > 0) {
    while (!eof && have < buffer.size()) {
      ssize_t n = read(fd, buffer.data() + have, buffer.size() - have);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        error = "cannot read '" + path + "': " + strerror(errno);
        if (fd != STDIN_FILENO) close(fd);
        return false;
      }
      if (n == 0) eof = true;
      have += (size_t)n;
      report.size += n;
    }
    size_t p = 0;
    if (first_block) {
      report.packet_size = packet_size_of(buffer.data(), have);
      stride = (size_t)report.packet_size;
      p = stride - kPacket;  // the time stamp before the first packet
      first_block = false;
    }
    // One byte more than a packet is kept in view, so that a sync byte can be confirmed by the
    // next one; only the last packet of the file goes without.
    while (have - p > stride || (eof && have - p >= (size_t)kPacket && have - p <= stride)) {
      if (buffer[p] == MPEG_TS_SYNC_BYTE && (in_sync || have - p <= stride || buffer[p + stride] == MPEG_TS_SYNC_BYTE)) {
        check_packet(&buffer[p], report);
        p += std::min(stride, have - p);
        in_sync = true;
        continue;
      }
      if (in_sync) ++report.resyncs;
      in_sync = false;
      const void* next = memchr(&buffer[p + 1], MPEG_TS_SYNC_BYTE, have - p - 1);
      size_t to = next ? (size_t)((const unsigned char*)next - buffer.data()) : have;
      report.skipped_bytes += (long long)(to - p);
      p = to;
    }
    if (eof) {  // a partial packet at the end
      report.skipped_bytes += (long long)(have - p);
      break;
    }
    memmove(buffer.data(), buffer.data() + p, have - p);
    have -= p;
  }
  if (fd != STDIN_FILENO) close(fd);
  for (auto& entry : report.pids) {  // cut off by the end of the stream
    if (!entry.second.section.empty()) ++report.sections[{entry.first, entry.second.section[0]}].skipped;
  }
  if (report.packets == 0 || report.skipped_bytes * 2 > report.size) {
    error = "'" + path + "' is not a transport stream (no run of 188- or 192-byte packets with the sync byte 0x47)";
    return false;
  }
  return true;
}

void print_report(const StreamReport& report, FILE* out) {
  fprintf(out, "PID     table  intact  failed  skipped\n");
  for (const auto& entry : report.sections) {
    char table[16] = "-";
    if (entry.first.second >= 0) snprintf(table, sizeof table, "0x%02X", entry.first.second);
    fprintf(out, "0x%04X  %-5s %7ld %7ld %8ld\n", entry.first.first, table, entry.second.intact, entry.second.failed,
            entry.second.skipped);
  }
  fprintf(out, "%ld packets (%ld start elementary stream data), %ld resynchronisations, %lld bytes skipped\n",
          report.packets, report.pes_starts, report.resyncs, report.skipped_bytes);
  fprintf(out, "sections: %ld intact, %ld failed, %ld skipped\n", report.total(&SectionCounts::intact),
          report.total(&SectionCounts::failed), report.total(&SectionCounts::skipped));
  fprintf(out, "continuity errors: %ld", report.continuity_errors());
  const char* separator = " (";
  for (const auto& entry : report.pids) {
    if (entry.second.continuity_errors == 0) continue;
    fprintf(out, "%sPID 0x%04X: %ld", separator, entry.first, entry.second.continuity_errors);
    separator = ", ";
  }
  fprintf(out, "%s\n", *separator == ',' ? ")" : "");
}

// Prints the report of one file; kOk when every checked section was intact.
int check_file(const std::string& path, FILE* out) {
  StreamReport report;
  std::string error;
  if (!scan_stream(path, report, error)) return failure("ts", error);
  if (report.packet_size != kPacket) fprintf(out, "%d-byte packets (with time stamps)\n", report.packet_size);
  print_report(report, out);
  return report.total(&SectionCounts::failed) > 0 || report.continuity_errors() > 0 ? kFailed : kOk;
}

int run_ts(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("ts", "missing sub-command (check)");
  if (args[0] != "check") return usage_error("ts", "unknown sub-command '" + args[0] + "'");
  if (args.size() != 2) return usage_error("ts", "check takes one FILE");
  return check_file(args[1], stdout);
}

TOOL_COMMAND("ts", "check the table sections of a transport stream",
             "Usage: vonautil ts check FILE\n"
             "Walks the transport stream FILE ('-': standard input) packet by packet, 188-byte\n"
             "packets or 192-byte ones with a time stamp before each (resynchronising on the sync\n"
             "byte 0x47 where needed). Per packet identifier (PID) it follows the continuity\n"
             "counters and gathers each table section across the packets that carry it; a whole\n"
             "section with the syntax indicator must match its CRC. Prints per PID and table id\n"
             "how many sections were intact and how many failed (a CRC mismatch, or bytes lost\n"
             "to a gap in the counters or to a new section before the end), and counts as skipped\n"
             "those without the syntax indicator (no CRC) and those cut off by the end of FILE.\n"
             "Packets that start elementary stream data are not sections; a packet sent twice\n"
             "counts once.\n"
             "Exit status 1 when a section failed, a continuity counter jumped, or FILE is not a\n"
             "transport stream.\n",
             run_ts);

// --- demo ----------------------------------------------------------------------------------

// One packet with the payload unit start indicator, the continuity counter, the pointer field 0
// and `section`.
void append_section_packet(std::string& stream, int pid, int counter, const std::vector<unsigned char>& body,
                           unsigned char table) {
  std::vector<unsigned char> section = {table, (unsigned char)(0xB0 | (body.size() + 4) >> 8),
                                        (unsigned char)(body.size() + 4)};
  section.insert(section.end(), body.begin(), body.end());
  unsigned int crc = mpeg_utils_calculate_crc_32(section.data(), (int)section.size());
  for (int shift = 24; shift >= 0; shift -= 8) section.push_back((unsigned char)(crc >> shift));
  std::string packet(kPacket, '\xFF');
  packet[0] = MPEG_TS_SYNC_BYTE;
  packet[1] = (char)(0x40 | pid >> 8);
  packet[2] = (char)(pid & 0xFF);
  packet[3] = (char)(0x10 | (counter & 0x0F));
  packet[4] = 0;
  std::copy(section.begin(), section.end(), packet.begin() + 5);
  stream += packet;
}

void demo_ts_check() {
  std::string path = vona::fixed_path("/demo.ts");
  std::string stream;
  for (int round = 0; round < 3; ++round) {
    // Program 1 with its program map on PID 0x0100, one H.264 video stream on PID 0x0101.
    append_section_packet(stream, 0x0000, round, {0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xE1, 0x00}, 0x00);
    append_section_packet(stream, 0x0100, round, {0x00, 0x01, 0xC1, 0x00, 0x00, 0xE1, 0x01, 0xF0, 0x00, 0x1B, 0xE1, 0x01, 0xF0, 0x00},
                          0x02);
  }
  FILE* file = fopen(path.c_str(), "wb");
  if (file == nullptr) return;
  fwrite(stream.data(), 1, stream.size(), file);
  fclose(file);
  printf("Wrote %zu packets (program association and program map, three times each) to %s\n",
         stream.size() / kPacket, path.c_str());
  printf("$ vonautil ts check demo.ts\n");
  fflush(stdout);
  printf("exit status %d\n", check_file(path, stdout));

  file = fopen(path.c_str(), "r+b");
  if (file == nullptr) return;
  fseek(file, kPacket + 17, SEEK_SET);  // the stream type in the first program map section
  fputc(0x24, file);
  fclose(file);
  printf("\nChanged one byte of the first program map section (its stream type).\n$ vonautil ts check demo.ts\n");
  fflush(stdout);
  printf("exit status %d\n", check_file(path, stdout));
}

TOOL_DEMO_STEP(60, "MPEG sections: checking a transport stream", demo_ts_check);

}  // namespace
}  // namespace tool
