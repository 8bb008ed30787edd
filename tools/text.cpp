// vonautil text: convert text between encodings, guess a file's encoding, sort lines the way
// the player sorts names.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char kName[] = "text";
constexpr int kEncodingCount = 13;

// The encoding number of a name as encoding_to_string gives it, or -1.
int encoding_by_name(const std::string& name) {
  for (int enc = 0; enc < kEncodingCount; ++enc) {
    if (name == encoding_to_string(enc)) return enc;
  }
  return -1;
}

std::string encoding_names() {
  std::string names;
  for (int enc = 0; enc < kEncodingCount; ++enc) names += std::string(enc ? ", " : "") + encoding_to_string(enc);
  return names;
}

// Reads the lines of a file ("-" or empty: standard input), each with its newline if it had one.
bool read_lines(const std::string& path, std::vector<std::string>* lines) {
  FILE* in = path.empty() || path == "-" ? stdin : fopen(path.c_str(), "rb");
  if (in == nullptr) return false;
  std::string line;
  int c;
  while ((c = fgetc(in)) != EOF) {
    line += (char)c;
    if (c == '\n') lines->push_back(std::move(line)), line.clear();
  }
  if (!line.empty()) lines->push_back(line);
  bool ok = !ferror(in);
  if (in != stdin) fclose(in);
  return ok;
}

int cannot_read(const std::string& path) {
  return failure(kName, "cannot read '" + path + "': " + strerror(errno));
}

int run_convert(const std::vector<std::string>& args) {
  std::string from, to, path;
  for (size_t i = 0; i < args.size(); ++i) {
    if ((args[i] == "--from" || args[i] == "--to") && i + 1 < args.size()) {
      (args[i] == "--from" ? from : to) = args[i + 1];
      ++i;
    } else if (args[i].rfind("--", 0) == 0 || !path.empty()) {
      return usage_error(kName, "unexpected argument '" + args[i] + "'");
    } else {
      path = args[i];
    }
  }
  if (from.empty() || to.empty()) return usage_error(kName, "convert needs --from ENC and --to ENC");
  for (const std::string* name : {&from, &to}) {
    if (encoding_by_name(*name) < 0) {
      return usage_error(kName, "unknown encoding '" + *name + "' (known: " + encoding_names() + ")");
    }
  }
  int from_enc = encoding_by_name(from), to_enc = encoding_by_name(to);
  std::vector<std::string> lines;
  if (!read_lines(path, &lines)) return cannot_read(path);
  for (const std::string& line : lines) {
    UTF32* text = convert_string_to_utf32(line.c_str(), from_enc);
    char* converted = convert_string_from_utf32(text, to_enc);
    fputs(converted, stdout);
    free(text);
    free(converted);
  }
  return kOk;
}

int run_detect(const std::vector<std::string>& args) {
  std::string language, path;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--lang" && i + 1 < args.size()) language = args[++i];
    else if (args[i].rfind("--", 0) == 0 || !path.empty()) return usage_error(kName, "unexpected argument '" + args[i] + "'");
    else path = args[i];
  }
  if (path.empty()) return usage_error(kName, "detect needs a FILE");
  std::vector<std::string> lines;
  if (!read_lines(path, &lines)) return cannot_read(path);
  if (!language.empty()) settings_provider_set_interface_language(language.c_str());
  auto_enc_stat stat;
  auto_enc_stat_create(&stat);
  for (const std::string& line : lines) auto_enc_stat_update(&stat, line.data(), line.data() + line.size());
  printf("%s\n", encoding_to_string(auto_enc_get_auto_encoding(&stat, 1, 1)));
  return kOk;
}

int run_sort(const std::vector<std::string>& args) {
  if (args.size() > 1) return usage_error(kName, "sort takes at most one FILE");
  std::string path = args.empty() ? "" : args[0];
  std::vector<std::string> lines;
  if (!read_lines(path, &lines)) return cannot_read(path);
  for (std::string& line : lines) {
    if (!line.empty() && line.back() == '\n') line.pop_back();
  }
  std::stable_sort(lines.begin(), lines.end(),
                   [](const std::string& a, const std::string& b) { return utf8_strcmp(a.c_str(), b.c_str()) < 0; });
  for (const std::string& line : lines) printf("%s\n", line.c_str());
  return kOk;
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
             "Usage: vonautil text convert --from ENC --to ENC [FILE]\n"
             "       vonautil text detect [--lang LANGUAGE] FILE\n"
             "       vonautil text sort [FILE]\n"
             "convert  re-encodes FILE (standard input by default) to standard output, line by line;\n"
             "         characters the target lacks become '?'.\n"
             "detect   feeds FILE line by line to the encoding statistics and prints the guessed\n"
             "         encoding for the interface LANGUAGE (default: english), e.g. russian, hebrew.\n"
             "sort     prints the lines of FILE (standard input by default) in the order the player\n"
             "         sorts names: Latin and Cyrillic letters case-insensitively, then other scripts.\n"
             "ENC is one of utf8, cp1250 ... cp1258, big5, gb2312, euckr.\n"
             "Exit status: 0 done, 1 the file cannot be read, 2 bad usage or an unknown encoding.\n",
             run_text);

TOOL_DEMO_STEP(40, "Text: code pages and the player's sort order", demo_text);

}  // namespace tool
