#include "test_support.hpp"

namespace {

const bool initialized = (xml_document_initialize(), true);

const char* const kViews =
    "<root_views><view><id>r</id><caption>Root</caption><type>list</type></view></root_views>"
    "<setup_views><view><id>s</id><caption>Setup</caption><type>exlist</type></view></setup_views>"
    "<folder_views><view><id>f</id><caption>Folder</caption><type>icons</type></view></folder_views>";

// The 16 parameters in their order, then the UI types with the default index.
std::string params(const gui_skin_config* c) {
  char text[512];
  snprintf(text, sizeof text, "%d %d %d %s %s %X %X %X %d %d %d %d %d %d %X %X |", c->disable_glasses,
           c->enable_badge_icons, c->widget_paint_logo_only,
           c->default_badge_icon_file ? c->default_badge_icon_file : "-",
           c->setup_badge_icon_file ? c->setup_badge_icon_file : "-", c->setup_hr_color_rgb, c->setup_hr_alpha,
           c->setup_hr_min_alpha, c->setup_hr_width, c->show_home_in_path, c->gui_control_normal_text_y_shift,
           c->gui_control_sel_y_shift, c->gui_control_sel_h_shift, c->text_field_inner_sel_y_shift,
           c->osd_current_box_color_rgb, c->osd_current_box_alpha);
  std::string all = text;
  for (int i = 0; i < c->num_ui_types; ++i) all += " " + std::to_string(c->ui_types[i]);
  return all + " /" + std::to_string(c->default_ui_type_index);
}

std::string upgrader(const gui_skin_upgrader_config* u) {
  return std::string(u->bg_image) + " " + u->progress_image + " " + std::to_string(u->progress_border) + " " +
         u->title_font + " " + std::to_string(u->title_size) + " " + std::to_string(u->title_y) + " " + u->text_font +
         " " + std::to_string(u->text_size) + " " + std::to_string(u->short_mode);
}

class SkinTest : public test::SandboxTest {
 protected:
  ~SkinTest() override { gui_skin_config_free(cfg); }

  // Applies a file with the given content; returns what was logged and sets `ok`.
  std::string apply(const std::string& content) {
    std::string path = sandbox.path("/skin.xml");
    test::write_file(path, content);
    return test::captured_stderr([&] { ok = gui_skin_config_create_from_file(cfg, path.c_str()); });
  }
  std::string apply_root(const std::string& children) { return apply("<skin>" + children + kViews + "</skin>"); }

  std::string views(const gui_skin_view_list* list) {
    std::string text;
    for (int i = 0; i < list->num_items; ++i) {
      text +=
          std::string(list->items[i]->id) + "/" + list->items[i]->caption + "/" + std::to_string(list->items[i]->type);
      for (int k = 0; k < list->items[i]->params->count; ++k) {
        text += std::string(" ") + list->items[i]->params->keys[k] + "=" + list->items[i]->params->values[k];
      }
      text += ";";
    }
    return text;
  }

  gui_skin_config* cfg = gui_skin_config_create();
  int ok = -1;
};

}  // namespace

TEST_F(SkinTest, StartsWithTheDefaults) {
  EXPECT_EQ("0 0 0 - - 707090 30 0 12 0 0 0 0 0 FDFD40 FE | 0 1 2 /1", params(cfg));
  EXPECT_EQ(0, cfg->root_views->num_items + cfg->setup_views->num_items + cfg->folder_views->num_items +
                   cfg->text_colors->num_items);
  EXPECT_EQ(nullptr, cfg->upgrader);
  gui_skin_config_free(nullptr);
  EXPECT_DEATH(
      gui_skin_config_create_from_file(nullptr, "x"),
      test::assertion_report("player/src/util/mt/gui_skin_config", 0, "gui_skin_config_create_from_file", "cfg"));
}

