// GUI skin configuration: built-in defaults updated from a skin's XML configuration files.
#include "player/src/util/mt/gui_skin_config.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/containers.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/xml_parser.h"

namespace {

void gui_skin_view_free(gui_skin_view* view) {
  if (view == nullptr) return;
  free(view->id);
  free(view->caption);
  properties_free(view->params);
  free(view);
}

void gui_skin_text_color_free(gui_skin_text_color* color) { free(color); }

void gui_skin_upgrader_config_free(gui_skin_upgrader_config* upgrader) {
  if (upgrader == nullptr) return;
  free(upgrader->bg_image);
  free(upgrader->progress_image);
  free(upgrader->title_font);
  free(upgrader->text_font);
  free(upgrader);
}

}  // namespace

TYPED_LIST_DEFINE(gui_skin_view_list, gui_skin_view, gui_skin_view_free);
TYPED_LIST_DEFINE(gui_skin_text_color_list, gui_skin_text_color, gui_skin_text_color_free);

namespace {

const char* const kLog = "[gui_skin_config]";

// ---- Values ----------------------------------------------------------------------------------

// [blanks]["#"] then exactly `digits` hexadecimal digits, then the end or a blank; anything
// else gives `current`.
int parse_hex(const char* text, int digits, int current) {
  if (text == nullptr) return current;
  const char* p = text;
  while (vona::is_space(*p)) ++p;
  if (*p == '#') ++p;
  int value = 0;
  for (int i = 0; i < digits; ++i, ++p) {
    int nibble = hex_char_to_nibble(*p);
    if (nibble < 0) return current;
    value = value * 16 + nibble;
  }
  return *p == '\0' || vona::is_space(*p) ? value : current;
}

int no_yes(const char* text, int default_value) {
  return get_index_by_func_and_string(get_no_yes_choice_string_by_value, text, default_value);
}

char* copy(const char* text) { return text ? strdup(text) : nullptr; }

void replace(char** holder, const char* text) {
  free(*holder);
  *holder = copy(text);
}

// ---- Parameters -------------------------------------------------------------------------------

enum Kind { kBool, kString, kRgb, kAlpha, kWidth, kShowHome, kShift };

struct Param {
  const char* name;
  Kind kind;
  size_t offset;
};

#define PARAM(field, kind) {#field, kind, offsetof(gui_skin_config, field)}
const Param kParams[] = {
    PARAM(disable_glasses, kBool),
    PARAM(enable_badge_icons, kBool),
    PARAM(widget_paint_logo_only, kBool),
    PARAM(default_badge_icon_file, kString),
    PARAM(setup_badge_icon_file, kString),
    PARAM(setup_hr_color_rgb, kRgb),
    PARAM(setup_hr_alpha, kAlpha),
    PARAM(setup_hr_min_alpha, kAlpha),
    PARAM(setup_hr_width, kWidth),
    PARAM(show_home_in_path, kShowHome),
    PARAM(gui_control_normal_text_y_shift, kShift),
    PARAM(gui_control_sel_y_shift, kShift),
    PARAM(gui_control_sel_h_shift, kShift),
    PARAM(text_field_inner_sel_y_shift, kShift),
    PARAM(osd_current_box_color_rgb, kRgb),
    PARAM(osd_current_box_alpha, kAlpha),
};
#undef PARAM

bool is_param_name(const char* name) {
  for (const Param& param : kParams) {
    if (strcmp(param.name, name) == 0) return true;
  }
  return false;
}

// Applies one value and logs the value now in effect.
void apply(gui_skin_config* cfg, const Param& param, const char* text) {
  char* field = reinterpret_cast<char*>(cfg) + param.offset;
  int* value = reinterpret_cast<int*>(field);
  switch (param.kind) {
    case kBool:
      *value = no_yes(text, *value);
      log_print("%s using %s=%s", kLog, param.name, *value ? "true" : "false");
      break;
    case kString:
      replace(reinterpret_cast<char**>(field), text);
      log_print("%s using %s='%s'", kLog, param.name, text);
      break;
    case kRgb:
      *value = parse_hex(text, 6, *value);
      log_print("%s using %s=0x%06X", kLog, param.name, *value);
      break;
    case kAlpha:
      *value = parse_hex(text, 2, *value);
      log_print("%s using %s=0x%02X", kLog, param.name, *value);
      break;
    case kWidth:
      *value = str_parse_int(text, 12);
      if (*value < 2) *value = 12;
      log_print("%s using %s=%d", kLog, param.name, *value);
      break;
    case kShowHome:
      *value = gui_skin_show_home_in_path_from_string(text, GUI_SKIN_SHOW_HOME_IN_PATH_SETUP);
      log_print("%s using %s=%s", kLog, param.name, gui_skin_show_home_in_path_to_string(*value));
      break;
    case kShift:
      *value = str_parse_int(text, 0);  // a bad value resets the shift, it does not keep it
      log_print("%s using %s=%d", kLog, param.name, *value);
      break;
  }
}

// With a "params" element, the values come from its "param" entries alone; otherwise from
// the texts of the root's children of the same names.
void apply_params(gui_skin_config* cfg, const xml_element* root) {
  C_StringMap* from_params = nullptr;
  if (xml_element* params = xml_element_first_child_element_with_name(root, "params")) {
    from_params = string_map_create();
    for (xml_element* p = xml_element_first_child_element_with_name(params, "param"); p;
         p = xml_element_next_sibling_element_with_name(p, "param")) {
      const char* name = xml_element_get_attribute(p, "name");
      const char* value = xml_element_get_attribute(p, "value");
      if (name && value) string_map_put(from_params, name, value);
    }
  }
  for (const Param& param : kParams) {
    const char* text = from_params ? string_map_get(from_params, param.name)
                                   : xml_utils_get_optional_child_element_text(root, param.name, kLog);
    if (text) apply(cfg, param, text);
  }
  string_map_free(from_params);
}

// ---- Lists --------------------------------------------------------------------------------------

const char* tag_of(const xml_element* e) { return xml_text_get_text(reinterpret_cast<const xml_node*>(e)); }

const char* child_text(const xml_element* e, const char* name) {
  return xml_utils_get_optional_child_element_text(e, name, kLog);
}

bool has_content(const char* text) { return text && !str_seg_is_spaces(str_to_seg(text)); }

int view_type_from_string(const char* text) {
  static const char* const kTypes[] = {"list", "exlist", "icons"};
  for (int i = 0; i < 3; ++i) {
    if (text && strcmp(text, kTypes[i]) == 0) return i;
  }
  return -1;
}

gui_skin_view* parse_view(const xml_element* e) {
  const char* id = child_text(e, "id");
  const char* caption = child_text(e, "caption");
  int type = view_type_from_string(child_text(e, "type"));
  if (!has_content(id)) {
    log_print("%s bad view 'id'; ignored", kLog);
    return nullptr;
  }
  if (!has_content(caption)) {
    log_print("%s bad view caption; ignored", kLog);
    return nullptr;
  }
  if (type < 0) {
    log_print("%s bad view type; ignored", kLog);
    return nullptr;
  }
  gui_skin_view* view = static_cast<gui_skin_view*>(malloc(sizeof(gui_skin_view)));
  view->id = strdup(id);
  view->caption = strdup(caption);
  view->type = type;
  view->params = properties_create_empty();
  for (xml_element* c = xml_element_first_child_element(e); c; c = xml_element_next_sibling_element(c)) {
    const char* name = tag_of(c);
    if (strcmp(name, "id") == 0 || strcmp(name, "caption") == 0 || strcmp(name, "type") == 0) continue;
    const char* value = xml_utils_get_text_from_element(c);
    if (value) properties_set(view->params, name, value);
    else log_print("%s: invalid value of view param '%s'", kLog, name);
  }
  return view;
}

bool parse_views(const xml_element* e, gui_skin_view_list* list, int* default_index) {
  const char* name = tag_of(e);
  gui_skin_view_list_clear(list);
  *default_index = 0;
  for (xml_element* v = xml_element_first_child_element_with_name(e, "view"); v;
       v = xml_element_next_sibling_element_with_name(v, "view")) {
    if (gui_skin_view* view = parse_view(v)) gui_skin_view_list_add(list, view);
  }
  if (list->num_items == 0) {
    log_print("%s no %s specified", kLog, name);
    return false;
  }
  if (const char* id = child_text(e, "default")) {
    int index = gui_skin_view_list_find_by_id(list, id);
    if (index >= 0) *default_index = index;
    else log_print("%s %s: invalid default view id '%s'; ignored", kLog, name, id);
  }
  return true;
}

int ui_type_index(const gui_skin_config* cfg, int type) {
  for (int i = 0; i < cfg->num_ui_types; ++i) {
    if (cfg->ui_types[i] == type) return i;
  }
  return -1;
}

bool parse_ui_types(gui_skin_config* cfg, const xml_element* e) {
  cfg->num_ui_types = 0;
  cfg->default_ui_type_index = 0;
  for (xml_element* t = xml_element_first_child_element_with_name(e, "ui_type");
       t && cfg->num_ui_types < GUI_SKIN_MAX_UI_TYPES; t = xml_element_next_sibling_element_with_name(t, "ui_type")) {
    int type = ui_type_from_string(xml_utils_get_text_from_element(t));
    if (type < 0) log_print("%s invalid ui_type; ignored", kLog);
    else if (ui_type_index(cfg, type) >= 0) log_print("%s duplicate ui_type; ignored", kLog);
    else cfg->ui_types[cfg->num_ui_types++] = type;
  }
  if (cfg->num_ui_types == 0) {
    log_print("%s no UI types specified", kLog);
    return false;
  }
  if (const char* text = child_text(e, "default")) {
    int index = ui_type_index(cfg, ui_type_from_string(text));
    if (index >= 0) cfg->default_ui_type_index = index;
    else log_print("%s invalid default ui_type '%s'; ignored", kLog, text);
  }
  return true;
}

void parse_text_colors(gui_skin_config* cfg, const xml_element* e) {
  gui_skin_text_color_list_clear(cfg->text_colors);
  for (xml_element* c = xml_element_first_child_element_with_name(e, "color"); c;
       c = xml_element_next_sibling_element_with_name(c, "color")) {
    int index = str_parse_int(xml_element_get_attribute(c, "index"), -1);
    int rgb = parse_hex(xml_element_get_attribute(c, "value"), 6, -1);
    if (index < 0) {
      log_print("%s invalid or missing text color index; ignored", kLog);
    } else if (rgb < 0) {
      log_print("%s invalid or missing text color value; ignored", kLog);
    } else {
      gui_skin_text_color* color = static_cast<gui_skin_text_color*>(malloc(sizeof(gui_skin_text_color)));
      color->index = index;
      color->rgb = rgb;
      gui_skin_text_color_list_add(cfg->text_colors, color);
    }
  }
}

// ---- Upgrader screen ---------------------------------------------------------------------------

// The child element `name`, which must exist with a `font`/`image` attribute `required`.
const xml_element* required_part(const xml_element* e, const char* name, const char* required, char** holder) {
  const xml_element* part = xml_element_first_child_element_with_name(e, name);
  if (part == nullptr) {
    log_print("%s Error: required '%s' element missing", kLog, name);
    return nullptr;
  }
  const char* value = xml_element_get_attribute(part, required);
  if (value == nullptr) {
    log_print("%s Error: required '%s' attribute of '%s' element missing", kLog, required, name);
    return nullptr;
  }
  replace(holder, value);
  return part;
}

// An optional integer attribute of at least `min`; a bad value logs the message about
// `reported` (the attribute that the message names) and fails.
bool optional_at_least(const xml_element* part, const char* attribute, int min, int* value, const char* element,
                       const char* reported) {
  const char* text = xml_element_get_attribute(part, attribute);
  if (text == nullptr) return true;
  int number = str_parse_int(text, min - 1);
  if (number < min) {
    log_print("%s Error: invalid value %s of '%s' attribute of '%s' element", kLog, text, reported, element);
    return false;
  }
  *value = number;
  return true;
}

bool read_upgrader(gui_skin_upgrader_config* u, const xml_element* e) {
  const xml_element* bg = xml_element_first_child_element_with_name(e, "bg");
  if (bg && xml_element_get_attribute(bg, "image")) replace(&u->bg_image, xml_element_get_attribute(bg, "image"));
  const xml_element* progress = required_part(e, "progress", "image", &u->progress_image);
  if (!progress || !optional_at_least(progress, "border", 0, &u->progress_border, "progress", "border")) return false;
  const xml_element* title = required_part(e, "title", "font", &u->title_font);
  if (!title || !optional_at_least(title, "size", 1, &u->title_size, "title", "size") ||
      !optional_at_least(title, "y", 1, &u->title_y, "title", "size")) {
    return false;
  }
  const xml_element* text = required_part(e, "text", "font", &u->text_font);
  if (!text || !optional_at_least(text, "size", 1, &u->text_size, "text", "size")) return false;
  if (const xml_element* short_mode = xml_element_first_child_element_with_name(e, "short_mode")) {
    u->short_mode = no_yes(xml_element_get_attribute(short_mode, "value"), 0);
  }
  return true;
}

// A complete upgrader element replaces the record's; an incomplete one leaves it as it was.
bool parse_upgrader(gui_skin_config* cfg, const xml_element* e) {
  gui_skin_upgrader_config* u = static_cast<gui_skin_upgrader_config*>(calloc(1, sizeof(gui_skin_upgrader_config)));
  u->bg_image = strdup("bg.jpg");
  u->progress_border = 4;
  u->title_size = 72;
  u->title_y = 200;
  u->text_size = 48;
  if (!read_upgrader(u, e)) {
    gui_skin_upgrader_config_free(u);
    return false;
  }
  gui_skin_upgrader_config_free(cfg->upgrader);
  cfg->upgrader = u;
  return true;
}

// ---- The file ------------------------------------------------------------------------------------

bool apply_root(gui_skin_config* cfg, const xml_element* root) {
  apply_params(cfg, root);
  bool upgrader_seen = false;
  for (xml_element* e = xml_element_first_child_element(root); e; e = xml_element_next_sibling_element(e)) {
    const char* name = tag_of(e);
    if (strcmp(name, "root_views") == 0) {
      if (!parse_views(e, cfg->root_views, &cfg->default_root_view_index)) return false;
    } else if (strcmp(name, "setup_views") == 0) {
      if (!parse_views(e, cfg->setup_views, &cfg->default_setup_view_index)) return false;
    } else if (strcmp(name, "folder_views") == 0) {
      if (!parse_views(e, cfg->folder_views, &cfg->default_folder_view_index)) return false;
    } else if (strcmp(name, "ui_types") == 0) {
      if (!parse_ui_types(cfg, e)) return false;
    } else if (strcmp(name, "text_colors") == 0) {
      parse_text_colors(cfg, e);
    } else if (strcmp(name, "upgrader") == 0) {
      if (upgrader_seen) {
        log_print("%s Warning: duplicate upgrader element; ignored", kLog);
      } else {
        upgrader_seen = true;
        if (!parse_upgrader(cfg, e)) return false;
      }
    } else if (strcmp(name, "params") != 0 && !is_param_name(name)) {
      log_print("%s warning: unrecognized element '%s'", kLog, name);
    }
  }
  // The record after the update must have views in each list, whichever file gave them.
  const struct {
    const gui_skin_view_list* list;
    const char* name;
  } lists[] = {{cfg->root_views, "root"}, {cfg->setup_views, "setup"}, {cfg->folder_views, "folder"}};
  for (const auto& list : lists) {
    if (list.list->num_items == 0) {
      log_print("%s no %s views specified", kLog, list.name);
      return false;
    }
  }
  return true;
}

}  // namespace

