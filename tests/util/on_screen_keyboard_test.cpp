#include <dirent.h>

#include <cstring>

#include <string>
#include <vector>

#include "player/src/util/on_screen_keyboard.hpp"
#include "test_support.hpp"
#include "vonautil.h"

namespace {

const std::string kLayoutsDir = std::string(VONAUTIL_DATA_DIR) + "/on_screen_keyboards";
const char kModule[] = "player/src/util/on_screen_keyboard";
// The keys and the property every layout needs, to be added after the row under test.
const std::string kRequired = "\n(en) (bs)\nname = Test\n";

struct Layout {
  osk_layout layout;
  const char* message;
  explicit Layout(const std::string& text) {
    osk_initialize_layout(&layout);
    message = osk_parse_layout(&layout, text.c_str());
  }
  ~Layout() { osk_finalize_layout(&layout); }
  const osk_key& key(int col, int row = 0) const { return layout.keys[col][row]; }
  std::string error() const { return message ? message : "(none)"; }
};

std::string dump(const osk_layout* layout) {
  testing::internal::CaptureStdout();
  osk_dump_layout(layout);
  return testing::internal::GetCapturedStdout();
}

std::string repeat(const std::string& text, int times) {
  std::string out;
  while (times-- > 0) out += text;
  return out;
}

std::vector<std::string> shipped_layouts() {
  std::vector<std::string> paths;
  DIR* dir = opendir(kLayoutsDir.c_str());
  for (dirent* entry; dir && (entry = readdir(dir)) != nullptr;) {
    if (std::string(entry->d_name).rfind("vona_keyboard_", 0) == 0) paths.push_back(kLayoutsDir + "/" + entry->d_name);
  }
  if (dir) closedir(dir);
  return paths;
}

TEST(OnScreenKeyboard, ParsesKeysPropertiesAndTheRestOfTheRow) {
  Layout l("\xEF\xBB\xBF# comment\r\n  [Aa] [b ] {Cc} {d } (en) (bs) (sh) (cl)\r\n"
           "name =  Русская  \nsp = x\nen =\n"
           "reduced_rows_mask = 6\n[b] (la) (sp ~~~ ~~~) {x ~~~}\nreduced_rows_mask =\n");
  ASSERT_EQ(l.message, nullptr) << l.error();
  EXPECT_EQ(l.layout.rows_count, 2);
  EXPECT_EQ(l.layout.cols_count, 8);
  EXPECT_STREQ(l.layout.name, "Русская");
  EXPECT_STREQ(l.layout.caption_space, "x");
  EXPECT_EQ(l.layout.caption_enter, nullptr);
  EXPECT_EQ(l.layout.reduced_rows_mask, 6);
  EXPECT_TRUE(l.layout.has_lang_key);
  const struct {
    unsigned kind;
    bool small;
    UTF32 normal, shifted;
  } row0[] = {{OSK_KeyKind_Char, false, 'a', 'A'}, {OSK_KeyKind_Char, false, 'b', 0}, {OSK_KeyKind_Char, true, 'c', 'C'},
              {OSK_KeyKind_Char, true, 'd', 0},    {OSK_KeyKind_Enter, false, 0, 0},  {OSK_KeyKind_Backspace, false, 0, 0},
              {OSK_KeyKind_Shift, false, 0, 0},    {OSK_KeyKind_CapsLock, false, 0, 0}};
  for (int col = 0; col < 8; ++col) {
    SCOPED_TRACE(col);
    EXPECT_EQ(l.key(col).kind, row0[col].kind);
    EXPECT_EQ(l.key(col).small, row0[col].small);
    EXPECT_EQ(l.key(col).span, 1);
    EXPECT_EQ(l.key(col).normal_char, row0[col].normal);
    EXPECT_EQ(l.key(col).shifted_char, row0[col].shifted);
  }
  // The second row: a space bar over three columns, a small key over two, then empty cells.
  EXPECT_EQ(l.key(0, 1).normal_char, (UTF32)'b');
  EXPECT_EQ(l.key(0, 1).shifted_char, 0u);
  EXPECT_EQ(l.key(2, 1).kind, (unsigned)OSK_KeyKind_Space);
  EXPECT_EQ(l.key(2, 1).span, 3);
  for (int col : {3, 4, 6}) {
    EXPECT_EQ(l.key(col, 1).kind, (unsigned)OSK_KeyKind_None);
    EXPECT_EQ(l.key(col, 1).span, 0);
    EXPECT_EQ(l.key(col, 1).small, col == 6);
  }
  EXPECT_EQ(l.key(5, 1).span, 2);
  for (int col : {7, 29}) {
    EXPECT_EQ(l.key(col, 1).kind, (unsigned)OSK_KeyKind_None);
    EXPECT_EQ(l.key(col, 1).span, 1);
    EXPECT_FALSE(l.key(col, 1).small);
  }
  EXPECT_EQ(l.key(0, 2).span, 0);  // rows that were not read stay untouched

  EXPECT_EQ(dump(&l.layout),
            "# Size: 8 x 2\n\n"
            "[Aa] [b ] {Cc} {d } (en) (bs) (sh) (cl) \n"
            "[b ] (la) (sp  ~~~  ~~~) {x   ~~~} ...  \n\n"
            "name = Русская\nsymbolic_layout_file =\nen =\nsp = x\nbs =\nsh =\ncl =\nreduced_rows_mask = 6\n");

  osk_layout empty;
  osk_initialize_layout(&empty);
  EXPECT_EQ(dump(&empty), "# Keyboard layout is empty.\n");
}

TEST(OnScreenKeyboard, RowsHoldThirtyCellsAndALayoutFifteenRows) {
  Layout full_row(repeat("... ", 28) + "{x ~~~}" + kRequired);
  ASSERT_EQ(full_row.message, nullptr) << full_row.error();
  EXPECT_EQ(full_row.layout.cols_count, 30);
  EXPECT_EQ(full_row.key(29).span, 0);
  EXPECT_TRUE(full_row.key(29).small);
  EXPECT_EQ(Layout(repeat("... ", 29) + "(sp ~~~)" + kRequired).error(), "Too many keys (31 while max is 30) in row 0.");
  EXPECT_EQ(Layout(repeat("... ", 30) + kRequired).message, nullptr);
  EXPECT_EQ(Layout("(en)\n" + repeat("... ", 31)).error(), "Too many keys (31 while max is 30) in row 1.");

  Layout fifteen(repeat("...\n# between rows\n", 13) + "(en) (bs)\nname = x\n[a]");
  ASSERT_EQ(fifteen.message, nullptr) << fifteen.error();
  EXPECT_EQ(fifteen.layout.rows_count, 15);
  EXPECT_EQ(fifteen.key(0, 14).normal_char, (UTF32)'a');
  EXPECT_EQ(Layout(repeat("...\n", 15) + kRequired).error(), "Too many rows (16 while max is 30) in the layout.");
}

TEST(OnScreenKeyboard, ErrorsNameTheirRowAndColumn) {
  const struct {
    std::string text;
    std::string message;
  } cases[] = {
      {"# fine\n# tab\there", "Invalid char U+0009 in comment."},
      {"\t(en)", "Invalid char U+0009."},
      {"(en)\n-", "Invalid char U+002D."},
      {"\xD0\x96", "Invalid char U+0416."},
      {"(en) (bs)\n[a] [b] x", "Invalid start of key at row 1, col 2: 'x'. Expected '.', '[', '{' or '('."},
      {"[a] \xD0\x96", "Invalid start of key at row 0, col 1: '\xD0\x96'. Expected '.', '[', '{' or '('."},
      {"(en)\n... ..", "'...' expected at row 1, col 1."},
      {"[a] (e )", "System key name expected at row 0, col 1."},
      {"(\xD0\x96\xD0\x96)", "Unknown system key name at row 0, col 0."},
      {"[a] (xx)", "Unknown system key name at row 0, col 1."},
      {"[a] [ a]", "Char key character expected at row 0, col 1; char U+0020 found."},
      {"{", "Char key character expected at row 0, col 0; char U+0000 found."},
      {"(sp~~~)", "Space expected before '~' at row 0, col 1."},
      {"(sp ~~~~)", "Space expected before '~' at row 0, col 2."},
      {"[a] (sp ~~)", "'~~~' expected at row 0, col 2."},
      {"[a] (sp ~~~ ~x)", "'~~~' expected at row 0, col 3."},
      {"{d} (en)", "'}' expected at row 0, col 1; char U+0028 found."},
      {"[ab", "']' expected at row 0, col 1; char U+0000 found."},
      {"(en ~~~ x)", "')' expected at row 0, col 2; char U+0078 found."},
      {"name x", "'=' expected."},
      {"name = a\x02", "Invalid char U+0002 in property 'name'."},
      {"colour = red", "Unknown property name: 'colour'."},
      {repeat("n", 100) + " = x", "Too long property name: '" + repeat("n", 99) + "'."},
      {repeat("n", 99) + " = x", "Unknown property name: '" + repeat("n", 99) + "'."},
      {"sh = " + repeat("\xD0\x96", 1000), "Too long value of property 'sh'."},
      // The checks after the text, in their order.
      {"", "Enter key (en) is missing in the layout."},
      {"(en)", "Backspace key (bs) is missing in the layout."},
      {"(en) (bs) [Aa] (cl)", "Shift key (sh) is missing in the layout, while shifted chars exist."},
      {"(en) (bs) [Aa] (sh)", "CapsLock key (cl) is missing in the layout, while shifted chars exist."},
      {"(en) (bs) [a]\nname = x\nname =", "'name' property should be defined."},
      {"(en) (bs)\nname = x\nsymbolic_layout_file = s.txt", "'symbolic_layout_file' property can be defined only when the Symbolic (sy) key is present."},
      {"(en) (bs)\nname = x\nsp = Space", "'sp' property can be defined only when the Space (sp) key is present."},
  };
  for (const auto& c : cases) EXPECT_EQ(Layout(c.text).error(), c.message) << c.text;
  // The limits themselves are allowed.
  EXPECT_EQ(Layout("(en) (bs) (sp) (sy)\nname = " + repeat("\xD0\x96", 999) + "\nsp = s\nsymbolic_layout_file = s").message,
            nullptr);
}

TEST(OnScreenKeyboard, ParsingIntoAUsedLayoutAsserts) {
  Layout parsed("... (en) (bs)\nname = x");
  ASSERT_EQ(parsed.message, nullptr);
  EXPECT_DEATH(osk_parse_layout(&parsed.layout, "(en)"),
               test::assertion_report(kModule, 0, "osk_parse_layout", "layout->rows_count == 0"));
  osk_finalize_layout(&parsed.layout);
  EXPECT_EQ(parsed.layout.name, nullptr);
  EXPECT_EQ(parsed.layout.rows_count, 0);
  EXPECT_EQ(parsed.layout.cols_count, 0);
  EXPECT_DEATH(osk_parse_layout(&parsed.layout, "(en)"),
               test::assertion_report(kModule, 0, "osk_parse_layout", "key->span == 0"));
  Layout named("");
  named.layout.name = strdup("x");
  EXPECT_DEATH(osk_parse_layout(&named.layout, "(en)"),
               test::assertion_report(kModule, 0, "osk_parse_layout", "layout->name == NULL"));
  named.layout.keys[29][14].small = true;
  EXPECT_DEATH(osk_parse_layout(&named.layout, "(en)"),
               test::assertion_report(kModule, 0, "osk_parse_layout", "key->small == false"));
  // A dump of a layout whose wide key does not cover its cells.
  parsed.layout.rows_count = 1;
  parsed.layout.cols_count = 3;
  parsed.layout.keys[1][0].span = 2;
  EXPECT_DEATH(dump(&parsed.layout), test::assertion_report(kModule, 0, "osk_dump_to_string",
                                                            "layout->keys[col][row].span == 0"));
}

TEST(OnScreenKeyboard, ShippedLayoutsParseAndTheirDumpsParseBackEqual) {
  std::vector<std::string> paths = shipped_layouts();
  EXPECT_GE(paths.size(), 5u);
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    Layout shipped(test::read_file(path));
    ASSERT_EQ(shipped.message, nullptr) << shipped.error();
    EXPECT_NE(shipped.layout.name, nullptr);
    std::string text = dump(&shipped.layout);
    Layout reparsed(text);
    ASSERT_EQ(reparsed.message, nullptr) << reparsed.error() << "\n" << text;
    EXPECT_TRUE(vona::osk_layouts_equal(&shipped.layout, &reparsed.layout)) << text;
    EXPECT_EQ(dump(&reparsed.layout), text);
    reparsed.layout.keys[shipped.layout.cols_count - 1][shipped.layout.rows_count - 1].small ^= 1;
    EXPECT_FALSE(vona::osk_layouts_equal(&shipped.layout, &reparsed.layout));
  }
}