TEST_F(SkinTest, AppliesParameterWordsAndLogsThem) {
  std::string log = apply_root(
      "<disable_glasses>yes</disable_glasses><enable_badge_icons>YES</enable_badge_icons>"
      "<default_badge_icon_file>badge.png</default_badge_icon_file>"
      "<setup_hr_color_rgb>#A0B0C0</setup_hr_color_rgb><osd_current_box_color_rgb>A0B0C</osd_current_box_color_rgb>"
      "<setup_hr_alpha> 7f\t</setup_hr_alpha><setup_hr_min_alpha>7f0</setup_hr_min_alpha>"
      "<osd_current_box_alpha>#0A</osd_current_box_alpha>"
      "<setup_hr_width>3</setup_hr_width><show_home_in_path>no</show_home_in_path>"
      "<gui_control_sel_y_shift>5</gui_control_sel_y_shift><gui_control_sel_h_shift>-3</gui_control_sel_h_shift>"
      "<widget_paint_logo_only>yes</widget_paint_logo_only><setup_badge_icon_file>s.png</setup_badge_icon_file>"
      "<gui_control_normal_text_y_shift>2</gui_control_normal_text_y_shift>"
      "<text_field_inner_sel_y_shift>-1</text_field_inner_sel_y_shift>");
  EXPECT_EQ(1, ok);
  EXPECT_EQ("1 0 1 badge.png s.png A0B0C0 7F 0 3 1 2 5 -3 -1 FDFD40 A | 0 1 2 /1", params(cfg));
  for (const char* setting : {"disable_glasses=true", "enable_badge_icons=false", "default_badge_icon_file='badge.png'",
                              "setup_hr_color_rgb=0xA0B0C0", "setup_hr_alpha=0x7F", "setup_hr_width=3",
                              "show_home_in_path=no"}) {
    EXPECT_CONTAINS(log, std::string("] [gui_skin_config] using ") + setting + "\n");
  }
  EXPECT_FALSE(test::Contains(log, "unrecognized"));

  // Over those values: a bad shift resets to 0, a bad width gives 12, an unknown word "setup".
  apply_root("<setup_hr_width>1</setup_hr_width><gui_control_sel_y_shift>abc</gui_control_sel_y_shift>"
             "<show_home_in_path>maybe</show_home_in_path><setup_hr_color_rgb>A0B0C0D</setup_hr_color_rgb>"
             "<disable_glasses>1</disable_glasses><colour>red</colour>");
  EXPECT_EQ("1 0 1 badge.png s.png A0B0C0 7F 0 12 0 2 0 -3 -1 FDFD40 A | 0 1 2 /1", params(cfg));
  apply_root("<show_home_in_path>yes</show_home_in_path>");
  EXPECT_EQ(2, cfg->show_home_in_path);
  apply_root("<show_home_in_path>auto</show_home_in_path>");
  EXPECT_EQ(0, cfg->show_home_in_path);
  EXPECT_TRUE(
      test::Contains(apply_root("<colour>red</colour>"), "] [gui_skin_config] warning: unrecognized element 'colour'\n"));
}

TEST_F(SkinTest, ParamsElementReplacesRootChildrenAsTheSource) {
  apply_root(
      "<enable_badge_icons>no</enable_badge_icons><setup_hr_width>5</setup_hr_width>"
      "<params><param name=\"enable_badge_icons\" value=\"yes\"/><param name=\"setup_hr_width\"/><param value=\"3\"/>"
      "<param name=\"setup_hr_alpha\" value=\"10\"/><param name=\"setup_hr_alpha\" value=\"20\"/></params>");
  EXPECT_EQ(1, ok);
  EXPECT_EQ(1, cfg->enable_badge_icons);
  EXPECT_EQ(12, cfg->setup_hr_width);
  EXPECT_EQ(0x20, cfg->setup_hr_alpha);
}

TEST_F(SkinTest, ReadsUiTypesAndTextColours) {
  std::string log = apply_root(
      "<ui_types><ui_type>tabs</ui_type><ui_type>type2</ui_type><ui_type>grid</ui_type><ui_type>plain</ui_type>"
      "<default>folders</default></ui_types>"
      "<text_colors><color index=\"2\" value=\"#102030\"/><color index=\"-1\" value=\"102030\"/>"
      "<color value=\"102030\"/><color index=\"3\" value=\"12345\"/><color index=\"0\" value=\" "
      "FFFFFF\"/></text_colors>");
  EXPECT_EQ(1, ok);
  EXPECT_CONTAINS(params(cfg), "| 1 0 /0");
  for (const char* line : {"duplicate ui_type", "invalid ui_type", "invalid default ui_type 'folders'",
                           "invalid or missing text color value"}) {
    EXPECT_CONTAINS(log, std::string("[gui_skin_config] ") + line + "; ignored\n");
  }
  size_t first = log.find("invalid or missing text color index; ignored");
  EXPECT_NE(std::string::npos, log.find("invalid or missing text color index; ignored", first + 1));
  ASSERT_EQ(2, cfg->text_colors->num_items);
  EXPECT_EQ(2, cfg->text_colors->items[0]->index);
  EXPECT_EQ(0x102030, cfg->text_colors->items[0]->rgb);
  EXPECT_EQ(0xFFFFFF, cfg->text_colors->items[1]->rgb);

  apply_root("<ui_types><ui_type>folders</ui_type><ui_type>plain</ui_type><default>type1</default></ui_types>");
  EXPECT_EQ(1, cfg->default_ui_type_index);
  EXPECT_CONTAINS(apply_root("<ui_types><ui_type>x</ui_type></ui_types>"), "no UI types specified");
  EXPECT_EQ(0, ok);
}