gui_skin_config* gui_skin_config_create(void) {
  gui_skin_config* cfg = static_cast<gui_skin_config*>(calloc(1, sizeof(gui_skin_config)));
  cfg->setup_hr_color_rgb = 0x707090;
  cfg->setup_hr_alpha = 0x30;
  cfg->setup_hr_width = 12;
  cfg->osd_current_box_color_rgb = 0xFDFD40;
  cfg->osd_current_box_alpha = 0xFE;
  cfg->num_ui_types = 3;
  for (int i = 0; i < 3; ++i) cfg->ui_types[i] = UI_TYPE_1 + i;
  cfg->default_ui_type_index = 1;
  cfg->root_views = gui_skin_view_list_create();
  cfg->setup_views = gui_skin_view_list_create();
  cfg->folder_views = gui_skin_view_list_create();
  cfg->text_colors = gui_skin_text_color_list_create();
  return cfg;
}

void gui_skin_config_free(gui_skin_config* cfg) {
  if (cfg == nullptr) return;
  free(cfg->default_badge_icon_file);
  free(cfg->setup_badge_icon_file);
  gui_skin_view_list_free(cfg->root_views);
  gui_skin_view_list_free(cfg->setup_views);
  gui_skin_view_list_free(cfg->folder_views);
  gui_skin_text_color_list_free(cfg->text_colors);
  gui_skin_upgrader_config_free(cfg->upgrader);
  free(cfg);
}

