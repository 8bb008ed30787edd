#include <glob.h>

#include "player/src/util/on_screen_keyboard.hpp"
#include "test_support.hpp"

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

size_t count(const std::string& text, const std::string& what) {
  size_t n = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
  return n;
}

TEST(OnScreenKeyboard, ParsesKeysPropertiesAndTheRestOfTheRow) {
  Layout l("\xEF\xBB\xBF# comment\r\n  [Aa] [b ] {Cc} {d } (en) (bs) (sh) (cl)\r\n"
           "name =  Русская  \nsp = x\nen =\n"
           "reduced_rows_mask = 6\n[b] (la) (sp ~~~ ~~~) {x ~~~}\nreduced_rows_mask =\n");
  ASSERT_EQ(l.message, nullptr) << l.error();
  EXPECT_EQ(l.layout.caption_enter, nullptr);
  EXPECT_TRUE(l.layout.has_lang_key);
  // The dump shows every key, the size and the properties; what it cannot show is checked here.
  EXPECT_EQ(l.key(0).shifted_char, (UTF32)'A');
  EXPECT_EQ(l.key(1).shifted_char, 0u);
  EXPECT_EQ(l.key(6, 1).span, 0);
  EXPECT_TRUE(l.key(6, 1).small);
  EXPECT_EQ(l.key(29, 1).span, 1);
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
  EXPECT_FALSE(fifteen.layout.has_lang_key);
  EXPECT_EQ(fifteen.key(0, 14).normal_char, (UTF32)'a');
  EXPECT_EQ(Layout(repeat("...\n", 15) + kRequired).error(), "Too many rows (16 while max is 30) in the layout.");
}

TEST(OnScreenKeyboard, ErrorsNameTheirRowAndColumn) {
  const std::pair<std::string, std::string> cases[] = {
      {"# fine\n# tab\there", "Invalid char U+0009 in comment."}, {"\t(en)", "Invalid char U+0009."},
      {"\xD0\x96", "Invalid char U+0416."},
      {"(en) (bs)\n[a] [b] x", "Invalid start of key at row 1, col 2: 'x'. Expected '.', '[', '{' or '('."},
      {"[a] \xD0\x96", "Invalid start of key at row 0, col 1: '\xD0\x96'. Expected '.', '[', '{' or '('."},
      {"(en)\n... ..", "'...' expected at row 1, col 1."}, {"[a] (e )", "System key name expected at row 0, col 1."},
      {"(\xD0\x96\xD0\x96)", "Unknown system key name at row 0, col 0."},
      {"[a] (xx)", "Unknown system key name at row 0, col 1."},
      {"[a] [ a]", "Char key character expected at row 0, col 1; char U+0020 found."},
      {"{", "Char key character expected at row 0, col 0; char U+0000 found."},
      {"(sp~~~)", "Space expected before '~' at row 0, col 1."}, {"(sp ~~~~)", "Space expected before '~' at row 0, col 2."},
      {"[a] (sp ~~~ ~x)", "'~~~' expected at row 0, col 3."},
      {"{d} (en)", "'}' expected at row 0, col 1; char U+0028 found."},
      {"[ab", "']' expected at row 0, col 1; char U+0000 found."},
      {"(en ~~~ x)", "')' expected at row 0, col 2; char U+0078 found."},
      {"name x", "'=' expected."}, {"name = a\x02", "Invalid char U+0002 in property 'name'."},
      {"colour = red", "Unknown property name: 'colour'."},
      {repeat("n", 100) + " = x", "Too long property name: '" + repeat("n", 99) + "'."},
      {repeat("n", 99) + " = x", "Unknown property name: '" + repeat("n", 99) + "'."},
      {"sh = " + repeat("\xD0\x96", 1000), "Too long value of property 'sh'."},
      // The checks after the text, in their order.
      {"", "Enter key (en) is missing in the layout."}, {"(en)", "Backspace key (bs) is missing in the layout."},
      {"(en) (bs) [Aa] (cl)", "Shift key (sh) is missing in the layout, while shifted chars exist."},
      {"(en) (bs) [Aa] (sh)", "CapsLock key (cl) is missing in the layout, while shifted chars exist."},
      {"(en) (bs) [a]\nname = x\nname =", "'name' property should be defined."},
      {"(en) (bs)\nname = x\nsymbolic_layout_file = s.txt",
       "'symbolic_layout_file' property can be defined only when the Symbolic (sy) key is present."},
      {"(en) (bs)\nname = x\nsp = Space", "'sp' property can be defined only when the Space (sp) key is present."},
  };
  for (const auto& c : cases) EXPECT_EQ(Layout(c.first).error(), c.second) << c.first;
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
  // A dump of a layout whose wide key does not cover its cells.
  parsed.layout.rows_count = 1;
  parsed.layout.cols_count = 3;
  parsed.layout.keys[1][0].span = 2;
  EXPECT_DEATH(dump(&parsed.layout), test::assertion_report(kModule, 0, "osk_dump_to_string",
                                                            "layout->keys[col][row].span == 0"));
}