TEST_F(SkinTest, ReadsViewListsAndRefusesEmptyOnes) {
  std::string log = apply(
      "<skin><root_views><default>b</default>"
      "<view><id>   </id><caption>Blank</caption><type>list</type></view>"
      "<view><id>g</id><caption>Grid</caption><type>grid</type></view>"
      "<view><id>c</id><caption/><type>list</type></view>"
      "<view><id>a</id><caption> A </caption><type>list</type><rows>8</rows><empty/><cols>2</cols></view>"
      "<view><type>icons</type><caption>B</caption><id>b</id></view></root_views>"
      "<setup_views><default>none</default><view><id>s</id><caption>S</caption><type>exlist</type></view></setup_views>"
      "<folder_views><view><id>f</id><caption>F</caption><type>icons</type></view></folder_views></skin>");
  EXPECT_EQ(1, ok);
  EXPECT_EQ("a/ A /0 rows=8 cols=2;b/B/2;", views(cfg->root_views));
  EXPECT_EQ(1, cfg->default_root_view_index);
  EXPECT_EQ(0, cfg->default_setup_view_index);
  EXPECT_EQ(1, gui_skin_view_list_find_by_id(cfg->root_views, "b"));
  EXPECT_EQ(-1, gui_skin_view_list_find_by_id(cfg->root_views, "B"));
  for (const char* line :
       {"[gui_skin_config] bad view 'id'; ignored\n", "[gui_skin_config] bad view type; ignored\n",
        "[gui_skin_config] bad view caption; ignored\n", "[gui_skin_config]: invalid value of view param 'empty'\n",
        "[gui_skin_config] setup_views: invalid default view id 'none'; ignored\n"}) {
    EXPECT_CONTAINS(log, line);
  }

  // An empty list element fails the update at once.
  EXPECT_CONTAINS(apply("<skin><root_views/><colour/></skin>"), "] [gui_skin_config] no root_views specified\n");
  EXPECT_EQ(0, ok);
  EXPECT_EQ("", views(cfg->root_views));

  // The lists are checked in the record after the update: on a fresh record a file without
  // folder views is refused, with the rest applied.
  gui_skin_config_free(cfg);
  cfg = gui_skin_config_create();
  log = apply(
      "<skin><setup_hr_width>5</setup_hr_width><root_views><view><id>r</id><caption>R</caption><type>list</type>"
      "</view></root_views><setup_views><view><id>s</id><caption>S</caption><type>list</type></view>"
      "</setup_views></skin>");
  EXPECT_EQ(0, ok);
  EXPECT_CONTAINS(log, "] [gui_skin_config] no folder views specified\n");
  EXPECT_EQ("5 r/R/0;", std::to_string(cfg->setup_hr_width) + " " + views(cfg->root_views));
  // A second file over a complete record replaces only the lists it names.
  apply_root("");
  apply("<skin><setup_views><view><id>t</id><caption>T</caption><type>list</type></view></setup_views></skin>");
  EXPECT_EQ(1, ok);
  EXPECT_EQ("r/Root/0; t/T/0; f/Folder/2;",
            views(cfg->root_views) + " " + views(cfg->setup_views) + " " + views(cfg->folder_views));
}