int gui_skin_config_create_from_file(gui_skin_config* cfg, const char* path) {
  MY_ASSERT(cfg);
  char* text = FS_read_string_unlimited(path);
  if (text == nullptr) {
    log_print("%s failed to read GUI skin config from '%s': %s", kLog, path, strerror(errno));
    return 0;
  }
  xml_document* doc = xml_document_build_from_string(text);
  free(text);
  bool ok = false;
  if (doc == nullptr) {
    log_print("%s failed to create XML document", kLog);
  } else if (xml_document_is_error(doc)) {
    int id, row, column;
    char* description = nullptr;
    xml_document_get_error_info(doc, &id, &description, &row, &column);
    log_print("%s parse error: id=%d, row=%d, col=%d, descr: %s", kLog, id, row, column, description);
    free(description);
  } else if (xml_element* root = xml_document_get_root_element(doc)) {
    ok = apply_root(cfg, root);
  } else {
    log_print("%s failed to get root XML element", kLog);
  }
  xml_document_free(doc);
  return ok;
}

int gui_skin_view_list_find_by_id(const gui_skin_view_list* list, const char* id) {
  for (int i = 0; list && id && i < list->num_items; ++i) {
    if (strcmp(list->items[i]->id, id) == 0) return i;
  }
  return -1;
}

