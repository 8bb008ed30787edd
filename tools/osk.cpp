// vonautil osk: checks, dumps and draws on-screen keyboard layouts for the people who write them.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/convert_utf.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/on_screen_keyboard.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char kName[] = "osk";

bool read_text(const std::string& path, std::string* text, std::string* error) {
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) {
    *error = "cannot read '" + path + "': " + strerror(errno);
    return false;
  }
  char buffer[8192];
  size_t n;
  text->clear();
  while ((n = fread(buffer, 1, sizeof buffer, file)) > 0) text->append(buffer, n);
  bool ok = !ferror(file);
  fclose(file);
  if (!ok) *error = "cannot read '" + path + "'";
  return ok;
}

// A layout parsed from a file, finalised when it goes.
struct Layout {
  osk_layout layout;
  Layout() { osk_initialize_layout(&layout); }
  ~Layout() { osk_finalize_layout(&layout); }
  Layout(const Layout&) = delete;
  Layout& operator=(const Layout&) = delete;
};

// Parses a layout file; on failure `error` says why ("FILE: message" for a parse error).
bool load_file(const std::string& path, Layout& out, std::string* error) {
  std::string text;
  if (!read_text(path, &text, error)) return false;
  const char* message = osk_parse_layout(&out.layout, text.c_str());
  if (message != nullptr) *error = path + ": " + message;
  return message == nullptr;
}

// FILE or --lang ID: the layout of a file, or the predefined layout of a keyboard language.
// Returns null with `status` set on failure.
const osk_layout* load_source(const std::vector<std::string>& args, size_t at, Layout& file_layout, int* status) {
  std::string error;
  if (args[at] == "--lang") {
    if (at + 1 >= args.size()) {
      *status = usage_error(kName, "--lang needs a language identifier");
      return nullptr;
    }
    const osk_layout* layout = get_predefined_osk_layout(args[at + 1].c_str());
    if (layout == nullptr) *status = failure(kName, "no usable layout for '" + args[at + 1] + "'");
    return layout;
  }
  if (!load_file(args[at], file_layout, &error)) {
    *status = failure(kName, error);
    return nullptr;
  }
  return &file_layout.layout;
}

size_t source_arguments(const std::vector<std::string>& args, size_t at) {
  return at < args.size() && args[at] == "--lang" ? 2 : 1;
}

int run_check(const std::vector<std::string>& args) {
  if (args.size() < 2) return usage_error(kName, "check takes one FILE or more");
  int status = kOk;
  for (size_t i = 1; i < args.size(); ++i) {
    Layout layout;
    std::string error;
    if (load_file(args[i], layout, &error)) {
      printf("%s: ok, %d x %d\n", args[i].c_str(), layout.layout.cols_count, layout.layout.rows_count);
    } else {
      fflush(stdout);
      status = failure(kName, error);
    }
  }
  return status;
}

int run_dump(const std::vector<std::string>& args) {
  if (args.size() < 2 || args.size() != 1 + source_arguments(args, 1)) {
    return usage_error(kName, "dump takes FILE or --lang ID");
  }
  Layout file_layout;
  int status = kOk;
  const osk_layout* layout = load_source(args, 1, file_layout, &status);
  if (layout == nullptr) return status;
  osk_dump_layout(layout);
  return kOk;
}

// --- SVG picture ---------------------------------------------------------------------------

constexpr int kCell = 64;    // width and height of one grid cell
constexpr int kGap = 6;      // space between neighbouring keys
constexpr int kInset = 8;    // small keys are drawn this much inside their cells
constexpr int kMargin = 16;
constexpr int kTitle = 36;   // height of the title line above the grid

// Characters that XML 1.0 allows in text.
bool is_xml_char(UTF32 c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
         (c >= 0x10000 && c <= 0x10FFFF);
}

std::string xml_escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&apos;"; break;
      default: out += c;
    }
  }
  return out;
}

// A key character as the picture shows it: itself, or "U+XXXX" where XML cannot carry it.
std::string char_text(UTF32 c) {
  if (!is_xml_char(c) || c == ' ') {
    char code[16];
    snprintf(code, sizeof code, "U+%04X", c);
    return code;
  }
  UTF8 bytes[4];
  return xml_escape(std::string((const char*)bytes, vona::utf::encode(c, bytes)));
}

// What a system key shows: the layout's caption when it has one, else the key's name.
std::string system_label(const osk_layout* layout, unsigned int kind) {
  struct Label {
    const char* name;
    char* osk_layout::*caption;
  };
  static const Label kLabels[OSK_KeyKind_Count] = {
      {"", nullptr},           {"", nullptr},
      {"Enter", &osk_layout::caption_enter},
      {"Space", &osk_layout::caption_space},
      {"Backspace", &osk_layout::caption_backspace},
      {"Shift", &osk_layout::caption_shift},
      {"Caps Lock", &osk_layout::caption_caps_lock},
      {"Language", nullptr},   {"Symbols", nullptr},
  };
  const Label& label = kLabels[kind];
  const char* caption = label.caption ? layout->*label.caption : nullptr;
  return xml_escape(caption ? caption : label.name);
}

