// vonautil natsort, and the demo step of the string tools.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "lines.hpp"
#include "vonautil.h"

namespace tool {
namespace {

bool nat_less(const char* a, const char* b) { return str_nat_cmp(&a, &b) < 0; }
bool alnum_less(const char* a, const char* b) { return alnum_cmp(a, b) < 0; }

int run_natsort(const std::vector<std::string>& args) {
  bool alnum = false;
  const std::string* path = nullptr;
  bool options = true;
  for (const std::string& arg : args) {
    if (options && arg == "--") options = false;
    else if (options && arg == "--alnum") alnum = true;
    else if (options && arg.size() > 1 && arg[0] == '-') return usage_error("natsort", "unknown option '" + arg + "'");
    else if (path) return usage_error("natsort", "more than one file");
    else path = &arg;
  }
  return sort_lines("natsort", path ? *path : std::string(), alnum ? alnum_less : nat_less);
}

TOOL_COMMAND("natsort", "sort lines in the library's natural order",
             "Usage: vonautil natsort [--alnum] [FILE]\n"
             "Prints the lines of FILE (or standard input, also for '-') sorted so that numbers\n"
             "inside them compare by value: file2 before file10. Other bytes compare as they are,\n"
             "case-sensitively; after two equal numbers the next character is passed over.\n"
             "  --alnum   compare letters without regard to case instead\n"
             "Lines that compare equal keep their order; every line is written as it was read\n"
             "(a line holding a NUL byte is ordered by its text before the NUL).\n",
             run_natsort);

void demo_strings() {
  struct Setting {
    const char* text;
    int fallback;
  };
  printf("Settings are read with the caller's default for anything not wholly valid:\n");
  for (Setting s : {Setting{"1920", 0}, Setting{" 42", 0}, Setting{"12 ", 5}, Setting{"0x10", -1}}) {
    printf("  str_parse_int(\"%s\", %d) = %d\n", s.text, s.fallback, str_parse_int(s.text, s.fallback));
  }
  for (Setting s : {Setting{"YES", -1}, Setting{"no", -1}, Setting{"1", -1}}) {
    printf("  str_parse_bool(\"%s\", %d) = %d\n", s.text, s.fallback, str_parse_bool(s.text, s.fallback));
  }
  printf("  str_parse_double(\"23.976\", 25) = %g\n", str_parse_double("23.976", 25));
  printf("  str_parse_color_rgb(\"FF8000\", 0) = 0x%06X, of \"#FF8000\" = %d\n", str_parse_color_rgb("FF8000", 0),
         str_parse_color_rgb("#FF8000", 0));

  const char* names[] = {"track10.mp3", "Track3.mp3", "track2.mp3", "track1.mp3", "IMG_0100.jpg", "IMG_99.jpg"};
  const size_t count = sizeof names / sizeof *names;
  auto show = [&](const char* how) {
    printf("  %-9s", how);
    for (size_t i = 0; i < count; ++i) printf("%s%s", i ? ", " : " ", names[i]);
    printf("\n");
  };
  printf("File names:\n");
  show("as given");
  qsort(names, count, sizeof *names, str_nat_cmp);
  show("natural");
  std::stable_sort(names, names + count, alnum_less);
  show("alnum");
}

TOOL_DEMO_STEP(11, "String tools: setting values with defaults, natural order of file names", demo_strings);

}  // namespace
}  // namespace tool
