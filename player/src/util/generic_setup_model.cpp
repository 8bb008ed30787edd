#include "player/src/util/generic_setup_model.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/apply_setting_handler.h"
#include "player/src/util/mt/containers.h"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/string_buffer.h"
#include "player/src/util/mt/typed_list.h"

namespace vona {

void setup_setting_free(setup_setting* setting) {
  if (setting->type == GSETUP_SETTING_TEXT) free(setting->data.text.default_value);
  free(setting->id);
  free(setting);
}

TYPED_LIST_DECLARE(setup_setting_list, setup_setting);
TYPED_LIST_DEFINE(setup_setting_list, setup_setting, setup_setting_free);

}  // namespace vona

namespace {

// The settings in declaration order; with the rest of the registry, created on first use.
vona::setup_setting_list* generic_setup_settings = nullptr;

struct Registry {
  C_ObjectByStringMap* index;  // id -> setting
  C_StringSet* allowed;        // ids that the apply handler may change
  int (*is_supported)(const char* id);
  char* number_buffer;  // integers formatted for saving
};
Registry registry_data;

Registry& registry() {
  if (generic_setup_settings == nullptr) {
    generic_setup_settings = vona::setup_setting_list_create_with_capacity(32);
    registry_data.index = object_by_string_map_create();
    registry_data.allowed = string_set_create();
  }
  return registry_data;
}

// A new setting of the type, unless the id is taken (then null, after a warning).
setup_setting* declare(const char* id, int type) {
  Registry& r = registry();
  if (object_by_string_map_contains_key(r.index, id)) {
    printf("[setup] Warning: setting '%s' duplicated; ignored", id);
    return nullptr;
  }
  setup_setting* setting = static_cast<setup_setting*>(calloc(1, sizeof(setup_setting)));
  setting->id = strdup(id);
  setting->type = type;
  vona::setup_setting_list_add(generic_setup_settings, setting);
  object_by_string_map_put(r.index, id, setting, nullptr);
  return setting;
}

// Points a text variable at a copy of text (or at null), freeing its previous string; nothing
// happens when the variable already holds that very string.
void assign_text(char** variable, const char* text) {
  if (*variable == text) return;
  char* previous = *variable;
  *variable = text ? strdup(text) : nullptr;
  free(previous);
}

// Stores the default of an integer or enumeration setting: silently for a missing value, with a
// warning (unless quiet) for a bad one.
void use_default(int* variable, int default_value, const setup_setting* setting, const char* text, int quiet) {
  *variable = default_value;
  if (text && !quiet) printf("Warning: bad value '%s' of data '%s'; using the default value.\n", text, setting->id);
}

// The text that saving writes, or null for nothing.
const char* setup_setting_get_value_as_string(const setup_setting* setting) {
  switch (setting->type) {
    case GSETUP_SETTING_ENUM:
      return setting->data.enumeration.get_string_by_value_func(*setting->data.enumeration.value_ptr);
    case GSETUP_SETTING_INT:
      return sprintf_shared(&registry().number_buffer, "%d", *setting->data.integer.value_ptr);
    case GSETUP_SETTING_TEXT:
      return *setting->data.text.value_ptr;
  }
  MY_ASSERT(0);
  return nullptr;
}

int gsetup_apply_setting(apply_setting_handler*, const char* name, const char* value) {
  setup_setting* setting = gsetup_model_get_setting(name);
  if (setting == nullptr) return 0;  // another handler's setting
  if (!string_set_contains(registry().allowed, name)) {
    log_print("[GSetupApplyHandler] not allowed for '%s", name);
    return 1;
  }
  log_print("[GSetupApplyHandler] applying %s => %s", name, value);
  gsetup_setting_set_value_by_string(setting, value, 0);
  return 1;
}

}  // namespace

void generic_setup_model_add_setting_enum(const char* id, int* value_ptr, int default_value, int omit_when_default,
                                          choice_string_func get_string_by_value_func) {
  MY_ASSERT(get_string_by_value_func);
  MY_ASSERT(id);
  setup_setting* setting = declare(id, GSETUP_SETTING_ENUM);
  if (setting) setting->data.enumeration = {value_ptr, default_value, omit_when_default, get_string_by_value_func};
}