// The picture: the grid of cells, each key as a box over the columns it spans with its normal
// character in the middle and its shifted one in the top left corner; small keys are drawn
// smaller, system keys show their caption or name.
std::string render_svg(const osk_layout* layout) {
  int width = 2 * kMargin + layout->cols_count * kCell;
  int height = 2 * kMargin + kTitle + layout->rows_count * kCell;
  std::ostringstream svg;
  svg << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
      << "\" viewBox=\"0 0 " << width << " " << height << "\">\n"
      << "<style>\n"
      << "  .grid { fill: none; stroke: #3a404c; stroke-dasharray: 2 3; }\n"
      << "  .key { fill: #e8eaef; stroke: #8a909c; }\n"
      << "  .system { fill: #b8c4da; stroke: #6a7890; }\n"
      << "  text { font-family: sans-serif; fill: #1c2030; text-anchor: middle; dominant-baseline: central; }\n"
      << "  .title { fill: #f0f0f0; font-size: 18px; text-anchor: start; }\n"
      << "  .shifted { fill: #5a6070; text-anchor: start; }\n"
      << "</style>\n"
      << "<rect width=\"" << width << "\" height=\"" << height << "\" fill=\"#20242c\"/>\n"
      << "<text class=\"title\" x=\"" << kMargin << "\" y=\"" << kMargin + kTitle / 2 << "\">"
      << xml_escape(layout->name ? layout->name : "(no name)") << " \xe2\x80\x94 " << layout->cols_count << " x "
      << layout->rows_count << "</text>\n";
  int top = kMargin + kTitle;
  svg << "<g class=\"grid\">\n";
  for (int row = 0; row < layout->rows_count; ++row) {
    for (int col = 0; col < layout->cols_count; ++col) {
      svg << "<rect x=\"" << kMargin + col * kCell << "\" y=\"" << top + row * kCell << "\" width=\"" << kCell
          << "\" height=\"" << kCell << "\"/>\n";
    }
  }
  svg << "</g>\n";
  for (int row = 0; row < layout->rows_count; ++row) {
    for (int col = 0; col < layout->cols_count; ++col) {
      const osk_key& key = layout->keys[col][row];
      if (key.kind == OSK_KeyKind_None || key.kind >= OSK_KeyKind_Count || key.span < 1) continue;
      int inset = kGap / 2 + (key.small ? kInset : 0);
      int x = kMargin + col * kCell + inset;
      int y = top + row * kCell + inset;
      int w = key.span * kCell - 2 * inset;
      int h = kCell - 2 * inset;
      bool system = key.kind != OSK_KeyKind_Char;
      svg << "<g class=\"" << (system ? "system" : "key") << "\">\n"
          << "<rect x=\"" << x << "\" y=\"" << y << "\" width=\"" << w << "\" height=\"" << h << "\" rx=\"6\"/>\n";
      int font = key.small ? 16 : 24;
      if (system) {
        svg << "<text x=\"" << x + w / 2 << "\" y=\"" << y + h / 2 << "\" font-size=\"" << (key.small ? 10 : 13)
            << "\">" << system_label(layout, key.kind) << "</text>\n";
      } else {
        svg << "<text x=\"" << x + w / 2 << "\" y=\"" << y + h / 2 + (key.shifted_char ? 4 : 0) << "\" font-size=\""
            << font << "\">" << char_text(key.normal_char) << "</text>\n";
        if (key.shifted_char != 0) {
          svg << "<text class=\"shifted\" x=\"" << x + 5 << "\" y=\"" << y + font / 2 << "\" font-size=\"" << font / 2
              << "\">" << char_text(key.shifted_char) << "</text>\n";
        }
      }
      svg << "</g>\n";
    }
  }
  svg << "</svg>\n";
  return svg.str();
}

int run_render(const std::vector<std::string>& args) {
  if (args.size() < 2) return usage_error(kName, "render takes FILE or --lang ID");
  size_t next = 1 + source_arguments(args, 1);
  std::string out_path;
  if (next + 2 == args.size() && args[next] == "-o") out_path = args[next + 1];
  else if (next != args.size()) return usage_error(kName, "render takes FILE or --lang ID, then -o OUT.svg");
  Layout file_layout;
  int status = kOk;
  const osk_layout* layout = load_source(args, 1, file_layout, &status);
  if (layout == nullptr) return status;
  std::string svg = render_svg(layout);
  if (out_path.empty()) {
    fwrite(svg.data(), 1, svg.size(), stdout);
    return kOk;
  }
  FILE* file = fopen(out_path.c_str(), "wb");
  bool written = file != nullptr && fwrite(svg.data(), 1, svg.size(), file) == svg.size();
  if (file != nullptr && fclose(file) != 0) written = false;
  if (!written) return failure(kName, "cannot write '" + out_path + "': " + strerror(errno));
  return kOk;
}

