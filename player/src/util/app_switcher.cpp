#include "player/src/util/app_switcher.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"

TYPED_LIST_DEFINE(app_switcher_cmd_list, app_switcher_cmd, app_switcher_cmd_free);

TYPED_LIST_DEFINE_INSERT(app_switcher_cmd_list, app_switcher_cmd);

namespace {

const int kMaxFileSize = 131072;

app_switcher_cmd_list* cmd_list = nullptr;

std::string list_path() { return vona::fixed_path("/tmp/run/app_switcher.txt"); }

app_switcher_cmd_list* ensure_list() {
  if (cmd_list == nullptr) cmd_list = app_switcher_cmd_list_create();
  return cmd_list;
}

// Reads the file's blocks into the list; see the file format in the header.
void parse_blocks(char* text) {
  char* name = nullptr;
  string_array* args = nullptr;
  for (char* line = text; line != nullptr;) {
    char* end = strchr(line, '\n');
    char* next = end != nullptr ? end + 1 : nullptr;
    if (end != nullptr) *end = '\0';
    str_strip(line);
    if (*line != '\0') {
      if (name == nullptr) name = line;
      else string_array_add(args != nullptr ? args : (args = string_array_create_empty()), line);
    } else {
      if (name == nullptr) break;
      app_switcher_add_last_cmd(name, args);
      name = nullptr;
      args = nullptr;
    }
    line = next;
  }
  // The end of the text ends a pending command like an empty line.
  if (name != nullptr) app_switcher_add_last_cmd(name, args);
}

}  // namespace

app_switcher_cmd* app_switcher_cmd_create(const char* name, string_array* args) {
  MY_ASSERT(name);
  auto* cmd = static_cast<app_switcher_cmd*>(calloc(1, sizeof(app_switcher_cmd)));
  cmd->name = strdup(name);
  cmd->args = args;
  return cmd;
}

void app_switcher_cmd_free(app_switcher_cmd* cmd) {
  if (cmd == nullptr) return;
  free(cmd->name);
  string_array_free(cmd->args);
  free(cmd);
}

app_switcher_cmd_list* app_switcher_get_cmd_list(void) { return cmd_list; }

void app_switcher_clear_cmd_list(void) { app_switcher_cmd_list_clear(ensure_list()); }

void app_switcher_add_first_cmd(const char* name, string_array* args) {
  app_switcher_cmd_list_insert(ensure_list(), 0, app_switcher_cmd_create(name, args));
}

void app_switcher_add_last_cmd(const char* name, string_array* args) {
  app_switcher_cmd_list_add(ensure_list(), app_switcher_cmd_create(name, args));
}

void app_switcher_load_cmd_list(void) {
  app_switcher_cmd_list_free(cmd_list);
  cmd_list = app_switcher_cmd_list_create();
  char* text = FS_read_string(list_path().c_str(), kMaxFileSize);
  if (text == nullptr) return;
  parse_blocks(text);
  free(text);
  printf("[app_switcher] %d commands loaded\n", cmd_list->num_items);
}

void app_switcher_save_cmd_list(void) {
  if (cmd_list == nullptr) return;
  std::string path = list_path();
  std::string tmp = path + ".tmp";
  FILE* fp = FS_fopen(tmp.c_str(), "w");
  if (fp == nullptr) {
    fprintf(stderr, "[app_switcher] failed to open_write '%s': %s", tmp.c_str(), strerror(errno));
    return;
  }
  for (int i = 0; i < cmd_list->num_items; ++i) {
    const app_switcher_cmd* cmd = cmd_list->items[i];
    fprintf(fp, "%s\n", cmd->name);
    for (int j = 0; cmd->args != nullptr && j < cmd->args->size; ++j) fprintf(fp, "%s\n", cmd->args->items[j]);
    fputs("\n", fp);
  }
  fclose(fp);
  if (FS_rename(tmp.c_str(), path.c_str()) != 0) {
    fprintf(stderr, "[app_switcher] rename '%s' to '%s' failed: %s", tmp.c_str(), path.c_str(), strerror(errno));
  }
}

void app_switcher_clear_and_save_cmd_list(void) {
  app_switcher_clear_cmd_list();
  app_switcher_save_cmd_list();
}
