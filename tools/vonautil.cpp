// vonautil: the library's jobs from a shell.
#include <algorithm>
#include <cerrno>
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

int run_sub_command(const char* command, const std::vector<std::string>& args,
                    std::initializer_list<SubCommand> sub_commands) {
  std::string names;
  for (const SubCommand& sub : sub_commands) {
    if (!args.empty() && args[0] == sub.name) return sub.run(args);
    names += (names.empty() ? "" : ", ") + std::string(sub.name);
  }
  if (args.empty()) return usage_error(command, "missing sub-command (" + names + ")");
  return usage_error(command, "unknown sub-command '" + args[0] + "'");
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

namespace tool {

// `--help` (or `-h`) is an option of the command or of its sub-command, so it counts only as
// the first argument or right after a sub-command; anywhere else it is an operand.
static bool asks_for_help(const std::vector<std::string>& args) {
  auto is_help = [](const std::string& arg) { return arg == "--help" || arg == "-h"; };
  return (!args.empty() && is_help(args[0])) || (args.size() > 1 && args[0][0] != '-' && is_help(args[1]));
}

// Standard output is flushed and closed before the exit status is settled: output that could
// not be written (a full disk, a closed pipe, /dev/full) fails the command.
static int finish_output(const char* command, int status) {
  int error = fflush(stdout) != 0 ? errno : 0;
  if (ferror(stdout) && error == 0) error = errno != 0 ? errno : EIO;
  if (fclose(stdout) != 0 && error == 0) error = errno;
  if (error == 0) return status;
  fprintf(stderr, "vonautil%s%s: cannot write the output: %s\n", *command ? " " : "", command, strerror(error));
  return kFailed;
}

}  // namespace tool

#ifndef VONAUTIL_TOOL_NO_MAIN  // the tool's fuzz target drives the commands itself
int main(int argc, char** argv) {
  if (argc < 2) {
    tool::print_overview(stderr);
    return tool::kUsage;
  }
  std::string name = argv[1];
  if (name == "--help" || name == "-h" || name == "help") {
    tool::print_overview(stdout);
    return tool::finish_output("", tool::kOk);
  }
  if (name == "--version") name = "version";
  for (const tool::Command& command : tool::commands()) {
    if (name != command.name) continue;
    std::vector<std::string> args(argv + 2, argv + argc);
    if (tool::asks_for_help(args)) {
      fputs(command.help, stdout);
      return tool::finish_output(command.name, tool::kOk);
    }
    errno = 0;
    int status = command.run(args);
    return tool::finish_output(command.name, status);
  }
  fprintf(stderr, "vonautil: unknown command '%s'\nTry 'vonautil --help'.\n", name.c_str());
  return tool::kUsage;
}
#endif
