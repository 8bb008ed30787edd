// vonautil text: convert text between encodings, guess a file's encoding, sort lines the way
// the player sorts names.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "command.hpp"
#include "lines.hpp"
#include "player/src/util/mt/auto_enc.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char kName[] = "text";
constexpr int kEncodingCount = 13;
const char kBom[] = "\xEF\xBB\xBF";

// The name in lower case without '-', '_' and blanks: "UTF-8" and "utf8" are one name.
std::string folded(const std::string& name) {
  std::string out;
  for (char c : name) {
    if (c != '-' && c != '_' && c != ' ') out += (char)tolower((unsigned char)c);
  }
  return out;
}

// The encoding number of a name as encoding_to_string gives it, in any case and with the
// usual aliases of iconv and the code page names, or -1.
int encoding_by_name(const std::string& name) {
  static const struct {
    const char* alias;
    const char* name;
  } kAliases[] = {{"utf8", "utf8"},     {"cp950", "big5"},    {"big5", "big5"},     {"euccn", "gb2312"},
                  {"gb2312", "gb2312"}, {"euckr", "euckr"},   {"ksc5601", "euckr"}, {"ksc56011987", "euckr"}};
  std::string key = folded(name);
  for (const char* prefix : {"windows", "win", "cp"}) {  // windows-1251, win1251, CP1251
    if (key.rfind(prefix, 0) == 0 && key.size() == strlen(prefix) + 4) key = "cp" + key.substr(strlen(prefix));
  }
  for (const auto& alias : kAliases) {
    if (key == alias.alias) key = alias.name;
  }
  for (int enc = 0; enc < kEncodingCount; ++enc) {
    if (key == encoding_to_string(enc)) return enc;
  }
  return -1;
}

std::string encoding_names() {
  std::string names;
  for (int enc = 0; enc < kEncodingCount; ++enc) names += std::string(enc ? ", " : "") + encoding_to_string(enc);
  return names;
}

bool known_language(const std::string& language) {
  for (int i = 0; vona::interface_language_name(i) != nullptr; ++i) {
    if (language == vona::interface_language_name(i)) return true;
  }
  return false;
}

std::string language_names() {
  std::string names;
  for (int i = 0; vona::interface_language_name(i) != nullptr; ++i) {
    names += std::string(i ? ", " : "") + vona::interface_language_name(i);
  }
  return names;
}

int cannot_read(const std::string& path, int error) {
  return failure(kName, "cannot read '" + (path.empty() ? std::string("-") : path) + "': " + strerror(error));
}

int cannot_write() { return failure(kName, std::string("cannot write the output: ") + strerror(errno)); }

// The options of a sub-command ("--name VALUE" pairs from `valued`, flags from `flags`) and at
// most one FILE operand; "--" ends the options. False after a usage error was printed.
bool parse(const std::vector<std::string>& args, const std::vector<std::pair<const char*, std::string*>>& valued,
           const std::vector<std::pair<const char*, bool*>>& flags, std::string* path, int* status) {
  bool options = true, have_path = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    bool matched = false;
    if (options && arg == "--") {
      options = false;
      continue;
    }
    for (const auto& option : valued) {
      if (options && arg == option.first && i + 1 < args.size()) *option.second = args[++i], matched = true;
    }
    for (const auto& flag : flags) {
      if (options && arg == flag.first) *flag.second = matched = true;
    }
    if (matched) continue;
    if ((options && arg.size() > 1 && arg[0] == '-') || have_path) {
      *status = usage_error(kName, "unexpected argument '" + arg + "'");
      return false;
    }
    *path = arg;
    have_path = true;
  }
  return true;
}

// Converts whole lines (NUL bytes pass through between the converted pieces); adds the number
// of characters that became '?' to *lost. The converters keep no state from one line to the
// next, so a block of lines converts as its lines would one by one.
bool convert_lines(std::string_view line, int from, int to, std::string& piece, long* lost) {
  while (true) {
    size_t nul = line.find('\0');
    piece.assign(line.substr(0, nul));
    UTF32* text = convert_string_to_utf32(piece.c_str(), from);
    char* converted = convert_string_from_utf32(text, to);
    // Every code page writes '?' as it is, so each additional '?' is a character the
    // conversion could not keep.
    *lost += (long)std::count(converted, converted + strlen(converted), '?') -
             (long)std::count(piece.begin(), piece.end(), '?');
    bool ok = write_out(converted);
    free(text);
    free(converted);
    if (!ok) return false;
    if (nul == std::string_view::npos) return true;
    if (!write_out(std::string_view("", 1))) return false;
    line.remove_prefix(nul + 1);
  }
}

int run_convert(const std::vector<std::string>& args) {
  std::string from, to, path;
  bool strict = false;
  int status = kOk;
  if (!parse(args, {{"--from", &from}, {"--to", &to}}, {{"--strict", &strict}}, &path, &status)) return status;
  if (from.empty() || to.empty()) return usage_error(kName, "convert needs --from ENC and --to ENC");
  for (const std::string* name : {&from, &to}) {
    if (encoding_by_name(*name) < 0) {
      return usage_error(kName, "unknown encoding '" + *name + "' (known: " + encoding_names() + ")");
    }
  }
  int from_enc = encoding_by_name(from), to_enc = encoding_by_name(to);
  LineReader reader(path);
  std::string_view line;
  std::string piece;
  long lost = 0;
  for (bool first = true; reader.next_lines(&line); first = false) {
    // A UTF-8 byte order mark only marks the encoding: kept for UTF-8, dropped for the others.
    if (first && from_enc == 0 && line.substr(0, 3) == kBom) {
      line.remove_prefix(3);
      if (to_enc == 0 && !write_out(kBom)) return cannot_write();
    }
    if (!convert_lines(line, from_enc, to_enc, piece, &lost)) return cannot_write();
  }
  if (reader.error() != 0) return cannot_read(path, reader.error());
  if (lost > 0) {
    fprintf(stderr, "vonautil %s: %ld character%s could not be converted from %s to %s and became '?'\n", kName, lost,
            lost == 1 ? "" : "s", encoding_to_string(from_enc), encoding_to_string(to_enc));
  }
  return strict && lost > 0 ? kFailed : kOk;
}

