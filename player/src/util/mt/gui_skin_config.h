/* GUI skin configuration: the record of a skin's parameters, user-interface types, view
 * lists, text colours and upgrader screen, with built-in defaults, updated from the XML
 * configuration files that skins carry.
 *
 * A record is created once with the defaults and may be updated from several files in turn;
 * each update changes only what its file names, except that a list element in the file
 * (root_views, setup_views, folder_views, ui_types, text_colors) replaces that list whole.
 * Each update reports what it applied and what it refused through log_print, with the tag
 * "[gui_skin_config]". An update fails (returns 0) when the file cannot be read or parsed,
 * when a view list or the UI type list ends up empty, or when an upgrader element is
 * incomplete; the record keeps whatever was applied before the failure.
 *
 * Words a skin may use:
 *   UI types            "plain" or "type1", "tabs" or "type2", "folders" or "type3"
 *   show_home_in_path   "setup" (also "auto", "default"), "no", "yes"; anything else "setup"
 *   booleans            "no", "yes"; anything else keeps the current value
 *   colours             [blanks]["#"]RRGGBB, alphas [blanks]["#"]AA, then the end or a blank
 *   view types          "list", "exlist", "icons" */
#ifndef VONAUTIL_GUI_SKIN_CONFIG_H
#define VONAUTIL_GUI_SKIN_CONFIG_H

#include "export.h"
#include "properties.h"
#include "typed_list.h"

/* User-interface types. */
#define UI_TYPE_1 0
#define UI_TYPE_2 1
#define UI_TYPE_3 2
#define GUI_SKIN_MAX_UI_TYPES 10

/* show_home_in_path values. */
#define GUI_SKIN_SHOW_HOME_IN_PATH_SETUP 0
#define GUI_SKIN_SHOW_HOME_IN_PATH_NO 1
#define GUI_SKIN_SHOW_HOME_IN_PATH_YES 2

/* View types. */
#define GUI_SKIN_VIEW_LIST 0
#define GUI_SKIN_VIEW_EXLIST 1
#define GUI_SKIN_VIEW_ICONS 2

VONA_BEGIN_DECLS

typedef struct gui_skin_view {
  char* id;           /* owned */
  char* caption;      /* owned */
  int type;           /* GUI_SKIN_VIEW_* */
  properties* params; /* owned: every other child element of the view, tag = text */
} gui_skin_view;

TYPED_LIST_DECLARE(gui_skin_view_list, gui_skin_view);

typedef struct gui_skin_text_color {
  int index;
  int rgb; /* 0xRRGGBB */
} gui_skin_text_color;

TYPED_LIST_DECLARE(gui_skin_text_color_list, gui_skin_text_color);

/* The firmware upgrader screen. */
typedef struct gui_skin_upgrader_config {
  char* bg_image;       /* owned ["bg.jpg"] */
  char* progress_image; /* owned */
  int progress_border;  /* [4] */
  char* title_font;     /* owned */
  int title_size;       /* [72] */
  int title_y;          /* [200] */
  char* text_font;      /* owned */
  int text_size;        /* [48] */
  int short_mode;       /* [0] */
} gui_skin_upgrader_config;

/* Defaults in brackets. */
typedef struct gui_skin_config {
  int disable_glasses;               /* [0] */
  int enable_badge_icons;            /* [0] */
  int widget_paint_logo_only;        /* [0] */
  char* default_badge_icon_file;     /* owned [null] */
  char* setup_badge_icon_file;       /* owned [null] */
  int setup_hr_color_rgb;            /* [0x707090] */
  int setup_hr_alpha;                /* [0x30] */
  int setup_hr_min_alpha;            /* [0] */
  int setup_hr_width;                /* pixels [12] */
  int show_home_in_path;             /* GUI_SKIN_SHOW_HOME_IN_PATH_* [SETUP] */
  int gui_control_normal_text_y_shift; /* pixels [0] */
  int gui_control_sel_y_shift;       /* [0] */
  int gui_control_sel_h_shift;       /* [0] */
  int text_field_inner_sel_y_shift;  /* [0] */
  int osd_current_box_color_rgb;     /* [0xFDFD40] */
  int osd_current_box_alpha;         /* [0xFE] */
  int ui_types[GUI_SKIN_MAX_UI_TYPES]; /* UI_TYPE_* [UI_TYPE_1, UI_TYPE_2, UI_TYPE_3] */
  int num_ui_types;                  /* [3] */
  int default_ui_type_index;         /* index into ui_types [1] */
  gui_skin_view_list* root_views;    /* owned [empty] */
  int default_root_view_index;       /* [0] */
  gui_skin_view_list* setup_views;
  int default_setup_view_index;
  gui_skin_view_list* folder_views;
  int default_folder_view_index;
  gui_skin_text_color_list* text_colors;  /* owned [empty] */
  gui_skin_upgrader_config* upgrader;     /* owned; null until a file has a complete one */
} gui_skin_config;

/* A record with the defaults; free it with gui_skin_config_free (null accepted). */
gui_skin_config* gui_skin_config_create(void);
void gui_skin_config_free(gui_skin_config* cfg);

/* Updates cfg from the skin configuration file at path: 1 on success, 0 on failure. */
int gui_skin_config_create_from_file(gui_skin_config* cfg, const char* path);

/* Index of the first view with exactly that id, or -1. */
int gui_skin_view_list_find_by_id(const gui_skin_view_list* list, const char* id);

/* "type1", "type2", "type3" ("" for another value); from a word, the type or -1. */
const char* ui_type_to_string(int ui_type);
int ui_type_from_string(const char* text);
/* "setup", "no", "yes" ("" for another value); from a word, the value or default_value. */
const char* gui_skin_show_home_in_path_to_string(int value);
int gui_skin_show_home_in_path_from_string(const char* text, int default_value);

VONA_END_DECLS

#endif
