// vonautil fw: looks into firmware upgrade files and tests file names.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "vonautil.h"

namespace tool {
namespace {

// The header's strings in the order they were written, as far as they are text.
struct HeaderLayout {
  std::vector<const char*> fixed;   // [text_b,] flash format, [text_a,] size, seed, "hwv:..."
  std::vector<const char*> params;  // "name:value"
  int filler = 0;                   // decimal filler numbers
  bool main_format = false;
};

bool is_decimal(const char* text) {
  if (*text == '\0') return false;
  for (; *text; ++text) {
    if (*text < '0' || *text > '9') return false;
  }
  return true;
}

// Reads the strings of a header; false when they are not laid out as a firmware header.
bool parse_header(const char* header, HeaderLayout& layout) {
  const char* end = header + FW_FILE_HEADER_SIZE;
  std::vector<const char*> strings = {header};
  const char* cursor = header;
  while (strings.size() < 7) {
    const char* next = fw_parse_next_zt_string(&cursor, end);
    if (next == nullptr) break;
    strings.push_back(next);
  }
  layout.main_format = strings.size() > 1 && is_main_flash_format(strings[1]);
  size_t count = layout.main_format ? 6 : 4;
  if (strings.size() < count) return false;
  layout.fixed.assign(strings.begin(), strings.begin() + count);
  const char* size = layout.fixed[count - 3];
  const char* seed = layout.fixed[count - 2];
  const char* hwv = layout.fixed[count - 1];
  if (!is_decimal(size) || !(is_decimal(seed) || (seed[0] == '-' && is_decimal(seed + 1))) ||
      strncmp(hwv, "hwv:", 4) != 0) {
    return false;
  }
  cursor = hwv;
  const char* text;
  while ((text = fw_parse_next_zt_string(&cursor, end)) != nullptr && strchr(text, ':') != nullptr) {
    layout.params.push_back(text);
  }
  for (; text != nullptr && is_decimal(text); text = fw_parse_next_zt_string(&cursor, end)) ++layout.filler;
  return true;
}

int run_inspect(const std::string& path) {
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) return failure("fw", "cannot open '" + path + "': " + strerror(errno));
  char header[FW_FILE_HEADER_SIZE];
  HeaderLayout layout;
  if (fread(header, 1, sizeof header, file) != sizeof header || !parse_header(header, layout)) {
    fclose(file);
    return failure("fw", "'" + path + "' is not a firmware file (no firmware header in its first 512 bytes)");
  }
  static const char* const kMainNames[] = {"text B", "flash format", "text A", "file size", "seed", "hardware"};
  static const char* const kOtherNames[] = {"flash format", "file size", "seed", "hardware"};
  const char* const* names = layout.main_format ? kMainNames : kOtherNames;
  for (size_t i = 0; i < layout.fixed.size(); ++i) {
    printf("%-13s %s\n", (std::string(names[i]) + ":").c_str(), layout.fixed[i]);
  }
  printf("parameters:   %zu\n", layout.params.size());
  for (const char* param : layout.params) {
    const char* colon = strchr(param, ':');
    printf("  %.*s = %s\n", (int)(colon - param), param, colon + 1);
  }
  printf("filler:       %d numbers\n", layout.filler);

  unsigned char block[1 << 16];
  unsigned int checksum = 0;
  long long body_size = 0;
  size_t n;
  while ((n = fread(block, 1, sizeof block, file)) > 0) {
    fw_checksum_block(block, (int)n, &checksum);
    body_size += (long long)n;
  }
  bool read_error = ferror(file) != 0;
  fclose(file);
  if (read_error) return failure("fw", "cannot read '" + path + "'");
  long long stated = strtoll(layout.fixed[layout.main_format ? 3 : 1], nullptr, 10) - FW_FILE_HEADER_SIZE;
  printf("body:         %lld bytes, checksum 0x%08X\n", body_size, checksum);
  if (stated != body_size) {
    return failure("fw", "the header gives a body of " + std::to_string(stated) + " bytes, the file holds " +
                             std::to_string(body_size));
  }
  return kOk;
}

int run_name(const std::vector<std::string>& args) {
  const std::string& name = args[1];
  bool yes;
  std::string what = "a firmware file name";
  if (args.size() == 3) {
    yes = fw_is_firmware_file_name_for_product_id_prefix(name.c_str(), args[2].c_str());
    what += " for product id prefix '" + args[2] + "'";
  } else {
    yes = fw_is_firmware_file_name(name.c_str());
  }
  printf("'%s' is %s%s\n", name.c_str(), yes ? "" : "not ", what.c_str());
  return yes ? kOk : kFailed;
}

int run_fw(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("fw", "missing sub-command (inspect, name)");
  if (args[0] == "inspect") {
    if (args.size() != 2) return usage_error("fw", "inspect takes one FILE");
    return run_inspect(args[1]);
  }
  if (args[0] == "name") {
    if (args.size() != 2 && args.size() != 3) return usage_error("fw", "name takes NAME and an optional PREFIX");
    return run_name(args);
  }
  return usage_error("fw", "unknown sub-command '" + args[0] + "'");
}

TOOL_COMMAND("fw", "look into firmware upgrade files",
             "Usage: vonautil fw inspect FILE\n"
             "       vonautil fw name NAME [PREFIX]\n"
             "inspect  prints the strings of the 512-byte header of the upgrade file FILE (texts, flash\n"
             "         format, file size, seed, hardware version), its parameters, and the size and byte\n"
             "         checksum of the body; exit status 1 when the body size differs from the header's.\n"
             "name     says whether NAME is a firmware file name (\"vona_firmware_\" ... \".dff\", in any\n"
             "         case), with PREFIX one for that product id prefix (\"vona_firmware_PREFIX_\" ...);\n"
             "         exit status 1 when it is not.\n",
             run_fw);

}  // namespace
}  // namespace tool