void generic_setup_model_add_setting_int(const char* id, int* value_ptr, int default_value) {
  setup_setting* setting = declare(id, GSETUP_SETTING_INT);
  if (setting) setting->data.integer = {value_ptr, default_value};
}

void generic_setup_model_add_setting_text(const char* id, char** value_ptr, const char* default_value, int flags,
                                          unsigned char flag_byte) {
  MY_ASSERT(default_value);
  setup_setting* setting = declare(id, GSETUP_SETTING_TEXT);
  if (setting == nullptr) return;
  setting->data.text = {value_ptr, strdup(default_value), flags, flag_byte};
  assign_text(value_ptr, default_value);
}

void generic_setup_model_get_settings(const properties* props, int quiet) {
  registry();
  for (int i = 0; i < generic_setup_settings->num_items; ++i) {
    setup_setting* setting = generic_setup_settings->items[i];
    gsetup_setting_set_value_by_string(setting, properties_get(props, setting->id), quiet);
  }
}

void generic_setup_model_put_settings(properties* props) {
  Registry& r = registry();
  for (int i = 0; i < generic_setup_settings->num_items; ++i) {
    const setup_setting* setting = generic_setup_settings->items[i];
    if (r.is_supported && !r.is_supported(setting->id)) continue;
    const setup_setting_enum& e = setting->data.enumeration;
    if (setting->type == GSETUP_SETTING_ENUM && e.omit_when_default && *e.value_ptr == e.default_value) continue;
    if (const char* value = setup_setting_get_value_as_string(setting)) properties_set(props, setting->id, value);
  }
}

int gsetup_model_get_num_settings(void) {
  registry();
  return generic_setup_settings->num_items;
}

setup_setting* gsetup_model_get_setting_by_ndx(int ndx) {
  registry();
  MY_ASSERT(ndx >= 0);
  MY_ASSERT(ndx < generic_setup_settings->num_items);
  return generic_setup_settings->items[ndx];
}

setup_setting* gsetup_model_get_setting(const char* id) {
  Registry& r = registry();
  if (id == nullptr) {
    printf("FATAL ERROR in GenericSetupSettingIndex: get(NULL) called\n");
    fflush(stdout);
  }
  return static_cast<setup_setting*>(object_by_string_map_get(r.index, id));
}

int gsetup_setting_is_valid_string_value(const setup_setting* setting, const char* text) {
  if (text == nullptr) return 0;
  switch (setting->type) {
    case GSETUP_SETTING_INT:  // a text that parses gives its number whatever the default
      return str_parse_int(text, 0) == str_parse_int(text, 1);
    case GSETUP_SETTING_ENUM:
      return get_index_by_func_and_string(setting->data.enumeration.get_string_by_value_func, text, -1) >= 0;
    default:
      return 1;
  }
}

void gsetup_setting_set_value_by_string(setup_setting* setting, const char* text, int quiet) {
  switch (setting->type) {
    case GSETUP_SETTING_ENUM: {
      const setup_setting_enum& e = setting->data.enumeration;
      int index = text ? get_index_by_func_and_string(e.get_string_by_value_func, text, -1) : -1;
      if (index >= 0) *e.value_ptr = index;
      else use_default(e.value_ptr, e.default_value, setting, text, quiet);
      return;
    }
    case GSETUP_SETTING_INT: {
      const setup_setting_int& n = setting->data.integer;
      int value = text ? str_parse_int(text, INT_MIN) : INT_MIN;
      if (value != INT_MIN) *n.value_ptr = value;
      else use_default(n.value_ptr, n.default_value, setting, text, quiet);
      return;
    }
    case GSETUP_SETTING_TEXT:
      assign_text(setting->data.text.value_ptr, text ? text : setting->data.text.default_value);
      return;
  }
  MY_ASSERT(0);
}

void gsetup_set_setting_is_supported_func(int (*func)(const char* id)) { registry().is_supported = func; }

void gsetup_register_apply_setting_handler(void) {
  register_apply_setting_handler(apply_setting_handler_create(0, nullptr, gsetup_apply_setting));
}

void gsetup_allow_apply_setting(const char* id) { string_set_add(registry().allowed, id); }