// Every shipped layout parses, its dump parses back equal, and the tool draws each of its keys.
TEST(OnScreenKeyboard, ShippedLayoutsParseDumpBackEqualAndRender) {
  glob_t found;
  ASSERT_EQ(0, glob((kLayoutsDir + "/vona_keyboard_*.txt").c_str(), 0, nullptr, &found));
  std::vector<std::string> paths(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  EXPECT_GE(paths.size(), 5u);
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    Layout shipped(test::read_file(path));
    ASSERT_EQ(shipped.message, nullptr) << shipped.error();
    std::string text = dump(&shipped.layout);
    Layout reparsed(text);
    ASSERT_EQ(reparsed.message, nullptr) << reparsed.error() << "\n" << text;
    EXPECT_TRUE(vona::osk_layouts_equal(&shipped.layout, &reparsed.layout)) << text;
    EXPECT_EQ(dump(&reparsed.layout), text);
    reparsed.layout.keys[shipped.layout.cols_count - 1][shipped.layout.rows_count - 1].small ^= 1;
    EXPECT_FALSE(vona::osk_layouts_equal(&shipped.layout, &reparsed.layout));

    std::string svg;
    ASSERT_EQ(test::run_tool("osk render " + path, &svg), 0);
    size_t keys = 0, system_keys = 0, cols = shipped.layout.cols_count, cells = cols * shipped.layout.rows_count;
    for (size_t cell = 0; cell < cells; ++cell) {
      unsigned kind = shipped.key(cell % cols, cell / cols).kind;
      (kind == OSK_KeyKind_Char ? keys : system_keys) += kind != OSK_KeyKind_None;
    }
    EXPECT_EQ(count(svg, "<g class=\"key\">"), keys);
    EXPECT_EQ(count(svg, "<g class=\"system\">"), system_keys);
    EXPECT_EQ(count(svg, "</g>"), keys + system_keys + 1);  // every group closed, the grid's too
    EXPECT_EQ(count(svg, "<rect x="), keys + system_keys + cells);
  }
}

TEST(OnScreenKeyboard, ToolChecksDumpsAndDraws) {
  test::Sandbox sandbox;
  std::string en = kLayoutsDir + "/vona_keyboard_en.txt";
  std::string broken = sandbox.path("/broken.txt");
  test::write_file(broken, "(en) (bs)\n[a] [bc [d]\nname = x\n");
  test::expect_tool({{"osk check " + en, 0, en + ": ok, 15 x 5\n", true},
                     {"osk check " + en + " " + broken, 1, broken + ": ']' expected at row 1, col 2; char U+005B found."},
                     {"osk check", 2, ""}, {"osk dump --lang y", 1, ""},
                     {"osk render " + broken, 1, ""}, {"osk render " + en + " -o", 2, ""}});
  std::string out;
  EXPECT_EQ(test::run_tool("osk dump " + en, &out), 0);
  Layout shipped(test::read_file(en));
  EXPECT_EQ(out, dump(&shipped.layout));
  test::make_dirs(sandbox.path("/firmware/on_screen_keyboards"));
  test::write_file(sandbox.path("/firmware/on_screen_keyboards/vona_keyboard_x.txt"), test::read_file(en));
  std::string by_language;
  EXPECT_EQ(test::run_tool("osk dump --lang x", &by_language), 0);
  EXPECT_EQ(by_language, out);

  std::string svg = sandbox.path("/en.svg");
  EXPECT_EQ(test::run_tool("osk render " + en + " -o " + svg), 0);
  std::string picture = test::read_file(svg);
  EXPECT_NE(picture.find("width=\"442\" height=\"58\" rx=\"6\"/>\n<text x=\"496\" y=\"340\" font-size=\"13\">Space</text>"),
            std::string::npos);  // the space bar spans seven columns and shows its caption
  EXPECT_NE(picture.find(">&quot;</text>"), std::string::npos);
}

}  // namespace
