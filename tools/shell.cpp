// vonautil command / switcher: the player shell's top-level command file and its
// application switcher list.
#include <cstdio>
#include <string>
#include <vector>

#include "assignments.hpp"
#include "command.hpp"
#include "vonautil.h"

namespace tool {
namespace {

int run_command(const std::vector<std::string>& args) {
  const char* name = "command";
  if (args.empty()) return usage_error(name, "missing sub-command (set, show, clear)");
  if (args[0] == "set") {
    if (args.size() < 2) return usage_error(name, "set takes KEY=VALUE...");
    std::string error;
    properties* props = parse_assignments(args, 1, &error);
    if (props == nullptr) return usage_error(name, error);
    ensure_run_dir();
    return top_level_command_set(props) ? kOk : failure(name, "the command could not be published");
  }
  if (args[0] != "show" && args[0] != "clear") return usage_error(name, "unknown sub-command '" + args[0] + "'");
  if (args.size() != 1) return usage_error(name, args[0] + " takes no arguments");
  if (args[0] == "show") {
    if (!top_level_command_is_set()) return failure(name, "no top-level command is pending");
    char* path = fixed_path_resolve("/tmp/run/top_level_command.properties");
    properties* props = properties_load_from_internal_file(path);
    free(path);
    if (props == nullptr) return failure(name, "the command file cannot be read");
    print_entries(props, "");
    properties_free(props);
    return kOk;
  }
  return top_level_command_cleanup() == 0 ? kOk : failure(name, "the command file stays");
}

TOOL_COMMAND("command", "publish, show or clear the shell's top-level command",
             "Usage: vonautil command set KEY=VALUE...\n"
             "       vonautil command show\n"
             "       vonautil command clear\n"
             "A top-level command asks the player shell to do something outside its navigation; it\n"
             "waits in /tmp/run/top_level_command.properties (below $VONAUTIL_ROOT when it is set)\n"
             "until the shell's handlers take it.\n"
             "  set    publishes a command made of the entries (replacing a pending one)\n"
             "  show   prints the pending command as KEY = VALUE lines; exit 1 when there is none\n"
             "  clear  deletes the pending command\n",
             run_command);

int run_switcher(const std::vector<std::string>& args) {
  const char* name = "switcher";
  if (args.empty()) return usage_error(name, "missing sub-command (list, add, clear)");
  if (args[0] == "list" && args.size() == 1) {
    app_switcher_load_cmd_list();
    const app_switcher_cmd_list* list = app_switcher_get_cmd_list();
    for (int i = 0; i < list->num_items; ++i) {
      printf("%s\n", list->items[i]->name);
      const string_array* cmd_args = list->items[i]->args;
      for (int j = 0; cmd_args != nullptr && j < cmd_args->size; ++j) printf("    %s\n", cmd_args->items[j]);
    }
    return kOk;
  }
  if (args[0] == "add" && args.size() >= 2) {
    ensure_run_dir();
    app_switcher_load_cmd_list();
    string_array* cmd_args = nullptr;
    for (size_t i = 2; i < args.size(); ++i) {
      if (cmd_args == nullptr) cmd_args = string_array_create_empty();
      string_array_add(cmd_args, args[i].c_str());
    }
    app_switcher_add_last_cmd(args[1].c_str(), cmd_args);
    app_switcher_save_cmd_list();
    return kOk;
  }
  if (args[0] == "clear" && args.size() == 1) {
    ensure_run_dir();
    app_switcher_clear_and_save_cmd_list();
    return kOk;
  }
  return usage_error(name, "expected list, add NAME [ARG...] or clear");
}

TOOL_COMMAND("switcher", "list or edit the shell's application switcher",
             "Usage: vonautil switcher list\n"
             "       vonautil switcher add NAME [ARG...]\n"
             "       vonautil switcher clear\n"
             "The application switcher's commands are kept in /tmp/run/app_switcher.txt (below\n"
             "$VONAUTIL_ROOT when it is set): a name, its argument lines, an empty line.\n"
             "  list   loads the file as the shell does and prints each name, its arguments indented\n"
             "  add    appends a command and saves the list\n"
             "  clear  saves an empty list\n"
             "An empty argument ends its command when the file is read back, and reading stops at\n"
             "a second empty line, as in the shell.\n",
             run_switcher);

}  // namespace
}  // namespace tool