// A structural check of XML: one root element, every tag closed in order, quoted attributes,
// only the predefined entities, no control characters.
bool well_formed_xml(const std::string& xml, std::string* why) {
  std::vector<std::string> open;
  bool root_seen = false;
  size_t i = xml.compare(0, 5, "<?xml") == 0 ? xml.find("?>") + 2 : 0;
  for (; i < xml.size(); ++i) {
    unsigned char c = xml[i];
    if (c < 0x20 && c != '\n' && c != '\t' && c != '\r') return *why = "control character", false;
    if (c == '&') {
      size_t end = xml.find(';', i);
      std::string entity = end == std::string::npos ? "" : xml.substr(i, end - i + 1);
      if (entity != "&amp;" && entity != "&lt;" && entity != "&gt;" && entity != "&quot;" && entity != "&apos;") {
        return *why = "bad entity at " + std::to_string(i), false;
      }
    }
    if (c == '>') return *why = "stray '>' at " + std::to_string(i), false;
    if (c != '<') continue;
    size_t end = xml.find('>', i);
    if (end == std::string::npos) return *why = "unclosed tag", false;
    std::string tag = xml.substr(i + 1, end - i - 1);
    i = end;
    if (tag[0] == '/') {
      if (open.empty() || open.back() != tag.substr(1)) return *why = "mismatched </" + tag + ">", false;
      open.pop_back();
      continue;
    }
    bool empty = tag.back() == '/';
    if (empty) tag.pop_back();
    std::string name = tag.substr(0, tag.find(' '));
    if (open.empty() && root_seen) return *why = "second root element", false;
    root_seen = true;
    for (size_t eq = tag.find('='); eq != std::string::npos; eq = tag.find('=', tag.find('"', eq + 2) + 1)) {
      if (tag[eq + 1] != '"' || tag.find('"', eq + 2) == std::string::npos) return *why = "unquoted attribute in " + tag, false;
    }
    if (!empty) open.push_back(name);
  }
  if (!open.empty() || !root_seen) return *why = "unclosed element", false;
  return true;
}

