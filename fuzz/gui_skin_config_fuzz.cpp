// A skin configuration file of arbitrary content applied over the defaults: nothing may
// crash, and the record must stay within the values the reader allows.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_file.hpp"
#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (xml_document_initialize(), true);
  (void)initialized;
  std::string path = fuzz_file(data, size, "skin.xml");
  gui_skin_config* cfg = gui_skin_config_create();
  gui_skin_config_create_from_file(cfg, path.c_str());
  // A refused UI type list stays empty, so its default index may equal the count (0).
  if (cfg->num_ui_types < 0 || cfg->num_ui_types > GUI_SKIN_MAX_UI_TYPES ||
      cfg->default_ui_type_index > (cfg->num_ui_types ? cfg->num_ui_types - 1 : 0) || cfg->setup_hr_width < 2 ||
      (unsigned)cfg->setup_hr_color_rgb > 0xFFFFFF || (unsigned)cfg->setup_hr_alpha > 0xFF) {
    abort();
  }
  const gui_skin_view_list* lists[] = {cfg->root_views, cfg->setup_views, cfg->folder_views};
  for (const gui_skin_view_list* list : lists) {
    for (int i = 0; i < list->num_items; ++i) {
      if ((unsigned)list->items[i]->type > GUI_SKIN_VIEW_ICONS) abort();
    }
  }
  gui_skin_config_free(cfg);
  return 0;
}
