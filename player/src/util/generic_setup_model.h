/* The generic setup model: settings that modules declare at start-up, each bound to a
 * variable of the declaring module, read from and written to a properties container as a
 * whole (the settings file), and changed one by one through the apply-setting handlers.
 *
 * Settings are kept in declaration order for the life of the process; the id of a setting is
 * its key in the properties. Stored values that do not fit a setting never fail a load: the
 * setting takes its default and a warning is printed on standard output. The registry is not
 * locked: declare settings at start-up and apply them on the thread that owns them. */
#ifndef VONAUTIL_GENERIC_SETUP_MODEL_H
#define VONAUTIL_GENERIC_SETUP_MODEL_H

#include "mt/common.h"
#include "mt/export.h"
#include "mt/properties.h"

/* Setting types. */
#define GSETUP_SETTING_ENUM 0 /* an index into a table of choice strings, saved as the string */
#define GSETUP_SETTING_INT 1  /* an integer, saved as "%d" */
#define GSETUP_SETTING_TEXT 2 /* a text, saved as it is */

VONA_BEGIN_DECLS

typedef struct setup_setting_enum {
  int* value_ptr;
  int default_value;
  int omit_when_default; /* non-zero: not saved while the value is the default */
  choice_string_func get_string_by_value_func;
} setup_setting_enum;

typedef struct setup_setting_int {
  int* value_ptr;
  int default_value;
} setup_setting_int;

typedef struct setup_setting_text {
  char** value_ptr;    /* the variable holds a malloc'd string, or null */
  char* default_value; /* owned copy */
  int flags;           /* the declaring module's own flags, kept with the setting */
  unsigned char flag_byte;
} setup_setting_text;

typedef struct setup_setting {
  char* id; /* owned */
  int type; /* GSETUP_SETTING_* */
  union {
    setup_setting_enum enumeration;
    setup_setting_int integer;
    setup_setting_text text;
  } data;
} setup_setting;

/* Declaring settings. A second declaration of an id is ignored with a warning. */
void generic_setup_model_add_setting_enum(const char* id, int* value_ptr, int default_value, int omit_when_default,
                                          choice_string_func get_string_by_value_func);
void generic_setup_model_add_setting_int(const char* id, int* value_ptr, int default_value);
/* The variable is set at once to a copy of the default (its previous string, which must be
 * null or malloc'd, is freed), unless it already is the default string itself. */
void generic_setup_model_add_setting_text(const char* id, char** value_ptr, const char* default_value, int flags,
                                          unsigned char flag_byte);

/* Sets every setting, in declaration order, from the value of its id in props (a missing or
 * bad value gives the default; bad values are reported unless quiet). */
void generic_setup_model_get_settings(const properties* props, int quiet);
/* Writes every supported setting into props: integers as "%d", enumerations as their choice
 * string (not at all while omit_when_default is set and the value is the default), texts when
 * they are not null. */
void generic_setup_model_put_settings(properties* props);

int gsetup_model_get_num_settings(void);
/* The setting at ndx in declaration order; asserts that ndx is in range. */
setup_setting* gsetup_model_get_setting_by_ndx(int ndx);
/* The setting with this id, or null. A null id is a programming error. */
setup_setting* gsetup_model_get_setting(const char* id);

/* 1 when text is a value the setting can take: an integer for an integer setting, one of the
 * choice strings (exactly) for an enumeration, anything for a text; 0 for null. */
int gsetup_setting_is_valid_string_value(const setup_setting* setting, const char* text);
/* Sets the variable from text; null text gives the default, as does a text that does not fit
 * (with a warning unless quiet). */
void gsetup_setting_set_value_by_string(setup_setting* setting, const char* text, int quiet);

/* Settings for which func returns 0 are left out of generic_setup_model_put_settings; null
 * writes them all. */
void gsetup_set_setting_is_supported_func(int (*func)(const char* id));

/* Registers the setup model's apply-setting handler: it takes every declared setting, and
 * changes those allowed through gsetup_allow_apply_setting. */
void gsetup_register_apply_setting_handler(void);
void gsetup_allow_apply_setting(const char* id);

VONA_END_DECLS

#endif
