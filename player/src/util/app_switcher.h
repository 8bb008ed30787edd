/* The application switcher: the player shell's list of launchable commands, each a name
 * with argument lines, kept across restarts of the shell in "/tmp/run/app_switcher.txt".
 *
 * File format, one item per line ("\n" ends): for each command in list order its name,
 * then one line per argument, then an empty line. Lines are read stripped of surrounding
 * white space. Reading stops at an empty line that has no name before it, so a blank line
 * at the start of the file, or two in a row, end the list there; an argument saved as an
 * empty string therefore ends its command when the file is read back. The end of the file
 * ends a last command whose empty line is missing.
 *
 * Single-threaded: the list is process-wide and not locked. */
#ifndef VONAUTIL_APP_SWITCHER_H
#define VONAUTIL_APP_SWITCHER_H

#include "mt/basic_string_array.h"
#include "mt/export.h"
#include "mt/typed_list.h"

VONA_BEGIN_DECLS

typedef struct app_switcher_cmd {
  char* name;         /* owned */
  string_array* args; /* owned; null when the command has no arguments */
} app_switcher_cmd;

/* Copies `name` (not null) and takes `args` (may be null). */
app_switcher_cmd* app_switcher_cmd_create(const char* name, string_array* args);
void app_switcher_cmd_free(app_switcher_cmd* cmd);

TYPED_LIST_DECLARE(app_switcher_cmd_list, app_switcher_cmd);
TYPED_LIST_DECLARE_INSERT(app_switcher_cmd_list, app_switcher_cmd);

/* The process-wide list; null until one of the functions below creates it. */
app_switcher_cmd_list* app_switcher_get_cmd_list(void);

/* Empties the list (creating it when absent). */
void app_switcher_clear_cmd_list(void);
/* Create a command from `name` and `args` (taken) and put it first / last. */
void app_switcher_add_first_cmd(const char* name, string_array* args);
void app_switcher_add_last_cmd(const char* name, string_array* args);

/* Replaces the list by the file's commands (at most its first 131072 bytes are read); a
 * file that cannot be read leaves the list empty. Prints "[app_switcher] N commands
 * loaded" on standard output. */
void app_switcher_load_cmd_list(void);
/* Writes the list to "%s.tmp" and renames it over the file (not synchronised); nothing when
 * the list was never created. Failures are printed on standard error. */
void app_switcher_save_cmd_list(void);
/* Empties the list and saves it: the file then holds nothing. */
void app_switcher_clear_and_save_cmd_list(void);

VONA_END_DECLS

#endif
