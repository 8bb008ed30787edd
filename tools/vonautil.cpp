// vonautil: the library's jobs from a shell.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "vonautil.h"

namespace tool {

static std::vector<Command>& command_table() {
  static std::vector<Command> table;
  return table;
}
static std::vector<DemoStep>& demo_table() {
  static std::vector<DemoStep> table;
  return table;
}

const std::vector<Command>& commands() { return command_table(); }
const std::vector<DemoStep>& demo_steps() { return demo_table(); }

CommandRegistrar::CommandRegistrar(const Command& command) {
  auto& table = command_table();
  table.insert(std::upper_bound(table.begin(), table.end(), command,
                                [](const Command& a, const Command& b) { return strcmp(a.name, b.name) < 0; }),
               command);
}

DemoRegistrar::DemoRegistrar(const DemoStep& step) {
  auto& table = demo_table();
  table.insert(std::upper_bound(table.begin(), table.end(), step,
                                [](const DemoStep& a, const DemoStep& b) { return a.order < b.order; }),
               step);
}

int usage_error(const char* command, const std::string& message) {
  fprintf(stderr, "vonautil %s: %s\nTry 'vonautil %s --help'.\n", command, message.c_str(), command);
  return kUsage;
}

int failure(const char* command, const std::string& message) {
  fprintf(stderr, "vonautil %s: %s\n", command, message.c_str());
  return kFailed;
}

static void print_overview(FILE* out) {
  fprintf(out,
          "Usage: vonautil COMMAND [ARGS...]\n"
          "The firmware utility library's jobs from a shell.\n\n"
          "Commands:\n");
  for (const Command& command : commands()) fprintf(out, "  %-12s %s\n", command.name, command.summary);
  fprintf(out,
          "\n'vonautil COMMAND --help' explains a command.\n"
          "Exit status: 0 success, 1 a failed check, 2 bad usage.\n"
          "Fixed paths (/config, /tmp/run, /firmware, ...) are taken below $VONAUTIL_ROOT when it is set.\n");
}

static int run_version(const std::vector<std::string>& args) {
  if (!args.empty()) return usage_error("version", "takes no arguments");
  printf("vonautil %s\nfirmware keys: %s%s, fingerprint %s\n", vonautil_version(), fw_get_key_set(),
         strcmp(fw_get_key_set(), "development") == 0 ? " (NOT FOR PRODUCTS)" : "", fw_get_key_fingerprint());
  return kOk;
}

TOOL_COMMAND("version", "print the library's version and its firmware key set",
             "Usage: vonautil version\n"
             "Prints the library's version and the firmware key set built into it: \"development\"\n"
             "(the keys that come with the source, not for products) or \"product\" (the build's\n"
             "VONAUTIL_KEY_FILE), with the fingerprint of the keys.\n",
             run_version);

}  // namespace tool

int main(int argc, char** argv) {
  if (argc < 2) {
    tool::print_overview(stderr);
    return tool::kUsage;
  }
  std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    tool::print_overview(stdout);
    return tool::kOk;
  }
  for (const tool::Command& command : tool::commands()) {
    if (name != command.name) continue;
    std::vector<std::string> args(argv + 2, argv + argc);
    if (std::find(args.begin(), args.end(), "--help") != args.end() ||
        (!args.empty() && args[0] == "-h")) {
      fputs(command.help, stdout);
      return tool::kOk;
    }
    return command.run(args);
  }
  fprintf(stderr, "vonautil: unknown command '%s'\nTry 'vonautil --help'.\n", name.c_str());
  return tool::kUsage;
}