int run_osk(const std::vector<std::string>& args) {
  return run_sub_command(kName, args, {{"check", run_check}, {"dump", run_dump}, {"render", run_render}});
}

TOOL_COMMAND("osk", "check, dump and draw on-screen keyboard layouts",
             "Usage: vonautil osk check FILE...\n"
             "       vonautil osk dump FILE | --lang ID\n"
             "       vonautil osk render FILE | --lang ID [-o OUT.svg]\n"
             "check   parses and checks each layout file as the player does; prints 'ok' with the\n"
             "        grid size (columns x rows), or the first error with its row and column\n"
             "        (both counted from 0). Exit status 1 when any file fails.\n"
             "dump    prints the layout of FILE, or the firmware's layout for the keyboard language\n"
             "        ID (/firmware/on_screen_keyboards/vona_keyboard_ID.txt), in file syntax.\n"
             "render  draws the layout as an SVG picture (to standard output, or to OUT.svg): the\n"
             "        grid, each key over the columns it spans with its normal character and, top\n"
             "        left, its shifted one; small keys smaller; system keys by caption or name.\n"
             "A layout file holds comment lines (#), properties (name = ..., en/sp/bs/sh/cl\n"
             "captions, symbolic_layout_file, reduced_rows_mask) and rows of keys: '...' an empty\n"
             "cell, [Aa] or [a ] a key with or without a shifted character, {Aa} a small key,\n"
             "(en) (sp) (bs) (sh) (cl) (la) (sy) system keys, ' ~~~' before the closing bracket\n"
             "one more column for the key.\n",
             run_osk);

// --- demo ----------------------------------------------------------------------------------

// The folder of the shipped layouts: the source tree's, or the installed copy.
std::string shipped_layouts_dir() {
  std::stringstream dirs(VONAUTIL_DATA_DIRS);
  std::string dir;
  while (std::getline(dirs, dir, ':')) {
    std::string candidate = dir + "/on_screen_keyboards";
    if (FILE* probe = fopen((candidate + "/vona_keyboard_ru.txt").c_str(), "rb")) {
      fclose(probe);
      return candidate;
    }
  }
  return std::string();
}

void demo_osk() {
  std::string source = shipped_layouts_dir();
  if (source.empty()) {
    printf("The shipped keyboard layouts were not found (looked in %s).\n", VONAUTIL_DATA_DIRS);
    return;
  }
  std::string target = vona::fixed_path("/firmware/on_screen_keyboards");
  FS_ensure_dirs(target.c_str(), 0755);
  std::unique_ptr<DIR, int (*)(DIR*)> dir(opendir(source.c_str()), closedir);
  int copied = 0;
  std::string text, error;
  for (dirent* entry; dir && (entry = readdir(dir.get())) != nullptr;) {
    std::string name = entry->d_name;
    if (name.rfind("vona_keyboard_", 0) != 0 || !read_text(source + "/" + name, &text, &error)) continue;
    copied += FS_writestring((target + "/" + name).c_str(), text.c_str());
  }
  printf("Copied %d shipped layouts to /firmware/on_screen_keyboards.\n", copied);

  printf("\n$ vonautil osk dump --lang ru\n");
  fflush(stdout);
  run_osk({"dump", "--lang", "ru"});

  // A hand edit that lost a closing bracket in the second row.
  std::string broken_path = target + "/vona_keyboard_ru_broken.txt";
  read_text(target + "/vona_keyboard_ru.txt", &text, &error);
  size_t at = text.find("[Ъъ]");
  if (at != std::string::npos) text.erase(at + strlen("[Ъъ"), 1);
  FS_writestring(broken_path.c_str(), text.c_str());
  printf("\nA copy with the ']' of [Ъъ] deleted:\n$ vonautil osk check vona_keyboard_ru.txt vona_keyboard_ru_broken.txt\n");
  fflush(stdout);
  // Run from the layouts' folder, so that the messages name the files as the command line does.
  int cwd = open(".", O_RDONLY | O_DIRECTORY);
  int status = chdir(target.c_str()) == 0 ? run_osk({"check", "vona_keyboard_ru.txt", "vona_keyboard_ru_broken.txt"})
                                          : run_osk({"check", target + "/vona_keyboard_ru.txt", broken_path});
  fflush(stderr);
  if (cwd >= 0) {
    if (fchdir(cwd) != 0) perror("fchdir");
    close(cwd);
  }
  printf("exit status %d\n", status);

  std::string svg = vona::fixed_path("/ru.svg");
  run_osk({"render", "--lang", "ru", "-o", svg});
  printf("\n$ vonautil osk render --lang ru -o ru.svg\nwrote the picture of the Russian layout to %s\n", svg.c_str());
}

TOOL_DEMO_STEP(75, "On-screen keyboards: a shipped layout, its dump and a broken copy", demo_osk);

}  // namespace
}  // namespace tool