size_t count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST(OnScreenKeyboard, ToolChecksDumpsAndDraws) {
  test::Sandbox sandbox;
  std::string en = kLayoutsDir + "/vona_keyboard_en.txt";
  std::string broken = sandbox.path("/broken.txt");
  test::write_file(broken, "(en) (bs)\n[a] [bc [d]\nname = x\n");
  std::string out;
  EXPECT_EQ(test::run_tool("osk check " + en, &out), 0);
  EXPECT_EQ(out, en + ": ok, 15 x 5\n");
  EXPECT_EQ(test::run_tool("osk check " + en + " " + broken, &out, true), 1);
  EXPECT_NE(out.find(broken + ": ']' expected at row 1, col 2; char U+005B found."), std::string::npos) << out;
  EXPECT_EQ(test::run_tool("osk check", &out), 2);

  EXPECT_EQ(test::run_tool("osk dump " + en, &out), 0);
  Layout shipped(test::read_file(en));
  EXPECT_EQ(out, dump(&shipped.layout));
  test::make_dirs(sandbox.path("/firmware/on_screen_keyboards"));
  test::write_file(sandbox.path("/firmware/on_screen_keyboards/vona_keyboard_x.txt"), test::read_file(en));
  std::string by_language;
  EXPECT_EQ(test::run_tool("osk dump --lang x", &by_language), 0);
  EXPECT_EQ(by_language, out);
  EXPECT_EQ(test::run_tool("osk dump --lang y"), 1);

  for (const std::string& path : shipped_layouts()) {
    SCOPED_TRACE(path);
    std::string svg, why;
    ASSERT_EQ(test::run_tool("osk render " + path, &svg), 0);
    EXPECT_TRUE(well_formed_xml(svg, &why)) << why;
    Layout layout(test::read_file(path));
    size_t keys = 0, system_keys = 0;
    for (int row = 0; row < layout.layout.rows_count; ++row) {
      for (int col = 0; col < layout.layout.cols_count; ++col) {
        keys += layout.key(col, row).kind == OSK_KeyKind_Char;
        system_keys += layout.key(col, row).kind > OSK_KeyKind_Char;
      }
    }
    EXPECT_EQ(count(svg, "<g class=\"key\">"), keys);
    EXPECT_EQ(count(svg, "<g class=\"system\">"), system_keys);
    EXPECT_EQ(count(svg, "<rect x="), keys + system_keys + layout.layout.rows_count * layout.layout.cols_count);
  }
  std::string svg = sandbox.path("/en.svg");
  EXPECT_EQ(test::run_tool("osk render " + en + " -o " + svg), 0);
  std::string picture = test::read_file(svg);
  EXPECT_NE(picture.find("width=\"442\" height=\"58\" rx=\"6\"/>\n<text x=\"496\" y=\"340\" font-size=\"13\">Space</text>"),
            std::string::npos);  // the space bar spans seven columns and shows its caption
  EXPECT_NE(picture.find(">&quot;</text>"), std::string::npos);
  EXPECT_EQ(test::run_tool("osk render " + broken), 1);
  EXPECT_EQ(test::run_tool("osk render " + en + " -o"), 2);
}

}  // namespace
