// vonautil skin / xml: checking GUI skin configurations and the XML files of the daemons.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "vonautil.h"

namespace tool {
namespace {

// Empty when the file can be read, else why not.
std::string unreadable(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return "cannot read '" + path + "': " + strerror(errno);
  if (!S_ISREG(status.st_mode)) return "cannot read '" + path + "': not a regular file";
  if (access(path.c_str(), R_OK) != 0) return "cannot read '" + path + "': " + strerror(errno);
  return std::string();
}

// Runs `job` with standard error sent to a temporary file, then prints each log line it wrote
// without the log's process, thread and time stamps, indented.
template <typename Job>
void print_log_of(Job job) {
  fflush(stderr);
  FILE* captured = tmpfile();
  int saved = dup(2);
  if (captured == nullptr || saved < 0) {
    job();
    return;
  }
  dup2(fileno(captured), 2);
  job();
  fflush(stderr);
  dup2(saved, 2);
  close(saved);
  rewind(captured);
  char line[4096];
  while (fgets(line, sizeof line, captured)) {
    const char* message = line;
    for (int i = 0; i < 3 && message[0] == '['; ++i) {
      const char* end = strstr(message, "] ");
      if (end == nullptr) break;
      message = end + 2;
    }
    printf("  %s", message);
  }
  fclose(captured);
}

const char* hex(int value, int digits) {
  static char text[16];
  snprintf(text, sizeof text, "#%0*X", digits, value);
  return text;
}

void print_views(const char* name, const gui_skin_view_list* views, int default_index) {
  printf("%s (default %d):\n", name, default_index);
  for (int i = 0; i < views->num_items; ++i) {
    const gui_skin_view* view = views->items[i];
    static const char* const kTypes[] = {"list", "exlist", "icons"};
    printf("  id='%s' caption='%s' type=%s", view->id, view->caption, kTypes[view->type]);
    for (int k = 0; k < view->params->count; ++k) printf(" %s='%s'", view->params->keys[k], view->params->values[k]);
    printf("\n");
  }
}

void print_skin(const gui_skin_config* cfg) {
  auto flag = [](int value) { return value ? "yes" : "no"; };
  auto text = [](const char* value) { return value ? value : "(none)"; };
  printf("parameters:\n");
  printf("  disable_glasses=%s enable_badge_icons=%s widget_paint_logo_only=%s\n", flag(cfg->disable_glasses),
         flag(cfg->enable_badge_icons), flag(cfg->widget_paint_logo_only));
  printf("  default_badge_icon_file=%s setup_badge_icon_file=%s\n", text(cfg->default_badge_icon_file),
         text(cfg->setup_badge_icon_file));
  printf("  setup_hr_color_rgb=%s", hex(cfg->setup_hr_color_rgb, 6));
  printf(" setup_hr_alpha=%s", hex(cfg->setup_hr_alpha, 2));
  printf(" setup_hr_min_alpha=%s setup_hr_width=%d\n", hex(cfg->setup_hr_min_alpha, 2), cfg->setup_hr_width);
  printf("  show_home_in_path=%s\n", gui_skin_show_home_in_path_to_string(cfg->show_home_in_path));
  printf("  gui_control_normal_text_y_shift=%d gui_control_sel_y_shift=%d gui_control_sel_h_shift=%d"
         " text_field_inner_sel_y_shift=%d\n",
         cfg->gui_control_normal_text_y_shift, cfg->gui_control_sel_y_shift, cfg->gui_control_sel_h_shift,
         cfg->text_field_inner_sel_y_shift);
  printf("  osd_current_box_color_rgb=%s", hex(cfg->osd_current_box_color_rgb, 6));
  printf(" osd_current_box_alpha=%s\n", hex(cfg->osd_current_box_alpha, 2));
  printf("ui_types:");
  for (int i = 0; i < cfg->num_ui_types; ++i) printf(" %s", ui_type_to_string(cfg->ui_types[i]));
  printf(" (default %s)\n", cfg->num_ui_types ? ui_type_to_string(cfg->ui_types[cfg->default_ui_type_index]) : "-");
  print_views("root_views", cfg->root_views, cfg->default_root_view_index);
  print_views("setup_views", cfg->setup_views, cfg->default_setup_view_index);
  print_views("folder_views", cfg->folder_views, cfg->default_folder_view_index);
  printf("text_colors:");
  for (int i = 0; i < cfg->text_colors->num_items; ++i) {
    printf(" %d=%s", cfg->text_colors->items[i]->index, hex(cfg->text_colors->items[i]->rgb, 6));
  }
  printf("\n");
  const gui_skin_upgrader_config* u = cfg->upgrader;
  if (u == nullptr) {
    printf("upgrader: (none)\n");
  } else {
    printf("upgrader: bg=%s progress=%s border=%d title=%s size=%d y=%d text=%s size=%d short_mode=%s\n",
           text(u->bg_image), text(u->progress_image), u->progress_border, text(u->title_font), u->title_size,
           u->title_y, text(u->text_font), u->text_size, flag(u->short_mode));
  }
}

// Applies the files in turn over the defaults; false when an update was refused.
bool check_skin(const std::vector<std::string>& files) {
  gui_skin_config* cfg = gui_skin_config_create();
  bool all_ok = true;
  for (const std::string& file : files) {
    printf("%s:\n", file.c_str());
    int ok = 0;
    print_log_of([&] { ok = gui_skin_config_create_from_file(cfg, file.c_str()); });
    printf("  => %s\n", ok ? "applied" : "REFUSED");
    all_ok = all_ok && ok;
  }
  print_skin(cfg);
  gui_skin_config_free(cfg);
  return all_ok;
}

int run_skin(const std::vector<std::string>& args) {
  if (args.empty() || args[0] != "check") return usage_error("skin", "expected 'check FILE...'");
  std::vector<std::string> files(args.begin() + 1, args.end());
  if (files.empty()) return usage_error("skin", "check needs at least one FILE");
  for (const std::string& file : files) {
    std::string problem = unreadable(file);
    if (!problem.empty()) return failure("skin", problem);
  }
  xml_document_initialize();
  return check_skin(files) ? kOk : kFailed;
}

TOOL_COMMAND("skin", "check GUI skin configuration files",
             "Usage: vonautil skin check FILE...\n"
             "Applies each skin configuration file in turn over the built-in defaults, as the player\n"
             "does, and prints what the reader logged for each file (values used, entries ignored,\n"
             "errors), then the resulting configuration: parameters, UI types and their default, the\n"
             "root, setup and folder views (id, caption, type, params), text colours and the upgrader\n"
             "screen.\n"
             "Exit status 1 when an update was refused or a file cannot be read.\n",
             run_skin);

// Prints the messages of an xmlp load; true when none of them is a load error.
bool print_messages(message_list* messages) {
  bool loaded = true;
  for (int i = 0; messages && i < messages->count; ++i) {
    bool error = messages->entries[i].kind == XMLP_LEVEL_ERROR;
    printf("%s: %s\n", error ? "error" : "warning", messages->entries[i].text);
    loaded = loaded && !error;
  }
  return loaded;
}

int run_xml(const std::vector<std::string>& args) {
  if (args.empty() || args[0] != "check") return usage_error("xml", "expected 'check FILE [ROOT]'");
  if (args.size() < 2 || args.size() > 3) return usage_error("xml", "check takes FILE and an optional ROOT");
  const std::string& file = args[1];
  std::string problem = unreadable(file);
  if (!problem.empty()) return failure("xml", problem);
  xml_document_initialize();
  xmlp_context* context = xmlp_start(file.c_str(), args.size() == 3 ? args[2].c_str() : nullptr);
  if (context->root) printf("root element <%s>\n", xml_text_get_text((xml_node*)context->root));
  message_list* messages = xmlp_finish(context);
  bool loaded = print_messages(messages);
  ML_free_message_list(messages);
  return loaded ? kOk : kFailed;
}

TOOL_COMMAND("xml", "check that an XML file loads",
             "Usage: vonautil xml check FILE [ROOT]\n"
             "Loads FILE as the library's XML readers do and prints the root element and every\n"
             "message of the load: 'error: ...' when the file cannot be parsed (with line and\n"
             "column), has no root element or, with ROOT given, a root of another name.\n"
             "Documents nested deeper than 256 levels are refused before parsing.\n"
             "Exit status 1 on an error or when the file cannot be read.\n",
             run_xml);

// --- demo ------------------------------------------------------------------------------------

void demo_skin() {
  std::string path = vona::fixed_path("/firmware/skin/skin_config.xml");
  FS_ensure_dirs(vona::fixed_path("/firmware/skin").c_str(), 0755);
  FS_writestring(path.c_str(),
                 "<skin_config>\n"
                 "  <setup_hr_color_rgb>#A0B0C0</setup_hr_color_rgb>\n"
                 "  <setup_hr_width>3</setup_hr_width>\n"
                 "  <ui_types><ui_type>tabs</ui_type><ui_type>plain</ui_type><default>plain</default></ui_types>\n"
                 "  <root_views><view><id>grid</id><caption>Grid</caption><type>grid</type></view>\n"
                 "              <view><id>list</id><caption>List</caption><type>list</type>\n"
                 "                <rows>8</rows></view></root_views>\n"
                 "  <setup_views><view><id>s</id><caption>Setup</caption><type>exlist</type></view></setup_views>\n"
                 "  <folder_views><view><id>f</id><caption>Folder</caption><type>icons</type></view></folder_views>\n"
                 "</skin_config>\n");
  printf("A skin whose first root view has the type 'grid', which skins cannot use;\n"
         "'vonautil skin check' shows the complaint and what was applied:\n");
  check_skin({path});
}

TOOL_DEMO_STEP(45, "XML: a GUI skin configuration with a mistake", demo_skin);

}  // namespace
}  // namespace tool