const char* ui_type_to_string(int ui_type) {
  static const char* const kNames[] = {"type1", "type2", "type3"};
  return ui_type >= 0 && ui_type < 3 ? kNames[ui_type] : "";
}

int ui_type_from_string(const char* text) {
  static const char* const kWords[][2] = {{"plain", "type1"}, {"tabs", "type2"}, {"folders", "type3"}};
  for (int i = 0; text && i < 3; ++i) {
    if (strcmp(text, kWords[i][0]) == 0 || strcmp(text, kWords[i][1]) == 0) return i;
  }
  return -1;
}

const char* gui_skin_show_home_in_path_to_string(int value) {
  static const char* const kNames[] = {"setup", "no", "yes"};
  return value >= 0 && value < 3 ? kNames[value] : "";
}

int gui_skin_show_home_in_path_from_string(const char* text, int default_value) {
  if (text == nullptr) return default_value;
  if (strcmp(text, "setup") == 0 || strcmp(text, "auto") == 0 || strcmp(text, "default") == 0) {
    return GUI_SKIN_SHOW_HOME_IN_PATH_SETUP;
  }
  if (strcmp(text, "no") == 0) return GUI_SKIN_SHOW_HOME_IN_PATH_NO;
  if (strcmp(text, "yes") == 0) return GUI_SKIN_SHOW_HOME_IN_PATH_YES;
  return default_value;
}