int run_detect(const std::vector<std::string>& args) {
  std::string language, path;
  int status = kOk;
  if (!parse(args, {{"--lang", &language}}, {}, &path, &status)) return status;
  if (path.empty()) return usage_error(kName, "detect needs a FILE");
  if (!language.empty() && !known_language(language)) {
    return usage_error(kName, "unknown language '" + language + "' (known: " + language_names() + ")");
  }
  if (!language.empty()) settings_provider_set_interface_language(language.c_str());
  LineReader reader(path);
  std::string_view line;
  auto_enc_stat stat;
  auto_enc_stat_create(&stat);
  bool bom = false;
  for (bool first = true; reader.next_lines(&line); first = false) {
    if (first && line.substr(0, 3) == kBom) bom = true;
    auto_enc_stat_update(&stat, line.data(), line.data() + line.size());
  }
  if (reader.error() != 0) return cannot_read(path, reader.error());
  // A UTF-8 byte order mark settles the question.
  printf("%s\n", encoding_to_string(bom ? 0 : auto_enc_get_auto_encoding(&stat, 1, 1)));
  return kOk;
}

bool utf8_less(const char* a, const char* b) { return utf8_strcmp(a, b) < 0; }

int run_sort(const std::vector<std::string>& args) {
  std::string path;
  int status = kOk;
  if (!parse(args, {}, {}, &path, &status)) return status;
  return sort_lines(kName, path, utf8_less);
}

int run_text(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error(kName, "missing sub-command (convert, detect or sort)");
  std::vector<std::string> rest(args.begin() + 1, args.end());
  if (args[0] == "convert") return run_convert(rest);
  if (args[0] == "detect") return run_detect(rest);
  if (args[0] == "sort") return run_sort(rest);
  return usage_error(kName, "unknown sub-command '" + args[0] + "'");
}

void demo_text() {
  const char* line = "\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82, \xD0\xBC\xD0\xB8\xD1\x80!";  // "Привет, мир!"
  char* holder = nullptr;
  const char* cp1251 = MY_convert_string_to_external(&holder, line, 2);
  printf("UTF-8 \"%s\" (%d characters, %zu bytes) to cp1251:", line, utf8_strlen(line), strlen(line));
  for (const char* p = cp1251; *p; ++p) printf(" %02X", (unsigned char)*p);
  char* back = MY_string_from_external(cp1251, 2);
  printf("\nand back to UTF-8: \"%s\" (%s)\n", back, strcmp(back, line) == 0 ? "identical" : "DIFFERENT");
  free(back);
  free(holder);

  std::vector<const char*> names = {"\xD0\xAF\xD0\xBD\xD0\xB0",        // Яна
                                    "zoe",
                                    "\xCE\x91\xCE\xBB\xCE\xAD\xCE\xBE\xCE\xB7\xCF\x82",  // Αλέξης
                                    "\xD1\x91\xD0\xBB\xD0\xBA\xD0\xB0",                  // ёлка
                                    "Anna",
                                    "\xC3\x89milie",                                      // Émilie
                                    "\xD0\x95\xD0\xB2\xD0\xB0",                           // Ева
                                    "10 songs"};
  std::stable_sort(names.begin(), names.end(), [](const char* a, const char* b) { return utf8_strcmp(a, b) < 0; });
  printf("Names sorted the player's way (digits, Latin, Cyrillic with \xD0\x81 as \xD0\x95, then the rest):\n");
  for (const char* name : names) printf("  %s\n", name);
}

}  // namespace

TOOL_COMMAND("text", "convert, detect and sort text in the player's encodings",
             "Usage: vonautil text convert [--strict] --from ENC --to ENC [FILE]\n"
             "       vonautil text detect [--lang LANGUAGE] FILE\n"
             "       vonautil text sort [FILE]\n"
             "convert  re-encodes FILE (standard input by default or for '-') to standard output,\n"
             "         line by line as it reads; characters the target lacks become '?', and their\n"
             "         number is reported on standard error (--strict: exit status 1 then). A\n"
             "         leading UTF-8 byte order mark is kept for UTF-8 and dropped otherwise.\n"
             "detect   feeds FILE line by line to the encoding statistics and prints the guessed\n"
             "         encoding for the interface LANGUAGE (default: english), e.g. russian, hebrew;\n"
             "         a file with a UTF-8 byte order mark is utf8.\n"
             "sort     prints the lines of FILE (standard input by default) in the order the player\n"
             "         sorts names: Latin and Cyrillic letters case-insensitively, then other scripts.\n"
             "ENC is one of utf8, cp1250 ... cp1258, big5, gb2312, euckr, in any case, also as\n"
             "UTF-8, windows-1251, CP1251, CP950 (big5), EUC-CN (gb2312) or KSC5601 (euckr).\n"
             "Lines pass through byte for byte, NUL bytes included; '--' ends the options.\n"
             "Exit status: 0 done, 1 the file cannot be read or the output written (or --strict\n"
             "found a character it could not convert), 2 bad usage, an unknown encoding or language.\n",
             run_text);

TOOL_DEMO_STEP(40, "Text: code pages and the player's sort order", demo_text);

}  // namespace tool
