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

struct SectionCounts {
  long intact = 0;
  long failed = 0;
  long skipped = 0;  // sections a single packet cannot prove: see the help text
};

struct StreamReport {
  long packets = 0;
  long pes_starts = 0;
  long resyncs = 0;
  long long skipped_bytes = 0;
  long long size = 0;
  std::map<std::pair<int, int>, SectionCounts> sections;  // by (packet identifier, table id)

  long total(long SectionCounts::*field) const {
    long sum = 0;
    for (const auto& entry : sections) sum += entry.second.*field;
    return sum;
  }
};

// Files the section that starts in this packet, if any, under its packet identifier and table
// id (-1 when the packet is too broken to show one).
void check_packet(const unsigned char* packet, StreamReport& report) {
  ++report.packets;
  int pid = (packet[1] & 0x1F) << 8 | packet[2];
  int adaptation_field_control = (packet[3] >> 4) & 3;
  if (!(packet[1] & 0x40) || pid == 0x1FFF || !(adaptation_field_control & 1)) return;
  int pointer_offset = adaptation_field_control == 3 ? 5 + packet[4] : 4;
  if (pointer_offset >= kPacket) {
    ++report.sections[{pid, -1}].failed;
    return;
  }
  const unsigned char* payload = packet + pointer_offset;
  if (kPacket - pointer_offset >= 3 && payload[0] == 0 && payload[1] == 0 && payload[2] == 1) {
    ++report.pes_starts;  // audio, video or other elementary stream data, not a section
    return;
  }
  // The pointer field says how many bytes of a previous section come before the new one.
  int pointer = payload[0];
  int available = kPacket - pointer_offset - 1 - pointer;
  const unsigned char* section = payload + 1 + pointer;
  if (available < 1 || section[0] == 0xFF) return;  // stuffing, no section starts here
  SectionCounts& counts = report.sections[{pid, section[0]}];
  if (mpeg_utils_verify_section(packet, -1) != nullptr) {
    ++counts.intact;
  } else if (pointer != 0 || available < 3 || !(section[1] & 0x80) ||
             mpeg_utils_get_section_length(section) + 3 > available) {
    ++counts.skipped;
  } else {
    ++counts.failed;
  }
}

// Walks the stream packet by packet. While in sync, a packet is taken wherever the sync byte
// is; after a loss of sync (counted as one resynchronisation), bytes are skipped up to a sync
// byte that is followed by the next one 188 bytes on, or by the end of the file.
bool scan_stream(const std::string& path, StreamReport& report, std::string& error) {
  int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) {
    error = "cannot open '" + path + "': " + strerror(errno);
    return false;
  }
  std::vector<unsigned char> buffer(kPacket * 4096 + kPacket + 1);
  size_t have = 0;
  bool eof = false;
  bool in_sync = true;
  while (!eof || have > 0) {
    while (!eof && have < buffer.size()) {
      ssize_t n = read(fd, buffer.data() + have, buffer.size() - have);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        error = "cannot read '" + path + "': " + strerror(errno);
        close(fd);
        return false;
      }
      if (n == 0) eof = true;
      have += (size_t)n;
      report.size += n;
    }
    size_t p = 0;
    // One byte more than a packet is kept in view, so that a sync byte can be confirmed by the
    // next one; only the last packet of the file goes without.
    while (have - p > (size_t)kPacket || (eof && have - p == (size_t)kPacket)) {
      if (buffer[p] == MPEG_TS_SYNC_BYTE &&
          (in_sync || have - p == (size_t)kPacket || buffer[p + kPacket] == MPEG_TS_SYNC_BYTE)) {
        check_packet(&buffer[p], report);
        p += kPacket;
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
  close(fd);
  if (report.packets == 0 || report.skipped_bytes * 2 > report.size) {
    error = "'" + path + "' is not a transport stream (no run of 188-byte packets that start with the sync byte 0x47)";
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
}

// Prints the report of one file; kOk when every checked section was intact.
int check_file(const std::string& path, FILE* out) {
  StreamReport report;
  std::string error;
  if (!scan_stream(path, report, error)) return failure("ts", error);
  print_report(report, out);
  return report.total(&SectionCounts::failed) > 0 ? kFailed : kOk;
}

int run_ts(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("ts", "missing sub-command (check)");
  if (args[0] != "check") return usage_error("ts", "unknown sub-command '" + args[0] + "'");
  if (args.size() != 2) return usage_error("ts", "check takes one FILE");
  return check_file(args[1], stdout);
}

TOOL_COMMAND("ts", "check the table sections of a transport stream",
             "Usage: vonautil ts check FILE\n"
             "Walks the transport stream FILE packet by packet (resynchronising on the sync byte\n"
             "0x47 where needed) and checks each table section that starts in a packet: the\n"
             "section must follow the pointer field, carry the syntax indicator and match its CRC.\n"
             "Prints per packet identifier (PID) and table id how many sections were intact and\n"
             "how many failed. Sections that one packet cannot prove are counted as skipped: those\n"
             "that start later in the payload, continue into the next packet, or have no syntax\n"
             "indicator (and so no CRC). Packets that start elementary stream data are not sections.\n"
             "Exit status 1 when a section failed or FILE is not a transport stream.\n",
             run_ts);

// --- demo ----------------------------------------------------------------------------------

// One packet with the payload unit start indicator, the pointer field 0 and `section`.
void append_section_packet(std::string& stream, int pid, const std::vector<unsigned char>& body, unsigned char table) {
  std::vector<unsigned char> section = {table, (unsigned char)(0xB0 | (body.size() + 4) >> 8),
                                        (unsigned char)(body.size() + 4)};
  section.insert(section.end(), body.begin(), body.end());
  unsigned int crc = mpeg_utils_calculate_crc_32(section.data(), (int)section.size());
  for (int shift = 24; shift >= 0; shift -= 8) section.push_back((unsigned char)(crc >> shift));
  std::string packet(kPacket, '\xFF');
  packet[0] = MPEG_TS_SYNC_BYTE;
  packet[1] = (char)(0x40 | pid >> 8);
  packet[2] = (char)(pid & 0xFF);
  packet[3] = 0x10;
  packet[4] = 0;
  std::copy(section.begin(), section.end(), packet.begin() + 5);
  stream += packet;
}

void demo_ts_check() {
  std::string path = vona::fixed_path("/demo.ts");
  std::string stream;
  for (int round = 0; round < 3; ++round) {
    // Program 1 with its program map on PID 0x0100, one H.264 video stream on PID 0x0101.
    append_section_packet(stream, 0x0000, {0x00, 0x01, 0xC1, 0x00, 0x00, 0x00, 0x01, 0xE1, 0x00}, 0x00);
    append_section_packet(stream, 0x0100, {0x00, 0x01, 0xC1, 0x00, 0x00, 0xE1, 0x01, 0xF0, 0x00, 0x1B, 0xE1, 0x01, 0xF0, 0x00},
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