TEST_F(SkinTest, ReadsTheUpgraderScreen) {
  std::string log = apply_root(
      "<upgrader><progress image=\"p.png\"/><title font=\"t.ttf\"/><text font=\"x.ttf\"/></upgrader>"
      "<upgrader><progress/></upgrader>");
  EXPECT_EQ(1, ok);
  EXPECT_CONTAINS(log, "[gui_skin_config] Warning: duplicate upgrader element; ignored\n");
  ASSERT_NE(nullptr, cfg->upgrader);
  EXPECT_EQ("bg.jpg p.png 4 t.ttf 72 200 x.ttf 48 0", upgrader(cfg->upgrader));
  apply_root(
      "<upgrader><bg image=\"b.png\"/><progress image=\"q.png\" border=\"0\"/><title font=\"T\" size=\"1\" y=\"9\"/>"
      "<text font=\"X\" size=\"20\"/><short_mode value=\"yes\"/></upgrader>");
  EXPECT_EQ("b.png q.png 0 T 1 9 X 20 1", upgrader(cfg->upgrader));

  // Each row replaces one element of a complete screen.
  const std::string complete = "<progress image=\"p\"/><title font=\"t\"/><text font=\"x\"/>";
  struct Case { const char *element, *replacement, *message; } cases[] = {
      {"<progress image=\"p\"/>", "", "required 'progress' element missing"},
      {"<progress image=\"p\"/>", "<progress/>", "required 'image' attribute of 'progress' element missing"},
      {"<progress image=\"p\"/>", "<progress image=\"p\" border=\"-1\"/>",
       "invalid value -1 of 'border' attribute of 'progress' element"},
      {"<title font=\"t\"/>", "<title/>", "required 'font' attribute of 'title' element missing"},
      {"<title font=\"t\"/>", "<title font=\"t\" size=\"0\"/>", "invalid value 0 of 'size' attribute of 'title' element"},
      {"<title font=\"t\"/>", "<title font=\"t\" y=\"x\"/>", "invalid value x of 'size' attribute of 'title' element"},
      {"<text font=\"x\"/>", "<text font=\"x\" size=\"0\"/>", "invalid value 0 of 'size' attribute of 'text' element"},
      {"<text font=\"x\"/>", "<text font=\"x\"/><short_mode value=\"on\"/>", nullptr},
  };
  for (const Case& c : cases) {
    std::string body = complete;
    body.replace(body.find(c.element), strlen(c.element), c.replacement);
    log = apply_root("<upgrader>" + body + "</upgrader>");
    EXPECT_EQ(c.message == nullptr, ok) << body;
    EXPECT_CONTAINS(log, c.message ? std::string("] [gui_skin_config] Error: ") + c.message + "\n" : "");
  }
  EXPECT_EQ("bg.jpg p 4 t 72 200 x 48 0", upgrader(cfg->upgrader));  // refused ones left it alone
}

TEST_F(SkinTest, RefusesFilesThatCannotBeReadOrParsed) {
  std::string missing = sandbox.path("/none.xml");
  EXPECT_CONTAINS(
      test::captured_stderr([&] { EXPECT_EQ(0, gui_skin_config_create_from_file(cfg, missing.c_str())); }),
      "] [gui_skin_config] failed to read GUI skin config from '" + missing + "': No such file or directory\n");
  EXPECT_CONTAINS(apply(" \n"), "] [gui_skin_config] failed to create XML document\n");
  EXPECT_CONTAINS(apply("<skin>\n<a></b></skin>"),
                  "] [gui_skin_config] parse error: id=8, row=2, col=4, descr: Error reading end tag.\n");
  EXPECT_CONTAINS(apply("<!-- nothing -->"), "] [gui_skin_config] failed to get root XML element\n");
  EXPECT_EQ(0, ok);
  EXPECT_EQ(0, cfg->root_views->num_items);
}

TEST(SkinWords, AreExactAndFallBack) {
  EXPECT_EQ("2 2 -1 -1 -1",
            std::to_string(ui_type_from_string("folders")) + " " + std::to_string(ui_type_from_string("type3")) + " " +
                std::to_string(ui_type_from_string("Tabs")) + " " + std::to_string(ui_type_from_string("")) + " " +
                std::to_string(ui_type_from_string(nullptr)));
  EXPECT_EQ("type3||no|", std::string(ui_type_to_string(2)) + "|" + ui_type_to_string(3) + "|" +
                              gui_skin_show_home_in_path_to_string(1) + "|" + gui_skin_show_home_in_path_to_string(-1));
  EXPECT_EQ(0, gui_skin_show_home_in_path_from_string("default", 7));
  EXPECT_EQ(7, gui_skin_show_home_in_path_from_string("Yes", 7));
  EXPECT_EQ(7, gui_skin_show_home_in_path_from_string(nullptr, 7));
}

TEST_F(SkinTest, ToolChecksSkinsAndXmlFiles) {
  std::string good = sandbox.path("/good.xml"), refused = sandbox.path("/refused.xml");
  test::write_file(good, std::string("<skin><setup_hr_width>3</setup_hr_width>") + kViews + "</skin>");
  test::write_file(refused, "<skin><root_views/></skin>");
  const std::string none = sandbox.path("/none.xml");
  test::expect_tool({
      {"skin check " + good, 0, "  [gui_skin_config] using setup_hr_width=3\n  => applied\n"},
      {"skin check " + good, 0, "root_views (default 0):\n  id='r' caption='Root' type=list\n"},
      {"skin check " + good + " " + refused, 1, "  [gui_skin_config] no root_views specified\n  => REFUSED\n"},
      {"skin check " + good + " " + none, 1, "vonautil skin: cannot read '" + none + "': No such file or directory\n"},
      {"skin list " + good, 2, ""}, {"xml check " + good + " skin", 0, "root element <skin>\n"},
      {"xml check " + good + " list", 1, "error: Root element \"skin\" found instead of \"list\".\n"},
      {"xml check " + sandbox.root(), 1, "not a regular file"}, {"xml check a b c", 2, ""},
  });
}
